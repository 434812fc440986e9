// Pieces that scenes share: cushions, pillows, curtains, books, picture frames.
#pragma once

#include "scene.h"

// A box with rounded edges whose faces swell by `puff` towards the middle.
shape* add_cushion(scene* s, int material, vec3 centre, vec3 half, double radius, double puff,
                   const frame& f = UPRIGHT);

// The same bent about an axis along z at distance `bend` above it, as a shell or a seat.
shape* add_bent(scene* s, int material, vec3 centre, vec3 half, double radius, double puff, double bend,
                const frame& f = UPRIGHT);

// A pillow: thick in the middle, thin at the seam.
shape* add_pillow(scene* s, int material, vec3 centre, vec3 half, const frame& f = UPRIGHT);

// A curtain in the plane x = constant, `half_wide` along z, with `folds` folds.
shape* add_curtain(scene* s, int material, vec3 centre, double half_wide, double half_high, int folds);

// A closed book that lies flat: cover and pages.
void add_book(scene* s, int cover, int pages, vec3 centre, vec3 half, const frame& f = UPRIGHT);

// Four bars about a picture on a wall that faces z.
void add_frame(scene* s, int material, vec3 centre, double half_wide, double half_high, double bar, double depth);
