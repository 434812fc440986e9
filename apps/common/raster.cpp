#include "common/raster.h"

#include <cstring>
#include <strings.h>

#include "common/program.h"

const char* raster_extension(const char* path) {
    const char* dot = std::strrchr(path, '.');
    return dot != nullptr && std::strpbrk(dot, "/\\") == nullptr ? dot + 1 : "";
}

int32_t raster_standard_of(const char* extension) {
    constexpr struct {
        const char* extension;
        int32_t standard;
    } EXTENSIONS[] = {{"rgb", RZL_STANDARD_KRVN}, {"tif", RZL_STANDARD_TIFF},  {"tiff", RZL_STANDARD_TIFF},
                      {"gif", RZL_STANDARD_GIF},  {"tga", RZL_STANDARD_TARGA}, {"bmp", RZL_STANDARD_BMP},
                      {"pcx", RZL_STANDARD_PCX},  {"jpg", RZL_STANDARD_JFIF},  {"jpeg", RZL_STANDARD_JFIF},
                      {"ico", RZL_STANDARD_ICO},  {"cal", RZL_STANDARD_CALS},  {"ntf", RZL_STANDARD_NITF},
                      {"xbm", RZL_STANDARD_XBM},  {"pbm", RZL_STANDARD_PNM},   {"pgm", RZL_STANDARD_PNM},
                      {"ppm", RZL_STANDARD_PNM},  {"ras", RZL_STANDARD_SUN},   {"ps", RZL_STANDARD_POSTSCRIPT}};
    for (const auto& e : EXTENSIONS) {
        if (strcasecmp(extension, e.extension) == 0) return e.standard;
    }
    return -1;
}

int raster_line_failed(CFILE* file, const char* path, int32_t line) {
    uint32_t status = 0;
    rzl_get_hdr_data(file, RZL_FIELD_STATUS, &status);
    return program_fail("Line %d of \"%s\" can not be read: %s", line, path, rzl_status_text(status));
}

bool raster_is_undamaged(CFILE* file, const char* path) {
    if (rzl_is_damaged(file) == 0) return true;
    program_fail("\"%s\" is damaged: something that it should hold is missing.", path);
    return false;
}

bool raster_is_whole(CFILE* file, const char* path) {
    void* nothing[1] = {nullptr};
    int32_t height = 0;
    rzl_get_hdr_data(file, RZL_FIELD_YSIZE, &height);
    for (int32_t line = 0; line < height; ++line) {
        if (rzl_getline_channels(file, 1, nothing) != 0) {
            raster_line_failed(file, path, line);
            return false;
        }
        // A header may claim any number of lines; behind the first that was made up there is nothing to pass over.
        if (rzl_is_damaged(file) != 0) break;
    }
    return raster_is_undamaged(file, path);
}
