// The main window's scroll bars: where they are, how they look, and what pressing them does.
#include "platform/window/deskdata.h"

#include <algorithm>

namespace {

constexpr uint32_t FIRST_REPEAT = 300; // milliseconds until a held arrow acts again, and from then on
constexpr uint32_t NEXT_REPEAT = 50;

// Positions along a bar, from its start.
struct bar_layout {
    int length;
    int track1, track2; // between the arrows
    int thumb1, thumb2;
};

bool is_vertical(int bar) {
    return bar == DESK_VERTICAL;
}

bar_layout layout_of(int bar) {
    const canvas_box b = desk_bar_box(bar);
    const desk_bar& state = desk.bars[bar];
    bar_layout l = {};
    l.length = is_vertical(bar) ? b.y2 - b.y1 : b.x2 - b.x1;
    const int arrow = std::min(desk.metrics.scroll_bar, l.length / 2);
    l.track1 = arrow;
    l.track2 = l.length - arrow;
    const int track = l.track2 - l.track1;
    // 64 bits: a range and a page may be any size
    const int64_t whole = int64_t{state.range} + std::max(state.page, 1);
    const int thumb = std::min(track, std::max(scaled(10), int(int64_t{track} * std::max(state.page, 1) / whole)));
    const int64_t room = track - thumb;
    l.thumb1 = l.track1 + (state.range > 0 ? int(room * state.position / state.range) : 0);
    l.thumb2 = l.thumb1 + thumb;
    return l;
}

// A stretch along the bar as a box of the screen.
canvas_box stretch(int bar, int from, int to) {
    const canvas_box b = desk_bar_box(bar);
    if (is_vertical(bar)) return {b.x1, b.y1 + from, b.x2, b.y1 + to};
    return {b.x1 + from, b.y1, b.x1 + to, b.y2};
}

bool is_pressed(int bar, desk_scroll_kind kind) {
    return desk.bars[bar].pressed == int(kind) + 1;
}

void draw_bar(canvas* c, int bar) {
    if (!desk_bar_is_shown(bar)) return;
    const bar_layout l = layout_of(bar);
    const canvas_pattern dots = {{0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55}};
    const canvas_box track = stretch(bar, l.track1, l.track2);
    canvas_fill(c, track, DESK_FACE);
    for (int y = track.y1; y < track.y2; ++y)
        for (int x = track.x1; x < track.x2; ++x)
            if ((dots.rows[y & 7] >> (7 - (x & 7)) & 1) != 0) canvas_set_pixel(c, x, y, DESK_WHITE);
    const int dx = is_vertical(bar) ? 0 : 1;
    const int dy = is_vertical(bar) ? 1 : 0;
    const canvas_box back = stretch(bar, 0, l.track1);
    const canvas_box forward = stretch(bar, l.track2, l.length);
    desk_draw_button(c, back, is_pressed(bar, desk_scroll_kind::line_back));
    desk_draw_button(c, forward, is_pressed(bar, desk_scroll_kind::line_forward));
    desk_draw_arrow(c, back, -dx, -dy, DESK_BLACK);
    desk_draw_arrow(c, forward, dx, dy, DESK_BLACK);
    if (l.thumb2 - l.thumb1 < l.track2 - l.track1) desk_draw_button(c, stretch(bar, l.thumb1, l.thumb2), false);
}

int along(int bar, int x, int y) {
    const canvas_box b = desk_bar_box(bar);
    return is_vertical(bar) ? y - b.y1 : x - b.x1;
}

void tell(int bar, desk_scroll_kind kind, int position) {
    desk_message message = desk_new_message(desk_kind::scroll, &desk.main);
    message.bar = uint8_t(bar);
    message.scroll = kind;
    message.value = uint32_t(position);
    desk_queue(&message, nullptr);
}

desk_scroll_kind part_at(const bar_layout& l, int at) {
    if (at < l.track1) return desk_scroll_kind::line_back;
    if (at >= l.track2) return desk_scroll_kind::line_forward;
    if (at < l.thumb1) return desk_scroll_kind::page_back;
    return at >= l.thumb2 ? desk_scroll_kind::page_forward : desk_scroll_kind::thumb;
}

int pressed_bar() {
    if (desk.bars[DESK_HORIZONTAL].pressed != 0) return DESK_HORIZONTAL;
    return desk.bars[DESK_VERTICAL].pressed != 0 ? DESK_VERTICAL : -1;
}

bool repeats(const desk_bar& bar) {
    return bar.pressed != 0 && bar.pressed != int(desk_scroll_kind::thumb) + 1;
}

} // namespace

