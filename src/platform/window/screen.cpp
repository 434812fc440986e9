// The frame buffer and the list of what has changed in it.
#include "platform/window/screen.h"

#include "platform/window/canvasdata.h"
#include "platform/window/host.h"
#include "support/checked.h"
#include "support/memory.h"

#include <algorithm>
#include <cstring>

screen_data screen;

namespace {

constexpr int MOST_CHANGED = 16;
constexpr int MOST_SIDE = 1 << 15; // of a bitmap
constexpr int MOST_OVERLAY = 4;    // boxes
canvas_box changed[MOST_CHANGED];
int changed_count;
canvas_box outline_shown[MOST_OVERLAY]; // outlines that the host shows now
int outlines_shown;

int64_t area(canvas_box b) {
    return int64_t{b.x2 - b.x1} * (b.y2 - b.y1);
}

bool box_contains(canvas_box outer, canvas_box inner) {
    return outer.x1 <= inner.x1 && outer.y1 <= inner.y1 && outer.x2 >= inner.x2 && outer.y2 >= inner.y2;
}

// The entry that grows least when it takes the box in, and by how much.
int cheapest_entry(canvas_box box, int64_t* growth) {
    int best = 0;
    *growth = INT64_MAX;
    for (int i = 0; i < changed_count; ++i) {
        const int64_t more = area(box_join(changed[i], box)) - area(changed[i]);
        if (more < *growth) {
            *growth = more;
            best = i;
        }
    }
    return best;
}

int pixel_bytes_of(int planes) {
    switch (planes) {
    case 4:
    case 8: return 1;
    case 15:
    case 16: return 2;
    case 24: return 4;
    default: return 0;
    }
}

// The four sides of an outline.
void outline_sides(canvas_box b, canvas_box sides[4]) {
    const int thick = screen.outline;
    sides[0] = {b.x1, b.y1, b.x2, b.y1 + thick};
    sides[1] = {b.x1, b.y2 - thick, b.x2, b.y2};
    sides[2] = {b.x1, b.y1 + thick, b.x1 + thick, b.y2 - thick};
    sides[3] = {b.x2 - thick, b.y1 + thick, b.x2, b.y2 - thick};
}

void store_pixel(canvas_box frame, int x, int y, uint32_t pixel) {
    if (!box_has(frame, x, y)) return;
    with_pixel_type(&screen.frame, [&](auto* type) {
        using pixel_type = std::remove_pointer_t<decltype(type)>;
        *reinterpret_cast<pixel_type*>(bitmap_at(&screen.frame, x, y)) = pixel_type(pixel);
    });
}

void dot_side(canvas_box side) {
    const uint32_t dots[2] = {canvas_pixel(canvas_rgb_color({0, 0, 0})),
                              canvas_pixel(canvas_rgb_color({255, 255, 255}))};
    for (int y = side.y1; y < side.y2; ++y)
        for (int x = side.x1; x < side.x2; ++x)
            store_pixel(bitmap_box(&screen.frame), x, y, dots[(x + y) & 1]);
}

void mark_outline(canvas_box box) {
    canvas_box sides[4];
    outline_sides(box, sides);
    for (const canvas_box& side : sides)
        screen_mark(side);
}

// Pixels under the outlines, kept while they stand in the frame.
struct under_outline {
    canvas_box side;
    canvas_bitmap pixels;
};

// Keeps the pixels of a side. Without memory that side isn't drawn.
bool keep_under(under_outline* kept, canvas_box side) {
    kept->side = box_meet(side, bitmap_box(&screen.frame));
    if (box_is_empty(kept->side)) return false;
    kept->pixels = screen_new_bitmap(kept->side.x2 - kept->side.x1, kept->side.y2 - kept->side.y1, screen.frame.planes);
    if (kept->pixels.pixels == nullptr) return false;
    bitmap_copy(&kept->pixels, 0, 0, &screen.frame, kept->side);
    return true;
}

void put_back(under_outline* kept) {
    bitmap_copy(&screen.frame, kept->side.x1, kept->side.y1, &kept->pixels, bitmap_box(&kept->pixels));
    screen_free_bitmap(&kept->pixels);
}

void show_changed() {
    if (changed_count > 0) host_show(&screen.frame, screen.palette, changed, changed_count);
    changed_count = 0;
}

// The starting palette: the sixteen classic colours (on 4 planes twice), a cube of 6 by 6 by 6, greys, and white last.
void fill_starting_palette() {
    for (int slot = 0; slot < CANVAS_PALETTE_SIZE; ++slot) {
        const auto grey = uint8_t(slot);
        canvas_rgb color = {grey, grey, grey};
        const int cube = slot - 16;
        if (slot < 16 || (slot < 32 && screen.frame.planes == 4))
            color = CANVAS_CLASSIC[slot & 15];
        else if (cube >= 0 && cube < 216)
            color = {uint8_t(cube / 36 * 51), uint8_t(cube / 6 % 6 * 51), uint8_t(cube % 6 * 51)};
        screen.palette[slot] = color;
    }
}

// The order in which the parts of a move are copied, so that no source is overwritten before it is read.
struct move_order {
    int dx, dy;
    bool operator()(const pixman_box32_t& a, const pixman_box32_t& b) const {
        if (a.y1 != b.y1) return dy > 0 ? a.y1 > b.y1 : a.y1 < b.y1;
        return dx > 0 ? a.x1 > b.x1 : a.x1 < b.x1;
    }
};

void move_part(const pixman_box32_t& part, int dx, int dy) {
    const size_t bytes = size_t(part.x2 - part.x1) * size_t(screen.frame.pixel_bytes);
    const int rows = part.y2 - part.y1;
    for (int i = 0; i < rows; ++i) {
        const int y = dy > 0 ? part.y2 - 1 - i : part.y1 + i;
        memmove(bitmap_at(&screen.frame, part.x1, y), bitmap_at(&screen.frame, part.x1 - dx, y - dy), bytes);
    }
    screen_mark({part.x1, part.y1, part.x2, part.y2});
}

} // namespace

