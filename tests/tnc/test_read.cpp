// The reader of .tnc files: every record, damage of every kind, and failures at every allocation and read.
#include <array>
#include <cstring>

#include "common/failures.h"
#include "platform/files.h"
#include "tnc_fixture.h"

namespace {

struct read_test : tnc_test {
    // Reads, lists the pixels, frees.
    std::string pixels(const bytes& content, int32_t line_count) {
        tnc_image* image = read(content, line_count);
        std::string text = image != nullptr ? pixels_of(image) : "none";
        complete = image != nullptr && image->complete;
        tnc_free(image);
        return text;
    }
    bool complete = false;
};

bytes uv_sample(int pen, int shade, int u, int v) {
    return shade_record(pen, shade) + bytes{low(u), high(u), low(v), high(v)};
}

} // namespace

TEST_F(read_test, records_move_and_place_samples) {
    bytes content = START + pen_record(3, true) + pen_record(9, false) + shade_record(9, 50) + COLUMN +
                    uv_sample(3, 60, 0x1234, 0xFFFF) + skip_record(252, 300) + shade_record(9, 70) +
                    skip_record(252, 0) + uv_sample(3, 80, 1, 2) + LINE + skip_record(254, 2) + shade_record(9, 90) +
                    END + shade_record(9, 1);
    EXPECT_EQ(pixels(content, 5), "3:1,0=60/60/60/4660/65535 301,0=80/80/80/1/2 9:0,0=50/50/50/0/0 301,0=70/70/70/0/0 "
                                  "0,3=90/90/90/0/0 ");
    EXPECT_TRUE(complete);
    EXPECT_EQ(messages, "");
}

TEST_F(read_test, the_last_line_ends_the_reading) {
    bytes content =
        START + pen_record(1, false) + shade_record(1, 10) + LINE + shade_record(1, 20) + LINE + bytes{240, 1, 2, 3};
    EXPECT_EQ(pixels(content, 2), "1:0,0=10/10/10/0/0 0,1=20/20/20/0/0 ");
    EXPECT_TRUE(complete);
    EXPECT_EQ(
        pixels(START + pen_record(1, false) + shade_record(1, 10) + skip_record(254, 500) + bytes{240, 1, 2, 3}, 2),
        "1:0,0=10/10/10/0/0 ");
    EXPECT_EQ(pixels(content, 0), "1:");
    EXPECT_EQ(pixels(content, -5), "1:");
}

TEST_F(read_test, versions_read_alike_and_others_stop) {
    bytes records = pen_record(1, false) + shade_record(1, 10) + END;
    for (int version = 0; version < 4; ++version) {
        EXPECT_EQ(pixels(bytes{250, low(version)} + records, 1), "1:0,0=10/10/10/0/0 ");
    }
    for (const bytes& opening : {bytes{250, 4}, bytes{251, 3}, bytes{250}, bytes{}}) {
        EXPECT_EQ(pixels(opening.size() == 2 ? opening + records : opening, 1), "none");
        EXPECT_EQ(messages, "2:expected \"" + path + "\" to be version 0, 1, 2 or 3 tnc file\n");
        EXPECT_EQ(stops, 1);
    }
    EXPECT_EQ(tnc_read("/nonexistent.tnc", 1), nullptr);
    EXPECT_EQ(stops, 2);
}

TEST_F(read_test, headers_keep_their_name) {
    bytes name(200, 'n');
    tnc_image* image = read(START + bytes{243, 7} + bytes{243, 1, 'a', 0} + bytes{243, 1, 'b', 'c', 0} + END, 1);
    ASSERT_NE(image, nullptr);
    EXPECT_STREQ(image->name, "bc");
    tnc_free(image);
    // 127 characters fill the field; the rest of an overlong text is read as records.
    image = read(START + bytes{243, 1} + bytes(128, 'n') + END, 1);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(std::strlen(image->name), 127u);
    EXPECT_TRUE(image->complete);
    tnc_free(image);
}

TEST_F(read_test, unknown_pens_stop_and_out_of_range_ones_are_passed_over) {
    EXPECT_EQ(pixels(START + pen_record(1, false) + shade_record(2, 5) + END, 1), "none");
    EXPECT_EQ(messages, "2:Pixel data found for unknown pen 2\n");
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(pixels(START + pen_record(240, false) + shade_record(240, 5) + END, 1), "none");
    EXPECT_EQ(messages, "2:Pixel data found for unknown pen 240\n");
    EXPECT_EQ(pixels(START + pen_record(250, true) + END, 1), "");
}

