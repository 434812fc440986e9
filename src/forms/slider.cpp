// Sliders.
//
// The value of the record says where the thumb is: on a reversed slider the application knows it turned round.
#include "forms/slider.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "forms/drawtext.h"
#include "forms/edges.h"
#include "forms/env.h"
#include "forms/faces.h"
#include "forms/forms.h"
#include "forms/numeric.h"
#include "forms/range.h"
#include "forms/show.h"
#include "forms/surface.h"

// ---- layout --------------------------------------------------------------------------------------------------------

namespace {

constexpr int TRACK_WIDTH = 10;  // across
constexpr int TEXT_MARGIN = 6;   // from a text to the track
constexpr int THUMB_MARGIN = 18; // around the value on the thumb
constexpr int SMALLEST_THUMB = 20;
constexpr int THUMB_DEPTH = 3;

bool is_horizontal(const fi_slider* s) {
    return s->orientation == FI_HORIZONTAL;
}

bool is_reversed(const fi_slider* s) {
    return (s->display_mask & FI_REVERSED) != 0;
}

// Which of the texts at the start and the end of the track are shown.
bool shows_low_text(const fi_slider* s) {
    return (s->display_mask & (is_reversed(s) ? FI_SHOW_HIGH : FI_SHOW_LOW)) != 0;
}
bool shows_high_text(const fi_slider* s) {
    return (s->display_mask & (is_reversed(s) ? FI_SHOW_LOW : FI_SHOW_HIGH)) != 0;
}

int16_t to_int16(int v) {
    return static_cast<int16_t>(std::clamp(v, int{INT16_MIN}, int{INT16_MAX}));
}

// The text of an end of the range; a number that is too long for its place is shown by its first digits and exponent.
void make_text(const FI_gadget* g, double value, char (&text)[16]) {
    char number[FI_NUMBER_TEXT];
    fi_format_number(g, number, value);
    if (std::strlen(number) < sizeof text)
        std::memcpy(text, number, std::strlen(number) + 1);
    else
        std::snprintf(text, sizeof text, "%.6g", value);
}

void make_texts(FI_gadget* g) {
    auto* s = fi_as<fi_slider>(g);
    make_text(g, is_reversed(s) ? s->high_value : s->low_value, s->low_text);
    make_text(g, is_reversed(s) ? s->low_value : s->high_value, s->high_text);
    s->low_text_width = fi_number_width(g, s->low_text);
    s->high_text_width = fi_number_width(g, s->high_text);
}

// Margins, thumb and track, from the rectangle and the sizes of the texts.
void fit(FI_gadget* g) {
    auto* s = fi_as<fi_slider>(g);
    const fi_box box = fi_rect_of(g);
    const bool across = is_horizontal(s);
    s->low_margin = to_int16((across ? s->low_text_width : g->char_height) + TEXT_MARGIN);
    s->high_margin = to_int16((across ? s->high_text_width : g->char_height) + TEXT_MARGIN);
    const int text = across ? std::max(s->low_text_width, s->high_text_width) : g->char_height;
    s->thumb_size = to_int16(std::max(text + THUMB_MARGIN, SMALLEST_THUMB));
    const int length = across ? box.x2 - box.x1 : box.y2 - box.y1;
    const int width = across ? box.y2 - box.y1 : box.x2 - box.x1;
    s->track_length = static_cast<float>(std::max(length - s->thumb_size - s->low_margin - s->high_margin, 0));
    s->track_center = to_int16((width - TRACK_WIDTH) / 2);
}

// The thumb stands at the value.
void place_thumb(FI_gadget* g) {
    auto* s = fi_as<fi_slider>(g);
    const fi_box box = fi_rect_of(g);
    const int way = static_cast<int>(std::lround(fi_share(s->low_value, s->high_value, g->value) * s->track_length));
    s->thumb_x = to_int16(is_horizontal(s) ? box.x1 + s->low_margin + way : box.x1);
    s->thumb_y = to_int16(is_horizontal(s) ? box.y2 : box.y2 - s->low_margin - way);
}

fi_box thumb_box(const FI_gadget* g) {
    const auto* s = fi_as<fi_slider>(g);
    const fi_box box = fi_rect_of(g);
    return is_horizontal(s) ? fi_box{s->thumb_x, box.y1, s->thumb_x + s->thumb_size, box.y2}
                            : fi_box{box.x1, s->thumb_y - s->thumb_size, box.x2, s->thumb_y};
}

fi_box track_box(const FI_gadget* g) {
    const auto* s = fi_as<fi_slider>(g);
    const fi_box box = fi_rect_of(g);
    const int from = (is_horizontal(s) ? box.y1 : box.x1) + s->track_center;
    const int to = from + TRACK_WIDTH - 1;
    return is_horizontal(s) ? fi_box{box.x1 + s->low_margin, from, box.x2 - s->high_margin, to}
                            : fi_box{from, box.y1 + s->high_margin, to, box.y2 - s->low_margin};
}

// Where the two texts stand.
fi_box text_box(const FI_gadget* g, bool high) {
    const auto* s = fi_as<fi_slider>(g);
    const fi_box box = fi_rect_of(g);
    const int width = high ? s->high_text_width : s->low_text_width;
    if (is_horizontal(s)) {
        const int y = box.y1 + (box.y2 - box.y1) / 2 - g->char_height / 2;
        const int x = high ? box.x2 - width : box.x1;
        return {x, y, x + width, y + g->char_height};
    }
    const int x = box.x1 + (box.x2 - box.x1) / 2 - width / 2;
    const int y = high ? box.y1 : box.y2 - g->char_height;
    return {x, y, x + width, y + g->char_height};
}

void measure(FI_gadget* g, float factor) {
    fi_gadget_font(g, factor);
    make_texts(g);
    fit(g);
    place_thumb(g);
}

} // namespace

