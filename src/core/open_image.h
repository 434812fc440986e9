// The open image: the one pair in hand, a .tnc file and its companion raster, and what has been done to them since.
#pragma once

#include <cstddef>
#include <cstdint>

#include "surface/applique.h"
#include "surface/raster_image.h"
#include "surface/reevaluate.h"
#include "tnc/tnc.h"

// Told of what happens to the image, beyond its rows. Any of them may be null.
struct image_display {
    void (*replaced)();                    // another picture is open, or none after one that couldn't be loaded
    void (*pass_begins)();                 // a pen's pixels are about to change,
    void (*pass_ends)(int pen, bool done); // have changed, or stay as they were after a failure
    void (*kept)(int pen);                 // a pen was given what it carries already
};

// Program-wide state; one instance.
struct open_image_state {
    raster_image* picture;          // owned: its planes hold the picture as it now stands; null when none is loaded
    tnc_image* tnc;                 // owned: the rendered-image data, or null
    char* tnc_path;                 // owned: path of the open .tnc file, or null
    char* raster_path;              // owned: path of its companion, or null
    applique* appliques[PEN_COUNT]; // owned: what each pen carries; null for the rendered state
    bool image_changed;             // some pen has been given a new applique since the image was opened
    row_changed rows_changed;       // where changes are shown; installed from above
    image_display display;          // the same
};

extern open_image_state open_image;

// Writes the path of the companion raster: the one that a version 3 file names in its first record, or that name beside
// the file, or else the .tnc path with ".rgb" in place of what follows its last ".". False when it does not fit `size`.
bool find_companion(const char* tnc_path, char* raster_path, size_t size);

// Non-zero if both are usable, by name and existence; messages tell what is not.
int check_pair(const char* tnc_path, const char* raster_path);

// Opens a pair, replacing the present one. Non-zero on success.
int image_open(const char* path);

// Releases everything. For the end of a program.
void image_close();

// Gives a pen a new colour or pattern. Takes ownership of the applique in every case. Returns 1 when the pen now
// carries it (also when it did before), 0 after a message.
int apply_col_pat(int pen, applique* a);
