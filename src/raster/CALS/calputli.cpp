// CALS files: writing the header, lines and tiles.
#include <cstdio>
#include <cstring>

#include "raster/CALS/cals.h"
#include "raster/CALS/calskeys.h"
#include "raster/CCITT/citfile.h"
#include "raster/CORE/lines.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CALS/calputli";
constexpr char SPECIFICATION[] = "MIL-R-28002B, 1, 19930930";

// ---- header --------------------------------------------------------------------------------------------------------

// The value of a record; its text is known to fit.
void format_value(const CFILE* c, const cals_key& key, char* text, size_t size) {
    const cals_spec* spec = cals_spec_of(c);
    const cals_rotation& rotation = CALS_ROTATIONS[spec->orientation & 7];
    switch (key.kind) {
    case cals_value::text:
        std::snprintf(text, size, "%s", key.text == CALS_VERSION ? SPECIFICATION : spec->texts[key.text]);
        break;
    case cals_value::type: std::snprintf(text, size, "%-4d", spec->type); break;
    case cals_value::rotation: std::snprintf(text, size, "%3d,%3d", rotation.path, rotation.turn); break;
    case cals_value::size: std::snprintf(text, size, "%6d,%6d", c->xsize, c->ysize); break;
    case cals_value::density: std::snprintf(text, size, "%4d", spec->density); break;
    }
}

bool write_text_header(CFILE* c, const cals_spec* spec) {
    char header[CALS_HEADER];
    std::memset(header, ' ', sizeof header);
    char* record = header;
    for (const cals_key& key : cals_keys_of(spec->variant)) {
        char value[CALS_RECORD];
        char line[CALS_RECORD + 16];
        format_value(c, key, value, sizeof value);
        (void)std::snprintf(line, sizeof line, "%s: %s", key.word, value);
        std::memcpy(record, line, strnlen(line, CALS_RECORD));
        record += CALS_RECORD;
    }
    return put_all(c, header, sizeof header, SOURCE);
}

// What a file of its type can hold. Bits go into a file of type 1 as code.
bool settle_image(CFILE* c, cals_spec* spec) {
    bool fits = c->xsize >= 1 && c->xsize <= CALS_MOST_PIXELS && c->ysize >= 1;
    if (!fits) return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    if (spec->type == 1 && spec->tile_size != 0) return fails(c, RZL_UNSUP_CALS, SOURCE, "tiles of a file of type 1");
    if (spec->type == 1) c->format = RZL_FORMAT_GROUP4;
    bool counted = spec->tile_size == 0 || int64_t{c->tile->tiles_across} * c->tile->tiles_down <= INT32_MAX;
    return counted || fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
}

