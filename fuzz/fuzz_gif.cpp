// GIF files, both ways. Any bytes are opened as a file and read through every kind of call; what can be read whole is
// written anew, and must come back as it was. The bytes are also taken as the pixels of a picture that is written and
// read back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "memory_file.h"
#include "raster/rzl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr int64_t MOST_PIXELS = 1 << 20;
constexpr size_t FIXED_BYTES = 1024; // of a written file beside its pixels

// What a file holds, a byte a pixel.
struct picture {
    int32_t width = 0, height = 0;
    bytes pixels, colors;
    rzl_vlt_entry table[256] = {};
    bool whole = false;
};

// All lines in both kinds of calls; images of many pixels only at a few places.
picture read_picture(const char* name) {
    picture p;
    CFILE* c = rzl_open_r(name);
    if (c == nullptr) return p;
    if (field(c, RZL_FIELD_STANDARD) != RZL_STANDARD_GIF) {
        rzl_close(c);
        return p;
    }
    p.width = field(c, RZL_FIELD_XSIZE);
    p.height = field(c, RZL_FIELD_YSIZE);
    auto width = static_cast<size_t>(p.width);
    bytes line(width + 2), plain(width), colors(width * 3);
    demand(rzl_get_vlt(c, p.table) == 0);
    int64_t all = int64_t{p.width} * p.height;
    bool small = all <= MOST_PIXELS;
    bool good = true;
    for (int32_t y = 0; y < p.height && good; y += small ? 1 : p.height / 3 + 1) {
        good = rzl_seek(c, y) == 0 && rzl_getline(c, line.data()) == 0;
        std::memcpy(plain.data(), line.data(), width);
        if (field(c, RZL_FIELD_FORMAT) == RZL_FORMAT_BILEVEL_RUNS)
            rzl_unpack_bits(line.data(), plain.data(), p.width, 0, 1);
        good = good && rzl_seek(c, y) == 0 && rzl_getline3(c, &colors[0], &colors[width], &colors[width * 2]) == 0;
        p.pixels.insert(p.pixels.end(), plain.begin(), plain.end());
        p.colors.insert(p.colors.end(), colors.begin(), colors.end());
    }
    p.whole = good && small;
    rzl_close(c);
    return p;
}

void write_and_compare(const picture& p) {
    memory_file file(bytes(FIXED_BYTES + p.pixels.size() * 2));
    CFILE* c = rzl_open_w(file.name);
    demand(c != nullptr);
    const int32_t fields[][2] = {{RZL_FIELD_STANDARD, RZL_STANDARD_GIF},
                                 {RZL_FIELD_FORMAT, RZL_FORMAT_BYTE},
                                 {RZL_FIELD_XSIZE, p.width},
                                 {RZL_FIELD_YSIZE, p.height},
                                 {RZL_FIELD_VLT_TYPE, 2},
                                 {RZL_FIELD_VLT_ENTRIES, 256}};
    for (const auto& f : fields)
        demand(rzl_set_hdr_data(c, f[0], &f[1]) == 0);
    demand(rzl_put_vlt(c, p.table) == 0);
    for (int32_t y = 0; y < p.height; ++y)
        demand(rzl_putline(c, &p.pixels[static_cast<size_t>(y) * static_cast<size_t>(p.width)]) == 0);
    demand(rzl_finish(c) == 0);
    file.record.length = file.record.position;
    file.record.position = 0;
    picture back = read_picture(file.name);
    demand(back.whole && back.width == p.width && back.height == p.height && back.pixels == p.pixels);
    for (size_t i = 0; i < 256; ++i)
        demand(back.table[i].red >> 8 == p.table[i].red >> 8 && back.table[i].blue >> 8 == p.table[i].blue >> 8);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 8) return 0;
    memory_file file(bytes(data, data + size));
    picture p = read_picture(file.name);
    if (p.whole) {
        for (int i = 0; i < 256; ++i)
            p.table[i].slot = static_cast<uint16_t>(i);
        write_and_compare(p);
    }
    picture made;
    made.width = 1 + data[0] % 64;
    made.height = static_cast<int32_t>((size - 1) / static_cast<size_t>(made.width));
    if (made.height < 1) return 0;
    made.pixels.assign(data + 1, data + 1 + static_cast<ptrdiff_t>(made.width) * made.height);
    write_and_compare(made);
    return 0;
}
