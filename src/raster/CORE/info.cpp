// Header fields: which ones the core answers or changes by itself, what may change when, and what goes on to the
// module. Also the other calls that tell about a file as a whole.
#include <algorithm>
#include <cstring>

#include "raster/CORE/formats.h"
#include "raster/CORE/module.h"
#include "raster/CORE/tilesetup.h"

namespace {

constexpr char SOURCE[] = "CORE/info";

struct field_range {
    int32_t first, last;
};

template <size_t Count> bool is_in(const field_range (&ranges)[Count], int32_t field) {
    for (const field_range& range : ranges) {
        if (field >= range.first && field <= range.last) return true;
    }
    return false;
}

// Fields that only modules know. Reading and setting differ in a few.
constexpr field_range MODULE_GET_FIELDS[] = {{5, 30},    {33, 33},   {200, 201},   {400, 401},
                                             {501, 505}, {509, 509}, {600, 609},   {630, 630},
                                             {640, 652}, {660, 660}, {667, 674},   {700, 700},
                                             {720, 720}, {730, 730}, {1000, 1001}, {RZL_FIELD_MAP, RZL_FIELD_MAP}};
constexpr field_range MODULE_SET_FIELDS[] = {{3, 19},    {21, 30},   {32, 33},   {200, 200}, {401, 401},
                                             {403, 403}, {501, 505}, {509, 509}, {600, 609}, {630, 630},
                                             {640, 652}, {660, 660}, {667, 674}, {720, 720}};

int refuse_field(CFILE* c, uint32_t status, const char* word, int line = __builtin_LINE()) {
    return refuse(c, status, SOURCE, word, line);
}

// ---- reading --------------------------------------------------------------------------------------------------------

int32_t image_count(CFILE* c) {
    if (c->active_image != 0) return -1;
    return has_flag(c, FLAG_MULTI_IMAGE) ? c->slots.Get_number_of_images(c) : 1;
}

int32_t refreshed_pixel_class(CFILE* c) {
    c->format = c->slots.Get_format(c);
    return pixel_class(c);
}

// The fields of one integer that the core knows by itself. False for any other.
bool core_value(CFILE* c, int32_t field, int32_t* v) {
    switch (field) {
    case RZL_FIELD_XSIZE: *v = c->xsize; return true;
    case RZL_FIELD_YSIZE: *v = c->ysize; return true;
    case RZL_FIELD_FORMAT: *v = c->slots.Get_format(c); return true;
    case RZL_FIELD_VLT_BITS: *v = static_cast<int32_t>(c->vlt_bits); return true;
    case RZL_FIELD_STRIP_LINES: *v = c->ccitt != nullptr ? c->ccitt->strip_lines : -1; return true;
    case RZL_FIELD_FOUR_BYTE_PIXELS: *v = has_flag(c, FLAG_FOUR_BYTE_PIXELS); return true;
    case RZL_FIELD_MARK_36: *v = has_flag(c, FLAG_FIELD_36); return true;
    case RZL_FIELD_IMAGES: *v = image_count(c); return true;
    case RZL_FIELD_PIXEL_CLASS: *v = refreshed_pixel_class(c); return true;
    case RZL_FIELD_FLAG_404: *v = has_flag(c, FLAG_FIELD_404); return true;
    case RZL_FIELD_BOARD: *v = (c->jpeg_flags & JPEG_USE_BOARD) != 0; return true;
    case RZL_FIELD_BOARD_KEEP: *v = (c->jpeg_flags & JPEG_KEEP_TABLES) != 0; return true;
    case RZL_FIELD_BOARD_407: *v = (c->jpeg_flags & JPEG_NOT_407) == 0; return true;
    case RZL_FIELD_STANDARD: *v = c->standard; return true;
    case RZL_FIELD_SAMPLES: *v = c->samples; return true;
    case RZL_FIELD_BITS: *v = c->bits; return true;
    case RZL_FIELD_QUALITY: *v = c->jpeg != nullptr ? c->jpeg->quality : 0; return true;
    case RZL_FIELD_RAW_SAMPLES: *v = has_flag(c, FLAG_RAW_SAMPLES); return true;
    default: return false;
    }
}

// A word for each of the tiles that the fields 101 and 102 tell of: the caller has room for those. A module that knows
// nothing of a tile leaves its word 0.
int get_tile_directory(CFILE* c, void* value) {
    alignas(8) uint8_t across[FIELD_MOST_BYTES] = {};
    alignas(8) uint8_t down[FIELD_MOST_BYTES] = {};
    if (get_module_field(c, RZL_FIELD_TILES_ACROSS, across) != 0 ||
        get_module_field(c, RZL_FIELD_TILES_DOWN, down) != 0)
        return 1;
    int64_t tiles = int64_t{std::max(int_of(across), 0)} * std::max(int_of(down), 0);
    if (tiles > INT32_MAX) return refuse_field(c, RZL_BAD_IMAGE_SIZE, "rzl_get_hdr_data");
    std::memset(value, 0, static_cast<size_t>(tiles) * sizeof(int32_t));
    return get_module_field(c, RZL_FIELD_TILE_DIRECTORY, value);
}

// ---- setting --------------------------------------------------------------------------------------------------------

// Lines buffered for a row of tiles are laid out for the pixel width in force. A row that was only read is read again;
// one that waits to be written would come out scrambled, so the change is refused.
int set_four_byte_pixels(CFILE* c, bool on) {
    bool waiting = c->tile != nullptr && c->tile->row_buffer != nullptr;
    if (on != has_flag(c, FLAG_FOUR_BYTE_PIXELS) && waiting) {
        if (is_writable(c)) return refuse_field(c, RZL_BAD_FIELD_VALUE, "rzl_set_hdr_data");
        drop_tile_row(c);
    }
    set_flag(c, FLAG_FOUR_BYTE_PIXELS, on);
    return 0;
}

// Fields that can be set in every mode. False for any other field. (A value is looked at only where it is known to be
// an integer: a text may be shorter than one.)
bool set_in_any_mode(CFILE* c, int32_t field, const void* value, int* result) {
    *result = 0;
    switch (field) {
    case RZL_FIELD_RAW_SAMPLES: set_flag(c, FLAG_RAW_SAMPLES, int_of(value) == 1); return true;
    case RZL_FIELD_FLAG_404: set_flag(c, FLAG_FIELD_404, int_of(value) != 0); return true;
    case RZL_FIELD_FOUR_BYTE_PIXELS: *result = set_four_byte_pixels(c, int_of(value) != 0); return true;
    case RZL_FIELD_MAPPED: *result = rzl_set_mapped(c, int_of(value) != 0); return true;
    default: return false;
    }
}

// There is no board on this platform to prepare.
int refuse_board(CFILE* c) {
    c->jpeg_flags &= ~(JPEG_BOARD_OPEN | JPEG_TABLES_LOADED | JPEG_USE_BOARD);
    return refuse_field(c, RZL_JPEG_HARDWARE_2, "rzl_set_hdr_data");
}

int set_use_board(CFILE* c, bool on) {
    if (on && c->jpeg != nullptr) return refuse_board(c);
    c->jpeg_flags &= ~JPEG_USE_BOARD;
    return (c->jpeg_flags & JPEG_BOARD_OPEN) != 0 ? refuse_board(c) : 0;
}

int set_keep_tables(CFILE* c, bool on) {
    if (on && c->jpeg != nullptr) return refuse_board(c);
    c->jpeg_flags &= ~JPEG_KEEP_TABLES;
    return 0;
}

int set_407(CFILE* c, bool on) {
    bool clears = on && (c->jpeg_flags & JPEG_USE_BOARD) == 0;
    c->jpeg_flags = clears ? c->jpeg_flags & ~JPEG_NOT_407 : c->jpeg_flags | JPEG_NOT_407;
    return 0;
}

// A size goes to the module after the handle has it, since the module works with both; a refused one is taken back.
int set_size(CFILE* c, int32_t field, const void* value, int32_t* size) {
    int32_t before = *size;
    *size = int_of(value);
    int result =
        *size >= 0 ? set_module_field(c, field, value) : refuse_field(c, RZL_BAD_FIELD_VALUE, "rzl_set_hdr_data");
    if (result != 0) *size = before;
    count_tiles(c);
    return result;
}

int set_tile_size(CFILE* c, int32_t field, const void* value) {
    tile_shape before = tile_shape_of(c);
    int32_t v = int_of(value);
    bool is_width = field == RZL_FIELD_TILE_WIDTH;
    int result = rzl_setup_tiles(c, is_width ? v : 0, is_width ? 0 : v);
    if (result != 0) return result;
    result = set_module_field(c, field, value);
    if (result != 0) restore_tile_shape(c, before);
    return result;
}

int set_samples_or_bits(CFILE* c, int32_t v, int32_t limit, int32_t* target) {
    if (v < 1 || v > limit) return refuse_field(c, RZL_BAD_FIELD_VALUE, "rzl_set_hdr_data");
    *target = v;
    return 0;
}

// A table entry is a byte, and a colour of the application has 16 bits.
int set_vlt_bits(CFILE* c, const void* value) {
    int32_t bits = int_of(value);
    if (bits < 0 || bits > 16) return refuse_field(c, RZL_BAD_FIELD_VALUE, "rzl_set_hdr_data");
    uint32_t before = c->vlt_bits;
    c->vlt_bits = static_cast<uint32_t>(bits);
    int result = set_module_field(c, RZL_FIELD_VLT_BITS, value);
    if (result != 0) c->vlt_bits = before;
    return result;
}

int set_image_count(CFILE* c, int32_t count) {
    uint32_t before = c->flags;
    if (count > 1) set_flag(c, FLAG_MULTI_IMAGE, true);
    int result = c->slots.Set_Number_of_Images(c, count);
    if (result != 0) c->flags = before;
    return result;
}

// With an overview active, only what belongs to an overview can be set.
int set_overview_field(CFILE* c, int32_t field, const void* value) {
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE:
    case RZL_FIELD_STRIP_LINES:
    case RZL_FIELD_OVERVIEW_VALUE: return set_module_field(c, field, value);
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT: break;
    default: return refuse_field(c, RZL_BAD_FIELD_ID, "rzl_set_hdr_data");
    }
    tile_shape before = tile_shape_of(c);
    int result = setup_overview_tiles(c, field == RZL_FIELD_TILE_WIDTH, int_of(value));
    if (result != 0) return result;
    result = set_module_field(c, field, value);
    if (result != 0) restore_tile_shape(c, before);
    return result;
}

