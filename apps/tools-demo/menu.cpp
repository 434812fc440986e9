// Menus in save-restore areas: what they cover comes back when they close, without any page being painted again.
#include "demo.h"
#include "tools/draw.h"
#include "tools/windows.h"

namespace {

constexpr int WIDTH = 150, HEIGHT = 104;
constexpr const char* items[] = {"Cut", "Copy", "Paste", "Another menu"};

int open_menus = 0;

void paint() {
    demo_fill(0, {0, 0, WIDTH - 1, HEIGHT - 1}, SLOT_FACE);
    demo_edges(0, {0, 0, WIDTH - 1, HEIGHT - 1}, false);
    for (int i = 0; i < 4; ++i) {
        const int y = 4 + i * 24;
        if (i == 3) {
            demo_fill(0, {3, y, WIDTH - 4, y + 23}, SLOT_DARK_BLUE);
            const int32_t arrow[] = {WIDTH - 16, y + 6, WIDTH - 10, y + 12, WIDTH - 16, y + 18};
            fgcolor(0, SLOT_WHITE);
            polyf(0, arrow, 3, 4);
        }
        demo_text(0, 14, y + 5, items[i], i == 3 ? SLOT_WHITE : SLOT_BLACK);
    }
}

} // namespace

bool demo_menu_is_open() {
    return open_menus > 0;
}

void demo_open_menu(int x, int y) {
    int window = -1;
    if (open_menus == 0) demo_expect(Enter_SR(0, 0, &window) == 0 && window == 0, "Enter_SR");
    const bool made = Create_SR_area(0, x, y, x + WIDTH - 1, y + HEIGHT - 1) == 0;
    demo_expect(made, "Create_SR_area");
    if (!made) return;
    ++open_menus;
    paint();
}

void demo_close_menus() {
    if (open_menus == 0) return;
    for (; open_menus > 0; --open_menus)
        demo_expect(Delete_SR_area(0) == 0, "Delete_SR_area");
    demo_expect(Exit_SR(0) == 0, "Exit_SR");
}
