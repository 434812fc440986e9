// rzl cat: the pixels to standard output, row by row from the top.
#include <algorithm>
#include <cstring>

#include "commands.h"
#include "common/raster.h"
#include "rows.h"
#include "source.h"
#include "support/memory.h"

namespace {

constexpr int CHANNELS = 4;

// What a line is read into before it is printed.
struct line_planes {
    const raster_source* source;
    bool inks; // the four planes are inks
    mem_guard<uint8_t> planes[CHANNELS];
};

// Colours that have no plane more come as they are printed.
bool comes_as_pixels(const raster_source* s) {
    return s->kind == pixel_kind::color && s->samples == 3;
}

// Planes that a line is read into.
int plane_count(const raster_source* s) {
    switch (s->kind) {
    case pixel_kind::color: return comes_as_pixels(s) ? 0 : 3;
    case pixel_kind::mapped: return 3;
    case pixel_kind::four: return CHANNELS;
    default: return 1;
    }
}

// Bytes of a printed pixel.
size_t printed_bytes(const raster_source* s) {
    bool one = s->kind == pixel_kind::bilevel || s->kind == pixel_kind::grey || s->kind == pixel_kind::deep;
    return one ? 1 : 3;
}

// Only what is used: a line may be millions of pixels wide.
bool allocate(line_planes* b) {
    const raster_source* s = b->source;
    for (int i = 0; i < plane_count(s); ++i) {
        const bool bits = s->kind == pixel_kind::bilevel;
        b->planes[i].block = mem_new_array<uint8_t>(bits ? raster_bit_line_bytes(s->width) : source_plane_bytes(s));
        if (!b->planes[i]) return false;
    }
    return true;
}

bool read_planes(line_planes* b) {
    auto& p = b->planes;
    CFILE* file = b->source->file;
    switch (b->source->kind) {
    case pixel_kind::mapped:
    case pixel_kind::color: return rzl_getline3(file, p[0].get(), p[1].get(), p[2].get()) == 0;
    case pixel_kind::four: {
        void* buffers[CHANNELS] = {p[0].get(), p[1].get(), p[2].get(), p[3].get()};
        if (rzl_getline_channels(file, CHANNELS, buffers) != 0) return false;
        if (b->inks) rzl_mix_inks(p[0].get(), p[1].get(), p[2].get(), p[3].get(), b->source->width);
        return true;
    }
    default: return rzl_getline(file, p[0].get()) == 0;
    }
}

// Turns the pixels of a row around.
void reverse_pixels(uint8_t* row, size_t width, size_t pixel) {
    std::reverse(row, row + width * pixel);
    for (size_t x = 0; pixel > 1 && x < width; ++x)
        std::reverse(row + x * pixel, row + (x + 1) * pixel);
}

// The line in the planes as it is printed.
void make_row(const line_planes* b, uint8_t* out) {
    auto width = static_cast<size_t>(b->source->width);
    const uint8_t* plane = b->planes[0].get();
    switch (b->source->kind) {
    case pixel_kind::bilevel: rzl_unpack_bits(plane, out, b->source->width, 0, 255); break;
    case pixel_kind::grey: std::memcpy(out, plane, width); break;
    case pixel_kind::deep:
        for (size_t x = 0; x < width; ++x)
            out[x] = plane[x * 2 + 1]; // the high byte of 16 bits
        break;
    default:
        for (size_t x = 0; x < width; ++x) {
            out[x * 3] = plane[x];
            out[x * 3 + 1] = b->planes[1][x];
            out[x * 3 + 2] = b->planes[2][x];
        }
    }
}

bool read_row(void* context, uint8_t* out) {
    auto* b = static_cast<line_planes*>(context);
    const raster_source* s = b->source;
    if (comes_as_pixels(s)) {
        if (rzl_getline_interleaved(s->file, out) != 0) return false;
    } else {
        if (!read_planes(b)) return false;
        make_row(b, out);
    }
    if (source_is_right_to_left(s)) reverse_pixels(out, static_cast<size_t>(s->width), printed_bytes(s));
    return true;
}

// Whether there is a row to print. From the bottom up, the rows of a picture that is not all there have no place.
bool holds_rows(const raster_source* s) {
    return rzl_lines_held(s->file) >= (source_is_bottom_up(s) ? s->height : 1);
}

int print_rows(const raster_source* s, const char* path, line_planes* b) {
    const size_t printed = static_cast<size_t>(s->width) * printed_bytes(s);
    source_rows rows = {
        s, path, source_is_bottom_up(s), comes_as_pixels(s) ? rzl_interleaved_size(s->file) : printed, read_row, b};
    if (!rows_begin(&rows)) return EXIT_FAILED;
    for (const uint8_t* row = rows_next(&rows); row != nullptr; row = rows_next(&rows)) {
        out_bytes(row, printed);
        if (out_failed()) return EXIT_FAILED;
    }
    return !rows.failed && raster_is_undamaged(s->file, path) ? EXIT_DONE : EXIT_FAILED;
}

} // namespace

int command_cat(word_list* words) {
    source_request request = {nullptr, 0, -1};
    for (const char* word = take_word(words); word != nullptr; word = take_word(words)) {
        bool taken = false;
        int status = source_take_word(words, word, &request, &taken);
        if (status != EXIT_DONE) return status;
        if (!taken) return program_usage("cat does not take \"%s\"", word);
    }
    if (request.path == nullptr) return program_usage("cat needs a file");
    raster_source source;
    if (!source_open(&request, &source)) return EXIT_FAILED;
    line_planes planes = {&source,
                          rzl_has_inks(source.file) != 0,
                          {mem_guard<uint8_t>(nullptr), mem_guard<uint8_t>(nullptr), mem_guard<uint8_t>(nullptr),
                           mem_guard<uint8_t>(nullptr)}};
    int status = EXIT_FAILED;
    bool too_deep = source.kind == pixel_kind::deep && source.bits > 16;
    if (too_deep) {
        program_fail("Samples of %d bits are not printed as bytes.", source.bits);
    } else if (!holds_rows(&source)) {
        status = raster_is_undamaged(source.file, request.path) ? EXIT_DONE : EXIT_FAILED;
    } else if (!allocate(&planes)) {
        program_fail("There is no memory for a line of %d pixels.", source.width);
    } else {
        status = print_rows(&source, request.path, &planes);
    }
    source_close(&source);
    return status;
}
