#include "tncwrite.h"

#include <cstring>

#include "support/bytes.h"
#include "support/memory.h"

namespace {

constexpr uint8_t MAGIC = 250;
constexpr uint8_t VERSION = 3;
constexpr uint8_t RECORD_PACKED_LINE = 241;
constexpr uint8_t RECORD_STREAM = 242;
constexpr uint8_t RECORD_HEADER = 243;
constexpr uint8_t RECORD_PEN = 249;
constexpr uint8_t RECORD_NEXT_COLUMN = 251;
constexpr uint8_t RECORD_SKIP_COLUMNS = 252;
constexpr uint8_t RECORD_NEXT_LINE = 253;
constexpr uint8_t RECORD_SKIP_LINES = 254;
constexpr uint8_t RECORD_END = 255;
constexpr uint8_t HEADER_NAME = 1;
constexpr int32_t SKIP_MAX = 65535;

bool packs_lines(const tnc_writer* w) {
    return w->packing == tnc_packing::plines || w->packing == tnc_packing::both;
}

void put(tnc_writer* w, const uint8_t* bytes, size_t count) {
    if (w->in_stream) {
        compress_bytes(&w->stream, bytes, count);
    } else {
        w->file.insert(w->file.end(), bytes, bytes + count);
    }
}

void put_byte(tnc_writer* w, uint8_t byte) {
    put(w, &byte, 1);
}

void put_u16(tnc_writer* w, uint16_t value) {
    uint8_t bytes[2];
    store_u16le(bytes, value);
    put(w, bytes, sizeof bytes);
}

// One step is the short record; more go into counts of 16 bits.
void move(tnc_writer* w, int32_t steps, uint8_t one, uint8_t many) {
    while (steps > 0) {
        if (steps == 1) {
            put_byte(w, one);
            return;
        }
        int32_t part = steps < SKIP_MAX ? steps : SKIP_MAX;
        put_byte(w, many);
        put_u16(w, static_cast<uint16_t>(part));
        steps -= part;
    }
}

void put_sample(tnc_writer* w, const pen_sample& s) {
    const uint8_t bytes[] = {s.pen, s.red, s.green, s.blue};
    put(w, bytes, sizeof bytes);
    if (!w->has_uv[s.pen]) return;
    put_u16(w, s.u);
    put_u16(w, s.v);
}

void put_row(tnc_writer* w, int32_t y, const pen_sample* samples, size_t count) {
    move(w, y - w->y, RECORD_NEXT_LINE, RECORD_SKIP_LINES);
    w->y = y;
    w->x = 0;
    for (size_t i = 0; i < count; ++i) {
        move(w, samples[i].x - w->x, RECORD_NEXT_COLUMN, RECORD_SKIP_COLUMNS);
        w->x = samples[i].x;
        put_sample(w, samples[i]);
    }
}

void put_packed_line(tnc_writer* w, int pen, int32_t y, const pline* line) {
    put_byte(w, RECORD_PACKED_LINE);
    put_byte(w, static_cast<uint8_t>(pen));
    put_u16(w, static_cast<uint16_t>(y));
    put_u16(w, static_cast<uint16_t>(line->length));
    put(w, line->code, line->length);
}

// A reader pushes each packed line on the front of its chain, so the last of the chain is written first.
void put_chain(tnc_writer* w, int pen, int32_t y, pline* chain) {
    if (chain == nullptr) return;
    put_chain(w, pen, y, chain->next);
    put_packed_line(w, pen, y, chain);
    mem_free(chain);
}

void take_chain(void* user, int pen, int /*has_uv*/, int32_t y, pline* chain) {
    put_chain(static_cast<tnc_writer*>(user), pen, y, chain);
}

void pack_row(tnc_writer* w, int32_t y, const pen_sample* samples, size_t count) {
    int32_t rows = y - builder_y(w->builder);
    if (rows > 0) builder_skip_lines(w->builder, rows);
    for (size_t i = 0; i < count; ++i) {
        const pen_sample& s = samples[i];
        builder_move_x(w->builder, s.x - builder_x(w->builder));
        builder_add_sample(w->builder, s.pen, s.red, s.green, s.blue, s.u, s.v);
    }
}

} // namespace

bool tnc_begin(tnc_writer* w, tnc_packing packing, const std::vector<pen_info>& pens, const char* companion) {
    *w = {};
    w->packing = packing;
    const uint8_t opening[] = {MAGIC, VERSION, RECORD_HEADER, HEADER_NAME};
    put(w, opening, sizeof opening);
    put(w, reinterpret_cast<const uint8_t*>(companion), std::strlen(companion) + 1);
    if (packing == tnc_packing::stream || packing == tnc_packing::both) {
        put_byte(w, RECORD_STREAM);
        compress_begin(&w->stream, &w->file);
        w->in_stream = true;
    }
    w->builder = packs_lines(w) ? builder_new(take_chain, w) : nullptr;
    if (packs_lines(w) && w->builder == nullptr) return false;
    for (size_t pen = 0; pen < pens.size(); ++pen) {
        w->has_uv.push_back(pens[pen].has_uv);
        const uint8_t record[] = {RECORD_PEN, static_cast<uint8_t>(pen), pens[pen].has_uv ? uint8_t{0} : uint8_t{1}};
        put(w, record, sizeof record);
        if (w->builder != nullptr) builder_set_pen(w->builder, static_cast<int>(pen), pens[pen].has_uv ? 1 : 0);
    }
    return true;
}

void tnc_add_row(tnc_writer* w, int32_t y, const pen_sample* samples, size_t count) {
    if (w->builder != nullptr) {
        pack_row(w, y, samples, count);
    } else {
        put_row(w, y, samples, count);
    }
}

void tnc_end(tnc_writer* w) {
    if (w->builder != nullptr) builder_free(w->builder);
    w->builder = nullptr;
    put_byte(w, RECORD_END);
    if (w->in_stream) compress_end(&w->stream);
    w->in_stream = false;
}
