// TIFF: opening for reading and update, the initial state of a file being created, what the handle takes from the
// active image, and closing.
//
// What is believed of an image. A file is refused when a line, or a row of tiles, is longer than all of the file's
// bytes could be the code of: nothing that reads it then takes memory out of proportion. Strips that are missing or cut
// fail when their lines are read, and the lines in front of them are given.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/ccitt.h"
#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifopen";

// How a coding can expand: pixels that a byte of it stands for at most, per bit of a pixel's plane or as a whole.
uint64_t expansion_of(uint16_t compression) {
    if (tif_is_fax(compression)) return 65536;
    if (compression == TIF_LZW) return 1400;
    return compression == TIF_PACKBITS ? 64 : 1;
}

// A row of tiles is held in memory: so much is taken on trust, blank tiles having hardly any code.
constexpr uint64_t TRUSTED_BYTES = 1 << 24;
constexpr uint64_t TILE_ROW_EXPANSION = 1400;
// A file under update may not have its lines yet.
constexpr uint64_t UNWRITTEN_BYTES = 1 << 20;

bool line_fits(const tif_image* image, uint64_t file_bytes) {
    uint64_t row = tif_row_bytes(image, 0);
    if (tif_is_tiled(image)) row = row * image->tiles_across;
    return row / expansion_of(image->compression) <= file_bytes;
}

bool tile_row_fits(const tif_image* image, uint64_t file_bytes) {
    if (!tif_is_tiled(image)) return true;
    uint64_t pixels = 0;
    uint64_t bytes = 0;
    uint64_t lines = std::min(image->tile_length, std::max(image->image_length, 1u));
    uint64_t sample = tif_bits(image) > 16 ? 4 : tif_bits(image) > 8 ? 2 : 1;
    uint64_t pixel = std::max<uint64_t>(sample, image->samples_per_pixel);
    bool counted = checked_mul(uint64_t{image->tiles_across} * image->tile_width, lines, &pixels) &&
                   checked_mul(pixels, pixel, &bytes);
    // The tile itself is of full length, whatever the image has.
    uint64_t tile = 0;
    counted = counted && checked_mul(uint64_t{image->tile_width} * image->tile_length, pixel, &tile);
    if (!counted) return false;
    bytes = std::max(bytes, tile);
    return bytes <= TRUSTED_BYTES || bytes / TILE_ROW_EXPANSION <= file_bytes;
}

uint32_t judge_coding(const tif_image* image, const char** detail) {
    uint16_t compression = image->compression;
    bool grey = image->photometric == TIF_WHITE_ZERO || image->photometric == TIF_BLACK_ZERO ||
                image->photometric == TIF_PALETTE;
    bool colour = image->photometric == TIF_RGB || image->photometric == TIF_CMYK;
    *detail = "Tiff photometric type";
    if (!grey && !colour) return RZL_UNSUP_TIFF;
    *detail = "Tiff compression type";
    bool plain = compression == TIF_PLAIN || compression == TIF_LZW || compression == TIF_PACKBITS;
    if (!plain && !(grey && tif_is_bilevel(image) && tif_is_fax(compression))) return RZL_UNSUP_TIFF;
    return 0;
}

uint32_t judge_samples(const tif_image* image, const char** detail) {
    *detail = "Tiff bits/sample";
    int used = image->planar_config == 2 || image->samples_per_pixel == 1 ? 1 : image->samples_per_pixel;
    for (int i = 0; i < image->samples_per_pixel; ++i) {
        uint16_t bits = image->bits_per_sample[i];
        if (bits == 0 || bits > TIF_MAX_BITS) return RZL_UNSUP_TIFF;
        if (i < used && bits != tif_bits(image)) return RZL_UNSUP_TIFF;
    }
    *detail = "Tiff planar";
    return image->planar_config == 1 || image->planar_config == 2 ? 0 : RZL_UNSUP_TIFF;
}

int64_t first_offset(CFILE*) {
    return TIF_FIRST_OFFSET;
}

