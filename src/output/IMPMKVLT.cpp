// Picks a colour table for a picture of three planes: the colour cube is halved in all three directions again and
// again, and the table's entries are shared out among the parts by the number of distinct colours in each.
#include <cmath>

#include "output/hash.h"
#include "output/mkvlt.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "IMPMKVLT.c";
constexpr int32_t COLORS_MAX = 256;

// One table being made.
struct table_maker {
    Impack* pack;
    imp_progress* progress;
    color_hash hash;
    color_box stack[COLORS_MAX]; // the boxes still to be dealt with: each has a slot of the table or more
    int boxes;
    int32_t made; // entries
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
    int64_t at = 0;
    for (int32_t y = 0; y < pack->ysize; ++y, at += pack->xsize) {
        if (!hash_add(&m->hash, pack->red_plane + at, pack->green_plane + at, pack->blue_plane + at,
                      static_cast<size_t>(pack->xsize))) {
            return ran_out_of_memory(__LINE__);
        }
        if (imp_line_done(m->progress, pack, y)) return IMP_STOPPED;
    }
    imp_lines_done(m->progress, pack);
    return IMP_OK;
}

int imp_make_root_box(table_maker* m, int32_t colors) {
    if (!hash_seal(&m->hash)) return ran_out_of_memory(__LINE__);
    auto distinct = static_cast<int32_t>(m->hash.distinct);
    int32_t slots = colors < distinct ? colors : distinct;
    m->stack[0] = {255, 0, 255, 0, 255, 0, true, distinct, slots, 0};
    m->boxes = 1;
    return IMP_OK;
}

// ---- boxes ---------------------------------------------------------------------------------------------------------

// A half of a channel's range. The upper half of a single value is empty.
void take_half(uint8_t* high, uint8_t* low, bool upper) {
    int middle = (*high + *low) >> 1;
    if (!upper) {
        *high = static_cast<uint8_t>(middle);
    } else if (middle < *high) {
        *low = static_cast<uint8_t>(middle + 1);
    } else {
        *low = 1;
        *high = 0;
    }
}

// Red varies slowest.
void make_children(const color_box* box, color_box children[BOX_CHILDREN]) {
    for (int k = 0; k < BOX_CHILDREN; ++k) {
        children[k] = *box;
        take_half(&children[k].max_red, &children[k].min_red, (k & 4) != 0);
        take_half(&children[k].max_green, &children[k].min_green, (k & 2) != 0);
        take_half(&children[k].max_blue, &children[k].min_blue, (k & 1) != 0);
    }
}

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
    make_children(box, children);
    hash_split(&m->hash, box, children);
    share_slots(box, children);
    for (const color_box& child : children) {
        if (child.slots > 0) m->stack[m->boxes++] = child;
    }
}

uint16_t rounded(double value) {
    value += 0.5;
    return static_cast<uint16_t>(value < 255.0 ? value : 255.0);
}

// Stores the next entry of the table. True when the work is to stop.
bool imp_box_color(table_maker* m, const color_box* box) {
    mean_color mean = hash_mean(&m->hash, box);
    auto slot = static_cast<uint16_t>(m->made);
    m->pack->vlt[m->made++] = {slot, rounded(mean.red), rounded(mean.green), rounded(mean.blue)};
    if (imp_wants(m->progress, IMP_COUNTERS)) {
        imp_tell(m->progress, IMP_MESSAGE_LINES, "       COLOR %3d/%3d\r", m->made, m->pack->vlt_count);
    }
    return imp_step_stops(m->progress);
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
    if (code == IMP_OK) code = imp_make_root_box(m, colors);
    if (code != IMP_OK) return code;
    m->pack->vlt_count = m->stack[0].slots;
    return imp_split_boxes(m);
}

int imp_pick_colors(Impack* pack, int32_t colors, imp_progress* p) {
    table_maker m = {pack, p, {}, {}, 0, 0};
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
    bool fits = colors >= 1 && colors <= COLORS_MAX; // an index is a byte
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
