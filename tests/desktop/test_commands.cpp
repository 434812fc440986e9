// Each command of the forms once, and what comes of it.
#include "script.h"

#include "forms/env.h"

namespace {

using Commands = ScriptSession;

} // namespace

TEST_F(Commands, OfTheMainForm) {
    script(R"(
text main 154 still.tnc; is zoom 4; press main 11; at 200 200; is zoom 8; at 200 200; is zoom 16; key escape
is tool 0; press main 68; at 200 200; is zoom 8; key escape; press main 13; at 200 200; is zoom 4
press main 22; at 10 10; drawn; key escape; press main 12; at 100 100; at 140 140; is zoom 32; drawn
key escape; press main 172; is zoom 0; press main 173 200 10; is gamma 3; keys f; drawn
press main 72 20 30; text main 52 Blue; is kind 2; is red 0; type main 52 Red; is red 1; type main 52 Brick
is kind 1; type main 52 Blue; press main 23; told No surface; type main 32 2; is pen 2; press main 23
is steps 1; is changed 1; press main 176; is steps 0; press main 177; is steps 1; press main 80
text main 72:1 Blue; press main 179; text picker 13 still.sets; press picker 30; press main 178
press picker 12 20 6; press picker 30; press main 161; type picker 13 copy; press picker 30; asked
key enter; text main 164 copy.tnp; press main 165; up picker; press main 165; gone picker; press main 165
press picker 12 20 6; press picker 30; text main 164 copy.tnp; press main 171; told Ctrl+O; type main 32 x
text main 32 2; type main 32 300; text main 32 2; press main 15; keys x; up pattern; drawn; type main 52 Blue
type pattern 114 Mine; press main 11; key f11*2; is tool 1; value main 11 1; text main 32 2; text main 52 Blue
text pattern 114 Mine; key escape; value main 11 0
)");
    press(MAIN, 16); // there are changes: it asks
    step([] { headless_key(host_key::enter, 13, 0); });
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
    EXPECT_EQ(read(path("still.sets")), "2=0,0.1,0.9\n");
    EXPECT_EQ(read(path("copy.tnp")),
              "Red {color = (1.000000, 0.000000, 0.000000);}\nBlue {color = (0.000000, 0.100000, 0.900000);}\n"
              "Brick {pattern = \"brick.rgb\";}\n");
}

TEST_F(Commands, OfTheColorPatternForm) {
    std::string patterns = "Red {color = (1, 0, 0);}\n";
    for (int i = 1; i <= 12; ++i)
        patterns += "P" + std::to_string(i) + " {pattern = \"brick.rgb\";}\n";
    write("many.tnp", patterns);
    write("bad.rgb", "no raster");
    script(R"(
press pattern 200; text pattern 29 P1; press pattern 51; text pattern 29 P1; press pattern 50
text pattern 29 P11; text pattern 31; press pattern 12 20 20; text main 52 P12; is kind 1
press pattern 13 20 20; text main 52 P12; press pattern 50; text pattern 29 P11; press pattern 51
text pattern 29 P1; type pattern 52 400; told Value must be between 0 and 360; text pattern 52 0
type pattern 52; text pattern 52 0; type pattern 52 90; is rotation 90; press pattern 53; is mirror 1
type pattern 54 4; text pattern 56 0.25; type pattern 56 4 x; told Value must be between
text pattern 56 0.25; type pattern 54 0.3; press pattern 56; key enter; is size 0.3; type pattern 56 2
is size 0.5; press pattern 30; up picker; key escape; gone picker; press pattern 30
press picker 17; key escape; up picker; text picker 12:0 bad.rgb
press picker 12 20 6; press picker 12 20 26; press picker 30; text pattern 30 Bad; is patterns 13
told bad.rgb" for read; press pattern 50; text pattern 31 Brick; is palette_changed 1; press pattern 200
text pattern 108 1.000000; type pattern 110 0.5; type pattern 112 1.5; text pattern 112 0.000000
press pattern 113; text pattern 110 127; type pattern 108 12.5; text pattern 108 255; type pattern 112 51
text pattern 112 51; type pattern 114 Rose{; press pattern 115; text main 72:1 Rose; text main 52 Rose
is colours 2; press pattern 115; is colours 2; type pattern 114; press pattern 115; is colours 3
text main 52; text main 72:2 255_127_051; press pattern 100 30 20; press main 161; type picker 13 made
press picker 30; asked; key enter; is palette_changed 0
)");
    script("type pattern 114 N\xAA\xB0; text pattern 114 N\xAA\xB0"); // which the toolkit's own keys don't hold
    step([] { EXPECT_EQ(fi_env.FI_TRANSLATE_COLOR(0, 6), 1); });      // white, as program_form_hooks has it
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "many.tnp"}), 0);
}

