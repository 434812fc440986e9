// A raster file opened for reading by a command: its handle, its shape, and its lines.
#pragma once

#include <cstdint>

#include "common/program.h"
#include "raster/rzl.h"

// What a command's words ask for.
struct source_request {
    const char* path;
    int32_t image;    // from 0
    int32_t overview; // from 0; -1: the base image
};

enum class pixel_kind { bilevel, grey, mapped, color, four, deep };

struct raster_source {
    CFILE* file;
    int32_t width, height, format, orientation;
    int32_t samples, bits;
    int32_t vlt_type, vlt_entries;
    pixel_kind kind; // mapped: one byte a pixel with a colour table; deep: more than 8 bits a sample
};

// Takes one of the words "--image N", "--overview N" or a file name. EXIT_DONE when it was one of them, EXIT_USAGE
// after a message when it is wrong; `taken` tells whether it was any.
int source_take_word(word_list* words, const char* word, source_request* request, bool* taken);

// Opens the file and activates what is asked for. False after a message.
bool source_open(const source_request* request, raster_source* source);
void source_close(raster_source* source);

// Value of a header field, or `fallback` for a field that the file's format does not answer.
int32_t source_field(const raster_source* source, int32_t field, int32_t fallback);

// Bytes of a line buffer that any call for one plane of this file can need.
size_t source_plane_bytes(const raster_source* source);

bool source_is_bottom_up(const raster_source* source);
bool source_is_right_to_left(const raster_source* source);