constexpr format_slots SLOTS = {
    .Getline = tif_getline,
    .Get_line = tif_get_line,
    .Getlinefromtile = tif_getline_from_tiles,
    .Getrleline = tif_get_rle_line,
    .Getinlv = tif_get_interleaved_line,
    .Putline = tif_putline,
    .Put_line = tif_put_line,
    .Putrleline = tif_put_rle_line,
    .Putinlv = tif_put_interleaved_line,
    .Putlinetotile = tif_putline_to_tiles,
    .Gettile = tif_get_tile,
    .Puttile = tif_put_tile,
    .Getrletile = tif_get_rle_tile,
    .Get_hdr_data = tif_get_hdr_data,
    .Set_hdr_data = tif_set_hdr_data,
    .Get_stat = tif_get_stat,
    .Set_stat = tif_set_stat,
    .Get_vlt = tif_get_vlt,
    .Get_format = tif_get_format,
    .Get_packet = tif_get_packet,
    .Put_Packet = tif_put_packet,
    .copydata = tif_copydata,
    .init_std_hdr = tif_init_std_hdr,
    .init_ov = tif_init_ov,
    .setactiveov = tif_set_active_overview,
    .Wrt_hdr = tif_write_header,
    .Seek = tif_seek,
    .Get_number_of_images = tif_get_number_of_images,
    .Set_Number_of_Images = tif_set_number_of_images,
    .Set_Active_Image = tif_set_active_image,
    .Randomize = tif_randomize,
    .Rewind = tif_rewind,
    .Close = tif_close,
    .Free_specs = tif_free_specs,
    .Get_Image_Offset = first_offset,
};

void start_spec(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    spec->order = TIF_LITTLE;
    spec->begun = c->mode == MODE_READ || c->mode == MODE_UPDATE;
    spec->end = spec->begun ? io_size(c) : c->base_offset;
    spec->in.segment = spec->out.segment = -1;
    set_flag(c, FLAG_PADDED_TILES, true);
    set_flag(c, FLAG_NATIVE, false);
}

// Images behind the main one are its overviews as long as all of them are reduced.
void classify_chain(CFILE* c) {
    for (const tif_image* image = tif_spec_of(c)->first->next; image != nullptr; image = image->next)
        if ((image->subfile_type & 1) == 0) set_flag(c, FLAG_MULTI_IMAGE, true);
}

} // namespace

int tif_refuse(CFILE* c, uint32_t status, const char* source, const char* detail, int line) {
    fail(c, status, source, detail, line);
    return 1;
}

bool tif_fails(CFILE* c, uint32_t status, const char* source, const char* detail, int line) {
    fail(c, status, source, detail, line);
    return false;
}

uint32_t tif_judge(CFILE* c, const tif_image* image, const char** detail) {
    uint32_t status = judge_coding(image, detail);
    if (status == 0) status = judge_samples(image, detail);
    if (status != 0) return status;
    *detail = "image size";
    if (image->image_width > INT32_MAX || image->image_length > INT32_MAX) return RZL_BAD_IMAGE_SIZE;
    *detail = "Invalid tile size";
    if (tif_is_tiled(image)) {
        uint64_t tiles = uint64_t{image->tiles_across} * image->tiles_down;
        if (image->tile_width > INT32_MAX || image->tile_length > INT32_MAX || tiles > INT32_MAX)
            return RZL_BAD_TILE_SIZE;
        // Words of bilevel lines hold 16 pixels, and tiles stand beside each other in them.
        if (tif_is_bilevel(image) && image->tile_width % 16 != 0) return RZL_BAD_TILE_SIZE;
    }
    if ((image->flags & TIF_IN_FILE) == 0) return 0;
    auto bytes = static_cast<uint64_t>(std::max<int64_t>(io_size(c), 0));
    if (c->mode != MODE_READ) bytes += UNWRITTEN_BYTES;
    *detail = "image size";
    return line_fits(image, bytes) && tile_row_fits(image, bytes) ? 0 : RZL_BAD_IMAGE_SIZE;
}

tif_image* tif_new_image() {
    auto* image = mem_new<tif_image>();
    if (image == nullptr) return nullptr;
    image->samples_per_pixel = 1;
    for (uint16_t& bits : image->bits_per_sample)
        bits = 8;
    image->compression = TIF_PLAIN;
    image->predictor = image->planar_config = image->resolution_unit = image->orientation = 1;
    image->photometric = TIF_BLACK_ZERO;
    image->fill_order = 1;
    image->x_resolution[0] = image->y_resolution[0] = 72;
    image->x_resolution[1] = image->y_resolution[1] = 1;
    image->flags = TIF_IFD_DUE;
    return image;
}

void tif_free_image(tif_image* image) {
    if (image == nullptr) return;
    mem_free(image->strip_offsets);
    mem_free(image->strip_byte_counts);
    mem_free(image->entries);
    for (uint32_t i = 0; i < image->user_tag_count; ++i)
        mem_free(image->user_tags[i].data);
    mem_free(image->user_tags);
    mem_free(image->colour_map);
    mem_free(image);
}

