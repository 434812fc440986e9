// Reading lines of a native file into planes: ordinary lines, and the pieces of scannable ones.
//
// A scannable file has a header before each piece of a line, and the header of the next piece is always held. A line
// for which the file has no piece is zero, and so is every part of a line that no piece covers. That is how such files
// leave lines out, the last ones too, and no damage; it is damage when a piece or its header is cut, when something
// else stands in its place, and when runs don't fill their line.
#include <algorithm>
#include <cstring>

#include "raster/CORE/lines.h"
#include "raster/KRVN/krvcode.h"
#include "support/memory.h"

namespace {
constexpr char SOURCE[] = "KRVN/krvgetli";

void note_damage(CFILE* c) {
    set_flag(c, FLAG_DAMAGED, true);
}

// Formats whose lines are elements or groups of one size.
bool has_fixed_lines(const CFILE* c) {
    return c->format <= RZL_FORMAT_128 || c->format == RZL_FORMAT_RGB;
}

void clear_line(const krv_line& l, size_t bytes) {
    for (int i = 0; i < l.plane_count; ++i)
        if (l.planes[i] != nullptr) std::memset(l.planes[i], 0, bytes);
}

// Bytes of a plane of the line.
size_t plane_bytes(const CFILE* c, const krv_line& l) {
    if (c->format == RZL_FORMAT_BILEVEL_RUNS) return line_bytes(c, l.pixels);
    return static_cast<size_t>(l.pixels) * l.element;
}

bool holds_this_line(const CFILE* c) {
    const krv_spec* spec = krv_spec_of(c);
    return !spec->lines_ended && spec->line_header.line_number == static_cast<uint16_t>(c->line);
}

// Data bytes of the piece whose header is held. A header that counts fewer words than it has itself ends the file.
bool piece_size(CFILE* c, uint64_t* bytes) {
    krv_spec* spec = krv_spec_of(c);
    if (spec->line_header.words_to_follow < 2) {
        note_damage(c);
        spec->lines_ended = true;
        spec->line_header.line_number = KRV_NO_MORE_LINES;
        return false;
    }
    *bytes = (uint64_t{spec->line_header.words_to_follow} - 2) * 2;
    return true;
}

// The pixel at which the held piece begins. It stands in 16 bits, which a line longer than that passes over several
// times; a piece never leads back.
int64_t piece_begin(const CFILE* c, const krv_line& l) {
    int64_t told = krv_spec_of(c)->line_header.pixel_offset;
    if (l.pixels > 65536) told = l.pixel + ((told - l.pixel) & 0xFFFF);
    return std::min(std::max(told, l.pixel), l.pixels);
}

// Reads the piece whose header is held, and the header behind it. False when the piece has more than its line can take.
bool read_piece(CFILE* c, krv_line* l, krv_decoder decode) {
    uint64_t bytes = 0;
    if (!piece_size(c, &bytes)) return true;
    l->pixel = piece_begin(c, *l);
    krv_source s;
    krv_source_begin(&s, c, bytes);
    decode(l, &s);
    uint64_t over = krv_source_left(&s);
    (void)krv_source_take(&s, nullptr, over);
    krv_source_end(&s);
    if (s.cut) {
        note_damage(c);
        krv_spec_of(c)->lines_ended = true;
        krv_spec_of(c)->line_header.line_number = KRV_NO_MORE_LINES;
        return true;
    }
    (void)krv_read_line_header(c, false);
    // One byte is the padding of an odd count. Runs may be followed by anything.
    return !has_fixed_lines(c) || over <= 1;
}

// True for a line that is to be delivered.
bool read_pieces(CFILE* c, krv_line* l, krv_decoder decode) {
    clear_line(*l, plane_bytes(c, *l));
    const krv_spec* spec = krv_spec_of(c);
    if (!holds_this_line(c)) {
        bool behind = c->ysize <= 65535 && spec->line_header.line_number < c->line;
        if (spec->lines_cut || behind) note_damage(c);
        return true;
    }
    bool fits = true;
    while (holds_this_line(c))
        fits = read_piece(c, l, decode) && fits;
    if (has_fixed_lines(c)) return fits;
    if (l->broken || (!l->whole && l->pixel != l->pixels)) {
        rzl_warn("rzl_get_line:WARNING - data size doesn't match data size in header.\n");
        note_damage(c);
    }
    return true;
}

// The pad byte behind an odd line of groups.
bool skip_padding(const CFILE* c, krv_source* s) {
    bool padded = c->format == RZL_FORMAT_RGB && has_flag(c, FLAG_LINE_PADDING) && (c->xsize & 1) != 0;
    return !padded || krv_source_take(s, nullptr, 1) == 1;
}

bool read_ordinary(CFILE* c, krv_line* l, krv_decoder decode) {
    if (c->format == RZL_FORMAT_BILEVEL_RUNS) clear_line(*l, plane_bytes(c, *l));
    krv_source s;
    krv_source_begin(&s, c, KRV_NO_LIMIT);
    decode(l, &s);
    bool whole = l->whole && skip_padding(c, &s);
    krv_source_end(&s);
    return whole;
}

bool wants_nothing(int channels, read_planes buffers) {
    for (int i = 0; i < channels; ++i)
        if (buffers[i] != nullptr) return false;
    return true;
}

// Stored values into the caller's colours, where it has asked for three planes of an image of one.
void apply_colors(CFILE* c, int channels, read_planes buffers, uint8_t* stored) {
    bool one_plane = !format_is_color(c->format) && !format_is_four(c->format) && !format_is_bilevel(c->format);
    if (!one_plane || channels != 3) return;
    bool all = buffers[0] != nullptr && buffers[1] != nullptr && buffers[2] != nullptr;
    if (!all && stored == buffers[0]) return;
    rzl_apply_color_table(c, stored, buffers[1], buffers[2], static_cast<int64_t>(line_bytes(c, c->xsize)));
}

int read_line(CFILE* c, int channels, read_planes buffers, krv_decoder decode) {
    krv_line l = krv_new_line(c, channels, buffers);
    // An image of one plane is decoded by way of it, also when only other planes are wanted.
    bool needs_plane = l.plane_count == 1 && l.planes[0] == nullptr;
    mem_guard<uint8_t> temporary(needs_plane ? static_cast<uint8_t*>(mem_alloc(plane_bytes(c, l))) : nullptr);
    if (needs_plane) l.planes[0] = temporary.get();
    if (needs_plane && !temporary) return fails(c, RZL_NO_MEMORY, SOURCE, "rzl_get_line");
    uint8_t* stored = l.planes[0];
    bool delivered = has_flag(c, FLAG_SCANNABLE) ? read_pieces(c, &l, decode) : read_ordinary(c, &l, decode);
    if (!delivered || c->xsize <= 0) return fails(c, RZL_READ_FAILED, SOURCE, "rzl_get_line");
    apply_colors(c, channels, buffers, stored);
    return c->xsize;
}

// ---- passing over lines

bool skip_pieces(CFILE* c) {
    while (holds_this_line(c)) {
        uint64_t bytes = 0;
        if (!piece_size(c, &bytes)) break;
        if (!io_move(c, static_cast<int64_t>(bytes))) return false;
        (void)krv_read_line_header(c, false);
    }
    return true;
}

bool skip_coded(CFILE* c, krv_decoder decode) {
    krv_line l = krv_new_line(c, 0, nullptr);
    krv_source s;
    krv_source_begin(&s, c, KRV_NO_LIMIT);
    decode(&l, &s);
    krv_source_end(&s);
    return l.whole;
}

bool skip_one(CFILE* c, krv_decoder decode) {
    if (has_flag(c, FLAG_SCANNABLE)) return skip_pieces(c);
    int64_t size = krv_fixed_line_size(c);
    if (size > 0) return io_move(c, size);
    return skip_coded(c, decode);
}

// Notes where the line that comes next begins. Behind the last piece there is no such place.
void note_line_offset(CFILE* c) {
    if (c->line_offsets == nullptr || c->line < 0 || c->line >= c->line_offset_count) return;
    bool known = !has_flag(c, FLAG_SCANNABLE) || !krv_spec_of(c)->lines_ended;
    c->line_offsets[c->line] = known ? static_cast<uint64_t>(io_tell(c)) : LINE_OFFSET_UNKNOWN;
}

} // namespace

