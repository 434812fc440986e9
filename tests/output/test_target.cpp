// Specifications, sequence files, the setup file, and what the output form makes of them.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "common/failures.h"
#include "common/own_directory.h"
#include "output/target.h"
#include "support/log.h"
#include "support/token.h"

namespace {

class Target : public OwnDirectory {
protected:
    void SetUp() override {
        setenv("VANTORAMA", directory.c_str(), 1);
        spec_forget_defaults();
        log_set_sink([](void* user, int, const char* text) { static_cast<Target*>(user)->message = text; }, this);
        start();
    }
    void TearDown() override {
        output_target_free(&target);
        spec_forget_defaults();
        log_set_sink(nullptr, nullptr);
        EXPECT_EQ(mem_live(), live_before);
    }
    // The target stands on the test's directory.
    void start() { ASSERT_EQ(output_verify_spec(directory.c_str(), &target), OUTPUT_GOOD); }
    std::vector<std::string> files_of(const std::string& text) {
        char** files = nullptr;
        int count = 0;
        std::vector<std::string> names{"failed"};
        if (spec_list(text.c_str(), directory.c_str(), &files, &count) == 1) names.assign(files, files + count);
        spec_files_free(files);
        return names;
    }
    std::vector<std::string> files() const { return {target.files, target.files + target.count}; }
    std::string turned(const std::string& name) const {
        std::string text = directory + "/" + name;
        for (char& c : text)
            c = c == '/' ? '\\' : c;
        return text;
    }
    output_target target = {};
    std::string message;
    long live_before = mem_live();
};

using texts = std::vector<std::string>;

} // namespace

TEST_F(Target, ASpecificationHasFourParts) {
    const struct {
        const char *text, *directory, *base, *extension, *range;
        bool is_range, is_usable;
    } cases[] = {
        {"c:\\Pics/Frame.tga,9,11", "c:\\Pics\\", "Frame", ".tga", ",9,11", true, true},
        {"out", "", "out", "", "", false, true},
        {"a.b/My.pic.tif", "a.b\\", "My", ".pic.tif", "", false, true},
        {"x.rgb,5", "", "x", ".rgb", "", false, false},
        {"x.rgb,0,5", "", "x", ".rgb", "", false, false},
        {"x.rgb,1,100000", "", "x", ".rgb", "", false, false},
        {"x.rgb,1,2,3", "", "x", ".rgb", "", false, false},
        {"x.rgb,,2", "", "x", ".rgb", "", false, false},
        {"car,red.tif", "", "car", "", "", false, false},
        {"x,1,2.rgb", "", "x", "", "", false, false},
        {".rgb,1,2", "", "", ".rgb", ",1,2", false, false},
        {"c:\\", "c:\\", "", "", "", false, false},
        {nullptr, "", "", "", "", false, false},
    };
    char part[SPEC_SIZE];
    for (const auto& c : cases) {
        const char* name = c.text != nullptr ? c.text : "null";
        spec_directory(c.text, part);
        EXPECT_STREQ(part, c.directory) << name;
        spec_base(c.text, part);
        EXPECT_STREQ(part, c.base) << name;
        spec_extension(c.text, part);
        EXPECT_STREQ(part, c.extension) << name;
        spec_range(c.text, part);
        EXPECT_STREQ(part, c.range) << name;
        EXPECT_EQ(spec_is_range(c.text) != 0, c.is_range) << name;
        EXPECT_EQ(spec_is_usable(c.text), c.is_usable) << name;
    }
    spec_base(std::string(512, 'x').c_str(), part);
    EXPECT_STREQ(part, "");
    EXPECT_FALSE(spec_is_usable(std::string(512, 'x').c_str()));
    EXPECT_TRUE(spec_is_usable(std::string(507, 'x').c_str()));
    EXPECT_FALSE(spec_expand(std::string(509, 'x').c_str(), part)); // no room for ".rgb"
}

