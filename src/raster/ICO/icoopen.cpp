// ICO files: header fields, images and colours, and the module.
#include <algorithm>
#include <cstring>

#include "raster/ICO/ico.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "ICO/icoopen";

void free_images(ico_spec* spec) {
    for (int32_t i = 0; spec->images != nullptr && i < spec->count; ++i)
        mem_free(spec->images[i].pixels);
    mem_free(spec->images);
    spec->images = nullptr;
    spec->count = 0;
}

// The handle as the active image has it. 0, or 1 with RZL_UNSUP_ICO for one that can't be read.
int take_image(CFILE* c) {
    const ico_image* image = ico_active(c);
    if (image->bits == 0) return refuse(c, RZL_UNSUP_ICO, SOURCE, "icon");
    c->xsize = image->width;
    c->ysize = image->height;
    c->samples = 1;
    c->bits = image->bits;
    c->format = image->bits == 1 ? RZL_FORMAT_BILEVEL : RZL_FORMAT_BYTE;
    return ico_keep_colors(c) ? 0 : 1;
}

int ico_open(CFILE* c, const char*) {
    const ico_spec* spec = ico_spec_of(c);
    if (ico_read_images(c) != 0) return 1;
    if (spec->count == 0) return refuse(c, RZL_READ_FAILED, SOURCE, "ICONDIR");
    set_flag(c, FLAG_MULTI_IMAGE, spec->count > 1);
    return take_image(c);
}

// Blank images in the place of all others.
int make_images(CFILE* c, int32_t count) {
    ico_spec* spec = ico_spec_of(c);
    auto* images = static_cast<ico_image*>(mem_alloc_zeroed(static_cast<size_t>(count) * sizeof(ico_image)));
    if (images == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    free_images(spec);
    spec->images = images;
    spec->count = count;
    return 0;
}

int ico_initialise(CFILE* c) {
    ico_spec_of(c)->announced = -1;
    c->format = RZL_FORMAT_BYTE;
    c->samples = 1;
    c->bits = 4;
    return make_images(c, 1);
}

// ---- fields --------------------------------------------------------------------------------------------------------

// The mask as it is told to callers: its rows without a gap.
void give_mask(const ico_image* image, uint8_t* out) {
    size_t row = ico_row_bytes(image->width, 1);
    const uint8_t* mask = ico_mask(image);
    if (image->width % 8 == 0) {
        std::memcpy(out, mask, ico_mask_bytes(image));
        return;
    }
    sample_writer w = {out, 0, 0};
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x)
            put_sample(&w, 1, mask[static_cast<size_t>(y) * row + static_cast<size_t>(x) / 8] >> (7 - x % 8) & 1u);
    end_samples(&w);
}

int ico_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const ico_image* image = ico_active(c);
    int32_t bits = image->bits;
    if (bits == 0) bits = format_is_bilevel(c->format) ? 1 : 4; // of a new image
    switch (field) {
    case RZL_FIELD_MATRIX: std::memset(value, 0, 16 * sizeof(double)); break;
    case RZL_FIELD_VLT_TYPE: give_int(value, RZL_VLT_ENTRIES); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, static_cast<int64_t>(ico_colors(bits))); break;
    case RZL_FIELD_ICO_MASK:
        if (image->pixels == nullptr) return refuse(c, RZL_UNSUP_ICO, SOURCE, "mask before the header");
        give_mask(image, static_cast<uint8_t*>(value));
        break;
    default: break;
    }
    return 0;
}

int set_side(CFILE* c, int32_t side) {
    if (side == 16 || side == 32 || side == 64) return 0;
    return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "Xsize must be either 16, 32, or 64");
}

int set_format(CFILE* c, int32_t format) {
    if (rzl_take_format(c, format, RZL_NOT_STANDARD, SOURCE) != 0) return 1;
    c->bits = format == RZL_FORMAT_BILEVEL ? 1 : 4;
    return 0;
}

int ico_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    if (field == RZL_FIELD_ICO_MASK) return ico_set_mask(c, static_cast<const uint8_t*>(value));
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE: return set_side(c, int_of(value));
    case RZL_FIELD_FORMAT: return set_format(c, int_of(value));
    case RZL_FIELD_VLT_ENTRIES: ico_spec_of(c)->announced = int_of(value); return 0;
    default: return 0;
    }
}

