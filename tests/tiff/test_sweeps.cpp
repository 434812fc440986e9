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

// Pictures of the usual kinds are swept with those of the other standards; here are a transformation and an overview.
TEST_F(Sweeps, FilesWithOverviews) {
    const picture p = make_picture(40, 12, 3, 8);
    for (const field_values& fields : {field_values{{505, 5}}, field_values{{501, 5}, {505, 5}, {503, 2}},
                                       field_values{{505, 5}, {100, 16}}, field_values{{501, 32773}, {100, 16}}}) {
        std::vector<uint8_t> line(200);
        void* planes[3] = {line.data(), line.data(), line.data()};
        const auto lines = [&](CFILE* c, int count, auto move) {
            int failed = 0;
            for (int y = 0; y < count && failed == 0; ++y)
                failed = move(c, 3, planes);
            return failed;
        };
        const auto write = [&] {
            CFILE* c = rzl_open_w(file().c_str());
            if (c == nullptr) return library_status();
            const double matrix[16] = {2};
            const auto set = [&](const field_values& values) {
                return std::any_of(values.begin(), values.end(),
                                   [&](auto v) { return rzl_set_hdr_data(c, v.first, &v.second) != 0; })
                           ? 1
                           : 0;
            };
            return first_status(c, {[&] {
                                        return set({{500, 1}, {3, 28}, {1, 40}, {2, 12}, {200, 1}});
                                    },
                                    [&] { return set(fields); }, [&] { return rzl_set_hdr_data(c, 4, matrix); },
                                    [&] { return lines(c, 12, rzl_putline_channels); },
                                    [&] { return rzl_set_active_overview(c, 0); },
                                    [&] {
                                        return set({{1, 20}, {2, 6}});
                                    },
                                    [&] { return lines(c, 6, rzl_putline_channels); }});
        };
        sweep(write, [&](bool well) {
            CFILE* c = rzl_open_r(file().c_str());
            EXPECT_TRUE(c != nullptr || !well);
            EXPECT_TRUE(!well || field_of(c, 200) == 1);
            rzl_close(c);
        });
        ASSERT_EQ(write(), 0u);
        const auto read = [&] {
            CFILE* c = rzl_open_r(file().c_str());
            if (c == nullptr) return library_status();
            return first_status(c, {[&] { return lines(c, 12, rzl_getline_channels); },
                                    [&] { return rzl_set_active_overview(c, 0); },
                                    [&] { return lines(c, 6, rzl_getline_channels); }});
        };
        sweep(read, [](bool) {});
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
