// Making and deleting of forms.
#include <algorithm>
#include <cstring>

#include "forms/array.h"
#include "forms/env.h"
#include "forms/forms.h"
#include "forms/formshow.h"
#include "forms/frm.h"
#include "forms/ops.h"
#include "forms/show.h"
#include "platform/files.h"
#include "support/memory.h"

namespace {

constexpr int TABLE_GROWTH = 32; // slots
constexpr int16_t SMALLEST_WINDOW = 10;
constexpr uint8_t USUAL_BACKGROUND = FI_LT_GREY;

bool enter(FI_form* form) {
    FI_form** end = fi_state.forms + fi_state.form_slots;
    FI_form** slot = std::find(fi_state.forms, end, nullptr);
    if (slot != end) {
        *slot = form;
        return true;
    }
    const int slots = fi_state.form_slots + TABLE_GROWTH;
    if (!fi_resize(&fi_state.forms, slots)) return false;
    std::fill(fi_state.forms + fi_state.form_slots, fi_state.forms + slots, nullptr);
    fi_state.forms[fi_state.form_slots] = form;
    fi_state.form_slots = slots;
    return true;
}

void leave(FI_form* form) {
    std::replace(fi_state.forms, fi_state.forms + fi_state.form_slots, form, static_cast<FI_form*>(nullptr));
    std::replace(fi_state.lost_forms, fi_state.lost_forms + FI_WINDOWS, form, static_cast<FI_form*>(nullptr));
}

void free_contents(FI_form* form) {
    if (form->root_group != nullptr) fi_free_gadget(fi_common(form->root_group), false);
    form->root_group = nullptr;
    for (char** text : {&form->collapse_symbol_file, &form->file_name, &form->description}) {
        fi_string_free(*text);
        *text = fi_empty_text;
    }
    for (int i = 0; i < form->string_count; ++i)
        fi_string_free(form->strings[i]);
    mem_free(form->strings);
    form->strings = nullptr;
    form->string_count = 0;
}

} // namespace

FI_form* fi_new_form_record() {
    auto* form = mem_new<FI_form>();
    if (form == nullptr) return nullptr;
    fi_take_screen_size();
    form->window = form->screen = -1;
    form->screen_mode = FI_CURRENT_SCREEN;
    form->bg_color = USUAL_BACKGROUND;
    form->min_width = form->min_height = SMALLEST_WINDOW;
    form->max_width = static_cast<int16_t>(std::min(fi_state.screen_width, int{INT16_MAX}));
    form->max_height = static_cast<int16_t>(std::min(fi_state.screen_height, int{INT16_MAX}));
    form->next_label = FI_FIRST_LABEL;
    form->next_negative_label = -1;
    form->start_seq = FI_NO_START;
    form->collapse_symbol_file = form->file_name = form->description = fi_empty_text;
    return form;
}

void fi_free_form_record(FI_form* form) {
    form->dead = 1;
    free_contents(form);
    if (form->holds == 0) mem_free(form);
}

// ---- the file ------------------------------------------------------------------------------------------------------

namespace {

// The whole file in memory, for mem_free().
int load_file(const char* path, uint8_t** bytes, size_t* size) {
    const os_file file = files_open(path, FILES_READ);
    if (file == OS_FILE_NONE) return FI_FORM_FILE_NOT_FOUND;
    int status = FI_FORM_FILE_NOT_FOUND;
    const int64_t length = files_size(file);
    if (length >= 0 && static_cast<uint64_t>(length) < SIZE_MAX) {
        *size = static_cast<size_t>(length);
        *bytes = static_cast<uint8_t*>(mem_alloc(*size));
        status = *bytes == nullptr                           ? FI_NO_MEMORY
                 : files_read(file, *bytes, *size) == length ? FI_SUCCESS
                                                             : FI_FORM_FILE_READ_ERROR;
    }
    files_close(file);
    return status;
}

const char* name_of(const char* path) {
    return files_last_name(path);
}

int read_file(FI_form* form, const char* file_name) {
    char path[FILES_PATH_SIZE];
    if (fi_env.FI_FIND_FORM(path, file_name) != 0) return FI_FORM_FILE_NOT_FOUND;
    int status = fi_string_set(&form->file_name, name_of(file_name));
    uint8_t* bytes = nullptr;
    size_t size = 0;
    if (status == FI_SUCCESS) status = load_file(path, &bytes, &size);
    if (status == FI_SUCCESS) status = frm_read(bytes, size, form);
    mem_free(bytes);
    if (status == FI_SUCCESS) fi_activate_gadget(fi_common(form->root_group));
    return status;
}

int fill(FI_form* form, const char* file_name) {
    if (*file_name != '\0') {
        const int status = read_file(form, file_name);
        if (status == FI_SUCCESS) form->complete = 1;
        return status;
    }
    form->blank = 1;
    form->root_group = fi_new_root(form, FI_GROUP_SLOTS);
    return form->root_group != nullptr ? FI_SUCCESS : FI_NO_MEMORY;
}

} // namespace

int FIf_new(int label, const char* file_name, FI_notification notification_routine, FI_form** form) {
    *form = nullptr;
    FI_form* fresh = fi_new_form_record();
    if (fresh == nullptr) return FI_NO_MEMORY;
    fresh->label = static_cast<uint32_t>(label);
    fresh->notification_routine = notification_routine;
    const int status = enter(fresh) ? fill(fresh, file_name != nullptr ? file_name : "") : FI_NO_MEMORY;
    if (status != FI_SUCCESS) {
        leave(fresh);
        fi_free_form_record(fresh);
        return status;
    }
    *form = fresh;
    return FI_SUCCESS;
}

// The routine that is told may delete it again, and that is enough of it.
int FIf_delete(FI_form* form) {
    if (!fi_form_exists(form)) return FI_NO_SUCH_FORM;
    if (form->deleting != 0) return FI_SUCCESS;
    form->deleting = 1;
    FIf_erase(form);
    fi_tell_window_event(form, FI_DELETED_EVENT);
    FIf_erase(form); // it may have been shown again
    leave(form);
    fi_free_form_record(form);
    return FI_SUCCESS;
}

int FIf_is_valid(const FI_form* form) {
    return fi_form_exists(form) ? FI_SUCCESS : FI_NO_SUCH_FORM;
}