// What fixes the layout of the file: passed over, with success, once the header stands in it. (On a file that is only
// written a change would leave the lines in another shape than the header tells.)
bool is_layout_field(int32_t field) {
    constexpr field_range LAYOUT_FIELDS[] = {{1, 1}, {100, 100}, {104, 104}, {500, 500}, {506, 507}};
    return is_in(LAYOUT_FIELDS, field);
}

// What a handle that is no module's has as well.
bool allows(const CFILE* c, uint32_t trait) {
    return c->module == nullptr || has_trait(c, trait);
}

// Size and data format are fixed once the header exists, except in formats that look at them themselves.
bool is_fixed(const CFILE* c, int32_t field) {
    bool shape = field >= RZL_FIELD_XSIZE && field <= RZL_FIELD_FORMAT;
    if (field == RZL_FIELD_XSIZE && has_trait(c, MODULE_WIDTH)) return false;
    return has_flag(c, FLAG_HEADER_EXISTS) && (is_layout_field(field) || (shape && !allows(c, MODULE_RESIZES)));
}

int set_base_field(CFILE* c, int32_t field, const void* value) {
    constexpr int32_t MAX_SAMPLES = 65535;
    constexpr int32_t MAX_BITS = 128;
    if (c->module != nullptr && (c->module->traits & MODULE_FIELDS) != 0) return set_module_field(c, field, value);
    if (is_fixed(c, field)) return 0;
    constexpr field_range COUNT_FIELDS[] = {{101, 102}, {700, 700}};
    bool counts = is_in(COUNT_FIELDS, field) && c->module != nullptr && (c->module->traits & MODULE_COUNTS) != 0;
    if (counts || is_in(MODULE_SET_FIELDS, field)) return set_module_field(c, field, value);
    switch (field) {
    case RZL_FIELD_XSIZE: return set_size(c, field, value, &c->xsize);
    case RZL_FIELD_YSIZE: return set_size(c, field, value, &c->ysize);
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT:
        return allows(c, MODULE_TILES) ? set_tile_size(c, field, value) : set_module_field(c, field, value);
    case RZL_FIELD_VLT_BITS: return set_vlt_bits(c, value);
    case RZL_FIELD_IMAGES: return set_image_count(c, int_of(value));
    case RZL_FIELD_BOARD: return set_use_board(c, int_of(value) != 0);
    case RZL_FIELD_BOARD_KEEP: return set_keep_tables(c, int_of(value) != 0);
    case RZL_FIELD_BOARD_407: return set_407(c, int_of(value) != 0);
    case RZL_FIELD_STANDARD: return rzl_set_standard(c, int_of(value));
    case RZL_FIELD_SAMPLES: return set_samples_or_bits(c, int_of(value), MAX_SAMPLES, &c->samples);
    case RZL_FIELD_BITS: return set_samples_or_bits(c, int_of(value), MAX_BITS, &c->bits);
    case RZL_FIELD_QUALITY:
        if (c->jpeg != nullptr) c->jpeg->quality = int_of(value);
        return 0;
    default: return refuse_field(c, RZL_BAD_FIELD_ID, "rzl_set_hdr_data");
    }
}

} // namespace

