// Header fields: kinds of values, the answers of the handle, the way to the module and back, and the record of all
// fields that many files have.
#include "raster/CORE/fields.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "raster/CORE/module.h"

namespace {

constexpr char SOURCE[] = "CORE/fields";

// The fields that are no integers.
constexpr field_type TYPES[] = {
    {RZL_FIELD_MATRIX, field_kind::number, 128},     {RZL_FIELD_DESCRIPTION, field_kind::text, 80},
    {RZL_FIELD_COMMENT, field_kind::text, 200},      {RZL_FIELD_NAME_1, field_kind::text, 66},
    {RZL_FIELD_NAME_2, field_kind::text, 66},        {RZL_FIELD_NAME_3, field_kind::text, 66},
    {RZL_FIELD_MINIMUM_BYTES, field_kind::bytes, 8}, {RZL_FIELD_MAXIMUM_BYTES, field_kind::bytes, 8},
    {RZL_FIELD_ASPECT_RATIO, field_kind::number, 8}, {RZL_FIELD_VIEW_ORIGIN, field_kind::number, 24},
    {RZL_FIELD_VIEW_EXTENT, field_kind::number, 24}, {RZL_FIELD_ROTATION, field_kind::number, 8},
    {RZL_FIELD_SKEW, field_kind::number, 8},         {RZL_FIELD_TILE_DIRECTORY, field_kind::record, 0},
    {RZL_FIELD_USER_TAG, field_kind::record, 0},     {RZL_FIELD_MAP, field_kind::bytes, sizeof(rzl_map_info)},
};

const field_type* find_type(std::span<const field_type> types, int32_t field) {
    for (const field_type& type : types) {
        if (type.field == field) return &type;
    }
    return nullptr;
}

int64_t tile_value(const CFILE* c, int32_t field) {
    if (c->tile == nullptr) return 0;
    switch (field) {
    case RZL_FIELD_TILE_WIDTH: return c->tile->width;
    case RZL_FIELD_TILE_HEIGHT: return c->tile->height;
    case RZL_FIELD_TILES_ACROSS: return c->tile->tiles_across;
    default: return c->tile->tiles_down;
    }
}

int64_t default_integer(const CFILE* c, int32_t field) {
    switch (field) {
    case RZL_FIELD_VLT_TYPE: return c->color_table != nullptr ? RZL_VLT_ENTRIES : RZL_VLT_NONE;
    case RZL_FIELD_VLT_ENTRIES: return c->color_table != nullptr ? 256 : 0;
    case RZL_FIELD_ORIENTATION: return RZL_TOP_DOWN;
    case RZL_FIELD_SCANNABLE: return has_flag(c, FLAG_SCANNABLE) ? 1 : 0;
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT:
    case RZL_FIELD_TILES_ACROSS:
    case RZL_FIELD_TILES_DOWN: return tile_value(c, field);
    case RZL_FIELD_IMAGES:
    case RZL_FIELD_PLANAR: return 1;
    default: return 0;
    }
}

bool is_within_limits(const CFILE* c, int32_t field, int32_t number) {
    if (c->module == nullptr) return true;
    for (const field_limit& limit : c->module->limits) {
        if (limit.field == field) return number >= limit.low && number <= limit.high;
    }
    return true;
}

// A member of the record and its field, in the order in which they have to be set.
struct stat_row {
    int32_t field;
    int32_t rzl_stat::*member;
};
constexpr stat_row SETTABLE[] = {
    {RZL_FIELD_FORMAT, &rzl_stat::format},
    {RZL_FIELD_XSIZE, &rzl_stat::xsize},
    {RZL_FIELD_YSIZE, &rzl_stat::ysize},
    {RZL_FIELD_RESOLUTION, &rzl_stat::device_resolution},
    {RZL_FIELD_ORIENTATION, &rzl_stat::scan_orientation},
    {RZL_FIELD_SCANNABLE, &rzl_stat::scannable},
    {RZL_FIELD_APPLICATION, &rzl_stat::application_type},
    {RZL_FIELD_VERSION, &rzl_stat::version},
    {RZL_FIELD_TILE_WIDTH, &rzl_stat::tile_size},
    {RZL_FIELD_OVERVIEWS, &rzl_stat::overview_count},
    {RZL_FIELD_VLT_TYPE, &rzl_stat::vlt_type},
    {RZL_FIELD_VLT_ENTRIES, &rzl_stat::vlt_entries},
};
constexpr stat_row READ_ONLY[] = {
    {RZL_FIELD_TILES_ACROSS, &rzl_stat::tiles_across},
    {RZL_FIELD_TILES_DOWN, &rzl_stat::tiles_down},
    {RZL_FIELD_OVERVIEW_VALUE, &rzl_stat::overview_value},
    {RZL_FIELD_VLT_ROOM, &rzl_stat::vlt_room},
    {RZL_FIELD_PACKET_WORDS, &rzl_stat::packet_words},
    {RZL_FIELD_PACKET_ROOM, &rzl_stat::packet_room},
    {RZL_FIELD_PLANAR, &rzl_stat::planar},
    {RZL_FIELD_COMPRESSION, &rzl_stat::compression},
};

int32_t integer_of_field(CFILE* c, int32_t field) {
    alignas(8) uint8_t value[FIELD_MOST_BYTES] = {};
    (void)get_field(c, field, value);
    return int_of(value);
}

int set_integer_field(CFILE* c, int32_t field, int32_t number) {
    return set_field(c, field, &number);
}

} // namespace

