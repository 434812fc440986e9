// Writing Targa files: header, colour map, and lines, raw or as packets.
#include <algorithm>
#include <cstring>

#include "raster/CORE/runs.h"
#include "raster/TARGA/tga.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "TARGA/tgaputli";

// ---- header --------------------------------------------------------------------------------------------------------

// The kind of image that data format, coding and map make, with pixels of whole bytes.
void settle_image(const CFILE* c, tga_spec* spec) {
    bool is_color = format_is_color(c->format);
    bool runs = c->format == RZL_FORMAT_BYTE_RUNS || c->format == RZL_FORMAT_PLANE_RUNS;
    if (spec->compressed == TGA_CODING_UNSET) spec->compressed = runs ? 1 : 0;
    if (is_color || spec->map_length == 0) {
        spec->has_map = false;
        spec->map_first = spec->map_length = spec->map_bits = 0;
    }
    uint8_t kind = is_color ? TGA_COLOR : (spec->has_map ? TGA_MAPPED : TGA_GREY);
    spec->image_type = static_cast<uint8_t>(kind | (spec->compressed != 0 ? TGA_CODED : 0));
    spec->pixel_bits = is_color ? 24 : 8;
    if (spec->map_bits == 15) spec->map_bits = 16;
}

void store_header(const CFILE* c, const tga_spec* spec, uint8_t* h) {
    std::memset(h, 0, TGA_HEADER_SIZE);
    h[0] = static_cast<uint8_t>(spec->id_length);
    h[1] = spec->has_map ? 1 : 0;
    h[2] = spec->image_type;
    store_u16le(h + 3, static_cast<uint16_t>(spec->map_first));
    store_u16le(h + 5, static_cast<uint16_t>(spec->map_length));
    h[7] = static_cast<uint8_t>(spec->map_bits);
    store_u16le(h + 8, static_cast<uint16_t>(spec->x_origin));
    store_u16le(h + 10, static_cast<uint16_t>(spec->y_origin));
    store_u16le(h + 12, static_cast<uint16_t>(c->xsize));
    store_u16le(h + 14, static_cast<uint16_t>(c->ysize));
    h[16] = static_cast<uint8_t>(spec->pixel_bits);
    h[17] = spec->descriptor;
}

void store_color(const rzl_vlt_entry& color, int32_t bits, uint8_t* entry) {
    if (bits == 16) {
        store_u16le(entry,
                    static_cast<uint16_t>((color.red >> 11) << 10 | (color.green >> 11) << 5 | color.blue >> 11));
        return;
    }
    entry[0] = static_cast<uint8_t>(color.blue >> 8);
    entry[1] = static_cast<uint8_t>(color.green >> 8);
    entry[2] = static_cast<uint8_t>(color.red >> 8);
    if (bits == 32) entry[3] = 0;
}

// Without a table of the application the map is grey.
void store_map(const CFILE* c, const tga_spec* spec, uint8_t* map) {
    auto bytes = static_cast<size_t>(spec->map_bits) / 8;
    for (int32_t i = 0; i < spec->map_length; ++i) {
        int32_t index = spec->map_first + i;
        auto shade = static_cast<uint16_t>((index & 255) * 257);
        rzl_vlt_entry color = {0, shade, shade, shade};
        if (c->vlt != nullptr) color = c->vlt[index];
        store_color(color, spec->map_bits, map + static_cast<size_t>(i) * bytes);
    }
}

bool write_map(CFILE* c, const tga_spec* spec) {
    if (!spec->has_map) return true;
    size_t bytes = static_cast<size_t>(spec->map_length) * static_cast<size_t>(spec->map_bits) / 8;
    mem_guard<uint8_t> map(mem_new_array<uint8_t>(bytes));
    if (!map) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    store_map(c, spec, map.get());
    if (is_readable(c) && !tga_keep_map(c, map.get())) return false;
    return put_all(c, map.get(), bytes, SOURCE);
}