int64_t krv_fixed_line_size(const CFILE* c) {
    if (c->format >= RZL_FORMAT_BILEVEL && c->format <= RZL_FORMAT_128)
        return static_cast<int64_t>(line_bytes(c, c->xsize));
    if (c->format == RZL_FORMAT_FOUR) return int64_t{c->xsize} * 4;
    if (c->format != RZL_FORMAT_RGB) return 0;
    bool padded = has_flag(c, FLAG_LINE_PADDING) && (c->xsize & 1) != 0;
    return int64_t{c->xsize} * 3 + (padded ? 1 : 0);
}

// Lines may be left out of a file, the last ones too. So the data can end where a piece could begin; but what is there
// must be a piece.
static bool ends_cleanly(CFILE* c, int64_t at) {
    bool aligned = false;
    int64_t left = krv_data_end(c, &aligned) - at;
    return left <= 0 || (aligned && left < static_cast<int64_t>(KRV_LINE_HEADER_SIZE));
}

bool krv_read_line_header(CFILE* c, bool first) {
    krv_spec* spec = krv_spec_of(c);
    krv_line_header* held = &spec->line_header;
    uint8_t bytes[KRV_LINE_HEADER_SIZE];
    int64_t at = io_tell(c);
    bool inside = spec->tile_end == 0 || at <= spec->tile_end - int64_t{sizeof bytes};
    bool there = inside && io_read(c, bytes, sizeof bytes) == sizeof bytes && load_u16le(bytes) == KRV_LINE_MARK;
    *held = {KRV_LINE_MARK, 0, KRV_NO_MORE_LINES, 0};
    spec->lines_ended = !there;
    spec->lines_cut = !there && !ends_cleanly(c, at);
    if (!there) return false;
    uint16_t number = load_u16le(bytes + 4);
    if (first) set_flag(c, FLAG_LINES_FROM_ZERO, number == 0);
    held->words_to_follow = load_u16le(bytes + 2);
    held->line_number = static_cast<uint16_t>(has_flag(c, FLAG_LINES_FROM_ZERO) ? number : number - 1);
    held->pixel_offset = load_u16le(bytes + 6);
    return true;
}

