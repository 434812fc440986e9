// Lines of a native file: the line slots that the table of the format names, and what positioning needs of them.
//
// An ordinary file holds its lines one behind the other. A scannable file cuts each line into pieces, and before each
// piece stands a line header of four words: mark, words that follow, line number, pixel offset. The reader of such a
// file holds the header of the next piece in `line_header` of the module's record, already taken from the file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "raster/KRVN/krv.h"

// First word of every line header.
constexpr uint16_t KRV_LINE_MARK = 0x5900;

// Line number of the held header once the file has no further piece; `lines_ended` of the record tells it for certain.
constexpr uint16_t KRV_NO_MORE_LINES = 65535;

// Bytes of a line header in the file.
constexpr size_t KRV_LINE_HEADER_SIZE = 8;

// ---- slots ----------------------------------------------------------------------------------------------------------

// Getline and Putline: 1, 3 or 4 channels (any other number: RZL_UNSUP_KRVN), then the generic bodies. Putline refuses
// an image that is not the last of its file with RZL_NO_SUCH_IMAGE.
int krv_getline(CFILE* c, int channels, read_planes buffers);
int krv_putline(CFILE* c, int channels, write_planes buffers);

// Get_line and Put_line: decode the next line into, or code it from, planes. Get_line moves `line` on by one, also when
// it fails; Put_line leaves `line` alone. Pixels, 0 on failure.
int krv_get_line(CFILE* c, int channels, read_planes buffers);
int krv_put_line(CFILE* c, int channels, write_planes buffers);

// The same with native 16-bit samples in one channel. For data formats 3, 10 and 26; others: RZL_UNSUP_KRVN.
int krv_getline16(CFILE* c, int channels, read_planes buffers);
int krv_get_line16(CFILE* c, int channels, read_planes buffers);
int krv_putline16(CFILE* c, int channels, write_planes buffers);
int krv_put_line16(CFILE* c, int channels, write_planes buffers);

// Interleaved lines.
int krv_getinlv(CFILE* c, uint8_t* buffer);
int krv_putinlv(CFILE* c, const uint8_t* buffer);

// Lines in their stored coding. `rle_size` of the handle is the size of the buffer on entry and the size used, or
// needed, on return. Bytes, 0 on failure.
int krv_getrleline(CFILE* c, int channels, read_planes buffers);
int krv_getrlestrip(CFILE* c, int channels, read_planes buffers);
int krv_putrleline(CFILE* c, int channels, write_planes buffers);

// ---- for positioning ------------------------------------------------------------------------------------------------

// Moves forward to `target`, a line at or behind the current one, without delivering anything: afterwards `line` is
// `target`. Offsets of the lines passed go into `line_offsets` when that exists. 1 on success, 0 with the status set.
int krv_skip_line(CFILE* c, int32_t target);

// Takes the line header at the file position into `line_header`. `first`: it is the first of the image, and decides
// whether the file counts its lines from 0. With no whole header left the held line number becomes
// KRV_NO_MORE_LINES and the result is false; that is no failure of the caller's operation.
bool krv_read_line_header(CFILE* c, bool first);

// Bytes of one stored line where all lines of the format have one size in an ordinary file (1 to 8, 28 with its pad
// byte, 69); 0 where they have not.
int64_t krv_fixed_line_size(const CFILE* c);

// The module's code buffer, KRV_CODE_BUFFER_SIZE bytes, made at first use. Null without memory, with the status set.
uint8_t* krv_code_buffer(CFILE* c);
