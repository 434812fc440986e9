// ADRG map sets: the description files, and the module.
#include <cstring>

#include "raster/ADRG/adrg.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "ADRE/adropen";

constexpr set_word WORDS[] = {
    {".OVR", ".ovr", set_part::overview},
    {".IMG", ".img", set_part::image},
    {".CPH", ".cph", set_part::picture},
    {".L", ".l", set_part::legend},
};

// Places behind the id of the record of an image, by part: where its name and where the tile counts stand.
constexpr int64_t IMAGE_NAME = 4;
constexpr size_t IMAGE_NAME_WIDTH = 9;
constexpr int64_t IMAGE_COUNTS = 256;
constexpr int64_t OVERVIEW_COUNTS = 76;
constexpr size_t LEGEND_NAME_WIDTH = 8;
constexpr int64_t LEGEND_COUNTS = 34;
constexpr size_t COUNTS_WIDTH = 6;  // tiles down, tiles across
constexpr int64_t MAP_FLAG = 29;    // behind the counts
constexpr int64_t BANDS_THREE = 47; // from behind the flag to the tile map: what is told of the bands
constexpr int64_t BANDS_ONE = 17;
constexpr int64_t ID_WIDTH = 5;

int refuse_set(CFILE* c, const char* detail, int line = __builtin_LINE()) {
    return refuse(c, RZL_READ_FAILED, SOURCE, detail, line);
}

// ---- the kind

// Whether the record at `place` has the word of a kind, which is then stored.
bool take_kind(CFILE* c, int64_t place, adrg_spec* spec) {
    iso_leader leader;
    if (!iso_read_leader(c, place, &leader) || !io_seek(c, place)) return false;
    mem_guard<uint8_t> record(io_read_block(c, static_cast<uint64_t>(leader.length), 1, SOURCE, "kind"));
    if (!record) return false;
    auto length = static_cast<size_t>(leader.length);
    bool three = memmem(record.get(), length, "ADRG", 4) != nullptr;
    bool one = !three && memmem(record.get(), length, "ADRI", 4) != nullptr;
    if (three || one) spec->kind = three ? RZL_FORMAT_PLANE_RUNS : RZL_FORMAT_BYTE;
    return three || one;
}

// The word stands in the first record, or, where that tells of the other records only, in one of the two behind it.
int find_kind(CFILE* c, adrg_spec* spec) {
    constexpr int RECORDS = 3;
    int64_t place = 0;
    for (int i = 0; i < RECORDS; ++i) {
        if (take_kind(c, place, spec)) return 0;
        if (c->status == RZL_NO_MEMORY) return 1;
        c->status = 0;
        if (!iso_skip_records(c, &place, 1)) break;
    }
    return refuse(c, RZL_NOT_STANDARD, SOURCE, "kind");
}

// ---- the record of the image

// Where the fields of the record at `place` stand behind its id, which they may lack. -1 when it is no record.
int64_t fields_of(CFILE* c, int64_t place) {
    iso_leader leader;
    uint8_t end = 0;
    if (!iso_read_leader(c, place, &leader)) return -1;
    int64_t fields = place + leader.base;
    bool has_id = iso_read_at(c, fields + ID_WIDTH, &end, 1) && end == ISO_FIELD_END;
    return has_id ? fields + ID_WIDTH + 1 : fields;
}

// The fields of the first record from `place` on whose name is in the file's; -1 when there is none.
int64_t find_named(CFILE* c, const set_name& name, int64_t place, int64_t at, size_t width) {
    char text[16];
    do {
        int64_t fields = fields_of(c, place);
        if (fields < 0) return -1;
        if (iso_read_at(c, fields + at, text, width) && set_name_has(name, text, width)) return fields;
    } while (iso_skip_records(c, &place, 1));
    return -1;
}

