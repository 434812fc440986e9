// Targa files: telling them from others, the header of a file that is opened, and header fields.
#include <algorithm>
#include <cstring>

#include "raster/TARGA/tga.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "TARGA/tgaopen";
constexpr size_t TABLE_COLORS = 256; // that a byte can stand for

// ---- header --------------------------------------------------------------------------------------------------------

// What the header says, with what does not count left out: a map's measures without a map.
void parse_header(const uint8_t* h, tga_spec* spec) {
    byte_cursor at = cursor_over(h, TGA_HEADER_SIZE);
    spec->id_length = take_u8(&at);
    spec->has_map = take_u8(&at) != 0;
    spec->image_type = take_u8(&at);
    spec->map_first = take_u16le(&at);
    spec->map_length = take_u16le(&at);
    spec->map_bits = take_u8(&at);
    spec->x_origin = take_u16le(&at);
    spec->y_origin = take_u16le(&at);
    (void)take_bytes(&at, 4); // the size
    spec->pixel_bits = take_u8(&at);
    spec->descriptor = take_u8(&at);
    if (!spec->has_map) spec->map_first = spec->map_length = spec->map_bits = 0;
    if (spec->map_bits == 15) spec->map_bits = 16;
    spec->compressed = tga_is_coded(spec) ? 1 : 0;
    int64_t map_bytes = int64_t{spec->map_bits} * spec->map_length / 8;
    spec->data_offset = static_cast<int64_t>(TGA_HEADER_SIZE) + spec->id_length + map_bytes;
}

bool has_footer(CFILE* c, int64_t size, uint8_t* footer) {
    constexpr char MARK[] = "TRUEVISION-XFILE.";
    auto place = size - static_cast<int64_t>(TGA_FOOTER_SIZE);
    return place >= static_cast<int64_t>(TGA_HEADER_SIZE) && io_seek(c, place) &&
           io_read(c, footer, TGA_FOOTER_SIZE) == TGA_FOOTER_SIZE && std::memcmp(footer + 8, MARK, sizeof MARK) == 0;
}

// Bytes of the file that can be header, map and lines.
int64_t usable_size(CFILE* c) {
    uint8_t footer[TGA_FOOTER_SIZE];
    int64_t size = io_size(c);
    return has_footer(c, size, footer) ? size - static_cast<int64_t>(TGA_FOOTER_SIZE) : size;
}

bool makes_sense(const uint8_t* h, const tga_spec* spec) {
    int32_t most = is_extended() ? TGA_MOST_PIXELS : TGA_USUAL_PIXELS;
    int32_t width = load_u16le(h + 12);
    int32_t height = load_u16le(h + 14);
    bool map_bits = spec->map_bits == 16 || spec->map_bits == 24 || spec->map_bits == 32;
    if (spec->has_map && (!map_bits || spec->map_length > TGA_MOST_MAP_LENGTH)) return false;
    bool bits = spec->pixel_bits % 8 == 0 && spec->pixel_bits >= 8 && spec->pixel_bits <= 32;
    if (!bits && !(spec->pixel_bits == 15 && is_extended())) return false;
    return width >= 1 && width <= most && height >= 1 && height <= most && h[17] <= (TGA_ORDER_BITS | 0x0F);
}

// Sizes are believed as far as the file reaches: identification and map must be there, and lines are read as far as
// they are.
bool tga_probe(const file_probe* p) {
    tga_spec spec = {};
    parse_header(p->b, &spec);
    return makes_sense(p->b, &spec) && spec.data_offset <= usable_size(p->c);
}

// ---- version 2 -----------------------------------------------------------------------------------------------------

// The extension area: its size at byte 0, and at 474 the shape of a pixel as two 16-bit numbers, width over height.
void read_extension(CFILE* c, tga_spec* spec) {
    constexpr size_t AREA_SIZE = 495;
    constexpr size_t AT_ASPECT = 474;
    uint8_t footer[TGA_FOOTER_SIZE];
    uint8_t area[AREA_SIZE];
    if (!has_footer(c, io_size(c), footer)) return;
    spec->version = 2;
    uint32_t place = load_u32le(footer);
    if (place < TGA_HEADER_SIZE || !io_seek(c, place) || io_read(c, area, AREA_SIZE) != AREA_SIZE) return;
    if (load_u16le(area) < AREA_SIZE) return;
    int across = load_u16le(area + AT_ASPECT);
    int down = load_u16le(area + AT_ASPECT + 2);
    if (across != 0 && down != 0) spec->aspect_ratio = static_cast<double>(across) / down;
}

// ---- colour map ----------------------------------------------------------------------------------------------------

