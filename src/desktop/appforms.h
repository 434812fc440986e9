// The forms as the rest of the program sees them: all of them at once, whether they are up or not.
#pragma once

#include <cstdint>

#include "forms/forms.h"

// What the toolkit is to use of the program.
struct form_hooks {
    int (*color)(int form_color);              // a form's colour as a logical colour of the screen
    int (*keyboard_data)(char* out, int size); // the bytes that wait in the keyboard buffer; how many
    int (*key_filter)(int* key);               // may rewrite the key; 1: a text field uses it, 0: it doesn't
};
extern const form_hooks program_form_hooks;

// Starts the toolkit with the forms and symbols of a product directory. 0 when it is there.
int forms_start();

int forms_create(); // both; 1, or 0 after a message
void forms_close();
void forms_end(); // and the toolkit, for the end of the program

// Where the picture's window has to end: the first column of the main form and the first row of the pattern form; one
// past the screen where there is none.
void forms_limits(int* x, int* y);
int forms_process_event(uint32_t event); // 1 when a form has taken it off its queue

// Tells that a form can't be built, by its name and the status of the call.
void form_failed(const char* form, const char* call, int status);

// Loads a form's file, or shows a form that is there; false after such a message, with no form loaded then.
bool form_load(int label, const char* file, FI_notification notify, FI_form** form);
bool form_display(FI_form* form, const char* file);

// Lets a gadget be used, or greys it.
void form_enable(FI_form* form, int gadget, bool on);