TEST_F(Target, ASpecificationStandsForFiles) {
    EXPECT_EQ(files_of("c:\\pics\\frame.tga,9,11"),
              (texts{"c:\\pics\\fra00009.tga", "c:\\pics\\fra00010.tga", "c:\\pics\\fra00011.tga"}));
    EXPECT_EQ(files_of("x.rgb,4,3"), (texts{"x00004.rgb", "x00003.rgb"}));
    EXPECT_EQ(files_of("x.rgb,3,3"), (texts{"x00003.rgb"}));
    write("a.seq", "SEQUENCE 'VERSION' 1 and more\n# none\nOne.tif  \r\nb.seq\nx.rgb,1,2\n");
    write("b.seq", "SEQUENCE VERSION\n");
    EXPECT_EQ(files_of("a.seq"), (texts{"One.tif", "b.seq", "x00001.rgb", "x00002.rgb"})); // b.seq is a plain name
    write("b.seq", "SEQUENCE\n\nVERSION 1\n");
    EXPECT_EQ(files_of("a.seq"), (texts{"failed"})); // "VERSION 1" is a line with a blank
    write("b.seq", "SEQUENCE VERSION 1");
    EXPECT_EQ(files_of("a.seq"), (texts{"One.tif", "x00001.rgb", "x00002.rgb"}));
    EXPECT_EQ(files_of("b.seq"), texts{});
    write("a.SEQ", "SEQUENCE VERSION 1\nOne.tif\n");
    EXPECT_EQ(files_of("a.SEQ"), texts{"a.SEQ"});
    for (const std::string& bad :
         {std::string("b.seq"), std::string("two words"), std::string("a\0", 2), std::string(511, 'x')}) {
        write("b.seq", "SEQUENCE VERSION 1\n" + bad + "\nmore"); // the first names itself
        EXPECT_EQ(files_of("b.seq"), texts{"failed"});
    }
    EXPECT_EQ(message, "Script file line is too long.  Lines may contain upto 512 characters.");
    std::string many = "SEQUENCE VERSION 1\n";
    for (int i = 0; i < 11; ++i)
        many += "x.rgb,1,99999\n";
    write("b.seq", many);
    EXPECT_EQ(files_of("b.seq"), texts{"failed"});
}

TEST_F(Target, TheSetupFileGivesTheDefaultType) {
    std::filesystem::create_directories(path("Vantor"));
    const struct {
        const char *text, *extension;
        int standard, format;
    } cases[] = {
        {"", "rgb", 0, 27},
        {"x raster_output=TIFF,Uncompressed raster_output=gif,compressed", "tif", 1, 28},
        {"Raster_Output=pcx,compressed a=raster_output=gif,compressed", "rgb", 0, 27},
        {"raster_output=png,compressed\nraster_output=gif,compressed", "rgb", 0, 27},
        {"raster_output=\tbmp,compressed\nraster_output=bmp,compressed", "rgb", 0, 27},
        {"a=b\nraster_output=tga,compressed", "tga", 3, 27},
    };
    for (const auto& c : cases) {
        spec_forget_defaults();
        write("Vantor/setup.txt", c.text);
        int standard = -1;
        int format = -1;
        spec_default_type(&standard, &format);
        EXPECT_STREQ(spec_default_extension(), c.extension) << c.text;
        EXPECT_EQ(standard, c.standard) << c.text;
        EXPECT_EQ(format, c.format) << c.text;
    }
    spec_forget_defaults();
    std::filesystem::remove(path("Vantor/setup.txt"));
    EXPECT_STREQ(spec_default_extension(), "rgb");
}

TEST_F(Target, WhatIsTypedIsJudged) {
    EXPECT_EQ(target.count, 0);
    EXPECT_EQ(output_verify_spec("Car", &target), OUTPUT_GOOD);
    EXPECT_EQ(files(), texts{turned("Car.rgb")});
    EXPECT_EQ(target.spec, turned("Car.rgb"));
    EXPECT_EQ(target.directory, turned(""));
    // A fault leaves the target as it was.
    std::filesystem::create_directories(path("x00002.rgb"));
    std::ofstream(path("cat.rgb")) << "SUPERT! FILES";
    const std::pair<std::string, int> faults[] = {
        {"x.rgb,0,5", OUTPUT_BAD_SPEC},
        {"car,red.tif", OUTPUT_BAD_SPEC},
        {std::string(600, 'x'), OUTPUT_BAD_SPEC},
        {"x.rgb,1,3", OUTPUT_IS_DIRECTORY},
        {"x00002", OUTPUT_NOT_REGULAR},
        {"cat", OUTPUT_IS_CATALOG},
        {"gone\\x.rgb", 2},
        {"", OUTPUT_NOTHING},
    };
    for (const auto& [text, fault] : faults) {
        EXPECT_EQ(output_verify_spec(text.c_str(), &target), fault) << text;
        EXPECT_EQ(files(), texts{turned("Car.rgb")});
    }
    EXPECT_STREQ(output_fault_text(OUTPUT_IS_DIRECTORY), "Spec includes a directory");
    EXPECT_STREQ(output_fault_text(2), "No such file or directory");
    EXPECT_STREQ(output_fault_text(OUTPUT_NOTHING), "");
    if (geteuid() != 0) {
        std::filesystem::create_directories(path("locked"));
        std::filesystem::permissions(path("locked"), std::filesystem::perms(0500));
        EXPECT_EQ(output_verify_spec("locked\\x.rgb", &target), 13);
    }
    std::filesystem::create_directories(path("sub"));
    EXPECT_EQ(output_verify_spec("sub\\\\", &target), OUTPUT_GOOD);
    EXPECT_EQ(target.files, nullptr);
    EXPECT_EQ(target.directory, turned("sub\\"));
    EXPECT_EQ(output_verify_spec("c:", &target), OUTPUT_GOOD);
    EXPECT_STREQ(target.directory, "c:\\");
    start();
    const char* names[] = {"A.tif", "b", "x.rgb,4,5", nullptr};
    EXPECT_EQ(output_verify_names(names, &target), OUTPUT_GOOD);
    EXPECT_EQ(files(), (texts{turned("A.tif"), turned("b.rgb"), turned("x00004.rgb"), turned("x00005.rgb")}));
    EXPECT_EQ(target.spec, turned("A.tif"));
    output_target_free(&target);
    start();
    sweep_failures(
        MEMORY_FAILURES, [&] { output_verify_names(names, &target), output_correct_extensions(&target, "tga", true); },
        [&](bool) {
            output_target_free(&target);
            start();
        });
}

