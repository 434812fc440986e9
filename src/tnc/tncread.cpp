// Reads a .tnc file: two bytes (250, then a version from 0 to 3) and a stream of records, each opened by one byte. From
// record 242 on the bytes come out of a compressed stream. Multi-byte numbers are little-endian.
//
//   0 .. 239  sample of that pen: red, green, blue; with u,v then u (16 bits), v (16 bits)
//   241       packed line: pen, line (16), length (16), code
//   242       the rest is a compressed stream
//   243       header: kind; for kind 1 a text ended by a zero byte
//   249       pen definition: pen, flag (0: with u,v)
//   251, 252  next column; skip columns: count (16)
//   253, 254  next line; skip lines: count (16)
//   255       end
//
// A byte that is missing at the end of the file reads as 255, so what is cut ends by itself; `complete` tells of it.
#include <algorithm>
#include <climits>
#include <cstring>

#include "platform/files.h"
#include "support/bytes.h"
#include "support/checked.h"
#include "support/log.h"
#include "support/memory.h"
#include "tnc/builder.h"
#include "tnc/decompress.h"
#include "tnc/penline.h"
#include "tnc/pline.h"
#include "tnc/tnc.h"

namespace {

constexpr int MAGIC = 250;
constexpr int LAST_VERSION = 3;

enum record_code : int {
    RECORD_PACKED_LINE = 241,
    RECORD_COMPRESSED = 242,
    RECORD_HEADER = 243,
    RECORD_PEN = 249,
    RECORD_NEXT_COLUMN = 251,
    RECORD_SKIP_COLUMNS = 252,
    RECORD_NEXT_LINE = 253,
    RECORD_SKIP_LINES = 254,
    RECORD_END = 255,
};

constexpr int HEADER_NAME = 1;
constexpr size_t NAME_SIZE = 128;

// The longest stretch of bytes that is taken at once.
constexpr size_t TAKE_MAX = 8;

// Bytes of a file that are read at once where lines come packed: more than the longest line.
constexpr size_t READ_AHEAD = size_t{1} << 17;

// Where the bytes of records come from: the file, or the compressed stream in it. Both hold a window of bytes that are
// ready; `next` and `end` point to its bounds.
struct record_source {
    const uint8_t** next;
    const uint8_t* const* end;
    file_reader* file;
    decompress_context* stream; // null before record 242
    bool ended;                 // a byte was asked for that was not there
    uint8_t spare[TAKE_MAX];
};

constexpr int64_t PIXELS_MOST = int64_t{1} << 50; // of a picture, for the limits that follow from it

// The most bytes of code that a sample of a packed line takes.
constexpr int64_t SAMPLE_BYTES_MOST = 8;

// Lines of a pen that may hold something.
struct line_range {
    int32_t first, last;
};

constexpr line_range NO_LINES = {INT32_MAX, -1};

// What was passed over, and how often.
struct damage {
    int64_t undefined_pens, past_the_end; // packed lines that have no place
    int64_t cut_items, without_end, without_uv_code;
};

struct tnc_reader {
    const char* path;
    record_source source;
    tnc_image* image; // owned until the reading is done
    pen_builder* builder;
    pline_store store; // of the lines that come packed; its chunks go to the image
    line_range used[PEN_COUNT];
    int64_t samples_left; // that may still come
    int64_t clears_left;  // lines of pens that may still be taken back
    damage passed_over;
};

// What a record leads to.
enum class reading {
    goes_on,
    ends,  // normally
    cut,   // the image is given with what it holds
    fails, // after a message: no image
    stops, // the same, and the program is to stop
};

// The next byte, -1 where there is none: between two records that is the end of the image.
int source_next(record_source* s) {
    return s->stream != nullptr ? decompress_getc(s->stream) : reader_getc(s->file);
}

// The same inside of a record, which is cut then.
int source_getc(record_source* s) {
    int byte = source_next(s);
    if (byte < 0) s->ended = true;
    return byte;
}

const uint8_t* take_slowly(record_source* s, size_t count) {
    for (size_t i = 0; i < count; ++i)
        s->spare[i] = static_cast<uint8_t>(source_getc(s));
    return s->spare;
}

// The next `count` bytes, at most TAKE_MAX, valid until the next call. Missing ones are 255.
inline const uint8_t* source_take(record_source* s, size_t count) {
    const uint8_t* at = *s->next;
    if (static_cast<size_t>(*s->end - at) < count) return take_slowly(s, count);
    *s->next = at + count;
    return at;
}

size_t source_read_slowly(record_source* s, void* to, size_t bytes) {
    size_t got = s->stream != nullptr ? decompress_read(to, 1, bytes, s->stream) : reader_read(s->file, to, bytes);
    if (got < bytes) s->ended = true;
    return got;
}

inline size_t source_read(record_source* s, void* to, size_t bytes) {
    const uint8_t* at = *s->next;
    if (static_cast<size_t>(*s->end - at) < bytes) return source_read_slowly(s, to, bytes);
    std::memcpy(to, at, bytes);
    *s->next = at + bytes;
    return bytes;
}

// Passes over bytes. False when there are fewer.
bool source_skip(record_source* s, size_t bytes) {
    uint8_t passed[1024];
    while (bytes > 0) {
        size_t step = bytes < sizeof passed ? bytes : sizeof passed;
        if (source_read(s, passed, step) < step) return false;
        bytes -= step;
    }
    return true;
}

// Bytes that are known to be left, -1 when that can't be told.
int64_t source_left(const record_source* s) {
    if (s->stream != nullptr || s->file->size < 0) return -1;
    return reader_left(s->file);
}

void source_use_file(record_source* s, file_reader* file) {
    s->file = file;
    s->next = &file->next;
    s->end = &file->end;
}

void source_use_stream(record_source* s, decompress_context* stream) {
    s->stream = stream;
    s->next = &stream->next;
    s->end = &stream->end;
}

// ---- the image -----------------------------------------------------------------------------------------------------

// Releases the packed lines of a pen in a range of lines.
void free_lines(compressed_pen* pen, int32_t first, int32_t last) {
    for (int32_t y = first; y <= last; ++y) {
        pline_free_chain(pen->lines[y]);
        pen->lines[y] = nullptr;
    }
}

tnc_image* image_new(int32_t line_count) {
    auto* image = mem_new<tnc_image>();
    if (image == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for tnc image structure.\n");
        return nullptr;
    }
    image->line_count = line_count > 0 ? line_count : 0;
    return image;
}

compressed_pen* pen_new(int pen, int32_t line_count) {
    size_t bytes = 0;
    if (!checked_mul(static_cast<size_t>(line_count), sizeof(void*), &bytes)) return nullptr;
    if (!checked_add(bytes, sizeof(compressed_pen), &bytes)) return nullptr;
    auto* made = static_cast<compressed_pen*>(mem_alloc_zeroed(bytes));
    if (made == nullptr) return nullptr;
    made->pen = pen;
    made->line_count = line_count;
    return made;
}

void note_line(tnc_reader* r, int pen, int32_t y) {
    line_range* used = &r->used[pen];
    if (y < used->first) used->first = y;
    if (y > used->last) used->last = y;
}

// The line-done action of the builder: the chain takes the place of what stood there, which is released.
void store_chain(void* user, int pen, int /*has_uv*/, int32_t y, pline* chain) {
    auto* r = static_cast<tnc_reader*>(user);
    compressed_pen* found = r->image->pens[pen];
    if (found == nullptr || y < 0 || y >= found->line_count) {
        pline_free_chain(chain);
        return;
    }
    pline_free_chain(found->lines[y]);
    found->lines[y] = chain;
    note_line(r, pen, y);
}

// ---- records -------------------------------------------------------------------------------------------------------

// The end of the reading after a message that tells why.
reading cut_with_reason(tnc_reader* r) {
    r->image->reason_told = true;
    return reading::cut;
}

// Counts samples that have come.
reading take_samples(tnc_reader* r, int64_t count) {
    r->samples_left -= count;
    if (r->samples_left >= 0) return reading::goes_on;
    log_message(LOG_WARNING, "\"%.500s\" holds more samples than its picture can: reading stops at line %d.\n", r->path,
                builder_y(r->builder));
    return cut_with_reason(r);
}

reading read_sample(tnc_reader* r, int pen) {
    const uint8_t* p = source_take(&r->source, 3);
    uint8_t red = p[0];
    uint8_t green = p[1];
    uint8_t blue = p[2];
    const compressed_pen* found = pen < PEN_COUNT ? r->image->pens[pen] : nullptr;
    if (found == nullptr) {
        log_message(LOG_WARNING, "Pixel data found for unknown pen %d\n", pen);
        return reading::stops;
    }
    uint16_t u = 0;
    uint16_t v = 0;
    if (found->has_uv != 0) {
        p = source_take(&r->source, 4);
        u = load_u16le(p);
        v = load_u16le(p + 2);
    }
    builder_add_sample(r->builder, pen, red, green, blue, u, v);
    return take_samples(r, 1);
}

reading no_bytes_for_line(tnc_reader* r, int length) {
    log_message(LOG_WARNING, "Failed to read %d bytes for pline.\n", length);
    return cut_with_reason(r);
}

reading no_memory_for_line() {
    log_message(LOG_WARNING, "Failed to allocated memory for pline.\n");
    return reading::fails;
}

reading line_of_stream(tnc_reader* r, uint16_t length, pline** line) {
    *line = pline_store_new(&r->store, length, 0);
    if (*line == nullptr) return no_memory_for_line();
    return source_read(&r->source, (*line)->code, length) == length ? reading::goes_on : no_bytes_for_line(r, length);
}

// Whether the next bytes of the file stand in the store, where a line of `length` of them can be kept.
bool stands_in_store(const tnc_reader* r, size_t length) {
    const file_reader* file = r->source.file;
    auto next = reinterpret_cast<uintptr_t>(file->next);
    if (next < reinterpret_cast<uintptr_t>(r->store.next) || next >= reinterpret_cast<uintptr_t>(r->store.end))
        return false;
    return static_cast<size_t>(file->end - file->next) >= length && pline_store_has_record(&r->store, file->end);
}

// The bytes of the line are read into the store, with many of those that follow.
reading line_of_file(tnc_reader* r, uint16_t length, pline** line) {
    file_reader* file = r->source.file;
    if (!stands_in_store(r, length)) {
        auto held = static_cast<size_t>(file->end - file->next);
        size_t room = held < length ? READ_AHEAD : held;
        if (!pline_store_reserve(&r->store, room, source_left(&r->source))) return no_memory_for_line();
        if (reader_fill_at(file, r->store.next, room) < length) {
            r->source.ended = true;
            return no_bytes_for_line(r, length);
        }
    }
    uint8_t* code = r->store.next + (file->next - r->store.next);
    file->next += length;
    *line = pline_store_keep(&r->store, code, length);
    return reading::goes_on;
}

// Looks at what a packed line is worth. A line costs memory of its own, and one of no sense as much as one of samples.
reading judge_line(tnc_reader* r, const pline* line) {
    penline_content content = penline_examine(line);
    r->passed_over.without_uv_code += content.without_uv_code;
    if (content.ends_in_item) {
        ++r->passed_over.cut_items;
    } else if (!content.has_end) {
        ++r->passed_over.without_end;
    }
    return take_samples(r, 1 + std::max(content.samples, int64_t{line->length} / SAMPLE_BYTES_MOST));
}

// A line of a pen that is not defined (yet), or past the last line, has no place: it is read and dropped.
reading read_packed_line(tnc_reader* r) {
    const uint8_t* p = source_take(&r->source, 5);
    int pen = p[0];
    int32_t y = load_u16le(p + 1);
    uint16_t length = load_u16le(p + 3);
    int64_t left = source_left(&r->source);
    if (left >= 0 && left < length) return no_bytes_for_line(r, length);
    compressed_pen* found = pen < PEN_COUNT ? r->image->pens[pen] : nullptr;
    if (found == nullptr || y >= found->line_count) {
        ++(found == nullptr ? r->passed_over.undefined_pens : r->passed_over.past_the_end);
        return source_skip(&r->source, length) ? reading::goes_on : no_bytes_for_line(r, length);
    }
    pline* line = nullptr;
    reading state = r->source.stream != nullptr ? line_of_stream(r, length, &line) : line_of_file(r, length, &line);
    r->image->chunks = r->store.chunks;
    if (state != reading::goes_on) return state;
    line->next = found->lines[y];
    found->lines[y] = line;
    note_line(r, pen, y);
    return judge_line(r, line);
}

// A compressed stream inside a compressed stream has no meaning: the reading ends there as at a cut.
reading start_compressed(tnc_reader* r) {
    if (r->source.stream != nullptr) return reading::cut;
    decompress_context* stream = decompress_open(r->source.file);
    if (stream == nullptr) {
        log_message(LOG_WARNING, "failed to start decompression\n");
        return reading::stops;
    }
    source_use_stream(&r->source, stream);
    return reading::goes_on;
}

// An overlong text is cut; what is left of it is read as records.
reading read_header(tnc_reader* r) {
    if (source_take(&r->source, 1)[0] != HEADER_NAME) return reading::goes_on;
    char text[NAME_SIZE];
    size_t length = 0;
    do {
        text[length] = static_cast<char>(source_take(&r->source, 1)[0]);
    } while (text[length] != '\0' && ++length < NAME_SIZE);
    text[NAME_SIZE - 1] = '\0';
    char* name = mem_copy_text(text);
    if (name == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for tnc image structure.\n");
        return reading::fails;
    }
    mem_free(r->image->name);
    r->image->name = name;
    return reading::goes_on;
}

// Takes the lines of a pen back. Files that do so all the time would take long for a few bytes.
reading clear_pen(tnc_reader* r, compressed_pen* pen, line_range* used) {
    free_lines(pen, used->first, used->last);
    if (used->last >= used->first) r->clears_left -= int64_t{used->last} - used->first;
    *used = NO_LINES;
    if (r->clears_left >= 0) return reading::goes_on;
    log_message(LOG_WARNING, "\"%.500s\" defines its pens over and over: reading stops at line %d.\n", r->path,
                builder_y(r->builder));
    return cut_with_reason(r);
}

// A second definition takes the place of the first: the pen starts again with no lines. Its record is used again, so
// that a file of definitions costs no more than one of each.
reading read_pen(tnc_reader* r) {
    const uint8_t* p = source_take(&r->source, 2);
    int pen = p[0];
    int has_uv = p[1] == 0 ? 1 : 0;
    if (pen >= PEN_COUNT) return reading::goes_on;
    compressed_pen* found = r->image->pens[pen];
    if (found == nullptr) {
        found = pen_new(pen, r->image->line_count);
        if (found == nullptr) {
            log_message(LOG_WARNING, "failed to allocate memory for compressed_pen\n");
            return reading::fails;
        }
        r->image->pens[pen] = found;
    }
    found->has_uv = has_uv;
    builder_set_pen(r->builder, pen, has_uv);
    return clear_pen(r, found, &r->used[pen]);
}

int32_t take_count(tnc_reader* r) {
    return load_u16le(source_take(&r->source, 2));
}

reading read_record(tnc_reader* r, int code) {
    switch (code) {
    case RECORD_PACKED_LINE: return read_packed_line(r);
    case RECORD_COMPRESSED: return start_compressed(r);
    case RECORD_HEADER: return read_header(r);
    case RECORD_PEN: return read_pen(r);
    case RECORD_NEXT_COLUMN: builder_move_x(r->builder, 1); return reading::goes_on;
    case RECORD_SKIP_COLUMNS: builder_move_x(r->builder, take_count(r)); return reading::goes_on;
    case RECORD_NEXT_LINE: builder_next_line(r->builder); return reading::goes_on;
    case RECORD_SKIP_LINES: builder_skip_lines(r->builder, take_count(r)); return reading::goes_on;
    case RECORD_END: return reading::ends;
    default: return read_sample(r, code);
    }
}

reading read_records(tnc_reader* r) {
    for (;;) {
        int code = source_next(&r->source);
        if (code < 0) return r->source.file->failed ? reading::cut : reading::ends; // no end record is needed
        reading state = read_record(r, code);
        if (builder_has_failed(r->builder)) return reading::stops;
        if (state != reading::goes_on) return state;
        if (builder_y(r->builder) >= r->image->line_count) return reading::ends;
    }
}

// ---- messages ------------------------------------------------------------------------------------------------------

void tell_lines(const tnc_reader* r, int64_t count, const char* what) {
    if (count == 0) return;
    log_message(LOG_WARNING, "\"%.500s\" is damaged: %lld packed lines %s.\n", r->path, static_cast<long long>(count),
                what);
}

void tell_damage(const tnc_reader* r) {
    const damage* d = &r->passed_over;
    tell_lines(r, d->undefined_pens, "are of pens that are not defined");
    tell_lines(r, d->past_the_end, "stand past the last line");
    tell_lines(r, d->cut_items, "are cut");
    tell_lines(r, d->without_end, "have no end");
    if (d->without_uv_code == 0) return;
    log_message(LOG_WARNING, "Error - uv_code = 0: %lld runs of \"%.500s\"\n",
                static_cast<long long>(d->without_uv_code), r->path);
}

void tell_loss(const tnc_reader* r, int64_t count, const char* of) {
    if (count == 0) return;
    log_message(LOG_WARNING, "Failed to allocate memory for %s: %lld times in \"%.500s\"\n", of,
                static_cast<long long>(count), r->path);
}

void tell_losses(const tnc_reader* r) {
    const builder_losses* lost = builder_lost(r->builder);
    tell_loss(r, lost->samples, "\"rgbuv\"");
    tell_loss(r, lost->runs, "\"run\"");
    tell_loss(r, lost->layers, "\"autoreflex\"");
    tell_loss(r, lost->lines, "compressed pen line");
}

// ---- the file ------------------------------------------------------------------------------------------------------

// Checks the two bytes at the start of the file. False after a message.
bool read_start(tnc_reader* r, const char* path) {
    int magic = source_getc(&r->source);
    int version = source_getc(&r->source);
    if (magic == MAGIC && version >= 0 && version <= LAST_VERSION) {
        r->image->version = version;
        return true;
    }
    log_message(LOG_WARNING, "expected \"%s\" to be version 0, 1, 2 or 3 tnc file\n", path);
    return false;
}

// Reads all records with a builder. Without memory for one the image stays empty, and is no failure.
reading read_with_builder(tnc_reader* r, int32_t columns) {
    r->builder = builder_new(store_chain, r);
    if (r->builder == nullptr) return reading::cut;
    builder_set_columns(r->builder, columns);
    reading state = read_records(r);
    // The line still open is packed here, which may fail too.
    builder_next_line(r->builder);
    if (builder_has_failed(r->builder)) state = reading::stops;
    tell_damage(r);
    tell_losses(r);
    builder_free(r->builder);
    decompress_close(r->source.stream);
    return state;
}

// How much the picture, and the file beside it, give room for.
void set_limits(tnc_reader* r, int32_t columns) {
    int64_t lines = r->image->line_count;
    int64_t pixels = std::min(lines * std::max(columns, 1), PIXELS_MOST);
    int64_t of_records = r->source.file->size > 0 ? r->source.file->size / SAMPLE_RECORD_BYTES : 0;
    r->samples_left = std::max(pixels * SAMPLES_A_PIXEL, SAMPLES_ALWAYS) + of_records;
    r->clears_left = lines * PEN_COUNT;
}

// Reads the opened file.
reading read_file(tnc_reader* r, int32_t columns) {
    if (!read_start(r, r->path)) return reading::stops;
    set_limits(r, columns);
    const reading state = read_with_builder(r, columns);
    r->image->complete = state == reading::ends && !r->source.ended;
    return state;
}

reading read_named_file(tnc_reader* r, int32_t columns) {
    file_reader* file = reader_open(r->path);
    if (file == nullptr) {
        log_message(LOG_WARNING, "Failed to open %s for read\n", r->path);
        return reading::stops;
    }
    source_use_file(&r->source, file);
    const reading state = read_file(r, columns);
    reader_close(file);
    return state;
}

// The image, or null; `stops` tells whether that is a fault that ends the program.
tnc_image* read_image(const char* path, int32_t line_count, int32_t columns, bool* stops) {
    *stops = false;
    tnc_reader r = {};
    r.path = path;
    for (line_range& used : r.used)
        used = NO_LINES;
    r.image = image_new(line_count);
    if (r.image == nullptr) return nullptr;
    const reading state = read_named_file(&r, columns);
    *stops = state == reading::stops;
    if (state != reading::fails && !*stops) return r.image;
    tnc_free(r.image);
    return nullptr;
}

} // namespace

tnc_image* tnc_read(const char* path, int32_t line_count, int32_t columns) {
    bool stops = false;
    tnc_image* image = read_image(path, line_count, columns, &stops);
    if (stops) stop_program(1);
    return image;
}

tnc_image* tnc_try_read(const char* path, int32_t line_count, int32_t columns) {
    bool stops = false;
    return read_image(path, line_count, columns, &stops);
}

void tnc_free(tnc_image* image) {
    if (image == nullptr) return;
    for (compressed_pen* pen : image->pens) {
        if (pen == nullptr) continue;
        free_lines(pen, 0, pen->line_count - 1);
        mem_free(pen);
    }
    pline_store_free(image->chunks);
    mem_free(image->name);
    mem_free(image);
}
