// What holds of every handle between two calls, asserted in builds with sanitizers.
#include "raster/CORE/module.h"
#include "support/invariant.h"

namespace {

bool is_one_of_modes(uint32_t mode) {
    return mode == MODE_READ || mode == MODE_UPDATE || mode == MODE_WRITE || mode == MODE_WRITE_READ;
}

void check_tiles(const CFILE* c) {
    const tile_record* t = c->tile;
    invariant(!has_flag(c, FLAG_TILED) || t != nullptr, "a tiled file has its record");
    if (t == nullptr) return;
    invariant(t->width > 0 && t->height > 0, "no tile is without a size");
    invariant(t->row_buffer != nullptr || !t->row_dirty, "lines that wait have a place");
    invariant(t->packet != nullptr || t->packet_bytes == 0, "bytes of a packet are there");
}

void check_positions(const CFILE* c) {
    const io_ahead* a = &c->ahead;
    invariant(a->start <= a->next && a->next <= a->end, "what was fetched stands in order");
    invariant((a->start == nullptr) == (a->end == nullptr), "and is there as a whole or not at all");
    invariant(c->line_offsets != nullptr || c->line_offset_count == 0, "places are counted that are kept");
}

} // namespace

void check_handle(const CFILE* c) {
    if (!INVARIANTS_CHECKED) return;
    invariant(is_one_of_modes(c->mode), "a handle has one mode");
    invariant((c->flags & (FLAG_INTERLEAVED | FLAG_16_BIT)) == 0, "the layout of a call ends with it");
    invariant(has_flag(c, FLAG_SQUETCH) == (c->squetch != nullptr), "resampling is in force with its record");
    invariant(c->active_overview >= OVERVIEW_UNSET && c->active_image >= 0, "what is active has a number");
    check_tiles(c);
    check_positions(c);
    if (c->module != nullptr && c->module->check != nullptr && c->spec != nullptr) c->module->check(c);
}
