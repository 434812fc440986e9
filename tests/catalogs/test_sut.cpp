// SUT catalogs: the text, tiles of many members, few handles, and names that are refused.
#include <sys/resource.h>

#include "common/places.h"
#include "common/run.h"
#include "raster/formats_fixture.h"

namespace {

// A picture of 100 by 70 pixels in tiles of 16, two by two tiles to a member: 4 by 3 members.
constexpr int WIDTH = 100;
constexpr int HEIGHT = 70;
constexpr int TILE = 16;

int pixel_at(int x, int y) {
    return (x * 7 + y * 13 + x * y) % 251;
}

bytes_of_file whole_picture() {
    bytes_of_file all;
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x)
            all.push_back(static_cast<uint8_t>(pixel_at(x, y)));
    return all;
}

class Sut : public FormatTest {
protected:
    // The members as files of a standard, and the catalog's text; `side` is that of a member in pixels.
    std::string make_members(int standard, int side, int width = WIDTH, int height = HEIGHT, int across = 0) const {
        std::string files;
        const int columns = across > 0 ? across : (width + side - 1) / side;
        const int rows = (height + side - 1) / side;
        for (int i = 0; i < columns * rows; ++i) {
            const int x0 = i % columns * side;
            const int y0 = i / columns * side;
            const int w = std::min(side, width - x0);
            const int h = std::min(side, height - y0);
            bytes_of_file pixels;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    pixels.push_back(static_cast<uint8_t>(pixel_at(x0 + x, y0 + y)));
            const std::string name = "m" + std::to_string(i);
            EXPECT_EQ(write_picture(path(name), standard, 2, w, h, pixels, {{100, TILE}}), 0u);
            files += name + " " + std::to_string(i) + "\n";
        }
        return files;
    }
    static std::string head(int width = WIDTH, int height = HEIGHT, int tiles = 2, int tile = TILE) {
        return "SUPERT! VERSION 1.0 # a comment FILES\nIMAGEX " + std::to_string(width) + " IMAGEY\t" +
               std::to_string(height) + "\r\nTILESX " + std::to_string(tiles) + " TILESY " + std::to_string(tiles) +
               "\nTILESIZE " + std::to_string(tile) + "\n";
    }
    picture read_catalog(const std::string& text) const {
        write("cat", text);
        return read_plane(path("cat"));
    }
};

// At most so many open files, until the end of a scope.
struct handle_limit {
    rlimit before;
    explicit handle_limit(rlim_t most) {
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit few = {most, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
    }
    ~handle_limit() { setrlimit(RLIMIT_NOFILE, &before); }
};

} // namespace

TEST_F(Sut, TilesOfMembers) {
    for (int standard : {1, 12}) {
        const std::string files = make_members(standard, 2 * TILE);
        const picture p = read_catalog(head() + "FILES\n" + files);
        EXPECT_EQ(p.status, 0u) << rzl_status_name(p.status);
        EXPECT_TRUE(p.width == WIDTH && p.height == HEIGHT && p.values == whole_picture());
        CFILE* c = opened(rzl_open_r(path("cat").c_str()));
        expect_fields(c, {{500, standard}, {100, TILE}, {101, 7}, {102, 5}, {200, 0}, {4, 0}, {507, 8}});
        rzl_stat stat;
        EXPECT_TRUE(rzl_get_stat(c, &stat) == 0 && stat.xsize == 32) << "the record of the first member";
        bytes_of_file tile(TILE * TILE);
        void* planes[1] = {tile.data()};
        for (int number : {34, 0, 9, 6, 30}) {
            EXPECT_TRUE(rzl_seek(c, number) == 0 && rzl_gettile(c, 1, planes, nullptr) == 0);
            EXPECT_EQ(tile[0], pixel_at(number % 7 * TILE, number / 7 * TILE)) << number;
        }
        EXPECT_EQ(refusal(c, rzl_set_active_image(c, 0)), RZL_UNSUPPORTED);
        EXPECT_EQ(refusal(c, rzl_get_hdr_data(c, RZL_FIELD_TILE_DIRECTORY, tile.data())), RZL_BAD_FIELD_ID);
        rzl_close(c);
    }
    // A member that is wider than its tiles say, in which tiles behind the grid are the first member's.
    CFILE* c = rzl_open_rw(path("cat").c_str());
    EXPECT_EQ(c, nullptr) << "these members can't be changed";
}

