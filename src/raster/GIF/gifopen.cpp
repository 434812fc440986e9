// GIF files: finding the first image of a file, its header fields, and reading lines. The first line that is asked for
// has the whole image decoded; all others are copies.
//
// What is believed of a file. Sizes are 16-bit numbers that any few bytes can fill, so opening takes no memory by them;
// the decoder does, once it knows how much coded data there is. Between header and image only the structure counts:
// contents of extensions are passed over.
#include <algorithm>
#include <cstring>

#include "raster/GIF/gif.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "GIF/gifopen";
constexpr char CORRUPT[] = "Corrupt Gif file";
constexpr int LEAST_CODE_SIZE = 1;
constexpr int MOST_CODE_SIZE = 8;

// ---- the structure of a file ---------------------------------------------------------------------------------------

// Labels of extensions.
constexpr int LABEL_TEXT = 1;
constexpr int LABEL_CONTROL = 249;
constexpr int LABEL_COMMENT = 254;
constexpr int LABEL_APPLICATION = 255;

// Blocks up to and with the empty one. False at the end of the file.
bool skip_blocks(CFILE* c) {
    for (;;) {
        int size = io_getc(c);
        if (size <= 0) return size == 0;
        if (!io_skip(c, size)) return false;
    }
}

// Whether what comes next is the start of an extension, of an image, or the end: what can follow an extension.
bool stands_between_parts(CFILE* c) {
    int byte = io_getc(c);
    return byte == GIF_EXTENSION || byte == GIF_SEPARATOR || byte == GIF_TRAILER;
}

// An extension that nobody knows should hold blocks as all others do. One that does not is passed over up to what looks
// like an image.
void skip_unknown(CFILE* c) {
    int64_t start = io_tell(c);
    bool in_blocks = skip_blocks(c);
    int64_t end = io_tell(c);
    if (in_blocks && stands_between_parts(c)) {
        (void)io_seek(c, end);
        return;
    }
    (void)io_seek(c, start);
    int byte = io_getc(c);
    while (byte >= 0 && byte != GIF_SEPARATOR)
        byte = io_getc(c);
    if (byte == GIF_SEPARATOR) (void)io_seek(c, io_tell(c) - 1);
}

// Passes over the extension whose mark has been read. An end of the file is met again by the caller.
void gif_skip_extension(CFILE* c) {
    int label = io_getc(c);
    int size = 0;
    switch (label) {
    case -1: break;
    case LABEL_TEXT:
    case LABEL_COMMENT:
    case LABEL_APPLICATION: (void)skip_blocks(c); break;
    case LABEL_CONTROL: // its empty block is one of the bytes passed over between the parts
        size = io_getc(c);
        if (size > 0) (void)io_skip(c, size);
        break;
    default: skip_unknown(c);
    }
}

// Stands behind the separator of the first image afterwards. False: there is none.
bool find_image(CFILE* c) {
    for (;;) {
        int byte = io_getc(c);
        if (byte == GIF_SEPARATOR) return true;
        if (byte == GIF_EXTENSION) gif_skip_extension(c);
        if (byte < 0) return false;
    }
}

// Takes the table that a packed byte tells of, when it does. False: it is not whole.
bool read_table(CFILE* c, gif_spec* spec, uint8_t packed) {
    int size_field = packed & GIF_PACKED_SIZE;
    if ((packed & GIF_PACKED_TABLE) == 0) return true;
    c->bits = size_field + 1;
    spec->colour_count = 2 << size_field;
    spec->has_table = true;
    size_t bytes = static_cast<size_t>(spec->colour_count) * 3;
    if (io_read(c, spec->colour_table, bytes) != bytes) return false;
    gif_grey_table(spec, static_cast<size_t>(spec->colour_count));
    return true;
}

bool read_header(CFILE* c, gif_spec* spec) {
    if (!io_seek(c, c->base_offset) || io_read(c, spec->header, GIF_HEADER_SIZE) != GIF_HEADER_SIZE) return false;
    uint8_t packed = spec->header[GIF_AT_SCREEN_PACKED];
    c->bits = (packed & GIF_PACKED_SIZE) + 1;
    spec->colour_count = 1 << c->bits;
    gif_grey_table(spec, 0);
    return read_table(c, spec, packed);
}

