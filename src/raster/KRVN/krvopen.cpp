// Native files: opening for reading and update, the initial state of a file being created, and closing.
//
// What is believed of a header. The sizes are 32-bit numbers that a file can fill as it likes, so a file is refused
// when its lines are longer than the whole file could hold (krv_line_fits): nothing that reads it then takes memory out
// of proportion. Missing lines are no ground for refusal, since a file that was cut is still worth reading as far as it
// goes: its handle is marked as damaged, and the lines that are not there fail when they are read. A file under update
// may still get its lines, so it is not measured. A size of 0 is an image without pixels: reading a line fails.
#include <cinttypes>

#include "raster/KRVN/krv.h"
#include "support/checked.h"
#include "support/invariant.h"
#include "support/memory.h"

namespace {
constexpr char SOURCE[] = "KRVN/krvopen";

// How a data type stores its pixels, for the question of what a file can hold at most.
struct storage_row {
    int32_t data_type;
    uint32_t bits;      // stored bits a pixel of an uncompressed type, else 0
    uint32_t expansion; // most pixels that a stored byte of a run-coded type stands for
};

constexpr storage_row STORAGE[] = {
    {1, 1, 0},   {2, 8, 0},     {3, 16, 0},     {4, 32, 0},  {5, 32, 0},     {6, 64, 0},     {7, 64, 0},
    {8, 128, 0}, {9, 0, 32768}, {10, 0, 16384}, {25, 0, 64}, {26, 0, 32768}, {23, 0, 65536}, {24, 0, 65536},
    {27, 0, 64}, {28, 24, 0},   {29, 0, 64},    {67, 0, 64}, {69, 32, 0},
};

// A line of a scannable file may be missing from it; so many pixels are taken on trust, as many as a piece can begin
// at.
constexpr uint32_t TRUSTED_PIXELS = 65536;

const storage_row* find_storage(int32_t data_type) {
    for (const storage_row& row : STORAGE) {
        if (row.data_type == data_type) return &row;
    }
    return nullptr;
}

// Bytes of an uncompressed line. Bilevel lines are whole 16-bit words.
uint64_t stored_line_bytes(const storage_row* row, uint32_t xsize) {
    if (row->bits == 1) return (uint64_t{xsize} + 15) / 16 * 2;
    return uint64_t{xsize} * (row->bits / 8);
}

} // namespace

bool krv_is_data_type(int code) {
    return (code >= 1 && code <= 10) || (code >= 23 && code <= 32) || code == RZL_FORMAT_TILED ||
           code == RZL_FORMAT_FOUR_PLANE_RUNS || code == RZL_FORMAT_FOUR;
}

