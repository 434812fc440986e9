// Attributes, colours, styles and lines of gadgets.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "forms/drawtext.h"
#include "forms/forms.h"
#include "forms/ops.h"
#include "forms/range.h"
#include "forms/show.h"

int FIg_get_type(FI_form* form, int label, int* type) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status == FI_SUCCESS) *type = g->type;
    return status;
}

int FIg_get_attr(FI_form* form, int label, uint32_t* mask) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status == FI_SUCCESS) *mask = g->attr_mask;
    return status;
}

int FIg_set_attr(FI_form* form, int label, uint32_t mask) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (g->type == FI_MCF) {
        g->attr_mask = mask;
        fi_each_member(fi_as_group(g), [=](FI_gadget* column) { column->attr_mask = mask; });
        return FI_SUCCESS;
    }
    return fi_pass_on(g, [=](FI_gadget* member) {
        member->attr_mask = mask;
        return 0;
    });
}

// ---- colours -------------------------------------------------------------------------------------------------------

namespace {

void set_erase_color(FI_gadget* g, int color) {
    g->erase_color = color;
    fi_each_part(g, [=](FI_gadget* part) { set_erase_color(part, color); });
    if (g->type == FI_MCF) fi_each_member(fi_as_group(g), [=](FI_gadget* column) { set_erase_color(column, color); });
}

int set_color(FI_form* form, int label, int32_t FI_gadget::*place, int color) {
    return fi_pass_on(form, label, [=](FI_gadget* g) {
        g->*place = color;
        if (g->type == FI_MCF) fi_each_member(fi_as_group(g), [=](FI_gadget* column) { column->*place = color; });
        return 0;
    });
}

} // namespace

int FIg_set_erase_color(FI_form* form, int label, int color) {
    return fi_pass_on(form, label, [=](FI_gadget* g) {
        set_erase_color(g, color);
        return 0;
    });
}

int FIg_set_on_color(FI_form* form, int label, int color) {
    return set_color(form, label, &FI_gadget::on_color, color);
}

int FIg_set_off_color(FI_form* form, int label, int color) {
    return set_color(form, label, &FI_gadget::off_color, color);
}

// ---- style, lines, font --------------------------------------------------------------------------------------------

namespace {

bool is_byte(int v) {
    return v >= 0 && v <= UINT8_MAX;
}

int set_byte(FI_form* form, int label, uint8_t FI_gadget::*place, int value) {
    return fi_pass_on(form, label, is_byte(value), [=](FI_gadget* member) {
        member->*place = static_cast<uint8_t>(value);
        return 0;
    });
}

} // namespace

int FIg_set_style(FI_form* form, int label, int style) {
    return set_byte(form, label, &FI_gadget::style, style);
}

int FIg_set_gadget_style(FI_form* form, int label, int style) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (!is_byte(style)) return FI_INVALID_ARGUMENT;
    g->style = static_cast<uint8_t>(style);
    return FI_SUCCESS;
}

int FIg_set_justification(FI_form* form, int label, int value) {
    return set_byte(form, label, &FI_gadget::justification, value);
}

namespace {

// Sets what lines and rectangles have in common, of the gadget or of all members of a group.
template <typename T> int set_of_line(FI_form* form, int label, T fi_line::*of_line, T fi_rect::*of_rect, int value) {
    const bool allowed = value >= 0 && value <= std::numeric_limits<T>::max();
    return fi_pass_on(form, label, allowed, [=](FI_gadget* g) {
        if (g->type == FI_LINE)
            fi_as<fi_line>(g)->*of_line = static_cast<T>(value);
        else if (g->type == FI_RECT)
            fi_as<fi_rect>(g)->*of_rect = static_cast<T>(value);
        else
            return FI_NO_SUCH_GADGET;
        return FI_SUCCESS;
    });
}

} // namespace

int FIg_set_line_weight(FI_form* form, int label, int weight) {
    return set_of_line(form, label, &fi_line::line_weight, &fi_rect::line_weight, weight);
}

int FIg_set_line_style(FI_form* form, int label, int pattern) {
    return set_of_line(form, label, &fi_line::line_pattern, &fi_rect::line_pattern, pattern);
}

int FIg_get_font(FI_form* form, int label, char* name, float* size) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    std::strcpy(name, g->font_name);
    *size = g->bodysize;
    if ((form->attr_mask & FI_NOT_SCALABLE) != 0 || form->design_height == 0) return FI_SUCCESS;
    const float ratio = static_cast<float>(fi_form_height(form)) / static_cast<float>(form->design_height);
    if (ratio >= 0 && ratio < 1000) *size *= ratio;
    return FI_SUCCESS;
}

// ---- all at once ---------------------------------------------------------------------------------------------------

namespace {

int set_texts(FI_gadget* g, const FI_standard_variables* v) {
    const struct {
        char** place;
        const char* text;
    } texts[] = {
        {&g->text, v->text}, {&g->help_topic, v->help_topic}, {&g->command, v->command}, {&g->font_name, v->fontname}};
    for (const auto& t : texts)
        if (t.text != nullptr && fi_string_set(t.place, t.text) != FI_SUCCESS) return FI_NO_MEMORY;
    g->text_length = static_cast<int32_t>(std::strlen(g->text));
    return FI_SUCCESS;
}

void set_numbers(FI_gadget* g, const FI_standard_variables* v) {
    g->x1 = v->xlo;
    g->y1 = v->ylo;
    g->x2 = v->xhi;
    g->y2 = v->yhi;
    g->orig_width = g->x2 - g->x1;
    g->orig_height = g->y2 - g->y1;
    g->attr_mask = g->default_attr_mask = v->attr_mask;
    g->value = g->default_value = v->value;
    g->bodysize = v->bodysize;
    g->user_pointer = v->user_pointer;
    g->off_color = v->off_color;
    g->on_color = v->on_color;
    g->off_color2 = v->off_color2;
    g->on_color2 = v->on_color2;
    g->face.index = v->symbol_index;
    g->face2.index = v->symbol_index2;
    g->x_scale = g->y_scale = 1.0F;
    g->next_in_seq = v->next_in_seq;
    g->prev_in_seq = 0;
}

int set_standard(FI_gadget* g, const FI_standard_variables* v) {
    const int status = set_texts(g, v);
    if (status != FI_SUCCESS) return status;
    set_numbers(g, v);
    if (g->type == FI_FIELD) fi_as<fi_field>(g)->selected_row = -1;
    if (g->type == FI_SLIDER && (fi_as<fi_slider>(g)->display_mask & FI_REVERSED) != 0)
        g->value = fi_reverse(fi_as<fi_slider>(g), g->value);
    if (g->type != FI_TEXT) return FI_SUCCESS;
    fi_gadget_font(g, 1.0F);
    fi_text_extent(g->text, &g->text_lines, nullptr, g->font_id, g->font_type);
    g->orig_height = static_cast<float>(g->char_height * g->text_lines);
    return FI_SUCCESS;
}

} // namespace

int FIg_set_standard_variables(FI_form* form, int label, const FI_standard_variables* variables) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    if (!std::isfinite(variables->value) || !std::isfinite(variables->bodysize)) return FI_INVALID_ARGUMENT;
    int result = FI_SUCCESS;
    fi_pass_on(g, [&](FI_gadget* member) {
        if (result == FI_SUCCESS) result = set_standard(member, variables);
        return result;
    });
    return result;
}
