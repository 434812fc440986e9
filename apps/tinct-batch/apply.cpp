// tinct-batch apply: gives surfaces colours and patterns, and saves the picture.
//
// Everything that can be judged is judged before the pair is opened; the output is written under another name beside
// its place and put there when it is whole.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "commands.h"
#include "common/raster.h"
#include "core/open_image.h"
#include "done.h"
#include "frames.h"
#include "pair.h"
#include "platform/interrupt.h"
#include "request.h"
#include "support/log.h"
#include "surface/palette.h"
#include "surface/paths.h"
#include "surface/recipe.h"

namespace {

constexpr int PASSED_OVER = INT_MIN; // the pen of a set that counts for nothing

struct palettes {
    char path[FILES_PATH_SIZE]; // of the palette in use; empty for none
    color_palette colors;
    pattern_palette patterns;
};

// ---- palette -------------------------------------------------------------------------------------------------------

bool uses_names(const apply_request* request) {
    for (int i = 0; i < request->sets.count; ++i) {
        if (request->sets.sets[i].kind == surface_kind::name) return true;
    }
    return false;
}

// The palette that was named, else the product's own where names are asked for.
int load_palettes(const apply_request* request, palettes* p) {
    const char* root = std::getenv(VARIABLE_ROOT);
    if (request->palette != nullptr) {
        std::snprintf(p->path, sizeof p->path, "%s", request->palette);
    } else if (uses_names(request) && root != nullptr) {
        std::snprintf(p->path, sizeof p->path, "%s/palettes/tinct.tnp", root);
        if (!files_exists(p->path)) p->path[0] = '\0';
    }
    if (p->path[0] == '\0') return EXIT_DONE;
    if (files_exists(p->path) && files_input_fault(p->path) != nullptr) return program_fail_reading(p->path, "");
    return load_palette_file(&p->colors, &p->patterns, p->path) != 0 ? EXIT_DONE : EXIT_FAILED;
}

void free_palettes(palettes* p) {
    palette_clear(&p->colors);
    pattern_palette_clear(&p->patterns);
}

// ---- sets that count for nothing -----------------------------------------------------------------------------------

// What is wrong with a set of the command line ends the work. A recipe's is told with its line, and the set is passed
// over: a scene's recipe is to serve each of its frames.
int pass_over(surface_set* set, const char* why) {
    if (set->from == nullptr) return program_fail("%s", why);
    recipe_tell(LOG_INFO, set, why);
    surface_set_free(set);
    set->pen = PASSED_OVER;
    return EXIT_DONE;
}

// Calls check(set, why) for each set that counts, which writes what is wrong with it. Those of recipes are counted.
template <typename F> int each_set(apply_request* request, int* wrong, F check) {
    char why[SET_REASON_SIZE];
    int status = EXIT_DONE;
    for (int i = 0; status == EXIT_DONE && i < request->sets.count; ++i) {
        surface_set* set = &request->sets.sets[i];
        if (set->pen == PASSED_OVER || check(set, why)) continue;
        status = pass_over(set, why);
        ++*wrong;
    }
    return status;
}

// Replaces names by the colours and patterns that they stand for.
int look_up_names(apply_request* request, const palettes* p) {
    return each_set(request, &request->sets.wrong, [&](surface_set* set, char* why) {
        if (set->kind == surface_kind::name && p->path[0] == '\0') {
            std::snprintf(why, SET_REASON_SIZE, "There is no palette to look \"%.200s\" up in; --palette names one.",
                          set->text);
            return false;
        }
        return surface_set_look_up(set, &p->colors, &p->patterns, why);
    });
}

// ---- output --------------------------------------------------------------------------------------------------------

// False after a message when the output is the input file of that name, under whatever name.
bool is_not_output(const apply_request* request, const char* input) {
    if (!files_is_same(request->out, input)) return true;
    program_fail("Error : Attempt to overwrite input file \"%s\".\n", request->out);
    return false;
}

bool spares_inputs(const apply_request* request, const palettes* p) {
    char found[FILES_PATH_SIZE];
    if (!is_not_output(request, request->tnc) || !is_not_output(request, p->path)) return false;
    if (files_exists(request->tnc) && find_companion(request->tnc, found, sizeof found) &&
        !is_not_output(request, found)) {
        return false;
    }
    for (int i = 0; i < request->sets.count; ++i) {
        const surface_set* set = &request->sets.sets[i];
        if (set->from != nullptr && !is_not_output(request, set->from)) return false;
        if (set->pen == PASSED_OVER || set->kind != surface_kind::raster) continue;
        find_raster_file(set->text, found, sizeof found);
        if (!is_not_output(request, found)) return false;
    }
    return true;
}

int check_output(const apply_request* request, const palettes* p) {
    char real[FILES_PATH_SIZE];
    if (!spares_inputs(request, p)) return EXIT_FAILED;
    if (files_exists(request->out)) {
        if (files_size_of(request->out) < 0) return program_fail("\"%s\" is no plain file.", request->out);
        int status = check_no_catalog(request->out);
        if (status != EXIT_DONE) return status;
        if (!request->force) return program_fail("\"%s\" exists; --force overwrites it.", request->out);
    }
    if (!files_resolve_new(request->out, real, sizeof real)) {
        return program_fail("\"%s\" can not be written: its directory does not exist.", request->out);
    }
    return EXIT_DONE;
}

int check_patterns(apply_request* request) {
    return each_set(request, &request->sets.wrong, [](surface_set* set, char* why) {
        char found[FILES_PATH_SIZE];
        if (set->kind != surface_kind::raster) return true;
        if (!find_raster_file(set->text, found, sizeof found)) {
            std::snprintf(why, SET_REASON_SIZE, "load_image : failed to open \"%.255s\" for read", set->text);
            return false;
        }
        const char* fault = files_input_fault(found);
        if (fault != nullptr) std::snprintf(why, SET_REASON_SIZE, "\"%.255s\" could not be opened: %s", found, fault);
        return fault == nullptr;
    });
}

// An interrupt stops the save between two lines, so that what was written can be taken away.
constexpr uint32_t INTERRUPTED = 1;

uint32_t pending_interrupt() {
    return interrupt_pending() ? INTERRUPTED : 0;
}

// The counters of the pipeline ("Line 12/900", "COLOR 3/256", "Percent: 6.25") as a bar.
void show_counter(int level, const char* text) {
    const char* digits = level == IMP_MESSAGE_LINES ? std::strpbrk(text, "0123456789") : nullptr;
    if (digits == nullptr) return;
    char* behind = nullptr;
    double done = std::strtod(digits, &behind);
    double total = *behind == '/' ? std::strtod(behind + 1, nullptr) : 100.0;
    progress_show("saving", static_cast<int64_t>(done), static_cast<int64_t>(total));
}

constexpr uint32_t COUNTERS = IMP_MESSAGE_BANNER | IMP_MESSAGE_LINES | IMP_MESSAGE_TABLE | IMP_MESSAGE_STAGES;
constexpr output_watch WATCH = {INTERRUPTED, 1, [](uint32_t) { return 1; }, COUNTERS, 16, show_counter};

int save_planes(const char* path, const output_settings* settings) {
    const raster_image* picture = open_image.picture;
    imp_set_pending_events(pending_interrupt);
    interrupt_watch();
    int code = imp_save_planes(path, picture->width, picture->height, picture->red, picture->green, picture->blue,
                               settings, &WATCH);
    interrupt_end();
    progress_end();
    return code;
}

// `record` is written beside the picture; null: none is.
int save(const apply_request* request, const output_settings* settings, const done_record* record) {
    char fresh[FILES_PATH_SIZE];
    bool begun = request->force ? files_replace_begin(request->out, fresh, sizeof fresh)
                                : files_create_begin(request->out, fresh, sizeof fresh);
    if (!begun) return program_fail_writing(request->out, "");
    int code = save_planes(fresh, settings);
    if (code != IMP_OK) {
        files_replace_abandon();
        if (code == IMP_STOPPED) interrupt_deliver();
        bool of_file = code == IMP_WRITE_FAILED || code == IMP_TRUNCATED;
        const char* reason = imp_raster_status != 0 ? raster_reason(imp_raster_status) : imp_error_text[code];
        return of_file ? program_fail_writing(request->out, reason)
                       : program_fail("%s: \"%s\"", imp_error_text[code], request->out);
    }
    if (record != nullptr && !done_write(record, request->out, fresh)) {
        files_replace_abandon();
        return program_fail_writing(request->out, "what it was made by could not be written down");
    }
    return program_put_in_place(request->out);
}

// ---- surfaces ------------------------------------------------------------------------------------------------------

// Where a pass is, for the progress bar.
struct pass_progress {
    int done_sets, sets;
};

void show_row(void* user, int32_t y, int32_t /*x1*/, int32_t /*x2*/) {
    const auto* p = static_cast<const pass_progress*>(user);
    int64_t height = open_image.picture->height;
    progress_show("applying", p->done_sets * height + y, p->sets * height);
}

// All pens must be there, and take what they are given, before the first is changed.
int check_pens(apply_request* request) {
    const int status = each_set(request, &request->sets.wrong, [&](surface_set* set, char* why) {
        if (pen_defined(open_image.tnc, set->pen) != 0) return true;
        std::snprintf(why, SET_REASON_SIZE, "There is no pen %d in \"%.255s\".", set->pen, request->tnc);
        return false;
    });
    if (status != EXIT_DONE) return status;
    return each_set(request, &request->sets.wrong, [](surface_set* set, char* why) {
        if (set->kind != surface_kind::raster || pen_has_uv(open_image.tnc, set->pen) != 0) return true;
        std::snprintf(why, SET_REASON_SIZE, "Pen %d: Patterns cannot be applied to this surface.", set->pen);
        return false;
    });
}

int apply_sets(apply_request* request) {
    pass_progress progress = {0, request->sets.count};
    open_image.rows_changed = {show_row, &progress};
    image_history_limit(0); // nothing is taken back
    int status = check_pens(request);
    for (int i = 0; status == EXIT_DONE && i < request->sets.count; ++i) {
        const surface_set* set = &request->sets.sets[i];
        if (set->pen == PASSED_OVER) continue;
        progress.done_sets = i;
        applique* a = surface_set_applique(set);
        if (a == nullptr || apply_col_pat(set->pen, a) == 0) status = EXIT_FAILED;
    }
    progress_end();
    // A pattern that was damaged has been used as far as it goes.
    return status == EXIT_DONE && program_has_reported() ? static_cast<int>(EXIT_FAILED) : status;
}

// Damaged input gives no output: a picture that is half right would be taken for a whole one.
int open_pair(const apply_request* request) {
    pair checked;
    if (!pair_check(request->tnc, &checked)) return EXIT_FAILED;
    if (image_open(request->tnc) == 0) return EXIT_FAILED;
    return program_has_reported() ? EXIT_FAILED : EXIT_DONE;
}

int make_picture(apply_request* request, const palettes* p, const output_settings* settings,
                 const done_record* record) {
    int status = check_output(request, p);
    if (status == EXIT_DONE) status = check_patterns(request);
    if (status == EXIT_DONE) status = open_pair(request);
    if (status == EXIT_DONE) status = apply_sets(request);
    if (status == EXIT_DONE) status = save(request, settings, request->sets.wrong == 0 ? record : nullptr);
    image_close();
    return status;
}

// Leaves a picture alone that has been made already.
int make_unless_done(apply_request* request, const palettes* p, const output_settings* settings) {
    done_record record;
    done_describe(&record, request, p->path);
    int status = EXIT_DONE;
    if (!done_already(&record, request->out)) status = make_picture(request, p, settings, &record);
    done_free(&record);
    return status;
}

int run(apply_request* request, palettes* p) {
    output_settings settings = {};
    int status = request_output(request, &settings);
    if (status == EXIT_DONE) status = load_palettes(request, p);
    if (status == EXIT_DONE) status = look_up_names(request, p);
    if (status == EXIT_DONE)
        status =
            request->skip_done ? make_unless_done(request, p, &settings) : make_picture(request, p, &settings, nullptr);
    // The picture is there; what a recipe asked for and could not get makes the run a failed one all the same.
    return status == EXIT_DONE && request->sets.wrong > 0 ? static_cast<int>(EXIT_FAILED) : status;
}

} // namespace

int batch_apply(word_list* words) {
    apply_request request;
    palettes p = {};
    int status = request_parse(words, &request);
    if (status == EXIT_DONE) status = request.frames != nullptr ? frames_run(&request, words) : run(&request, &p);
    free_palettes(&p);
    request_free(&request);
    return status;
}
