// Giving forms a window and taking it away.
#include <algorithm>

#include "forms/env.h"
#include "forms/forms.h"
#include "forms/formshow.h"
#include "forms/ops.h"
#include "forms/show.h"
#include "forms/surface.h"

namespace {

constexpr int PERMANENT_LABEL = 5; // the button that makes a pop-up permanent
constexpr int HAS_COLORS = 0x02;   // flags of a screen
constexpr int OTHER_KIND = 0x20;
constexpr int THIRD_SCREEN = 2;
constexpr int LARGEST = 2; // as many times the screen a pop-up may be in each direction, since what it covers is kept

// ---- the screen ----------------------------------------------------------------------------------------------------

bool is_present(int screen) {
    return fi_state.screens[screen][FI_SCREEN_NUMBER] >= 0;
}

int first_with(int flags, int mask) {
    for (int screen = 0; screen < FI_COLOR_MAPS; ++screen)
        if (is_present(screen) && (fi_state.screens[screen][FI_SCREEN_FLAGS] & mask) == flags) return screen;
    return -1;
}

int screen_by_mode(int mode) {
    switch (mode) {
    case 0: return first_with(OTHER_KIND | HAS_COLORS, OTHER_KIND | HAS_COLORS);
    case 2: return first_with(HAS_COLORS, OTHER_KIND | HAS_COLORS);
    case 3:
        return is_present(THIRD_SCREEN) && (fi_state.screens[THIRD_SCREEN][FI_SCREEN_FLAGS] & HAS_COLORS) != 0
                   ? THIRD_SCREEN
                   : -1;
    default: return -1;
    }
}

bool choose_screen(FI_form* form) {
    int screen = 0;
    if (form->screen_mode == FI_CURRENT_SCREEN)
        fi_graphic.Inq_displayed_vs(&screen);
    else if (form->screen >= 0)
        screen = form->screen;
    else
        screen = screen_by_mode(form->screen_mode);
    if (screen < 0 || screen >= FI_COLOR_MAPS) return false;
    form->screen = static_cast<int16_t>(screen);
    return true;
}

// ---- the window ----------------------------------------------------------------------------------------------------

// The number may still be that of a form whose window the user has closed: the event about it comes later.
void enter_window(FI_form* form, int window) {
    FI_form* lost = fi_state.window_forms[window];
    if (lost != nullptr) {
        fi_forget_window(lost);
        fi_state.lost_forms[window] = lost;
    }
    fi_state.window_forms[window] = form;
}

int open_window(FI_form* form) {
    int window = -1;
    if (fi_graphic.Create_level_window(form->screen, static_cast<int>(form->window_attr), form->x1, form->y1, form->x2,
                                       form->y2, &window) != 0 ||
        window < 0 || window >= FI_WINDOWS)
        return FI_NO_WINDOW;
    enter_window(form, window);
    form->window = static_cast<int16_t>(window);
    return FI_SUCCESS;
}

void leave_popups() {
    fi_graphic.Exit_SR(fi_state.sr_window);
    fi_state.sr_window = -1;
    fi_state.sr_active = false;
}

bool enter_popups(FI_form* form) {
    if (fi_state.sr_active) return true;
    if (fi_graphic.Enter_SR(form->screen, 0, &fi_state.sr_window) != 0) return false;
    fi_state.sr_active = true;
    return true;
}

int open_popup(FI_form* form) {
    if (fi_state.sr_depth + 1 >= FI_WINDOWS || fi_form_width(form) > LARGEST * fi_state.screen_width ||
        fi_form_height(form) > LARGEST * fi_state.screen_height || !enter_popups(form))
        return FI_NO_WINDOW;
    if (fi_graphic.Create_SR_area(fi_state.sr_window, form->x1, form->y1, form->x2, form->y2) != 0) {
        if (fi_state.sr_depth == 0) leave_popups();
        return FI_NO_WINDOW;
    }
    fi_state.sr_forms[++fi_state.sr_depth] = form;
    form->window = static_cast<int16_t>(fi_state.sr_window);
    FI_gadget* permanent = fi_find_gadget(form, PERMANENT_LABEL);
    if (permanent != nullptr) fi_enable_gadget(permanent);
    return FI_SUCCESS;
}

void set_icon(FI_form* form) {
    const int window = form->window;
    char path[FILES_PATH_SIZE];
    uint32_t id = 0;
    if (*form->collapse_symbol_file != '\0') {
        fi_env.FI_FIND_SYMBOL_FILE(path, form->collapse_symbol_file, &id);
        if (path[0] != '\0') fi_graphic.Set_win_collapse_symbol(window, path, form->collapse_symbol_index);
    }
    if (form->collapse_position_pending != 0) {
        fi_graphic.Set_win_collapse_org(window, form->collapse_x, form->collapse_y);
        form->collapse_position_pending = 0;
    } else {
        form->collapse_x = form->x1;
        form->collapse_y = form->y1;
    }
    if ((form->attr_mask & FI_COLLAPSED) != 0) fi_graphic.Collapse_win(window);
}

// Everything about a new window up to showing it. False when the routine for new windows has taken it away again.
bool set_up_window(FI_form* form, bool is_popup) {
    const fi_hold hold(form);
    const int window = form->window;
    ++fi_state.displayed_forms;
    if (!is_popup) set_icon(form); // a pop-up has none
    if ((form->attr_mask & FI_WINDOW_HINT) != 0) fi_graphic.Set_win_sys_hdr(window, 0, 0);
    fi_graphic.Set_win_button_mode(window, 0);
    fi_env.FI_WINDOW_SETUP(window);
    if (hold.gone() || form->window != window) return false;
    fi_graphic.Display_win(window);
    fi_graphic.Set_win_sizes(window, form->min_width, form->min_height, form->max_width, form->max_height);
    return true;
}

int open(FI_form* form, bool* shown) {
    if (!choose_screen(form)) return FI_NO_SCREEN;
    const int width = fi_form_width(form);
    const int height = fi_form_height(form);
    if (width < 1 || height < 1 || width > INT16_MAX || height > INT16_MAX) return FI_NO_WINDOW;
    fi_keep_on_screen(form);
    form->colormap_id = static_cast<uint32_t>(fi_state.screens[form->screen][FI_SCREEN_COLORMAP]);
    const bool is_popup = (form->attr_mask & FI_SAVE_RESTORE) != 0;
    const int status = is_popup ? open_popup(form) : open_window(form);
    if (status == FI_SUCCESS) *shown = set_up_window(form, is_popup);
    return status;
}

} // namespace

