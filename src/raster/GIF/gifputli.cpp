// GIF files: writing. Header and colours are fixed first; lines are gathered, and all goes out when the last has come.
//
// The table of strings of the coder is addressed by the code before and the next pixel, so that a step is a single
// load. It has 2 MB, and a pass over them at every new table would take nearly as long as coding. So the four bits of
// an entry that no code needs tell which table it belongs to, and the pass comes once in fifteen tables.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "raster/GIF/gif.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "GIF/gifputli";
constexpr uint8_t CODE_SIZE = 8; // bits of a pixel
constexpr uint32_t CLEAR = 1u << CODE_SIZE;
constexpr uint32_t END_CODE = CLEAR + 1;
constexpr uint32_t FIRST_FREE = CLEAR + 2;
constexpr int FIRST_WIDTH = CODE_SIZE + 1;
constexpr int PADDING_CODES = 4; // of value 0, behind the end code

// ---- blocks ---------------------------------------------------------------------------------------------------------

constexpr size_t BLOCKS_AT_ONCE = 128;
constexpr size_t GATHERED_MOST = BLOCKS_AT_ONCE * GIF_BLOCK_MOST;

// Codes become bytes, least significant bit first, and bytes become blocks.
struct code_output {
    CFILE* c;
    uint64_t buffer; // bits that are no whole byte yet
    int bits;
    size_t fill; // bytes gathered
    bool failed; // a write came back short
    uint8_t gathered[GATHERED_MOST + 8];
    uint8_t blocks[BLOCKS_AT_ONCE * (GIF_BLOCK_MOST + 1)];
};

// Writes the first `bytes` gathered bytes as blocks.
void write_blocks(code_output* o, size_t bytes) {
    size_t used = 0;
    for (size_t at = 0; at < bytes; at += GIF_BLOCK_MOST) {
        size_t size = bytes - at < GIF_BLOCK_MOST ? bytes - at : GIF_BLOCK_MOST;
        o->blocks[used] = static_cast<uint8_t>(size);
        std::memcpy(o->blocks + used + 1, o->gathered + at, size);
        used += size + 1;
    }
    if (io_write(o->c, o->blocks, used) != used) o->failed = true;
    o->fill -= bytes;
    std::memmove(o->gathered, o->gathered + bytes, o->fill);
}

inline void put_code(code_output* o, uint32_t code, int width) {
    o->buffer |= uint64_t{code} << o->bits;
    o->bits += width;
    store_u64le(o->gathered + o->fill, o->buffer);
    auto bytes = static_cast<size_t>(o->bits) / 8;
    o->fill += bytes;
    o->buffer >>= bytes * 8;
    o->bits &= 7;
    if (o->fill >= GATHERED_MOST) write_blocks(o, GATHERED_MOST);
}

// The codes of value 0 push out what is left of the end code, so that the bits that no byte has taken are theirs.
void finish_codes(code_output* o, int width) {
    put_code(o, END_CODE, width);
    for (int i = 0; i < PADDING_CODES; ++i)
        put_code(o, 0, width);
    if (o->fill > 0) write_blocks(o, o->fill);
}

// ---- strings --------------------------------------------------------------------------------------------------------

constexpr size_t TABLE_PLACES = size_t{GIF_CODES} << CODE_SIZE;
constexpr uint32_t STAMP_STEP = GIF_CODES;
constexpr uint32_t STAMP_LAST = 15 * STAMP_STEP;

struct encoder {
    uint32_t next_code;
    int code_width;
    uint32_t width_limit; // codes up to this have code_width bits
    uint32_t stamp;       // of the table in use, above the bits of a code; that of no table is 0
    code_output out;
    uint16_t code_table[TABLE_PLACES]; // by code and pixel: code and stamp
};

void start_table(encoder* e) {
    if (e->stamp == STAMP_LAST) {
        std::memset(e->code_table, 0, sizeof e->code_table);
        e->stamp = 0;
    }
    e->stamp += STAMP_STEP;
    e->code_width = FIRST_WIDTH;
    e->width_limit = 1u << FIRST_WIDTH;
    e->next_code = FIRST_FREE;
}

