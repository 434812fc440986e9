// Storage of the rows of fields.
#include "forms/fieldrows.h"

#include <algorithm>
#include <cstring>

#include "forms/array.h"
#include "forms/forms.h"
#include "support/memory.h"

namespace {

constexpr uint32_t BLOCK = 64;
constexpr int FIRST_CAPACITY = 16;

// Bytes of a block for a text with its end.
uint32_t room_for(const fi_field* f, uint32_t need) {
    const uint32_t room = (need + BLOCK - 1) / BLOCK * BLOCK;
    const uint32_t most = f->max_chars > 0 ? static_cast<uint32_t>(f->max_chars) * 2 + 1 : 0;
    return most >= need ? std::min(room, most) : room;
}

} // namespace

int fi_row_block(fi_field* f, int row, int length) {
    FI_field_row* r = &f->rows[row];
    const uint32_t room = room_for(f, static_cast<uint32_t>(length) + 1);
    if (r->text != nullptr && r->room == room) return FI_SUCCESS;
    auto* text = static_cast<char*>(mem_realloc(r->text, room));
    if (text == nullptr) return r->text != nullptr && r->room > room ? FI_SUCCESS : FI_NO_MEMORY;
    const uint32_t kept = r->text != nullptr ? std::min(r->room, room) : 0;
    std::memset(text + kept, 0, room - kept);
    text[room - 1] = '\0';
    r->text = text;
    r->room = room;
    return FI_SUCCESS;
}

int fi_row_store(fi_field* f, int row, const char* text, int length) {
    const int status = fi_row_block(f, row, length);
    if (status != FI_SUCCESS) return status;
    std::memmove(f->rows[row].text, text, static_cast<size_t>(length));
    f->rows[row].text[length] = '\0';
    return FI_SUCCESS;
}

void fi_row_cut(fi_field* f, int row, int length) {
    f->rows[row].text[length] = '\0';
    fi_row_block(f, row, length); // a block that stays large is no failure
}

namespace {

int grow(fi_field* f, int count) {
    int capacity = std::max(f->capacity, FIRST_CAPACITY);
    while (capacity < count)
        capacity *= 2;
    if (capacity == f->capacity) return FI_SUCCESS;
    if (!fi_resize(&f->rows, capacity)) return FI_NO_MEMORY;
    std::fill(f->rows + f->capacity, f->rows + capacity, FI_field_row{});
    f->capacity = capacity;
    return FI_SUCCESS;
}

void clear_row(FI_field_row* row) {
    mem_free(row->text);
    *row = {};
}

} // namespace

int fi_rows_resize(fi_field* f, int count) {
    if (count > FI_MAX_ROWS) return FI_INVALID_ROW;
    int status = grow(f, count);
    while (status == FI_SUCCESS && f->num_rows < count) {
        status = fi_row_block(f, f->num_rows, 0);
        if (status == FI_SUCCESS) ++f->num_rows;
    }
    while (f->num_rows > count)
        clear_row(&f->rows[--f->num_rows]);
    return status;
}

void fi_rows_free(fi_field* f) {
    for (int i = 0; i < f->num_rows; ++i)
        clear_row(&f->rows[i]);
    mem_free(f->rows);
    f->rows = nullptr;
    f->num_rows = 0;
    f->capacity = 0;
}

int fi_default_rows_resize(fi_field* f, int count) {
    if (count > FI_MAX_ROWS) return FI_INVALID_ROW;
    if (count <= f->num_default_rows) return FI_SUCCESS;
    if (!fi_resize(&f->default_rows, count)) return FI_NO_MEMORY;
    std::fill(f->default_rows + f->num_default_rows, f->default_rows + count, FI_field_row{});
    for (int i = f->num_default_rows; i < count; ++i)
        f->default_rows[i].text = fi_empty_text;
    f->num_default_rows = static_cast<int16_t>(count);
    return FI_SUCCESS;
}

void fi_default_rows_free(fi_field* f) {
    for (int i = 0; i < f->num_default_rows; ++i)
        fi_string_free(f->default_rows[i].text);
    mem_free(f->default_rows);
    f->default_rows = nullptr;
    f->num_default_rows = 0;
}

namespace {

int copy_default(fi_field* f, int row) {
    const FI_field_row* from = &f->default_rows[row];
    size_t length = std::strlen(from->text);
    if (f->max_chars > 0) length = std::min(length, static_cast<size_t>(f->max_chars) * 2);
    f->rows[row].selected = from->selected;
    f->rows[row].color = from->color;
    return fi_row_store(f, row, from->text, static_cast<int>(length));
}

// Only the last selected row stays so in a single-select field; a roll-through field shows it.
void settle_selection(fi_field* f) {
    int last = -1;
    for (int i = 0; i < f->num_rows; ++i)
        if (f->rows[i].selected != 0) last = i;
    if (last >= 0 && (f->flags & FI_ROLL_THROUGH) != 0) f->active_row = f->top_row = static_cast<int16_t>(last);
    if (f->mode != FI_SINGLE_SELECT) return;
    for (int i = 0; i < last; ++i)
        f->rows[i].selected = 0;
    f->selected_row = static_cast<int16_t>(last);
}

} // namespace

int fi_rows_from_defaults(fi_field* f) {
    fi_rows_free(f);
    f->active_row = f->top_row = f->cursor_char = f->first_char = 0;
    f->selected_row = -1;
    int count = f->num_default_rows;
    if (f->max_rows > 0) count = std::min(count, int{f->max_rows});
    if (count == 0) return FI_SUCCESS;
    int status = fi_rows_resize(f, count);
    for (int i = 0; i < count && status == FI_SUCCESS; ++i)
        status = copy_default(f, i);
    settle_selection(f);
    return status;
}
