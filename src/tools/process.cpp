// The entry of a program: its paths, its command line, its end.
#include "tools/process.h"
#include "support/log.h"
#include "support/memory.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

char program_name[FILES_PATH_SIZE] = "Ambit K";
char program_dir[FILES_PATH_SIZE] = "";

namespace {

constexpr const char* ROOT_VARIABLE = "VANTORAMA";
constexpr const char* USUAL_ROOT = "c:/vantor";

void turn_slashes(char* path) {
    for (; *path != '\0'; ++path)
        if (*path == '\\') *path = '/';
}

bool is_slash(char c) {
    return c == '/' || c == '\\';
}

void set_program_name(const char* path) {
    const char* name = files_last_name(path);
    if (*name == '\0') return;
    snprintf(program_name, sizeof program_name, "%s", name);
    char* dot = strrchr(program_name, '.');
    if (dot != nullptr && dot != program_name) *dot = '\0';
    for (char* at = program_name + 1; *at != '\0'; ++at)
        *at = char(tolower(static_cast<unsigned char>(*at)));
}

// The candidate becomes root_dir when there are fonts.
bool try_root(const char* candidate) {
    if (candidate == nullptr || *candidate == '\0') return false;
    const char* joint = is_slash(candidate[strlen(candidate) - 1]) ? "" : "/";
    char fonts[FILES_PATH_SIZE];
    const int length = snprintf(fonts, sizeof fonts, "%s%sfonts", candidate, joint);
    if (length < 0 || size_t(length) >= sizeof fonts || !files_exists(fonts)) return false;
    snprintf(root_dir, sizeof root_dir, "%s%s", candidate, joint);
    return true;
}

void set_program_dir(const char* argument0) {
    if (!files_program_directory(program_dir, sizeof program_dir))
        snprintf(program_dir, sizeof program_dir, "%.*s", int(files_last_name(argument0) - argument0), argument0);
    turn_slashes(program_dir);
}

// The command line as the program gets it: texts of their own in one block, and the vector that points at them.
struct command_line {
    char* text;
    char* values[TOOLS_ARGUMENTS + 2]; // the program's file, the items, null
    int count;
};

size_t text_size(int count, char** arguments) {
    size_t size = strlen(program_dir) + strlen(files_last_name(arguments[0])) + 2;
    for (int i = 1; i < count; ++i)
        size += strlen(arguments[i]) + 1;
    return size;
}

// Adds an argument as one item: the system has split the command line, and a name may hold blanks. An empty one is left
// out. Returns where the next text goes.
char* add_item(command_line* line, char* to, const char* argument) {
    const size_t size = strlen(argument) + 1;
    if (size == 1 || line->count > TOOLS_ARGUMENTS) return to;
    line->values[line->count++] = to;
    memcpy(to, argument, size);
    return to + size;
}

bool make_command_line(command_line* line, int count, char** arguments) {
    const size_t size = text_size(count, arguments);
    *line = {static_cast<char*>(mem_alloc(size)), {}, 1};
    if (line->text == nullptr) return false;
    const int length = snprintf(line->text, size, "%s/%s", program_dir, files_last_name(arguments[0]));
    line->values[0] = line->text;
    char* to = line->text + length + 1;
    for (int i = 1; i < count; ++i)
        to = add_item(line, to, arguments[i]);
    return true;
}

} // namespace

void set_program_paths(const char* argument0) {
    set_program_name(argument0);
    set_program_dir(argument0);
    if (try_root(getenv(ROOT_VARIABLE)) || try_root(USUAL_ROOT) || try_root(program_dir)) return;
    root_dir[0] = '\0';
}

int tools_process_entry(int count, char** arguments, char** environment, const tools_program* program) {
    if (count < 1) return 1; // no name: nothing to work with
    if (program->set_paths != nullptr) program->set_paths();
    set_program_paths(arguments[0]);
    command_line line;
    if (!make_command_line(&line, count, arguments)) {
        fprintf(stderr, "out of memory\n");
        return 1;
    }
    const int status = program->main(line.count, line.values, environment);
    tools_leave();
    mem_free(line.text);
    return status;
}

// Goes no way back through the callers, who may hold anything: the process is over, and what they hold with it.
void exit_program() {
    tools_leave();
    stop_program(0);
}
