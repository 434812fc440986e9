// Reading lines in their stored coding.
//
// What is delivered are the bytes of the file: of an ordinary line its coding, of a scannable one its pieces with their
// line headers. A line that a scannable file leaves out is told by a header and one run. When the buffer is too small
// the handle stays at the line, so that the call can be made again.
#include <algorithm>

#include "raster/KRVN/krvcode.h"

namespace {

constexpr char SOURCE[] = "KRVN/krvgetrl";
constexpr size_t SUBSTITUTE_WORDS = 6;

// Tells the size that is needed when the buffer has not got it.
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
        if (c->io.file_seek(c->file, data, 1) != 0) return 0;
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
    if (krv_spec_of(c)->lines_ended) set_flag(c, FLAG_DAMAGED, true);
    ++c->line;
    return static_cast<int>(SUBSTITUTE_WORDS * 2);
}

// Copies `bytes` bytes that begin at `from`. False, with the status set, when they are not all there.
bool copy_out(CFILE* c, int64_t from, int64_t bytes, uint8_t* out) {
    auto count = static_cast<size_t>(bytes);
    if (io_seek(c, from) && io_read(c, out, count) == count) return true;
    fail(c, RZL_READ_FAILED, SOURCE, "Getrleline");
    return false;
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
    if (has_flag(c, FLAG_SQUETCH)) {
        fail(c, RZL_UNSUP_KRVN, SOURCE, "No squetch for RLE lines");
        return 0;
    }
    if (has_flag(c, FLAG_TILED)) {
        fail(c, RZL_ONLY_UNTILED, SOURCE, "Getrleline");
        return 0;
    }
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
