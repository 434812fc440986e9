// What the desk draws by itself: frames, captions with their boxes, icons, and the main window's background. Every
// function draws in screen coordinates, on a canvas that is limited to the part that is wanted.
#include "platform/window/deskdata.h"
#include "platform/window/deskicon.h"
#include "platform/window/glyphs.h"

#include <algorithm>

namespace {

// A canvas on the whole frame buffer, limited to a part of it.
struct frame_canvas {
    canvas c;
    explicit frame_canvas(const pixman_region32_t* part) {
        canvas_init_on_screen(&c);
        canvas_set_visible(&c, bitmap_box(&screen.frame), part);
    }
    ~frame_canvas() { canvas_fini(&c); }
    frame_canvas(const frame_canvas&) = delete;
    frame_canvas& operator=(const frame_canvas&) = delete;
};

canvas_box shrunk(canvas_box b, int by) {
    return {b.x1 + by, b.y1 + by, b.x2 - by, b.y2 - by};
}

// Two edges as thick as a plain line: top and left, then bottom and right. In the two corners where they meet each row
// of a thick one is as long as its place in the edge.
void draw_edges(canvas* c, canvas_box b, canvas_color light, canvas_color dark) {
    for (int i = 0; i < desk.metrics.border; ++i, b = shrunk(b, 1)) {
        canvas_fill(c, {b.x1, b.y1, b.x2, b.y1 + 1}, light);
        canvas_fill(c, {b.x1, b.y1, b.x1 + 1, b.y2}, light);
        canvas_fill(c, {b.x1, b.y2 - 1, b.x2, b.y2}, dark);
        canvas_fill(c, {b.x2 - 1, b.y1, b.x2, b.y2}, dark);
    }
}

// A ring as thick as given, face coloured.
void draw_ring(canvas* c, canvas_box b, int thickness) {
    canvas_fill(c, {b.x1, b.y1, b.x2, b.y1 + thickness}, DESK_FACE);
    canvas_fill(c, {b.x1, b.y2 - thickness, b.x2, b.y2}, DESK_FACE);
    canvas_fill(c, {b.x1, b.y1, b.x1 + thickness, b.y2}, DESK_FACE);
    canvas_fill(c, {b.x2 - thickness, b.y1, b.x2, b.y2}, DESK_FACE);
}

void draw_ring_of(canvas* c, const desk_window* w) {
    if ((w->style & (DESK_THICK_FRAME | DESK_DIALOG_FRAME)) == 0) return;
    const bool thick = (w->style & DESK_THICK_FRAME) != 0;
    draw_ring(c, w->outer, thick ? desk.metrics.frame_width : desk.metrics.dialog_frame);
    draw_edges(c, w->outer, DESK_FACE, DESK_BLACK);
    draw_edges(c, shrunk(w->outer, desk.metrics.border), DESK_WHITE, DESK_SHADOW);
}

// The signs on the boxes.
void draw_menu_sign(canvas* c, canvas_box b) {
    const int line = desk.metrics.border;
    const int middle = (b.y1 + b.y2) / 2;
    const int inset = (b.x2 - b.x1) / 4;
    const canvas_box bar = {b.x1 + inset, middle - line, b.x2 - inset - line, middle + line};
    canvas_fill(c, box_moved(bar, line, line), DESK_SHADOW);
    canvas_fill(c, {bar.x1, bar.y1, bar.x2, bar.y2}, DESK_BLACK);
    canvas_fill(c, {bar.x1 + line, bar.y1, bar.x2 - line, bar.y2 - line}, DESK_WHITE);
}

void draw_restore_sign(canvas* c, canvas_box b) {
    const int middle = (b.y1 + b.y2) / 2;
    desk_draw_arrow(c, {b.x1, b.y1, b.x2, middle}, 0, -1, DESK_BLACK);
    desk_draw_arrow(c, {b.x1, middle, b.x2, b.y2}, 0, 1, DESK_BLACK);
}

void draw_box(canvas* c, const desk_window* w, desk_part part) {
    const canvas_box box = desk_box_of(w, part);
    if (box_is_empty(box)) return;
    const bool pressed =
        desk.drag.kind == drag_kind::box && desk.drag.window == w && desk.drag.box == part && desk.drag.box_inside;
    desk_draw_button(c, box, pressed || (part == PART_MENU_BOX && desk_menu_owner() == w));
    const int shift = pressed ? desk.metrics.border : 0;
    const canvas_box sign = box_moved(box, shift, shift);
    if (part == PART_MENU_BOX)
        draw_menu_sign(c, sign);
    else if (part == PART_MAXIMISE_BOX && w->state == host_state::maximised)
        draw_restore_sign(c, sign);
    else
        desk_draw_arrow(c, sign, 0, part == PART_MINIMISE_BOX ? 1 : -1, DESK_BLACK);
}

void draw_caption(canvas* c, const desk_window* w) {
    const canvas_box caption = desk_caption_of(w);
    if (box_is_empty(caption)) return;
    const bool active = desk.active == w;
    const bool narrow = (w->style & DESK_NARROW_CAPTION) != 0;
    canvas_fill(c, caption, active ? DESK_ACTIVE : DESK_SHADOW);
    canvas_fill(c, {caption.x1, caption.y2 - desk.metrics.border, caption.x2, caption.y2}, DESK_BLACK);
    draw_box(c, w, PART_MENU_BOX);
    draw_box(c, w, PART_MINIMISE_BOX);
    draw_box(c, w, PART_MAXIMISE_BOX);
    if (w->title == nullptr) return;
    const canvas_box left = desk_box_of(w, PART_MENU_BOX);
    const canvas_box minimise = desk_box_of(w, PART_MINIMISE_BOX);
    const canvas_box right = box_is_empty(minimise) ? desk_box_of(w, PART_MAXIMISE_BOX) : minimise;
    const int gap = scaled(4);
    const canvas_box room = {(box_is_empty(left) ? caption.x1 : left.x2) + gap, caption.y1,
                             (box_is_empty(right) ? caption.x2 : right.x1) - gap,
                             caption.y2 - (narrow ? 0 : desk.metrics.border)};
    const glyph_style style = narrow ? glyph_style::small : glyph_style::bold;
    glyphs_draw_in(c, glyphs_face(style, desk.metrics.factor), room, w->title, !narrow, DESK_WHITE);
}

void draw_icon_picture(canvas* c, int x, int y) {
    const int width = scaled(ICON_WIDTH);
    for (int row = 0; row < scaled(ICON_ROWS); ++row)
        for (int column = 0; column < width;) {
            const canvas_color color = icon_pixel(column, row, desk.metrics.factor);
            int end = column;
            while (end < width && icon_pixel(end, row, desk.metrics.factor) == color)
                ++end; // a run of one colour
            canvas_fill(c, {x + column, y + row, x + end, y + row + 1}, color);
            column = end;
        }
}

void draw_icon(canvas* c, const desk_window* w) {
    const canvas_box b = w->outer;
    const bool active = desk.active == w;
    canvas_fill(c, b, DESK_BLACK);
    draw_icon_picture(c, (b.x1 + b.x2 - scaled(ICON_WIDTH)) / 2, b.y1 + scaled(4));
    if (w->title == nullptr) return;
    const int gap = scaled(2);
    const canvas_box label = {b.x1 + gap, b.y2 - scaled(18), b.x2 - gap, b.y2 - gap};
    if (active) canvas_fill(c, label, DESK_ACTIVE);
    glyphs_draw_in(c, glyphs_face(glyph_style::normal, desk.metrics.factor),
                   {label.x1 + gap, label.y1, label.x2 - gap, label.y2}, w->title, true, DESK_WHITE);
}

} // namespace

