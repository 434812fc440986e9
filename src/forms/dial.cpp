// Dials: a needle that turns once around for the full range.
#include "forms/dial.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "forms/drawtext.h"
#include "forms/edges.h"
#include "forms/env.h"
#include "forms/faces.h"
#include "forms/forms.h"
#include "forms/numeric.h"
#include "forms/range.h"
#include "forms/show.h"
#include "forms/surface.h"

namespace {

constexpr double PI = 3.14159265358979323846;
constexpr double TURN = 2 * PI;
constexpr double LAST_TICK = TURN - 0.05; // a tick beyond would fall on the first
constexpr int RIM = 12;                   // from the rectangle to the face
constexpr int BEVEL_DEPTH = 2;
constexpr int INNER_BEVEL = 6; // from the outer one
constexpr int TICK_GAP = 2;    // from the needle's tip to the ticks
constexpr int STRAIGHT = 2;    // a line that is off by less is drawn straight

// ---- angles

double direction_of(const fi_dial* d) {
    return d->direction < 0 ? -1 : 1;
}

double full_turn(const fi_dial* d) {
    return static_cast<double>(d->scale) * TURN;
}

double limited(const fi_dial* d, double value) {
    return fi_limited(0, full_turn(d), value);
}

// A file may hold values beyond the range.
double angle_of(const fi_dial* d, double value) {
    const double turned = d->scale != 0 ? limited(d, value) / static_cast<double>(d->scale) : 0;
    return turned * direction_of(d) + static_cast<double>(d->zero_angle);
}

// To 0 and less than a full turn.
double wrapped(double angle) {
    double rest = std::fmod(angle, TURN);
    if (rest < 0) rest += TURN;
    return rest < TURN ? rest : 0;
}

// ---- layout

void lay_out(FI_gadget* g) {
    auto* d = fi_as<fi_dial>(g);
    const fi_box box = fi_rect_of(g);
    const int width = box.x2 - box.x1;
    const int height = box.y2 - box.y1;
    const int half = std::min(width, height) / 2;
    d->center_x = static_cast<int16_t>(box.x1 + width / 2);
    d->center_y = static_cast<int16_t>(box.y1 + height / 2);
    d->tick_length = static_cast<int16_t>(half / 8);
    d->radius = static_cast<int16_t>(std::max(half - d->tick_length - RIM, 0));
    d->needle_angle = static_cast<float>(angle_of(d, g->value));
}

struct point {
    int x, y;
};

// The point of the face at that distance from the centre.
point at_distance(const fi_dial* d, double distance, double angle) {
    const auto place = [](int centre, double offset) {
        const int at = static_cast<int>(centre + offset);
        return std::abs(at - centre) < STRAIGHT ? centre : at;
    };
    return {place(d->center_x, distance * std::cos(angle)), place(d->center_y, -distance * std::sin(angle))};
}

// ---- drawing

fi_box face_of(const FI_gadget* g) {
    return fi_inset(fi_rect_of(g), RIM);
}

int face_color(const FI_gadget* g) {
    return fi_as<fi_dial>(g)->border_style != 0 ? fi_erase_color(g) : int{FI_LT_GREY};
}

void draw_frame(FI_gadget* g, int window) {
    const fi_box box = fi_rect_of(g);
    if (fi_as<fi_dial>(g)->border_style != 0) {
        fi_set_color(g->form, window, fi_erase_color(g));
        fi_fill(window, box);
        return;
    }
    const bool disabled = fi_is_disabled(g);
    const int light = disabled ? FI_LT_GREY : FI_WHITE;
    const int dark = disabled ? FI_LT_GREY : FI_BLACK;
    const int outline = fi_outline_color(g);
    fi_draw_bevel_in(window, box, BEVEL_DEPTH, fi_bevel_colors(g->form, light, FI_LT_GREY, dark, outline),
                     FI_SQUARE_CORNERS);
    fi_draw_bevel_in(window, fi_inset(box, INNER_BEVEL), BEVEL_DEPTH,
                     fi_bevel_colors(g->form, dark, FI_LT_GREY, light, outline), FI_CUT_CORNERS);
}

void draw_ticks(FI_gadget* g, int window) {
    const auto* d = fi_as<fi_dial>(g);
    if (d->ticks < 1) return;
    const int screen = g->form->screen;
    const int ground = fi_slot(g->form, fi_erase_color(g));
    const double from = d->radius + TICK_GAP;
    fi_graphic.weight(window, 1);
    for (int i = 0; i * (TURN / d->ticks) < LAST_TICK; ++i) {
        const double angle = i * (TURN / d->ticks) * direction_of(d) + static_cast<double>(d->zero_angle);
        const point a = at_distance(d, from, angle);
        const point b = at_distance(d, from + d->tick_length, angle);
        if (i <= 1)
            fi_graphic.fgcolor(window, fi_contrast(screen, fi_slot(g->form, i == 0 ? FI_RED : FI_BLACK), ground));
        fi_line_from(window, a.x, a.y, b.x, b.y);
    }
    fi_graphic.weight(window, 0);
}

void draw_needle(FI_gadget* g, int window) {
    auto* d = fi_as<fi_dial>(g);
    d->needle_angle = static_cast<float>(angle_of(d, g->value));
    const point tip = at_distance(d, d->radius, angle_of(d, g->value));
    fi_graphic.weight(window, 3);
    fi_set_color(g->form, window, FI_BLACK);
    fi_graphic.pnt(window, d->center_x, d->center_y);
    fi_graphic.weight(window, 1);
    fi_set_color(g->form, window, fi_ink(g, g->off_color));
    fi_line_from(window, d->center_x, d->center_y, tip.x, tip.y);
    fi_graphic.weight(window, 0);
}

// The value stands on the side that the needle leaves free, and the full turn's below it.
void draw_texts(FI_gadget* g, int window) {
    const auto* d = fi_as<fi_dial>(g);
    const point at = at_distance(d, d->radius / 2.0, angle_of(d, g->value) + PI);
    char text[FI_NUMBER_TEXT + 2];
    fi_set_color(g->form, window, fi_ink(g, g->off_color));
    if ((d->display_mask & FI_SHOW_VALUE) != 0) {
        fi_format_number(g, text, fi_quantise(g, g->value));
        fi_put_centred(g, window, text, at.x, at.y - g->char_height / 2);
    }
    if ((d->display_mask & FI_SHOW_HIGH) != 0) {
        char number[FI_NUMBER_TEXT];
        fi_format_number(g, number, full_turn(d));
        std::snprintf(text, sizeof text, "(%s)", number);
        fi_put_centred(g, window, text, at.x, at.y + g->char_height - g->char_height / 2 + 2);
    }
}

// What lies inside of the frame.
void draw_face(FI_gadget* g, int window) {
    const fi_box face = face_of(g);
    fi_clip(g->form, window, face);
    fi_set_color(g->form, window, face_color(g));
    fi_fill(window, face);
    draw_ticks(g, window);
    draw_needle(g, window);
    draw_texts(g, window);
    if (fi_is_hatched(g)) {
        fi_set_color(g->form, window, face_color(g));
        fi_hatch_area(window, face, fi_hatch);
    }
    fi_clip_back(g->form, window);
}

void turn_needle(FI_gadget* g) {
    const int window = fi_shown_window(g);
    if (window < 0) return;
    draw_face(g, window);
    fi_flush(window);
}

void measure(FI_gadget* g, float factor) {
    fi_gadget_font(g, factor);
    lay_out(g);
}

} // namespace

