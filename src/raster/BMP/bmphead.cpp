// BMP files: the headers and the colour table of an existing file.
#include <algorithm>
#include <bit>
#include <cstring>

#include "raster/BMP/bmp.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "BMP/bmpopen";

int refuse_file(CFILE* c, int line = __builtin_LINE()) {
    return refuse(c, RZL_READ_FAILED, SOURCE, nullptr, line);
}
int refuse_feature(CFILE* c, int line = __builtin_LINE()) {
    return refuse(c, RZL_UNSUP_BMP, SOURCE, nullptr, line);
}

// What is taken from the information header, and from behind it.
struct info_header {
    int64_t width, height;
    int32_t bit_count;
    uint32_t compression, across, down, colors_used;
    uint32_t masks[3]; // red, green, blue
};

// ---- headers -------------------------------------------------------------------------------------------------------

bool size_is_known(const bmp_spec* spec) {
    if (spec->header_size == BMP_CORE_HEADER_SIZE || spec->header_size == BMP_INFO_HEADER_SIZE) return true;
    return spec->extended && spec->header_size >= BMP_LEAST_LATER_SIZE && spec->header_size <= BMP_MOST_HEADER_SIZE;
}

// `h` is the header with its size.
info_header parse_header(const uint8_t* h, const bmp_spec* spec) {
    info_header info = {};
    byte_cursor at = cursor_over(h + 4, spec->header_size - 4);
    bool is_core = spec->header_size == BMP_CORE_HEADER_SIZE;
    info.width = is_core ? take_u16le(&at) : static_cast<int32_t>(take_u32le(&at));
    info.height = is_core ? take_u16le(&at) : static_cast<int32_t>(take_u32le(&at));
    (void)take_u16le(&at); // planes
    info.bit_count = take_u16le(&at);
    if (is_core) return info;
    info.compression = take_u32le(&at);
    (void)take_u32le(&at); // size of the lines
    info.across = take_u32le(&at);
    info.down = take_u32le(&at);
    info.colors_used = take_u32le(&at);
    (void)take_u32le(&at); // important colours
    for (uint32_t& mask : info.masks)
        if (spec->header_size >= BMP_LEAST_LATER_SIZE) mask = take_u32le(&at);
    return info;
}

// Behind the 40 bytes the masks follow.
bool read_masks(CFILE* c, const bmp_spec* spec, info_header* info) {
    bool stands_apart = spec->header_size == BMP_INFO_HEADER_SIZE &&
                        (info->compression == BMP_BIT_FIELDS || info->compression == BMP_ALPHA_BIT_FIELDS);
    if (!stands_apart) return true;
    uint8_t masks[16];
    size_t size = info->compression == BMP_BIT_FIELDS ? 12 : 16;
    if (io_read(c, masks, size) != size) return false;
    for (size_t i = 0; i < 3; ++i)
        info->masks[i] = load_u32le(masks + i * 4);
    return true;
}

// ---- layout --------------------------------------------------------------------------------------------------------

// Which codings go with a bit count.
bool coding_fits(const bmp_spec* spec) {
    uint32_t coding = spec->compression;
    switch (spec->bit_count) {
    case 4: return coding == BMP_RAW || coding == BMP_RLE4;
    case 8: return coding == BMP_RAW || coding == BMP_RLE8;
    case 16:
    case 32:
        // Of headers of 64 bytes the number means another coding.
        return coding == BMP_RAW ||
               ((coding == BMP_BIT_FIELDS || coding == BMP_ALPHA_BIT_FIELDS) && spec->header_size != 64);
    default: return coding == BMP_RAW;
    }
}

bool bit_count_is_known(const bmp_spec* spec) {
    switch (spec->bit_count) {
    case 1:
    case 4:
    case 8:
    case 24: return true;
    case 16:
    case 32: return spec->extended && spec->header_size != BMP_CORE_HEADER_SIZE;
    default: return false;
    }
}

int32_t format_of(const bmp_spec* spec) {
    if (spec->bit_count == 1) return RZL_FORMAT_BILEVEL;
    if (spec->bit_count > 8) return RZL_FORMAT_RGB;
    return bmp_is_coded(spec) ? RZL_FORMAT_BYTE_RUNS : RZL_FORMAT_BYTE;
}

// The lines must be such as a file of this size can have one of; no memory is taken for others.
bool row_is_possible(CFILE* c, const bmp_spec* spec) {
    int64_t size = io_size(c);
    if (size < 0) return true; // what can't be told is met on reading
    uint64_t most_a_byte = bmp_is_coded(spec) ? BMP_RUN_MOST : 1;
    uint64_t row = bmp_is_coded(spec) ? static_cast<uint64_t>(c->xsize) : bmp_row_bytes(c->xsize, spec->bit_count);
    return row / most_a_byte <= static_cast<uint64_t>(size);
}

