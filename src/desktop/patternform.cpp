#include "desktop/patternform.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "desktop/appforms.h"
#include "desktop/colorbarmenu.h"
#include "desktop/commands.h"
#include "desktop/formtexts.h"
#include "desktop/keyboard.h"
#include "desktop/mainform.h"
#include "desktop/palettelist.h"
#include "desktop/patterncells.h"
#include "desktop/picker.h"
#include "desktop/program.h"
#include "desktop/region.h"
#include "desktop/searchforms.h"
#include "desktop/selection.h"
#include "forms/forms.h"
#include "support/checked.h"
#include "support/log.h"
#include "surface/raster_image.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/windows.h"

namespace {

constexpr int FORM_LABEL = 2;
constexpr const char* FORM_FILE = "pat.frm";
constexpr const char* WINDOW_TITLE = "Color/Pattern"; // below its icon
constexpr double BYTE_UNIT = 0.00392156862745098;

// Its gadgets.
enum : int {
    FIRST_CELL = 11,
    FIRST_NAME = 29,
    NEXT_PAGE = 50,
    PREVIOUS_PAGE = 51,
    ROTATION = 52,
    MIRROR = 53,
    SIZE = 54,
    REPEATS = 56,
    BARS = 100,
    RED = 108,
    GREEN = 110,
    BLUE = 112,
    BYTE_VALUES = 113,
    COLOR_NAME = 114,
    ADD = 115,
    SHOWN_SIDE = 200,
    LIVE = 201,
    COLOR_GROUP = 300,
    PATTERN_GROUP = 301,
};

constexpr const char* PATTERN_FILTERS[] = {
    "All Raster Files    (*.rgb,*.tif,*.bmp,*.tga,*.cot,*.gif,*.jpg,*.pcx,*.pat,*.dxf)",
    "(*.rgb)",
    "(*.tif)",
    "(*.bmp)",
    "(*.tga)",
    "(*.cot)",
    "(*.gif)",
    "(*.jpg)",
    "(*.pcx)",
    "(*.pat)",
    "(*.dxf)",
    "All files (*)"};

FI_form* form = nullptr;
color_bar_menu* bars = nullptr;
int bars_region = -1;
bool patterns_shown = false;
bool byte_values = false;
int first_pattern = 0;
char color_name[FORM_TEXT_SIZE] = ""; // while the form isn't up
int pattern_picker = 0;
int picked_index = 0; // of the pattern that the picker's first file is for

int window_of_form() {
    int window = -1;
    FIf_get_window(form, &window);
    return window;
}

struct box {
    int x, y, width, height;
};

box place_of(int gadget) {
    box b = {0, 0, 0, 0};
    FIg_get_location(form, gadget, &b.x, &b.y);
    FIg_get_size(form, gadget, &b.width, &b.height);
    return b;
}

// ---- numbers -------------------------------------------------------------------------------------------------------

constexpr const char* NUMBER_FORMAT = "%6g";

void show_number(int gadget, double value) {
    char text[64];
    std::snprintf(text, sizeof text, NUMBER_FORMAT, value);
    form_set_text(form, gadget, text);
}

// Whether the field shows this number: it was left as it was. The number may have more digits than are shown.
bool shows_number(int gadget, double value) {
    char text[64], shown[FORM_TEXT_SIZE];
    std::snprintf(text, sizeof text, NUMBER_FORMAT, value);
    form_get_text(form, gadget, shown);
    return std::strcmp(text, shown) == 0;
}

void show_placement() {
    show_number(ROTATION, chosen.rotation);
    show_number(SIZE, chosen.size);
    show_number(REPEATS, chosen.repeats);
    FIg_set_state(form, MIRROR, chosen.mirror ? 1 : 0);
}

void show_channel(int gadget, double value) {
    char text[32];
    if (byte_values)
        std::snprintf(text, sizeof text, "%d", clamped(static_cast<int>(value * 255.0), 0, 255));
    else
        std::snprintf(text, sizeof text, "%.6f", clamped(value, 0.0, 1.0));
    form_set_text(form, gadget, text);
}

void show_channels() {
    show_channel(RED, chosen.red);
    show_channel(GREEN, chosen.green);
    show_channel(BLUE, chosen.blue);
}

// The number in a field. False when it is none, or out of its range; `is_empty` for a field without text.
bool read_number(int gadget, const char* format, double low, double high, double* value, bool* is_empty) {
    char text[FORM_TEXT_SIZE];
    char more = 0;
    form_get_text(form, gadget, text);
    *is_empty = text[std::strspn(text, " ")] == '\0';
    if (std::sscanf(text, format, value, &more) != 1) return false; // NOLINT
    return *value >= low && *value <= high;
}

double placement_of(int gadget) {
    if (gadget == ROTATION) return chosen.rotation;
    return gadget == SIZE ? chosen.size : chosen.repeats;
}

void placement_typed(int gadget) {
    if (shows_number(gadget, placement_of(gadget))) return;
    double value = 0.0;
    bool is_empty = false;
    const double low = gadget == ROTATION ? 0.0 : SIZE_LOW;
    const double high = gadget == ROTATION ? ROTATION_HIGH : SIZE_HIGH;
    const bool is_good = read_number(gadget, "%lf %c", low, high, &value, &is_empty);
    if (!is_good && !is_empty) log_message(LOG_WARNING, "Value must be between %g and %g\n", low, high);
    if (is_good && gadget == ROTATION) chosen.rotation = value;
    if (is_good && gadget == SIZE) {
        chosen.size = value;
        chosen.repeats = 1.0 / value;
    }
    if (is_good && gadget == REPEATS) {
        chosen.repeats = value;
        chosen.size = 1.0 / value;
    }
    show_placement();
    if (!is_good || chosen.kind != selection_kind::pattern) return;
    live_change();
}

double* channel_of(int gadget) {
    if (gadget == RED) return &chosen.red;
    return gadget == GREEN ? &chosen.green : &chosen.blue;
}

void channel_typed(int gadget) {
    char before[FORM_TEXT_SIZE];
    char after[FORM_TEXT_SIZE];
    double value = 0.0;
    bool is_empty = false;
    form_get_text(form, gadget, before);
    show_channel(gadget, *channel_of(gadget));
    form_get_text(form, gadget, after);
    if (std::strcmp(before, after) == 0) return; // left as it was
    form_set_text(form, gadget, before);
    const bool is_good = read_number(gadget, "%lf %c", 0.0, byte_values ? 255.0 : 1.0, &value, &is_empty) &&
                         (!byte_values || value == static_cast<int>(value));
    if (!is_good) {
        show_channel(gadget, *channel_of(gadget));
        return;
    }
    *channel_of(gadget) = byte_values ? value * BYTE_UNIT : value;
    color_select(chosen.red, chosen.green, chosen.blue);
    color_form_set(chosen.red, chosen.green, chosen.blue, nullptr);
    live_change();
}

// ---- the bars ------------------------------------------------------------------------------------------------------

void bar_moved(double red, double green, double blue) {
    color_select(red, green, blue);
    show_channels();
    live_show();
}

void press_on_bars(void* /*argument*/) {
    int x = 0, y = 0, transition = 0;
    if (Get_button_data(nullptr, &x, &y, nullptr, &transition, nullptr) != 0 || bars == nullptr) return;
    live_begin();
    color_bar_click(bars, x, y, transition != TRANS_CLICK, {bar_moved, live_go_on});
    live_end();
}

void close_bars() {
    if (bars == nullptr) return;
    color_bar_free(bars);
    bars = nullptr;
    region_remove(bars_region);
    bars_region = -1;
    FIg_erase(form, COLOR_GROUP);
}

// Inside the gadget's frame; the height of the bars is a multiple of 3 plus 1.
box bars_place() {
    box b = place_of(BARS);
    b = {b.x + 3, b.y + 3, b.width - 6, b.height - 6};
    b.height -= (b.height - 1) % 3;
    return b;
}

void show_bars() {
    cells_hide();
    if (patterns_shown) FIg_erase(form, PATTERN_GROUP);
    patterns_shown = false;
    color_bar_free(bars);
    region_remove(bars_region);
    FIg_display(form, COLOR_GROUP);
    const box b = bars_place();
    const int window = window_of_form();
    bars = color_bar_create(window, b.x, b.y, b.width, b.height, chosen.red, chosen.green, chosen.blue);
    bars_region = region_add(window, b.x, b.y, b.x + b.width - 1, b.y + b.height - 1, press_on_bars, nullptr);
    show_channels();
}

// ---- the page of cells ---------------------------------------------------------------------------------------------

// The cells of the page are being shown, which may ask for a search path; and they are to be shown again after it.
bool is_filling = false, is_asked_again = false;

void show_page() {
    is_asked_again = is_filling;
    if (is_filling) return;
    close_bars();
    if (!patterns_shown) FIg_display(form, PATTERN_GROUP);
    patterns_shown = true;
    show_placement();
    FIg_enable(form, NEXT_PAGE);
    form_enable(form, PREVIOUS_PAGE, first_pattern != 0);
    search_path_ask_once_begin();
    is_filling = true;
    do {
        is_asked_again = false;
        cells_show(first_pattern);
    } while (is_asked_again);
    is_filling = false;
    search_path_ask_once_end();
}

void turn_page(int first) {
    if (first == first_pattern) return;
    first_pattern = first;
    show_page();
}

// Puts a file at an index of the palette. False after a message.
bool set_pattern(int index, const char* path) {
    char full[FILES_PATH_SIZE];
    if (!in_current_directory(path, full)) return false;
    if (palette_book_set_pattern(&program_palette, index, files_exists(full) ? full : path) != 0) return false;
    ++changes_made;
    cells_forget_pattern(index);
    return true;
}

void patterns_picked(void* /*user*/, char** files, const char* directory, const char* /*filter*/) {
    pattern_picker = 0;
    if (directory != nullptr) set_current_directory(directory);
    // The first takes the cell's place, the others follow at the end.
    int index = picked_index;
    for (char** file = files; file != nullptr && *file != nullptr; ++file) {
        char full[FILES_PATH_SIZE];
        if (!files_join(directory, *file, full, sizeof full)) continue;
        if (set_pattern(index, full)) index = program_palette.patterns.count;
    }
    picked_files_free(files);
    if (form != nullptr && patterns_shown) show_page();
}

void name_started(int /*form_label*/, int gadget, double /*value*/, FI_form* /*f*/) {
    if (gadget < FIRST_NAME || gadget >= FIRST_NAME + PAGE_CELLS || file_picker_is_open(pattern_picker)) return;
    if (keyboard_last() == KEY_TAB || keyboard_last() == KEY_BACK_TAB) return; // passing by; a name can be typed
    picked_index = std::min(first_pattern + gadget - FIRST_NAME, program_palette.patterns.count);
    pattern_picker = file_picker_open("Select Pattern Files", current_directory(), PICK_MULTIPLE | PICK_NAMES_ONLY,
                                      PATTERN_FILTERS, 12, patterns_picked, nullptr);
}

void name_typed(int gadget) {
    const int index = first_pattern + gadget - FIRST_NAME;
    const bool is_there = index < program_palette.patterns.count;
    char text[FORM_TEXT_SIZE];
    form_get_text(form, gadget, text);
    const char* name = is_there ? program_palette.patterns.entries[index].name : "";
    if (text[0] == '\0' || std::strcmp(text, name) == 0 || !set_pattern(index, text)) {
        form_set_text(form, gadget, name);
        if (is_there && keyboard_last() == KEY_RETURN && std::strcmp(text, name) == 0) cells_pick(gadget - FIRST_NAME);
        return;
    }
    show_page();
}

// ---- the form ------------------------------------------------------------------------------------------------------

void add_color() {
    char name[FORM_TEXT_SIZE];
    form_get_text(form, COLOR_NAME, name);
    palette_typed_name(name);
    const int before = program_palette.colors.count;
    const int index = palette_book_add(&program_palette, name, chosen.red, chosen.green, chosen.blue);
    if (index < 0) return;
    if (program_palette.changed) ++changes_made;
    if (program_palette.colors.count > before || palette_list_is_shown()) palette_list_changed(index);
    main_form_show_chosen(palette_shown_name(program_palette.colors.entries[index]));
}

void notify(int /*form_label*/, int gadget, double /*value*/, FI_form* /*f*/) {
    int state = 0;
    FIg_get_state(form, gadget, &state);
    all_busycursor();
    switch (gadget) {
    case SHOWN_SIDE: state != 0 ? show_page() : show_bars(); break;
    case LIVE: live_changes = state != 0; break;
    case NEXT_PAGE: turn_page(page_next(first_pattern, program_palette.patterns.count)); break;
    case PREVIOUS_PAGE: turn_page(page_previous(first_pattern)); break;
    case ROTATION:
    case SIZE:
    case REPEATS: placement_typed(gadget); break;
    case MIRROR:
        chosen.mirror = state != 0;
        if (chosen.kind == selection_kind::pattern) live_change();
        break;
    case RED:
    case GREEN:
    case BLUE: channel_typed(gadget); break;
    case BYTE_VALUES:
        byte_values = state != 0;
        show_channels();
        break;
    case ADD: add_color(); break;
    default:
        if (gadget >= FIRST_NAME && gadget < FIRST_NAME + PAGE_CELLS) name_typed(gadget);
    }
    all_defaultcursor();
}

void form_event(int /*label*/, int code, FI_form* /*f*/) {
    switch (code) {
    case FI_COLLAPSED_EVENT:
        Set_win_title(window_of_form(), WINDOW_TITLE);
        close_bars();
        break;
    case FI_REFRESHED_EVENT: pattern_form_paint(); break;
    case FI_RESIZED_EVENT:
        cells_lay_out(form, FIRST_CELL, FIRST_NAME);
        pattern_form_paint();
        break;
    default: break;
    }
}

} // namespace

