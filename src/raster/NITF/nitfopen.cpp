// NITF files: reading the header and the subheaders of images, images of a file, and the module.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "raster/NITF/nitf.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "NITF/nitfopen";

bool read_failed(CFILE* c, const char* word, int line = __builtin_LINE()) {
    return fails(c, RZL_READ_FAILED, SOURCE, word, line);
}

// ---- texts ---------------------------------------------------------------------------------------------------------

bool read_text(CFILE* c, const char* word, char* text, size_t width) {
    text[width] = '\0';
    return io_read(c, text, width) == width || read_failed(c, word);
}

bool read_field(CFILE* c, void* record, const nitf_text& text) {
    return read_text(c, text.word, static_cast<char*>(record) + text.at, text.width);
}

bool read_fields(CFILE* c, void* record, const nitf_texts& texts) {
    for (const nitf_text& text : texts)
        if (!read_field(c, record, text)) return false;
    return true;
}

// A text that has to be a number.
bool read_number(CFILE* c, const char* word, char* text, size_t width, int64_t* number) {
    return read_text(c, word, text, width) && (nitf_number(text, number) || read_failed(c, word));
}

// A number, and so many bytes, which are passed over.
bool pass_data(CFILE* c, const char* word, char* text) {
    constexpr size_t WIDTH = 5;
    int64_t bytes = 0;
    if (!read_number(c, word, text, WIDTH, &bytes)) return false;
    return io_skip(c, bytes) || read_failed(c, word);
}

// ---- the header ----------------------------------------------------------------------------------------------------

// Lengths of subheaders and images. Their count is bounded by its digits.
struct image_length {
    int64_t head, data;
};

bool read_image_lengths(CFILE* c, image_length* lengths, int32_t count) {
    constexpr size_t HEAD_WIDTH = 6;
    constexpr size_t DATA_WIDTH = 10;
    char text[DATA_WIDTH + 1];
    for (int32_t i = 0; i < count; ++i) {
        bool good = read_number(c, "LengthOfImageSubHeader.", text, HEAD_WIDTH, &lengths[i].head) &&
                    read_number(c, "LengthOfImage.", text, DATA_WIDTH, &lengths[i].data);
        if (!good) return false;
    }
    return true;
}

bool pass_parts(CFILE* c, rzl_nitf_header* header) {
    char text[16];
    for (const nitf_part& part : NITF_PART_TABLE) {
        int64_t count = 0;
        int64_t ignored = 0;
        if (!read_number(c, part.count_word, reinterpret_cast<char*>(header) + part.at, 3, &count)) return false;
        for (int64_t i = 0; i < count; ++i) {
            bool good = read_number(c, part.head_word, text, part.head_width, &ignored) &&
                        read_number(c, part.data_word, text, part.data_width, &ignored);
            if (!good) return false;
        }
    }
    return true;
}

bool read_header_texts(CFILE* c, rzl_nitf_header* h) {
    return read_fields(c, h, NITF_HEADER_TEXTS) &&
           (std::strcmp(h->downgrade, NITF_HAS_EVENT) != 0 || read_field(c, h, NITF_EVENT_TEXT)) &&
           read_fields(c, h, NITF_MORE_TEXTS);
}

// ---- subheaders ----------------------------------------------------------------------------------------------------

// The tables of a band, in memory that the band owns.
bool read_tables(CFILE* c, rzl_nitf_band* band) {
    int64_t tables = 0;
    int64_t entries = 0;
    if (!nitf_number(band->lut_count, &tables)) return read_failed(c, "BandNumberOfLUTS.");
    if (tables == 0) return true;
    if (!read_number(c, "BandNumberOfLUTEntries.", band->lut_entries, 5, &entries)) return false;
    auto bytes = static_cast<uint64_t>(tables * entries);
    band->lut_data = io_read_block(c, bytes, 0, SOURCE, "BandLUTData.");
    return band->lut_data != nullptr;
}

