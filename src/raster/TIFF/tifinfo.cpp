// TIFF: what a file tells about itself besides its pixels: header fields as they are asked for and set, user tags,
// packets, the colour map.
//
// What decides how an image is stored can be set until its header is written, its height also later; everything else
// goes into the file with the next header.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "raster/CORE/tilesetup.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifinfo";

} // namespace

// ---- user tags ------------------------------------------------------------------------------------------------------

namespace {

const tif_user_tag* find_added(const tif_image* image, uint16_t tag) {
    for (uint32_t i = image->user_tag_count; i-- > 0;)
        if (image->user_tags[i].tag == tag) return &image->user_tags[i];
    return nullptr;
}

// Values of up to four bytes are in the record itself.
int give_value(CFILE* c, rzl_user_tag* tag, const uint8_t* values) {
    uint64_t bytes = tif_value_bytes(tag->type, tag->count);
    if (bytes > 4 && tag->data.pointer == nullptr) return refuse(c, RZL_NO_OUTPUT_BUFFER_2, SOURCE, nullptr);
    void* to = bytes > 4 ? tag->data.pointer : static_cast<void*>(tag->data.bytes);
    if (bytes <= 4) std::memset(tag->data.bytes, 0, sizeof tag->data.bytes);
    std::memcpy(to, values, static_cast<size_t>(bytes));
    return 0;
}

int give_stored(CFILE* c, const uint8_t* entry, rzl_user_tag* tag) {
    const tif_spec* spec = tif_spec_of(c);
    uint64_t bytes = tif_value_bytes(tag->type, tag->count);
    uint8_t small[4];
    tif_copy_values(spec, tag->type, small, entry + 8, bytes <= 4 ? tag->count : 0);
    if (bytes <= 4 || tag->data.pointer == nullptr) return give_value(c, tag, small);
    if (static_cast<int64_t>(bytes) > io_size(c)) return refuse(c, RZL_READ_FAILED, SOURCE, "user tag");
    auto* to = static_cast<uint8_t*>(tag->data.pointer);
    if (!tif_read_at(c, tif_u32(spec, entry + 8), to, static_cast<size_t>(bytes))) {
        return refuse(c, RZL_READ_FAILED, SOURCE, "user tag");
    }
    tif_copy_values(spec, tag->type, to, to, tag->count);
    return 0;
}

} // namespace

static int get_user_tag(CFILE* c, rzl_user_tag* tag) {
    const tif_spec* spec = tif_spec_of(c);
    const tif_image* image = spec->image;
    const uint8_t* entry = tif_find_entry(spec, image, tag->tag);
    const tif_user_tag* added = find_added(image, tag->tag);
    if (entry == nullptr && added == nullptr) return refuse(c, RZL_NO_SUCH_TAG, SOURCE, "Tag not found.\n");
    tag->type = added != nullptr ? added->type : tif_u16(spec, entry + 2);
    tag->count = added != nullptr ? added->count : tif_u32(spec, entry + 4);
    if (tif_type_size(tag->type) == 0) return refuse(c, RZL_NO_SUCH_TAG, SOURCE, "Invalid user tag");
    if (c->mode == MODE_WRITE) return 0; // what is in the file can't be read back
    return added != nullptr ? give_value(c, tag, added->data) : give_stored(c, entry, tag);
}

bool tif_keep_user_tag(tif_image* image, uint16_t tag, uint16_t type, uint32_t count, const void* data) {
    uint64_t bytes = tif_value_bytes(type, count);
    if (bytes > INT32_MAX) return false;
    size_t rows = size_t{image->user_tag_count} + 1;
    auto* grown = static_cast<tif_user_tag*>(mem_realloc(image->user_tags, rows * sizeof(tif_user_tag)));
    if (grown == nullptr) return false;
    image->user_tags = grown;
    // Room for the widest value, so that short ones can be taken as values of four bytes.
    auto* copy = static_cast<uint8_t*>(mem_alloc_zeroed(std::max<size_t>(static_cast<size_t>(bytes), 4)));
    if (copy == nullptr) return false;
    std::memcpy(copy, data, static_cast<size_t>(bytes));
    grown[image->user_tag_count++] = {tag, type, count, copy};
    return true;
}

