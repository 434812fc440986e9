// Failing memory and files under the whole application: what was open stays or the new is whole, and something is told.
#include "forms_session.h"

#include <malloc.h>

#include "desktop/commands.h"
#include "desktop/patternform.h"
#include "desktop/picker.h"
#include "platform/window/deskdata.h"

namespace {

class Sweep : public FormsSession {
protected:
    void SetUp() override {
        FormsSession::SetUp();
        std::filesystem::copy(path("still.rgb"), path("other.rgb"));
        std::string tnc = read(path("still.tnc"));
        write("other.tnc", tnc.replace(tnc.find("still.rgb"), 9, "other.rgb"));
        write("first.tnp", "Red {color = (1, 0, 0);}\n");
        write("second.tnp", "A {color = (1, 0, 0);}\nB {color = (0, 1, 0);}\nBrick {pattern = \"brick.rgb\";}\n");
        write("my.sets", "2=1,0.5,0\n3=@brick.rgb:rotation=30\n");
    }
    // What is open, as far as the user has made or chosen it.
    static std::string state() {
        std::string all = std::string(open_image.tnc_path) + "\n" + planes();
        for (int i = 0; i < program_palette.colors.count; ++i)
            all += program_palette.colors.entries[i]->name + std::string("\n");
        return all + std::to_string(program_palette.patterns.count);
    }

    // The n-th allocation or transfer fails, or all from it on.
    struct plan {
        bool is_memory, onward;
        long n;
        void arm() const {
            if (is_memory)
                mem_fail_after(n, onward ? mem_fail::onward : mem_fail::once);
            else
                files_fail_after(n, onward ? files_fail::nothing : files_fail::once);
        }
        bool stop() const { return is_memory ? mem_fail_stop() : files_fail_stop(); }
        std::string name() const {
            return std::string(is_memory ? "memory " : "files ") + (onward ? "from " : "at ") + std::to_string(n);
        }
    };
    static constexpr plan PLANS[] = {{true, false, 0}, {true, true, 0}, {false, false, 0}, {false, true, 0}};

    // Fails an action at each n in steps of `stride`, until n isn't reached. Before each try `reset` brings things to
    // where they were.
    void sweep(const char* what, int stride, const std::function<void()>& reset, const std::function<bool()>& act,
               bool by_parts = false) {
        SCOPED_TRACE(what);
        reset();
        const std::string before = state();
        ASSERT_TRUE(act());
        const std::string whole = state();
        for (plan p : PLANS) {
            for (;; p.n += stride) {
                SCOPED_TRACE(p.name());
                reset();
                ASSERT_TRUE(state() == before);
                const size_t told = messages.size();
                p.arm();
                const bool done = act();
                if (!p.stop()) break;
                const std::string now = state();
                const bool is_told = messages.size() > told;
                EXPECT_TRUE(is_told || (done && now == whole)) << "nothing was told";
                // A palette may be read and a recipe applied in part, when that was told.
                EXPECT_TRUE(now == before || now == whole || by_parts);
            }
        }
        reset();
        ASSERT_TRUE(act());
        EXPECT_TRUE(state() == whole);
    }
};

} // namespace

TEST_F(Sweep, WhatIsOpenStaysOrIsWhole) {
    record_messages();
    press(PATTERN, 200);
    step([this] {
        const auto opened = [] {
            image_mark_unchanged();
            program_palette.changed = false;
            ASSERT_NE(open_image_command("still.tnc"), 0);
            ASSERT_NE(open_palette_command("my.tnp"), 0);
        };
        const auto chosen_pattern = [&] {
            opened();
            set_pen(2);
            pattern_select(0);
        };
        const auto no_blocks = [&] {
            opened();
            pattern_blocks_drop();
        };
        const auto apply = [] {
            apply_selection();
            return open_image.appliques[2] != nullptr;
        };
        const auto page = [] {
            pattern_form_paint();
            return true;
        };
        // Without memory for the picker itself nothing opens, and nothing is told.
        const auto picker = [this] {
            open_image_picker_command();
            if (form_of(PICKER) == nullptr) messages.emplace_back("none");
            file_pickers_cancel();
            return true;
        };
        sweep("open", 3, opened, [] { return open_image_command("other.tnc") != 0; });
        sweep(
            "palette", 2, opened, [] { return open_palette_command("second.tnp") != 0; }, true);
        sweep("apply", 1, chosen_pattern, apply);
        sweep(
            "recipe", 1, opened, [] { return load_recipe("my.sets") == 2; }, true);
        sweep("page", 2, no_blocks, page);
        sweep("picker", 7, opened, picker);
    });
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}

