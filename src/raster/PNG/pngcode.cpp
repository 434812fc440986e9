// libpng behind functions of this system's kind.
//
// libpng leaves an error through its error function, which must not come back: it jumps to where guarded() was entered.
// So nothing that has to be freed is made inside of a step; what is there was made before, and belongs to the coder.
#include <algorithm>
#include <csetjmp>
#include <cstring>

#include <png.h>

#include "raster/PNG/pngfile.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PNG/pngopen";
constexpr char WORD[] = "PNG";

// Chunks that nothing is taken from: they are passed over, whatever they would unpack to.
constexpr char PASSED_OVER[] =
    "acTL\0cHRM\0cICP\0eXIf\0fcTL\0fdAT\0gAMA\0hIST\0iCCP\0iTXt\0oFFs\0pCAL\0sBIT\0sCAL\0sPLT\0"
    "sRGB\0sTER\0tEXt\0tIME\0zTXt\0";
constexpr int CHUNK_NAME = 5; // bytes of each

} // namespace

struct png_coder {
    CFILE* c;
    png_structp in, out;
    png_infop info;
    bool broken; // an error has left the records in any state
    bool no_memory;
    int level;
    png_shape* shape; // of the step at hand
    const png_shape* wanted;
    uint8_t* row;
    int64_t place; // of the file: where the next bytes to read stand
    int passes;
    jmp_buf escape; // where an error goes
};

