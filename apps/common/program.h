// What the command-line programs share: exit statuses, messages on standard error, option words, and the text that goes
// to standard output.
//
// A program calls program_begin() first and returns program_end(). Every error or warning that a layer below reports
// goes to standard error with the program's name in front and makes the run a failed one: input that is cut or damaged
// never gives success, even where what could be read has been shown.
#pragma once

#include <cstddef>
#include <cstdint>

enum exit_status : int {
    EXIT_DONE = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2,
};

// Names the program for its messages, and shows messages on standard error.
void program_begin(const char* name);

// The exit status of the run: `status`, or EXIT_FAILED when that is EXIT_DONE but something was reported or standard
// output could not be written.
int program_end(int status);

// Reports a reason on standard error. Gives EXIT_FAILED, or EXIT_USAGE, so that a command can return it.
int program_fail(const char* format, ...) __attribute__((format(printf, 1, 2)));
int program_usage(const char* format, ...) __attribute__((format(printf, 1, 2)));

// ---- words of the command line -------------------------------------------------------------------------------------

struct word_list {
    int count;
    char** words;
    int next;
};

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

// ---- standard output
// -------------------------------------------------------------------------------------------------

// Buffered text for commands that print millions of lines. A failed write is remembered for program_end().
void out_text(const char* text);
void out_format(const char* format, ...) __attribute__((format(printf, 1, 2)));
void out_bytes(const void* bytes, size_t size);
bool out_failed();

// ---- progress
// --------------------------------------------------------------------------------------------------------

// Shows done out of total as a bar on standard error when that is a terminal, and nothing elsewhere. progress_end()
// takes the bar away.
void progress_show(const char* what, int64_t done, int64_t total);
void progress_end();
