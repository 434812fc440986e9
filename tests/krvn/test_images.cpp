// Native files: chains of images, positions in them, copies from file to file, and what every failing allocation and
// transfer gives.
#include "krvn_fixture.h"

#include <chrono>
#include <functional>

#include "raster/KRVN/krv.h"
#include "raster/sweep.h"

class Images : public KrvnTest {
protected:
    // A file of `count` images of 4 pixels and 2 lines each, image i of value 10 x i and line.
    void write_chain(const std::string& p, int count, int32_t format = 2) {
        CFILE* c = new_file(p, format, 4, 2);
        set_fields(c, {{402, count}});
        for (int i = 0; i < count; ++i) {
            if (i > 0) {
                EXPECT_EQ(rzl_set_active_image(c, i), 0) << i;
            }
            set_fields(c, {{22, i}});
            EXPECT_EQ(put_lines(c, 2, 10 * i), 2);
        }
        EXPECT_EQ(rzl_finish(c), 0u);
    }
};

TEST_F(Images, ChainsOfImages) {
    std::string p = path("m.rgb");
    write_chain(p, 3);
    bytes_of_file b = read_bytes(p);
    ASSERT_EQ(b.size(), 3u * 1032);
    EXPECT_EQ(u32_at(b, 528), 1032u);
    EXPECT_EQ(u32_at(b, 1032 + 528), 2064u);
    EXPECT_EQ(u32_at(b, 2064 + 528), 0u);
    EXPECT_EQ(u16_at(b, 1032), 0x0908u);

    CFILE* c = opened(rzl_open_r(p.c_str()));
    EXPECT_EQ(next_value(c), 0);
    EXPECT_EQ(field_of(c, 402), 3);
    EXPECT_EQ(next_value(c), 1) << "counting keeps the position";
    for (int line : {2, 1002, -1})
        EXPECT_EQ(refusal(c, rzl_seek(c, line)), RZL_PAST_END);
    for (int i : {2, 0, 1, 2, 1}) {
        EXPECT_EQ(rzl_set_active_image(c, i), 0);
        expect_fields(c, {{22, i}, {402, i == 0 ? 3 : -1}});
        EXPECT_EQ(next_value(c), 10 * i);
        EXPECT_EQ(next_value(c), 10 * i + 1);
    }
    for (int i : {3, 9})
        EXPECT_EQ(refusal(c, rzl_set_active_image(c, i)), RZL_NO_SUCH_IMAGE);
    rzl_close(c);

    c = opened(rzl_open_rw(p.c_str()));
    EXPECT_EQ(put_lines(c, 1, 9), 0) << "only the last image takes lines";
    EXPECT_EQ(status_of(c), RZL_NO_SUCH_IMAGE);
    EXPECT_EQ(rzl_set_active_image(c, 4), 1);
    EXPECT_EQ(rzl_set_active_image(c, 3), 0);
    EXPECT_EQ(read_bytes(p), b) << "nothing is linked before the image has its header";
    EXPECT_EQ(field_of(c, 22), 0);
    EXPECT_EQ(put_lines(c, 2, 30), 2);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(u32_at(read_bytes(p), 2064 + 528), 3u * 1032);
    c = rzl_open_r(p.c_str());
    EXPECT_EQ(field_of(c, 402), 4);
    EXPECT_EQ(rzl_set_active_image(c, 3), 0);
    EXPECT_EQ(next_value(c), 30);
    rzl_close(c);
}

TEST_F(Images, ASingleImageGetsASecond) {
    std::string p = path("m.rgb");
    EXPECT_EQ(write_picture(p.c_str(), 29, 40, 3, 1), 0u);
    CFILE* c = opened(rzl_open_rw(p.c_str()));
    EXPECT_EQ(rzl_set_active_image(c, 1), 0);
    EXPECT_EQ(rzl_set_active_overview(c, 0), 1);
    set_fields(c, {{3, 2}, {1, 5}, {2, 1}});
    EXPECT_EQ(put_lines(c, 1, 77), 1);
    EXPECT_EQ(refusal(c, rzl_set_active_image(c, 0)), RZL_NEEDS_READ);
    EXPECT_EQ(rzl_finish(c), 0u);
    uint32_t status = 0;
    EXPECT_TRUE(has_picture(p.c_str(), 40, 3, 1, &status));
    c = rzl_open_r(p.c_str());
    EXPECT_EQ(rzl_set_active_image(c, 1), 0);
    EXPECT_EQ(next_value(c), 77);
    rzl_close(c);
}

