#include "desktop/mainform.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "catalog/places.h"
#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/commands.h"
#include "desktop/directcolors.h"
#include "desktop/formtexts.h"
#include "desktop/input.h"
#include "desktop/keyboard.h"
#include "desktop/palettelist.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "desktop/selection.h"
#include "desktop/title.h"
#include "forms/forms.h"
#include "surface/patterncache.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/windows.h"
#include "view/highlight.h"
#include "view/pick.h"
#include "view/viewdraw.h"
#include "view/viewtools.h"

namespace {

constexpr int FORM_LABEL = 1;
constexpr const char* FORM_FILE = "tinct.frm";
constexpr const char* WINDOW_TITLE = "Tinct"; // below its icon

// Its gadgets.
enum : int {
    ZOOM_IN = 11,
    ZOOM_WINDOW = 12,
    FIT = 13,
    RESTART = 15,
    EXIT = 16,
    PAN = 22,
    APPLY = 23,
    PEN_FIELD = 32,
    NAME_FIELD = 52,
    ZOOM_OUT = 68,
    COLOR_LIST = 72,
    REBUILD = 80,
    DIRECTORY_FIELD = 144,
    SAVE_PICTURE = 151,
    IMAGE_FIELD = 154,
    OPEN_IMAGE = 155,
    SAVE_PALETTE = 161,
    PALETTE_FIELD = 164,
    OPEN_PALETTE = 165,
    RECENT = 170,
    KEYS = 171,
    ONE_TO_ONE = 172,
    GAMMA = 173,
    SWATCH = 174,
    STATUS = 175,
    UNDO = 176,
    REDO = 177,
    LOAD_RECIPE = 178,
    SAVE_RECIPE = 179,
};

FI_form* form = nullptr;
char directory[FILES_PATH_SIZE] = "";
char startup_directory[FILES_PATH_SIZE] = "";
int shown_pen = NO_PEN;
char shown_name[FORM_TEXT_SIZE] = ""; // in Latin-1

// ---- commands of gadgets -------------------------------------------------------------------------------------------

void set_tool(int gadget) {
    view_tool tool = tool_default;
    switch (gadget) {
    case ZOOM_IN: tool = tool_zoom_in; break;
    case ZOOM_OUT: tool = tool_zoom_out; break;
    case ZOOM_WINDOW: tool = tool_zoom_box; break;
    case FIT: tool = tool_fit; break;
    case PAN: tool = tool_pan; break;
    default: break;
    }
    tool_set(tool, gadget);
}

// A pen that the image has; what isn't gives back what was there. Leaving the field unchanged does nothing.
void pen_typed() {
    char text[FORM_TEXT_SIZE];
    form_get_text(form, PEN_FIELD, text);
    int pen = 0;
    char more = 0;
    const bool is_number = std::sscanf(text, "%d %c", &pen, &more) == 1; // NOLINT(cert-err34-c)
    const bool is_there = is_number && open_image.tnc != nullptr && pen_defined(open_image.tnc, pen) != 0;
    if (is_there && pen != shown_pen) set_pen(pen);
    main_form_show_pen(shown_pen);
}

void name_typed() {
    char text[FORM_TEXT_SIZE];
    form_get_text(form, NAME_FIELD, text);
    palette_name_typed(text);
}

void directory_typed() {
    char text[FORM_TEXT_SIZE], typed[FORM_TEXT_SIZE], shown[FORM_TEXT_SIZE];
    form_get_text(form, DIRECTORY_FIELD, text);
    text_to_latin1(text, typed, sizeof typed); // compared as they are shown: a name may hold what no field can
    text_to_latin1(directory, shown, sizeof shown);
    if (std::strcmp(typed, shown) != 0) set_current_directory(text);
}

// What has been typed and not yet left counts, too.
void apply_typed() {
    char text[FORM_TEXT_SIZE], latin1[FORM_TEXT_SIZE];
    pen_typed();
    form_get_text(form, NAME_FIELD, text);
    text_to_latin1(text, latin1, sizeof latin1);
    if (std::strcmp(latin1, shown_name) != 0) name_typed();
    apply_selection();
}

void list_clicked(double value) {
    const int row = static_cast<int>(value + 0.1);
    if (keyboard_passes() || !palette_list_is_shown() || row < 0) return;
    palette_select(row);
    FIfld_set_select(form, COLOR_LIST, row, 0, 0);
}

void notify(int /*form_label*/, int gadget, double value, FI_form* /*f*/) {
    all_busycursor();
    switch (gadget) {
    case ZOOM_IN:
    case ZOOM_OUT:
    case ZOOM_WINDOW:
    case FIT:
    case PAN: set_tool(gadget); break;
    case ONE_TO_ONE: zoom_one_to_one(); break;
    case RESTART: restart_display_command(); break;
    case EXIT: exit_command(); break;
    case APPLY: apply_typed(); break;
    case PEN_FIELD: pen_typed(); break;
    case NAME_FIELD: name_typed(); break;
    case COLOR_LIST: list_clicked(value); break;
    case REBUILD: palette_refresh(); break;
    case DIRECTORY_FIELD: directory_typed(); break;
    case SAVE_PICTURE: image_save_command(); break;
    case OPEN_IMAGE: open_image_picker_command(); break;
    case OPEN_PALETTE: open_palette_picker_command(); break;
    case SAVE_PALETTE: palette_save_command(); break;
    case RECENT: recent_command(); break;
    case KEYS: show_keys_command(); break;
    case GAMMA: set_display_gamma(value); break;
    case UNDO: undo_command(); break;
    case REDO: redo_command(); break;
    case LOAD_RECIPE: recipe_load_command(); break;
    case SAVE_RECIPE: recipe_save_command(); break;
    default: break;
    }
    all_defaultcursor();
}

// ---- showing -------------------------------------------------------------------------------------------------------

// The inside of the swatch: its corners, both of them in it, and its window; -1 when the form has none.
struct swatch_place {
    int window, x1, y1, x2, y2;
};

swatch_place place_of_swatch() {
    int x = 0, y = 0, width = 0, height = 0, window = -1;
    FIg_get_location(form, SWATCH, &x, &y);
    FIg_get_size(form, SWATCH, &width, &height);
    if (FIf_get_window(form, &window) != FI_SUCCESS) window = -1;
    return {window, x + 3, y + 3, x + width - 4, y + height - 4};
}

void fill_with_background(const swatch_place& s) {
    int color = 0;
    FIf_get_color(form, &color);
    form_fgcolor(s.window, program_form_hooks.color(color));
    rectf(s.window, s.x1, s.y1, s.x2, s.y2);
}

// A picture from its corner, made as small as lets all of its shorter side be seen.
void fill_with_picture(const swatch_place& s, const raster_image* image) {
    const int32_t width = s.x2 - s.x1 + 1, height = s.y2 - s.y1 + 1;
    const int32_t smaller = std::min(image->width / width, image->height / height);
    const int32_t larger =
        std::max((width + image->width - 1) / image->width, (height + image->height - 1) / image->height);
    const int32_t zoom = smaller > 1 ? -std::min(smaller, VIEW_ZOOM_MAX) : (larger > 1 ? larger : 0);
    const view v = {nullptr, 0, s.window, display_mask, s.x1, s.y1, s.x2, s.y2, 0, 0, zoom};
    view_draw(image, &v);
}

// What the chosen surface carries now, through the display gamma like the picture.
void show_swatch() {
    const swatch_place s = place_of_swatch();
    if (s.window < 0) return;
    const applique* a = shown_pen != NO_PEN ? open_image.appliques[shown_pen] : nullptr;
    const raster_image* pattern = a != nullptr && a->is_color == 0 ? pattern_look_up(a->file) : nullptr;
    if (pattern != nullptr)
        fill_with_picture(s, pattern);
    else if (a != nullptr && a->is_color != 0)
        color_ramp(s.window, s.x1, s.y1, {a->a0, a->a1, a->a2}, s.x2, s.y2, {a->a0, a->a1, a->a2});
    else
        fill_with_background(s);
}

void write_status(char* text, size_t size) {
    int place = 0;
    const int count = pick_count(&place);
    if (open_image.picture == nullptr)
        std::snprintf(text, size, "Open an image");
    else if (shown_pen == NO_PEN)
        std::snprintf(text, size, "Click a surface");
    else if (count > 1)
        std::snprintf(text, size, "Surface %d, %d of %d here", shown_pen, place + 1, count);
    else
        std::snprintf(text, size, "Surface %d", shown_pen);
}

void form_event(int /*label*/, int code, FI_form* /*f*/) {
    int window = -1;
    FIf_get_window(form, &window);
    switch (code) {
    case FI_COLLAPSED_EVENT: Set_win_title(window, WINDOW_TITLE); break;
    case FI_REFRESHED_EVENT:
    case FI_DRAWN_EVENT:
        show_swatch();
        palette_list_paint();
        break;
    case FI_RESIZED_EVENT: palette_list_lay_out(form, COLOR_LIST); break;
    default: break;
    }
}

} // namespace

