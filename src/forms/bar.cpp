// Bars.
#include "forms/bar.h"

#include <algorithm>
#include <cmath>

#include "forms/edges.h"
#include "forms/faces.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/range.h"
#include "forms/show.h"
#include "forms/surface.h"

namespace {

constexpr int FRAME_DEPTH = 2;
constexpr int FRAME = FRAME_DEPTH + 1; // that the frame reaches beyond the rectangle
constexpr float GAP_SHARE = 0.35F;     // of a segment's pitch

bool is_horizontal(const fi_bar* b) {
    return b->orientation == FI_HORIZONTAL;
}

int segments_of(const fi_bar* b) {
    return static_cast<int>(std::clamp(b->segments, 0.0F, static_cast<float>(INT16_MAX)));
}

int length_of(const FI_gadget* g) {
    const fi_box box = fi_rect_of(g);
    return is_horizontal(fi_as<fi_bar>(g)) ? box.x2 - box.x1 : box.y2 - box.y1;
}

// Pixels from segment to segment.
float pitch_of(const FI_gadget* g) {
    return static_cast<float>(length_of(g)) / static_cast<float>(std::max(segments_of(fi_as<fi_bar>(g)), 1));
}

void fit(FI_gadget* g) {
    auto* b = fi_as<fi_bar>(g);
    const float pitch = pitch_of(g);
    b->segment_gap = static_cast<int16_t>(std::lround(GAP_SHARE * pitch));
    b->segment_length = static_cast<int16_t>(std::lround(pitch - static_cast<float>(b->segment_gap)));
}

// How many segments show the value. The last two are lit together, so that what is nearly full looks full.
int16_t lit_by(const fi_bar* b, double value) {
    const int all = segments_of(b);
    const int lit =
        static_cast<int>(fi_share(0, b->high_value, value) * all + 1e-9); // a step that is missed by rounding
    if (value <= 0 || b->high_value <= 0) return 0;
    return static_cast<int16_t>(lit >= all - 1 ? all : lit);
}

// Segment n, from 1 on, as far as the bar reaches. Each is at least a pixel long.
fi_box segment(const FI_gadget* g, int n) {
    const auto* b = fi_as<fi_bar>(g);
    const fi_box box = fi_rect_of(g);
    const int from = static_cast<int>(pitch_of(g) * static_cast<float>(n - 1)) + 1;
    const int to = std::min(from + std::max(b->segment_length - 2, 1) - 1, length_of(g) - 1);
    return is_horizontal(b) ? fi_box{box.x1 + from, box.y1 + 1, box.x1 + to, box.y2 - 1}
                            : fi_box{box.x1 + 1, box.y2 - to, box.x2 - 1, box.y2 - from};
}

// Segments first + 1 to last.
void draw_segments(FI_gadget* g, int window, int first, int last) {
    const auto* b = fi_as<fi_bar>(g);
    for (int n = first + 1; n <= last; ++n) {
        fi_set_color(g->form, window, n <= b->lit_segments ? g->on_color : g->off_color);
        fi_fill(window, segment(g, n));
    }
}

void draw_hatch(FI_gadget* g, int window) {
    if (!fi_is_hatched(g)) return;
    fi_set_color(g->form, window, fi_erase_color(g));
    fi_hatch_area(window, fi_rect_of(g), fi_hatch);
}

// What changes from one number of lit segments to another.
void draw_change(FI_gadget* g, int was_lit) {
    const auto* b = fi_as<fi_bar>(g);
    const int window = b->lit_segments != was_lit ? fi_shown_window(g) : -1;
    if (window < 0) return;
    draw_segments(g, window, std::min<int>(was_lit, b->lit_segments), std::max<int>(was_lit, b->lit_segments));
    draw_hatch(g, window);
    fi_flush(window);
}

} // namespace

void fi_bar_extent(const FI_gadget* /*g*/, fi_box* box) {
    *box = fi_inset(*box, -FRAME);
}

void fi_bar_draw(FI_gadget* g, int window) {
    auto* b = fi_as<fi_bar>(g);
    fit(g);
    b->lit_segments = lit_by(b, g->value);
    const fi_box frame = fi_inset(fi_rect_of(g), -FRAME);
    if (fi_is_disabled(g)) {
        fi_set_color(g->form, window, fi_erase_color(g));
        fi_fill(window, frame);
    } else {
        fi_draw_bevel_in(window, frame, FRAME_DEPTH,
                         fi_bevel_colors(g->form, FI_BLACK, fi_erase_color(g), FI_WHITE, fi_outline_color(g)),
                         FI_SQUARE_CORNERS);
    }
    draw_segments(g, window, 0, segments_of(b));
    draw_hatch(g, window);
}

void fi_bar_erase(FI_gadget* g, int window) {
    fi_fill(window, fi_extent_of(g));
}

int fi_bar_set(FI_gadget* g, double value) {
    auto* b = fi_as<fi_bar>(g);
    const double before = g->value;
    const int was_lit = b->lit_segments;
    g->value = fi_limited(0, b->high_value, value);
    b->lit_segments = lit_by(b, g->value);
    draw_change(g, was_lit);
    if (g->value != before) fi_carry_link(g);
    return FI_SUCCESS;
}

// A bar begins at 0: a low limit only lifts the value that it has.
int fi_bar_set_limit(FI_gadget* g, bool high, double value) {
    auto* b = fi_as<fi_bar>(g);
    if (high) b->high_value = value;
    g->value = high ? std::min(g->value, value) : std::max(g->value, value);
    fi_redraw_gadget(g);
    return FI_SUCCESS;
}

void fi_bar_take_link(FI_gadget* g, const char* text) {
    fi_bar_set(g, fi_link_number(text));
}
