// tinct-batch pick: the surfaces at a pixel. tinct-batch samples: every sample of a surface.
#include <charconv>
#include <cstring>

#include <nlohmann/json.hpp>

#include "commands.h"
#include "pair.h"

namespace {

constexpr size_t LINE_SIZE = 96; // seven numbers of at most 11 characters, each with its blank

void print_pick(int32_t x, int32_t y, const int32_t* pens, int count, bool as_json) {
    if (as_json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (int i = 0; i < count; ++i)
            list.push_back(pens[i]);
        nlohmann::ordered_json all = {{"x", x}, {"y", y}, {"pens", list}};
        out_text(all.dump().c_str());
        out_text("\n");
        return;
    }
    for (int i = 0; i < count; ++i)
        out_format("%d\n", pens[i]);
}

void print_sample(void* /*context*/, int32_t x, int32_t y, int32_t red, int32_t green, int32_t blue, int32_t u,
                  int32_t v) {
    const int32_t values[] = {x, y, red, green, blue, u, v};
    if (out_failed()) return;
    char* line = out_room(LINE_SIZE);
    char* to = line;
    for (int32_t value : values) {
        to = std::to_chars(to, line + LINE_SIZE, value).ptr;
        *to++ = ' ';
    }
    to[-1] = '\n';
    out_taken(static_cast<size_t>(to - line));
}

} // namespace

int batch_pick(word_list* words) {
    const char* given[3] = {nullptr, nullptr, nullptr};
    int count = 0;
    bool as_json = false;
    for (const char* word = take_word(words); word != nullptr; word = take_word(words)) {
        if (std::strcmp(word, "--json") == 0) {
            as_json = true;
        } else if (count == 3 || word[0] == '\0') {
            return program_usage("pick does not take \"%s\"", word);
        } else {
            given[count++] = word;
        }
    }
    if (count < 3) return program_usage("pick needs a .tnc file, X and Y");
    int64_t x = 0;
    int64_t y = 0;
    if (!parse_integer(given[1], INT32_MIN, INT32_MAX, &x) || !parse_integer(given[2], INT32_MIN, INT32_MAX, &y)) {
        return program_usage("\"%s\" and \"%s\" are not a column and a row", given[1], given[2]);
    }
    pair p;
    if (!pair_open(given[0], &p)) return EXIT_FAILED;
    int32_t pens[PENS_AT_PIXEL_MAX];
    bool inside = x >= 0 && x < p.width && y >= 0 && y < p.height;
    auto column = static_cast<int32_t>(x);
    auto row = static_cast<int32_t>(y);
    int found = inside ? pens_at_pixel(p.image, column, row, pens, PENS_AT_PIXEL_MAX) : 0;
    print_pick(column, row, pens, found, as_json);
    pair_close(&p);
    return EXIT_DONE;
}

int batch_samples(word_list* words) {
    const char* path = take_word(words);
    const char* pen_word = take_word(words);
    if (path == nullptr || pen_word == nullptr) return program_usage("samples needs a .tnc file and a PEN");
    if (words->next < words->count) return program_usage("samples does not take \"%s\"", words->words[words->next]);
    int64_t pen = 0;
    if (!parse_integer(pen_word, INT32_MIN, INT32_MAX, &pen)) return program_usage("\"%s\" is no pen", pen_word);
    pair p;
    if (!pair_open(path, &p)) return EXIT_FAILED;
    int status = EXIT_DONE;
    if (pen_defined(p.image, static_cast<int>(pen)) != 0) {
        pen_for_each_pixel(p.image, static_cast<int>(pen), nullptr, print_sample);
    } else {
        status = program_fail("There is no pen %lld in \"%s\".", static_cast<long long>(pen), path);
    }
    pair_close(&p);
    return status;
}
