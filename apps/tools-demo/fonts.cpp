// Every font of the product, a column a family and a line a size.
#include <cstdio>

#include "demo.h"
#include "tools/draw.h"
#include "tools/font.h"
#include "tools/windows.h"

namespace {

constexpr int WIDTH = 636, HEIGHT = 340;
constexpr const char* families[] = {"mono821", "mono821b", "dutch801", "swiss742b"};
constexpr const char* texts[] = {"Qay 0123", "Qay 0123", "Handgloves \xC4\xE9 08", "Handgloves 08"};
constexpr int columns[] = {6, 148, 272, 458};
constexpr int FIRST_SIZE = 12, LAST_SIZE = 29;

void paint_family(int window, int family) {
    int y = 6;
    bool any = false;
    for (int size = FIRST_SIZE; size <= LAST_SIZE; ++size) {
        const int font = demo_font(families[family], size);
        int height = 0, width = 0, extra = 0;
        if (font < 0 || Inq_font_size(font, &height, &width, &extra) != 0) continue;
        any = true;
        char label[16];
        std::snprintf(label, sizeof label, "%d", size);
        if (family == 0) demo_text(window, columns[0], y + (height - 12) / 2, label, SLOT_SHADOW);
        demo_text_in(window, font, columns[family] + (family == 0 ? 22 : 0), y, texts[family], SLOT_BLACK);
        y += height;
    }
    demo_expect(any, families[family]);
}

void paint(int window) {
    demo_clear(window, SLOT_PAPER);
    for (int i = 0; i < 4; ++i)
        paint_family(window, i);
}

} // namespace

void demo_open_fonts() {
    int window = -1;
    demo_expect(Create_win(0, "Fonts: mono821, mono821b, dutch801, swiss742b", 636, 26, 636 + WIDTH - 1,
                           26 + HEIGHT - 1, &window) == 0,
                "Create_win");
    demo_open(window, paint);
}
