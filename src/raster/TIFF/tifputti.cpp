// TIFF: writing tiles. A tile is stored whole, whatever part of it lies inside the image. Lines of plain tiles that the
// file has already change in their places.
#include <algorithm>
#include <cstring>

#include "raster/CORE/lines.h"
#include "raster/CORE/tilesetup.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifputti";

// The byte of a colour that a plane without data is filled with.
uint8_t colour_byte(uint32_t colour, int plane) {
    return plane < 3 ? static_cast<uint8_t>(colour >> (16 - 8 * plane)) : uint8_t{0};
}

// The planes of a tile as the caller gave them, and a line to stand for the planes that were not given.
struct tile_source {
    const uint8_t* planes[TIF_MAX_SAMPLES];
    uint8_t* fill; // owned: a line for each plane; null when all are given
    size_t pitch;  // bytes from line to line
    size_t step;   // bytes a pixel of interleaved data, 0 for planes
    int count;
    uint32_t first; // row of the tile that the planes begin with
    uint32_t rows;  // that the planes have; of a new tile the others are zero
    bool part;      // the other rows stay what they are, if the file has the tile
};

size_t pixel_step(const CFILE* c) {
    return tif_is_together(c) ? static_cast<size_t>(interleave_step(c)) : 0;
}

void take_layout(const CFILE* c, tile_source* source) {
    source->count = tif_is_together(c) ? 1 : tif_image_of(c)->samples_per_pixel;
    source->step = pixel_step(c);
}

bool take_source(CFILE* c, int channels, write_planes buffers, const uint32_t* colour, tile_source* source) {
    const tif_image* image = tif_image_of(c);
    take_layout(c, source);
    source->rows = image->tile_length;
    source->pitch = tif_tile_pitch(c);
    bool missing = false;
    for (int i = 0; i < source->count; ++i) {
        source->planes[i] = i < channels ? buffers[i] : nullptr;
        missing = missing || source->planes[i] == nullptr;
    }
    if (!missing) return true;
    if (colour == nullptr || channels <= 0) return fails(c, RZL_NO_OUTPUT_BUFFER, SOURCE, nullptr);
    source->fill = static_cast<uint8_t*>(mem_alloc(source->pitch * static_cast<size_t>(source->count)));
    if (source->fill == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    for (int i = 0; i < source->count; ++i)
        std::memset(source->fill + static_cast<size_t>(i) * source->pitch, colour_byte(*colour, i), source->pitch);
    return true;
}

void take_lines(const tile_source& source, uint32_t row, const uint8_t** lines) {
    for (int i = 0; i < source.count; ++i) {
        size_t at = row * source.pitch;
        lines[i] =
            source.planes[i] != nullptr ? source.planes[i] + at : source.fill + static_cast<size_t>(i) * source.pitch;
    }
}

bool put_fax_tile(CFILE* c, uint32_t tile, const tile_source& source) {
    tif_image* image = tif_image_of(c);
    const uint8_t* lines[TIF_MAX_SAMPLES] = {};
    // A tile that is put again is coded anew; it takes its place in the arrays when it is stored.
    if (tif_is_stored(image, tile)) return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed data");
    for (uint32_t row = 0; row < source.rows; ++row) {
        take_lines(source, row, lines);
        if (!tif_save_fax_line(c, tile, row, lines[0], nullptr, 0)) return false;
    }
    return tif_flush_segment(c);
}

// Lines of one sample that stand behind each other, and whose rows end at a byte, are as good as one.
uint32_t lines_at_once(const CFILE* c, const tile_source& source) {
    const tif_image* image = tif_image_of(c);
    bool close = source.planes[0] != nullptr && source.pitch == tif_tile_pitch(c) && image->tile_width % 16 == 0;
    bool one = image->samples_per_pixel == 1 && close && uint64_t{image->tile_width} * source.rows <= UINT32_MAX;
    return one ? std::max(source.rows, 1u) : 1;
}

bool put_tile_rows(CFILE* c, uint32_t tile, const tile_source& source) {
    const tif_image* image = tif_image_of(c);
    tif_shape shape = tif_shape_of(image);
    tif_gathering* out = &tif_spec_of(c)->out;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(image, 0));
    auto planes = static_cast<size_t>(shape.planes);
    size_t plane = 0;
    size_t all = 0;
    bool fits = checked_mul(row_bytes, size_t{shape.rows}, &plane) && checked_mul(plane, planes, &all);
    if (!fits) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    size_t line = row_bytes * planes + size_t{shape.width} * image->samples_per_pixel;
    if (!tif_need_room(c, &out->rows, &out->rows_room, all)) return false;
    if (!tif_need_room(c, &out->row, &out->row_room, line)) return false;
    const uint8_t* lines[TIF_MAX_SAMPLES] = {};
    uint32_t end = source.first + source.rows;
    for (size_t p = 0; p < planes; ++p) {
        std::memset(out->rows + p * plane, 0, source.first * row_bytes);
        std::memset(out->rows + p * plane + end * row_bytes, 0, (shape.rows - end) * row_bytes);
    }
    uint32_t step = lines_at_once(c, source);
    bool direct = image->samples_per_pixel == 1 || (planes == 1 && tif_bits(image) == 8);
    for (uint32_t row = 0; row < source.rows; row += step) {
        take_lines(source, row, lines);
        size_t at = (source.first + row) * row_bytes;
        uint8_t* to = direct ? out->rows + at : out->row;
        tif_make_rows(c, image, shape.width * step, source.count, lines, source.step, to);
        for (size_t p = 0; !direct && p < planes; ++p)
            std::memcpy(out->rows + p * plane + at, out->row + p * row_bytes, row_bytes);
    }
    tif_spec_of(c)->in.segment = -1;
    if (source.part && tif_is_stored(image, tile)) {
        return tif_replace_rows(c, tile, source.first, source.rows, out->rows + source.first * row_bytes, plane);
    }
    return tif_save_segment(c, tile, out->rows, plane, shape.rows);
}

