// TIFF: what a data format means for a record and back, and the plan of strips and tiles of an image to be written.
#include <algorithm>
#include <cstring>

#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifwrthd";

// Strips that a file under update can get beyond those that it has.
constexpr uint64_t MOST_NEW_ENTRIES = 1 << 20;

// What a data format is in a file.
struct format_row {
    int32_t format;
    uint16_t samples, bits, photometric, compression;
};
constexpr format_row FORMATS[] = {
    {1, 1, 1, TIF_BLACK_ZERO, TIF_PLAIN},   {9, 1, 1, TIF_BLACK_ZERO, TIF_PACKBITS},
    {23, 1, 1, TIF_BLACK_ZERO, TIF_FAX_1D}, {24, 1, 1, TIF_BLACK_ZERO, TIF_FAX_G4},
    {2, 1, 8, TIF_BLACK_ZERO, TIF_PLAIN},   {10, 1, 8, TIF_BLACK_ZERO, TIF_PACKBITS},
    {29, 1, 8, TIF_BLACK_ZERO, TIF_LZW},    {30, 1, 8, TIF_BLACK_ZERO, TIF_PLAIN},
    {3, 1, 16, TIF_BLACK_ZERO, TIF_PLAIN},  {4, 1, 32, TIF_BLACK_ZERO, TIF_PLAIN},
    {5, 1, 32, TIF_BLACK_ZERO, TIF_PLAIN},  {28, 3, 8, TIF_RGB, TIF_PLAIN},
    {27, 3, 8, TIF_RGB, TIF_LZW},           {31, 3, 8, TIF_RGB, TIF_PLAIN},
    {69, 4, 8, TIF_CMYK, TIF_PLAIN},        {67, 4, 8, TIF_CMYK, TIF_LZW},
};

const format_row* find_format(int32_t format) {
    for (const format_row& row : FORMATS) {
        if (row.format == format) return &row;
    }
    return nullptr;
}

// A band of one sample.
int band_format(const tif_image* image) {
    uint16_t bits = tif_bits(image);
    bool coded = image->compression != TIF_PLAIN;
    if (bits == 1) {
        if (image->compression == TIF_FAX_G4) return RZL_FORMAT_GROUP4;
        if (tif_is_fax(image->compression)) return RZL_FORMAT_GROUP3;
        return coded ? RZL_FORMAT_BILEVEL_RUNS : RZL_FORMAT_BILEVEL;
    }
    // Coded samples of more than a byte get the format that has the room for them in a line.
    if (bits > 16) return RZL_FORMAT_INT32;
    if (bits > 8) return RZL_FORMAT_INT16;
    return coded ? RZL_FORMAT_BYTE_RUNS : RZL_FORMAT_BYTE;
}

// The bits that the application asked for, where they go with the format.
uint16_t wanted_bits(const CFILE* c, const tif_image* image) {
    int low = 1;
    int high = 16;
    if (image->samples_per_pixel == 1) {
        uint16_t bits = tif_bits(image);
        low = bits == 1 ? 1 : bits <= 8 ? 2 : bits <= 16 ? 9 : 17;
        high = bits == 1 ? 1 : bits <= 8 ? 8 : bits <= 16 ? 16 : 32;
    }
    return static_cast<uint16_t>(c->bits >= low && c->bits <= high ? c->bits : tif_bits(image));
}

// ---- strips

// Bytes that a strip should have when its number of rows is not given, and the bytes of a line by this count.
struct strip_target {
    uint64_t bytes, line;
};

strip_target target_of(const tif_image* image) {
    bool planes = image->planar_config == 2;
    uint64_t width = image->image_width;
    if (image->samples_per_pixel == 3) return {planes ? 8192u : 3072u, width};
    if (image->samples_per_pixel == 4) return {planes ? 8192u : 2048u, width};
    return {8192, tif_bits(image) == 1 ? (width + 7) / 8 : width};
}

void plan_rows(tif_image* image) {
    uint32_t rows = image->rows_per_strip;
    uint32_t height = image->image_length;
    bool colour = image->samples_per_pixel >= 3;
    if (rows == TIF_NOT_GIVEN) {
        rows = height;
    } else if (rows == 0 || (rows > height && !colour)) {
        strip_target target = target_of(image);
        rows = static_cast<uint32_t>(std::max<uint64_t>(target.bytes / std::max<uint64_t>(target.line, 1), 1));
        if (rows > height && !colour) rows = height;
    }
    image->rows_per_strip = std::max(rows, 1u);
}

void plan_tiles(const CFILE* c, tif_image* image) {
    image->flags = has_flag(c, FLAG_TILED) ? image->flags | TIF_TILED : image->flags & ~uint32_t{TIF_TILED};
    if (!tif_is_tiled(image)) {
        image->tile_width = image->tile_length = image->tiles_across = image->tiles_down = 0;
        return;
    }
    image->tile_width = c->tile->width;
    image->tile_length = c->tile->height;
    tif_count_tiles(image);
    image->rows_per_strip = image->tile_length;
}

// Photometric and samples have to say the same.
void plan_samples(const CFILE* c, tif_image* image) {
    uint16_t bits = wanted_bits(c, image);
    for (uint16_t& value : image->bits_per_sample)
        value = bits;
    bool map = (image->flags & TIF_HAS_MAP) != 0;
    if (image->samples_per_pixel == 3) image->photometric = TIF_RGB;
    if (image->samples_per_pixel == 4) image->photometric = TIF_CMYK;
    if (image->samples_per_pixel != 1) return;
    if (map) {
        image->photometric = TIF_PALETTE;
    } else if (image->photometric > TIF_BLACK_ZERO) {
        image->photometric = TIF_BLACK_ZERO;
    }
}

