// GIF files: finding the first image of a file, the initial state of one being created, and closing.
//
// What is believed of a file. Sizes are 16-bit numbers that any few bytes can fill, so opening takes no memory by them;
// the decoder does, once it knows how much coded data there is. Between header and image only the structure counts:
// contents of extensions are passed over.
#include <cstring>

#include "raster/GIF/gif.h"
#include "support/bytes.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "GIF/gifopen";

// Labels of extensions.
constexpr int LABEL_TEXT = 1;
constexpr int LABEL_CONTROL = 249;
constexpr int LABEL_COMMENT = 254;
constexpr int LABEL_APPLICATION = 255;

format_slots make_slots() {
    format_slots slots = {};
    slots.Getline = rzl_getline_generic;
    slots.Get_line = gif_get_line;
    slots.Putline = gif_putline;
    slots.Get_hdr_data = gif_get_hdr_data;
    slots.Set_hdr_data = gif_set_hdr_data;
    slots.Get_stat = gif_get_stat;
    slots.Set_stat = gif_set_stat;
    slots.Get_vlt = gif_get_vlt;
    slots.Get_format = gif_get_format;
    slots.Wrt_hdr = gif_write_header;
    slots.Seek = gif_seek;
    slots.Randomize = gif_randomize;
    slots.Rewind = gif_rewind;
    slots.Close = gif_close;
    slots.Free_specs = gif_free_specs;
    return slots;
}

int next_byte(CFILE* c) {
    return c->io.file_getc(c->file);
}

// False at the end of the file. A seek past the end is no failure of the file layer, so the last byte is read.
bool skip_bytes(CFILE* c, int count) {
    if (count == 0) return true;
    return io_seek(c, io_tell(c) + count - 1) && next_byte(c) >= 0;
}

// Blocks up to and with the empty one. False at the end of the file.
bool skip_blocks(CFILE* c) {
    for (;;) {
        int size = next_byte(c);
        if (size <= 0) return size == 0;
        if (!skip_bytes(c, size)) return false;
    }
}

// Whether what comes next is the start of an extension, of an image, or the end: what can follow an extension.
bool stands_between_parts(CFILE* c) {
    int byte = next_byte(c);
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
    int byte = next_byte(c);
    while (byte >= 0 && byte != GIF_SEPARATOR)
        byte = next_byte(c);
    if (byte == GIF_SEPARATOR) (void)io_seek(c, io_tell(c) - 1);
}

// Passes over the extension whose mark has been read. An end of the file is met again by the caller.
void gif_skip_extension(CFILE* c) {
    int label = next_byte(c);
    int size = 0;
    switch (label) {
    case -1: break;
    case LABEL_TEXT:
    case LABEL_COMMENT:
    case LABEL_APPLICATION: (void)skip_blocks(c); break;
    case LABEL_CONTROL: // its empty block is one of the bytes passed over between the parts
        size = next_byte(c);
        if (size > 0) (void)skip_bytes(c, size);
        break;
    default: skip_unknown(c);
    }
}

// Stands behind the separator of the first image afterwards. False: there is none.
bool find_image(CFILE* c) {
    for (;;) {
        int byte = next_byte(c);
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

CFILE* abandon(CFILE* c, uint32_t status, const char* detail) {
    fail(c, status, SOURCE, detail);
    abandon_cfile(c);
    return nullptr;
}

bool new_spec(CFILE* c) {
    c->spec = mem_new<gif_spec>();
    return c->spec != nullptr;
}

void take_image(CFILE* c, const gif_spec* spec) {
    c->xsize = spec->width;
    c->ysize = spec->height;
    c->samples = 1;
    c->vlt_bits = 8;
    c->standard = RZL_STANDARD_GIF;
    c->compression = GIF_COMPRESSION;
    c->active_overview = OVERVIEW_UNSET;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    install_slots(c, make_slots());
}

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

void gif_grey_table(gif_spec* spec, size_t first) {
    for (size_t i = first; i < GIF_COLORS; ++i)
        std::memset(spec->colour_table + i * 3, static_cast<int>(i), 3);
}

CFILE* gif_open(CFILE* c) {
    c->color_table = static_cast<uint8_t*>(mem_alloc(GIF_TABLE_SIZE));
    if (c->color_table == nullptr || !new_spec(c)) return abandon(c, RZL_NO_MEMORY, nullptr);
    gif_spec* spec = gif_spec_of(c);
    if (!read_header(c, spec) || !read_image(c, spec)) return abandon(c, RZL_READ_FAILED, "Corrupt Gif file");
    spec->must_decode = true;
    std::memcpy(c->color_table, spec->colour_table, GIF_TABLE_SIZE);
    take_image(c, spec);
    return c;
}

int gif_initialise(CFILE* c) {
    if (!new_spec(c)) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return 1;
    }
    install_slots(c, make_slots());
    return 0;
}

void gif_free_specs(CFILE* c) {
    gif_spec* spec = gif_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->pixels);
    mem_free(spec->line_came);
    spec->pixels = nullptr;
    spec->line_came = nullptr;
}

void gif_close(CFILE* c) {
    gif_spec* spec = gif_spec_of(c);
    if (spec == nullptr) return;
    uint32_t status = 0;
    if (is_writable(c)) status = c->mode == MODE_UPDATE ? finish_existing(c) : finish_new(c, spec);
    if (status != 0) fail(c, status, SOURCE, "Gif close");
    gif_free_specs(c);
}
