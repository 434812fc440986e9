// Reading tiles: the public calls, a block of tiles into line-organised planes, and lines out of tiled storage.
//
// Lines of a tiled file are read a row of tiles at a time, so that reading in order decodes each tile once. The row
// stands in `row_buffer` of the tile record, which writing uses in the same layout.
#include <algorithm>
#include <cstring>

#include "raster/CORE/lines.h"
#include "support/checked.h"

namespace {

constexpr char SOURCE[] = "CORE/gettile";

int read_tile_call(CFILE* c, const char* word, read_tile_slot format_slots::*slot, int channels, void* const* buffers,
                   int32_t* uniform) {
    if (!handle_enter(c, word)) return 1;
    if (uniform != nullptr) *uniform = -1;
    if (!planes_are_given(c, channels, buffers, SOURCE, word)) return handle_leave(c, 1);
    read_plane_list planes(channels, buffers);
    if (planes.all == nullptr) return handle_leave(c, refuse(c, RZL_NO_MEMORY, SOURCE, word));
    auto told = static_cast<uint32_t>(-1);
    int pixels = (c->slots.*slot)(c, channels, planes.all, uniform != nullptr ? &told : nullptr);
    if (uniform != nullptr) *uniform = static_cast<int32_t>(told);
    return handle_leave(c, public_result(c, pixels, RZL_READ_FAILED, SOURCE));
}

bool tile_record_is_sound(CFILE* c, const char* word) {
    const tile_record* t = c->tile;
    if (!has_flag(c, FLAG_TILED) || t == nullptr) return fails(c, RZL_ONLY_TILED, SOURCE, word);
    if (t->width == 0 || t->height == 0 || t->tiles_across == 0 || t->tiles_down == 0)
        return fails(c, RZL_BAD_TILE_SIZE, SOURCE, word);
    return true;
}

// Lines that a row of tiles can bring: no more than the image has, however high a tile is said to be.
size_t lines_of_row(const CFILE* c) {
    return std::min(size_t{c->tile->height}, static_cast<size_t>(std::max(c->ysize, 1)));
}

// A block of tiles on its way into the caller's planes.
struct tile_block {
    size_t tile_pitch; // bytes of a tile's line
    size_t tile_bytes; // of a tile's plane
    bool direct;       // the module reads tiles to where they are wanted
    uint8_t** tiles;   // a plane of one tile each, owned unless it goes direct; null where the caller wants none
    int channels;
    read_planes out;
    size_t pitch; // bytes from line to line of the caller's planes
    uint32_t first_column;
    int64_t columns, rows; // tiles
};

void free_block(tile_block* b) {
    for (int i = 0; b->tiles != nullptr && !b->direct && i < b->channels; ++i)
        mem_free(b->tiles[i]);
    mem_free(b->tiles);
}

bool make_block(CFILE* c, tile_block* b) {
    b->tile_pitch = line_bytes(c, c->tile->width) * samples_together(c);
    // Rows of tiles go where they are wanted, if they have the room.
    bool whole = !has_flag(c, FLAG_16_BIT) && static_cast<size_t>(b->columns) * b->tile_pitch <= b->pitch;
    b->direct = c->slots.Gettilerows != nullptr && (whole || has_trait(c, MODULE_CUT_TILES));
    bool fits = checked_mul(b->tile_pitch, size_t{c->tile->height}, &b->tile_bytes);
    b->tiles = static_cast<uint8_t**>(mem_alloc_zeroed(static_cast<size_t>(b->channels) * sizeof(uint8_t*)));
    for (int i = 0; fits && !b->direct && b->tiles != nullptr && i < b->channels; ++i) {
        if (b->out[i] == nullptr) continue;
        b->tiles[i] = static_cast<uint8_t*>(mem_alloc_zeroed(b->tile_bytes));
        fits = rzl_check_alloc(b->tiles[i], "tile buffer") == 0;
    }
    if (fits && b->tiles != nullptr) return true;
    free_block(b);
    return fails(c, RZL_NO_MEMORY, SOURCE, "get tiles");
}

// Lines of the tile row that lie inside the image.
size_t rows_inside(const CFILE* c, int64_t tile_row) {
    int64_t first = tile_row * int64_t{c->tile->height};
    return static_cast<size_t>(clamped(int64_t{c->ysize} - first, int64_t{0}, int64_t{c->tile->height}));
}

// Bytes of a tile's line that lie inside the image and inside the caller's pitch. `place`: bytes left of it.
size_t bytes_inside(const CFILE* c, const tile_block& b, uint32_t column, size_t place) {
    size_t bytes = b.tile_pitch;
    if (column + 1 == c->tile->tiles_across) {
        int64_t pixels = int64_t{c->xsize} - int64_t{column} * c->tile->width;
        bytes = std::min(bytes, line_bytes(c, pixels) * samples_together(c));
    }
    return place < b.pitch ? std::min(bytes, b.pitch - place) : 0;
}

void copy_tile(const CFILE* c, const tile_block& b, int64_t row, int64_t column, size_t lines) {
    size_t place = static_cast<size_t>(column) * b.tile_pitch;
    size_t bytes = bytes_inside(c, b, b.first_column + static_cast<uint32_t>(column), place);
    size_t first = static_cast<size_t>(row) * c->tile->height * b.pitch + place;
    for (int i = 0; i < b.channels; ++i) {
        if (b.out[i] == nullptr) continue;
        for (size_t y = 0; y < lines; ++y)
            std::memcpy(b.out[i] + first + y * b.pitch, b.tiles[i] + y * b.tile_pitch, bytes);
    }
}

int read_tile_to_its_place(CFILE* c, const tile_block& b, int64_t row, int64_t column, size_t lines) {
    size_t first = static_cast<size_t>(row) * c->tile->height * b.pitch + static_cast<size_t>(column) * b.tile_pitch;
    for (int i = 0; i < b.channels; ++i)
        b.tiles[i] = b.out[i] != nullptr ? b.out[i] + first : nullptr;
    return c->slots.Gettilerows(c, b.channels, b.tiles, b.pitch, static_cast<uint32_t>(lines));
}

int read_tile_rows(CFILE* c, const tile_block& b) {
    read_tile_slot slot = has_flag(c, FLAG_16_BIT) ? c->slots.Gettile16 : c->slots.Gettile;
    int64_t across = c->tile->tiles_across;
    int64_t first = c->line;
    int pixels = 0;
    for (int64_t row = 0; row < b.rows; ++row) {
        if (c->slots.Seek(c, static_cast<int32_t>(first + row * across)) != 0) return 0;
        size_t lines = rows_inside(c, (first + row * across) / across);
        for (int64_t column = 0; column < b.columns; ++column) {
            pixels =
                b.direct ? read_tile_to_its_place(c, b, row, column, lines) : slot(c, b.channels, b.tiles, nullptr);
            if (c->status != 0) return 0;
            if (!b.direct) copy_tile(c, b, row, column, lines);
        }
    }
    return pixels;
}

bool is_in_row(const CFILE* c) {
    int64_t above = int64_t{c->line} - c->tile->first_line;
    return above >= 0 && above < int64_t{c->tile->height};
}

void copy_line_out(CFILE* c, int channels, read_planes buffers) {
    size_t bytes = line_bytes(c, c->xsize) * samples_together(c);
    size_t plane = tile_row_plane_bytes(c);
    const uint8_t* line = c->tile->row_buffer + static_cast<size_t>(c->line - c->tile->first_line) * tile_row_pitch(c);
    bool together = has_flag(c, FLAG_INTERLEAVED);
    int planes = together || c->samples < 2 ? 1 : tile_row_planes(c);
    for (int i = 0; i < channels && i < planes; ++i)
        if (buffers[i] != nullptr) std::memcpy(buffers[i], line + static_cast<size_t>(i) * plane, bytes);
    bool spread = !together && c->samples < 2 && channels == 3 && !format_is_bilevel(c->format);
    if (spread && buffers[0] != nullptr)
        rzl_apply_color_table(c, buffers[0], buffers[1], buffers[2], static_cast<int64_t>(bytes));
}

} // namespace

