// CALS files: header fields.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "raster/CALS/cals.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CALS/calsinfo";
constexpr int32_t MICROMETRES_AN_INCH = 25400;
constexpr double TENTH = 0.1;

// Fields that are texts of the header. One that the file's variant has no record for is no field of it.
struct text_field {
    int32_t field;
    cals_text text;
};
constexpr text_field TEXT_FIELDS[] = {
    {RZL_FIELD_CALS_SOURCE_ID, CALS_SOURCE_ID},
    {RZL_FIELD_CALS_DESTINATION_ID, CALS_DESTINATION_ID},
    {RZL_FIELD_CALS_CLASS, CALS_CLASS},
    {RZL_FIELD_CALS_NOTES, CALS_NOTES},
    {RZL_FIELD_CALS_TEXT_FILE_ID, CALS_TEXT_FILE_ID},
    {RZL_FIELD_CALS_FIGURE_ID, CALS_FIGURE_ID},
    {RZL_FIELD_CALS_GRAPHICS, CALS_SOURCE_GRAPHICS},
    {RZL_FIELD_CALS_SPECIFICATION, CALS_VERSION},
    {RZL_FIELD_CALS_DATA_FILE_ID, CALS_DATA_FILE_ID},
    {RZL_FIELD_CALS_MODULE_ID, CALS_MODULE_ID},
    {RZL_FIELD_CALS_ITEM_ID, CALS_ITEM_ID},
    {RZL_FIELD_CALS_PUBLICATION_ID, CALS_FORMAT_ID},
};

const text_field* text_field_of(int32_t field) {
    for (const text_field& known : TEXT_FIELDS)
        if (known.field == field) return &known;
    return nullptr;
}

bool is_of_both(cals_text text) {
    return text <= CALS_NOTES;
}

// The strings of the interchange, which no variant bounds.
char* string_of(cals_spec* spec, int32_t field) {
    switch (field) {
    case RZL_FIELD_CALS_REFERENCE: return spec->reference;
    case RZL_FIELD_CALS_USER_NAME: return spec->user_name;
    case RZL_FIELD_CALS_USER_COMMENT: return spec->comment;
    default: return nullptr;
    }
}

void give_pair(void* value, const int32_t* pair) {
    give_number(value, pair[0]);
    give_number(static_cast<uint8_t*>(value) + sizeof(double), pair[1]);
}

int get_text(CFILE* c, const cals_spec* spec, const text_field* known, void* value) {
    if (!is_of_both(known->text) && cals_text_room(spec, known->text) == 0)
        return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "variant");
    give_text(value, CALS_RECORD, spec->texts[known->text]);
    return 0;
}

// ---- setting -------------------------------------------------------------------------------------------------------

int set_text(CFILE* c, cals_spec* spec, const text_field* known, const char* text) {
    size_t room = cals_text_room(spec, known->text);
    if (room == 0) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "variant");
    // What the record does not hold would be lost, and a line break would end it for other programs.
    size_t length = strnlen(text, CALS_RECORD);
    if (length > room) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "text");
    std::memset(spec->texts[known->text], 0, CALS_RECORD);
    std::memcpy(spec->texts[known->text], text, length);
    return 0;
}

int set_string(CFILE* c, char* string, const char* text) {
    size_t length = strnlen(text, CALS_RECORD);
    if (length >= CALS_RECORD) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "text");
    std::memset(string, 0, CALS_RECORD);
    std::memcpy(string, text, length);
    return 0;
}

int32_t density_of(int32_t value) {
    if (value > 0) return MICROMETRES_AN_INCH / value;
    return value == INT32_MIN ? INT32_MAX : -value;
}

int set_format(CFILE* c, int32_t format) {
    if (rzl_take_format(c, format, RZL_NOT_STANDARD, SOURCE) != 0) return 1;
    c->samples = 1;
    c->bits = 1;
    return 0;
}

int set_tile_size(CFILE* c, cals_spec* spec, int32_t size) {
    if (size != 0 && size != CALS_TILE) return refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "tile size");
    spec->tile_size = size;
    set_flag(c, FLAG_PADDED_TILES, size != 0);
    // Only this type has tiles.
    if (size != 0) spec->type = 2;
    return 0;
}

