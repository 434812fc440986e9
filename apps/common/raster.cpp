#include "common/raster.h"

#include <cstdio>
#include <cstring>
#include <strings.h>

#include "common/program.h"

const char* raster_extension(const char* path) {
    const char* dot = std::strrchr(path, '.');
    return dot != nullptr && std::strpbrk(dot, "/\\") == nullptr ? dot + 1 : "";
}

const char* raster_reason(uint32_t status) {
    static char text[256];
    const char* detail = rzl_status_detail();
    bool names_feature = std::strncmp(rzl_status_name(status), "RZL_UNSUP_", 10) == 0 && detail[0] != '\0';
    if (!names_feature) return rzl_status_text(status);
    std::snprintf(text, sizeof text, "%s (%s)", rzl_status_text(status), detail);
    return text;
}

const char* raster_reason_of(CFILE* file) {
    uint32_t status = 0;
    rzl_get_hdr_data(file, RZL_FIELD_STATUS, &status);
    return raster_reason(status);
}

int raster_line_failed(CFILE* file, const char* path, int32_t line) {
    return program_fail("Line %d of \"%s\" can not be read: %s", line, path, raster_reason_of(file));
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
