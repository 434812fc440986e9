// The image pack: carries one finished picture from its planes through the output pipeline to a raster file.
//
// A pack is made by imp_alloc(), filled by the caller, written by imp_write() and released by imp_free(). A failing
// call returns a code of imp_code and stores it in imp_error; code 1, stopped, is returned but not stored.
#pragma once

#include <cstdint>

#include "raster/rzl.h"

enum imp_code : int {
    IMP_OK = 0,
    IMP_STOPPED = 1,
    IMP_NO_MEMORY = 2,
    IMP_READ_FAILED = 3,
    IMP_WRITE_FAILED = 4,
    IMP_NULL_PACK = 5,
    IMP_BAD_PACK = 6,
    IMP_BAD_FILE = 7,
    IMP_TRUNCATED = 8,
    IMP_BAD_FLAG = 9,
    IMP_BAD_FORMAT = 10,
    IMP_BAD_STANDARD = 11,
    IMP_CODES = 17,
};

constexpr uint32_t IMP_MAGIC = 0x137F0732;

enum imp_made : uint32_t {
    IMP_MADE_VLT = 1,
    IMP_MADE_INDEX = 2,
    IMP_MADE_PLANES = 4,
};

struct Impack {
    char* file_path;      // path of the file
    char* file_name;      // the part of file_path behind its last backslash or slash
    int32_t standard;     // -1 at first
    int32_t format;       // data format code, -1 at first
    int32_t xsize, ysize; // pixels a line, lines
    int64_t pixels;       // xsize x ysize; planes hold as many bytes
    int32_t vlt_count;    // entries of vlt; above 0 the file gets a colour table
    rzl_vlt_entry* vlt;
    uint8_t* index_plane; // not null: colour indices, or grey levels when vlt_count is 0
    uint8_t* red_plane;   // line after line from the top
    uint8_t* green_plane;
    uint8_t* blue_plane;
    int32_t app_value_1, app_value_2, app_value_3; // header fields 11 to 13
    uint32_t magic;
    uint32_t made; // imp_made bits: what the pipeline made for this pack, and imp_free() releases in any case
};

// Given the pending events that may stop the work; non-zero stops it.
using imp_stop_function = int (*)(uint32_t events);
// Takes a progress message; `level` is the mask bit's value.
using imp_log_function = void (*)(int level, const char* text);

// Message mask of the pipeline's progress messages.
constexpr uint32_t IMP_MESSAGE_BANNER = 2;
constexpr uint32_t IMP_MESSAGE_LINES = 4;
constexpr uint32_t IMP_MESSAGE_FLUSH = 8;
constexpr uint32_t IMP_MESSAGE_TABLE = 16;  // the banner of the making of a colour table
constexpr uint32_t IMP_MESSAGE_STAGES = 32; // its stages

// Tells which events are pending, for the stop arguments. Installed by the display layer; without one no event is ever
// pending.
using imp_pending_events = uint32_t (*)();
void imp_set_pending_events(imp_pending_events pending);

extern int imp_verbose;            // non-zero: failures are also logged
extern int imp_error;              // code of the last failure
extern uint32_t imp_raster_status; // why imp_write() gave IMP_WRITE_FAILED or IMP_TRUNCATED: the library's word, or 0
extern int imp_planes_shared;      // non-zero: planes, colour table and path belong to the caller and are never freed

extern const char* const imp_error_text[IMP_CODES]; // the words for the user, by code

int imp_alloc(Impack** pack);
int imp_free(Impack** pack);

// Non-zero when the pipeline may write the pair of standard and data format.
int imp_format_ok(int32_t standard, int32_t format);

// Non-zero when there is any format of the standard that the pipeline may write.
int imp_standard_ok(int32_t standard);

constexpr int32_t IMP_COLORS_MAX = 256; // that pixels of 8 bits can number

// Colours that an 8-bit picture of the standard can have: IMP_COLORS_MAX, or fewer where a colour table has no more
// entries. Pixels of such a standard are never grey levels, only numbers of entries.
int32_t imp_most_colors(int32_t standard);

// Writes the pack to `file` as its standard and format. `compression` is for header field 501. `stop_interval` and
// `msg_interval` count lines. A failure leaves the process in the directory where it was; a partly written file stays,
// so a caller that must not leave one writes under another name first.
int imp_write(Impack* pack, const char* file, int32_t compression, uint32_t stop_mask, int32_t stop_interval,
              imp_stop_function stop_fn, uint32_t msg_mask, int32_t msg_interval, imp_log_function log_fn);

// The format code for a depth of 8 or 24 bits.
int imp_format_code(int32_t depth, int32_t compressed);

// Non-zero for a data format of one byte a pixel.
int imp_format_is_8_bit(int32_t format);

// Makes a request consistent: depth follows the format and what the standard can hold, `colors` is 2 to
// imp_most_colors() for 8 bits, and the format is the one for depth and compression. Returns 0, or -1 for an unknown
// standard with nothing changed but the depth.
int imp_normalise(int32_t standard, int32_t* format, int32_t* compressed, int32_t* depth, int32_t* gray,
                  int32_t* colors);

constexpr int32_t IMP_COLOR_GREY = 2; // color_mode of imp_convert(): grey levels

// Turns the pack into the form that a standard and data format need: gamma on three planes, grey levels or a
// colour table from three planes, or three planes from one. `correct` non-zero lets the format and the number of
// colours be put right. `dither` 0 is error diffusion, 1 nearest colour. `colors` is 2 to imp_most_colors() for an
// 8-bit target. A gamma of 1 changes nothing. On failure the pack keeps its standard and format, and a pack of three
// planes its planes.
int imp_convert(Impack* pack, int32_t standard, int32_t format, int32_t color_mode, int32_t correct, int32_t dither,
                int32_t colors, double gamma, uint32_t stop_mask, int32_t stop_interval, imp_stop_function stop_fn,
                uint32_t msg_mask, int32_t msg_interval, imp_log_function log_fn);

// Picks a table of at most `colors` (1 to 256) entries for the three planes of the pack and maps each pixel to one of
// them. The planes stay. On failure or a stop the pack is as it was.
int imp_make_vlt(Impack* pack, int32_t dither, int32_t colors, double gamma, uint32_t stop_mask, int32_t stop_interval,
                 imp_stop_function stop_fn, uint32_t msg_mask, int32_t msg_interval, imp_log_function log_fn);

// What a save is to produce.
struct output_settings {
    int32_t standard; // one that imp_standard_ok() takes
    int32_t format;   // 2, 27, 28 or 29
    uint32_t flags;   // output_flags
    int32_t colors;   // 2 to imp_most_colors(), of an 8-bit result
    double gamma;
};

enum output_flags : uint32_t {
    OUTPUT_GREY = 1,    // clear: colour
    OUTPUT_CLOSEST = 2, // nearest colours; clear: dithering
};

// Progress and stops of a save; all zero for none. See imp_write().
struct output_watch {
    uint32_t stop_mask;
    int32_t stop_interval;
    imp_stop_function stop_fn;
    uint32_t msg_mask;
    int32_t msg_interval;
    imp_log_function log_fn;
};

// Saves three planes of width x height bytes to `path`. The planes stay the caller's; for 24 bits a gamma other than 1
// changes them in place, unless they go out as they stand (standard 0, format 27). `watch` may be null.
int imp_save_planes(const char* path, int32_t width, int32_t height, uint8_t* red, uint8_t* green, uint8_t* blue,
                    const output_settings* settings, const output_watch* watch);
