#include "desktop/picker.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "catalog/listing.h"
#include "catalog/places.h"
#include "desktop/appforms.h"
#include "desktop/formtexts.h"
#include "desktop/keyboard.h"
#include "desktop/modal.h"
#include "desktop/placeform.h"
#include "desktop/program.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/paths.h"
#include "tools/windows.h"

namespace {

constexpr const char* FORM_FILE = "filepick.frm";
constexpr int FORM_LABEL = 3;
constexpr int FILTERS_MAX = 15;
constexpr int ROWS_MAX = 32767; // of a list of the toolkit

enum : int {
    TREE = 11,
    FILE_LIST = 12,
    NAME = 13,
    MODE_TEXT = 15,
    TITLE = 16,
    DIRECTORY = 17,
    FILTER = 19,
    OK = 30,
    CANCEL = 31,
};
constexpr int REVIEW_COLOR = 1;
constexpr uint32_t LIST_ATTRIBUTES = 0x200 | 0x400; // a list that pops up, and goes when a row of it is chosen

enum class outcome { none, ok, cancel };

struct file_picker {
    int id;
    FI_form* form;
    outcome result;
    char filter[FILTER_TEXT_SIZE];
    bool directory_shown;
    char directory[FILES_PATH_SIZE];
    listing folders, files;
    char* name;   // owned: the typed or last chosen one, without its directory; null: none
    bool refused; // the text in the name field names no place, and blocks OK
    int flags;
    picker_done on_done;
    void* user;
    file_picker* next;
};
file_picker* pickers = nullptr; // the newest first
int last_id = 0;
bool history_is_read = false;

file_picker* find(const FI_form* form) {
    file_picker* p = pickers;
    while (p != nullptr && p->form != form)
        p = p->next;
    return p;
}

void set_name(file_picker* p, const char* name) {
    mem_free(p->name);
    p->name = name != nullptr && name[0] != '\0' ? mem_copy_text(name) : nullptr;
}

// ---- lists ---------------------------------------------------------------------------------------------------------

// Rows of a list while it isn't displayed: each would be drawn by itself.
template <typename F> void fill_list(FI_form* form, int label, int count, F text_of) {
    const int rows = std::min(count, ROWS_MAX);
    FIg_erase(form, label);
    FIfld_set_num_rows(form, label, 0);
    FIfld_set_num_rows(form, label, rows);
    for (int i = 0; i < rows; ++i) {
        char text[FILES_PATH_SIZE], latin1[FILES_PATH_SIZE];
        text_of(i, text);
        text_to_latin1(text, latin1, sizeof latin1);
        FIfld_set_text(form, label, i, 0, latin1, 0);
    }
    FIfld_set_active_row(form, label, 0, 0);
    FIg_display(form, label);
}

// The choices of a field that has a list.
template <typename F> void fill_choices(FI_form* form, int label, int count, F text_of) {
    int list = 0;
    if (FIfld_get_list_label(form, label, 0, &list) != FI_SUCCESS) return;
    FIfld_set_num_rows(form, list, 0);
    for (int i = 0; i < count; ++i) {
        char latin1[FILES_PATH_SIZE];
        text_to_latin1(text_of(i), latin1, sizeof latin1);
        FIfld_set_text(form, list, i, 0, latin1, 0);
    }
}

void show_tree(file_picker* p) {
    listing_read(&p->folders, p->directory, listing_kind::directories, nullptr);
    fill_list(p->form, TREE, tree_row_count(p->directory, &p->folders), [p](int row, char text[FILES_PATH_SIZE]) {
        tree_row_text(p->directory, &p->folders, row, text, FILES_PATH_SIZE);
    });
}

void show_files(file_picker* p) {
    file_filter* filter = nullptr;
    const int error = file_filter_new(p->filter, &filter);
    if (error != FILTER_OK) log_message(LOG_WARNING, "regexp error code = %d\n", error);
    if (!listing_read(&p->files, p->directory, listing_kind::files, filter))
        log_message(LOG_WARNING, "Could not allocate memory.");
    file_filter_free(filter);
    set_name(p, nullptr);
    form_set_text(p->form, NAME, "");
    fill_list(p->form, FILE_LIST, p->files.count, [p](int row, char text[FILES_PATH_SIZE]) {
        std::snprintf(text, FILES_PATH_SIZE, "%s", p->files.rows[row].shown);
    });
}

void show_history() {
    const directory_history* h = &remembered.directories;
    for (file_picker* p = pickers; p != nullptr; p = p->next)
        fill_choices(p->form, DIRECTORY, h->count, [h](int i) { return h->entries[i]; });
}

void enter_history(const file_picker* p) {
    directory_history_enter(&remembered.directories, p->directory);
    show_history();
}

void show_directory(file_picker* p, const char* directory) {
    char tidy[FILES_PATH_SIZE];
    if (!directory_tidy(directory, tidy)) return;
    if (p->directory_shown && std::strcmp(tidy, p->directory) == 0) return;
    std::memcpy(p->directory, tidy, sizeof tidy);
    form_set_text(p->form, DIRECTORY, tidy);
    show_tree(p);
    show_files(p);
    p->directory_shown = true;
}

// ---- texts ---------------------------------------------------------------------------------------------------------

void set_filter(file_picker* p, const char* text) {
    std::snprintf(p->filter, sizeof p->filter, "%.127s", text);
    form_set_text(p->form, FILTER, p->filter);
    show_files(p);
}

// False when the text names a place that isn't there.
bool enter_path(file_picker* p, const char* text) {
    entered_path entered;
    if (!path_enter(text, p->directory, &entered)) {
        log_message(LOG_WARNING, "The path \"%.200s\" is too long.\n", text);
        return false;
    }
    if (entered.misses_directory) log_message(LOG_WARNING, "%s is not a directory.\n", entered.missing);
    show_directory(p, entered.directory);
    if (entered.misses_directory) return false;
    if (is_wild(entered.file)) {
        char filter[FILTER_TEXT_SIZE];
        std::snprintf(filter, sizeof filter, "(%.125s)", entered.file);
        set_filter(p, filter);
        return true;
    }
    const int row = listing_find(&p->files, entered.file);
    set_name(p, row >= 0 ? p->files.rows[row].name : entered.file);
    form_set_text(p->form, NAME, entered.file);
    return true;
}

// Reads the name field, unless it still says what was chosen. False when it was refused: the text stays, and blocks.
bool take_name_field(file_picker* p) {
    char text[FORM_TEXT_SIZE], latin1[FORM_TEXT_SIZE], known[FORM_TEXT_SIZE];
    form_get_text(p->form, NAME, text);
    text_to_latin1(text, latin1, sizeof latin1);
    text_to_latin1(p->name != nullptr ? p->name : "", known, sizeof known);
    const int row = listing_find(&p->files, text);
    const bool is_known = std::strcmp(latin1, known) == 0 ||
                          (row >= 0 && p->name != nullptr && std::strcmp(p->files.rows[row].name, p->name) == 0);
    if (is_known && !p->refused) return true;
    if (text[0] == '\0') {
        set_name(p, nullptr);
        return true;
    }
    p->refused = !enter_path(p, text);
    if (p->refused) form_set_text(p->form, NAME, text);
    return !p->refused;
}

// ---- the result ----------------------------------------------------------------------------------------------------

bool add_file(char*** files, int* count, const file_picker* p, const char* name) {
    auto** larger = static_cast<char**>(mem_realloc(*files, (static_cast<size_t>(*count) + 2) * sizeof(char*)));
    if (larger == nullptr) return false;
    *files = larger;
    char path[FILES_PATH_SIZE];
    const bool is_bare = (p->flags & PICK_NAMES_ONLY) != 0;
    const int written = std::snprintf(path, sizeof path, "%s%s", is_bare ? "" : p->directory, name);
    const bool fits = written > 0 && static_cast<size_t>(written) < sizeof path;
    larger[*count] = fits ? mem_copy_text(path) : nullptr;
    larger[*count + 1] = nullptr;
    if (larger[*count] == nullptr) return false;
    ++*count;
    return true;
}

// The selected rows in their order, and behind them a typed name that is no row. Null with `good` false after a
// message.
char** chosen_files(file_picker* p, bool* good) {
    char** files = nullptr;
    int count = 0;
    bool name_is_in = false;
    *good = true;
    for (int row = 0; (p->flags & PICK_MULTIPLE) != 0 && *good && row < std::min(p->files.count, ROWS_MAX); ++row) {
        int select = 0;
        FIfld_get_select(p->form, FILE_LIST, row, 0, &select);
        if (select == 0) continue;
        const char* name = p->files.rows[row].name;
        if (p->name != nullptr && std::strcmp(name, p->name) == 0) name_is_in = true;
        *good = add_file(&files, &count, p, name);
    }
    if (*good && p->name != nullptr && !name_is_in) *good = add_file(&files, &count, p, p->name);
    if (*good) return files;
    picked_files_free(files);
    log_message(LOG_WARNING, "Could not allocate memory.");
    return nullptr;
}

void free_picker(file_picker* p) {
    listing_free(&p->folders);
    listing_free(&p->files);
    mem_free(p->name);
    mem_free(p);
}

void end_picker(file_picker* p) {
    file_picker** at = &pickers;
    while (*at != nullptr && *at != p)
        at = &(*at)->next;
    if (*at == nullptr) return;
    *at = p->next;
    bool good = true;
    char** files = p->result == outcome::ok ? chosen_files(p, &good) : nullptr;
    FIf_set_window_event_routine(p->form, nullptr);
    form_take_away(p->form);
    const bool is_ok = p->result == outcome::ok && good;
    p->on_done(p->user, files, is_ok ? p->directory : nullptr, is_ok ? p->filter : nullptr);
    free_picker(p);
}

// ---- gadgets -------------------------------------------------------------------------------------------------------

void tree_clicked(file_picker* p, int row) {
    char directory[FILES_PATH_SIZE];
    if (!tree_row_directory(p->directory, &p->folders, row, directory)) return;
    if (files_is_directory(directory)) show_directory(p, directory);
}

void file_clicked(file_picker* p, int row) {
    if (row < 0 || row >= p->files.count || (p->flags & PICK_DIRECTORY_MODE) != 0) return;
    int select = 0;
    FIfld_get_select(p->form, FILE_LIST, row, 0, &select);
    const listing_row* r = &p->files.rows[row];
    if (select != 0) {
        set_name(p, r->name);
        form_set_text(p->form, NAME, r->shown);
        enter_history(p);
    } else {
        char text[FORM_TEXT_SIZE];
        form_get_text(p->form, NAME, text);
        if (listing_find(&p->files, text) < 0) return; // a typed name that is no row stays
        set_name(p, nullptr);
        form_set_text(p->form, NAME, "");
    }
    p->refused = false;
}

void directory_typed(file_picker* p) {
    char text[FORM_TEXT_SIZE];
    form_get_text(p->form, DIRECTORY, text);
    entered_path entered;
    if (text[0] == '\0' || !path_enter(text, p->directory, &entered)) {
        form_set_text(p->form, DIRECTORY, p->directory);
        return;
    }
    const char* missing = entered.misses_directory ? entered.missing : entered.file;
    if (missing[0] != '\0') log_message(LOG_WARNING, "%s is not a directory.\n", missing);
    show_directory(p, entered.directory);
    form_set_text(p->form, DIRECTORY, p->directory);
}

void filter_typed(file_picker* p) {
    char text[FORM_TEXT_SIZE];
    form_get_text(p->form, FILTER, text);
    if (std::strcmp(text, p->filter) != 0) set_filter(p, text);
}

void press_ok(file_picker* p) {
    if (!take_name_field(p)) return;
    if ((p->flags & PICK_DIRECTORY_MODE) != 0) enter_history(p);
    p->result = outcome::ok;
}

void notify(int /*form_label*/, int gadget, double value, FI_form* form) {
    file_picker* p = find(form);
    if (p == nullptr) return;
    const int row = static_cast<int>(value + 0.1);
    all_busycursor();
    switch (gadget) {
    case TREE:
        if (!keyboard_passes()) tree_clicked(p, row);
        break;
    case FILE_LIST:
        if (!keyboard_passes()) file_clicked(p, row);
        break;
    case NAME: take_name_field(p); break;
    case DIRECTORY: directory_typed(p); break;
    case FILTER: filter_typed(p); break;
    case OK: press_ok(p); break;
    case CANCEL: p->result = outcome::cancel; break;
    default: break;
    }
    all_defaultcursor();
    if (p->result != outcome::none) end_picker(p);
}

// A picker whose window the user has closed is cancelled.
void form_event(int /*label*/, int code, FI_form* form) {
    file_picker* p = find(form);
    if (code == FI_DELETED_EVENT && p != nullptr) {
        p->result = outcome::cancel;
        end_picker(p);
    }
}

// ---- opening -------------------------------------------------------------------------------------------------------

// To begin with: the working directory, where the last picker ended, and what is remembered or listed in a file.
void read_history(const char* working_directory) {
    if (history_is_read) return;
    history_is_read = true;
    directory_history* h = &remembered.directories;
    directory_history_read(h, "dir_hist.txt");
    if (remembered.directory != nullptr) directory_history_enter(h, remembered.directory);
    directory_history_enter(h, working_directory);
}

void set_up(file_picker* p, const char* title, const char* directory, const char* const* filters, int filter_count) {
    form_show_text(p->form, TITLE, title);
    for (const int label : {DIRECTORY, FILTER})
        FIfld_set_attr(p->form, label, 0, LIST_ATTRIBUTES);
    if ((p->flags & PICK_MULTIPLE) != 0) FIfld_set_mode(p->form, FILE_LIST, 0, FI_MULTI_SELECT);
    if ((p->flags & PICK_DIRECTORY_MODE) != 0) {
        FIfld_set_mode(p->form, FILE_LIST, 0, FI_REVIEW);
        FIfld_set_mode(p->form, NAME, 0, FI_REVIEW);
        FIg_set_off_color(p->form, MODE_TEXT, REVIEW_COLOR);
    }
    if ((p->flags & PICK_SAVE_RESTORE) != 0) FIf_set_attr(p->form, FI_SAVE_RESTORE);
    const char* kept[FILTERS_MAX];
    int count = 0;
    for (int i = 0; i < filter_count && count < FILTERS_MAX; ++i)
        if (i == 0 || std::strcmp(filters[i], filters[0]) != 0) kept[count++] = filters[i];
    fill_choices(p->form, FILTER, count, [&kept](int i) { return kept[i]; });
    std::snprintf(p->filter, sizeof p->filter, "%s", count > 0 ? kept[0] : "(*)");
    form_set_text(p->form, FILTER, p->filter);
    char start[FILES_PATH_SIZE] = "\\";
    files_working_directory(start, sizeof start);
    directory_tidy(start, p->directory);
    read_history(p->directory);
    entered_path entered;
    if (path_enter(directory, p->directory, &entered)) {
        show_directory(p, entered.directory);
        // A directory that has vanished chooses nothing.
        const size_t length = std::strlen(directory);
        const bool is_directory = length > 0 && (directory[length - 1] == '\\' || directory[length - 1] == '/');
        if (entered.file[0] != '\0' && !entered.misses_directory && !is_directory) enter_path(p, entered.file);
    } else {
        show_directory(p, p->directory);
    }
}

} // namespace

