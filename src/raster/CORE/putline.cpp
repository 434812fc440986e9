// Writing lines: the public calls, the generic body behind the Putline slot, and interleaved lines for formats that
// have none of their own.
#include "raster/CORE/lines.h"
#include "support/checked.h"

namespace {

constexpr char SOURCE[] = "CORE/putline";

int write_planes_call(CFILE* c, const char* word, write_line_slot format_slots::*slot, int channels,
                      const void* const* buffers) {
    if (!handle_enter(c, word)) return 1;
    if (!planes_are_given(c, channels, buffers, SOURCE, word)) return handle_leave(c, 1);
    write_plane_list planes(channels, buffers);
    if (planes.all == nullptr) return handle_leave(c, refuse(c, RZL_NO_MEMORY, SOURCE, word));
    int pixels = (c->slots.*slot)(c, channels, planes.all);
    count_put(c);
    return handle_leave(c, public_result(c, pixels, RZL_WRITE_FAILED, SOURCE));
}

// Whether the lines of the file differ in size, so that one can't be put in the place of another.
bool lines_vary(const CFILE* c) {
    bool fixed = c->format < 9 || c->format == RZL_FORMAT_RGB || c->format == RZL_FORMAT_FOUR;
    return !fixed || has_flag(c, FLAG_SCANNABLE);
}

// True at the end of the file. Otherwise the file stands at its last byte and the status is set.
bool is_at_end(CFILE* c) {
    io_settle(c);
    int64_t position = io_tell(c);
    // A byte of memory can be read wherever the block has one, also where nothing has been written.
    bool ended = has_flag(c, FLAG_MEMORY) ? position >= io_size(c) : c->io.file_getc(c->file) < 0;
    if (ended) {
        // A stream that has met its end must be positioned before it is written to.
        if (position >= 0 && io_seek(c, position)) return true;
        return fails(c, RZL_WRITE_FAILED, SOURCE, "seek");
    }
    int64_t size = io_size(c);
    if (size > 0) (void)io_seek(c, size - 1);
    return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
}

// The tests that the generic body and the modules' own puts have in common; `line` is tested against the image size.
bool header_is_there(CFILE* c) {
    if (has_flag(c, FLAG_HEADER_EXISTS) || has_flag(c, FLAG_RAW)) return true;
    return rzl_write_header(c) == 0;
}

} // namespace

int rzl_putline(CFILE* c, const void* buffer) {
    if (!handle_enter(c, "rzl_putline")) return 1;
    const auto* plane = static_cast<const uint8_t*>(buffer);
    int pixels = c->slots.Putline(c, 1, &plane);
    count_put(c);
    return handle_leave(c, public_result(c, pixels, RZL_WRITE_FAILED, SOURCE));
}

int rzl_putline3(CFILE* c, const void* red, const void* green, const void* blue) {
    if (!handle_enter(c, "rzl_putline3")) return 1;
    const uint8_t* planes[3] = {static_cast<const uint8_t*>(red), static_cast<const uint8_t*>(green),
                                static_cast<const uint8_t*>(blue)};
    int pixels = c->slots.Putline(c, 3, planes);
    count_put(c);
    return handle_leave(c, public_result(c, pixels, RZL_WRITE_FAILED, SOURCE));
}

int rzl_putline_channels(CFILE* c, int channels, const void* const* buffers) {
    return write_planes_call(c, "rzl_putline_channels", &format_slots::Putline, channels, buffers);
}

int rzl_putline16(CFILE* c, const uint16_t* buffer) {
    const void* planes[1] = {buffer};
    return write_planes_call(c, "rzl_putline16", &format_slots::Putline16, 1, planes);
}

int rzl_putline_interleaved(CFILE* c, const void* buffer) {
    if (!handle_enter(c, "rzl_putline_interleaved")) return 1;
    if (buffer == nullptr) return handle_leave(c, refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "rzl_putline_interleaved"));
    int pixels = 0;
    {
        flag_guard interleaved(c, FLAG_INTERLEAVED, true);
        pixels = c->slots.Putinlv(c, static_cast<const uint8_t*>(buffer));
    }
    count_put(c);
    return handle_leave(c, public_result(c, pixels, RZL_WRITE_FAILED, SOURCE));
}