// The resolution by its own tags, to its last digit and for each side. False: it is none.
static bool take_resolution_tag(tif_image* image, const rzl_user_tag* tag) {
    bool across = tag->tag == TIF_TAG_X_RESOLUTION;
    if (across || tag->tag == TIF_TAG_Y_RESOLUTION) {
        if (tag->type != TIF_RATIONAL || tag->count != 1 || tag->data.pointer == nullptr) return false;
        std::memcpy(across ? image->x_resolution : image->y_resolution, tag->data.pointer, sizeof image->x_resolution);
        return true;
    }
    if (tag->tag != TIF_TAG_UNIT || tag->type != TIF_SHORT || tag->count != 1) return false;
    std::memcpy(&image->resolution_unit, tag->data.bytes, sizeof image->resolution_unit);
    return true;
}

static int add_user_tag(CFILE* c, const rzl_user_tag* tag) {
    tif_image* image = tif_image_of(c);
    if (take_resolution_tag(image, tag)) return 0;
    bool own = tif_is_managed(tag->tag) || tag->tag == TIF_TAG_PACKETS; // only the module writes those
    uint64_t bytes = tif_value_bytes(tag->type, tag->count);
    bool given = bytes <= 4 || tag->data.pointer != nullptr;
    if (own || !given || tag->count == 0) return refuse(c, RZL_NO_SUCH_TAG, SOURCE, "Tag not found");
    if (bytes > INT32_MAX) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "user tag");
    if (tif_type_size(tag->type) == 0 && debug_level() != 0) {
        rzl_report(RZL_NO_SUCH_TAG, SOURCE, __LINE__, "Bad generic tag");
    }
    const void* values = bytes > 4 ? tag->data.pointer : static_cast<const void*>(tag->data.bytes);
    if (!tif_keep_user_tag(image, tag->tag, tag->type, tag->count, values)) {
        return refuse(c, RZL_NO_MEMORY, SOURCE, "user tag");
    }
    return 0;
}

// ---- packets --------------------------------------------------------------------------------------------------------

namespace {

constexpr uint32_t HEAD_WORDS = 4;
constexpr uint32_t TRANSFORM_WORDS = 64;

// A packet's head, in the machine's order.
struct packet_head {
    uint32_t type, subtype, words;
};
packet_head head_of(const uint16_t* words) {
    return {words[0], words[1], words[2] | static_cast<uint32_t>(words[3]) << 16};
}
bool is_transform(const packet_head& head) {
    return head.type == 2 && head.subtype == 10;
}

bool read_words(CFILE* c, int64_t place, uint16_t* words, size_t count) {
    auto* bytes = reinterpret_cast<uint8_t*>(words);
    if (!tif_read_at(c, place, bytes, count * 2)) return false;
    tif_copy_values(tif_spec_of(c), TIF_SHORT, bytes, bytes, count);
    return true;
}

// Reads all words of the tag into `words`. False: damaged, with the status set.
bool read_packets(CFILE* c, const tif_image* image, uint16_t* words) {
    if (!read_words(c, image->packet_offset, words, image->packet_words)) {
        return fails(c, RZL_READ_FAILED, SOURCE, "Packet data");
    }
    uint64_t at = 0;
    while (at + HEAD_WORDS <= image->packet_words) {
        uint64_t end = at + HEAD_WORDS + head_of(words + at).words;
        if (end > image->packet_words) return fails(c, RZL_READ_FAILED, SOURCE, "Packet data");
        at = end;
    }
    return true;
}

// The packets without the transformation, moved together. The words that are left.
uint32_t drop_transform(uint16_t* words, uint32_t count) {
    uint32_t at = 0;
    uint32_t kept = 0;
    while (at < count) {
        uint64_t size = count - at;
        bool drops = false;
        if (size >= HEAD_WORDS) {
            packet_head head = head_of(words + at);
            size = std::min(size, uint64_t{head.words} + HEAD_WORDS);
            drops = is_transform(head);
        }
        if (!drops) std::memmove(words + kept, words + at, static_cast<size_t>(size) * 2);
        if (!drops) kept += static_cast<uint32_t>(size);
        at += static_cast<uint32_t>(size);
    }
    return kept;
}

bool has_stored_packets(const tif_image* image) {
    return (image->flags & TIF_IN_FILE) != 0 && image->packet_offset != 0 && image->packet_words != 0;
}

// What the application gave, or what the file has, into `words`.
bool gather_packets(CFILE* c, const tif_image* image, uint16_t* words) {
    if (image->packet_data != nullptr) {
        std::memcpy(words, image->packet_data, size_t{image->packet_words} * 2);
        return true;
    }
    return read_packets(c, image, words);
}

} // namespace