canvas_box desk_caption_of(const desk_window* w) {
    if (w->state == host_state::minimised || (w->style & (DESK_CAPTION | DESK_NARROW_CAPTION)) == 0)
        return {0, 0, 0, 0};
    const bool narrow = (w->style & DESK_CAPTION) == 0;
    const int height = narrow ? desk.metrics.narrow_caption_height : desk.metrics.caption_height - 1;
    return {w->client.x1, w->client.y1 - height, w->client.x2, w->client.y1};
}

canvas_box desk_box_of(const desk_window* w, desk_part part) {
    const canvas_box caption = desk_caption_of(w);
    const bool narrow = (w->style & DESK_CAPTION) == 0;
    const int side = caption.y2 - caption.y1 - desk.metrics.border;
    canvas_box box = {caption.x1, caption.y1, caption.x1 + side, caption.y1 + side};
    const bool has_maximise = (w->style & DESK_MAXIMISE_BOX) != 0;
    if (part == PART_MINIMISE_BOX && (w->style & DESK_MINIMISE_BOX) == 0) return {0, 0, 0, 0};
    if (part == PART_MAXIMISE_BOX && !has_maximise) return {0, 0, 0, 0};
    if (part == PART_MENU_BOX && (w->style & DESK_SAVE_UNDER) != 0) return {0, 0, 0, 0};
    if (part == PART_MAXIMISE_BOX || (part == PART_MINIMISE_BOX && !has_maximise))
        box = box_moved(box, caption.x2 - caption.x1 - side, 0);
    else if (part == PART_MINIMISE_BOX)
        box = box_moved(box, caption.x2 - caption.x1 - 2 * side, 0);
    if (box_is_empty(caption)) return {0, 0, 0, 0};
    return narrow ? box : box_meet(box, caption);
}

