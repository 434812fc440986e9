// TIFF: rows of strips and tiles. A segment of LZW or deflate data, and a small one of PackBits data, is decoded whole,
// once, and kept until another one is wanted; other rows of plain and PackBits data are read one by one; lines of fax
// data come from a reader that keeps a line or two.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/CORE/lines.h"
#include "raster/CORE/tilesetup.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifgetli";

} // namespace

// ---- rows of segments -----------------------------------------------------------------------------------------------

namespace {

// Bytes that the code of so many bytes can have, with room for codes that stand for nothing. What an entry claims
// beyond is not looked at, so that the tiles of a small file can't all claim the whole of it.
uint64_t most_coded(const tif_image* image, uint64_t plain) {
    if (image->compression == TIF_PLAIN) return plain;
    return plain * (tif_is_fax(image->compression) ? 16 : 2) + 4096;
}

// Bytes of an entry that the file has. A size of 0 stands for that of the data without coding.
uint64_t coded_bytes(CFILE* c, const tif_image* image, uint32_t entry, uint64_t plain) {
    if (!tif_is_stored(image, entry)) return 0;
    int64_t left = io_size(c) - c->base_offset - image->strip_offsets[entry];
    uint64_t bytes = image->strip_byte_counts[entry] != 0 ? image->strip_byte_counts[entry] : plain;
    return std::min({bytes, most_coded(image, plain), static_cast<uint64_t>(std::max<int64_t>(left, 0))});
}

bool read_stored(CFILE* c, const tif_image* image, uint32_t entry, uint8_t* out, size_t bytes) {
    if (bytes != 0 && tif_read_at(c, image->strip_offsets[entry], out, bytes)) return true;
    return fails(c, RZL_READ_FAILED, SOURCE, "reading strip");
}

bool read_coded(CFILE* c, const tif_image* image, uint32_t entry, size_t bytes) {
    tif_reading* in = &tif_spec_of(c)->in;
    return tif_need_room(c, &in->coded, &in->coded_room, bytes) && read_stored(c, image, entry, in->coded, bytes);
}

// Bytes of the file that lie in those at hand are used where they are; null when they don't.
const uint8_t* bytes_in_window(CFILE* c, int64_t place, size_t bytes) {
    const uint8_t* next = nullptr;
    const uint8_t* end = nullptr;
    tif_spec_of(c)->at_end = false;
    if (!io_seek(c, place)) return nullptr;
    io_window(c, &next, &end);
    return static_cast<size_t>(end - next) >= bytes ? next : nullptr;
}

// The code of an entry, valid until the next call that reads. Null with the status set.
const uint8_t* code_of(CFILE* c, const tif_image* image, uint32_t entry, size_t bytes) {
    if (bytes != 0) {
        const uint8_t* there = bytes_in_window(c, c->base_offset + image->strip_offsets[entry], bytes);
        if (there != nullptr) return there;
    }
    return read_coded(c, image, entry, bytes) ? tif_spec_of(c)->in.coded : nullptr;
}

// ---- segments that are decoded whole

// Short PackBits rows of a small segment are unpacked together, and those of a plain tile read together: finding each
// would take longer than moving it.
constexpr uint64_t SHORT_ROW = 512;
constexpr uint64_t SMALL_SEGMENT = 1 << 18;

bool is_decoded_whole(const tif_image* image, uint32_t segment) {
    if (tif_is_whole(image->compression)) return true;
    uint64_t row = tif_row_bytes(image, 0);
    bool kind = image->compression == TIF_PACKBITS || (image->compression == TIF_PLAIN && tif_is_tiled(image));
    return kind && row <= SHORT_ROW && row * tif_rows_of(image, segment) <= SMALL_SEGMENT;
}

// Room for the planes of a segment: as much as it has, or as its code could fill.
bool need_decoded(CFILE* c, const tif_image* image, uint32_t segment) {
    tif_reading* in = &tif_spec_of(c)->in;
    tif_shape shape = tif_shape_of(image);
    uint64_t full = 0;
    uint64_t coded = 0;
    for (int plane = 0; plane < shape.planes; ++plane) {
        uint64_t bytes = tif_rows_of(image, segment) * tif_row_bytes(image, plane);
        full = std::max(full, bytes);
        coded = std::max(coded, coded_bytes(c, image, tif_entry_of(image, segment, plane), bytes));
    }
    in->plane_bytes = static_cast<size_t>(std::min(full, coded * tif_expansion(image->compression)) + TIF_LZW_SLACK);
    uint64_t all = 0;
    if (!checked_mul(uint64_t{in->plane_bytes}, static_cast<uint64_t>(shape.planes), &all)) {
        return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    }
    return tif_need_room(c, &in->decoded, &in->decoded_room, all);
}

// Each line was packed by itself: a run ends with its line. Lines of one value, of which most of a page consists, are
// told by their first byte.
size_t unpack_rows(const uint8_t* coded, size_t bytes, uint8_t* out, size_t row_bytes, size_t room) {
    constexpr size_t LONGEST_RUN = 128;
    bool can_be_run = row_bytes >= 2 && row_bytes <= LONGEST_RUN;
    auto run = static_cast<uint8_t>(1 - row_bytes);
    size_t filled = 0;
    while (filled + row_bytes <= room && bytes > 0) {
        size_t in_row = row_bytes;
        size_t used = 2;
        if (can_be_run && bytes >= 2 && coded[0] == run) {
            std::memset(out + filled, coded[1], row_bytes);
        } else {
            used = tif_packbits_unpack(coded, bytes, out + filled, row_bytes, room - filled, &in_row);
        }
        coded += used;
        bytes -= used;
        filled += in_row;
        if (in_row < row_bytes) break;
    }
    return filled;
}

void undo_predictor(CFILE* c, const tif_image* image, int plane, uint8_t* rows, size_t filled) {
    tif_shape shape = tif_shape_of(image);
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, plane));
    auto step = static_cast<size_t>(shape.together);
    for (size_t at = 0; at + row_bytes <= filled; at += row_bytes)
        tif_undo_differences(rows + at, image->bits_per_sample[plane], tif_is_big(c), shape.width * step, step);
}

