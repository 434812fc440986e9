// Native files: writing tiles. They go behind each other in the order in which they come, and the packet in memory
// notes their places; it goes to its place in the file when the target is left or the file is closed.
#include "raster/CORE/lines.h"
#include "raster/KRVN/krvcode.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvputti";
constexpr uint16_t TARGET_WITH_OVERVIEWS = 3;
constexpr size_t CACHE_LINE = 64; // bytes

bool write_packet(CFILE* c) {
    const tile_record* t = c->tile;
    bool written = io_seek(c, krv_first_line(c)) && io_write(c, t->packet, t->packet_bytes) == t->packet_bytes;
    return written || fails(c, RZL_WRITE_FAILED, SOURCE, "tile packet");
}

// An empty packet for so many tiles. Null without memory.
uint8_t* new_packet(const krv_spec* spec, uint32_t side, size_t bytes) {
    auto* packet = static_cast<uint8_t*>(mem_alloc_zeroed(bytes));
    if (packet == nullptr) return nullptr;
    store_u16le(packet, 1);
    store_u16le(packet + 2, 7);
    store_u32le(packet + 4, static_cast<uint32_t>((bytes - KRV_PACKET_HEAD_SIZE) / 2));
    store_u16le(packet + 8, 1);
    store_u16le(packet + 10, 1);
    store_u16le(packet + KRV_TILE_OVERVIEWS_AT, spec->overview_packet != nullptr ? TARGET_WITH_OVERVIEWS : 1);
    store_u16le(packet + KRV_TILE_DATA_TYPE_AT, static_cast<uint16_t>(spec->data_type));
    store_u32le(packet + KRV_TILE_SIZE_AT, side);
    return packet;
}

// The directory learns that the active overview is tiled.
void note_tiled_overview(CFILE* c) {
    if (c->active_overview < 0) return;
    krv_overview entry = krv_load_overview(krv_spec_of(c), c->active_overview);
    entry.info |= KRV_OVERVIEW_TILED;
    krv_store_overview(krv_spec_of(c), c->active_overview, entry);
    set_flag(c, FLAG_OVERVIEWS_CHANGED, true);
}

// Lines that came of a row of tiles without its last, in the layout in which they came.
bool flush_row(CFILE* c) {
    uint32_t before = c->flags & TILE_LAYOUT_FLAGS;
    c->flags = (c->flags & ~TILE_LAYOUT_FLAGS) | c->tile->row_layout;
    int pixels = rzl_flush_tile_row(c, 0);
    c->flags = (c->flags & ~TILE_LAYOUT_FLAGS) | before;
    return pixels > 0;
}

// The tests of a put; the file then has its packet, and `line` is one of its tiles.
bool can_put_tile(CFILE* c) {
    if (!krv_is_last_image(c)) return fails(c, RZL_NO_SUCH_IMAGE, SOURCE, "not last multi-image");
    if (rzl_puttile_check(c) != 0) return false;
    if (c->tile->packet == nullptr && c->active_overview >= 0 && !krv_begin_tiles(c)) return false;
    return krv_tile_entry(c, c->line) != nullptr || fails(c, RZL_NOT_STANDARD, SOURCE, "rzl_put_tile");
}

// A tile of one colour, which takes no data.
void put_color(CFILE* c, uint32_t color) {
    uint8_t* entry = krv_tile_entry(c, c->line);
    store_u32le(entry, 0);
    store_u32le(entry + 4, 0);
    store_u32le(entry + 8, color);
    set_flag(c, FLAG_TILES_CHANGED, true);
}

// The lines of tile number `line`, whose planes begin at `tile`. Its pixels.
int64_t code_tile(CFILE* c, const uint8_t* const* tile, size_t pitch, krv_output* o) {
    tile_pose pose(c, c->line);
    krv_line l = krv_new_line(c, 0, nullptr);
    const uint8_t* planes[4] = {tile[0], tile[1], tile[2], tile[3]};
    size_t bytes = line_bytes(c, c->xsize) * samples_together(c);
    int32_t lines = c->ysize;
    if (pitch == bytes && krv_fixed_line_size(c) == static_cast<int64_t>(bytes) * l.plane_count) {
        // As they stand one behind the other they are one long line.
        l.pixels *= lines;
        lines = 1;
    }
    for (int32_t y = 0; y < lines && !o->failed; ++y) {
        const uint8_t* line[4] = {planes[0], planes[1], planes[2], planes[3]};
        for (int i = 0; i < l.plane_count; ++i) {
            if (planes[i] == nullptr) continue;
            planes[i] += pitch;
            // The lines of a tile lie far apart, which no processor foresees.
            for (size_t at = 0; y + 1 < lines && at < bytes; at += CACHE_LINE)
                __builtin_prefetch(planes[i] + at);
        }
        krv_code_line(o, line, l);
    }
    return int64_t{c->xsize} * c->ysize;
}

