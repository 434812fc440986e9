// The scene "still": a laid table by a window. One unit is ten centimetres; the table's surface is y = 0.
#include <algorithm>

#include "noise.h"
#include "scene.h"

namespace {

vec3 dark_room(vec3 direction, bool reflection) {
    double up = smooth_step(-0.4, 0.9, direction.y);
    return mix(vec3{0.10, 0.09, 0.08}, vec3{0.30, 0.30, 0.32}, up) * (reflection ? 1.0 : 0.6);
}

double smallest_smooth(double a, double b, double k) {
    double h = std::max(k - std::fabs(a - b), 0.0) / k;
    return std::min(a, b) - h * h * k * 0.25;
}

// A cloth that lies on the table and hangs over its front edge in folds; params: half width, depth on the table, drop,
// z of the edge.
double distance_cloth(const shape& s, vec3 p) {
    double half_width = s.params[0], depth = s.params[1], drop = s.params[2], edge = s.params[3];
    double on_top = 1e9, hanging = 1e9;
    if (p.z < edge + 0.3) {
        double crease = 0.018 * std::sin(p.x * 1.9 + 0.6 * p.z) + 0.012 * std::sin(p.z * 2.3 - 1.1 * p.x);
        on_top = rounded_box(p - vec3{0, 0.03 + crease, edge - depth / 2},
                             {half_width + 0.016, 0.02, depth / 2 + 0.016}, 0.016);
    }
    if (p.z > edge - 0.6) {
        double low = std::clamp(-p.y / drop, 0.0, 1.0);
        double fold = low * (0.13 * std::sin(p.x * 2.6 + 0.7) + 0.06 * std::sin(p.x * 6.1));
        vec3 half = {half_width + 0.016 + 0.06 * low, drop / 2 + 0.016, 0.02};
        hanging = rounded_box(p - vec3{0, -drop / 2, edge + 0.05 + fold}, half, 0.016);
    }
    return smallest_smooth(on_top, hanging, 0.12);
}

// A loaf with slashes across its top; params: none.
double distance_bread(const shape& s, vec3 p) {
    vec3 q = {p.x / s.half.x, p.y / s.half.y, p.z / s.half.z};
    double round = (std::sqrt(dot(q, q)) - 0.985) * std::min(s.half.y, s.half.z);
    double along = p.x + 0.55 * p.z;
    double slash = std::fabs(fraction(along * 0.75 + 0.1) - 0.5);
    double cut = p.y > 0 ? smooth_step(0.42, 0.5, slash) * 0.07 : 0;
    return round + cut - 0.015 * noise3(p * 3.0);
}

// A wedge of a wheel, its tip at the origin; params: radius, half opening in radians, half height.
double distance_wedge(const shape& s, vec3 p) {
    double x = std::fabs(p.x), c = std::cos(s.params[1]), n = std::sin(s.params[1]);
    double side = x * c - p.z * n;
    double rim = std::sqrt(p.x * p.x + p.z * p.z) - s.params[0];
    return std::max({side, rim, std::fabs(p.y) - s.params[2]}) - 0.02;
}

constexpr std::initializer_list<double> APPLE = {0,    0.16, 0.2, 0.06, 0.45, 0.03, 0.75, 0.28, 0.9, 0.72,
                                                 0.84, 1.12, 0.6, 1.42, 0.34, 1.47, 0.14, 1.36, 0,   1.22};
constexpr std::initializer_list<double> PEAR = {0,    0.04, 0.4,  0.04, 0.72, 0.3, 0.82, 0.68, 0.7, 1.1,
                                                0.48, 1.5,  0.38, 1.85, 0.3,  2.1, 0.14, 2.2,  0,   2.16};
constexpr std::initializer_list<double> BOWL = {0,    0.1,  0.75, 0.1,  0.8, 0.02, 0.95, 0.02, 1.0,  0.22,
                                                1.6,  0.55, 2.2,  1.05, 2.5, 1.62, 2.52, 1.68, 2.45, 1.68,
                                                2.38, 1.6,  2.06, 1.1,  1.5, 0.66, 0.8,  0.36, 0,    0.3};
constexpr std::initializer_list<double> BOTTLE = {0,    0.12, 0.6,  0.06, 0.86, 0.04, 0.96, 0.16, 0.97, 1.2, 0.97, 3.2,
                                                  0.95, 3.7,  0.78, 4.2,  0.46, 4.62, 0.36, 5.0,  0.34, 5.7, 0.34, 6.1};
constexpr std::initializer_list<double> GOBLET = {
    0,   0.06, 0.8, 0.03, 1.0, 0.03, 0.9,  0.07, 0.3,  0.14, 0.1, 0.4,  0.08, 1.2,  0.1,  1.85, 0.3,  2.1, 0.78,
    2.5, 1.0,  3.1, 0.95, 3.8, 0.8,  4.35, 0.77, 4.35, 0.91, 3.8, 0.96, 3.12, 0.75, 2.56, 0.3,  2.18, 0,   2.1};
constexpr std::initializer_list<double> WINE_IN_GOBLET = {0, 2.13, 0.3, 2.2, 0.73, 2.58, 0.93, 3.1, 0.94, 3.22};
constexpr std::initializer_list<double> VASE = {0,    0.05, 0.6,  0.02, 0.7,  0.1, 0.95, 0.7, 1.12, 1.4,
                                                1.05, 2.1,  0.72, 2.8,  0.46, 3.3, 0.42, 3.6, 0.6,  3.95,
                                                0.64, 4.0,  0.56, 3.98, 0.36, 3.6, 0.4,  3.2, 0.3,  2.6};
constexpr std::initializer_list<double> PLATE = {0,    0.08, 1.2,  0.08, 1.25, 0.02, 1.4, 0.02, 1.5,  0.1, 2.1,
                                                 0.26, 2.14, 0.31, 2.08, 0.32, 1.5,  0.2, 1.2,  0.14, 0,   0.13};
constexpr std::initializer_list<double> CANDLESTICK = {0,    0.02, 0.85, 0.02, 0.9,  0.12, 0.75, 0.24, 0.3,  0.36,
                                                       0.16, 0.7,  0.3,  0.95, 0.16, 1.2,  0.14, 1.7,  0.32, 1.95,
                                                       0.5,  2.05, 0.52, 2.13, 0.3,  2.13, 0.0,  2.1};

void build_table(scene* s) {
    int wall = add_surface(s, "Wall", UV, rough(MATTE, 0.012, 0.35));
    set_uv(add_box(s, wall, {0, 5, -5}, {14, 10, 0}), uv_kind::box, 8);
    int table = add_surface(s, "Table", UV, mirroring(POLISHED, 0.03));
    set_uv(add_rounded_box(s, table, {0, -0.3, -0.3}, {8.4, 0.3, 4.0}, 0.08), uv_kind::box, 8);
    set_uv(add_box(s, table, {0, -2.2, -0.4}, {8.1, 1.7, 3.75}), uv_kind::box, 8);
    int linen = add_surface(s, "Table cloth", UV, cloth(0.01, 0.08));
    set_uv(add_field(s, linen, {-1.2, 0, 0}, {4.9, 2.6, 4.2}, distance_cloth, {4.7, 6.4, 2.4, 3.72}, 0.75),
           uv_kind::box, 6);
}

void build_fruit(scene* s) {
    int bowl = add_surface(s, "Bowl", UV, SATIN);
    add_curved(s, bowl, {-1.7, 0.05, -0.7}, BOWL);
    int oranges = add_surface(s, "Oranges", UV, rough(shining(SATIN, 0.16, 25), 0.03, 0.07));
    add_sphere(s, oranges, {-2.45, 1.42, -0.35}, 0.86);
    add_sphere(s, oranges, {-1.05, 1.40, 0.15}, 0.84);
    add_sphere(s, oranges, {-1.9, 1.5, -1.75}, 0.86);
    int apples = add_surface(s, "Apples", UV, POLISHED);
    int stalks = add_surface(s, "Stalks", PLAIN, MATTE);
    const vec3 at[3] = {{-0.7, 0.85, -1.25}, {-1.75, 1.85, -0.75}, {1.15, 0.05, 2.0}};
    const frame lean[3] = {about_z(-24), about_x(20), turned(about_z(10), about_x(8))};
    for (int i = 0; i < 3; i++) {
        add_curved(s, apples, at[i], APPLE, lean[i]);
        vec3 up = lean[i].y;
        add_capsule(s, stalks, at[i] + up * 1.2, at[i] + up * 1.68 + vec3{0.08, 0, 0.03}, 0.035, 0.05);
    }
    int pears = add_surface(s, "Pears", UV, SATIN);
    vec3 lying_at = {2.2, 0.82, 2.3};
    frame lying = turned(about_y(-28), about_z(-80));
    add_curved(s, pears, lying_at, PEAR, lying);
    add_curved(s, pears, {2.75, 0.05, 0.55}, PEAR);
    add_capsule(s, stalks, {2.75, 2.15, 0.55}, {2.88, 2.62, 0.52}, 0.04, 0.055);
    vec3 tip = lying_at + lying.y * 2.14;
    add_capsule(s, stalks, tip, tip + lying.y * 0.45 + vec3{0, 0.1, 0}, 0.04, 0.055);
    int lemon = add_surface(s, "Lemons", UV, SATIN);
    add_ellipsoid(s, lemon, {-0.35, 0.62, 2.45}, {0.56, 0.74, 0.56}, turned(about_y(-30), about_z(84)));
    add_ellipsoid(s, lemon, {-3.1, 1.72, -1.15}, {0.55, 0.72, 0.55}, turned(about_y(40), about_z(60)));
}

void build_grapes(scene* s) {
    int grapes = add_surface(s, "Grapes", UV, backlit(mirroring(POLISHED, 0.03), 0.5));
    for (int i = 0; i < 42; i++) {
        auto n = static_cast<uint32_t>(i);
        double along = i / 41.0;
        double spread = 0.72 * (1 - along * 0.75) + 0.06;
        double angle = 2.399963 * i, out = spread * std::sqrt(hash01(n * 3 + 1));
        double height = 0.27 + std::max(0.0, (1 - along) * 0.75 * (1 - out)) * hash01(n * 3 + 2);
        vec3 at = {-3.75 + along * 1.9 + 0.25 * out * std::cos(angle), height + 0.05, 2.35 + out * std::sin(angle)};
        add_sphere(s, grapes, at, 0.265 + 0.03 * hash01(n));
    }
    int twig = add_surface(s, "Grape twig", PLAIN, MATTE);
    add_capsule(s, twig, {-3.8, 0.9, 2.35}, {-4.5, 1.15, 2.15}, 0.05, 0.07);
    add_capsule(s, twig, {-4.5, 1.15, 2.15}, {-4.75, 1.05, 2.3}, 0.06, 0.05);
}

void build_wine(scene* s) {
    vec3 foot = {1.7, 0, -1.9};
    add_curved(s, add_surface(s, "Bottle", UV, glass(0.45)), foot, BOTTLE);
    int wine = add_surface(s, "Wine", PLAIN, POLISHED);
    add_lathe(s, wine, foot, {0, 0.15, 0.9, 0.15, 0.92, 0.3, 0.92, 3.3, 0.9, 3.65, 0.0, 3.65});
    int label = add_surface(s, "Bottle label", UV, MATTE);
    set_uv(add_lathe(s, label, foot, {0.985, 1.0, 0.985, 2.75}), uv_kind::round, 1.75);
    int foil = add_surface(s, "Bottle foil", UV, metal(0.25));
    add_lathe(s, foil, foot, {0.37, 4.95, 0.37, 5.9, 0.41, 5.92, 0.41, 6.1, 0.36, 6.14, 0.0, 6.14});
    int clear = add_surface(s, "Wine glass", PLAIN, glass(0.07));
    for (vec3 at : {vec3{4.25, 0, -0.65}, vec3{5.75, 0, 0.7}}) {
        add_curved(s, clear, at, GOBLET);
        add_curved(s, wine, at, WINE_IN_GOBLET);
        add_cylinder(s, wine, at + vec3{0, 3.2, 0}, at + vec3{0, 3.222, 0}, 0.945);
    }
}

void build_candle(scene* s) {
    vec3 foot = {-5.3, 0, -1.4};
    add_curved(s, add_surface(s, "Candlestick", UV, metal(0.45)), foot, CANDLESTICK);
    add_curved(s, add_surface(s, "Candle", UV, backlit(SATIN, 0.4)), foot,
               {0, 1.95, 0.29, 1.95, 0.28, 4.9, 0.26, 4.98, 0.18, 4.93, 0, 4.88});
    int wick = add_surface(s, "Wick", PLAIN, MATTE);
    add_capsule(s, wick, foot + vec3{0, 4.85, 0}, foot + vec3{0.03, 5.1, 0}, 0.025, 0.02);
    add_curved(s, add_material(s, glowing({1.0, 0.86, 0.52})), foot,
               {0, 5.0, 0.1, 5.1, 0.13, 5.25, 0.09, 5.5, 0.04, 5.75, 0, 5.95});
    vec3 flame = foot + vec3{0, 5.4, 0.1};
    add_light(s, flame, flame + vec3{0, 0, 2.2}, 0.12, 0.25, {0.5, 0.33, 0.14});
}

void build_bread_and_cheese(scene* s) {
    int crust = add_surface(s, "Bread", UV, rough(SATIN, 0.03, 0.22));
    set_uv(add_field(s, crust, {5.0, 0.72, -2.6}, {2.2, 0.8, 0.95}, distance_bread, {}, 0.6, about_y(14)), uv_kind::box,
           3);
    int plate = add_surface(s, "Plate", UV, POLISHED);
    add_curved(s, plate, {4.35, 0.0, 2.05}, PLATE);
    int cheese = add_surface(s, "Cheese", UV, SATIN);
    set_uv(add_field(s, cheese, {3.75, 0.72, 1.5}, {1.75, 0.62, 1.75}, distance_wedge, {1.6, 0.42, 0.52}, 0.9,
                     about_y(62)),
           uv_kind::box, 2);
    frame lie = about_y(-16);
    vec3 hilt = {5.1, 0.42, 3.0};
    int blade = add_surface(s, "Knife blade", PLAIN, metal(0.5));
    add_rounded_box(s, blade, hilt + lie.x * -1.15, {1.1, 0.14, 0.018}, 0.015, turned(lie, about_x(78)));
    int handle = add_surface(s, "Knife handle", UV, POLISHED);
    add_rounded_box(s, handle, hilt + lie.x * 0.72, {0.8, 0.15, 0.1}, 0.09, turned(lie, about_x(78)));
}

void build_flowers(scene* s) {
    vec3 foot = {-3.6, 0, -3.1};
    add_curved(s, add_surface(s, "Vase", UV, POLISHED), foot, VASE);
    int stems = add_surface(s, "Stems and leaves", UV, SATIN);
    int petals = add_surface(s, "Tulips", UV, backlit(SATIN, 0.3));
    const vec3 tips[6] = {{-1.7, 6.3, 0.5}, {-0.6, 7.0, 0.7},  {0.55, 6.5, 0.9},
                          {1.5, 5.9, 0.5},  {0.1, 7.3, -0.35}, {-1.1, 5.6, 1.1}};
    for (int i = 0; i < 6; i++) {
        vec3 from = foot + vec3{0.05 * (i - 2), 3.4, 0}, to = foot + tips[i];
        vec3 knee = mix(from, to, 0.55) + vec3{0, 0.35, 0};
        add_capsule(s, stems, from, knee, 0.07, 0.065);
        add_capsule(s, stems, knee, to, 0.065, 0.06);
        vec3 up = normalised(to - knee + vec3{0, 0.5, 0});
        frame f = along(up);
        for (int k = 0; k < 6; k++) {
            double a = 2 * PI * k / 6 + i;
            vec3 outward = f.x * std::cos(a) + f.z * std::sin(a);
            frame leaf = along(up + outward * (k % 2 ? 0.22 : 0.1));
            vec3 flat = normalised(outward - leaf.y * dot(outward, leaf.y));
            leaf.z = flat;
            leaf.x = cross(leaf.y, leaf.z);
            add_ellipsoid(s, petals, to + up * 0.45 + outward * (k % 2 ? 0.22 : 0.17), {0.26, 0.62, 0.1}, leaf);
        }
    }
    for (int i = 0; i < 5; i++) {
        double a = 1.2 * i - 2.3;
        vec3 outward = {std::cos(a), 0, 0.55 + 0.4 * std::sin(a)};
        frame leaf = along(vec3{0, 1, 0} + outward * (0.45 + 0.12 * (i % 3)));
        add_ellipsoid(s, stems, foot + vec3{0, 4.5, 0} + outward * 0.55, {0.24, 1.25, 0.05}, leaf);
    }
}

} // namespace

void build_still(scene* s) {
    s->view = {{0.9, 5.6, 18.6}, {0.25, 2.75, 0}, 45};
    s->surroundings = dark_room;
    s->sky = {0.095, 0.11, 0.135};
    s->ground = {0.07, 0.055, 0.04};
    s->sky_reach = 6;
    s->bounce = 0.28;
    build_table(s);
    build_fruit(s);
    build_grapes(s);
    build_wine(s);
    build_candle(s);
    build_bread_and_cheese(s);
    build_flowers(s);
    add_light(s, {-12, 11.5, 9}, {0, 1, 0}, 2.0, 2.6, {1.9, 1.7, 1.4}, {5, 5.2, 5.4});
}
