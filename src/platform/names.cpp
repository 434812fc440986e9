// Names of files: how a path in the application's form becomes a real one, the working directory, and the directory
// operations. What moves bytes is in handles.cpp, streams.cpp and reader.cpp.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/files.h"
#include "support/text.h"

namespace {

bool stands(const char* real) {
    struct stat info;
    return stat(real, &info) == 0;
}

bool copy_text(const char* text, char* out, size_t size) {
    size_t length = std::strlen(text);
    if (length >= size) return false;
    std::memcpy(out, text, length + 1);
    return true;
}

// The path without its drive and with "/" as separator. A bare drive is its root.
bool to_slashes(const char* path, char* out, size_t size) {
    if (path[0] != '\0' && path[1] == ':') path = path[2] != '\0' ? path + 2 : "/";
    if (!copy_text(path, out, size)) return false;
    for (char* p = out; *p != '\0'; ++p) {
        if (*p == '\\') *p = '/';
    }
    return out[0] != '\0';
}

// A path that is being put together, component by component.
struct path_text {
    char text[FILES_PATH_SIZE];
    size_t length;
};

bool append(path_text* path, const char* piece, size_t length) {
    if (path->length + length + 1 > sizeof path->text) return false;
    std::memcpy(path->text + path->length, piece, length);
    path->length += length;
    path->text[path->length] = '\0';
    return true;
}

bool match_rest(path_text* done, const char* rest);

// Tries one name for the next component, and goes on with what follows it. Takes the name off again when that fails.
bool try_component(path_text* done, const char* name, size_t length, const char* rest) {
    size_t before = done->length;
    if (append(done, name, length) && stands(done->text) && match_rest(done, rest)) return true;
    done->length = before;
    done->text[before] = '\0';
    return false;
}

// Looks for the component in the directory without regard to case, and to whether it is UTF-8 or Latin-1. Each
// candidate is followed to the end, so that a second directory that differs in case only is found as well.
bool try_other_case(path_text* done, const char* name, size_t length, const char* rest) {
    DIR* directory = opendir(done->length > 0 ? done->text : ".");
    if (directory == nullptr) return false;
    bool found = false;
    for (const dirent* entry = readdir(directory); entry != nullptr && !found; entry = readdir(directory)) {
        const size_t entry_length = std::strlen(entry->d_name);
        if (!text_same_name(entry->d_name, entry_length, name, length)) continue;
        if (entry_length == length && std::memcmp(entry->d_name, name, length) == 0) continue; // tried already
        found = try_component(done, entry->d_name, entry_length, rest);
    }
    closedir(directory);
    return found;
}

bool match_rest(path_text* done, const char* rest) {
    size_t separators = std::strspn(rest, "/");
    if (separators > 0 && !append(done, "/", 1)) return false;
    rest += separators;
    if (*rest == '\0') return true;
    size_t length = std::strcspn(rest, "/");
    return try_component(done, rest, length, rest + length) || try_other_case(done, rest, length, rest + length);
}

} // namespace

bool files_resolve(const char* path, char* real, size_t size) {
    if (path == nullptr || path[0] == '\0') return false;
    if (stands(path)) return copy_text(path, real, size);
    char slashes[FILES_PATH_SIZE];
    if (!to_slashes(path, slashes, sizeof slashes)) return false;
    path_text done = {};
    return match_rest(&done, slashes) && copy_text(done.text, real, size);
}

bool files_resolve_new(const char* path, char* real, size_t size) {
    if (files_resolve(path, real, size)) return true;
    char slashes[FILES_PATH_SIZE];
    if (path == nullptr || !to_slashes(path, slashes, sizeof slashes)) return false;
    char* last = std::strrchr(slashes, '/');
    char name[FILES_PATH_SIZE];
    if (!text_to_utf8(last != nullptr ? last + 1 : slashes, name, sizeof name)) return false;
    if (last == nullptr) return copy_text(name, real, size);
    if (name[0] == '\0') return false;
    char directory[FILES_PATH_SIZE] = "/";
    if (last != slashes) {
        *last = '\0';
        if (!files_resolve(slashes, directory, sizeof directory)) return false;
    }
    const char* joint = std::strcmp(directory, "/") == 0 ? "" : "/";
    int written = std::snprintf(real, size, "%s%s%s", directory, joint, name);
    return written > 0 && static_cast<size_t>(written) < size;
}

namespace {

bool status_of(const char* path, struct stat* info) {
    char real[FILES_PATH_SIZE];
    return files_resolve(path, real, sizeof real) && stat(real, info) == 0;
}

} // namespace

bool files_exists(const char* path) {
    struct stat info;
    return status_of(path, &info);
}

bool files_is_directory(const char* path) {
    struct stat info;
    return status_of(path, &info) && S_ISDIR(info.st_mode);
}

