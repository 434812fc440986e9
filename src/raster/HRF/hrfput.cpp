// HRF files: the headers of a new file, tiles, and the tile table behind them.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "raster/CORE/lines.h"
#include "raster/HRF/hrf.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "hrf/hrfput";

void put_u16(uint8_t* p, bool big, uint32_t value) {
    big ? store_u16be(p, static_cast<uint16_t>(value)) : store_u16le(p, static_cast<uint16_t>(value));
}
void put_u32(uint8_t* p, bool big, int64_t value) {
    big ? store_u32be(p, static_cast<uint32_t>(value)) : store_u32le(p, static_cast<uint32_t>(value));
}

// ---- the headers, in one block of HRF_FIRST_TILE bytes

void store_file_header(const hrf_spec* spec, uint8_t* h) {
    std::memcpy(h, HRF_MAGIC, sizeof HRF_MAGIC);
    h[HRF_AT_VERSION] = '0';
    h[HRF_AT_VERSION + 1] = '3';
    h[HRF_AT_REVISION] = h[HRF_AT_REVISION + 1] = '0';
    std::memcpy(h + HRF_AT_DATE, spec->date, HRF_DATE_BYTES);
    h[HRF_AT_TABLE_FORM] = spec->table_form;
    const size_t words[] = {HRF_DIRECTORY, HRF_DIRECTORY_END, 0, HRF_SECTIONS, HRF_LAYER, 0, HRF_LAYER};
    for (size_t i = 0; i < sizeof words / sizeof *words; ++i)
        store_u32le(h + HRF_AT_DIRECTORY + 4 * i, static_cast<uint32_t>(words[i]));
    store_u32le(h + HRF_AT_LAYER_COUNT, 1);
}

void store_directory(uint8_t* h) {
    const struct {
        const char* name;
        uint32_t offset, size;
    } entries[] = {{"_MANAGE", 2048, 256}, {"_LAYER0", 2304, 64}};
    uint8_t* p = h + HRF_DIRECTORY;
    for (const auto& entry : entries) {
        std::memcpy(p, entry.name, std::strlen(entry.name));
        store_u32le(p + 36, entry.offset);
        store_u32le(p + 40, entry.size);
        p += 64;
    }
}

// The extent of the layer in inches, twice.
void store_management(const CFILE* c, const hrf_spec* spec, uint8_t* h) {
    double x = spec->density_x;
    double y = spec->density_y != 0 ? spec->density_y : x;
    uint8_t* p = h + HRF_SECTIONS + 68;
    for (size_t i = 2; x != 0 && i < 6; i += 2) {
        store_f64le(p + i * 8, c->xsize / x);
        store_f64le(p + i * 8 + 8, c->ysize / y);
    }
    store_u16le(p + 48, 32);
    store_u16le(p + 50, 32);
}

void store_layer(const CFILE* c, const hrf_spec* spec, uint8_t* h) {
    h = h + HRF_LAYER;
    store_u16le(h, HRF_LAYER_HEAD);
    h[2] = 1;
    uint8_t* r = h + HRF_LAYER_HEAD;
    store_u16le(r, 24);
    r[2] = 3;
    std::memset(r + 4, ' ', 30);
    store_u16le(r + 34, 32);
    store_f64le(r + 36, 1.0);
    store_u16le(r + 44, 8);
    store_u16le(r + 46, 1);
    store_u16le(r + 50, spec->compressed ? 1 : 0);
    store_u32le(r + 52, static_cast<uint32_t>(c->ysize));
    store_u32le(r + 56, static_cast<uint32_t>(c->xsize));
    store_u16le(r + 76, spec->density_x);
    store_u16le(r + 78, spec->density_y);
    store_u16le(r + 80, HRF_DOTS_AN_INCH);
    store_u16le(r + 82, HRF_DOTS_AN_INCH);
    store_u16le(r + 84, static_cast<uint16_t>(c->tile->tiles_across));
    store_u16le(r + 86, static_cast<uint16_t>(c->tile->tiles_down));
    store_u32le(r + 88, c->tile->width);
    store_u32le(r + 92, c->tile->height);
    store_u16le(r + 108, static_cast<uint16_t>(spec->depth));
}

void take_date(hrf_spec* spec) {
    time_t now = time(nullptr);
    struct tm day = {};
    (void)localtime_r(&now, &day);
    char text[64];
    std::snprintf(text, sizeof text, "%2d/%2d/%2d", day.tm_mon + 1, day.tm_mday, day.tm_year % 100);
    std::memcpy(spec->date, text, HRF_DATE_BYTES);
}

