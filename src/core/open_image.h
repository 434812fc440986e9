// The open image: the one pair in hand, a .tnc file and its companion raster, and what has been done to them since.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/history.h"
#include "surface/applique.h"
#include "surface/palette.h"
#include "surface/raster_image.h"
#include "surface/recipe.h"
#include "surface/reevaluate.h"
#include "tnc/tnc.h"

// Told of what happens to the image, beyond its rows, and asked what is looked at. Any of them may be null.
struct image_display {
    void (*replaced)();                    // another picture is open
    void (*pass_begins)();                 // a pen's pixels are about to change,
    void (*pass_ends)(int pen, bool done); // have changed, or stay as they were after a failure
    void (*kept)(int pen);                 // a pen was given what it carries already
    bool (*seen)(pixel_grid* grid);        // the pixels of the picture that are shown; false: none are. Null: all
    bool (*late)();                        // a step of a drag has taken the time that it may. Null: it never has
};

// A drag under way: what it began with.
struct image_drag {
    bool is_open;
    int pen;
    applique* carried;  // owned: what the pen carried. The pen's entry is this one while nothing else is shown
    kept_pixels pixels; // owned: what its pixels were
    bool changed;       // whether the image was changed
    size_t* rows;       // owned: where each row's begin among them
    reevaluation* pass; // owned: from there to what is shown now; null: that is the beginning
    bool behind;        // the planes don't hold it everywhere yet
    int32_t next_row;   // of those that are seen, counted from the topmost: the next to be shown,
    int32_t rows_left;  // and how many are still to be
};

// What tells that a file is still the same.
struct file_stamp {
    int64_t size, time;
};

// Program-wide state; one instance.
struct open_image_state {
    raster_image* picture;          // owned: its planes hold the picture as it now stands; null when none is loaded
    tnc_image* tnc;                 // owned: the rendered-image data, or null
    char* tnc_path;                 // owned: path of the open .tnc file, or null
    char* raster_path;              // owned: path of its companion, or null
    file_stamp tnc_stamp;           // of the two files when they were read
    file_stamp raster_stamp;        //
    applique* appliques[PEN_COUNT]; // owned: what each pen carries; null for the rendered state
    bool image_changed;             // some pen has another applique than at the opening, or at the last save
    image_drag drag;
    history steps;
    span_room room;           // owned: for the picture's width
    row_changed rows_changed; // where changes are shown; installed from above
    image_display display;    // the same
};

extern open_image_state open_image;

// Writes the path of the companion raster: the one that a version 3 file names in its first record, or the last
// component of that name beside the file, which is what a name without a directory means first; else, for a file that
// names none, the .tnc path with ".rgb" in place of what follows its last ".". False when it does not fit `size`.
bool find_companion(const char* tnc_path, char* raster_path, size_t size);

// Non-zero if both are usable, by name and existence; messages tell what is not.
int check_pair(const char* tnc_path, const char* raster_path);

// Opens a pair, replacing the present one, which stays when that fails. Non-zero on success; 0 after a message. A .tnc
// file that ends inside of a record is told too, and opens.
int image_open(const char* path);

// Releases everything but the limit of the steps. For the end of a program.
void image_close();

// The image as it stands is saved, or isn't wanted: image_changed is cleared, and set again by a change, an undo or a
// redo that leads away from here.
void image_mark_unchanged();

// ---- apply.cpp, drag.cpp: changes of surfaces ---------------------------------------------------------------------

// Gives a pen a new colour or pattern, as one step that can be undone. Takes ownership of the applique in every case.
// Returns 1 when the pen now carries it (also when it did before), 0 after a message.
int apply_col_pat(int pen, applique* a);

// A live drag. image_begin() notes what the pen has and carries: 1, or 0 after a message. Each image_preview() shows it
// with another applique, as if that had been applied to what it had at the beginning; it takes ownership in every case,
// and leaves what is shown at a failure: 0 after a message. image_commit() makes one step of the drag, as far as it
// came, and image_cancel() gives the planes back to the last bit. Only one drag is open at a time: whatever else
// changes or replaces the image ends it first, with a commit. Without an open drag they do nothing, and give 0.
//
// A preview changes the pixels that are seen, and not even all of them when it gets late. image_preview_more() goes on
// with it, and gives 1 while there is still more. image_complete() brings all of the picture to what was asked for; it
// is to be called before the planes are looked at beyond what was seen. Whatever ends the drag has it done.
int image_begin(int pen);
int image_preview(applique* a);
int image_preview_more();
void image_complete();
int image_commit(); // 1 when there was something to make a step of
int image_cancel(); // 1 when there was a drag

// Steps back and forth: planes and appliques as they were, to the last bit. 1, or 0 when there is none to go.
int image_undo();
int image_redo();

// How many steps there are to go, and the bytes that they take.
int image_undo_count();
int image_redo_count();
size_t image_history_bytes();

// The most bytes that steps may take, HISTORY_LIMIT unless told; the oldest go first. 0: no steps are kept.
void image_history_limit(size_t bytes);

// What the last undo or redo led to, in words: "Surface 7: back to brick.rgb". For the call right behind it; `text` is
// empty when there was none.
void image_undo_words(char* text, size_t size);
void image_redo_words(char* text, size_t size);

// ---- recipes.cpp --------------------------------------------------------------------------------------------------

// Applies the sets of a recipe in their order, one step each; names are looked up in the palettes. What is wrong with a
// set, or a pen that the image doesn't have, is told with its line, and the others are applied. Returns how many sets
// their surfaces carry now.
int image_apply_recipe(recipe* r, const color_palette* colors, const pattern_palette* patterns);

// Saves what the surfaces carry as a recipe. Returns 0, or -1 after a message.
int image_save_recipe(const char* path);
