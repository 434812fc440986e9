// VRLC files: writing lines, and what ends the file.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/CORE/runs.h"
#include "raster/VRLC/vrlc.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "VRLC/irputli";

uint8_t* put_word(uint8_t* out, size_t word) {
    store_u16be(out, static_cast<uint16_t>(word));
    return out + 2;
}

// ---- lines ---------------------------------------------------------------------------------------------------------

// A count, and the first pixel of each run of ones with the one behind it.
bool put_bits(CFILE* c, ir_spec* spec, const uint8_t* words) {
    auto width = static_cast<uint32_t>(c->xsize);
    cit_changes line = {};
    if (!cit_changes_white(&line, width) || !cit_changes_from_bits(&line, width, words)) {
        cit_changes_free(&line);
        return fails(c, RZL_NO_MEMORY, SOURCE, "putline");
    }
    // A run that ends with the line has no change there.
    size_t pairs = (line.count + 1) / 2;
    bool good = ir_need_room(c, 2 + pairs * 4);
    if (good) {
        uint8_t* out = put_word(spec->room, pairs);
        for (size_t i = 0; i < pairs * 2; ++i)
            out = put_word(out, static_cast<size_t>(line.at[i])); // the guards are the width
    }
    cit_changes_free(&line);
    return good && put_all(c, spec->room, 2 + pairs * 4, SOURCE);
}

// Equal pixels from `at` on, as many as a run can have.
size_t run_at(const uint8_t* line, size_t at, size_t width) {
    return 1 + equal_stretch<1>(&line, at, 1, std::min(width - at, IR_MOST_RUN) - 1);
}

// A chunk of runs: as long as they follow each other. Where it ends in the line.
size_t put_run_chunk(const uint8_t* line, size_t at, size_t width, uint8_t** out) {
    uint8_t* start = *out;
    uint8_t* next = start + 2;
    while (at < width) {
        size_t run = run_at(line, at, width);
        if (run < IR_LEAST_RUN) break;
        *next++ = static_cast<uint8_t>(run); // the high byte of the word
        *next++ = line[at];
        at += run;
    }
    (void)put_word(start, static_cast<size_t>(next - start) - 2);
    *out = next;
    return at;
}

// A chunk of bytes as they are, up to the next run.
size_t put_literal_chunk(const uint8_t* line, size_t at, size_t width, uint8_t** out) {
    size_t end = at;
    while (end < width) {
        size_t run = run_at(line, end, width);
        if (run >= IR_LEAST_RUN) break;
        end += run;
        if (run == 1 && end + 1 < width) end += unequal_stretch<1>(&line, end, 1, width - end - 1);
    }
    uint8_t* next = put_word(*out, end - at);
    std::memcpy(next, line + at, end - at);
    next += end - at;
    if ((end - at) % 2 != 0) *next++ = 0;
    *out = next;
    return end;
}

// Even lines without runs have but the heads of chunks beside their bytes; a run of 8 is worth a chunk's head.
size_t most_bytes(size_t width) {
    constexpr size_t HEADS = 16;
    return width * 2 + HEADS;
}

bool put_bytes(CFILE* c, ir_spec* spec, const uint8_t* line) {
    auto width = static_cast<size_t>(c->xsize);
    for (size_t i = 0; i < width; ++i)
        ++spec->histogram[line[i]];
    if (!ir_need_room(c, most_bytes(width))) return false;
    uint8_t* out = spec->room;
    int empty = 0;
    size_t at = 0;
    for (bool runs = true; at < width || empty < 2; runs = !runs) {
        size_t end = runs ? put_run_chunk(line, at, width, &out) : put_literal_chunk(line, at, width, &out);
        empty = end == at ? empty + 1 : 0;
        at = end;
    }
    return put_all(c, spec->room, static_cast<size_t>(out - spec->room), SOURCE);
}

// ---- the end of the file -------------------------------------------------------------------------------------------

struct tail_out {
    uint8_t bytes[IR_HEAD + IR_RECORD_BYTES + IR_HISTOGRAM + IR_TRANSLATION + IR_DIRECTORY];
    size_t size;
};

// A block of zeros that is to be filled. Where it begins.
uint8_t* add_block(tail_out* tail, size_t bytes) {
    uint8_t* start = tail->bytes + tail->size;
    std::memset(start, 0, bytes);
    tail->size += bytes;
    return start;
}

void store_double(uint8_t* out, double value) {
    store_f64le(out, value);
    std::reverse(out, out + sizeof value);
}

// Header and record. What is not told here is zero, or one where a number is meant; the order of lines is 0, upright.
void add_data(const CFILE* c, const ir_spec* spec, tail_out* tail) {
    constexpr size_t AT_UNIT = 16;
    constexpr size_t AT_NUMBERS = 32;
    uint8_t* head = add_block(tail, IR_HEAD);
    head[0] = head[1] = 'M';
    store_u16be(head + 4, static_cast<uint16_t>(c->ysize));
    store_u16be(head + 6, static_cast<uint16_t>(c->xsize));
    uint8_t* record = add_block(tail, spec->subtype == IR_BITS ? IR_RECORD_BITS : IR_RECORD_BYTES);
    store_double(record + AT_UNIT, 1.0);
    store_double(record + IR_AT_DENSITY, spec->density);
    store_u16be(record + AT_NUMBERS, 1);
    store_u16be(record + AT_NUMBERS + 2, 1);
}

