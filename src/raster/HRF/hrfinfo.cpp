// HRF files: header fields.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "raster/HRF/hrf.h"

namespace {

constexpr char SOURCE[] = "hrf/hrfinfo";
constexpr int32_t FIELD_OFFSET_X = 1000;
constexpr int32_t FIELD_OFFSET_Y = 1001;
constexpr double INCHES_A_MICROMETRE = 3.937007874015748e-05;
constexpr double MOST_DENSITY = 65535;

// Depth, coding and data format go together.
struct format_row {
    int32_t depth;
    bool compressed;
    int32_t format;
    uint32_t compression; // class
};
constexpr format_row ROWS[] = {
    {1, false, RZL_FORMAT_BILEVEL, CLASS_NONE}, {1, true, RZL_FORMAT_BILEVEL_RUNS, 1},
    {8, false, RZL_FORMAT_BYTE, CLASS_NONE},    {8, true, RZL_FORMAT_BYTE_RUNS, CLASS_LZW},
    {24, false, RZL_FORMAT_RGB, CLASS_NONE},    {24, true, RZL_FORMAT_PLANE_RUNS, CLASS_LZW},
};

int set_resolution(CFILE* c, hrf_spec* spec, int32_t value) {
    double dots = value > 0 ? value * INCHES_A_MICROMETRE + 0.5 : -static_cast<double>(value);
    if (dots > MOST_DENSITY) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "resolution");
    auto density = static_cast<uint16_t>(dots);
    spec->density_x = density;
    if (value <= 0) spec->density_y = density;
    spec->unit_x = spec->unit_y = HRF_DOTS_AN_INCH;
    return 0;
}

int set_aspect(CFILE* c, hrf_spec* spec, double value) {
    if (value == 0) return 0;
    double dots = spec->density_x / value + 0.5;
    bool holds = std::isfinite(value) && dots >= 0 && dots <= MOST_DENSITY;
    if (!holds) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "aspect ratio");
    spec->density_y = spec->density_x != 0 ? static_cast<uint16_t>(dots) : uint16_t{0};
    return 0;
}

} // namespace

void hrf_take_format(CFILE* c) {
    const hrf_spec* spec = hrf_spec_of(c);
    for (const format_row& row : ROWS) {
        if (row.depth != spec->depth || row.compressed != spec->compressed) continue;
        c->format = row.format;
        c->compression = row.compression;
        (void)format_layout(row.format, &c->samples, &c->bits);
    }
}

int hrf_set_format(CFILE* c, int32_t format) {
    hrf_spec* spec = hrf_spec_of(c);
    for (const format_row& row : ROWS) {
        if (row.format != format) continue;
        spec->depth = row.depth;
        spec->compressed = row.compressed;
        hrf_take_format(c);
        return 0;
    }
    return refuse(c, RZL_UNSUP_IR, SOURCE, "HRF");
}

int hrf_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const hrf_spec* spec = hrf_spec_of(c);
    rzl_map_info map = {};
    switch (field) {
    case RZL_FIELD_RESOLUTION: give_int(value, spec->unit_x == HRF_DOTS_AN_INCH ? -spec->density_x : 0); break;
    case RZL_FIELD_VERSION: give_int(value, '0' - spec->version[1]); break;
    case RZL_FIELD_ASPECT_RATIO:
        if (spec->density_x != 0 && spec->density_y != 0)
            give_number(value, static_cast<double>(spec->density_x) / spec->density_y);
        break;
    case RZL_FIELD_COMPRESSION: give_int(value, -1); break;
    case FIELD_OFFSET_X: give_int(value, spec->offset_x); break;
    case FIELD_OFFSET_Y: give_int(value, spec->offset_y); break;
    case RZL_FIELD_MAP:
        std::memcpy(map.date, spec->date, sizeof spec->date);
        std::memcpy(value, &map, sizeof map);
        break;
    default: break;
    }
    return 0;
}

int hrf_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    hrf_spec* spec = hrf_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_FORMAT: return hrf_set_format(c, int_of(value));
    case RZL_FIELD_RESOLUTION: return set_resolution(c, spec, int_of(value));
    case RZL_FIELD_ASPECT_RATIO: return set_aspect(c, spec, number_of(value));
    default: return 0;
    }
}
