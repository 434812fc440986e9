#include "common/raster.h"

#include <cstdio>
#include <cstring>
#include <strings.h>

#include "common/program.h"
#include "support/log.h"
#include "support/memory.h"

const char* raster_extension(const char* path) {
    const char* dot = std::strrchr(path, '.');
    return dot != nullptr && std::strpbrk(dot, "/\\") == nullptr ? dot + 1 : "";
}

int32_t raster_standard_of_name(const char* name) {
    for (int32_t id = 0; id < STANDARD_LIMIT; ++id) {
        const char* known = rzl_standard_name(id);
        if (known != nullptr && strcasecmp(known, name) == 0) return id;
    }
    return -1;
}

void raster_tell_grey(int32_t standard) {
    if (rzl_standard_is_grey(standard) != 0)
        log_message(LOG_INFO, "%s files have no colours, only grey levels.", rzl_standard_name(standard));
}

const char* raster_reason(uint32_t status) {
    static char text[256];
    const char* detail = rzl_status_detail();
    bool is_told = status == RZL_BAD_FIELD_VALUE || std::strncmp(rzl_status_name(status), "RZL_UNSUP_", 10) == 0;
    if (!is_told || detail[0] == '\0') return rzl_status_text(status);
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

namespace {

int32_t field_of(CFILE* file, int32_t field) {
    int32_t value = 0;
    return rzl_get_hdr_data(file, field, &value) == 0 ? value : 0;
}

constexpr int COLOR_CHANNELS = 3;

} // namespace

bool raster_is_undamaged(CFILE* file, const char* path) {
    if (rzl_is_damaged(file) == 0 && rzl_lines_held(file) >= field_of(file, RZL_FIELD_YSIZE)) return true;
    program_fail("\"%s\" is damaged: something that it should hold is missing.", path);
    return false;
}

bool raster_is_bilevel(int64_t format) {
    return format == RZL_FORMAT_BILEVEL || format == RZL_FORMAT_BILEVEL_RUNS || format == RZL_FORMAT_GROUP3 ||
           format == RZL_FORMAT_GROUP4;
}

size_t raster_bit_line_bytes(int32_t width) {
    return (static_cast<size_t>(width) + 15) / 16 * 2;
}

namespace {

// Room for each of `channels` planes. One takes bits as they are, and all the samples of a pixel where they stand
// together.
size_t plane_room(CFILE* file, int channels) {
    if (channels > 1) return rzl_line_size(file);
    if (raster_is_bilevel(field_of(file, RZL_FIELD_FORMAT)))
        return raster_bit_line_bytes(field_of(file, RZL_FIELD_XSIZE));
    return rzl_interleaved_size(file);
}

} // namespace

bool raster_is_whole(CFILE* file, const char* path) {
    if (rzl_lines_held(file) == 0) return raster_is_undamaged(file, path);
    // One plane would be enough, where a file gives it: the samples of a pixel stand together, or the planes of a line
    // behind each other. Some formats give colours in three planes only.
    const int channels = field_of(file, RZL_FIELD_SAMPLES) == COLOR_CHANNELS ? COLOR_CHANNELS : 1;
    const size_t bytes = plane_room(file, channels);
    mem_guard<uint8_t> room(static_cast<uint8_t*>(mem_alloc_array(bytes, static_cast<size_t>(channels))));
    if (!room) {
        program_fail("There is no memory for a line of \"%s\".", path);
        return false;
    }
    void* planes[COLOR_CHANNELS] = {room.get(), nullptr, nullptr};
    for (int i = 1; i < channels; ++i)
        planes[i] = room.get() + bytes * static_cast<size_t>(i);
    const int32_t lines = field_of(file, RZL_FIELD_YSIZE);
    for (int32_t i = 0; i < lines; ++i) {
        if (rzl_getline_channels(file, channels, planes) != 0) {
            raster_line_failed(file, path, i);
            return false;
        }
        // Behind the first line that was made up there is nothing.
        if (rzl_is_line_damaged(file) != 0) break;
    }
    return raster_is_undamaged(file, path);
}
