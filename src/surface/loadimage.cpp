// Loading a raster file into three planes.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/files.h"
#include "platform/pages.h"
#include "raster/rzl.h"
#include "support/checked.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/paths.h"
#include "surface/raster_image.h"

namespace {

constexpr const char* DEFAULT_ROOT = "c:\\vantor";
constexpr int32_t ORIENTATION_ROWS = 3; // low two bits of the scan order
constexpr int32_t ORIENTATION_RIGHT_TO_LEFT = 1;
constexpr int32_t ORIENTATION_BOTTOM_UP = 2; // from this value on the last row comes first

// ---- finding the file --------------------------------------------------------------------------------------------

// A name of the form "/INMEM/..." is an address to the raster library. A palette or header that holds one must not
// reach it: with one more separator it names a file like any other.
CFILE* open_raster(const char* path) {
    if (std::strncmp(path, "/INMEM/", 7) != 0) return rzl_open_r(path);
    char plain[FILES_PATH_SIZE + 1];
    std::snprintf(plain, sizeof plain, "/%s", path);
    return rzl_open_r(plain);
}

// ---- shape of the file -------------------------------------------------------------------------------------------

struct raster_shape {
    int32_t file_width, file_height;
    int32_t width, height; // stored
    int32_t format;
    bool bottom_up, right_to_left;
    bool black_and_white; // bilevel, without a table of its two colours
    bool inks;            // cyan, magenta, yellow and black
};

bool is_bilevel(int32_t format) {
    return format == RZL_FORMAT_BILEVEL || format == RZL_FORMAT_BILEVEL_RUNS || format == RZL_FORMAT_GROUP3 ||
           format == RZL_FORMAT_GROUP4;
}

// A table with more entries is none that the library looks pixels up in.
bool has_table(CFILE* file) {
    constexpr int32_t MOST_ENTRIES = 512;
    int32_t type = RZL_VLT_NONE;
    int32_t entries = 0;
    rzl_get_hdr_data(file, RZL_FIELD_VLT_TYPE, &type);
    rzl_get_hdr_data(file, RZL_FIELD_VLT_ENTRIES, &entries);
    return (type == RZL_VLT_BYTES || type == RZL_VLT_ENTRIES) && entries > 0 && entries <= MOST_ENTRIES;
}

bool read_shape(CFILE* file, int32_t max_width, int32_t max_height, raster_shape* shape) {
    bool good = rzl_get_hdr_data(file, RZL_FIELD_XSIZE, &shape->file_width) == 0 &&
                rzl_get_hdr_data(file, RZL_FIELD_YSIZE, &shape->file_height) == 0 &&
                rzl_get_hdr_data(file, RZL_FIELD_FORMAT, &shape->format) == 0;
    if (!good || shape->file_width < 1 || shape->file_height < 1) return false;
    const int32_t orientation = rzl_line_order(file);
    shape->black_and_white = is_bilevel(shape->format) && !has_table(file);
    shape->inks = rzl_has_inks(file) != 0;
    shape->bottom_up = (orientation & ORIENTATION_ROWS) >= ORIENTATION_BOTTOM_UP && orientation > 0;
    shape->right_to_left = orientation > 0 && (orientation & ORIENTATION_RIGHT_TO_LEFT) != 0;
    // 4 and 5 have low bits of 0 and 1, 6 and 7 of 2 and 3. A bottom-up or mirrored file is stored whole.
    bool whole = shape->bottom_up || shape->right_to_left;
    shape->width = whole || shape->file_width < max_width ? shape->file_width : max_width;
    shape->height = whole || shape->file_height < max_height ? shape->file_height : max_height;
    return shape->width > 0 && shape->height > 0;
}

// No memory is taken for what a header claims beyond what the file can hold. The last row is as wide as the file's,
// whatever is stored of it.
bool file_can_hold(CFILE* file, const raster_shape* shape) {
    return rzl_lines_held(file) >= shape->height;
}

// A line is read whole while rows stand the stored width apart, so that the last row needs room for the file's width.
bool plane_size(const raster_shape* shape, size_t* bytes) {
    size_t rows = 0;
    return checked_mul(static_cast<size_t>(shape->height - 1), static_cast<size_t>(shape->width), &rows) &&
           checked_add(rows, static_cast<size_t>(shape->file_width), bytes);
}

// ---- lines -------------------------------------------------------------------------------------------------------

bool is_four_channel(int32_t format) {
    return format == RZL_FORMAT_JPEG_FOUR || format == RZL_FORMAT_FOUR_PLANE_RUNS || format == RZL_FORMAT_FOUR;
}

// Grey of 16 bits gives its high bytes; what is deeper is no picture.
bool is_deep_grey(int32_t format) {
    return format == RZL_FORMAT_INT16;
}
bool has_byte_samples(int32_t format) {
    return is_deep_grey(format) || !(format >= RZL_FORMAT_INT16 && format <= RZL_FORMAT_128);
}

// What reading one line needs besides the planes.
struct line_reader {
    CFILE* file;
    const raster_shape* shape;
    uint8_t* spare; // a packed bilevel line, one of 16-bit grey, or the fourth channel; null when none is needed
    int deep_bits;  // bits of deep grey below its high byte
};

bool read_bilevel(const line_reader* r, uint8_t* red, uint8_t* green, uint8_t* blue) {
    if (rzl_getline(r->file, r->spare) != 0) return false;
    auto width = static_cast<size_t>(r->shape->file_width);
    rzl_unpack_bits(r->spare, red, r->shape->file_width, 0, 255);
    std::memcpy(green, red, width);
    std::memcpy(blue, red, width);
    return true;
}

bool read_deep_grey(const line_reader* r, uint8_t* red, uint8_t* green, uint8_t* blue) {
    if (rzl_getline(r->file, r->spare) != 0) return false;
    auto width = static_cast<size_t>(r->shape->file_width);
    for (size_t x = 0; x < width; ++x) {
        uint16_t value = 0;
        std::memcpy(&value, r->spare + x * sizeof value, sizeof value);
        red[x] = static_cast<uint8_t>(value >> r->deep_bits);
    }
    std::memcpy(green, red, width);
    std::memcpy(blue, red, width);
    return true;
}

bool read_four(const line_reader* r, uint8_t* red, uint8_t* green, uint8_t* blue) {
    void* buffers[4] = {red, green, blue, r->spare};
    if (rzl_getline_channels(r->file, 4, buffers) != 0) return false;
    if (r->shape->inks) rzl_mix_inks(red, green, blue, r->spare, r->shape->file_width);
    return true;
}

bool read_line(const line_reader* r, uint8_t* red, uint8_t* green, uint8_t* blue) {
    if (is_deep_grey(r->shape->format)) return read_deep_grey(r, red, green, blue);
    if (r->shape->black_and_white) return read_bilevel(r, red, green, blue);
    if (is_four_channel(r->shape->format)) return read_four(r, red, green, blue);
    return rzl_getline3(r->file, red, green, blue) == 0;
}

bool needs_spare(const raster_shape* shape) {
    return shape->black_and_white || is_four_channel(shape->format) || is_deep_grey(shape->format);
}

int bits_below_high_byte(CFILE* file) {
    int32_t bits = 16;
    rzl_get_hdr_data(file, RZL_FIELD_BITS, &bits);
    return clamped(bits, 8, 16) - 8;
}

// Reads the lines in file order into the planes, from the last row up for a bottom-up file. Each line is overwritten at
// its end by the row that follows it in memory, so for a file cut at the right the order is always downward.
bool read_lines(const line_reader* r, raster_image* image) {
    for (int32_t line = 0; line < image->height; ++line) {
        int32_t row = r->shape->bottom_up ? image->height - 1 - line : line;
        size_t offset = static_cast<size_t>(row) * static_cast<size_t>(image->width);
        uint8_t* const row_planes[3] = {image->red + offset, image->green + offset, image->blue + offset};
        if (!read_line(r, row_planes[0], row_planes[1], row_planes[2])) return false;
        for (uint8_t* plane : row_planes)
            if (r->shape->right_to_left) std::reverse(plane, plane + image->width);
    }
    return true;
}

// A plane is walked over by every redraw and every pass, from its beginning to its end.
uint8_t* new_plane(size_t bytes) {
    auto* plane = mem_new_array<uint8_t>(bytes);
    if (plane != nullptr) pages_prefer_large(plane, bytes);
    return plane;
}

bool allocate(raster_image* image, const raster_shape* shape, const char* path) {
    size_t bytes = 0;
    if (!plane_size(shape, &bytes)) return false;
    image->width = shape->width;
    image->height = shape->height;
    image->red = new_plane(bytes);
    image->green = new_plane(bytes);
    image->blue = new_plane(bytes);
    image->name = mem_copy_text(path);
    return image->red != nullptr && image->green != nullptr && image->blue != nullptr && image->name != nullptr;
}

enum class outcome { loaded, unreadable, no_memory };

outcome load_open_file(CFILE* file, const char* path, int32_t max_width, int32_t max_height, raster_image* image) {
    raster_shape shape = {};
    if (!read_shape(file, max_width, max_height, &shape)) return outcome::unreadable;
    if (!has_byte_samples(shape.format) || !file_can_hold(file, &shape)) return outcome::unreadable;
    if (!allocate(image, &shape, path)) return outcome::no_memory;
    mem_guard<uint8_t> spare(nullptr);
    if (needs_spare(&shape)) {
        spare.block = mem_new_array<uint8_t>((static_cast<size_t>(shape.file_width) + 2) * sizeof(uint16_t));
        if (!spare) return outcome::no_memory;
    }
    line_reader reader = {file, &shape, spare.get(), bits_below_high_byte(file)};
    if (!read_lines(&reader, image)) return outcome::unreadable;
    if (rzl_is_damaged(file) != 0) log_message(LOG_WARNING, "\"%s\" is damaged: parts of it are missing.\n", path);
    return outcome::loaded;
}

} // namespace

