// Picking: which surfaces stand at a pixel, the strongest first, and the white highlight of the chosen one.
#pragma once

#include "view/view.h"

constexpr int NO_PEN = -1;
extern int highlighted_pen; // NO_PEN for none

// A click in the picture: lists the surfaces at the point, and chooses the first. Outside of the picture nothing
// happens. At a pixel of no surface the highlight goes.
void pick_at(view* v, int x, int y);

// Chooses the next surface of the list; behind the last one the highlight goes. With the flag set the list is emptied,
// and nothing else happens.
void pick_advance(int flag);

// Forgets list and highlight without drawing: another image is there.
void pick_reset();

// Shows the number of the chosen surface, and moves the highlight to it.
void set_pen(int pen);

// Draws the highlight of a pen over the picture: a white line for each run of its pixels.
void highlight_draw(const view* v, int pen);

// Draws the picture again where the pen's highlight is.
void highlight_remove(const raster_image* image, const view* v, int pen);

// Draws the highlight again after the picture has been redrawn, if there is one.
void highlight_redraw();