TEST_F(Commands, OfThePickerAndTheEditor) {
    std::filesystem::create_directories(path("Sub/Deep"));
    write("Sub/a.tnp", "A {color = (1, 1, 0);}\n");
    for (const std::string extension : {".tnc", ".rgb"})
        std::filesystem::copy(path("still" + extension), path("Other" + extension));
    write("zlost.tnp", "Lost {pattern = \"lost.rgb\";}\n");
    write("Sub/B.TNP", "B {color = (1, 1, 0);}\n");
    press(MAIN, 155);
    step([] { // of the directories that were visited the working one is the first
        int list = 0;
        FIfld_get_list_label(form_of(PICKER), 17, 0, &list);
        EXPECT_EQ(text_of(PICKER, list), text_of(MAIN, 144));
    });
    script(R"(
text picker 12:0 other.tnc; text picker 12:1 still.tnc; text picker 12:2; press picker 12 20 6
text picker 13 other.tnc; press picker 30; gone picker; text main 154 Other.tnc
press main 165; text picker 12:0 my.tnp; text picker 11:3 sub; press picker 11 20 70; text picker 11:4 deep
text picker 12:0 a.tnp; press picker 11 20 52; text picker 12:0 my.tnp; type picker 17 Sub
text picker 12:0 a.tnp; text picker 12:1 b.tnp; type picker 17 none; told none is not a directory
text picker 12:0 a.tnp; press picker 12 20 26; text picker 13 b.tnp; type picker 19 nothing
text picker 12:0; type picker 19 (*); text picker 12:1 b.tnp; type picker 13 *.rgb; text picker 12:0
type picker 13 ../*.rgb; text picker 12:0 brick.rgb; type picker 13 none\a.tnp; told none is not a directory
press picker 30; told none is not a directory; up picker; type picker 13 Sub\B.TNP; press picker 30
gone picker; text main 164 B.TNP; is colours 1; has main 144 Sub; type main 144 c:; text main 144 c:\
type main 144 nowhere at all; has main 144 tmp; drop zlost.tnp; press pattern 200; up question
press question 15; text editor 15:1; type editor 13 none,b; press editor 16; text editor 15:1
type editor 13 Sub; press editor 16; has editor 15:1 Sub; press editor 18; has editor 15:0 Sub
press editor 19; has editor 15:1 Sub; press editor 17; text editor 15:1; key delete; gone editor; told lost.rgb
drop zlost.tnp; up question; key delete; gone question; told lost.rgb
)");
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}

TEST_F(Commands, OfTheOutputForm) {
    script(R"(
press main 23; told No surface; type main 32 2; press main 23; is steps 1; press main 176; is changed 0
press main 177; press main 151; press output 1
text output 9 Missing output specification; type output 13 none\x; up output
text output 9 No such file or directory; type output 13 a; has output 13 a.rgb; press output 25
press output 18; has output 13 a.tif; value output 23 0; press output 1; gone output; is changed 0
press main 151; text output 9 File exists : a.tif; type output 13 b; press output 19; has output 13 b.gif
value output 24 1; type output 27 1; text output 27 256; type output 27 64; press output 1; press main 151
type output 13 c; press output 20; has output 13 c.tga; press output 23; press output 30; press output 31
press output 29 65 10; value output 29 1.5; press output 1; press main 151; type output 13 d
press output 21; press output 1; press main 151; press output 24; press output 4; gone output
press main 151; press output 14; text picker 19 (*.rgb); text picker 12:0 brick.rgb; press main 16; key escape
gone picker; has output 13 d.bmp; press output 14; press picker 12 20 6; press picker 30; gone picker
has output 13 brick.rgb; text output 9 File exists : brick.rgb; press output 4; gone output
type main 32 3; press main 23; press main 151; type output 13 x.rgb,0,5
text output 9 Bad file spec; type output 13 still.rgb; text output 9 File exists : still.rgb; press output 1
told Error : Attempt to overwrite input file; is changed 1
)");
    const std::string raster = read(path("still.rgb"));
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
    EXPECT_TRUE(read(path("still.rgb")) == raster);
    for (const auto& [file, options] :
         {std::pair<const char*, const char*>{"a.tif", "--gamma 2.2"},
          {"b.gif", "--gamma 2.2 --colors 64"},
          {"c.tga", "--gamma 1.5 --bits 8 --colors 64 --uncompressed --closest --grey"},
          {"d.bmp", "--gamma 1.5 --bits 8 --colors 64 --closest --grey --uncompressed"}}) {
        const std::string name = file;
        ASSERT_EQ(run("tinct-batch apply still.tnc --set 2=1,0,0 " + std::string(options) + " -o batch-" + name).status,
                  0);
        EXPECT_TRUE(read(path(name)) == read(path("batch-" + name))) << name;
    }
}

// In each wrong state a command tells what is wrong and with which file, and does nothing by half.
TEST_F(Commands, WithoutWhatTheyNeed) {
    std::filesystem::create_directories(path("dir.tnc"));
    std::filesystem::create_directories(path("dir.tnp"));
    std::filesystem::create_directories(path("dir.sets"));
    std::filesystem::create_directories(path("dir.rgb"));
    std::string alone = read(path("still.tnc"));
    alone.replace(alone.find("still.rgb"), 9, "alone.rgb");
    write("alone.tnc", alone);
    write("bad.tnc", "\xFA\x03");
    write("bad.rgb", "no raster");
    write("newer.tnp", "Red {color = (0, 1, 0);}\nGlass {glass = (1.5);}\nBlue {color = (0, 0, 0);}\n");
    write("other.tnp", "Glass {glass = (1.5);}\n");
    write("empty.tnp", "");
    write("bad.sets", "2=1,0,0\nnonsense\n7=Nowhere\n239=1,0,0\n");
    script(R"(
is open 0; press main 23; press main 151; press main 179; told there is no image to save; key ctrl+s
told there is no image to save; key ctrl+z; key ctrl+y; press main 176; press main 177; press main 11
at 100 100; key escape; press main 12; at 100 100; at 120 120; key escape; press main 172; keys +-f=1a
told No surface; drop none.tnc; told none.tnc; drop dir.tnc; told dir.tnc; drop alone.tnc; told alone.rgb
drop bad.tnc; told bad.tnc; drop none.tnp; told none.tnp; drop dir.tnp; told dir.tnp; drop empty.tnp
told empty.tnp; drop other.tnp; told other.tnp; drop none.sets; told none.sets; drop dir.sets; told dir.sets
drop bad.sets; told no image; drop none.rgb; told none.rgb; drop dir.rgb; told dir.rgb; drop bad.rgb
told bad.rgb; is colours 2; is patterns 1; is open 0; drop still.tnc; is open 1; drop bad.sets
told nonsense; is steps 1; drop newer.tnp; told newer.tnp; is colours 1; text main 164; type main 52 Brick
text main 52
)");
    EXPECT_EQ(run_forms({"-p", "my.tnp"}), 0);
}

TEST_F(Commands, CancelledAtEachQuestion) {
    script(R"(
type main 32 2; press main 23; is changed 1; press pattern 115; is palette_changed 1; press main 155; asked
key escape; gone picker; press main 165; asked; key escape; gone picker; drop still.tnc; asked; key escape
drop my.tnp; asked; key escape; is changed 1; is palette_changed 1; is steps 1; press main 16; asked
key escape; press main 16; asked; key enter; asked; key escape; is changed 1; is palette_changed 1
press main 151; key escape; gone output; is changed 1; press main 151; type output 13 brick; press output 1
asked; key escape; is changed 1; press main 161; press picker 30; asked; key escape; is palette_changed 1
press main 161; key escape; is palette_changed 1; press main 178; key escape; press main 179; key escape
press main 170; told No other image; press main 155; asked; key enter; up picker; key escape; is changed 1
press main 155; press main 155; press main 165; asked; key enter; press picker 31; is palette_changed 1
press main 179; press picker 30; press main 179; press picker 30; asked; key escape
)");
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}

TEST_F(Commands, IntoPlacesThatTakeNothing) {
    std::filesystem::create_directories(path("gone"));
    const auto vanishes = [this] { step([this] { std::filesystem::remove_all(path("gone")); }); };
    script(R"(
type main 32 2; press main 23; press pattern 115; press main 151; type output 13 /proc/none/x
text output 9 No such file or directory; type output 13 gone; text output 9; press output 1
text output 9 Missing output specification; type output 13 x; has output 13 gone\x.rgb
)");
    vanishes();
    script(R"(
press output 1; told \gone\x.rgb": No such file or directory; is changed 1; press main 151; text output 9
key escape; type main 144 gone; press main 161; type picker 13 gone/x; press picker 30
told gone is not a directory; told gone is not a directory; key escape; press main 161
type picker 13 /proc/x; press picker 30; told \proc\x.tnp; is palette_changed 1; press main 179
type picker 13 /proc/x; press picker 30; told \proc\x.sets; is changed 1
)");
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}
// Tab leads through what can be used, Return and the blank work it, and Escape gives the keys back.
TEST_F(Commands, ByTheKeyboardAlone) {
    script(R"(
key tab*12; is keys_at 32; keys 2; key enter; is pen 2; is keys_at 0; keys +; is zoom 8
key tab*5; is keys_at 52; keys Red; key tab; text main 52 Red; key escape; is keys_at 0; is pen 2; keys a; is steps 1
key tab; is keys_at 165; key tab*3; is keys_at 72; key down; text main 52 Red; key enter; text main 52 Blue
is keys_at 0; keys a; is steps 2; key ctrl+z; is steps 1; key tab*2; is keys_at 151; key tab*2; key space; asked
key escape; is keys_at 16; key tab; is keys_at 200; key space; key shift+tab; is keys_at 16; key tab; key tab*2
is keys_at 52; key end; key shift+tab*2; key shift+tab; is keys_at 16; key escape
key ctrl+s; key tab; is keys_at 13; key shift+tab*14; is keys_at 13; key escape; gone output; is keys_at 0; is steps 1
key ctrl+s; key tab; key end; keys k; key enter; is keys_at 0; key tab*4; is keys_at 18; key space; key tab*9
key escape; key ctrl+s; key tab; key end; keys .tif; key enter; key enter; gone output; is changed 0
key ctrl+o; key tab; key down; key enter; key enter; gone picker; is steps 0; text main 154 still.tnc
)");
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}

TEST_F(Commands, TheKeysFollowAPicker) {
    std::filesystem::create_directories(path("palettes"));
    std::filesystem::copy(path("my.tnp"), path("palettes/p.tnp"));
    script(R"(
key ctrl+o; key tab; key down; key enter; key enter; is open 1; is keys_at 0; key tab*17; is keys_at 165; key space; up picker
is keys_at 12; key shift+tab; is keys_at 11; key down*3; key enter; is keys_at 0; up picker; text picker 12:0 p.tnp
key tab; is keys_at 11; key tab; is keys_at 12; key enter; key enter; gone picker; text main 164 p.tnp; key tab; is keys_at 165
)");
    EXPECT_EQ(run_forms({}), 0);
}

// A list of those that are not open and still there, the latest first.
TEST_F(Commands, OfTheListOfRecentImages) {
    for (const char* name : {"a", "b", "gone"})
        for (const std::string extension : {".tnc", ".rgb"})
            std::filesystem::copy(path("still" + extension), path(name + extension));
    script(R"(
press main 170; told No other image has been opened yet.; drop a.tnc; drop gone.tnc; drop b.tnc; drop still.tnc
)");
    step([this] { std::filesystem::remove(path("gone.tnc")); });
    script(R"(
press main 170; has recent 15:0 b.tnc; has recent 15:1 a.tnc; text recent 15:2; key escape; gone recent
text main 154 still.tnc; press main 170; press recent 15 20 26; gone recent; text main 154 a.tnc
press main 170; key enter; gone recent; text main 154 still.tnc
)");
    EXPECT_EQ(run_forms({}), 0);
}

// A page of cells asks where a pattern is, once more for the next one, and not again after a refusal. The editor's
// Browse is a picker over the editor; none of these forms is seen any more when a message comes.
TEST_F(Commands, OfTheSearchPathForms) {
    std::filesystem::create_directories(path("far"));
    std::filesystem::copy(path("brick.rgb"), path("far/lost.rgb"));
    write("lost.tnp",
          "Lost {pattern = \"lost.rgb\";}\nGone {pattern = \"gone.rgb\";}\nAlso {pattern = \"also.rgb\";}\n");
    const std::string ini = path("vantor.ini");
    setenv("VANTORA_INI", ini.c_str(), 1);
    is_drawn_when_told = true;
    script(R"(
press pattern 200; up question; press main 16; up question; press question 15; gone question; text editor 15:1
press editor 14; type picker 17 far; press picker 30; gone picker; has editor 13 \far\; press editor 16
has editor 15:1 \far\; press editor 18; has editor 15:0 \far\; press editor 1; gone editor; up question; key escape
gone question; told gone.rgb; told also.rgb; press pattern 12 20 20; is kind 0; press pattern 11 20 20
text main 52 Lost
)");
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "lost.tnp"}), 0);
    unsetenv("VANTORA_INI");
    EXPECT_NE(read(ini).find("far"), std::string::npos) << "kept for the next run";
}

// While a form is to be answered its window may get another size, which counts once it is; a key that is a command
// counts neither then nor later.
TEST_F(Commands, WhileAFormIsToBeAnswered) {
    script("type main 32 2; press main 23; is steps 1; press main 151; up output; key ctrl+z");
    step([] { headless_resize(1300, 900, host_state::restored); });
    script("key escape; gone output; is steps 1");
    step([] {
        int x = 0, y = 0;
        FIf_get_location(form_of(MAIN), &x, &y);
        EXPECT_GT(x, 950) << "at the right of the larger screen";
    });
    script("drop my.tnp; is steps 1; drawn; press main 16; asked; key ctrl+z; key escape; is steps 1");
    step([] { image_mark_unchanged(); });
    EXPECT_EQ(run_forms({"-f", "still.tnc", "-p", "my.tnp"}), 0);
}
