// Resampling while reading: the line kernels on small numbers, whole images against a slow computation of every pixel,
// and the calls around it.
#include <random>

#include "raster/CORE/squetch.h"
#include "raster/lines_fixture.h"

namespace {

bytes_of_file squetched(const bytes_of_file& in, int32_t out_pixels, bool filter) {
    bytes_of_file out(static_cast<size_t>(out_pixels));
    squetch_bytes(in.data(), static_cast<int32_t>(in.size()), out.data(), out_pixels, filter);
    return out;
}

bytes_of_file squetched_bits(const bytes_of_file& in, int32_t out_pixels, bool filter) {
    bytes_of_file line((in.size() + 15) / 16 * 2), out((static_cast<size_t>(out_pixels) + 15) / 16 * 2), pixels;
    rzl_pack_bits(line.data(), in.data(), static_cast<int32_t>(in.size()), 1);
    rzl_squetch_bits(line.data(), static_cast<int32_t>(in.size()), out.data(), out_pixels, filter);
    pixels.resize(static_cast<size_t>(out_pixels));
    rzl_unpack_bits(out.data(), pixels.data(), out_pixels, 0, 1);
    return pixels;
}

// Output lines of an image whose width stays, computed from the rules for one pixel column at a time.
bytes_of_file slow_column(const bytes_of_file& in, int32_t out_lines, bool filter) {
    auto lines = static_cast<int32_t>(in.size());
    bytes_of_file out;
    double r = out_lines < lines ? static_cast<double>(lines) / out_lines : static_cast<double>(out_lines) / lines;
    auto at = [&](int64_t i) { return int64_t{in[static_cast<size_t>(std::min<int64_t>(i, lines - 1))]}; };
    auto weight = static_cast<int64_t>(2048 * r);
    for (int32_t i = 0; i < out_lines; ++i) {
        if (out_lines >= lines) {
            auto source = static_cast<int64_t>(i / r);
            double part = filter ? (i - static_cast<double>(source) * r) / r : 0;
            out.push_back(static_cast<uint8_t>(
                at(source) + static_cast<int64_t>(static_cast<double>(at(source + 1) - at(source)) * part)));
        } else if (!filter) {
            out.push_back(static_cast<uint8_t>(at(static_cast<int64_t>(i * r))));
        } else {
            // The box of line i covers `weight` units of 1/2048 line from i x weight on.
            int64_t sum = 0;
            for (int64_t unit = i * weight; unit < (i + 1) * weight;) {
                int64_t end = std::min((unit / 2048 + 1) * 2048, (i + 1) * weight);
                sum += at(unit / 2048) * (end - unit);
                unit = end;
            }
            out.push_back(static_cast<uint8_t>(sum / weight));
        }
    }
    return out;
}

class Squetch : public LinesTest {
protected:
    CFILE* random_image(int32_t format, int32_t xsize, int32_t ysize, unsigned seed) {
        CFILE* c = memory_image(format, xsize, ysize, MODE_READ);
        std::mt19937 random(seed);
        for (bytes_of_file& plane : memory.planes)
            for (uint8_t& byte : plane)
                byte = static_cast<uint8_t>(random());
        return c;
    }
    // All output lines of one channel, by calls with one buffer.
    bytes_of_file read_all(CFILE* c, int32_t out_xsize, int32_t out_ysize) {
        size_t size = line_bytes(c, out_xsize);
        bytes_of_file all(size * static_cast<size_t>(out_ysize));
        for (int32_t y = 0; y < out_ysize; ++y)
            EXPECT_EQ(rzl_getline(c, &all[static_cast<size_t>(y) * size]), 0) << rzl_status_name(c->status);
        return all;
    }
};

TEST_F(Squetch, LinesOfBytes) {
    EXPECT_EQ(squetched({1, 9}, 5, false), (bytes_of_file{1, 1, 9, 9, 9}));
    EXPECT_EQ(squetched({0, 100}, 4, true), (bytes_of_file{0, 50, 100, 100}));
    EXPECT_EQ(squetched({100, 0}, 4, true), (bytes_of_file{100, 50, 0, 0}));
    EXPECT_EQ(squetched({1, 2, 3, 4, 5}, 2, false), (bytes_of_file{1, 3}));
    EXPECT_EQ(squetched({10, 20, 30, 50}, 2, true), (bytes_of_file{15, 40}));
    // The middle pixel is half in either box.
    EXPECT_EQ(squetched({30, 60, 90}, 2, true), (bytes_of_file{40, 80}));
    // A run of lengths through both ways: nothing outside, and a plain line stays plain.
    for (int32_t from = 1; from < 40; ++from)
        for (int32_t to : {1, 2, 3, 7, 38, 39, 40, 41, 100, 3001})
            for (bool filter : {false, true}) {
                bytes_of_file plain(static_cast<size_t>(from), 201);
                ASSERT_EQ(squetched(plain, to, filter), bytes_of_file(static_cast<size_t>(to), 201));
            }
}

TEST_F(Squetch, LinesOfBits) {
    EXPECT_EQ(squetched_bits({1, 0, 1}, 6, true), (bytes_of_file{1, 1, 0, 0, 1, 1}));
    EXPECT_EQ(squetched_bits({1, 0, 0, 1, 1, 1}, 2, false), (bytes_of_file{1, 1}));
    EXPECT_EQ(squetched_bits({1, 0, 0, 1, 1, 0}, 2, true), (bytes_of_file{0, 1}));
    // Exactly half is not more than half.
    EXPECT_EQ(squetched_bits({1, 0, 1, 1}, 2, true), (bytes_of_file{0, 1}));
    EXPECT_EQ(squetched_bits(bytes_of_file(50, 1), 17, true), bytes_of_file(17, 1));
}

TEST_F(Squetch, ImagesAreThoseOfTheSlowComputation) {
    for (int32_t lines : {1, 2, 5, 17, 40})
        for (int32_t out_lines : {1, 2, 3, 5, 16, 17, 18, 39, 64, 200})
            for (uint32_t filter : {0u, SQUETCH_FILTER}) {
                SCOPED_TRACE(testing::Message() << lines << " to " << out_lines << " filter " << filter);
                constexpr int32_t WIDTH = 3;
                CFILE* c = random_image(2, WIDTH, lines, static_cast<unsigned>(lines * out_lines));
                ASSERT_EQ(rzl_set_squetch(c, WIDTH, out_lines, filter), 0);
                bytes_of_file all = read_all(c, WIDTH, out_lines);
                bytes_of_file slow(all.size());
                for (size_t x = 0; x < WIDTH; ++x) {
                    bytes_of_file column;
                    for (size_t y = 0; y < static_cast<size_t>(lines); ++y)
                        column.push_back(memory.planes[0][y * WIDTH + x]);
                    bytes_of_file result = slow_column(column, out_lines, filter != 0);
                    for (size_t y = 0; y < result.size(); ++y)
                        slow[y * WIDTH + x] = result[y];
                }
                ASSERT_EQ(all, slow);
                uint8_t line[WIDTH];
                EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_PAST_END);
                ASSERT_EQ(rzl_rewind(c), 0);
                EXPECT_EQ(read_all(c, WIDTH, out_lines), slow);
                // A sought line is the same but where a box begins inside a source line.
                if (filter != 0 && out_lines < lines) continue;
                for (int32_t y = out_lines - 1; y >= 0; y -= 3) {
                    ASSERT_EQ(rzl_seek(c, y), 0);
                    ASSERT_EQ(rzl_getline(c, line), 0);
                    EXPECT_EQ(bytes_of_file(line, line + WIDTH),
                              bytes_of_file(slow.begin() + y * WIDTH, slow.begin() + (y + 1) * WIDTH));
                }
            }
}

