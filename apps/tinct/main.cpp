// tinct: the desktop program. The command line's own questions are answered here, before a window is opened.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "catalog/recent.h"
#include "core/version.h"
#include "desktop/main.h"
#include "raster/rzl.h"
#include "surface/file_types.h"
#include "surface/paths.h"
#include "tools/process.h"

namespace {

constexpr const char* HELP =
    "usage: tinct [[-f] FILE.tnc] [-p FILE.tnp] [@FILE ...]\n"
    "\n"
    "Opens a rendered image in a window.\n"
    "\n"
    "  -f FILE.tnc   the rendered image to open; its picture stands beside it\n"
    "  -p FILE.tnp   the palette to load\n"
    "  @FILE         a file with more arguments\n"
    "  --            ends the options; what follows is not opened\n"
    "  -h, --help    shows this\n"
    "  --version     shows the version\n"
    "\n"
    "In the window:\n"
    "\n"
    "  click         chooses the strongest surface at that place and highlights it; beside all surfaces\n"
    "                lets the surface go\n"
    "  right click   goes on to the next surface there; also Escape. It ends a tool, too\n"
    "  +  -          zoom in, zoom out, about the middle\n"
    "  =  1          one pixel of the picture to one of the screen\n"
    "  b             zoom to a box: click two of its corners\n"
    "  arrow keys    move the picture's part that is seen; also Page Up, Page Down, Home\n"
    "  f             fit the whole picture into the window\n"
    "  a             apply the chosen colour or pattern to the chosen surface\n"
    "  Ctrl+O S Q    open an image, save the picture, leave\n"
    "  Ctrl+Z Y      undo, redo\n"
    "  Tab           through the forms: a blank or Return works a button, Escape gives the keys back\n"
    "  F1  F11       the list of all keys; the picture alone\n"
    "  wheel         zoom in or out at the pointer; a horizontal wheel moves the picture sideways\n"
    "  drag          with the middle button, or with Space or Ctrl held, moves the picture\n"
    "\n"
    "A rendered image, a palette or a recipe that is dropped on the window opens; a raster file becomes a\n"
    "pattern. What was opened last, the directories, the window's size and the gamma of the display are\n"
    "remembered in $XDG_STATE_HOME/vantorama/tinct (~/.local/state without it).\n"
    "\n"
    "Environment: TINCT_HOST=sdl|headless, TINCT_SCREEN=WIDTHxHEIGHTxDEPTH (depth 4, 8, 15, "
    "16 or 24), TINCT_SCALE=N.\n";

// Whether the option stands on the command line as one: not behind "--", and not as the file of another option.
bool asks_for(int count, char** arguments, const char* option) {
    for (int i = 1; i < count && std::strcmp(arguments[i], "--") != 0; ++i) {
        if (std::strcmp(arguments[i], option) == 0) return true;
        if (std::strcmp(arguments[i], "-f") == 0 || std::strcmp(arguments[i], "-p") == 0) ++i;
    }
    return false;
}

// A window as large as the last one, unless the environment says another size.
void use_last_size() {
    char path[FILES_PATH_SIZE];
    if (std::getenv("TINCT_SCREEN") != nullptr || !recent_path(path, sizeof path)) return;
    recent_state last = {};
    recent_read(&last, path);
    char size[64];
    std::snprintf(size, sizeof size, "%dx%dx24", last.width, last.height);
    if (last.width > 0) setenv("TINCT_SCREEN", size, 1);
    recent_free(&last);
}

// A failure shows at the latest when what is buffered goes out.
int say(const char* text, const char* end) {
    bool good = std::fputs(text, stdout) >= 0 && std::fputs(end, stdout) >= 0;
    if (std::fflush(stdout) == 0 && good) return 0;
    std::perror("tinct: standard output could not be written");
    return 1;
}

} // namespace

int main(int count, char** arguments, char** environment) {
    if (asks_for(count, arguments, "--help") || asks_for(count, arguments, "-h")) return say(HELP, "");
    if (asks_for(count, arguments, "--version")) return say(TINCT_VERSION, "\n");
    rzl_set_extended(1);
    product_root_init();
    use_last_size();
    const tools_program program = {search_paths_init, tinct_main};
    const int status = tools_process_entry(count, arguments, environment, &program);
    file_types_free();
    return status;
}