// Whether the tile's bytes stand in the caller's buffer as they do in the file.
bool is_as_stored(const tif_image* image, const tile_source& source) {
    bool whole = source.rows == image->tile_length && source.pitch == tif_row_bytes(image, 0);
    return whole && tif_is_plain_row(image, source.step) && source.planes[0] != nullptr;
}

bool put_source(CFILE* c, uint32_t tile, const tile_source& source) {
    const tif_image* image = tif_image_of(c);
    if (is_as_stored(image, source)) {
        tif_spec_of(c)->in.segment = -1;
        return tif_store_coded(c, tile, source.planes[0], source.pitch * source.rows);
    }
    bool fax = tif_is_fax(tif_image_of(c)->compression);
    return fax ? put_fax_tile(c, tile, source) : put_tile_rows(c, tile, source);
}

bool can_put_tiles(CFILE* c) {
    const tif_image* image = tif_image_of(c);
    if (tif_shape_of(image).planes > 1 && tif_is_whole(image->compression)) {
        return fails(c, RZL_UNSUP_TIFF, SOURCE, "tiff compression type");
    }
    return tif_samples_can_be_put(c);
}

// ---- lines of tiles

// Whether the line is one of the row that is gathered, in the layout of its other lines.
bool line_fits_row(CFILE* c) {
    tile_record* t = c->tile;
    bool other = ((t->row_layout ^ c->flags) & TILE_LAYOUT_FLAGS) != 0 ||
                 tif_spec_of(c)->raw_row != has_flag(c, FLAG_RAW_SAMPLES);
    if (other && !tif_settle_lines(c)) return false;
    if (other && t->row_buffer != nullptr && t->row_dirty)
        return fails(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "rzl_putline");
    if (!need_tile_row(c)) return false;
    int64_t above = int64_t{c->line} - t->first_line;
    bool fits = above >= 0 && above < int64_t{t->height} && c->line < c->ysize;
    return fits || fails(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "rzl_putline");
}

// Whether the buffered row of tiles holds them one behind the other, as the file will have them. Plain tiles of a new
// file are gathered like this, unless the image is less high than they are.
bool row_is_as_stored(const CFILE* c) {
    const tif_image* image = tif_image_of(c);
    bool plain = c->mode == MODE_WRITE && tif_is_plain_row(image, pixel_step(c));
    size_t bytes = size_t{c->tile->height} * c->tile->tiles_across * static_cast<size_t>(tif_row_bytes(image, 0));
    return plain && c->tile->row_bytes == bytes;
}

// A line of a plane into the buffered row, in pieces that stand a tile apart; null: zeros.
void fill_line(CFILE* c, int plane, size_t row, size_t piece, const uint8_t* from) {
    const tile_record* t = c->tile;
    size_t bytes = line_bytes(c, c->xsize) * samples_together(c);
    uint8_t* to = t->row_buffer + static_cast<size_t>(plane) * tile_row_plane_bytes(c) + row * piece;
    for (size_t at = 0; at < bytes; at += piece, to += piece * t->height) {
        size_t count = std::min(piece, bytes - at);
        from != nullptr ? std::memcpy(to, from + at, count) : std::memset(to, 0, count);
    }
}

// Lines that are put in their places are a stretch, which one that stands apart from it ends.
bool join_row(CFILE* c) {
    const tif_spec* spec = tif_spec_of(c);
    auto row = static_cast<uint32_t>(c->line - c->tile->first_line);
    bool apart = c->tile->row_dirty && spec->row_stands && (row < spec->row_begin || row > spec->row_lines);
    return !apart || tif_flush_tile_row(c);
}

