// Undo and redo: what the planes of a picture held, for the pixels of one surface at a time, and the steps that were
// made of them.
//
// Bytes are exchanged, not worked out: a step holds the bytes of its pixels as they are on its other side, so that
// going back and forth gives the planes back to the last bit, whatever was clamped and whatever has become of a
// pattern's file. A step costs three bytes for each pixel of its surface.
#pragma once

#include <cstddef>
#include <cstdint>

#include "surface/applique.h"
#include "surface/raster_image.h"
#include "surface/reevaluate.h"
#include "tnc/spans.h"
#include "tnc/tnc.h"

// A surface's pixels in a picture.
struct surface_pixels {
    raster_image* picture;
    const tnc_image* image;
    int pen;
    span_room* room; // for rows as wide as the picture
};

// Their bytes, each pixel once, row by row: for each stretch of columns its red bytes, its green and its blue ones.
struct kept_pixels {
    uint8_t* bytes; // owned
    size_t size;
};

// How many bytes they have.
size_t pixels_size(const surface_pixels* p);

// Copies them out of the planes; `size` is what pixels_size() gives. False without memory. Where each row's begin goes
// to `rows`, one entry a row of the picture, unless that is null.
bool pixels_keep(const surface_pixels* p, size_t size, kept_pixels* kept, size_t* rows);

// Copies them back, or exchanges the two. `told` hears of each row. Or those of row y alone, which begin at `bytes`.
void pixels_put_back(const surface_pixels* p, const kept_pixels* kept, row_changed told);
void pixels_put_back_row(const surface_pixels* p, int32_t y, const uint8_t* bytes, row_changed told);
void pixels_exchange(const surface_pixels* p, kept_pixels* kept, row_changed told);

void pixels_free(kept_pixels* kept);

// One step: what it takes to get to its other side.
struct history_step {
    int pen;
    applique* carried;  // owned: what the pen carries there; null for the rendered state
    kept_pixels pixels; // owned: what its pixels are there
    bool changed;       // whether the image is changed there, against the file that it comes from
};

constexpr size_t HISTORY_LIMIT = size_t{256} << 20; // bytes of pixels, unless told

// Steps in the order in which they were made; those before `done` can be undone, those from it on done again.
struct history {
    history_step* steps = nullptr; // owned
    int count = 0, done = 0, room = 0;
    size_t bytes = 0;             // of all their pixels
    size_t limit = HISTORY_LIMIT; // the oldest steps go when it is passed
};

// Adds a step behind those that are done; those that were undone go, and the oldest while the limit is passed. Takes
// over what the step owns. Without memory, and for a step that is larger than the limit, all steps go: what came before
// can't be reached any more.
void history_add(history* h, const history_step* step);

void history_set_limit(history* h, size_t limit);
void history_clear(history* h); // the limit stays
