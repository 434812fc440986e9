// The picture in its window: redraws at each kind of zoom, a click, and a re-evaluation that shows as it runs.
//
// A picture of 4000 by 3000 pixels in a viewport of 1600 by 1100 on the host in memory, 24 planes and others. It is
// made hard: six surfaces stand at nearly every pixel, with grain in their shades, and some in runs of one pixel. With
// TINCT_BENCH_PAIR=FILE.tnc the click and the re-evaluation take that pair instead.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <vector>

#include "core/open_image.h"
#include "desktop/picture.h"
#include "desktop/program.h"
#include "platform/pages.h"
#include "platform/window/host.h"
#include "support/memory.h"
#include "surface/paths.h"
#include "tnc/builder.h"
#include "tools/colors.h"
#include "tools/process.h"
#include "tools/windows.h"
#include "view/highlight.h"
#include "view/pick.h"
#include "view/viewdraw.h"
#include "view/viewtools.h"

namespace {

constexpr int32_t WIDTH = 4000;
constexpr int32_t HEIGHT = 3000;
constexpr int VIEW_WIDTH = 1600;
constexpr int VIEW_HEIGHT = 1100;
// Surfaces that cover the whole picture, each with a gap at every so many pixels.
constexpr int32_t GAPS[] = {40, 40, 40, 17, 5, 2};
constexpr int LAYERED_PENS = std::size(GAPS);

void take_chain(void* user, int pen, int /*has_uv*/, int32_t y, pline* chain) {
    static_cast<tnc_image*>(user)->pens[pen]->lines[y] = chain;
}

compressed_pen* new_pen(int number) {
    const size_t size = sizeof(compressed_pen) + size_t{HEIGHT} * sizeof(void*);
    auto* pen = static_cast<compressed_pen*>(mem_alloc_zeroed(size));
    pen->pen = number;
    pen->line_count = HEIGHT;
    return pen;
}

tnc_image* make_image() {
    auto* image = mem_new<tnc_image>();
    image->line_count = HEIGHT;
    pen_builder* builder = builder_new(take_chain, image);
    for (int pen = 0; pen < LAYERED_PENS; ++pen) {
        image->pens[pen] = new_pen(pen);
        builder_set_pen(builder, pen, 0);
    }
    for (int32_t y = 0; y < HEIGHT; ++y) {
        for (int32_t x = 0; x < WIDTH; ++x) {
            const int shade = (x + y) >> 5 & 63;
            const auto grain = static_cast<uint32_t>(y * WIDTH + x) * 2654435761u >> 24;
            const auto red = static_cast<uint8_t>(shade + (grain & 3));
            const auto green = static_cast<uint8_t>(shade + (grain >> 2 & 3));
            const auto blue = static_cast<uint8_t>(shade + (grain >> 4 & 3));
            for (int pen = 0; pen < LAYERED_PENS; ++pen)
                if ((x + 7 * pen + y / 5) % GAPS[pen] != 0) builder_add_sample(builder, pen, red, green, blue, 0, 0);
            builder_move_x(builder, 1);
        }
        builder_next_line(builder);
    }
    builder_free(builder);
    return image;
}

raster_image* make_picture() {
    auto* p = mem_new<raster_image>();
    p->width = WIDTH;
    p->height = HEIGHT;
    const size_t size = size_t{WIDTH} * HEIGHT;
    p->red = mem_new_array<uint8_t>(size);
    p->green = mem_new_array<uint8_t>(size);
    p->blue = mem_new_array<uint8_t>(size);
    for (uint8_t* plane : {p->red, p->green, p->blue})
        pages_prefer_large(plane, size); // as load_image() does
    for (size_t i = 0; i < size; ++i) {
        p->red[i] = static_cast<uint8_t>(i * 3 >> 7);
        p->green[i] = static_cast<uint8_t>(i / WIDTH);
        p->blue[i] = static_cast<uint8_t>(i * 2654435761u >> 29);
    }
    return p;
}

void open_pair() {
    const char* pair = std::getenv("TINCT_BENCH_PAIR");
    if (open_image.picture != nullptr) return;
    if (pair != nullptr && image_open(pair) != 0) return;
    open_image.picture = make_picture();
    open_image.tnc = make_image();
    if (!span_room_init(&open_image.room, WIDTH)) std::exit(1);
}

// The window at a depth, with the picture open.
void start(int planes) {
    tools_leave();
    const host_screen size = {VIEW_WIDTH + 8, VIEW_HEIGHT + 8, planes, 0};
    if (!host_start_with(&host_headless, &size, "bench") || Enter_tools() != 0) std::exit(1);
    display_planes = planes < 15 ? planes : 24;
    forms_up = true;
    RGB_init(0, display_planes);
    picture_view.window = NO_WINDOW;
    picture_watch_image();
    tools_start(pick_advance, nullptr);
    pick_start(&picture_view, choose_pen);
    if (!picture_open_window()) std::exit(1);
    open_pair();
    view_fit(open_image.picture, &picture_view);
    picture_view.x2 = VIEW_WIDTH - 1;
    picture_view.y2 = VIEW_HEIGHT - 1;
}

// Redraws at a zoom, each from another place of the picture, shown each time.
void bm_pan(benchmark::State& state) {
    start(static_cast<int>(state.range(0)));
    view* v = &picture_view;
    v->zoom = static_cast<int32_t>(state.range(1));
    const double s = view_scale(v);
    const auto room_x = static_cast<int32_t>(WIDTH - VIEW_WIDTH / s);
    const auto room_y = static_cast<int32_t>(HEIGHT - VIEW_HEIGHT / s);
    const int32_t grid = v->zoom < 0 ? -v->zoom : 1;
    int32_t at = 0;
    for (auto _ : state) {
        at += 24;
        v->origin_x = room_x > 0 ? at % room_x / grid * grid : 0;
        v->origin_y = room_y > 0 ? at % room_y / grid * grid : 0;
        view_draw(open_image.picture, v);
        desk_flush();
    }
    state.SetItemsProcessed(state.iterations()); // redraws
}
BENCHMARK(bm_pan)
    ->ArgsProduct({{24}, {0, 2, 4, 16, -2, -4}})
    ->ArgsProduct({{4, 8, 16}, {0, 4, -4}})
    ->Unit(benchmark::kMillisecond);

// The pixel where most surfaces stand, from the middle on.
void find_busiest(int* best_x, int* best_y) {
    int32_t pens[PENS_AT_PIXEL_MAX];
    int most = -1;
    for (int32_t y = open_image.picture->height / 2; y < open_image.picture->height; y += 64)
        for (int32_t x = open_image.picture->width / 2; x < open_image.picture->width; x += 64) {
            const int count = pens_at_pixel(open_image.tnc, x, y, pens, PENS_AT_PIXEL_MAX);
            if (count <= most) continue;
            most = count;
            *best_x = x;
            *best_y = y;
        }
}

// A click: pick, old highlight off, new highlight on, shown. Through all surfaces of the busiest pixel, at a zoom.
void bm_click(benchmark::State& state) {
    start(static_cast<int>(state.range(0)));
    view* v = &picture_view;
    int ix = 0;
    int iy = 0;
    find_busiest(&ix, &iy);
    v->zoom = static_cast<int32_t>(state.range(1));
    v->origin_x = v->origin_y = 0;
    const double s = view_scale(v);
    view_center(v, v->x1 + static_cast<int>(ix * s), v->y1 + static_cast<int>(iy * s));
    view_keep_in_sight(open_image.picture, v);
    const int x = v->x1 + static_cast<int>((ix - v->origin_x) * s);
    const int y = v->y1 + static_cast<int>((iy - v->origin_y) * s);
    int step = 0;
    for (auto _ : state) {
        if (step++ % 2 == 0 || highlighted_pen == NO_PEN)
            pick_at(v, x, y);
        else
            pick_advance(0);
        desk_flush();
    }
    pick_reset();
}
BENCHMARK(bm_click)
    ->ArgsProduct({{24}, {0, 2, 4, 16, -2, -4, -8, -64}})
    ->ArgsProduct({{8}, {0, -4}})
    ->Unit(benchmark::kMillisecond);

int busiest_pen(int64_t* samples) {
    int pen = 0;
    *samples = 0;
    for (int p = 0; p < PEN_COUNT; ++p) {
        pen_summary summary = {};
        if (!pen_summarise(open_image.tnc, p, &summary) || summary.samples <= *samples) continue;
        *samples = summary.samples;
        pen = p;
    }
    return pen;
}

applique* next_color() {
    static double red = 0.25;
    red = red < 0.5 ? 0.75 : 0.25;
    applique* a = applique_new();
    a->is_color = 1;
    a->a0 = red;
    a->a1 = a->a2 = 0.5;
    return a;
}

void start_changes(bool shown) {
    start(24);
    if (shown) return;
    open_image.rows_changed = {};
    open_image.display = {};
}

// One pass over the surface with the most samples, shown (1) or not (0), kept for an undo (1) or not (0). That of
// neither is the pass alone, which the others are to be compared with.
void bm_reevaluate(benchmark::State& state) {
    start_changes(state.range(0) != 0);
    image_history_limit(state.range(1) != 0 ? HISTORY_LIMIT : 0);
    int64_t most = 0;
    const int pen = busiest_pen(&most);
    for (auto _ : state)
        apply_col_pat(pen, next_color());
    state.SetItemsProcessed(state.iterations() * most); // samples
    image_history_limit(0);
}
BENCHMARK(bm_reevaluate)->ArgsProduct({{0, 1}, {0, 1}})->Unit(benchmark::kMillisecond);

// A step of a live drag of the same surface: what of it is shown (1), or all of it (0).
void bm_preview(benchmark::State& state) {
    start_changes(state.range(0) != 0);
    int64_t most = 0;
    image_begin(busiest_pen(&most));
    for (auto _ : state)
        image_preview(next_color());
    image_cancel();
    state.SetItemsProcessed(state.iterations() * most);
}
BENCHMARK(bm_preview)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void bm_undo(benchmark::State& state) {
    start_changes(state.range(0) != 0);
    image_history_limit(HISTORY_LIMIT);
    int64_t most = 0;
    apply_col_pat(busiest_pen(&most), next_color());
    for (auto _ : state)
        if (image_undo() == 0) image_redo();
    state.SetItemsProcessed(state.iterations() * most);
    image_history_limit(0);
}
BENCHMARK(bm_undo)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
