// Distances to bent and swollen boxes, and what is put together from them.
#include "furniture.h"

#include <algorithm>

namespace {

// params: radius, puff, inner half extents
double distance_cushion(const shape& s, vec3 p) {
    vec3 half = {s.params[2], s.params[3], s.params[4]};
    double x = std::clamp(p.x / half.x, -1.0, 1.0), z = std::clamp(p.z / half.z, -1.0, 1.0);
    half.y += s.params[1] * (1 - x * x) * (1 - z * z);
    return rounded_box(p, half, s.params[0]);
}

// params: as above, then the distance of the axis about which it is bent, above the middle
double distance_bent(const shape& s, vec3 p) {
    double bend = s.params[5], up = bend - p.y;
    return distance_cushion(s, {std::atan2(p.x, up) * bend, bend - std::hypot(p.x, up), p.z});
}

// params: half extents
double distance_pillow(const shape& s, vec3 p) {
    double wide = s.params[0], high = s.params[1], thick = s.params[2];
    double x = std::fabs(p.x) / wide, y = std::fabs(p.y) / high;
    // the sides draw in between the corners
    double edge_x = 1 - 0.09 * (1 - y * y), edge_y = 1 - 0.09 * (1 - x * x);
    x /= edge_x;
    y /= edge_y;
    double full = std::max(1 - x * x, 0.0) * std::max(1 - y * y, 0.0);
    double beyond = std::max({(x - 1) * wide, (y - 1) * high, 0.0});
    return std::max(std::fabs(p.z) - thick * full * (2 - full) - 0.008, beyond);
}

// params: half width, half height, folds
double distance_curtain(const shape& s, vec3 p) {
    double turns = p.z / s.params[0] * s.params[2] * PI;
    p.x -= 0.035 * std::sin(turns + 0.25 * p.y);
    return largest(absolute(p) - vec3{0.002, s.params[1], s.params[0]});
}

} // namespace

shape* add_cushion(scene* s, int material, vec3 centre, vec3 half, double radius, double puff, const frame& f) {
    return add_field(s, material, centre, half + vec3{0, puff, 0}, distance_cushion,
                     {radius, puff, half.x, half.y, half.z}, 0.85, f);
}

shape* add_bent(scene* s, int material, vec3 centre, vec3 half, double radius, double puff, double bend,
                const frame& f) {
    double rise = bend - (bend - half.y - puff) * std::cos(half.x / bend);
    return add_field(s, material, centre, {half.x * 1.05, rise, half.z}, distance_bent,
                     {radius, puff, half.x, half.y, half.z, bend}, 0.8, f);
}

shape* add_pillow(scene* s, int material, vec3 centre, vec3 half, const frame& f) {
    shape* c = add_field(s, material, centre, half + vec3{0.01, 0.01, 0.01}, distance_pillow, {half.x, half.y, half.z},
                         0.45, f);
    set_uv(c, uv_kind::flat_z, 2 * std::max(half.x, half.y));
    return c;
}

shape* add_curtain(scene* s, int material, vec3 centre, double half_wide, double half_high, int folds) {
    shape* c = add_field(s, material, centre, {0.055, half_high, half_wide}, distance_curtain,
                         {half_wide, half_high, static_cast<double>(folds)}, 0.42);
    set_uv(c, uv_kind::flat_x, 2 * std::max(half_wide, half_high));
    return c;
}

void add_book(scene* s, int cover, int pages, vec3 centre, vec3 half, const frame& f) {
    double board = 0.12 * half.y;
    add_box(s, cover, centre + f.y * (half.y - board), {half.x, board, half.z}, f);
    add_box(s, cover, centre - f.y * (half.y - board), {half.x, board, half.z}, f);
    add_box(s, cover, centre - f.x * (half.x - board), {board, half.y - 2 * board, half.z}, f);
    add_box(s, pages, centre, {half.x * 0.96 - board, half.y - 2 * board, half.z * 0.96}, f);
}

void add_frame(scene* s, int material, vec3 centre, double half_wide, double half_high, double bar, double depth) {
    for (double side : {-1.0, 1.0}) {
        add_rounded_box(s, material, centre + vec3{0, side * half_high, 0}, {half_wide + bar, bar, depth}, 0.006);
        add_rounded_box(s, material, centre + vec3{side * half_wide, 0, 0}, {bar, half_high - bar, depth}, 0.006);
    }
}
