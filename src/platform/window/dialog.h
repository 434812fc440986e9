// Message boxes: modal, drawn by the platform in the middle of the screen.
#pragma once

enum class dialog_icon { none, stop, exclamation, information };
enum class dialog_buttons { ok, ok_cancel };

// Shows the text (Latin-1; lines end with '\n', long ones are wrapped) and waits for a button, Return (the button that
// is marked, at first OK), or Escape (Cancel, or OK when it is the only one). True for OK. Input to all other windows
// is dropped meanwhile; their other messages wait for the next desk_next(). When the user closes the main window the
// box is answered as by Escape, and the message about it waits with the others. What the box covered is put back.
//
// Before desk_start() or after the end the text goes to standard error, and the answer is OK, or Cancel where there is
// one. The same when there is no memory for the box.
bool dialog_message(const char* title, const char* text, dialog_icon icon, dialog_buttons buttons);

// A sink for log_set_sink(): shows level 1 as "Error" with a stop icon, 2 as "Warning" with an exclamation icon, 3 as
// "Info" with an information icon. `user` isn't used.
void dialog_log_sink(void* user, int level, const char* text);
