// The fixture of tests that work with files: a directory of the test's own, which goes with it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <stdlib.h>

class OwnDirectory : public testing::Test {
protected:
    OwnDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tinct-test-XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        directory = pattern;
    }
    ~OwnDirectory() override { std::filesystem::remove_all(directory); }
    std::string path(const std::string& name) const { return directory + "/" + name; }

    // Writes a file in the directory. Its path.
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }
    static std::string read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::string directory;
};
