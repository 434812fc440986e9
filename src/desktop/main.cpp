// Start, main loop and end of the desktop program.
#include "desktop/main.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/arguments.h"
#include "desktop/input.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "output/impack.h"
#include "platform/files.h"
#include "platform/window/dialog.h"
#include "support/log.h"
#include "surface/paths.h"
#include "tools/colors.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"
#include "view/viewtools.h"

bool quit_requested = false;
bool forms_up = false;
int own_window = 0;
int32_t display_planes = 0;
uint32_t display_mask = 0;
char keyboard_buffer[KEYBOARD_BUFFER_SIZE] = {};
color_palette program_colors = {};
pattern_palette program_patterns = {};

namespace {

constexpr const char* OPTIONS = "p:f:";
constexpr int SCREEN_TRUE_COLOR = 256; // a bit of the screen record's flags
constexpr const char* DEFAULT_ROOT = "/vantor";
constexpr const char* FORM_DIRECTORY = "tinct";

// What the options name; null for nothing. They point into the expanded arguments.
struct start_files {
    const char* image;
    const char* palette;
};

start_files read_options(const argument_list* list) {
    start_files files = {nullptr, nullptr};
    reset_options();
    for (int letter; (letter = get_option(list->count, list->values, OPTIONS)) != -1;) {
        if (letter == 'f') files.image = get_option_argument();
        if (letter == 'p') files.palette = get_option_argument();
    }
    return files;
}

// ---- start --------------------------------------------------------------------------------------------------------

void read_screen() {
    int screen = 0;
    int status = 0;
    int32_t records[SCREEN_RECORDS][SCREEN_WORDS];
    Inq_displayed_vs(&screen);
    Inq_screen_status(screen, &status);
    Inq_screen_info(records);
    const int32_t* words = records[0];
    const bool is_true = (words[SCREEN_FLAGS] & SCREEN_TRUE_COLOR) != 0;
    own_window = 1;
    display_planes = is_true ? TRUE_COLOR_PLANES : words[SCREEN_PLANES];
    display_mask = (1u << display_planes) - 1;
}

void form_directory(char* path, size_t size) {
    const char* root = std::getenv(VARIABLE_ROOT);
    if (root == nullptr) root = DEFAULT_ROOT;
    const size_t length = std::strlen(root);
    const bool ends = length > 0 && (root[length - 1] == '/' || root[length - 1] == '\\');
    std::snprintf(path, size, "%s%s%s", root, ends ? "" : "/", FORM_DIRECTORY);
}

void open_start_files(const start_files* files) {
    all_busycursor();
    if (files->image != nullptr) image_open(files->image);
    if (files->palette != nullptr) forms_palette_open(files->palette);
    all_defaultcursor();
}

// Everything between the command line and the loop. False after a message.
bool start(const start_files* files) {
    if (Enter_tools() != 0) {
        log_message(LOG_ERROR, "Failed to Enter_tools.\n");
        return false;
    }
    show_title();
    all_busycursor();
    forms_start();
    read_screen();
    picture_watch_image();
    tools_set_close_query(close_query);
    tools_set_input_hook(input_notice);
    imp_set_pending_events(tools_pending_events);
    Enable_events(PROGRAM_EVENTS);
    Set_keyboard_buffer(keyboard_buffer, KEYBOARD_BUFFER_SIZE);
    tools_reset();
    all_busycursor();
    if (init_forms() == 0) {
        close_forms(0);
        log_message(LOG_ERROR, "Failed to initialize forms\n");
        return false;
    }
    open_start_files(files);
    return true;
}

// ---- loop and end -------------------------------------------------------------------------------------------------

void run() {
    while (!quit_requested) {
        forms_palette_follow();
        all_defaultcursor();
        showcursor(picture_view.window);
        uint32_t event = 0;
        if (Wait_for_next(PROGRAM_EVENTS, &event) != 0) return; // the tools have ended
        dispatch_events(event);
    }
}

void end() {
    imp_set_pending_events(nullptr);
    tools_set_input_hook(nullptr);
    tools_set_close_query(nullptr);
    input_reset();
    open_image.rows_changed = {};
    open_image.display = {};
    image_close();
    palette_clear(&program_colors);
    pattern_palette_clear(&program_patterns);
    Exit_tools();
}

// A window that says that the program is there while everything else is gone.
void show_placeholder() {
    int window = 0;
    if (Create_win(0, "Tinct", 100, 700, 300, 701, &window) != 0) return;
    Display_win(window);
    uint32_t events = 0;
    Wait_for_events(PROGRAM_EVENTS, &events);
    Delete_win(window);
    Clear_collapse_data();
}

} // namespace

int init_forms() {
    forms_up = true;
    RGB_init(0, display_planes);
    char directory[FILES_PATH_SIZE];
    form_directory(directory, sizeof directory);
    forms_set_directory(directory);
    forms_set_hooks(display_planes == TRUE_COLOR_PLANES);
    return forms_create() != 0 && picture_open_window() ? 1 : 0;
}

void close_forms(int restart) {
    forms_close();
    picture_close_window();
    if (restart != 0) show_placeholder();
    forms_up = false;
}

int image_ask_discard() {
    if (!open_image.image_changed) return 1;
    if (!dialog_message("Warning", "Discard image changes?", dialog_icon::exclamation, dialog_buttons::ok_cancel))
        return 0;
    open_image.image_changed = false;
    return 1;
}

int close_query() {
    return forms_palette_ask_discard() != 0 && image_ask_discard() != 0 ? 1 : 0;
}

int tinct_main(int count, char** arguments, char** /*environment*/) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    log_set_sink(dialog_log_sink, nullptr);
    quit_requested = false;
    argument_list list;
    // A response file that can't be read has been told; the list is empty then, and the program comes up without it.
    expand_arguments(count, arguments, OPTIONS, &list);
    for (int i = 1; i < list.count; ++i)
        strip_blanks(list.values[i]);
    const start_files files = read_options(&list);
    const bool started = start(&files);
    if (started) {
        run();
        close_forms(0);
    }
    argument_list_free(&list);
    end();
    return started ? 0 : 1;
}