TEST_F(Squetch, BilevelGroups) {
    // Columns of two pixels over lines 10, 11, 01, 00, 11, 00.
    auto image = [&](int32_t out_lines, uint32_t filter) {
        CFILE* c = memory_image(9, 2, 6, MODE_READ);
        const uint8_t lines[6] = {0x80, 0xC0, 0x40, 0x00, 0xC0, 0x00};
        for (size_t y = 0; y < 6; ++y)
            memory.planes[0][y * 2 + 1] = lines[y];
        EXPECT_EQ(rzl_set_squetch(c, 2, out_lines, filter), 0);
        bytes_of_file all = read_all(c, 2, out_lines), tops;
        for (size_t y = 0; y < static_cast<size_t>(out_lines); ++y)
            tops.push_back(all[y * 2 + 1]);
        return tops;
    };
    EXPECT_EQ(image(2, 0), (bytes_of_file{0x80, 0x00}));
    EXPECT_EQ(image(2, SQUETCH_FILTER), (bytes_of_file{0xC0, 0x00}));
    // Half of the lines is enough.
    EXPECT_EQ(image(3, SQUETCH_FILTER), (bytes_of_file{0xC0, 0x40, 0xC0}));
    EXPECT_EQ(image(12, SQUETCH_FILTER), (bytes_of_file{0x80, 0x80, 0xC0, 0xC0, 0x40, 0x40, 0, 0, 0xC0, 0xC0, 0, 0}));
}

