// The decoder of GIF's LZW coding.
//
// A string of the table is one that stands in the output already: that of the code before, with the byte behind it.
// So an entry is the place in the output where it stands and its length, and decoding a code is a copy forwards.
#include <cstring>

#include "raster/GIF/gif.h"
#include "support/bytes.h"

namespace {

constexpr char SOURCE[] = "GIF/lzw_dcmp";

// Bytes that a copy moves at a time, whatever is needed.
constexpr size_t STEP = 8;
static_assert(GIF_PIXEL_SLACK >= STEP && GIF_DATA_SLACK >= STEP);

struct table_entry {
    uint32_t place; // in the output
    uint32_t length;
};

// Codes come least significant bit first. Bits behind the end of the data are 0 and counted as not there.
struct bit_source {
    const uint8_t* next; // byte from which the buffer is filled up
    const uint8_t* end;
    uint64_t buffer;
    int bits; // in the buffer
};

constexpr uint32_t NO_CODE = ~0u;

uint32_t take_code(bit_source* s, int width) {
    if (s->bits < width) {
        // As many whole bytes as fit. Eight can be read wherever `next` is; past the end they are not counted.
        s->buffer |= load_u64le(s->next) << s->bits;
        int64_t left = s->end - s->next;
        int64_t taken = (63 - s->bits) / 8;
        if (taken > left) taken = left;
        s->next += taken;
        s->bits += static_cast<int>(taken * 8);
        if (s->bits < width) return NO_CODE;
    }
    auto code = static_cast<uint32_t>(s->buffer) & ((1u << width) - 1);
    s->buffer >>= width;
    s->bits -= width;
    return code;
}

// The state between codes.
struct decoder {
    bit_source source;
    uint8_t* pixels;
    size_t fill;  // pixels written
    size_t limit; // of them
    uint32_t clear;
    uint32_t last; // the last code in use
    int first_width, width;
    bool damaged;
    table_entry before; // the string of the code before
    table_entry table[GIF_CODES];
};

// Copies the string forwards to the end of the output, of which it may be the tail. False: the limit is reached.
inline bool append_string(decoder* d, table_entry string) {
    size_t left = d->limit - d->fill;
    size_t length = string.length < left ? string.length : left;
    const uint8_t* from = d->pixels + string.place;
    uint8_t* to = d->pixels + d->fill;
    d->fill += length;
    if (length <= STEP && to - from >= static_cast<ptrdiff_t>(STEP)) {
        std::memcpy(to, from, STEP);
    } else if (to - from >= static_cast<ptrdiff_t>(STEP)) {
        for (size_t i = 0; i < length; i += STEP)
            std::memcpy(to + i, from + i, STEP);
    } else {
        for (size_t i = 0; i < length; ++i)
            to[i] = from[i];
    }
    return length < left;
}

inline bool append_byte(decoder* d, uint32_t value) {
    d->pixels[d->fill++] = static_cast<uint8_t>(value);
    return d->fill < d->limit;
}

void reset(decoder* d) {
    d->last = d->clear + 1;
    d->width = d->first_width;
}

// Codes get longer one code before that is needed.
inline void grow_width(decoder* d) {
    if (d->last == (1u << d->width) - 1 && d->width < GIF_MOST_WIDTH) ++d->width;
}

// What comes first, or behind a clear code: a single pixel. False: decoding is at its end. (With a code size of 1 the
// codes that have a meaning from the start fill the first width.)
bool start_string(decoder* d, uint32_t code) {
    while (code == d->clear) {
        reset(d);
        code = take_code(&d->source, d->width);
    }
    if (code == d->clear + 1 || code == NO_CODE) return false;
    if (code > d->clear) {
        if (debug_level() != 0) rzl_report(RZL_READ_FAILED, SOURCE, __LINE__, "Gif decode");
        d->damaged = true;
        return false;
    }
    d->before = {static_cast<uint32_t>(d->fill), 1};
    grow_width(d);
    return append_byte(d, code);
}

// The string before, with what will follow it in the output, becomes an entry. A full table stays as it is until the
// next clear code.
inline void add_entry(decoder* d) {
    if (d->last + 1 >= GIF_CODES) return;
    ++d->last;
    d->table[d->last] = {d->before.place, d->before.length + 1};
    grow_width(d);
}

// Any other code. False: decoding is at its end.
inline bool continue_string(decoder* d, uint32_t code) {
    auto place = static_cast<uint32_t>(d->fill);
    if (code < d->clear) {
        add_entry(d);
        d->before = {place, 1};
        return append_byte(d, code);
    }
    table_entry string = {d->before.place, d->before.length + 1};
    if (code <= d->last) {
        string = d->table[code];
    } else if (code != d->last + 1 || code >= GIF_CODES) {
        d->damaged = true;
    }
    add_entry(d);
    bool goes_on = append_string(d, string);
    d->before = {place, string.length};
    return goes_on;
}

} // namespace

gif_decoded gif_lzw_decode(const uint8_t* data, size_t size, uint8_t* pixels, int code_size, size_t limit) {
    decoder d;
    d.source = {data, data + size, 0, 0};
    d.pixels = pixels;
    d.fill = 0;
    d.limit = limit;
    d.clear = 1u << code_size;
    d.first_width = code_size + 1;
    d.damaged = false;
    reset(&d);
    bool goes_on = limit > 0 && start_string(&d, take_code(&d.source, d.width));
    while (goes_on) {
        uint32_t code = take_code(&d.source, d.width);
        if (code == d.clear) {
            goes_on = start_string(&d, code);
        } else if (code == d.clear + 1 || code == NO_CODE) {
            goes_on = false;
        } else {
            goes_on = continue_string(&d, code);
        }
    }
    return {d.fill, d.damaged};
}

// Each code behind a clear code can be a pixel longer than the one before, until the table is full; from then on all
// can have that length, with 12 bits each. Codes before have one bit more than the code size, or more.
uint64_t gif_lzw_most_pixels(uint64_t size, int code_size) {
    uint64_t bits = size * 8;
    uint64_t width = static_cast<uint64_t>(code_size) + 1;
    uint64_t longest = GIF_CODES - (1u << code_size) - 1;
    uint64_t codes = bits / width;
    if (codes <= longest) return codes * (codes + 1) / 2;
    uint64_t growing = longest * (longest + 1) / 2;
    return growing + (bits - longest * width) / GIF_MOST_WIDTH * longest;
}