TEST_F(Images, BrokenChainsEnd) {
    std::string p = path("m.rgb");
    write_chain(p, 2);
    const bytes_of_file good = read_bytes(p);
    const std::pair<size_t, uint32_t> links[] = {{528, 4}, {528, 5000}, {1032 + 528, 1032}, {1032 + 528, 1}};
    for (auto [at, next] : links) {
        bytes_of_file b = good;
        store_u32le(&b[at], next);
        write_bytes(p, b);
        CFILE* c = opened(rzl_open_r(p.c_str()));
        int32_t count = -1;
        EXPECT_EQ(rzl_get_hdr_data(c, 402, &count), 0);
        EXPECT_EQ(count, 0) << at << " " << next;
        EXPECT_EQ(status_of(c), RZL_READ_FAILED);
        EXPECT_EQ(refusal(c, rzl_set_active_image(c, 2)), RZL_READ_FAILED);
        EXPECT_EQ(next_value(c), 0) << "the active image stays";
        rzl_close(c);
    }
    bytes_of_file b = good;
    store_u16le(&b[1032 + 4], 65); // the second image can't be read
    write_bytes(p, b);
    CFILE* c = rzl_open_r(p.c_str());
    EXPECT_EQ(refusal(c, rzl_set_active_image(c, 1)), RZL_READ_FAILED) << "no packet of tiles";
    EXPECT_EQ(field_of(c, 402), 2);
    EXPECT_EQ(next_value(c), 0);
    rzl_close(c);
}

TEST_F(Images, HostileHeightsCostNothing) {
    std::string p = path("h.rgb");
    auto start = std::chrono::steady_clock::now();
    for (int format : {2, 28, 9, 27, 10}) {
        for (bool scannable : {false, true}) {
            bytes_of_file b = make_header(format, 4, 0x7FFFFFFF);
            b[195] = scannable ? 1 : 0;
            for (unsigned i = 0; i < 4; ++i)
                append_words(&b, {0x5900, 2, 1 + i * 9000, 0});
            write_bytes(p, b);
            CFILE* c = opened(rzl_open_r(p.c_str()));
            EXPECT_EQ(rzl_randomize(c), 0);
            EXPECT_LT(c->line_offset_count, 100);
            rzl_seek(c, 0x7FFFFFFE);
            rzl_seek(c, 0x70000000);
            next_value(c);
            rzl_close(c);
        }
    }
    std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_LT(taken.count(), 5.0);
}

TEST_F(Images, CopiesFromFileToFile) {
    std::string from_path = path("from.rgb");
    CFILE* c = new_file(from_path, 29, 30, 4);
    set_fields(c, {{10, 9}, {11, 5}, {200, 1}, {5, 2}, {6, 1}});
    rzl_vlt_entry entry = {0, 1, 2, 3};
    rzl_put_vlt(c, &entry);
    EXPECT_EQ(put_lines(c, 4, 20), 4);
    EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
    set_fields(c, {{1, 15}, {2, 2}});
    EXPECT_EQ(put_lines(c, 2, 60), 2);
    EXPECT_EQ(rzl_set_active_overview(c, -1), 0);
    EXPECT_EQ(rzl_finish(c), 0u);

    CFILE* from = rzl_open_r(from_path.c_str());
    CFILE* to = rzl_open_w(path("to.rgb").c_str());
    EXPECT_EQ(refusal(to, rzl_init_overviews_from(from, to)), RZL_NO_OVERVIEWS);
    set_fields(to, {{200, 1}});
    EXPECT_EQ(rzl_init_header_from(from, to), 0);
    EXPECT_EQ(rzl_init_overviews_from(from, to), 0);
    EXPECT_EQ(field_of(to, 1) * 100 + field_of(to, 2), 3004);
    EXPECT_EQ(field_of(to, 11), 5);
    EXPECT_EQ(field_of(to, 5), 0) << "the colour table stays behind";
    EXPECT_EQ(rzl_copy_data(from, to), 0);
    EXPECT_EQ(rzl_init_header_from(from, to), 1) << "the header is written now";
    EXPECT_EQ(rzl_copy_data(to, from), 1);
    set_flag(from, FLAG_FIELD_36, true);
    EXPECT_EQ(refusal(from, rzl_copy_data(from, to)), RZL_UNSUP_COPY);
    EXPECT_EQ(status_of(to), RZL_UNSUP_COPY);
    rzl_close(from);
    EXPECT_EQ(rzl_finish(to), 0u);

    c = opened(rzl_open_r(path("to.rgb").c_str()));
    EXPECT_EQ(next_value(c), 20);
    EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
    EXPECT_EQ(next_value(c), 60);
    rzl_stat stat;
    EXPECT_EQ(rzl_get_stat(c, &stat), 0);
    EXPECT_EQ(stat.overview_count * 1000 + stat.xsize, 1015);
    rzl_close(c);
    EXPECT_EQ(rzl_get_stat(to = rzl_open_w(path("to.rgb").c_str()), &stat), 0);
    stat.xsize = 8;
    stat.ysize = 1;
    stat.format = 29;
    stat.aspect_ratio = 2.0;
    EXPECT_EQ(rzl_set_stat(to, &stat), 0);
    EXPECT_EQ(put_lines(to, 1, 3), 1);
    stat.format = 2;
    EXPECT_EQ(rzl_set_stat(to, &stat), 1) << "the format stands in the file";
    EXPECT_EQ(rzl_finish(to), 0u);
    EXPECT_EQ(load_f64le(&read_bytes(path("to.rgb"))[520]), 2.0);
}

