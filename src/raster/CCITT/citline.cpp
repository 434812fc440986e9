// Lines: decoding one into its changes, the run lines of an image, and runs against bits.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/CCITT/citcode.h"
#include "support/memory.h"

namespace {
// ---- mode codes of the two-dimensional code, by the next 7 bits

enum mode : int8_t { MODE_PASS = 8, MODE_HORIZONTAL = 9, MODE_NONE = 10 }; // below: a vertical code, by its distance

struct mode_code {
    int8_t mode; // -3 to 3: a1 lies that far right of b1
    uint8_t length;
};
struct mode_table {
    mode_code entries[128];
};

constexpr void enter(mode_table* table, uint32_t bits, uint8_t length, int mode) {
    for (uint32_t at = bits; at < 128; at += 1u << length)
        table->entries[at] = {static_cast<int8_t>(mode), length};
}

constexpr mode_table make_modes() {
    mode_table table = {};
    for (mode_code& entry : table.entries)
        entry = {MODE_NONE, 0};
    enter(&table, 1, 1, 0);
    enter(&table, 2, 3, -1);
    enter(&table, 6, 3, 1);
    enter(&table, 4, 3, MODE_HORIZONTAL);
    enter(&table, 8, 4, MODE_PASS);
    enter(&table, 16, 6, -2);
    enter(&table, 48, 6, 2);
    enter(&table, 32, 7, -3);
    enter(&table, 96, 7, 3);
    return table;
}

constexpr mode_table MODES = make_modes();

// ---- runs

constexpr int64_t NO_RUN = -1;

// A run that begins with a make-up code. Any number of these may follow each other, and so the sum is wide.
int64_t take_long_run(cit_stream* s, const cit_decode_table& table) {
    int64_t sum = 0;
    for (;;) {
        cit_stream_refill(s);
        uint32_t entry = table.entries[s->buffer & CIT_LOOK_MASK];
        if (entry == 0) return NO_RUN;
        cit_stream_skip(s, entry & 15);
        sum += entry >> 4;
        if (entry >> 4 < 64) return sum;
    }
}

// A run of the colour of the table; NO_RUN without a code. There are 13 valid bits.
inline int64_t take_run(cit_stream* s, const cit_decode_table& table) {
    uint32_t entry = table.entries[s->buffer & CIT_LOOK_MASK];
    if (entry - 1 >= (64u << 4) - 1) return take_long_run(s, table);
    cit_stream_skip(s, entry & 15);
    return entry >> 4;
}

// ---- ends of a line

// Takes out runs of 0, which data can have any number of. Afterwards there are no more changes than pixels.
size_t without_empty_runs(int32_t* at, size_t count) {
    size_t kept = 0;
    for (size_t i = 0; i < count; ++i) {
        if (kept > 0 && at[kept - 1] == at[i]) {
            --kept;
        } else {
            at[kept++] = at[i];
        }
    }
    return kept;
}

void close_line(cit_changes* line, size_t count, uint32_t width) {
    auto end = static_cast<int32_t>(width);
    if (count > width) count = without_empty_runs(line->at, count);
    while (count > 0 && line->at[count - 1] >= end)
        --count;
    cit_end_changes(line, count, width);
}

// A line that broke off at a0: a black run that is open ends there. There is room for one more change.
cit_line break_off(cit_changes* line, size_t count, int32_t a0, uint32_t width) {
    if (count % 2 != 0) line->at[count++] = a0;
    close_line(line, count, width);
    return cit_line::lost;
}

// Room for the changes of the next code and those that end the line.
constexpr size_t STEP = 4;

inline bool has_room(const cit_changes* line, size_t count) {
    return count + STEP + CIT_GUARDS <= line->room;
}

} // namespace

cit_line cit_decode_1d_runs(cit_stream* s, cit_changes* line, uint32_t width, bool* cut) {
    int64_t a0 = 0;
    size_t count = 0;
    *cut = false;
    while (a0 < width) {
        if (!has_room(line, count) && !cit_changes_need(line, count + STEP)) return cit_line::no_room;
        cit_stream_refill(s);
        for (int color = 0; color < 2 && a0 < width; ++color) {
            int64_t run = take_run(s, color == 0 ? CIT_WHITE_DECODE : CIT_BLACK_DECODE);
            if (run == NO_RUN) return break_off(line, count, static_cast<int32_t>(a0), width);
            a0 += run;
            if (a0 > width) {
                a0 = width;
                *cut = true;
            }
            line->at[count++] = static_cast<int32_t>(a0);
        }
    }
    close_line(line, count, width);
    return cit_stream_overrun(s) ? cit_line::lost : cit_line::whole;
}

