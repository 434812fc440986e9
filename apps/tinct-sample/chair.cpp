// The scene "chair": a lounge chair with its ottoman in a studio. One unit is a metre, the floor is y = 0.
#include <algorithm>

#include "furniture.h"
#include "noise.h"
#include "scene.h"

namespace {

vec3 studio(vec3 direction, bool reflection) {
    double up = smooth_step(-0.2, 1.0, direction.y);
    return mix(vec3{0.16, 0.16, 0.17}, vec3{0.42, 0.43, 0.45}, up) * (reflection ? 0.8 : 1.0);
}

// The materials of the chair and its ottoman.
struct chair_kit {
    int shell, leather, headrest, arms, metal, glides;
};

// A shell with its cushion in the frame `f`: y is the side that is sat on.
void add_section(scene* s, int shell, int leather, vec3 at, double half_wide, double half_long, const frame& f) {
    add_bent(s, shell, at, {half_wide, 0.011, half_long}, 0.009, 0, 0.62, f);
    add_bent(s, leather, at + f.y * 0.068, {half_wide - 0.03, 0.042, half_long - 0.025}, 0.04, 0.022, 0.58, f);
}

void add_star_base(scene* s, const chair_kit& kit, vec3 foot, double reach, double high, int arms, double turn) {
    for (int i = 0; i < arms; i++) {
        double a = turn + 2 * PI * i / arms;
        vec3 end = foot + vec3{std::cos(a) * reach, 0.035, std::sin(a) * reach};
        add_capsule(s, kit.metal, foot + vec3{0, 0.10, 0}, end, 0.026, 0.014);
        add_cylinder(s, kit.glides, {end.x, 0.0, end.z}, {end.x, 0.022, end.z}, 0.018);
    }
    add_cylinder(s, kit.metal, foot + vec3{0, 0.08, 0}, foot + vec3{0, high, 0}, 0.028);
    add_cylinder(s, kit.metal, foot + vec3{0, high - 0.02, 0}, foot + vec3{0, high, 0}, 0.10);
}

void build_lounge(scene* s, const chair_kit& kit) {
    frame turn = about_y(-28);
    vec3 at = {-0.25, 0, 0};
    auto place = [&](vec3 p) { return at + to_world(turn, p); };
    frame seat = turned(turn, about_x(-14)), back = turned(turn, about_x(62)), head = turned(turn, about_x(72));
    add_section(s, kit.shell, kit.leather, place({0, 0.37, 0.02}), 0.37, 0.29, seat);
    add_section(s, kit.shell, kit.leather, place({0, 0.60, -0.36}), 0.37, 0.25, back);
    add_section(s, kit.shell, kit.headrest, place({0, 0.99, -0.545}), 0.35, 0.175, head);
    for (double side : {-1.0, 1.0}) {
        frame rest = turned(turn, turned(about_x(-8), about_z(side * 8)));
        add_cushion(s, kit.arms, place({side * 0.40, 0.595, -0.03}), {0.052, 0.026, 0.20}, 0.024, 0.012, rest);
        add_rounded_box(s, kit.shell, place({side * 0.405, 0.565, -0.03}), {0.05, 0.008, 0.19}, 0.006, rest);
        // brackets between the arms, the shells and the back
        add_capsule(s, kit.metal, place({side * 0.395, 0.56, -0.05}), place({side * 0.35, 0.45, -0.10}), 0.012, 0.014);
        add_capsule(s, kit.metal, place({side * 0.14, 0.55, -0.40}), place({side * 0.14, 0.36, -0.12}), 0.014, 0.016);
        add_capsule(s, kit.metal, place({side * 0.12, 0.70, -0.455}), place({side * 0.12, 0.97, -0.585}), 0.012, 0.012);
    }
    add_star_base(s, kit, place({0, 0, -0.05}), 0.36, 0.33, 5, 0.35);
}

void build_ottoman(scene* s, const chair_kit& kit) {
    frame turn = about_y(-44);
    vec3 at = {0.62, 0, 0.72};
    frame top = turned(turn, about_x(-4));
    add_section(s, kit.shell, kit.leather, at + vec3{0, 0.335, 0}, 0.31, 0.26, top);
    add_star_base(s, kit, at, 0.28, 0.30, 4, 0.2);
}

void build_side_table(scene* s) {
    vec3 foot = {-1.08, 0, 0.30};
    int steel = add_surface(s, "Table column", PLAIN, metal(0.55));
    add_lathe(s, steel, foot,
              {0, 0, 0.19, 0, 0.19, 0.012, 0.03, 0.028, 0.022, 0.05, 0.022, 0.5, 0.07, 0.51, 0.07, 0.518, 0, 0.518});
    int top = add_surface(s, "Table glass", UV, mirroring(glass(0.12), 0.07));
    set_uv(add_cylinder(s, top, foot + vec3{0, 0.519, 0}, foot + vec3{0, 0.531, 0}, 0.31), uv_kind::flat_y,
           2 * PI * 0.31);
    vec3 up = foot + vec3{0, 0.532, 0};
    int cup = add_surface(s, "Cup", UV, POLISHED);
    add_curved(s, cup, up + vec3{0.10, 0.012, 0.12},
               {0, 0.004, 0.022, 0.004, 0.026, 0.0, 0.034, 0.012, 0.042, 0.05, 0.044, 0.066, 0.041, 0.066, 0.038, 0.05,
                0, 0.02});
    add_torus(s, cup, up + vec3{0.15, 0.048, 0.12}, 0.018, 0.005, about_x(90));
    int coffee = add_surface(s, "Coffee", PLAIN, POLISHED);
    add_cylinder(s, coffee, up + vec3{0.10, 0.05, 0.12}, up + vec3{0.10, 0.066, 0.12}, 0.0395);
    int saucer = add_surface(s, "Saucer", UV, POLISHED);
    add_curved(s, saucer, up + vec3{0.10, 0, 0.12},
               {0, 0.004, 0.03, 0.002, 0.045, 0.004, 0.078, 0.014, 0.079, 0.017, 0.045, 0.009, 0, 0.009});
    int cover = add_surface(s, "Book covers", UV, SATIN), pages = add_surface(s, "Pages", PLAIN, MATTE);
    add_book(s, cover, pages, up + vec3{-0.08, 0.018, -0.03}, {0.085, 0.018, 0.12}, about_y(18));
    add_book(s, cover, pages, up + vec3{-0.085, 0.051, -0.035}, {0.075, 0.015, 0.11}, about_y(-6));
    int vase = add_surface(s, "Vase", UV, POLISHED);
    add_curved(s, vase, up + vec3{-0.06, 0.067, -0.05},
               {0,     0.004, 0.03,  0.0,  0.048, 0.03,  0.05,  0.06,  0.03, 0.10,
                0.015, 0.13,  0.014, 0.16, 0.02,  0.175, 0.017, 0.175, 0.01, 0.15});
    int sprig = add_surface(s, "Sprig", UV, backlit(SATIN, 0.4));
    vec3 stem = up + vec3{-0.06, 0.22, -0.05};
    for (uint32_t i = 0; i < 3; i++) {
        vec3 tip = stem + vec3{0.10 * (i - 1.0) + 0.02, 0.30 - 0.05 * (i % 2), 0.03 * i};
        add_capsule(s, sprig, stem, tip, 0.004, 0.003);
        for (uint32_t k = 1; k < 9; k++) {
            double side = k % 2 ? 1 : -1;
            vec3 on = mix(stem, tip, 0.2 + k * 0.1);
            frame f = along(normalised(tip - stem) + vec3{side * 0.8, 0, 0.5 * hash01(k + i * 9) - 0.25});
            add_ellipsoid(s, sprig, on + f.y * 0.035, {0.016, 0.036, 0.003}, f);
        }
    }
}

void build_lamp(scene* s) {
    vec3 foot = {1.28, 0, -0.60};
    int stand = add_surface(s, "Lamp stand", PLAIN, metal(0.5));
    add_lathe(s, stand, foot, {0, 0, 0.17, 0, 0.17, 0.018, 0.02, 0.03, 0.013, 0.04, 0.013, 1.52});
    vec3 top = foot + vec3{0, 1.52, 0}, head = top + vec3{-0.42, 0.02, 0.30};
    add_capsule(s, stand, top, head, 0.012, 0.012);
    add_sphere(s, stand, top, 0.026);
    int bell = add_surface(s, "Lamp bell", UV, backlit(SATIN, 0.1));
    add_curved(s, bell, head - vec3{0, 0.20, 0}, {0.165, 0.0, 0.15, 0.09, 0.09, 0.17, 0.03, 0.2, 0, 0.205});
    add_sphere(s, add_material(s, glowing({1.0, 0.93, 0.78})), head - vec3{0, 0.13, 0}, 0.05);
    vec3 under = head - vec3{0, 0.19, 0};
    add_light(s, under, under - vec3{0, 0.9, 0}, 0.08, 0.08, {0.75, 0.58, 0.36});
}

void build_studio(scene* s) {
    int boards = add_surface(s, "Floor", UV, shining(mirroring(POLISHED, 0.05), 0, 250));
    set_uv(add_box(s, boards, {0, 0, 0}, {6, 0, 4}), uv_kind::box, 4);
    int wall = add_surface(s, "Wall", UV, MATTE);
    set_uv(add_box(s, wall, {0, 2, -1.9}, {6, 2, 0}), uv_kind::box, 4);
    int skirting = add_surface(s, "Skirting", UV, SATIN);
    add_box(s, skirting, {0, 0.07, -1.885}, {6, 0.07, 0.014});
    int wool = add_surface(s, "Rug", UV, cloth(0.06, 0.014));
    shape* rug = add_cylinder(s, wool, {-0.05, 0, 0.2}, {-0.05, 0.014, 0.2}, 1.28);
    set_uv(rug, uv_kind::flat_y, 2.56);
    int frame_wood = add_surface(s, "Picture frame", UV, POLISHED);
    int canvas = add_surface(s, "Picture", UV, SATIN);
    add_frame(s, frame_wood, {-0.72, 1.52, -1.875}, 0.44, 0.33, 0.02, 0.02);
    set_uv(add_box(s, canvas, {-0.72, 1.52, -1.885}, {0.44, 0.33, 0.004}), uv_kind::flat_z, 0.88);
}

} // namespace

