// GIF files: writing. Header and colours are fixed first; lines are gathered, and all goes out when the last has come.
#include <cstdio>
#include <cstring>

#include "raster/GIF/gif.h"
#include "support/bytes.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "GIF/gifputli";
constexpr char ONE_CHANNEL[] = "Can't write 3-bands to gif file\nGif is 8-bit w/color_table format\n";
constexpr uint8_t SCREEN_PACKED = 0xFF; // a sorted table of 256 colours, 8 bits of colour
constexpr uint8_t IMAGE_PACKED = 7;
constexpr int32_t MOST_ENTRIES = static_cast<int32_t>(GIF_COLORS);

void store_size(const gif_spec* spec, uint8_t* at) {
    store_u16le(at, static_cast<uint16_t>(spec->width));
    store_u16le(at + 2, static_cast<uint16_t>(spec->height));
}

void fill_header(gif_spec* spec) {
    std::memset(spec->header, 0, GIF_HEADER_SIZE);
    std::memcpy(spec->header, "GIF87a", 6);
    store_size(spec, spec->header + GIF_AT_SCREEN_WIDTH);
    spec->header[GIF_AT_SCREEN_PACKED] = SCREEN_PACKED;
    std::memset(spec->descriptor, 0, GIF_DESCRIPTOR_SIZE);
    spec->descriptor[0] = GIF_SEPARATOR;
    store_size(spec, spec->descriptor + GIF_AT_IMAGE_WIDTH);
    spec->descriptor[GIF_AT_IMAGE_PACKED] = IMAGE_PACKED;
}

// Colour words have `vlt_bits` significant bits; a byte takes the high ones of words with more, or with no count given.
void colors_from_vlt(const CFILE* c, gif_spec* spec, int32_t entries) {
    uint32_t bits = c->vlt_bits >= 1 && c->vlt_bits <= 8 ? c->vlt_bits : 8;
    uint32_t shift = 16 - bits;
    std::memset(spec->colour_table, 0, GIF_TABLE_SIZE);
    for (int32_t i = 0; i < entries; ++i) {
        const rzl_vlt_entry& entry = c->vlt[i];
        if (entry.slot >= GIF_COLORS) continue;
        uint8_t* color = spec->colour_table + size_t{entry.slot} * 3;
        color[0] = static_cast<uint8_t>(entry.red >> shift);
        color[1] = static_cast<uint8_t>(entry.green >> shift);
        color[2] = static_cast<uint8_t>(entry.blue >> shift);
    }
}

// Grey from black to white over the values that a sample can have.
void grey_ramp(const CFILE* c, gif_spec* spec) {
    int32_t bits = c->bits >= 1 && c->bits <= 8 ? c->bits : 8;
    int32_t count = 1 << bits;
    for (int32_t i = 0; i < count; ++i) {
        int32_t grey = 255 / (count - 1) * i;
        std::memset(spec->colour_table + size_t{3} * static_cast<size_t>(i), grey < 255 ? grey : 255, 3);
    }
    gif_grey_table(spec, static_cast<size_t>(count));
}

// Entries of the application's table that may be read: those that it has announced.
int32_t entries_given(const CFILE* c, const gif_spec* spec) {
    if (c->vlt == nullptr || spec->vlt_announced <= 0) return 0;
    return spec->vlt_announced < MOST_ENTRIES ? spec->vlt_announced : MOST_ENTRIES;
}

int refuse(CFILE* c, uint32_t status, const char* detail) {
    fail(c, status, SOURCE, detail);
    return 1;
}

bool allocate(CFILE* c, gif_spec* spec) {
    size_t pixels = static_cast<size_t>(spec->width) * static_cast<size_t>(spec->height);
    spec->pixels = static_cast<uint8_t*>(mem_alloc_zeroed(pixels));
    spec->line_came = static_cast<uint8_t*>(mem_alloc_zeroed(static_cast<size_t>(spec->height)));
    if (spec->pixels != nullptr && spec->line_came != nullptr) return true;
    gif_free_specs(c);
    rzl_warn("rzl_putline_gif: Malloc failure\n");
    fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
    return false;
}

// Takes a line into its place. A null one stays 0.
void gather(const CFILE* c, gif_spec* spec, const uint8_t* line) {
    auto width = static_cast<size_t>(spec->width);
    uint8_t* out = spec->pixels + static_cast<size_t>(c->line) * width;
    if (line == nullptr) {
        std::memset(out, 0, width);
    } else if (c->bits == 1) {
        rzl_unpack_bits(line, out, spec->width, 0, 1);
    } else {
        std::memcpy(out, line, width);
    }
    if (spec->line_came[c->line] == 0) ++spec->lines_gathered;
    spec->line_came[c->line] = 1;
}

// More than one channel is a caller's mistake that the programmer is to see at once.
int refuse_channels(CFILE* c) {
    if (debug_level() == 0) std::fputs(ONE_CHANNEL, stderr);
    fail(c, RZL_UNSUPPORTED, SOURCE, ONE_CHANNEL);
    return 0;
}

} // namespace

// A file that was opened has its header and keeps it. Until the image goes out, a header can be written again, to take
// other colours; the size stays.
int gif_write_header(CFILE* c) {
    gif_spec* spec = gif_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, "Wrt_hdr");
    bool is_new = !has_flag(c, FLAG_HEADER_EXISTS);
    if (c->mode == MODE_UPDATE || spec->output != gif_output::none) return 0;
    if (is_new) {
        bool fits = c->xsize >= 1 && c->xsize <= GIF_MOST_PIXELS && c->ysize >= 1 && c->ysize <= GIF_MOST_PIXELS;
        if (!fits) return refuse(c, RZL_BAD_IMAGE_SIZE, "Wrt_hdr");
        spec->width = c->xsize;
        spec->height = c->ysize;
        if (!allocate(c, spec)) return 1;
    }
    fill_header(spec);
    int32_t entries = entries_given(c, spec);
    if (entries > 0) {
        colors_from_vlt(c, spec, entries);
    } else {
        grey_ramp(c, spec);
    }
    spec->colour_count = MOST_ENTRIES;
    spec->has_table = true;
    c->compression = GIF_COMPRESSION;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

// Lines may come in any order, and again, until the image goes out.
int gif_putline(CFILE* c, int channels, write_planes buffers) {
    if (channels > 1) return refuse_channels(c);
    if (putline_error_check(c) != 0) return 0;
    gif_spec* spec = gif_spec_of(c);
    if (c->mode == MODE_UPDATE || spec->output != gif_output::none) {
        fail(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
        return 0;
    }
    gather(c, spec, channels == 1 ? buffers[0] : nullptr);
    if (spec->lines_gathered == spec->height && !gif_encode(c)) return 0;
    return spec->width;
}
