// The tables of items.
#include "items.h"

#include <cstring>
#include <limits>

#include "forms/form.h"
#include "forms/frm.h"
#include "forms/ops.h"

namespace {

constexpr item FORM_ITEMS[] = {
    {"description", kept::text, place::as_kept, offsetof(FI_form, description)},
    {"reserved_file_word", kept::u32, place::as_kept, offsetof(FI_form, reserved_file_word)},
    {"attr_mask", kept::u32, place::as_kept, offsetof(FI_form, attr_mask)},
    {"window_attr", kept::u32, place::as_kept, offsetof(FI_form, window_attr)},
    {"x1", kept::s16, place::as_kept, offsetof(FI_form, x1)},
    {"y1", kept::s16, place::as_kept, offsetof(FI_form, y1)},
    {"x2", kept::s16, place::as_kept, offsetof(FI_form, x2)},
    {"y2", kept::s16, place::as_kept, offsetof(FI_form, y2)},
    {"design_width", kept::s16, place::as_kept, offsetof(FI_form, design_width)},
    {"design_height", kept::s16, place::as_kept, offsetof(FI_form, design_height)},
    {"collapse_x", kept::s16, place::as_kept, offsetof(FI_form, collapse_x)},
    {"collapse_y", kept::s16, place::as_kept, offsetof(FI_form, collapse_y)},
    {"bg_color", kept::u8, place::as_kept, offsetof(FI_form, bg_color)},
    {"collapse_symbol_index", kept::u8, place::as_kept, offsetof(FI_form, collapse_symbol_index)},
    {"collapse_symbol_file", kept::text, place::as_kept, offsetof(FI_form, collapse_symbol_file)},
    {"screen_mode", kept::u8, place::as_kept, offsetof(FI_form, screen_mode)},
    {"start_seq", kept::s32, place::label, offsetof(FI_form, start_seq)},
};

constexpr item COMMON_ITEMS[] = {
    {"gadget_version", kept::u16, place::as_kept, offsetof(FI_gadget, gadget_version)},
    {"label", kept::s32, place::label, offsetof(FI_gadget, label)},
    {"link_label", kept::s32, place::label, offsetof(FI_gadget, link_label)},
    {"next_in_seq", kept::s32, place::label, offsetof(FI_gadget, next_in_seq)},
    {"x1", kept::f32, place::s16, offsetof(FI_gadget, x1)},
    {"y1", kept::f32, place::s16, offsetof(FI_gadget, y1)},
    {"x2", kept::f32, place::s16, offsetof(FI_gadget, x2)},
    {"y2", kept::f32, place::s16, offsetof(FI_gadget, y2)},
    {"orig_width", kept::f32, place::s16, offsetof(FI_gadget, orig_width)},
    {"orig_height", kept::f32, place::s16, offsetof(FI_gadget, orig_height)},
    {"attr_mask", kept::u32, place::as_kept, offsetof(FI_gadget, attr_mask)},
    {"value", kept::f64, place::as_kept, offsetof(FI_gadget, value)},
    {"bodysize", kept::f32, place::s16, offsetof(FI_gadget, bodysize)},
    {"x_scale", kept::f32, place::s16, offsetof(FI_gadget, x_scale)},
    {"y_scale", kept::f32, place::s16, offsetof(FI_gadget, y_scale)},
    {"text", kept::text, place::as_kept, offsetof(FI_gadget, text)},
    {"help_topic", kept::text, place::as_kept, offsetof(FI_gadget, help_topic)},
    {"command", kept::text, place::as_kept, offsetof(FI_gadget, command)},
    {"font_name", kept::text, place::as_kept, offsetof(FI_gadget, font_name)},
    {"symbol_index", kept::u8, place::as_kept, offsetof(FI_gadget, face) + offsetof(FI_face, index)},
    {"symbol_index2", kept::u8, place::as_kept, offsetof(FI_gadget, face2) + offsetof(FI_face, index)},
    {"off_color", kept::s32, place::s8, offsetof(FI_gadget, off_color)},
    {"on_color", kept::s32, place::s8, offsetof(FI_gadget, on_color)},
    {"off_color2", kept::s32, place::s8, offsetof(FI_gadget, off_color2)},
    {"on_color2", kept::s32, place::s8, offsetof(FI_gadget, on_color2)},
    {"style", kept::u8, place::as_kept, offsetof(FI_gadget, style)},
    {"justification", kept::u8, place::as_kept, offsetof(FI_gadget, justification)},
    {"erase_color", kept::s32, place::s8, offsetof(FI_gadget, erase_color)},
};

constexpr item GROUP_ITEMS[] = {
    {"gadget_version", kept::u16, place::as_kept, offsetof(FI_gadget, gadget_version)},
    {"label", kept::s32, place::label, offsetof(FI_gadget, label)},
    {"no_pass_on", kept::u8, place::flag, offsetof(FI_group, no_pass_on)},
    {"single_select", kept::u8, place::flag, offsetof(FI_group, single_select)},
};

constexpr item SLIDER_ITEMS[] = {
    {"increment", kept::f32, place::as_kept, offsetof(fi_slider, increment)},
    {"orientation", kept::u8, place::as_kept, offsetof(fi_slider, orientation)},
    {"low_value", kept::f64, place::as_kept, offsetof(fi_slider, low_value)},
    {"high_value", kept::f64, place::as_kept, offsetof(fi_slider, high_value)},
    {"display_mask", kept::u8, place::as_kept, offsetof(fi_slider, display_mask)},
    {"field_width", kept::u8, place::as_kept, offsetof(fi_slider, field_width)},
    {"decimals", kept::u8, place::as_kept, offsetof(fi_slider, decimals)},
};

constexpr item TOGGLE_ITEMS[] = {
    {"on_text", kept::text, place::as_kept, offsetof(fi_toggle, on_text)},
};

constexpr item FIELD_ITEMS[] = {
    {"field_type", kept::u16, place::as_kept, offsetof(fi_field, field_type)},
    {"mode", kept::u16, place::as_kept, offsetof(fi_field, mode)},
    {"max_rows", kept::s16, place::as_kept, offsetof(fi_field, max_rows)},
    {"visible_rows", kept::s16, place::as_kept, offsetof(fi_field, visible_rows)},
    {"max_chars", kept::s16, place::as_kept, offsetof(fi_field, max_chars)},
    {"visible_chars", kept::s16, place::as_kept, offsetof(fi_field, visible_chars)},
    {"min_value", kept::f64, place::as_kept, offsetof(fi_field, min_value)},
    {"max_value", kept::f64, place::as_kept, offsetof(fi_field, max_value)},
    {"format", kept::text, place::as_kept, offsetof(fi_field, format)},
    {"flags", kept::u32, place::as_kept, offsetof(fi_field, flags)},
};

constexpr item DIAL_ITEMS[] = {
    {"increment", kept::f32, place::as_kept, offsetof(fi_dial, increment)},
    {"direction", kept::s8, place::as_kept, offsetof(fi_dial, direction)},
    {"zero_angle", kept::f32, place::as_kept, offsetof(fi_dial, zero_angle)},
    {"scale", kept::f32, place::as_kept, offsetof(fi_dial, scale)},
    {"ticks", kept::s16, place::as_kept, offsetof(fi_dial, ticks)},
    {"ticks_x", kept::s16, place::as_kept, offsetof(fi_dial, ticks_x)},
    {"display_mask", kept::u8, place::as_kept, offsetof(fi_dial, display_mask)},
    {"border_style", kept::u8, place::as_kept, offsetof(fi_dial, border_style)},
    {"field_width", kept::u8, place::as_kept, offsetof(fi_dial, field_width)},
    {"decimals", kept::u8, place::as_kept, offsetof(fi_dial, decimals)},
};

constexpr item TEXT_ITEMS[] = {
    {"stored_width", kept::u16, place::as_kept, offsetof(fi_text, stored_width)},
    {"stored_height", kept::u16, place::as_kept, offsetof(fi_text, stored_height)},
};

constexpr item BUTTON_ITEMS[] = {
    {"auto_pop_up", kept::u8, place::flag, offsetof(fi_button, auto_pop_up)},
    {"menu_button", kept::u8, place::flag, offsetof(fi_button, menu_button)},
    {"menu_string", kept::text, place::as_kept, offsetof(fi_button, menu_string)},
};

constexpr item LINE_ITEMS[] = {
    {"line_weight", kept::u8, place::as_kept, offsetof(fi_line, line_weight)},
    {"line_pattern", kept::u16, place::as_kept, offsetof(fi_line, line_pattern)},
    {"line_extra", kept::u8, place::as_kept, offsetof(fi_line, line_extra)},
};

constexpr item BAR_ITEMS[] = {
    {"orientation", kept::u8, place::as_kept, offsetof(fi_bar, orientation)},
    {"segments", kept::f32, place::as_kept, offsetof(fi_bar, segments)},
    {"high_value", kept::f64, place::as_kept, offsetof(fi_bar, high_value)},
};

constexpr item RECT_ITEMS[] = {
    {"line_weight", kept::u8, place::as_kept, offsetof(fi_rect, line_weight)},
    {"line_pattern", kept::u16, place::as_kept, offsetof(fi_rect, line_pattern)},
};

constexpr item SCROLL_ITEMS[] = {
    {"orientation", kept::u8, place::as_kept, offsetof(fi_scroll, orientation)},
    {"view_fraction", kept::f64, place::as_kept, offsetof(fi_scroll, view_fraction)},
    {"high_value", kept::f64, place::as_kept, offsetof(fi_scroll, high_value)},
    {"low_value", kept::f64, place::as_kept, offsetof(fi_scroll, low_value)},
};

constexpr item MCF_ITEMS[] = {
    {"no_pass_on", kept::u8, place::flag, offsetof(fi_mcf, group) + offsetof(FI_group, no_pass_on)},
    {"single_select", kept::u8, place::flag, offsetof(fi_mcf, group) + offsetof(FI_group, single_select)},
    {"num_cols", kept::u16, place::as_kept, offsetof(fi_mcf, num_cols)},
    {"visible_cols", kept::u16, place::as_kept, offsetof(fi_mcf, visible_cols)},
    {"first_col", kept::u16, place::as_kept, offsetof(fi_mcf, first_col)},
    {"mcf_flags", kept::u32, place::as_kept, offsetof(fi_mcf, mcf_flags)},
};

// By type.
constexpr std::span<const item> TYPE_ITEMS[FI_TYPES] = {
    {},         SLIDER_ITEMS, TOGGLE_ITEMS, FIELD_ITEMS, {},           DIAL_ITEMS, TEXT_ITEMS, BUTTON_ITEMS,
    LINE_ITEMS, BAR_ITEMS,    RECT_ITEMS,   {},          SCROLL_ITEMS, MCF_ITEMS,  {},
};

template <typename T> constexpr item_range whole_range() {
    return {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), true};
}

} // namespace

