// GIF files: header fields, the status record, the colour table as entries, and positioning.
#include <cstring>

#include "raster/GIF/gif.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "GIF/gifinfo";
constexpr int32_t TOP_DOWN = 4;
constexpr int32_t VLT_TYPE_ENTRIES = 2;

int32_t bits_of_table(const gif_spec* spec) {
    int32_t bits = 1;
    while (1 << bits < spec->colour_count)
        ++bits;
    return bits;
}

int32_t integer_of(const gif_spec* spec, int32_t field) {
    switch (field) {
    case RZL_FIELD_VLT_TYPE: return VLT_TYPE_ENTRIES;
    case RZL_FIELD_VLT_ENTRIES: return spec->has_table ? spec->colour_count : 0;
    case RZL_FIELD_ORIENTATION: return TOP_DOWN;
    case RZL_FIELD_IMAGES:
    case RZL_FIELD_COMPRESSION:
    case RZL_FIELD_PLANAR: return 1;
    case RZL_FIELD_BITS: return bits_of_table(spec);
    default: return 0;
    }
}

// Bytes of the zero that answers a field which this format has not: the fields that are no integers.
size_t zero_size(int32_t field) {
    switch (field) {
    case RZL_FIELD_MINIMUM_BYTES:
    case RZL_FIELD_MAXIMUM_BYTES:
    case RZL_FIELD_ROTATION:
    case RZL_FIELD_SKEW: return 8;
    case RZL_FIELD_VIEW_ORIGIN:
    case RZL_FIELD_VIEW_EXTENT: return 24;
    default: return sizeof(int32_t);
    }
}

// Whether the data format is one that the pixels of a GIF file can have.
bool takes_format(int32_t format) {
    return format == RZL_FORMAT_BILEVEL || format == RZL_FORMAT_BYTE || format == RZL_FORMAT_BILEVEL_RUNS ||
           format == RZL_FORMAT_BYTE_RUNS;
}

int set_format(CFILE* c, int32_t format) {
    if (!takes_format(format)) {
        fail(c, RZL_NOT_STANDARD, SOURCE, nullptr);
        return 1;
    }
    (void)format_layout(format, &c->samples, &c->bits);
    c->format = format;
    return 0;
}

// The size is fixed once the header is: the core has stored it in the handle, where it is put back.
int keep_size(CFILE* c) {
    c->xsize = gif_spec_of(c)->width;
    c->ysize = gif_spec_of(c)->height;
    return 0;
}

} // namespace

// With 4 the caller's matrix stays the identity.
int gif_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const double square = 1.0;
    if (field == RZL_FIELD_MATRIX) return 0;
    if (field == RZL_FIELD_ASPECT_RATIO) {
        std::memcpy(value, &square, sizeof square);
        return 0;
    }
    int32_t integer = integer_of(gif_spec_of(c), field);
    std::memset(value, 0, zero_size(field));
    if (integer != 0) std::memcpy(value, &integer, sizeof integer);
    return 0;
}

// Fields that the format does not keep are ignored, tiles among them: the file goes on without.
int gif_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    bool fixed = has_flag(c, FLAG_HEADER_EXISTS);
    int32_t integer = 0;
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE: return fixed ? keep_size(c) : 0;
    case RZL_FIELD_FORMAT: std::memcpy(&integer, value, sizeof integer); return fixed ? 0 : set_format(c, integer);
    case RZL_FIELD_VLT_ENTRIES:
        std::memcpy(&integer, value, sizeof integer);
        gif_spec_of(c)->vlt_announced = integer;
        return 0;
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT: free_tile_record(c); return 0;
    default: return 0;
    }
}

int gif_get_stat(CFILE* c, rzl_stat* stat) {
    *stat = {};
    stat->xsize = c->xsize;
    stat->ysize = c->ysize;
    stat->format = gif_get_format(c);
    stat->scan_orientation = TOP_DOWN;
    stat->vlt_type = VLT_TYPE_ENTRIES;
    stat->vlt_entries = integer_of(gif_spec_of(c), RZL_FIELD_VLT_ENTRIES);
    for (int i = 0; i < 16; i += 5)
        stat->matrix[i] = 1.0;
    stat->aspect_ratio = 1.0;
    return 0;
}

int gif_set_stat(CFILE* c, const rzl_stat* stat) {
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (stat->xsize < 0 || stat->ysize < 0) {
        fail(c, RZL_BAD_FIELD_VALUE, SOURCE, nullptr);
        return 1;
    }
    if (set_format(c, stat->format) != 0) return 1;
    c->xsize = stat->xsize;
    c->ysize = stat->ysize;
    free_tile_record(c);
    return 0;
}

// A file has two colours when the table in force has. Before a new file's header is there, the format is what was set.
int gif_get_format(CFILE* c) {
    if (!has_flag(c, FLAG_HEADER_EXISTS)) return c->format;
    return gif_spec_of(c)->colour_count == 2 ? RZL_FORMAT_BILEVEL_RUNS : RZL_FORMAT_BYTE_RUNS;
}

int gif_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const gif_spec* spec = gif_spec_of(c);
    for (int i = 0; i < static_cast<int>(GIF_COLORS); ++i) {
        const uint8_t* color = spec->colour_table + size_t{3} * static_cast<size_t>(i);
        if (i < spec->colour_count) {
            entries[i].red = static_cast<uint16_t>(color[0] << 8);
            entries[i].green = static_cast<uint16_t>(color[1] << 8);
            entries[i].blue = static_cast<uint16_t>(color[2] << 8);
        } else if (i == static_cast<int>(GIF_COLORS) - 1) {
            return 0;
        }
        entries[i].slot = static_cast<uint16_t>(i);
    }
    return 0;
}

// All lines are at hand, so a seek only notes the line; whether it exists is seen when it is read.
int gif_seek(CFILE* c, int32_t line) {
    c->line = line;
    if (!has_flag(c, FLAG_SQUETCH) || c->squetch == nullptr) return 0;
    const squetch_record* s = c->squetch;
    if (line < 0 || line >= s->out_ysize) {
        fail(c, RZL_PAST_END, SOURCE, "GIF Squetch");
        return 1;
    }
    c->line = static_cast<int32_t>(static_cast<double>(c->ysize) / s->out_ysize * line);
    return 0;
}

void gif_rewind(CFILE* c) {
    c->line = 0;
    rzl_restart_squetch(c, 0);
}

int gif_randomize(CFILE*) {
    return 0;
}
