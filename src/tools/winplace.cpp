// Place, state and title of numbered windows, and what else is kept for each of them.
#include <cstring>

#include "tools/windata.h"

namespace {

bool is_main(const window_record* w) {
    return w->handle == desk_main();
}

int set_collapsed(int window, bool collapsed) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    w->collapsed = collapsed ? 1 : 0;
    if (w->displayed != 0) desk_set_state(w->handle, collapsed ? host_state::minimised : host_state::restored);
    return 0;
}

} // namespace

void window_note_place(window_record* w) {
    if (desk_state(w->handle) == host_state::restored)
        w->placed = window_moved_box(desk_client(w->handle), scroll_x, scroll_y); // screen -> logical coordinates
}

canvas_box window_moved_in(canvas_box client) {
    const canvas_box shown = desk_client(desk_main());
    client = window_moved_box(client, std::min(0, shown.x2 - client.x2), std::min(0, shown.y2 - client.y2));
    return window_moved_box(client, std::max(0, shown.x1 - client.x1), std::max(0, shown.y1 - client.y1));
}

void window_move_popups_in() {
    for (int i = 1; i < WINDOW_COUNT; ++i) {
        window_record* w = window_table[i];
        if (w == nullptr || w->level != WINDOW_TOP_LEVEL || desk_state(w->handle) != host_state::restored) continue;
        const canvas_box client = desk_client(w->handle);
        const canvas_box inside = window_moved_in(client);
        if (inside.x1 == client.x1 && inside.y1 == client.y1) continue;
        desk_place(w->handle, desk_outer_of(window_style(w->create_flags, w->level), inside));
        window_note_place(w);
    }
}

int Display_win(int window) {
    window_record* w = window_find(window);
    if (w == nullptr || w->displayed != 0) return -1;
    if (w->collapsed != 0) desk_set_state(w->handle, host_state::minimised);
    desk_raise(w->handle);
    desk_show(w->handle);
    desk_validate(w->handle, nullptr);
    w->displayed = 1;
    return 0;
}

int Modify_win(int window, int x1, int y1, int x2, int y2) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    if (is_main(w)) return 0; // its place is the user's
    canvas_box client = window_box(x1, y1, x2, y2);
    if ((w->create_flags & WINDOW_FREE) == 0) client = window_moved_box(client, -scroll_x, -scroll_y);
    if (w->level == WINDOW_TOP_LEVEL) client = window_moved_in(client);
    desk_place(w->handle, desk_outer_of(window_style(w->create_flags, w->level), client));
    w->placed = window_moved_box(client, scroll_x, scroll_y);
    desk_invalidate(w->handle, nullptr);
    return 0;
}

int Collapse_win(int window) {
    return set_collapsed(window, true);
}

int Uncollapse_win(int window) {
    return set_collapsed(window, false);
}

int Inq_win_collapse_stat(int window, int* state) {
    const window_record* w = window_find(window);
    if (w == nullptr) return -1;
    *state = w->collapsed;
    return 0;
}

int Inq_win_collapse_org(int window, int* x, int* y) {
    const window_record* w = window_find(window);
    if (w == nullptr) return -1;
    const canvas_point place = is_main(w) ? canvas_point{0, 0} : desk_icon_place(w->handle);
    *x = place.x;
    *y = place.y;
    return 0;
}

int Set_win_collapse_org(int window, int x, int y) {
    const window_record* w = window_find(window);
    if (w == nullptr) return -1;
    if (!is_main(w))
        desk_set_icon_place(w->handle, std::clamp(x, -1, std::max(screen_width, 0)),
                            std::clamp(y, -1, std::max(screen_height, 0)));
    return 0;
}

int Inq_win_region(int window, int* x1, int* y1, int* x2, int* y2) {
    const window_record* w = window_find(window);
    if (w == nullptr) return -1;
    canvas_box box = w->placed;
    if ((window & WINDOW_MASK) == 0)
        box = desk_client(w->handle);
    else if (desk_state(w->handle) != host_state::minimised)
        box = window_moved_box(desk_client(w->handle), scroll_x, scroll_y);
    *x1 = box.x1;
    *y1 = box.y1;
    *x2 = box.x2 - 1;
    *y2 = box.y2 - 1;
    return 0;
}

int Inq_win_vs(int window, int* screen) {
    if (window_find(window) == nullptr) return -1;
    *screen = 0;
    return 0;
}

int Set_win_sizes(int window, int min_width, int min_height, int max_width, int max_height) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    w->min_width = window_short(min_width);
    w->min_height = window_short(min_height);
    w->max_width = window_short(max_width);
    w->max_height = window_short(max_height);
    return 0;
}

int Set_win_sys_hdr(int window, int first, int second) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    w->sys_hdr_first = static_cast<uint16_t>(first);
    w->sys_hdr_second = static_cast<uint16_t>(second);
    return 0;
}

int Set_win_title(int window, const char* title) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    memset(w->title, 0, sizeof w->title);
    if (title != nullptr) strncpy(w->title, title, WINDOW_TITLE_SIZE - 1);
    desk_set_title(w->handle, w->title);
    return 0;
}

int Set_main_title(const char* title) {
    // While a save-restore area is up, window 0 isn't the main one.
    if (!SR_area_is_up()) return Set_win_title(0, title);
    if (desk_main() == nullptr) return -1;
    desk_set_title(desk_main(), title);
    return 0;
}

int Win_frame_width() {
    return desk_sizes()->frame_width;
}

int Win_frame_height() {
    return desk_sizes()->frame_height;
}

int Set_win_motion(int window, int mask) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    w->motion_mask = static_cast<uint16_t>(mask);
    return 0;
}

int Set_button_mode(int window, int button, int mode) {
    window_record* w = window_find(window);
    if (w == nullptr || button < 0 || button > 2 || mode < 0 || mode > 3) return -1;
    w->button_mode[button] = static_cast<uint8_t>(mode);
    return 0;
}

int Set_win_button_mode(int window, int mode) {
    for (int button = 0; button < 3; ++button)
        if (Set_button_mode(window, button, mode) != 0) return -1;
    return 0;
}
