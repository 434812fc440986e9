// A module for tests of lines: planes of pixels in memory behind the line and tile slots, with counters of what reaches
// it, and lines whose bytes tell where they belong.
#pragma once

#include <algorithm>
#include <memory>

#include "raster/core_fixture.h"

inline int image_planes(int32_t format) {
    return format_is_color(format) ? 3 : (format_is_four(format) ? 4 : 1);
}

// What the module of the handle in use holds. A plane has lines of line_bytes; in a tiled file `tiles` has each tile's
// bytes as they came, line by line.
struct memory_module {
    std::vector<bytes_of_file> planes;
    std::vector<bytes_of_file> tiles;
    int headers = 0, channels = 0, tiles_put = 0, tiles_got = 0;
    int fail_line = -1; // a read of this line fails
};

inline memory_module memory;

inline int memory_get_line(CFILE* c, int channels, read_planes buffers) {
    memory.channels = channels;
    int32_t line = c->line++;
    if (line == memory.fail_line) {
        fail(c, RZL_READ_FAILED, "TEST", nullptr);
        return 0;
    }
    size_t size = line_bytes(c, c->xsize);
    for (int i = 0; i < channels && i < static_cast<int>(memory.planes.size()); ++i)
        if (buffers[i] != nullptr)
            std::copy_n(&memory.planes[static_cast<size_t>(i)][static_cast<size_t>(line) * size], size, buffers[i]);
    bool grey = memory.planes.size() == 1 && channels == 3 && !format_is_bilevel(c->format);
    if (grey && buffers[0] != nullptr) rzl_apply_color_table(c, buffers[0], buffers[1], buffers[2], c->xsize);
    return c->xsize;
}

// Lines of an untiled image go to their planes; lines of a tile, which is what the handle poses as while one is being
// written, to the end of that tile.
inline int memory_put_line(CFILE* c, int channels, write_planes buffers) {
    size_t size = line_bytes(c, c->xsize);
    for (int i = 0; i < channels; ++i) {
        if (c->tile != nullptr) {
            memory.tiles.back().insert(memory.tiles.back().end(), buffers[i], buffers[i] + size);
        } else {
            std::copy_n(buffers[i], size, &memory.planes[static_cast<size_t>(i)][static_cast<size_t>(c->line) * size]);
        }
    }
    return c->xsize;
}

inline int memory_put_tile_line(CFILE* c, int channels, write_planes buffers) {
    if (c->line == 0) {
        memory.tiles.emplace_back();
        ++memory.tiles_put;
    }
    return memory_put_line(c, channels, buffers);
}

inline int memory_put_tile_pixels(CFILE* c, const uint8_t* buffer) {
    if (c->line == 0) {
        memory.tiles.emplace_back();
        ++memory.tiles_put;
    }
    size_t size = line_bytes(c, c->xsize) * static_cast<size_t>(interleave_step(c));
    memory.tiles.back().insert(memory.tiles.back().end(), buffer, buffer + size);
    return c->xsize;
}

// Whole tiles of full size, for files whose tiles are stored padded.
inline int memory_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t*) {
    memory.tiles.emplace_back();
    ++memory.tiles_put;
    size_t size = line_bytes(c, c->tile->width) * c->tile->height;
    for (int i = 0; i < channels; ++i)
        memory.tiles.back().insert(memory.tiles.back().end(), buffers[i], buffers[i] + size);
    return static_cast<int>(c->tile->width * c->tile->height);
}

// Tiles of real size at the edges, line after line, the planes of a line one behind the other; or padded ones.
inline int memory_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    rzl_gettile_check(c);
    if (c->status != 0) return 0;
    ++memory.tiles_got;
    auto tile = static_cast<uint32_t>(c->line++);
    const bytes_of_file& bytes = memory.tiles[tile];
    uint32_t across = c->tile->tiles_across;
    bool padded = has_flag(c, FLAG_PADDED_TILES);
    auto left = static_cast<uint32_t>(c->xsize) - tile % across * c->tile->width;
    auto below = static_cast<uint32_t>(c->ysize) - tile / across * c->tile->height;
    int64_t width = padded ? c->tile->width : std::min(left, c->tile->width);
    size_t height = padded ? c->tile->height : std::min(below, c->tile->height);
    size_t factor = has_flag(c, FLAG_INTERLEAVED) ? static_cast<size_t>(interleave_step(c)) : 1;
    size_t size = line_bytes(c, width) * factor;
    size_t pitch = line_bytes(c, c->tile->width) * factor;
    auto planes = static_cast<size_t>(channels);
    for (size_t y = 0; y < height; ++y)
        for (size_t i = 0; i < planes; ++i)
            if (buffers[i] != nullptr) std::copy_n(&bytes[(y * planes + i) * size], size, buffers[i] + y * pitch);
    return static_cast<int>(static_cast<size_t>(width) * height);
}