canvas_bitmap screen_new_bitmap(int width, int height, int planes) {
    canvas_bitmap b = {width, height, planes, pixel_bytes_of(planes), 0, nullptr};
    size_t bytes = 0;
    if (width < 1 || height < 1 || width > MOST_SIDE || height > MOST_SIDE || b.pixel_bytes == 0) return b;
    if (!checked_mul(size_t(width), size_t(b.pixel_bytes), &b.stride) || !checked_add(b.stride, size_t{3}, &b.stride))
        return b;
    b.stride &= ~size_t{3};
    if (checked_mul(b.stride, size_t(height), &bytes)) b.pixels = static_cast<uint8_t*>(mem_alloc_zeroed(bytes));
    return b;
}

void screen_free_bitmap(canvas_bitmap* bitmap) {
    mem_free(bitmap->pixels);
    bitmap->pixels = nullptr;
}

void bitmap_copy(const canvas_bitmap* to, int to_x, int to_y, const canvas_bitmap* from, canvas_box box) {
    const size_t bytes = size_t(box.x2 - box.x1) * size_t(from->pixel_bytes);
    for (int y = box.y1; y < box.y2; ++y)
        memcpy(bitmap_at(to, to_x, to_y + y - box.y1), bitmap_at(from, box.x1, y), bytes);
}

bool screen_start(int width, int height, int planes) {
    screen_stop();
    screen.frame = screen_new_bitmap(width, height, planes);
    if (screen.frame.pixels == nullptr) return false;
    fill_starting_palette();
    for (int slot = 0; slot < CANVAS_PALETTE_SIZE; ++slot)
        screen.slot_pixels[slot] =
            screen.frame.pixel_bytes == 1 ? uint32_t(slot) : canvas_pixel(canvas_rgb_color(screen.palette[slot]));
    screen_mark(bitmap_box(&screen.frame));
    return true;
}

void screen_stop() {
    screen_free_bitmap(&screen.frame);
    screen = {};
    changed_count = 0;
    outlines_shown = 0;
}

bool screen_resize(int width, int height) {
    canvas_bitmap fresh = screen_new_bitmap(width, height, screen.frame.planes);
    if (fresh.pixels == nullptr) return false;
    const uint32_t black = canvas_pixel(canvas_rgb_color({0, 0, 0}));
    if (black != 0) memset(fresh.pixels, int(black & 0xFF), fresh.stride * size_t(fresh.height)); // a palette's slot
    bitmap_copy(&fresh, 0, 0, &screen.frame, box_meet(bitmap_box(&fresh), bitmap_box(&screen.frame)));
    screen_free_bitmap(&screen.frame);
    screen.frame = fresh;
    changed_count = 0;
    screen_mark(bitmap_box(&fresh));
    return true;
}

void screen_mark(canvas_box box) {
    box = box_meet(box, bitmap_box(&screen.frame));
    if (box_is_empty(box)) return;
    for (int i = 0; i < changed_count; ++i)
        if (box_contains(changed[i], box)) return;
    int64_t growth = 0;
    const int entry = cheapest_entry(box, &growth);
    if (changed_count < MOST_CHANGED && growth > area(box) + area(box) / 4)
        changed[changed_count++] = box;
    else
        changed[entry] = box_join(changed[entry], box);
}

bool screen_is_changed() {
    return changed_count > 0;
}

void screen_flush(const canvas_box* overlay, int count) {
    count = std::min(count, MOST_OVERLAY);
    bool same = count == outlines_shown;
    for (int i = 0; i < count && same; ++i)
        same = box_same(overlay[i], outline_shown[i]);
    if (!same) {
        for (int i = 0; i < outlines_shown; ++i)
            mark_outline(outline_shown[i]);
        for (int i = 0; i < count; ++i)
            mark_outline(overlay[i]);
    }
    if (changed_count == 0) return;
    under_outline kept[MOST_OVERLAY * 4];
    int kept_count = 0;
    for (int i = 0; i < count; ++i) {
        canvas_box sides[4];
        outline_sides(overlay[i], sides);
        for (const canvas_box& side : sides)
            if (keep_under(&kept[kept_count], side)) ++kept_count;
    }
    for (int i = 0; i < kept_count; ++i)
        dot_side(kept[i].side);
    show_changed();
    // Backwards: where outlines cross, the pixels kept first are the true ones.
    while (kept_count > 0)
        put_back(&kept[--kept_count]);
    outlines_shown = count;
    std::copy_n(overlay, count, outline_shown);
}

void screen_move_region(const pixman_region32_t* to, int dx, int dy) {
    int count = 0;
    const pixman_box32_t* parts = pixman_region32_rectangles(const_cast<pixman_region32_t*>(to), &count);
    if (count == 0 || (dx == 0 && dy == 0)) return;
    mem_guard<pixman_box32_t> sorted(mem_new_array<pixman_box32_t>(size_t(count)));
    if (!sorted) return; // the old pixels stay until they are painted again
    std::copy_n(parts, count, sorted.get());
    std::sort(sorted.get(), sorted.get() + count, move_order{dx, dy});
    for (int i = 0; i < count; ++i)
        move_part(sorted[size_t(i)], dx, dy);
}
