// TIFF: rows on their way into the file. Rows of a segment are gathered until it is complete, then coded and stored
// behind everything else. Plain rows of a segment that the file has already go straight to their place, and those of a
// new file's strips are streamed: each goes behind the one before it.
//
// A segment that is left unfinished is stored as well, in a new file with zeros for the rows that were not put. When a
// segment can't be stored its rows are dropped: the call that completed it tells.
#include <algorithm>
#include <cstring>

#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifputli";

// Bytes of rows that an update can pass over.
constexpr uint64_t MOST_PASSED = 1 << 26;

bool refuse(CFILE* c, uint32_t status, const char* detail, int line = __builtin_LINE()) {
    fail(c, status, SOURCE, detail, line);
    return false;
}

// Whether `bytes` at the beginning of an entry's place are its own, and in the file.
bool has_place(const CFILE* c, const tif_image* image, uint32_t entry, uint64_t bytes) {
    if (!tif_is_stored(image, entry)) return false;
    uint64_t size = image->strip_byte_counts[entry];
    int64_t end = c->base_offset + int64_t{image->strip_offsets[entry]} + static_cast<int64_t>(bytes);
    return (size == 0 || size >= bytes) && end <= tif_spec_of(c)->end;
}

bool replace_row(CFILE* c, const tif_image* image, uint32_t segment, uint32_t row, const uint8_t* rows) {
    tif_shape shape = tif_shape_of(image);
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    uint64_t at = uint64_t{row} * row_bytes;
    for (int plane = 0; plane < shape.planes; ++plane) {
        uint32_t entry = tif_entry_of(image, segment, plane);
        if (!has_place(c, image, entry, at + row_bytes)) return refuse(c, RZL_WRITE_FAILED, "strip too short");
        int64_t place = int64_t{image->strip_offsets[entry]} + static_cast<int64_t>(at);
        if (!tif_write_at(c, place, rows + static_cast<size_t>(plane) * row_bytes, row_bytes)) return false;
    }
    return true;
}

// Moves the rows that were put to a block for more of them.
void move_rows(const tif_image* image, tif_gathering* out, uint8_t* block, size_t plane_bytes) {
    size_t bytes = out->next_row * static_cast<size_t>(tif_row_bytes(image, 0));
    for (size_t plane = 0; bytes != 0 && plane < static_cast<size_t>(tif_shape_of(image).planes); ++plane)
        std::memcpy(block + plane * plane_bytes, out->rows + plane * out->plane_bytes, bytes);
}

// Room for the first `count` rows of the segment. It grows with the rows that come, since what a damaged file says of
// its strips can be anything.
bool need_rows(CFILE* c, const tif_image* image, uint32_t count) {
    tif_gathering* out = &tif_spec_of(c)->out;
    uint64_t row = tif_row_bytes(image, 0);
    if (out->plane_bytes != 0 && row * count <= out->plane_bytes) return true;
    uint64_t full = 0;
    uint64_t all = 0;
    bool fits = checked_mul(row, tif_rows_of(image, static_cast<uint32_t>(out->segment)), &full);
    uint64_t plane = std::max(row * count, std::min({full, uint64_t{out->plane_bytes} * 2, uint64_t{1} << 24}));
    plane = std::max(plane, std::min(full, uint64_t{1} << 20));
    fits = fits && checked_mul(plane, static_cast<uint64_t>(tif_shape_of(image).planes), &all);
    if (!fits) return refuse(c, RZL_NO_MEMORY, nullptr);
    // Rows that are passed over are kept as well: so many at once are no picture.
    if (c->mode == MODE_UPDATE && row * count > uint64_t{out->plane_bytes} * 2 + MOST_PASSED) {
        return refuse(c, RZL_BAD_IMAGE_SIZE, "image size");
    }
    if (out->rows != nullptr && all <= out->rows_room && out->next_row == 0) {
        out->plane_bytes = static_cast<size_t>(plane);
        return true;
    }
    auto* block = static_cast<uint8_t*>(mem_alloc(static_cast<size_t>(all)));
    if (block == nullptr) return refuse(c, RZL_NO_MEMORY, nullptr);
    move_rows(image, out, block, static_cast<size_t>(plane));
    mem_free(out->rows);
    out->rows = block;
    out->rows_room = static_cast<size_t>(all);
    out->plane_bytes = static_cast<size_t>(plane);
    return true;
}