void fi_slider_activate(FI_gadget* g) {
    measure(g, 1.0F);
}

void fi_slider_scale(FI_gadget* g, float /*x_factor*/, float y_factor) {
    measure(g, y_factor);
}

void fi_slider_shifted(FI_gadget* g) {
    place_thumb(g);
}

void fi_slider_extent(const FI_gadget* g, fi_box* box) {
    const auto* s = fi_as<fi_slider>(g);
    for (const bool high : {false, true}) {
        if (high ? !shows_high_text(s) : !shows_low_text(s)) continue;
        const fi_box text = text_box(g, high);
        *box = {std::min(box->x1, text.x1), std::min(box->y1, text.y1), std::max(box->x2, text.x2),
                std::max(box->y2, text.y2)};
    }
}

// ---- drawing -------------------------------------------------------------------------------------------------------

namespace {

void draw_track(FI_gadget* g, int window, fi_box part) {
    const FI_form* form = g->form;
    fi_graphic.fgcolor(window, fi_contrast(form->screen, fi_slot(form, FI_BLACK), fi_slot(form, fi_erase_color(g))));
    fi_fill(window, part);
}

void draw_texts(FI_gadget* g, int window) {
    const auto* s = fi_as<fi_slider>(g);
    fi_set_color(g->form, window, g->on_color);
    const auto put = [=](const char* text, fi_box at) {
        fi_env.FI_DRAW_TEXT(window, g->font_id, text, static_cast<int>(std::strlen(text)), at.x1, at.y1, g->char_height,
                            nullptr, nullptr, g->font_type);
    };
    if (shows_low_text(s)) put(s->low_text, text_box(g, false));
    if (shows_high_text(s)) put(s->high_text, text_box(g, true));
}

void draw_value(FI_gadget* g, int window, fi_box thumb) {
    char text[FI_NUMBER_TEXT];
    fi_format_number(g, text, fi_turned(g, fi_quantise(g, g->value)));
    fi_clip(g->form, window, fi_inset(thumb, THUMB_DEPTH + 1));
    fi_set_color(g->form, window, fi_ink(g, g->off_color));
    fi_put_centred(g, window, text, (thumb.x1 + thumb.x2 + 1) / 2, (thumb.y1 + thumb.y2 + 1) / 2 - g->char_height / 2);
    fi_clip_back(g->form, window);
}

void draw_thumb(FI_gadget* g, int window) {
    const fi_box thumb = thumb_box(g);
    const int outline = fi_outline_color(g);
    const fi_bevel_slots colors = fi_is_disabled(g)
                                      ? fi_bevel_colors(g->form, FI_LT_GREY, FI_LT_GREY, FI_LT_GREY, outline)
                                      : fi_bevel_colors(g->form, FI_WHITE, FI_LT_GREY, FI_BLACK, outline);
    fi_draw_bevel_in(window, thumb, THUMB_DEPTH, colors, FI_CUT_CORNERS);
    if ((fi_as<fi_slider>(g)->display_mask & FI_SHOW_VALUE) != 0) draw_value(g, window, thumb);
}

// The part of `old` that `now`, of the same size, has left along the track.
fi_box left_behind(const fi_slider* s, fi_box old, fi_box now) {
    if (is_horizontal(s))
        return now.x1 > old.x1 ? fi_box{old.x1, old.y1, std::min(old.x2, now.x1 - 1), old.y2}
                               : fi_box{std::max(old.x1, now.x2 + 1), old.y1, old.x2, old.y2};
    return now.y1 > old.y1 ? fi_box{old.x1, old.y1, old.x2, std::min(old.y2, now.y1 - 1)}
                           : fi_box{old.x1, std::max(old.y1, now.y2 + 1), old.x2, old.y2};
}

fi_box common_part(fi_box a, fi_box b) {
    return {std::max(a.x1, b.x1), std::max(a.y1, b.y1), std::min(a.x2, b.x2), std::min(a.y2, b.y2)};
}

// The thumb at its new place, and the track where it was.
void move_thumb(FI_gadget* g) {
    const auto* s = fi_as<fi_slider>(g);
    const fi_box old = thumb_box(g);
    place_thumb(g);
    const int window = fi_shown_window(g);
    if (window < 0) return;
    const fi_box free = left_behind(s, old, thumb_box(g));
    fi_set_color(g->form, window, fi_erase_color(g));
    fi_fill(window, free);
    draw_track(g, window, common_part(free, track_box(g)));
    draw_thumb(g, window);
    fi_flush(window);
}

} // namespace

