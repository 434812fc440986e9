// TIFF: header fields as they are set. What decides how the image is stored can be set until its header is written (its
// height also later, as long as no strip is stored that the change would cut or stretch); everything else goes into the
// file with the next header.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "raster/CORE/tilesetup.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifinfo";
constexpr int32_t TILE_STEP = 16; // of readers of the format
constexpr int32_t OVERVIEW_TILE_STEP = 32;
constexpr int32_t MAX_TILE = 65535; // a 16-bit value in the file

int refuse(CFILE* c, uint32_t status, const char* detail, int line = __builtin_LINE()) {
    return tif_refuse(c, status, SOURCE, detail, line);
}
int refuse_value(CFILE* c) {
    return refuse(c, RZL_BAD_FIELD_VALUE, "field value");
}

// ---- resolution, orientation

// A ratio as a fraction of 32-bit numbers.
uint32_t scaled(uint32_t value, double aspect) {
    return static_cast<uint32_t>(std::clamp(value * aspect, 0.0, 4294967295.0));
}

void set_resolution(tif_image* image, int32_t value) {
    uint32_t* x = image->x_resolution;
    uint32_t* y = image->y_resolution;
    if (value == 0) {
        x[0] = y[0] = 72;
        x[1] = y[1] = 1;
        image->resolution_unit = 1;
        return;
    }
    image->resolution_unit = value > 0 ? 3 : 2;
    x[0] = value > 0 ? 10000 : uint32_t{0} - static_cast<uint32_t>(value);
    x[1] = value > 0 ? static_cast<uint32_t>(value) : 1;
    bool apart = image->aspect > 0 && std::isfinite(image->aspect);
    y[0] = apart ? scaled(x[0], image->aspect) : x[0];
    y[1] = apart ? scaled(x[1], image->aspect) : x[1];
    // A fraction of nothing is no resolution.
    if (y[1] == 0) y[1] = 1;
}

void set_orientation(tif_image* image, int32_t code) {
    image->orientation = code >= 0 && code < 8 ? TIF_ORIENTATIONS[code] : uint16_t{1};
}

// ---- sizes

bool can_change_layout(const CFILE* c) {
    return !has_flag(c, FLAG_HEADER_EXISTS);
}

// Whether the number of lines can change after the header was written: the image is the last of the chain, and the
// strip that gets more lines or fewer is not stored.
bool can_change_height(const CFILE* c, const tif_image* image, uint32_t height) {
    if (tif_is_tiled(image) || image->next != nullptr || image->strip_offsets == nullptr || height == 0) return false;
    tif_shape shape = tif_shape_of(image);
    uint32_t shorter = std::min(height, image->image_length);
    bool whole = shorter % image->rows_per_strip == 0;
    return shape.planes == 1 && !tif_spec_of(c)->out.waiting &&
           (whole || !tif_is_stored(image, shorter / image->rows_per_strip));
}

int change_height(CFILE* c, tif_image* image, uint32_t height) {
    if (height == image->image_length) return 0;
    if (!can_change_height(c, image, height)) {
        c->ysize = static_cast<int32_t>(image->image_length);
        return 0;
    }
    uint32_t before = image->image_length;
    uint32_t count_before = image->strip_count;
    image->image_length = height;
    uint32_t count = tif_segments(image);
    if (count > count_before && !tif_need_entry(c, image, count - 1)) {
        image->image_length = before;
        return 1;
    }
    image->strip_count = count;
    image->flags |= TIF_OUT_OF_DATE;
    tif_spec_of(c)->in.segment = -1;
    return 0;
}

int set_width(CFILE* c, int32_t value) {
    tif_image* image = tif_image_of(c);
    if (value < 0) return refuse_value(c);
    if (can_change_layout(c)) image->image_width = static_cast<uint32_t>(value);
    c->xsize = static_cast<int32_t>(image->image_width);
    return 0;
}

int set_height(CFILE* c, int32_t value) {
    tif_image* image = tif_image_of(c);
    if (value < 0) return refuse_value(c);
    if (!can_change_layout(c)) return change_height(c, image, static_cast<uint32_t>(value));
    image->image_length = static_cast<uint32_t>(value);
    c->ysize = value;
    return 0;
}

// ---- what decides how the image is stored

// A field that can't change any more may be set to what it is.
int set_layout_word(CFILE* c, uint16_t* member, int32_t value, bool possible) {
    if (value == *member) return 0;
    if (!possible) return refuse_value(c);
    if (!can_change_layout(c)) return refuse(c, RZL_BAD_FIELD_ID, "Field cannot be modified");
    *member = static_cast<uint16_t>(value);
    return 0;
}

