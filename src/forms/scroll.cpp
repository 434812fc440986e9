// Scroll bars: where their parts stand, how they look, and what their numbers mean.
#include "forms/scroll.h"

#include <algorithm>
#include <cmath>

#include "forms/edges.h"
#include "forms/env.h"
#include "forms/faces.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/press.h"
#include "forms/range.h"
#include "forms/sequence.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "forms/track.h"

// ---- layout --------------------------------------------------------------------------------------------------------

namespace {

// Pixels at the design size.
constexpr int TROUGH_MARGIN = 3; // from the bar's edge to the trough
constexpr int PART_MARGIN = 4;   // to thumb and arrows
constexpr int ARROWS_LENGTH = 50;
constexpr int LENGTH_WITH_THUMB = 100; // a shorter bar is arrows only
constexpr int LENGTH_WITH_PAGES = 62;  // a shorter one has no outer arrows
constexpr int SMALLEST_PAGE_ARROW = 12;
constexpr int LENGTH_BESIDE = 34; // a vertical bar that is shorter and wide has its arrows side by side
constexpr int WIDTH_BESIDE = 48;
constexpr int ARROW_BESIDE = 19;
constexpr int SMALLEST_THUMB = 11;

// The arrows, in their order along the bar.
enum : int { PAGE_BACK_ARROW, UNIT_BACK_ARROW, UNIT_FORWARD_ARROW, PAGE_FORWARD_ARROW };

bool is_horizontal(const fi_scroll* s) {
    return s->orientation == FI_HORIZONTAL;
}

// How large the parts are against their design size: as far as both directions of the form have grown.
float growth(const fi_scroll* s) {
    return std::max(std::min(s->parts_x_scale, s->parts_y_scale), 1.0F);
}

int grown(const fi_scroll* s, int pixels) {
    return static_cast<int>(std::lround(static_cast<float>(pixels) * growth(s)));
}

// Part of the long axis, inclusive; empty when it ends before it begins.
struct stretch {
    int from, to;
};

struct bar_layout {
    stretch slide, inner;
    stretch arrows[FI_SCROLL_ARROWS];
    bool shown[FI_SCROLL_ARROWS];
    bool thumb;
};

stretch long_axis(const fi_scroll* s, fi_box b) {
    return is_horizontal(s) ? stretch{b.x1, b.x2} : stretch{b.y1, b.y2};
}

fi_box with_long_axis(const fi_scroll* s, fi_box b, stretch along) {
    return is_horizontal(s) ? fi_box{along.from, b.y1, along.to, b.y2} : fi_box{b.x1, along.from, b.x2, along.to};
}

// Two pairs of arrows, outwards from the middle of the inner part; a part that is short has one pair.
void place_arrows(const fi_scroll* s, int length, bar_layout* l) {
    const int half = (l->inner.to - l->inner.from) / 2;
    const int middle = l->inner.from + half;
    const bool pages = length >= grown(s, LENGTH_WITH_PAGES) && half / 2 >= grown(s, SMALLEST_PAGE_ARROW);
    const int size = pages ? half / 2 : half;
    l->arrows[UNIT_BACK_ARROW] = {middle - size, middle - 1};
    l->arrows[UNIT_FORWARD_ARROW] = {middle + 1, middle + size};
    l->arrows[PAGE_BACK_ARROW] = {middle - 1 - 2 * size, middle - 2 - size};
    l->arrows[PAGE_FORWARD_ARROW] = {middle + 2 + size, middle + 1 + 2 * size};
    l->shown[UNIT_BACK_ARROW] = l->shown[UNIT_FORWARD_ARROW] = size > 0;
    l->shown[PAGE_BACK_ARROW] = l->shown[PAGE_FORWARD_ARROW] = pages;
}

bar_layout layout_of(const FI_gadget* g) {
    const auto* s = fi_as<fi_scroll>(g);
    const stretch bar = long_axis(s, fi_rect_of(g));
    const int margin = grown(s, PART_MARGIN);
    const int length = bar.to - bar.from;
    bar_layout l = {};
    l.slide = {bar.from + grown(s, TROUGH_MARGIN), bar.to - grown(s, TROUGH_MARGIN)};
    l.thumb = length >= grown(s, LENGTH_WITH_THUMB);
    l.inner = {l.thumb ? bar.to - margin - grown(s, ARROWS_LENGTH) : bar.from + margin, bar.to - margin};
    if (l.thumb) l.slide = {bar.from + margin, l.inner.from - grown(s, 2)};
    place_arrows(s, length, &l);
    return l;
}

bool is_wide_stub(const FI_gadget* g) {
    const auto* s = fi_as<fi_scroll>(g);
    const fi_box box = fi_rect_of(g);
    return !is_horizontal(s) && box.y2 - box.y1 < grown(s, LENGTH_BESIDE) &&
           g->x2 - g->x1 >= g->orig_height * growth(s);
}

// A part follows its bar's states, and remembers them as its defaults: a reset doesn't part them.
void give_place(FI_gadget* part, const FI_gadget* bar, fi_box box, bool shown) {
    constexpr uint32_t FOLLOWED = FI_NOT_ENABLED | FI_HILITED | FI_NO_DITHERING | FI_NOT_DISPLAYED;
    part->x1 = static_cast<float>(box.x1);
    part->y1 = static_cast<float>(box.y1);
    part->x2 = static_cast<float>(box.x2);
    part->y2 = static_cast<float>(box.y2);
    part->attr_mask = (bar->attr_mask & FOLLOWED) | (shown ? 0 : FI_NOT_DISPLAYED);
    part->default_attr_mask = part->attr_mask;
    if (fi_has(part, FI_NOT_DISPLAYED)) part->displayed = 0;
}

// The two unit arrows beside each other, and nothing else.
void lay_out_stub(FI_gadget* g) {
    auto* s = fi_as<fi_scroll>(g);
    const int margin = grown(s, PART_MARGIN);
    const int width = grown(s, ARROW_BESIDE);
    g->x2 = g->x1 + static_cast<float>(grown(s, WIDTH_BESIDE));
    const fi_box box = fi_inset(fi_rect_of(g), margin);
    const int second = box.x2 - width + 1;
    give_place(s->arrows[UNIT_FORWARD_ARROW], g, {second, box.y1, box.x2, box.y2}, true);
    give_place(s->arrows[UNIT_BACK_ARROW], g, {second - 1 - width, box.y1, second - 2, box.y2}, true);
    give_place(s->arrows[PAGE_BACK_ARROW], g, box, false);
    give_place(s->arrows[PAGE_FORWARD_ARROW], g, box, false);
    give_place(s->thumb, g, box, false);
}

int slide_length(const fi_scroll* s) {
    return is_horizontal(s) ? s->slide_x2 - s->slide_x1 : s->slide_y2 - s->slide_y1;
}

int slide_start(const fi_scroll* s) {
    return is_horizontal(s) ? s->slide_x1 : s->slide_y1;
}

int thumb_length(const fi_scroll* s) {
    const double share = std::clamp(s->view_fraction, 0.0, 1.0);
    const int length = static_cast<int>(std::lround(share * slide_length(s)));
    return std::clamp(length, std::min(grown(s, SMALLEST_THUMB), slide_length(s)), slide_length(s));
}

// Where the thumb stands for the value, and how far it travels for a unit.
void place_thumb(FI_gadget* g, bool shown) {
    auto* s = fi_as<fi_scroll>(g);
    const int length = thumb_length(s);
    const int room = slide_length(s) - length;
    s->pixels_per_unit = fi_per_unit(room, s->low_value, s->high_value);
    const int from = slide_start(s) + static_cast<int>(fi_share(s->low_value, s->high_value, g->value) * room);
    const fi_box across = fi_inset(fi_rect_of(g), grown(s, PART_MARGIN));
    give_place(s->thumb, g, with_long_axis(s, across, {from, from + length}), shown);
}

void store(fi_box b, int16_t* x1, int16_t* y1, int16_t* x2, int16_t* y2) {
    *x1 = static_cast<int16_t>(b.x1);
    *y1 = static_cast<int16_t>(b.y1);
    *x2 = static_cast<int16_t>(b.x2);
    *y2 = static_cast<int16_t>(b.y2);
}

void lay_out(FI_gadget* g) {
    auto* s = fi_as<fi_scroll>(g);
    const bar_layout l = layout_of(g);
    const fi_box trough = fi_inset(fi_rect_of(g), grown(s, TROUGH_MARGIN));
    store(with_long_axis(s, trough, l.slide), &s->slide_x1, &s->slide_y1, &s->slide_x2, &s->slide_y2);
    store(with_long_axis(s, trough, l.inner), &s->inner_x1, &s->inner_y1, &s->inner_x2, &s->inner_y2);
    if (is_wide_stub(g)) return lay_out_stub(g);
    const fi_box across = fi_inset(fi_rect_of(g), grown(s, PART_MARGIN));
    for (int i = 0; i < FI_SCROLL_ARROWS; ++i)
        give_place(s->arrows[i], g, with_long_axis(s, across, l.arrows[i]), l.shown[i]);
    place_thumb(g, l.thumb);
}

// Symbols have one picture for each whole size.
void scale_symbols(const fi_scroll* s) {
    const float scale = std::round(growth(s));
    for (FI_gadget* arrow : s->arrows) {
        arrow->x_scale = arrow->y_scale = scale;
        fi_scale_face(arrow, 1.0F, 1.0F);
    }
}

constexpr int FIRST_SYMBOL_ACROSS = 19; // of a horizontal bar's arrows; the others follow
constexpr int FIRST_SYMBOL_DOWN = 4;

} // namespace

