// The table of named colours, loading a palette file as a whole, and saving it.
#include "surface/palette.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "support/checked.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/palscan.h"
#include "surface/savefile.h"

namespace {

constexpr size_t POINTER_SIZE = sizeof(void*); // of the table's entries

named_color* color_new(const char* name, double red, double green, double blue) {
    size_t length = std::strlen(name);
    auto* color = static_cast<named_color*>(mem_alloc(sizeof(named_color) + length + 1));
    if (color == nullptr) return nullptr;
    color->red = red;
    color->green = green;
    color->blue = blue;
    std::memcpy(color->name, name, length + 1);
    return color;
}

struct entry_count {
    size_t entries; // of either kind
    size_t colors;
    const char* end; // where the scan ended
};

entry_count count_entries(const char* text) {
    entry_count count = {0, 0, nullptr};
    palette_item item;
    while (palette_next(&text, &item)) {
        ++count.entries;
        if (item.body == palette_body::color) ++count.colors;
    }
    count.end = text;
    return count;
}

// Stores the colours of the text in the table, which has room for them. An entry that there is no memory for is lost,
// with a message for each.
void fill_colors(color_palette* colors, const char* text) {
    palette_item item;
    while (palette_next(&text, &item)) {
        if (item.body != palette_body::color) continue;
        named_color* color = color_new(item.name, item.red, item.green, item.blue);
        if (color != nullptr) {
            colors->entries[colors->count++] = color;
            continue;
        }
        colors->in_part = true;
        log_message(LOG_WARNING, "Failed to allocate memory for named color.\n");
    }
}

void make_up_name(char* name, size_t size, double red, double green, double blue) {
    std::snprintf(name, size, "%03d_%03d_%03d", static_cast<int>(red * 255.0), static_cast<int>(green * 255.0),
                  static_cast<int>(blue * 255.0));
}

bool write_text(file_stream* out, const char* text) {
    size_t length = std::strlen(text);
    return stream_write(text, 1, length, out) == length;
}

// A reader takes a name with the blank behind it: after the longest names there is none.
bool write_name(file_stream* out, const char* name) {
    return write_text(out, name) && (std::strlen(name) >= PALETTE_NAME_SIZE - 1 || write_text(out, " "));
}

bool write_entries(file_stream* out, const color_palette* colors, const pattern_palette* patterns) {
    char line[512];
    for (int i = 0; i < colors->count; ++i) {
        const named_color* c = colors->entries[i];
        std::snprintf(line, sizeof line, "{color = (%.6f, %.6f, %.6f);}\n", c->red, c->green, c->blue);
        if (!write_name(out, c->name) || !write_text(out, line)) return false;
    }
    for (int i = 0; i < patterns->count; ++i) {
        const pattern_entry* p = &patterns->entries[i];
        bool good = write_name(out, p->name) && write_text(out, "{pattern = \"") && write_text(out, p->file) &&
                    write_text(out, "\";}\n");
        if (!good) return false;
    }
    return true;
}

int grow(color_palette* colors, const char* name, double red, double green, double blue) {
    auto count = static_cast<size_t>(colors->count);
    named_color* color = color_new(name, red, green, blue);
    auto* entries = static_cast<named_color**>(
        color != nullptr ? mem_realloc(colors->entries, (count + 1) * POINTER_SIZE) : nullptr);
    if (entries == nullptr) {
        mem_free(color);
        log_message(LOG_WARNING, "Failed to allocated memory for color pallete.\n");
        return -1;
    }
    colors->entries = entries;
    colors->entries[colors->count++] = color;
    return 1;
}

// A number of a colour, 0 to 1. What is no number counts as 0: the file could not hold it.
double channel(double value) {
    return std::isnan(value) ? 0.0 : clamped(value, 0.0, 1.0);
}

// The name as it comes back out of a palette file: without blanks around it, without "{", which ends a name there, and
// of at most PALETTE_NAME_SIZE - 1 characters.
void storable_name(char name[PALETTE_NAME_SIZE], const char* wanted) {
    while (std::isspace(static_cast<unsigned char>(*wanted)) != 0)
        ++wanted;
    size_t length = 0;
    for (; wanted[length] != '\0' && length < PALETTE_NAME_SIZE - 1; ++length)
        name[length] = wanted[length] == '{' ? '_' : wanted[length];
    while (length > 0 && std::isspace(static_cast<unsigned char>(name[length - 1])) != 0)
        --length;
    name[length] = '\0';
}

} // namespace

