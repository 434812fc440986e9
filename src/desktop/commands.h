// What the user can have done from several places: a command line, a dropped file, a button, a key.
#pragma once

// ---- opening -------------------------------------------------------------------------------------------------------

// Opens a rendered image, or a palette: asks about changes of the present one that would be lost, shows the busy
// cursor, opens, shows the title, and tells in one box what didn't work. What was open stays when the new one can't be
// opened. Non-zero when it is open.
int open_image_command(const char* path);
int open_palette_command(const char* path);

// Loads the product's own palette, if it is there: to begin with, without a file that it would be saved to.
void load_usual_palette();

// Opens whatever a file is: a rendered image, a palette, a recipe; a raster becomes a pattern.
void open_any_command(const char* path);

// The same from a picker beside the forms. While it is open, the command closes it.
void open_image_picker_command();
void open_palette_picker_command();
void recent_command(); // one of the images that were opened last, from a list

// ---- the surface ---------------------------------------------------------------------------------------------------

void apply_selection(); // gives the chosen surface what is chosen
void undo_command();
void redo_command();

// Live changes of the chosen surface, while something is dragged: between begin and end each call shows what is chosen
// now. Nothing happens without a surface, or when live changes are off. On a large picture it may show the change in
// part: while nothing else is to be done, the next parts follow by live_go_on(), false when there is none left.
extern bool live_changes;
void live_begin();
void live_show();
bool live_go_on();
void live_end();

// All of it at once, for a value that was typed or switched.
void live_change();

// ---- saving --------------------------------------------------------------------------------------------------------

int image_save_command(); // 0 when it was saved, 1 when the user gave up, -1 after a message
void palette_save_command();
void recipe_load_command();
void recipe_save_command();
int load_recipe(const char* path); // how many sets were applied

// 1 if there is no such file, or the user agrees to overwrite it.
int file_overwrite_ok(const char* path);

// ---- leaving, and the rest -----------------------------------------------------------------------------------------

// 1 when the image's, the palette's changes may be dropped; asks when there are any. They are still there after that.
int image_ask_discard();
int palette_ask_discard();

// 1 when the program may be left: the palette's changes may be dropped, and so may the image's.
int close_query();
void exit_command();
void restart_display_command();
void set_display_gamma(double gamma);
void zoom_one_to_one();
void show_keys_command();
void picture_alone_command(); // takes the forms away, or brings them back
