// What a format is made of, and what the core does for it.
//
// A format is a directory with a private header, which declares one `format_module`, and the functions that the module
// names. The core allocates the module's record (`spec`, zeroed), installs its slots, keeps the handle's state, and
// frees the handle when something fails, so that a module holds what differs from format to format and nothing else:
//
//     reading   open() takes the header into `spec` and the handle; Get_line delivers one line.
//     writing   initialise() gives a new file its first state; Wrt_hdr writes the header; Put_line writes one line;
//               Close finishes the file.
//     fields    Get_hdr_data and Set_hdr_data know the fields that differ from the answers of the handle: fields.h.
//     bytes     io_getc(), io_read(), io_read_block() and the others of cfile.h; texts and numbers: text.h.
//     samples   packing, widening, orders of samples, bilevel words: samples.h.
//     places    rzl_record_lines() for lines that vary in size; Seek and Rewind then follow.
//
// A slot that the module's table leaves null is the core's. `install_module()` says which of them work by themselves;
// the others refuse with RZL_UNSUPPORTED and the slot's word. standard.cpp has the row that makes the core know the
// module.
#pragma once

#include <span>

#include "raster/CORE/cfile.h"
#include "raster/CORE/fields.h"
#include "raster/CORE/samples.h"
#include "raster/CORE/text.h"
#include "support/bytes.h"

// What detection sees of a file.
struct file_probe {
    CFILE* c;         // its position may be moved
    const char* name; // null for the standard input
    const uint8_t* b; // the first PROBE_SIZE bytes; those past the end of a short file are zero
    size_t size;      // bytes of `b` that the file has: a test that zeros could pass asks for it
};
constexpr size_t PROBE_SIZE = 512;

// Bits of `traits`.
constexpr uint32_t MODULE_TILES = 1; // fields 100 and 104 make tiles; without it the module is asked, and no tiles made
constexpr uint32_t MODULE_RESIZES = 2;   // fields 2 and 3 reach the module once the header exists; without it they are
                                         // passed over with success
constexpr uint32_t MODULE_COLORS = 4;    // Get_line gives three planes of a bilevel image as bytes by itself
constexpr uint32_t MODULE_CUT_TILES = 8; // tiles hold what lies inside of the image, and Gettilerows gives no more
constexpr uint32_t MODULE_NO_TABLE = 16; // files have no colour table: values of one are not to be put into them
constexpr uint32_t MODULE_COUNTS = 32;   // fields 101, 102 and 700 can be set: they reach the module
constexpr uint32_t MODULE_CODED = 64;    // pixels are always stored in a coding, also those of the plain data formats
constexpr uint32_t MODULE_WIDTH = 256;   // so does field 1, which other modules never see then
constexpr uint32_t MODULE_GREY = 512;    // colours, those of a table too, are stored as levels of grey
constexpr uint32_t MODULE_FIELDS = 128;  // all fields that are set reach the module, whether the header exists or not

// The most that a byte of a coding stands for. What a header claims beyond that is not there: claims.cpp.
struct pixel_density {
    int64_t pixels;   // of any number of lines
    int64_t lines;    // however narrow they are
    int64_t left_out; // not for a byte, but in the whole image: pixels that are there without any
};

// In a byte: no coding but those of fax packs more.
constexpr int64_t CODED_PIXELS = 16384;

// Pixels that a file may leave out, as lines of a scannable file, tiles of one colour, or strips without data: a page
// at 600 points an inch.
constexpr int64_t LEFT_OUT_PIXELS = 40'000'000;

struct format_module {
    const char* word = nullptr;         // the source path of what the core reports for the module, as "GIF/gifopen"
    const char* squetch_word = nullptr; // said of a seek past the last output line of a resampled file
    const format_slots* slots = nullptr;
    size_t spec_size = 0;                     // of the record behind `spec`; 0: open and initialise make it themselves
    std::span<const int32_t> formats = {};    // data formats that a new file can have, the first by choice
    std::span<const field_limit> limits = {}; // integers that fields can be set to; others are RZL_BAD_FIELD_VALUE
    std::span<const field_type> types = {};   // kinds of the module's own fields that are no integers
    uint32_t traits = 0;
    int32_t most_colors = 256; // entries of a colour table that a new file's pixels can have

    // Null, or the module's own test of a file that its row of detection lets through (all files, when the row has no
    // test). False, with no status: the search goes on.
    bool (*probe)(const file_probe* p) = nullptr;

    // Reads what stands before the pixels. The file is at its start, `spec` and slots are there, the handle is marked
    // as having its header. To be set: xsize, ysize, samples, bits, format, and what else the handle can answer. `name`
    // (null for the standard input) lives as long as the call; keep_name() keeps it. A module that reads other files
    // may give up the handle's own with close_cfile_file(), and get it, or another, with reopen_cfile_file(). 0, or 1
    // with the status set: the core then runs Free_specs and frees the handle. Null: can't be read.
    int (*open)(CFILE* c, const char* name) = nullptr;

