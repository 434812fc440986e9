// The fixture of tests that work with files: a directory of the test's own, which goes with it.
#pragma once

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <stdlib.h>

class OwnDirectory : public testing::Test {
protected:
    OwnDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "tinct-test-XXXXXX").string();
        const char* made = mkdtemp(pattern.data());
        EXPECT_NE(made, nullptr);
        directory = pattern;
    }
    ~OwnDirectory() override { std::filesystem::remove_all(directory); }
    std::string path(const std::string& name) const { return directory + "/" + name; }

    std::string directory;
};
