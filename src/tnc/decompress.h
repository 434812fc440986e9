// A byte reader over a compressed stream in the format of the Unix compress tool (LZW with codes of 9 to 16 bits): bytes
// 1F 9D, a parameter byte (low five bits the code width limit, 0x80 block mode, which gives code 256 its clear meaning),
// then codes, least significant bit first, in blocks of eight codes of the same width.
//
// The stream begins at the reader's position; the reader moves on with it and is not closed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/files.h"

struct decompress_context;

// Starts a stream. Null for a null reader, without a message; and, with a message, for one that is no such stream or is
// coded with more than 16 bits, or when there is no memory. A width limit below 9, and a stream whose first code can't be
// read or is no byte, give null as well.
decompress_context* decompress_open(file_reader* file);

// The next byte, or -1 at the end of the data, and again from then on. A null context gives -1.
int decompress_getc(decompress_context* context);

// Fills `buffer` with size x count bytes; returns count, or the number of whole items that came.
size_t decompress_read(void* buffer, size_t size, size_t count, decompress_context* context);

// True when the stream was given up because its codes make no sense (a string longer than any that such a stream can
// hold): what came after it is lost.
bool decompress_is_damaged(const decompress_context* context);

// Releases the context; null does nothing.
void decompress_close(decompress_context* context);
