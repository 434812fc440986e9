// Form files: their numbers, and reading one into records.
//
// All numbers are little-endian, nothing is padded, and no record tells its length: a file can only be read in order.
// What reads is frmread.cpp (head, lists of gadgets, what all types have) and frmtypes.cpp (the types' own parts); what
// writes is the program frmc, data-tools/forms.
#pragma once

#include <cstddef>
#include <cstdint>

#include "forms/gadget.h"

struct FI_form;

constexpr int FRM_OLDEST = 3; // versions of files
constexpr int FRM_NEWEST = 5;
constexpr int FRM_LONG_LABELS = 5;     // from this version on labels are 32-bit words
constexpr char FRM_MAGIC[] = "FIform"; // at offset 2
constexpr int FRM_NO_LABEL = 14648;    // stands for -1 as a link, and in version 3 as the start of the sequence
constexpr int FRM_END = -1;            // type that ends a list of gadgets, columns, or stands for no list
constexpr int FRM_DEPTH = 64;          // of groups, lists and columns in each other
constexpr int FRM_OLD_SLIDER = 5;      // sliders of earlier gadget versions have text in FI_BLACK

// Tags in front of a gadget's record, from version 4 on. The last decimal digit of a tag tells the size of its data: 0
// to 2 eight bytes, 3 to 5 four, 6 and 7 two, 8 and 9 one.
constexpr int FRM_TAG_END = 0;
constexpr int FRM_TAG_INCREMENT = 1;
constexpr int FRM_TAG_REVERSED = 8; // has no data, other than its digit says
constexpr int FRM_TAG_JUSTIFICATION = 9;
constexpr int FRM_TAG_ERASE_COLOR = 18;

// Reads a file in memory into a form that has no gadgets yet: its head, strings and gadgets, as the file has them; rows
// of fields are made from their default rows. Nothing is activated. FI_status; what has been read up to a failure is
// the form's and goes with it.
//   FI_NOT_A_FORM_FILE, FI_FORM_VERSION_TOO_OLD, FI_FORM_VERSION_TOO_NEW   the head
//   FI_FORM_FILE_READ_ERROR  it is cut, a string or count is longer than what is left or negative, a string has a zero
//   FI_INVALID_GADGET_TYPE   a type that doesn't exist, or a list or column that is no field
//   FI_LABEL_IN_USE          a label that stands twice, is 0, or is negative and not that of a list or column
//   FI_INVALID_ARGUMENT      a number that is none or too large for its record, or more than FRM_DEPTH levels
//   FI_NO_MEMORY
int frm_read(const uint8_t* bytes, size_t size, FI_form* form);

// A form with the defaults of all its fields that is in no table and has no gadgets; null without memory.
FI_form* fi_new_form_record();
// Frees a form that has no window and its gadgets. For one that FIf_new() made call FIf_delete().
void fi_free_form_record(FI_form* form);
