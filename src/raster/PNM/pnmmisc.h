// What PNM and its sister formats share: lines as runs, for the formats whose run-coded lines are made of the lines
// that they read, and the other way (PNM, Sun raster, USGS and the map sets, and PCX); seeking; and copies of data.
//
//     bits     16-bit words, the lengths of runs of clear and set bits in turn, of clear ones first and last;
//              a run over 32767 stands as 32767, 0, the rest
//     bytes    pairs of 16-bit words: a value, and how many pixels have it
//     planes   32-bit words, one for each run of equal pixels of at most 255: blue in the low byte, green, red, count
//
// Words are in the machine's order, and `runs` may have any alignment.
#pragma once

#include <cstddef>
#include <cstdint>

struct CFILE;

constexpr size_t RUNS_MORE_ROOM = 512; // bytes asked for when the room has run out

// Each codes `width` pixels into `runs`, which has room for *size bytes. *size becomes the bytes used, or, when the
// room ran out, these and RUNS_MORE_ROOM. The pixels that the runs stand for: fewer than `width` when the room ran out.
uint32_t rzl_runs_from_bits(size_t* size, uint32_t width, const uint8_t* bits, uint8_t* runs);
uint32_t rzl_runs_from_bytes(size_t* size, uint32_t width, const uint8_t* bytes, uint8_t* runs);
uint32_t rzl_runs_from_planes(size_t* size, uint32_t width, const uint8_t* first, const uint8_t* second,
                              const uint8_t* third, uint8_t* runs);

// The body of a Getrleline slot by these coders: reads the next line by Get_line, in one plane or in three as the
// handle's data format has it, into `runs` of `rle_size` bytes, which becomes the bytes used. Room that is too small is
// RZL_RLE_BUFFER_SMALL with what any such line needs in `rle_size`; the next line is still the same then. A resampled
// line is refused with `refusal`. The bytes used, 0 on failure.
int rzl_get_line_as_runs(CFILE* c, int channels, uint8_t* const* buffers, uint32_t refusal, const char* source);

// The body of a Putrleline slot of bilevel lines: turns `rle_size` bytes of runs, as rzl_get_rle_line() gives them,
// into the next line, and puts it with Put_line. Lines of another data format, and calls of other than one plane, are
// refused with `refusal`; runs that are no line, with RZL_BAD_FIELD_VALUE. What Put_line gives, 0 on failure.
int rzl_put_runs_as_line(CFILE* c, int channels, const uint8_t* const* buffers, uint32_t refusal, const char* source);

// Copies what follows from here to the end of one file to another. 0, or 1 with RZL_WRITE_FAILED or RZL_NO_MEMORY on
// both handles.
int rzl_copy_rest(CFILE* from, CFILE* to, const char* source);

// A Seek slot that refuses a line behind the end of the image at once, with RZL_PAST_END; others find out on reading.
int rzl_seek_inside(CFILE* c, int32_t line);

// The test at the head of copydata: the target writable, the source readable. Otherwise false, with the status on both.
bool rzl_copy_check(CFILE* from, CFILE* to, const char* source);