int take_layout(CFILE* c, bmp_spec* spec, const info_header& info) {
    spec->bit_count = info.bit_count;
    spec->compression = info.compression;
    if (!bit_count_is_known(spec)) return refuse_file(c);
    if (!coding_fits(spec)) return refuse_feature(c);
    bool sizes_fit = info.width >= 1 && info.height != 0 && info.height > INT32_MIN;
    if (!sizes_fit) return refuse_file(c);
    c->xsize = static_cast<int32_t>(info.width);
    c->ysize = static_cast<int32_t>(info.height < 0 ? -info.height : info.height);
    spec->orientation = info.height < 0 ? RZL_TOP_DOWN : RZL_BOTTOM_UP;
    bool is_core = spec->header_size == BMP_CORE_HEADER_SIZE;
    if (is_core && !spec->extended) spec->orientation = 0;
    spec->across = static_cast<int32_t>(std::min<uint32_t>(info.across, INT32_MAX));
    spec->down = static_cast<int32_t>(std::min<uint32_t>(info.down, INT32_MAX));
    c->format = format_of(spec);
    (void)format_layout(c->format, &c->samples, &c->bits);
    if (spec->bit_count < 8) c->bits = spec->bit_count;
    return row_is_possible(c, spec) ? 0 : refuse_file(c);
}

// ---- colours -------------------------------------------------------------------------------------------------------

int read_colors(CFILE* c, bmp_spec* spec, const info_header& info) {
    if (spec->bit_count > 8) return 0;
    uint32_t count = info.colors_used != 0 ? info.colors_used : 1u << spec->bit_count;
    size_t step = spec->header_size == BMP_CORE_HEADER_SIZE ? 3 : 4;
    if (!io_has(c, static_cast<uint64_t>(count) * step)) return refuse_file(c);
    count = std::min<uint32_t>(count, BMP_COLORS); // no pixel stands for one behind
    uint8_t table[BMP_COLORS * 4];
    if (io_read(c, table, count * step) != count * step) return refuse_file(c);
    uint8_t* colors = new_color_table(c, BMP_COLORS, 8, SOURCE);
    if (colors == nullptr) return 1;
    load_colors(table, count, {.step = step, .blue_first = true}, colors);
    spec->colour_count = static_cast<int32_t>(count);
    return 0;
}

// ---- bit fields ----------------------------------------------------------------------------------------------------

// A value of fewer than 8 bits as a byte: its bits repeated.
uint8_t widened(uint32_t value, int bits) {
    uint32_t byte = 0;
    for (int at = 8 - bits; at > -bits; at -= bits)
        byte |= at >= 0 ? value << at : value >> -at;
    return static_cast<uint8_t>(byte);
}

// The top 8 bits of a mask, whose bits must stand together. None: the colour is not there.
bool make_field(uint32_t mask, bmp_bit_field* field) {
    *field = {};
    if (mask == 0) return true;
    int low = std::countr_zero(mask);
    uint32_t most = mask >> low;
    if ((most & (most + 1)) != 0) return false;
    int bits = std::popcount(most);
    field->shift = low + std::max(bits - 8, 0);
    field->mask = mask & ~((1u << field->shift) - 1);
    int kept = std::min(bits, 8);
    for (uint32_t v = 0; v < 1u << kept; ++v)
        field->bytes[v] = widened(v, kept);
    return true;
}

int make_fields(CFILE* c, bmp_spec* spec, info_header info) {
    if (spec->bit_count != 16 && spec->bit_count != 32) return 0;
    if (spec->compression == BMP_RAW) {
        constexpr uint32_t WORD[3] = {0x7C00, 0x03E0, 0x001F};
        constexpr uint32_t LONG_WORD[3] = {0xFF0000, 0x00FF00, 0x0000FF};
        std::memcpy(info.masks, spec->bit_count == 16 ? WORD : LONG_WORD, sizeof info.masks);
    }
    spec->fields = mem_new_array<bmp_bit_field>(3);
    if (spec->fields == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    for (size_t i = 0; i < 3; ++i) {
        bool in_pixel = spec->bit_count == 32 || info.masks[i] <= 0xFFFF;
        if (!in_pixel || !make_field(info.masks[i], &spec->fields[i])) return refuse_feature(c);
    }
    return 0;
}

// ---- opening -------------------------------------------------------------------------------------------------------

int prepare_lines(CFILE* c, bmp_spec* spec) {
    auto row = static_cast<size_t>(bmp_row_bytes(c->xsize, spec->bit_count));
    spec->row_bytes = row;
    spec->row = mem_new_array<uint8_t>(row + static_cast<size_t>(c->xsize));
    if (spec->row == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (!io_seek(c, spec->data_offset)) return refuse_file(c);
    constexpr int64_t LEAST_LINE = 2;
    return bmp_is_coded(spec) ? rzl_record_lines(c, spec->data_offset, LEAST_LINE) : 0;
}

} // namespace

int bmp_open(CFILE* c, const char*) {
    bmp_spec* spec = bmp_spec_of(c);
    spec->extended = is_extended();
    uint8_t h[BMP_FILE_HEADER_SIZE + BMP_MOST_HEADER_SIZE];
    uint8_t* info_bytes = h + BMP_FILE_HEADER_SIZE;
    size_t start = BMP_FILE_HEADER_SIZE + 4;
    if (io_read(c, h, start) != start) return refuse_file(c);
    spec->data_offset = load_u32le(h + 10);
    spec->header_size = load_u32le(info_bytes);
    if (!size_is_known(spec)) return refuse_file(c);
    size_t rest = spec->header_size - 4;
    if (io_read(c, h + start, rest) != rest) return refuse_file(c);
    info_header info = parse_header(info_bytes, spec);
    if (take_layout(c, spec, info) != 0) return 1;
    if (!read_masks(c, spec, &info)) return refuse_file(c);
    if (read_colors(c, spec, info) != 0 || make_fields(c, spec, info) != 0) return 1;
    return prepare_lines(c, spec);
}
