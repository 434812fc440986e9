// Native files: the packet that tells where tiles stand, and reading them.
//
// What is believed of a packet. It must be in the file with an entry for each tile. A tile without data may be of any
// size, so a row of tiles is taken on trust up to ROW_PIXELS, and beyond that as far as the file has bytes for it.
#include <algorithm>

#include "raster/CORE/lines.h"
#include "raster/KRVN/krvcode.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvgetti";
constexpr uint16_t PACKET_TYPE = 1;
constexpr uint16_t PACKET_SUBTYPE = 7;
constexpr uint64_t ROW_PIXELS = 1 << 24;
constexpr uint64_t PIXELS_IN_BYTE = 65536;
constexpr uint32_t COLOR_BITS = 0xFFFFFF;
constexpr uint8_t ALL_SET = 0xFF;

struct tile_entry {
    int64_t offset; // from the data start; 0 or less: no data
    uint32_t size, color;
};

tile_entry load_entry(const uint8_t* entry) {
    return {static_cast<int32_t>(load_u32le(entry)), load_u32le(entry + 4), load_u32le(entry + 8)};
}

uint64_t tiles_over(uint32_t pixels, uint32_t side) {
    return (uint64_t{pixels} + side - 1) / side;
}

// Whether a row of tiles takes more memory than the file's bytes are worth.
bool is_out_of_proportion(CFILE* c, uint32_t xsize, uint32_t ysize, uint32_t side) {
    uint64_t pixels = uint64_t{xsize} * std::min(ysize, side);
    if (c->mode != MODE_READ || pixels <= ROW_PIXELS) return false;
    return pixels / PIXELS_IN_BYTE > static_cast<uint64_t>(std::max<int64_t>(io_size(c), 0));
}

// Tiles that the file has lost a part of.
void mark_cut_tiles(CFILE* c) {
    int64_t end = io_size(c) - krv_data_start(c);
    int64_t tiles = int64_t{c->tile->tiles_across} * c->tile->tiles_down;
    for (int64_t i = 0; i < tiles; ++i) {
        tile_entry entry = load_entry(krv_tile_entry(c, i));
        if (entry.offset > 0 && entry.offset + entry.size > end) set_flag(c, FLAG_DAMAGED, true);
    }
}

// ---- planes of a tile -----------------------------------------------------------------------------------------------

// Where the pixels of a tile go.
struct tile_target {
    uint8_t* planes[4]; // null for one that is not wanted
    int count;
    size_t pitch; // bytes from line to line
    size_t step;  // bytes from pixel to pixel; 0: that of the data format
    uint32_t rows;
};

bool holds_colors(const CFILE* c) {
    return format_is_color(c->format) || format_is_four(c->format);
}

tile_target target_of(const CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    tile_target t = {{}, std::min(channels, 4), pitch, 0, std::min(rows, static_cast<uint32_t>(c->ysize))};
    for (int i = 0; i < t.count; ++i)
        t.planes[i] = planes[i];
    if (!has_flag(c, FLAG_INTERLEAVED) || !holds_colors(c)) return t;
    t.count = c->samples;
    t.step = static_cast<size_t>(interleave_step(c));
    for (int i = 1; i < t.count; ++i)
        t.planes[i] = planes[0] + i;
    return t;
}

krv_line line_of(const CFILE* c, const tile_target& t, uint32_t row) {
    uint8_t* planes[4] = {};
    for (int i = 0; i < t.count; ++i)
        if (t.planes[i] != nullptr) planes[i] = t.planes[i] + row * t.pitch;
    krv_line l = krv_new_line(c, t.count, planes);
    if (t.step != 0) l.step = t.step;
    return l;
}

// ---- tiles without data

void fill_line(uint8_t* line, const krv_line& l, uint32_t value) {
    if (l.step == 1) {
        std::memset(line, static_cast<int>(value & 0xFF), static_cast<size_t>(l.pixels));
        return;
    }
    bool words = l.element == 2;
    for (int64_t x = 0; x < l.pixels; ++x, line += l.step) {
        auto half = static_cast<uint16_t>(value);
        if (words) {
            std::memcpy(line, &half, sizeof half);
        } else if (l.element == 4) {
            std::memcpy(line, &value, sizeof value);
        } else {
            std::memset(line, static_cast<int>(value & 0xFF), l.element);
        }
    }
}

