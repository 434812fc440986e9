// What the command-line programs share: choosing the command, exit statuses, messages on standard error, option words,
// and the text that goes to standard output.
//
// A run that failed has replaced nothing: a command writes a file of the user's as the new content of a replacement
// (platform/files.h) and ends with program_put_in_place().
//
// Every error or warning that a layer below reports goes to standard error with the program's name in front and makes
// the run a failed one: input that is cut or damaged never gives success, even where what could be read has been shown.
#pragma once

#include <cstddef>
#include <cstdint>

enum exit_status : int {
    EXIT_DONE = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2,
};

// The words behind a command's name.
struct word_list {
    int count;
    char** words;
    int next;
};

struct program_command {
    const char* name;
    int (*run)(word_list* words); // an exit_status
};

struct program_definition {
    const char* name;
    const char* version;  // what --version prints
    const char* synopsis; // the command lines, shown after a wrong one
    const char* help;     // what --help shows behind them
    const program_command* commands;
    int command_count;
    int (*otherwise)(word_list* words); // for words that begin with no command; null: that is wrong usage
};

// Runs the command that the arguments name, and gives the exit status of the process. A command that gives EXIT_DONE
// has failed all the same when something was reported or standard output could not be written.
int program_run(const program_definition* definition, int count, char** arguments);

// True when an error or a warning has been reported.
bool program_has_reported();

// Reports a reason on standard error. Gives EXIT_FAILED, or EXIT_USAGE after the command lines, so that a command can
// return it.
int program_fail(const char* format, ...) __attribute__((format(printf, 1, 2)));
int program_usage(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Report that the user's file can't be written, with the reason that the system gave since its replacement was begun,
// or can't be opened, with what is wrong with it; with the words `otherwise` when there is no such reason. EXIT_FAILED.
int program_fail_writing(const char* path, const char* otherwise);
int program_fail_reading(const char* path, const char* otherwise);

// Puts the new content of the user's file, which is under way, in its place; unless something was reported or standard
// output could not be written, as a run that failed replaces nothing. So a command prints what it has to say before.
// EXIT_DONE, or EXIT_FAILED after a message.
int program_put_in_place(const char* path);

// ---- words of the command line -------------------------------------------------------------------------------------

// The next word, or null at the end.
const char* take_word(word_list* list);

// Whole numbers: the text must hold one and nothing else, within low .. high. False otherwise.
bool parse_integer(const char* text, int64_t low, int64_t high, int64_t* value);

// A finite number and nothing else.
bool parse_number(const char* text, double* value);

// ---- names ---------------------------------------------------------------------------------------------------------

constexpr size_t PLAIN_NAME_SIZE = 4097;

// The name under which a user's file is handed to the raster library. A name "/INMEM/<number>" is an address to the
// library; with one more separator in front it names a file like any other.
const char* plain_name(const char* path, char out[PLAIN_NAME_SIZE]);

// Refuses "-", which would be standard output elsewhere, as the name of a file to write. EXIT_DONE, or EXIT_USAGE after
// a message.
int check_output_name(const char* path);

// Refuses a catalog as the file to write, whatever the options say: its members would be left without it. EXIT_DONE, or
// EXIT_FAILED after a message.
int check_no_catalog(const char* path);

// ---- standard output -----------------------------------------------------------------------------------------------

// Forgets an earlier run in the same process.
void out_begin();

// Buffered. A failed write is remembered and makes the run a failed one; what comes after it is dropped.
void out_text(const char* text);
void out_format(const char* format, ...) __attribute__((format(printf, 1, 2)));
void out_bytes(const void* bytes, size_t size);
bool out_failed();
const char* out_failure(); // why, in the system's words

// Room for `size` bytes, at most OUT_ROOM_MAX, to be filled in place; out_taken() tells how many were.
constexpr size_t OUT_ROOM_MAX = 4096;
char* out_room(size_t size);
void out_taken(size_t size);

// ---- progress ------------------------------------------------------------------------------------------------------

// Shows done out of total as a bar on standard error when that is a terminal, and nothing elsewhere. progress_end()
// takes the bar away.
void progress_show(const char* what, int64_t done, int64_t total);
void progress_end();
