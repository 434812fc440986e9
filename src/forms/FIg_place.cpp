// Place and size of gadgets.
#include "forms/forms.h"
#include "forms/ops.h"

namespace {

// Of the gadget as it is meant: that of a checklist includes the box, whose side is the smallest height.
fi_box place_of(const FI_gadget* g) {
    return g->type == FI_GROUP ? fi_group_size(fi_as_group(g))
                               : fi_box{static_cast<int>(g->x1), static_cast<int>(g->y1), static_cast<int>(g->x2),
                                        static_cast<int>(g->y2)};
}

} // namespace

int FIg_get_size(FI_form* form, int label, int* width, int* height) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    const fi_box box = place_of(g);
    *width = g->type == FI_GROUP ? box.x2 - box.x1 : static_cast<int>(g->x2 - g->x1);
    *height = g->type == FI_GROUP ? box.y2 - box.y1 : static_cast<int>(g->y2 - g->y1);
    return FI_SUCCESS;
}

int FIg_set_size(FI_form* form, int label, int width, int height) {
    const bool allowed = width >= 0 && height >= 0 && width <= INT16_MAX && height <= INT16_MAX;
    return fi_pass_on(form, label, allowed, [=](FI_gadget* g) {
        g->x2 = g->x1 + static_cast<float>(width);
        g->y2 = g->y1 + static_cast<float>(height);
        return 0;
    });
}

int FIg_get_dlocation(FI_form* form, int label, double* x, double* y) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != FI_SUCCESS) return status;
    *x = g->type == FI_GROUP ? place_of(g).x1 : double{g->x1};
    *y = g->type == FI_GROUP ? place_of(g).y1 : double{g->y1};
    return FI_SUCCESS;
}

int FIg_get_location(FI_form* form, int label, int* x, int* y) {
    double dx = 0, dy = 0;
    const int status = FIg_get_dlocation(form, label, &dx, &dy);
    if (status != FI_SUCCESS) return status;
    *x = static_cast<int>(dx);
    *y = static_cast<int>(dy);
    return FI_SUCCESS;
}
