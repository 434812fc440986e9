// Writing ICO files: images in memory, and the file at its close.
#include <algorithm>
#include <cstring>

#include "raster/ICO/ico.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "ICO/icowrite";

// ---- images --------------------------------------------------------------------------------------------------------

// An image of zeros. False without memory, with the status set.
bool make_image(CFILE* c, ico_image* image, int32_t width, int32_t height, int32_t bits) {
    mem_free(image->pixels);
    *image = {};
    image->width = width;
    image->height = height;
    image->bits = bits;
    image->pixels = static_cast<uint8_t*>(mem_alloc_zeroed(ico_pixel_bytes(image) + ico_mask_bytes(image)));
    if (image->pixels != nullptr) return true;
    image->bits = 0;
    return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

// Blue, green, red and a zero of each entry.
void fill_colors(const CFILE* c, const ico_spec* spec, ico_image* image) {
    size_t count = std::max<size_t>(ico_colors(image->bits), 2);
    std::memset(image->colors, 0, sizeof image->colors);
    for (size_t i = 0; i < count && c->vlt == nullptr; ++i)
        std::memset(image->colors + i * 4, static_cast<int>(i * 255 / (count - 1)), 3);
    store_colors(c->vlt, entries_given(c, spec->announced, count), {.step = 4, .blue_first = true}, image->colors);
}

bool is_side(int32_t side) {
    return side == 16 || side == 32 || side == 64;
}

void pack_row(const ico_image* image, const uint8_t* line, uint8_t* row) {
    auto width = static_cast<size_t>(image->width);
    if (line == nullptr) { // a line that is not given is 0
        std::memset(row, 0, ico_row_bytes(image->width, image->bits));
    } else if (image->bits == 1) {
        words_to_bits(line, static_cast<uint32_t>(image->width), 0, row);
    } else {
        for (size_t i = 0; i < width; i += 2) {
            unsigned second = i + 1 < width ? line[i + 1] & 15u : 0u;
            row[i / 2] = static_cast<uint8_t>((line[i] & 15u) << 4 | second);
        }
    }
}

// Writes rows of an existing file in their place: `first` to `last`, from the bottom.
bool write_rows(CFILE* c, const ico_image* image, bool mask, int32_t first, int32_t last) {
    int32_t bits = mask ? 1 : image->bits;
    size_t bytes = ico_row_bytes(image->width, bits);
    auto stored = static_cast<int64_t>(image->padded ? ico_padded_bytes(image->width, bits) : bytes);
    size_t pixels =
        image->padded ? ico_padded_bytes(image->width, image->bits) : ico_row_bytes(image->width, image->bits);
    int64_t place = image->place + (mask ? static_cast<int64_t>(pixels) * image->height : 0);
    const uint8_t* rows = mask ? ico_mask(image) : image->pixels;
    for (int32_t y = first; y <= last; ++y) {
        if (!io_seek(c, place + y * stored)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
        if (!put_all(c, rows + static_cast<size_t>(y) * bytes, bytes, SOURCE)) return false;
    }
    return true;
}

// ---- the file ------------------------------------------------------------------------------------------------------

size_t image_bytes(const ico_image* image) {
    return ICO_INFO_SIZE + ico_colors(image->bits) * 4 + ico_pixel_bytes(image) + ico_mask_bytes(image);
}

uint8_t* store_entry(const ico_image* image, size_t offset, uint8_t* out) {
    std::memset(out, 0, ICO_ENTRY_SIZE);
    out[0] = static_cast<uint8_t>(image->width);
    out[1] = static_cast<uint8_t>(image->height);
    out[2] = static_cast<uint8_t>(ico_colors(image->bits));
    store_u32le(out + 8, static_cast<uint32_t>(image_bytes(image)));
    store_u32le(out + 12, static_cast<uint32_t>(offset));
    return out + ICO_ENTRY_SIZE;
}

uint8_t* store_image(const ico_image* image, uint8_t* out) {
    size_t maps = ico_pixel_bytes(image) + ico_mask_bytes(image);
    size_t colors = ico_colors(image->bits) * 4;
    std::memset(out, 0, ICO_INFO_SIZE);
    store_u32le(out, ICO_INFO_SIZE);
    store_u32le(out + 4, static_cast<uint32_t>(image->width));
    store_u32le(out + 8, static_cast<uint32_t>(image->height * 2));
    store_u16le(out + 12, 1);
    store_u16le(out + 14, static_cast<uint16_t>(image->bits));
    store_u32le(out + 20, static_cast<uint32_t>(maps));
    std::memcpy(out + ICO_INFO_SIZE, image->colors, colors);
    std::memcpy(out + ICO_INFO_SIZE + colors, image->pixels, maps);
    return out + ICO_INFO_SIZE + colors + maps;
}

// Images that were not made are blank, as large as the active one. False without memory, with the status set.
bool complete_images(CFILE* c, const ico_spec* spec) {
    const ico_image* active = ico_active(c);
    int32_t width = active->bits != 0 ? active->width : 16;
    int32_t height = active->bits != 0 ? active->height : 16;
    for (int32_t i = 0; i < spec->count; ++i)
        if (spec->images[i].bits == 0 && !make_image(c, &spec->images[i], width, height, 4)) return false;
    return true;
}

bool write_file(CFILE* c, const ico_spec* spec) {
    if (!complete_images(c, spec)) return false;
    auto count = static_cast<size_t>(spec->count);
    size_t size = ICO_HEAD_SIZE + count * ICO_ENTRY_SIZE;
    size_t offset = size;
    for (size_t i = 0; i < count; ++i)
        size += image_bytes(&spec->images[i]);
    mem_guard<uint8_t> file(mem_new_array<uint8_t>(size));
    if (!file) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    uint8_t* out = file.get();
    store_u32le(out, 0x10000); // the reserved word and the type of icons
    store_u16le(out + 4, static_cast<uint16_t>(count));
    out += ICO_HEAD_SIZE;
    for (size_t i = 0; i < count; ++i) {
        out = store_entry(&spec->images[i], offset, out);
        offset += image_bytes(&spec->images[i]);
    }
    for (size_t i = 0; i < count; ++i)
        out = store_image(&spec->images[i], out);
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    if (!at_start) return fails(c, RZL_WRITE_FAILED, SOURCE, "ICONDIR");
    return put_all(c, file.get(), size, SOURCE);
}

} // namespace

// An image that has its header keeps it.
int ico_write_header(CFILE* c) {
    ico_spec* spec = ico_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (!is_side(c->xsize) || !is_side(c->ysize)) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    ico_image* image = ico_active(c);
    if (!make_image(c, image, c->xsize, c->ysize, format_is_bilevel(c->format) ? 1 : 4)) return 1;
    c->bits = image->bits;
    fill_colors(c, spec, image);
    if (is_readable(c) && !ico_keep_colors(c)) return 1;
    spec->written = true;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int ico_put_line(CFILE* c, int channels, write_planes buffers) {
    const ico_image* image = ico_active(c);
    if (channels != 1) return fails(c, RZL_UNSUP_ICO, SOURCE, "putline");
    if (image->bits != 1 && image->bits != 4) return fails(c, RZL_UNSUP_ICO, SOURCE, "bits");
    int32_t y = image->height - 1 - c->line;
    pack_row(image, buffers[0], image->pixels + static_cast<size_t>(y) * ico_row_bytes(image->width, image->bits));
    if (c->mode == MODE_UPDATE && !write_rows(c, image, false, y, y)) return 0;
    return image->width;
}

int ico_set_mask(CFILE* c, const uint8_t* bits) {
    const ico_image* image = ico_active(c);
    if (image->pixels == nullptr) return refuse(c, RZL_UNSUP_ICO, SOURCE, "mask before the header");
    if (image->width % 8 != 0) return refuse(c, RZL_UNSUP_ICO, SOURCE, "mask");
    std::memcpy(ico_mask(image), bits, ico_mask_bytes(image));
    bool good = c->mode != MODE_UPDATE || write_rows(c, image, true, 0, image->height - 1);
    return good ? 0 : 1;
}

void ico_close(CFILE* c) {
    const ico_spec* spec = ico_spec_of(c);
    bool is_new = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    if (spec != nullptr && is_new && spec->written) (void)write_file(c, spec);
}
