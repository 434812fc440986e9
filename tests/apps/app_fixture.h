// What tests of the programs share: a directory of their own, running a built program, and small pairs made by hand.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "common/own_directory.h"
#include "common/pictures.h"
#include "common/places.h"
#include "common/run.h"

class AppFixture : public OwnDirectory {
protected:
    void SetUp() override {
        setenv("VANTORAMA", (source_dir() + "/data").c_str(), 1);
        setenv("VANTORA_INI", (directory + "/none.ini").c_str(), 1);
    }

    // Runs "PROGRAM ARGUMENTS" by the shell, inside the test's directory.
    run_result run(const std::string& command) const { return run_command(directory, bin_dir() + "/" + command); }

    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory))
            names.push_back(entry.path().filename());
        return names;
    }

    // A native file of the given data format, grey in all planes: byte x + 10 y.
    std::string write_raster(const std::string& name, int32_t width, int32_t height, int32_t format = 27,
                             int32_t orientation = 4) const {
        write_native(
            path(name), width, height, format, [](int x, int y, int) { return x + 10 * y; }, orientation);
        return path(name);
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
