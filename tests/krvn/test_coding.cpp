// Lines of native files: the bytes that are written, what is read back in every layout, and what damaged bytes get.
#include "krvn_fixture.h"

#include <functional>
#include <random>

#include "raster/KRVN/krvcode.h"

namespace {

using bytes = bytes_of_file;
using words = std::vector<unsigned>;

constexpr size_t HEADER = 1024;

bytes to_bytes(const words& list) {
    bytes out;
    for (unsigned w : list) {
        out.push_back(static_cast<uint8_t>(w));
        out.push_back(static_cast<uint8_t>(w >> 8));
    }
    return out;
}

words to_words(const bytes& list) {
    words out;
    for (size_t i = 0; i + 1 < list.size(); i += 2)
        out.push_back(load_u16le(list.data() + i));
    return out;
}

// A native file in memory.
struct native_file {
    bytes block;
    rzl_memfile record = {};
    CFILE* c = nullptr;

    explicit native_file(size_t room) : block(room) { use_block(); }
    native_file(int format, int32_t xsize, int32_t ysize, bool scannable, const bytes& data)
        : block(make_header(format, static_cast<uint32_t>(xsize), static_cast<uint32_t>(ysize))) {
        block[195] = scannable ? 1 : 0;
        block.insert(block.end(), data.begin(), data.end());
        use_block();
    }
    ~native_file() {
        if (c != nullptr) rzl_close(c);
    }
    native_file(const native_file&) = delete;
    native_file& operator=(const native_file&) = delete;

