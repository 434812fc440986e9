// Saving the picture's three planes: a pack around them, its conversion for the target, and the file.
#include "output/imp.h"
#include "support/memory.h"

namespace {

constexpr int32_t COLOR_MODE_COLOR = 1;
constexpr int32_t TIFF_PLAIN = 1; // header field 501 of a TIFF file: not compressed

// A native file of three run-coded planes takes the picture as it stands.
bool goes_as_it_stands(const output_settings* s) {
    return s->standard == RZL_STANDARD_KRVN && s->format == RZL_FORMAT_PLANE_RUNS;
}

int convert_and_write(Impack* pack, const char* path, const output_settings* s, const output_watch* w) {
    if (!goes_as_it_stands(s)) {
        int32_t mode = (s->flags & OUTPUT_GREY) != 0 ? IMP_COLOR_GREY : COLOR_MODE_COLOR;
        int32_t dither = (s->flags & OUTPUT_CLOSEST) != 0 ? 1 : 0;
        int code = imp_convert(pack, s->standard, s->format, mode, 0, dither, s->colors, s->gamma, w->stop_mask,
                               w->stop_interval, w->stop_fn, w->msg_mask, w->msg_interval, w->log_fn);
        if (code != IMP_OK) return code;
    }
    return imp_write(pack, path, TIFF_PLAIN, w->stop_mask, w->stop_interval, w->stop_fn, w->msg_mask, w->msg_interval,
                     w->log_fn);
}

} // namespace

int imp_save_planes(const char* path, int32_t width, int32_t height, uint8_t* red, uint8_t* green, uint8_t* blue,
                    const output_settings* settings, const output_watch* watch) {
    constexpr output_watch NONE = {};
    imp_planes_shared = 1;
    if (path == nullptr) return imp_fail(IMP_BAD_FILE);
    Impack* pack = nullptr;
    int code = imp_alloc(&pack);
    if (code != IMP_OK) return code;
    mem_guard<char> path_copy(mem_copy_text(path));
    if (!path_copy) {
        imp_free(&pack);
        return imp_fail(IMP_NO_MEMORY);
    }
    pack->file_path = path_copy.get();
    pack->file_name = path_copy.get() + (imp_file_name(path) - path);
    pack->red_plane = red;
    pack->green_plane = green;
    pack->blue_plane = blue;
    pack->xsize = width;
    pack->ysize = height;
    pack->pixels = int64_t{width} * height;
    pack->standard = RZL_STANDARD_KRVN;
    pack->format = RZL_FORMAT_PLANE_RUNS;
    code = convert_and_write(pack, path, settings, watch != nullptr ? watch : &NONE);
    imp_free(&pack);
    return code;
}
