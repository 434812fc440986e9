// TIFF: bilevel lines as runs, 16-bit lengths that begin with a white one and end with a white one.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/CORE/lines.h"
#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifrle";

// The codings whose lines can be had as runs.
bool has_runs(const tif_image* image) {
    return tif_is_bilevel(image) && (image->compression == TIF_PLAIN || image->compression == TIF_PACKBITS ||
                                     image->compression == TIF_FAX_1D || image->compression == TIF_FAX_G4);
}

struct run_line {
    uint16_t* runs; // owned
    size_t count;
};

// The line that comes next as bits, from strips or tiles, and then as runs.
bool runs_from_bits(CFILE* c, run_line* line) {
    auto width = static_cast<uint32_t>(c->xsize);
    mem_guard<uint8_t> words(static_cast<uint8_t*>(mem_alloc(line_bytes(c, c->xsize))));
    line->runs = mem_new_array<uint16_t>(cit_max_runs(width) + 1);
    if (!words || line->runs == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "can't malloc tif rle line temp buf");
    uint8_t* plane = words.get();
    bool tiled = has_flag(c, FLAG_TILED);
    int32_t before = c->line;
    int pixels = tiled ? tif_getline_from_tiles(c, 1, &plane) : tif_get_line(c, 1, &plane);
    c->line = before;
    if (pixels <= 0 || c->status != 0) return false;
    line->count = cit_bits_to_runs(width, words.get(), line->runs);
    if (line->count % 2 == 0) line->runs[line->count++] = 0;
    return true;
}

// Fax data has its lines as runs already.
bool runs_from_fax(CFILE* c, run_line* line) {
    const tif_image* image = tif_image_of(c);
    auto number = static_cast<uint32_t>(c->line);
    uint32_t strip = number / image->rows_per_strip;
    uint32_t row = number % image->rows_per_strip;
    size_t room = 64;
    line->count = 0;
    for (;;) {
        line->runs = mem_new_array<uint16_t>(room);
        if (line->runs == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "can't malloc tif rle line temp buf");
        uint32_t result = tif_fetch_runs(c, strip, row, line->runs, room, &line->count);
        if (result != CIT_BUFFER_FULL) return result == CIT_OK;
        mem_free(line->runs);
        line->runs = nullptr;
        room = line->count;
    }
}

bool give_runs(CFILE* c, const run_line& line, uint8_t* buffer) {
    size_t bytes = line.count * sizeof(uint16_t);
    auto room = static_cast<size_t>(std::max(c->rle_size, 0));
    c->rle_size = static_cast<int32_t>(std::min<size_t>(bytes, INT32_MAX));
    if (buffer == nullptr || room < 2 * sizeof(uint16_t) || bytes > room) {
        c->rle_size = static_cast<int32_t>(std::min<size_t>(bytes + 128, INT32_MAX));
        return fails(c, RZL_RLE_BUFFER_SMALL, SOURCE, nullptr);
    }
    std::memcpy(buffer, line.runs, bytes);
    return true;
}

// Runs of a caller, which need not be aligned and may lack the white one at the end.
bool take_runs(CFILE* c, const uint8_t* buffer, run_line* line) {
    size_t count = static_cast<size_t>(std::max(c->rle_size, 0)) / sizeof(uint16_t);
    line->runs = mem_new_array<uint16_t>(count + 1);
    if (line->runs == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "rzl_put_line: Malloc failure\n");
    std::memcpy(line->runs, buffer, count * sizeof(uint16_t));
    if (count % 2 == 0) line->runs[count++] = 0;
    line->count = count;
    if (cit_runs_fit(static_cast<uint32_t>(c->xsize), line->runs, count)) return true;
    return fails(c, RZL_BAD_FIELD_VALUE, SOURCE, "compression errors");
}

bool put_runs(CFILE* c, const run_line& line) {
    const tif_image* image = tif_image_of(c);
    if (tif_is_fax(image->compression)) {
        auto number = static_cast<uint32_t>(c->line);
        return tif_save_fax_line(c, number / image->rows_per_strip, number % image->rows_per_strip, nullptr, line.runs,
                                 line.count);
    }
    mem_guard<uint8_t> words(static_cast<uint8_t*>(mem_alloc(line_bytes(c, c->xsize))));
    if (!words) return fails(c, RZL_NO_MEMORY, SOURCE, "rzl_put_line: Malloc failure\n");
    cit_runs_to_bits(static_cast<uint32_t>(c->xsize), line.runs, words.get());
    const uint8_t* plane = words.get();
    return tif_put_line(c, 1, &plane) > 0;
}

} // namespace

int tif_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    const tif_image* image = tif_image_of(c);
    const char* refusal = has_flag(c, FLAG_SQUETCH) ? "No squetch for RLE lines" : nullptr;
    if (refusal == nullptr && !has_runs(image)) refusal = "No RLE line this file";
    if (refusal != nullptr) {
        fail(c, RZL_UNSUP_TIFF, SOURCE, refusal);
        return 0;
    }
    run_line line = {};
    bool direct = tif_is_fax(image->compression) && !has_flag(c, FLAG_TILED) &&
                  !tif_is_sparse(image, static_cast<uint32_t>(c->line) / image->rows_per_strip, 0);
    bool got = direct ? runs_from_fax(c, &line) : runs_from_bits(c, &line);
    got = got && give_runs(c, line, channels > 0 ? buffers[0] : nullptr);
    mem_free(line.runs);
    if (!got) return 0;
    ++c->line;
    return static_cast<int>(std::min<size_t>(line.count, INT32_MAX));
}

int tif_put_rle_line(CFILE* c, int channels, write_planes buffers) {
    if (putline_error_check(c) != 0) return 0;
    const char* refusal = has_flag(c, FLAG_SQUETCH) ? "NO squetch for RLE lines" : nullptr;
    if (refusal == nullptr && has_flag(c, FLAG_TILED)) refusal = "No RLE line for Tiled files";
    if (refusal == nullptr && !has_runs(tif_image_of(c))) refusal = "RLE line not implemented";
    if (refusal != nullptr || channels <= 0) {
        fail(c, RZL_UNSUP_TIFF, SOURCE, refusal);
        return 0;
    }
    set_flag(c, FLAG_MODULE, true);
    run_line line = {};
    bool put = take_runs(c, buffers[0], &line) && put_runs(c, line);
    mem_free(line.runs);
    return put ? c->xsize : 0;
}
