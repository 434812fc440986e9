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
};

// Given the pending events that may stop the work; non-zero stops it.
using imp_stop_function = int (*)(uint32_t events);
// Takes a progress message; `level` is the mask bit's value.
using imp_log_function = void (*)(int level, const char* text);

// Message mask of the pipeline's progress messages.
constexpr uint32_t IMP_MESSAGE_BANNER = 2;
constexpr uint32_t IMP_MESSAGE_LINES = 4;
constexpr uint32_t IMP_MESSAGE_FLUSH = 8;

// Tells which events are pending, for the stop arguments. Installed by the display layer; without one no event is ever
// pending.
using imp_pending_events = uint32_t (*)();
void imp_set_pending_events(imp_pending_events pending);

extern int imp_verbose;       // non-zero: failures are also logged
extern int imp_error;         // code of the last failure
extern int imp_planes_shared; // non-zero: planes, colour table and path belong to the caller and are never freed

extern const char* const imp_error_text[IMP_CODES]; // the words for the user, by code

int imp_alloc(Impack** pack);
int imp_free(Impack** pack);

// Non-zero when the pipeline may write the pair of standard and data format.
int imp_format_ok(int32_t standard, int32_t format);

// Writes the pack to `file` as its standard and format. `compression` is for header field 501. `stop_interval` and
// `msg_interval` count lines. A failure leaves the process in the directory where it was; a partly written file stays,
// so a caller that must not leave one writes under another name first.
int imp_write(Impack* pack, const char* file, int32_t compression, uint32_t stop_mask, int32_t stop_interval,
              imp_stop_function stop_fn, uint32_t msg_mask, int32_t msg_interval, imp_log_function log_fn);

// What a save is to produce.
struct output_settings {
    int32_t standard; // 0 to 5
    int32_t format;   // 2, 27, 28 or 29
};

// Saves three planes of width x height bytes, which stay the caller's, to `path`.
int imp_save_planes(const char* path, int32_t width, int32_t height, uint8_t* red, uint8_t* green, uint8_t* blue,
                    const output_settings* settings);
