// PNM files: the header of a file that is opened, header fields, and the module.
#include <algorithm>

#include "raster/PNM/pnm.h"
#include "raster/PNM/pnmmisc.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PNM/pnmopen";

// ---- opening -------------------------------------------------------------------------------------------------------

// A number of the header from 1 to `most`.
bool take_size(CFILE* c, uint32_t most, int32_t* size) {
    uint32_t value = 0;
    if (!pnm_next_number(c, most + 1, &value) || value < 1 || value > most) return false;
    *size = static_cast<int32_t>(value);
    return true;
}

// The character behind the last word. A comment that begins right there is part of it.
bool end_header(CFILE* c) {
    int ch = io_getc(c);
    while (ch == '#' || (ch >= 0 && !is_blank(ch))) {
        if (ch != '#') return false;
        while (ch >= 0 && ch != '\n' && ch != '\r')
            ch = io_getc(c);
    }
    return ch >= 0;
}

bool read_header(CFILE* c, pnm_spec* spec) {
    uint32_t kind = 0;
    spec->max_value = 255;
    bool known =
        io_getc(c) == 'P' && pnm_next_number(c, PNM_RAW_COLOR + 1, &kind) && kind >= 1 && kind <= PNM_RAW_COLOR;
    if (!known) return false;
    spec->kind = static_cast<int32_t>(kind);
    bool sized = take_size(c, INT32_MAX, &c->xsize) && take_size(c, INT32_MAX, &c->ysize);
    if (!sized || (!pnm_is_bits(spec) && !take_size(c, PNM_MOST_VALUE, &spec->max_value))) return false;
    return end_header(c);
}

// What a line takes in the file at least: each digit a character, each number two.
int64_t least_text(const CFILE* c) {
    const pnm_spec* spec = pnm_spec_of(c);
    int64_t numbers = int64_t{c->xsize} * static_cast<int64_t>(pnm_samples(spec));
    return pnm_is_bits(spec) ? numbers : numbers * 2 - 1;
}

int pnm_open(CFILE* c, const char*) {
    pnm_spec* spec = pnm_spec_of(c);
    if (!read_header(c, spec)) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    pnm_take_kind(c);
    pnm_make_scale(spec);
    spec->data_offset = io_tell(c);
    return pnm_is_text(spec) ? rzl_record_lines(c, spec->data_offset, least_text(c)) : 0;
}

int pnm_initialise(CFILE* c) {
    pnm_spec* spec = pnm_spec_of(c);
    spec->max_value = 255;
    bool bits = c->samples == 1 && c->bits == 1;
    if (c->samples == 3) {
        spec->kind = PNM_RAW_COLOR;
    } else if (bits || (c->samples == 1 && c->bits == 8)) {
        spec->kind = bits ? PNM_RAW_BITS : PNM_RAW_GREY;
    }
    pnm_take_kind(c);
    return 0;
}

// ---- fields --------------------------------------------------------------------------------------------------------

// Fields whose answer is the handle's. Others are none of the format's.
constexpr int32_t KNOWN[] = {
    RZL_FIELD_MATRIX,     RZL_FIELD_VLT_TYPE,     RZL_FIELD_VLT_ENTRIES, RZL_FIELD_PACKET_WORDS,
    RZL_FIELD_RESOLUTION, RZL_FIELD_ORIENTATION,  RZL_FIELD_APPLICATION, RZL_FIELD_SCANNABLE,
    RZL_FIELD_VERSION,    RZL_FIELD_ASPECT_RATIO, RZL_FIELD_OVERVIEWS,   RZL_FIELD_OVERVIEW_VALUE,
    RZL_FIELD_VLT_ROOM,   RZL_FIELD_PACKET_ROOM,  RZL_FIELD_PLANAR,
};

// A field that the format does not have gives the answer of the handle, and the status tells.
int pnm_get_hdr_data(CFILE* c, int32_t field, void* value) {
    bool text = pnm_is_text(pnm_spec_of(c));
    switch (field) {
    case RZL_FIELD_COMPRESSION: give_int(value, text ? PNM_TEXT : 0); break;
    case RZL_FIELD_PNM_TEXT: give_int(value, text ? 1 : 0); break;
    default: note_unknown_field(c, KNOWN, field, SOURCE);
    }
    return 0;
}

void set_text(CFILE* c, bool text) {
    pnm_spec* spec = pnm_spec_of(c);
    if (spec->kind == 0 || text == pnm_is_text(spec)) return;
    spec->kind += text ? -PNM_RAW_FROM : PNM_RAW_FROM;
}

// A text kind stays one.
int set_format(CFILE* c, int32_t format) {
    pnm_spec* spec = pnm_spec_of(c);
    int32_t kind = 0;
    if (format_is_bilevel(format)) kind = PNM_RAW_BITS;
    if (format_is_byte(format)) kind = PNM_RAW_GREY;
    if (format_is_color(format)) kind = PNM_RAW_COLOR;
    if (kind == 0) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "format");
    bool text = spec->kind != 0 && pnm_is_text(spec);
    spec->kind = text ? kind - PNM_RAW_FROM : kind;
    pnm_take_kind(c);
    return 0;
}

int pnm_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    pnm_spec* spec = pnm_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_FORMAT: return set_format(c, int_of(value));
    case RZL_FIELD_MAXIMUM: spec->max_value = int_of(value); return 0;
    case RZL_FIELD_COMPRESSION: set_text(c, int_of(value) == PNM_TEXT); return 0;
    case RZL_FIELD_PNM_TEXT: set_text(c, int_of(value) != 0); return 0;
    default: return 0;
    }
}

