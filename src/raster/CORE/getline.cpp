// Reading lines: the public calls, the generic body behind the Getline slot, and interleaved lines for formats that
// have none of their own.
#include <algorithm>
#include <bit>

#include "raster/CORE/lines.h"
#include "support/checked.h"

namespace {

constexpr char SOURCE[] = "CORE/getline";

// Notes whether what happens in its scope makes something up.
struct damage_watch {
    CFILE* handle;
    bool before;
    explicit damage_watch(CFILE* c) : handle(c), before(has_flag(c, FLAG_DAMAGED)) { set_flag(c, FLAG_DAMAGED, false); }
    ~damage_watch() {
        handle->line_damaged = has_flag(handle, FLAG_DAMAGED);
        set_flag(handle, FLAG_DAMAGED, before || handle->line_damaged);
    }
    damage_watch(const damage_watch&) = delete;
    damage_watch& operator=(const damage_watch&) = delete;
};

int read_watched(CFILE* c, read_line_slot slot, int channels, read_planes planes) {
    damage_watch watch(c);
    return slot(c, channels, planes);
}

// Runs a line slot between entry and leave of a public call.
int read_planes_call(CFILE* c, const char* word, read_line_slot format_slots::*slot, int channels,
                     void* const* buffers) {
    if (!handle_enter(c, word)) return 1;
    if (!planes_are_given(c, channels, buffers, SOURCE, word)) return handle_leave(c, 1);
    read_plane_list planes(channels, buffers);
    if (planes.all == nullptr) return handle_leave(c, refuse(c, RZL_NO_MEMORY, SOURCE, word));
    int pixels = read_watched(c, c->slots.*slot, channels, planes.all);
    return handle_leave(c, public_result(c, pixels, RZL_READ_FAILED, SOURCE));
}

// The stored coding of a line or strip into a buffer of *size bytes.
int read_coding_call(CFILE* c, const char* word, read_line_slot format_slots::*slot, void* buffer, int32_t* size) {
    if (!handle_enter(c, word)) return 1;
    if (size == nullptr || *size < 0 || (buffer == nullptr && *size > 0))
        return handle_leave(c, refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, word));
    c->rle_size = *size;
    uint8_t* plane = static_cast<uint8_t*>(buffer);
    int bytes = (c->slots.*slot)(c, 1, &plane);
    *size = c->rle_size;
    return handle_leave(c, public_result(c, bytes, RZL_READ_FAILED, SOURCE));
}

} // namespace

int rzl_getline(CFILE* c, void* buffer) {
    if (!handle_enter(c, "rzl_getline")) return 1;
    uint8_t* planes[3] = {static_cast<uint8_t*>(buffer), nullptr, nullptr};
    int pixels = read_watched(c, c->slots.Getline, format_is_color(c->format) ? 3 : 1, planes);
    return handle_leave(c, public_result(c, pixels, RZL_READ_FAILED, SOURCE));
}

int rzl_getline3(CFILE* c, void* red, void* green, void* blue) {
    if (!handle_enter(c, "rzl_getline3")) return 1;
    uint8_t* planes[3] = {static_cast<uint8_t*>(red), static_cast<uint8_t*>(green), static_cast<uint8_t*>(blue)};
    int pixels = read_watched(c, c->slots.Getline, 3, planes);
    return handle_leave(c, public_result(c, pixels, RZL_READ_FAILED, SOURCE));
}

int rzl_getline_channels(CFILE* c, int channels, void* const* buffers) {
    return read_planes_call(c, "rzl_getline_channels", &format_slots::Getline, channels, buffers);
}

int rzl_getline16(CFILE* c, uint16_t* buffer) {
    void* planes[1] = {buffer};
    return read_planes_call(c, "rzl_getline16", &format_slots::Getline16, 1, planes);
}

int rzl_getline_interleaved(CFILE* c, void* buffer) {
    if (!handle_enter(c, "rzl_getline_interleaved")) return 1;
    if (buffer == nullptr) return handle_leave(c, refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "rzl_getline_interleaved"));
    int pixels = 0;
    {
        flag_guard interleaved(c, FLAG_INTERLEAVED, true);
        damage_watch watch(c);
        pixels = c->slots.Getinlv(c, static_cast<uint8_t*>(buffer));
    }
    return handle_leave(c, public_result(c, pixels, RZL_READ_FAILED, SOURCE));
}

int rzl_get_rle_line(CFILE* c, void* buffer, int32_t* size) {
    return read_coding_call(c, "rzl_get_rle_line", &format_slots::Getrleline, buffer, size);
}

int rzl_get_rle_strip(CFILE* c, void* buffer, int32_t* size) {
    return read_coding_call(c, "rzl_get_rle_strip", &format_slots::Getrlestrip, buffer, size);
}