void build_chair(scene* s) {
    s->view = {{0.62, 1.22, 4.5}, {0.05, 0.66, 0}, 36};
    s->surroundings = studio;
    s->sky = {0.10, 0.11, 0.13};
    s->ground = {0.08, 0.07, 0.06};
    s->sky_reach = 1.2;
    s->bounce = 0.2;
    build_studio(s);
    material hide = rough(shining(SATIN, 0.18, 30), 0.025, 0.02);
    chair_kit kit = {.shell = add_surface(s, "Shells", UV, POLISHED),
                     .leather = add_surface(s, "Leather", UV, hide),
                     .headrest = add_surface(s, "Headrest", UV, hide),
                     .arms = add_surface(s, "Armrests", UV, hide),
                     .metal = add_surface(s, "Base", PLAIN, metal(0.55)),
                     .glides = add_surface(s, "Glides", PLAIN, MATTE)};
    build_lounge(s, kit);
    build_ottoman(s, kit);
    build_side_table(s);
    build_lamp(s);
    int wool = add_surface(s, "Cushion", UV, cloth(0.01, 0.02));
    frame lean = turned(about_y(-28), turned(about_x(-35), about_z(6)));
    add_pillow(s, wool, {-0.27, 0.66, -0.12}, {0.20, 0.14, 0.075}, lean);
    add_light(s, {-3.2, 3.6, 3.0}, {0, 0.4, 0}, 0.8, 0.8, {2.1, 2.0, 1.8}, {3.4, 3.4, 3.4});
    add_light(s, {3.4, 2.4, 1.6}, {0, 0.5, 0}, 0.5, 1.0, {0.55, 0.60, 0.72}, {1.6, 1.7, 1.9});
}