void desk_draw_button(canvas* c, canvas_box box, bool pressed) {
    canvas_fill(c, box, DESK_FACE);
    draw_edges(c, box, pressed ? DESK_BLACK : DESK_WHITE, pressed ? DESK_WHITE : DESK_BLACK);
    if (box.x2 - box.x1 < scaled(13)) return;
    draw_edges(c, shrunk(box, desk.metrics.border), pressed ? DESK_SHADOW : DESK_FACE,
               pressed ? DESK_FACE : DESK_SHADOW);
}

// A filled arrow in the middle of the box, pointing to dx, dy.
void desk_draw_arrow(canvas* c, canvas_box box, int dx, int dy, canvas_color color) {
    const int side = std::min(box.x2 - box.x1, box.y2 - box.y1);
    const int rows = std::clamp(side / 4, scaled(2), scaled(5));
    const int x = (box.x1 + box.x2 - 1) / 2;
    const int y = (box.y1 + box.y2 - 1) / 2;
    for (int i = 0; i < rows; ++i) {
        // Row i, from the tip, is 2 * i + 1 pixels wide.
        const int along = rows / 2 - i;
        if (dy != 0)
            canvas_fill(c, {x - i, y + dy * along, x + i + 1, y + dy * along + 1}, color);
        else
            canvas_fill(c, {x + dx * along, y - i, x + dx * along + 1, y + i + 1}, color);
    }
}

void desk_draw_frame(desk_window* w, const pixman_region32_t* part) {
    frame_canvas frame(part);
    if (w->state == host_state::minimised) {
        draw_icon(&frame.c, w);
        return;
    }
    draw_ring_of(&frame.c, w);
    draw_caption(&frame.c, w);
}

void desk_draw_main(const pixman_region32_t* part) {
    frame_canvas frame(part);
    canvas_fill(&frame.c, desk.main.client, DESK_BLACK);
    desk_draw_bars(&frame.c);
}

// The desk's colours may be other slots now.
void desk_palette_changed() {
    constexpr canvas_color COLORS[5] = {DESK_BLACK, DESK_WHITE, DESK_FACE, DESK_SHADOW, DESK_ACTIVE};
    static uint32_t drawn_with[5];
    if (screen.frame.pixel_bytes != 1 || !desk.started) return;
    bool changed = false;
    for (int i = 0; i < 5; ++i) {
        changed = changed || drawn_with[i] != canvas_pixel(COLORS[i]);
        drawn_with[i] = canvas_pixel(COLORS[i]);
    }
    if (!changed) return;
    for (int i = 0; i < desk.count; ++i)
        desk_redraw_frame(desk.order[i]);
    desk_draw_main(&desk.main.seen);
}
