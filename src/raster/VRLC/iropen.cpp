// VRLC files: the directory at the end of a file, header fields, and the module.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "raster/VRLC/vrlc.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "VRLC/iropen";

// ---- directory -----------------------------------------------------------------------------------------------------

struct ir_entry {
    bool there;
    uint16_t subtype;
    int64_t offset, length;
};

// Of the types of entries that count.
struct ir_directory {
    ir_entry image, data, histogram, translation;
};

ir_entry* entry_of(ir_directory* d, uint16_t type) {
    switch (type) {
    case 1: return &d->image;
    case 2:
    case 14: return &d->data;
    case 12: return &d->translation;
    case 13: return &d->histogram;
    default: return nullptr;
    }
}

// Entries fill the block: a count of more than it has room for is taken for so many.
bool read_directory(CFILE* c, ir_spec* spec, int64_t place, ir_directory* d) {
    constexpr size_t HEAD = 24;
    constexpr size_t ENTRY = 16;
    uint8_t block[IR_DIRECTORY];
    if (!io_seek(c, place) || io_read(c, block, sizeof block) != sizeof block)
        return fails(c, RZL_READ_FAILED, SOURCE, "directory");
    spec->version = load_u16le(block + 20);
    size_t count = std::min<size_t>(load_u16le(block + 22), (sizeof block - HEAD) / ENTRY);
    for (size_t i = 0; i < count; ++i) {
        const uint8_t* at = block + HEAD + i * ENTRY;
        ir_entry* entry = entry_of(d, load_u16le(at));
        if (entry != nullptr) *entry = {true, load_u16le(at + 2), load_u32le(at + 8), load_u32le(at + 12)};
    }
    return true;
}

bool read_at(CFILE* c, int64_t place, void* bytes, size_t size) {
    return (io_seek(c, place) && io_read(c, bytes, size) == size) || fails(c, RZL_READ_FAILED, SOURCE, nullptr);
}

double load_double(const ir_spec* spec, const uint8_t* p) {
    uint8_t bytes[8];
    std::memcpy(bytes, p, sizeof bytes);
    if (spec->big) std::reverse(bytes, bytes + sizeof bytes);
    return load_f64le(bytes);
}

int32_t orientation_of(uint16_t code) {
    switch (code) {
    case 1: return 1;
    case 2: return RZL_BOTTOM_UP_MIRRORED;
    case 3: return 2;
    default: return RZL_TOP_DOWN;
    }
}

bool read_data(CFILE* c, ir_spec* spec, const ir_entry& data) {
    uint8_t bytes[IR_HEAD + IR_RECORD_BYTES] = {};
    bool bits = spec->subtype == IR_BITS;
    if (!read_at(c, data.offset, bytes, IR_HEAD + (bits ? IR_RECORD_BITS : IR_RECORD_BYTES))) return false;
    spec->big = bytes[0] == 'M';
    c->ysize = ir_load(spec, bytes + 4);
    c->xsize = ir_load(spec, bytes + 6);
    const uint8_t* record = bytes + IR_HEAD;
    double density = load_double(spec, record + IR_AT_DENSITY);
    spec->density = std::isfinite(density) && std::fabs(density) <= INT32_MAX ? std::fabs(density) : 0;
    spec->orientation = orientation_of(ir_load(spec, record + (bits ? IR_AT_ORDER_BITS : IR_AT_ORDER_BYTES)));
    return true;
}

bool read_tables(CFILE* c, ir_spec* spec, const ir_directory& d) {
    if (spec->subtype == IR_BITS) return true;
    if (!d.translation.there) return fails(c, RZL_NOT_STANDARD_2, SOURCE, "translation");
    uint8_t table[IR_TRANSLATION];
    if (!read_at(c, d.translation.offset, table, sizeof table)) return false;
    std::memcpy(spec->translation, table + 2, sizeof spec->translation);
    uint8_t histogram[IR_HISTOGRAM]; // must be there, and is not needed
    return !d.histogram.there || read_at(c, d.histogram.offset, histogram, sizeof histogram);
}

int take_format(CFILE* c, ir_spec* spec) {
    bool bits = spec->subtype == IR_BITS;
    c->format = bits ? RZL_FORMAT_BILEVEL_RUNS : RZL_FORMAT_BYTE_RUNS;
    c->compression = CLASS_RUNS;
    (void)format_layout(c->format, &c->samples, &c->bits);
    return 0;
}

