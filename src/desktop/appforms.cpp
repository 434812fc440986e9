// All forms at once, and what the toolkit is given to translate colours and keys.
#include "desktop/appforms.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "desktop/input.h"
#include "desktop/mainform.h"
#include "desktop/patternform.h"
#include "desktop/program.h"
#include "forms/env.h"
#include "forms/forms.h"
#include "platform/files.h"
#include "support/log.h"
#include "surface/paths.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/windows.h"

namespace {

constexpr int OTHER_COLOR = 1;
constexpr const char* DEFAULT_ROOT = "/vantor";
constexpr const char* FORM_DIRECTORY = "tinct";

constexpr int TRANSLATES_COLORS = 1; // number of the toolkit's operation for the slot of a form's colour

int translate_color(int form_color) {
    static constexpr int logical[] = {1, 2, 3, 4, 5, 6, OTHER_COLOR, 8, 9, 10, OTHER_COLOR, 12, OTHER_COLOR, 14};
    constexpr int count = static_cast<int>(sizeof logical / sizeof logical[0]);
    return form_color >= 0 && form_color < count ? logical[form_color] : OTHER_COLOR;
}

int slot_of_color(int /*screen*/, int form_color) {
    return translate_color(form_color);
}

// Takes the oldest key event and copies its bytes. The buffer is the program's own, and the tools have just filled it.
int copy_keyboard_data(char* out, int size) {
    int count = 0;
    if (Get_keyboard_data(&count) != 0) return 0;
    count = std::clamp(count, 0, size);
    std::memcpy(out, keyboard_buffer, static_cast<size_t>(count));
    return count;
}

// What a key means to a text field: 1, a command of the toolkit's fields; 0, a character. Fields show what can be
// printed, so that the keys below 32 that aren't named here do nothing, and the signs of Latin-1 are typed as they are.
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
    const int status = FI_enter();
    if (status != FI_SUCCESS) return status;
    FI_modify_env(TRANSLATES_COLORS, reinterpret_cast<FI_routine>(slot_of_color));
    const char* root = std::getenv(VARIABLE_ROOT);
    if (root == nullptr) root = DEFAULT_ROOT;
    const size_t length = std::strlen(root);
    const bool ends = length > 0 && (root[length - 1] == '/' || root[length - 1] == '\\');
    char path[FILES_PATH_SIZE];
    std::snprintf(path, sizeof path, "%s%s%s", root, ends ? "" : "/", FORM_DIRECTORY);
    return FI_set_form_path(path);
}

void forms_end() {
    FI_leave();
}

int forms_create() {
    if (!forms_wanted) return 1;
    int window = 0;
    if (main_form_create(own_window, &window) == 0) return 0;
    return pattern_form_create(own_window, &window, screen_width, screen_height);
}

void forms_close() {
    pattern_form_close();
    main_form_close();
}

void forms_limits(int* x, int* y) {
    *x = screen_width + 1;
    *y = screen_height + 1;
    int other = 0;
    if (!forms_wanted) return;
    if (main_form() != nullptr) FIf_get_location(main_form(), x, &other);
    if (pattern_form() != nullptr) FIf_get_location(pattern_form(), &other, y);
}

int forms_process_event(uint32_t event) {
    return FI_process_event(event);
}

void form_failed(const char* form, const char* call, int status) {
    log_message(LOG_WARNING, "The form \"%s\" can not be shown: %s sts = %d\n", form, call, status);
}

bool form_load(int label, const char* file, FI_notification notify, FI_form** form) {
    const int status = FIf_new(label, file, notify, form);
    if (status == FI_SUCCESS) return true;
    *form = nullptr;
    form_failed(file, "FIf_new", status);
    return false;
}

bool form_display(FI_form* form, const char* file) {
    const int status = FIf_display(form);
    if (status != FI_SUCCESS) form_failed(file, "FIf_display", status);
    return status == FI_SUCCESS;
}

void form_enable(FI_form* form, int gadget, bool on) {
    if (on)
        FIg_enable(form, gadget);
    else
        FIg_disable(form, gadget);
}
