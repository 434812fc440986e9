// What is done to the open image, and how it is saved.
#include <cstdio>
#include <cstring>

#include "core/open_image.h"
#include "desktop/commands.h"
#include "desktop/mainform.h"
#include "desktop/messages.h"
#include "desktop/outputform.h"
#include "desktop/patternform.h"
#include "desktop/picker.h"
#include "desktop/program.h"
#include "desktop/selection.h"
#include "desktop/title.h"
#include "output/impack.h"
#include "platform/files.h"
#include "platform/window/dialog.h"
#include "support/log.h"
#include "support/memory.h"
#include "support/text.h"
#include "surface/raster_image.h"
#include "surface/recipe.h"
#include "tools/process.h"
#include "tools/windows.h"
#include "view/highlight.h"

namespace {

constexpr const char* PALETTE_FILTERS[] = {"Tinct Pals (*.tnp)", "All Files (*)"};
constexpr const char* RECIPE_FILTERS[] = {"Recipes (*.sets)", "All Files (*)"};

applique* make_color() {
    applique* a = applique_new();
    if (a == nullptr) return nullptr;
    a->is_color = 1;
    a->a0 = chosen.red;
    a->a1 = chosen.green;
    a->a2 = chosen.blue;
    return a;
}

applique* make_pattern() {
    const char* file = program_palette.patterns.entries[chosen.pattern].file;
    applique* a = applique_new();
    if (a == nullptr) return nullptr;
    a->file = mem_copy_text(file);
    if (a->file == nullptr) log_message(LOG_WARNING, "failed to malloc space for filename \"%s\".\n", file);
    if (a->file != nullptr && applique_set_placement(a, chosen.rotation, chosen.mirror ? 1 : 0, chosen.size)) return a;
    applique_free(a);
    return nullptr;
}

bool pattern_is_chosen() {
    return chosen.kind == selection_kind::pattern && chosen.pattern < program_palette.patterns.count;
}

applique* make_chosen() {
    return pattern_is_chosen() ? make_pattern() : make_color();
}

// Tells in one box what a change says, and shows where things stand.
template <typename F> void change(F action) {
    messages_gather();
    all_busycursor();
    action();
    all_defaultcursor();
    messages_tell("");
    main_form_show_image();
    show_title();
}

// ---- saving --------------------------------------------------------------------------------------------------------

// A file that the open image, or what its surfaces carry, is read from.
bool is_input(const char* path) {
    if (files_is_same(path, open_image.tnc_path) || files_is_same(path, open_image.raster_path)) return true;
    for (const applique* a : open_image.appliques) {
        char found[FILES_PATH_SIZE];
        if (a == nullptr || a->file == nullptr || !find_raster_file(a->file, found, sizeof found)) continue;
        if (files_is_same(path, found)) return true;
    }
    return false;
}

struct plane_copies {
    uint8_t* planes; // owned: three of them
    size_t size;     // of one
};

// The pipeline may work on the planes it is given; the open image's are to stay.
int save_copies(const char* path, const output_settings* settings) {
    image_complete();
    const raster_image* p = open_image.picture;
    const size_t size = static_cast<size_t>(p->width) * static_cast<size_t>(p->height);
    mem_guard<uint8_t> planes(mem_new_array<uint8_t>(3 * size));
    if (!planes) return IMP_NO_MEMORY;
    std::memcpy(planes.get(), p->red, size);
    std::memcpy(planes.get() + size, p->green, size);
    std::memcpy(planes.get() + 2 * size, p->blue, size);
    return imp_save_planes(path, p->width, p->height, planes.get(), planes.get() + size, planes.get() + 2 * size,
                           settings, nullptr);
}

// Writes beside the target and puts it in its place, so that a save that fails leaves the old file.
int save_to(const char* path, const output_settings* settings) {
    char fresh[FILES_PATH_SIZE];
    int code = IMP_WRITE_FAILED;
    if (files_replace_begin(path, fresh, sizeof fresh)) code = save_copies(fresh, settings);
    if (code == IMP_OK && files_replace_commit()) return 0;
    const char* why = files_write_failure();
    files_replace_abandon();
    log_message(LOG_WARNING, "%s\n\"%s\"%s%s", imp_error_text[code != IMP_OK ? code : IMP_WRITE_FAILED], path,
                why[0] != '\0' ? ": " : "", why);
    return -1;
}

// Asks for a file to write. False when the user gave up, or after a message.
bool ask_file(const char* title, const char* usual, const char* const* filters, const char* extension,
              char path[FILES_PATH_SIZE]) {
    char directory[FILES_PATH_SIZE];
    char** files = file_picker_run(title, usual, 0, filters, 2, directory, nullptr);
    if (directory[0] == '\0') return false;
    set_current_directory(directory);
    const char* name = files != nullptr && files[0] != nullptr ? files[0] : "";
    bool good = name[0] != '\0' && in_current_directory(name, path);
    if (!good) log_message(LOG_WARNING, "Error : File name must be provided.\n");
    if (good && std::strchr(files_last_name(path), '.') == nullptr) {
        const size_t length = std::strlen(path);
        std::snprintf(path + length, FILES_PATH_SIZE - length, "%s", extension);
    }
    picked_files_free(files);
    return good && file_overwrite_ok(path) != 0;
}

void show_words(void (*words_of)(char* text, size_t size)) {
    char words[256];
    words_of(words, sizeof words);
    main_form_show_status(words);
}

} // namespace

