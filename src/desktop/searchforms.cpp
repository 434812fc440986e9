#include "desktop/searchforms.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "desktop/builtform.h"
#include "desktop/formtexts.h"
#include "desktop/keyboard.h"
#include "desktop/modal.h"
#include "desktop/picker.h"
#include "surface/pathedit.h"
#include "surface/paths.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"

namespace {

constexpr int QUESTION_LABEL = 912, QUESTION_WIDTH = 400, QUESTION_HEIGHT = 168;
constexpr int EDITOR_LABEL = 914, EDITOR_WIDTH = 598, EDITOR_HEIGHT = 400;
constexpr int YES = 15, NO = 16;

enum : int {
    ACCEPT = 1,
    CANCEL = 4,
    TITLE = 11,
    DIRECTORY = 13,
    BROWSE = 14,
    ROWS = 15,
    ADD = 16,
    DELETE_ROW = 17,
    MOVE_UP = 18,
    MOVE_DOWN = 19,
};
constexpr int OPEN = -1;

constexpr built_gadget QUESTION[] = {
    {FI_TEXT, 11, 20, 14, 25, 36, "WARNING", nullptr, FONT_TEXT, 18, 0, 0, 0},
    {FI_TEXT, 12, 20, 46, 25, 60, "", nullptr, FONT_TEXT, 12, 0, 0, 0},
    {FI_TEXT, 13, 20, 68, 25, 82, "", nullptr, FONT_TEXT, 12, 0, 0, 0},
    {FI_TEXT, 14, 20, 90, 25, 104, "", nullptr, FONT_TEXT, 12, 0, 0, 0},
    {FI_BUTTON, YES, 190, 124, 280, 154, "Yes", nullptr, FONT_TEXT, 15, 0, FI_TEXT_GADGET, 0},
    {FI_BUTTON, NO, 290, 124, 380, 154, "No", nullptr, FONT_TEXT, 15, 0, FI_TEXT_GADGET, 0},
};

constexpr built_gadget EDITOR[] = {
    {FI_TEXT, TITLE, 295, 15, 300, 37, "", nullptr, FONT_TEXT, 18, 0, 0, 0},
    {FI_TEXT, 12, 15, 45, 100, 63, "Directory", nullptr, FONT_TEXT, 15, 0, 0, 0},
    {FI_FIELD, DIRECTORY, 105, 45, 513, 63, "", nullptr, FONT_FIELD, 15, 0, 0, 0},
    {FI_BUTTON, BROWSE, 520, 45, 580, 63, "browse", nullptr, FONT_TEXT, 12, 0, FI_TEXT_GADGET, 0},
    {FI_FIELD, ROWS, 105, 75, 513, 345, "", nullptr, FONT_FIELD, 15, 0, 0, 0},
    {FI_BUTTON, ADD, 104, 357, 204, 382, "Add", nullptr, FONT_TEXT, 15, 0, FI_TEXT_GADGET, 0},
    {FI_BUTTON, DELETE_ROW, 214, 357, 314, 382, "Delete", nullptr, FONT_TEXT, 15, 0, FI_TEXT_GADGET, 0},
    {FI_BUTTON, MOVE_UP, 324, 357, 424, 382, "Move Up", nullptr, FONT_TEXT, 15, 0, FI_TEXT_GADGET, 0},
    {FI_BUTTON, MOVE_DOWN, 434, 357, 534, 382, "Move Down", nullptr, FONT_TEXT, 15, 0, FI_TEXT_GADGET, 0},
    {FI_BUTTON, ACCEPT, 563, 5, 593, 35, nullptr, nullptr, FONT_SYMBOLS, 15, 11, 0, 0},
    {FI_BUTTON, CANCEL, 533, 5, 563, 35, nullptr, nullptr, FONT_SYMBOLS, 15, 8, 0, 0},
};

constexpr const char* BROWSE_FILTERS[] = {"All Files (*.*)"};

int answer = OPEN;
bool asks_once = false;
bool has_refused = false;

bool is_answered(void* /*user*/) {
    return answer != OPEN;
}

void give_answer(FI_form* form, int given) {
    answer = given;
    modal_end(form);
}

// ---- the question --------------------------------------------------------------------------------------------------

void question_notify(int /*form_label*/, int gadget, double /*value*/, FI_form* form) {
    if (gadget == YES || gadget == NO) give_answer(form, gadget == YES ? 1 : 0);
}

void set_line(FI_form* form, int label, const char* format, const char* word) {
    char text[FILES_PATH_SIZE + 64], latin1[FILES_PATH_SIZE + 64];
    std::snprintf(text, sizeof text, format, word); // NOLINT: the formats are this file's
    text_to_latin1(text, latin1, sizeof latin1);
    FIg_set_text(form, label, latin1);
}

int run_question(const char* file, const char* kind) {
    FI_form* form = nullptr;
    int status = build_form(QUESTION_LABEL, QUESTION_WIDTH, QUESTION_HEIGHT, QUESTION,
                            static_cast<int>(sizeof QUESTION / sizeof QUESTION[0]), question_notify, &form);
    if (status != FI_SUCCESS) {
        std::fprintf(stderr, "error in FIf_new = %d\n", status);
        return 0;
    }
    FIf_set_collapse_symbol(form, "collapse.icon", 0);
    set_line(form, 12, "The following %s cannot be found:", kind);
    set_line(form, 13, "%s", file);
    set_line(form, 14, "Do you wish to modify the %s search path?", kind);
    answer = OPEN;
    if (FIf_display(form) == FI_SUCCESS) modal_loop(form, is_answered, nullptr, YES, NO, KEY_DELETE);
    form_take_away(form);
    return answer == 1 ? 1 : 0;
}

// ---- the editor ----------------------------------------------------------------------------------------------------

struct path_editor {
    FI_form* form;
    path_rows rows;
    int selected; // -1: none
};
path_editor editor = {};

void show_rows() {
    FIfld_set_num_rows(editor.form, ROWS, 0);
    for (int i = 0; i < editor.rows.count; ++i) {
        char latin1[FILES_PATH_SIZE];
        text_to_latin1(editor.rows.rows[i], latin1, sizeof latin1);
        FIfld_set_text(editor.form, ROWS, i, 0, latin1, i == editor.selected ? 1 : 0);
    }
    if (editor.selected >= 0) FIfld_set_active_row(editor.form, ROWS, editor.selected, -1);
    FIg_display(editor.form, ROWS);
}

void show_selected() {
    form_set_text(editor.form, DIRECTORY, editor.selected >= 0 ? editor.rows.rows[editor.selected] : "");
}

void select_row(int row) {
    editor.selected = row;
    show_rows();
    show_selected();
}

void add_row() {
    char text[FORM_TEXT_SIZE];
    form_get_text(editor.form, DIRECTORY, text);
    if (text[0] == '\0') return;
    if (path_rows_add(&editor.rows, text))
        select_row(editor.rows.count - 1);
    else
        Beep(1);
}

void browse() {
    char directory[FILES_PATH_SIZE];
    picked_files_free(
        file_picker_run("Browse", "", PICK_SAVE_RESTORE | PICK_DIRECTORY_MODE, BROWSE_FILTERS, 1, directory, nullptr));
    if (directory[0] != '\0') form_set_text(editor.form, DIRECTORY, directory);
}

// A text that was typed over the chosen row counts, when the path is accepted.
void take_typed() {
    char text[FORM_TEXT_SIZE];
    form_get_text(editor.form, DIRECTORY, text);
    if (text[0] == '\0') return;
    if (editor.selected < 0)
        path_rows_add(&editor.rows, text);
    else if (std::strcmp(text, editor.rows.rows[editor.selected]) != 0)
        path_rows_set(&editor.rows, editor.selected, text);
}

void editor_notify(int /*form_label*/, int gadget, double value, FI_form* form) {
    const int row = static_cast<int>(value + 0.1);
    switch (gadget) {
    case ACCEPT:
        take_typed();
        give_answer(form, 1);
        break;
    case CANCEL: give_answer(form, 0); break;
    case BROWSE: browse(); break;
    case ROWS:
        if (!keyboard_passes() && row >= 0 && row < editor.rows.count) select_row(row);
        break;
    case ADD: add_row(); break;
    case DELETE_ROW: select_row(path_rows_delete(&editor.rows, editor.selected)); break;
    case MOVE_UP: select_row(path_rows_move(&editor.rows, editor.selected, -1)); break;
    case MOVE_DOWN: select_row(path_rows_move(&editor.rows, editor.selected, 1)); break;
    default: break;
    }
}

int store_rows(const char* variable) {
    char value[SEARCH_PATH_SIZE + 1];
    path_rows_join(&editor.rows, value, sizeof value);
    search_path_store(variable, value);
    return 1;
}

} // namespace

