// Native files: header fields. Values live in the header image and go to the file when the header is written.
#include <cmath>

#include "raster/KRVN/krv.h"
#include "support/memory.h"

namespace {
constexpr char SOURCE[] = "KRVN/krvinfo";

constexpr int32_t TILE_STEP = 32;
constexpr int32_t CCITT_TILE = 512;
constexpr int32_t RESERVED_STEP = 256;

uint8_t* header_of(const CFILE* c) {
    return krv_spec_of(c)->header;
}

int refuse_value(CFILE* c) {
    return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "field value");
}

bool is_existing(const CFILE* c) {
    return has_flag(c, FLAG_HEADER_EXISTS);
}
bool is_raw_or_existing(const CFILE* c) {
    return has_flag(c, FLAG_RAW) || is_existing(c);
}
bool is_existing_readable(const CFILE* c) {
    return is_existing(c) && is_readable(c);
}

// ---- fields that are plain bytes of the header ----------------------------------------------------------------------

enum class kind { text, doubles, bytes };

struct byte_field {
    int32_t field;
    kind of;
    size_t at, size;
};
constexpr byte_field BYTE_FIELDS[] = {
    {RZL_FIELD_MATRIX, kind::bytes, KRV_AT_MATRIX, 128},
    {RZL_FIELD_DESCRIPTION, kind::text, KRV_AT_DESCRIPTION, KRV_DESCRIPTION_SIZE},
    {RZL_FIELD_COMMENT, kind::text, KRV_AT_COMMENT, KRV_COMMENT_SIZE},
    {RZL_FIELD_NAME_1, kind::text, KRV_AT_NAME_1, KRV_NAME_SIZE},
    {RZL_FIELD_NAME_2, kind::text, KRV_AT_NAME_2, KRV_NAME_SIZE},
    {RZL_FIELD_NAME_3, kind::text, KRV_AT_NAME_3, KRV_NAME_SIZE},
    {RZL_FIELD_MINIMUM_BYTES, kind::bytes, KRV_AT_MINIMUM, 8},
    {RZL_FIELD_MAXIMUM_BYTES, kind::bytes, KRV_AT_MAXIMUM, 8},
    {RZL_FIELD_ASPECT_RATIO, kind::bytes, KRV_AT_ASPECT_RATIO, 8},
    {RZL_FIELD_VIEW_ORIGIN, kind::doubles, KRV_AT_VIEW_ORIGIN, 24},
    {RZL_FIELD_VIEW_EXTENT, kind::doubles, KRV_AT_VIEW_EXTENT, 24},
    {RZL_FIELD_ROTATION, kind::doubles, KRV_AT_ROTATION, 8},
    {RZL_FIELD_SKEW, kind::doubles, KRV_AT_SKEW, 8},
};

const byte_field* find_byte_field(int32_t field) {
    for (const byte_field& row : BYTE_FIELDS) {
        if (row.field == field) return &row;
    }
    return nullptr;
}

void get_byte_field(const CFILE* c, const byte_field& row, void* value) {
    const uint8_t* header = header_of(c);
    if (row.of != kind::doubles) {
        std::memcpy(value, header + row.at, row.size);
        // A file may hold a text without an end.
        if (row.of == kind::text && row.size != KRV_NAME_SIZE) static_cast<uint8_t*>(value)[row.size - 1] = 0;
        return;
    }
    for (size_t at = 0; at < row.size; at += sizeof(double)) {
        double number = krv_load_double(header, row.at + at);
        std::memcpy(static_cast<uint8_t*>(value) + at, &number, sizeof number);
    }
}

// A text is taken up to its end, the rest filled with zeros; description and comment always end inside.
void set_text(uint8_t* header, const byte_field& row, const char* text) {
    size_t length = strnlen(text, row.size);
    std::memcpy(header + row.at, text, length);
    std::memset(header + row.at + length, 0, row.size - length);
    if (row.size != KRV_NAME_SIZE) header[row.at + row.size - 1] = 0;
}

void set_byte_field(CFILE* c, const byte_field& row, const void* value) {
    uint8_t* header = header_of(c);
    if (row.of == kind::text) return set_text(header, row, static_cast<const char*>(value));
    if (row.of == kind::bytes) {
        std::memcpy(header + row.at, value, row.size);
        return;
    }
    for (size_t at = 0; at < row.size; at += sizeof(double)) {
        double number = 0.0;
        std::memcpy(&number, static_cast<const uint8_t*>(value) + at, sizeof number);
        krv_store_double(header, row.at + at, number);
    }
}

