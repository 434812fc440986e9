// CALS files: the header of text, opening, and the module.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "raster/CALS/cals.h"
#include "raster/CALS/calskeys.h"
#include "raster/CCITT/ccitt.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CALS/calsopen";
constexpr uint8_t PROFILE_TAG = 0xA0; // the interchange begins with it

// ---- values of records ---------------------------------------------------------------------------------------------

bool two_numbers(const char* text, int64_t* first, int64_t* second) {
    const char* comma = std::strchr(text, ',');
    *first = *second = 0;
    if (comma == nullptr) return false;
    return text_integer(text, static_cast<size_t>(comma - text), first) &&
           text_integer(comma + 1, std::strlen(comma + 1), second);
}

int take_rotation(CFILE* c, cals_spec* spec, const char* text) {
    int64_t path = 0;
    int64_t turn = 0;
    spec->orientation = two_numbers(text, &path, &turn) ? cals_orientation_of(path, turn) : -1;
    return spec->orientation >= 0 ? 0 : refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "rorient");
}

int take_size(CFILE* c, const char* text) {
    int64_t width = 0;
    int64_t height = 0;
    bool good = two_numbers(text, &width, &height) && width > 0 && width <= CALS_MOST_PIXELS && height > 0 &&
                height <= INT32_MAX;
    if (!good) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "rpelcnt");
    c->xsize = static_cast<int32_t>(width);
    c->ysize = static_cast<int32_t>(height);
    return 0;
}

// A number that is none counts as not told.
int32_t small_number(const char* text) {
    int64_t number = 0;
    (void)text_integer(text, std::strlen(text), &number);
    return static_cast<int32_t>(std::clamp<int64_t>(number, 0, INT32_MAX));
}

int take_value(CFILE* c, const cals_key& key, const char* text) {
    cals_spec* spec = cals_spec_of(c);
    switch (key.kind) {
    case cals_value::text: std::snprintf(spec->texts[key.text], CALS_RECORD, "%s", text); return 0;
    case cals_value::type: spec->type = small_number(text); return 0;
    case cals_value::rotation: return take_rotation(c, spec, text);
    case cals_value::size: return take_size(c, text);
    case cals_value::density: spec->density = small_number(text); return 0;
    }
    return 0;
}

// One record: what stands before the colon is the key; the value begins behind it and one blank. Records without a
// colon say nothing.
int take_record(CFILE* c, const char* record) {
    char line[CALS_RECORD + 1] = {};
    std::memcpy(line, record, CALS_RECORD);
    char* colon = std::strchr(line, ':');
    if (colon == nullptr) return 0;
    char* value = colon + (colon[1] == ' ' ? 2 : 1);
    for (size_t n = std::strlen(value); n > 0 && is_blank(value[n - 1]); --n)
        value[n - 1] = '\0';
    while (colon > line && is_blank(colon[-1]))
        --colon;
    *colon = '\0';
    for (const cals_key& key : cals_keys_of(cals_spec_of(c)->variant)) {
        if (std::strcmp(key.word, line) == 0) return take_value(c, key, value);
    }
    return refuse(c, RZL_BAD_FIELD_ID, SOURCE, line);
}

int read_text_header(CFILE* c) {
    cals_spec* spec = cals_spec_of(c);
    char header[CALS_HEADER];
    if (!io_seek(c, 0) || io_read(c, header, sizeof header) != sizeof header)
        return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    cals_clear_texts(spec);
    for (size_t i = 0; i < CALS_RECORDS; ++i)
        if (take_record(c, header + i * CALS_RECORD) != 0) return 1;
    c->format = RZL_FORMAT_GROUP4;
    bool complete = spec->type != 0 && spec->orientation >= 0 && c->xsize > 0 && c->ysize > 0;
    return complete ? 0 : refuse(c, RZL_NOT_STANDARD_2, SOURCE, "header");
}

// ---- opening -------------------------------------------------------------------------------------------------------

