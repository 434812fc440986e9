// tinct-sample: renders a scene and writes the pair, SCENE.rgb and SCENE.tnc.
#include <atomic>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "common/program.h"
#include "core/version.h"
#include "picture.h"
#include "platform/files.h"
#include "raster/rzl.h"
#include "scene.h"
#include "support/log.h"
#include "tncwrite.h"

namespace {

constexpr const char* SYNOPSIS =
    "usage: tinct-sample SCENE DIRECTORY [--size WxH] [--compress none|plines|stream|both] [--seed N]\n"
    "       tinct-sample --list\n"
    "       tinct-sample --pens SCENE\n";

constexpr const char* HELP =
    "Renders a scene and writes the pair SCENE.rgb and SCENE.tnc into the directory, which is made when it is "
    "missing.\n"
    "In the picture every surface stands at half of its shade, as it does before it is given a colour.\n"
    "\n"
    "  --size WxH      the size of the picture in pixels (1200x900)\n"
    "  --compress HOW  how the .tnc file is packed: raw samples, packed lines, a compressed stream, or both (both)\n"
    "  --seed N        the seed of the sampling (1)\n"
    "  --list          the scenes\n"
    "  --pens SCENE    the surfaces of a scene, by pen number\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.\n";

// What a picture may have to be opened again; a packed line of this width always fits its 16-bit length.
constexpr int32_t SIZE_MAX_SIDE = 8192;

struct sample_request {
    const scene_entry* entry;
    const char* directory;
    int32_t width, height;
    tnc_packing packing;
    int64_t seed;
};

// ---- words ----------------------------------------------------------------------------------------------------------

int take_size(const char* word, sample_request* request) {
    const char* cross = word != nullptr ? std::strchr(word, 'x') : nullptr;
    int64_t width = 0, height = 0;
    bool good = cross != nullptr && parse_integer(std::string(word, cross).c_str(), 1, SIZE_MAX_SIDE, &width) &&
                parse_integer(cross + 1, 1, SIZE_MAX_SIDE, &height);
    if (!good) return program_usage("--size takes WxH, from 1 to %d each", SIZE_MAX_SIDE);
    request->width = static_cast<int32_t>(width);
    request->height = static_cast<int32_t>(height);
    return EXIT_DONE;
}

int take_packing(const char* word, sample_request* request) {
    static constexpr const char* names[] = {"none", "plines", "stream", "both"};
    for (int i = 0; word != nullptr && i < 4; ++i) {
        if (std::strcmp(word, names[i]) != 0) continue;
        request->packing = static_cast<tnc_packing>(i);
        return EXIT_DONE;
    }
    return program_usage("--compress takes none, plines, stream or both");
}

int take_scene(const char* word, const scene_entry** entry) {
    *entry = word != nullptr ? scene_find(word) : nullptr;
    if (*entry != nullptr) return EXIT_DONE;
    return word != nullptr ? program_usage("there is no scene \"%s\"; see --list", word)
                           : program_usage("--pens needs a scene");
}

int take_seed(const char* word, sample_request* request) {
    bool good = word != nullptr && parse_integer(word, 0, UINT32_MAX, &request->seed);
    return good ? static_cast<int>(EXIT_DONE) : program_usage("--seed takes a number from 0");
}

int take_argument(word_list* words, const char* word, sample_request* request) {
    if (std::strcmp(word, "--size") == 0) return take_size(take_word(words), request);
    if (std::strcmp(word, "--compress") == 0) return take_packing(take_word(words), request);
    if (std::strcmp(word, "--seed") == 0) return take_seed(take_word(words), request);
    if (word[0] == '-' || word[0] == '\0' || request->directory != nullptr)
        return program_usage("\"%s\" is not understood", word);
    if (request->entry == nullptr) return take_scene(word, &request->entry);
    request->directory = word;
    return EXIT_DONE;
}

int parse(word_list* words, sample_request* request) {
    *request = {nullptr, nullptr, 1200, 900, tnc_packing::both, 1};
    for (const char* word = take_word(words); word != nullptr; word = take_word(words)) {
        int status = take_argument(words, word, request);
        if (status != EXIT_DONE) return status;
    }
    bool whole = request->entry != nullptr && request->directory != nullptr;
    return whole ? static_cast<int>(EXIT_DONE) : program_usage("a scene and a directory are needed");
}

int refuse_more(word_list* words) {
    const char* more = take_word(words);
    return more != nullptr ? program_usage("\"%s\" is not understood", more) : static_cast<int>(EXIT_DONE);
}

int list_scenes(word_list* words) {
    const int status = refuse_more(words);
    if (status != EXIT_DONE) return status;
    for (const scene_entry* entry = SCENES; entry->name != nullptr; ++entry) {
        out_format("%-8s %s\n", entry->name, entry->description);
    }
    return EXIT_DONE;
}

int list_pens(word_list* words) {
    const scene_entry* entry = nullptr;
    int status = take_scene(take_word(words), &entry);
    if (status == EXIT_DONE) status = refuse_more(words);
    if (status != EXIT_DONE || entry == nullptr) return status;
    scene s = {};
    entry->build(&s);
    for (size_t pen = 0; pen < s.pens.size(); ++pen) {
        out_format("%4d  %-4s %s\n", static_cast<int>(pen), s.pens[pen].has_uv ? "u,v" : "", s.pens[pen].name);
    }
    return EXIT_DONE;
}

// ---- the pair ------------------------------------------------------------------------------------------------------

struct rendering {
    CFILE* raster;
    tnc_writer tnc;
    std::vector<uint8_t> red, green, blue;
    int32_t height;
};

bool take_row(void* user, int32_t y, const uint8_t* pixels, const pen_sample* samples, size_t count) {
    auto* r = static_cast<rendering*>(user);
    for (size_t x = 0; x < r->red.size(); ++x) {
        r->red[x] = pixels[x * 3];
        r->green[x] = pixels[x * 3 + 1];
        r->blue[x] = pixels[x * 3 + 2];
    }
    tnc_add_row(&r->tnc, y, samples, count);
    progress_show("rendering", y + 1, r->height);
    return rzl_putline3(r->raster, r->red.data(), r->green.data(), r->blue.data()) == 0;
}

bool begin_raster(CFILE* file, int32_t width, int32_t height) {
    const int32_t fields[][2] = {{RZL_FIELD_STANDARD, RZL_STANDARD_KRVN},
                                 {RZL_FIELD_FORMAT, RZL_FORMAT_PLANE_RUNS},
                                 {RZL_FIELD_XSIZE, width},
                                 {RZL_FIELD_YSIZE, height},
                                 {RZL_FIELD_ORIENTATION, 4}};
    for (const auto& field : fields) {
        if (rzl_set_hdr_data(file, field[0], &field[1]) != 0) return false;
    }
    return rzl_write_header(file) == 0;
}

// Writes a whole file under the name of its new content.
bool write_file(const std::string& path, const std::vector<uint8_t>& bytes) {
    char fresh[FILES_PATH_SIZE];
    if (!files_replace_begin(path.c_str(), fresh, sizeof fresh)) return false;
    file_stream* out = stream_open(fresh, "wb");
    bool good = out != nullptr && stream_write(bytes.data(), 1, bytes.size(), out) == bytes.size();
    if (out != nullptr && stream_close(out) != 0) good = false;
    return good;
}

int write_pair(const scene& s, const sample_request& request) {
    std::string stem = std::string(request.directory) + "/" + request.entry->name;
    std::string companion = std::string(request.entry->name) + ".rgb";
    rendering r = {nullptr, {}, {}, {}, {}, request.height};
    r.red.resize(static_cast<size_t>(request.width));
    r.green = r.blue = r.red;
    char fresh[FILES_PATH_SIZE];
    if (!files_replace_begin((stem + ".rgb").c_str(), fresh, sizeof fresh)) {
        return program_fail("\"%s.rgb\" can not be written.", stem.c_str());
    }
    bool good = tnc_begin(&r.tnc, request.packing, s.pens, companion.c_str());
    r.raster = rzl_open_w(fresh);
    good = good && r.raster != nullptr && begin_raster(r.raster, request.width, request.height) &&
           picture_render(s, request.width, request.height, static_cast<uint32_t>(request.seed), take_row, &r);
    tnc_end(&r.tnc);
    if (r.raster != nullptr && rzl_finish(r.raster) != 0) good = false;
    progress_end();
    // The new picture must not stand beside the samples of an older one, nor be lost to them: both are put in place, or
    // none.
    const char* failed = good ? "tnc" : "rgb";
    good = good && !program_has_reported() && write_file(stem + ".tnc", r.tnc.file);
    if (!good) files_replace_abandon();
    if (!good) return program_fail_writing((stem + "." + failed).c_str(), "it is not whole.");
    out_format("%s.rgb\n%s.tnc\n", stem.c_str(), stem.c_str());
    return program_put_in_place(stem.c_str());
}

int render(word_list* words) {
    sample_request request;
    int status = parse(words, &request);
    if (status != EXIT_DONE || request.entry == nullptr || request.directory == nullptr) return status;
    if (!files_make_directory(request.directory)) {
        return program_fail("The directory \"%s\" can not be made.", request.directory);
    }
    scene s = {};
    request.entry->build(&s);
    return write_pair(s, request);
}

// Memory that a container asks for and does not get, on any of the threads: no half-written file stays.
void out_of_memory() {
    static std::atomic_flag met;
    while (met.test_and_set())
        std::this_thread::yield(); // another thread is ending the program
    program_fail("There is not enough memory for this picture.");
    files_replace_abandon();
    stop_program(EXIT_FAILED);
}

constexpr program_command COMMANDS[] = {{"--list", list_scenes}, {"--pens", list_pens}};

constexpr program_definition PROGRAM = {
    "tinct-sample", TINCT_VERSION, SYNOPSIS, HELP, COMMANDS, static_cast<int>(std::size(COMMANDS)), render};

} // namespace

int main(int count, char** arguments) {
    std::set_new_handler(out_of_memory);
    return program_run(&PROGRAM, count, arguments);
}
