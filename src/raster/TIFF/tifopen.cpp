// TIFF: opening for reading and update, the initial state of a file being created, what the handle takes from the
// active image, and closing.
//
// What is believed of an image. A file is refused when a line, or a row of tiles, is longer than all of the file's
// bytes could be the code of: nothing that reads it then takes memory out of proportion. Strips that are missing or cut
// fail when their lines are read, and the lines in front of them are given.
//
// The chain of directories: reading every one of them into a record, and the strip arrays of one that is to be used.
//
// What is believed of a directory. Its entries are kept as they stand in the file; values that stand elsewhere are read
// only where the file has them, and no more of them than the record has room for. All directories together have no
// more bytes than the file: a chain that claims more has directories that overlap, and ends there, as it does where it
// comes back to a directory that it has passed. The strip arrays of a record are no longer than the entry that tells of
// them, whose values must be in the file, and wait until the image is used.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/invariant.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifopen";

} // namespace

// ---- directories ----------------------------------------------------------------------------------------------------

namespace {

// ---- directories that were passed, to find loops: a hash set of offsets

struct offset_set {
    uint32_t* slots; // owned; 0 for an empty one
    size_t size;     // a power of two
    size_t used;
};

size_t find_slot(const offset_set* set, uint32_t offset) {
    size_t slot = offset * 0x9E3779B1u & (set->size - 1);
    while (set->slots[slot] != 0 && set->slots[slot] != offset)
        slot = (slot + 1) & (set->size - 1);
    return slot;
}

bool grow_set(offset_set* set) {
    offset_set larger = {nullptr, set->size == 0 ? 16 : set->size * 2, set->used};
    larger.slots = static_cast<uint32_t*>(mem_alloc_zeroed(larger.size * sizeof(uint32_t)));
    if (larger.slots == nullptr) return false;
    for (size_t i = 0; i < set->size; ++i)
        if (set->slots[i] != 0) larger.slots[find_slot(&larger, set->slots[i])] = set->slots[i];
    mem_free(set->slots);
    *set = larger;
    return true;
}

// *known tells whether the offset was there already. False: no memory.
bool add_offset(offset_set* set, uint32_t offset, bool* known) {
    if (set->used * 2 >= set->size && !grow_set(set)) return false;
    size_t slot = find_slot(set, offset);
    *known = set->slots[slot] == offset;
    if (!*known) ++set->used;
    set->slots[slot] = offset;
    return true;
}

// ---- values of entries

// A value in the entry itself: type 3 has it in the first two bytes of the field.
uint32_t inline_value(const tif_spec* spec, const uint8_t* entry) {
    return tif_u16(spec, entry + 2) == TIF_SHORT ? tif_u16(spec, entry + 8) : tif_u32(spec, entry + 8);
}

// Tags of one 16-bit value.
struct word_tag {
    uint16_t tag;
    uint16_t tif_image::*member;
};
constexpr word_tag WORD_TAGS[] = {
    {TIF_TAG_COMPRESSION, &tif_image::compression}, {TIF_TAG_PHOTOMETRIC, &tif_image::photometric},
    {TIF_TAG_ORIENTATION, &tif_image::orientation}, {TIF_TAG_SAMPLES, &tif_image::samples_per_pixel},
    {TIF_TAG_PLANAR, &tif_image::planar_config},    {TIF_TAG_PREDICTOR, &tif_image::predictor},
    {TIF_TAG_UNIT, &tif_image::resolution_unit},    {TIF_TAG_FILL_ORDER, &tif_image::fill_order},
};

// Tags of one value of either size.
struct long_tag {
    uint16_t tag;
    uint32_t tif_image::*member;
};
constexpr long_tag LONG_TAGS[] = {
    {TIF_TAG_SUBFILE, &tif_image::subfile_type},    {TIF_TAG_WIDTH, &tif_image::image_width},
    {TIF_TAG_LENGTH, &tif_image::image_length},     {TIF_TAG_ROWS, &tif_image::rows_per_strip},
    {TIF_TAG_TILE_WIDTH, &tif_image::tile_width},   {TIF_TAG_TILE_LENGTH, &tif_image::tile_length},
    {TIF_TAG_FAX_OPTIONS, &tif_image::fax_options},
};

bool take_plain_value(const tif_spec* spec, tif_image* image, uint16_t tag, const uint8_t* entry) {
    for (const word_tag& row : WORD_TAGS) {
        if (row.tag == tag) {
            image->*row.member = tif_u16(spec, entry + 8);
            return true;
        }
    }
    for (const long_tag& row : LONG_TAGS) {
        if (row.tag == tag) {
            image->*row.member = inline_value(spec, entry);
            return true;
        }
    }
    return false;
}

// Values of four bytes that stand behind an offset, the record's first `count`.
bool read_longs(CFILE* c, const uint8_t* entry, uint32_t* out, uint32_t count) {
    const tif_spec* spec = tif_spec_of(c);
    uint8_t block[64];
    if (!tif_read_at(c, tif_u32(spec, entry + 8), block, size_t{count} * 4)) return false;
    for (uint32_t i = 0; i < count; ++i)
        out[i] = tif_u32(spec, block + size_t{i} * 4);
    return true;
}

// A least or greatest sample value. A type of more than two bytes gives its first four.
bool read_limits(CFILE* c, const uint8_t* entry, uint32_t* limits) {
    const tif_spec* spec = tif_spec_of(c);
    uint32_t count = std::min(tif_u32(spec, entry + 4), uint32_t{TIF_MAX_SAMPLES});
    if (tif_u16(spec, entry + 2) == TIF_SHORT) return tif_read_numbers(c, entry, limits, count) >= 0;
    if (count <= 1) {
        limits[0] = inline_value(spec, entry);
        return true;
    }
    return read_longs(c, entry, limits, count);
}

bool read_registers(CFILE* c, const uint8_t* entry, tif_image* image) {
    const tif_spec* spec = tif_spec_of(c);
    constexpr uint32_t COUNT = 16;
    if (tif_u32(spec, entry + 4) < COUNT) return true;
    if (!read_longs(c, entry, image->flag_registers, COUNT)) return false;
    for (uint32_t& value : image->flag_registers)
        value &= 0xFFFF;
    return true;
}

void take_packets(CFILE* c, const uint8_t* entry, tif_image* image) {
    const tif_spec* spec = tif_spec_of(c);
    if (tif_u16(spec, entry + 2) != TIF_SHORT) {
        // The tag is passed over, and the file is good without it.
        if (debug_level() != 0) rzl_report(RZL_READ_FAILED, SOURCE, __LINE__, "Invalid packet type");
        return;
    }
    image->packet_words = tif_u32(spec, entry + 4);
    image->packet_offset = tif_u32(spec, entry + 8);
}

// What stands in the first place: sizes, layout, coding.
bool take_entry(CFILE* c, tif_image* image, const uint8_t* entry) {
    const tif_spec* spec = tif_spec_of(c);
    uint16_t tag = tif_u16(spec, entry);
    if (take_plain_value(spec, image, tag, entry)) return true;
    switch (tag) {
    case TIF_TAG_STRIP_OFFSETS:
    case TIF_TAG_STRIP_COUNTS: image->given_strips = tif_u32(spec, entry + 4); return true;
    case TIF_TAG_MIN:
    case TIF_TAG_SMIN: return read_limits(c, entry, image->min_sample) || fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    case TIF_TAG_MAX:
    case TIF_TAG_SMAX: return read_limits(c, entry, image->max_sample) || fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    case TIF_TAG_REGISTERS: return read_registers(c, entry, image) || fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    case TIF_TAG_PACKETS: take_packets(c, entry, image); return true;
    default: return true;
    }
}

// ---- what depends on sizes and samples

bool read_bits(CFILE* c, tif_image* image) {
    const tif_spec* spec = tif_spec_of(c);
    const uint8_t* entry = tif_find_entry(spec, image, TIF_TAG_BITS);
    uint32_t bits[TIF_MAX_SAMPLES] = {1, 1, 1, 1};
    if (entry == nullptr) {
        for (uint16_t& value : image->bits_per_sample)
            value = 1;
        return true;
    }
    uint32_t count = tif_u32(spec, entry + 4);
    if (count != 1 && count != image->samples_per_pixel)
        return fails(c, RZL_UNSUP_TIFF, SOURCE, "# BPS entries != SPP");
    if (tif_read_numbers(c, entry, bits, TIF_MAX_SAMPLES) < 0) return fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    // One value holds for all samples.
    for (uint32_t i = 0; i < TIF_MAX_SAMPLES; ++i)
        image->bits_per_sample[i] = static_cast<uint16_t>(std::min(bits[i < count ? i : 0], uint32_t{UINT16_MAX}));
    return true;
}

bool read_resolution(CFILE* c, const tif_image* image, uint16_t tag, uint32_t* value) {
    const uint8_t* entry = tif_find_entry(tif_spec_of(c), image, tag);
    if (entry == nullptr) return true;
    return read_longs(c, entry, value, 2) || fails(c, RZL_READ_FAILED, SOURCE, "IFD");
}

bool read_colour_map(CFILE* c, tif_image* image) {
    const tif_spec* spec = tif_spec_of(c);
    const uint8_t* entry = tif_find_entry(spec, image, TIF_TAG_COLOUR_MAP);
    if (entry == nullptr) return true;
    size_t values = size_t{3} << tif_bits(image);
    if (tif_u16(spec, entry + 2) != TIF_SHORT || tif_u32(spec, entry + 4) < values) {
        return fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    }
    if (image->colour_map == nullptr && !tif_need_map(image)) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    uint8_t block[3 * TIF_MAP_ENTRIES * 2] = {};
    if (!tif_read_at(c, tif_u32(spec, entry + 8), block, values * 2)) return fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    for (size_t i = 0; i < values; ++i)
        image->colour_map[i] = tif_u16(spec, block + i * 2);
    image->flags |= TIF_HAS_MAP;
    image->colour_map_count = int32_t{1} << tif_bits(image);
    return true;
}

// Tables have a place for 8-bit samples, and a pixel for 4: what goes beyond is refused before anything is taken of it.
bool fits_record(CFILE* c, const tif_image* image) {
    if (image->samples_per_pixel == 0 || image->samples_per_pixel > TIF_MAX_SAMPLES) {
        return fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff samp/pix");
    }
    return true;
}
bool tables_fit(CFILE* c, const tif_image* image) {
    const tif_spec* spec = tif_spec_of(c);
    for (uint16_t tag : {TIF_TAG_GRAY_CURVE, TIF_TAG_COLOUR_CURVE, TIF_TAG_COLOUR_MAP}) {
        if (tif_find_entry(spec, image, tag) == nullptr) continue;
        if (tif_bits(image) == 0 || tif_bits(image) > 8) return fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff bits/sample");
    }
    return true;
}

bool lay_out_tiles(CFILE* c, tif_image* image) {
    const tif_spec* spec = tif_spec_of(c);
    bool tiled = tif_find_entry(spec, image, TIF_TAG_TILE_WIDTH) != nullptr ||
                 tif_find_entry(spec, image, TIF_TAG_TILE_LENGTH) != nullptr;
    if (!tiled) {
        image->tile_width = image->tile_length = image->tiles_across = image->tiles_down = 0;
        return true;
    }
    if (image->tile_width == 0 || image->tile_length == 0)
        return fails(c, RZL_BAD_TILE_SIZE, SOURCE, "Invalid tile size");
    image->flags |= TIF_TILED;
    tif_count_tiles(image);
    image->rows_per_strip = image->tile_length;
    return true;
}

// Rows per strip follow from the number of strips where a directory with several strips doesn't give them.
void lay_out_strips(tif_image* image) {
    if (tif_is_tiled(image)) return;
    uint32_t strips = image->given_strips;
    if (image->planar_config == 2) strips /= image->samples_per_pixel;
    bool given = image->rows_per_strip != TIF_NOT_GIVEN && image->rows_per_strip != 0;
    if (strips > 1 && (!given || image->rows_per_strip > image->image_length)) {
        image->rows_per_strip = static_cast<uint32_t>((uint64_t{image->image_length} + strips - 1) / strips);
    }
    if (image->rows_per_strip == 0) image->rows_per_strip = TIF_NOT_GIVEN;
    if (image->rows_per_strip > image->image_length) image->rows_per_strip = image->image_length;
    if (image->rows_per_strip == 0) image->rows_per_strip = 1;
}

// ---- one directory, and the chain

// A new record that begins with what the directory before it said. Resolution, places and sizes of its own it has not.
tif_image* record_after(const tif_image* before) {
    tif_image* image = tif_new_image();
    if (image == nullptr) return nullptr;
    image->photometric = TIF_WHITE_ZERO;
    image->flags = TIF_IN_FILE;
    image->rows_per_strip = TIF_NOT_GIVEN;
    if (before == nullptr) return image;
    image->compression = before->compression;
    image->photometric = before->photometric;
    image->planar_config = before->planar_config;
    image->samples_per_pixel = before->samples_per_pixel;
    image->predictor = before->predictor;
    image->orientation = before->orientation;
    image->fill_order = before->fill_order;
    image->rows_per_strip = before->rows_per_strip;
    image->given_strips = before->given_strips;
    return image;
}

bool read_entries(CFILE* c, tif_image* image, uint64_t* bytes_left) {
    const tif_spec* spec = tif_spec_of(c);
    uint8_t count[2];
    if (!tif_read_at(c, image->ifd_offset, count, 2)) return fails(c, RZL_READ_FAILED, SOURCE, "entry_count");
    image->entry_count = tif_u16(spec, count);
    size_t bytes = size_t{image->entry_count} * TIF_ENTRY_SIZE;
    if (bytes + 6 > *bytes_left) return fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    *bytes_left -= bytes + 6;
    image->entries = static_cast<uint8_t*>(mem_alloc(bytes));
    if (image->entries == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (!tif_read_at(c, int64_t{image->ifd_offset} + 2, image->entries, bytes)) {
        return fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    }
    return true;
}

bool read_directory(CFILE* c, tif_image* image, uint64_t* bytes_left) {
    const tif_spec* spec = tif_spec_of(c);
    if (!read_entries(c, image, bytes_left)) return false;
    for (uint32_t i = 0; i < image->entry_count; ++i)
        if (!take_entry(c, image, image->entries + size_t{i} * TIF_ENTRY_SIZE)) return false;
    if (!fits_record(c, image) || !read_bits(c, image) || !tables_fit(c, image)) return false;
    if (!lay_out_tiles(c, image)) return false;
    lay_out_strips(image);
    if (!read_resolution(c, image, TIF_TAG_X_RESOLUTION, image->x_resolution)) return false;
    if (!read_resolution(c, image, TIF_TAG_Y_RESOLUTION, image->y_resolution)) return false;
    if (!read_colour_map(c, image)) return false;
    int64_t at = int64_t{image->ifd_offset} + 2 + int64_t{image->entry_count} * int64_t{TIF_ENTRY_SIZE};
    uint8_t next[4];
    if (!tif_read_at(c, at, next, 4)) return fails(c, RZL_READ_FAILED, SOURCE, "IFD offset");
    image->next_ifd_pos = static_cast<uint32_t>(at);
    image->next_ifd = tif_u32(spec, next);
    return true;
}

// A directory that claims the whole range of no value at all: the range of its bits.
void complete_limits(tif_image* image) {
    uint16_t bits = tif_bits(image);
    if (bits == 1 || bits == 8 || image->max_sample[0] != image->min_sample[0]) return;
    for (int i = 0; i < TIF_MAX_SAMPLES; ++i) {
        image->min_sample[i] = 0;
        image->max_sample[i] = bits < 32 ? (uint32_t{1} << bits) - 1 : UINT32_MAX;
    }
}

// Whether the chain goes on behind `image`. A loop, and directories that overlap, end it.
bool chain_goes_on(CFILE* c, tif_image* image, offset_set* passed, uint64_t bytes_left, bool* failed) {
    bool known = false;
    if (image->next_ifd == 0) return false;
    if (image->next_ifd < TIF_FIRST_OFFSET) {
        *failed = !fails(c, RZL_READ_FAILED, SOURCE, "Invalid ifd_offset");
        return false;
    }
    if (!add_offset(passed, image->next_ifd, &known)) {
        *failed = !fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return false;
    }
    if (!known && bytes_left > 6) return true;
    image->next_ifd = 0;
    return false;
}

constexpr size_t DIRECTORIES_IN_VIEW = 64;

bool read_directories(CFILE* c, offset_set* passed) {
    tif_spec* spec = tif_spec_of(c);
    auto bytes_left = static_cast<uint64_t>(std::max<int64_t>(io_size(c) - c->base_offset, 0));
    bool ignored = false;
    bool failed = false;
    size_t count = 0;
    if (!add_offset(passed, spec->first_ifd, &ignored)) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    tif_image* last = nullptr;
    uint32_t offset = spec->first_ifd;
    do {
        tif_image* image = record_after(last);
        if (image == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
        image->ifd_offset = offset;
        image->previous = last;
        (last != nullptr ? last->next : spec->first) = image;
        if (!read_directory(c, image, &bytes_left)) return false;
        last = image;
        offset = image->next_ifd;
        // A view would be filled anew for nearly every value of directories that stand far apart.
        if (++count == DIRECTORIES_IN_VIEW && c->mapping != nullptr && rzl_set_mapped(c, false) != 0) return false;
    } while (chain_goes_on(c, last, passed, bytes_left, &failed));
    if (failed) return false;
    complete_limits(last);
    return true;
}

constexpr uint16_t BIG_TIFF = 43; // the version whose offsets have 64 bits

bool read_file_header(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    uint8_t header[8];
    if (!tif_read_at(c, 0, header, 2)) return fails(c, RZL_READ_FAILED, SOURCE, "byte order");
    spec->extended = is_extended();
    spec->order = load_u16le(header);
    if (spec->order != TIF_LITTLE && spec->order != TIF_BIG) return fails(c, RZL_READ_FAILED, SOURCE, "byte order");
    bool versioned = tif_read_at(c, 2, header + 2, 2);
    if (versioned && tif_u16(spec, header + 2) == BIG_TIFF) return fails(c, RZL_UNSUP_TIFF, SOURCE, "BigTIFF");
    if (!versioned || tif_u16(spec, header + 2) != TIF_VERSION) {
        return fails(c, RZL_READ_FAILED, SOURCE, "version number");
    }
    if (!tif_read_at(c, 4, header + 4, 4)) return fails(c, RZL_READ_FAILED, SOURCE, "IFD offset");
    spec->first_ifd = tif_u32(spec, header + 4);
    if (spec->first_ifd < TIF_FIRST_OFFSET) return fails(c, RZL_READ_FAILED, SOURCE, "Invalid ifd_offset");
    return true;
}

bool read_chain(CFILE* c) {
    if (!read_file_header(c)) return false;
    offset_set passed = {};
    bool mapped = c->mapping != nullptr;
    bool read = read_directories(c, &passed);
    mem_free(passed.slots);
    // Without memory for a view the file is read as it stands.
    if (read && mapped && c->mapping == nullptr && rzl_set_mapped(c, true) != 0) c->status = 0;
    return read;
}

// ---- strip arrays

// One strip without a size reaches to the end of the file.
void complete_single_strip(CFILE* c, tif_image* image) {
    if (image->strip_count != 1 || image->strip_byte_counts[0] != 0) return;
    if (image->strip_offsets[0] <= image->ifd_offset) return;
    int64_t rest = io_size(c) - c->base_offset - image->strip_offsets[0];
    image->strip_byte_counts[0] = static_cast<uint32_t>(clamped(rest, int64_t{0}, int64_t{UINT32_MAX}));
}

} // namespace

void tif_copy_values(const tif_spec* spec, uint16_t type, uint8_t* to, const uint8_t* from, size_t count) {
    int bits = type == TIF_SHORT ? 16 : type == TIF_LONG || type == TIF_RATIONAL ? 32 : 8;
    if (type == TIF_RATIONAL) count *= 2;
    unpack_samples(from, bits, spec->order == TIF_BIG, count, to);
}

bool tif_read_at(CFILE* c, int64_t offset, void* out, size_t bytes) {
    int64_t place = 0;
    if (offset < 0 || !checked_add(c->base_offset, offset, &place)) return false;
    tif_spec_of(c)->at_end = false;
    return bytes == 0 || (io_seek(c, place) && io_read(c, out, bytes) == bytes);
}

const uint8_t* tif_find_entry(const tif_spec* spec, const tif_image* image, uint16_t tag) {
    for (uint32_t i = image->entry_count; i-- > 0;) {
        const uint8_t* entry = image->entries + size_t{i} * TIF_ENTRY_SIZE;
        if (tif_u16(spec, entry) == tag) return entry;
    }
    return nullptr;
}

int64_t tif_read_numbers(CFILE* c, const uint8_t* entry, uint32_t* out, uint32_t limit) {
    const tif_spec* spec = tif_spec_of(c);
    uint16_t type = tif_u16(spec, entry + 2);
    if (type != TIF_BYTE && type != TIF_SHORT && type != TIF_LONG) return -1;
    size_t size = tif_type_size(type);
    uint64_t all = tif_u32(spec, entry + 4) * uint64_t{size};
    auto count = static_cast<uint32_t>(std::min<uint64_t>(all / size, limit));
    uint8_t block[512];
    const auto piece = static_cast<uint32_t>(sizeof block / size);
    for (uint32_t first = 0; first < count; first += piece) {
        uint32_t values = std::min(piece, count - first);
        const uint8_t* from = all <= 4 ? entry + 8 : block;
        int64_t place = int64_t{tif_u32(spec, entry + 8)} + int64_t{first} * static_cast<int64_t>(size);
        if (all > 4 && !tif_read_at(c, place, block, values * size)) return -1;
        for (uint32_t i = 0; i < values; ++i) {
            const uint8_t* p = from + i * size;
            out[first + i] = type == TIF_BYTE ? *p : type == TIF_SHORT ? tif_u16(spec, p) : tif_u32(spec, p);
        }
    }
    return count;
}

bool tif_load_arrays(CFILE* c, tif_image* image) {
    if (image->strip_offsets != nullptr) return true;
    const tif_spec* spec = tif_spec_of(c);
    const uint8_t* offsets =
        tif_find_entry(spec, image, tif_is_tiled(image) ? TIF_TAG_TILE_OFFSETS : TIF_TAG_STRIP_OFFSETS);
    const uint8_t* counts =
        tif_find_entry(spec, image, tif_is_tiled(image) ? TIF_TAG_TILE_COUNTS : TIF_TAG_STRIP_COUNTS);
    tif_shape shape = tif_shape_of(image);
    uint64_t entries = uint64_t{tif_segments(image)} * static_cast<uint64_t>(shape.planes);
    uint64_t given = offsets != nullptr ? tif_u32(spec, offsets + 4) : 0;
    // No more than the file has bytes for.
    auto room = static_cast<uint64_t>(std::max<int64_t>(io_size(c), 0));
    auto count = static_cast<uint32_t>(std::min({entries, given, room}));
    image->strip_offsets = static_cast<uint32_t*>(mem_alloc_zeroed(size_t{count} * sizeof(uint32_t)));
    image->strip_byte_counts = static_cast<uint32_t*>(mem_alloc_zeroed(size_t{count} * sizeof(uint32_t)));
    if (image->strip_offsets == nullptr || image->strip_byte_counts == nullptr) {
        fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    } else if ((offsets != nullptr && tif_read_numbers(c, offsets, image->strip_offsets, count) < 0) ||
               (counts != nullptr && tif_read_numbers(c, counts, image->strip_byte_counts, count) < 0)) {
        fails(c, RZL_READ_FAILED, SOURCE, "IFD");
    } else {
        image->strip_count = count;
        complete_single_strip(c, image);
        return true;
    }
    mem_free(image->strip_offsets);
    mem_free(image->strip_byte_counts);
    image->strip_offsets = image->strip_byte_counts = nullptr;
    return false;
}

// ---- opening, creating, closing -------------------------------------------------------------------------------------

namespace {

// A row of tiles is held in memory: so much is taken on trust, blank tiles having hardly any code. So is a line.
constexpr uint64_t TRUSTED_BYTES = TIF_MOST_SPARSE;
constexpr uint64_t TRUSTED_LINE = 1 << 16;
constexpr uint64_t TILE_ROW_EXPANSION = 1400;
// A file under update may not have its lines yet.
constexpr uint64_t UNWRITTEN_BYTES = 1 << 20;

bool line_fits(const tif_image* image, uint64_t file_bytes) {
    uint64_t row = tif_row_bytes(image, 0);
    if (tif_is_tiled(image)) row = row * image->tiles_across;
    return row <= TRUSTED_LINE || row / tif_expansion(image->compression) <= file_bytes;
}

bool tile_row_fits(const tif_image* image, uint64_t file_bytes) {
    if (!tif_is_tiled(image)) return true;
    uint64_t pixels = 0;
    uint64_t bytes = 0;
    uint64_t lines = std::min(image->tile_length, std::max(image->image_length, 1u));
    uint64_t sample = tif_bits(image) > 16 ? 4 : tif_bits(image) > 8 ? 2 : 1;
    uint64_t pixel = std::max<uint64_t>(sample, image->samples_per_pixel);
    bool counted = checked_mul(uint64_t{image->tiles_across} * image->tile_width, lines, &pixels) &&
                   checked_mul(pixels, pixel, &bytes);
    // The tile itself is of full length, whatever the image has.
    uint64_t tile = 0;
    counted = counted && checked_mul(uint64_t{image->tile_width} * image->tile_length, pixel, &tile);
    if (!counted) return false;
    bytes = std::max(bytes, tile);
    return bytes <= TRUSTED_BYTES || bytes / TILE_ROW_EXPANSION <= file_bytes;
}

uint32_t judge_coding(const CFILE* c, const tif_image* image, const char** detail) {
    uint16_t compression = image->compression;
    bool grey = image->photometric == TIF_WHITE_ZERO || image->photometric == TIF_BLACK_ZERO ||
                image->photometric == TIF_PALETTE;
    bool colour = image->photometric == TIF_RGB || image->photometric == TIF_CMYK;
    *detail = "Tiff photometric type";
    if (!grey && !colour) return RZL_UNSUP_TIFF;
    *detail = "Tiff compression type";
    bool plain = compression == TIF_PLAIN || compression == TIF_LZW || compression == TIF_PACKBITS ||
                 (tif_spec_of(c)->extended && tif_is_deflate(compression));
    if (!plain && !(grey && tif_is_bilevel(image) && tif_is_fax(compression))) return RZL_UNSUP_TIFF;
    return 0;
}

uint32_t judge_samples(const tif_image* image, const char** detail) {
    *detail = "Tiff bits/sample";
    int used = image->planar_config == 2 || image->samples_per_pixel == 1 ? 1 : image->samples_per_pixel;
    for (int i = 0; i < image->samples_per_pixel; ++i) {
        uint16_t bits = image->bits_per_sample[i];
        if (bits == 0 || bits > TIF_MAX_BITS) return RZL_UNSUP_TIFF;
        if (i < used && bits != tif_bits(image)) return RZL_UNSUP_TIFF;
    }
    *detail = "Tiff planar";
    return image->planar_config == 1 || image->planar_config == 2 ? 0 : RZL_UNSUP_TIFF;
}

} // namespace

uint32_t tif_judge(CFILE* c, const tif_image* image, const char** detail) {
    uint32_t status = judge_coding(c, image, detail);
    if (status == 0) status = judge_samples(image, detail);
    if (status != 0) return status;
    *detail = "image size";
    if (image->image_width > INT32_MAX || image->image_length > INT32_MAX) return RZL_BAD_IMAGE_SIZE;
    *detail = "Invalid tile size";
    if (tif_is_tiled(image)) {
        uint64_t tiles = uint64_t{image->tiles_across} * image->tiles_down;
        if (image->tile_width > INT32_MAX || image->tile_length > INT32_MAX || tiles > INT32_MAX)
            return RZL_BAD_TILE_SIZE;
        // Words of bilevel lines hold 16 pixels, and tiles stand beside each other in them.
        if (tif_is_bilevel(image) && image->tile_width % 16 != 0) return RZL_BAD_TILE_SIZE;
    }
    if ((image->flags & TIF_IN_FILE) == 0) return 0;
    auto bytes = static_cast<uint64_t>(std::max<int64_t>(io_size(c), 0));
    if (c->mode != MODE_READ) bytes += UNWRITTEN_BYTES;
    *detail = "image size";
    return line_fits(image, bytes) && tile_row_fits(image, bytes) ? 0 : RZL_BAD_IMAGE_SIZE;
}

tif_image* tif_new_image() {
    auto* image = mem_new<tif_image>();
    if (image == nullptr) return nullptr;
    image->samples_per_pixel = 1;
    for (uint16_t& bits : image->bits_per_sample)
        bits = 8;
    image->compression = TIF_PLAIN;
    image->predictor = image->planar_config = image->resolution_unit = image->orientation = 1;
    image->photometric = TIF_BLACK_ZERO;
    image->fill_order = 1;
    image->x_resolution[0] = image->y_resolution[0] = 72;
    image->x_resolution[1] = image->y_resolution[1] = 1;
    image->flags = TIF_IFD_DUE;
    return image;
}

void tif_free_image(tif_image* image) {
    if (image == nullptr) return;
    mem_free(image->strip_offsets);
    mem_free(image->strip_byte_counts);
    mem_free(image->entries);
    for (uint32_t i = 0; i < image->user_tag_count; ++i)
        mem_free(image->user_tags[i].data);
    mem_free(image->user_tags);
    mem_free(image->colour_map);
    mem_free(image);
}

void tif_drop_segments(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    tif_reading* in = &spec->in;
    cit_reader_free(in->fax);
    mem_free(in->coded);
    mem_free(in->decoded);
    mem_free(in->row);
    for (packed_rows& rows : in->packed)
        mem_free(rows.starts);
    *in = {};
    in->segment = -1;
    tif_gathering* out = &spec->out;
    cit_writer_free(out->fax);
    mem_free(out->rows);
    mem_free(out->row);
    mem_free(out->coded);
    mem_free(out->lzw_table);
    *out = {};
    out->segment = -1;
    spec->told = false;
}

namespace {

void free_specs(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    if (spec == nullptr) return;
    tif_drop_segments(c);
    for (tif_image* image = spec->first; image != nullptr;) {
        tif_image* next = image->next;
        tif_free_image(image);
        image = next;
    }
    spec->first = spec->image = nullptr;
    set_flag(c, FLAG_PADDED_TILES, false);
}

// Its status stays on the handle.
void close_file(CFILE* c) {
    const tif_spec* spec = tif_spec_of(c);
    if (spec != nullptr && spec->image != nullptr && is_writable(c)) (void)tif_finish_image(c);
}

int64_t first_offset(CFILE*) {
    return TIF_FIRST_OFFSET;
}

void start_spec(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    spec->extended = is_extended();
    spec->order = TIF_LITTLE;
    spec->begun = c->mode == MODE_READ || c->mode == MODE_UPDATE;
    spec->end = spec->begun ? io_size(c) : c->base_offset;
    spec->in.segment = spec->out.segment = -1;
    set_flag(c, FLAG_PADDED_TILES, true);
}

// Images behind the main one are its overviews as long as all of them are reduced, or masks.
void classify_chain(CFILE* c) {
    for (const tif_image* image = tif_spec_of(c)->first->next; image != nullptr; image = image->next)
        if (tif_is_picture(image)) set_flag(c, FLAG_MULTI_IMAGE, true);
}

int open_file(CFILE* c, const char*) {
    start_spec(c);
    if (!read_chain(c)) return 1;
    classify_chain(c);
    if (!tif_activate(c, tif_spec_of(c)->first)) return 1;
    c->active_image = 0;
    c->active_overview = OVERVIEW_UNSET;
    return 0;
}

// A binary head before the PostScript tells where a TIFF preview lies. The head's check word is the exclusive or of its
// other words, or all ones for a head without a check.
int open_preview(CFILE* c, const char* name) {
    uint8_t head[32];
    if (io_read(c, head, sizeof head) != sizeof head) return refuse(c, RZL_READ_FAILED, SOURCE, name);
    uint16_t sum = 0;
    for (size_t i = 0; i < 28; i += 2)
        sum = static_cast<uint16_t>(sum ^ load_u16le(head + i));
    uint16_t check = load_u16le(head + 28);
    uint32_t offset = load_u32le(head + 20);
    uint32_t length = load_u32le(head + 24);
    if (offset == 0 || length == 0 || (check != sum && check != 0xFFFF))
        return refuse(c, RZL_READ_FAILED, SOURCE, name);
    c->base_offset = offset;
    return io_seek(c, 0) ? open_file(c, name) : refuse(c, RZL_READ_FAILED, SOURCE, name);
}

// Nothing is written yet, so that another standard can still be chosen: the file begins with its first append.
int start_file(CFILE* c) {
    start_spec(c);
    tif_spec* spec = tif_spec_of(c);
    spec->first = spec->image = tif_new_image();
    if (spec->first == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    spec->first->image_width = static_cast<uint32_t>(c->xsize);
    spec->first->image_length = static_cast<uint32_t>(c->ysize);
    return tif_set_format(c, RZL_FORMAT_BYTE);
}

constexpr format_slots SLOTS = {
    .Getline = tif_getline,
    .Get_line = tif_get_line,
    .Getlinefromtile = tif_getline_from_tiles,
    .Getrleline = tif_get_rle_line,
    .Getinlv = tif_get_interleaved_line,
    .Putline = tif_putline,
    .Put_line = tif_put_line,
    .Putrleline = tif_put_rle_line,
    .Putinlv = tif_put_interleaved_line,
    .Putlinetotile = tif_putline_to_tiles,
    .Gettile = tif_get_tile,
    .Puttile = tif_put_tile,
    .Getrletile = tif_get_rle_tile,
    .Gettilerows = tif_get_tile_rows,
    .Get_hdr_data = tif_get_hdr_data,
    .Set_hdr_data = tif_set_hdr_data,
    .Get_stat = tif_get_stat,
    .Set_stat = tif_set_stat,
    .Get_vlt = tif_get_vlt,
    .Get_format = tif_get_format,
    .Get_packet = tif_get_packet,
    .Put_Packet = tif_put_packet,
    .copydata = tif_copydata,
    .init_std_hdr = tif_init_std_hdr,
    .init_ov = tif_init_ov,
    .setactiveov = tif_set_active_overview,
    .Wrt_hdr = tif_write_header,
    .Seek = tif_seek,
    .Get_number_of_images = tif_get_number_of_images,
    .Set_Number_of_Images = tif_set_number_of_images,
    .Set_Active_Image = tif_set_active_image,
    .Randomize = tif_randomize,
    .Rewind = tif_rewind,
    .Close = close_file,
    .Free_specs = free_specs,
    .Get_Image_Offset = first_offset,
};

void check_spec(const CFILE* c) {
    const tif_spec* spec = tif_spec_of(c);
    invariant(spec->image == nullptr || spec->first != nullptr, "the active image is one of the chain");
    invariant(spec->in.segment >= -1 && spec->out.segment >= -1, "a segment has a number, or there is none");
    invariant(!spec->out.waiting || spec->out.segment >= 0, "rows wait in a segment");
}

constexpr int32_t FORMATS[] = {
    RZL_FORMAT_BYTE,         RZL_FORMAT_RGB,    RZL_FORMAT_BILEVEL, RZL_FORMAT_BYTE_RUNS,      RZL_FORMAT_PLANE_RUNS,
    RZL_FORMAT_BILEVEL_RUNS, RZL_FORMAT_GROUP3, RZL_FORMAT_GROUP4,  RZL_FORMAT_BYTE_PAIRS,     RZL_FORMAT_INT16,
    RZL_FORMAT_INT32,        RZL_FORMAT_REAL32, RZL_FORMAT_FOUR,    RZL_FORMAT_FOUR_PLANE_RUNS};

} // namespace

extern const format_module tif_module;
extern const format_module tif_eps_module;

const format_module tif_module = {
    .word = SOURCE,
    .squetch_word = "tiff squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(tif_spec),
    .formats = FORMATS,
    .traits = MODULE_TILES | MODULE_RESIZES,
    .open = open_file,
    .initialise = start_file,
    .check = check_spec,
};

const format_module tif_eps_module = {
    .word = SOURCE,
    .squetch_word = "tiff squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(tif_spec),
    .formats = FORMATS,
    .traits = MODULE_TILES | MODULE_RESIZES,
    .open = open_preview,
    .check = check_spec,
};
