// Rows of pixels into a canvas and out of it, in the forms that the layers above keep them in. The function that writes
// a row is chosen once for each transfer, by form and depth.
#include "platform/window/canvasdata.h"

#include <algorithm>
#include <cstring>

namespace {

// What a row function needs besides the pixels: the pixel of each byte, for slots.
struct row_context {
    uint32_t pixels[256];
};

// Writes `count` pixels from `source`, where the first of them lies.
using put_row = void (*)(uint8_t* target, const uint8_t* source, int count, const row_context* context);

void put_row_bytes(uint8_t* target, const uint8_t* source, int count, const row_context* /*context*/) {
    memcpy(target, source, size_t(count));
}
void put_row_words(uint8_t* target, const uint8_t* source, int count, const row_context* /*context*/) {
    memcpy(target, source, size_t(count) * 2);
}
void put_row_longs(uint8_t* target, const uint8_t* source, int count, const row_context* /*context*/) {
    memcpy(target, source, size_t(count) * 4);
}

template <typename T>
void put_row_slots(uint8_t* target, const uint8_t* source, int count, const row_context* context) {
    T* pixels = reinterpret_cast<T*>(target);
    for (int i = 0; i < count; ++i)
        pixels[i] = T(context->pixels[source[i]]);
}

// True colours, `STEP` bytes each, with red at RED, green at 1 and blue at BLUE.
template <int STEP, int RED, int BLUE>
void put_row_true24(uint8_t* target, const uint8_t* source, int count, const row_context* /*context*/) {
    auto* pixels = reinterpret_cast<uint32_t*>(target);
    for (int i = 0; i < count; ++i, source += STEP)
        pixels[i] = uint32_t{source[RED]} << 16 | uint32_t{source[1]} << 8 | source[BLUE];
}

template <int STEP, int RED, int BLUE, int GREEN_BITS>
void put_row_true16(uint8_t* target, const uint8_t* source, int count, const row_context* /*context*/) {
    auto* pixels = reinterpret_cast<uint16_t*>(target);
    for (int i = 0; i < count; ++i, source += STEP) {
        const unsigned green = GREEN_BITS == 6 ? canvas_green_bits_6(source[1]) : source[1] >> 3;
        pixels[i] = uint16_t(unsigned(source[RED] >> 3) << (5 + GREEN_BITS) | green << 5 | source[BLUE] >> 3);
    }
}

// The nearest slot is looked for once in a run of one colour. Pictures go to palette screens as slots, not this way.
template <int STEP, int RED, int BLUE>
void put_row_nearest(uint8_t* target, const uint8_t* source, int count, const row_context* /*context*/) {
    canvas_color last = CANVAS_SLOT; // no true colour
    for (int i = 0; i < count; ++i, source += STEP) {
        const canvas_color color = canvas_rgb_color({source[RED], source[1], source[BLUE]});
        target[i] = color == last ? target[i - 1] : uint8_t(canvas_pixel(color));
        last = color;
    }
}

template <int STEP, int RED, int BLUE> put_row true_row() {
    switch (screen.frame.planes) {
    case 15: return put_row_true16<STEP, RED, BLUE, 5>;
    case 16: return put_row_true16<STEP, RED, BLUE, 6>;
    case 24: return put_row_true24<STEP, RED, BLUE>;
    default: return put_row_nearest<STEP, RED, BLUE>;
    }
}

// `step`: bytes of a source pixel.
void put_rows(canvas* c, canvas_box box, const uint8_t* rows, ptrdiff_t stride, int step, put_row put,
              const row_context* context) {
    canvas_each_part(c, box, [&](canvas_box part) {
        // bitmap -> canvas coordinates -> place in the source
        const int64_t column = int64_t{part.x1} - c->origin_x - box.x1;
        for (int y = part.y1; y < part.y2; ++y) {
            const ptrdiff_t row = ptrdiff_t{y} - c->origin_y - box.y1;
            put(bitmap_at(c->bitmap, part.x1, y), rows + row * stride + column * step, part.x2 - part.x1, context);
        }
    });
}

// Reads `count` pixels.
using get_row = void (*)(uint8_t* target, const uint8_t* source, int count);

void get_row_bytes(uint8_t* target, const uint8_t* source, int count) {
    memcpy(target, source, size_t(count));
}
void get_row_words(uint8_t* target, const uint8_t* source, int count) {
    memcpy(target, source, size_t(count) * 2);
}
void get_row_longs(uint8_t* target, const uint8_t* source, int count) {
    memcpy(target, source, size_t(count) * 4);
}

template <typename T> void get_row_slots(uint8_t* target, const uint8_t* source, int count) {
    const T* pixels = reinterpret_cast<const T*>(source);
    uint32_t last = pixels[0];
    auto slot = uint8_t(canvas_pixel_slot(last));
    for (int i = 0; i < count; ++i) {
        if (pixels[i] != last) {
            last = pixels[i];
            slot = uint8_t(canvas_pixel_slot(last));
        }
        target[i] = slot;
    }
}

template <typename T> void get_row_rgb0(uint8_t* target, const uint8_t* source, int count) {
    const T* pixels = reinterpret_cast<const T*>(source);
    for (int i = 0; i < count; ++i, target += 4) {
        const canvas_rgb color = canvas_pixel_rgb(pixels[i]);
        target[0] = color.red;
        target[1] = color.green;
        target[2] = color.blue;
        target[3] = 0;
    }
}

// `step`: bytes of a target pixel. What lies outside becomes 0.
void get_rows(const canvas* c, canvas_box box, uint8_t* rows, ptrdiff_t stride, int step, get_row get) {
    if (box_is_empty(box)) return;
    const canvas_box inside = box_meet(canvas_to_bitmap(c, box), bitmap_box(c->bitmap));
    const size_t row_bytes = size_t(int64_t{box.x2} - box.x1) * size_t(step);
    for (int64_t y = box.y1; y < box.y2; ++y) {
        uint8_t* row = rows + ptrdiff_t(y - box.y1) * stride;
        const int64_t at = y + c->origin_y;
        const bool whole = inside.x2 - inside.x1 == box.x2 - box.x1;
        if (!whole || at < inside.y1 || at >= inside.y2) memset(row, 0, row_bytes);
        if (at < inside.y1 || at >= inside.y2 || inside.x1 >= inside.x2) continue;
        const int64_t column = int64_t{inside.x1} - c->origin_x - box.x1;
        get(row + column * step, bitmap_at(c->bitmap, inside.x1, int(at)), inside.x2 - inside.x1);
    }
}

template <typename A, typename B, typename C> auto by_pixel(A byte_row, B word_row, C long_row) {
    return screen.frame.pixel_bytes == 1 ? byte_row : (screen.frame.pixel_bytes == 2 ? word_row : long_row);
}

} // namespace

