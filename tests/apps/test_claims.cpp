// Headers and streams that claim far more than their bytes can mean: every command ends in time and memory that follow
// the bytes, and says that something is missing.
#include "common/limited_run.h"
#include "program_cases.h"
#include "tnc/tnc_fixture.h"

namespace {

std::string little(uint64_t value, int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += static_cast<char>(value >> 8 * i);
    return text;
}

// A native file. Lines of a scannable one have headers of their own.
std::string native(int data_type, uint32_t width, uint32_t height, const std::string& data, bool scannable = false,
                   int orientation = 4) {
    std::string header(1024, '\0');
    header.replace(0, 8,
                   little(0x0908, 2) + little(510, 2) + little(static_cast<uint64_t>(data_type), 2) + little(0, 2));
    header.replace(184, 8, little(width, 4) + little(height, 4));
    header[194] = static_cast<char>(orientation);
    header[195] = scannable ? 1 : 0;
    header[511] = 3;
    return header + data;
}

std::string piece(int line, const std::string& words) {
    return little(0x5900, 2) + little(words.size() / 2 + 2, 2) + little(static_cast<uint64_t>(line) + 1, 2) +
           little(0, 2) + words;
}

// A TIFF file of one strip, or of many that are all the same.
std::string tiff(uint32_t width, uint32_t height, int compression, int bits, const std::string& data,
                 uint32_t rows_per_strip = 0xFFFFFFFF, uint32_t strips = 1) {
    const std::string body = "II*" + std::string(1, '\0') + little(8 + data.size() + data.size() % 2, 4) + data +
                             std::string(data.size() % 2, '\0');
    const uint32_t behind = static_cast<uint32_t>(body.size()) + 2 + 9 * 12 + 4;
    auto entry = [](uint64_t tag, uint64_t type, uint64_t count, uint64_t value) {
        return little(tag, 2) + little(type, 2) + little(count, 4) + little(value, 4);
    };
    std::string directory = little(9, 2) + entry(256, 4, 1, width) + entry(257, 4, 1, height) +
                            entry(258, 3, 1, static_cast<uint64_t>(bits)) +
                            entry(259, 3, 1, static_cast<uint64_t>(compression)) + entry(262, 3, 1, 1) +
                            entry(273, 4, strips, strips == 1 ? 8 : behind) + entry(277, 3, 1, 1) +
                            entry(278, 4, 1, rows_per_strip) +
                            entry(279, 4, strips, strips == 1 ? data.size() : behind + 4 * strips) + little(0, 4);
    for (uint32_t i = 0; strips > 1 && i < strips; ++i)
        directory += little(8, 4);
    for (uint32_t i = 0; strips > 1 && i < strips; ++i)
        directory += little(data.size(), 4);
    return body + directory;
}

// A GIF file whose data is a few pixels and an end code.
std::string gif(uint32_t width, uint32_t height) {
    const std::string data("\x02\x04\x84\x84\x84\x05", 6);
    return "GIF89a" + little(width, 2) + little(height, 2) + std::string("\x80\0\0\0\0\0\xFF\xFF\xFF,\0\0\0\0", 14) +
           little(width, 2) + little(height, 2) + std::string(1, '\0') + data + std::string("\0;", 2);
}

// A BMP file of run codes, of 8 bits a pixel.
std::string bmp(uint32_t width, uint32_t height, const std::string& codes) {
    const std::string head = "BM" + little(54 + 1024 + codes.size(), 4) + little(0, 4) + little(54 + 1024, 4);
    return head + little(40, 4) + little(width, 4) + little(height, 4) + little(1, 2) + little(8, 2) + little(1, 4) +
           std::string(20 + 1024, '\0') + codes;
}

// Directories that follow each other, of one pixel each.
std::string directories(int count) {
    std::string file = "II*" + std::string(1, '\0') + little(8, 4);
    for (int i = 0; i < count; ++i) {
        const size_t next = i + 1 < count ? file.size() + 2 + 3 * 12 + 4 : 0;
        file += little(3, 2);
        for (int tag : {256, 257, 273})
            file += little(static_cast<uint64_t>(tag), 2) + little(4, 2) + little(1, 4) + little(1, 4);
        file += little(next, 4);
    }
    return file;
}

class Claims : public ProgramCases {
protected:
    // All commands take each file in scripts/torture, in turns otherwise.
    static bool is_torture() { return std::getenv("TINCT_TORTURE") != nullptr; }
    bool is_due() { return is_torture() || turn++ % 4 == 0; }

    void SetUp() override {
        ProgramCases::SetUp();
        make_inputs(20, 12);
        // What every file that is read costs, the program and its checker of memory included.
        small = run_limited(directory, {bin_dir() + "/rzl", "cat", "big.rgb"});
    }