int set_compression(CFILE* c, int32_t value) {
    tif_image* image = tif_image_of(c);
    if (value == 0) value = TIF_PLAIN;
    bool known = (value >= TIF_PLAIN && value <= TIF_LZW) || value == TIF_PACKBITS;
    if (!known) return refuse(c, RZL_UNSUP_TIFF, "Tiff compression type");
    if (set_layout_word(c, &image->compression, value, true) != 0) return 1;
    // Bits that were asked for wait on the handle for the header.
    int32_t bits = c->bits;
    int32_t samples = c->samples;
    if (!tif_take_kind(c, image)) return 1;
    c->bits = bits;
    c->samples = samples;
    return 0;
}

int set_strip_rows(CFILE* c, int32_t value) {
    tif_image* image = tif_image_of(c);
    auto rows = static_cast<uint32_t>(value);
    if (rows == image->rows_per_strip) return 0;
    if (!can_change_layout(c)) return refuse(c, RZL_BAD_FIELD_ID, "Field cannot be modified");
    image->rows_per_strip = rows;
    return 0;
}

// The core has made the tile record.
int check_tile(CFILE* c, int32_t value, int32_t step) {
    bool fits = value >= 0 && value <= MAX_TILE && value % step == 0;
    return fits ? 0 : refuse(c, RZL_BAD_TILE_SIZE, "Invalid tile size");
}

int set_format(CFILE* c, int32_t format) {
    return can_change_layout(c) ? tif_set_format(c, format) : 0;
}

// ---- colour map

int set_vlt_type(CFILE* c, int32_t type) {
    tif_image* image = tif_image_of(c);
    if (type < 0 || type > 2) return refuse(c, RZL_BAD_FIELD_ID, "Field cannot be modified");
    if (!can_change_layout(c) && (type == 0) == ((image->flags & TIF_HAS_MAP) != 0)) {
        return refuse(c, RZL_BAD_FIELD_ID, "Field cannot be modified");
    }
    if (type == 0) {
        image->flags &= ~uint32_t{TIF_HAS_MAP};
        image->colour_map_count = 0;
    } else if (image->colour_map_count > 0) {
        image->flags |= TIF_HAS_MAP;
    } else {
        image->colour_map_count = -1;
    }
    return 0;
}

int set_vlt_entries(CFILE* c, int32_t count) {
    tif_image* image = tif_image_of(c);
    if (count < 0 || count > static_cast<int32_t>(TIF_MAP_ENTRIES)) return refuse_value(c);
    bool asked = image->colour_map_count != 0;
    bool map = count != 0 && (asked || (image->flags & TIF_HAS_MAP) != 0);
    if (!can_change_layout(c) && map != ((image->flags & TIF_HAS_MAP) != 0)) {
        return refuse(c, RZL_BAD_FIELD_ID, "Field cannot be modified");
    }
    image->flags = map ? image->flags | TIF_HAS_MAP : image->flags & ~uint32_t{TIF_HAS_MAP};
    image->colour_map_count = count;
    return 0;
}

// ---- the rest

int set_packet_words(CFILE* c, int32_t value) {
    tif_image* image = tif_image_of(c);
    if (value < 0 || image->packet_words > static_cast<uint32_t>(INT32_MAX - value)) return refuse_value(c);
    image->packet_words = value == 0 ? 0 : image->packet_words + static_cast<uint32_t>(value);
    image->flags |= TIF_PACKETS_NEW;
    return 0;
}

int set_transform(CFILE* c, const void* value) {
    tif_image* image = tif_image_of(c);
    std::memcpy(image->transform, value, sizeof image->transform);
    bool given = std::any_of(std::begin(image->transform), std::end(image->transform), [](double v) { return v != 0; });
    image->flags = given ? image->flags | TIF_HAS_TRANSFORM : image->flags & ~uint32_t{TIF_HAS_TRANSFORM};
    image->flags |= TIF_PACKETS_NEW;
    return 0;
}

int set_limits(uint32_t* limits, int32_t value) {
    for (int i = 0; i < TIF_MAX_SAMPLES; ++i)
        limits[i] = static_cast<uint32_t>(value);
    return 0;
}

