// The keyboard in forms. Tab and Shift+Tab lead from gadget to gadget, and through the forms that have joined; a blank
// or Return works a button, Return takes what was typed or the marked row of a list, and Escape gives the keys back.
#pragma once

#include "forms/forms.h"

// Has the toolkit take its keys from here.
void keyboard_start();

// A form joins those that Tab leads through, with the gadget that it begins at. One that is deleted is forgotten.
void keyboard_join(FI_form* form, int first);

// The keys go to a form that has joined, where they were there last; null: to the first of them. Blocks until they are
// given back; keyboard_turn_over() is to be called then.
void keyboard_enter(FI_form* form);

// A form has come up beside the others: the keys go to it, if a gadget has them now.
void keyboard_follow(FI_form* form);

// How a turn of the keys has ended: Escape; or Return that the form's gadget had no use for, which may mean its OK.
struct turn_end {
    bool is_escape;
    const FI_form* form; // that had the keys when the last of them came; null: not known. It may have gone
    FI_form* returned;   // null: none
};

// To be called whenever the toolkit has handled an event, in which a turn may have ended. Goes on where Tab has led
// from the last gadget of a form.
turn_end keyboard_turn_over();

// The key that has led to what is being told, or 0 for a press. A press is announced before it is handled.
int keyboard_last();
void keyboard_pressed();

// To be asked once when a list tells of a row: true when the keys only leave the list, which tells too, and nothing was
// chosen.
bool keyboard_passes();

constexpr int KEY_DELETE = 4, KEY_BACK_TAB = 8, KEY_TAB = 9, KEY_RETURN = 13, KEY_ESCAPE = 27;