bool read_bands(CFILE* c, rzl_nitf_image* image) {
    int64_t bands = 0;
    if (!read_number(c, "NumberOfBands.", image->band_count, 1, &bands)) return false;
    for (int64_t i = 0; i < bands; ++i) {
        rzl_nitf_band* band = &image->bands[i];
        if (!read_fields(c, band, NITF_BAND_TEXTS) || !read_tables(c, band)) return false;
    }
    return true;
}

bool read_comments(CFILE* c, rzl_nitf_image* image) {
    int64_t count = 0;
    if (!read_number(c, "NumberOfImageComments.", image->comment_count, 1, &count)) return false;
    for (int64_t i = 0; i < count; ++i)
        if (!read_text(c, "ImageComments.", image->comments[i], sizeof image->comments[i] - 1)) return false;
    return true;
}

bool read_subheader(CFILE* c, rzl_nitf_image* image) {
    return read_fields(c, image, NITF_IMAGE_TEXTS) &&
           (std::strcmp(image->downgrade, NITF_HAS_EVENT) != 0 || read_field(c, image, NITF_IMAGE_EVENT_TEXT)) &&
           read_fields(c, image, NITF_PIXEL_TEXTS) &&
           (std::strcmp(image->coordinate_system, "N") == 0 || read_field(c, image, NITF_LOCATION_TEXT)) &&
           read_comments(c, image) &&
           read_text(c, "ImageCompression.", image->compression, sizeof image->compression - 1) &&
           (std::strcmp(image->compression, "NC") == 0 || read_field(c, image, NITF_RATE_TEXT)) &&
           read_bands(c, image) && read_fields(c, image, NITF_BLOCK_TEXTS) &&
           pass_data(c, "UserDefinedImageDataLength.", image->user_data_length) &&
           pass_data(c, "ExtendedSubHeaderDataLength.", image->extended_data_length);
}

// Each subheader begins where the image before ends, and its pixels where it says it ends. The image that ends a file
// and has all digits of its length at 9 has what the file has.
bool read_images(CFILE* c, nitf_spec* spec, const image_length* lengths, int64_t place) {
    int64_t size = io_size(c);
    int32_t count = spec->header.image_count;
    for (int32_t i = 0; i < count; ++i) {
        nitf_place* at = &spec->places[i];
        at->head = place;
        if (place > size || !io_seek(c, place)) return read_failed(c, "MessagePartType.");
        if (!read_subheader(c, &spec->header.images[i])) return false;
        at->data = place + lengths[i].head;
        if (io_tell(c) > at->data) return read_failed(c, "LengthOfImageSubHeader.");
        bool rest = i + 1 == count && lengths[i].data == NITF_MOST_IMAGE;
        place = rest ? std::max(size, at->data) : at->data + lengths[i].data;
        at->end = std::min(place, size);
    }
    return true;
}

bool read_file(CFILE* c, nitf_spec* spec) {
    rzl_nitf_header* h = &spec->header;
    int64_t images = 0;
    int64_t length = 0;
    if (!read_header_texts(c, h)) return false;
    if (std::strcmp(h->type_and_version, "NITF02.00") != 0) return fails(c, RZL_UNSUP_NITF, SOURCE, "version");
    if (!nitf_number(h->number_of_images, &images)) return read_failed(c, "NumberOfImages.");
    if (images == 0) return fails(c, RZL_UNSUP_NITF, SOURCE, "a file without images");
    if (!nitf_number(h->header_length, &length)) return read_failed(c, "NITFHeaderLength.");
    mem_guard<image_length> lengths(mem_new_array<image_length>(static_cast<size_t>(images)));
    if (!lengths) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    bool good = read_image_lengths(c, lengths.get(), static_cast<int32_t>(images)) &&
                nitf_make_images(c, static_cast<int32_t>(images)) && pass_parts(c, h) &&
                pass_data(c, "UserDefinedHeaderDataLength.", h->user_data_length) &&
                pass_data(c, "ExtendedHeaderDataLength.", h->extended_data_length);
    if (!good) return false;
    if (io_tell(c) > length) return read_failed(c, "NITFHeaderLength.");
    return read_images(c, spec, lengths.get(), length);
}

// ---- an image as it is active --------------------------------------------------------------------------------------

