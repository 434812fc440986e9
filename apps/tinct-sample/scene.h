// A scene: surfaces (pens), materials, shapes, lights and a camera; and the calls by which scenes are put together.
//
// Light values are linear and relative: 1 is a white surface in full light, and the light of lamps in reflections may
// be more. Only the backdrop and what glows without a pen are given as they are to look on a screen, 0 to 1 a channel.
#pragma once

#include <initializer_list>
#include <vector>

#include "shape.h"

struct pen_info {
    const char* name;
    bool has_uv;
};

struct material {
    int pen = -1;             // -1: no pen, only `glow`
    vec3 glow = {};           // with a pen: light given off, added to what falls on it; without: how it looks
    double mirror = 0;        // share reflected head on, 0 to 1; it rises towards grazing angles
    double highlight = 0;     // strength of the highlights of lights
    double gloss = 40;        // sharpness of the highlights, 10 to 2000
    double opacity = 1;       // share of light that the surface itself stops: 1 solid, below 1 seen through
    double backlight = 0;     // share of light that comes through from behind, of leaves, cloth, lamp shades
    double bump = 0;          // depth of the unevenness, 0 none
    double bump_size = 1;     // size of its features
    bool casts_shadow = true; // stops light
};

// A rectangle that gives light to one side, and is seen in reflections.
struct area_light {
    vec3 centre, half_a, half_b; // half_a x half_b points to where it shines
    vec3 color;                  // light that it gives a surface at `reach` that faces it
    double reach;
    vec3 look; // its light in a reflection of strength 1; 0 not seen
};

struct camera {
    vec3 position, target;
    double view_angle; // degrees, of the larger picture dimension taken as 4:3
};

// How the surroundings look in a direction, for what meets no shape. `reflection` tells a reflected ray from one of the
// camera.
using surroundings_function = vec3 (*)(vec3 direction, bool reflection);

struct scene {
    std::vector<pen_info> pens;
    std::vector<material> materials;
    std::vector<shape> shapes;
    std::vector<area_light> lights;
    camera view;
    surroundings_function surroundings;
    vec3 sky;         // light from all around and above
    vec3 ground;      // light from below
    double sky_reach; // how far a shape can be and still keep that light off
    double bounce;    // share of that light which a shape in its way gives back
};

struct scene_entry {
    const char* name;
    const char* description;
    void (*build)(scene* s);
};

// The scenes, ended by an entry without a name.
extern const scene_entry SCENES[];

const scene_entry* scene_find(const char* name);

void build_still(scene* s);
void build_room(scene* s);
void build_chair(scene* s);

// ---- materials -----------------------------------------------------------------------------------------------------

constexpr material MATTE = {};
constexpr material SATIN = {.highlight = 0.10, .gloss = 25};                      // a broad, weak highlight
constexpr material POLISHED = {.mirror = 0.045, .highlight = 0.35, .gloss = 250}; // lacquer, glaze

constexpr material metal(double mirror) {
    return {.mirror = mirror, .highlight = 0.5, .gloss = 300};
}
constexpr material glass(double opacity) {
    return {.mirror = 0.05, .highlight = 0.6, .gloss = 700, .opacity = opacity};
}
constexpr material glowing(vec3 look) {
    return {.glow = look, .casts_shadow = false};
}
constexpr material cloth(double bump, double bump_size) {
    return {.backlight = 0.15, .bump = bump, .bump_size = bump_size};
}

// A material with one thing changed.
constexpr material mirroring(material m, double mirror) {
    m.mirror = mirror;
    return m;
}
constexpr material shining(material m, double highlight, double gloss) {
    m.highlight = highlight;
    m.gloss = gloss;
    return m;
}
constexpr material backlit(material m, double share) {
    m.backlight = share;
    return m;
}
constexpr material rough(material m, double bump, double bump_size) {
    m.bump = bump;
    m.bump_size = bump_size;
    return m;
}

// Adds a material. Returns its number, for the calls below.
int add_material(scene* s, const material& m);

// The same with a new pen, with u,v or plain: shapes of a plain one get none.
constexpr bool UV = true;
constexpr bool PLAIN = false;
int add_surface(scene* s, const char* name, bool has_uv, const material& m);

// ---- shapes --------------------------------------------------------------------------------------------------------

// Each returns the shape so that u,v can be set differently; the pointer is good until the next call. A box may be
// flat.
shape* add_box(scene* s, int material, vec3 centre, vec3 half, const frame& f = UPRIGHT);
shape* add_ellipsoid(scene* s, int material, vec3 centre, vec3 radii, const frame& f = UPRIGHT);
shape* add_sphere(scene* s, int material, vec3 centre, double radius);
shape* add_field(scene* s, int material, vec3 centre, vec3 bounds, distance_function dist,
                 const std::vector<double>& params, double step, const frame& f = UPRIGHT);
shape* add_rounded_box(scene* s, int material, vec3 centre, vec3 half, double radius, const frame& f = UPRIGHT);
shape* add_capsule(scene* s, int material, vec3 from, vec3 to, double from_radius, double to_radius);
shape* add_torus(scene* s, int material, vec3 centre, double radius, double tube, const frame& f);

// A lathe from radius, height, radius, height, ..., bottom to top of the outside; with corners, or with a curve through
// the points. A cylinder is one.
shape* add_lathe(scene* s, int material, vec3 foot, std::initializer_list<double> outline, const frame& f = UPRIGHT);
shape* add_curved(scene* s, int material, vec3 foot, std::initializer_list<double> points, const frame& f = UPRIGHT);
shape* add_cylinder(scene* s, int material, vec3 from, vec3 to, double radius);

void set_uv(shape* s, uv_kind kind, double size);

// A rectangle of light at `from` that faces `to`, where its light is `color`.
void add_light(scene* s, vec3 from, vec3 to, double half_width, double half_height, vec3 color, vec3 look = {});
