// BMP, Targa, PCX, JFIF and PNG files between this library and independent programs: theirs are read here, ours are
// read by them, and the pixels compared. Files of today's programs are taken, as in the programs of this project.
#include "common/run.h"
#include "formats_fixture.h"

namespace {

class Peers : public FormatTest {
protected:
    Peers() : extended(true) {}
    void SetUp() override {
        NEEDS_PROGRAM("convert");
        NEEDS_PROGRAM("bmptopnm");
        NEEDS_PROGRAM("tgatoppm");
        NEEDS_PROGRAM("pcxtoppm");
        NEEDS_PROGRAM("djpeg");
        NEEDS_PROGRAM("pngtopnm");
        make("convert -seed 7 -size 61x37 plasma:red-blue -fill yellow -draw 'circle 30,20 35,30' -depth 8 color.ppm");
        make("convert color.ppm -colorspace gray -depth 8 grey.pgm");
        make("convert color.ppm -colors 200 map200.ppm && convert color.ppm -colors 13 map13.ppm");
        make("convert color.ppm -monochrome bits.pbm && convert color.ppm -crop 1x1+5+5 +repage one.ppm");
        make("convert color.ppm -crop 4x37+5+0 +repage four.ppm");
    }
    void make(const std::string& command) {
        const run_result result = run_command(directory, "(" + command + ") >/dev/null");
        EXPECT_TRUE(result.ok()) << command << "\n" << result.err;
    }
    // Triples from the top as a command prints them behind a header of a portable anymap, or without one.
    bytes_of_file triples_of(const std::string& command) {
        make(command + " >out.pnm && convert out.pnm -depth 8 rgb:out.rgb");
        return read_bytes(path("out.rgb"));
    }
    // What is read here, from the top.
    bytes_of_file ours(const std::string& name) {
        const picture p = read_picture(path(name));
        EXPECT_TRUE(p.status == 0 && !p.damaged) << rzl_status_name(p.status);
        bytes_of_file colors = p.colors;
        const auto row = static_cast<size_t>(p.width) * 3;
        for (size_t y = 0; (p.orientation & 2) != 0 && y < colors.size() / row; ++y)
            std::copy_n(p.colors.begin() + static_cast<long>(p.colors.size() - (y + 1) * row), row,
                        colors.begin() + static_cast<long>(y * row));
        return colors;
    }
    extended_guard extended;
};

const char* const SOURCES[] = {"color.ppm", "grey.pgm", "map13.ppm", "bits.pbm", "one.ppm", "four.ppm"};

} // namespace

