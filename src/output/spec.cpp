// The parts of a specification, and the list of files that it stands for.
#include "output/spec.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "output/sequence.h"
#include "platform/files.h"
#include "support/memory.h"

namespace {

constexpr int FRAME_MAX = 99999;
constexpr int RANGE_BASE = 3; // characters of the base that a frame's name begins with

// A copy with "\" for "/"; false for a text that is null or too long.
bool turned(const char* text, char out[SPEC_SIZE]) {
    out[0] = '\0';
    if (text == nullptr || std::strlen(text) >= SPEC_SIZE) return false;
    for (; *text != '\0'; ++text)
        *out++ = *text == '/' ? '\\' : *text;
    *out = '\0';
    return true;
}

const char* name_of(const char* text) {
    const char* last = std::strrchr(text, '\\');
    return last != nullptr ? last + 1 : text;
}

void copy(char* out, const char* text, size_t length) {
    std::memcpy(out, text, length);
    out[length] = '\0';
}

// The two numbers of a range; false when the text is none.
bool range_of(const char* text, int* first, int* last) {
    const char* second = text[0] == ',' ? std::strchr(text + 1, ',') : nullptr;
    if (second == nullptr || second == text + 1 || second[1] == '\0' || std::strchr(second + 1, ',') != nullptr)
        return false;
    *first = std::atoi(text + 1);  // NOLINT(cert-err34-c): a number with something behind it counts
    *last = std::atoi(second + 1); // NOLINT(cert-err34-c)
    return *first >= 1 && *first <= FRAME_MAX && *last >= 1 && *last <= FRAME_MAX;
}

bool joined(char out[SPEC_SIZE], const char* a, const char* b, const char* c, const char* d, const char* e) {
    const int written = std::snprintf(out, SPEC_SIZE, "%s%s%s%s%s", a, b, c, d, e);
    return written >= 0 && static_cast<size_t>(written) < SPEC_SIZE;
}

// ---- lists ---------------------------------------------------------------------------------------------------------

// A list under way.
struct collector {
    char** files; // owned, with its texts
    int count, room;
    const char* directory;
};

bool add_file(collector* c, const char* name) {
    if (c->count >= SPEC_FILES_MAX) return false;
    if (c->count + 1 >= c->room) { // one place stays for the null at the end
        const int room = c->room > 0 ? c->room * 2 : 16;
        auto** files = static_cast<char**>(mem_realloc(c->files, static_cast<size_t>(room) * sizeof(char*)));
        if (files == nullptr) return false;
        c->files = files;
        c->room = room;
    }
    char* text = mem_copy_text(name);
    if (text == nullptr) return false;
    c->files[c->count++] = text;
    return true;
}

bool add_range(collector* c, const char* text) {
    char directory[SPEC_SIZE], base[SPEC_SIZE], extension[SPEC_SIZE], range[SPEC_SIZE];
    spec_directory(text, directory);
    spec_base(text, base);
    spec_extension(text, extension);
    spec_range(text, range);
    int first = 0;
    int last = 0;
    if (!range_of(range, &first, &last)) return false;
    const bool is_bare = extension[0] == '\0';
    const int step = first > last ? -1 : 1;
    for (int frame = first; frame != last + step; frame += step) {
        char name[SPEC_SIZE];
        const int written = std::snprintf(name, sizeof name, "%s%.*s%05d%s%s", directory, RANGE_BASE, base, frame,
                                          is_bare ? "." : "", is_bare ? spec_default_extension() : extension);
        if (written < 0 || static_cast<size_t>(written) >= sizeof name || !add_file(c, name)) return false;
    }
    return true;
}

bool collect(collector* c, const char* text, int depth);

bool collect_sequence(collector* c, const char* path, int depth) {
    if (depth >= SPEC_NESTING_MAX) return false;
    sequence_text sequence;
    if (!sequence_open(&sequence, path)) return false;
    char line[SPEC_SIZE];
    sequence_line kind = sequence_line::specification;
    bool good = true;
    while (good && (kind = sequence_next(&sequence, line)) == sequence_line::specification)
        good = collect(c, line, depth + 1);
    sequence_close(&sequence);
    return good && kind == sequence_line::end;
}

bool collect(collector* c, const char* text, int depth) {
    char path[FILES_PATH_SIZE];
    const bool fits = files_join(c->directory, text, path, sizeof path);
    if (fits && spec_is_sequence_file(path) != 0) return collect_sequence(c, path, depth);
    return spec_is_range(text) != 0 ? add_range(c, text) : add_file(c, text);
}

} // namespace

