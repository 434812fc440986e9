// Header fields: who answers, what may change when, tile set-up, and the defaults of the slots; status words and the
// printing of messages.
#include <cstring>

#include "raster/CORE/formats.h"
#include "raster/core_fixture.h"

namespace {

class Fields : public CoreTest {
protected:
    CFILE* open(uint32_t mode) { return noting_handle(mode, &record); }
    rzl_memfile record = {};
};

TEST_F(Fields, CoreAnswersWhatEveryFormatHas) {
    CFILE* c = open(MODE_READ);
    c->xsize = 17;
    c->ysize = 4;
    c->vlt_bits = 6;
    struct row {
        int32_t field, value;
    };
    for (row r : {row{1, 17}, {2, 4},   {3, 2},    {31, 6},  {32, -1}, {35, 0},  {36, 0},
                  {100, 0},   {103, 0}, {104, 0},  {402, 1}, {403, 1}, {404, 1}, {405, 0},
                  {406, 0},   {407, 1}, {500, -1}, {506, 1}, {507, 8}, {508, 0}, {701, 0}})
        EXPECT_EQ(field_of(c, r.field), r.value) << r.field;
    EXPECT_TRUE(notes.got.empty()) << "none of these reaches the module";
    c->active_image = 1;
    EXPECT_EQ(field_of(c, RZL_FIELD_IMAGES), -1);

    double matrix[16] = {};
    EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_MATRIX, matrix), 0);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(matrix[i], i % 5 == 0 ? 1.0 : 0.0);
    for (int32_t field :
         {5, 30, 33, 200, 201, 400, 401, 501, 505, 509, 600, 609, 630, 640, 652, 660, 667, 674, 700, 720, 730})
        EXPECT_EQ(field_of(c, field), 1000 + field);

    int32_t kept = 77;
    for (int32_t field : {0, -1, 34, 37, 99, 105, 202, 408, 510, 610, 653, 675, 703, 732, INT32_MAX}) {
        EXPECT_EQ(rzl_get_hdr_data(c, field, &kept), 1) << field;
        EXPECT_EQ(kept, 77);
        EXPECT_EQ(status_of(c), RZL_BAD_FIELD_ID);
        EXPECT_EQ(status_of(c), RZL_BAD_FIELD_ID) << "asking for the status does not clear it";
    }
    EXPECT_EQ(field_of(c, RZL_FIELD_TILE_WIDTH), 0);
    EXPECT_EQ(status_of(c), 0u);
    rzl_close(c);
    EXPECT_EQ(notes.closed, 1);
}

TEST_F(Fields, ReadOnlyFilesTakeOnlyWhatConcernsReading) {
    CFILE* c = open(MODE_READ);
    set_flag(c, FLAG_HEADER_EXISTS, true);
    for (int32_t field : {1, 2, 3, 9, 14, 31, 100, 402, 500, 506, 508, 999}) {
        char text[200] = {};
        EXPECT_EQ(rzl_set_hdr_data(c, field, text), 1) << field;
        EXPECT_EQ(status_of(c), RZL_NEEDS_WRITE) << field;
    }
    EXPECT_TRUE(notes.set.empty());
    for (int32_t field : {35, 404, 701})
        EXPECT_EQ(set_field_to(c, field, 1), 0) << field;
    EXPECT_EQ(field_of(c, 35), 1);
    EXPECT_EQ(set_field_to(c, 701, 2), 0);
    EXPECT_EQ(field_of(c, 701), 0) << "set exactly by 1";
    EXPECT_EQ(set_field_to(c, 32, 8), 0);
    EXPECT_EQ(notes.set, std::vector<int32_t>{32});
    rzl_vlt_entry entries[1] = {};
    EXPECT_EQ(refusal(c, rzl_put_vlt(c, entries)), RZL_NEEDS_WRITE);
    rzl_close(c);
}

