// Links: the value of a gadget travels to the gadget that its link_label names, and on from there, once around at most.
#pragma once

#include "forms/ops.h"

// Carries the gadget's value, or with `text` that, along its link. While a link is carried already, it takes its turn
// afterwards. May call out.
void fi_carry_link(FI_gadget* g);
void fi_carry_link_text(FI_gadget* g, const char* text);

// The number at the start of what came along; 0 when there is none.
double fi_link_number(const char* text);
