// SYM files: the header and table of a file that is opened, header fields, images, and the module.
#include <algorithm>
#include <cstring>

#include "raster/SYM/sym.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "SYM/symopen";

void free_images(sym_spec* spec) {
    for (int32_t i = 0; spec->images != nullptr && i < spec->count; ++i)
        mem_free(spec->images[i].rows);
    mem_free(spec->images);
    spec->images = nullptr;
    spec->count = 0;
}

// The handle as the active image has it.
void take_image(CFILE* c) {
    const font_entry& entry = sym_active(c)->entry;
    c->xsize = entry.advance;
    c->ysize = entry.depth;
    c->format = RZL_FORMAT_BILEVEL;
    (void)format_layout(c->format, &c->samples, &c->bits);
}

// Images without a header in the place of all others.
int make_images(CFILE* c, int32_t count) {
    sym_spec* spec = sym_spec_of(c);
    auto* images = static_cast<sym_image*>(mem_alloc_zeroed(static_cast<size_t>(count) * sizeof(sym_image)));
    if (images == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    free_images(spec);
    spec->images = images;
    spec->count = count;
    return 0;
}

// Several codes of a font can lead to one glyph, so glyphs are counted by the room that the table has.
int sym_open(CFILE* c, const char*) {
    sym_spec* spec = sym_spec_of(c);
    uint8_t h[FONT_AT_TABLE];
    if (io_read(c, h, sizeof h) != sizeof h) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    spec->bitmaps = load_u32le(h + FONT_AT_BITMAPS);
    size_t count = std::min<size_t>(font_entries_before(spec->bitmaps), SYM_MOST_IMAGES);
    if (count == 0) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    if (make_images(c, static_cast<int32_t>(count)) != 0) return 1;
    for (size_t i = 0; i < count; ++i) {
        uint8_t entry[FONT_ENTRY_SIZE];
        if (io_read(c, entry, sizeof entry) != sizeof entry) return refuse(c, RZL_READ_FAILED, SOURCE, "table");
        spec->images[i].entry = load_font_entry(entry);
    }
    set_flag(c, FLAG_MULTI_IMAGE, count > 1);
    take_image(c);
    return 0;
}

int sym_initialise(CFILE* c) {
    c->format = RZL_FORMAT_BILEVEL;
    (void)format_layout(c->format, &c->samples, &c->bits);
    return make_images(c, 1);
}

// ---- fields --------------------------------------------------------------------------------------------------------

int sym_get_hdr_data(CFILE*, int32_t field, void* value) {
    if (field == RZL_FIELD_MATRIX) std::memset(value, 0, 16 * sizeof(double));
    return 0;
}

int sym_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    if (field > RZL_FIELD_IMAGES) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Set hdr data");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    bool is_side = field == RZL_FIELD_XSIZE || field == RZL_FIELD_YSIZE;
    if (is_side && int_of(value) > SYM_MOST_SIDE) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Set hdr data");
    if (field == RZL_FIELD_FORMAT) return rzl_take_format(c, int_of(value), RZL_NOT_STANDARD, SOURCE);
    return 0;
}

// ---- images --------------------------------------------------------------------------------------------------------

int sym_get_count(CFILE* c) {
    return has_flag(c, FLAG_MULTI_IMAGE) ? sym_spec_of(c)->count : 1;
}

int sym_set_count(CFILE* c, int32_t count) {
    if (count < 1 || count > SYM_MOST_IMAGES) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "Set Number of Images");
    if (!sym_is_new(c) || c->active_image != 0) return refuse(c, RZL_UNSUP_SYM, SOURCE, "Set Number of Images");
    if (make_images(c, count) != 0) return 1;
    set_flag(c, FLAG_HEADER_EXISTS, false);
    return 0;
}

// A new image has no header yet: its size is that of the one before unless another is set.
int sym_set_image(CFILE* c, int32_t image) {
    const sym_spec* spec = sym_spec_of(c);
    if (image < 0 || image >= spec->count) return refuse(c, RZL_NO_SUCH_IMAGE, SOURCE, "Invalid image number");
    c->active_image = image;
    c->line = 0;
    bool made = !sym_is_new(c) || spec->images[image].rows != nullptr;
    set_flag(c, FLAG_HEADER_EXISTS, made);
    if (made) take_image(c);
    return 0;
}

void sym_free_specs(CFILE* c) {
    sym_spec* spec = sym_spec_of(c);
    if (spec != nullptr) free_images(spec);
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BILEVEL};

constexpr format_slots SLOTS = {
    .Get_line = sym_get_line,
    .Put_line = sym_put_line,
    .Get_hdr_data = sym_get_hdr_data,
    .Set_hdr_data = sym_set_hdr_data,
    .Wrt_hdr = sym_write_header,
    .Get_number_of_images = sym_get_count,
    .Set_Number_of_Images = sym_set_count,
    .Set_Active_Image = sym_set_image,
    .Randomize = rzl_randomize_nothing,
    .Close = sym_close,
    .Free_specs = sym_free_specs,
};

} // namespace

extern const format_module sym_module;
const format_module sym_module = {
    .word = SOURCE,
    .squetch_word = "SYM squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(sym_spec),
    .formats = FORMATS,
    .traits = MODULE_NO_TABLE,
    .open = sym_open,
    .initialise = sym_initialise,
};