// Where the pieces of a line of the buffered row stand apart.
size_t piece_bytes(const CFILE* c) {
    return row_is_as_stored(c) ? static_cast<size_t>(tif_row_bytes(tif_image_of(c), 0)) : tile_row_pitch(c);
}

void take_back_line(const CFILE* c, int plane, size_t row, size_t piece, uint8_t* to) {
    const tile_record* t = c->tile;
    size_t bytes = line_bytes(c, c->xsize) * samples_together(c);
    const uint8_t* from = t->row_buffer + static_cast<size_t>(plane) * tile_row_plane_bytes(c) + row * piece;
    for (size_t at = 0; at < bytes; at += piece, from += piece * t->height)
        std::memcpy(to + at, from, std::min(piece, bytes - at));
}

// Whether lines of the row of tiles that begins at `first_line` go to where the file has them.
bool row_stands(const CFILE* c) {
    const tif_image* image = tif_image_of(c);
    uint32_t first = static_cast<uint32_t>(c->tile->first_line) / c->tile->height * c->tile->tiles_across;
    if (image->compression != TIF_PLAIN) return false;
    for (uint32_t tile = first; tile < first + c->tile->tiles_across; ++tile)
        if (tif_is_stored(image, tile)) return true;
    return false;
}

// Lines that begin to be gathered, with the one that is `row` lines down.
void begin_row(CFILE* c, uint32_t row) {
    tif_spec* spec = tif_spec_of(c);
    spec->row_stands = row_stands(c);
    spec->row_begin = spec->row_lines = spec->row_stands ? row : 0;
    spec->raw_row = has_flag(c, FLAG_RAW_SAMPLES);
}

// A plane that is not given is zero, and so are lines that are passed over.
void gather_line(CFILE* c, int channels, write_planes buffers) {
    tile_record* t = c->tile;
    tif_spec* spec = tif_spec_of(c);
    auto row = static_cast<uint32_t>(c->line - t->first_line);
    if (!t->row_dirty) begin_row(c, row);
    uint32_t lines = spec->row_lines;
    size_t piece = piece_bytes(c);
    for (int i = 0; i < tile_row_planes(c); ++i) {
        for (uint32_t passed = lines; passed < row; ++passed)
            fill_line(c, i, passed, piece, nullptr);
        fill_line(c, i, row, piece, i < channels ? buffers[i] : nullptr);
    }
    t->row_dirty = true;
    t->row_read = false;
    spec->row_lines = std::max(lines, row + 1);
}

// Stores the tiles of a buffered row that holds them as the file will have them.
bool store_row(CFILE* c, uint32_t first) {
    const tile_record* t = c->tile;
    auto row_bytes = static_cast<size_t>(tif_row_bytes(tif_image_of(c), 0));
    for (uint32_t row = tif_spec_of(c)->row_lines; row < t->height; ++row)
        for (uint32_t column = 0; column < t->tiles_across; ++column)
            std::memset(t->row_buffer + (size_t{column} * t->height + row) * row_bytes, 0, row_bytes);
    return tif_store_tiles(c, first, t->tiles_across, t->row_buffer, row_bytes * t->height);
}

// Lines that the buffered row of tiles has in the image.
uint32_t lines_of_row(const CFILE* c) {
    return std::min(c->tile->height, static_cast<uint32_t>(c->ysize - c->tile->first_line));
}

// Hands the tiles of the buffered row on, one by one.
bool put_row(CFILE* c, uint32_t first) {
    const tile_record* t = c->tile;
    const tif_spec* spec = tif_spec_of(c);
    tile_source source = {};
    take_layout(c, &source);
    source.first = spec->row_begin;
    source.rows = spec->row_lines - spec->row_begin;
    source.part = spec->row_stands && source.rows < lines_of_row(c);
    source.pitch = piece_bytes(c);
    size_t above = source.first * source.pitch;
    size_t tile_bytes = row_is_as_stored(c) ? source.pitch * t->height : line_bytes(c, t->width) * samples_together(c);
    for (uint32_t column = 0; column < t->tiles_across; ++column) {
        for (int i = 0; i < source.count; ++i)
            source.planes[i] =
                t->row_buffer + static_cast<size_t>(i) * tile_row_plane_bytes(c) + column * tile_bytes + above;
        if (!put_source(c, first + column, source)) return false;
    }
    return true;
}

} // namespace

