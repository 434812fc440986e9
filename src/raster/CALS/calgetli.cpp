// CALS files: reading lines, runs and tiles.
#include <algorithm>
#include <cstring>

#include "raster/CALS/cals.h"
#include "raster/CCITT/citfile.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CALS/calgetli";

// ---- lines ---------------------------------------------------------------------------------------------------------

// A line of plain bits, words whose first pixel is the top bit of their first byte. What the file does not have is
// white, and damage.
bool plain_line(CFILE* c, const cals_spec* spec, uint8_t* words) {
    size_t bytes = cals_row_bytes(c);
    int64_t place = spec->data_offset + c->line * static_cast<int64_t>(bytes);
    int64_t left = std::min(spec->data_end, spec->file_size) - place;
    auto there = static_cast<size_t>(std::clamp<int64_t>(left, 0, static_cast<int64_t>(bytes)));
    if (there > 0 && io_tell(c) != place && !io_seek(c, place)) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    size_t got = there > 0 ? io_read(c, spec->row, there) : 0;
    if (got < there) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    std::memset(spec->row + got, 0, bytes - got);
    if (got < bytes) set_flag(c, FLAG_DAMAGED, true);
    bits_to_words(spec->row, static_cast<uint32_t>(c->xsize), 0, words);
    return true;
}

bool line_of_bits(CFILE* c, cals_spec* spec, uint8_t* words) {
    bool unfinished = c->mode == MODE_WRITE_READ && !spec->closed;
    if (unfinished) return fails(c, RZL_READ_FAILED, SOURCE, "the image is not whole yet");
    if (!cals_is_coded(c)) return plain_line(c, spec, words);
    return cit_g4_get_line(c, {spec->data_offset, spec->data_end}, words) != CIT_GET_FAILED;
}

// ---- tiles ---------------------------------------------------------------------------------------------------------

uint8_t kind_of(const cals_spec* spec, int64_t tile) {
    if (spec->kinds == nullptr) return spec->usual_kind;
    return tile < spec->kind_count ? spec->kinds[tile] : spec->usual_kind;
}

bool is_stored(uint8_t kind) {
    return kind != CALS_TILE_WHITE && kind != CALS_TILE_BLACK;
}

// Where the element of a tile stands, by walking from the last that is known; -1 when the file does not reach so far.
int64_t place_of_tile(CFILE* c, cals_spec* spec, int64_t tile) {
    while (spec->places_known <= tile && spec->places_known < spec->places_room) {
        int64_t before = spec->places_known - 1;
        int64_t place = spec->places[before];
        if (is_stored(kind_of(spec, before))) {
            int64_t length = io_seek(c, place) ? cals_content_length(c) : -1;
            if (length < 0) return -1;
            place = io_tell(c) + length;
        }
        spec->places[spec->places_known++] = place;
    }
    return tile < spec->places_known ? spec->places[tile] : -1;
}

// Brings the file to the first byte of a tile's string. Its length, -1 when it is not there.
int64_t seek_tile(CFILE* c, cals_spec* spec, int64_t tile) {
    int64_t place = place_of_tile(c, spec, tile);
    return place >= 0 && io_seek(c, place) ? cals_content_length(c) : -1;
}

// A tile of plain bits. False: not all of it is there.
bool plain_tile(CFILE* c, int64_t length, uint8_t* words) {
    auto bytes = static_cast<size_t>(std::min<int64_t>(length, CALS_TILE_BYTES));
    size_t got = io_read(c, words, bytes);
    std::memset(words + got, 0, CALS_TILE_BYTES - got);
    bits_to_words(words, CALS_TILE * CALS_TILE, 0, words);
    return got == CALS_TILE_BYTES;
}

enum class tile_result : uint8_t { good, damaged, failed };

