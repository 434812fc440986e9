// The colour slots: 16 by 16 of them, or on a screen of 4 planes 8 by 4.
#include <cstdio>

#include "demo.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/windows.h"

namespace {

constexpr int SIDE = 240;

void paint(int window) {
    const bool few = max_color_index < 16;
    const int across = few ? 8 : 16;
    const int down = few ? 4 : 16;
    demo_clear(window, SLOT_FACE);
    for (int slot = 0; slot < across * down; ++slot) {
        const int x = slot % across * SIDE / across;
        const int y = slot / across * SIDE / down;
        demo_edges(window, {x + 1, y + 1, x + SIDE / across - 2, y + SIDE / down - 2}, true);
        // The slots of the dither are beyond what fgcolor() gives on a screen of 4 planes; rgbcolor() reaches them.
        demo_expect(rgbcolor(window, 0, static_cast<uint32_t>(slot)) == 0, "rgbcolor");
        rectf(window, x + 2, y + 2, x + SIDE / across - 3, y + SIDE / down - 3);
    }
}

} // namespace

void demo_open_slots() {
    int window = -1;
    demo_expect(Create_win_flags(WINDOW_FRAME | WINDOW_NARROW_CAPTION, 0, "Colour slots", 8, 392, 8 + SIDE - 1,
                                 392 + SIDE - 1, &window) == 0,
                "Create_win_flags");
    demo_open(window, paint);
}
