// Checks of a raster file that the programs share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raster/rzl.h"

constexpr int32_t STANDARD_LIMIT = 64; // ids of standards end well below

// What stands behind the last "." of a path's last component; an empty text when there is none.
const char* raster_extension(const char* path);

// The standard of a name as "TIFF", in any case of letters, or -1.
int32_t raster_standard_of_name(const char* name);

// A note when files of the standard show colours as levels of grey.
void raster_tell_grey(int32_t standard);

// Reads every line of the active image, from the current one on. False after a message when one is not there, or the
// file is damaged: this is how a file that was cut is told from a whole one. The lines are read and not passed over,
// since only their pixels show whether they are there.
bool raster_is_whole(CFILE* file, const char* path);

// Whether a line of the data format is bits, and the bytes that a line of so many of them takes.
bool raster_is_bilevel(int64_t format);
size_t raster_bit_line_bytes(int32_t width);

// The reason of a failure as a sentence: the status's own, and for a feature that is not supported, or a value that a
// field can't have, which one it is. The text is valid until the next call.
const char* raster_reason(uint32_t status);

// The same for what the last operation on a file left.
const char* raster_reason_of(CFILE* file);

// The message that a line can't be read, with the reason that the handle holds. Gives EXIT_FAILED.
int raster_line_failed(CFILE* file, const char* path, int32_t line);

// Looks at whether the library had to make something up, or the file claims more than it can hold. False after a
// message.
bool raster_is_undamaged(CFILE* file, const char* path);
