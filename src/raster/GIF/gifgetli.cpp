// GIF files: reading lines. The first one that is asked for has the whole image decoded; all others are copies.
#include <cstring>

#include "raster/GIF/gif.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "GIF/gifgetli";
constexpr int LEAST_CODE_SIZE = 1;
constexpr int MOST_CODE_SIZE = 8;

bool corrupt(CFILE* c) {
    fail(c, RZL_READ_FAILED, SOURCE, "Corrupt Gif file");
    return false;
}

bool no_memory(CFILE* c) {
    fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
    return false;
}

// The coded data, without the lengths of its blocks. *bytes: how many there are. False: the file ends before the empty
// block.
bool join_blocks(CFILE* c, uint8_t* data, size_t room, size_t* bytes) {
    size_t fill = 0;
    int size = c->io.file_getc(c->file);
    while (size > 0) {
        auto block = static_cast<size_t>(size);
        if (block > room - fill || io_read(c, data + fill, block) != block) return corrupt(c);
        fill += block;
        size = c->io.file_getc(c->file);
    }
    *bytes = fill;
    return size == 0 || corrupt(c);
}

// The pixels of the image out of its coded data. Memory is taken for an image that the data can fill, and no other.
// Pixels that the data leaves out are 0, and the file counts as damaged.
bool decode_data(CFILE* c, gif_spec* spec, const uint8_t* data, size_t size, int code_size) {
    size_t pixels = static_cast<size_t>(spec->width) * static_cast<size_t>(spec->height);
    if (gif_lzw_most_pixels(size, code_size) < pixels) return corrupt(c);
    spec->pixels = static_cast<uint8_t*>(mem_alloc_zeroed(pixels + GIF_PIXEL_SLACK));
    if (spec->pixels == nullptr) return no_memory(c);
    gif_decoded decoded = gif_lzw_decode(data, size, spec->pixels, code_size, pixels);
    if (decoded.damaged || decoded.pixels < pixels) {
        // What the decoder wrote past its last pixel is no pixel.
        size_t passed = pixels - decoded.pixels < GIF_PIXEL_SLACK ? pixels - decoded.pixels : GIF_PIXEL_SLACK;
        std::memset(spec->pixels + decoded.pixels, 0, passed);
        set_flag(c, FLAG_DAMAGED, true);
    }
    spec->must_decode = false;
    return true;
}

// False: the status is set, and the next line tries again.
bool gif_decode(CFILE* c, gif_spec* spec) {
    if (!io_seek(c, spec->data_offset)) return corrupt(c);
    int code_size = c->io.file_getc(c->file);
    if (code_size < LEAST_CODE_SIZE || code_size > MOST_CODE_SIZE) return corrupt(c);
    auto room = static_cast<size_t>(spec->data_size);
    mem_guard<uint8_t> data(static_cast<uint8_t*>(mem_alloc(room + GIF_DATA_SLACK)));
    if (!data) return no_memory(c);
    size_t size = 0;
    if (!join_blocks(c, data.get(), room, &size)) return false;
    std::memset(data.get() + size, 0, GIF_DATA_SLACK);
    return decode_data(c, spec, data.get(), size, code_size);
}

bool have_pixels(CFILE* c, gif_spec* spec) {
    if (spec->must_decode) return gif_decode(c, spec);
    if (spec->pixels != nullptr) return true;
    fail(c, RZL_READ_FAILED, SOURCE, "getline"); // of a new file whose header is not written
    return false;
}

void deliver_colors(const gif_spec* spec, const uint8_t* pixels, read_planes buffers) {
    for (size_t plane = 0; plane < 3; ++plane) {
        uint8_t* out = buffers[plane];
        if (out == nullptr) continue;
        const uint8_t* table = spec->colour_table + plane;
        for (int32_t x = 0; x < spec->width; ++x)
            out[x] = table[size_t{pixels[x]} * 3];
    }
}

void deliver_pixels(CFILE* c, const uint8_t* pixels, uint8_t* out) {
    int32_t width = gif_spec_of(c)->width;
    if (out == nullptr) return;
    if (gif_get_format(c) == RZL_FORMAT_BILEVEL_RUNS) {
        rzl_pack_bits(out, pixels, width, 1);
    } else {
        std::memcpy(out, pixels, static_cast<size_t>(width));
    }
}

} // namespace

// The passes: lines 0, 8, 16 ..., then 4, 12, ..., then 2, 6, 10, ..., then the odd ones.
int32_t gif_interlaced_place(int32_t line, int32_t height) {
    int32_t first = (height + 7) / 8;
    int32_t second = (height + 3) / 8;
    if (line % 2 == 1) return (height + 1) / 2 + line / 2;
    if (line % 8 == 0) return line / 8;
    if (line % 8 == 4) return first + (line - 4) / 8;
    return first + second + (line - 2) / 4;
}

int gif_get_line(CFILE* c, int channels, read_planes buffers) {
    gif_spec* spec = gif_spec_of(c);
    if (channels != 0 && channels != 1 && channels != 3) {
        fail(c, RZL_UNSUP_TIFF, SOURCE, "Gif getline");
        return 0;
    }
    if (!have_pixels(c, spec)) return 0;
    if (c->line < 0 || c->line >= spec->height) {
        fail(c, RZL_PAST_END, SOURCE, "getline");
        return 0;
    }
    int32_t place = spec->interlaced ? gif_interlaced_place(c->line, spec->height) : c->line;
    const uint8_t* pixels = spec->pixels + static_cast<size_t>(place) * static_cast<size_t>(spec->width);
    if (channels == 3) {
        deliver_colors(spec, pixels, buffers);
    } else if (channels == 1) {
        deliver_pixels(c, pixels, buffers[0]);
    }
    ++c->line;
    return spec->width;
}
