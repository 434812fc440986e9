// rzl: looks at and converts raster files. The commands stand in files of their own, the process in main.cpp.
#include <iterator>

#include "commands.h"
#include "raster/rzl.h"

namespace {

constexpr const char* SYNOPSIS =
    "usage: rzl formats\n"
    "       rzl info FILE [--image N] [--overview N] [--json]\n"
    "       rzl cat FILE [--image N] [--overview N]\n"
    "       rzl convert IN OUT [--standard NAME|ID] [--format CODE] [--compression N] [--tile N] [--vlt]\n"
    "                   [--image N] [--overview N]\n";

constexpr const char* HELP =
    "formats lists the standards. info tells what a file holds, titles, dates, security and corners among it where\n"
    "its standard has them, and reads it to its end. A catalog is read as the one picture that its files make, and is\n"
    "not written over. cat writes the pixels to standard output, row by row from the top: one byte a pixel for\n"
    "bilevel (0 or 255) and grey, three for colour or a colour table. Four inks are printed as the colour that they\n"
    "make; of four channels of no known meaning the first three are. convert writes a picture into another standard\n"
    "(without --standard the one that the extension of OUT stands for) or data format that can hold it as it is.\n"
    "With --vlt, and where the standard holds no colours otherwise, it gets a colour table: that of IN, or one of 256\n"
    "colours that is made for it. The alpha of a TIFF file with red, green, blue and alpha is left out; a PNG file\n"
    "that is not opaque lies on the background that it tells of. Of a PNG file --compression is the level, 0 to 9;\n"
    "a value that OUT does not have is refused. Images and overviews are numbered from 0.\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

constexpr program_command COMMANDS[] = {
    {"formats", command_formats},
    {"info", command_info},
    {"cat", command_cat},
    {"convert", command_convert},
};

constexpr program_definition PROGRAM = {
    "rzl", RZL_VERSION, SYNOPSIS, HELP, COMMANDS, static_cast<int>(std::size(COMMANDS)), nullptr};

} // namespace

int rzl_run(int count, char** arguments) {
    return program_run(&PROGRAM, count, arguments);
}
