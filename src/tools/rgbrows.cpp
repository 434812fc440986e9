// The row writers: red, green and blue bytes into a window's pixels, through the pipeline in force.
//
// They write straight into the screen, part by part of what can be seen of the window, so that there is no buffer to
// grow or to miss, and a single pixel costs no more than it must. One function writes a row; which one is chosen by the
// pipeline and by the form of the screen's pixels, since a pipeline can be run on a deeper screen than its own.
#include <cstring>

#include "support/bytes.h"
#include "tools/rgbdata.h"
#include "tools/windata.h"

namespace {

struct rgb_bytes {
    const uint8_t* red;
    const uint8_t* green;
    const uint8_t* blue;
};

// Eight pixels are taken at once: single bytes would keep the processor busy with loads.
constexpr int WORD = 8;
struct pixel_word {
    uint64_t red, green, blue; // the first pixel lowest
};
inline pixel_word take_word(rgb_bytes from, int i) {
    return {load_u64le(from.red + i), load_u64le(from.green + i), load_u64le(from.blue + i)};
}
inline void next_pixel(pixel_word* w) {
    w->red >>= 8;
    w->green >>= 8;
    w->blue >>= 8;
}

// The screen's pixels of the numbers that the palette pipelines work out.
uint32_t pixel_of[256];

// Writes `count` pixels, the first of them at x, y of the window.
using row_writer = void (*)(uint8_t* out, rgb_bytes from, int x, int y, int count);

// ---- palette pipelines. T: a pixel of the screen. On a palette screen a pixel is the slot.

template <typename T> void write_row_4(uint8_t* out, rgb_bytes from, int x, int y, int count) {
    T* pixels = reinterpret_cast<T*>(out);
    for (int i = 0; i < count; ++i)
        pixels[i] = static_cast<T>(pixel_of[dither_color(cell_of(x + i, y), from.red[i], from.green[i], from.blue[i])]);
}

template <typename T> T cube_pixel(unsigned cell, unsigned red, unsigned green, unsigned blue) {
    const unsigned slot = rgb.red_part[cell][red] + rgb.green_part[cell][green] + rgb.blue_part[cell][blue];
    return static_cast<T>(sizeof(T) == 1 ? slot : pixel_of[slot & 255]);
}
template <typename T> T cube_pixel_at(rgb_bytes from, int i, int x, int y) {
    return cube_pixel<T>(cell_of(x + i, y), from.red[i], from.green[i], from.blue[i]);
}

// Four pixels are a row of the dither's cells: whose tables they use is then known beforehand.
template <typename T> void write_row_8(uint8_t* out, rgb_bytes from, int x, int y, int count) {
    T* pixels = reinterpret_cast<T*>(out);
    const unsigned first = cell_of(0, y);
    int i = 0;
    for (; i < count && ((x + i) & 3) != 0; ++i)
        pixels[i] = cube_pixel_at<T>(from, i, x, y);
    for (; i + WORD <= count; i += WORD) {
        pixel_word w = take_word(from, i);
        for (unsigned k = 0; k < WORD; ++k, next_pixel(&w))
            pixels[i + static_cast<int>(k)] = cube_pixel<T>(first + k % 4, w.red & 255, w.green & 255, w.blue & 255);
    }
    for (; i < count; ++i)
        pixels[i] = cube_pixel_at<T>(from, i, x, y);
}

// ---- true colour pipelines. P packs three bytes into a pixel of the screen.

struct pack_555 {
    using pixel = uint16_t;
    static pixel of(unsigned r, unsigned g, unsigned b) {
        return static_cast<pixel>(r >> 3 << 10 | g >> 3 << 5 | b >> 3);
    }
};
struct pack_565 {
    using pixel = uint16_t;
    static pixel of(unsigned r, unsigned g, unsigned b) {
        return static_cast<pixel>(r >> 3 << 11 | canvas_green_bits_6(g) << 5 | b >> 3);
    }
};
struct pack_888 {
    using pixel = uint32_t;
    static pixel of(unsigned r, unsigned g, unsigned b) { return r << 16 | g << 8 | b; }
};

// What each byte adds to a pixel of the screen, the gamma applied.
struct true_parts {
    uint32_t red[256], green[256], blue[256];
};
true_parts in_pixel;
true_parts in_cell[CELLS]; // the same with the dither

template <typename P> void make_parts(true_parts* parts, const uint8_t* bytes) {
    for (int i = 0; i < 256; ++i) {
        parts->red[i] = P::of(bytes[i], 0, 0);
        parts->green[i] = P::of(0, bytes[i], 0);
        parts->blue[i] = P::of(0, 0, bytes[i]);
    }
}

template <typename P> void make_all_parts() {
    make_parts<P>(&in_pixel, rgb.gamma_table);
    for (int cell = 0; cell < CELLS; ++cell)
        make_parts<P>(&in_cell[cell], rgb.row_of_cell[cell]);
}

template <typename T> T dithered_pixel(unsigned cell, uint64_t red, uint64_t green, uint64_t blue) {
    const true_parts& parts = in_cell[cell];
    return static_cast<T>(parts.red[red] | parts.green[green] | parts.blue[blue]);
}

template <typename P> void write_row_15(uint8_t* out, rgb_bytes from, int x, int y, int count) {
    using pixel = typename P::pixel;
    auto* pixels = reinterpret_cast<pixel*>(out);
    const unsigned first = cell_of(0, y);
    const auto one = [&](int i) {
        pixels[i] = dithered_pixel<pixel>(cell_of(x + i, y), from.red[i], from.green[i], from.blue[i]);
    };
    int i = 0;
    for (; i < count && ((x + i) & 3) != 0; ++i)
        one(i);
    for (; i + WORD <= count; i += WORD) {
        pixel_word w = take_word(from, i);
        for (unsigned k = 0; k < WORD; ++k, next_pixel(&w))
            pixels[i + static_cast<int>(k)] =
                dithered_pixel<pixel>(first + k % 4, w.red & 255, w.green & 255, w.blue & 255);
    }
    for (; i < count; ++i)
        one(i);
}

template <typename P> void write_row_24(uint8_t* out, rgb_bytes from, int /*x*/, int /*y*/, int count) {
    using pixel = typename P::pixel;
    auto* pixels = reinterpret_cast<pixel*>(out);
    int i = 0;
    for (; i + WORD <= count; i += WORD) {
        pixel_word w = take_word(from, i);
        for (int k = 0; k < WORD; ++k, next_pixel(&w))
            pixels[i + k] = static_cast<pixel>(in_pixel.red[w.red & 255] | in_pixel.green[w.green & 255] |
                                               in_pixel.blue[w.blue & 255]);
    }
    for (; i < count; ++i)
        pixels[i] =
            static_cast<pixel>(in_pixel.red[from.red[i]] | in_pixel.green[from.green[i]] | in_pixel.blue[from.blue[i]]);
}

// ---- the choice of a row function

// The palette may have changed since the last time.
void take_pixels(int numbers) {
    for (int i = 0; i < numbers; ++i)
        pixel_of[i] = canvas_pixel(CANVAS_SLOT | rgb.dib_header->slots[i]);
}

row_writer by_pixel(row_writer bytes, row_writer words, row_writer longs) {
    switch (canvas_pixel_bytes()) {
    case 1: return bytes;
    case 2: return words;
    default: return longs;
    }
}

row_writer by_packing(row_writer in_555, row_writer in_565, row_writer in_888) {
    switch (canvas_planes()) {
    case 15: return in_555;
    case 16: return in_565;
    default: return in_888;
    }
}

row_writer writer_4() {
    take_pixels(16);
    return by_pixel(write_row_4<uint8_t>, write_row_4<uint16_t>, write_row_4<uint32_t>);
}
row_writer writer_8() {
    if (canvas_pixel_bytes() != 1) take_pixels(256);
    return by_pixel(write_row_8<uint8_t>, write_row_8<uint16_t>, write_row_8<uint32_t>);
}
row_writer writer_15() {
    return by_packing(write_row_15<pack_555>, write_row_15<pack_565>, write_row_15<pack_888>);
}
row_writer writer_24() {
    return by_packing(write_row_24<pack_555>, write_row_24<pack_565>, write_row_24<pack_888>);
}

// ---- rectangles

struct rect_job {
    row_writer write_row;
    rgb_bytes from; // of the pixel x1, y1
    int x1, y1;
    ptrdiff_t stride; // 0: one row for all
};

void write_part_row(const rect_job* job, canvas_box part, int y, uint8_t* out) {
    const ptrdiff_t offset = (y - job->y1) * job->stride + (part.x1 - job->x1);
    const rgb_bytes from = {job->from.red + offset, job->from.green + offset, job->from.blue + offset};
    job->write_row(out, from, part.x1, y, part.x2 - part.x1);
}

void write_part(void* user, canvas_box part, uint8_t* pixels, size_t stride) {
    const auto* job = static_cast<const rect_job*>(user);
    for (int y = part.y1; y < part.y2; ++y, pixels += stride)
        write_part_row(job, part, y, pixels);
}

// Each row is the same source, and the dither repeats every 4 rows: so do the pixels.
void fill_part(void* user, canvas_box part, uint8_t* pixels, size_t stride) {
    constexpr int period = 4;
    const auto* job = static_cast<const rect_job*>(user);
    const size_t row_bytes = static_cast<size_t>(part.x2 - part.x1) * static_cast<size_t>(canvas_pixel_bytes());
    for (int y = part.y1; y < part.y2; ++y, pixels += stride) {
        if (y - part.y1 < period)
            write_part_row(job, part, y, pixels);
        else
            memcpy(pixels, pixels - period * stride, row_bytes);
    }
}

struct rgb_area {
    int window;
    int x1, x2, y1, y2;
};

void write_area(const rgb_area& area, row_writer (*writer)(), rgb_bytes from, ptrdiff_t stride, canvas_writer parts) {
    window_record* w = nullptr;
    if (window_for_drawing(area.window, &w) != window_use::draw) return;
    rect_job job = {writer(), from, area.x1, area.y1, stride};
    canvas_write_parts(w->dc, window_box(area.x1, area.y1, area.x2, area.y2), parts, &job);
}

// The three operations of one pipeline.
template <row_writer (*writer)()>
void rect(int window, int x1, int x2, int y1, int y2, const uint8_t* red, const uint8_t* green, const uint8_t* blue,
          ptrdiff_t stride) {
    write_area({window, x1, x2, y1, y2}, writer, {red, green, blue}, stride, write_part);
}
template <row_writer (*writer)()>
void line(int window, int x1, int x2, int y, const uint8_t* red, const uint8_t* green, const uint8_t* blue) {
    write_area({window, x1, x2, y, y}, writer, {red, green, blue}, 0, write_part);
}
template <row_writer (*writer)()>
void fill(int window, int x1, int x2, int y1, int y2, const uint8_t* red, const uint8_t* green, const uint8_t* blue) {
    write_area({window, x1, x2, y1, y2}, writer, {red, green, blue}, 0, fill_part);
}

// ---- selectors: what the function variables start with

template <typename F> F for_depth(F f4, F f8, F f15, F f24) {
    switch (rgb_depth) {
    case 4: return f4;
    case 8: return f8;
    case 15: return f15;
    case 24: return f24;
    default: return nullptr;
    }
}

void select_rect(int window, int x1, int x2, int y1, int y2, const uint8_t* red, const uint8_t* green,
                 const uint8_t* blue, ptrdiff_t stride) {
    auto* chosen = for_depth(&rect<writer_4>, &rect<writer_8>, &rect<writer_15>, &rect<writer_24>);
    if (chosen == nullptr) return;
    rgb_rect = chosen;
    rgb_rect(window, x1, x2, y1, y2, red, green, blue, stride);
}

void select_line(int window, int x1, int x2, int y, const uint8_t* red, const uint8_t* green, const uint8_t* blue) {
    auto* chosen = for_depth(&line<writer_4>, &line<writer_8>, &line<writer_15>, &line<writer_24>);
    if (chosen == nullptr) return;
    rgb_line = chosen;
    rgb_line(window, x1, x2, y, red, green, blue);
}

void select_fill(int window, int x1, int x2, int y1, int y2, const uint8_t* red, const uint8_t* green,
                 const uint8_t* blue) {
    auto* chosen = for_depth(&fill<writer_4>, &fill<writer_8>, &fill<writer_15>, &fill<writer_24>);
    if (chosen == nullptr) return;
    rgb_fill = chosen;
    rgb_fill(window, x1, x2, y1, y2, red, green, blue);
}

} // namespace

void rgb_make_true_parts() {
    switch (canvas_planes()) {
    case 15: return make_all_parts<pack_555>();
    case 16: return make_all_parts<pack_565>();
    default: return make_all_parts<pack_888>();
    }
}

void (*rgb_rect)(int, int, int, int, int, const uint8_t*, const uint8_t*, const uint8_t*, ptrdiff_t) = select_rect;
void (*rgb_line)(int, int, int, int, const uint8_t*, const uint8_t*, const uint8_t*) = select_line;
void (*rgb_fill)(int, int, int, int, int, const uint8_t*, const uint8_t*, const uint8_t*) = select_fill;

void rgb_reset_writers() {
    rgb_rect = select_rect;
    rgb_line = select_line;
    rgb_fill = select_fill;
}
