// NITF files: writing headers, lines and blocks.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "raster/NITF/nitf.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "NITF/nitputli";
constexpr size_t LENGTH_WIDTH = 12;     // of the message length
constexpr int64_t TO_LENGTHS = 21;      // from the message length to the images' lengths
constexpr size_t HEAD_LENGTH_WIDTH = 6; // of a subheader
constexpr size_t IMAGE_LENGTH_WIDTH = 10;

bool write_failed(CFILE* c, int line = __builtin_LINE()) {
    return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr, line);
}

// ---- texts on their way out ----------------------------------------------------------------------------------------

// A header in the making.
struct texts_out {
    uint8_t* at; // owned; null when there was no memory
    size_t size, room;
};

void add(texts_out* out, const void* bytes, size_t size) {
    if (out->size + size > out->room) {
        size_t room = (out->size + size) * 2;
        auto* at = static_cast<uint8_t*>(mem_realloc(out->at, room));
        if (at == nullptr) {
            mem_free(out->at);
            *out = {nullptr, 0, 0};
            out->room = SIZE_MAX; // nothing more is added
        } else {
            out->at = at;
            out->room = room;
        }
    }
    if (out->at == nullptr) return;
    std::memcpy(out->at + out->size, bytes, size);
    out->size += size;
}

void add_text(texts_out* out, const void* record, const nitf_text& text) {
    add(out, static_cast<const char*>(record) + text.at, text.width);
}

void add_texts(texts_out* out, const void* record, const nitf_texts& texts) {
    for (const nitf_text& text : texts)
        add_text(out, record, text);
}

void add_number(texts_out* out, size_t width, int64_t number) {
    char text[IMAGE_LENGTH_WIDTH + 1];
    nitf_put_number(text, width, number);
    add(out, text, width);
}

bool write_out(CFILE* c, texts_out* out) {
    bool good = out->at != nullptr ? put_all(c, out->at, out->size, SOURCE) : fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    mem_free(out->at);
    return good;
}

// ---- the subheader -------------------------------------------------------------------------------------------------

// Whether the application's colours are shades of grey.
bool is_grey(const CFILE* c, int32_t entries) {
    for (int32_t i = 0; c->vlt != nullptr && i < entries; ++i)
        if (c->vlt[i].red >> 8 != c->vlt[i].green >> 8 || c->vlt[i].red >> 8 != c->vlt[i].blue >> 8) return false;
    return true;
}

