// Map sets: records, names of the files of a set, and tiles. See mapset.h.
#include "raster/ADRG/mapset.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <strings.h>

#include "platform/files.h"
#include "raster/PNM/pnmmisc.h"

namespace {

constexpr char SOURCE[] = "ADRE/mapset";

// A larger row of tiles must be what the image file can hold.
constexpr int64_t MOST_ROW = 64 << 20;
constexpr int64_t MOST_FROM_A_BYTE = 128;

bool number_of(const uint8_t* text, size_t width, int64_t* value) {
    uint64_t number = 0;
    bool good = text_digits(reinterpret_cast<const char*>(text), width, &number);
    *value = static_cast<int64_t>(number);
    return good;
}

bool make_name(const set_name& name, size_t back, const char* ending, char* out) {
    size_t length = std::strlen(ending);
    size_t begin = static_cast<size_t>(name.last - name.name);
    if (name.dot < begin + back || name.dot - back + length >= FILES_PATH_SIZE) return false;
    size_t kept = name.dot - back;
    std::memcpy(out, name.name, kept);
    for (size_t i = 0; i <= length; ++i) {
        bool lowered = name.lower && ending[i] >= 'A' && ending[i] <= 'Z';
        out[kept + i] = lowered ? static_cast<char>(ending[i] - 'A' + 'a') : ending[i];
    }
    return true;
}

} // namespace

// ---- records

bool iso_read_at(CFILE* c, int64_t place, void* bytes, size_t count) {
    return io_seek(c, place) && io_read(c, bytes, count) == count;
}

bool iso_read_leader(CFILE* c, int64_t place, iso_leader* leader) {
    uint8_t b[ISO_LEADER];
    if (!iso_read_at(c, place, b, sizeof b)) return false;
    bool numbers = number_of(b, 5, &leader->length) && number_of(b + 12, 5, &leader->base);
    std::memcpy(leader->mark, b + 5, sizeof leader->mark);
    leader->sizes[0] = b[20];
    leader->sizes[1] = b[21];
    leader->sizes[2] = b[23];
    return numbers && leader->base >= static_cast<int64_t>(ISO_LEADER);
}

bool iso_skip_records(CFILE* c, int64_t* place, int count) {
    for (int i = 0; i < count; ++i) {
        iso_leader leader;
        bool there = iso_read_leader(c, *place, &leader) && leader.length >= static_cast<int64_t>(ISO_LEADER);
        if (!there) return false;
        *place += leader.length;
    }
    return true;
}

// ---- names

bool set_take_name(const char* name, std::span<const set_word> words, set_name* out) {
    if (name == nullptr) return false;
    const char* last = files_last_name(name);
    for (const set_word& word : words) {
        const char* upper = std::strstr(last, word.upper);
        const char* found = upper != nullptr ? upper : std::strstr(last, word.lower);
        if (found == nullptr) continue;
        *out = {name, last, static_cast<size_t>(found - name), word.part, upper == nullptr};
        return true;
    }
    return false;
}

bool set_open_beside(CFILE* c, const set_name& name, size_t back, const char* ending) {
    char path[FILES_PATH_SIZE];
    if (!make_name(name, back, ending, path)) return fails(c, RZL_CANNOT_OPEN, SOURCE, name.name);
    if (c->file != nullptr) (void)close_cfile_file(c);
    return reopen_cfile_file(c, path);
}

bool set_has_beside(const set_name& name, size_t back, const char* ending) {
    char path[FILES_PATH_SIZE];
    return make_name(name, back, ending, path) && files_exists(path);
}

bool set_open_image(CFILE* c, const set_name& name) {
    if (c->file != nullptr) (void)close_cfile_file(c);
    return reopen_cfile_file(c, name.name);
}

bool set_name_has(const set_name& name, const char* text, size_t width) {
    auto is_fill = [](char ch) { return ch == ' ' || iso_is_separator(static_cast<uint8_t>(ch)); };
    while (width > 0 && is_fill(text[width - 1]))
        --width;
    size_t length = std::strlen(name.last);
    for (size_t i = 0; width > 0 && i + width <= length; ++i)
        if (strncasecmp(name.last + i, text, width) == 0) return true;
    return false;
}

// ---- tiles

int set_make_tiles(CFILE* c, int32_t across, int32_t down, int32_t width, int32_t height, bool colors) {
    if (across < 1 || down < 1 || width < 1 || height < 1) return refuse(c, RZL_NOT_STANDARD, SOURCE, "tile size");
    c->format = colors ? RZL_FORMAT_PLANE_RUNS : RZL_FORMAT_BYTE;
    (void)format_layout(c->format, &c->samples, &c->bits);
    int64_t row = int64_t{across} * width * height; // tiles are read a row of them at a time
    bool held = row <= MOST_ROW || row <= io_size(c) * MOST_FROM_A_BYTE;
    if (!held) return refuse(c, RZL_READ_FAILED, SOURCE, "tile size");
    c->xsize = across * width;
    c->ysize = down * height;
    set_flag(c, FLAG_NO_RAW_COPY | FLAG_RAW, true);
    return rzl_setup_tiles(c, width, height);
}

void set_give_empty(const CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows,
                    uint32_t* size_word) {
    if (size_word != nullptr) {
        *size_word = 0;
        return;
    }
    for (int i = 0; i < channels; ++i)
        for (uint32_t y = 0; planes[i] != nullptr && y < rows; ++y)
            std::memset(planes[i] + y * pitch, 0, c->tile->width);
}

int set_get_rle_line(CFILE* c, int channels, read_planes buffers) {
    return rzl_get_line_as_runs(c, channels, buffers, RZL_UNSUPPORTED, SOURCE);
}

void set_copy_rows(const CFILE* c, const uint8_t* from, uint32_t rows, uint8_t* plane, size_t pitch) {
    size_t width = c->tile->width;
    for (uint32_t y = 0; plane != from && y < rows; ++y)
        std::memcpy(plane + y * pitch, from + y * width, width);
}
