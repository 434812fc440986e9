// BMP files: header fields, the module's table, and what a new file begins as.
#include <algorithm>
#include <cmath>

#include "raster/BMP/bmp.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "BMP/bmpinfo";
constexpr double METRES_AN_INCH = 0.0254;
constexpr double INCHES_A_CENTIMETRE = 0.39370078740157477;
constexpr double MICROMETRES_A_METRE = 1000000;

// Pixels a metre as negative dots an inch.
int32_t resolution_of(const bmp_spec* spec) {
    bool told = spec->header_size != BMP_CORE_HEADER_SIZE && spec->across > 0 && spec->down > 0;
    return told ? -static_cast<int32_t>(std::lround(spec->across * METRES_AN_INCH)) : 0;
}

// Positive: micrometres a dot; negative: dots an inch.
void set_resolution(bmp_spec* spec, int32_t value) {
    double across = 0;
    if (value > 0) across = MICROMETRES_A_METRE / value + 0.5;
    if (value < 0) across = -static_cast<double>(value) * 100 * INCHES_A_CENTIMETRE + 0.5;
    spec->across = static_cast<int32_t>(std::min<double>(across, INT32_MAX));
    spec->down = spec->across;
}

// The version of a header that came after the 40 bytes: with masks, with alpha, with a colour space, with a profile.
int32_t version_of(const bmp_spec* spec) {
    constexpr uint32_t LATER[] = {52, 56, 108, 124};
    int32_t version = 0;
    for (int32_t i = 0; i < 4; ++i)
        if (spec->header_size >= LATER[i]) version = i + 2;
    return version;
}

double aspect_of(const bmp_spec* spec) {
    return spec->across > 0 && spec->down > 0 ? static_cast<double>(spec->across) / spec->down : 0;
}

int set_aspect(CFILE* c, bmp_spec* spec, double ratio) {
    bool is_ratio = std::isfinite(ratio) && ratio >= 0;
    if (!is_ratio) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "aspect ratio");
    spec->aspect_ratio = ratio;
    return 0;
}

// Four bits are kept for the data formats that have them; all others have their own.
int set_format(CFILE* c, int32_t format) {
    int32_t bits = c->bits;
    if (rzl_take_format(c, format, RZL_UNSUP_BMP, SOURCE) != 0) return 1;
    bool is_byte = format_is_byte(format);
    if (is_byte && bits == 4) c->bits = 4;
    bmp_spec* spec = bmp_spec_of(c);
    spec->compression = BMP_RAW;
    if (format == RZL_FORMAT_BYTE_RUNS) spec->compression = c->bits == 4 ? BMP_RLE4 : BMP_RLE8;
    return 0;
}

int bmp_initialise(CFILE* c) {
    bmp_spec* spec = bmp_spec_of(c);
    spec->header_size = BMP_INFO_HEADER_SIZE;
    spec->orientation = RZL_TOP_DOWN;
    spec->announced = -1;
    spec->file_line = -1;
    c->format = RZL_FORMAT_BYTE;
    return format_layout(c->format, &c->samples, &c->bits) ? 0 : 1;
}

void bmp_free_specs(CFILE* c) {
    bmp_spec* spec = bmp_spec_of(c);
    if (spec == nullptr) return;
    bmp_drop_lines(spec);
    mem_free(spec->fields);
    spec->fields = nullptr;
}

int32_t colour_count_of(const CFILE* c) {
    const bmp_spec* spec = bmp_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return spec->colour_count;
    return c->samples == 1 && c->bits <= 8 ? 1 << c->bits : 0;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE, RZL_FORMAT_BYTE_RUNS, RZL_FORMAT_RGB, RZL_FORMAT_BILEVEL,
                               RZL_FORMAT_BILEVEL_RUNS};

constexpr field_limit LIMITS[] = {{RZL_FIELD_VLT_ENTRIES, 0, INT32_MAX}, {RZL_FIELD_RESOLUTION, -INT32_MAX, INT32_MAX}};

