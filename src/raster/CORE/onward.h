// Lines of a decoder that only goes on: files whose coding has no place to enter it at but its start.
//
// Lines that are asked for in order are decoded one by one into one row. A line that lies behind, but for the first,
// has the whole image kept from then on, so that each line is decoded once however the lines are asked for; going back
// to the first line begins anew. A format that can have its lines only all together says so.
#pragma once

#include <cstddef>
#include <cstdint>

struct CFILE;

// The decoder. Functions that give false leave the status in the handle.
struct onward_decoder {
    bool (*begin)(CFILE* c);                    // goes to the first line, wherever it stands
    bool (*read)(CFILE* c, uint8_t* row);       // decodes the line that comes next
    bool (*read_all)(CFILE* c, uint8_t* image); // behind begin(): all lines, one behind the other
    bool (*can_be)(CFILE* c); // whether the file can hold the image that it claims: asked before memory is taken for it
};

// The lines of a handle. All zero but for `row_bytes` and `rows` is the state of a decoder that has not begun.
struct onward_lines {
    size_t row_bytes;
    int32_t rows;
    bool keep;          // the whole image is kept
    bool together;      // and is decoded by read_all()
    bool begun;         // the decoder stands at `next`
    int32_t next;       // line that it gives next
    bool has_row;       // `row` holds the line before `next`
    int32_t image_rows; // lines that `image` holds
    uint8_t* row;       // owned
    uint8_t* image;     // owned: all rows, when they are kept
};

// The line as it is decoded; good until the next call. Null with the status set.
const uint8_t* onward_row(CFILE* c, onward_lines* lines, const onward_decoder* decoder, int32_t line);

// The body of Getinlv for a decoder whose rows are red, green, blue of each pixel: a line as it is, and by way of the
// planes where it is not asked for so. Pixels, 0 failure.
int onward_get_pixels(CFILE* c, onward_lines* lines, const onward_decoder* decoder, uint8_t* buffer);

// Frees what the lines own.
void onward_drop(onward_lines* lines);
