// Picking: which surfaces of the open image stand at a pixel of its picture, the strongest first.
#pragma once

#include "view/view.h"

// The view that shows the open image's picture, and what is done with a chosen surface: it is told to the user, and
// gets the highlight. NO_PEN when none is left; the highlight has gone then. To be called before the others.
void pick_start(const view* v, void (*chosen)(int pen));

// A click in the picture: lists the surfaces at the point, and chooses the first. Outside of the picture nothing
// happens. At a pixel of no surface the highlight goes. pick_advance() becomes the cancel action.
void pick_at(view* v, int x, int y);

// Chooses the next surface of the list; behind the last one the highlight goes. With the flag set the list is emptied,
// and nothing else happens.
void pick_advance(int flag);

// How many surfaces the list has, and which of them was chosen last, from 0.
int pick_count(int* place);

// Forgets list and highlight without drawing: another image is there.
void pick_reset();