void clear_rows(const tif_image* image, tif_gathering* out, uint32_t first, uint32_t end) {
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    for (int plane = 0; first < end && plane < tif_shape_of(image).planes; ++plane)
        std::memset(out->rows + static_cast<size_t>(plane) * out->plane_bytes + first * row_bytes, 0,
                    (end - first) * row_bytes);
}

// ---- streamed strips

bool can_stream(const CFILE* c, const tif_image* image) {
    bool plain = image->compression == TIF_PLAIN && tif_shape_of(image).planes == 1;
    return plain && c->mode == MODE_WRITE && !tif_is_tiled(image);
}

// The next bytes of the strip that is at hand.
bool stream_bytes(CFILE* c, const uint8_t* bytes, size_t count) {
    tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    auto strip = static_cast<uint32_t>(out->segment);
    if (tif_is_stored(image, strip)) {
        if (!tif_extend(c, bytes, count)) return false;
    } else {
        uint32_t offset = 0;
        if (!tif_need_entry(c, image, strip) || !tif_append(c, bytes, count, &offset)) return false;
        image->strip_offsets[strip] = offset;
        image->strip_byte_counts[strip] = 0;
        image->flags |= TIF_ARRAYS_CHANGED;
    }
    image->strip_byte_counts[strip] += static_cast<uint32_t>(count);
    return true;
}

// Zeros for the rows of the strip at hand up to `row`.
bool stream_zeros(CFILE* c, uint32_t row) {
    static constexpr uint8_t ZEROS[4096] = {};
    const tif_image* image = tif_image_of(c);
    const tif_gathering* out = &tif_spec_of(c)->out;
    uint64_t left = tif_row_bytes(image, 0) * row;
    auto strip = static_cast<uint32_t>(out->segment);
    if (tif_is_stored(image, strip)) left -= image->strip_byte_counts[strip];
    for (; left > 0; left -= std::min<uint64_t>(left, sizeof ZEROS))
        if (!stream_bytes(c, ZEROS, static_cast<size_t>(std::min<uint64_t>(left, sizeof ZEROS)))) return false;
    return true;
}

bool stream_row(CFILE* c, uint32_t row, const uint8_t* bytes) {
    const tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    auto strip = static_cast<uint32_t>(out->segment);
    if (row < out->next_row) return replace_row(c, image, strip, row, bytes);
    if (row > out->next_row && !stream_zeros(c, row)) return false;
    return stream_bytes(c, bytes, static_cast<size_t>(tif_row_bytes(image, 0))) && tif_end_row(c, strip, row);
}

// What replaces stored data is told by new arrays, so that the old ones hold until these stand.
void note_place(tif_image* image, uint32_t entry, uint32_t offset, uint32_t bytes) {
    if (tif_is_stored(image, entry) && (image->flags & TIF_IN_FILE) != 0) image->flags |= TIF_OUT_OF_DATE;
    image->strip_offsets[entry] = offset;
    image->strip_byte_counts[entry] = bytes;
    image->flags |= TIF_ARRAYS_CHANGED;
}

// ---- coding

bool need_coded(CFILE* c, uint64_t bytes) {
    tif_gathering* out = &tif_spec_of(c)->out;
    return tif_need_room(c, &out->coded, &out->coded_room, bytes);
}

bool pack_rows(CFILE* c, const uint8_t* rows, size_t row_bytes, uint32_t count, size_t* coded) {
    if (!need_coded(c, (uint64_t{row_bytes} + row_bytes / 64 + 2) * count)) return false;
    *coded = 0;
    for (uint32_t i = 0; i < count; ++i)
        *coded += tif_packbits_pack(rows + i * row_bytes, tif_spec_of(c)->out.coded + *coded, row_bytes);
    return true;
}

