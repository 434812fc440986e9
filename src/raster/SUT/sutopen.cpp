// SUT catalogs: opening for reading and for writing, closing, and the module.
#include <cstdlib>
#include <cstring>

#include "platform/files.h"
#include "raster/CCITT/citfile.h"
#include "raster/CORE/lines.h"
#include "raster/CORE/standard.h"
#include "raster/SUT/sut.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "SUT/sutopen";

// What the handle has of the full picture.
int take_size(CFILE* c, const sut_level& base) {
    c->xsize = base.image_x;
    c->ysize = base.image_y;
    if (base.tile_size != 0 && rzl_setup_tiles(c, base.tile_size, base.tile_size) != 0) return 1;
    set_flag(c, FLAG_RAW, false);
    c->active_overview = OVERVIEW_BASE;
    return 0;
}

bool copy_colors(CFILE* c, const CFILE* member) {
    constexpr size_t TABLE = 768;
    if (member->color_table == nullptr) return true;
    c->color_table = static_cast<uint8_t*>(mem_alloc(TABLE));
    if (c->color_table == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    std::memcpy(c->color_table, member->color_table, TABLE);
    c->vlt_bits = member->vlt_bits;
    return true;
}

// What the first member is, so is the picture.
void take_member(CFILE* c, const CFILE* member) {
    c->samples = member->samples;
    c->bits = member->bits;
    c->format = member->format;
    c->compression = member->compression;
    c->compression_variant = member->compression_variant;
    c->standard = member->standard;
    c->stands_for = member->stands_for != nullptr ? member->stands_for : member->module;
    set_flag(c, FLAG_SCANNABLE, has_flag(member, FLAG_SCANNABLE));
    for (sut_level* level = &sut_spec_of(c)->base; level != nullptr; level = level->next)
        level->format = member->format;
}

int take_first_member(CFILE* c) {
    char path[FILES_PATH_SIZE];
    if (!sut_member_path(c, sut_spec_of(c)->base.names[0], path, sizeof path)) return 1;
    CFILE* member = open_member(c, path, c->mode);
    if (member == nullptr) return refuse(c, last_status() != 0 ? last_status() : RZL_CANNOT_OPEN, SOURCE, path);
    take_member(c, member);
    bool good = copy_colors(c, member);
    bool closed = rzl_finish(member) == 0;
    return good && (closed || fails(c, RZL_READ_FAILED, SOURCE, path)) ? 0 : 1;
}

// Members are opened by name, so the catalog's own file is not needed any more.
int sut_open(CFILE* c, const char* name) {
    const sut_level& base = sut_spec_of(c)->base;
    if (sut_scan(c) != 0) return 1;
    if (base.tile_size == 0) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "TILESIZE");
    if (!keep_name(c, name) || take_size(c, base) != 0) return 1;
    return take_first_member(c);
}

int32_t standard_of_environment() {
    const char* text = std::getenv("RZL_STANDARD");
    int64_t id = 0;
    bool known = text != nullptr && text_integer(text, std::strlen(text), &id) && id >= 0 && id <= INT32_MAX;
    return known ? static_cast<int32_t>(id) : 0;
}

// The next rzl_open_w() of a catalog creates its members.
int sut_extend(CFILE* c, const char* name) {
    sut_spec* spec = sut_spec_of(c);
    if (!keep_name(c, name)) return 1;
    uint32_t mode = c->mode;
    c->mode = MODE_READ;
    bool opened = reopen_cfile_file(c, name);
    int result = opened ? sut_scan(c) : 1;
    c->mode = mode;
    if (result != 0 || take_size(c, spec->base) != 0) return 1;
    spec->standard = standard_of_environment();
    const standard_row* row = find_standard(spec->standard);
    c->standard = row != nullptr ? spec->standard : RZL_STANDARD_KRVN;
    c->format = spec->base.format;
    if (!format_layout(c->format, &c->samples, &c->bits)) return refuse(c, RZL_NOT_STANDARD, SOURCE, "FORMAT");
    c->stands_for = row != nullptr ? row->module : nullptr;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    set_flag(c, FLAG_PADDED_TILES, true); // so that the core puts tiles, and not lines of them
    return sut_create_members(c);
}

// ---- slots ---------------------------------------------------------------------------------------------------------

int sut_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    if (!format_is_bilevel(c->format) || channels != 1) return fails(c, RZL_UNSUPPORTED, SOURCE, "Getrleline");
    return cit_get_runs(c, buffers[0], RZL_UNSUPPORTED, SOURCE);
}

// A catalog that is written has nothing of its own behind which tiles would be appended.
int64_t sut_get_image_offset(CFILE* c) {
    if (is_writable(c)) return 0;
    CFILE* member = sut_open_member(c, 0);
    return member != nullptr ? member->slots.Get_Image_Offset(member) : 0;
}

int sut_set_active_image(CFILE* c, int32_t image) {
    return image == -1 ? 0 : refuse(c, RZL_UNSUPPORTED, SOURCE, "Set Active Image");
}

int sut_set_number_of_images(CFILE* c, int32_t) {
    return refuse(c, RZL_UNSUPPORTED, SOURCE, "Set Number of Images");
}

void sut_close(CFILE* c) {
    sut_spec* spec = sut_spec_of(c);
    for (sut_level* level = spec != nullptr ? &spec->base : nullptr; level != nullptr; level = level->next)
        sut_close_members(c, level);
}

void free_level(sut_level* level) {
    for (int32_t i = 0; level->names != nullptr && i < level->member_count; ++i)
        mem_free(level->names[i]);
    mem_free(level->names);
    mem_free(level->members);
    level->names = nullptr;
    level->members = nullptr;
}

void sut_free_specs(CFILE* c) {
    sut_spec* spec = sut_spec_of(c);
    if (spec == nullptr) return;
    sut_close(c);
    free_level(&spec->base);
    while (spec->base.next != nullptr) {
        sut_level* level = spec->base.next;
        spec->base.next = level->next;
        free_level(level);
        mem_free(level);
    }
}

constexpr format_slots SLOTS = {
    .Getline = rzl_getline_generic,
    .Getlinefromtile = rzl_getline_from_tiles,
    .Getrleline = sut_get_rle_line,
    .Putline = sut_putline,
    .Put_line = sut_put_line,
    .Gettile = sut_get_tile,
    .Puttile = sut_put_tile,
    .Get_hdr_data = sut_get_hdr_data,
    .Set_hdr_data = sut_set_hdr_data,
    .Get_stat = sut_get_stat,
    .Set_stat = sut_set_stat,
    .Get_vlt = sut_get_vlt,
    .Get_packet = sut_get_packet,
    .Put_Packet = sut_put_packet,
    .setactiveov = sut_set_active_overview,
    .Wrt_hdr = sut_write_header,
    .Set_Number_of_Images = sut_set_number_of_images,
    .Set_Active_Image = sut_set_active_image,
    .Randomize = rzl_randomize_nothing,
    .Close = sut_close,
    .Free_specs = sut_free_specs,
    .Get_Image_Offset = sut_get_image_offset,
};

} // namespace

extern const format_module sut_module;
const format_module sut_module = {
    .word = SOURCE,
    .squetch_word = "SUT squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(sut_spec),
    .traits = MODULE_FIELDS,
    .open = sut_open,
    .extend = sut_extend,
};