int krv_skip_line(CFILE* c, int32_t target) {
    krv_decoder decode = krv_decoder_of(c);
    if (decode == nullptr) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    while (c->line < target) {
        if (has_flag(c, FLAG_SCANNABLE) && krv_spec_of(c)->lines_ended) {
            // Nothing comes any more that would take a line.
            c->line = target;
            break;
        }
        if (!skip_one(c, decode)) return fails(c, RZL_READ_FAILED, SOURCE, "skip line");
        ++c->line;
        note_line_offset(c);
    }
    return 1;
}

int krv_get_line(CFILE* c, int channels, read_planes buffers) {
    if (krv_is_coded(c)) return krv_get_coded_line(c, channels, buffers);
    if (wants_nothing(channels, buffers)) return krv_skip_line(c, c->line + 1) != 0 ? c->xsize : 0;
    krv_decoder decode = krv_decoder_of(c);
    int pixels = 0;
    if (decode != nullptr) {
        pixels = read_line(c, channels, buffers, decode);
    } else {
        krv_refuse_format(c, SOURCE);
    }
    ++c->line;
    return pixels;
}

int krv_getline(CFILE* c, int channels, read_planes buffers) {
    if (channels != 1 && channels != 3 && channels != 4) return fails(c, RZL_UNSUP_KRVN, SOURCE, "channels");
    int pixels = rzl_getline_generic(c, channels, buffers);
    if (pixels > 0 && has_flag(c, FLAG_SCANNABLE) && krv_spec_of(c)->lines_ended) note_line_offset(c);
    return pixels;
}

