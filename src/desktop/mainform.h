// The main form: the program's commands, at the right of the screen. Its gadgets and what each does are in the table of
// mainform.cpp.
#pragma once

#include "forms/forms.h"
#include "platform/files.h"

int main_form_create(int own_window, int* window); // makes it, or shows it again. 1, or 0 after a message
void main_form_close();
void main_form_end(); // forgets the directories too, for the end of the program
FI_form* main_form(); // null when it isn't up

// ---- what it shows -------------------------------------------------------------------------------------------------

void main_form_show_image();                  // the open image's file, the undo and redo buttons, the status line
void main_form_show_palette();                // the palette's file
void main_form_show_chosen(const char* name); // the name of the chosen colour or pattern, and its colour
void main_form_show_pen(int pen);             // the chosen surface; NO_PEN: none
void main_form_show_status(const char* text); // a line beside the surface; null: what the state of things says
void main_form_release(int gadget);           // a button comes out again

// The chosen surface. False when none is chosen.
bool main_form_pen(int* pen);

// ---- the current directory -----------------------------------------------------------------------------------------

// In the kept form (catalog/places.h).
const char* current_directory();
// Another one; when it is none, that of the program's start.
void set_current_directory(const char* path);
// The path with the current directory in front, if it is relative. False when it is too long.
bool in_current_directory(const char* path, char full[FILES_PATH_SIZE]);
