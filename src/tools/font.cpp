// The table of loaded fonts, and what they measure.
#include "tools/font.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "tools/fontread.h"
#include "tools/toolfile.h"

namespace {

constexpr const char* STANDARD_DIRECTORY = "/usr/krp32/resrc/bsfont";
constexpr int standard_sizes[] = {14, 18, 22, 24, 30, 36};

bitmap_font* fonts[FONT_SLOTS] = {};

// The id of the font of that path, -1 when it isn't loaded.
int find_loaded(const char* path) {
    for (int id = 0; id < FONT_SLOTS; ++id)
        if (fonts[id] != nullptr && std::strcmp(fonts[id]->path, path) == 0) return id;
    return -1;
}

int find_free() {
    auto* slot = std::find(fonts, fonts + FONT_SLOTS, nullptr);
    return slot != fonts + FONT_SLOTS ? static_cast<int>(slot - fonts) : -1;
}

} // namespace

// A path of any length is kept whole: two long ones that begin alike are different files.
int Load_symbol_file(const char* path, int* id) {
    *id = find_loaded(path);
    if (*id >= 0) return 0;
    int slot = find_free();
    if (slot < 0) return -1;
    fonts[slot] = font_read(path);
    if (fonts[slot] == nullptr) return -1;
    *id = slot;
    return 0;
}

int Load_bitmap_font(const char* name, int size, int* id) {
    int nearest = standard_sizes[0];
    for (int standard : standard_sizes)
        if (standard <= size) nearest = standard;
    char path[FILES_PATH_SIZE];
    int length = std::snprintf(path, sizeof path, "%s/%s.%d", STANDARD_DIRECTORY, name, nearest);
    *id = -1;
    if (length < 0 || static_cast<size_t>(length) >= sizeof path) return -1;
    return Load_symbol_file(path, id);
}

const bitmap_font* font_at(int id) {
    return id >= 0 && id < FONT_SLOTS ? fonts[id] : nullptr;
}

const font_glyph* font_find_glyph(int font, uint8_t code) {
    const bitmap_font* found = font_at(font);
    return found == nullptr ? nullptr : font_glyph_of(*found, static_cast<char>(code));
}

int Inq_font_size(int font, int* height, int* width, int* extra) {
    const bitmap_font* found = font_at(font);
    if (found == nullptr) return -1;
    *height = found->height;
    *width = found->width;
    if (extra != nullptr) *extra = 0;
    return 0;
}

int Inq_text_width(int font, const char* text, int length, int* width) {
    const bitmap_font* found = font_at(font);
    if (found == nullptr) return -1;
    int64_t sum = 0;
    for (int i = 0; i < length; ++i) {
        const font_glyph* glyph = font_glyph_of(*found, text[i]);
        if (glyph != nullptr) sum += std::max(glyph->advance, glyph->width);
    }
    *width = static_cast<int>(std::min<int64_t>(sum, INT32_MAX));
    return 0;
}

void fonts_unload() {
    for (bitmap_font*& font : fonts) {
        font_free(font);
        font = nullptr;
    }
    font_mask_free();
}
