// The main window's title.
#include <cstdio>
#include <cstring>

#include "core/appforms.h"
#include "core/open_image.h"
#include "core/pick.h"
#include "core/program.h"
#include "tools/windows.h"

namespace {

constexpr int TITLE_VERSION = 0;
constexpr size_t TITLE_SIZE = 512;

const char* last_component(const char* path) {
    const char* name = path;
    for (const char* c = path; *c != '\0'; ++c)
        if (*c == '/' || *c == '\\') name = c + 1;
    return name;
}

} // namespace

void show_title() {
    char file[TITLE_SIZE / 2] = "";
    char pen[TITLE_SIZE / 8] = "";
    if (open_image.picture != nullptr && open_image.tnc_path != nullptr)
        std::snprintf(file, sizeof file, " - %s", last_component(open_image.tnc_path));
    // A form has a field for the surface.
    if (highlighted_pen != NO_PEN && forms.show_pen == nullptr)
        std::snprintf(pen, sizeof pen, " - surface %d", highlighted_pen);
    char title[TITLE_SIZE];
    std::snprintf(title, sizeof title, "Korvane Tinct V3.4.%d%s%s", TITLE_VERSION, file, pen);
    Set_main_title(title);
}