bool files_is_same(const char* a, const char* b) {
    struct stat first;
    struct stat second;
    return status_of(a, &first) && status_of(b, &second) && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

int64_t files_size_of(const char* path) {
    struct stat info;
    return status_of(path, &info) && S_ISREG(info.st_mode) ? int64_t{info.st_size} : -1;
}

int64_t files_changed_at(const char* path) {
    struct stat info;
    if (!status_of(path, &info)) return -1;
    return int64_t{info.st_mtim.tv_sec} * 1000000000 + info.st_mtim.tv_nsec;
}

bool files_working_directory(char* path, size_t size) {
    return getcwd(path, size) != nullptr;
}

bool files_change_directory(const char* path) {
    char real[FILES_PATH_SIZE];
    return files_resolve(path, real, sizeof real) && chdir(real) == 0;
}

const char* files_last_name(const char* path) {
    const char* name = path;
    for (const char* at = path; *at != '\0'; ++at)
        if (*at == '/' || *at == '\\') name = at + 1;
    return name;
}

bool files_is_full(const char* path) {
    return path[0] == '/' || path[0] == '\\' || (path[0] != '\0' && path[1] == ':');
}

bool files_join(const char* directory, const char* path, char* full, size_t size) {
    if (files_is_full(path)) return copy_text(path, full, size);
    const size_t length = std::strlen(directory);
    const bool ends = length == 0 || directory[length - 1] == '/' || directory[length - 1] == '\\';
    const char* joint = ends ? "" : directory[0] == '\\' ? "\\" : "/";
    const int written = std::snprintf(full, size, "%s%s%s", directory, joint, path);
    return written > 0 && static_cast<size_t>(written) < size;
}

bool files_full_path(const char* path, char* full, size_t size) {
    char directory[FILES_PATH_SIZE] = "";
    if (!files_is_full(path) && !files_working_directory(directory, sizeof directory)) return false;
    return files_join(directory, path, full, size);
}

int files_write_fault(const char* path) {
    char real[FILES_PATH_SIZE];
    struct stat info;
    if (!files_resolve_new(path, real, sizeof real)) return ENOENT;
    if (stat(real, &info) == 0) {
        if (access(real, W_OK) != 0) return EACCES;
    } else if (errno != ENOENT) {
        return errno;
    }
    char* last = std::strrchr(real, '/');
    if (last == real) last[1] = '\0';
    if (last > real) *last = '\0';
    const char* directory = last != nullptr ? real : ".";
    if (stat(directory, &info) != 0) return errno;
    return access(directory, W_OK) == 0 ? 0 : EACCES;
}

const char* files_fault_text(int number) {
    return std::strerror(number);
}

bool files_make_directory(const char* path) {
    if (files_is_directory(path)) return true;
    char part[FILES_PATH_SIZE];
    char real[FILES_PATH_SIZE];
    if (path[0] == '\0' || !to_slashes(path, part, sizeof part)) return false;
    // up to the first component that does not exist
    char* end = part;
    char kept = '\0';
    do {
        *end = end == part ? *end : kept;
        end += std::strspn(end, "/");
        end += std::strcspn(end, "/");
        kept = std::exchange(*end, '\0');
    } while (kept != '\0' && files_is_directory(part));
    if (!files_resolve_new(part, real, sizeof real)) return false;
    *end = kept;
    // that one, and from there on names are as they are given
    path_text made = {};
    if (!append(&made, real, std::strlen(real))) return false;
    while (mkdir(made.text, 0777) == 0 || files_is_directory(made.text)) {
        end += std::strspn(end, "/");
        if (*end == '\0') return true;
        size_t length = std::strcspn(end, "/");
        if (!append(&made, "/", 1) || !append(&made, end, length)) return false;
        end += length;
    }
    return false;
}

namespace {

// Most systems tell the kind with the name; for the others, and for links, the entry is looked at.
bool entry_is_directory(int directory, const dirent* entry) {
    if (entry->d_type != DT_UNKNOWN && entry->d_type != DT_LNK) return entry->d_type == DT_DIR;
    struct stat info;
    return fstatat(directory, entry->d_name, &info, 0) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

bool files_list(const char* path, bool (*each)(void* user, const char* name, bool is_directory), void* user) {
    char real[FILES_PATH_SIZE];
    DIR* directory = files_resolve(path, real, sizeof real) ? opendir(real) : nullptr;
    if (directory == nullptr) return false;
    bool good = true;
    for (const dirent* entry = readdir(directory); entry != nullptr && good; entry = readdir(directory)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
        good = each(user, entry->d_name, entry_is_directory(dirfd(directory), entry));
    }
    closedir(directory);
    return good;
}

bool files_remove(const char* path) {
    char real[FILES_PATH_SIZE];
    return files_resolve(path, real, sizeof real) && unlink(real) == 0;
}

bool files_rename(const char* from, const char* to) {
    char old_name[FILES_PATH_SIZE];
    char new_name[FILES_PATH_SIZE];
    return files_resolve(from, old_name, sizeof old_name) && files_resolve_new(to, new_name, sizeof new_name) &&
           std::rename(old_name, new_name) == 0;
}

bool files_program_directory(char* path, size_t size) {
    char program[FILES_PATH_SIZE];
    ssize_t length = readlink("/proc/self/exe", program, sizeof program);
    if (length <= 0 || static_cast<size_t>(length) >= sizeof program) return false;
    program[length] = '\0';
    char* last = std::strrchr(program, '/');
    if (last == nullptr) return false;
    last[last == program ? 1 : 0] = '\0';
    return copy_text(program, path, size);
}
