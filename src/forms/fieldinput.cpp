// Entries: the loops in which a field has the keys, and presses on fields.
//
// A press elsewhere that is no other field's is handled in place, and the entry goes on; one on another field or table
// ends the entry and stays on its queue, so that fields never run inside of each other.
#include <algorithm>
#include <cstring>

#include "forms/env.h"
#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/mcf.h"
#include "forms/press.h"
#include "forms/sequence.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "support/memory.h"
#include "tools/events.h"

fi_edit_state fi_edit = {};

void fi_fields_leave() {
    mem_free(fi_edit.yank);
    fi_edit = {};
}

void fi_forget_field(fi_field* f) {
    if (fi_edit.field == f) fi_edit.field = nullptr;
    if (fi_edit.open_list == fi_gadget_of(f)) fi_edit.open_list = nullptr;
}

// ---- notifications -------------------------------------------------------------------------------------------------

void fi_tell(FI_gadget* g, double value) {
    FI_form* form = g->form;
    if (form->notification_routine == nullptr || g->label <= 0) return;
    form->notification_routine(static_cast<int>(form->label), g->label, value, form);
}

void fi_field_notify(fi_field* f, double value) {
    FI_gadget* g = fi_gadget_of(f);
    if (fi_is_column(g)) return; // the table reports
    if (fi_is_list(g)) {
        const int row = static_cast<int>(value);
        if (fi_row_exists(f, row) && f->rows[row].selected != 0) fi_list_chosen(f, row);
        return;
    }
    const fi_hold hold(g);
    fi_run_hooks(g);
    if (!hold.gone()) fi_tell(g, value);
    if (!hold.gone()) fi_carry_link(g);
}

void fi_field_complete(fi_field* f) {
    FI_gadget* g = fi_gadget_of(f);
    const fi_hold hold(g);
    if (fi_is_typed_into(f)) {
        fi_verify_row(f);
        if (hold.gone()) return;
        fi_justify_row(f, f->active_row);
        if (g->justification != FI_LEFT) fi_field_draw_row(f, f->active_row);
    }
    if (!fi_has(g, FI_NO_COMPLETE_NOTIFY)) fi_field_notify(f, f->active_row);
}

// ---- places --------------------------------------------------------------------------------------------------------

bool fi_in_strip(const fi_field* f, int x, int y) {
    constexpr int REACH = 15; // from the right edge
    const fi_box box = fi_rect_of(&f->common);
    return fi_has_strip(f) && fi_box_has({box.x2 - REACH, box.y1, box.x2, box.y2}, x, y);
}

namespace {

// The character at x: widths are added up until x is passed.
int character_at(const fi_field* f, int row, int x) {
    const int length = fi_row_length(f, row);
    const int last = std::min(length, f->first_char + std::max(f->visible_chars - 1, 0));
    int at = f->first_char;
    while (at < last && fi_char_x(f, row, at + 1) <= x)
        ++at;
    return std::min(at, length);
}

} // namespace

void fi_place_cursor(fi_field* f, int x, int y) {
    if (f->num_rows == 0) return;
    const bool had_cursor = fi_edit.field == f && fi_edit.cursor;
    fi_show_cursor(f, false);
    const int below = std::max(y - fi_text_box(f).y1, 0) / static_cast<int>(std::max(f->row_height, 1U));
    f->active_row = fi_short(std::min({f->top_row + below, f->top_row + f->visible_rows - 1, f->num_rows - 1}));
    const int length = fi_row_length(f, f->active_row);
    if (length < f->first_char) {
        f->first_char = fi_short(std::max(length - 1, 0));
        fi_field_draw_text(f);
    }
    f->cursor_char = fi_short(character_at(f, f->active_row, x));
    if (fi_mcf* table = fi_table_of(f); table != nullptr) fi_mcf_sync_rows(table, f);
    if (had_cursor) fi_show_cursor(f, true);
}

bool fi_field_usable(const fi_field* f) {
    const FI_gadget* g = &f->common;
    const auto shown = [](const FI_gadget* one) {
        return one->displayed != 0 && !fi_has(one, FI_NOT_DISPLAYED | FI_NOT_ENABLED);
    };
    return g->form->window >= 0 && shown(g) && (g->owner == nullptr || shown(g->owner));
}

// ---- an entry's turn at the cursor ---------------------------------------------------------------------------------

