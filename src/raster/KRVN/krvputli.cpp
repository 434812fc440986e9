// Writing lines of a native file from planes.
#include <algorithm>

#include "raster/CCITT/citfile.h"
#include "raster/CORE/lines.h"
#include "raster/KRVN/krv.h"
#include "raster/KRVN/krvcode.h"

namespace {
constexpr char SOURCE[] = "KRVN/krvputli";

// The most data words of a piece: a header counts them and itself in 16 bits. Even, so that a full piece of bytes needs
// no padding.
constexpr size_t PIECE_WORDS = 65532;

constexpr uint8_t ZEROS[4096] = {};

// Bytes of a line that is stored as it stands; a null plane gives zeros.
void put_stored(krv_output* o, const uint8_t* plane, size_t at, size_t bytes) {
    if (plane != nullptr) {
        krv_output_bytes(o, plane + at, bytes);
        return;
    }
    for (size_t done = 0; done < bytes && !o->failed; done += sizeof ZEROS)
        krv_output_bytes(o, ZEROS, std::min(sizeof ZEROS, bytes - done));
}

// Elements of one size. On a scannable file one piece, or more for a line that one piece can't count.
void code_raw(krv_output* o, const uint8_t* plane, const krv_line& l) {
    auto bytes = static_cast<size_t>(l.pixels) * l.element;
    if (!has_flag(o->c, FLAG_SCANNABLE)) {
        put_stored(o, plane, 0, bytes);
        return;
    }
    constexpr size_t PIECE = PIECE_WORDS * 2;
    static_assert(PIECE % 8 == 0);
    size_t most = PIECE - PIECE % l.element;
    for (size_t at = 0; at < bytes && !o->failed; at += most) {
        size_t piece = std::min(most, bytes - at);
        krv_output_header(o, piece, static_cast<int64_t>(at / l.element));
        put_stored(o, plane, at, piece);
        if (piece % 2 != 0) krv_output_bytes(o, ZEROS, 1);
    }
}

// Pixels whose samples stand together; they are given like that, or go by way of the code buffer.
void code_groups(krv_output* o, const uint8_t* const* planes, const krv_line& l) {
    auto samples = static_cast<size_t>(l.plane_count);
    size_t at_once = KRV_CODE_BUFFER_SIZE / samples;
    auto pixels = static_cast<size_t>(l.pixels);
    bool together = has_flag(o->c, FLAG_INTERLEAVED);
    if (together) put_stored(o, planes[0], 0, pixels * samples);
    for (size_t at = 0; !together && at < pixels && !o->failed;) {
        size_t now = std::min(at_once, pixels - at);
        const uint8_t* from[4] = {};
        for (size_t i = 0; i < samples; ++i)
            if (planes[i] != nullptr) from[i] = planes[i] + at;
        krv_merge(o->code, from, l.plane_count, now);
        o->used = now * samples;
        krv_output_piece(o, 0);
        at += now;
    }
    bool padded = o->c->format == RZL_FORMAT_RGB && has_flag(o->c, FLAG_LINE_PADDING) && pixels % 2 != 0;
    if (padded) krv_output_bytes(o, ZEROS, 1);
}

void code_planes(krv_output* o, const uint8_t* const* planes, const krv_line& l) {
    for (int i = 0; i < l.plane_count; ++i)
        krv_code_bytes(o, planes[i], l.pixels);
    krv_output_piece(o, 0);
}

// A line that is not given, where the file has one already: it stays as it is.
bool pass_over(CFILE* c) {
    int64_t size = has_flag(c, FLAG_SCANNABLE) ? 0 : krv_fixed_line_size(c);
    if (size == 0 || !is_readable(c)) return false;
    int64_t position = io_tell(c);
    if (position < 0 || position > io_size(c) - size) return false;
    return io_seek(c, position + size);
}

} // namespace

bool krv_can_code(const CFILE* c) {
    if (krv_decoder_of(c) == nullptr) return false;
    bool in_pieces =
        c->format <= RZL_FORMAT_BYTE_PAIRS || c->format == RZL_FORMAT_COLOR_RUNS || c->format == RZL_FORMAT_PACKED_RUNS;
    return in_pieces || !has_flag(c, FLAG_SCANNABLE);
}

