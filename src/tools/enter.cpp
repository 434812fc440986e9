// Entering and leaving the tools, and what is asked of the screen.
#include "platform/window/dialog.h"
#include "tools/colors.h"
#include "tools/eventdata.h"
#include "tools/font.h"
#include "tools/process.h"
#include "tools/windows.h"

#include <algorithm>

namespace {

bool is_entered = false;

} // namespace

int Enter_tools() {
    if (is_entered) return 0;
    if (!desk_start(program_name)) return -1;
    events_reset(host_now());
    main_window_start_screen();
    if (palette_setup() != 0) {
        tools_leave();
        return -1;
    }
    is_entered = true;
    return 0;
}

int Exit_tools() {
    return 0;
}

void tools_leave() {
    windows_destroy();
    palette_end();
    events_reset(0);
    fonts_unload();
    desk_stop();
    is_entered = false;
}

int Beep(int level) {
    for (int beeps = level >= 2 ? 4 : 1; beeps > 0; --beeps)
        host_beep();
    return 0;
}

int Show_message(int /*window*/, const char* text, int level) {
    const char* title = level == 1 ? "FATAL" : level == 2 ? "WARNING" : "NOTE";
    const dialog_icon icon = level == 1   ? dialog_icon::stop
                             : level == 2 ? dialog_icon::exclamation
                                          : dialog_icon::information;
    dialog_message(title, text, icon, dialog_buttons::ok);
    return 0;
}

int Inq_displayed_vs(int* screen) {
    *screen = 0;
    return 0;
}

int Inq_screen_status(int /*number*/, int* status) {
    *status = 0;
    return 0;
}

int Inq_screen_info(int32_t records[SCREEN_RECORDS][SCREEN_WORDS]) {
    for (int i = 0; i < SCREEN_RECORDS; ++i) {
        std::fill_n(records[i], SCREEN_WORDS, 0);
        records[i][SCREEN_NUMBER] = -1;
    }
    int32_t* words = records[0];
    words[SCREEN_NUMBER] = 0;
    words[SCREEN_PLANES] = words[SCREEN_DITHER_PLANES] = std::min(screen_planes, 8);
    words[SCREEN_HIGHEST_COLOR] = max_color_index;
    words[4] = 8; // size of a character cell, and that there is one
    words[5] = 14;
    words[6] = 1;
    words[SCREEN_WIDTH] = screen_width;
    words[SCREEN_HEIGHT] = screen_height;
    words[SCREEN_FLAGS] = screen_planes >= 15 ? 258 : 2;
    words[SCREEN_COLORS] = max_color_index + 1;
    return 0;
}