// The code of the string at `place`: GIF_CODES or more when the table in use has none there.
inline uint32_t find_string(const encoder* e, uint32_t place) {
    return e->code_table[place] ^ e->stamp;
}

// Gives the next code to the string at `place`. The one after the last of 12 bits is no code any more: a new table
// starts.
inline void enter_string(encoder* e, uint32_t place) {
    uint32_t code = e->next_code++;
    if (code == e->width_limit) {
        if (code == GIF_CODES) {
            put_code(&e->out, CLEAR, GIF_MOST_WIDTH);
            start_table(e);
            return;
        }
        ++e->code_width;
        e->width_limit *= 2;
    }
    e->code_table[place] = static_cast<uint16_t>(code ^ e->stamp);
}

void encode_pixels(encoder* e, const uint8_t* pixels, size_t count) {
    put_code(&e->out, CLEAR, FIRST_WIDTH);
    start_table(e);
    uint32_t prefix = pixels[0];
    for (size_t i = 1; i < count; ++i) {
        uint32_t place = prefix << CODE_SIZE | pixels[i];
        uint32_t code = find_string(e, place);
        if (code < GIF_CODES) {
            prefix = code;
            continue;
        }
        put_code(&e->out, prefix, e->code_width);
        enter_string(e, place);
        prefix = pixels[i];
    }
    put_code(&e->out, prefix, e->code_width);
    finish_codes(&e->out, e->code_width);
}

bool write_start(CFILE* c, const gif_spec* spec) {
    return io_write(c, spec->header, GIF_HEADER_SIZE) == GIF_HEADER_SIZE &&
           io_write(c, spec->colour_table, GIF_TABLE_SIZE) == GIF_TABLE_SIZE &&
           io_write(c, spec->descriptor, GIF_DESCRIPTOR_SIZE) == GIF_DESCRIPTOR_SIZE && io_write(c, &CODE_SIZE, 1) == 1;
}

// Memory is taken before the first byte goes out, so that a failure leaves the lines to be put again.
bool encode(CFILE* c) {
    gif_spec* spec = gif_spec_of(c);
    mem_guard<encoder> e(mem_new<encoder>());
    if (!e) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    e->out.c = c;
    spec->output = gif_output::begun;
    bool started = write_start(c, spec);
    auto pixels = static_cast<size_t>(spec->width) * static_cast<size_t>(spec->height);
    if (started) encode_pixels(e.get(), spec->pixels, pixels);
    if (!started || e->out.failed) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    spec->output = gif_output::whole;
    return true;
}

// ---- header and lines ----------------------------------------------------------------------------------------------

