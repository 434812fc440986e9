// What the program does by keys, by the wheel, and with a file that is dropped on the window. show_keys_command() lists
// the keys for the user.
#pragma once

#include <cstdint>

// Codes of the arrow keys in the keyboard buffer.
enum : uint8_t { KEY_HOME = 1, KEY_LEFT = 128, KEY_DOWN = 131, KEY_RIGHT = 132, KEY_UP = 133 };

struct desk_message;

// Note a dropped file, and that the screen has another size, when that comes out of the message pump: whatever loop is
// pumping, the work is done from the main loop, by way of a user event.
void input_notice(const desk_message* message);
void input_notice_screen();

// Notes a key that is a command from anywhere, as Ctrl+S; true when it is one.
bool input_notice_key(const desk_message* message);

// Does the work that has been noted, and takes the user event off its queue.
void input_user_event();

// While a form is to be answered: takes the user event, and forgets a key that was noted. The rest is done by
// input_resume(), to be called when the form has been.
void input_wait_for_answer();
void input_resume();

// Takes the oldest wheel event, and zooms, or pans sideways, when it is over the picture.
void input_wheel();

// Takes the oldest key event, and does what the key says.
void input_key();

// Forgets what has been noted.
void input_reset();
