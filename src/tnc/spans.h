// The columns that a surface covers on a scan line, as stretches: its runs, cut to a range of columns, over all layers,
// merged where they meet. For whoever works on pixels once each, however many samples stand there.
#pragma once

#include "tnc/tnc.h"

// Columns first to end - 1.
struct row_span {
    int32_t first, end;
};

// Room for the spans of one line. Made once for many lines.
struct span_room {
    row_span* lists[3]; // owned, in one allocation
    int32_t width;      // widest range of columns that it is for
};

// False without memory; the room is empty then.
bool span_room_init(span_room* room, int32_t width);
void span_room_free(span_room* room);

// Finds the spans of a chain of lines within columns x1 to x2 - 1 (x2 - x1 at most the room's width). They rise, and
// between two of them is a column or more that isn't covered. Returns how many; they stay valid until the room is used
// again.
int row_spans(const pline* chain, int32_t x1, int32_t x2, span_room* room, const row_span** spans);
