// Spans of a line: the runs of each layer rise, so that two lists are merged in one pass.
#include "tnc/spans.h"

#include <algorithm>
#include <utility>

#include "support/checked.h"
#include "support/memory.h"
#include "tnc/penline.h"

namespace {

// A list that grows at its end.
struct span_list {
    row_span* spans;
    int count;
};

// Puts a span behind those of the list; its beginning lies at or behind theirs.
void append(span_list* list, row_span span) {
    if (list->count > 0 && span.first <= list->spans[list->count - 1].end) {
        int32_t* end = &list->spans[list->count - 1].end;
        *end = std::max(*end, span.end);
    } else {
        list->spans[list->count++] = span;
    }
}

void append_layer(span_list* list, const pline* line, int32_t x1, int32_t x2) {
    penline_position at = penline_begin(line);
    int32_t x = 0;
    int32_t count = 0;
    while (penline_skip_run(&at, &x, &count)) {
        if (x >= x2) return;
        if (x + count > x1) append(list, {std::max(x, x1), std::min(x + count, x2)});
    }
}

void merge(const span_list* a, const span_list* b, span_list* to) {
    int i = 0;
    int k = 0;
    while (i < a->count || k < b->count) {
        const bool from_a = k == b->count || (i < a->count && a->spans[i].first <= b->spans[k].first);
        append(to, from_a ? a->spans[i++] : b->spans[k++]);
    }
}

} // namespace

bool span_room_init(span_room* room, int32_t width) {
    *room = {};
    size_t each = static_cast<size_t>(std::max(width, 1)) / 2 + 1;
    auto* block = mem_new_array<row_span>(each * 3);
    if (block == nullptr) return false;
    for (size_t i = 0; i < 3; ++i)
        room->lists[i] = block + i * each;
    room->width = width;
    return true;
}

void span_room_free(span_room* room) {
    mem_free(room->lists[0]);
    *room = {};
}

int row_spans(const pline* chain, int32_t x1, int32_t x2, span_room* room, const row_span** spans) {
    span_list found = {room->lists[0], 0};
    span_list merged = {room->lists[1], 0};
    for (const pline* line = chain; line != nullptr && x1 < x2; line = line->next) {
        if (found.count == 0) {
            append_layer(&found, line, x1, x2);
            continue;
        }
        span_list layer = {room->lists[2], 0};
        append_layer(&layer, line, x1, x2);
        if (layer.count == 0) continue;
        merged.count = 0;
        merge(&found, &layer, &merged);
        std::swap(found, merged);
    }
    *spans = found.spans;
    return found.count;
}
