// Text and edges, as the pages draw them.
#include <cstdio>
#include <cstring>

#include "demo.h"
#include "platform/files.h"
#include "tools/draw.h"
#include "tools/font.h"
#include "tools/process.h"
#include "tools/windows.h"

int demo_font(const char* name, int size) {
    char path[FILES_PATH_SIZE + 64];
    std::snprintf(path, sizeof path, "%sfonts/%s.%d", root_dir, name, size);
    int font = -1;
    Load_symbol_file(path, &font);
    return font;
}

void demo_text_in(int window, int font, int x, int y, const char* text, int slot) {
    fgcolor(window, slot);
    if (font >= 0)
        demo_expect(drawsymbols(window, font, x, y, text, static_cast<int>(std::strlen(text))) == 0, "drawsymbols");
}

void demo_text(int window, int x, int y, const char* text, int slot) {
    static const int font = demo_font("swiss742b", 14);
    demo_text_in(window, font, x, y, text, slot);
}

void demo_fill(int window, demo_rect rect, int slot) {
    fgcolor(window, slot);
    rectf(window, rect.x1, rect.y1, rect.x2, rect.y2);
}

void demo_size(int window, int* width, int* height) {
    int x1 = 0, y1 = 0, x2 = -1, y2 = -1;
    Inq_win_region(window, &x1, &y1, &x2, &y2);
    *width = x2 - x1 + 1;
    *height = y2 - y1 + 1;
}

void demo_clear(int window, int slot) {
    int width = 0, height = 0;
    demo_size(window, &width, &height);
    demo_fill(window, {0, 0, width - 1, height - 1}, slot);
}

void demo_edges(int window, demo_rect rect, bool sunk) {
    fgcolor(window, sunk ? SLOT_SHADOW : SLOT_WHITE);
    move(window, rect.x1, rect.y2);
    draw(window, rect.x1, rect.y1);
    draw(window, rect.x2, rect.y1);
    fgcolor(window, sunk ? SLOT_WHITE : SLOT_SHADOW);
    draw(window, rect.x2, rect.y2);
    draw(window, rect.x1, rect.y2);
}