// Tiles of the size that goes with the depth.
int make_tiles(CFILE* c, hrf_spec* spec) {
    constexpr int64_t MOST = UINT16_MAX;
    if (c->xsize < 1 || c->ysize < 1) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    free_tile_record(c);
    bool bilevel = spec->depth == 1;
    if (rzl_setup_tiles(c, bilevel ? 400 : 120, bilevel ? 320 : 128) != 0) return 1;
    int64_t across = c->tile->tiles_across;
    int64_t down = c->tile->tiles_down;
    if (across > MOST || down > MOST || across * down > INT32_MAX)
        return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    mem_free(spec->tile_offsets);
    spec->tile_offsets = static_cast<uint32_t*>(mem_alloc_zeroed(static_cast<size_t>(across * down) * 4));
    if (spec->tile_offsets == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "tile table");
    return hrf_need_writing(c) ? 0 : 1;
}

// ---- tiles

// The planes as the file has them before coding.
void gather(const CFILE* c, write_planes planes, uint8_t* out) {
    const hrf_spec* spec = hrf_spec_of(c);
    size_t pixels = size_t{c->tile->width} * c->tile->height;
    switch (spec->depth) {
    case 1: words_to_bits(planes[0], static_cast<uint32_t>(pixels), 0, out); break;
    case 8: std::memcpy(out, planes[0], pixels); break;
    default: join_pixels(out, pixels, 3, planes, 3);
    }
}

// The data of the tile's record, behind its head in `coded`. Their size.
size_t code_tile(const CFILE* c, write_planes planes) {
    const hrf_spec* spec = hrf_spec_of(c);
    uint8_t* out = spec->coded + HRF_RECORD_HEAD;
    size_t bytes = hrf_tile_bytes(c);
    gather(c, planes, spec->compressed ? spec->tile : out);
    if (!spec->compressed) return bytes;
    if (spec->depth == 1) {
        size_t row = hrf_row_bytes(c);
        uint8_t* next = out;
        for (uint32_t y = 0; y < c->tile->height; ++y)
            next += hrf_encode_row(spec->tile + y * row, row, next);
        return static_cast<size_t>(next - out);
    }
    size_t size = tif_lzw_encode(spec->tile, out, bytes, spec->lzw);
    return size <= HRF_MOST_DATA ? size : hrf_encode_plainly(spec->tile, bytes, out);
}

// The record goes to the file's end.
bool write_record(CFILE* c, hrf_spec* spec, size_t size) {
    if (size > HRF_MOST_DATA || spec->end + static_cast<int64_t>(size) > int64_t{UINT32_MAX})
        return fails(c, RZL_WRITE_FAILED, SOURCE, "tile");
    put_u16(spec->coded, spec->big, static_cast<uint32_t>(size + HRF_RECORD_HEAD));
    spec->coded[2] = HRF_TILE_RECORD;
    spec->coded[3] = 0;
    bool there = io_tell(c) == spec->end || io_seek(c, spec->end);
    if (!there) return fails(c, RZL_WRITE_FAILED, SOURCE, "tile");
    if (!put_all(c, spec->coded, size + HRF_RECORD_HEAD, SOURCE)) return false;
    spec->tile_offsets[c->line] = static_cast<uint32_t>(spec->end);
    spec->end += static_cast<int64_t>(size + HRF_RECORD_HEAD);
    spec->changed = true;
    return true;
}

// ---- the table

bool write_table(CFILE* c, hrf_spec* spec) {
    size_t entry = spec->table_form == 1 ? 8 : 6;
    size_t count = size_t{c->tile->tiles_across} * c->tile->tiles_down;
    size_t size = HRF_RECORD_HEAD + count * entry + HRF_RECORD_HEAD;
    if (spec->end > int64_t{UINT32_MAX}) return fails(c, RZL_WRITE_FAILED, SOURCE, "tile table");
    mem_guard<uint8_t> table(static_cast<uint8_t*>(mem_alloc_zeroed(size)));
    if (!table) return fails(c, RZL_NO_MEMORY, SOURCE, "tile table");
    uint8_t* p = table.get();
    put_u16(p, spec->big, static_cast<uint32_t>(count * entry + HRF_RECORD_HEAD));
    p[2] = HRF_TABLE_RECORD;
    for (size_t i = 0; i < count; ++i)
        put_u32(p + HRF_RECORD_HEAD + i * entry, spec->big, spec->tile_offsets[i]);
    p += HRF_RECORD_HEAD + count * entry;
    put_u16(p, spec->big, HRF_RECORD_HEAD);
    p[2] = HRF_END_RECORD;
    uint8_t place[4];
    put_u32(place, spec->big, spec->end);
    // The table stands in the file before the header names it.
    if (!io_seek(c, spec->end) || !put_all(c, table.get(), size, SOURCE) || !io_seek(c, spec->table_field_position))
        return fails(c, RZL_WRITE_FAILED, SOURCE, "tile table");
    return put_all(c, place, sizeof place, SOURCE);
}

// Lines that were put and wait for the rest of their row of tiles.
bool lines_wait(const CFILE* c) {
    return has_flag(c, FLAG_TILED) && c->tile != nullptr && c->tile->row_buffer != nullptr && c->tile->row_dirty;
}

