// What hinders a program never tears a file, never leaves one behind, and never gives success: every command, with the
// disk full at each step, failing memory and transfers, signals at any moment, two writers, links and little memory.
//
// TINCT_TORTURE=N in the environment takes pictures and numbers of rounds N times as large; scripts/torture sets it.
#include <random>

#include "common/failures.h"
#include "common/limited_run.h"
#include "program_cases.h"
#include "support/log.h"
#include "tnc/penpack.h"

namespace {

int torture() {
    const char* factor = std::getenv("TINCT_TORTURE");
    return factor != nullptr ? std::max(static_cast<int>(std::strtol(factor, nullptr, 10)), 1) : 0;
}

constexpr int64_t STEP = 4096;

class Safety : public ProgramCases {
protected:
    void SetUp() override {
        ProgramCases::SetUp();
        const int scale = torture() > 0 ? 4 : 1;
        make_inputs(100 * scale, 60 * scale);
        for (const program_case& c : cases)
            learn(c);
    }
    void expect_told(const limited_result& result, const program_case& c) const {
        EXPECT_LT(result.status, 128) << c.name() << result.err;
        EXPECT_EQ(result.status != 0, !result.err.empty()) << c.name() << result.err;
    }

    const std::vector<program_case> cases = program_cases();
};

// Standard output and standard error of this process go nowhere for as long as it lives.
struct silence {
    int out = dup(1);
    int err = dup(2);
    silence() {
        const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
        fflush(stdout);
        dup2(nothing, 1);
        dup2(nothing, 2);
        close(nothing);
    }
    silence(const silence&) = delete;
    silence& operator=(const silence&) = delete;
    ~silence() {
        fflush(stdout);
        dup2(out, 1);
        dup2(err, 2);
        close(out);
        close(err);
    }
};

int run_here(const program_case& c) {
    std::vector<char*> arguments;
    for (const std::string& word : c.words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    const int status = c.run(static_cast<int>(arguments.size()), arguments.data());
    penpack_release_scratch();
    return status;
}

} // namespace

TEST_F(Safety, AFullDiskIsToldAndReplacesNothing) {
    for (const program_case& c : cases) {
        int64_t most = 0;
        for (const std::string& out : c.outs)
            most = std::max(most, static_cast<int64_t>(wanted[out].size()));
        for (int64_t bytes = 0; bytes<most; bytes += torture()> 0 ? STEP : 3 * STEP) {
            set_outs(c, OLD);
            run_limits limits;
            limits.file_bytes = bytes;
            const limited_result result = run_limited(directory, c.process_words(), limits, "/dev/null");
            EXPECT_EQ(result.status, 1) << c.name() << bytes;
            check_whole(c, result.status);
            // Messages stand in a file too, which may have no room for any.
            if (bytes == 0) continue;
            EXPECT_NE(result.err.find("File too large"), std::string::npos) << c.name() << bytes << result.err;
        }
        clear_outs(c);
        if (!c.outs.empty()) continue;
        const limited_result result = run_limited(directory, c.process_words(), {}, "/dev/full");
        EXPECT_EQ(result.status, 1) << c.name();
        EXPECT_NE(result.err.find("No space left on device"), std::string::npos) << c.name() << result.err;
    }
    for (const char* program : {"rzl", "tinct-batch", "tinct-sample", "tinct"}) {
        for (const char* word : {"--help", "--version"}) {
            const limited_result result = run_limited(directory, {bin_dir() + "/" + program, word}, {}, "/dev/full");
            EXPECT_EQ(result.status, 1) << program << " " << word;
        }
    }
}

TEST_F(Safety, EveryFailureOfMemoryAndTransfersIsTold) {
    std::filesystem::current_path(directory);
    stop_set_action([](void*, int) {}, nullptr);
    for (const program_case& c : cases) {
        if (c.run == nullptr) continue;
        SCOPED_TRACE(c.name());
        int status = 0;
        auto run_once = [&] {
            silence quiet;
            set_outs(c, OLD);
            status = run_here(c);
        };
        auto check = [&](bool hit) {
            check_whole(c, status);
            if (!hit) {
                EXPECT_EQ(status, 0);
            }
        };
        run_once(); // what is made once for the process is there
        // The listing of the standards takes no memory and moves no bytes by way of the files.
        if (c.words[1] == "formats") continue;
        const std::vector<failing> some = {failing::allocation, failing::transfers_onward};
        const std::vector<failing> all(std::begin(ALL_FAILURES), std::end(ALL_FAILURES));
        sweep_failures(torture() > 0 ? all : some, run_once, check);
        clear_outs(c);
    }
    stop_set_action(nullptr, nullptr);
    log_set_sink(nullptr, nullptr);
    std::filesystem::current_path("/");
}

TEST_F(Safety, ASignalAtAnyMomentTearsNothing) {
    std::mt19937 random(17);
    const int signals[] = {SIGHUP, SIGINT, SIGQUIT, SIGALRM, SIGTERM, SIGXCPU, SIGUSR1, SIGKILL};
    int struck = 0;
    for (const program_case& c : cases) {
        if (c.outs.empty()) continue;
        // How long it takes, the start of the process included.
        timespec from = {};
        timespec to = {};
        clock_gettime(CLOCK_MONOTONIC, &from);
        set_outs(c, OLD);
        ASSERT_TRUE(run_limited(directory, c.process_words()).ok());
        clock_gettime(CLOCK_MONOTONIC, &to);
        const int64_t whole = (to.tv_sec - from.tv_sec) * 1000000 + (to.tv_nsec - from.tv_nsec) / 1000;
        for (int i = 0; i < (torture() > 0 ? 40 * torture() : 3); ++i) {
            const int number = signals[random() % std::size(signals)];
            set_outs(c, OLD);
            const running r = start_program(directory, c.process_words(), {}, "");
            wait_microseconds(whole / 4 + static_cast<int64_t>(random() % static_cast<uint64_t>(whole)));
            kill(r.process, number);
            const limited_result result = end_program(r);
            if (result.was_killed_by(number)) ++struck;
            EXPECT_TRUE(result.ok() || result.was_killed_by(number) || result.status == 1) << c.name() << result.status;
            check_whole(c, result.status, number == SIGKILL);
            if (number != SIGKILL) continue;
            // What it left goes with the next write.
            set_outs(c, OLD);
            EXPECT_TRUE(run_limited(directory, c.process_words()).ok());
            check_whole(c, 0);
        }
        clear_outs(c);
    }
    EXPECT_GT(struck, 0);
}

TEST_F(Safety, OfTwoWritersEachGivesAWholeFileOrIsTold) {
    for (const program_case& c : cases) {
        if (c.outs.empty()) continue;
        for (int i = 0; i < (torture() > 0 ? 20 * torture() : 2); ++i) {
            set_outs(c, OLD);
            const running one = start_program(directory, c.process_words(), {}, "");
            const running two = start_program(directory, c.process_words(), {}, "");
            const limited_result first = end_program(one);
            const limited_result second = end_program(two);
            expect_told(first, c);
            expect_told(second, c);
            EXPECT_EQ((first.ok() ? 1 : 0) + (second.ok() ? 1 : 0), c.only_new ? 1 : 2)
                << c.name() << first.err << second.err;
            check_whole(c, 0);
        }
        clear_outs(c);
    }
}

TEST_F(Safety, LinksAndOtherKindsOfFilesKeepWhatTheyAre) {
    namespace fs = std::filesystem;
    fs::create_directories(path("elsewhere"));
    known = names();
    for (const program_case& c : cases) {
        if (c.outs.size() != 1 || c.only_new) continue;
        const std::string& out = c.outs[0];
        // A link is followed, and the other name of a file keeps what it had.
        write("elsewhere/real", OLD);
        fs::create_hard_link(path("elsewhere/real"), path("elsewhere/other"));
        fs::create_symlink("elsewhere/real", path(out));
        EXPECT_TRUE(run_limited(directory, c.process_words()).ok()) << c.name();
        EXPECT_TRUE(fs::is_symlink(path(out))) << c.name();
        EXPECT_TRUE(read(path("elsewhere/real")) == wanted[out]) << c.name();
        EXPECT_EQ(read(path("elsewhere/other")), OLD) << c.name();
        fs::remove(path(out));
        for (const char* to : {"elsewhere", "elsewhere/none/such", "/dev/null"}) {
            fs::create_symlink(to, path(out));
            const limited_result result = run_limited(directory, c.process_words());
            EXPECT_EQ(result.status, 1) << c.name() << to;
            expect_told(result, c);
            EXPECT_TRUE(fs::is_symlink(path(out)));
            fs::remove(path(out));
        }
        ASSERT_EQ(mkfifo(path(out).c_str(), 0600), 0);
        const limited_result result = run_limited(directory, c.process_words());
        EXPECT_EQ(result.status, 1) << c.name();
        EXPECT_TRUE(fs::is_fifo(path(out)));
        EXPECT_EQ(result.err.find("directory"), std::string::npos) << result.err;
        fs::remove(path(out));
        fs::remove(path("elsewhere/real"));
        fs::remove(path("elsewhere/other"));
        EXPECT_TRUE(fs::is_empty(path("elsewhere")));
        EXPECT_EQ(names(), known);
    }
    // A FIFO is not read, and standard output is no name of a file.
    ASSERT_EQ(mkfifo(path("pipe.tnc").c_str(), 0600), 0);
    const std::vector<std::string> refused[] = {
        {"rzl", "info", "pipe.tnc"},
        {"rzl", "cat", "pipe.tnc"},
        {"rzl", "convert", "pipe.tnc", "x.rgb"},
        {"tinct-batch", "info", "pipe.tnc"},
        {"tinct-batch", "apply", "big.tnc", "--palette", "pipe.tnc", "--set", "1=red", "-o", "x.rgb"},
        {"tinct-batch", "apply", "big.tnc", "--set", "1=@pipe.tnc", "-o", "x.rgb"}};
    for (const auto& words : refused) {
        const program_case c = {nullptr, words, {}, false};
        const limited_result result = run_limited(directory, c.process_words());
        EXPECT_EQ(result.status, 1) << c.name();
        EXPECT_NE(result.err.find("it is no plain file"), std::string::npos) << c.name() << result.err;
    }
    EXPECT_EQ(run("rzl convert big.rgb -").status, 2);
    EXPECT_EQ(run("tinct-batch apply big.tnc --set 1=1,0,0 --type rgb -o -").status, 2);
    fs::remove(path("pipe.tnc"));
    EXPECT_EQ(names(), known);
}

TEST_F(Safety, LittleAddressSpaceIsTold) {
    if (WITH_SANITIZER) GTEST_SKIP() << "a sanitizer takes the address space";
    for (const program_case& c : cases) {
        bool done = false;
        for (int64_t bytes = int64_t{5} << 20; !done; bytes += (torture() > 0 ? 64 : 512) << 10) {
            ASSERT_LT(bytes, int64_t{1} << 30) << c.name();
            set_outs(c, OLD);
            run_limits limits;
            limits.address_bytes = bytes;
            const limited_result result = run_limited(directory, c.process_words(), limits);
            // Where not even the program could be loaded, it has said nothing of its own.
            if (result.err.find(c.words[0] + ": error while loading") != std::string::npos || result.status == 99 ||
                result.was_killed_by(SIGSEGV) || result.status == 127) {
                EXPECT_LT(bytes, int64_t{12} << 20) << c.name() << result.status << result.err;
                continue;
            }
            expect_told(result, c);
            check_whole(c, result.status);
            done = result.ok();
        }
        clear_outs(c);
    }
}

// Each call of the system that could go wrong does so once, and then from then on.
TEST_F(Safety, EveryFailingCallOfTheSystemIsTold) {
    if (torture() == 0) GTEST_SKIP() << "scripts/torture does so, with what it traces with";
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1); // leaks are looked for by tracing, which only one can do
    if (!run_command(directory, "strace -o trace true && rm trace").ok()) GTEST_SKIP() << "nothing may be traced here";
    const struct {
        const char* call;
        const char* error;
    } failures[] = {{"write", "ENOSPC"},     {"write", "EIO"},        {"read", "EIO"},       {"fsync", "EIO"},
                    {"renameat2", "EACCES"}, {"renameat2", "ENOSYS"}, {"renameat", "EIO"},   {"fchmod", "EPERM"},
                    {"flock", "ENOLCK"},     {"ftruncate", "EIO"},    {"getdents64", "EIO"}, {"unlinkat", "EACCES"},
                    {"lseek", "EIO"},        {"mmap", "ENOMEM"},      {"getrandom", "EIO"}};
    int injected = 0;
    for (const program_case& c : cases) {
        // Of the commands that write nothing, standard output alone could fail, which is another test's.
        if (c.outs.empty()) continue;
        for (const auto& f : failures) {
            // A checker of memory maps for itself, and reads files of its own when all is done.
            if (WITH_SANITIZER && (std::string(f.call) == "mmap" || std::string(f.call) == "read")) continue;
            bool hit = true;
            // The first calls are the loader's, which does not look at its very first mapping.
            for (int n = std::string(f.call) == "mmap" ? 2 : 1; hit && n < 400; n += n < 40 ? 1 : 17) {
                set_outs(c, OLD);
                const std::string call = f.call;
                std::vector<std::string> words = {"/usr/bin/strace",
                                                  "-qq",
                                                  "-o",
                                                  "/dev/shm/trace",
                                                  "-e",
                                                  "trace=" + call,
                                                  "-e",
                                                  "inject=" + call + ":error=" + f.error +
                                                      ":when=" + std::to_string(n)};
                for (const std::string& word : c.process_words())
                    words.push_back(word);
                const limited_result result = run_limited(directory, words, {}, "/dev/null");
                hit = read("/dev/shm/trace").find("INJECTED") != std::string::npos;
                if (!hit) break;
                ++injected;
                SCOPED_TRACE(std::string(f.call) + " " + f.error + " " + std::to_string(n));
                const bool loads = result.err.find("while loading") != std::string::npos || result.status == 127;
                if (!loads) expect_told(result, c);
                // A file that can't be taken away is left over by right.
                check_whole(c, result.status, std::string(f.call) == "unlinkat");
                for (const std::string& name : names()) {
                    if (name.find(".part") != std::string::npos) std::filesystem::remove(path(name));
                }
            }
        }
        clear_outs(c);
    }
    std::filesystem::remove("/dev/shm/trace");
    EXPECT_GT(injected, 100);
    std::printf("%d failing calls\n", injected);
}
