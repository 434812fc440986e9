// Canvases, and drawing that fills areas: boxes, patterns, masks, copies.
#include "platform/window/canvasdata.h"
#include "support/checked.h"
#include "support/memory.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>

namespace {

void update_drawable(canvas* c) {
    if (!c->clipped) {
        pixman_region32_copy(&c->drawable, &c->visible);
        return;
    }
    region_meet_box(&c->drawable, &c->visible, canvas_to_bitmap(c, c->clip));
}

template <typename T> T* row_at(const canvas_bitmap* b, int x, int y) {
    return reinterpret_cast<T*>(bitmap_at(b, x, y));
}

template <typename T> void fill_part(const canvas_bitmap* b, canvas_box part, uint32_t pixel) {
    for (int y = part.y1; y < part.y2; ++y)
        std::fill_n(row_at<T>(b, part.x1, y), part.x2 - part.x1, T(pixel));
}

template <typename T> void pattern_part(const canvas* c, canvas_box part, uint32_t pixel, const canvas_pattern* p) {
    for (int y = part.y1; y < part.y2; ++y) {
        T* row = row_at<T>(c->bitmap, part.x1, y);
        // bitmap -> canvas coordinates: the pattern starts at the canvas's corner
        const unsigned bits = p->rows[(y - c->origin_y) & 7];
        for (int x = part.x1; x < part.x2; ++x, ++row) {
            const bool set = (bits >> (7 - ((x - c->origin_x) & 7)) & 1) != 0;
            *row = set ? T(*row | T(pixel)) : T(*row & ~T(pixel));
        }
    }
}

// One row of a mask: `first` is the bit of the first pixel.
template <typename T> void mask_row(T* pixels, int count, const uint8_t* bits, int first, T pixel) {
    int x = 0;
    while (x < count) {
        const int bit = (first + x) & 7;
        const int here = std::min(8 - bit, count - x); // pixels that this byte still gives
        auto paint = uint8_t(~bits[(first + x) >> 3] << bit);
        paint = uint8_t(paint & (0xFF00 >> here));
        while (paint != 0) {
            const int lead = std::countl_zero(paint);
            pixels[x + lead] = pixel;
            paint = uint8_t(paint & ~(0x80 >> lead));
        }
        x += here;
    }
}

void copy_same(canvas* c, canvas_box to, int dx, int dy) {
    pixman_region32_t region;
    pixman_region32_init(&region);
    region_meet_box(&region, &c->drawable, to);
    screen_move_region(&region, dx, dy);
    pixman_region32_fini(&region);
}

// A copy inside one bitmap in memory, which is drawable as a whole but for the clip box.
void copy_inside(canvas* c, canvas_box to, int dx, int dy) {
    const pixman_box32_t* limit = pixman_region32_extents(&c->drawable);
    to = box_meet(to, {limit->x1, limit->y1, limit->x2, limit->y2});
    if (box_is_empty(to)) return;
    const size_t bytes = size_t(to.x2 - to.x1) * size_t(c->bitmap->pixel_bytes);
    for (int i = 0; i < to.y2 - to.y1; ++i) {
        const int y = dy > 0 ? to.y2 - 1 - i : to.y1 + i;
        memmove(bitmap_at(c->bitmap, to.x1, y), bitmap_at(c->bitmap, to.x1 - dx, y - dy), bytes);
    }
}

} // namespace

void canvas_init_on_screen(canvas* c) {
    *c = {};
    c->bitmap = &screen.frame;
    pixman_region32_init(&c->visible);
    pixman_region32_init(&c->drawable);
}

void canvas_fini(canvas* c) {
    pixman_region32_fini(&c->visible);
    pixman_region32_fini(&c->drawable);
}

void canvas_set_visible(canvas* c, canvas_box area, const pixman_region32_t* visible) {
    c->origin_x = area.x1;
    c->origin_y = area.y1;
    c->width = std::max(area.x2 - area.x1, 0);
    c->height = std::max(area.y2 - area.y1, 0);
    pixman_region32_copy(&c->visible, const_cast<pixman_region32_t*>(visible));
    update_drawable(c);
}

canvas* canvas_create(int width, int height) {
    mem_guard<canvas> c(mem_new<canvas>());
    if (!c) return nullptr;
    c->own = screen_new_bitmap(width, height, screen.frame.planes);
    if (c->own.pixels == nullptr) return nullptr;
    c->bitmap = &c.get()->own;
    c->width = width;
    c->height = height;
    pixman_region32_init_rect(&c->visible, 0, 0, unsigned(width), unsigned(height));
    pixman_region32_init(&c->drawable);
    update_drawable(c.get());
    canvas_fill(c.get(), {0, 0, width, height}, 0);
    return c.keep();
}

