// Small pictures in files: portable anymaps for other programs, and native rasters; and which formats a build has.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "raster/rzl.h"

// Whether this build has the standard: some need a library that it can be built without.
inline bool is_built(int standard) {
    int read = 0;
    return rzl_standard_support(standard, nullptr, &read) == 0 && read != 0;
}

// A portable anymap as bytes: P4 (packed bits), P5 (grey) or P6 (triples), rows from the top.
inline std::string anymap(char kind, int width, int height, const std::string& samples, int top = 255) {
    std::string head = {'P', kind, '\n'};
    head += std::to_string(width) + " " + std::to_string(height) + "\n";
    if (kind != '4') head += std::to_string(top) + "\n";
    return head + samples;
}

// The byte of plane `plane` at x, y.
using pixel_rule = std::function<int(int x, int y, int plane)>;

// Writes a native raster of a data format with bytes in one plane or three.
inline void write_native(const std::string& path, int32_t width, int32_t height, int32_t format, const pixel_rule& rule,
                         int32_t orientation = 4) {
    CFILE* file = rzl_open_w(path.c_str());
    ASSERT_NE(file, nullptr) << path;
    const struct {
        int32_t field, value;
    } fields[] = {{RZL_FIELD_STANDARD, RZL_STANDARD_KRVN},
                  {RZL_FIELD_FORMAT, format},
                  {RZL_FIELD_XSIZE, width},
                  {RZL_FIELD_YSIZE, height},
                  {RZL_FIELD_ORIENTATION, orientation}};
    for (const auto& f : fields)
        EXPECT_EQ(rzl_set_hdr_data(file, f.field, &f.value), 0) << f.field;
    const bool colour = format == RZL_FORMAT_PLANE_RUNS || format == RZL_FORMAT_RGB || format == RZL_FORMAT_COLOR_RUNS;
    std::vector<uint8_t> planes[3];
    for (int y = 0; y < height; ++y) {
        for (int p = 0; p < (colour ? 3 : 1); ++p) {
            planes[p].resize(static_cast<size_t>(width));
            for (int x = 0; x < width; ++x)
                planes[p][static_cast<size_t>(x)] = static_cast<uint8_t>(rule(x, y, p));
        }
        EXPECT_EQ(colour ? rzl_putline3(file, planes[0].data(), planes[1].data(), planes[2].data())
                         : rzl_putline(file, planes[0].data()),
                  0);
    }
    EXPECT_EQ(rzl_finish(file), 0u);
}
