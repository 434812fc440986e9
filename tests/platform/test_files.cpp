// Names in the application's form, transfers that come back short, and replacing a file as a whole.
#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/failures.h"
#include "common/own_directory.h"
#include "platform/files.h"
#include "support/memory.h"

namespace fs = std::filesystem;

namespace {

class Files : public OwnDirectory {
protected:
    void SetUp() override {
        fs::create_directories(root / "Renders" / "Night");
        fs::create_directories(day);
        write(car, "picture");
    }

    static void write(const fs::path& path, const std::string& text) { std::ofstream(path) << text; }
    std::string resolved(const std::string& path) const {
        char real[FILES_PATH_SIZE];
        return files_resolve(path.c_str(), real, sizeof real) ? real : "";
    }
    size_t entries() const { return static_cast<size_t>(std::distance(fs::directory_iterator(day), {})); }
    // Begins to replace, or to create, a file; `fresh` is what is written then.
    bool begin(const fs::path& target) { return files_replace_begin(target.c_str(), fresh, sizeof fresh); }
    bool begin_new(const fs::path& target) { return files_create_begin(target.c_str(), fresh, sizeof fresh); }
    static std::string new_name(const std::string& path, size_t size = FILES_PATH_SIZE) {
        char real[FILES_PATH_SIZE];
        return files_resolve_new(path.c_str(), real, size) ? real : "";
    }
    void expect_car(const char* text, size_t count) const {
        EXPECT_EQ(read(car), text);
        EXPECT_EQ(entries(), count);
    }
    static bool write_byte(int fd) { return ::write(fd, "", 1) == 1; }

    fs::path root = directory;
    fs::path day = root / "renders" / "day", car = day / "Car.RGB";
    char fresh[FILES_PATH_SIZE] = "";
};

} // namespace

TEST_F(Files, CleanNamesFindFilesWhateverTheirCase) {
    EXPECT_EQ(resolved(car), car);
    EXPECT_EQ(resolved("c:" + root.string() + "\\renders\\day\\car.rgb"), car);
    // Two directories differ in case only; the one that leads to the file is taken.
    EXPECT_EQ(resolved(root.string() + "\\RENDERS\\DAY\\car.rgb"), car);
    EXPECT_EQ(resolved(root.string() + "\\renders\\day\\cart.rgb"), "");
    EXPECT_EQ(resolved(""), "");
    // A name that is given as it stands comes first.
    write(root / "a\\b", "odd");
    EXPECT_EQ(resolved(root.string() + "/a\\b"), root.string() + "/a\\b");
    // One in Latin-1 finds its UTF-8 file.
    const std::string wanted = root / "renders" / "K\xC3\xBC\xC3\x84.rgb";
    write(wanted, "");
    EXPECT_EQ(resolved(root.string() + "\\renders\\k\xFC\xE4.rgb"), wanted);
    EXPECT_EQ(resolved(root.string() + "\\renders\\k\xFC.rgb"), "");
    EXPECT_EQ(new_name(root / "renders" / "N\xFC.rgb"), root / "renders" / "N\xC3\xBC.rgb");
    // A new file keeps its last component.
    const std::string path = root.string() + "\\RENDERS\\night\\New.Rgb";
    EXPECT_EQ(new_name(path), root / "Renders" / "Night" / "New.Rgb");
    EXPECT_EQ(new_name(root.string() + "/missing/new"), "");
    EXPECT_EQ(new_name(path, 8), "");
}

TEST_F(Files, MakesDirectoriesOnTheWay) {
    std::string path = root.string() + "\\x\\y\\z\\";
    EXPECT_TRUE(files_make_directory(path.c_str()));
    EXPECT_TRUE(fs::is_directory(root / "x" / "y" / "z"));
    EXPECT_TRUE(files_make_directory(path.c_str()));
    EXPECT_FALSE(files_make_directory((car / "in").c_str()));
    EXPECT_TRUE(files_make_directory((day / "new" / "newer").c_str()));
    EXPECT_TRUE(fs::is_directory(day / "new" / "newer"));
    std::string deep = root.string();
    for (int i = 0; i < 900; ++i)
        deep += "/d";
    EXPECT_TRUE(files_make_directory(deep.c_str()));
    EXPECT_TRUE(fs::is_directory(deep));
}

