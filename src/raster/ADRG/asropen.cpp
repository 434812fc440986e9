// ASRP and USRP map sets: opening the files of a set, and the module.
#include <cstring>

#include "raster/ADRG/asrp.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "asrp/asropen";

constexpr set_word WORDS[] = {
    {".IMG", ".img", set_part::image},
    {".L", ".l", set_part::legend},
};

constexpr int64_t ASRP_BASE = 4095; // what tile places of an ASRP set are counted from

int asrp_open(CFILE* c, const char* path) {
    constexpr size_t NUMBER = 2; // of the image in its set
    asrp_spec* spec = asrp_spec_of(c);
    set_name name;
    if (!set_take_name(path, WORDS, &name)) return refuse(c, RZL_READ_FAILED, SOURCE, path);
    c->mode = MODE_READ;
    const char* ending = name.part == set_part::image ? "01.GEN" : "01.SOU";
    if (!set_open_beside(c, name, NUMBER, ending) || asrp_read_description(c, name) != 0) return 1;
    // A set without colours is grey.
    if (set_has_beside(name, NUMBER, "01.QAL") &&
        (!set_open_beside(c, name, NUMBER, "01.QAL") || asrp_read_colors(c) != 0))
        return 1;
    if (!set_open_image(c, name)) return 1;
    c->standard = spec->usrp ? RZL_STANDARD_USRP : RZL_STANDARD_ASRP;
    c->base_offset = spec->usrp ? 0 : ASRP_BASE;
    c->compression = c->compression_variant = 1;
    int result = set_make_tiles(c, spec->column_blocks, spec->row_blocks, spec->tile_width, spec->tile_height, false);
    if (result != 0) return 1;
    if (!asrp_settle_coding(c)) return refuse(c, RZL_UNSUPPORTED, SOURCE, "coding of tiles");
    spec->tile = mem_new_array<uint8_t>(asrp_tile_pixels(spec) + ASRP_TILE_SLACK);
    return spec->tile != nullptr ? 0 : refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

void asrp_free_specs(CFILE* c) {
    asrp_spec* spec = asrp_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->tile_map);
    mem_free(spec->tile);
    *spec = {};
}

constexpr format_slots SLOTS = {
    .Getline = rzl_getline_generic,
    .Get_line = rzl_getline_from_tiles,
    .Getlinefromtile = rzl_getline_from_tiles,
    .Getrleline = set_get_rle_line,
    .Gettile = asrp_get_tile,
    .Gettilerows = asrp_get_tile_rows,
    .Get_hdr_data = asrp_get_hdr_data,
    .Get_vlt = asrp_get_vlt,
    .Seek = [](CFILE* c, int32_t number) { return rzl_seek_tiled(c, number, "RZL_asrp_seek"); },
    .Randomize = rzl_randomize_nothing,
    .Free_specs = asrp_free_specs,
};

} // namespace

extern const format_module asrp_module;
const format_module asrp_module = {
    .word = SOURCE,
    .slots = &SLOTS,
    .spec_size = sizeof(asrp_spec),
    .open = asrp_open,
};
