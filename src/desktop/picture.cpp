// The picture's window and view.
#include "desktop/picture.h"

#include <algorithm>

#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/drags.h"
#include "desktop/mainform.h"
#include "desktop/program.h"
#include "desktop/region.h"
#include "desktop/title.h"
#include "platform/window/desk.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/windows.h"
#include "view/highlight.h"
#include "view/pick.h"
#include "view/viewdraw.h"
#include "view/viewtools.h"

namespace {

constexpr uint32_t SHOW_INTERVAL = 40; // milliseconds between two looks at a picture that is changing
constexpr uint32_t STEP_TIME = 10;     // that a step of a drag may take: it is to be seen with the next frame
constexpr int BUTTON_PAN = 1;          // the left one, and the middle one
constexpr int PRESS_AT_ONCE = 3;       // button mode: presses come without waiting for a double click

raster_image* get_picture(view* /*v*/) {
    image_complete();
    return open_image.picture;
}

void picture_done(view* /*v*/, raster_image* /*image*/) {
    highlight_redraw(&picture_view);
}

constexpr view_ops PICTURE_OPS = {pick_at, get_picture, picture_done};

int picture_region = -1;

// A press of button 1 in the picture.
void press_in_picture(void* argument) {
    auto* v = static_cast<view*>(argument);
    int x = 0;
    int y = 0;
    int transition = 0;
    if (Get_button_data(nullptr, &x, &y, nullptr, &transition, nullptr) != 0) return;
    const bool is_held = transition == TRANS_DOWN;
    const bool is_space = desk_space_is_held();
    const bool is_pan = is_space || desk_button_is_held(HOST_MIDDLE) || current_tool == tool_pan;
    if (is_held && is_pan && drag_picture(v, x, y, BUTTON_PAN)) return;
    if (is_space) return; // a hand that moved nothing
    if (is_held && current_tool == tool_zoom_box && drag_box(v, x, y)) return;
    current_tool(v, x, y);
}

void place_region() {
    region_remove(picture_region);
    const view* v = &picture_view;
    picture_region = region_add(v->window, v->x1, v->y1, v->x2, v->y2, press_in_picture, &picture_view);
}

void draw_all() {
    image_complete();
    hidecursor(picture_view.window);
    view_draw(open_image.picture, &picture_view);
    highlight_redraw(&picture_view);
}

// The view takes another size; the origin stays at the top left.
void resize(int width, int height) {
    if (picture_view.x2 == width - 1 && picture_view.y2 == height - 1) return;
    picture_view.x2 = width - 1;
    picture_view.y2 = height - 1;
    place_region();
}

// The client area, inside of the screen, left of and above the forms.
struct window_place {
    int x1, y1, x2, y2;
};

window_place place_of_window() {
    const int fx = Win_frame_width();
    const int fy = Win_frame_height();
    int right = 0;
    int bottom = 0;
    forms_limits(&right, &bottom);
    return {fx, fy, right - 1 - fx, bottom - 1 - fy};
}

// ---- what the open image tells ------------------------------------------------------------------------------------

uint32_t pass_began = 0;
uint32_t last_shown = 0;

bool is_seen() {
    return forms_up && picture_view.window != NO_WINDOW;
}

void image_replaced() {
    pick_reset();
    tools_forget();
    if (is_seen()) {
        if (open_image.picture != nullptr) view_fit(open_image.picture, &picture_view);
        draw_all();
    }
    show_title();
}

void pass_begins() {
    if (!is_seen()) return;
    hidecursor(picture_view.window);
    last_shown = pass_began = host_now();
}

bool seen(pixel_grid* grid) {
    const raster_image* p = open_image.picture;
    return is_seen() && view_seen(&picture_view, p->width, p->height, grid);
}

bool pass_is_late() {
    return host_now() - pass_began >= STEP_TIME;
}

// A stretch of a row has changed. Rows between those that are sampled aren't seen.
void row_has_changed(void* /*user*/, int32_t y, int32_t x1, int32_t x2) {
    const view* v = &picture_view;
    const int32_t step = v->zoom < 0 ? -v->zoom : 1;
    if (!is_seen() || y % step != 0) return;
    view_draw_row(open_image.picture, v, y, x1, x2 + step, NOT_COVERED);
    if (host_now() - last_shown < SHOW_INTERVAL) return;
    desk_flush();
    last_shown = host_now();
}

// The pen's own highlight is wiped by its rows; that of another pen has holes where they crossed it.
void pass_ends(int pen, bool done) {
    if (pen == highlighted_pen && done) highlighted_pen = NO_PEN;
    if (done) ++changes_made;
    if (!is_seen()) return;
    highlight_redraw(&picture_view);
    showcursor(picture_view.window);
    flushbuffer(picture_view.window);
    desk_flush();
    show_title();
}

void pen_kept(int pen) {
    if (pen == highlighted_pen) highlight_remove(open_image.picture, &picture_view, pen);
    show_title();
}

} // namespace

view picture_view = {&PICTURE_OPS, 0, NO_WINDOW, 0, 0, 0, 0, 0, 0, 0, 0};

bool picture_open_window() {
    const window_place place = place_of_window();
    int window = 0;
    if (Create_win_frame(0, place.x1, place.y1, place.x2, place.y2, &window) != 0) return false;
    RGB_enable_window(window);
    Set_win_button_mode(window, PRESS_AT_ONCE);
    Display_win(window);
    // After a restart the view goes on at the zoom and place where it was.
    view* v = &picture_view;
    v->window = window;
    v->plane_mask = display_mask;
    v->x2 = place.x2 - place.x1;
    v->y2 = place.y2 - place.y1;
    place_region();
    draw_all();
    return true;
}

void picture_draw() {
    if (is_seen()) draw_all();
}

void picture_lay_out() {
    view* v = &picture_view;
    if (v->window == NO_WINDOW) return;
    const view_point middle = view_point_at(v, v->x2 / 2, v->y2 / 2);
    const window_place place = place_of_window();
    Modify_win(v->window, place.x1, place.y1, place.x2, place.y2);
    resize(place.x2 - place.x1 + 1, place.y2 - place.y1 + 1);
    view_place(v, v->x2 / 2, v->y2 / 2, middle);
    draw_all();
}

void picture_close_window() {
    region_remove(picture_region);
    picture_region = -1;
    if (picture_view.window != NO_WINDOW) Delete_win(picture_view.window);
    picture_view.window = NO_WINDOW;
}

void picture_watch_image() {
    open_image.rows_changed = {row_has_changed, nullptr};
    open_image.display = {image_replaced, pass_begins, pass_ends, pen_kept, seen, pass_is_late};
}

void view_refresh() {
    refresh_data r = {};
    if (Get_refresh_data(&r.window, &r.virtual_screen, &r.x1, &r.y1, &r.x2, &r.y2, &r.area_x1, &r.area_y1, &r.area_x2,
                         &r.area_y2, &r.op_mask) != 0)
        return;
    if (r.window != picture_view.window) return;
    resize(r.x2 - r.x1 + 1, r.y2 - r.y1 + 1);
    image_complete();
    hidecursor(r.window);
    view part;
    if (!view_part(&picture_view, r.area_x1, r.area_y1, r.area_x2, r.area_y2, &part)) return;
    view_draw(open_image.picture, &part);
    highlight_redraw(&part);
}

void choose_pen(int pen) {
    if (pen != NO_PEN) {
        set_pen(pen);
        return;
    }
    main_form_show_pen(NO_PEN);
    show_title();
}

void set_pen(int pen) {
    main_form_show_pen(pen);
    highlight_move(&picture_view, pen);
    show_title();
}
