// Lines of a decoder that only goes on: see onward.h.
#include "raster/CORE/onward.h"

#include <cstring>

#include "raster/CORE/cfile.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CORE/onward";

bool begin(CFILE* c, onward_lines* lines, const onward_decoder* decoder) {
    lines->begun = false;
    lines->has_row = false;
    if (!decoder->begin(c)) return false;
    lines->begun = true;
    lines->next = 0;
    return true;
}

// After a failure the decoder has to begin again.
bool read_next(CFILE* c, onward_lines* lines, const onward_decoder* decoder, uint8_t* row) {
    lines->begun = decoder->read(c, row);
    if (lines->begun) ++lines->next;
    return lines->begun;
}

const uint8_t* row_ahead(CFILE* c, onward_lines* lines, const onward_decoder* decoder, int32_t line) {
    if (lines->row == nullptr) lines->row = mem_new_array<uint8_t>(lines->row_bytes);
    if (lines->row == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return nullptr;
    }
    if (lines->begun && lines->has_row && lines->next == line + 1) return lines->row;
    if ((!lines->begun || lines->next > line) && !begin(c, lines, decoder)) return nullptr;
    while (lines->next <= line) {
        lines->has_row = false;
        if (!read_next(c, lines, decoder, lines->row)) return nullptr;
        lines->has_row = true;
    }
    return lines->row;
}

bool make_image(CFILE* c, onward_lines* lines, const onward_decoder* decoder) {
    uint64_t bytes = 0;
    bool fits =
        decoder->can_be(c) && checked_mul(uint64_t{lines->row_bytes}, static_cast<uint64_t>(lines->rows), &bytes);
    if (!fits) return fails(c, RZL_READ_FAILED, SOURCE, "size");
    lines->image = static_cast<uint8_t*>(mem_alloc(static_cast<size_t>(bytes)));
    return lines->image != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

const uint8_t* row_kept(CFILE* c, onward_lines* lines, const onward_decoder* decoder, int32_t line) {
    if (lines->image == nullptr && !make_image(c, lines, decoder)) return nullptr;
    bool all = lines->image_rows > line;
    // Lines that are there stay; the decoder may have gone on without them, or have failed.
    bool stands = lines->begun && lines->next == lines->image_rows;
    if (!all && !stands) {
        if (!begin(c, lines, decoder)) return nullptr;
        lines->image_rows = 0;
    }
    if (!all && lines->together) {
        lines->begun = false;
        if (!decoder->read_all(c, lines->image)) return nullptr;
        lines->image_rows = lines->rows;
    }
    for (; lines->image_rows <= line; ++lines->image_rows) {
        size_t place = static_cast<size_t>(lines->image_rows) * lines->row_bytes;
        if (!read_next(c, lines, decoder, lines->image + place)) return nullptr;
    }
    return lines->image + static_cast<size_t>(line) * lines->row_bytes;
}

// To a line that is not at hand any more, but for the first.
bool goes_back(const onward_lines* lines, int32_t line) {
    int32_t ahead = lines->has_row ? lines->next - 1 : lines->next;
    return lines->begun && line > 0 && line < ahead;
}

} // namespace

const uint8_t* onward_row(CFILE* c, onward_lines* lines, const onward_decoder* decoder, int32_t line) {
    if (goes_back(lines, line)) lines->keep = true;
    return lines->keep ? row_kept(c, lines, decoder, line) : row_ahead(c, lines, decoder, line);
}

int onward_get_pixels(CFILE* c, onward_lines* lines, const onward_decoder* decoder, uint8_t* buffer) {
    bool as_it_is = c->samples == 3 && !has_flag(c, FLAG_SQUETCH | FLAG_FOUR_BYTE_PIXELS) &&
                    lines->row_bytes == static_cast<size_t>(c->xsize) * 3;
    if (!as_it_is) return rzl_getinlv_default(c, buffer);
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    bool comes_next = !lines->keep && lines->begun && lines->next == c->line;
    if (comes_next) {
        lines->has_row = false;
        if (!read_next(c, lines, decoder, buffer)) return 0;
    } else {
        const uint8_t* row = onward_row(c, lines, decoder, c->line);
        if (row == nullptr) return 0;
        std::memcpy(buffer, row, lines->row_bytes);
    }
    ++c->line;
    return c->xsize;
}

void onward_drop(onward_lines* lines) {
    mem_free(lines->row);
    mem_free(lines->image);
    lines->row = nullptr;
    lines->image = nullptr;
    lines->begun = false;
    lines->has_row = false;
    lines->image_rows = 0;
}