void canvas_destroy(canvas* c) {
    if (c == nullptr) return;
    canvas_fini(c);
    screen_free_bitmap(&c->own);
    mem_free(c);
}

int canvas_width(const canvas* c) {
    return c->width;
}
int canvas_height(const canvas* c) {
    return c->height;
}

void canvas_set_clip(canvas* c, canvas_box box) {
    c->clipped = true;
    c->clip = box;
    update_drawable(c);
}

void canvas_clear_clip(canvas* c) {
    c->clipped = false;
    update_drawable(c);
}

void canvas_fill(canvas* c, canvas_box box, canvas_color color) {
    const uint32_t pixel = canvas_pixel(color);
    with_pixel_type(c->bitmap, [&](auto* type) {
        using pixel_type = std::remove_pointer_t<decltype(type)>;
        canvas_each_part(c, box, [&](canvas_box part) { fill_part<pixel_type>(c->bitmap, part, pixel); });
    });
}

void canvas_fill_pattern(canvas* c, canvas_box box, canvas_color color, const canvas_pattern* pattern) {
    const uint32_t pixel = canvas_pixel(color);
    with_pixel_type(c->bitmap, [&](auto* type) {
        using pixel_type = std::remove_pointer_t<decltype(type)>;
        canvas_each_part(c, box, [&](canvas_box part) { pattern_part<pixel_type>(c, part, pixel, pattern); });
    });
}

void canvas_set_pixel(canvas* c, int x, int y, canvas_color color) {
    if (x < 0 || y < 0 || x >= c->width || y >= c->height) return;
    canvas_fill(c, {x, y, x + 1, y + 1}, color);
}

uint32_t canvas_get_pixel(const canvas* c, int x, int y) {
    if (x < 0 || y < 0 || x >= c->width || y >= c->height) return 0;
    uint32_t pixel = 0;
    canvas_get_native(c, {x, y, x + 1, y + 1}, &pixel, 0);
    return pixel;
}

void canvas_mask(canvas* c, int x, int y, int width, int height, const uint8_t* bits, size_t stride,
                 canvas_color color) {
    canvas_box box = {x, y, 0, 0};
    if (width <= 0 || height <= 0 || !checked_add(x, width, &box.x2) || !checked_add(y, height, &box.y2)) return;
    const uint32_t pixel = canvas_pixel(color);
    with_pixel_type(c->bitmap, [&](auto* type) {
        using pixel_type = std::remove_pointer_t<decltype(type)>;
        canvas_each_part(c, box, [&](canvas_box part) {
            for (int row = part.y1; row < part.y2; ++row)
                mask_row(row_at<pixel_type>(c->bitmap, part.x1, row), part.x2 - part.x1,
                         bits + size_t(row - c->origin_y - y) * stride, part.x1 - c->origin_x - x, pixel_type(pixel));
        });
    });
}

void canvas_copy(canvas* to, int x, int y, const canvas* from, canvas_box box) {
    // Everything in bitmap coordinates, in 64 bits until the box is limited to what both bitmaps have.
    const int64_t dx = int64_t{x} + to->origin_x - box.x1 - from->origin_x;
    const int64_t dy = int64_t{y} + to->origin_y - box.y1 - from->origin_y;
    if (dx != int(dx) || dy != int(dy)) return;
    const canvas_box source = box_meet(canvas_to_bitmap(from, box), bitmap_box(from->bitmap));
    if (box_is_empty(source)) return;
    const int64_t target_x = source.x1 + dx;
    const int64_t target_y = source.y1 + dy;
    if (target_x > to->bitmap->width || target_y > to->bitmap->height || source.x2 + dx < 0 || source.y2 + dy < 0)
        return;
    const canvas_box target = box_moved(source, int(dx), int(dy));
    if (to->bitmap == from->bitmap) {
        if (to->bitmap == &screen.frame)
            copy_same(to, target, int(dx), int(dy));
        else
            copy_inside(to, target, int(dx), int(dy));
        return;
    }
    canvas_each_part(to, box_moved(target, -to->origin_x, -to->origin_y), [&](canvas_box part) {
        bitmap_copy(to->bitmap, part.x1, part.y1, from->bitmap, box_moved(part, -int(dx), -int(dy)));
    });
}