// A row that could not be stored waits on, so that its last line can be put again.
bool tif_flush_tile_row(CFILE* c) {
    tile_record* t = c->tile;
    const tif_spec* spec = tif_spec_of(c);
    uint32_t flags = c->flags;
    constexpr uint32_t LAYOUT = TILE_LAYOUT_FLAGS | FLAG_RAW_SAMPLES;
    c->flags = (flags & ~LAYOUT) | t->row_layout | (spec->raw_row ? uint32_t{FLAG_RAW_SAMPLES} : 0);
    uint32_t first = static_cast<uint32_t>(t->first_line) / t->height * t->tiles_across;
    bool part = spec->row_stands && spec->row_lines - spec->row_begin < lines_of_row(c);
    bool stored = row_is_as_stored(c) && !part ? store_row(c, first) : put_row(c, first);
    c->flags = (c->flags & ~LAYOUT) | (flags & LAYOUT);
    if (!stored) return false;
    // Plain lines can go on where they ended.
    bool goes_on = tif_image_of(c)->compression == TIF_PLAIN && spec->row_lines < lines_of_row(c);
    if (!goes_on) t->first_line += static_cast<int32_t>(t->height);
    t->row_dirty = false;
    return true;
}

bool tif_settle_lines(CFILE* c) {
    const tile_record* t = c->tile;
    bool wait = has_flag(c, FLAG_TILED) && t != nullptr && t->row_buffer != nullptr && t->row_dirty;
    return !wait || tif_image_of(c)->compression != TIF_PLAIN || tif_flush_tile_row(c);
}

// Gathers the lines of the first row of tiles anew, as an image less high than a tile has them.
static bool gather_again(CFILE* c, int32_t height) {
    auto lines = static_cast<int32_t>(tif_spec_of(c)->row_lines);
    int planes = tile_row_planes(c);
    size_t bytes = line_bytes(c, c->xsize) * samples_together(c);
    size_t piece = piece_bytes(c);
    size_t all = bytes * static_cast<size_t>(planes) * static_cast<size_t>(lines);
    mem_guard<uint8_t> block(static_cast<uint8_t*>(mem_alloc(std::max<size_t>(all, 1))));
    if (!block) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    auto place = [&](int32_t row, int plane) {
        return block.get() + static_cast<size_t>(row * planes + plane) * bytes;
    };
    for (int32_t row = 0; row < lines; ++row)
        for (int i = 0; i < planes; ++i)
            take_back_line(c, i, static_cast<size_t>(row), piece, place(row, i));
    drop_tile_row(c);
    c->ysize = height;
    if (!need_tile_row(c)) return false;
    int32_t line = c->line;
    for (c->line = 0; c->line < lines; ++c->line) {
        const uint8_t* given[TIF_MAX_SAMPLES] = {};
        for (int i = 0; i < planes; ++i)
            given[i] = place(c->line, i);
        gather_line(c, planes, given);
    }
    c->line = line;
    return true;
}

bool tif_cut_tile_row(CFILE* c, uint32_t height) {
    tile_record* t = c->tile;
    if (!has_flag(c, FLAG_TILED) || t == nullptr || t->row_buffer == nullptr) return true;
    // The handle has the new height already.
    int32_t asked = c->ysize;
    c->ysize = static_cast<int32_t>(tif_image_of(c)->image_length);
    bool settled = tif_settle_lines(c);
    c->ysize = asked;
    if (!settled) return false;
    auto first = static_cast<uint32_t>(t->first_line);
    if (!t->row_dirty || first >= height) {
        drop_tile_row(c);
        t->row_dirty = t->row_read = false;
        return true;
    }
    c->ysize = static_cast<int32_t>(tif_image_of(c)->image_length);
    flag_guard layout(c, FLAG_INTERLEAVED, (t->row_layout & FLAG_INTERLEAVED) != 0);
    tif_spec_of(c)->row_lines = std::min(tif_spec_of(c)->row_lines, height - first);
    bool done = true;
    if (tif_spec_of(c)->row_lines == height - first) {
        done = tif_flush_tile_row(c);
    } else if (height < t->height) {
        done = gather_again(c, static_cast<int32_t>(height));
    }
    c->ysize = asked;
    return done;
}

int tif_putline_to_tiles(CFILE* c, int channels, write_planes buffers) {
    if (!can_put_tiles(c) || !line_fits_row(c) || !join_row(c)) return 0;
    gather_line(c, channels, buffers);
    const tile_record* t = c->tile;
    bool complete = int64_t{c->line} + 1 == int64_t{t->first_line} + t->height || c->line + 1 >= c->ysize;
    return !complete || tif_flush_tile_row(c) ? c->xsize : 0;
}

int tif_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* colour) {
    if (is_writable(c) && !tif_need_header(c)) return 0;
    if (rzl_puttile_check(c) != 0 || !can_put_tiles(c) || !tif_settle_lines(c)) return 0;
    auto tile = static_cast<uint32_t>(c->line);
    tile_source source = {};
    bool put = take_source(c, channels, buffers, colour, &source) && put_source(c, tile, source);
    mem_free(source.fill);
    if (put) ++c->line;
    return put ? 1 : 0;
}
