#include "desktop/colorbarmenu.h"

#include "desktop/directcolors.h"

#include "desktop/palettelist.h"
#include "platform/window/desk.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/colorbars.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/windows.h"

struct color_bar_menu {
    int window;
    bar_layout layout;
    bar_color color;
    bar_state state;
    saved_area knobs[BAR_COUNT]; // what lies under each; null: no knob is drawn
    double knob_at[BAR_COUNT];
};

namespace {

constexpr int BLACK = 0, LIGHT = 1; // logical colours
constexpr int BUTTON = 1;

void outline(int window, int x1, int y1, int x2, int y2) {
    move(window, x1, y1);
    draw(window, x2, y1);
    draw(window, x2, y2);
    draw(window, x1, y2);
    draw(window, x1, y1);
}

void frame(int window, int x, int y, int width, int height) {
    form_fgcolor(window, BLACK);
    outline(window, x + 1, y + 1, x + width - 1, y + height - 1);
    form_fgcolor(window, LIGHT);
    outline(window, x, y, x + width - 2, y + height - 2);
}

// A ramp inside the frame of a bar.
void ramp(const color_bar_menu* m, int bar, bar_rgb first, bar_rgb last) {
    const bar_layout* l = &m->layout;
    const int x = bar_left(l, bar);
    const int y = bar_top(l, bar);
    color_ramp(m->window, x + 2, y + 2, first, x + l->bar_width - 3, y + l->row_height - 3, last);
}

void draw_hues(const color_bar_menu* m) {
    const bar_layout* l = &m->layout;
    const int ends[] = {l->right_x + 2, l->third1_x, l->third2_x, l->end_x - 2};
    constexpr bar_rgb pure[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
    const int y = bar_top(l, BAR_HUE);
    for (int i = 0; i < 3; ++i)
        color_ramp(m->window, ends[i], y + 2, pure[i], ends[i + 1] - 1, y + l->row_height - 3, pure[i + 1], true);
}

void restore_knob(color_bar_menu* m, int bar) {
    if (m->knobs[bar] == nullptr) return;
    restore_area(m->window, knob_left(&m->layout, bar, m->knob_at[bar]), bar_top(&m->layout, bar), m->knobs[bar]);
    free_area(m->knobs[bar]);
    m->knobs[bar] = nullptr;
}

void draw_knob(color_bar_menu* m, int bar) {
    restore_knob(m, bar);
    m->knob_at[bar] = bar_color_get(&m->state.shown, bar);
    const int x = knob_left(&m->layout, bar, m->knob_at[bar]);
    const int y1 = bar_top(&m->layout, bar);
    const int y2 = y1 + m->layout.row_height;
    save_area(m->window, x, y1, x + KNOB_WIDTH - 1, y2 - 1, &m->knobs[bar]);
    const bool touches_end = x + KNOB_WIDTH >= bar_left(&m->layout, bar) + m->layout.bar_width - 1;
    constexpr int colors[KNOB_WIDTH] = {LIGHT, BLACK, LIGHT, BLACK, BLACK};
    for (int i = 0; i < KNOB_WIDTH - (touches_end ? 1 : 0); ++i) {
        form_fgcolor(m->window, colors[i]);
        rectf(m->window, x + i, y1, x + i, y2 - 1);
    }
}

void draw_whiteness_ramp(color_bar_menu* m) {
    restore_knob(m, BAR_WHITENESS);
    bar_color pure = m->state.shown;
    pure.whiteness = 0.0;
    pure.value = 1.0;
    hsv_to_rgb(&pure);
    ramp(m, BAR_WHITENESS, {pure.red, pure.green, pure.blue}, {1, 1, 1});
}

void draw_value_ramp(color_bar_menu* m) {
    restore_knob(m, BAR_VALUE);
    bar_color full = m->state.shown;
    full.value = 1.0;
    hsv_to_rgb(&full);
    ramp(m, BAR_VALUE, {0, 0, 0}, {full.red, full.green, full.blue});
}

void draw_swatch(const color_bar_menu* m) {
    const bar_layout* l = &m->layout;
    const bar_rgb c = {m->color.red, m->color.green, m->color.blue};
    color_ramp(m->window, l->swatch_x + 2, l->row_y[0] + 2, c, l->right_x - 3, l->row_y[0] + l->swatch_height - 3, c);
}

void show(color_bar_menu* m) {
    const bar_changes changes = bar_state_set(&m->state, &m->color);
    for (int bar = BAR_RED; bar <= BAR_HUE; ++bar)
        if (changes.knobs[bar]) draw_knob(m, bar);
    if (changes.whiteness_ramp) draw_whiteness_ramp(m);
    if (changes.knobs[BAR_WHITENESS]) draw_knob(m, BAR_WHITENESS);
    if (changes.value_ramp) draw_value_ramp(m);
    if (changes.knobs[BAR_VALUE]) draw_knob(m, BAR_VALUE);
    if (changes.swatch) draw_swatch(m);
}

void draw_all(color_bar_menu* m) {
    const bar_layout* l = &m->layout;
    for (int bar = 0; bar < BAR_COUNT; ++bar)
        frame(m->window, bar_left(l, bar), bar_top(l, bar), l->bar_width, l->row_height);
    frame(m->window, l->swatch_x, l->row_y[0], l->swatch_width, l->swatch_height);
    ramp(m, BAR_RED, {0, 0, 0}, {1, 0, 0});
    ramp(m, BAR_GREEN, {0, 0, 0}, {0, 1, 0});
    ramp(m, BAR_BLUE, {0, 0, 0}, {0, 0, 1});
    draw_hues(m);
    m->state = {{-1, -1, -1, -1, -1, -1}, true, false, false};
    show(m);
}

// One step at a column. False when nothing changes.
bool step(color_bar_menu* m, int bar, int* x, bool live, color_bar_calls calls) {
    const double number = bar_number_at(&m->layout, bar, x);
    if (number == bar_color_get(&m->color, bar)) return false;
    bar_color_set(&m->color, bar, number);
    m->state.live = live;
    show(m);
    m->state.live = true;
    calls.told(m->color.red, m->color.green, m->color.blue);
    return true;
}

// Follows the pointer until the button comes up, or something else is pressed.
void follow(color_bar_menu* m, int bar, color_bar_calls calls) {
    int x = 0, y = 0, inside = 0;
    bool is_behind = false;
    while (Get_button_release(BUTTON) == button_next::none) {
        Mouse_position(m->window, &x, &y, &inside);
        const int before = x;
        if (step(m, bar, &x, false, calls)) {
            desk_flush();
            is_behind = true;
        } else if (is_behind) {
            is_behind = calls.more();
        }
        if (x != before && bar == BAR_HUE) {
            const desk_window* handle = window_find(m->window)->handle;
            const canvas_box client = desk_client(handle);
            desk_warp(client.x1 + x, client.y1 + y);
        }
        if (!(is_behind ? tools_pump() : tools_wait())) return;
    }
    Mouse_position(m->window, &x, &y, &inside);
    step(m, bar, &x, false, calls);
    show(m); // with the ramps that were left out
}

} // namespace

color_bar_menu* color_bar_create(int window, int x, int y, int width, int height, double red, double green,
                                 double blue) {
    auto* m = mem_new<color_bar_menu>();
    if (m == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for color bar menu.\n");
        return nullptr;
    }
    m->window = window;
    m->layout = bar_layout_of(x, y, width, height);
    m->color = {red, green, blue, 0, 0, 0};
    rgb_to_hsv(&m->color);
    draw_all(m);
    return m;
}

void color_bar_free(color_bar_menu* menu) {
    if (menu == nullptr) return;
    for (saved_area area : menu->knobs)
        if (area != nullptr) free_area(area);
    mem_free(menu);
}

void color_bar_set(color_bar_menu* menu, double red, double green, double blue) {
    menu->color.red = red;
    menu->color.green = green;
    menu->color.blue = blue;
    rgb_to_hsv(&menu->color);
    show(menu);
}

int color_bar_click(color_bar_menu* menu, int x, int y, bool track, color_bar_calls calls) {
    bool on_swatch = false;
    const int bar = bar_at(&menu->layout, x, y, &on_swatch);
    if (on_swatch) return 1;
    if (bar == BAR_NONE) return 0;
    step(menu, bar, &x, !track, calls);
    if (track) follow(menu, bar, calls);
    return 0;
}
