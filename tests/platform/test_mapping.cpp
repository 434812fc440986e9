// Files as memory, and what a file that is cut behind the mapping's back leaves of it.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/mapping.h"

namespace {

constexpr size_t BYTES = 100'000;

class Mapping : public testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/tinct-mapping-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root = pattern;
        name = root / "file";
        std::ofstream(name, std::ios::binary) << std::string(BYTES, 'x');
        file = files_open(name.c_str(), FILES_READ);
        ASSERT_NE(file, OS_FILE_NONE);
    }
    void TearDown() override {
        files_close(file);
        std::filesystem::remove_all(root);
    }
    std::filesystem::path root, name;
    os_file file = OS_FILE_NONE;
};

} // namespace

TEST_F(Mapping, AFileThatIsCutLeavesZerosInItsOwnMapping) {
    file_mapping cut = {};
    file_mapping other = {};
    ASSERT_TRUE(mapping_make(file, 0, BYTES, &cut));
    EXPECT_EQ(cut.bytes[BYTES - 1], 'x');

    std::filesystem::path second = root / "second";
    std::filesystem::copy_file(name, second);
    os_file whole = files_open(second.c_str(), FILES_READ);
    ASSERT_TRUE(mapping_make(whole, 0, BYTES, &other));

    std::filesystem::resize_file(name, 10'000);
    EXPECT_FALSE(mapping_is_cut(&cut)) << "nothing that is gone was touched";
    EXPECT_EQ(cut.bytes[9'999], 'x');
    EXPECT_EQ(cut.bytes[50'000], 0);
    EXPECT_TRUE(mapping_is_cut(&cut));
    EXPECT_EQ(cut.bytes[BYTES - 1], 0);
    EXPECT_EQ(cut.bytes[0], 'x') << "what is there stays";

    EXPECT_EQ(other.bytes[BYTES - 1], 'x');
    EXPECT_FALSE(mapping_is_cut(&other));
    mapping_drop(&cut);
    mapping_drop(&other);
    files_close(whole);
}

TEST_F(Mapping, OtherBusErrorsTakeTheirOwnCourse) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto touch_foreign_pages = [&] {
        file_mapping ours = {};
        bool made = mapping_make(file, 0, BYTES, &ours);
        void* foreign = mmap(nullptr, BYTES, PROT_READ, MAP_SHARED, static_cast<int>(file), 0);
        if (!made || foreign == MAP_FAILED || truncate(name.c_str(), 0) != 0) std::_Exit(0);
        volatile const char* gone = static_cast<const char*>(foreign) + 50'000;
        std::_Exit(*gone == 0 ? 0 : 3);
    };
    EXPECT_DEATH(touch_foreign_pages(), "");
    auto pass_to_earlier_handler = [&] {
        std::signal(SIGBUS, [](int) { std::_Exit(42); });
        touch_foreign_pages();
    };
    EXPECT_EXIT(pass_to_earlier_handler(), testing::ExitedWithCode(42), "");
}

TEST_F(Mapping, ManyPartsAndNoMore) {
    std::vector<file_mapping> parts;
    file_mapping part = {};
    while (parts.size() < 10'000 && mapping_make(file, 0, BYTES, &part))
        parts.push_back(part);
    EXPECT_GT(parts.size(), 200u);
    EXPECT_LT(parts.size(), 10'000u) << "the handler knows so many";
    EXPECT_EQ(part.bytes, nullptr);
    for (file_mapping& p : parts) {
        EXPECT_EQ(p.bytes[BYTES - 1], 'x');
        mapping_drop(&p);
    }
    EXPECT_TRUE(mapping_make(file, 0, BYTES, &part)) << "and places are given back";
    mapping_drop(&part);
    mapping_drop(&part);
}

TEST_F(Mapping, APlannedShortReadMapsLess) {
    file_mapping part = {};
    files_fail_after(0, files_fail::once);
    bool made = mapping_make(file, 0, BYTES, &part);
    EXPECT_TRUE(files_fail_stop());
    EXPECT_TRUE(made);
    EXPECT_EQ(part.size, BYTES / 2);
    mapping_drop(&part);
    files_fail_after(0, files_fail::nothing);
    EXPECT_FALSE(mapping_make(file, 0, BYTES, &part));
    files_fail_stop();
    EXPECT_FALSE(mapping_make(OS_FILE_NONE, 0, BYTES, &part));
}
