// The codings of HRF tiles: runs of bytes of a bilevel row, and LZW codes without strings.
//
// The codes of a row walk through its bytes. The top two bits of a control byte are the kind; its low five bits are the
// count, or, with bit 5 set, the high part of one whose low byte follows.
#include <algorithm>
#include <cstring>

#include "raster/HRF/hrf.h"

namespace {

constexpr uint8_t KIND = 0xC0;
constexpr uint8_t ZEROS = 0x00;
constexpr uint8_t ONES = 0xC0;
constexpr uint8_t LITERAL = 0x80;
constexpr uint8_t LONG_COUNT = 0x20;
constexpr uint8_t COUNT = 0x1F;
constexpr size_t COUNT_MOST = 8191; // 13 bits

bool takes_run(uint8_t byte) {
    return byte == 0 || byte == 255;
}

uint8_t* put_count(uint8_t kind, size_t count, uint8_t* out) {
    if (count > COUNT) {
        *out++ = static_cast<uint8_t>(kind | LONG_COUNT | count >> 8);
        *out++ = static_cast<uint8_t>(count);
    } else {
        *out++ = static_cast<uint8_t>(kind | count);
    }
    return out;
}

size_t run_length(const uint8_t* p, const uint8_t* end) {
    constexpr ptrdiff_t WORD = 8;
    uint8_t byte = *p;
    uint64_t word = byte * 0x0101010101010101u;
    const uint8_t* at = p;
    while (end - at >= WORD && load_u64le(at) == word)
        at += WORD;
    while (at != end && *at == byte)
        ++at;
    return static_cast<size_t>(at - p);
}

size_t literal_length(const uint8_t* p, const uint8_t* end) {
    return static_cast<size_t>(std::find_if(p, end, takes_run) - p);
}

} // namespace

bool hrf_decode_row(const uint8_t** next, const uint8_t* end, uint8_t* row, size_t bytes) {
    const uint8_t* in = *next;
    for (size_t done = 0; done < bytes;) {
        if (in == end) return false;
        uint8_t code = *in++;
        size_t count = code & COUNT;
        if ((code & LONG_COUNT) != 0) {
            if (in == end) return false;
            count = count << 8 | *in++;
        }
        if (count > bytes - done) return false;
        switch (code & KIND) {
        case ZEROS: std::memset(row + done, 0, count); break;
        case ONES: std::memset(row + done, 255, count); break;
        case LITERAL:
            if (count > static_cast<size_t>(end - in)) return false;
            std::memcpy(row + done, in, count);
            in += count;
            break;
        default: return false;
        }
        done += count;
    }
    *next = in;
    return true;
}

size_t hrf_encode_row(const uint8_t* row, size_t bytes, uint8_t* out) {
    const uint8_t* start = out;
    const uint8_t* end = row + bytes;
    while (row != end) {
        const uint8_t* most = row + std::min(static_cast<size_t>(end - row), COUNT_MOST);
        if (takes_run(*row)) {
            size_t count = run_length(row, most);
            out = put_count(*row == 0 ? ZEROS : ONES, count, out);
            row += count;
        } else {
            size_t count = literal_length(row, most);
            out = put_count(LITERAL, count, out);
            std::memcpy(out, row, count);
            out += count;
            row += count;
        }
    }
    return static_cast<size_t>(out - start);
}

// The reader's table takes a string in for each code; it is emptied before codes would become wider.
size_t hrf_encode_plainly(const uint8_t* data, size_t bytes, uint8_t* out) {
    constexpr uint32_t CLEAR = 256;
    constexpr uint32_t END = 257;
    constexpr int WIDTH = 9;
    constexpr size_t CODES = 250;
    sample_writer w = {out, 0, 0};
    for (size_t i = 0; i < bytes; ++i) {
        if (i % CODES == 0) put_sample(&w, WIDTH, CLEAR);
        put_sample(&w, WIDTH, data[i]);
    }
    put_sample(&w, WIDTH, END);
    end_samples(&w);
    return static_cast<size_t>(w.next - out);
}
