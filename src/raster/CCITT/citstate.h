// The state behind the ccitt record of a handle, and what citg3 and citg4 are made of.
#pragma once

#include "raster/CCITT/citfile.h"

struct cit_file {
    // Reading: what `reader` was made for. Null: nothing is loaded.
    cit_reader* reader; // owned
    uint8_t* data;      // owned
    size_t bytes;
    cit_coding coding;
    cit_extent extent;
    int32_t xsize, ysize, strip_lines;
    bool told; // that lines are damaged

    // Writing. Null: no image has been begun.
    cit_writer* writer; // owned
    cit_coding put_coding;
    int64_t put_begin; // file offset
    int32_t put_lines; // lines taken
};

int cit_file_load(CFILE* c, cit_coding coding, cit_extent extent);
cit_get_result cit_file_get_line(CFILE* c, cit_coding coding, cit_extent extent, uint8_t* bits);
int cit_file_put_line(CFILE* c, cit_coding coding, const uint8_t* bits, size_t* written);
