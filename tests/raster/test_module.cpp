// What the core does for a format: answers of fields, values that are set, bytes of every file set, places of lines,
// numbers in texts, and the walk through the rows of detection.
#include <clocale>
#include <cstring>

#include "platform/files.h"
#include "raster/CORE/standard.h"
#include "raster/core_fixture.h"

namespace {

using Module = CoreTest;

// ---- a format whose lines are a length byte and that many times a value -------------------------------------------

int get_run_line(CFILE* c, int channels, read_planes buffers) {
    int size = io_getc(c);
    if (size < 0) return fails(c, RZL_READ_FAILED, "TEST", "getline");
    for (int i = 0; i < size; ++i) {
        int value = io_getc(c);
        if (channels > 0 && buffers[0] != nullptr && i < c->xsize) buffers[0][i] = static_cast<uint8_t>(value);
    }
    ++c->line;
    return c->xsize;
}

int get_some_fields(CFILE* c, int32_t field, void* value) {
    if (field == RZL_FIELD_RESOLUTION) give_int(value, -300);
    if (field == RZL_FIELD_ROTATION) give_number(value, 0.5);
    if (field != RZL_FIELD_DESCRIPTION) return 0;
    give_text(value, 80, "half an answer");
    return refuse(c, RZL_NO_SUCH_FIELD, "TEST", nullptr);
}

bytes_of_file last_set(512);

int note_set(CFILE* c, int32_t field, const void* value) {
    std::memcpy(last_set.data(), value, field_type_of(c, field).size + size_t{1});
    return 0;
}

constexpr format_slots SLOTS = {.Get_line = get_run_line, .Get_hdr_data = get_some_fields, .Set_hdr_data = note_set};
constexpr field_limit LIMITS[] = {{RZL_FIELD_RESOLUTION, -1000, 1000}};
constexpr field_type TYPES[] = {{608, field_kind::text, 20}};
constexpr format_module RUNS = {
    .word = "TEST/runs", .squetch_word = "Runs squetch", .slots = &SLOTS, .limits = LIMITS, .types = TYPES};

// A handle of the module over the bytes, in a mode and a file set: 0 memory, 1 handle, 2 view, 3 stream.
CFILE* runs_over(const std::string& path, rzl_memfile* record, int set, uint32_t mode) {
    CFILE* c = noting_handle(mode, record);
    if (set != 0) {
        set_flag(c, FLAG_MEMORY, false);
        c->file = nullptr;
        if (set == 3) {
            rzl_set_stream_slots(c);
            c->file = c->io.file_open(path.c_str(), "rb");
        } else {
            c->mode = set == 2 ? MODE_READ : MODE_UPDATE;
            EXPECT_TRUE(reopen_cfile_file(c, path.c_str()));
            c->mode = mode;
        }
    }
    EXPECT_TRUE(install_module(c, &RUNS));
    return c;
}

TEST_F(Module, FieldsHaveTheirSizeAndTheHandlesAnswer) {
    uint8_t byte = 0;
    rzl_memfile record = {&byte, 1, 0, 0, 0, 0};
    CFILE* c = runs_over("", &record, 0, MODE_READ);
    for (int32_t field = 4; field <= 33; ++field) {
        size_t size = field_type_of(c, field).size;
        bytes_of_file value(FIELD_MOST_BYTES, 0xEE);
        bool core = field == RZL_FIELD_VLT_BITS || field == RZL_FIELD_STRIP_LINES;
        int result = rzl_get_hdr_data(c, field, value.data());
        EXPECT_EQ(result, field == RZL_FIELD_DESCRIPTION ? 1 : 0) << field;
        EXPECT_EQ(std::count(value.begin() + static_cast<long>(core ? 4 : size), value.end(), 0xEE),
                  static_cast<long>(value.size() - (core ? 4 : size)))
            << field;
        bool zero =
            std::all_of(value.begin(), value.begin() + static_cast<long>(size), [](uint8_t b) { return b == 0; });
        bool answered = field == RZL_FIELD_MATRIX || field == RZL_FIELD_RESOLUTION || field == RZL_FIELD_ORIENTATION ||
                        field == RZL_FIELD_ASPECT_RATIO || field == RZL_FIELD_ROTATION ||
                        field == RZL_FIELD_STRIP_LINES;
        EXPECT_EQ(zero, !answered) << field;
    }
    rzl_stat stat;
    EXPECT_EQ(rzl_get_stat(c, &stat), 0);
    EXPECT_EQ(stat.device_resolution, -300);
    EXPECT_EQ(stat.scan_orientation, RZL_TOP_DOWN);
    EXPECT_EQ(stat.matrix[5], 1.0);
    EXPECT_EQ(stat.aspect_ratio, 1.0);
    EXPECT_EQ(stat.planar, 1);
    EXPECT_EQ(stat.bits, 8);
    rzl_close(c);
}

TEST_F(Module, SetValuesAreWholeAndWithinTheirLimits) {
    uint8_t byte = 0;
    rzl_memfile record = {&byte, 1, 0, 0, 0, 0};
    CFILE* c = runs_over("", &record, 0, MODE_WRITE);
    // A text may end anywhere; what stands behind its end is not the field's.
    std::string text = "abc" + std::string(1, '\0') + "secret";
    EXPECT_EQ(rzl_set_hdr_data(c, RZL_FIELD_DESCRIPTION, text.c_str()), 0);
    EXPECT_EQ(bytes_of_file(last_set.begin(), last_set.begin() + 10), bytes_of(std::string("abc\0\0\0\0\0\0\0", 10)));
    std::string full(30, 'x');
    EXPECT_EQ(rzl_set_hdr_data(c, 608, full.c_str()), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(last_set.data())), std::string(20, 'x'));
    // From a place of no alignment.
    uint8_t raw[12] = {};
    give_int(raw + 3, -1000);
    EXPECT_EQ(rzl_set_hdr_data(c, RZL_FIELD_RESOLUTION, raw + 3), 0);
    EXPECT_EQ(int_of(last_set.data()), -1000);
    give_int(raw + 3, -1001);
    EXPECT_EQ(refusal(c, rzl_set_hdr_data(c, RZL_FIELD_RESOLUTION, raw + 3)), RZL_BAD_FIELD_VALUE);
    EXPECT_EQ(int_of(last_set.data()), -1000) << "it was not handed on";
    rzl_close(c);
}