int find_form(CFILE* c, cals_spec* spec) {
    char first[CALS_RECORD] = {};
    if (io_read(c, first, sizeof first) == 0) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    spec->variant = ' ';
    if (std::strncmp(first, "specversion:", 12) == 0) spec->variant = 'B';
    if (std::strncmp(first, "srcdocid:", 9) == 0) spec->variant = 'A';
    if (spec->variant != ' ') return read_text_header(c);
    if (static_cast<uint8_t>(first[0]) != PROFILE_TAG) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    spec->type = 2;
    return io_seek(c, 0) ? 0 : refuse(c, RZL_READ_FAILED, SOURCE, "header");
}

// The record of where tiles stand: an entry each, or as many as there are bytes for, when that is less. A tile whose
// kind is told may have none.
int make_places(CFILE* c, cals_spec* spec) {
    int64_t tiles = int64_t{c->tile->tiles_across} * c->tile->tiles_down;
    int64_t most = std::max(spec->kind_count, (spec->file_size - spec->data_offset) / 2 + 1);
    spec->places_room = std::min(tiles, most);
    spec->places = mem_new_array<int64_t>(static_cast<size_t>(spec->places_room));
    if (spec->places == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "tiles");
    spec->places[0] = spec->data_offset;
    spec->places_known = 1;
    return 0;
}

int find_content(CFILE* c, cals_spec* spec) {
    spec->data_end = INT64_MAX;
    if (spec->type != 2) {
        spec->data_offset = io_tell(c);
        return 0;
    }
    if (spec->tile_size != 0) {
        spec->data_offset = io_tell(c);
        if (rzl_setup_tiles(c, CALS_TILE, CALS_TILE) != 0) return 1;
        set_flag(c, FLAG_PADDED_TILES, true);
        return make_places(c, spec);
    }
    int64_t length = cals_content_length(c);
    if (length < 0) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "content");
    spec->data_offset = io_tell(c);
    spec->data_end = spec->data_offset + length;
    return 0;
}

void set_constants(CFILE* c) {
    c->samples = 1;
    c->bits = 1;
    c->vlt_bits = 0;
    c->compression = CLASS_CCITT;
    c->compression_variant = 4;
    set_flag(c, FLAG_NATIVE, false);
}

