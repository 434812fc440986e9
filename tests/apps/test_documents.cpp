// What is written about the programs' options in several places agrees: --help, the manual page, the completions of
// shells.
#include <cctype>
#include <set>

#include "app_fixture.h"

namespace {

using options = std::set<std::string>;

class Documents : public AppFixture {
protected:
    static std::string source(const std::string& name) {
        std::ifstream file(source_dir() + "/" + name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }
};

// The part of a text from `begin` up to the first `end` behind it.
std::string part(const std::string& text, const std::string& begin, const std::string& end) {
    const size_t from = text.find(begin);
    if (from == std::string::npos) return "";
    return text.substr(from, text.find(end, from) - from);
}

// Every program has these; --help doesn't always tell of itself.
options without_usual(options all) {
    for (const char* usual : {"-h", "--help", "--version"})
        all.erase(usual);
    return all;
}

bool in_word(char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-';
}

// The small letters and dashes of a text from a place on.
std::string letters_at(const std::string& text, size_t at) {
    return text.substr(at, text.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at) - at);
}

// "-o" and "--long-one", where no word or other dash stands before them.
options in_text(const std::string& text) {
    options all;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '-' || (at > 0 && in_word(text[at - 1]))) continue;
        const std::string found = letters_at(text, at);
        if (found.find_first_not_of('-') != std::string::npos) all.insert(found);
    }
    return without_usual(all);
}

// Of mdoc: Fl stands before one or more options, up to the next macro.
options in_page(const std::string& page) {
    options all;
    std::istringstream lines(page);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] != '.') continue;
        std::istringstream words(line.substr(1));
        bool flags = false;
        for (std::string word; words >> word;) {
            if (word == "Fl")
                flags = true;
            else if (word.size() == 2 && isupper(word[0]) && islower(word[1]))
                flags = false;
            else if (flags && word.find_first_not_of("|,.-") != std::string::npos)
                all.insert("-" + word);
        }
    }
    return without_usual(all);
}

options in_fish(const std::string& text) {
    options all;
    for (const std::string mark : {" -l ", " -s "})
        for (size_t at = 0; (at = text.find(mark, at)) != std::string::npos;) {
            at += mark.size();
            all.insert((mark == " -l " ? "--" : "-") + letters_at(text, at));
        }
    return without_usual(all);
}

TEST_F(Documents, TellOfTheSameOptionsEverywhere) {
    const std::string bash = source("packaging/completions/tinct.bash");
    const std::string zsh = source("packaging/completions/_tinct");
    const struct {
        const char *name, *bash_function, *zsh_function;
    } programs[] = {{"tinct", "\n_tinct() {", "\n_tinct_program() {"},
                    {"tinct-batch", "\n_tinct_batch() {", "\n_tinct_batch() {"},
                    {"rzl", "\n_rzl() {", "\n_rzl() {"},
                    {"tinct-sample", "\n_tinct_sample() {", "\n_tinct_sample() {"}};
    for (const auto& p : programs) {
        SCOPED_TRACE(p.name);
        const std::string name = p.name;
        const options told = in_text(run(name + " --help").out);
        EXPECT_FALSE(told.empty());
        EXPECT_EQ(in_page(source("docs/man/" + name + ".1")), told);
        // In shell code "-n", "-W" and the like are options of other programs: only what is offered is looked at.
        for (const std::string& code : {part(bash, p.bash_function, "\n}"), part(zsh, p.zsh_function, "\n}")}) {
            options offered;
            for (const std::string& option : in_text(code))
                if (option.size() > 2 || told.count(option) > 0) offered.insert(option);
            EXPECT_EQ(offered, told);
        }
        EXPECT_EQ(in_fish(source("packaging/completions/" + name + ".fish")), told);
    }
}

} // namespace
