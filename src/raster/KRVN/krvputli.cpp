// Writing lines of a native file from planes.
#include <algorithm>

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

// Pixels whose samples stand together, by way of the code buffer.
void code_groups(krv_output* o, const uint8_t* const* planes, const krv_line& l) {
    auto samples = static_cast<size_t>(l.plane_count);
    size_t at_once = KRV_CODE_BUFFER_SIZE / samples;
    auto pixels = static_cast<size_t>(l.pixels);
    for (size_t at = 0; at < pixels && !o->failed;) {
        size_t now = std::min(at_once, pixels - at);
        const uint8_t* from[4] = {};
        for (size_t i = 0; i < samples; ++i)
            if (planes[i] != nullptr) from[i] = planes[i] + at;
        krv_merge(o->code, from, l.plane_count, now);
        krv_output_bytes(o, o->code, now * samples);
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

// Whether the format has a coder for the layout of the file.
bool can_code(const CFILE* c) {
    if (krv_decoder_of(c) == nullptr) return false;
    bool in_pieces =
        c->format <= RZL_FORMAT_BYTE_PAIRS || c->format == RZL_FORMAT_COLOR_RUNS || c->format == RZL_FORMAT_PACKED_RUNS;
    return in_pieces || !has_flag(c, FLAG_SCANNABLE);
}

void code_line(krv_output* o, const uint8_t* const* planes, const krv_line& l) {
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

// A line that is not given, where the file has one already: it stays as it is.
bool pass_over(CFILE* c) {
    int64_t size = has_flag(c, FLAG_SCANNABLE) ? 0 : krv_fixed_line_size(c);
    if (size == 0 || !is_readable(c)) return false;
    int64_t position = io_tell(c);
    if (position < 0 || position > io_size(c) - size) return false;
    return io_seek(c, position + size);
}

} // namespace

int krv_put_line(CFILE* c, int channels, write_planes buffers) {
    if (krv_is_coded(c)) return krv_put_coded_line(c, channels, buffers);
    if (!can_code(c)) {
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
    code_line(&o, planes, l);
    krv_add_overview_bytes(c, static_cast<uint32_t>(o.written));
    if (!o.failed && c->xsize > 0) return c->xsize;
    fail(c, RZL_WRITE_FAILED, SOURCE, "rzl_put_line");
    return 0;
}

int krv_putline(CFILE* c, int channels, write_planes buffers) {
    if (channels != 1 && channels != 3 && channels != 4) {
        fail(c, RZL_UNSUP_KRVN, SOURCE, "channels");
        return 0;
    }
    if (!krv_is_last_image(c)) {
        fail(c, RZL_NO_SUCH_IMAGE, SOURCE, "not last multi-image");
        return 0;
    }
    return rzl_putline_generic(c, channels, buffers);
}