int rzl_put_rle_line(CFILE* c, const void* buffer, int32_t size) {
    if (!handle_enter(c, "rzl_put_rle_line")) return 1;
    if (buffer == nullptr || size < 0)
        return handle_leave(c, refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "rzl_put_rle_line"));
    c->rle_size = size;
    const auto* coding = static_cast<const uint8_t*>(buffer);
    int pixels = c->slots.Putrleline(c, 1, &coding);
    count_put(c);
    return handle_leave(c, public_result(c, pixels, RZL_WRITE_FAILED, SOURCE));
}

int putline_error_check(CFILE* c) {
    if (!handle_is_valid(c, "putline_error_check")) return 1;
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "putline_error_check");
    if (c->line < 0) return refuse(c, RZL_PAST_END, SOURCE, "putline_error_check");
    if (!header_is_there(c)) return 1;
    if (c->line >= c->ysize) return refuse(c, RZL_PAST_END, SOURCE, "putline_error_check");
    return 0;
}

bool rzl_append_check(CFILE* c) {
    bool can_read_back = c->mode == MODE_UPDATE || c->mode == MODE_WRITE_READ;
    return !can_read_back || !lines_vary(c) || is_at_end(c);
}

int rzl_putline_generic(CFILE* c, int channels, write_planes buffers) {
    if (!handle_is_valid(c, "rzl_putline")) return 0;
    if (!is_writable(c)) return fails(c, RZL_NEEDS_WRITE, SOURCE, "rzl_putline");
    // Tiles that are appended never change what stands in the file.
    bool appended = has_flag(c, FLAG_TILED) && c->module != nullptr && c->module->note_tile != nullptr;
    if (!appended && !rzl_append_check(c)) return 0;
    if (!header_is_there(c)) return 0;
    if (c->line < 0 || c->line >= c->ysize) return fails(c, RZL_PAST_END, SOURCE, "rzl_putline");
    if (has_flag(c, FLAG_TILED)) return rzl_putline_to_tiles(c, channels, buffers);
    return c->slots.Put_line(c, channels, buffers);
}

// A colour table turns values into colours, not back: where one gives the pixels of an interleaved read, interleaved
// pixels are refused here rather than stored as something else.
int rzl_putinlv_default(CFILE* c, const uint8_t* buffer) {
    // The pixels are taken apart before Putline is asked, and those of a resampled reader's buffer may be fewer.
    if (!is_writable(c)) return fails(c, RZL_NEEDS_WRITE, SOURCE, "rzl_putline");
    flag_guard planes_given(c, FLAG_INTERLEAVED, false);
    int samples = interleaved_samples(c);
    bool colors = format_is_color(c->format);
    bool looks_up = samples != c->samples && c->color_table != nullptr;
    if (looks_up) return fails(c, RZL_UNSUPPORTED, SOURCE, "Putinlv");
    if (samples <= 1 || (c->bits > 8 && !colors)) return c->slots.Putline(c, 1, &buffer);
    auto pixels = static_cast<size_t>(c->xsize);
    auto n = static_cast<size_t>(samples);
    size_t bytes = 0;
    bool fits = checked_mul(pixels, n, &bytes);
    mem_guard<uint8_t> block(fits ? static_cast<uint8_t*>(mem_alloc(bytes)) : nullptr);
    mem_guard<uint8_t*> planes(mem_new_array<uint8_t*>(n));
    if (!block || !planes) return fails(c, RZL_NO_MEMORY, SOURCE, "putinlv");
    for (size_t s = 0; s < n; ++s)
        planes[s] = block.get() + s * pixels;
    size_t step = has_flag(c, FLAG_FOUR_BYTE_PIXELS) && samples < 4 ? 4 : n;
    split_pixels(buffer, pixels, step, planes.get(), n);
    return c->slots.Putline(c, samples, planes.get());
}