int file_picker_open(const char* title, const char* directory, int flags, const char* const* filters, int filter_count,
                     picker_done on_done, void* user) {
    auto* p = mem_new<file_picker>();
    if (p == nullptr) return 0;
    all_busycursor();
    if (!form_load(FORM_LABEL, FORM_FILE, notify, &p->form)) {
        all_defaultcursor();
        mem_free(p);
        return 0;
    }
    p->id = ++last_id;
    p->flags = flags;
    p->on_done = on_done;
    p->user = user;
    place_form(p->form, PLACE_CENTERED);
    set_up(p, title, directory, filters, filter_count);
    p->next = pickers;
    pickers = p;
    show_history();
    keyboard_join(p->form, (flags & PICK_DIRECTORY_MODE) != 0 ? TREE : FILE_LIST);
    const int status = FIf_display(p->form);
    FIf_set_window_event_routine(p->form, form_event);
    all_defaultcursor();
    if (status == FI_SUCCESS) {
        keyboard_follow(p->form);
        return p->id;
    }
    form_failed(FORM_FILE, "FIf_display", status);
    pickers = p->next;
    FIf_set_window_event_routine(p->form, nullptr);
    FIf_delete(p->form);
    free_picker(p);
    return 0;
}

namespace {

// What a modal picker leaves.
struct run_result {
    bool done;
    char** files;
    char* directory; // the caller's buffers, may be null
    char* filter;
};

void run_done(void* user, char** files, const char* directory, const char* filter) {
    auto* r = static_cast<run_result*>(user);
    r->done = true;
    r->files = files;
    if (r->directory != nullptr)
        std::snprintf(r->directory, FILES_PATH_SIZE, "%s", directory != nullptr ? directory : "");
    if (r->filter != nullptr) std::snprintf(r->filter, FILES_PATH_SIZE, "%s", filter != nullptr ? filter : "");
}

} // namespace