// Writes the lines of a coded tile. False when they are not exactly the lines of the tile.
bool write_lines(CFILE* c, const uint8_t* coding, krv_output* o) {
    krv_source s;
    krv_source_over(&s, coding, static_cast<size_t>(c->rle_size));
    for (c->line = 0; c->line < c->ysize; ++c->line) {
        const uint8_t* begin = s.next;
        krv_line l = krv_new_line(c, 0, nullptr);
        krv_decoder_of(c)(&l, &s);
        if (!l.whole) return false;
        auto bytes = static_cast<size_t>(s.next - begin);
        if (has_flag(c, FLAG_SCANNABLE) && bytes > KRV_PIECE_LIMIT) return false;
        if (o == nullptr) continue;
        if (has_flag(c, FLAG_SCANNABLE)) krv_output_header(o, bytes, 0);
        krv_output_bytes(o, begin, bytes);
    }
    return krv_source_left(&s) == 0;
}

} // namespace

bool krv_begin_tiles(CFILE* c) {
    tile_record* t = c->tile;
    count_tiles(c);
    uint64_t tiles = uint64_t{t->tiles_across} * t->tiles_down;
    if (tiles > INT32_MAX) return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "tiles");
    // Whole pairs of 32-bit words.
    auto bytes = static_cast<size_t>((KRV_TILE_TABLE_AT + tiles * KRV_TILE_ENTRY_SIZE + 7) / 8 * 8);
    uint8_t* packet = new_packet(krv_spec_of(c), t->width, bytes);
    if (packet == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "tiles");
    mem_free(t->packet);
    t->packet = packet;
    t->packet_bytes = bytes;
    t->end_offset = static_cast<uint64_t>(krv_first_line(c) - krv_data_start(c)) + bytes;
    if (!write_packet(c)) {
        mem_free(t->packet);
        t->packet = nullptr;
        t->packet_bytes = 0;
        return false;
    }
    note_tiled_overview(c);
    return true;
}

bool krv_finish_tiles(CFILE* c) {
    tile_record* t = c->tile;
    if (!has_flag(c, FLAG_TILED) || t == nullptr || !is_writable(c) || !has_flag(c, FLAG_HEADER_EXISTS)) return true;
    if (t->row_dirty && !flush_row(c)) return false;
    bool fresh = t->packet == nullptr && c->active_overview >= 0 && c->xsize > 0 && c->ysize > 0;
    if (fresh && !krv_begin_tiles(c)) return false;
    if (t->packet == nullptr || !has_flag(c, FLAG_TILES_CHANGED)) return true;
    if (!write_packet(c)) return false;
    set_flag(c, FLAG_TILES_CHANGED, false);
    // The file goes on behind its data; a block of memory tells its size by that.
    (void)io_seek(c, krv_data_start(c) + static_cast<int64_t>(t->end_offset));
    return true;
}

// A row of tiles is put as a whole. Of a file that can be read, lines that are not put stay what they were.
bool krv_prepare_tile_row(CFILE* c) {
    const tile_record* t = c->tile;
    bool exists = has_flag(c, FLAG_HEADER_EXISTS) && is_writable(c) && c->line >= 0 && c->line < c->ysize;
    if (!exists || t->row_dirty) return true;
    if (t->packet == nullptr && c->active_overview >= 0 && !krv_begin_tiles(c)) return false;
    if (!is_readable(c)) return true;
    if (!need_tile_row(c)) return false;
    int64_t above = int64_t{c->line} - t->first_line;
    bool other = above < 0 || above >= int64_t{t->height};
    return other || t->row_read || rzl_fill_tile_row(c, 0) > 0;
}

