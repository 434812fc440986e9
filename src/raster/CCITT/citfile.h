// The coded image of a file: a group 3 or group 4 image that stands in one piece in a CFILE, line by line.
//
// Reading takes the coded bytes into memory at the first line and decodes as lines are asked for; with strip lines set
// in the ccitt record, the decoder can come back to the first line of each such block, otherwise to places of its own
// choice. Writing gathers the coded bytes and puts them into the file behind the last line. All state is owned by the
// ccitt record of the handle, which must be there.
#pragma once

#include "raster/CCITT/ccitt.h"
#include "raster/CORE/cfile.h"

// Where the coded bytes stand in the file: from `begin` up to `end`, file offsets.
struct cit_extent {
    int64_t begin, end;
};

// Make the coded bytes ready for reading, unless they are: image size, coding and place are those of the last time.
// The file position is kept. 0 on success, else 1 with RZL_NO_MEMORY, whatever the cause.
//
// Group 3 data has bit 0 first. Group 4 data has bit 7 first, but with FLAG_NATIVE, bit 16 of the flags, bit 0.
int cit_g3_load(CFILE* c, cit_extent extent);
int cit_g4_load(CFILE* c, cit_extent extent);

// Give line `c->line` as bits, loading first. Group 3 lines are one-dimensional. CIT_GET_DAMAGED: the line is damaged
// or missing; it is delivered white from where its code ends, and the handle is marked as damaged. CIT_GET_FAILED: the
// status is set; also RZL_UNSUPPORTED for a group 3 line beyond the first block when strip lines are set.
enum cit_get_result { CIT_GET_GOOD, CIT_GET_DAMAGED, CIT_GET_FAILED };
cit_get_result cit_g3_get_line(CFILE* c, cit_extent extent, uint8_t* bits);
cit_get_result cit_g4_get_line(CFILE* c, cit_extent extent, uint8_t* bits);

// The lines of block number `c->line` (all lines when no strip lines are set) of a group 4 image as runs, one line
// behind the other, each of an odd count, in a buffer of `rle_size` bytes. The bytes used, also in `rle_size`; 0 on
// failure with the status: RZL_RLE_BUFFER_SMALL with a size to try in `rle_size`.
int cit_g4_get_strip(CFILE* c, cit_extent extent, uint8_t* runs);

// Take line `c->line` as bits (null: white). Lines come in order, from line 0 (else RZL_LINES_OUT_OF_ORDER); the last
// one writes the image at the file position of the first. *written is the bytes that were written, 0 before the last
// line. 0 on success, else 1 with RZL_NO_MEMORY, RZL_WRITE_FAILED.
int cit_g3_put_line(CFILE* c, const uint8_t* bits, size_t* written);
int cit_g4_put_line(CFILE* c, const uint8_t* bits, size_t* written);

// Writes the lines of an image whose last one has not come. *written and result as above; nothing without lines.
int cit_file_finish(CFILE* c, size_t* written);

// Frees what the record owns, and with it lines that were not written; null does nothing.
void cit_file_release(ccitt_record* record);

// ---- lines as runs, of formats that store them otherwise: citruns.cpp -----------------------------------------------

// Puts the runs of a line of the handle's width, which is given as bits, into the caller's buffer of `rle_size` bytes:
// an odd count of them. The bytes used, also in `rle_size`; 0 with the status: RZL_RLE_BUFFER_SMALL with a size to try,
// or RZL_NO_MEMORY. A null buffer takes none.
int cit_give_runs(CFILE* c, const uint8_t* words, uint8_t* out, const char* source);

// The same for the next line of a bilevel image, which is read by rzl_getline_generic(). After a failure to give its
// runs the next line is still the same. `refusal` is the status while lines are resampled.
int cit_get_runs(CFILE* c, uint8_t* out, uint32_t refusal, const char* source);

// Turns the caller's runs, `rle_size` bytes of them, into the bits of a line of the handle's width. False with the
// status: RZL_BAD_FIELD_VALUE for runs that do not add up to the width, or RZL_NO_MEMORY.
bool cit_take_runs(CFILE* c, const uint8_t* coding, uint8_t* words, const char* source);