int palette_load(color_palette* colors, const char* path) {
    palette_clear(colors);
    size_t size = 0;
    mem_guard<char> text(palette_text(path, &size));
    if (!text) return 0;
    entry_count count = count_entries(text.get());
    // A file that was cut keeps its good entries, but is not taken for a whole one.
    if (count.entries > 0 && !palette_is_whole(count.end, text.get() + size)) {
        colors->in_part = true;
        log_message(LOG_WARNING, "Palette file \"%s\" is read up to its entry %zu only.\n", path, count.entries);
    }
    if (count.colors > 0) {
        colors->entries = static_cast<named_color**>(mem_alloc_array(count.colors, POINTER_SIZE));
        if (colors->entries == nullptr) {
            log_message(LOG_WARNING, "Failed to allocated memory for color_pal.\n");
            return 0;
        }
        fill_colors(colors, text.get());
    }
    return count.entries > 0 ? 1 : 0;
}

int load_palette_file(color_palette* colors, pattern_palette* patterns, const char* path) {
    if (palette_load(colors, path) != 0 && pattern_palette_load(patterns, path) != 0) return 1;
    palette_clear(colors);
    pattern_palette_clear(patterns);
    log_message(LOG_WARNING, "Load Failure on Palette file.");
    return 0;
}

int palette_save(const color_palette* colors, const pattern_palette* patterns, const char* path) {
    return save_file(path, [=](file_stream* out) { return write_entries(out, colors, patterns); });
}

int palette_add(color_palette* colors, const char* wanted, double red, double green, double blue) {
    int index = 0;
    return palette_add_at(colors, wanted, red, green, blue, &index);
}

int palette_add_at(color_palette* colors, const char* wanted, double red, double green, double blue, int* index) {
    red = channel(red);
    green = channel(green);
    blue = channel(blue);
    char name[PALETTE_NAME_SIZE];
    storable_name(name, wanted);
    if (name[0] == '\0') make_up_name(name, sizeof name, red, green, blue);
    *index = palette_find(colors, name);
    if (*index < 0) {
        const int grown = grow(colors, name, red, green, blue);
        *index = grown > 0 ? colors->count - 1 : -1;
        return grown;
    }
    named_color* c = colors->entries[*index];
    if (c->red == red && c->green == green && c->blue == blue) return 0;
    c->red = red;
    c->green = green;
    c->blue = blue;
    return 1;
}

int palette_find(const color_palette* colors, const char* name) {
    for (int i = 0; i < colors->count; ++i) {
        if (std::strcmp(colors->entries[i]->name, name) == 0) return i;
    }
    return -1;
}

int palette_name_is_made_up(const char* name) {
    int numbers[3];
    int count = std::sscanf(name, "%3d_%3d_%3d", &numbers[0], &numbers[1], &numbers[2]); // NOLINT(cert-err34-c)
    if (count != 3) return 0;
    char printed[64];
    int length = std::snprintf(printed, sizeof printed, "%03d_%03d_%03d", numbers[0], numbers[1], numbers[2]);
    return length == 11 && std::strcmp(printed, name) == 0 ? 1 : 0;
}

void palette_clear(color_palette* colors) {
    for (int i = 0; i < colors->count; ++i)
        mem_free(colors->entries[i]);
    mem_free(colors->entries);
    *colors = {};
}
