// Writing coded data: the coder, and a writer of strips whose buffer grows.
#include <algorithm>

#include "raster/CCITT/ccitt.h"
#include "raster/CCITT/citcode.h"
#include "support/memory.h"

// ---- the coder ------------------------------------------------------------------------------------------------------
//
// Coding of lines: the one-dimensional and the two-dimensional code, the codes between lines and at the end.
//
// Bits gather in a 64-bit accumulator, the first in bit 0, and go out by 32 while there is room for them. What finds no
// room marks the output as full and is dropped.

struct cit_encoder {
    uint64_t bits;  // of the accumulator
    uint32_t count; // of valid ones, below 32 between codes
    bool full;      // some output found no room
    uint8_t* next;  // where the next word goes
    uint8_t* end;
    uint8_t* buffer; // borrowed
    uint32_t width;
    int32_t period;   // K of the group 3 forms
    uint32_t minimum; // words a line, 0 for no padding
    uint32_t left;    // lines of the period that are left; 0: the next is one-dimensional
    uint32_t line;    // lines coded
    int current;      // of `lines`, the one to be coded; the other is the reference
    cit_changes lines[2];
};

namespace {

constexpr int32_t NO_CODES = -2;
constexpr int32_t NO_TAGS = -1;
constexpr uint32_t ENDS = 6; // end-of-line codes that end a group 3 image

// Vertical codes by a1 - b1 + 3.
constexpr cit_code VERTICAL[7] = {{32, 7}, {16, 6}, {2, 3}, {1, 1}, {6, 3}, {48, 6}, {96, 7}};
constexpr cit_code PASS = {8, 4};
constexpr cit_code HORIZONTAL = {4, 3};

// ---- output

void spill_words(cit_encoder* e) {
    while (e->count >= 16) {
        if (e->end - e->next < 2) {
            e->full = true;
        } else {
            store_u16le(e->next, static_cast<uint16_t>(e->bits));
            e->next += 2;
        }
        e->bits >>= 16;
        e->count -= 16;
    }
}

inline void put(cit_encoder* e, uint32_t bits, uint32_t count) {
    e->bits |= uint64_t{bits} << e->count;
    e->count += count;
    if (e->count < 32) return;
    if (e->end - e->next < 4) {
        spill_words(e);
        return;
    }
    store_u32le(e->next, static_cast<uint32_t>(e->bits));
    e->next += 4;
    e->bits >>= 32;
    e->count -= 32;
}

inline void put(cit_encoder* e, cit_code code) {
    put(e, code.bits, code.length);
}

// Fills up with zeros to a multiple of `unit` bits, 8 or 16.
void pad(cit_encoder* e, uint32_t unit) {
    e->count += -e->count & (unit - 1);
    spill_words(e);
}

uint32_t outcome(const cit_encoder* e) {
    return e->full ? CIT_BUFFER_FULL : CIT_OK;
}

// ---- lines

inline void put_run(cit_encoder* e, const cit_encode_table& table, int32_t run) {
    if (run >= 64) {
        for (; run > CIT_LONGEST_MAKE_UP; run -= CIT_LONGEST_MAKE_UP)
            put(e, table.make_up[CIT_LONGEST_MAKE_UP / 64]);
        if (run >= 64) put(e, table.make_up[run >> 6]);
        run &= 63;
    }
    put(e, table.terminating[run]);
}

void put_1d(cit_encoder* e, const cit_changes* line) {
    auto end = static_cast<int32_t>(e->width);
    int32_t a0 = 0;
    for (size_t a = 0; a0 < end; ++a) {
        put_run(e, CIT_ENCODE[a & 1], line->at[a] - a0);
        a0 = line->at[a];
    }
}

// `a` and `b` are the indices of a1 and b1; their lowest bits are the colour at a0.
void put_2d(cit_encoder* e, const int32_t* line, const int32_t* reference) {
    auto end = static_cast<int32_t>(e->width);
    int32_t a0 = 0;
    size_t a = 0;
    size_t b = 0;
    for (;;) {
        int32_t a1 = line[a];
        int32_t apart = a1 - reference[b];
        if (reference[b + 1] < a1) {
            put(e, PASS);
            a0 = reference[b + 1];
            b += 2;
        } else if (apart >= -3 && apart <= 3) {
            put(e, VERTICAL[apart + 3]);
            a0 = a1;
            if (a0 >= end) return;
            ++a;
            // To the left of b1 lies at most one change that can be to the right of the new a0.
            b = apart < 0 && b > 0 ? b - 1 : b + 1;
        } else {
            put(e, HORIZONTAL);
            put_run(e, CIT_ENCODE[a & 1], a1 - a0);
            a0 = line[a + 1];
            put_run(e, CIT_ENCODE[~a & 1], a0 - a1);
            if (a0 >= end) return;
            a += 2;
        }
        while (reference[b] <= a0)
            b += 2;
    }
}

void take_as_reference(cit_encoder* e) {
    e->current ^= 1;
    ++e->line;
}

uint32_t put_g4(cit_encoder* e) {
    put_2d(e, e->lines[e->current].at, e->lines[e->current ^ 1].at);
    take_as_reference(e);
    return outcome(e);
}

// The words that the output of the line takes, which begins `before` bytes from the buffer's start: a word that is
// partly filled counts.
void pad_line(cit_encoder* e, size_t before) {
    pad(e, e->period == NO_CODES ? 8 : 16);
    size_t bytes = static_cast<size_t>(e->next - e->buffer) + e->count / 8 - before;
    for (size_t words = (bytes + 1) / 2; words < e->minimum && !e->full; ++words) {
        put(e, 0, 16);
        spill_words(e);
    }
}

// Counts down the period. True for a line that is to be one-dimensional, which begins the next one.
bool begins_period(cit_encoder* e) {
    bool begins = e->period < 0 || e->line == 0 || (e->period > 0 && e->left == 0);
    if (begins && e->period > 0) e->left = static_cast<uint32_t>(e->period);
    if (e->left > 0) --e->left;
    return begins;
}

void put_end_of_line(cit_encoder* e, bool one_dimensional) {
    if (e->period == NO_CODES) return;
    if (e->period == NO_TAGS) {
        put(e, CIT_END_OF_LINE, CIT_END_OF_LINE_BITS);
    } else {
        put(e, CIT_END_OF_LINE | (one_dimensional ? 0x1000u : 0), CIT_END_OF_LINE_BITS + 1);
    }
}

uint32_t put_g3(cit_encoder* e) {
    size_t before = cit_encoder_bytes(e);
    bool one_dimensional = begins_period(e);
    put_end_of_line(e, one_dimensional);
    if (one_dimensional) {
        put_1d(e, &e->lines[e->current]);
    } else {
        put_2d(e, e->lines[e->current].at, e->lines[e->current ^ 1].at);
    }
    if (e->minimum != 0) pad_line(e, before);
    take_as_reference(e);
    return outcome(e);
}

bool begin(cit_encoder* e, uint32_t width, uint8_t* buffer, size_t size) {
    e->bits = 0;
    e->count = 0;
    e->full = false;
    e->buffer = buffer;
    e->next = buffer;
    e->end = buffer + size;
    e->width = width;
    e->left = 0;
    e->line = 0;
    e->current = 0;
    return cit_changes_white(&e->lines[0], width) && cit_changes_white(&e->lines[1], width);
}

// The whole output in words, and the state ready for the next image.
uint32_t finish(cit_encoder* e, size_t* words) {
    *words = static_cast<size_t>(e->next - e->buffer) / 2;
    uint32_t result = outcome(e);
    (void)begin(e, e->width, nullptr, 0);
    return result;
}

bool take_runs(cit_encoder* e, const uint16_t* runs) {
    return cit_changes_from_runs(&e->lines[e->current], e->width, runs);
}
bool take_bits(cit_encoder* e, const uint8_t* words) {
    return cit_changes_from_bits(&e->lines[e->current], e->width, words);
}

} // namespace

