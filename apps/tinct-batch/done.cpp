// Records of pictures that have been made.
#include "done.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/open_image.h"
#include "core/version.h"
#include "support/memory.h"
#include "surface/paths.h"

namespace {

constexpr size_t STEP = 4096;
constexpr size_t LINE_SIZE = FILES_PATH_SIZE + 128;

void add(done_record* record, const char* format, ...) __attribute__((format(printf, 2, 3)));
void add(done_record* record, const char* format, ...) {
    char line[LINE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    if (length < 0 || static_cast<size_t>(length) >= sizeof line) record->failed = true;
    if (record->failed) return;
    const size_t size = static_cast<size_t>(length);
    if (record->size + size > record->room) {
        void* larger = mem_realloc(record->text, record->size + size + STEP);
        record->failed = larger == nullptr;
        if (record->failed) return;
        record->text = static_cast<char*>(larger);
        record->room = record->size + size + STEP;
    }
    std::memcpy(record->text + record->size, line, size);
    record->size += size;
}

// A file by name, size and time: one that was changed is another.
void add_file(done_record* record, const char* path) {
    add(record, "%lld %lld %s\n", static_cast<long long>(files_size_of(path)),
        static_cast<long long>(files_changed_at(path)), path);
}

void add_set(done_record* record, const surface_set* set) {
    char found[FILES_PATH_SIZE];
    add(record, "set %d %d %a %a %a %d %a %a %d\n", set->pen, static_cast<int>(set->kind), set->red, set->green,
        set->blue, set->has_placement ? 1 : 0, set->rotation, set->size, set->mirror ? 1 : 0);
    if (set->kind != surface_kind::raster || set->text == nullptr) return; // one that is passed over has no text
    find_raster_file(set->text, found, sizeof found);
    add_file(record, found);
}

bool record_path(const char* out, char path[FILES_PATH_SIZE]) {
    const char* name = files_last_name(out);
    const int length = std::snprintf(path, FILES_PATH_SIZE, "%.*s.%s.done", static_cast<int>(name - out), out, name);
    return length >= 0 && length < static_cast<int>(FILES_PATH_SIZE);
}

// The first line: the picture that was made, by size and time.
int format_made(char line[LINE_SIZE], const char* path) {
    return std::snprintf(line, LINE_SIZE, "made %lld %lld\n", static_cast<long long>(files_size_of(path)),
                         static_cast<long long>(files_changed_at(path)));
}

// Compares a file with two texts, one behind the other.
bool holds(const char* path, const char* first, size_t first_size, const char* second, size_t second_size) {
    if (files_size_of(path) != static_cast<int64_t>(first_size + second_size)) return false;
    file_stream* stream = stream_open(path, "rb");
    if (stream == nullptr) return false;
    bool same = true;
    for (size_t i = 0; same && i < first_size + second_size; ++i) {
        const char expected = i < first_size ? first[i] : second[i - first_size];
        same = stream_getc(stream) == static_cast<unsigned char>(expected);
    }
    stream_close(stream);
    return same;
}

} // namespace

void done_describe(done_record* record, const apply_request* request, const char* palette) {
    char companion[FILES_PATH_SIZE];
    *record = {};
    add(record, "%s\n", TINCT_VERSION);
    add(record, "type %s bits %lld colors %lld gamma %a uncompressed %d closest %d grey %d\n",
        request->type != nullptr ? request->type : "", static_cast<long long>(request->bits),
        static_cast<long long>(request->colors), request->gamma, request->uncompressed ? 1 : 0,
        request->closest ? 1 : 0, request->grey ? 1 : 0);
    add_file(record, request->tnc);
    if (find_companion(request->tnc, companion, sizeof companion)) add_file(record, companion);
    if (palette[0] != '\0') add_file(record, palette);
    for (int i = 0; i < request->sets.count; ++i)
        add_set(record, &request->sets.sets[i]);
}

void done_free(done_record* record) {
    mem_free(record->text);
    *record = {};
}

bool done_already(const done_record* record, const char* out) {
    char path[FILES_PATH_SIZE], made[LINE_SIZE];
    if (record->failed || files_size_of(out) < 0 || !record_path(out, path)) return false;
    const int length = format_made(made, out);
    return holds(path, made, static_cast<size_t>(length), record->text, record->size);
}

bool done_write(const done_record* record, const char* out, const char* fresh) {
    char path[FILES_PATH_SIZE], fresh_record[FILES_PATH_SIZE], made[LINE_SIZE];
    if (record->failed || !record_path(out, path)) return false;
    const auto length = static_cast<size_t>(format_made(made, fresh));
    if (!files_replace_begin(path, fresh_record, sizeof fresh_record)) return false;
    file_stream* stream = stream_open(fresh_record, "wb");
    if (stream == nullptr) return false;
    const bool written = stream_write(made, 1, length, stream) == length &&
                         stream_write(record->text, 1, record->size, stream) == record->size;
    return stream_close(stream) == 0 && written;
}
