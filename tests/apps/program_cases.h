// Every command of the programs once, on files of a directory of its own, for tests that hinder each of them in some
// way.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "app_fixture.h"

int rzl_run(int count, char** arguments);
int batch_run(int count, char** arguments);

struct program_case {
    int (*run)(int count, char** arguments); // the program in this process; null where there is only the process
    std::vector<std::string> words;          // the program's name first
    std::vector<std::string> outs;           // files that it replaces
    bool only_new;                           // they must not exist
    std::string name() const {
        std::string text;
        for (const std::string& word : words)
            text += word + " ";
        return text;
    }
    // With the program's path, for a process.
    std::vector<std::string> process_words() const {
        std::vector<std::string> all = words;
        all[0] = bin_dir() + "/" + words[0];
        return all;
    }
};

inline std::vector<program_case> program_cases() {
    return {
        {rzl_run, {"rzl", "formats"}, {}, false},
        {rzl_run, {"rzl", "info", "big.rgb", "--json"}, {}, false},
        {rzl_run, {"rzl", "cat", "big.rgb"}, {}, false},
        {rzl_run, {"rzl", "convert", "big.rgb", "o.rgb", "--format", "28"}, {"o.rgb"}, false},
        {rzl_run, {"rzl", "convert", "big.rgb", "o.tif", "--compression", "5"}, {"o.tif"}, false},
        {rzl_run, {"rzl", "convert", "big.rgb", "tiles.tif", "--tile", "16"}, {"tiles.tif"}, false},
        {rzl_run, {"rzl", "convert", "big.rgb", "o.gif"}, {"o.gif"}, false},
        {rzl_run, {"rzl", "convert", "big.tif", "from.rgb"}, {"from.rgb"}, false},
        {batch_run, {"tinct-batch", "info", "big.tnc"}, {}, false},
        {batch_run, {"tinct-batch", "pick", "big.tnc", "3", "2", "--json"}, {}, false},
        {batch_run, {"tinct-batch", "samples", "big.tnc", "1"}, {}, false},
        {batch_run,
         {"tinct-batch", "apply", "big.tnc", "--set", "1=1,0.5,0", "-o", "a.rgb", "--force"},
         {"a.rgb"},
         false},
        {batch_run,
         {"tinct-batch", "apply", "big.tnc", "--set", "1=@weave.rgb:size=0.5", "--uncompressed", "-o", "a.tif",
          "--force"},
         {"a.tif"},
         false},
        {batch_run, {"tinct-batch", "apply", "big.tnc", "--set", "2=0,1,0", "-o", "new.gif"}, {"new.gif"}, true},
        {nullptr, {"tinct-sample", "still", ".", "--size", "48x36"}, {"still.rgb", "still.tnc"}, false},
    };
}

class ProgramCases : public AppFixture {
protected:
    // The pair is `width` by `height`, of two surfaces, one of them with u,v.
    void make_inputs(int width, int height) {
        write_native(path("big.rgb"), width, height, 27,
                     [](int x, int y, int plane) { return (x * x * 7 + y * 13 * (plane + 1) + x * y) >> 3; });
        write_native(path("weave.rgb"), 8, 8, 28, [](int x, int y, int) { return x * 20 + y; });
        ASSERT_EQ(run("rzl convert big.rgb big.tif --compression 32773").status, 0);
        std::string tnc("\xFA\x02\xF9\x01\x00\xF9\x02\x01", 8);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const auto byte = static_cast<char>(x * 3 + y);
                tnc += {'\x01', byte, byte, byte, static_cast<char>(x), '\x40', static_cast<char>(y), '\x41'};
                if (x % 3 == 0) tnc += {'\x02', '\x10', byte, '\x20'};
                tnc += '\xFB';
            }
            tnc += '\xFD';
        }
        write("big.tnc", tnc + '\xFF');
        known = names();
    }

    std::vector<std::string> names() const {
        std::vector<std::string> found = files();
        std::sort(found.begin(), found.end());
        return found;
    }

    // Puts the files that the command replaces back to `old`, or takes them away.
    void set_outs(const program_case& c, const std::string& old) const {
        for (const std::string& out : c.outs) {
            std::filesystem::remove(path(out));
            if (!c.only_new) write(out, old);
        }
    }

    // Runs the command unhindered and keeps what it writes.
    void learn(const program_case& c) {
        set_outs(c, OLD);
        std::string words;
        for (const std::string& word : c.words)
            words += "'" + word + "' ";
        const run_result result = run(words.substr(1, words.find('\'', 1) - 1) + words.substr(words.find('\'', 1) + 1));
        ASSERT_EQ(result.status, 0) << c.name() << result.err;
        for (const std::string& out : c.outs)
            wanted[out] = read(path(out));
        check_whole(c, 0);
        clear_outs(c);
    }

    void clear_outs(const program_case& c) const {
        for (const std::string& out : c.outs)
            std::filesystem::remove(path(out));
    }

    // Each file is old or new as a whole: new after success, old after a failure, and all of them the same after a
    // signal; nothing else is left.
    void check_whole(const program_case& c, int status, bool may_leave = false) const {
        size_t fresh = 0;
        for (const std::string& out : c.outs) {
            const bool exists = std::filesystem::exists(path(out));
            const std::string bytes = exists ? read(path(out)) : "";
            const bool is_new = exists && bytes == wanted.at(out);
            const bool is_old = c.only_new ? !exists : bytes == OLD;
            EXPECT_TRUE(is_new || is_old) << c.name() << out << " is torn: " << bytes.size() << " bytes";
            if (is_new) ++fresh;
        }
        if (status == 0) {
            EXPECT_EQ(fresh, c.outs.size()) << c.name();
        } else if (status < 128) {
            EXPECT_EQ(fresh, 0U) << c.name() << "has failed and replaced something";
        }
        if (may_leave) return;
        std::vector<std::string> left = names();
        for (const std::string& out : c.outs)
            left.erase(std::remove(left.begin(), left.end(), out), left.end());
        EXPECT_EQ(left, known) << c.name();
    }

    static constexpr const char* OLD = "the old content";
    std::map<std::string, std::string> wanted; // what each file holds after success
    std::vector<std::string> known;            // files that are always there
};
