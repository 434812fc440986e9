// Header fields: how the value of each is made up, and reading and writing such a value.
//
// A value travels through a pointer whose alignment and content nobody knows. The core turns it into a sound one before
// a module sees it: aligned, of the field's size, and on getting filled with the answer that the handle gives by
// itself. So a module that answers a field writes one value, and says nothing of the others:
//
//     int gif_get_hdr_data(CFILE* c, int32_t field, void* value) {
//         if (field == RZL_FIELD_COMPRESSION) give_int(value, 1);
//         return 0;
//     }
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

struct CFILE;

enum class field_kind : uint8_t {
    integer, // int32_t
    number,  // doubles
    text,    // characters up to a zero byte, which may be missing when the text fills its size
    bytes,   // bytes without meaning to the core
    record   // a structure or an array of the caller, handed on as it is
};

struct field_type {
    int32_t field;
    field_kind kind;
    uint16_t size; // bytes of the whole value; of a record 0
};

// The largest `size` of a field.
constexpr size_t FIELD_MOST_BYTES = 512;

// Integers that a field can be set to.
struct field_limit {
    int32_t field, low, high;
};

// How the field's value is made up; an integer unless the core's or the module's table says otherwise.
field_type field_type_of(const CFILE* c, int32_t field);

// Values through a pointer of any alignment. An integer that 32 bits do not hold is given as the nearest that they do.
void give_int(void* value, int64_t number);
int32_t int_of(const void* value);
void give_number(void* value, double number);
double number_of(const void* value);

// A text into a field of `size` bytes: the rest is zero, and the last byte always.
void give_text(void* value, size_t size, const char* text);

// The answer that the handle gives to a field by itself, into `value`: the identity matrix, top-down lines, square
// pixels, one plane, what the tile record says, a table of 256 entries where there is one, and otherwise zeros.
void give_default(const CFILE* c, int32_t field, void* value);

// For Get_hdr_data of a format that names all of its fields: one that is not in the list keeps the handle's answer, and
// the status tells, RZL_BAD_FIELD_ID.
void note_unknown_field(CFILE* c, std::span<const int32_t> known, int32_t field, const char* source);

// Asks the handle's module for a field, or hands it one, as described above. 0, or 1 with the status set.
int get_module_field(CFILE* c, int32_t field, void* value);
int set_module_field(CFILE* c, int32_t field, const void* value);

// What rzl_get_hdr_data() and rzl_set_hdr_data() do inside their lock: info.cpp. 0, or 1 with the status set.
int get_field(CFILE* c, int32_t field, void* value);
int set_field(CFILE* c, int32_t field, const void* value);