// Walks over the heads. No more steps than the tag can have packets with something in them, and no memory.
bool tif_find_transform(CFILE* c, tif_image* image) {
    if (image->packet_offset == 0 || image->packet_words < HEAD_WORDS) return true;
    uint64_t at = 0;
    while (at + HEAD_WORDS <= image->packet_words) {
        int64_t place = int64_t{image->packet_offset} + static_cast<int64_t>(at * 2);
        uint16_t words[TRANSFORM_WORDS];
        if (!read_words(c, place, words, HEAD_WORDS)) return false;
        packet_head head = head_of(words);
        at += HEAD_WORDS + uint64_t{head.words};
        if (!is_transform(head) || head.words != TRANSFORM_WORDS) continue;
        if (!read_words(c, place + HEAD_WORDS * 2, words, TRANSFORM_WORDS)) return false;
        for (size_t i = 0; i < 16; ++i) {
            uint8_t bytes[8];
            for (size_t w = 0; w < 4; ++w)
                store_u16le(bytes + 2 * w, words[4 * i + w]);
            image->transform[i] = load_f64le(bytes);
        }
        image->flags |= TIF_HAS_TRANSFORM;
        return true;
    }
    return true;
}

int tif_get_packet(CFILE* c, void* buffer) {
    const tif_image* image = tif_image_of(c);
    if (image->packet_offset == 0 || image->packet_words < 1) {
        return refuse(c, RZL_NO_PACKETS, SOURCE, "Application packet not found");
    }
    mem_guard<uint16_t> words(nullptr);
    // The caller's buffer need not be aligned, and is not touched by packets that are damaged.
    if (int64_t{image->packet_words} * 2 <= io_size(c)) words.block = mem_new_array<uint16_t>(image->packet_words);
    if (!words) return refuse(c, RZL_READ_FAILED, SOURCE, "Packet data");
    if (!read_packets(c, image, words.get())) return 1;
    std::memcpy(buffer, words.get(), size_t{image->packet_words} * 2);
    return 0;
}

int tif_put_packet(CFILE* c, const void* buffer) {
    tif_image* image = tif_image_of(c);
    if (image->packet_words == 0) return 0;
    image->packet_data = buffer;
    image->packet_offset = 0;
    image->flags |= TIF_PACKETS_NEW;
    return 0;
}