void fi_scroll_activate(FI_gadget* g) {
    auto* s = fi_as<fi_scroll>(g);
    const int first = is_horizontal(s) ? FIRST_SYMBOL_ACROSS : FIRST_SYMBOL_DOWN;
    for (int i = 0; i < FI_SCROLL_ARROWS; ++i) {
        s->arrows[i]->face.index = static_cast<uint8_t>(first + i);
        fi_activate_gadget(s->arrows[i]);
    }
    fi_activate_gadget(s->thumb);
    scale_symbols(s);
    g->value = s->low_value;
    lay_out(g);
}

void fi_scroll_scale(FI_gadget* g, float x_factor, float y_factor) {
    auto* s = fi_as<fi_scroll>(g);
    s->parts_x_scale *= x_factor;
    s->parts_y_scale *= y_factor;
    scale_symbols(s);
    lay_out(g);
}

void fi_scroll_shifted(FI_gadget* g) {
    lay_out(g);
}

// ---- look ----------------------------------------------------------------------------------------------------------

namespace {
constexpr int TROUGH_DEPTH = 2;
}

void fi_scroll_draw(FI_gadget* g, int window) {
    lay_out(g);
    const int outline = fi_outline_color(g);
    const fi_bevel_slots colors = fi_is_disabled(g)
                                      ? fi_bevel_colors(g->form, FI_LT_GREY, FI_LT_GREY, FI_LT_GREY, outline)
                                      : fi_bevel_colors(g->form, FI_BLACK, FI_LT_GREY, FI_WHITE, outline);
    fi_draw_bevel_in(window, fi_rect_of(g), TROUGH_DEPTH, colors, FI_SQUARE_CORNERS);
    fi_each_part(g, [=](FI_gadget* part) { fi_display_gadget(part, window); });
}

