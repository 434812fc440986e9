// Files of many standards between this library and independent programs: theirs are read here, ours are read by them,
// and the pixels compared; PostScript pages are drawn by Ghostscript. Files of today's programs are taken, as in the
// programs of this project.
#include "common/run.h"
#include "raster/formats_fixture.h"

namespace {

class Peers : public FormatTest {
protected:
    Peers() : extended(true) {}
    void SetUp() override {
        for (const char* program : {"convert", "bmptopnm", "tgatoppm", "pcxtoppm", "djpeg", "pngtopnm", "rasttopnm",
                                    "winicontopam", "giftopnm", "ppmtogif", "pnmquant", "gs"})
            ASSERT_TRUE(run_command("/", std::string("command -v ") + program).ok()) << program << " is missing";
        make("convert -seed 7 -size 61x37 plasma:red-blue -fill yellow -draw 'circle 30,20 35,30' -depth 8 color.ppm");
        make("convert color.ppm -colorspace gray -depth 8 grey.pgm && convert color.ppm -monochrome bits.pbm");
        make("convert color.ppm -colors 200 map200.ppm && convert color.ppm -colors 13 map13.ppm");
        make("convert color.ppm -crop 1x1+5+5 +repage one.ppm && convert color.ppm -crop 4x37+5+0 +repage four.ppm");
        make("convert color.ppm -resize 48x9! -monochrome bits48.pbm && convert color.ppm -resize 300x200! large.ppm");
        make("convert color.ppm -resize 32x32! -colors 13 map32.ppm && convert map32.ppm -resize 16x16! -colors 9 "
             "map16.ppm");
    }
    void make(const std::string& command) {
        const run_result result = run_command(directory, "(" + command + ") >/dev/null");
        EXPECT_TRUE(result.ok()) << command << "\n" << result.err;
    }
    // Triples from the top as a command prints them behind a header of a portable anymap.
    bytes_of_file triples_of(const std::string& command) {
        make(command + " >out.pnm && convert out.pnm -depth 8 rgb:out.rgb");
        return read_bytes(path("out.rgb"));
    }
    // What is read here, from the top; bits as black and white.
    bytes_of_file ours(const std::string& name) {
        const picture p = read_picture(path(name));
        EXPECT_TRUE(p.status == 0 && !p.damaged) << rzl_status_name(p.status);
        bytes_of_file colors = p.colors, turned;
        if (colors.empty())
            for (uint8_t v : pixels_of_words(p.values, p.width, 255))
                colors.insert(colors.end(), 3, v);
        const auto row = static_cast<size_t>(p.width) * 3;
        for (size_t y = static_cast<size_t>(p.height); y-- > 0;)
            turned = joined(turned, part(colors, static_cast<long>(y * row), row));
        return (p.orientation & 2) != 0 ? turned : colors;
    }
    extended_guard extended;
};

// What the triples of one side are to the other.
bytes_of_file as_it_is(bytes_of_file bytes) {
    return bytes;
}
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

const char* const BY_NETPBM_GIF = "giftopnm o";
const char* const BY_CONVERT_GIF = "convert 'gif:o[0]' -alpha off -depth 8 ppm:-";
const char* const BY_CONVERT_ICO = "convert ico:o -alpha off -depth 8 ppm:-";
const char* const BY_NETPBM_ICO = "winicontopam o | pamtopnm";

} // namespace

