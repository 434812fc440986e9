// VRLC files: reading lines.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/citfile.h"
#include "raster/VRLC/vrlc.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "VRLC/irgetli";

bool read_failed(CFILE* c, int line = __builtin_LINE()) {
    return fails(c, RZL_READ_FAILED, SOURCE, "getline", line);
}

// The next bytes of the lines; null when they are not there. They do not reach into what follows the lines.
const uint8_t* take(CFILE* c, ir_spec* spec, size_t bytes) {
    if (!ir_need_room(c, bytes)) return nullptr;
    const uint8_t* taken = io_take(c, bytes, spec->room);
    if (taken == nullptr) (void)read_failed(c);
    return taken;
}

bool take_count(CFILE* c, const ir_spec* spec, size_t* count) {
    uint8_t spare[2];
    const uint8_t* at = io_take(c, sizeof spare, spare);
    if (at == nullptr) return read_failed(c);
    *count = ir_load(spec, at);
    return true;
}

// ---- bits ----------------------------------------------------------------------------------------------------------

// Pairs into positions at which the colour changes. False: they do not rise, or leave the line.
bool changes_of_pairs(const ir_spec* spec, const uint8_t* pairs, size_t words, int32_t width, cit_changes* line) {
    int32_t before = 0;
    for (size_t i = 0; i < words; ++i) {
        int32_t at = ir_load(spec, pairs + i * 2);
        if (at < before || at > width) return false;
        before = at;
        if (at < width) line->at[line->count++] = at;
    }
    std::fill_n(line->at + line->count, CIT_GUARDS, width);
    return true;
}

bool bits_line(CFILE* c, ir_spec* spec, uint8_t* words) {
    size_t pairs = 0;
    if (!take_count(c, spec, &pairs)) return false;
    if (pairs > static_cast<size_t>(c->xsize)) return read_failed(c);
    const uint8_t* at = take(c, spec, pairs * 4);
    if (at == nullptr) return false;
    if (words == nullptr) return true;
    if (pairs == 0) {
        std::memset(words, 0, line_bytes(c, c->xsize));
        return true;
    }
    cit_changes line = {};
    bool there = cit_changes_white(&line, static_cast<uint32_t>(c->xsize)) && cit_changes_need(&line, pairs * 2);
    if (!there) (void)fails(c, RZL_NO_MEMORY, SOURCE, "getline");
    bool good = there && (changes_of_pairs(spec, at, pairs * 2, c->xsize, &line) || read_failed(c));
    if (good) cit_changes_to_bits(&line, static_cast<uint32_t>(c->xsize), words);
    cit_changes_free(&line);
    return good;
}

// ---- bytes ---------------------------------------------------------------------------------------------------------

// Runs into the line. The pixels, or past the width when they do not fit.
size_t put_runs(const ir_spec* spec, const uint8_t* runs, size_t bytes, uint8_t* out, size_t width) {
    size_t value_at = spec->big ? 1 : 0;
    size_t done = 0;
    for (size_t i = 0; i + 1 < bytes; i += 2) {
        size_t count = runs[i + 1 - value_at];
        if (count > width - done) return width + 1;
        if (out != nullptr) std::memset(out + done, spec->translation[runs[i + value_at]], count);
        done += count;
    }
    return done;
}

size_t put_bytes(const ir_spec* spec, const uint8_t* in, size_t bytes, uint8_t* out, size_t width) {
    if (bytes > width) return width + 1;
    for (size_t i = 0; out != nullptr && i < bytes; ++i)
        out[i] = spec->translation[in[i]];
    return bytes;
}

bool bytes_line(CFILE* c, ir_spec* spec, uint8_t* out) {
    auto width = static_cast<size_t>(c->xsize);
    size_t done = 0;
    int empty = 0;
    for (bool runs = true; empty < 2; runs = !runs) {
        size_t bytes = 0;
        if (!take_count(c, spec, &bytes)) return false;
        empty = bytes == 0 ? empty + 1 : 0;
        if (bytes == 0) continue;
        const uint8_t* chunk = take(c, spec, bytes + bytes % 2);
        if (chunk == nullptr) return false;
        uint8_t* at = out != nullptr ? out + done : nullptr;
        done += runs ? put_runs(spec, chunk, bytes, at, width - done) : put_bytes(spec, chunk, bytes, at, width - done);
        if (done > width) return read_failed(c);
    }
    return done == width || read_failed(c);
}

// What a new file has is read as far as it goes; in others lines end before what follows them.
bool ends_inside(CFILE* c, const ir_spec* spec) {
    return spec->end == INT64_MAX || io_tell(c) <= spec->end || read_failed(c);
}

} // namespace

int ir_get_line(CFILE* c, int channels, read_planes buffers) {
    ir_spec* spec = ir_spec_of(c);
    bool bits = spec->subtype == IR_BITS;
    bool fits = channels == 0 || channels == 1 || (channels == 3 && !bits);
    if (!fits) return fails(c, RZL_UNSUP_IR, SOURCE, "IR");
    mem_guard<uint8_t> spare(nullptr);
    uint8_t* values = channels > 0 ? buffers[0] : nullptr;
    bool others = channels == 3 && values == nullptr && (buffers[1] != nullptr || buffers[2] != nullptr);
    if (others) {
        spare.block = mem_new_array<uint8_t>(static_cast<size_t>(c->xsize));
        if (!spare) return fails(c, RZL_NO_MEMORY, SOURCE, "getline");
        values = spare.get();
    }
    bool good = bits ? bits_line(c, spec, values) : bytes_line(c, spec, values);
    if (!good || !ends_inside(c, spec)) return 0;
    if (!bits) rzl_spread_values(c, channels, buffers, values);
    ++c->line;
    return c->xsize;
}

// A buffer that is too small leaves the line to be read again.
int ir_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    if (ir_spec_of(c)->subtype != IR_BITS || channels != 1) return fails(c, RZL_UNSUP_IR, SOURCE, "IR");
    if (has_flag(c, FLAG_SQUETCH)) return fails(c, RZL_UNSUP_IR, SOURCE, "No squetch for RLE lines");
    mem_guard<uint8_t> words(static_cast<uint8_t*>(mem_alloc(line_bytes(c, c->xsize))));
    if (!words) return fails(c, RZL_NO_MEMORY, SOURCE, "runs");
    int64_t place = io_tell(c);
    uint8_t* plane = words.get();
    if (ir_get_line(c, 1, &plane) == 0) return 0;
    int bytes = cit_give_runs(c, words.get(), buffers[0], SOURCE);
    if (bytes > 0) {
        rzl_note_line(c);
        return bytes;
    }
    --c->line;
    return io_seek(c, place) ? 0 : fails(c, RZL_READ_FAILED, SOURCE, "runs");
}
