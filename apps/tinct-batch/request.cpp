// Reading the words of an apply command.
#include "request.h"

#include <cstdio>
#include <cstring>
#include <iterator>

#include "common/raster.h"
#include "frames.h"
#include "raster/rzl.h"
#include "support/log.h"

namespace {

// ---- surfaces ------------------------------------------------------------------------------------------------------

int add_set(const char* word, apply_request* request) {
    surface_set set;
    char why[SET_REASON_SIZE];
    if (!surface_set_parse(word, &set, why)) return program_usage("%s", why);
    return recipe_add(&request->sets, &set) ? EXIT_DONE : program_fail("There is no memory for the sets.");
}

int add_recipe(const char* path, apply_request* request) {
    request->has_recipe = true;
    return recipe_read(&request->sets, path, LOG_INFO) ? EXIT_DONE : EXIT_FAILED;
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
                 {"--force", &request->force},
                 {"--list", &request->list},
                 {"--skip-done", &request->skip_done}};
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
    if (std::strcmp(option, "--sets") == 0) return add_recipe(word, request);
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
                        : std::strcmp(option, "--frames") == 0  ? &request->frames
                                                                : &request->type;
    *text = word;
    return EXIT_DONE;
}

// Options with a value: first those that may be given again and again, then those of which two could not both hold.
constexpr const char* VALUE_OPTIONS[] = {"--set",  "--sets", "-o",       "--palette", "--frames",
                                         "--type", "--bits", "--colors", "--gamma"};
constexpr int OFTEN = 2;

// The number of such an option, -1 for any other word.
int value_option(const char* word) {
    for (size_t i = 0; i < std::size(VALUE_OPTIONS); ++i)
        if (std::strcmp(word, VALUE_OPTIONS[i]) == 0) return static_cast<int>(i);
    return -1;
}

// ---- output --------------------------------------------------------------------------------------------------------

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
    if (gray != 0 && !request->grey)
        log_message(LOG_INFO, "In 8 bits %s files have no colours, only grey levels.", rzl_standard_name(standard));
    if (!request->grey) raster_tell_grey(standard);
    if (request->gamma != 1.0 && standard == RZL_STANDARD_KRVN && settings->format == RZL_FORMAT_PLANE_RUNS)
        log_message(LOG_INFO, "A compressed rgb file of 24 bits has the pixels as they stand, without the gamma.");
    settings->flags = (gray != 0 ? OUTPUT_GREY : 0U) | (request->closest ? OUTPUT_CLOSEST : 0U);
    settings->colors = colors;
    settings->gamma = request->gamma;
    return EXIT_DONE;
}

} // namespace

int request_parse(word_list* words, apply_request* request) {
    *request = {};
    request->gamma = 1.0;
    bool given[std::size(VALUE_OPTIONS)] = {};
    for (const char* word = take_word(words); word != nullptr; word = take_word(words)) {
        int status = EXIT_DONE;
        const int option = value_option(word);
        if (option >= OFTEN && given[option]) return program_usage("%s is given once", word);
        if (option >= 0) {
            given[option] = true;
            status = take_option(word, take_word(words), request);
        } else if (!take_flag(word, request)) {
            bool is_file = word[0] != '-' && word[0] != '\0' && request->tnc == nullptr;
            if (!is_file) return program_usage("apply does not take \"%s\"", word);
            request->tnc = word;
        }
        if (status != EXIT_DONE) return status;
    }
    if (request->tnc == nullptr) return program_usage("apply needs a .tnc file");
    if (request->sets.count == 0 && !request->has_recipe)
        return program_usage("apply needs at least one --set PEN=SURFACE, or --sets FILE");
    if (request->out == nullptr) return program_usage("apply needs -o OUT");
    if (request->list && request->frames == nullptr) return program_usage("--list goes with --frames");
    int status = check_output_name(request->out);
    return status == EXIT_DONE && request->frames != nullptr ? frames_check(request) : status;
}

void request_free(apply_request* request) {
    recipe_free(&request->sets);
}

int request_output(const apply_request* request, output_settings* settings) {
    const char* name = request->type != nullptr ? request->type : raster_extension(request->out);
    int32_t standard = rzl_standard_of_extension(name);
    if (standard < 0 && request->type != nullptr) standard = raster_standard_of_name(name);
    if (standard < 0 && request->type != nullptr) return program_usage("--type does not know \"%s\"", name);
    if (standard < 0) return program_usage("the extension of \"%s\" names no type; give --type", request->out);
    int can_create = 0;
    if (rzl_standard_support(standard, &can_create, nullptr) != 0 || can_create == 0) {
        return program_fail("This build can not write \"%s\" files.", name);
    }
    if (imp_standard_ok(standard) == 0) return program_usage("pictures are not saved as \"%s\"", name);
    bool has_24 = imp_format_ok(standard, RZL_FORMAT_RGB) != 0 || imp_format_ok(standard, RZL_FORMAT_PLANE_RUNS) != 0;
    bool has_table = rzl_standard_has_table(standard) != 0;
    if (request->bits == 24 && !has_24) return program_usage("%s has 8 bits", name);
    if (!has_table && ((request->colors != 0 && !request->grey) || request->closest))
        return program_usage("%s has no colour table", name);
    if (request->colors > imp_most_colors(standard))
        return program_usage("%s has %d colours at most", name, imp_most_colors(standard));
    if (rzl_standard_is_coded(standard) != 0 && request->uncompressed)
        return program_usage("%s is always compressed", name);
    return settle_format(request, standard, settings);
}
