// Every allocation and every transfer failing in turn: reading, writing and updating end with a named status, nothing
// leaks (the fixture looks), and a file under update keeps what it had.
#include "tiff_fixture.h"

#include <functional>
#include <set>

class Sweeps : public TiffTest {
protected:
    Sweeps() { rzl_set_extended(1); }
    ~Sweeps() override { rzl_set_extended(0); }
    // `once` gives the first status that it met, 0 for none; `after` looks at what is left, knowing whether all went
    // well.
    static void sweep(const std::function<uint32_t()>& once, const std::function<void(bool)>& after) {
        const std::set<uint32_t> named = {
            0, RZL_NO_MEMORY, RZL_READ_FAILED, RZL_WRITE_FAILED, RZL_CANNOT_OPEN, RZL_BAD_IMAGE_SIZE};
        uint32_t status = 0;
        sweep_failures(
            ALL_FAILURES, [&] { status = once(); },
            [&](bool hit) {
                EXPECT_EQ(named.count(status), 1u) << std::hex << status;
                EXPECT_TRUE(hit || status == 0);
                after(status == 0);
            });
    }
    static uint32_t first_status(CFILE* c, std::initializer_list<std::function<int()>> steps) {
        uint32_t status = 0;
        for (const auto& step : steps)
            if (status == 0 && step() != 0) status = status_of(c);
        uint32_t outcome = rzl_finish(c);
        return status != 0 ? status : outcome;
    }
    std::string file() const { return path("a.tif"); }
};

TEST_F(Sweeps, Reading) {
    const std::pair<picture, field_values> kinds[] = {
        {make_picture(40, 12, 3, 8), {{501, 5}, {503, 2}, {505, 5}}},
        {make_picture(40, 12, 1, 1), {{501, 4}, {505, 5}}},
        {make_picture(40, 12, 1, 4), {{501, 32773}, {100, 16}, {5, 2}, {6, 16}}},
        {make_picture(40, 12, 3, 8), {{505, 5}, {200, 1}}}};
    for (const auto& [p, fields] : kinds) {
        CFILE* c = new_tiff(file(), p, fields);
        EXPECT_EQ(put_lines(c, p, 0, 12), 12);
        if (c->active_overview == OVERVIEW_BASE && field_of(c, 200) == 1) {
            EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
            EXPECT_EQ(set_field_to(c, 1, 20), 0);
            EXPECT_EQ(set_field_to(c, 2, 6), 0);
            EXPECT_EQ(put_lines(c, make_picture(20, 6, 3, 8), 0, 6), 6);
        }
        EXPECT_EQ(rzl_finish(c), 0u);
        auto once = [&] {
            CFILE* r = rzl_open_r(file().c_str());
            if (r == nullptr) return library_status();
            std::vector<bytes_of_file> planes(3, bytes_of_file(200));
            return first_status(r, {[&] {
                                        for (int y = 0; y < r->ysize; ++y)
                                            if (rzl_getline3(r, &planes[0][0], &planes[1][0], &planes[2][0]) != 0)
                                                return 1;
                                        return 0;
                                    },
                                    [&] {
                                        return r->ysize == 12 && tif_overview_count(tif_spec_of(r)) != 0
                                                   ? rzl_set_active_overview(r, 0)
                                                   : 0;
                                    },
                                    [&] { return r->ysize == 6 ? rzl_getline(r, &planes[0][0]) : 0; }});
        };
        sweep(once, [](bool) {});
    }
}

