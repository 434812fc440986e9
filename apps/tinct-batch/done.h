// Whether a picture has been made already, by the same options from the same files: for runs over many frames that were
// broken off. Beside OUT a record ".OUT.done" tells by what it was made, and which OUT that was.
#pragma once

#include "request.h"

// A record, as text: the options, and size and time of each file that goes into the picture.
struct done_record {
    char* text; // owned
    size_t size, room;
    bool failed; // there was no memory; such a record is like no other
};

// What OUT is to be made by and from. `palette` is the path of the palette in use, empty for none.
void done_describe(done_record* record, const apply_request* request, const char* palette);
void done_free(done_record* record);

// True when OUT is there as it was written, and was made by exactly that.
bool done_already(const done_record* record, const char* out);

// Adds the record to the replacement of OUT that is under way, whose new content stands in `fresh`. False when it can't
// be written.
bool done_write(const done_record* record, const char* out, const char* fresh);
