// Commands, messages and words of the command line.
#include "common/program.h"

#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "raster/rzl.h"
#include "support/log.h"

namespace {

constexpr const char* IN_MEMORY = "/INMEM/";

struct program_state {
    const program_definition* definition;
    bool has_reported; // an error or a warning
};
program_state state = {nullptr, false};

void report(void* /*user*/, int level, const char* text) {
    progress_end();
    std::fprintf(stderr, "%s: %s\n", state.definition->name, text);
    if (level == LOG_ERROR || level == LOG_WARNING) state.has_reported = true;
}

bool is_word(const char* word, const char* a, const char* b) {
    return word != nullptr && (std::strcmp(word, a) == 0 || std::strcmp(word, b) == 0);
}

int show_help() {
    out_text(state.definition->synopsis);
    out_text("\n");
    out_text(state.definition->help);
    return EXIT_DONE;
}

int show_version() {
    out_text(state.definition->version);
    out_text("\n");
    return EXIT_DONE;
}

int run_command(const program_definition* d, word_list* words) {
    const char* name = take_word(words);
    if (name == nullptr) return program_usage("a command is needed");
    const char* second = words->next < words->count ? words->words[words->next] : nullptr;
    if (is_word(name, "--help", "-h") || is_word(second, "--help", "-h")) return show_help();
    if (is_word(name, "--version", "-V")) return show_version();
    for (int i = 0; i < d->command_count; ++i) {
        if (std::strcmp(d->commands[i].name, name) == 0) return d->commands[i].run(words);
    }
    if (d->otherwise == nullptr) return program_usage("\"%s\" is no command", name);
    --words->next;
    return d->otherwise(words);
}

void format_text(char text[LOG_TEXT_SIZE], const char* format, va_list arguments) {
    std::vsnprintf(text, LOG_TEXT_SIZE, format, arguments);
}

} // namespace

int program_run(const program_definition* definition, int count, char** arguments) {
    state = {definition, false};
    out_begin();
    log_set_sink(report, nullptr);
    rzl_set_extended(1);
    // A reader of our output that goes away, and a file that outgrows its limit, make a write fail, which is told like
    // any other failure.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    word_list words = {count, arguments, 1};
    int status = run_command(definition, &words);
    progress_end();
    out_bytes(nullptr, 0);
    if (out_failed()) program_fail("standard output could not be written: %s", out_failure());
    return status == EXIT_DONE && state.has_reported ? static_cast<int>(EXIT_FAILED) : status;
}

bool program_has_reported() {
    return state.has_reported;
}

int program_fail(const char* format, ...) {
    char text[LOG_TEXT_SIZE];
    va_list arguments;
    va_start(arguments, format);
    format_text(text, format, arguments);
    va_end(arguments);
    log_message(LOG_ERROR, "%s", text);
    return EXIT_FAILED;
}

int program_fail_writing(const char* path, const char* otherwise) {
    const char* reason = files_write_failure();
    return program_fail("\"%s\" can not be written: %s", path, reason[0] != '\0' ? reason : otherwise);
}

int program_fail_reading(const char* path, const char* otherwise) {
    const char* fault = files_input_fault(path);
    return program_fail("\"%s\" could not be opened: %s", path, fault != nullptr ? fault : otherwise);
}

int program_put_in_place(const char* path) {
    out_bytes(nullptr, 0); // what could not be said is a failure too
    if (!state.has_reported && !out_failed()) {
        return files_replace_commit() ? static_cast<int>(EXIT_DONE) : program_fail_writing(path, "");
    }
    files_replace_abandon();
    return EXIT_FAILED;
}

int program_usage(const char* format, ...) {
    char text[LOG_TEXT_SIZE];
    va_list arguments;
    va_start(arguments, format);
    format_text(text, format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "%s: %s\n%s", state.definition->name, text, state.definition->synopsis);
    return EXIT_USAGE;
}

const char* take_word(word_list* list) {
    return list->next < list->count ? list->words[list->next++] : nullptr;
}

bool parse_integer(const char* text, int64_t low, int64_t high, int64_t* value) {
    const char* end = text + std::strlen(text);
    auto result = std::from_chars(text, end, *value);
    return result.ec == std::errc() && result.ptr == end && *value >= low && *value <= high;
}

bool parse_number(const char* text, double* value) {
    const char* end = text + std::strlen(text);
    auto result = std::from_chars(text, end, *value);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(*value);
}

int check_output_name(const char* path) {
    if (std::strcmp(path, "-") == 0) return program_usage("\"-\" is no file to write to; ./- is one of that name");
    return EXIT_DONE;
}

int check_no_catalog(const char* path) {
    char plain[PLAIN_NAME_SIZE];
    if (rzl_is_catalog(plain_name(path, plain)) == 0) return EXIT_DONE;
    return program_fail("\"%s\" is a catalog of other files, and is not written over.", path);
}

const char* plain_name(const char* path, char out[PLAIN_NAME_SIZE]) {
    if (std::strncmp(path, IN_MEMORY, std::strlen(IN_MEMORY)) != 0) return path;
    std::snprintf(out, PLAIN_NAME_SIZE, "/%s", path);
    return out;
}