// ---- getting --------------------------------------------------------------------------------------------------------

bool needs_application_9(int32_t field) {
    return field == RZL_FIELD_APP_VALUE_1 || field == RZL_FIELD_APP_VALUE_2 || field == RZL_FIELD_APP_VALUE_3 ||
           field == RZL_FIELD_COMMENT;
}

// Words before the pixel data that hold nothing.
int64_t free_words(const CFILE* c) {
    const uint8_t* header = header_of(c);
    int64_t room = int64_t{krv_words_to_follow(header)} + 2 - int64_t{KRV_HEADER_SIZE / 2};
    int vlt_type = load_u16le(header + KRV_AT_VLT_TYPE);
    int64_t entries = load_u32le(header + KRV_AT_VLT_ENTRIES);
    if (vlt_type == RZL_VLT_BYTES) room -= 256;
    if (vlt_type == RZL_VLT_ENTRIES) room -= (entries + 63) / 64 * 256;
    room -= (int64_t{load_u32le(header + KRV_AT_PACKET_WORDS)} + 255) / 256 * 256;
    return room > 0 ? room : 0;
}

int32_t overview_value(const CFILE* c) {
    if (c->active_overview < 0) return 0;
    return static_cast<int32_t>(krv_load_overview(krv_spec_of(c), c->active_overview).info & 0xFFFF);
}

// The answer of the header to a field of one integer, or the handle's.
int64_t get_integer(const CFILE* c, int32_t field, int64_t otherwise) {
    const uint8_t* header = header_of(c);
    switch (field) {
    case RZL_FIELD_VLT_TYPE: return load_u16le(header + KRV_AT_VLT_TYPE);
    case RZL_FIELD_VLT_ENTRIES: return load_u32le(header + KRV_AT_VLT_ENTRIES);
    case RZL_FIELD_PACKET_WORDS: return krv_app_words(krv_spec_of(c));
    case RZL_FIELD_RESOLUTION: return static_cast<int16_t>(load_u16le(header + KRV_AT_RESOLUTION));
    case RZL_FIELD_ORIENTATION: return static_cast<int8_t>(header[KRV_AT_SCAN_ORIENTATION]);
    case RZL_FIELD_APPLICATION: return load_u16le(header + KRV_AT_APPLICATION_TYPE);
    case RZL_FIELD_APP_VALUE_1:
    case RZL_FIELD_APP_VALUE_2:
    case RZL_FIELD_APP_VALUE_3:
        return static_cast<int32_t>(
            load_u32le(header + KRV_AT_APP_VALUES + static_cast<size_t>(field - RZL_FIELD_APP_VALUE_1) * 4));
    case RZL_FIELD_HEADER_WORDS: return krv_words_to_follow(header);
    case RZL_FIELD_VERSION: return header[KRV_AT_VERSION];
    case RZL_FIELD_MINIMUM: return static_cast<int32_t>(load_u32le(header + KRV_AT_MINIMUM));
    case RZL_FIELD_MAXIMUM: return static_cast<int32_t>(load_u32le(header + KRV_AT_MAXIMUM));
    case RZL_FIELD_TYPE_MODIFIER: return load_u16le(header + KRV_AT_TYPE_MODIFIER);
    case RZL_FIELD_OVERVIEWS: return krv_overview_count(krv_spec_of(c));
    case RZL_FIELD_OVERVIEW_VALUE: return overview_value(c);
    case RZL_FIELD_VLT_ROOM: return free_words(c);
    case RZL_FIELD_PACKET_ROOM: return is_existing(c) ? free_words(c) : krv_spec_of(c)->reserved_words;
    default: return otherwise;
    }
}

// ---- setting --------------------------------------------------------------------------------------------------------

// A size of the active overview, which can be given once.
int set_overview_size(CFILE* c, int32_t field, int32_t size) {
    krv_overview entry = krv_load_overview(krv_spec_of(c), c->active_overview);
    uint32_t* part = field == RZL_FIELD_XSIZE ? &entry.xsize : &entry.ysize;
    if (*part != 0) return krv_refuse(c);
    if (size < 0) return refuse_value(c);
    *part = static_cast<uint32_t>(size);
    krv_store_overview(krv_spec_of(c), c->active_overview, entry);
    (field == RZL_FIELD_XSIZE ? c->xsize : c->ysize) = size;
    count_tiles(c);
    set_flag(c, FLAG_OVERVIEWS_CHANGED, true);
    return 0;
}