// Brings the row of tiles that the line belongs to, so that its other lines stay as they are.
bool bring_row(CFILE* c, int channels) {
    const tile_record* t = c->tile;
    bool inside =
        t->row_buffer != nullptr && c->line >= t->first_line && c->line - int64_t{t->first_line} < int64_t{t->height};
    if (inside && (t->row_dirty || t->row_read)) return true;
    if (lines_wait(c) && rzl_flush_tile_row(c, channels) == 0) return false;
    return need_tile_row(c) && rzl_fill_tile_row(c, channels) != 0;
}

} // namespace

bool hrf_need_writing(CFILE* c) {
    hrf_spec* spec = hrf_spec_of(c);
    size_t bytes = hrf_tile_bytes(c);
    size_t most = std::max(tif_lzw_bound(bytes), hrf_row_bound(hrf_row_bytes(c)) * c->tile->height);
    if (spec->data == nullptr) spec->data = mem_new_array<uint8_t>(HRF_MOST_DATA);
    if (spec->tile == nullptr) spec->tile = mem_new_array<uint8_t>(bytes + TIF_LZW_SLACK);
    if (spec->coded == nullptr) spec->coded = mem_new_array<uint8_t>(HRF_RECORD_HEAD + most);
    bool lzw = spec->compressed && spec->depth != 1;
    if (lzw && spec->lzw == nullptr) spec->lzw = static_cast<tif_lzw_table*>(mem_alloc_zeroed(sizeof(tif_lzw_table)));
    bool there = spec->data != nullptr && spec->tile != nullptr && spec->coded != nullptr;
    return (there && (!lzw || spec->lzw != nullptr)) || fails(c, RZL_NO_MEMORY, SOURCE, "tile");
}

int hrf_write_header(CFILE* c) {
    hrf_spec* spec = hrf_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (make_tiles(c, spec) != 0) return 1;
    mem_guard<uint8_t> h(static_cast<uint8_t*>(mem_alloc_zeroed(HRF_FIRST_TILE)));
    if (!h) return refuse(c, RZL_NO_MEMORY, SOURCE, "Wrt_hdr");
    take_date(spec);
    store_file_header(spec, h.get());
    store_directory(h.get());
    store_management(c, spec, h.get());
    std::memset(h.get() + HRF_ONES, 255, 64);
    store_layer(c, spec, h.get());
    bool at_start = io_tell(c) == 0 || io_seek(c, 0);
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, "Wrt_hdr");
    if (!put_all(c, h.get(), HRF_FIRST_TILE, SOURCE)) return 1;
    spec->table_field_position = static_cast<int64_t>(HRF_LAYER + HRF_LAYER_HEAD + HRF_AT_TABLE_OFFSET);
    spec->end = static_cast<int64_t>(HRF_FIRST_TILE);
    spec->changed = true;
    set_flag(c, FLAG_PADDED_TILES, true);
    set_flag(c, FLAG_HEADER_EXISTS, true);
    c->line = 0;
    return 0;
}

int hrf_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t*) {
    if (rzl_puttile_check(c) != 0 || !hrf_need_writing(c)) return 0;
    hrf_spec* spec = hrf_spec_of(c);
    bool given = channels == c->samples;
    for (int i = 0; given && i < channels; ++i)
        given = buffers[i] != nullptr;
    if (!given) return fails(c, channels == c->samples ? RZL_NO_OUTPUT_BUFFER : RZL_UNSUP_IR, SOURCE, "HRF");
    if (!write_record(c, spec, code_tile(c, buffers))) return 0;
    ++c->line;
    return static_cast<int>(c->tile->width * c->tile->height); // of a tile that fits into its record
}

int hrf_put_line(CFILE* c, int channels, write_planes buffers) {
    if (!is_writable(c)) return fails(c, RZL_NEEDS_WRITE, SOURCE, "putline");
    bool there = has_flag(c, FLAG_HEADER_EXISTS) || has_flag(c, FLAG_RAW);
    if (!there && rzl_write_header(c) != 0) return 0;
    if (c->line < 0 || c->line >= c->ysize) return fails(c, RZL_PAST_END, SOURCE, "Krvn putline");
    if (!has_flag(c, FLAG_TILED)) return fails(c, RZL_UNSUP_IR, SOURCE, "HRF"); // begins inside of a tile
    if (c->mode == MODE_UPDATE && !bring_row(c, channels)) return 0;
    return rzl_putline_to_tiles(c, channels, buffers);
}

// A row of tiles whose last lines did not come is written as far as it goes.
void hrf_close(CFILE* c) {
    hrf_spec* spec = hrf_spec_of(c);
    if (spec == nullptr || !is_writable(c) || !has_flag(c, FLAG_HEADER_EXISTS)) return;
    if (lines_wait(c)) {
        uint32_t before = c->status;
        (void)rzl_flush_tile_row(c, 1);
        if (c->status == 0) c->status = before;
    }
    if (spec->changed && spec->tile_offsets != nullptr && c->tile != nullptr) (void)write_table(c, spec);
}
