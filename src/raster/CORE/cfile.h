// The open raster file: the handle behind every public call, its two tables of functions, and what the core offers to
// the format modules.
//
// How it is used. A public call tests the handle, takes its lock, clears the status, calls a slot, copies the status to
// the library-wide one and gives the lock back (handle_enter() and handle_leave() do all of that). The format slots are
// the format's own operations; the file slots are ten stream-like operations on the bytes, in four interchangeable
// sets. A module never touches a file but through the file slots, and takes no lock.
//
// A module includes module.h, which says what a format is made of; this header is the handle and what the core's own
// files share.
//
// Errors. Who finds a failure calls fail(), refuse() or fails(), which set the status and print when the debug level
// asks for it; who passes it on adds nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/lock.h"
#include "raster/rzl.h"

// ---- slots ----------------------------------------------------------------------------------------------------------

// A line's channel buffers: one plane each, null for one that is not wanted.
using read_planes = uint8_t* const*;
using write_planes = const uint8_t* const*;

// Line slots give the pixels handled, normally `xsize`; 0 is failure with the reason in `status`. With no channels, or
// all buffers null, the line is skipped.
using read_line_slot = int (*)(CFILE* c, int channels, read_planes buffers);
using write_line_slot = int (*)(CFILE* c, int channels, write_planes buffers);