// ---- bytes ---------------------------------------------------------------------------------------------------------

long system_reads;
size_t (*real_read)(void*, size_t, size_t, void*);
size_t counting_read(void* buffer, size_t size, size_t count, void* file) {
    ++system_reads;
    return real_read(buffer, size, count, file);
}

TEST_F(Module, BytesAreTheSameThroughEveryFileSet) {
    bytes_of_file data(300000);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<uint8_t>(i * 31 + (i >> 8));
    std::string name = path("bytes");
    write_bytes(name, data);
    for (int set = 0; set < 4; ++set) {
        SCOPED_TRACE(set);
        rzl_memfile record = {data.data(), static_cast<int32_t>(data.size()), 0, 0, 0, 0};
        CFILE* c = runs_over(name, &record, set, MODE_READ);
        real_read = c->io.file_read;
        c->io.file_read = counting_read;
        system_reads = 0;
        size_t at = 0;
        uint8_t block[700];
        while (at < data.size()) {
            for (int i = 0; i < 300 && at < data.size(); ++i)
                ASSERT_EQ(io_getc(c), data[at++]);
            ASSERT_EQ(io_tell(c), static_cast<int64_t>(at));
            size_t wanted = std::min(sizeof block, data.size() - at);
            ASSERT_EQ(io_read(c, block, wanted), wanted);
            ASSERT_EQ(std::memcmp(block, data.data() + at, wanted), 0);
            at += wanted;
            ASSERT_TRUE(io_has(c, data.size() - at));
            ASSERT_FALSE(io_has(c, data.size() - at + 1));
            if (at + 100 < data.size()) {
                ASSERT_TRUE(io_skip(c, 100));
                at += 100;
            }
        }
        EXPECT_EQ(io_getc(c), -1);
        EXPECT_FALSE(io_skip(c, 1));
        EXPECT_LT(system_reads, 600) << "bytes are fetched together";
        ASSERT_TRUE(io_seek(c, 5));
        EXPECT_EQ(io_read_block(c, data.size() - 4, 0, "TEST", nullptr), nullptr);
        EXPECT_EQ(c->status, RZL_READ_FAILED);
        uint8_t* whole = io_read_block(c, data.size() - 5, 3, "TEST", nullptr);
        ASSERT_NE(whole, nullptr);
        EXPECT_EQ(std::memcmp(whole, data.data() + 5, data.size() - 5), 0);
        EXPECT_EQ(whole[data.size() - 5] | whole[data.size() - 3], 0);
        mem_free(whole);
        rzl_close(c);
    }
}

