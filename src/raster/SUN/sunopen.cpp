// Sun raster files: the header and the colour map of a file that is opened, header fields, and the module.
#include <algorithm>
#include <cstring>

#include "raster/PNM/pnmmisc.h"
#include "raster/SUN/sun.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "SUN/sunopen";

// ---- opening -------------------------------------------------------------------------------------------------------

struct sun_header {
    uint32_t magic, width, height, depth, length, type, map_type, map_length;
};

// False without a header.
bool read_words(CFILE* c, sun_header* header) {
    uint8_t h[SUN_HEADER_SIZE];
    if (io_read(c, h, sizeof h) != sizeof h) return false;
    bool big = load_u32be(h) == SUN_MAGIC;
    auto word = [&](size_t i) { return big ? load_u32be(h + i * 4) : load_u32le(h + i * 4); };
    *header = {word(0), word(1), word(2), word(3), word(4), word(5), word(6), word(7)};
    return header->magic == SUN_MAGIC;
}

bool read_map(CFILE* c, sun_spec* spec, const sun_header& header) {
    if (header.map_type == SUN_NO_MAP || header.map_length == 0) return true;
    spec->map_type = header.map_type;
    spec->entries = header.map_length / static_cast<uint32_t>(sun_map_planes(spec));
    spec->map = io_read_block(c, header.map_length, 1, SOURCE, "color map");
    return spec->map != nullptr && sun_keep_colors(c);
}

int refuse_type(CFILE* c, uint32_t type) {
    if (type > SUN_MOST_TYPE) return 1; // no file of this kind: nothing is reported
    return refuse(c, RZL_UNSUPPORTED, SOURCE, "Sun type");
}

int sun_open(CFILE* c, const char*) {
    sun_spec* spec = sun_spec_of(c);
    sun_header header;
    if (!read_words(c, &header)) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    if (header.type > SUN_RGB) return refuse_type(c, header.type);
    bool sized = header.width >= 1 && header.width <= INT32_MAX && header.height >= 1 && header.height <= INT32_MAX;
    if (!sized) return refuse(c, RZL_READ_FAILED, SOURCE, "size");
    c->xsize = static_cast<int32_t>(header.width);
    c->ysize = static_cast<int32_t>(header.height);
    spec->type = header.type;
    spec->depth = header.depth;
    if (!sun_take_depth(c)) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "depth");
    if (!read_map(c, spec, header)) return 1;
    // Lines begin behind the map's bytes, also where these are no whole entries.
    spec->data_offset = static_cast<int64_t>(SUN_HEADER_SIZE) + (spec->map != nullptr ? header.map_length : 0);
    if (!sun_is_coded(spec)) return 0;
    // Runs of 256 are the best that can be.
    return rzl_record_lines(c, spec->data_offset, static_cast<int64_t>(sun_row_bytes(c) / SUN_RUN_MOST * 3));
}

int sun_initialise(CFILE* c) {
    sun_spec* spec = sun_spec_of(c);
    spec->depth = static_cast<uint32_t>(c->samples) * static_cast<uint32_t>(c->bits);
    spec->type = spec->depth == 1 ? SUN_CODED : SUN_STANDARD;
    (void)sun_take_depth(c); // others are refused when the header is written
    return 0;
}

// ---- fields --------------------------------------------------------------------------------------------------------

// Fields whose answer is the handle's, with all from RZL_FIELD_VLT_ROOM on. Others are none of the format's.
constexpr int32_t KNOWN[] = {
    RZL_FIELD_MATRIX,      RZL_FIELD_PACKET_WORDS,   RZL_FIELD_RESOLUTION, RZL_FIELD_ORIENTATION,
    RZL_FIELD_APPLICATION, RZL_FIELD_SCANNABLE,      RZL_FIELD_VERSION,    RZL_FIELD_ASPECT_RATIO,
    RZL_FIELD_OVERVIEWS,   RZL_FIELD_OVERVIEW_VALUE,
};

// A field that the format does not have gives the answer of the handle, and the status tells.
int sun_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const sun_spec* spec = sun_spec_of(c);
    bool has_map = spec->map_type != SUN_NO_MAP && spec->entries > 0;
    switch (field) {
    case RZL_FIELD_VLT_TYPE: give_int(value, has_map ? RZL_VLT_ENTRIES : RZL_VLT_NONE); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, spec->entries); break;
    default:
        if (field < RZL_FIELD_VLT_ROOM) note_unknown_field(c, KNOWN, field, SOURCE);
    }
    return 0;
}