namespace {

bool is_old_form(const uint8_t* header) {
    int data_type = load_u16le(header + KRV_AT_DATA_TYPE);
    int application = load_u16le(header + KRV_AT_APPLICATION_TYPE);
    return load_u16le(header + KRV_AT_TYPE) == 0 && data_type >= 2 && data_type <= 4 && application >= 1 &&
           application <= 2 && krv_words_to_follow(header) == KRV_OLD_WORDS;
}

// The tests that a header must pass before anything of it is used. The status, 0 for a good one.
uint32_t judge_header(CFILE* c, int64_t base, uint8_t* header) {
    if (!krv_check_header(c, header)) return RZL_READ_FAILED;
    if (krv_words_to_follow(header) < KRV_OLD_WORDS) return RZL_READ_FAILED; // pixel data inside the header
    int data_type = load_u16le(header + KRV_AT_DATA_TYPE);
    if (format_is_jpeg(data_type)) return RZL_JPEG_HARDWARE_3;
    uint32_t xsize = load_u32le(header + KRV_AT_PIXELS_PER_LINE);
    if (xsize > INT32_MAX || load_u32le(header + KRV_AT_LINES) > INT32_MAX) return RZL_BAD_IMAGE_SIZE;
    if (data_type == RZL_FORMAT_TILED) {
        krv_tile_facts facts;
        int64_t at = base + int64_t{krv_words_to_follow(header)} * 2 + 4;
        return krv_judge_tiles(c, at, xsize, load_u32le(header + KRV_AT_LINES), &facts);
    }
    if (c->mode != MODE_READ) return 0;
    bool scannable = (header[KRV_AT_SCANNABLE] & 1) != 0;
    return krv_line_fits(data_type, xsize, scannable, io_size(c) - base) ? 0 : RZL_BAD_IMAGE_SIZE;
}

// Everything that belongs to the image that was active.
void drop_image_parts(CFILE* c) {
    krv_free_packets(c);
    mem_free(c->color_table);
    c->color_table = nullptr;
    mem_free(c->line_offsets);
    c->line_offsets = nullptr;
    c->line_offset_count = 0;
    set_flag(c, FLAG_TILES_CHANGED | FLAG_OVERVIEWS_CHANGED | FLAG_LINES_FROM_ZERO | FLAG_LINE_PADDING, false);
}

// Takes a header that passed its tests, and all that the handle derives from it.
void take_header(CFILE* c, int64_t base, const uint8_t* header) {
    krv_spec* spec = krv_spec_of(c);
    std::memcpy(spec->header, header, KRV_HEADER_SIZE);
    c->base_offset = base;
    spec->xsize = static_cast<int32_t>(load_u32le(header + KRV_AT_PIXELS_PER_LINE));
    spec->ysize = static_cast<int32_t>(load_u32le(header + KRV_AT_LINES));
    spec->data_type = load_u16le(header + KRV_AT_DATA_TYPE);
    spec->reserved_words = 0;
    spec->link_from = -1;
    spec->base_tile = 0;
    spec->stored_vlt_type = load_u16le(header + KRV_AT_VLT_TYPE);
    spec->stored_vlt_entries = load_u32le(header + KRV_AT_VLT_ENTRIES);
    bool chained = krv_next_image(c) != 0 && krv_words_to_follow(header) >= KRV_PLAIN_WORDS;
    set_flag(c, FLAG_MULTI_IMAGE, chained || base != 0);
    set_flag(c, FLAG_SCANNABLE, (header[KRV_AT_SCANNABLE] & 1) != 0);
    set_flag(c, FLAG_HEADER_EXISTS, true);
}

// A plain file that can't hold all its lines has been cut. Where lines may be missing by right nothing can be told.
void mark_cut_file(CFILE* c) {
    const krv_spec* spec = krv_spec_of(c);
    bool told = has_flag(c, FLAG_SCANNABLE) || spec->data_type == RZL_FORMAT_TILED || spec->overview_packet != nullptr;
    if (c->mode != MODE_READ || told) return;
    int64_t bytes = io_size(c) - krv_data_start(c);
    auto xsize = static_cast<uint32_t>(spec->xsize);
    auto ysize = static_cast<uint32_t>(spec->ysize);
    // A file that ends inside its header has lost what that said as well, sizes included.
    if (bytes < 0 || !krv_lines_fit(spec->data_type, xsize, ysize, bytes)) set_flag(c, FLAG_DAMAGED, true);
}

} // namespace

bool krv_line_fits(int32_t data_type, uint32_t xsize, bool scannable, int64_t bytes) {
    const storage_row* row = find_storage(data_type);
    if (row == nullptr) return false;
    if (scannable && xsize <= TRUSTED_PIXELS) return true;
    auto room = static_cast<uint64_t>(bytes < 0 ? 0 : bytes);
    if (row->bits != 0) return stored_line_bytes(row, xsize) <= room;
    return xsize / row->expansion <= room;
}

pixel_density krv_density(const CFILE* c) {
    const int64_t left_out = has_flag(c, FLAG_SCANNABLE) ? LEFT_OUT_PIXELS : 0;
    const storage_row* row = find_storage(krv_spec_of(c)->data_type);
    if (row == nullptr) return {1, 1, left_out};
    // A pixel of 64 bits is not more than one in a byte, either: a bound need not be the least.
    const int64_t pixels = row->bits == 0 ? row->expansion : row->bits < 8 ? 8 / row->bits : 1;
    return {pixels, pixels, left_out};
}

bool krv_lines_fit(int32_t data_type, uint32_t xsize, uint32_t ysize, int64_t bytes) {
    const storage_row* row = find_storage(data_type);
    if (row == nullptr) return false;
    auto room = static_cast<uint64_t>(bytes < 0 ? 0 : bytes);
    uint64_t total;
    // A line that is the one before it again takes a bit, however long it is.
    if (data_type == RZL_FORMAT_GROUP4) return ysize / 8 <= room;
    if (row->bits != 0) return checked_mul(stored_line_bytes(row, xsize), ysize, &total) && total <= room;
    return uint64_t{xsize} * ysize / row->expansion <= room;
}

