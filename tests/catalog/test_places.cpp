// Directories and their lists, texts that are entered as paths, and what is remembered from run to run.
#include <chrono>
#include <cstdlib>
#include <set>

#include "catalog/listing.h"
#include "catalog/places.h"
#include "catalog/recent.h"
#include "common/failures.h"
#include "common/own_directory.h"
#include "common/values.h"

namespace {

class Places : public OwnDirectory {
protected:
    void TearDown() override {
        listing_free(&list);
        recent_free(&state);
        EXPECT_EQ(mem_live(), live_before);
    }
    // The test's directory in the kept form.
    std::string kept(const std::string& below = "") const {
        char out[FILES_PATH_SIZE];
        EXPECT_TRUE(directory_tidy((directory + "/" + below).c_str(), out));
        return out;
    }
    std::vector<std::string> shown() const {
        std::vector<std::string> rows;
        rows.reserve(static_cast<size_t>(list.count));
        for (int i = 0; i < list.count; ++i)
            rows.emplace_back(list.rows[i].shown);
        return rows;
    }
    entered_path enter(const std::string& text) const {
        entered_path e;
        EXPECT_TRUE(path_enter(text.c_str(), kept().c_str(), &e));
        return e;
    }
    listing list = {};
    recent_state state = {};
    long live_before = mem_live();
};

} // namespace

TEST_F(Places, AListIsInOrderAndTellsNamesApart) {
    for (const char* name : {"b.RGB", "a.rgb", "A.rgb", "c.tif", "B2.rgb"})
        write(name, "");
    std::filesystem::create_directories(path("Sub.rgb"));
    std::filesystem::create_directory_symlink(path("Sub.rgb"), path("link.rgb"));
    file_filter* filter = nullptr;
    ASSERT_EQ(file_filter_new("(*.rgb)", &filter), FILTER_OK);
    ASSERT_TRUE(listing_read(&list, kept().c_str(), listing_kind::files, filter));
    EXPECT_EQ(shown(), (std::vector<std::string>{"A.rgb", "a.rgb", "b.rgb", "b2.rgb"}));
    EXPECT_STREQ(list.rows[listing_find(&list, "b.rgb")].name, "b.RGB");
    EXPECT_STREQ(list.rows[listing_find(&list, "A.rgb")].name, "A.rgb");
    EXPECT_EQ(listing_find(&list, "B2.rgb"), 3);
    EXPECT_EQ(listing_find(&list, "c.tif"), -1);
    ASSERT_TRUE(listing_read(&list, kept().c_str(), listing_kind::directories, nullptr));
    EXPECT_EQ(shown(), (std::vector<std::string>{"link.rgb", "sub.rgb"}));
    EXPECT_TRUE(listing_read(&list, (directory + "/none").c_str(), listing_kind::files, nullptr));
    EXPECT_EQ(list.count, 0);
    sweep_failures(
        MEMORY_FAILURES, [&] { listing_read(&list, kept().c_str(), listing_kind::files, filter); },
        [&](bool hit) {
            EXPECT_EQ(list.count, hit ? 0 : 4);
            listing_free(&list);
        });
    file_filter_free(filter);
}

TEST_F(Places, ATextIsEnteredAsAPath) {
    std::filesystem::create_directories(path("Maps/deep"));
    write("Maps/a.rgb", "");
    const struct {
        std::string text, directory, file, missing;
    } cases[] = {
        {"maps\\*.rgb", kept("maps"), "*.rgb", ""},
        {"Maps/Deep/..", kept("Maps"), "", ""},
        {"new.tnc", kept(), "new.tnc", ""},
        {kept("Maps") + "A.rgb", kept("Maps"), "A.rgb", ""},
        {"Maps\\none\\further\\a.rgb", kept("Maps"), "a.rgb", kept("Maps") + "none"},
        {"Maps\\a.rgb\\x", kept("Maps"), "x", kept("Maps") + "a.rgb"},
        {"\\", "\\", "", ""},
        {"", kept(), "", ""},
    };
    for (const auto& c : cases) {
        const entered_path e = enter(c.text);
        EXPECT_EQ((values{e.directory, e.file, e.missing, e.misses_directory}),
                  (values{c.directory, c.file, c.missing, !c.missing.empty()}))
            << c.text;
    }
    entered_path e;
    EXPECT_FALSE(path_enter(std::string(5000, 'x').c_str(), "\\", &e));
}

