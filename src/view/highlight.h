// The highlight: the chosen surface of the open image, in white on a view of its picture. It lies on the window only;
// what is under it comes back from the picture's planes.
#pragma once

#include "view/view.h"

constexpr int NO_PEN = -1;
extern int highlighted_pen; // NO_PEN for none

// Draws the highlight of a pen over the picture: a white line for each run of its pixels.
void highlight_draw(const view* v, int pen);

// Draws the picture again where the pen's highlight is.
void highlight_remove(const raster_image* image, const view* v, int pen);

// Takes the present highlight off and draws another, each row once. NO_PEN: none.
void highlight_move(const view* v, int pen);

// Draws the highlight again after the picture has been redrawn, if there is one.
void highlight_redraw(const view* v);

// Forgets it without drawing: what it lay on is gone.
void highlight_reset();
