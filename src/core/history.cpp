#include "core/history.h"

#include <algorithm>
#include <cstring>

#include "support/memory.h"

namespace {

constexpr size_t CHANNELS = 3;
constexpr int FIRST_ROOM = 16;

int32_t rows_of(const surface_pixels* p) {
    if (pen_defined(p->image, p->pen) == 0) return 0;
    return std::min(p->image->pens[p->pen]->line_count, p->picture->height);
}

int spans_of(const surface_pixels* p, int32_t y, const row_span** spans) {
    return row_spans(p->image->pens[p->pen]->lines[y], 0, p->picture->width, p->room, spans);
}

// Calls f(y, spans, count) for each row of the picture that the surface has pixels on.
template <typename F> void each_row(const surface_pixels* p, F f) {
    const int32_t rows = rows_of(p);
    for (int32_t y = 0; y < rows; ++y) {
        const row_span* spans = nullptr;
        const int count = spans_of(p, y, &spans);
        if (count > 0) f(y, spans, count);
    }
}

// Calls f(plane, kept, count) for the three channels of each stretch of a row: `kept` are the bytes that belong to it.
// Returns where the bytes of the next row are.
template <typename Byte, typename F>
Byte* each_channel(const raster_image* p, int32_t y, const row_span* spans, int count, Byte* kept, F f) {
    for (int i = 0; i < count; ++i) {
        const size_t at = static_cast<size_t>(y) * static_cast<size_t>(p->width) + static_cast<size_t>(spans[i].first);
        const auto length = static_cast<size_t>(spans[i].end - spans[i].first);
        for (uint8_t* plane : {p->red, p->green, p->blue}) {
            f(plane + at, kept, length);
            kept += length;
        }
    }
    return kept;
}

void tell(row_changed told, int32_t y, const row_span* spans, int count) {
    if (told.changed != nullptr) told.changed(told.user, y, spans[0].first, spans[count - 1].end - 1);
}

// f as in each_channel(), over all rows.
template <typename F> void each_stretch(const surface_pixels* p, uint8_t* kept, row_changed told, F f) {
    each_row(p, [&](int32_t y, const row_span* spans, int count) {
        kept = each_channel(p->picture, y, spans, count, kept, f);
        tell(told, y, spans, count);
    });
}

void put_back(uint8_t* plane, const uint8_t* bytes, size_t n) {
    std::memcpy(plane, bytes, n);
}

void step_free(history_step* step) {
    applique_free(step->carried);
    pixels_free(&step->pixels);
}

// Takes steps off the list.
void drop(history* h, int first, int count) {
    if (count <= 0) return;
    for (int i = first; i < first + count; ++i) {
        h->bytes -= h->steps[i].pixels.size;
        step_free(&h->steps[i]);
    }
    const auto behind = static_cast<size_t>(h->count - first - count);
    std::memmove(h->steps + first, h->steps + first + count, behind * sizeof *h->steps);
    h->count -= count;
    if (h->done > first) h->done -= std::min(count, h->done - first);
}

// The oldest go first; when only steps are left that were undone, the one that is farthest from where things stand.
void keep_limit(history* h) {
    while (h->bytes > h->limit)
        drop(h, h->done > 0 ? 0 : h->count - 1, 1);
}

bool make_room(history* h) {
    if (h->count < h->room) return true;
    const int room = h->room > 0 ? h->room * 2 : FIRST_ROOM;
    auto* steps = static_cast<history_step*>(mem_realloc(h->steps, static_cast<size_t>(room) * sizeof(history_step)));
    if (steps == nullptr) return false;
    h->steps = steps;
    h->room = room;
    return true;
}

} // namespace

size_t pixels_size(const surface_pixels* p) {
    size_t pixels = 0; // no more than a plane has bytes, and there are three planes already
    each_row(p, [&](int32_t, const row_span* spans, int count) {
        for (int i = 0; i < count; ++i)
            pixels += static_cast<size_t>(spans[i].end - spans[i].first);
    });
    return pixels * CHANNELS;
}

bool pixels_keep(const surface_pixels* p, size_t size, kept_pixels* kept, size_t* rows) {
    *kept = {mem_new_array<uint8_t>(size), size};
    if (kept->bytes == nullptr) return false;
    uint8_t* to = kept->bytes;
    each_row(p, [&](int32_t y, const row_span* spans, int count) {
        if (rows != nullptr) rows[y] = static_cast<size_t>(to - kept->bytes);
        to = each_channel(p->picture, y, spans, count, to,
                          [](const uint8_t* plane, uint8_t* bytes, size_t n) { std::memcpy(bytes, plane, n); });
    });
    return true;
}

void pixels_put_back(const surface_pixels* p, const kept_pixels* kept, row_changed told) {
    each_stretch(p, kept->bytes, told, put_back);
}

void pixels_put_back_row(const surface_pixels* p, int32_t y, const uint8_t* bytes, row_changed told) {
    const row_span* spans = nullptr;
    const int count = y < rows_of(p) ? spans_of(p, y, &spans) : 0;
    if (count == 0) return;
    each_channel(p->picture, y, spans, count, bytes, put_back);
    tell(told, y, spans, count);
}

void pixels_exchange(const surface_pixels* p, kept_pixels* kept, row_changed told) {
    each_stretch(p, kept->bytes, told,
                 [](uint8_t* plane, uint8_t* bytes, size_t n) { std::swap_ranges(plane, plane + n, bytes); });
}

void pixels_free(kept_pixels* kept) {
    mem_free(kept->bytes);
    *kept = {nullptr, 0};
}

void history_add(history* h, const history_step* step) {
    drop(h, h->done, h->count - h->done);
    if (h->limit == 0 || step->pixels.size > h->limit || !make_room(h)) {
        history_step lost = *step;
        step_free(&lost);
        drop(h, 0, h->count);
        return;
    }
    h->steps[h->count++] = *step;
    h->done = h->count;
    h->bytes += step->pixels.size;
    keep_limit(h);
}

void history_set_limit(history* h, size_t limit) {
    h->limit = limit;
    keep_limit(h);
}

void history_clear(history* h) {
    drop(h, 0, h->count);
    mem_free(h->steps);
    h->steps = nullptr;
    h->room = 0;
}