TEST_F(Sut, Overviews) {
    const std::string files = make_members(1, 2 * TILE);
    write_picture(path("o0"), 1, 2, 5, 4, bytes_of("abcdefghijklmnopqrst"), {{100, TILE}});
    write_picture(path("o1"), 1, 2, 2, 1, bytes_of("xy"), {{100, 32}});
    const std::string levels[] = {"OVERVIEW 1 IMAGEX 2 IMAGEY 1 TILESX 1 TILESY 1 TILESIZE 32 FILES o1 0\n",
                                  "OVERVIEW 0 IMAGEX 5 IMAGEY 4 TILESX 1 TILESY 1 TILESIZE 16 FILES o0 0\n"};
    write("cat", head() + "FILES " + files + levels[0] + levels[1]);
    CFILE* c = opened(rzl_open_r(path("cat").c_str()));
    EXPECT_TRUE(field_of(c, 200) == 2 && rzl_set_active_overview(c, 0) == 0 && field_of(c, 1) == 5);
    EXPECT_TRUE(read_plane(c).values == bytes_of("abcdefghijklmnopqrst"));
    EXPECT_TRUE(rzl_set_active_overview(c, 1) == 0 && field_of(c, 100) == 32 && read_plane(c).values == bytes_of("xy"));
    EXPECT_TRUE(rzl_set_active_overview(c, 2) == 1 && c->status == RZL_NO_SUCH_OVERVIEW && field_of(c, 1) == 2);
    EXPECT_TRUE(rzl_set_active_overview(c, -1) == 0 && read_plane(c).values == whole_picture());
    rzl_close(c);
    const std::string rzl = bin_dir() + "/rzl";
    EXPECT_EQ(run_command(directory, rzl + " cat cat --overview 1").out, "xy");
    EXPECT_EQ(read_catalog(head() + "FILES " + files + levels[0]).status, RZL_NO_SUCH_OVERVIEW) << "1 without 0";
}

TEST_F(Sut, FewHandlesForManyMembers) {
    // A thousand members of one tile each.
    const std::string files = make_members(12, TILE, 25 * TILE, 40 * TILE);
    write("cat", head(25 * TILE, 40 * TILE, 1) + "FILES " + files);
    bytes_of_file expected;
    for (int y = 0; y < 40 * TILE; ++y)
        for (int x = 0; x < 25 * TILE; ++x)
            expected.push_back(static_cast<uint8_t>(pixel_at(x, y)));
    for (rlim_t most : {16, 1024}) {
        handle_limit few(most);
        CFILE* c = opened(rzl_open_r(path("cat").c_str()));
        EXPECT_TRUE(read_plane(c).values == expected);
        EXPECT_TRUE(rzl_seek(c, 0) == 0 && read_plane(c).status == 0);
        rzl_close(c);
    }
}

