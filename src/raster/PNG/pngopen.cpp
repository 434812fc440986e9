// PNG files: what a file says of itself, header fields, the module's table, and what a new file begins as.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "raster/PNG/pngfile.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PNG/pngopen";
constexpr double METRES_AN_INCH = 0.0254;
constexpr double MICROMETRES_A_METRE = 1000000;

// ---- opening -------------------------------------------------------------------------------------------------------

int png_open(CFILE* c, const char*) {
    png_spec* spec = png_spec_of(c);
    png_shape* shape = &spec->shape;
    spec->coder = png_coder_new(c);
    if (spec->coder == nullptr || !png_read_shape(spec->coder, shape)) return 1;
    c->xsize = static_cast<int32_t>(shape->width);
    c->ysize = static_cast<int32_t>(shape->height);
    c->format = shape->channels >= 3 ? RZL_FORMAT_RGB : (shape->bits == 1 ? RZL_FORMAT_BILEVEL : RZL_FORMAT_BYTE);
    (void)format_layout(c->format, &c->samples, &c->bits);
    c->bits = shape->bits;
    if (shape->indexed) {
        uint8_t* colors = new_color_table(c, PNG_COLORS, 8, SOURCE);
        if (colors == nullptr) return 1;
        std::memcpy(colors, shape->colors, sizeof shape->colors);
    }
    spec->at_start = true;
    spec->lines.row_bytes = png_row_bytes(shape);
    spec->lines.rows = c->ysize;
    spec->lines.keep = spec->lines.together = shape->interlaced;
    return 0;
}

// New files are made in one go.
int png_initialise(CFILE* c) {
    png_spec* spec = png_spec_of(c);
    if (c->mode == MODE_WRITE_READ) return refuse(c, RZL_CANNOT_OPEN, SOURCE, "PNG does not support modify");
    spec->announced = -1;
    spec->level = PNG_USUAL_LEVEL;
    c->format = RZL_FORMAT_BYTE;
    return format_layout(c->format, &c->samples, &c->bits) ? 0 : 1;
}

// ---- fields --------------------------------------------------------------------------------------------------------

// Pixels a metre as negative dots an inch.
int32_t resolution_of(const png_shape* shape) {
    if (shape->across == 0 || shape->down == 0) return 0;
    return -static_cast<int32_t>(std::lround(shape->across * METRES_AN_INCH));
}

// Positive: micrometres a dot; negative: dots an inch.
void set_resolution(png_shape* shape, int32_t value) {
    double across = 0;
    if (value > 0) across = MICROMETRES_A_METRE / value + 0.5;
    if (value < 0) across = -static_cast<double>(value) / METRES_AN_INCH + 0.5;
    shape->across = shape->down = static_cast<uint32_t>(std::min<double>(across, INT32_MAX));
}

int png_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const png_spec* spec = png_spec_of(c);
    const png_shape* shape = &spec->shape;
    switch (field) {
    case RZL_FIELD_VLT_TYPE: give_int(value, shape->color_count > 0 ? RZL_VLT_ENTRIES : RZL_VLT_NONE); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, shape->color_count); break;
    case RZL_FIELD_RESOLUTION: give_int(value, resolution_of(shape)); break;
    case RZL_FIELD_ASPECT_RATIO:
        give_number(value, shape->down > 0 ? static_cast<double>(shape->across) / shape->down : 1.0);
        break;
    case RZL_FIELD_COMPRESSION: give_int(value, spec->level); break;
    default: break;
    }
    return 0;
}

int png_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    png_spec* spec = png_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_FORMAT: return rzl_take_format(c, int_of(value), RZL_UNSUPPORTED, SOURCE);
    case RZL_FIELD_VLT_ENTRIES: spec->announced = int_of(value); return 0;
    case RZL_FIELD_RESOLUTION: set_resolution(&spec->shape, int_of(value)); return 0;
    case RZL_FIELD_COMPRESSION: spec->level = int_of(value); return 0;
    default: return 0;
    }
}

// Lines are kept from now on, so that each is decoded once.
int png_randomize(CFILE* c) {
    png_spec* spec = png_spec_of(c);
    if (is_readable(c) && spec->coder != nullptr) spec->lines.keep = true;
    return 0;
}

void png_free_specs(CFILE* c) {
    png_spec* spec = png_spec_of(c);
    if (spec == nullptr) return;
    png_coder_free(spec->coder);
    onward_drop(&spec->lines);
    mem_free(spec->row);
    spec->coder = nullptr;
    spec->row = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE,       RZL_FORMAT_BYTE_PAIRS,   RZL_FORMAT_BYTE_RUNS,
                               RZL_FORMAT_BILEVEL,    RZL_FORMAT_BILEVEL_RUNS, RZL_FORMAT_RGB,
                               RZL_FORMAT_PLANE_RUNS, RZL_FORMAT_COLOR_RUNS};

constexpr field_limit LIMITS[] = {{RZL_FIELD_VLT_ENTRIES, 0, INT32_MAX},
                                  {RZL_FIELD_RESOLUTION, -INT32_MAX, INT32_MAX},
                                  {RZL_FIELD_COMPRESSION, PNG_USUAL_LEVEL, PNG_MOST_LEVEL}};

constexpr format_slots SLOTS = {
    .Get_line = png_get_line,
    .Getinlv = png_get_pixels,
    .Put_line = png_put_line,
    .Putinlv = png_put_pixels,
    .Get_hdr_data = png_get_hdr_data,
    .Set_hdr_data = png_set_hdr_data,
    .Wrt_hdr = png_write_header,
    .Randomize = png_randomize,
    .Close = png_close,
    .Free_specs = png_free_specs,
};

} // namespace

extern const format_module png_module;
const format_module png_module = {
    .word = SOURCE,
    .squetch_word = "PNG squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(png_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .traits = MODULE_COLORS | MODULE_CODED,
    .open = png_open,
    .initialise = png_initialise,
};
