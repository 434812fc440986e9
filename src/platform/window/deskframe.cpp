// What the desk draws by itself: frames, captions with their boxes, icons, and the main window's background. Every
// function draws in screen coordinates, on a canvas that is limited to the part that is wanted.
#include "platform/window/deskdata.h"
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

// Two edges of one pixel: top and left, then bottom and right.
void draw_edges(canvas* c, canvas_box b, canvas_color light, canvas_color dark) {
    canvas_fill(c, {b.x1, b.y1, b.x2, b.y1 + 1}, light);
    canvas_fill(c, {b.x1, b.y1, b.x1 + 1, b.y2}, light);
    canvas_fill(c, {b.x1, b.y2 - 1, b.x2, b.y2}, dark);
    canvas_fill(c, {b.x2 - 1, b.y1, b.x2, b.y2}, dark);
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
    draw_edges(c, shrunk(w->outer, 1), DESK_WHITE, DESK_SHADOW);
}

// The signs on the boxes.
void draw_menu_sign(canvas* c, canvas_box b) {
    const int middle = (b.y1 + b.y2) / 2;
    const int inset = (b.x2 - b.x1) / 4;
    const canvas_box bar = {b.x1 + inset, middle - 1, b.x2 - inset - 1, middle + 1};
    canvas_fill(c, box_moved(bar, 1, 1), DESK_SHADOW);
    canvas_fill(c, {bar.x1, bar.y1, bar.x2, bar.y2}, DESK_BLACK);
    canvas_fill(c, {bar.x1 + 1, bar.y1, bar.x2 - 1, bar.y2 - 1}, DESK_WHITE);
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
    const canvas_box sign = box_moved(box, pressed ? 1 : 0, pressed ? 1 : 0);
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
    canvas_fill(c, {caption.x1, caption.y2 - 1, caption.x2, caption.y2}, DESK_BLACK);
    draw_box(c, w, PART_MENU_BOX);
    draw_box(c, w, PART_MINIMISE_BOX);
    draw_box(c, w, PART_MAXIMISE_BOX);
    if (w->title == nullptr) return;
    const canvas_box left = desk_box_of(w, PART_MENU_BOX);
    const canvas_box minimise = desk_box_of(w, PART_MINIMISE_BOX);
    const canvas_box right = box_is_empty(minimise) ? desk_box_of(w, PART_MAXIMISE_BOX) : minimise;
    canvas_box room = {box_is_empty(left) ? caption.x1 + 4 : left.x2 + 4, caption.y1,
                       box_is_empty(right) ? caption.x2 - 4 : right.x1 - 4, caption.y2 - (narrow ? 0 : 1)};
    glyphs_draw_in(c, narrow ? &GLYPHS_SMALL : &GLYPHS_BOLD, room, w->title, !narrow, DESK_WHITE);
}

// The picture of an icon: a small window with a ball in front of it. '.' is left alone.
constexpr int ICON_WIDTH = 28;
constexpr int ICON_ROWS = 27;
// clang-format off
constexpr const char* ICON[ICON_ROWS] = {
    "kkkkkkkkkkkkkkkkkkkkkkkkkkkk",
    "kwwwwwwwwwwwwwwwwwwwwwwwwwgk",
    "kwffffffffffffffffffffffffgk",
    "kwfnnnnnnnnnnnnnnnnnnnnnnfgk",
    "kwfnwwnnnnnnnnnnnnnnwnwnnfgk",
    "kwfnnnnnnnnnnnnnnnnnnnnnnfgk",
    "kwfkkkkkkkkkkkkkkkkkkkkkkfgk",
    "kwfkwwwwwwwwwwwwwwwwwwwwkfgk",
    "kwfkwwwwwwwwwwwwwwwwwwwwkfgk",
    "kwfkwwwwwwwwwwwkkkkkwwwwkfgk",
    "kwfkwwwwwwwwkkkrrrrrkkkwkfgk",
    "kwfkwwwwwwwkrrrrrrrrrrrkkfgk",
    "kwfkwwwwwwkrrrryyrrrrrrrkfgk",
    "kwfkwwwwwkrrryywwyrrrrrrdkgk",
    "kwfkwwwwwkrrrywwwyrrrrrrdkgk",
    "kwfkwwwwkrrrryywyrrrrrrrddkk",
    "kwfkwwwwkrrrrryyrrrrrrrrddkk",
    "kwfkwwwwkrrrrrrrrrrrrrrrddkk",
    "kwfkccccckrrrrrrrrrrrrrddkgk",
    "kwfkccccckrrrrrrrrrrrrdddkgk",
    "kwfkcccccckrrrrrrrrrrdddkfgk",
    "kwfkccccccckddrrrrrdddkkkfgk",
    "kwfkccccccccckkddddkkkcckfgk",
    "kwfkkkkkkkkkkkkkkkkkkkkkkfgk",
    "kwffffffffffffffffffffffffgk",
    "kggggggggggggggggggggggggggk",
    "kkkkkkkkkkkkkkkkkkkkkkkkkkkk",
};
// clang-format on

canvas_color icon_color(char letter) {
    switch (letter) {
    case 'k': return DESK_BLACK;
    case 'w': return DESK_WHITE;
    case 'f': return DESK_FACE;
    case 'g': return DESK_SHADOW;
    case 'n': return DESK_ACTIVE;
    case 'r': return canvas_rgb_color({255, 0, 0});
    case 'd': return canvas_rgb_color({128, 0, 0});
    case 'y': return canvas_rgb_color({255, 255, 0});
    default: return canvas_rgb_color({0, 128, 128});
    }
}

void draw_icon_picture(canvas* c, int x, int y) {
    for (int row = 0; row < ICON_ROWS; ++row)
        for (int column = 0; column < ICON_WIDTH;) {
            const char letter = ICON[row][column];
            int end = column;
            while (end < ICON_WIDTH && ICON[row][end] == letter)
                ++end; // a run of one colour
            if (letter != '.') canvas_fill(c, {x + column, y + row, x + end, y + row + 1}, icon_color(letter));
            column = end;
        }
}

void draw_icon(canvas* c, const desk_window* w) {
    const canvas_box b = w->outer;
    const bool active = desk.active == w;
    canvas_fill(c, b, DESK_BLACK);
    draw_icon_picture(c, (b.x1 + b.x2 - ICON_WIDTH) / 2, b.y1 + 4);
    if (w->title == nullptr) return;
    canvas_box label = {b.x1 + 2, b.y2 - 18, b.x2 - 2, b.y2 - 2};
    if (active) canvas_fill(c, label, DESK_ACTIVE);
    glyphs_draw_in(c, &GLYPHS_NORMAL, {label.x1 + 2, label.y1, label.x2 - 2, label.y2}, w->title, true, DESK_WHITE);
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
    const int side = caption.y2 - caption.y1 - 1;
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
    if (box.x2 - box.x1 < 13) return;
    draw_edges(c, shrunk(box, 1), pressed ? DESK_SHADOW : DESK_FACE, pressed ? DESK_FACE : DESK_SHADOW);
}

// A filled arrow in the middle of the box, pointing to dx, dy.
void desk_draw_arrow(canvas* c, canvas_box box, int dx, int dy, canvas_color color) {
    const int side = std::min(box.x2 - box.x1, box.y2 - box.y1);
    const int rows = std::clamp(side / 4, 2, 5);
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
    desk_redraw_frame(&desk.main);
}
