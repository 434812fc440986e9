// Decoding of one line into its changes: the one-dimensional and the two-dimensional code.
#include "raster/CCITT/citcode.h"

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
