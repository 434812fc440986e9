// Sequence files, and the product's setup file.
#include "output/sequence.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "platform/files.h"
#include "raster/rzl.h"
#include "support/log.h"
#include "support/memory.h"
#include "support/token.h"

namespace {

constexpr size_t TEXT_LIMIT = 64 << 20;
constexpr const char* SUFFIX = ".seq";
constexpr const char* FIRST_WORDS[] = {"SEQUENCE", "VERSION", "1"};

constexpr const char* EXTENSIONS[] = {"rgb", "tif", "gif", "tga", "bmp", "pcx"};

// ---- the setup file ------------------------------------------------------------------------------------------------

constexpr const char* SETUP_KEY = "raster_output";
constexpr size_t SETUP_LIMIT = 1 << 20;
constexpr int NOT_READ = 255;

struct raster_output {
    const char* text;
    int standard, format;
};
constexpr raster_output OUTPUTS[] = {
    {"rgb,compressed", 0, RZL_FORMAT_PLANE_RUNS},  {"rgb,uncompressed", 0, RZL_FORMAT_RGB},
    {"tiff,compressed", 1, RZL_FORMAT_PLANE_RUNS}, {"tiff,uncompressed", 1, RZL_FORMAT_RGB},
    {"gif,compressed", 2, RZL_FORMAT_PLANE_RUNS},  {"gif,uncompressed", 2, RZL_FORMAT_RGB},
    {"tga,compressed", 3, RZL_FORMAT_PLANE_RUNS},  {"tga,uncompressed", 3, RZL_FORMAT_RGB},
    {"bmp,compressed", 4, RZL_FORMAT_PLANE_RUNS},  {"bmp,uncompressed", 4, RZL_FORMAT_RGB},
    {"pcx,compressed", 5, RZL_FORMAT_PLANE_RUNS},  {"pcx,uncompressed", 5, RZL_FORMAT_RGB},
};

struct spec_defaults {
    const char* extension; // null: not known yet
    int standard;
    int format; // NOT_READ: the setup file hasn't been read
};
spec_defaults defaults = {nullptr, 0, NOT_READ};

const raster_output* find_output(const char* value) {
    for (const raster_output& output : OUTPUTS)
        if (std::strcmp(output.text, value) == 0) return &output;
    return &OUTPUTS[0];
}

// The value of the first word "raster_output=VALUE" of the text, in lower case; a word is divided at its last "=".
// What follows in the text is written over.
const char* setup_value(char* text) {
    static constexpr const char* BLANKS = " \t\n\v\f\r";
    for (char* word = std::strtok(text, BLANKS); word != nullptr; word = std::strtok(nullptr, BLANKS)) { // NOLINT
        char* equals = std::strrchr(word, '=');
        if (equals == nullptr) continue;
        *equals = '\0';
        if (std::strcmp(word, SETUP_KEY) != 0) continue;
        for (char* p = equals + 1; *p != '\0'; ++p)
            *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
        return equals + 1;
    }
    return "";
}

void read_setup(const char* path) {
    size_t size = 0;
    mem_guard<char> text(files_load(path, SETUP_LIMIT, &size));
    const raster_output* output = find_output(text ? setup_value(text.get()) : "");
    defaults.standard = output->standard;
    defaults.format = output->format;
}

// ---- sequence files ------------------------------------------------------------------------------------------------

bool has_first_words(const char* text, const char* end) {
    char word[TOKEN_SIZE];
    for (const char* expected : FIRST_WORDS)
        if (token_next(&text, end, word) != token_end::token || std::strcmp(word, expected) != 0) return false;
    return true;
}

} // namespace

const char* spec_standard_extension(int standard) {
    return standard >= 0 && standard < static_cast<int>(std::size(EXTENSIONS)) ? EXTENSIONS[standard] : EXTENSIONS[0];
}

void spec_read_defaults() {
    if (defaults.format >= NOT_READ) {
        const char* root = std::getenv("VANTORAMA");
        char path[FILES_PATH_SIZE];
        std::snprintf(path, sizeof path, "%s\\vantor\\setup.txt", root != nullptr ? root : "c:\\vantor");
        read_setup(path);
    }
    defaults.extension = spec_standard_extension(defaults.standard);
}

const char* spec_default_extension() {
    if (defaults.extension == nullptr) spec_read_defaults();
    return defaults.extension;
}

void spec_set_default_extension(const char* extension) {
    defaults.extension = extension;
}

void spec_default_type(int* standard, int* format) {
    spec_default_extension();
    *standard = defaults.standard;
    *format = defaults.format;
}

void spec_forget_defaults() {
    defaults = {nullptr, 0, NOT_READ};
}

int spec_is_sequence_file(const char* path) {
    const char* dot = std::strrchr(path, '.');
    if (dot == nullptr || dot == path || std::strcmp(dot, SUFFIX) != 0) return 0;
    size_t size = 0;
    mem_guard<char> text(files_load(path, TEXT_LIMIT, &size));
    return text && has_first_words(text.get(), text.get() + size) ? 1 : 0;
}

bool sequence_open(sequence_text* sequence, const char* path) {
    size_t size = 0;
    sequence->text = files_load(path, TEXT_LIMIT, &size);
    if (sequence->text == nullptr) return false;
    sequence->end = sequence->text + size;
    const auto* line_end = static_cast<const char*>(std::memchr(sequence->text, '\n', size));
    sequence->next = line_end != nullptr ? line_end + 1 : sequence->end;
    return true;
}

sequence_line sequence_next(sequence_text* sequence, char line[SPEC_SIZE]) {
    while (sequence->next < sequence->end) {
        const char* start = sequence->next;
        const size_t left = static_cast<size_t>(sequence->end - start);
        const auto* line_end = static_cast<const char*>(std::memchr(start, '\n', left));
        size_t length = line_end != nullptr ? static_cast<size_t>(line_end - start) : left;
        sequence->next = line_end != nullptr ? line_end + 1 : sequence->end;
        if (std::memchr(start, '\0', length) != nullptr) return sequence_line::bad;
        if (length >= SPEC_SIZE - 1) {
            log_message(LOG_WARNING, "Script file line is too long.  Lines may contain upto 512 characters.");
            return sequence_line::bad;
        }
        while (length > 0 && static_cast<unsigned char>(start[length - 1]) <= ' ')
            --length;
        if (start[0] == '#') continue;
        std::memcpy(line, start, length);
        line[length] = '\0';
        return std::strpbrk(line, " \t") != nullptr ? sequence_line::bad : sequence_line::specification;
    }
    return sequence_line::end;
}

void sequence_close(sequence_text* sequence) {
    mem_free(sequence->text);
}
