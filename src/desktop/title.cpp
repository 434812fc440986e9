// The main window's title.
#include <cstdio>

#include "core/open_image.h"
#include "core/version.h"
#include "desktop/appforms.h"
#include "desktop/program.h"
#include "platform/files.h"
#include "tools/windows.h"
#include "view/pick.h"

namespace {

constexpr size_t TITLE_SIZE = 512;

} // namespace

void show_title() {
    char file[TITLE_SIZE / 2] = "";
    char pen[TITLE_SIZE / 8] = "";
    if (open_image.picture != nullptr && open_image.tnc_path != nullptr)
        std::snprintf(file, sizeof file, " - %s", files_last_name(open_image.tnc_path));
    // A form has a field for the surface.
    if (highlighted_pen != NO_PEN && forms.show_pen == nullptr)
        std::snprintf(pen, sizeof pen, " - surface %d", highlighted_pen);
    char title[TITLE_SIZE];
    std::snprintf(title, sizeof title, "%s%s%s", TINCT_VERSION, file, pen);
    Set_main_title(title);
}