int rzl_gettile(CFILE* c, int channels, void* const* buffers, int32_t* uniform) {
    return read_tile_call(c, "rzl_gettile", &format_slots::Gettile, channels, buffers, uniform);
}

int rzl_gettile16(CFILE* c, int channels, void* const* buffers, int32_t* uniform) {
    return read_tile_call(c, "rzl_gettile16", &format_slots::Gettile16, channels, buffers, uniform);
}

int rzl_get_rle_tile(CFILE* c, void* buffer, int32_t* size, int32_t* uniform) {
    if (!handle_enter(c, "rzl_get_rle_tile")) return 1;
    if (size == nullptr || *size < 0 || uniform == nullptr || (buffer == nullptr && *size > 0))
        return handle_leave(c, refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "rzl_get_rle_tile"));
    c->rle_size = *size;
    *uniform = -1;
    auto told = static_cast<uint32_t>(-1);
    auto* plane = static_cast<uint8_t*>(buffer);
    int result = c->slots.Getrletile(c, 1, &plane, &told);
    *uniform = static_cast<int32_t>(told);
    *size = c->rle_size;
    return handle_leave(c, public_result(c, result, RZL_READ_FAILED, SOURCE));
}

void rzl_gettile_check(CFILE* c) {
    if (!tile_record_is_sound(c, "get tiles")) return;
    if (!is_readable(c)) {
        fail(c, RZL_NEEDS_READ, SOURCE, "get tiles");
        return;
    }
    if (is_unsettled(c)) {
        fail(c, RZL_READ_FAILED, SOURCE, "get tiles");
        return;
    }
    int64_t tiles = int64_t{c->tile->tiles_across} * c->tile->tiles_down;
    if (c->line < 0 || c->line >= tiles) fail(c, RZL_PAST_END, SOURCE, "get tiles");
}

