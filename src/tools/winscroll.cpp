// Refreshes of numbered windows, the main window's scrolling, and the screen that follows its size.
//
// While the main window scrolls, what its children have to paint is collected, and is asked for when scrolling ends:
// otherwise each step of a dragged thumb would be drawn in full.
#include "tools/eventdata.h"
#include "tools/process.h"
#include "tools/windata.h"

int scroll_x;
int scroll_y;

namespace {

constexpr int LINE = 16; // pixels of a step

bool scrolling = false;
bool maximising = false;        // sizes don't count until the main window reports that it is maximised
int ranges[2];                  // by bar
int pages[2];                   // by bar: the client's size
canvas_box dirty[WINDOW_COUNT]; // client coordinates
constexpr canvas_box CLEAN = {32767, 32767, -32768, -32768};

tools_screen_hook screen_hook = nullptr;
uint32_t settles_at = 0; // when the screen's size has stood still; 0: nothing waits to be told
int told_width = 0;      // the size that the program knows of
int told_height = 0;

// The screen for the main window's size. A bar takes room from the other direction, and may so call for the other bar.
void fit_screen() {
    const int bar = desk_sizes()->scroll_bar;
    const int least_width = std::min(LEAST_SCREEN_WIDTH, host_screen_size()->width);
    const int least_height = std::min(LEAST_SCREEN_HEIGHT, host_screen_size()->height);
    int width = desk_sizes()->screen_width;
    int height = desk_sizes()->screen_height;
    const bool narrow = width < least_width;
    const bool low = height - (narrow ? bar : 0) < least_height;
    if (narrow) height -= bar;
    if (low) width -= bar;
    screen_width = std::max(width, least_width) - 1;
    screen_height = std::max(height, least_height) - 1;
}

void follow_main_window() {
    fit_screen();
    if (screen_width == told_width && screen_height == told_height) {
        settles_at = 0;
        return;
    }
    settles_at = std::max(host_now() + SCREEN_SETTLES, 1U);
    timer_arm_no_later(settles_at);
}

bool is_empty(canvas_box b) {
    return b.x1 >= b.x2 || b.y1 >= b.y2;
}

void begin_scrolling() {
    if (scrolling) return;
    scrolling = true;
    std::fill_n(dirty, WINDOW_COUNT, CLEAN);
}

void end_scrolling() {
    if (!scrolling) return;
    scrolling = false;
    for (int i = 0; i < WINDOW_COUNT; ++i)
        if (window_table[i] != nullptr && !is_empty(dirty[i])) desk_invalidate(window_table[i]->handle, &dirty[i]);
}

void collect(int window, canvas_box box) {
    canvas_box& d = dirty[window];
    d = {std::min(d.x1, box.x1), std::min(d.y1, box.y1), std::max(d.x2, box.x2), std::max(d.y2, box.y2)};
}

// Scrolls to an offset, and tells the bars.
void scroll_to(int x, int y) {
    x = std::clamp(x, 0, ranges[DESK_HORIZONTAL]);
    y = std::clamp(y, 0, ranges[DESK_VERTICAL]);
    const int dx = scroll_x - x;
    const int dy = scroll_y - y;
    scroll_x = x;
    scroll_y = y;
    if (dx != 0 || dy != 0) desk_scroll(dx, dy);
}

void show_bars() {
    desk_set_scroll(DESK_HORIZONTAL, ranges[DESK_HORIZONTAL], pages[DESK_HORIZONTAL], scroll_x);
    desk_set_scroll(DESK_VERTICAL, ranges[DESK_VERTICAL], pages[DESK_VERTICAL], scroll_y);
}

void fit_ranges(int client_width, int client_height) {
    pages[DESK_HORIZONTAL] = client_width;
    pages[DESK_VERTICAL] = client_height;
    ranges[DESK_HORIZONTAL] = std::max(0, screen_width - client_width);
    ranges[DESK_VERTICAL] = std::max(0, screen_height - client_height);
    begin_scrolling();
    scroll_to(scroll_x, scroll_y);
    end_scrolling();
    show_bars();
}

// The ranges for the room that the bars leave. It follows from the window's size alone, and not from the bars that a
// message has found: two messages that found different ones would have them shown and hidden without end.
void fit_bars() {
    const desk_metrics* sizes = desk_sizes();
    int width = sizes->screen_width;
    int height = sizes->screen_height;
    for (int pass = 0; pass < 2; ++pass) { // the one bar may call for the other
        if (screen_width > width) height = sizes->screen_height - sizes->scroll_bar;
        if (screen_height > height) width = sizes->screen_width - sizes->scroll_bar;
    }
    fit_ranges(width, height);
}

int scrolled_position(const desk_message* message, int now) {
    const int page = pages[message->bar];
    switch (message->scroll) {
    case desk_scroll_kind::line_back: return now - LINE;
    case desk_scroll_kind::line_forward: return now + LINE;
    case desk_scroll_kind::page_back: return now - page;
    case desk_scroll_kind::page_forward: return now + page;
    case desk_scroll_kind::thumb: return static_cast<int>(message->value);
    case desk_scroll_kind::end: return now;
    }
    return now;
}

// The rectangle, in logical space, and the area of a refresh.
void fill_refresh(int window, window_record* w, canvas_box box, refresh_data* refresh) {
    const canvas_box client = desk_client(w->handle);
    const int width = client.x2 - client.x1;
    const int height = client.y2 - client.y1;
    if ((w->paint_flags & PAINT_RESIZED) != 0) box = {0, 0, width, height};
    *refresh = {};
    refresh->window = window;
    refresh->x1 = client.x1 + scroll_x;
    refresh->y1 = client.y1 + scroll_y;
    refresh->x2 = refresh->x1 + width - 1;
    refresh->y2 = refresh->y1 + height - 1;
    refresh->area_x1 = box.x1;
    refresh->area_y1 = box.y1;
    refresh->area_x2 = box.x2 - 1;
    refresh->area_y2 = box.y2 - 1;
    refresh->op_mask = w->paint_flags;
    w->paint_flags = static_cast<uint16_t>(w->paint_flags & ~(PAINT_MOVED | PAINT_RESIZED));
}

} // namespace