bool lzw_rows(CFILE* c, uint8_t* rows, size_t row_bytes, uint32_t count, size_t* coded) {
    tif_gathering* out = &tif_spec_of(c)->out;
    const tif_image* image = tif_image_of(c);
    size_t bytes = row_bytes * count;
    if (out->lzw_table == nullptr) {
        out->lzw_table = mem_new<tif_lzw_table>();
    }
    if (out->lzw_table == nullptr) return refuse(c, RZL_NO_MEMORY, nullptr);
    if (!need_coded(c, tif_lzw_bound(bytes))) return false;
    tif_shape shape = tif_shape_of(image);
    auto step = static_cast<size_t>(shape.together);
    for (uint32_t i = 0; image->predictor == 2 && i < count; ++i)
        tif_make_differences(rows + i * row_bytes, tif_bits(image), tif_spec_of(c)->order, shape.width * step, step);
    *coded = tif_lzw_encode(rows, out->coded, bytes, out->lzw_table);
    return true;
}

// Codes the rows of one plane. *bytes and *count are then what is to be stored.
bool code_rows(CFILE* c, uint8_t** bytes, size_t* count, uint32_t rows) {
    const tif_image* image = tif_image_of(c);
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    bool coded = false;
    switch (image->compression) {
    case TIF_PLAIN: *count = row_bytes * rows; return true;
    case TIF_PACKBITS: coded = pack_rows(c, *bytes, row_bytes, rows, count); break;
    case TIF_LZW: coded = lzw_rows(c, *bytes, row_bytes, rows, count); break;
    default: return refuse(c, RZL_UNSUP_TIFF, "tiff compression type");
    }
    *bytes = tif_spec_of(c)->out.coded;
    return coded;
}

} // namespace

bool tif_store_coded(CFILE* c, uint32_t entry, const uint8_t* bytes, size_t count) {
    tif_image* image = tif_image_of(c);
    if (!tif_need_entry(c, image, entry)) return false;
    if (image->compression == TIF_PLAIN && has_place(c, image, entry, count)) {
        return tif_write_at(c, image->strip_offsets[entry], bytes, count);
    }
    uint32_t offset = 0;
    if (count > UINT32_MAX) return refuse(c, RZL_WRITE_FAILED, nullptr);
    if (!tif_append(c, bytes, count, &offset)) return false;
    note_place(image, entry, offset, static_cast<uint32_t>(count));
    return true;
}

bool tif_store_tiles(CFILE* c, uint32_t first, uint32_t count, const uint8_t* bytes, size_t tile_bytes) {
    tif_image* image = tif_image_of(c);
    uint64_t all = 0;
    if (!checked_mul(uint64_t{tile_bytes}, uint64_t{count}, &all)) return refuse(c, RZL_WRITE_FAILED, nullptr);
    if (!tif_need_entry(c, image, first + count - 1)) return false;
    // One by one where some were put as tiles before, or could not all begin at an even place.
    bool alone = tile_bytes % 2 != 0;
    for (uint32_t i = 0; i < count; ++i)
        alone = alone || tif_is_stored(image, first + i);
    for (uint32_t i = 0; alone && i < count; ++i)
        if (!tif_store_coded(c, first + i, bytes + i * tile_bytes, tile_bytes)) return false;
    if (alone) return true;
    uint32_t offset = 0;
    if (!tif_append(c, bytes, static_cast<size_t>(all), &offset)) return false;
    for (uint32_t i = 0; i < count; ++i, offset += static_cast<uint32_t>(tile_bytes))
        note_place(image, first + i, offset, static_cast<uint32_t>(tile_bytes));
    return true;
}

bool tif_save_segment(CFILE* c, uint32_t segment, uint8_t* rows, size_t plane_bytes, uint32_t row_count) {
    tif_shape shape = tif_shape_of(tif_image_of(c));
    for (int plane = 0; plane < shape.planes; ++plane) {
        uint8_t* bytes = rows + static_cast<size_t>(plane) * plane_bytes;
        size_t count = 0;
        uint32_t entry = tif_entry_of(tif_image_of(c), segment, plane);
        if (!code_rows(c, &bytes, &count, row_count) || !tif_store_coded(c, entry, bytes, count)) return false;
    }
    return true;
}