// a0, b1 and so on as the coding has them: a0 is where the line stands, b1 the first change of the reference to the
// right of a0 that leads away from the colour at hand, b2 the one behind it. `b` is the index of b1; its lowest bit is
// that of `count`, which is the colour at hand, since changes lead to black and to white in turn.
cit_line cit_decode_2d_runs(cit_stream* stream, const cit_changes* reference, cit_changes* line, uint32_t width) {
    cit_stream s = *stream;
    const int32_t* ref = reference->at;
    const auto end = static_cast<int32_t>(width);
    int32_t a0 = 0;
    size_t count = 0;
    size_t b = 0;
    cit_line result = cit_line::whole;
    while (a0 < end) {
        if (!has_room(line, count) && !cit_changes_need(line, count + STEP)) return cit_line::no_room;
        if (s.count < 56) cit_stream_refill(&s);
        mode_code code = MODES.entries[s.buffer & 127];
        cit_stream_skip(&s, code.length);
        if (code.mode < MODE_PASS) [[likely]] {
            int32_t a1 = ref[b] + code.mode;
            if (a1 < a0 || a1 > end) break;
            line->at[count++] = a1;
            a0 = a1;
            // To the left of b1 lies at most one change that can be to the right of the new a0.
            b = code.mode < 0 && b > 0 ? b - 1 : b + 1;
            if (a0 == end) break;
        } else if (code.mode == MODE_PASS) {
            a0 = ref[b + 1];
            if (a0 == end) break;
            b += 2;
        } else if (code.mode == MODE_HORIZONTAL) {
            bool black = (count & 1) != 0;
            int64_t first = take_run(&s, black ? CIT_BLACK_DECODE : CIT_WHITE_DECODE);
            if (first == NO_RUN || first > end - a0) break;
            cit_stream_refill(&s);
            int64_t second = take_run(&s, black ? CIT_WHITE_DECODE : CIT_BLACK_DECODE);
            line->at[count++] = a0 + static_cast<int32_t>(first);
            a0 += static_cast<int32_t>(first);
            if (second == NO_RUN || second > end - a0) break;
            a0 += static_cast<int32_t>(second);
            line->at[count++] = a0;
            if (a0 == end) break;
        } else {
            result = cit_line::stuck;
            break;
        }
        while (ref[b] <= a0)
            b += 2;
    }
    *stream = s;
    if (a0 != end) {
        break_off(line, count, a0, width);
        return result == cit_line::stuck ? result : cit_line::lost;
    }
    close_line(line, count, width);
    return cit_stream_overrun(stream) ? cit_line::lost : cit_line::whole;
}

// ---- lines of a whole image -----------------------------------------------------------------------------------------

namespace {

constexpr size_t FIRST_ROOM = 256;
constexpr size_t WORD_PIXELS = 64;

// The words that a run takes with those that split it.
size_t words_of_run(uint32_t run) {
    return run <= CIT_LONGEST_RUN ? 1 : 1 + (run - 1) / CIT_LONGEST_RUN * 2;
}

} // namespace

bool cit_changes_need(cit_changes* line, size_t count) {
    if (line->room >= count + CIT_GUARDS) return true;
    size_t room = std::max(line->room * 2, count + CIT_GUARDS + FIRST_ROOM);
    if (room > SIZE_MAX / sizeof(int32_t)) return false;
    auto* at = static_cast<int32_t*>(mem_realloc(line->at, room * sizeof(int32_t)));
    if (at == nullptr) return false;
    line->at = at;
    line->room = room;
    return true;
}

bool cit_changes_white(cit_changes* line, uint32_t width) {
    if (!cit_changes_need(line, 0)) return false;
    cit_end_changes(line, 0, width);
    return true;
}

void cit_changes_free(cit_changes* line) {
    mem_free(line->at);
    *line = {};
}

size_t cit_max_runs(uint32_t width) {
    return size_t{width} + 3;
}

bool cit_need_runs(uint16_t** runs, size_t* room, size_t count) {
    if (count <= *room) return true;
    auto* grown = static_cast<uint16_t*>(mem_realloc(*runs, count * 2 * sizeof(uint16_t)));
    if (grown == nullptr) return false;
    *runs = grown;
    *room = count * 2;
    return true;
}