// Colours of 5 bits.
void load_words(const uint8_t* map, size_t length, uint8_t* triples) {
    for (size_t i = 0; i < length; ++i, triples += 3) {
        unsigned value = load_u16le(map + i * 2);
        triples[0] = static_cast<uint8_t>(value >> 10 & 31);
        triples[1] = static_cast<uint8_t>(value >> 5 & 31);
        triples[2] = static_cast<uint8_t>(value & 31);
    }
}

bool read_map(CFILE* c, const tga_spec* spec) {
    if (!spec->has_map) return true;
    auto bytes = static_cast<uint64_t>(spec->map_length) * static_cast<uint64_t>(spec->map_bits) / 8;
    mem_guard<uint8_t> map(io_read_block(c, bytes, 0, SOURCE, nullptr));
    return map && tga_keep_map(c, map.get());
}

// ---- opening -------------------------------------------------------------------------------------------------------

int tga_open(CFILE* c, const char*) {
    tga_spec* spec = tga_spec_of(c);
    uint8_t h[TGA_HEADER_SIZE];
    if (io_read(c, h, sizeof h) != sizeof h) return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    parse_header(h, spec);
    c->xsize = load_u16le(h + 12);
    c->ysize = load_u16le(h + 14);
    if (tga_take_image_type(c) != 0) return 1;
    if (is_extended()) read_extension(c, spec);
    auto id_length = static_cast<size_t>(spec->id_length);
    if (!io_seek(c, TGA_HEADER_SIZE) || io_read(c, spec->image_id, id_length) != id_length)
        return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    if (!read_map(c, spec)) return 1;
    spec->unpack = tga_unpack_of(spec);
    size_t step = tga_step(spec);
    auto width = static_cast<size_t>(c->xsize);
    spec->row = mem_new_array<uint8_t>(width * step + TGA_ROW_SLACK);
    if (spec->row == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (!io_seek(c, spec->data_offset)) return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    if (!tga_is_coded(spec)) return 0;
    // Packets of 128 pixels are the best that can be.
    auto least = static_cast<int64_t>(width * (step + 1) / TGA_PACKET_MOST);
    return rzl_record_lines(c, spec->data_offset, least);
}

int tga_initialise(CFILE* c) {
    tga_spec* spec = tga_spec_of(c);
    spec->image_type = TGA_COLOR;
    spec->compressed = TGA_CODING_UNSET;
    spec->pixel_bits = 24;
    spec->descriptor = TGA_TOP_DOWN;
    spec->file_line = -1;
    c->format = RZL_FORMAT_RGB;
    return format_layout(c->format, &c->samples, &c->bits) ? 0 : 1;
}

// ---- fields --------------------------------------------------------------------------------------------------------

// The four orders by descriptor bits 4 and 5.
constexpr int32_t ORDERS[4] = {RZL_BOTTOM_UP, RZL_BOTTOM_UP_MIRRORED, RZL_TOP_DOWN, RZL_TOP_DOWN_MIRRORED};

int32_t orientation_of(const tga_spec* spec) {
    return ORDERS[(spec->descriptor & TGA_ORDER_BITS) >> 4];
}

int tga_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const tga_spec* spec = tga_spec_of(c);
    switch (field) {
    case RZL_FIELD_VLT_TYPE:
    case RZL_FIELD_TARGA_MAP: give_int(value, spec->has_map ? RZL_VLT_ENTRIES : RZL_VLT_NONE); break;
    case RZL_FIELD_VLT_ENTRIES:
    case RZL_FIELD_TARGA_MAP_LENGTH: give_int(value, spec->map_length); break;
    case RZL_FIELD_ORIENTATION: give_int(value, orientation_of(spec)); break;
    case RZL_FIELD_VERSION: give_int(value, spec->version); break;
    case RZL_FIELD_ASPECT_RATIO: give_number(value, spec->aspect_ratio > 0 ? spec->aspect_ratio : 1.0); break;
    case RZL_FIELD_COMPRESSION: give_int(value, spec->compressed); break;
    case RZL_FIELD_TARGA_MAP_FIRST: give_int(value, spec->map_first); break;
    case RZL_FIELD_TARGA_MAP_BITS: give_int(value, spec->map_bits); break;
    case RZL_FIELD_TARGA_X_ORIGIN: give_int(value, spec->x_origin); break;
    case RZL_FIELD_TARGA_Y_ORIGIN: give_int(value, spec->y_origin); break;
    case RZL_FIELD_TARGA_ATTRIBUTES: give_int(value, spec->descriptor & TGA_ATTRIBUTE_BITS); break;
    case RZL_FIELD_TARGA_ID_LENGTH: give_int(value, spec->id_length); break;
    case RZL_FIELD_TARGA_ID: give_text(value, sizeof spec->image_id, spec->image_id); break;
    case RZL_FIELD_TARGA_PIXEL_BITS: give_int(value, spec->pixel_bits); break;
    default: break;
    }
    return 0;
}

