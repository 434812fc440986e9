// The window menu: opened by the box at the left of a caption, or by a click on an icon. While it is open all input
// goes to it.
#include "platform/window/deskdata.h"
#include "platform/window/glyphs.h"

#include <algorithm>

namespace {

enum menu_item : int { ITEM_RESTORE, ITEM_MINIMISE, ITEM_MAXIMISE, ITEM_CLOSE, ITEM_COUNT };

constexpr const char* ITEM_TEXTS[ITEM_COUNT] = {"Restore", "Minimise", "Maximise", "Close"};
// At factor 1:
constexpr int ITEM_HEIGHT = 19;
constexpr int RULE_HEIGHT = 7; // ahead of Close
constexpr int MENU_WIDTH = 116;
constexpr int EDGE = 3;
constexpr int MENU_HEIGHT = ITEM_COUNT * ITEM_HEIGHT + RULE_HEIGHT + 2 * EDGE;
constexpr int TEXT_LEFT = 16; // within an item
constexpr int TEXT_RIGHT = 4;

struct menu_data {
    desk_window* owner;  // null: no menu is open
    desk_window* window; // the menu
    int marked;          // item, -1: none
    bool pressed;        // the button that opened it, or another, is held since
    uint32_t opened_at;
};
menu_data menu;

bool is_enabled(int item) {
    const uint32_t style = menu.owner->style;
    const host_state state = menu.owner->state;
    switch (item) {
    case ITEM_RESTORE: return state != host_state::restored;
    case ITEM_MINIMISE: return (style & DESK_MINIMISE_BOX) != 0 && state != host_state::minimised;
    case ITEM_MAXIMISE: return (style & DESK_MAXIMISE_BOX) != 0 && state != host_state::maximised;
    default: return true;
    }
}

// In the menu's own coordinates.
canvas_box item_box(int item) {
    const int y = EDGE + item * ITEM_HEIGHT + (item == ITEM_CLOSE ? RULE_HEIGHT : 0);
    return {scaled(EDGE), scaled(y), scaled(MENU_WIDTH - EDGE), scaled(y + ITEM_HEIGHT)};
}

int item_at(int screen_x, int screen_y) {
    const canvas_box place = menu.window->outer;
    for (int item = 0; item < ITEM_COUNT; ++item)
        if (box_has(box_moved(item_box(item), place.x1, place.y1), screen_x, screen_y)) return item;
    return -1;
}

void draw_item(canvas* c, int item) {
    const canvas_box box = item_box(item);
    const bool marked = item == menu.marked && is_enabled(item);
    canvas_fill(c, box, marked ? DESK_ACTIVE : DESK_FACE);
    const canvas_color color = is_enabled(item) ? (marked ? DESK_WHITE : DESK_BLACK) : DESK_SHADOW;
    glyphs_draw_in(c, glyphs_face(glyph_style::normal, desk.metrics.factor),
                   {box.x1 + scaled(TEXT_LEFT), box.y1, box.x2 - scaled(TEXT_RIGHT), box.y2}, ITEM_TEXTS[item], false,
                   color);
}

void draw_menu() {
    canvas* c = &menu.window->surface;
    const canvas_box all = {0, 0, scaled(MENU_WIDTH), scaled(MENU_HEIGHT)};
    const int line = desk.metrics.border;
    desk_draw_button(c, all, false);
    for (int item = 0; item < ITEM_COUNT; ++item)
        draw_item(c, item);
    const int y = item_box(ITEM_CLOSE).y1 - scaled(RULE_HEIGHT / 2 + 1);
    const int left = scaled(EDGE + 1);
    canvas_fill(c, {left, y, all.x2 - left, y + line}, DESK_SHADOW);
    canvas_fill(c, {left, y + line, all.x2 - left, y + 2 * line}, DESK_WHITE);
    desk_validate(menu.window, nullptr);
}

void mark(int item) {
    if (item == menu.marked) return;
    menu.marked = item;
    draw_menu();
}

void mark_next(int step) {
    int item = menu.marked < 0 && step < 0 ? 0 : menu.marked;
    for (int i = 0; i < ITEM_COUNT; ++i) {
        item = (item + step + ITEM_COUNT) % ITEM_COUNT;
        if (!is_enabled(item)) continue;
        mark(item);
        return;
    }
}

void choose(int item) {
    if (item < 0 || !is_enabled(item)) return;
    desk_window* owner = menu.owner;
    desk_close_menu();
    switch (item) {
    case ITEM_RESTORE: desk_set_state(owner, host_state::restored); break;
    case ITEM_MINIMISE: desk_set_state(owner, host_state::minimised); break;
    case ITEM_MAXIMISE: desk_set_state(owner, host_state::maximised); break;
    default: desk_close_by_user(owner); break;
    }
}

// The second press of a double click on what opened the menu.
bool is_second_press(const host_event* event) {
    const canvas_box box =
        menu.owner->state == host_state::minimised ? menu.owner->outer : desk_box_of(menu.owner, PART_MENU_BOX);
    return event->time - menu.opened_at < DESK_DOUBLE_CLICK && box_has(box, event->x, event->y);
}

void press_menu(const host_event* event) {
    menu.pressed = true;
    if (box_has(menu.window->outer, event->x, event->y)) {
        mark(item_at(event->x, event->y));
        return;
    }
    desk_window* owner = menu.owner;
    const bool second = is_second_press(event);
    desk_close_menu();
    if (!second) return;
    if (owner->state == host_state::minimised)
        desk_set_state(owner, host_state::restored);
    else
        desk_close_by_user(owner);
}

void menu_key(const host_event* event) {
    if (!event->down) return;
    switch (event->key) {
    case host_key::escape: desk_close_menu(); break;
    case host_key::enter: choose(menu.marked); break;
    case host_key::up: mark_next(-1); break;
    case host_key::down: mark_next(1); break;
    default: break;
    }
}

} // namespace