// ---- 16-bit samples -------------------------------------------------------------------------------------------------

bool krv_can_be_16_bits(CFILE* c, int channels, const char* source) {
    bool samples =
        c->format == RZL_FORMAT_INT16 || c->format == RZL_FORMAT_BYTE_PAIRS || c->format == RZL_FORMAT_PACKED_RUNS;
    if (samples && channels == 1 && !has_flag(c, FLAG_SQUETCH)) return true;
    return fails(c, RZL_UNSUP_KRVN, source, "16 bits");
}

int krv_getline16(CFILE* c, int channels, read_planes buffers) {
    if (!krv_can_be_16_bits(c, channels, SOURCE)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_getline(c, channels, buffers);
}

int krv_get_line16(CFILE* c, int channels, read_planes buffers) {
    if (!krv_can_be_16_bits(c, channels, SOURCE)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_get_line(c, channels, buffers);
}

// ---- interleaved lines ----------------------------------------------------------------------------------------------
//
// Reading interleaved lines of a native file.
//
// The colour and four-channel formats are decoded straight into the caller's buffer, one sample after the other with
// the distance of a pixel. Everything else goes by way of planes.

namespace {

// Whether the stored pixels are what the buffer wants, in the order of the file.
bool decodes_in_place(const CFILE* c) {
    if (has_flag(c, FLAG_SCANNABLE | FLAG_SQUETCH)) return false;
    bool several = format_is_color(c->format) || format_is_four(c->format);
    int planes = format_is_four(c->format) ? 4 : 3;
    return several && c->samples == planes && krv_decoder_of(c) != nullptr;
}

} // namespace

int krv_getinlv(CFILE* c, uint8_t* buffer) {
    if (!decodes_in_place(c)) return rzl_getinlv_default(c, buffer);
    if (has_flag(c, FLAG_TILED)) return krv_getline(c, 1, &buffer); // the row of tiles has the samples together
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    uint8_t* planes[4] = {buffer, buffer + 1, buffer + 2, buffer + 3};
    krv_line l = krv_new_line(c, format_is_four(c->format) ? 4 : 3, planes);
    l.step = static_cast<size_t>(interleave_step(c));
    krv_source s;
    krv_source_begin(&s, c, KRV_NO_LIMIT);
    krv_decoder_of(c)(&l, &s);
    int64_t padding = krv_fixed_line_size(c) - int64_t{c->xsize} * l.plane_count;
    bool whole = l.whole && (padding <= 0 || krv_source_take(&s, nullptr, 1) == 1);
    krv_source_end(&s);
    ++c->line;
    if (!whole) return fails(c, RZL_READ_FAILED, SOURCE, "Getinlv");
    if (c->line_offsets != nullptr && c->line < c->line_offset_count)
        c->line_offsets[c->line] = static_cast<uint64_t>(io_tell(c));
    return c->xsize;
}

// ---- lines in their stored coding -----------------------------------------------------------------------------------
//
// Reading lines in their stored coding.
//
// What is delivered are the bytes of the file: of an ordinary line its coding, of a scannable one its pieces with their
// line headers. A line that a scannable file leaves out is given as a header and one run. When the buffer is too small
// the handle stays at the line, so that the call can be made again.

namespace {

constexpr size_t SUBSTITUTE_WORDS = 6;

// Gives the size that is needed when the buffer does not have it.
bool has_room(CFILE* c, int64_t bytes) {
    bool enough = bytes <= c->rle_size;
    c->rle_size = static_cast<int32_t>(std::min(bytes, int64_t{INT32_MAX}));
    if (!enough) fail(c, RZL_RLE_BUFFER_SMALL, SOURCE, "Getrleline");
    return enough;
}

// Bytes of the held line's pieces with their headers, from the first header on. 0 when the file ends before.
int64_t measure_pieces(CFILE* c) {
    const krv_spec* spec = krv_spec_of(c);
    auto line = static_cast<uint16_t>(c->line);
    int64_t bytes = 0;
    while (!spec->lines_ended && spec->line_header.line_number == line) {
        if (spec->line_header.words_to_follow < 2) return 0;
        int64_t data = (int64_t{spec->line_header.words_to_follow} - 2) * 2;
        bytes += data + static_cast<int64_t>(KRV_LINE_HEADER_SIZE);
        if (!io_move(c, data)) return 0;
        (void)krv_read_line_header(c, false);
    }
    return bytes;
}

int deliver_substitute(CFILE* c, uint8_t* out) {
    if (!has_room(c, int64_t{SUBSTITUTE_WORDS} * 2)) return 0;
    const unsigned words[SUBSTITUTE_WORDS] = {
        KRV_LINE_MARK, 3, static_cast<unsigned>(c->line), 0, 0, static_cast<unsigned>(c->xsize)};
    for (size_t i = 0; i < SUBSTITUTE_WORDS; ++i)
        store_u16le(out + i * 2, static_cast<uint16_t>(words[i]));
    if (krv_spec_of(c)->lines_cut) set_flag(c, FLAG_DAMAGED, true);
    ++c->line;
    return static_cast<int>(SUBSTITUTE_WORDS * 2);
}

// Copies `bytes` bytes that begin at `from`. False, with the status set, when they are not all there.
bool copy_out(CFILE* c, int64_t from, int64_t bytes, uint8_t* out) {
    auto count = static_cast<size_t>(bytes);
    if (io_seek(c, from) && io_read(c, out, count) == count) return true;
    return fails(c, RZL_READ_FAILED, SOURCE, "Getrleline");
}

int deliver_pieces(CFILE* c, uint8_t* out) {
    krv_spec* spec = krv_spec_of(c);
    if (spec->lines_ended || spec->line_header.line_number != static_cast<uint16_t>(c->line))
        return deliver_substitute(c, out);
    krv_line_header held = spec->line_header;
    int64_t begin = io_tell(c) - static_cast<int64_t>(KRV_LINE_HEADER_SIZE);
    int64_t bytes = measure_pieces(c);
    bool fits = bytes > 0 && has_room(c, bytes);
    if (!fits) {
        if (c->status == 0) fail(c, RZL_READ_FAILED, SOURCE, "Getrleline");
        spec->line_header = held;
        spec->lines_ended = false;
        (void)io_seek(c, begin + static_cast<int64_t>(KRV_LINE_HEADER_SIZE));
        return 0;
    }
    if (!copy_out(c, begin, bytes, out)) return 0;
    (void)krv_read_line_header(c, false);
    ++c->line;
    return static_cast<int>(bytes);
}

int deliver_line(CFILE* c, uint8_t* out) {
    int64_t begin = io_tell(c);
    if (krv_skip_line(c, c->line + 1) == 0) return 0;
    int64_t bytes = io_tell(c) - begin;
    if (!has_room(c, bytes)) {
        --c->line;
        (void)io_seek(c, begin);
        return 0;
    }
    return copy_out(c, begin, bytes, out) ? static_cast<int>(bytes) : 0;
}

} // namespace

int krv_getrleline(CFILE* c, int channels, read_planes buffers) {
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    if (has_flag(c, FLAG_SQUETCH)) return fails(c, RZL_UNSUP_KRVN, SOURCE, "No squetch for RLE lines");
    if (has_flag(c, FLAG_TILED)) return fails(c, RZL_ONLY_UNTILED, SOURCE, "Getrleline");
    if (krv_decoder_of(c) == nullptr) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    // No buffer can only be asked for the size.
    uint8_t nothing[SUBSTITUTE_WORDS * 2];
    uint8_t* out = channels > 0 && buffers[0] != nullptr ? buffers[0] : nothing;
    if (out == nothing) c->rle_size = 0;
    return has_flag(c, FLAG_SCANNABLE) ? deliver_pieces(c, out) : deliver_line(c, out);
}

// Strips are what the CCITT coders make.
int krv_getrlestrip(CFILE* c, int channels, read_planes buffers) {
    rzl_getline_check(c);
    return c->status == 0 ? krv_get_coded_strip(c, channels, buffers) : 0;
}