bool find_raster_file(const char* path, char* found, size_t size) {
    if (find_pattern_file(path, found, size)) return true;
    const char* base = files_last_name(path);
    if (base != path && base[0] != '\0' && files_exists(base)) {
        std::snprintf(found, size, "%s", base);
        return true;
    }
    const char* root = std::getenv(VARIABLE_ROOT);
    char image[FILES_PATH_SIZE];
    int written = std::snprintf(image, sizeof image, "%s\\images\\%s", root != nullptr ? root : DEFAULT_ROOT, base);
    bool exists = base[0] != '\0' && written > 0 && static_cast<size_t>(written) < sizeof image && files_exists(image);
    std::snprintf(found, size, "%s", exists ? image : path);
    return exists;
}

raster_image* load_image(const char* path, int32_t max_width, int32_t max_height) {
    char found[FILES_PATH_SIZE];
    find_raster_file(path, found, sizeof found);
    return load_found_image(path, found, max_width, max_height);
}

raster_image* load_found_image(const char* path, const char* found, int32_t max_width, int32_t max_height) {
    auto* image = mem_new<raster_image>();
    if (image == nullptr) {
        log_message(LOG_WARNING, "Failed to allocate memory for image structure.\n");
        return nullptr;
    }
    CFILE* file = open_raster(found);
    outcome result = outcome::unreadable;
    if (file != nullptr) {
        result = load_open_file(file, found, max_width, max_height, image);
        rzl_close(file);
    }
    if (result == outcome::loaded) return image;
    if (result == outcome::no_memory) {
        log_message(LOG_WARNING, "Failed to allocate memory for rgb image buffers.\n");
    } else {
        log_message(LOG_WARNING, "load_image : failed to open \"%s\" for read\n", path);
    }
    raster_image_free(image);
    return nullptr;
}

void raster_image_free(raster_image* image) {
    if (image == nullptr) return;
    mem_free(image->name);
    mem_free(image->red);
    mem_free(image->green);
    mem_free(image->blue);
    mem_free(image);
}
