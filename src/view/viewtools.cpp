// The tools. Each that changes a view asks for its image, changes the view, draws, and tells that it has drawn.
#include "view/viewtools.h"

#include <cstdlib>

#include "desktop/appforms.h"
#include "tools/windows.h"
#include "view/pick.h"
#include "view/viewdraw.h"

view_tool current_tool = tool_default;
void (*cancel_action)(int flag) = pick_advance;
int tool_gadget = NO_GADGET;

namespace {

// First corner of a box; its window is NO_WINDOW until there is one.
struct box_corner {
    int window, x, y;
};
box_corner first_corner = {NO_WINDOW, 0, 0};

// Changes the view by change(image), and shows it.
template <typename Change> void apply_change(view* v, Change change) {
    raster_image* image = v->ops->get_image(v);
    if (image == nullptr) return;
    change(image);
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
    apply_change(v, [=](const raster_image*) {
        for (int i = 0; i < std::abs(steps); ++i)
            view_zoom_at(v, x, y, steps > 0 ? 1 : -1);
    });
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
    if (tool_gadget != NO_GADGET) forms_release_button(tool_gadget);
    tools_reset();
}

void tools_reset() {
    tool_gadget = NO_GADGET;
    first_corner.window = NO_WINDOW;
    current_tool = tool_default;
    cancel_action = pick_advance;
}