int set_type(CFILE* c, cals_spec* spec, int32_t type) {
    if (type != 1 && spec->tile_size == 0) return refuse(c, RZL_ONLY_TILED, SOURCE, "type");
    spec->type = type == 1 ? 1 : 2;
    return 0;
}

int set_variant(CFILE* c, cals_spec* spec, int32_t variant) {
    if (variant != 'A' && variant != 'B') return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "variant");
    spec->variant = static_cast<char>(variant);
    cals_clear_texts(spec);
    return 0;
}

int set_aspect(CFILE* c, cals_spec* spec, double ratio) {
    if (!std::isfinite(ratio) || ratio < 0 || ratio > CALS_TILE)
        return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "aspect ratio");
    spec->aspect = ratio > 0 ? ratio : 1.0;
    return 0;
}

int set_pair(CFILE* c, int32_t* pair, const void* value, int32_t zero) {
    int32_t whole[2];
    for (size_t i = 0; i < 2; ++i) {
        double number = number_of(static_cast<const uint8_t*>(value) + i * sizeof(double));
        if (!(number >= 0 && number <= INT32_MAX)) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "pair");
        whole[i] = static_cast<int32_t>(number);
        if (whole[i] == 0) whole[i] = zero;
    }
    std::copy(whole, whole + 2, pair);
    return 0;
}

} // namespace

int cals_get_hdr_data(CFILE* c, int32_t field, void* value) {
    cals_spec* spec = cals_spec_of(c);
    if (const text_field* known = text_field_of(field)) return get_text(c, spec, known, value);
    if (const char* string = string_of(spec, field)) {
        give_text(value, CALS_RECORD, string);
        return 0;
    }
    switch (field) {
    case RZL_FIELD_MATRIX: std::memset(value, 0, sizeof(double) * 16); break;
    case RZL_FIELD_RESOLUTION: give_int(value, -int64_t{spec->density}); break;
    case RZL_FIELD_ORIENTATION: give_int(value, spec->orientation); break;
    case RZL_FIELD_VERSION: give_int(value, spec->level); break;
    case RZL_FIELD_APPLICATION: give_int(value, spec->type); break;
    case RZL_FIELD_ASPECT_RATIO: give_number(value, spec->type == 2 ? spec->aspect : 1.0); break;
    case RZL_FIELD_VIEW_ORIGIN: give_pair(value, spec->clip); break;
    case RZL_FIELD_VIEW_EXTENT: give_pair(value, spec->offset); break;
    case RZL_FIELD_COMPRESSION: give_int(value, 0); break;
    case RZL_FIELD_CALS_VARIANT: give_int(value, spec->variant); break;
    case RZL_FIELD_CALS_TYPE: give_int(value, spec->type); break;
    case RZL_FIELD_CALS_LEVEL: give_number(value, spec->level * TENTH); break;
    default: break;
    }
    return 0;
}

int cals_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    cals_spec* spec = cals_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (const text_field* known = text_field_of(field))
        return set_text(c, spec, known, static_cast<const char*>(value));
    if (char* string = string_of(spec, field)) return set_string(c, string, static_cast<const char*>(value));
    switch (field) {
    case RZL_FIELD_FORMAT: return set_format(c, int_of(value));
    case RZL_FIELD_RESOLUTION: spec->density = density_of(int_of(value)); return 0;
    case RZL_FIELD_ORIENTATION: spec->orientation = int_of(value); return 0;
    case RZL_FIELD_VERSION:
    case RZL_FIELD_CALS_LEVEL: {
        double level = field == RZL_FIELD_VERSION ? int_of(value) : number_of(value) / TENTH;
        spec->level = std::fabs(level - 32) < TENTH ? 32 : 33;
        return 0;
    }
    case RZL_FIELD_ASPECT_RATIO: return set_aspect(c, spec, number_of(value));
    case RZL_FIELD_VIEW_ORIGIN: return set_pair(c, spec->clip, value, 0);
    case RZL_FIELD_VIEW_EXTENT: return set_pair(c, spec->offset, value, 1);
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT: return set_tile_size(c, spec, int_of(value));
    case RZL_FIELD_CALS_VARIANT: return set_variant(c, spec, int_of(value));
    case RZL_FIELD_CALS_TYPE: return set_type(c, spec, int_of(value));
    default: return 0;
    }
}
