// What the desktop program tells its user: each message in a box of its own, or those of one piece of work together.
#pragma once

// From now on messages show as boxes. Texts may hold names of files, which are UTF-8; a box has Latin-1.
void messages_start();

// From now on messages wait for messages_tell().
void messages_gather();

// Shows those that have come since, if any, in one box with the icon of the gravest, a line each, and goes back to
// how they were shown before. When none of them holds `subject`, the name of what the work was about, it is put in
// front.
void messages_tell(const char* subject);
