// Lines as runs, seeking, and copies of data from file to file.
#include "raster/PNM/pnmmisc.h"

#include <algorithm>
#include <cstring>

#include "raster/CCITT/citcode.h"
#include "raster/CCITT/citfile.h"
#include "raster/CORE/module.h"
#include "raster/CORE/runs.h"
#include "support/memory.h"

namespace {

constexpr uint32_t LONGEST_BIT_RUN = 32767;
constexpr uint32_t LONGEST_BYTE_RUN = 65535;
constexpr uint32_t LONGEST_COLOR_RUN = 255;

// Words going out, as far as there is room.
struct run_writer {
    uint8_t* next;
    uint8_t* end;
};

size_t room_of(const run_writer* w) {
    return static_cast<size_t>(w->end - w->next);
}

void put_word(run_writer* w, uint32_t word) {
    auto narrow = static_cast<uint16_t>(word);
    std::memcpy(w->next, &narrow, sizeof narrow);
    w->next += sizeof narrow;
}

// ---- bits ----------------------------------------------------------------------------------------------------------

struct bit_runs {
    run_writer out;
    uint32_t covered; // pixels
    bool set;         // the next run is one of set bits
};

// The run that ends before pixel `at`. False without room for it and `more` words.
bool end_bit_run(bit_runs* r, uint32_t at, size_t more) {
    for (uint32_t left = at - r->covered;;) {
        uint32_t run = std::min(left, LONGEST_BIT_RUN);
        size_t words = run < left ? 2 : 1;
        if (room_of(&r->out) < (words + more) * sizeof(uint16_t)) return false;
        put_word(&r->out, run);
        if (run < left) put_word(&r->out, 0);
        r->covered += run;
        left -= run;
        if (left == 0) break;
    }
    r->set = !r->set;
    return true;
}

// The last run, and one of no clear bits behind one of set ones.
bool end_bit_line(bit_runs* r, uint32_t width) {
    bool ends_set = r->set;
    if (!end_bit_run(r, width, ends_set ? 1 : 0)) return false;
    if (ends_set) put_word(&r->out, 0);
    return true;
}

bool code_bits(bit_runs* r, uint32_t width, const uint8_t* bits) {
    cit_bit_reader in = cit_bits_open(bits, width);
    uint64_t edges = 0;
    while (cit_bits_edges(&in, &edges))
        while (edges != 0)
            if (!end_bit_run(r, in.base + cit_bits_next(&edges), 0)) return false;
    return end_bit_line(r, width);
}

// Pixels from `at` on that are as the one there.
template <size_t Planes> uint32_t same_pixels(const uint8_t* const* lines, uint32_t at, uint32_t width, uint32_t most) {
    uint32_t limit = std::min(width - at - 1, most - 1);
    return 1 + static_cast<uint32_t>(equal_stretch<Planes>(lines, at, 1, limit));
}

// What has been coded of a line: *size, and the pixels.
uint32_t tell_size(size_t* size, const uint8_t* runs, const run_writer* w, uint32_t covered, bool whole) {
    *size = static_cast<size_t>(w->next - runs) + (whole ? 0 : RUNS_MORE_ROOM);
    return covered;
}

// ---- the slot ------------------------------------------------------------------------------------------------------

// Bytes that no line of the handle's width and data format needs more than.
size_t most_bytes(const CFILE* c) {
    auto width = static_cast<size_t>(c->xsize);
    if (!format_is_bilevel(c->format)) return width * 4;
    return (width + 2 + width / LONGEST_BIT_RUN * 2) * sizeof(uint16_t);
}

uint32_t code_line(const CFILE* c, uint8_t* const* planes, size_t* size, uint8_t* runs) {
    auto width = static_cast<uint32_t>(c->xsize);
    if (format_is_bilevel(c->format)) return rzl_runs_from_bits(size, width, planes[0], runs);
    if (c->samples == 3) return rzl_runs_from_planes(size, width, planes[0], planes[1], planes[2], runs);
    return rzl_runs_from_bytes(size, width, planes[0], runs);
}

} // namespace

uint32_t rzl_runs_from_bits(size_t* size, uint32_t width, const uint8_t* bits, uint8_t* runs) {
    bit_runs r = {{runs, runs + *size}, 0, false};
    bool whole = code_bits(&r, width, bits);
    return tell_size(size, runs, &r.out, whole ? width : r.covered, whole);
}

uint32_t rzl_runs_from_bytes(size_t* size, uint32_t width, const uint8_t* bytes, uint8_t* runs) {
    run_writer w = {runs, runs + *size};
    uint32_t at = 0;
    while (at < width && room_of(&w) >= 2 * sizeof(uint16_t)) {
        uint32_t run = same_pixels<1>(&bytes, at, width, LONGEST_BYTE_RUN);
        put_word(&w, bytes[at]);
        put_word(&w, run);
        at += run;
    }
    return tell_size(size, runs, &w, at, at == width);
}