cit_encoder* cit_encoder_new() {
    return mem_new<cit_encoder>();
}

void cit_encoder_free(cit_encoder* state) {
    if (state == nullptr) return;
    cit_changes_free(&state->lines[0]);
    cit_changes_free(&state->lines[1]);
    mem_free(state);
}

// No code takes more than 7 bits a pixel that it passes, but for a run of 0 in front and the end-of-line codes.
size_t cit_line_bound(uint32_t width, uint32_t minimum) {
    return size_t{width} + size_t{minimum} * 2 + 32;
}

bool cit_encoder_start_g4(cit_encoder* state, uint32_t width, uint32_t /*height*/, uint8_t* buffer, size_t size) {
    state->period = 0;
    state->minimum = 0;
    return begin(state, width, buffer, size);
}

bool cit_encoder_start_g3(cit_encoder* state, uint32_t width, uint32_t /*height*/, uint8_t* buffer, size_t size,
                          int32_t k, uint32_t minimum) {
    state->period = k < NO_CODES ? NO_CODES : k;
    state->minimum = minimum;
    return begin(state, width, buffer, size);
}

uint32_t cit_encode_g4_line(cit_encoder* state, const uint16_t* runs) {
    return take_runs(state, runs) ? put_g4(state) : CIT_NO_MEMORY;
}

uint32_t cit_encode_g4_bits(cit_encoder* state, const uint8_t* words) {
    return take_bits(state, words) ? put_g4(state) : CIT_NO_MEMORY;
}

uint32_t cit_encode_g3_line(cit_encoder* state, const uint16_t* runs, size_t count) {
    if (!cit_runs_fit(state->width, runs, count)) return CIT_BAD_DATA;
    return take_runs(state, runs) ? put_g3(state) : CIT_NO_MEMORY;
}

uint32_t cit_encode_g3_bits(cit_encoder* state, const uint8_t* words) {
    return take_bits(state, words) ? put_g3(state) : CIT_NO_MEMORY;
}