    // Runs the command on a file of `bytes` bytes and holds what it took against them. What a byte may cost is what the
    // densest coding makes of it: eight lines of 60000 pixels in group 4, in three planes of a picture.
    limited_result expect_bounded(const std::vector<std::string>& words, size_t bytes) const {
        const program_case c = {nullptr, words, {}, false};
        run_limits limits;
        limits.seconds = 20;
        limited_result result = run_limited(directory, c.process_words(), limits);
        const double most = WITH_SANITIZER ? 10.0 : 1.0;
        EXPECT_LT(result.status, 128) << c.name() << result.err;
        EXPECT_LT(result.seconds, most + 5e-4 * static_cast<double>(bytes)) << c.name() << bytes;
        const int64_t per_byte = int64_t{8} * 60000 * 3;
        EXPECT_LT(result.peak_bytes, small.peak_bytes + (int64_t{WITH_SANITIZER ? 400 : 100} << 20) +
                                         per_byte * static_cast<int64_t>(std::min(bytes, size_t{100})))
            << c.name() << bytes;
        EXPECT_LE(result.out_bytes, (1 << 20) + per_byte * static_cast<int64_t>(bytes)) << c.name() << bytes;
        // A reason is told once for each kind, not for each line.
        EXPECT_LT(result.err.size(), 2000U) << c.name() << result.err.substr(0, 300);
        return result;
    }

    limited_result small;
    int turn = 0;
};

constexpr uint32_t HUGE_HEIGHT = 0x7FFFFFFF;

} // namespace

TEST_F(Claims, ARasterOfFewBytesCostsLittleAndFails) {
    const std::string ones(64, '\xFF');
    std::vector<std::string> lies;
    for (int type : {1, 2, 3, 9, 10, 23, 24, 25, 26, 27, 28, 29, 67, 69}) {
        for (uint32_t width : {1U, 60000U}) {
            lies.push_back(native(type, width, HUGE_HEIGHT, ones));
            lies.push_back(native(type, width, HUGE_HEIGHT, ones, true));
        }
    }
    lies.push_back(native(24, 60000, HUGE_HEIGHT, ones, false, 6)); // from the bottom up
    lies.push_back(native(2, 60, 100000000, std::string(3500, 'x')));
    lies.push_back(native(2, 40, 65535, piece(0, std::string(40, 'x')) + piece(1, "xx").substr(0, 9), true)); // cut
    lies.push_back(native(2, 60000, 65535, piece(0, std::string(400, 'x')), true)); // left out, but too many of them
    for (int compression : {1, 2, 3, 4, 5, 32773}) {
        const int bits = compression >= 2 && compression <= 4 ? 1 : 8;
        for (uint32_t width : {1U, 60000U}) {
            lies.push_back(tiff(width, HUGE_HEIGHT, compression, bits, ones));
            lies.push_back(tiff(width, 100000000, compression, bits, ones, 16, 50));
        }
        lies.push_back(tiff(60, 1000, compression, bits, std::string("\x80\x0B\x60", 3))); // less than its lines
    }
    for (uint32_t width : {1U, 13U, 60000U})
        lies.push_back(bmp(width, HUGE_HEIGHT, std::string("\1\xFF\0\1", 4))); // a pixel, and the end of the image
    lies.push_back(bmp(13, HUGE_HEIGHT, std::string("\0\2\0\xFF\1\1", 6)));    // a step over 255 lines
    lies.push_back(gif(65535, 65535));
    lies.push_back(gif(300, 300));
    const std::string tnc = std::string("\xFA\x01\xF9\x01\x00\x01\x09\x09\x09\x01\x02\x03\x04\xFF", 14);
    for (const std::string& lie : lies) {
        const std::string before = lie.substr(0, 3);
        const std::string file = before == "GIF"               ? "lie.gif"
                                 : before == "II*"             ? "lie.tif"
                                 : before.substr(0, 2) == "BM" ? "lie.bmp"
                                                               : "lie.rgb";
        write(file, lie);
        SCOPED_TRACE(file + " " + std::to_string(&lie - lies.data()));
        for (const auto& words : {std::vector<std::string>{"rzl", "info", file},
                                  {"rzl", "cat", file},
                                  {"rzl", "convert", file, "o.rgb"},
                                  {"rzl", "convert", file, "o.tif", "--tile", "16"},
                                  {"tinct-batch", "apply", "big.tnc", "--set", "1=@" + file, "-o", "p.rgb"}}) {
            if (is_due()) {
                EXPECT_EQ(expect_bounded(words, lie.size()).status, 1);
            }
        }
        // As the companion of some samples.
        write("pair.tnc", std::string("\xFA\x03\xF3\x01", 4) + file + std::string(1, '\0') + tnc.substr(2));
        for (const auto& words : {std::vector<std::string>{"tinct-batch", "info", "pair.tnc"},
                                  {"tinct-batch", "pick", "pair.tnc", "0", "0"},
                                  {"tinct-batch", "samples", "pair.tnc", "1"},
                                  {"tinct-batch", "apply", "pair.tnc", "--set", "1=1,0,0", "-o", "p.rgb"}}) {
            if (is_due()) {
                EXPECT_EQ(expect_bounded(words, lie.size()).status, 1);
            }
        }
        for (const char* out : {"o.rgb", "o.tif", "p.rgb"})
            EXPECT_FALSE(std::filesystem::exists(path(out))) << out;
        if (HasFailure()) return;
    }
}