// Coding and depth that follow from the data format of a new file.
void apply_format(const CFILE* c, tga_spec* spec) {
    bool is_color = c->samples == 3;
    spec->compressed = c->format == RZL_FORMAT_BYTE_RUNS || c->format == RZL_FORMAT_PLANE_RUNS ? 1 : 0;
    if (is_color) {
        spec->pixel_bits = c->bits == 5 ? 15 : 24;
    } else {
        spec->pixel_bits = c->bits == 4 ? 4 : 8;
    }
}

int set_format(CFILE* c, int32_t format) {
    if (rzl_take_format(c, format, RZL_UNSUP_TGA, SOURCE) != 0) return 1;
    apply_format(c, tga_spec_of(c));
    return 0;
}

void set_map(CFILE* c, tga_spec* spec, int32_t length) {
    spec->has_map = length != 0;
    spec->map_length = length;
    spec->map_bits = length != 0 ? 24 : 0;
    apply_format(c, spec);
}

// Bits of the order that were set stay set.
void add_orientation(tga_spec* spec, int32_t orientation) {
    for (unsigned i = 1; i < 4; ++i)
        if (ORDERS[i] == orientation) spec->descriptor = static_cast<uint8_t>(spec->descriptor | i << 4);
}

int set_map_bits(CFILE* c, tga_spec* spec, int32_t bits) {
    if (bits != 15 && bits != 16 && bits != 24 && bits != 32) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "map bits");
    spec->map_bits = bits;
    return 0;
}

// Without a length there is no identification to set.
void set_id(tga_spec* spec, const char* text) {
    if (spec->id_length == 0) return;
    std::memset(spec->image_id, 0, sizeof spec->image_id);
    std::memcpy(spec->image_id, text, strnlen(text, TGA_MOST_ID));
}

// A length that its byte does not hold is none.
void set_id_length(tga_spec* spec, int32_t length) {
    spec->id_length = length >= 0 && length <= static_cast<int32_t>(TGA_MOST_ID) + 1
                          ? std::min(length, static_cast<int32_t>(TGA_MOST_ID))
                          : 0;
}

int tga_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    tga_spec* spec = tga_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    int32_t number = int_of(value);
    switch (field) {
    case RZL_FIELD_FORMAT: return set_format(c, number);
    case RZL_FIELD_VLT_TYPE:
    case RZL_FIELD_TARGA_MAP: set_map(c, spec, number != 0 ? static_cast<int32_t>(TABLE_COLORS) : 0); return 0;
    case RZL_FIELD_VLT_ENTRIES:
    case RZL_FIELD_TARGA_MAP_LENGTH:
        spec->map_length = number;
        if (number != 0) set_map(c, spec, number);
        return 0;
    case RZL_FIELD_ORIENTATION: add_orientation(spec, number); return 0;
    case RZL_FIELD_COMPRESSION: spec->compressed = number; return 0;
    case RZL_FIELD_TARGA_MAP_FIRST: spec->map_first = number; return 0;
    case RZL_FIELD_TARGA_MAP_BITS: return set_map_bits(c, spec, number);
    case RZL_FIELD_TARGA_X_ORIGIN: spec->x_origin = number; return 0;
    case RZL_FIELD_TARGA_Y_ORIGIN: spec->y_origin = number; return 0;
    case RZL_FIELD_TARGA_ATTRIBUTES:
        spec->descriptor = static_cast<uint8_t>((spec->descriptor & ~TGA_ATTRIBUTE_BITS) | (number & 15));
        return 0;
    case RZL_FIELD_TARGA_ID_LENGTH: set_id_length(spec, number); return 0;
    case RZL_FIELD_TARGA_ID: set_id(spec, static_cast<const char*>(value)); return 0;
    case RZL_FIELD_TARGA_PIXEL_BITS:
        spec->pixel_bits = number;
        c->bits = number == 15 || number == 16 ? 5 : 8;
        return 0;
    default: return 0;
    }
}

// The record says the whole order, so what was set before is taken back; and its data format comes last, and with it
// the coding.
int tga_set_stat(CFILE* c, const rzl_stat* stat) {
    tga_spec* spec = tga_spec_of(c);
    bool fixed = has_flag(c, FLAG_HEADER_EXISTS);
    if (!fixed) spec->descriptor = static_cast<uint8_t>(spec->descriptor & ~TGA_ORDER_BITS);
    if (rzl_set_stat_of_fields(c, stat) != 0) return 1;
    return fixed ? 0 : set_format(c, stat->format);
}

