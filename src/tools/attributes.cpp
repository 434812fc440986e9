// Attributes of drawing on numbered windows, and their stack.
#include "support/bytes.h"
#include "support/memory.h"
#include "tools/colors.h"
#include "tools/draw.h"
#include "tools/windata.h"

namespace {

constexpr uint32_t LIMITED_SLOT = 32; // of rgbcolor() on screens with few slots
constexpr int PATTERN_ROWS = 8;

canvas_color slot_color(int slot) {
    const auto highest = static_cast<uint32_t>(max_color_index);
    return CANVAS_SLOT | std::min(static_cast<uint32_t>(slot), highest);
}

// Has `set` change the attributes of a window.
template <typename F> int change(int window, F set) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    set(w->attributes);
    return 0;
}

bool same_clip(const window_attributes& a, const window_attributes& b) {
    return a.clipped == b.clipped && a.clip_x1 == b.clip_x1 && a.clip_y1 == b.clip_y1 && a.clip_x2 == b.clip_x2 &&
           a.clip_y2 == b.clip_y2;
}

} // namespace

void window_apply_clip(window_record* w) {
    const window_attributes& a = w->attributes;
    if (a.clipped)
        canvas_set_clip(w->dc, window_box(a.clip_x1, a.clip_y1, a.clip_x2, a.clip_y2));
    else
        canvas_clear_clip(w->dc);
}

int fgcolor(int window, int slot) {
    return change(window, [=](window_attributes& a) { a.foreground = slot_color(slot); });
}

int bgcolor(int window, int slot) {
    return change(window, [=](window_attributes& a) { a.background = slot_color(slot); });
}

int rgbcolor(int window, int screen, uint32_t value) {
    window_record* w = window_find(window);
    if (w == nullptr || screen != 0) return -1;
    if (w->attributes.color_mode == COLOR_MODE_TRUE) {
        w->attributes.foreground = value & 0xFFFFFF;
        return 0;
    }
    const auto highest = static_cast<uint32_t>(max_color_index);
    w->attributes.foreground = CANVAS_SLOT | std::min(value, highest > 16 ? highest : LIMITED_SLOT);
    return 0;
}

int clipbox(int window, int x1, int y1, int x2, int y2) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    window_attributes& a = w->attributes;
    a.clipped = true;
    a.clip_x1 = window_short(std::max(x1, 0));
    a.clip_y1 = window_short(std::max(y1, 0));
    a.clip_x2 = window_short(std::min(x2, canvas_width(w->dc) - 1));
    a.clip_y2 = window_short(std::min(y2, canvas_height(w->dc) - 1));
    window_apply_clip(w);
    return 0;
}

int weight(int window, int lines) {
    return change(window, [=](window_attributes& a) { a.weight = window_short(lines); });
}

int linestyle(int window, uint32_t pattern) {
    return change(window, [=](window_attributes& a) { a.line_style = static_cast<uint16_t>(pattern); });
}

int blendline(int window, uint32_t value) {
    return change(window, [=](window_attributes& a) { a.blend = static_cast<uint16_t>(value); });
}

int fillpattern(int window, const uint32_t* rows) {
    return change(window, [=](window_attributes& a) {
        a.patterned = !std::all_of(rows, rows + PATTERN_ROWS, [](uint32_t r) { return r == 0xFFFFFFFF; });
        for (int i = 0; i < PATTERN_ROWS; ++i)
            a.pattern.rows[i] = reversed_bits(rows[PATTERN_ROWS - 1 - i]);
    });
}

int pushattributes(int window) {
    window_record* w = window_find(window);
    if (w == nullptr) return -1;
    auto* block = mem_new<window_attributes>();
    if (block == nullptr) return -1;
    *block = w->attributes;
    block->next = w->saved_attributes;
    w->saved_attributes = block;
    return 0;
}

int popattributes(int window) {
    window_record* w = window_find(window);
    if (w == nullptr || w->saved_attributes == nullptr) return -1;
    window_attributes* block = w->saved_attributes;
    w->saved_attributes = block->next;
    const bool clip_differs = !same_clip(w->attributes, *block);
    w->attributes = *block;
    w->attributes.next = nullptr;
    mem_free(block);
    if (clip_differs) window_apply_clip(w);
    return 0;
}

int flushbuffer(int window) {
    return window_find(window) == nullptr ? -1 : 0;
}