bool decode_plane(CFILE* c, const tif_image* image, uint32_t segment, int plane) {
    tif_reading* in = &tif_spec_of(c)->in;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, plane));
    size_t full = tif_rows_of(image, segment) * row_bytes;
    uint32_t entry = tif_entry_of(image, segment, plane);
    auto bytes = static_cast<size_t>(coded_bytes(c, image, entry, full));
    size_t room = std::min(full, in->plane_bytes - TIF_LZW_SLACK);
    uint8_t* out = in->decoded + static_cast<size_t>(plane) * in->plane_bytes;
    if (image->compression == TIF_PLAIN) {
        in->plane_filled[plane] = std::min(room, bytes);
        in->planes_decoded |= 1u << plane;
        return read_stored(c, image, entry, out, in->plane_filled[plane]);
    }
    const uint8_t* code = code_of(c, image, entry, bytes);
    if (code == nullptr) return false;
    bool sound = true;
    size_t filled = 0;
    if (image->compression == TIF_LZW) {
        filled = tif_lzw_decode(code, bytes, out, room, &sound);
    } else if (!tif_is_deflate(image->compression)) {
        filled = unpack_rows(code, bytes, out, row_bytes, room);
    } else if (!tif_zip_decode(code, bytes, out, room, &filled)) {
        return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    }
    if (filled < full) set_flag(c, FLAG_DAMAGED, true);
    if (tif_is_whole(image->compression) && image->predictor == 2) undo_predictor(c, image, plane, out, filled);
    in->plane_filled[plane] = filled;
    in->planes_decoded |= 1u << plane;
    return true;
}

// Makes `segment` the one at hand, with nothing decoded of it.
bool take_segment(CFILE* c, const tif_image* image, uint32_t segment) {
    tif_reading* in = &tif_spec_of(c)->in;
    if (in->segment == int64_t{segment}) return true;
    in->segment = -1;
    in->planes_decoded = 0;
    cit_reader_free(in->fax);
    in->fax = nullptr;
    for (packed_rows& rows : in->packed)
        rows.known = 0;
    if (is_decoded_whole(image, segment) && !need_decoded(c, image, segment)) return false;
    in->segment = segment;
    return true;
}

const uint8_t* decoded_row(CFILE* c, const tif_image* image, uint32_t segment, uint32_t row, int plane) {
    tif_reading* in = &tif_spec_of(c)->in;
    if (!take_segment(c, image, segment)) return nullptr;
    bool there = (in->planes_decoded >> plane & 1) != 0;
    if (!there && !decode_plane(c, image, segment, plane)) return nullptr;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, plane));
    size_t at = row * row_bytes;
    if (at + row_bytes > in->plane_filled[plane]) {
        fails(c, RZL_READ_FAILED, SOURCE, "reading strip");
        return nullptr;
    }
    return in->decoded + static_cast<size_t>(plane) * in->plane_bytes + at;
}

// ---- plain data, and PackBits

