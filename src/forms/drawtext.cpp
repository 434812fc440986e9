// Measuring and drawing of the texts of gadgets.
#include "forms/drawtext.h"

#include <cstring>

#include "forms/env.h"
#include "forms/surface.h"
#include "support/memory.h"

namespace {

// A line as it is shown: of the source, or a copy without the pairs that join lines.
struct shown_line {
    const char* text;
    int length;
    char* copy; // owned, or null
};

bool is_joint(const char* at) {
    return at[0] == '\\' && at[1] == '\n';
}

// The end of the line that begins at `from`; `joints` says whether it has pairs.
const char* line_end(const char* from, bool* joints) {
    *joints = false;
    const char* at = from;
    while (*at != '\0' && *at != '\n') {
        if (is_joint(at)) {
            *joints = true;
            ++at;
        }
        ++at;
    }
    return at;
}

void join(shown_line* line, const char* end) {
    line->copy = mem_new_array<char>(static_cast<size_t>(line->length) + 1);
    if (line->copy == nullptr) return; // the pair shows as the font has it
    char* to = line->copy;
    for (const char* at = line->text; at < end; ++at) {
        *to++ = is_joint(at) ? ' ' : *at;
        if (is_joint(at)) ++at;
    }
    line->length = static_cast<int>(to - line->copy);
    line->text = line->copy;
}

// Takes the line at *at and goes behind it; *at is null after the last.
shown_line next_line(const char** at) {
    bool joints = false;
    const char* end = line_end(*at, &joints);
    shown_line line = {*at, static_cast<int>(end - *at), nullptr};
    *at = *end == '\0' ? nullptr : end + 1;
    if (joints) join(&line, end);
    return line;
}

int width_of(uint32_t font, const shown_line& line, int font_type) {
    int height = 0, width = 0, spacing = 0;
    if (line.length > 0) fi_env.FI_CALC_TEXT(font, line.text, line.length, &height, &width, &spacing, font_type);
    return width;
}

// Walks over the lines: act(line, number), false ends it.
template <typename F> void each_line(const char* text, F act) {
    int number = 0;
    for (const char* at = text; at != nullptr; ++number) {
        const shown_line line = next_line(&at);
        const bool go_on = act(line, number);
        mem_free(line.copy);
        if (!go_on) return;
    }
}

} // namespace

void fi_gadget_font(FI_gadget* g, float factor) {
    g->bodysize *= factor;
    int actual = 0, spacing = 0;
    fi_env.FI_FIND_FONT(g->font_name, g->bodysize, &g->font_id, &actual, g->type, &g->font_type);
    fi_env.FI_CALC_TEXT(g->font_id, g->text, static_cast<int>(std::strlen(g->text)), &g->char_height, &g->char_width,
                        &spacing, g->font_type);
}

void fi_text_extent(const char* text, int* lines, int* width, uint32_t font, int font_type) {
    const bool measures = width != nullptr && *width != 0;
    int widest = 0;
    *lines = 0;
    each_line(text, [&](const shown_line& line, int) {
        ++*lines;
        const int own = measures ? width_of(font, line, font_type) : 0;
        if (own > widest) widest = own;
        return true;
    });
    if (width != nullptr && *width != 0) *width = widest;
}

void fi_each_text_line(const FI_gadget* g, fi_line_act act, void* user) {
    each_line(g->text, [&](const shown_line& line, int number) {
        return !act(user, number, width_of(g->font_id, line, g->font_type));
    });
}

namespace {

constexpr int SIDE = 8; // free room at the sides of a centred text that isn't in the middle

int left_of(const FI_gadget* g, int x1, int x2, int width, bool centred) {
    const int side = centred ? SIDE : 0;
    switch (g->type == FI_CHECKLIST ? FI_LEFT : g->justification) { // a checklist's says how it is pressed
    case FI_RIGHT: return x2 - width - side;
    case FI_CENTER: return (x1 + x2) / 2 - width / 2;
    default: return x1 + side;
    }
}

void put(const FI_gadget* g, int window, const shown_line& line, int x, int y) {
    fi_env.FI_DRAW_TEXT(window, g->font_id, line.text, line.length, x, y, g->char_height, nullptr, nullptr,
                        g->font_type);
}

struct emboss_colors {
    int near, far;
};

emboss_colors emboss_of(const FI_gadget* g) {
    if (g->style == 1) return {FI_BLACK, FI_WHITE};
    if (g->style == 2) return {FI_WHITE, FI_BLACK};
    return {g->off_color, g->on_color};
}

// Six times around its place, and not at it: first to the lower right, then to the upper left.
void put_embossed(const FI_gadget* g, int window, const shown_line& line, int x, int y, bool keeps_color) {
    const emboss_colors colors = emboss_of(g);
    if (!keeps_color) fi_set_color(g->form, window, colors.near);
    put(g, window, line, x + 1, y);
    put(g, window, line, x + 1, y + 1);
    put(g, window, line, x, y + 1);
    if (!keeps_color) fi_set_color(g->form, window, colors.far);
    put(g, window, line, x - 1, y);
    put(g, window, line, x - 1, y - 1);
    put(g, window, line, x, y - 1);
}

} // namespace

void fi_draw_text(FI_gadget* g, int x1, int y1, int x2, int y2, const char* text, int lines, int height, bool centred,
                  bool flag) {
    const int window = fi_draw_window(g->form);
    if (window < 0) return;
    const int top = centred ? (y1 + y2) / 2 - fi_text_height(lines, height) / 2 : y1;
    each_line(text, [&](const shown_line& line, int number) {
        const int y = top + number * fi_text_pitch(height);
        const int x = left_of(g, x1, x2, width_of(g->font_id, line, g->font_type), centred);
        if (line.length == 0) return true;
        if (g->style != 0 && !fi_has(g, FI_HILITED))
            put_embossed(g, window, line, x, y, flag);
        else
            put(g, window, line, x, y);
        return true;
    });
}
