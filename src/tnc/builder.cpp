// Gathers the samples of a line by pen and layer. penpack.cpp packs them when the line ends.
//
// The layer of a sample is the newest one of its pen that ends one column before it; else the newest that doesn't end
// at its own column; else a new one. Samples come by rising column, so the layers that a column touches are always the
// newest ones: this holds for the first column, and then each column takes first those of the column before, newest
// first, then the others, newest first, then new ones. So the layer is found with one step from the one before it,
// however many layers there are.
#include "tnc/builder.h"

#include <climits>

#include "support/log.h"
#include "support/memory.h"
#include "tnc/penpack.h"
#include "tnc/pline.h"

namespace {

constexpr int8_t KIND_UNDEFINED = 'x';

// What skip items may take in all: this, and as much for each sample as one in the last column of the picture can need:
// two bytes for SKIP_COLUMNS columns. See compressed_pen_line0().
constexpr int64_t SKIP_BYTES_AT_FIRST = int64_t{16} << 20;
constexpr int32_t SKIP_COLUMNS = 256;

constexpr uint32_t POOL_FIRST_ROOM = 256;

// The layers of one pen on the current line.
struct pen_layers {
    uint32_t newest; // or NODE_NONE
    uint32_t next;   // the one that takes the next sample of the column, NODE_NONE for a new one
    int32_t column;  // the column that `next` is for
};

} // namespace

struct pen_builder {
    int8_t kinds[PEN_COUNT]; // KIND_UNDEFINED, or has_uv as 0 or 1
    pen_layers layers[PEN_COUNT];
    int32_t x;
    int32_t y;
    int32_t max_pen; // highest pen with samples on the current line, -1 for none
    bool failed;     // no line can be packed any more
    int64_t skip_allowance;
    int32_t skip_bytes_per_sample;
    builder_losses lost;
    line_nodes nodes;
    line_done_action action;
    void* user;
};

namespace {

// The index of a fresh node, or NODE_NONE. Nodes may move.
template <typename T> uint32_t take_node(node_pool<T>* pool) {
    if (pool->count == pool->room) {
        if (pool->room > NODE_NONE / 2) return NODE_NONE;
        uint32_t room = pool->room == 0 ? POOL_FIRST_ROOM : pool->room * 2;
        auto* larger = static_cast<T*>(mem_realloc(pool->nodes, room * sizeof(T)));
        if (larger == nullptr) return NODE_NONE;
        pool->nodes = larger;
        pool->room = room;
    }
    return pool->count++;
}

uint32_t new_sample(pen_builder* b, const rgbuv& sample) {
    uint32_t at = take_node(&b->nodes.samples);
    if (at == NODE_NONE) {
        ++b->lost.samples;
        return NODE_NONE;
    }
    b->nodes.samples.nodes[at] = sample;
    return at;
}

uint32_t new_run(pen_builder* b, uint32_t sample) {
    uint32_t at = take_node(&b->nodes.runs);
    if (at == NODE_NONE) {
        ++b->lost.runs;
        return NODE_NONE;
    }
    b->nodes.runs.nodes[at] = {NODE_NONE, b->x, b->x, sample, sample};
    return at;
}

// A new layer for a run.
uint32_t new_layer(pen_builder* b, uint32_t older, uint32_t first_run) {
    uint32_t at = take_node(&b->nodes.layers);
    if (at == NODE_NONE) {
        ++b->lost.layers;
        return NODE_NONE;
    }
    b->nodes.layers.nodes[at] = {older, first_run, first_run};
    return at;
}

// Adds the sample to an existing layer, in its newest run or behind it. False when there is no memory.
bool extend_layer(pen_builder* b, uint32_t layer, uint32_t sample) {
    autoreflex* l = &b->nodes.layers.nodes[layer];
    run* last = &b->nodes.runs.nodes[l->last_run];
    if (last->end == b->x - 1) {
        b->nodes.samples.nodes[last->last].next = sample;
        last->last = sample;
        last->end = b->x;
        return true;
    }
    uint32_t fresh = new_run(b, sample);
    if (fresh == NODE_NONE) return false;
    b->nodes.runs.nodes[l->last_run].next = fresh;
    l->last_run = fresh;
    return true;
}

// Puts the sample into a layer of its own. False when there is no memory.
bool start_layer(pen_builder* b, pen_layers* of_pen, uint32_t sample) {
    uint32_t fresh = new_run(b, sample);
    if (fresh == NODE_NONE) return false;
    uint32_t layer = new_layer(b, of_pen->newest, fresh);
    if (layer == NODE_NONE) return false;
    of_pen->newest = layer;
    return true;
}

// Packs the layers of a pen, newest first, so that the oldest comes to stand at the head of the chain. Layers that
// can't be packed are left out. False when the line is to be given up.
bool pack_pen(pen_builder* b, int pen, pline** chain) {
    uint32_t at = b->layers[pen].newest;
    while (at != NODE_NONE) {
        const autoreflex* layer = &b->nodes.layers.nodes[at];
        pline* packed = nullptr;
        pack_result result = compressed_pen_line0(&b->nodes, layer, b->kinds[pen], &b->skip_allowance, &packed);
        if (result == pack_result::stopped) return false;
        if (result == pack_result::no_memory) ++b->lost.lines;
        if (result == pack_result::done) {
            packed->next = *chain;
            *chain = packed;
        }
        at = layer->older;
    }
    return true;
}

void flush_pen(pen_builder* b, int pen) {
    pline* chain = nullptr;
    if (pack_pen(b, pen, &chain)) {
        b->action(b->user, pen, b->kinds[pen], b->y, chain);
    } else {
        b->failed = true;
        pline_free_chain(chain);
    }
}

void flush(pen_builder* b) {
    for (int pen = 0; pen <= b->max_pen; ++pen) {
        if (b->layers[pen].newest == NODE_NONE) continue;
        if (!b->failed) flush_pen(b, pen);
        b->layers[pen] = {NODE_NONE, NODE_NONE, 0};
    }
    b->nodes.samples.count = 0;
    b->nodes.runs.count = 0;
    b->nodes.layers.count = 0;
    b->max_pen = -1;
    b->x = 0;
}

// Coordinates stop at the end of their range, less one so that the column behind the last exists.
int32_t moved(int32_t from, int32_t by) {
    return by > INT32_MAX - 1 - from ? INT32_MAX - 1 : from + by;
}

} // namespace

