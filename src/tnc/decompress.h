// A byte reader over a compressed stream in the format of the Unix compress tool (LZW with codes of 9 to 16 bits):
// bytes 1F 9D, a parameter byte (low five bits the code width limit, 0x80 block mode, which gives code 256 its clear
// meaning), then codes, least significant bit first, in blocks of eight codes of the same width.
//
// The stream begins at the reader's position; the reader moves on with it and is not closed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/files.h"

// A string of the code table in one word: its last bytes, up to where its length is a multiple of four; the code of the
// string before them; its length. So a string is laid down four bytes at a step, and its length is known before the
// first.
//
//   bits 0 to 31   the last 1 to 4 bytes, first one lowest
//   bits 32 to 47  the code of the string without them; of no meaning when they are all
//   bits 48 to 63  bytes of the whole string
using decompress_string = uint64_t;

constexpr size_t DECOMPRESS_BLOCK_SIZE = 20; // a block of eight codes of 16 bits, and what a 32-bit load may overhang

struct decompress_context {
    const uint8_t* next;        // decoded bytes that wait to be handed out ...
    const uint8_t* end;         // ... and one past the last
    file_reader* file;          // the source, not owned
    int32_t next_code;          // next table entry to fill
    int32_t code_bits;          // current code width, 9 to max_bits
    int32_t max_bits;           // code width limit of the stream, 9 to 16
    int32_t max_code;           // when next_code is past this the width grows
    int32_t code_limit;         // one past the largest code that may exist
    int32_t bit_offset;         // position of the next code in the block, in bits
    int32_t bit_limit;          // position at or beyond which the block holds no whole code
    int32_t old_code;           // the previous code
    int32_t longest;            // longest string that is taken, in bytes
    uint8_t last_byte;          // first byte of the string of the previous code
    bool block_mode;            // code 256 clears the table
    bool clear_pending;         // a clear code was met: the next block starts at 9 bits
    bool ended;                 // no more codes
    bool damaged;               // ... because one made no sense
    decompress_string* strings; // owned; code_limit of them
    uint8_t* out;               // owned; what next and end point into
    uint8_t block[DECOMPRESS_BLOCK_SIZE];
};

// Starts a stream. Null for a null reader, without a message; and, with a message, for one that is no such stream or is
// coded with more than 16 bits, or when there is no memory. A width limit below 9, and a stream whose first code can't
// be read or is no byte, give null as well.
decompress_context* decompress_open(file_reader* file);

// Decodes more bytes. False at the end of the data.
bool decompress_fill(decompress_context* context);

// The next byte, or -1 at the end of the data, and again from then on. A null context gives -1.
inline int decompress_getc(decompress_context* context) {
    if (context == nullptr || (context->next == context->end && !decompress_fill(context))) return -1;
    return *context->next++;
}

// Fills `buffer` with size x count bytes; returns count, or the number of whole items that came.
size_t decompress_read(void* buffer, size_t size, size_t count, decompress_context* context);

// True when all bytes before the damage were handed out and the stream was given up there because its codes make no
// sense: a string of more than 8000 bytes, or a code that was never defined.
bool decompress_is_damaged(const decompress_context* context);

// Releases the context; null does nothing.
void decompress_close(decompress_context* context);