bool krv_check_header(const CFILE* c, uint8_t* header) {
    int data_type = load_u16le(header + KRV_AT_DATA_TYPE);
    if (is_old_form(header)) {
        store_u16le(header + KRV_AT_TYPE, KRV_TYPE);
    } else if (header[KRV_AT_TYPE + 1] != KRV_TYPE >> 8 || !krv_is_data_type(data_type)) {
        rzl_warn("rzl_open_r: Failure in header format of file %s\n            type            0x%04x\n"
                 "            data_type_code  %d\n            version         %d\n",
                 c->name != nullptr ? c->name : "", static_cast<unsigned>(load_u16le(header + KRV_AT_TYPE)), data_type,
                 header[KRV_AT_VERSION]);
        return false;
    }
    if (krv_words_to_follow(header) <= KRV_OLD_WORDS) {
        // What stands behind the 512 bytes are pixels.
        std::memset(header + KRV_OLD_HEADER_SIZE, 0, KRV_HEADER_SIZE - KRV_OLD_HEADER_SIZE);
        store_f64le(header + KRV_AT_ASPECT_RATIO, 1.0);
    } else if (load_u16le(header + KRV_AT_VLT_TYPE) == RZL_VLT_BYTES) {
        // And here they are colours: such a header has no application values and no comment.
        std::memset(header + KRV_SHORT_HEADER_SIZE, 0, KRV_HEADER_SIZE - KRV_SHORT_HEADER_SIZE);
    }
    return true;
}

bool krv_read_header(CFILE* c, int64_t offset, size_t minimum, uint8_t* header) {
    std::memset(header, 0, KRV_HEADER_SIZE);
    return io_seek(c, offset) && io_read(c, header, KRV_HEADER_SIZE) >= minimum;
}

bool krv_load_image(CFILE* c, int64_t base, const uint8_t* header) {
    uint8_t fresh[KRV_HEADER_SIZE];
    std::memcpy(fresh, header, KRV_HEADER_SIZE);
    uint32_t status = judge_header(c, base, fresh);
    if (status != 0) return fails(c, status, SOURCE, "header");
    if (!krv_need_ccitt(c, load_u16le(fresh + KRV_AT_DATA_TYPE))) return false;
    uint8_t* table = nullptr;
    bool dropped = false;
    if (!krv_read_color_table(c, base, fresh, &table, &dropped)) return fails(c, RZL_NO_MEMORY, SOURCE, "color table");
    drop_image_parts(c);
    if (dropped) set_flag(c, FLAG_DAMAGED, true);
    c->color_table = table;
    if (table != nullptr) c->vlt_bits = 8;
    take_header(c, base, fresh);
    krv_read_packets(c);
    mark_cut_file(c);
    c->active_overview = OVERVIEW_UNSET;
    return krv_set_active_overview(c, OVERVIEW_BASE) == 0;
}

void krv_init_spec(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    std::memset(spec->header, 0, KRV_HEADER_SIZE);
    store_u16le(spec->header + KRV_AT_TYPE, KRV_TYPE);
    store_u16le(spec->header + KRV_AT_WORDS_TO_FOLLOW, KRV_PLAIN_WORDS);
    store_u16le(spec->header + KRV_AT_DATA_TYPE, RZL_FORMAT_BYTE);
    store_u32le(spec->header + KRV_AT_PIXELS_PER_LINE, static_cast<uint32_t>(c->xsize));
    store_u32le(spec->header + KRV_AT_LINES, static_cast<uint32_t>(c->ysize));
    spec->header[KRV_AT_SCAN_ORIENTATION] = 4;
    spec->header[KRV_AT_VERSION] = 3;
    spec->xsize = c->xsize;
    spec->ysize = c->ysize;
    spec->data_type = RZL_FORMAT_BYTE;
    spec->reserved_words = 0;
    spec->line_header = {KRV_LINE_MARK, 0, 0, 0};
    spec->lines_ended = false;
    spec->overview_at = 0;
    spec->stored_words = 0;
    spec->stored_vlt_type = 0;
    spec->stored_vlt_entries = 0;
    spec->link_from = -1;
    spec->base_tile = 0;
}

int krv_open(CFILE* c, const char* name) {
    if (name != nullptr && !keep_name(c, name)) return 1; // of which a bad header tells
    krv_init_spec(c);
    uint8_t header[KRV_HEADER_SIZE];
    if (!krv_read_header(c, 0, 1, header)) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    set_flag(c, FLAG_NATIVE, true);
    return krv_load_image(c, 0, header) ? 0 : 1;
}

