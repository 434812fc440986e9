// MRG map files: where the header's text has what, and the header fields made of it.
#include <algorithm>
#include <cstring>

#include "raster/MRG/mrg.h"

const mrg_form MRG_FORMS[2] = {
    {
        .header_size = 218,
        .strips = {200, 6},
        .row_blocks = {206, 7},
        .planes = {213, 2},
        .colors = {216, 2},
        .percent = {},
        .scale = {20, 35},
        .name = {0, 20},
        .projection = {111, 3},
        .numbers = {{55, 3}, {83, 3}},
        .coordinates = {{114, 11}, {125, 11}, {136, 11}, {147, 11}},
        .hemisphere = {169, 10},
        .matrix = {{158, 11}, {169, 10}, {179, 11}, {190, 10}},
        .hundredths = true,
    },
    {
        .header_size = MRG_MOST_HEADER,
        .strips = {442, 6},
        .row_blocks = {448, 7},
        .planes = {455, 1},
        .colors = {456, 2},
        .percent = {458, 1},
        .scale = {220, 35},
        .name = {189, 31},
        .projection = {311, 3},
        .numbers = {{255, 3}, {283, 3}},
        .coordinates = {{314, 11}, {325, 11}, {336, 11}, {347, 11}},
        .hemisphere = {432, 10},
        .matrix = {{358, 11}, {369, 10}, {}, {}},
        .hundredths = false,
    },
};

namespace {

constexpr char SOURCE[] = "MRG/mrginfo";

// Fields whose answer is the handle's. Others are none of the format's.
constexpr int32_t KNOWN[] = {
    RZL_FIELD_VLT_TYPE,    RZL_FIELD_PACKET_WORDS,   RZL_FIELD_RESOLUTION, RZL_FIELD_ORIENTATION,
    RZL_FIELD_APPLICATION, RZL_FIELD_SCANNABLE,      RZL_FIELD_VERSION,    RZL_FIELD_ASPECT_RATIO,
    RZL_FIELD_TILE_WIDTH,  RZL_FIELD_TILES_ACROSS,   RZL_FIELD_TILES_DOWN, RZL_FIELD_TILE_HEIGHT,
    RZL_FIELD_OVERVIEWS,   RZL_FIELD_OVERVIEW_VALUE, RZL_FIELD_VLT_ROOM,   RZL_FIELD_PACKET_ROOM,
    RZL_FIELD_COMPRESSION, RZL_FIELD_PLANAR,
};

constexpr double RADIANS_A_DEGREE = 0.017453292519943295;
constexpr double UNITS = 10000; // of the scale

double number_at(const mrg_spec* spec, mrg_place place) {
    double number = 0;
    if (place.width > 0) (void)text_number(spec->header + place.at, place.width, &number);
    return number;
}

int32_t integer_at(const mrg_spec* spec, mrg_place place) {
    int64_t number = 0;
    (void)text_integer(spec->header + place.at, place.width, &number);
    return static_cast<int32_t>(number); // three digits
}

double scale_of(const mrg_spec* spec) {
    double units = number_at(spec, spec->form->scale);
    return units != 0 ? units / UNITS : 1.0;
}

// A number and the letter behind it: west and south are negative.
double signed_dms(const mrg_spec* spec, mrg_place place) {
    const char* text = spec->header + place.at;
    double number = number_at(spec, place);
    if (spec->form->hundredths) number *= 0.01;
    bool negative = std::any_of(text, text + place.width, [](char c) { return c == 'W' || c == 'S'; });
    return degrees_of_dms(negative ? -number : number);
}

// A text of the header without the blanks behind it.
void copy_text(const mrg_spec* spec, mrg_place place, char* out, size_t room) {
    const char* text = spec->header + place.at;
    size_t length = strnlen(text, std::min<size_t>(place.width, room - 1));
    while (length > 0 && is_blank(text[length - 1]))
        --length;
    std::memset(out, 0, room);
    std::memcpy(out, text, length);
}

rzl_mrg_info info_of(const mrg_spec* spec) {
    constexpr double MERIDIAN_OF_ZONE_31 = 3;
    constexpr double DEGREES_A_ZONE = 6;
    constexpr double MOST_DEGREES = 1e6;
    const mrg_form* form = spec->form;
    rzl_mrg_info info = {};
    copy_text(spec, form->name, info.name, sizeof info.name);
    copy_text(spec, form->projection, info.projection, sizeof info.projection);
    for (size_t i = 0; i < 2; ++i)
        info.numbers[i] = integer_at(spec, form->numbers[i]);
    bool plain = form->hundredths && std::strcmp(info.projection, "TC") == 0;
    if (plain) {
        info.coordinates[0] = number_at(spec, form->coordinates[0]);
    } else {
        for (size_t i = 0; i < 4; ++i)
            info.coordinates[i] = signed_dms(spec, form->coordinates[i]);
    }
    double zone = (info.coordinates[0] - MERIDIAN_OF_ZONE_31) / DEGREES_A_ZONE + 31;
    info.zone = static_cast<int32_t>(std::clamp(zone, -MOST_DEGREES, MOST_DEGREES));
    info.hemisphere = number_at(spec, form->hemisphere) > 0 ? 'n' : 's';
    return info;
}

void give_matrix(const mrg_spec* spec, void* value) {
    double m[16] = {};
    m[0] = m[5] = scale_of(spec);
    m[10] = m[15] = 1.0;
    bool first_form = spec->form->hundredths;
    for (size_t i = 0; i < 4; ++i) {
        mrg_place place = spec->form->matrix[i];
        if (place.width == 0) continue;
        size_t entry = first_form ? 12 + i : 3 + 4 * i;
        m[entry] = degrees_of_dms(number_at(spec, place)) * RADIANS_A_DEGREE;
    }
    std::memcpy(value, m, sizeof m);
}

void give_map(const mrg_spec* spec, void* value) {
    rzl_mrg_info info = info_of(spec);
    rzl_map_info map = {};
    std::memcpy(map.title, info.name, sizeof info.name);
    map.scale = scale_of(spec);
    map.corner_count = 4;
    std::copy_n(info.coordinates, 4, map.corners);
    std::memcpy(value, &map, sizeof map);
}

} // namespace

int mrg_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const mrg_spec* spec = mrg_spec_of(c);
    switch (field) {
    case RZL_FIELD_MATRIX: give_matrix(spec, value); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, spec->color_count > 0 ? spec->color_count + 1 : 0); break;
    case RZL_FIELD_MRG: *static_cast<rzl_mrg_info*>(value) = info_of(spec); break;
    case RZL_FIELD_MAP: give_map(spec, value); break;
    default: note_unknown_field(c, KNOWN, field, SOURCE);
    }
    return 0;
}

// Entries behind those that the file has are numbered, and black.
int mrg_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    constexpr uint16_t NUMBERED = 255;
    if (rzl_get_vlt_of_table(c, entries) != 0) return 1;
    for (auto i = static_cast<uint16_t>(mrg_spec_of(c)->color_count + 1); i < NUMBERED; ++i)
        entries[i] = {i, 0, 0, 0};
    return 0;
}