// ---- inside the lock

int get_field(CFILE* c, int32_t field, void* value) {
    int32_t v = 0;
    bool is_tile_field = field >= RZL_FIELD_TILE_WIDTH && field <= RZL_FIELD_TILE_HEIGHT;
    if (core_value(c, field, &v) || (is_tile_field && !has_flag(c, FLAG_TILED))) {
        give_int(value, v);
        return 0;
    }
    if (field == RZL_FIELD_TILE_DIRECTORY) return get_tile_directory(c, value);
    bool known = field == RZL_FIELD_MATRIX || is_tile_field || is_in(MODULE_GET_FIELDS, field);
    return known ? get_module_field(c, field, value) : refuse_field(c, RZL_BAD_FIELD_ID, "rzl_get_hdr_data");
}

int set_field(CFILE* c, int32_t field, const void* value) {
    int result = 0;
    if (set_in_any_mode(c, field, value, &result)) return result;
    bool always = field == RZL_FIELD_STRIP_LINES || field == RZL_FIELD_BOARD || field == RZL_FIELD_BOARD_KEEP;
    if (!is_writable(c) && !always) return refuse_field(c, RZL_NEEDS_WRITE, "rzl_set_hdr_data");
    if (c->active_overview >= 0) return set_overview_field(c, field, value);
    return set_base_field(c, field, value);
}

