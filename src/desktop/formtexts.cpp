#include "desktop/formtexts.h"

#include <algorithm>

#include "tools/windows.h"

namespace {

constexpr double DESIGN_WIDTH = 0.0008445945945945946;  // 1 / 1184
constexpr double DESIGN_HEIGHT = 0.0012048192771084338; // 1 / 830
constexpr int EDGE = 2;

} // namespace

void form_set_text(FI_form* form, int label, const char* text) {
    char latin1[FORM_TEXT_SIZE];
    text_to_latin1(text, latin1, sizeof latin1);
    FIfld_set_text(form, label, 0, 0, latin1, 0);
    FIfld_set_active_char(form, label, 0, 0, 0);
}

void form_get_text(FI_form* form, int label, char text[FORM_TEXT_SIZE]) {
    char latin1[FILES_PATH_SIZE];
    text[0] = '\0';
    if (FIfld_get_text(form, label, 0, 0, sizeof latin1, latin1, nullptr, nullptr) != FI_SUCCESS) return;
    if (!text_to_utf8(latin1, text, FORM_TEXT_SIZE)) text[0] = '\0';
}

void form_show_text(FI_form* form, int label, const char* text) {
    char latin1[FORM_TEXT_SIZE];
    text_to_latin1(text, latin1, sizeof latin1);
    FIg_erase(form, label);
    FIg_set_text(form, label, latin1);
    FIg_activate(form, label);
    FIg_display(form, label);
}

void form_fit_screen(FI_form* form) {
    int x = 0, y = 0, width = 0, height = 0;
    FIf_get_location(form, &x, &y);
    FIf_get_size(form, &width, &height);
    const int screen_w = screen_width + 1;
    const int screen_h = screen_height + 1;
    const double fx = screen_w * DESIGN_WIDTH;
    const double fy = screen_h * DESIGN_HEIGHT;
    const int w = std::min(static_cast<int>(width * fx), screen_w - EDGE);
    const int h = std::min(static_cast<int>(height * fy), screen_h - EDGE);
    FIf_set_size(form, w, h);
    FIf_set_location(form, std::min(static_cast<int>(x * fx), screen_w - EDGE - w),
                     std::min(static_cast<int>(y * fy), screen_h - EDGE - h));
}