// Null words: there is nothing to be written, or what the file has stays.
bool tif_make_packets(CFILE* c, tif_image* image, uint8_t** packets, uint32_t* count) {
    *packets = nullptr;
    *count = 0;
    bool fresh = (image->flags & TIF_PACKETS_NEW) != 0;
    if ((image->subfile_type & 1) != 0 || !fresh) return true;
    bool transform = (image->flags & TIF_HAS_TRANSFORM) != 0;
    bool given = image->packet_data != nullptr || has_stored_packets(image);
    uint32_t words = given ? image->packet_words : 0;
    uint32_t head = transform ? HEAD_WORDS + TRANSFORM_WORDS : 0;
    if (words > UINT32_MAX - head || words + head == 0) return true;
    mem_guard<uint16_t> block(mem_new_array<uint16_t>(size_t{words} + head));
    if (!block) return fails(c, RZL_NO_MEMORY, SOURCE, "Malloc Failed");
    if (given && !gather_packets(c, image, block.get() + head)) return false;
    words = drop_transform(block.get() + head, words);
    if (transform) {
        const uint16_t start[HEAD_WORDS] = {2, 10, TRANSFORM_WORDS, 0};
        std::memcpy(block.get(), start, sizeof start);
        for (size_t i = 0; i < 16; ++i) {
            uint8_t bytes[8];
            store_f64le(bytes, image->transform[i]);
            for (size_t w = 0; w < 4; ++w)
                block[HEAD_WORDS + 4 * i + w] = load_u16le(bytes + 2 * w);
        }
    }
    *count = words + head;
    *packets = reinterpret_cast<uint8_t*>(block.keep());
    return true;
}

// ---- the colour map -------------------------------------------------------------------------------------------------

namespace {
constexpr size_t TABLE_SIZE = 3 * TIF_MAP_ENTRIES;
} // namespace

bool tif_need_map(tif_image* image) {
    if (image->colour_map != nullptr) return true;
    image->colour_map = static_cast<uint16_t*>(mem_alloc_zeroed(TABLE_SIZE * sizeof(uint16_t)));
    if (image->colour_map == nullptr) return false;
    // Samples of more bits have no map, but it may be made before they are set to fewer.
    size_t entries = std::min(size_t{1} << tif_bits(image), TIF_MAP_ENTRIES);
    for (size_t plane = 0; plane < 3; ++plane)
        for (size_t i = 0; i < entries; ++i)
            image->colour_map[plane * entries + i] = static_cast<uint16_t>(i * 0xFFFF / (entries - 1));
    return true;
}

bool tif_take_vlt(CFILE* c, tif_image* image) {
    if ((image->flags & TIF_HAS_MAP) == 0 || tif_bits(image) > 8) return true;
    if (!tif_need_map(image)) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return false;
    }
    size_t entries = size_t{1} << tif_bits(image);
    for (int32_t i = 0; c->vlt != nullptr && i < image->colour_map_count; ++i) {
        const rzl_vlt_entry& entry = c->vlt[i];
        if (entry.slot >= entries) continue;
        image->colour_map[entry.slot] = entry.red;
        image->colour_map[entries + entry.slot] = entry.green;
        image->colour_map[2 * entries + entry.slot] = entry.blue;
    }
    return true;
}

// The high bytes, as triples.
bool tif_make_color_table(CFILE* c, const tif_image* image) {
    bool has_map = (image->flags & TIF_HAS_MAP) != 0 && image->colour_map != nullptr && tif_bits(image) <= 8;
    if (!has_map) {
        mem_free(c->color_table);
        c->color_table = nullptr;
        c->vlt_bits = 0;
        return true;
    }
    if (c->color_table == nullptr) c->color_table = static_cast<uint8_t*>(mem_alloc_zeroed(TABLE_SIZE));
    if (c->color_table == nullptr) return false;
    std::memset(c->color_table, 0, TABLE_SIZE);
    size_t entries = size_t{1} << tif_bits(image);
    for (size_t i = 0; i < entries; ++i)
        for (size_t plane = 0; plane < 3; ++plane)
            c->color_table[3 * i + plane] = static_cast<uint8_t>(image->colour_map[plane * entries + i] >> 8);
    c->vlt_bits = 8;
    return true;
}

