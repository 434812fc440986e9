// JFIF files: the module's private record and what its files offer to each other.
//
// The file is JPEG data. All of its coding is libjpeg's, which jfifcode.cpp hides: it reads and writes through the
// handle's file, a line of pixels at a time, and its errors come out as false with the handle's status. Nothing else
// here calls it.
//
// Lines are decoded as they are asked for. Lines in any other order than the file's have the whole image decoded into
// memory; so have files that say that the picture lies on its side, whose lines are then its columns. A new file is
// coded while its lines come, in the order in which they come.
#pragma once

#include "raster/CORE/module.h"
#include "raster/CORE/onward.h"

// Kinds of pixels in a file.
enum class jfif_colors : uint8_t { unknown, grey, rgb, ycc, yiq, cmyk };

// The quality that new files are coded with.
constexpr int JFIF_QUALITY = 75;
constexpr int32_t JFIF_MOST_PIXELS = 65500; // of a line, and lines: what libjpeg codes

// Exif's words for how the picture lies: what edges the first line and the first column of the file are.
constexpr int JFIF_UPRIGHT = 1;
constexpr int JFIF_MOST_TURN = 8;

struct jfif_coder; // owns libjpeg's records

// What a file says of itself.
struct jfif_header {
    uint32_t width, height;
    int components;
    jfif_colors colors;
    int turn; // Exif's orientation, JFIF_UPRIGHT when none is told
};

// The module's record, in CFILE's `spec`.
struct jfif_spec {
    jfif_coder* coder; // owned; null on a new file without its header
    jfif_colors colors;
    int components;     // bytes of a pixel as it is decoded
    bool sideways;      // lines are columns of the coded image
    int32_t across;     // pixels of a coded line
    int32_t down;       // coded lines
    bool at_start;      // the coder has read the header and no more
    onward_lines lines; // as they are coded
    int32_t orientation;
    int32_t lines_put; // of a new file
    uint8_t* row;      // owned: a line of pixels that is none of the coder's
};

inline jfif_spec* jfif_spec_of(const CFILE* c) {
    return static_cast<jfif_spec*>(c->spec);
}

// ---- jfifcode.cpp: libjpeg. Functions that give bool or a pointer leave the status of false or null in the handle.

// A coder for the handle's file. It is freed by jfif_coder_free(), in any state; null is nothing.
jfif_coder* jfif_coder_new(CFILE* c);
void jfif_coder_free(jfif_coder* coder);

// Reads up to the coded data, from the start of the file.
bool jfif_read_header(jfif_coder* coder, jfif_header* header);

// Begins decoding, behind jfif_read_header(). A file of several scans takes memory for its whole image here.
bool jfif_start_reading(jfif_coder* coder);

// The next line, `components` bytes a pixel; YCC comes as red, green, blue. Lines behind the end of a cut file are what
// libjpeg makes up, and the file counts as damaged.
bool jfif_read_row(jfif_coder* coder, uint8_t* pixels);

// Begins a new file of 1 or 3 components.
bool jfif_start_writing(jfif_coder* coder, int32_t width, int32_t height, int components);
bool jfif_write_row(jfif_coder* coder, const uint8_t* pixels);
bool jfif_finish_writing(jfif_coder* coder);

// Whether so many pixels can be what the file's bytes stand for: asked before memory is taken by the size it claims.
bool jfif_size_is_credible(const jfif_coder* coder);

// ---- jfifopen.cpp --------------------------------------------------------------------------------------------------

// Components and data format that follow from the data format that was set.
void jfif_apply_format(CFILE* c);

// ---- jfifget.cpp, jfifput.cpp --------------------------------------------------------------------------------------

// A line of one channel, or of three. The width, 0 on failure.
int jfif_get_line(CFILE* c, int channels, read_planes buffers);

int jfif_get_pixels(CFILE* c, uint8_t* buffer);

// Writes what stands before the lines. 0 on success.
int jfif_write_header(CFILE* c);

// A line of one channel, or of three in a file of three components. Those behind the last one are passed over.
int jfif_put_line(CFILE* c, int channels, write_planes buffers);

int jfif_put_pixels(CFILE* c, const uint8_t* buffer);

// Finishes a new file: lines that have not come are black.
void jfif_close(CFILE* c);
