// Packs a layer of raw samples: chooses where runs of the byte code begin and end, so that u and v can be coded as
// second differences and equal shades stand once, and writes the runs.
#include "tnc/penpack.h"

#include <climits>
#include <cstring>

#include "support/bytes.h"
#include "support/log.h"
#include "support/memory.h"
#include "tnc/penline.h"
#include "tnc/pline.h"

namespace {

constexpr uint8_t FLAG_DELTA_FIT = 0x01;
constexpr uint8_t FLAG_RUN_START = 0x02;
constexpr uint8_t FLAG_GREY = 0x08;
constexpr uint8_t FLAG_SAME_SHADE = 0x10;

struct xlate_record {
    uint8_t flags;
    uint8_t red, green, blue;
    uint16_t u, v;
};
static_assert(sizeof(xlate_record) == 8);

// The largest code of one sample: header, three bytes of shade, four of u,v. Longer runs need less for each of theirs.
constexpr int64_t SAMPLE_BYTES = 8;

// Longest skip item and its two bytes; shorter ones of less than LONG_SKIP columns take one.
constexpr int32_t SKIP_MAX = 256;
constexpr int32_t LONG_SKIP = 128;

struct scratch_buffers {
    uint8_t* line;
    size_t line_bytes;
    xlate_record* xlate_run;
    size_t xlate_count;
};

scratch_buffers scratch = {};

int64_t gap_bytes(int32_t gap) {
    int32_t rest = gap % SKIP_MAX;
    return int64_t{gap / SKIP_MAX} * 2 + (rest >= LONG_SKIP ? 2 : (rest > 0 ? 1 : 0));
}

// Makes a buffer of `have` items hold `need`, and then some. Its content is not kept.
template <typename T> bool make_room(T** buffer, size_t* have, size_t need) {
    if (*have >= need) return true;
    size_t room = need + need / 2;
    T* larger = mem_new_array<T>(room);
    if (larger == nullptr) return false;
    mem_free(*buffer);
    *buffer = larger;
    *have = room;
    return true;
}

uint8_t* write_gap(uint8_t* to, int32_t gap) {
    for (; gap > 0; gap -= SKIP_MAX) {
        if (gap >= LONG_SKIP) {
            *to++ = PENLINE_SKIP;
            *to++ = static_cast<uint8_t>((gap < SKIP_MAX ? gap : SKIP_MAX) - 1);
        } else {
            *to++ = static_cast<uint8_t>(PENLINE_SKIP | gap);
        }
    }
    return to;
}

bool fits_byte(int32_t value) {
    return value >= INT8_MIN && value <= INT8_MAX;
}

bool same_shade(const xlate_record* a, const xlate_record* b) {
    return a->red == b->red && a->green == b->green && a->blue == b->blue;
}

// Fills the records from the samples that begin at `sample`, with all flags but the run starts.
void fill_records(const rgbuv* samples, uint32_t sample, xlate_record* records, int32_t count) {
    int32_t du_before = 0;
    int32_t dv_before = 0;
    for (int32_t i = 0; i < count; ++i) {
        const rgbuv* from = &samples[sample];
        sample = from->next;
        xlate_record* record = &records[i];
        *record = {0, from->red, from->green, from->blue, from->u, from->v};
        if (from->red == from->green && from->red == from->blue) record->flags = FLAG_GREY;
        if (i == 0) continue;
        const xlate_record* before = record - 1;
        if (same_shade(record, before)) record->flags |= FLAG_SAME_SHADE;
        int32_t du = record->u - before->u;
        int32_t dv = record->v - before->v;
        if (i >= 2 && fits_byte(du - du_before) && fits_byte(dv - dv_before)) record->flags |= FLAG_DELTA_FIT;
        du_before = du;
        dv_before = dv;
    }
}

bool has_flag(const xlate_record* records, int32_t index, uint8_t flag) {
    return (records[index].flags & flag) != 0;
}

int32_t lowest_of_run(int32_t top) {
    return top >= PENLINE_RUN_MAX ? top - (PENLINE_RUN_MAX - 1) : 0;
}

// Whether a run that goes back to p + 1 takes record p too. `lo` is the lowest record that it may take.
bool takes_one_more(const xlate_record* records, int32_t p, int32_t lo) {
    if (p <= lo) return p == lo;
    if (!has_flag(records, p, FLAG_DELTA_FIT) && has_flag(records, p - 1, FLAG_DELTA_FIT)) return true;
    return has_flag(records, p + 1, FLAG_SAME_SHADE);
}

// Marks where runs begin, from the last record backward: stretches without delta fit and stretches with it take turns,
// and the two records ahead of a stretch with delta fit, which have none, belong to its run.
void mark_run_starts(xlate_record* records, int32_t count) {
    int32_t p = count - 1;
    while (p >= 0) {
        int32_t top = p;
        int32_t lo = lowest_of_run(p);
        while (p >= lo && !has_flag(records, p, FLAG_DELTA_FIT))
            --p;
        if (p < top) records[p + 1].flags |= FLAG_RUN_START;
        if (p < 0) return;

        lo = lowest_of_run(p);
        while (p >= lo && has_flag(records, p, FLAG_DELTA_FIT))
            --p;
        if (p >= lo) --p;
        if (takes_one_more(records, p, lo)) --p;
        records[p + 1].flags |= FLAG_RUN_START;
    }
}

// The header byte of a run, but for its count.
uint8_t kind_of_run(const xlate_record* records, int32_t count, int has_uv) {
    uint8_t all = static_cast<uint8_t>(records[0].flags | FLAG_SAME_SHADE | FLAG_DELTA_FIT);
    for (int32_t i = 1; i < count; ++i) {
        all &= static_cast<uint8_t>(i == 1 ? records[i].flags | FLAG_DELTA_FIT : records[i].flags);
    }
    int kind = PENLINE_UV_NONE;
    if (has_uv != 0) kind = count >= 3 && (all & FLAG_DELTA_FIT) != 0 ? PENLINE_UV_DELTA : PENLINE_UV_LITERAL;
    if ((all & FLAG_SAME_SHADE) != 0) kind |= PENLINE_CONSTANT;
    if ((all & FLAG_GREY) != 0) kind |= PENLINE_GREY;
    return static_cast<uint8_t>(kind);
}

uint8_t* write_shade(uint8_t* to, const xlate_record* record, uint8_t kind) {
    *to++ = record->red;
    if ((kind & PENLINE_GREY) != 0) return to;
    *to++ = record->green;
    *to++ = record->blue;
    return to;
}

// The two bytes that the record at `i` of a delta-coded run has: low bytes of u and v, then of their second
// differences.
uint8_t* write_delta(uint8_t* to, const xlate_record* records, int32_t i) {
    int32_t a = records[i].u;
    int32_t b = records[i].v;
    if (i >= 2) {
        a += records[i - 2].u - 2 * records[i - 1].u;
        b += records[i - 2].v - 2 * records[i - 1].v;
    }
    *to++ = static_cast<uint8_t>(a);
    *to++ = static_cast<uint8_t>(b);
    return to;
}

uint8_t* write_literal(uint8_t* to, const xlate_record* record) {
    store_u16le(to, record->u);
    store_u16le(to + 2, record->v);
    return to + 4;
}

uint8_t* write_high_bytes(uint8_t* to, const xlate_record* records) {
    for (int i = 0; i < 2; ++i) {
        *to++ = static_cast<uint8_t>(records[i].u >> 8);
        *to++ = static_cast<uint8_t>(records[i].v >> 8);
    }
    return to;
}

// Writes one run of 1 to PENLINE_RUN_MAX records.
uint8_t* write_run(uint8_t* to, const xlate_record* records, int32_t count, int has_uv) {
    uint8_t kind = kind_of_run(records, count, has_uv);
    bool constant = (kind & PENLINE_CONSTANT) != 0;
    int uv = kind & PENLINE_UV;
    bool short_count = count <= PENLINE_COUNT >> PENLINE_COUNT_SHIFT;
    *to++ = static_cast<uint8_t>(short_count ? kind | count << PENLINE_COUNT_SHIFT : kind);
    if (!short_count) *to++ = static_cast<uint8_t>(count - 1);
    if (constant) to = write_shade(to, records, kind);
    if (uv == PENLINE_UV_DELTA) to = write_high_bytes(to, records);
    for (int32_t i = 0; i < count; ++i) {
        if (!constant) to = write_shade(to, &records[i], kind);
        if (uv == PENLINE_UV_DELTA) to = write_delta(to, records, i);
        if (uv == PENLINE_UV_LITERAL) to = write_literal(to, &records[i]);
    }
    return to;
}

// Writes the records as runs, each up to the next mark.
uint8_t* write_runs(uint8_t* to, const xlate_record* records, int32_t count, int has_uv) {
    int32_t start = 0;
    while (start < count) {
        int32_t next = start + 1;
        while (next < count && !has_flag(records, next, FLAG_RUN_START))
            ++next;
        to = write_run(to, records + start, next - start, has_uv);
        start = next;
    }
    return to;
}

// What a layer can need at most, and how much of it its skip items take.
struct layer_size {
    int64_t bytes;
    int64_t skip_bytes;
    int32_t longest_run; // samples
    int32_t delx;        // one past the last column
};

layer_size measure_layer(const line_nodes* nodes, const autoreflex* layer) {
    layer_size size = {1, 0, 0, 0};
    for (uint32_t at = layer->first_run; at != NODE_NONE; at = nodes->runs.nodes[at].next) {
        const run* r = &nodes->runs.nodes[at];
        int32_t count = r->end - r->start + 1;
        size.skip_bytes += gap_bytes(r->start - size.delx);
        size.bytes += count * SAMPLE_BYTES;
        if (count > size.longest_run) size.longest_run = count;
        size.delx = r->end + 1;
    }
    size.bytes += size.skip_bytes;
    return size;
}

// Makes the scratch buffers large enough. False after a message.
bool make_scratch(const layer_size* size) {
    if (!make_room(&scratch.line, &scratch.line_bytes, static_cast<size_t>(size->bytes))) {
        log_message(LOG_ERROR, "Error : compressed_pen_line0 - no memory. delx = %d\n", size->delx);
        return false;
    }
    if (!make_room(&scratch.xlate_run, &scratch.xlate_count, static_cast<size_t>(size->longest_run))) {
        log_message(LOG_WARNING, "Failed to allocate memory for xlate_run. count = %d\n", size->longest_run);
        return false;
    }
    return true;
}

// Writes the code of a layer to the line scratch buffer and returns its end.
uint8_t* write_layer(const line_nodes* nodes, const autoreflex* layer, int has_uv) {
    uint8_t* to = scratch.line;
    int32_t position = 0;
    for (uint32_t at = layer->first_run; at != NODE_NONE; at = nodes->runs.nodes[at].next) {
        const run* r = &nodes->runs.nodes[at];
        int32_t count = r->end - r->start + 1;
        to = write_gap(to, r->start - position);
        fill_records(nodes->samples.nodes, r->first, scratch.xlate_run, count);
        mark_run_starts(scratch.xlate_run, count);
        to = write_runs(to, scratch.xlate_run, count, has_uv);
        position = r->end + 1;
    }
    *to++ = 0;
    return to;
}

} // namespace

pack_result compressed_pen_line0(const line_nodes* nodes, const autoreflex* layer, int has_uv, int64_t* skip_allowance,
                                 pline** packed) {
    layer_size size = measure_layer(nodes, layer);
    if (size.skip_bytes > *skip_allowance) return pack_result::no_memory;
    *skip_allowance -= size.skip_bytes;
    if (!make_scratch(&size)) return pack_result::stopped;
    int64_t length = write_layer(nodes, layer, has_uv) - scratch.line;
    pline* line = length <= PLINE_LENGTH_MAX ? pline_new(static_cast<uint32_t>(length)) : nullptr;
    if (line == nullptr) return pack_result::no_memory;
    std::memcpy(line->code, scratch.line, static_cast<size_t>(length));
    *packed = line;
    return pack_result::done;
}

void penpack_release_scratch() {
    mem_free(scratch.line);
    mem_free(scratch.xlate_run);
    scratch = {};
}
