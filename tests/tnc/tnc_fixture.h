// What the tests of rendered images share: records as bytes, files of them, an LZW writer, and a recorder for messages
// and stops.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "support/log.h"
#include "support/memory.h"
#include "tnc/penpack.h"
#include "tnc/tnc.h"

using bytes = std::vector<uint8_t>;

inline bytes operator+(bytes a, const bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline uint8_t low(int v) {
    return static_cast<uint8_t>(v);
}
inline uint8_t high(int v) {
    return static_cast<uint8_t>(v >> 8);
}

// Packs codes as the compress tool does: blocks of eight codes of one width, filled up when the width changes.
struct lzw_writer {
    bytes out;
    bytes block;
    int bits = 9;
    int used = 0; // bits of the block

    lzw_writer(int max_bits, bool block_mode) : out{0x1F, 0x9D, low(max_bits | (block_mode ? 0x80 : 0))} {}

    void code(int value) {
        block.resize(static_cast<size_t>(bits));
        for (int i = 0; i < bits; ++i, ++used) {
            if ((value >> i & 1) != 0) block[static_cast<size_t>(used / 8)] |= low(1 << used % 8);
        }
        if (used == bits * 8) change_width(bits);
    }
    void change_width(int width) { // also fills up the block
        if (used > 0) out.insert(out.end(), block.begin(), block.end());
        block.clear();
        used = 0;
        bits = width;
    }
    bytes finish() {
        block.resize(static_cast<size_t>((used + 7) / 8));
        out.insert(out.end(), block.begin(), block.end());
        return out;
    }
};

// Compresses with a map of strings, each named by the code of its front part and its last byte; clears the table every
// `clear_every` codes (0: never).
inline bytes compressed(const bytes& data, int max_bits, bool block_mode, int clear_every) {
    lzw_writer writer(max_bits, block_mode);
    std::unordered_map<int, int> table;
    const int first = block_mode ? 257 : 256;
    int next = first;
    int since_clear = 0;
    int match = -1;
    for (uint8_t byte : data) {
        if (match < 0) {
            match = byte;
            continue;
        }
        auto longer = table.find(match << 8 | byte);
        if (longer != table.end()) {
            match = longer->second;
            continue;
        }
        writer.code(match);
        // The decoder is one entry behind, so the width grows when its table, not ours, is past the width.
        if (next > (1 << writer.bits) - 1 + (writer.bits == max_bits ? 1 : 0)) writer.change_width(writer.bits + 1);
        if (next < 1 << max_bits) table[match << 8 | byte] = next++;
        match = byte;
        if (block_mode && clear_every > 0 && ++since_clear == clear_every) {
            writer.code(256);
            writer.change_width(9);
            table.clear();
            next = first;
            since_clear = 0;
        }
    }
    if (match >= 0) writer.code(match);
    return writer.finish();
}

// Records messages and stops for the life of a test, and looks for leaks at its end.
struct tnc_test : ::testing::Test {
    std::string messages;
    int stops = 0;
    std::string path;
    long live = 0;

    void SetUp() override {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        path = (std::filesystem::temp_directory_path() /
                (std::string("tnc_") + info->test_suite_name() + "_" + info->name() + ".tnc"))
                   .string();
        live = mem_live();
        log_set_sink(
            [](void* user, int level, const char* text) {
                static_cast<tnc_test*>(user)->messages += std::to_string(level) + ":" + text + "\n";
            },
            this);
        stop_set_action([](void* user, int status) { static_cast<tnc_test*>(user)->stops += status; }, this);
    }
    void TearDown() override {
        log_set_sink(nullptr, nullptr);
        stop_set_action(nullptr, nullptr);
        std::filesystem::remove(path);
        penpack_release_scratch();
        EXPECT_EQ(mem_live(), live);
    }

    void write(const bytes& content) const {
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    }
    tnc_image* read(const bytes& content, int32_t line_count) {
        messages.clear();
        stops = 0;
        write(content);
        return tnc_read(path.c_str(), line_count);
    }
};

// ---- records ---------------------------------------------------------------------------------------------------

inline const bytes START = {250, 3};
inline const bytes COLUMN = {251};
inline const bytes LINE = {253};
inline const bytes END = {255};
inline bytes pen_record(int pen, bool uv) {
    return {249, low(pen), low(uv ? 0 : 1)};
}
inline bytes shade_record(int pen, int shade) {
    return {low(pen), low(shade), low(shade), low(shade)};
}
inline bytes packed_record(int pen, int y, const bytes& code) {
    int length = static_cast<int>(code.size());
    return bytes{241, low(pen), low(y), high(y), low(length), high(length)} + code;
}
inline bytes skip_record(int code, int count) {
    return {low(code), low(count), high(count)};
}

// All pixels of an image as text, "pen:x,y=r/g/b/u/v " each.
inline std::string pixels_of(const tnc_image* image) {
    std::string text;
    for (int pen = 0; pen < PEN_COUNT; ++pen) {
        if (pen_defined(image, pen) == 0) continue;
        text += std::to_string(pen) + ":";
        pen_for_each_pixel(image, pen, &text,
                           [](void* user, int32_t x, int32_t y, int32_t r, int32_t g, int32_t b, int32_t u, int32_t v) {
                               char one[96];
                               std::snprintf(one, sizeof one, "%d,%d=%d/%d/%d/%d/%d ", x, y, r, g, b, u, v);
                               *static_cast<std::string*>(user) += one;
                           });
    }
    return text;
}
