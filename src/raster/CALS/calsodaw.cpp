// CALS files: writing the interchange of binary elements that describes an image of type 2.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>

#include "raster/CALS/cals.h"

namespace {

constexpr char SOURCE[] = "CALS/calsodaw";
constexpr size_t MOST_BYTES = 768; // of an element in the making

// An element in the making. The sizes that go into it are known to fit.
struct bytes_out {
    uint8_t at[MOST_BYTES];
    size_t size;
};

void put_byte(bytes_out* out, int byte) {
    if (out->size < MOST_BYTES) out->at[out->size++] = static_cast<uint8_t>(byte);
}

void put_bytes(bytes_out* out, std::initializer_list<uint8_t> bytes) {
    for (uint8_t byte : bytes)
        put_byte(out, byte);
}

// Leading zeros of a long length are left out.
void put_length(bytes_out* out, uint64_t length) {
    if (length < 128) return put_byte(out, static_cast<int>(length));
    int bytes = 8;
    while (bytes > 1 && length >> (bytes - 1) * 8 == 0)
        --bytes;
    put_byte(out, 128 + bytes);
    for (int i = bytes - 1; i >= 0; --i)
        put_byte(out, static_cast<int>(length >> i * 8 & 0xFF));
}

void put_element(bytes_out* out, int tag, const void* value, size_t size) {
    put_byte(out, tag);
    put_length(out, size);
    for (size_t i = 0; i < size; ++i)
        put_byte(out, static_cast<const uint8_t*>(value)[i]);
}

void put_text(bytes_out* out, int tag, const char* text) {
    put_element(out, tag, text, std::strlen(text));
}

void put_inside(bytes_out* out, int tag, const bytes_out& inner) {
    put_element(out, tag, inner.at, inner.size);
}

// A number from 0 up, the sign bit of its first byte clear.
void put_number(bytes_out* out, int tag, int64_t number) {
    uint8_t bytes[5] = {};
    size_t first = 4;
    for (size_t i = 0; i < 5; ++i)
        bytes[4 - i] = static_cast<uint8_t>(number >> i * 8);
    while (first > 0 && (number >> (5 - first) * 8 != 0 || (bytes[first] & 0x80) != 0))
        --first;
    put_element(out, tag, bytes + first, 5 - first);
}

void put_pair(bytes_out* out, int tag, int part, int64_t a, int64_t b) {
    bytes_out inner = {};
    put_number(&inner, part, a);
    put_number(&inner, part, b);
    put_inside(out, tag, inner);
}

bool write_out(CFILE* c, const bytes_out& out) {
    return io_write(c, out.at, out.size) == out.size || fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
}

// ---- elements ------------------------------------------------------------------------------------------------------

bool write_profile(CFILE* c, const cals_spec* spec) {
    const char* reference = "No document reference given.";
    const char* notes = spec->texts[CALS_NOTES];
    bool has_notes = notes[0] != '\0' && std::strcmp(notes, "NONE") != 0 && std::strcmp(notes, "none ") != 0;
    if (has_notes) reference = notes;
    if (spec->reference[0] != '\0') reference = spec->reference;
    bytes_out inner = {};
    put_bytes(&inner, {0x81, 0x01, 0x31});                               // one layout
    put_bytes(&inner, {0x84, 0x05, 0x2B, 0x0E, 0x0B, 0x01, 0x01});       // the profile that the document keeps to
    put_bytes(&inner, {0xA5, 0x06, 0x06, 0x04, 0x58, 0x02, 0x07, 0x02}); // its content: pictures, formatted
    put_bytes(&inner, {0x86, 0x01, 0x00});
    put_bytes(&inner, {0xA8, 0x16});
    put_text(&inner, 0x43, "ISO 8613");
    put_text(&inner, 0x44, "1991-12-31");
    // How it is presented: no class of its own, the usual page and its units. The profile of a file without a reference
    // then has its 94 bytes.
    bytes_out features = {};
    put_number(&features, 0x81, 0);
    put_number(&features, 0x84, CALS_PAGE_WIDTH);
    put_number(&features, 0x86, CALS_PAGE_HEIGHT);
    bytes_out units = {};
    put_number(&units, 0x80, CALS_UNITS_AN_INCH);
    put_inside(&features, 0xA5, units);
    put_inside(&inner, 0xA2, features);
    put_text(&inner, 0xA3, reference);
    bytes_out out = {};
    put_bytes(&out, {0xA0, 0x81, static_cast<uint8_t>(inner.size)}); // the long form always
    std::memcpy(out.at + out.size, inner.at, inner.size);
    out.size += inner.size;
    return write_out(c, out);
}

// An object: its kind and, in a set, its name and what `body` has.
bool write_object(CFILE* c, int kind, const char* name, const bytes_out& body) {
    bytes_out set = {};
    put_text(&set, 0x41, name);
    std::memcpy(set.at + set.size, body.at, std::min(body.size, MOST_BYTES - set.size));
    set.size += body.size;
    bytes_out inner = {};
    put_number(&inner, 0x02, kind);
    put_inside(&inner, 0x31, set);
    bytes_out out = {};
    put_inside(&out, 0xA2, inner);
    return write_out(c, out);
}

void put_parts(bytes_out* out, const char* name) {
    bytes_out names = {};
    put_text(&names, 0x12, name);
    put_inside(out, 0xA0, names);
}

int64_t units_of(int32_t pixels, int32_t density) {
    int64_t dots = density > 0 ? density : CALS_USUAL_DENSITY;
    return std::clamp<int64_t>((int64_t{pixels} * CALS_UNITS_AN_INCH + dots / 2) / dots, 1, INT32_MAX);
}

bool write_layout(CFILE* c, const cals_spec* spec) {
    bytes_out root = {};
    put_parts(&root, "1 0");
    if (spec->level == 33) put_bytes(&root, {0x99, 0x05, 0x30, 0x03, 0x80, 0x01, 0x30});
    bytes_out page = {};
    put_parts(&page, "1 0 0");
    int64_t width = units_of(c->xsize, spec->density);
    int64_t height = units_of(c->ysize, spec->density);
    bool usual = width == CALS_PAGE_WIDTH && height == CALS_PAGE_HEIGHT;
    if (!usual) put_pair(&page, 0xA4, 0x80, width, height);
    bytes_out frame = {};
    put_parts(&frame, "1 0 0 0");
    return write_object(c, 0, "1", root) && write_object(c, 2, "1 0", page) && write_object(c, 3, "1 0 0", frame);
}

// How the pixels are meant.
void put_raster_attributes(bytes_out* out, const cals_spec* spec) {
    constexpr int32_t QUARTER = 90;
    constexpr double RATIO_PARTS = 1000000;
    const cals_rotation& rotation = CALS_ROTATIONS[spec->orientation & 7];
    put_number(out, 0x80, rotation.path / QUARTER);
    put_number(out, 0x81, rotation.turn / QUARTER);
    if (spec->offset[0] != 0 || spec->offset[1] != 0) put_pair(out, 0xA3, 0x02, spec->offset[0], spec->offset[1]);
    if (spec->clip[0] != 0 || spec->clip[1] != 0) put_pair(out, 0xA4, 0x02, spec->clip[0], spec->clip[1]);
    if (spec->density > 0) {
        bytes_out spacing = {};
        put_pair(&spacing, 0xA0, 0x02, CALS_UNITS_AN_INCH, spec->density);
        put_inside(out, 0xA5, spacing);
    }
    auto parts = static_cast<int64_t>(std::lround(spec->aspect * RATIO_PARTS));
    if (spec->aspect != 1.0) put_pair(out, 0xA6, 0x02, std::max<int64_t>(parts, 1), static_cast<int64_t>(RATIO_PARTS));
}

bool write_block(CFILE* c, const cals_spec* spec) {
    bytes_out raster = {};
    put_raster_attributes(&raster, spec);
    bytes_out presentation = {};
    put_inside(&presentation, 0xA1, raster);
    bytes_out body = {};
    put_inside(&body, 0xA6, presentation);
    put_text(&body, 0x8E, spec->user_name[0] != '\0' ? spec->user_name : "No user visible name given.");
    put_text(&body, 0x88, spec->comment[0] != '\0' ? spec->comment : "No user readable comments given.");
    return write_object(c, 4, "1 0 0 0", body);
}

// The bytes of an element's head.
size_t head_bytes(uint64_t length) {
    bytes_out out = {};
    put_length(&out, length);
    return out.size + 1;
}

// One entry of the table a tile; all are of one kind.
bool write_kinds(CFILE* c, int64_t tiles) {
    constexpr size_t ENTRY = 3;
    constexpr int64_t AT_ONCE = 1024;
    uint8_t entries[AT_ONCE * ENTRY];
    uint8_t kind = cals_is_coded(c) ? CALS_TILE_CODED : CALS_TILE_PLAIN;
    for (size_t i = 0; i < AT_ONCE; ++i) {
        entries[i * ENTRY] = 0x02;
        entries[i * ENTRY + 1] = 0x01;
        entries[i * ENTRY + 2] = kind;
    }
    for (int64_t left = tiles; left > 0; left -= AT_ONCE) {
        size_t bytes = static_cast<size_t>(std::min(left, AT_ONCE)) * ENTRY;
        if (io_write(c, entries, bytes) != bytes) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    }
    return true;
}

bool write_content_attributes(CFILE* c, const cals_spec* spec) {
    bool tiled = spec->tile_size != 0;
    int64_t tiles = tiled ? int64_t{c->tile->tiles_across} * c->tile->tiles_down : 0;
    uint64_t table = static_cast<uint64_t>(tiles) * 3;
    bytes_out name = {};
    put_text(&name, 0x40, "1 0 0 0 0");
    uint8_t coding = !cals_is_coded(c) ? 3 : (tiled ? 5 : 6);
    put_bytes(&name, {0x86, 0x04, 0x58, 0x03, 0x07, coding});
    bytes_out details = {};
    put_number(&details, 0x80, c->xsize);
    put_number(&details, 0x81, c->ysize);
    if (tiled) put_number(&details, 0x86, CALS_TILE);
    if (tiled) put_number(&details, 0x87, CALS_TILE);
    uint64_t inner = details.size + (tiled ? head_bytes(table) + table : 0);
    bytes_out out = {};
    put_bytes(&out, {0xA3, 0x80, 0x31});
    put_length(&out, name.size + head_bytes(inner) + inner);
    std::memcpy(out.at + out.size, name.at, name.size);
    out.size += name.size;
    put_byte(&out, 0xA2);
    put_length(&out, inner);
    std::memcpy(out.at + out.size, details.at, details.size);
    out.size += details.size;
    if (!tiled) return write_out(c, out);
    put_byte(&out, 0xA9);
    put_length(&out, table);
    bytes_out strings = {};
    put_bytes(&strings, {0x24, 0x80}); // a string for each tile follows
    return write_out(c, out) && write_kinds(c, tiles) && write_out(c, strings);
}

} // namespace

bool cals_write_oda(CFILE* c) {
    const cals_spec* spec = cals_spec_of(c);
    return write_profile(c, spec) && write_layout(c, spec) && write_block(c, spec) && write_content_attributes(c, spec);
}

bool cals_write_content_head(CFILE* c, uint64_t bytes) {
    bytes_out out = {};
    put_byte(&out, 0x04);
    put_length(&out, bytes);
    return write_out(c, out);
}