// The value of a plane in a tile of that colour.
uint32_t plane_value(const CFILE* c, uint32_t color, int plane) {
    if (!holds_colors(c)) return color;
    return plane < 3 ? color >> (16 - 8 * plane) & 0xFF : 0;
}

void fill_tile(const CFILE* c, const tile_target& t, uint32_t color) {
    bool bilevel = format_is_bilevel(c->format);
    bool real = c->format == RZL_FORMAT_REAL32; // only whole numbers of 16 and 32 bits are filled as such
    for (uint32_t row = 0; row < t.rows; ++row) {
        krv_line l = line_of(c, t, row);
        for (int i = 0; i < l.plane_count; ++i) {
            if (l.planes[i] == nullptr) continue;
            if (bilevel || real) {
                int byte = bilevel ? ((color & COLOR_BITS) != 0 ? ALL_SET : 0) : static_cast<int>(color & 0xFF);
                std::memset(l.planes[i], byte, line_bytes(c, c->xsize));
            } else {
                fill_line(l.planes[i], l, plane_value(c, color, i));
            }
        }
    }
}

// What a caller is told of a tile without data: its colour, or of the one plane that is asked for that plane's byte.
uint32_t told_color(const CFILE* c, int channels, read_planes planes, uint32_t color) {
    int wanted = 0;
    int plane = 0;
    for (int i = 0; i < channels; ++i) {
        if (planes[i] == nullptr) continue;
        ++wanted;
        plane = i;
    }
    return wanted == 1 && channels > 1 ? plane_value(c, color, plane) : color;
}

// ---- tiles with data

// Lines with headers between them, and those that the fax coder has, as the slot of lines gives them.
bool read_by_lines(CFILE* c, const tile_target& t) {
    if (has_flag(c, FLAG_SCANNABLE)) (void)krv_read_line_header(c, true);
    for (uint32_t row = 0; row < t.rows; ++row) {
        krv_line l = line_of(c, t, row);
        if (krv_get_line(c, l.plane_count, l.planes) <= 0) return false;
    }
    return true;
}

// Lines one behind the other.
bool read_ordinary(CFILE* c, const tile_target& t, uint32_t bytes) {
    krv_decoder decode = krv_decoder_of(c);
    if (decode == nullptr) {
        krv_refuse_format(c, SOURCE);
        return false;
    }
    krv_source s;
    krv_source_begin(&s, c, bytes);
    bool whole = true;
    for (uint32_t row = 0; row < t.rows && whole; ++row) {
        krv_line l = line_of(c, t, row);
        if (c->format == RZL_FORMAT_BILEVEL_RUNS && l.planes[0] != nullptr)
            std::memset(l.planes[0], 0, line_bytes(c, l.pixels));
        decode(&l, &s);
        whole = l.whole;
    }
    krv_source_end(&s);
    return whole || fails(c, RZL_READ_FAILED, SOURCE, "tile");
}

bool read_data(CFILE* c, const tile_target& t, const tile_entry& entry) {
    krv_spec* spec = krv_spec_of(c);
    int64_t begin = krv_data_start(c) + entry.offset;
    if (!io_seek(c, begin)) return fails(c, RZL_READ_FAILED, SOURCE, "tile");
    bool by_lines = krv_is_coded(c) || has_flag(c, FLAG_SCANNABLE);
    if (!by_lines) return read_ordinary(c, t, entry.size);
    spec->tile_begin = begin;
    spec->tile_end = begin + entry.size;
    bool good = read_by_lines(c, t);
    spec->tile_end = 0;
    return good;
}