// Numbers of up to five digits; what is none between two ends them.
bool read_map(CFILE* c, adrg_spec* spec, size_t count) {
    constexpr int MOST_DIGITS = 5;
    for (size_t i = 0; i < count; ++i) {
        int byte = io_getc(c);
        while (byte >= 0 && !is_digit(byte))
            byte = io_getc(c);
        if (byte < 0) return fails(c, RZL_READ_FAILED, SOURCE, "tile map");
        int32_t number = byte - '0';
        for (int digits = 1; digits < MOST_DIGITS; ++digits) {
            byte = io_getc(c);
            if (byte < 0) return fails(c, RZL_READ_FAILED, SOURCE, "tile map");
            if (!is_digit(byte)) break; // a separator, which is passed over
            number = number * 10 + byte - '0';
        }
        spec->tile_map[i] = number;
    }
    return true;
}

bool take_counts(CFILE* c, adrg_spec* spec, int64_t place) {
    char text[COUNTS_WIDTH];
    int64_t down = 0;
    int64_t across = 0;
    bool good = iso_read_at(c, place, text, sizeof text) && text_integer(text, 3, &down) &&
                text_integer(text + 3, 3, &across) && down > 0 && across > 0;
    spec->tiles_down = static_cast<int32_t>(down);
    spec->tiles_across = static_cast<int32_t>(across);
    return good;
}

bool allocate_map(CFILE* c, adrg_spec* spec) {
    auto count = static_cast<size_t>(spec->tiles_across) * static_cast<size_t>(spec->tiles_down);
    spec->tile_map = mem_new_array<int32_t>(count);
    if (spec->tile_map == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "tile map");
    for (size_t i = 0; i < count; ++i)
        spec->tile_map[i] = static_cast<int32_t>(i) + 1;
    return true;
}

// The tile counts at `place`, and the map behind them.
int take_tiles(CFILE* c, adrg_spec* spec, int64_t place) {
    uint8_t flag = 0;
    int64_t at = place + static_cast<int64_t>(COUNTS_WIDTH) + MAP_FLAG;
    bool good = take_counts(c, spec, place) && iso_read_at(c, at, &flag, 1) && (flag == 'Y' || flag == 'N');
    if (!good) return refuse_set(c, "tile counts");
    if (!allocate_map(c, spec)) return 1;
    if (flag == 'N') return 0;
    int64_t bands = spec->kind == RZL_FORMAT_PLANE_RUNS ? BANDS_THREE : BANDS_ONE;
    if (!io_seek(c, at + 1 + bands)) return refuse_set(c, "tile map");
    auto count = static_cast<size_t>(spec->tiles_across) * static_cast<size_t>(spec->tiles_down);
    return read_map(c, spec, count) ? 0 : 1;
}

// Name, corners and scale behind the id of an image's record; what is not there stays 0.
void take_map_info(CFILE* c, adrg_spec* spec, int64_t fields) {
    constexpr size_t NAME_WIDTH = 8;
    constexpr int64_t NAME = 4;
    constexpr struct {
        int64_t at;
        size_t width;
    } CORNERS[4] = {{29, 11}, {40, 10}, {71, 11}, {82, 10}};
    constexpr int64_t SCALE = 113;
    constexpr size_t SCALE_WIDTH = 9;
    char text[16];
    if (iso_read_at(c, fields + NAME, text, NAME_WIDTH)) std::memcpy(spec->map.title, text, NAME_WIDTH);
    for (size_t i = 0; i < 4; ++i) {
        double number = 0;
        bool there = iso_read_at(c, fields + CORNERS[i].at, text, CORNERS[i].width) &&
                     text_number(text, CORNERS[i].width, &number);
        if (!there) return;
        spec->map.corners[i] = degrees_of_dms(number);
    }
    spec->map.corner_count = 4;
    if (iso_read_at(c, fields + SCALE, text, SCALE_WIDTH)) (void)text_number(text, SCALE_WIDTH, &spec->map.scale);
}

// ---- the parts of a set

