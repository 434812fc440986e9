// Where the forms join the program: what the core asks of them, as a table that they fill before the program starts.
//
// A program whose forms aren't there yet, and tests, leave slots null: then the picture has the whole screen, keys and
// wheel change its view, and the title tells what a form would show. The core calls the functions below, which mind
// empty slots.
#pragma once

#include <cstdint>

// What the toolkit is to use of the program.
struct form_hooks {
    int (*color)(int form_color);              // a form's colour as a logical colour of the screen
    int (*keyboard_data)(char* out, int size); // the bytes that wait in the keyboard buffer; how many
    int (*key_filter)(int* key);               // may rewrite the key; 1: a text field uses it, 0: it doesn't
};

struct app_forms {
    int (*start)();                                              // starts the toolkit. 0 when it is there
    int (*set_directory)(const char* path);                      // where forms and symbols are
    void (*set_hooks)(const form_hooks* hooks, bool true_color); // true_color: forms draw in direct colours
    int (*main_create)(int own_window, int* window);             // the main form. 1, or 0 on failure
    void (*main_close)();                                        // erases it if it exists
    void (*main_location)(int* x, int* y);                       // its top left corner, logical
    int (*pattern_create)(int own_window, int* window);          // the pattern form; the same three
    void (*pattern_close)();
    void (*pattern_location)(int* x, int* y);
    int (*process_event)(uint32_t event);  // the toolkit's dispatcher: 1 when it has taken the event off its queue
    void (*release_button)(int gadget);    // a button of the main form comes out again
    void (*show_pen)(int pen);             // the chosen surface, in the main form's field
    void (*palette_follow)();              // brings the palette's display in line with its list
    int (*palette_open)(const char* path); // non-zero on success
    int (*palette_ask_discard)();          // 1 when changes of the palette may be dropped
};

extern app_forms forms;

// The program's own hooks.
extern const form_hooks program_form_hooks;

int forms_start();
int forms_set_directory(const char* path);
void forms_set_hooks(bool true_color);
int forms_create(); // both; 1, or 0 on failure
void forms_close();
// Where the picture's window has to end: the first column of the main form and the first row of the pattern form; one
// past the screen where there is none.
void forms_limits(int* x, int* y);
int forms_process_event(uint32_t event);
void forms_release_button(int gadget);
void forms_show_pen(int pen);
void forms_palette_follow();
int forms_palette_open(const char* path);
int forms_palette_ask_discard();
