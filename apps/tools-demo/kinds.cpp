// A window of every kind.
#include <cstdio>

#include "demo.h"
#include "tools/draw.h"
#include "tools/windows.h"

namespace {

struct kind {
    const char* name;
    int flags;
    int level;
};
constexpr kind kinds[] = {
    {"Caption", WINDOW_FRAME | WINDOW_CAPTION, 0},
    {"Frame", WINDOW_FRAME, 0},
    {"Narrow", WINDOW_NARROW_CAPTION, 0},
    {"Narrow, frame", WINDOW_NARROW_CAPTION | WINDOW_FRAME, 0},
    {"No border", 0, 0},
    {"Dialog", WINDOW_DIALOG_FRAME | WINDOW_CAPTION, 0},
    {"Dialog frame", WINDOW_DIALOG_FRAME, 0},
    {"Free", WINDOW_FREE | WINDOW_FRAME | WINDOW_CAPTION, 0},
    {"Transparent", WINDOW_TRANSPARENT, 0},
    {"Top level", WINDOW_FRAME, WINDOW_TOP_LEVEL},
};
constexpr int KINDS = static_cast<int>(sizeof kinds / sizeof kinds[0]);
constexpr int COLUMNS = 5;
constexpr int LEFT = 268, TOP = 392, ACROSS = 122, DOWN = 128, WIDTH = 104, HEIGHT = 86;

int kind_of_window[WINDOW_COUNT];
int plain_window = -1;

void paint(int window) {
    const kind& k = kinds[kind_of_window[window & WINDOW_MASK]];
    int width = 0, height = 0;
    demo_size(window, &width, &height);
    char line[40];
    const bool clear = (k.flags & WINDOW_TRANSPARENT) != 0;
    if (!clear) demo_clear(window, k.level != 0 ? SLOT_CREAM : SLOT_PAPER);
    const int ink = clear ? SLOT_WHITE : SLOT_BLACK;
    demo_text(window, 8, 8, k.name, ink);
    std::snprintf(line, sizeof line, "window %d", window);
    demo_text(window, 8, 28, line, clear ? SLOT_FACE : SLOT_DARK);
    std::snprintf(line, sizeof line, "flags %d", k.flags);
    demo_text(window, 8, 46, line, clear ? SLOT_FACE : SLOT_DARK);
    std::snprintf(line, sizeof line, "%d x %d", width, height);
    demo_text(window, 8, 64, line, clear ? SLOT_FACE : SLOT_DARK);
}

int create(int index, int x, int y, const char* title) {
    const kind& k = kinds[index];
    int window = -1;
    const int made = Create_win_flags(k.flags, k.level, title, x, y, x + WIDTH - 1, y + HEIGHT - 1, &window);
    demo_expect(made == 0, "Create_win_flags");
    if (made != 0) return -1;
    kind_of_window[window] = index;
    return window;
}

} // namespace

int demo_plain_window() {
    return plain_window;
}

void demo_open_kinds() {
    for (int i = 0; i < KINDS; ++i) {
        const int window = create(i, LEFT + i % COLUMNS * ACROSS, TOP + i / COLUMNS * DOWN, kinds[i].name);
        if (window < 0) return;
        demo_open(window, paint);
        if (i == 0) plain_window = window;
    }
    const int icon = create(0, 100, 900, "An icon");
    if (icon < 0) return;
    Set_win_collapse_org(icon, 8, 950);
    demo_expect(Collapse_win(icon) == 0, "Collapse_win");
    demo_open(icon, paint);
}
