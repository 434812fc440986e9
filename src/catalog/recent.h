// What the program remembers from one run to the next: files that were opened, directories that were visited, the size
// of the window and the display gamma. Kept in the user's state directory, as a text of "key=value" lines:
// $XDG_STATE_HOME/vantorama/tinct, else ~/.local/state/vantorama/tinct. Nothing that is lost there does any harm, so a
// file that can't be read or written is not told.
#pragma once

#include <cstddef>

#include "catalog/places.h"

constexpr int RECENT_FILES = 10;
constexpr double GAMMA_LOW = 1.0;
constexpr double GAMMA_HIGH = 3.0;
constexpr double GAMMA_USUAL = 2.05; // as the program's pictures are made for

struct recent_state {
    char* files[RECENT_FILES]; // owned: full paths of rendered images, the latest first
    int file_count;
    directory_history directories; // that were chosen from
    char* directory;               // owned: where the last picker ended; null for none
    int width, height;             // of the window; 0: not known
    double gamma;                  // of the display
};

// The file's path. False when neither variable is set to a full path, or it doesn't fit.
bool recent_path(char* path, size_t size);

// Reads the file; what isn't there, or makes no sense, is as at a first start.
void recent_read(recent_state* state, const char* path);

// Writes it, as a whole; its directory is made when it is missing. False on failure.
bool recent_write(const recent_state* state, const char* path);

// Puts a file in front. Without memory nothing changes.
void recent_add_file(recent_state* state, const char* path);
void recent_set_directory(recent_state* state, const char* directory);
void recent_free(recent_state* state);
