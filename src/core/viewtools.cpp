// The tools. Each that changes a view asks for its image, changes the view, draws, and tells that it has drawn.
#include "core/viewtools.h"

#include "core/appforms.h"
#include "core/pick.h"
#include "core/viewdraw.h"
#include "tools/windows.h"

view_tool current_tool = tool_default;
void (*cancel_action)(int flag) = pick_advance;
int tool_gadget = NO_GADGET;

namespace {

constexpr int NO_WINDOW = -1;

// First corner of a box; its window is NO_WINDOW until there is one.
struct box_corner {
    int window, x, y;
};
box_corner first_corner = {NO_WINDOW, 0, 0};

using view_change = void (*)(const raster_image* image, view* v, int x, int y);

void apply_change(view* v, int x, int y, view_change change) {
    raster_image* image = v->ops->get_image(v);
    if (image == nullptr) return;
    change(image, v, x, y);
    hidecursor(v->window);
    view_draw(image, v);
    v->ops->image_done(v, image);
}

} // namespace

void tool_default(view* v, int x, int y) {
    v->ops->pick(v, x, y);
}

void tool_pan(view* v, int x, int y) {
    apply_change(v, x, y, [](const raster_image*, view* w, int px, int py) { view_center(w, px, py); });
}

void tool_zoom_in(view* v, int x, int y) {
    apply_change(v, x, y, [](const raster_image*, view* w, int px, int py) { view_zoom(w, px, py, 1); });
}

void tool_zoom_out(view* v, int x, int y) {
    apply_change(v, x, y, [](const raster_image*, view* w, int px, int py) { view_zoom(w, px, py, -1); });
}

void tool_zoom_in_at(view* v, int x, int y) {
    apply_change(v, x, y, [](const raster_image*, view* w, int px, int py) { view_zoom_at(w, px, py, 1); });
}

void tool_zoom_out_at(view* v, int x, int y) {
    apply_change(v, x, y, [](const raster_image*, view* w, int px, int py) { view_zoom_at(w, px, py, -1); });
}

void tool_fit(view* v, int x, int y) {
    apply_change(v, x, y, [](const raster_image* image, view* w, int, int) { view_fit(image, w); });
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
    apply_change(v, x, y, [](const raster_image*, view* w, int px, int py) {
        view_zoom_box(w, first_corner.x, first_corner.y, px, py);
    });
}

void tool_set(view_tool tool, int gadget) {
    tool_end(0);
    tool_gadget = gadget;
    current_tool = tool;
    cancel_action = tool_end;
}

void tool_end(int /*flag*/) {
    if (tool_gadget != NO_GADGET) forms_release_button(tool_gadget);
    tools_reset();
}

void tools_reset() {
    tool_gadget = NO_GADGET;
    first_corner.window = NO_WINDOW;
    current_tool = tool_default;
    cancel_action = pick_advance;
}
