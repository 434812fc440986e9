// Live drags: the pixels of a surface, shown with one applique after another.
//
// A preview has to be there within a frame, however large the picture and the surface are. So it works on the grid of
// pixels that the display shows, and no longer than the display allows: what it didn't come to is done by the calls
// that follow, from where it stopped. The pixels that nobody sees wait until the picture is wanted whole.
//
// Invariants, while a drag is open:
// 1. The pen's entry in `appliques` says what was asked for last: the drag's beginning, or a preview.
// 2. drag.pass leads there from the beginning, null when it is the beginning. It was prepared when the preview was
//    asked for, so that nothing can fail when the picture is completed.
// 3. Each pixel of the pen holds what it held at the beginning, or what the pass of some preview makes of that. Unless
//    drag.behind, it is the last one for all of them. Other pixels haven't changed.
#include "core/change.h"

#include <algorithm>

#include "support/invariant.h"
#include "support/log.h"
#include "support/memory.h"

namespace {

image_drag* const drag = &open_image.drag;

bool shows_beginning() {
    return open_image.appliques[drag->pen] == drag->carried;
}

// Takes over the pass and the applique that it leads to: null, and that of the beginning, to go back.
void carry(reevaluation* pass, applique* a) {
    reevaluation_free(drag->pass); // it looks at the applique that goes
    if (!shows_beginning()) applique_free(open_image.appliques[drag->pen]);
    drag->pass = pass;
    drag->behind = true;
    open_image.appliques[drag->pen] = a;
    open_image.image_changed = a != drag->carried || drag->changed;
}

// Who is told when pixels are put back: nobody, where the pass goes over them at once, and tells.
row_changed told_of_beginning() {
    return drag->pass == nullptr ? open_image.rows_changed : row_changed{nullptr, nullptr};
}

// Without a display all of the picture counts as seen. False when nothing is.
bool seen_grid(pixel_grid* grid) {
    const raster_image* p = open_image.picture;
    *grid = {0, 0, p->width, p->height, 1};
    if (open_image.display.seen != nullptr && !open_image.display.seen(grid)) return false;
    const bool is_inside = grid->x1 >= 0 && grid->y1 >= 0 && grid->x2 <= p->width && grid->y2 <= p->height;
    invariant(is_inside && grid->step > 0, "what is seen of a picture lies inside of it");
    return true;
}

bool is_late() {
    return open_image.display.late != nullptr && open_image.display.late();
}

void show_row(int32_t y, const pixel_grid* grid) {
    const surface_pixels pixels = change_pixels(drag->pen);
    pixels_put_back_row(&pixels, y, drag->pixels.bytes + drag->rows[y], told_of_beginning());
    if (drag->pass != nullptr) reevaluation_run_row(drag->pass, y, grid);
}

// Shows what is still to be shown, as far as time allows: at least one row.
void show_rows() {
    pixel_grid grid;
    const int32_t count = seen_grid(&grid) ? (grid.y2 - grid.y1 + grid.step - 1) / grid.step : 0;
    drag->rows_left = std::min(drag->rows_left, count);
    change_begins();
    while (drag->rows_left > 0) {
        drag->next_row %= count;
        show_row(grid.y1 + drag->next_row * grid.step, &grid);
        ++drag->next_row;
        --drag->rows_left;
        if (is_late()) break;
    }
    change_ends(drag->pen, true);
}

void show_all_rows() {
    drag->rows_left = INT32_MAX;
    show_rows();
}

void close_drag() {
    invariant(!drag->behind, "a drag ends with the whole picture at what was asked for");
    reevaluation_free(drag->pass);
    mem_free(drag->rows);
    *drag = {};
}

} // namespace

int image_begin(int pen) {
    image_commit();
    if (!change_possible(pen)) return 0;
    const surface_pixels pixels = change_pixels(pen);
    drag->rows = static_cast<size_t*>(mem_alloc_zeroed(static_cast<size_t>(pixels.picture->height) * sizeof(size_t)));
    if (drag->rows == nullptr || !pixels_keep(&pixels, pixels_size(&pixels), &drag->pixels, drag->rows)) {
        log_message(LOG_WARNING, "There is not enough memory to undo this change.\n");
        close_drag();
        return 0;
    }
    drag->is_open = true;
    drag->pen = pen;
    drag->carried = open_image.appliques[pen];
    drag->changed = open_image.image_changed;
    return 1;
}

int image_preview(applique* a) {
    if (!drag->is_open || a == nullptr) {
        applique_free(a);
        return 0;
    }
    const bool is_shown = applique_equal(open_image.appliques[drag->pen], a) != 0;
    if (is_shown || applique_equal(drag->carried, a) != 0) {
        applique_free(a);
        if (is_shown) return 1;
        carry(nullptr, drag->carried);
        show_all_rows();
        return 1;
    }
    reevaluation* pass = change_prepare(drag->pen, drag->carried, a);
    if (pass == nullptr) {
        applique_free(a);
        return 0;
    }
    carry(pass, a);
    show_all_rows();
    return 1;
}

int image_preview_more() {
    if (!drag->is_open || drag->rows_left == 0) return 0;
    show_rows();
    return drag->rows_left > 0 ? 1 : 0;
}

void image_complete() {
    if (!drag->behind) return;
    drag->behind = false;
    drag->rows_left = 0;
    change_begins();
    const surface_pixels pixels = change_pixels(drag->pen);
    pixels_put_back(&pixels, &drag->pixels, told_of_beginning());
    if (drag->pass != nullptr) reevaluation_run(drag->pass);
    change_ends(drag->pen, true);
}

int image_commit() {
    if (!drag->is_open) return 0;
    image_complete();
    const bool is_changed = !shows_beginning();
    if (is_changed)
        change_add_step(drag->pen, drag->carried, drag->pixels, drag->changed);
    else
        pixels_free(&drag->pixels);
    close_drag();
    return is_changed ? 1 : 0;
}

int image_cancel() {
    if (!drag->is_open) return 0;
    if (!shows_beginning()) carry(nullptr, drag->carried);
    image_complete();
    pixels_free(&drag->pixels);
    close_drag();
    return 1;
}
