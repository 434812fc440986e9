// libjpeg behind functions of this system's kind.
//
// libjpeg leaves an error through its error function, which must not come back: it jumps to where guarded() was
// entered. So nothing that has to be freed is made inside of a step; what is there was made before, and belongs to the
// coder.
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

#include <jerror.h>

#include "raster/JFIF/jfif.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "jfif/jfifopen";
constexpr size_t BUFFER_SIZE = 1 << 16;
constexpr int EXIF_MARKER = JPEG_APP0 + 1;

// Pixels that a byte of coded data stands for at best: a block of 8 by 8 in one bit, or, with the arithmetic coder, in
// a fraction of one. Files of more are read line by line; only what takes memory for all of their pixels is refused.
constexpr uint64_t PIXELS_A_BYTE = 512;
constexpr uint64_t ARITHMETIC_PIXELS_A_BYTE = 4096;
constexpr uint64_t ALWAYS_CREDIBLE = 1 << 20; // pixels

// Scans of which each goes over the whole image, while a few bytes can be one: as many times the credible size.
constexpr uint64_t CREDIBLE_SCANS = 32;

} // namespace

struct jfif_coder {
    CFILE* c;
    jpeg_error_mgr errors;
    jpeg_source_mgr source;
    jpeg_destination_mgr target;
    jpeg_progress_mgr progress;
    jpeg_decompress_struct in;
    jpeg_compress_struct out;
    bool has_in, has_out;
    bool broken;    // an error has left the records in any state
    int64_t place;  // of the file: where the next bytes to read stand
    int64_t size;   // of the file
    uint8_t* row;   // of the step at hand
    jmp_buf escape; // where an error goes
    uint8_t buffer[BUFFER_SIZE];
};