int set_format(CFILE* c, int32_t format) {
    sun_spec* spec = sun_spec_of(c);
    bool known = format_is_bilevel(format) || format_is_byte(format) || format_is_color(format);
    if (!known) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "format");
    bool coded = format == RZL_FORMAT_BILEVEL_RUNS || format == RZL_FORMAT_GROUP4;
    spec->type = coded ? SUN_CODED : SUN_STANDARD;
    spec->depth = format_is_bilevel(format) ? 1 : 8;
    if (format_is_color(format)) spec->depth = 24;
    (void)sun_take_depth(c);
    (void)format_layout(c->format, &c->samples, &c->bits);
    return 0;
}

int sun_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    sun_spec* spec = sun_spec_of(c);
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE: return 0;
    case RZL_FIELD_FORMAT: return set_format(c, int_of(value));
    case RZL_FIELD_VLT_TYPE: spec->map_type = int_of(value) != RZL_VLT_NONE ? SUN_MAP_PLANES : SUN_NO_MAP; return 0;
    case RZL_FIELD_VLT_ENTRIES: spec->entries = static_cast<uint32_t>(int_of(value)); return 0;
    default: fail(c, RZL_BAD_FIELD_ID, SOURCE, "Set hdr data"); return 1;
    }
}

// Entries of the map, of which only those up to 256 can be told apart by a pixel.
int sun_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const sun_spec* spec = sun_spec_of(c);
    if (spec->map == nullptr) return refuse(c, RZL_NO_VLT, SOURCE, "Get_vlt");
    size_t plane = sun_map_planes(spec) == 3 ? spec->entries : 0;
    auto top = [](uint8_t byte) { return static_cast<uint16_t>(byte << 8); };
    for (size_t i = 0; i < spec->entries; ++i) {
        const uint8_t* color = spec->map + i;
        entries[i] = {static_cast<uint16_t>(i), top(color[0]), top(color[plane]), top(color[plane * 2])};
    }
    return 0;
}

// ---- from file to file ---------------------------------------------------------------------------------------------

int sun_init_std_hdr(CFILE* from, CFILE* to) {
    const sun_spec* in = sun_spec_of(from);
    sun_spec* out = sun_spec_of(to);
    if (to->module != from->module || has_flag(to, FLAG_HEADER_EXISTS)) {
        fail(from, RZL_NOT_STANDARD_2, SOURCE, "init std hdr");
        return refuse(to, RZL_NOT_STANDARD_2, SOURCE, "init std hdr");
    }
    uint8_t* map = nullptr;
    if (in->map != nullptr) {
        map = mem_new_array<uint8_t>(sun_map_bytes(in) + 1);
        if (map == nullptr) return refuse(to, RZL_NO_MEMORY, SOURCE, nullptr);
        std::memcpy(map, in->map, sun_map_bytes(in));
    }
    mem_free(out->map);
    out->map = map;
    out->map_type = in->map_type;
    out->entries = in->entries;
    out->type = in->type;
    out->depth = in->depth;
    to->xsize = from->xsize;
    to->ysize = from->ysize;
    (void)sun_take_depth(to);
    bool colors = out->depth == 24 || out->depth == 32;
    to->samples = colors ? 3 : 1;
    to->bits = colors ? 8 : from->bits;
    return 0;
}

// The lines of a file of the same size, type and depth. The target gets its header first.
int sun_copydata(CFILE* from, CFILE* to) {
    if (!rzl_copy_check(from, to, SOURCE)) return 1;
    sun_spec* in = sun_spec_of(from);
    sun_spec* out = sun_spec_of(to);
    bool alike = to->module == from->module && in->type == out->type && in->depth == out->depth &&
                 from->xsize == to->xsize && from->ysize == to->ysize;
    if (!alike) {
        fail(from, RZL_NOT_STANDARD_2, SOURCE, "copydata");
        return refuse(to, RZL_NOT_STANDARD_2, SOURCE, "copydata");
    }
    if (!has_flag(to, FLAG_HEADER_EXISTS) && sun_write_header(to) != 0) return 1;
    if (!io_seek(from, in->data_offset)) return refuse(from, RZL_READ_FAILED, SOURCE, "copydata");
    bool stands = io_tell(to) == out->data_offset || io_seek(to, out->data_offset);
    if (!stands) return refuse(to, RZL_WRITE_FAILED, SOURCE, "copydata");
    in->file_line = out->file_line = -1;
    if (rzl_copy_rest(from, to, SOURCE) != 0) return 1;
    out->written = static_cast<uint64_t>(io_tell(to) - out->data_offset);
    out->lines_put = to->ysize;
    return 0;
}

