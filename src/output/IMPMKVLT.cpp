// Picks a colour table for a picture of three planes: the colour cube is halved in all three directions again and
// again, and the table's entries are shared out among the parts by the number of distinct colours in each.
#include <cmath>

#include "output/hash.h"
#include "output/mkvlt.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "IMPMKVLT.c";

// One table being made.
struct table_maker {
    Impack* pack;
    imp_progress* progress;
    color_hash hash;
    color_box stack[IMP_COLORS_MAX]; // the boxes still to be dealt with: each has a slot of the table or more
    int boxes;
    int32_t made;                        // entries
    color_box unsettled[IMP_COLORS_MAX]; // boxes of entries whose colour takes a second pass
    int32_t unsettled_entry[IMP_COLORS_MAX];
    int unsettled_count;
};

int ran_out_of_memory(int line) {
    return imp_fail_saying(IMP_NO_MEMORY, "Ran out of memory. Line %d, File %s\n", line, SOURCE);
}

void tell_stage(const imp_progress* p, const char* text) {
    if (imp_wants(p, IMP_MESSAGE_STAGES)) imp_tell(p, IMP_MESSAGE_STAGES, "%s", text);
}

// ---- colours of the picture ----------------------------------------------------------------------------------------

int imp_accumulate_colors(table_maker* m) {
    const Impack* pack = m->pack;
    tell_stage(m->progress, "       Accumulating color data");
    if (!hash_start(&m->hash)) return ran_out_of_memory(__LINE__);
    int64_t at = 0;
    for (int32_t y = 0; y < pack->ysize; ++y, at += pack->xsize) {
        hash_add(&m->hash, pack->red_plane + at, pack->green_plane + at, pack->blue_plane + at,
                 static_cast<size_t>(pack->xsize));
        if (imp_line_done(m->progress, pack, y)) return IMP_STOPPED;
    }
    imp_lines_done(m->progress, pack);
    return IMP_OK;
}

void imp_make_root_box(table_maker* m, int32_t colors) {
    hash_seal(&m->hash);
    auto distinct = static_cast<int32_t>(m->hash.distinct);
    m->stack[0] = {0, 0, distinct, colors < distinct ? colors : distinct};
    m->boxes = 1;
}

// ---- boxes ---------------------------------------------------------------------------------------------------------

// The child that gives up a slot: the most slots, then the fewest colours, then the first.
color_box* richest(color_box children[BOX_CHILDREN]) {
    color_box* best = &children[0];
    for (int k = 1; k < BOX_CHILDREN; ++k) {
        color_box* child = &children[k];
        bool more = child->slots > best->slots || (child->slots == best->slots && child->colors < best->colors);
        if (more) best = child;
    }
    return best;
}

// Shares the slots of a box among its children by their colours; a child with colours asks for a slot and more.
void share_slots(const color_box* box, color_box children[BOX_CHILDREN]) {
    int32_t sum = 0;
    for (int k = 0; k < BOX_CHILDREN; ++k) {
        color_box* child = &children[k];
        auto share = static_cast<int32_t>(static_cast<double>(box->slots) / box->colors * child->colors + 1.5);
        child->slots = child->colors == 0 ? 0 : (child->colors < share ? child->colors : share);
        sum += child->slots;
    }
    for (; sum > box->slots; --sum)
        --richest(children)->slots;
}

void split_box(table_maker* m, const color_box* box) {
    color_box children[BOX_CHILDREN];
    hash_split(&m->hash, box, children);
    share_slots(box, children);
    for (const color_box& child : children) {
        if (child.slots > 0) m->stack[m->boxes++] = child;
    }
}

rzl_vlt_entry entry_of(int32_t slot, const uint8_t color[3]) {
    return {static_cast<uint16_t>(slot), color[0], color[1], color[2]};
}

