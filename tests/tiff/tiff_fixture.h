// What the tests of TIFF files share: pictures, their way through the library and through portable anymaps, and files
// made by hand, entry by entry. Offsets and tags are written as numbers on purpose.
#pragma once

#include "common/failures.h"
#include "common/pictures.h"
#include "common/run.h"
#include "raster/core_fixture.h"

#include <cstring>
#include <map>
#include <random>
#include <sstream>

#include "raster/TIFF/tiff.h"
#include "support/bytes.h"

// Samples of any depth, pixel by pixel.
struct picture {
    int width = 0, height = 0, samples = 1, bits = 8;
    std::vector<uint32_t> values;
    uint32_t& at(int x, int y, int s = 0) { return values[static_cast<size_t>((y * width + x) * samples + s)]; }
    uint32_t at(int x, int y, int s = 0) const { return values[static_cast<size_t>((y * width + x) * samples + s)]; }
    bool operator==(const picture&) const = default;
};

// Plain areas, ramps and noise: runs of all lengths for every coding.
inline picture make_picture(int width, int height, int samples, int bits) {
    picture p{width, height, samples, bits, {}};
    std::mt19937 random(static_cast<unsigned>(width * 31 + height + bits));
    uint32_t mask = bits < 32 ? (1u << bits) - 1 : ~0u;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int s = 0; s < samples; ++s) {
                uint32_t ramp = static_cast<uint32_t>(x * (s + 3) + y * 5);
                uint32_t value = y % 5 == 0  ? static_cast<uint32_t>(s + y / 5)
                                 : y % 5 < 3 ? ramp / 9
                                             : static_cast<uint32_t>(random());
                p.values.push_back(value & mask);
            }
    return p;
}

class TiffTest : public CoreTest {
protected:
    // Runs a command in the test's directory. Its output, both kinds, is in `said`.
    bool run(const std::string& command) {
        run_result result = run_command(directory, command);
        said = result.out + result.err;
        return result.ok();
    }
    std::string said;
};

// ---- portable anymaps

inline bytes_of_file pnm_of(const picture& p) {
    std::string samples;
    for (int y = 0; y < p.height; ++y)
        for (int i = 0; i < p.width * p.samples; ++i) {
            uint32_t v = p.at(i / p.samples, y, i % p.samples);
            if (p.bits > 8) samples.push_back(static_cast<char>(v >> 8));
            if (p.bits > 1 || i % 8 == 0) samples.push_back(static_cast<char>(p.bits > 1 ? v : 0));
            if (p.bits == 1 && v != 0) samples.back() = static_cast<char>(samples.back() | 0x80 >> i % 8);
        }
    char kind = p.bits == 1 ? '4' : p.samples == 1 ? '5' : '6';
    return bytes_of(anymap(kind, p.width, p.height, samples, (1 << p.bits) - 1));
}

// ---- through the library

// A sample of a line as the library gives it, back to its value.
inline uint32_t line_value(const bytes_of_file& line, int x, int bits, bool colour) {
    auto i = static_cast<size_t>(x);
    if (bits == 1 && !colour) return line[i / 16 * 2 + (i % 16 < 8 ? 1 : 0)] >> (7 - i % 8) & 1;
    if (bits <= 8) return line[i] >> (8 - bits);
    if (colour) return line[i];
    return bits <= 16 ? load_u16le(&line[2 * i]) : load_u32le(&line[4 * i]);
}

// What the library reads: the image or overview that is active, through planes or interleaved.
inline picture read_active(CFILE* c, bool interleaved = false) {
    picture p{field_of(c, 1), field_of(c, 2), field_of(c, 506), field_of(c, 507), {}};
    auto room = static_cast<size_t>(p.width) * 4 + 16;
    std::vector<bytes_of_file> planes(4, bytes_of_file(room));
    bytes_of_file pixels(room * 4);
    void* all[4] = {planes[0].data(), planes[1].data(), planes[2].data(), planes[3].data()};
    bool colour = p.samples > 1;
    for (int y = 0; y < p.height; ++y) {
        int failed = interleaved ? rzl_getline_interleaved(c, pixels.data()) : rzl_getline_channels(c, p.samples, all);
        if (failed != 0) return {};
        for (int x = 0; x < p.width; ++x)
            for (int s = 0; s < p.samples; ++s)
                p.values.push_back(interleaved ? line_value(pixels, x * p.samples + s, p.bits, colour)
                                               : line_value(planes[static_cast<size_t>(s)], x, p.bits, colour));
    }
    return p;
}

inline picture read_library(const std::string& path, bool interleaved = false) {
    CFILE* c = rzl_open_r(path.c_str());
    if (c == nullptr) return {};
    picture p = read_active(c, interleaved);
    rzl_close(c);
    return p;
}

