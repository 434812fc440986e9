// The main window's title.
#include "desktop/title.h"

#include <cstdio>
#include <cstring>

#include "core/open_image.h"
#include "core/version.h"
#include "desktop/mainform.h"
#include "platform/files.h"
#include "support/text.h"
#include "tools/windows.h"
#include "view/highlight.h"

namespace {

constexpr size_t TITLE_SIZE = WINDOW_TITLE_SIZE; // of what a window shows
constexpr size_t NAME_SIZE = 256;                // of the longest name that a directory can hold

// Writes the open image's file name as it is shown in `room` characters: of a longer one the end.
void write_name(char* out, size_t room) {
    char name[NAME_SIZE];
    text_to_latin1(files_last_name(open_image.tnc_path), name, sizeof name);
    const size_t length = std::strlen(name);
    if (length <= room)
        std::memcpy(out, name, length + 1);
    else
        std::snprintf(out, room + 1, "...%s", name + length - room + 3);
}

} // namespace

void show_title() {
    char pen[32] = "";
    // A form has a field for the surface.
    if (highlighted_pen != NO_PEN && main_form() == nullptr)
        std::snprintf(pen, sizeof pen, " - surface %d", highlighted_pen);
    char name[TITLE_SIZE] = "";
    const char* joint = "";
    if (open_image.tnc_path != nullptr) {
        joint = " - ";
        write_name(name, TITLE_SIZE - 1 - std::strlen(TINCT_VERSION) - std::strlen(joint) - std::strlen(pen));
    }
    char title[NAME_SIZE];
    std::snprintf(title, sizeof title, "%s%s%s%s", TINCT_VERSION, joint, name, pen);
    Set_main_title(title);
}