// Entries stand at their own index; those that are not in the map are black.
int tga_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const tga_spec* spec = tga_spec_of(c);
    if (!spec->has_map || c->color_table == nullptr) return refuse(c, RZL_NO_VLT, SOURCE, "Get_vlt");
    int32_t room = std::max(spec->map_length, static_cast<int32_t>(TABLE_COLORS));
    int32_t known = std::max(spec->map_first + spec->map_length, static_cast<int32_t>(TABLE_COLORS));
    give_vlt(c->color_table, static_cast<size_t>(std::min(room, known)), c->vlt_bits, entries);
    return 0;
}

void tga_free_specs(CFILE* c) {
    tga_spec* spec = tga_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->row);
    spec->row = nullptr;
}

// The data format of an image type, and whether it goes with a colour map. Colours are what they are, map or not.
struct image_kind {
    uint8_t image_type;
    int32_t format;
    bool with_map, without_map;
};
constexpr image_kind KINDS[] = {
    {TGA_MAPPED, RZL_FORMAT_BYTE, true, false},
    {TGA_COLOR, RZL_FORMAT_RGB, true, true},
    {TGA_GREY, RZL_FORMAT_BYTE, false, true},
    {TGA_MAPPED | TGA_CODED, RZL_FORMAT_BYTE_RUNS, true, false},
    {TGA_COLOR | TGA_CODED, RZL_FORMAT_PLANE_RUNS, true, true},
    {TGA_GREY | TGA_CODED, RZL_FORMAT_BYTE_RUNS, false, true},
};

constexpr int32_t FORMATS[] = {RZL_FORMAT_RGB, RZL_FORMAT_PLANE_RUNS, RZL_FORMAT_BYTE, RZL_FORMAT_BYTE_RUNS};

constexpr field_limit LIMITS[] = {
    {RZL_FIELD_VLT_ENTRIES, 0, TGA_MOST_MAP_LENGTH},
    {RZL_FIELD_TARGA_MAP_LENGTH, 0, TGA_MOST_MAP_LENGTH},
    {RZL_FIELD_COMPRESSION, 0, 1},
    {RZL_FIELD_TARGA_MAP_FIRST, 0, TGA_MOST_PIXELS},
    {RZL_FIELD_TARGA_X_ORIGIN, 0, TGA_MOST_PIXELS},
    {RZL_FIELD_TARGA_Y_ORIGIN, 0, TGA_MOST_PIXELS},
    {RZL_FIELD_TARGA_PIXEL_BITS, 1, 32},
};

constexpr field_type TYPES[] = {{RZL_FIELD_TARGA_ID, field_kind::text, TGA_MOST_ID + 1}};

constexpr format_slots SLOTS = {
    .Get_line = tga_get_line,
    .Put_line = tga_put_line,
    .Get_hdr_data = tga_get_hdr_data,
    .Set_hdr_data = tga_set_hdr_data,
    .Set_stat = tga_set_stat,
    .Get_vlt = tga_get_vlt,
    .Wrt_hdr = tga_write_header,
    .Randomize = rzl_randomize_nothing,
    .Free_specs = tga_free_specs,
};

} // namespace

extern const format_module tga_module;
const format_module tga_module = {
    .word = SOURCE,
    .squetch_word = "Targa squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(tga_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .types = TYPES,
    .probe = tga_probe,
    .open = tga_open,
    .initialise = tga_initialise,
};

bool tga_keep_map(CFILE* c, const uint8_t* map) {
    const tga_spec* spec = tga_spec_of(c);
    auto first = static_cast<size_t>(spec->map_first);
    auto length = static_cast<size_t>(spec->map_length);
    bool words = spec->map_bits == 16;
    uint8_t* colors = new_color_table(c, first + length, words ? 5 : 8, SOURCE);
    if (colors == nullptr) return false;
    if (words) {
        load_words(map, length, colors + first * 3);
    } else {
        load_colors(map, length, {.step = static_cast<size_t>(spec->map_bits) / 8, .blue_first = true},
                    colors + first * 3);
    }
    return true;
}

int tga_take_image_type(CFILE* c) {
    tga_spec* spec = tga_spec_of(c);
    c->format = 0;
    for (const image_kind& kind : KINDS) {
        if (kind.image_type != spec->image_type) continue;
        bool fits = spec->has_map ? kind.with_map : kind.without_map;
        if (fits) c->format = kind.format;
    }
    if (c->format == 0) return refuse(c, RZL_UNSUP_TGA, SOURCE, nullptr);
    (void)format_layout(c->format, &c->samples, &c->bits);
    bool is_color = c->samples == 3;
    if (is_color) spec->has_map = false;
    if (is_color && (spec->pixel_bits == 15 || spec->pixel_bits == 16)) c->bits = 5;
    return 0;
}
