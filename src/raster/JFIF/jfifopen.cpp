// JFIF files: what a file says of itself, header fields, the module's table, and what a new file begins as.
#include <algorithm>

#include "raster/JFIF/jfif.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "jfif/jfifopen";
constexpr char WORD[] = "JFIF";

// ---- opening -------------------------------------------------------------------------------------------------------

// How lines lie, by Exif's number less 1: those of the second half are columns, and how they lie then is told.
constexpr int32_t ORIENTATIONS[JFIF_MOST_TURN] = {
    RZL_TOP_DOWN, RZL_TOP_DOWN_MIRRORED, RZL_BOTTOM_UP_MIRRORED, RZL_BOTTOM_UP,
    RZL_TOP_DOWN, RZL_TOP_DOWN_MIRRORED, RZL_BOTTOM_UP_MIRRORED, RZL_BOTTOM_UP,
};
constexpr int FIRST_SIDEWAYS = 5;

// Data format of each kind of pixels. Four components that are inks can't be had as lines, unless the library may give
// them as colours.
int take_colors(CFILE* c, jfif_spec* spec) {
    switch (spec->colors) {
    case jfif_colors::grey: c->format = RZL_FORMAT_JPEG_GREY; break;
    case jfif_colors::rgb:
    case jfif_colors::ycc:
    case jfif_colors::yiq: c->format = RZL_FORMAT_JPEG_RGB; break;
    case jfif_colors::cmyk: c->format = is_extended() ? RZL_FORMAT_JPEG_RGB : RZL_FORMAT_JPEG_FOUR; break;
    default: return refuse(c, RZL_UNSUP_JFIF, SOURCE, "JFIF interpretation");
    }
    return format_layout(c->format, &c->samples, &c->bits) ? 0 : 1;
}

int jfif_open(CFILE* c, const char*) {
    jfif_spec* spec = jfif_spec_of(c);
    jfif_header header = {};
    spec->coder = jfif_coder_new(c);
    if (spec->coder == nullptr || !jfif_read_header(spec->coder, &header)) return 1;
    spec->colors = header.colors;
    spec->components = header.components;
    spec->across = static_cast<int32_t>(header.width);
    spec->down = static_cast<int32_t>(header.height);
    if (take_colors(c, spec) != 0) return 1;
    spec->orientation = ORIENTATIONS[header.turn - JFIF_UPRIGHT];
    spec->sideways = header.turn >= FIRST_SIDEWAYS;
    c->xsize = spec->sideways ? spec->down : spec->across;
    c->ysize = spec->sideways ? spec->across : spec->down;
    spec->at_start = true;
    spec->lines.row_bytes = header.width * static_cast<size_t>(header.components);
    spec->lines.rows = spec->down;
    spec->lines.keep = spec->sideways;
    return 0;
}

// New files are made in one go.
int jfif_initialise(CFILE* c) {
    if (c->mode == MODE_WRITE_READ) return refuse(c, RZL_CANNOT_OPEN, SOURCE, "JFIF does not support modify");
    jfif_spec_of(c)->orientation = RZL_TOP_DOWN;
    jfif_apply_format(c);
    return 0;
}

// ---- fields --------------------------------------------------------------------------------------------------------

int jfif_get_hdr_data(CFILE* c, int32_t field, void* value) {
    if (field == RZL_FIELD_ORIENTATION) give_int(value, jfif_spec_of(c)->orientation);
    return 0;
}

int jfif_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    if (has_flag(c, FLAG_HEADER_EXISTS) || field != RZL_FIELD_FORMAT) return 0;
    c->format = int_of(value);
    jfif_apply_format(c);
    return 0;
}

int jfif_get_vlt(CFILE* c, rzl_vlt_entry*) {
    return refuse(c, RZL_NO_VLT, SOURCE, WORD);
}

// A file has one image.
int jfif_images(CFILE*) {
    return 1;
}
int jfif_set_images(CFILE* c, int32_t) {
    return refuse(c, RZL_UNSUP_JFIF, SOURCE, WORD);
}
int jfif_set_image(CFILE* c, int32_t image) {
    return image < 0 ? 0 : refuse(c, RZL_UNSUP_JFIF, SOURCE, WORD);
}

// Lines are kept from now on, so that each is decoded once.
int jfif_randomize(CFILE* c) {
    jfif_spec* spec = jfif_spec_of(c);
    if (is_readable(c) && spec->coder != nullptr) spec->lines.keep = true;
    return 0;
}

void jfif_free_specs(CFILE* c) {
    jfif_spec* spec = jfif_spec_of(c);
    if (spec == nullptr) return;
    jfif_coder_free(spec->coder);
    onward_drop(&spec->lines);
    mem_free(spec->row);
    spec->coder = nullptr;
    spec->row = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_JPEG_GREY, RZL_FORMAT_BYTE,       RZL_FORMAT_BYTE_PAIRS, RZL_FORMAT_BYTE_RUNS,
                               RZL_FORMAT_JPEG_RGB,  RZL_FORMAT_COLOR_RUNS, RZL_FORMAT_PLANE_RUNS, RZL_FORMAT_RGB};

constexpr format_slots SLOTS = {
    .Get_line = jfif_get_line,
    .Getinlv = jfif_get_pixels,
    .Put_line = jfif_put_line,
    .Putinlv = jfif_put_pixels,
    .Get_hdr_data = jfif_get_hdr_data,
    .Set_hdr_data = jfif_set_hdr_data,
    .Get_vlt = jfif_get_vlt,
    .Wrt_hdr = jfif_write_header,
    .Get_number_of_images = jfif_images,
    .Set_Number_of_Images = jfif_set_images,
    .Set_Active_Image = jfif_set_image,
    .Randomize = jfif_randomize,
    .Close = jfif_close,
    .Free_specs = jfif_free_specs,
};

} // namespace

extern const format_module jfif_module;
const format_module jfif_module = {
    .word = SOURCE,
    .squetch_word = "JFIF squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(jfif_spec),
    .formats = FORMATS,
    .traits = MODULE_NO_TABLE | MODULE_CODED,
    .open = jfif_open,
    .initialise = jfif_initialise,
};

// Data formats by class; what has neither grey nor colours is coded as if it were grey.
void jfif_apply_format(CFILE* c) {
    jfif_spec* spec = jfif_spec_of(c);
    int32_t format = c->format;
    if (format_is_color(format)) {
        spec->colors = jfif_colors::ycc;
        c->format = RZL_FORMAT_JPEG_RGB;
    } else if (format_is_four(format)) {
        spec->colors = jfif_colors::cmyk;
        c->format = RZL_FORMAT_JPEG_FOUR;
    } else {
        spec->colors = format_is_byte(format) ? jfif_colors::grey : jfif_colors::unknown;
        c->format = format_is_byte(format) ? RZL_FORMAT_JPEG_GREY : RZL_FORMAT_BYTE;
    }
    (void)format_layout(c->format, &c->samples, &c->bits);
    spec->components = c->samples;
}
