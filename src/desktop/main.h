// The desktop program: start, the one event loop, and the end.
#pragma once

// The program's main(), called by the tools' entry with the program's path and the command line. The exit
// status: 0, 1 when it could not start, 2 for a command line that makes no sense, with a line on standard error.
int tinct_main(int count, char** arguments, char** environment);

// Brings up the forms and the picture's window. Non-zero on success.
int init_forms();

// Takes them down. With `restart`, a small window stands in until the next event, so that init_forms() can follow.
void close_forms(int restart);

// Has the display taken down and brought up again, from the main loop.
void request_restart();