// The handle has the new size already; a refusal gives it its old one back.
int set_size(CFILE* c, int32_t field, int32_t size) {
    if (c->active_overview >= 0) return set_overview_size(c, field, size);
    krv_spec* spec = krv_spec_of(c);
    bool is_width = field == RZL_FIELD_XSIZE;
    int32_t* recorded = is_width ? &spec->xsize : &spec->ysize;
    int32_t* of_handle = is_width ? &c->xsize : &c->ysize;
    bool grows = size > *recorded;
    bool bound = has_flag(c, FLAG_TILED) || krv_overview_count(spec) > 0;
    bool refused = is_existing_readable(c) && (is_width || (grows && bound));
    if (is_existing(c) && grows && spec->base_tile != 0) refused = true; // the packet has no entries for them
    if (refused || size < 0) {
        *of_handle = *recorded;
        return refused ? krv_refuse(c) : refuse_value(c);
    }
    *recorded = *of_handle = size;
    store_u32le(header_of(c) + (is_width ? KRV_AT_PIXELS_PER_LINE : KRV_AT_LINES), static_cast<uint32_t>(size));
    rzl_forget_lines(c);
    count_tiles(c);
    return 0;
}

// The record of a JPEG file, which holds its quality, and of no other. (Its header can't be written: the board that
// codes it is not there.)
bool choose_jpeg_record(CFILE* c, int32_t data_type) {
    if (!format_is_jpeg(data_type)) {
        mem_free(c->jpeg);
        c->jpeg = nullptr;
    } else if (c->jpeg == nullptr) {
        c->jpeg = mem_new<jpeg_record>();
        if (c->jpeg == nullptr) fail(c, RZL_NO_MEMORY, SOURCE, "JPEG record");
        return c->jpeg != nullptr;
    }
    return true;
}

int set_data_type(CFILE* c, int32_t data_type) {
    if (is_raw_or_existing(c)) return krv_refuse(c);
    int32_t samples = 0;
    int32_t bits = c->bits;
    if (data_type == RZL_FORMAT_TILED || !format_layout(data_type, &samples, &bits)) return refuse_value(c);
    if (!krv_need_ccitt(c, data_type) || !choose_jpeg_record(c, data_type)) return 1;
    krv_spec_of(c)->data_type = data_type;
    return krv_apply_data_type(c) ? 0 : 1;
}

int add_packet_words(CFILE* c, int32_t words) {
    int64_t sum = int64_t{load_u32le(header_of(c) + KRV_AT_PACKET_WORDS)} + words;
    if (sum < krv_library_words(krv_spec_of(c)) || sum > KRV_MAX_WORDS) return refuse_value(c);
    store_u32le(header_of(c) + KRV_AT_PACKET_WORDS, static_cast<uint32_t>(sum));
    return 0;
}

bool is_possible_tile(CFILE* c, int32_t size) {
    bool jpeg = format_is_jpeg(krv_spec_of(c)->data_type);
    return krv_is_tile_size(c, size) && (size != 0 || !jpeg || (c->xsize % 4 == 0 && c->ysize % 4 == 0));
}

// An overview can be tiled as long as nothing of it stands in the file.
int set_overview_tile(CFILE* c, int32_t size) {
    krv_overview entry = krv_load_overview(krv_spec_of(c), c->active_overview);
    bool begun = entry.size_1 != 0 || (entry.info & KRV_OVERVIEW_TILED) != 0;
    if (begun) return krv_refuse(c);
    return is_possible_tile(c, size) ? 0 : refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "tile size");
}

// The core has made the tiles square; a refusal takes them back.
int set_tile_size(CFILE* c, int32_t size) {
    if (c->active_overview >= 0) return set_overview_tile(c, size);
    if (is_raw_or_existing(c)) return krv_refuse(c);
    if (!is_possible_tile(c, size)) return refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "tile size");
    krv_spec_of(c)->base_tile = size;
    return 0;
}

int set_strip_lines(CFILE* c, int32_t lines) {
    if (!is_readable(c)) return refuse(c, RZL_NEEDS_READ, SOURCE, "CCITT STRIP LINES can only be set for read");
    if (c->ccitt == nullptr) return krv_refuse(c);
    c->ccitt->strip_lines = lines;
    return 0;
}

int set_scannable(CFILE* c, int32_t value) {
    if (is_raw_or_existing(c)) return krv_refuse(c); // lines may have been written
    set_flag(c, FLAG_SCANNABLE, value != 0);
    return 0;
}

