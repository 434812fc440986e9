// Changes of surfaces, and the way back.
//
// Invariant: a pen's entry in `appliques` says what is in the planes; while it is dragged, as drag.cpp tells.
#include "core/change.h"

#include <utility>

#include "support/log.h"

surface_pixels change_pixels(int pen) {
    return {open_image.picture, open_image.tnc, pen, &open_image.room};
}

bool change_possible(int pen) {
    if (pen < 0 || pen >= PEN_COUNT) {
        log_message(LOG_WARNING, "apply_col_pat : pen = %d\n", pen);
        return false;
    }
    if (open_image.picture != nullptr && open_image.tnc != nullptr) return true;
    log_message(LOG_WARNING, "There is no image to apply to.\n");
    return false;
}

void change_begins() {
    if (open_image.display.pass_begins != nullptr) open_image.display.pass_begins();
}

void change_ends(int pen, bool done) {
    if (open_image.display.pass_ends != nullptr) open_image.display.pass_ends(pen, done);
}

reevaluation* change_prepare(int pen, const applique* from, const applique* to) {
    return reevaluation_new(open_image.picture, open_image.tnc, open_image.rows_changed, from, to, pen);
}

void change_add_step(int pen, applique* carried, kept_pixels kept, bool changed) {
    if (kept.bytes == nullptr) {
        applique_free(carried);
        history_clear(&open_image.steps);
        return;
    }
    const history_step step = {pen, carried, kept, changed};
    history_add(&open_image.steps, &step);
}

namespace {

// Keeps the pen's pixels for a step. Nothing is kept when no step can be made of them, or after a message without
// memory.
void keep_for_step(int pen, kept_pixels* kept) {
    *kept = {nullptr, 0};
    if (open_image.steps.limit == 0) return;
    const surface_pixels pixels = change_pixels(pen);
    const size_t size = pixels_size(&pixels);
    if (size > open_image.steps.limit || pixels_keep(&pixels, size, kept, nullptr)) return;
    log_message(LOG_WARNING, "There is not enough memory to undo this change.\n");
}

// The pass, between the two calls of the display. Takes what is kept, when it is done.
bool apply(int pen, applique* a, kept_pixels kept) {
    change_begins();
    reevaluation* pass = change_prepare(pen, open_image.appliques[pen], a);
    if (pass != nullptr) {
        reevaluation_run(pass);
        reevaluation_free(pass);
        applique* carried = std::exchange(open_image.appliques[pen], a);
        change_add_step(pen, carried, kept, std::exchange(open_image.image_changed, true));
    }
    change_ends(pen, pass != nullptr);
    return pass != nullptr;
}

// ---- steps ---------------------------------------------------------------------------------------------------------

// Goes to the other side of a step, which then leads back.
void take_step(history_step* step) {
    change_begins();
    const surface_pixels pixels = change_pixels(step->pen);
    pixels_exchange(&pixels, &step->pixels, open_image.rows_changed);
    std::swap(step->carried, open_image.appliques[step->pen]);
    std::swap(step->changed, open_image.image_changed);
    change_ends(step->pen, true);
}

} // namespace

int apply_col_pat(int pen, applique* a) {
    if (!change_possible(pen)) {
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
