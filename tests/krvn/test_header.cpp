// Headers of native files: where the fields stand, what an old or hand-made header means, and which are refused.
#include "krvn_fixture.h"

#include <cmath>

#include "raster/KRVN/krv.h"

class Header : public KrvnTest {};

TEST_F(Header, FieldsStandAtTheirOffsets) {
    std::string p = path("a.rgb");
    CFILE* c = new_file(p, 2, 10, 3);
    set_fields(c, {{8, -300}, {9, 6}, {10, 9}, {11, 111}, {12, -12}, {13, 113}, {22, -5}, {23, 200}, {33, 77}});
    const double numbers[16] = {1.5, 2.5, 3.5, 4.5};
    std::string text(300, 't');
    for (int field : {4, 26, 27, 28, 29, 30})
        EXPECT_EQ(rzl_set_hdr_data(c, field, numbers), 0);
    for (int field : {14, 15, 16, 17, 18})
        EXPECT_EQ(rzl_set_hdr_data(c, field, text.data()), 0);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(put_lines(c, 3, 40), 3);
    EXPECT_EQ(rzl_finish(c), 0u);

    bytes_of_file b = read_bytes(p);
    ASSERT_EQ(b.size(), 1024u + 30);
    const uint32_t words[][2] = {{0, 0x0908}, {2, 510}, {4, 2}, {6, 9}, {192, 65236}, {212, 77}, {532, 0}};
    for (auto [at, value] : words)
        EXPECT_EQ(u16_at(b, at), value) << at;
    const uint32_t longs[][2] = {{184, 10},  {188, 3},          {492, 0xFFFFFFFB}, {500, 200},
                                 {528, 0},   {536, 0},          {540, 0},          {544, 0},
                                 {768, 111}, {772, 0xFFFFFFF4}, {776, 113},        {508, 3u << 24}};
    for (auto [at, value] : longs)
        EXPECT_EQ(u32_at(b, at), value) << at;
    EXPECT_EQ(b[194], 6);
    EXPECT_EQ(b[195], 0);
    for (size_t at : {size_t{8}, size_t{32}, size_t{56}, size_t{196}, size_t{204}, size_t{520}})
        EXPECT_EQ(load_f64le(&b[at]), 1.5) << at;
    EXPECT_EQ(load_f64le(&b[16]), 2.5);
    EXPECT_EQ(load_f64le(&b[80]), 4.5);
    for (size_t end : {size_t{280}, size_t{346}, size_t{412}})
        EXPECT_EQ(b[end - 1], 't') << "a name fills its place";
    EXPECT_EQ(b[490], 't');
    EXPECT_EQ(b[491], 0) << "a description ends inside its place";
    EXPECT_EQ(b[978], 't');
    EXPECT_EQ(b[979], 0);
    EXPECT_EQ(b[1024], 40);

    c = opened(rzl_open_r(p.c_str()));
    const int32_t expected[][2] = {{1, 10},   {2, 3},  {3, 2},   {8, -300}, {9, 6},   {10, 9},  {11, 111}, {12, -12},
                                   {20, 510}, {21, 3}, {22, -5}, {23, 200}, {33, 77}, {200, 0}, {503, 1},  {6, 0}};
    for (auto [field, value] : expected)
        EXPECT_EQ(field_of(c, field), value) << field;
    double got[16] = {};
    EXPECT_EQ(rzl_get_hdr_data(c, 28, got), 0);
    EXPECT_EQ(got[2], 3.5);
    char comment[200];
    EXPECT_EQ(rzl_get_hdr_data(c, 15, comment), 0);
    EXPECT_EQ(std::string(comment).size(), 199u);
    EXPECT_EQ(next_value(c), 40);
    rzl_close(c);
}