// The parts are erased with it, in the same colour.
void fi_scroll_erase(FI_gadget* g, int window) {
    fi_each_part(g, [=](FI_gadget* part) { part->erase_color = g->erase_color; });
    fi_fill(window, fi_rect_of(g));
}

namespace {

// Has the thumb drawn at the place of the value.
void move_thumb(FI_gadget* g) {
    auto* s = fi_as<fi_scroll>(g);
    const bool shown = !fi_has(s->thumb, FI_NOT_DISPLAYED);
    const fi_box old = fi_rect_of(s->thumb);
    place_thumb(g, shown);
    const fi_box now = fi_rect_of(s->thumb);
    const int window = shown ? fi_shown_window(g) : -1;
    const bool moved = old.x1 != now.x1 || old.y1 != now.y1 || old.x2 != now.x2 || old.y2 != now.y2;
    if (window < 0 || !moved) return;
    fi_set_color(g->form, window, FI_LT_GREY);
    fi_fill(window, old);
    fi_display_gadget(s->thumb, window);
}

double in_range(const fi_scroll* s, double value) {
    return fi_limited(s->low_value, s->high_value, value);
}

void put(FI_gadget* g, double value) {
    const double before = g->value;
    g->value = in_range(fi_as<fi_scroll>(g), value);
    if (g->value != before) move_thumb(g);
}

} // namespace