    // A file being created. xsize to bits have their first values or those that another standard has left. 0, or 1 with
    // the status set. Null: can't be created.
    int (*initialise)(CFILE* c) = nullptr;

    // Null, or creates a further part of an existing file that detection finds to be the module's, instead of emptying
    // it. Called on a new handle without a file. 0, or 1 with the status set.
    int (*extend)(CFILE* c, const char* name) = nullptr;

    // Null, or what the active image's coding is at its densest, of an image without tiles. Null: that of the densest
    // module.
    pixel_density (*density)(const CFILE* c) = nullptr;

    // Null, or asserts what the module promises of its record between calls (support/invariant.h).
    void (*check)(const CFILE* c) = nullptr;

    // Null, or told by rzl_put_tiles() that tile number `line` of the handle has been written, to the file offsets from
    // `begin` up to `end`. Such a module's tiles go behind each other at the end of its data, in whatever order they
    // come. False with the status set.
    bool (*note_tile)(CFILE* c, int64_t begin, int64_t end) = nullptr;
};

// Whether the handle's module has one of the traits; a handle that is no module's has none.
inline bool has_trait(const CFILE* c, uint32_t trait) {
    return c->module != nullptr && (c->module->traits & trait) != 0;
}

// Makes a handle the module's: an empty record, and its slots. Where the table has none: Getline and Putline are the
// generic bodies when there are Get_line and Put_line; Get_hdr_data and Set_hdr_data leave the core's answers and take
// nothing; Get_stat and Set_stat go through the fields; Get_vlt gives `color_table`; Get_format the handle's; Seek
// and Rewind follow `line_offsets`; Close and Free_specs do nothing. False without memory, with the status.
bool install_module(CFILE* c, const format_module* module);

// Frees the module's record and takes the handle back to having no standard.
void drop_module(CFILE* c);

// Keeps a copy of the file's name on the handle. False without memory, with the status set.
bool keep_name(CFILE* c, const char* name);

// Opens `name` in the place of the handle's file, which must be closed, in the handle's mode. False with the status.
bool reopen_cfile_file(CFILE* c, const char* name);

// Opens a member of a catalog, or creates one for writing, in the mode of a public call. The handle's `catalog` is the
// catalog's, which outlives it. An existing catalog is not created anew as a member. Null with the library-wide status.
CFILE* open_member(const CFILE* catalog, const char* name, uint32_t mode);

// Ends the view if there is one and closes the file; the standard input is only flushed. 0 on success, -1 when
// something that was written is lost. `file` is null afterwards.
int close_cfile_file(CFILE* c);

// ---- the core's own bodies of slots ---------------------------------------------------------------------------------

int rzl_get_stat_of_fields(CFILE* c, rzl_stat* stat);
int rzl_set_stat_of_fields(CFILE* c, const rzl_stat* stat);

// For Randomize, of formats whose lines can be had in any order as it is.
int rzl_randomize_nothing(CFILE* c);

// Entries of `color_table`: field 6 tells how many. Their slots are their places. None: RZL_NO_VLT.
int rzl_get_vlt_of_table(CFILE* c, rzl_vlt_entry* entries);

// Takes the data format of a new file when it is one of the module's `formats`: samples, bits and format of the handle.
// Otherwise the status, and 1.
int rzl_take_format(CFILE* c, int32_t format, uint32_t refusal, const char* source, int line = __builtin_LINE());

// Under squetch the source line of an output line. Without `line_offsets` only the line is noted: for files whose lines
// are at hand, or found by their number. With them the file goes to the nearest line before whose place is known, and
// reads on from there.
int rzl_seek_generic(CFILE* c, int32_t line);
void rzl_rewind_generic(CFILE* c);

// The same for a tiled file, where the number may be a tile's as well: past the last line and the last tile it is
// RZL_PAST_END, with the word.
int rzl_seek_tiled(CFILE* c, int32_t number, const char* word);

// ---- lines that vary in size ----------------------------------------------------------------------------------------

// Starts the record of where lines begin, with `first` as the place of line 0. It has an entry for each line, or, when
// that is less, for each that the file's bytes can hold with `least` bytes a line; with a file being written, each
// line. rzl_getline_generic() keeps it while lines are read. 0 on success; 1 without memory, with the status set.
int rzl_record_lines(CFILE* c, int64_t first, int64_t least);
void rzl_forget_lines(CFILE* c);

// Notes that the file stands at the beginning of `line`.
void rzl_note_line(CFILE* c);

// The last line up to `line` whose place is known; -1 when there is none.
int32_t rzl_known_line(const CFILE* c, int32_t line);