// Room for a line of plain bits: no larger than what the file has of them.
int make_row(CFILE* c, cals_spec* spec) {
    if (spec->tile_size != 0 || cals_is_coded(c)) return 0;
    int64_t held = std::min(spec->data_end, spec->file_size) - spec->data_offset;
    if (held < static_cast<int64_t>(cals_row_bytes(c))) return refuse(c, RZL_READ_FAILED, SOURCE, "content");
    spec->row = mem_new_array<uint8_t>(cals_row_bytes(c));
    return spec->row != nullptr ? 0 : refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

int cals_open(CFILE* c, const char*) {
    cals_spec* spec = cals_spec_of(c);
    spec->orientation = -1;
    spec->aspect = 1.0;
    spec->level = 33;
    spec->file_size = io_size(c);
    set_constants(c);
    c->xsize = c->ysize = 0;
    c->ccitt = mem_new<ccitt_record>();
    if (c->ccitt == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (find_form(c, spec) != 0) return 1;
    if (spec->type == 2 && cals_read_oda(c) != 0) return 1;
    if (find_content(c, spec) != 0 || make_row(c, spec) != 0) return 1;
    return spec->height_of_page && spec->tile_size == 0 ? cals_count_lines(c) : 0;
}

int cals_initialise(CFILE* c) {
    cals_spec* spec = cals_spec_of(c);
    spec->variant = 'B';
    spec->orientation = RZL_TOP_DOWN;
    spec->type = 1;
    spec->level = 33;
    spec->aspect = 1.0;
    cals_clear_texts(spec);
    set_constants(c);
    c->format = RZL_FORMAT_GROUP4;
    c->ccitt = mem_new<ccitt_record>();
    return c->ccitt != nullptr ? 0 : refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

void cals_free_specs(CFILE* c) {
    cals_spec* spec = cals_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->kinds);
    mem_free(spec->places);
    mem_free(spec->row);
    cit_writer_free(spec->writer);
    spec->kinds = nullptr;
    spec->places = nullptr;
    spec->row = nullptr;
    spec->writer = nullptr;
}

int cals_set_number_of_images(CFILE* c, int32_t count) {
    return count == 1 ? 0 : refuse(c, RZL_NO_SUCH_IMAGE, SOURCE, "Set Number of Images");
}

int64_t cals_get_image_offset(CFILE*) {
    return 0;
}

// Lines as bits go into a file of type 1 as code: it can hold nothing else.
constexpr int32_t FORMATS[] = {RZL_FORMAT_GROUP4, RZL_FORMAT_BILEVEL};

constexpr field_limit LIMITS[] = {{RZL_FIELD_ORIENTATION, 0, 7}};

constexpr uint16_t TEXT = CALS_RECORD;
constexpr field_type TYPES[] = {
    {RZL_FIELD_CALS_SOURCE_ID, field_kind::text, TEXT},    {RZL_FIELD_CALS_DESTINATION_ID, field_kind::text, TEXT},
    {RZL_FIELD_CALS_CLASS, field_kind::text, TEXT},        {RZL_FIELD_CALS_NOTES, field_kind::text, TEXT},
    {RZL_FIELD_CALS_TEXT_FILE_ID, field_kind::text, TEXT}, {RZL_FIELD_CALS_FIGURE_ID, field_kind::text, TEXT},
    {RZL_FIELD_CALS_GRAPHICS, field_kind::text, TEXT},     {RZL_FIELD_CALS_SPECIFICATION, field_kind::text, TEXT},
    {RZL_FIELD_CALS_DATA_FILE_ID, field_kind::text, TEXT}, {RZL_FIELD_CALS_MODULE_ID, field_kind::text, TEXT},
    {RZL_FIELD_CALS_ITEM_ID, field_kind::text, TEXT},      {RZL_FIELD_CALS_PUBLICATION_ID, field_kind::text, TEXT},
    {RZL_FIELD_CALS_LEVEL, field_kind::number, 8},         {RZL_FIELD_CALS_REFERENCE, field_kind::text, TEXT},
    {RZL_FIELD_CALS_USER_NAME, field_kind::text, TEXT},    {RZL_FIELD_CALS_USER_COMMENT, field_kind::text, TEXT},
};

constexpr format_slots SLOTS = {
    .Get_line = cals_get_line,
    .Getlinefromtile = rzl_getline_from_tiles,
    .Getrleline = cals_get_rle_line,
    .Putline = cals_putline,
    .Put_line = cals_put_line,
    .Putrleline = cals_put_rle_line,
    .Gettile = cals_get_tile,
    .Puttile = cals_put_tile,
    .Getrletile = cals_get_rle_tile,
    .Get_hdr_data = cals_get_hdr_data,
    .Set_hdr_data = cals_set_hdr_data,
    .Wrt_hdr = cals_write_header,
    .Set_Number_of_Images = cals_set_number_of_images,
    .Randomize = rzl_randomize_nothing,
    .Close = cals_close,
    .Free_specs = cals_free_specs,
    .Get_Image_Offset = cals_get_image_offset,
};

} // namespace

extern const format_module cals_module;
const format_module cals_module = {
    .word = SOURCE,
    .squetch_word = "CALS squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(cals_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .types = TYPES,
    .traits = MODULE_TILES | MODULE_NO_TABLE,
    .open = cals_open,
    .initialise = cals_initialise,
};

void cals_clear_texts(cals_spec* spec) {
    for (auto& text : spec->texts)
        std::snprintf(text, sizeof text, "%s", spec->variant == 'A' ? "none " : "NONE");
}

size_t cals_text_room(const cals_spec* spec, cals_text text) {
    for (const cals_key& key : cals_keys_of(spec->variant)) {
        if (key.kind == cals_value::text && key.text == text) return CALS_RECORD - std::strlen(key.word) - 2;
    }
    return 0;
}

int32_t cals_orientation_of(int64_t path, int64_t turn) {
    for (int32_t i = 0; i < 8; ++i)
        if (CALS_ROTATIONS[i].path == path && CALS_ROTATIONS[i].turn == turn) return i;
    return -1;
}
