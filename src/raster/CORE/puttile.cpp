// Writing tiles: the public calls, a block of tiles out of line-organised planes, and lines into tiled storage.
//
// Lines of a tiled file are gathered in `row_buffer` of the tile record until a row of tiles is complete. A tile is
// stored as its lines, in the coding that the format gives to lines, with its real width at the right edge.
#include <algorithm>
#include <cstring>

#include "raster/CORE/lines.h"
#include "support/checked.h"

namespace {

constexpr char SOURCE[] = "CORE/puttile";

// A row of tiles that was read before may have had the one that was put.
void forget_read_row(CFILE* c) {
    if (c->tile != nullptr && !c->tile->row_dirty) c->tile->row_read = false;
}

int write_tile_call(CFILE* c, const char* word, write_tile_slot format_slots::*slot, int channels,
                    const void* const* buffers) {
    if (!handle_enter(c, word)) return 1;
    if (!planes_are_given(c, channels, buffers, SOURCE, word)) return handle_leave(c, 1);
    write_plane_list planes(channels, buffers);
    if (planes.all == nullptr) return handle_leave(c, refuse(c, RZL_NO_MEMORY, SOURCE, word));
    int pixels = (c->slots.*slot)(c, channels, planes.all, nullptr);
    forget_read_row(c);
    return handle_leave(c, public_result(c, pixels, RZL_WRITE_FAILED, SOURCE));
}

// A block of tiles on its way out of the caller's planes.
struct tile_block {
    int channels;
    write_planes in;
    size_t pitch;          // bytes from line to line of the caller's planes
    size_t tile_pitch;     // bytes of a full tile's line
    int64_t columns, rows; // tiles
    uint8_t* padded;       // owned: room for a tile of full size a channel; null when tiles go out as they are
    size_t padded_bytes;   // of one channel
    const uint8_t** tile;  // owned: where the planes of the tile in hand begin
    const uint8_t** slot;  // owned: the planes of one call of a slot
};

bool tiles_go_padded(const CFILE* c) {
    if (has_trait(c, MODULE_CUT_TILES)) return false;
    return c->standard == RZL_STANDARD_NITF || has_flag(c, FLAG_PADDED_TILES | FLAG_FIELD_36);
}

void free_block(tile_block* b) {
    mem_free(b->tile);
    mem_free(b->slot);
    mem_free(b->padded);
}

bool make_block(CFILE* c, tile_block* b) {
    auto channels = static_cast<size_t>(b->channels);
    b->tile_pitch = line_bytes(c, c->tile->width) * samples_together(c);
    b->tile = mem_new_array<const uint8_t*>(channels);
    b->slot = mem_new_array<const uint8_t*>(channels);
    size_t all = 0;
    bool fits = checked_mul(b->tile_pitch, size_t{c->tile->height}, &b->padded_bytes) &&
                checked_mul(b->padded_bytes, channels, &all);
    bool padded = tiles_go_padded(c);
    if (fits && padded) b->padded = static_cast<uint8_t*>(mem_alloc_zeroed(all));
    if (b->tile != nullptr && b->slot != nullptr && fits && (!padded || b->padded != nullptr)) return true;
    free_block(b);
    return fails(c, RZL_NO_MEMORY, SOURCE, "rzl_put_tile");
}

const uint8_t* line_of(const tile_block& b, int channel, size_t y) {
    return b.tile[channel] == nullptr ? nullptr : b.tile[channel] + y * b.pitch;
}

// A tile through the Puttile slot, with zeros where it reaches over the image's edge.
int write_padded_tile(CFILE* c, const tile_block& b, size_t left_of_it) {
    size_t bytes = std::min(line_bytes(c, c->xsize) * samples_together(c), b.pitch - left_of_it);
    for (int i = 0; i < b.channels; ++i) {
        uint8_t* plane = b.padded + static_cast<size_t>(i) * b.padded_bytes;
        std::memset(plane, 0, b.padded_bytes);
        for (size_t y = 0; b.tile[i] != nullptr && y < static_cast<size_t>(c->ysize); ++y)
            std::memcpy(plane + y * b.tile_pitch, line_of(b, i, y), bytes);
        b.slot[i] = b.tile[i] != nullptr ? plane : nullptr;
    }
    return c->slots.Puttile(c, b.channels, b.slot, nullptr);
}

// A tile line by line, as the format writes lines.
int write_tile_lines(CFILE* c, const tile_block& b) {
    write_line_slot put = has_flag(c, FLAG_16_BIT) ? c->slots.Put_line16 : c->slots.Put_line;
    int64_t sum = 0;
    for (c->line = 0; c->line < c->ysize && c->status == 0; ++c->line) {
        for (int i = 0; i < b.channels; ++i)
            b.slot[i] = line_of(b, i, static_cast<size_t>(c->line));
        bool together = has_flag(c, FLAG_INTERLEAVED) && b.slot[0] != nullptr;
        int pixels = together ? c->slots.Putinlv(c, b.slot[0]) : put(c, b.channels, b.slot);
        if (pixels <= 0) {
            if (c->status == 0) fail(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_tile");
            break;
        }
        sum += pixels;
    }
    return static_cast<int>(std::min(sum, int64_t{INT32_MAX}));
}

int write_tile(CFILE* c, tile_block* b, int64_t row, int64_t column) {
    size_t place = static_cast<size_t>(column) * b->tile_pitch;
    size_t first = static_cast<size_t>(row) * c->tile->height * b->pitch + place;
    if (place >= b->pitch) return 0;
    for (int i = 0; i < b->channels; ++i)
        b->tile[i] = b->in[i] != nullptr ? b->in[i] + first : nullptr;
    int32_t tile = c->line;
    tile_pose pose(c, tile);
    if (b->padded == nullptr) return write_tile_lines(c, *b);
    c->line = tile;
    return write_padded_tile(c, *b, place);
}

// The tiles of a row of the block, from number `line` on, one by one. Pixels, 0 on failure.
int64_t write_tiles(CFILE* c, tile_block* b, int64_t row, int64_t data_start) {
    int64_t sum = 0;
    int64_t first = c->line;
    int64_t begin = io_tell(c);
    for (int64_t column = 0; column < b->columns; ++column) {
        c->line = static_cast<int32_t>(first + column);
        int pixels = write_tile(c, b, row, column);
        if (c->status != 0 || pixels <= 0) return 0;
        int64_t end = io_tell(c);
        if (c->module != nullptr && c->module->note_tile != nullptr && !c->module->note_tile(c, begin, end)) return 0;
        c->tile->end_offset = static_cast<uint64_t>(end - data_start);
        sum += pixels;
        begin = end;
    }
    return sum;
}

// The same by the module, where it takes a row of tiles together; -1 where it does not.
int64_t write_tiles_together(CFILE* c, tile_block* b, int64_t row, int64_t data_start) {
    if (c->slots.Puttilerows == nullptr || b->padded != nullptr) return -1;
    for (int i = 0; i < b->channels; ++i)
        b->tile[i] = b->in[i] != nullptr ? b->in[i] + static_cast<size_t>(row) * c->tile->height * b->pitch : nullptr;
    int64_t pixels = c->slots.Puttilerows(c, b->channels, b->tile, b->pitch, b->columns);
    if (pixels > 0) c->tile->end_offset = static_cast<uint64_t>(io_tell(c) - data_start);
    return pixels;
}

// Writes the block; `line` ends at the tile that would come next. The pixels written, 0 on failure.
int64_t write_block(CFILE* c, tile_block* b, int64_t data_start) {
    int64_t sum = 0;
    int64_t first = c->line;
    for (int64_t row = 0; row < b->rows; ++row) {
        c->line = static_cast<int32_t>(first + row * c->tile->tiles_across);
        int64_t pixels = write_tiles_together(c, b, row, data_start);
        if (pixels < 0) pixels = write_tiles(c, b, row, data_start);
        if (c->status != 0 || pixels <= 0) return 0;
        sum += pixels;
    }
    if (c->io.file_flush(c->file) != 0) return fails(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_tile");
    if (c->line < INT32_MAX) ++c->line;
    return sum;
}

// Stands the file where tiles are appended: behind what the data have already.
bool stand_at_end_of_tiles(CFILE* c, int64_t data_start) {
    int64_t end = 0;
    bool fits = checked_add(data_start, c->tile->end_offset, &end);
    if (fits && (io_tell(c) >= end || io_seek(c, end))) return true;
    return fails(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_tile");
}

bool line_goes_into_row(CFILE* c) {
    const tile_record* t = c->tile;
    int64_t above = int64_t{c->line} - t->first_line;
    bool fits = above >= 0 && above < int64_t{t->height} && c->line < c->ysize;
    if (!fits) fail(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "rzl_putline");
    return fits;
}

void copy_line_in(CFILE* c, int channels, write_planes buffers) {
    tile_record* t = c->tile;
    size_t pitch = tile_row_pitch(c);
    size_t plane = tile_row_plane_bytes(c);
    size_t bytes = line_bytes(c, c->xsize) * samples_together(c);
    uint8_t* line = t->row_buffer + static_cast<size_t>(c->line - t->first_line) * pitch;
    bool several = format_is_color(c->format) || format_is_four(c->format) || c->samples >= 5;
    int planes = several ? tile_row_planes(c) : 1;
    auto above = static_cast<uint32_t>(c->line - t->first_line);
    bool all = channels >= planes && bytes == pitch && planes == tile_row_planes(c);
    for (int i = 0; all && i < planes; ++i)
        all = buffers[i] != nullptr;
    clear_stale_lines(c, all ? above : above + 1);
    if (t->stale_from == above) t->stale_from = above + 1;
    for (int i = 0; i < channels && i < planes; ++i)
        if (buffers[i] != nullptr) std::memcpy(line + static_cast<size_t>(i) * plane, buffers[i], bytes);
}

} // namespace

int rzl_puttile(CFILE* c, int channels, const void* const* buffers) {
    return write_tile_call(c, "rzl_puttile", &format_slots::Puttile, channels, buffers);
}

int rzl_puttile16(CFILE* c, int channels, const void* const* buffers) {
    return write_tile_call(c, "rzl_puttile16", &format_slots::Puttile16, channels, buffers);
}

int rzl_put_rle_tile(CFILE* c, const void* buffer, int32_t size) {
    if (!handle_enter(c, "rzl_put_rle_tile")) return 1;
    if (c->slots.Putrletile == nullptr) return handle_leave(c, refuse(c, RZL_UNSUPPORTED, SOURCE, "Putrletile"));
    if (buffer == nullptr || size < 0)
        return handle_leave(c, refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "rzl_put_rle_tile"));
    c->rle_size = size;
    const auto* coding = static_cast<const uint8_t*>(buffer);
    int pixels = c->slots.Putrletile(c, 1, &coding, nullptr);
    forget_read_row(c);
    return handle_leave(c, public_result(c, pixels, RZL_WRITE_FAILED, SOURCE));
}

int rzl_puttile_check(CFILE* c) {
    if (!handle_is_valid(c, "rzl_put_tile")) return 1;
    uint32_t refusal = 0;
    const char* word = "rzl_put_tile";
    if (!is_writable(c)) {
        refusal = RZL_NEEDS_WRITE;
    } else if (!has_flag(c, FLAG_TILED) || c->tile == nullptr) {
        refusal = RZL_ONLY_TILED;
    } else if (has_flag(c, FLAG_RAW)) {
        refusal = RZL_NOT_STANDARD;
        word = "raw file cannot be tiled";
    } else if (c->tile->width == 0 || c->tile->height == 0) {
        refusal = RZL_BAD_TILE_SIZE;
    }
    if (refusal != 0) return refuse(c, refusal, SOURCE, word);
    if (!has_flag(c, FLAG_HEADER_EXISTS) && c->slots.Wrt_hdr(c) != 0) return 1;
    int64_t tiles = int64_t{c->tile->tiles_across} * c->tile->tiles_down;
    if (c->line >= 0 && c->line < tiles) return 0;
    return refuse(c, RZL_PAST_END, SOURCE, word);
}

int rzl_put_tiles(CFILE* c, int channels, write_planes buffers, size_t pitch, int32_t across, int32_t down) {
    if (rzl_puttile_check(c) != 0) return 0;
    if (channels <= 0) return fails(c, RZL_NO_MEMORY, SOURCE, "rzl_put_tile");
    if (format_is_jpeg(c->format)) {
        // The board that codes these is not reachable from this platform.
        return fails(c, RZL_JPEG_HARDWARE_2, SOURCE, "rzl_put_tile");
    }
    tile_block b = {};
    b.channels = channels;
    b.in = buffers;
    b.pitch = pitch;
    int64_t tiles_across = c->tile->tiles_across;
    b.columns = std::min(int64_t{across}, tiles_across - c->line % tiles_across);
    b.rows = std::min(int64_t{down}, int64_t{c->tile->tiles_down} - c->line / tiles_across);
    int64_t data_start = c->slots.Get_Image_Offset(c);
    if (!stand_at_end_of_tiles(c, data_start) || !make_block(c, &b)) return 0;
    int64_t pixels = 0;
    {
        flag_guard untiled(c, FLAG_TILED, b.padded != nullptr);
        pixels = write_block(c, &b, data_start);
    }
    free_block(&b);
    set_flag(c, FLAG_TILES_CHANGED, true);
    if (c->active_overview >= 0) set_flag(c, FLAG_OVERVIEWS_CHANGED, true);
    return static_cast<int>(std::min(pixels, int64_t{INT32_MAX}));
}

int rzl_flush_tile_row(CFILE* c, int) {
    tile_record* t = c->tile;
    int32_t line = c->line;
    int64_t index = t->first_line / int64_t{t->height} * t->tiles_across;
    auto planes = static_cast<size_t>(tile_row_planes(c));
    mem_guard<const uint8_t*> buffers(mem_new_array<const uint8_t*>(planes));
    if (!buffers || index > INT32_MAX) return fails(c, buffers ? RZL_PAST_END : RZL_NO_MEMORY, SOURCE, "rzl_put_tile");
    clear_stale_lines(c, t->height);
    size_t plane = tile_row_plane_bytes(c);
    for (size_t i = 0; i < planes; ++i)
        buffers[i] = t->row_buffer + i * plane;
    int pixels = 0;
    if (c->slots.Seek(c, static_cast<int32_t>(index)) == 0)
        pixels = rzl_put_tiles(c, static_cast<int>(planes), buffers.get(), tile_row_pitch(c),
                               static_cast<int32_t>(t->tiles_across), 1);
    c->line = line;
    // A row that could not be written waits on, so that its last line can be put again.
    if (pixels <= 0 || c->status != 0) return 0;
    t->first_line = line < INT32_MAX ? line + 1 : line;
    t->row_read = t->row_dirty = false;
    t->stale_from = 0;
    return pixels;
}

int rzl_putline_to_tiles(CFILE* c, int channels, write_planes buffers) {
    tile_record* t = c->tile;
    if (t == nullptr || t->width == 0 || t->height == 0) return fails(c, RZL_ONLY_TILED, SOURCE, "rzl_putline");
    // Lines that wait for the rest of their row were put in one layout; the row can't go on in another.
    bool waiting = t->row_buffer != nullptr && t->row_dirty;
    if (waiting && t->row_layout != (c->flags & TILE_LAYOUT_FLAGS))
        return fails(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "rzl_putline");
    if (!need_tile_row(c) || !line_goes_into_row(c)) return 0;
    copy_line_in(c, channels, buffers);
    t->row_dirty = true;
    bool complete = int64_t{c->line} + 1 == int64_t{t->first_line} + t->height || c->line + 1 >= c->ysize;
    return complete ? rzl_flush_tile_row(c, channels) : c->xsize;
}
