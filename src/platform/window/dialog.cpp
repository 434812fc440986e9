// Message boxes and their modal loop.
#include "platform/window/dialog.h"

#include "platform/window/deskdata.h"
#include "platform/window/glyphs.h"
#include "support/log.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr int MARGIN = 14;
constexpr int ICON_SIDE = 32;
constexpr int BUTTON_WIDTH = 78;
constexpr int BUTTON_HEIGHT = 24;
constexpr int BUTTON_GAP = 10;
constexpr int LINE_HEIGHT = 16;
constexpr int MOST_TEXT_WIDTH = 420;
constexpr int MOST_LINES = 40;

struct text_line {
    const char* start;
    int length;
};

struct box_state {
    desk_window* window;
    dialog_icon icon;
    int buttons; // 1 or 2
    text_line lines[MOST_LINES];
    int line_count;
    int width, height; // of the client area
    int marked;        // the button that Return presses
    int pressed;       // held with the mouse, -1: none
    bool pressed_inside;
    int answer; // -1: none yet; otherwise the button
};

// The first line of the text: up to a newline, or wrapped at a blank, or where the width ends.
text_line first_line(const char* text) {
    const int end = int(strcspn(text, "\n"));
    int length = std::min(end, glyphs_that_fit(&GLYPHS_NORMAL, text, MOST_TEXT_WIDTH));
    if (length == end) return {text, length};
    for (int i = length; i > 0; --i)
        if (text[i] == ' ') return {text, i};
    return {text, std::max(length, 1)};
}

void break_lines(box_state* box, const char* text) {
    while (*text != 0 && box->line_count < MOST_LINES) {
        const text_line line = first_line(text);
        box->lines[box->line_count++] = line;
        text += line.length;
        if (*text == '\n' || *text == ' ') ++text;
    }
}

int text_width(const box_state* box) {
    int width = 0;
    for (int i = 0; i < box->line_count; ++i)
        width = std::max(width, glyphs_width(&GLYPHS_NORMAL, box->lines[i].start, box->lines[i].length));
    return width;
}

int text_left(const box_state* box) {
    return box->icon == dialog_icon::none ? MARGIN : 2 * MARGIN + ICON_SIDE;
}

void measure(box_state* box, const char* title) {
    const int buttons = box->buttons * BUTTON_WIDTH + (box->buttons - 1) * BUTTON_GAP;
    const int caption = glyphs_width(&GLYPHS_BOLD, title, int(strlen(title))) + 30;
    box->width = std::max(
        {text_left(box) + text_width(box) + MARGIN + 6, buttons + 4 * MARGIN, std::min(caption, MOST_TEXT_WIDTH), 200});
    const int content = std::max(box->icon == dialog_icon::none ? 0 : ICON_SIDE, box->line_count * LINE_HEIGHT);
    box->height = MARGIN + content + MARGIN + BUTTON_HEIGHT + MARGIN - 2;
}

canvas_box button_box(const box_state* box, int button) {
    const int all = box->buttons * BUTTON_WIDTH + (box->buttons - 1) * BUTTON_GAP;
    const int x = (box->width - all) / 2 + button * (BUTTON_WIDTH + BUTTON_GAP);
    const int y = box->height - MARGIN - BUTTON_HEIGHT + 2;
    return {x, y, x + BUTTON_WIDTH, y + BUTTON_HEIGHT};
}

int button_at(const box_state* box, int x, int y) {
    for (int i = 0; i < box->buttons; ++i)
        if (box_has(button_box(box, i), x, y)) return i;
    return -1;
}

// ---- icons

void draw_disc(canvas* c, int x, int y, int radius, canvas_color color) {
    for (int row = -radius; row < radius; ++row) {
        // Half the width of a row, at its middle: the largest that stays in the circle.
        int half = 0;
        while ((2 * half + 1) * (2 * half + 1) + (2 * row + 1) * (2 * row + 1) <= 4 * radius * radius)
            ++half;
        canvas_fill(c, {x - half, y + row, x + half, y + row + 1}, color);
    }
}

void draw_octagon(canvas* c, int x, int y, int radius, canvas_color color) {
    const int cut = radius * 3 / 5 - 1;
    const canvas_point points[8] = {{x - radius + cut, y - radius}, {x + radius - cut, y - radius},
                                    {x + radius, y - radius + cut}, {x + radius, y + radius - cut},
                                    {x + radius - cut, y + radius}, {x - radius + cut, y + radius},
                                    {x - radius, y + radius - cut}, {x - radius, y - radius + cut}};
    canvas_polygon(c, points, 8, color, nullptr);
}