TEST_F(read_test, packed_lines_go_to_the_front_of_their_chain) {
    bytes one = {0x1D, 7, 0};       // one pixel, grey 7
    bytes two = {0x81, 0x1D, 8, 0}; // one column on, grey 8
    bytes content = START + pen_record(4, false) + packed_record(4, 1, one) + packed_record(4, 1, two) +
                    packed_record(5, 0, one) + packed_record(4, 2, one) + packed_record(250, 0, one) +
                    packed_record(4, 0, {}) + packed_record(4, 0, {0x7D}) + END;
    EXPECT_EQ(pixels(content, 2), "4:1,1=8/8/8/0/0 0,1=7/7/7/0/0 ");
    EXPECT_TRUE(complete);
}

TEST_F(read_test, a_file_may_end_between_records_and_is_cut_inside_of_one) {
    const bytes records[] = {bytes{243, 1, 'x', 0},
                             pen_record(4, true),
                             uv_sample(4, 9, 1, 2),
                             COLUMN,
                             packed_record(4, 1, {0x1F, 7, 1, 0, 2, 0, 0}),
                             skip_record(252, 3),
                             END};
    bytes content = START;
    for (const bytes& record : records) {
        for (size_t length = 0; length < record.size(); ++length) {
            pixels(content + bytes(record.begin(), record.begin() + static_cast<std::ptrdiff_t>(length)), 3);
            EXPECT_EQ(complete, length == 0) << content.size() << " + " << length;
            EXPECT_EQ(stops, 0) << length;
        }
        content = content + record;
    }
    pixels(START + pen_record(4, true) + bytes{241, 4, 0, 0, 0x10, 0x27, 1, 2, 3}, 3);
    EXPECT_EQ(messages, "2:Failed to read 10000 bytes for pline.\n");
}

TEST_F(read_test, a_compressed_stream_holds_any_records) {
    bytes records = pen_record(1, true) + uv_sample(1, 10, 3, 4) + COLUMN + uv_sample(1, 11, 5, 6) + LINE + END;
    bytes plain = START + records;
    std::string wanted = pixels(plain, 3);
    EXPECT_EQ(pixels(START + bytes{242} + compressed(records, 12, true, 0), 3), wanted);
    EXPECT_TRUE(complete);
    EXPECT_EQ(pixels(START + bytes{242, 0x1F, 0x9D, 0x80 | 17}, 3), "none");
    EXPECT_EQ(stops, 1);
    EXPECT_NE(messages.find("2:failed to start decompression\n"), std::string::npos);
}

TEST_F(read_test, every_failed_allocation_or_read_is_named_and_leaks_nothing) {
    bytes content = START + bytes{243, 1, 'x', 0} + pen_record(4, true) + pen_record(5, false);
    for (int i = 0; i < 40; ++i)
        content = content + uv_sample(4, i, i * i, 9) + shade_record(5, i) + shade_record(5, 9) + COLUMN;
    content = content + LINE + packed_record(4, 1, {0x1F, 7, 1, 0, 2, 0, 0}) + END;
    content = START + bytes{242} + compressed(bytes(content.begin() + 2, content.end()), 12, true, 0);
    std::string wanted = pixels(content, 3);
    tnc_image* image = nullptr;
    penpack_release_scratch();
    sweep_failures(
        MEMORY_FAILURES, [&] { image = read(content, 3); },
        [&](bool hit) {
            EXPECT_EQ(messages.empty(), !hit && stops == 0) << messages;
            tnc_free(image);
            penpack_release_scratch();
        });
    long n = 0;
    sweep_failures(
        std::array{failing::no_more_bytes}, [&] { image = tnc_read(path.c_str(), 3); },
        [&](bool) {
            // The file fits the reader's buffer: the first read brings all of it, and the reader asks for no more.
            EXPECT_EQ(image != nullptr && image->complete, n++ > 0);
            tnc_free(image);
            penpack_release_scratch();
        });
    EXPECT_EQ(pixels(content, 3), wanted);
}