TEST_F(Fields, NewFilesTakeTheirLayoutAndValues) {
    CFILE* c = open(MODE_WRITE);
    // A text may be shorter than an integer; the core does not look into it.
    std::unique_ptr<char[]> text(new char[2]{'a', '\0'});
    EXPECT_EQ(rzl_set_hdr_data(c, RZL_FIELD_DESCRIPTION, text.get()), 0);
    set_fields(c, {{1, 640}, {506, 3}, {507, 16}});
    EXPECT_EQ(notes.set, (std::vector<int32_t>{14, 1}));
    for (auto [field, value] :
         {std::pair{1, -1}, {2, INT32_MIN}, {506, 0}, {507, 129}, {100, -32}, {104, -1}, {31, 17}}) {
        const bool tile = field == 100 || field == 104;
        EXPECT_EQ(set_field_to(c, field, value), 1) << field;
        EXPECT_EQ(status_of(c), tile ? RZL_BAD_TILE_SIZE : RZL_BAD_FIELD_VALUE) << field;
    }
    EXPECT_EQ(field_of(c, 1), 640);
    for (int32_t field : {20, 36, 101, 103, 400, 700, 702, 730}) {
        EXPECT_EQ(set_field_to(c, field, 1), 1) << field;
        EXPECT_EQ(status_of(c), RZL_BAD_FIELD_ID) << field;
    }
    for (int32_t field : {2, 31}) {
        notes.refuse_field = field;
        EXPECT_EQ(set_field_to(c, field, 7), 1);
        EXPECT_EQ(field_of(c, field), 0) << "what the module refuses is taken back";
    }

    notes = {};
    set_flag(c, FLAG_HEADER_EXISTS, true);
    for (int32_t field : {1, 100, 104, 500, 506, 507})
        EXPECT_EQ(set_field_to(c, field, 64), 0) << field;
    EXPECT_TRUE(notes.set.empty());
    EXPECT_EQ(field_of(c, 1), 640);
    EXPECT_FALSE(has_flag(c, FLAG_TILED));
    rzl_close(c);
}

TEST_F(Fields, TilesAreSquareUnlessBothSidesAreGiven) {
    CFILE* c = open(MODE_WRITE);
    c->xsize = 1000;
    c->ysize = 700;
    ASSERT_EQ(set_field_to(c, 100, 128), 0);
    ASSERT_TRUE(has_flag(c, FLAG_TILED));
    EXPECT_EQ(c->tile->tiles_across, 8u);
    EXPECT_EQ(c->tile->tiles_down, 6u);
    EXPECT_EQ(c->tile->height, 128u);
    EXPECT_EQ(set_field_to(c, 2, 900), 0);
    EXPECT_EQ(c->tile->tiles_down, 8u) << "counts follow the size";
    ASSERT_EQ(rzl_setup_tiles(c, 64, 32), 0);
    EXPECT_EQ(c->tile->tiles_across, 16u);
    EXPECT_EQ(c->tile->tiles_down, 29u);

    notes.refuse_field = 100;
    EXPECT_EQ(refusal(c, set_field_to(c, 100, 33)), RZL_BAD_TILE_SIZE);
    EXPECT_EQ(c->tile->width, 64u);
    EXPECT_EQ(c->tile->height, 32u) << "a refused size leaves the old one";
    notes.refuse_field = -1;
    EXPECT_EQ(refusal(c, set_field_to(c, 100, INT32_MAX)), RZL_BAD_TILE_SIZE) << "no buffer could hold such a tile";

    EXPECT_EQ(set_field_to(c, 100, 0), 0);
    EXPECT_FALSE(has_flag(c, FLAG_TILED));
    EXPECT_EQ(c->tile, nullptr);
    notes.refuse_field = 100;
    EXPECT_EQ(set_field_to(c, 100, 33), 1);
    EXPECT_EQ(c->tile, nullptr) << "and a refused first size leaves the file untiled";
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(set_field_to(c, 104, 32), 1);
    EXPECT_TRUE(mem_fail_stop());
    EXPECT_EQ(status_of(c), RZL_NO_MEMORY);
    EXPECT_FALSE(has_flag(c, FLAG_TILED));
    rzl_close(c);
}

