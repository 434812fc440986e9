// Opening, leaving, and what concerns the display.
#include "desktop/commands.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/input.h"
#include "desktop/main.h"
#include "desktop/mainform.h"
#include "desktop/messages.h"
#include "desktop/palettelist.h"
#include "desktop/patternform.h"
#include "desktop/picker.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "desktop/recentform.h"
#include "desktop/selection.h"
#include "desktop/title.h"
#include "platform/files.h"
#include "platform/window/dialog.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/file_types.h"
#include "surface/paths.h"
#include "tools/colors.h"
#include "tools/events.h"
#include "tools/windows.h"
#include "view/highlight.h"
#include "view/viewdraw.h"

namespace {

constexpr const char* KEYS_HELP = "Ctrl+O  open an image\n"
                                  "Ctrl+S  save the picture\n"
                                  "Ctrl+Q  leave\n"
                                  "Ctrl+Z  undo\n"
                                  "Ctrl+Y, Ctrl+Shift+Z  redo\n"
                                  "a  apply what is chosen to the surface\n"
                                  "+  -  zoom in and out\n"
                                  "=  1  one to one\n"
                                  "b  zoom to a box\n"
                                  "f  fit the picture\n"
                                  "arrows, Page Up, Page Down, Home  move\n"
                                  "Escape, right click  next surface, or the end of a tool\n"
                                  "wheel  zoom at the pointer\n"
                                  "horizontal wheel  move the picture sideways\n"
                                  "middle button, Space or Ctrl, and drag  move the picture\n"
                                  "click beside all surfaces  let the surface go\n"
                                  "Tab, Shift+Tab  through the forms\n"
                                  "blank, Return  in a form: work a button, take a text or a row\n"
                                  "Escape  in a form: the keys go back to the picture\n"
                                  "F1  this list\n"
                                  "F11  the picture alone, and the forms again\n";
constexpr int OPEN_IMAGE = 155, OPEN_PALETTE = 165; // buttons of the main form
constexpr const char* IMAGE_FILTERS[] = {"Tinct Files (*.tnc)", "(*.tnc,*.rgP,*.rgbP)", "All Files (*)"};
constexpr const char* PALETTE_FILTERS[] = {"Tinct Pals (*.tnp)", "All Files (*)"};

int image_picker = 0;   // the running ones; 0: none
int palette_picker = 0; //
int changes_then = 0;   // changes_made when the user agreed that they may be lost

// Runs one opening between the two cursors. All that it tells comes in one box, which names the file.
int open_with(int (*open)(const char* path), const char* path) {
    messages_gather();
    all_busycursor();
    const int opened = open(path);
    all_defaultcursor();
    show_title();
    messages_tell(files_last_name(path));
    return opened;
}

int ask(bool changed, const char* question) {
    if (!changed) return 1;
    return dialog_message("Warning", question, dialog_icon::exclamation, dialog_buttons::ok_cancel) ? 1 : 0;
}

int load_palette(const char* path) {
    if (palette_book_load(&program_palette, path) == 0) return 0;
    palette_refresh();
    pattern_page_reload();
    selection_clear();
    main_form_show_palette();
    return 1;
}

// Opens with the current directory in front of a relative path.
int open_full(int (*open)(const char* path), const char* path) {
    char full[FILES_PATH_SIZE];
    const bool is_short = in_current_directory(path, full) && (files_exists(full) || !files_exists(path));
    return open_with(open, is_short && current_directory()[0] != '\0' ? full : path);
}

void remember_file(const char* path) {
    char full[FILES_PATH_SIZE];
    if (files_full_path(path, full, sizeof full)) recent_add_file(&remembered, full);
}

int open_asked_image(const char* path) {
    const int opened = open_full(image_open, path);
    if (opened == 0) return 0;
    remember_file(open_image.tnc_path);
    main_form_show_pen(NO_PEN);
    main_form_show_image();
    return opened;
}

// What a picker chose for a command that replaces something: asks once more when that has changed meanwhile.
void picked(void* user, char** files, const char* directory, const char* /*filter*/) {
    const bool is_image = user == &image_picker;
    if (directory != nullptr) set_current_directory(directory);
    if (files != nullptr && files[0] != nullptr) {
        char full[FILES_PATH_SIZE];
        const char* last = files[0];
        for (int i = 1; files[i] != nullptr; ++i)
            last = files[i];
        const char* path = directory != nullptr && files_join(directory, last, full, sizeof full) ? full : last;
        // Asked when the picker was opened; what has changed since then is asked about now.
        const bool is_agreed = changes_made == changes_then;
        if (is_image && (is_agreed || image_ask_discard() != 0)) open_asked_image(path);
        if (!is_image && (is_agreed || palette_ask_discard() != 0)) open_full(load_palette, path);
    }
    picked_files_free(files);
    *static_cast<int*>(user) = 0;
    main_form_release(is_image ? OPEN_IMAGE : OPEN_PALETTE);
}

} // namespace

