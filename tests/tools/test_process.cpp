// The entry of a program, its paths, entering the tools and what is told of the screen.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include "common/own_directory.h"
#include "common/values.h"
#include "events_fixture.h"

namespace {

std::vector<std::string> given; // what the program got
int answer = 0;

int note_arguments(int count, char** arguments, char** /*environment*/) {
    given.assign(arguments, arguments + count);
    EXPECT_EQ(arguments[count], nullptr);
    return answer;
}

int run(std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (std::string& one : arguments)
        pointers.push_back(one.data());
    pointers.push_back(nullptr);
    const tools_program program = {nullptr, note_arguments};
    return tools_process_entry(int(arguments.size()), pointers.data(), nullptr, &program);
}

bool start(int planes) {
    const host_screen size = {640, 480, planes, 0};
    return host_start_with(&host_headless, &size, "Main") && Enter_tools() == 0;
}

} // namespace

TEST(Process, NameDirectoryAndArguments) {
    const long live = mem_live();
    answer = 3;
    EXPECT_EQ(run({"bin\\Some.PROGRAM.exe", "-f", "my a.tnc", "", "-pb "}), 3);
    EXPECT_STREQ(program_name, "Some.program");
    const std::string directory = program_dir;
    EXPECT_TRUE(std::filesystem::is_directory(directory)) << directory;
    const std::vector<std::string> expected = {directory + "/Some.PROGRAM.exe", "-f", "my a.tnc", "-pb "};
    EXPECT_EQ(given, expected);
    std::vector<std::string> many(50, "two words");
    many[0] = "/usr/bin/.hidden";
    EXPECT_EQ(run(many), 3);
    EXPECT_EQ((values{program_name, given.size(), mem_live()}), (values{".hidden", 1U + TOOLS_ARGUMENTS, live}));
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(run({"program"}), 1);
    EXPECT_TRUE(mem_fail_stop());
    EXPECT_EQ(mem_live(), live);
}

class ProcessFiles : public OwnDirectory {};

TEST_F(ProcessFiles, RootDirectoryHasFonts) {
    const std::string& name = directory;
    setenv("VANTORAMA", name.c_str(), 1);
    set_program_paths("program");
    EXPECT_STRNE(root_dir, (name + "/").c_str()); // nothing there yet
    std::filesystem::create_directory(name + "/fonts");
    set_program_paths("program");
    EXPECT_EQ(root_dir, name + "/");
    const std::string with_slash = name + "\\";
    setenv("VANTORAMA", with_slash.c_str(), 1);
    set_program_paths("program");
    EXPECT_EQ(root_dir, with_slash);
    unsetenv("VANTORAMA");
    set_program_paths("program");
    EXPECT_EQ(std::string(root_dir).find(name), std::string::npos);
    root_dir[0] = '\0';
}

TEST(Process, EnteringTwiceKeepsWhatIsThere) {
    const long live = mem_live();
    ASSERT_TRUE(start(8));
    Enable_events(USER_EVENT);
    Post_user_data(1);
    EXPECT_EQ(Enter_tools(), 0);
    EXPECT_EQ(pending_events, USER_EVENT);
    EXPECT_EQ(Exit_tools(), 0);
    EXPECT_NE(desk_main(), nullptr);
    const stop_recorder stop;
    exit_program();
    EXPECT_EQ(stop.status, 0);
    EXPECT_EQ(desk_main(), nullptr);
    EXPECT_EQ((values{pending_events, mem_live()}), (values{0U, live}));
}

TEST(Process, ScreenRecords) {
    struct depth {
        int planes, told_planes, highest, flags;
    };
    for (const depth& d : {depth{4, 4, 15, 2}, depth{8, 8, 255, 2}, depth{15, 8, 255, 258}, depth{24, 8, 255, 258}}) {
        ASSERT_TRUE(start(d.planes));
        int32_t records[SCREEN_RECORDS][SCREEN_WORDS];
        EXPECT_EQ(Inq_screen_info(records), 0);
        EXPECT_EQ(data(Inq_displayed_vs), "0");
        const std::vector<int32_t> expected = {0,       d.told_planes, d.highest,    0, 8, 14, 1, 639, 479,
                                               d.flags, d.highest + 1, d.told_planes};
        EXPECT_EQ(std::vector<int32_t>(records[0], records[0] + 12), expected);
        for (int i = 1; i < SCREEN_RECORDS; ++i)
            EXPECT_EQ(records[i][SCREEN_NUMBER], -1);
        tools_leave();
    }
}
