#include "desktop/recentform.h"

#include <algorithm>
#include <cstdio>

#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/builtform.h"
#include "desktop/formtexts.h"
#include "desktop/keyboard.h"
#include "desktop/modal.h"
#include "desktop/program.h"

namespace {

constexpr int FORM_LABEL = 915, WIDTH = 560, HEIGHT = 276;

enum : int { OPEN = 1, CANCEL = 4, ROWS = 15 };

constexpr built_gadget GADGETS[] = {
    {FI_TEXT, 11, 20, 12, 25, 34, "Recent images", nullptr, FONT_TEXT, 18, 0, 0, 0},
    {FI_FIELD, ROWS, 20, 44, 516, 224, "", nullptr, FONT_FIELD, 15, 0, 0, 0},
    {FI_BUTTON, OPEN, 340, 234, 436, 264, "Open", nullptr, FONT_TEXT, 15, 0, FI_TEXT_GADGET, 0},
    {FI_BUTTON, CANCEL, 444, 234, 540, 264, "Cancel", nullptr, FONT_TEXT, 15, 0, FI_TEXT_GADGET, 0},
};

struct recent_list {
    int files[RECENT_FILES]; // their places in what is remembered
    int count;
    int marked; // row
    bool is_over, is_chosen;
};
recent_list list = {};

void find_files() {
    list = {};
    for (int i = 0; i < remembered.file_count; ++i) {
        const char* path = remembered.files[i];
        const bool is_open = open_image.tnc_path != nullptr && files_is_same(path, open_image.tnc_path);
        if (!is_open && files_exists(path)) list.files[list.count++] = i;
    }
}

void end(FI_form* form, bool is_chosen) {
    list.is_over = true;
    list.is_chosen = is_chosen;
    modal_end(form);
}

void notify(int /*form_label*/, int gadget, double value, FI_form* form) {
    const int row = static_cast<int>(value + 0.1);
    if (gadget == CANCEL) end(form, false);
    if (gadget == OPEN) end(form, true);
    if (gadget != ROWS || keyboard_passes() || row < 0 || row >= list.count) return;
    list.marked = row;
    end(form, true);
}

// The name first: a directory may be longer than the row.
void fill_rows(FI_form* form) {
    for (int i = 0; i < list.count; ++i) {
        const char* path = remembered.files[list.files[i]];
        const char* name = files_last_name(path);
        char text[FORM_TEXT_SIZE], latin1[FORM_TEXT_SIZE];
        std::snprintf(text, sizeof text, "%-24s %.*s", name, static_cast<int>(name - path), path);
        text_to_latin1(text, latin1, sizeof latin1);
        FIfld_set_text(form, ROWS, i, 0, latin1, i == list.marked ? 1 : 0);
    }
    FIg_display(form, ROWS);
}

bool is_over(void* /*user*/) {
    return list.is_over;
}

} // namespace

recent_choice recent_choose(char path[FILES_PATH_SIZE]) {
    find_files();
    if (list.count == 0) return recent_choice::nothing_to_choose;
    FI_form* form = nullptr;
    constexpr int gadgets = static_cast<int>(sizeof GADGETS / sizeof GADGETS[0]);
    int status = build_form(FORM_LABEL, WIDTH, HEIGHT, GADGETS, gadgets, notify, &form);
    if (status != FI_SUCCESS) {
        form_failed("recent images", "FIf_new", status);
        return recent_choice::cancelled;
    }
    FIf_set_collapse_symbol(form, "collapse.icon", 0);
    FIfld_set_mode(form, ROWS, 0, FI_SINGLE_SELECT);
    FIfld_set_max_num_chars(form, ROWS, 0, 0);
    status = FIf_display(form);
    if (status == FI_SUCCESS) {
        fill_rows(form);
        modal_loop(form, is_over, nullptr, OPEN, CANCEL);
    } else {
        form_failed("recent images", "FIf_display", status);
    }
    form_take_away(form);
    if (!list.is_chosen) return recent_choice::cancelled;
    std::snprintf(path, FILES_PATH_SIZE, "%s", remembered.files[list.files[list.marked]]);
    return recent_choice::chosen;
}