// One table for shades of grey, three for colours. Without the application's colours a table is a ramp.
bool settle_table(CFILE* c, rzl_nitf_image* image) {
    rzl_nitf_band* band = &image->bands[0];
    mem_free(const_cast<uint8_t*>(band->lut_data));
    band->lut_data = nullptr;
    int32_t entries = nitf_small(band->lut_count) > 0 ? nitf_small(band->lut_entries) : 0;
    size_t tables = entries == 0 ? 0 : (is_grey(c, entries) ? 1 : 3);
    nitf_put_number(band->lut_count, 1, static_cast<int64_t>(tables));
    std::memcpy(image->representation, tables == 3 ? "RGB/LUT " : "MONO    ", sizeof image->representation);
    std::memcpy(band->representation, tables > 0 ? "LU" : "M ", sizeof band->representation);
    if (tables == 0) return true;
    auto n = static_cast<size_t>(entries);
    auto* data = mem_new_array<uint8_t>(n * tables);
    if (data == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    for (size_t i = 0; i < n; ++i) {
        const auto ramp = static_cast<uint16_t>(i << 8);
        rzl_vlt_entry color = c->vlt != nullptr ? c->vlt[i] : rzl_vlt_entry{0, ramp, ramp, ramp};
        const uint16_t planes[3] = {color.red, color.green, color.blue};
        for (size_t t = 0; t < tables; ++t)
            data[t * n + i] = static_cast<uint8_t>(planes[t] >> 8);
    }
    band->lut_data = data;
    return true;
}

// Blocks as they cover the image; an image without blocks is one. A side of more digits than it has is told as 0.
bool settle_blocks(CFILE* c, nitf_spec* spec, rzl_nitf_image* image) {
    nitf_layout* layout = &spec->layout;
    *layout = {8, std::min(c->bits, 8), 1, 1, 1, c->xsize, c->ysize, false, 'S'};
    const tile_record* tile = c->tile;
    if (has_flag(c, FLAG_TILED) && tile != nullptr) {
        layout->blocks_across = static_cast<int32_t>(std::min<uint32_t>(tile->tiles_across, INT32_MAX));
        layout->blocks_down = static_cast<int32_t>(std::min<uint32_t>(tile->tiles_down, INT32_MAX));
        layout->block_width = layout->block_height = static_cast<int32_t>(tile->width);
    }
    bool counted = layout->blocks_across <= NITF_MOST_BLOCKS && layout->blocks_down <= NITF_MOST_BLOCKS;
    if (!counted) return fails(c, RZL_BAD_TILE_SIZE, SOURCE, "tiles");
    bool told = layout->block_width <= NITF_MOST_BLOCKS && layout->block_height <= NITF_MOST_BLOCKS;
    nitf_put_number(image->blocks_per_row, 4, layout->blocks_across);
    nitf_put_number(image->blocks_per_column, 4, layout->blocks_down);
    nitf_put_number(image->block_width, 4, told ? layout->block_width : 0);
    nitf_put_number(image->block_height, 4, told ? layout->block_height : 0);
    return true;
}

int64_t image_bytes(const nitf_layout& layout) {
    return int64_t{layout.blocks_across} * layout.blocks_down * nitf_block_bytes(layout);
}

// What follows from the pixels. Pixels are bytes of one band.
bool settle_image(CFILE* c, nitf_spec* spec, rzl_nitf_image* image) {
    bool sized = c->xsize >= 1 && c->xsize <= NITF_MOST_SIDE && c->ysize >= 1 && c->ysize <= NITF_MOST_SIDE;
    if (!sized) return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    if (c->samples != 1 || c->bits > 8) return fails(c, RZL_UNSUP_NITF, SOURCE, "samples");
    if (!settle_blocks(c, spec, image) || !settle_table(c, image)) return false;
    if (image_bytes(spec->layout) > NITF_MOST_IMAGE) return fails(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    nitf_put_number(image->columns, 8, c->xsize);
    nitf_put_number(image->rows, 8, c->ysize);
    nitf_put_number(image->actual_bits, 2, c->bits);
    nitf_put_number(image->stored_bits, 2, 8);
    return true;
}

void add_subheader(texts_out* out, const rzl_nitf_image* image) {
    add_texts(out, image, NITF_IMAGE_TEXTS);
    if (std::strcmp(image->downgrade, NITF_HAS_EVENT) == 0) add_text(out, image, NITF_IMAGE_EVENT_TEXT);
    add_texts(out, image, NITF_PIXEL_TEXTS);
    if (std::strcmp(image->coordinate_system, "N") != 0) add_text(out, image, NITF_LOCATION_TEXT);
    add(out, image->comment_count, 1);
    for (int32_t i = 0; i < nitf_small(image->comment_count); ++i)
        add(out, image->comments[i], sizeof image->comments[i] - 1);
    add(out, "NC1", 3); // plain pixels of one band
    const rzl_nitf_band& band = image->bands[0];
    add_texts(out, &band, NITF_BAND_TEXTS);
    if (band.lut_data != nullptr) {
        add(out, band.lut_entries, sizeof band.lut_entries - 1);
        add(out, band.lut_data,
            static_cast<size_t>(nitf_small(band.lut_count)) * static_cast<size_t>(nitf_small(band.lut_entries)));
    }
    add_texts(out, image, NITF_BLOCK_TEXTS);
    add_number(out, 5, 0);
    add_number(out, 5, 0);
}

// ---- the header ----------------------------------------------------------------------------------------------------

// Lengths are those of one image as it will be; more images, and what does not come, are told at the end.
void add_header(texts_out* out, nitf_spec* spec, size_t subheader) {
    rzl_nitf_header* h = &spec->header;
    add_texts(out, h, NITF_HEADER_TEXTS);
    if (std::strcmp(h->downgrade, NITF_HAS_EVENT) == 0) add_text(out, h, NITF_EVENT_TEXT);
    size_t more = out->size;
    add_texts(out, h, NITF_MORE_TEXTS);
    for (int32_t i = 0; i < h->image_count; ++i) {
        add_number(out, HEAD_LENGTH_WIDTH, i == 0 ? static_cast<int64_t>(subheader) : 0);
        add_number(out, IMAGE_LENGTH_WIDTH, i == 0 ? image_bytes(spec->layout) : 0);
    }
    for (size_t i = 0; i < NITF_PARTS; ++i)
        add_number(out, 3, 0);
    add_number(out, 5, 0);
    add_number(out, 5, 0);
    constexpr size_t FROM_END = LENGTH_WIDTH + HEAD_LENGTH_WIDTH + 3; // the last three of these texts
    size_t texts = 0;
    for (const nitf_text& text : NITF_MORE_TEXTS)
        texts += text.width;
    spec->length_at = static_cast<int64_t>(more + texts - FROM_END);
    spec->header_length = static_cast<int64_t>(out->size);
}

// The header has its own length, and the file's.
void put_lengths(texts_out* out, nitf_spec* spec, size_t subheader) {
    int64_t file = spec->header_length + static_cast<int64_t>(subheader) + image_bytes(spec->layout);
    nitf_put_number(spec->header.message_length, LENGTH_WIDTH, file);
    nitf_put_number(spec->header.header_length, HEAD_LENGTH_WIDTH, spec->header_length);
    if (out->at == nullptr) return;
    std::memcpy(out->at + spec->length_at, spec->header.message_length, LENGTH_WIDTH);
    std::memcpy(out->at + static_cast<size_t>(spec->length_at) + LENGTH_WIDTH, spec->header.header_length,
                HEAD_LENGTH_WIDTH);
}

bool write_headers(CFILE* c, nitf_spec* spec, int64_t place) {
    texts_out sub = {};
    add_subheader(&sub, nitf_image_of(c));
    size_t subheader = sub.size;
    texts_out head = {};
    if (c->active_image == 0) {
        add_header(&head, spec, subheader);
        put_lengths(&head, spec, subheader);
    }
    int64_t before = static_cast<int64_t>(head.size);
    bool good = c->active_image != 0 || write_out(c, &head);
    if (!good) {
        mem_free(sub.at);
        return false;
    }
    if (!write_out(c, &sub)) return false;
    nitf_place* at = &spec->places[c->active_image];
    at->head = place + before;
    at->data = at->head + static_cast<int64_t>(subheader);
    at->end = at->data + image_bytes(spec->layout);
    return true;
}

// Where the image that is active ends in the file, as far as it has come. An image in blocks is there whole, with
// zeros for those that have not come.
bool end_image(CFILE* c, int64_t* end) {
    const nitf_place& at = nitf_place_of(c);
    int64_t size = io_size(c);
    *end = at.end;
    if (size < 0 || size >= at.end) return true;
    if (!nitf_is_tiled(nitf_spec_of(c)->layout)) {
        *end = std::max(size, at.data);
        return true;
    }
    return (io_seek(c, at.end - 1) && put_all(c, "", 1, SOURCE)) || write_failed(c);
}

// ---- lines ---------------------------------------------------------------------------------------------------------

bool go_to(CFILE* c, int64_t place) {
    return io_tell(c) == place || io_seek(c, place) || write_failed(c);
}

} // namespace

// A file has a header, and each of its images a subheader, which is written where the image before ends.
int nitf_write_header(CFILE* c) {
    nitf_spec* spec = nitf_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (!settle_image(c, spec, nitf_image_of(c))) return 1;
    int64_t place = c->active_image > 0 ? spec->places[c->active_image - 1].end : 0;
    if (!go_to(c, place) || !write_headers(c, spec, place)) return 1;
    spec->images_begun = c->active_image + 1;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int nitf_put_line(CFILE* c, int channels, write_planes buffers) {
    nitf_spec* spec = nitf_spec_of(c);
    if (channels != 1) return fails(c, RZL_UNSUP_NITF, SOURCE, "putline");
    auto bytes = static_cast<size_t>(c->xsize);
    mem_guard<uint8_t> black(nullptr);
    const uint8_t* line = buffers[0];
    if (line == nullptr) {
        black.block = static_cast<uint8_t*>(mem_alloc_zeroed(bytes));
        if (!black) return fails(c, RZL_NO_MEMORY, SOURCE, "putline");
        line = black.get();
    }
    int64_t place = spec->places[c->active_image].data + c->line * int64_t{c->xsize};
    return go_to(c, place) && put_all(c, line, bytes, SOURCE) ? c->xsize : 0;
}

int nitf_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t*) {
    nitf_spec* spec = nitf_spec_of(c);
    if (rzl_puttile_check(c) != 0) return 0;
    if (channels != 1) return fails(c, RZL_UNSUP_NITF, SOURCE, "puttile");
    int64_t bytes = nitf_block_bytes(spec->layout);
    mem_guard<uint8_t> black(nullptr);
    const uint8_t* block = buffers[0];
    if (block == nullptr) {
        black.block = static_cast<uint8_t*>(mem_alloc_zeroed(static_cast<size_t>(bytes)));
        if (!black) return fails(c, RZL_NO_MEMORY, SOURCE, "puttile");
        block = black.get();
    }
    if (!go_to(c, nitf_place_of(c).data + c->line * bytes)) return 0;
    if (!put_all(c, block, static_cast<size_t>(bytes), SOURCE)) return 0;
    ++c->line;
    return static_cast<int>(bytes);
}

// Images are written one after the other.
int nitf_begin_image(CFILE* c, int32_t image) {
    nitf_spec* spec = nitf_spec_of(c);
    if (image == c->active_image) return 0;
    bool next = image == spec->images_begun && image == c->active_image + 1 && has_flag(c, FLAG_HEADER_EXISTS);
    if (!next) return refuse(c, RZL_NO_SUCH_IMAGE, SOURCE, "Set Active Image");
    int64_t end = 0;
    if (!end_image(c, &end)) return 1;
    spec->places[c->active_image].end = end;
    c->active_image = image;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, false);
    if (c->tile != nullptr) c->tile->first_line = 0;
    return 0;
}

