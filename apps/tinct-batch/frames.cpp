// Frames of a sequence.
#include "frames.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "platform/child.h"
#include "support/memory.h"

namespace {

constexpr int64_t FRAME_LAST = 2147483647; // highest number of a frame
constexpr int DIGITS_MAX = 10;             // of a frame's number in a name

// ---- names: one "%d" or "%05d" stands for the frame's number

struct name_pattern {
    int before;         // characters in front of the number
    int digits;         // at least so many
    const char* behind; // what follows the number
};

bool parse_pattern(const char* text, name_pattern* pattern) {
    const char* at = std::strchr(text, '%');
    if (at == nullptr) return false;
    pattern->before = static_cast<int>(at - text);
    pattern->digits = 1;
    ++at;
    if (*at == '0') {
        char* end = nullptr;
        const long digits = std::strtol(at, &end, 10);
        if (digits < 1 || digits > DIGITS_MAX) return false;
        pattern->digits = static_cast<int>(digits);
        at = end;
    }
    pattern->behind = at + 1;
    return *at == 'd' && std::strchr(at, '%') == nullptr;
}

bool frame_name(const char* text, int64_t frame, char out[FILES_PATH_SIZE]) {
    name_pattern p;
    if (!parse_pattern(text, &p)) return false;
    const int length = std::snprintf(out, FILES_PATH_SIZE, "%.*s%0*lld%s", p.before, text, p.digits,
                                     static_cast<long long>(frame), p.behind);
    return length >= 0 && length < static_cast<int>(FILES_PATH_SIZE);
}

// ---- ranges: "1-100", "1-100x5" for each fifth, "7", and several of them with commas between

struct frame_range {
    int64_t first, last, step;
};

bool take_number(const char** at, int64_t low, int64_t* value) {
    if (**at < '0' || **at > '9') return false;
    char* end = nullptr;
    *value = std::strtoll(*at, &end, 10); // too many digits give the largest number, which is refused
    *at = end;
    return *value >= low && *value <= FRAME_LAST;
}

// The next range of the text; the place is then at the text's end or behind a comma.
bool take_range(const char** at, frame_range* range) {
    if (!take_number(at, 0, &range->first)) return false;
    range->last = range->first;
    range->step = 1;
    if (**at == '-') {
        ++*at;
        if (!take_number(at, range->first, &range->last)) return false;
        if (**at == 'x') {
            ++*at;
            if (!take_number(at, 1, &range->step)) return false;
        }
    }
    if (**at == '\0') return true;
    if (**at != ',' || (*at)[1] == '\0') return false;
    ++*at;
    return true;
}

bool is_range_list(const char* text) {
    frame_range range;
    if (*text == '\0') return false;
    while (*text != '\0')
        if (!take_range(&text, &range)) return false;
    return true;
}

// ---- one frame

struct frame_command {
    const char** words; // owned: the words of its process, null behind the last; the two names point at those below
    char tnc[FILES_PATH_SIZE];
    char out[FILES_PATH_SIZE];
};

// The command's own words with the frame's names, without those that are about the sequence.
void put_words(frame_command* command, const apply_request* request, const word_list* all) {
    int count = 0;
    command->words[count++] = "tinct-batch";
    for (int i = 1; i < all->count; ++i) {
        const char* word = all->words[i];
        if (std::strcmp(word, "--list") == 0) continue;
        if (word == request->frames) {
            --count; // "--frames" stands before it
            continue;
        }
        command->words[count++] = word == request->tnc ? command->tnc : word == request->out ? command->out : word;
    }
    command->words[count] = nullptr;
}

// As a shell takes it: in single quotes where it has anything that means something there.
void print_word(const char* word) {
    constexpr const char* PLAIN = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./,:=@+%";
    if (*word != '\0' && std::strspn(word, PLAIN) == std::strlen(word)) {
        out_text(word);
        return;
    }
    out_text("'");
    for (; *word != '\0'; ++word)
        if (*word == '\'')
            out_text("'\\''");
        else
            out_bytes(word, 1);
    out_text("'");
}

void print_command(const frame_command* command) {
    for (int i = 0; command->words[i] != nullptr; ++i) {
        if (i > 0) out_text(" ");
        print_word(command->words[i]);
    }
    out_text("\n");
}

struct frame_counts {
    int64_t frames, failed;
};

void do_frame(frame_command* command, int64_t frame, frame_counts* counts) {
    ++counts->frames;
    const int status = child_run(command->words);
    if (status == EXIT_DONE) return;
    ++counts->failed;
    if (status < 0)
        program_fail("Frame %lld could not be started.", static_cast<long long>(frame));
    else if (status > 128)
        program_fail("Frame %lld was ended by signal %d.", static_cast<long long>(frame), status - 128);
    else
        program_fail("Frame %lld failed.", static_cast<long long>(frame));
}

} // namespace

int frames_check(const apply_request* request) {
    name_pattern p;
    if (!is_range_list(request->frames))
        return program_usage("--frames takes numbers and ranges, as 1-100, 1-100x5 or 3,7,10-20");
    for (const char* name : {request->tnc, request->out})
        if (!parse_pattern(name, &p))
            return program_usage("with --frames \"%s\" needs one %%d, or %%05d for five digits, and no other %%", name);
    return EXIT_DONE;
}

int frames_run(const apply_request* request, const word_list* words) {
    frame_command command = {};
    command.words = static_cast<const char**>(mem_alloc((static_cast<size_t>(words->count) + 1) * sizeof(char*)));
    if (command.words == nullptr) return program_fail("There is no memory for the words of a frame.");
    put_words(&command, request, words);
    frame_counts counts = {};
    frame_range range;
    for (const char* at = request->frames; *at != '\0' && take_range(&at, &range);)
        for (int64_t frame = range.first; frame <= range.last && !out_failed(); frame += range.step) {
            if (!frame_name(request->tnc, frame, command.tnc) || !frame_name(request->out, frame, command.out)) {
                mem_free(command.words);
                return program_fail("The name of frame %lld is too long.", static_cast<long long>(frame));
            }
            if (request->list)
                print_command(&command);
            else
                do_frame(&command, frame, &counts);
        }
    mem_free(command.words);
    if (counts.failed == 0) return EXIT_DONE;
    return program_fail("%lld of %lld frames failed.", static_cast<long long>(counts.failed),
                        static_cast<long long>(counts.frames));
}
