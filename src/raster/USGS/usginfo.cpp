// USGS files: numbers in the header records, and header fields.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "raster/USGS/usgs.h"

namespace {

constexpr char SOURCE[] = "USGS/usginfo";

constexpr usgs_place TITLE = {0, 0, 38};
constexpr usgs_place ROTATION = {1, 284, 24};
constexpr usgs_place ORIGIN_X = {2, 288, 24};
constexpr usgs_place ORIGIN_Y = {2, 312, 24};
constexpr usgs_place RESOLUTION_X = {3, 59, 12};
constexpr usgs_place RESOLUTION_Y = {3, 71, 12};
constexpr usgs_place DEVICE_RESOLUTION = {3, 276, 6};
constexpr size_t MOST_WIDTH = 64;

// Fields whose answer is the handle's. Others are none of the format's.
constexpr int32_t KNOWN[] = {
    RZL_FIELD_VLT_TYPE,  RZL_FIELD_VLT_ENTRIES, RZL_FIELD_PACKET_WORDS, RZL_FIELD_ORIENTATION, RZL_FIELD_APPLICATION,
    RZL_FIELD_SCANNABLE, RZL_FIELD_VERSION,     RZL_FIELD_ASPECT_RATIO, RZL_FIELD_OVERVIEWS,   RZL_FIELD_OVERVIEW_VALUE,
    RZL_FIELD_VLT_ROOM,  RZL_FIELD_PACKET_ROOM, RZL_FIELD_COMPRESSION,  RZL_FIELD_PLANAR,
};

const char* text_at(const usgs_spec* spec, usgs_place place) {
    return spec->records[place.record] + place.at;
}

// A number whose exponent may begin with a D. False when there is none.
bool number_at(const usgs_spec* spec, usgs_place place, double* value) {
    char text[MOST_WIDTH];
    std::memcpy(text, text_at(spec, place), place.width);
    std::replace(text, text + place.width, 'D', 'E');
    std::replace(text, text + place.width, 'd', 'e');
    return text_number(text, place.width, value);
}

double number_or(const usgs_spec* spec, usgs_place place, double otherwise) {
    double value = 0;
    return number_at(spec, place, &value) ? value : otherwise;
}

void give_matrix(const usgs_spec* spec, void* value) {
    double m[16] = {};
    std::memcpy(m, value, sizeof m);
    m[0] = number_or(spec, RESOLUTION_X, m[0]);
    m[3] = number_or(spec, ORIGIN_X, m[3]);
    m[5] = number_or(spec, RESOLUTION_Y, m[5]);
    m[7] = number_or(spec, ORIGIN_Y, m[7]);
    std::memcpy(value, m, sizeof m);
}

void give_map(const usgs_spec* spec, void* value) {
    rzl_map_info map = {};
    size_t length = TITLE.width;
    const char* text = text_at(spec, TITLE);
    while (length > 0 && text[length - 1] == ' ')
        --length;
    std::memcpy(map.title, text, length);
    std::memcpy(value, &map, sizeof map);
}

void give_records(const usgs_spec* spec, const rzl_usgs_records* out) {
    for (size_t i = 0; i < USGS_RECORDS; ++i)
        if (out->records[i] != nullptr) std::memcpy(out->records[i], spec->records[i], USGS_RECORD_SIZE);
}

void take_records(usgs_spec* spec, const rzl_usgs_records* in) {
    for (size_t i = 0; i < USGS_RECORDS; ++i)
        if (in->records[i] != nullptr) std::memcpy(spec->records[i], in->records[i], USGS_RECORD_SIZE);
}

int set_rotation(CFILE* c, usgs_spec* spec, double value) {
    constexpr double MOST = 1e7; // what the text holds with all its decimals
    char text[MOST_WIDTH];
    if (!std::isfinite(value) || std::fabs(value) >= MOST) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "rotation");
    std::snprintf(text, sizeof text, "%25.15f", value);
    std::memcpy(spec->records[ROTATION.record] + ROTATION.at, text, ROTATION.width);
    return 0;
}

int set_format(CFILE* c, usgs_spec* spec, int32_t format) {
    if (!format_is_byte(format)) return refuse(c, RZL_NOT_STANDARD, SOURCE, "format");
    spec->band_code = USGS_ONE_BAND;
    spec->interleave_code = 0;
    usgs_take_format(c);
    return 0;
}

} // namespace

bool usgs_integer(const usgs_spec* spec, usgs_place place, int64_t* value) {
    return text_integer(text_at(spec, place), place.width, value);
}

void usgs_put_integer(usgs_spec* spec, usgs_place place, int64_t value) {
    char text[MOST_WIDTH];
    std::snprintf(text, sizeof text, "%*lld", static_cast<int>(place.width), static_cast<long long>(value));
    std::memcpy(spec->records[place.record] + place.at, text, place.width);
}

void usgs_take_format(CFILE* c) {
    c->format = usgs_spec_of(c)->band_code == USGS_THREE_BANDS ? RZL_FORMAT_RGB : RZL_FORMAT_BYTE;
    (void)format_layout(c->format, &c->samples, &c->bits);
}

int usgs_get_hdr_data(CFILE* c, int32_t field, void* value) {
    constexpr double MOST = INT32_MAX;
    const usgs_spec* spec = usgs_spec_of(c);
    switch (field) {
    case RZL_FIELD_MATRIX: give_matrix(spec, value); break;
    case RZL_FIELD_RESOLUTION:
        give_int(value, static_cast<int64_t>(std::clamp(number_or(spec, DEVICE_RESOLUTION, 0), -MOST, MOST)));
        break;
    case RZL_FIELD_NAME_1:
    case RZL_FIELD_HEADER_WORDS: give_int(value, 1); break;
    case RZL_FIELD_ROTATION: give_number(value, number_or(spec, ROTATION, 0)); break;
    case RZL_FIELD_USGS: give_records(spec, static_cast<const rzl_usgs_records*>(value)); break;
    case RZL_FIELD_MAP: give_map(spec, value); break;
    default: note_unknown_field(c, KNOWN, field, SOURCE);
    }
    return 0;
}

int usgs_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    usgs_spec* spec = usgs_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE: return 0; // the handle has them
    case RZL_FIELD_FORMAT: return set_format(c, spec, int_of(value));
    case RZL_FIELD_ROTATION: return set_rotation(c, spec, number_of(value));
    case RZL_FIELD_USGS: take_records(spec, static_cast<const rzl_usgs_records*>(value)); return 0;
    default: return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Set hdr data");
    }
}

int usgs_set_stat(CFILE* c, const rzl_stat* stat) {
    usgs_spec* spec = usgs_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (stat->xsize < 0 || stat->ysize < 0) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "Set_stat");
    c->xsize = stat->xsize;
    c->ysize = stat->ysize;
    spec->gap_code = 0;
    return set_format(c, spec, RZL_FORMAT_BYTE);
}