bool desk_bar_is_shown(int bar) {
    return desk.bars[bar].range > 0;
}

canvas_box desk_bar_box(int bar) {
    if (!desk_bar_is_shown(bar)) return {0, 0, 0, 0};
    const canvas_box outer = desk.main.outer;
    const canvas_box client = desk.main.client;
    return is_vertical(bar) ? canvas_box{client.x2, outer.y1, outer.x2, client.y2}
                            : canvas_box{outer.x1, client.y2, client.x2, outer.y2};
}

void desk_draw_bars(canvas* c) {
    draw_bar(c, DESK_HORIZONTAL);
    draw_bar(c, DESK_VERTICAL);
    // The corner between two bars.
    const canvas_box corner = {desk.main.client.x2, desk.main.client.y2, desk.main.outer.x2, desk.main.outer.y2};
    canvas_fill(c, corner, DESK_FACE);
}

void desk_set_scroll(int bar, int range, int page, int position) {
    if (bar != DESK_HORIZONTAL && bar != DESK_VERTICAL) return;
    const bool was_shown = desk_bar_is_shown(bar);
    desk_bar* state = &desk.bars[bar];
    state->range = std::max(range, 0);
    state->page = std::max(page, 0);
    state->position = std::clamp(position, 0, state->range);
    if (was_shown != desk_bar_is_shown(bar)) {
        state->pressed = 0;
        desk_begin_change();
        desk_layout_main();
        desk_end_change(nullptr);
    }
    desk_redraw_frame(&desk.main);
}

void desk_clear_bars() {
    if (pressed_bar() >= 0) desk.drag = {};
    for (desk_bar& bar : desk.bars)
        bar = {};
}

void desk_bar_press(int bar, const host_event* event) {
    const bar_layout l = layout_of(bar);
    const int at = along(bar, event->x, event->y);
    const desk_scroll_kind part = part_at(l, at);
    desk.bars[bar].pressed = int(part) + 1;
    desk.bars[bar].grip = at - l.thumb1;
    desk.bars[bar].repeat_at = event->time + FIRST_REPEAT;
    desk.drag.kind = drag_kind::bar;
    desk.drag.window = &desk.main;
    if (part != desk_scroll_kind::thumb) tell(bar, part, desk.bars[bar].position);
    desk_redraw_frame(&desk.main);
}

void desk_bar_drag(const host_event* event) {
    const int bar = pressed_bar();
    if (bar < 0 || repeats(desk.bars[bar])) return;
    const bar_layout l = layout_of(bar);
    const int room = l.track2 - l.track1 - (l.thumb2 - l.thumb1);
    if (room <= 0) return;
    const int start = std::clamp(along(bar, event->x, event->y) - desk.bars[bar].grip - l.track1, 0, room);
    const int position = int((int64_t{start} * desk.bars[bar].range + room / 2) / room);
    if (position != desk.bars[bar].position) tell(bar, desk_scroll_kind::thumb, position);
}

void desk_bar_release() {
    const int bar = pressed_bar();
    desk.drag = {};
    if (bar < 0) return;
    desk.bars[bar].pressed = 0;
    tell(bar, desk_scroll_kind::end, desk.bars[bar].position);
    desk_redraw_frame(&desk.main);
}

bool desk_bar_deadline(uint32_t* deadline) {
    const int bar = pressed_bar();
    if (bar < 0 || !repeats(desk.bars[bar])) return false;
    *deadline = desk.bars[bar].repeat_at;
    return true;
}

void desk_bar_repeat() {
    uint32_t deadline = 0;
    if (!desk_bar_deadline(&deadline) || int32_t(host_now() - deadline) < 0) return;
    const int bar = pressed_bar();
    desk.bars[bar].repeat_at = host_now() + NEXT_REPEAT;
    // A page stops when the thumb has come to the pointer.
    const auto part = desk_scroll_kind(desk.bars[bar].pressed - 1);
    if (part_at(layout_of(bar), along(bar, desk.pointer.x, desk.pointer.y)) == part)
        tell(bar, part, desk.bars[bar].position);
}
