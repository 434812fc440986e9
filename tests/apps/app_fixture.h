// What tests of the programs share: a directory of their own, running a built program, and small pairs made by hand.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "own_directory.h"
#include "raster/rzl.h"

struct run_result {
    int status; // exit status; 128 + signal
    std::string out, err;
};

class AppFixture : public OwnDirectory {
protected:
    void SetUp() override {
        setenv("VANTORAMA", TINCT_SOURCE_DIR "/data", 1);
        setenv("VANTORA_INI", (directory + "/none.ini").c_str(), 1);
    }

    // Runs "PROGRAM ARGUMENTS" by the shell, inside the test's directory.
    run_result run(const std::string& command) const {
        std::string err = directory + "/.stderr";
        std::string line = "cd '" + directory + "' && " TINCT_BIN_DIR "/" + command + " 2>'" + err + "'";
        run_result result = {0, "", ""};
        FILE* pipe = popen(line.c_str(), "r");
        char buffer[4096];
        for (size_t count = 0; (count = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            result.out.append(buffer, count);
        int status = pclose(pipe);
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        result.err = read(err);
        std::filesystem::remove(err);
        return result;
    }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory))
            names.push_back(entry.path().filename());
        return names;
    }

    // A native file of the given data format, grey in all planes: byte x + 10 y.
    std::string write_raster(const std::string& name, int32_t width, int32_t height, int32_t format = 27,
                             int32_t orientation = 4) const {
        std::string path = directory + "/" + name;
        CFILE* file = rzl_open_w(path.c_str());
        int32_t standard = 0;
        rzl_set_hdr_data(file, RZL_FIELD_STANDARD, &standard);
        rzl_set_hdr_data(file, RZL_FIELD_FORMAT, &format);
        rzl_set_hdr_data(file, RZL_FIELD_XSIZE, &width);
        rzl_set_hdr_data(file, RZL_FIELD_YSIZE, &height);
        rzl_set_hdr_data(file, RZL_FIELD_ORIENTATION, &orientation);
        std::vector<uint8_t> line(static_cast<size_t>(width));
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x)
                line[static_cast<size_t>(x)] = static_cast<uint8_t>(x + 10 * y);
            int failed = format == 27 || format == 28 ? rzl_putline3(file, line.data(), line.data(), line.data())
                                                      : rzl_putline(file, line.data());
            EXPECT_EQ(failed, 0);
        }
        EXPECT_EQ(rzl_finish(file), 0u);
        return path;
    }

    // still.tnc and still.rgb, 4 by 3: pen 1 (with u,v) on row 0, pen 2 (without) over it at column 1 and alone on
    // row 1.
    std::string write_pair(const std::string& stem = "still") const {
        write_raster(stem + ".rgb", 4, 3);
        std::string bytes("\xFA\x03\xF3\x01", 4);
        bytes += stem + ".rgb" + std::string(1, '\0');
        bytes += std::string("\xF9\x01\x00\xF9\x02\x01", 6);
        for (int x = 0; x < 4; ++x) {
            bytes += std::string("\x01\x64\x64\x64\x00\x80\x00\x80", 8); // pen 1, shade 100, u and v 32768
            if (x == 1) bytes += std::string("\x02\xC8\x0A\x0A", 4);     // pen 2, shade 200, 10, 10
            bytes += '\xFB';
        }
        bytes += '\xFD';
        bytes += std::string("\x02\x28\x28\x28", 4); // pen 2, shade 40
        bytes += '\xFF';
        return write(stem + ".tnc", bytes);
    }
};