const uint8_t* plain_row(CFILE* c, const tif_image* image, uint32_t entry, uint32_t row, size_t bytes, uint8_t* into) {
    uint64_t at = uint64_t{row} * bytes;
    uint32_t size = entry < image->strip_count ? image->strip_byte_counts[entry] : 0;
    if (!tif_is_stored(image, entry) || (size != 0 && at + bytes > size)) {
        fails(c, RZL_READ_FAILED, SOURCE, "reading strip");
        return nullptr;
    }
    int64_t offset = int64_t{image->strip_offsets[entry]} + static_cast<int64_t>(at);
    tif_reading* in = &tif_spec_of(c)->in;
    if (into == nullptr) {
        const uint8_t* there = bytes_in_window(c, c->base_offset + offset, bytes);
        if (there != nullptr) return there;
        if (!tif_need_room(c, &in->row, &in->row_room, bytes)) return nullptr;
        into = in->row;
    }
    if (tif_read_at(c, offset, into, bytes)) return into;
    fails(c, RZL_READ_FAILED, SOURCE, nullptr);
    return nullptr;
}

// The first rows of a plain segment, as many as the file has whole. Rows that lie in the bytes at hand are moved from
// there, one behind the other.
uint32_t move_plain_rows(CFILE* c, const tif_image* image, uint32_t segment, uint32_t rows, uint8_t* to, size_t pitch) {
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    auto bytes = static_cast<size_t>(coded_bytes(c, image, segment, uint64_t{rows} * row_bytes));
    rows = static_cast<uint32_t>(std::min<size_t>(rows, bytes / row_bytes));
    tif_spec_of(c)->at_end = false;
    if (rows == 0 || !io_seek(c, c->base_offset + image->strip_offsets[segment])) return 0;
    if (pitch == row_bytes) return static_cast<uint32_t>(io_read(c, to, rows * row_bytes) / row_bytes);
    for (uint32_t row = 0; row < rows; ++row) {
        const uint8_t* next = nullptr;
        const uint8_t* end = nullptr;
        io_window(c, &next, &end);
        for (; row < rows && static_cast<size_t>(end - next) >= row_bytes; ++row, next += row_bytes) {
            std::memcpy(to + row * pitch, next, row_bytes);
            io_consume(c, row_bytes);
        }
        // One that goes on beyond them.
        if (row < rows && io_read(c, to + row * pitch, row_bytes) != row_bytes) return row;
    }
    return rows;
}

// The rows of a small PackBits segment, which stand behind each other in `to`, as many as its code has.
uint32_t unpack_segment(CFILE* c, const tif_image* image, uint32_t segment, uint32_t rows, uint8_t* to) {
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    auto bytes = static_cast<size_t>(coded_bytes(c, image, segment, uint64_t{tif_rows_of(image, segment)} * row_bytes));
    const uint8_t* code = code_of(c, image, segment, bytes);
    if (code == nullptr) return 0;
    size_t filled = unpack_rows(code, bytes, to, row_bytes, rows * row_bytes);
    return static_cast<uint32_t>(filled / row_bytes);
}

// Code from `place` on, `left` bytes of it at most, into a row. Code that lies in the bytes at hand is used where it
// is; otherwise as much is read as a row can take, and more if it is not enough. *used is what the row took.
bool unpack_from(CFILE* c, int64_t place, uint64_t left, uint8_t* row, size_t row_bytes, size_t* used) {
    tif_reading* in = &tif_spec_of(c)->in;
    const uint8_t* code = bytes_in_window(c, c->base_offset + place, 1);
    const uint8_t* next = nullptr;
    const uint8_t* end = nullptr;
    size_t filled = 0;
    if (code != nullptr) {
        io_window(c, &next, &end);
        auto bytes = static_cast<size_t>(std::min(static_cast<uint64_t>(end - next), left));
        *used = tif_packbits_unpack(next, bytes, row, row_bytes, row_bytes, &filled);
        if (filled == row_bytes || bytes == left) return filled == row_bytes;
    }
    for (uint64_t wanted = uint64_t{row_bytes} * 2 + 64;; wanted *= 2) {
        auto bytes = static_cast<size_t>(std::min(wanted, left));
        if (!tif_need_room(c, &in->coded, &in->coded_room, bytes)) return false;
        if (!tif_read_at(c, place, in->coded, bytes)) return false;
        *used = tif_packbits_unpack(in->coded, bytes, row, row_bytes, row_bytes, &filled);
        if (filled == row_bytes || bytes == left) return filled == row_bytes;
    }
}