void add_histogram(const ir_spec* spec, tail_out* tail) {
    uint8_t* out = add_block(tail, IR_HISTOGRAM);
    store_u32be(out, 256);
    for (size_t i = 0; i < 256; ++i)
        store_u32be(out + 4 + i * 4, spec->histogram[i]);
}

void add_translation(const ir_spec* spec, tail_out* tail) {
    uint8_t* out = add_block(tail, IR_TRANSLATION);
    store_u16be(out, 256);
    std::memcpy(out + 2, spec->translation, sizeof spec->translation);
}

void put_entry(uint8_t** out, uint16_t type, uint16_t subtype, int64_t offset, int64_t length) {
    bool is_data = type == 2 || type == 14;
    store_u16le(*out, type);
    store_u16le(*out + 2, subtype);
    store_u16le(*out + 4, is_data ? 2 : 0);
    store_u16le(*out + 6, is_data ? 1 : 0);
    store_u32le(*out + 8, static_cast<uint32_t>(offset));
    store_u32le(*out + 12, static_cast<uint32_t>(length));
    *out += 16;
}

void add_directory(const ir_spec* spec, int64_t data, size_t histogram, size_t translation, tail_out* tail) {
    constexpr uint8_t MARK[20] = {0,   0,   0,   0,    0,   0,   0,   0,   0x1A, 0x1A,
                                  'U', 'd', 's', 0x82, 'C', 'J', 'I', 'I', 0xFF, 0xFF};
    bool bits = spec->subtype == IR_BITS;
    uint8_t* out = add_block(tail, IR_DIRECTORY);
    std::memcpy(out, MARK, sizeof MARK);
    store_u16le(out + 20, static_cast<uint16_t>(spec->version));
    store_u16le(out + 22, bits ? 2 : 4);
    out += 24;
    put_entry(&out, 1, spec->subtype, 0, data);
    put_entry(&out, bits ? 2 : 14, 0, data,
              IR_DIRECTORY + static_cast<int64_t>(bits ? IR_RECORD_BITS : IR_RECORD_BYTES));
    if (bits) return;
    put_entry(&out, 13, 0, data + static_cast<int64_t>(histogram), IR_HISTOGRAM);
    put_entry(&out, 12, 0, data + static_cast<int64_t>(translation), IR_TRANSLATION);
}

bool write_tail(CFILE* c, const ir_spec* spec) {
    int64_t data = io_tell(c);
    bool reaches = data >= 0 && data <= INT64_C(0xFFFFFFFF) - static_cast<int64_t>(sizeof(tail_out));
    if (!reaches) return fails(c, RZL_WRITE_FAILED, SOURCE, "the file is too long");
    tail_out tail;
    tail.size = 0;
    add_data(c, spec, &tail);
    size_t histogram = tail.size;
    if (spec->subtype == IR_BYTES) add_histogram(spec, &tail);
    size_t translation = tail.size;
    if (spec->subtype == IR_BYTES) add_translation(spec, &tail);
    add_directory(spec, data, histogram, translation, &tail);
    return put_all(c, tail.bytes, tail.size, SOURCE);
}

} // namespace

// A file that was opened has its header and keeps it, and so does one whose header is written.
int ir_write_header(CFILE* c) {
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    bool fits = c->xsize >= 1 && c->xsize <= IR_MOST && c->ysize >= 1 && c->ysize <= IR_MOST;
    if (!fits) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    uint8_t header[IR_FIRST_LINE];
    store_u16be(header, static_cast<uint16_t>(c->ysize));
    store_u16be(header + 2, static_cast<uint16_t>(c->xsize));
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!put_all(c, header, sizeof header, SOURCE)) return 1;
    if (is_readable(c) && rzl_record_lines(c, static_cast<int64_t>(IR_FIRST_LINE), 1) != 0) return 1;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int ir_put_line(CFILE* c, int channels, write_planes buffers) {
    ir_spec* spec = ir_spec_of(c);
    if (channels != 1) return fails(c, RZL_UNSUP_IR, SOURCE, "IR");
    bool next = c->mode != MODE_UPDATE && c->line == spec->lines_put;
    if (!next) return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    mem_guard<uint8_t> black(nullptr);
    const uint8_t* line = buffers[0];
    if (line == nullptr) {
        black.block = static_cast<uint8_t*>(mem_alloc_zeroed(line_bytes(c, c->xsize)));
        if (!black) return fails(c, RZL_NO_MEMORY, SOURCE, "putline");
        line = black.get();
    }
    if (spec->subtype == IR_BITS ? !put_bits(c, spec, line) : !put_bytes(c, spec, line)) return 0;
    ++spec->lines_put;
    return c->xsize;
}

// The tail stands behind all lines that have come.
void ir_close(CFILE* c) {
    bool is_new = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    if (ir_spec_of(c) == nullptr || !is_new || !has_flag(c, FLAG_HEADER_EXISTS)) return;
    int64_t size = c->mode == MODE_WRITE_READ ? io_size(c) : -1;
    if (size >= 0 && !io_seek(c, size)) {
        fail(c, RZL_WRITE_FAILED, SOURCE, nullptr);
        return;
    }
    (void)write_tail(c, ir_spec_of(c));
}
