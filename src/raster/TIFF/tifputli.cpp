// TIFF: rows on their way into the file. Rows of a segment are gathered until it is complete, then coded and stored
// behind everything else. Plain rows of a segment that the file has already go straight to their place, and those of a
// new file's strips are streamed: each goes behind the one before it.
//
// A segment that is left unfinished is stored as well, in a new file with zeros for the rows that were not put. When a
// segment can't be stored its rows are dropped: the call that completed it tells.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/CORE/lines.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifputli";

} // namespace

// ---- rows of segments -----------------------------------------------------------------------------------------------

namespace {

// Bytes of rows that an update can pass over.
constexpr uint64_t MOST_PASSED = 1 << 26;

// Whether `bytes` at the beginning of an entry's place are its own, and in the file.
bool has_place(const CFILE* c, const tif_image* image, uint32_t entry, uint64_t bytes) {
    if (!tif_is_stored(image, entry)) return false;
    uint64_t size = image->strip_byte_counts[entry];
    int64_t end = c->base_offset + int64_t{image->strip_offsets[entry]} + static_cast<int64_t>(bytes);
    return (size == 0 || size >= bytes) && end <= tif_spec_of(c)->end;
}

// A row of each plane, which stand one behind the other.
bool replace_row(CFILE* c, const tif_image* image, uint32_t segment, uint32_t row, const uint8_t* rows) {
    return tif_replace_rows(c, segment, row, 1, rows, static_cast<size_t>(tif_row_bytes(image, 0)));
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
    if (!fits) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    // Rows that are passed over are kept as well: so many at once are no picture.
    if (c->mode == MODE_UPDATE && row * count > uint64_t{out->plane_bytes} * 2 + MOST_PASSED) {
        return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "image size");
    }
    if (out->rows != nullptr && all <= out->rows_room && out->next_row == 0) {
        out->plane_bytes = static_cast<size_t>(plane);
        return true;
    }
    auto* block = static_cast<uint8_t*>(mem_alloc(static_cast<size_t>(all)));
    if (block == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
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

bool end_row(CFILE* c, uint32_t segment, uint32_t row) {
    tif_gathering* out = &tif_spec_of(c)->out;
    out->next_row = std::max(out->next_row, row + 1);
    return row + 1 != tif_rows_of(tif_image_of(c), segment) || tif_flush_segment(c);
}

bool stream_row(CFILE* c, uint32_t row, const uint8_t* bytes) {
    const tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    auto strip = static_cast<uint32_t>(out->segment);
    if (row < out->next_row) return replace_row(c, image, strip, row, bytes);
    if (row > out->next_row && !stream_zeros(c, row)) return false;
    return stream_bytes(c, bytes, static_cast<size_t>(tif_row_bytes(image, 0))) && end_row(c, strip, row);
}

// What replaces stored data stands in new arrays, so that the old ones hold until these stand.
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

void make_differences(CFILE* c, uint8_t* rows, size_t row_bytes, uint32_t count) {
    const tif_image* image = tif_image_of(c);
    tif_shape shape = tif_shape_of(image);
    auto step = static_cast<size_t>(shape.together);
    for (uint32_t i = 0; image->predictor == 2 && i < count; ++i)
        tif_make_differences(rows + i * row_bytes, tif_bits(image), tif_is_big(c), shape.width * step, step);
}

bool lzw_rows(CFILE* c, uint8_t* rows, size_t row_bytes, uint32_t count, size_t* coded) {
    tif_gathering* out = &tif_spec_of(c)->out;
    size_t bytes = row_bytes * count;
    if (out->lzw_table == nullptr) {
        out->lzw_table = mem_new<tif_lzw_table>();
    }
    if (out->lzw_table == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (!need_coded(c, tif_lzw_bound(bytes))) return false;
    make_differences(c, rows, row_bytes, count);
    *coded = tif_lzw_encode(rows, out->coded, bytes, out->lzw_table);
    return true;
}

bool zip_rows(CFILE* c, uint8_t* rows, size_t row_bytes, uint32_t count, size_t* coded) {
    tif_gathering* out = &tif_spec_of(c)->out;
    size_t bytes = row_bytes * count;
    if (!need_coded(c, tif_zip_bound(bytes))) return false;
    make_differences(c, rows, row_bytes, count);
    bool done = tif_zip_encode(rows, bytes, out->coded, out->coded_room, coded);
    return done || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
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
    case TIF_DEFLATE:
    case TIF_OLD_DEFLATE: coded = zip_rows(c, *bytes, row_bytes, rows, count); break;
    default: return fails(c, RZL_UNSUP_TIFF, SOURCE, "tiff compression type");
    }
    *bytes = tif_spec_of(c)->out.coded;
    return coded;
}

// ---- fax data

bool take_result(CFILE* c, uint32_t result) {
    if (cit_succeeded(result)) return true;
    if (result == CIT_NO_MEMORY) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    return fails(c, RZL_WRITE_FAILED, SOURCE, "compression errors");
}

bool need_writer(CFILE* c) {
    tif_gathering* out = &tif_spec_of(c)->out;
    const tif_image* image = tif_image_of(c);
    if (out->fax != nullptr) return true;
    out->fax = cit_writer_new(tif_fax_coding(image), tif_shape_of(image).width, 4);
    return out->fax != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

// White lines up to `row`.
bool put_white(CFILE* c, uint32_t row) {
    tif_gathering* out = &tif_spec_of(c)->out;
    if (out->next_row >= row) return true;
    size_t bytes = (size_t{tif_shape_of(tif_image_of(c)).width} + 15) / 16 * 2;
    mem_guard<uint8_t> white(static_cast<uint8_t*>(mem_alloc_zeroed(bytes)));
    if (!white) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    for (; out->next_row < row; ++out->next_row)
        if (!take_result(c, cit_writer_bits(out->fax, white.get()))) return false;
    return true;
}

// A strip that failed begins anew.
void drop_writer(tif_gathering* out) {
    cit_writer_free(out->fax);
    out->fax = nullptr;
    out->waiting = false;
}

bool end_fax(CFILE* c, uint32_t segment, uint32_t rows) {
    tif_gathering* out = &tif_spec_of(c)->out;
    uint8_t* data = nullptr;
    size_t bytes = 0;
    bool ended = put_white(c, rows) && take_result(c, cit_writer_finish(out->fax, &data, &bytes));
    if (ended) {
        if (tif_image_of(c)->fill_order != 2) cit_reverse_bytes(data, bytes);
        ended = tif_store_coded(c, segment, data, bytes);
    }
    if (!ended) drop_writer(out);
    return ended;
}

} // namespace

bool tif_replace_rows(CFILE* c, uint32_t segment, uint32_t row, uint32_t count, const uint8_t* rows,
                      size_t plane_bytes) {
    const tif_image* image = tif_image_of(c);
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    uint64_t at = uint64_t{row} * row_bytes;
    size_t bytes = count * row_bytes;
    for (int plane = 0; plane < tif_shape_of(image).planes; ++plane) {
        uint32_t entry = tif_entry_of(image, segment, plane);
        if (!has_place(c, image, entry, at + bytes)) return fails(c, RZL_WRITE_FAILED, SOURCE, "strip too short");
        int64_t place = int64_t{image->strip_offsets[entry]} + static_cast<int64_t>(at);
        if (!tif_write_at(c, place, rows + static_cast<size_t>(plane) * plane_bytes, bytes)) return false;
    }
    return true;
}

bool tif_store_coded(CFILE* c, uint32_t entry, const uint8_t* bytes, size_t count) {
    tif_image* image = tif_image_of(c);
    if (!tif_need_entry(c, image, entry)) return false;
    if (image->compression == TIF_PLAIN && has_place(c, image, entry, count)) {
        return tif_write_at(c, image->strip_offsets[entry], bytes, count);
    }
    uint32_t offset = 0;
    if (count > UINT32_MAX) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!tif_append(c, bytes, count, &offset)) return false;
    note_place(image, entry, offset, static_cast<uint32_t>(count));
    return true;
}

bool tif_store_tiles(CFILE* c, uint32_t first, uint32_t count, const uint8_t* bytes, size_t tile_bytes) {
    tif_image* image = tif_image_of(c);
    uint64_t all = 0;
    if (!checked_mul(uint64_t{tile_bytes}, uint64_t{count}, &all)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
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
        if (bits != tif_bits(image)) return fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff bits/sample");
    set_flag(c, FLAG_MODULE, true);
    return true;
}

// Leaves another segment that waits, and judges this one.
static bool begin_put(CFILE* c, uint32_t segment) {
    tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    if (out->waiting && out->segment == int64_t{segment}) return true;
    if (!tif_flush_segment(c)) return false;
    if (tif_is_stored(image, segment)) return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed data");
    out->segment = segment;
    out->next_row = 0;
    out->plane_bytes = 0;
    // What was read of it, before it was put, is no longer so.
    tif_spec_of(c)->in.segment = -1;
    out->waiting = true;
    return true;
}

// The place of the row of a segment that is gathered, for a caller that makes a row of chunky data there and calls
// end_row(). Null: the row can't be made in place (status 0), or a failure.
static uint8_t* row_place(CFILE* c, uint32_t segment, uint32_t row) {
    const tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    bool alone = image->samples_per_pixel == 1 || (tif_bits(image) == 8 && tif_shape_of(image).planes == 1);
    bool fixed = image->compression == TIF_PLAIN && tif_is_stored(image, segment);
    if (!alone || fixed || can_stream(c, image)) return nullptr;
    if (!begin_put(c, segment) || !need_rows(c, image, row + 1)) return nullptr;
    clear_rows(image, out, out->next_row, row);
    return out->rows + row * static_cast<size_t>(tif_row_bytes(image, 0));
}

// Takes the rows of a line, from tif_make_rows(). Stores the segment when it is complete: the plain strips of a new
// file with one plane are streamed, each row goes into the file as it comes.
static bool save_rows(CFILE* c, uint32_t segment, uint32_t row, const uint8_t* rows) {
    const tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    bool at_hand = tif_is_streaming(c) && out->segment == int64_t{segment};
    if (!at_hand && image->compression == TIF_PLAIN && tif_is_stored(image, segment)) {
        return tif_flush_segment(c) && replace_row(c, image, segment, row, rows);
    }
    if (!begin_put(c, segment)) return false;
    if (can_stream(c, image)) return stream_row(c, row, rows);
    if (!need_rows(c, image, row + 1)) return false;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    clear_rows(image, out, out->next_row, row);
    for (int plane = 0; plane < tif_shape_of(image).planes; ++plane)
        std::memcpy(out->rows + static_cast<size_t>(plane) * out->plane_bytes + row * row_bytes,
                    rows + static_cast<size_t>(plane) * row_bytes, row_bytes);
    return end_row(c, segment, row);
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
    if (tif_is_fax(image->compression)) return end_fax(c, segment, rows);
    if (!need_rows(c, image, rows)) return false;
    clear_rows(image, out, out->next_row, rows);
    return tif_save_segment(c, segment, out->rows, out->plane_bytes, rows);
}

void tif_cut_segment(CFILE* c, uint32_t height) {
    const tif_image* image = tif_image_of(c);
    tif_gathering* out = &tif_spec_of(c)->out;
    if (!out->waiting || tif_is_tiled(image)) return;
    uint64_t first = static_cast<uint64_t>(out->segment) * image->rows_per_strip;
    auto rows = static_cast<uint32_t>(first < height ? std::min<uint64_t>(height - first, image->rows_per_strip) : 0);
    // A strip that is streamed has its rows in the file already.
    if (rows == 0 || (can_stream(c, image) && out->next_row >= rows)) {
        out->waiting = false;
        cit_writer_free(out->fax);
        out->fax = nullptr;
    } else if (out->fax == nullptr) {
        out->next_row = std::min(out->next_row, rows);
    }
}

// ---- fax lines ------------------------------------------------------------------------------------------------------

bool tif_save_fax_line(CFILE* c, uint32_t segment, uint32_t row, const uint8_t* bits, const uint16_t* runs,
                       size_t count) {
    tif_gathering* out = &tif_spec_of(c)->out;
    if (!begin_put(c, segment)) return false;
    if (row < out->next_row) return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed data");
    if (!need_writer(c) || !put_white(c, row)) {
        drop_writer(out);
        return false;
    }
    uint32_t result = bits != nullptr ? cit_writer_bits(out->fax, bits) : cit_writer_runs(out->fax, runs, count);
    if (!take_result(c, result)) {
        // Nothing was coded of a line whose runs are no line.
        if (result != CIT_BAD_DATA) drop_writer(out);
        return false;
    }
    out->next_row = row + 1;
    return row + 1 != tif_rows_of(tif_image_of(c), segment) || tif_flush_segment(c);
}

// ---- lines ----------------------------------------------------------------------------------------------------------

namespace {

bool is_narrowed(const CFILE* c, const tif_image* image) {
    return (image->flags & TIF_HAS_MAP) == 0 && !has_flag(c, FLAG_RAW_SAMPLES);
}

void make_band_row(const CFILE* c, const tif_image* image, uint32_t width, const uint8_t* line, uint8_t* row) {
    int bits = tif_bits(image);
    bool big = tif_is_big(c);
    if (bits == 1) {
        words_to_bits(line, width, 0, row);
    } else if (bits < 8) {
        pack_bytes(line, bits, big, width, is_narrowed(c, image), row);
    } else {
        pack_samples(line, bits, big, width, row);
    }
}

// Bytes of a colour, plane by plane, into pixels. A plane that is not given is zero.
void join_planes(int channels, write_planes planes, size_t count, size_t samples, uint8_t* pixels) {
    size_t given = std::min(static_cast<size_t>(channels), samples);
    if (given < samples || std::count(planes, planes + given, nullptr) != 0) std::memset(pixels, 0, count * samples);
    join_pixels(pixels, count, samples, planes, given);
}

void close_pixels(const uint8_t* from, size_t count, size_t step, size_t samples, uint8_t* pixels) {
    if (step == samples) {
        std::memcpy(pixels, from, count * samples);
        return;
    }
    for (size_t i = 0; i < count; ++i)
        std::memcpy(pixels + i * samples, from + i * step, samples);
}

// The tests at the head of a put. False with the status set.
bool can_put(CFILE* c) {
    if (!is_writable(c)) return fails(c, RZL_NEEDS_WRITE, SOURCE, "tif_putline");
    if (!tif_need_header(c)) return false;
    if (c->line < 0 || c->line >= c->ysize) return fails(c, RZL_PAST_END, SOURCE, "tif_putline");
    return tif_samples_can_be_put(c);
}

// Lines of coded tiles that the file has already.
bool tiles_are_fixed(const CFILE* c) {
    const tif_image* image = tif_image_of(c);
    if (image->compression == TIF_PLAIN || image->tile_length == 0) return false;
    return tif_is_stored(image, static_cast<uint32_t>(c->line) / image->tile_length * image->tiles_across);
}

// Whether the file has the strip, or the tiles, of the line, and is not about to get its rows one by one.
bool stands(const CFILE* c) {
    const tif_image* image = tif_image_of(c);
    const bool tiled = tif_is_tiled(image);
    const uint32_t height = tiled ? image->tile_length : image->rows_per_strip;
    if (height == 0) return false;
    const uint32_t segment = static_cast<uint32_t>(c->line) / height * (tiled ? image->tiles_across : 1);
    const bool fresh = !tiled && tif_is_streaming(c) && tif_spec_of(c)->out.segment == int64_t{segment};
    return !fresh && tif_is_stored(image, tif_entry_of(image, segment, 0));
}

// Null: none is.
const uint8_t* first_given(int channels, write_planes planes) {
    for (int i = 0; planes != nullptr && i < channels; ++i)
        if (planes[i] != nullptr) return planes[i];
    return nullptr;
}

// A line into its strip: planes, or interleaved with `step` bytes a pixel.
int put_strip_line(CFILE* c, int channels, write_planes planes, size_t step) {
    const tif_image* image = tif_image_of(c);
    auto line = static_cast<uint32_t>(c->line);
    uint32_t strip = line / image->rows_per_strip;
    uint32_t row = line % image->rows_per_strip;
    const uint8_t* given = first_given(channels, planes);
    if (given == nullptr) {
        fail(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "tif_putline");
        return 0;
    }
    if (tif_is_fax(image->compression)) {
        return tif_save_fax_line(c, strip, row, given, nullptr, 0) ? c->xsize : 0;
    }
    if (tif_is_plain_row(image, step)) return save_rows(c, strip, row, given) ? c->xsize : 0;
    uint8_t* place = row_place(c, strip, row);
    if (place != nullptr) {
        tif_make_rows(c, image, image->image_width, channels, planes, step, place);
        return end_row(c, strip, row) ? c->xsize : 0;
    }
    if (c->status != 0) return 0;
    tif_gathering* out = &tif_spec_of(c)->out;
    uint64_t bytes = tif_row_bytes(image, 0) * static_cast<uint64_t>(tif_shape_of(image).planes);
    // Behind the rows a line of bytes has room on its way to them.
    bytes += uint64_t{image->image_width} * image->samples_per_pixel;
    if (!tif_need_room(c, &out->row, &out->row_room, bytes)) return 0;
    tif_make_rows(c, image, image->image_width, channels, planes, step, out->row);
    return save_rows(c, strip, row, out->row) ? c->xsize : 0;
}

// All planes of a line, those that the caller gives and those that the file has of it.
struct whole_line {
    mem_guard<uint8_t> block{nullptr}; // the pixels that the file has, and behind them its planes that are kept
    const uint8_t* planes[TIF_MAX_SAMPLES] = {};
};

// Whether planes of a colour are not given, of a line that the file has already. (Lines that are coded are not put a
// second time, and what is not given of new ones is zero.)
bool keeps_planes(const CFILE* c, int channels, write_planes planes) {
    const tif_image* image = tif_image_of(c);
    int samples = image->samples_per_pixel;
    bool colour = samples >= 3 && samples <= TIF_MAX_SAMPLES && image->compression == TIF_PLAIN;
    if (c->mode != MODE_UPDATE || !colour || first_given(channels, planes) == nullptr) return false;
    return channels < samples || std::count(planes, planes + samples, nullptr) != 0;
}

// The row of a strip, or of the tiles from `segment` on, into the kept planes of a line.
bool read_kept(CFILE* c, uint32_t segment, uint32_t count, uint32_t row, uint8_t* pixels, uint8_t* const* kept) {
    const tif_image* image = tif_image_of(c);
    size_t samples = image->samples_per_pixel;
    size_t width = tif_shape_of(image).width;
    for (uint32_t i = 0; i < count; ++i) {
        if (!tif_colour_pixels(c, segment + i, row, pixels, samples)) return false;
        for (size_t s = 0; s < samples; ++s) {
            uint8_t* to = kept[s] != nullptr ? kept[s] + i * width : nullptr;
            split_pixels(pixels + s, width, samples, &to, 1);
        }
    }
    return true;
}

// Completes the planes of a line that is put over one of the file. False with the status.
bool keep_planes(CFILE* c, int channels, write_planes planes, whole_line* line) {
    const tif_image* image = tif_image_of(c);
    const bool tiled = tif_is_tiled(image);
    const auto y = static_cast<uint32_t>(c->line);
    const uint32_t height = tiled ? image->tile_length : image->rows_per_strip;
    const uint32_t count = tiled ? image->tiles_across : 1;
    const uint32_t segment = y / height * count;
    const size_t samples = image->samples_per_pixel;
    const size_t width = tif_shape_of(image).width;
    if (tif_bits(image) > 8) return fails(c, RZL_UNSUP_TIFF, SOURCE, "planes that are not given");
    size_t bytes = 0; // of a plane, and pixels of a segment
    bool fits = checked_mul(width, size_t{count} + 1, &bytes) && checked_mul(bytes, samples, &bytes);
    line->block.block = fits ? static_cast<uint8_t*>(mem_alloc(std::max<size_t>(bytes, 1))) : nullptr;
    if (!line->block) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    uint8_t* kept[TIF_MAX_SAMPLES] = {};
    for (size_t s = 0; s < samples; ++s) {
        const bool given = static_cast<int>(s) < channels && planes[s] != nullptr;
        if (!given) kept[s] = line->block.get() + width * samples + s * width * count;
        line->planes[s] = given ? planes[s] : kept[s];
    }
    return read_kept(c, segment, count, y % height, line->block.get(), kept);
}

int put_tiled_line(CFILE* c, int channels, write_planes buffers) {
    if (!tiles_are_fixed(c)) return tif_putline_to_tiles(c, channels, buffers);
    fail(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed data");
    return 0;
}

} // namespace

bool tif_is_plain_row(const tif_image* image, size_t step) {
    bool bytes = image->compression == TIF_PLAIN && tif_bits(image) == 8;
    return bytes && tif_shape_of(image).planes == 1 && image->samples_per_pixel == std::max<size_t>(step, 1);
}

void tif_make_rows(const CFILE* c, const tif_image* image, uint32_t width, int channels, write_planes planes,
                   size_t step, uint8_t* rows) {
    size_t samples = image->samples_per_pixel;
    if (samples == 1) return make_band_row(c, image, width, first_given(channels, planes), rows);
    tif_shape shape = tif_shape_of(image);
    int bits = tif_bits(image);
    bool big = tif_is_big(c);
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    uint8_t* line = bits == 8 ? rows : rows + row_bytes * static_cast<size_t>(shape.planes);
    bool narrowed = !has_flag(c, FLAG_RAW_SAMPLES);
    if (shape.planes == 1) {
        step != 0 ? close_pixels(planes[0], width, step, samples, line)
                  : join_planes(channels, planes, width, samples, line);
        if (bits != 8) pack_bytes(line, bits, big, width * samples, narrowed, rows);
        return;
    }
    for (size_t s = 0; s < samples; ++s) {
        const uint8_t* plane = step != 0 ? nullptr : static_cast<int>(s) < channels ? planes[s] : nullptr;
        uint8_t* to = bits == 8 ? rows + s * row_bytes : line;
        if (step != 0) {
            split_pixels(planes[0] + s, width, step, &to, 1);
        } else if (plane != nullptr) {
            std::memcpy(to, plane, width);
        } else {
            std::memset(to, 0, width);
        }
        if (bits != 8) pack_bytes(to, bits, big, width, narrowed, rows + s * row_bytes);
    }
}

// Through the public call, which notes where the pixels of a file in memory begin.
bool tif_need_header(CFILE* c) {
    bool due = !has_flag(c, FLAG_HEADER_EXISTS) || tif_image_of(c)->strip_offsets == nullptr;
    return !due || rzl_write_header(c) == 0;
}

int tif_put_line(CFILE* c, int channels, write_planes buffers) {
    return put_strip_line(c, channels, buffers, 0);
}

int tif_putline(CFILE* c, int channels, write_planes buffers) {
    if (!can_put(c)) return 0;
    whole_line line;
    if (keeps_planes(c, channels, buffers) && stands(c)) {
        // Lines that wait for the rest of their tiles may be of this one.
        if (!tif_settle_lines(c) || !keep_planes(c, channels, buffers, &line)) return 0;
        channels = tif_image_of(c)->samples_per_pixel;
        buffers = line.planes;
    }
    return has_flag(c, FLAG_TILED) ? put_tiled_line(c, channels, buffers) : c->slots.Put_line(c, channels, buffers);
}

int tif_put_interleaved_line(CFILE* c, const uint8_t* buffer) {
    if (tif_image_of(c)->samples_per_pixel < 3) return rzl_putinlv_default(c, buffer);
    if (!can_put(c)) return 0;
    if (!has_flag(c, FLAG_TILED)) return put_strip_line(c, 1, &buffer, static_cast<size_t>(interleave_step(c)));
    return put_tiled_line(c, 1, &buffer);
}
