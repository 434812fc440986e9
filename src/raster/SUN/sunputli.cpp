// Writing Sun raster files: the header with the colour map, and lines, raw or run-coded.
#include <algorithm>
#include <cstring>

#include "raster/PNM/pnmmisc.h"
#include "raster/SUN/sun.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "SUN/sunputli";
constexpr int64_t AT_LENGTH = 16;

// ---- header --------------------------------------------------------------------------------------------------------

// What the header tells of the lines: 0 where it is not known yet, or no 32 bits hold it.
uint32_t length_of(const CFILE* c, const sun_spec* spec) {
    uint64_t bytes = 0;
    bool told = !sun_is_coded(spec) && checked_mul(uint64_t{sun_row_bytes(c)}, static_cast<uint64_t>(c->ysize), &bytes);
    return told && bytes <= UINT32_MAX ? static_cast<uint32_t>(bytes) : 0;
}

void store_header(const CFILE* c, const sun_spec* spec, uint8_t* h) {
    const uint32_t words[SUN_HEADER_SIZE / 4] = {SUN_MAGIC,
                                                 static_cast<uint32_t>(c->xsize),
                                                 static_cast<uint32_t>(c->ysize),
                                                 spec->depth,
                                                 length_of(c, spec),
                                                 spec->type,
                                                 spec->map_type,
                                                 static_cast<uint32_t>(sun_map_bytes(spec))};
    for (uint32_t word : words) {
        store_u32be(h, word);
        h += 4;
    }
}

// The application's colours in the place of the record's. Without either there is no map.
bool settle_map(CFILE* c, sun_spec* spec) {
    if (c->vlt != nullptr && spec->entries > 0) {
        if (spec->map_type == SUN_NO_MAP) spec->map_type = SUN_MAP_PLANES;
        auto* map = static_cast<uint8_t*>(mem_realloc(spec->map, sun_map_bytes(spec)));
        if (map == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
        spec->map = map;
        const size_t entries = spec->entries;
        for (size_t i = 0; i < entries; ++i) {
            const uint16_t color[3] = {c->vlt[i].red, c->vlt[i].green, c->vlt[i].blue};
            for (size_t p = 0; p < sun_map_planes(spec); ++p)
                map[p * entries + i] = static_cast<uint8_t>(color[p] >> 8);
        }
    }
    if (spec->map != nullptr) return true;
    spec->map_type = SUN_NO_MAP;
    spec->entries = 0;
    return true;
}

// ---- lines ---------------------------------------------------------------------------------------------------------

// The line as the file has it before it is coded.
void pack_row(const CFILE* c, const sun_spec* spec, write_planes buffers) {
    auto width = static_cast<size_t>(c->xsize);
    size_t used = (width * static_cast<size_t>(spec->pixel_bits) + 7) / 8;
    size_t bytes = sun_row_bytes(c);
    uint8_t* row = spec->row;
    if (used < bytes) row[used] = 0;
    if (spec->pixel_bits == 24) {
        join_pixels(row, width, 3, buffers, 3);
    } else if (spec->pixel_bits == 32) {
        std::memset(row, 0, bytes);
        join_pixels(row, width, 4, buffers, 3);
    } else if (buffers[0] == nullptr) { // a line that is not given is black
        std::memset(row, sun_is_coded(spec) ? 0xFF : 0, bytes);
    } else if (spec->pixel_bits == 8) {
        std::memcpy(row, buffers[0], width);
    } else {
        words_to_bits(buffers[0], static_cast<uint32_t>(c->xsize), sun_is_coded(spec) ? 0xFF : 0, row);
    }
}

bool put_coded(CFILE* c, sun_spec* spec) {
    if (c->mode == MODE_UPDATE || c->line != spec->lines_put)
        return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    size_t bytes = sun_row_bytes(c);
    uint8_t* codes = spec->row + bytes;
    size_t coded = sun_encode(spec->row, bytes, codes);
    // A file that is read meanwhile stands anywhere.
    int64_t end = spec->data_offset + static_cast<int64_t>(spec->written);
    if (c->mode == MODE_WRITE_READ && !io_seek(c, end)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!put_all(c, codes, coded, SOURCE)) return false;
    spec->written += coded;
    ++spec->lines_put;
    return true;
}

bool put_raw(CFILE* c, sun_spec* spec) {
    if (!sun_go_to_line(c)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    return put_all(c, spec->row, sun_row_bytes(c), SOURCE);
}

bool channels_fit(const sun_spec* spec, int channels, write_planes buffers) {
    if (spec->pixel_bits < 24) return channels == 1;
    return channels == 3 && buffers[0] != nullptr && buffers[1] != nullptr && buffers[2] != nullptr;
}

} // namespace

// A file that was opened has its header and keeps it, and so does one whose header is written.
int sun_write_header(CFILE* c) {
    sun_spec* spec = sun_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (c->xsize < 1 || c->ysize < 1) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    if (!sun_take_depth(c)) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "depth");
    if (!settle_map(c, spec)) return 1;
    spec->data_offset = static_cast<int64_t>(SUN_HEADER_SIZE + sun_map_bytes(spec));
    uint8_t header[SUN_HEADER_SIZE];
    store_header(c, spec, header);
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!put_all(c, header, sizeof header, SOURCE)) return 1;
    if (spec->map != nullptr && !put_all(c, spec->map, sun_map_bytes(spec), SOURCE)) return 1;
    if (is_readable(c) && !sun_keep_colors(c)) return 1;
    bool recorded = is_readable(c) && sun_is_coded(spec);
    if (recorded && rzl_record_lines(c, spec->data_offset, 1) != 0) return 1;
    spec->file_line = 0;
    spec->lines_put = 0;
    spec->written = 0;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int sun_putline(CFILE* c, int channels, write_planes buffers) {
    return putline_error_check(c) == 0 ? sun_put_line(c, channels, buffers) : 0;
}

int sun_put_line(CFILE* c, int channels, write_planes buffers) {
    sun_spec* spec = sun_spec_of(c);
    if (!channels_fit(spec, channels, buffers)) return fails(c, RZL_NOT_STANDARD_2, SOURCE, "putline");
    if (!sun_need_row(c, false)) return 0;
    pack_row(c, spec, buffers);
    bool put = sun_is_coded(spec) ? put_coded(c, spec) : put_raw(c, spec);
    return put ? c->xsize : 0;
}

int sun_put_rle_line(CFILE* c, int channels, write_planes buffers) {
    return rzl_put_runs_as_line(c, channels, buffers, RZL_NOT_STANDARD_2, SOURCE);
}

void sun_close(CFILE* c) {
    sun_spec* spec = sun_spec_of(c);
    bool is_new = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    bool untold = spec != nullptr && is_new && has_flag(c, FLAG_HEADER_EXISTS) && sun_is_coded(spec);
    if (!untold || spec->written > UINT32_MAX) return;
    uint8_t length[4];
    store_u32be(length, static_cast<uint32_t>(spec->written));
    if (io_seek(c, AT_LENGTH)) (void)put_all(c, length, sizeof length, SOURCE); // a pipe keeps the 0
}
