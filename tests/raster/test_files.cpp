// The four file sets: each against a plain vector under random operations, and the rules in which they differ.
#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <unistd.h>

#include "platform/files.h"
#include "raster/CORE/fileword.h"
#include "raster/core_fixture.h"

namespace {

constexpr size_t VIEW = 0x20000;

bytes_of_file patterned(size_t size) {
    bytes_of_file bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
    return bytes;
}

// A bare handle for a file set, without a format.
CFILE* bare_handle(uint32_t mode) {
    auto* c = static_cast<CFILE*>(mem_alloc(sizeof(CFILE)));
    EXPECT_TRUE(rzl_init_cfile(c));
    c->mode = mode;
    return c;
}

CFILE* open_set(void (*set)(CFILE*), const std::string& name, const char* mode, uint32_t access) {
    CFILE* c = bare_handle(access);
    set(c);
    c->file = c->io.file_open(name.c_str(), mode);
    EXPECT_NE(c->file, nullptr);
    return c;
}

class FileSets : public CoreTest {
protected:
    // Opens a handle-set file and looks at it through a view.
    CFILE* open_viewed(const std::string& name, uint32_t access) {
        CFILE* c = open_set(rzl_set_handle_slots, name, access == MODE_READ ? "r" : "r+", access);
        EXPECT_EQ(rzl_set_mapped(c, true), 0);
        EXPECT_NE(c->mapping, nullptr);
        return c;
    }
};

// The slow twin: what a file of these bytes would answer.
struct twin {
    bytes_of_file bytes;
    size_t position = 0;
    bool grows = true;

    size_t read(uint8_t* out, size_t count) {
        size_t moved = std::min(count, bytes.size() - position);
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(position), moved, out);
        position += moved;
        return moved;
    }
    size_t write(const uint8_t* in, size_t count) {
        if (!grows) count = std::min(count, bytes.size() - position);
        bytes.resize(std::max(bytes.size(), position + count));
        std::copy_n(in, count, bytes.begin() + static_cast<std::ptrdiff_t>(position));
        position += count;
        return count;
    }
};

void run_operations(CFILE* c, twin* t, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<uint8_t> mine(3 * VIEW), theirs(3 * VIEW);
    for (int step = 0; step < 400; ++step) {
        size_t count = random() % (step % 10 == 0 ? 2 * VIEW : 600);
        switch (random() % 5) {
        case 0:
        case 1:
            ASSERT_EQ(io_read(c, mine.data(), count), t->read(theirs.data(), count)) << "seed " << seed;
            ASSERT_EQ(std::memcmp(mine.data(), theirs.data(), count), 0);
            break;
        case 2:
            std::generate_n(mine.begin(), count, [&] { return static_cast<uint8_t>(random()); });
            // A stream wants a seek between a read and a write.
            ASSERT_TRUE(io_seek(c, static_cast<int64_t>(t->position)));
            ASSERT_EQ(io_write(c, mine.data(), count), t->write(mine.data(), count));
            std::copy_n(mine.begin(), count, theirs.begin());
            ASSERT_TRUE(io_seek(c, static_cast<int64_t>(t->position)));
            break;
        case 3:
            t->position = random() % (t->bytes.size() + 1);
            ASSERT_TRUE(io_seek(c, static_cast<int64_t>(t->position)));
            break;
        default: {
            int byte = c->io.file_getc(c->file);
            int expected = t->position < t->bytes.size() ? t->bytes[t->position++] : -1;
            ASSERT_EQ(byte, expected);
        }
        }
        ASSERT_EQ(io_tell(c), static_cast<int64_t>(t->position)) << "step " << step << " seed " << seed;
        ASSERT_EQ(io_size(c), static_cast<int64_t>(t->bytes.size()));
    }
}

