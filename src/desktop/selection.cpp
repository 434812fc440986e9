#include "desktop/selection.h"

#include <cstdio>
#include <cstring>

#include "desktop/mainform.h"
#include "desktop/patternform.h"
#include "desktop/program.h"
#include "platform/files.h"

namespace {

constexpr selection AT_START = {selection_kind::none, -1, 1.0, 0.0, 0.0, 0.0, false, 1.0, 1.0};

int pattern_of_name(const char* name) {
    const pattern_palette* patterns = &program_palette.patterns;
    for (int i = 0; i < patterns->count; ++i)
        if (std::strcmp(patterns->entries[i].name, name) == 0) return i;
    return -1;
}

void set_color(double red, double green, double blue, const char* name) {
    chosen.kind = selection_kind::color;
    chosen.pattern = -1;
    chosen.red = red;
    chosen.green = green;
    chosen.blue = blue;
    main_form_show_chosen(name);
}

} // namespace

selection chosen = AT_START;

void selection_reset() {
    chosen = AT_START;
}

void selection_clear() {
    chosen.kind = selection_kind::none;
    chosen.pattern = -1;
    main_form_show_chosen("");
    pattern_form_show_chosen();
}

void palette_select(int index) {
    if (index < 0 || index >= program_palette.colors.count) return;
    const named_color* c = program_palette.colors.entries[index];
    const char* name = palette_shown_name(c);
    set_color(c->red, c->green, c->blue, name);
    color_form_set(c->red, c->green, c->blue, name);
}

void pattern_select(int index) {
    if (index < 0 || index >= program_palette.patterns.count) return;
    chosen.kind = selection_kind::pattern;
    chosen.pattern = index;
    main_form_show_chosen(program_palette.patterns.entries[index].name);
    pattern_form_show_chosen();
}

void color_select(double red, double green, double blue) {
    set_color(red, green, blue, "");
    pattern_form_show_chosen();
}

void palette_name_typed(const char* text) {
    char name[FILES_PATH_SIZE];
    std::snprintf(name, sizeof name, "%s", text);
    palette_typed_name(name);
    if (name[0] == '\0') return;
    const int color = palette_find(&program_palette.colors, name);
    const int pattern = color < 0 ? pattern_of_name(name) : -1;
    if (color >= 0) {
        palette_select(color);
        main_form_show_chosen(name);
    } else if (pattern >= 0) {
        pattern_select(pattern);
    } else {
        selection_clear();
    }
}
