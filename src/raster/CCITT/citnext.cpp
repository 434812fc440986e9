// The next line of coded data, with the codes around it: end-of-line codes, tag bits, fill, byte boundaries, the ends
// of an image; and how to go on where some of them are missing or a line is damaged.
#include "raster/CCITT/citcode.h"

namespace {

cit_line next_aligned(cit_stream* s, cit_changes* line, uint32_t width) {
    cit_stream_refill(s);
    cit_stream_skip(s, static_cast<uint32_t>(-cit_stream_place(s) & 7));
    if (cit_stream_ended(s)) return cit_line::lost;
    bool cut = false;
    return cit_decode_1d_runs(s, line, width, &cut);
}

// Takes an end-of-line code and the fill before it. False: no such code comes next, or the data ends in fill, which
// then stays.
bool take_end_of_line(cit_stream* s) {
    cit_stream_refill(s);
    if (!cit_stream_at_end_of_line(s)) return false;
    cit_stream ahead = *s;
    if (!cit_stream_pass_zeros(&ahead)) return false;
    *s = ahead;
    return true;
}

// Whether the data has nothing but fill left.
bool only_fill_left(cit_stream* s) {
    if (cit_stream_ended(s)) return true;
    cit_stream_refill(s);
    if (!cit_stream_at_end_of_line(s)) return false;
    cit_stream ahead = *s;
    return !cit_stream_pass_zeros(&ahead);
}

bool take_tag(cit_stream* s) {
    cit_stream_refill(s);
    bool one_dimensional = (s->buffer & 1) != 0;
    cit_stream_skip(s, 1);
    return one_dimensional;
}

// A line that the runs don't fill goes on at the next end-of-line code. One that was whole but too long does as well:
// where it should have ended is not known.
cit_line settle(cit_stream* s, cit_line line) {
    if (line == cit_line::stuck) line = cit_line::lost;
    if (line != cit_line::lost || cit_stream_overrun(s)) return line;
    return cit_stream_find_end_of_line(s) ? cit_line::damaged : cit_line::lost;
}

cit_line next_g3(cit_stream* s, bool tagged, const cit_changes* reference, cit_changes* line, uint32_t width,
                 bool* clean) {
    if (only_fill_left(s)) return cit_line::lost;
    bool marked = take_end_of_line(s);
    if (!marked && tagged) {
        // Nothing says how the line is coded.
        *clean = false;
        if (!cit_stream_find_end_of_line(s)) return cit_line::lost;
        marked = take_end_of_line(s);
    }
    if (!marked) *clean = false;
    bool one_dimensional = !tagged || take_tag(s);
    if (marked && take_end_of_line(s)) return cit_line::ended;
    if (!one_dimensional) return settle(s, cit_decode_2d_runs(s, reference, line, width));
    bool cut = false;
    cit_line result = cit_decode_1d_runs(s, line, width, &cut);
    return settle(s, cut && result == cit_line::whole ? cit_line::lost : result);
}

// The end of a group 4 block: an end-of-line code and the beginning of another, perhaps with fill in front of the
// first.
bool take_end_of_block(cit_stream* s) {
    cit_stream ahead = *s;
    if (!take_end_of_line(&ahead)) return false;
    cit_stream_refill(&ahead);
    if ((ahead.buffer & 0xFF) != 0) return false;
    cit_stream_skip(&ahead, CIT_END_OF_LINE_BITS);
    *s = ahead;
    return true;
}

cit_line next_g4(cit_stream* s, const cit_changes* reference, cit_changes* line, uint32_t width) {
    if (cit_stream_ended(s)) return cit_line::lost;
    cit_line result = cit_decode_2d_runs(s, reference, line, width);
    if (result != cit_line::stuck) return result;
    return take_end_of_block(s) ? cit_line::ended : cit_line::lost;
}

} // namespace

cit_line cit_next_line(cit_stream* s, cit_coding coding, const cit_changes* reference, cit_changes* line,
                       uint32_t width, bool* clean) {
    *clean = true;
    cit_end_changes(line, 0, width); // white where the decoder leaves nothing
    switch (coding) {
    case cit_coding::aligned: return next_aligned(s, line, width);
    case cit_coding::g3_1d: return next_g3(s, false, reference, line, width, clean);
    case cit_coding::g3_2d: return next_g3(s, true, reference, line, width, clean);
    default: return next_g4(s, reference, line, width);
    }
}

bool cit_take_end(cit_stream* s, cit_coding coding) {
    if (coding == cit_coding::aligned) return true;
    if (coding == cit_coding::g4) return take_end_of_block(s);
    cit_stream ahead = *s;
    if (!take_end_of_line(&ahead)) return false;
    if (coding == cit_coding::g3_2d) (void)take_tag(&ahead);
    if (!take_end_of_line(&ahead)) return false;
    *s = ahead;
    return true;
}