const std::span<const item> form_items = FORM_ITEMS;
const std::span<const item> common_items = COMMON_ITEMS;
const std::span<const item> group_items = GROUP_ITEMS;

std::span<const item> type_items(const FI_gadget* g) {
    if (g->type == FI_TOGGLE && (g->attr_mask & FI_TEXT_GADGET) == 0) return {}; // a symbol has no second text
    return TYPE_ITEMS[g->type];
}

const char* type_name(int type) {
    return fi_types[type].name;
}

int type_by_name(const char* name) {
    for (int type = 0; type < FI_TYPES; ++type)
        if (std::strcmp(fi_types[type].name, name) == 0) return type;
    return -1;
}

item_range range_of(const item& i, int version) {
    switch (i.file) {
    case place::flag: return {0, 1, true};
    case place::s8: return whole_range<int8_t>();
    case place::s16: return whole_range<int16_t>();
    case place::label: return version < FRM_LONG_LABELS ? whole_range<int16_t>() : whole_range<int32_t>();
    case place::as_kept: break;
    }
    switch (i.type) {
    case kept::u8: return whole_range<uint8_t>();
    case kept::s8: return whole_range<int8_t>();
    case kept::u16: return whole_range<uint16_t>();
    case kept::s16: return whole_range<int16_t>();
    case kept::u32: return whole_range<uint32_t>();
    case kept::s32: return whole_range<int32_t>();
    default: return {0, 0, false};
    }
}