// ---- numbers -------------------------------------------------------------------------------------------------------

int fi_scroll_command(double number) {
    if (number > FI_SCROLL_COMMANDS) return FI_SCROLL_NONE;
    for (int command = FI_SCROLL_TO_LOW; command >= FI_SCROLL_TO_HIGH; --command)
        if (number == command || number == command + FI_SCROLL_HORIZONTAL) return command;
    return FI_SCROLL_NONE;
}

namespace {

// A view of half the whole or more has no pages: such a command goes to the end.
constexpr double NO_PAGES = 0.5;

// What a page is in units: the view's share of all that there is, of which the range is the rest. One unit where the
// view has no size.
double page_of(const fi_scroll* s) {
    const double range = s->high_value - s->low_value;
    if (s->view_fraction >= NO_PAGES) return range;
    const double page = range / (1 - std::max(s->view_fraction, 0.0)) - range;
    return page > 0 ? page : 1;
}

double value_after(const FI_gadget* g, int command) {
    const auto* s = fi_as<fi_scroll>(g);
    switch (command) {
    case FI_SCROLL_TO_LOW: return s->low_value;
    case FI_SCROLL_PAGE_BACK: return g->value - page_of(s);
    case FI_SCROLL_UNIT_BACK: return g->value - 1;
    case FI_SCROLL_UNIT_FORWARD: return g->value + 1;
    case FI_SCROLL_PAGE_FORWARD: return g->value + page_of(s);
    default: return s->high_value;
    }
}

} // namespace

int fi_scroll_set(FI_gadget* g, double number) {
    const int command = fi_scroll_command(number);
    if (command == FI_SCROLL_NONE && number <= FI_SCROLL_COMMANDS) return FI_INVALID_ARGUMENT;
    put(g, command == FI_SCROLL_NONE ? number : value_after(g, command));
    fi_carry_link(g);
    return FI_SUCCESS;
}

int fi_scroll_set_limit(FI_gadget* g, bool high, double value) {
    auto* s = fi_as<fi_scroll>(g);
    (high ? s->high_value : s->low_value) = value;
    g->value = high ? std::min(g->value, value) : std::max(g->value, value);
    move_thumb(g);
    return FI_SUCCESS;
}

void fi_scroll_take_link(FI_gadget* g, const char* text) {
    fi_scroll_set(g, fi_link_number(text));
}

// ---- private bars --------------------------------------------------------------------------------------------------

int fi_scroll_new(FI_gadget* owner, int label, bool horizontal, FI_gadget** bar) {
    const int status = fi_new_part(owner, FI_SCROLL, label, bar);
    if (status == FI_SUCCESS) fi_as<fi_scroll>(*bar)->orientation = horizontal ? FI_HORIZONTAL : 0;
    return status;
}