int open_image_command(const char* path) {
    return image_ask_discard() != 0 ? open_asked_image(path) : 0;
}

int open_palette_command(const char* path) {
    return palette_ask_discard() != 0 ? open_full(load_palette, path) : 0;
}

void load_usual_palette() {
    const char* root = std::getenv(VARIABLE_ROOT);
    char path[FILES_PATH_SIZE];
    const int written = std::snprintf(path, sizeof path, "%s/palettes/tinct.tnp", root != nullptr ? root : "");
    if (root == nullptr || written < 0 || static_cast<size_t>(written) >= sizeof path || !files_exists(path)) return;
    if (palette_book_load(&program_palette, path) == 0) return;
    mem_free(program_palette.file);
    program_palette.file = nullptr;
    palette_refresh();
    pattern_page_reload();
}

void open_any_command(const char* path) {
    uint32_t classes = 0;
    const char* dot = std::strrchr(files_last_name(path), '.');
    file_type(path, &classes);
    if (dot != nullptr && std::strcmp(dot, ".sets") == 0)
        load_recipe(path);
    else if ((classes & (1u << 6)) != 0)
        open_palette_command(path);
    else if ((classes & TYPE_RASTER) != 0)
        pattern_add_command(path);
    else
        open_image_command(path);
}

void open_image_picker_command() {
    if (file_picker_is_open(image_picker)) {
        file_picker_close(image_picker, 0);
        return;
    }
    changes_then = changes_made;
    if (image_ask_discard() != 0)
        image_picker = file_picker_open("Open TNC File", current_directory(), PICK_NAMES_ONLY, IMAGE_FILTERS, 3, picked,
                                        &image_picker);
    if (image_picker == 0) main_form_release(OPEN_IMAGE);
}

void open_palette_picker_command() {
    if (file_picker_is_open(palette_picker)) {
        file_picker_close(palette_picker, 0);
        return;
    }
    changes_then = changes_made;
    if (palette_ask_discard() != 0)
        palette_picker =
            file_picker_open("Open Palette File", current_directory(), 0, PALETTE_FILTERS, 2, picked, &palette_picker);
    if (palette_picker == 0) main_form_release(OPEN_PALETTE);
}

void recent_command() {
    char path[FILES_PATH_SIZE];
    const recent_choice choice = recent_choose(path);
    if (choice == recent_choice::nothing_to_choose)
        log_message(LOG_INFO, "No other image has been opened yet.\n");
    else if (choice == recent_choice::chosen)
        open_image_command(path);
}

// ---- leaving -------------------------------------------------------------------------------------------------------

int image_ask_discard() {
    return ask(open_image.image_changed, "Discard image changes?");
}

int palette_ask_discard() {
    return ask(program_palette.changed, "Discard palette changes?");
}

int close_query() {
    return palette_ask_discard() != 0 && image_ask_discard() != 0 ? 1 : 0;
}

void exit_command() {
    if (close_query() == 0) return;
    program_palette.changed = false;
    image_mark_unchanged();
    file_pickers_cancel();
    quit_requested = true;
}

// ---- the display ---------------------------------------------------------------------------------------------------

void restart_display_command() {
    file_pickers_cancel();
    request_restart();
}

void set_display_gamma(double gamma) {
    remembered.gamma = std::clamp(gamma, GAMMA_LOW, GAMMA_HIGH);
    RGB_set_gamma(remembered.gamma);
    RGB_init(0, display_planes);
    pattern_blocks_drop();
    picture_draw();
    palette_list_paint();
    pattern_form_paint();
    main_form_show_pen(highlighted_pen);
}

void zoom_one_to_one() {
    view* v = &picture_view;
    if (open_image.picture == nullptr || v->window == NO_WINDOW) return;
    const view_point middle = view_point_at(v, v->x2 / 2, v->y2 / 2);
    v->zoom = 0;
    view_place(v, v->x2 / 2, v->y2 / 2, middle);
    view_keep_in_sight(open_image.picture, v);
    picture_draw();
}

void picture_alone_command() {
    if (forms_wanted) forms_close();
    forms_wanted = !forms_wanted;
    forms_create();
    picture_lay_out();
}

void show_keys_command() {
    log_message(LOG_INFO, "%s", KEYS_HELP);
}