TEST_F(Squetch, ChannelsOfACall) {
    // A table that sends 0 to black and 1 to white: averaged values mean nothing, averaged colours do.
    uint8_t red[1], green[1], blue[1];
    for (uint32_t each : {0u, SQUETCH_EACH_CHANNEL}) {
        CFILE* c = memory_image(2, 4, 2, MODE_READ);
        memory.planes[0] = {0, 1, 0, 1, 0, 1, 0, 1};
        c->color_table = static_cast<uint8_t*>(mem_alloc_zeroed(768));
        c->vlt_bits = 8;
        std::fill_n(c->color_table + 3, 3, uint8_t{254});
        ASSERT_EQ(rzl_set_squetch(c, 1, 1, SQUETCH_FILTER | each), 0);
        ASSERT_EQ(rzl_getline3(c, red, green, blue), 0);
        EXPECT_EQ(red[0], each != 0 ? 127 : 0);
        EXPECT_EQ(blue[0], red[0]);
        ASSERT_EQ(rzl_rewind(c), 0);
        EXPECT_EQ(refusal(c, rzl_getline3(c, nullptr, nullptr, nullptr)), RZL_NO_OUTPUT_BUFFER);
    }
    // Planes of a colour image, apart and together, some of them not wanted.
    CFILE* c = random_image(28, 6, 6, 1);
    c->slots.Getinlv = rzl_getinlv_default;
    ASSERT_EQ(rzl_set_squetch(c, 4, 9, SQUETCH_FILTER), 0);
    std::vector<bytes_of_file> lines;
    for (int y = 0; y < 9; ++y) {
        line_planes got(3, 4);
        ASSERT_EQ(rzl_getline3(c, got.bytes[0].data(), got.bytes[1].data(), got.bytes[2].data()), 0);
        bytes_of_file together;
        for (size_t x = 0; x < 4; ++x)
            for (const bytes_of_file& plane : got.bytes)
                together.push_back(plane[x]);
        lines.push_back(together);
    }
    ASSERT_EQ(rzl_rewind(c), 0);
    for (int y = 0; y < 9; ++y) {
        bytes_of_file pixels(12);
        uint8_t* one[1] = {pixels.data()};
        if (y % 3 == 0) {
            ASSERT_EQ(rzl_getline_interleaved(c, pixels.data()), 0);
        } else if (y % 3 == 1) {
            set_flag(c, FLAG_INTERLEAVED, true);
            ASSERT_EQ(rzl_getline_generic(c, 1, one), 4);
            set_flag(c, FLAG_INTERLEAVED, false);
        } else {
            bytes_of_file plane(4);
            ASSERT_EQ(rzl_getline3(c, nullptr, plane.data(), nullptr), 0);
            for (size_t x = 0; x < 4; ++x)
                EXPECT_EQ(plane[x], lines[static_cast<size_t>(y)][x * 3 + 1]);
            continue;
        }
        EXPECT_EQ(pixels, lines[static_cast<size_t>(y)]) << "line " << y;
    }
}

