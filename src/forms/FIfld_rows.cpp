// Rows of fields: texts, numbers, selection, active row.
#include <algorithm>
#include <cstring>

#include "forms/fieldcall.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/mcf.h"
#include "support/memory.h"

// ---- which field ---------------------------------------------------------------------------------------------------

namespace {

FI_gadget* list_in(FI_group* group, int label);

// The list of a field, or of a column, by its label: lists are private to their owners.
FI_gadget* list_of(FI_gadget* g, int label) {
    if (fi_has_members(g)) return list_in(fi_as_group(g), label);
    if (g->type != FI_FIELD) return nullptr;
    FI_gadget* list = fi_as<fi_field>(g)->list;
    return list != nullptr && list->label == label ? list : nullptr;
}

FI_gadget* list_in(FI_group* group, int label) {
    int at = 0;
    while (FI_gadget* member = fi_next_member(group, &at)) {
        FI_gadget* list = list_of(member, label);
        if (list != nullptr) return list;
    }
    return nullptr;
}

} // namespace

int fi_field_of_call(FI_form* form, int label, int column, fi_field** f) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status == FI_NO_SUCH_GADGET) g = list_in(form->root_group, label);
    if (g == nullptr) return status != FI_SUCCESS ? status : FI_NO_SUCH_GADGET;
    if (g->type != FI_FIELD && g->type != FI_MCF) return FI_INVALID_GADGET_TYPE;
    if (g->type == FI_FIELD) {
        *f = fi_as<fi_field>(g);
        return FI_SUCCESS;
    }
    auto* m = fi_as<fi_mcf>(g);
    if (column < FI_ACTIVE_COLUMN || column >= fi_mcf_columns(m) || fi_mcf_columns(m) == 0) return FI_INVALID_COLUMN;
    *f = column == FI_ACTIVE_COLUMN ? fi_mcf_current(m) : fi_mcf_column(m, column);
    return FI_SUCCESS;
}

namespace {

// The row's place among the visible ones, or -1.
int place_of(const fi_field* f, int row) {
    const int place = row - f->top_row;
    return place >= 0 && place < f->visible_rows ? place : -1;
}

template <typename T> void give(T* out, T value) {
    if (out != nullptr) *out = value;
}

// Selection and place of a row; for one that isn't there what the calls say of it.
int tell_row(const fi_field* f, int row, int* select, int* position) {
    const bool exists = fi_row_exists(f, row);
    give(select, exists ? int{f->rows[row].selected} : f->num_rows > 0 ? -1 : 0);
    give(position, exists ? place_of(f, row) : f->num_rows > 0 ? -1 : 0);
    return exists || f->num_rows == 0 ? FI_SUCCESS : FI_INVALID_ROW;
}

// A wrapped text's newline stands behind the row that it ends.
bool ends_with_newline(const fi_field* f, int row) {
    return fi_flag(f, FI_WRAP) && fi_row_exists(f, row + 1) && f->rows[row + 1].after_newline != 0;
}

} // namespace

// ---- texts and numbers ---------------------------------------------------------------------------------------------

int FIfld_get_text(FI_form* form, int label, int row, int column, int size, char* text, int* select, int* position) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (size < 1) return FI_INVALID_ARGUMENT;
    const char* from = fi_row_text(f, row);
    const size_t length = std::min(std::strlen(from), static_cast<size_t>(size) - 1);
    std::memcpy(text, from, length);
    text[length] = '\0';
    if (ends_with_newline(f, row) && length + 1 < static_cast<size_t>(size)) std::strcpy(text + length, "\n");
    return tell_row(f, row, select, position);
}

int FIfld_set_text(FI_form* form, int label, int row, int column, const char* text, int select) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    return status != FI_SUCCESS ? status : fi_field_set_text(f, row, text != nullptr ? text : "", select);
}

int FIfld_get_text_length(FI_form* form, int label, int row, int column, int* length) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    const bool exists = fi_row_exists(f, row);
    *length = exists ? static_cast<int>(std::strlen(fi_row_text(f, row))) + 1 : f->rows == nullptr ? 1 : 0;
    if (exists && ends_with_newline(f, row)) ++*length;
    return exists || f->rows == nullptr ? FI_SUCCESS : FI_INVALID_ROW;
}

int FIfld_get_value(FI_form* form, int label, int row, int column, double* value, int* select, int* position) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (f->field_type == FI_ALPHA) return FI_INVALID_ARGUMENT;
    *value = 0;
    fi_read_number(fi_row_text(f, row), value);
    return tell_row(f, row, select, position);
}

int FIfld_set_value(FI_form* form, int label, int row, int column, double value, int select) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    return status != FI_SUCCESS ? status : fi_field_set_value(f, row, value, select);
}

// ---- selection -----------------------------------------------------------------------------------------------------

int FIfld_get_select(FI_form* form, int label, int row, int column, int* select) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    *select = fi_row_exists(f, row) ? f->rows[row].selected : 0;
    return fi_row_exists(f, row) ? FI_SUCCESS : FI_INVALID_ROW;
}

int FIfld_set_select(FI_form* form, int label, int row, int column, int select) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    if (!fi_row_exists(f, row)) return FI_INVALID_ROW;
    fi_field_set_select(f, row, select);
    return FI_SUCCESS;
}

// ---- the active row ------------------------------------------------------------------------------------------------

int FIfld_get_active_row(FI_form* form, int label, int* row, int* position) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, FI_ACTIVE_COLUMN, &f);
    if (status != FI_SUCCESS) return status;
    give(row, int{f->active_row});
    give(position, place_of(f, f->active_row));
    return FI_SUCCESS;
}