int search_path_edit(const char* variable, const char* kind) {
    editor = {nullptr, {nullptr, 0}, -1};
    const char* value = std::getenv(variable);
    if (!path_rows_read(&editor.rows, value != nullptr ? value : "")) return -1;
    const int status = build_form(EDITOR_LABEL, EDITOR_WIDTH, EDITOR_HEIGHT, EDITOR,
                                  static_cast<int>(sizeof EDITOR / sizeof EDITOR[0]), editor_notify, &editor.form);
    if (status != FI_SUCCESS) {
        std::fprintf(stderr, "error in FIf_new = %d\n", status);
        path_rows_free(&editor.rows);
        return -1;
    }
    char title[128];
    std::snprintf(title, sizeof title, "Edit %c%.60s Search Path", kind[0] >= 'a' ? kind[0] - 32 : kind[0],
                  kind[0] != '\0' ? kind + 1 : "");
    FIg_set_justification(editor.form, TITLE, FI_CENTER);
    FIg_set_text(editor.form, TITLE, title);
    for (const int label : {BROWSE, ADD, DELETE_ROW, MOVE_UP, MOVE_DOWN})
        FIbtn_set_auto_pop_up_on(editor.form, label);
    FIfld_set_mode(editor.form, ROWS, 0, FI_SINGLE_SELECT);
    FIfld_set_max_num_chars(editor.form, DIRECTORY, 0, 0);
    FIfld_set_max_num_chars(editor.form, ROWS, 0, 0);
    answer = OPEN;
    if (FIf_display(editor.form) == FI_SUCCESS) {
        show_rows();
        modal_loop(editor.form, is_answered, nullptr, ACCEPT, CANCEL, KEY_DELETE);
    }
    const int changed = answer == 1 ? store_rows(variable) : 0;
    form_take_away(editor.form);
    path_rows_free(&editor.rows);
    editor = {};
    return changed;
}

int search_path_ask(const char* file, const char* variable, const char* kind) {
    if (asks_once && has_refused) return 0;
    const bool agreed = run_question(file, kind) != 0 && search_path_edit(variable, kind) > 0;
    has_refused = !agreed;
    return agreed ? 1 : 0;
}

void search_path_ask_once_begin() {
    asks_once = true;
    has_refused = false;
}

void search_path_ask_once_end() {
    asks_once = false;
}
