// What tests of the tools share: a directory of their own, and fonts made byte by byte.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/own_directory.h"
#include "support/bytes.h"
#include "support/memory.h"
#include "tools/font.h"
#include "tools/toolfile.h"

using bytes = std::vector<uint8_t>;

// A glyph of a test font: its code, its entry, and the bytes of its bitmap as they stand in the file.
struct test_glyph {
    char code;
    uint8_t width, height;
    int x_offset;
    uint8_t y_offset, advance, depth;
    bytes bitmap;
};

inline bytes font_of(const std::vector<test_glyph>& glyphs) {
    bytes file(268 + 8 * glyphs.size());
    bytes area;
    std::copy_n("FONT", 4, file.begin());
    for (size_t n = 0; n < glyphs.size(); ++n) {
        const test_glyph& g = glyphs[n];
        uint8_t* entry = &file[268 + 8 * n];
        file[12 + static_cast<uint8_t>(g.code)] = static_cast<uint8_t>(n + 1);
        store_u16le(entry, static_cast<uint16_t>(area.size()));
        bytes rest = {g.width, g.height, static_cast<uint8_t>(g.x_offset), g.y_offset, g.advance, g.depth};
        std::copy(rest.begin(), rest.end(), entry + 2);
        area.insert(area.end(), g.bitmap.begin(), g.bitmap.end());
    }
    store_u32le(&file[8], static_cast<uint32_t>(file.size() - 8));
    file.insert(file.end(), area.begin(), area.end());
    store_u32le(&file[4], static_cast<uint32_t>(file.size() - 8));
    return file;
}

class ToolsFixture : public OwnDirectory {
protected:
    void SetUp() override { live_before = mem_live(); }
    void TearDown() override {
        fonts_unload();
        root_dir[0] = '\0';
        EXPECT_EQ(mem_live(), live_before);
    }
    std::string write(const std::string& name, const bytes& content) const {
        std::string path = directory + "/" + name;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
        return path;
    }
    long live_before = 0;
};
