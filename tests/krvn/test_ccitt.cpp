// Native files of CCITT data: the bytes in the file, damage, strips of runs, overviews and several images.
#include "krvn/krvn_fixture.h"

#include "ccitt/ccitt_fixture.h"

namespace {

constexpr int32_t GROUP3 = 23;
constexpr int32_t GROUP4 = 24;

int put_page(CFILE* c, const page& p, uint32_t lines) {
    int put = 0;
    for (uint32_t y = 0; y < lines; ++y)
        put += rzl_putline(c, p.line(y)) == 0 ? 1 : 0;
    return put;
}

std::string write_page(const std::string& path, int32_t format, const page& p, uint32_t lines) {
    CFILE* c = new_file(path, format, static_cast<int32_t>(p.width), static_cast<int32_t>(p.lines));
    EXPECT_EQ(put_page(c, p, lines), static_cast<int>(lines));
    EXPECT_EQ(rzl_finish(c), 0u);
    return path;
}

page read_page(CFILE* c) {
    page p(static_cast<uint32_t>(c->xsize), static_cast<uint32_t>(c->ysize));
    for (uint32_t y = 0; y < p.lines; ++y)
        EXPECT_EQ(rzl_getline(c, p.line(y)), 0) << "line " << y;
    return p;
}

TEST_F(KrvnTest, CcittDataIsThatOfItsCodingBitZeroFirst) {
    page p = make_page(1001, 300, 3);
    for (auto [format, coding] : {std::pair(GROUP3, cit_coding::g3_1d), {GROUP4, cit_coding::g4}}) {
        bytes_of_file file = read_bytes(write_page(path("page.rle"), format, p, 300));
        EXPECT_EQ(bytes_of_file(file.begin() + 1024, file.end()), encode(coding, p));
    }
    CFILE* c = new_file(path("page.rle"), GROUP4, 1001, 300);
    EXPECT_EQ(put_page(c, p, 5), 5);
    c->line = 3;
    EXPECT_EQ(refusal(c, rzl_putline(c, p.line(3))), RZL_LINES_OUT_OF_ORDER);
    rzl_close(c);
}

TEST_F(KrvnTest, CcittLinesThatAreMissingAreWhite) {
    page p = make_page(400, 120, 5);
    CFILE* c = opened(rzl_open_r(write_page(path("short.rle"), GROUP4, p, 90).c_str()));
    page back = read_page(c);
    size_t good = 90 * p.pitch();
    EXPECT_TRUE(std::equal(back.bits.begin(), back.bits.begin() + static_cast<long>(good), p.bits.begin()));
    EXPECT_EQ(bytes_of_file(back.bits.begin() + static_cast<long>(good), back.bits.end()),
              bytes_of_file(30 * p.pitch()));
    EXPECT_NE(rzl_is_damaged(c), 0);
    rzl_close(c);
}

TEST_F(KrvnTest, CcittStripsAreRunsOfTheirLines) {
    page p = make_page(300, 100, 7);
    CFILE* c = opened(rzl_open_r(write_page(path("page.rle"), GROUP4, p, 100).c_str()));
    ASSERT_EQ(set_field_to(c, 32, 40), 0);
    run_list expected, line(cit_max_runs(300));
    for (uint32_t y = 80; y < 100; ++y) {
        size_t count = cit_bits_to_runs(300, p.line(y), line.data());
        expected.insert(expected.end(), line.begin(), line.begin() + static_cast<long>(count));
        if (count % 2 == 0) expected.push_back(0);
    }
    ASSERT_EQ(rzl_seek(c, 2), 0);
    run_list runs(4);
    auto size = static_cast<int32_t>(runs.size() * 2);
    int tries = 0;
    while (rzl_get_rle_strip(c, runs.data(), &size) != 0 && ++tries < 20) {
        ASSERT_EQ(c->status, RZL_RLE_BUFFER_SMALL);
        ASSERT_GT(size, static_cast<int32_t>(runs.size() * 2));
        runs.resize(static_cast<size_t>(size) / 2);
        size = static_cast<int32_t>(runs.size() * 2);
    }
    EXPECT_GT(tries, 0);
    runs.resize(static_cast<size_t>(size) / 2);
    EXPECT_EQ(runs, expected);
    EXPECT_NE(rzl_seek(c, 3), 0);
    rzl_close(c);
}

TEST_F(KrvnTest, CcittOverviewsAndImagesAreKeptApart) {
    page first = make_page(200, 60, 1);
    page small = make_page(100, 30, 2);
    for (bool overview : {true, false}) {
        CFILE* c = new_file(path("two.rle"), GROUP4, 200, 60, true);
        set_fields(c, {{overview ? 200 : 402, overview ? 1 : 2}});
        // Lines that come without the last one are in the file all the same.
        EXPECT_EQ(put_page(c, first, overview ? 60 : 50), overview ? 60 : 50);
        ASSERT_EQ(overview ? rzl_set_active_overview(c, 0) : rzl_set_active_image(c, 1), 0);
        set_fields(c, {{1, 100}, {2, 30}});
        EXPECT_EQ(put_page(c, small, 30), 30);
        ASSERT_EQ(rzl_finish(c), 0u);
        c = opened(rzl_open_r(path("two.rle").c_str()));
        for (int i = 0; i < 2; ++i) {
            auto good = static_cast<long>((overview ? 60 : 50) * first.pitch());
            page back = read_page(c);
            EXPECT_TRUE(std::equal(back.bits.begin(), back.bits.begin() + good, first.bits.begin())) << overview;
            ASSERT_EQ(overview ? rzl_set_active_overview(c, 0) : rzl_set_active_image(c, 1), 0);
            EXPECT_EQ(read_page(c).bits, small.bits) << overview;
            ASSERT_EQ(overview ? rzl_set_active_overview(c, -1) : rzl_set_active_image(c, 0), 0);
        }
        rzl_close(c);
    }
}

} // namespace
