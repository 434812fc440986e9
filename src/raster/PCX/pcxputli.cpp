// Writing PCX files: the header, lines, and the palette at the end.
#include <algorithm>
#include <cstring>

#include "raster/PCX/pcx.h"
#include "raster/PNM/pnmmisc.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PCX/pcxputli";
constexpr int32_t MOST_BYTES_PER_LINE = 65535;
constexpr int32_t MOST_PIXELS = 65536;

// ---- palette -------------------------------------------------------------------------------------------------------

// The application's colours; without them grey, where bits begin with black and white.
void fill_palette(const CFILE* c, pcx_spec* spec) {
    bool bilevel = spec->bits == 1;
    size_t most = bilevel ? PCX_SHORT_COLORS : PCX_LONG_COLORS;
    std::memset(spec->palette, 0, PCX_LONG_BYTES);
    for (size_t i = 0; i < most && c->vlt == nullptr; ++i) {
        size_t grey = i * (256 / most);
        if (bilevel && i == 1) grey = 255;
        std::memset(spec->palette + i * 3, static_cast<int>(grey), 3);
    }
    store_colors(c->vlt, entries_given(c, spec->announced, most), {.step = 3, .blue_first = false}, spec->palette);
}

// The colours of the header: the first 16 of the palette where the application has given one, or else a grey ramp.
void store_short_palette(const CFILE* c, const pcx_spec* spec, uint8_t* h) {
    bool given = c->vlt != nullptr && spec->planes == 1 && spec->palette_kind != pcx_palette::none;
    bool own = spec->bits == 1 || given;
    for (size_t i = 0; i < PCX_SHORT_COLORS; ++i) {
        uint8_t* color = h + PCX_AT_PALETTE + i * 3;
        if (own) {
            std::memcpy(color, spec->palette + i * 3, 3);
        } else {
            std::memset(color, static_cast<int>(i * 16), 3);
        }
    }
}

// ---- header --------------------------------------------------------------------------------------------------------

// Depth, planes and palette that follow from the data format.
int settle_image(CFILE* c, pcx_spec* spec) {
    bool bilevel = format_is_bilevel(c->format);
    bool is_color = format_is_color(c->format);
    spec->bits = bilevel ? 1 : 8;
    spec->planes = is_color ? 3 : 1;
    int64_t bytes = bilevel ? (int64_t{c->xsize} + 7) / 8 : c->xsize;
    bytes += bytes % 2;
    bool fits = c->xsize >= 1 && c->xsize <= MOST_PIXELS && c->ysize >= 1 && c->ysize <= MOST_PIXELS &&
                bytes <= MOST_BYTES_PER_LINE;
    if (!fits) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    spec->bytes_per_line = static_cast<int32_t>(bytes);
    c->format = is_color ? RZL_FORMAT_PLANE_RUNS : (bilevel ? RZL_FORMAT_BILEVEL_RUNS : RZL_FORMAT_BYTE_RUNS);
    (void)format_layout(c->format, &c->samples, &c->bits);
    if (spec->aspect_ratio > 0) spec->down = static_cast<int32_t>(std::min(spec->across * spec->aspect_ratio, 65535.0));
    return 0;
}

void store_header(const CFILE* c, const pcx_spec* spec, uint8_t* h) {
    std::memset(h, 0, PCX_HEADER_SIZE);
    h[0] = PCX_MANUFACTURER;
    h[1] = PCX_VERSION;
    h[2] = PCX_RUN_CODED;
    h[3] = static_cast<uint8_t>(spec->bits);
    store_u16le(h + 8, static_cast<uint16_t>(c->xsize - 1));
    store_u16le(h + 10, static_cast<uint16_t>(c->ysize - 1));
    store_u16le(h + 12, static_cast<uint16_t>(spec->across));
    store_u16le(h + 14, static_cast<uint16_t>(spec->down));
    store_short_palette(c, spec, h);
    h[PCX_AT_PLANES] = static_cast<uint8_t>(spec->planes);
    store_u16le(h + PCX_AT_PLANES + 1, static_cast<uint16_t>(spec->bytes_per_line));
}