// One bit in group 4 is a whole white line: such a file is sound, and its line takes what a line takes.
TEST_F(Claims, ALineOfMillionsOfPixelsTakesThatLine) {
    if (WITH_SANITIZER) GTEST_SKIP() << "a sanitizer takes the address space";
    const uint32_t width = 16777215;
    write("wide.tif", tiff(width, 1, 4, 1, std::string("\x80", 1)));
    for (const auto& words : {std::vector<std::string>{"rzl", "info", "wide.tif"}, {"rzl", "cat", "wide.tif"}}) {
        const program_case c = {nullptr, words, {}, false};
        run_limits limits;
        limits.address_bytes = (int64_t{32} << 20) + int64_t{width} * 3; // the program's own and a line
        const limited_result result = run_limited(directory, c.process_words(), limits, "/dev/null");
        EXPECT_TRUE(result.ok()) << c.name() << result.err;
    }
}

// A picture that ends at its first code has no place where a further line begins: each is found by way of all before.
TEST_F(Claims, GoingUpALineAtATimeIsNotPaidByTheSquareOfTheHeight) {
    const uint32_t height = 131000;
    const std::string file = bmp(13, height, std::string("\0\1", 2));
    write("ended.bmp", file);
    EXPECT_EQ(expect_bounded({"rzl", "cat", "ended.bmp"}, file.size()).out_bytes, int64_t{height} * 13 * 3);
    EXPECT_EQ(expect_bounded({"rzl", "convert", "ended.bmp", "o.tga", "--standard", "PNG"}, file.size()).ok(),
              is_built(RZL_STANDARD_PNG));
}

TEST_F(Claims, SizesOfTheCommandLineAreHeldAgainstThePicture) {
    expect_bounded({"rzl", "convert", "big.rgb", "o.tif", "--tile", "32768"}, 1000);
    EXPECT_FALSE(std::filesystem::exists(path("o.tif")));
    const std::string chain = directories(WITH_SANITIZER ? 20000 : 100000);
    write("many.tif", chain);
    for (const char* image : {"0", "9999", "19999"})
        expect_bounded({"rzl", "info", "many.tif", "--image", image}, 10000);
}

TEST_F(Claims, AStreamStandsForNoMoreThanItsPictureHolds) {
    const bytes pens = pen_record(1, false) + pen_record(2, true);
    const bytes uv = bytes{2, 9, 9, 9, 1, 2, 3, 4};
    const struct {
        bytes record;
        int status; // 0 for what changes nothing, however often it is said
    } records[] = {
        {shade_record(1, 9), 1},
        {uv, 1},
        {COLUMN + shade_record(1, 9), 1},
        {skip_record(252, 65535) + shade_record(1, 9), 1},
        {packed_record(1, 0, {0x0D, 255, 9, 0}), 1},
        {packed_record(1, 0, bytes(500, 0x1D)), 1},
        {packed_record(1, 0, {}), 1},
        {packed_record(9, 0, {0}), 1},
        {packed_record(1, 60000, {0}), 1},
        {packed_record(1, 0, {0x1C, 9, 0x1C, 9, 0}), 1},
        {pen_record(1, false) + packed_record(1, 0, {0}) + packed_record(1, 11, {0}), 1},
        {bytes{243, 1, 'x', 0}, 0},
        {skip_record(252, 0), 0},
    };
    const size_t most = WITH_SANITIZER ? 3000000 : is_torture() ? 20000000 : 6000000;
    for (const auto& r : records) {
        bytes all = pens;
        while (all.size() < most)
            all.insert(all.end(), r.record.begin(), r.record.end());
        const bytes stream = START + bytes{242} + compressed(all, 16, true, 0);
        write("big.tnc", std::string(stream.begin(), stream.end()));
        SCOPED_TRACE(&r - records);
        for (const auto& words : {std::vector<std::string>{"tinct-batch", "info", "big.tnc"},
                                  {"tinct-batch", "pick", "big.tnc", "0", "0"},
                                  {"tinct-batch", "samples", "big.tnc", "1"},
                                  {"tinct-batch", "apply", "big.tnc", "--set", "1=1,0,0", "-o", "p.rgb", "--force"}}) {
            if (is_due()) {
                EXPECT_EQ(expect_bounded(words, stream.size()).status, r.status);
            }
        }
        if (HasFailure()) return;
    }
}
