// Calls to the forms, minding empty slots; and what the toolkit is given to translate colours and keys.
#include "desktop/appforms.h"

#include <algorithm>
#include <cstring>

#include "desktop/input.h"
#include "desktop/program.h"
#include "surface/palette.h"
#include "tools/events.h"
#include "tools/windows.h"

app_forms forms = {};

namespace {

constexpr int OTHER_COLOR = 1;

int translate_color(int form_color) {
    static constexpr int logical[] = {1, 2, 3, 4, 5, 6, OTHER_COLOR, 8, 9, 10, OTHER_COLOR, 12, OTHER_COLOR, 14};
    constexpr int count = static_cast<int>(sizeof logical / sizeof logical[0]);
    return form_color >= 0 && form_color < count ? logical[form_color] : OTHER_COLOR;
}

// Takes the oldest key event and copies its bytes. The buffer is the program's own, and the tools have just filled it.
int copy_keyboard_data(char* out, int size) {
    int count = 0;
    if (Get_keyboard_data(&count) != 0) return 0;
    count = std::clamp(count, 0, size);
    std::memcpy(out, keyboard_buffer, static_cast<size_t>(count));
    return count;
}

// What a key means to a text field. Keys up to 25 that aren't named here end or leave a field, and stay unused.
int filter_key(int* key) {
    switch (*key) {
    case 127: *key = 8; return 1;
    case KEY_LEFT: *key = 2; return 1;
    case KEY_DOWN: *key = 14; return 1;
    case KEY_RIGHT: *key = 6; return 1;
    case KEY_UP: *key = 16; return 1;
    case 141: *key = 13; return 0;
    case 8:
    case 11:
    case 14:
    case 16:
    case 20:
    case 25: return 1;
    default: return *key >= 1 && *key <= 6 ? 1 : 0;
    }
}

} // namespace

const form_hooks program_form_hooks = {translate_color, copy_keyboard_data, filter_key};

int forms_start() {
    return forms.start != nullptr ? forms.start() : 0;
}

int forms_set_directory(const char* path) {
    return forms.set_directory != nullptr ? forms.set_directory(path) : 0;
}

void forms_set_hooks(bool true_color) {
    if (forms.set_hooks != nullptr) forms.set_hooks(&program_form_hooks, true_color);
}

int forms_create() {
    int window = 0;
    if (forms.main_create != nullptr && forms.main_create(own_window, &window) == 0) return 0;
    if (forms.pattern_create != nullptr && forms.pattern_create(own_window, &window) == 0) return 0;
    return 1;
}

void forms_close() {
    if (forms.pattern_close != nullptr) forms.pattern_close();
    if (forms.main_close != nullptr) forms.main_close();
}

void forms_limits(int* x, int* y) {
    *x = screen_width + 1;
    *y = screen_height + 1;
    int other = 0;
    if (forms.main_location != nullptr) forms.main_location(x, &other);
    if (forms.pattern_location != nullptr) forms.pattern_location(&other, y);
}

int forms_process_event(uint32_t event) {
    return forms.process_event != nullptr ? forms.process_event(event) : 0;
}

void forms_release_button(int gadget) {
    if (forms.release_button != nullptr) forms.release_button(gadget);
}

void forms_show_pen(int pen) {
    if (forms.show_pen != nullptr) forms.show_pen(pen);
}

void forms_palette_follow() {
    if (forms.palette_follow != nullptr) forms.palette_follow();
}

// Without a form the palette is loaded all the same, so that a file that can't be read is told.
int forms_palette_open(const char* path) {
    if (forms.palette_open != nullptr) return forms.palette_open(path);
    return load_palette_file(&program_colors, &program_patterns, path);
}

int forms_palette_ask_discard() {
    return forms.palette_ask_discard != nullptr ? forms.palette_ask_discard() : 1;
}