// Room for the planes of a line, and behind them for their codes or for a line of values.
bool allocate_row(CFILE* c, pcx_spec* spec) {
    size_t row = pcx_row_bytes(spec);
    mem_free(spec->row);
    spec->row = mem_new_array<uint8_t>(row + PCX_ROW_SLACK + std::max(row * 2, static_cast<size_t>(c->xsize)));
    return spec->row != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

// ---- lines ---------------------------------------------------------------------------------------------------------

// A plane as the file has it; one that is not given is 0.
void pack_plane(const CFILE* c, const pcx_spec* spec, const uint8_t* line, uint8_t* out) {
    auto all = static_cast<size_t>(spec->bytes_per_line);
    auto width = static_cast<size_t>(c->xsize);
    size_t used = spec->bits == 1 ? (width + 7) / 8 : width;
    std::memset(out + (line != nullptr ? used : 0), 0, all - (line != nullptr ? used : 0));
    if (line == nullptr) return;
    if (spec->bits == 1) {
        words_to_bits(line, static_cast<uint32_t>(width), 0, out);
    } else {
        std::memcpy(out, line, width);
    }
}

bool put_coded(CFILE* c, pcx_spec* spec, write_planes buffers) {
    if (c->mode == MODE_UPDATE || c->line != spec->lines_put)
        return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    auto all = static_cast<size_t>(spec->bytes_per_line);
    auto width = static_cast<size_t>(c->xsize);
    size_t used = spec->bits == 1 ? (width + 7) / 8 : width;
    uint8_t* codes = spec->row + pcx_row_bytes(spec) + PCX_ROW_SLACK;
    size_t bytes = 0;
    for (int32_t p = 0; p < spec->planes; ++p) {
        const uint8_t* plane = buffers[p];
        if (spec->bits == 1 || plane == nullptr) {
            pack_plane(c, spec, plane, spec->row);
            plane = spec->row;
        }
        bytes += pcx_encode(plane, used, all, codes + bytes);
    }
    if (!put_all(c, codes, bytes, SOURCE)) return false;
    ++spec->lines_put;
    return true;
}

// A file that was opened takes raw lines in place.
bool put_raw(CFILE* c, pcx_spec* spec, write_planes buffers) {
    size_t bytes = pcx_row_bytes(spec);
    for (int32_t p = 0; p < spec->planes; ++p)
        pack_plane(c, spec, buffers[p], spec->row + static_cast<size_t>(p) * static_cast<size_t>(spec->bytes_per_line));
    int64_t place = static_cast<int64_t>(PCX_HEADER_SIZE) + c->line * static_cast<int64_t>(bytes);
    if (!io_seek(c, place)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    return put_all(c, spec->row, bytes, SOURCE);
}

} // namespace

// A file that was opened has its header and keeps it, and so does one whose header is written.
int pcx_write_header(CFILE* c) {
    pcx_spec* spec = pcx_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (settle_image(c, spec) != 0) return 1;
    uint8_t header[PCX_HEADER_SIZE];
    fill_palette(c, spec);
    store_header(c, spec, header);
    // Bytes have the long palette always, so that others see their colours; few or none announced is no matter then.
    spec->palette_kind = spec->bits == 1 ? pcx_palette::colors_16 : pcx_palette::colors_256;
    if (spec->planes == 3) spec->palette_kind = pcx_palette::none;
    if (!allocate_row(c, spec)) return 1;
    bool at_start = io_tell(c) == 0 || io_seek(c, 0);
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!put_all(c, header, sizeof header, SOURCE)) return 1;
    if (is_readable(c) && (!pcx_keep_colors(c) || rzl_record_lines(c, PCX_HEADER_SIZE, 1) != 0)) return 1;
    spec->lines_put = 0;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int pcx_put_line(CFILE* c, int channels, write_planes buffers) {
    pcx_spec* spec = pcx_spec_of(c);
    bool depth = spec->bits == 8 || (spec->bits == 1 && spec->planes == 1);
    bool fits = (channels == 1 || channels == 3) && depth && channels == spec->planes;
    if (!fits) return fails(c, RZL_UNSUP_PCX, SOURCE, "PCX");
    bool put = pcx_is_coded(spec) ? put_coded(c, spec, buffers) : put_raw(c, spec, buffers);
    return put ? c->xsize : 0;
}

int pcx_put_rle_line(CFILE* c, int channels, write_planes buffers) {
    return rzl_append_check(c) ? rzl_put_runs_as_line(c, channels, buffers, RZL_UNSUP_PCX, SOURCE) : 0;
}

// The palette stands behind all lines that have come. It is never looked for in a new file: a 12 in its place would be
// a pixel.
void pcx_close(CFILE* c) {
    const pcx_spec* spec = pcx_spec_of(c);
    bool is_new = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    bool wanted =
        spec != nullptr && is_new && has_flag(c, FLAG_HEADER_EXISTS) && spec->palette_kind == pcx_palette::colors_256;
    if (!wanted) return;
    int64_t size = c->mode == MODE_WRITE_READ ? io_size(c) : -1;
    if (size >= 0 && !io_seek(c, size)) {
        fail(c, RZL_WRITE_FAILED, SOURCE, nullptr);
        return;
    }
    uint8_t trailer[PCX_TRAILER_SIZE];
    trailer[0] = PCX_PALETTE_MARK;
    std::memcpy(trailer + 1, spec->palette, PCX_LONG_BYTES);
    (void)put_all(c, trailer, sizeof trailer, SOURCE);
}