TEST_F(FileSets, AnswerLikeAPlainFile) {
    bytes_of_file start = patterned(2 * VIEW + 1234);
    std::function<CFILE*(const std::string&)> opens[] = {
        [](const std::string& name) { return open_set(rzl_set_stream_slots, name, "r+b", MODE_WRITE_READ); },
        [](const std::string& name) { return open_set(rzl_set_handle_slots, name, "r+", MODE_UPDATE); },
        [](const std::string& name) { return open_set(rzl_set_mapped_slots, name, "r+", MODE_UPDATE); },
        [this](const std::string& name) { return open_viewed(name, MODE_UPDATE); },
    };
    unsigned seed = 20;
    for (auto& open : opens) {
        std::string name = path("twin" + std::to_string(seed));
        write_bytes(name, start);
        twin t = {start};
        CFILE* c = open(name);
        run_operations(c, &t, seed++);
        EXPECT_EQ(close_cfile_file(c), 0);
        EXPECT_EQ(read_bytes(name), t.bytes) << "what was written must stand in the file";
        abandon_cfile(c);
    }
    bytes_of_file block = start;
    rzl_memfile record = {block.data(), static_cast<int32_t>(block.size()), 0, 0, 0, 0};
    twin t = {start, 0, false};
    CFILE* c = noting_handle(MODE_UPDATE, &record);
    run_operations(c, &t, seed);
    EXPECT_EQ(block, t.bytes) << "a block of memory takes what fits, and never grows";
    rzl_close(c);
}

TEST_F(FileSets, MemoryCountsBackFromItsEnd) {
    bytes_of_file block = patterned(100);
    rzl_memfile record = {block.data(), 100, 0, 0, 0, 0};
    CFILE* c = noting_handle(MODE_READ, &record);
    ASSERT_EQ(c->io.file_seek(c->file, 10, 2), 0);
    EXPECT_EQ(io_tell(c), 90);
    ASSERT_EQ(c->io.file_seek(c->file, INT64_MIN, 2), 0);
    EXPECT_EQ(io_tell(c), 0) << "an absurd offset is brought inside";
    uint32_t words[40];
    io_seek(c, 93);
    EXPECT_EQ(c->io.file_read(words, 4, 40, c->file), 1u) << "whole items of the 7 bytes that are left";
    EXPECT_EQ(io_tell(c), 100);
    EXPECT_EQ(c->io.file_putc(1, c->file), -1);

    // The record is the application's, which may spoil it at any time.
    record.position = -50;
    EXPECT_EQ(c->io.file_getc(c->file), block[0]);
    record.length = -1;
    EXPECT_EQ(io_read(c, words, 4), 0u);
    record.data = nullptr;
    record.length = 100;
    EXPECT_EQ(io_write(c, words, 4), 0u);
    rzl_close(c);
}

TEST_F(FileSets, MemoryNamesHoldAnAddress) {
    rzl_memfile record = {};
    char name[64];
    bool is_memory = false;
    ASSERT_EQ(rzl_memfile_name(&record, name, sizeof name), 0);
    EXPECT_EQ(memfile_of_name(name, &is_memory), &record);
    EXPECT_TRUE(is_memory);
    char little[8];
    EXPECT_EQ(rzl_memfile_name(&record, little, sizeof little), 1);
    for (const char* bad : {"/INMEM/", "/INMEM/0", "/INMEM/12x", "/INMEM/-5", "/INMEM/99999999999999999999999"}) {
        EXPECT_EQ(memfile_of_name(bad, &is_memory), nullptr) << bad;
        EXPECT_TRUE(is_memory) << bad;
        EXPECT_EQ(refused(rzl_open_r(bad)), RZL_NO_MEMORY);
        EXPECT_EQ(refused(rzl_open_w(bad)), RZL_NO_MEMORY);
    }
    EXPECT_EQ(memfile_of_name("/tmp/INMEM/5", &is_memory), nullptr);
    EXPECT_FALSE(is_memory);
}