int set_base_number(CFILE* c, int32_t field, int32_t value) {
    tif_image* image = tif_image_of(c);
    switch (field) {
    case RZL_FIELD_XSIZE: return set_width(c, value);
    case RZL_FIELD_YSIZE: return set_height(c, value);
    case RZL_FIELD_FORMAT: return set_format(c, value);
    case RZL_FIELD_VLT_TYPE: return set_vlt_type(c, value);
    case RZL_FIELD_VLT_ENTRIES: return set_vlt_entries(c, value);
    case RZL_FIELD_PACKET_WORDS: return set_packet_words(c, value);
    case RZL_FIELD_RESOLUTION: set_resolution(image, value); return 0;
    case RZL_FIELD_ORIENTATION: set_orientation(image, value); return 0;
    case RZL_FIELD_MINIMUM: return set_limits(image->min_sample, value);
    case RZL_FIELD_MAXIMUM: return set_limits(image->max_sample, value);
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT: return check_tile(c, value, TILE_STEP);
    case RZL_FIELD_OVERVIEWS: return tif_set_overview_count(c, value);
    case RZL_FIELD_COMPRESSION: return set_compression(c, value);
    case RZL_FIELD_PREDICTOR: return set_layout_word(c, &image->predictor, value, value == 1 || value == 2);
    case RZL_FIELD_PLANAR: return set_layout_word(c, &image->planar_config, value, value == 1 || value == 2);
    case RZL_FIELD_PHOTOMETRIC: return set_layout_word(c, &image->photometric, value, value >= 0 && value <= 5);
    case RZL_FIELD_STRIP_ROWS: return set_strip_rows(c, value);
    default: return 0;
    }
}

// With an overview active: its size, its tiles, its register.
int set_overview_number(CFILE* c, int32_t field, int32_t value) {
    tif_image* image = tif_image_of(c);
    if (image->previous == nullptr) return refuse(c, RZL_NO_OVERVIEWS, "No overviews");
    bool fresh = (image->flags & TIF_IN_FILE) == 0 && image->strip_offsets == nullptr;
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE: {
        if (value < 0) return refuse_value(c);
        uint32_t* size = field == RZL_FIELD_XSIZE ? &image->image_width : &image->image_length;
        if (fresh) *size = static_cast<uint32_t>(value);
        c->xsize = static_cast<int32_t>(image->image_width);
        c->ysize = static_cast<int32_t>(image->image_length);
        count_tiles(c);
        return 0;
    }
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT:
        if (!fresh) return refuse(c, RZL_BAD_FIELD_ID, "Field cannot be modified");
        return check_tile(c, value, OVERVIEW_TILE_STEP);
    case RZL_FIELD_OVERVIEW_VALUE:
        image->flag_registers[0] = static_cast<uint32_t>(value) & 3;
        return tif_update_flag_registers(c, image) ? 0 : 1;
    default: return 0;
    }
}

} // namespace

int tif_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    bool overview = c->active_overview >= 0;
    if (field == RZL_FIELD_MATRIX) return overview ? 0 : set_transform(c, value);
    if (field == RZL_FIELD_USER_TAG) {
        return overview ? 0 : tif_add_user_tag(c, static_cast<const rzl_user_tag*>(value));
    }
    int32_t number = 0;
    // Texts of other formats need not be as long as a number.
    bool text = field >= RZL_FIELD_DESCRIPTION && field <= RZL_FIELD_NAME_3;
    if (!text) std::memcpy(&number, value, sizeof number);
    return overview ? set_overview_number(c, field, number) : set_base_number(c, field, number);
}

int tif_set_stat(CFILE* c, const rzl_stat* stat) {
    tif_image* image = tif_image_of(c);
    if (c->active_overview >= 0) {
        bool set = set_overview_number(c, RZL_FIELD_XSIZE, stat->xsize) == 0 &&
                   set_overview_number(c, RZL_FIELD_YSIZE, stat->ysize) == 0;
        return set ? 0 : 1;
    }
    image->aspect = stat->aspect_ratio;
    set_resolution(image, stat->device_resolution);
    set_orientation(image, stat->scan_orientation);
    image->flag_registers[0] = static_cast<uint32_t>(stat->overview_value) & 3;
    if (set_transform(c, stat->matrix) != 0) return 1;
    if (!can_change_layout(c)) return set_height(c, stat->ysize);
    bool sized = set_width(c, stat->xsize) == 0 && set_height(c, stat->ysize) == 0;
    if (!sized || set_format(c, stat->format) != 0) return 1;
    // A compression of 0 is the one that goes with the format.
    if (stat->compression != 0 && set_compression(c, stat->compression) != 0) return 1;
    if (stat->planar == 1 || stat->planar == 2) image->planar_config = static_cast<uint16_t>(stat->planar);
    if (check_tile(c, stat->tile_size, TILE_STEP) != 0) return 1;
    c->xsize = static_cast<int32_t>(image->image_width);
    c->ysize = static_cast<int32_t>(image->image_length);
    if (rzl_setup_tiles(c, stat->tile_size, stat->tile_size) != 0) return 1;
    if (stat->vlt_type == 0 || stat->vlt_entries == 0) return 0;
    return set_vlt_type(c, stat->vlt_type) != 0 ? 1 : set_vlt_entries(c, stat->vlt_entries);
}
