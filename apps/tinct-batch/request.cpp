// Reading the words of an apply command.
#include "request.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "common/raster.h"
#include "raster/rzl.h"
#include "support/memory.h"
#include "tnc/tnc.h"

namespace {

// ---- surfaces ------------------------------------------------------------------------------------------------------

bool starts_with(const char* text, const char* start) {
    return std::strncmp(text, start, std::strlen(start)) == 0;
}

enum class placement { none, taken, wrong };

// A misspelt option, such as "rotatoin=3": letters and perhaps a value, as no directory or extension has them.
bool looks_like_option(const char* text) {
    size_t letters = std::strspn(text, "abcdefghijklmnopqrstuvwxyz");
    return letters > 0 && (text[letters] == '=' || text[letters] == '\0');
}

// Takes one placement option, the text behind a ":".
placement take_placement(const char* option, set_request* set) {
    bool good = true;
    if (std::strcmp(option, "mirror") == 0) {
        set->mirror = true;
    } else if (starts_with(option, "rotation=")) {
        good = parse_number(option + 9, &set->rotation);
    } else if (starts_with(option, "size=")) {
        good = parse_number(option + 5, &set->size) && set->size > 0.0;
    } else {
        bool misspelt = set->kind == surface_kind::raster && looks_like_option(option) && !files_exists(set->text);
        return misspelt ? placement::wrong : placement::none;
    }
    set->has_placement = true;
    return good ? placement::taken : placement::wrong;
}

// Takes the placement options off the end of the set's text. False for one that is wrong.
bool take_placements(set_request* set) {
    for (char* colon = std::strrchr(set->text, ':'); colon != nullptr; colon = std::strrchr(set->text, ':')) {
        placement result = take_placement(colon + 1, set);
        if (result == placement::wrong) return false;
        if (result == placement::none) return true;
        *colon = '\0';
    }
    return true;
}

// What begins with a number and a comma is meant as "R,G,B", also with numbers that are none of a colour ("nan,0,0").
bool looks_like_color(const char* text) {
    const char* comma = std::strchr(text, ',');
    if (comma == nullptr) return false;
    double value = 0.0;
    auto result = std::from_chars(text, comma, value);
    return result.ptr == comma;
}

// Exactly three numbers from 0 to 1.
bool parse_color(const char* text, set_request* set) {
    double* const parts[] = {&set->red, &set->green, &set->blue};
    const char* end = text + std::strlen(text);
    for (double* part : parts) {
        auto result = std::from_chars(text, end, *part);
        bool in_range = result.ec == std::errc() && *part >= 0.0 && *part <= 1.0;
        if (!in_range) return false;
        bool is_last = part == &set->blue;
        if (is_last) return result.ptr == end;
        if (result.ptr == end || *result.ptr != ',') return false;
        text = result.ptr + 1;
    }
    return false;
}

int parse_surface(const char* word, const char* surface, set_request* set) {
    set->kind = surface[0] == '@' ? surface_kind::raster : surface_kind::name;
    const char* text = surface[0] == '@' ? surface + 1 : surface;
    int length = std::snprintf(set->text, sizeof set->text, "%s", text);
    if (static_cast<size_t>(length) >= sizeof set->text) return program_usage("a surface's name is too long");
    if (!take_placements(set)) return program_usage("\"%s\" has an unknown placement, or a number out of range", word);
    if (set->text[0] == '\0') return program_usage("\"%s\" names no surface", word);
    if (set->kind != surface_kind::name || !looks_like_color(set->text)) return EXIT_DONE;
    set->kind = surface_kind::color;
    if (!parse_color(set->text, set)) return program_usage("\"%s\" is no colour of numbers from 0.0 to 1.0", word);
    if (set->has_placement) return program_usage("\"%s\": a colour has no placement", word);
    return EXIT_DONE;
}

int parse_set(const char* word, set_request* set) {
    *set = {};
    set->size = 1.0;
    const char* equals = std::strchr(word, '=');
    char pen_text[16];
    size_t length = equals != nullptr ? static_cast<size_t>(equals - word) : sizeof pen_text;
    if (length >= sizeof pen_text) return program_usage("\"%s\" is not PEN=SURFACE", word);
    std::memcpy(pen_text, word, length);
    pen_text[length] = '\0';
    int64_t pen = 0;
    if (!parse_integer(pen_text, INT32_MIN, INT32_MAX, &pen)) return program_usage("\"%s\" is no pen", pen_text);
    set->pen = static_cast<int>(pen);
    return parse_surface(word, equals + 1, set);
}

int add_set(const char* word, apply_request* request) {
    size_t bytes = (static_cast<size_t>(request->set_count) + 1) * sizeof(set_request);
    auto* sets = static_cast<set_request*>(mem_realloc(request->sets, bytes));
    if (sets == nullptr) return program_fail("There is no memory for the sets.");
    request->sets = sets;
    return parse_set(word, &request->sets[request->set_count++]);
}

// ---- options -------------------------------------------------------------------------------------------------------

int take_integer(const char* option, const char* word, int64_t low, int64_t high, int64_t* value) {
    if (parse_integer(word, low, high, value)) return EXIT_DONE;
    return program_usage("%s takes a whole number from %lld to %lld", option, static_cast<long long>(low),
                         static_cast<long long>(high));
}

bool take_flag(const char* word, apply_request* request) {
    const struct {
        const char* word;
        bool* flag;
    } flags[] = {{"--uncompressed", &request->uncompressed},
                 {"--closest", &request->closest},
                 {"--grey", &request->grey},
                 {"--force", &request->force}};
    for (const auto& f : flags) {
        if (std::strcmp(word, f.word) != 0) continue;
        *f.flag = true;
        return true;
    }
    return false;
}

int take_option(const char* option, const char* word, apply_request* request) {
    if (word == nullptr) return program_usage("%s needs a value", option);
    if (std::strcmp(option, "--set") == 0) return add_set(word, request);
    if (std::strcmp(option, "--bits") == 0) {
        int status = take_integer(option, word, 8, 24, &request->bits);
        bool known = request->bits == 8 || request->bits == 24;
        return status == EXIT_DONE && !known ? program_usage("--bits takes 8 or 24") : status;
    }
    if (std::strcmp(option, "--colors") == 0) return take_integer(option, word, 2, 256, &request->colors);
    if (std::strcmp(option, "--gamma") == 0) {
        bool good = parse_number(word, &request->gamma) && request->gamma > 0.0 && request->gamma < 10.0;
        return good ? static_cast<int>(EXIT_DONE) : program_usage("--gamma takes a number above 0 and below 10");
    }
    const char** text = std::strcmp(option, "-o") == 0          ? &request->out
                        : std::strcmp(option, "--palette") == 0 ? &request->palette
                                                                : &request->type;
    *text = word;
    return EXIT_DONE;
}

bool takes_value(const char* word) {
    for (const char* option : {"--set", "-o", "--palette", "--type", "--bits", "--colors", "--gamma"}) {
        if (std::strcmp(word, option) == 0) return true;
    }
    return false;
}

// ---- output --------------------------------------------------------------------------------------------------------

// The standard of an output type, -1 for one that pictures are not saved as.
int32_t standard_of_type(const char* type) {
    int32_t standard = rzl_standard_of_extension(type);
    return imp_format_ok(standard, RZL_FORMAT_BYTE_RUNS) != 0 ? standard : -1;
}

// Options that ask for a colour table or grey levels mean 8 bits.
int settle_format(const apply_request* request, int32_t standard, output_settings* settings) {
    bool reduces = request->colors != 0 || request->closest || request->grey;
    if (reduces && request->bits == 24) return program_usage("--colors, --closest and --grey go with 8 bits");
    int32_t depth = request->bits == 8 || reduces ? 8 : 24;
    int32_t compressed = request->uncompressed ? 0 : 1;
    int32_t gray = request->grey ? 1 : 0;
    auto colors = static_cast<int32_t>(request->colors);
    settings->standard = standard;
    settings->format = imp_format_code(depth, compressed);
    imp_normalise(standard, &settings->format, &compressed, &depth, &gray, &colors);
    settings->flags = (gray != 0 ? OUTPUT_GREY : 0U) | (request->closest ? OUTPUT_CLOSEST : 0U);
    settings->colors = colors;
    settings->gamma = request->gamma;
    return EXIT_DONE;
}

} // namespace