int rzl_get_tiles(CFILE* c, int channels, read_planes buffers, size_t pitch, int32_t across, int32_t down) {
    rzl_gettile_check(c);
    if (c->status != 0 || channels <= 0) return 0;
    int64_t row = int64_t{c->line} / c->tile->tiles_across;
    int64_t column = int64_t{c->line} % c->tile->tiles_across;
    tile_block b = {};
    b.channels = channels;
    b.out = buffers;
    b.pitch = pitch;
    b.first_column = static_cast<uint32_t>(column);
    b.columns = std::min(int64_t{across}, int64_t{c->tile->tiles_across} - column);
    b.rows = std::min(int64_t{down}, int64_t{c->tile->tiles_down} - row);
    if (!make_block(c, &b)) return 0;
    int pixels = read_tile_rows(c, b);
    free_block(&b);
    return pixels;
}

int tile_row_planes(const CFILE* c) {
    if (has_flag(c, FLAG_INTERLEAVED)) return 1;
    if (format_is_color(c->format)) return 3;
    if (format_is_four(c->format)) return 4;
    return c->samples >= 5 ? c->samples : 1;
}

size_t tile_row_pitch(const CFILE* c) {
    int64_t pixels = c->xsize;
    if (has_flag(c, FLAG_PADDED_TILES)) pixels = int64_t{c->tile->tiles_across} * c->tile->width;
    return line_bytes(c, pixels) * samples_together(c);
}

size_t tile_row_plane_bytes(const CFILE* c) {
    return tile_row_pitch(c) * lines_of_row(c);
}