    void use_block() { record = {block.data(), static_cast<int32_t>(block.size()), 0, 0, 0, 0}; }
    std::string name() {
        char text[32];
        EXPECT_EQ(rzl_memfile_name(&record, text, sizeof text), 0);
        return text;
    }
    CFILE* open() {
        record.position = 0;
        return c = opened(rzl_open_r(name().c_str()));
    }
    CFILE* create(int format, int32_t xsize, int32_t ysize, bool scannable, int32_t bits = 0) {
        c = new_file(name(), format, xsize, ysize);
        if (bits != 0) set_fields(c, {{RZL_FIELD_BITS, bits}});
        if (scannable) set_fields(c, {{RZL_FIELD_SCANNABLE, 1}});
        return c;
    }
    // Ends writing; the file is what has been written.
    void finish() {
        auto length = static_cast<size_t>(record.position);
        EXPECT_EQ(rzl_finish(c), 0u);
        c = nullptr;
        block.resize(length);
        use_block();
    }
    bytes data() const { return {block.begin() + HEADER, block.end()}; }
};

int planes_of(int format) {
    return format_is_color(format) ? 3 : (format_is_four(format) ? 4 : 1);
}

using planes = std::vector<bytes>;

int put(CFILE* c, const planes& line) {
    std::vector<const void*> pointers;
    for (const bytes& plane : line)
        pointers.push_back(plane.empty() ? nullptr : plane.data());
    return rzl_putline_channels(c, static_cast<int>(pointers.size()), pointers.data());
}

int get(CFILE* c, planes* line) {
    std::vector<void*> pointers;
    for (bytes& plane : *line)
        pointers.push_back(plane.data());
    return rzl_getline_channels(c, static_cast<int>(pointers.size()), pointers.data());
}

// The stored bytes of one line.
bytes coded(int format, int32_t xsize, const planes& line, bool scannable = false, int32_t bits = 0) {
    native_file file(HEADER + static_cast<size_t>(xsize) * 8 + 1000);
    CFILE* c = file.create(format, xsize, 1, scannable, bits);
    EXPECT_EQ(put(c, line), 0) << rzl_status_name(c->status);
    file.finish();
    return file.data();
}

bytes bits_of(int32_t xsize, const std::function<bool(int32_t)>& on) {
    bytes line(static_cast<size_t>((xsize + 15) / 16 * 2));
    bytes pixels(static_cast<size_t>(xsize));
    for (int32_t x = 0; x < xsize; ++x)
        pixels[static_cast<size_t>(x)] = on(x) ? 255 : 0;
    rzl_pack_bits(line.data(), pixels.data(), xsize, 128);
    return line;
}

// Bytes in runs whose lengths are about `run`.
bytes random_line(std::mt19937& random, size_t size, unsigned run, unsigned values) {
    bytes line(size);
    for (size_t i = 0; i < size;) {
        auto value = static_cast<uint8_t>(random() % values);
        for (auto n = static_cast<size_t>(random() % run + 1); n > 0 && i < size; --n)
            line[i++] = value;
    }
    return line;
}

size_t plane_size(int format, int32_t xsize) {
    auto n = static_cast<size_t>(xsize);
    static constexpr size_t factor[] = {0, 0, 1, 2, 4, 4, 8, 8, 16};
    if (format == 1 || format == 9) return (n + 15) / 16 * 2;
    return format <= 8 ? n * factor[format] : n;
}

planes random_planes(std::mt19937& random, int format, int32_t xsize, unsigned run) {
    planes line;
    for (int i = 0; i < planes_of(format); ++i)
        line.push_back(random_line(random, plane_size(format, xsize), run, run > 200 ? 2 : 256));
    if (format == 9 && xsize % 16 != 0) {
        // Bits behind the last pixel are not stored.
        bytes& l = line[0];
        auto mask = static_cast<uint16_t>(0xFFFFu << (16 - xsize % 16));
        store_u16le(&l[l.size() - 2], load_u16le(&l[l.size() - 2]) & mask);
    }
    return line;
}

using Coding = KrvnTest;

TEST_F(Coding, BytesOfRunCodedLines) {
    bytes all_on = bits_of(40000, [](int32_t) { return true; });
    EXPECT_EQ(to_words(coded(9, 40000, {all_on})), (words{0, 32767, 0, 7233, 0}));
    EXPECT_EQ(to_words(coded(9, 10, {bytes(2)})), (words{10}));
    EXPECT_EQ(to_words(coded(9, 32767, {bytes(4096)})), (words{32767}));
    EXPECT_EQ(to_words(coded(9, 32768, {bytes(4096)})), (words{32767, 0, 1}));
    bytes some = bits_of(20, [](int32_t x) { return x == 3 || x >= 17; });
    EXPECT_EQ(to_words(coded(9, 20, {some})), (words{3, 1, 13, 3, 0}));

    EXPECT_EQ(coded(29, 300, {bytes(300, 7)}), (bytes{0x80, 7, 0x80, 7, 0xD4, 7}));
    EXPECT_EQ(coded(29, 256, {bytes(256, 7)}), (bytes{0x80, 7, 0x80, 7}));
    EXPECT_EQ(coded(29, 129, {bytes(129, 7)}), (bytes{0x80, 7, 0xFF, 7}));
    EXPECT_EQ(coded(29, 4, {{1, 2, 2, 2}}), (bytes{2, 1, 2, 0xFE, 2}));
    EXPECT_EQ(coded(29, 5, {{1, 2, 2, 3, 4}}), (bytes{5, 1, 2, 2, 3, 4}));
    EXPECT_EQ(coded(29, 4, {{5, 5, 1, 1}}), (bytes{0xFE, 5, 0xFE, 1}));
    bytes ramp(130), literals = {127};
    for (size_t i = 0; i < 130; ++i)
        ramp[i] = static_cast<uint8_t>(i);
    literals.insert(literals.end(), ramp.begin(), ramp.begin() + 127);
    literals.insert(literals.end(), {3, 127, 128, 129});
    EXPECT_EQ(coded(29, 130, {ramp}), literals);
    // A plane that isn't given is zero.
    EXPECT_EQ(coded(27, 130, {bytes(130, 1), {}, bytes(130, 2)}),
              (bytes{0x80, 1, 0xFE, 1, 0x80, 0, 0xFE, 0, 0x80, 2, 0xFE, 2}));

    EXPECT_EQ(coded(25, 3, {{1, 1, 4}, {2, 2, 5}, {3, 3, 6}}), (bytes{3, 2, 1, 2, 6, 5, 4, 1}));
    bytes mixed(300, 9);
    mixed.resize(302, 5);
    EXPECT_EQ(to_words(coded(26, 302, {mixed}, false, 8)), (words{9, 300, 5 | 2 << 8}));
    EXPECT_EQ(to_words(coded(26, 6, {{3, 3, 3, 1, 1, 0}}, false, 2)), (words{3 | 3 << 2, 1 | 2 << 2, 0 | 1 << 2}));
    // Pairs come with a line header: this format is always scannable.
    EXPECT_EQ(to_words(coded(10, 5, {{8, 8, 8, 1, 1}})), (words{0x5900, 6, 1, 0, 8, 3, 1, 2}));
}

TEST_F(Coding, BytesOfStoredLines) {
    EXPECT_EQ(coded(28, 2, {{1, 2}, {3, 4}, {5, 6}}), (bytes{1, 3, 5, 2, 4, 6}));
    EXPECT_EQ(coded(69, 1, {{1}, {2}, {}, {4}}), (bytes{1, 2, 0, 4}));
    EXPECT_EQ(coded(1, 17, {bits_of(17, [](int32_t x) { return x == 0 || x == 16; })}), (bytes{0, 0x80, 0, 0x80}));
    EXPECT_EQ(coded(2, 3, {{1, 2, 3}}, true), to_bytes({0x5900, 4, 1, 0, 0x0201, 0x0003}));
    EXPECT_EQ(coded(3, 2, {{1, 2, 3, 4}}, true), to_bytes({0x5900, 4, 1, 0, 0x0201, 0x0403}));
}

// What is written is what is read: every format and layout, widths around the words and limits of the coders, runs of
// all lengths; also when planes are passed over, and when lines are sought.
void round_trip(int format, bool scannable, int32_t xsize, unsigned run) {
    SCOPED_TRACE(testing::Message() << "format " << format << " scannable " << scannable << " width " << xsize
                                    << " run " << run);
    constexpr int32_t LINES = 5;
    std::mt19937 random(static_cast<unsigned>(format * 1000) + run);
    std::vector<planes> lines(LINES);
    for (planes& line : lines)
        line = random_planes(random, format, xsize, run);
    native_file file(HEADER + static_cast<size_t>(xsize) * 16 * LINES + 100000);
    CFILE* c = file.create(format, xsize, LINES, scannable);
    for (const planes& line : lines)
        ASSERT_EQ(put(c, line), 0) << rzl_status_name(c->status);
    file.finish();

    c = file.open();
    planes got(lines[0].size(), bytes(plane_size(format, xsize)));
    for (const planes& line : lines) {
        ASSERT_EQ(get(c, &got), 0) << rzl_status_name(c->status);
        ASSERT_EQ(got, line);
    }
    EXPECT_EQ(refusal(c, get(c, &got)), RZL_PAST_END);
    EXPECT_EQ(rzl_randomize(c), 0);
    for (int32_t line : {3, 1, 4, 0, 2, 3}) {
        ASSERT_EQ(rzl_seek(c, line), 0);
        ASSERT_EQ(get(c, &got), 0) << rzl_status_name(c->status);
        ASSERT_EQ(got, lines[static_cast<size_t>(line)]) << "after a seek to " << line;
    }
    EXPECT_EQ(rzl_is_damaged(c), 0);
}

TEST_F(Coding, RoundTrip) {
    for (int format : {1, 2, 3, 4, 6, 8, 9, 10, 25, 26, 27, 28, 29, 67, 69})
        for (bool scannable : {false, true}) {
            if (scannable && format > 26) continue;
            for (int32_t xsize : {1, 2, 15, 16, 17, 63, 127, 128, 129, 1000})
                for (unsigned run : {1u, 5u, 300u})
                    round_trip(format, scannable, xsize, run);
        }
    // Lines of more than one code buffer and more than one piece.
    for (int format : {2, 8, 9, 10, 25, 26, 27, 28})
        for (bool scannable : {false, true})
            for (unsigned run : {1u, 70000u})
                if (!scannable || format <= 26) round_trip(format, scannable, 150000, run);
}

TEST_F(Coding, FullPiecesBeginWithTheirPixel) {
    bytes line = bits_of(40000, [](int32_t x) { return x % 2 != 0; });
    words got = to_words(coded(9, 40000, {line}, true));
    ASSERT_GT(got.size(), size_t{4 + 32765 + 5});
    EXPECT_EQ((words{got.begin(), got.begin() + 4}), (words{0x5900, 32767, 1, 0}));
    // The second piece has an empty off run in front of the on run that comes next.
    auto second = got.begin() + 4 + 32765;
    EXPECT_EQ((words{second, second + 6}), (words{0x5900, 40001 - 32765 + 1 + 2, 1, 32765, 0, 1}));
}

TEST_F(Coding, LinesAndPartsThatAScannableFileLeavesOut) {
    auto piece = [](unsigned line, unsigned offset, const bytes& data) {
        bytes out = to_bytes({0x5900, static_cast<unsigned>(data.size() / 2 + 2), line, offset});
        out.insert(out.end(), data.begin(), data.end());
        return out;
    };
    for (unsigned counted_from : {0u, 1u}) {
        bytes data;
        for (unsigned line : {0u, 1u, 3u}) {
            bytes p = piece(line + counted_from, 0, bytes(400, static_cast<uint8_t>(line + 1)));
            data.insert(data.end(), p.begin(), p.end());
        }
        bytes a = piece(4 + counted_from, 0, bytes(100, 9));
        bytes b = piece(4 + counted_from, 200, bytes(100, 8));
        data.insert(data.end(), a.begin(), a.end());
        data.insert(data.end(), b.begin(), b.end());
        native_file file(2, 400, 5, true, data);
        CFILE* c = file.open();
        planes got(1, bytes(400));
        for (uint8_t value : bytes{1, 2, 0, 4}) {
            ASSERT_EQ(get(c, &got), 0);
            EXPECT_EQ(got[0], bytes(400, value));
        }
        ASSERT_EQ(get(c, &got), 0);
        bytes expected(400);
        std::fill_n(expected.begin(), 100, uint8_t{9});
        std::fill_n(expected.begin() + 200, 100, uint8_t{8});
        EXPECT_EQ(got[0], expected);
        EXPECT_EQ(rzl_is_damaged(c), 0);
        EXPECT_EQ(rzl_seek(c, 2), 0);
        EXPECT_EQ(get(c, &got), 0);
        EXPECT_EQ(got[0], bytes(400));
    }
}

// A file that ends where a piece could begin leaves its last lines out. One that ends elsewhere was cut.
TEST_F(Coding, ScannableFilesThatEndEarlyReadAsZeroAndCutOnesAreDamaged) {
    native_file whole(HEADER + 100000);
    CFILE* c = whole.create(9, 100, 4, true);
    bytes line = bits_of(100, [](int32_t x) { return x % 7 == 0; });
    for (int i = 0; i < 4; ++i)
        ASSERT_EQ(put(c, {line}), 0);
    whole.finish();
    bytes data = whole.data();
    for (size_t length = 0; length < data.size(); length += 2) {
        native_file file(9, 100, 4, true, {data.begin(), data.begin() + static_cast<long>(length)});
        c = file.open();
        for (size_t i = 0; i < 4; ++i) {
            planes got(1, bytes(14, 0xEE));
            ASSERT_EQ(get(c, &got), 0);
            if (length >= (i + 1) * data.size() / 4) {
                EXPECT_EQ(got[0], line);
            }
            EXPECT_EQ(std::count(got[0].begin(), got[0].end(), 0xEE), 0);
        }
        EXPECT_EQ(rzl_is_damaged(c), length % (data.size() / 4) != 0 ? 1 : 0) << "length " << length;
    }
    // What stands there and is no piece is damage, too.
    data[data.size() / 2] ^= 1;
    native_file broken(9, 100, 4, true, data);
    c = broken.open();
    for (int i = 0; i < 3; ++i) {
        planes got(1, bytes(14));
        EXPECT_EQ(rzl_is_damaged(c), 0);
        ASSERT_EQ(get(c, &got), 0);
    }
    EXPECT_EQ(rzl_is_damaged(c), 1);
}

TEST_F(Coding, PiecesThatDoNotFitTheirLine) {
    // One byte too much is padding; more fails the line, and the next one can be read.
    bytes data = to_bytes({0x5900, 4, 1, 0, 0x0201, 0x0003, 0x5900, 5, 2, 0, 1, 2, 3, 0x5900, 4, 3, 0, 0x0605, 7});
    native_file file(2, 3, 3, true, data);
    CFILE* c = file.open();
    planes got(1, bytes(3));
    EXPECT_EQ(get(c, &got), 0);
    EXPECT_EQ(got[0], (bytes{1, 2, 3}));
    EXPECT_EQ(refusal(c, get(c, &got)), RZL_READ_FAILED);
    EXPECT_EQ(get(c, &got), 0);
    EXPECT_EQ(got[0], (bytes{5, 6, 7}));
    // Runs past the end are dropped with a warning.
    native_file runs(9, 20, 1, true, to_bytes({0x5900, 5, 1, 0, 4, 2, 90}));
    c = runs.open();
    got = {bytes(4, 0xEE)};
    EXPECT_EQ(get(c, &got), 0);
    EXPECT_EQ(got[0], bits_of(20, [](int32_t x) { return x == 4 || x == 5; }));
    EXPECT_EQ(rzl_is_damaged(c), 1);
}

TEST_F(Coding, DamagedOrdinaryLinesFail) {
    struct {
        int format;
        bytes data;
    } cases[] = {
        {29, {0xF0, 1}},                               // a run past the end
        {29, {11, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}}, // literals past the end
        {29, {5, 1, 2}},                               // cut literals
        {29, {0xFB}},                                  // a run without its byte
        {27, {0xF6, 1, 0xF6, 2}},                      // two planes of three
        {9, to_bytes({4, 7, 0})},                      // an on run past the end
        {9, to_bytes({4, 6})},                         // no closing off run
        {25, {1, 2, 3, 11}},
        {25, {1, 2, 3}},
        {26, to_bytes({0, 11})},
        {28, bytes(29)},
        {3, bytes(19)},
    };
    for (const auto& one : cases) {
        native_file file(one.format, 10, 2, false, one.data);
        CFILE* c = file.open();
        planes got(static_cast<size_t>(planes_of(one.format)), bytes(20));
        EXPECT_EQ(refusal(c, get(c, &got)), RZL_READ_FAILED) << one.format;
        EXPECT_EQ(c->line, 1);
    }
}

TEST_F(Coding, RefusedFormatsAndCalls) {
    for (int format : {23, 24}) {
        native_file file(format, 16, 2, true, bytes(100));
        CFILE* c = file.open();
        uint8_t line[16];
        EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_NOT_STANDARD);
    }
    bytes line(64);
    for (int format : {27, 28, 29, 67, 69, 24}) {
        native_file file(HEADER + 10000);
        CFILE* c = file.create(format, 16, 2, true);
        EXPECT_EQ(refusal(c, rzl_putline(c, line.data())), RZL_NOT_STANDARD) << format;
    }
    for (int32_t bits : {9, 12, 15, 17}) {
        native_file file(HEADER + 10000);
        CFILE* c = file.create(26, 16, 2, false, bits);
        EXPECT_EQ(refusal(c, rzl_putline(c, line.data())), RZL_NOT_STANDARD) << bits;
    }
    for (int format : {2, 6, 28}) { // there is no line that could be had, and a reason for that
        native_file file(format, 0, 2, false, bytes(100));
        CFILE* c = file.open();
        int32_t size = 64;
        EXPECT_EQ(refusal(c, rzl_getline_interleaved(c, line.data())), RZL_READ_FAILED);
        EXPECT_EQ(refusal(c, rzl_get_rle_line(c, line.data(), &size)), RZL_READ_FAILED);
    }
    native_file file(HEADER + 10000);
    CFILE* c = file.create(2, 16, 4, false);
    const void* two[2] = {line.data(), line.data()};
    EXPECT_EQ(refusal(c, rzl_putline_channels(c, 2, two)), RZL_UNSUP_KRVN);
    EXPECT_EQ(refusal(c, rzl_putline16(c, reinterpret_cast<const uint16_t*>(line.data()))), RZL_UNSUP_KRVN);
}

