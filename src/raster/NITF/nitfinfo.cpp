// NITF files: header fields.
#include <algorithm>
#include <cstring>

#include "raster/NITF/nitf.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "NITF/nitfinfo";
constexpr int32_t UNKNOWN_COMPRESSION = -1;
constexpr size_t RECORD_ADDRESS_SIZE = sizeof(void*); // of a field that is the address of a header's record

// The number of a compression: 0 for plain pixels.
int32_t compression_of(const rzl_nitf_image* image) {
    constexpr const char* WORDS[] = {"NC", "C0", "C1", "C2", "C3"};
    for (int32_t i = 0; i < 5; ++i)
        if (std::strcmp(image->compression, WORDS[i]) == 0) return i;
    return UNKNOWN_COMPRESSION;
}

int32_t reported_compression(const rzl_nitf_image* image) {
    int32_t number = compression_of(image);
    if (number == UNKNOWN_COMPRESSION && debug_level() != 0)
        rzl_report(RZL_UNSUP_NITF, SOURCE, __LINE__, "Unsupported Compression Type");
    return number;
}

// ---- setting -------------------------------------------------------------------------------------------------------

int set_side(CFILE* c, char* text, int32_t side) {
    if (side > NITF_MOST_SIDE) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "size");
    nitf_put_number(text, 8, side);
    return 0;
}

// Bilevel and run-coded images are known, and not made.
int set_format(CFILE* c, rzl_nitf_image* image, int32_t format) {
    bool known = format_is_bilevel(format) ? format == RZL_FORMAT_BILEVEL || format == RZL_FORMAT_BILEVEL_RUNS
                                           : format == RZL_FORMAT_BYTE || format == RZL_FORMAT_BYTE_RUNS;
    if (!known) return refuse(c, RZL_NOT_STANDARD, SOURCE, "format");
    if (rzl_take_format(c, format, RZL_UNSUP_NITF, SOURCE) != 0) return 1;
    nitf_put_number(image->actual_bits, 2, c->bits);
    nitf_put_number(image->band_count, 1, c->samples);
    return 0;
}

void set_entries(rzl_nitf_image* image, int32_t entries) {
    nitf_put_number(image->bands[0].lut_entries, 5, entries);
    nitf_put_number(image->bands[0].lut_count, 1, entries > 0 ? 1 : 0);
}

// Counts follow when the header is written, where they don't cover the image.
int set_block(CFILE* c, rzl_nitf_image* image, int32_t side) {
    if (side > NITF_MOST_BLOCKS) return refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "tile size");
    nitf_put_number(image->block_width, 4, side);
    nitf_put_number(image->block_height, 4, side);
    if (side > 0) nitf_put_number(image->blocks_per_row, 4, 1);
    if (side > 0) nitf_put_number(image->blocks_per_column, 4, 1);
    return 0;
}

int set_count(CFILE* c, char* text, int32_t count) {
    if (count < 0 || count > NITF_MOST_BLOCKS) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "blocks");
    nitf_put_number(text, 4, count);
    return 0;
}

// A text of the caller's record, of its width at most, with blanks behind it.
void copy_text(void* to, const void* from, const nitf_text& text) {
    const char* in = static_cast<const char*>(from) + text.at;
    char* out = static_cast<char*>(to) + text.at;
    size_t length = strnlen(in, text.width);
    std::memset(out, ' ', text.width);
    std::memcpy(out, in, length);
    out[text.width] = '\0';
}

void copy_texts(void* to, const void* from, const nitf_texts& texts) {
    for (const nitf_text& text : texts)
        copy_text(to, from, text);
}

void copy_comments(rzl_nitf_image* to, const rzl_nitf_image* from) {
    char count = from->comment_count[0];
    to->comment_count[0] = is_digit(count) ? count : '0';
    for (size_t i = 0; i < NITF_MOST_COMMENTS; ++i) {
        nitf_text text = {"", sizeof to->comments[i] - 1, 0, nullptr};
        copy_text(to->comments[i], from->comments[i], text);
    }
}

void copy_image(rzl_nitf_image* to, const rzl_nitf_image* from) {
    copy_texts(to, from, NITF_IMAGE_TEXTS);
    copy_text(to, from, NITF_IMAGE_EVENT_TEXT);
    copy_text(to, from, NITF_LOCATION_TEXT);
    copy_comments(to, from);
    // Of the texts about pixels, those that do not follow from them.
    rzl_nitf_image all = *to;
    copy_texts(&all, from, NITF_PIXEL_TEXTS);
    copy_texts(&all, from, NITF_BLOCK_TEXTS);
    std::memcpy(to->encryption, all.encryption, sizeof to->encryption);
    std::memcpy(to->source, all.source, sizeof to->source);
    std::memcpy(to->image_class, all.image_class, sizeof to->image_class);
    std::memcpy(to->coordinate_system, all.coordinate_system, sizeof to->coordinate_system);
    std::memcpy(to->display_level, all.display_level, sizeof to->display_level);
    std::memcpy(to->attachment_level, all.attachment_level, sizeof to->attachment_level);
    std::memcpy(to->place, all.place, sizeof to->place);
    std::memcpy(to->magnification, all.magnification, sizeof to->magnification);
}

