// What fields are: type, mode, attributes, formats, limits, sizes, lists.
#include <algorithm>
#include <cstring>

#include "forms/fieldcall.h"
#include "forms/forms.h"
#include "forms/mcf.h"
#include "forms/show.h"
#include "forms/surface.h"
#include "support/memory.h"

int FIfld_get_type(FI_form* form, int label, int column, int* type) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status == FI_SUCCESS) *type = f->field_type;
    return status;
}

int FIfld_set_type(FI_form* form, int label, int column, int type) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (type < FI_ALPHA || type > FI_DOUBLE) return FI_INVALID_ARGUMENT;
    f->field_type = static_cast<uint16_t>(type);
    return FI_SUCCESS;
}

int FIfld_get_mode(FI_form* form, int label, int column, int* mode) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status == FI_SUCCESS) *mode = f->mode;
    return status;
}

int FIfld_set_mode(FI_form* form, int label, int column, int mode) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (mode < FI_INSERT || mode > FI_APPEND) return FI_INVALID_ARGUMENT;
    f->mode = static_cast<uint16_t>(mode);
    if (mode == FI_SINGLE_SELECT) {
        for (int row = 0; row < f->num_rows; ++row)
            f->rows[row].selected = 0;
        if (fi_row_exists(f, f->selected_row)) f->rows[f->selected_row].selected = 1;
    }
    fi_redraw_gadget(fi_gadget_of(f));
    return FI_SUCCESS;
}

int FIfld_set_format(FI_form* form, int label, int column, const char* format) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (format != nullptr && *format != '\0' && !fi_is_number_format(format)) return FI_INVALID_ARGUMENT;
    return fi_string_set(&f->format, format);
}

int FIfld_set_verify_routine(FI_form* form, int label, int column, FI_verify routine) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status == FI_SUCCESS) f->verify_routine = routine;
    return status;
}

// ---- characters ----------------------------------------------------------------------------------------------------

int FIfld_set_max_num_chars(FI_form* form, int label, int column, int count) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (count < 0) return FI_INVALID_ARGUMENT;
    f->max_chars = fi_short(count);
    fi_field_cut_rows(f);
    if (f->max_chars == 0 || f->visible_chars < f->max_chars)
        f->flags |= FI_HORT_SCROLL;
    else
        f->flags &= ~FI_HORT_SCROLL;
    fi_view_fix(f);
    fi_field_draw_text(f);
    return FI_SUCCESS;
}

int FIfld_get_num_vis_chars(FI_form* form, int label, int column, int* count) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status == FI_SUCCESS) *count = f->visible_chars;
    return status;
}

// ---- default rows --------------------------------------------------------------------------------------------------

int FIfld_set_default_text(FI_form* form, int label, int row, int column, const char* text, int select) {
    fi_field* f = nullptr;
    int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (row < 0 || row >= FI_MAX_ROWS) return FI_INVALID_ROW;
    const mem_guard<char> own(mem_copy_text(text != nullptr ? text : ""));
    if (!own) return FI_NO_MEMORY;
    if (fi_wraps(f)) own[static_cast<size_t>(fi_char_offset(f, own.get(), f->max_chars))] = '\0';
    status = fi_default_rows_resize(f, row + 1);
    if (status == FI_SUCCESS) status = fi_string_set(&f->default_rows[row].text, own.get());
    if (status != FI_SUCCESS) return status;
    f->default_rows[row].selected = select != 0 ? 1 : 0;
    return fi_field_set_text(f, row, own.get(), select);
}

// ---- attributes ----------------------------------------------------------------------------------------------------

int FIfld_get_attr(FI_form* form, int label, int column, uint32_t* bits) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    *bits = 0;
    for (const fi_public_flag& one : fi_public_flags)
        if (fi_flag(f, one.flag)) *bits |= one.public_bit;
    if (f->list != nullptr && !fi_flag(f, FI_POPUP_LIST)) *bits |= FI_PUBLIC_OPEN_LIST;
    return FI_SUCCESS;
}