TEST_F(Target, FilesThatExistAreTold) {
    char first[SPEC_SIZE + 64], second[128];
    output_verify_spec("out", &target);
    EXPECT_EQ(output_existing_message(&target, first, second), 0);
    EXPECT_STREQ(first, "");
    write("Out.tif", "");
    output_verify_spec("out.tif", &target);
    EXPECT_EQ(output_existing_message(&target, first, second), 1);
    EXPECT_STREQ(first, "File exists : out.tif");
    EXPECT_STREQ(second, "Change the specification or it will be over-written");
    write("x00001.rgb", "");
    write("x00003.rgb", "");
    output_verify_spec("x.rgb,1,3", &target);
    EXPECT_EQ(output_existing_message(&target, first, second), 2);
    EXPECT_STREQ(first, "2 of the files specified by x.rgb,1,3 exist.");
    EXPECT_STREQ(second, "Change the specification or they will be over-written");
    EXPECT_EQ(output_correct_extensions(&target, "tga", false), OUTPUT_GOOD);
    EXPECT_EQ(files()[2], turned("x00003.rgb"));
    EXPECT_EQ(output_correct_extensions(&target, "tga", true), OUTPUT_GOOD);
    EXPECT_EQ(files()[2], turned("x00003.tga"));
    EXPECT_EQ(target.spec, turned("x.tga,1,3"));
    const char* names[] = {"out.tif", "x00001.rgb", nullptr};
    output_verify_names(names, &target);
    output_existing_message(&target, first, second);
    EXPECT_STREQ(first, "2 of the specified files exist.");
}

TEST_F(Target, TheTypeSettlesWhatTheTogglesShow) {
    output_settings s = OUTPUT_USUAL;
    const struct {
        int standard;
        bool is_24, is_compressed;
        int format;
        output_face face; // uncompressed, enabled, 8 bits, enabled, reduces
    } cases[] = {
        {RZL_STANDARD_KRVN, true, true, 27, {false, true, false, true, false}},
        {RZL_STANDARD_TIFF, true, false, 28, {true, true, false, true, false}},
        {RZL_STANDARD_PCX, false, true, 29, {false, true, true, true, true}},
        {RZL_STANDARD_GIF, true, false, 29, {false, false, true, false, true}},
        {RZL_STANDARD_BMP, true, true, 28, {true, false, false, true, false}},
        {RZL_STANDARD_BMP, false, true, 2, {true, true, true, true, true}},
    };
    for (const auto& c : cases) {
        output_set_standard(&s, c.standard);
        output_set_24_bits(&s, c.is_24);
        output_set_compressed(&s, c.is_compressed);
        EXPECT_EQ(s.format, c.format);
        const output_face f = output_face_of(&s);
        EXPECT_EQ(std::memcmp(&f, &c.face, sizeof f), 0) << c.standard << c.is_24;
        EXPECT_STREQ(spec_default_extension(), spec_standard_extension(c.standard));
    }
    for (const auto& [format, settled] : {std::pair{5, 27}, {10, 27}, {30, 27}, {2, 2}, {28, 28}, {29, 29}}) {
        s = {9, format, 0, 1, 7.0};
        output_settle(&s);
        EXPECT_EQ(s.standard, 0);
        EXPECT_EQ(s.format, settled);
        EXPECT_EQ(s.colors, 2);
        EXPECT_EQ(s.gamma, 2.2);
    }
}