// ---- places of lines -----------------------------------------------------------------------------------------------

TEST_F(Module, LinesThatVaryInSizeAreFoundInAnyOrder) {
    bytes_of_file data = {'h', 'd'};
    constexpr int LINES = 90;
    for (int line = 0; line < LINES; ++line) {
        data.push_back(static_cast<uint8_t>(4 + line % 7));
        data.insert(data.end(), static_cast<size_t>(4 + line % 7), static_cast<uint8_t>(line));
    }
    std::string name = path("lines");
    write_bytes(name, data);
    for (int set = 0; set < 3; ++set) {
        rzl_memfile record = {data.data(), static_cast<int32_t>(data.size()), 0, 0, 0, 0};
        CFILE* c = runs_over(name, &record, set, MODE_READ);
        c->xsize = 4;
        c->ysize = LINES;
        ASSERT_TRUE(io_seek(c, 2));
        ASSERT_EQ(rzl_record_lines(c, 2, 5), 0);
        for (int32_t line : {0, 1, 50, 3, 3, 89, 20, 51, 0, 88}) {
            uint8_t pixels[4] = {};
            ASSERT_EQ(rzl_seek(c, line), 0) << line;
            ASSERT_EQ(rzl_getline(c, pixels), 0) << line;
            EXPECT_EQ(pixels[3], line);
        }
        EXPECT_EQ(refusal(c, rzl_seek(c, LINES)), RZL_PAST_END);
        EXPECT_EQ(rzl_rewind(c), 0);
        uint8_t pixels[4] = {};
        EXPECT_EQ(rzl_getline(c, pixels), 0);
        EXPECT_EQ(pixels[0], 0);
        // A height that the file can't have takes no memory for itself.
        c->ysize = INT32_MAX;
        EXPECT_EQ(rzl_record_lines(c, 2, 5), 0);
        EXPECT_LE(c->line_offset_count, static_cast<int32_t>(data.size() / 5 + 1));
        EXPECT_EQ(refusal(c, rzl_seek(c, LINES + 5)), RZL_READ_FAILED);
        rzl_close(c);
    }
}

TEST_F(Module, ASeekPastTheEndOfAResampledFileSaysTheModulesWord) {
    bytes_of_file data(100);
    rzl_memfile record = {data.data(), 100, 0, 0, 0, 0};
    CFILE* c = runs_over("", &record, 0, MODE_READ);
    c->xsize = c->ysize = 8;
    ASSERT_EQ(rzl_set_squetch(c, 4, 4, 0), 0);
    setenv("RZL_DEBUG", "1", 1);
    read_debug_level();
    testing::internal::CaptureStderr();
    EXPECT_EQ(rzl_seek(c, 4), 1);
    std::string said = testing::internal::GetCapturedStderr();
    setenv("RZL_DEBUG", "0", 1);
    read_debug_level();
    unsetenv("RZL_DEBUG");
    EXPECT_NE(said.find("Runs squetch"), std::string::npos) << said;
    EXPECT_NE(said.find("TEST/runs"), std::string::npos) << said;
    EXPECT_EQ(rzl_seek(c, 3), 0);
    EXPECT_EQ(c->line, 6);
    rzl_close(c);
}

// ---- detection -----------------------------------------------------------------------------------------------------

bool always(const file_probe*) {
    return true;
}
bool wants_seven(const file_probe* p) {
    p->c->status = RZL_READ_FAILED;
    return p->b[0] == 7;
}
bool lacks_memory(const file_probe* p) {
    return fails(p->c, RZL_NO_MEMORY, "TEST", nullptr);
}

