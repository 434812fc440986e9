// Start and end of the toolkit.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "forms/array.h"
#include "forms/colors.h"
#include "forms/env.h"
#include "forms/fields.h"
#include "forms/fonts.h"
#include "forms/forms.h"
#include "forms/ops.h"
#include "forms/paths.h"
#include "forms/symbols.h"
#include "support/memory.h"
#include "tools/events.h"

fi_state_record fi_state = {};

namespace {

constexpr const char* ROOT_VARIABLE = "VANTORAMA";
constexpr const char* USUAL_ROOT = "/vantor";
constexpr int HAS_COLORS = 0x02;
constexpr int TRUE_COLOR = 0x01;
constexpr int FEW_PLANES = 5;
constexpr int MAX_COLORS = 256;
constexpr int USUAL_SIZE = 15; // of the two fonts that gadgets fall back on

void take_root() {
    const char* root = std::getenv(ROOT_VARIABLE);
    std::snprintf(fi_state.root_dir, sizeof fi_state.root_dir, "%s", root != nullptr ? root : USUAL_ROOT);
}

bool make_tables() {
    if (!fi_resize(&fi_state.forms, FI_FORM_SLOTS)) return false;
    std::fill_n(fi_state.forms, FI_FORM_SLOTS, nullptr);
    fi_state.form_slots = FI_FORM_SLOTS;
    fi_state.sr_window = -1;
    return true;
}

void take_keyboard() {
    void* buffer = nullptr;
    int size = 0;
    if (Inq_keyboard_buffer(&buffer, &size) == 0) return;
    Set_keyboard_buffer(fi_state.own_keyboard, FI_KEYBOARD_SIZE);
}

// A root directory that is too long for an entry is found through root_dir only.
int set_usual_paths() {
    char path[FILES_PATH_SIZE];
    int status = FI_SUCCESS;
    if (fi_join_path(path, fi_state.root_dir, "vantor")) status = FI_set_symbol_path(path);
    if (status != FI_NO_MEMORY && fi_join_path(path, fi_state.root_dir, "fonts")) status = FI_set_font_path(path);
    return status == FI_NO_MEMORY ? status : FI_SUCCESS;
}

int current_screen() {
    int screen = 0;
    fi_graphic.Inq_displayed_vs(&screen);
    return screen >= 0 && screen < FI_COLOR_MAPS ? screen : 0;
}

void take_size(const int32_t* record) {
    fi_state.screen_width = record[FI_SCREEN_WIDTH];
    fi_state.screen_height = record[FI_SCREEN_HEIGHT];
}

void take_screens() {
    for (auto& record : fi_state.screens)
        record[FI_SCREEN_NUMBER] = -1;
    const int status = fi_graphic.Inq_screen_info(fi_state.screens);
    const int32_t* record = fi_state.screens[current_screen()];
    fi_state.no_display = status != 0 || record[FI_SCREEN_NUMBER] < 0 || record[FI_SCREEN_PLANES] < 1;
    take_size(record);
    fi_state.double_flush = record[FI_SCREEN_PLANES] <= FEW_PLANES;
    fi_state.true_color = (record[FI_SCREEN_FLAGS] & TRUE_COLOR) != 0;
}

void build_color_maps() {
    color_entry palette[MAX_COLORS];
    for (int screen = 0; screen < FI_COLOR_MAPS; ++screen) {
        const int32_t* record = fi_state.screens[screen];
        if (record[FI_SCREEN_NUMBER] < 0 || (record[FI_SCREEN_FLAGS] & HAS_COLORS) == 0) continue;
        const int count = record[FI_SCREEN_COLORS] < MAX_COLORS ? record[FI_SCREEN_COLORS] : MAX_COLORS;
        if (Read_colors(screen, palette, count, 0) == 0) fi_build_color_map(screen, palette, count);
    }
}

void load_usual_fonts() {
    int size = 0;
    uint32_t id = 0;
    fi_load_font("mono821", USUAL_SIZE, &size, &id);
    fi_load_font("dutch801", USUAL_SIZE, &size, &id);
}

} // namespace

void fi_take_screen_size() {
    int32_t records[FI_SCREENS][FI_SCREEN_WORDS];
    if (fi_state.no_display || fi_graphic.Inq_screen_info(records) != 0) return;
    const int32_t* record = records[current_screen()];
    if (record[FI_SCREEN_NUMBER] >= 0) take_size(record);
}

int FI_enter() {
    take_root();
    if (fi_state.entered) return FI_SUCCESS;
    if (!make_tables()) return FI_NO_MEMORY;
    take_keyboard();
    if (set_usual_paths() != FI_SUCCESS) {
        FI_leave();
        return FI_NO_MEMORY;
    }
    take_screens();
    if (!fi_state.no_display) {
        build_color_maps();
        load_usual_fonts();
    }
    fi_state.entered = true;
    return FI_SUCCESS;
}

void FI_leave() {
    while (fi_state.sr_depth > 0)
        FIf_delete(fi_state.sr_forms[fi_state.sr_depth]);
    for (int i = 0; i < fi_state.form_slots; ++i)
        if (fi_state.forms[i] != nullptr) FIf_delete(fi_state.forms[i]);
    fi_fields_leave();
    fi_free_fonts();
    fi_free_symbol_files();
    fi_free_path_list(&fi_state.font_path);
    fi_free_path_list(&fi_state.symbol_path);
    fi_free_path_list(&fi_state.form_path);
    mem_free(fi_state.forms);
    void* buffer = nullptr;
    int size = 0;
    if (Inq_keyboard_buffer(&buffer, &size) == 0 && buffer == fi_state.own_keyboard) Set_keyboard_buffer(nullptr, 0);
    fi_state = {};
    fi_env_reset();
}
