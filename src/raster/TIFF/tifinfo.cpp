// TIFF: header fields as they are asked for.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "raster/TIFF/tiff.h"

namespace {

constexpr int32_t ROOM = 4096;
constexpr int DEFAULT_ORIENTATION = 4;

int32_t narrowed(uint64_t value) {
    return static_cast<int32_t>(std::min<uint64_t>(value, INT32_MAX));
}

int32_t image_count(CFILE* c) {
    return has_flag(c, FLAG_MULTI_IMAGE) ? tif_get_number_of_images(c) : 1;
}

int32_t value_of(CFILE* c, int32_t field) {
    const tif_spec* spec = tif_spec_of(c);
    const tif_image* image = spec->image;
    bool palette = image->photometric == TIF_PALETTE;
    switch (field) {
    case RZL_FIELD_VLT_TYPE: return palette ? 2 : 0;
    case RZL_FIELD_VLT_ENTRIES: return palette && tif_bits(image) <= 8 ? 1 << tif_bits(image) : 0;
    case RZL_FIELD_PACKET_WORDS: return narrowed(image->packet_words);
    case RZL_FIELD_RESOLUTION: return tif_resolution(image);
    case RZL_FIELD_ORIENTATION: return tif_orientation(image);
    case RZL_FIELD_MINIMUM: return static_cast<int32_t>(image->min_sample[0]);
    case RZL_FIELD_MAXIMUM: return static_cast<int32_t>(image->max_sample[0]);
    case RZL_FIELD_TILE_WIDTH: return c->tile != nullptr ? narrowed(c->tile->width) : 0;
    case RZL_FIELD_TILE_HEIGHT: return c->tile != nullptr ? narrowed(c->tile->height) : 0;
    case RZL_FIELD_TILES_ACROSS: return c->tile != nullptr ? narrowed(c->tile->tiles_across) : 0;
    case RZL_FIELD_TILES_DOWN: return c->tile != nullptr ? narrowed(c->tile->tiles_down) : 0;
    case RZL_FIELD_OVERVIEWS: return narrowed(tif_overview_count(spec));
    case RZL_FIELD_OVERVIEW_VALUE: return static_cast<int32_t>(image->flag_registers[0] & 3);
    case RZL_FIELD_VLT_ROOM:
    case RZL_FIELD_PACKET_ROOM: return ROOM;
    case RZL_FIELD_IMAGES: return image_count(c);
    case RZL_FIELD_COMPRESSION: return image->compression;
    case RZL_FIELD_PREDICTOR: return image->predictor;
    case RZL_FIELD_PLANAR: return image->planar_config;
    case RZL_FIELD_PHOTOMETRIC: return image->photometric;
    case RZL_FIELD_STRIP_ROWS: return static_cast<int32_t>(image->rows_per_strip);
    case RZL_FIELD_BITS: return tif_bits(image);
    default: return 0;
    }
}

} // namespace

// Negative: dots an inch. Positive: micrometres a dot.
int32_t tif_resolution(const tif_image* image) {
    double above = image->x_resolution[0];
    double below = image->x_resolution[1];
    double value = 0;
    if (below == 0) return 0;
    if (image->resolution_unit <= 2) value = -(above / below);
    if (image->resolution_unit == 3) value = above != 0 ? below * 10000 / above : 0;
    return static_cast<int32_t>(std::clamp(value, -2147483647.0, 2147483647.0));
}

int tif_orientation(const tif_image* image) {
    const auto* found = std::find(std::begin(TIF_ORIENTATIONS), std::end(TIF_ORIENTATIONS), image->orientation);
    return found != std::end(TIF_ORIENTATIONS) ? static_cast<int>(found - TIF_ORIENTATIONS) : DEFAULT_ORIENTATION;
}

int tif_get_hdr_data(CFILE* c, int32_t field, void* value) {
    if (field == RZL_FIELD_MATRIX) {
        const tif_image* image = tif_image_of(c);
        // An image without one leaves the identity that the core has put there.
        if ((image->flags & TIF_HAS_TRANSFORM) != 0) std::memcpy(value, image->transform, sizeof image->transform);
        return 0;
    }
    if (field == RZL_FIELD_USER_TAG) return tif_get_user_tag(c, static_cast<rzl_user_tag*>(value));
    int32_t number = value_of(c, field);
    std::memcpy(value, &number, sizeof number);
    // The aspect ratio, a double of 0.
    if (field == RZL_FIELD_ASPECT_RATIO) std::memset(value, 0, sizeof(double));
    return 0;
}

int tif_get_stat(CFILE* c, rzl_stat* stat) {
    *stat = {};
    stat->xsize = c->xsize;
    stat->ysize = c->ysize;
    stat->format = tif_get_format(c);
    stat->device_resolution = value_of(c, RZL_FIELD_RESOLUTION);
    stat->scan_orientation = value_of(c, RZL_FIELD_ORIENTATION);
    stat->tile_size = value_of(c, RZL_FIELD_TILE_WIDTH);
    stat->tiles_across = value_of(c, RZL_FIELD_TILES_ACROSS);
    stat->tiles_down = value_of(c, RZL_FIELD_TILES_DOWN);
    stat->overview_count = value_of(c, RZL_FIELD_OVERVIEWS);
    stat->overview_value = value_of(c, RZL_FIELD_OVERVIEW_VALUE);
    stat->vlt_type = value_of(c, RZL_FIELD_VLT_TYPE);
    stat->vlt_entries = value_of(c, RZL_FIELD_VLT_ENTRIES);
    stat->vlt_room = stat->packet_room = ROOM;
    stat->packet_words = value_of(c, RZL_FIELD_PACKET_WORDS);
    std::memcpy(stat->matrix, tif_image_of(c)->transform, sizeof stat->matrix);
    stat->planar = value_of(c, RZL_FIELD_PLANAR);
    stat->compression = value_of(c, RZL_FIELD_COMPRESSION);
    return 0;
}
