// The reader and the writer: lines in any order, memory, what a failed allocation leaves, and raw group 3 data both
// ways with the programs of netpbm.
#include "ccitt/ccitt_fixture.h"
#include "common/run.h"

namespace {

constexpr cit_coding ALL[] = {cit_coding::aligned, cit_coding::g3_1d, cit_coding::g3_2d, cit_coding::g4};

bool line_is(cit_reader* r, const page& p, uint32_t y) {
    bytes_of_file line(p.pitch(), 0xEE);
    EXPECT_EQ(cit_reader_bits(r, y, line.data()), CIT_OK) << "line " << y;
    return line == bytes_of_file(p.line(y), p.line(y) + p.pitch());
}

TEST_F(CcittTest, LinesComeInAnyOrder) {
    page p = make_page(500, 700, 9);
    for (cit_coding coding : ALL) {
        bytes_of_file coded = encode(coding, p);
        cit_reader* r = cit_reader_new(coding, p.width, p.lines, coded.data(), coded.size(), 100);
        random_source random(1);
        for (int i = 0; i < 300; ++i) {
            uint32_t y = random() % p.lines;
            ASSERT_TRUE(line_is(r, p, y)) << y;
        }
        for (uint32_t y = p.lines; y-- > 0;)
            ASSERT_TRUE(line_is(r, p, y)) << y;
        run_list runs(cit_max_runs(p.width)), expected(cit_max_runs(p.width));
        for (uint32_t y : {699u, 3u, 33u}) {
            size_t count = 0;
            ASSERT_EQ(cit_reader_runs(r, y, runs.data(), runs.size(), &count), CIT_OK);
            size_t bare = cit_bits_to_runs(p.width, p.line(y), expected.data());
            EXPECT_EQ(count, bare | 1);
            EXPECT_TRUE(std::equal(expected.begin(), expected.begin() + static_cast<long>(bare), runs.begin()));
            size_t needed = 0;
            EXPECT_EQ(cit_reader_runs(r, y, runs.data(), count - 1, &needed), CIT_BUFFER_FULL);
            EXPECT_EQ(needed, count);
        }
        EXPECT_FALSE(cit_reader_damaged(r));
        cit_reader_free(r);
    }
}

TEST_F(CcittTest, LinesBehindTheEndAreWhiteAndTold) {
    page p = make_page(90, 200, 4);
    bytes_of_file coded = encode(cit_coding::g4, p);
    coded.resize(coded.size() / 2);
    cit_reader* r = cit_reader_new(cit_coding::g4, p.width, p.lines, coded.data(), coded.size(), 0);
    bytes_of_file line(p.pitch(), 0xEE);
    EXPECT_EQ(cit_reader_bits(r, 199, line.data()), CIT_BAD_DATA);
    EXPECT_EQ(line, bytes_of_file(p.pitch()));
    EXPECT_TRUE(cit_reader_damaged(r));
    ASSERT_TRUE(line_is(r, p, 20));
    EXPECT_EQ(cit_reader_bits(r, 5000, line.data()), CIT_BAD_DATA);
    cit_reader_free(r);
}

// A page that fills a strip is read with memory for a few lines, and its height alone asks for none.
TEST_F(CcittTest, ReadingHoldsALineAndNotThePage) {
    constexpr uint32_t WIDTH = 30000;
    constexpr uint32_t LINES = 3000;
    page p = make_page(WIDTH, 40, 2);
    cit_writer* w = cit_writer_new(cit_coding::g4, WIDTH, 0);
    for (uint32_t y = 0; y < LINES; ++y)
        ASSERT_EQ(cit_writer_bits(w, p.line(y % 40)), CIT_OK);
    uint8_t* data = nullptr;
    size_t bytes = 0;
    ASSERT_EQ(cit_writer_finish(w, &data, &bytes), CIT_OK);
    cit_reader* r = cit_reader_new(cit_coding::g4, WIDTH, 0xFFFFFFFF, data, bytes, 0);
    long before = mem_live();
    bytes_of_file line(p.pitch());
    for (uint32_t y = 0; y < LINES; y += 7) {
        ASSERT_EQ(cit_reader_bits(r, y, line.data()), CIT_OK);
        ASSERT_TRUE(std::equal(line.begin(), line.end(), p.line(y % 40))) << y;
    }
    // A note each block, whatever the number of lines asked for.
    EXPECT_LT(mem_live() - before, 40);
    cit_reader_free(r);
    cit_writer_free(w);
}

TEST_F(CcittTest, EveryFailedAllocationIsToldAndCanBeTriedAgain) {
    page p = make_page(700, 300, 8);
    for (cit_coding coding : {cit_coding::g3_2d, cit_coding::g4}) {
        bytes_of_file coded = encode(coding, p);
        for (long n = 0;; ++n) {
            mem_fail_after(n, mem_fail::once);
            cit_reader* r = cit_reader_new(coding, p.width, p.lines, coded.data(), coded.size(), 64);
            bytes_of_file line(p.pitch());
            int told = r == nullptr ? 1 : 0;
            for (uint32_t y : {70u, 290u, 3u, 200u, 299u}) {
                if (r == nullptr) break;
                uint32_t result = cit_reader_bits(r, y, line.data());
                if (result == CIT_NO_MEMORY) {
                    ++told;
                    result = cit_reader_bits(r, y, line.data());
                }
                EXPECT_EQ(result, CIT_OK) << n << " line " << y;
                EXPECT_TRUE(std::equal(line.begin(), line.end(), p.line(y))) << n << " line " << y;
            }
            cit_reader_free(r);
            bool failed = mem_fail_stop();
            EXPECT_EQ(told, failed ? 1 : 0) << n;
            if (!failed) break;
        }
        for (long n = 0;; ++n) {
            mem_fail_after(n, mem_fail::onward);
            cit_writer* w = cit_writer_new(coding, p.width, 4);
            uint32_t result = w == nullptr ? CIT_NO_MEMORY : CIT_OK;
            uint8_t* data = nullptr;
            size_t bytes = 0;
            for (uint32_t y = 0; y < p.lines && result == CIT_OK; ++y)
                result = cit_writer_bits(w, p.line(y));
            if (result == CIT_OK) result = cit_writer_finish(w, &data, &bytes);
            bool failed = mem_fail_stop();
            EXPECT_EQ(result, failed ? CIT_NO_MEMORY : CIT_OK) << n;
            bool same = failed || bytes_of_file(data, data + bytes) == coded;
            EXPECT_TRUE(same);
            cit_writer_free(w);
            if (!failed) break;
        }
    }
    bytes_of_file coded = encode(cit_coding::g4, p);
    for (long n = 0;; ++n) {
        mem_fail_after(n, mem_fail::onward);
        whole_image image = decode_whole(cit_decode_g4, p.width, p.lines, coded);
        bool failed = mem_fail_stop();
        if (!failed) break;
        EXPECT_TRUE(image.result == CIT_NO_MEMORY || image.result == CIT_BUFFER_FULL) << n;
    }
}

// Lines as the bytes of the formats: most significant bit first, padded to bytes.
bytes_of_file packed(const page& p) {
    bytes_of_file bytes;
    for (uint32_t y = 0; y < p.lines; ++y)
        for (uint32_t x = 0; x < p.width; x += 8)
            bytes.push_back(p.line(y)[page::byte_of(x)]);
    return bytes;
}

TEST_F(CcittTest, RawGroupThreeDataIsTheSameToOthers) {
    NEEDS_PROGRAM("pbmtog3");
    page p = make_page(1728, 300, 6);
    std::string header = "P4\n1728 300\n";
    bytes_of_file pbm(header.begin(), header.end());
    bytes_of_file raster = packed(p);
    pbm.insert(pbm.end(), raster.begin(), raster.end());
    write_bytes(path("page.pbm"), pbm);
    ASSERT_TRUE(run_command(directory, "pbmtog3 page.pbm >theirs.g3").ok());
    bytes_of_file theirs = read_bytes(path("theirs.g3"));
    cit_reverse_bytes(theirs.data(), theirs.size());
    whole_image image = decode_whole(cit_decode_g3, 1728, 1000, theirs);
    EXPECT_EQ(image.result, CIT_OK);
    EXPECT_EQ(image.lines.size(), 300u);
    EXPECT_EQ(decode(cit_coding::g3_1d, 1728, 300, theirs).bits, p.bits);

    bytes_of_file ours = encode(cit_coding::g3_1d, p);
    cit_reverse_bytes(ours.data(), ours.size());
    write_bytes(path("ours.g3"), ours);
    ASSERT_TRUE(run_command(directory, "g3topbm ours.g3 >back.pbm").ok());
    EXPECT_EQ(read_bytes(path("back.pbm")), pbm);
}

} // namespace
