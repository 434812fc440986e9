// Response files and the splitting of options.
#include "desktop/arguments.h"

#include <cstddef>
#include <cstring>

#include "platform/files.h"
#include "support/log.h"
#include "support/memory.h"
#include "support/token.h"

namespace {

constexpr size_t RESPONSE_LIMIT = 64 << 20;  // bytes of a response file
constexpr int FILES_LIMIT = 4096;            // files without words could name others twice each without end
constexpr int NESTING_LIMIT = 32;            // a response file that names itself would never end
constexpr int64_t ARGUMENTS_LIMIT = 1 << 20; // and files that name others twice each would double without end

// A growing list of owned texts.
struct text_list {
    char** values;
    int count;
    int room;
    int files; // response files opened for it
};

bool list_add_owned(text_list* list, char* text) {
    if (text == nullptr) return false;
    if (list->count + 1 >= list->room) { // one place stays for the null at the end
        int room = list->room > 0 ? list->room * 2 : 16;
        auto* larger = static_cast<char**>(mem_realloc(list->values, static_cast<size_t>(room) * sizeof(char*)));
        if (larger == nullptr) {
            mem_free(text);
            return false;
        }
        list->values = larger;
        list->room = room;
    }
    list->values[list->count++] = text;
    list->values[list->count] = nullptr;
    return true;
}

bool list_add(text_list* list, const char* text) {
    return list_add_owned(list, mem_copy_text(text));
}

void list_free(text_list* list) {
    for (int i = 0; i < list->count; ++i)
        mem_free(list->values[i]);
    mem_free(list->values);
    *list = {nullptr, 0, 0, 0};
}

bool no_memory() {
    log_message(LOG_ERROR, "Failed to allocate memory for the arguments.\n");
    return false;
}

// ---- response files ------------------------------------------------------------------------------------------------

bool expand_one(text_list* list, const char* argument, int depth);

bool expand_response_file(text_list* list, const char* path, int depth) {
    if (depth >= NESTING_LIMIT) {
        log_message(LOG_ERROR, "Response file \"%s\" holds itself.\n", path);
        return false;
    }
    if (++list->files > FILES_LIMIT) {
        log_message(LOG_ERROR, "There are too many response files.\n");
        return false;
    }
    size_t size = 0;
    mem_guard<char> text(files_load(path, RESPONSE_LIMIT, &size));
    if (!text) {
        log_message(LOG_ERROR, "Failed to open response file \"%s\"\n", path);
        return false;
    }
    const char* at = text.get();
    const char* end = text.get() + size;
    char token[TOKEN_SIZE];
    // At a word that is too long it and the rest of the file are given up.
    while (token_next(&at, end, token) == token_end::token) {
        if (!expand_one(list, token, depth + 1)) return false;
    }
    return true;
}

bool expand_one(text_list* list, const char* argument, int depth) {
    if (argument[0] == '\0') return true;
    if (argument[0] == '@') return expand_response_file(list, argument + 1, depth);
    if (list->count >= ARGUMENTS_LIMIT) {
        log_message(LOG_ERROR, "There are too many arguments.\n");
        return false;
    }
    return list_add(list, argument) || no_memory();
}

// ---- options ------------------------------------------------------------------------------------------------------

bool takes_argument(const char* options, char letter) {
    const char* found = letter != ':' ? std::strchr(options, letter) : nullptr;
    return found != nullptr && found[1] == ':';
}

bool add_option(text_list* options, char letter) {
    char text[] = {'-', letter, '\0'};
    return list_add(options, text);
}

// Splits the word at *index into options, and takes the next word when the last letter needs it.
bool split_word(const text_list* words, int* index, const char* letters, text_list* options) {
    // A word such as "--size" is no row of letters; it stays whole, for the reader to give as unknown.
    if (words->values[*index][1] == '-') return list_add(options, words->values[*index]);
    for (const char* p = words->values[*index] + 1; *p != '\0'; ++p) {
        if (!add_option(options, *p)) return false;
        if (!takes_argument(letters, *p)) continue;
        if (p[1] != '\0') return list_add(options, p + 1);
        if (*index + 1 >= words->count) return true;
        ++*index;
        return list_add(options, words->values[*index]);
    }
    return true;
}

bool sort_words(const text_list* words, const char* letters, text_list* options, text_list* others) {
    bool options_ended = false;
    for (int i = 0; i < words->count; ++i) {
        const char* word = words->values[i];
        if (!options_ended && std::strcmp(word, "--") == 0) options_ended = true;
        bool is_option = !options_ended && word[0] == '-';
        bool good = is_option ? split_word(words, &i, letters, options) : list_add(others, word);
        if (!good) return false;
    }
    return true;
}

// Moves the texts of `from` behind those of `to`.
bool list_append(text_list* to, text_list* from) {
    for (int i = 0; i < from->count; ++i) {
        char* text = from->values[i];
        from->values[i] = nullptr;
        if (!list_add_owned(to, text)) return false;
    }
    return true;
}

bool build(int count, const char* const* arguments, const char* options, text_list* result) {
    text_list words = {nullptr, 0, 0, 0};
    text_list others = {nullptr, 0, 0, 0};
    bool good = true;
    for (int i = 1; good && i < count; ++i)
        good = expand_one(&words, arguments[i], 0);
    if (good) {
        good = list_add(result, count > 0 ? arguments[0] : "") && sort_words(&words, options, result, &others) &&
               list_append(result, &others);
        if (!good) no_memory();
    }
    list_free(&words);
    list_free(&others);
    return good;
}

// ---- the option reader's place ------------------------------------------------------------------------------------

struct option_place {
    int index; // the entry at work
    const char* argument;
};
option_place place = {1, nullptr};

} // namespace

bool expand_arguments(int count, const char* const* arguments, const char* options, argument_list* list) {
    *list = {nullptr, 0};
    text_list result = {nullptr, 0, 0, 0};
    if (!build(count, arguments, options, &result)) {
        list_free(&result);
        return false;
    }
    *list = {result.values, result.count};
    return true;
}

void argument_list_free(argument_list* list) {
    text_list owned = {list->values, list->count, 0, 0};
    list_free(&owned);
    *list = {nullptr, 0};
}

void strip_blanks(char* text) {
    char* to = text;
    for (const char* from = text; *from != '\0'; ++from) {
        if (*from != ' ') *to++ = *from;
    }
    *to = '\0';
}

void reset_options() {
    place = {1, nullptr};
}

int get_option(int count, char* const* arguments, const char* options) {
    place.argument = nullptr;
    if (place.index >= count) return -1;
    const char* word = arguments[place.index];
    if (word[0] != '-' || word[1] == '\0' || std::strcmp(word, "--") == 0) return -1;
    ++place.index;
    char letter = word[1];
    if (letter == ':' || std::strchr(options, letter) == nullptr) {
        place.argument = word;
        return '?';
    }
    if (!takes_argument(options, letter)) return static_cast<unsigned char>(letter);
    if (word[2] != '\0') {
        place.argument = word + 2;
    } else if (place.index < count) {
        place.argument = arguments[place.index++];
    }
    return static_cast<unsigned char>(letter);
}

const char* get_option_argument() {
    return place.argument;
}

int get_option_index() {
    return place.index;
}
