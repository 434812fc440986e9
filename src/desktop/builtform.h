// Forms that the program builds itself, from a table of their gadgets.
#pragma once

#include <cstdint>

#include "forms/forms.h"

struct built_gadget {
    int type, label;
    int x1, y1, x2, y2;
    const char* text;    // of a toggle the off text; null: a symbol's face
    const char* on_text; // of a toggle; else null
    const char* font;    // or the symbol file
    int body_size;
    int symbol;
    uint32_t attributes;
    int group; // label of the group that it belongs to; 0: none
};

constexpr const char* FONT_TEXT = "swiss742b";
constexpr const char* FONT_FIELD = "mono821b";
constexpr const char* FONT_SYMBOLS = "FIsym";

// Makes a blank form of that size, in the middle of the screen, with the gadgets. The status of the call that failed,
// with no form then.
int build_form(int label, int width, int height, const built_gadget* gadgets, int count, FI_notification notify,
               FI_form** form);
