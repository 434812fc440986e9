// NITF files: reading lines and blocks.
//
// A line is found by the bit that it begins with. Its samples are taken apart by functions that the bits decide.
#include <algorithm>
#include <cstring>

#include "raster/NITF/nitf.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "NITF/nitgetli";

bool read_failed(CFILE* c, int line = __builtin_LINE()) {
    return fails(c, RZL_READ_FAILED, SOURCE, "getline", line);
}

// ---- samples -------------------------------------------------------------------------------------------------------

// The value of a stored sample: its significant bits.
uint32_t value_of(const nitf_layout& layout, uint32_t stored) {
    int down = layout.stored - layout.actual;
    if (layout.left) return stored >> down;
    return layout.actual < 32 ? stored & ((1u << layout.actual) - 1) : stored;
}

// `count` samples that begin at bit `skip` of a row, into a line as the caller has it.
void take_samples(const nitf_layout& layout, const uint8_t* row, int skip, size_t count, uint8_t* line) {
    sample_reader in = {row, 0, 0};
    (void)next_sample(&in, skip);
    for (size_t i = 0; i < count; ++i) {
        uint32_t value = value_of(layout, next_sample(&in, layout.stored));
        if (layout.stored <= 8) {
            line[i] = static_cast<uint8_t>(value);
        } else {
            auto word = static_cast<uint16_t>(value);
            std::memcpy(line + i * 2, &word, sizeof word);
        }
    }
}

// Bits that begin inside of a byte are moved to its start.
void take_bits(uint8_t* row, int skip, uint32_t count, uint8_t* words) {
    size_t bytes = (size_t{count} + 7) / 8;
    for (size_t i = 0; skip > 0 && i < bytes; ++i)
        row[i] = static_cast<uint8_t>(row[i] << skip | row[i + 1] >> (8 - skip));
    bits_to_words(row, count, 0, words);
}

// Whole bytes need no more than to be moved.
bool is_plain_bytes(const nitf_layout& layout) {
    return layout.stored == 8 && (layout.actual == 8 || !layout.left);
}

// Room for bytes that the file has been seen to have, and one more.
bool need_row(CFILE* c, nitf_spec* spec, size_t bytes) {
    if (bytes < spec->row_bytes) return true;
    auto* row = static_cast<uint8_t*>(mem_realloc(spec->row, bytes + 1));
    if (row == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "getline");
    spec->row = row;
    spec->row_bytes = bytes + 1;
    return true;
}

// Samples at a bit of the file into a line. False: the file does not have them.
bool read_samples(CFILE* c, nitf_spec* spec, int64_t base, int64_t bit, int32_t count, uint8_t* line) {
    const nitf_layout& layout = spec->layout;
    int64_t place = base + bit / 8;
    int skip = static_cast<int>(bit % 8);
    auto bytes = static_cast<size_t>((skip + int64_t{count} * layout.stored + 7) / 8);
    bool there = place + static_cast<int64_t>(bytes) <= nitf_place_of(c).end;
    if (!there || (io_tell(c) != place && !io_seek(c, place))) return read_failed(c);
    if (line == nullptr) return true;
    if (is_plain_bytes(layout)) return io_read(c, line, bytes) == bytes || read_failed(c);
    if (!need_row(c, spec, bytes)) return false;
    if (io_read(c, spec->row, bytes) != bytes) return read_failed(c);
    if (layout.stored == 1) {
        spec->row[bytes] = 0;
        take_bits(spec->row, skip, static_cast<uint32_t>(count), line);
    } else {
        take_samples(layout, spec->row, skip, static_cast<size_t>(count), line);
    }
    return true;
}

// ---- what can be read ----------------------------------------------------------------------------------------------

