// What an apply command asks for: the surfaces to set, and how the picture is to be written.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/program.h"
#include "output/impack.h"
#include "platform/files.h"
#include "surface/recipe.h"

struct apply_request {
    const char* tnc;
    const char* out;
    const char* palette; // null: the product's own
    const char* type;    // null: by the extension of `out`
    recipe sets;         // owned: of --set and --sets, in their order
    bool has_recipe;     // --sets was given
    int64_t bits;        // 0: not given
    int64_t colors;      // 0: not given
    double gamma;
    const char* frames; // numbers of frames, whose names `tnc` and `out` are patterns for; null: one picture
    bool uncompressed, closest, grey, force;
    bool list;      // the commands of frames are printed, not done
    bool skip_done; // what has been made already is left as it is
};

// Reads the words of the command, and the recipes that they name. EXIT_DONE, EXIT_USAGE, or EXIT_FAILED for a recipe
// that can't be read, each after a message.
int request_parse(word_list* words, apply_request* request);
void request_free(apply_request* request);

// Turns the output options into a standard and data format. EXIT_DONE; EXIT_USAGE for a type that is unknown or
// contradicts the options; EXIT_FAILED for what this build can't write, each after a message.
int request_output(const apply_request* request, output_settings* settings);
