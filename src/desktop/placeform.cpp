#include "desktop/placeform.h"

#include <algorithm>

#include "tools/windows.h"

namespace {

constexpr int GROWN = 2; // pixels that forms are held apart by

int width_of(const place_box* b) {
    return b->x2 - b->x1 + 1;
}

int height_of(const place_box* b) {
    return b->y2 - b->y1 + 1;
}

struct place_search {
    const place_box* taken;
    int count;
    int width, height;
    bool smallest;
    place_box best;
    bool found, is_over;
};

void take_region(place_search* s, const place_box* region) {
    const auto area = [](const place_box* b) { return static_cast<long>(width_of(b)) * height_of(b); };
    const bool is_larger = s->found && area(region) > area(&s->best);
    if (!s->found || !is_larger) s->best = *region;
    s->found = true;
    s->is_over = !s->smallest || is_larger;
}

// Tries the parts of a region above, below, left of and right of each box in turn.
void search(place_search* s, const place_box* region, int index) {
    if (s->is_over) return;
    if (index == s->count) {
        take_region(s, region);
        return;
    }
    const place_box* t = &s->taken[index];
    const place_box parts[] = {
        {region->x1, region->y1, region->x2, std::min(region->y2, t->y1 - 1)},
        {region->x1, std::max(region->y1, t->y2 + 1), region->x2, region->y2},
        {region->x1, region->y1, std::min(region->x2, t->x1 - 1), region->y2},
        {std::max(region->x1, t->x2 + 1), region->y1, region->x2, region->y2},
    };
    for (const place_box& part : parts)
        if (width_of(&part) >= s->width && height_of(&part) >= s->height) search(s, &part, index + 1);
}

// Moves a span of that length the least way into low .. high.
int into(int at, int length, int low, int high) {
    if (at + length - 1 > high) at = high - length + 1;
    return std::max(at, low);
}

} // namespace

void place_find(const place_box* screen, const place_box* taken, int count, int width, int height, int mode, int* x,
                int* y) {
    place_search s = {taken, count, width, height, (mode & PLACE_SMALLEST) != 0, *screen, false, false};
    search(&s, screen, 0);
    const place_box* region = s.found ? &s.best : screen;
    const bool on_screen = (mode & PLACE_CENTERED) != 0;
    const place_box* middle = on_screen ? screen : region;
    *x = middle->x1 + (width_of(middle) - width) / 2;
    *y = middle->y1 + (height_of(middle) - height) / 2;
    if (on_screen) {
        *x = into(*x, width, region->x1, region->x2);
        *y = into(*y, height, region->y1, region->y2);
        return;
    }
    if ((mode & PLACE_MIDDLE) != 0) return;
    if ((mode & PLACE_BOTTOM) != 0) *y = region->y2 - height + 1;
    if ((mode & PLACE_TOP) != 0) *y = region->y1;
    if ((mode & PLACE_RIGHT) != 0) *x = region->x2 - width + 1;
    if ((mode & PLACE_LEFT) != 0) *x = region->x1;
}

void place_form(FI_form* form, int mode) {
    place_box taken[WINDOW_COUNT];
    int count = 0;
    for (int window = 0; window < WINDOW_COUNT; ++window) {
        FI_form* other = nullptr;
        int x = 0, y = 0, width = 0, height = 0, collapsed = 0;
        if (FI_get_form_by_window(window, &other) != FI_SUCCESS || other == form) continue;
        if (FIf_is_collapsed(other, &collapsed) == FI_SUCCESS && collapsed != 0) continue;
        FIf_get_location(other, &x, &y);
        FIf_get_size(other, &width, &height);
        taken[count++] = {x - GROWN, y - GROWN, x + width + GROWN, y + height + GROWN};
    }
    int x = 0, y = 0, width = 0, height = 0;
    FIf_get_size(form, &width, &height);
    const place_box screen = {0, 0, screen_width, screen_height};
    place_find(&screen, taken, count, width + 2 * GROWN, height + 2 * GROWN, mode, &x, &y);
    FIf_set_location(form, x + GROWN, y + GROWN);
}
