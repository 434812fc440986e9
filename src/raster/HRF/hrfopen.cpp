// HRF files: the headers and the tile table of a file that is opened, and the module.
#include <algorithm>
#include <cstring>

#include "raster/HRF/hrf.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "hrf/hrfopen";

// A tile larger than this, decoded, is not believed: its record has 64 KiB at most.
constexpr int64_t MOST_TILE_BYTES = 1 << 24;
// What a byte of the file can stand for at most, in either coding.
constexpr int64_t MOST_FROM_A_BYTE = 4096;
// A bilevel row of a tile is whole words.
constexpr uint32_t WORD_PIXELS = 16;

int read_header(CFILE* c, hrf_spec* spec, uint32_t* layer) {
    uint8_t h[HRF_HEADER_SIZE];
    if (io_read(c, h, sizeof h) != sizeof h) return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    std::memcpy(spec->version, h + HRF_AT_VERSION, sizeof spec->version);
    bool known = spec->version[0] == '0' && spec->version[1] >= '1' && spec->version[1] <= '3';
    if (!known) return refuse(c, RZL_NOT_STANDARD, SOURCE, "version");
    std::memcpy(spec->date, h + HRF_AT_DATE, HRF_DATE_BYTES);
    spec->big = h[HRF_AT_ORDER] != 0;
    spec->table_form = h[HRF_AT_TABLE_FORM];
    *layer = hrf_u32(h + HRF_AT_LAYER, spec->big);
    return 0;
}

// What the layer record says of the image.
struct layer_sizes {
    uint32_t width, height, tile_width, tile_height;
    uint32_t tiles_across, tiles_down;
};

layer_sizes take_layer(hrf_spec* spec, const uint8_t* r) {
    bool big = spec->big;
    spec->compressed = hrf_u16(r + 50, big) == 1;
    layer_sizes s = {};
    s.height = hrf_u32(r + 52, big);
    s.width = hrf_u32(r + 56, big);
    spec->density_x = hrf_u16(r + 76, big);
    spec->density_y = hrf_u16(r + 78, big);
    spec->unit_x = hrf_u16(r + 80, big);
    spec->unit_y = hrf_u16(r + 82, big);
    s.tiles_across = hrf_u16(r + 84, big);
    s.tiles_down = hrf_u16(r + 86, big);
    s.tile_width = hrf_u32(r + 88, big);
    s.tile_height = hrf_u32(r + 92, big);
    spec->table_offset = hrf_u32(r + HRF_AT_TABLE_OFFSET, big);
    spec->offset_x = hrf_u16(r + 100, big);
    spec->offset_y = hrf_u16(r + 102, big);
    spec->depth = hrf_u16(r + 108, big);
    return s;
}

// The sizes go together with each other and with what a tile record and the file can hold.
int check_sizes(CFILE* c, const hrf_spec* spec, const layer_sizes& s) {
    constexpr uint32_t MOST = INT32_MAX - UINT16_MAX;
    bool depth = spec->depth == 1 || spec->depth == 8 || spec->depth == 24;
    if (!depth) return refuse(c, RZL_UNSUP_IR, SOURCE, "HRF");
    bool sides = s.width >= 1 && s.width <= MOST && s.height >= 1 && s.height <= MOST;
    if (!sides) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, nullptr);
    int64_t pixels = int64_t{s.tile_width} * s.tile_height;
    bool tile = s.tile_width >= 1 && s.tile_height >= 1 && s.tile_width <= MOST && pixels <= MOST_TILE_BYTES * 8 &&
                (spec->depth != 1 || s.tile_width % WORD_PIXELS == 0);
    int64_t bytes = tile ? pixels * spec->depth / 8 : 0;
    int64_t most = spec->compressed ? MOST_TILE_BYTES : static_cast<int64_t>(HRF_MOST_DATA);
    if (!tile || bytes > most) return refuse(c, RZL_BAD_TILE_SIZE, SOURCE, nullptr);
    auto over = [](int64_t size, int64_t side) { return (size + side - 1) / side; };
    bool counts = over(int64_t{s.width} + spec->offset_x, s.tile_width) == s.tiles_across &&
                  over(int64_t{s.height} + spec->offset_y, s.tile_height) == s.tiles_down;
    if (!counts) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "tile counts");
    // A row of tiles is held at a time.
    int64_t size = io_size(c);
    bool held = size < 0 || bytes * s.tiles_across / MOST_FROM_A_BYTE <= size;
    return held ? 0 : refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
}

int read_layer(CFILE* c, hrf_spec* spec, uint32_t place) {
    uint8_t r[HRF_LAYER_HEAD + HRF_LAYER_RECORD];
    bool read = io_seek(c, place) && io_read(c, r, sizeof r) == sizeof r;
    if (!read) return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    const uint8_t* layer = r + HRF_LAYER_HEAD;
    if (r[2] != 1 || layer[2] != 3) return refuse(c, RZL_NOT_STANDARD, SOURCE, "layer");
    layer_sizes s = take_layer(spec, layer);
    if (check_sizes(c, spec, s) != 0) return 1;
    spec->table_field_position = int64_t{place} + static_cast<int64_t>(HRF_LAYER_HEAD + HRF_AT_TABLE_OFFSET);
    hrf_take_format(c);
    c->xsize = static_cast<int32_t>(s.width) + spec->offset_x;
    c->ysize = static_cast<int32_t>(s.height) + spec->offset_y;
    int result = rzl_setup_tiles(c, static_cast<int32_t>(s.tile_width), static_cast<int32_t>(s.tile_height));
    c->xsize -= spec->offset_x;
    c->ysize -= spec->offset_y;
    return result;
}