bool live_changes = false;

void apply_selection() {
    int pen = 0;
    if (!main_form_pen(&pen)) {
        log_message(LOG_WARNING, "No surface (pen) has been selected.\n");
        return;
    }
    change([pen] {
        applique* a = make_chosen();
        if (a != nullptr) apply_col_pat(pen, a);
    });
}

void undo_command() {
    if (image_undo_count() == 0) return;
    change([] { image_undo(); });
    show_words(image_undo_words);
}

void redo_command() {
    if (image_redo_count() == 0) return;
    change([] { image_redo(); });
    show_words(image_redo_words);
}

void live_begin() {
    int pen = 0;
    if (live_changes && main_form_pen(&pen) && open_image.picture != nullptr) image_begin(pen);
}

void live_show() {
    if (open_image.drag.is_open) image_preview(make_chosen());
}

bool live_go_on() {
    return image_preview_more() != 0;
}

void live_end() {
    if (image_commit() != 0) main_form_show_image();
}

void live_change() {
    live_begin();
    live_show();
    live_end();
}

int image_save_command() {
    if (open_image.picture == nullptr) {
        log_message(LOG_WARNING, "Error : there is no image to save.\n");
        return -1;
    }
    char path[FILES_PATH_SIZE];
    output_settings settings;
    const int status = output_form_run("Tinct Output", "", path, &settings);
    if (status == 1) return 1;
    if (status != 0) {
        if (status < IMP_CODES) log_message(LOG_WARNING, "%s\n", imp_error_text[status]);
        return status;
    }
    if (is_input(path)) {
        log_message(LOG_WARNING, "Error : Attempt to overwrite input file \"%s\".\n", path);
        return -1;
    }
    if (file_overwrite_ok(path) == 0) return -1;
    all_busycursor();
    const int saved = save_to(path, &settings);
    all_defaultcursor();
    if (saved == 0) {
        image_mark_unchanged();
        char words[128];
        std::snprintf(words, sizeof words, "Saved %.100s", files_last_name(path));
        main_form_show_status(words);
    }
    return saved;
}

void palette_save_command() {
    char path[FILES_PATH_SIZE];
    const char* usual = program_palette.file != nullptr ? program_palette.file : current_directory();
    if (!ask_file("Save Palette", usual, PALETTE_FILTERS, ".tnp", path)) return;
    if (palette_book_save(&program_palette, path) != 0) return;
    main_form_show_palette();
    char text[FILES_PATH_SIZE + 64], latin1[FILES_PATH_SIZE + 64];
    std::snprintf(text, sizeof text, "Palette saved in %s\n", path);
    text_to_latin1(text, latin1, sizeof latin1);
    Show_message(0, latin1, 3);
}

int load_recipe(const char* path) {
    recipe r = {};
    int applied = 0;
    change([&] {
        if (!recipe_read(&r, path, LOG_WARNING)) return;
        if (r.count == 0 && r.wrong == 0) log_message(LOG_WARNING, "The recipe \"%s\" holds no set.\n", path);
        if (r.count > 0) applied = image_apply_recipe(&r, &program_palette.colors, &program_palette.patterns);
    });
    recipe_free(&r);
    return applied;
}

void recipe_load_command() {
    char directory[FILES_PATH_SIZE];
    char** files = file_picker_run("Load Recipe", current_directory(), 0, RECIPE_FILTERS, 2, directory, nullptr);
    if (directory[0] != '\0') set_current_directory(directory);
    if (files != nullptr && files[0] != nullptr) load_recipe(files[0]);
    picked_files_free(files);
}

void recipe_save_command() {
    if (open_image.picture == nullptr) {
        log_message(LOG_WARNING, "Error : there is no image to save.\n");
        return;
    }
    char usual[FILES_PATH_SIZE], path[FILES_PATH_SIZE];
    std::snprintf(usual, sizeof usual, "%s", open_image.tnc_path);
    char* dot = std::strrchr(usual, '.');
    if (dot != nullptr) std::snprintf(dot, sizeof usual - static_cast<size_t>(dot - usual), ".sets");
    if (!ask_file("Save Recipe", usual, RECIPE_FILTERS, ".sets", path)) return;
    if (image_save_recipe(path) == 0) main_form_show_status("Recipe saved");
}

int file_overwrite_ok(const char* path) {
    if (!files_exists(path)) return 1;
    return dialog_message("Warning", "File exists.  Overwrite ?", dialog_icon::exclamation, dialog_buttons::ok_cancel)
               ? 1
               : 0;
}
