// Line and tile calls of the core, over a module in memory that keeps planes of pixels: what the generic bodies check,
// count, convert and buffer.
#include <cstring>

#include "raster/lines_fixture.h"

namespace {

class Lines : public LinesTest {};

TEST_F(Lines, ValuesBecomeColours) {
    CFILE* c = memory_image(2, 3, 1, MODE_READ);
    uint8_t red[3] = {1, 0, 3}, green[3] = {}, blue[3] = {};
    c->bits = 4;
    rzl_apply_color_table(c, red, green, blue, 3);
    EXPECT_EQ(red[0], 0x10);
    EXPECT_EQ(blue[2], 0x30);
    c->color_table = static_cast<uint8_t*>(mem_alloc_zeroed(768));
    std::memcpy(c->color_table, "\x01\x02\x03\x04\x05\x06", 6);
    c->vlt_bits = 6;
    uint8_t index[2] = {1, 0};
    rzl_apply_color_table(c, index, green, nullptr, 2);
    EXPECT_EQ(index[0], 4 << 2);
    EXPECT_EQ(green[0], 5 << 2);
    EXPECT_EQ(green[1], 2 << 2);
    index[0] = 1;
    set_flag(c, FLAG_RAW_SAMPLES, true);
    rzl_apply_color_table(c, index, nullptr, nullptr, 1);
    EXPECT_EQ(index[0], 4);
}

TEST_F(Lines, ModesAndCounters) {
    CFILE* c = memory_image(2, 4, 2, MODE_READ);
    uint8_t line[4] = {1, 2, 3, 4};
    EXPECT_EQ(refusal(c, rzl_putline(c, line)), RZL_NEEDS_WRITE);
    EXPECT_EQ(library_status(), RZL_NEEDS_WRITE);
    EXPECT_EQ(c->line, 1); // counted although nothing was written
    c->line = 0;
    EXPECT_EQ(rzl_getline(c, line), 0);
    EXPECT_EQ(rzl_getline3(c, nullptr, nullptr, nullptr), 0);
    line[0] = 77;
    EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_PAST_END);
    EXPECT_EQ(line[0], 77);
    EXPECT_EQ(rzl_rewind(c), 0);
    EXPECT_EQ(rzl_getline(c, line), 0);
    EXPECT_EQ(rzl_getline(nullptr, line), 1);
    EXPECT_EQ(library_status(), RZL_BAD_CFILE);
    EXPECT_EQ(refusal(c, rzl_getline_channels(c, 2, nullptr)), RZL_NO_OUTPUT_BUFFER);

    c = memory_image(2, 4, 2, MODE_WRITE);
    set_flag(c, FLAG_HEADER_EXISTS, false);
    EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_NEEDS_READ);
    EXPECT_EQ(memory.headers, 0);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(rzl_putline(c, line), 0);
    EXPECT_EQ(memory.headers, 1);
    EXPECT_EQ(refusal(c, rzl_putline(c, line)), RZL_PAST_END);
    EXPECT_EQ(c->line, 3);
    // A slot that only refuses makes the call fail, whatever number it gives.
    EXPECT_EQ(refusal(c, rzl_putline16(c, reinterpret_cast<const uint16_t*>(line))), RZL_UNSUPPORTED);
}

