// Checking specifications, and what the form tells about the files.
#include "output/target.h"

#include <cstdio>
#include <cstring>

#include "support/checked.h"
#include "support/memory.h"

namespace {

// A name without "\" at its end; a root keeps its own.
void cut_end(char* text) {
    size_t length = std::strlen(text);
    const size_t kept = length > 1 && text[1] == ':' ? 3 : 1;
    while (length > kept && text[length - 1] == '\\')
        text[--length] = '\0';
    if (length == 2 && text[1] == ':') std::memcpy(text + 2, "\\", 2);
}

// The text with "\" for "/" and the target's directory in front. False when it is too long for a specification.
bool full_text(const char* text, const char* directory, char out[SPEC_SIZE]) {
    if (!files_join(directory, text, out, SPEC_SIZE)) return false;
    for (char* p = out; *p != '\0'; ++p)
        if (*p == '/') *p = '\\';
    cut_end(out);
    return true;
}

bool set_text(char** text, const char* value) {
    char* copy = mem_copy_text(value);
    if (copy == nullptr) return false;
    mem_free(*text);
    *text = copy;
    return true;
}

// Puts what was made in the place of the target's, or gives it back.
int take(output_target* target, output_target* made, int fault) {
    if (fault == OUTPUT_GOOD && (made->spec == nullptr || made->directory == nullptr)) fault = OUTPUT_NO_MEMORY;
    output_target* lost = fault == OUTPUT_GOOD ? target : made;
    output_target_free(lost);
    if (fault == OUTPUT_GOOD) *target = *made;
    return fault;
}

int take_directory(output_target* target, const char* directory) {
    char with_end[SPEC_SIZE + 1];
    const size_t length = std::strlen(directory);
    std::snprintf(with_end, sizeof with_end, "%s%s", directory, directory[length - 1] == '\\' ? "" : "\\");
    output_target made = {mem_copy_text(with_end), mem_copy_text(with_end), nullptr, 0};
    return take(target, &made, OUTPUT_GOOD);
}

// Makes a name of the list full and judges it.
int check_file(char** name, const char* directory, bool is_one_of_several) {
    char full[SPEC_SIZE];
    if ((*name)[0] == '\0' || !full_text(*name, directory, full)) return OUTPUT_BAD_SPEC;
    if (!set_text(name, full)) return OUTPUT_NO_MEMORY;
    if (files_is_directory(full)) return is_one_of_several ? OUTPUT_IS_DIRECTORY : OUTPUT_NOT_REGULAR;
    if (files_exists(full) && files_size_of(full) < 0) return OUTPUT_NOT_REGULAR;
    if (rzl_is_catalog(full) != 0) return OUTPUT_IS_CATALOG; // its members would be left without it
    return files_write_fault(full);
}

// Adds the files of an expanded specification and judges them.
int add_files(const char* expanded, output_target* made, const char* directory) {
    const int before = made->count;
    const int listed = spec_list(expanded, directory, &made->files, &made->count);
    if (listed == 0 || made->count == before) return OUTPUT_BAD_SPEC;
    int fault = OUTPUT_GOOD;
    for (int i = before; fault == OUTPUT_GOOD && i < made->count; ++i)
        fault = check_file(&made->files[i], directory, made->count > 1);
    return fault;
}

const char* no_directory(const output_target* target) {
    return target->directory != nullptr ? target->directory : "\\";
}

} // namespace

void output_target_free(output_target* target) {
    mem_free(target->spec);
    mem_free(target->directory);
    spec_files_free(target->files);
    *target = {nullptr, nullptr, nullptr, 0};
}

int output_verify_spec(const char* text, output_target* target) {
    if (text == nullptr || text[0] == '\0') return OUTPUT_NOTHING;
    const char* names[] = {text, nullptr};
    char full[SPEC_SIZE];
    if (!full_text(text, no_directory(target), full)) return OUTPUT_BAD_SPEC;
    if (files_is_directory(full)) return take_directory(target, full);
    return output_verify_names(names, target);
}

int output_verify_names(const char* const* names, output_target* target) {
    if (names == nullptr || names[0] == nullptr) return OUTPUT_NOTHING;
    output_target made = {nullptr, nullptr, nullptr, 0};
    int fault = OUTPUT_GOOD;
    for (int i = 0; fault == OUTPUT_GOOD && names[i] != nullptr; ++i) {
        char full[SPEC_SIZE], expanded[SPEC_SIZE], directory[SPEC_SIZE];
        const bool fits =
            full_text(names[i], no_directory(target), full) && spec_is_usable(full) && spec_expand(full, expanded);
        fault = fits ? static_cast<int>(OUTPUT_GOOD) : OUTPUT_BAD_SPEC;
        if (fault != OUTPUT_GOOD) break;
        spec_directory(expanded, directory);
        if (i == 0) {
            made.spec = mem_copy_text(expanded);
            made.directory = mem_copy_text(directory);
        }
        fault = add_files(expanded, &made, directory);
    }
    return take(target, &made, fault);
}

