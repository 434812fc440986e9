// TIFF: overviews, the reduced images that follow the main one.
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifov";
constexpr int32_t MAX_OVERVIEWS = 65535;

// Takes records off the end of the chain that the file has not got. False: the last one is in the file or active.
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

// A chain with a further image has no overviews.
uint32_t tif_overview_count(const tif_spec* spec) {
    uint32_t count = 0;
    for (const tif_image* image = spec->first->next; image != nullptr; image = image->next, ++count)
        if ((image->subfile_type & 1) == 0) return 0;
    return count;
}

int tif_set_overview_count(CFILE* c, int32_t count) {
    tif_spec* spec = tif_spec_of(c);
    if (count < 0 || count > MAX_OVERVIEWS || has_flag(c, FLAG_MULTI_IMAGE)) {
        return tif_refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "overviews");
    }
    auto now = static_cast<int32_t>(tif_overview_count(spec));
    for (; now > count; --now)
        if (!drop_last(spec)) return tif_refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "overviews");
    for (; now < count; ++now) {
        const tif_image* last = spec->first;
        while (last->next != nullptr)
            last = last->next;
        if (tif_append_image(c, last, 1) == nullptr) return 1;
    }
    return 0;
}

int tif_set_active_overview(CFILE* c, int32_t overview) {
    tif_spec* spec = tif_spec_of(c);
    if (overview < 0) overview = OVERVIEW_BASE;
    if (overview != c->active_overview && overview >= static_cast<int32_t>(tif_overview_count(spec))) {
        return tif_refuse(c, RZL_NO_SUCH_OVERVIEW, SOURCE, nullptr);
    }
    if (is_writable(c) && tif_finish_image(c) != 0) return 1;
    tif_image* image = has_flag(c, FLAG_MULTI_IMAGE) ? spec->image : spec->first;
    for (int32_t at = OVERVIEW_BASE; at < overview; ++at)
        image = image->next;
    // The chain of the file begins with the main image.
    if (image != spec->first && (spec->first->flags & TIF_IN_FILE) == 0) {
        return tif_refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "image size");
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
