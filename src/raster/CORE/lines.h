// What the line and tile calls share among themselves: turning the public arguments into planes, and slot results into
// public ones.
#pragma once

#include "raster/CORE/module.h"
#include "support/checked.h"
#include "support/memory.h"

// The planes of a public call as the slots take them: a typed copy of the caller's array. `all` is null when there is
// no memory for it.
template <typename From, typename To> struct plane_list {
    static constexpr int FEW = 8;
    To* few[FEW] = {};
    To** all = few;
    plane_list(int channels, From* const* buffers) {
        if (channels > FEW) all = mem_new_array<To*>(static_cast<size_t>(channels));
        for (int i = 0; all != nullptr && i < channels; ++i)
            all[i] = static_cast<To*>(buffers[i]);
    }
    ~plane_list() {
        if (all != few) mem_free(all);
    }
    plane_list(const plane_list&) = delete;
    plane_list& operator=(const plane_list&) = delete;
};
using read_plane_list = plane_list<void, uint8_t>;
using write_plane_list = plane_list<const void, const uint8_t>;

// Whether channel count and array go together; otherwise the status is set.
inline bool planes_are_given(CFILE* c, int channels, const void* buffers, const char* source, const char* word) {
    if (channels >= 0 && (channels == 0 || buffers != nullptr)) return true;
    fail(c, RZL_NO_OUTPUT_BUFFER, source, word);
    return false;
}

// A slot's result as a public one. A slot that refuses gives what its table says and sets the status; of an image
// without pixels there is nothing to refuse, and `failure` is the reason.
inline int public_result(CFILE* c, int pixels, uint32_t failure, const char* source) {
    if (pixels <= 0 && c->status == 0) fail(c, failure, source, "no pixels");
    return c->status == 0 ? 0 : 1;
}

// A new file that can be read back, and has no header yet: what its lines will be is not settled.
inline bool is_unsettled(const CFILE* c) {
    return c->mode == MODE_WRITE_READ && !has_flag(c, FLAG_HEADER_EXISTS | FLAG_RAW);
}

// What a put does to the line counter, whether or not the slot succeeded.
inline void count_put(CFILE* c) {
    if (c->line < INT32_MAX) ++c->line;
}

// Flags that decide how row_buffer of a tile record is laid out.
constexpr uint32_t TILE_LAYOUT_FLAGS = FLAG_INTERLEAVED | FLAG_FOUR_BYTE_PIXELS | FLAG_16_BIT | FLAG_PADDED_TILES;

// Samples that stand together in one plane: those of a pixel in an interleaved call, else one.
inline size_t samples_together(const CFILE* c) {
    return has_flag(c, FLAG_INTERLEAVED) ? static_cast<size_t>(interleave_step(c)) : 1;
}

// Samples of a pixel in the buffer of the default interleaved calls. Some files count a colour as one sample.
inline int interleaved_samples(const CFILE* c) {
    bool colors = c->color_table != nullptr || format_is_color(c->format);
    return colors && c->samples == 1 ? 3 : c->samples;
}

// Whether lines have a byte a sample: those of a colour have, whatever the file's samples are.
inline bool planes_are_bytes(const CFILE* c) {
    bool colour = format_is_color(c->format) || format_is_four(c->format);
    return line_bytes(c, 1) == 1 && (c->bits <= 8 || colour);
}

// The handle posing as an image of the size of one tile, until the end of a scope, so that slots of lines can read or
// write the tile. `line` is 0 at first.
struct tile_pose {
    CFILE* handle;
    int32_t xsize, ysize, line;
    tile_pose(CFILE* c, int64_t tile) : handle(c), xsize(c->xsize), ysize(c->ysize), line(c->line) {
        const tile_record* t = c->tile;
        int64_t left = xsize - tile % t->tiles_across * t->width;
        int64_t below = ysize - tile / t->tiles_across * t->height;
        c->xsize = static_cast<int32_t>(clamped(left, int64_t{0}, int64_t{t->width}));
        c->ysize = static_cast<int32_t>(clamped(below, int64_t{0}, int64_t{t->height}));
        c->line = 0;
    }
    ~tile_pose() {
        handle->xsize = xsize;
        handle->ysize = ysize;
        handle->line = line;
    }
    tile_pose(const tile_pose&) = delete;
    tile_pose& operator=(const tile_pose&) = delete;
};

// A flag switched off, or on, until the end of a scope.
struct flag_guard {
    CFILE* handle;
    uint32_t flag;
    bool before;
    flag_guard(CFILE* c, uint32_t bit, bool on) : handle(c), flag(bit), before(has_flag(c, bit)) {
        set_flag(c, bit, on);
    }
    ~flag_guard() { set_flag(handle, flag, before); }
    flag_guard(const flag_guard&) = delete;
    flag_guard& operator=(const flag_guard&) = delete;
};
