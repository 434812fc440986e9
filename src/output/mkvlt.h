// The second half of making a colour table: mapping the pixels of three planes to the entries of the pack's table.
#pragma once

#include "output/imp.h"

constexpr int32_t IMP_DITHER_DIFFUSE = 0;
constexpr int32_t IMP_DITHER_NEAREST = 1;

// Counters are given when the banner of the work, its stages and its lines are all asked for.
constexpr uint32_t IMP_COUNTERS = IMP_MESSAGE_LINES | IMP_MESSAGE_TABLE | IMP_MESSAGE_STAGES;

// Fills index_plane from the planes by the table, whose entries are on the scale 0 to 255. IMP_OK, IMP_STOPPED, or a
// code after its message.
int imp_map_colors(Impack* pack, int32_t dither, imp_progress* p);

// Counts line `y` that is done: gives its counter, and tells whether the work is to stop.
bool imp_line_done(imp_progress* p, const Impack* pack, int32_t y);

// The counter behind the last line.
void imp_lines_done(const imp_progress* p, const Impack* pack);
