// Sessions with the forms up: gadgets are found by their label, and pressed and typed into as a user does.
#pragma once

#include "session.h"

#include "desktop/mainform.h"
#include "desktop/selection.h"
#include "forms/forms.h"

class FormsSession : public Session {
protected:
    static constexpr int MAIN = 1, PATTERN = 2, PICKER = 3, OUTPUT = 333;

    void SetUp() override {
        Session::SetUp();
        forms_wanted = true;
        static std::string tnc, raster; // rendered once
        if (tnc.empty()) {
            ASSERT_EQ(run("tinct-sample still . --size 160x120").status, 0);
            tnc = read("still.tnc");
            raster = read("still.rgb");
        }
        write("still.tnc", tnc);
        write("still.rgb", raster);
        write("my.tnp", "Red {color = (1, 0, 0);}\nBlue {color = (0, 0.1, 0.9);}\nBrick {pattern = \"brick.rgb\";}\n");
        std::filesystem::copy(source_dir() + "/data/images/brick.rgb", path("brick.rgb"));
    }
    // Null when there is none.
    static FI_form* form_of(int label) {
        for (int window = 0; window < WINDOW_COUNT; ++window) {
            FI_form* form = nullptr;
            if (FI_get_form_by_window(window, &form) == FI_SUCCESS && static_cast<int>(form->label) == label)
                return form;
        }
        return nullptr;
    }
    // The middle of a gadget, or a point of it, on the screen.
    static canvas_point place_of(int form_label, int gadget, int right = -1, int down = -1) {
        FI_form* form = form_of(form_label);
        if (form == nullptr) {
            ADD_FAILURE() << "form " << form_label << " isn't shown";
            return {0, 0};
        }
        int x = 0, y = 0, width = 0, height = 0, window = 0, x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        EXPECT_EQ(FIg_get_location(form, gadget, &x, &y), FI_SUCCESS) << gadget;
        FIg_get_size(form, gadget, &width, &height);
        FIf_get_window(form, &window);
        Inq_win_region(window, &x1, &y1, &x2, &y2);
        return {x1 + x + (right < 0 ? width / 2 : right), y1 + y + (down < 0 ? height / 2 : down)};
    }
    void press(int form_label, int gadget, int right = -1, int down = -1) {
        step([=] {
            const canvas_point p = place_of(form_label, gadget, right, down);
            headless_click(p.x, p.y, HOST_LEFT);
        });
        settle();
    }
    // Clicks wait for a second one, and loops of the toolkit end by themselves.
    void settle() {
        step([] {});
        step([] {});
    }
    // Types into a field over what it holds, and leaves it.
    void type(int form_label, int gadget, const std::string& text) {
        press(form_label, gadget);
        step([=] { FIfld_set_text(form_of(form_label), gadget, 0, 0, "", 0); });
        step([=] { headless_type(text.c_str()); });
        step([] { headless_key(host_key::enter, 13, 0); });
        settle();
    }
    void key(host_key code, uint32_t character, int modifiers = 0) {
        step([=] { headless_key(code, character, static_cast<uint8_t>(modifiers)); });
        settle();
    }
    static std::string text_of(int form_label, int gadget, int row = 0) {
        char text[4096] = "";
        FIfld_get_text(form_of(form_label), gadget, row, 0, sizeof text, text, nullptr, nullptr);
        return text;
    }
    static std::string planes() {
        const raster_image* p = open_image.picture;
        const size_t size = size_t(p->width) * size_t(p->height);
        std::string all;
        for (const uint8_t* plane : {p->red, p->green, p->blue})
            all.append(reinterpret_cast<const char*>(plane), size);
        return all;
    }
    int run_forms(const std::vector<std::string>& arguments, int planes_of_screen = 24) {
        return run_program(arguments, 1184, 830, planes_of_screen);
    }
    std::string pixels(const std::string& name) const {
        const run_result result = run("rzl cat " + name);
        EXPECT_EQ(result.status, 0) << result.err;
        return result.out;
    }
};