// The descriptor of the first image, and its own table, which then is the one in force.
bool read_image(CFILE* c, gif_spec* spec) {
    uint8_t* descriptor = spec->descriptor;
    descriptor[0] = GIF_SEPARATOR;
    size_t rest = GIF_DESCRIPTOR_SIZE - 1;
    if (!find_image(c) || io_read(c, descriptor + 1, rest) != rest) return false;
    spec->width = load_u16le(descriptor + GIF_AT_IMAGE_WIDTH);
    spec->height = load_u16le(descriptor + GIF_AT_IMAGE_WIDTH + 2);
    uint8_t packed = descriptor[GIF_AT_IMAGE_PACKED];
    spec->interlaced = (packed & GIF_PACKED_INTERLACED) != 0;
    if (spec->width == 0 || spec->height == 0 || !read_table(c, spec, packed)) return false;
    spec->data_offset = io_tell(c);
    spec->data_size = io_size(c) - spec->data_offset - 1;
    return spec->data_offset > 0 && spec->data_size >= 0;
}

int gif_open(CFILE* c, const char*) {
    gif_spec* spec = gif_spec_of(c);
    c->color_table = static_cast<uint8_t*>(mem_alloc(GIF_TABLE_SIZE));
    if (c->color_table == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (!read_header(c, spec) || !read_image(c, spec)) return refuse(c, RZL_READ_FAILED, SOURCE, CORRUPT);
    spec->must_decode = true;
    std::memcpy(c->color_table, spec->colour_table, GIF_TABLE_SIZE);
    c->xsize = spec->width;
    c->ysize = spec->height;
    c->samples = 1;
    c->vlt_bits = 8;
    c->compression = CLASS_LZW;
    return 0;
}

int gif_initialise(CFILE*) {
    return 0;
}

// ---- fields --------------------------------------------------------------------------------------------------------

int gif_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const gif_spec* spec = gif_spec_of(c);
    switch (field) {
    case RZL_FIELD_VLT_TYPE: give_int(value, RZL_VLT_ENTRIES); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, spec->has_table ? spec->colour_count : 0); break;
    case RZL_FIELD_COMPRESSION: give_int(value, 1); break;
    default: break;
    }
    return 0;
}

// Fields that the format does not keep are ignored, tiles among them: the file goes on without.
int gif_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    switch (field) {
    case RZL_FIELD_FORMAT: return rzl_take_format(c, int_of(value), RZL_NOT_STANDARD, SOURCE);
    case RZL_FIELD_VLT_ENTRIES: gif_spec_of(c)->vlt_announced = int_of(value); return 0;
    default: return 0;
    }
}

// A file has two colours when the table in force has. Before a new file's header is there, the format is what was set.
int gif_get_format(CFILE* c) {
    if (!has_flag(c, FLAG_HEADER_EXISTS)) return c->format;
    return gif_spec_of(c)->colour_count == 2 ? RZL_FORMAT_BILEVEL_RUNS : RZL_FORMAT_BYTE_RUNS;
}

int gif_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const gif_spec* spec = gif_spec_of(c);
    for (int i = 0; i < static_cast<int>(GIF_COLORS); ++i) {
        const uint8_t* color = spec->colour_table + size_t{3} * static_cast<size_t>(i);
        if (i < spec->colour_count) {
            entries[i].red = static_cast<uint16_t>(color[0] << 8);
            entries[i].green = static_cast<uint16_t>(color[1] << 8);
            entries[i].blue = static_cast<uint16_t>(color[2] << 8);
        } else if (i == static_cast<int>(GIF_COLORS) - 1) {
            return 0;
        }
        entries[i].slot = static_cast<uint16_t>(i);
    }
    return 0;
}

// ---- lines ---------------------------------------------------------------------------------------------------------

// The coded data, without the lengths of its blocks. *bytes: how many there are. False: the file ends before the empty
// block.
bool join_blocks(CFILE* c, uint8_t* data, size_t room, size_t* bytes) {
    size_t fill = 0;
    int size = io_getc(c);
    while (size > 0) {
        auto block = static_cast<size_t>(size);
        if (block > room - fill || io_read(c, data + fill, block) != block)
            return fails(c, RZL_READ_FAILED, SOURCE, CORRUPT);
        fill += block;
        size = io_getc(c);
    }
    *bytes = fill;
    return size == 0 || fails(c, RZL_READ_FAILED, SOURCE, CORRUPT);
}

