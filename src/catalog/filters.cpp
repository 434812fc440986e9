// The patterns of a filter: compiled to a row of steps, each of which takes some characters of a name, and matched by
// going back to the last step that could have taken fewer.
#include "catalog/filters.h"

#include <algorithm>
#include <cstring>

#include "platform/files.h"
#include "support/memory.h"

namespace {

constexpr int GROUPS_MAX = 9;
constexpr int NUMBER_MAX = 255;
constexpr int NO_LIMIT = INT32_MAX;
constexpr size_t STEPS_MAX = 2 * FILTER_TEXT_SIZE; // a pattern's character makes two of an expression at the most
constexpr int TRIES_MAX = 200000; // of steps for one name: a pattern that takes more is one that nobody means

enum class step_kind : uint8_t { character, any, set, open, close, again };

struct step {
    step_kind kind;
    uint8_t value; // the character, or the number of the group
    int32_t least, most;
    uint32_t set[8]; // a bit for each byte
};

struct name_pattern {
    step* steps; // owned
    int count;
};

// ---- compiling -----------------------------------------------------------------------------------------------------

struct compiler {
    const char* at; // of the expression
    step* steps;
    int count;
    int groups;             // that were opened
    int open_groups;        // that are open
    int opened[GROUPS_MAX]; // their numbers
    bool is_closed[GROUPS_MAX + 1];
};

step* add_step(compiler* c, step_kind kind, uint8_t value) {
    step* s = &c->steps[c->count++];
    *s = {kind, value, 1, 1, {}};
    return s;
}

void add_to_set(step* s, unsigned first, unsigned last) {
    for (unsigned c = first; c <= last; ++c)
        s->set[c / 32] |= 1u << c % 32;
}

// Behind "[". A "]" right at the start is one of the characters.
int take_set(compiler* c) {
    step* s = add_step(c, step_kind::set, 0);
    const bool is_other = *c->at == '^';
    if (is_other) ++c->at;
    const char* first = c->at;
    for (; *c->at != ']' || c->at == first; ++c->at) {
        if (*c->at == '\0') return FILTER_NO_CLOSING_BRACKET;
        const auto low = static_cast<uint8_t>(*c->at);
        const bool is_range = c->at[1] == '-' && c->at[2] != ']' && c->at[2] != '\0';
        if (is_range) c->at += 2;
        add_to_set(s, low, static_cast<uint8_t>(*c->at));
    }
    ++c->at;
    for (uint32_t& word : s->set)
        if (is_other) word = ~word;
    return FILTER_OK;
}

int take_repeat_number(compiler* c, int* number) {
    if (*c->at < '0' || *c->at > '9') return FILTER_BAD_NUMBER;
    *number = 0;
    for (; *c->at >= '0' && *c->at <= '9'; ++c->at) {
        *number = *number * 10 + (*c->at - '0');
        if (*number > NUMBER_MAX) return FILTER_NUMBER_TOO_LARGE;
    }
    return FILTER_OK;
}

// Behind "\{": how often the step before it is to fit.
int take_repeats(compiler* c) {
    int least = 0;
    int most = 0;
    int error = take_repeat_number(c, &least);
    if (error != FILTER_OK) return error;
    most = least;
    if (*c->at == ',') {
        ++c->at;
        most = NO_LIMIT;
        if (*c->at != '\\' && *c->at != '\0') error = take_repeat_number(c, &most);
        if (error != FILTER_OK) return error;
    }
    if (*c->at == ',') return FILTER_TOO_MANY_NUMBERS;
    if (c->at[0] != '\\' || c->at[1] != '}') return FILTER_NO_CLOSING_BRACE;
    if (least > most) return FILTER_NUMBERS_TURNED;
    c->at += 2;
    step* s = c->count > 0 ? &c->steps[c->count - 1] : nullptr;
    if (s == nullptr || s->kind == step_kind::open || s->kind == step_kind::close) return FILTER_BAD_NUMBER;
    s->least = least;
    s->most = most;
    return FILTER_OK;
}

int open_group(compiler* c) {
    if (c->groups == GROUPS_MAX) return FILTER_TOO_MANY_GROUPS;
    c->opened[c->open_groups++] = ++c->groups;
    add_step(c, step_kind::open, static_cast<uint8_t>(c->groups));
    return FILTER_OK;
}

int close_group(compiler* c) {
    if (c->open_groups == 0) return FILTER_UNBALANCED;
    if (c->steps[c->count - 1].kind == step_kind::open) return FILTER_EMPTY;
    const int group = c->opened[--c->open_groups];
    c->is_closed[group] = true;
    add_step(c, step_kind::close, static_cast<uint8_t>(group));
    return FILTER_OK;
}

// Behind a backslash.
int take_escape(compiler* c) {
    const char what = *c->at;
    if (what == '\0') return FILTER_ENDS_IN_BACKSLASH;
    ++c->at;
    if (what == '(') return open_group(c);
    if (what == ')') return close_group(c);
    if (what == '{') return take_repeats(c);
    if (what < '1' || what > '9') {
        add_step(c, step_kind::character, static_cast<uint8_t>(what));
        return FILTER_OK;
    }
    const int group = what - '0';
    if (!c->is_closed[group]) return FILTER_NO_SUCH_GROUP;
    add_step(c, step_kind::again, static_cast<uint8_t>(group));
    return FILTER_OK;
}

// A "*" repeats what stands before it; where nothing does, it stands for itself.
void take_star(compiler* c) {
    step* s = c->steps + std::max(c->count - 1, 0);
    if (c->count == 0 || s->kind == step_kind::open || s->kind == step_kind::close) {
        add_step(c, step_kind::character, '*');
        return;
    }
    s->least = 0;
    s->most = NO_LIMIT;
}

int compile_expression(compiler* c) {
    int error = FILTER_OK;
    while (error == FILTER_OK && *c->at != '\0') {
        const char what = *c->at++;
        switch (what) {
        case '.': add_step(c, step_kind::any, 0); break;
        case '*': take_star(c); break;
        case '[': error = take_set(c); break;
        case '\\': error = take_escape(c); break;
        default: add_step(c, step_kind::character, static_cast<uint8_t>(what));
        }
    }
    return error == FILTER_OK && c->open_groups > 0 ? static_cast<int>(FILTER_UNBALANCED) : error;
}

// The basic regular expression of a pattern: twice as long at the most.
void expression_of(const char* pattern, size_t length, char* out) {
    for (size_t i = 0; i < length; ++i) {
        if (pattern[i] == '*') *out++ = '.';
        if (pattern[i] == '.') *out++ = '\\';
        *out++ = pattern[i] == '?' ? '.' : pattern[i];
    }
    *out = '\0';
}

int compile_pattern(const char* text, size_t length, name_pattern* pattern) {
    char expression[2 * FILTER_TEXT_SIZE];
    step steps[STEPS_MAX];
    expression_of(text, length, expression);
    compiler c = {};
    c.at = expression;
    c.steps = steps;
    const int error = compile_expression(&c);
    if (error != FILTER_OK) return error;
    const auto count = static_cast<size_t>(c.count);
    pattern->steps = mem_new_array<step>(count);
    if (pattern->steps == nullptr) return FILTER_NO_MEMORY;
    std::memcpy(pattern->steps, steps, count * sizeof(step));
    pattern->count = c.count;
    return FILTER_OK;
}

// ---- matching ------------------------------------------------------------------------------------------------------

struct matcher {
    const name_pattern* pattern;
    int tries;
    const char* group_start[GROUPS_MAX + 1];
    const char* group_end[GROUPS_MAX + 1];
};

// How many characters one turn of the step takes at `at`; -1: it doesn't fit.
int taken_by(const matcher* m, const step* s, const char* at) {
    if (s->kind == step_kind::again) {
        const char* start = m->group_start[s->value];
        const auto length = static_cast<size_t>(m->group_end[s->value] - start);
        return std::strncmp(at, start, length) == 0 ? static_cast<int>(length) : -1;
    }
    const auto c = static_cast<uint8_t>(*at);
    if (c == '\0') return -1;
    if (s->kind == step_kind::any) return 1;
    const bool fits = s->kind == step_kind::character ? c == s->value : (s->set[c / 32] >> c % 32 & 1) != 0;
    return fits ? 1 : -1;
}

bool match_from(matcher* m, int index, const char* at);

// As often as it fits, and then less often until the rest fits too.
bool match_repeated(matcher* m, int index, const char* at) {
    const step* s = &m->pattern->steps[index];
    int times = 0;
    const char* end = at;
    int length = 0;
    while (times < s->most && (length = taken_by(m, s, end)) > 0) {
        end += length;
        ++times;
    }
    if (length == 0 && times < s->least) times = s->least; // an empty group, as often as it may be
    const int step_length = times > 0 ? static_cast<int>((end - at) / times) : 0;
    for (; times >= s->least; --times, end -= step_length) {
        if (match_from(m, index + 1, end)) return true;
        if (m->tries > TRIES_MAX || (step_length == 0 && times > s->least && end == at)) return false;
    }
    return false;
}

bool match_from(matcher* m, int index, const char* at) {
    if (++m->tries > TRIES_MAX) return false;
    if (index == m->pattern->count) return *at == '\0';
    const step* s = &m->pattern->steps[index];
    switch (s->kind) {
    case step_kind::open: m->group_start[s->value] = at; return match_from(m, index + 1, at);
    case step_kind::close: m->group_end[s->value] = at; return match_from(m, index + 1, at);
    default: return match_repeated(m, index, at);
    }
}

bool fits(const name_pattern* pattern, const char* name) {
    matcher m = {pattern, 0, {}, {}};
    return match_from(&m, 0, name);
}

} // namespace

