// Keys, wheel and dropped files.
#include "desktop/input.h"

#include <algorithm>

#include "desktop/commands.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "support/log.h"
#include "support/memory.h"
#include "tools/events.h"
#include "tools/windows.h"
#include "view/viewtools.h"

namespace {

constexpr int PAN_PART = 4;         // of the viewport that an arrow key moves by
constexpr int WHEEL_STEPS_MAX = 16; // that are taken at once, however many have come while the program was busy

// What has been noted.
struct noticed {
    int wheel;  // steps, positive: nearer
    char* path; // of a dropped file; owned
};
noticed waiting = {0, nullptr};

void notice_drop(const char* path) {
    char* copy = mem_copy_text(path);
    if (copy == nullptr) return;
    mem_free(waiting.path);
    waiting.path = copy;
}

void zoom_by_wheel() {
    const int steps = std::clamp(waiting.wheel, -WHEEL_STEPS_MAX, WHEEL_STEPS_MAX);
    waiting.wheel = 0;
    if (steps == 0) return;
    int window = 0, x = 0, y = 0, inside = 0;
    Mouse_win_position(&window, &x, &y, &inside);
    if (window == picture_view.window && inside != 0) wheel_zoom(&picture_view, x, y, steps);
}

void open_dropped() {
    char* path = waiting.path;
    waiting.path = nullptr;
    if (path == nullptr) return;
    open_image_command(path);
    mem_free(path);
}

// A quarter of the viewport in the given direction.
void pan(int right, int down) {
    view* v = &picture_view;
    const int dx = (v->x2 - v->x1 + 1) / PAN_PART;
    const int dy = (v->y2 - v->y1 + 1) / PAN_PART;
    tool_pan(v, (v->x1 + v->x2) / 2 + right * dx, (v->y1 + v->y2) / 2 + down * dy);
}

// One step about the middle, unless no step back would be possible from there.
void step(view_tool tool, int32_t zoom_limit) {
    view* v = &picture_view;
    if (v->zoom != zoom_limit) tool(v, (v->x1 + v->x2) / 2, (v->y1 + v->y2) / 2);
}

void press_key(uint8_t key) {
    switch (key) {
    case '+': step(tool_zoom_in, VIEW_ZOOM_STEP_MAX); break;
    case '-': step(tool_zoom_out, -VIEW_ZOOM_STEP_MAX); break;
    case 'b': tool_set(tool_zoom_box, NO_GADGET); break;
    case 'f': tool_fit(&picture_view, 0, 0); break;
    case KEY_LEFT: pan(-1, 0); break;
    case KEY_RIGHT: pan(1, 0); break;
    case KEY_UP: pan(0, -1); break;
    case KEY_DOWN: pan(0, 1); break;
    default: break;
    }
}

} // namespace

void input_notice(const desk_message* message) {
    if (message->kind == desk_kind::wheel) waiting.wheel += static_cast<int>(message->value);
    if (message->kind == desk_kind::drop) notice_drop(message->text);
    Post_user_data(0);
}

void input_user_event() {
    Get_user_data(nullptr);
    if (!forms_up) return;
    zoom_by_wheel();
    open_dropped();
}

void input_key() {
    int count = 0;
    if (Get_keyboard_data(&count) != 0 || !forms_up) return;
    for (int i = 0; i < count; ++i)
        press_key(static_cast<uint8_t>(keyboard_buffer[i]));
}

void input_reset() {
    mem_free(waiting.path);
    waiting = {0, nullptr};
}
