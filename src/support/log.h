// The one message function, and the one way in which the process stops in an orderly manner.
//
// Everything that the user is to be told goes through log_message(). What shows it is installed from above: the desktop
// program installs message boxes, the command-line programs standard error, tests a recorder. Nothing is shown when no
// sink is installed.
//
// A fault that ends the process goes through stop_program(). A test can replace it, and then it comes back: so a caller
// of stop_program() always goes on to release what it holds and to give its failure result.
#pragma once

// The levels that are shown. Any other level shows nothing.
enum log_level : int {
    LOG_ERROR = 1,
    LOG_WARNING = 2,
    LOG_INFO = 3,
};

// Size of the buffer that a message is formatted into; longer texts are cut.
constexpr int LOG_TEXT_SIZE = 1024;

// Shows one message. `text` has no trailing newline and is valid for the call only; `level` is one of log_level.
using log_sink = void (*)(void* user, int level, const char* text);

// Ends the process with `status`, or, in a test, notes it and returns.
using stop_action = void (*)(void* user, int status);

// Installs the sink; null shows nothing. `user` is handed back at each call.
void log_set_sink(log_sink sink, void* user);

// The sink in force and its user, for whoever replaces it for a while.
void log_get_sink(log_sink* sink, void** user);

// A sink that writes "text\n" to standard error, for command-line programs. `user` is not used.
void log_to_standard_error(void* user, int level, const char* text);

// Formats as printf does, takes off one trailing newline, and hands the text to the sink when the level is shown.
void log_message(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Replaces what stop_program() does; null puts exit() back.
void stop_set_action(stop_action action, void* user);

// Ends the process with the exit status. Comes back only when a test has replaced the action.
void stop_program(int status);
