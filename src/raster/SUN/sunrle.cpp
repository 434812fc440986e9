// The run coding of Sun raster files. Bytes without runs go eight at a time, in both directions.
#include <algorithm>
#include <cstring>

#include "raster/CORE/runs.h"
#include "raster/SUN/sun.h"

namespace {

constexpr size_t WORD = 8;
constexpr uint64_t ESCAPES = 0x8080808080808080u;

// Bytes that stand for themselves, out of those at hand: how many came.
size_t copy_plain(io_ahead* a, uint8_t* out, size_t bytes) {
    const uint8_t* next = a->next;
    size_t done = 0;
    while (bytes - done >= WORD && a->end - next >= static_cast<ptrdiff_t>(WORD)) {
        uint64_t word = load_u64le(next);
        uint64_t escapes = lowest_zero_byte(word ^ ESCAPES);
        std::memcpy(out + done, next, WORD); // those from an escape on are written again
        size_t plain = escapes != 0 ? static_cast<size_t>(__builtin_ctzll(escapes)) / 8 : WORD;
        next += plain;
        done += plain;
        if (plain < WORD) break;
    }
    a->next = next;
    return done;
}

// What an escape stands for. False at the end of the file.
bool take_escape(CFILE* c, sun_spec* spec) {
    int count = io_getc(c);
    int value = count > 0 ? io_getc(c) : SUN_ESCAPE;
    if (count < 0 || value < 0) return false;
    spec->pending_count = static_cast<uint32_t>(count) + 1;
    spec->pending_value = static_cast<uint8_t>(value);
    return true;
}

// Two equal bytes are shorter by themselves than as a run, but for two escapes, which cost the same as one and are
// told as the others.
uint8_t* put_singles(const uint8_t* in, size_t count, uint8_t* out) {
    for (size_t i = 0; i < count; ++i) {
        *out++ = in[i];
        if (in[i] == SUN_ESCAPE) *out++ = 0;
    }
    return out;
}

} // namespace

bool sun_decode(CFILE* c, sun_spec* spec, uint8_t* out, size_t bytes) {
    for (size_t done = 0; done < bytes;) {
        if (spec->pending_count > 0) {
            size_t count = std::min<size_t>(spec->pending_count, bytes - done);
            std::memset(out + done, spec->pending_value, count);
            spec->pending_count -= static_cast<uint32_t>(count);
            done += count;
            continue;
        }
        done += copy_plain(&c->ahead, out + done, bytes - done);
        if (done == bytes) break;
        int code = io_getc(c);
        if (code < 0 || (code == SUN_ESCAPE && !take_escape(c, spec))) return false;
        if (code != SUN_ESCAPE) out[done++] = static_cast<uint8_t>(code);
    }
    return true;
}

size_t sun_encode(const uint8_t* in, size_t bytes, uint8_t* out) {
    const uint8_t* start = out;
    for (size_t at = 0; at < bytes;) {
        size_t count = 1 + equal_stretch<1>(&in, at, 1, std::min(bytes - at, SUN_RUN_MOST) - 1);
        if (count >= SUN_LEAST_RUN) {
            *out++ = SUN_ESCAPE;
            *out++ = static_cast<uint8_t>(count - 1);
            *out++ = in[at];
        } else {
            out = put_singles(in + at, count, out);
        }
        at += count;
    }
    return static_cast<size_t>(out - start);
}
