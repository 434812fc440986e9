// The table of operations by type of gadget. A slot that isn't named is null: ops.h says what that means.
#include "forms/bar.h"
#include "forms/button.h"
#include "forms/checklist.h"
#include "forms/dial.h"
#include "forms/edges.h"
#include "forms/faces.h"
#include "forms/fields.h"
#include "forms/numeric.h"
#include "forms/parts.h"
#include "forms/press.h"
#include "forms/scroll.h"
#include "forms/slider.h"
#include "forms/static.h"
#include "forms/textops.h"
#include "forms/toggle.h"

const fi_gadget_ops fi_types[FI_TYPES] = {
    // Operations on a group go to its members.
    {.name = "FI_GROUP", .size = sizeof(FI_group), .init = fi_group_init},

    {.name = "FI_SLIDER",
     .size = sizeof(fi_slider),
     .init = fi_slider_init,
     .draw = fi_slider_draw,
     .erase = fi_slider_erase,
     .scale = fi_slider_scale,
     .activate = fi_slider_activate,
     .shifted = fi_slider_shifted,
     .extent = fi_slider_extent,
     .press = fi_slider_press,
     .key = fi_numeric_key,
     .set_value = fi_slider_set,
     .get_value = fi_slider_get,
     .set_limit = fi_slider_set_limit,
     .link_text = fi_numeric_link_text,
     .take_link = fi_numeric_take_link},

    {.name = "FI_TOGGLE",
     .size = sizeof(fi_toggle),
     .init = fi_toggle_init,
     .free = fi_toggle_free,
     .draw = fi_toggle_draw,
     .scale = fi_toggle_scale,
     .activate = fi_toggle_activate,
     .press = fi_toggle_press,
     .key = fi_state_key,
     .take_link = fi_state_take_link},

    {.name = "FI_FIELD",
     .size = sizeof(fi_field),
     .init = fi_field_init,
     .free = fi_field_free,
     .parts = fi_field_parts,
     .draw = fi_field_draw,
     .erase = fi_field_erase,
     .scale = fi_field_scale,
     .activate = fi_field_activate,
     .extent = fi_field_extent,
     .hit = fi_field_hit,
     .part_at = fi_field_part_at,
     .press = fi_field_press,
     .input = fi_field_input,
     .takes_input = fi_field_takes_input,
     .reset = fi_field_reset,
     .set_value = fi_field_put_value,
     .get_value = fi_field_get_value,
     .set_text = fi_field_put_text,
     .get_text = fi_field_get_text,
     .link_text = fi_field_link_text,
     .take_link = fi_field_take_link,
     .bar_moved = fi_field_bar_moved,
     .arrow = fi_field_arrow},

    {.name = "FI_CHECKLIST",
     .size = sizeof(fi_checklist),
     .init = fi_checklist_init,
     .free = fi_checklist_free,
     .draw = fi_checklist_draw,
     .erase = fi_checklist_erase,
     .scale = fi_checklist_scale,
     .activate = fi_checklist_activate,
     .extent = fi_checklist_extent,
     .hit = fi_checklist_hit,
     .press = fi_checklist_press,
     .key = fi_state_key,
     .take_link = fi_state_take_link},

    {.name = "FI_DIAL",
     .size = sizeof(fi_dial),
     .init = fi_dial_init,
     .draw = fi_dial_draw,
     .scale = fi_dial_scale,
     .activate = fi_dial_activate,
     .shifted = fi_dial_shifted,
     .press = fi_dial_press,
     .key = fi_numeric_key,
     .set_value = fi_dial_set,
     .set_limit = fi_dial_set_limit,
     .link_text = fi_numeric_link_text,
     .take_link = fi_numeric_take_link},

    {.name = "FI_TEXT",
     .size = sizeof(fi_text),
     .draw = fi_text_draw,
     .erase = fi_text_erase,
     .scale = fi_text_scale,
     .activate = fi_text_activate,
     .extent = fi_text_extent_box,
     .hit = fi_text_hit,
     .link_text = fi_text_link_text,
     .take_link = fi_text_take_link},

    {.name = "FI_BUTTON",
     .size = sizeof(fi_button),
     .init = fi_button_init,
     .free = fi_button_free,
     .draw = fi_button_draw,
     .scale = fi_scale_face,
     .activate = fi_activate_face,
     .press = fi_button_press,
     .key = fi_state_key,
     .take_link = fi_state_take_link},

    {.name = "FI_LINE",
     .size = sizeof(fi_line),
     .init = fi_line_init,
     .draw = fi_line_draw,
     .erase = fi_line_erase,
     .extent = fi_line_extent,
     .hit = fi_hits_never},

    {.name = "FI_BAR",
     .size = sizeof(fi_bar),
     .draw = fi_bar_draw,
     .erase = fi_bar_erase,
     .extent = fi_bar_extent,
     .set_value = fi_bar_set,
     .set_limit = fi_bar_set_limit,
     .take_link = fi_bar_take_link},

    {.name = "FI_RECT",
     .size = sizeof(fi_rect),
     .init = fi_rect_init,
     .draw = fi_rect_draw,
     .erase = fi_rect_erase,
     .extent = fi_rect_extent,
     .hit = fi_rect_hit},

    {.name = "FI_SYMBOL",
     .size = sizeof(FI_gadget),
     .draw = fi_symbol_draw,
     .scale = fi_symbol_scale,
     .activate = fi_symbol_activate},

    {.name = "FI_SCROLL",
     .size = sizeof(fi_scroll),
     .init = fi_scroll_init,
     .free = fi_scroll_free,
     .parts = fi_scroll_parts,
     .draw = fi_scroll_draw,
     .erase = fi_scroll_erase,
     .scale = fi_scroll_scale,
     .activate = fi_scroll_activate,
     .shifted = fi_scroll_shifted,
     .press = fi_scroll_press,
     .key = fi_scroll_key,
     .set_value = fi_scroll_set,
     .set_limit = fi_scroll_set_limit,
     .take_link = fi_scroll_take_link},

    // Not drawn yet.
    {.name = "FI_MCF", .size = sizeof(fi_mcf), .free = fi_mcf_free, .parts = fi_mcf_parts},

    {.name = "FI_BEVEL", .size = sizeof(FI_gadget), .draw = fi_bevel_draw, .hit = fi_hits_never},
};