TEST_F(Module, AModuleThatRefusesLetsDetectionGoOn) {
    constexpr format_module picky = {.word = "A", .slots = &SLOTS, .probe = wants_seven};
    constexpr format_module poor = {.word = "B", .slots = &SLOTS, .probe = lacks_memory};
    const standard_row rows[] = {
        {100, "NEVER", "", nullptr, &RUNS}, // neither test nor probe
        {101, "PICKY", "", always, &picky},
        {102, "ALSO", "", nullptr, &picky}, // the probe alone
        {103, "REST", "", always, nullptr},
    };
    const standard_row without_memory[] = {{104, "POOR", "", always, &poor}, {105, "REST", "", always, nullptr}};
    for (uint8_t first : {uint8_t{7}, uint8_t{8}}) {
        rzl_memfile record = {&first, 1, 0, 0, 0, 0};
        CFILE* c = noting_handle(MODE_READ, &record);
        EXPECT_EQ(detect_row(c, "x", {rows, rows + 4})->id, first == 7 ? 101 : 103);
        EXPECT_EQ(c->status, 0u) << "a refusal leaves no status";
        EXPECT_EQ(detect_row(c, "x", {without_memory, without_memory + 2}), nullptr);
        EXPECT_EQ(c->status, RZL_NO_MEMORY);
        c->status = 0;
        rzl_close(c);
    }
}

TEST_F(Module, ExtensionsAndDataFormatsOfTheStandards) {
    EXPECT_EQ(rzl_standard_of_extension("TIFF"), RZL_STANDARD_TIFF);
    EXPECT_EQ(rzl_standard_of_extension("pgm"), RZL_STANDARD_PNM);
    EXPECT_EQ(rzl_standard_of_extension("p"), -1);
    EXPECT_EQ(rzl_standard_of_extension(""), -1);
    EXPECT_STREQ(rzl_standard_extensions(RZL_STANDARD_GIF), "gif");
    EXPECT_EQ(rzl_standard_extensions(7), nullptr);
    EXPECT_EQ(rzl_standard_takes(RZL_STANDARD_GIF, RZL_FORMAT_RGB), 0);
    EXPECT_EQ(rzl_standard_takes(RZL_STANDARD_TIFF, RZL_FORMAT_COLOR_RUNS), 0);
    EXPECT_EQ(rzl_standard_takes(RZL_STANDARD_KRVN, RZL_FORMAT_COLOR_RUNS), 1);
    EXPECT_EQ(rzl_standard_takes(RZL_STANDARD_MRG, RZL_FORMAT_BYTE), 0) << "can't be created";
}

// ---- two colours ---------------------------------------------------------------------------------------------------

TEST_F(Module, ThreePlanesOfABilevelImageWithATableAreColours) {
    bytes_of_file block(4000, 0xEE);
    rzl_memfile record = {block.data(), static_cast<int32_t>(block.size()), 0, 0, 77, 0};
    char name[40];
    ASSERT_EQ(rzl_memfile_name(&record, name, sizeof name), 0);
    CFILE* c = opened(rzl_open_w(name));
    constexpr int WIDTH = 45;
    const rzl_vlt_entry entries[2] = {{0, 0x1000, 0x2000, 0x3000}, {1, 0x4000, 0x5000, 0x6000}};
    set_field_to(c, RZL_FIELD_FORMAT, RZL_FORMAT_BILEVEL);
    set_field_to(c, RZL_FIELD_XSIZE, WIDTH);
    set_field_to(c, RZL_FIELD_YSIZE, 2);
    set_field_to(c, RZL_FIELD_VLT_TYPE, RZL_VLT_ENTRIES);
    set_field_to(c, RZL_FIELD_VLT_ENTRIES, 2);
    EXPECT_EQ(rzl_put_vlt(c, entries), 0);
    bytes_of_file pixels(WIDTH), line(6), planes(WIDTH * 3 * 2);
    for (size_t x = 0; x < WIDTH; ++x)
        pixels[x] = x % 3 == 0 || x > 30 ? 1 : 0;
    rzl_pack_bits(line.data(), pixels.data(), WIDTH, 1);
    EXPECT_EQ(rzl_putline(c, line.data()), 0);
    EXPECT_EQ(rzl_putline(c, line.data()), 0);
    int32_t start = record.data_start;
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(record.used, start + 12) << "the size of what was written, not that of the block";
    c = opened(rzl_open_r(name));
    EXPECT_EQ(rzl_line_size(c), size_t{WIDTH});
    EXPECT_EQ(rzl_interleaved_size(c), size_t{WIDTH} * 3);
    uint8_t* red = planes.data();
    ASSERT_EQ(rzl_getline3(c, red, red + WIDTH, red + 2 * WIDTH), 0);
    for (size_t x = 0; x < WIDTH; ++x) {
        EXPECT_EQ(red[x], pixels[x] != 0 ? 0x40 : 0x10) << x;
        EXPECT_EQ(red[2 * WIDTH + x], pixels[x] != 0 ? 0x60 : 0x30) << x;
    }
    ASSERT_EQ(rzl_getline(c, red), 0);
    EXPECT_TRUE(std::equal(line.begin(), line.end(), red)) << "one buffer has the bits";
    ASSERT_EQ(rzl_set_squetch(c, WIDTH * 2, 2, 0), 0);
    ASSERT_EQ(rzl_getline3(c, red, red + 2 * WIDTH, red + 4 * WIDTH), 0);
    for (size_t x = 0; x < WIDTH; ++x)
        EXPECT_EQ(red[2 * x + 1], pixels[x] != 0 ? 0x40 : 0x10) << x;
    rzl_close(c);
}