int sun_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    return rzl_get_line_as_runs(c, channels, buffers, RZL_NOT_STANDARD_2, SOURCE);
}

int64_t sun_image_offset(CFILE* c) {
    return sun_spec_of(c)->data_offset;
}

void sun_free_specs(CFILE* c) {
    sun_spec* spec = sun_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->map);
    mem_free(spec->row);
    spec->map = nullptr;
    spec->row = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_PLANE_RUNS, RZL_FORMAT_BYTE, RZL_FORMAT_BILEVEL, RZL_FORMAT_BILEVEL_RUNS};

constexpr field_limit LIMITS[] = {{RZL_FIELD_VLT_ENTRIES, 0, SUN_COLORS}};

constexpr format_slots SLOTS = {
    .Get_line = sun_get_line,
    .Getrleline = sun_get_rle_line,
    .Putline = sun_putline,
    .Put_line = sun_put_line,
    .Putrleline = sun_put_rle_line,
    .Get_hdr_data = sun_get_hdr_data,
    .Set_hdr_data = sun_set_hdr_data,
    .Get_vlt = sun_get_vlt,
    .copydata = sun_copydata,
    .init_std_hdr = sun_init_std_hdr,
    .Wrt_hdr = sun_write_header,
    .Randomize = rzl_randomize_nothing,
    .Close = sun_close,
    .Free_specs = sun_free_specs,
    .Get_Image_Offset = sun_image_offset,
};

} // namespace

extern const format_module sun_module;
const format_module sun_module = {
    .word = SOURCE,
    .squetch_word = "Sun Squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(sun_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .open = sun_open,
    .initialise = sun_initialise,
};

// A new file and one that is read tell of the same data in different words: pixels of 24 bits are one sample of these,
// or three of 8.
bool sun_take_depth(CFILE* c) {
    sun_spec* spec = sun_spec_of(c);
    uint32_t depth = spec->depth;
    // Run-coded files are bits, but for those that only other programs write.
    if (spec->type == SUN_CODED && !is_extended()) depth = 1;
    if (spec->type == SUN_RGB && depth != 32) depth = 24;
    bool known = depth == 1 || depth == 8 || depth == 24 || depth == 32;
    if (!known) return false;
    spec->pixel_bits = static_cast<int32_t>(depth);
    c->format = depth >= 24 ? RZL_FORMAT_PLANE_RUNS : (depth == 8 ? RZL_FORMAT_BYTE : RZL_FORMAT_BILEVEL_RUNS);
    c->samples = spec->type == SUN_RGB ? 3 : 1;
    c->bits = spec->type == SUN_RGB ? 8 : spec->pixel_bits;
    return true;
}

bool sun_keep_colors(CFILE* c) {
    const sun_spec* spec = sun_spec_of(c);
    if (spec->map == nullptr || spec->pixel_bits > 8) return true;
    if (c->color_table == nullptr) c->color_table = mem_new_array<uint8_t>(SUN_COLORS * 3);
    if (c->color_table == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    std::memset(c->color_table, 0, SUN_COLORS * 3);
    size_t plane = sun_map_planes(spec) == 3 ? spec->entries : 0;
    for (size_t i = 0; i < std::min<size_t>(spec->entries, SUN_COLORS); ++i)
        for (size_t p = 0; p < 3; ++p)
            c->color_table[i * 3 + p] = spec->map[p * plane + i];
    c->vlt_bits = 8;
    return true;
}

bool sun_need_row(CFILE* c, bool reading) {
    sun_spec* spec = sun_spec_of(c);
    if (spec->row != nullptr) return true;
    size_t bytes = sun_row_bytes(c);
    // What a line takes in the file: runs of 256 at best.
    size_t least = sun_is_coded(spec) ? bytes / SUN_RUN_MOST * 3 : bytes;
    bool there = !reading || io_size(c) - spec->data_offset >= static_cast<int64_t>(least);
    if (!there) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    spec->row = mem_new_array<uint8_t>(bytes * 3);
    return spec->row != nullptr || fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
}

bool sun_go_to_line(CFILE* c) {
    sun_spec* spec = sun_spec_of(c);
    bool stands = spec->file_line == c->line;
    int64_t place = spec->data_offset + c->line * static_cast<int64_t>(sun_row_bytes(c));
    if (!stands && !io_seek(c, place)) return false;
    // Where reads and writes can follow each other, each is sought.
    bool goes_on = c->mode == MODE_READ || c->mode == MODE_WRITE;
    spec->file_line = goes_on ? c->line + 1 : -1;
    return true;
}