int ico_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const ico_image* image = ico_active(c);
    if (image->bits == 0) return refuse(c, RZL_NO_VLT, SOURCE, "Get_vlt");
    for (size_t i = 0; i < ico_colors(image->bits); ++i) {
        const uint8_t* color = image->colors + i * 4;
        auto top = [](uint8_t byte) { return static_cast<uint16_t>(byte << 8); };
        entries[i] = {static_cast<uint16_t>(i), top(color[2]), top(color[1]), top(color[0])};
    }
    return 0;
}

// ---- images --------------------------------------------------------------------------------------------------------

int ico_get_count(CFILE* c) {
    return ico_spec_of(c)->count;
}

int ico_set_count(CFILE* c, int32_t count) {
    if (count < 1 || count > ICO_MOST_IMAGES) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "Set Number of Images");
    bool is_new = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    if (!is_new || c->active_image != 0) return refuse(c, RZL_UNSUP_ICO, SOURCE, "Set Number of Images");
    if (make_images(c, count) != 0) return 1;
    set_flag(c, FLAG_HEADER_EXISTS, false);
    return 0;
}

// A new image has no header yet: size, depth and colours are those of the one before unless others are set.
int ico_set_image(CFILE* c, int32_t image) {
    const ico_spec* spec = ico_spec_of(c);
    if (image < 0 || image >= spec->count) return refuse(c, RZL_NO_SUCH_IMAGE, SOURCE, "Invalid image number");
    int32_t before = c->active_image;
    c->active_image = image;
    bool made = spec->images[image].bits != 0;
    bool is_new = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    if (is_new && !made) {
        set_flag(c, FLAG_HEADER_EXISTS, false);
    } else if (take_image(c) != 0) {
        uint32_t status = c->status;
        c->active_image = before;
        if (spec->images[before].bits != 0) (void)take_image(c);
        c->status = status;
        return 1;
    } else {
        set_flag(c, FLAG_HEADER_EXISTS, true);
    }
    c->line = 0;
    return 0;
}

void ico_free_specs(CFILE* c) {
    ico_spec* spec = ico_spec_of(c);
    if (spec != nullptr) free_images(spec);
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE, RZL_FORMAT_BILEVEL};

constexpr field_limit LIMITS[] = {{RZL_FIELD_VLT_ENTRIES, 0, ICO_MOST_COLORS}};

constexpr field_type TYPES[] = {{RZL_FIELD_ICO_MASK, field_kind::record, 0}};

constexpr format_slots SLOTS = {
    .Get_line = ico_get_line,
    .Put_line = ico_put_line,
    .Get_hdr_data = ico_get_hdr_data,
    .Set_hdr_data = ico_set_hdr_data,
    .Get_vlt = ico_get_vlt,
    .Wrt_hdr = ico_write_header,
    .Get_number_of_images = ico_get_count,
    .Set_Number_of_Images = ico_set_count,
    .Set_Active_Image = ico_set_image,
    .Randomize = rzl_randomize_nothing,
    .Close = ico_close,
    .Free_specs = ico_free_specs,
};

} // namespace

extern const format_module ico_module;
const format_module ico_module = {
    .word = SOURCE,
    .squetch_word = "ICO squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(ico_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .types = TYPES,
    .most_colors = ICO_MOST_COLORS,
    .probe = ico_probe,
    .open = ico_open,
    .initialise = ico_initialise,
};

bool ico_keep_colors(CFILE* c) {
    constexpr size_t TABLE = 256;
    const ico_image* image = ico_active(c);
    if (c->color_table == nullptr) c->color_table = mem_new_array<uint8_t>(TABLE * 3);
    if (c->color_table == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    std::memset(c->color_table, 0, TABLE * 3);
    for (size_t i = 0; i < ico_colors(image->bits); ++i)
        for (size_t p = 0; p < 3; ++p)
            c->color_table[i * 3 + p] = image->colors[i * 4 + 2 - p];
    c->vlt_bits = 8;
    return true;
}