// One band can be had where it stands in one piece. Pixels that are coded can't be had, and neither can those with
// codes among them that tell of lost ones.
bool is_readable_image(CFILE* c, const nitf_spec* spec, int channels) {
    const rzl_nitf_image* image = nitf_image_of(c);
    if (channels != 0 && channels != 1 && channels != 3) return fails(c, RZL_UNSUP_NITF, SOURCE, "channels");
    if (nitf_small(image->sync_code) != 0) return fails(c, RZL_UNSUP_NITF, SOURCE, "ImageSyncCode.");
    bool plain = std::strcmp(image->compression, "NC") == 0 && spec->layout.stored >= 1 && spec->layout.stored <= 16;
    if (!plain) return fails(c, RZL_UNSUP_NITF, SOURCE, "compression");
    bool joins = spec->layout.stored > 1 || !nitf_is_tiled(spec->layout) || spec->layout.block_width % 16 == 0;
    if (!joins) return fails(c, RZL_UNSUP_NITF, SOURCE, "blocks of bits that are not made of words");
    char mode = spec->layout.mode;
    bool one = spec->layout.bands == 1 && channels <= 1;
    bool table =
        spec->layout.bands == 1 && (spec->layout.stored >= 2 || c->color_table != nullptr) && spec->layout.stored <= 8;
    bool several = spec->layout.bands > 1 && channels <= 1 && (mode == 'S' || mode == 'B');
    bool known = mode == 'S' || mode == 'B' || mode == 'I' || mode == 'P';
    return (known && (one || table || several)) || fails(c, RZL_UNSUP_NITF, SOURCE, "ImageMode.");
}

// Bytes from a block of the band that is read to the next one.
int64_t block_distance(const nitf_layout& layout) {
    int64_t bytes = nitf_block_bytes(layout);
    return layout.mode == 'S' ? bytes : bytes * layout.bands;
}

bool read_block(CFILE* c, nitf_spec* spec, int64_t block, uint8_t* plane) {
    const nitf_layout& layout = spec->layout;
    int64_t base = nitf_place_of(c).data + block * block_distance(layout);
    size_t pitch = line_bytes(c, layout.block_width);
    if (is_plain_bytes(layout)) return read_samples(c, spec, base, 0, layout.block_width * layout.block_height, plane);
    int64_t bits = int64_t{layout.block_width} * layout.stored;
    for (int32_t y = 0; y < layout.block_height; ++y)
        if (!read_samples(c, spec, base, y * bits, layout.block_width, plane + static_cast<size_t>(y) * pitch))
            return false;
    return true;
}

// The first of the planes that is wanted takes the values.
uint8_t* first_wanted(int channels, read_planes buffers) {
    for (int i = 0; i < channels; ++i)
        if (buffers[i] != nullptr) return buffers[i];
    return nullptr;
}

// A line of values as colours, or the same in all planes that are wanted. One plane is handed out as it is stored, and
// the core makes colours of bits.
void spread(CFILE* c, int channels, read_planes buffers, uint8_t* values, int64_t count) {
    if (channels != 3 || values == nullptr || nitf_spec_of(c)->layout.stored == 1) return;
    if (c->color_table != nullptr && !has_flag(c, FLAG_RAW_SAMPLES) && values == buffers[0]) {
        rzl_apply_color_table(c, buffers[0], buffers[1], buffers[2], count);
        return;
    }
    for (int i = 0; i < channels; ++i)
        if (buffers[i] != nullptr && buffers[i] != values) std::memcpy(buffers[i], values, static_cast<size_t>(count));
}

} // namespace

int nitf_get_line(CFILE* c, int channels, read_planes buffers) {
    nitf_spec* spec = nitf_spec_of(c);
    if (!is_readable_image(c, spec, channels)) return 0;
    uint8_t* values = first_wanted(channels, buffers);
    int64_t bit = c->line * int64_t{spec->layout.block_width} * spec->layout.stored;
    if (!read_samples(c, spec, nitf_place_of(c).data, bit, c->xsize, values)) return 0;
    spread(c, channels, buffers, values, c->xsize);
    ++c->line;
    return c->xsize;
}

// Blocks are whole in the file, and are given so.
int nitf_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t*) {
    nitf_spec* spec = nitf_spec_of(c);
    rzl_gettile_check(c);
    if (c->status != 0 || !is_readable_image(c, spec, channels)) return 0;
    const nitf_layout& layout = spec->layout;
    uint8_t* values = first_wanted(channels, buffers);
    int64_t pixels = int64_t{layout.block_width} * layout.block_height;
    if (values != nullptr && !read_block(c, spec, c->line, values)) return 0;
    spread(c, channels, buffers, values, pixels);
    ++c->line;
    return static_cast<int>(pixels);
}