TEST_F(Squetch, TiledImages) {
    CFILE* c = memory_image(2, 100, 70, MODE_UPDATE);
    make_tiled(c, 32, 16);
    for (int32_t y = 0; y < 70; ++y)
        ASSERT_EQ(rzl_putline(c, numbered_planes(1, 100, y).bytes[0].data()), 0);
    ASSERT_EQ(rzl_set_squetch(c, 100, 35, 0), 0);
    bytes_of_file all = read_all(c, 100, 35);
    for (int32_t y = 0; y < 35; ++y)
        EXPECT_EQ(bytes_of_file(all.begin() + y * 100, all.begin() + (y + 1) * 100),
                  numbered_planes(1, 100, y * 2).bytes[0]);
}

TEST_F(Squetch, AnotherImageBeginsAtItsFirstLine) {
    CFILE* c = random_image(2, 10, 10, 4);
    c->slots.setactiveov = [](CFILE* file, int32_t overview) {
        file->active_overview = overview;
        file->line = 0;
        return 0;
    };
    ASSERT_EQ(rzl_set_squetch(c, 5, 7, SQUETCH_FILTER), 0);
    bytes_of_file all = read_all(c, 5, 7);
    ASSERT_EQ(rzl_set_active_overview(c, 0), 0);
    EXPECT_EQ(read_all(c, 5, 7), all);
}

TEST_F(Squetch, ArgumentsAndFailures) {
    CFILE* c = random_image(2, 10, 10, 2);
    for (auto [x, y, flags] : {std::tuple{0, 5, 0u}, {5, 0, 0u}, {-1, 5, 0u}, {5, 5, 2u}, {5, 5, 64u}}) {
        EXPECT_EQ(refusal(c, rzl_set_squetch(c, x, y, flags)), RZL_BAD_FIELD_VALUE);
    }
    bytes_of_file line(20), plain = read_all(c, 10, 1);
    c->format = 3;
    EXPECT_EQ(refusal(c, rzl_set_squetch(c, 5, 5, 0)), RZL_UNSUPPORTED);
    c->format = 2;
    ASSERT_EQ(rzl_set_squetch(c, 20, 20, SQUETCH_FILTER), 0);
    bytes_of_file all = read_all(c, 20, 20);
    // Memory that fails leaves what is in force, and can be asked for again.
    for (long n = 0;; ++n) {
        mem_fail_after(n, mem_fail::once);
        int result = rzl_set_squetch(c, 20, 20, SQUETCH_FILTER);
        if (!mem_fail_stop()) break;
        EXPECT_EQ(result, 1);
        EXPECT_EQ(c->status, RZL_NO_MEMORY);
        ASSERT_EQ(rzl_rewind(c), 0);
        ASSERT_EQ(read_all(c, 20, 20), all);
    }
    ASSERT_EQ(rzl_seek(c, 19), 0);
    EXPECT_EQ(refusal(c, rzl_seek(c, 20)), RZL_PAST_END);
    // A source line that can't be read fails its output line with the module's status.
    ASSERT_EQ(rzl_rewind(c), 0);
    memory.fail_line = 1;
    EXPECT_EQ(refusal(c, rzl_getline(c, line.data())), RZL_READ_FAILED);
    memory.fail_line = -1;
    // The same output line comes next, from its source lines.
    EXPECT_EQ(rzl_getline(c, line.data()), 0);
    EXPECT_EQ(line, bytes_of_file(all.begin(), all.begin() + 20));
    // Another image of another size comes into its own buffers.
    memory.planes[0].resize(40 * 10, 9);
    c->xsize = 40;
    ASSERT_EQ(rzl_rewind(c), 0);
    (void)read_all(c, 20, 20);
    // Lines that are put are not resampled, and move away from those that are read.
    EXPECT_EQ(rzl_line_size(c), 20u);
    c->mode = MODE_UPDATE;
    EXPECT_EQ(rzl_line_size(c), 40u);
    ASSERT_EQ(rzl_set_squetch(c, 20, 5, 0), 0);
    c->line = INT32_MAX;
    EXPECT_EQ(refusal(c, rzl_getline(c, line.data())), RZL_PAST_END);
    c->xsize = 10;
    ASSERT_EQ(rzl_clear_squetch(c), 0);
    EXPECT_EQ(read_all(c, 10, 1), plain);
}

} // namespace