void draw_stop(canvas* c, int x, int y) {
    draw_octagon(c, x + 17, y + 17, 15, DESK_SHADOW);
    draw_octagon(c, x + 15, y + 15, 15, DESK_BLACK);
    draw_octagon(c, x + 15, y + 15, 14, canvas_rgb_color({255, 0, 0}));
    for (int i = 0; i < 14; ++i) {
        canvas_fill(c, {x + 8 + i, y + 8 + i, x + 11 + i - (i == 13 ? 1 : 0), y + 9 + i}, DESK_WHITE);
        canvas_fill(c, {x + 21 - i - (i == 13 ? 0 : 1), y + 8 + i, x + 23 - i, y + 9 + i}, DESK_WHITE);
    }
}

void draw_triangle(canvas* c, int x, int y, int inset, canvas_color color) {
    for (int row = 0; row < 29 - 2 * inset; ++row) {
        const int half = (row + 1) / 2 + 1;
        const int middle = x + 15;
        canvas_fill(c, {middle - half, y + row + 2 * inset, middle + half, y + row + 1 + 2 * inset}, color);
    }
}

void draw_exclamation(canvas* c, int x, int y) {
    draw_triangle(c, x + 2, y + 3, 0, DESK_SHADOW);
    draw_triangle(c, x, y + 1, 0, DESK_BLACK);
    canvas_point inner[3] = {{x + 15, y + 3}, {x + 2, y + 29}, {x + 28, y + 29}};
    canvas_polygon(c, inner, 3, canvas_rgb_color({255, 255, 0}), nullptr);
    canvas_fill(c, {x + 13, y + 11, x + 17, y + 18}, DESK_BLACK);
    canvas_fill(c, {x + 14, y + 18, x + 16, y + 22}, DESK_BLACK);
    canvas_fill(c, {x + 13, y + 24, x + 17, y + 27}, DESK_BLACK);
}

void draw_information(canvas* c, int x, int y) {
    draw_disc(c, x + 17, y + 17, 15, DESK_SHADOW);
    draw_disc(c, x + 15, y + 15, 15, DESK_BLACK);
    draw_disc(c, x + 15, y + 15, 14, DESK_WHITE);
    const canvas_color blue = canvas_rgb_color({0, 0, 255});
    canvas_fill(c, {x + 13, y + 6, x + 17, y + 9}, blue);
    canvas_fill(c, {x + 11, y + 11, x + 17, y + 13}, blue);
    canvas_fill(c, {x + 13, y + 13, x + 17, y + 22}, blue);
    canvas_fill(c, {x + 11, y + 22, x + 19, y + 24}, blue);
}

void draw_icon(canvas* c, dialog_icon icon) {
    switch (icon) {
    case dialog_icon::stop: draw_stop(c, MARGIN, MARGIN); break;
    case dialog_icon::exclamation: draw_exclamation(c, MARGIN, MARGIN); break;
    case dialog_icon::information: draw_information(c, MARGIN, MARGIN); break;
    case dialog_icon::none: break;
    }
}

// ---- the box

void draw_dots(canvas* c, canvas_box b) {
    const canvas_point corners[5] = {
        {b.x1, b.y1}, {b.x2 - 1, b.y1}, {b.x2 - 1, b.y2 - 1}, {b.x1, b.y2 - 1}, {b.x1, b.y1}};
    for (int i = 0; i < 4; ++i) {
        const int dx = (corners[i + 1].x > corners[i].x) - (corners[i + 1].x < corners[i].x);
        const int dy = (corners[i + 1].y > corners[i].y) - (corners[i + 1].y < corners[i].y);
        for (canvas_point p = corners[i]; p.x != corners[i + 1].x || p.y != corners[i + 1].y; p.x += dx, p.y += dy)
            if (((p.x + p.y) & 1) == 0) canvas_set_pixel(c, p.x, p.y, DESK_BLACK);
    }
}

void draw_button(const box_state* box, int button) {
    canvas* c = desk_canvas(box->window);
    const canvas_box b = button_box(box, button);
    const bool pressed = box->pressed == button && box->pressed_inside;
    const bool marked = box->marked == button;
    canvas_fill(c, {b.x1 - 1, b.y1 - 1, b.x2 + 1, b.y2 + 1}, marked ? DESK_BLACK : DESK_FACE);
    desk_draw_button(c, b, pressed);
    const int shift = pressed ? 1 : 0;
    const char* text = button == 0 ? "OK" : "Cancel";
    glyphs_draw_in(c, marked ? &GLYPHS_BOLD : &GLYPHS_NORMAL, box_moved(b, shift, shift), text, true, DESK_BLACK);
    if (marked) draw_dots(c, {b.x1 + 4, b.y1 + 4, b.x2 - 4, b.y2 - 4});
}