const char* output_fault_text(int fault) {
    switch (fault) {
    case OUTPUT_GOOD:
    case OUTPUT_NOTHING: return "";
    case OUTPUT_BAD_SPEC: return "Bad file spec";
    case OUTPUT_NOT_REGULAR: return "Not a regular file";
    case OUTPUT_NO_PRIVILEGE: return "Missing priviledge";
    case OUTPUT_IS_DIRECTORY: return "Spec includes a directory";
    case OUTPUT_IS_CATALOG: return "A catalog of other files";
    default: return files_fault_text(fault);
    }
}

int output_existing_message(const output_target* target, char first[SPEC_SIZE + 64], char second[128]) {
    constexpr size_t first_size = SPEC_SIZE + 64;
    first[0] = second[0] = '\0';
    int existing = 0;
    const char* one = nullptr;
    for (int i = 0; i < target->count; ++i) {
        if (!files_exists(target->files[i])) continue;
        ++existing;
        one = target->files[i];
    }
    if (existing == 0) return 0;
    if (existing == 1)
        std::snprintf(first, first_size, "File exists : %s", files_last_name(one));
    else if (spec_is_range(target->spec) != 0)
        std::snprintf(first, first_size, "%d of the files specified by %s exist.", existing,
                      files_last_name(target->spec));
    else
        std::snprintf(first, first_size, "%d of the specified files exist.", existing);
    std::snprintf(second, 128, "Change the specification or %s will be over-written", existing == 1 ? "it" : "they");
    return existing;
}

int output_correct_extensions(output_target* target, const char* extension, bool force) {
    if (target->spec == nullptr || target->files == nullptr) return OUTPUT_GOOD; // a directory has no extension
    output_target made = {nullptr, mem_copy_text(target->directory), nullptr, 0};
    char text[SPEC_SIZE];
    int fault = spec_with_extension(target->spec, extension, force, text) ? OUTPUT_GOOD : OUTPUT_BAD_SPEC;
    if (fault == OUTPUT_GOOD) made.spec = mem_copy_text(text);
    made.files = mem_new_array<char*>(static_cast<size_t>(target->count) + 1);
    if (made.files == nullptr) fault = OUTPUT_NO_MEMORY;
    for (int i = 0; fault == OUTPUT_GOOD && i < target->count; ++i) {
        if (!spec_with_extension(target->files[i], extension, force, text)) fault = OUTPUT_BAD_SPEC;
        made.files[i] = fault == OUTPUT_GOOD ? mem_copy_text(text) : nullptr;
        if (made.files[i] == nullptr && fault == OUTPUT_GOOD) fault = OUTPUT_NO_MEMORY;
        made.files[++made.count] = nullptr;
    }
    if (made.files != nullptr && made.count == 0) made.files[0] = nullptr;
    return take(target, &made, fault);
}

// ---- the type of the file ------------------------------------------------------------------------------------------

namespace {

constexpr int STANDARDS = 6;

void settle_format(output_settings* s) {
    if (s->standard == RZL_STANDARD_GIF) s->flags = (s->flags | OUTPUT_COMPRESSED) & ~OUTPUT_24_BITS;
    if (s->standard == RZL_STANDARD_BMP) s->flags &= ~OUTPUT_COMPRESSED;
    s->format = imp_format_code((s->flags & OUTPUT_24_BITS) != 0 ? 24 : 8, (s->flags & OUTPUT_COMPRESSED) != 0 ? 1 : 0);
}

void set_flag(output_settings* s, uint32_t flag, bool on) {
    s->flags = on ? s->flags | flag : s->flags & ~flag;
    settle_format(s);
}

} // namespace

void output_settle(output_settings* s) {
    if (s->standard < 0 || s->standard >= STANDARDS) s->standard = RZL_STANDARD_KRVN;
    s->flags &= ~(OUTPUT_24_BITS | OUTPUT_COMPRESSED | OUTPUT_OPEN);
    switch (s->format) {
    case RZL_FORMAT_BYTE: break;
    case RZL_FORMAT_BYTE_RUNS: s->flags |= OUTPUT_COMPRESSED; break;
    case RZL_FORMAT_RGB: s->flags |= OUTPUT_24_BITS; break;
    default: s->flags |= OUTPUT_24_BITS | OUTPUT_COMPRESSED; break;
    }
    s->colors = clamped(s->colors, OUTPUT_COLORS_LOW, OUTPUT_COLORS_HIGH);
    if (!(s->gamma >= OUTPUT_GAMMA_LOW && s->gamma <= OUTPUT_GAMMA_HIGH)) s->gamma = OUTPUT_GAMMA_USUAL;
    output_set_standard(s, s->standard);
}

void output_set_standard(output_settings* s, int standard) {
    s->standard = standard;
    spec_set_default_extension(spec_standard_extension(standard));
    settle_format(s);
}

void output_set_compressed(output_settings* s, bool is_compressed) {
    set_flag(s, OUTPUT_COMPRESSED, is_compressed);
}

void output_set_24_bits(output_settings* s, bool is_24) {
    set_flag(s, OUTPUT_24_BITS, is_24);
}

output_face output_face_of(const output_settings* s) {
    const bool is_gif = s->standard == RZL_STANDARD_GIF;
    const bool is_24 = (s->flags & OUTPUT_24_BITS) != 0;
    const bool is_fixed = is_gif || (s->standard == RZL_STANDARD_BMP && is_24);
    return {(s->flags & OUTPUT_COMPRESSED) == 0, !is_fixed, !is_24, !is_gif, !is_24};
}
