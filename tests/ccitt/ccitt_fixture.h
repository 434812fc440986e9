// What the tests of the fax codec share: bilevel pages, streams written as the digits of their codes, and the coding
// and decoding of whole pages.
#pragma once

#include "raster/core_fixture.h"

#include <random>

#include "raster/CCITT/ccitt.h"
#include "support/bytes.h"

using CcittTest = CoreTest;
using run_list = std::vector<uint16_t>;

// The same numbers on every machine.
struct random_source {
    std::mt19937 engine;
    explicit random_source(uint32_t seed) : engine(seed) {}
    uint32_t operator()() { return static_cast<uint32_t>(engine()); }
};

// Lines in the bit form, one behind the other.
struct page {
    uint32_t width, lines;
    bytes_of_file bits;

    page(uint32_t w, uint32_t h) : width(w), lines(h), bits(size_t{h} * pitch()) {}
    size_t pitch() const { return (size_t{width} + 15) / 16 * 2; }
    uint8_t* line(uint32_t y) { return bits.data() + y * pitch(); }
    const uint8_t* line(uint32_t y) const { return bits.data() + y * pitch(); }
    static size_t byte_of(uint32_t x) { return x / 16 * 2 + (x % 16 < 8 ? 1 : 0); }
    bool black(uint32_t x, uint32_t y) const { return (line(y)[byte_of(x)] >> (7 - x % 8) & 1) != 0; }
    void set(uint32_t x, uint32_t y) { line(y)[byte_of(x)] |= static_cast<uint8_t>(0x80 >> x % 8); }
};

// Lines of every character: white, black, letters that change little from line to line, noise, single pixels.
inline page make_page(uint32_t width, uint32_t lines, uint32_t seed) {
    page p(width, lines);
    random_source random(seed);
    std::vector<uint32_t> edges;
    for (uint32_t y = 0; y < lines; ++y) {
        uint32_t kind = y / 8 % 5;
        if (y % 8 == 0) {
            edges.clear();
            for (uint32_t x = 0; x < width; x += 1 + random() % (kind == 2 ? 3000 : 40))
                edges.push_back(x);
        }
        bool color = false;
        size_t at = 0;
        for (uint32_t x = 0; x < width; ++x) {
            if (kind == 0) break;
            if (kind == 3) color = random() % 2 != 0;
            // Single pixels, but not all of them: there are decoders with no room for as many runs as pixels and one.
            if (kind == 4) color = y % 8 == 0 || (x % 2 == y % 2 && x % 97 != 6);
            while ((kind == 1 || kind == 2) && at < edges.size() && x >= edges[at]) {
                color = !color;
                edges[at] += random() % 9 - (edges[at] > 4 ? 4 : 0);
                ++at;
            }
            if (color) p.set(x, y);
        }
    }
    return p;
}

// The digits of codes as a stream, the first in bit 0; anything else than 0 and 1 separates.
inline bytes_of_file stream_of(const std::string& digits) {
    bytes_of_file bytes;
    size_t count = 0;
    for (char digit : digits) {
        if (digit != '0' && digit != '1') continue;
        if (count % 8 == 0) bytes.push_back(0);
        if (digit == '1') bytes.back() |= static_cast<uint8_t>(1u << count % 8);
        ++count;
    }
    return bytes;
}

inline page page_of_runs(uint32_t width, const std::vector<run_list>& lines) {
    page p(width, static_cast<uint32_t>(lines.size()));
    for (uint32_t y = 0; y < p.lines; ++y) {
        uint32_t x = 0;
        for (size_t i = 0; i < lines[y].size(); ++i)
            for (uint32_t n = 0; n < lines[y][i]; ++n, ++x)
                if (i % 2 != 0) p.set(x, y);
        EXPECT_EQ(x, width) << "line " << y;
    }
    return p;
}

inline bytes_of_file encode(cit_coding coding, const page& p, int32_t k = 4) {
    cit_writer* w = cit_writer_new(coding, p.width, k);
    EXPECT_NE(w, nullptr);
    for (uint32_t y = 0; y < p.lines; ++y)
        EXPECT_EQ(cit_writer_bits(w, p.line(y)), CIT_OK);
    uint8_t* data = nullptr;
    size_t bytes = 0;
    EXPECT_EQ(cit_writer_finish(w, &data, &bytes), CIT_OK);
    bytes_of_file coded(data, data + bytes);
    cit_writer_free(w);
    return coded;
}

// Reads all lines in order. `bad`, when given, gets the lines that were damaged or missing.
inline page decode(cit_coding coding, uint32_t width, uint32_t lines, const bytes_of_file& coded,
                   std::vector<uint32_t>* bad = nullptr, bool* unended = nullptr) {
    page p(width, lines);
    cit_reader* r = cit_reader_new(coding, width, lines, coded.data(), coded.size(), 0);
    EXPECT_NE(r, nullptr);
    for (uint32_t y = 0; y < lines; ++y) {
        uint32_t result = cit_reader_bits(r, y, p.line(y));
        if (result != CIT_OK && bad != nullptr) bad->push_back(y);
        EXPECT_TRUE(result == CIT_OK || (result == CIT_BAD_DATA && bad != nullptr)) << "line " << y;
    }
    if (unended != nullptr) *unended = cit_reader_unended(r);
    cit_reader_free(r);
    return p;
}

// A decoder of whole images with a sink that grows.
struct whole_image {
    uint32_t result;
    cit_params params;
    std::vector<run_list> lines;
};

inline whole_image decode_whole(uint32_t (*decoder)(cit_params*, cit_sink*, cit_sink_call), uint32_t width,
                                uint32_t lines, const bytes_of_file& coded, int32_t k = -1) {
    whole_image image = {0, {width, lines, coded.data(), coded.size(), 0, k}, {}};
    std::vector<uint32_t> offsets(lines);
    cit_sink sink = {nullptr, offsets.data(), width, lines, 0, 0, true};
    image.result = decoder(&image.params, &sink, cit_sink_line);
    for (uint32_t i = 0; i < image.params.lines; ++i) {
        size_t end = i + 1 < image.params.lines ? offsets[i + 1] : sink.fill;
        image.lines.emplace_back(sink.runs + offsets[i], sink.runs + end);
    }
    mem_free(sink.runs);
    return image;
}
