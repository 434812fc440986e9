// Coders of the word and colour runs, and the bytes on their way between a line and the file.
//
// Coded words gather in the module's code buffer. A buffer that is full goes to the file, on a scannable file as a
// piece with its own line header, which begins at the pixel of the next run.
#include <algorithm>
#include <bit>
#include <cstring>

#include "raster/KRVN/krvcode.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvcoder";
constexpr int64_t RUN_LIMIT = 32767;             // of one word of bilevel runs and of value-count pairs
constexpr int64_t COUNT_LIMIT = 65535;           // of a count word behind a packed value
constexpr size_t BITS_PIECE = size_t{32765} * 2; // bytes of a full piece: an odd count of words ends with an off run
constexpr size_t PAIRS_PIECE = size_t{32764} * 2;
constexpr size_t COLORS_PIECE = 65526;
constexpr int64_t COLOR_LIMIT = 255;

// Sixteen pixels of a bilevel line, the first in bit 15; those that differ from the colour are set.
unsigned differing(const uint8_t* line, int64_t word, bool on) {
    unsigned bits = load_u16le(line + word * 2);
    return on ? ~bits & 0xFFFFu : bits;
}

// First pixel from `from` on that has not the colour, at most `pixels`. A null line is all off.
int64_t end_of_color(const uint8_t* line, int64_t from, int64_t pixels, bool on) {
    if (line == nullptr) return on ? from : pixels;
    int64_t word = from >> 4;
    int64_t words = (pixels + 15) >> 4;
    unsigned bits = word < words ? differing(line, word, on) & (0xFFFFu >> (from & 15)) : 0;
    uint64_t same = on ? ~uint64_t{0} : 0;
    while (bits == 0 && word < words) {
        ++word;
        while (word + 4 <= words && load_u64le(line + word * 2) == same)
            word += 4;
        bits = word < words ? differing(line, word, on) : 0;
    }
    int64_t at = word * 16 + (bits != 0 ? std::countl_zero(static_cast<uint16_t>(bits)) : 0);
    return std::clamp(at, from, pixels);
}

// One run word. A full buffer goes out before it; the next piece then has to begin with an off run of its own, since
// the word is that of an on run. An ordinary file has no pieces, and its words just go on.
void put_run_word(krv_output* o, int64_t run, int64_t pixel) {
    if (o->used >= BITS_PIECE) {
        krv_output_piece(o, pixel);
        if (has_flag(o->c, FLAG_SCANNABLE)) krv_output_word(o, 0);
    }
    krv_output_word(o, static_cast<unsigned>(run));
}

void put_run(krv_output* o, int64_t first, int64_t end) {
    for (; end - first > RUN_LIMIT; first += RUN_LIMIT) {
        put_run_word(o, RUN_LIMIT, first);
        put_run_word(o, 0, first + RUN_LIMIT);
    }
    put_run_word(o, end - first, first);
}

// Values of a line, bytes or 16-bit samples; a null line is all zero.
unsigned value_at(const uint8_t* line, int64_t pixel, bool wide) {
    if (line == nullptr) return 0;
    if (!wide) return line[pixel];
    uint16_t sample = 0;
    std::memcpy(&sample, line + pixel * 2, 2);
    return sample;
}

// Length of the run of equal values at `pixel`, up to `limit`.
int64_t value_run(const uint8_t* line, int64_t pixel, int64_t pixels, bool wide, int64_t limit) {
    int64_t most = std::min(pixels - pixel, limit);
    if (line == nullptr) return most;
    if (!wide) return static_cast<int64_t>(krv_run_length(line + pixel, line + pixel + most));
    unsigned value = value_at(line, pixel, true);
    int64_t run = 1;
    while (run < most && value_at(line, pixel + run, true) == value)
        ++run;
    return run;
}

void end_full_piece(krv_output* o, size_t size, int64_t next_pixel) {
    if (o->used >= size) krv_output_piece(o, next_pixel);
}

} // namespace