void fi_slider_draw(FI_gadget* g, int window) {
    fit(g);
    place_thumb(g);
    fi_set_color(g->form, window, fi_erase_color(g));
    fi_fill(window, fi_extent_of(g));
    draw_track(g, window, track_box(g));
    draw_texts(g, window);
    if (fi_is_hatched(g)) {
        fi_set_color(g->form, window, fi_erase_color(g));
        fi_hatch_area(window, fi_rect_of(g), fi_slider_hatch);
    }
    draw_thumb(g, window);
}

void fi_slider_erase(FI_gadget* g, int window) {
    fi_fill(window, fi_extent_of(g));
}

// ---- reaction ------------------------------------------------------------------------------------------------------

namespace {

// A quarter of its length before and behind it, and its width at the sides.
fi_box reach(const FI_gadget* g) {
    const fi_box box = fi_rect_of(g);
    const int width = box.x2 - box.x1;
    const int height = box.y2 - box.y1;
    const bool across = is_horizontal(fi_as<fi_slider>(g));
    const int dx = across ? width / 4 : width;
    const int dy = across ? height : height / 4;
    return {box.x1 - dx, box.y1 - dy, box.x2 + dx, box.y2 + dy};
}

// The middle of the thumb goes there, as far as the track reaches.
bool value_at(const FI_gadget* g, int x, int y, double* value) {
    const auto* s = fi_as<fi_slider>(g);
    if (s->track_length <= 0) return false;
    const fi_box box = fi_rect_of(g);
    const int half = s->thumb_size / 2;
    const int way = is_horizontal(s) ? x - half - (box.x1 + s->low_margin) : box.y2 - s->low_margin - (y + half);
    *value = fi_at_share(s->low_value, s->high_value, std::clamp(static_cast<double>(way) / s->track_length, 0.0, 1.0));
    return true;
}

constexpr fi_drag_type DRAG = {reach, value_at, move_thumb, false, false};

} // namespace

int fi_slider_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value) {
    return fi_drag(DRAG, g, window, x, y, transition, complete, value);
}

int fi_slider_set(FI_gadget* g, double value) {
    const auto* s = fi_as<fi_slider>(g);
    if (value == fi_turned(g, g->value)) return FI_SUCCESS;
    fi_put_value(g, fi_turned(g, fi_limited(s->low_value, s->high_value, fi_rounded(g, value))));
    return FI_SUCCESS;
}

int fi_slider_get(const FI_gadget* g, double* value) {
    *value = fi_turned(g, g->value);
    return FI_SUCCESS;
}

int fi_slider_set_limit(FI_gadget* g, bool high, double value) {
    auto* s = fi_as<fi_slider>(g);
    const double seen = fi_turned(g, g->value);
    (high ? s->high_value : s->low_value) = value;
    g->value = fi_turned(g, high ? std::min(seen, value) : std::max(seen, value));
    fi_erase_drawn(g); // the old texts may have been wider
    fi_slider_activate(g);
    fi_redraw_gadget(g);
    return FI_SUCCESS;
}
