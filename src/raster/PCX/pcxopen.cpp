// PCX files: the header and the palette of a file that is opened, and header fields.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "raster/PCX/pcx.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PCX/pcxopen";

// ---- palette -------------------------------------------------------------------------------------------------------

// The long palette, when the file's last bytes are one. False: bytes that are there could not be read.
bool read_long_palette(CFILE* c, pcx_spec* spec) {
    int64_t place = io_size(c) - static_cast<int64_t>(PCX_TRAILER_SIZE);
    if (place < static_cast<int64_t>(PCX_HEADER_SIZE)) return true;
    int mark = io_seek(c, place) ? io_getc(c) : -1;
    if (mark != PCX_PALETTE_MARK) return mark >= 0;
    spec->palette_kind = pcx_palette::colors_256;
    return io_read(c, spec->palette, PCX_LONG_BYTES) == PCX_LONG_BYTES;
}

// Some files of one bit leave their palette empty and mean black and white.
void repair_two_colors(pcx_spec* spec) {
    uint8_t* p = spec->palette;
    if (spec->bits == 1 && !spec->indexed && std::memcmp(p, p + 3, 3) == 0) {
        std::memset(p, 0, 3);
        std::memset(p + 3, 255, 3);
    }
}

// Bits have two colours, which stand in the header; a 12 near the end of such a file is one of its lines.
bool read_palette(CFILE* c, pcx_spec* spec, const uint8_t* h) {
    spec->palette_kind = pcx_palette::none;
    if (spec->planes != 1 && !spec->indexed) return true;
    bool may_be_long = spec->version == PCX_VERSION && spec->bits > 1;
    if (may_be_long && !read_long_palette(c, spec)) return fails(c, RZL_READ_FAILED, SOURCE, nullptr);
    if (spec->palette_kind != pcx_palette::none) return true;
    std::memset(spec->palette, 0, PCX_LONG_BYTES);
    std::memcpy(spec->palette, h + PCX_AT_PALETTE, PCX_SHORT_COLORS * 3);
    spec->palette_kind = pcx_palette::colors_16;
    if (is_extended()) repair_two_colors(spec);
    return true;
}

// ---- layout --------------------------------------------------------------------------------------------------------

int32_t format_of(const pcx_spec* spec) {
    bool coded = pcx_is_coded(spec);
    if (spec->indexed) return coded ? RZL_FORMAT_BYTE_RUNS : RZL_FORMAT_BYTE;
    if (spec->planes == 1) {
        if (spec->bits == 1) return coded ? RZL_FORMAT_BILEVEL_RUNS : RZL_FORMAT_BILEVEL;
        return coded && spec->bits == 8 ? RZL_FORMAT_BYTE_RUNS : RZL_FORMAT_BYTE;
    }
    return coded || spec->bits >= 4 ? RZL_FORMAT_PLANE_RUNS : RZL_FORMAT_RGB;
}

int take_header(CFILE* c, pcx_spec* spec, const uint8_t* h) {
    spec->version = h[1];
    spec->encoding = h[2];
    spec->bits = h[3];
    spec->across = load_u16le(h + 12);
    spec->down = load_u16le(h + 14);
    spec->planes = h[PCX_AT_PLANES];
    spec->bytes_per_line = load_u16le(h + PCX_AT_PLANES + 1);
    c->xsize = load_u16le(h + 8) - load_u16le(h + 4) + 1;
    c->ysize = load_u16le(h + 10) - load_u16le(h + 6) + 1;
    spec->indexed = is_extended() && spec->bits == 1 && spec->planes >= 2 && spec->planes <= 4;
    bool known = spec->planes == 1 || spec->planes == 3 || spec->planes == 4 || spec->indexed;
    if (!known) return refuse(c, RZL_UNSUP_PCX, SOURCE, "PCX numplanes");
    int64_t used = (int64_t{c->xsize} * spec->bits + 7) / 8;
    bool fits = c->xsize >= 1 && c->ysize >= 1 && used <= spec->bytes_per_line;
    if (!fits) return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    c->format = format_of(spec);
    (void)format_layout(c->format, &c->samples, &c->bits);
    c->bits = spec->indexed ? spec->planes : spec->bits;
    return 0;
}

