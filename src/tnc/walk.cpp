// Walks over the pixels of a pen, and what can be asked of an image without decoding all of it.
#include "support/checked.h"
#include "tnc/penline.h"
#include "tnc/tnc.h"

namespace {

const compressed_pen* find_pen(const tnc_image* image, int pen) {
    if (image == nullptr || pen < 0 || pen >= PEN_COUNT) return nullptr;
    return image->pens[pen];
}

// The largest sum of shade bytes that the layers of a chain have at column x, -1 when none has a pixel there.
int32_t strongest_shade(const pline* chain, int32_t x) {
    int32_t strongest = -1;
    for (const pline* line = chain; line != nullptr; line = line->next) {
        int32_t red = 0;
        int32_t green = 0;
        int32_t blue = 0;
        if (pline_shade_at(line, x, &red, &green, &blue) == 0) continue;
        int32_t sum = red + green + blue;
        if (sum > strongest) strongest = sum;
    }
    return strongest;
}

struct pen_strength {
    int32_t pen;
    int32_t sum;
};

// Puts an entry behind those that are as strong or stronger, so that of equal ones the lower pen stays first.
void insert_by_strength(pen_strength* entries, int count, pen_strength fresh) {
    int at = count;
    for (; at > 0 && entries[at - 1].sum < fresh.sum; --at)
        entries[at] = entries[at - 1];
    entries[at] = fresh;
}

void add_run(pen_summary* summary, int32_t x, int32_t y, int32_t count) {
    summary->samples += count;
    ++summary->runs;
    if (x < summary->x1) summary->x1 = x;
    if (x + count - 1 > summary->x2) summary->x2 = x + count - 1;
    if (y < summary->y1) summary->y1 = y;
    summary->y2 = y;
}

} // namespace

void pline_decode(const pline* line, int32_t y, void* context, pixel_callback callback) {
    if (line == nullptr || callback == nullptr) return;
    penline_position at = penline_begin(line);
    penline_run run;
    while (penline_next_run(&at, &run)) {
        for (int32_t i = 0; i < run.count; ++i) {
            callback(context, run.x + i, y, run.red[i], run.green[i], run.blue[i], run.u[i], run.v[i]);
        }
    }
}

void pen_for_each_pixel(const tnc_image* image, int pen, void* context, pixel_callback callback) {
    const compressed_pen* found = find_pen(image, pen);
    if (found == nullptr || callback == nullptr) return;
    for (int32_t y = 0; y < found->line_count; ++y) {
        for (const pline* line = found->lines[y]; line != nullptr; line = line->next) {
            pline_decode(line, y, context, callback);
        }
    }
}

int pen_for_each_run(const tnc_image* image, int pen, void* context, run_callback callback) {
    const compressed_pen* found = find_pen(image, pen);
    if (found == nullptr || callback == nullptr) return 0;
    for (int32_t y = 0; y < found->line_count; ++y) {
        for (const pline* line = found->lines[y]; line != nullptr; line = line->next) {
            penline_position at = penline_begin(line);
            int32_t x = 0;
            int32_t count = 0;
            while (penline_skip_run(&at, &x, &count)) {
                if (callback(context, x, y, count) != 0) return 1;
            }
        }
    }
    return 0;
}

int pen_defined(const tnc_image* image, int pen) {
    return find_pen(image, pen) != nullptr ? 1 : 0;
}

int pen_has_uv(const tnc_image* image, int pen) {
    const compressed_pen* found = find_pen(image, pen);
    return found != nullptr ? found->has_uv : 0;
}

int pens_at_pixel(const tnc_image* image, int32_t x, int32_t y, int32_t* pens, int max) {
    if (image == nullptr || y < 0 || y >= image->line_count) return 0;
    int limit = clamped(max, 0, PENS_AT_PIXEL_MAX);
    pen_strength entries[PENS_AT_PIXEL_MAX];
    int count = 0;
    for (int pen = 0; pen < PEN_COUNT && count < limit; ++pen) {
        const compressed_pen* found = image->pens[pen];
        if (found == nullptr) continue;
        int32_t sum = strongest_shade(found->lines[y], x);
        if (sum < 0) continue;
        insert_by_strength(entries, count, {pen, sum});
        ++count;
    }
    for (int i = 0; i < count; ++i)
        pens[i] = entries[i].pen;
    return count;
}

bool pen_summarise(const tnc_image* image, int pen, pen_summary* summary) {
    const compressed_pen* found = find_pen(image, pen);
    if (found == nullptr) return false;
    *summary = {0, 0, 0, 0, INT32_MAX, INT32_MAX, -1, -1};
    for (int32_t y = 0; y < found->line_count; ++y) {
        for (const pline* line = found->lines[y]; line != nullptr; line = line->next) {
            ++summary->plines;
            summary->bytes += line->length;
            penline_position at = penline_begin(line);
            int32_t x = 0;
            int32_t count = 0;
            while (penline_skip_run(&at, &x, &count))
                add_run(summary, x, y, count);
        }
    }
    return true;
}
