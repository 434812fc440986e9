// Recipes of the open image, and what its steps did in words.
#include <cstdio>

#include "core/open_image.h"
#include "platform/files.h"
#include "support/log.h"

namespace {

// False after a message when the set counts for nothing.
bool apply_set(surface_set* set, const color_palette* colors, const pattern_palette* patterns) {
    char why[SET_REASON_SIZE];
    if (!surface_set_look_up(set, colors, patterns, why)) {
        recipe_tell(LOG_WARNING, set, why);
        return false;
    }
    if (pen_defined(open_image.tnc, set->pen) == 0) {
        std::snprintf(why, sizeof why, "The image has no surface %d.", set->pen);
        recipe_tell(LOG_WARNING, set, why);
        return false;
    }
    applique* a = surface_set_applique(set);
    if (a != nullptr && apply_col_pat(set->pen, a) != 0) return true;
    recipe_tell(LOG_WARNING, set, "It was not applied.");
    return false;
}

// What a surface carried on one side of a step and carries on the other.
void write_words(int pen, const applique* a, const char* what, char* text, size_t size) {
    if (a == nullptr)
        std::snprintf(text, size, "Surface %d: %s the rendered state", pen, what);
    else if (a->is_color != 0)
        std::snprintf(text, size, "Surface %d: %s %.2f, %.2f, %.2f", pen, what, a->a0, a->a1, a->a2);
    else
        std::snprintf(text, size, "Surface %d: %s %.200s", pen, what, files_last_name(a->file));
}

} // namespace

int image_apply_recipe(recipe* r, const color_palette* colors, const pattern_palette* patterns) {
    if (open_image.picture == nullptr || open_image.tnc == nullptr) {
        log_message(LOG_WARNING, "There is no image to apply to.\n");
        return 0;
    }
    int applied = 0;
    for (int i = 0; i < r->count; ++i)
        applied += apply_set(&r->sets[i], colors, patterns) ? 1 : 0;
    return applied;
}

int image_save_recipe(const char* path) {
    return recipe_save(open_image.appliques, PEN_COUNT, path);
}

void image_undo_words(char* text, size_t size) {
    const history* h = &open_image.steps;
    text[0] = '\0';
    if (h->done >= h->count) return;
    const int pen = h->steps[h->done].pen;
    write_words(pen, open_image.appliques[pen], "back to", text, size);
}

void image_redo_words(char* text, size_t size) {
    const history* h = &open_image.steps;
    text[0] = '\0';
    if (h->done == 0) return;
    const int pen = h->steps[h->done - 1].pen;
    write_words(pen, open_image.appliques[pen], "again", text, size);
}