TEST_F(Peers, FilesOfOtherPrograms) {
    struct {
        const char* what;
        const char* make;   // $in to the file named o
        const char* reader; // prints the file named o
    } cases[] = {
        {"BMP of today", "convert $in bmp:o", "convert bmp:o -depth 8 ppm:-"},
        {"BMP of the 40-byte header", "convert $in bmp3:o", "convert bmp:o -depth 8 ppm:-"},
        {"BMP of the 12-byte header", "convert $in bmp2:o", "convert bmp:o -depth 8 ppm:-"},
        {"BMP with run codes", "convert $in -colors 256 -type palette -compress RLE bmp3:o",
         "convert bmp:o -depth 8 ppm:-"},
        {"BMP of 32 bits", "convert $in -alpha on -channel A -evaluate set 60% +channel bmp:o",
         "convert bmp:o -alpha off -depth 8 ppm:-"},
        {"BMP of 5, 6 and 5 bits", "convert $in -type truecolor -define bmp:subtype=RGB565 bmp:o",
         "convert bmp:o -depth 8 ppm:-"},
        {"BMP of 5 bits", "convert $in -type truecolor -define bmp:subtype=RGB555 bmp:o",
         "convert bmp:o -depth 8 ppm:-"},
        {"BMP by netpbm", "ppmtobmp -windows $in >o", "bmptopnm o"},
        {"older BMP by netpbm", "ppmtobmp -os2 $in >o", "bmptopnm o"},
        {"Targa by netpbm", "pamtotga $in >o", "tgatoppm o"},
        {"run-coded Targa", "ppmtotga -rgb $in >o", "tgatoppm o"},
        {"mapped Targa", "ppmtotga -cmap <map200.ppm >o", "tgatoppm o"},
        {"raw Targa", "convert $in -compress none tga:o", "tgatoppm o"},
        {"Targa with alpha", "convert $in -alpha on -channel A -evaluate set 60% +channel tga:o", "tgatoppm o"},
        {"PCX", "convert $in pcx:o", "convert pcx:o -depth 8 ppm:-"},
        {"PCX of planes", "convert $in -type truecolor pcx:o", "pcxtoppm o"},
        {"PCX of 24 bits by netpbm", "ppmtopcx -24bit $in >o", "pcxtoppm o"},
        {"PCX of four planes by netpbm", "ppmtopcx map13.ppm >o", "pcxtoppm o"},
        {"PCX of nibbles by netpbm", "ppmtopcx -packed map13.ppm >o", "pcxtoppm o"},
        {"PCX of bits by netpbm", "ppmtopcx bits.pbm >o", "pcxtoppm o"},
        {"JFIF", "convert $in ppm:- | cjpeg -quality 80 >o", "djpeg o"},
        {"JFIF of grey", "convert $in ppm:- | cjpeg -grayscale >o", "djpeg o"},
        {"progressive JFIF", "convert $in ppm:- | cjpeg -progressive >o", "djpeg o"},
        {"JFIF with arithmetic codes and restarts", "convert $in ppm:- | cjpeg -arithmetic -restart 1 >o", "djpeg o"},
        {"JFIF of full colours", "convert $in ppm:- | cjpeg -sample 1x1 -dct float >o", "djpeg o"},
        {"JPEG of inks", "convert $in -colorspace CMYK jpg:o", "djpeg o"},
        {"PNG by netpbm", "pnmtopng -force $in >o", "pngtopnm o"},
        {"interlaced PNG by netpbm", "pnmtopng -interlace $in >o", "pngtopnm o"},
        {"PNG with a colour made transparent", "pnmtopng -transparent '=red' -background blue $in >o",
         "pngtopnm -mix o"},
        {"PNG of 24 bits", "convert $in png24:o", "convert png:o ppm:-"},
        {"PNG of 48 bits", "convert $in png48:o", "convert png:o -depth 8 ppm:-"},
        {"PNG of 2 bits of grey", "convert $in -colorspace gray -depth 2 -define png:color-type=0 png:o", "pngtopnm o"},
        {"interlaced PNG of 4 bits of grey",
         "convert $in -colorspace gray -depth 4 -interlace png -define png:color-type=0 png:o", "pngtopnm o"},
        {"PNG with alpha",
         "convert $in -alpha on -channel A -evaluate set 60% +channel -define png:exclude-chunk=bKGD png32:o",
         "convert png:o -alpha off -depth 8 ppm:-"},
        {"interlaced PNG palette", "convert map13.ppm -interlace png png8:o", "convert png:o -depth 8 ppm:-"},
    };
    for (const auto& k : cases) {
        const std::string what = k.what;
        const bool jpeg = what.find("JFIF") != std::string::npos || what.find("JPEG") != std::string::npos;
        if (!is_built(jpeg ? 6 : (what.find("PNG") != std::string::npos ? 23 : 4))) continue;
        for (const char* in : SOURCES) {
            SCOPED_TRACE(std::string(k.what) + ", " + in);
            make("in=" + std::string(in) + "; " + k.make);
            EXPECT_TRUE(ours("o") == triples_of(k.reader));
        }
    }
}

