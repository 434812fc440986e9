// Where a picture is to go, as the output form works on it: the file specification that stands in the form, the files
// that it stands for, whether they can be written and whether they exist; and how the form's buttons and toggles settle
// the type of the file.
#pragma once

#include <cstddef>

#include "output/impack.h"
#include "output/spec.h"
#include "platform/files.h"

struct output_target {
    char* spec;      // owned: expanded, with its directory; null: none yet
    char* directory; // owned: of the files, full, with a "\" at its end
    char** files;    // owned, ends in null: full paths. Null: no file is given yet
    int count;       // of files
};

// What is wrong with a specification. Above 0: a number of the system (files_fault_text()).
enum output_fault : int {
    OUTPUT_GOOD = 0,
    OUTPUT_NO_MEMORY = 12,
    OUTPUT_BAD_SPEC = -1,
    OUTPUT_NOT_REGULAR = -2,
    OUTPUT_NO_PRIVILEGE = -3,
    OUTPUT_IS_DIRECTORY = -4,
    OUTPUT_NOTHING = -5, // no text; nothing is shown
    OUTPUT_IS_CATALOG = -6,
};

void output_target_free(output_target* target);

// Reads a text into the target: a directory, which gives no files, or a specification. Relative names belong to the
// target's directory. At a fault, which is returned, the target stays as it was.
int output_verify_spec(const char* text, output_target* target);

// The same for several names, as a picker gives them: their files together, and what is typed for the first.
int output_verify_names(const char* const* names, output_target* target);

// The words for a fault; empty for none.
const char* output_fault_text(int fault);

// Writes what is to be told when files exist, in two lines, and returns how many do; both are empty for none.
int output_existing_message(const output_target* target, char first[SPEC_SIZE + 64], char second[128]);

// Gives what is typed and all files the extension. With `force` in place of their own. OUTPUT_NO_MEMORY leaves
// them.
int output_correct_extensions(output_target* target, const char* extension, bool force);

// ---- the type of the file ------------------------------------------------------------------------------------------

constexpr uint32_t OUTPUT_CORRECT = 4;     // flags of output_settings: correct extensions,
constexpr uint32_t OUTPUT_24_BITS = 8;     // 24 bits a pixel; clear: 8,
constexpr uint32_t OUTPUT_COMPRESSED = 16; // compressed,
constexpr uint32_t OUTPUT_OPEN = 32;       // and the form is open

constexpr int OUTPUT_COLORS_LOW = 2, OUTPUT_COLORS_HIGH = 256;
constexpr double OUTPUT_GAMMA_LOW = 0.1, OUTPUT_GAMMA_HIGH = 3.0, OUTPUT_GAMMA_USUAL = 2.2;

// As the program starts.
constexpr output_settings OUTPUT_USUAL = {0, RZL_FORMAT_PLANE_RUNS, OUTPUT_24_BITS | OUTPUT_COMPRESSED,
                                          OUTPUT_COLORS_HIGH, OUTPUT_GAMMA_USUAL};

// Brings settings into their ranges, as a form opens with them.
void output_settle(output_settings* settings);

// Each of these also settles the format, and the first the default extension of specifications.
void output_set_standard(output_settings* settings, int standard);
void output_set_compressed(output_settings* settings, bool is_compressed);
void output_set_24_bits(output_settings* settings, bool is_24);

// What the form shows of the settings: its toggles tell what will be written.
struct output_face {
    bool uncompressed, uncompressed_enabled; // the toggle for compression, on for "Uncmprsd"
    bool eight_bits, eight_bits_enabled;     // the toggle for depth, on for "8-BPP"
    bool reduces;                            // what belongs to 8 bits is shown
};
output_face output_face_of(const output_settings* settings);
