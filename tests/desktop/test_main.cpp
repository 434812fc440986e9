// Start, dispatch and end of the program, and opening files that are no pictures.
#include "session.h"

#include "desktop/appforms.h"
#include "desktop/region.h"
#include "platform/window/deskdata.h"
#include "view/viewtools.h"

namespace {

using Main = Session;

std::string calls;

void close_main() {
    host_event event = {};
    event.kind = host_event_kind::close;
    headless_post(&event);
}

void note(void* argument) {
    calls += static_cast<const char*>(argument);
}

} // namespace

TEST_F(Main, ComesUpWithoutAPictureAndOpensWhatIsDropped) {
    write_pair();
    step([] {
        EXPECT_STREQ(headless_title(), "Korvane Tinct V3.4.0");
        EXPECT_EQ(wrong_pixels(), 0); // black
        click(10, 10);                // nothing to pick, nothing to zoom
        headless_type("+fb");
        headless_key(host_key::escape, 27, 0);
    });
    step([] { drop("still.tnc"); });
    step([] {
        EXPECT_STREQ(headless_title(), "Korvane Tinct V3.4.0 - still.tnc");
        EXPECT_EQ(picture_view.zoom, 32); // 4 by 3 in 310 by 230
        EXPECT_EQ(wrong_pixels(), 0);
        click_pixel(1, 0); // both surfaces stand there
    });
    step([] {
        EXPECT_STREQ(headless_title(), "Korvane Tinct V3.4.0 - still.tnc - surface 1");
        EXPECT_EQ(wrong_pixels(), 0);
        headless_type("-");
    });
    step([] { click((0 - picture_view.origin_x) * 16 - 1, (0 - picture_view.origin_y) * 16); }); // just left of it
    step([] {
        EXPECT_EQ(highlighted_pen, 1);
        EXPECT_EQ(headless_cursor(), host_cursor::arrow);
        click(2, 2, HOST_RIGHT); // goes on at the same pixel
    });
    step([] {
        EXPECT_EQ(highlighted_pen, 2);
        click_pixel(0, 2); // no surface is there
    });
    step([] {
        EXPECT_EQ(highlighted_pen, NO_PEN);
        EXPECT_EQ(wrong_pixels(), 0);
    });
    EXPECT_EQ(run_program({}, 316, 236, 24), 0);
}

TEST_F(Main, WhatCannotBeOpenedIsToldInOneBoxAndThePictureStays) {
    const std::string tnc = read(write_pair());
    write("pen9.tnc", tnc.substr(0, 20) + "\x09");
    write("note.txt", "");
    // At the start: a real box, which Return closes. While it is up the picture's window is covered.
    step([] {
        EXPECT_GT(headless_shown(158, 118).red, 0); // the box, in the middle of a black screen
        headless_key(host_key::enter, 13, 0);
    });
    step([] {
        EXPECT_EQ(open_image.picture, nullptr);
        EXPECT_EQ(wrong_pixels(), 0);
    });
    record_messages();
    step([] { drop("still.tnc"); });
    step([] { apply_col_pat(1, color(1, 0, 0)); });
    for (const char* name : {"none.tnc", "note.txt", "pen9.tnc"}) {
        step([name] {
            image_mark_unchanged();
            drop(name);
        });
        step([] {
            EXPECT_NE(open_image.appliques[1], nullptr);
            EXPECT_EQ(wrong_pixels(), 0);
            EXPECT_STREQ(headless_title(), "Korvane Tinct V3.4.0 - still.tnc");
        });
    }
    EXPECT_EQ(run_program({"-f", "gone.tnc"}, 316, 236, 24), 0);
    EXPECT_EQ(messages, (std::vector<std::string>{
                            "Failed to open \"none.tnc\"",
                            "Error : \"note.txt\" is not a tinct file.\n"
                            "Tinct requires a pair of files : note.txt and note.rgb",
                            "\"pen9.tnc\":\nPixel data found for unknown pen 9",
                        }));
}

