#include "source.h"

#include <cstring>

#include "common/raster.h"

namespace {

constexpr int32_t PHOTOMETRIC_RGB = 2; // of TIFF files

// The low bits of the scan order.
constexpr int32_t ORIENTATION_FROM_BOTTOM = 2;
constexpr int32_t ORIENTATION_FROM_RIGHT = 1;

// A table with more entries than this is none that pixels are looked up in.
constexpr int32_t MOST_VLT_ENTRIES = 512;

// A byte table always has its 256 colours, whatever count stands beside it.
bool has_table(const raster_source* s) {
    if (s->vlt_type == RZL_VLT_BYTES) return true;
    return s->vlt_type == RZL_VLT_ENTRIES && s->vlt_entries > 0 && s->vlt_entries <= MOST_VLT_ENTRIES;
}

// Files of these standards have a table, which for most says no more than what bits mean without one.
bool is_black_and_white(const raster_source* s) {
    constexpr int WHITE = 255;
    int32_t standard = source_field(s, RZL_FIELD_STANDARD, -1);
    rzl_vlt_entry table[256] = {};
    bool usual = standard == RZL_STANDARD_BMP || standard == RZL_STANDARD_PCX || standard == RZL_STANDARD_SUN ||
                 standard == RZL_STANDARD_ICO || standard == RZL_STANDARD_PNG;
    bool looks =
        usual && s->bits == 1 && s->vlt_entries >= 2 && s->vlt_entries <= 256 && rzl_get_vlt(s->file, table) == 0;
    auto is = [](const rzl_vlt_entry& e, int value) {
        return e.red >> 8 == value && e.green >> 8 == value && e.blue >> 8 == value;
    };
    return looks && is(table[0], 0) && is(table[1], WHITE);
}

// Red, green, blue and another sample, which stands for how much of them is seen: what is no colour is left out.
bool has_alpha(const raster_source* s) {
    bool four = s->format == RZL_FORMAT_FOUR || s->format == RZL_FORMAT_FOUR_PLANE_RUNS;
    return four && source_field(s, RZL_FIELD_STANDARD, -1) == RZL_STANDARD_TIFF &&
           source_field(s, RZL_FIELD_PHOTOMETRIC, 0) == PHOTOMETRIC_RGB;
}

pixel_kind kind_of(const raster_source* s) {
    if (has_alpha(s)) return pixel_kind::color;
    // Bands that make a colour are none of grey, also where they can't be read.
    bool bands = source_field(s, RZL_FIELD_STANDARD, -1) == RZL_STANDARD_NITF && s->samples == 3;
    if (bands) return pixel_kind::color;
    bool is_gif = source_field(s, RZL_FIELD_STANDARD, -1) == RZL_STANDARD_GIF;
    bool two_colors = is_gif || (has_table(s) && !is_black_and_white(s));
    if (s->bits == 1 && two_colors) return pixel_kind::mapped;
    if (raster_is_bilevel(s->format)) return pixel_kind::bilevel;
    switch (s->format) {
    case RZL_FORMAT_COLOR_RUNS:
    case RZL_FORMAT_PLANE_RUNS:
    case RZL_FORMAT_RGB:
    case RZL_FORMAT_JPEG_RGB: return pixel_kind::color;
    case RZL_FORMAT_FOUR:
    case RZL_FORMAT_FOUR_PLANE_RUNS:
    case RZL_FORMAT_JPEG_FOUR: return pixel_kind::four;
    case RZL_FORMAT_INT16:
    case RZL_FORMAT_INT32:
    case RZL_FORMAT_REAL32:
    case RZL_FORMAT_INT64:
    case RZL_FORMAT_REAL64:
    case RZL_FORMAT_128: return pixel_kind::deep;
    default: break;
    }
    if (s->bits > 8) return pixel_kind::deep;
    return has_table(s) ? pixel_kind::mapped : pixel_kind::grey;
}

void read_shape(raster_source* s) {
    s->width = source_field(s, RZL_FIELD_XSIZE, 0);
    s->height = source_field(s, RZL_FIELD_YSIZE, 0);
    s->format = source_field(s, RZL_FIELD_FORMAT, 0);
    s->orientation = rzl_line_order(s->file);
    s->samples = source_field(s, RZL_FIELD_SAMPLES, 1);
    s->bits = source_field(s, RZL_FIELD_BITS, 8);
    s->vlt_type = source_field(s, RZL_FIELD_VLT_TYPE, 0);
    s->vlt_entries = source_field(s, RZL_FIELD_VLT_ENTRIES, 0);
    s->kind = kind_of(s);
}

// An image that is there, but can't be read, has another reason than one that is not.
bool refuse_part(const source_request* request, CFILE* file, uint32_t missing, const char* what, int32_t number) {
    uint32_t status = 0;
    rzl_get_hdr_data(file, RZL_FIELD_STATUS, &status);
    if (status == missing) {
        program_fail("\"%s\" has no %s %d.", request->path, what, number);
    } else {
        program_fail("The %s %d of \"%s\" can not be read: %s", what, number, request->path, raster_reason(status));
    }
    return false;
}

bool activate(const source_request* request, CFILE* file) {
    if (request->image != 0 && rzl_set_active_image(file, request->image) != 0) {
        return refuse_part(request, file, RZL_NO_SUCH_IMAGE, "image", request->image);
    }
    if (request->overview >= 0 && rzl_set_active_overview(file, request->overview) != 0) {
        return refuse_part(request, file, RZL_NO_SUCH_OVERVIEW, "overview", request->overview);
    }
    return true;
}

int take_number(const char* option, const char* word, int32_t* value) {
    int64_t number = 0;
    if (word == nullptr || !parse_integer(word, 0, INT32_MAX, &number)) {
        return program_usage("%s takes a number from 0", option);
    }
    *value = static_cast<int32_t>(number);
    return EXIT_DONE;
}

} // namespace