TEST_F(Header, RefusedFieldsAndValues) {
    CFILE* c = new_file(path("a.rgb"), 2, 10, 3, true);
    const struct {
        int32_t field, value;
        uint32_t status;
    } before[] = {{3, 65, RZL_BAD_FIELD_VALUE},  {3, 11, RZL_BAD_FIELD_VALUE},        {6, -1, RZL_BAD_FIELD_VALUE},
                  {7, -1, RZL_BAD_FIELD_VALUE},  {8, 40000, RZL_BAD_FIELD_VALUE},     {100, 33, RZL_BAD_TILE_SIZE},
                  {100, -32, RZL_BAD_TILE_SIZE}, {200, 1000000, RZL_BAD_FIELD_VALUE}, {501, 1, RZL_BAD_FIELD_ID},
                  {32, 5, RZL_BAD_FIELD_ID},     {401, -1, RZL_BAD_FIELD_VALUE}};
    for (const auto& row : before) {
        EXPECT_EQ(set_field_to(c, row.field, row.value), 1) << row.field << "=" << row.value;
        EXPECT_EQ(status_of(c), row.status) << row.field << "=" << row.value;
    }
    EXPECT_FALSE(has_flag(c, FLAG_TILED));
    int32_t value = 5;
    EXPECT_EQ(refusal(c, rzl_get_hdr_data(c, 11, &value)), RZL_NO_SUCH_FIELD) << "application type 0 has no values";
    EXPECT_EQ(value, 0);
    set_fields(c, {{3, 24}});
    EXPECT_EQ(refusal(c, set_field_to(c, 100, 64)), RZL_BAD_TILE_SIZE) << "coded tiles have one size";
    set_fields(c, {{32, 7}, {3, 31}});
    EXPECT_EQ(field_of(c, 32), 7);
    EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_BAD_FIELD_ID) << "10 is no JPEG width";
    set_fields(c, {{1, 12}, {2, 4}, {508, 60}});
    EXPECT_EQ(field_of(c, 508), 60);
    for (int32_t field : {405, 406})
        EXPECT_EQ(refusal(c, set_field_to(c, field, 1)), RZL_JPEG_HARDWARE_2);
    EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_JPEG_HARDWARE_3);
    for (auto [field, other, own] : {std::tuple{506, 3, 1}, {507, 4, 8}}) {
        set_fields(c, {{3, 2}, {field, other}});
        EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_BAD_FIELD_VALUE) << "the header can't tell " << field;
        set_fields(c, {{field, own}});
    }
    EXPECT_EQ(rzl_write_header(c), 0);
    for (int32_t field : {3, 19, 401}) {
        EXPECT_EQ(set_field_to(c, field, 1), 1) << field;
        EXPECT_EQ(status_of(c), RZL_BAD_FIELD_ID) << field;
    }
    rzl_close(c);
    c = new_file(path("b.rgb"), 24, 10, 3);
    EXPECT_EQ(refusal(c, set_field_to(c, 32, 5)), RZL_NEEDS_READ);
    rzl_close(c);
}

TEST_F(Header, OldForms) {
    std::string p = path("a.rgb");
    write_bytes(p, {0, 0, 0xFE, 0, 2, 0, 1, 0});
    CFILE* c = opened(rzl_open_r(p.c_str()));
    EXPECT_EQ(field_of(c, 1), 0);
    EXPECT_EQ(next_value(c), -1);
    EXPECT_EQ(status_of(c), RZL_PAST_END);
    rzl_close(c);

    bytes_of_file b = make_header(2, 3, 2);
    store_u16le(&b[2], 254);
    b.resize(512);
    b.resize(518, 9);
    write_bytes(p, b);
    c = opened(rzl_open_r(p.c_str()));
    EXPECT_EQ(number_of(c, 26), 1.0);
    EXPECT_EQ(field_of(c, 5), 0) << "pixels are no colour table";
    EXPECT_EQ(next_value(c), 9);
    EXPECT_EQ(next_value(c), 9);
    rzl_close(c);
    EXPECT_EQ(std::filesystem::file_size(p), 518u);
}