int main_form_create(int /*own_window*/, int* window) {
    char start[FILES_PATH_SIZE];
    if (startup_directory[0] == '\0' && files_working_directory(start, sizeof start))
        directory_tidy(start, startup_directory);
    if (form == nullptr && !form_load(FORM_LABEL, FORM_FILE, notify, &form)) return 0;
    form_fit_screen(form);
    FIf_set_window_event_routine(form, form_event);
    keyboard_join(form, OPEN_IMAGE);
    if (!form_display(form, FORM_FILE)) return 0;
    FIf_get_window(form, window);
    Set_win_title(*window, WINDOW_TITLE);
    palette_list_lay_out(form, COLOR_LIST);
    if (directory[0] == '\0') std::memcpy(directory, startup_directory, sizeof directory);
    form_set_text(form, DIRECTORY_FIELD, directory);
    FIg_set_value(form, GAMMA, remembered.gamma);
    palette_refresh();
    main_form_show_palette();
    main_form_show_image();
    main_form_show_pen(shown_pen); // what was chosen before the form came up again
    FIfld_set_text(form, NAME_FIELD, 0, 0, shown_name, 0);
    if (tool_gadget != NO_GADGET) FIg_set_state_on(form, tool_gadget);
    return 1;
}

void main_form_close() {
    if (form == nullptr) return;
    palette_list_forget();
    FIf_delete(form);
    form = nullptr;
}