TEST_F(Main, ArgumentsComeFromTheLineAndFromFiles) {
    write_pair();
    write_pair("my still");
    write("args", "-f \"st ill.tnc\""); // blanks are taken out of what is no file
    const auto opened = [this](const std::vector<std::string>& line, const char* path) {
        SCOPED_TRACE(line.back());
        step([path] { EXPECT_STREQ(open_image.tnc_path, path); });
        EXPECT_EQ(run_program(line, 316, 236, 24), 0);
    };
    opened({"-f", "still.tnc"}, "still.tnc");
    opened({"-fstill.tnc"}, "still.tnc");
    opened({"still.tnc"}, "still.tnc");
    opened({"@args"}, "still.tnc");
    opened({"-f", "none.tnc", "-f", "s till.tnc"}, "still.tnc");
    opened({"-f", "my still.tnc"}, "my still.tnc");
    opened({"--", "-f", "still.tnc"}, nullptr);
    for (const char* line : {"-x", "--size 3", "still.tnc other.tnc", "-f still.tnc other.tnc", "-f"}) {
        const run_result result = run(std::string("tinct ") + line);
        EXPECT_EQ(result.status, 2) << line;
        EXPECT_EQ(result.err.find("tinct: "), 0u) << result.err;
        EXPECT_NE(result.err.find("--help"), std::string::npos);
    }
    for (const char* option : {"-h", "--help", "-f x.tnc -h"})
        EXPECT_EQ(run(std::string("tinct ") + option).out.find("usage: tinct "), 0u) << option;
}

TEST_F(Main, NamesOutsideLatin1OpenAndTitlesKeepTheirEnd) {
    write_pair("K\xC3\xBC"
               "che");
    write_pair("\xE6\x9C\xA8");
    const std::string wide(100, 'w');
    write(wide + ".tnc", read("\xE6\x9C\xA8.tnc"));
    const auto shows = [this](std::string name, const std::string& title) {
        step([name] { drop(name.c_str()); });
        step([title] { EXPECT_EQ(headless_title(), "Korvane Tinct V3.4.0 - " + title); });
    };
    shows("K\xC3\xBC"
          "che.tnc",
          "K\xFC"
          "che.tnc");
    shows("k\xFC"
          "che.tnc",
          "k\xFC"
          "che.tnc"); // typed in Latin-1
    shows("\xE6\x9C\xA8.tnc", "?.tnc");
    shows(wide + ".tnc", "..." + wide.substr(0, 47) + ".tnc");
    EXPECT_EQ(run_program({}, 316, 236, 24), 0);
}

// One press moves on by one surface; what a tool has begun ends with the picture that it was begun in.
TEST_F(Main, EscapeCountsOnceAndABoxIsForgottenWithItsPicture) {
    write_pair();
    write_pair("other");
    const auto escape = [] { headless_key(host_key::escape, 27, 0); };
    step([] { click_pixel(1, 0); });
    step(escape);
    step([] { EXPECT_EQ(highlighted_pen, 2); });
    step(escape);
    step([] {
        EXPECT_EQ(highlighted_pen, NO_PEN);
        headless_type("b");
    });
    step([] { click(10, 10); });
    step([] { drop("other.tnc"); });
    step([] { click(200, 200); });
    step([] {
        EXPECT_EQ(picture_view.zoom, 32); // that was a first corner
        EXPECT_EQ(current_tool, tool_zoom_box);
    });
    step(escape);
    step([] { EXPECT_EQ(current_tool, tool_default); });
    EXPECT_EQ(run_program({"-f", "still.tnc"}, 316, 236, 24), 0);
}

TEST_F(Main, ClosingAsksAboutChanges) {
    write_pair();
    step([] { open_image.image_changed = true; });
    step(close_main);
    step([] { headless_key(host_key::escape, 27, 0); }); // Cancel
    step([] {
        EXPECT_TRUE(open_image.image_changed);
        EXPECT_NE(desk_main(), nullptr);
        drop("still.tnc");
    });
    step([] { headless_key(host_key::enter, 13, 0); }); // OK
    step([] { EXPECT_FALSE(open_image.image_changed); });
    EXPECT_EQ(run_program({"-f", "still.tnc"}, 316, 236, 24), 0);
}

TEST_F(Main, ClosingTheWindowEndsTheProgramFromAnyWait) {
    write_pair();
    static int stops;
    stops = 0;
    step([] {
        stop_set_action([](void*, int status) { stops += status == 0 ? 1 : 100; }, nullptr);
        close_main();
    });
    EXPECT_EQ(run_program({"-f", "still.tnc"}, 316, 236, 24), 0);
    EXPECT_EQ(stops, 1);
    EXPECT_FALSE(quit_requested);
    EXPECT_EQ(open_image.picture, nullptr);
}