// The lengths of what has come. A file of one image that is whole has them already; one that goes through a pipe can't
// be told anything more.
void nitf_close(CFILE* c) {
    nitf_spec* spec = nitf_spec_of(c);
    bool is_new = c->mode == MODE_WRITE || c->mode == MODE_WRITE_READ;
    if (spec == nullptr || !is_new || spec->images_begun == 0) return;
    int64_t end = 0;
    if (has_flag(c, FLAG_HEADER_EXISTS)) {
        if (!end_image(c, &end)) return;
        nitf_place* at = &spec->places[c->active_image];
        bool whole = spec->header.image_count == 1 && end == at->end;
        at->end = end;
        if (whole) return;
    }
    end = spec->places[spec->images_begun - 1].end;
    texts_out out = {};
    char text[LENGTH_WIDTH + 1];
    nitf_put_number(text, LENGTH_WIDTH, end);
    if (!go_to(c, spec->length_at) || !put_all(c, text, LENGTH_WIDTH, SOURCE)) return;
    for (int32_t i = 0; i < spec->images_begun; ++i) {
        const nitf_place& at = spec->places[i];
        add_number(&out, HEAD_LENGTH_WIDTH, at.data - at.head);
        add_number(&out, IMAGE_LENGTH_WIDTH, at.end - at.data);
    }
    if (!go_to(c, spec->length_at + TO_LENGTHS)) {
        mem_free(out.at);
        return;
    }
    bool written = write_out(c, &out);
    // The header counts images that are not there.
    if (written && spec->images_begun < spec->header.image_count) fail(c, RZL_WRITE_FAILED, SOURCE, "images");
}