// The lines of a picture, from `first` on up to `end`, into the active image. How many were put.
inline int put_lines(CFILE* c, const picture& p, int first, int end, bool interleaved = false) {
    auto room = static_cast<size_t>(p.width) * 4 + 16;
    std::vector<bytes_of_file> planes(4, bytes_of_file(room));
    bytes_of_file pixels(room * 4);
    const void* all[4] = {planes[0].data(), planes[1].data(), planes[2].data(), planes[3].data()};
    int put = 0;
    for (int y = first; y < end; ++y) {
        std::fill(planes[0].begin(), planes[0].end(), uint8_t{0});
        for (int x = 0; x < p.width; ++x)
            for (int s = 0; s < p.samples; ++s) {
                uint32_t v = p.at(x, y, s);
                auto i = static_cast<size_t>(x);
                bytes_of_file& line = planes[static_cast<size_t>(s)];
                pixels[i * static_cast<size_t>(p.samples) + static_cast<size_t>(s)] = static_cast<uint8_t>(v);
                if (p.bits == 1) {
                    if (v != 0) line[i / 16 * 2 + (i % 16 < 8 ? 1 : 0)] |= static_cast<uint8_t>(0x80 >> i % 8);
                } else if (p.bits <= 8) {
                    line[i] = static_cast<uint8_t>(v << (8 - p.bits));
                } else if (p.bits <= 16) {
                    store_u16le(&line[2 * i], static_cast<uint16_t>(v));
                } else {
                    store_u32le(&line[4 * i], v);
                }
            }
        int failed = interleaved ? rzl_putline_interleaved(c, pixels.data()) : rzl_putline_channels(c, p.samples, all);
        put += failed == 0 ? 1 : 0;
    }
    return put;
}

// The data format without coding for a picture.
inline int32_t plain_format(const picture& p) {
    if (p.samples == 3) return 28;
    if (p.samples == 4) return 69;
    return p.bits == 1 ? 1 : p.bits <= 8 ? 2 : p.bits <= 16 ? 3 : 4;
}

// A new file for the picture, with more fields set, and no header yet.
inline CFILE* new_tiff(const std::string& path, const picture& p, const field_values& fields = {},
                       bool readback = false) {
    CFILE* c = opened(readback ? rzl_open_wr(path.c_str()) : rzl_open_w(path.c_str()));
    set_fields(c, {{500, 1}, {3, plain_format(p)}, {1, p.width}, {2, p.height}, {507, p.bits}});
    set_fields(c, fields);
    return c;
}

// Writes the picture. The outcome of the close.
inline uint32_t write_library(const std::string& path, const picture& p, const field_values& fields = {},
                              bool interleaved = false) {
    CFILE* c = new_tiff(path, p, fields);
    EXPECT_EQ(put_lines(c, p, 0, p.height, interleaved), p.height);
    return rzl_finish(c);
}

// ---- files by hand

struct hand_entry {
    uint16_t tag, type;
    std::vector<uint32_t> values;
};

// A file of one byte order: a header, then blocks and directories where the test puts them.
struct hand_file {
    bool big;
    bytes_of_file bytes;

    explicit hand_file(bool big_endian) : big(big_endian) {
        bytes = big ? bytes_of_file{'M', 'M', 0, 42, 0, 0, 0, 0} : bytes_of_file{'I', 'I', 42, 0, 0, 0, 0, 0};
    }
    void put16(size_t at, uint32_t v) {
        big ? store_u16be(&bytes[at], uint16_t(v)) : store_u16le(&bytes[at], uint16_t(v));
    }
    void put32(size_t at, uint32_t v) { big ? store_u32be(&bytes[at], v) : store_u32le(&bytes[at], v); }
    uint32_t add(const bytes_of_file& block) {
        auto at = static_cast<uint32_t>(bytes.size());
        bytes.insert(bytes.end(), block.begin(), block.end());
        return at;
    }
    // A directory at the end, with its values behind it, and the pointer at `pointer` to it. Where its own pointer is.
    size_t add_directory(const std::vector<hand_entry>& entries, size_t pointer = 4) {
        size_t at = bytes.size();
        put32(pointer, static_cast<uint32_t>(at));
        bytes.resize(at + 2 + entries.size() * 12 + 4);
        put16(at, static_cast<uint32_t>(entries.size()));
        size_t entry = at + 2;
        for (const hand_entry& e : entries) {
            size_t size = e.type == 3 ? 2 : e.type == 1 || e.type == 2 ? 1 : 4;
            auto count = e.type == 5 ? e.values.size() / 2 : e.values.size();
            size_t value = entry + 8;
            put16(entry, e.tag);
            put16(entry + 2, e.type);
            put32(entry + 4, static_cast<uint32_t>(count));
            if (e.values.size() * size > 4) {
                value = bytes.size();
                bytes.resize(value + e.values.size() * size);
                put32(entry + 8, static_cast<uint32_t>(value));
            }
            for (uint32_t v : e.values) {
                if (size == 1) bytes[value] = static_cast<uint8_t>(v);
                if (size == 2) put16(value, v);
                if (size == 4) put32(value, v);
                value += size;
            }
            entry += 12;
        }
        return entry;
    }
};

// The entries of a grey image of one strip.
inline std::vector<hand_entry> grey_entries(uint32_t width, uint32_t height, uint32_t bits, uint32_t compression,
                                            uint32_t offset, uint32_t size) {
    return {{256, 3, {width}}, {257, 3, {height}}, {258, 3, {bits}},   {259, 3, {compression}},
            {262, 3, {1}},     {273, 4, {offset}}, {278, 3, {height}}, {279, 4, {size}}};
}