constexpr format_slots SLOTS = {
    .Get_line = bmp_get_line,
    .Put_line = bmp_put_line,
    .Get_hdr_data = bmp_get_hdr_data,
    .Set_hdr_data = bmp_set_hdr_data,
    .Get_format = bmp_get_format,
    .Wrt_hdr = bmp_write_header,
    .Randomize = rzl_randomize_nothing,
    .Close = bmp_close,
    .Free_specs = bmp_free_specs,
};

// A step of four bytes passes over as many lines as its last byte tells, however wide they are; and all that follow the
// end of the image are left out.
pixel_density density(const CFILE* c) {
    const bmp_spec* spec = bmp_spec_of(c);
    if (!bmp_is_coded(spec)) return {spec->bit_count < 8 ? 8 / spec->bit_count : 1, 1, 0};
    return {CODED_PIXELS, BMP_RUN_MOST / 4 + 1, LEFT_OUT_PIXELS};
}

} // namespace

extern const format_module bmp_module;
const format_module bmp_module = {
    .word = "BMP/bmpopen",
    .squetch_word = "Bmp squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(bmp_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .traits = MODULE_COLORS,
    .open = bmp_open,
    .initialise = bmp_initialise,
    .density = density,
};

int bmp_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const bmp_spec* spec = bmp_spec_of(c);
    switch (field) {
    case RZL_FIELD_VLT_TYPE: give_int(value, colour_count_of(c) > 0 ? RZL_VLT_ENTRIES : RZL_VLT_NONE); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, colour_count_of(c)); break;
    case RZL_FIELD_RESOLUTION: give_int(value, resolution_of(spec)); break;
    case RZL_FIELD_ORIENTATION: give_int(value, spec->orientation); break;
    case RZL_FIELD_VERSION: give_int(value, version_of(spec)); break;
    case RZL_FIELD_ASPECT_RATIO: give_number(value, aspect_of(spec)); break;
    case RZL_FIELD_COMPRESSION: give_int(value, spec->compression); break;
    default: break;
    }
    return 0;
}

int bmp_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    bmp_spec* spec = bmp_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_FORMAT: return set_format(c, int_of(value));
    case RZL_FIELD_VLT_ENTRIES: spec->announced = int_of(value); return 0;
    case RZL_FIELD_RESOLUTION: set_resolution(spec, int_of(value)); return 0;
    case RZL_FIELD_ORIENTATION: spec->orientation = int_of(value); return 0;
    case RZL_FIELD_ASPECT_RATIO: return set_aspect(c, spec, number_of(value));
    case RZL_FIELD_COMPRESSION:
        if (format_is_byte(c->format)) spec->compression = static_cast<uint32_t>(int_of(value)) & 0xFF;
        return 0;
    default: return 0;
    }
}

int bmp_get_format(CFILE* c) {
    return c->format;
}

int bmp_settle_format(CFILE* c) {
    bmp_spec* spec = bmp_spec_of(c);
    bool fits = true;
    if (format_is_bilevel(c->format)) {
        c->format = RZL_FORMAT_BILEVEL;
        spec->bit_count = 1;
        fits = c->bits == 1;
    } else if (format_is_color(c->format)) {
        spec->bit_count = 24;
        fits = c->bits == 8;
    } else {
        // A coding was asked for by the data format, whatever the bits were then.
        if (spec->compression == BMP_RLE8 || spec->compression == BMP_RLE4)
            spec->compression = c->bits == 4 ? BMP_RLE4 : BMP_RLE8;
        spec->bit_count = c->bits;
        fits = (c->bits == 4 || c->bits == 8) && (spec->compression == BMP_RAW || bmp_is_coded(spec));
        c->format = spec->compression == BMP_RAW ? RZL_FORMAT_BYTE : RZL_FORMAT_BYTE_RUNS;
    }
    if (!fits) return refuse(c, RZL_UNSUP_BMP, SOURCE, nullptr);
    spec->colour_count = spec->bit_count <= 8 ? 1 << spec->bit_count : 0;
    return 0;
}