int source_take_word(word_list* words, const char* word, source_request* request, bool* taken) {
    *taken = true;
    if (std::strcmp(word, "--image") == 0) return take_number(word, take_word(words), &request->image);
    if (std::strcmp(word, "--overview") == 0) return take_number(word, take_word(words), &request->overview);
    *taken = word[0] != '-' && word[0] != '\0' && request->path == nullptr;
    if (*taken) request->path = word;
    return EXIT_DONE;
}

bool source_open(const source_request* request, raster_source* source) {
    *source = {};
    char name[PLAIN_NAME_SIZE];
    source->file = rzl_open_r(plain_name(request->path, name));
    if (source->file == nullptr) {
        uint32_t status = 0;
        rzl_get_global(RZL_GLOBAL_STATUS, &status);
        program_fail_reading(request->path, raster_reason(status));
        return false;
    }
    if (!activate(request, source->file)) {
        source_close(source);
        return false;
    }
    read_shape(source);
    return true;
}

void source_close(raster_source* source) {
    if (source->file != nullptr) rzl_close(source->file);
    source->file = nullptr;
}

int32_t source_field(const raster_source* source, int32_t field, int32_t fallback) {
    int32_t value = fallback;
    return rzl_get_hdr_data(source->file, field, &value) == 0 ? value : fallback;
}

size_t source_plane_bytes(const raster_source* source) {
    // The samples of a deep pixel may stand together.
    return source->kind == pixel_kind::deep ? rzl_interleaved_size(source->file) : rzl_line_size(source->file);
}

bool source_is_bottom_up(const raster_source* source) {
    return (source->orientation & ORIENTATION_FROM_BOTTOM) != 0;
}

bool source_is_right_to_left(const raster_source* source) {
    return (source->orientation & ORIENTATION_FROM_RIGHT) != 0;
}
