// Symbol files and symbols.
#include "forms/symbols.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "forms/array.h"
#include "forms/env.h"
#include "forms/envdata.h"
#include "forms/forms.h"
#include "forms/paths.h"
#include "support/memory.h"
#include "tools/font.h"

namespace {

constexpr int GROWTH = 5; // entries of the cache

const fi_cached_symbols* cached(const char* name) {
    for (int i = 0; i < fi_state.symbol_count; ++i)
        if (std::strcmp(fi_state.symbol_files[i].name, name) == 0) return &fi_state.symbol_files[i];
    return nullptr;
}

// Without memory, and for a name that doesn't fit, the file is looked for again the next time.
void remember(const char* name, const char* path, uint32_t id) {
    if (std::strlen(name) >= sizeof fi_state.symbol_files->name) return;
    if (fi_state.symbol_count == fi_state.symbol_room) {
        const int room = fi_state.symbol_room + GROWTH;
        if (!fi_resize(&fi_state.symbol_files, room)) return;
        fi_state.symbol_room = room;
    }
    fi_cached_symbols* entry = &fi_state.symbol_files[fi_state.symbol_count];
    entry->path = mem_copy_text(path);
    if (entry->path == nullptr) return;
    std::snprintf(entry->name, sizeof entry->name, "%s", name);
    entry->font_id = id;
    ++fi_state.symbol_count;
}

bool load_from(const char* directory, const char* name, char* path, uint32_t* id) {
    int loaded = -1;
    if (!fi_join_path(path, directory, name) || fi_graphic.Load_symbol_file(path, &loaded) != 0) return false;
    *id = static_cast<uint32_t>(loaded);
    return true;
}

bool search(const char* name, char* path, uint32_t* id) {
    if (fi_is_path(name)) return load_from(nullptr, name, path, id);
    for (int i = 0; i < fi_state.symbol_path.count; ++i)
        if (load_from(fi_state.symbol_path.entries[i], name, path, id)) return true;
    char usual[FILES_PATH_SIZE];
    return fi_join_path(usual, fi_state.root_dir, "vantor") && load_from(usual, name, path, id);
}

} // namespace

int fi_load_symbol_file(const char* name, char* path, uint32_t* id) {
    if (*name == '\0' || !search(name, path, id)) {
        path[0] = '\0';
        *id = 0;
        return 0;
    }
    remember(name, path, *id);
    return 1;
}

void fi_free_symbol_files() {
    for (int i = 0; i < fi_state.symbol_count; ++i)
        mem_free(fi_state.symbol_files[i].path);
    mem_free(fi_state.symbol_files);
    fi_state.symbol_files = nullptr;
    fi_state.symbol_count = fi_state.symbol_room = 0;
}

int fi_find_symbol_file(char* path, const char* name, uint32_t* id) {
    *id = 0;
    path[0] = '\0';
    const fi_cached_symbols* known = cached(name);
    if (known == nullptr) {
        fi_load_symbol_file(name, path, id);
        return 0;
    }
    std::snprintf(path, FILES_PATH_SIZE, "%s", known->path);
    *id = known->font_id;
    return 0;
}

int fi_load_symbol(const char* file_name, FI_face* face, uint32_t* font) {
    const uint8_t index = face->index;
    mem_free(face->bits);
    *face = {};
    face->index = index;
    char path[FILES_PATH_SIZE];
    fi_env.FI_FIND_SYMBOL_FILE(path, file_name, font);
    symbol_bitmap symbol;
    if (path[0] == '\0' || symbol_read(path, index, &symbol) != 0) return 1;
    face->advance = symbol.advance;
    face->depth = symbol.depth;
    face->x_offset = symbol.x_offset;
    face->y_offset = symbol.y_offset;
    face->width = symbol.width;
    face->height = symbol.height;
    face->total_width = static_cast<uint8_t>(symbol.width + symbol.x_offset);
    face->total_height = static_cast<uint8_t>(symbol.height + symbol.y_offset);
    face->bits = symbol.bits;
    return 0;
}

int fi_load_face(FI_gadget* g, FI_face* face) {
    return fi_load_symbol(g->font_name, face, &g->font_id);
}

namespace {

int scaled(int pixels, float scale) {
    return static_cast<int>(std::clamp(static_cast<float>(pixels) * scale, 0.0F, 32767.0F));
}

} // namespace

int fi_face_width(const FI_face* face, float x_scale) {
    return scaled(face->total_width, x_scale);
}

int fi_face_height(const FI_face* face, float y_scale) {
    return scaled(face->total_height, y_scale);
}

// ---- scaling -------------------------------------------------------------------------------------------------------

