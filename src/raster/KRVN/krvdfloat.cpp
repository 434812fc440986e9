// Native files: doubles of the view fields, which older files store in a form that is not IEEE. Which form a header has
// is told by its application type and version, so a change of either converts what is stored.
#include <cmath>

#include "raster/KRVN/krv.h"

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