namespace {

constexpr float STRIP_ROOM = 15; // that a new strip adds to the width
constexpr uint32_t KIND_FLAGS = FI_IS_LIST | FI_MCF_COLUMN;

uint32_t flags_of(uint32_t bits) {
    uint32_t flags = 0;
    for (const fi_public_flag& one : fi_public_flags)
        if ((bits & one.public_bit) != 0) flags |= one.flag;
    return flags;
}

// Takes what is drawn of the field away before it is changed, and draws it anew afterwards.
class redrawn {
public:
    explicit redrawn(fi_field* changed)
        : f(changed), hold(fi_gadget_of(changed)), shown(fi_field_usable_look(changed)) {
        if (fi_list_is_open(f)) fi_close_list();
        if (hold.gone() || !shown) return;
        had_cursor = fi_edit.field == f && fi_edit.cursor;
        fi_edit.cursor = fi_edit.cursor && !had_cursor;
        fi_erase_gadget(fi_reporter_of(f));
    }
    ~redrawn() {
        if (hold.gone() || !shown) return;
        FI_gadget* g = fi_reporter_of(f);
        fi_allow_display(g);
        fi_display_gadget(g, fi_draw_window(g->form));
        if (had_cursor) fi_show_cursor(f, true);
    }
    redrawn(const redrawn&) = delete;
    redrawn& operator=(const redrawn&) = delete;
    bool gone() const { return hold.gone(); }

private:
    static bool fi_field_usable_look(fi_field* f) {
        const FI_gadget* g = fi_reporter_of(f);
        return g->displayed != 0 && !fi_has(g, FI_NOT_DISPLAYED);
    }
    fi_field* f;
    fi_hold hold;
    bool shown;
    bool had_cursor = false;
};

void hide_pop_up(const fi_field* f) {
    for (uint32_t* mask : {&f->list->attr_mask, &f->list->default_attr_mask})
        *mask = fi_flag(f, FI_POPUP_LIST) ? *mask | FI_NOT_DISPLAYED : *mask & ~FI_NOT_DISPLAYED;
}

void add_strip(fi_field* f) {
    f->common.x2 += STRIP_ROOM;
    fi_measure_field(f);
}

// Makes the parts that the flags ask for. FI_status.
int make_parts(fi_field* f, bool wants_list) {
    int status = FI_SUCCESS;
    if (fi_flag(f, FI_VERT_SCROLL) && !fi_is_column(&f->common)) status = fi_make_bar(f);
    if (status == FI_SUCCESS && fi_flag(f, FI_HORT_SCROLL)) status = fi_make_arrows(f);
    if (status == FI_SUCCESS && wants_list) status = fi_make_list(f);
    return status;
}

void follow_flags(fi_field* f, bool wants_list) {
    if (!fi_flag(f, FI_VERT_SCROLL)) fi_drop_bar(f);
    if (!fi_flag(f, FI_HORT_SCROLL)) fi_drop_arrows(f);
    if (!wants_list) fi_drop_list(f);
    if (f->list != nullptr) hide_pop_up(f);
    if (fi_flag(f, FI_VERT_SCROLL | FI_ROLL_THROUGH)) f->max_rows = 0;
    if (fi_flag(f, FI_HORT_SCROLL))
        f->max_chars = 0;
    else if (f->max_chars <= 0)
        f->max_chars = f->visible_chars;
}

} // namespace

int FIfld_set_attr(FI_form* form, int label, int column, uint32_t bits) {
    fi_field* f = nullptr;
    int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    redrawn around(f);
    if (around.gone()) return FI_NO_SUCH_GADGET;
    const uint32_t before = f->flags;
    const bool had_strip = fi_has_strip(f);
    const bool wants_list = (flags_of(bits) & FI_POPUP_LIST) != 0 || (bits & FI_PUBLIC_OPEN_LIST) != 0;
    f->flags = (before & KIND_FLAGS) | flags_of(bits);
    status = make_parts(f, wants_list);
    if (status != FI_SUCCESS) {
        f->flags = before;
        return status;
    }
    follow_flags(f, wants_list);
    if (!had_strip && fi_has_strip(f)) add_strip(f);
    fi_place_parts(f);
    fi_view_fix(f);
    fi_update_bar(f);
    if (fi_mcf* table = fi_table_of(f); table != nullptr) fi_mcf_refit(table);
    return FI_SUCCESS;
}

