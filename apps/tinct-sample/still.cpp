// The scene "still": a laid table by a window. One unit is ten centimetres; the table's surface is y = 0.
#include <algorithm>

#include "noise.h"
#include "scene.h"

namespace {

vec3 dark_room(const scene& s, vec3 direction, bool reflection) {
    (void)s;
    double up = smooth_step(-0.4, 0.9, direction.y);
    return mix(vec3{0.10, 0.09, 0.08}, vec3{0.30, 0.30, 0.32}, up) * (reflection ? 1.0 : 0.6);
}

double smallest_smooth(double a, double b, double k) {
    double h = std::max(k - std::fabs(a - b), 0.0) / k;
    return std::min(a, b) - h * h * k * 0.25;
}

double thin_box(vec3 p, vec3 half, double round) {
    vec3 q = {std::fabs(p.x) - half.x, std::fabs(p.y) - half.y, std::fabs(p.z) - half.z};
    vec3 outside = {std::max(q.x, 0.0), std::max(q.y, 0.0), std::max(q.z, 0.0)};
    return length(outside) + std::min(std::max({q.x, q.y, q.z}), 0.0) - round;
}

// A cloth that lies on the table and hangs over its front edge in folds; params: half width, depth on the table, drop,
// z of the edge.
double distance_cloth(const shape& s, vec3 p) {
    double half_width = s.params[0], depth = s.params[1], drop = s.params[2], edge = s.params[3];
    double on_top = 1e9, hanging = 1e9;
    if (p.z < edge + 0.3) {
        double crease = 0.018 * std::sin(p.x * 1.9 + 0.6 * p.z) + 0.012 * std::sin(p.z * 2.3 - 1.1 * p.x);
        on_top = thin_box(p - vec3{0, 0.03 + crease, edge - depth / 2}, {half_width, 0.004, depth / 2}, 0.016);
    }
    if (p.z > edge - 0.6) {
        double low = std::clamp(-p.y / drop, 0.0, 1.0);
        double fold = low * (0.13 * std::sin(p.x * 2.6 + 0.7) + 0.06 * std::sin(p.x * 6.1));
        vec3 half = {half_width + 0.06 * low, drop / 2, 0.004};
        hanging = thin_box(p - vec3{0, -drop / 2, edge + 0.05 + fold}, half, 0.016);
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

const std::vector<lathe_point> APPLE = {{0, 0.16},    {0.2, 0.06}, {0.45, 0.03}, {0.75, 0.28}, {0.9, 0.72},
                                        {0.84, 1.12}, {0.6, 1.42}, {0.34, 1.47}, {0.14, 1.36}, {0, 1.22}};
const std::vector<lathe_point> PEAR = {{0, 0.04},   {0.4, 0.04},  {0.72, 0.3}, {0.82, 0.68}, {0.7, 1.1},
                                       {0.48, 1.5}, {0.38, 1.85}, {0.3, 2.1},  {0.14, 2.2},  {0, 2.16}};
const std::vector<lathe_point> BOWL = {{0, 0.1},    {0.75, 0.1}, {0.8, 0.02}, {0.95, 0.02}, {1.0, 0.22},
                                       {1.6, 0.55}, {2.2, 1.05}, {2.5, 1.62}, {2.52, 1.68}, {2.45, 1.68},
                                       {2.38, 1.6}, {2.06, 1.1}, {1.5, 0.66}, {0.8, 0.36},  {0, 0.3}};
const std::vector<lathe_point> BOTTLE = {{0, 0.12},    {0.6, 0.06}, {0.86, 0.04}, {0.96, 0.16},
                                         {0.97, 1.2},  {0.97, 3.2}, {0.95, 3.7},  {0.78, 4.2},
                                         {0.46, 4.62}, {0.36, 5.0}, {0.34, 5.7},  {0.34, 6.1}};
const std::vector<lathe_point> GOBLET = {{0, 0.06},    {0.8, 0.03},  {1.0, 0.03}, {0.9, 0.07},  {0.3, 0.14},
                                         {0.1, 0.4},   {0.08, 1.2},  {0.1, 1.85}, {0.3, 2.1},   {0.78, 2.5},
                                         {1.0, 3.1},   {0.95, 3.8},  {0.8, 4.35}, {0.77, 4.35}, {0.91, 3.8},
                                         {0.96, 3.12}, {0.75, 2.56}, {0.3, 2.18}, {0, 2.1}};
const std::vector<lathe_point> WINE_IN_GOBLET = {{0, 2.13}, {0.3, 2.2}, {0.73, 2.58}, {0.93, 3.1}, {0.94, 3.22}};
const std::vector<lathe_point> VASE = {{0, 0.05},   {0.6, 0.02},  {0.7, 0.1},  {0.95, 0.7}, {1.12, 1.4},
                                       {1.05, 2.1}, {0.72, 2.8},  {0.46, 3.3}, {0.42, 3.6}, {0.6, 3.95},
                                       {0.64, 4.0}, {0.56, 3.98}, {0.36, 3.6}, {0.4, 3.2},  {0.3, 2.6}};
const std::vector<lathe_point> PLATE = {{0, 0.08},    {1.2, 0.08},  {1.25, 0.02}, {1.4, 0.02}, {1.5, 0.1}, {2.1, 0.26},
                                        {2.14, 0.31}, {2.08, 0.32}, {1.5, 0.2},   {1.2, 0.14}, {0, 0.13}};
const std::vector<lathe_point> CANDLESTICK = {{0, 0.02},   {0.85, 0.02}, {0.9, 0.12}, {0.75, 0.24}, {0.3, 0.36},
                                              {0.16, 0.7}, {0.3, 0.95},  {0.16, 1.2}, {0.14, 1.7},  {0.32, 1.95},
                                              {0.5, 2.05}, {0.52, 2.13}, {0.3, 2.13}, {0.0, 2.1}};

void build_table(scene* s) {
    int wall = add_material(s, [s] {
        material m = matte(add_pen(s, "Wall", true));
        m.bump = 0.012;
        m.bump_size = 0.35;
        return m;
    }());
    set_uv(add_quad(s, wall, {0, 5, -5}, 14, 10, UPRIGHT), uv_kind::flat_z, 8);
    material top = polished(add_pen(s, "Table", true));
    top.mirror = 0.03;
    set_uv(add_rounded_box(s, add_material(s, top), {0, -0.3, -0.3}, {8.4, 0.3, 4.0}, 0.08, UPRIGHT), uv_kind::box, 8);
    int board = static_cast<int>(s->materials.size()) - 1;
    set_uv(add_box(s, board, {0, -2.2, -0.4}, {8.1, 1.7, 3.75}, UPRIGHT), uv_kind::box, 8);
    material linen = cloth(add_pen(s, "Table cloth", true), 0.01, 0.08);
    shape* c = add_field(s, add_material(s, linen), {-1.2, 0, 0}, {4.9, 2.6, 4.2}, distance_cloth, UPRIGHT, 0.75);
    const double params[4] = {4.7, 6.4, 2.4, 3.72};
    std::copy(params, params + 4, c->params);
    set_uv(c, uv_kind::box, 6);
}

void build_fruit(scene* s) {
    int bowl = add_surface(s, "Bowl", true, polished);
    add_lathe(s, bowl, {-1.7, 0.05, -0.7}, BOWL, true);
    material peel = satin(add_pen(s, "Oranges", true));
    peel.bump = 0.03;
    peel.bump_size = 0.07;
    peel.highlight = 0.16;
    int oranges = add_material(s, peel);
    add_sphere(s, oranges, {-2.45, 1.42, -0.35}, 0.86);
    add_sphere(s, oranges, {-1.05, 1.40, 0.15}, 0.84);
    add_sphere(s, oranges, {-1.9, 1.5, -1.75}, 0.86);
    int apples = add_surface(s, "Apples", true, polished);
    int stalks = add_surface(s, "Stalks", false, matte);
    const vec3 at[3] = {{-0.7, 0.85, -1.25}, {-1.75, 1.85, -0.75}, {1.15, 0.05, 2.0}};
    const frame lean[3] = {about_z(-24), about_x(20), turned(about_z(10), about_x(8))};
    for (int i = 0; i < 3; i++) {
        shape* a = add_lathe(s, apples, at[i], APPLE, true);
        a->axes = lean[i];
        shape_set_bounds(a);
        vec3 up = lean[i].y;
        add_capsule(s, stalks, at[i] + up * 1.2, at[i] + up * 1.68 + vec3{0.08, 0, 0.03}, 0.035, 0.05);
    }
    int pears = add_surface(s, "Pears", true, satin);
    vec3 lying_at = {2.2, 0.82, 2.3};
    frame lying = turned(about_y(-28), about_z(-80));
    shape* pear = add_lathe(s, pears, lying_at, PEAR, true);
    pear->axes = lying;
    shape_set_bounds(pear);
    add_lathe(s, pears, {2.75, 0.05, 0.55}, PEAR, true);
    add_capsule(s, stalks, {2.75, 2.15, 0.55}, {2.88, 2.62, 0.52}, 0.04, 0.055);
    vec3 tip = lying_at + lying.y * 2.14;
    add_capsule(s, stalks, tip, tip + lying.y * 0.45 + vec3{0, 0.1, 0}, 0.04, 0.055);
    int lemon = add_surface(s, "Lemons", true, satin);
    add_ellipsoid(s, lemon, {-0.35, 0.62, 2.45}, {0.56, 0.74, 0.56}, turned(about_y(-30), about_z(84)));
    add_ellipsoid(s, lemon, {-3.1, 1.72, -1.15}, {0.55, 0.72, 0.55}, turned(about_y(40), about_z(60)));
}

void build_grapes(scene* s) {
    material skin = polished(add_pen(s, "Grapes", true));
    skin.backlight = 0.5;
    skin.mirror = 0.03;
    int grapes = add_material(s, skin);
    for (int i = 0; i < 42; i++) {
        auto n = static_cast<uint32_t>(i);
        double along = i / 41.0;
        double spread = 0.72 * (1 - along * 0.75) + 0.06;
        double angle = 2.399963 * i, out = spread * std::sqrt(hash01(n * 3 + 1));
        double height = 0.27 + std::max(0.0, (1 - along) * 0.75 * (1 - out)) * hash01(n * 3 + 2);
        vec3 at = {-3.75 + along * 1.9 + 0.25 * out * std::cos(angle), height + 0.05, 2.35 + out * std::sin(angle)};
        add_sphere(s, grapes, at, 0.265 + 0.03 * hash01(n));
    }
    int twig = add_surface(s, "Grape twig", false, matte);
    add_capsule(s, twig, {-3.8, 0.9, 2.35}, {-4.5, 1.15, 2.15}, 0.05, 0.07);
    add_capsule(s, twig, {-4.5, 1.15, 2.15}, {-4.75, 1.05, 2.3}, 0.06, 0.05);
}

void build_wine(scene* s) {
    vec3 foot = {1.7, 0, -1.9};
    material green = glass(add_pen(s, "Bottle", true), 0.45);
    add_lathe(s, add_material(s, green), foot, BOTTLE, true);
    material red = polished(add_pen(s, "Wine", false));
    int wine = add_material(s, red);
    add_lathe(s, wine, foot, {{0, 0.15}, {0.9, 0.15}, {0.92, 0.3}, {0.92, 3.3}, {0.9, 3.65}, {0.0, 3.65}}, false);
    int label = add_surface(s, "Bottle label", true, matte);
    set_uv(add_lathe(s, label, foot, {{0.985, 1.0}, {0.985, 2.75}}, false), uv_kind::round, 1.75);
    int foil = add_material(s, metal(add_pen(s, "Bottle foil", true), 0.25));
    add_lathe(s, foil, foot, {{0.37, 4.95}, {0.37, 5.9}, {0.41, 5.92}, {0.41, 6.1}, {0.36, 6.14}, {0.0, 6.14}}, false);
    int clear = add_material(s, glass(add_pen(s, "Wine glass", false), 0.07));
    for (vec3 at : {vec3{4.25, 0, -0.65}, vec3{5.75, 0, 0.7}}) {
        add_lathe(s, clear, at, GOBLET, true);
        add_lathe(s, wine, at, WINE_IN_GOBLET, true);
        add_cylinder(s, wine, at + vec3{0, 3.2, 0}, at + vec3{0, 3.222, 0}, 0.945);
    }
}

void build_candle(scene* s) {
    vec3 foot = {-5.3, 0, -1.4};
    add_lathe(s, add_material(s, metal(add_pen(s, "Candlestick", true), 0.45)), foot, CANDLESTICK, true);
    material wax = satin(add_pen(s, "Candle", true));
    wax.backlight = 0.4;
    add_lathe(s, add_material(s, wax), foot,
              {{0, 1.95}, {0.29, 1.95}, {0.28, 4.9}, {0.26, 4.98}, {0.18, 4.93}, {0, 4.88}}, true);
    int wick = add_surface(s, "Wick", false, matte);
    add_capsule(s, wick, foot + vec3{0, 4.85, 0}, foot + vec3{0.03, 5.1, 0}, 0.025, 0.02);
    add_lathe(s, add_material(s, glowing({1.0, 0.86, 0.52})), foot,
              {{0, 5.0}, {0.1, 5.1}, {0.13, 5.25}, {0.09, 5.5}, {0.04, 5.75}, {0, 5.95}}, true);
    s->lights.push_back({foot + vec3{0, 5.4, 0.1}, {0.12, 0, 0}, {0, 0.25, 0}, {0.5, 0.33, 0.14}, 2.2, {}, false});
}

void build_bread_and_cheese(scene* s) {
    material crust = satin(add_pen(s, "Bread", true));
    crust.bump = 0.03;
    crust.bump_size = 0.22;
    shape* loaf =
        add_field(s, add_material(s, crust), {5.0, 0.72, -2.6}, {2.2, 0.8, 0.95}, distance_bread, about_y(14), 0.6);
    set_uv(loaf, uv_kind::box, 3);
    int plate = add_surface(s, "Plate", true, polished);
    add_lathe(s, plate, {4.35, 0.0, 2.05}, PLATE, true);
    int cheese = add_surface(s, "Cheese", true, satin);
    shape* wedge = add_field(s, cheese, {3.75, 0.72, 1.5}, {1.75, 0.62, 1.75}, distance_wedge, about_y(62), 0.9);
    wedge->params[0] = 1.6;
    wedge->params[1] = 0.42;
    wedge->params[2] = 0.52;
    set_uv(wedge, uv_kind::box, 2);
    frame lie = about_y(-16);
    vec3 hilt = {5.1, 0.42, 3.0};
    int blade = add_material(s, metal(add_pen(s, "Knife blade", false), 0.5));
    add_rounded_box(s, blade, hilt + lie.x * -1.15, {1.1, 0.14, 0.018}, 0.015, turned(lie, about_x(78)));
    int handle = add_surface(s, "Knife handle", true, polished);
    add_rounded_box(s, handle, hilt + lie.x * 0.72, {0.8, 0.15, 0.1}, 0.09, turned(lie, about_x(78)));
}

void build_flowers(scene* s) {
    vec3 foot = {-3.6, 0, -3.1};
    add_lathe(s, add_surface(s, "Vase", true, polished), foot, VASE, true);
    int stems = add_surface(s, "Stems and leaves", true, satin);
    material petal = satin(add_pen(s, "Tulips", true));
    petal.backlight = 0.3;
    int petals = add_material(s, petal);
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
    s->view = {{0.9, 5.6, 18.0}, {0.25, 2.35, 0}, 44};
    s->surroundings = dark_room;
    s->sky = {0.30, 0.34, 0.40};
    s->ground = {0.20, 0.17, 0.14};
    s->sky_reach = 6;
    s->bounce = 0.28;
    s->exposure = 1.0;
    build_table(s);
    build_fruit(s);
    build_grapes(s);
    build_wine(s);
    build_candle(s);
    build_bread_and_cheese(s);
    build_flowers(s);
    add_light(s, {-12, 11.5, 9}, {0, 1, 0}, 2.0, 2.6, {2.1, 1.92, 1.66}, {6, 6.2, 6.4});
}
