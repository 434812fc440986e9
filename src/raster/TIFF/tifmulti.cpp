// TIFF: the active image, and the images of a file that holds several.
#include <cstring>

#include "raster/CORE/tilesetup.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifmulti";

} // namespace

// ---- images ---------------------------------------------------------------------------------------------------------

namespace {

// The record of an image by its number; the main one is number 0 whatever it says. Null beyond the last.
tif_image* find_image(const CFILE* c, int32_t number) {
    tif_image* image = tif_spec_of(c)->first;
    for (int32_t at = 0; image != nullptr && at < number;) {
        image = image->next;
        if (image != nullptr && tif_is_picture(image)) ++at;
    }
    return image;
}

bool make_tile_record(CFILE* c, const tif_image* image) {
    if (!tif_is_tiled(image)) {
        free_tile_record(c);
        return true;
    }
    if (c->tile == nullptr) c->tile = mem_new<tile_record>();
    if (c->tile == nullptr) return false;
    bool same = c->tile->width == image->tile_width && c->tile->height == image->tile_length &&
                c->tile->tiles_across == image->tiles_across && c->tile->tiles_down == image->tiles_down;
    if (same && has_flag(c, FLAG_TILED)) return true;
    drop_tile_row(c);
    c->tile->width = image->tile_width;
    c->tile->height = image->tile_length;
    c->tile->tiles_across = image->tiles_across;
    c->tile->tiles_down = image->tiles_down;
    c->tile->end_offset = 0;
    set_flag(c, FLAG_TILED, true);
    return true;
}

bool make_ccitt_record(CFILE* c, const tif_image* image) {
    if (!tif_is_fax(image->compression)) {
        mem_free(c->ccitt);
        c->ccitt = nullptr;
        return true;
    }
    if (c->ccitt == nullptr) c->ccitt = mem_new<ccitt_record>();
    return c->ccitt != nullptr;
}

// Memory that an image which is only read can get back.
void release_arrays(const CFILE* c, tif_image* image) {
    if (c->mode != MODE_READ || image == nullptr) return;
    mem_free(image->strip_offsets);
    mem_free(image->strip_byte_counts);
    image->strip_offsets = image->strip_byte_counts = nullptr;
    image->strip_count = 0;
}

tif_image* add_record(CFILE* c, const tif_image* like, uint32_t subfile_type) {
    tif_image* image = tif_new_image();
    if (image == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return nullptr;
    }
    if (!tif_copy_settings(like, image)) {
        tif_free_image(image);
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return nullptr;
    }
    image->subfile_type = subfile_type;
    tif_image* last = tif_spec_of(c)->first;
    while (last->next != nullptr)
        last = last->next;
    last->next = image;
    image->previous = last;
    return image;
}

// A further image of the size and kind of the one in hand.
int append_image(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    if ((spec->image->flags & TIF_IN_FILE) == 0) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "image size");
    tif_image* image = add_record(c, spec->image, 2);
    if (image == nullptr) return 1;
    image->image_width = spec->image->image_width;
    image->image_length = spec->image->image_length;
    if (!tif_activate(c, image)) return 1;
    // It can be changed like a new file until its first line.
    set_flag(c, FLAG_HEADER_EXISTS, false);
    return 0;
}

int finish_active(CFILE* c) {
    return is_writable(c) ? tif_finish_image(c) : 0;
}

} // namespace

bool tif_take_kind(CFILE* c, const tif_image* image) {
    if (!make_ccitt_record(c, image)) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return false;
    }
    c->samples = image->samples_per_pixel;
    c->bits = tif_bits(image);
    c->format = tif_format_of(image);
    tif_compression_class(image, (image->flags & TIF_IN_FILE) != 0, &c->compression, &c->compression_variant);
    return true;
}

bool tif_take_image(CFILE* c, const tif_image* image) {
    if (!tif_make_color_table(c, image) || !make_tile_record(c, image)) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return false;
    }
    if (!tif_take_kind(c, image)) return false;
    c->xsize = static_cast<int32_t>(image->image_width);
    c->ysize = static_cast<int32_t>(image->image_length);
    return true;
}

bool tif_activate(CFILE* c, tif_image* image) {
    tif_spec* spec = tif_spec_of(c);
    if ((image->flags & TIF_IN_FILE) != 0) {
        const char* detail = nullptr;
        uint32_t status = tif_judge(c, image, &detail);
        if (status != 0) return fails(c, status, SOURCE, detail);
        if (!tif_load_arrays(c, image)) return false;
        // Packets that are damaged leave the image without a transformation.
        if ((image->flags & TIF_HAS_TRANSFORM) == 0) (void)tif_find_transform(c, image);
    }
    if (!tif_take_image(c, image)) return false;
    drop_tile_row(c);
    tif_drop_segments(c);
    if (spec->image != image) release_arrays(c, spec->image);
    spec->image = image;
    rzl_forget_lines(c);
    set_flag(c, FLAG_MODULE, false);
    set_flag(c, FLAG_HEADER_EXISTS, (spec->first->flags & TIF_IN_FILE) != 0 || image != spec->first);
    c->line = 0;
    return true;
}