// What is put from here on is an image that the close has to finish.
bool tif_samples_can_be_put(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    for (uint16_t bits : image->bits_per_sample)
        if (bits != tif_bits(image)) return refuse(c, RZL_UNSUP_TIFF, "Tiff bits/sample");
    set_flag(c, FLAG_MODULE, true);
    return true;
}

bool tif_begin_put(CFILE* c, uint32_t segment) {
    tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    if (out->waiting && out->segment == int64_t{segment}) return true;
    if (!tif_flush_segment(c)) return false;
    if (tif_is_stored(image, segment)) return refuse(c, RZL_MODIFY_COMPRESSED, "Cannot modify compressed data");
    out->segment = segment;
    out->next_row = 0;
    out->plane_bytes = 0;
    // What was read of it, before it was put, is no longer so.
    tif_spec_of(c)->in.segment = -1;
    out->waiting = true;
    return true;
}

uint8_t* tif_row_place(CFILE* c, uint32_t segment, uint32_t row) {
    const tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    bool alone = image->samples_per_pixel == 1 || (tif_bits(image) == 8 && tif_shape_of(image).planes == 1);
    bool fixed = image->compression == TIF_PLAIN && tif_is_stored(image, segment);
    if (!alone || fixed || can_stream(c, image)) return nullptr;
    if (!tif_begin_put(c, segment) || !need_rows(c, image, row + 1)) return nullptr;
    clear_rows(image, out, out->next_row, row);
    return out->rows + row * static_cast<size_t>(tif_row_bytes(image, 0));
}

bool tif_end_row(CFILE* c, uint32_t segment, uint32_t row) {
    tif_gathering* out = &tif_spec_of(c)->out;
    out->next_row = std::max(out->next_row, row + 1);
    return row + 1 != tif_rows_of(tif_image_of(c), segment) || tif_flush_segment(c);
}

bool tif_save_rows(CFILE* c, uint32_t segment, uint32_t row, const uint8_t* rows) {
    const tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    bool at_hand = tif_is_streaming(c) && out->segment == int64_t{segment};
    if (!at_hand && image->compression == TIF_PLAIN && tif_is_stored(image, segment)) {
        return tif_flush_segment(c) && replace_row(c, image, segment, row, rows);
    }
    if (!tif_begin_put(c, segment)) return false;
    if (can_stream(c, image)) return stream_row(c, row, rows);
    if (!need_rows(c, image, row + 1)) return false;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    clear_rows(image, out, out->next_row, row);
    for (int plane = 0; plane < tif_shape_of(image).planes; ++plane)
        std::memcpy(out->rows + static_cast<size_t>(plane) * out->plane_bytes + row * row_bytes,
                    rows + static_cast<size_t>(plane) * row_bytes, row_bytes);
    return tif_end_row(c, segment, row);
}

bool tif_is_streaming(const CFILE* c) {
    const tif_gathering* out = &tif_spec_of(c)->out;
    bool strip = out->waiting && can_stream(c, tif_image_of(c));
    return strip && tif_is_stored(tif_image_of(c), static_cast<uint32_t>(out->segment));
}

bool tif_flush_segment(CFILE* c) {
    tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    if (!out->waiting) return true;
    auto segment = static_cast<uint32_t>(out->segment);
    // A file under update gets the rows that were put: how many its strips have can be anything.
    uint32_t rows = c->mode == MODE_UPDATE && !tif_is_tiled(image) ? out->next_row : tif_rows_of(image, segment);
    out->waiting = false;
    if (can_stream(c, image)) return stream_zeros(c, rows);
    if (tif_is_fax(image->compression)) return tif_end_fax(c, segment, rows);
    if (!need_rows(c, image, rows)) return false;
    clear_rows(image, out, out->next_row, rows);
    return tif_save_segment(c, segment, out->rows, out->plane_bytes, rows);
}
