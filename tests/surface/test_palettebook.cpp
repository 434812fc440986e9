// The palette in hand, and search paths as rows.
#include "common/failures.h"
#include "common/values.h"
#include "platform/profile.h"
#include "surface/palettebook.h"
#include "surface/pathedit.h"
#include "surface/paths.h"
#include "surface_fixture.h"

namespace {

class PaletteBook : public SurfaceFixture {
protected:
    void TearDown() override {
        palette_book_free(&book);
        path_rows_free(&rows);
        EXPECT_EQ(mem_live(), live_before);
        SurfaceFixture::TearDown();
    }
    std::vector<std::string> texts() const { return {rows.rows, rows.rows + rows.count}; }
    palette_book book = {};
    path_rows rows = {};
};

} // namespace

TEST_F(PaletteBook, ALoadTakesThePlaceOnlyWhenItSucceeded) {
    const std::string good = write("good.tnp", "Red {color = (1, 0, 0);}\nOak {pattern = \"oak.rgb\";}\n");
    ASSERT_EQ(palette_book_load(&book, good.c_str()), 1);
    EXPECT_EQ(book.file, good);
    EXPECT_GE(palette_book_add(&book, "Blue", 0, 0, 1), 0);
    EXPECT_TRUE(book.changed);
    for (const std::string& bad : {path("none.tnp"), write("empty.tnp", ""), write("new.tnp", "Red {gloss = 1;}\n")}) {
        EXPECT_EQ(palette_book_load(&book, bad.c_str()), 0);
        EXPECT_EQ(messages.back(), "Load Failure on Palette file.");
        EXPECT_EQ(book.colors.count, 2);
        EXPECT_EQ(book.file, good);
        EXPECT_TRUE(book.changed);
    }
    // What was read in part can't be saved over the whole by a default.
    ASSERT_EQ(palette_book_load(&book, write("part.tnp", "Red {color = (1, 0, 0);}\nOak {gloss = 2;}\n").c_str()), 1);
    EXPECT_EQ(book.file, nullptr);
    EXPECT_FALSE(book.changed);
    palette_book_free(&book);
    sweep_failures(
        MEMORY_FAILURES, [&] { messages.clear(), palette_book_load(&book, good.c_str()); },
        [&](bool hit) {
            EXPECT_EQ(book.colors.count + book.patterns.count < 2, hit); // told, with what could be had
            EXPECT_EQ(messages.empty(), !hit);
            palette_book_free(&book);
        });
}

TEST_F(PaletteBook, NamesAreKeptApartAndFitAFile) {
    const std::pair<const char*, const char*> names[] = {
        {"brick.old.rgb", "Brick 2"}, {"Brick.tif", "Brick 3"}, {".rgb", "Rgb"}, {"od{d.rgb", "Od_d"}};
    palette_book_add(&book, "Brick", 1, 0, 0);
    for (const auto& [file, name] : names) {
        write_raster(file, 2, 2, 1);
        EXPECT_EQ(palette_book_set_pattern(&book, 99, path(file).c_str()), 0);
        EXPECT_STREQ(book.patterns.entries[book.patterns.count - 1].name, name);
    }
    ASSERT_EQ(book.patterns.count, 4);
    EXPECT_EQ(palette_book_set_pattern(&book, 1, path("Brick.tif").c_str()), 0); // itself is no other
    EXPECT_STREQ(book.patterns.entries[1].name, "Brick 3");
    EXPECT_EQ(palette_book_add(&book, "Rgb", 0, 0, 0), -1);
    book.changed = false;
    EXPECT_EQ(palette_book_add(&book, "Brick", 1, 0, 0), 0);
    EXPECT_FALSE(book.changed);
    const int made_up = palette_book_add(&book, "", 0.5, 0.25, 1);
    EXPECT_STREQ(palette_shown_name(book.colors.entries[made_up]), "");

    const std::string out = path("out.tnp");
    ASSERT_EQ(palette_book_save(&book, out.c_str()), 0);
    EXPECT_EQ(book.file, out);
    EXPECT_FALSE(book.changed);
    ASSERT_EQ(palette_book_load(&book, out.c_str()), 1);
    EXPECT_STREQ(book.patterns.entries[0].name, "Brick 2");
    write_raster("quo\"te.rgb", 2, 2, 1);
    EXPECT_EQ(palette_book_set_pattern(&book, 0, path("quo\"te.rgb").c_str()), 0);
    EXPECT_EQ(palette_book_save(&book, out.c_str()), -1);
    EXPECT_TRUE(book.changed);
    EXPECT_EQ(read(out).find("quo"), std::string::npos);

    char text[] = "red {  __";
    palette_typed_name(text);
    EXPECT_STREQ(text, "red");
    // The last page may be an empty one, to add to.
    EXPECT_EQ((values{page_next(0, 25), page_next(10, 25), page_next(20, 25), page_next(0, 10)}),
              (values{10, 20, 20, 10}));
    EXPECT_EQ((values{page_previous(10), page_previous(5)}), (values{0, 0}));
}

TEST_F(PaletteBook, ASearchPathIsEditedAsRows) {
    ASSERT_TRUE(path_rows_read(&rows, "c:\\a;;b/,d"));
    EXPECT_EQ(texts(), (std::vector<std::string>{"c:\\a\\", "b\\", "d\\"}));
    EXPECT_FALSE(path_rows_add(&rows, ""));
    EXPECT_FALSE(path_rows_add(&rows, "x;y"));
    EXPECT_TRUE(path_rows_add(&rows, "e"));
    EXPECT_EQ((values{path_rows_move(&rows, 0, -1), path_rows_move(&rows, 3, -1), path_rows_move(&rows, 3, 1)}),
              (values{0, 2, 3}));
    EXPECT_TRUE(path_rows_set(&rows, 0, "f\\"));
    EXPECT_EQ(texts(), (std::vector<std::string>{"f\\", "b\\", "e\\", "d\\"}));
    EXPECT_EQ((values{path_rows_delete(&rows, 1), path_rows_delete(&rows, 2), path_rows_delete(&rows, 7)}),
              (values{1, 1, -1}));
    char value[SEARCH_PATH_SIZE];
    path_rows_add(&rows, std::string(4090, 'l').c_str());
    path_rows_add(&rows, "z");
    path_rows_join(&rows, value, sizeof value);
    EXPECT_STREQ(value, "f\\;e\\;z\\"); // the long one doesn't fit
    setenv("VANTORA_INI", path("v/vantor.ini").c_str(), 1);
    EXPECT_TRUE(search_path_store(VARIABLE_PATTERNS, value));
    EXPECT_STREQ(getenv(VARIABLE_PATTERNS), value);
    char kept[64];
    EXPECT_TRUE(profile_get(path("v/vantor.ini").c_str(), "Root", VARIABLE_PATTERNS, "", kept, sizeof kept));
    EXPECT_STREQ(kept, value);
    setenv("VANTORA_INI", "/dev/null/x", 1);
    EXPECT_FALSE(search_path_store(VARIABLE_PATTERNS, "q"));
    EXPECT_EQ(messages.size(), 1u);
    unsetenv(VARIABLE_PATTERNS);
    unsetenv("VANTORA_INI");
}