void tif_drop_segments(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    tif_reading* in = &spec->in;
    cit_reader_free(in->fax);
    mem_free(in->coded);
    mem_free(in->decoded);
    mem_free(in->row);
    for (packed_rows& rows : in->packed)
        mem_free(rows.starts);
    *in = {};
    in->segment = -1;
    tif_gathering* out = &spec->out;
    cit_writer_free(out->fax);
    mem_free(out->rows);
    mem_free(out->row);
    mem_free(out->coded);
    mem_free(out->lzw_table);
    *out = {};
    out->segment = -1;
    spec->told = false;
}

void tif_free_specs(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    if (spec == nullptr) return;
    tif_drop_segments(c);
    for (tif_image* image = spec->first; image != nullptr;) {
        tif_image* next = image->next;
        tif_free_image(image);
        image = next;
    }
    spec->first = spec->image = nullptr;
    mem_free(c->line_offsets);
    c->line_offsets = nullptr;
    c->line_offset_count = 0;
    set_flag(c, FLAG_PADDED_TILES, false);
}

void tif_close(CFILE* c) {
    tif_spec* spec = tif_spec_of(c);
    if (spec == nullptr) return;
    if (spec->image != nullptr && is_writable(c)) (void)tif_finish_image(c); // its status stays on the handle
    tif_free_specs(c);
}

namespace {

int tif_open(CFILE* c, const char*) {
    start_spec(c);
    if (!tif_read_chain(c)) return 1;
    classify_chain(c);
    if (!tif_activate(c, tif_spec_of(c)->first)) return 1;
    c->active_image = 0;
    c->active_overview = OVERVIEW_UNSET;
    return 0;
}

// A binary head before the PostScript tells where a TIFF preview lies. The head's check word is the exclusive or of its
// other words, or all ones for a head without a check.
int tif_open_preview(CFILE* c, const char* name) {
    uint8_t head[32];
    if (io_read(c, head, sizeof head) != sizeof head) return refuse(c, RZL_READ_FAILED, SOURCE, name);
    uint16_t sum = 0;
    for (size_t i = 0; i < 28; i += 2)
        sum = static_cast<uint16_t>(sum ^ load_u16le(head + i));
    uint16_t check = load_u16le(head + 28);
    uint32_t offset = load_u32le(head + 20);
    uint32_t length = load_u32le(head + 24);
    if (offset == 0 || length == 0 || (check != sum && check != 0xFFFF))
        return refuse(c, RZL_READ_FAILED, SOURCE, name);
    c->base_offset = offset;
    return io_seek(c, 0) ? tif_open(c, name) : refuse(c, RZL_READ_FAILED, SOURCE, name);
}

// Nothing is written yet, so that another standard can still be chosen: the file begins with its first append.
int tif_initialise(CFILE* c) {
    start_spec(c);
    tif_spec* spec = tif_spec_of(c);
    spec->first = spec->image = tif_new_image();
    if (spec->first == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    spec->first->image_width = static_cast<uint32_t>(c->xsize);
    spec->first->image_length = static_cast<uint32_t>(c->ysize);
    return tif_set_format(c, RZL_FORMAT_BYTE);
}

constexpr int32_t FORMATS[] = {
    RZL_FORMAT_BYTE,         RZL_FORMAT_RGB,    RZL_FORMAT_BILEVEL, RZL_FORMAT_BYTE_RUNS,      RZL_FORMAT_PLANE_RUNS,
    RZL_FORMAT_BILEVEL_RUNS, RZL_FORMAT_GROUP3, RZL_FORMAT_GROUP4,  RZL_FORMAT_BYTE_PAIRS,     RZL_FORMAT_INT16,
    RZL_FORMAT_INT32,        RZL_FORMAT_REAL32, RZL_FORMAT_FOUR,    RZL_FORMAT_FOUR_PLANE_RUNS};

} // namespace

extern const format_module tif_module;
extern const format_module tif_eps_module;

const format_module tif_module = {
    .word = SOURCE,
    .squetch_word = "tiff squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(tif_spec),
    .formats = FORMATS,
    .traits = MODULE_TILES | MODULE_RESIZES,
    .open = tif_open,
    .initialise = tif_initialise,
};

const format_module tif_eps_module = {
    .word = SOURCE,
    .squetch_word = "tiff squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(tif_spec),
    .formats = FORMATS,
    .traits = MODULE_TILES | MODULE_RESIZES,
    .open = tif_open_preview,
};
