// Keys, wheel, dropped files and another size of the screen.
#include "desktop/input.h"

#include <algorithm>

#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/commands.h"
#include "desktop/dispatch.h"
#include "desktop/keyboard.h"
#include "desktop/picker.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "support/log.h"
#include "support/memory.h"
#include "tools/events.h"
#include "tools/windows.h"
#include "view/viewtools.h"

namespace {

constexpr int PAN_PART = 4;         // of the viewport that an arrow key moves by
constexpr int WHEEL_PAN_PART = 16;  // the same for a step of the horizontal wheel
constexpr int WHEEL_STEPS_MAX = 16; // that are taken at once, however many have come while the program was busy

using key_command = void (*)();

// What has been noted.
struct noticed {
    char* path;  // of a dropped file; owned
    bool screen; // has another size
    key_command command;
};
noticed waiting = {nullptr, false, nullptr};

void notice_drop(const char* path) {
    char* copy = mem_copy_text(path);
    if (copy == nullptr) return;
    mem_free(waiting.path);
    waiting.path = copy;
}

void open_dropped() {
    char* path = waiting.path;
    waiting.path = nullptr;
    if (path == nullptr) return;
    open_any_command(path);
    mem_free(path);
}

// The forms and the picture take their places on the screen as it is now.
void lay_out() {
    if (!waiting.screen) return;
    waiting.screen = false;
    forms_close();
    forms_create();
    picture_lay_out();
}

void run_command() {
    const key_command command = waiting.command;
    waiting.command = nullptr;
    if (command != nullptr) command();
}

// A quarter of the viewport in the given direction.
void pan(int right, int down) {
    view* v = &picture_view;
    const int dx = (v->x2 - v->x1 + 1) / PAN_PART;
    const int dy = (v->y2 - v->y1 + 1) / PAN_PART;
    tool_pan(v, (v->x1 + v->x2) / 2 + right * dx, (v->y1 + v->y2) / 2 + down * dy);
}

// Steps of the horizontal wheel.
void pan_across(int steps) {
    view* v = &picture_view;
    const int middle = (v->x1 + v->x2) / 2;
    tool_pan(v, middle + steps * (v->x2 - v->x1 + 1) / WHEEL_PAN_PART, (v->y1 + v->y2) / 2);
}

// One step about the middle, unless no step back would be possible from there.
void step(view_tool tool, int32_t zoom_limit) {
    view* v = &picture_view;
    if (v->zoom != zoom_limit) tool(v, (v->x1 + v->x2) / 2, (v->y1 + v->y2) / 2);
}

void page(int down) {
    view* v = &picture_view;
    tool_pan(v, (v->x1 + v->x2) / 2, (v->y1 + v->y2) / 2 + down * (v->y2 - v->y1 + 1));
}

// The picture's top left corner.
void go_home() {
    view* v = &picture_view;
    if (open_image.picture == nullptr) return;
    v->origin_x = v->origin_y = 0;
    picture_draw();
}

struct shortcut {
    uint32_t character; // with Ctrl
    bool shifted;
    key_command command;
};
constexpr shortcut SHORTCUTS[] = {
    {'o', false, open_image_picker_command},
    {'s', false, [] { image_save_command(); }},
    {'q', false, exit_command},
    {'z', false, undo_command},
    {'z', true, redo_command},
    {'y', false, redo_command},
};

key_command command_of(const desk_message* message) {
    switch (message->key) {
    case host_key::f1: return show_keys_command;
    case host_key::f11: return picture_alone_command;
    case host_key::page_up: return [] { page(-1); };
    case host_key::page_down: return [] { page(1); };
    default: break;
    }
    const bool shifted = (message->modifiers & HOST_SHIFT) != 0;
    const uint32_t c = message->character;
    const uint32_t lower = c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c;
    for (const shortcut& s : SHORTCUTS)
        if ((message->modifiers & HOST_CTRL) != 0 && lower == s.character && shifted == s.shifted) return s.command;
    return nullptr;
}

void press_key(uint8_t key) {
    if (file_picker_take_key(nullptr, key)) {
        keys_turn_over();
        return;
    }
    switch (key) {
    case KEY_TAB:
    case KEY_BACK_TAB:
        keyboard_enter(nullptr);
        keys_turn_over();
        break;
    case 'a': apply_selection(); break;
    case '=':
    case '1': zoom_one_to_one(); break;
    case KEY_HOME: go_home(); break;
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
    if (message->kind == desk_kind::drop) notice_drop(message->text);
    Post_user_data(0);
}

void input_notice_screen() {
    waiting.screen = true;
    Post_user_data(0);
}

void input_user_event() {
    Get_user_data(nullptr);
    if (!forms_up) return;
    lay_out();
    open_dropped();
    run_command();
}

void input_wait_for_answer() {
    Get_user_data(nullptr);
    waiting.command = nullptr;
}

void input_resume() {
    if (waiting.screen || waiting.path != nullptr) Post_user_data(0);
}

bool input_notice_key(const desk_message* message) {
    const key_command command = command_of(message);
    if (command == nullptr) return false;
    waiting.command = command;
    Post_user_data(0);
    return true;
}

void input_wheel() {
    int window = 0, x = 0, y = 0, steps = 0, across = 0;
    if (Get_wheel_data(&window, &x, &y, &steps, &across, nullptr) != 0) return;
    if (!forms_up || window != picture_view.window) return;
    if (across != 0) pan_across(std::clamp(across, -WHEEL_STEPS_MAX, WHEEL_STEPS_MAX));
    if (steps != 0) wheel_zoom(&picture_view, x, y, std::clamp(steps, -WHEEL_STEPS_MAX, WHEEL_STEPS_MAX));
}

void input_key() {
    int count = 0;
    if (Get_keyboard_data(&count) != 0 || !forms_up) return;
    for (int i = 0; i < count; ++i)
        press_key(static_cast<uint8_t>(keyboard_buffer[i]));
}

void input_reset() {
    mem_free(waiting.path);
    waiting = {nullptr, false, nullptr};
}
