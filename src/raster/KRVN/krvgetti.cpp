// Native files: the packet that tells where tiles stand, and reading them.
//
// What is believed of a packet. It must be in the file with an entry for each tile. A tile without data may be of any
// size, so a row of tiles is taken on trust up to ROW_PIXELS, and beyond that as far as the file has bytes for it.
#include <algorithm>
#include <cstring>

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
constexpr uint64_t MOST_EXPANSION = 16; // coded bytes a byte of pixels: bilevel runs of one pixel

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

krv_line first_line_of(const CFILE* c, const tile_target& t) {
    krv_line l = krv_new_line(c, t.count, t.planes);
    if (t.step != 0) l.step = t.step;
    return l;
}

// The same line `bytes` bytes further on in its planes.
krv_line moved_line(const krv_line& from, size_t bytes) {
    krv_line l = from;
    for (int i = 0; i < l.plane_count; ++i)
        if (l.planes[i] != nullptr) l.planes[i] += bytes;
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

// A line of a tile of that colour; `pixels` as the image counts them.
void fill_planes(const CFILE* c, const krv_line& l, int64_t pixels, uint32_t color) {
    bool bilevel = format_is_bilevel(c->format);
    bool real = c->format == RZL_FORMAT_REAL32; // only whole numbers of 16 and 32 bits are filled as such
    for (int i = 0; i < l.plane_count; ++i) {
        if (l.planes[i] == nullptr) continue;
        if (bilevel || real) {
            int byte = bilevel ? ((color & COLOR_BITS) != 0 ? ALL_SET : 0) : static_cast<int>(color & 0xFF);
            std::memset(l.planes[i], byte, line_bytes(c, pixels));
        } else {
            fill_line(l.planes[i], l, plane_value(c, color, i));
        }
    }
}

void fill_tile(const CFILE* c, const tile_target& t, uint32_t color) {
    krv_line first = first_line_of(c, t);
    for (uint32_t row = 0; row < t.rows; ++row)
        fill_planes(c, moved_line(first, row * t.pitch), c->xsize, color);
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
    krv_line first = first_line_of(c, t);
    for (uint32_t row = 0; row < t.rows; ++row) {
        krv_line l = moved_line(first, row * t.pitch);
        if (krv_get_line(c, l.plane_count, l.planes) <= 0) return false;
    }
    return true;
}

// Whether the lines of a tile are one piece of memory.
bool is_one_piece(const tile_target& t, const krv_line& l) {
    return t.pitch == static_cast<size_t>(l.pixels) * l.step;
}

// Lines one behind the other. Those that all have one size are read as one where they go as one.
bool read_ordinary(CFILE* c, const tile_target& t, uint32_t bytes) {
    krv_decoder decode = krv_decoder_of(c);
    if (decode == nullptr) {
        krv_refuse_format(c, SOURCE);
        return false;
    }
    krv_source s;
    krv_source_begin(&s, c, bytes);
    bool whole = true;
    krv_line first = first_line_of(c, t);
    bool piece = is_one_piece(t, first);
    uint32_t rows = t.rows;
    if (piece && rows > 0 && (decode == krv_decode_raw || decode == krv_decode_groups)) {
        first.pixels *= rows;
        rows = 1;
    }
    for (uint32_t row = 0; row < rows && whole; ++row) {
        krv_line l = moved_line(first, row * t.pitch);
        if (piece) l.slack = int64_t{rows - row - 1} * l.pixels;
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

// ---- lines out of the coding of a row of tiles ----------------------------------------------------------------------
//
// Lines that are read from a row's first on go from the coded tiles to the caller at once: the tiles of the row are
// brought into memory as they are stored, and each has its place there, from which its next line is decoded. A row of
// which the file does not have all, or with a tile that claims more or fewer bytes than any coding of it takes, is left
// to the way over row_buffer, which reads what it needs and gives no line of a row in which it finds damage. Runs that
// turn out to be damaged here end the lines where they are.

} // namespace

// Where the coding of a tile goes on. Without data: next is null.
struct tile_place {
    const uint8_t* next;
    const uint8_t* end;
    uint32_t color;
};

struct krv_coded_row {
    int32_t next_line;  // of the image; -1: the row is not in use
    uint8_t* block;     // owned: the coding
    size_t room;        // bytes of it
    tile_place* places; // owned: one a tile
    uint32_t columns;   // tiles
};

namespace {

bool needs_room(CFILE* c, krv_coded_row* row, size_t bytes) {
    uint32_t columns = c->tile->tiles_across;
    if (row->places == nullptr || row->columns != columns) {
        mem_free(row->places);
        row->places = mem_new_array<tile_place>(columns);
        row->columns = row->places != nullptr ? columns : 0;
    }
    if (row->block == nullptr || row->room < bytes) {
        mem_free(row->block);
        row->block = static_cast<uint8_t*>(mem_alloc(std::max<size_t>(bytes, 1)));
        row->room = row->block != nullptr ? bytes : 0;
    }
    if (row->places != nullptr && row->block != nullptr) return true;
    return fails(c, RZL_NO_MEMORY, SOURCE, "tile row");
}

// Bytes of the tiles of a row from `first` on. False when they are not what a coding has.
bool coded_bytes(CFILE* c, int64_t first, uint64_t* bytes) {
    *bytes = 0;
    for (int64_t i = first; i < first + c->tile->tiles_across; ++i) {
        const uint8_t* place = krv_tile_entry(c, i);
        if (place == nullptr) return false;
        tile_entry entry = load_entry(place);
        if (entry.offset <= 0) continue;
        tile_pose pose(c, i);
        if (!krv_lines_fit(c->format, static_cast<uint32_t>(c->xsize), static_cast<uint32_t>(c->ysize), entry.size))
            return false;
        *bytes += entry.size;
    }
    uint64_t pixels = uint64_t{c->tile->width} * c->tile->tiles_across * c->tile->height;
    auto planes = static_cast<uint64_t>(std::max(c->samples, 4));
    return *bytes / MOST_EXPANSION <= line_bytes(c, 8) * planes * (pixels / 8 + 1);
}

// Tiles that stand one behind the other in the file are read together. False when the file does not have them.
bool read_row(CFILE* c, krv_coded_row* row, int64_t first) {
    int64_t start = krv_data_start(c);
    uint8_t* at = row->block;
    uint8_t* begin = at; // of the tiles that are read together, and where they stand in the file
    int64_t from = 0;
    int64_t behind = 0;
    auto read = [&] {
        auto bytes = static_cast<size_t>(at - begin);
        return bytes == 0 || (io_seek(c, start + from) && io_read(c, begin, bytes) == bytes);
    };
    for (uint32_t i = 0; i < c->tile->tiles_across; ++i) {
        tile_entry entry = load_entry(krv_tile_entry(c, first + i));
        row->places[i] = {nullptr, nullptr, entry.color};
        if (entry.offset <= 0) continue;
        if (entry.offset != behind) {
            if (!read()) return false;
            begin = at;
            from = entry.offset;
        }
        row->places[i] = {at, at + entry.size, 0};
        at += entry.size;
        behind = entry.offset + entry.size;
    }
    return read();
}

// The row of tiles that begins with the line `line`. False, with or without a status, when it can't be had so.
bool take_row(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    int64_t first = int64_t{c->line} / c->tile->height * c->tile->tiles_across;
    uint64_t bytes = 0;
    if (!coded_bytes(c, first, &bytes)) return false;
    if (spec->row == nullptr) spec->row = mem_new<krv_coded_row>();
    if (spec->row == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "tile row");
    return needs_room(c, spec->row, static_cast<size_t>(bytes)) && read_row(c, spec->row, first);
}

// Whether the line is the next of the row in hand, or begins one.
bool stands_in_row(CFILE* c) {
    bool plain = c->mode == MODE_READ && !has_flag(c, FLAG_SCANNABLE) && !krv_is_coded(c);
    bool inside = c->line >= 0 && c->line < c->ysize && c->tile->packet != nullptr;
    if (!plain || !inside || krv_decoder_of(c) == nullptr) return false;
    if (c->line % int64_t{c->tile->height} == 0) return take_row(c);
    const krv_coded_row* row = krv_spec_of(c)->row;
    return row != nullptr && row->next_line == c->line && row->columns == c->tile->tiles_across;
}

// A line of elements as they stand.
bool copy_place(tile_place* place, uint8_t* out, size_t bytes) {
    if (static_cast<size_t>(place->end - place->next) < bytes) return false;
    if (out != nullptr) std::memcpy(out, place->next, bytes);
    place->next += bytes;
    return true;
}

bool decode_place(const CFILE* c, krv_decoder decode, krv_line* l, tile_place* place) {
    if (decode == krv_decode_raw) return copy_place(place, l->planes[0], static_cast<size_t>(l->pixels) * l->element);
    if (c->format == RZL_FORMAT_BILEVEL_RUNS && l->planes[0] != nullptr)
        std::memset(l->planes[0], 0, static_cast<size_t>(l->pixels + 15) / 16 * 2);
    krv_source s;
    krv_source_over(&s, place->next, static_cast<size_t>(place->end - place->next));
    l->plane = 0;
    l->pixel = 0;
    l->whole = l->broken = false;
    decode(l, &s);
    place->next = s.next;
    return l->whole;
}

// The line in the caller's planes, tile by tile.
bool decode_row(CFILE* c, krv_coded_row* row, krv_line l) {
    const tile_record* t = c->tile;
    krv_decoder decode = krv_decoder_of(c);
    size_t pitch = line_bytes(c, t->width) * samples_together(c);
    bool words = c->format == RZL_FORMAT_BILEVEL;
    int64_t left = c->xsize;
    for (uint32_t i = 0; i < t->tiles_across; ++i, left -= t->width) {
        int64_t pixels = std::min(left, int64_t{t->width});
        l.pixels = words ? (pixels + 15) / 16 : pixels;
        l.slack = left - pixels;
        tile_place* place = &row->places[i];
        if (place->next == nullptr) {
            fill_planes(c, l, pixels, place->color);
        } else if (!decode_place(c, decode, &l, place)) {
            return fails(c, RZL_READ_FAILED, SOURCE, "tile");
        }
        for (int p = 0; p < l.plane_count; ++p)
            if (l.planes[p] != nullptr) l.planes[p] += pitch;
    }
    return true;
}

// ---- tiles of one plane as colours

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

void krv_free_coded_row(krv_spec* spec) {
    if (spec->row == nullptr) return;
    mem_free(spec->row->block);
    mem_free(spec->row->places);
    mem_free(spec->row);
    spec->row = nullptr;
}

int krv_get_tile_line(CFILE* c, int channels, read_planes buffers) {
    bool together = has_flag(c, FLAG_INTERLEAVED);
    bool one_plane = together || c->samples < 2;
    bool colors = !together && one_plane && channels == 3 && !format_is_bilevel(c->format);
    bool stands = stands_in_row(c);
    if (c->status != 0) return 0;
    krv_coded_row* row = krv_spec_of(c)->row;
    if (row != nullptr) row->next_line = -1;
    if (!stands) return -1;
    // Without the first plane nothing is delivered of one plane as colours, as by row_buffer.
    tile_target target = target_of(c, one_plane ? std::min(channels, 1) : channels, buffers, 0, 1);
    if (!decode_row(c, row, first_line_of(c, target))) return 0;
    ++c->line;
    row->next_line = c->line;
    if (colors && buffers[0] != nullptr)
        rzl_apply_color_table(c, buffers[0], buffers[1], buffers[2], static_cast<int64_t>(line_bytes(c, c->xsize)));
    return c->xsize;
}

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
    krv_free_coded_row(spec);
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

void krv_give_tile_directory(const CFILE* c, void* words) {
    constexpr uint32_t NO_DATA = 0x80000000;
    int64_t tiles = int64_t{c->tile->tiles_across} * c->tile->tiles_down;
    for (int64_t i = 0; i < tiles; ++i) {
        const uint8_t* place = krv_tile_entry(c, i);
        tile_entry entry = place != nullptr ? load_entry(place) : tile_entry{};
        uint32_t word = entry.offset > 0 ? entry.size : NO_DATA | entry.color;
        std::memcpy(static_cast<uint8_t*>(words) + static_cast<size_t>(i) * sizeof word, &word, sizeof word);
    }
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