TEST_F(Places, TheTreeHasARowForTheRootAndEachLevel) {
    std::filesystem::create_directories(path("One"));
    std::filesystem::create_directories(path("two"));
    ASSERT_TRUE(listing_read(&list, kept().c_str(), listing_kind::directories, nullptr));
    const char* tree = "\\home\\Me\\";
    const std::pair<const char*, const char*> rows[] = {{"\\", "\\"},
                                                        {" home", "\\home\\"},
                                                        {"  Me", "\\home\\Me\\"},
                                                        {"   one", "\\home\\Me\\One\\"},
                                                        {"   two", "\\home\\Me\\two\\"}};
    ASSERT_EQ(tree_row_count(tree, &list), 5);
    char text[64];
    char directory_of[FILES_PATH_SIZE];
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(tree_row_text(tree, &list, i, text, sizeof text));
        EXPECT_STREQ(text, rows[i].first);
        EXPECT_TRUE(tree_row_directory(tree, &list, i, directory_of));
        EXPECT_STREQ(directory_of, rows[i].second);
    }
    EXPECT_FALSE(tree_row_text(tree, &list, 5, text, sizeof text));
    EXPECT_FALSE(tree_row_directory(tree, &list, -1, directory_of));
    EXPECT_TRUE(tree_row_directory("c:\\pics\\", &list, 0, directory_of));
    EXPECT_STREQ(directory_of, "c:\\");
}

TEST_F(Places, TheHistoryHoldsTheLatestDirectories) {
    directory_history* h = &state.directories;
    directory_history_read(h, path("none").c_str());
    EXPECT_EQ(h->count, 0);
    directory_history_read(h, write("dir_hist.txt", "c:\\a  /b\n" + std::string(300, 'x')).c_str());
    ASSERT_EQ(h->count, 4); // a word of 300 is read in pieces
    EXPECT_STREQ(h->entries[1], "/b");
    for (int i = 0; i < 20; ++i)
        directory_history_enter(h, ("d" + std::to_string(i)).c_str());
    EXPECT_EQ((values{h->count, h->entries[13]}), (values{HISTORY_DIRECTORIES, "d6"}));
    directory_history_enter(h, "d6");
    directory_history_enter(h, "d19");
    EXPECT_EQ((values{h->entries[0], h->entries[1]}), (values{"d19", "d6"}));
    std::set<std::string> all(h->entries, h->entries + h->count);
    EXPECT_EQ(all.size(), 14u);
}

TEST_F(Places, WhatIsRememberedComesBack) {
    setenv("XDG_STATE_HOME", directory.c_str(), 1);
    char file[FILES_PATH_SIZE];
    ASSERT_TRUE(recent_path(file, sizeof file));
    EXPECT_EQ(file, directory + "/vantorama/tinct");
    recent_read(&state, file);
    EXPECT_EQ(state.gamma, GAMMA_USUAL);
    for (int i = 0; i < 12; ++i)
        recent_add_file(&state, ("/p/" + std::to_string(i) + ".tnc").c_str());
    recent_add_file(&state, "/p/bad\nname.tnc");
    recent_set_directory(&state, "\\p q\\");
    directory_history_enter(&state.directories, "\\v\\");
    state.width = 1280;
    state.height = 800;
    state.gamma = 2.3;
    ASSERT_TRUE(recent_write(&state, file));
    recent_read(&state, file);
    ASSERT_EQ(state.file_count, 9);
    EXPECT_EQ((values{state.files[0], state.directory}), (values{"/p/11.tnc", "\\p q\\"}));
    EXPECT_EQ((values{state.directories.entries[0], state.width, state.gamma}), (values{"\\v\\", 1280, 2.3}));
    // What makes no sense is as at a first start, and a write that fails keeps what was there.
    write("odd", "size=10\nsize=0x5\nsize=99999x3\ngamma=9\ngamma=nan\ngamma\n=\nfile=\nfile=/a.tnc");
    recent_read(&state, path("odd").c_str());
    EXPECT_EQ((values{state.width, state.gamma, state.file_count}), (values{0, GAMMA_USUAL, 1}));
    sweep_failures(
        ALL_FAILURES, [&] { recent_write(&state, file); },
        [&](bool) { EXPECT_NE(read(file).find(".tnc"), std::string::npos); });
    setenv("XDG_STATE_HOME", "relative", 1);
    setenv("HOME", "/home/me", 1);
    ASSERT_TRUE(recent_path(file, sizeof file));
    EXPECT_STREQ(file, "/home/me/.local/state/vantorama/tinct");
    unsetenv("XDG_STATE_HOME");
}

TEST_F(Places, TwentyThousandFilesAreListedAtOnce) {
    for (int i = 0; i < 20000; ++i)
        write("Frame" + std::to_string(i * 7919 % 20000) + (i % 3 == 0 ? ".TIF" : ".rgb"), "");
    file_filter* filter = nullptr;
    ASSERT_EQ(file_filter_new("(*.rgb,*.tif,*.bmp,*.tga,*.cot,*.gif,*.jpg,*.pcx,*.pat,*.dxf)", &filter), FILTER_OK);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(listing_read(&list, directory.c_str(), listing_kind::files, filter));
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(list.count, 20000);
    // 40 ms on a quiet machine without sanitizers; a list that compares every pair would take minutes.
    EXPECT_LT(std::chrono::duration<double>(taken).count(), 3.0);
    RecordProperty("milliseconds", static_cast<int>(std::chrono::duration<double, std::milli>(taken).count()));
    file_filter_free(filter);
}
