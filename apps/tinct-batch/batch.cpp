// tinct-batch: Tinct's work with no window. The commands stand in files of their own, the process in main.cpp.
#include <iterator>

#include "commands.h"
#include "core/version.h"
#include "surface/file_types.h"
#include "surface/paths.h"

namespace {

constexpr const char* SYNOPSIS =
    "usage: tinct-batch info FILE.tnc [--json]\n"
    "       tinct-batch pick FILE.tnc X Y [--json]\n"
    "       tinct-batch samples FILE.tnc PEN\n"
    "       tinct-batch apply FILE.tnc [--palette FILE.tnp] --set PEN=SURFACE [--set ...] -o OUT [options]\n"
    "       tinct-batch apply FILE.tnc [--palette FILE.tnp] --sets FILE.sets [...] -o OUT [options]\n"
    "       tinct-batch apply 'NAME.%05d.tnc' --frames RANGE [--list] --sets FILE.sets -o 'OUT.%05d.tif' [options]\n";

constexpr const char* HELP =
    "info lists the surfaces (pens) of a rendered image; pick those at a pixel, strongest first; samples every sample\n"
    "of one as x y red green blue u v. apply gives surfaces colours and patterns and saves the picture.\n"
    "\n"
    "SURFACE is R,G,B (0.0 to 1.0), the name of a colour or pattern of the palette, or @RASTER. A pattern takes\n"
    ":rotation=DEG, :mirror and :size=S behind it, as in --set 7=@brick.rgb:rotation=30:size=0.5\n"
    "\n"
    "  --sets FILE          a recipe: one PEN=SURFACE a line, and lines that begin with # for comments. Wrong lines\n"
    "                       are told, and so are pens that the image does not have; the others are applied\n"
    "  --palette FILE.tnp   the palette for names; without it the product's own\n"
    "  --type T             as rgb or tif, or a name that rzl formats lists; without it by the extension of OUT\n"
    "  --bits N             8 or 24; 8 bits are grey levels in formats without a colour table\n"
    "  --uncompressed       store the pixels plainly\n"
    "  --colors N           reduce to N colours, or grey levels\n"
    "  --gamma G            apply a gamma; without it pixels go out as they stand, and so they do\n"
    "                       into a compressed rgb file of 24 bits\n"
    "  --closest            the nearest colour, without dither\n"
    "  --grey               grey levels\n"
    "  --force              overwrite an existing OUT; the input files and a catalog of other files never\n"
    "  --skip-done          do nothing when OUT was made by the same options from the same files; for that, .OUT.done\n"
    "                       beside it tells by what it was made\n"
    "  --frames RANGE       many frames, each in a process of its own: 1-100, 1-100x5, or 3,7,10-20. Both names have\n"
    "                       one %d, or %05d for five digits, for the number. One that fails leaves the others alone\n"
    "  --list               print the commands of the frames, one a line, for whatever runs them\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage. A recipe with wrong lines, or with pens that the image does not\n"
    "have, gives 1, with the picture saved.\n";

constexpr program_command COMMANDS[] = {
    {"info", batch_info},
    {"pick", batch_pick},
    {"samples", batch_samples},
    {"apply", batch_apply},
};

constexpr program_definition PROGRAM = {
    "tinct-batch", TINCT_VERSION, SYNOPSIS, HELP, COMMANDS, static_cast<int>(std::size(COMMANDS)), nullptr};

} // namespace

int batch_run(int count, char** arguments) {
    product_root_init();
    search_paths_init();
    int status = program_run(&PROGRAM, count, arguments);
    file_types_free();
    return status;
}