int pattern_form_create(int /*own_window*/, int* window, int /*screen_w*/, int /*screen_h*/) {
    if (form == nullptr && !form_load(FORM_LABEL, FORM_FILE, notify, &form)) return 0;
    form_fit_screen(form);
    FIf_set_initial_notification_routine(form, name_started);
    keyboard_join(form, SHOWN_SIDE);
    FIg_erase(form, COLOR_GROUP);
    FIg_erase(form, PATTERN_GROUP);
    if (!form_display(form, FORM_FILE)) return 0;
    FIf_get_window(form, window);
    Set_win_title(*window, WINDOW_TITLE);
    FIf_set_window_event_routine(form, form_event);
    cells_lay_out(form, FIRST_CELL, FIRST_NAME);
    FIg_set_state(form, SHOWN_SIDE, patterns_shown ? 1 : 0);
    FIg_set_state(form, LIVE, live_changes ? 1 : 0);
    FIg_set_state(form, BYTE_VALUES, byte_values ? 1 : 0);
    form_set_text(form, COLOR_NAME, color_name);
    if (patterns_shown) {
        patterns_shown = false;
        show_page();
    } else {
        show_bars();
    }
    return 1;
}

void pattern_form_close() {
    if (form == nullptr) return;
    form_get_text(form, COLOR_NAME, color_name);
    color_bar_free(bars);
    bars = nullptr;
    region_remove(bars_region);
    bars_region = -1;
    cells_hide();
    cells_forget();
    FIf_set_window_event_routine(form, nullptr);
    FIf_delete(form);
    form = nullptr;
}