void krv_code_line(krv_output* o, const uint8_t* const* planes, const krv_line& l) {
    switch (o->c->format) {
    case RZL_FORMAT_BILEVEL_RUNS: krv_code_bits(o, planes[0], l.pixels); break;
    case RZL_FORMAT_BYTE_PAIRS: krv_code_pairs(o, planes[0], l.pixels, l.element == 2); break;
    case RZL_FORMAT_PACKED_RUNS:
        if (l.element == 2) {
            krv_code_pairs(o, planes[0], l.pixels, true);
        } else {
            krv_code_packed(o, planes[0], l.pixels, l.bits);
        }
        break;
    case RZL_FORMAT_COLOR_RUNS: krv_code_colors(o, planes, l.pixels); break;
    case RZL_FORMAT_PLANE_RUNS:
    case RZL_FORMAT_BYTE_RUNS:
    case RZL_FORMAT_FOUR_PLANE_RUNS: code_planes(o, planes, l); break;
    case RZL_FORMAT_RGB:
    case RZL_FORMAT_FOUR: code_groups(o, planes, l); break;
    default: code_raw(o, planes[0], l); break;
    }
}

int krv_put_line(CFILE* c, int channels, write_planes buffers) {
    if (krv_is_coded(c)) return krv_put_coded_line(c, channels, buffers);
    if (!krv_can_code(c)) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    krv_line l = krv_new_line(c, 0, nullptr);
    const uint8_t* planes[4] = {};
    bool given = false;
    for (int i = 0; i < l.plane_count && i < channels; ++i) {
        planes[i] = buffers[i];
        given = given || buffers[i] != nullptr;
    }
    if (!given && pass_over(c)) return c->xsize;
    krv_output o;
    if (!krv_output_begin(&o, c)) return 0;
    krv_code_line(&o, planes, l);
    krv_add_overview_bytes(c, static_cast<uint32_t>(o.written));
    if (!o.failed && c->xsize > 0) return c->xsize;
    return fails(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_line");
}

int krv_putline(CFILE* c, int channels, write_planes buffers) {
    if (channels != 1 && channels != 3 && channels != 4) return fails(c, RZL_UNSUP_KRVN, SOURCE, "channels");
    if (!krv_is_last_image(c)) return fails(c, RZL_NO_SUCH_IMAGE, SOURCE, "not last multi-image");
    if (has_flag(c, FLAG_TILED) && !krv_prepare_tile_row(c)) return 0;
    return rzl_putline_generic(c, channels, buffers);
}

// ---- 16-bit samples -------------------------------------------------------------------------------------------------

int krv_putline16(CFILE* c, int channels, write_planes buffers) {
    if (!krv_can_be_16_bits(c, channels, SOURCE)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_putline(c, channels, buffers);
}

int krv_put_line16(CFILE* c, int channels, write_planes buffers) {
    if (!krv_can_be_16_bits(c, channels, SOURCE)) return 0;
    flag_guard wide(c, FLAG_16_BIT, true);
    return krv_put_line(c, channels, buffers);
}

// ---- interleaved lines ----------------------------------------------------------------------------------------------
//
// Writing interleaved lines of a native file. Formats 28 and 69 have them so; the other coders take planes.

int krv_putinlv(CFILE* c, const uint8_t* buffer) {
    bool groups = (c->format == RZL_FORMAT_RGB || c->format == RZL_FORMAT_FOUR) && !has_flag(c, FLAG_SCANNABLE);
    if (!groups || interleave_step(c) != c->samples) return rzl_putinlv_default(c, buffer);
    return krv_putline(c, 1, &buffer);
}

// ---- lines in the stored coding -------------------------------------------------------------------------------------
//
// Writing lines given in the file's own coding, formats 9, 10, 25 and 26. On a scannable file the line header is added.
//
// A line that does not decode to exactly its pixels is refused: written, it would make the rest of the file unreadable.

bool krv_takes_coded_lines(const CFILE* c) {
    bool format = c->format == RZL_FORMAT_BILEVEL_RUNS || c->format == RZL_FORMAT_BYTE_PAIRS ||
                  c->format == RZL_FORMAT_COLOR_RUNS || c->format == RZL_FORMAT_PACKED_RUNS;
    return format && krv_decoder_of(c) != nullptr;
}

namespace {

bool is_a_line(const CFILE* c, const uint8_t* coding) {
    krv_line l = krv_new_line(c, 0, nullptr);
    krv_source s;
    krv_source_over(&s, coding, static_cast<size_t>(c->rle_size));
    krv_decoder_of(c)(&l, &s);
    return l.whole && krv_source_left(&s) == 0;
}

int write_coding(CFILE* c, const uint8_t* coding) {
    krv_output o = {};
    o.c = c;
    auto bytes = static_cast<size_t>(c->rle_size);
    if (has_flag(c, FLAG_SCANNABLE)) krv_output_header(&o, bytes, 0);
    krv_output_bytes(&o, coding, bytes);
    krv_add_overview_bytes(c, static_cast<uint32_t>(o.written));
    if (!o.failed) return c->xsize;
    return fails(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_rle_line");
}

} // namespace

int krv_putrleline(CFILE* c, int channels, write_planes buffers) {
    if (!krv_is_last_image(c)) return fails(c, RZL_NO_SUCH_IMAGE, SOURCE, "not last multi-image");
    if (!is_writable(c)) return fails(c, RZL_NEEDS_WRITE, SOURCE, "rzl_put_rle_line");
    if (c->line >= c->ysize) return fails(c, RZL_PAST_END, SOURCE, "rzl_put_rle_line");
    if (!rzl_append_check(c) || putline_error_check(c) != 0) return 0;
    if (has_flag(c, FLAG_TILED)) return fails(c, RZL_ONLY_UNTILED, SOURCE, "rzl_put_rle_line");
    bool given = channels > 0 && buffers[0] != nullptr && c->rle_size >= 0;
    bool counts = !has_flag(c, FLAG_SCANNABLE) || static_cast<size_t>(c->rle_size) <= KRV_PIECE_LIMIT;
    if (!given || !counts || !krv_takes_coded_lines(c) || !is_a_line(c, buffers[0])) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    return write_coding(c, buffers[0]);
}

// ---- CCITT data -----------------------------------------------------------------------------------------------------
//
// Native files of CCITT data, formats 23 and 24: their lines through the fax codec.
//
// The coded image stands in one piece where the lines of other formats begin. It is written when its last line has
// come, or when the file is left for another image before.

namespace {

cit_extent coded_extent(CFILE* c) {
    const krv_spec* spec = krv_spec_of(c);
    bool aligned = false;
    return {spec->tile_end != 0 ? spec->tile_begin : krv_first_line(c), krv_data_end(c, &aligned)};
}

// Pieces of lines are not how this data comes.
bool is_served(CFILE* c) {
    if (c->ccitt != nullptr && !has_flag(c, FLAG_SCANNABLE) && c->xsize > 0) return true;
    krv_refuse_format(c, SOURCE);
    return false;
}

void account(CFILE* c, size_t written) {
    if (written != 0) krv_add_overview_bytes(c, static_cast<uint32_t>(written));
}

} // namespace

bool krv_is_coded(const CFILE* c) {
    return c->format == RZL_FORMAT_GROUP3 || c->format == RZL_FORMAT_GROUP4;
}

int krv_get_coded_line(CFILE* c, int channels, read_planes buffers) {
    if (!is_served(c)) {
        ++c->line;
        return 0;
    }
    cit_get_result result = CIT_GET_GOOD;
    if (channels > 0 && buffers[0] != nullptr) {
        cit_extent extent = coded_extent(c);
        result = c->format == RZL_FORMAT_GROUP3 ? cit_g3_get_line(c, extent, buffers[0])
                                                : cit_g4_get_line(c, extent, buffers[0]);
    }
    ++c->line;
    return result == CIT_GET_FAILED ? 0 : c->xsize;
}

int krv_put_coded_line(CFILE* c, int channels, write_planes buffers) {
    if (!is_served(c)) return 0;
    const uint8_t* bits = channels > 0 ? buffers[0] : nullptr;
    size_t written = 0;
    int result =
        c->format == RZL_FORMAT_GROUP3 ? cit_g3_put_line(c, bits, &written) : cit_g4_put_line(c, bits, &written);
    account(c, written);
    return result == 0 ? c->xsize : 0;
}

int krv_get_coded_strip(CFILE* c, int channels, read_planes buffers) {
    if (c->format != RZL_FORMAT_GROUP4 || !is_served(c)) {
        krv_refuse_format(c, SOURCE);
        return 0;
    }
    // No buffer can only be asked for the size.
    uint8_t* runs = channels > 0 ? buffers[0] : nullptr;
    if (runs == nullptr) c->rle_size = 0;
    int bytes = cit_g4_get_strip(c, coded_extent(c), runs);
    if (bytes > 0) ++c->line;
    return bytes;
}

bool krv_finish_coded(CFILE* c) {
    size_t written = 0;
    bool done = cit_file_finish(c, &written) == 0;
    account(c, written);
    return done;
}