// The record holds the kind in the place of the data format.
int pnm_get_stat(CFILE* c, rzl_stat* stat) {
    int result = rzl_get_stat_of_fields(c, stat);
    stat->format = pnm_spec_of(c)->kind;
    return result;
}

int pnm_set_stat(CFILE* c, const rzl_stat* stat) {
    pnm_spec* spec = pnm_spec_of(c);
    bool good = stat->format >= PNM_TEXT_BITS && stat->format <= PNM_RAW_COLOR && stat->xsize >= 0 && stat->ysize >= 0;
    if (!good) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "Set_stat");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    c->xsize = stat->xsize;
    c->ysize = stat->ysize;
    spec->kind = stat->format;
    pnm_take_kind(c);
    return 0;
}

// ---- data as it is -------------------------------------------------------------------------------------------------

// Lines of a file of the same kind, size and greatest value. The target gets its header first.
int pnm_copydata(CFILE* from, CFILE* to) {
    if (!rzl_copy_check(from, to, SOURCE)) return 1;
    const pnm_spec* in = pnm_spec_of(from);
    const pnm_spec* out = pnm_spec_of(to);
    bool alike = to->module == from->module && in->kind == out->kind && in->max_value == out->max_value &&
                 from->xsize == to->xsize && from->ysize == to->ysize;
    if (!alike) {
        fail(from, RZL_NOT_STANDARD, SOURCE, "copydata");
        return refuse(to, RZL_NOT_STANDARD, SOURCE, "copydata");
    }
    if (!has_flag(to, FLAG_HEADER_EXISTS) && pnm_write_header(to) != 0) return 1;
    if (!io_seek(from, in->data_offset)) return refuse(from, RZL_READ_FAILED, SOURCE, "copydata");
    bool stands = io_tell(to) == out->data_offset || io_seek(to, out->data_offset);
    if (!stands) return refuse(to, RZL_WRITE_FAILED, SOURCE, "copydata");
    pnm_spec_of(from)->file_line = pnm_spec_of(to)->file_line = -1;
    return rzl_copy_rest(from, to, SOURCE);
}

int pnm_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    return rzl_get_line_as_runs(c, channels, buffers, RZL_UNSUPPORTED, SOURCE);
}

int64_t pnm_image_offset(CFILE* c) {
    return pnm_spec_of(c)->data_offset;
}

void pnm_free_specs(CFILE* c) {
    pnm_spec* spec = pnm_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->row);
    spec->row = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_PLANE_RUNS, RZL_FORMAT_BYTE, RZL_FORMAT_BILEVEL};

constexpr field_limit LIMITS[] = {{RZL_FIELD_MAXIMUM, 1, PNM_MOST_VALUE}};

constexpr format_slots SLOTS = {
    .Get_line = pnm_get_line,
    .Getrleline = pnm_get_rle_line,
    .Putline = pnm_putline,
    .Put_line = pnm_put_line,
    .Get_hdr_data = pnm_get_hdr_data,
    .Set_hdr_data = pnm_set_hdr_data,
    .Get_stat = pnm_get_stat,
    .Set_stat = pnm_set_stat,
    .copydata = pnm_copydata,
    .Wrt_hdr = pnm_write_header,
    .Seek = rzl_seek_inside,
    .Randomize = rzl_randomize_nothing,
    .Free_specs = pnm_free_specs,
    .Get_Image_Offset = pnm_image_offset,
};

} // namespace

extern const format_module pnm_module;
const format_module pnm_module = {
    .word = SOURCE,
    .squetch_word = "PNM squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(pnm_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .traits = MODULE_NO_TABLE,
    .open = pnm_open,
    .initialise = pnm_initialise,
};

void pnm_take_kind(CFILE* c) {
    const pnm_spec* spec = pnm_spec_of(c);
    if (spec->kind == 0) return;
    c->format = pnm_samples(spec) == 3 ? RZL_FORMAT_PLANE_RUNS : RZL_FORMAT_BYTE;
    if (pnm_is_bits(spec)) c->format = RZL_FORMAT_BILEVEL;
    (void)format_layout(c->format, &c->samples, &c->bits);
}

int64_t pnm_line_bytes(const CFILE* c) {
    const pnm_spec* spec = pnm_spec_of(c);
    int64_t width = c->xsize;
    switch (spec->kind) {
    case PNM_TEXT_BITS: return width / 8 * 16 + width % 8 * 2 + 1;
    case PNM_TEXT_GREY: return width * 4 + (width + 15) / 16;
    case PNM_TEXT_COLOR: return width * 12 + (width + 5) / 6;
    case PNM_RAW_BITS: return (width + 7) / 8;
    default: return width * static_cast<int64_t>(pnm_samples(spec) * pnm_step(spec));
    }
}

bool pnm_go_to_line(CFILE* c) {
    pnm_spec* spec = pnm_spec_of(c);
    bool stands = spec->file_line == c->line;
    int64_t place = spec->data_offset + c->line * pnm_line_bytes(c);
    if (!stands && !io_seek(c, place)) return false;
    // Where reads and writes can follow each other, each is sought.
    bool goes_on = c->mode == MODE_READ || c->mode == MODE_WRITE;
    spec->file_line = goes_on ? c->line + 1 : -1;
    return true;
}

bool pnm_need_row(CFILE* c, bool reading) {
    pnm_spec* spec = pnm_spec_of(c);
    if (spec->row != nullptr) return true;
    int64_t bytes = pnm_line_bytes(c);
    if (reading && io_size(c) - spec->data_offset < bytes) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    // Behind it a plane of a line.
    size_t plane = std::max(line_bytes(c, c->xsize), static_cast<size_t>(c->xsize));
    spec->row = mem_new_array<uint8_t>(static_cast<size_t>(bytes) + plane);
    return spec->row != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}
