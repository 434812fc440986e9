// Portable anymaps, Sun rasters, X bitmaps and icons between this library and independent programs: theirs are read
// here, ours are read by them, and the pixels compared; PostScript pages are drawn by Ghostscript.
#include "bmp/formats_fixture.h"
#include "common/run.h"

namespace {

class AnymapPeers : public FormatTest {
protected:
    AnymapPeers() : extended(true) {}
    void SetUp() override {
        NEEDS_PROGRAM("convert");
        NEEDS_PROGRAM("rasttopnm");
        NEEDS_PROGRAM("winicontopam");
        NEEDS_PROGRAM("gs");
        make("convert -seed 7 -size 61x37 plasma:red-blue -fill yellow -draw 'circle 30,20 35,30' -depth 8 color.ppm");
        make("convert color.ppm -colorspace gray -depth 8 grey.pgm && convert color.ppm -colors 200 map200.ppm");
        make("convert color.ppm -monochrome bits.pbm && convert color.ppm -resize 48x9! -monochrome bits48.pbm");
        make("convert color.ppm -resize 32x32! -colors 13 map32.ppm && convert map32.ppm -resize 16x16! -colors 9 "
             "map16.ppm");
    }
    void make(const std::string& command) {
        const run_result result = run_command(directory, "(" + command + ") >/dev/null");
        EXPECT_TRUE(result.ok()) << command << "\n" << result.err;
    }
    // Triples as a command prints them behind a header of a portable anymap.
    bytes_of_file triples_of(const std::string& command) {
        make(command + " >out.pnm && convert out.pnm -depth 8 rgb:out.rgb");
        return read_bytes(path("out.rgb"));
    }
    // What is read here; bits as black and white.
    bytes_of_file ours(const std::string& name) {
        const picture p = read_picture(path(name));
        EXPECT_TRUE(!p.damaged && (p.status == 0 || format_is_bilevel(p.format))) << rzl_status_name(p.status);
        if (!format_is_bilevel(p.format) || p.entries > 0) return p.colors;
        bytes_of_file triples;
        const auto line = static_cast<size_t>(p.width + 15) / 16 * 2;
        for (size_t y = 0; y < static_cast<size_t>(p.height); ++y) {
            bytes_of_file row(static_cast<size_t>(p.width));
            rzl_unpack_bits(&p.values[y * line], row.data(), p.width, 0, 255);
            for (uint8_t v : row)
                triples.insert(triples.end(), 3, v);
        }
        return triples;
    }
    extended_guard extended;
};

bytes_of_file inverted(bytes_of_file bytes) {
    for (uint8_t& v : bytes)
        v = static_cast<uint8_t>(~v);
    return bytes;
}

// Red and blue in each other's place.
bytes_of_file turned(bytes_of_file bytes) {
    for (size_t i = 0; i + 2 < bytes.size(); i += 3)
        std::swap(bytes[i], bytes[i + 2]);
    return bytes;
}

bytes_of_file as_it_is(bytes_of_file bytes) {
    return bytes;
}

} // namespace

TEST_F(AnymapPeers, FilesOfOtherPrograms) {
    struct {
        const char* make;   // the file named o
        const char* reader; // prints it
        bytes_of_file (*means)(bytes_of_file);
    } cases[] = {
        {"cp color.ppm o", "cat o", as_it_is},
        {"cp grey.pgm o", "cat o", as_it_is},
        {"cp bits.pbm o", "cat o", as_it_is},
        {"pnmtoplainpnm color.ppm >o", "cat o", as_it_is},
        {"pnmtoplainpnm grey.pgm >o", "cat o", as_it_is},
        {"pnmtoplainpnm bits.pbm >o", "cat o", as_it_is},
        {"convert bits.pbm -compress none pbm:o", "cat o", as_it_is},
        {"convert color.ppm -compress none ppm:o", "cat o", as_it_is},
        {"pamdepth 15 grey.pgm >o", "pamdepth 255 o", as_it_is},
        {"pamdepth 65535 color.ppm >o", "pamdepth 255 o", as_it_is},
        {"pamdepth 1000 color.ppm | pnmtoplainpnm >o", "pamdepth 255 o", as_it_is},
        // Of 24 bits these programs take red for the last byte, and bits without a map for black where they are set.
        {"pnmtorast -standard color.ppm >o", "rasttopnm o", turned},
        {"pnmtorast color.ppm >o", "rasttopnm o", turned},
        {"pnmtorast map200.ppm >o", "rasttopnm o", as_it_is},
        {"pnmtorast -standard map200.ppm >o", "rasttopnm o", as_it_is},
        {"pnmtorast grey.pgm >o", "rasttopnm o", as_it_is},
        {"pnmtorast bits48.pbm >o", "rasttopnm o", as_it_is},
        {"pnmtorast -standard bits48.pbm >o", "rasttopnm o", inverted},
        {"convert color.ppm sun:o", "rasttopnm o", as_it_is},
        {"convert map200.ppm -type palette sun:o", "convert sun:o ppm:-", as_it_is},
        // A set bit of an X bitmap is black to others.
        {"pbmtoxbm bits.pbm >o", "xbmtopbm o", inverted},
        {"convert bits.pbm xbm:o", "xbmtopbm o", inverted},
        {"ppmtowinicon map16.ppm >o", "winicontopam o | pamtopnm", as_it_is},
        {"ppmtowinicon map32.ppm >o", "winicontopam o | pamtopnm", as_it_is},
        {"convert map32.ppm -type palette ico:o", "convert ico:o -alpha off -depth 8 ppm:-", as_it_is},
        {"pbmmake -gray 16 16 | ppmtowinicon >o", "winicontopam o | pamtopnm", as_it_is},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.make);
        make(k.make);
        EXPECT_TRUE(ours("o") == k.means(triples_of(k.reader)));
    }
}