void desk_open_menu(desk_window* w, canvas_point at, bool above) {
    const int width = scaled(MENU_WIDTH);
    const int height = scaled(MENU_HEIGHT);
    if (above) at.y = at.y >= height ? at.y - height : w->outer.y2; // below where there is no room above
    const canvas_box frame = bitmap_box(&screen.frame);
    at.x = std::max(std::min(at.x, frame.x2 - width), 0);
    at.y = std::max(std::min(at.y, frame.y2 - height), 0);
    desk_window* window =
        desk_create(DESK_POPUP | DESK_TOPMOST, -1, nullptr, {at.x, at.y, at.x + width, at.y + height});
    if (window == nullptr) return;
    menu = {w, window, -1, false, host_now()};
    desk_show(window);
    draw_menu();
    desk_redraw_frame(w);
}

bool desk_menu_is_open() {
    return menu.owner != nullptr;
}
desk_window* desk_menu_owner() {
    return menu.owner;
}
desk_window* desk_menu_window() {
    return menu.window;
}

void desk_close_menu() {
    if (menu.owner == nullptr) return;
    const menu_data closed = menu;
    menu = {};
    desk_destroy(closed.window);
    desk_redraw_frame(closed.owner);
}

void desk_menu_event(const host_event* event) {
    switch (event->kind) {
    case host_event_kind::pointer: mark(item_at(event->x, event->y)); break;
    case host_event_kind::button:
        if (event->down)
            press_menu(event);
        else
            choose(item_at(event->x, event->y));
        break;
    case host_event_kind::key: menu_key(event); break;
    default: break;
    }
}

// What of the menu came to light again, as after a change of another pop-up.
void desk_menu_paint() {
    canvas_box box;
    if (menu.owner != nullptr && desk_paint_box(menu.window, &box, true)) draw_menu();
}
