// Native files of CCITT data: lines there and back, the bytes in the file, damage, strips of runs, overviews, several
// images and failed steps.
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

TEST_F(KrvnTest, CcittLinesComeBack) {
    page p = make_page(1001, 300, 3);
    for (int32_t format : {GROUP3, GROUP4}) {
        CFILE* c = rzl_open_r(write_page(path("page.rle"), format, p, 300).c_str());
        ASSERT_NE(c, nullptr);
        EXPECT_EQ(field_of(c, 3), format);
        EXPECT_EQ(read_page(c).bits, p.bits);
        bytes_of_file line(p.pitch());
        for (int32_t y : {200, 7, 8, 299, 0}) {
            ASSERT_EQ(rzl_seek(c, y), 0);
            ASSERT_EQ(rzl_getline(c, line.data()), 0);
            EXPECT_TRUE(std::equal(line.begin(), line.end(), p.line(static_cast<uint32_t>(y)))) << y;
        }
        EXPECT_EQ(rzl_is_damaged(c), 0);
        rzl_close(c);
        cit_coding coding = format == GROUP3 ? cit_coding::g3_1d : cit_coding::g4;
        bytes_of_file file = read_bytes(path("page.rle"));
        EXPECT_EQ(bytes_of_file(file.begin() + 1024, file.end()), encode(coding, p)) << "bit 0 comes first";
    }
}

TEST_F(KrvnTest, CcittLinesThatAreMissingAreWhite) {
    page p = make_page(400, 120, 5);
    CFILE* c = rzl_open_r(write_page(path("short.rle"), GROUP4, p, 90).c_str());
    ASSERT_NE(c, nullptr);
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
    CFILE* c = rzl_open_r(write_page(path("page.rle"), GROUP4, p, 100).c_str());
    ASSERT_NE(c, nullptr);
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
        c = rzl_open_r(path("two.rle").c_str());
        ASSERT_NE(c, nullptr);
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

TEST_F(KrvnTest, CcittLinesTellEveryFailedStep) {
    page p = make_page(300, 100, 7);
    write_page(path("page.rle"), GROUP4, p, 100);
    bytes_of_file line(p.pitch());
    for (long n = 0;; ++n) {
        CFILE* c = rzl_open_r(path("page.rle").c_str());
        ASSERT_NE(c, nullptr);
        mem_fail_after(n, mem_fail::once);
        ASSERT_EQ(rzl_seek(c, 70), 0);
        int result = rzl_getline(c, line.data());
        bool failed = mem_fail_stop();
        EXPECT_EQ(result, failed ? 1 : 0) << n;
        EXPECT_EQ(c->status, failed ? RZL_NO_MEMORY : 0) << n;
        ASSERT_EQ(rzl_seek(c, 70), 0);
        EXPECT_EQ(rzl_getline(c, line.data()), 0) << n;
        EXPECT_TRUE(std::equal(line.begin(), line.end(), p.line(70))) << n;
        rzl_close(c);
        if (!failed) break;
    }
    bytes_of_file whole = read_bytes(path("page.rle"));
    for (long n = 0;; ++n) {
        CFILE* c = new_file(path("again.rle"), GROUP4, 300, 100);
        mem_fail_after(n, mem_fail::onward);
        int put = put_page(c, p, 100);
        bool failed = mem_fail_stop();
        EXPECT_EQ(put < 100, failed) << n;
        rzl_close(c);
        if (failed) continue;
        EXPECT_EQ(read_bytes(path("again.rle")), whole);
        break;
    }
    CFILE* c = new_file(path("again.rle"), GROUP4, 300, 100);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(put_page(c, p, 99), 99);
    auto write = c->io.file_write;
    c->io.file_write = [](const void*, size_t, size_t, void*) { return size_t{0}; };
    EXPECT_NE(rzl_putline(c, p.line(99)), 0);
    EXPECT_EQ(c->status, RZL_WRITE_FAILED);
    c->io.file_write = write;
    rzl_close(c);
}

} // namespace