bool note_start(CFILE* c, packed_rows* rows, uint32_t start) {
    if (rows->known == rows->room) {
        uint32_t room = rows->room < 64 ? 64 : rows->room * 2;
        auto* grown = static_cast<uint32_t*>(mem_realloc(rows->starts, size_t{room} * sizeof(uint32_t)));
        if (grown == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
        rows->starts = grown;
        rows->room = room;
    }
    rows->starts[rows->known++] = start;
    return true;
}

// Rows in front of the one that is wanted are unpacked once, to find where it begins.
const uint8_t* packed_row(CFILE* c, const tif_image* image, uint32_t segment, uint32_t row, int plane, uint8_t* into) {
    tif_reading* in = &tif_spec_of(c)->in;
    if (!take_segment(c, image, segment)) return nullptr;
    packed_rows* rows = &in->packed[plane];
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, plane));
    uint32_t entry = tif_entry_of(image, segment, plane);
    if (into == nullptr) {
        if (!tif_need_room(c, &in->row, &in->row_room, row_bytes)) return nullptr;
        into = in->row;
    }
    if (rows->known == 0) {
        rows->bytes = coded_bytes(c, image, entry, uint64_t{tif_rows_of(image, segment)} * row_bytes);
        if (!note_start(c, rows, 0)) return nullptr;
    }
    for (uint32_t at = std::min(row, rows->known - 1); at <= row; ++at) {
        uint32_t start = rows->starts[at];
        size_t used = 0;
        bool whole = start < rows->bytes && unpack_from(c, int64_t{image->strip_offsets[entry]} + start,
                                                        rows->bytes - start, into, row_bytes, &used);
        if (!whole) {
            set_flag(c, FLAG_DAMAGED, true);
            if (c->status == 0) fails(c, RZL_READ_FAILED, SOURCE, "reading strip");
            return nullptr;
        }
        if (at + 1 == rows->known && !note_start(c, rows, start + static_cast<uint32_t>(used))) return nullptr;
    }
    return into;
}

// A row of a segment that is not stored.
const uint8_t* zero_row(CFILE* c, size_t bytes, uint8_t* into) {
    tif_reading* in = &tif_spec_of(c)->in;
    if (into == nullptr && !tif_need_room(c, &in->row, &in->row_room, bytes)) return nullptr;
    if (into == nullptr) into = in->row;
    std::memset(into, 0, bytes);
    return into;
}

// A row that waits to be stored.
const uint8_t* waiting_row(const CFILE* c, uint32_t segment, uint32_t row, int plane, size_t row_bytes) {
    const tif_gathering* out = &tif_spec_of(c)->out;
    bool waits = out->waiting && !tif_is_streaming(c) && out->segment == int64_t{segment};
    if (!waits || row >= out->next_row) return nullptr;
    return out->rows + static_cast<size_t>(plane) * out->plane_bytes + row * row_bytes;
}

// ---- fax data

bool open_fax(CFILE* c, const tif_image* image, uint32_t segment) {
    tif_reading* in = &tif_spec_of(c)->in;
    if (in->segment == int64_t{segment} && in->fax != nullptr) return true;
    if (image->image_width == 0) return fails(c, RZL_READ_FAILED, SOURCE, "image size");
    if (!take_segment(c, image, segment)) return false;
    tif_shape shape = tif_shape_of(image);
    uint32_t rows = tif_rows_of(image, segment);
    in->segment = -1;
    auto bytes = static_cast<size_t>(coded_bytes(c, image, segment, rows * tif_row_bytes(image, 0)));
    if (!read_coded(c, image, segment, bytes)) return false;
    if (image->fill_order != 2) cit_reverse_bytes(in->coded, bytes);
    in->fax = cit_reader_new(tif_fax_coding(image), shape.width, rows, in->coded, bytes, 0);
    if (in->fax == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    in->segment = segment;
    return true;
}

// Damaged lines are white where nothing could be decoded; that is reported once an image.
void tell_damage(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    set_flag(c, FLAG_DAMAGED, true);
    if (!spec->told && debug_level() != 0) rzl_report(RZL_READ_FAILED, SOURCE, __LINE__, "Bad Return from cit");
    spec->told = true;
}

} // namespace

tif_shape tif_shape_of(const tif_image* image) {
    bool planes = image->planar_config == 2 && image->samples_per_pixel > 1;
    bool tiled = tif_is_tiled(image);
    tif_shape shape = {};
    shape.planes = planes ? image->samples_per_pixel : 1;
    shape.together = planes ? 1 : image->samples_per_pixel;
    shape.width = tiled ? image->tile_width : image->image_width;
    shape.rows = tiled ? image->tile_length : image->rows_per_strip;
    return shape;
}

void tif_count_tiles(tif_image* image) {
    auto over = [](uint32_t size, uint32_t tile) { return static_cast<uint32_t>((uint64_t{size} + tile - 1) / tile); };
    image->tiles_across = over(image->image_width, image->tile_width);
    image->tiles_down = over(image->image_length, image->tile_length);
}

