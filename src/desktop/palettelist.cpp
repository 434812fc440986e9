#include "desktop/palettelist.h"

#include <algorithm>

#include "desktop/directcolors.h"
#include "desktop/formtexts.h"
#include "desktop/program.h"
#include "desktop/region.h"
#include "desktop/selection.h"
#include "forms/forms.h"
#include "support/log.h"
#include "support/memory.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/windows.h"

namespace {

constexpr int LIST_LEFT = 8; // on a screen of 1184 pixels
constexpr int DESIGN_WIDTH = 1184;
constexpr int WIPED = 5; // a logical colour
constexpr uint32_t IS_HIDDEN = FI_NOT_DISPLAYED;

struct palette_box {
    int x, y;
    int entry;  // -1: none
    int region; // -1: none
};

struct box_area {
    FI_form* form;
    int list;
    int window;
    int x1, y1, width, height; // of the whole
    int row_height;
    palette_box* boxes; // owned
    int count;
    int top_row;
    bool is_shown;
};
box_area area = {};

void box_pressed(void* argument) {
    const auto* box = static_cast<palette_box*>(argument);
    Drop_event(BUTTON_EVENT);
    palette_select(box->entry);
}

void drop_box(palette_box* box) {
    region_remove(box->region);
    box->region = box->entry = -1;
}

void forget_boxes() {
    for (int i = 0; i < area.count; ++i)
        drop_box(&area.boxes[i]);
    mem_free(area.boxes);
    area.boxes = nullptr;
    area.count = 0;
    area.is_shown = false;
}

int box_width() {
    return area.width - 4;
}

void fill_box(int slot) {
    palette_box* box = &area.boxes[slot];
    const int x2 = box->x + box_width() - 1;
    const int y2 = box->y + area.row_height - 3;
    if (box->entry < 0) {
        form_fgcolor(area.window, WIPED);
        rectf(area.window, box->x, box->y, x2, y2);
        return;
    }
    const named_color* c = program_palette.colors.entries[box->entry];
    const bar_rgb color = {c->red, c->green, c->blue};
    color_ramp(area.window, box->x, box->y, color, x2, y2, color);
    box->region = region_add(area.window, box->x, box->y, x2, y2, box_pressed, box);
}

void paint_boxes() {
    for (int i = 0; i < area.count; ++i) {
        drop_box(&area.boxes[i]);
        const int entry = area.top_row + i;
        if (entry < program_palette.colors.count) area.boxes[i].entry = entry;
        fill_box(i);
    }
    area.is_shown = area.count > 0;
}

// The first row that the list shows.
int first_row() {
    int rows = 0;
    FIfld_get_num_rows(area.form, area.list, &rows);
    for (int row = 0; row < rows; ++row) {
        char text[2];
        int position = -1;
        FIfld_get_text(area.form, area.list, row, 0, sizeof text, text, nullptr, &position);
        if (position == 0) return row;
    }
    return area.top_row;
}

bool is_visible() {
    uint32_t attributes = 0;
    return area.form != nullptr && FIg_get_attr(area.form, area.list, &attributes) == FI_SUCCESS &&
           (attributes & IS_HIDDEN) == 0;
}

} // namespace

void palette_list_lay_out(FI_form* form, int list) {
    forget_boxes();
    area.form = form;
    area.list = list;
    int x = 0, y = 0;
    FIg_get_location(form, list, &x, &y);
    FIfld_get_row_height(form, list, &area.row_height);
    FIfld_get_num_vis_rows(form, list, &area.count);
    FIf_get_window(form, &area.window);
    area.count = std::max(area.count, 0);
    area.x1 = std::max(LIST_LEFT, LIST_LEFT * (screen_width + 1) / DESIGN_WIDTH);
    area.y1 = y;
    area.width = x - area.x1 - 2;
    area.height = area.count * area.row_height + 2;
    area.boxes = mem_new_array<palette_box>(static_cast<size_t>(area.count));
    if (area.boxes == nullptr) {
        log_message(LOG_WARNING, "Memory allocation failure for tnd boxes.\n");
        area.count = 0;
        return;
    }
    for (int i = 0; i < area.count; ++i)
        area.boxes[i] = {area.x1 + 4, y + 2 + i * area.row_height, -1, -1};
    area.is_shown = true;
    palette_list_paint();
}

void palette_list_forget() {
    forget_boxes();
    area = {};
}

void palette_refresh() {
    if (area.form == nullptr) return;
    const color_palette* colors = &program_palette.colors;
    FIfld_set_num_rows(area.form, area.list, colors->count);
    for (int i = 0; i < colors->count; ++i) {
        char latin1[256];
        text_to_latin1(colors->entries[i]->name, latin1, sizeof latin1);
        FIfld_set_text(area.form, area.list, i, 0, latin1, 0);
    }
    area.top_row = 0;
    FIfld_set_active_row(area.form, area.list, 0, 0);
    area.is_shown = true;
    palette_list_paint();
}

void palette_list_paint() {
    if (area.form == nullptr || !forms_up || !area.is_shown) return;
    paint_boxes();
}

void palette_sync_boxes() {
    if (!is_visible() || !area.is_shown) return;
    const int row = first_row();
    if (row == area.top_row) return;
    area.top_row = row;
    paint_boxes();
}

bool palette_list_is_shown() {
    return area.is_shown;
}

void palette_list_changed(int index) {
    if (area.form == nullptr) return;
    int rows = 0;
    FIfld_get_num_rows(area.form, area.list, &rows);
    char latin1[256];
    text_to_latin1(program_palette.colors.entries[index]->name, latin1, sizeof latin1);
    if (index >= rows) FIfld_set_text(area.form, area.list, index, 0, latin1, 0);
    const int slot = index - area.top_row;
    if (slot < 0 || slot >= area.count) return;
    drop_box(&area.boxes[slot]);
    area.boxes[slot].entry = index;
    fill_box(slot);
}

void color_ramp(int window, int x1, int y1, bar_rgb first, int x2, int y2, bar_rgb last, bool is_saturated) {
    const int count = x2 - x1 + 1;
    if (count <= 0 || count > RAMP_PIXELS || y2 < y1) return;
    uint8_t lines[3][RAMP_PIXELS];
    ramp_line(first, last, count, is_saturated, lines[0], lines[1], lines[2]);
    rgb_fill(window, x1, x2, y1, y2, lines[0], lines[1], lines[2]);
}
