// PNM files (portable anymaps): the module's private record and what its files offer to each other.
//
// The file: 'P' and the digit of its kind, width, height, and where it has no bits the greatest value, as words of text
// with comments from '#' to the end of a line among them; one character behind the last word; the lines. Lines of a
// text kind are numbers, or of bits digits, which may stand in lines of text of any length. Raw ones are bits packed
// most significant first, or a byte a sample, or two, the high one first, when the greatest value is above 255. A set
// bit of the file is black.
#pragma once

#include "raster/CORE/module.h"

constexpr int32_t PNM_TEXT_BITS = 1;
constexpr int32_t PNM_TEXT_GREY = 2;
constexpr int32_t PNM_TEXT_COLOR = 3;
constexpr int32_t PNM_RAW_BITS = 4;
constexpr int32_t PNM_RAW_GREY = 5;
constexpr int32_t PNM_RAW_COLOR = 6;
constexpr int32_t PNM_RAW_FROM = 3; // how far a raw kind is from its text kind
constexpr int32_t PNM_MOST_VALUE = 65535;
constexpr int32_t PNM_TEXT = 7; // field 501 of a text kind

// The module's record, in CFILE's `spec`.
struct pnm_spec {
    int32_t kind;        // 1 to 6; 0: a new file whose samples no kind has
    int32_t max_value;   // that stands for white, 1 to PNM_MOST_VALUE
    int64_t data_offset; // of the first line
    int32_t file_line;   // lines of one size: the line that the file stands at, -1 when it is not known
    uint8_t* row;        // owned: a line as the file has it, and behind it room for a plane of one
    uint8_t scale[256];  // the byte of each stored value up to 255
};

inline pnm_spec* pnm_spec_of(const CFILE* c) {
    return static_cast<pnm_spec*>(c->spec);
}
inline bool pnm_is_text(const pnm_spec* spec) {
    return spec->kind <= PNM_TEXT_COLOR;
}
inline bool pnm_is_bits(const pnm_spec* spec) {
    return spec->kind == PNM_TEXT_BITS || spec->kind == PNM_RAW_BITS;
}
inline size_t pnm_samples(const pnm_spec* spec) {
    return spec->kind == PNM_TEXT_COLOR || spec->kind == PNM_RAW_COLOR ? 3 : 1;
}

// Bytes of a sample in a raw line.
inline size_t pnm_step(const pnm_spec* spec) {
    return spec->max_value > 255 ? 2 : 1;
}

// Samples, bits and data format of the handle by its kind.
void pnm_take_kind(CFILE* c);

// Whether lines are found by their number: raw ones, and those of a new file.
inline bool pnm_has_places(const CFILE* c) {
    return !pnm_is_text(pnm_spec_of(c)) || c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
}

// Bytes of a line that is found by its number.
int64_t pnm_line_bytes(const CFILE* c);

// Brings the file to the line that comes next, where lines are found by their number. False when it can't be.
bool pnm_go_to_line(CFILE* c);

// Makes `row` for lines of the handle. False with the status: no memory, or, while reading, fewer bytes in the file
// than one line.
bool pnm_need_row(CFILE* c, bool reading);

// ---- pnmgetli.cpp --------------------------------------------------------------------------------------------------

int pnm_get_line(CFILE* c, int channels, read_planes buffers);

// Fills `scale` for the greatest value.
void pnm_make_scale(pnm_spec* spec);

// ---- pnmtext.cpp ---------------------------------------------------------------------------------------------------

// The first character that is neither blank nor in a comment, not taken, or -1.
int pnm_skip_blanks(text_reader* t);

// The next number of a text, up to `most`, which also stands for any larger one. False when something else stands
// there.
bool pnm_next_number(CFILE* c, uint32_t most, uint32_t* value);

// The next `count` numbers of a text as samples of a raw line: `step` bytes each, the most that these hold for any
// larger number. How many were taken; fewer when something else stands there.
size_t pnm_take_numbers(text_reader* t, size_t step, size_t count, uint8_t* row);

// ---- pnmputli.cpp --------------------------------------------------------------------------------------------------

int pnm_write_header(CFILE* c);

// A line of one channel, or of three in a file of colours, whose samples are stored as they are given, none above the
// greatest value. The width, 0 on failure.
int pnm_putline(CFILE* c, int channels, write_planes buffers);
int pnm_put_line(CFILE* c, int channels, write_planes buffers);