void take_layout(const rzl_nitf_image* image, nitf_layout* layout) {
    layout->stored = nitf_small(image->stored_bits);
    int32_t actual = nitf_small(image->actual_bits);
    layout->actual = actual <= 0 || actual > layout->stored ? layout->stored : actual;
    layout->bands = nitf_small(image->band_count);
    layout->left = image->justification[0] == 'L';
    layout->mode = image->mode[0];
    layout->blocks_across = nitf_small(image->blocks_per_row);
    layout->blocks_down = nitf_small(image->blocks_per_column);
    layout->block_width = nitf_small(image->block_width);
    layout->block_height = nitf_small(image->block_height);
}

// Blocks cover the image, and not twice. An image that is not cut is one block, which may be wider than it.
bool settle_blocks(CFILE* c, int64_t width, int64_t height, nitf_layout* layout) {
    if (!nitf_is_tiled(*layout)) {
        layout->block_width = static_cast<int32_t>(std::max<int64_t>(layout->block_width, width));
        layout->block_height = static_cast<int32_t>(std::max<int64_t>(layout->block_height, height));
        layout->blocks_across = layout->blocks_down = 1;
        return true;
    }
    if (layout->block_width != layout->block_height || layout->block_width == 0)
        return fails(c, RZL_UNSUP_NITF, SOURCE, "blocks that are not square");
    int64_t side = layout->block_width;
    bool covers =
        layout->blocks_across == (width + side - 1) / side && layout->blocks_down == (height + side - 1) / side;
    return covers || read_failed(c, "NumberOfBlocksPerRow.");
}

// The colours of the first band: three tables, or one for all.
bool make_colors(CFILE* c, const rzl_nitf_band& band, uint8_t** colors) {
    constexpr int32_t PLANES = 3;
    *colors = nullptr;
    auto entries = static_cast<size_t>(nitf_small(band.lut_entries));
    int32_t tables = nitf_small(band.lut_count);
    if (band.lut_data == nullptr || entries == 0) return true;
    *colors = static_cast<uint8_t*>(mem_alloc_zeroed(NITF_TABLE * PLANES));
    if (*colors == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    for (size_t i = 0; i < std::min<size_t>(entries, NITF_TABLE); ++i)
        for (size_t p = 0; p < PLANES; ++p)
            (*colors)[i * PLANES + p] = band.lut_data[(tables >= PLANES ? p * entries : 0) + i];
    return true;
}

int nitf_open(CFILE* c, const char*) {
    nitf_spec* spec = nitf_spec_of(c);
    if (c->mode != MODE_READ) return refuse(c, RZL_MODIFY_COMPRESSED, SOURCE, nullptr);
    if (!io_seek(c, 0)) return refuse(c, RZL_READ_FAILED, SOURCE, "MessageTypeAndVersion.");
    if (!read_file(c, spec)) return 1;
    if (nitf_activate(c, 0) != 0) return 1;
    set_flag(c, FLAG_MULTI_IMAGE, spec->header.image_count > 1);
    return 0;
}

int nitf_initialise(CFILE* c) {
    nitf_spec* spec = nitf_spec_of(c);
    nitf_set_initial(&spec->header);
    c->format = RZL_FORMAT_BYTE;
    (void)format_layout(c->format, &c->samples, &c->bits);
    return nitf_make_images(c, 1) ? 0 : 1;
}

// ---- images --------------------------------------------------------------------------------------------------------

void free_images(nitf_spec* spec) {
    rzl_nitf_header* h = &spec->header;
    for (int32_t i = 0; h->images != nullptr && i < h->image_count; ++i)
        for (rzl_nitf_band& band : h->images[i].bands)
            mem_free(const_cast<uint8_t*>(band.lut_data));
    mem_free(h->images);
    mem_free(spec->places);
    h->images = nullptr;
    h->image_count = 0;
    spec->places = nullptr;
}

int nitf_get_number_of_images(CFILE* c) {
    return nitf_spec_of(c)->header.image_count;
}

int nitf_set_active_image(CFILE* c, int32_t image) {
    if (image < 0 || image >= nitf_spec_of(c)->header.image_count)
        return refuse(c, RZL_NO_SUCH_IMAGE, SOURCE, "Set Active Image");
    if (c->mode != MODE_READ) return nitf_begin_image(c, image);
    if (nitf_activate(c, image) != 0) return 1;
    c->line = 0;
    return 0;
}

int64_t nitf_get_image_offset(CFILE* c) {
    return nitf_place_of(c).data;
}

void nitf_free_specs(CFILE* c) {
    nitf_spec* spec = nitf_spec_of(c);
    if (spec == nullptr) return;
    free_images(spec);
    mem_free(spec->row);
    spec->row = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE};

constexpr field_limit LIMITS[] = {{RZL_FIELD_VLT_ENTRIES, 0, NITF_TABLE}};

constexpr field_type TYPES[] = {{RZL_FIELD_NITF, field_kind::record, 0}};

constexpr format_slots SLOTS = {
    .Get_line = nitf_get_line,
    .Getlinefromtile = rzl_getline_from_tiles,
    .Put_line = nitf_put_line,
    .Gettile = nitf_get_tile,
    .Puttile = nitf_put_tile,
    .Get_hdr_data = nitf_get_hdr_data,
    .Set_hdr_data = nitf_set_hdr_data,
    .Get_format = nitf_get_format,
    .Wrt_hdr = nitf_write_header,
    .Get_number_of_images = nitf_get_number_of_images,
    .Set_Number_of_Images = nitf_set_number_of_images,
    .Set_Active_Image = nitf_set_active_image,
    .Randomize = rzl_randomize_nothing,
    .Close = nitf_close,
    .Free_specs = nitf_free_specs,
    .Get_Image_Offset = nitf_get_image_offset,
};

} // namespace