uint32_t cit_encode_1d(cit_encoder* state, const uint16_t* runs, size_t count) {
    if (!cit_runs_fit(state->width, runs, count)) return CIT_BAD_DATA;
    if (!take_runs(state, runs)) return CIT_NO_MEMORY;
    put_1d(state, &state->lines[state->current]);
    take_as_reference(state);
    return outcome(state);
}

size_t cit_encoder_bytes(const cit_encoder* state) {
    return static_cast<size_t>(state->next - state->buffer) + state->count / 8;
}

void cit_encoder_move(cit_encoder* state, uint8_t* buffer, size_t size) {
    state->next = buffer + (state->next - state->buffer);
    state->buffer = buffer;
    state->end = buffer + size;
}

uint32_t cit_encoder_finish_g4(cit_encoder* state, size_t* words) {
    put(state, CIT_END_OF_LINE | CIT_END_OF_LINE << CIT_END_OF_LINE_BITS, CIT_END_OF_LINE_BITS * 2);
    pad(state, 16);
    if ((state->next - state->buffer) % 4 != 0) {
        put(state, 0, 16);
        spill_words(state);
    }
    return finish(state, words);
}

uint32_t cit_encoder_finish_g3(cit_encoder* state, size_t* words) {
    for (uint32_t i = 0; i < ENDS; ++i)
        put_end_of_line(state, true);
    pad(state, 16);
    return finish(state, words);
}

// ---- a writer of lines ----------------------------------------------------------------------------------------------

struct cit_writer {
    cit_encoder* encoder; // owned
    uint8_t* buffer;      // owned
    size_t size;
    uint32_t width;
    int32_t k;
    uint32_t minimum;
    cit_coding coding;
    bool begun; // a strip
};

namespace {

constexpr size_t FIRST_SIZE = 8192;

// Room for one more line, or for the end.
bool make_room(cit_writer* w) {
    size_t used = w->begun ? cit_encoder_bytes(w->encoder) : 0;
    size_t needed = used + cit_line_bound(w->width, w->minimum) + 4;
    if (needed <= w->size) return true;
    size_t size = std::max(needed, w->size + w->size / 2 + FIRST_SIZE);
    auto* buffer = static_cast<uint8_t*>(mem_realloc(w->buffer, size));
    if (buffer == nullptr) return false;
    w->buffer = buffer;
    w->size = size;
    if (w->begun) cit_encoder_move(w->encoder, buffer, size);
    return true;
}

// Begins a strip where none is begun.
bool prepare(cit_writer* w) {
    if (!make_room(w)) return false;
    if (w->begun) return true;
    w->begun = w->coding == cit_coding::g4
                   ? cit_encoder_start_g4(w->encoder, w->width, 0, w->buffer, w->size)
                   : cit_encoder_start_g3(w->encoder, w->width, 0, w->buffer, w->size, w->k, w->minimum);
    return w->begun;
}

int32_t period_of(cit_coding coding, int32_t k) {
    if (coding == cit_coding::aligned) return -2;
    return coding == cit_coding::g3_1d ? -1 : std::max(k, 0);
}

} // namespace

cit_writer* cit_writer_new(cit_coding coding, uint32_t width, int32_t k) {
    if (width == 0 || width > CIT_MAX_WIDTH) return nullptr;
    auto* w = mem_new<cit_writer>();
    if (w == nullptr) return nullptr;
    w->encoder = cit_encoder_new();
    w->width = width;
    w->coding = coding;
    w->k = period_of(coding, k);
    w->minimum = coding == cit_coding::aligned ? 1 : 0;
    if (w->encoder != nullptr) return w;
    cit_writer_free(w);
    return nullptr;
}

void cit_writer_free(cit_writer* writer) {
    if (writer == nullptr) return;
    cit_encoder_free(writer->encoder);
    mem_free(writer->buffer);
    mem_free(writer);
}

uint32_t cit_writer_bits(cit_writer* writer, const uint8_t* words) {
    if (!prepare(writer)) return CIT_NO_MEMORY;
    if (writer->coding == cit_coding::g4) return cit_encode_g4_bits(writer->encoder, words);
    return cit_encode_g3_bits(writer->encoder, words);
}

uint32_t cit_writer_runs(cit_writer* writer, const uint16_t* runs, size_t count) {
    if (!cit_runs_fit(writer->width, runs, count)) return CIT_BAD_DATA;
    if (!prepare(writer)) return CIT_NO_MEMORY;
    if (writer->coding == cit_coding::g4) return cit_encode_g4_line(writer->encoder, runs);
    return cit_encode_g3_line(writer->encoder, runs, count);
}

uint32_t cit_writer_finish(cit_writer* writer, uint8_t** data, size_t* bytes) {
    *data = nullptr;
    *bytes = 0;
    if (!prepare(writer)) return CIT_NO_MEMORY;
    size_t words = 0;
    uint32_t result = writer->coding == cit_coding::g4 ? cit_encoder_finish_g4(writer->encoder, &words)
                                                       : cit_encoder_finish_g3(writer->encoder, &words);
    writer->begun = false;
    *data = writer->buffer;
    *bytes = words * 2;
    return result;
}