// Reads the tile with the number `line`, and moves on. Pixels, 0 on failure.
int read_tile(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows, uint32_t* color) {
    const uint8_t* place = krv_tile_entry(c, c->line);
    if (place == nullptr) return fails(c, RZL_NOT_STANDARD, SOURCE, "tile");
    tile_entry entry = load_entry(place);
    int64_t pixels = 0;
    bool good = true;
    {
        tile_pose pose(c, c->line);
        flag_guard untiled(c, FLAG_TILED, false);
        tile_target target = target_of(c, channels, planes, pitch, rows);
        pixels = int64_t{c->xsize} * c->ysize;
        if (entry.offset > 0) {
            good = read_data(c, target, entry);
        } else if (color != nullptr) {
            *color = told_color(c, channels, planes, entry.color);
        } else {
            fill_tile(c, target, entry.color);
        }
    }
    if (!good) return 0;
    ++c->line;
    return static_cast<int>(std::min(pixels, int64_t{INT32_MAX}));
}

size_t full_pitch(const CFILE* c) {
    return line_bytes(c, c->tile->width) * samples_together(c);
}

// An image of one plane as three of colours.
int read_colors(CFILE* c, read_planes planes, uint32_t* color) {
    size_t pitch = full_pitch(c);
    size_t all = 0;
    bool fits = checked_mul(pitch, size_t{c->tile->height}, &all);
    mem_guard<uint8_t> spare(planes[0] == nullptr && fits ? static_cast<uint8_t*>(mem_alloc(all)) : nullptr);
    uint8_t* stored = planes[0] != nullptr ? planes[0] : spare.get();
    if (stored == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "tile");
    bool has_data = load_entry(krv_tile_entry(c, c->line)).offset > 0;
    int32_t tile = c->line;
    int pixels = read_tile(c, 1, &stored, pitch, c->tile->height, color);
    if (pixels == 0 || (color != nullptr && !has_data)) return pixels;
    tile_pose pose(c, tile);
    for (size_t row = 0; row < static_cast<size_t>(c->ysize); ++row) {
        auto at = [&](uint8_t* plane) { return plane != nullptr ? plane + row * pitch : nullptr; };
        auto bytes = static_cast<int64_t>(line_bytes(c, c->xsize));
        rzl_apply_color_table(c, at(stored), at(planes[1]), at(planes[2]), bytes);
    }
    return pixels;
}

bool wants_nothing(int channels, read_planes planes) {
    return std::all_of(planes, planes + channels, [](const uint8_t* plane) { return plane == nullptr; });
}

} // namespace

// The image whose place is left for a look at another one's tiles goes on where it was.
uint32_t krv_judge_tiles(CFILE* c, int64_t at, uint32_t xsize, uint32_t ysize, krv_tile_facts* facts) {
    uint8_t head[KRV_TILE_TABLE_AT];
    int64_t position = io_tell(c);
    bool read = io_seek(c, at) && io_read(c, head, sizeof head) == sizeof head;
    int64_t end = io_size(c);
    if (!io_seek(c, position) || !read) return RZL_READ_FAILED;
    if (load_u16le(head) != PACKET_TYPE || load_u16le(head + 2) != PACKET_SUBTYPE) return RZL_NOT_STANDARD;
    uint32_t side = load_u32le(head + KRV_TILE_SIZE_AT);
    int data_type = load_u16le(head + KRV_TILE_DATA_TYPE_AT);
    bool known = krv_is_data_type(data_type) && data_type != RZL_FORMAT_TILED;
    if (side == 0 || side > INT32_MAX || !known) return RZL_READ_FAILED;
    if (format_is_jpeg(data_type)) return RZL_JPEG_HARDWARE_3;
    uint64_t tiles = tiles_over(xsize, side) * tiles_over(ysize, side);
    uint64_t bytes = KRV_TILE_TABLE_AT + tiles * KRV_TILE_ENTRY_SIZE;
    uint64_t told = uint64_t{load_u32le(head + 4)} * 2 + KRV_PACKET_HEAD_SIZE;
    if (tiles > INT32_MAX || told < bytes || end < at + static_cast<int64_t>(bytes)) return RZL_READ_FAILED;
    if (is_out_of_proportion(c, xsize, ysize, side)) return RZL_BAD_IMAGE_SIZE;
    *facts = {static_cast<int32_t>(side), data_type, static_cast<size_t>(bytes)};
    return 0;
}