TEST_F(Files, TellsTheSameFileUnderOtherNames) {
    fs::create_symlink(car, root / "link");
    fs::create_hard_link(car, root / "hard");
    EXPECT_TRUE(files_is_same((root / "link").c_str(), (root / "hard").c_str()));
    EXPECT_FALSE(files_is_same(car.c_str(), root.c_str()));
    // Replacing through a link keeps the link.
    ASSERT_TRUE(begin(root / "link"));
    write(fresh, "through");
    EXPECT_TRUE(files_replace_commit());
    EXPECT_TRUE(fs::is_symlink(root / "link"));
    EXPECT_EQ(read(car), "through");
}

TEST_F(Files, HandlesRefuseDirectoriesAndMoveWholeTransfers) {
    EXPECT_EQ(files_open(root.c_str(), FILES_READ), OS_FILE_NONE);
    std::string path = root / "numbers";
    os_file handle = files_open(path.c_str(), FILES_READ | FILES_WRITE | FILES_CREATE | FILES_TRUNCATE);
    ASSERT_NE(handle, OS_FILE_NONE);
    EXPECT_EQ(files_write(handle, "0123456789", 10), 10);
    char text[11] = {};
    EXPECT_EQ(files_read_at(handle, 4, text, 10), 6);
    EXPECT_STREQ(text, "456789");
    EXPECT_EQ(files_seek(handle, -3, FILES_FROM_END), 7);
    files_fail_after(0, files_fail::once);
    EXPECT_EQ(files_read(handle, text, 3), 1);
    EXPECT_TRUE(files_fail_stop());
    EXPECT_EQ(files_read(handle, text, 3), 2);
    EXPECT_TRUE(files_close(handle));
}

