// What the two files of the form reader share.
#pragma once

#include "forms/frm.h"
#include "forms/ops.h"
#include "support/bytes.h"

// Reading goes on after a failure, with zeros, and ends at the next check.
struct frm_reader {
    byte_cursor in;
    int version;
    int status; // the first failure
    FI_form* form;
    int depth;       // groups, lists and columns that are open
    bool menu;       // the present gadget's menu flag
    bool reversed;   // its tag FRM_TAG_REVERSED
    int32_t* labels; // owned: those that have been read, a hash table with 0 for free places
    size_t label_room, label_count;
};

inline bool frm_good(const frm_reader* r) {
    return r->status == 0;
}
// Notes a failure, unless there has been one. False.
bool frm_fail(frm_reader* r, int status);

uint8_t frm_u8(frm_reader* r);
int frm_s8(frm_reader* r); // sign-extended
uint16_t frm_u16(frm_reader* r);
int16_t frm_s16(frm_reader* r);
uint32_t frm_u32(frm_reader* r);
uint8_t frm_flag(frm_reader* r); // a byte, as 0 or 1
int32_t frm_label(frm_reader* r);
double frm_f64(frm_reader* r); // a finite number
float frm_f32(frm_reader* r);  // 8 bytes in the file, for a 32-bit record
void frm_string(frm_reader* r, char** place);
int frm_count(frm_reader* r, size_t item); // items of that many bytes at least; 0 at a failure
void frm_skip(frm_reader* r, size_t bytes);

// Where an entry stands, and so what it may be.
enum class frm_place : uint8_t { root, group, list, column };
// Reads type, version, label and record of an entry. `holder`: the group, or the field of a list. False at the end of
// the list, or at a failure.
bool frm_entry(frm_reader* r, frm_place place, FI_gadget* holder, FI_gadget** result);

// ---- frmtypes.cpp: the part behind the common record, by type
void frm_type_part(frm_reader* r, FI_gadget* g);