uint32_t tif_segments(const tif_image* image) {
    if (tif_is_tiled(image)) return image->tiles_across * image->tiles_down;
    return static_cast<uint32_t>((uint64_t{image->image_length} + image->rows_per_strip - 1) / image->rows_per_strip);
}

uint32_t tif_entry_of(const tif_image* image, uint32_t segment, int plane) {
    return plane == 0 ? segment : segment + static_cast<uint32_t>(plane) * tif_segments(image);
}

uint32_t tif_rows_of(const tif_image* image, uint32_t segment) {
    if (tif_is_tiled(image)) return image->tile_length;
    uint64_t first = uint64_t{segment} * image->rows_per_strip;
    uint64_t left = first < image->image_length ? image->image_length - first : 0;
    return static_cast<uint32_t>(std::min<uint64_t>(image->rows_per_strip, left));
}

uint64_t tif_row_bytes(const tif_image* image, int plane) {
    tif_shape shape = tif_shape_of(image);
    uint64_t samples = uint64_t{shape.width} * static_cast<uint64_t>(shape.together);
    return (samples * image->bits_per_sample[plane] + 7) / 8;
}

bool tif_is_sparse(const tif_image* image, uint32_t segment, int plane) {
    uint32_t entry = tif_entry_of(image, segment, plane);
    bool stored =
        entry >= image->strip_count || image->strip_offsets[entry] != 0 || image->strip_byte_counts[entry] != 0;
    return !stored && tif_row_bytes(image, plane) * tif_rows_of(image, segment) <= TIF_MOST_SPARSE;
}

cit_coding tif_fax_coding(const tif_image* image) {
    if (image->compression == TIF_FAX_1D) return cit_coding::aligned;
    if (image->compression == TIF_FAX_G4) return cit_coding::g4;
    return (image->fax_options & 1) != 0 ? cit_coding::g3_2d : cit_coding::g3_1d;
}