uint32_t rzl_runs_from_planes(size_t* size, uint32_t width, const uint8_t* first, const uint8_t* second,
                              const uint8_t* third, uint8_t* runs) {
    const uint8_t* const lines[3] = {first, second, third};
    run_writer w = {runs, runs + *size};
    uint32_t at = 0;
    while (at < width && room_of(&w) >= sizeof(uint32_t)) {
        uint32_t run = same_pixels<3>(lines, at, width, LONGEST_COLOR_RUN);
        uint32_t word =
            third[at] | static_cast<uint32_t>(second[at]) << 8 | static_cast<uint32_t>(first[at]) << 16 | run << 24;
        std::memcpy(w.next, &word, sizeof word);
        w.next += sizeof word;
        at += run;
    }
    return tell_size(size, runs, &w, at, at == width);
}

int rzl_get_line_as_runs(CFILE* c, int channels, uint8_t* const* buffers, uint32_t refusal, const char* source) {
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    if (has_flag(c, FLAG_SQUETCH)) return fails(c, refusal, source, "No squetch for RLE lines");
    size_t plane = std::max(line_bytes(c, c->xsize), static_cast<size_t>(c->xsize));
    auto samples = static_cast<size_t>(c->samples == 3 ? 3 : 1);
    mem_guard<uint8_t> block(static_cast<uint8_t*>(mem_alloc_array(plane, samples)));
    if (!block) return fails(c, RZL_NO_MEMORY, source, nullptr);
    uint8_t* planes[3] = {block.get(), block.get() + plane, block.get() + plane * 2};
    int64_t start = io_tell(c);
    bool carries = has_flag(c, FLAG_LINE_CARRIES);
    int32_t line = c->line;
    if (c->slots.Get_line(c, static_cast<int>(samples), planes) <= 0) return 0;
    size_t size = channels > 0 && buffers[0] != nullptr ? static_cast<size_t>(std::max(c->rle_size, 0)) : 0;
    uint8_t nowhere = 0;
    bool whole = code_line(c, planes, &size, size > 0 ? buffers[0] : &nowhere) == static_cast<uint32_t>(c->xsize);
    c->rle_size = static_cast<int32_t>(std::min<size_t>(whole ? size : most_bytes(c), INT32_MAX));
    if (whole) {
        rzl_note_line(c);
        return c->rle_size;
    }
    // A line that the decoder was inside of can be found again from the last one that begins at a place.
    bool back = carries ? c->slots.Seek(c, line) == 0 : io_seek(c, start);
    c->line = line;
    set_flag(c, FLAG_LINE_CARRIES, carries);
    return fails(c, back ? RZL_RLE_BUFFER_SMALL : RZL_READ_FAILED, source, nullptr);
}

int rzl_put_runs_as_line(CFILE* c, int channels, const uint8_t* const* buffers, uint32_t refusal, const char* source) {
    if (putline_error_check(c) != 0) return 0;
    bool fits = channels == 1 && buffers[0] != nullptr && format_is_bilevel(c->format);
    if (!fits) return fails(c, refusal, source, "Putrleline");
    mem_guard<uint8_t> words(static_cast<uint8_t*>(mem_alloc(line_bytes(c, c->xsize))));
    if (!words) return fails(c, RZL_NO_MEMORY, source, nullptr);
    if (!cit_take_runs(c, buffers[0], words.get(), source)) return 0;
    const uint8_t* plane = words.get();
    return c->slots.Put_line(c, 1, &plane);
}

int rzl_seek_inside(CFILE* c, int32_t line) {
    bool inside = has_flag(c, FLAG_SQUETCH) || line <= c->ysize; // a resampled image has other lines
    return inside ? rzl_seek_generic(c, line) : refuse(c, RZL_PAST_END, "PNM/pnmmisc", "seek");
}

bool rzl_copy_check(CFILE* from, CFILE* to, const char* source) {
    uint32_t status = 0;
    if (!is_writable(to)) status = RZL_NEEDS_WRITE;
    if (status == 0 && !is_readable(from)) status = RZL_NEEDS_READ;
    if (status == 0) return true;
    fail(from, status, source, "copydata");
    return fails(to, status, source, "copydata");
}

int rzl_copy_rest(CFILE* from, CFILE* to, const char* source) {
    constexpr size_t BLOCK = 65536;
    mem_guard<uint8_t> block(mem_new_array<uint8_t>(BLOCK));
    uint32_t status = block ? 0 : RZL_NO_MEMORY;
    for (size_t bytes = BLOCK; status == 0 && bytes == BLOCK;) {
        bytes = io_read(from, block.get(), BLOCK);
        if (io_write(to, block.get(), bytes) != bytes) status = RZL_WRITE_FAILED;
    }
    if (status == 0) return 0;
    fail(from, status, source, "copydata");
    return refuse(to, status, source, "copydata");
}