namespace {

// Takes the cursor, and gives it back to the entry that had it, if that is still there: its loop holds it.
class cursor_turn {
public:
    explicit cursor_turn(fi_field* f) : outer(fi_edit.field), outer_shown(fi_edit.cursor) {
        if (outer != nullptr) fi_show_cursor(outer, false);
        fi_edit.field = f;
        fi_edit.cursor = false;
    }
    ~cursor_turn() {
        if (fi_edit.field != nullptr && fi_edit.field->common.dead == 0) fi_show_cursor(fi_edit.field, false);
        fi_edit.field = outer != nullptr && outer->common.dead == 0 ? outer : nullptr;
        fi_edit.cursor = false;
        if (fi_edit.field != nullptr && outer_shown) fi_show_cursor(outer, true);
    }
    cursor_turn(const cursor_turn&) = delete;
    cursor_turn& operator=(const cursor_turn&) = delete;

private:
    fi_field* outer;
    bool outer_shown;
};

constexpr int KEY_BYTES = 100;

// Takes a key event; how many bytes it has brought.
int get_keys(char* bytes) {
    int count = KEY_BYTES;
    if (fi_env.FI_GET_KEYBOARD_DATA(bytes, &count) != 0) {
        FI_clear_event(KEYBOARD_EVENT); // it must not come again and again
        return 0;
    }
    return std::clamp(count, 0, KEY_BYTES);
}

enum : int { COMMAND_LEFT = 2, COMMAND_RIGHT = 6, COMMAND_DOWN = 14, COMMAND_UP = 16, GO_ON = 100, GO_BACK = 101 };
constexpr int RETURN = 13;
constexpr int BLANK = ' ';

// A command, or a character as its negative.
int meaning_of(char byte) {
    int key = static_cast<unsigned char>(byte);
    return fi_env.FI_MAP_CHARACTER(&key) == 1 ? key : -key;
}

// ---- choosing by keys ----------------------------------------------------------------------------------------------

fi_edit_end choose_by(fi_field* f, int what) {
    switch (what) {
    case GO_ON:
    case -RETURN: return fi_edit_end::next;
    case GO_BACK: return fi_edit_end::back;
    case -BLANK: fi_field_select_row(f); break;
    case COMMAND_LEFT: fi_field_scroll_chars(f, -1); break;
    case COMMAND_RIGHT: fi_field_scroll_chars(f, 1); break;
    case COMMAND_DOWN: fi_select_next(f, 1); break;
    case COMMAND_UP: fi_select_next(f, -1); break;
    default: break;
    }
    return fi_edit_end::goes_on;
}

// In an open list Return chooses, and every end of the loop closes it.
fi_edit_end choose_in_list(fi_field* list, int what) {
    if (what == -RETURN && fi_row_exists(list, list->active_row) && list->rows[list->active_row].selected == 0)
        fi_field_select_row(list);
    else if (what != -RETURN)
        return choose_by(list, what);
    return fi_edit_end::next;
}

using key_act = fi_edit_end (*)(fi_field* f, int what);

fi_edit_end run_choice(fi_field* f, key_act act) {
    const fi_hold hold(fi_gadget_of(f));
    fi_edit_end end = fi_edit_end::goes_on;
    const cursor_turn turn(f);
    fi_show_cursor(f, true);
    while (end == fi_edit_end::goes_on && fi_wait_for_input() == fi_came::key) {
        if (hold.gone() || !fi_field_usable(f)) return fi_edit_end::stop;
        char bytes[KEY_BYTES];
        const int count = get_keys(bytes);
        fi_show_cursor(f, false);
        for (int i = 0; i < count && end == fi_edit_end::goes_on; ++i) {
            end = act(f, meaning_of(bytes[i]));
            if (hold.gone() || !fi_field_usable(f)) return end == fi_edit_end::goes_on ? fi_edit_end::stop : end;
        }
        if (end == fi_edit_end::goes_on) fi_show_cursor(f, true);
    }
    return end == fi_edit_end::goes_on ? fi_edit_end::stop : end;
}

} // namespace

fi_edit_end fi_select_loop(fi_field* f) {
    return run_choice(f, choose_by);
}

void fi_choose_by_key(fi_field* owner) {
    FI_gadget* list = owner->list;
    if (list == nullptr || fi_has(list, FI_NOT_ENABLED)) return;
    const fi_hold hold(list);
    if (fi_flag(owner, FI_POPUP_LIST)) fi_open_list(owner);
    if (hold.gone() || !fi_field_usable(fi_as<fi_field>(list))) return;
    run_choice(fi_as<fi_field>(list), choose_in_list);
    if (!hold.gone() && fi_edit.open_list == list) fi_close_list();
}

// ---- typing --------------------------------------------------------------------------------------------------------