void clear_stale_lines(CFILE* c, uint32_t lines) {
    tile_record* t = c->tile;
    size_t end = std::min(size_t{lines}, lines_of_row(c));
    if (t->row_buffer == nullptr || size_t{t->stale_from} >= end) return;
    size_t pitch = tile_row_pitch(c);
    size_t plane = tile_row_plane_bytes(c);
    size_t planes = plane > 0 ? t->row_bytes / plane : 0;
    for (size_t i = 0; i < planes; ++i)
        std::memset(t->row_buffer + i * plane + t->stale_from * pitch, 0, (end - t->stale_from) * pitch);
    t->stale_from = static_cast<uint32_t>(end);
}

bool need_tile_row(CFILE* c) {
    tile_record* t = c->tile;
    size_t plane = 0;
    size_t bytes = 0;
    bool fits = checked_mul(tile_row_pitch(c), lines_of_row(c), &plane) &&
                checked_mul(plane, static_cast<size_t>(tile_row_planes(c)), &bytes);
    uint32_t layout = c->flags & TILE_LAYOUT_FLAGS;
    if (fits && t->row_buffer != nullptr && t->row_bytes == bytes && t->row_layout == layout) return true;
    if (t->row_buffer == nullptr) t->first_line = 0;
    mem_free(t->row_buffer);
    t->row_buffer = fits ? static_cast<uint8_t*>(mem_alloc_zeroed(bytes)) : nullptr;
    t->row_bytes = bytes;
    t->row_layout = layout;
    t->row_read = t->row_dirty = false;
    t->stale_from = TILE_ROW_FRESH;
    if (t->row_buffer != nullptr) return true;
    (void)rzl_check_alloc(nullptr, "tile row");
    return fails(c, RZL_NO_MEMORY, SOURCE, "tile row");
}

int rzl_fill_tile_row(CFILE* c, int) {
    tile_record* t = c->tile;
    int32_t line = c->line;
    auto row = static_cast<int64_t>(line / int64_t{t->height});
    int64_t index = row * t->tiles_across;
    if (index > INT32_MAX) return fails(c, RZL_PAST_END, SOURCE, "get tiles");
    size_t plane = tile_row_plane_bytes(c);
    auto planes = static_cast<size_t>(tile_row_planes(c));
    mem_guard<uint8_t*> buffers(mem_new_array<uint8_t*>(planes));
    if (!buffers) return fails(c, RZL_NO_MEMORY, SOURCE, "tile row");
    for (size_t i = 0; i < planes; ++i)
        buffers[i] = t->row_buffer + i * plane;
    // Seek would take the tile's number for an output line.
    flag_guard no_squetch(c, FLAG_SQUETCH, false);
    t->row_read = false;
    int pixels = 0;
    if (c->slots.Seek(c, static_cast<int32_t>(index)) == 0)
        pixels = rzl_get_tiles(c, static_cast<int>(planes), buffers.get(), tile_row_pitch(c),
                               static_cast<int32_t>(t->tiles_across), 1);
    c->line = line;
    if (pixels <= 0 || c->status != 0) return 0;
    t->first_line = static_cast<int32_t>(row * t->height);
    t->row_read = true;
    t->stale_from = TILE_ROW_FRESH;
    return pixels;
}

int rzl_getline_from_tiles(CFILE* c, int channels, read_planes buffers) {
    if (!tile_record_is_sound(c, "get tiles")) return 0;
    tile_record* t = c->tile;
    if (c->slots.Gettileline != nullptr) {
        int pixels = c->slots.Gettileline(c, channels, buffers);
        if (pixels >= 0) return pixels;
    }
    bool pending = t->row_buffer != nullptr && t->row_dirty;
    bool fits = t->row_layout == (c->flags & TILE_LAYOUT_FLAGS) && is_in_row(c);
    if (pending && !fits) {
        // Lines wait here for the rest of their row; reading another row would lose them.
        return fails(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "getline");
    }
    if (!need_tile_row(c)) return 0;
    if (!pending && (!t->row_read || !is_in_row(c)) && rzl_fill_tile_row(c, channels) == 0) return 0;
    clear_stale_lines(c, static_cast<uint32_t>(c->line - t->first_line) + 1);
    copy_line_out(c, channels, buffers);
    ++c->line;
    return c->xsize;
}
