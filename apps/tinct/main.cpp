// tinct: the desktop program. The command line's own questions are answered here, before a window is opened.
#include <cstdio>
#include <cstring>

#include "core/main.h"
#include "core/version.h"
#include "raster/rzl.h"
#include "surface/file_types.h"
#include "surface/paths.h"
#include "tools/process.h"

namespace {

constexpr const char* HELP = "usage: tinct [-f FILE.tnc] [-p FILE.tnp] [@FILE ...]\n"
                             "\n"
                             "Opens a rendered image in a window.\n"
                             "\n"
                             "  -f FILE.tnc   the rendered image to open; its picture stands beside it\n"
                             "  -p FILE.tnp   the palette to load\n"
                             "  @FILE         a file with more arguments\n"
                             "  --            ends the options\n"
                             "\n"
                             "In the window:\n"
                             "\n"
                             "  click         chooses the strongest surface at that place and highlights it\n"
                             "  right click   goes on to the next surface there; also Escape. It ends a tool, too\n"
                             "  +  -          zoom in, zoom out, about the middle\n"
                             "  b             zoom to a box: click two of its corners\n"
                             "  arrow keys    move the picture's part that is seen\n"
                             "  f             fit the whole picture into the window\n"
                             "  wheel         zoom in or out at the pointer\n"
                             "\n"
                             "A rendered image that is dropped on the window opens.\n"
                             "\n"
                             "Environment: TINCT_HOST=sdl|headless, TINCT_SCREEN=WIDTHxHEIGHTxDEPTH (depth 4, 8, 15, "
                             "16 or 24), TINCT_SCALE=N.\n";

bool asks_for(int count, char** arguments, const char* option) {
    for (int i = 1; i < count; ++i)
        if (std::strcmp(arguments[i], option) == 0) return true;
    return false;
}

} // namespace

int main(int count, char** arguments, char** environment) {
    if (asks_for(count, arguments, "--help")) return std::fputs(HELP, stdout) < 0 ? 1 : 0;
    if (asks_for(count, arguments, "--version")) return std::printf("%s\n", TINCT_VERSION) < 0 ? 1 : 0;
    rzl_set_extended(1);
    product_root_init();
    const tools_program program = {search_paths_init, tinct_main};
    const int status = tools_process_entry(count, arguments, environment, &program);
    file_types_free();
    return status;
}