TEST_F(read_test, what_has_no_meaning_is_read_safely) {
    bytes pen = START + pen_record(1, false);
    bytes nine = packed_record(1, 0, {0x1D, 9, 0});
    // Samples of a line that has a packed line already take its place.
    EXPECT_EQ(pixels(pen + nine + shade_record(1, 5) + END, 5), "1:0,0=5/5/5/0/0 ");
    // A second definition starts the pen again.
    EXPECT_EQ(pixels(pen + packed_record(1, 3, {0x1D, 9, 0}) + shade_record(1, 5) + LINE + pen_record(1, true) +
                         uv_sample(1, 6, 1, 2) + END,
                     5),
              "1:0,1=6/6/6/1/2 ");
    EXPECT_TRUE(complete);
    // A stream in a stream ends the reading.
    bytes nested = pen_record(1, false) + shade_record(1, 5) + bytes{242, 255};
    EXPECT_EQ(pixels(START + bytes{242} + compressed(nested, 9, true, 0), 5), "1:0,0=5/5/5/0/0 ");
    EXPECT_FALSE(complete);
    EXPECT_EQ(messages, "");
    // A packed line that the file is too short for, in the stream, and for a pen that isn't there.
    nine.pop_back();
    bytes of_none = nine;
    of_none[1] = 9;
    for (const bytes& content :
         {START + bytes{242} + compressed(pen_record(1, false) + nine, 12, true, 0), pen + of_none}) {
        EXPECT_EQ(pixels(content, 5), "1:");
        EXPECT_FALSE(complete);
        EXPECT_EQ(messages, "2:Failed to read 3 bytes for pline.\n");
    }
}

// Reads that come back short are gone on with, wherever in a large file that is.
TEST_F(read_test, short_reads_lose_nothing) {
    bytes body = pen_record(5, true);
    for (int y = 0; y < 120; ++y) {
        for (int i = 0; i < 100; ++i)
            body = body + uv_sample(5, i * y, i * i * y, 77 * i) + COLUMN;
        body = body + packed_record(5, (y + 7) % 120, {0x1D, low(y), 0}) + LINE;
    }
    for (const bytes& content : {START + body, START + bytes{242} + compressed(body, 14, true, 9000)}) {
        std::string wanted = pixels(content, 120);
        EXPECT_TRUE(complete);
        bool hit = true;
        for (long n = 0; hit; ++n) {
            files_fail_after(n, n % 2 == 0 ? files_fail::once : files_fail::onward);
            EXPECT_EQ(pixels(content, 120), wanted) << n;
            hit = files_fail_stop();
        }
    }
}

// Lines of all lengths, among them many of a few bytes, with samples between: each keeps its own bytes wherever it came
// to lie, in a file larger than any buffer.
TEST_F(read_test, packed_lines_of_every_length_keep_their_bytes) {
    constexpr int LINES = 6000;
    bytes content = START + pen_record(5, false) + pen_record(6, false);
    std::vector<bytes> codes(LINES);
    uint32_t seed = 7;
    for (int y = 0; y < LINES; ++y) {
        seed = seed * 1664525 + 1013904223;
        size_t most = y % 3000 < 2000 ? 20 : y % 100 == 0 ? 65536 : 700;
        bytes& code = codes[static_cast<size_t>(y)];
        code.resize((seed >> 8) % most);
        for (size_t i = 0; i < code.size(); ++i)
            code[i] = static_cast<uint8_t>(seed >> (i % 24) ^ i);
        bytes record = packed_record(5, y, code) + (y % 7 == 0 ? shade_record(6, y) : bytes{}) + LINE;
        content.insert(content.end(), record.begin(), record.end());
    }
    tnc_image* image = read(content, LINES + 1);
    ASSERT_NE(image, nullptr);
    for (int y = 0; y < LINES; ++y) {
        const pline* line = image->pens[5]->lines[y];
        ASSERT_NE(line, nullptr) << y;
        EXPECT_EQ(bytes(line->code, line->code + line->length), codes[static_cast<size_t>(y)]) << y;
        EXPECT_EQ(image->pens[6]->lines[y] != nullptr, y % 7 == 0) << y;
    }
    tnc_free(image);
}

