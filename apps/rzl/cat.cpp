// rzl cat: the pixels to standard output, row by row from the top.
#include <algorithm>
#include <cstring>

#include "commands.h"
#include "source.h"
#include "support/memory.h"

namespace {

constexpr int CHANNELS = 4;

// Buffers of one line.
struct line_buffers {
    mem_guard<uint8_t> planes[CHANNELS];
    mem_guard<uint8_t> out; // the row as it is printed
};

bool allocate(const raster_source* s, line_buffers* b) {
    for (auto& plane : b->planes) {
        plane.block = mem_new_array<uint8_t>(source_plane_bytes(s));
        if (!plane) return false;
    }
    b->out.block = mem_new_array<uint8_t>(static_cast<size_t>(s->width) * 3 + 1);
    return static_cast<bool>(b->out);
}

bool read_line(const raster_source* s, line_buffers* b) {
    auto& p = b->planes;
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

// A bit of a packed line: 16-bit words, low byte first, the first pixel in the top bit.
bool bit_at(const uint8_t* line, int32_t x) {
    return ((line[(x >> 3) ^ 1] >> (7 - (x & 7))) & 1) != 0;
}

size_t bytes_per_pixel(const raster_source* s) {
    bool one = s->kind == pixel_kind::bilevel || s->kind == pixel_kind::grey || s->kind == pixel_kind::deep;
    return one ? 1 : 3;
}

size_t make_row(const raster_source* s, line_buffers* b) {
    auto width = static_cast<size_t>(s->width);
    uint8_t* out = b->out.get();
    const auto& p = b->planes;
    for (size_t x = 0; x < width; ++x) {
        size_t from = source_is_right_to_left(s) ? width - 1 - x : x;
        switch (s->kind) {
        case pixel_kind::bilevel: out[x] = bit_at(p[0].get(), static_cast<int32_t>(from)) ? 255 : 0; break;
        case pixel_kind::grey: out[x] = p[0][from]; break;
        case pixel_kind::deep: out[x] = p[0][from * 2 + 1]; break; // the high byte of 16 bits
        default:
            for (size_t c = 0; c < 3; ++c)
                out[x * 3 + c] = p[c][from];
        }
    }
    return width * bytes_per_pixel(s);
}

int print_rows(const raster_source* s, line_buffers* b) {
    bool jumps = source_is_bottom_up(s);
    if (jumps && rzl_randomize(s->file) != 0)
        return program_fail("The lines of this file can not be reached in order.");
    for (int32_t row = 0; row < s->height; ++row) {
        int32_t line = source_line_of_row(s, row);
        if ((jumps && rzl_seek(s->file, line) != 0) || !read_line(s, b)) {
            uint32_t status = 0;
            rzl_get_hdr_data(s->file, RZL_FIELD_STATUS, &status);
            return program_fail("Line %d of %d can not be read: %s", line, s->height, rzl_status_text(status));
        }
        out_bytes(b->out.get(), make_row(s, b));
        if (out_failed()) return EXIT_FAILED;
    }
    return source_is_whole(s) ? EXIT_DONE : EXIT_FAILED;
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
        status = print_rows(&source, &buffers);
    }
    source_close(&source);
    return status;
}
