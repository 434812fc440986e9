// What the user can have done from several places: a command line, a dropped file, a button.
#pragma once

// Opens a rendered image, or a palette: asks about changes of the present one that would be lost, shows the busy
// cursor, opens, shows the title, and tells in one box what didn't work. What was open stays when the new one can't be
// opened. Non-zero when it is open.
int open_image_command(const char* path);
int open_palette_command(const char* path);

// 1 when the image's changes may be dropped; asks when there are any.
int image_ask_discard();

// 1 when the program may be left: the palette's changes may be dropped, and so may the image's.
int close_query();