TEST_F(Header, DoublesOfTheOldForm) {
    const struct {
        double value;
        bytes_of_file stored;
    } cases[] = {{1.0, {0x80, 0x40, 0, 0, 0, 0, 0, 0}},
                 {-2.5, {0x20, 0xC1, 0, 0, 0, 0, 0, 0}},
                 {0.0, {0, 0, 0, 0, 0, 0, 0, 0}},
                 {0.1, {0xCC, 0x3E, 0xCC, 0xCC, 0xCC, 0xCC, 0xD0, 0xCC}}};
    for (const auto& row : cases) {
        bytes_of_file out(8);
        krv_store_d_float(out.data(), row.value);
        EXPECT_EQ(out, row.stored) << row.value;
        EXPECT_EQ(krv_load_d_float(out.data()), row.value);
    }
    uint8_t far[8];
    krv_store_d_float(far, -1e300);
    EXPECT_LT(krv_load_d_float(far), -1.7e38);
    krv_store_d_float(far, NAN);
    EXPECT_TRUE(std::isfinite(krv_load_d_float(far)));
    krv_store_d_float(far, 1e-300);
    EXPECT_EQ(krv_load_d_float(far), 0.0);

    bytes_of_file b = make_header(2, 2, 2);
    b[6] = 1;
    b[511] = 2;
    std::memcpy(&b[196], cases[1].stored.data(), 8);
    b.resize(1028);
    std::string p = path("a.rgb");
    write_bytes(p, b);
    CFILE* c = opened(rzl_open_rw(p.c_str()));
    double value = 0;
    EXPECT_EQ(number_of(c, 29), -2.5);
    value = 1.0;
    EXPECT_EQ(rzl_set_hdr_data(c, 30, &value), 0);
    EXPECT_EQ(load_u32le(krv_spec_of(c)->header + 204), 0x4080u);
    set_fields(c, {{21, 3}}); // a new version carries the old values on
    EXPECT_EQ(load_f64le(krv_spec_of(c)->header + 204), 1.0);
    EXPECT_EQ(number_of(c, 29), -2.5);
    rzl_close(c);
}

TEST_F(Header, SizesThatTheFileCannotHold) {
    std::string p = path("a.rgb");
    struct claim {
        int format;
        uint32_t xsize, ysize;
        uint32_t status;
        bool damaged;
    };
    const claim claims[] = {{2, 100, 1, 0, false},
                            {2, 100, 2, 0, true}, // a line is missing
                            {2, 0xFFFFFFFF, 1, RZL_BAD_IMAGE_SIZE, false},
                            {2, 1, 0x80000000, RZL_BAD_IMAGE_SIZE, false},
                            {2, 2000, 1, RZL_BAD_IMAGE_SIZE, false},
                            {8, 100, 1, RZL_BAD_IMAGE_SIZE, false},
                            {27, 2000, 3, 0, false},
                            {27, 2000, 30, 0, true},
                            {27, 200000, 1, RZL_BAD_IMAGE_SIZE, false},
                            {9, 100000, 10, 0, false},
                            {65, 1, 1, RZL_READ_FAILED, false},
                            {31, 1, 1, RZL_JPEG_HARDWARE_3, false},
                            {11, 1, 1, RZL_READ_FAILED, false},
                            {23, 100, 1, 0, false},
                            {2, 0, 7, 0, false}};
    for (const claim& row : claims) {
        bytes_of_file b = make_header(row.format, row.xsize, row.ysize);
        b.resize(1124);
        write_bytes(p, b);
        bool damaged = false;
        EXPECT_EQ(open_status(p, &damaged), row.status) << row.format << " " << row.xsize << "x" << row.ysize;
        EXPECT_EQ(damaged, row.damaged) << row.format << " " << row.xsize << "x" << row.ysize;
        b[195] = 1; // pieces may be missing
        write_bytes(p, b);
        bool long_line = row.status == RZL_BAD_IMAGE_SIZE && (row.xsize > 65536 || row.ysize > 65536);
        bool other = row.status != 0 && row.status != RZL_BAD_IMAGE_SIZE;
        EXPECT_EQ(open_status(p) == 0, !long_line && !other) << row.format << " " << row.xsize << "x" << row.ysize;
    }
    // Under update the lines may still come.
    bytes_of_file b = make_header(2, 5000, 2);
    write_bytes(p, b);
    CFILE* c = opened(rzl_open_rw(p.c_str()));
    EXPECT_EQ(put_lines(c, 2, 7), 2);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(open_status(p), 0u);
    EXPECT_EQ(std::filesystem::file_size(p), 11024u);
}

TEST_F(Header, BadHeadersAreRefused) {
    std::string p = path("a.rgb");
    bytes_of_file b = make_header(2, 4, 4);
    b.resize(1040);
    for (auto [at, value] : {std::pair<size_t, int>{1, 8}, {1, 0}, {3, 0x80}, {5, 1}}) {
        bytes_of_file bad = b;
        bad[at] = static_cast<uint8_t>(value);
        write_bytes(p, bad);
        ::setenv("RZL_DEBUG", "1", 1);
        testing::internal::CaptureStderr();
        EXPECT_EQ(open_status(p), RZL_READ_FAILED) << at;
        const std::string said = testing::internal::GetCapturedStderr();
        ::setenv("RZL_DEBUG", "0", 1);
        read_debug_level();
        ::unsetenv("RZL_DEBUG");
        // (The first byte decides whether the file is one of these at all.)
        EXPECT_TRUE(at == 1 || at == 3 || said.find("format of file " + p + "\n") != std::string::npos) << said;
    }
}