namespace {

// A field that is only read takes keys for its list.
fi_edit_end review_key(fi_field* f, int what) {
    if (what == GO_ON || what == -RETURN) return fi_edit_end::next;
    if (what == GO_BACK) return fi_edit_end::back;
    if (what == COMMAND_DOWN && fi_flag(f, FI_POPUP_LIST)) fi_choose_by_key(f);
    return fi_edit_end::goes_on;
}

fi_edit_end take_keys(fi_field* f, const fi_hold& hold) {
    char bytes[KEY_BYTES];
    const int count = get_keys(bytes);
    fi_edit_end end = fi_edit_end::goes_on;
    fi_show_cursor(f, false);
    for (int i = 0; i < count && end == fi_edit_end::goes_on;) {
        int used = 1;
        end = f->mode == FI_REVIEW ? review_key(f, meaning_of(bytes[i])) : fi_edit_key(f, bytes + i, count - i, &used);
        i += used;
        if (hold.gone() || !fi_field_usable(f)) return fi_edit_end::stop;
    }
    if (end == fi_edit_end::goes_on) fi_show_cursor(f, fi_is_typed_into(f));
    return end;
}

// The gadget that has no owner: a field with its parts, or a table with its columns.
FI_gadget* whole_of(FI_gadget* g) {
    while (g->owner != nullptr)
        g = g->owner;
    return g;
}

// The press goes to the entry's own field.
void press_again(fi_field* f, int x, int y) {
    const fi_hold hold(fi_gadget_of(f));
    if (fi_flag(f, FI_POPUP_LIST) && f->list != nullptr && fi_in_strip(f, x, y)) {
        fi_toggle_list(f);
        return;
    }
    if (!fi_is_typed_into(f)) return;
    fi_verify_row(f);
    if (hold.gone()) return;
    fi_justify_row(f, f->active_row);
    if (f->common.justification != FI_LEFT) fi_field_draw_row(f, f->active_row);
    fi_report_line(f);
    if (hold.gone() || fi_first_row(f) != FI_SUCCESS) return;
    fi_place_cursor(f, x, y);
    fi_clear_on_select(f);
}

// Whether a press there is one that another entry takes, or another part of the same table.
bool ends_entry(fi_field* f, FI_gadget* g) {
    if (g->type == FI_MCF) return true;
    if (g->type != FI_FIELD) return false;
    return whole_of(g) != whole_of(fi_gadget_of(f)) || (g != f->list && g != fi_gadget_of(f));
}

// Where a press in a table goes: the column there.
FI_gadget* column_or(FI_gadget* g, int x, int y) {
    if (g->type != FI_MCF) return g;
    fi_field* column = fi_mcf_column_at(fi_as<fi_mcf>(g), x, y);
    return column != nullptr ? fi_gadget_of(column) : g;
}

fi_edit_end take_press(fi_field* f, const fi_hold& hold) {
    constexpr int FIELD_BUTTON = 1;
    int window = -1, x = 0, y = 0, button = 0;
    if (fi_graphic.Inq_button_data(&window, &x, &y, &button, nullptr, nullptr) != 0) return fi_edit_end::stop;
    if (button != FIELD_BUTTON) return fi_edit_end::stop;
    FI_form* form = fi_form_of(window);
    FI_gadget* g = form != nullptr && form->button_event_routine == nullptr ? fi_gadget_at(form, x, y) : nullptr;
    if (g == nullptr) return fi_edit_end::stop;
    g = column_or(g, x, y);
    const bool was_open = fi_list_is_open(f);
    if (g == fi_gadget_of(f)) {
        fi_graphic.Get_button_data(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        fi_list_before_press(form, x, y);
        if (!hold.gone()) press_again(f, x, y);
    } else if (ends_entry(f, g) || FI_process_event(BUTTON_EVENT) == 0) {
        return fi_edit_end::stop;
    }
    if (hold.gone() || !fi_field_usable(f)) return fi_edit_end::stop;
    if (f->mode == FI_REVIEW && was_open && !fi_list_is_open(f)) return fi_edit_end::stop;
    fi_show_cursor(f, fi_is_typed_into(f));
    return fi_edit_end::goes_on;
}

} // namespace

fi_edit_end fi_edit_loop(fi_field* f) {
    const fi_hold hold(fi_gadget_of(f));
    const cursor_turn turn(f);
    const bool typed = fi_is_typed_into(f);
    if (typed) {
        fi_clear_on_select(f);
        fi_view_follow(f);
        fi_show_cursor(f, true);
    }
    for (;;) {
        const fi_came came = fi_wait_for_input();
        if (hold.gone() || !fi_field_usable(f) || fi_is_typed_into(f) != typed) return fi_edit_end::stop;
        fi_edit_end end = fi_edit_end::stop;
        if (came == fi_came::key) end = take_keys(f, hold);
        if (came == fi_came::press) end = take_press(f, hold);
        if (end != fi_edit_end::goes_on) return end;
    }
}

// ---- entries -------------------------------------------------------------------------------------------------------

namespace {

fi_leave leave_of(fi_edit_end end) {
    if (end == fi_edit_end::next) return fi_leave::forward;
    return end == fi_edit_end::back ? fi_leave::back : fi_leave::stop;
}

bool is_review_with_list(const fi_field* f) {
    return f->mode == FI_REVIEW && f->list != nullptr && fi_flag(f, FI_POPUP_LIST);
}

fi_edit_end run_loop(fi_field* f) {
    if (fi_is_chosen_from(f)) return fi_select_loop(f);
    if (fi_is_typed_into(f) && fi_first_row(f) != FI_SUCCESS) return fi_edit_end::stop;
    return fi_edit_loop(f);
}

} // namespace

bool fi_field_takes_input(const FI_gadget* g) {
    const auto* f = fi_as<fi_field>(g);
    return f->mode != FI_REVIEW || is_review_with_list(f);
}

fi_leave fi_field_input(FI_gadget* g, bool /*forward*/, int from_label) {
    auto* f = fi_as<fi_field>(g);
    if (!fi_field_takes_input(g) || !fi_field_usable(f)) return fi_leave::stop;
    const fi_hold hold(g);
    if (g->next_in_seq != 0 || g->prev_in_seq != 0 || from_label != 0) fi_hilite_gadget(g);
    const fi_edit_end end = run_loop(f);
    if (hold.gone()) return fi_leave::stop;
    const bool is_review = f->mode == FI_REVIEW;
    fi_unhilite_gadget(g);
    if (fi_list_is_open(f)) fi_close_list();
    if (!hold.gone() && !is_review) fi_field_complete(f);
    return hold.gone() ? fi_leave::stop : leave_of(end);
}

int fi_field_press(FI_gadget* g, int /*window*/, int x, int y, int /*transition*/, bool* /*complete*/,
                   double* /*value*/) {
    auto* f = fi_as<fi_field>(g);
    const fi_hold hold(g);
    const bool opens = f->list != nullptr && fi_flag(f, FI_POPUP_LIST) && fi_in_strip(f, x, y);
    if (opens) fi_toggle_list(f);
    if (hold.gone() || (opens && !fi_list_is_open(f))) return 0;
    if (fi_is_chosen_from(f)) {
        if (!opens) fi_field_select_at(f, x, y);
        return 0;
    }
    if (f->mode == FI_REVIEW && !opens) return 0;
    if (fi_is_typed_into(f) && fi_first_row(f) != FI_SUCCESS) return 0;
    if (fi_is_typed_into(f) && !opens) fi_place_cursor(f, x, y);
    g->prev_in_seq = 0;
    const fi_leave leave = fi_field_input(g, true, 0);
    if (!hold.gone()) fi_go_on(g, leave);
    return 0;
}

// ---- hits ----------------------------------------------------------------------------------------------------------

namespace {

constexpr double STRIP_VALUE = 2147483648.0; // `value` after a hit on the strip

bool is_shown_at(const FI_gadget* part, int x, int y) {
    return part != nullptr && part->displayed != 0 && !fi_has(part, FI_NOT_DISPLAYED | FI_NOT_ENABLED) &&
           fi_hits_rect(part, x, y);
}

FI_gadget* beside_at(fi_field* f, int x, int y) {
    if (fi_flag(f, FI_HORT_ARROWS_SHOWN))
        for (FI_gadget* arrow : f->arrows)
            if (is_shown_at(arrow, x, y)) return arrow;
    return fi_flag(f, FI_VERT_BAR_SHOWN) && is_shown_at(f->scroll_bar, x, y) ? f->scroll_bar : nullptr;
}

} // namespace

FI_gadget* fi_field_part_at(FI_gadget* g, int x, int y) {
    auto* f = fi_as<fi_field>(g);
    if (f->list != nullptr && f->list->displayed != 0 && !fi_has(f->list, FI_NOT_DISPLAYED)) {
        if (is_shown_at(f->list, x, y)) return f->list;
        FI_gadget* part = beside_at(fi_as<fi_field>(f->list), x, y);
        if (part != nullptr) return part;
    }
    if (!fi_hits_rect(g, x, y)) return beside_at(f, x, y);
    g->value = fi_in_strip(f, x, y) ? STRIP_VALUE : f->active_row;
    return g;
}

bool fi_field_hit(FI_gadget* g, int x, int y) {
    return fi_field_part_at(g, x, y) != nullptr;
}