namespace {

jfif_coder* coder_of(j_common_ptr info) {
    return static_cast<jfif_coder*>(info->client_data);
}

// ---- errors

// Statuses of libjpeg's errors; one that is set already is the reason behind it.
void set_status(jfif_coder* coder, int code, const char* text) {
    CFILE* c = coder->c;
    if (c->status != 0) return;
    bool unsupported = code == JERR_SOF_UNSUPPORTED || code == JERR_ARITH_NOTIMPL || code == JERR_BAD_PRECISION ||
                       code == JERR_CONVERSION_NOTIMPL || code == JERR_CCIR601_NOTIMPL || code == JERR_NOTIMPL;
    uint32_t status = coder->has_out ? RZL_WRITE_FAILED : RZL_READ_FAILED;
    if (unsupported) status = RZL_UNSUP_JFIF;
    if (code == JERR_OUT_OF_MEMORY) status = RZL_NO_MEMORY;
    fail(c, status, SOURCE, text);
}

void tell(j_common_ptr info) {
    char text[JMSG_LENGTH_MAX];
    info->err->format_message(info, text);
    rzl_warn("JFIF code: %s\n", text);
}

[[noreturn]] void leave_error(j_common_ptr info) {
    jfif_coder* coder = coder_of(info);
    char text[JMSG_LENGTH_MAX];
    info->err->format_message(info, text);
    rzl_warn("JFIF code: %s\n", text);
    set_status(coder, info->err->msg_code, text);
    coder->broken = true;
    std::longjmp(coder->escape, 1);
}

// Of a negative level are warnings: something of the data is lost, or only looks strange.
void take_message(j_common_ptr info, int level) {
    if (level >= 0) return;
    ++info->err->num_warnings;
    tell(info);
    switch (info->err->msg_code) {
    case JWRN_JPEG_EOF:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_ARITH_BAD_CODE:
    case JWRN_MUST_RESYNC: set_flag(coder_of(info)->c, FLAG_DAMAGED, true); break;
    default: break;
    }
}

// Runs a step that calls libjpeg. False when an error has ended it.
bool guarded(jfif_coder* coder, void (*step)(jfif_coder* coder)) {
    if (coder->broken) return fails(coder->c, coder->has_out ? RZL_WRITE_FAILED : RZL_READ_FAILED, SOURCE, "JFIF");
    if (setjmp(coder->escape) != 0) return false;
    step(coder);
    return true;
}

// ---- bytes of the file

void do_nothing(j_decompress_ptr) {}

// At the end of the file an end of the image is made up, so that what has come of it is given. Bytes that are there and
// can't be read are another matter.
boolean fill_buffer(j_decompress_ptr in) {
    constexpr uint8_t END_OF_IMAGE[2] = {0xFF, JPEG_EOI};
    auto* coder = coder_of(reinterpret_cast<j_common_ptr>(in));
    size_t size = io_seek(coder->c, coder->place) ? io_read(coder->c, coder->buffer, BUFFER_SIZE) : 0;
    coder->place += static_cast<int64_t>(size);
    if (size == 0 && coder->place < coder->size) ERREXIT(in, JERR_FILE_READ);
    if (size == 0) {
        WARNMS(in, JWRN_JPEG_EOF);
        std::memcpy(coder->buffer, END_OF_IMAGE, sizeof END_OF_IMAGE);
        size = sizeof END_OF_IMAGE;
    }
    in->src->next_input_byte = coder->buffer;
    in->src->bytes_in_buffer = size;
    return TRUE;
}

void skip_bytes(j_decompress_ptr in, long count) {
    auto* coder = coder_of(reinterpret_cast<j_common_ptr>(in));
    if (count <= 0) return;
    auto bytes = static_cast<size_t>(count);
    if (bytes <= in->src->bytes_in_buffer) {
        in->src->next_input_byte += bytes;
        in->src->bytes_in_buffer -= bytes;
        return;
    }
    coder->place += static_cast<int64_t>(bytes - in->src->bytes_in_buffer);
    in->src->bytes_in_buffer = 0;
}

void begin_output(j_compress_ptr out) {
    auto* coder = coder_of(reinterpret_cast<j_common_ptr>(out));
    out->dest->next_output_byte = coder->buffer;
    out->dest->free_in_buffer = BUFFER_SIZE;
}

void put_bytes(j_compress_ptr out, size_t bytes) {
    auto* coder = coder_of(reinterpret_cast<j_common_ptr>(out));
    if (!put_all(coder->c, coder->buffer, bytes, SOURCE)) ERREXIT(out, JERR_FILE_WRITE);
}

boolean empty_buffer(j_compress_ptr out) {
    put_bytes(out, BUFFER_SIZE);
    begin_output(out);
    return TRUE;
}

void end_output(j_compress_ptr out) {
    put_bytes(out, BUFFER_SIZE - out->dest->free_in_buffer);
}

// ---- Exif

// The orientation in an APP1 marker's data: behind "Exif" and two zeros a TIFF header, and its first directory, of
// which entry 274 holds the number.
int exif_turn(const uint8_t* data, size_t size) {
    constexpr char MARK[6] = {'E', 'x', 'i', 'f', 0, 0};
    constexpr uint16_t ORIENTATION = 274;
    constexpr size_t ENTRY_SIZE = 12;
    if (size < sizeof MARK + 8 || std::memcmp(data, MARK, sizeof MARK) != 0) return 0;
    data += sizeof MARK;
    size -= sizeof MARK;
    bool big = data[0] == 'M';
    auto u16 = [big](const uint8_t* p) { return big ? load_u16be(p) : load_u16le(p); };
    size_t at = big ? load_u32be(data + 4) : load_u32le(data + 4);
    if (at > size || size - at < 2) return 0;
    size_t entries = u16(data + at);
    for (at += 2; entries > 0 && size - at >= ENTRY_SIZE; --entries, at += ENTRY_SIZE)
        if (u16(data + at) == ORIENTATION) return u16(data + at + 8);
    return 0;
}

int turn_of(const jpeg_decompress_struct* in) {
    for (const jpeg_marker_struct* marker = in->marker_list; marker != nullptr; marker = marker->next) {
        if (marker->marker != EXIF_MARKER) continue;
        int turn = exif_turn(marker->data, marker->data_length);
        if (turn >= JFIF_UPRIGHT && turn <= JFIF_MOST_TURN) return turn;
    }
    return JFIF_UPRIGHT;
}

// ---- reading

jfif_colors colors_of(J_COLOR_SPACE space) {
    switch (space) {
    case JCS_GRAYSCALE: return jfif_colors::grey;
    case JCS_RGB: return jfif_colors::rgb;
    case JCS_YCbCr: return jfif_colors::ycc;
    case JCS_CMYK:
    case JCS_YCCK: return jfif_colors::cmyk;
    default: return jfif_colors::unknown;
    }
}

uint64_t pixels_of(const jpeg_decompress_struct* in) {
    return uint64_t{in->image_width} * in->image_height;
}

// Called now and then while scans are read.
void watch_scans(j_common_ptr info) {
    auto* coder = coder_of(info);
    auto scans = static_cast<uint64_t>(coder->in.input_scan_number);
    uint64_t most = static_cast<uint64_t>(coder->size) * PIXELS_A_BYTE + ALWAYS_CREDIBLE;
    if (scans > CREDIBLE_SCANS && scans * pixels_of(&coder->in) > CREDIBLE_SCANS * most)
        ERREXIT(info, JERR_BAD_PROGRESSION);
}

void begin_decoder(jfif_coder* coder) {
    if (coder->has_in) {
        jpeg_destroy_decompress(&coder->in);
        coder->has_in = false;
    }
    coder->in.err = &coder->errors;
    coder->in.client_data = coder;
    jpeg_create_decompress(&coder->in);
    coder->has_in = true;
    coder->in.src = &coder->source;
    coder->in.progress = &coder->progress;
    coder->source.bytes_in_buffer = 0;
    coder->place = 0;
}

void read_header(jfif_coder* coder) {
    begin_decoder(coder);
    if (is_extended()) jpeg_save_markers(&coder->in, EXIF_MARKER, 0xFFFF);
    (void)jpeg_read_header(&coder->in, TRUE);
}

// libjpeg would give a file of several components none of which it knows as it is.
void start_reading(jfif_coder* coder) {
    jpeg_decompress_struct* in = &coder->in;
    jfif_colors colors = colors_of(in->jpeg_color_space);
    in->do_block_smoothing = FALSE;
    if (colors == jfif_colors::rgb || colors == jfif_colors::ycc) in->out_color_space = JCS_RGB;
    if (colors == jfif_colors::cmyk) in->out_color_space = JCS_CMYK;
    (void)jpeg_start_decompress(in);
}

void read_row(jfif_coder* coder) {
    (void)jpeg_read_scanlines(&coder->in, &coder->row, 1);
}

// ---- writing

void begin_encoder(jfif_coder* coder) {
    coder->out.err = &coder->errors;
    coder->out.client_data = coder;
    jpeg_create_compress(&coder->out);
    coder->has_out = true;
    coder->out.dest = &coder->target;
}

void start_writing(jfif_coder* coder) {
    jpeg_compress_struct* out = &coder->out;
    jpeg_set_defaults(out);
    jpeg_set_quality(out, JFIF_QUALITY, TRUE);
    jpeg_start_compress(out, TRUE);
}

void write_row(jfif_coder* coder) {
    (void)jpeg_write_scanlines(&coder->out, &coder->row, 1);
}

void finish_writing(jfif_coder* coder) {
    jpeg_finish_compress(&coder->out);
}

void destroy(jfif_coder* coder) {
    if (coder->has_in) jpeg_destroy_decompress(&coder->in);
    if (coder->has_out) jpeg_destroy_compress(&coder->out);
}

} // namespace