// ---- sweeps ---------------------------------------------------------------------------------------------------------

namespace {

// Writes a file with colour table, packets, an overview and nothing left out. The first failure's status.
uint32_t write_full(const std::string& p) {
    static const uint16_t PACKET[6] = {9, 9, 2, 0, 0x1212, 0x3434};
    rzl_vlt_entry table[2] = {{0, 1, 2, 3}, {1, 0x100, 0x200, 0x300}};
    CFILE* c = rzl_open_w(p.c_str());
    if (c == nullptr) return library_status();
    uint32_t first = 0;
    auto step = [&](int result) {
        if (result != 0 && first == 0) first = c->status;
    };
    auto set = [&](int32_t field, int32_t value) { step(rzl_set_hdr_data(c, field, &value)); };
    for (auto [field, value] : field_values{{3, 2}, {1, 6}, {2, 2}, {5, 2}, {6, 2}, {200, 1}, {7, 6}})
        set(field, value);
    step(rzl_put_vlt(c, table));
    step(rzl_put_packet(c, PACKET));
    const uint8_t line[6] = {1, 0, 1, 0, 1, 0};
    step(rzl_putline(c, line));
    step(rzl_putline(c, line));
    step(rzl_set_active_overview(c, 0));
    if (first == 0) {
        set(1, 3);
        set(2, 1);
        step(rzl_putline(c, line));
    }
    uint32_t outcome = rzl_finish(c);
    return first != 0 ? first : outcome;
}

// Adds a second image to such a file.
uint32_t append_second(const std::string& p) {
    CFILE* c = rzl_open_rw(p.c_str());
    if (c == nullptr) return library_status();
    uint32_t first = 0;
    auto step = [&](int result) {
        if (result != 0 && first == 0) first = c->status;
    };
    const uint8_t line[6] = {};
    int32_t one = 1;
    step(rzl_set_active_image(c, 1));
    if (first == 0) step(rzl_set_hdr_data(c, 2, &one));
    if (first == 0) step(rzl_putline(c, line));
    uint32_t outcome = rzl_finish(c);
    return first != 0 ? first : outcome;
}

// Reads everything. The first failure's status; *missing: something was dropped, and the handle says so.
uint32_t read_full(const std::string& p, bool* missing) {
    *missing = false;
    CFILE* c = rzl_open_r(p.c_str());
    if (c == nullptr) return library_status();
    uint32_t first = 0;
    auto step = [&](int result) {
        if (result != 0 && first == 0) first = c->status;
    };
    *missing = rzl_is_damaged(c) != 0;
    uint8_t line[8];
    uint16_t packet[6] = {};
    rzl_vlt_entry table[2] = {};
    if (!*missing) {
        step(rzl_get_packet(c, packet));
        step(rzl_get_vlt(c, table));
        step(rzl_set_active_overview(c, 0));
        if (first == 0) step(rzl_getline(c, line));
        step(rzl_set_active_overview(c, -1));
    }
    step(rzl_randomize(c));
    step(rzl_getline(c, line));
    if (first == 0 && !*missing) {
        EXPECT_TRUE(table[1].blue == 0x300 && packet[5] == 0x3434 && line[2] == 1);
    }
    rzl_close(c);
    return first;
}

} // namespace

TEST_F(Images, EveryFailureHasItsStatus) {
    std::string p = path("f.rgb");
    ASSERT_EQ(write_full(p), 0u);
    const bytes_of_file whole = read_bytes(p);
    ASSERT_EQ(append_second(p), 0u);
    const bytes_of_file both = read_bytes(p);
    ASSERT_GT(both.size(), whole.size());
    sweep([&] { return write_full(p); }, [&](bool good) { EXPECT_TRUE(!good || read_bytes(p) == whole); });
    write_bytes(p, whole);
    sweep([&] { return append_second(p); },
          [&](bool good) {
              bytes_of_file b = read_bytes(p);
              EXPECT_TRUE(!good || b == both);
              bool linked = u32_at(b, 528) != 0;
              EXPECT_TRUE(!linked || b.size() >= whole.size() + 1024) << "a link leads to a header";
              store_u32le(&b[528], 0);
              EXPECT_TRUE(std::equal(whole.begin(), whole.end(), b.begin())) << "the first image is whole";
              write_bytes(p, whole);
          });
    bool missing = false;
    sweep([&] { return read_full(p, &missing); });
    EXPECT_FALSE(missing);
}
