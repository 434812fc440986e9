// The life of the types of gadgets, as the table in types.cpp names it: init sets defaults that aren't zero and makes
// private gadgets, free gives back what the type owns, parts lists its private gadgets.
#pragma once

#include "forms/ops.h"

int fi_group_init(FI_gadget* g);

int fi_toggle_init(FI_gadget* g);
void fi_toggle_free(FI_gadget* g);
int fi_button_init(FI_gadget* g);
void fi_button_free(FI_gadget* g);
int fi_checklist_init(FI_gadget* g);
void fi_checklist_free(FI_gadget* g);
int fi_line_init(FI_gadget* g);
int fi_rect_init(FI_gadget* g);

int fi_slider_init(FI_gadget* g);
int fi_dial_init(FI_gadget* g);
int fi_scroll_init(FI_gadget* g);
void fi_scroll_free(FI_gadget* g);
int fi_scroll_parts(const FI_gadget* g, FI_gadget** parts);

int fi_field_init(FI_gadget* g);
void fi_field_free(FI_gadget* g);
int fi_field_parts(const FI_gadget* g, FI_gadget** parts);
void fi_mcf_free(FI_gadget* g);
int fi_mcf_parts(const FI_gadget* g, FI_gadget** parts);
