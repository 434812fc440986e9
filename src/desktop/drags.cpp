#include "desktop/drags.h"

#include <algorithm>
#include <cstdlib>

#include "core/open_image.h"
#include "desktop/picture.h"
#include "platform/window/desk.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/windows.h"
#include "view/viewtools.h"

namespace {

constexpr int CHOOSE = 1;      // the button
constexpr int CLICK_REACH = 4; // pixels that a click may be moved by
constexpr int EDGES = 4;
constexpr int LIGHT = 1; // a logical colour

// The frame of a box on the window, and what lies under its edges.
struct rubber_band {
    int window;
    canvas_box edges[EDGES]; // inclusive in both corners
    saved_area under[EDGES];
};

void band_hide(rubber_band* b) {
    for (int i = 0; i < EDGES; ++i) {
        if (b->under[i] == nullptr) continue;
        restore_area(b->window, b->edges[i].x1, b->edges[i].y1, b->under[i]);
        free_area(b->under[i]);
        b->under[i] = nullptr;
    }
}

void band_show(rubber_band* b, int x1, int y1, int x2, int y2) {
    band_hide(b);
    const int left = std::min(x1, x2);
    const int right = std::max(x1, x2);
    const int top = std::min(y1, y2);
    const int bottom = std::max(y1, y2);
    const canvas_box edges[EDGES] = {
        {left, top, right, top}, {left, bottom, right, bottom}, {left, top, left, bottom}, {right, top, right, bottom}};
    for (int i = 0; i < EDGES; ++i) {
        b->edges[i] = edges[i];
        save_area(b->window, edges[i].x1, edges[i].y1, edges[i].x2, edges[i].y2, &b->under[i]);
    }
    if (rgb_window_mode == COLOR_MODE_TRUE)
        rgbcolor(b->window, 0, 0xFFFFFF);
    else
        fgcolor(b->window, LIGHT);
    for (const canvas_box& e : edges)
        rectf(b->window, e.x1, e.y1, e.x2, e.y2);
    desk_flush();
}

bool is_drag(int x1, int y1, int x2, int y2) {
    return std::abs(x1 - x2) > CLICK_REACH || std::abs(y1 - y2) > CLICK_REACH;
}

// Calls moved(x, y) with each place of the pointer, brought into the view, until the button comes up or another goes
// down. False when the tools have ended.
template <typename F> bool follow(const view* v, int button, F moved) {
    int last_x = -1, last_y = -1;
    for (;;) {
        const bool is_over = Get_button_release(button) != button_next::none;
        int x = 0, y = 0, inside = 0;
        Mouse_position(v->window, &x, &y, &inside);
        x = std::clamp(x, int{v->x1}, int{v->x2});
        y = std::clamp(y, int{v->y1}, int{v->y2});
        if (x != last_x || y != last_y) moved(x, y);
        last_x = x;
        last_y = y;
        if (is_over) return true;
        if (!tools_wait()) return false;
    }
}

} // namespace

bool drag_box(view* v, int x, int y) {
    rubber_band band = {v->window, {}, {}};
    int end_x = x, end_y = y;
    const bool goes_on = follow(v, CHOOSE, [&](int at_x, int at_y) {
        end_x = at_x;
        end_y = at_y;
        if (is_drag(x, y, at_x, at_y))
            band_show(&band, x, y, at_x, at_y);
        else
            band_hide(&band);
    });
    if (!goes_on) return true;
    band_hide(&band);
    if (!is_drag(x, y, end_x, end_y)) return false;
    tools_forget();
    tool_zoom_box(v, x, y);
    tool_zoom_box(v, end_x, end_y);
    return true;
}

bool drag_picture(view* v, int x, int y, int button) {
    if (open_image.picture == nullptr) return false;
    const view_point held = view_point_at(v, x, y);
    bool is_moved = false;
    const bool goes_on = follow(v, button, [&](int at_x, int at_y) {
        if (!is_moved && !is_drag(x, y, at_x, at_y)) return;
        is_moved = true;
        view_place(v, at_x, at_y, held);
        view_keep_in_sight(open_image.picture, v);
        picture_draw();
        desk_flush();
    });
    return is_moved || !goes_on;
}