struct file_filter {
    name_pattern patterns[FILTER_PATTERNS_MAX];
    int count;
};

namespace {

// Up to the next comma that is not one of \{m,n\}.
size_t pattern_length(const char* list, size_t length) {
    bool in_braces = false;
    for (size_t i = 0; i < length; ++i) {
        if (list[i] == ',' && !in_braces) return i;
        if (list[i] == '\\' && i + 1 < length) {
            ++i;
            in_braces = list[i] == '{' || (in_braces && list[i] != '}');
        }
    }
    return length;
}

// Up to the parenthesis that closes the list, which is none of a group's.
size_t list_length(const char* list) {
    size_t length = 0;
    while (list[length] != '\0' && list[length] != ')' && length < FILTER_TEXT_SIZE - 1)
        length += list[length] == '\\' && list[length + 1] != '\0' ? 2 : 1;
    return length < FILTER_TEXT_SIZE ? length : FILTER_TEXT_SIZE - 1;
}

int compile_list(const char* list, size_t length, file_filter* filter) {
    int error = FILTER_OK;
    for (size_t at = 0; at < length && error == FILTER_OK && filter->count < FILTER_PATTERNS_MAX;) {
        const size_t size = pattern_length(list + at, length - at);
        if (size > 0) error = compile_pattern(list + at, size, &filter->patterns[filter->count]);
        if (size > 0 && error == FILTER_OK) ++filter->count;
        at += size + 1;
    }
    return error;
}

} // namespace

int file_filter_new(const char* text, file_filter** filter) {
    *filter = mem_new<file_filter>();
    if (*filter == nullptr) return FILTER_NO_MEMORY;
    const char* open = std::strchr(text, '(');
    if (open == nullptr) return FILTER_OK;
    const int error = compile_list(open + 1, list_length(open + 1), *filter);
    if (error == FILTER_OK) return error;
    file_filter_free(*filter);
    *filter = nullptr;
    return error;
}

void file_filter_free(file_filter* filter) {
    if (filter == nullptr) return;
    for (name_pattern& pattern : filter->patterns)
        mem_free(pattern.steps);
    mem_free(filter);
}

bool file_filter_takes(const file_filter* filter, const char* name) {
    if (filter == nullptr) return true;
    for (int i = 0; i < filter->count; ++i)
        if (fits(&filter->patterns[i], name)) return true;
    return false;
}

bool is_wild(const char* text) {
    return std::strpbrk(files_last_name(text), "*?") != nullptr;
}
