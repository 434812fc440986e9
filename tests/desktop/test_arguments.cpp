// The command line: response files, options split into letters, the option reader.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/failures.h"
#include "common/own_directory.h"
#include "desktop/arguments.h"
#include "support/log.h"
#include "support/memory.h"

namespace {

class Arguments : public OwnDirectory {
protected:
    static std::vector<std::string> expanded(std::vector<std::string> words, const char* options = "p:f:") {
        words.insert(words.begin(), "tinct");
        std::vector<const char*> pointers;
        for (const std::string& word : words)
            pointers.push_back(word.c_str());
        argument_list list = {nullptr, 0};
        std::vector<std::string> result;
        if (!expand_arguments(static_cast<int>(pointers.size()), pointers.data(), options, &list)) return result;
        for (int i = 1; i < list.count; ++i)
            result.emplace_back(list.values[i]);
        EXPECT_EQ(list.values[list.count], nullptr);
        argument_list_free(&list);
        return result;
    }
};

using words = std::vector<std::string>;

} // namespace

TEST_F(Arguments, OptionsComeFirstOneLetterEach) {
    EXPECT_EQ(expanded({"a", "-xf", "file", "b", "-pq"}), (words{"-x", "-f", "file", "-p", "q", "a", "b"}));
    EXPECT_EQ(expanded({"-f", "-x", "", "-"}), (words{"-f", "-x"}));
    EXPECT_EQ(expanded({"a", "--", "-f", "x"}), (words{"a", "--", "-f", "x"}));
    EXPECT_EQ(expanded({"-f"}), (words{"-f"}));
}

TEST_F(Arguments, ResponseFilesNestAndQuote) {
    std::string inner = write("inner", "'it''s' \"a 'b' c\"\n");
    std::string outer = write("outer", "-f\tx.tnc\x01@" + inner + " last");
    EXPECT_EQ(expanded({"@" + outer, "end"}), (words{"-f", "x.tnc", "its", "a 'b' c", "last", "end"}));
    std::string too_long = write("long", "first " + std::string(512, 'x') + " never");
    EXPECT_EQ(expanded({"@" + too_long, "end"}), (words{"first", "end"}));
    std::string just_right = write("right", std::string(511, 'x') + " more");
    EXPECT_EQ(expanded({"@" + just_right}), (words{std::string(511, 'x'), "more"}));
    EXPECT_EQ(expanded({"@" + write("open", "'never closed")}), (words{"never closed"}));
}

TEST_F(Arguments, AMissingOrEndlessResponseFileIsRefused) {
    std::string message;
    log_set_sink([](void* user, int, const char* text) { *static_cast<std::string*>(user) = text; }, &message);
    EXPECT_TRUE(expanded({"@" + directory + "/none", "end"}).empty());
    EXPECT_EQ(message, "Failed to open response file \"" + directory + "/none\"");
    std::string self = directory + "/self";
    write("self", "a @" + self);
    EXPECT_TRUE(expanded({"@" + self}).empty());
    EXPECT_EQ(message, "Response file \"" + self + "\" holds itself.");
    std::string many;
    for (int i = 0; i < 600; ++i)
        many += "word ";
    std::string twice = write("twice0", many);
    for (int i = 1; i < 30; ++i)
        twice = write("twice" + std::to_string(i), "@" + twice + " @" + twice);
    EXPECT_TRUE(expanded({"@" + twice}).empty());
    EXPECT_EQ(message, "There are too many arguments.");
    std::string empty = write("empty0", " ");
    for (int i = 1; i < 30; ++i)
        empty = write("empty" + std::to_string(i), "@" + empty + " @" + empty);
    EXPECT_TRUE(expanded({"@" + empty}).empty());
    EXPECT_EQ(message, "There are too many response files.");
    log_set_sink(nullptr, nullptr);
}

TEST_F(Arguments, EveryFailedAllocationGivesNothing) {
    const std::string path = write("args", "-f x a b c");
    words result;
    sweep_failures(
        MEMORY_FAILURES,
        [&] {
            result = expanded({"@" + path, "-x"});
        },
        [&](bool hit) { EXPECT_EQ(result.empty(), hit); });
}