TEST_F(Peers, FilesOfOtherPrograms) {
    struct {
        int standard;
        const char* make;   // the file named o, of $in where that stands
        const char* reader; // prints it
        bytes_of_file (*means)(bytes_of_file) = as_it_is;
    } cases[] = {
        {4, "convert $in bmp:o", "convert bmp:o -depth 8 ppm:-"},
        {4, "convert $in bmp3:o", "convert bmp:o -depth 8 ppm:-"},
        {4, "convert $in bmp2:o", "convert bmp:o -depth 8 ppm:-"},
        {4, "convert $in -colors 256 -type palette -compress RLE bmp3:o", "convert bmp:o -depth 8 ppm:-"},
        {4, "convert $in -alpha on -channel A -evaluate set 60% +channel bmp:o",
         "convert bmp:o -alpha off -depth 8 ppm:-"},
        {4, "convert $in -type truecolor -define bmp:subtype=RGB565 bmp:o", "convert bmp:o -depth 8 ppm:-"},
        {4, "convert $in -type truecolor -define bmp:subtype=RGB555 bmp:o", "convert bmp:o -depth 8 ppm:-"},
        {4, "ppmtobmp -windows $in >o", "bmptopnm o"},
        {4, "ppmtobmp -os2 $in >o", "bmptopnm o"},
        {3, "pamtotga $in >o", "tgatoppm o"},
        {3, "ppmtotga -rgb $in >o", "tgatoppm o"},
        {3, "ppmtotga -cmap <map200.ppm >o", "tgatoppm o"},
        {3, "convert $in -compress none tga:o", "tgatoppm o"},
        {3, "convert $in -alpha on -channel A -evaluate set 60% +channel tga:o", "tgatoppm o"},
        {5, "convert $in pcx:o", "convert pcx:o -depth 8 ppm:-"},
        {5, "convert $in -type truecolor pcx:o", "pcxtoppm o"},
        {5, "ppmtopcx -24bit $in >o", "pcxtoppm o"},
        {5, "ppmtopcx map13.ppm >o", "pcxtoppm o"},
        {5, "ppmtopcx -packed map13.ppm >o", "pcxtoppm o"},
        {5, "ppmtopcx bits.pbm >o", "pcxtoppm o"},
        {6, "convert $in ppm:- | cjpeg -quality 80 >o", "djpeg o"},
        {6, "convert $in ppm:- | cjpeg -grayscale >o", "djpeg o"},
        {6, "convert $in ppm:- | cjpeg -progressive >o", "djpeg o"},
        {6, "convert $in ppm:- | cjpeg -arithmetic -restart 1 >o", "djpeg o"},
        {6, "convert $in ppm:- | cjpeg -sample 1x1 -dct float >o", "djpeg o"},
        {6, "convert $in -colorspace CMYK jpg:o", "djpeg o"},
        {23, "pnmtopng -force $in >o", "pngtopnm o"},
        {23, "pnmtopng -interlace $in >o", "pngtopnm o"},
        {23, "pnmtopng -transparent '=red' -background blue $in >o", "pngtopnm -mix o"},
        {23, "convert $in png24:o", "convert png:o ppm:-"},
        {23, "convert $in png48:o", "convert png:o -depth 8 ppm:-"},
        {23, "convert $in -colorspace gray -depth 2 -define png:color-type=0 png:o", "pngtopnm o"},
        {23, "convert $in -colorspace gray -depth 4 -interlace png -define png:color-type=0 png:o", "pngtopnm o"},
        {23, "convert $in -alpha on -channel A -evaluate set 60% +channel -define png:exclude-chunk=bKGD png32:o",
         "convert png:o -alpha off -depth 8 ppm:-"},
        {23, "convert map13.ppm -interlace png png8:o", "convert png:o -depth 8 ppm:-"},
        {14, "cp color.ppm o", "cat o"},
        {14, "cp grey.pgm o", "cat o"},
        {14, "cp bits.pbm o", "cat o"},
        {14, "pnmtoplainpnm color.ppm >o", "cat o"},
        {14, "pnmtoplainpnm grey.pgm >o", "cat o"},
        {14, "pnmtoplainpnm bits.pbm >o", "cat o"},
        {14, "convert bits.pbm -compress none pbm:o", "cat o"},
        {14, "convert color.ppm -compress none ppm:o", "cat o"},
        {14, "pamdepth 15 grey.pgm >o", "pamdepth 255 o"},
        {14, "pamdepth 65535 color.ppm >o", "pamdepth 255 o"},
        {14, "pamdepth 1000 color.ppm | pnmtoplainpnm >o", "pamdepth 255 o"},
        // Of 24 bits these programs take red for the last byte, and bits without a map for black where they are set.
        {15, "pnmtorast -standard color.ppm >o", "rasttopnm o", turned},
        {15, "pnmtorast color.ppm >o", "rasttopnm o", turned},
        {15, "pnmtorast map200.ppm >o", "rasttopnm o"},
        {15, "pnmtorast -standard map200.ppm >o", "rasttopnm o"},
        {15, "pnmtorast grey.pgm >o", "rasttopnm o"},
        {15, "pnmtorast bits48.pbm >o", "rasttopnm o"},
        {15, "pnmtorast -standard bits48.pbm >o", "rasttopnm o", inverted},
        {15, "convert color.ppm sun:o", "rasttopnm o"},
        {15, "convert map200.ppm -type palette sun:o", "convert sun:o ppm:-"},
        // A set bit of an X bitmap is black to others, and so is one of a CALS file.
        {13, "pbmtoxbm bits.pbm >o", "xbmtopbm o", inverted},
        {13, "convert bits.pbm xbm:o", "xbmtopbm o", inverted},
        {11, "convert bits.pbm cals:o", "cat bits.pbm", inverted},
        {9, "ppmtowinicon map16.ppm >o", BY_NETPBM_ICO},
        {9, "ppmtowinicon map32.ppm >o", BY_NETPBM_ICO},
        {9, "convert map32.ppm -type palette ico:o", BY_CONVERT_ICO},
        {9, "pbmmake -gray 16 16 | ppmtowinicon >o", BY_NETPBM_ICO},
        {2, "convert large.ppm -colors 256 gif87:o", BY_NETPBM_GIF},
        {2, "convert large.ppm -colors 256 -interlace GIF gif:o", BY_NETPBM_GIF},
        {2, "convert large.ppm -colors 128 -comment 'a comment, with a comma' gif:o", BY_NETPBM_GIF},
        {2, "convert large.ppm -colors 64 -transparent yellow gif:o", BY_NETPBM_GIF},
        {2, "convert large.ppm -colors 31 -interlace GIF gif87:o", BY_NETPBM_GIF},
        {2, "convert $in -colors 16 gif:o", BY_NETPBM_GIF},
        {2, "convert large.ppm -colors 7 gif:o", BY_NETPBM_GIF},
        {2, "convert large.ppm -colors 4 gif:o", BY_NETPBM_GIF},
        {2, "convert $in -monochrome gif:o", BY_NETPBM_GIF},
        {2, "convert -delay 10 -loop 0 large.ppm '(' large.ppm -negate ')' gif:o", BY_NETPBM_GIF},
        {2, "pnmquant 256 large.ppm | ppmtogif -interlace >o", BY_CONVERT_GIF},
        {2, "pnmquant 200 large.ppm | ppmtogif -comment a,comma >o", BY_CONVERT_GIF},
        {2, "pnmquant 5 large.ppm | ppmtogif -sort >o", BY_CONVERT_GIF},
        {2, "pnmquant 256 large.ppm | ppmtogif -nolzw >o", BY_CONVERT_GIF},
    };
    for (const auto& k : cases) {
        if (!is_built(k.standard)) continue;
        const bool each = std::string(k.make).find("$in") != std::string::npos;
        for (const char* in : {"color.ppm", "grey.pgm", "map13.ppm", "bits.pbm", "one.ppm", "four.ppm"}) {
            SCOPED_TRACE(std::string(k.make) + ", " + in);
            make("in=" + std::string(in) + "; " + k.make);
            EXPECT_TRUE(ours("o") == k.means(triples_of(k.reader)));
            if (!each) break;
        }
    }
}