int ir_open(CFILE* c, const char*) {
    constexpr int64_t LEAST_LINE = 2;
    ir_spec* spec = ir_spec_of(c);
    ir_directory d = {};
    int64_t place = io_size(c) - IR_DIRECTORY;
    if (place <= 0) return refuse(c, RZL_READ_FAILED, SOURCE, "directory");
    if (!read_directory(c, spec, place, &d)) return 1;
    spec->subtype = d.image.subtype;
    bool known = d.image.there && d.data.there && (spec->subtype == IR_BITS || spec->subtype == IR_BYTES);
    if (!known) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "directory");
    if (!read_data(c, spec, d.data) || !read_tables(c, spec, d)) return 1;
    if (c->xsize == 0 || c->ysize == 0) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "size");
    int64_t first = d.image.offset + static_cast<int64_t>(IR_FIRST_LINE);
    if (!io_seek(c, first)) return refuse(c, RZL_READ_FAILED, SOURCE, "image");
    spec->end = place;
    (void)take_format(c, spec);
    return rzl_record_lines(c, first, spec->subtype == IR_BITS ? LEAST_LINE : 2 * LEAST_LINE);
}

int ir_initialise(CFILE* c) {
    ir_spec* spec = ir_spec_of(c);
    spec->subtype = IR_BYTES;
    spec->version = 2;
    spec->big = true;
    spec->orientation = RZL_TOP_DOWN;
    spec->end = INT64_MAX;
    for (size_t i = 0; i < 256; ++i)
        spec->translation[i] = static_cast<uint8_t>(i);
    return take_format(c, spec);
}

// ---- fields --------------------------------------------------------------------------------------------------------

constexpr double INCHES_A_MICROMETRE = 3.937007874015748e-05;

int ir_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const ir_spec* spec = ir_spec_of(c);
    switch (field) {
    case RZL_FIELD_MATRIX: std::memset(value, 0, sizeof(double) * 16); break;
    case RZL_FIELD_RESOLUTION: give_int(value, -static_cast<int64_t>(spec->density)); break;
    case RZL_FIELD_COMPRESSION: give_int(value, 1); break;
    default: break;
    }
    return 0;
}

int set_format(CFILE* c, ir_spec* spec, int32_t format) {
    if (rzl_take_format(c, format, RZL_UNSUP_IR, SOURCE) != 0) return 1;
    spec->subtype = c->bits == 1 ? IR_BITS : IR_BYTES;
    return take_format(c, spec);
}

double density_of(int32_t value) {
    if (value > 0) return std::floor(value * INCHES_A_MICROMETRE + 0.5);
    return std::fabs(static_cast<double>(value)); // not the negative zero that the file would have of 0
}

int ir_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    ir_spec* spec = ir_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE: return int_of(value) <= IR_MOST ? 0 : refuse(c, RZL_UNSUP_IR, SOURCE, "IR");
    case RZL_FIELD_FORMAT: return set_format(c, spec, int_of(value));
    case RZL_FIELD_RESOLUTION: spec->density = density_of(int_of(value)); return 0;
    default: return 0;
    }
}

// The fields say nothing of the order of lines and of the version.
int ir_get_stat(CFILE* c, rzl_stat* stat) {
    const ir_spec* spec = ir_spec_of(c);
    int result = rzl_get_stat_of_fields(c, stat);
    stat->scan_orientation = spec->orientation;
    stat->version = spec->version;
    return result;
}

int refuse_images(CFILE* c, int32_t) {
    return refuse(c, RZL_UNSUP_IR, SOURCE, "IR");
}

void ir_free_specs(CFILE* c) {
    ir_spec* spec = ir_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->room);
    spec->room = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE_RUNS, RZL_FORMAT_BILEVEL_RUNS, RZL_FORMAT_BILEVEL, RZL_FORMAT_BYTE,
                               RZL_FORMAT_BYTE_PAIRS};

constexpr format_slots SLOTS = {
    .Get_line = ir_get_line,
    .Getrleline = ir_get_rle_line,
    .Put_line = ir_put_line,
    .Get_hdr_data = ir_get_hdr_data,
    .Set_hdr_data = ir_set_hdr_data,
    .Get_stat = ir_get_stat,
    .Wrt_hdr = ir_write_header,
    .Set_Number_of_Images = refuse_images,
    .Set_Active_Image = refuse_images,
    .Randomize = rzl_randomize_nothing,
    .Close = ir_close,
    .Free_specs = ir_free_specs,
};

} // namespace

extern const format_module ir_module;
const format_module ir_module = {
    .word = SOURCE,
    .squetch_word = "ir squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(ir_spec),
    .formats = FORMATS,
    .traits = MODULE_NO_TABLE,
    .open = ir_open,
    .initialise = ir_initialise,
};

bool ir_need_room(CFILE* c, size_t bytes) {
    ir_spec* spec = ir_spec_of(c);
    if (bytes <= spec->room_bytes) return true;
    auto* room = static_cast<uint8_t*>(mem_realloc(spec->room, bytes));
    if (room == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    spec->room = room;
    spec->room_bytes = bytes;
    return true;
}