// ---- public ---------------------------------------------------------------------------------------------------------

int32_t pixel_class(const CFILE* c) {
    int32_t f = c->format;
    if (format_is_color(f)) return 0;
    if (f == RZL_FORMAT_BYTE_PAIRS || f == RZL_FORMAT_PACKED_RUNS) {
        if (c->bits == 1) return 2;
        if (c->bits < 9) return 1;
        if (c->bits < 17) return 3;
        return c->bits > 32 ? -1 : 4;
    }
    if (format_is_byte(f)) return 1;
    if (format_is_bilevel(f)) return 2;
    if (f >= RZL_FORMAT_INT16 && f <= RZL_FORMAT_128) return f;
    return format_is_four(f) ? 10 : -1;
}

// The status field must see what the operation before left, so it is the one that clears nothing.
int rzl_get_hdr_data(CFILE* c, int32_t field, void* value) {
    if (!handle_is_valid(c, "rzl_get_hdr_data")) return 1;
    lock_enter(c->lock);
    ++c->depth;
    int result = 0;
    if (field == RZL_FIELD_STATUS && value != nullptr) {
        std::memcpy(value, &c->status, sizeof c->status);
        return handle_leave(c, 0);
    }
    c->status = 0;
    set_last_status(0);
    if (value == nullptr) {
        result = refuse_field(c, RZL_BAD_FIELD_VALUE, "rzl_get_hdr_data");
    } else {
        result = get_field(c, field, value);
    }
    return handle_leave(c, result);
}