// Stores the next entry of the table. True when the work is to stop.
bool imp_box_color(table_maker* m, const color_box* box) {
    uint8_t mean[3] = {};
    if (!hash_mean(&m->hash, box, mean)) {
        m->unsettled_entry[m->unsettled_count] = m->made;
        m->unsettled[m->unsettled_count++] = *box;
    }
    m->pack->vlt[m->made] = entry_of(m->made, mean);
    ++m->made;
    if (imp_wants(m->progress, IMP_COUNTERS)) {
        imp_tell(m->progress, IMP_MESSAGE_LINES, "       COLOR %3d/%3d\r", m->made, m->pack->vlt_count);
    }
    return imp_step_stops(m->progress);
}

// The colours that hash_mean() has left open.
int settle_entries(table_maker* m) {
    const Impack* pack = m->pack;
    if (m->unsettled_count == 0) return IMP_OK;
    if (!hash_recount(&m->hash, m->unsettled, m->unsettled_count)) return ran_out_of_memory(__LINE__);
    hash_count(&m->hash, pack->red_plane, pack->green_plane, pack->blue_plane, static_cast<size_t>(pack->pixels));
    for (int i = 0; i < m->unsettled_count; ++i) {
        uint8_t mean[3];
        hash_mean_in_order(&m->hash, &m->unsettled[i], mean);
        pack->vlt[m->unsettled_entry[i]] = entry_of(m->unsettled_entry[i], mean);
    }
    return IMP_OK;
}

int imp_split_boxes(table_maker* m) {
    tell_stage(m->progress, "       Picking optimal colors.");
    while (m->boxes > 0) {
        color_box box = m->stack[--m->boxes];
        if (box.slots > 1) {
            split_box(m, &box);
        } else if (box.slots == 1 && imp_box_color(m, &box)) {
            return IMP_STOPPED;
        }
    }
    if (imp_wants(m->progress, IMP_COUNTERS)) {
        int32_t count = m->pack->vlt_count;
        imp_tell(m->progress, IMP_MESSAGE_LINES, "       COLOR %3d/%3d\n", count, count);
    }
    return IMP_OK;
}

// ---- the table -----------------------------------------------------------------------------------------------------

int32_t nearest_to_grey(const Impack* pack, int32_t level) {
    int32_t best = 0;
    int32_t best_distance = INT32_MAX;
    for (int32_t i = 0; i < pack->vlt_count; ++i) {
        int32_t red = pack->vlt[i].red - level;
        int32_t green = pack->vlt[i].green - level;
        int32_t blue = pack->vlt[i].blue - level;
        int32_t distance = red * red + green * green + blue * blue;
        if (distance >= best_distance) continue;
        best = i;
        best_distance = distance;
    }
    return best;
}

// The slots stay, the colours change places.
void swap_colors(rzl_vlt_entry* a, rzl_vlt_entry* b) {
    rzl_vlt_entry before = *a;
    *a = {a->slot, b->red, b->green, b->blue};
    *b = {b->slot, before.red, before.green, before.blue};
}

// Black, or what is nearest to it, goes to the front and white to the end, where programs look for them.
void imp_place_black_white(Impack* pack) {
    if (pack->vlt_count == 0) return;
    swap_colors(&pack->vlt[0], &pack->vlt[nearest_to_grey(pack, 0)]);
    swap_colors(&pack->vlt[pack->vlt_count - 1], &pack->vlt[nearest_to_grey(pack, 255)]);
}

int pick_with(table_maker* m, int32_t colors) {
    int code = imp_accumulate_colors(m);
    if (code != IMP_OK) return code;
    imp_make_root_box(m, colors);
    m->pack->vlt_count = m->stack[0].slots;
    code = imp_split_boxes(m);
    return code == IMP_OK ? settle_entries(m) : code;
}

int imp_pick_colors(Impack* pack, int32_t colors, imp_progress* p) {
    table_maker m = {};
    m.pack = pack;
    m.progress = p;
    int code = pick_with(&m, colors);
    hash_free(&m.hash);
    if (code == IMP_OK) imp_place_black_white(pack);
    return code;
}

uint16_t through_gamma(uint16_t value, double gamma) {
    double corrected = std::pow(value * (1.0 / 255.0), 1.0 / gamma) * 65535.0 + 0.5;
    return static_cast<uint16_t>(corrected);
}

