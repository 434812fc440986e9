// The list of surfaces at the picked pixel.
#include "view/pick.h"

#include "core/open_image.h"
#include "tnc/tnc.h"
#include "view/highlight.h"
#include "view/viewtools.h"

namespace {

const view* picture_of = nullptr; // from pick_start()
void (*choose)(int pen) = nullptr;

struct pick_list {
    int32_t pens[PENS_AT_PIXEL_MAX];
    int count;
    int next; // index of the one to show next
};
pick_list picked = {};

// The point lies on a pixel of the picture as it is shown. Left of the picture and above it, window coordinates turn
// into the image's first column and row too.
bool is_on_picture(const view* v, int x, int y, int32_t ix, int32_t iy) {
    const double s = view_scale(v);
    const bool before = x < v->x1 - v->origin_x * s || y < v->y1 - v->origin_y * s;
    return !before && ix < open_image.picture->width && iy < open_image.picture->height;
}

} // namespace

void pick_start(const view* v, void (*chosen)(int pen)) {
    picture_of = v;
    choose = chosen;
}

void pick_advance(int flag) {
    if (flag != 0) {
        picked.count = 0;
        return;
    }
    if (picked.next < picked.count) {
        choose(picked.pens[picked.next++]);
        return;
    }
    highlight_move(picture_of, NO_PEN);
    choose(NO_PEN);
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

int pick_count(int* place) {
    *place = picked.next > 0 ? picked.next - 1 : 0;
    return picked.count;
}

void pick_reset() {
    picked = {};
    highlight_reset();
}