// Equal pens stand by their number, and a pen counts by its strongest layer.
TEST_F(read_test, pens_of_a_pixel_in_order) {
    bytes content = START;
    for (int pen = 0; pen < 8; ++pen)
        content = content + pen_record(pen, false) + packed_record(pen, 1, {0x82, 0x1D, low(100 + pen / 2), 0});
    content = content + packed_record(5, 1, {0x81, 0x2D, 250, 0});
    tnc_image* image = read(content + END, 3);
    int32_t pens[8];
    ASSERT_EQ(pens_at_pixel(image, 2, 1, pens, 8), 8);
    EXPECT_EQ(std::vector<int32_t>(pens, pens + 8), (std::vector<int32_t>{5, 6, 7, 4, 2, 3, 0, 1}));
    EXPECT_EQ(pens_at_pixel(image, 1, 1, pens, 8), 1);
    EXPECT_EQ(pens_at_pixel(image, 0, 1, pens, 8) + pens_at_pixel(image, 3, 1, pens, 8), 0);
    tnc_free(image);
}

// Damage that leaves the rest usable is told once for each kind, with its number.
TEST_F(read_test, damage_is_told_once_with_its_number) {
    const bytes good = {0x1D, 7, 0};
    const struct {
        bytes record;
        std::string what;
    } kinds[] = {
        {packed_record(5, 0, good), "is damaged: 3 packed lines are of pens that are not defined."},
        {packed_record(250, 0, good), "is damaged: 3 packed lines are of pens that are not defined."},
        {packed_record(4, 2, good), "is damaged: 3 packed lines stand past the last line."},
        {packed_record(4, 1, {0x1D, 7}), "is damaged: 3 packed lines have no end."},
        {packed_record(4, 1, {}), "is damaged: 3 packed lines have no end."},
        {packed_record(4, 1, {0x09, 9, 7, 0}), "is damaged: 3 packed lines are cut."},
        {packed_record(4, 1, {0x3E, 9, 1, 2, 3, 4, 5, 6, 7, 0}), "is damaged: 3 packed lines are cut."},
    };
    for (const auto& k : kinds) {
        bytes records = pen_record(4, false) + k.record + k.record + k.record + packed_record(4, 0, good) + END;
        for (const bytes& content : {START + records, START + bytes{242} + compressed(records, 12, true, 0)}) {
            pixels(content, 2);
            EXPECT_EQ(messages, "2:\"" + path + "\" " + k.what + "\n");
            EXPECT_TRUE(complete);
        }
    }
    pixels(START + pen_record(4, false) + packed_record(4, 1, {0x1C, 9, 0x1C, 9, 0}) + END, 2);
    EXPECT_EQ(messages, "2:Error - uv_code = 0: 2 runs of \"" + path + "\"\n");
}

// A few bytes of a stream can go on for ever with the same record; a picture ends it.
TEST_F(read_test, more_samples_than_a_picture_can_hold_end_the_reading) {
    const bytes packed = packed_record(1, 0, bytes{0x0D, 255, 9} + bytes(200, 0x7D) + bytes{9, 0});
    const bytes records[] = {shade_record(1, 7), packed, packed_record(1, 0, {}), packed_record(1, 0, bytes(60000, 0)),
                             pen_record(1, false) + packed_record(1, 0, {0}) + packed_record(1, 999, {0})};
    for (const bytes& record : records) {
        bytes all = pen_record(1, false);
        while (all.size() < 600000)
            all.insert(all.end(), record.begin(), record.end());
        messages.clear();
        write(START + bytes{242} + compressed(all, 12, true, 0));
        long before = mem_live();
        tnc_image* image = tnc_read(path.c_str(), 1000, 1);
        ASSERT_NE(image, nullptr);
        EXPECT_FALSE(image->complete);
        EXPECT_NE(messages.find("reading stops at line 0."), std::string::npos) << messages;
        EXPECT_LT(mem_live() - before, 200000);
        tnc_free(image);
    }
    // What the file has records for is read, however small the picture.
    bytes plain = START + pen_record(1, false);
    for (int i = 0; i < 100000; ++i)
        plain.insert(plain.end(), {1, 7, 7, 7});
    write(plain + END);
    tnc_image* image = tnc_read(path.c_str(), 1, 1);
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(image->complete);
    tnc_free(image);
}
