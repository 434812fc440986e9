// The search-path variables, and finding a file along one of them.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/files.h"
#include "platform/profile.h"
#include "support/memory.h"
#include "surface/paths.h"

namespace {

constexpr const char* SECTION = "Root";
constexpr size_t ROOT_SIZE = 248;          // longest VANTORAMA of the ini file, with its terminator
constexpr size_t DEFAULT_SIZE = 512;       // a default directory as long as this is left out
constexpr size_t DIRECTORY_SIZE = 512;     // a directory of a path and the name together must be shorter
constexpr size_t SEARCHED_SIZE = 4094 + 3; // what is taken of a variable, and ";."

struct search_variable {
    const char* name;
    const char* directory; // below the root
};
constexpr search_variable SEARCH_VARIABLES[] = {
    {VARIABLE_PALETTES, "palettes"},
    {VARIABLE_BUMPS, "bumps"},
    {VARIABLE_PATTERNS, "images"},
    {VARIABLE_REFERENCES, "samples"},
};

search_path_question question = nullptr;

const char* variable_value(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] != '\0' ? value : nullptr;
}

bool try_root(const char* base, const char* below) {
    char root[FILES_PATH_SIZE];
    int written = std::snprintf(root, sizeof root, "%s%s", base, below);
    if (written < 0 || static_cast<size_t>(written) >= sizeof root) return false;
    char images[FILES_PATH_SIZE];
    written = std::snprintf(images, sizeof images, "%s/images", root);
    if (written < 0 || static_cast<size_t>(written) >= sizeof images || !files_is_directory(images)) return false;
    char* real = realpath(root, nullptr);
    if (real == nullptr) return false;
    bool set = setenv(VARIABLE_ROOT, real, 1) == 0;
    std::free(real);
    return set;
}

void init_variable(const char* ini, const search_variable& v) {
    char fallback[DEFAULT_SIZE] = "";
    const char* root = variable_value(VARIABLE_ROOT);
    int written = std::snprintf(fallback, sizeof fallback, "%s\\%s", root != nullptr ? root : "", v.directory);
    if (root == nullptr || written < 0 || static_cast<size_t>(written) >= sizeof fallback) fallback[0] = '\0';
    char value[SEARCH_PATH_SIZE + 1];
    profile_get(ini, SECTION, v.name, fallback, value, sizeof value);
    const char* present = variable_value(v.name);
    size_t length = std::strlen(value);
    if (present != nullptr) std::snprintf(value + length, sizeof value - length, ";%s", present);
    setenv(v.name, value, 1);
}

// The directory and the name joined, when such a file exists.
bool try_directory(const char* directory, size_t length, const char* base, char* found, size_t size) {
    if (length == 0 || length + std::strlen(base) >= DIRECTORY_SIZE) return false;
    char last = directory[length - 1];
    const char* joint = last == '\\' || last == '/' ? "" : "\\";
    int written = std::snprintf(found, size, "%.*s%s%s", static_cast<int>(length), directory, joint, base);
    return written > 0 && static_cast<size_t>(written) < size && files_exists(found);
}

bool search_directories(const char* list, const char* base, char* found, size_t size) {
    mem_guard<char> copy(mem_new_array<char>(SEARCHED_SIZE));
    if (!copy) return false;
    std::snprintf(copy.get(), SEARCHED_SIZE, "%.4094s;.", list);
    for (const char* at = copy.get(); *at != '\0';) {
        size_t length = std::strcspn(at, ";,");
        if (try_directory(at, length, base, found, size)) return true;
        at += length;
        if (*at != '\0') ++at;
    }
    return false;
}

bool search_once(const char* file, const char* variable, char* found, size_t size) {
    char turned[FILES_PATH_SIZE];
    int written = std::snprintf(turned, sizeof turned, "%s", file);
    if (written < 0 || static_cast<size_t>(written) >= sizeof turned) return false;
    for (char* p = turned; *p != '\0'; ++p) {
        if (*p == '/') *p = '\\';
    }
    const char* last = std::strrchr(turned, '\\');
    const char* base = last != nullptr ? last + 1 : turned;
    // The name as given is tried before the turned one: on this platform a name may hold a "\".
    for (const char* candidate : {file, static_cast<const char*>(turned), base}) {
        if (candidate[0] == '\0' || !files_exists(candidate)) continue;
        return static_cast<size_t>(std::snprintf(found, size, "%s", candidate)) < size;
    }
    const char* list = variable_value(variable);
    return list != nullptr && base[0] != '\0' && search_directories(list, base, found, size);
}

} // namespace

void product_root_init() {
    if (variable_value(VARIABLE_ROOT) != nullptr) return;
    char program[FILES_PATH_SIZE];
    if (!files_program_directory(program, sizeof program)) return;
    for (const char* below : {"/../share/vantorama", "/../data", "/../../data", "/../../../data"}) {
        if (try_root(program, below)) return;
    }
}

void search_paths_init() {
    char ini[FILES_PATH_SIZE];
    if (!profile_default_path(ini, sizeof ini)) ini[0] = '\0';
    char root[ROOT_SIZE];
    profile_get(ini, SECTION, VARIABLE_ROOT, "*", root, sizeof root);
    if (std::strcmp(root, "*") != 0) setenv(VARIABLE_ROOT, root, 1);
    for (const search_variable& v : SEARCH_VARIABLES)
        init_variable(ini, v);
}

void search_path_set_question(search_path_question ask) {
    question = ask;
}

bool find_in_search_path(const char* file, const char* variable, const char* kind, char* found, size_t size) {
    do {
        if (search_once(file, variable, found, size)) return true;
    } while (question != nullptr && question(file, variable, kind) != 0);
    std::snprintf(found, size, "%s", file);
    return false;
}

bool find_pattern_file(const char* file, char* found, size_t size) {
    return find_in_search_path(file, VARIABLE_PATTERNS, "pattern", found, size);
}
