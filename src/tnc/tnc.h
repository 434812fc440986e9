// The rendered image in memory: what each surface contributed to each pixel of a picture.
//
// A surface is called a pen. For each pen and scan line the image holds a chain of packed lines (`pline`), one per
// layer: a layer exists because a surface can stand more than once at a column. tnc_read() brings a .tnc file in; the
// walks give each pixel of a pen back; pens_at_pixel() tells which surfaces stand at a pixel.
//
// Columns x count from 0 at the left, scan lines y from 0 at the top. Nothing here checks x against the width of the
// picture: whoever writes into rows of a picture does. An image does not change after it has been read.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr int PEN_COUNT = 240; // pen numbers run from 0 to 239

// One packed line of one layer. The code is described in penline.h.
struct pline {
    pline* next;           // next layer of the same pen and scan line, or null
    uint32_t length : 31;  // bytes of code, the terminator included
    uint32_t in_store : 1; // the line stands in memory that it shares with others: see pline.h
    uint8_t* code;         // `length` bytes, behind the line or in memory that the image owns
};

// One surface. A single allocation: `lines` follows the record.
struct compressed_pen {
    int32_t pen;
    int32_t has_uv;     // 1: the samples carry u and v, and a pattern can be placed on the surface
    int32_t line_count; // as in the image
    pline* lines[];     // line_count chains, null where the pen has no pixel; owned
};

struct tnc_image {
    char* name;                      // owned: text of the last header record of kind 1, or null
    int32_t line_count;              // scan lines; given by the caller, who takes it from the companion raster
    int32_t version;                 // the file's version byte, 0 to 3
    bool complete;                   // false: the reading ended, or could not go on, inside of a record, or was stopped
    bool reason_told;                // false: no message has told why it is not complete
    compressed_pen* pens[PEN_COUNT]; // owned; null for a pen that the file never defined
    struct pline_chunk* chunks;      // owned; where the lines stand that came packed, null for none
};

// How much of a picture a file can stand for. A few bytes of a compressed stream can say the same sample over and over,
// and a packed line holds 64 samples a byte. So an image holds at most SAMPLES_A_PIXEL samples a pixel on the average,
// all surfaces and layers together, and besides as many as the file has records for; a small picture SAMPLES_ALWAYS.
// Beyond that the reading stops, with a message.
constexpr int64_t SAMPLES_A_PIXEL = 16;
constexpr int64_t SAMPLES_ALWAYS = 1 << 16;
constexpr int64_t SAMPLE_RECORD_BYTES = 4; // the shortest record of a sample

constexpr int32_t COLUMNS_UNKNOWN = 65536;

// Reads a .tnc file as `line_count` scan lines of `columns` pixels. Null on failure, after a message. A file that can't
// be opened, is no .tnc file, or holds samples of an unknown pen stops the program with status 1; where a test replaces
// that stop, null is given. A file may end between two records.
//
// Damage that leaves the rest usable is passed over. `complete` tells of a file that ended early or held too much.
// Packed lines without an end, cut inside an item, without a u,v code, of undefined pens or past the last line, and
// what there was no memory for, are told by one message of each kind with their number.
tnc_image* tnc_read(const char* path, int32_t line_count, int32_t columns = COLUMNS_UNKNOWN);

// The same for a program that goes on: null after the message where tnc_read() would stop it.
tnc_image* tnc_try_read(const char* path, int32_t line_count, int32_t columns = COLUMNS_UNKNOWN);

// Releases an image and all that hangs from it. Null does nothing.
void tnc_free(tnc_image* image);

// One pixel of a pen: shade 0 to 255 each, u and v 0 to 65535 (0 for a pen without u,v).
using pixel_callback = void (*)(void* context, int32_t x, int32_t y, int32_t red, int32_t green, int32_t blue,
                                int32_t u, int32_t v);

// One run of pixels, `count` of them from column x on. A non-zero result stops the walk.
using run_callback = int (*)(void* context, int32_t x, int32_t y, int32_t count);

// Calls back once per pixel of one line, in rising x.
void pline_decode(const pline* line, int32_t y, void* context, pixel_callback callback);

// Calls back once per pixel of a pen: rising y, layers in chain order, rising x. Does nothing for a null image or
// callback, and for a pen that is out of range or not defined.
void pen_for_each_pixel(const tnc_image* image, int pen, void* context, pixel_callback callback);

// The same walk by runs, without decoding the pixels. Returns 1 when the callback stopped it, else 0.
int pen_for_each_run(const tnc_image* image, int pen, void* context, run_callback callback);

int pen_defined(const tnc_image* image, int pen); // 1 when the image has that pen
int pen_has_uv(const tnc_image* image, int pen);  // 1 when it has, with u and v

// 1 and the shade (0 to 255 each) of the pixel at column x, or 0 when the line has none there.
int pline_shade_at(const pline* line, int32_t x, int32_t* red, int32_t* green, int32_t* blue);

constexpr int PENS_AT_PIXEL_MAX = 20;

// Fills `pens` with up to `max` (at most PENS_AT_PIXEL_MAX) pens at the pixel, the strongest shade first, and returns
// how many there are.
int pens_at_pixel(const tnc_image* image, int32_t x, int32_t y, int32_t* pens, int max);

// Totals of a pen over its lines, for reports. The box is inclusive; an empty pen has x1 > x2.
struct pen_summary {
    int64_t samples;        // pixels, layers counted separately
    int64_t runs;           // pixel runs of the byte code
    int64_t plines;         // packed lines
    int64_t bytes;          // bytes of code, terminators included
    int32_t x1, y1, x2, y2; // bounding box
};

// False for a pen that is not defined.
bool pen_summarise(const tnc_image* image, int pen, pen_summary* summary);
