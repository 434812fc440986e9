// ASRP and USRP map sets: reading tiles.
#include <algorithm>
#include <cstring>

#include "raster/ADRG/asrp.h"

namespace {

constexpr char SOURCE[] = "asrp/asrgetti";
constexpr int64_t FIRST_PLAIN = 8192; // in the image file

// Stores of 8 bytes at a time; what they write too much is written again, or slack.
uint8_t* put_run(uint8_t* out, uint8_t* end, size_t count, uint8_t value) {
    constexpr size_t WORD = 8;
    count = std::min(count, static_cast<size_t>(end - out));
    uint64_t word = value * 0x0101010101010101u;
    for (size_t i = 0; i < count; i += WORD)
        store_u64le(out + i, word);
    return out + count;
}
static_assert(ASRP_TILE_SLACK >= 8);

// Pairs of count and value until the tile is full. The bytes at hand are gone through without a call.
bool decode_pairs(CFILE* c, uint8_t* out, uint8_t* end) {
    io_ahead* a = &c->ahead;
    while (out != end) {
        const uint8_t* next = a->next;
        for (; out != end && a->end - next >= 2; next += 2)
            out = put_run(out, end, next[0], next[1]);
        a->next = next;
        if (out == end) break;
        int count = io_getc(c);
        int value = io_getc(c);
        if (value < 0) return false;
        out = put_run(out, end, static_cast<size_t>(count), static_cast<uint8_t>(value));
    }
    return true;
}

// Two runs in three bytes: count and value of 4 and 8 bits each. The last byte is not there when its count is 0.
bool decode_nibbles(CFILE* c, uint8_t* out, uint8_t* end) {
    io_ahead* a = &c->ahead;
    while (out != end) {
        const uint8_t* next = a->next;
        while (out != end && a->end - next >= 3) {
            out = put_run(out, end, next[0] >> 4, static_cast<uint8_t>(next[0] << 4 | next[1] >> 4));
            size_t second = next[1] & 15;
            out = put_run(out, end, second, next[2]);
            next += second != 0 ? 3 : 2;
        }
        a->next = next;
        if (out == end) break;
        int first = io_getc(c);
        int middle = io_getc(c);
        if (first < 0 || middle < 0) return false;
        out = put_run(out, end, static_cast<size_t>(first) >> 4, static_cast<uint8_t>(first << 4 | middle >> 4));
        if (out == end || (middle & 15) == 0) continue;
        int value = io_getc(c);
        if (value < 0) return false;
        out = put_run(out, end, static_cast<size_t>(middle) & 15, static_cast<uint8_t>(value));
    }
    return true;
}

// The tile's pixels, where they lie or in `tile`; null with the status.
const uint8_t* read_tile(CFILE* c, const asrp_spec* spec, int64_t entry) {
    size_t pixels = asrp_tile_pixels(spec);
    const uint8_t* found = nullptr;
    if (spec->plain) {
        int64_t place = spec->first_plain + entry * static_cast<int64_t>(pixels);
        if (io_seek(c, place)) found = io_take(c, pixels, spec->tile);
    } else if (io_seek(c, entry + c->base_offset)) {
        uint8_t* end = spec->tile + pixels;
        bool whole = spec->run_bits == 4 ? decode_nibbles(c, spec->tile, end) : decode_pairs(c, spec->tile, end);
        if (whole) found = spec->tile;
    }
    if (found == nullptr) fail(c, RZL_READ_FAILED, SOURCE, nullptr);
    return found;
}

bool can_read(CFILE* c, int channels) {
    rzl_gettile_check(c);
    if (c->status != 0) return false;
    return channels == 1 || channels == 3 || fails(c, RZL_UNSUPPORTED, SOURCE, "gettile");
}

} // namespace

// Plain tiles are numbered from 0 or from 1: from 1 when the file ends where the last one would begin. Tiles that are
// called plain and have counts as well are plain when the file is large enough for it.
bool asrp_settle_coding(CFILE* c) {
    asrp_spec* spec = asrp_spec_of(c);
    auto pixels = static_cast<int64_t>(asrp_tile_pixels(spec));
    int64_t count = int64_t{spec->row_blocks} * spec->column_blocks;
    int64_t last = *std::max_element(spec->tile_map, spec->tile_map + count);
    int64_t size = io_size(c);
    bool from_zero = size < 0 || (size - FIRST_PLAIN) / pixels > last;
    bool from_one = !from_zero && (size - FIRST_PLAIN) / pixels >= last;
    spec->plain = spec->value_bits == 8 && (spec->run_bits == 0 || (spec->run_bits == 8 && (from_zero || from_one)));
    spec->first_plain = FIRST_PLAIN - (from_one ? pixels : 0);
    return spec->plain || spec->run_bits != 0;
}

int asrp_get_tile_rows(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) {
    if (!can_read(c, channels)) return 0;
    const asrp_spec* spec = asrp_spec_of(c);
    int64_t entry = spec->tile_map[c->line];
    if (entry < 1) {
        set_give_empty(c, channels, planes, pitch, rows, nullptr);
    } else if (planes[0] != nullptr) {
        const uint8_t* tile = read_tile(c, spec, entry);
        if (tile == nullptr) return 0;
        set_copy_rows(c, tile, rows, planes[0], pitch);
    }
    ++c->line;
    return static_cast<int>(asrp_tile_pixels(spec));
}

int asrp_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word) {
    if (!can_read(c, channels)) return 0;
    const asrp_spec* spec = asrp_spec_of(c);
    auto pixels = static_cast<int>(asrp_tile_pixels(spec));
    bool empty = spec->tile_map[c->line] < 1;
    if (empty && size_word != nullptr) {
        *size_word = 0;
        ++c->line;
        return pixels;
    }
    // Planes of which the first is not wanted are made of a line of their own.
    uint8_t* values[1] = {values_target(channels, buffers, spec->tile)};
    auto width = static_cast<size_t>(spec->tile_width);
    auto height = static_cast<uint32_t>(spec->tile_height);
    if (asrp_get_tile_rows(c, 1, values, width, height) == 0) return 0;
    if (channels == 3 && values[0] != nullptr) rzl_apply_color_table(c, values[0], buffers[1], buffers[2], pixels);
    return pixels;
}