char** file_picker_run(const char* title, const char* directory, int flags, const char* const* filters,
                       int filter_count, char* out_directory, char* out_filter) {
    run_result r = {false, nullptr, out_directory, out_filter};
    run_done(&r, nullptr, nullptr, nullptr);
    r.done = false;
    const int id = file_picker_open(title, directory, flags, filters, filter_count, run_done, &r);
    if (id == 0) return nullptr;
    modal_loop(
        pickers->form, [](void* user) { return static_cast<run_result*>(user)->done; }, &r, OK, CANCEL);
    if (!r.done) file_picker_close(id, 0);
    return r.files;
}

void file_picker_close(int id, int ok) {
    file_picker* p = pickers;
    while (p != nullptr && p->id != id)
        p = p->next;
    if (p == nullptr) return;
    p->result = ok != 0 ? outcome::ok : outcome::cancel;
    end_picker(p);
}

void file_pickers_cancel() {
    while (pickers != nullptr)
        file_picker_close(pickers->id, 0);
}

void file_pickers_end() {
    file_pickers_cancel();
    history_is_read = false;
}

bool file_picker_is_up() {
    return pickers != nullptr;
}

bool file_picker_take_key(const FI_form* form, int key) {
    constexpr int CONTROL_C = 3;
    const file_picker* p = form != nullptr ? find(form) : pickers;
    if (p == nullptr) return false;
    switch (key) {
    case KEY_TAB:
    case KEY_BACK_TAB: keyboard_enter(p->form); return true;
    case KEY_RETURN: press_gadget(p->form, OK); return true;
    case KEY_ESCAPE:
    case CONTROL_C: press_gadget(p->form, CANCEL); return true;
    default: return false;
    }
}

bool file_picker_is_open(int id) {
    for (const file_picker* p = pickers; p != nullptr; p = p->next)
        if (p->id == id) return true;
    return false;
}

void picked_files_free(char** files) {
    for (char** file = files; file != nullptr && *file != nullptr; ++file)
        mem_free(*file);
    mem_free(files);
}