bool window_paint(const desk_message* message, refresh_data* refresh) {
    // A drag of a bar can end without a message, when the main window is resized meanwhile.
    if (scrolling && !desk_is_dragging()) end_scrolling();
    const int window = window_of_handle(message->window);
    canvas_box box = {0, 0, 0, 0};
    if (window < 0 || message->window == desk_main()) {
        desk_paint_box(message->window, &box, true);
        return false;
    }
    if (scrolling) {
        // Meanwhile it shows the background, and not what has been scrolled away from there.
        desk_fill_waiting(message->window, window_table[window]->attributes.background);
        if (desk_paint_box(message->window, &box, true)) collect(window, box);
        return false;
    }
    if (desk_is_dragging()) return false; // it comes again
    if (!desk_paint_box(message->window, &box, true) || is_empty(box)) return false;
    fill_refresh(window, window_table[window], box, refresh);
    return true;
}

void window_was_moved(int window) {
    window_record* w = window_find(window);
    if (w == nullptr) return;
    w->paint_flags |= PAINT_MOVED;
    window_note_place(w);
}

void window_was_resized(int window) {
    window_record* w = window_find(window);
    if (w == nullptr) return;
    w->paint_flags |= PAINT_RESIZED;
    window_note_place(w);
}

int window_state_changed(int window) {
    window_record* w = window_find(window);
    if (w == nullptr || w->displayed == 0) return -1;
    const uint8_t collapsed = desk_state(w->handle) == host_state::minimised ? 1 : 0;
    if (w->collapsed == collapsed) return -1;
    w->collapsed = collapsed;
    return collapsed;
}

void main_window_sized(const desk_message* message) {
    if (message->state == host_state::minimised) return;
    // A maximised window has bars too when it is smaller than the space: without a window manager every size is called
    // maximised.
    if (message->state == host_state::maximised) maximising = false;
    follow_main_window();
    save_restore_move_in();
    window_move_popups_in();
    if (maximising) return;
    fit_bars();
}

void main_window_start_screen() {
    const canvas_box client = desk_client(desk_main());
    scroll_x = scroll_y = 0;
    fit_screen();
    told_width = screen_width;
    told_height = screen_height;
    fit_ranges(client.x2 - client.x1, client.y2 - client.y1);
}

void main_window_set_screen_hook(tools_screen_hook hook) {
    screen_hook = hook;
}

void main_window_check_screen() {
    if (settles_at == 0 || int32_t(host_now() - settles_at) < 0) {
        if (settles_at != 0) timer_arm_no_later(settles_at);
        return;
    }
    settles_at = 0;
    told_width = screen_width;
    told_height = screen_height;
    if (screen_hook != nullptr) screen_hook();
}

void main_window_maximising() {
    ranges[DESK_HORIZONTAL] = 0;
    ranges[DESK_VERTICAL] = 0;
    begin_scrolling();
    scroll_to(0, 0);
    end_scrolling();
    show_bars();
    maximising = true;
}

void main_window_scroll(const desk_message* message) {
    if (message->bar != DESK_HORIZONTAL && message->bar != DESK_VERTICAL) return;
    if (message->scroll == desk_scroll_kind::end) {
        end_scrolling();
        return;
    }
    begin_scrolling();
    if (message->bar == DESK_HORIZONTAL)
        scroll_to(scrolled_position(message, scroll_x), scroll_y);
    else
        scroll_to(scroll_x, scrolled_position(message, scroll_y));
    show_bars();
}

void main_window_reset_scroll() {
    scrolling = false;
    maximising = false;
    settles_at = 0;
    scroll_x = 0;
    scroll_y = 0;
    std::fill_n(ranges, 2, 0);
    std::fill_n(pages, 2, 0);
}