void spec_directory(const char* text, char out[SPEC_SIZE]) {
    if (turned(text, out)) out[name_of(out) - out] = '\0';
}

void spec_base(const char* text, char out[SPEC_SIZE]) {
    char all[SPEC_SIZE];
    out[0] = '\0';
    if (!turned(text, all)) return;
    const char* name = name_of(all);
    copy(out, name, std::strcspn(name, ".,"));
}

void spec_extension(const char* text, char out[SPEC_SIZE]) {
    char all[SPEC_SIZE];
    out[0] = '\0';
    if (!turned(text, all)) return;
    const char* name = name_of(all);
    const char* dot = name + std::strcspn(name, ".,");
    if (*dot == '.') copy(out, dot, std::strcspn(dot, ","));
}

void spec_range(const char* text, char out[SPEC_SIZE]) {
    char all[SPEC_SIZE];
    out[0] = '\0';
    if (!turned(text, all)) return;
    const char* dot = std::strchr(name_of(all), '.');
    const char* comma = dot != nullptr ? std::strchr(dot, ',') : nullptr;
    int first = 0;
    int last = 0;
    if (comma != nullptr && range_of(comma, &first, &last)) copy(out, comma, std::strlen(comma));
}

int spec_is_range(const char* text) {
    char base[SPEC_SIZE], range[SPEC_SIZE];
    spec_base(text, base);
    spec_range(text, range);
    return base[0] != '\0' && range[0] != '\0' ? 1 : 0;
}

bool spec_is_usable(const char* text) {
    char all[SPEC_SIZE], base[SPEC_SIZE];
    if (!turned(text, all)) return false;
    spec_base(all, base);
    if (base[0] == '\0') return false;
    return std::strchr(name_of(all), ',') == nullptr || spec_is_range(all) != 0;
}

bool spec_expand(const char* text, char out[SPEC_SIZE]) {
    return spec_with_extension(text, spec_default_extension(), false, out);
}

bool spec_with_extension(const char* text, const char* extension, bool force, char out[SPEC_SIZE]) {
    char directory[SPEC_SIZE], base[SPEC_SIZE], own[SPEC_SIZE], range[SPEC_SIZE];
    spec_directory(text, directory);
    spec_base(text, base);
    spec_extension(text, own);
    spec_range(text, range);
    const bool takes_own = own[0] != '\0' && !force;
    return joined(out, directory, base, takes_own ? "" : ".", takes_own ? own : extension, range);
}

int spec_list(const char* text, const char* directory, char*** files, int* count) {
    const int before = *files != nullptr ? *count : 0;
    collector c = {*files, before, *files != nullptr ? before + 1 : 0, directory};
    const bool good = collect(&c, text, 0);
    for (int i = good ? c.count : before; i < c.count; ++i)
        mem_free(c.files[i]);
    *files = c.files;
    *count = good ? c.count : before;
    if (c.files != nullptr && *count == 0) {
        mem_free(c.files);
        *files = nullptr;
    }
    if (*files != nullptr) (*files)[*count] = nullptr;
    return good ? 1 : 0;
}

void spec_files_free(char** files) {
    for (char** file = files; file != nullptr && *file != nullptr; ++file)
        mem_free(*file);
    mem_free(files);
}
