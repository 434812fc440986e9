#include "source.h"

#include <cstring>

namespace {

// The low bits of the scan order.
constexpr int32_t ORIENTATION_FROM_BOTTOM = 2;
constexpr int32_t ORIENTATION_FROM_RIGHT = 1;

constexpr int32_t VLT_TYPE_BYTES = 1;

// A table of two colours that are any, and no matter of black and white: that of a GIF file always, that of a BMP or
// PCX file when its first is not black or its second not white.
bool is_two_colors(const raster_source* s) {
    constexpr int WHITE = 255;
    int32_t standard = source_field(s, RZL_FIELD_STANDARD, -1);
    if (s->bits != 1) return false;
    if (standard == RZL_STANDARD_GIF) return true;
    rzl_vlt_entry table[256] = {};
    bool has_table = (standard == RZL_STANDARD_BMP || standard == RZL_STANDARD_PCX) && s->vlt_entries >= 2 &&
                     s->vlt_entries <= 256 && rzl_get_vlt(s->file, table) == 0;
    if (!has_table) return false;
    auto is = [](const rzl_vlt_entry& e, int value) {
        return e.red >> 8 == value && e.green >> 8 == value && e.blue >> 8 == value;
    };
    return !is(table[0], 0) || !is(table[1], WHITE);
}

pixel_kind kind_of(const raster_source* s) {
    if (is_two_colors(s)) return pixel_kind::mapped;
    switch (s->format) {
    case RZL_FORMAT_BILEVEL:
    case RZL_FORMAT_BILEVEL_RUNS:
    case RZL_FORMAT_GROUP3:
    case RZL_FORMAT_GROUP4: return pixel_kind::bilevel;
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
    // A byte table always has its 256 colours, whatever count stands beside it.
    bool has_table = s->vlt_type == VLT_TYPE_BYTES || (s->vlt_type != 0 && s->vlt_entries != 0);
    return has_table ? pixel_kind::mapped : pixel_kind::grey;
}

void read_shape(raster_source* s) {
    s->width = source_field(s, RZL_FIELD_XSIZE, 0);
    s->height = source_field(s, RZL_FIELD_YSIZE, 0);
    s->format = source_field(s, RZL_FIELD_FORMAT, 0);
    s->orientation = source_field(s, RZL_FIELD_ORIENTATION, 0);
    s->samples = source_field(s, RZL_FIELD_SAMPLES, 1);
    s->bits = source_field(s, RZL_FIELD_BITS, 8);
    s->vlt_type = source_field(s, RZL_FIELD_VLT_TYPE, 0);
    s->vlt_entries = source_field(s, RZL_FIELD_VLT_ENTRIES, 0);
    s->kind = kind_of(s);
}

bool activate(const source_request* request, CFILE* file) {
    if (request->image != 0 && rzl_set_active_image(file, request->image) != 0) {
        program_fail("\"%s\" has no image %d.", request->path, request->image);
        return false;
    }
    if (request->overview >= 0 && rzl_set_active_overview(file, request->overview) != 0) {
        program_fail("\"%s\" has no overview %d.", request->path, request->overview);
        return false;
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
        program_fail("\"%s\" could not be opened: %s", request->path, rzl_status_text(status));
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
    size_t pixel = source->kind == pixel_kind::deep ? 16 : 1;
    return static_cast<size_t>(source->width) * pixel + 16;
}

bool source_is_bottom_up(const raster_source* source) {
    return (source->orientation & ORIENTATION_FROM_BOTTOM) != 0;
}

bool source_is_right_to_left(const raster_source* source) {
    return (source->orientation & ORIENTATION_FROM_RIGHT) != 0;
}

int32_t source_line_of_row(const raster_source* source, int32_t row) {
    return source_is_bottom_up(source) ? source->height - 1 - row : row;
}
