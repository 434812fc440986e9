// The table of operations by type of gadget. A slot that isn't named is null: ops.h says what that means.
#include "forms/button.h"
#include "forms/checklist.h"
#include "forms/edges.h"
#include "forms/faces.h"
#include "forms/parts.h"
#include "forms/press.h"
#include "forms/scroll.h"
#include "forms/static.h"
#include "forms/textops.h"
#include "forms/toggle.h"

const fi_gadget_ops fi_types[FI_TYPES] = {
    // Operations on a group go to its members.
    {.name = "FI_GROUP", .size = sizeof(FI_group), .init = fi_group_init},

    // Not drawn yet.
    {.name = "FI_SLIDER", .size = sizeof(fi_slider), .init = fi_slider_init},

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

    // Not drawn yet.
    {.name = "FI_FIELD",
     .size = sizeof(fi_field),
     .init = fi_field_init,
     .free = fi_field_free,
     .parts = fi_field_parts},

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

    // Not drawn yet.
    {.name = "FI_DIAL", .size = sizeof(fi_dial), .init = fi_dial_init},

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

    // Not drawn yet.
    {.name = "FI_BAR", .size = sizeof(fi_bar)},

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