// Moves the table to the scale 0 to 65535. The mapping is done by then and does not depend on it.
void apply_gamma(Impack* pack, double gamma) {
    bool applies = gamma > 0.0 && gamma < 10.0;
    for (int32_t i = 0; applies && i < pack->vlt_count; ++i) {
        rzl_vlt_entry* e = &pack->vlt[i];
        *e = {e->slot, through_gamma(e->red, gamma), through_gamma(e->green, gamma), through_gamma(e->blue, gamma)};
    }
}

// ---- the whole -----------------------------------------------------------------------------------------------------

// This failure is told whatever imp_verbose says.
int no_room_for_result(size_t bytes, int line) {
    return imp_fail_telling(IMP_NO_MEMORY, "Couldnt allocate %d bytes. Line %d, File %s\n", imp_printed(bytes), line,
                            SOURCE);
}

int check_request(const Impack* pack, int32_t colors) {
    if (pack == nullptr) return imp_fail_saying(IMP_NULL_PACK, "Null imp. Line %d, File %s\n", __LINE__, SOURCE);
    if (pack->magic != IMP_MAGIC) {
        return imp_fail_saying(IMP_BAD_PACK, "Insane imp. Line %d, File %s\n", __LINE__, SOURCE);
    }
    bool fits = colors >= 1 && colors <= IMP_COLORS_MAX; // an index is a byte
    return fits ? static_cast<int>(IMP_OK) : imp_fail(IMP_BAD_FLAG);
}

int allocate_result(Impack* pack, int32_t colors) {
    pack->vlt = mem_new_array<rzl_vlt_entry>(static_cast<size_t>(colors));
    if (pack->vlt == nullptr) return no_room_for_result(static_cast<size_t>(colors) * sizeof(rzl_vlt_entry), __LINE__);
    pack->made |= IMP_MADE_VLT;
    pack->vlt_count = colors;
    pack->index_plane = mem_new_array<uint8_t>(static_cast<size_t>(pack->pixels));
    pack->made |= IMP_MADE_INDEX;
    if (pack->index_plane != nullptr) return IMP_OK;
    return no_room_for_result(static_cast<size_t>(pack->pixels), __LINE__);
}

} // namespace

bool imp_line_done(imp_progress* p, const Impack* pack, int32_t y) {
    if (y == 0) p->since_look = p->since_message = 0; // a stage of its own
    bool stops = imp_line_stops(p);
    if (!stops && imp_wants(p, IMP_COUNTERS) && imp_message_due(p)) {
        imp_tell(p, IMP_MESSAGE_LINES, "       Line %5d/%5d\r", y, pack->ysize);
    }
    return stops;
}

void imp_lines_done(const imp_progress* p, const Impack* pack) {
    if (p->msg_interval < 1 || !imp_wants(p, IMP_COUNTERS)) return;
    imp_tell(p, IMP_MESSAGE_LINES, "       Line %5d/%5d\n", pack->ysize, pack->ysize);
}

int imp_make_vlt(Impack* pack, int32_t dither, int32_t colors, double gamma, uint32_t stop_mask, int32_t stop_interval,
                 imp_stop_function stop_fn, uint32_t msg_mask, int32_t msg_interval, imp_log_function log_fn) {
    imp_progress p = {stop_mask, stop_interval, stop_fn, msg_mask, msg_interval, log_fn, 0, 0};
    if (imp_wants(&p, IMP_MESSAGE_TABLE)) imp_tell(&p, IMP_MESSAGE_TABLE, "Making vlt.");
    int code = check_request(pack, colors);
    if (code != IMP_OK) return code;
    if (pack->vlt_count > 0) return IMP_OK;
    if (imp_lacks_planes(pack)) return imp_fail(IMP_BAD_PACK);
    code = allocate_result(pack, colors);
    if (code == IMP_OK) code = imp_pick_colors(pack, colors, &p);
    if (code == IMP_OK) code = imp_map_colors(pack, dither, &p);
    if (code == IMP_OK) {
        apply_gamma(pack, gamma);
        return IMP_OK;
    }
    imp_release_vlt(pack);
    imp_release_index(pack);
    return code == IMP_STOPPED ? code : imp_fail(code);
}
