// Appliques: the record, its free list, and the placement of a pattern.
#include "surface/applique.h"

#include <cmath>
#include <cstring>

#include "support/log.h"
#include "support/memory.h"

namespace {

constexpr double RADIANS_PER_DEGREE = 0.017453292519943295;
constexpr double UV_MIDDLE = 32768.0; // of the 16-bit u,v range

applique* free_list = nullptr;

} // namespace

applique* applique_new() {
    applique* a = free_list;
    if (a != nullptr) {
        free_list = a->next_free;
        *a = {};
        return a;
    }
    a = mem_new<applique>();
    if (a == nullptr) log_message(LOG_WARNING, "Failed to allocated memory for applique.\n");
    return a;
}

void applique_free(applique* a) {
    if (a == nullptr) return;
    mem_free(a->file);
    a->file = nullptr;
    a->next_free = free_list;
    free_list = a;
}

void applique_free_all() {
    while (free_list != nullptr) {
        applique* a = free_list;
        free_list = a->next_free;
        mem_free(a);
    }
}

int applique_equal(const applique* a, const applique* b) {
    if (a == b) return 1;
    if (a == nullptr || b == nullptr || a->is_color != b->is_color) return 0;
    bool first_three = a->a0 == b->a0 && a->a1 == b->a1 && a->a2 == b->a2;
    if (a->is_color != 0) return first_three ? 1 : 0;
    bool rest = a->a3 == b->a3 && a->a4 == b->a4 && a->a5 == b->a5 && a->a6 == b->a6 && a->a7 == b->a7;
    bool same_file = a->file != nullptr && b->file != nullptr && std::strcmp(a->file, b->file) == 0;
    return first_three && rest && same_file ? 1 : 0;
}

bool applique_set_placement(applique* a, double rotation, int mirror, double size) {
    double k = 1.0 / size;
    if (!(size > 0.0) || !std::isfinite(size) || !std::isfinite(k) || !std::isfinite(rotation)) {
        log_message(LOG_WARNING, "A pattern's size must be above 0, and its rotation a number.\n");
        return false;
    }
    a->rotation = rotation;
    a->size = size;
    a->mirror = mirror != 0 ? 1 : 0;
    double r = rotation * RADIANS_PER_DEGREE;
    a->a0 = a->a1 = a->a6 = a->a7 = UV_MIDDLE;
    a->a2 = k * std::cos(r);
    a->a3 = k * std::sin(r);
    a->a4 = -(std::sin(r) * k);
    a->a5 = std::cos(r) * k;
    if (mirror != 0) {
        a->a2 = -a->a2;
        a->a3 = -a->a3;
    }
    return true;
}