int FIfld_set_num_vis_chars(FI_form* form, int label, int column, int count) {
    constexpr float STRIP_WIDTH = 17; // that a strip takes of the width
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (count < 1 || count > INT16_MAX / std::max(f->common.char_width, 1)) return FI_INVALID_ARGUMENT;
    redrawn around(f);
    if (around.gone()) return FI_NO_SUCH_GADGET;
    if (f->row_height == 0) fi_activate_gadget(fi_gadget_of(f)); // its font is missing yet
    if (f->visible_chars == f->max_chars) f->max_chars = fi_short(count);
    f->common.x2 = f->common.x1 + static_cast<float>(count * std::max(f->common.char_width, 1)) +
                   (fi_has_strip(f) ? STRIP_WIDTH : 0);
    fi_measure_field(f);
    fi_field_cut_rows(f);
    fi_place_parts(f);
    if (fi_mcf* table = fi_table_of(f); table != nullptr) fi_mcf_refit(table);
    return FI_SUCCESS;
}

// ---- lists ---------------------------------------------------------------------------------------------------------

namespace {

int list_of_call(FI_form* form, int label, int column, fi_field** list) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (f->list == nullptr) return FI_INVALID_GADGET_TYPE;
    *list = fi_as<fi_field>(f->list);
    return FI_SUCCESS;
}

constexpr float LOW_LIST = 31; // a lower one has a wider bar, with its arrows side by side
constexpr float WIDE_BAR = 50;
constexpr float USUAL_BAR = 25;
constexpr float LIST_ARROWS = 10;

// The list's rectangle has changed.
void refit_list(fi_field* list) {
    FI_gadget* g = fi_gadget_of(list);
    fi_activate_gadget(g);
    if (list->scroll_bar != nullptr)
        list->scroll_bar->x2 = list->scroll_bar->x1 + (g->y2 - g->y1 < LOW_LIST ? WIDE_BAR : USUAL_BAR);
    for (FI_gadget* arrow : list->arrows)
        if (arrow != nullptr) arrow->y2 = arrow->y1 + LIST_ARROWS;
    fi_place_parts(list);
}

bool is_place(int v) {
    return v >= INT16_MIN && v <= INT16_MAX;
}

} // namespace

int FIfld_get_list_label(FI_form* form, int label, int column, int* list_label) {
    fi_field* list = nullptr;
    const int status = list_of_call(form, label, column, &list);
    if (status == FI_SUCCESS) *list_label = list->common.label;
    return status;
}

int FIfld_get_list_size(FI_form* form, int label, int column, int* width, int* height) {
    fi_field* list = nullptr;
    const int status = list_of_call(form, label, column, &list);
    if (status != FI_SUCCESS) return status;
    *width = static_cast<int>(list->common.x2 - list->common.x1);
    *height = static_cast<int>(list->common.y2 - list->common.y1);
    return FI_SUCCESS;
}

int FIfld_set_list_size(FI_form* form, int label, int column, int width, int height) {
    fi_field* list = nullptr;
    const int status = list_of_call(form, label, column, &list);
    if (status != FI_SUCCESS) return status;
    if (width < 1 || height < 1 || !is_place(width) || !is_place(height)) return FI_INVALID_ARGUMENT;
    redrawn around(fi_as<fi_field>(list->common.owner));
    if (around.gone()) return FI_NO_SUCH_GADGET;
    list->common.x2 = list->common.x1 + static_cast<float>(width);
    list->common.y2 = list->common.y1 + static_cast<float>(height);
    refit_list(list);
    return FI_SUCCESS;
}

int FIfld_get_list_location(FI_form* form, int label, int column, int* x, int* y) {
    fi_field* list = nullptr;
    const int status = list_of_call(form, label, column, &list);
    if (status != FI_SUCCESS) return status;
    *x = static_cast<int>(list->common.x1);
    *y = static_cast<int>(list->common.y1);
    return FI_SUCCESS;
}

int FIfld_set_list_location(FI_form* form, int label, int column, int x, int y) {
    fi_field* list = nullptr;
    const int status = list_of_call(form, label, column, &list);
    if (status != FI_SUCCESS) return status;
    if (!is_place(x) || !is_place(y)) return FI_INVALID_ARGUMENT;
    redrawn around(fi_as<fi_field>(list->common.owner));
    if (around.gone()) return FI_NO_SUCH_GADGET;
    fi_shift_gadget(&list->common, static_cast<float>(x) - list->common.x1, static_cast<float>(y) - list->common.y1);
    return FI_SUCCESS;
}