constexpr char ONE_CHANNEL[] = "Can't write 3-bands to gif file\nGif is 8-bit w/color_table format\n";
constexpr uint8_t SCREEN_PACKED = 0xFF; // a sorted table of 256 colours, 8 bits of colour
constexpr uint8_t IMAGE_PACKED = 7;

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
void colors_from_vlt(const CFILE* c, gif_spec* spec, size_t entries) {
    uint32_t bits = c->vlt_bits >= 1 && c->vlt_bits <= 8 ? c->vlt_bits : 8;
    uint32_t shift = 16 - bits;
    std::memset(spec->colour_table, 0, GIF_TABLE_SIZE);
    for (size_t i = 0; i < entries; ++i) {
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

bool allocate(CFILE* c, gif_spec* spec) {
    size_t pixels = static_cast<size_t>(spec->width) * static_cast<size_t>(spec->height);
    spec->pixels = static_cast<uint8_t*>(mem_alloc_zeroed(pixels));
    spec->line_came = static_cast<uint8_t*>(mem_alloc_zeroed(static_cast<size_t>(spec->height)));
    if (spec->pixels != nullptr && spec->line_came != nullptr) return true;
    gif_free_specs(c);
    rzl_warn("rzl_putline_gif: Malloc failure\n");
    return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

// Takes a line into its place. A null one stays 0.
void gather(const CFILE* c, gif_spec* spec, const uint8_t* line) {
    auto width = static_cast<size_t>(spec->width);
    uint8_t* out = spec->pixels + static_cast<size_t>(c->line) * width;
    if (line == nullptr) {
        std::memset(out, 0, width);
    } else if (spec->takes_bits) {
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
    return fails(c, RZL_UNSUPPORTED, SOURCE, ONE_CHANNEL);
}

// ---- the end of a file ---------------------------------------------------------------------------------------------

bool append_end(CFILE* c) {
    static constexpr uint8_t END[2] = {0, GIF_TRAILER};
    return io_write(c, END, sizeof END) == sizeof END;
}

// A file that is whole ends in an empty block and the trailer; another one gets them. A file whose end can't be read
// stays as it is. The status, 0 for good.
uint32_t finish_existing(CFILE* c) {
    int64_t size = io_size(c);
    uint8_t last[2];
    if (size < 2 || !io_seek(c, size - 2) || io_read(c, last, 2) != 2) return RZL_READ_FAILED;
    if (last[0] == 0 && last[1] == GIF_TRAILER) return 0;
    return io_seek(c, size) && append_end(c) ? 0 : RZL_WRITE_FAILED;
}

// What has been written here is known and need not be looked at. Without all its lines there is no image to end.
uint32_t finish_new(CFILE* c, const gif_spec* spec) {
    if (spec->output == gif_output::whole) return append_end(c) ? 0 : RZL_WRITE_FAILED;
    return spec->pixels != nullptr ? RZL_WRITE_FAILED : 0;
}

} // namespace

// A file that was opened has its header and keeps it. Until the image goes out, a header can be written again, to take
// other colours; the size stays.
int gif_write_header(CFILE* c) {
    gif_spec* spec = gif_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    bool is_new = !has_flag(c, FLAG_HEADER_EXISTS);
    if (c->mode == MODE_UPDATE || spec->output != gif_output::none) return 0;
    if (is_new) {
        bool fits = c->xsize >= 1 && c->xsize <= GIF_MOST_PIXELS && c->ysize >= 1 && c->ysize <= GIF_MOST_PIXELS;
        if (!fits) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
        spec->width = c->xsize;
        spec->height = c->ysize;
        // Whatever field 507 tells: lines are as the data format has them, until the header makes bytes of it.
        spec->takes_bits = format_is_bilevel(c->format);
        if (!allocate(c, spec)) return 1;
    }
    fill_header(spec);
    size_t entries = entries_given(c, std::max(spec->vlt_announced, 0), GIF_COLORS);
    if (entries > 0) {
        colors_from_vlt(c, spec, entries);
    } else {
        grey_ramp(c, spec);
    }
    spec->colour_count = static_cast<int32_t>(GIF_COLORS);
    spec->has_table = true;
    c->compression = CLASS_LZW;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

// Lines may come in any order, and again, until the image goes out.
int gif_putline(CFILE* c, int channels, write_planes buffers) {
    if (channels > 1) return refuse_channels(c);
    if (putline_error_check(c) != 0) return 0;
    gif_spec* spec = gif_spec_of(c);
    if (c->mode == MODE_UPDATE || spec->output != gif_output::none)
        return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    gather(c, spec, channels == 1 ? buffers[0] : nullptr);
    if (spec->lines_gathered == spec->height && !encode(c)) return 0;
    return spec->width;
}

void gif_close(CFILE* c) {
    gif_spec* spec = gif_spec_of(c);
    if (spec == nullptr) return;
    uint32_t status = 0;
    if (is_writable(c)) status = c->mode == MODE_UPDATE ? finish_existing(c) : finish_new(c, spec);
    if (status != 0) fail(c, status, SOURCE, "Gif close");
}
