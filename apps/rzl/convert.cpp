// rzl convert: one raster file into another standard or data format, pixel by pixel as it was.
//
// A picture goes into the target when the target can hold it as it is: bilevel into bilevel, grey or colour; grey into
// grey or colour; a colour table into 8 bits with that table, or into colour; colour into colour; four channels into
// four. Colour into 8 bits with a colour table is reduced to 256 colours, where a table is asked for or the standard
// has nothing else; anything else that would have to reduce the picture is refused. Lines are written in the order of
// the source.
#include <algorithm>
#include <cstring>
#include <strings.h>

#include "commands.h"
#include "common/raster.h"
#include "platform/files.h"
#include "reduce.h"
#include "rows.h"
#include "source.h"
#include "support/memory.h"

namespace {

constexpr int CHANNELS = 4;
constexpr int SAMPLES_OF_COLOR = 3;
constexpr int64_t PLAIN_TILE = 1024; // a side that needs no picture of its size
constexpr int32_t BYTE_VALUES = 256;
constexpr int32_t VLT_ENTRIES_MAX = 65536; // a slot is a 16-bit number

struct convert_request {
    source_request in;
    const char* out;
    int32_t standard;
    int64_t format;      // 0: the one nearest to the source
    int64_t compression; // -1: not given
    int64_t tile;
    bool keep_vlt;
};

// ---- words ----------------------------------------------------------------------------------------------------------

int take_standard(const char* word, convert_request* request) {
    if (word == nullptr) return program_usage("--standard needs a name or number");
    int64_t id = -1;
    if (!parse_integer(word, 0, INT32_MAX, &id)) id = raster_standard_of_name(word);
    if (id < 0 || rzl_standard_name(static_cast<int32_t>(id)) == nullptr) {
        return program_usage("\"%s\" is no standard; see rzl formats", word);
    }
    request->standard = static_cast<int32_t>(id);
    return EXIT_DONE;
}

int take_value(const char* option, const char* word, int64_t low, int64_t high, int64_t* value) {
    if (word != nullptr && parse_integer(word, low, high, value)) return EXIT_DONE;
    return program_usage("%s takes a number from %lld to %lld", option, static_cast<long long>(low),
                         static_cast<long long>(high));
}

int take_convert_word(word_list* words, const char* word, convert_request* request) {
    if (std::strcmp(word, "--standard") == 0) return take_standard(take_word(words), request);
    if (std::strcmp(word, "--format") == 0) return take_value(word, take_word(words), 1, 255, &request->format);
    if (std::strcmp(word, "--compression") == 0) {
        return take_value(word, take_word(words), 0, 65535, &request->compression);
    }
    if (std::strcmp(word, "--tile") == 0) return take_value(word, take_word(words), 0, 65536, &request->tile);
    if (std::strcmp(word, "--vlt") == 0) {
        request->keep_vlt = true;
        return EXIT_DONE;
    }
    bool taken = false;
    int status = request->in.path != nullptr ? check_output_name(word) : EXIT_DONE;
    if (status == EXIT_DONE) status = source_take_word(words, word, &request->in, &taken);
    if (status != EXIT_DONE || taken) return status;
    if (word[0] == '-' || word[0] == '\0' || request->out != nullptr) {
        return program_usage("convert does not take \"%s\"", word);
    }
    request->out = word;
    return EXIT_DONE;
}

int parse(word_list* words, convert_request* request) {
    *request = {{nullptr, 0, -1}, nullptr, -1, 0, -1, 0, false};
    for (const char* word = take_word(words); word != nullptr; word = take_word(words)) {
        int status = take_convert_word(words, word, request);
        if (status != EXIT_DONE) return status;
    }
    if (request->in.path == nullptr || request->out == nullptr) return program_usage("convert needs IN and OUT");
    if (request->standard < 0) request->standard = rzl_standard_of_extension(raster_extension(request->out));
    if (request->standard >= 0) return EXIT_DONE;
    return program_usage("the extension of \"%s\" names no standard; give --standard", request->out);
}

// ---- the target -----------------------------------------------------------------------------------------------------

pixel_kind kind_of_format(int64_t format) {
    if (raster_is_bilevel(format)) return pixel_kind::bilevel;
    switch (format) {
    case RZL_FORMAT_BYTE:
    case RZL_FORMAT_BYTE_PAIRS:
    case RZL_FORMAT_BYTE_RUNS:
    case RZL_FORMAT_JPEG_GREY: return pixel_kind::grey;
    case RZL_FORMAT_COLOR_RUNS:
    case RZL_FORMAT_PLANE_RUNS:
    case RZL_FORMAT_RGB:
    case RZL_FORMAT_JPEG_RGB: return pixel_kind::color;
    case RZL_FORMAT_FOUR:
    case RZL_FORMAT_FOUR_PLANE_RUNS: return pixel_kind::four;
    default: return pixel_kind::deep;
    }
}

// The data formats that hold a kind of pixels, the first by choice.
constexpr int32_t KIND_FORMATS[][4] = {
    {RZL_FORMAT_BILEVEL, RZL_FORMAT_BILEVEL_RUNS, RZL_FORMAT_BYTE_RUNS, RZL_FORMAT_BYTE},
    {RZL_FORMAT_PLANE_RUNS, RZL_FORMAT_RGB, RZL_FORMAT_COLOR_RUNS, RZL_FORMAT_COLOR_RUNS},
    {RZL_FORMAT_FOUR, RZL_FORMAT_FOUR_PLANE_RUNS, RZL_FORMAT_FOUR, RZL_FORMAT_FOUR},
    {RZL_FORMAT_BYTE_RUNS, RZL_FORMAT_BYTE, RZL_FORMAT_BYTE_PAIRS, RZL_FORMAT_BYTE_PAIRS},
};

// The first that the standard has; without any the first, which is refused.
int64_t nearest_format(pixel_kind kind, int32_t standard) {
    size_t row = kind == pixel_kind::bilevel ? 0 : (kind == pixel_kind::color ? 1 : (kind == pixel_kind::four ? 2 : 3));
    for (int32_t format : KIND_FORMATS[row])
        if (rzl_standard_takes(standard, format) != 0) return format;
    return KIND_FORMATS[row][0];
}

bool can_hold(pixel_kind target, pixel_kind source) {
    switch (source) {
    case pixel_kind::bilevel:
    case pixel_kind::grey: return target == source || target == pixel_kind::grey || target == pixel_kind::color;
    case pixel_kind::mapped: return target == pixel_kind::grey || target == pixel_kind::color;
    default: return target == source && source != pixel_kind::deep;
    }
}

// Whether colours of the standard's files are those of a table.
bool has_only_tables(int32_t standard) {
    bool colors =
        rzl_standard_takes(standard, RZL_FORMAT_RGB) != 0 || rzl_standard_takes(standard, RZL_FORMAT_PLANE_RUNS) != 0;
    auto bytes = static_cast<int32_t>(nearest_format(pixel_kind::mapped, standard));
    return !colors && rzl_standard_has_table(standard) != 0 && rzl_standard_takes(standard, bytes) != 0;
}

// Whether the picture goes out in fewer colours than it has.
bool reduces(const raster_source* source, const convert_request* request) {
    bool wants_table = request->keep_vlt || has_only_tables(request->standard);
    return wants_table && source->kind == pixel_kind::color && kind_of_format(request->format) == pixel_kind::grey;
}

int64_t default_format(const raster_source* source, const convert_request* request) {
    bool bilevel = source->kind == pixel_kind::bilevel;
    if (bilevel && request->standard == RZL_STANDARD_CALS) return RZL_FORMAT_GROUP4;
    bool one_plane = request->keep_vlt || (has_only_tables(request->standard) && !bilevel);
    bool spread = source->kind == pixel_kind::mapped && rzl_standard_has_table(request->standard) == 0;
    if (spread && !request->keep_vlt) return nearest_format(pixel_kind::color, request->standard);
    return nearest_format(one_plane ? pixel_kind::mapped : source->kind, request->standard);
}

// Whether one plane of the target can hold the source's values, which are indices when there is a table, or shades.
bool table_fits(const raster_source* source, const convert_request* request) {
    int32_t colors = rzl_standard_colors(request->standard);
    bool is_table = source->kind == pixel_kind::mapped || request->keep_vlt;
    if (colors == 0) return !is_table;
    if (colors >= BYTE_VALUES || source->kind == pixel_kind::bilevel) return true;
    return source->kind == pixel_kind::mapped && source->vlt_entries <= colors;
}

int check_target(const raster_source* source, convert_request* request) {
    int can_create = 0;
    if (rzl_standard_support(request->standard, &can_create, nullptr) != 0 || can_create == 0) {
        return program_fail("This build can not write %s files.", rzl_standard_name(request->standard));
    }
    if (request->keep_vlt && source->kind != pixel_kind::mapped && source->kind != pixel_kind::color) {
        return program_fail("\"%s\" has no colours to make a table of.", request->in.path);
    }
    if (request->format == 0) request->format = default_format(source, request);
    pixel_kind target = kind_of_format(request->format);
    if (target == pixel_kind::deep) {
        return program_fail("This version does not convert to data format %d.", static_cast<int>(request->format));
    }
    if (rzl_standard_takes(request->standard, static_cast<int32_t>(request->format)) == 0) {
        return program_fail("A %s file does not have data format %d.", rzl_standard_name(request->standard),
                            static_cast<int>(request->format));
    }
    bool indices = source->kind == pixel_kind::mapped && target == pixel_kind::grey;
    if ((request->keep_vlt || indices) && rzl_standard_has_table(request->standard) == 0) {
        return program_fail("A %s file holds no colour table.", rzl_standard_name(request->standard));
    }
    if (request->keep_vlt && target != pixel_kind::grey) {
        return program_fail("Data format %d holds no colour table.", static_cast<int>(request->format));
    }
    if (target == pixel_kind::grey && !table_fits(source, request)) {
        return program_fail("A %s file holds a colour table of %d entries at most.",
                            rzl_standard_name(request->standard), rzl_standard_colors(request->standard));
    }
    if (!reduces(source, request) && !can_hold(target, source->kind)) {
        return program_fail("Data format %d can not hold the pixels of \"%s\" as they are.",
                            static_cast<int>(request->format), request->in.path);
    }
    return EXIT_DONE;
}

// ---- writing --------------------------------------------------------------------------------------------------------

struct conversion {
    const raster_source* source;
    const convert_request* request;
    CFILE* out;
    pixel_kind target;
    bool as_pixels;  // lines of both files have their samples together, and go so
    int plane_count; // otherwise, planes of plane_bytes each stand one behind the other
    size_t plane_bytes;
    uint8_t* planes[CHANNELS]; // of the line at hand, or its pixels in the first one
    mem_guard<rzl_vlt_entry> vlt;
    Impack* reduced; // null where the lines of the source go out
    bool turned;     // the target has no lines in the order of the source: they go out the other way round
    bool mirrored;   // nor pixels from right to left
};

bool set_field(CFILE* file, int32_t field, int64_t value) {
    auto narrow = static_cast<int32_t>(value);
    return rzl_set_hdr_data(file, field, &narrow) == 0;
}

bool put_vlt(conversion* c, int32_t entries, const rzl_vlt_entry* vlt) {
    return set_field(c->out, RZL_FIELD_VLT_TYPE, RZL_VLT_ENTRIES) &&
           set_field(c->out, RZL_FIELD_VLT_ENTRIES, entries) && rzl_put_vlt(c->out, vlt) == 0;
}

// Entries of the source's table from the first on. A map that begins with another one has them at their own index.
int32_t table_entries(const raster_source* source) {
    bool is_targa = source_field(source, RZL_FIELD_STANDARD, -1) == RZL_STANDARD_TARGA;
    int32_t first = is_targa ? source_field(source, RZL_FIELD_TARGA_MAP_FIRST, 0) : 0;
    return first == 0 ? source->vlt_entries : std::min(first + source->vlt_entries, BYTE_VALUES);
}

// A native table can have more entries than bytes have values: their numbers are taken as bytes, and the last one of a
// number holds. Gives the entries that are left.
int32_t fold_vlt(rzl_vlt_entry* vlt, int32_t entries) {
    rzl_vlt_entry folded[BYTE_VALUES] = {};
    for (int32_t i = 0; i < entries; ++i)
        folded[vlt[i].slot % BYTE_VALUES] = vlt[i];
    for (int32_t i = 0; i < BYTE_VALUES; ++i) {
        vlt[i] = folded[i];
        vlt[i].slot = static_cast<uint16_t>(i);
    }
    return BYTE_VALUES;
}

// Programs differ in which bit of a Sun file is black, unless its map tells.
bool needs_two_colors(const conversion* c) {
    return c->request->standard == RZL_STANDARD_SUN && c->request->format == RZL_FORMAT_BILEVEL;
}

bool copy_vlt(conversion* c) {
    static constexpr rzl_vlt_entry BLACK_AND_WHITE[] = {{0, 0, 0, 0}, {1, 0xFFFF, 0xFFFF, 0xFFFF}};
    if (c->reduced != nullptr) return put_vlt(c, c->reduced->vlt_count, c->reduced->vlt);
    if (needs_two_colors(c)) return put_vlt(c, 2, BLACK_AND_WHITE);
    bool keeps = c->source->kind == pixel_kind::mapped && c->target == pixel_kind::grey;
    if (!keeps) return true;
    if (c->source->vlt_entries > VLT_ENTRIES_MAX) return false;
    c->vlt.block = mem_new_array<rzl_vlt_entry>(VLT_ENTRIES_MAX);
    if (!c->vlt || rzl_get_vlt(c->source->file, c->vlt.get()) != 0) return false;
    int32_t entries = table_entries(c->source);
    if (entries > BYTE_VALUES && c->request->standard != RZL_STANDARD_KRVN) entries = fold_vlt(c->vlt.get(), entries);
    return put_vlt(c, entries, c->vlt.get());
}

bool has_field(CFILE* file, int32_t field, int64_t wanted) {
    int32_t value = 0;
    return rzl_get_hdr_data(file, field, &value) == 0 && value == wanted;
}

// Tiles are as high as they are wide; a format whose tiles have no height of their own has square ones. False where the
// format has no tiles.
bool set_tiles(conversion* c) {
    int64_t size = c->request->tile;
    set_field(c->out, RZL_FIELD_TILE_WIDTH, size);
    if (!has_field(c->out, RZL_FIELD_TILE_HEIGHT, size)) set_field(c->out, RZL_FIELD_TILE_HEIGHT, size);
    return has_field(c->out, RZL_FIELD_TILE_WIDTH, size) && has_field(c->out, RZL_FIELD_TILE_HEIGHT, size);
}

// The order of the source, where the target keeps it; otherwise the lines are brought into the target's own.
void settle_orientation(conversion* c) {
    constexpr int32_t FROM_RIGHT = 1;
    constexpr int32_t FROM_BOTTOM = 2;
    int32_t wanted = c->source->orientation;
    // A BMP file takes any order and has two.
    if (c->request->standard == RZL_STANDARD_BMP)
        wanted = source_is_bottom_up(c->source) ? RZL_BOTTOM_UP : RZL_TOP_DOWN;
    set_field(c->out, RZL_FIELD_ORIENTATION, wanted); // what a format does not keep is no failure
    int32_t kept = RZL_TOP_DOWN;
    rzl_get_hdr_data(c->out, RZL_FIELD_ORIENTATION, &kept);
    c->turned = ((kept ^ c->source->orientation) & FROM_BOTTOM) != 0;
    c->mirrored = ((kept ^ c->source->orientation) & FROM_RIGHT) != 0;
}

// The text of a bitmap names what it defines after the file.
void set_bitmap_name(conversion* c) {
    constexpr size_t NAME_SIZE = 32;
    char name[NAME_SIZE] = {};
    const char* path = c->request->out;
    const char* slash = std::strpbrk(path, "/\\");
    for (; slash != nullptr; slash = std::strpbrk(path, "/\\"))
        path = slash + 1;
    size_t length = strnlen(path, NAME_SIZE - 1);
    const char* dot = raster_extension(path);
    if (*dot != '\0' && dot - 1 > path) length = std::min(length, static_cast<size_t>(dot - 1 - path));
    std::memcpy(name, path, length);
    rzl_set_hdr_data(c->out, RZL_FIELD_XBM_NAME, name);
}

bool write_header(conversion* c) {
    const convert_request* r = c->request;
    bool good = set_field(c->out, RZL_FIELD_STANDARD, r->standard) && set_field(c->out, RZL_FIELD_FORMAT, r->format);
    if (r->tile != 0) good = good && set_tiles(c);
    if (r->compression >= 0) good = good && set_field(c->out, RZL_FIELD_COMPRESSION, r->compression);
    good = good && set_field(c->out, RZL_FIELD_XSIZE, c->source->width) &&
           set_field(c->out, RZL_FIELD_YSIZE, c->source->height);
    if (!good) return false;
    settle_orientation(c);
    if (r->standard == RZL_STANDARD_XBM) set_bitmap_name(c);
    set_field(c->out, RZL_FIELD_RESOLUTION, source_field(c->source, RZL_FIELD_RESOLUTION, 0));
    return copy_vlt(c) && rzl_write_header(c->out) == 0;
}

// Whether a file stores red, green and blue of a pixel together.
bool stores_pixels(CFILE* file) {
    if (!has_field(file, RZL_FIELD_SAMPLES, SAMPLES_OF_COLOR)) return false;
    if (has_field(file, RZL_FIELD_STANDARD, RZL_STANDARD_TIFF)) return has_field(file, RZL_FIELD_PLANAR, 1);
    return has_field(file, RZL_FIELD_FORMAT, RZL_FORMAT_RGB) || has_field(file, RZL_FIELD_FORMAT, RZL_FORMAT_JPEG_RGB);
}

// Whether the file has the coding that was asked for: standards without a choice of codings pass over the field. TIFF
// refuses by itself what it does not have, and stores 0 as 1.
bool keeps_compression(const conversion* c) {
    int64_t asked = c->request->compression;
    if (asked < 0 || c->request->standard == RZL_STANDARD_TIFF) return true;
    int32_t kept = 0;
    return rzl_get_hdr_data(c->out, RZL_FIELD_COMPRESSION, &kept) == 0 && kept == asked;
}

constexpr size_t SAMPLE_ALIGNMENT = 16;

// Rows that both files store as pixels are not taken apart on the way, unless they are turned round. Bits that stay as
// they are need a line of bits, which may be millions of pixels wide. Gives the bytes of a line.
size_t choose_layout(conversion* c) {
    const raster_source* s = c->source;
    const bool colors = s->kind == pixel_kind::color && c->target == pixel_kind::color;
    c->as_pixels = colors && !c->mirrored && stores_pixels(s->file) && stores_pixels(c->out);
    if (c->as_pixels) return static_cast<size_t>(s->width) * SAMPLES_OF_COLOR;
    const bool bits = s->kind == pixel_kind::bilevel && c->target == pixel_kind::bilevel && !c->mirrored;
    c->plane_count = bits ? 1 : CHANNELS;
    const size_t room = bits ? raster_bit_line_bytes(s->width) : source_plane_bytes(s);
    c->plane_bytes = (room + SAMPLE_ALIGNMENT - 1) / SAMPLE_ALIGNMENT * SAMPLE_ALIGNMENT;
    return c->plane_bytes * static_cast<size_t>(c->plane_count);
}

void take_line(conversion* c, uint8_t* line) {
    for (int i = 0; i < CHANNELS; ++i)
        c->planes[i] = c->as_pixels || i >= c->plane_count ? line : line + static_cast<size_t>(i) * c->plane_bytes;
}

bool read_line(void* context, uint8_t* line) {
    auto* c = static_cast<conversion*>(context);
    take_line(c, line);
    uint8_t* const* p = c->planes;
    const raster_source* s = c->source;
    if (c->as_pixels) return rzl_getline_interleaved(s->file, line) == 0;
    if (s->kind == pixel_kind::color || (s->kind == pixel_kind::mapped && c->target == pixel_kind::color)) {
        return rzl_getline3(s->file, p[0], p[1], p[2]) == 0;
    }
    if (s->kind == pixel_kind::four) {
        void* buffers[CHANNELS] = {p[0], p[1], p[2], p[3]};
        return rzl_getline_channels(s->file, CHANNELS, buffers) == 0;
    }
    return rzl_getline(s->file, p[0]) == 0;
}

// A bilevel line into bytes, through a spare plane.
void widen_bits(conversion* c, uint8_t set) {
    auto width = static_cast<size_t>(c->source->width);
    rzl_unpack_bits(c->planes[0], c->planes[3], c->source->width, 0, set);
    std::memcpy(c->planes[0], c->planes[3], width);
}

// The pixels of the planes the other way round. Bits are turned as bytes, through a spare plane.
void mirror_line(conversion* c) {
    auto width = static_cast<size_t>(c->source->width);
    uint8_t* const* p = c->planes;
    if (c->source->kind == pixel_kind::bilevel) {
        uint8_t* bytes = p[3];
        rzl_unpack_bits(p[0], bytes, c->source->width, 0, 1);
        std::memset(p[0], 0, raster_bit_line_bytes(c->source->width));
        for (size_t x = 0; x < width; ++x)
            if (bytes[width - 1 - x] != 0) p[0][(x / 8) ^ 1] |= static_cast<uint8_t>(0x80 >> x % 8);
        return;
    }
    for (int i = 0; i < CHANNELS; ++i)
        std::reverse(p[i], p[i] + width);
}

bool write_line(conversion* c) {
    uint8_t* const* p = c->planes;
    if (c->as_pixels) return rzl_putline_interleaved(c->out, p[0]) == 0;
    if (c->mirrored) mirror_line(c);
    bool one_plane = c->source->kind == pixel_kind::grey || c->source->kind == pixel_kind::bilevel;
    if (c->source->kind == pixel_kind::bilevel && c->target != pixel_kind::bilevel) widen_bits(c, 255);
    bool indices_are_bits = kind_of_format(c->source->format) == pixel_kind::bilevel; // some files have a byte for each
    if (c->source->kind == pixel_kind::mapped && indices_are_bits && c->target != pixel_kind::color) {
        widen_bits(c, 1); // the two indices
    }
    if (c->target == pixel_kind::color) {
        return rzl_putline3(c->out, p[0], one_plane ? p[0] : p[1], one_plane ? p[0] : p[2]) == 0;
    }
    if (c->target == pixel_kind::four) {
        const void* buffers[CHANNELS] = {p[0], p[1], p[2], p[3]};
        return rzl_putline_channels(c->out, CHANNELS, buffers) == 0;
    }
    return rzl_putline(c->out, p[0]) == 0;
}

int line_not_written(const conversion* c) {
    uint32_t status = 0;
    rzl_get_hdr_data(c->out, RZL_FIELD_STATUS, &status);
    return program_fail_writing(c->request->out, rzl_status_text(status));
}

int copy_lines(conversion* c) {
    const raster_source* s = c->source;
    source_rows rows = {s, c->request->in.path, c->turned, choose_layout(c), read_line, c};
    if (!rows_begin(&rows)) return EXIT_FAILED;
    for (uint8_t* line = rows_next(&rows); line != nullptr; line = rows_next(&rows)) {
        take_line(c, line);
        if (!write_line(c)) return line_not_written(c);
        progress_show("converting", rows.done, s->height);
    }
    return !rows.failed && raster_is_undamaged(s->file, c->request->in.path) ? EXIT_DONE : EXIT_FAILED;
}

int write_reduced(conversion* c) {
    const Impack* pack = c->reduced;
    for (int32_t line = 0; line < pack->ysize; ++line) {
        if (rzl_putline(c->out, pack->index_plane + int64_t{line} * pack->xsize) != 0) {
            return line_not_written(c);
        }
    }
    return EXIT_DONE;
}

int write_lines(conversion* c) {
    return c->reduced != nullptr ? write_reduced(c) : copy_lines(c);
}

int header_failed(const conversion* c) {
    uint32_t status = 0;
    rzl_get_hdr_data(c->out, RZL_FIELD_STATUS, &status);
    return program_fail_writing(c->request->out,
                                status != 0 ? raster_reason(status) : "its header does not take these values.");
}

int write_file(conversion* c, const char* fresh) {
    if (reduces(c->source, c->request)) {
        int status = reduce_source(c->source, c->request->in.path, &c->reduced);
        if (status != EXIT_DONE) return status;
    }
    char name[PLAIN_NAME_SIZE];
    c->out = rzl_open_w(plain_name(fresh, name));
    if (c->out == nullptr) return program_fail_writing(c->request->out, "it could not be opened.");
    int status = EXIT_DONE;
    if (!write_header(c)) {
        status = header_failed(c);
    } else if (!keeps_compression(c)) {
        status = program_fail_writing(c->request->out, "it can't have that --compression.");
    } else {
        status = write_lines(c);
    }
    uint32_t closing = rzl_finish(c->out);
    if (closing != 0 && status == EXIT_DONE) status = program_fail_writing(c->request->out, rzl_status_text(closing));
    return status;
}

// What is known to be cut before its first line is read is not converted: the target would be sized by a claim.
int check_claims(const raster_source* source, const convert_request* request) {
    if (rzl_lines_held(source->file) < source->height) raster_is_undamaged(source->file, request->in.path);
    if (program_has_reported()) return EXIT_FAILED;
    // A tile takes its memory whole, however little of the picture it holds.
    int64_t side = std::max(source->width, source->height);
    if (request->tile > PLAIN_TILE && request->tile >= 2 * side) {
        return program_fail("Tiles of %d pixels are too large for %d lines of %d pixels.",
                            static_cast<int>(request->tile), source->height, source->width);
    }
    return EXIT_DONE;
}

int convert(const raster_source* source, convert_request* request) {
    int status = check_target(source, request);
    if (status == EXIT_DONE) status = check_claims(source, request);
    if (status != EXIT_DONE) return status;
    if (source->kind == pixel_kind::color || source->kind == pixel_kind::mapped) raster_tell_grey(request->standard);
    char fresh[FILES_PATH_SIZE];
    if (!files_replace_begin(request->out, fresh, sizeof fresh)) return program_fail_writing(request->out, "");
    conversion c = {source, request, nullptr, kind_of_format(request->format),   false,
                    0,      0,       {},      mem_guard<rzl_vlt_entry>(nullptr), nullptr,
                    false,  false};
    status = write_file(&c, fresh);
    if (c.reduced != nullptr) imp_free(&c.reduced);
    progress_end();
    if (status != EXIT_DONE) {
        files_replace_abandon();
        return status;
    }
    return program_put_in_place(request->out);
}

} // namespace

int command_convert(word_list* words) {
    convert_request request;
    int status = parse(words, &request);
    if (status != EXIT_DONE) return status;
    if (files_is_same(request.in.path, request.out)) return program_fail("\"%s\" is the input file.", request.out);
    status = check_no_catalog(request.out);
    if (status != EXIT_DONE) return status;
    raster_source source;
    if (!source_open(&request.in, &source)) return EXIT_FAILED;
    status = convert(&source, &request);
    source_close(&source);
    return status;
}