// All 256 slots have their number; those behind the map's have no colour.
int tif_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const tif_image* image = tif_image_of(c);
    if ((image->flags & TIF_HAS_MAP) == 0 || image->colour_map == nullptr) {
        return refuse(c, RZL_NO_VLT, SOURCE, "tif get vlt");
    }
    size_t count = size_t{1} << tif_bits(image);
    for (size_t i = 0; i < TIF_MAP_ENTRIES; ++i) {
        entries[i] = {static_cast<uint16_t>(i), 0, 0, 0};
        if (i >= count) continue;
        entries[i].red = image->colour_map[i];
        entries[i].green = image->colour_map[count + i];
        entries[i].blue = image->colour_map[2 * count + i];
    }
    return 0;
}

// ---- fields that are asked for --------------------------------------------------------------------------------------

namespace {

constexpr int32_t ROOM = 4096;
constexpr int DEFAULT_ORIENTATION = 4;

// Negative: dots an inch. Positive: micrometres a dot.
int32_t resolution_of(const tif_image* image) {
    double above = image->x_resolution[0];
    double below = image->x_resolution[1];
    double value = 0;
    if (below == 0) return 0;
    if (image->resolution_unit <= 2) value = -(above / below);
    if (image->resolution_unit == 3) value = above != 0 ? below * 10000 / above : 0;
    return static_cast<int32_t>(std::clamp(value, -2147483647.0, 2147483647.0));
}

int orientation_of(const tif_image* image) {
    const auto* found = std::find(std::begin(TIF_ORIENTATIONS), std::end(TIF_ORIENTATIONS), image->orientation);
    return found != std::end(TIF_ORIENTATIONS) ? static_cast<int>(found - TIF_ORIENTATIONS) : DEFAULT_ORIENTATION;
}

// Fields whose answer the handle does not know.
void give_value(CFILE* c, int32_t field, void* value) {
    const tif_spec* spec = tif_spec_of(c);
    const tif_image* image = spec->image;
    bool palette = image->photometric == TIF_PALETTE;
    switch (field) {
    case RZL_FIELD_VLT_TYPE: return give_int(value, palette ? RZL_VLT_ENTRIES : RZL_VLT_NONE);
    case RZL_FIELD_VLT_ENTRIES: return give_int(value, palette && tif_bits(image) <= 8 ? 1 << tif_bits(image) : 0);
    case RZL_FIELD_PACKET_WORDS: return give_int(value, image->packet_words);
    case RZL_FIELD_RESOLUTION: return give_int(value, resolution_of(image));
    case RZL_FIELD_ORIENTATION: return give_int(value, orientation_of(image));
    case RZL_FIELD_MINIMUM: return give_int(value, static_cast<int32_t>(image->min_sample[0]));
    case RZL_FIELD_MAXIMUM: return give_int(value, static_cast<int32_t>(image->max_sample[0]));
    case RZL_FIELD_ASPECT_RATIO: return give_number(value, 0);
    case RZL_FIELD_OVERVIEWS: return give_int(value, tif_overview_count(spec));
    case RZL_FIELD_OVERVIEW_VALUE: return give_int(value, image->flag_registers[0] & 3);
    case RZL_FIELD_VLT_ROOM:
    case RZL_FIELD_PACKET_ROOM: return give_int(value, ROOM);
    case RZL_FIELD_COMPRESSION: return give_int(value, image->compression);
    case RZL_FIELD_PREDICTOR: return give_int(value, image->predictor);
    case RZL_FIELD_PLANAR: return give_int(value, image->planar_config);
    case RZL_FIELD_PHOTOMETRIC: return give_int(value, image->photometric);
    case RZL_FIELD_STRIP_ROWS: return give_int(value, static_cast<int32_t>(image->rows_per_strip));
    case RZL_FIELD_MATRIX:
        // An image without one leaves the identity.
        if ((image->flags & TIF_HAS_TRANSFORM) != 0) std::memcpy(value, image->transform, sizeof image->transform);
        return;
    default: return;
    }
}

} // namespace