void canvas_put_native(canvas* c, canvas_box box, const void* rows, ptrdiff_t stride) {
    put_rows(c, box, static_cast<const uint8_t*>(rows), stride, canvas_pixel_bytes(),
             by_pixel(put_row_bytes, put_row_words, put_row_longs), nullptr);
}

void canvas_put_slots(canvas* c, canvas_box box, const uint8_t* rows, ptrdiff_t stride, const uint16_t* slots) {
    if (slots == nullptr && canvas_pixel_bytes() == 1) {
        put_rows(c, box, rows, stride, 1, put_row_bytes, nullptr);
        return;
    }
    row_context context;
    for (int i = 0; i < 256; ++i)
        context.pixels[i] = screen.slot_pixels[(slots == nullptr ? i : slots[i]) & 0xFF];
    put_rows(c, box, rows, stride, 1,
             by_pixel(put_row_slots<uint8_t>, put_row_slots<uint16_t>, put_row_slots<uint32_t>), &context);
}

void canvas_put_bgr(canvas* c, canvas_box box, const uint8_t* rows, ptrdiff_t stride) {
    put_rows(c, box, rows, stride, 3, true_row<3, 2, 0>(), nullptr);
}

void canvas_put_rgb0(canvas* c, canvas_box box, const uint8_t* rows, ptrdiff_t stride) {
    put_rows(c, box, rows, stride, 4, true_row<4, 0, 2>(), nullptr);
}

void canvas_get_native(const canvas* c, canvas_box box, void* rows, ptrdiff_t stride) {
    get_rows(c, box, static_cast<uint8_t*>(rows), stride, canvas_pixel_bytes(),
             by_pixel(get_row_bytes, get_row_words, get_row_longs));
}

void canvas_get_slots(const canvas* c, canvas_box box, uint8_t* rows, ptrdiff_t stride) {
    get_rows(c, box, rows, stride, 1, by_pixel(get_row_bytes, get_row_slots<uint16_t>, get_row_slots<uint32_t>));
}

void canvas_get_rgb0(const canvas* c, canvas_box box, uint8_t* rows, ptrdiff_t stride) {
    get_rows(c, box, rows, stride, 4, by_pixel(get_row_rgb0<uint8_t>, get_row_rgb0<uint16_t>, get_row_rgb0<uint32_t>));
}

void canvas_write_parts(canvas* c, canvas_box box, canvas_writer write, void* user) {
    canvas_each_part(c, box, [&](canvas_box part) {
        // bitmap -> canvas coordinates
        write(user, box_moved(part, -c->origin_x, -c->origin_y), bitmap_at(c->bitmap, part.x1, part.y1),
              c->bitmap->stride);
    });
}
