// Save-restore areas: pop-ups that hold the pixels under them and vanish without a trace. The copies of window 0's
// record that they leave form a chain, the newest first.
//
// An area takes the mouse but isn't made the platform's active window: the caption that shows as active would change,
// and that would be a trace. Keys belong to no window in the layers above, so that they reach the program all the same.
#include "support/memory.h"
#include "tools/windata.h"

namespace {

bool mode = false;

// Makes the record describe the pop-up. What belongs to the number rather than to the platform's window stays.
void take_popup(window_record* w, desk_window* popup, canvas_box box, window_record* saved) {
    const int level = topmost_window != nullptr ? WINDOW_TOP_LEVEL : 0;
    window_init_record(w, box.x2 - box.x1, box.y2 - box.y1, level);
    w->motion_mask = saved->motion_mask;
    std::copy_n(saved->button_mode, 3, w->button_mode);
    w->sr_saved = saved;
    w->displayed = 1;
    window_take_handle(w, popup);
}

// Without memory the pop-up lives all the same; what it covered will have to be drawn again.
void save_pixels(window_record* w) {
    const int width = canvas_width(w->dc);
    const int height = canvas_height(w->dc);
    w->sr_bitmap = canvas_create(width, height);
    if (w->sr_bitmap != nullptr) canvas_copy(w->sr_bitmap, 0, 0, w->dc, {0, 0, width, height});
}

canvas_box whole(const canvas* c) {
    return {0, 0, canvas_width(c), canvas_height(c)};
}

// What waited to be painted before a pop-up went.
struct waiting_paint {
    bool any;
    canvas_box box;
};

// The window of a number when the pop-up will have gone.
desk_window* handle_below(int number, const window_record* below) {
    if (number == 0) return below->handle;
    return window_table[number] != nullptr ? window_table[number]->handle : nullptr;
}

void note_paints(waiting_paint* paints, const window_record* below) {
    for (int i = 0; i < WINDOW_COUNT; ++i) {
        desk_window* handle = handle_below(i, below);
        paints[i].any = handle != nullptr && desk_paint_box(handle, &paints[i].box, false);
    }
}

// Only that is asked for again.
void keep_paints(const waiting_paint* paints) {
    for (int i = 0; i < WINDOW_COUNT; ++i) {
        if (window_table[i] == nullptr) continue;
        desk_validate(window_table[i]->handle, nullptr);
        if (paints[i].any) desk_invalidate(window_table[i]->handle, &paints[i].box);
    }
}

// The main window's own pixels were wiped when the pop-up went.
void restore_main(window_record* w, const canvas* pixels, canvas_box place) {
    while (w->sr_saved != nullptr) // the main window's record is the last of the chain
        w = w->sr_saved;
    const canvas_box client = desk_client(w->handle);
    canvas_clear_clip(w->dc);
    canvas_copy(w->dc, place.x1 - client.x1, place.y1 - client.y1, pixels, whole(pixels));
    window_apply_clip(w);
    desk_validate(w->handle, nullptr);
}

// Ends the pop-up; the record below comes back with all that it owns.
void remove_popup(window_record* w, window_record* below) {
    const canvas_box place = desk_client(w->handle);
    canvas* pixels = w->sr_bitmap;
    w->sr_bitmap = nullptr;
    waiting_paint paints[WINDOW_COUNT] = {};
    note_paints(paints, below);
    if (topmost_window != nullptr) desk_raise(below->sr_saved != nullptr ? below->handle : topmost_window);
    desk_destroy(w->handle);
    window_free_record(w);
    *w = *below;
    mem_free(below);
    if (pixels == nullptr) return;
    keep_paints(paints);
    restore_main(w, pixels, place);
    canvas_destroy(pixels);
}

} // namespace

bool SR_area_is_up() {
    return window_table[0] != nullptr && window_table[0]->sr_saved != nullptr;
}

int Enter_SR(int /*screen*/, int /*flags*/, int* window) {
    if (window_table[0] == nullptr) return -1;
    tools_pump();
    if (window_table[0] == nullptr) return -1; // the main window went
    mode = true;
    *window = 0;
    return 0;
}

int Exit_SR(int window) {
    if (window != 0 || !mode || SR_area_is_up()) return -1;
    mode = false;
    return 0;
}

int Create_SR_area(int window, int x1, int y1, int x2, int y2) {
    window_record* w = window_table[0];
    if (window != 0 || !mode || w == nullptr) return -1;
    mem_guard<window_record> saved(mem_new<window_record>());
    if (!saved) return -1;
    const canvas_box box = window_moved_in(window_box(x1, y1, x2, y2));
    const uint32_t style = DESK_POPUP | (topmost_window != nullptr ? DESK_TOPMOST : 0);
    desk_window* popup = desk_create(style, 0, nullptr, box);
    if (popup == nullptr) return -1;
    *saved.get() = *w;
    take_popup(w, popup, box, saved.keep());
    desk_raise(popup);
    desk_show(popup);
    desk_validate(popup, nullptr);
    desk_set_capture(popup);
    save_pixels(w);
    return 0;
}

int Delete_SR_area(int window) {
    if (window != 0 || !SR_area_is_up()) return -1;
    window_record* w = window_table[0];
    window_record* below = w->sr_saved;
    if (w->sr_bitmap != nullptr) {
        canvas_clear_clip(w->dc);
        canvas_copy(w->dc, 0, 0, w->sr_bitmap, whole(w->sr_bitmap));
    }
    remove_popup(w, below);
    desk_set_capture(SR_area_is_up() ? w->handle : nullptr);
    tools_pump();
    return 0;
}

// Pixels that were kept belong to the old place. Without them what was covered is drawn again when the area goes.
void save_restore_move_in() {
    for (window_record* w = window_table[0]; w != nullptr && w->sr_saved != nullptr; w = w->sr_saved) {
        const canvas_box client = desk_client(w->handle);
        const canvas_box inside = window_moved_in(client);
        if (inside.x1 == client.x1 && inside.y1 == client.y1) continue;
        desk_place(w->handle, inside);
        for (window_record* all = window_table[0]; all->sr_saved != nullptr; all = all->sr_saved) {
            canvas_destroy(all->sr_bitmap);
            all->sr_bitmap = nullptr;
        }
    }
}

void save_restore_clear() {
    mode = false;
    window_record* w = window_table[0];
    while (w != nullptr && w->sr_saved != nullptr) {
        window_record* below = w->sr_saved;
        if (desk_main() != nullptr) desk_destroy(w->handle);
        window_free_record(w);
        *w = *below;
        mem_free(below);
    }
}