TEST_F(AnymapPeers, FilesWrittenHere) {
    struct {
        int standard, format, values;
        field_values fields;
        std::vector<std::string> readers;
        bytes_of_file (*means)(bytes_of_file);
    } cases[] = {
        {14, 1, 2, {}, {"cat o", "convert pbm:o pbm:-"}, as_it_is},
        {14, 2, 256, {}, {"cat o", "pgmtopgm <o"}, as_it_is},
        {14, 27, 256, {}, {"cat o", "ppmtoppm <o"}, as_it_is},
        {14, 1, 2, {{501, 7}}, {"cat o", "pnmtoplainpnm o", "convert pbm:o pbm:-"}, as_it_is},
        {14, 2, 256, {{501, 7}}, {"cat o", "pnmtoplainpnm o", "convert pgm:o pgm:-"}, as_it_is},
        {14, 27, 256, {{501, 7}}, {"cat o", "pnmtoplainpnm o", "convert ppm:o ppm:-"}, as_it_is},
        {15, 1, 2, {}, {"rasttopnm o"}, inverted},
        {15, 9, 2, {}, {"rasttopnm o"}, as_it_is},
        {15, 2, 200, {}, {"rasttopnm o", "convert sun:o ppm:-"}, as_it_is},
        {15, 27, 256, {}, {"rasttopnm o", "convert sun:o ppm:-"}, turned},
        {13, 1, 2, {}, {"xbmtopbm o", "convert xbm:o pbm:-"}, inverted},
        {9, 2, 16, {}, {"winicontopam o | pamtopnm", "convert ico:o -alpha off -depth 8 ppm:-"}, as_it_is},
        {9, 1, 2, {}, {"winicontopam o | pamtopnm", "convert ico:o -alpha off -depth 8 ppm:-"}, as_it_is},
    };
    for (const auto& k : cases) {
        for (auto [width, height] : {std::pair(7, 5), {32, 64}, {301, 10}}) {
            if ((width == 32) != (k.standard == 9)) continue;
            SCOPED_TRACE(std::to_string(k.standard) + " " + std::to_string(k.format) + " " + std::to_string(width));
            const auto pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
            const bool triples = k.format == 27;
            const bytes_of_file samples = some_samples(pixels * (triples ? 3 : 1), k.values, 6);
            bytes_of_file lines = samples;
            const color_table table = k.standard == 15 && k.format == 2  ? some_table(200)
                                      : k.standard == 9 && k.format == 2 ? some_table(16)
                                                                         : color_table();
            if (k.values == 2) {
                lines.clear();
                for (int y = 0; y < height; ++y) {
                    bytes_of_file words(static_cast<size_t>(width + 15) / 16 * 2);
                    rzl_pack_bits(words.data(), &samples[static_cast<size_t>(y * width)], width, 1);
                    lines.insert(lines.end(), words.begin(), words.end());
                }
            }
            ASSERT_EQ(write_picture(path("o"), k.standard, k.format, width, height, lines, k.fields, table), 0u);
            for (const std::string& reader : k.readers)
                EXPECT_TRUE(triples_of(reader) == k.means(ours("o"))) << reader;
        }
    }
}

// The page at a point a pixel: the image stands turned, upright for a reader from the left, between the margins.
TEST_F(AnymapPeers, Pages) {
    for (auto [width, height] : {std::pair(72, 36), {10, 54}, {720, 3}}) {
        SCOPED_TRACE(width);
        const bytes_of_file pixels = some_samples(static_cast<size_t>(width * height), 256, 4);
        ASSERT_EQ(write_picture(path("o.ps"), 21, 2, width, height, pixels), 0u);
        make("gs -q -dNOPAUSE -dBATCH -dSAFER -sDEVICE=pnggray -r72 -dDEVICEWIDTHPOINTS=612 -dDEVICEHEIGHTPOINTS=792 "
             "-sOutputFile=o.png o.ps && pngtopnm o.png >o.pgm");
        const picture page = read_picture(path("o.pgm"));
        ASSERT_TRUE(page.width == 612 && page.height == 792);
        const int scale = std::min(540 / height, 720 / width);
        const int left = 306 + height * scale / 2 - height * scale;
        const int bottom = 396 + width * scale / 2; // rows of the page are counted from the top
        for (int y = 0; y < 792; ++y) {
            for (int x = 0; x < 612; ++x) {
                const int column = (bottom - 1 - y) >= 0 ? (bottom - 1 - y) / scale : -1;
                const int row = x >= left ? (x - left) / scale : -1;
                const bool inside = column >= 0 && column < width && row >= 0 && row < height;
                const int expected = inside ? pixels[static_cast<size_t>(row * width + column)] : 255;
                ASSERT_EQ(page.values[static_cast<size_t>(y * 612 + x)], expected) << x << " " << y;
            }
        }
    }
}