int rzl_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    if (!handle_enter(c, "rzl_set_hdr_data")) return 1;
    if (value == nullptr) return handle_leave(c, refuse_field(c, RZL_BAD_FIELD_VALUE, "rzl_set_hdr_data"));
    int result = set_field(c, field, value);
    return handle_leave(c, slot_result(c, result));
}

int rzl_write_header(CFILE* c) {
    if (!handle_enter(c, "rzl_write_header")) return 1;
    int result = slot_result(c, c->slots.Wrt_hdr(c));
    if (result == 0) {
        io_settle(c);
        c->format = c->slots.Get_format(c);
        if (has_flag(c, FLAG_MEMORY)) static_cast<rzl_memfile*>(c->file)->data_start = static_cast<int32_t>(io_tell(c));
    }
    return handle_leave(c, result);
}

int rzl_get_stat(CFILE* c, rzl_stat* stat) {
    if (!handle_enter(c, "rzl_get_stat")) return 1;
    int result = stat != nullptr ? c->slots.Get_stat(c, stat) : refuse_field(c, RZL_NO_OUTPUT_BUFFER, "rzl_get_stat");
    return handle_leave(c, slot_result(c, result));
}

int32_t rzl_line_order(CFILE* c) {
    if (!handle_enter(c, "rzl_line_order")) return RZL_TOP_DOWN;
    int32_t order = RZL_TOP_DOWN;
    (void)get_field(c, RZL_FIELD_ORIENTATION, &order);
    rzl_stat stat;
    if (c->standard == RZL_STANDARD_VRLC && c->slots.Get_stat(c, &stat) == 0) order = stat.scan_orientation;
    return handle_leave(c, order);
}

int rzl_set_stat(CFILE* c, const rzl_stat* stat) {
    if (!handle_enter(c, "rzl_set_stat")) return 1;
    int result = 0;
    if (!is_writable(c)) {
        result = refuse_field(c, RZL_NEEDS_WRITE, "rzl_set_stat");
    } else if (stat == nullptr) {
        result = refuse_field(c, RZL_BAD_FIELD_VALUE, "rzl_set_stat");
    } else {
        result = c->slots.Set_stat(c, stat);
    }
    return handle_leave(c, slot_result(c, result));
}

int rzl_is_damaged(CFILE* c) {
    if (!handle_enter(c, "rzl_is_damaged")) return 0;
    return handle_leave(c, has_flag(c, FLAG_DAMAGED) ? 1 : 0);
}

int rzl_is_line_damaged(CFILE* c) {
    if (!handle_enter(c, "rzl_is_line_damaged")) return 0;
    return handle_leave(c, c->line_damaged ? 1 : 0);
}

const char* rzl_version(void) {
    return RZL_VERSION;
}

int rzl_get_global(int32_t field, void* value) {
    if (value == nullptr) return 0;
    uint32_t status = last_status();
    const rzl_format_row* rows = format_table();
    switch (field) {
    case RZL_GLOBAL_STATUS: std::memcpy(value, &status, sizeof status); break;
    case RZL_GLOBAL_DEBUG_LEVEL: give_int(value, debug_level()); break;
    case RZL_GLOBAL_FORMAT_ROWS: give_int(value, FORMAT_ROW_COUNT); break;
    case RZL_GLOBAL_FORMAT_TABLE: *static_cast<const rzl_format_row**>(value) = rows; break;
    default: break;
    }
    return 0;
}
