// Status words: their names, the words that are printed for them, sentences for users, the library-wide status and
// debug level, and the entry and exit of public calls.
//
// One list holds everything that is known of a status. The words are printed for the programmer who asked for them by
// the debug level; they take a detail, the source module and a line, in the order in which the words need them.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "raster/CORE/cfile.h"

namespace {

std::atomic<uint32_t> library_status{0};
std::atomic<int32_t> library_debug_level{0};
std::atomic<bool> library_extended{false};

// What the last failure of a thread was about; cut to its size.
thread_local char failure_detail[80];

constexpr size_t REPORT_SIZE = 2048;
constexpr int32_t DEBUG_TILE_MEMORY = 16;

struct status_row {
    uint32_t status;
    const char* name;
    const char* words; // what the debug level prints
    const char* text;  // a sentence for a user
};

#define ROW(status, words, text)                                                                                       \
    { status, #status, words, text }

constexpr char GENERIC_WORDS[] = "Generic error at line %d of file %s: %s\n";
constexpr char BOARD_WORDS[] = "A Hardware JPEG error has occurred. \nThis platform may not support JPEG hardware: %s "
                               "- source code file %s, line %d\n";
constexpr char BOARD_TEXT[] = "The compression board needed for this JPEG data is not available.";
constexpr char STANDARD_WORDS[] =
    "This file does not follow the %s standard- error found at source code file %s, line %d\n";
constexpr char STANDARD_TEXT[] = "The file does not follow its format.";
constexpr char BUFFER_WORDS[] = "There is no output buffer for the requested function\n%s source file %s, line %d\n";
constexpr char BUFFER_TEXT[] = "There is no buffer to put the result into.";
constexpr char FEATURE_WORDS[] =
    "This file contains features unsupported for the current format: %s - source code file %s, line %d\n";
constexpr char FEATURE_TEXT[] = "The file uses a feature that is not supported for its format.";

constexpr status_row STATUS_ROWS[] = {
    ROW(RZL_NO_SUCH_FIELD, GENERIC_WORDS, "The file has no such value."),
    ROW(RZL_RLE_BUFFER_SMALL,
        "The buffer passed in for the RLE line function was too small to hold the data: %s source file %s, line %d\n",
        "The buffer is too small for the run-coded line."),
    ROW(RZL_MODIFY_COMPRESSED,
        "An attempt was made to modify a compressed file at some position other than the end of the file.\n line %d of "
        "source code file %s: %s\n",
        "Lines of a compressed file can only be added at its end."),
    ROW(RZL_JPEG_HARDWARE, BOARD_WORDS, BOARD_TEXT),
    ROW(RZL_CANNOT_OPEN,
        "The raster file %s could not be opened. \nCheck permissions and filename. \nFailure occured at line %d of "
        "source code file %s:\n",
        "The raster file could not be opened."),
    ROW(RZL_READ_FAILED, "Reading of raster file failed when executing line %d of source code file %s: %s\n",
        "The raster file could not be read; it is cut, damaged, or of an unknown format."),
    ROW(RZL_WRITE_FAILED, "Writing of raster file failed when executing line %d of source code file %s: %s\n",
        "The raster file could not be written."),
    ROW(RZL_HEADER_FULL,
        "The packets or vlt added to this file are too large to fit in the existing header. \n%s - error found at "
        "source code file %s, line %d\n",
        "The header of the existing file has no room for the packets or the colour table."),
    ROW(RZL_BAD_CFILE,
        "The CFILE pointer that was passed in is corrupt: %s\nThe problem was found at : source code file %s, line "
        "%d\n",
        "The file handle is not valid."),
    ROW(RZL_LINES_OUT_OF_ORDER,
        "An attempt was made to write *lines* out of order\nto a tiled file. This happened on line %d of source code "
        "\nfile %s: %s\n",
        "Lines of a tiled file must be written in order."),
    ROW(RZL_BAD_IMAGE_SIZE,
        "The image size requested for this file is invalid.\n%s - error found at source code file %s, line %d\n",
        "The image size is not valid for this file."),
    ROW(RZL_BAD_FIELD_ID,
        "This field id passed in to rzl_get/set_hdr_data is not valid.\n%s - error found at source code file %s, line "
        "%d\n",
        "The header field does not exist or cannot be changed."),
    ROW(RZL_BAD_FIELD_VALUE,
        "This field value passed in to rzl_set_hdr_data is not in the range of valid values.\n%s - error found at "
        "source code file %s, line %d\n",
        "The value is out of range for the header field."),
    ROW(RZL_NOT_STANDARD, STANDARD_WORDS, STANDARD_TEXT),
    ROW(RZL_NOT_STANDARD_2, STANDARD_WORDS, STANDARD_TEXT),
    ROW(RZL_NO_SUCH_IMAGE,
        "The requested multi-image image does not exist : %s- error found at source code file %s, line %d\n",
        "The file has no image of that number."),
    ROW(RZL_NO_SUCH_OVERVIEW,
        "The requested overview does not exist : %s- error found at source code file %s, line %d\n",
        "The file has no overview of that number."),
    ROW(RZL_BAD_TILE_SIZE,
        "An operation that requires a certain tile size was requested for this file.\n%s - error found at source code "
        "file %s, line %d\n",
        "The tile size is not valid for this file."),
    ROW(RZL_JPEG_HARDWARE_2, BOARD_WORDS, BOARD_TEXT),
    ROW(RZL_NO_MEMORY, "Malloc failed at line %d of source code file %s: %s\n", "There is not enough memory."),
    ROW(RZL_JPEG_HARDWARE_3, BOARD_WORDS, BOARD_TEXT),
    ROW(RZL_NO_OUTPUT_BUFFER, BUFFER_WORDS, BUFFER_TEXT),
    ROW(RZL_NO_OVERVIEWS, "There are no overviews for the requested function\n%s source file %s, line %d\n",
        "The file has no overviews."),
    ROW(RZL_NO_PACKETS, "There are no packets for the requested function\n%s source file %s, line %d\n",
        "The file has no application packets."),
    ROW(RZL_NEEDS_READ,
        "An operation that requires read permission was \nrequested on a file open for write only.\n line %d of source "
        "code file %s: %s\n",
        "The file is open for writing only."),
    ROW(RZL_NO_SUCH_TAG, "The requested tag does not exist.\n%s source file %s, line %d\n",
        "The file has no such tag."),
    ROW(RZL_NO_VLT,
        "A VLT or colortable was requested, but none was \nfound in the file. This occurred on line %d of \nsource "
        "code file %s: %s\n",
        "The file has no colour table."),
    ROW(RZL_NEEDS_WRITE,
        "An operation that requires write permission was \nrequested on a file open for read only.\n line %d of source "
        "code file %s: %s\n",
        "The file is open for reading only."),
    ROW(RZL_NO_OUTPUT_BUFFER_2, BUFFER_WORDS, BUFFER_TEXT),
    ROW(RZL_CATALOG_COUNT, "There are %s file.\n- error found at source code file %s, line %d\n",
        "The catalog does not hold the number of files that is needed."),
    ROW(RZL_PAST_END,
        "An attempt was made to seek, read or write past the \nend of the file. This happened on line %d of source "
        "code \nfile %s: %s\n",
        "The position is past the end of the image."),
    ROW(RZL_ONLY_UNTILED,
        "An operation that only makes sense on an untiled file was requested for this tiled file: %s \n- error found "
        "at source code file %s, line %d\n",
        "This can only be done with a file that is not tiled."),
    ROW(RZL_UNSUP_IR, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_BMP, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_CALS, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUPPORTED, "This function is unsupported for the current format:\n %s - source code file %s, line %d\n",
        "This is not supported for the file's format."),
    ROW(RZL_UNSUP_ICO, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_KRVN, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_JFIF, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_NITF, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_PCX, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_COPY, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_SYM, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_TGA, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_UNSUP_TIFF, FEATURE_WORDS, FEATURE_TEXT),
    ROW(RZL_ONLY_TILED,
        "An operation that only makes sense on a tiled file was requested for this untiled file: %s \n- error found at "
        "source code file %s, line %d\n",
        "This can only be done with a tiled file."),
};
#undef ROW

// Status words go up in steps of 8, which keeps a mistyped row out of the list.
constexpr bool rows_ascend() {
    for (size_t i = 1; i < std::size(STATUS_ROWS); ++i) {
        uint32_t before = STATUS_ROWS[i - 1].status;
        if (STATUS_ROWS[i].status <= before || (STATUS_ROWS[i].status - before) % 8 != 0) return false;
    }
    return true;
}
static_assert(rows_ascend());

const status_row* find_row(uint32_t status) {
    for (const status_row& row : STATUS_ROWS) {
        if (row.status == status) return &row;
    }
    return nullptr;
}

// A text under construction in a buffer that is always ended by a zero byte; what does not fit is dropped.
struct text_out {
    char* text;
    size_t size;
    size_t used;
};

void put_text(text_out* out, const char* piece, size_t length) {
    size_t room = out->size - 1 - out->used;
    size_t taken = length < room ? length : room;
    std::memcpy(out->text + out->used, piece, taken);
    out->used += taken;
    out->text[out->used] = '\0';
}

// The words with the line in the place of %d and the two texts, in order, in the places of %s. Texts are copied, never
// taken as a format.
void put_words(text_out* out, const char* words, int line, const char* const texts[2]) {
    int next_text = 0;
    while (*words != '\0') {
        size_t plain = std::strcspn(words, "%");
        put_text(out, words, plain);
        words += plain;
        if (*words == '\0') return;
        if (words[1] == 'd') {
            char digits[16];
            int length = std::snprintf(digits, sizeof digits, "%d", line);
            put_text(out, digits, static_cast<size_t>(length));
        } else if (next_text < 2) {
            put_text(out, texts[next_text], std::strlen(texts[next_text]));
            ++next_text;
        }
        words += 2;
    }
}

const char* board_words(int code) {
    switch (code) {
    case 215: return "Your process dosen't own the Tessel board\n";
    case 216: return "Tessel board invalid\n";
    case 218: return "Tessel board in use\n";
    case 224: return "Tessel board timed out with no response\n";
    case 226: return "Tessel board is busy. Try later\n";
    default: return nullptr;
    }
}

} // namespace

void rzl_report_text(uint32_t status, const char* source, int line, const char* detail, char* text, size_t size) {
    if (size == 0) return;
    const status_row* row = find_row(status);
    const char* words = row != nullptr ? row->words : GENERIC_WORDS;
    if (detail == nullptr) detail = "";
    if (source == nullptr) source = "";
    // Words that begin with the line name the source next and the detail last; all others open with the detail.
    const char* first = std::strchr(words, '%');
    bool line_first = first != nullptr && first[1] == 'd';
    const char* texts[2] = {line_first ? source : detail, line_first ? detail : source};
    text[0] = '\0';
    text_out out = {text, size, 0};
    put_words(&out, words, line, texts);
}

void rzl_report(uint32_t status, const char* source, int line, const char* detail) {
    char text[REPORT_SIZE];
    rzl_report_text(status, source, line, detail, text, sizeof text);
    std::fputs(text, stderr);
}

void rzl_report_board(int code) {
    if (debug_level() == 0) return;
    const char* words = board_words(code);
    if (words != nullptr) {
        std::fputs(words, stderr);
    } else {
        std::fprintf(stderr, "TESSEL_ERROR open %d\n", code);
    }
}

void rzl_warn(const char* format, ...) {
    if (debug_level() == 0) return;
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}

int rzl_check_alloc(const void* pointer, const char* detail) {
    if (pointer != nullptr) return 0;
    set_last_status(RZL_NO_MEMORY);
    if ((debug_level() & DEBUG_TILE_MEMORY) != 0) std::fprintf(stderr, "%s\n", detail != nullptr ? detail : "");
    return 1;
}

void fail(CFILE* c, uint32_t status, const char* source, const char* detail, int line) {
    if (c != nullptr) c->status = status;
    set_last_status(status);
    std::snprintf(failure_detail, sizeof failure_detail, "%s", detail != nullptr ? detail : "");
    if (debug_level() != 0) rzl_report(status, source, line, detail);
}

int refuse(CFILE* c, uint32_t status, const char* source, const char* detail, int line) {
    fail(c, status, source, detail, line);
    return 1;
}

bool fails(CFILE* c, uint32_t status, const char* source, const char* detail, int line) {
    fail(c, status, source, detail, line);
    return false;
}

uint32_t last_status() {
    return library_status.load(std::memory_order_relaxed);
}

void set_last_status(uint32_t status) {
    library_status.store(status, std::memory_order_relaxed);
}

bool is_extended() {
    return library_extended.load(std::memory_order_relaxed);
}
void rzl_set_extended(int on) {
    library_extended.store(on != 0, std::memory_order_relaxed);
}

int32_t debug_level() {
    return library_debug_level.load(std::memory_order_relaxed);
}

void read_debug_level() {
    const char* text = std::getenv("RZL_DEBUG");
    if (text == nullptr) return;
    auto level = static_cast<int32_t>(std::strtol(text, nullptr, 10));
    library_debug_level.store(level, std::memory_order_relaxed);
}

bool handle_is_valid(CFILE* c, const char* word) {
    if (c != nullptr && c->magic == CFILE_MAGIC) return true;
    fail(nullptr, RZL_BAD_CFILE, "CORE/info", word);
    return false;
}

bool handle_enter(CFILE* c, const char* word) {
    if (!handle_is_valid(c, word)) return false;
    lock_enter(c->lock);
    ++c->depth;
    c->status = 0;
    set_last_status(0);
    return true;
}

int handle_leave(CFILE* c, int result) {
    // The block of a file in memory is the application's between calls.
    if (c->ahead.start != nullptr && has_flag(c, FLAG_MEMORY)) io_settle(c);
    set_last_status(c->status);
    // A handle that is being closed has no file any more, and nothing of it holds.
    if (--c->depth == 0 && c->file != nullptr) check_handle(c);
    lock_leave(c->lock);
    return result;
}

const char* rzl_status_name(uint32_t status) {
    if (status == 0) return "RZL_SUCCESS";
    const status_row* row = find_row(status);
    return row != nullptr ? row->name : "RZL_UNKNOWN";
}

const char* rzl_status_text(uint32_t status) {
    if (status == 0) return "The operation succeeded.";
    const status_row* row = find_row(status);
    return row != nullptr ? row->text : "The operation failed for an unknown reason.";
}

const char* rzl_status_detail(void) {
    return failure_detail;
}