bool make_row(CFILE* c, cals_spec* spec) {
    mem_free(spec->row);
    spec->row = mem_new_array<uint8_t>(spec->tile_size != 0 ? CALS_TILE_BYTES : cals_row_bytes(c));
    return spec->row != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

// Tiles are found by walking from the first, in a file that is being written too.
bool make_places(CFILE* c, cals_spec* spec) {
    int64_t tiles = int64_t{c->tile->tiles_across} * c->tile->tiles_down;
    spec->places = mem_new_array<int64_t>(static_cast<size_t>(tiles));
    if (spec->places == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "tiles");
    spec->usual_kind = cals_is_coded(c) ? CALS_TILE_CODED : CALS_TILE_PLAIN;
    spec->places[0] = io_tell(c);
    spec->places_known = 1;
    spec->places_room = tiles;
    spec->file_size = INT64_MAX;
    return true;
}

bool seek_end(CFILE* c) {
    int64_t size = c->mode == MODE_WRITE_READ ? io_size(c) : -1;
    return size < 0 || io_seek(c, size) || fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
}

// ---- lines ---------------------------------------------------------------------------------------------------------

// The code of the lines so far, as the image. Afterwards it can be read.
bool finish_code(CFILE* c, cals_spec* spec) {
    uint8_t* code = nullptr;
    size_t bytes = 0;
    bool coded = cit_succeeded(cit_writer_finish(spec->writer, &code, &bytes));
    if (!coded) return fails(c, RZL_NO_MEMORY, SOURCE, "code");
    if (!has_flag(c, FLAG_NATIVE)) cit_reverse_bytes(code, bytes);
    if (spec->type == 2 && !cals_write_content_head(c, bytes)) return false;
    spec->data_offset = io_tell(c);
    spec->data_end = spec->data_offset + static_cast<int64_t>(bytes);
    bool put = put_all(c, code, bytes, SOURCE);
    cit_writer_free(spec->writer);
    spec->writer = nullptr;
    spec->closed = put;
    spec->file_size = spec->data_end;
    return put;
}

bool put_coded(CFILE* c, cals_spec* spec, const uint8_t* words) {
    if (spec->writer == nullptr) {
        spec->writer = cit_writer_new(cit_coding::g4, static_cast<uint32_t>(c->xsize), 0);
        if (spec->writer == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "code");
    }
    if (!cit_succeeded(cit_writer_bits(spec->writer, words))) return fails(c, RZL_NO_MEMORY, SOURCE, "code");
    ++spec->lines_put;
    return spec->lines_put < c->ysize || finish_code(c, spec);
}

bool put_plain(CFILE* c, cals_spec* spec, const uint8_t* words) {
    size_t bytes = cals_row_bytes(c);
    if (spec->lines_put == 0) {
        if (!cals_write_content_head(c, static_cast<uint64_t>(c->ysize) * bytes)) return false;
        spec->data_offset = io_tell(c);
        spec->data_end = spec->data_offset + c->ysize * static_cast<int64_t>(bytes);
        spec->file_size = spec->data_end;
    }
    std::memset(spec->row, 0, bytes);
    words_to_bits(words, static_cast<uint32_t>(c->xsize), 0, spec->row);
    if (!put_all(c, spec->row, bytes, SOURCE)) return false;
    ++spec->lines_put;
    spec->closed = spec->lines_put == c->ysize;
    return true;
}

// ---- tiles ---------------------------------------------------------------------------------------------------------

bool put_coded_tile(CFILE* c, cals_spec* spec, const uint8_t* words) {
    if (spec->writer == nullptr) spec->writer = cit_writer_new(cit_coding::g4, CALS_TILE, 0);
    if (spec->writer == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "code");
    bool good = true;
    for (size_t y = 0; good && y < CALS_TILE; ++y)
        good = cit_succeeded(cit_writer_bits(spec->writer, words + y * CALS_TILE_ROW));
    uint8_t* code = nullptr;
    size_t bytes = 0;
    good = good && cit_succeeded(cit_writer_finish(spec->writer, &code, &bytes));
    if (!good) {
        cit_writer_free(spec->writer); // a tile in part does not go on
        spec->writer = nullptr;
        return fails(c, RZL_NO_MEMORY, SOURCE, "code");
    }
    cit_reverse_bytes(code, bytes);
    return cals_write_content_head(c, bytes) && put_all(c, code, bytes, SOURCE);
}

bool put_plain_tile(CFILE* c, cals_spec* spec, const uint8_t* words) {
    words_to_bits(words, CALS_TILE * CALS_TILE, 0, spec->row);
    return cals_write_content_head(c, CALS_TILE_BYTES) && put_all(c, spec->row, CALS_TILE_BYTES, SOURCE);
}

} // namespace

// A file that was opened has its header and keeps it, and so does one whose header is written.
int cals_write_header(CFILE* c) {
    cals_spec* spec = cals_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (!settle_image(c, spec) || !make_row(c, spec)) return 1;
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!write_text_header(c, spec)) return 1;
    spec->data_offset = static_cast<int64_t>(CALS_HEADER);
    spec->data_end = INT64_MAX;
    if (spec->type == 2 && !cals_write_oda(c)) return 1;
    if (spec->tile_size != 0 && is_readable(c) && !make_places(c, spec)) return 1;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int cals_put_line(CFILE* c, int channels, write_planes buffers) {
    cals_spec* spec = cals_spec_of(c);
    if (channels != 1) return fails(c, RZL_UNSUP_CALS, SOURCE, "putline");
    // One code, and strings that follow each other: there is no place for a line but behind the last.
    bool next = c->mode != MODE_UPDATE && c->line == spec->lines_put && !spec->closed;
    if (!next) return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    mem_guard<uint8_t> white(nullptr);
    const uint8_t* words = buffers[0];
    if (words == nullptr) {
        white.block = static_cast<uint8_t*>(mem_alloc_zeroed(cals_row_bytes(c)));
        if (!white) return fails(c, RZL_NO_MEMORY, SOURCE, "putline");
        words = white.get();
    }
    bool put = cals_is_coded(c) ? put_coded(c, spec, words) : put_plain(c, spec, words);
    return put ? c->xsize : 0;
}

