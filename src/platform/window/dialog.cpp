// Message boxes and their modal loop.
#include "platform/window/dialog.h"

#include "platform/window/deskdata.h"
#include "platform/window/glyphs.h"
#include "support/log.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// At factor 1:
constexpr int MARGIN = 14;
constexpr int ICON_SIDE = 32;
constexpr int BUTTON_WIDTH = 78;
constexpr int BUTTON_HEIGHT = 24;
constexpr int BUTTON_GAP = 10;
constexpr int LINE_HEIGHT = 16;
constexpr int MOST_TEXT_WIDTH = 420;
constexpr int LEAST_WIDTH = 200;
constexpr int LEAST_TEXT_WIDTH = 60;

constexpr int MOST_LINES = 100;
constexpr uint32_t STYLE = DESK_POPUP | DESK_SAVE_UNDER | DESK_DIALOG_FRAME | DESK_CAPTION;

const glyph_face* face(glyph_style style) {
    return glyphs_face(style, desk.metrics.factor);
}

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
text_line first_line(const char* text, int width) {
    const int end = int(strcspn(text, "\n"));
    int length = std::min(end, glyphs_that_fit(face(glyph_style::normal), text, width));
    if (length == end) return {text, length};
    for (int i = length; i > 0; --i)
        if (text[i] == ' ') return {text, i};
    return {text, std::max(length, 1)};
}

int text_width(const box_state* box) {
    int width = 0;
    for (int i = 0; i < box->line_count; ++i)
        width = std::max(width, glyphs_width(face(glyph_style::normal), box->lines[i].start, box->lines[i].length));
    return width;
}

int text_left(const box_state* box) {
    return scaled(box->icon == dialog_icon::none ? MARGIN : 2 * MARGIN + ICON_SIDE);
}

int height_of(const box_state* box, int lines) {
    const int content = std::max(box->icon == dialog_icon::none ? 0 : ICON_SIDE, lines * LINE_HEIGHT);
    return scaled(MARGIN + content + MARGIN + BUTTON_HEIGHT + MARGIN - 2);
}

// The room that the box has at most: its client area in a frame of the size of the screen.
canvas_box room_for_box() {
    return desk_client_of(STYLE, bitmap_box(&screen.frame));
}

int most_text_width(const box_state* box) {
    const canvas_box room = room_for_box();
    const int width = room.x2 - room.x1 - text_left(box) - scaled(MARGIN + 6);
    return std::clamp(width, scaled(LEAST_TEXT_WIDTH), scaled(MOST_TEXT_WIDTH));
}

int most_lines(const box_state* box) {
    const canvas_box room = room_for_box();
    int lines = MOST_LINES;
    while (lines > 2 && height_of(box, lines) > room.y2 - room.y1)
        --lines;
    return lines;
}

// A text that is too long for the screen ends with a line that says so.
void break_lines(box_state* box, const char* text) {
    const int width = most_text_width(box);
    const int most = most_lines(box);
    while (*text != 0 && box->line_count < most) {
        const text_line line = first_line(text, width);
        box->lines[box->line_count++] = line;
        text += line.length;
        if (*text == '\n' || *text == ' ') ++text;
    }
    if (*text != 0) box->lines[most - 1] = {"...", 3};
}

void measure(box_state* box, const char* title) {
    const int buttons = box->buttons * BUTTON_WIDTH + (box->buttons - 1) * BUTTON_GAP;
    const int caption = glyphs_width(face(glyph_style::bold), title, int(strlen(title))) + scaled(30);
    box->width = std::max({text_left(box) + text_width(box) + scaled(MARGIN + 6), scaled(buttons + 4 * MARGIN),
                           std::min(caption, scaled(MOST_TEXT_WIDTH)), scaled(LEAST_WIDTH)});
    box->height = height_of(box, box->line_count);
}

canvas_box button_box(const box_state* box, int button) {
    const int all = box->buttons * BUTTON_WIDTH + (box->buttons - 1) * BUTTON_GAP;
    const int x = (box->width - scaled(all)) / 2 + scaled(button * (BUTTON_WIDTH + BUTTON_GAP));
    const int y = box->height - scaled(MARGIN + BUTTON_HEIGHT - 2);
    return {x, y, x + scaled(BUTTON_WIDTH), y + scaled(BUTTON_HEIGHT)};
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
    const int cut = radius * 3 / 5 - desk.metrics.border;
    const canvas_point points[8] = {{x - radius + cut, y - radius}, {x + radius - cut, y - radius},
                                    {x + radius, y - radius + cut}, {x + radius, y + radius - cut},
                                    {x + radius - cut, y + radius}, {x - radius + cut, y + radius},
                                    {x - radius, y + radius - cut}, {x - radius, y - radius + cut}};
    canvas_polygon(c, points, 8, color, nullptr);
}

// A box given at factor 1, from the icon's corner.
void fill(canvas* c, canvas_point at, canvas_box b, canvas_color color) {
    canvas_fill(c, {at.x + scaled(b.x1), at.y + scaled(b.y1), at.x + scaled(b.x2), at.y + scaled(b.y2)}, color);
}

