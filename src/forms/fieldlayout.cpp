// Laying out fields: what fits into the rectangle, and the private parts beside it.
#include <algorithm>
#include <cstring>

#include "forms/drawtext.h"
#include "forms/env.h"
#include "forms/fields.h"
#include "forms/forms.h"
#include "forms/scroll.h"
#include "forms/show.h"
#include "forms/surface.h"

namespace {

constexpr float BAR_WIDTH = 26;
constexpr float ARROW_HEIGHT = 12;
constexpr int LEFT_LABEL = -1; // of the arrows
constexpr int RIGHT_LABEL = -2;
constexpr int LEFT_SYMBOL = 30;
constexpr int RIGHT_SYMBOL = 31;
constexpr int LIST_ROWS = 5; // of a new list

} // namespace

void fi_measure_field(fi_field* f) {
    const fi_box box = fi_text_box(f);
    const int height = std::max(static_cast<int>(f->row_height), 1);
    f->visible_chars = fi_short(std::max((box.x2 - box.x1) / std::max(f->common.char_width, 1), 1));
    f->visible_rows = fi_short(std::max((box.y2 - box.y1) / height, 1));
}

namespace {

// Of the letter "M", which stands for every character of such a font.
void measure_font(fi_field* f, float factor) {
    FI_gadget* g = &f->common;
    fi_string_set(&g->text, "M"); // without memory what stands there is measured
    fi_gadget_font(g, factor);
    int height = 0, width = 0, spacing = 0;
    fi_env.FI_CALC_TEXT(g->font_id, "M", 1, &height, &width, &spacing, g->font_type);
    f->row_height = static_cast<uint32_t>(std::max(spacing, 1));
}

// What limits allow no scrolling, and which limits there are without it.
void settle_limits(fi_field* f) {
    if (f->max_chars > 0 && f->visible_chars >= f->max_chars) f->flags &= ~FI_HORT_SCROLL;
    if (f->max_rows > 0 && f->visible_rows >= f->max_rows) f->flags &= ~FI_VERT_SCROLL;
    if (fi_is_column(&f->common)) return;
    if (!fi_flag(f, FI_VERT_SCROLL | FI_ROLL_THROUGH) && f->max_rows <= 0) f->max_rows = f->visible_rows;
}

void settle_parts(fi_field* f) {
    if (fi_flag(f, FI_VERT_SCROLL) && !fi_is_column(&f->common))
        fi_make_bar(f);
    else
        fi_drop_bar(f);
    if (fi_flag(f, FI_HORT_SCROLL)) {
        fi_make_arrows(f);
    } else {
        fi_drop_arrows(f);
        if (f->max_chars <= 0) f->max_chars = f->visible_chars;
    }
}

void justify_all(fi_field* f) {
    if (f->common.justification == FI_LEFT || fi_flag(f, FI_HORT_SCROLL)) return;
    for (int row = 0; row < f->num_rows; ++row)
        fi_justify_row(f, row);
    f->max_chars = f->visible_chars;
}

} // namespace

void fi_field_activate(FI_gadget* g) {
    auto* f = fi_as<fi_field>(g);
    measure_font(f, 1.0F);
    fi_measure_field(f);
    settle_limits(f);
    settle_parts(f);
    justify_all(f);
    fi_place_parts(f);
    fi_field_fix_cursor(f);
    fi_view_fix(f);
    if (f->list != nullptr) fi_activate_gadget(f->list);
    fi_update_bar(f);
}

void fi_field_scale(FI_gadget* g, float x_factor, float y_factor) {
    auto* f = fi_as<fi_field>(g);
    measure_font(f, y_factor);
    const int16_t chars = f->visible_chars;
    fi_measure_field(f);
    if (fi_is_column(g)) f->visible_chars = chars; // the table gives it the width that they need
    fi_each_part(g, [=](FI_gadget* part) { fi_scale_gadget(part, x_factor, y_factor); });
    fi_place_parts(f);
    fi_view_fix(f);
    fi_update_bar(f);
}