TEST_F(Peers, FilesWrittenHere) {
    struct {
        const char* what;
        int standard, format, values;
        field_values fields;
        std::vector<std::string> readers;
    } cases[] = {
        {"BMP triples", 4, 28, 256, {}, {"bmptopnm o", "convert bmp:o -depth 8 ppm:-"}},
        {"BMP bytes", 4, 2, 256, {}, {"bmptopnm o", "convert bmp:o -depth 8 ppm:-"}},
        {"BMP nibbles", 4, 2, 16, {{507, 4}}, {"bmptopnm o", "convert bmp:o -depth 8 ppm:-"}},
        {"BMP runs of bytes", 4, 29, 256, {}, {"convert bmp:o -depth 8 ppm:-"}},
        {"BMP runs of nibbles", 4, 29, 16, {{507, 4}}, {"convert bmp:o -depth 8 ppm:-"}},
        {"Targa triples", 3, 28, 256, {}, {"tgatoppm o", "convert tga:o -depth 8 ppm:-"}},
        {"Targa runs of triples", 3, 27, 3, {}, {"tgatoppm o", "convert tga:o -depth 8 ppm:-"}},
        {"Targa bytes", 3, 2, 256, {}, {"tgatoppm o", "convert tga:o -depth 8 ppm:-"}},
        {"Targa runs of bytes", 3, 29, 256, {}, {"tgatoppm o", "convert tga:o -depth 8 ppm:-"}},
        {"PCX planes", 5, 27, 256, {}, {"pcxtoppm o", "convert pcx:o -depth 8 ppm:-"}},
        {"PCX bytes", 5, 29, 256, {}, {"pcxtoppm o", "convert pcx:o -depth 8 ppm:-"}},
        {"PCX bytes of few colours", 5, 29, 7, {}, {"pcxtoppm o", "convert pcx:o -depth 8 ppm:-"}},
        {"PCX bits", 5, 9, 2, {}, {"pcxtoppm -stdpalette o", "pcxtoppm o"}},
        {"BMP bits", 4, 1, 2, {}, {"bmptopnm o", "convert bmp:o -depth 8 ppm:-"}},
        {"PNG triples", 23, 28, 256, {{501, 0}}, {"pngtopnm o", "convert png:o -depth 8 ppm:-"}},
        {"PNG bytes", 23, 2, 256, {{501, 9}}, {"pngtopnm o", "convert png:o -depth 8 ppm:-"}},
        {"PNG bits", 23, 9, 2, {}, {"pngtopnm o", "convert png:o -depth 8 ppm:-"}},
    };
    for (const auto& k : cases) {
        if (!is_built(k.standard)) continue;
        for (auto [width, height] : {std::pair(1, 1), {2, 1}, {7, 5}, {16, 3}, {301, 40}}) {
            SCOPED_TRACE(std::string(k.what) + " " + std::to_string(width));
            const auto pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
            const bool triples = format_is_color(k.format);
            const bool bits = format_is_bilevel(k.format);
            bytes_of_file samples = some_samples(pixels * (triples ? 3 : 1), k.values, 6);
            bytes_of_file lines = samples;
            const color_table table = triples || bits ? color_table() : some_table(k.values);
            bytes_of_file expected = triples ? samples : bytes_of_file();
            if (bits) {
                lines.clear();
                for (int y = 0; y < height; ++y) {
                    bytes_of_file words(static_cast<size_t>(width + 15) / 16 * 2);
                    rzl_pack_bits(words.data(), &samples[static_cast<size_t>(y * width)], width, 1);
                    lines.insert(lines.end(), words.begin(), words.end());
                }
                for (uint8_t v : samples)
                    expected.insert(expected.end(), 3, static_cast<uint8_t>(v * 255));
            } else if (!triples) {
                expected = looked_up(samples, table);
            }
            ASSERT_EQ(write_picture(path("o"), k.standard, k.format, width, height, lines, k.fields, table), 0u);
            EXPECT_TRUE(ours("o") == expected);
            for (const std::string& reader : k.readers)
                EXPECT_TRUE(triples_of(reader) == expected) << reader;
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