// The pixels of the image out of its coded data. Memory is taken for an image that the data can fill, and no other.
// Pixels that the data leaves out are 0, and the file counts as damaged.
bool decode_data(CFILE* c, gif_spec* spec, const uint8_t* data, size_t size, int code_size) {
    size_t pixels = static_cast<size_t>(spec->width) * static_cast<size_t>(spec->height);
    if (gif_lzw_most_pixels(size, code_size) < pixels) return fails(c, RZL_READ_FAILED, SOURCE, CORRUPT);
    spec->pixels = static_cast<uint8_t*>(mem_alloc_zeroed(pixels + GIF_PIXEL_SLACK));
    if (spec->pixels == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
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
    if (!io_seek(c, spec->data_offset)) return fails(c, RZL_READ_FAILED, SOURCE, CORRUPT);
    int code_size = io_getc(c);
    if (code_size < LEAST_CODE_SIZE || code_size > MOST_CODE_SIZE) return fails(c, RZL_READ_FAILED, SOURCE, CORRUPT);
    auto room = static_cast<size_t>(spec->data_size);
    mem_guard<uint8_t> data(static_cast<uint8_t*>(mem_alloc(room + GIF_DATA_SLACK)));
    if (!data) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    size_t size = 0;
    if (!join_blocks(c, data.get(), room, &size)) return false;
    std::memset(data.get() + size, 0, GIF_DATA_SLACK);
    return decode_data(c, spec, data.get(), size, code_size);
}

bool have_pixels(CFILE* c, gif_spec* spec) {
    if (spec->must_decode) return gif_decode(c, spec);
    if (spec->pixels != nullptr) return true;
    return fails(c, RZL_READ_FAILED, SOURCE, "getline"); // of a new file whose header is not written
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

int gif_get_line(CFILE* c, int channels, read_planes buffers) {
    gif_spec* spec = gif_spec_of(c);
    if (channels != 0 && channels != 1 && channels != 3) return fails(c, RZL_UNSUP_TIFF, SOURCE, "Gif getline");
    if (!have_pixels(c, spec)) return 0;
    if (c->line < 0 || c->line >= spec->height) return fails(c, RZL_PAST_END, SOURCE, "getline");
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

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE_RUNS, RZL_FORMAT_BYTE, RZL_FORMAT_BILEVEL_RUNS, RZL_FORMAT_BILEVEL};

constexpr format_slots SLOTS = {
    .Get_line = gif_get_line,
    .Putline = gif_putline,
    .Get_hdr_data = gif_get_hdr_data,
    .Set_hdr_data = gif_set_hdr_data,
    .Get_vlt = gif_get_vlt,
    .Get_format = gif_get_format,
    .Wrt_hdr = gif_write_header,
    .Randomize = rzl_randomize_nothing,
    .Close = gif_close,
    .Free_specs = gif_free_specs,
};

} // namespace

extern const format_module gif_module;
const format_module gif_module = {
    .word = SOURCE,
    .squetch_word = "GIF Squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(gif_spec),
    .formats = FORMATS,
    .traits = MODULE_COLORS | MODULE_CODED,
    .open = gif_open,
    .initialise = gif_initialise,
};

void gif_grey_table(gif_spec* spec, size_t first) {
    for (size_t i = first; i < GIF_COLORS; ++i)
        std::memset(spec->colour_table + i * 3, static_cast<int>(i), 3);
}

// The passes: lines 0, 8, 16 ..., then 4, 12, ..., then 2, 6, 10, ..., then the odd ones.
int32_t gif_interlaced_place(int32_t line, int32_t height) {
    int32_t first = (height + 7) / 8;
    int32_t second = (height + 3) / 8;
    if (line % 2 == 1) return (height + 1) / 2 + line / 2;
    if (line % 8 == 0) return line / 8;
    if (line % 8 == 4) return first + (line - 4) / 8;
    return first + second + (line - 2) / 4;
}

void gif_free_specs(CFILE* c) {
    gif_spec* spec = gif_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->pixels);
    mem_free(spec->line_came);
    spec->pixels = nullptr;
    spec->line_came = nullptr;
}
