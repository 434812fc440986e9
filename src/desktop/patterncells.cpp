#include "desktop/patterncells.h"

#include <algorithm>

#include "desktop/appforms.h"
#include "desktop/directcolors.h"
#include "desktop/formtexts.h"
#include "desktop/program.h"
#include "desktop/region.h"
#include "desktop/selection.h"
#include "forms/forms.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/raster_image.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/windows.h"
#include "view/view.h"
#include "view/viewdraw.h"
#include "view/viewtools.h"

namespace {

constexpr int CELLS = PAGE_CELLS;
constexpr int CHOSEN_COLOR = 3, NAME_COLOR = 2; // logical colours of a form: yellow, black

// What is known of a pattern of the palette.
struct pattern_look {
    view shown;
    uint8_t* block; // owned: the cell's pixels; null: not known
    bool load_failed;
};

struct pattern_cell {
    int x1, y1, x2, y2;
    int pattern; // -1: none
    int region;
};

struct cell_page {
    FI_form* form;
    int window;
    int first_gadget, first_name;
    pattern_cell cells[CELLS];
    int least_width, least_height;
    bool is_shown;
    int chosen;
};
cell_page page = {};

pattern_look* looks = nullptr; // owned, one a pattern of the palette
int look_count = 0;

// ---- a pattern's view ----------------------------------------------------------------------------------------------

int pattern_of(const view* v) {
    return page.cells[v->cell].pattern;
}

void pick_cell(view* v, int /*x*/, int /*y*/) {
    if (pattern_of(v) >= 0) pattern_select(pattern_of(v));
}

raster_image* load_whole(view* v) {
    return load_image(program_palette.patterns.entries[pattern_of(v)].file, INT32_MAX, INT32_MAX);
}

void keep_block(int cell);

void tool_done(view* v, raster_image* image) {
    raster_image_free(image);
    pattern_look* look = &looks[pattern_of(v)];
    mem_free(look->block);
    look->block = nullptr;
    keep_block(v->cell);
}

constexpr view_ops PATTERN_OPS = {pick_cell, load_whole, tool_done};

void press_in_cell(void* argument) {
    auto* v = static_cast<view*>(argument);
    int x = 0;
    int y = 0;
    if (Get_button_data(nullptr, &x, &y, nullptr, nullptr, nullptr) != 0) return;
    if (pattern_of(v) < 0 || looks[pattern_of(v)].load_failed) return;
    current_tool(v, x, y);
}

bool make_looks() {
    const int count = program_palette.patterns.count;
    if (count <= look_count) return true;
    auto* larger = static_cast<pattern_look*>(mem_realloc(looks, static_cast<size_t>(count) * sizeof(pattern_look)));
    if (larger == nullptr) return false;
    looks = larger;
    for (; look_count < count; ++look_count)
        looks[look_count] = {{&PATTERN_OPS, 0, NO_WINDOW, 0, 0, 0, 0, 0, 0, 0, 0}, nullptr, false};
    return true;
}

// ---- cells ---------------------------------------------------------------------------------------------------------

void keep_block(int cell) {
    const pattern_cell* c = &page.cells[cell];
    pattern_look* look = &looks[c->pattern];
    int bytes = 0;
    if (look->block != nullptr || blocksize(page.window, c->x1, c->y1, c->x2, c->y2, &bytes) != 0) return;
    look->block = mem_new_array<uint8_t>(static_cast<size_t>(bytes) + 4);
    if (look->block == nullptr)
        log_message(LOG_WARNING, "Failed to allocate memory for blocksave buffer.\n");
    else if (getblock(page.window, c->x1, c->y1, c->x2, c->y2, look->block) != 0) {
        mem_free(look->block);
        look->block = nullptr;
    }
}

void fill_background(const pattern_cell* c) {
    int color = 0;
    FIf_get_color(page.form, &color);
    form_fgcolor(page.window, program_form_hooks.color(color));
    rectf(page.window, c->x1, c->y1, c->x2, c->y2);
}

bool is_covered() {
    int state = 0;
    return Inq_win_collapse_stat(page.window, &state) == 0 && state != 0;
}

void show_name(int cell, const char* text, bool is_chosen) {
    const int label = page.first_name + cell;
    for (const auto set : {FIg_set_off_color, FIg_set_on_color}) // what is typed into draws in the second
        set(page.form, label, is_chosen ? CHOSEN_COLOR : NAME_COLOR);
    form_set_text(page.form, label, text);
}

// Draws what the file shows at its corner, and keeps that.
void draw_pattern(int cell, pattern_look* look) {
    const pattern_cell* c = &page.cells[cell];
    raster_image* image =
        load_image(program_palette.patterns.entries[c->pattern].file, page.least_width, page.least_height);
    look->load_failed = image == nullptr;
    if (image == nullptr) return;
    view_draw(image, &look->shown);
    raster_image_free(image);
    keep_block(cell);
}

void clear_cell(int cell) {
    pattern_cell* c = &page.cells[cell];
    c->pattern = -1;
    region_remove(c->region);
    c->region = -1;
    show_name(cell, "", false);
    fill_background(c);
}

void show_cell(int cell, int pattern) {
    pattern_cell* c = &page.cells[cell];
    pattern_look* look = &looks[pattern];
    region_remove(c->region);
    c->pattern = pattern;
    look->shown.ops = &PATTERN_OPS;
    look->shown.cell = cell;
    look->shown.window = page.window;
    look->shown.plane_mask = display_mask;
    look->shown.x1 = c->x1;
    look->shown.y1 = c->y1;
    look->shown.x2 = c->x2;
    look->shown.y2 = c->y2;
    c->region = region_add(page.window, c->x1, c->y1, c->x2 - 1, c->y2 - 1, press_in_cell, &look->shown);
    show_name(cell, program_palette.patterns.entries[pattern].name, pattern == page.chosen);
    if (is_covered()) return;
    if (look->block != nullptr)
        putblock(page.window, c->x1, c->y1, c->x2, c->y2, look->block);
    else if (!look->load_failed)
        draw_pattern(cell, look);
    if (look->load_failed) fill_background(c);
}

} // namespace