bool tif_need_room(CFILE* c, uint8_t** block, size_t* room, uint64_t bytes) {
    if (*block != nullptr && *room >= bytes) return true;
    mem_free(*block);
    *block = bytes <= PTRDIFF_MAX ? static_cast<uint8_t*>(mem_alloc(static_cast<size_t>(bytes))) : nullptr;
    *room = *block != nullptr ? static_cast<size_t>(bytes) : 0;
    return *block != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

// The row of a segment of the active image, valid until the next call that reads. A plain row is read into `into` when
// that is not null and stays there. Null with the status set.
static const uint8_t* fetch_row(CFILE* c, uint32_t segment, uint32_t row, int plane, uint8_t* into) {
    const tif_image* image = tif_image_of(c);
    auto bytes = static_cast<size_t>(tif_row_bytes(image, plane));
    if (bytes == 0) {
        // An image without pixels has no rows.
        fails(c, RZL_READ_FAILED, SOURCE, "image size");
        return nullptr;
    }
    const uint8_t* found = waiting_row(c, segment, row, plane, bytes);
    if (found == nullptr && tif_is_sparse(image, segment, plane)) {
        found = zero_row(c, bytes, into);
    } else if (found == nullptr) {
        if (is_decoded_whole(image, segment)) {
            found = decoded_row(c, image, segment, row, plane);
        } else if (image->compression == TIF_PLAIN) {
            found = plain_row(c, image, tif_entry_of(image, segment, plane), row, bytes, into);
        } else {
            found = packed_row(c, image, segment, row, plane, into);
        }
    }
    if (found == nullptr || into == nullptr || found == into) return found;
    std::memcpy(into, found, bytes);
    return into;
}

uint32_t tif_move_rows(CFILE* c, uint32_t segment, uint32_t rows, uint8_t* to, size_t pitch) {
    const tif_image* image = tif_image_of(c);
    if (tif_row_bytes(image, 0) == 0 || tif_spec_of(c)->out.waiting || tif_is_sparse(image, segment, 0)) return 0;
    if (image->compression == TIF_PLAIN) return move_plain_rows(c, image, segment, rows, to, pitch);
    bool unpacked = image->compression == TIF_PACKBITS && pitch == tif_row_bytes(image, 0) &&
                    is_decoded_whole(image, segment) && tif_spec_of(c)->in.segment != int64_t{segment};
    return unpacked ? unpack_segment(c, image, segment, rows, to) : 0;
}

const uint8_t* tif_fetch_block(CFILE* c, uint32_t segment, size_t* bytes) {
    const tif_image* image = tif_image_of(c);
    tif_reading* in = &tif_spec_of(c)->in;
    if (tif_is_fax(image->compression) || !is_decoded_whole(image, segment) || tif_spec_of(c)->out.waiting ||
        tif_is_sparse(image, segment, 0))
        return nullptr;
    if (!take_segment(c, image, segment)) return nullptr;
    if ((in->planes_decoded & 1) == 0 && !decode_plane(c, image, segment, 0)) return nullptr;
    *bytes = in->plane_filled[0];
    return in->decoded;
}

bool tif_fetch_bits(CFILE* c, uint32_t segment, uint32_t row, uint8_t* words) {
    const tif_image* image = tif_image_of(c);
    if (!tif_is_fax(image->compression)) {
        const uint8_t* bytes = fetch_row(c, segment, row, 0, nullptr);
        if (bytes != nullptr) bits_to_words(bytes, tif_shape_of(image).width, 0, words);
        return bytes != nullptr;
    }
    const tif_gathering* out = &tif_spec_of(c)->out;
    bool waits = out->waiting && out->segment == int64_t{segment};
    if (!waits && tif_is_sparse(image, segment, 0)) {
        std::memset(words, 0, (size_t{tif_shape_of(image).width} + 15) / 16 * 2);
        return true;
    }
    if (!open_fax(c, image, segment)) return false;
    uint32_t result = cit_reader_bits(tif_spec_of(c)->in.fax, row, words);
    if (result == CIT_NO_MEMORY) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (!cit_succeeded(result)) tell_damage(c);
    return true;
}

uint32_t tif_fetch_runs(CFILE* c, uint32_t segment, uint32_t row, uint16_t* runs, size_t room, size_t* count) {
    if (!open_fax(c, tif_image_of(c), segment)) return CIT_NO_MEMORY; // with the status set
    uint32_t result = cit_reader_runs(tif_spec_of(c)->in.fax, row, runs, room, count);
    if (result == CIT_NO_MEMORY) fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (result != CIT_BAD_DATA) return result;
    tell_damage(c);
    return CIT_OK;
}

// ---- lines of three or four samples ---------------------------------------------------------------------------------

namespace {

bool widens(const CFILE* c) {
    return !has_flag(c, FLAG_RAW_SAMPLES);
}

// A row of a plane as bytes, `samples` of them. A row of 8-bit samples is given where it is. Null: no row.
const uint8_t* byte_row(CFILE* c, uint32_t segment, uint32_t row, int plane, size_t samples, uint8_t* into) {
    const tif_image* image = tif_image_of(c);
    int bits = image->bits_per_sample[plane];
    const uint8_t* packed = fetch_row(c, segment, row, plane, bits == 8 ? into : nullptr);
    if (packed == nullptr || bits == 8) return packed;
    tif_gathering* out = &tif_spec_of(c)->out;
    if (into == nullptr) {
        if (!tif_need_room(c, &out->row, &out->row_room, samples)) return nullptr;
        into = out->row;
    }
    unpack_bytes(packed, bits, tif_is_big(c), samples, widens(c), into);
    return into;
}

// The fourth sample of red, green, blue is none of the picture: a plane for it is cleared.
bool drops_sample(const tif_image* image, int sample) {
    return sample == 3 && image->photometric == TIF_RGB;
}

bool split_row(CFILE* c, uint32_t segment, uint32_t row, int channels, uint8_t* const* planes) {
    const tif_image* image = tif_image_of(c);
    size_t width = tif_shape_of(image).width;
    size_t step = image->samples_per_pixel;
    const uint8_t* pixels = byte_row(c, segment, row, 0, width * step, nullptr);
    if (pixels == nullptr) return false;
    size_t given = std::min(static_cast<size_t>(channels), step);
    if (given > 3 && drops_sample(image, 3)) {
        if (planes[3] != nullptr) std::memset(planes[3], 0, width);
        given = 3;
    }
    split_pixels(pixels, width, step, planes, given);
    return true;
}

bool copy_planes(CFILE* c, uint32_t segment, uint32_t row, int channels, uint8_t* const* planes) {
    const tif_image* image = tif_image_of(c);
    size_t width = tif_shape_of(image).width;
    for (int s = 0; s < channels && s < image->samples_per_pixel; ++s) {
        if (planes[s] == nullptr) continue;
        if (drops_sample(image, s)) {
            std::memset(planes[s], 0, width);
        } else if (byte_row(c, segment, row, s, width, planes[s]) == nullptr) {
            return false;
        }
    }
    return true;
}

void spread_pixels(const uint8_t* from, size_t count, size_t samples, uint8_t* pixels, size_t step) {
    for (size_t i = 0; i < count; ++i)
        for (size_t s = 0; s < samples; ++s)
            pixels[i * step + s] = from[i * samples + s];
}

} // namespace

bool tif_colour_is_readable(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    if (image->samples_per_pixel != 3 && image->samples_per_pixel != 4) {
        return fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff samp/pix");
    }
    bool colour = image->photometric == TIF_RGB || image->photometric == TIF_CMYK;
    return colour || fails(c, RZL_UNSUP_TIFF, SOURCE, "Tiff RGB/CMYK");
}

bool tif_colour_planes(CFILE* c, uint32_t segment, uint32_t row, int channels, uint8_t* const* planes) {
    bool apart = tif_shape_of(tif_image_of(c)).planes > 1;
    return apart ? copy_planes(c, segment, row, channels, planes) : split_row(c, segment, row, channels, planes);
}

bool tif_colour_pixels(CFILE* c, uint32_t segment, uint32_t row, uint8_t* pixels, size_t step) {
    const tif_image* image = tif_image_of(c);
    tif_shape shape = tif_shape_of(image);
    size_t samples = image->samples_per_pixel;
    if (shape.planes == 1 && step == samples) {
        return byte_row(c, segment, row, 0, shape.width * samples, pixels) != nullptr;
    }
    for (int plane = 0; plane < shape.planes; ++plane) {
        const uint8_t* from = byte_row(c, segment, row, plane, shape.width * size_t(shape.together), nullptr);
        if (from == nullptr) return false;
        spread_pixels(from, shape.width, static_cast<size_t>(shape.together), pixels + plane, step);
    }
    return true;
}

// ---- lines ----------------------------------------------------------------------------------------------------------

namespace {

// Samples of 2 to 7 bits are shifted up to fill their byte, unless they are indexes of a colour table or wanted as
// they are.
bool is_widened(const CFILE* c, const tif_image* image) {
    return tif_bits(image) < 8 && c->color_table == nullptr && !has_flag(c, FLAG_RAW_SAMPLES);
}

uint8_t* first_buffer(int channels, read_planes buffers) {
    for (int i = 0; buffers != nullptr && i < channels; ++i)
        if (buffers[i] != nullptr) return buffers[i];
    return nullptr;
}

// The values in the first of three buffers, in all of them: as colours where they are bytes. (Bits are the core's.)
void spread_line(CFILE* c, int channels, read_planes buffers) {
    bool three = channels == 3 && buffers[0] != nullptr && buffers[1] != nullptr && buffers[2] != nullptr;
    const tif_image* image = tif_image_of(c);
    if (!three || tif_is_bilevel(image)) return;
    if (c->color_table != nullptr && tif_bits(image) <= 8) {
        flag_guard colours(c, FLAG_RAW_SAMPLES, false);
        rzl_apply_color_table(c, buffers[0], buffers[1], buffers[2], c->xsize);
        return;
    }
    for (int i = 1; i < 3; ++i)
        std::memcpy(buffers[i], buffers[0], line_bytes(c, c->xsize));
}

bool get_line(CFILE* c, int channels, read_planes buffers) {
    const tif_image* image = tif_image_of(c);
    auto line = static_cast<uint32_t>(c->line);
    uint32_t strip = line / image->rows_per_strip;
    uint32_t row = line % image->rows_per_strip;
    if (image->samples_per_pixel != 1) {
        return tif_colour_is_readable(c) && tif_colour_planes(c, strip, row, channels, buffers);
    }
    if (!tif_band_line(c, strip, row, first_buffer(channels, buffers))) return false;
    spread_line(c, channels, buffers);
    return true;
}

// Grey samples of less than a byte in several buffers: the core would shift them up once more.
bool is_narrow_grey(const CFILE* c) {
    const tif_image* image = tif_image_of(c);
    return image->samples_per_pixel == 1 && tif_bits(image) > 1 && is_widened(c, image);
}

int get_narrow_line(CFILE* c, int channels, read_planes buffers) {
    uint8_t* first = first_buffer(channels, buffers);
    int pixels = rzl_getline_generic(c, first != nullptr ? 1 : 0, &first);
    for (int i = 0; pixels > 0 && i < channels; ++i) {
        bool other = buffers[i] != nullptr && buffers[i] != first;
        if (other) std::memcpy(buffers[i], first, static_cast<size_t>(pixels));
    }
    return pixels;
}

} // namespace

bool tif_band_line(CFILE* c, uint32_t segment, uint32_t row, uint8_t* line) {
    const tif_image* image = tif_image_of(c);
    uint32_t width = tif_shape_of(image).width;
    if (tif_is_bilevel(image)) return tif_fetch_bits(c, segment, row, line);
    int bits = tif_bits(image);
    bool direct = bits == 8 || (bits == 16 && !tif_is_big(c));
    const uint8_t* bytes = fetch_row(c, segment, row, 0, direct ? line : nullptr);
    if (bytes == nullptr) return false;
    if (bits < 8) {
        unpack_bytes(bytes, bits, tif_is_big(c), width, is_widened(c, image), line);
    } else if (bytes != line) {
        unpack_samples(bytes, bits, tif_is_big(c), width, line);
    }
    return true;
}

int tif_get_line(CFILE* c, int channels, read_planes buffers) {
    const tif_image* image = tif_image_of(c);
    bool wanted = first_buffer(channels, buffers) != nullptr;
    if (c->line < 0 || static_cast<uint32_t>(c->line) >= image->image_length) {
        fail(c, RZL_PAST_END, SOURCE, "getline");
        return 0;
    }
    bool got = !wanted || get_line(c, channels, buffers);
    ++c->line;
    return got ? c->xsize : 0;
}

int tif_getline_from_tiles(CFILE* c, int channels, read_planes buffers) {
    return tif_settle_lines(c) ? rzl_getline_from_tiles(c, channels, buffers) : 0;
}

// The row of tiles in hand is made anew when it is to hold other values.
int tif_getline(CFILE* c, int channels, read_planes buffers) {
    tif_spec* spec = tif_spec_of(c);
    bool raw = has_flag(c, FLAG_RAW_SAMPLES);
    if (!tif_settle_lines(c)) return 0;
    bool other = raw != spec->raw_row && has_flag(c, FLAG_TILED);
    if (other && c->tile->row_dirty) {
        fail(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "getline");
        return 0;
    }
    if (other) drop_tile_row(c);
    spec->raw_row = raw;
    if (is_narrow_grey(c)) return get_narrow_line(c, channels, buffers);
    return rzl_getline_generic(c, channels, buffers);
}

// Strips go straight into the buffer; tiles are buffered in interleaved rows.
int tif_get_interleaved_line(CFILE* c, uint8_t* buffer) {
    const tif_image* image = tif_image_of(c);
    bool colour = image->samples_per_pixel >= 3;
    if (!colour || has_flag(c, FLAG_SQUETCH)) return rzl_getinlv_default(c, buffer);
    rzl_getline_check(c);
    if (c->status != 0 || !tif_colour_is_readable(c)) return 0;
    if (has_flag(c, FLAG_TILED)) return tif_getline(c, 1, &buffer);
    auto line = static_cast<uint32_t>(c->line);
    uint32_t strip = line / image->rows_per_strip;
    auto step = static_cast<size_t>(interleave_step(c));
    if (!tif_colour_pixels(c, strip, line % image->rows_per_strip, buffer, step)) return 0;
    ++c->line;
    return c->xsize;
}

// ---- positions ------------------------------------------------------------------------------------------------------

namespace {

// Where the file stands when nothing has been read: the first strip, or the end.
void stand_at_start(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    const tif_image* image = spec->image;
    if (!is_readable(c)) return;
    spec->at_end = false;
    bool stored = tif_is_stored(image, 0);
    bool stands = stored ? io_seek(c, c->base_offset + image->strip_offsets[0]) : io_seek(c, io_size(c));
    if (!stands) fail(c, RZL_READ_FAILED, SOURCE, nullptr);
}

} // namespace

// Every row is found by its number, so that seeking is a matter of the line counter; what waits to be stored of another
// strip is stored first.
int tif_seek(CFILE* c, int32_t line) {
    if (!rzl_seek_squetched(c, &line, SOURCE, "tiff squetch")) return 1;
    bool strips = !has_flag(c, FLAG_TILED) && !has_flag(c, FLAG_SQUETCH);
    if (strips && (line < 0 || line >= c->ysize)) return refuse(c, RZL_PAST_END, SOURCE, "tiff seek");
    const tif_gathering* out = &tif_spec_of(c)->out;
    bool leaves = strips && out->waiting && out->segment != int64_t{line} / tif_image_of(c)->rows_per_strip;
    if (leaves && !tif_flush_segment(c)) return 1;
    c->line = line;
    return 0;
}

void tif_rewind(CFILE* c) {
    stand_at_start(c);
    c->line = 0;
    rzl_restart_squetch(c, 0);
}

// Lines of plain and PackBits data can be told in advance; the others are found by their strip.
int tif_randomize(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    bool useful = !tif_is_tiled(image) && !tif_is_whole(image->compression) && !tif_is_fax(image->compression);
    if (!useful || c->line_offsets != nullptr) return 0;
    return rzl_record_lines(c, tif_is_stored(image, 0) ? int64_t{image->strip_offsets[0]} : 0, 1);
}