void draw_all(const box_state* box) {
    canvas* c = desk_canvas(box->window);
    canvas_fill(c, {0, 0, box->width, box->height}, DESK_FACE);
    draw_icon(c, box->icon);
    const int all = box->line_count * LINE_HEIGHT;
    // One or two lines stand beside the middle of the icon.
    int y = MARGIN + (box->icon != dialog_icon::none && all < ICON_SIDE ? (ICON_SIDE - all) / 2 : 0);
    for (int i = 0; i < box->line_count; ++i, y += LINE_HEIGHT)
        glyphs_draw(c, &GLYPHS_NORMAL, text_left(box), y, box->lines[i].start, box->lines[i].length, DESK_BLACK);
    for (int i = 0; i < box->buttons; ++i)
        draw_button(box, i);
}

void mark(box_state* box, int button) {
    box->marked = button;
    for (int i = 0; i < box->buttons; ++i)
        draw_button(box, i);
}

void mouse_button(box_state* box, const desk_message* m) {
    if (m->button != HOST_LEFT) return;
    if (m->down) {
        box->pressed = button_at(box, m->x, m->y);
        box->pressed_inside = true;
        if (box->pressed < 0) return;
        desk_set_capture(box->window);
        mark(box, box->pressed);
        return;
    }
    desk_set_capture(nullptr);
    const int released = box->pressed;
    box->pressed = -1;
    if (released < 0) return;
    draw_button(box, released);
    if (button_at(box, m->x, m->y) == released) box->answer = released;
}

void mouse_move(box_state* box, const desk_message* m) {
    if (box->pressed < 0) return;
    const bool inside = button_at(box, m->x, m->y) == box->pressed;
    if (inside == box->pressed_inside) return;
    box->pressed_inside = inside;
    draw_button(box, box->pressed);
}

void key(box_state* box, const desk_message* m) {
    if (!m->down) return;
    switch (m->key) {
    case host_key::enter: box->answer = box->marked; break;
    case host_key::escape: box->answer = box->buttons - 1; break;
    case host_key::tab:
    case host_key::left:
    case host_key::right: mark(box, (box->marked + 1) % box->buttons); break;
    case host_key::character:
        if (m->character == ' ') box->answer = box->marked;
        break;
    default: break;
    }
}

void handle(box_state* box, const desk_message* m) {
    canvas_box part;
    switch (m->kind) {
    case desk_kind::paint:
        desk_paint_box(box->window, &part, true);
        draw_all(box);
        break;
    case desk_kind::button: mouse_button(box, m); break;
    case desk_kind::mouse_move: mouse_move(box, m); break;
    case desk_kind::key: key(box, m); break;
    default: break;
    }
}

bool open_box(box_state* box, const char* title) {
    measure(box, title);
    const canvas_box frame = bitmap_box(&screen.frame);
    const int x = std::max(0, (frame.x2 - box->width) / 2);
    const int y = std::max(0, (frame.y2 - box->height) * 2 / 5);
    constexpr uint32_t STYLE = DESK_POPUP | DESK_SAVE_UNDER | DESK_DIALOG_FRAME | DESK_CAPTION;
    box->window = desk_create(STYLE, -1, title, desk_outer_of(STYLE, {x, y, x + box->width, y + box->height}));
    return box->window != nullptr;
}

bool run_box(box_state* box) {
    desk_close_menu();
    desk_cancel_drag();
    desk_window* active = desk.active;
    desk_window* capture = desk.capture;
    desk_window* modal = desk.modal; // a box over a box
    desk.capture = nullptr;
    desk_show(box->window);
    desk.modal = box->window;
    desk_activate(box->window);
    while (box->answer < 0 && desk_main() != nullptr) {
        desk_message message;
        while (box->answer < 0 && desk_next_of(box->window, &message))
            handle(box, &message);
        if (box->answer < 0) desk_wait_of(box->window);
    }
    desk_destroy(box->window);
    desk.modal = modal;
    desk.capture = capture;
    if (active != nullptr)
        desk_activate(active);
    else
        desk_pick_active();
    desk_update_cursor();
    return box->answer == 0;
}

} // namespace

bool dialog_message(const char* title, const char* text, dialog_icon icon, dialog_buttons buttons) {
    box_state box = {};
    box.icon = icon;
    box.buttons = buttons == dialog_buttons::ok ? 1 : 2;
    box.pressed = box.answer = -1;
    break_lines(&box, text);
    if (desk_main() == nullptr || !open_box(&box, title)) {
        fprintf(stderr, "%s: %s\n", title, text);
        return buttons == dialog_buttons::ok;
    }
    return run_box(&box);
}

void dialog_log_sink(void* /*user*/, int level, const char* text) {
    switch (level) {
    case LOG_ERROR: dialog_message("Error", text, dialog_icon::stop, dialog_buttons::ok); break;
    case LOG_WARNING: dialog_message("Warning", text, dialog_icon::exclamation, dialog_buttons::ok); break;
    case LOG_INFO: dialog_message("Info", text, dialog_icon::information, dialog_buttons::ok); break;
    default: break;
    }
}
