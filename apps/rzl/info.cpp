// rzl formats: the standards. rzl info: what a raster file holds.
#include <cstring>

#include <nlohmann/json.hpp>

#include "commands.h"
#include "common/raster.h"
#include "facts.h"
#include "source.h"

namespace {

using json = nlohmann::ordered_json;

// What a map or document tells of itself, as far as the file does.
void add_map(const raster_source* s, json* facts) {
    rzl_map_info map = {};
    if (rzl_get_hdr_data(s->file, RZL_FIELD_MAP, &map) != 0) return;
    const struct {
        const char *key, *text;
    } texts[] = {{"title", map.title}, {"date", map.date}, {"security", map.security}};
    for (const auto& t : texts)
        if (t.text[0] != '\0') (*facts)[t.key] = t.text;
    if (map.scale != 0) (*facts)["scale"] = map.scale;
    for (int32_t i = 0; i < map.corner_count && i < 4; ++i)
        (*facts)["corners"].push_back(map.corners[i]);
}

json facts_of(const raster_source* s) {
    int32_t standard = source_field(s, RZL_FIELD_STANDARD, 0);
    const char* name = rzl_standard_name(standard);
    json facts = {
        {"standard", standard},
        {"standard_name", name != nullptr ? json(name) : json(nullptr)},
        {"format", s->format},
        {"width", s->width},
        {"height", s->height},
        {"samples", s->samples},
        {"bits", s->bits},
        {"orientation", s->orientation},
        {"vlt_type", s->vlt_type},
        {"vlt_entries", s->vlt_entries},
        {"tile", source_field(s, RZL_FIELD_TILE_WIDTH, 0)},
        {"overviews", source_field(s, RZL_FIELD_OVERVIEWS, 0)},
        {"images", source_field(s, RZL_FIELD_IMAGES, 1)},
        {"compression", source_field(s, RZL_FIELD_COMPRESSION, 0)},
        {"resolution", source_field(s, RZL_FIELD_RESOLUTION, 0)},
    };
    // Of the standards whose files say what they have beyond the first version.
    bool versioned = standard == RZL_STANDARD_TARGA || standard == RZL_STANDARD_BMP;
    int32_t version = versioned ? source_field(s, RZL_FIELD_VERSION, 0) : 0;
    if (version != 0) facts["version"] = version;
    // What a set bit of a bilevel line means: 0 black, 1 white.
    if (standard == RZL_STANDARD_TIFF) facts["photometric"] = source_field(s, RZL_FIELD_PHOTOMETRIC, 1);
    add_map(s, &facts);
    return facts;
}

void print_facts(const char* path, const json& facts) {
    out_format("%s\n", path);
    for (const auto& [key, value] : facts.items()) {
        std::string text =
            value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', false, json::error_handler_t::replace);
        out_format("  %-14s %s\n", key.c_str(), text.c_str());
    }
}

} // namespace

int command_formats(word_list* words) {
    if (words->next < words->count) return program_usage("formats takes no words");
    out_text("  id  name        read  create\n");
    for (int32_t id = 0; id < STANDARD_LIMIT; ++id) {
        const char* name = rzl_standard_name(id);
        int can_create = 0;
        int can_read = 0;
        if (name == nullptr || rzl_standard_support(id, &can_create, &can_read) != 0) continue;
        out_format("%4d  %-10s  %-4s  %s\n", id, name, can_read != 0 ? "yes" : "no", can_create != 0 ? "yes" : "no");
    }
    return EXIT_DONE;
}

int command_info(word_list* words) {
    source_request request = {nullptr, 0, -1};
    bool as_json = false;
    for (const char* word = take_word(words); word != nullptr; word = take_word(words)) {
        if (std::strcmp(word, "--json") == 0) {
            as_json = true;
            continue;
        }
        bool taken = false;
        int status = source_take_word(words, word, &request, &taken);
        if (status != EXIT_DONE) return status;
        if (!taken) return program_usage("info does not take \"%s\"", word);
    }
    if (request.path == nullptr) return program_usage("info needs a file");
    raster_source source;
    if (!source_open(&request, &source)) return EXIT_FAILED;
    json facts = facts_of(&source);
    add_standard_facts(&source, request.path, request.image, &facts);
    if (as_json) {
        out_text(facts.dump(-1, ' ', false, json::error_handler_t::replace).c_str());
        out_text("\n");
    } else {
        print_facts(request.path, facts);
    }
    int status = raster_is_whole(source.file, request.path) ? EXIT_DONE : EXIT_FAILED;
    source_close(&source);
    return status;
}