bool plan_is_possible(CFILE* c, const tif_image* image) {
    const char* detail = nullptr;
    uint32_t status = tif_judge(c, image, &detail);
    if (status == 0 && (image->image_width == 0 || image->image_length == 0)) {
        status = RZL_BAD_IMAGE_SIZE;
        detail = "image size";
    }
    if (status == 0 && (image->flags & TIF_HAS_MAP) != 0 && (image->samples_per_pixel != 1 || tif_bits(image) > 8)) {
        status = RZL_UNSUP_TIFF;
        detail = "Tiff bits/sample";
    }
    if (status == 0) return true;
    fail(c, status, SOURCE, detail);
    return false;
}

bool resize_arrays(CFILE* c, tif_image* image, uint32_t count) {
    uint32_t before = image->strip_offsets != nullptr ? image->strip_count : 0;
    size_t bytes = size_t{count} * sizeof(uint32_t);
    auto* offsets = static_cast<uint32_t*>(mem_realloc(image->strip_offsets, std::max<size_t>(bytes, 1)));
    if (offsets != nullptr) image->strip_offsets = offsets;
    auto* counts = offsets != nullptr
                       ? static_cast<uint32_t*>(mem_realloc(image->strip_byte_counts, std::max<size_t>(bytes, 1)))
                       : nullptr;
    if (counts == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return false;
    }
    image->strip_byte_counts = counts;
    for (uint32_t i = before; i < count; ++i)
        offsets[i] = counts[i] = 0;
    image->strip_count = count;
    return true;
}

} // namespace

int tif_format_of(const tif_image* image) {
    bool coded = image->compression != TIF_PLAIN;
    switch (image->samples_per_pixel) {
    case 1: return band_format(image);
    case 3: return coded ? RZL_FORMAT_PLANE_RUNS : RZL_FORMAT_RGB;
    case 4: return coded ? RZL_FORMAT_FOUR_PLANE_RUNS : RZL_FORMAT_FOUR;
    default: return RZL_FORMAT_BYTE;
    }
}

int tif_get_format(CFILE* c) {
    return tif_format_of(tif_image_of(c));
}

void tif_compression_class(const tif_image* image, bool opened, uint32_t* kind, uint32_t* variant) {
    *kind = CLASS_NONE;
    *variant = 0;
    switch (image->compression) {
    case TIF_FAX_1D:
        *kind = CLASS_CCITT;
        *variant = opened ? 1 : 2;
        break;
    case TIF_FAX_G3:
        *kind = CLASS_CCITT;
        *variant = opened ? 2 : 1;
        break;
    case TIF_FAX_G4:
        *kind = CLASS_CCITT;
        *variant = 4;
        break;
    case TIF_LZW:
        *kind = CLASS_LZW;
        *variant = 2;
        break;
    case TIF_PACKBITS:
        *kind = CLASS_RUNS;
        *variant = 1;
        break;
    default: break;
    }
}

int tif_set_format(CFILE* c, int32_t format) {
    tif_image* image = tif_image_of(c);
    const format_row* row = find_format(format);
    image->compression = TIF_PLAIN;
    if (row != nullptr) {
        image->samples_per_pixel = row->samples;
        for (uint16_t& bits : image->bits_per_sample)
            bits = row->bits;
        image->photometric = row->photometric;
        image->compression = row->compression;
        bool map = c->color_table != nullptr || (image->flags & TIF_HAS_MAP) != 0;
        if (map && row->samples == 1) image->photometric = TIF_PALETTE;
    }
    return tif_take_kind(c, image) ? 0 : 1;
}

bool tif_plan_strips(CFILE* c, tif_image* image) {
    plan_samples(c, image);
    plan_tiles(c, image);
    if (!plan_is_possible(c, image)) return false;
    if (!tif_is_tiled(image)) plan_rows(image);
    tif_shape shape = tif_shape_of(image);
    uint32_t count = 0;
    if (!checked_mul(tif_segments(image), static_cast<uint32_t>(shape.planes), &count) || count > INT32_MAX) {
        fail(c, RZL_BAD_IMAGE_SIZE, SOURCE, "image size");
        return false;
    }
    bool missing = image->strip_offsets == nullptr;
    if ((missing || image->strip_count != count) && !resize_arrays(c, image, count)) return false;
    if (missing) image->flags |= TIF_ARRAYS_CHANGED;
    return tif_take_vlt(c, image) && tif_take_image(c, image);
}

// The arrays of a file that was cut, or that is not finished, grow when a strip beyond them is stored; their place in
// the file is then too small.
bool tif_need_entry(CFILE* c, tif_image* image, uint32_t entry) {
    if (entry < image->strip_count) return true;
    auto segments = uint64_t{tif_segments(image)} * static_cast<uint64_t>(tif_shape_of(image).planes);
    // Arrays as long as a damaged file says could be anything.
    uint64_t room = uint64_t{image->strip_count} * 2 + MOST_NEW_ENTRIES;
    if (entry >= room) {
        fail(c, RZL_BAD_IMAGE_SIZE, SOURCE, "image size");
        return false;
    }
    image->flags |= TIF_OUT_OF_DATE;
    return resize_arrays(c, image, static_cast<uint32_t>(segments > entry ? std::min(segments, room) : entry + 1));
}
