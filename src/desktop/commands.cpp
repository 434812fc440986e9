// The commands, and the gathering of messages that makes one box of them.
#include "desktop/commands.h"

#include "core/open_image.h"
#include "desktop/appforms.h"
#include "desktop/messages.h"
#include "desktop/title.h"
#include "platform/files.h"
#include "platform/window/dialog.h"
#include "tools/windows.h"

namespace {

// Runs one opening between the two cursors. All that it tells comes in one box, which names the file.
int open_with(int (*open)(const char* path), const char* path) {
    messages_gather();
    all_busycursor();
    const int opened = open(path);
    all_defaultcursor();
    show_title();
    messages_tell(files_last_name(path));
    return opened;
}

} // namespace

int open_image_command(const char* path) {
    return image_ask_discard() != 0 ? open_with(image_open, path) : 0;
}

int open_palette_command(const char* path) {
    return forms_palette_ask_discard() != 0 ? open_with(forms_palette_open, path) : 0;
}

int image_ask_discard() {
    if (!open_image.image_changed) return 1;
    if (!dialog_message("Warning", "Discard image changes?", dialog_icon::exclamation, dialog_buttons::ok_cancel))
        return 0;
    image_mark_unchanged();
    return 1;
}

int close_query() {
    return forms_palette_ask_discard() != 0 && image_ask_discard() != 0 ? 1 : 0;
}