TEST_F(Coding, SixteenBitSamples) {
    std::vector<uint16_t> line(300, 700);
    line[299] = 65535;
    for (int format : {3, 10, 26})
        for (bool scannable : {false, true}) {
            native_file file(HEADER + 10000);
            CFILE* c = file.create(format, 300, 2, scannable, format == 26 ? 16 : 0);
            ASSERT_EQ(rzl_putline16(c, line.data()), 0);
            ASSERT_EQ(rzl_putline16(c, line.data()), 0);
            file.finish();
            c = file.open();
            std::vector<uint16_t> got(300);
            for (int i = 0; i < 2; ++i) {
                ASSERT_EQ(rzl_getline16(c, got.data()), 0) << format;
                EXPECT_EQ(got, line) << format;
            }
        }
}

TEST_F(Coding, InterleavedLinesAndSinglePlanes) {
    for (int format : {25, 27, 28, 67, 69})
        for (int32_t four : {0, 1}) {
            size_t samples = static_cast<size_t>(planes_of(format));
            size_t step = four != 0 ? 4 : samples;
            native_file file(HEADER + 100000);
            CFILE* c = file.create(format, 301, 2, false);
            set_fields(c, {{RZL_FIELD_FOUR_BYTE_PIXELS, four}});
            bytes line(301 * step);
            for (size_t i = 0; i < line.size(); ++i)
                line[i] = static_cast<uint8_t>(i % step < samples ? i * 7 / 5 : 0xEE);
            ASSERT_EQ(rzl_putline_interleaved(c, line.data()), 0) << format;
            ASSERT_EQ(rzl_putline_interleaved(c, line.data()), 0) << format;
            file.finish();
            c = file.open();
            set_fields(c, {{RZL_FIELD_FOUR_BYTE_PIXELS, four}});
            bytes got(301 * step, 0xEE);
            ASSERT_EQ(rzl_getline_interleaved(c, got.data()), 0) << format;
            EXPECT_EQ(got, line) << format;
            // One plane alone: the others are decoded nowhere.
            bytes green(301);
            ASSERT_EQ(rzl_getline3(c, nullptr, green.data(), nullptr), 0);
            for (size_t x = 0; x < 301; ++x)
                ASSERT_EQ(green[x], line[x * step + 1]);
        }
}