extern const format_module nitf_module;
const format_module nitf_module = {
    .word = SOURCE,
    .squetch_word = "NITF squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(nitf_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .types = TYPES,
    .traits = MODULE_TILES | MODULE_COUNTS,
    .open = nitf_open,
    .initialise = nitf_initialise,
};

bool nitf_make_images(CFILE* c, int32_t count) {
    nitf_spec* spec = nitf_spec_of(c);
    auto n = static_cast<size_t>(count);
    auto* images = mem_new_array<rzl_nitf_image>(n);
    auto* places = mem_new_array<nitf_place>(n);
    if (images == nullptr || places == nullptr) {
        mem_free(images);
        mem_free(places);
        return fails(c, RZL_NO_MEMORY, SOURCE, nullptr);
    }
    free_images(spec);
    for (size_t i = 0; i < n; ++i) {
        nitf_set_initial_image(&images[i]);
        places[i] = {};
    }
    spec->header.images = images;
    spec->header.image_count = count;
    spec->places = places;
    return true;
}

int nitf_activate(CFILE* c, int32_t number) {
    nitf_spec* spec = nitf_spec_of(c);
    const rzl_nitf_image* image = &spec->header.images[number];
    nitf_layout layout = {};
    take_layout(image, &layout);
    int64_t width = 0;
    int64_t height = 0;
    bool sized = nitf_number(image->columns, &width) && nitf_number(image->rows, &height) && width > 0 && height > 0;
    if (!sized) return refuse(c, RZL_READ_FAILED, SOURCE, "NumberOfSignRows.");
    if (!settle_blocks(c, width, height, &layout)) return 1;
    int32_t old_width = c->xsize;
    int32_t old_height = c->ysize;
    c->xsize = static_cast<int32_t>(width);
    c->ysize = static_cast<int32_t>(height);
    uint8_t* colors = nullptr;
    int32_t side = nitf_is_tiled(layout) ? layout.block_width : 0;
    bool good = make_colors(c, image->bands[0], &colors) && rzl_setup_tiles(c, side, side) == 0;
    if (!good) {
        mem_free(colors);
        c->xsize = old_width;
        c->ysize = old_height;
        return 1;
    }
    mem_free(c->color_table);
    c->color_table = colors;
    c->vlt_bits = colors != nullptr ? 8 : 0;
    c->samples = layout.bands;
    c->bits = layout.actual;
    spec->layout = layout;
    c->active_image = number;
    c->format = nitf_get_format(c);
    return 0;
}
