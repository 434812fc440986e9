// USGS files: the header and the lines of a file that is written.
#include <algorithm>
#include <cstring>

#include "raster/USGS/usgs.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "USGS/usgputli";
constexpr int64_t MOST_PIXELS = 999999; // what six digits hold

// A code that a reader looks at: what the application has put there stands when it is one.
struct record_code {
    usgs_place place;
    int64_t low, high, otherwise;
};
constexpr record_code CODES[] = {
    {{0, 141, 3}, 1, 2, 1}, {{0, 165, 2}, 0, 4, 0}, {{0, 167, 2}, 1, 6, 1},
    {{0, 169, 2}, 1, 6, 1}, {{0, 195, 3}, 0, 2, 0}, {{0, 204, 3}, 0, 4, 0},
};

void keep_letter(char* letter, const char* known) {
    if (*letter == '\0' || std::strchr(known, *letter) == nullptr) *letter = ' ';
}

// Sizes and codes into the first record.
void store_codes(const CFILE* c, usgs_spec* spec) {
    constexpr size_t ANGLE = 171;
    constexpr size_t ANGLE_WIDTH = 24;
    constexpr double FULL_CIRCLE = 6.283185307179586;
    char* first = spec->records[0];
    for (auto& record : spec->records)
        std::replace_if(
            record, record + USGS_RECORD_SIZE, [](char ch) { return ch < ' ' || ch > '~'; }, ' ');
    keep_letter(first + 38, "NnSs ");
    keep_letter(first + 39, "EeWw ");
    for (const record_code& code : CODES) {
        int64_t value = 0;
        bool stands = usgs_integer(spec, code.place, &value) && value >= code.low && value <= code.high;
        if (!stands) usgs_put_integer(spec, code.place, code.otherwise);
    }
    usgs_put_integer(spec, {0, 144, 6}, c->ysize);
    usgs_put_integer(spec, {0, 150, 6}, c->xsize);
    usgs_put_integer(spec, {0, 156, 3}, spec->band_code);
    usgs_put_integer(spec, {0, 159, 3}, spec->gap_code);
    usgs_put_integer(spec, {0, 162, 3}, spec->interleave_code);
    double angle = 0;
    bool stands = text_number(first + ANGLE, ANGLE_WIDTH, &angle) && angle > 0 && angle < FULL_CIRCLE;
    if (!stands) std::memcpy(first + ANGLE, "                     1.0", ANGLE_WIDTH);
}

} // namespace

int usgs_write_header(CFILE* c) {
    usgs_spec* spec = usgs_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (c->xsize < static_cast<int32_t>(USGS_RECORD_SIZE)) return refuse(c, RZL_HEADER_FULL, SOURCE, "Wrt_hdr");
    bool fits = c->xsize <= MOST_PIXELS && c->ysize >= 1 && c->ysize <= MOST_PIXELS;
    if (!fits) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    store_codes(c, spec);
    auto width = static_cast<size_t>(c->xsize);
    mem_guard<uint8_t> line(mem_new_array<uint8_t>(width));
    if (!line) return refuse(c, RZL_NO_MEMORY, SOURCE, "Wrt_hdr");
    std::memset(line.get(), ' ', width);
    bool at_start = io_tell(c) == 0 || io_seek(c, 0) || c->mode == MODE_WRITE; // a pipe stands where it is
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, "Wrt_hdr");
    for (const auto& record : spec->records) {
        std::memcpy(line.get(), record, USGS_RECORD_SIZE);
        if (!put_all(c, line.get(), width, SOURCE)) return 1;
    }
    spec->file_line = 0;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int usgs_put_line(CFILE* c, int channels, write_planes buffers) {
    usgs_spec* spec = usgs_spec_of(c);
    bool known = spec->gap_code == 0 && spec->band_code == USGS_ONE_BAND && channels == 1;
    if (!known) return fails(c, RZL_UNSUPPORTED, SOURCE, "putline");
    if (buffers[0] == nullptr) return fails(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "putline");
    auto width = static_cast<size_t>(c->xsize);
    bool stands = c->mode == MODE_WRITE && spec->file_line == c->line;
    spec->file_line = -1;
    if (!stands && !io_seek(c, (USGS_RECORDS + c->line) * int64_t{c->xsize}))
        return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!put_all(c, buffers[0], width, SOURCE)) return 0;
    spec->file_line = c->line + 1;
    return c->xsize;
}
