// Lines of PostScript files.
#include <algorithm>
#include <cstring>

#include "raster/PS/ps.h"

namespace {

constexpr char SOURCE[] = "PS/psline";

// The shade of a colour: the eye's weights, of 256.
constexpr uint8_t grey_of(unsigned red, unsigned green, unsigned blue) {
    return static_cast<uint8_t>((77 * red + 150 * green + 29 * blue) >> 8);
}

// Shades of three planes; one that is not given is 0.
void mix_planes(write_planes planes, size_t width, uint8_t* out) {
    bool all = planes[0] != nullptr && planes[1] != nullptr && planes[2] != nullptr;
    for (size_t i = 0; all && i < width; ++i)
        out[i] = grey_of(planes[0][i], planes[1][i], planes[2][i]);
    auto value = [&](int p, size_t i) { return planes[p] != nullptr ? planes[p][i] : uint8_t{0}; };
    for (size_t i = 0; !all && i < width; ++i)
        out[i] = grey_of(value(0, i), value(1, i), value(2, i));
}

void store_line(const ps_spec* spec, const uint8_t* values, size_t width, char* out) {
    for (size_t first = 0; first < width; first += PS_LINE_PIXELS) {
        size_t end = first + PS_LINE_PIXELS < width ? first + PS_LINE_PIXELS : width;
        *out++ = '\n';
        for (size_t i = first; i < end; ++i, out += 2)
            std::memcpy(out, spec->grey_hex[values[i]], 2);
    }
    *out = '\n';
}

} // namespace

void ps_make_digits(ps_spec* spec) {
    constexpr char HEX[] = "0123456789ABCDEF";
    for (size_t i = 0; i < PS_COLORS; ++i) {
        const uint8_t* color = spec->colors[i];
        uint8_t grey = grey_of(color[0], color[1], color[2]);
        spec->grey_hex[i][0] = HEX[grey >> 4];
        spec->grey_hex[i][1] = HEX[grey & 15];
    }
}

int ps_put_line(CFILE* c, int channels, write_planes buffers) {
    const ps_spec* spec = ps_spec_of(c);
    if (channels != 1 && channels != 3) return fails(c, RZL_UNSUP_IR, SOURCE, "putline");
    auto width = static_cast<size_t>(c->xsize);
    size_t bytes = ps_text_bytes(c);
    uint8_t* room = spec->text + bytes;
    const uint8_t* values = channels == 1 ? buffers[0] : room;
    if (channels == 3) mix_planes(buffers, width, room);
    if (values == nullptr) { // a line that is not given is black
        std::fill_n(room, width, uint8_t{0});
        values = room;
    } else if (channels == 1 && format_is_bilevel(c->format)) {
        rzl_unpack_bits(buffers[0], room, c->xsize, 0, c->vlt != nullptr ? 1 : 255); // the two entries of a table
        values = room;
    }
    store_line(spec, values, width, reinterpret_cast<char*>(spec->text));
    return put_all(c, spec->text, bytes, SOURCE) ? c->xsize : 0;
}
