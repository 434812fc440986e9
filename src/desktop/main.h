// The desktop program: start, the one event loop, and the end.
#pragma once

#include <cstdint>

// The program's main(), called by the tools' entry with the program's path and the command line. The exit status.
int tinct_main(int count, char** arguments, char** environment);

// Brings up the forms and the picture's window. Non-zero on success.
int init_forms();

// Takes them down. With `restart`, a small window stands in until the next event, so that init_forms() can follow.
void close_forms(int restart);

// Gives an event to whom it concerns, and takes it off its queue. `event` is its bit.
void dispatch_events(uint32_t event);

// 1 when the program may be left: the palette's changes may be dropped, and so may the image's.
int close_query();

// 1 when the image's changes may be dropped; asks when there are any.
int image_ask_discard();
