// Finding the companion raster of a .tnc file, and judging the pair by name.
#include <cstdio>
#include <cstring>

#include "core/open_image.h"
#include "platform/files.h"
#include "support/log.h"
#include "surface/file_types.h"

namespace {

// A version 3 file whose first record is a header of kind 1 names its companion.
constexpr uint8_t NAMES_COMPANION[4] = {250, 3, 243, 1};
constexpr size_t NAME_SIZE = 80;

const char* last_component(const char* path) {
    const char* slash = std::strrchr(path, '/');
    if (slash == nullptr) slash = std::strrchr(path, '\\');
    return slash != nullptr ? slash + 1 : path;
}

bool is_file(const char* path) {
    return files_exists(path) && !files_is_directory(path);
}

bool copy(char* out, size_t size, const char* first, size_t first_length, const char* rest) {
    int written = std::snprintf(out, size, "%.*s%s", static_cast<int>(first_length), first, rest);
    return written >= 0 && static_cast<size_t>(written) < size;
}

// The name that the file holds for its companion; false when it names none.
bool read_name(const char* tnc_path, char name[NAME_SIZE]) {
    file_reader* reader = reader_open(tnc_path);
    if (reader == nullptr) {
        log_message(LOG_WARNING, "Failed to open \"%s\"\n", tnc_path);
        return false;
    }
    uint8_t head[sizeof NAMES_COMPANION];
    bool names =
        reader_read(reader, head, sizeof head) == sizeof head && std::memcmp(head, NAMES_COMPANION, sizeof head) == 0;
    if (names) {
        size_t length = reader_read(reader, name, NAME_SIZE);
        name[length < NAME_SIZE ? length : NAME_SIZE - 1] = '\0';
    }
    reader_close(reader);
    return names;
}

// The path with what follows its last "." replaced; the last "." of the whole path counts.
bool replace_extension(const char* tnc_path, char* raster_path, size_t size) {
    const char* dot = std::strrchr(tnc_path, '.');
    size_t length = dot != nullptr ? static_cast<size_t>(dot - tnc_path) : std::strlen(tnc_path);
    return copy(raster_path, size, tnc_path, length, ".rgb");
}

} // namespace

bool find_companion(const char* tnc_path, char* raster_path, size_t size) {
    char name[NAME_SIZE];
    if (!read_name(tnc_path, name)) return replace_extension(tnc_path, raster_path, size);
    const char* base = last_component(name);
    // A bare name is that of the file beside this one: of the same name another scene's may lie where the program runs.
    if (base != name && is_file(name)) return copy(raster_path, size, name, std::strlen(name), "");
    auto directory_length = static_cast<size_t>(last_component(tnc_path) - tnc_path);
    if (copy(raster_path, size, tnc_path, directory_length, base) && is_file(raster_path)) return true;
    return copy(raster_path, size, base, std::strlen(base), "");
}

int check_pair(const char* tnc_path, const char* raster_path) {
    uint32_t classes = 0;
    bool raster_exists = files_exists(raster_path);
    bool is_raster = raster_exists && file_type(raster_path, &classes) == 0 && (classes & TYPE_RASTER) != 0;
    bool is_rendered = file_type(tnc_path, &classes) == 0 && (classes & TYPE_RENDERED_IMAGE) != 0;
    if (!is_rendered) log_message(LOG_WARNING, "Error : \"%s\" is not a tinct file.\n", tnc_path);
    if (!raster_exists) {
        log_message(LOG_WARNING, "Tinct requires a pair of files : %s and %s\n", tnc_path, raster_path);
    } else if (!is_raster) {
        log_message(LOG_WARNING, "\"%s\" is not a readable raster file.\n", raster_path);
    }
    return is_rendered && is_raster ? 1 : 0;
}