int krv_initialise(CFILE* c) {
    krv_init_spec(c);
    c->format = RZL_FORMAT_BYTE;
    c->compression = 0;
    c->compression_variant = 0;
    set_flag(c, FLAG_NATIVE, true);
    return 0;
}

// A directory that has grown out of its place in the file gets there with the header, which finds room for it or fails.
bool krv_flush_directories(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    if (!krv_finish_tiles(c)) return false;
    if (!is_writable(c) || !has_flag(c, FLAG_OVERVIEWS_CHANGED) || !has_flag(c, FLAG_HEADER_EXISTS)) return true;
    if (spec->overview_packet == nullptr) return true;
    if (spec->overview_at == 0) return krv_write_header(c) == 0;
    size_t bytes = size_t{krv_packet_total(spec->overview_packet)} * 2;
    if (!io_seek(c, c->base_offset + spec->overview_at) || io_write(c, spec->overview_packet, bytes) != bytes) {
        return fails(c, RZL_WRITE_FAILED, SOURCE, "overviews");
    }
    set_flag(c, FLAG_OVERVIEWS_CHANGED, false);
    return true;
}

void krv_close(CFILE* c) {
    if (c->spec == nullptr) return;
    (void)krv_finish_coded(c);
    krv_flush_directories(c); // its status stays on the handle
}

// The board that codes JPEG data is not reachable on this platform.
static void krv_ck_jpeg(CFILE* c, uint32_t mark) {
    constexpr uint32_t COMPRESSING = 0x80000000;
    constexpr uint32_t DECOMPRESSING = 0x40000000;
    if (c->jpeg == nullptr || (mark != COMPRESSING && mark != DECOMPRESSING)) return;
    c->jpeg_flags &= ~(JPEG_BOARD_OPEN | JPEG_TABLES_LOADED);
    fail(c, RZL_JPEG_HARDWARE_2, SOURCE, "ckJPEG");
}

void krv_free_specs(CFILE* c) {
    set_flag(c, FLAG_NATIVE, false);
    if (c->spec == nullptr) return;
    krv_free_packets(c);
    mem_free(krv_spec_of(c)->code_buffer);
    krv_spec_of(c)->code_buffer = nullptr;
    mem_free(krv_spec_of(c)->gather);
    krv_spec_of(c)->gather = nullptr;
    krv_free_coded_row(krv_spec_of(c));
}

// ---- the module -----------------------------------------------------------------------------------------------------

