// Fonts: the search on disk, the cache, and measuring and counting of texts.
//
// The number in a font's file name, its key, is 1.2 times the body size. A font that doesn't exist in a size is
// replaced by the next smaller one.
#include "forms/fonts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "forms/array.h"
#include "forms/env.h"
#include "forms/envdata.h"
#include "forms/forms.h"
#include "forms/paths.h"
#include "forms/state.h"
#include "support/memory.h"
#include "tools/font.h"
#include "tools/toolfile.h"

namespace {

constexpr int GROWTH = 5;        // entries of the cache
constexpr int HIGHEST_KEY = 255; // a glyph is 255 pixels high at most, so no larger font exists
constexpr int FALLBACK_KEY = 18;
constexpr double KEY_OF_SIZE = 1.2;
constexpr double SIZE_OF_KEY = 0.8333333333333334;

const fi_cached_font* cached(const char* name, int key) {
    for (int i = 0; i < fi_state.font_count; ++i)
        if (fi_state.fonts[i].key == key && std::strcmp(fi_state.fonts[i].name, name) == 0) return &fi_state.fonts[i];
    return nullptr;
}

// Without memory, and for a name that doesn't fit, the font is looked for again the next time.
void remember(const char* name, int key, int file_key, uint32_t id) {
    if (std::strlen(name) >= sizeof fi_state.fonts->name) return;
    if (fi_state.font_count == fi_state.font_room) {
        const int room = fi_state.font_room + GROWTH;
        if (!fi_resize(&fi_state.fonts, room)) return;
        fi_state.font_room = room;
    }
    fi_cached_font* entry = &fi_state.fonts[fi_state.font_count++];
    std::snprintf(entry->name, sizeof entry->name, "%s", name);
    entry->key = key;
    entry->file_key = file_key;
    entry->font_id = id;
}

// The directory's font under its long name, when the short one can be accessed.
bool find_in(const char* directory, const char* file, char* path) {
    char real[FILES_PATH_SIZE];
    return fi_join_path(real, directory, short_file_name(file)) && files_exists(real) &&
           fi_join_path(path, directory, file);
}

bool find_font_file(const char* file, char* path) {
    if (tools_has_resource(file)) return fi_join_path(path, nullptr, file);
    for (int i = 0; i < fi_state.font_path.count; ++i)
        if (find_in(fi_state.font_path.entries[i], file, path)) return true;
    char usual[FILES_PATH_SIZE];
    return find_in(".", file, path) || (fi_join_path(usual, fi_state.root_dir, "fonts") && find_in(usual, file, path));
}

int key_of(int size) {
    return std::min(static_cast<int>(std::lround(std::min(size, HIGHEST_KEY) * KEY_OF_SIZE)), HIGHEST_KEY);
}

// What there is for exactly that key: a font, or FI_NO_FONT when it is known that there is none at or below, or that
// its file can't be loaded. False when there is no such file.
bool load_key(const char* name, int key, int* file_key, uint32_t* id) {
    const fi_cached_font* known = cached(name, key);
    if (known != nullptr) {
        *id = known->font_id;
        *file_key = known->file_key;
        return true;
    }
    char file[FILES_PATH_SIZE];
    char path[FILES_PATH_SIZE];
    const int length = std::snprintf(file, sizeof file, "%s.%d", name, key);
    if (length < 0 || static_cast<size_t>(length) >= sizeof file || !find_font_file(file, path)) return false;
    int loaded = -1;
    *id = fi_graphic.Load_symbol_file(path, &loaded) == 0 ? static_cast<uint32_t>(loaded) : FI_NO_FONT;
    *file_key = key;
    if (*id != FI_NO_FONT) remember(name, key, key, *id);
    return true;
}

} // namespace