void fi_dial_activate(FI_gadget* g) {
    measure(g, 1.0F);
}

void fi_dial_scale(FI_gadget* g, float /*x_factor*/, float y_factor) {
    measure(g, y_factor);
}

void fi_dial_shifted(FI_gadget* g) {
    lay_out(g);
}

void fi_dial_draw(FI_gadget* g, int window) {
    lay_out(g);
    draw_frame(g, window);
    draw_face(g, window);
}

// ---- reaction ------------------------------------------------------------------------------------------------------

namespace {

fi_box reach(const FI_gadget* g) {
    const fi_box box = fi_rect_of(g);
    return fi_inset(box, -std::min(box.x2 - box.x1, box.y2 - box.y1));
}

// The needle points to the place; at the centre it points nowhere.
bool value_at(const FI_gadget* g, int x, int y, double* value) {
    const auto* d = fi_as<fi_dial>(g);
    if (x == d->center_x && y == d->center_y) return false;
    const double angle = std::atan2(d->center_y - y, x - d->center_x);
    *value = limited(d, wrapped((angle - static_cast<double>(d->zero_angle)) * direction_of(d)) *
                            static_cast<double>(d->scale));
    return true;
}

constexpr fi_drag_type DRAG = {reach, value_at, turn_needle, true, true};

} // namespace

int fi_dial_press(FI_gadget* g, int window, int x, int y, int transition, bool* complete, double* value) {
    return fi_drag(DRAG, g, window, x, y, transition, complete, value);
}

int fi_dial_set(FI_gadget* g, double value) {
    if (value == g->value) return FI_SUCCESS;
    fi_put_value(g, limited(fi_as<fi_dial>(g), value));
    return FI_SUCCESS;
}

int fi_dial_set_limit(FI_gadget* g, bool high, double value) {
    auto* d = fi_as<fi_dial>(g);
    if (high) {
        const auto scale = static_cast<float>(value / TURN);
        if (!std::isfinite(scale)) return FI_INVALID_ARGUMENT;
        d->scale = scale;
        g->value = std::min(g->value, value);
    } else {
        g->value = std::max(g->value, value);
    }
    fi_redraw_gadget(g);
    return FI_SUCCESS;
}