int krv_load_tiles(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    int64_t at = krv_first_line(c);
    krv_tile_facts facts;
    uint32_t status = krv_judge_tiles(c, at, static_cast<uint32_t>(c->xsize), static_cast<uint32_t>(c->ysize), &facts);
    if (status != 0) return refuse(c, status, SOURCE, "tiles");
    if (!io_seek(c, at) || rzl_setup_tiles(c, facts.side, facts.side) != 0) return 1;
    tile_record* t = c->tile;
    t->packet = io_read_block(c, facts.bytes, 0, SOURCE, "tiles");
    if (t->packet == nullptr) {
        free_tile_record(c);
        return 1;
    }
    t->packet_bytes = facts.bytes;
    t->end_offset = static_cast<uint64_t>(std::max<int64_t>(io_size(c) - krv_data_start(c), 0));
    spec->data_type = facts.data_type;
    if (c->active_overview < 0) spec->base_tile = facts.side;
    if (c->mode == MODE_READ) mark_cut_tiles(c);
    return 0;
}

uint8_t* krv_tile_entry(const CFILE* c, int64_t tile) {
    const tile_record* t = c->tile;
    auto at = KRV_TILE_TABLE_AT + static_cast<size_t>(tile) * KRV_TILE_ENTRY_SIZE;
    bool known = t != nullptr && t->packet != nullptr && tile >= 0 && at + KRV_TILE_ENTRY_SIZE <= t->packet_bytes;
    return known ? t->packet + at : nullptr;
}

int krv_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    return read_tile(c, channels, planes, pitch, rows, nullptr);
}

int krv_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* color) {
    rzl_gettile_check(c);
    if (c->status != 0) return 0;
    if (channels != 1 && channels != 3 && channels != 4) return fails(c, RZL_UNSUP_KRVN, SOURCE, "channels");
    if (krv_tile_entry(c, c->line) == nullptr) return fails(c, RZL_NOT_STANDARD, SOURCE, "tile");
    if (wants_nothing(channels, buffers)) {
        ++c->line;
        return 1;
    }
    bool one_plane = !holds_colors(c) && !format_is_bilevel(c->format);
    if (one_plane && channels == 3) return read_colors(c, buffers, color);
    return read_tile(c, channels, buffers, full_pitch(c), c->tile->height, color);
}

int krv_get_tile16(CFILE* c, int channels, read_planes buffers, uint32_t* color) {
    if (!krv_can_be_16_bits(c, channels, SOURCE)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_get_tile(c, channels, buffers, color);
}

// The bytes of the file; none of a tile without data, whose colour is told.
int krv_get_rle_tile(CFILE* c, int channels, read_planes buffers, uint32_t* color) {
    rzl_gettile_check(c);
    if (c->status != 0) return 0;
    const uint8_t* place = krv_tile_entry(c, c->line);
    if (place == nullptr) return fails(c, RZL_NOT_STANDARD, SOURCE, "Getrletile");
    tile_entry entry = load_entry(place);
    int64_t room = channels > 0 && buffers[0] != nullptr ? c->rle_size : 0;
    int64_t bytes = entry.offset > 0 ? entry.size : 0;
    c->rle_size = static_cast<int32_t>(std::min(bytes, int64_t{INT32_MAX}));
    if (entry.offset <= 0 && color != nullptr) *color = entry.color;
    if (bytes > room) return fails(c, RZL_RLE_BUFFER_SMALL, SOURCE, "Getrletile");
    auto count = static_cast<size_t>(bytes);
    bool read = bytes == 0 || (io_seek(c, krv_data_start(c) + entry.offset) && io_read(c, buffers[0], count) == count);
    if (!read) return fails(c, RZL_READ_FAILED, SOURCE, "Getrletile");
    ++c->line;
    return 1;
}