// A size that isn't on disk is searched for once: what stood in for it is remembered, too.
int fi_load_font(const char* name, int size, int* actual_size, uint32_t* id) {
    *actual_size = -1;
    *id = FI_NO_FONT;
    if (*name == '\0') return FI_NO_SUCH_FONT;
    const int wanted = key_of(size);
    int key = wanted;
    int file_key = 0;
    while (key >= 1 && !load_key(name, key, &file_key, id))
        --key;
    if (key < 1 && wanted >= 1) remember(name, wanted, 0, FI_NO_FONT);
    if (key < 1 || *id == FI_NO_FONT) return FI_NO_SUCH_FONT;
    if (key < wanted) remember(name, wanted, file_key, *id);
    *actual_size = static_cast<int>(std::lround(file_key * SIZE_OF_KEY));
    return FI_SUCCESS;
}

// Only fonts under their own key are certain in other directories.
void fi_forget_found_fonts() {
    fi_cached_font* end = fi_state.fonts + fi_state.font_count;
    end = std::remove_if(fi_state.fonts, end, [](const fi_cached_font& f) { return f.key != f.file_key; });
    fi_state.font_count = static_cast<int>(end - fi_state.fonts);
}

void fi_free_fonts() {
    mem_free(fi_state.fonts);
    fi_state.fonts = nullptr;
    fi_state.font_count = fi_state.font_room = 0;
}

int fi_find_font(const char* name, float body_size, uint32_t* id, int* actual_size, int gadget_type, int* font_type) {
    *font_type = 0;
    const auto size = static_cast<int>(std::clamp(body_size, 0.0F, static_cast<float>(HIGHEST_KEY)));
    if (fi_load_font(name, size, actual_size, id) == FI_SUCCESS) return 0;
    const bool is_field = gadget_type == FI_FIELD || gadget_type == FI_MCF;
    const fi_cached_font* fallback = cached(is_field ? "mono821" : "dutch801", FALLBACK_KEY);
    if (fallback == nullptr) return 0;
    *id = fallback->font_id;
    *actual_size = static_cast<int>(std::lround(FALLBACK_KEY * SIZE_OF_KEY));
    return 0;
}

int fi_calc_text(uint32_t font, const char* text, int length, int* height, int* width, int* spacing,
                 int /*font_type*/) {
    *height = *width = *spacing = 0;
    int widest = 0;
    const int id = static_cast<int>(font);
    int status = Inq_text_width(id, text, length, width);
    if (status == 0) status = Inq_font_size(id, height, &widest, nullptr);
    *spacing = *height;
    return status;
}

int fi_draw_text_at(int window, uint32_t font, const char* text, int length, int x, int y, int /*line_spacing*/,
                    int* next_x, int* next_y, int /*font_type*/) {
    int width = 0;
    const int id = static_cast<int>(font);
    if (next_x != nullptr && Inq_text_width(id, text, length, &width) == 0) *next_x = x + width;
    if (next_y != nullptr) *next_y = y;
    return fi_graphic.drawsymbols(window, id, x, y, text, length);
}

namespace {

// Bytes of the character at a text's byte; 0 at its end.
int character_bytes(const char* at, int font_type) {
    if (*at == '\0') return 0;
    const bool pair = font_type == FI_FONT_PAIRS && static_cast<unsigned char>(*at) > 127 && at[1] != '\0';
    return pair ? 2 : 1;
}

int characters_in(const char* text, int bytes, int font_type) {
    int count = 0;
    for (int at = 0; at < bytes; ++count) {
        const int step = character_bytes(text + at, font_type);
        if (step == 0) break;
        at += step;
    }
    return count;
}

} // namespace

int fi_strlen(const char* text, int font_type) {
    if (text == nullptr) return -1;
    return characters_in(text, INT32_MAX, font_type);
}

int fi_move_index(const char* text, int start, int characters, int font_type) {
    int wanted = characters_in(text, start, font_type) + characters;
    if (wanted < 0) return -1;
    int at = 0;
    for (; wanted > 0; --wanted) {
        const int step = character_bytes(text + at, font_type);
        if (step == 0) break;
        at += step;
    }
    return at;
}