int tif_get_hdr_data(CFILE* c, int32_t field, void* value) {
    if (field == RZL_FIELD_USER_TAG) return get_user_tag(c, static_cast<rzl_user_tag*>(value));
    if (field == RZL_FIELD_TILE_DIRECTORY) return 0; // all zero
    give_value(c, field, value);
    return 0;
}

// The matrix as it is stored: one of zeros for none, as Set_stat takes it.
int tif_get_stat(CFILE* c, rzl_stat* stat) {
    int result = rzl_get_stat_of_fields(c, stat);
    std::memcpy(stat->matrix, tif_image_of(c)->transform, sizeof stat->matrix);
    return result;
}

// ---- fields that are set --------------------------------------------------------------------------------------------

namespace {

constexpr int32_t TILE_STEP = 16; // of readers of the format
constexpr int32_t OVERVIEW_TILE_STEP = 32;
constexpr int32_t MAX_TILE = 65535; // a 16-bit value in the file

int refuse_value(CFILE* c) {
    return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "field value");
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
    if (!can_change_layout(c)) {
        if (value == 0) return refuse_value(c);
        return tif_change_height(c, image, static_cast<uint32_t>(value)) ? 0 : 1;
    }
    image->image_length = static_cast<uint32_t>(value);
    c->ysize = value;
    return 0;
}

// ---- what decides how the image is stored

// A field that can't change any more may be set to what it is.
int set_layout_word(CFILE* c, uint16_t* member, int32_t value, bool possible) {
    if (value == *member) return 0;
    if (!possible) return refuse_value(c);
    if (!can_change_layout(c)) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified");
    *member = static_cast<uint16_t>(value);
    return 0;
}

int set_compression(CFILE* c, int32_t value) {
    tif_image* image = tif_image_of(c);
    if (value == 0) value = TIF_PLAIN;
    bool known = (value >= TIF_PLAIN && value <= TIF_LZW) || value == TIF_PACKBITS ||
                 (tif_spec_of(c)->extended && value == TIF_DEFLATE);
    if (!known) return refuse(c, RZL_UNSUP_TIFF, SOURCE, "Tiff compression type");
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
    if (!can_change_layout(c)) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified");
    image->rows_per_strip = rows;
    return 0;
}

// The core has made the tile record.
int check_tile(CFILE* c, int32_t value, int32_t step) {
    bool fits = value >= 0 && value <= MAX_TILE && value % step == 0;
    return fits ? 0 : refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "Invalid tile size");
}

int set_format(CFILE* c, int32_t format) {
    return can_change_layout(c) ? tif_set_format(c, format) : 0;
}

// ---- colour map

int set_vlt_type(CFILE* c, int32_t type) {
    tif_image* image = tif_image_of(c);
    if (type < 0 || type > 2) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified");
    if (!can_change_layout(c) && (type == 0) == ((image->flags & TIF_HAS_MAP) != 0)) {
        return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified");
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
        return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified");
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
    if (image->previous == nullptr) return refuse(c, RZL_NO_OVERVIEWS, SOURCE, "No overviews");
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
        if (!fresh) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified");
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
        return overview ? 0 : add_user_tag(c, static_cast<const rzl_user_tag*>(value));
    }
    int32_t number = int_of(value);
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
    // 0 is none, whatever goes with the format.
    if (set_compression(c, stat->compression) != 0) return 1;
    if (stat->planar == 1 || stat->planar == 2) image->planar_config = static_cast<uint16_t>(stat->planar);
    if (check_tile(c, stat->tile_size, TILE_STEP) != 0) return 1;
    c->xsize = static_cast<int32_t>(image->image_width);
    c->ysize = static_cast<int32_t>(image->image_length);
    if (rzl_setup_tiles(c, stat->tile_size, stat->tile_size) != 0) return 1;
    if (stat->vlt_type == 0 || stat->vlt_entries == 0) return 0;
    return set_vlt_type(c, stat->vlt_type) != 0 ? 1 : set_vlt_entries(c, stat->vlt_entries);
}