// Tile slots: the same, for the next tile; they move `line` on by one tile. A plane has room for `height` lines of
// line_bytes(`width`), and tiles at the right edge keep that distance from line to line. `size_word`, when not null,
// asks for a tile without data to be told there and not filled.
using read_tile_slot = int (*)(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
using write_tile_slot = int (*)(CFILE* c, int channels, write_planes buffers, uint32_t* size_word);

// The format's own operations. Results: 0 success and 1 failure where no other is told.
struct format_slots {
    read_line_slot Getline = nullptr;   // a line, whatever the storage; modules use rzl_getline_generic
    read_line_slot Get_line = nullptr;  // a line, with no tile or squetch handling: the module's innermost read
    read_line_slot Getline16 = nullptr; // 16-bit samples
    read_line_slot Get_line16 = nullptr;
    read_line_slot Getlinefromtile = nullptr; // a line out of tiled storage; modules use rzl_getline_from_tiles
    read_line_slot Getrleline = nullptr; // the stored coding of a line; its size in `rle_size`; bytes used, 0 failure
    read_line_slot Getrlestrip = nullptr;
    int (*Getinlv)(CFILE* c, uint8_t* buffer) = nullptr; // a line as interleaved pixels; pixels, 0 failure
    write_line_slot Putline = nullptr;                   // modules use rzl_putline_generic
    write_line_slot Put_line = nullptr;                  // the module's innermost write
    write_line_slot Putline16 = nullptr;
    write_line_slot Put_line16 = nullptr;
    write_line_slot Putrleline = nullptr; // a line in the stored coding, `rle_size` bytes
    int (*Putinlv)(CFILE* c, const uint8_t* buffer) = nullptr;
    write_line_slot Putlinetotile = nullptr; // modules use rzl_putline_to_tiles
    read_tile_slot Gettile = nullptr;
    write_tile_slot Puttile = nullptr;
    read_tile_slot Gettile16 = nullptr;
    write_tile_slot Puttile16 = nullptr;
    read_tile_slot Getrletile = nullptr;
    write_tile_slot Putrletile = nullptr;
    // Null, or Gettile for a caller that wants the first `rows` rows of the tile in planes of any pitch:
    // rzl_get_tiles() then copies none. Columns of the tile that lie outside of the image are given as well, but for a
    // module with MODULE_CUT_TILES. Pixels, 0 failure.
    int (*Gettilerows)(CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows) = nullptr;
    // Null, or delivers the line `line` of a tiled image out of the stored tiles, without row_buffer, and moves on to
    // the next. Pixels, 0 failure; -1, with nothing done, for a line that has to come by way of row_buffer.
    read_line_slot Gettileline = nullptr;
    // Null, or writes `columns` tiles of one row of tiles, the first with the number `line`, out of planes of any
    // pitch, behind each other from the file's position on; rzl_put_tiles() then needs neither Put_line nor
    // `note_tile`. Pixels, 0 failure; -1, with nothing done, for tiles that are left to Put_line.
    int64_t (*Puttilerows)(CFILE* c, int channels, write_planes planes, size_t pitch, int64_t columns) = nullptr;
    // Header fields: `value` is aligned and has the size of the field (fields.h). On getting it holds the core's
    // answer, which stands unless the module writes another. On setting it is a copy in which a text ends.
    int (*Get_hdr_data)(CFILE* c, int32_t field, void* value) = nullptr;
    int (*Set_hdr_data)(CFILE* c, int32_t field, const void* value) = nullptr;
    int (*Get_stat)(CFILE* c, rzl_stat* stat) = nullptr;
    int (*Set_stat)(CFILE* c, const rzl_stat* stat) = nullptr;
    int (*Get_vlt)(CFILE* c, rzl_vlt_entry* entries) = nullptr;
    int (*Get_format)(CFILE* c) = nullptr; // the data format code
    int (*Get_packet)(CFILE* c, void* buffer) = nullptr;
    int (*Put_Packet)(CFILE* c, const void* buffer) = nullptr;
    int (*copydata)(CFILE* from, CFILE* to) = nullptr;
    int (*init_std_hdr)(CFILE* from, CFILE* to) = nullptr;
    int (*init_ov)(CFILE* from, CFILE* to) = nullptr;
    int (*setactiveov)(CFILE* c, int32_t overview) = nullptr;
    int (*Wrt_hdr)(CFILE* c) = nullptr;
    int (*Seek)(CFILE* c, int32_t line) = nullptr;
    int (*Get_number_of_images)(CFILE* c) = nullptr; // the count; 0 or -1 failure
    int (*Set_Number_of_Images)(CFILE* c, int32_t count) = nullptr;
    int (*Set_Active_Image)(CFILE* c, int32_t image) = nullptr;
    int (*Randomize)(CFILE* c) = nullptr;
    void (*Rewind)(CFILE* c) = nullptr;
    void (*ckJPEG)(CFILE* c, uint32_t mark) = nullptr;
    void (*Close)(CFILE* c) = nullptr;      // finish the file; Free_specs follows
    void (*Free_specs)(CFILE* c) = nullptr; // free what `spec` owns; the core frees `spec` afterwards. May come twice
    int64_t (*Get_Image_Offset)(CFILE* c) = nullptr; // file offset of the first pixel data
};

// The operations on bytes, on the opaque word `file` of the handle. Offsets are 64-bit.
struct file_slots {
    void* (*file_open)(const char* name, const char* mode);                          // null on failure
    int (*file_close)(void* file);                                                   // 0 on success
    size_t (*file_read)(void* buffer, size_t size, size_t count, void* file);        // items moved
    size_t (*file_write)(const void* buffer, size_t size, size_t count, void* file); // items moved
    int (*file_getc)(void* file);                                                    // the byte, or -1
    int (*file_putc)(int byte, void* file);                                          // the byte, or -1
    int (*file_seek)(void* file, int64_t offset, int whence); // 0 on success; whence 0 start, 1 position, 2 end
    void (*file_rewind)(void* file);
    int64_t (*file_tell)(void* file);
    int (*file_flush)(void* file); // 0 on success
};

// ---- records of a handle --------------------------------------------------------------------------------------------

// Tiles of a tiled file. Between line calls `row_buffer` holds the planes of a row of tiles, one after the other, each
// `height` lines of line_bytes.
struct tile_record {
    uint32_t width, height;            // pixels
    uint32_t tiles_across, tiles_down; // 0 while the image size is not known
    uint64_t end_offset;               // where the next tile is appended, from the image offset
    int32_t first_line;                // first image line in row_buffer
    size_t row_bytes;                  // size of row_buffer
    uint32_t row_layout;               // the flags of the call that made row_buffer which decide its layout
    bool row_read;                     // row_buffer holds the tiles of first_line as the file has them
    bool row_dirty;                    // lines were put into row_buffer that the file does not have yet
    uint32_t stale_from;               // lines of row_buffer from this one on are those of a row that was written, and
                                       // stand for zeros: clear_stale_lines(). TILE_ROW_FRESH: none are
    uint8_t* row_buffer;               // owned; null until first used
    uint8_t* packet;                   // owned; the native tile packet
    size_t packet_bytes;
};

constexpr uint32_t TILE_ROW_FRESH = UINT32_MAX;

// Resampling while reading.
struct squetch_record {
    int32_t out_xsize, out_ysize;
    int32_t out_line;       // output line that comes next
    int32_t carry;          // 1/2048 of the source line that is partly used
    int channels;           // arrays below
    uint8_t** line_buffers; // a channel each: a source line, and behind it the same line at the output's width
    int64_t** accumulators; // a channel each: two rows of out_xsize sums
    uint32_t flags;         // SQUETCH_ bits
    size_t source_bytes;    // of a source line in line_buffers
    int loaded;             // channels that the accumulators were loaded for
};
constexpr uint32_t SQUETCH_FILTER = 1;
constexpr uint32_t SQUETCH_RELOAD = 2; // accumulators must be loaded before the next line: set by a seek or rewind
constexpr uint32_t SQUETCH_EACH_CHANNEL = 4;

// State of the CCITT coders.
struct ccitt_record {
    int32_t strip_lines;
    struct cit_file* coder; // owned: see CCITT/citfile.h; null until a line is read or written through it
};

// State of a native JPEG file. The board that codes it is not reachable on this platform.
struct jpeg_record {
    int32_t quality;
};

// A file seen through a moving view of at most MAPPING_VIEW_SIZE bytes; fakefile.cpp and mapped.cpp.
struct mapping_record;

// A format module: module.h.
struct format_module;

// Bytes of the file that were fetched ahead of the position, bytes.cpp: a window into a view or a block of memory, or,
// with the other file sets, `buffer`. All are null and 0 when nothing is fetched. The io_ functions keep it in step.
struct io_ahead {
    const uint8_t* next;  // the byte that comes next
    const uint8_t* end;   // one past the last
    const uint8_t* start; // the first fetched
    uint8_t* buffer;      // owned; null until first needed
    uint8_t few[64];      // in its place when there is no memory
};

// How many lines of an image its file can hold; known until another image or size is active.
struct held_lines {
    bool judged;
    int32_t xsize, ysize, image, overview;
    int32_t lines;
};

// ---- the handle -----------------------------------------------------------------------------------------------------

constexpr uint32_t CFILE_MAGIC = 0xABCD;

// Access modes.
constexpr uint32_t MODE_READ = 1;       // rzl_open_r
constexpr uint32_t MODE_UPDATE = 2;     // rzl_open_rw
constexpr uint32_t MODE_WRITE = 4;      // rzl_open_w
constexpr uint32_t MODE_WRITE_READ = 8; // rzl_open_wr
constexpr uint32_t MODES_READABLE = 11;
constexpr uint32_t MODES_WRITABLE = 14;

// Bits of `flags`.
enum cfile_flags : uint32_t {
    FLAG_TILED = 1u << 0,              // `tile` is valid
    FLAG_NO_RAW_COPY = 1u << 1,        // pixels can't be copied raw to another file
    FLAG_FIELD_36 = 1u << 2,           // module-defined; copydata takes it as no plain file
    FLAG_SIZE_FIXED = 1u << 3,         // xsize and ysize were fixed by the catalog that opened this file
    FLAG_MULTI_IMAGE = 1u << 4,        // the file holds or is to hold several images
    FLAG_JPEG_TABLES = 1u << 5,        // JPEG tables have been set up
    FLAG_SCANNABLE = 1u << 6,          // each stored line is preceded by a line header
    FLAG_HEADER_EXISTS = 1u << 7,      // read from an existing file, or written
    FLAG_RAW = 1u << 8,                // no header of its own
    FLAG_TILES_CHANGED = 1u << 9,      // the tile directory is to be rewritten at close
    FLAG_OVERVIEWS_CHANGED = 1u << 10, // the overview directory is to be rewritten at close
    FLAG_PACKET_OWNED = 1u << 11,      // the application packet buffer belongs to the library
    FLAG_SQUETCH = 1u << 12,           // resampling is in force
    FLAG_LINES_FROM_ZERO = 1u << 13,   // line headers count from 0
    FLAG_LINE_PADDING = 1u << 14,      // lines of an odd byte count carry a pad byte
    FLAG_RAW_SAMPLES = 1u << 15,       // field 701
    FLAG_NATIVE = 1u << 16,
    FLAG_MEMORY = 1u << 17,           // `file` is an rzl_memfile
    FLAG_FIELD_404 = 1u << 18,        // set at creation
    FLAG_MODULE = 1u << 19,           // module-defined
    FLAG_PADDED_TILES = 1u << 20,     // a row of tiles is tiles_across x width pixels wide
    FLAG_LINE_CARRIES = 1u << 21,     // the decoder holds pixels of the line that comes next: no place to enter it at
    FLAG_FOUR_BYTE_PIXELS = 1u << 22, // interleaved lines have 4 bytes a pixel
    FLAG_INTERLEAVED = 1u << 23,      // the caller's line buffer is pixel-interleaved
    FLAG_16_BIT = 1u << 24,           // format 10 holds 16-bit values
    FLAG_DAMAGED = 1u << 30,          // something missing from the file was made up; see rzl_is_damaged()
};

// Bits of `jpeg_flags`.
constexpr uint32_t JPEG_BOARD_OPEN = 1;
constexpr uint32_t JPEG_TABLES_LOADED = 2;
constexpr uint32_t JPEG_USE_BOARD = 8;    // field 405
constexpr uint32_t JPEG_KEEP_TABLES = 16; // field 406
constexpr uint32_t JPEG_NOT_407 = 32;     // field 407 cleared

constexpr int32_t OVERVIEW_BASE = -1;  // the base image is active
constexpr int32_t OVERVIEW_UNSET = -2; // so that the first activation of the base image is not taken as no change
constexpr uint64_t LINE_OFFSET_UNKNOWN = ~uint64_t{0};

// Classes of compression, in `compression`.
constexpr uint32_t CLASS_NONE = 0;
constexpr uint32_t CLASS_RUNS = 2;
constexpr uint32_t CLASS_LZW = 3;
constexpr uint32_t CLASS_CCITT = 5;

struct CFILE {
    uint32_t magic;              // CFILE_MAGIC
    const format_module* module; // null until a standard is set
    void* file;                  // what the file slots work on
    io_ahead ahead;              // bytes that io_getc() fetched
    char* name;                  // owned, or null: the file name, of modules that reopen companions: keep_name()
    int32_t xsize, ysize;        // of the active image or overview, pixels and lines
    int32_t samples, bits;       // samples a pixel, bits a sample
    int32_t line;                // next line to read or write; next tile in tile calls
    held_lines held;             // claims.cpp
    bool line_damaged;           // something of the line that was read last had to be made up
    uint32_t status;             // of the last operation on this handle
    int32_t format;              // data format code, refreshed after every open and header write
    uint32_t mode;               // one of MODE_
    int32_t standard;            // -1 until one is set
    uint32_t flags;              // cfile_flags
    uint32_t compression;        // CLASS_ of the stored pixels
    uint32_t compression_variant;
    int64_t base_offset; // file offset of this image's data structures; every seek of a module adds it
    int32_t active_image;
    int32_t active_overview; // OVERVIEW_BASE, OVERVIEW_UNSET, or from 0
    void* buffer_a;          // owned by the handle, used by the module; so are b to d
    void* buffer_b;
    bool buffer_b_owned;
    void* buffer_c;
    bool buffer_c_owned;
    void* buffer_d;
    struct lock* lock;
    int32_t depth;    // public calls that are under way, one in the other
    int32_t rle_size; // run-coded calls: the caller's buffer size on entry, the size used or needed on return
    uint32_t jpeg_flags;
    void* spec;                      // owned: the module's private record
    jpeg_record* jpeg;               // owned
    uint8_t* color_table;            // owned: 256 red, green, blue triples read from the file, or null
    const rzl_vlt_entry* vlt;        // borrowed: what the application gave with rzl_put_vlt()
    squetch_record* squetch;         // owned
    tile_record* tile;               // owned
    ccitt_record* ccitt;             // owned
    void* parse_state;               // owned by the module
    const CFILE* catalog;            // the catalog that this file was opened by, or null
    const format_module* stands_for; // of a catalog: whose fields it answers
    uint32_t vlt_bits;               // significant bits of a color_table entry
    int32_t line_offset_count;
    uint64_t* line_offsets;  // owned: file offset of each line's start, LINE_OFFSET_UNKNOWN when not yet visited
    mapping_record* mapping; // owned: while the file is read through a view
    format_slots slots;
    file_slots io;
};

// ---- small helpers --------------------------------------------------------------------------------------------------

inline bool has_flag(const CFILE* c, uint32_t flag) {
    return (c->flags & flag) != 0;
}
inline void set_flag(CFILE* c, uint32_t flag, bool on) {
    c->flags = on ? c->flags | flag : c->flags & ~flag;
}
inline bool is_readable(const CFILE* c) {
    return (c->mode & MODES_READABLE) != 0;
}
inline bool is_writable(const CFILE* c) {
    return (c->mode & MODES_WRITABLE) != 0;
}

// Classes of data formats.
constexpr bool format_is_bilevel(int32_t f) {
    return f == 1 || f == 9 || f == 23 || f == 24;
}
constexpr bool format_is_color(int32_t f) {
    return f == 25 || f == 27 || f == 28 || f == 31;
}
constexpr bool format_is_four(int32_t f) {
    return f == 32 || f == 67 || f == 69;
}
constexpr bool format_is_byte(int32_t f) {
    return f == 2 || f == 10 || f == 29 || f == 30;
}
constexpr bool format_is_jpeg(int32_t f) {
    return f == 30 || f == 31 || f == 32;
}

// Samples and bits of a data format, as setting field 3 stores them. False for a number that is no data format, which
// stores nothing. Format 26 keeps the `bits` it finds.
bool format_layout(int32_t format, int32_t* samples, int32_t* bits);

// ---- errors: report.cpp ---------------------------------------------------------------------------------------------

// Sets `status` on the handle (null: only library-wide) and prints its words when the debug level is not 0. `source` is
// the module path, as "CORE/open"; `detail` the word that says what was being done, null for none. `line` is the
// caller's.
void fail(CFILE* c, uint32_t status, const char* source, const char* detail, int line = __builtin_LINE());

// fail() as a result: 1, for operations whose success is 0; and false, for tests, which as a count of pixels is 0.
int refuse(CFILE* c, uint32_t status, const char* source, const char* detail, int line = __builtin_LINE());
bool fails(CFILE* c, uint32_t status, const char* source, const char* detail, int line = __builtin_LINE());

// Builds the words of `status` and prints them on standard error. Changes no state.
void rzl_report(uint32_t status, const char* source, int line, const char* detail);

// The words into a buffer; what rzl_report() prints.
void rzl_report_text(uint32_t status, const char* source, int line, const char* detail, char* text, size_t size);

// Prints the words of a board code when the debug level is not 0.
void rzl_report_board(int code);

// Prints a formatted warning on standard error when the debug level is not 0.
void rzl_warn(const char* format, ...) __attribute__((format(printf, 1, 2)));

// 0 for a pointer that is not null; else 1, with the library-wide status RZL_NO_MEMORY, and `detail` printed when bit 4
// of the debug level is set.
int rzl_check_alloc(const void* pointer, const char* detail);

// Whether files that only today's programs write are taken: rzl_set_extended().
bool is_extended();

uint32_t last_status();
void set_last_status(uint32_t status);
int32_t debug_level();
void read_debug_level(); // from the environment variable RZL_DEBUG, when it is set

// ---- entry of public calls: report.cpp ------------------------------------------------------------------------------

// A handle that can be used. Otherwise false, with RZL_BAD_CFILE in the library-wide status and `word` reported.
bool handle_is_valid(CFILE* c, const char* word);

// handle_is_valid(), then takes the lock and clears both status words. False: nothing is held.
bool handle_enter(CFILE* c, const char* word);

// Asserts what holds of a handle between calls, in builds with sanitizers: sound.cpp.
void check_handle(const CFILE* c);

// Copies the status to the library-wide one and gives the lock back. Returns `result`.
int handle_leave(CFILE* c, int result);

// A slot's result as a public one: a default slot refuses with a status and, some of them, with a result of success.
inline int slot_result(const CFILE* c, int result) {
    return result != 0 || c->status != 0 ? 1 : 0;
}

// ---- handles and slots: init.cpp, dummy.cpp, standard.cpp -----------------------------------------------------------

// Every field to its initial value, a new lock, default slots. False when there is no memory.
bool rzl_init_cfile(CFILE* c);

// All format slots to the defaults, which refuse with RZL_UNSUPPORTED.
void rzl_set_default_slots(CFILE* c);

// Defaults first, then every slot of `table` that is not null.
void install_slots(CFILE* c, const format_slots& table);

// Gives up a handle whose open failed: lets the module free what it has made, closes the file and frees the handle,
// without calling the module's Close. The status stays in the library-wide word.
void abandon_cfile(CFILE* c);

// Releases the parts that the core owns: buffers, tables, tile, squetch, ccitt and jpeg records.
void free_cfile_parts(CFILE* c);
void free_tile_record(CFILE* c);    // and clears FLAG_TILED
void free_squetch_record(CFILE* c); // and clears FLAG_SQUETCH

// ---- file sets ------------------------------------------------------------------------------------------------------

void rzl_set_stream_slots(CFILE* c); // stream.cpp
void rzl_set_handle_slots(CFILE* c); // handle.cpp
void rzl_set_mapped_slots(CFILE* c); // mapped.cpp
void rzl_set_memory_slots(CFILE* c); // fakefile.cpp

// Switches reading through a view on or off. 0 on success.
int rzl_set_mapped(CFILE* c, bool on);

// Ends the view and gives `file` back to the handle set.
void rzl_drop_mapping(CFILE* c);

// The bytes that can be taken from the current position of the file without a call: *next up to *end. Empty when the
// file is not read through a view or a block of memory, or at the end of the view; a read then brings the next ones.
// After using n of them, call io_consume(c, n).
void io_window(CFILE* c, const uint8_t** next, const uint8_t** end);
void io_consume(CFILE* c, size_t bytes);

// ---- bytes of the file, whatever its set: bytes.cpp -----------------------------------------------------------------

// Fetches bytes so that c->ahead has one at least. False at the end of the file.
bool io_fetch(CFILE* c);

// Gives back what was fetched and not taken, so that the file slots can be used at the position.
void io_settle(CFILE* c);

// The next byte, or -1 at the end. The bytes around it are fetched together.
inline int io_getc(CFILE* c) {
    if (c->ahead.next == c->ahead.end && !io_fetch(c)) return -1;
    return *c->ahead.next++;
}

// Bytes moved. Offsets from the file's start. A seek past the end succeeds, and reading then fails.
size_t io_read(CFILE* c, void* buffer, size_t bytes);
size_t io_write(CFILE* c, const void* buffer, size_t bytes);
bool io_seek(CFILE* c, int64_t offset);
int64_t io_tell(CFILE* c);

// The next bytes where they lie, or, when they are not fetched together, in `spare`, which has room for them. They are
// good until the next call on the file. Null at the end of the file.
const uint8_t* io_take_apart(CFILE* c, size_t bytes, uint8_t* spare);
inline const uint8_t* io_take(CFILE* c, size_t bytes, uint8_t* spare) {
    io_ahead* a = &c->ahead;
    if (static_cast<size_t>(a->end - a->next) < bytes) return io_take_apart(c, bytes, spare);
    const uint8_t* taken = a->next;
    a->next += bytes;
    return taken;
}

// Moves the position forward or back, also past the end.
bool io_move(CFILE* c, int64_t bytes);

// Passes over bytes. False when the file does not have them.
bool io_skip(CFILE* c, int64_t bytes);

// The size of the whole file in bytes, keeping the position; -1 when it can't be told.
int64_t io_size(CFILE* c);

// Whether so many bytes follow in the file: ask before taking memory by a size that the file states.
bool io_has(CFILE* c, uint64_t bytes);

// The next `bytes` bytes in a new block with `slack` zero bytes behind them, which the caller frees. Null with the
// status set: RZL_READ_FAILED when the file does not have them, without any memory taken, or RZL_NO_MEMORY.
uint8_t* io_read_block(CFILE* c, uint64_t bytes, size_t slack, const char* source, const char* detail,
                       int line = __builtin_LINE());

// The record of a name "/INMEM/<decimal>", or null. *is_memory tells whether the name is of that form.
rzl_memfile* memfile_of_name(const char* name, bool* is_memory);

// ---- claims of headers: claims.cpp ----------------------------------------------------------------------------------

// The lines that the file can hold of those that the active image claims.
int32_t rzl_lines_there(CFILE* c);

// Whether that is known for what is active now. It is from the first line on.
inline bool held_is_known(const CFILE* c) {
    const held_lines* h = &c->held;
    return h->judged && h->xsize == c->xsize && h->ysize == c->ysize && h->image == c->active_image &&
           h->overview == c->active_overview;
}

// Whether a line is one of them. Otherwise false with RZL_READ_FAILED, and the handle is marked as damaged. A file that
// can still be written to is not held to anything.
bool rzl_judge_line(CFILE* c, int32_t line, const char* source, const char* detail);
inline bool rzl_has_line(CFILE* c, int32_t line, const char* source, const char* detail) {
    return (held_is_known(c) && line < c->held.lines) || rzl_judge_line(c, line, source, detail);
}

// ---- header calls: info.cpp -----------------------------------------------------------------------------------------

// Fields 100 and 104 (0: not given) on the base image: see the rules of rzl_set_hdr_data. 0 on success.
int rzl_setup_tiles(CFILE* c, int32_t width, int32_t height);

// Recomputes tiles_across and tiles_down from the sizes that are known.
void count_tiles(CFILE* c);

// Field 403 for the handle's format.
int32_t pixel_class(const CFILE* c);

// ---- lines and tiles ------------------------------------------------------------------------------------------------

// Bytes of one stored or delivered plane line of `pixels` pixels.
size_t line_bytes(const CFILE* c, int64_t pixels);

// Bytes a pixel of the interleaved buffer: 4 with field 35, else `samples`.
int interleave_step(const CFILE* c);

int rzl_getline_generic(CFILE* c, int channels, read_planes buffers);    // for Getline
int rzl_getline_from_tiles(CFILE* c, int channels, read_planes buffers); // for Getlinefromtile
int rzl_putline_generic(CFILE* c, int channels, write_planes buffers);   // for Putline
int rzl_putline_to_tiles(CFILE* c, int channels, write_planes buffers);  // for Putlinetotile
int rzl_getinlv_default(CFILE* c, uint8_t* buffer);                      // the default of Getinlv
int rzl_putinlv_default(CFILE* c, const uint8_t* buffer);                // the default of Putinlv
int rzl_seek_default(CFILE* c, int32_t line);                            // the default of Seek

// The source line of a line that is sought: itself, or under squetch the one that the output line begins with, with
// resampling set to begin anew there. False past the last output line, with RZL_PAST_END and `word`.
bool rzl_seek_squetched(CFILE* c, int32_t* line, const char* source, const char* word);

// Planes of a row of tiles: 3 or 4 for the colour and four-channel formats, `samples` when that is 5 or more, else 1; 1
// when the row is interleaved.
int tile_row_planes(const CFILE* c);

// Makes row_buffer fit the handle's size, format and flags. False without memory, with the status set.
bool need_tile_row(CFILE* c);

// Puts zeros in the place of those of the first `lines` lines of row_buffer that are of a row that was written, so that
// a plane or a line that is left out of this row does not show that one's.
void clear_stale_lines(CFILE* c, uint32_t lines);

// Bytes of one line in row_buffer, and of one plane of it.
size_t tile_row_pitch(const CFILE* c);
size_t tile_row_plane_bytes(const CFILE* c);

int rzl_fill_tile_row(CFILE* c, int channels);  // brings the tile row of `line` into row_buffer; 0 on failure
int rzl_flush_tile_row(CFILE* c, int channels); // writes row_buffer out; pixels, 0 on failure

// Move a block of tiles between the tile slots and line-organised planes of `pitch` bytes a line. Pixels, 0 on failure.
int rzl_get_tiles(CFILE* c, int channels, read_planes buffers, size_t pitch, int32_t across, int32_t down);
int rzl_put_tiles(CFILE* c, int channels, write_planes buffers, size_t pitch, int32_t across, int32_t down);

// The tests at the head of reads and writes. They set the status; putline_error_check() also gives 1 for a refusal, and
// writes the header when it has not been written.
void rzl_getline_check(CFILE* c);
int putline_error_check(CFILE* c);
void rzl_gettile_check(CFILE* c);

// False, with RZL_MODIFY_COMPRESSED, when a file that can be read back would have a line of varying size changed
// anywhere but at its end.
bool rzl_append_check(CFILE* c);
int rzl_puttile_check(CFILE* c);

// Resample the next line: squetch.cpp. Called by rzl_getline_generic under FLAG_SQUETCH.
int rzl_squetch(CFILE* c, int channels, read_planes buffers);

// Resampling begins anew at an output line, whose source line has been sought. Nothing when it is not in force.
void rzl_restart_squetch(CFILE* c, int32_t out_line);