void fi_scroll_place(FI_gadget* bar, float x1, float y1, float x2, float y2) {
    bar->x1 = x1;
    bar->y1 = y1;
    bar->x2 = x2;
    bar->y2 = y2;
    const float grown_by = growth(fi_as<fi_scroll>(bar));
    bar->orig_width = (x2 - x1) / grown_by;
    bar->orig_height = (y2 - y1) / grown_by;
    lay_out(bar);
}

void fi_scroll_set_view(FI_gadget* bar, double view_fraction, double high, double value) {
    auto* s = fi_as<fi_scroll>(bar);
    s->view_fraction = view_fraction;
    s->low_value = 0;
    s->high_value = std::max(high, 0.0);
    bar->value = in_range(s, value);
    move_thumb(bar);
}

// ---- reaction ------------------------------------------------------------------------------------------------------

namespace {

// Tells whom it concerns. False when the bar has gone by that.
bool report(FI_gadget* g, double number) {
    const fi_hold hold(g);
    const FI_notification routine = fi_as<fi_scroll>(g)->continuous_routine;
    if (routine != nullptr)
        routine(static_cast<int>(g->form->label), g->label, number, g->form);
    else if (g->owner != nullptr && fi_ops(g->owner).bar_moved != nullptr)
        fi_ops(g->owner).bar_moved(g->owner, g, number);
    if (hold.gone()) return false;
    if (fi_state.double_flush && g->form->window >= 0) fi_flush(g->form->window);
    return true;
}

// The number of a command for whom the bar tells.
double own_command(const FI_gadget* g, int command) {
    return is_horizontal(fi_as<fi_scroll>(g)) ? command + FI_SCROLL_HORIZONTAL : command;
}

// Carries out and tells. False when the bar has gone.
bool do_command(FI_gadget* g, int command) {
    const fi_hold hold(g);
    const double number = own_command(g, command);
    fi_scroll_set(g, number);
    return !hold.gone() && report(g, number);
}

// The thumb is to begin at that place: at the ends of the slide that is a command, else a value. False when the bar has
// gone.
bool move_to(FI_gadget* g, int from) {
    const fi_hold hold(g);
    const auto* s = fi_as<fi_scroll>(g);
    const int at = from - slide_start(s);
    const int room = slide_length(s) - thumb_length(s);
    if (at <= 0 || s->high_value <= s->low_value) return do_command(g, FI_SCROLL_TO_LOW);
    if (at >= room) return do_command(g, FI_SCROLL_TO_HIGH);
    put(g, fi_at_share(s->low_value, s->high_value, static_cast<double>(at) / room));
    fi_carry_link(g);
    if (hold.gone() || !report(g, g->value)) return false;
    // What a thumb leaves behind is seen longest where colours are few.
    if (fi_state.double_flush && g->form->window >= 0) fi_flush(g->form->window);
    return true;
}

int along(const FI_gadget* g, int x, int y) {
    return is_horizontal(fi_as<fi_scroll>(g)) ? x : y;
}

// The thumb keeps its distance from the pointer.
void drag_thumb(FI_gadget* g, int window, int x, int y, int transition) {
    const fi_hold hold(g);
    const fi_box thumb = fi_rect_of(fi_as<fi_scroll>(g)->thumb);
    const int grab = along(g, x, y) - along(g, thumb.x1, thumb.y1);
    int last = along(g, x, y);
    fi_track track;
    fi_track_begin(&track, g, window, transition);
    bool goes_on = track.held;
    while (goes_on) {
        goes_on = fi_track_next(&track) != fi_tracked::ended;
        if (hold.gone() || fi_has(g, FI_NOT_DISPLAYED)) break;
        const int now = along(g, track.x, track.y);
        if (now == last) continue;
        last = now;
        if (!move_to(g, now - grab)) break;
    }
    fi_track_end(&track);
}

constexpr int TICKS_BEFORE_REPEAT = 30;

void show_arrow(FI_gadget* arrow, bool in) {
    arrow->value = in ? 1 : 0;
    fi_redraw_gadget(arrow);
}

constexpr int COMMANDS[FI_SCROLL_ARROWS] = {FI_SCROLL_PAGE_BACK, FI_SCROLL_UNIT_BACK, FI_SCROLL_UNIT_FORWARD,
                                            FI_SCROLL_PAGE_FORWARD};

// A step at once, and while the button is held, after a while, one each tick.
void hold_arrow(FI_gadget* g, int arrow, int window, int transition) {
    const fi_hold hold(g);
    FI_gadget* button = fi_as<fi_scroll>(g)->arrows[arrow];
    fi_track track;
    fi_track_begin(&track, g, window, transition);
    show_arrow(button, true);
    bool goes_on = do_command(g, COMMANDS[arrow]);
    if (track.held) fi_track_start_timer(&track, TICKS_BEFORE_REPEAT);
    bool repeats = false;
    while (goes_on) {
        const fi_tracked what = fi_track_next(&track);
        if (what == fi_tracked::ended) break;
        if (what != fi_tracked::tick) continue;
        goes_on = do_command(g, COMMANDS[arrow]);
        if (repeats) continue;
        repeats = true;
        fi_track_end(&track);
        fi_track_start_timer(&track, 1);
    }
    fi_track_end(&track);
    if (!hold.gone()) show_arrow(button, false);
}

bool hits_part(const FI_gadget* part, int x, int y) {
    return part->displayed != 0 && !fi_has(part, FI_NOT_DISPLAYED) && fi_hits_rect(part, x, y);
}

void press_part(FI_gadget* g, int window, int x, int y, int transition) {
    const auto* s = fi_as<fi_scroll>(g);
    for (int i = 0; i < FI_SCROLL_ARROWS; ++i)
        if (hits_part(s->arrows[i], x, y)) return hold_arrow(g, i, window, transition);
    if (fi_has(s->thumb, FI_NOT_DISPLAYED)) return;
    if (hits_part(s->thumb, x, y)) return drag_thumb(g, window, x, y, transition);
    const int at = along(g, x, y);
    if (at <= slide_start(s) + slide_length(s)) move_to(g, at - thumb_length(s) / 2);
}

} // namespace

