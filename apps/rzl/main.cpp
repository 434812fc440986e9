// rzl: looks at and converts raster files. The commands stand in files of their own.
#include <cstring>

#include "commands.h"
#include "raster/rzl.h"

namespace {

constexpr const char* USAGE =
    "usage: rzl formats\n"
    "       rzl info FILE [--image N] [--overview N] [--json]\n"
    "       rzl cat FILE [--image N] [--overview N]\n"
    "       rzl convert IN OUT [--standard NAME|ID] [--format CODE] [--compression N] [--tile N] [--vlt]\n"
    "                   [--image N] [--overview N]\n"
    "\n"
    "formats lists the standards. info tells what a file holds, and reads it to its end. cat writes the pixels to\n"
    "standard output, row by row from the top: one byte a pixel for bilevel (0 or 255) and grey, three for colour or "
    "a\n"
    "colour table. convert writes a picture into another standard or data format that can hold it as it is, and with\n"
    "--vlt insists on a colour table. Images and overviews are numbered from 0.\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

struct command {
    const char* name;
    int (*run)(word_list* words);
};
constexpr command COMMANDS[] = {
    {"formats", command_formats},
    {"info", command_info},
    {"cat", command_cat},
    {"convert", command_convert},
};

int run(word_list* words) {
    const char* name = take_word(words);
    if (name == nullptr) return program_usage("a command is needed: formats, info, cat or convert");
    if (std::strcmp(name, "--help") == 0 || std::strcmp(name, "-h") == 0) {
        out_text(USAGE);
        return EXIT_DONE;
    }
    if (std::strcmp(name, "--version") == 0 || std::strcmp(name, "-V") == 0) {
        out_text(RZL_VERSION "\n");
        return EXIT_DONE;
    }
    for (const command& c : COMMANDS) {
        if (std::strcmp(c.name, name) == 0) return c.run(words);
    }
    return program_usage("\"%s\" is no command", name);
}

} // namespace

int main(int count, char** arguments) {
    program_begin("rzl");
    word_list words = {count, arguments, 1};
    return program_end(run(&words));
}
