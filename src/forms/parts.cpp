// The life of the types that own more than the common record: their defaults, strings and private gadgets.
#include "forms/parts.h"

#include "forms/fields.h"
#include "forms/forms.h"
#include "support/memory.h"

namespace {

void clear_string(char** place) {
    fi_string_free(*place);
    *place = fi_empty_text;
}

void free_part(FI_gadget** part) {
    if (*part != nullptr) fi_free_gadget(*part, false);
    *part = nullptr;
}

// Collects the parts that there are.
template <typename... Parts> int collect(FI_gadget** out, Parts... parts) {
    int count = 0;
    const auto add = [&](FI_gadget* part) {
        if (part != nullptr) out[count++] = part;
    };
    (add(parts), ...);
    return count;
}

constexpr float SLIDER_STEP = 1e-7F;
constexpr float DIAL_STEP = 1.0F;
constexpr int CHECK_BOX = 20;

} // namespace

// ---- toggle, button, checklist, lines ----------------------------------------------------------------------------

int fi_toggle_init(FI_gadget* g) {
    g->justification = FI_CENTER;
    fi_as<fi_toggle>(g)->on_text = fi_empty_text;
    fi_as<fi_toggle>(g)->on_text_lines = 1;
    return FI_SUCCESS;
}

void fi_toggle_free(FI_gadget* g) {
    clear_string(&fi_as<fi_toggle>(g)->on_text);
}

int fi_button_init(FI_gadget* g) {
    g->justification = FI_CENTER;
    fi_as<fi_button>(g)->menu_string = fi_empty_text;
    return FI_SUCCESS;
}

void fi_button_free(FI_gadget* g) {
    clear_string(&fi_as<fi_button>(g)->menu_string);
}

int fi_checklist_init(FI_gadget* g) {
    auto* c = fi_as<fi_checklist>(g);
    c->box_size = CHECK_BOX;
    c->box_scale = 1.0F;
    return FI_SUCCESS;
}

void fi_checklist_free(FI_gadget* g) {
    auto* c = fi_as<fi_checklist>(g);
    mem_free(c->mark.bits);
    c->mark.bits = nullptr;
}

int fi_line_init(FI_gadget* g) {
    fi_as<fi_line>(g)->line_pattern = FI_SOLID_LINE;
    return FI_SUCCESS;
}

int fi_rect_init(FI_gadget* g) {
    fi_as<fi_rect>(g)->line_pattern = FI_SOLID_LINE;
    return FI_SUCCESS;
}

// ---- gadgets with a range ------------------------------------------------------------------------------------------

int fi_slider_init(FI_gadget* g) {
    fi_as<fi_slider>(g)->increment = SLIDER_STEP;
    return FI_SUCCESS;
}

int fi_dial_init(FI_gadget* g) {
    fi_as<fi_dial>(g)->increment = DIAL_STEP;
    fi_as<fi_dial>(g)->direction = -1;
    return FI_SUCCESS;
}

namespace {

constexpr int PART_LABEL = -1;
constexpr int ARROW_OFF_COLOR = FI_BLACK;
constexpr int ARROW_ON_COLOR = FI_WHITE;

int new_symbol_button(FI_gadget* owner, FI_gadget** part) {
    const int status = fi_new_part(owner, FI_BUTTON, PART_LABEL, part);
    return status != FI_SUCCESS ? status : fi_string_set(&(*part)->font_name, "FIsym");
}

} // namespace

int fi_scroll_init(FI_gadget* g) {
    auto* s = fi_as<fi_scroll>(g);
    s->parts_x_scale = s->parts_y_scale = 1.0F;
    int status = new_symbol_button(g, &s->thumb);
    for (int i = 0; i < FI_SCROLL_ARROWS && status == FI_SUCCESS; ++i) {
        status = new_symbol_button(g, &s->arrows[i]);
        if (status != FI_SUCCESS) break;
        s->arrows[i]->off_color = ARROW_OFF_COLOR;
        s->arrows[i]->on_color = ARROW_ON_COLOR;
    }
    return status;
}

void fi_scroll_free(FI_gadget* g) {
    auto* s = fi_as<fi_scroll>(g);
    free_part(&s->thumb);
    for (FI_gadget*& arrow : s->arrows)
        free_part(&arrow);
}

int fi_scroll_parts(const FI_gadget* g, FI_gadget** parts) {
    const auto* s = fi_as<fi_scroll>(g);
    return collect(parts, s->thumb, s->arrows[0], s->arrows[1], s->arrows[2], s->arrows[3]);
}

// ---- fields --------------------------------------------------------------------------------------------------------

int fi_field_init(FI_gadget* g) {
    auto* f = fi_as<fi_field>(g);
    f->format = fi_empty_text;
    f->selected_row = -1;
    return FI_SUCCESS;
}

void fi_field_free(FI_gadget* g) {
    auto* f = fi_as<fi_field>(g);
    fi_forget_field(f);
    free_part(&f->list);
    free_part(&f->scroll_bar);
    free_part(&f->arrows[0]);
    free_part(&f->arrows[1]);
    fi_rows_free(f);
    fi_default_rows_free(f);
    clear_string(&f->format);
}

int fi_field_parts(const FI_gadget* g, FI_gadget** parts) {
    const auto* f = fi_as<fi_field>(g);
    return collect(parts, f->list, f->scroll_bar, f->arrows[0], f->arrows[1]);
}

void fi_mcf_free(FI_gadget* g) {
    auto* m = fi_as<fi_mcf>(g);
    free_part(&m->vert_scroll);
    free_part(&m->hort_scroll);
}

int fi_mcf_parts(const FI_gadget* g, FI_gadget** parts) {
    const auto* m = fi_as<fi_mcf>(g);
    return collect(parts, m->vert_scroll, m->hort_scroll);
}

int fi_group_init(FI_gadget* g) {
    return fi_group_room(fi_as_group(g), FI_GROUP_SLOTS);
}