int pcx_open(CFILE* c, const char*) {
    pcx_spec* spec = pcx_spec_of(c);
    uint8_t h[PCX_HEADER_SIZE];
    if (io_read(c, h, sizeof h) != sizeof h) return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    if (take_header(c, spec, h) != 0) return 1;
    if (!read_palette(c, spec, h) || !pcx_keep_colors(c)) return 1;
    size_t row = pcx_row_bytes(spec);
    spec->row = mem_new_array<uint8_t>(row + PCX_ROW_SLACK + static_cast<size_t>(c->xsize));
    if (spec->row == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (!io_seek(c, PCX_HEADER_SIZE)) return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    // Runs of 63 are the best that can be.
    auto least = static_cast<int64_t>(row / PCX_RUN_MOST * 2);
    return pcx_is_coded(spec) ? rzl_record_lines(c, PCX_HEADER_SIZE, least) : 0;
}

int pcx_initialise(CFILE* c) {
    pcx_spec* spec = pcx_spec_of(c);
    spec->version = PCX_VERSION;
    spec->encoding = PCX_RUN_CODED;
    spec->announced = -1;
    c->format = RZL_FORMAT_BYTE_RUNS;
    return format_layout(c->format, &c->samples, &c->bits) ? 0 : 1;
}

// ---- fields --------------------------------------------------------------------------------------------------------

constexpr double INCHES_A_MICROMETRE = 3.937007874015748e-5;
constexpr double MOST_DOTS = 65535;

int32_t colour_count_of(const pcx_spec* spec) {
    if (spec->palette_kind == pcx_palette::none) return 0;
    return spec->palette_kind == pcx_palette::colors_16 ? PCX_SHORT_COLORS : PCX_LONG_COLORS;
}

// Positive: micrometres a dot; negative: dots an inch.
void set_resolution(pcx_spec* spec, int32_t value) {
    double dots = value > 0 ? value * INCHES_A_MICROMETRE + 0.5 : -static_cast<double>(value);
    spec->across = static_cast<int32_t>(std::min(dots, MOST_DOTS));
    spec->down = spec->across;
}

int set_aspect(CFILE* c, pcx_spec* spec, double ratio) {
    bool is_ratio = std::isfinite(ratio) && ratio >= 0;
    if (!is_ratio) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "aspect ratio");
    spec->aspect_ratio = ratio;
    spec->down = static_cast<int32_t>(std::min(spec->across * ratio, MOST_DOTS));
    return 0;
}

void announce_colors(const CFILE* c, pcx_spec* spec, int32_t entries) {
    spec->announced = entries;
    bool few = entries <= static_cast<int32_t>(PCX_SHORT_COLORS) || format_is_bilevel(c->format);
    spec->palette_kind = few ? pcx_palette::colors_16 : pcx_palette::colors_256;
    if (entries == 0) spec->palette_kind = pcx_palette::none;
}

int pcx_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const pcx_spec* spec = pcx_spec_of(c);
    bool has_dots = spec->across > 0 && spec->down > 0;
    switch (field) {
    case RZL_FIELD_VLT_TYPE: give_int(value, colour_count_of(spec) > 0 ? RZL_VLT_ENTRIES : RZL_VLT_NONE); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, colour_count_of(spec)); break;
    case RZL_FIELD_RESOLUTION: give_int(value, has_dots ? -spec->across : 0); break;
    case RZL_FIELD_ASPECT_RATIO:
        give_number(value, has_dots ? static_cast<double>(spec->across) / spec->down : 0);
        break;
    case RZL_FIELD_COMPRESSION: give_int(value, spec->encoding); break;
    default: break;
    }
    return 0;
}

int set_format(CFILE* c, int32_t format) {
    int32_t bits = c->bits;
    if (rzl_take_format(c, format, RZL_UNSUP_PCX, "PCX") != 0) return 1;
    bool is_byte = format_is_byte(format);
    if (is_byte && bits == 4) c->bits = 4;
    return 0;
}

int pcx_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    pcx_spec* spec = pcx_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_FORMAT: return set_format(c, int_of(value));
    case RZL_FIELD_VLT_ENTRIES: announce_colors(c, spec, int_of(value)); return 0;
    case RZL_FIELD_RESOLUTION: set_resolution(spec, int_of(value)); return 0;
    case RZL_FIELD_ASPECT_RATIO: return set_aspect(c, spec, number_of(value));
    default: return 0;
    }
}

int pcx_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const pcx_spec* spec = pcx_spec_of(c);
    int32_t count = colour_count_of(spec);
    if (count == 0) return refuse(c, RZL_NO_VLT, SOURCE, "pcx getvlt");
    give_vlt(spec->palette, static_cast<size_t>(count), c->vlt_bits, entries);
    return 0;
}

void pcx_free_specs(CFILE* c) {
    pcx_spec* spec = pcx_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->row);
    spec->row = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE_RUNS, RZL_FORMAT_BYTE,         RZL_FORMAT_PLANE_RUNS,
                               RZL_FORMAT_RGB,       RZL_FORMAT_BILEVEL_RUNS, RZL_FORMAT_BILEVEL};

constexpr field_limit LIMITS[] = {{RZL_FIELD_VLT_ENTRIES, 0, INT32_MAX}};

constexpr format_slots SLOTS = {
    .Get_line = pcx_get_line,
    .Getrleline = pcx_get_rle_line,
    .Put_line = pcx_put_line,
    .Putrleline = pcx_put_rle_line,
    .Get_hdr_data = pcx_get_hdr_data,
    .Set_hdr_data = pcx_set_hdr_data,
    .Get_vlt = pcx_get_vlt,
    .Wrt_hdr = pcx_write_header,
    .Randomize = rzl_randomize_nothing,
    .Close = pcx_close,
    .Free_specs = pcx_free_specs,
};

} // namespace

extern const format_module pcx_module;
const format_module pcx_module = {
    .word = SOURCE,
    .squetch_word = "pcx squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(pcx_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .traits = MODULE_COLORS,
    .open = pcx_open,
    .initialise = pcx_initialise,
};

bool pcx_keep_colors(CFILE* c) {
    const pcx_spec* spec = pcx_spec_of(c);
    if (spec->palette_kind == pcx_palette::none) return true;
    uint8_t* colors = new_color_table(c, PCX_LONG_COLORS, 8, SOURCE);
    if (colors == nullptr) return false;
    std::memcpy(colors, spec->palette, PCX_LONG_BYTES);
    return true;
}
