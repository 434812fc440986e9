// Texts and places of forms: what the program has in UTF-8 is shown in Latin-1, and what is typed comes back in UTF-8.
#pragma once

#include "forms/forms.h"
#include "platform/files.h"
#include "support/text.h"

constexpr int FORM_TEXT_SIZE = 2 * static_cast<int>(FILES_PATH_SIZE);

// Of row 0 of a field; the whole text, however much of it is seen.
void form_set_text(FI_form* form, int label, const char* text);
void form_get_text(FI_form* form, int label, char text[FORM_TEXT_SIZE]);

// Of a static text, which takes the room that it needs from its left end on.
void form_show_text(FI_form* form, int label, const char* text);

// Brings a form that was designed for a screen of 1184 by 830 to the present one.
void form_fit_screen(FI_form* form);
