// Drawing of forms, and their windows' place and size.
#include "forms/formshow.h"

#include <algorithm>

#include "forms/edges.h"
#include "forms/env.h"
#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/show.h"
#include "forms/surface.h"

namespace {

constexpr int BORDER_WEIGHT = 2;
constexpr int FRAME_DEPTH = 4;
constexpr int FIXED_CORNER_LABEL = 7; // the gadget that keeps its distance from the right edge of a form of fixed scale

void draw_frame(FI_form* form, int window) {
    const fi_box all = {0, 0, fi_form_width(form), fi_form_height(form)};
    const bool border = (form->attr_mask & FI_LINE_BORDER) != 0;
    const bool bezel = (form->attr_mask & FI_NO_BEZEL) == 0;
    fi_graphic.linestyle(window, FI_SOLID_LINE);
    if (border || !bezel) {
        fi_set_color(form, window, form->bg_color);
        fi_fill(window, all);
    }
    if (border || bezel) {
        fi_set_color(form, window, FI_WHITE);
        fi_thick_outline(window, all, BORDER_WEIGHT);
    }
    if (!border && bezel)
        fi_draw_bevel_in(window, fi_inset(all, 1), FRAME_DEPTH,
                         fi_bevel_colors(form, FI_WHITE, form->bg_color, FI_BLACK, FI_BLACK), FI_SQUARE_CORNERS);
}

void draw_members_in(FI_group* group, int window, fi_box area) {
    fi_each_member(group, [=](FI_gadget* member) {
        if (member->type == FI_GROUP || fi_boxes_meet(fi_extent_of(member), area)) fi_display_gadget(member, window);
    });
}

} // namespace

void fi_tell_window_event(FI_form* form, int code) {
    if (form->window_event_routine != nullptr) form->window_event_routine(static_cast<int>(form->label), code, form);
}

void fi_draw_form(FI_form* form) {
    const int window = fi_draw_window(form);
    if (window < 0) return;
    form->stale = fi_state.sr_depth > 0 && window != fi_state.sr_window ? 1 : 0;
    fi_clip_back(form, window);
    draw_frame(form, window);
    fi_display_gadget(fi_common(form->root_group), window);
    fi_draw_open_list(form, {0, 0, fi_form_width(form), fi_form_height(form)}, window);
    fi_flush(window);
    fi_tell_window_event(form, FI_DRAWN_EVENT);
}

int fi_redraw_area(FI_form* form, int x1, int y1, int x2, int y2) {
    if (form->window < 0) return FI_FORM_NOT_DISPLAYED;
    const int window = fi_draw_window(form);
    if (window < 0) return FI_SUCCESS; // when it comes to the top
    const fi_box area = {x1, y1, x2, y2};
    fi_partial_begin(form, window, area);
    draw_frame(form, window);
    draw_members_in(form->root_group, window, area);
    fi_draw_open_list(form, area, window);
    fi_partial_end(form, window);
    fi_flush(window);
    fi_tell_window_event(form, FI_DRAWN_EVENT);
    return FI_SUCCESS;
}

// ---- place and size ------------------------------------------------------------------------------------------------

namespace {

int16_t coordinate(int v) {
    return static_cast<int16_t>(std::clamp(v, int{INT16_MIN}, int{INT16_MAX}));
}

// The start of a stretch of `size` that is to lie in 0 to `screen`.
int kept_start(int start, int size, int screen) {
    if (start < 0) start = 0;
    if (start + size <= screen) return start;
    const int back = screen - size - 1;
    return back < 1 ? 0 : back;
}

} // namespace

void fi_keep_on_screen(FI_form* form) {
    fi_take_screen_size();
    const int width = fi_form_width(form);
    const int height = fi_form_height(form);
    form->x1 = coordinate(kept_start(form->x1, width, fi_state.screen_width));
    form->y1 = coordinate(kept_start(form->y1, height, fi_state.screen_height));
    form->x2 = coordinate(form->x1 + width);
    form->y2 = coordinate(form->y1 + height);
}

void fi_place_window(FI_form* form) {
    if (form->window < 0) return;
    if (fi_is_popup(form)) { // what the pop-up covers is known for one place only
        const fi_hold hold(form);
        FIf_erase(form);
        if (!hold.gone()) FIf_display(form);
        return;
    }
    fi_graphic.Modify_win(form->window, form->x1, form->y1, form->x2, form->y2);
    fi_draw_form(form);
}

void fi_scale_form(FI_form* form, int old_width, int old_height) {
    const auto factor = [](int now, int before) {
        const float f = before > 0 ? static_cast<float>(now) / static_cast<float>(before) : 1.0F;
        return f <= 0.0F ? 1.0F : f;
    };
    fi_scale_gadget(fi_common(form->root_group), factor(fi_form_width(form), old_width),
                    factor(fi_form_height(form), old_height));
}

namespace {

void shift_fixed_corner(FI_form* form, int dx) {
    FI_gadget* g = fi_find_gadget(form, FIXED_CORNER_LABEL);
    if (g != nullptr) fi_shift_gadget(g, static_cast<float>(dx), 0);
}

} // namespace

void fi_follow_window(FI_form* form, fi_box box, bool resized) {
    const int width = fi_form_width(form);
    const int height = fi_form_height(form);
    form->x1 = coordinate(box.x1);
    form->y1 = coordinate(box.y1);
    form->x2 = coordinate(box.x2);
    form->y2 = coordinate(box.y2);
    if (!resized) return;
    fi_clip_back(form, form->window);
    if ((form->attr_mask & FI_NOT_SCALABLE) != 0)
        shift_fixed_corner(form, fi_form_width(form) - width);
    else
        fi_scale_form(form, width, height);
    fi_tell_window_event(form, FI_RESIZED_EVENT);
}

void fi_forget_window(FI_form* form) {
    if (form->window < 0) return;
    if (fi_state.window_forms[form->window] == form) fi_state.window_forms[form->window] = nullptr;
    --fi_state.displayed_forms;
    form->window = -1;
    form->collapse_position_pending = 1;
    form->stale = 0;
}