void krv_code_bits(krv_output* o, const uint8_t* line, int64_t pixels) {
    int64_t pixel = 0;
    bool on = false;
    bool closed = false;
    while (!closed) {
        int64_t end = end_of_color(line, pixel, pixels, on);
        put_run(o, pixel, end);
        pixel = end;
        closed = !on && pixel == pixels;
        on = !on;
    }
    krv_output_piece(o, 0);
}

void krv_code_pairs(krv_output* o, const uint8_t* line, int64_t pixels, bool wide) {
    for (int64_t pixel = 0; pixel < pixels;) {
        end_full_piece(o, PAIRS_PIECE, pixel);
        int64_t run = value_run(line, pixel, pixels, wide, RUN_LIMIT);
        krv_output_word(o, value_at(line, pixel, wide));
        krv_output_word(o, static_cast<unsigned>(run));
        pixel += run;
    }
    krv_output_piece(o, 0);
}

void krv_code_packed(krv_output* o, const uint8_t* line, int64_t pixels, int bits) {
    unsigned mask = (1u << bits) - 1;
    int64_t most = (int64_t{1} << (16 - bits)) - 1;
    for (int64_t pixel = 0; pixel < pixels;) {
        end_full_piece(o, PAIRS_PIECE, pixel);
        int64_t run = value_run(line, pixel, pixels, false, COUNT_LIMIT);
        unsigned value = value_at(line, pixel, false) & mask;
        if (run <= most) {
            krv_output_word(o, value | static_cast<unsigned>(run) << bits);
        } else {
            krv_output_word(o, value);
            krv_output_word(o, static_cast<unsigned>(run));
        }
        pixel += run;
    }
    krv_output_piece(o, 0);
}

void krv_code_colors(krv_output* o, const uint8_t* const* planes, int64_t pixels) {
    for (int64_t pixel = 0; pixel < pixels;) {
        if (o->used > COLORS_PIECE) krv_output_piece(o, pixel);
        int64_t run = COLOR_LIMIT;
        for (int i = 0; i < 3; ++i)
            run = value_run(planes[i], pixel, pixels, false, run);
        // In the file blue comes first.
        for (int i = 2; i >= 0; --i)
            o->code[o->used++] = static_cast<uint8_t>(value_at(planes[i], pixel, false));
        o->code[o->used++] = static_cast<uint8_t>(run);
        pixel += run;
    }
    krv_output_piece(o, 0);
}

// ---- bytes on their way between a line and the file -----------------------------------------------------------------

namespace {

// Tells the file of the bytes taken out of its window.
void account(krv_source* s) {
    if (s->from_window) io_consume(s->c, static_cast<size_t>(s->next - s->start));
    s->from_window = false;
    s->start = s->next = s->end = nullptr;
}

void set_at_hand(krv_source* s, const uint8_t* first, size_t bytes) {
    s->start = s->next = first;
    s->end = first + bytes;
    if (s->beyond != KRV_NO_LIMIT) s->beyond -= bytes;
}

} // namespace

void krv_source_end(krv_source* s) {
    if (s->c == nullptr) return;
    bool unused = !s->from_window && s->next != s->end;
    auto back = static_cast<int64_t>(s->end - s->next);
    account(s);
    if (unused) (void)io_move(s->c, -back);
}

bool krv_source_fill(krv_source* s) {
    if (s->c == nullptr || s->beyond == 0) return false;
    account(s);
    const uint8_t* next = nullptr;
    const uint8_t* end = nullptr;
    io_window(s->c, &next, &end);
    if (next != end) {
        set_at_hand(s, next, static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(end - next), s->beyond)));
        s->from_window = true;
        return true;
    }
    size_t wanted = static_cast<size_t>(std::min<uint64_t>(sizeof s->block, s->beyond));
    size_t moved = io_read(s->c, s->block, wanted);
    if (moved == 0) {
        s->cut = true;
        return false;
    }
    set_at_hand(s, s->block, moved);
    return true;
}

uint64_t krv_source_take(krv_source* s, uint8_t* out, uint64_t bytes) {
    uint64_t taken = 0;
    while (taken < bytes && krv_source_has(s)) {
        auto piece = static_cast<size_t>(std::min<uint64_t>(bytes - taken, static_cast<uint64_t>(s->end - s->next)));
        if (out != nullptr) std::memcpy(out + taken, s->next, piece);
        s->next += piece;
        taken += piece;
    }
    return taken;
}

