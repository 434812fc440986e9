// What the tests of GIF files share: files made by hand with a coder of their own. Offsets are written as numbers on
// purpose: the tests are the second opinion on the layout.
#pragma once

#include "raster/formats_fixture.h"

#include <map>

// The LZW coding of pixels as bytes without blocks, told by its rules: a string is the code of all but its last pixel,
// and that pixel. With `deferred` no clear code is written but at the start, so that the full table stays; with
// `clear_first` off not even there.
inline bytes_of_file code_pixels(const bytes_of_file& pixels, int code_size, bool deferred, bool clear_first = true) {
    bytes_of_file out;
    std::map<std::pair<unsigned, uint8_t>, unsigned> strings;
    const unsigned clear = 1u << code_size;
    unsigned filled = 0, next = clear + 2;
    int width = code_size + 1;
    auto put = [&](unsigned code) {
        for (int i = 0; i < width; ++i, ++filled) {
            if (filled % 8 == 0) out.push_back(0);
            if ((code >> i & 1) != 0) out.back() = static_cast<uint8_t>(out.back() | 1u << filled % 8);
        }
    };
    if (clear_first) put(clear);
    unsigned string = pixels.empty() ? 0 : pixels[0];
    for (size_t i = 1; i < pixels.size(); ++i) {
        const auto longer = std::pair(string, pixels[i]);
        if (const auto found = strings.find(longer); found != strings.end()) {
            string = found->second;
            continue;
        }
        put(string);
        string = pixels[i];
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
    if (!pixels.empty()) put(string);
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
        bytes_made b;
        b.text("GIF89a").u16(width).u16(height).number(screen_packed, 3).bytes(table).bytes(before);
        b.digits("2C 0000 0000").u16(width).u16(height).number(image_packed, 1).bytes(local_table).number(code_size, 1);
        for (size_t at = 0; at < data.size(); at += 255) {
            const bytes_of_file block = part(data, static_cast<long>(at), 255);
            b.number(static_cast<int64_t>(block.size()), 1).bytes(block);
        }
        return b.digits("00 3B").made;
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