bool krv_note_tile(CFILE* c, int64_t begin, int64_t end) {
    uint8_t* entry = krv_tile_entry(c, c->line);
    int64_t offset = begin - krv_data_start(c);
    bool fits = entry != nullptr && begin >= 0 && end >= begin && offset > 0 && offset <= INT32_MAX;
    if (!fits || end - begin > int64_t{UINT32_MAX}) return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "tile offset");
    auto bytes = static_cast<uint32_t>(end - begin);
    store_u32le(entry, static_cast<uint32_t>(offset));
    store_u32le(entry + 4, bytes);
    store_u32le(entry + 8, bytes);
    set_flag(c, FLAG_TILES_CHANGED, true);
    return true;
}

int krv_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* color) {
    if (channels != 1 && channels != 3 && channels != 4) return fails(c, RZL_UNSUP_KRVN, SOURCE, "channels");
    if (!can_put_tile(c)) return 0;
    bool given = false;
    for (int i = 0; i < channels; ++i)
        given = given || buffers[i] != nullptr;
    if (given) {
        size_t pitch = line_bytes(c, c->tile->width) * samples_together(c);
        return rzl_put_tiles(c, channels, buffers, pitch, 1, 1);
    }
    if (color != nullptr) put_color(c, *color);
    ++c->line;
    return 1;
}

// The packet learns of the tiles when all of them are in the file.
int64_t krv_put_tile_rows(CFILE* c, int channels, write_planes planes, size_t pitch, int64_t columns) {
    if (has_flag(c, FLAG_SCANNABLE) || krv_is_coded(c)) return -1;
    if (!krv_can_code(c)) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    krv_output o;
    mem_guard<uint64_t> ends(mem_new_array<uint64_t>(static_cast<size_t>(columns)));
    if (!ends) return fails(c, RZL_NO_MEMORY, SOURCE, "rzl_put_tile");
    if (!krv_output_begin_gathering(&o, c)) return 0;
    int64_t begin = io_tell(c);
    int32_t first = c->line;
    int64_t pixels = 0;
    size_t bytes = line_bytes(c, c->tile->width) * samples_together(c);
    for (int64_t i = 0; i < columns; ++i) {
        const uint8_t* tile[4] = {};
        for (int p = 0; p < channels && p < 4; ++p)
            if (planes[p] != nullptr) tile[p] = planes[p] + static_cast<size_t>(i) * bytes;
        c->line = static_cast<int32_t>(first + i);
        pixels += code_tile(c, tile, pitch, &o);
        ends[static_cast<size_t>(i)] = o.written;
    }
    krv_output_end(&o);
    if (o.failed) return fails(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_tile");
    int64_t from = begin;
    for (int64_t i = 0; i < columns; ++i) {
        int64_t end = begin + static_cast<int64_t>(ends[static_cast<size_t>(i)]);
        c->line = static_cast<int32_t>(first + i);
        if (!krv_note_tile(c, from, end)) return 0;
        from = end;
    }
    krv_add_overview_bytes(c, static_cast<uint32_t>(o.written));
    return pixels;
}

int krv_put_tile16(CFILE* c, int channels, write_planes buffers, uint32_t* color) {
    if (!krv_can_be_16_bits(c, channels, SOURCE)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_put_tile(c, channels, buffers, color);
}

// A coding that is not the tile's lines is refused before any of it is written.
int krv_put_rle_tile(CFILE* c, int channels, write_planes buffers, uint32_t*) {
    if (!can_put_tile(c)) return 0;
    bool given = channels > 0 && buffers[0] != nullptr && c->rle_size >= 0;
    if (!given || !krv_takes_coded_lines(c)) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    tile_record* t = c->tile;
    int64_t begin = krv_get_image_offset(c) + static_cast<int64_t>(t->end_offset);
    if (!io_seek(c, begin)) return fails(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_rle_tile");
    krv_output o = {};
    o.c = c;
    bool good = false;
    {
        tile_pose pose(c, c->line);
        good = write_lines(c, buffers[0], nullptr) && write_lines(c, buffers[0], &o);
    }
    if (!good) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    if (o.failed) return fails(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_rle_tile");
    krv_add_overview_bytes(c, static_cast<uint32_t>(o.written));
    int64_t end = begin + static_cast<int64_t>(o.written);
    if (!krv_note_tile(c, begin, end)) return 0;
    t->end_offset = static_cast<uint64_t>(end - krv_data_start(c));
    ++c->line;
    return 1;
}
