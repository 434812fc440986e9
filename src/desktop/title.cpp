// The main window's title.
#include "desktop/title.h"

#include <cstdio>
#include <cstring>

#include "core/open_image.h"
#include "core/version.h"
#include "desktop/appforms.h"
#include "platform/files.h"
#include "support/text.h"
#include "tools/windows.h"
#include "view/highlight.h"

namespace {

constexpr size_t TITLE_SIZE = 256;
constexpr size_t NAME_SIZE = 256; // of the longest name that a directory can hold
constexpr size_t NAME_SHOWN = 80; // characters of a name; of a longer one its end

// The name of the open image's file, as it is shown.
const char* file_name(char name[NAME_SIZE]) {
    text_to_latin1(files_last_name(open_image.tnc_path), name, NAME_SIZE);
    const size_t length = std::strlen(name);
    if (length <= NAME_SHOWN) return name;
    char* end = name + length - NAME_SHOWN;
    std::memcpy(end, "...", 3);
    return end;
}

} // namespace

void show_title() {
    char name[NAME_SIZE];
    char file[NAME_SHOWN + 4] = "";
    char pen[32] = "";
    if (open_image.picture != nullptr && open_image.tnc_path != nullptr)
        std::snprintf(file, sizeof file, " - %s", file_name(name));
    // A form has a field for the surface.
    if (highlighted_pen != NO_PEN && forms.show_pen == nullptr)
        std::snprintf(pen, sizeof pen, " - surface %d", highlighted_pen);
    char title[TITLE_SIZE];
    std::snprintf(title, sizeof title, "%s%s%s", TINCT_VERSION, file, pen);
    Set_main_title(title);
}
