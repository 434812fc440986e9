// Dragging, keys and links of sliders and dials.
#include "forms/numeric.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "forms/env.h"
#include "forms/link.h"
#include "forms/press.h"
#include "forms/range.h"
#include "forms/sequence.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "forms/track.h"

// ---- dragging ------------------------------------------------------------------------------------------------------

namespace {

// The number that the application gets for a value of the record, in steps and within the range.
double number_of(const FI_gadget* g, double value) {
    const double seen = fi_rounded(g, fi_turned(g, fi_quantise(g, value)));
    if (g->type != FI_SLIDER) return seen;
    const auto* s = fi_as<fi_slider>(g);
    return fi_limited(s->low_value, s->high_value, seen);
}

// One press.
struct drag {
    const fi_drag_type* type;
    FI_gadget* g; // held
    double start; // the value before
    double told;  // the last number that the application got
    bool moved;   // the value isn't the one from before
};

void flush_twice(const FI_gadget* g) {
    if (!fi_state.double_flush || g->form->window < 0) return;
    fi_flush(g->form->window);
    fi_flush(g->form->window);
}

// The value goes to the place of the pointer, or back. Whether it has changed.
bool follow(drag* d, int x, int y) {
    FI_gadget* g = d->g;
    double value = d->start;
    const bool inside = fi_box_has(d->type->reach(g), x, y);
    if (inside && !d->type->value_at(g, x, y, &value)) return false;
    if (value == g->value && d->moved == inside) return false;
    g->value = value;
    if (inside)
        d->type->show(g);
    else
        fi_redraw_gadget(g);
    d->moved = inside;
    flush_twice(g);
    return true;
}

// Tells the number of where the value is now, and has it travel. The value itself is kept. False when the gadget has
// gone by that.
bool tell(drag* d) {
    FI_gadget* g = d->g;
    const fi_hold hold(g);
    const double number = d->moved ? number_of(g, g->value) : fi_turned(g, g->value);
    if (number == d->told && !d->type->every_move) return true;
    d->told = number;
    const double real = g->value;
    const double stepped = fi_turned(g, d->type->links_whole ? std::trunc(number) : number);
    const FI_notification routine = fi_counting_of(g).continuous_routine;
    if (routine != nullptr) routine(static_cast<int>(g->form->label), g->label, number, g->form);
    if (hold.gone()) return false;
    if (g->value != real) return true; // the routine has set another
    g->value = stepped;
    fi_carry_link(g);
    if (hold.gone()) return false;
    if (g->value == stepped) g->value = real;
    return true;
}

bool can_follow(const FI_gadget* g, int window) {
    return g->dead == 0 && g->form->dead == 0 && g->form->window == window &&
           !fi_has(g, FI_NOT_DISPLAYED | FI_NOT_ENABLED);
}

// False when the gadget has gone.
bool track_mouse(drag* d, int window, int x, int y, int transition) {
    fi_track track;
    fi_track_begin(&track, d->g, window, transition);
    const bool held = track.held;
    bool goes_on = true, is_there = true;
    while (goes_on && is_there) {
        goes_on = fi_track_next(&track) != fi_tracked::ended;
        if (!held && !goes_on) break; // a click had its round
        if (!goes_on && !can_follow(d->g, window)) break;
        if (follow(d, held ? track.x : x, held ? track.y : y)) is_there = tell(d);
    }
    fi_track_end(&track);
    return is_there && d->g->dead == 0 && d->g->form->dead == 0;
}

} // namespace

int fi_drag(const fi_drag_type& type, FI_gadget* g, int window, int x, int y, int transition, bool* complete,
            double* value) {
    const fi_hold hold(g);
    drag d = {&type, g, g->value, number_of(g, g->value), false};
    if (!track_mouse(&d, window, x, y, transition)) return 0;
    if (d.moved) {
        g->value = fi_turned(g, number_of(g, g->value));
        type.show(g);
        flush_twice(g);
    }
    *value = fi_turned(g, g->value);
    *complete = true;
    fi_carry_link(g);
    return 0;
}

// ---- values --------------------------------------------------------------------------------------------------------

void fi_put_value(FI_gadget* g, double value) {
    g->value = value;
    fi_redraw_gadget(g);
    fi_carry_link(g);
}

char* fi_numeric_link_text(FI_gadget* g) {
    char text[FI_NUMBER_TEXT];
    fi_format_number(g, text, fi_turned(g, g->value));
    return fi_string_dup(text);
}

