// The tools. Each that changes a view asks for its image, changes the view, draws, and tells that it has drawn.
#include "view/viewtools.h"

#include <cstdlib>

#include "tools/windows.h"
#include "view/viewdraw.h"

view_tool current_tool = tool_default;
void (*cancel_action)(int flag) = nullptr;
int tool_gadget = NO_GADGET;

namespace {

// What the program brings, from tools_start().
void (*default_cancel)(int flag) = nullptr;
void (*release_button)(int gadget) = nullptr;

// First corner of a box; its window is NO_WINDOW until there is one.
struct box_corner {
    int window, x, y;
};
box_corner first_corner = {NO_WINDOW, 0, 0};

// Where the wheel turned last, how it left the view, and the point of the image that stood there at the first turn.
struct wheel_place {
    int x, y;
    view left;
    view_point point;
};
wheel_place wheel = {};

bool is_as_left(const view* v, int x, int y) {
    const view* left = &wheel.left;
    return wheel.x == x && wheel.y == y && left->window == v->window && left->zoom == v->zoom &&
           left->origin_x == v->origin_x && left->origin_y == v->origin_y;
}

// Changes the view by change(image), and shows it. Nothing changes when no part of the image would be seen.
template <typename Change> void apply_change(view* v, Change change) {
    raster_image* image = v->ops->get_image(v);
    if (image == nullptr) return;
    const view before = *v;
    change(image);
    if (!view_keep_in_sight(image, v)) *v = before;
    hidecursor(v->window);
    view_draw(image, v);
    v->ops->image_done(v, image);
}

} // namespace

void tool_default(view* v, int x, int y) {
    v->ops->pick(v, x, y);
}

void tool_pan(view* v, int x, int y) {
    apply_change(v, [=](const raster_image*) { view_center(v, x, y); });
}

void tool_zoom_in(view* v, int x, int y) {
    apply_change(v, [=](const raster_image*) { view_zoom(v, x, y, 1); });
}

void tool_zoom_out(view* v, int x, int y) {
    apply_change(v, [=](const raster_image*) { view_zoom(v, x, y, -1); });
}

void tool_fit(view* v, int /*x*/, int /*y*/) {
    apply_change(v, [=](const raster_image* image) { view_fit(image, v); });
}

void wheel_zoom(view* v, int x, int y, int steps) {
    if (!is_as_left(v, x, y)) wheel.point = view_point_at(v, x, y);
    const view_point point = wheel.point;
    apply_change(v, [=](const raster_image*) {
        for (int i = 0; i < std::abs(steps); ++i)
            view_zoom_at(v, x, y, point, steps > 0 ? 1 : -1);
    });
    wheel = {x, y, *v, point};
}

void tool_zoom_box(view* v, int x, int y) {
    if (first_corner.window == NO_WINDOW) {
        first_corner = {v->window, x, y};
        return;
    }
    if (first_corner.window != v->window) {
        cancel_action(1);
        return;
    }
    first_corner.window = NO_WINDOW;
    apply_change(v, [=](const raster_image*) { view_zoom_box(v, first_corner.x, first_corner.y, x, y); });
}

void tool_set(view_tool tool, int gadget) {
    tool_end(0);
    tool_gadget = gadget;
    current_tool = tool;
    cancel_action = tool_end;
}

void tool_end(int /*flag*/) {
    if (tool_gadget != NO_GADGET && release_button != nullptr) release_button(tool_gadget);
    tools_start(default_cancel, release_button);
}

void tools_start(void (*cancel)(int flag), void (*release)(int gadget)) {
    default_cancel = cancel;
    release_button = release;
    tool_gadget = NO_GADGET;
    current_tool = tool_default;
    cancel_action = cancel;
    tools_forget();
}

void tools_forget() {
    first_corner.window = NO_WINDOW;
}