TEST_F(Fields, AnOverviewTakesOnlyItsOwnFields) {
    CFILE* c = open(MODE_WRITE);
    c->active_overview = 0;
    for (int32_t field : {1, 2, 32, 201})
        EXPECT_EQ(set_field_to(c, field, 10), 0) << field;
    EXPECT_EQ(notes.set, (std::vector<int32_t>{1, 2, 32, 201}));
    EXPECT_EQ(c->xsize, 0) << "these are the module's alone";
    for (int32_t field : {3, 14, 200, 402, 500, 506}) {
        char text[200] = {};
        EXPECT_EQ(rzl_set_hdr_data(c, field, text), 1) << field;
        EXPECT_EQ(status_of(c), RZL_BAD_FIELD_ID) << field;
    }
    EXPECT_EQ(set_field_to(c, 104, 48), 0);
    EXPECT_EQ(c->tile->width, 48u) << "never a tile of width 0";
    set_fields(c, {{100, 64}, {104, 32}});
    EXPECT_EQ(c->tile->width, 64u);
    EXPECT_EQ(c->tile->height, 32u);
    EXPECT_EQ(refusal(c, set_field_to(c, 100, -32)), RZL_BAD_TILE_SIZE);
    EXPECT_EQ(set_field_to(c, 104, 0), 0);
    EXPECT_EQ(c->tile, nullptr);
    rzl_close(c);
}

TEST_F(Fields, PixelWidthOfABufferedTileRowIsFixed) {
    CFILE* c = open(MODE_WRITE_READ);
    c->xsize = c->ysize = 64;
    ASSERT_EQ(set_field_to(c, 100, 32), 0);
    c->tile->row_buffer = static_cast<uint8_t*>(mem_alloc(10));
    EXPECT_EQ(set_field_to(c, 35, 1), 1) << "lines wait in it to be written";
    c->mode = MODE_READ;
    EXPECT_EQ(set_field_to(c, 35, 1), 0);
    EXPECT_EQ(c->tile->row_buffer, nullptr) << "what was only read is read again";
    rzl_close(c);
}

TEST_F(Fields, BoardFieldsWithoutABoard) {
    CFILE* c = open(MODE_WRITE);
    EXPECT_EQ(set_field_to(c, 405, 1), 0);
    EXPECT_EQ(field_of(c, 405), 0) << "nothing to use it for";
    c->jpeg = mem_new<jpeg_record>();
    EXPECT_EQ(refusal(c, set_field_to(c, 405, 1)), RZL_JPEG_HARDWARE_2);
    EXPECT_EQ(set_field_to(c, 406, 1), 1);
    EXPECT_EQ(set_field_to(c, 407, 0), 0);
    EXPECT_EQ(field_of(c, 407), 0);
    EXPECT_EQ(set_field_to(c, 407, 1), 0);
    EXPECT_EQ(field_of(c, 407), 1);
    EXPECT_EQ(set_field_to(c, 508, 40), 0);
    EXPECT_EQ(field_of(c, 508), 40);
    rzl_close(c);
}

TEST_F(Fields, DefaultSlotsRefuseWithTheirResults) {
    CFILE* c = open(MODE_READ);
    rzl_set_default_slots(c);
    const format_slots& s = c->slots;
    auto refused = [&](auto call) {
        c->status = 0;
        set_last_status(0);
        int result = call();
        return c->status == RZL_UNSUPPORTED && library_status() == RZL_UNSUPPORTED ? result : -99;
    };
    EXPECT_EQ(refused([&] { return s.Getline(c, 0, nullptr); }), 1);
    EXPECT_EQ(refused([&] { return s.Getrleline(c, 0, nullptr); }), 0);
    EXPECT_EQ(refused([&] { return s.Putrletile(c, 0, nullptr, nullptr); }), 0);
    EXPECT_EQ(refused([&] { return s.Get_vlt(c, nullptr); }), 0);
    EXPECT_EQ(refused([&] { return s.Get_format(c); }), 2);
    EXPECT_EQ(refused([&] { return s.setactiveov(c, 0); }), 1);
    EXPECT_EQ(refused([&] { return s.Set_Number_of_Images(c, 2); }), 1);
    EXPECT_EQ(refused([&] { return s.Set_Active_Image(c, 1); }), 1);
    EXPECT_EQ(refused([&] { return s.copydata(c, c); }), 1);
    c->status = 0;
    EXPECT_EQ(s.setactiveov(c, -1) + s.Set_Number_of_Images(c, 1) + s.Set_Active_Image(c, 0), 0);
    EXPECT_EQ(s.Get_number_of_images(c), 1);
    EXPECT_EQ(c->status, 0u);
    EXPECT_EQ(s.Get_format(nullptr), -1);
    EXPECT_EQ(s.Get_hdr_data(nullptr, 1, nullptr), 1);
    EXPECT_EQ(library_status(), RZL_BAD_CFILE);
    EXPECT_EQ(rzl_get_packet(c, &record), 1) << "a public call does not pass a refusal for success";
    EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_UNSUPPORTED);
    EXPECT_EQ(refusal(c, set_field_to(c, RZL_FIELD_STRIP_LINES, 1)), RZL_UNSUPPORTED);
    EXPECT_EQ(rzl_set_active_overview(c, -1), 0);
    EXPECT_EQ(rzl_finish(c), RZL_UNSUPPORTED);
}