bool krv_source_word(krv_source* s, uint16_t* word) {
    if (s->end - s->next >= 2) {
        *word = load_u16le(s->next);
        s->next += 2;
        return true;
    }
    uint8_t bytes[2];
    if (krv_source_take(s, bytes, 2) != 2) return false;
    *word = load_u16le(bytes);
    return true;
}

uint64_t krv_source_left(const krv_source* s) {
    auto at_hand = static_cast<uint64_t>(s->end - s->next);
    return s->beyond > KRV_NO_LIMIT - at_hand ? KRV_NO_LIMIT : s->beyond + at_hand;
}

namespace {

// Bytes that gather. The coding of tiles goes to the file as large blocks, which pass by the buffer of its stream.
constexpr size_t GATHER_SIZE = 0x40000;
constexpr size_t LARGE = 0x4000; // and of a block that need not gather

void write_out(krv_output* o, const void* bytes, size_t count) {
    if (!o->failed && io_write(o->c, bytes, count) != count) o->failed = true;
}

} // namespace

uint8_t* krv_code_buffer(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    if (spec->code_buffer == nullptr) spec->code_buffer = static_cast<uint8_t*>(mem_alloc(KRV_CODE_BUFFER_SIZE));
    if (spec->code_buffer == nullptr) fail(c, RZL_NO_MEMORY, SOURCE, "code buffer");
    return spec->code_buffer;
}

bool krv_output_begin(krv_output* o, CFILE* c) {
    *o = {};
    o->c = c;
    o->code = krv_code_buffer(c);
    return o->code != nullptr;
}

bool krv_output_begin_gathering(krv_output* o, CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    *o = {};
    o->c = c;
    constexpr size_t ROOM = GATHER_SIZE + KRV_CODE_BUFFER_SIZE;
    if (spec->gather == nullptr) spec->gather = static_cast<uint8_t*>(mem_alloc(ROOM));
    o->gather = o->code = spec->gather;
    return o->gather != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, "code buffer");
}

void krv_output_end(krv_output* o) {
    if (o->gather == nullptr || o->code == o->gather) return;
    write_out(o, o->gather, static_cast<size_t>(o->code - o->gather));
    o->code = o->gather;
}

void krv_output_bytes(krv_output* o, const void* bytes, size_t count) {
    if (o->failed || count == 0) return;
    if (o->gather == nullptr || count >= LARGE) {
        krv_output_end(o);
        write_out(o, bytes, count);
    } else {
        // Behind what is gathered there is always room for a line's coding, and here for all of this.
        if (static_cast<size_t>(o->code - o->gather) + count > GATHER_SIZE) krv_output_end(o);
        std::memcpy(o->code, bytes, count);
        o->code += count;
    }
    if (!o->failed) o->written += count;
}

void krv_output_header(krv_output* o, size_t data_bytes, int64_t pixel) {
    int64_t number = has_flag(o->c, FLAG_LINES_FROM_ZERO) ? o->c->line : int64_t{o->c->line} + 1;
    uint8_t header[KRV_LINE_HEADER_SIZE];
    store_u16le(header, KRV_LINE_MARK);
    store_u16le(header + 2, static_cast<uint16_t>((data_bytes + 1) / 2 + 2));
    store_u16le(header + 4, static_cast<uint16_t>(number));
    store_u16le(header + 6, static_cast<uint16_t>(pixel));
    krv_output_bytes(o, header, sizeof header);
}

void krv_output_piece(krv_output* o, int64_t next_pixel) {
    if (o->gather != nullptr) {
        // It stands where it is to gather.
        o->written += o->used;
        o->code += o->used;
        o->used = 0;
        if (static_cast<size_t>(o->code - o->gather) > GATHER_SIZE) krv_output_end(o);
        return;
    }
    if (has_flag(o->c, FLAG_SCANNABLE)) krv_output_header(o, o->used, o->piece_pixel);
    krv_output_bytes(o, o->code, o->used);
    o->used = 0;
    o->piece_pixel = next_pixel;
}