TEST_F(Sut, NamesOfMembers) {
    const std::string files = make_members(12, 2 * TILE, 32, 32);
    std::filesystem::create_directory(path("Sub"));
    std::filesystem::copy(path("m0"), path("Sub/Member.NTF"));
    const std::string begin = head(32, 32) + "FILES ";
    for (const char* name : {"m0", "M0", "sub\\member.ntf", "./SUB/MEMBER.ntf", "Sub/Member.NTF"})
        EXPECT_EQ(read_catalog(begin + name + " 0").status, 0u) << name;
    const std::string inside = path("Sub");
    for (const std::string& name :
         std::vector<std::string>{"../m0", "Sub/../../x/m0", path("m0"), "c:m0", "..\\m0", "\\m0"}) {
        write("Sub/cat", begin + name + " 0");
        EXPECT_EQ(read_plane(path("Sub/cat")).status, RZL_CANNOT_OPEN) << name;
    }
    EXPECT_EQ(read_catalog(begin + "missing 0").status, RZL_CANNOT_OPEN);
    // Catalogs in each other, and rings of them.
    write("inner", begin + "m0 0");
    EXPECT_EQ(read_catalog(begin + "inner 0").status, 0u);
    EXPECT_EQ(read_catalog(begin + "cat 0").status, RZL_CANNOT_OPEN);
    write("inner", begin + "./cat 0");
    EXPECT_EQ(read_catalog(begin + "inner 0").status, RZL_CANNOT_OPEN);
    // One that shows only when its second member is opened.
    const std::string wide = head(64, 32) + "FILES m0 0 ";
    write("inner", begin + "m0 0");
    EXPECT_EQ(read_catalog(wide + "cat 1").status, RZL_CANNOT_OPEN);
    EXPECT_EQ(read_catalog(wide + "inner 1").status, 0u);
    // A catalog in memory has no directory.
    bytes_of_file text = bytes_of(begin + "m0 0");
    rzl_memfile record = {text.data(), static_cast<int32_t>(text.size()), 0, 0, 0, 0};
    char name[40];
    EXPECT_EQ(rzl_memfile_name(&record, name, sizeof name), 0);
    EXPECT_EQ(read_plane(name).status, RZL_CANNOT_OPEN);
}

TEST_F(Sut, BadInput) {
    const std::string files = make_members(12, 2 * TILE, 64, 32);
    const std::string good = head(64, 32) + "FILES m0 0 m1 1";
    EXPECT_EQ(read_catalog(good).status, 0u);
    EXPECT_EQ(read_catalog(head(64, 32) + "FILES m1 1\n# nothing\n\n m0\n0").status, 0u) << "in any order";
    struct {
        const char* what;
        std::string text;
        uint32_t status;
    } cases[] = {
        {"a word that there is not", head(64, 32) + "COLOR 2 FILES m0 0 m1 1", RZL_NOT_STANDARD},
        {"no width", "SUPERT! IMAGEY 32 TILESX 2 TILESY 2 TILESIZE 16 FILES m0 0", RZL_NOT_STANDARD},
        {"a height of 0", head(64, 0) + "FILES m0 0 m1 1", RZL_NOT_STANDARD},
        {"no size of tiles", "SUPERT! IMAGEX 64 IMAGEY 32 TILESX 2 TILESY 2 FILES m0 0 m1 1", RZL_NOT_STANDARD},
        {"a number that is none", head(64, 32) + "FORMAT x FILES m0 0 m1 1", RZL_NOT_STANDARD},
        {"a number below 0", head(64, 32) + "FORMAT -2 FILES m0 0 m1 1", RZL_NOT_STANDARD},
        {"a number past all", "SUPERT! IMAGEX 99999999999", RZL_NOT_STANDARD},
        {"a member past all sizes", head(64, 32, 2000000000) + "FILES m0 0", RZL_NOT_STANDARD},
        {"no files", head(64, 32), RZL_NOT_STANDARD},
        {"too few files", head(64, 32) + "FILES m0 0", RZL_CATALOG_COUNT},
        {"a place twice", head(64, 32) + "FILES m0 0 m1 0", RZL_CATALOG_COUNT},
        {"too many files", good + " m0 0", RZL_CATALOG_COUNT},
        {"a place behind the grid", head(64, 32) + "FILES m0 0 m1 2", RZL_CATALOG_COUNT},
        {"a file without a place", head(64, 32) + "FILES m0 0 m1", RZL_NOT_STANDARD},
        {"more members than the text has room for", head(2000000000, 32, 1, 16) + "FILES m0 0", RZL_CATALOG_COUNT},
        {"more tiles than there are numbers", head(2000000000, 2000000000, 100000, 1) + "FILES m0 0", RZL_NOT_STANDARD},
        {"no tiles", head(64, 32, 32, 0) + "FILES m0 0 m1 1", RZL_NOT_STANDARD_2},
        {"tiles of another size", head(64, 32, 4, 8) + "FILES m0 0 m1 1", RZL_BAD_TILE_SIZE},
        {"members that are too small", head(96, 32, 3) + "FILES m0 0 m1 1", RZL_PAST_END},
        {"an overview twice", good + " OVERVIEW 0 IMAGEX 1 OVERVIEW 0", RZL_NO_SUCH_OVERVIEW},
    };
    for (const auto& k : cases) {
        const picture p = read_catalog(k.text);
        EXPECT_EQ(p.status, k.status) << k.what << ": " << rzl_status_name(p.status);
    }
    write("m1", "no raster");
    EXPECT_EQ(read_catalog(good).status, RZL_READ_FAILED) << "a member that is none";
    write_picture(path("m1"), 1, 28, 32, 32, bytes_of_file(32 * 32 * 3), {{100, TILE}});
    EXPECT_EQ(read_catalog(good).status, RZL_NOT_STANDARD) << "a member of another format";
}

