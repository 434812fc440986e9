// Lines of SYM files, and the writing of a new one.
#include <algorithm>
#include <cstring>

#include "raster/SYM/sym.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "SYM/symline";
constexpr size_t MOST_ROW = SYM_MOST_SIDE / 8 + 1;

int64_t place_of_row(const CFILE* c, const font_entry& entry, int32_t row) {
    int64_t place = int64_t{sym_spec_of(c)->bitmaps} + FONT_PLACES_FROM + entry.place;
    return place + row * static_cast<int64_t>(font_row_bytes(entry.width));
}

// A row of the glyph as the file has it. Null when it is not there.
const uint8_t* read_row(CFILE* c, int32_t row, uint8_t* room) {
    const sym_image* image = sym_active(c);
    size_t bytes = font_row_bytes(image->entry.width);
    if (image->rows != nullptr) return image->rows + static_cast<size_t>(row) * bytes;
    return io_seek(c, place_of_row(c, image->entry, row)) ? io_take(c, bytes, room) : nullptr;
}

// Lays a glyph's row into a clear one of the cell, bits in the order of rows. What does not fit the cell is cut.
void lay_row(const font_entry& entry, const uint8_t* row, uint8_t* bits) {
    for (int32_t x = 0; x < entry.width; ++x) {
        int32_t at = x + entry.x_offset;
        bool set = (row[x / 8] >> x % 8 & 1) != 0;
        if (set && at >= 0 && at < entry.advance) bits[at / 8] |= static_cast<uint8_t>(0x80u >> at % 8);
    }
}

// ---- a new file ----------------------------------------------------------------------------------------------------

// Bytes of an image in the bitmap area: glyphs begin at even places.
size_t area_bytes(const sym_image* image) {
    size_t bytes = font_glyph_bytes(image->entry.width, image->entry.height);
    return bytes + bytes % 2;
}

// A code is the number of an image. The last of 256 has no glyph number of its own: its code only tells that it is
// there, and it is found by its place in the table.
uint8_t glyph_number(int32_t image) {
    return static_cast<uint8_t>(std::min(image + 1, 255));
}

// False, with the status, when glyphs lie further than a place can tell.
bool place_images(CFILE* c, const sym_spec* spec, size_t* area) {
    *area = 0;
    for (int32_t i = 0; i < spec->count; ++i) {
        sym_image* image = &spec->images[i];
        if (*area > FONT_MOST_PLACE) return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "table");
        image->entry.place = static_cast<uint16_t>(*area);
        if (image->rows != nullptr) *area += area_bytes(image);
    }
    return true;
}

bool write_file(CFILE* c, const sym_spec* spec) {
    size_t area = 0;
    if (!place_images(c, spec, &area)) return false;
    size_t head = FONT_AT_TABLE + static_cast<size_t>(spec->count) * FONT_ENTRY_SIZE;
    mem_guard<uint8_t> file(static_cast<uint8_t*>(mem_alloc_zeroed(head + area)));
    if (!file) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    std::memcpy(file.get(), FONT_MAGIC, FONT_MAGIC_SIZE);
    store_u32le(file.get() + FONT_AT_TOTAL, static_cast<uint32_t>(head + area - FONT_PLACES_FROM));
    store_u32le(file.get() + FONT_AT_BITMAPS, static_cast<uint32_t>(head - FONT_PLACES_FROM));
    for (int32_t i = 0; i < spec->count; ++i) {
        const sym_image* image = &spec->images[i];
        if (image->rows == nullptr) continue;
        auto n = static_cast<size_t>(i);
        file[FONT_AT_INDEX + n] = glyph_number(i);
        store_font_entry(&file[FONT_AT_TABLE + n * FONT_ENTRY_SIZE], image->entry);
        std::memcpy(&file[head + image->entry.place], image->rows,
                    font_glyph_bytes(image->entry.width, image->entry.height));
    }
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    if (!at_start) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    return put_all(c, file.get(), head + area, SOURCE);
}

} // namespace

int sym_get_line(CFILE* c, int channels, read_planes buffers) {
    const sym_image* image = sym_active(c);
    bool wanted = is_wanted(channels, buffers);
    if (wanted && channels != 1) return fails(c, RZL_UNSUP_SYM, SOURCE, "getline");
    if (sym_is_new(c) && image->rows == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline"); // no header yet
    uint8_t bits[MOST_ROW] = {};
    int32_t row = c->line - image->entry.y_offset;
    if (wanted && row >= 0 && row < image->entry.height) {
        uint8_t room[MOST_ROW];
        const uint8_t* stored = read_row(c, row, room);
        if (stored == nullptr) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
        lay_row(image->entry, stored, bits);
    }
    if (wanted) bits_to_words(bits, static_cast<uint32_t>(c->xsize), 0, buffers[0]);
    ++c->line;
    return c->xsize;
}

// An image that has its header keeps it.
int sym_write_header(CFILE* c) {
    sym_spec* spec = sym_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    bool fits = c->xsize >= 1 && c->xsize <= SYM_MOST_SIDE && c->ysize >= 1 && c->ysize <= SYM_MOST_SIDE;
    if (!fits) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    sym_image* image = sym_active(c);
    auto width = static_cast<uint8_t>(c->xsize);
    auto height = static_cast<uint8_t>(c->ysize);
    mem_free(image->rows);
    image->rows = static_cast<uint8_t*>(mem_alloc_zeroed(font_glyph_bytes(width, height)));
    if (image->rows == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    image->entry = {0, width, height, 0, 0, width, height};
    spec->written = true;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int sym_put_line(CFILE* c, int channels, write_planes buffers) {
    const sym_image* image = sym_active(c);
    const font_entry& e = image->entry;
    bool fills = e.x_offset == 0 && e.y_offset == 0 && e.width == e.advance && e.height == e.depth;
    if (channels != 1 || !fills) return fails(c, RZL_UNSUP_SYM, SOURCE, "putline");
    size_t bytes = font_row_bytes(e.width);
    uint8_t row[MOST_ROW] = {}; // a line that is not given is black
    if (buffers[0] != nullptr) words_to_bits(buffers[0], e.width, 0, row);
    std::transform(row, row + bytes, row, reversed_bits);
    if (image->rows != nullptr) {
        std::memcpy(image->rows + static_cast<size_t>(c->line) * bytes, row, bytes);
        return c->xsize;
    }
    if (!io_seek(c, place_of_row(c, e, c->line))) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    return put_all(c, row, bytes, SOURCE) ? c->xsize : 0;
}

void sym_close(CFILE* c) {
    const sym_spec* spec = sym_spec_of(c);
    if (spec != nullptr && sym_is_new(c) && spec->written) (void)write_file(c, spec);
}