size_t cit_runs_of_changes(const cit_changes* line, uint32_t width) {
    if (width <= CIT_LONGEST_RUN) return (line->count + 1) | 1;
    size_t words = 0;
    int32_t last = 0;
    for (size_t i = 0; i <= line->count; ++i) {
        words += words_of_run(static_cast<uint32_t>(line->at[i] - last));
        last = line->at[i];
    }
    return words | 1;
}

size_t cit_changes_to_runs(const cit_changes* line, uint32_t width, uint16_t* runs) {
    uint16_t* out = runs;
    int32_t last = 0;
    if (width <= CIT_LONGEST_RUN) {
        for (size_t i = 0; i <= line->count; ++i) {
            *out++ = static_cast<uint16_t>(line->at[i] - last);
            last = line->at[i];
        }
    } else {
        for (size_t i = 0; i <= line->count; ++i) {
            out = cit_put_run(out, static_cast<uint32_t>(line->at[i] - last));
            last = line->at[i];
        }
    }
    if ((out - runs) % 2 == 0) *out++ = 0;
    return static_cast<size_t>(out - runs);
}

bool cit_changes_from_runs(cit_changes* line, uint32_t width, const uint16_t* runs) {
    if (!cit_changes_need(line, 0)) return false;
    size_t count = 0;
    uint32_t at = 0;
    size_t color = 0;
    for (size_t i = 0; at < width; ++i) {
        if (runs[i] == 0) continue;
        if ((i & 1) != color) {
            if (count + CIT_GUARDS >= line->room && !cit_changes_need(line, count + 1)) return false;
            line->at[count++] = static_cast<int32_t>(at);
            color = i & 1;
        }
        at += runs[i];
    }
    cit_end_changes(line, count, width);
    return true;
}

void cit_changes_to_bits(const cit_changes* line, uint32_t width, uint8_t* words) {
    cit_bit_writer w = cit_bits_begin(words);
    for (size_t i = 0; i < line->count; i += 2)
        cit_bits_black(&w, static_cast<uint32_t>(line->at[i]), static_cast<uint32_t>(line->at[i + 1]));
    cit_bits_end(&w, width);
}

bool cit_changes_from_bits(cit_changes* line, uint32_t width, const uint8_t* words) {
    if (!cit_changes_need(line, WORD_PIXELS)) return false;
    cit_bit_reader r = cit_bits_open(words, width);
    size_t count = 0;
    uint64_t edges = 0;
    while (cit_bits_edges(&r, &edges)) {
        if (count + WORD_PIXELS + CIT_GUARDS > line->room && !cit_changes_need(line, count + WORD_PIXELS)) return false;
        while (edges != 0)
            line->at[count++] = static_cast<int32_t>(r.base + cit_bits_next(&edges));
    }
    cit_end_changes(line, count, width);
    return true;
}

// ---- runs to bits and back ------------------------------------------------------------------------------------------

namespace {

// Bytes of the 16-bit words from `base` to the end of the line.
size_t bytes_left(uint32_t base, uint32_t width) {
    return (size_t{width} + 15) / 16 * 2 - base / 8;
}

} // namespace

void cit_bits_end(cit_bit_writer* w, uint32_t width) {
    uint32_t last = width & ~63u;
    if (w->base < last) cit_bits_advance(w, last, 0);
    uint8_t bytes[8];
    store_u64le(bytes, cit_swap_words(w->word));
    std::memcpy(w->words + w->base / 8, bytes, bytes_left(w->base, width));
}

bool cit_bits_last_edges(cit_bit_reader* r, uint64_t* edges) {
    uint32_t left = r->width - r->next;
    if (left == 0) return false;
    uint8_t bytes[8] = {};
    std::memcpy(bytes, r->words + r->next / 8, bytes_left(r->next, r->width));
    uint64_t word = cit_swap_words(load_u64le(bytes));
    *edges = (word ^ (word >> 1 | r->last)) & ~(~uint64_t{0} >> left);
    r->base = r->next;
    r->next = r->width;
    return true;
}

bool cit_runs_fit(uint32_t width, const uint16_t* runs, size_t count) {
    uint64_t sum = 0;
    for (size_t i = 0; i < count && sum < width; ++i)
        sum += runs[i];
    return sum == width;
}

void cit_runs_to_bits(uint32_t width, const uint16_t* runs, uint8_t* words) {
    cit_bit_writer w = cit_bits_begin(words);
    uint32_t x = 0;
    while (x < width) {
        x += *runs++;
        if (x >= width) break;
        uint32_t black = std::min<uint32_t>(*runs++, width - x);
        if (black != 0) cit_bits_black(&w, x, x + black);
        x += black;
    }
    cit_bits_end(&w, width);
}