TEST_F(Peers, FilesWrittenHere) {
    const std::vector<std::string> bmp = {"bmptopnm o", "convert bmp:o -depth 8 ppm:-"},
                                   tga = {"tgatoppm o", "convert tga:o -depth 8 ppm:-"},
                                   pcx = {"pcxtoppm o", "convert pcx:o -depth 8 ppm:-"},
                                   png = {"pngtopnm o", "convert png:o -depth 8 ppm:-"},
                                   gif = {BY_NETPBM_GIF, BY_CONVERT_GIF}, ico = {BY_NETPBM_ICO, BY_CONVERT_ICO};
    struct {
        const char* what;
        int standard, format, values, table;
        field_values fields;
        std::vector<std::string> readers;
        bytes_of_file (*means)(bytes_of_file) = as_it_is;
    } cases[] = {
        {"BMP triples", 4, 28, 256, 0, {}, bmp},
        {"BMP bytes", 4, 2, 256, 256, {}, bmp},
        {"BMP nibbles", 4, 2, 16, 16, {{507, 4}}, bmp},
        {"BMP runs of bytes", 4, 29, 256, 256, {}, {"convert bmp:o -depth 8 ppm:-"}},
        {"BMP runs of nibbles", 4, 29, 16, 16, {{507, 4}}, {"convert bmp:o -depth 8 ppm:-"}},
        {"BMP bits", 4, 1, 2, 0, {}, bmp},
        {"Targa triples", 3, 28, 256, 0, {}, tga},
        {"Targa runs of triples", 3, 27, 3, 0, {}, tga},
        {"Targa bytes", 3, 2, 256, 256, {}, tga},
        {"Targa runs of bytes", 3, 29, 256, 256, {}, tga},
        {"PCX planes", 5, 27, 256, 0, {}, pcx},
        {"PCX bytes", 5, 29, 256, 256, {}, pcx},
        {"PCX bytes of few colours", 5, 29, 7, 7, {}, pcx},
        {"PCX bits", 5, 9, 2, 0, {}, {"pcxtoppm -stdpalette o", "pcxtoppm o"}},
        {"PNG triples", 23, 28, 256, 0, {{501, 0}}, png},
        {"PNG bytes", 23, 2, 256, 256, {{501, 9}}, png},
        {"PNG bits", 23, 9, 2, 0, {}, png},
        {"GIF", 2, 29, 256, 256, {}, gif},
        {"GIF of two colours", 2, 29, 2, 256, {}, gif},
        {"PBM", 14, 1, 2, 0, {}, {"cat o", "convert pbm:o pbm:-"}},
        {"PGM", 14, 2, 256, 0, {}, {"cat o", "pgmtopgm <o"}},
        {"PPM", 14, 27, 256, 0, {}, {"cat o", "ppmtoppm <o"}},
        {"PBM as text", 14, 1, 2, 0, {{501, 7}}, {"cat o", "pnmtoplainpnm o", "convert pbm:o pbm:-"}},
        {"PGM as text", 14, 2, 256, 0, {{501, 7}}, {"cat o", "pnmtoplainpnm o", "convert pgm:o pgm:-"}},
        {"PPM as text", 14, 27, 256, 0, {{501, 7}}, {"cat o", "pnmtoplainpnm o", "convert ppm:o ppm:-"}},
        {"Sun bits", 15, 1, 2, 0, {}, {"rasttopnm o"}, inverted},
        {"Sun runs of bits", 15, 9, 2, 0, {}, {"rasttopnm o"}},
        {"Sun bytes", 15, 2, 200, 200, {}, {"rasttopnm o", "convert sun:o ppm:-"}},
        {"Sun triples", 15, 27, 256, 0, {}, {"rasttopnm o", "convert sun:o ppm:-"}, turned},
        {"XBM", 13, 1, 2, 0, {}, {"xbmtopbm o", "convert xbm:o pbm:-"}, inverted},
        {"ICO nibbles", 9, 2, 16, 16, {}, ico},
        {"ICO bits", 9, 1, 2, 0, {}, ico},
        {"CALS", 11, 24, 2, 0, {{644, 'A'}, {8, -200}}, {"convert cals:o pbm:-"}, inverted},
    };
    for (const auto& k : cases) {
        if (!is_built(k.standard)) continue;
        const std::pair<int, int> large = k.standard == 2 ? std::pair(401, 311) : std::pair(301, 40);
        for (auto [width, height] : {std::pair(1, 1), {2, 1}, {7, 5}, {16, 3}, {32, 64}, large}) {
            if ((width == 32) != (k.standard == 9)) continue;
            SCOPED_TRACE(std::string(k.what) + " " + std::to_string(width));
            const bool triples = format_is_color(k.format), bits = format_is_bilevel(k.format);
            const auto count = static_cast<size_t>(width * height) * (triples ? 3 : 1);
            const bytes_of_file samples = some_samples(count, k.values, 6);
            const color_table table = some_table(k.table);
            bytes_of_file expected = triples ? samples : bytes_of_file();
            for (size_t i = 0; !triples && i < count; ++i)
                expected.insert(expected.end(), 3, static_cast<uint8_t>(bits ? samples[i] * 255 : samples[i]));
            if (k.table != 0) expected = looked_up(samples, table);
            const bytes_of_file lines = bits ? words_of(samples, width, height) : samples;
            ASSERT_EQ(write_picture(path("o"), k.standard, k.format, width, height, lines, k.fields, table), 0u);
            EXPECT_TRUE(ours("o") == expected);
            for (const std::string& reader : k.readers)
                EXPECT_TRUE(triples_of(reader) == k.means(expected)) << reader;
        }
    }
}

// The other program's library is ours, too: at the same quality, the same file.
TEST_F(Peers, JfifIsWrittenAsTheOthersDo) {
    if (!is_built(6)) GTEST_SKIP() << "built without JFIF";
    for (const char* in : {"color.ppm", "grey.pgm", "one.ppm", "four.ppm"}) {
        SCOPED_TRACE(in);
        make("cjpeg -quality 75 " + std::string(in) + " >theirs && convert " + in + " bmp3:o");
        const picture p = read_picture(path("o"));
        const bytes_of_file colors = ours("o");
        bytes_of_file grey;
        for (size_t i = 0; i < colors.size(); i += 3)
            grey.push_back(colors[i]);
        const bool is_grey = std::string(in) == "grey.pgm";
        EXPECT_EQ(write_picture(path("o"), 6, is_grey ? 29 : 27, p.width, p.height, is_grey ? grey : colors), 0u);
        EXPECT_TRUE(read_bytes(path("o")) == read_bytes(path("theirs")));
    }
}

// The page at a point a pixel: the image stands turned, upright for a reader from the left, between the margins.
TEST_F(Peers, Pages) {
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
