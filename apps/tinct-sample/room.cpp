// The scene "room": a furnished corner with a window. One unit is a metre. The corner stands at x = 0, z = 0; the left
// wall is x = 0, the back wall z = 0, the floor y = 0.
#include <algorithm>

#include "furniture.h"
#include "noise.h"
#include "scene.h"

namespace {

// Out of the window: sky over a hedge and a lawn.
vec3 garden(vec3 direction, bool reflection) {
    if (direction.x > 0) return reflection ? vec3{0.35, 0.34, 0.33} : vec3{0.2, 0.2, 0.2};
    double height = direction.y / std::max(-direction.x, 0.05);
    double across = direction.z / std::max(-direction.x, 0.05);
    double leaves = layered_noise3({across * 14, height * 14, 3}, 4);
    double crown = 0.13 + 0.10 * noise3({across * 2.5, 1, 2}) + 0.03 * noise3({across * 11, 4, 2}) + 0.02 * leaves;
    vec3 sky = mix(vec3{0.86, 0.91, 0.95}, vec3{0.52, 0.70, 0.90}, smooth_step(0.0, 0.9, height));
    double clouds = smooth_step(0.05, 0.7, layered_noise3({across * 1.7, height * 4.5, 7}, 4));
    sky = mix(sky, {0.97, 0.97, 0.96}, clouds);
    vec3 hedge = mix(vec3{0.16, 0.26, 0.12}, vec3{0.42, 0.55, 0.26}, smooth_step(-0.5, 0.7, leaves));
    vec3 lawn = mix(vec3{0.40, 0.52, 0.24}, vec3{0.55, 0.64, 0.32}, 0.5 + 0.5 * noise3({across * 9, height * 40, 5}));
    vec3 ground = mix(hedge, lawn, smooth_step(0.012, -0.012, height + 0.12));
    return mix(ground, sky, smooth_step(crown - 0.015, crown + 0.015, height));
}

constexpr double HIGH = 2.75;                           // of the room
constexpr double WINDOW_LOW = 0.85, WINDOW_HIGH = 2.3;  // y
constexpr double WINDOW_FAR = 0.95, WINDOW_NEAR = 2.75; // z

// A frame whose z axis points along x.
constexpr frame FACING_X = {{0, 0, -1}, {0, 1, 0}, {1, 0, 0}};

// Stretches of wall keep one mapping, so that a pattern runs through behind the window.
void add_left_wall(scene* s, int wall, double z0, double z1, double y0, double y1) {
    shape* q = add_box(s, wall, {0, (y0 + y1) / 2, (z0 + z1) / 2}, {(z1 - z0) / 2, (y1 - y0) / 2, 0}, FACING_X);
    set_uv(q, uv_kind::flat_z, 4);
    q->uv_u = 0.5 - (z0 + z1) / 2 / 4;
    q->uv_v = 0.5 - ((y0 + y1) / 2 - HIGH / 2) / 4;
}

void build_shell(scene* s) {
    int boards = add_surface(s, "Floor", UV, shining(mirroring(POLISHED, 0.03), 0.05, 60));
    set_uv(add_box(s, boards, {3, 0, 3}, {3, 0, 3}), uv_kind::box, 4);
    int back = add_surface(s, "Back wall", UV, MATTE);
    set_uv(add_box(s, back, {3, HIGH / 2, 0}, {3, HIGH / 2, 0}), uv_kind::box, 4);
    int left = add_surface(s, "Window wall", UV, MATTE);
    add_left_wall(s, left, 0, 6, WINDOW_HIGH, HIGH);
    add_left_wall(s, left, 0, 6, 0, WINDOW_LOW);
    add_left_wall(s, left, 0, WINDOW_FAR, WINDOW_LOW, WINDOW_HIGH);
    add_left_wall(s, left, WINDOW_NEAR, 6, WINDOW_LOW, WINDOW_HIGH);
    int skirting = add_surface(s, "Skirting", UV, SATIN);
    add_box(s, skirting, {3, 0.06, 0.012}, {3, 0.06, 0.012});
    add_box(s, skirting, {0.012, 0.06, 3}, {0.012, 0.06, 3});
    set_uv(add_box(s, add_surface(s, "Ceiling", UV, MATTE), {3, HIGH, 3}, {3, 0, 3}), uv_kind::box, 4);
}

void build_window(scene* s) {
    int frame_white = add_surface(s, "Window frame", UV, SATIN);
    double low = WINDOW_LOW, high = WINDOW_HIGH, a = WINDOW_FAR, b = WINDOW_NEAR;
    double y = (low + high) / 2, z = (a + b) / 2, hy = (high - low) / 2, hz = (b - a) / 2;
    constexpr double W = 0.035, D = 0.05;
    for (double side : {a + W, b - W, z})
        add_box(s, frame_white, {-0.06, y, side}, {D, hy, W});
    for (double side : {low + W, high - W, low + 0.95}) {
        add_box(s, frame_white, {-0.062, side, z}, {D, side < low + 0.9 || side > high - 0.1 ? W : 0.02, hz});
    }
    add_box(s, frame_white, {-0.2, y, a - 0.02}, {0.2, hy, 0.02});
    add_box(s, frame_white, {-0.2, y, b + 0.02}, {0.2, hy, 0.02});
    add_box(s, frame_white, {-0.2, high + 0.02, z}, {0.2, 0.02, hz});
    int sill = add_surface(s, "Window sill", UV, POLISHED);
    add_rounded_box(s, sill, {-0.06, low - 0.015, z}, {0.2, 0.02, hz + 0.08}, 0.01);
    int pane = add_surface(s, "Window glass", PLAIN, mirroring(glass(0.05), 0.04));
    add_box(s, pane, {-0.07, y, z}, {hz, hy, 0}, FACING_X);
    int curtains = add_surface(s, "Curtains", UV, cloth(0.012, 0.03));
    add_curtain(s, curtains, {0.11, 1.26, a - 0.16}, 0.27, 1.21, 5);
    add_curtain(s, curtains, {0.11, 1.26, b + 0.18}, 0.27, 1.21, 5);
    material sheer = backlit(MATTE, 0.9);
    sheer.opacity = 0.34;
    add_curtain(s, add_surface(s, "Net curtain", UV, sheer), {0.045, 1.56, a + 0.42}, 0.44, 0.9, 8);
    int rod = add_surface(s, "Curtain rod", PLAIN, metal(0.35));
    add_capsule(s, rod, {0.11, 2.5, a - 0.6}, {0.11, 2.5, b + 0.6}, 0.014, 0.014);
    add_sphere(s, rod, {0.11, 2.5, a - 0.62}, 0.035);
}

void build_sofa(scene* s) {
    int cover = add_surface(s, "Sofa", UV, cloth(0.006, 0.012));
    int seats = add_surface(s, "Sofa cushions", UV, cloth(0.006, 0.012));
    int feet = add_surface(s, "Sofa feet", UV, POLISHED);
    double x0 = 1.0, x1 = 3.25, middle = (x0 + x1) / 2, half = (x1 - x0) / 2;
    add_rounded_box(s, cover, {middle, 0.24, 0.62}, {half, 0.12, 0.42}, 0.03);
    add_rounded_box(s, cover, {middle, 0.52, 0.26}, {half, 0.36, 0.12}, 0.06, about_x(-6));
    for (double x : {x0 + 0.02, x1 - 0.02}) {
        add_rounded_box(s, cover, {x, 0.40, 0.62}, {0.11, 0.26, 0.44}, 0.07);
    }
    for (double x : {middle - 0.51, middle + 0.51}) {
        add_cushion(s, seats, {x, 0.43, 0.70}, {0.5, 0.095, 0.40}, 0.05, 0.03);
        add_cushion(s, seats, {x, 0.70, 0.42}, {0.49, 0.10, 0.26}, 0.06, 0.05, about_x(74));
    }
    for (double x : {x0 + 0.02, x1 - 0.02}) {
        for (double z : {0.28, 0.98})
            add_capsule(s, feet, {x, 0.02, z}, {x, 0.13, z}, 0.02, 0.032);
    }
    int first = add_surface(s, "Square cushion", UV, cloth(0.008, 0.02));
    add_pillow(s, first, {1.38, 0.74, 0.72}, {0.24, 0.24, 0.10}, turned(about_y(28), turned(about_x(-22), about_z(8))));
    int second = add_surface(s, "Light cushion", UV, cloth(0.008, 0.02));
    add_pillow(s, second, {2.86, 0.74, 0.70}, {0.24, 0.24, 0.10},
               turned(about_y(-22), turned(about_x(-24), about_z(-10))));
    int third = add_surface(s, "Small cushion", UV, cloth(0.008, 0.02));
    add_pillow(s, third, {2.55, 0.69, 0.84}, {0.21, 0.15, 0.08}, turned(about_y(-6), turned(about_x(-30), about_z(4))));
    int throw_over = add_surface(s, "Throw", UV, cloth(0.02, 0.02));
    add_rounded_box(s, throw_over, {x1 - 0.02, 0.662, 0.66}, {0.135, 0.012, 0.26}, 0.011);
    add_rounded_box(s, throw_over, {x1 + 0.105, 0.49, 0.66}, {0.012, 0.18, 0.26}, 0.011, about_z(2));
    add_rounded_box(s, throw_over, {x1 - 0.145, 0.60, 0.66}, {0.012, 0.07, 0.26}, 0.011);
}

void build_table(scene* s) {
    int rug = add_surface(s, "Rug", UV, cloth(0.05, 0.012));
    shape* r = add_rounded_box(s, rug, {2.25, 0.006, 1.95}, {1.35, 0.012, 0.85}, 0.006, about_y(-3));
    set_uv(r, uv_kind::box, 2.7);
    int legs = add_surface(s, "Table frame", UV, POLISHED);
    vec3 at = {2.1, 0, 1.9};
    for (double x : {-0.52, 0.52}) {
        for (double z : {-0.27, 0.27}) {
            add_box(s, legs, at + vec3{x, 0.2, z}, {0.022, 0.19, 0.022});
        }
        add_box(s, legs, at + vec3{x, 0.37, 0}, {0.0215, 0.02, 0.25});
    }
    for (double z : {-0.27, 0.27})
        add_box(s, legs, at + vec3{0, 0.37, z}, {0.5, 0.02, 0.0215});
    int board = add_surface(s, "Table shelf", UV, POLISHED);
    add_box(s, board, at + vec3{0, 0.13, 0}, {0.5, 0.012, 0.26});
    int top = add_surface(s, "Table glass", UV, mirroring(glass(0.10), 0.07));
    shape* pane = add_box(s, top, at + vec3{0, 0.40, 0}, {0.6, 0.008, 0.34});
    set_uv(pane, uv_kind::flat_y, 1.2);
    int magazine = add_surface(s, "Magazines", UV, POLISHED);
    add_box(s, magazine, at + vec3{-0.18, 0.155, 0.03}, {0.105, 0.012, 0.14}, about_y(12));
    add_box(s, magazine, at + vec3{-0.17, 0.175, 0.03}, {0.105, 0.008, 0.14}, about_y(-9));
    vec3 surface = at + vec3{0, 0.408, 0};
    int cover = add_surface(s, "Book", UV, SATIN);
    int pages = add_surface(s, "Pages", PLAIN, MATTE);
    add_book(s, cover, pages, surface + vec3{0.27, 0.022, 0.08}, {0.11, 0.022, 0.15}, about_y(24));
    int bowl = add_surface(s, "Fruit bowl", UV, POLISHED);
    add_curved(s, bowl, surface + vec3{-0.12, 0.002, -0.02},
               {0,    0.01, 0.07,  0.008, 0.08,  0.002, 0.09, 0.012, 0.15, 0.045,
                0.19, 0.10, 0.186, 0.103, 0.145, 0.055, 0.08, 0.026, 0,    0.02});
    int fruit = add_surface(s, "Apples", UV, POLISHED);
    const vec3 apples[5] = {
        {-0.06, 0.075, 0.03}, {0.07, 0.075, 0.02}, {-0.01, 0.075, -0.075}, {0.005, 0.13, 0}, {0.03, 0.078, 0.095}};
    for (vec3 a : apples)
        add_sphere(s, fruit, surface + vec3{-0.12, 0.0, -0.02} + a, 0.052);
}

void build_lamp(scene* s) {
    vec3 foot = {3.72, 0, 0.48};
    int stand = add_surface(s, "Lamp stand", PLAIN, metal(0.5));
    add_lathe(s, stand, foot, {0, 0.0, 0.15, 0.0, 0.15, 0.015, 0.05, 0.03, 0.014, 0.05, 0.012, 1.4});
    material shade = backlit(MATTE, 0.6);
    shade.glow = {0.62, 0.50, 0.34};
    shade.casts_shadow = false;
    add_lathe(s, add_surface(s, "Lamp shade", UV, shade), foot, {0.24, 1.36, 0.17, 1.72});
    vec3 bulb = foot + vec3{0, 1.52, 0};
    vec3 under = bulb - vec3{0, 0.17, 0}, over = bulb + vec3{0, 0.2, 0};
    add_light(s, under, under - vec3{0, 1.1, 0}, 0.14, 0.14, {0.55, 0.40, 0.23});
    add_light(s, over, over + vec3{0, 0.8, 0}, 0.1, 0.1, {0.50, 0.36, 0.20});
}

void build_bookcase(scene* s) {
    int wood = add_surface(s, "Bookcase", UV, SATIN);
    double x0 = 4.05, x1 = 5.35, depth = 0.15, high = 1.95;
    for (double x : {x0, x1})
        add_box(s, wood, {x, high / 2, depth}, {0.014, high / 2, depth});
    add_box(s, wood, {(x0 + x1) / 2, high / 2, 0.02}, {(x1 - x0) / 2 - 0.014, high / 2 - 0.01, 0.008});
    const char* names[4] = {"Red books", "Blue books", "Green books", "Pale books"};
    int covers[4];
    for (int i = 0; i < 4; i++)
        covers[i] = add_surface(s, names[i], UV, SATIN);
    for (int shelf = 0; shelf < 6; shelf++) {
        double y = 0.05 + shelf * 0.375;
        add_box(s, wood, {(x0 + x1) / 2, y, depth}, {(x1 - x0) / 2 - 0.0145, 0.012, depth - 0.002});
        if (shelf == 5) break;
        double x = x0 + 0.03;
        for (uint32_t i = 0; x < x1 - 0.12; i++) {
            uint32_t key = i * 31 + static_cast<uint32_t>(shelf) * 977;
            double thick = 0.011 + 0.018 * hash01(key), tall = 0.10 + 0.05 * hash01(key + 1);
            if (hash01(key + 7) < 0.05 || (shelf == 3 && x > 4.75)) {
                x += 0.09;
                continue;
            }
            int kind = static_cast<int>(hash01(key + 2) * 4) & 3;
            add_box(s, covers[kind], {x + thick, y + 0.012 + tall, 0.13 + 0.02 * hash01(key + 4)},
                    {thick - 0.001, tall, 0.09});
            x += 2 * thick;
        }
    }
}

void build_wall_pictures(scene* s) {
    int frame_wood = add_surface(s, "Picture frame", UV, POLISHED);
    int mount = add_surface(s, "Picture mount", PLAIN, MATTE);
    int painting = add_surface(s, "Painting", UV, SATIN);
    const double at[2][4] = {{1.62, 1.68, 0.42, 0.32}, {2.66, 1.68, 0.42, 0.32}};
    for (const double* p : at) {
        add_frame(s, frame_wood, {p[0], p[1], 0.018}, p[2], p[3], 0.025, 0.018);
        add_box(s, mount, {p[0], p[1], 0.008}, {p[2], p[3], 0.004});
        shape* canvas = add_box(s, painting, {p[0], p[1], 0.0125}, {p[2] - 0.085, p[3] - 0.08, 0.001});
        set_uv(canvas, uv_kind::flat_z, 2 * p[2]);
    }
}

void build_plant(scene* s) {
    vec3 foot = {0.48, 0, 0.48};
    int pot = add_surface(s, "Plant pot", UV, POLISHED);
    add_curved(s, pot, foot,
               {0, 0.01, 0.13, 0.01, 0.15, 0.04, 0.19, 0.24, 0.2, 0.36, 0.185, 0.37, 0.17, 0.33, 0, 0.33});
    int earth = add_surface(s, "Earth", PLAIN, MATTE);
    add_cylinder(s, earth, foot + vec3{0, 0.3, 0}, foot + vec3{0, 0.338, 0}, 0.172);
    int leaves = add_surface(s, "Leaves", UV, backlit(shining(SATIN, 0.2, 25), 0.45));
    int stalks = add_surface(s, "Stalks", PLAIN, MATTE);
    for (uint32_t i = 0; i < 26; i++) {
        double turn = 2.399963 * i, out = 0.10 + 0.27 * hash01(i + 50), rise = 0.6 + 0.85 * hash01(i + 90);
        vec3 side = {std::cos(turn), 0, std::sin(turn)};
        vec3 tip = foot + side * out + vec3{0, rise, 0};
        tip.x = std::max(tip.x, 0.2);
        tip.z = std::max(tip.z, 0.16);
        vec3 knee = mix(foot + vec3{0, 0.33, 0}, tip, 0.6) + vec3{0, 0.06, 0} - side * 0.03;
        add_capsule(s, stalks, foot + vec3{side.x * 0.04, 0.32, side.z * 0.04}, knee, 0.008, 0.007);
        add_capsule(s, stalks, knee, tip, 0.007, 0.005);
        vec3 lengthwise = normalised(side * 0.75 + vec3{0, -0.15 + 0.9 * hash01(i + 7), 0.2});
        frame f = along(lengthwise);
        vec3 flat = vec3{0.55, 0.6, 0.6} + side * (0.5 * hash01(i + 3));
        f.z = normalised(flat - lengthwise * dot(flat, lengthwise));
        f.x = cross(f.y, f.z);
        add_ellipsoid(s, leaves, tip + lengthwise * 0.10, {0.085, 0.17, 0.006}, f);
    }
}

} // namespace

void build_room(scene* s) {
    s->view = {{4.35, 1.60, 5.3}, {2.02, 1.02, 0.6}, 53};
    s->surroundings = garden;
    s->sky = {0.24, 0.25, 0.27};
    s->ground = {0.20, 0.18, 0.15};
    s->sky_reach = 0.9;
    s->bounce = 0.22;
    build_shell(s);
    build_window(s);
    build_sofa(s);
    build_table(s);
    build_lamp(s);
    build_bookcase(s);
    build_wall_pictures(s);
    build_plant(s);
    // the sky in the window, and the sun beside it
    add_light(s, {-0.15, 1.58, 1.85}, {2.45, 1.58, 1.85}, 0.88, 0.72, {2.5, 2.6, 2.75});
    add_light(s, {-9, 8.4, 5.4}, {1.2, 0.4, 1.6}, 0.35, 0.35, {6.0, 5.0, 3.6});
}