// As wide as the window is, and at the greatest zooms.
TEST_F(Main, AWideViewportIsDrawnWhole) {
    write_raster("wide.rgb", 1000, 2);
    write("wide.tnc", std::string("\xFA\x03\xF3\x01", 4) + "wide.rgb" +
                          std::string("\0\xF9\x01\x00\x01\x09\x09\x09\0\0\0\0\xFF", 14));
    int cover = -1;
    step([] { set_pen(1); });
    for (int i = 0; i < 11; ++i) {
        step([] { wheel(0, 5, 1); });
        step([] { EXPECT_EQ(wrong_pixels(), 0); });
    }
    step([&] {
        EXPECT_EQ(picture_view.zoom, 4096);
        ASSERT_EQ(Create_win_no_border(0, 1611, 11, 2500, 47, &cover), 0);
        Display_win(cover);
    });
    step([&] { Delete_win(cover); });
    step([] { EXPECT_EQ(wrong_pixels(), 0); });
    EXPECT_EQ(run_program({"-f", "wide.tnc"}, 3840, 60, 24), 0);
}

// The bars of a window that is too small come to rest, however fast its sizes follow each other.
TEST_F(Main, ScrollBarsComeToRest) {
    forms_wanted = true;
    for (const int width : {1200, 1020, 1005, 700, 1000})
        for (const int height : {900, 705, 690, 500, 700})
            step([=] {
                headless_resize(width, height, host_state::restored);
                headless_resize(width + 300, height + 300, host_state::restored);
            });
    step([] { headless_resize(1184, 830, host_state::restored); });
    step([] {
        EXPECT_FALSE(desk_bar_is_shown(DESK_HORIZONTAL));
        EXPECT_FALSE(desk_bar_is_shown(DESK_VERTICAL));
    });
    EXPECT_EQ(run_program({}, 1184, 830, 24), 0);
}

TEST(Regions, TheFirstThatHoldsThePointActs) {
    static char a[] = "a", b[] = "b", c[] = "c";
    calls.clear();
    EXPECT_EQ(region_add(7, 10, 10, 20, 20, note, a), 0);
    EXPECT_EQ(region_add(7, 15, 10, 30, 20, note, b), 1);
    EXPECT_EQ(region_hit(7, 15, 20) + region_hit(7, 21, 10) + region_hit(7, 20, 10), 3);
    EXPECT_EQ(region_hit(7, 15, 21) + region_hit(8, 15, 15) + region_hit(7, 9, 15), 0);
    EXPECT_EQ(region_add(7, 10, 10, 12, 20, note, c), 0); // replaced, though x2 differs
    EXPECT_EQ(region_hit(7, 12, 12) + region_hit(7, 13, 12), 1);
    EXPECT_EQ(calls, "abac");
    for (int i = 2; i < REGION_COUNT; ++i)
        EXPECT_EQ(region_add(9, i, 0, i, 0, note, a), i);
    EXPECT_EQ(region_add(9, 999, 0, 999, 0, note, a), -1);
    region_remove(-1);
    region_remove(REGION_COUNT);
    region_remove(77);
    EXPECT_EQ(region_add(9, 999, 0, 999, 0, note, a), 77);
    for (int i = 0; i < REGION_COUNT; ++i)
        region_remove(i);
    EXPECT_EQ(region_hit(7, 15, 15), 0);
}

TEST(FormHooks, ColoursAndKeysAreTranslated) {
    std::string colors, keys;
    for (int i = -1; i <= 14; ++i)
        colors += std::to_string(program_form_hooks.color(i)) + " ";
    EXPECT_EQ(colors, "1 1 2 3 4 5 6 1 8 9 10 1 12 1 14 1 ");
    for (int i = -1; i <= 200; ++i) {
        int key = i;
        const int used = program_form_hooks.key_filter(&key);
        if (used != 0 || key != i) keys += std::to_string(i) + ">" + std::to_string(key) + (used != 0 ? " " : "! ");
    }
    EXPECT_EQ(keys, "1>1 2>2 3>3 4>4 5>5 6>6 8>8 11>11 14>14 16>16 20>20 25>25 127>8 128>2 131>14 132>6 133>16 "
                    "141>13! ");
}
