#include "reduce.h"

#include <initializer_list>

#include "common/raster.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

// Room for the three planes; false without memory, or when their size is more than the machine has numbers for.
bool make_planes(const raster_source* source, Impack* pack) {
    pack->xsize = source->width;
    pack->ysize = source->height;
    size_t bytes = 0;
    if (!checked_mul(static_cast<size_t>(source->width), static_cast<size_t>(source->height), &bytes)) return false;
    pack->pixels = static_cast<int64_t>(bytes);
    for (uint8_t** plane : {&pack->red_plane, &pack->green_plane, &pack->blue_plane})
        *plane = static_cast<uint8_t*>(mem_alloc(bytes));
    return pack->red_plane != nullptr && pack->green_plane != nullptr && pack->blue_plane != nullptr;
}

int read_planes(const raster_source* source, const char* path, Impack* pack) {
    for (int32_t line = 0; line < source->height; ++line) {
        int64_t at = int64_t{line} * source->width;
        if (rzl_getline3(source->file, pack->red_plane + at, pack->green_plane + at, pack->blue_plane + at) != 0) {
            return raster_line_failed(source->file, path, line);
        }
        if (rzl_is_damaged(source->file) != 0) break;
        progress_show("reading", line + 1, source->height);
    }
    return raster_is_undamaged(source->file, path) ? EXIT_DONE : EXIT_FAILED;
}

int fill(const raster_source* source, const char* path, Impack* pack) {
    constexpr int32_t DIFFUSE = 0;
    constexpr double GAMMA = 1.0; // the colours as they are, on the scale of a stored table
    if (!make_planes(source, pack)) {
        return program_fail("There is no memory for %d lines of %d pixels.", source->height, source->width);
    }
    int status = read_planes(source, path, pack);
    if (status != EXIT_DONE) return status;
    int code = imp_make_vlt(pack, DIFFUSE, REDUCED_COLORS, GAMMA, 0, 0, nullptr, 0, 0, nullptr);
    return code == IMP_OK ? EXIT_DONE : program_fail("\"%s\": %s.", path, imp_error_text[code]);
}

} // namespace

int reduce_source(const raster_source* source, const char* path, Impack** reduced) {
    imp_planes_shared = 0;
    if (imp_alloc(reduced) != IMP_OK) return program_fail("%s.", imp_error_text[IMP_NO_MEMORY]);
    int status = fill(source, path, *reduced);
    if (status != EXIT_DONE) imp_free(reduced);
    return status;
}
