// Clean paths, search paths with their ini file, and file types.
#include <algorithm>
#include <memory>

#include "common/values.h"
#include "platform/files.h"
#include "platform/profile.h"
#include "surface/file_types.h"
#include "surface/paths.h"
#include "surface_fixture.h"

namespace {

std::string cleaned(std::string path) {
    path.resize(path.size() + 2, '\0');
    path_clean(path.data());
    return path.c_str();
}

class Paths : public SurfaceFixture {
protected:
    void SetUp() override {
        SurfaceFixture::SetUp();
        ini = directory + "/config/vantor.ini";
        setenv("VANTORA_INI", ini.c_str(), 1);
        for (const char* name : {VARIABLE_PALETTES, VARIABLE_BUMPS, VARIABLE_PATTERNS, VARIABLE_REFERENCES})
            unsetenv(name);
        for (const char* name : {"one", "two", "empty"})
            std::filesystem::create_directories(path(name));
        std::filesystem::current_path(directory + "/empty");
    }
    void TearDown() override {
        std::filesystem::current_path("/");
        file_types_free();
        SurfaceFixture::TearDown();
    }
    static std::string found(const std::string& file) {
        char path[FILES_PATH_SIZE];
        find_pattern_file(file.c_str(), path, sizeof path);
        return path;
    }
    std::string ini;
};

} // namespace

TEST_F(Paths, CleanForm) {
    const std::pair<const char*, const char*> cases[] = {{"C:/Work/../Maps/./a.rgb", "c:\\maps\\a.rgb"},
                                                         {"\\", "\\"},
                                                         {"c:\\", "c:\\"},
                                                         {"", "\\"},
                                                         {"c:a/..", "c:\\"},
                                                         {"a\\\\b\\", "a\\b"},
                                                         {"a/b/../../../c", "..\\c"}, // above where it began
                                                         {"/..", "\\"},
                                                         {"/a/.", "\\a"},
                                                         {"a/..b/.c", "a\\..b\\.c"}};
    for (const auto& [path, clean] : cases)
        EXPECT_EQ(cleaned(path), clean) << path;
    const auto drive = std::make_unique<char[]>(3); // of exactly its size
    std::copy_n("C:", 3, drive.get());
    path_clean(drive.get());
    EXPECT_STREQ(drive.get(), "c:");
    char path[] = "C:x";
    EXPECT_EQ(path_is_absolute(path), 1);
    char relative[] = "a\\b";
    EXPECT_EQ(path_is_absolute(relative), 0);
}

TEST_F(Paths, TheIniFileAndTheEnvironmentMakeThePath) {
    setenv(VARIABLE_PATTERNS, "mine", 1);
    search_paths_init();
    EXPECT_STREQ(getenv(VARIABLE_PATTERNS), (directory + "\\images;mine").c_str());
    EXPECT_STREQ(getenv(VARIABLE_BUMPS), (directory + "\\bumps").c_str());
    ASSERT_TRUE(profile_set(ini.c_str(), "Root", VARIABLE_PATTERNS, "/a;/b"));
    ASSERT_TRUE(profile_set(ini.c_str(), "Root", VARIABLE_ROOT, "/product"));
    setenv(VARIABLE_PATTERNS, "mine", 1);
    unsetenv(VARIABLE_BUMPS);
    search_paths_init();
    EXPECT_STREQ(getenv(VARIABLE_ROOT), "/product");
    EXPECT_STREQ(getenv(VARIABLE_PATTERNS), "/a;/b;mine");
    EXPECT_STREQ(getenv(VARIABLE_BUMPS), "/product\\bumps");
}

TEST_F(Paths, FindsAFileAsGivenThenHereThenAlongThePath) {
    write("one/a.rgb", "1");
    write("two/a.rgb", "2");
    write("two/b.rgb", "2");
    EXPECT_EQ(found("gone/a.rgb"), "gone/a.rgb");
    std::string list = directory + "/none;;" + directory + "\\one\\," + directory + "\\two";
    setenv(VARIABLE_PATTERNS, list.c_str(), 1);
    EXPECT_EQ(found("gone/a.rgb"), directory + "\\one\\a.rgb");
    EXPECT_EQ(found("b.rgb"), directory + "\\two\\b.rgb");
    EXPECT_EQ(found(directory + "/two/a.rgb"), directory + "/two/a.rgb");
    write("empty/b.rgb", "here");
    EXPECT_EQ(found("gone\\b.rgb"), "b.rgb");
}

TEST_F(Paths, AsksAgainWhileTheUserChangesThePath) {
    static int asked;
    static std::string made;
    asked = 0;
    made = directory + "/empty/late.rgb";
    search_path_set_question([](const char* /*file*/, const char* variable, const char* kind) {
        EXPECT_EQ((values{variable, kind}), (values{VARIABLE_PATTERNS, "pattern"}));
        if (++asked == 2) std::ofstream(made) << "x";
        return asked <= 2 ? 1 : 0;
    });
    EXPECT_EQ((values{found("late.rgb"), asked}), (values{"late.rgb", 2}));
    search_path_set_question(nullptr);
}

TEST_F(Paths, FileTypesComeFromTheTable) {
    uint32_t classes = 0;
    auto type = [&](const std::string& name) {
        file_type((directory + "/" + name).c_str(), &classes);
        return classes;
    };
    for (const char* name : {"a.RGB", "a.tnc", "a.rgbP", "a.xyz"})
        write(name, "");
    EXPECT_EQ(type("a.RGB"), TYPE_RASTER);
    EXPECT_EQ(type("a.tnc"), TYPE_RENDERED_IMAGE);
    EXPECT_EQ(type("a.rgbP"), TYPE_UNKNOWN);
    EXPECT_EQ((values{type("one"), file_type("c:", &classes), classes}), (values{TYPE_DIRECTORY, 0, TYPE_DRIVE}));
    EXPECT_EQ(file_type((directory + "/none.rgb").c_str(), &classes), -1);
    write("filetype.dat", "xyz 5\nTNC 6 rgb x");
    EXPECT_EQ(type("a.xyz"), TYPE_RASTER);
    EXPECT_EQ(type("a.tnc"), 64u);
    EXPECT_EQ(type("a.RGB"), TYPE_UNKNOWN);
    std::filesystem::remove(directory + "/filetype.dat");
    EXPECT_EQ(type("a.RGB"), TYPE_RASTER);
}

TEST_F(Paths, TheProfileKeepsItsOtherLines) {
    std::filesystem::create_directories(directory + "/config");
    write("config/vantor.ini", "; mine\r\n[Other]\nVANTORAMA=no\n[root]\n key = \"a b\" \n[Last]\nx=1");
    char value[64];
    EXPECT_TRUE(profile_get(ini.c_str(), "Root", "KEY", "?", value, sizeof value));
    EXPECT_STREQ(value, "a b");
    EXPECT_FALSE(profile_get(ini.c_str(), "Root", "VANTORAMA", "?", value, sizeof value));
    EXPECT_STREQ(value, "?");
    ASSERT_TRUE(profile_set(ini.c_str(), "Root", "key", "new"));
    ASSERT_TRUE(profile_set(ini.c_str(), "Root", "more", "2"));
    ASSERT_TRUE(profile_set(ini.c_str(), "Fresh", "y", "3"));
    EXPECT_EQ(read(ini), "; mine\r\n[Other]\nVANTORAMA=no\n[root]\nkey=new\nmore=2\n[Last]\nx=1\n[Fresh]\ny=3\n");
}
