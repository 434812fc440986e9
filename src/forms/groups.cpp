// Members of groups, the rule of single select, and the size of a group.
#include <algorithm>

#include "forms/array.h"
#include "forms/forms.h"
#include "forms/link.h"
#include "forms/ops.h"
#include "forms/show.h"

FI_gadget* fi_next_member(const FI_group* group, int* at) {
    while (*at < group->capacity) {
        FI_gadget* member = group->members[(*at)++];
        if (member != nullptr) return member;
    }
    return nullptr;
}

int fi_group_room(FI_group* group, int slots) {
    if (slots <= group->capacity) return FI_SUCCESS;
    if (slots > FI_GROUP_LIMIT) return FI_NO_MEMORY;
    if (!fi_resize(&group->members, slots)) return FI_NO_MEMORY;
    std::fill(group->members + group->capacity, group->members + slots, nullptr);
    group->capacity = static_cast<uint16_t>(slots);
    return FI_SUCCESS;
}

int fi_group_add(FI_group* group, FI_gadget* gadget) {
    int slot = group->next_free;
    while (slot < group->capacity && group->members[slot] != nullptr)
        ++slot;
    if (slot == group->capacity) {
        const int room = std::min(slot + FI_GROUP_SLOTS, FI_GROUP_LIMIT);
        if (room == slot || fi_group_room(group, room) != FI_SUCCESS) return FI_NO_MEMORY;
    }
    group->members[slot] = gadget;
    group->next_free = static_cast<int16_t>(std::min(slot + 1, FI_GROUP_LIMIT));
    gadget->group = group;
    return FI_SUCCESS;
}

void fi_group_remove(FI_gadget* gadget, bool keep_hint) {
    FI_group* group = gadget->group;
    gadget->group = nullptr;
    if (group == nullptr) return;
    FI_gadget** end = group->members + group->capacity;
    FI_gadget** place = std::find(group->members, end, gadget);
    if (place == end) return;
    *place = nullptr;
    if (keep_hint)
        group->next_free = static_cast<int16_t>(std::min<ptrdiff_t>(group->next_free, place - group->members));
}

namespace {

// Sets a member off that was on beside `chosen`. The link of `chosen` is carried each time, as the value of the one
// that stays is the group's.
void clear_other(FI_gadget* other, FI_gadget* chosen) {
    if (other == chosen || other->value != 1.0) return;
    const fi_hold hold(other);
    other->value = 0;
    fi_carry_link(chosen);
    if (!hold.gone()) fi_redraw_gadget(other);
}

} // namespace

void fi_single_select(FI_gadget* gadget) {
    FI_group* group = gadget->group;
    if (group == nullptr || group->single_select == 0 || gadget->type == FI_GROUP) return;
    const fi_hold hold(gadget);
    const fi_hold hold_group(fi_common(group));
    fi_each_member(group, [&](FI_gadget* other) {
        if (!hold.gone()) clear_other(other, gadget);
    });
}

namespace {

constexpr int FAR_LEFT = 5000; // where the search for the smallest begins
constexpr float TABLE_LEFT = 12;
constexpr float TABLE_EDGE = 2;

struct group_extent {
    float x1, y1, x2, y2;
    bool any;
};

void widen(group_extent* e, const FI_gadget* g) {
    const bool table = g->type == FI_MCF;
    e->x1 = std::min(e->x1, g->x1 - (table ? TABLE_LEFT : 0));
    e->y1 = std::min(e->y1, g->y1 - (table ? TABLE_EDGE : 0));
    e->x2 = std::max(e->x2, g->x2);
    e->y2 = std::max(e->y2, g->y2 + (table ? TABLE_EDGE : 0));
    e->any = true;
}

void widen_by_members(group_extent* e, const FI_group* group) {
    int at = 0;
    while (const FI_gadget* member = fi_next_member(group, &at)) {
        if (member->type == FI_GROUP)
            widen_by_members(e, fi_as_group(member));
        else
            widen(e, member);
    }
}

} // namespace

fi_box fi_group_size(const FI_group* group) {
    group_extent e = {FAR_LEFT, FAR_LEFT, 0, 0, false};
    widen_by_members(&e, group);
    if (!e.any) return {0, 0, 0, 0};
    return {static_cast<int>(e.x1), static_cast<int>(e.y1), static_cast<int>(e.x2), static_cast<int>(e.y2)};
}
