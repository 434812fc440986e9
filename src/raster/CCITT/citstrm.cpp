// The bit stream at the end of its data, and the search for end-of-line codes.
#include "raster/CCITT/citcode.h"

void cit_stream_refill_end(cit_stream* s) {
    if (s->count < 64) s->buffer &= (uint64_t{1} << s->count) - 1;
    while (s->count <= 56) {
        if (s->next < s->end) {
            s->buffer |= uint64_t{*s->next++} << s->count;
        } else {
            s->zeros += 8;
        }
        s->count += 8;
    }
}

void cit_stream_begin(cit_stream* s, const uint8_t* data, size_t bytes, uint64_t place) {
    uint64_t bits = uint64_t{bytes} * 8;
    if (place > bits) place = bits;
    *s = {0, 0, data + place / 8, data, data + bytes, 0};
    cit_stream_refill(s);
    cit_stream_skip(s, static_cast<uint32_t>(place % 8));
}

bool cit_stream_pass_zeros(cit_stream* s) {
    for (;;) {
        if (cit_stream_ended(s)) return false;
        cit_stream_refill(s);
        uint64_t valid = s->buffer & ((uint64_t{1} << 56) - 1);
        if (valid != 0) {
            cit_stream_skip(s, static_cast<uint32_t>(__builtin_ctzll(valid)) + 1);
            return true;
        }
        cit_stream_skip(s, 56);
    }
}

bool cit_stream_find_end_of_line(cit_stream* s) {
    for (;;) {
        if (cit_stream_ended(s)) return false;
        cit_stream_refill(s);
        auto low = static_cast<uint32_t>(s->buffer & 0x7FF);
        if (low == 0) break;
        // Behind the last 1 of these bits is the first place at which eleven zeros can begin.
        cit_stream_skip(s, 32 - static_cast<uint32_t>(__builtin_clz(low)));
    }
    cit_stream ahead = *s;
    return cit_stream_pass_zeros(&ahead);
}