int FIf_display(FI_form* form) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (fi_state.no_display) return FI_NO_DISPLAY;
    const fi_hold hold(form);
    bool shown = true;
    const int status = form->window < 0 ? open(form, &shown) : FI_SUCCESS;
    if (status != FI_SUCCESS || !shown) return status;
    fi_draw_form(form);
    if (!hold.gone() && form->window >= 0 && form->start_seq >= 1) FIg_start_seq(form, form->start_seq);
    return FI_SUCCESS;
}

// ---- the other way -------------------------------------------------------------------------------------------------

namespace {

// Forms that changed under a pop-up, where they can be drawn now.
void redraw_stale() {
    for (int i = 0; i < fi_state.form_slots; ++i) {
        FI_form* form = fi_state.forms[i];
        if (form == nullptr || form->stale == 0 || form->window < 0) continue;
        if (fi_state.sr_depth > 0 && fi_state.sr_forms[fi_state.sr_depth] != form) continue;
        fi_draw_form(form);
    }
}

void close_top_popup() {
    FI_form* form = fi_state.sr_forms[fi_state.sr_depth];
    fi_state.sr_forms[fi_state.sr_depth--] = nullptr;
    fi_graphic.Delete_SR_area(fi_state.sr_window);
    if (fi_state.sr_depth == 0) leave_popups();
    fi_forget_window(form);
}

} // namespace

int FIf_erase(FI_form* form) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (form->window < 0) return FI_SUCCESS;
    if (fi_is_popup(form)) {
        while (fi_is_popup(form)) // those above it first
            close_top_popup();
        redraw_stale();
        return FI_SUCCESS;
    }
    const int window = form->window;
    fi_forget_window(form);
    fi_graphic.Delete_win(window);
    return FI_SUCCESS;
}

int FIf_cvrt_to_perm_win(FI_form* form) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if ((form->attr_mask & FI_SAVE_RESTORE) == 0) return FI_SUCCESS;
    if (form->window < 0) return FI_FORM_NOT_DISPLAYED;
    const fi_hold hold(form);
    form->attr_mask &= ~FI_SAVE_RESTORE;
    FIf_erase(form);
    if (hold.gone()) return FI_SUCCESS;
    const int status = FIf_display(form);
    if (status != FI_SUCCESS || hold.gone() || form->window < 0) return status;
    fi_env.FI_WINDOW_SETUP(form->window);
    if (hold.gone()) return FI_SUCCESS;
    FI_gadget* permanent = fi_find_gadget(form, PERMANENT_LABEL);
    if (permanent != nullptr) fi_disable_gadget(permanent);
    return FI_SUCCESS;
}

int FIf_is_displayed(FI_form* form, int* flag) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    *flag = form->window >= 0 ? 1 : 0;
    return FI_SUCCESS;
}

int FIf_get_window(FI_form* form, int* window) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    *window = form->window;
    return form->window >= 0 ? FI_SUCCESS : FI_FORM_NOT_DISPLAYED;
}