TEST_F(Sweeps, Writing) {
    const std::pair<picture, field_values> kinds[] = {{make_picture(40, 12, 3, 8), {{501, 5}, {505, 5}}},
                                                      {make_picture(40, 12, 3, 8), {{501, 8}, {505, 5}}},
                                                      {make_picture(40, 12, 1, 1), {{501, 4}, {505, 5}}},
                                                      {make_picture(40, 12, 3, 8), {{501, 32773}, {503, 2}, {505, 5}}},
                                                      {make_picture(40, 12, 3, 8), {{505, 5}, {100, 16}}},
                                                      {make_picture(40, 36, 1, 8), {{505, 5}}},
                                                      {make_picture(40, 36, 1, 8), {{505, 5}, {100, 16}}}};
    for (const auto& kind : kinds) {
        const picture& q = kind.first;
        auto once = [&] {
            CFILE* c = rzl_open_w(file().c_str());
            if (c == nullptr) return library_status();
            double matrix[16] = {2};
            std::vector<rzl_vlt_entry> vlt(4);
            std::vector<uint8_t> line(200);
            const void* planes[3] = {line.data(), line.data(), line.data()};
            auto set = [&](int32_t field, int32_t value) { return [=] { return rzl_set_hdr_data(c, field, &value); }; };
            return first_status(c, {set(500, 1), set(3, plain_format(q)), set(1, 40), set(2, q.height), set(200, 1),
                                    [&] {
                                        for (auto [field, value] : kind.second)
                                            if (rzl_set_hdr_data(c, field, &value) != 0) return 1;
                                        return 0;
                                    },
                                    [&] { return rzl_set_hdr_data(c, 4, matrix); },
                                    [&] {
                                        for (int y = 0; y < q.height; ++y)
                                            if (rzl_putline_channels(c, q.samples, planes) != 0) return 1;
                                        return 0;
                                    },
                                    [&] { return rzl_set_active_overview(c, 0); }, set(1, 20), set(2, 6),
                                    [&] {
                                        for (int y = 0; y < 6; ++y)
                                            if (rzl_putline_channels(c, q.samples, planes) != 0) return 1;
                                        return 0;
                                    }});
        };
        sweep(once, [&](bool well) {
            CFILE* c = rzl_open_r(file().c_str());
            EXPECT_TRUE(c != nullptr || !well);
            if (c == nullptr) return;
            EXPECT_TRUE(!well || field_of(c, 200) == 1);
            rzl_close(c);
        });
    }
}

TEST_F(Sweeps, UpdatesKeepWhatWasThere) {
    picture p = make_picture(40, 12, 1, 8), other = make_picture(40, 12, 1, 8);
    for (int x = 0; x < 40; ++x)
        other.at(x, 6) = 9;
    for (int tile : {0, 16}) {
        ASSERT_EQ(write_library(file(), p, {{505, 5}, {100, tile}, {501, tile != 0 ? 5 : 1}}), 0u);
        bytes_of_file original = read_bytes(file());
        auto once = [&] {
            write_bytes(file(), original);
            CFILE* c = rzl_open_rw(file().c_str());
            if (c == nullptr) return library_status();
            std::vector<uint8_t> line(40, 9), block(256, 9);
            const void* planes[1] = {block.data()};
            double matrix[16] = {2};
            return first_status(c, {[&] { return rzl_seek(c, tile != 0 ? 2 : 6); },
                                    [&] { return tile != 0 ? rzl_puttile(c, 1, planes) : rzl_putline(c, line.data()); },
                                    [&] { return rzl_set_hdr_data(c, 4, matrix); }, [&] { return rzl_write_header(c); },
                                    [&] { return rzl_set_active_image(c, 1); },
                                    [&] {
                                        for (int y = 0; y < 12; ++y)
                                            if (rzl_putline(c, line.data()) != 0) return 1;
                                        return 0;
                                    }});
        };
        sweep(once, [&](bool well) {
            picture got = read_library(file());
            ASSERT_EQ(got.values.size(), p.values.size()) << "the file is no picture any more";
            for (int y = 0; y < 12; ++y)
                for (int x = 0; x < 40; ++x) {
                    bool changed = tile != 0 ? x >= 32 : y == 6;
                    EXPECT_TRUE(got.at(x, y) == p.at(x, y) || (changed && got.at(x, y) == 9)) << x << "," << y;
                }
            CFILE* c = opened(rzl_open_r(file().c_str()));
            EXPECT_TRUE(!well || field_of(c, 402) == 2);
            rzl_close(c);
        });
    }
}