// ---- colour tables --------------------------------------------------------------------------------------------------

TEST_F(Header, ColourTablesAsWritten) {
    std::vector<rzl_vlt_entry> table(70);
    for (size_t i = 0; i < table.size(); ++i) {
        auto v = static_cast<uint16_t>(i);
        table[i] = {v, static_cast<uint16_t>(v * 256 + 1), static_cast<uint16_t>(v * 512), 0xFF00};
    }
    table[3].slot = 255;
    table[4].slot = 300;
    for (int type : {1, 2}) {
        std::string p = path("vlt.rgb");
        CFILE* c = new_file(p, 2, 4, 1);
        set_fields(c, {{5, type}, {6, 65}});
        EXPECT_EQ(rzl_put_vlt(c, table.data()), 0);
        EXPECT_EQ(put_lines(c, 1, 2), 1);
        EXPECT_EQ(rzl_finish(c), 0u);
        bytes_of_file b = read_bytes(p);
        EXPECT_EQ(u16_at(b, 532), static_cast<uint32_t>(type));
        EXPECT_EQ(u32_at(b, 536), type == 1 ? 256u : 65u);
        EXPECT_EQ(u16_at(b, 2), type == 1 ? 766u : 510u + 512);
        ASSERT_EQ(b.size(), type == 1 ? 1540u : 1024u + 128 * 8 + 4);
        const size_t at = type == 1 ? 768 + 3 * 2 : 1024 + 8 * 2;
        EXPECT_EQ(bytes_of_file(&b[at], &b[at + 3]), type == 1 ? bytes_of_file({2, 4, 255}) : bytes_of_file({2, 0, 1}));
        if (type == 1) {
            EXPECT_EQ(b[768 + 255 * 3 + 1], 6) << "entries go to their slots";
        } else {
            EXPECT_EQ(u16_at(b, 1024 + 8 * 65 + 6), 0u) << "filling";
        }

        c = opened(rzl_open_r(p.c_str()));
        uint8_t red[4], green[4], blue[4];
        EXPECT_EQ(rzl_getline3(c, red, green, blue), 0);
        EXPECT_EQ(bytes_of_file({red[0], green[0], blue[0]}), bytes_of_file({2, 4, 255}));
        rzl_vlt_entry got[256] = {};
        EXPECT_EQ(rzl_get_vlt(c, got), 0);
        EXPECT_EQ(got[2].green, 1024);
        EXPECT_EQ(got[2].red, type == 1 ? 512 : 513) << "only entries keep the low byte";
        rzl_close(c);
    }
}

TEST_F(Header, ColourTablesUnderUpdate) {
    std::string p = path("vlt.rgb");
    rzl_vlt_entry table[10] = {{0, 0x1234, 0, 0}};
    for (uint16_t i = 1; i < 10; ++i)
        table[i].slot = i;
    CFILE* c = new_file(p, 2, 4, 2);
    set_fields(c, {{5, 2}, {6, 10}});
    EXPECT_EQ(rzl_put_vlt(c, table), 0);
    EXPECT_EQ(put_lines(c, 2, 3), 2);
    EXPECT_EQ(rzl_finish(c), 0u);
    bytes_of_file before = read_bytes(p);
    c = opened(rzl_open_rw(p.c_str()));
    EXPECT_EQ(rzl_write_header(c), 0);
    rzl_close(c);
    EXPECT_EQ(read_bytes(p), before) << "a header written again keeps all that was not changed";
    c = rzl_open_rw(p.c_str());
    set_fields(c, {{6, 100}});
    EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_HEADER_FULL);
    set_fields(c, {{6, 5}});
    EXPECT_EQ(rzl_write_header(c), 0);
    rzl_close(c);
    bytes_of_file after = read_bytes(p);
    EXPECT_EQ(u16_at(after, 2), 510u + 256) << "a smaller total keeps its room";
    EXPECT_EQ(u16_at(after, 1026), 0x1200u) << "built from the colours of the file";
    EXPECT_EQ(after.back(), 4);
}