// Saving over a file: the old one stays and that is told, or the new one is whole.
TEST_F(Sweep, ASaveLeavesTheOldFileOrIsWhole) {
    ASSERT_EQ(run("tinct-batch apply still.tnc --set 2=1,0,0 --gamma 2.2 -o batch.gif").status, 0);
    const std::string whole = read(path("batch.gif"));
    record_messages();
    step([] {
        set_pen(2);
        color_select(1, 0, 0);
        apply_selection();
    });
    static plan p;
    static size_t told;
    press(MAIN, 151);
    press(OUTPUT, 19); // GIF
    type(OUTPUT, 13, "out.gif");
    press(OUTPUT, 1);
    for (plan kind : PLANS) {
        for (int last = 0; kind.n < 250; last = int(kind.n), kind.n += last / 2 + 1) {
            press(MAIN, 151);
            press(OUTPUT, 1);
            step([=, this] {
                ASSERT_NE(desk.modal, nullptr) << "overwrite?";
                write("out.gif", "old");
                told = messages.size();
                headless_key(host_key::enter, 13, 0);
                p = kind;
                p.arm();
            });
            step([=, this] {
                SCOPED_TRACE(p.name());
                const bool failed = p.stop();
                const std::string now = read(path("out.gif"));
                EXPECT_TRUE(now == whole || (now == "old" && failed));
                EXPECT_TRUE(now == whole || messages.size() > told || desk.modal != nullptr) << "nothing was told";
                headless_key(host_key::escape, 27, 0);
            });
        }
    }
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}

// A start without memory ends with status 1, or the program works.
TEST_F(Sweep, AStartWithoutMemoryEndsOrGoesOn) {
    for (const bool onward : {false, true}) {
        for (long n = 5;; n += 73) {
            has_failed = false;
            mem_fail_after(n, onward ? mem_fail::onward : mem_fail::once);
            const int status = run_program({"-f", "still.tnc", "-p", "my.tnp"}, 1184, 830, 24);
            const bool hit = mem_fail_stop() || has_failed;
            EXPECT_TRUE(status == 0 || (status == 1 && hit)) << n;
            if (!hit) break;
        }
    }
}

// Memory is flat over opening, applying, paging and undoing.
TEST_F(Sweep, MemoryIsFlat) {
#ifdef __SANITIZE_ADDRESS__
    constexpr int ROUNDS = 16; // of what is slow here; a release build has many
#else
    constexpr int ROUNDS = 1000;
#endif
    record_messages();
    press(PATTERN, 200);
    step([this] {
        long live = 0;
        size_t bytes = 0;
        for (int i = 0; i <= ROUNDS; ++i) {
            ASSERT_NE(open_image_command(i % 2 == 0 ? "still.tnc" : "other.tnc"), 0);
            set_pen(2);
            color_select(1, 0, 0);
            apply_selection();
            pattern_select(0);
            apply_selection();
            undo_command();
            undo_command();
            pattern_blocks_drop();
            pattern_form_paint();
            if (i == ROUNDS / 8 * 2) live = mem_live(), bytes = mallinfo2().uordblks;
        }
        EXPECT_EQ(mem_live(), live);
        EXPECT_LE(mallinfo2().uordblks, bytes + 64 * 1024);
        EXPECT_TRUE(messages.empty());
    });
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}
