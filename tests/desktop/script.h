// Sessions as texts of commands and expectations, a line each or divided by ";".
//
//   press FORM GADGET [RIGHT DOWN]   a click in the middle of a gadget, or at a point of it
//   type FORM GADGET TEXT            over what the field holds, and Return; without TEXT it is emptied
//   keys TEXT      key NAME          typed; Return, Escape, Tab and the like, also "ctrl+s", "tab*3"
//   drop FILE      at X Y            a file on the window; a click in the picture
//   text FORM GADGET[:ROW] TEXT      what a field shows, without the blanks around it
//   has FORM GADGET[:ROW] TEXT       a part of it
//   value FORM GADGET NUMBER         of a slider, a toggle or a button
//   told TEXT      asked             a part of the next message; a box asks something
//   up FORM        gone FORM         the form is shown, or isn't
//   is NAME VALUE                    one of the numbers of value_of()
//   drawn                            each pixel of the picture's window is right
//
// At the end of a script nothing is left that was told.
#pragma once

#include "forms_session.h"

#include <sstream>

#include "desktop/commands.h"
#include "platform/window/deskdata.h"
#include "view/viewtools.h"

class ScriptSession : public FormsSession {
protected:
    void script(const char* text) {
        record_messages();
        std::string all = text;
        std::replace(all.begin(), all.end(), ';', '\n');
        std::istringstream lines(all);
        std::string line;
        while (std::getline(lines, line)) {
            std::istringstream words(line);
            std::string verb;
            if (words >> verb) add_line(line, verb, words);
        }
        step([this] {
            for (; told < messages.size(); ++told)
                ADD_FAILURE() << "told: " << messages[told];
        });
    }

private:
    static std::string rest_of(std::istringstream& words) {
        std::string rest;
        std::getline(words >> std::ws, rest);
        words.clear();
        return rest;
    }
    static int form_named(const std::string& name) {
        const std::pair<const char*, int> names[] = {{"main", MAIN},     {"pattern", PATTERN}, {"picker", PICKER},
                                                     {"output", OUTPUT}, {"question", 912},    {"editor", 914},
                                                     {"recent", 915}};
        for (const auto& [known, label] : names)
            if (name == known) return label;
        ADD_FAILURE() << "no form " << name;
        return 0;
    }
    static double value_of(const std::string& name) {
        if (name == "zoom") return picture_view.zoom;
        if (name == "pen") return highlighted_pen;
        if (name == "steps") return image_undo_count();
        if (name == "changed") return open_image.image_changed ? 1 : 0;
        if (name == "colours") return program_palette.colors.count;
        if (name == "patterns") return program_palette.patterns.count;
        if (name == "palette_changed") return program_palette.changed ? 1 : 0;
        if (name == "red") return chosen.red;
        if (name == "size") return chosen.size;
        if (name == "rotation") return chosen.rotation;
        if (name == "mirror") return chosen.mirror ? 1 : 0;
        if (name == "kind") return static_cast<int>(chosen.kind);
        if (name == "gamma") return remembered.gamma;
        if (name == "open") return open_image.picture != nullptr ? 1 : 0;
        if (name == "keys_at") { // the gadget that has the keys
            FI_form* form = nullptr;
            int label = 0, next = 0, previous = 0;
            FI_get_input(&form, &label, &next, &previous);
            return label;
        }
        if (name == "tool") return current_tool != tool_default ? 1 : 0;
        ADD_FAILURE() << "no value " << name;
        return 0;
    }
    void press_key(const std::string& name) {
        const std::pair<const char*, std::pair<host_key, uint32_t>> names[] = {
            {"enter", {host_key::enter, 13}}, {"escape", {host_key::escape, 27}},
            {"tab", {host_key::tab, 9}},      {"f1", {host_key::f1, 0}},
            {"f11", {host_key::f11, 0}},      {"up", {host_key::up, 0}},
            {"down", {host_key::down, 0}},    {"left", {host_key::left, 0}},
            {"right", {host_key::right, 0}},  {"home", {host_key::home, 0}},
            {"end", {host_key::end, 0}},      {"page_down", {host_key::page_down, 0}},
            {"delete", {host_key::remove, 0}}};
        const size_t times = name.find('*');
        for (int i = 1; times != std::string::npos && i < std::stoi(name.substr(times + 1)); ++i)
            press_key(name.substr(0, times));
        if (times != std::string::npos) return press_key(name.substr(0, times));
        const size_t plus = name.rfind('+');
        const std::string bare = plus == std::string::npos ? name : name.substr(plus + 1);
        const int modifiers = (name.find("ctrl+") != std::string::npos ? HOST_CTRL : 0) |
                              (name.find("shift+") != std::string::npos ? HOST_SHIFT : 0);
        if (bare == "space") {
            step([] { headless_type(" "); });
            return settle();
        }
        for (const auto& [known, code] : names)
            if (bare == known) return key(code.first, code.second, modifiers);
        key(host_key::character, static_cast<uint8_t>(bare[0]), modifiers);
    }
    static std::string trimmed(const std::string& text) {
        const size_t first = text.find_first_not_of(' ');
        return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
    }

