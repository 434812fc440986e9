// Gathers the raw samples of one scan line at a time and packs each pen's layers when the line ends.
//
// The caller moves `x` (the current column) itself and adds samples in rising order; builder_next_line() and
// builder_skip_lines() pack what has gathered, hand it to the line-done action, and move y.
#pragma once

#include <cstdint>

#include "tnc/tnc.h"

// Takes over a finished chain of packed lines of one pen on line y. The oldest layer is first.
using line_done_action = void (*)(void* user, int pen, int has_uv, int32_t y, pline* chain);

struct pen_builder;

// What was left out for want of memory: samples for which there was none, or none for the run or layer that they would
// have begun, and layers that could not be packed.
struct builder_losses {
    int64_t samples, runs, layers, lines;
};

// A new builder at x 0, y 0, or null with a message.
pen_builder* builder_new(line_done_action action, void* user);

// Declares a pen; numbers of PEN_COUNT and above are ignored.
void builder_set_pen(pen_builder* builder, int pen, int has_uv);

// Tells how wide the picture is, which limits what the way to a far column may cost. COLUMNS_UNKNOWN at first.
void builder_set_columns(pen_builder* builder, int32_t columns);

// The current column and line.
int32_t builder_x(const pen_builder* builder);
int32_t builder_y(const pen_builder* builder);
void builder_move_x(pen_builder* builder, int32_t columns);

// Adds a sample at (x, y). A sample of a pen that was not declared is ignored; one for which there is no memory is
// dropped and counted.
void builder_add_sample(pen_builder* builder, int pen, uint8_t red, uint8_t green, uint8_t blue, uint16_t u,
                        uint16_t v);

// Pack the line, then y + 1, or y + count, with x 0.
void builder_next_line(pen_builder* builder);
void builder_skip_lines(pen_builder* builder, int32_t count);

// Losses so far. The line that is still open can add to them.
const builder_losses* builder_lost(const pen_builder* builder);

// True when there was no memory to pack lines in, which is to end the program: nothing more is packed.
bool builder_has_failed(const pen_builder* builder);

// Packs the line still open, and releases the builder.
void builder_free(pen_builder* builder);