int request_parse(word_list* words, apply_request* request) {
    *request = {};
    request->gamma = 1.0;
    for (const char* word = take_word(words); word != nullptr; word = take_word(words)) {
        int status = EXIT_DONE;
        if (takes_value(word)) {
            status = take_option(word, take_word(words), request);
        } else if (!take_flag(word, request)) {
            bool is_file = word[0] != '-' && word[0] != '\0' && request->tnc == nullptr;
            if (!is_file) return program_usage("apply does not take \"%s\"", word);
            request->tnc = word;
        }
        if (status != EXIT_DONE) return status;
    }
    if (request->tnc == nullptr) return program_usage("apply needs a .tnc file");
    if (request->set_count == 0) return program_usage("apply needs at least one --set PEN=SURFACE");
    if (request->out == nullptr) return program_usage("apply needs -o OUT");
    return check_output_name(request->out);
}

void request_free(apply_request* request) {
    mem_free(request->sets);
    request->sets = nullptr;
}

int request_output(const apply_request* request, output_settings* settings) {
    const char* name = request->type != nullptr ? request->type : raster_extension(request->out);
    int32_t standard = standard_of_type(name);
    if (standard < 0 && request->type != nullptr) return program_usage("--type does not know \"%s\"", name);
    if (standard < 0) return program_usage("the extension of \"%s\" names no type; give --type", request->out);
    bool is_gif = standard == RZL_STANDARD_GIF;
    bool is_jpeg = standard == RZL_STANDARD_JFIF;
    bool is_coded = is_gif || is_jpeg || standard == RZL_STANDARD_PNG;
    if (is_gif && request->bits == 24) return program_usage("gif has 8 bits");
    if (is_jpeg && (request->colors != 0 || request->closest)) return program_usage("%s has no colour table", name);
    if (is_coded && request->uncompressed) return program_usage("%s is always compressed", name);
    int can_create = 0;
    if (rzl_standard_support(standard, &can_create, nullptr) != 0 || can_create == 0) {
        return program_fail("This version can not write \"%s\" files yet.", name);
    }
    return settle_format(request, standard, settings);
}
