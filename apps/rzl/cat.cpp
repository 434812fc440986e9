// rzl cat: the pixels to standard output, row by row from the top.
#include <algorithm>
#include <cstring>

#include "commands.h"
#include "common/raster.h"
#include "source.h"
#include "support/memory.h"

namespace {

constexpr int CHANNELS = 4;

// Buffers of one line.
struct line_buffers {
    mem_guard<uint8_t> planes[CHANNELS];
    mem_guard<uint8_t> out; // the row as it is printed
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
bool allocate(const raster_source* s, line_buffers* b) {
    for (int i = 0; i < plane_count(s); ++i) {
        b->planes[i].block = mem_new_array<uint8_t>(source_plane_bytes(s));
        if (!b->planes[i]) return false;
    }
    size_t printed = static_cast<size_t>(s->width) * printed_bytes(s);
    b->out.block = mem_new_array<uint8_t>(comes_as_pixels(s) ? rzl_interleaved_size(s->file) : printed);
    return static_cast<bool>(b->out);
}

bool read_line(const raster_source* s, line_buffers* b) {
    auto& p = b->planes;
    if (comes_as_pixels(s)) return rzl_getline_interleaved(s->file, b->out.get()) == 0;
    switch (s->kind) {
    case pixel_kind::mapped:
    case pixel_kind::color: return rzl_getline3(s->file, p[0].get(), p[1].get(), p[2].get()) == 0;
    case pixel_kind::four: {
        void* buffers[CHANNELS] = {p[0].get(), p[1].get(), p[2].get(), p[3].get()};
        return rzl_getline_channels(s->file, CHANNELS, buffers) == 0;
    }
    default: return rzl_getline(s->file, p[0].get()) == 0;
    }
}

// Turns the pixels of a row around.
void reverse_pixels(uint8_t* row, size_t width, size_t pixel) {
    std::reverse(row, row + width * pixel);
    for (size_t x = 0; pixel > 1 && x < width; ++x)
        std::reverse(row + x * pixel, row + (x + 1) * pixel);
}

// The line in the buffers as it is printed; gives the bytes.
size_t make_row(const raster_source* s, line_buffers* b) {
    auto width = static_cast<size_t>(s->width);
    uint8_t* out = b->out.get();
    const uint8_t* plane = b->planes[0].get();
    const size_t pixel = printed_bytes(s);
    switch (s->kind) {
    case pixel_kind::bilevel: rzl_unpack_bits(plane, out, s->width, 0, 255); break;
    case pixel_kind::grey: std::memcpy(out, plane, width); break;
    case pixel_kind::deep:
        for (size_t x = 0; x < width; ++x)
            out[x] = plane[x * 2 + 1]; // the high byte of 16 bits
        break;
    default:
        for (size_t x = 0; !comes_as_pixels(s) && x < width; ++x) {
            out[x * 3] = plane[x];
            out[x * 3 + 1] = b->planes[1][x];
            out[x * 3 + 2] = b->planes[2][x];
        }
    }
    if (source_is_right_to_left(s)) reverse_pixels(out, width, pixel);
    return width * pixel;
}

int print_rows(const raster_source* s, const char* path, line_buffers* b) {
    bool jumps = source_is_bottom_up(s);
    // The rows of a picture that is not all there have no place.
    if (jumps && rzl_lines_held(s->file) < s->height)
        return raster_is_undamaged(s->file, path) ? EXIT_DONE : EXIT_FAILED;
    // Remembered line offsets only make the way up quick; a format without them finds its lines all the same.
    if (jumps) rzl_randomize(s->file);
    for (int32_t row = 0; row < s->height; ++row) {
        int32_t line = source_line_of_row(s, row);
        if ((jumps && rzl_seek(s->file, line) != 0) || !read_line(s, b)) return raster_line_failed(s->file, path, line);
        // The first line that was made up ends the picture.
        if (rzl_is_line_damaged(s->file) != 0) break;
        out_bytes(b->out.get(), make_row(s, b));
        if (out_failed()) return EXIT_FAILED;
    }
    return raster_is_undamaged(s->file, path) ? EXIT_DONE : EXIT_FAILED;
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
    line_buffers buffers = {{mem_guard<uint8_t>(nullptr), mem_guard<uint8_t>(nullptr), mem_guard<uint8_t>(nullptr),
                             mem_guard<uint8_t>(nullptr)},
                            mem_guard<uint8_t>(nullptr)};
    int status = EXIT_FAILED;
    bool too_deep = source.kind == pixel_kind::deep && source.bits > 16;
    if (too_deep) {
        program_fail("Samples of %d bits are not printed as bytes.", source.bits);
    } else if (!allocate(&source, &buffers)) {
        program_fail("There is no memory for a line of %d pixels.", source.width);
    } else {
        status = print_rows(&source, request.path, &buffers);
    }
    source_close(&source);
    return status;
}
