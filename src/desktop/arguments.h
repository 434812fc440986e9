// The command line: response files, options split into letters, and the option reader.
#pragma once

// An argument vector with what it owns.
struct argument_list {
    char** values; // count + 1 pointers, the last null
    int count;
};

// Builds a new vector: arguments that begin with "@" name response files, which nest; options come first, one "-c" a
// letter (a word that begins with "--" stays whole), then the other arguments. `options` is a list of letters, one
// followed by ":" takes an argument. False after a message when a response file can't be opened or holds itself, or
// there is no memory; `list` is empty then.
bool expand_arguments(int count, const char* const* arguments, const char* options, argument_list* list);

void argument_list_free(argument_list* list);

// Takes all blanks out of a text, in place.
void strip_blanks(char* text);

// The option reader's place in the vector; get_option() begins at the first argument after a reset.
void reset_options();

// The next option letter, -1 at the end of the options, or '?' for a letter that is not in `options`.
int get_option(int count, char* const* arguments, const char* options);

// The argument of the option that get_option() gave last, or null; the whole word for '?'.
const char* get_option_argument();

// Where in the vector get_option() reads next: the first argument that is no option, when it has given -1.
int get_option_index();