int fi_scroll_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value) {
    const fi_hold hold(g);
    press_part(g, window, x, y, transition);
    if (hold.gone()) return 0;
    *complete = g->label >= 0;
    *value = g->value;
    return 0;
}

namespace {

// Keys along the bar step by a unit, those across it by a page.
int command_of_key(int key, bool horizontal) {
    switch (key) {
    case FI_KEY_HOME: return FI_SCROLL_TO_LOW;
    case FI_KEY_END: return FI_SCROLL_TO_HIGH;
    case FI_KEY_UP: return horizontal ? FI_SCROLL_PAGE_BACK : FI_SCROLL_UNIT_BACK;
    case FI_KEY_DOWN: return horizontal ? FI_SCROLL_PAGE_FORWARD : FI_SCROLL_UNIT_FORWARD;
    case FI_KEY_LEFT: return horizontal ? FI_SCROLL_UNIT_BACK : FI_SCROLL_PAGE_BACK;
    case FI_KEY_RIGHT: return horizontal ? FI_SCROLL_UNIT_FORWARD : FI_SCROLL_PAGE_FORWARD;
    default: return FI_SCROLL_NONE;
    }
}

} // namespace

bool fi_scroll_key(FI_gadget* g, fi_sequence* /*sequence*/, int key) {
    const int command = command_of_key(key, is_horizontal(fi_as<fi_scroll>(g)));
    if (command == FI_SCROLL_NONE) return false;
    if (do_command(g, command)) fi_notify(g, g->value);
    return true;
}