int tif_get_number_of_images(CFILE* c) {
    int count = 1;
    for (const tif_image* image = tif_spec_of(c)->first->next; image != nullptr; image = image->next)
        count += tif_is_picture(image) ? 1 : 0;
    return count;
}

int tif_set_number_of_images(CFILE* c, int32_t count) {
    set_flag(c, FLAG_MULTI_IMAGE, count >= 2);
    return 0;
}

int tif_set_active_image(CFILE* c, int32_t number) {
    if (number == c->active_image) return 0;
    bool several = has_flag(c, FLAG_MULTI_IMAGE) || is_writable(c);
    int32_t count = tif_get_number_of_images(c);
    bool appends = number == count && is_writable(c);
    if (!several || number < 0 || (number >= count && !appends)) {
        return refuse(c, RZL_NO_SUCH_IMAGE, SOURCE, "Invalid image number");
    }
    if (finish_active(c) != 0) return 1;
    if (appends ? append_image(c) != 0 : !tif_activate(c, find_image(c, number))) return 1;
    set_flag(c, FLAG_MULTI_IMAGE, true);
    c->active_image = number;
    c->active_overview = OVERVIEW_BASE;
    return 0;
}

// ---- overviews ------------------------------------------------------------------------------------------------------

namespace {

constexpr int32_t MAX_OVERVIEWS = 65535;

// Takes records off the end of the chain that the file does not have. False: the last one is in the file or active.
bool drop_last(tif_spec* spec) {
    tif_image* last = spec->first;
    while (last->next != nullptr)
        last = last->next;
    if (last == spec->first || last == spec->image || (last->flags & TIF_IN_FILE) != 0) return false;
    last->previous->next = nullptr;
    tif_free_image(last);
    return true;
}

} // namespace

// A chain with a further image has no overviews. Masks are neither.
uint32_t tif_overview_count(const tif_spec* spec) {
    uint32_t count = 0;
    for (const tif_image* image = spec->first->next; image != nullptr; image = image->next) {
        if (tif_is_picture(image)) return 0;
        if (tif_is_overview(image)) ++count;
    }
    return count;
}

tif_image* tif_next_overview(tif_image* image) {
    do
        image = image->next;
    while (image != nullptr && !tif_is_overview(image));
    return image;
}

int tif_set_overview_count(CFILE* c, int32_t count) {
    tif_spec* spec = tif_spec_of(c);
    if (count < 0 || count > MAX_OVERVIEWS || has_flag(c, FLAG_MULTI_IMAGE)) {
        return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "overviews");
    }
    auto now = static_cast<int32_t>(tif_overview_count(spec));
    for (; now > count; --now)
        if (!drop_last(spec)) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "overviews");
    for (; now < count; ++now) {
        const tif_image* last = spec->first;
        while (last->next != nullptr)
            last = last->next;
        if (add_record(c, last, 1) == nullptr) return 1;
    }
    return 0;
}

int tif_set_active_overview(CFILE* c, int32_t overview) {
    tif_spec* spec = tif_spec_of(c);
    if (overview < 0) overview = OVERVIEW_BASE;
    if (overview != c->active_overview && overview >= static_cast<int32_t>(tif_overview_count(spec))) {
        return refuse(c, RZL_NO_SUCH_OVERVIEW, SOURCE, nullptr);
    }
    if (is_writable(c) && tif_finish_image(c) != 0) return 1;
    tif_image* image = has_flag(c, FLAG_MULTI_IMAGE) ? spec->image : spec->first;
    for (int32_t at = OVERVIEW_BASE; at < overview && image != nullptr; ++at)
        image = tif_next_overview(image);
    // Overviews are counted for the first image; another one, which is active, need not have as many behind it.
    if (image == nullptr) return refuse(c, RZL_NO_SUCH_OVERVIEW, SOURCE, nullptr);
    // The chain of the file begins with the main image.
    if (image != spec->first && (spec->first->flags & TIF_IN_FILE) == 0) {
        return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "image size");
    }
    bool header = has_flag(c, FLAG_HEADER_EXISTS);
    if (image == spec->image) {
        tif_rewind(c);
    } else if (!tif_activate(c, image)) {
        return 1;
    } else {
        header = true;
    }
    set_flag(c, FLAG_HEADER_EXISTS, header);
    c->active_overview = overview;
    return 0;
}
