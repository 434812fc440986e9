// Rows of the picture that a highlight stands on, or has stood on, are drawn with it in one go. Only lines and columns
// that are seen are looked at, so that a click costs no more than a redraw.
#include "view/highlight.h"

#include <algorithm>

#include "core/open_image.h"
#include "tnc/spans.h"
#include "view/viewdraw.h"

int highlighted_pen = NO_PEN;

namespace {

// What is drawn: the surface that loses its highlight and the one that gets it, either may be NO_PEN.
struct highlight_change {
    const raster_image* image;
    const view* v;
    int off, on;
};

const pline* lines_of(int pen, int32_t row) {
    if (pen_defined(open_image.tnc, pen) == 0) return nullptr;
    const compressed_pen* found = open_image.tnc->pens[pen];
    return row < found->line_count ? found->lines[row] : nullptr;
}

void change_row(const highlight_change* change, int32_t row, int32_t x1, int32_t x2, span_room* room) {
    int32_t first = x2;
    int32_t end = x1;
    const row_span* spans = nullptr;
    for (const int pen : {change->off, change->on}) { // the spans of `on` come last, and stay
        const int count = row_spans(lines_of(pen, row), x1, x2, room, &spans);
        if (count > 0) {
            first = std::min(first, spans[0].first);
            end = std::max(end, spans[count - 1].end);
        }
        if (pen == change->on && first < end) view_draw_row(change->image, change->v, row, first, end, {spans, count});
    }
}

void draw_change(const highlight_change* change) {
    const raster_image* image = change->image;
    const view* v = change->v;
    pixel_grid seen;
    if (image == nullptr || !view_seen(v, image->width, image->height, &seen)) return;
    span_room room;
    if (!span_room_init(&room, seen.x2 - seen.x1)) {
        view_draw(image, v); // without memory there is a picture, and no highlight
        return;
    }
    for (int32_t row = seen.y1; row < seen.y2; row += seen.step)
        change_row(change, row, seen.x1, seen.x2, &room);
    span_room_free(&room);
}

} // namespace

void highlight_draw(const view* v, int pen) {
    highlighted_pen = pen;
    const highlight_change change = {open_image.picture, v, NO_PEN, pen};
    draw_change(&change);
}

void highlight_remove(const raster_image* image, const view* v, int pen) {
    highlighted_pen = NO_PEN;
    const highlight_change change = {image, v, pen, NO_PEN};
    draw_change(&change);
}

void highlight_move(const view* v, int pen) {
    if (pen == highlighted_pen) return;
    const highlight_change change = {open_image.picture, v, highlighted_pen, pen};
    highlighted_pen = pen;
    draw_change(&change);
}

void highlight_redraw(const view* v) {
    if (highlighted_pen != NO_PEN) highlight_draw(v, highlighted_pen);
}

void highlight_reset() {
    highlighted_pen = NO_PEN;
}