// Only the offsets are kept.
int read_table(CFILE* c, hrf_spec* spec) {
    constexpr size_t BLOCK_ENTRIES = 4096;
    constexpr size_t MOST_ENTRY = 8;
    uint8_t head[HRF_RECORD_HEAD];
    bool read = io_seek(c, spec->table_offset) && io_read(c, head, sizeof head) == sizeof head;
    if (!read) return refuse(c, RZL_READ_FAILED, SOURCE, "tile table");
    if (head[2] != HRF_TABLE_RECORD) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "tile table");
    size_t entry = spec->table_form == 1 ? MOST_ENTRY : MOST_ENTRY - 2;
    size_t count = size_t{c->tile->tiles_across} * c->tile->tiles_down;
    if (!io_has(c, count * entry)) return refuse(c, RZL_READ_FAILED, SOURCE, "tile table");
    spec->tile_offsets = mem_new_array<uint32_t>(count);
    mem_guard<uint8_t> block(mem_new_array<uint8_t>(BLOCK_ENTRIES * MOST_ENTRY));
    if (spec->tile_offsets == nullptr || !block) return refuse(c, RZL_NO_MEMORY, SOURCE, "tile table");
    for (size_t done = 0; done < count;) {
        size_t now = std::min(BLOCK_ENTRIES, count - done);
        if (io_read(c, block.get(), now * entry) != now * entry)
            return refuse(c, RZL_READ_FAILED, SOURCE, "tile table");
        for (size_t i = 0; i < now; ++i)
            spec->tile_offsets[done + i] = hrf_u32(block.get() + i * entry, spec->big);
        done += now;
    }
    return 0;
}

int hrf_open(CFILE* c, const char*) {
    hrf_spec* spec = hrf_spec_of(c);
    uint32_t layer = 0;
    bool good = read_header(c, spec, &layer) == 0 && read_layer(c, spec, layer) == 0 && read_table(c, spec) == 0;
    if (!good) return 1;
    spec->data = mem_new_array<uint8_t>(HRF_MOST_DATA);
    spec->tile = mem_new_array<uint8_t>(hrf_tile_bytes(c) + TIF_LZW_SLACK);
    if (spec->data == nullptr || spec->tile == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    spec->end = io_size(c);
    set_flag(c, FLAG_PADDED_TILES, true);
    // An image that begins inside of its first tiles has no lines that tiles give as they are.
    if (spec->offset_x != 0 || spec->offset_y != 0) set_flag(c, FLAG_TILED, false);
    return 0;
}

int hrf_initialise(CFILE* c) {
    hrf_spec* spec = hrf_spec_of(c);
    std::memcpy(spec->version, "03", sizeof spec->version);
    spec->table_form = 1;
    spec->compressed = true;
    spec->depth = c->samples == 3 ? 24 : c->bits == 1 ? 1 : 8;
    spec->unit_x = spec->unit_y = HRF_DOTS_AN_INCH;
    hrf_take_format(c);
    return 0;
}

void hrf_free_specs(CFILE* c) {
    hrf_spec* spec = hrf_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->tile_offsets);
    mem_free(spec->data);
    mem_free(spec->tile);
    mem_free(spec->coded);
    mem_free(spec->lines);
    mem_free(spec->lzw);
    *spec = {};
    rzl_forget_lines(c);
}

// Where tiles may begin.
int64_t hrf_image_offset(CFILE*) {
    return HRF_FIRST_TILE;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE_RUNS, RZL_FORMAT_BILEVEL_RUNS, RZL_FORMAT_PLANE_RUNS,
                               RZL_FORMAT_BYTE,      RZL_FORMAT_BILEVEL,      RZL_FORMAT_RGB};

constexpr format_slots SLOTS = {
    .Getline = rzl_getline_generic,
    .Get_line = hrf_get_line_offset,
    .Getlinefromtile = rzl_getline_from_tiles,
    .Getrleline = hrf_get_rle_line,
    .Putline = hrf_put_line,
    .Gettile = hrf_get_tile,
    .Puttile = hrf_put_tile,
    .Getrletile = hrf_get_rle_tile,
    .Gettilerows = hrf_get_tile_rows,
    .Get_hdr_data = hrf_get_hdr_data,
    .Set_hdr_data = hrf_set_hdr_data,
    .Wrt_hdr = hrf_write_header,
    .Randomize = rzl_randomize_nothing,
    .Close = hrf_close,
    .Free_specs = hrf_free_specs,
    .Get_Image_Offset = hrf_image_offset,
};

} // namespace

extern const format_module hrf_module;
const format_module hrf_module = {
    .word = SOURCE,
    .slots = &SLOTS,
    .spec_size = sizeof(hrf_spec),
    .formats = FORMATS,
    .traits = MODULE_NO_TABLE,
    .open = hrf_open,
    .initialise = hrf_initialise,
};

size_t hrf_row_bytes(const CFILE* c) {
    const hrf_spec* spec = hrf_spec_of(c);
    return spec->depth == 1 ? c->tile->width / 8 : size_t{c->tile->width} * static_cast<size_t>(spec->depth / 8);
}
size_t hrf_tile_bytes(const CFILE* c) {
    return hrf_row_bytes(c) * c->tile->height;
}
