// Carrying values along links.
//
// A value goes as text. What a target passes on waits in a queue until the target is done, so that long chains need no
// deep stack. Labels that have had their turn stand in a list that lives as long as the outermost call: a ring of links
// ends after one round.
#include "forms/link.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "forms/array.h"
#include "forms/env.h"
#include "support/memory.h"

namespace {

constexpr int GROWTH = 10; // labels

// A label that has had its turn, and until then the text on its way there.
struct visited_label {
    FI_form* form;
    int32_t label;
    char* text; // fi_string_free(); null once it has arrived
};

visited_label* visited = nullptr; // owned while a link is carried
int visited_count = 0;
int visited_room = 0;
bool carrying = false;

bool was_visited(const FI_form* form, int label) {
    for (int i = 0; i < visited_count; ++i)
        if (visited[i].form == form && visited[i].label == label) return true;
    return false;
}

bool make_room() {
    if (visited_count < visited_room) return true;
    const size_t room = static_cast<size_t>(visited_room) + static_cast<size_t>(GROWTH + visited_room / 2);
    if (!fi_resize(&visited, room)) return false;
    visited_room = static_cast<int>(room);
    return true;
}

void end_visits() {
    for (int i = 0; i < visited_count; ++i)
        if (visited[i].text != nullptr) fi_string_free(visited[i].text);
    mem_free(visited);
    visited = nullptr;
    visited_count = visited_room = 0;
}

void take(FI_gadget* target, const char* text) {
    if (target->type == FI_GROUP) {
        const fi_hold hold(target);
        fi_each_member(fi_as_group(target), [=](FI_gadget* member) { take(member, text); });
        return;
    }
    if (fi_ops(target).take_link != nullptr) fi_ops(target).take_link(target, text);
}

// Longest "%lf" of a double, with room.
constexpr size_t NUMBER_TEXT = 400;

char* text_of(FI_gadget* g) {
    if (fi_ops(g).link_text != nullptr) return fi_ops(g).link_text(g);
    char number[NUMBER_TEXT];
    std::snprintf(number, sizeof number, "%lf", g->value);
    return fi_string_dup(number);
}

// Without memory the value goes no further.
void send(FI_gadget* g, const char* text) {
    if (was_visited(g->form, g->link_label) || !make_room()) return;
    char* own = text != nullptr ? fi_string_dup(text) : text_of(g);
    if (own != nullptr) visited[visited_count++] = {g->form, g->link_label, own};
}

void deliver(int index) {
    visited_label& v = visited[index];
    char* text = v.text;
    v.text = nullptr;
    FI_gadget* target = fi_form_exists(v.form) ? fi_find_gadget(v.form, v.label) : nullptr;
    if (target != nullptr) take(target, text);
    fi_string_free(text);
}

} // namespace

void fi_carry_link_text(FI_gadget* g, const char* text) {
    if (g->link_label < 0) return;
    send(g, text);
    if (carrying) return;
    carrying = true;
    for (int i = 0; i < visited_count; ++i)
        deliver(i);
    end_visits();
    carrying = false;
}

void fi_carry_link(FI_gadget* g) {
    fi_carry_link_text(g, nullptr);
}

double fi_link_number(const char* text) {
    const double value = std::strtod(text, nullptr);
    return std::isfinite(value) ? value : 0.0;
}