    void add_line(const std::string& line, const std::string& verb, std::istringstream& words) {
        std::string form_name, gadget_text;
        if (verb == "press" || verb == "type" || verb == "text" || verb == "has" || verb == "value") {
            words >> form_name >> gadget_text;
            const int form = form_named(form_name);
            const int gadget = std::stoi(gadget_text);
            const size_t colon = gadget_text.find(':');
            const int row = colon == std::string::npos ? 0 : std::stoi(gadget_text.substr(colon + 1));
            int right = -1, down = -1;
            if (verb == "press") {
                words >> right >> down;
                press(form, gadget, right, down);
                return;
            }
            const std::string rest = rest_of(words);
            if (verb == "type") return type(form, gadget, rest);
            if (verb == "value") {
                step([=] {
                    double value = -1.0;
                    FIg_get_value(form_of(form), gadget, &value);
                    EXPECT_NEAR(value, std::stod(rest), 1e-5) << line;
                });
                return;
            }
            step([=] {
                const std::string now = trimmed(text_of(form, gadget, row));
                const bool holds = verb == "text" ? now == rest : now.find(rest) != std::string::npos;
                EXPECT_TRUE(holds) << line << "\n  shown: " << now;
            });
        } else if (verb == "key") {
            press_key(rest_of(words));
        } else if (verb == "is") {
            std::string name;
            double value = 0.0;
            words >> name >> value;
            step([=] { EXPECT_NEAR(value_of(name), value, 1e-5) << line; });
        } else {
            add_short_line(line, verb, rest_of(words));
        }
    }
    void add_short_line(const std::string& line, const std::string& verb, const std::string& rest) {
        step([=, this] {
            if (verb == "keys")
                headless_type(rest.c_str());
            else if (verb == "drop")
                drop(rest.c_str());
            else if (verb == "at")
                click(std::stoi(rest), std::stoi(rest.substr(rest.find(' '))));
            else if (verb == "drawn")
                EXPECT_EQ(wrong_pixels(), 0);
            else if (verb == "asked")
                EXPECT_NE(desk.modal, nullptr) << line;
            else if (verb == "up" || verb == "gone")
                EXPECT_EQ(form_of(form_named(rest)) != nullptr, verb == "up") << line;
            else if (verb != "told")
                ADD_FAILURE() << "no such line: " << line;
            else if (told >= messages.size())
                ADD_FAILURE() << "nothing was told: " << line;
            else
                EXPECT_NE(messages[told++].find(rest), std::string::npos) << line << "\n  told: " << messages[told - 1];
        });
        if (verb == "keys" || verb == "drop" || verb == "at") settle();
    }

    size_t told = 0; // of the messages
};