int fi_field_put_defaults(fi_field* f) {
    const int status = fi_rows_from_defaults(f);
    justify_all(f);
    return status;
}

// ---- bar and arrows ------------------------------------------------------------------------------------------------

namespace {

// A part looks as its owner does.
void dress(const fi_field* f, FI_gadget* part) {
    constexpr uint32_t SHARED = FI_NOT_ENABLED | FI_HILITED | FI_NO_DITHERING;
    part->attr_mask |= f->common.attr_mask & SHARED;
    part->default_attr_mask |= f->common.default_attr_mask & SHARED;
    part->erase_color = f->common.erase_color;
}

void drop(FI_gadget** part) {
    if (*part != nullptr) fi_free_gadget(*part, false);
    *part = nullptr;
}

int make_arrow(fi_field* f, int index) {
    FI_gadget* arrow = nullptr;
    int status = fi_new_part(&f->common, FI_BUTTON, index == 0 ? LEFT_LABEL : RIGHT_LABEL, &arrow);
    if (status != FI_SUCCESS) return status;
    status = fi_string_set(&arrow->font_name, "FIsym");
    if (status != FI_SUCCESS) {
        fi_free_gadget(arrow, false);
        return status;
    }
    f->arrows[index] = arrow;
    arrow->face.index = static_cast<uint8_t>(index == 0 ? LEFT_SYMBOL : RIGHT_SYMBOL);
    arrow->off_color = FI_BLACK;
    arrow->on_color = FI_WHITE;
    arrow->y2 = ARROW_HEIGHT;
    dress(f, arrow);
    return FI_SUCCESS;
}

} // namespace

int fi_make_bar(fi_field* f) {
    if (f->scroll_bar == nullptr) {
        FI_form* form = f->common.form;
        const int status = fi_scroll_new(&f->common, fi_next_private_label(form), false, &f->scroll_bar);
        if (status != FI_SUCCESS) return status;
        f->scroll_bar->x2 = f->scroll_bar->x1 + BAR_WIDTH;
        dress(f, f->scroll_bar);
        fi_place_parts(f);
    }
    fi_activate_gadget(f->scroll_bar);
    return FI_SUCCESS;
}

int fi_make_arrows(fi_field* f) {
    for (int i = 0; i < 2; ++i) {
        const int status = f->arrows[i] == nullptr ? make_arrow(f, i) : int{FI_SUCCESS};
        if (status != FI_SUCCESS) return status;
    }
    fi_place_parts(f);
    for (FI_gadget* arrow : f->arrows)
        fi_activate_gadget(arrow);
    return FI_SUCCESS;
}

void fi_drop_bar(fi_field* f) {
    drop(&f->scroll_bar);
}

void fi_drop_arrows(fi_field* f) {
    drop(&f->arrows[0]);
    drop(&f->arrows[1]);
}

// Both keep their thickness, and follow the field otherwise.
void fi_place_parts(fi_field* f) {
    const FI_gadget* g = &f->common;
    if (FI_gadget* bar = f->scroll_bar; bar != nullptr) {
        const float left = g->x2 + FI_FRAME;
        fi_scroll_place(bar, left, g->y1 - FI_FRAME, left + bar->x2 - bar->x1, g->y2 + FI_FRAME);
    }
    const float middle = static_cast<float>(static_cast<int>((g->x1 + g->x2) / 2));
    for (int i = 0; i < 2; ++i) {
        FI_gadget* arrow = f->arrows[i];
        if (arrow == nullptr) continue;
        const float height = arrow->y2 - arrow->y1;
        arrow->x1 = i == 0 ? g->x1 - FI_FRAME : middle + 1;
        arrow->x2 = i == 0 ? middle : g->x2 + FI_FRAME;
        arrow->y1 = g->y2 + FI_FRAME;
        arrow->y2 = arrow->y1 + height;
    }
}