TEST_F(FileSets, ViewStopsAtBoundariesAndCuts) {
    bytes_of_file bytes = patterned(2 * VIEW);
    write_bytes(path("two_views"), bytes);
    CFILE* c = open_viewed(path("two_views"), MODE_READ);
    bytes_of_file read(2 * VIEW);
    EXPECT_EQ(io_read(c, read.data(), 2 * VIEW), 2 * VIEW);
    EXPECT_EQ(read, bytes);
    EXPECT_EQ(c->io.file_getc(c->file), -1);
    ASSERT_EQ(c->io.file_seek(c->file, -10, 2), 0);
    EXPECT_EQ(io_tell(c), static_cast<int64_t>(2 * VIEW - 10));
    EXPECT_EQ(io_write(c, read.data(), 4), 0u) << "a view of a file that is only read takes nothing";

    // Another process cuts the file behind our back: short, and no fault.
    std::filesystem::resize_file(path("two_views"), VIEW + 5);
    io_seek(c, 0);
    EXPECT_EQ(io_read(c, read.data(), 2 * VIEW), VIEW + 5);
    EXPECT_EQ(c->io.file_getc(c->file), -1);
    std::filesystem::resize_file(path("two_views"), 100);
    io_seek(c, 0);
    EXPECT_EQ(io_read(c, read.data(), 2 * VIEW), 100u);
    io_seek(c, 50'000);
    EXPECT_EQ(c->io.file_getc(c->file), -1);

    // What comes after is read, not looked up in what was there.
    write_bytes(path("two_views"), bytes);
    io_seek(c, 0);
    EXPECT_EQ(io_read(c, read.data(), 2 * VIEW), 2 * VIEW);
    EXPECT_EQ(read, bytes);
    abandon_cfile(c);
}

TEST_F(FileSets, WindowGivesWhatTheViewHolds) {
    bytes_of_file bytes = patterned(VIEW + 1000);
    write_bytes(path("window"), bytes);
    CFILE* c = open_viewed(path("window"), MODE_READ);
    bytes_of_file taken;
    for (;;) {
        const uint8_t* next = nullptr;
        const uint8_t* end = nullptr;
        io_window(c, &next, &end);
        if (next == end) break;
        auto piece = std::min<size_t>(static_cast<size_t>(end - next), 7777);
        taken.insert(taken.end(), next, next + piece);
        io_consume(c, piece);
        ASSERT_EQ(io_tell(c), static_cast<int64_t>(taken.size()));
    }
    EXPECT_EQ(taken, bytes);

    // Leaving the view keeps the position, and there is nothing to look through any more.
    io_seek(c, 4321);
    EXPECT_EQ(rzl_set_mapped(c, false), 0);
    EXPECT_EQ(c->io.file_getc(c->file), bytes[4321]);
    const uint8_t* next = nullptr;
    const uint8_t* end = nullptr;
    io_window(c, &next, &end);
    EXPECT_EQ(next, end);
    EXPECT_EQ(rzl_set_mapped(c, true), 0);
    EXPECT_EQ(c->io.file_getc(c->file), bytes[4322]) << "and a view begins where the file stands";
    abandon_cfile(c);
}

TEST_F(FileSets, WhatCannotBeViewedStaysWhereItIs) {
    write_bytes(path("empty"), {});
    CFILE* c = open_set(rzl_set_handle_slots, path("empty"), "r", MODE_READ);
    EXPECT_EQ(refusal(c, rzl_set_mapped(c, true)), RZL_NO_MEMORY);
    EXPECT_EQ(c->mapping, nullptr);
    EXPECT_EQ(c->io.file_getc(c->file), -1);
    abandon_cfile(c);

    c = open_set(rzl_set_stream_slots, path("stream"), "w+b", MODE_WRITE_READ);
    io_write(c, "abc", 3);
    EXPECT_EQ(rzl_set_mapped(c, true), 1) << "a stream's own bytes would not be seen";
    abandon_cfile(c);

    rzl_memfile record = {};
    c = noting_handle(MODE_READ, &record);
    EXPECT_EQ(refusal(c, set_field_to(c, RZL_FIELD_MAPPED, 1)), RZL_UNSUPPORTED);
    rzl_close(c);
}

TEST_F(FileSets, LostChangesAreToldAtTheClose) {
    write_bytes(path("lost"), patterned(1000));
    CFILE* c = open_viewed(path("lost"), MODE_UPDATE);
    ASSERT_EQ(io_write(c, "xyz", 3), 3u);
    files_fail_after(0, files_fail::onward);
    rzl_drop_mapping(c);
    EXPECT_TRUE(files_fail_stop());
    EXPECT_EQ(c->status, RZL_WRITE_FAILED);
    abandon_cfile(c);
    EXPECT_EQ(library_status(), RZL_WRITE_FAILED);
}

} // namespace