void pattern_form_end() {
    pattern_form_close();
    patterns_shown = byte_values = live_changes = false;
    first_pattern = 0;
    color_name[0] = '\0';
}

FI_form* pattern_form() {
    return form;
}

void pattern_form_paint() {
    if (form == nullptr) return;
    if (patterns_shown)
        show_page();
    else
        show_bars();
}

void color_form_set(double red, double green, double blue, const char* name) {
    if (form == nullptr) return;
    cells_mark(-1);
    if (name != nullptr) form_set_text(form, COLOR_NAME, name);
    if (bars == nullptr) return;
    color_bar_set(bars, red, green, blue);
    show_channels();
}

void pattern_form_show_chosen() {
    if (form == nullptr) return;
    cells_mark(chosen.kind == selection_kind::pattern ? chosen.pattern : -1);
}

void pattern_page_reload() {
    first_pattern = 0;
    cells_forget();
    if (form != nullptr && patterns_shown) show_page();
}

void pattern_blocks_drop() {
    cells_forget();
}

void pattern_picker_cancel() {
    file_picker_close(pattern_picker, 0);
}

void pattern_add_command(const char* path) {
    const int index = program_palette.patterns.count;
    // What can't be read is told, and is no pattern.
    raster_image* corner = load_image(path, 1, 1);
    raster_image_free(corner);
    if (corner == nullptr || !set_pattern(index, path)) return;
    pattern_select(index);
    if (form == nullptr) return;
    FIg_set_state(form, SHOWN_SIDE, 1);
    first_pattern = index / PAGE_CELLS * PAGE_CELLS;
    show_page();
}
