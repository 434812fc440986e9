// TIFF: directories on their way into the file, and the places in them that are updated.
//
// Order of writing. Values and directory go to the end of the file in one piece; then the pointer to the directory, in
// the file header or behind the directory before it, is set. Until that one write the file is what it was. A directory
// that is built again keeps the entries of the old one that this module knows nothing of: their values stay where they
// are.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifwrthd";

} // namespace

// ---- formats, and the plan of an image ------------------------------------------------------------------------------

namespace {

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
    if (rows == TIF_NOT_GIVEN) {
        rows = height;
    } else if (rows == 0 || rows > height) { // more than there are count as none
        strip_target target = target_of(image);
        rows = static_cast<uint32_t>(std::max<uint64_t>(target.bytes / std::max<uint64_t>(target.line, 1), 1));
        if (image->samples_per_pixel == 1) rows = std::min(rows, height);
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

// Bits of a colour's sample at the most: its lines are bytes.
constexpr int32_t MOST_COLOUR_BITS = 16;

// Bits and samples wait on the handle, whether the data format has set them or fields 506 and 507. Photometric and
// samples have to say the same.
bool plan_samples(CFILE* c, tif_image* image) {
    bool colour = c->samples == 3 || c->samples == 4;
    if (c->samples != 1 && !colour) return fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff samp/pix");
    if (c->bits < 1 || c->bits > (colour ? MOST_COLOUR_BITS : TIF_MAX_BITS))
        return fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff bits/sample");
    image->samples_per_pixel = static_cast<uint16_t>(c->samples);
    for (uint16_t& value : image->bits_per_sample)
        value = static_cast<uint16_t>(c->bits);
    // Red, green, blue and something else stay that in a copy.
    bool extra = (image->flags & TIF_COPIED) != 0 && image->photometric == TIF_RGB;
    if (colour) {
        image->photometric = c->samples == 3 || extra ? TIF_RGB : TIF_CMYK;
    } else if ((image->flags & TIF_HAS_MAP) != 0) {
        image->photometric = TIF_PALETTE;
    } else if (image->photometric > TIF_BLACK_ZERO) {
        image->photometric = TIF_BLACK_ZERO;
    }
    return true;
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

// ---- sizes

// The bytes that an image's segments have in the file at the least; UINT64_MAX where no 64 bits hold them.
uint64_t least_bytes(const tif_image* image) {
    uint64_t rows = image->image_length;
    if (tif_is_tiled(image)) rows = uint64_t{tif_segments(image)} * image->tile_length;
    uint64_t all = 0;
    for (int plane = 0; plane < tif_shape_of(image).planes; ++plane) {
        uint64_t bytes = 0;
        bool fits = checked_mul(rows, tif_row_bytes(image, plane), &bytes) && checked_add(all, bytes, &all);
        if (!fits) return UINT64_MAX;
    }
    return all / tif_expansion(image->compression);
}

// Whether the file has offsets for so many more bytes of pixels, and as many more entries of the strip arrays.
bool file_can_grow(CFILE* c, uint64_t bytes, uint64_t entries) {
    const tif_spec* spec = tif_spec_of(c);
    uint64_t end = spec->begun ? static_cast<uint64_t>(spec->end - c->base_offset) : TIF_FIRST_OFFSET;
    bool fits = checked_add(end, entries * 2 * sizeof(uint32_t), &end) && checked_add(end, bytes, &end);
    return (fits && end <= UINT32_MAX) || fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "file too long");
}

// ---- a height that changes when lines are stored

// Whether the image can get more lines: it is the last of the chain, and the strip that they go on in is not stored.
bool can_get_longer(const CFILE* c, const tif_image* image) {
    const tif_gathering* out = &tif_spec_of(c)->out;
    uint32_t last = image->image_length / image->rows_per_strip;
    bool stored = image->image_length % image->rows_per_strip != 0 && !(out->waiting && out->segment == int64_t{last});
    for (int plane = 0; plane < tif_shape_of(image).planes && stored; ++plane)
        stored = tif_is_stored(image, tif_entry_of(image, last, plane));
    return !tif_is_tiled(image) && image->next == nullptr && !stored;
}

// The planes of an array that has `before` entries a plane move to where it has `after` of them.
void move_planes(uint32_t* array, size_t planes, size_t before, size_t after) {
    size_t kept = std::min(before, after) * sizeof(uint32_t);
    for (size_t i = 1; i < planes; ++i) {
        size_t plane = after < before ? i : planes - i;
        std::memmove(array + plane * after, array + plane * before, kept);
    }
    for (size_t plane = 0; plane < planes && after > before; ++plane)
        std::memset(array + plane * after + before, 0, (after - before) * sizeof(uint32_t));
}

bool move_entries(CFILE* c, tif_image* image, uint32_t before, uint32_t after) {
    auto planes = static_cast<uint32_t>(tif_shape_of(image).planes);
    uint32_t count = std::max(before, after) * planes;
    if (image->strip_count != before * planes) {
        // Arrays that a damaged file has cut: what stands in them of other planes can't be told.
        if (planes > 1) return fails(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified");
        image->strip_count = std::min(image->strip_count, after);
        return true;
    }
    if (after > before && !resize_arrays(c, image, count)) return false;
    move_planes(image->strip_offsets, planes, before, after);
    move_planes(image->strip_byte_counts, planes, before, after);
    image->strip_count = after * planes;
    return true;
}

// A plain strip that has become the last one is as long as its rows. Coded ones end where their reader has enough.
void cut_last_strip(tif_image* image) {
    if (tif_is_tiled(image) || image->compression != TIF_PLAIN) return;
    uint32_t last = tif_segments(image) - 1;
    for (int plane = 0; plane < tif_shape_of(image).planes; ++plane) {
        uint64_t bytes = tif_row_bytes(image, plane) * tif_rows_of(image, last);
        uint32_t entry = tif_entry_of(image, last, plane);
        if (entry < image->strip_count && image->strip_byte_counts[entry] > bytes)
            image->strip_byte_counts[entry] = static_cast<uint32_t>(bytes);
    }
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

static bool plan_strips(CFILE* c, tif_image* image) {
    if (!plan_samples(c, image)) return false;
    plan_tiles(c, image);
    if (!tif_is_fax(image->compression)) image->fill_order = 1;
    if (!plan_is_possible(c, image)) return false;
    if (!tif_is_tiled(image)) plan_rows(image);
    tif_shape shape = tif_shape_of(image);
    uint32_t count = 0;
    if (!checked_mul(tif_segments(image), static_cast<uint32_t>(shape.planes), &count) || count > INT32_MAX) {
        fail(c, RZL_BAD_IMAGE_SIZE, SOURCE, "image size");
        return false;
    }
    if (!file_can_grow(c, least_bytes(image), count)) return false;
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

bool tif_change_height(CFILE* c, tif_image* image, uint32_t height) {
    tif_image changed = *image;
    changed.image_length = height;
    if (tif_is_tiled(image)) tif_count_tiles(&changed);
    if (image->strip_offsets != nullptr && height != image->image_length) {
        bool longer = height > image->image_length;
        if (longer && !can_get_longer(c, image)) return fails(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified");
        uint32_t before = tif_segments(image);
        uint32_t after = tif_segments(&changed);
        uint64_t entries = uint64_t{after} * static_cast<uint64_t>(tif_shape_of(image).planes);
        if (longer && !file_can_grow(c, least_bytes(&changed) - least_bytes(image), entries)) return false;
        if (!longer && !tif_cut_tile_row(c, height)) return false;
        if (!move_entries(c, image, before, after)) return false;
        if (!longer) tif_cut_segment(c, height);
        image->flags |= TIF_OUT_OF_DATE;
    }
    image->image_length = height;
    image->tiles_down = changed.tiles_down;
    cut_last_strip(image);
    tif_spec_of(c)->in.segment = -1;
    return true;
}

// ---- directories ----------------------------------------------------------------------------------------------------

namespace {

constexpr size_t VALUE_SIZE = 8;

// ---- the entries of a directory

// An entry to be written. Its values are those of this machine, unless it is an old one that is carried over.
struct new_entry {
    uint16_t tag, type;
    uint32_t count;
    const uint8_t* values; // null: they are in `own`
    uint8_t own[VALUE_SIZE];
    const uint8_t* carried; // the old entry, or null
};

struct entry_list {
    new_entry* rows; // owned
    size_t count, room;
};

// Tags that say how the image is stored. The module makes their entries whenever they are due, and nobody else: an old
// one is never carried over.
constexpr uint16_t MANAGED_TAGS[] = {
    TIF_TAG_SUBFILE,     TIF_TAG_WIDTH,        TIF_TAG_LENGTH,        TIF_TAG_BITS,         TIF_TAG_COMPRESSION,
    TIF_TAG_PHOTOMETRIC, TIF_TAG_FILL_ORDER,   TIF_TAG_STRIP_OFFSETS, TIF_TAG_ORIENTATION,  TIF_TAG_SAMPLES,
    TIF_TAG_ROWS,        TIF_TAG_STRIP_COUNTS, TIF_TAG_X_RESOLUTION,  TIF_TAG_Y_RESOLUTION, TIF_TAG_PLANAR,
    TIF_TAG_FAX_OPTIONS, TIF_TAG_UNIT,         TIF_TAG_PREDICTOR,     TIF_TAG_COLOUR_MAP,   TIF_TAG_TILE_WIDTH,
    TIF_TAG_TILE_LENGTH, TIF_TAG_TILE_OFFSETS, TIF_TAG_TILE_COUNTS,
};

new_entry* add_entry(entry_list* list, uint16_t tag, uint16_t type, uint32_t count) {
    new_entry* row = &list->rows[list->count++];
    *row = {};
    row->tag = tag;
    row->type = type;
    row->count = count;
    return row;
}

void add_number(entry_list* list, uint16_t tag, uint16_t type, uint32_t value) {
    new_entry* row = add_entry(list, tag, type, 1);
    auto narrow = static_cast<uint16_t>(value);
    type == TIF_SHORT ? std::memcpy(row->own, &narrow, sizeof narrow) : std::memcpy(row->own, &value, sizeof value);
}

void add_values(entry_list* list, uint16_t tag, uint16_t type, uint32_t count, const void* values) {
    add_entry(list, tag, type, count)->values = static_cast<const uint8_t*>(values);
}

void add_layout(entry_list* list, const tif_image* image) {
    bool tiled = tif_is_tiled(image);
    if (!tiled) add_number(list, TIF_TAG_ROWS, TIF_LONG, image->rows_per_strip);
    if (tiled) add_number(list, TIF_TAG_TILE_WIDTH, TIF_SHORT, image->tile_width);
    if (tiled) add_number(list, TIF_TAG_TILE_LENGTH, TIF_SHORT, image->tile_length);
    add_values(list, tiled ? TIF_TAG_TILE_OFFSETS : TIF_TAG_STRIP_OFFSETS, TIF_LONG, image->strip_count,
               image->strip_offsets);
    add_values(list, tiled ? TIF_TAG_TILE_COUNTS : TIF_TAG_STRIP_COUNTS, TIF_LONG, image->strip_count,
               image->strip_byte_counts);
}

void add_coding(entry_list* list, const tif_image* image) {
    add_number(list, TIF_TAG_COMPRESSION, TIF_SHORT, image->compression);
    if (image->fill_order == 2) add_number(list, TIF_TAG_FILL_ORDER, TIF_SHORT, 2);
    bool options = image->compression == TIF_FAX_G3 && image->fax_options != 0;
    if (options) add_number(list, TIF_TAG_FAX_OPTIONS, TIF_LONG, image->fax_options);
    bool differences = tif_is_whole(image->compression) && image->predictor == 2;
    if (differences) add_number(list, TIF_TAG_PREDICTOR, TIF_SHORT, 2);
}

void add_description(entry_list* list, const tif_image* image) {
    uint32_t samples = image->samples_per_pixel;
    add_number(list, TIF_TAG_SUBFILE, TIF_LONG, image->previous != nullptr ? image->subfile_type : 0);
    add_number(list, TIF_TAG_WIDTH, TIF_LONG, image->image_width);
    add_number(list, TIF_TAG_LENGTH, TIF_LONG, image->image_length);
    add_values(list, TIF_TAG_BITS, TIF_SHORT, samples, image->bits_per_sample);
    add_number(list, TIF_TAG_PHOTOMETRIC, TIF_SHORT, image->photometric);
    if (image->orientation != 1) add_number(list, TIF_TAG_ORIENTATION, TIF_SHORT, image->orientation);
    add_number(list, TIF_TAG_SAMPLES, TIF_SHORT, samples);
    add_values(list, TIF_TAG_X_RESOLUTION, TIF_RATIONAL, 1, image->x_resolution);
    add_values(list, TIF_TAG_Y_RESOLUTION, TIF_RATIONAL, 1, image->y_resolution);
    if (samples > 1) add_number(list, TIF_TAG_PLANAR, TIF_SHORT, image->planar_config);
    add_number(list, TIF_TAG_UNIT, TIF_SHORT, image->resolution_unit);
    if ((image->flags & TIF_HAS_MAP) != 0 && image->colour_map != nullptr) {
        add_values(list, TIF_TAG_COLOUR_MAP, TIF_SHORT, 3u << tif_bits(image), image->colour_map);
    }
}

bool is_listed(const entry_list* list, uint16_t tag) {
    for (size_t i = 0; i < list->count; ++i)
        if (list->rows[i].tag == tag) return true;
    return false;
}

void carry_over(entry_list* list, const tif_spec* spec, const tif_image* image) {
    for (uint32_t i = 0; i < image->entry_count; ++i) {
        const uint8_t* entry = image->entries + size_t{i} * TIF_ENTRY_SIZE;
        uint16_t tag = tif_u16(spec, entry);
        bool dropped = tag == TIF_TAG_PACKETS && (image->flags & TIF_PACKETS_NEW) != 0;
        if (dropped || tif_is_managed(tag) || is_listed(list, tag)) continue;
        add_entry(list, tag, tif_u16(spec, entry + 2), tif_u32(spec, entry + 4))->carried = entry;
    }
}

// Everything in ascending order; of two user tags of one number the later one counts.
bool list_entries(CFILE* c, const tif_image* image, const uint8_t* packets, uint32_t packet_words, entry_list* list) {
    list->room = 32 + size_t{image->user_tag_count} + image->entry_count;
    list->rows = static_cast<new_entry*>(mem_alloc_array(list->room, sizeof(new_entry)));
    if (list->rows == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "Malloc error in write_header");
    add_description(list, image);
    add_coding(list, image);
    add_layout(list, image);
    if (packets != nullptr) add_values(list, TIF_TAG_PACKETS, TIF_SHORT, packet_words, packets);
    if ((image->subfile_type & 1) != 0) add_values(list, TIF_TAG_REGISTERS, TIF_LONG, 16, image->flag_registers);
    for (uint32_t i = image->user_tag_count; i-- > 0;) {
        const tif_user_tag* tag = &image->user_tags[i];
        if (!is_listed(list, tag->tag)) add_values(list, tag->tag, tag->type, tag->count, tag->data);
    }
    carry_over(list, tif_spec_of(c), image);
    std::sort(list->rows, list->rows + list->count,
              [](const new_entry& a, const new_entry& b) { return a.tag < b.tag; });
    return true;
}

// ---- the block of values and entries

void put_u16(const tif_spec* spec, uint8_t* p, uint16_t v) {
    spec->order == TIF_BIG ? store_u16be(p, v) : store_u16le(p, v);
}
void put_u32(const tif_spec* spec, uint8_t* p, uint32_t v) {
    spec->order == TIF_BIG ? store_u32be(p, v) : store_u32le(p, v);
}

uint64_t outside_bytes(const new_entry* row) {
    uint64_t bytes = row->carried != nullptr ? 0 : tif_value_bytes(row->type, row->count);
    return bytes > 4 ? bytes + bytes % 2 : 0;
}

// A block that is to stand at a place in the file, both from the base offset and even.
struct ifd_block {
    uint8_t* bytes; // owned
    size_t size;
    size_t entries_at; // of the first entry in it
};

void fill_block(const tif_spec* spec, const entry_list* list, uint32_t place, ifd_block* block) {
    uint8_t* value = block->bytes;
    uint8_t* entry = block->bytes + block->entries_at;
    put_u16(spec, entry - 2, static_cast<uint16_t>(list->count));
    for (size_t i = 0; i < list->count; ++i, entry += TIF_ENTRY_SIZE) {
        const new_entry* row = &list->rows[i];
        if (row->carried != nullptr) {
            std::memcpy(entry, row->carried, TIF_ENTRY_SIZE);
            continue;
        }
        put_u16(spec, entry, row->tag);
        put_u16(spec, entry + 2, row->type);
        put_u32(spec, entry + 4, row->count);
        const uint8_t* values = row->values != nullptr ? row->values : row->own;
        bool outside = outside_bytes(row) != 0;
        tif_copy_values(spec, row->type, outside ? value : entry + 8, values, row->count);
        if (!outside) continue;
        put_u32(spec, entry + 8, place + static_cast<uint32_t>(value - block->bytes));
        value += outside_bytes(row);
    }
}

bool make_block(CFILE* c, const tif_image* image, const entry_list* list, uint32_t place, ifd_block* block) {
    uint64_t size = 0;
    for (size_t i = 0; i < list->count; ++i)
        size += outside_bytes(&list->rows[i]);
    block->entries_at = static_cast<size_t>(size) + 2;
    size += 2 + list->count * TIF_ENTRY_SIZE + 4;
    if (list->count > UINT16_MAX || size > UINT32_MAX - place) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    block->size = static_cast<size_t>(size);
    block->bytes = static_cast<uint8_t*>(mem_alloc_zeroed(block->size));
    if (block->bytes == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "Malloc error in write_header");
    fill_block(tif_spec_of(c), list, place, block);
    put_u32(tif_spec_of(c), block->bytes + block->size - 4, image->next_ifd);
    return true;
}

// ---- the pointer to a directory

// The record whose pointer leads to `ifd`; for 0 the end of the chain. Null: the pointer in the file header.
tif_image* find_pointer(const tif_spec* spec, uint32_t ifd) {
    if (spec->first_ifd == ifd) return nullptr;
    for (tif_image* image = spec->first; image != nullptr; image = image->next)
        if ((image->flags & TIF_IN_FILE) != 0 && image->next_ifd == ifd) return image;
    return nullptr;
}

bool set_pointer(CFILE* c, uint32_t from, uint32_t to) {
    tif_spec* spec = tif_spec_of(c);
    tif_image* before = find_pointer(spec, from);
    uint8_t pointer[4];
    put_u32(spec, pointer, to);
    if (!tif_write_at(c, before != nullptr ? before->next_ifd_pos : 4, pointer, sizeof pointer)) return false;
    (before != nullptr ? before->next_ifd : spec->first_ifd) = to;
    return true;
}

void note_written(tif_image* image, uint32_t ifd, uint8_t* entries, size_t count) {
    image->ifd_offset = ifd;
    image->next_ifd_pos = ifd + 2 + static_cast<uint32_t>(count * TIF_ENTRY_SIZE);
    mem_free(image->entries);
    image->entries = entries;
    image->entry_count = static_cast<uint32_t>(count);
    image->flags &= ~uint32_t{TIF_IFD_DUE | TIF_OUT_OF_DATE | TIF_ARRAYS_CHANGED | TIF_PACKETS_NEW};
    image->flags |= TIF_IN_FILE;
}

bool write_block(CFILE* c, tif_image* image, const entry_list* list, uint32_t place) {
    ifd_block block = {};
    size_t bytes = list->count * TIF_ENTRY_SIZE;
    mem_guard<uint8_t> entries(static_cast<uint8_t*>(mem_alloc(bytes)));
    if (!entries) return fails(c, RZL_NO_MEMORY, SOURCE, "Malloc Failed");
    if (!make_block(c, image, list, place, &block) || block.bytes == nullptr) return false;
    std::memcpy(entries.get(), block.bytes + block.entries_at, bytes);
    uint32_t at = 0;
    bool written = tif_append(c, block.bytes, block.size, &at);
    mem_free(block.bytes);
    auto ifd = at + static_cast<uint32_t>(block.entries_at) - 2;
    if (!written || !set_pointer(c, image->ifd_offset, ifd)) return false;
    note_written(image, ifd, entries.keep(), list->count);
    return true;
}

// ---- strip arrays in their place

// Where the values of an entry stand in the file; 0 when it is missing or has another shape than `count` values of
// type 4.
int64_t array_place(const tif_spec* spec, const tif_image* image, uint16_t tag) {
    const uint8_t* entry = tif_find_entry(spec, image, tag);
    if (entry == nullptr || tif_u16(spec, entry + 2) != TIF_LONG) return 0;
    if (tif_u32(spec, entry + 4) != image->strip_count) return 0;
    if (image->strip_count == 1) return int64_t{image->ifd_offset} + 2 + (entry - image->entries) + 8;
    return tif_u32(spec, entry + 8);
}

bool write_array(CFILE* c, int64_t place, const uint32_t* values, uint32_t count) {
    size_t bytes = size_t{count} * sizeof(uint32_t);
    mem_guard<uint8_t> block(static_cast<uint8_t*>(mem_alloc(bytes)));
    if (!block) return fails(c, RZL_NO_MEMORY, SOURCE, "Malloc Failed");
    tif_copy_values(tif_spec_of(c), TIF_LONG, block.get(), reinterpret_cast<const uint8_t*>(values), count);
    return tif_write_at(c, place, block.get(), bytes);
}

bool begin_file(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    uint8_t header[TIF_FIRST_OFFSET] = {};
    put_u16(spec, header, spec->order);
    put_u16(spec, header + 2, TIF_VERSION);
    bool at_start = io_seek(c, c->base_offset) || (!is_readable(c) && c->base_offset == 0);
    if (!at_start || io_write(c, header, sizeof header) != sizeof header)
        return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    spec->begun = true;
    spec->end = c->base_offset + int64_t{TIF_FIRST_OFFSET};
    spec->at_end = true;
    return true;
}

// Gathered rows of a last row of tiles. A part of a row whose coded tiles the file has is not stored, and that is told:
// it would take the rest of the row with it.
bool flush_tile_row(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    if (!has_flag(c, FLAG_TILED) || c->tile == nullptr || !c->tile->row_dirty) return true;
    auto first = static_cast<uint32_t>(c->tile->first_line) / image->tile_length * image->tiles_across;
    if (image->strip_offsets == nullptr) return true;
    bool coded = image->compression != TIF_PLAIN;
    for (uint32_t tile = first; coded && tile < first + image->tiles_across; ++tile)
        if (tif_is_stored(image, tile)) return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "a part of a row of tiles");
    return tif_flush_tile_row(c);
}

// Whether the active image's directory has to go into the file: for a new one, as soon as it has a size.
bool directory_is_due(const CFILE* c, const tif_image* image) {
    if ((image->flags & (TIF_IFD_DUE | TIF_OUT_OF_DATE)) == 0) return false;
    bool sized = image->image_width != 0 && image->image_length != 0;
    return sized && (c->mode != MODE_UPDATE || has_flag(c, FLAG_MODULE) || (image->flags & TIF_OUT_OF_DATE) != 0);
}

} // namespace

bool tif_is_managed(uint16_t tag) {
    return std::find(std::begin(MANAGED_TAGS), std::end(MANAGED_TAGS), tag) != std::end(MANAGED_TAGS);
}

bool tif_write_at(CFILE* c, int64_t offset, const void* bytes, size_t count) {
    tif_spec* spec = tif_spec_of(c);
    spec->at_end = false;
    int64_t place = c->base_offset + offset;
    if (io_seek(c, place) && io_write(c, bytes, count) == count) {
        spec->end = std::max(spec->end, place + static_cast<int64_t>(count));
        return true;
    }
    return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
}

bool tif_extend(CFILE* c, const void* bytes, size_t count) {
    tif_spec* spec = tif_spec_of(c);
    uint64_t end = 0;
    bool fits = checked_add(static_cast<uint64_t>(spec->end - c->base_offset), uint64_t{count}, &end);
    if (!fits || end > UINT32_MAX) return fails(c, RZL_WRITE_FAILED, SOURCE, "file too long");
    bool written = (spec->at_end || io_seek(c, spec->end)) && io_write(c, bytes, count) == count;
    spec->at_end = written;
    if (!written) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    spec->end += static_cast<int64_t>(count);
    return true;
}

bool tif_append(CFILE* c, const void* bytes, size_t count, uint32_t* offset) {
    tif_spec* spec = tif_spec_of(c);
    if (!spec->begun && !begin_file(c)) return false;
    if (tif_is_streaming(c) && !tif_flush_segment(c)) return false;
    // Places are even, as readers expect of directories and values.
    static constexpr uint8_t pad = 0;
    if ((spec->end - c->base_offset) % 2 != 0 && !tif_extend(c, &pad, 1)) return false;
    int64_t place = spec->end - c->base_offset;
    if (!tif_extend(c, bytes, count)) return false;
    *offset = static_cast<uint32_t>(place);
    return true;
}

static bool write_ifd(CFILE* c, tif_image* image) {
    tif_spec* spec = tif_spec_of(c);
    if (!spec->begun && !begin_file(c)) return false;
    uint8_t* packets = nullptr;
    uint32_t packet_words = 0;
    if (!tif_make_packets(c, image, &packets, &packet_words)) return false;
    entry_list list = {};
    int64_t place = spec->end - c->base_offset;
    place += place % 2;
    bool written = place <= int64_t{UINT32_MAX} || fails(c, RZL_WRITE_FAILED, SOURCE, "file too long");
    written = written && list_entries(c, image, packets, packet_words, &list) &&
              write_block(c, image, &list, static_cast<uint32_t>(place));
    mem_free(list.rows);
    mem_free(packets);
    if (!written) return false;
    const uint8_t* entry = tif_find_entry(spec, image, TIF_TAG_PACKETS);
    if (entry != nullptr) {
        image->packet_words = tif_u32(spec, entry + 4);
        image->packet_offset = tif_u32(spec, entry + 8);
        image->packet_data = nullptr;
    }
    return true;
}

// Sizes first: a strip whose place is not told yet is none. Arrays of another shape than those of this module are
// told by a new directory.
static bool update_strip_arrays(CFILE* c, tif_image* image) {
    const tif_spec* spec = tif_spec_of(c);
    bool tiled = tif_is_tiled(image);
    int64_t offsets = array_place(spec, image, tiled ? TIF_TAG_TILE_OFFSETS : TIF_TAG_STRIP_OFFSETS);
    int64_t counts = array_place(spec, image, tiled ? TIF_TAG_TILE_COUNTS : TIF_TAG_STRIP_COUNTS);
    if (offsets == 0 || counts == 0) return write_ifd(c, image);
    if (!write_array(c, counts, image->strip_byte_counts, image->strip_count)) return false;
    if (!write_array(c, offsets, image->strip_offsets, image->strip_count)) return false;
    image->flags &= ~uint32_t{TIF_ARRAYS_CHANGED};
    return true;
}

bool tif_update_flag_registers(CFILE* c, tif_image* image) {
    tif_spec* spec = tif_spec_of(c);
    if ((image->flags & TIF_IN_FILE) == 0) return true; // they go into the file with the directory
    if ((image->flags & TIF_OUT_OF_DATE) != 0) return fails(c, RZL_NO_SUCH_TAG, SOURCE, nullptr);
    const uint8_t* entry = tif_find_entry(spec, image, TIF_TAG_REGISTERS);
    if (entry == nullptr || tif_u16(spec, entry + 2) != TIF_LONG || tif_u32(spec, entry + 4) != 16) {
        return write_ifd(c, image);
    }
    return write_array(c, tif_u32(spec, entry + 8), image->flag_registers, 16);
}

// Where the next data go, and where a file in memory ends. A file that was not written stays where it is.
static bool stand_at_end(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    if (spec->at_end || !spec->begun) return true;
    spec->at_end = io_seek(c, spec->end);
    return spec->at_end || fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
}

// A further image or an overview gets its directory when it is finished.
int tif_write_header(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    tif_image* image = spec->image;
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "header");
    bool existed = (image->flags & TIF_IN_FILE) != 0;
    if (existed ? !tif_take_vlt(c, image) || !tif_take_image(c, image) : !plan_strips(c, image)) return 1;
    if (image == spec->first && !tif_flush_segment(c)) return 1;
    if (image == spec->first && !write_ifd(c, image)) return 1;
    c->vlt = nullptr;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    c->line = 0;
    return stand_at_end(c) ? 0 : 1;
}

int tif_finish_image(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    tif_image* image = spec->image;
    bool stored = flush_tile_row(c) && tif_flush_segment(c);
    // What was stored before is noted even when the last part could not be.
    bool told = true;
    if (directory_is_due(c, image)) {
        bool planned = image->strip_offsets != nullptr || plan_strips(c, image);
        told = planned && write_ifd(c, image);
        if (told && image == spec->first) set_flag(c, FLAG_HEADER_EXISTS, true);
    } else if ((image->flags & TIF_ARRAYS_CHANGED) != 0 && (image->flags & TIF_IN_FILE) != 0) {
        told = update_strip_arrays(c, image);
    }
    return stored && told && stand_at_end(c) ? 0 : 1;
}
