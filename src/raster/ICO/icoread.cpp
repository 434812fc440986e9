// Reading ICO files: the images, and lines out of them.
#include <algorithm>
#include <cstring>

#include "raster/ICO/ico.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "ICO/icoread";

struct ico_entry {
    int32_t width, height;
    uint32_t size, offset;
};

// A side of 256 is told as 0.
ico_entry take_entry(const uint8_t* b) {
    auto side = [](uint8_t v) { return v != 0 ? int32_t{v} : 256; };
    return {side(b[0]), side(b[1]), load_u32le(b + 8), load_u32le(b + 12)};
}

// ---- one image -----------------------------------------------------------------------------------------------------

// Depth of an image by its header; 0 for one that this module does not take: other headers, such as that of a PNG file,
// more than 16 colours, or sides of more than 64.
int32_t bits_of(const ico_entry& entry, const uint8_t* h) {
    int32_t bits = load_u16le(h + 14);
    bool known = load_u32le(h) == ICO_INFO_SIZE && load_u32le(h + 16) == 0 && (bits == 1 || bits == 3 || bits == 4);
    return known && entry.width <= ICO_MOST_SIDE && entry.height <= ICO_MOST_SIDE ? bits : 0;
}

// Whether the header tells of the same picture as the entry. Its height counts the mask, too, or should.
bool sizes_agree(const ico_entry& entry, const uint8_t* h) {
    auto width = static_cast<int32_t>(load_u32le(h + 4));
    auto height = static_cast<int32_t>(load_u32le(h + 8));
    return width == entry.width && (height == entry.height * 2 || height == entry.height);
}

// Rows fill 32 bits when the image's size has the room for that; they must where a row is no whole bytes.
bool rows_are_padded(const ico_image* image, uint32_t size) {
    size_t rows = ico_padded_bytes(image->width, image->bits) + ico_padded_bytes(image->width, 1);
    size_t all = ICO_INFO_SIZE + ico_colors(image->bits) * 4 + rows * static_cast<size_t>(image->height);
    return size >= all || image->width % 8 != 0;
}

bool read_rows(CFILE* c, const ico_image* image, int32_t bits, uint8_t* rows) {
    size_t bytes = ico_row_bytes(image->width, bits);
    size_t stored = image->padded ? ico_padded_bytes(image->width, bits) : bytes;
    uint8_t row[ICO_MOST_SIDE / 2 + 4];
    for (int32_t y = 0; y < image->height; ++y, rows += bytes) {
        if (io_read(c, row, stored) != stored) return false;
        std::memcpy(rows, row, bytes);
    }
    return true;
}

bool read_maps(CFILE* c, ico_image* image, uint32_t size) {
    image->padded = rows_are_padded(image, size);
    image->place = io_tell(c);
    image->pixels = mem_new_array<uint8_t>(ico_pixel_bytes(image) + ico_mask_bytes(image));
    if (image->pixels == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    bool there = read_rows(c, image, image->bits, image->pixels) && read_rows(c, image, 1, ico_mask(image));
    return there || fails(c, RZL_READ_FAILED, SOURCE, "XOR MAP");
}

// One that is not taken has no more than its place in the count.
bool read_image(CFILE* c, ico_image* image, const ico_entry& entry, uint64_t* taken) {
    uint8_t h[ICO_INFO_SIZE];
    if (!io_seek(c, entry.offset) || io_read(c, h, sizeof h) != sizeof h)
        return fails(c, RZL_READ_FAILED, SOURCE, "BITMAPINFOHEADER");
    image->bits = bits_of(entry, h);
    if (image->bits == 0) return true;
    image->width = entry.width;
    image->height = entry.height;
    size_t colors = ico_colors(image->bits) * 4;
    if (!sizes_agree(entry, h) || io_read(c, image->colors, colors) != colors)
        return fails(c, RZL_READ_FAILED, SOURCE, "BITMAPINFOHEADER");
    // Entries that share their bytes must not make more of the file than it is.
    *taken += sizeof h + colors + ico_pixel_bytes(image) + ico_mask_bytes(image);
    if (*taken > static_cast<uint64_t>(io_size(c))) return fails(c, RZL_READ_FAILED, SOURCE, "XOR MAP");
    return read_maps(c, image, entry.size);
}

void unpack_nibbles(const uint8_t* row, size_t width, uint8_t* values) {
    for (size_t i = 0; i < width; ++i)
        values[i] = i % 2 == 0 ? row[i / 2] >> 4 : row[i / 2] & 15;
}

} // namespace

