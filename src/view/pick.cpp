// The list of surfaces at the picked pixel, and the highlight. The highlight's lines are laid on the window only; what
// is under them comes back from the picture's planes.
#include "view/pick.h"

#include <algorithm>

#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "tnc/tnc.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "view/viewdraw.h"
#include "view/viewtools.h"

int highlighted_pen = NO_PEN;

namespace {

constexpr uint32_t DIRECT_WHITE = 0xFFFFFF;

struct pick_list {
    int32_t pens[PENS_AT_PIXEL_MAX];
    int count;
    int next; // index of the one to show next
};
pick_list picked = {};

// ---- the highlight's lines ----------------------------------------------------------------------------------------

struct highlight {
    const view* v;
    double scale;
    int32_t grid;          // bits that a row that is seen has clear
    int32_t width, height; // of the picture: a surface may have pixels outside of it
    int32_t last_column;   // of the window
};

int draw_run(void* context, int32_t x, int32_t y, int32_t count) {
    const auto* h = static_cast<const highlight*>(context);
    const view* v = h->v;
    if (y >= h->height) return 1;
    if ((y & h->grid) != 0 || x >= h->width) return 0;
    const int32_t end = std::min(x + count, h->width);
    const auto row = v->y1 + static_cast<int64_t>((y - v->origin_y) * h->scale);
    if (y < v->origin_y || row > v->y2) return row > v->y2 ? 1 : 0;
    const auto left = v->x1 + static_cast<int64_t>((x - v->origin_x) * h->scale);
    const auto right = v->x1 + static_cast<int64_t>((end - v->origin_x) * h->scale);
    if (right <= v->x1 || left > h->last_column) return 0;
    // The end point of a line is left out.
    move(v->window, static_cast<int>(std::max<int64_t>(left, v->x1)), static_cast<int>(row));
    draw(v->window, static_cast<int>(std::min<int64_t>(right, h->last_column + 1)), static_cast<int>(row));
    return 0;
}

void set_white(int window) {
    weight(window, 0);
    rgbcolor(window, 0, display_planes == TRUE_COLOR_PLANES ? DIRECT_WHITE : rgb_plain_pixel(255, 255, 255));
}

// The point lies on a pixel of the picture as it is shown. Left of the picture and above it, window coordinates turn
// into the image's first column and row too.
bool is_on_picture(const view* v, int x, int y, int32_t ix, int32_t iy) {
    const double s = view_scale(v);
    const bool before = x < v->x1 - v->origin_x * s || y < v->y1 - v->origin_y * s;
    return !before && ix < open_image.picture->width && iy < open_image.picture->height;
}

} // namespace

void highlight_draw(const view* v, int pen) {
    highlighted_pen = pen;
    if (!forms_up || open_image.picture == nullptr) return;
    set_white(v->window);
    highlight h = {v,
                   view_scale(v),
                   v->zoom < 0 ? -v->zoom - 1 : 0,
                   open_image.picture->width,
                   open_image.picture->height,
                   view_last_column(v)};
    pen_for_each_run(open_image.tnc, pen, &h, draw_run);
}

void highlight_remove(const raster_image* image, const view* v, int pen) {
    highlighted_pen = NO_PEN;
    pen_summary covered;
    if (!forms_up || !pen_summarise(open_image.tnc, pen, &covered) || covered.samples == 0) return;
    view_draw_area(image, v, covered.x1, covered.y1, covered.x2 + 1, covered.y2 + 1);
}

void highlight_redraw() {
    if (highlighted_pen != NO_PEN) highlight_draw(&picture_view, highlighted_pen);
}

void set_pen(int pen) {
    forms_show_pen(pen);
    if (pen != highlighted_pen && open_image.picture != nullptr) {
        highlight_remove(open_image.picture, &picture_view, highlighted_pen);
        highlight_draw(&picture_view, pen);
    }
    show_title();
}

void pick_advance(int flag) {
    if (flag != 0) {
        picked.count = 0;
        return;
    }
    if (highlighted_pen != NO_PEN) highlight_remove(open_image.picture, &picture_view, highlighted_pen);
    if (picked.next < picked.count)
        set_pen(picked.pens[picked.next++]);
    else
        show_title();
}

void pick_at(view* v, int x, int y) {
    if (open_image.picture == nullptr) return;
    int32_t ix, iy;
    view_to_image(v, x, y, &ix, &iy);
    if (!is_on_picture(v, x, y, ix, iy)) return;
    picked.count = pens_at_pixel(open_image.tnc, ix, iy, picked.pens, PENS_AT_PIXEL_MAX);
    picked.next = 0;
    pick_advance(0);
    cancel_action = pick_advance;
}

void pick_reset() {
    picked = {};
    highlighted_pen = NO_PEN;
}