namespace {

// ---- errors and memory

[[noreturn]] void leave_error(png_structp png, png_const_charp text) {
    auto* coder = static_cast<png_coder*>(png_get_error_ptr(png));
    rzl_warn("PNG code: %s\n", text);
    uint32_t status = coder->out != nullptr ? RZL_WRITE_FAILED : RZL_READ_FAILED;
    if (coder->no_memory) status = RZL_NO_MEMORY;
    if (coder->c->status == 0) fail(coder->c, status, SOURCE, text);
    coder->broken = true;
    std::longjmp(coder->escape, 1);
}

void tell(png_structp, png_const_charp text) {
    rzl_warn("PNG code: %s\n", text);
}

png_voidp take_memory(png_structp png, png_alloc_size_t bytes) {
    void* block = mem_alloc(bytes);
    if (block == nullptr) static_cast<png_coder*>(png_get_mem_ptr(png))->no_memory = true;
    return block;
}

void give_memory(png_structp, png_voidp block) {
    mem_free(block);
}

// Runs a step that calls libpng. False when an error has ended it.
bool guarded(png_coder* coder, void (*step)(png_coder* coder)) {
    if (coder->broken) return fails(coder->c, coder->out != nullptr ? RZL_WRITE_FAILED : RZL_READ_FAILED, SOURCE, WORD);
    if (setjmp(coder->escape) != 0) return false;
    step(coder);
    return true;
}

// ---- bytes of the file

void read_bytes(png_structp png, png_bytep bytes, size_t size) {
    auto* coder = static_cast<png_coder*>(png_get_io_ptr(png));
    bool stands = io_tell(coder->c) == coder->place || io_seek(coder->c, coder->place);
    if (!stands || io_read(coder->c, bytes, size) != size) png_error(png, "the file ends too early");
    coder->place += static_cast<int64_t>(size);
}

void write_bytes(png_structp png, png_bytep bytes, size_t size) {
    auto* coder = static_cast<png_coder*>(png_get_io_ptr(png));
    if (!put_all(coder->c, bytes, size, SOURCE)) png_error(png, "the file can't be written");
}

void flush_nothing(png_structp) {}

// ---- reading

void drop_records(png_coder* coder) {
    if (coder->in != nullptr) png_destroy_read_struct(&coder->in, &coder->info, nullptr);
    if (coder->out != nullptr) png_destroy_write_struct(&coder->out, &coder->info);
    coder->in = coder->out = nullptr;
    coder->info = nullptr;
}

// libpng's own measures against sizes that are too large are not needed: none is believed here without bytes for it.
void begin_decoder(png_coder* coder) {
    drop_records(coder);
    coder->place = 0;
    coder->in =
        png_create_read_struct_2(PNG_LIBPNG_VER_STRING, coder, leave_error, tell, coder, take_memory, give_memory);
    if (coder->in == nullptr) return;
    coder->info = png_create_info_struct(coder->in);
    if (coder->info == nullptr) return;
    png_set_read_fn(coder->in, coder, read_bytes);
    png_set_user_limits(coder->in, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_keep_unknown_chunks(coder->in, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
    png_set_keep_unknown_chunks(coder->in, PNG_HANDLE_CHUNK_NEVER, reinterpret_cast<png_const_bytep>(PASSED_OVER),
                                static_cast<int>(sizeof PASSED_OVER) / CHUNK_NAME);
}

uint8_t byte_of(unsigned value, int bits) {
    if (bits == 16) return static_cast<uint8_t>((value * 255 + 32895) >> 16);
    return static_cast<uint8_t>(value * 255 / ((1u << bits) - 1));
}

// The background as bytes; false when the file tells of none.
bool read_background(png_coder* coder, int color_type, int bits, png_shape* shape) {
    png_color_16p color = nullptr;
    if (png_get_bKGD(coder->in, coder->info, &color) == 0) return false;
    if (color_type == PNG_COLOR_TYPE_PALETTE) {
        if (color->index >= shape->color_count) return false;
        std::memcpy(shape->background, shape->colors + size_t{color->index} * 3, 3);
    } else if ((color_type & PNG_COLOR_MASK_COLOR) == 0) {
        shape->background[0] = byte_of(color->gray, bits);
    } else {
        shape->background[0] = byte_of(color->red, bits);
        shape->background[1] = byte_of(color->green, bits);
        shape->background[2] = byte_of(color->blue, bits);
    }
    return true;
}

void read_palette(png_coder* coder, png_shape* shape) {
    png_colorp palette = nullptr;
    if (png_get_PLTE(coder->in, coder->info, &palette, &shape->color_count) == 0) png_error(coder->in, "no palette");
    for (int i = 0; i < shape->color_count; ++i) {
        uint8_t* color = shape->colors + i * 3;
        color[0] = palette[i].red;
        color[1] = palette[i].green;
        color[2] = palette[i].blue;
    }
}

// Colours of a palette that are not opaque.
void lay_palette(png_coder* coder, png_shape* shape) {
    png_bytep shares = nullptr;
    int count = 0;
    if (png_get_tRNS(coder->in, coder->info, &shares, &count, nullptr) == 0) return;
    for (int i = 0; i < std::min(count, shape->color_count); ++i)
        for (int p = 0; p < 3; ++p)
            shape->colors[i * 3 + p] = png_over(shape->colors[i * 3 + p], shares[i], shape->background[p]);
}

// What libpng is to make of the rows.
void choose_rows(png_coder* coder, png_shape* shape, int color_type, int bits) {
    bool transparent = png_get_valid(coder->in, coder->info, PNG_INFO_tRNS) != 0;
    bool key = transparent && !shape->indexed && shape->on_background;
    bool alpha = (color_type & PNG_COLOR_MASK_ALPHA) != 0 || key;
    bool grey = (color_type & PNG_COLOR_MASK_COLOR) == 0;
    if (bits == 16) png_set_scale_16(coder->in);
    if (grey && bits < 8 && (bits > 1 || key)) png_set_expand_gray_1_2_4_to_8(coder->in);
    if (key) png_set_tRNS_to_alpha(coder->in);
    shape->bits = shape->indexed || (bits == 1 && !key) ? bits : 8;
    shape->channels = (grey || shape->indexed ? 1 : 3) + (alpha ? 1 : 0);
    coder->passes = png_set_interlace_handling(coder->in);
    png_read_update_info(coder->in, coder->info);
    if (png_get_rowbytes(coder->in, coder->info) != png_row_bytes(shape)) png_error(coder->in, "rows of another size");
}

void read_shape(png_coder* coder) {
    png_shape* shape = coder->shape;
    int bits = 0;
    int color_type = 0;
    int interlace = 0;
    *shape = {};
    png_read_info(coder->in, coder->info);
    png_get_IHDR(coder->in, coder->info, &shape->width, &shape->height, &bits, &color_type, &interlace, nullptr,
                 nullptr);
    shape->indexed = color_type == PNG_COLOR_TYPE_PALETTE;
    shape->interlaced = interlace != PNG_INTERLACE_NONE;
    shape->stored_bits = bits * png_get_channels(coder->in, coder->info);
    if (!png_size_is_credible(coder->c, shape, shape->interlaced)) png_error(coder->in, "too short for its size");
    if (shape->indexed) read_palette(coder, shape);
    shape->on_background = read_background(coder, color_type, bits, shape);
    if (shape->indexed && shape->on_background) lay_palette(coder, shape);
    int unit = PNG_RESOLUTION_UNKNOWN;
    png_get_pHYs(coder->in, coder->info, &shape->across, &shape->down, &unit);
    if (unit != PNG_RESOLUTION_METER) shape->across = shape->down = 0;
    choose_rows(coder, shape, color_type, bits);
}

void read_one(png_coder* coder) {
    png_read_row(coder->in, coder->row, nullptr);
}

void read_whole(png_coder* coder) {
    size_t bytes = png_row_bytes(coder->wanted);
    for (int pass = 0; pass < coder->passes; ++pass)
        for (uint32_t y = 0; y < coder->wanted->height; ++y)
            png_read_row(coder->in, coder->row + y * bytes, nullptr);
}

// ---- writing

void begin_encoder(png_coder* coder) {
    drop_records(coder);
    coder->out =
        png_create_write_struct_2(PNG_LIBPNG_VER_STRING, coder, leave_error, tell, coder, take_memory, give_memory);
    if (coder->out == nullptr) return;
    coder->info = png_create_info_struct(coder->out);
    if (coder->info != nullptr) png_set_write_fn(coder->out, coder, write_bytes, flush_nothing);
}

void write_shape(png_coder* coder) {
    const png_shape* shape = coder->wanted;
    int type = shape->channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY;
    if (shape->indexed) type = PNG_COLOR_TYPE_PALETTE;
    png_set_user_limits(coder->out, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(coder->out, coder->info, shape->width, shape->height, shape->bits, type, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (shape->indexed) {
        png_color palette[PNG_COLORS];
        for (int i = 0; i < shape->color_count; ++i)
            palette[i] = {shape->colors[i * 3], shape->colors[i * 3 + 1], shape->colors[i * 3 + 2]};
        png_set_PLTE(coder->out, coder->info, palette, shape->color_count);
    }
    if (shape->across != 0) png_set_pHYs(coder->out, coder->info, shape->across, shape->down, PNG_RESOLUTION_METER);
    if (coder->level >= 0) png_set_compression_level(coder->out, coder->level);
    png_write_info(coder->out, coder->info);
}

void write_one(png_coder* coder) {
    png_write_row(coder->out, coder->row);
}

void finish_writing(png_coder* coder) {
    png_write_end(coder->out, nullptr);
}

// Whether libpng's records are there: creating them may fail with an error, or with a null.
bool has_records(png_coder* coder, void (*begin)(png_coder* coder)) {
    coder->broken = coder->no_memory = false;
    if (!guarded(coder, begin)) return false;
    return coder->info != nullptr || fails(coder->c, RZL_NO_MEMORY, SOURCE, nullptr);
}

} // namespace

bool png_size_is_credible(CFILE* c, const png_shape* shape, bool all) {
    constexpr uint64_t INFLATED_A_BYTE = 1032; // at best
    constexpr uint64_t ALWAYS = 1 << 20;
    uint64_t bytes = uint64_t{shape->width} * static_cast<uint64_t>(shape->stored_bits) / 8 + 1;
    if (all && __builtin_mul_overflow(bytes, uint64_t{shape->height}, &bytes)) return false;
    int64_t size = io_size(c);
    return bytes <= ALWAYS || size < 0 || bytes / INFLATED_A_BYTE <= static_cast<uint64_t>(size);
}

png_coder* png_coder_new(CFILE* c) {
    auto* coder = mem_new<png_coder>();
    if (coder == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return nullptr;
    }
    coder->c = c;
    return coder;
}

void png_coder_free(png_coder* coder) {
    if (coder == nullptr) return;
    drop_records(coder);
    mem_free(coder);
}

bool png_read_shape(png_coder* coder, png_shape* shape) {
    coder->shape = shape;
    return has_records(coder, begin_decoder) && guarded(coder, read_shape);
}

bool png_read_one(png_coder* coder, uint8_t* row) {
    coder->row = row;
    return guarded(coder, read_one);
}

bool png_read_whole(png_coder* coder, uint8_t* image, const png_shape* shape) {
    coder->row = image;
    coder->wanted = shape;
    return guarded(coder, read_whole);
}

bool png_start_writing(png_coder* coder, const png_shape* shape, int level) {
    coder->wanted = shape;
    coder->level = level;
    return has_records(coder, begin_encoder) && guarded(coder, write_shape);
}

// The coder only reads the row.
bool png_write_one(png_coder* coder, const uint8_t* row) {
    coder->row = const_cast<uint8_t*>(row);
    return guarded(coder, write_one);
}

bool png_finish_writing(png_coder* coder) {
    return guarded(coder, finish_writing);
}