int set_record(CFILE* c, rzl_nitf_header* header, const rzl_nitf_header* from) {
    if (from == nullptr || from == header) return from == header ? 0 : refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "record");
    if (from->image_count != header->image_count || from->images == nullptr)
        return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "record");
    // The version is this library's, and the counts of images and lengths are the file's.
    for (const nitf_text& text : NITF_HEADER_TEXTS)
        if (&text != NITF_HEADER_TEXTS.first) copy_text(header, from, text);
    copy_text(header, from, NITF_EVENT_TEXT);
    for (const nitf_text& text : NITF_MORE_TEXTS)
        if (&text + 3 < NITF_MORE_TEXTS.last) copy_text(header, from, text);
    for (int32_t i = 0; i < header->image_count; ++i)
        copy_image(&header->images[i], &from->images[i]);
    return 0;
}

} // namespace

int nitf_get_format(CFILE* c) {
    if (!has_flag(c, FLAG_HEADER_EXISTS) || c->mode != MODE_READ) return c->format;
    const rzl_nitf_image* image = nitf_image_of(c);
    int32_t bits = nitf_spec_of(c)->layout.stored;
    int32_t compression = compression_of(image);
    bool known = bits >= 1 && bits <= 16 && compression != UNKNOWN_COMPRESSION;
    if (!known) {
        fail(c, RZL_UNSUP_NITF, SOURCE, "Get format");
        return RZL_FORMAT_BYTE;
    }
    if (bits > 8) return RZL_FORMAT_INT16;
    bool plain = compression == 0;
    if (bits == 1) return plain ? RZL_FORMAT_BILEVEL : RZL_FORMAT_BILEVEL_RUNS;
    return plain ? RZL_FORMAT_BYTE : RZL_FORMAT_BYTE_RUNS;
}

int nitf_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const rzl_nitf_image* image = nitf_image_of(c);
    const rzl_nitf_band& band = image->bands[0];
    switch (field) {
    case RZL_FIELD_MATRIX: std::memset(value, 0, sizeof(double) * 16); break;
    case RZL_FIELD_VLT_TYPE: give_int(value, nitf_small(band.lut_count) > 0 ? RZL_VLT_ENTRIES : RZL_VLT_NONE); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, nitf_small(band.lut_entries)); break;
    case RZL_FIELD_TILE_WIDTH: give_int(value, nitf_small(image->block_width)); break;
    case RZL_FIELD_TILE_HEIGHT: give_int(value, nitf_small(image->block_height)); break;
    case RZL_FIELD_TILES_ACROSS: give_int(value, nitf_small(image->blocks_per_row)); break;
    case RZL_FIELD_TILES_DOWN: give_int(value, nitf_small(image->blocks_per_column)); break;
    case RZL_FIELD_COMPRESSION: give_int(value, reported_compression(image)); break;
    case RZL_FIELD_NITF: {
        const rzl_nitf_header* header = &nitf_spec_of(c)->header;
        std::memcpy(value, static_cast<const void*>(&header), RECORD_ADDRESS_SIZE);
        break;
    }
    default: break;
    }
    return 0;
}

int nitf_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    rzl_nitf_image* image = nitf_image_of(c);
    switch (field) {
    case RZL_FIELD_XSIZE: return set_side(c, image->columns, int_of(value));
    case RZL_FIELD_YSIZE: return set_side(c, image->rows, int_of(value));
    case RZL_FIELD_FORMAT: return set_format(c, image, int_of(value));
    case RZL_FIELD_VLT_TYPE: nitf_put_number(image->bands[0].lut_count, 1, int_of(value) != 0 ? 1 : 0); return 0;
    case RZL_FIELD_VLT_ENTRIES: set_entries(image, int_of(value)); return 0;
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT: return set_block(c, image, int_of(value));
    case RZL_FIELD_TILES_ACROSS: return set_count(c, image->blocks_per_row, int_of(value));
    case RZL_FIELD_TILES_DOWN: return set_count(c, image->blocks_per_column, int_of(value));
    case RZL_FIELD_NITF: {
        const rzl_nitf_header* from = nullptr;
        std::memcpy(static_cast<void*>(&from), value, RECORD_ADDRESS_SIZE);
        return set_record(c, &nitf_spec_of(c)->header, from);
    }
    default: return 0;
    }
}

int nitf_set_number_of_images(CFILE* c, int32_t count) {
    nitf_spec* spec = nitf_spec_of(c);
    if (!is_writable(c) || has_flag(c, FLAG_HEADER_EXISTS) || spec->images_begun > 0)
        return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Set Number of Images");
    if (count <= 1) return 0;
    if (count > NITF_MOST_IMAGES) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "Set Number of Images");
    if (!nitf_make_images(c, count)) return 1;
    nitf_put_number(spec->header.number_of_images, 3, count);
    return 0;
}