int set_reserved_words(CFILE* c, int32_t words) {
    if (is_raw_or_existing(c)) return krv_refuse(c);
    krv_spec_of(c)->reserved_words = (words + RESERVED_STEP - 1) / RESERVED_STEP * RESERVED_STEP;
    return 0;
}

int set_overview_value(CFILE* c, int32_t value) {
    if (c->active_overview < 0) return krv_refuse(c);
    krv_overview entry = krv_load_overview(krv_spec_of(c), c->active_overview);
    entry.info = (entry.info & ~0xFFFFu) | (static_cast<uint32_t>(value) & 0xFFFFu);
    krv_store_overview(krv_spec_of(c), c->active_overview, entry);
    set_flag(c, FLAG_OVERVIEWS_CHANGED, true);
    return 0;
}

int set_vlt(CFILE* c, int32_t field, int32_t value) {
    if (field == RZL_FIELD_VLT_TYPE) {
        store_u16le(header_of(c) + KRV_AT_VLT_TYPE, static_cast<uint16_t>(value));
    } else {
        store_u32le(header_of(c) + KRV_AT_VLT_ENTRIES, static_cast<uint32_t>(value));
    }
    return 0;
}

int set_integer(CFILE* c, int32_t field, int32_t value) {
    uint8_t* header = header_of(c);
    auto low = static_cast<uint16_t>(value);
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE: return set_size(c, field, value);
    case RZL_FIELD_FORMAT: return set_data_type(c, value);
    case RZL_FIELD_VLT_TYPE:
    case RZL_FIELD_VLT_ENTRIES: return set_vlt(c, field, value);
    case RZL_FIELD_PACKET_WORDS: return add_packet_words(c, value);
    case RZL_FIELD_RESOLUTION: store_u16le(header + KRV_AT_RESOLUTION, low); return 0;
    case RZL_FIELD_ORIENTATION: header[KRV_AT_SCAN_ORIENTATION] = static_cast<uint8_t>(value); return 0;
    case RZL_FIELD_APPLICATION: krv_set_application(header, low, header[KRV_AT_VERSION]); return 0;
    case RZL_FIELD_APP_VALUE_1:
    case RZL_FIELD_APP_VALUE_2:
    case RZL_FIELD_APP_VALUE_3:
        store_u32le(header + KRV_AT_APP_VALUES + static_cast<size_t>(field - RZL_FIELD_APP_VALUE_1) * 4,
                    static_cast<uint32_t>(value));
        return 0;
    case RZL_FIELD_SCANNABLE: return set_scannable(c, value);
    case RZL_FIELD_VERSION: krv_set_application(header, load_u16le(header + KRV_AT_APPLICATION_TYPE), value); return 0;
    case RZL_FIELD_MINIMUM: store_u64le(header + KRV_AT_MINIMUM, static_cast<uint32_t>(value)); return 0;
    case RZL_FIELD_MAXIMUM: store_u64le(header + KRV_AT_MAXIMUM, static_cast<uint32_t>(value)); return 0;
    case RZL_FIELD_VLT_BITS: return 0; // kept on the handle
    case RZL_FIELD_STRIP_LINES: return set_strip_lines(c, value);
    case RZL_FIELD_TYPE_MODIFIER: store_u16le(header + KRV_AT_TYPE_MODIFIER, low); return 0;
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT: return set_tile_size(c, value);
    case RZL_FIELD_OVERVIEWS: return krv_set_overview_count(c, value);
    case RZL_FIELD_OVERVIEW_VALUE: return set_overview_value(c, value);
    case RZL_FIELD_PACKET_ROOM: return set_reserved_words(c, value);
    default: return krv_refuse(c);
    }
}

} // namespace

bool krv_is_tile_size(const CFILE* c, int32_t side) {
    int32_t data_type = krv_spec_of(c)->data_type;
    bool coded = data_type == RZL_FORMAT_GROUP3 || data_type == RZL_FORMAT_GROUP4;
    return side == 0 || (side > 0 && side % TILE_STEP == 0 && (!coded || side == CCITT_TILE));
}

int krv_refuse(CFILE* c) {
    return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Field cannot be modified\n");
}

int krv_get_format(CFILE* c) {
    return krv_spec_of(c)->data_type;
}