TEST_F(Sut, CreatingMembers) {
    setenv("RZL_STANDARD", "1", 1);
    std::string names;
    for (int i = 0; i < 12; ++i)
        names += "n" + std::to_string(i) + ".tif " + std::to_string(i) + " ";
    write("cat", head() + "FILES " + names);
    const std::string before = read(path("cat"));
    for (CFILE* (*open)(const char*) : {rzl_open_w, rzl_open_wr}) {
        CFILE* c = opened(open(path("cat").c_str()));
        EXPECT_TRUE(field_of(c, 1) == WIDTH && field_of(c, 100) == TILE && set_field_to(c, 1, 7) == 0 &&
                    field_of(c, 1) == WIDTH);
        EXPECT_TRUE(set_field_to(c, 100, TILE) == 0 && set_field_to(c, 100, 32) == 1);
        EXPECT_EQ(rzl_write_header(c), 0);
        EXPECT_EQ(put_lines(c, HEIGHT, whole_picture()), 0u);
        EXPECT_EQ(refusal(c, rzl_putline(c, before.data())), RZL_PAST_END);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_EQ(read(path("cat")), before) << "the catalog itself stays";
        EXPECT_TRUE(read_plane(path("cat")).values == whole_picture());
        CFILE* last = opened(rzl_open_r(path("n11.tif").c_str()));
        EXPECT_TRUE(field_of(last, 1) == WIDTH - 96 && field_of(last, 2) == HEIGHT - 64 && field_of(last, 100) == TILE);
        rzl_close(last);
    }
    // Without tiles, lines go into members side by side.
    write("cat", head(10, 5, 4, 0) + "FILES a 0 b 1 c 2 d 3 e 4 f 5");
    CFILE* c = opened(rzl_open_w(path("cat").c_str()));
    EXPECT_EQ(put_lines(c, 5, bytes_of("0123456789abcdefghijABCDEFGHIJklmnopqrstKLMNOPQRST")), 0u);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_plane(path("b")).values, bytes_of("4567efghEFGHopqr"));
    EXPECT_EQ(read_plane(path("f")).values, bytes_of("ST"));
    // A catalog is no member to be created, and no target of a conversion.
    write("cat", head(32, 32) + "FILES cat 0");
    EXPECT_EQ(refused(rzl_open_w(path("cat").c_str())), RZL_CANNOT_OPEN);
    const std::string rzl = bin_dir() + "/rzl";
    const run_result result = run_command(directory, rzl + " convert b cat --standard 0");
    EXPECT_TRUE(result.status == 1 && result.err.find("catalog") != std::string::npos) << result.err;
    EXPECT_EQ(read(path("cat")), head(32, 32) + "FILES cat 0");
    unsetenv("RZL_STANDARD");
}

TEST_F(Sut, EveryFailureHasItsStatus) {
    const std::string files = make_members(12, 2 * TILE, 64, 32);
    write("cat", head(64, 32) + "FILES m0 0 m1 1");
    expect_read_sweeps([&] { return read_plane(path("cat")); });
}
