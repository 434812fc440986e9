// Making and freeing of gadgets, and of the strings that records own.
#include <algorithm>
#include <cstring>

#include "forms/forms.h"
#include "forms/ops.h"
#include "forms/show.h"
#include "support/memory.h"

char fi_empty_text[1] = "";

char* fi_string_dup(const char* text) {
    return text == nullptr || *text == '\0' ? fi_empty_text : mem_copy_text(text);
}

void fi_string_free(char* text) {
    if (text != fi_empty_text) mem_free(text);
}

int fi_string_set(char** place, const char* text) {
    char* copy = fi_string_dup(text);
    if (copy == nullptr) return FI_NO_MEMORY;
    fi_string_free(*place);
    *place = copy;
    return FI_SUCCESS;
}

namespace {

void clear_string(char** place) {
    fi_string_free(*place);
    *place = fi_empty_text;
}

void set_common(FI_gadget* g, FI_form* form, int type, int label) {
    g->type = static_cast<uint8_t>(type);
    g->label = label;
    g->form = form;
    g->text = g->help_topic = g->command = g->font_name = fi_empty_text;
    g->x_scale = g->y_scale = 1.0F;
    g->erase_color = -1;
    g->link_label = -1;
    g->text_lines = 1;
    form->lowest_label = std::min(form->lowest_label, label);
}

// A record that is in no group. Null without memory.
FI_gadget* new_record(FI_form* form, int type, int label) {
    auto* g = static_cast<FI_gadget*>(mem_alloc_zeroed(fi_types[type].size));
    if (g == nullptr) return nullptr;
    set_common(g, form, type, label);
    const fi_gadget_ops& ops = fi_types[type];
    if (ops.init == nullptr || ops.init(g) == FI_SUCCESS) return g;
    fi_free_gadget(g, false);
    return nullptr;
}

void free_face(FI_face* face) {
    mem_free(face->bits);
    face->bits = nullptr;
}

void free_members(FI_group* group) {
    for (int i = 0; i < group->capacity; ++i)
        if (group->members[i] != nullptr) fi_free_gadget(group->members[i], false);
    mem_free(group->members);
    group->members = nullptr;
    group->capacity = 0;
}

void move_label_hints(FI_form* form, int label) {
    if (label > 0) form->next_label = std::min(form->next_label, std::max(label, FI_FIRST_LABEL));
    if (label < 0) form->next_negative_label = std::max(form->next_negative_label, label);
}

} // namespace

int fi_new_member(FI_group* group, int type, int label, FI_gadget** result) {
    *result = nullptr;
    FI_gadget* g = new_record(group->common.form, type, label);
    if (g == nullptr) return FI_NO_MEMORY;
    const int status = fi_group_add(group, g);
    if (status != FI_SUCCESS) {
        fi_free_gadget(g, false);
        return status;
    }
    *result = g;
    return FI_SUCCESS;
}

int fi_new_gadget(FI_form* form, int type, int label, FI_gadget** result) {
    *result = nullptr;
    if (type < 0 || type >= FI_TYPES) return FI_INVALID_GADGET_TYPE;
    if (label >= 0 || type == FI_GROUP) return fi_new_member(form->root_group, type, label, result);
    *result = new_record(form, type, label);
    return *result != nullptr ? FI_SUCCESS : FI_NO_MEMORY;
}

int fi_new_part(FI_gadget* owner, int type, int label, FI_gadget** result) {
    *result = new_record(owner->form, type, label);
    if (*result == nullptr) return FI_NO_MEMORY;
    (*result)->owner = owner;
    return FI_SUCCESS;
}

FI_group* fi_new_root(FI_form* form, int slots) {
    auto* g = static_cast<FI_gadget*>(mem_alloc_zeroed(fi_types[FI_GROUP].size));
    if (g == nullptr) return nullptr;
    set_common(g, form, FI_GROUP, 0);
    if (fi_group_room(fi_as_group(g), slots) == FI_SUCCESS) return fi_as_group(g);
    mem_free(g);
    return nullptr;
}

void fi_free_gadget(FI_gadget* gadget, bool keep_hints) {
    if (gadget->dead != 0) return;
    if (gadget->displayed != 0) fi_erase_gadget(gadget);
    gadget->dead = 1;
    const fi_gadget_ops& ops = fi_ops(gadget);
    if (ops.free != nullptr) ops.free(gadget);
    if (fi_has_members(gadget)) free_members(fi_as_group(gadget));
    for (char** text : {&gadget->text, &gadget->help_topic, &gadget->command, &gadget->font_name})
        clear_string(text);
    free_face(&gadget->face);
    free_face(&gadget->face2);
    fi_group_remove(gadget, keep_hints);
    if (keep_hints) move_label_hints(gadget->form, gadget->label);
    if (gadget->holds == 0) mem_free(gadget);
}

int fi_parts(const FI_gadget* g, FI_gadget** parts) {
    const fi_gadget_ops& ops = fi_ops(g);
    return ops.parts != nullptr ? ops.parts(g, parts) : 0;
}
