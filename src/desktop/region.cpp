// The table of clickable regions.
#include "desktop/region.h"

namespace {

struct region {
    int16_t window;
    int16_t x1, y1, x2, y2;
    int16_t in_use;
    region_action action;
    void* argument;
};
region regions[REGION_COUNT] = {};

bool can_take(const region* r, int window, int x1, int y1, int y2) {
    return r->in_use == 0 || (r->window == window && r->x1 == x1 && r->y1 == y1 && r->y2 == y2);
}

bool holds(const region* r, int window, int x, int y) {
    return r->in_use != 0 && r->window == window && x >= r->x1 && x <= r->x2 && y >= r->y1 && y <= r->y2;
}

} // namespace

int region_add(int window, int x1, int y1, int x2, int y2, region_action action, void* argument) {
    for (int slot = 0; slot < REGION_COUNT; ++slot) {
        region* r = &regions[slot];
        if (!can_take(r, window, x1, y1, y2)) continue;
        *r = {static_cast<int16_t>(window),
              static_cast<int16_t>(x1),
              static_cast<int16_t>(y1),
              static_cast<int16_t>(x2),
              static_cast<int16_t>(y2),
              1,
              action,
              argument};
        return slot;
    }
    return -1;
}

void region_remove(int slot) {
    if (slot >= 0 && slot < REGION_COUNT) regions[slot].in_use = 0;
}

int region_hit(int window, int x, int y) {
    for (const region& r : regions) {
        if (!holds(&r, window, x, y)) continue;
        r.action(r.argument);
        return 1;
    }
    return 0;
}