jfif_coder* jfif_coder_new(CFILE* c) {
    auto* coder = mem_new<jfif_coder>();
    if (coder == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, "rzl_open_jfif: Malloc failure\n");
        return nullptr;
    }
    coder->c = c;
    (void)jpeg_std_error(&coder->errors);
    coder->errors.error_exit = leave_error;
    coder->errors.emit_message = take_message;
    coder->errors.output_message = tell;
    coder->source.init_source = do_nothing;
    coder->source.fill_input_buffer = fill_buffer;
    coder->source.skip_input_data = skip_bytes;
    coder->source.resync_to_restart = jpeg_resync_to_restart;
    coder->source.term_source = do_nothing;
    coder->target.init_destination = begin_output;
    coder->target.empty_output_buffer = empty_buffer;
    coder->target.term_destination = end_output;
    coder->progress.progress_monitor = watch_scans;
    return coder;
}

void jfif_coder_free(jfif_coder* coder) {
    if (coder == nullptr) return;
    coder->broken = false;
    uint32_t status = coder->c->status;
    (void)guarded(coder, destroy);
    coder->c->status = status;
    mem_free(coder);
}

bool jfif_read_header(jfif_coder* coder, jfif_header* header) {
    coder->broken = false;
    coder->size = io_size(coder->c);
    if (!guarded(coder, read_header)) return false;
    const jpeg_decompress_struct* in = &coder->in;
    *header = {in->image_width, in->image_height, in->num_components, colors_of(in->jpeg_color_space), turn_of(in)};
    return true;
}

bool jfif_size_is_credible(const jfif_coder* coder) {
    uint64_t pixels = pixels_of(&coder->in);
    uint64_t most = coder->in.arith_code != FALSE ? ARITHMETIC_PIXELS_A_BYTE : PIXELS_A_BYTE;
    return pixels <= ALWAYS_CREDIBLE || coder->size < 0 || pixels / most <= static_cast<uint64_t>(coder->size);
}

bool jfif_start_reading(jfif_coder* coder) {
    bool whole = jpeg_has_multiple_scans(&coder->in) != FALSE;
    if (whole && !jfif_size_is_credible(coder)) return fails(coder->c, RZL_READ_FAILED, SOURCE, "size");
    return guarded(coder, start_reading);
}

bool jfif_read_row(jfif_coder* coder, uint8_t* pixels) {
    coder->row = pixels;
    return guarded(coder, read_row);
}

bool jfif_start_writing(jfif_coder* coder, int32_t width, int32_t height, int components) {
    if (!guarded(coder, begin_encoder)) return false;
    coder->out.image_width = static_cast<JDIMENSION>(width);
    coder->out.image_height = static_cast<JDIMENSION>(height);
    coder->out.input_components = components;
    coder->out.in_color_space = components == 3 ? JCS_RGB : JCS_GRAYSCALE;
    return guarded(coder, start_writing);
}

// The coder only reads the row, whatever its type says.
bool jfif_write_row(jfif_coder* coder, const uint8_t* pixels) {
    coder->row = const_cast<uint8_t*>(pixels);
    return guarded(coder, write_row);
}

bool jfif_finish_writing(jfif_coder* coder) {
    return guarded(coder, finish_writing);
}