namespace {

constexpr format_slots NATIVE_SLOTS = {
    .Getline = krv_getline,
    .Get_line = krv_get_line,
    .Getline16 = krv_getline16,
    .Get_line16 = krv_get_line16,
    .Getlinefromtile = rzl_getline_from_tiles,
    .Getrleline = krv_getrleline,
    .Getrlestrip = krv_getrlestrip,
    .Getinlv = krv_getinlv,
    .Putline = krv_putline,
    .Put_line = krv_put_line,
    .Putline16 = krv_putline16,
    .Put_line16 = krv_put_line16,
    .Putrleline = krv_putrleline,
    .Putinlv = krv_putinlv,
    .Putlinetotile = rzl_putline_to_tiles,
    .Gettile = krv_get_tile,
    .Puttile = krv_put_tile,
    .Gettile16 = krv_get_tile16,
    .Puttile16 = krv_put_tile16,
    .Getrletile = krv_get_rle_tile,
    .Putrletile = krv_put_rle_tile,
    .Gettilerows = krv_get_tile_rows,
    .Gettileline = krv_get_tile_line,
    .Puttilerows = krv_put_tile_rows,
    .Get_hdr_data = krv_get_hdr_data,
    .Set_hdr_data = krv_set_hdr_data,
    .Get_vlt = krv_get_vlt,
    .Get_format = krv_get_format,
    .Get_packet = krv_get_packet,
    .Put_Packet = krv_put_packet,
    .copydata = krv_copydata,
    .init_std_hdr = krv_init_std_hdr,
    .init_ov = krv_init_ov,
    .setactiveov = krv_set_active_overview,
    .Wrt_hdr = krv_write_header,
    .Seek = krv_seek,
    .Get_number_of_images = krv_get_number_of_images,
    .Set_Number_of_Images = krv_set_number_of_images,
    .Set_Active_Image = krv_set_active_image,
    .Randomize = krv_randomize,
    .Rewind = krv_rewind,
    .ckJPEG = krv_ck_jpeg,
    .Close = krv_close,
    .Free_specs = krv_free_specs,
    .Get_Image_Offset = krv_get_image_offset,
};

// No overviews, no further images and no random access in a file with a text header.
constexpr format_slots without_images(format_slots slots) {
    slots.Getline16 = nullptr;
    slots.Get_line16 = nullptr;
    slots.Getlinefromtile = nullptr;
    slots.Getrlestrip = nullptr;
    slots.Getinlv = nullptr;
    slots.Putline16 = nullptr;
    slots.Put_line16 = nullptr;
    slots.Putinlv = nullptr;
    slots.Putlinetotile = nullptr;
    slots.Gettile16 = nullptr;
    slots.Puttile16 = nullptr;
    slots.Getrletile = nullptr;
    slots.Putrletile = nullptr;
    slots.ckJPEG = nullptr;
    slots.Put_Packet = nullptr;
    slots.init_ov = nullptr;
    slots.setactiveov = nullptr;
    slots.Get_number_of_images = nullptr;
    slots.Set_Number_of_Images = nullptr;
    slots.Set_Active_Image = nullptr;
    slots.Get_Image_Offset = nullptr;
    slots.Randomize = nullptr;
    return slots;
}
constexpr format_slots TEXT_SLOTS = without_images(NATIVE_SLOTS);

void check_spec(const CFILE* c) {
    const krv_spec* spec = krv_spec_of(c);
    invariant(spec->tile_end == 0, "no tile is being read between calls");
    invariant(spec->overview_packet != nullptr || c->active_overview < 0, "an active overview is in the directory");
    bool bound = !has_flag(c, FLAG_TILED) || c->tile == nullptr || c->tile->packet == nullptr;
    int64_t tiles = bound ? 0 : int64_t{c->tile->tiles_across} * c->tile->tiles_down;
    invariant(tiles == 0 || krv_tile_entry(c, tiles - 1) != nullptr, "every tile has its entry");
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE,
                               RZL_FORMAT_RGB,
                               RZL_FORMAT_BILEVEL,
                               RZL_FORMAT_BILEVEL_RUNS,
                               RZL_FORMAT_BYTE_PAIRS,
                               RZL_FORMAT_BYTE_RUNS,
                               RZL_FORMAT_PLANE_RUNS,
                               RZL_FORMAT_COLOR_RUNS,
                               RZL_FORMAT_GROUP3,
                               RZL_FORMAT_GROUP4,
                               RZL_FORMAT_PACKED_RUNS,
                               RZL_FORMAT_FOUR,
                               RZL_FORMAT_FOUR_PLANE_RUNS,
                               RZL_FORMAT_INT16,
                               RZL_FORMAT_INT32,
                               RZL_FORMAT_REAL32,
                               RZL_FORMAT_INT64,
                               RZL_FORMAT_REAL64,
                               RZL_FORMAT_128};

} // namespace

extern const format_module krv_module;
extern const format_module krv_text_module;

const format_module krv_module = {
    .word = SOURCE,
    .squetch_word = "Krvn seek",
    .slots = &NATIVE_SLOTS,
    .spec_size = sizeof(krv_spec),
    .formats = FORMATS,
    .limits = KRV_LIMITS,
    .traits = MODULE_TILES | MODULE_RESIZES | MODULE_CUT_TILES,
    .open = krv_open,
    .initialise = krv_initialise,
    .density = krv_density,
    .check = check_spec,
    .note_tile = krv_note_tile,
};

const format_module krv_text_module = {
    .word = SOURCE,
    .squetch_word = "Krvn seek",
    .slots = &TEXT_SLOTS,
    .spec_size = sizeof(krv_spec),
    .formats = FORMATS,
    .limits = KRV_LIMITS,
    .traits = MODULE_TILES | MODULE_RESIZES | MODULE_CUT_TILES,
    .open = krv_open_text,
    .density = krv_density,
    .check = check_spec,
    .note_tile = krv_note_tile,
};

// ---- files with a text header ---------------------------------------------------------------------------------------
//
// Native files with a text header: "Raster!" and lines of text in the first 1024 bytes, behind them run-coded byte
// planes. After opening the handle is that of a native file of data format 27; writing its header puts the native
// header in the place of the text.