void fi_numeric_take_link(FI_gadget* g, const char* text) {
    fi_ops(g).set_value(g, fi_link_number(text));
}

// ---- keys ----------------------------------------------------------------------------------------------------------

namespace {

void set_and_notify(FI_gadget* g, double value) {
    const fi_hold hold(g);
    if (!fi_has(g, FI_NOT_ENABLED)) fi_ops(g).set_value(g, value);
    if (!hold.gone()) fi_notify(g, fi_turned(g, g->value));
}

// Takes over what was typed, if it is a number.
void apply_typed(FI_gadget* g, fi_sequence* sequence) {
    char* end = nullptr;
    const double value = std::strtod(sequence->typed, &end);
    const bool is_number = end != sequence->typed;
    sequence->typed_length = 0;
    sequence->typed[0] = '\0';
    if (is_number) set_and_notify(g, value);
}

void type_character(FI_gadget* g, fi_sequence* sequence, int key) {
    constexpr int FULL = static_cast<int>(sizeof sequence->typed) - 1;
    if (sequence->typed_length == FULL) return apply_typed(g, sequence);
    sequence->typed[sequence->typed_length++] = static_cast<char>(key);
    sequence->typed[sequence->typed_length] = '\0';
}

// What an arrow key does: steps of 1, or of the last decimal.
struct key_step {
    double whole, fine;
};

key_step step_of_slider(const fi_slider* s, int key) {
    const bool forward = key == FI_KEY_UP || key == FI_KEY_RIGHT;
    const bool vertical_key = key == FI_KEY_UP || key == FI_KEY_DOWN;
    const double sign = forward ? 1 : -1;
    return vertical_key == (s->orientation != FI_HORIZONTAL) ? key_step{sign, 0} : key_step{0, sign};
}

// Left and right turn the needle to the side that they show.
key_step step_of_dial(const fi_dial* d, int key) {
    if (key == FI_KEY_UP) return {0, 1};
    if (key == FI_KEY_DOWN) return {0, -1};
    return {(key == FI_KEY_LEFT) == (d->direction == 1) ? 1.0 : -1.0, 0};
}

bool is_arrow(int key) {
    return key == FI_KEY_UP || key == FI_KEY_DOWN || key == FI_KEY_LEFT || key == FI_KEY_RIGHT;
}

void step_by_key(FI_gadget* g, int key) {
    const key_step step =
        g->type == FI_SLIDER ? step_of_slider(fi_as<fi_slider>(g), key) : step_of_dial(fi_as<fi_dial>(g), key);
    const int decimals = fi_counting_of(g).decimals;
    if (step.whole == 0 && decimals == 0) return;
    set_and_notify(g, fi_turned(g, g->value) + step.whole + step.fine * std::pow(0.1, decimals));
}

constexpr int TAB = 9;
constexpr int RETURN = 13;

bool is_typed(int key) {
    return (key >= '0' && key <= '9') || key == '.' || key == '-';
}

} // namespace

bool fi_numeric_key(FI_gadget* g, fi_sequence* sequence, int key) {
    if (key == TAB || key == RETURN) {
        if (sequence->typed_length > 0) apply_typed(g, sequence);
        return false; // and goes on
    }
    if (is_arrow(key))
        step_by_key(g, key);
    else if (is_typed(key))
        type_character(g, sequence, key);
    else if (key == FI_KEY_ENTER && sequence->typed_length > 0)
        apply_typed(g, sequence);
    else if (key == FI_KEY_DELETE_BACK && sequence->typed_length > 0)
        sequence->typed[--sequence->typed_length] = '\0';
    else
        return false;
    return true;
}

// ---- drawing -------------------------------------------------------------------------------------------------------

int fi_number_width(const FI_gadget* g, const char* text) {
    int height = 0, width = 0, spacing = 0;
    fi_env.FI_CALC_TEXT(g->font_id, text, static_cast<int>(std::strlen(text)), &height, &width, &spacing, g->font_type);
    return width;
}

void fi_put_centred(const FI_gadget* g, int window, const char* text, int x, int y) {
    fi_env.FI_DRAW_TEXT(window, g->font_id, text, static_cast<int>(std::strlen(text)), x - fi_number_width(g, text) / 2,
                        y, g->char_height, nullptr, nullptr, g->font_type);
}