namespace {

constexpr float NEARLY_ONE_LOW = 0.95F;
constexpr float NEARLY_ONE_HIGH = 1.05F;
constexpr float LARGEST_BITMAP = 32719; // bytes that a scaled symbol stays below
constexpr float LESS = 0.1F;            // what growing factors fall by until it does

// Which pixels of a growing axis are set once more, and which of a shrinking one are kept: "1", running through.
struct rhythm {
    float from; // of the fraction
    const char* pattern;
};
constexpr rhythm RHYTHMS[] = {
    {0.95F, "11111111110111111111"},
    {0.9F, "1111101111"},
    {0.85F, "11110111110111101111"},
    {0.8F, "11011"},
    {0.75F, "1101"},
    {0.67F, "101"},
    {0.6F, "10101"},
    {0.5F, "10"},
    {0.4F, "01010"},
    {0.3333F, "010"},
    {0.25F, "0100"},
    {0.2F, "00100"},
    {0.1666F, "001000"},
    {0.1F, "0000010000"},
};

const char* pattern_of(float factor) {
    const bool grows = factor >= 1.0F;
    const float fraction = grows ? factor - static_cast<float>(static_cast<int>(factor)) : factor;
    for (const rhythm& r : RHYTHMS)
        if (fraction >= r.from) return r.pattern;
    return grows ? "0" : "000000010000000";
}

// One axis of a scaled symbol: for each pixel of the result the source pixel that it shows.
struct axis {
    uint8_t* source; // owned
    int count;
};

axis scale_axis(int pixels, float factor) {
    const int whole = factor >= 1.0F ? static_cast<int>(factor) : 0;
    axis a = {mem_new_array<uint8_t>(static_cast<size_t>(pixels) * static_cast<size_t>(whole + 1)), 0};
    if (a.source == nullptr) return a;
    const char* pattern = pattern_of(factor);
    const char* at = pattern;
    for (int i = 0; i < pixels; ++i) {
        const int copies = whole + (*at == '1' ? 1 : 0);
        std::fill_n(a.source + a.count, copies, static_cast<uint8_t>(i));
        a.count += copies;
        if (*++at == '\0') at = pattern;
    }
    return a;
}

// Growing factors fall until the bitmap is of a size that the display layer draws well.
void limit_factors(const FI_face* face, float* fx, float* fy) {
    const auto need = [&] {
        return *fy * (*fx * static_cast<float>(face->width) + 7) * static_cast<float>(face->height) * 0.125F;
    };
    while ((*fx >= 1.0F || *fy >= 1.0F) && need() >= LARGEST_BITMAP) {
        if (*fx >= 1.0F) *fx -= LESS;
        if (*fy >= 1.0F) *fy -= LESS;
    }
}

bool source_bit(const FI_face* face, int x, int y) {
    const size_t stride = (size_t{face->width} + 7) / 8;
    return (face->bits[static_cast<size_t>(y) * stride + static_cast<size_t>(x) / 8] >> (x & 7) & 1) != 0;
}

void draw_scaled(int window, int x, int y, const FI_face* face, const axis& across, const axis& down) {
    if (across.source == nullptr || down.source == nullptr || across.count == 0 || down.count == 0) return;
    const size_t stride = (static_cast<size_t>(across.count) + 7) / 8;
    const size_t bytes = stride * static_cast<size_t>(down.count);
    const mem_guard<uint8_t> bits(static_cast<uint8_t*>(mem_alloc_zeroed(bytes)));
    if (!bits) return;
    for (int row = 0; row < down.count; ++row)
        for (int column = 0; column < across.count; ++column) {
            if (!source_bit(face, across.source[column], down.source[row])) continue;
            uint8_t& byte = bits[static_cast<size_t>(row) * stride + static_cast<size_t>(column) / 8];
            byte = static_cast<uint8_t>(byte | 1U << (column & 7));
        }
    fi_graphic.drawbitmap(window, x, y, x + across.count - 1, y + down.count - 1, bits.get());
}

bool is_nearly_one(float scale) {
    return scale >= NEARLY_ONE_LOW && scale < NEARLY_ONE_HIGH;
}

void draw_unscaled(int window, int x, int y, uint32_t font, int code) {
    const char text[] = {static_cast<char>(code), '\0'};
    fi_graphic.drawsymbols(window, static_cast<int>(font), x, y, text, 1);
}

// At twice its size a symbol is drawn by its larger picture, in the middle of the box that it would have. False when
// the file has none, or one that is larger than the box.
bool draw_large(int window, int x, int y, uint32_t font, const FI_face* face, float x_scale, float y_scale) {
    if (!is_nearly_one(x_scale / 2) || !is_nearly_one(y_scale / 2) || face->index >= LARGE_SYMBOL) return false;
    const int code = face->index + LARGE_SYMBOL;
    const font_glyph* glyph = font_find_glyph(static_cast<int>(font), static_cast<uint8_t>(code));
    if (glyph == nullptr) return false;
    const int free_width = fi_face_width(face, x_scale) - (glyph->width + glyph->x_offset);
    const int free_height = fi_face_height(face, y_scale) - (glyph->height + glyph->y_offset);
    if (free_width < 0 || free_height < 0) return false;
    draw_unscaled(window, x + free_width / 2, y + free_height / 2, font, code);
    return true;
}

} // namespace

void fi_draw_face(int window, int x, int y, uint32_t font, const FI_face* face, float x_scale, float y_scale) {
    if (face->bits == nullptr || x_scale <= 0 || y_scale <= 0) return;
    if (is_nearly_one(x_scale) && is_nearly_one(y_scale)) return draw_unscaled(window, x, y, font, face->index);
    if (draw_large(window, x, y, font, face, x_scale, y_scale)) return;
    limit_factors(face, &x_scale, &y_scale);
    const axis across = scale_axis(face->width, x_scale);
    const axis down = scale_axis(face->height, y_scale);
    draw_scaled(window, x + scaled(face->x_offset, x_scale), y + scaled(face->y_offset, y_scale), face, across, down);
    mem_free(across.source);
    mem_free(down.source);
}