int FIfld_set_active_row(FI_form* form, int label, int row, int position) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, FI_ACTIVE_COLUMN, &f);
    if (status != FI_SUCCESS) return status;
    if (row < 0 || (f->num_rows > 0 && row >= f->num_rows)) return FI_INVALID_ROW;
    const bool had_cursor = fi_edit.field == f && fi_edit.cursor;
    fi_show_cursor(f, false);
    f->active_row = fi_short(f->num_rows > 0 ? row : 0);
    fi_field_fix_cursor(f);
    if (position >= 0 && fi_is_scrolled(f)) fi_view_to(f, row - std::min(position, f->visible_rows - 1));
    if (fi_mcf* table = fi_table_of(f); table != nullptr) fi_mcf_sync_rows(table, f);
    if (had_cursor) fi_show_cursor(f, true);
    return FI_SUCCESS;
}

int FIfld_set_active_char(FI_form* form, int label, int column, int character, int position) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, column, &f);
    if (status != FI_SUCCESS) return status;
    const bool had_cursor = fi_edit.field == f && fi_edit.cursor;
    fi_show_cursor(f, false);
    f->cursor_char = fi_short(std::clamp(character, 0, fi_row_length(f, f->active_row)));
    position = std::clamp(position, 0, std::max(f->visible_chars - 1, 0));
    if (fi_flag(f, FI_HORT_SCROLL)) {
        f->first_char = fi_short(std::max(f->cursor_char - position, 0));
        fi_field_draw_text(f);
    }
    if (had_cursor) fi_show_cursor(f, true);
    return FI_SUCCESS;
}

// ---- how many ------------------------------------------------------------------------------------------------------

int FIfld_get_num_rows(FI_form* form, int label, int* count) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, FI_ACTIVE_COLUMN, &f);
    if (status == FI_SUCCESS) *count = f->num_rows;
    return status;
}

namespace {

// Draws the field, or all columns of its table.
void draw_whole(fi_field* f) {
    fi_mcf* table = fi_table_of(f);
    if (table == nullptr) return fi_field_draw_text(f);
    for (int i = 0; i < fi_mcf_columns(table); ++i)
        fi_field_draw_text(fi_mcf_column(table, i));
}

} // namespace

int FIfld_set_num_rows(FI_form* form, int label, int count) {
    fi_field* f = nullptr;
    int status = fi_field_of_call(form, label, FI_ACTIVE_COLUMN, &f);
    if (status != FI_SUCCESS) return status;
    status = fi_set_num_rows(f, std::max(count, 0), true);
    draw_whole(f);
    return status;
}

int FIfld_delete_rows(FI_form* form, int label, int row, int count) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, FI_ACTIVE_COLUMN, &f);
    if (status != FI_SUCCESS) return status;
    if (count < 1 || !fi_row_exists(f, row)) return FI_INVALID_ROW;
    fi_remove_rows(f, row, std::min(count, f->num_rows - row));
    draw_whole(f);
    return FI_SUCCESS;
}

int FIfld_get_num_vis_rows(FI_form* form, int label, int* count) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, FI_ACTIVE_COLUMN, &f);
    if (status == FI_SUCCESS) *count = f->visible_rows;
    return status;
}

int FIfld_get_row_height(FI_form* form, int label, int* height) {
    fi_field* f = nullptr;
    const int status = fi_field_of_call(form, label, 0, &f);
    if (status == FI_SUCCESS) *height = static_cast<int>(f->row_height);
    return status;
}

// ---- as gadgets ----------------------------------------------------------------------------------------------------

int fi_field_put_value(FI_gadget* g, double value) {
    return fi_field_set_value(fi_as<fi_field>(g), 0, value, 0);
}

int fi_field_get_value(const FI_gadget* g, double* value) {
    const auto* f = fi_as<fi_field>(g);
    *value = 0;
    fi_read_number(fi_row_text(f, f->active_row), value);
    return FI_SUCCESS;
}

int fi_field_put_text(FI_gadget* g, const char* text) {
    auto* f = fi_as<fi_field>(g);
    const int row = f->active_row;
    const int status = fi_field_set_text(f, row, text, fi_row_exists(f, row) ? f->rows[row].selected : 0);
    if (status == FI_SUCCESS) fi_carry_link_text(g, text);
    return status;
}

int fi_field_get_text(FI_gadget* g, char* buffer, int* length) {
    const auto* f = fi_as<fi_field>(g);
    const char* text = fi_row_text(f, f->active_row);
    if (buffer != nullptr) std::strcpy(buffer, text);
    if (length != nullptr) *length = static_cast<int>(std::strlen(text)) + 1;
    return FI_SUCCESS;
}

char* fi_field_link_text(FI_gadget* g) {
    constexpr size_t LONGEST = 200; // that travels along a link
    const auto* f = fi_as<fi_field>(g);
    const char* text = fi_row_text(f, f->active_row);
    const size_t length = strnlen(text, LONGEST);
    if (length == 0) return fi_empty_text;
    char* copy = mem_new_array<char>(length + 1);
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

void fi_field_take_link(FI_gadget* g, const char* text) {
    if (fi_as<fi_field>(g)->field_type == FI_ALPHA) {
        fi_field_put_text(g, text);
        return;
    }
    if (fi_field_put_value(g, fi_link_number(text)) == FI_SUCCESS) fi_carry_link(g);
}