namespace {

constexpr size_t TEXT_AT = 8; // behind "Raster!" and its newline
constexpr int32_t TEXT_VERSION = 1;

// The text that is left, zero-ended. `failed` stays set once something could not be taken.
struct text_cursor {
    const char* next;
    bool failed;
};

void skip_space(text_cursor* text) {
    while (is_blank(*text->next))
        ++text->next;
}

// A decimal number that fits 32 bits. The white space behind it stays.
int32_t take_number(text_cursor* text) {
    skip_space(text);
    bool negative = *text->next == '-';
    if (negative || *text->next == '+') ++text->next;
    if (!is_digit(*text->next)) text->failed = true;
    int64_t value = 0;
    for (; is_digit(*text->next); ++text->next) {
        value = value * 10 + (*text->next - '0');
        if (value > int64_t{INT32_MAX} + 1) {
            text->failed = true;
            value = 0;
        }
    }
    value = negative ? -value : value;
    if (value > INT32_MAX) text->failed = true;
    return text->failed ? 0 : static_cast<int32_t>(value);
}

// A number and the white space behind it.
int32_t take_number_line(text_cursor* text) {
    int32_t value = take_number(text);
    skip_space(text);
    return value;
}

void pass_word(text_cursor* text) {
    skip_space(text);
    if (*text->next == '\0') text->failed = true;
    while (*text->next != '\0' && !is_blank(*text->next))
        ++text->next;
    skip_space(text);
}

// The rest of the line, of which `size` - 1 characters go into `out`; an empty one is a failure.
void take_line(text_cursor* text, uint8_t* out, size_t size) {
    const char* start = text->next;
    while (*text->next != '\0' && *text->next != '\n')
        ++text->next;
    auto length = static_cast<size_t>(text->next - start);
    if (length == 0) text->failed = true;
    std::memcpy(out, start, length < size ? length : size - 1);
    skip_space(text);
}

// Takes the lines of the text into the native header. The status, 0 for good.
uint32_t parse_text(const char* bytes, uint8_t* header) {
    text_cursor text = {bytes, false};
    int32_t version = take_number(&text);
    if (text.failed) return RZL_READ_FAILED;
    if (version != TEXT_VERSION) return RZL_NOT_STANDARD_2;
    pass_word(&text);
    int32_t xsize = take_number_line(&text);
    int32_t ysize = take_number_line(&text);
    store_u32le(header + KRV_AT_PIXELS_PER_LINE, static_cast<uint32_t>(xsize));
    store_u32le(header + KRV_AT_LINES, static_cast<uint32_t>(ysize));
    for (size_t i = 0; i < 3; ++i) {
        store_u32le(header + KRV_AT_APP_VALUES + 4 * i, static_cast<uint32_t>(take_number_line(&text)));
    }
    take_number_line(&text);
    take_line(&text, header + KRV_AT_DESCRIPTION, KRV_DESCRIPTION_SIZE);
    take_line(&text, header + KRV_AT_COMMENT, KRV_COMMENT_SIZE);
    if (text.failed) return RZL_READ_FAILED;
    return xsize < 0 || ysize < 0 ? RZL_BAD_IMAGE_SIZE : 0;
}

uint32_t read_text_header(CFILE* c) {
    uint8_t bytes[KRV_HEADER_SIZE + 1] = {};
    if (!krv_read_header(c, 0, TEXT_AT, bytes)) return RZL_READ_FAILED;
    uint8_t* header = krv_spec_of(c)->header;
    store_u16le(header + KRV_AT_DATA_TYPE, RZL_FORMAT_PLANE_RUNS);
    store_u16le(header + KRV_AT_APPLICATION_TYPE, KRV_APPLICATION_9);
    return parse_text(reinterpret_cast<const char*>(bytes) + TEXT_AT, header);
}

} // namespace

int krv_open_text(CFILE* c, const char*) {
    krv_init_spec(c);
    uint32_t status = read_text_header(c);
    if (status != 0) return refuse(c, status, SOURCE, "text header");
    set_flag(c, FLAG_NATIVE, true);
    uint8_t header[KRV_HEADER_SIZE];
    std::memcpy(header, krv_spec_of(c)->header, KRV_HEADER_SIZE);
    return krv_load_image(c, 0, header) ? 0 : 1;
}