size_t cit_bits_to_runs(uint32_t width, const uint8_t* words, uint16_t* runs) {
    cit_bit_reader r = cit_bits_open(words, width);
    uint16_t* out = runs;
    uint32_t last = 0;
    uint64_t edges = 0;
    while (cit_bits_edges(&r, &edges)) {
        while (edges != 0) {
            uint32_t at = r.base + cit_bits_next(&edges);
            out = cit_put_run(out, at - last);
            last = at;
        }
    }
    return static_cast<size_t>(cit_put_run(out, width - last) - runs);
}

size_t cit_runs_to_bytes(uint32_t width, const uint16_t* runs, uint8_t* bytes) {
    size_t count = (size_t{width} + 7) / 8;
    std::memset(bytes, 0, count);
    uint32_t x = 0;
    for (bool black = false; x < width; black = !black) {
        uint32_t end = x + std::min<uint32_t>(*runs++, width - x);
        while (black && x < end) {
            if (x % 8 == 0 && end - x >= 8) {
                std::memset(bytes + x / 8, 0xFF, (end - x) / 8);
                x += (end - x) / 8 * 8;
            } else {
                bytes[x / 8] = static_cast<uint8_t>(bytes[x / 8] | 1u << x % 8);
                ++x;
            }
        }
        x = end;
    }
    return count;
}

void cit_reverse_bytes(uint8_t* bytes, size_t count) {
    size_t i = 0;
    for (; i + 8 <= count; i += 8) {
        uint64_t v;
        std::memcpy(&v, bytes + i, sizeof v);
        v = (v >> 1 & 0x5555555555555555) | (v & 0x5555555555555555) << 1;
        v = (v >> 2 & 0x3333333333333333) | (v & 0x3333333333333333) << 2;
        v = (v >> 4 & 0x0F0F0F0F0F0F0F0F) | (v & 0x0F0F0F0F0F0F0F0F) << 4;
        std::memcpy(bytes + i, &v, sizeof v);
    }
    for (; i < count; ++i)
        bytes[i] = reversed_bits(bytes[i]);
}

// ---- the sink that gathers run lines --------------------------------------------------------------------------------

namespace {

// Up to here a sink grows at once to what all lines will take if they are like those so far.
constexpr size_t GUESS_LIMIT = size_t{1} << 20;

// The new capacity, in words, so that `needed` fit: what the lines so far make of the whole, but not more than four
// times what there is, since a height that a file tells need not be true.
size_t grown_capacity(const cit_sink* sink, size_t needed, uint32_t line) {
    size_t capacity = sink->capacity;
    size_t most = std::max(capacity * 4, GUESS_LIMIT);
    while (capacity < needed) {
        size_t guess = capacity / line * sink->height + capacity % line * sink->height / line;
        capacity = std::min(guess, most);
        capacity += std::min<size_t>(sink->width, GUESS_LIMIT) + 2;
        most *= 2;
    }
    return capacity;
}

uint32_t grow(cit_sink* sink, size_t needed, uint32_t line) {
    if (!sink->may_grow) return CIT_NO_MEMORY;
    size_t capacity = grown_capacity(sink, needed, line);
    auto* runs = static_cast<uint16_t*>(mem_realloc(sink->runs, capacity * sizeof(uint16_t)));
    if (runs == nullptr) return CIT_BUFFER_FULL;
    sink->runs = runs;
    sink->capacity = capacity;
    return CIT_OK;
}

} // namespace

uint32_t cit_sink_line(cit_sink* sink, const uint16_t* runs, size_t count, uint32_t line) {
    if (line == 0 || line > sink->height || sink->fill > UINT32_MAX) return CIT_NO_MEMORY;
    size_t needed = sink->fill + count + 1;
    if (needed > sink->capacity) {
        uint32_t result = grow(sink, needed, line);
        if (!cit_succeeded(result)) return result;
    }
    sink->offsets[line - 1] = static_cast<uint32_t>(sink->fill);
    uint16_t* out = sink->runs + sink->fill;
    if (count > 0 && runs[count - 1] == 0) --count;
    std::memcpy(out, runs, count * sizeof(uint16_t));
    if (count % 2 == 0) out[count++] = 0;
    sink->fill += count;
    return CIT_OK;
}