int open_image(CFILE* c, adrg_spec* spec, const set_name& name) {
    constexpr size_t NUMBER = 2; // of the image in its set
    int64_t place = 0;
    if (!set_open_beside(c, name, NUMBER, "01.GEN") || find_kind(c, spec) != 0) return 1;
    bool skipped = iso_skip_records(c, &place, 3);
    int64_t fields = skipped ? find_named(c, name, place, IMAGE_NAME, IMAGE_NAME_WIDTH) : -1;
    if (fields < 0) return refuse_set(c, "no such image");
    if (take_tiles(c, spec, fields + IMAGE_COUNTS) != 0) return 1;
    take_map_info(c, spec, fields);
    return 0;
}

int open_overview(CFILE* c, adrg_spec* spec, const set_name& name) {
    int64_t place = 0;
    if (!set_open_beside(c, name, 0, ".GEN") || find_kind(c, spec) != 0) return 1;
    int64_t fields = iso_skip_records(c, &place, 2) ? fields_of(c, place) : -1;
    return fields >= 0 ? take_tiles(c, spec, fields + OVERVIEW_COUNTS) : refuse_set(c, "no overview");
}

int open_legend(CFILE* c, adrg_spec* spec, const set_name& name) {
    int64_t place = 0;
    spec->kind = RZL_FORMAT_PLANE_RUNS;
    if (!set_open_beside(c, name, 0, ".SOU")) return 1;
    int64_t fields = iso_skip_records(c, &place, 2) ? find_named(c, name, place, 0, LEGEND_NAME_WIDTH) : -1;
    return fields >= 0 ? take_tiles(c, spec, fields + LEGEND_COUNTS) : refuse_set(c, "no such legend");
}

// A picture of a fixed size, with nothing beside it.
int open_picture(CFILE* c, adrg_spec* spec) {
    constexpr int32_t PICTURE_TILES = 4;
    spec->kind = RZL_FORMAT_PLANE_RUNS;
    spec->tiles_across = spec->tiles_down = PICTURE_TILES;
    return allocate_map(c, spec) ? 0 : 1;
}

int open_part(CFILE* c, adrg_spec* spec, const set_name& name) {
    switch (name.part) {
    case set_part::overview: return open_overview(c, spec, name);
    case set_part::image: return open_image(c, spec, name);
    case set_part::picture: return open_picture(c, spec);
    default: return open_legend(c, spec, name);
    }
}

int adrg_open(CFILE* c, const char* path) {
    adrg_spec* spec = adrg_spec_of(c);
    set_name name;
    if (!set_take_name(path, WORDS, &name)) return refuse_set(c, path);
    c->mode = MODE_READ;
    if (open_part(c, spec, name) != 0 || !set_open_image(c, name)) return 1;
    bool colors = spec->kind == RZL_FORMAT_PLANE_RUNS;
    if (set_make_tiles(c, spec->tiles_across, spec->tiles_down, ADRG_TILE, ADRG_TILE, colors) != 0) return 1;
    spec->plane = mem_new_array<uint8_t>(ADRG_PLANE_BYTES);
    return spec->plane != nullptr ? 0 : refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

void adrg_free_specs(CFILE* c) {
    adrg_spec* spec = adrg_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->tile_map);
    mem_free(spec->plane);
    *spec = {};
}

constexpr format_slots SLOTS = {
    .Getline = rzl_getline_generic,
    .Get_line = rzl_getline_from_tiles,
    .Getlinefromtile = rzl_getline_from_tiles,
    .Getrleline = set_get_rle_line,
    .Gettile = adrg_get_tile,
    .Gettilerows = adrg_get_tile_rows,
    .Get_hdr_data = adrg_get_hdr_data,
    .Seek = [](CFILE* c, int32_t number) { return rzl_seek_tiled(c, number, "cdras_seek"); },
    .Randomize = rzl_randomize_nothing,
    .Free_specs = adrg_free_specs,
};

} // namespace

extern const format_module adrg_module;
const format_module adrg_module = {
    .word = SOURCE,
    .slots = &SLOTS,
    .spec_size = sizeof(adrg_spec),
    .open = adrg_open,
};