pen_builder* builder_new(line_done_action action, void* user) {
    auto* b = mem_new<pen_builder>();
    if (b == nullptr) {
        log_message(LOG_WARNING, "failed to malloc %d bytes.\n", static_cast<int>(sizeof(pen_builder)));
        return nullptr;
    }
    for (int pen = 0; pen < PEN_COUNT; ++pen) {
        b->kinds[pen] = KIND_UNDEFINED;
        b->layers[pen] = {NODE_NONE, NODE_NONE, 0};
    }
    b->max_pen = -1;
    b->skip_allowance = SKIP_BYTES_AT_FIRST;
    builder_set_columns(b, COLUMNS_UNKNOWN);
    b->action = action;
    b->user = user;
    return b;
}

void builder_set_pen(pen_builder* builder, int pen, int has_uv) {
    if (pen < 0 || pen >= PEN_COUNT) return;
    builder->kinds[pen] = has_uv != 0 ? 1 : 0;
}

void builder_set_columns(pen_builder* builder, int32_t columns) {
    builder->skip_bytes_per_sample = 2 * (columns / SKIP_COLUMNS + 1);
}

int32_t builder_x(const pen_builder* builder) {
    return builder->x;
}

int32_t builder_y(const pen_builder* builder) {
    return builder->y;
}

void builder_move_x(pen_builder* builder, int32_t columns) {
    builder->x = moved(builder->x, columns);
}

void builder_add_sample(pen_builder* builder, int pen, uint8_t red, uint8_t green, uint8_t blue, uint16_t u,
                        uint16_t v) {
    if (pen < 0 || pen >= PEN_COUNT || builder->kinds[pen] == KIND_UNDEFINED) return;
    pen_layers* of_pen = &builder->layers[pen];
    if (of_pen->column != builder->x) {
        of_pen->column = builder->x;
        of_pen->next = of_pen->newest;
    }
    uint32_t layer = of_pen->next;
    if (builder->kinds[pen] == 0) u = v = 0;
    uint32_t sample = new_sample(builder, {NODE_NONE, red, green, blue, u, v});
    if (sample == NODE_NONE) return;
    if (layer == NODE_NONE) {
        if (!start_layer(builder, of_pen, sample)) return;
    } else {
        if (!extend_layer(builder, layer, sample)) return;
        of_pen->next = builder->nodes.layers.nodes[layer].older;
    }
    if (pen > builder->max_pen) builder->max_pen = pen;
    builder->skip_allowance += builder->skip_bytes_per_sample;
}

void builder_next_line(pen_builder* builder) {
    builder_skip_lines(builder, 1);
}

void builder_skip_lines(pen_builder* builder, int32_t count) {
    flush(builder);
    builder->y = moved(builder->y, count);
}

const builder_losses* builder_lost(const pen_builder* builder) {
    return &builder->lost;
}

bool builder_has_failed(const pen_builder* builder) {
    return builder->failed;
}

void builder_free(pen_builder* builder) {
    if (builder == nullptr) return;
    flush(builder);
    mem_free(builder->nodes.samples.nodes);
    mem_free(builder->nodes.runs.nodes);
    mem_free(builder->nodes.layers.nodes);
    mem_free(builder);
}