size_t rzl_line_size(CFILE* c) {
    if (!handle_enter(c, "rzl_line_size")) return 0;
    bool resampled = has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr;
    int64_t pixels = resampled ? c->squetch->out_xsize : c->xsize;
    if (is_writable(c)) pixels = std::max<int64_t>(pixels, c->xsize); // lines that are put are not resampled
    // Planes of colours have a byte a pixel, whatever the line is.
    auto samples = static_cast<size_t>(std::max<int64_t>(pixels, 0));
    size_t bytes = std::max(line_bytes(c, pixels), samples);
    // Lines of bits are put as such though the header has made bytes of the data format.
    if (is_writable(c) && c->bits == 1) bytes = std::max(bytes, (samples + 15) / 16 * 2);
    // The header may yet make of the bits a deeper data format.
    auto depth = std::bit_ceil(static_cast<unsigned>(std::max(c->bits, 1) + 7) / 8);
    if (!has_flag(c, FLAG_HEADER_EXISTS)) bytes = std::max(bytes, samples * depth);
    (void)handle_leave(c, 0);
    return bytes;
}

size_t rzl_interleaved_size(CFILE* c) {
    if (!handle_enter(c, "rzl_interleaved_size")) return 0;
    auto samples = static_cast<size_t>(std::max(interleaved_samples(c), interleave_step(c)));
    (void)handle_leave(c, 0);
    return rzl_line_size(c) * samples;
}

void rzl_getline_check(CFILE* c) {
    if (!is_readable(c)) {
        fail(c, RZL_NEEDS_READ, SOURCE, "getline");
        return;
    }
    if (is_unsettled(c)) {
        fail(c, RZL_READ_FAILED, SOURCE, "getline");
        return;
    }
    bool resampled = has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr;
    int32_t line = resampled ? c->squetch->out_line : c->line;
    int32_t lines = resampled ? c->squetch->out_ysize : c->ysize;
    if (line < 0 || line >= lines) {
        fail(c, RZL_PAST_END, SOURCE, "getline");
        return;
    }
    if (!resampled) (void)rzl_has_line(c, line, SOURCE, "getline"); // resampling asks for each line that it takes
}

namespace {

// Three planes of a bilevel image with a colour table are colours, as they are of any other image with one.
bool gives_colors(const CFILE* c, int channels, read_planes buffers) {
    if (channels != 3 || !bits_have_colors(c)) return false;
    if (has_trait(c, MODULE_COLORS)) return false;
    return buffers[0] != nullptr && buffers[1] != nullptr && buffers[2] != nullptr;
}

} // namespace

int rzl_getline_generic(CFILE* c, int channels, read_planes buffers) {
    rzl_getline_check(c);
    if (c->status != 0) return 0;
    int pixels = 0;
    if (has_flag(c, FLAG_SQUETCH)) {
        pixels = rzl_squetch(c, channels, buffers);
    } else if (has_flag(c, FLAG_TILED)) {
        pixels = rzl_getline_from_tiles(c, channels, buffers);
    } else {
        pixels = c->slots.Get_line(c, channels, buffers);
    }
    if (pixels > 0 && !has_flag(c, FLAG_SQUETCH) && gives_colors(c, channels, buffers))
        rzl_apply_color_table_to_bits(c, buffers[0], buffers[1], buffers[2], pixels);
    // `line` has moved on: the position is where the line that comes next begins.
    if (pixels > 0) rzl_note_line(c);
    return pixels;
}

int rzl_getinlv_default(CFILE* c, uint8_t* buffer) {
    flag_guard planes_wanted(c, FLAG_INTERLEAVED, false);
    int samples = interleaved_samples(c);
    if (samples <= 1 || !planes_are_bytes(c)) return c->slots.Getline(c, 1, &buffer);
    bool resampled = has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr;
    auto pixels = static_cast<size_t>(resampled ? c->squetch->out_xsize : c->xsize);
    auto n = static_cast<size_t>(samples);
    size_t bytes = 0;
    bool fits = checked_mul(pixels, n, &bytes);
    // Zeros, for a plane that the format leaves alone.
    mem_guard<uint8_t> block(fits ? static_cast<uint8_t*>(mem_alloc_zeroed(bytes)) : nullptr);
    mem_guard<uint8_t*> planes(mem_new_array<uint8_t*>(n));
    if (!block || !planes) return fails(c, RZL_NO_MEMORY, SOURCE, "getinlv");
    for (size_t s = 0; s < n; ++s)
        planes[s] = block.get() + s * pixels;
    int result = c->slots.Getline(c, samples, planes.get());
    size_t step = has_flag(c, FLAG_FOUR_BYTE_PIXELS) && samples < 4 ? 4 : n;
    if (result > 0 && c->status == 0) join_pixels(buffer, pixels, step, planes.get(), n);
    return result;
}