// Decodes what there is of a tile.
tile_result decode_tile(CFILE* c, cit_reader* reader, uint8_t* words) {
    tile_result result = tile_result::good;
    for (uint32_t y = 0; y < CALS_TILE; ++y) {
        uint32_t decoded = cit_reader_bits(reader, y, words + y * CALS_TILE_ROW);
        if (decoded == CIT_NO_MEMORY) {
            fail(c, RZL_NO_MEMORY, SOURCE, "tile");
            return tile_result::failed;
        }
        if (decoded != CIT_OK) result = tile_result::damaged;
    }
    return result;
}

// A tile of code. No code of a tile is longer than that of pixels that all differ.
tile_result coded_tile(CFILE* c, int64_t length, bool native, uint8_t* words) {
    auto most = static_cast<int64_t>(cit_line_bound(CALS_TILE, 0) * CALS_TILE);
    auto bytes = static_cast<uint64_t>(std::min(length, most));
    mem_guard<uint8_t> code(io_read_block(c, bytes, 0, SOURCE, "tile"));
    if (!code) return tile_result::failed;
    if (!native) cit_reverse_bytes(code.get(), static_cast<size_t>(bytes));
    cit_reader* reader =
        cit_reader_new(cit_coding::g4, CALS_TILE, CALS_TILE, code.get(), static_cast<size_t>(bytes), 0);
    if (reader == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, "tile");
        return tile_result::failed;
    }
    tile_result result = decode_tile(c, reader, words);
    cit_reader_free(reader);
    return result;
}

tile_result read_tile(CFILE* c, cals_spec* spec, int64_t tile, uint8_t* words) {
    uint8_t kind = kind_of(spec, tile);
    if (!is_stored(kind)) {
        std::memset(words, kind == CALS_TILE_BLACK ? 0xFF : 0, CALS_TILE_BYTES);
        return tile_result::good;
    }
    int64_t length = seek_tile(c, spec, tile);
    if (length < 0) {
        std::memset(words, 0, CALS_TILE_BYTES);
        return tile_result::damaged;
    }
    if (kind == CALS_TILE_PLAIN) return plain_tile(c, length, words) ? tile_result::good : tile_result::damaged;
    return coded_tile(c, length, kind == CALS_TILE_NATIVE, words);
}

// Whether the tile that comes next can be read by a call of so many channels.
bool tile_fits(CFILE* c, const cals_spec* spec, int channels) {
    rzl_gettile_check(c);
    if (c->status != 0) return false;
    bool fits = spec->type == 2 && (channels == 0 || channels == 1) && spec->places != nullptr;
    return fits || fails(c, RZL_UNSUP_CALS, SOURCE, "tiles");
}

// The lines of a code up to its end, or up to where it is damaged, at most as many as the page has; -1 with the status.
// No more is kept than two lines as positions, however wide they are said to be.
int64_t coded_lines(CFILE* c, const cals_spec* spec, uint64_t bytes) {
    if (!io_seek(c, spec->data_offset)) {
        fail(c, RZL_READ_FAILED, SOURCE, "content");
        return -1;
    }
    mem_guard<uint8_t> code(io_read_block(c, bytes, 0, SOURCE, "content"));
    if (!code) return -1;
    cit_reverse_bytes(code.get(), static_cast<size_t>(bytes));
    auto width = static_cast<uint32_t>(c->xsize);
    cit_params params = {width, 0, code.get(), static_cast<size_t>(bytes), 0, 0};
    cit_changes both[2] = {};
    uint32_t result = CIT_NO_MEMORY;
    if (cit_changes_white(&both[0], width) && cit_changes_white(&both[1], width)) result = CIT_OK;
    int64_t lines = 0;
    bool ended = false;
    for (uint64_t place = 0; result == CIT_OK && lines < c->ysize; ++lines) {
        result = cit_decode_g4_line(&params, &both[lines % 2], &both[(lines + 1) % 2], &place, &ended);
        if (ended || result != CIT_OK) break;
    }
    cit_changes_free(&both[0]);
    cit_changes_free(&both[1]);
    if (result != CIT_NO_MEMORY) return lines;
    fail(c, RZL_NO_MEMORY, SOURCE, "content");
    return -1;
}

} // namespace