// The planes of one line.
struct line_planes {
    std::vector<bytes_of_file> bytes;
    std::vector<uint8_t*> writable;
    std::vector<const uint8_t*> readable;
    line_planes(int channels, size_t size) : bytes(static_cast<size_t>(channels), bytes_of_file(size)) {}
    uint8_t** out() {
        writable.clear();
        for (bytes_of_file& plane : bytes)
            writable.push_back(plane.data());
        return writable.data();
    }
    const uint8_t** in() {
        readable.clear();
        for (const bytes_of_file& plane : bytes)
            readable.push_back(plane.data());
        return readable.data();
    }
};

inline line_planes numbered_planes(int channels, size_t size, int32_t line) {
    line_planes planes(channels, size);
    for (size_t i = 0; i < planes.bytes.size(); ++i)
        for (size_t x = 0; x < size; ++x)
            planes.bytes[i][x] = static_cast<uint8_t>(x * 3 + i * 101 + static_cast<size_t>(line) * 7);
    return planes;
}

class LinesTest : public CoreTest {
protected:
    ~LinesTest() override { end(); }

    // A handle of that image over the module, with planes of zeros. The one before it ends.
    CFILE* memory_image(int32_t format, int32_t xsize, int32_t ysize, uint32_t mode) {
        end();
        memory = {};
        record = {block, sizeof block, 0, 0, 0, 0};
        handle = noting_handle(mode, &record);
        handle->format = format;
        EXPECT_TRUE(format_layout(format, &handle->samples, &handle->bits));
        handle->xsize = xsize;
        handle->ysize = ysize;
        set_flag(handle, FLAG_HEADER_EXISTS, true);
        size_t size = line_bytes(handle, xsize) * static_cast<size_t>(ysize);
        memory.planes.assign(static_cast<size_t>(image_planes(format)), bytes_of_file(size));
        format_slots& slots = handle->slots;
        slots.Getline = rzl_getline_generic;
        slots.Putline = rzl_putline_generic;
        slots.Getlinefromtile = rzl_getline_from_tiles;
        slots.Get_line = memory_get_line;
        slots.Put_line = memory_put_line;
        slots.Get_Image_Offset = [](CFILE*) { return int64_t{0}; };
        slots.Rewind = [](CFILE* c) { c->line = 0; };
        slots.Wrt_hdr = [](CFILE* c) {
            ++memory.headers;
            set_flag(c, FLAG_HEADER_EXISTS, true);
            return 0;
        };
        // An output line of a resampled image is sought as its source line.
        slots.Seek = [](CFILE* c, int32_t line) {
            bool resampled = has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr;
            c->line =
                resampled ? static_cast<int32_t>(static_cast<double>(c->ysize) / c->squetch->out_ysize * line) : line;
            return 0;
        };
        return handle;
    }

    void make_tiled(CFILE* c, uint32_t width, uint32_t height) {
        c->tile = mem_new<tile_record>();
        c->tile->width = width;
        c->tile->height = height;
        c->tile->tiles_across = (static_cast<uint32_t>(c->xsize) + width - 1) / width;
        c->tile->tiles_down = (static_cast<uint32_t>(c->ysize) + height - 1) / height;
        set_flag(c, FLAG_TILED, true);
        c->slots.Put_line = memory_put_tile_line;
        c->slots.Putinlv = memory_put_tile_pixels;
        c->slots.Puttile = memory_put_tile;
        c->slots.Gettile = memory_get_tile;
        // Something behind which tiles can be appended, so that the file's end is where it stands.
        record.length = 0;
    }

    void end() {
        if (handle != nullptr) rzl_close(handle);
        handle = nullptr;
    }

    CFILE* handle = nullptr;
    rzl_memfile record = {};
    uint8_t block[64] = {};
};