// Room for a row, and for the packets of one: at worst each pixel has a head of its own.
bool allocate_row(CFILE* c, tga_spec* spec) {
    size_t row = static_cast<size_t>(c->xsize) * tga_step(spec) + TGA_ROW_SLACK;
    auto* block = static_cast<uint8_t*>(mem_realloc(spec->row, row * 2 + static_cast<size_t>(c->xsize)));
    if (block == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    spec->row = block;
    return true;
}

uint8_t* coder_room(const CFILE* c, const tga_spec* spec) {
    return spec->row + static_cast<size_t>(c->xsize) * tga_step(spec) + TGA_ROW_SLACK;
}

// ---- lines ---------------------------------------------------------------------------------------------------------

// Packets of one line. `pixels` are those of `lines` as the file has them. The bytes written to `out`.
template <size_t Planes>
size_t encode_row(const uint8_t* const* lines, const uint8_t* pixels, size_t width, uint8_t* out) {
    const uint8_t* start = out;
    for (size_t at = 0; at < width;) {
        size_t most = std::min<size_t>(width - at, TGA_PACKET_MOST);
        size_t pairs = std::min<size_t>(width - at - 1, TGA_PACKET_MOST); // a pixel and the one behind it
        size_t equal = equal_stretch<Planes>(lines, at, 1, std::min(pairs, most - 1));
        size_t count = equal + 1;
        size_t stored = 1;
        if (equal == 0) {
            count = unequal_stretch<Planes>(lines, at, 1, pairs);
            if (count == pairs && pairs < most) ++count; // the line's last pixel has none behind it
            stored = count;
        }
        *out++ = static_cast<uint8_t>((count - 1) | (equal > 0 ? TGA_RUN : 0));
        std::memcpy(out, pixels + at * Planes, stored * Planes);
        out += stored * Planes;
        at += count;
    }
    return static_cast<size_t>(out - start);
}

// Raw lines are found by their number, so any of them can be put; packets only follow each other.
bool go_to_line(CFILE* c, tga_spec* spec, size_t row) {
    if (tga_is_coded(spec)) {
        bool next = c->mode == MODE_UPDATE || c->line == spec->lines_put;
        return next || fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    }
    bool there = spec->file_line == c->line || io_seek(c, spec->data_offset + c->line * static_cast<int64_t>(row));
    spec->file_line = -1;
    return there || fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
}

bool write_row(CFILE* c, tga_spec* spec, const uint8_t* const* lines, size_t planes) {
    auto width = static_cast<size_t>(c->xsize);
    size_t bytes = width * planes;
    const uint8_t* pixels = lines[0];
    if (planes == 3) {
        const uint8_t* const stored[3] = {lines[2], lines[1], lines[0]};
        join_pixels(spec->row, width, planes, stored, planes);
        pixels = spec->row;
    }
    if (!go_to_line(c, spec, bytes)) return false;
    if (tga_is_coded(spec)) {
        uint8_t* packets = coder_room(c, spec);
        bytes =
            planes == 3 ? encode_row<3>(lines, pixels, width, packets) : encode_row<1>(lines, pixels, width, packets);
        pixels = packets;
    }
    if (!put_all(c, pixels, bytes, SOURCE)) return false;
    spec->file_line = tga_next_file_line(c);
    ++spec->lines_put;
    return true;
}

} // namespace

// A file that was opened has its header and keeps it, and so does one whose header is written.
int tga_write_header(CFILE* c) {
    tga_spec* spec = tga_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    bool fits = c->xsize >= 1 && c->xsize <= TGA_MOST_PIXELS && c->ysize >= 1 && c->ysize <= TGA_MOST_PIXELS;
    if (!fits) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    settle_image(c, spec);
    if (!allocate_row(c, spec)) return 1;
    uint8_t header[TGA_HEADER_SIZE];
    store_header(c, spec, header);
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    bool written = at_start && put_all(c, header, sizeof header, SOURCE) &&
                   put_all(c, spec->image_id, static_cast<size_t>(spec->id_length), SOURCE) && write_map(c, spec);
    if (!written) return c->status != 0 ? 1 : refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    spec->data_offset =
        static_cast<int64_t>(TGA_HEADER_SIZE) + spec->id_length + int64_t{spec->map_length} * spec->map_bits / 8;
    if (tga_take_image_type(c) != 0) return 1;
    spec->unpack = tga_unpack_of(spec);
    spec->file_line = 0;
    spec->lines_put = 0;
    bool recorded = tga_is_coded(spec) && c->mode == MODE_WRITE_READ;
    if (recorded && rzl_record_lines(c, spec->data_offset, 1) != 0) return 1;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int tga_put_line(CFILE* c, int channels, write_planes buffers) {
    tga_spec* spec = tga_spec_of(c);
    if (channels != 1 && channels != 3) return fails(c, RZL_UNSUP_TGA, SOURCE, "putline");
    bool is_color = channels == 3 && buffers[0] != nullptr && buffers[1] != nullptr && buffers[2] != nullptr;
    int32_t depth = is_color ? 24 : 8;
    bool fits = tga_depth(spec) == depth && spec->pixel_bits == depth && (c->samples == 3) == is_color;
    if (!fits) return fails(c, RZL_UNSUP_TGA, SOURCE, "depth");
    if (c->mode == MODE_UPDATE && !allocate_row(c, spec)) return 0;
    if (is_color) return write_row(c, spec, buffers, 3) ? c->xsize : 0;
    // A line that is not given is black. The coder's room is not yet in use when a raw one is written, and a coded one
    // is read out of the row.
    const uint8_t* line = buffers[0];
    if (line == nullptr) {
        std::memset(spec->row, 0, static_cast<size_t>(c->xsize));
        line = spec->row;
    }
    return write_row(c, spec, &line, 1) ? c->xsize : 0;
}