TEST_F(Header, ColourTablesThatAreNoneAreDropped) {
    std::string p = path("vlt.rgb");
    struct row {
        int type;
        uint32_t entries;
        size_t size;
        bool table, damaged;
    };
    const row rows[] = {{2, 512, 6000, true, false}, {2, 513, 6000, false, true},       {1, 0, 6000, true, false},
                        {3, 5, 6000, false, true},   {2, 300, 1100, false, true},       {1, 256, 1100, false, true},
                        {0, 5, 6000, false, false},  {2, 0xFFFFFFFF, 6000, false, true}};
    for (const row& r : rows) {
        bytes_of_file b = make_header(2, 1, 1);
        store_u16le(&b[2], 510 + 256);
        store_u16le(&b[532], static_cast<uint16_t>(r.type));
        store_u32le(&b[536], r.entries);
        b.resize(r.size, 0x11);
        write_bytes(p, b);
        CFILE* c = opened(rzl_open_r(p.c_str()));
        EXPECT_EQ(c->color_table != nullptr, r.table) << r.type << " " << r.entries;
        EXPECT_EQ(rzl_is_damaged(c) != 0, r.damaged) << r.type << " " << r.entries;
        std::vector<rzl_vlt_entry> got(600);
        bool given = rzl_get_vlt(c, got.data()) == 0;
        EXPECT_EQ(given, r.type != 0 && r.type != 3 && r.size == 6000 && r.entries < 600) << r.type << " " << r.entries;
        EXPECT_TRUE(given || status_of(c) == (r.type == 1 || r.type == 2 ? RZL_READ_FAILED : RZL_NO_VLT));
        EXPECT_EQ(field_of(c, 5), r.type);
        rzl_close(c);
    }
}

// ---- the text-headed form -------------------------------------------------------------------------------------------

TEST_F(Header, TextForm) {
    std::string p = path("t.rgb");
    auto make = [&](const std::string& text) {
        bytes_of_file b = bytes_of("Raster!\n" + text);
        b.resize(1024);
        for (int plane = 0; plane < 6; ++plane)
            for (int value : {254, plane})
                b.push_back(static_cast<uint8_t>(value)); // a run of two
        write_bytes(p, b);
    };
    const std::string rest = "word\n2\n2\n7\n8\n9\n0\nA description\nA comment\n";
    make("1\n" + rest);
    CFILE* c = opened(rzl_open_r(p.c_str()));
    expect_fields(c, {{1, 2}, {2, 2}, {3, 27}, {11, 7}, {12, 8}, {13, 9}, {500, 0}, {506, 3}});
    char text[200];
    EXPECT_EQ(rzl_get_hdr_data(c, 15, text), 0);
    EXPECT_STREQ(text, "A comment");
    EXPECT_EQ(rzl_get_hdr_data(c, 14, text), 0);
    EXPECT_STREQ(text, "A description");
    uint8_t red[2], green[2], blue[2];
    EXPECT_EQ(rzl_seek(c, 1), 0);
    EXPECT_EQ(rzl_getline3(c, red, green, blue), 0);
    EXPECT_EQ(red[1] + green[1] * 10 + blue[1] * 100, 3 + 40 + 500);
    EXPECT_EQ(rzl_randomize(c), 1) << "not among the slots of this form";
    rzl_close(c);

    const std::pair<std::string, uint32_t> bad[] = {
        {"2\n" + rest, RZL_NOT_STANDARD_2},
        {"x\n" + rest, RZL_READ_FAILED},
        {"99999999999\n" + rest, RZL_READ_FAILED},
        {"1\nword\n2\n2\n7\n8\n9\n0\nonly one line\n", RZL_READ_FAILED},
        {"1\nword\n-2\n2\n7\n8\n9\n0\na\nb\n", RZL_BAD_IMAGE_SIZE},
        {"1\nword\n2000000\n2\n7\n8\n9\n0\na\nb\n", RZL_BAD_IMAGE_SIZE},
        {"1\nword\n2\n2\n7\n8\n9\n0\n" + std::string(2000, 'x'), RZL_READ_FAILED},
    };
    for (const auto& [content, status] : bad) {
        make(content);
        EXPECT_EQ(open_status(p), status) << content.substr(0, 40);
    }
    write_bytes(p, bytes_of("Raster!"));
    EXPECT_EQ(open_status(p), RZL_READ_FAILED);
}
