// What the tests of GIF files share: files made by hand with a coder of their own, files written through the library,
// and what is read back. Offsets are written as numbers on purpose: the tests are the second opinion on the layout.
#pragma once

#include "raster/core_fixture.h"

#include <map>
#include <random>

using GifTest = CoreTest;

// The LZW coding of pixels as bytes without blocks, told by its rules: strings in a map. With `deferred` no clear code
// is written but at the start, so that the full table stays; with `clear_first` off not even there.
inline bytes_of_file code_pixels(const bytes_of_file& pixels, int code_size, bool deferred, bool clear_first = true) {
    bytes_of_file out, string;
    std::map<bytes_of_file, unsigned> strings;
    const unsigned clear = 1u << code_size;
    unsigned filled = 0, next = clear + 2;
    int width = code_size + 1;
    auto put = [&](unsigned code) {
        for (int i = 0; i < width; ++i, ++filled) {
            if (filled % 8 == 0) out.push_back(0);
            if ((code >> i & 1) != 0) out.back() = static_cast<uint8_t>(out.back() | 1u << filled % 8);
        }
    };
    auto put_string = [&] { put(string.size() == 1 ? string[0] : strings.at(string)); };
    if (clear_first) put(clear);
    for (uint8_t p : pixels) {
        bytes_of_file longer = string;
        longer.push_back(p);
        if (longer.size() == 1 || strings.count(longer) != 0) {
            string = longer;
            continue;
        }
        put_string();
        string = {p};
        if (next < 4096) {
            strings[longer] = next++;
            if (next == (1u << width) + 1 && width < 12) ++width;
        } else if (!deferred) {
            put(clear);
            strings.clear();
            next = clear + 2;
            width = code_size + 1;
        }
    }
    if (!string.empty()) put_string();
    if (next == 1u << width && width < 12) ++width;
    put(clear + 1);
    return out;
}

// A GIF file as its parts.
struct gif_parts {
    int width = 1, height = 1;
    int screen_packed = 0; // 0x80 + size field: with a table
    bytes_of_file table, before, local_table;
    int image_packed = 0; // 0x80: with a table, 0x40: interlaced
    int code_size = 8;
    bytes_of_file data; // without blocks

    bytes_of_file file() const {
        auto low = [](int v) { return static_cast<uint8_t>(v); };
        const bytes_of_file size = {low(width), low(width >> 8), low(height), low(height >> 8)};
        bytes_of_file b = bytes_of("GIF89a");
        auto append = [&](const bytes_of_file& more) { b.insert(b.end(), more.begin(), more.end()); };
        append(size);
        append({low(screen_packed), 0, 0});
        append(table);
        append(before);
        append({0x2C, 0, 0, 0, 0});
        append(size);
        append({low(image_packed)});
        append(local_table);
        append({low(code_size)});
        for (auto at = data.begin(); at != data.end();) {
            auto n = std::min<ptrdiff_t>(255, data.end() - at);
            b.push_back(static_cast<uint8_t>(n));
            b.insert(b.end(), at, at + n);
            at += n;
        }
        append({0, 0x3B});
        return b;
    }
};

inline bytes_of_file random_bytes(size_t count, int values, unsigned seed) {
    std::mt19937 random(seed);
    bytes_of_file out(count);
    for (uint8_t& b : out)
        b = static_cast<uint8_t>(random() % static_cast<unsigned>(values));
    return out;
}

// A picture with runs and noise in it, of values below `values`.
inline bytes_of_file some_pixels(int width, int height, int values, unsigned seed) {
    bytes_of_file out = random_bytes(static_cast<size_t>(width) * static_cast<size_t>(height), values, seed);
    for (size_t i = 0; i < out.size(); ++i)
        if (i / 7 % 3 != 0) out[i] = static_cast<uint8_t>(i / 40 % static_cast<unsigned>(values));
    return out;
}

// What a file holds: indices (or bilevel pixels as 0 and 1), and colours as red, green, blue triples. `status` is that
// of the first failure.
struct picture_read {
    int32_t format = 0, bits = 0, entries = 0;
    bytes_of_file pixels, colors;
    bool damaged = false;
    uint32_t status = 0;
};

inline picture_read read_gif(const std::string& path) {
    picture_read p;
    CFILE* c = rzl_open_r(path.c_str());
    if (c == nullptr) {
        p.status = library_status();
        return p;
    }
    p.format = field_of(c, 3);
    p.bits = field_of(c, 507);
    p.entries = field_of(c, 6);
    auto width = static_cast<size_t>(field_of(c, 1));
    bytes_of_file line(width + 2), plain(width), red(width), green(width), blue(width);
    for (int y = 0; y < c->ysize; ++y) {
        if (rzl_getline(c, line.data()) != 0 && p.status == 0) p.status = status_of(c);
        std::copy_n(line.begin(), width, plain.begin());
        if (p.format == 9) rzl_unpack_bits(line.data(), plain.data(), c->xsize, 0, 1);
        p.pixels.insert(p.pixels.end(), plain.begin(), plain.end());
        rzl_seek(c, y);
        if (rzl_getline3(c, red.data(), green.data(), blue.data()) != 0) break;
        for (size_t x = 0; x < width; ++x)
            p.colors.insert(p.colors.end(), {red[x], green[x], blue[x]});
    }
    p.damaged = rzl_is_damaged(c) != 0;
    rzl_close(c);
    return p;
}

using color_table = std::vector<rzl_vlt_entry>;

// A new file whose header is not written yet, with a colour table when one is given. The table must live on.
inline CFILE* new_gif(const std::string& path, int format, int width, int height, const color_table& table = {},
                      CFILE* (*open)(const char*) = rzl_open_w) {
    CFILE* c = open(path.c_str());
    if (c == nullptr) return nullptr;
    bool good = set_field_to(c, 500, 2) == 0 && set_field_to(c, 3, format) == 0 && set_field_to(c, 1, width) == 0 &&
                set_field_to(c, 2, height) == 0 && set_field_to(c, 6, static_cast<int32_t>(table.size())) == 0;
    if (!table.empty()) rzl_put_vlt(c, table.data());
    if (good) return c;
    uint32_t failed = c->status;
    rzl_close(c);
    set_last_status(failed);
    return nullptr;
}

// Writes a picture of one byte a pixel. The status of the first failure, or of the close.
inline uint32_t write_gif(const std::string& path, int width, int height, const bytes_of_file& pixels,
                          const color_table& table = {}) {
    CFILE* c = new_gif(path, 29, width, height, table);
    if (c == nullptr) return library_status();
    uint32_t failed = 0;
    for (int y = 0; y < height && failed == 0; ++y)
        if (rzl_putline(c, &pixels[static_cast<size_t>(y) * static_cast<size_t>(width)]) != 0) failed = c->status;
    uint32_t outcome = rzl_finish(c);
    return failed != 0 ? failed : outcome;
}

// A table of 256 colours that are all different, in no order.
inline color_table some_table() {
    color_table table;
    for (int i = 0; i < 256; ++i) {
        auto word = [](int v) { return static_cast<uint16_t>(v % 256 * 256); };
        table.push_back({static_cast<uint16_t>(i), word(i * 77), word(i * 11), word(255 - i)});
    }
    return table;
}
