// File specifications: what is typed where a picture is to go. A specification is a directory, one file, a range of
// frame numbers, or a sequence file that lists further specifications.
//
//   c:\pics\frame.tga,9,11      fra00009.tga, fra00010.tga and fra00011.tga of that directory
//   out                         out.rgb: the default extension is added
//
// "/" counts as "\". The spelling of names stays. A text is at most 511 characters long.
#pragma once

#include <cstddef>

constexpr size_t SPEC_SIZE = 512; // with the terminator

// ---- the parts of a specification: empty when there is none, or the text is null or too long -----------------------

void spec_directory(const char* text, char out[SPEC_SIZE]); // up to and with the last "\"
void spec_base(const char* text, char out[SPEC_SIZE]);      // behind that, up to the first "." or ","
void spec_extension(const char* text, char out[SPEC_SIZE]); // from the first "." up to the first ",", with its "."
void spec_range(const char* text, char out[SPEC_SIZE]);     // ",first,last" behind the first "."; both 1 to 99999

// 1 when base and range are both there.
int spec_is_range(const char* text);

// False for what stands for no file: an empty base, a text that is too long, or one that has a comma and is no range.
bool spec_is_usable(const char* text);

// The text with the default extension where it has none. False when it gets too long.
bool spec_expand(const char* text, char out[SPEC_SIZE]);

// The text with `extension` (without ".") in place of its own; its own stays without `force`.
bool spec_with_extension(const char* text, const char* extension, bool force, char out[SPEC_SIZE]);

// ---- the files of a specification ----------------------------------------------------------------------------------

constexpr int SPEC_FILES_MAX = 1000000; // sequence files could name others without end
constexpr int SPEC_NESTING_MAX = 32;

// Adds the files of a specification behind those of *files, a list of owned texts that ends in null (null: none yet).
// 1, or 0 when a sequence file can't be read, is wrong, holds itself or stands for too many files, or there is no
// memory: the list is as it was then. *count counts its texts. Sequence files are looked for in `directory`; names stay
// as they are.
int spec_list(const char* text, const char* directory, char*** files, int* count);
void spec_files_free(char** files);

// Whether a path names a sequence file, by its name and its first words.
int spec_is_sequence_file(const char* path);

// ---- defaults ------------------------------------------------------------------------------------------------------

// What a specification without extension gets: of the product's setup file, until it is set. The standard and format
// that the setup file names are kept beside it.
const char* spec_default_extension();
void spec_set_default_extension(const char* extension); // a text that lasts
void spec_read_defaults();                              // reads the setup file, if it hasn't been read yet
void spec_default_type(int* standard, int* format);
void spec_forget_defaults(); // for tests

// The extension of a standard, 0 to 5.
const char* spec_standard_extension(int standard);
