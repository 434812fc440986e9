// The user of a run without one. Whenever the program waits and nothing is due, the next step is done: it posts input,
// or looks at what has become of it.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "gallery.h"
#include "platform/window/desk.h"
#include "tools/events.h"
#include "tools/windows.h"

namespace {

enum class act : uint8_t {
    page,    // shows page number `label`, or that of the file `text`, by its button in the index
    click,   // on a gadget of the page
    drag,    // from its middle to the right by `value`
    lift,    // from its middle up by `value`
    key,     // types the character `value`
    special, // presses the host_key `value`
    back,    // Shift and Tab
    start,   // the keyboard begins at that gadget
    value,   // the gadget's value is that
    text,    // its text is that
    told,    // the last notification was of this gadget, with that value
    near,    // the same, with about that value: a pixel counts for more or less by the size of the screen
    about,   // the gadget's value is about that
    silent,  // none has come since the step before
    hilited, // whether it is highlighted, 0 or 1
    shown,   // whether it is displayed, 0 or 1
    popups,  // clicks on a gadget of the top pop-up
    popup,   // whether a pop-up is up
    mark,    // keeps what is on the screen
    same,    // it looks as it did then
    shot,    // writes it, under the page's name or that of `text`
};

struct step {
    act what;
    int label;
    double value;
    const char* text;
};

constexpr double OFF = 0, ON = 1;

constexpr step STEPS[] = {
    {act::page, 0, 0, ""},
    {act::shot, 0, 0, ""},
    {act::click, 11, 0, ""}, // an ordinary button stays in, and comes out again
    {act::value, 11, ON, ""},
    {act::told, 11, ON, ""},
    {act::click, 11, 0, ""},
    {act::told, 11, OFF, ""},
    {act::click, 13, 0, ""}, // disabled
    {act::silent, 13, 0, ""},
    {act::value, 13, OFF, ""},
    {act::click, 41, 0, ""}, // springs back after it has told
    {act::told, 41, ON, ""},
    {act::value, 41, OFF, ""},
    {act::click, 42, 0, ""}, // a menu button keeps its value
    {act::told, 42, OFF, ""},
    {act::click, 52, 0, ""}, // one of three
    {act::value, 51, OFF, ""},
    {act::value, 52, ON, ""},
    {act::click, 52, 0, ""},
    {act::value, 52, ON, ""},
    {act::told, 52, ON, ""},
    {act::click, 3, 0, ""}, // everything as it was
    {act::value, 51, ON, ""},
    {act::value, 52, OFF, ""},
    {act::value, 3, OFF, ""},

    {act::page, 1, 0, ""},
    {act::shot, 1, 0, ""},
    {act::click, 11, 0, ""},
    {act::value, 11, ON, ""},
    {act::told, 11, ON, ""},
    {act::click, 12, 0, ""},
    {act::told, 12, OFF, ""},
    {act::click, 51, 0, ""},
    {act::value, 52, OFF, ""},
    {act::click, 51, 0, ""},
    {act::value, 51, ON, ""},

    {act::page, 2, 0, ""},
    {act::shot, 2, 0, ""},
    {act::click, 31, 0, ""}, // three states
    {act::value, 31, 1, ""},
    {act::click, 31, 0, ""},
    {act::value, 31, 2, ""},
    {act::click, 31, 0, ""},
    {act::value, 31, 0, ""},
    {act::click, 34, 0, ""}, // always on
    {act::value, 34, ON, ""},
    {act::told, 34, ON, ""},
    {act::click, 51, 0, ""},
    {act::value, 53, OFF, ""},

    {act::page, 3, 0, ""},
    {act::shot, 3, 0, ""},
    {act::click, 11, 0, ""}, // a text is complete at once
    {act::told, 11, 0, ""},

    {act::page, 4, 0, ""},
    {act::shot, 4, 0, ""},
    {act::click, 120, 0, ""}, // only filled rectangles are hit
    {act::told, 120, 0, ""},
    {act::click, 100, 0, ""},
    {act::silent, 0, 0, ""},

    {act::page, 5, 0, ""},
    {act::shot, 5, 0, ""},
    {act::click, 21, 0, ""}, // the value travels along two links
    {act::value, 22, ON, ""},
    {act::text, 23, 0, "1.000000"},
    {act::click, 32, 0, ""}, // a group hides and comes back
    {act::shown, 41, 0, ""},
    {act::click, 33, 0, ""},
    {act::shown, 41, 1, ""},
    {act::click, 34, 0, ""},
    {act::click, 41, 0, ""},
    {act::value, 41, OFF, ""},
    {act::click, 35, 0, ""},
    {act::click, 41, 0, ""},
    {act::value, 41, ON, ""},
    {act::click, 31, 0, ""}, // the keyboard: first, second, past the disabled one, and back
    {act::hilited, 11, 1, ""},
    {act::key, 0, ' ', ""},
    {act::value, 11, ON, ""},
    {act::told, 11, ON, ""},
    {act::special, 0, double(host_key::tab), ""},
    {act::hilited, 11, 0, ""},
    {act::hilited, 12, 1, ""},
    {act::key, 0, ' ', ""},
    {act::told, 12, ON, ""},
    {act::special, 0, double(host_key::tab), ""},
    {act::hilited, 14, 1, ""},
    {act::key, 0, ' ', ""},
    {act::key, 0, ' ', ""},
    {act::value, 14, 2, ""},
    {act::back, 0, 0, ""},
    {act::hilited, 12, 1, ""},
    {act::special, 0, double(host_key::enter), ""},
    {act::special, 0, double(host_key::enter), ""},
    {act::hilited, 15, 1, ""},
    {act::key, 0, ' ', ""},
    {act::told, 15, ON, ""},
    {act::value, 15, OFF, ""},
    {act::hilited, 15, 1, ""},
    {act::click, 42, 0, ""}, // a press ends it, and is a press all the same
    {act::hilited, 15, 0, ""},
    {act::value, 42, ON, ""},
    {act::mark, 0, 0, ""}, // pop-ups, two of them, without a trace
    {act::click, 36, 0, ""},
    {act::popup, 0, 1, ""},
    {act::popups, 12, 0, ""},
    {act::shot, 0, 0, "g_popup"},
    {act::click, 12, 0, ""}, // nothing below takes a press
    {act::value, 12, ON, ""},
    {act::popups, 11, 0, ""},
    {act::popups, 11, 0, ""},
    {act::popup, 0, 0, ""},
    {act::same, 0, 0, ""},

    {act::page, 0, 0, "g_slider"},
    {act::shot, 0, 0, "g_slider"},
    {act::click, 11, 0, ""}, // the middle of the track
    {act::near, 11, 50, ""},
    {act::drag, 11, 60, ""}, // the thumb's middle follows the pointer
    {act::near, 11, 73, ""},
    {act::drag, 11, 900, ""}, // out of reach: back
    {act::near, 11, 73, ""},
    {act::drag, 11, 200, ""}, // beyond the end: the end
    {act::value, 11, 100, ""},
    {act::drag, 12, 60, ""}, // disabled
    {act::silent, 12, 0, ""},
    {act::drag, 15, 60, ""}, // reversed
    {act::near, 15, 31, ""},
    {act::drag, 16, 40, ""}, // in steps of a quarter
    {act::told, 16, 0.25, ""},
    {act::drag, 18, 60, ""}, // along two links, the second of a reversed one
    {act::about, 19, 73, ""},
    {act::lift, 21, 50, ""},
    {act::near, 21, 90, ""},
    {act::lift, 25, 50, ""},
    {act::near, 25, 10, ""},
    {act::start, 11, 0, ""}, // arrow keys, digits, and a step beyond the end
    {act::hilited, 11, 1, ""},
    {act::special, 0, double(host_key::left), ""},
    {act::told, 11, 99, ""},
    {act::special, 0, double(host_key::right), ""},
    {act::special, 0, double(host_key::right), ""},
    {act::told, 11, 100, ""},
    {act::key, 0, '4', ""},
    {act::key, 0, '2', ""},
    {act::special, 0, double(host_key::tab), ""},
    {act::told, 11, 42, ""},
    {act::hilited, 11, 0, ""},
    {act::click, 24, 0, ""},

    {act::page, 0, 0, "g_dial"},
    {act::shot, 0, 0, "g_dial"},
    {act::drag, 11, 40, ""}, // from the top clockwise
    {act::told, 11, 90, ""},
    {act::lift, 11, 40, ""},
    {act::told, 11, 0, ""},
    {act::lift, 15, 40, ""},
    {act::drag, 15, -40, ""}, // the other way round, by 5
    {act::told, 15, 90, ""},
    {act::text, 17, 0, "90"},
    {act::drag, 16, 40, ""}, // a bar follows
    {act::value, 18, 15, ""},
    {act::start, 16, 0, ""},
    {act::special, 0, double(host_key::right), ""},
    {act::told, 16, 16, ""},
    {act::special, 0, double(host_key::left), ""},
    {act::special, 0, double(host_key::enter), ""},
    {act::value, 18, 15, ""},

    {act::page, 0, 0, "g_bar"},
    {act::shot, 0, 0, "g_bar"},
    {act::lift, 32, 60, ""},
    {act::near, 32, 85, ""},
    {act::about, 31, 85, ""},
    {act::click, 11, 0, ""}, // a bar takes no value from the mouse
    {act::value, 11, 60, ""},

    {act::page, 0, 0, "g_scroll"},
    {act::shot, 0, 0, "g_scroll"},
    {act::click, 11, 0, ""}, // the trough: the thumb's middle goes there
    {act::near, 11, 67, ""},
    {act::lift, 11, 70, ""},
    {act::near, 11, 7, ""},
    {act::click, 32, 0, ""}, // between two arrows of one that has nothing else
    {act::told, 32, 0, ""},
    {act::click, 34, 0, ""},
    {act::start, 11, 0, ""},
    {act::special, 0, double(host_key::down), ""},
    {act::near, 11, 8, ""},
    {act::special, 0, double(host_key::right), ""}, // a page: a quarter of 120 is seen
    {act::near, 11, 38, ""},
    {act::special, 0, double(host_key::end), ""},
    {act::told, 11, 90, ""},
    {act::special, 0, double(host_key::tab), ""},
    {act::hilited, 14, 1, ""},
    {act::drag, 21, 60, ""},
    {act::near, 21, 63, ""},
    {act::click, 24, 0, ""},
    {act::about, 25, 3, ""},

    {act::page, 0, 0, "g_field"},
    {act::shot, 0, 0, "g_field"},
    {act::click, 11, 0, ""}, // typed into from the middle on, and left by Tab
    {act::hilited, 11, 1, ""},
    {act::special, 0, double(host_key::home), ""},
    {act::key, 0, 'N', ""},
    {act::special, 0, double(host_key::right), ""},
    {act::special, 0, double(host_key::remove), ""},
    {act::text, 11, 0, "NSmple 1"},
    {act::special, 0, double(host_key::tab), ""},
    {act::told, 11, 0, ""},
    {act::hilited, 11, 0, ""},
    {act::hilited, 15, 1, ""},
    {act::special, 0, double(host_key::remove), ""}, // a number out of its range goes back
    {act::key, 0, '9', ""},
    {act::key, 0, '9', ""},
    {act::special, 0, double(host_key::enter), ""},
    {act::text, 15, 0, "2.500"},
    {act::told, 15, 0, ""},
    {act::hilited, 16, 1, ""},
    {act::back, 0, 0, ""},
    {act::hilited, 15, 1, ""},
    {act::click, 12, 0, ""}, // a disabled one takes nothing
    {act::key, 0, 'x', ""},
    {act::text, 12, 0, "Sample 2"},
    {act::click, 23, 0, ""}, // the row in the middle
    {act::text, 23, 0, "blue"},
    {act::told, 23, 2, ""},
    {act::click, 31, 0, ""}, // rolls on
    {act::text, 31, 0, "large"},
    {act::click, 31, 0, ""},
    {act::text, 31, 0, "small"},
    {act::click, 32, 0, ""},
    {act::text, 32, 0, ""},
    {act::click, 3, 0, ""},
    {act::text, 11, 0, "Sample 1"},
    {act::text, 31, 0, "medium"},

    {act::page, 0, 0, "g_fieldlist"},
    {act::shot, 0, 0, "g_fieldlist"},
    {act::click, 3, 0, ""},
    {act::mark, 0, 0, ""},
    {act::click, 16, 0, ""}, // Down opens the list, a choice closes it, and nothing is left of it
    {act::special, 0, double(host_key::down), ""},
    {act::shot, 0, 0, "g_fieldlist-open"},
    {act::special, 0, double(host_key::down), ""},
    {act::special, 0, double(host_key::down), ""},
    {act::special, 0, double(host_key::enter), ""},
    {act::text, 16, 0, "March"},
    {act::special, 0, double(host_key::enter), ""},
    {act::told, 16, 0, ""},
    {act::hilited, 17, 1, ""},
    {act::key, 0, 'x', ""}, // an entry that isn't in the list goes back
    {act::special, 0, double(host_key::tab), ""},
    {act::text, 17, 0, "red"},
    {act::click, 3, 0, ""},
    {act::same, 0, 0, ""},

    {act::page, 0, 0, "g_mcf"},
    {act::shot, 0, 0, "g_mcf"},
    {act::click, 16, 0, ""}, // through the table by keys
    {act::told, 16, 1, ""},
    {act::click, 15, 0, ""},
    {act::key, 0, 'g', ""},
    {act::text, 15, 0, "ggreen"},
    {act::special, 0, double(host_key::tab), ""},
    {act::key, 0, '7', ""},
    {act::text, 15, 0, "72"},
    {act::special, 0, double(host_key::tab), ""},
    {act::told, 15, 1, ""},
    {act::click, 3, 0, ""},

    {act::page, 0, 0, "g_busy"},
    {act::shot, 0, 0, "g_busy"},
    {act::lift, 21, 30, ""}, // a bar shows what a slider says
    {act::near, 21, 82, ""},
    {act::about, 31, 82, ""},
    {act::drag, 25, 40, ""}, // a field follows the dial
    {act::told, 25, 90, ""},
    {act::text, 26, 0, "90"},
    {act::click, 43, 0, ""}, // one of each group
    {act::value, 42, OFF, ""},
    {act::click, 53, 0, ""},
    {act::value, 52, OFF, ""},
    {act::click, 63, 0, ""},
    {act::value, 63, 0, ""},
    {act::click, 27, 0, ""},
    {act::told, 27, ON, ""},
    {act::start, 64, 0, ""}, // a text follows the scroll bar
    {act::special, 0, double(host_key::end), ""},
    {act::text, 66, 0, "60.000000"},
    {act::special, 0, double(host_key::tab), ""},
    {act::hilited, 65, 1, ""},
    {act::special, 0, double(host_key::down), ""},
    {act::told, 65, 1, ""},
    {act::click, 76, 0, ""},
    {act::silent, 76, 0, ""},
    {act::click, 75, 0, ""},
    {act::told, 75, ON, ""},
    {act::click, 3, 0, ""}, // as it was
    {act::told, 3, ON, ""},
    {act::value, 21, 60, ""},
    {act::value, 25, 30, ""},
    {act::value, 42, ON, ""},
    {act::value, 52, ON, ""},
    {act::value, 63, 2, ""},
    {act::value, 64, 0, ""},
};

size_t next_step = 0;
const char* shot_directory = nullptr;
int seen = 0; // notifications before the last input
std::string marked;

// ---- input ---------------------------------------------------------------------------------------------------------

constexpr uint32_t BETWEEN = 400; // milliseconds: no two inputs make a double click

bool post(host_event event, uint32_t delay) {
    return headless_post_later(&event, delay);
}

// Wakes whoever waits.
void post_nothing() {
    host_event event = {};
    post(event, 1);
}

void click_at(int x, int y) {
    host_event event = {};
    event.kind = host_event_kind::pointer;
    event.x = x;
    event.y = y;
    post(event, BETWEEN);
    event.kind = host_event_kind::button;
    event.button = HOST_LEFT;
    event.down = true;
    post(event, 1);
    event.down = false;
    post(event, 30);
}

// The middle of a gadget, on the screen.
bool place_of(FI_form* form, int label, int* x, int* y) {
    int window = -1, x1 = 0, y1 = 0, x2 = 0, y2 = 0, width = 0, height = 0;
    if (form == nullptr || FIf_get_window(form, &window) != FI_SUCCESS ||
        FIg_get_location(form, label, x, y) != FI_SUCCESS || FIg_get_size(form, label, &width, &height) != FI_SUCCESS ||
        Inq_win_region(window, &x1, &y1, &x2, &y2) != 0)
        return false;
    *x += x1 - scroll_x + width / 2;
    *y += y1 - scroll_y + height / 2;
    return true;
}

void click(FI_form* form, int label) {
    int x = 0, y = 0;
    if (place_of(form, label, &x, &y))
        click_at(x, y);
    else
        gallery_failed("no gadget %d to click on", label);
}

// From the gadget's middle, in two steps.
void drag(FI_form* form, int label, int dx, int dy) {
    host_event event = {};
    if (!place_of(form, label, &event.x, &event.y)) return gallery_failed("no gadget %d to drag", label);
    event.kind = host_event_kind::pointer;
    event.button = HOST_LEFT;
    post(event, BETWEEN);
    event.kind = host_event_kind::button;
    event.down = true;
    post(event, 1);
    event.kind = host_event_kind::pointer;
    for (int i = 0; i < 2; ++i) {
        event.x += i == 0 ? dx / 2 : dx - dx / 2;
        event.y += i == 0 ? dy / 2 : dy - dy / 2;
        post(event, BETWEEN);
    }
    event.kind = host_event_kind::button;
    event.down = false;
    post(event, 30);
}

void press_key(host_key code, uint8_t modifiers) {
    host_event event = {};
    event.kind = host_event_kind::key;
    event.key = code;
    event.modifiers = modifiers;
    event.down = true;
    post(event, BETWEEN);
    event.down = false;
    post(event, 1);
}

void type(int character) {
    host_event event = {};
    event.kind = host_event_kind::text;
    event.character = static_cast<uint32_t>(character);
    post(event, BETWEEN);
}

// ---- checks --------------------------------------------------------------------------------------------------------

const char* page_name() {
    int label = 0;
    FI_form* form = gallery_form();
    if (form != nullptr) label = static_cast<int>(form->label);
    return gallery_pages[label].file;
}

void expect(bool good, const step& s, const char* what, double is) {
    if (good) return;
    gallery_failed("%d planes, %s, step %zu: %s of gadget %d is %g, not %g", host_screen_size()->planes, page_name(),
                   next_step, what, s.label, is, s.value);
}

constexpr double PIXELS = 5; // of a range of 100, what the fonts of another size move a thumb by

void check_value(const step& s, double tolerance) {
    double value = NAN;
    FIg_get_value(gallery_form(), s.label, &value);
    expect(std::fabs(value - s.value) <= tolerance, s, "the value", value);
}

void check_text(const step& s) {
    char text[256] = "";
    FIg_get_text(gallery_form(), s.label, text);
    if (std::strcmp(text, s.text) != 0) gallery_failed("%s: text of %d is \"%s\"", page_name(), s.label, text);
}

void check_told(const step& s, double tolerance) {
    expect(gallery_last.count > seen && gallery_last.label == s.label, s, "the last notification", gallery_last.label);
    expect(std::fabs(gallery_last.value - s.value) <= tolerance, s, "its value", gallery_last.value);
}

void check_attribute(const step& s, uint32_t mask, bool inverted, const char* what) {
    uint32_t attributes = 0;
    FIg_get_attr(gallery_form(), s.label, &attributes);
    const bool is = ((attributes & mask) != 0) != inverted;
    expect(is == (s.value != 0), s, what, is ? 1 : 0);
}

std::string screen_pixels() {
    desk_flush();
    std::string all;
    const host_screen* screen = host_screen_size();
    for (int y = 0; y < screen->height; ++y)
        for (int x = 0; x < screen->width; ++x) {
            const canvas_rgb c = headless_shown(x, y);
            all += static_cast<char>(c.red);
            all += static_cast<char>(c.green);
            all += static_cast<char>(c.blue);
        }
    return all;
}

void write_shot(const step& s) {
    if (shot_directory == nullptr) return;
    const std::string name = *s.text != '\0' ? s.text : page_name();
    const std::string path =
        std::string(shot_directory) + "/" + name + "-" + std::to_string(host_screen_size()->planes) + ".ppm";
    desk_flush();
    if (headless_screenshot(path.c_str())) return;
    gallery_failed("%s can't be written", path.c_str());
    shot_directory = nullptr; // once is enough
}

// ---- steps ---------------------------------------------------------------------------------------------------------

int page_of(const step& s) {
    for (int i = 0; i < gallery_page_count; ++i)
        if (std::strcmp(gallery_pages[i].file, s.text) == 0) return i;
    return s.label;
}

// True when it has posted input.
bool do_input(const step& s) {
    switch (s.what) {
    case act::page: click(gallery_index(), FIRST_PAGE_BUTTON + page_of(s)); break;
    case act::click: click(gallery_form(), s.label); break;
    case act::drag: drag(gallery_form(), s.label, gallery_scale() * static_cast<int>(s.value), 0); break;
    case act::lift: drag(gallery_form(), s.label, 0, -gallery_scale() * static_cast<int>(s.value)); break;
    case act::start:
        FIg_start_seq(gallery_form(), s.label);
        post_nothing();
        break;
    case act::popups: click(gallery_popup(), s.label); break;
    case act::key: type(static_cast<int>(s.value)); break;
    case act::special: press_key(static_cast<host_key>(s.value), 0); break;
    case act::back: press_key(host_key::tab, HOST_SHIFT); break;
    default: return false;
    }
    seen = gallery_last.count;
    return true;
}

void do_check(const step& s) {
    switch (s.what) {
    case act::value: check_value(s, 0); break;
    case act::about: check_value(s, PIXELS); break;
    case act::near: check_told(s, PIXELS); break;
    case act::text: check_text(s); break;
    case act::told: check_told(s, 0); break;
    case act::silent: expect(gallery_last.count == seen, s, "a notification", gallery_last.label); break;
    case act::hilited: check_attribute(s, FI_HILITED, false, "the highlight"); break;
    case act::shown: check_attribute(s, FI_NOT_DISPLAYED, true, "being shown"); break;
    case act::popup: expect((gallery_popup() != nullptr) == (s.value != 0), s, "a pop-up", s.value == 0); break;
    case act::mark: marked = screen_pixels(); break;
    case act::same:
        if (marked != screen_pixels())
            gallery_failed("%s, step %zu: it looks another way than before", page_name(), next_step);
        break;
    case act::shot: write_shot(s); break;
    default: break;
    }
}

bool idle(void* /*user*/) {
    while (next_step < sizeof STEPS / sizeof STEPS[0]) {
        const step& s = STEPS[next_step++];
        if (do_input(s)) return true;
        do_check(s);
    }
    if (gallery_quit) return false; // it doesn't end as it should
    click(gallery_index(), QUIT_BUTTON);
    gallery_quit = true;
    return true;
}

} // namespace

void gallery_script_start(const char* shots) {
    next_step = 0;
    seen = gallery_last.count;
    shot_directory = shots;
    headless_on_idle(idle, nullptr);
}
