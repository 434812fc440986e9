// tinct-batch info: the surfaces of a rendered image.
#include <cstring>
#include <string>

#include <nlohmann/json.hpp>

#include "commands.h"
#include "pair.h"

namespace {

using json = nlohmann::ordered_json;

std::string dumped(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

json pen_json(const pair* p, int pen, const pen_summary* s) {
    json entry = {{"pen", pen},
                  {"uv", pen_has_uv(p->image, pen) != 0},
                  {"samples", s->samples},
                  {"runs", s->runs},
                  {"plines", s->plines},
                  {"bytes", s->bytes},
                  {"bbox", nullptr}};
    if (s->x1 <= s->x2) entry["bbox"] = {s->x1, s->y1, s->x2, s->y2};
    return entry;
}

void print_json(const char* path, const pair* p) {
    json pens = json::array();
    pen_summary s;
    for (int pen = 0; pen < PEN_COUNT; ++pen) {
        if (pen_summarise(p->image, pen, &s)) pens.push_back(pen_json(p, pen, &s));
    }
    json name = p->image->name != nullptr ? json(p->image->name) : json(nullptr);
    json all = {{"tnc", path},       {"version", p->image->version}, {"name", name}, {"raster", p->raster},
                {"width", p->width}, {"height", p->height},          {"pens", pens}};
    out_text(dumped(all).c_str());
    out_text("\n");
}

void print_pen(const pair* p, int pen, const pen_summary* s) {
    out_format("%5d  %-3s %12lld %10lld %9lld %12lld", pen, pen_has_uv(p->image, pen) != 0 ? "yes" : "no",
               static_cast<long long>(s->samples), static_cast<long long>(s->runs), static_cast<long long>(s->plines),
               static_cast<long long>(s->bytes));
    if (s->x1 <= s->x2) out_format("   %d,%d to %d,%d", s->x1, s->y1, s->x2, s->y2);
    out_text("\n");
}

void print_table(const char* path, const pair* p) {
    out_format("%s: version %d, companion %s, %d x %d\n", path, p->image->version, p->raster, p->width, p->height);
    if (p->image->name != nullptr) out_format("name: %s\n", p->image->name);
    out_text("  pen  u,v      samples       runs    plines        bytes   columns and rows\n");
    pen_summary s;
    for (int pen = 0; pen < PEN_COUNT; ++pen) {
        if (pen_summarise(p->image, pen, &s)) print_pen(p, pen, &s);
    }
}

} // namespace

int batch_info(word_list* words) {
    const char* path = nullptr;
    bool as_json = false;
    for (const char* word = take_word(words); word != nullptr; word = take_word(words)) {
        if (std::strcmp(word, "--json") == 0) {
            as_json = true;
        } else if (word[0] == '-' || path != nullptr) {
            return program_usage("info does not take \"%s\"", word);
        } else {
            path = word;
        }
    }
    if (path == nullptr) return program_usage("info needs a .tnc file");
    pair p;
    if (!pair_open(path, &p)) return EXIT_FAILED;
    if (as_json) {
        print_json(path, &p);
    } else {
        print_table(path, &p);
    }
    pair_close(&p);
    return EXIT_DONE;
}
