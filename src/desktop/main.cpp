// Start, main loop and end of the desktop program.
#include "desktop/main.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/arguments.h"
#include "desktop/commands.h"
#include "desktop/directcolors.h"
#include "desktop/dispatch.h"
#include "desktop/input.h"
#include "desktop/keyboard.h"
#include "desktop/mainform.h"
#include "desktop/messages.h"
#include "desktop/outputform.h"
#include "desktop/palettelist.h"
#include "desktop/patternform.h"
#include "desktop/picker.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "desktop/searchforms.h"
#include "desktop/selection.h"
#include "desktop/title.h"
#include "output/impack.h"
#include "platform/files.h"
#include "support/log.h"
#include "surface/paths.h"
#include "tools/colors.h"
#include "tools/events.h"
#include "tools/process.h"
#include "tools/windows.h"
#include "view/pick.h"
#include "view/viewtools.h"

namespace {

constexpr const char* OPTIONS = "p:f:";
constexpr int STATUS_USAGE = 2;
constexpr int SCREEN_TRUE_COLOR = 256; // a bit of the screen record's flags

// What the options name; null for nothing. They point into the expanded arguments.
struct start_files {
    const char* image;
    const char* palette;
};

// Says on standard error what is wrong with the command line.
bool refuse(const char* why, const char* word) {
    std::fprintf(stderr, "tinct: %s \"%s\"; --help tells the options\n", why, word);
    return false;
}

// False after a message. A file without an option in front of it is a rendered image; behind "--" stands nothing that
// would be opened.
bool read_options(const argument_list* list, start_files* files) {
    *files = {nullptr, nullptr};
    reset_options();
    for (int letter; (letter = get_option(list->count, list->values, OPTIONS)) != -1;) {
        const char* argument = get_option_argument();
        if (letter == '?') return refuse("unknown option", argument);
        if (argument == nullptr) return refuse("no file behind option", list->values[get_option_index() - 1]);
        if (letter == 'f') files->image = argument;
        if (letter == 'p') files->palette = argument;
    }
    const int first = get_option_index();
    if (first >= list->count || std::strcmp(list->values[first], "--") == 0) return true;
    if (first + 1 < list->count || files->image != nullptr)
        return refuse("one image at a time, and not also", list->values[list->count - 1]);
    files->image = list->values[first];
    return true;
}

// Blanks are taken out of what names no file as it stands.
void strip_arguments(const argument_list* list) {
    for (int i = 1; i < list->count; ++i)
        if (!files_exists(list->values[i])) strip_blanks(list->values[i]);
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

void open_start_files(const start_files* files) {
    if (files->image != nullptr) open_image_command(files->image);
    if (files->palette != nullptr)
        open_palette_command(files->palette);
    else
        load_usual_palette();
}

// What the last run left: where files were chosen, what was opened, how bright the picture is shown.
void read_remembered() {
    char path[FILES_PATH_SIZE];
    recent_free(&remembered);
    if (recent_path(path, sizeof path)) recent_read(&remembered, path);
}

void write_remembered() {
    char path[FILES_PATH_SIZE];
    remembered.width = screen_width + 1;
    remembered.height = screen_height + 1;
    if (recent_path(path, sizeof path)) recent_write(&remembered, path);
    recent_free(&remembered);
}

// Everything between the command line and the loop. False after a message.
bool start(const start_files* files) {
    if (Enter_tools() != 0) {
        log_message(LOG_ERROR, "Failed to Enter_tools.\n");
        return false;
    }
    show_title();
    all_busycursor();
    Set_keyboard_buffer(keyboard_buffer, KEYBOARD_BUFFER_SIZE);
    if (forms_start() != 0) {
        log_message(LOG_ERROR, "Failed to initialize forms\n");
        return false;
    }
    keyboard_start();
    read_screen();
    read_remembered();
    picture_watch_image();
    tools_set_close_query(close_query);
    tools_set_input_hook(input_notice);
    tools_set_key_hook(input_notice_key);
    tools_set_screen_hook(input_notice_screen);
    imp_set_pending_events(tools_pending_events);
    Enable_events(PROGRAM_EVENTS);
    search_path_set_question(search_path_ask);
    tools_start(pick_advance, main_form_release);
    pick_start(&picture_view, choose_pen);
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

bool restart_is_requested = false;

void restart() {
    restart_is_requested = false;
    close_forms(1);
    init_forms();
}

void run() {
    while (!quit_requested) {
        if (restart_is_requested) restart();
        palette_sync_boxes();
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
    tools_set_key_hook(nullptr);
    tools_set_screen_hook(nullptr);
    tools_set_close_query(nullptr);
    input_reset();
    open_image.rows_changed = {};
    open_image.display = {};
    image_close();
    search_path_set_question(nullptr);
    palette_book_free(&program_palette);
    selection_reset();
    output_form_end();
    write_remembered();
    main_form_end();
    pattern_form_end();
    forms_end();
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
    RGB_set_gamma(remembered.gamma);
    RGB_init(0, display_planes);
    direct_colors_use(display_planes == TRUE_COLOR_PLANES);
    return forms_create() != 0 && picture_open_window() ? 1 : 0;
}

void close_forms(int restart) {
    forms_close();
    picture_close_window();
    if (restart != 0) show_placeholder();
    forms_up = false;
}

void request_restart() {
    restart_is_requested = true;
}

int tinct_main(int count, char** arguments, char** /*environment*/) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    messages_start();
    quit_requested = false;
    argument_list list;
    // A response file that can't be read has been told; the list is empty then, and the program comes up without it.
    expand_arguments(count, arguments, OPTIONS, &list);
    strip_arguments(&list);
    start_files files;
    if (!read_options(&list, &files)) {
        argument_list_free(&list);
        return STATUS_USAGE;
    }
    const bool started = start(&files);
    if (started) {
        run();
        file_pickers_end();
        close_forms(0);
    }
    argument_list_free(&list);
    end();
    return started ? 0 : 1;
}