TEST_F(Lines, InterleavedByWayOfPlanes) {
    CFILE* c = memory_image(28, 2, 2, MODE_UPDATE);
    c->slots.Getinlv = rzl_getinlv_default;
    c->slots.Putinlv = rzl_putinlv_default;
    uint8_t line[6] = {1, 2, 3, 4, 5, 6};
    ASSERT_EQ(rzl_putline_interleaved(c, line), 0);
    EXPECT_EQ(memory.planes[1][1], 5);
    ASSERT_EQ(rzl_rewind(c), 0);
    set_flag(c, FLAG_FOUR_BYTE_PIXELS, true);
    uint8_t wide[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    ASSERT_EQ(rzl_getline_interleaved(c, wide), 0);
    EXPECT_EQ(bytes_of_file(wide, wide + 8), (bytes_of_file{1, 2, 3, 9, 4, 5, 6, 9}));
    EXPECT_FALSE(has_flag(c, FLAG_INTERLEAVED));
    // A colour table leads from values to colours only.
    c->format = RZL_FORMAT_BYTE;
    c->samples = 1;
    c->color_table = static_cast<uint8_t*>(mem_alloc_zeroed(768));
    EXPECT_EQ(refusal(c, rzl_putline_interleaved(c, line)), RZL_UNSUPPORTED);
    // A file that is only read looks at nothing that is given.
    c = memory_image(28, 2, 2, MODE_READ);
    const std::unique_ptr<uint8_t> few(new uint8_t);
    EXPECT_EQ(refusal(c, rzl_putline_interleaved(c, few.get())), RZL_NEEDS_WRITE);
}

// ---- tiles

struct tiled_case {
    int32_t format;
    uint32_t flags;
};

// Lines go in, tiles come to the module, lines come out: for planes, bilevel words, 16-bit samples, interleaved pixels
// and padded rows, with an image that no tile size divides.
TEST_F(Lines, TiledFilesGiveBackTheirLines) {
    const tiled_case cases[] = {{2, 0},
                                {9, 0},
                                {3, 0},
                                {28, 0},
                                {69, 0},
                                {2, FLAG_PADDED_TILES},
                                {28, FLAG_INTERLEAVED},
                                {28, FLAG_INTERLEAVED | FLAG_FOUR_BYTE_PIXELS}};
    for (const tiled_case& one : cases) {
        SCOPED_TRACE(testing::Message() << "format " << one.format << " flags " << one.flags);
        CFILE* c = memory_image(one.format, 100, 70, MODE_UPDATE);
        make_tiled(c, 32, 16);
        set_flag(c, one.flags, true);
        bool together = (one.flags & FLAG_INTERLEAVED) != 0;
        int channels = together ? 1 : image_planes(one.format);
        size_t size = line_bytes(c, 100) * (together ? static_cast<size_t>(interleave_step(c)) : 1);
        for (int32_t y = 0; y < 70; ++y) {
            auto planes = numbered_planes(channels, size, y);
            c->line = y;
            ASSERT_GT(c->slots.Putline(c, channels, planes.in()), 0) << rzl_status_name(c->status);
        }
        EXPECT_EQ(memory.tiles_put, 4 * 5);
        EXPECT_EQ(c->tile->row_dirty, false);
        for (int32_t y : {0, 1, 15, 16, 69, 5, 4, 64}) {
            line_planes got(channels, size);
            c->line = y;
            ASSERT_EQ(c->slots.Getline(c, channels, got.out()), 100) << rzl_status_name(c->status);
            EXPECT_EQ(got.bytes, numbered_planes(channels, size, y).bytes) << "line " << y;
            EXPECT_EQ(c->line, y + 1);
        }
        // Rows of tiles read: for lines 0, 16, 69, 5 and 64; the others were at hand.
        EXPECT_EQ(memory.tiles_got, 4 * 5);
    }
}

TEST_F(Lines, TiledFileRefusals) {
    CFILE* c = memory_image(2, 100, 70, MODE_UPDATE);
    make_tiled(c, 32, 16);
    bytes_of_file line(100);
    ASSERT_EQ(rzl_putline(c, line.data()), 0);
    c->line = 40;
    EXPECT_EQ(refusal(c, rzl_putline(c, line.data())), RZL_LINES_OUT_OF_ORDER);
    // Lines that wait for their row are not thrown away by a read elsewhere, and can be read themselves.
    c->line = 40;
    EXPECT_EQ(refusal(c, rzl_getline(c, line.data())), RZL_LINES_OUT_OF_ORDER);
    c->line = 0;
    EXPECT_EQ(rzl_getline(c, line.data()), 0);
    void* planes[1] = {line.data()};
    c->line = 20;
    EXPECT_EQ(refusal(c, rzl_gettile(c, 1, planes, nullptr)), RZL_PAST_END);
    set_flag(c, FLAG_TILED, false);
    EXPECT_EQ(refusal(c, rzl_gettile(c, 1, planes, nullptr)), RZL_ONLY_TILED);
    EXPECT_EQ(refusal(c, rzl_put_rle_tile(c, line.data(), 4)), RZL_UNSUPPORTED);
}

// A call that finds no memory says so, and made again it works: nothing that waits for its row is lost.
TEST_F(Lines, TilesWithoutMemory) {
    int failed = 0;
    auto move_lines = [&](CFILE* c, bool reading) {
        for (int32_t y = 0; y < 40; ++y) {
            auto line = numbered_planes(3, 100, y);
            line_planes got(3, 100);
            for (int tries = 0, result = 0; result == 0 && tries < 2; ++tries) {
                c->line = y;
                c->status = 0;
                result = reading ? c->slots.Getline(c, 3, got.out()) : c->slots.Putline(c, 3, line.in());
                if (result != 0) continue;
                EXPECT_EQ(c->status, RZL_NO_MEMORY);
                ++failed;
            }
            EXPECT_TRUE(!reading || got.bytes == line.bytes) << "line " << y;
        }
    };
    for (bool fail_reading : {false, true}) {
        bool hit = true;
        for (long n = 0; hit; ++n) {
            failed = 0;
            CFILE* c = memory_image(28, 100, 40, MODE_UPDATE);
            make_tiled(c, 32, 16);
            if (!fail_reading) mem_fail_after(n, mem_fail::once);
            move_lines(c, false);
            hit = !fail_reading && mem_fail_stop();
            if (fail_reading) mem_fail_after(n, mem_fail::once);
            move_lines(c, true);
            hit = hit || (fail_reading && mem_fail_stop());
            EXPECT_EQ(failed, hit ? 1 : 0) << "allocation " << n;
        }
    }
}

} // namespace
