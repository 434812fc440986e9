// GIF files between this library and independent programs: theirs are read here, ours are decoded by them, and the
// pixels compared. A test whose programs are missing is skipped, and says so.
#include "gif_fixture.h"

namespace {

// Shades, a few flat shapes, and noise; red, green, blue triples.
bytes_of_file make_rgb(int width, int height) {
    bytes_of_file noise = random_bytes(static_cast<size_t>(width) * static_cast<size_t>(height), 16, 11);
    bytes_of_file out;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            int n = noise[static_cast<size_t>(y * width + x)];
            bool flat = x / 40 % 2 == y / 30 % 2;
            int rgb[3] = {flat ? 200 : x * 200 / width + n, flat ? 40 : y * 200 / height + n, flat ? 90 : 120 + n};
            for (int v : rgb)
                out.push_back(static_cast<uint8_t>(v));
        }
    return out;
}

// The next number of a header of text.
size_t take_number(const bytes_of_file& b, size_t* at) {
    size_t value = 0;
    while (*at < b.size() && (b[*at] < '0' || b[*at] > '9'))
        ++*at;
    for (; *at < b.size() && b[*at] >= '0' && b[*at] <= '9'; ++*at)
        value = value * 10 + b[*at] - '0';
    return value;
}

// The triples of a P6 file of 8 bits.
bytes_of_file pixels_of_ppm(const bytes_of_file& b) {
    size_t at = 2;
    size_t width = take_number(b, &at);
    size_t height = take_number(b, &at);
    size_t most = take_number(b, &at);
    bool good = b.size() > 2 && b[0] == 'P' && b[1] == '6' && most == 255 && b.size() == at + 1 + width * height * 3;
    return good ? bytes_of_file(b.begin() + static_cast<long>(at) + 1, b.end()) : bytes_of_file();
}

} // namespace

class GifPeers : public GifTest {
protected:
    void SetUp() override {
        for (const char* program : {"giftopnm", "ppmtogif", "pamtopnm", "convert"})
            if (!run(std::string("command -v ") + program)) GTEST_SKIP() << program << " is missing";
        bytes_of_file ppm = bytes_of("P6\n211 157\n255\n");
        bytes_of_file rgb = make_rgb(211, 157);
        ppm.insert(ppm.end(), rgb.begin(), rgb.end());
        write_bytes(path("in.ppm"), ppm);
    }
    bool run(const std::string& command) {
        return std::system(("cd " + directory + " && (" + command + ") >log 2>&1").c_str()) == 0;
    }
    // The picture as the two programs decode it: ppm, after making it one of three channels.
    void expect_same(const std::string& name, const bytes_of_file& colors) {
        EXPECT_TRUE(run("giftopnm " + name + " | ppmtoppm >one.ppm || giftopnm " + name + " | pamtopnm >one.ppm"));
        EXPECT_TRUE(run("giftopnm " + name + " >one.pnm && convert one.pnm -depth 8 ppm:one.ppm"));
        EXPECT_TRUE(run("convert '" + name + "[0]' +repage -alpha off -depth 8 ppm:two.ppm"));
        EXPECT_FALSE(colors.empty());
        EXPECT_TRUE(pixels_of_ppm(read_bytes(path("one.ppm"))) == colors) << name << ": giftopnm";
        EXPECT_TRUE(pixels_of_ppm(read_bytes(path("two.ppm"))) == colors) << name << ": convert";
    }
};

TEST_F(GifPeers, FilesOfOtherPrograms) {
    const char* const commands[] = {
        "convert in.ppm -colors 256 gif87:o.gif",
        "convert in.ppm -colors 256 -interlace GIF gif:o.gif",
        "convert in.ppm -colors 128 -comment 'a comment, with a comma' o.gif",
        "convert in.ppm -colors 64 o.gif",
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
        ASSERT_TRUE(run(command)) << command;
        picture_read p = read_gif(path("o.gif"));
        EXPECT_EQ(p.status, 0u) << command;
        EXPECT_FALSE(p.damaged) << command;
        SCOPED_TRACE(command);
        expect_same("o.gif", p.colors);
    }
}

TEST_F(GifPeers, LocalTablesAndOpenCodings) {
    for (bool global : {false, true}) {
        bytes_of_file pixels = some_pixels(120, 90, 64, 21);
        gif_parts g;
        g.width = 120;
        g.height = 90;
        g.screen_packed = global ? 0x82 : 0;
        if (global) g.table = random_bytes(24, 256, 22);
        g.image_packed = 0x85;
        g.local_table = random_bytes(192, 256, 23);
        g.code_size = 6;
        g.data = code_pixels(pixels, 6, true);
        write_bytes(path("l.gif"), g.file());
        picture_read p = read_gif(path("l.gif"));
        EXPECT_EQ(p.pixels, pixels);
        expect_same("l.gif", p.colors);
    }
}

TEST_F(GifPeers, FilesWrittenHere) {
    std::vector<rzl_vlt_entry> table = some_table();
    for (auto [width, height] : {std::pair(1, 1), {2, 1}, {1, 2}, {3, 1}, {17, 13}, {255, 1}, {301, 211}}) {
        for (int values : {2, 256}) {
            auto count = static_cast<size_t>(width) * static_cast<size_t>(height);
            bytes_of_file pixels = values == 2 ? some_pixels(width, height, 2, 31) : random_bytes(count, 256, 32);
            ASSERT_EQ(write_gif(path("w.gif"), width, height, pixels, table), 0u);
            bytes_of_file colors;
            for (uint8_t p : pixels)
                for (uint16_t word : {table[p].red, table[p].green, table[p].blue})
                    colors.push_back(static_cast<uint8_t>(word >> 8));
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            expect_same("w.gif", colors);
        }
    }
}
