// The whole application under a monkey: clicks, drags, keys, texts and sizes at random, at several depths. Nothing is
// expected but that the program goes on until it is left, by Exit or Ctrl+Q, and comes up again.
#include <random>

#include "forms_session.h"

namespace {

class Monkey : public FormsSession {
protected:
    static constexpr int STEPS = 400;

    // One thing that a user may do. The picker's way to other directories than the test's own is left out.
    void act() {
        const auto any = [this](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
        const int x = any(1184);
        const int y = any(830);
        if (any(50) == 0) return headless_resize(600 + any(1000), 400 + any(700), host_state::restored);
        switch (any(10)) {
        case 0:
        case 1:
        case 2:
        case 3: headless_click(x, y, HOST_LEFT); break;
        case 4: headless_click(x, y, HOST_RIGHT); break;
        case 5:
            headless_pointer(x, y);
            headless_button(HOST_LEFT, any(2) == 0, 0);
            break;
        case 6: headless_type(words[any(static_cast<int>(words.size()))].c_str()); break;
        case 7: headless_key(any(2) == 0 ? host_key::escape : host_key::enter, any(2) == 0 ? 27 : 13, 0); break;
        case 8: headless_key(host_key::character, "zyosq"[any(5)], HOST_CTRL); break;
        default: {
            const host_key keys[] = {host_key::tab,  host_key::page_up, host_key::page_down, host_key::left,
                                     host_key::home, host_key::f1,      host_key::f11,       host_key::down};
            headless_key(keys[any(8)], 0, 0);
        }
        }
    }

    std::mt19937 random;
    const std::vector<std::string> words = {"1",         "0.5", "still.tnc", "out.tif", "*.rgb", "b", "f+",
                                            "brick.rgb", "\\",  "a",         "300",     "Red",   "{", "x.rgb,1,2"};
};

} // namespace

TEST_F(Monkey, DoesNoHarm) {
    stop_set_action([](void*, int) {}, nullptr);
    may_end = true;
    for (const int planes : {24, 8, 4}) {
        SCOPED_TRACE(planes);
        random.seed(static_cast<unsigned>(planes));
        int ends = 0;
        for (int left = STEPS; left > 0; ++ends) {
            steps.clear();
            for (int i = 0; i < left; ++i)
                step([this, &left] {
                    --left;
                    act();
                });
            // Whatever box or form is up is left, and nothing holds the end up.
            step([] { headless_button(HOST_LEFT, false, 0); });
            for (int i = 0; i < 12; ++i)
                step([] { headless_key(host_key::escape, 27, 0); });
            step([] {
                image_mark_unchanged();
                program_palette.changed = false;
            });
            EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}, planes), 0);
            forms_wanted = true;
        }
        EXPECT_GT(ends, 1) << "Exit was never met";
    }
}