int cals_get_line(CFILE* c, int channels, read_planes buffers) {
    cals_spec* spec = cals_spec_of(c);
    if (channels != 0 && channels != 1) return fails(c, RZL_UNSUP_CALS, SOURCE, "getline");
    bool wanted = channels == 1 && buffers[0] != nullptr;
    if (wanted && !line_of_bits(c, spec, buffers[0])) return 0;
    ++c->line;
    return c->xsize;
}

int cals_count_lines(CFILE* c) {
    cals_spec* spec = cals_spec_of(c);
    int64_t bytes = std::max<int64_t>(std::min(spec->data_end, spec->file_size) - spec->data_offset, 0);
    int64_t lines = bytes / static_cast<int64_t>(cals_row_bytes(c));
    if (cals_is_coded(c)) lines = coded_lines(c, spec, static_cast<uint64_t>(bytes));
    if (lines < 0) return 1;
    c->ysize = static_cast<int32_t>(std::min<int64_t>(lines, c->ysize));
    return lines > 0 ? 0 : refuse(c, RZL_NOT_STANDARD_2, SOURCE, "no lines");
}

int cals_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    if (channels != 1) return fails(c, RZL_UNSUP_CALS, SOURCE, "runs");
    return cit_get_runs(c, buffers[0], RZL_UNSUP_CALS, SOURCE);
}

int cals_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word) {
    cals_spec* spec = cals_spec_of(c);
    if (!tile_fits(c, spec, channels)) return 0;
    uint8_t kind = kind_of(spec, c->line);
    if (size_word != nullptr && !is_stored(kind)) {
        *size_word = kind == CALS_TILE_BLACK ? 255 : 0;
    } else if (channels == 1 && buffers[0] != nullptr) {
        tile_result result = read_tile(c, spec, c->line, buffers[0]);
        if (result == tile_result::failed) return 0;
        if (result == tile_result::damaged) set_flag(c, FLAG_DAMAGED, true);
    }
    ++c->line;
    return CALS_TILE * CALS_TILE;
}

// The runs of a tile's rows, one behind the other.
int cals_get_rle_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    cals_spec* spec = cals_spec_of(c);
    if (!tile_fits(c, spec, channels)) return 0;
    mem_guard<uint8_t> words(mem_new_array<uint8_t>(CALS_TILE_BYTES));
    if (!words) return fails(c, RZL_NO_MEMORY, SOURCE, "tile");
    tile_result result = read_tile(c, spec, c->line, words.get());
    if (result == tile_result::failed) return 0;
    if (result == tile_result::damaged) set_flag(c, FLAG_DAMAGED, true);
    mem_guard<uint16_t> runs(mem_new_array<uint16_t>((cit_max_runs(CALS_TILE) + 1) * CALS_TILE));
    if (!runs) return fails(c, RZL_NO_MEMORY, SOURCE, "tile");
    size_t count = 0;
    for (size_t y = 0; y < CALS_TILE; ++y) {
        size_t row = cit_bits_to_runs(CALS_TILE, words.get() + y * CALS_TILE_ROW, runs.get() + count);
        count += row;
        if (row % 2 == 0) runs[count++] = 0;
    }
    size_t bytes = count * sizeof(uint16_t);
    bool fits = bytes <= static_cast<size_t>(std::max(c->rle_size, 0));
    c->rle_size = static_cast<int32_t>(bytes);
    if (!fits) return fails(c, RZL_RLE_BUFFER_SMALL, SOURCE, "tile");
    if (channels == 1 && buffers[0] != nullptr) std::memcpy(buffers[0], runs.get(), bytes);
    ++c->line;
    return CALS_TILE * CALS_TILE;
}
