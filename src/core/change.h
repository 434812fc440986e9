// What every change of a surface is made of: shared by the files that change the open image.
#pragma once

#include "core/open_image.h"

// The pixels of a pen in the open image.
surface_pixels change_pixels(int pen);

// False after a message when there is nothing that could be changed.
bool change_possible(int pen);

// The display's two calls around a change; see image_display.
void change_begins();
void change_ends(int pen, bool done);

// The pass from one applique to another: everything of it that can fail. Null after a message.
reevaluation* change_prepare(int pen, const applique* from, const applique* to);

// Makes a step of what a pen had before; takes over both. Without its pixels what came before it can't be reached any
// more either.
void change_add_step(int pen, applique* carried, kept_pixels kept, bool changed);
