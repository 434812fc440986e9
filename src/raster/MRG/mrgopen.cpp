// MRG map files: the header that is opened, its colours, and the raster beside it.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "raster/MRG/mrg.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "MRG/mrgopen";
constexpr size_t LETTER_FROM_END = 5; // of the name: the character that differs between header and raster
constexpr size_t LEAST_NAME = 6;
constexpr size_t RECORD_BYTES = 9; // of a colour
constexpr int32_t ROW_BLOCK = 32;
constexpr size_t TABLE_COLORS = 256;

bool ends_with(const char* name, size_t length, const char* ending) {
    size_t size = std::strlen(ending);
    return length >= size && std::strcmp(name + length - size, ending) == 0;
}

// The form of a header of that name, and the letter of its raster; null when it is no name of a header.
const mrg_form* form_of_name(const char* name, char* letter) {
    size_t length = name != nullptr ? std::strlen(name) : 0;
    if (length < LEAST_NAME) return nullptr;
    if (ends_with(name, length, "241.mrg") || ends_with(name, length, "241.MRG")) {
        *letter = '3';
        return &MRG_FORMS[0];
    }
    bool lower = ends_with(name, length, "h.mrg") || ends_with(name, length, "p.mrg");
    bool upper = ends_with(name, length, "H.MRG") || ends_with(name, length, "P.MRG");
    *letter = lower ? 'r' : 'R';
    return lower || upper ? &MRG_FORMS[1] : nullptr;
}

bool number_at(const mrg_spec* spec, mrg_place place, int64_t* value) {
    return text_integer(spec->header + place.at, place.width, value);
}

bool is_blank_at(const mrg_spec* spec, mrg_place place) {
    const char* text = spec->header + place.at;
    return std::all_of(text, text + place.width, [](char c) { return c == ' ' || c == '\0'; });
}

int take_sizes(CFILE* c, mrg_spec* spec) {
    const mrg_form* form = spec->form;
    int64_t strips = 0;
    int64_t blocks = 0;
    int64_t planes = 0;
    int64_t colors = 0;
    bool good = number_at(spec, form->strips, &strips) && number_at(spec, form->row_blocks, &blocks) &&
                number_at(spec, form->planes, &planes) && strips > 0 && blocks > 0 && planes > 0;
    good = good && (is_blank_at(spec, form->colors) || number_at(spec, form->colors, &colors)) && colors >= 0;
    if (!good) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    if (planes > MRG_MOST_PLANES) return refuse(c, RZL_UNSUPPORTED, SOURCE, "bit planes");
    c->xsize = static_cast<int32_t>(strips * MRG_TILE);
    c->ysize = static_cast<int32_t>(blocks * ROW_BLOCK);
    c->format = RZL_FORMAT_BYTE;
    c->samples = 1;
    c->bits = static_cast<int32_t>(planes);
    spec->color_count = static_cast<int32_t>(colors);
    return rzl_setup_tiles(c, MRG_TILE, MRG_TILE);
}

// The colours of the values from 1 on; value 0 is white.
int read_colors(CFILE* c, const mrg_spec* spec) {
    if (spec->color_count == 0) return 0;
    mrg_place scale = spec->form->percent;
    bool percent = scale.width > 0 && spec->header[scale.at] != '0';
    auto count = static_cast<size_t>(spec->color_count);
    mem_guard<uint8_t> records(io_read_block(c, count * RECORD_BYTES, 0, SOURCE, "colours"));
    if (!records) return 1;
    c->color_table = static_cast<uint8_t*>(mem_alloc_zeroed(TABLE_COLORS * 3));
    if (c->color_table == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "colours");
    std::memset(c->color_table, 255, 3);
    const char* text = reinterpret_cast<const char*>(records.get());
    for (size_t i = 0; i < count * 3; ++i) {
        int64_t value = 0;
        if (!text_integer(text + i * 3, 3, &value)) return refuse(c, RZL_READ_FAILED, SOURCE, "colours");
        if (percent) value = value * 255 / 100;
        c->color_table[3 + i] = static_cast<uint8_t>(std::clamp<int64_t>(value, 0, 255));
    }
    c->vlt_bits = 8;
    return 0;
}

// The raster takes the place of the header in the handle.
int open_raster(CFILE* c, const char* name, char letter) {
    char raster[FILES_PATH_SIZE];
    size_t length = std::strlen(name);
    if (length >= sizeof raster) return refuse(c, RZL_CANNOT_OPEN, SOURCE, name);
    std::memcpy(raster, name, length + 1);
    raster[length - LETTER_FROM_END] = letter;
    (void)close_cfile_file(c);
    // Planes are read in pieces that lie far apart, for which a view would bring in many times as much.
    if (!reopen_cfile_file(c, raster) || rzl_set_mapped(c, false) != 0) return 1;
    int64_t size = io_size(c);
    if (size >= 0 && size < mrg_least_bytes(c)) return refuse(c, RZL_READ_FAILED, SOURCE, raster);
    return 0;
}

int mrg_open(CFILE* c, const char* name) {
    mrg_spec* spec = mrg_spec_of(c);
    char letter = 0;
    spec->form = form_of_name(name, &letter);
    if (spec->form == nullptr) {
        rzl_warn("Error MRG Header filename should end \"h.mrg\", \"p.mrg\", \"241.mrg\"\n");
        return refuse(c, RZL_READ_FAILED, SOURCE, name);
    }
    size_t size = spec->form->header_size;
    if (io_read(c, spec->header, size) != size) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    if (take_sizes(c, spec) != 0 || read_colors(c, spec) != 0) return 1;
    auto planes = static_cast<size_t>(c->bits);
    spec->plane_buffer = mem_new_array<uint8_t>(planes * MRG_PLANE_BYTES + MRG_TILE_PIXELS);
    if (spec->plane_buffer == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "planes");
    return open_raster(c, name, letter);
}

void mrg_free_specs(CFILE* c) {
    mrg_spec* spec = mrg_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->plane_buffer);
    spec->plane_buffer = nullptr;
}

constexpr field_type TYPES[] = {{RZL_FIELD_MRG, field_kind::record, 0}};

constexpr format_slots SLOTS = {
    .Getline = mrg_getline,
    .Getlinefromtile = rzl_getline_from_tiles,
    .Gettile = mrg_get_tile,
    .Gettilerows = mrg_get_tile_rows,
    .Get_hdr_data = mrg_get_hdr_data,
    .Get_vlt = mrg_get_vlt,
    .Seek = [](CFILE* c, int32_t number) { return rzl_seek_tiled(c, number, "seek"); },
    .Randomize = rzl_randomize_nothing,
    .Free_specs = mrg_free_specs,
};

} // namespace

extern const format_module mrg_module;
const format_module mrg_module = {
    .word = SOURCE,
    .slots = &SLOTS,
    .spec_size = sizeof(mrg_spec),
    .types = TYPES,
    .open = mrg_open,
};