TEST_F(Fields, FormatTableIsHandedOut) {
    int32_t count = 0;
    const rzl_format_row* rows = nullptr;
    rzl_get_global(RZL_GLOBAL_FORMAT_ROWS, &count);
    rzl_get_global(RZL_GLOBAL_FORMAT_TABLE, &rows);
    ASSERT_EQ(count, 172);
    for (int i = 0; i < count; ++i) {
        int32_t samples = 0;
        int32_t bits = 0;
        ASSERT_TRUE(format_layout(rows[i].format, &samples, &bits)) << i;
        EXPECT_EQ(rows[i].layout >> 8, static_cast<uint32_t>(samples)) << i;
        EXPECT_NE(rzl_standard_name(rows[i].standard), nullptr) << i;
    }
    EXPECT_STREQ(rows[171].name, "IGS");
    int32_t samples = 0;
    int32_t bits = 11;
    EXPECT_TRUE(format_layout(26, &samples, &bits));
    EXPECT_EQ(bits, 11) << "format 26 has the bits that were set";
    EXPECT_FALSE(format_layout(65, &samples, &bits));
}

// ---- status words ---------------------------------------------------------------------------------------------------

std::string words_of(uint32_t status, const char* detail) {
    char text[2048];
    rzl_report_text(status, "CORE/test", 42, detail, text, sizeof text);
    return text;
}

TEST_F(Fields, WordsTakeTheirPiecesInOrder) {
    EXPECT_EQ(words_of(RZL_BAD_FIELD_ID, nullptr), "This field id passed in to rzl_get/set_hdr_data is not valid.\n - "
                                                   "error found at source code file CORE/test, line 42\n");
    EXPECT_EQ(
        words_of(RZL_CANNOT_OPEN, "a%sb"),
        "The raster file a%sb could not be opened. \nCheck permissions and filename. \nFailure occured at line 42 "
        "of source code file CORE/test:\n");
    EXPECT_EQ(words_of(RZL_PAST_END, "getline"),
              "An attempt was made to seek, read or write past the \nend of the file. This happened on line 42 of "
              "source code \nfile CORE/test: getline\n");
    EXPECT_EQ(words_of(12345, "odd"), "Generic error at line 42 of file CORE/test: odd\n");
    EXPECT_EQ(words_of(RZL_NO_SUCH_FIELD, "odd"), words_of(12345, "odd"));
    EXPECT_EQ(words_of(RZL_UNSUP_TIFF, "x"), words_of(RZL_UNSUP_IR, "x"));
    EXPECT_EQ(words_of(RZL_NO_MEMORY, std::string(5000, 'x').c_str()).size(), 2047u) << "cut, not run over";
    EXPECT_STREQ(rzl_status_name(RZL_ONLY_TILED), "RZL_ONLY_TILED");
    EXPECT_NE(rzl_status_text(7), nullptr);
}

TEST_F(Fields, NothingIsPrintedUnlessAskedFor) {
    write_bytes(path("unknown"), bytes_of("?"));
    auto printed = [&](const char* level) {
        ::setenv("RZL_DEBUG", level, 1);
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        EXPECT_EQ(rzl_open_r(path("unknown").c_str()), nullptr);
        rzl_report_board(226);
        rzl_check_alloc(nullptr, "tile memory");
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(printed("0"), "");
    std::string words = printed("1");
    EXPECT_NE(words.find("Reading of raster file failed"), std::string::npos) << words;
    EXPECT_NE(words.find("Tessel board is busy. Try later\n"), std::string::npos);
    EXPECT_EQ(words.find("tile memory"), std::string::npos);
    EXPECT_NE(printed("16").find("tile memory"), std::string::npos);
    EXPECT_EQ(printed("0"), "");
    ::unsetenv("RZL_DEBUG");
}

} // namespace