TEST_F(Files, AStreamTellsAtTheCloseThatAWriteWasCut) {
    std::string path = root / "stream";
    file_stream* stream = stream_open(path.c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    files_fail_after(1, files_fail::once);
    EXPECT_EQ(stream_write("good", 1, 4, stream), 4u);
    EXPECT_LT(stream_write("lost", 1, 4, stream), 4u);
    files_fail_stop();
    EXPECT_EQ(stream_write("more", 1, 4, stream), 4u);
    EXPECT_EQ(stream_close(stream), -1);
    stream = stream_open("/dev/full", "wb");
    ASSERT_NE(stream, nullptr);
    stream_write("text", 1, 4, stream);
    EXPECT_EQ(stream_close(stream), -1);
    EXPECT_EQ(stream_open((root / "no" / "such").c_str(), "wb"), nullptr);
    EXPECT_EQ(stream_open(root.c_str(), "rb"), nullptr);
}

TEST_F(Files, AStreamKeepsBlocksOfEverySizeInTheirPlaces) {
    std::string path = root / "blocks";
    file_stream* stream = stream_open(path.c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    std::string wanted;
    size_t at = 0;
    uint32_t state = 1;
    for (int i = 0; i < 200; ++i) {
        state = state * 1664525u + 1013904223u;
        size_t most = i % 20 == 0 ? 900000 : i % 3 == 0 ? 70000 : 300;
        std::string block(state % most + 1, '\0');
        for (size_t n = 0; n < block.size(); ++n)
            block[n] = static_cast<char>(n * n / 251 + static_cast<size_t>(i));
        if (i % 17 == 16) {
            at = state % wanted.size(); // over what is there, and beyond it
            EXPECT_EQ(stream_seek(stream, static_cast<int64_t>(at), FILES_FROM_START), 0);
        }
        if (at + block.size() > wanted.size()) wanted.resize(at + block.size());
        wanted.replace(at, block.size(), block);
        at += block.size();
        EXPECT_EQ(stream_write(block.data(), 1, block.size(), stream), block.size());
        EXPECT_EQ(stream_tell(stream), static_cast<int64_t>(at));
    }
    EXPECT_EQ(stream_close(stream), 0);
    EXPECT_TRUE(read(path) == wanted);
}

TEST_F(Files, TheReaderCrossesItsBuffer) {
    std::string text;
    for (int i = 0; i < 50000; ++i)
        text += std::to_string(i);
    write(root / "long", text);
    file_reader* reader = reader_open((root / "long").c_str());
    ASSERT_NE(reader, nullptr);
    std::string back(text.size() + 5, ' ');
    EXPECT_EQ(reader_getc(reader), '0');
    EXPECT_EQ(reader_left(reader), static_cast<int64_t>(text.size() - 1));
    EXPECT_EQ(reader_read(reader, back.data(), back.size()), text.size() - 1);
    EXPECT_EQ(back.substr(0, text.size() - 1), text.substr(1));
    EXPECT_EQ(reader_getc(reader), -1);
    EXPECT_EQ(reader_left(reader), 0);
    EXPECT_FALSE(reader->failed);
    reader_close(reader);
}

TEST_F(Files, LoadsAWholeFileWithinALimit) {
    std::string text(10000, 'a');
    write(root / "text", text);
    size_t size = 0;
    char* loaded = files_load((root / "text").c_str(), 10000, &size);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(std::string(loaded), text);
    EXPECT_EQ(size, text.size());
    mem_free(loaded);
    EXPECT_EQ(files_load((root / "text").c_str(), 9999, &size), nullptr);
    sweep_failures(
        std::array{failing::allocation}, [&] { loaded = files_load((root / "text").c_str(), 10000, &size); },
        [&](bool hit) {
            EXPECT_EQ(loaded == nullptr, hit);
            mem_free(loaded);
        });
}

TEST_F(Files, AReplacedFileIsOldOrNewAsAWhole) {
    fs::permissions(car, fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_TRUE(begin(car));
    char second[FILES_PATH_SIZE];
    EXPECT_FALSE(files_replace_begin(car.c_str(), second, sizeof second)); // once at a time
    write(fresh, "half");
    EXPECT_EQ(read(car), "picture");
    files_replace_abandon();
    expect_car("picture", 1);
    ASSERT_TRUE(begin(car));
    write(fresh, "whole");
    EXPECT_TRUE(files_replace_commit());
    expect_car("whole", 1);
    EXPECT_EQ(fs::status(car).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    // A small one at once, or not at all.
    files_fail_after(0, files_fail::once);
    EXPECT_FALSE(files_replace_whole(car.c_str(), "small", 5));
    EXPECT_TRUE(files_fail_stop());
    expect_car("whole", 1);
    EXPECT_TRUE(files_replace_whole(car.c_str(), "small", 5));
    expect_car("small", 1);
}

TEST_F(Files, APairIsReplacedTogether) {
    const fs::path samples = day / "Car.TNC";
    for (bool whole : {false, true}) {
        ASSERT_TRUE(begin(car));
        const std::string first = fresh;
        ASSERT_TRUE(begin(samples));
        const std::string second = fresh;
        EXPECT_FALSE(begin(day / "Other"));
        write(first, "new picture");
        if (whole) write(second, "new samples");
        if (!whole) files_replace_abandon();
        EXPECT_EQ(read(car), "picture");
        EXPECT_EQ(files_replace_commit(), whole);
        expect_car(whole ? "new picture" : "picture", whole ? 2U : 1U);
    }
    EXPECT_EQ(read(samples), "new samples");
    // One that can't be placed leaves both as they were.
    fs::remove(samples);
    for (bool first_is_new : {false, true}) {
        if (first_is_new) fs::remove(car);
        ASSERT_TRUE(begin(car));
        write(fresh, "newer picture");
        ASSERT_TRUE(begin_new(samples));
        write(samples, "of another writer"); // that was quicker
        EXPECT_FALSE(files_replace_commit());
        EXPECT_STREQ(files_write_failure(), "File exists");
        EXPECT_EQ(read(samples), "of another writer");
        EXPECT_EQ(read(car), first_is_new ? "" : "new picture");
        EXPECT_EQ(entries(), first_is_new ? 1U : 2U);
        fs::remove(samples);
    }
}

TEST_F(Files, NewContentHasItsPermissionsBeforeItsFirstByte) {
    umask(022);
    for (unsigned mode : {0600U, 0644U, 0400U, 04711U, 02770U}) {
        chmod(car.c_str(), mode);
        ASSERT_TRUE(begin(car));
        struct stat info;
        ASSERT_EQ(lstat(fresh, &info), 0);
        EXPECT_EQ(info.st_mode & 07777, mode & 0777) << mode;
        EXPECT_EQ(info.st_size, 0);
        files_replace_abandon();
    }
    ASSERT_TRUE(begin_new(root / "new"));
    EXPECT_EQ(static_cast<unsigned>(fs::status(fresh).permissions()), 0644U);
    EXPECT_TRUE(files_replace_commit());
}

TEST_F(Files, WhatIsPutUnderTheFreshNameIsNeitherWrittenNorTaken) {
    fs::path victim = root / "victim";
    write(victim, "precious");
    ASSERT_TRUE(begin(car));
    fs::remove(fresh);
    fs::create_symlink(victim, fresh);
    file_stream* stream = stream_open(fresh, "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream_write("new", 1, 3, stream), 3u);
    EXPECT_EQ(stream_close(stream), 0);
    EXPECT_FALSE(files_replace_commit());
    EXPECT_EQ(read(victim), "precious");
    EXPECT_EQ(read(car), "picture");
}

TEST_F(Files, LeftOversOfDeadProcessesGoAndThoseOfLivingOnesStay) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    auto start_writer = [&] {
        pid_t child = fork();
        if (child == 0) {
            bool good = begin(car);
            _exit(write_byte(ready[1]) && good ? (pause(), 0) : 1);
        }
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        return child;
    };
    auto kill_writer = [](pid_t child) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    };
    pid_t living = start_writer();
    kill_writer(start_writer());
    EXPECT_EQ(entries(), 3u);
    fs::create_symlink("Car.RGB", root / "renders/day/.Car.RGB.0123456789abcdef0123456789abcdef.part");
    ASSERT_TRUE(begin(car));
    EXPECT_EQ(entries(), 4u); // the target, the link, that of the living one, and this one
    EXPECT_TRUE(files_replace_commit());
    kill_writer(living);
    ASSERT_TRUE(begin(car));
    files_replace_abandon();
    EXPECT_EQ(entries(), 2u);
}

TEST_F(Files, NothingIsWaitedFor) {
    fs::path fifo = root / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(files_open(fifo.c_str(), FILES_READ), OS_FILE_NONE);
    EXPECT_EQ(stream_open(fifo.c_str(), "rb"), nullptr);
    EXPECT_EQ(reader_open(fifo.c_str()), nullptr);
    EXPECT_STREQ(files_input_fault(fifo.c_str()), "it is no plain file");
    EXPECT_STREQ(files_input_fault(root.c_str()), "it is a directory");
    EXPECT_STREQ(files_input_fault((root / "none").c_str()), "it does not exist");
    EXPECT_EQ(files_input_fault((root / "renders/day/car.rgb").c_str()), nullptr);
    for (const fs::path& target : {fifo, root, root / "none" / "new"})
        EXPECT_FALSE(begin(target)) << target;
    EXPECT_TRUE(fs::is_fifo(fifo));
}

TEST_F(Files, AProcessThatASignalEndsLeavesNothingBehind) {
    for (int number = 1; number <= SIGRTMAX; ++number) {
        struct sigaction present;
        if (sigaction(number, nullptr, &present) != 0 || number == SIGKILL) continue;
        pid_t child = fork();
        if (child == 0) {
            signal(number, SIG_DFL);
            if (!begin(car)) _exit(1);
            write(fresh, "half");
            kill(getpid(), number);
            files_replace_abandon();
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, WUNTRACED), child);
        if (WIFSTOPPED(status)) {
            kill(child, SIGCONT);
            waitpid(child, &status, 0);
        }
        // A file that outgrows its limit is a failed write, which is told.
        bool goes_on = number == SIGXFSZ || number == SIGCHLD || number == SIGCONT || number == SIGURG ||
                       number == SIGWINCH || number == SIGSTOP || number == SIGTSTP || number == SIGTTIN ||
                       number == SIGTTOU;
        EXPECT_EQ(WIFSIGNALED(status), !goes_on) << strsignal(number);
        expect_car("picture", 1);
    }
}