int krv_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const byte_field* row = find_byte_field(field);
    bool hidden = needs_application_9(field) && load_u16le(header_of(c) + KRV_AT_APPLICATION_TYPE) != KRV_APPLICATION_9;
    if (hidden) return refuse(c, RZL_NO_SUCH_FIELD, SOURCE, "application type");
    if (field == RZL_FIELD_TILE_DIRECTORY) {
        krv_give_tile_directory(c, value);
    } else if (row != nullptr) {
        get_byte_field(c, *row, value);
    } else {
        give_int(value, get_integer(c, field, int_of(value)));
    }
    return 0;
}

int krv_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    const byte_field* row = find_byte_field(field);
    if (needs_application_9(field)) {
        krv_set_application(header_of(c), KRV_APPLICATION_9, header_of(c)[KRV_AT_VERSION]);
    }
    if (row == nullptr) return set_integer(c, field, int_of(value));
    set_byte_field(c, *row, value);
    return 0;
}

// ---- doubles of the view fields -------------------------------------------------------------------------------------
//
// Native files: doubles of the view fields, which older files store in a form that is not IEEE. Which form a header has
// follows from its application type and version, so a change of either converts what is stored.

namespace {

constexpr int OLD_VERSION = 2;
constexpr uint64_t EXPONENT_OFFSET = 894; // IEEE exponent less the old form's
constexpr uint64_t GREATEST = 0x7FFFFFFFFFFFFFFF;

// The doubles that the old form applies to: origin and extent, rotation, skew.
constexpr size_t VIEW_DOUBLES[] = {
    KRV_AT_VIEW_ORIGIN,     KRV_AT_VIEW_ORIGIN + 8,  KRV_AT_VIEW_ORIGIN + 16, KRV_AT_VIEW_EXTENT,
    KRV_AT_VIEW_EXTENT + 8, KRV_AT_VIEW_EXTENT + 16, KRV_AT_ROTATION,         KRV_AT_SKEW};

bool has_old_doubles(const uint8_t* header) {
    int type = load_u16le(header + KRV_AT_APPLICATION_TYPE);
    return (type == 1 || type == 2) && header[KRV_AT_VERSION] == OLD_VERSION;
}

// Sign, exponent and fraction as one number, the sign on top.
uint64_t d_float_bits(double value) {
    if (value == 0.0) return 0;
    uint64_t ieee;
    std::memcpy(&ieee, &value, sizeof ieee);
    uint64_t sign = ieee & (uint64_t{1} << 63);
    uint64_t exponent = ieee >> 52 & 0x7FF;
    if (exponent <= EXPONENT_OFFSET) return 0;
    if (exponent - EXPONENT_OFFSET > 255) return sign | GREATEST;
    return sign | (exponent - EXPONENT_OFFSET) << 55 | (ieee & 0xFFFFFFFFFFFFF) << 3;
}

double d_float_value(uint64_t bits) {
    uint64_t exponent = bits >> 55 & 0xFF;
    if (exponent == 0) return 0.0;
    uint64_t ieee = (bits & uint64_t{1} << 63) | (exponent + EXPONENT_OFFSET) << 52 | (bits >> 3 & 0xFFFFFFFFFFFFF);
    double value;
    std::memcpy(&value, &ieee, sizeof value);
    return value;
}

} // namespace

void krv_store_d_float(uint8_t* p, double value) {
    uint64_t bits = d_float_bits(value);
    for (int word = 0; word < 4; ++word)
        store_u16le(p + 2 * word, static_cast<uint16_t>(bits >> (48 - 16 * word)));
}

double krv_load_d_float(const uint8_t* p) {
    uint64_t bits = 0;
    for (int word = 0; word < 4; ++word)
        bits = bits << 16 | load_u16le(p + 2 * word);
    return d_float_value(bits);
}

double krv_load_double(const uint8_t* header, size_t at) {
    return has_old_doubles(header) ? krv_load_d_float(header + at) : load_f64le(header + at);
}

void krv_store_double(uint8_t* header, size_t at, double value) {
    if (has_old_doubles(header)) {
        krv_store_d_float(header + at, value);
    } else {
        store_f64le(header + at, value);
    }
}

void krv_set_application(uint8_t* header, int type, int version) {
    double values[8];
    size_t count = 0;
    bool was_old = has_old_doubles(header);
    for (size_t at : VIEW_DOUBLES)
        values[count++] = krv_load_double(header, at);
    store_u16le(header + KRV_AT_APPLICATION_TYPE, static_cast<uint16_t>(type));
    header[KRV_AT_VERSION] = static_cast<uint8_t>(version);
    if (has_old_doubles(header) == was_old) return; // the bytes stay as they are
    count = 0;
    for (size_t at : VIEW_DOUBLES)
        krv_store_double(header, at, values[count++]);
}