void cells_lay_out(FI_form* form, int first_gadget, int first_name) {
    cells_forget();
    page.form = form;
    page.first_gadget = first_gadget;
    page.first_name = first_name;
    page.chosen = chosen.pattern;
    FIf_get_window(form, &page.window);
    page.least_width = page.least_height = INT32_MAX;
    for (int i = 0; i < CELLS; ++i) {
        int x = 0, y = 0, width = 0, height = 0;
        FIg_get_location(form, first_gadget + i, &x, &y);
        FIg_get_size(form, first_gadget + i, &width, &height);
        pattern_cell* c = &page.cells[i];
        region_remove(page.is_shown ? c->region : -1);
        *c = {x + 2, y + 2, x + 2 + width - 4, y + 2 + height - 3, -1, -1};
        page.least_width = std::min(page.least_width, width);
        page.least_height = std::min(page.least_height, height);
    }
}

void cells_show(int first_pattern) {
    if (page.form == nullptr || !make_looks()) return;
    page.is_shown = true;
    for (int i = 0; i < CELLS; ++i) {
        const int pattern = first_pattern + i;
        if (pattern < program_palette.patterns.count)
            show_cell(i, pattern);
        else
            clear_cell(i);
    }
}

void cells_hide() {
    if (!page.is_shown) return;
    for (pattern_cell& c : page.cells) {
        region_remove(c.region);
        c.region = c.pattern = -1;
    }
    page.is_shown = false;
}

void cells_pick(int cell) {
    const int pattern = page.cells[cell].pattern;
    if (pattern >= 0 && !looks[pattern].load_failed) pattern_select(pattern);
}

void cells_mark(int pattern) {
    const int before = page.chosen;
    page.chosen = pattern;
    if (page.form == nullptr || !page.is_shown) return;
    for (int i = 0; i < CELLS; ++i) {
        const int own = page.cells[i].pattern;
        if (own < 0 || (own != before && own != pattern)) continue;
        show_name(i, program_palette.patterns.entries[own].name, own == pattern);
        FIg_display(page.form, page.first_name + i);
    }
}

void cells_forget() {
    for (int i = 0; i < look_count; ++i)
        mem_free(looks[i].block);
    mem_free(looks);
    looks = nullptr;
    look_count = 0;
    for (pattern_cell& c : page.cells) {
        if (page.is_shown) region_remove(c.region);
        c.region = c.pattern = -1;
    }
}

void cells_forget_pattern(int pattern) {
    if (pattern < 0 || pattern >= look_count) return;
    mem_free(looks[pattern].block);
    looks[pattern].block = nullptr;
    looks[pattern].load_failed = false;
}