TEST_F(Coding, LinesInTheirStoredCoding) {
    std::mt19937 random(3);
    for (int format : {9, 10, 25, 26, 27, 28})
        for (bool scannable : {false, true}) {
            if (scannable && format > 26) continue;
            native_file file(HEADER + 100000);
            CFILE* c = file.create(format, 200, 3, scannable);
            planes line = random_planes(random, format, 200, 5);
            for (int i = 0; i < 3; ++i)
                ASSERT_EQ(put(c, line), 0);
            file.finish();
            size_t each = file.data().size() / 3;
            c = file.open();
            bytes coding(each);
            int32_t size = static_cast<int32_t>(each) - 1;
            EXPECT_EQ(refusal(c, rzl_get_rle_line(c, coding.data(), &size)), RZL_RLE_BUFFER_SMALL);
            EXPECT_EQ(size, static_cast<int32_t>(each));
            EXPECT_EQ(rzl_get_rle_line(c, coding.data(), &size), 0) << rzl_status_name(c->status);
            EXPECT_EQ(coding,
                      (bytes{file.block.begin() + HEADER, file.block.begin() + HEADER + static_cast<long>(each)}));
            planes got(line.size(), bytes(plane_size(format, 200)));
            EXPECT_EQ(get(c, &got), 0);
            EXPECT_EQ(got, line);
            if (format > 26) continue;

            native_file copy(HEADER + 100000);
            c = copy.create(format, 200, 1, scannable);
            size_t header = has_flag(c, FLAG_SCANNABLE) || format == 10 ? KRV_LINE_HEADER_SIZE : 0;
            auto bytes_of_coding = static_cast<int32_t>(each - header);
            // A line that ends early would take the next one's runs.
            EXPECT_EQ(refusal(c, rzl_put_rle_line(c, coding.data() + header, bytes_of_coding - 2)), RZL_NOT_STANDARD);
            c->line = 0;
            EXPECT_EQ(rzl_put_rle_line(c, coding.data() + header, bytes_of_coding), 0);
            EXPECT_EQ(refusal(c, rzl_put_rle_line(c, coding.data() + header, bytes_of_coding)), RZL_PAST_END);
            rzl_memfile written = copy.record;
            EXPECT_EQ(std::memcmp(copy.block.data() + HEADER, coding.data(), each), 0);
            EXPECT_EQ(written.position, static_cast<int32_t>(HEADER + each));
        }
    native_file file(10, 70, 2, true, to_bytes({0x5900, 4, 2, 0, 5, 70}));
    CFILE* c = file.open();
    bytes coding(12);
    int32_t size = 12;
    ASSERT_EQ(rzl_get_rle_line(c, coding.data(), &size), 0);
    EXPECT_EQ(to_words(coding), (words{0x5900, 3, 0, 0, 0, 70}));
}

} // namespace