field_type field_type_of(const CFILE* c, int32_t field) {
    const format_module* module = c->stands_for != nullptr ? c->stands_for : c->module;
    const field_type* found = module != nullptr ? find_type(module->types, field) : nullptr;
    if (found == nullptr) found = find_type(TYPES, field);
    return found != nullptr ? *found : field_type{field, field_kind::integer, sizeof(int32_t)};
}

void give_int(void* value, int64_t number) {
    auto narrow = static_cast<int32_t>(std::clamp<int64_t>(number, INT32_MIN, INT32_MAX));
    std::memcpy(value, &narrow, sizeof narrow);
}

int32_t int_of(const void* value) {
    int32_t number = 0;
    std::memcpy(&number, value, sizeof number);
    return number;
}

void give_number(void* value, double number) {
    std::memcpy(value, &number, sizeof number);
}

double number_of(const void* value) {
    double number = 0;
    std::memcpy(&number, value, sizeof number);
    return number;
}

void give_text(void* value, size_t size, const char* text) {
    size_t length = strnlen(text, size - 1);
    std::memcpy(value, text, length);
    std::memset(static_cast<uint8_t*>(value) + length, 0, size - length);
}

void give_default(const CFILE* c, int32_t field, void* value) {
    field_type type = field_type_of(c, field);
    std::memset(value, 0, type.size);
    if (type.kind == field_kind::integer) give_int(value, default_integer(c, field));
    if (field == RZL_FIELD_ASPECT_RATIO) give_number(value, 1.0);
    for (size_t i = 0; field == RZL_FIELD_MATRIX && i < 16; i += 5)
        give_number(static_cast<uint8_t*>(value) + i * sizeof(double), 1.0);
}

void note_unknown_field(CFILE* c, std::span<const int32_t> known, int32_t field, const char* source) {
    if (std::find(known.begin(), known.end(), field) == known.end()) fail(c, RZL_BAD_FIELD_ID, source, "Get hdr data");
}

// The module gets room of its own, so that a mistake of its about a field's size can't reach the caller's memory, and
// what a field that failed had of an answer does not.
int get_module_field(CFILE* c, int32_t field, void* value) {
    field_type type = field_type_of(c, field);
    if (type.kind == field_kind::record) return c->slots.Get_hdr_data(c, field, value);
    alignas(8) uint8_t answer[FIELD_MOST_BYTES] = {};
    give_default(c, field, answer);
    int result = c->slots.Get_hdr_data(c, field, answer);
    if (result != 0) std::memset(answer, 0, type.size);
    std::memcpy(value, answer, type.size);
    return result;
}

int set_module_field(CFILE* c, int32_t field, const void* value) {
    field_type type = field_type_of(c, field);
    if (type.kind == field_kind::record) return c->slots.Set_hdr_data(c, field, value);
    alignas(8) uint8_t copy[FIELD_MOST_BYTES + 1] = {};
    size_t bytes = type.kind == field_kind::text ? strnlen(static_cast<const char*>(value), type.size) : type.size;
    std::memcpy(copy, value, bytes);
    if (type.kind == field_kind::integer && !is_within_limits(c, field, int_of(copy)))
        return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "field value");
    return c->slots.Set_hdr_data(c, field, copy);
}

int rzl_get_stat_of_fields(CFILE* c, rzl_stat* stat) {
    *stat = {};
    for (const stat_row& row : SETTABLE)
        stat->*row.member = integer_of_field(c, row.field);
    for (const stat_row& row : READ_ONLY)
        stat->*row.member = integer_of_field(c, row.field);
    stat->jpeg_quality = integer_of_field(c, RZL_FIELD_QUALITY);
    stat->standard = c->standard;
    stat->samples = c->samples;
    stat->bits = c->bits;
    stat->vlt_bits = static_cast<int32_t>(c->vlt_bits);
    int result = get_field(c, RZL_FIELD_MATRIX, stat->matrix);
    return get_field(c, RZL_FIELD_ASPECT_RATIO, &stat->aspect_ratio) != 0 ? 1 : result;
}

// Only what differs is set, so that the record of an existing file can be given back to it. The rest of the record
// follows from other fields.
int rzl_set_stat_of_fields(CFILE* c, const rzl_stat* stat) {
    rzl_stat now;
    if (rzl_get_stat_of_fields(c, &now) != 0) return 1;
    for (const stat_row& row : SETTABLE) {
        int32_t wanted = stat->*row.member;
        if (wanted != now.*row.member && set_integer_field(c, row.field, wanted) != 0) return 1;
    }
    // Setting field 7 adds.
    int32_t growth = 0;
    if (__builtin_sub_overflow(stat->packet_words, now.packet_words, &growth))
        return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "packet words");
    if (growth != 0 && set_integer_field(c, RZL_FIELD_PACKET_WORDS, growth) != 0) return 1;
    if (c->jpeg != nullptr) c->jpeg->quality = stat->jpeg_quality;
    bool same_matrix = std::equal(std::begin(stat->matrix), std::end(stat->matrix), now.matrix);
    if (!same_matrix && set_field(c, RZL_FIELD_MATRIX, stat->matrix) != 0) return 1;
    bool same_aspect = stat->aspect_ratio == now.aspect_ratio;
    return same_aspect ? 0 : set_field(c, RZL_FIELD_ASPECT_RATIO, &stat->aspect_ratio);
}
