// What the program is for: takes a surface's contribution out of each of its pixels and puts a new one in, directly in
// the planes of the picture.
//
//   pixel = what other surfaces and light contribute + sum over the samples there of (shade x surface colour)
//
// The picture's byte is the only state. A contribution that clamping has cut is not given back when it is taken out.
#pragma once

#include <cstdint>

#include "surface/applique.h"
#include "surface/raster_image.h"
#include "tnc/tnc.h"

// Told of each stretch of a row that has changed, rows in rising y: columns x1 to x2, inclusive.
struct row_changed {
    void (*changed)(void* user, int32_t y, int32_t x1, int32_t x2); // null: nobody is told
    void* user;
};

// One pass over a pen. `old_one` is what the planes hold now and `new_one` what they are to hold, null for the rendered
// state. Returns 1 when done, 0 after a message when nothing was changed: a pattern for a pen without u,v, or a pattern
// file that can't be loaded. Samples at or past the picture's width or height are passed over.
int reevaluate_pen(raster_image* picture, const tnc_image* image, row_changed told, const applique* old_one,
                   const applique* new_one, int pen);

// The same in steps, for a caller who has something to do between the judging and the pass: everything that can fail
// is done by reevaluation_new(), which gives null after a message. The arguments stay the caller's, and have to stand
// until reevaluation_free().
struct reevaluation;
reevaluation* reevaluation_new(raster_image* picture, const tnc_image* image, row_changed told, const applique* old_one,
                               const applique* new_one, int pen);
void reevaluation_run(reevaluation* r);

// One row of the pass, of a grid's columns only, for a caller who shows no others. A row that has more to come has to
// be put back to what it was before.
void reevaluation_run_row(reevaluation* r, int32_t y, const pixel_grid* grid);
void reevaluation_free(reevaluation* r); // null does nothing

// The contribution of a surface to one colour channel (0 red, 1 green, 2 blue) of one sample: the formula in its plain
// form, one sample at a time, which the pass must equal. `pattern` is the loaded file of a pattern, else null.
int32_t surface_contribution(const applique* a, const raster_image* pattern, int channel, int32_t shade, int32_t u,
                             int32_t v);