// A line of tiles that are in the file would wait for the rest of its row, which can't be written.
int cals_putline(CFILE* c, int channels, write_planes buffers) {
    const tile_record* t = has_flag(c, FLAG_TILED) ? c->tile : nullptr;
    bool inside = t != nullptr && c->line < c->ysize;
    bool stored = inside && (c->mode == MODE_UPDATE ||
                             int64_t{c->line} / CALS_TILE * t->tiles_across < int64_t{cals_spec_of(c)->tiles_put});
    if (stored) return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "tiles come in their order");
    return rzl_putline_generic(c, channels, buffers);
}

int cals_put_rle_line(CFILE* c, int channels, write_planes buffers) {
    if (!is_writable(c)) return fails(c, RZL_NEEDS_WRITE, SOURCE, "runs");
    if (!rzl_append_check(c) || putline_error_check(c) != 0) return 0;
    if (has_flag(c, FLAG_TILED) || channels != 1) return fails(c, RZL_UNSUP_CALS, SOURCE, "runs");
    mem_guard<uint8_t> words(mem_new_array<uint8_t>(cals_row_bytes(c)));
    if (!words) return fails(c, RZL_NO_MEMORY, SOURCE, "runs");
    if (!cit_take_runs(c, buffers[0], words.get(), SOURCE)) return 0;
    const uint8_t* plane = words.get();
    return cals_put_line(c, 1, &plane);
}

int cals_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t*) {
    cals_spec* spec = cals_spec_of(c);
    if (rzl_puttile_check(c) != 0) return 0;
    if (spec->type != 2 || channels != 1) return fails(c, RZL_UNSUP_CALS, SOURCE, "tiles");
    bool next = c->mode != MODE_UPDATE && c->line == spec->tiles_put;
    if (!next) return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "tiles come in their order");
    mem_guard<uint8_t> white(nullptr);
    const uint8_t* words = buffers[0];
    if (words == nullptr) {
        white.block = static_cast<uint8_t*>(mem_alloc_zeroed(CALS_TILE_BYTES));
        if (!white) return fails(c, RZL_NO_MEMORY, SOURCE, "tile");
        words = white.get();
    }
    if (!seek_end(c)) return 0;
    bool put = cals_is_coded(c) ? put_coded_tile(c, spec, words) : put_plain_tile(c, spec, words);
    if (!put) return 0;
    ++spec->tiles_put;
    ++c->line;
    return CALS_TILE * CALS_TILE;
}

// Lines that wait for the rest of their row of tiles, in the layout in which they came.
static bool flush_lines(CFILE* c) {
    const tile_record* t = has_flag(c, FLAG_TILED) ? c->tile : nullptr;
    if (t == nullptr || t->row_buffer == nullptr || !t->row_dirty) return true;
    c->flags = (c->flags & ~TILE_LAYOUT_FLAGS) | t->row_layout;
    return rzl_flush_tile_row(c, 1) > 0;
}

// Lines that have come are written, and what was begun in the indefinite form is ended.
void cals_close(CFILE* c) {
    cals_spec* spec = cals_spec_of(c);
    bool is_new = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    if (spec == nullptr || !is_new || !has_flag(c, FLAG_HEADER_EXISTS)) return;
    bool tiled = spec->tile_size != 0;
    bool begun = !tiled && spec->writer != nullptr && !spec->closed;
    if (begun && !finish_code(c, spec)) return;
    if (!flush_lines(c)) return;
    if (spec->type != 2) return;
    constexpr uint8_t ENDS[4] = {};
    if (!seek_end(c)) return;
    (void)put_all(c, ENDS, tiled ? 4 : 2, SOURCE);
}