// ---- lists ---------------------------------------------------------------------------------------------------------

namespace {

// Below the field, or above it where there is no room below; with fewer rows where there is little on either side.
void place_list(const fi_field* f, FI_gadget* list) {
    const FI_gadget* g = &f->common;
    const float beside = 2 * FI_FRAME + (fi_flag(f, FI_HORT_ARROWS_SHOWN) ? ARROW_HEIGHT : 0);
    const float around = FI_FRAME + ARROW_HEIGHT; // frame and arrows of the list itself
    const auto row = static_cast<float>(f->row_height);
    const float below = static_cast<float>(fi_form_height(g->form)) - g->y2 - beside - around;
    const float above = g->y1 - 2 * FI_FRAME - around;
    const bool is_below = below >= LIST_ROWS * row || below >= above;
    const float room = is_below ? below : above;
    const float height = std::max(std::min(LIST_ROWS * row, room), row);
    list->x1 = g->x1;
    list->x2 = std::max(g->x2 - BAR_WIDTH, g->x1 + static_cast<float>(g->char_width) + 1);
    list->y1 = is_below ? g->y2 + beside : g->y1 - 2 * FI_FRAME - ARROW_HEIGHT - height;
    list->y2 = list->y1 + height;
}

int make_list(fi_field* f) {
    FI_gadget* g = &f->common;
    int status = fi_new_part(g, FI_FIELD, fi_next_private_label(g->form), &f->list);
    if (status != FI_SUCCESS) return status;
    auto* list = fi_as<fi_field>(f->list);
    status = fi_string_set(&list->common.font_name, g->font_name);
    if (status != FI_SUCCESS) return status;
    list->common.bodysize = g->bodysize;
    list->common.on_color = g->on_color;
    list->common.off_color = g->off_color;
    list->common.user_pointer = g;
    list->mode = FI_SINGLE_SELECT;
    list->flags =
        FI_VERT_SCROLL | FI_HORT_SCROLL | FI_VERT_BAR_SHOWN | FI_HORT_ARROWS_SHOWN | FI_IS_LIST | FI_NOTIFY_BY_LINE;
    list->selected_row = -1;
    dress(f, f->list);
    place_list(f, f->list);
    fi_activate_gadget(f->list);
    return FI_SUCCESS;
}

} // namespace

int fi_make_list(fi_field* f) {
    if (f->list != nullptr) return FI_SUCCESS;
    const int status = make_list(f);
    if (status != FI_SUCCESS) fi_drop_list(f);
    return status;
}

void fi_drop_list(fi_field* f) {
    drop(&f->list);
}

// ---- reset ---------------------------------------------------------------------------------------------------------

void fi_field_reset(FI_gadget* g) {
    auto* f = fi_as<fi_field>(g);
    const fi_hold hold(g);
    if (fi_list_is_open(f)) fi_close_list();
    if (hold.gone()) return;
    const bool drawn = g->displayed != 0 && !fi_has(g, FI_NOT_DISPLAYED);
    if (drawn && (g->default_attr_mask & FI_NOT_DISPLAYED) != 0) fi_erase_gadget(g);
    g->value = g->default_value;
    g->attr_mask = g->default_attr_mask;
    fi_field_put_defaults(f); // without memory there are fewer rows
    if (f->scroll_bar != nullptr && fi_flag(f, FI_VERT_BAR_SHOWN)) fi_reset_gadget(f->scroll_bar);
    if (!hold.gone() && fi_flag(f, FI_HORT_ARROWS_SHOWN))
        for (FI_gadget* arrow : f->arrows)
            if (arrow != nullptr) fi_reset_gadget(arrow);
    if (!hold.gone() && f->list != nullptr) fi_reset_gadget(f->list);
    if (hold.gone()) return;
    fi_view_fix(f);
    fi_update_bar(f);
    fi_redraw_gadget(g);
}