void main_form_end() {
    main_form_close();
    directory[0] = startup_directory[0] = shown_name[0] = '\0';
    shown_pen = NO_PEN;
}

FI_form* main_form() {
    return form;
}

void main_form_show_image() {
    if (form == nullptr) return;
    form_set_text(form, IMAGE_FIELD, open_image.tnc_path != nullptr ? files_last_name(open_image.tnc_path) : "");
    form_enable(form, UNDO, image_undo_count() > 0);
    form_enable(form, REDO, image_redo_count() > 0);
    form_enable(form, APPLY, open_image.picture != nullptr);
    form_enable(form, SAVE_PICTURE, open_image.picture != nullptr);
    show_swatch();
    main_form_show_status(nullptr);
}

void main_form_show_palette() {
    if (form == nullptr) return;
    const char* file = program_palette.file;
    form_set_text(form, PALETTE_FIELD, file != nullptr ? files_last_name(file) : "");
}

void main_form_show_chosen(const char* name) {
    text_to_latin1(name, shown_name, sizeof shown_name);
    if (form != nullptr) form_set_text(form, NAME_FIELD, name);
}

void main_form_show_pen(int pen) {
    shown_pen = pen;
    if (form == nullptr) return;
    char text[16] = "";
    if (pen != NO_PEN) std::snprintf(text, sizeof text, "%d", pen);
    form_set_text(form, PEN_FIELD, text);
    show_swatch();
    main_form_show_status(nullptr);
}

void main_form_show_status(const char* text) {
    if (form == nullptr) return;
    char status[128];
    if (text == nullptr) write_status(status, sizeof status);
    form_show_text(form, STATUS, text != nullptr ? text : status);
}

void main_form_release(int gadget) {
    if (form != nullptr && gadget != NO_GADGET) FIg_set_state_off(form, gadget);
}

bool main_form_pen(int* pen) {
    *pen = shown_pen;
    return shown_pen != NO_PEN;
}

const char* current_directory() {
    return directory;
}

void set_current_directory(const char* path) {
    char tidy[FILES_PATH_SIZE];
    char full[FILES_PATH_SIZE];
    const bool is_good = in_current_directory(path, full) && files_is_directory(full) && directory_tidy(full, tidy);
    std::memcpy(directory, is_good ? tidy : startup_directory, sizeof directory);
    if (form != nullptr) form_set_text(form, DIRECTORY_FIELD, directory);
    recent_set_directory(&remembered, directory);
}

bool in_current_directory(const char* path, char full[FILES_PATH_SIZE]) {
    return files_join(directory, path, full, FILES_PATH_SIZE);
}