void draw_stop(canvas* c, canvas_point at) {
    const int middle = scaled(15);
    draw_octagon(c, at.x + scaled(17), at.y + scaled(17), middle, DESK_SHADOW);
    draw_octagon(c, at.x + middle, at.y + middle, middle, DESK_BLACK);
    draw_octagon(c, at.x + middle, at.y + middle, scaled(14), canvas_rgb_color({255, 0, 0}));
    // A cross: each row has one stroke from the left and one from the right.
    const int rows = scaled(14);
    const int thick = scaled(3);
    for (int i = 0; i < rows; ++i) {
        const int y = at.y + scaled(8) + i;
        const int left = at.x + scaled(8) + i;
        const int right = at.x + scaled(8) + rows + thick - 1 - i;
        canvas_fill(c, {left, y, left + thick, y + 1}, DESK_WHITE);
        canvas_fill(c, {right - thick, y, right, y + 1}, DESK_WHITE);
    }
}

void draw_triangle(canvas* c, int x, int y, canvas_color color) {
    for (int row = 0; row < scaled(29); ++row) {
        const int half = (row + 1) / 2 + scaled(1);
        const int middle = x + scaled(15);
        canvas_fill(c, {middle - half, y + row, middle + half, y + row + 1}, color);
    }
}

void draw_exclamation(canvas* c, canvas_point at) {
    draw_triangle(c, at.x + scaled(2), at.y + scaled(3), DESK_SHADOW);
    draw_triangle(c, at.x, at.y + scaled(1), DESK_BLACK);
    const canvas_point inner[3] = {{at.x + scaled(15), at.y + scaled(3)},
                                   {at.x + scaled(2), at.y + scaled(29)},
                                   {at.x + scaled(28), at.y + scaled(29)}};
    canvas_polygon(c, inner, 3, canvas_rgb_color({255, 255, 0}), nullptr);
    fill(c, at, {13, 11, 17, 18}, DESK_BLACK);
    fill(c, at, {14, 18, 16, 22}, DESK_BLACK);
    fill(c, at, {13, 24, 17, 27}, DESK_BLACK);
}

void draw_information(canvas* c, canvas_point at) {
    const int middle = scaled(15);
    draw_disc(c, at.x + scaled(17), at.y + scaled(17), middle, DESK_SHADOW);
    draw_disc(c, at.x + middle, at.y + middle, middle, DESK_BLACK);
    draw_disc(c, at.x + middle, at.y + middle, scaled(14), DESK_WHITE);
    const canvas_color blue = canvas_rgb_color({0, 0, 255});
    fill(c, at, {13, 6, 17, 9}, blue);
    fill(c, at, {11, 11, 17, 13}, blue);
    fill(c, at, {13, 13, 17, 22}, blue);
    fill(c, at, {11, 22, 19, 24}, blue);
}

void draw_icon(canvas* c, dialog_icon icon) {
    const canvas_point at = {scaled(MARGIN), scaled(MARGIN)};
    switch (icon) {
    case dialog_icon::stop: draw_stop(c, at); break;
    case dialog_icon::exclamation: draw_exclamation(c, at); break;
    case dialog_icon::information: draw_information(c, at); break;
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
    const int line = desk.metrics.border;
    canvas_fill(c, {b.x1 - line, b.y1 - line, b.x2 + line, b.y2 + line}, marked ? DESK_BLACK : DESK_FACE);
    desk_draw_button(c, b, pressed);
    const int shift = pressed ? line : 0;
    const char* text = button == 0 ? "OK" : "Cancel";
    const glyph_style style = marked ? glyph_style::bold : glyph_style::normal;
    glyphs_draw_in(c, face(style), box_moved(b, shift, shift), text, true, DESK_BLACK);
    const int inset = scaled(4);
    if (marked) draw_dots(c, {b.x1 + inset, b.y1 + inset, b.x2 - inset, b.y2 - inset});
}

void draw_all(const box_state* box) {
    canvas* c = desk_canvas(box->window);
    canvas_fill(c, {0, 0, box->width, box->height}, DESK_FACE);
    draw_icon(c, box->icon);
    const int all = box->line_count * LINE_HEIGHT;
    // One or two lines stand beside the middle of the icon.
    int y = scaled(MARGIN + (box->icon != dialog_icon::none && all < ICON_SIDE ? (ICON_SIDE - all) / 2 : 0));
    for (int i = 0; i < box->line_count; ++i, y += scaled(LINE_HEIGHT))
        glyphs_draw(c, face(glyph_style::normal), text_left(box), y, box->lines[i].start, box->lines[i].length,
                    DESK_BLACK);
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
    const canvas_box room = room_for_box();
    const int x = std::max(room.x1, (screen.frame.width - box->width) / 2);
    const int y = std::max(room.y1, (screen.frame.height - box->height) * 2 / 5);
    box->window = desk_create(STYLE, -1, title, desk_outer_of(STYLE, {x, y, x + box->width, y + box->height}));
    return box->window != nullptr;
}

bool run_box(box_state* box) {
    desk_close_menu();
    desk_cancel_drag();
    desk_window* active = desk.active;
    desk_window* capture = desk.capture;
    desk_window* modal = desk.modal; // a box over a box
    const uint32_t modal_since = desk.modal_since;
    desk.capture = nullptr;
    desk_show(box->window);
    desk.modal = box->window;
    desk.modal_since = host_now() + DESK_DOUBLE_CLICK; // before that the user can't have meant the box
    desk_activate(box->window);
    while (box->answer < 0 && desk_main() != nullptr) {
        desk_message message;
        while (box->answer < 0 && desk_next_of(box->window, &message))
            handle(box, &message);
        // The user closes the main window: that is no to this box. The message stays, for the loop below it.
        if (box->answer < 0 && desk_close_waits()) box->answer = box->buttons - 1;
        if (box->answer < 0) desk_wait_of(box->window);
    }
    desk_destroy(box->window);
    desk.modal = modal;
    desk.modal_since = modal_since;
    desk.capture = capture;
    desk_make_active(active);
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
