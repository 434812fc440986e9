// Changes of surfaces: single ones, live drags, and the way back.
//
// Invariant: a pen's entry in `appliques` says what is in the planes, also while it is dragged.
#include "core/open_image.h"

#include <utility>

#include "support/log.h"

namespace {

surface_pixels pixels_of(int pen) {
    return {open_image.picture, open_image.tnc, pen, &open_image.room};
}

// False after a message when there is nothing that could be changed.
bool can_change(int pen) {
    if (pen < 0 || pen >= PEN_COUNT) {
        log_message(LOG_WARNING, "apply_col_pat : pen = %d\n", pen);
        return false;
    }
    if (open_image.picture != nullptr && open_image.tnc != nullptr) return true;
    log_message(LOG_WARNING, "There is no image to apply to.\n");
    return false;
}

void pass_begins() {
    if (open_image.display.pass_begins != nullptr) open_image.display.pass_begins();
}

void pass_ends(int pen, bool done) {
    if (open_image.display.pass_ends != nullptr) open_image.display.pass_ends(pen, done);
}

reevaluation* prepare(int pen, const applique* from, const applique* to) {
    return reevaluation_new(open_image.picture, open_image.tnc, open_image.rows_changed, from, to, pen);
}

// Keeps the pen's pixels for a step. Nothing is kept when no step can be made of them, or after a message without
// memory.
void keep_for_step(int pen, kept_pixels* kept) {
    *kept = {nullptr, 0};
    if (open_image.steps.limit == 0) return;
    const surface_pixels pixels = pixels_of(pen);
    if (pixels_size(&pixels) > open_image.steps.limit) return;
    if (!pixels_keep(&pixels, kept)) log_message(LOG_WARNING, "There is not enough memory to undo this change.\n");
}

// Makes a step of what a pen had before. Without its pixels what came before it can't be reached any more either.
void add_step(int pen, applique* carried, kept_pixels kept, bool changed) {
    if (kept.bytes == nullptr) {
        applique_free(carried);
        history_clear(&open_image.steps);
        return;
    }
    const history_step step = {pen, carried, kept, changed};
    history_add(&open_image.steps, &step);
}

// The pass, between the two calls of the display. Takes what is kept, when it is done.
bool apply(int pen, applique* a, kept_pixels kept) {
    pass_begins();
    reevaluation* pass = prepare(pen, open_image.appliques[pen], a);
    if (pass != nullptr) {
        reevaluation_run(pass);
        reevaluation_free(pass);
        applique* carried = std::exchange(open_image.appliques[pen], a);
        add_step(pen, carried, kept, std::exchange(open_image.image_changed, true));
    }
    pass_ends(pen, pass != nullptr);
    return pass != nullptr;
}

// ---- drags: while one is open, `appliques` holds its beginning or a preview --------------------------------------

bool shows_beginning() {
    return open_image.appliques[open_image.drag.pen] == open_image.drag.carried;
}

// What the planes now hold, instead of what the pen carried.
void carry(applique* a) {
    const image_drag* drag = &open_image.drag;
    if (!shows_beginning()) applique_free(open_image.appliques[drag->pen]);
    open_image.appliques[drag->pen] = a;
    open_image.image_changed = a != drag->carried || drag->changed;
}

void show_beginning(row_changed told) {
    const image_drag* drag = &open_image.drag;
    const surface_pixels pixels = pixels_of(drag->pen);
    pixels_put_back(&pixels, &drag->pixels, told);
}

// Goes back to what the drag began with, in sight.
void go_back() {
    if (shows_beginning()) return;
    pass_begins();
    show_beginning(open_image.rows_changed);
    carry(open_image.drag.carried);
    pass_ends(open_image.drag.pen, true);
}

// Shows an applique that is neither the beginning's nor the one that is shown. False when the pass can't be made.
bool go_to(applique* a) {
    const int pen = open_image.drag.pen;
    pass_begins();
    reevaluation* pass = prepare(pen, open_image.drag.carried, a);
    if (pass != nullptr) {
        show_beginning({nullptr, nullptr}); // the pass goes over the same pixels, and tells
        reevaluation_run(pass);
        reevaluation_free(pass);
        carry(a);
    }
    pass_ends(pen, pass != nullptr);
    return pass != nullptr;
}

// ---- steps ---------------------------------------------------------------------------------------------------------

// Goes to the other side of a step, which then leads back.
void take_step(history_step* step) {
    pass_begins();
    const surface_pixels pixels = pixels_of(step->pen);
    pixels_exchange(&pixels, &step->pixels, open_image.rows_changed);
    std::swap(step->carried, open_image.appliques[step->pen]);
    std::swap(step->changed, open_image.image_changed);
    pass_ends(step->pen, true);
}

} // namespace

int apply_col_pat(int pen, applique* a) {
    if (!can_change(pen)) {
        applique_free(a);
        return 0;
    }
    if (a == nullptr) return 0; // the way back to the rendered state is an undo, or to open the image again
    image_commit();
    if (applique_equal(open_image.appliques[pen], a) != 0) {
        applique_free(a);
        if (open_image.display.kept != nullptr) open_image.display.kept(pen);
        return 1;
    }
    kept_pixels kept;
    keep_for_step(pen, &kept);
    if (apply(pen, a, kept)) return 1;
    pixels_free(&kept);
    applique_free(a);
    return 0;
}

int image_begin(int pen) {
    image_commit();
    if (!can_change(pen)) return 0;
    image_drag* drag = &open_image.drag;
    const surface_pixels pixels = pixels_of(pen);
    if (!pixels_keep(&pixels, &drag->pixels)) {
        log_message(LOG_WARNING, "There is not enough memory to undo this change.\n");
        return 0;
    }
    drag->is_open = true;
    drag->pen = pen;
    drag->carried = open_image.appliques[pen];
    drag->changed = open_image.image_changed;
    return 1;
}

int image_preview(applique* a) {
    const image_drag* drag = &open_image.drag;
    if (!drag->is_open || a == nullptr) {
        applique_free(a);
        return 0;
    }
    const bool is_shown = applique_equal(open_image.appliques[drag->pen], a) != 0;
    if (is_shown || applique_equal(drag->carried, a) != 0) {
        applique_free(a);
        if (!is_shown) go_back();
        return 1;
    }
    if (go_to(a)) return 1;
    applique_free(a);
    return 0;
}

int image_commit() {
    image_drag* drag = &open_image.drag;
    if (!drag->is_open) return 0;
    const bool is_changed = !shows_beginning();
    if (is_changed)
        add_step(drag->pen, drag->carried, drag->pixels, drag->changed);
    else
        pixels_free(&drag->pixels);
    *drag = {};
    return is_changed ? 1 : 0;
}

int image_cancel() {
    image_drag* drag = &open_image.drag;
    if (!drag->is_open) return 0;
    go_back();
    pixels_free(&drag->pixels);
    *drag = {};
    return 1;
}

int image_undo() {
    image_commit();
    history* steps = &open_image.steps;
    if (steps->done == 0) return 0;
    take_step(&steps->steps[--steps->done]);
    return 1;
}

int image_redo() {
    image_commit();
    history* steps = &open_image.steps;
    if (steps->done == steps->count) return 0;
    take_step(&steps->steps[steps->done++]);
    return 1;
}

int image_undo_count() {
    return open_image.steps.done;
}

int image_redo_count() {
    return open_image.steps.count - open_image.steps.done;
}

size_t image_history_bytes() {
    return open_image.steps.bytes;
}

void image_history_limit(size_t bytes) {
    history_set_limit(&open_image.steps, bytes);
}