// The entry of an icon of few colours is enough; where planes, depth or other sizes are told, an image has to be there.
bool ico_probe(const file_probe* p) {
    auto is_side = [](uint8_t v) { return v == 16 || v == 32 || v == 64; };
    bool few_colors = p->b[8] == 2 || p->b[8] == 8 || p->b[8] == 16;
    if (few_colors && is_side(p->b[6]) && is_side(p->b[7]) && load_u32le(p->b + 10) == 0) return true;
    uint32_t offset = load_u32le(p->b + 18);
    uint64_t directory = ICO_HEAD_SIZE + uint64_t{ICO_ENTRY_SIZE} * load_u16le(p->b + 4);
    uint8_t size[4];
    bool there = directory > ICO_HEAD_SIZE && offset >= ICO_HEAD_SIZE + ICO_ENTRY_SIZE && io_seek(p->c, offset) &&
                 io_read(p->c, size, sizeof size) == sizeof size;
    constexpr uint32_t PNG_MAGIC = 0x474E5089;
    return there && (load_u32le(size) == ICO_INFO_SIZE || load_u32le(size) == PNG_MAGIC);
}

int ico_read_images(CFILE* c) {
    ico_spec* spec = ico_spec_of(c);
    uint8_t head[ICO_HEAD_SIZE];
    if (io_read(c, head, sizeof head) != sizeof head) return refuse(c, RZL_READ_FAILED, SOURCE, "ICONDIR");
    size_t count = load_u16le(head + 4);
    mem_guard<uint8_t> entries(io_read_block(c, count * ICO_ENTRY_SIZE, 0, SOURCE, "ICONDIRENTRY"));
    if (!entries) return 1;
    spec->images = static_cast<ico_image*>(mem_alloc_zeroed(std::max<size_t>(count, 1) * sizeof(ico_image)));
    if (spec->images == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    spec->count = static_cast<int32_t>(count);
    uint64_t taken = 0;
    for (size_t i = 0; i < count; ++i)
        if (!read_image(c, &spec->images[i], take_entry(entries.get() + i * ICO_ENTRY_SIZE), &taken)) return 1;
    return 0;
}

int ico_get_line(CFILE* c, int channels, read_planes buffers) {
    const ico_image* image = ico_active(c);
    bool wanted = is_wanted(channels, buffers);
    if (wanted && channels != 1 && channels != 3) return fails(c, RZL_UNSUP_ICO, SOURCE, "getline");
    if (image->pixels == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline"); // a new image without its header
    if (image->bits != 1 && image->bits != 4) return fails(c, RZL_UNSUP_ICO, SOURCE, "bits");
    uint8_t spare[ICO_MOST_SIDE];
    uint8_t* values = values_target(channels, buffers, spare);
    const uint8_t* row =
        image->pixels + static_cast<size_t>(image->height - 1 - c->line) * ico_row_bytes(image->width, image->bits);
    if (values != nullptr && image->bits == 1) {
        bits_to_words(row, static_cast<uint32_t>(c->xsize), 0, values);
    } else if (values != nullptr) {
        unpack_nibbles(row, static_cast<size_t>(c->xsize), values);
        rzl_spread_values(c, channels, buffers, values);
    }
    ++c->line;
    return c->xsize;
}
