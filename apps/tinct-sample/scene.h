// A scene: surfaces (pens), materials, shapes, lights and a camera; and the calls by which scenes are put together.
//
// Light values are relative: 1 is a white surface in full light. What carries no pen (backdrop, highlights, flames) is
// given as it is to look, 0 to 1 per channel, or more for lights that are to burn out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "shape.h"

struct ray_tree; // the search tree over the shapes, see tree.h

struct pen_info {
    const char* name;
    bool has_uv;
};

struct material {
    int pen;           // -1: no pen, only `glow`
    vec3 glow;         // with a pen: light given off, added to what falls on it; without: how it looks
    double mirror;     // share reflected head on, 0 to 1; it rises towards grazing angles
    double highlight;  // strength of the highlights of lights
    double gloss;      // sharpness of the highlights, 10 to 2000
    double opacity;    // share of light that the surface itself stops: 1 solid, below 1 seen through
    double refraction; // ratio of light bending of a clear solid, 1 for thin sheets
    double backlight;  // share of light that comes through from behind, of leaves, cloth, lamp shades
    double bump;       // depth of the unevenness, 0 none
    double bump_size;  // size of its features
    bool casts_shadow; // stops light
    bool seen_direct;  // seen by the camera, not only in reflections
};

// A rectangle that gives light to one side.
struct area_light {
    vec3 centre, half_a, half_b; // half_a x half_b points to where it shines
    vec3 color;                  // light that it gives a surface at `reach` that faces it
    double reach;
    vec3 look; // how it looks in a reflection, of strength 1; 0 not at all
    bool seen; // seen by the camera too
};

struct camera {
    vec3 position, target;
    double view_angle; // degrees, of the larger picture dimension taken as 4:3
};

struct scene;

// How the surroundings look in a direction, for what meets no shape. `reflection` tells a reflected ray from one of the
// camera.
using surroundings_function = vec3 (*)(const scene& s, vec3 direction, bool reflection);

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
    double exposure;  // brightness of the whole
    int next_id;
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

// ---- putting a scene together --------------------------------------------------------------------------------------

// A surface. Returns its pen number.
int add_pen(scene* s, const char* name, bool has_uv);

// Materials to start from; change the result before it is added. A pen without u,v gives shapes without them.
material matte(int pen);
material satin(int pen);    // a broad, weak highlight
material polished(int pen); // lacquer, glaze: reflects a little, more towards the edges
material metal(int pen, double mirror);
material glass(int pen, double opacity);
material glowing(vec3 look); // without a pen
material cloth(int pen, double bump, double bump_size);

// Adds a material. Returns its number, for the calls below.
int add_material(scene* s, const material& m);

// A new pen with its material, in one.
int add_surface(scene* s, const char* name, bool has_uv, material (*kind)(int pen));

// Shapes. Each returns the shape so that u,v can be set differently; the pointer is good until the next call.
// A quad: centre, half extents, in the plane of the frame's x and y.
shape* add_quad(scene* s, int material, vec3 centre, double half_x, double half_y, const frame& f);
shape* add_floor(scene* s, int material, vec3 centre, double half_x, double half_z);
shape* add_sphere(scene* s, int material, vec3 centre, double radius);
shape* add_ellipsoid(scene* s, int material, vec3 centre, vec3 radii, const frame& f);
shape* add_box(scene* s, int material, vec3 centre, vec3 half, const frame& f);
shape* add_rounded_box(scene* s, int material, vec3 centre, vec3 half, double radius, const frame& f);
shape* add_cylinder(scene* s, int material, vec3 from, vec3 to, double radius);
shape* add_capsule(scene* s, int material, vec3 from, vec3 to, double from_radius, double to_radius);
shape* add_torus(scene* s, int material, vec3 centre, double radius, double tube, const frame& f);
shape* add_field(scene* s, int material, vec3 centre, vec3 bounds, distance_function f, const frame& axes, double step);

// A lathe from (radius, height) pairs, bottom to top of the outside. `smooth` draws a curve through them.
struct lathe_point {
    double radius, height;
};
shape* add_lathe(scene* s, int material, vec3 foot, const std::vector<lathe_point>& points, bool smooth);

void set_uv(shape* s, uv_kind kind, double size);

// Lights: a rectangle at `from` that faces `to`.
void add_light(scene* s, vec3 from, vec3 to, double half_width, double half_height, vec3 color, vec3 look);
