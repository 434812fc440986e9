// GIF files between this library and independent programs: theirs are read here, ours are decoded by them, and the
// pixels compared. A test whose programs are missing is skipped, and says so.
#include "gif_fixture.h"

class GifPeers : public GifTest {
protected:
    void SetUp() override {
        for (const char* program : {"giftopnm", "ppmtogif", "pnmquant", "convert"})
            if (!run(std::string("command -v ") + program)) GTEST_FAIL() << program << " is missing";
        ASSERT_TRUE(
            run("convert -seed 7 -size 211x157 plasma:red-blue -fill yellow -draw 'circle 70,70 90,99' in.ppm"));
    }
    bool run(const std::string& command) {
        return std::system(("cd " + directory + " && (" + command + ") >log 2>&1").c_str()) == 0;
    }
    // The first image as the two programs decode it.
    void expect_same(const std::string& name, const bytes_of_file& colors) {
        EXPECT_TRUE(run("giftopnm " + name + " >one.pnm && convert one.pnm -depth 8 rgb:one"));
        EXPECT_TRUE(run("convert '" + name + "[0]' -alpha off -depth 8 rgb:two"));
        EXPECT_FALSE(colors.empty());
        EXPECT_TRUE(read_bytes(path("one")) == colors) << "giftopnm";
        EXPECT_TRUE(read_bytes(path("two")) == colors) << "convert";
    }
};

TEST_F(GifPeers, FilesOfOtherPrograms) {
    const char* const commands[] = {
        "convert in.ppm -colors 256 gif87:o.gif",
        "convert in.ppm -colors 256 -interlace GIF gif:o.gif",
        "convert in.ppm -colors 128 -comment 'a comment, with a comma' o.gif",
        "convert in.ppm -colors 64 -transparent yellow o.gif",
        "convert in.ppm -colors 31 -interlace GIF gif87:o.gif",
        "convert in.ppm -colors 16 o.gif",
        "convert in.ppm -colors 7 o.gif",
        "convert in.ppm -colors 4 o.gif",
        "convert in.ppm -monochrome o.gif",
        "convert in.ppm -crop 1x1+0+0 +repage o.gif",
        "convert -delay 10 -loop 0 in.ppm '(' in.ppm -negate ')' o.gif",
        "pnmquant 256 in.ppm | ppmtogif -interlace >o.gif",
        "pnmquant 200 in.ppm | ppmtogif -comment a,comma >o.gif",
        "pnmquant 5 in.ppm | ppmtogif -sort >o.gif",
        "pnmquant 256 in.ppm | ppmtogif -nolzw >o.gif",
    };
    for (const char* command : commands) {
        SCOPED_TRACE(command);
        ASSERT_TRUE(run(command));
        picture_read p = read_gif(path("o.gif"));
        EXPECT_TRUE(p.status == 0 && !p.damaged);
        expect_same("o.gif", p.colors);
    }
}

TEST_F(GifPeers, LocalTablesAndFullOnes) {
    for (bool global : {false, true}) {
        gif_parts g;
        g.width = 120;
        g.height = 90;
        g.screen_packed = global ? 0x82 : 0;
        if (global) g.table = random_bytes(24, 256, 22);
        g.image_packed = 0x85;
        g.local_table = random_bytes(192, 256, 23);
        g.code_size = 6;
        g.data = code_pixels(some_pixels(120, 90, 64, 21), 6, true);
        write_bytes(path("l.gif"), g.file());
        expect_same("l.gif", read_gif(path("l.gif")).colors);
    }
}

TEST_F(GifPeers, FilesWrittenHere) {
    const color_table table = some_table();
    for (auto [width, height] : {std::pair(1, 1), {2, 1}, {1, 2}, {17, 13}, {255, 1}, {401, 311}}) {
        for (int values : {2, 256}) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            bytes_of_file pixels = random_bytes(static_cast<size_t>(width) * static_cast<size_t>(height), values, 32);
            ASSERT_EQ(write_gif(path("w.gif"), width, height, pixels, table), 0u);
            bytes_of_file colors;
            for (uint8_t p : pixels)
                for (uint16_t word : {table[p].red, table[p].green, table[p].blue})
                    colors.push_back(static_cast<uint8_t>(word >> 8));
            expect_same("w.gif", colors);
        }
    }
}