// ---- texts and samples ---------------------------------------------------------------------------------------------

TEST_F(Module, NumbersInTextsDoNotDependOnTheLocale) {
    // A locale with a decimal comma, where the machine has one.
    bool comma = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    double number = 0;
    EXPECT_TRUE(text_number("  +1.5E2x", 9, &number)) << comma;
    EXPECT_EQ(number, 150.0);
    EXPECT_TRUE(text_number("-.25", 4, &number));
    EXPECT_EQ(number, -0.25);
    EXPECT_FALSE(text_number("inf", 3, &number));
    EXPECT_FALSE(text_number("  ", 2, &number));
    int64_t value = 1;
    EXPECT_TRUE(text_integer("\t-12 34", 7, &value));
    EXPECT_EQ(value, -12);
    EXPECT_FALSE(text_integer("99999999999999999999", 20, &value));
    EXPECT_EQ(value, 0);
    EXPECT_TRUE(text_integer("123456", 3, &value)) << "no more than its width";
    EXPECT_EQ(value, 123);
    size_t digits = 0;
    EXPECT_TRUE(text_digits("00512", 5, &digits));
    EXPECT_EQ(digits, 512u);
    EXPECT_FALSE(text_digits("-0512", 5, &digits));
    std::setlocale(LC_ALL, "C");
}

TEST_F(Module, BilevelRowsAndWordsAndPixels) {
    for (uint32_t width : {1u, 7u, 8u, 15u, 16u, 17u, 33u, 100u, 129u}) {
        for (uint8_t invert : {uint8_t{0}, uint8_t{0xFF}}) {
            bytes_of_file row((width + 7) / 8), words((width + 15) / 16 * 2, 0xEE), back(row.size());
            for (size_t i = 0; i < row.size(); ++i)
                row[i] = static_cast<uint8_t>(i * 37 + 91);
            bits_to_words(row.data(), width, invert, words.data());
            bytes_of_file pixels(width);
            rzl_unpack_bits(words.data(), pixels.data(), static_cast<int32_t>(width), 0, 1);
            for (uint32_t x = 0; x < width; ++x)
                ASSERT_EQ(pixels[x], ((row[x / 8] ^ invert) >> (7 - x % 8)) & 1) << width << ' ' << x;
            words_to_bits(words.data(), width, invert, back.data());
            row.back() = static_cast<uint8_t>(row.back() & 0xFF00u >> ((width - 1) % 8 + 1));
            EXPECT_EQ(back, row);
        }
    }
    // Blue, green, red in the file; the green plane is not wanted.
    uint8_t pixels[8] = {1, 2, 3, 9, 4, 5, 6, 9}, red[2], blue[2];
    uint8_t* planes[3] = {blue, nullptr, red};
    split_pixels(pixels, 2, 4, planes, 3);
    EXPECT_EQ(red[1], 6);
    EXPECT_EQ(blue[1], 4);
    const uint8_t* from[3] = {red, nullptr, blue};
    join_pixels(pixels, 2, 4, from, 3);
    EXPECT_EQ(pixels[0], 3);
    EXPECT_EQ(pixels[1], 2);
    EXPECT_EQ(pixels[3], 9);
}

} // namespace
