// The shapes that scenes are made of, and where a ray meets them.
//
// A shape lies in a frame of its own (`origin`, `axes`). Rays are turned into that frame, met there, and the normal is
// turned back. Free forms (`field`) are given by a function that never overstates the distance to the surface; a ray
// is walked along it. A lathe is a profile turned about the y axis.
#pragma once

#include <cstdint>
#include <vector>

#include "vec.h"

struct box3 {
    vec3 low, high;
};

struct ray {
    vec3 origin;
    vec3 direction; // unit length
};

struct shape;

// Distance from `p` (local) to the surface, negative inside.
using distance_function = double (*)(const shape& s, vec3 p);

enum class shape_kind : uint8_t { sphere, box, lathe, field };

// How u and v are laid over a surface, in its local frame. They are to scale in both directions.
enum class uv_kind : uint8_t {
    none,
    flat_x, // seen along x: u along z
    flat_y, // seen along y: u along x, v along z
    flat_z, // seen along z: u along x
    box,    // seen along the axis nearest to the normal
    round   // u around y, v along y, or along the profile of a lathe
};

struct profile_point {
    double radius, height;
    double normal_radius, normal_height; // unit outward normal
    double along;                        // length of the profile up to here
};

struct shape {
    shape_kind kind;
    uv_kind uv;
    double uv_size;                     // length in the scene that u, v 0 to 1 stand for
    double uv_u, uv_v;                  // u, v at the local origin
    double uv_radius;                   // radius at which `round` is to scale
    vec3 origin;                        // of the local frame
    frame axes;                         // of the local frame
    vec3 half;                          // half extents of a box or field, radii of a sphere
    double params[10];                  // of a field; 0 is the rounding radius of a rounded box
    distance_function dist;             // of a field
    double step;                        // share of the distance that a walk may take, below 1 for bent fields
    std::vector<profile_point> profile; // of a lathe
    int material;
    int id;      // number of the object that the shape is part of
    box3 bounds; // world
    box3 local;  // local bounds
};

struct hit {
    double distance;
    const shape* object; // null: nothing met
    vec3 point, normal;  // world; the normal points out of the surface
    vec3 local, local_normal;
};

// True and `distance` lowered when the ray meets the shape nearer than `distance` and beyond `nearest`.
bool shape_meets(const shape& s, const ray& r, double nearest, double* distance, hit* h);

// Sets the fields of `h` that follow from the distance: points, normals.
void shape_finish_hit(const ray& r, hit* h);

// u and v, 0 to 1 over the surface's range. Not for uv_kind::none.
void shape_uv(const shape& s, vec3 local, vec3 n, double* u, double* v);

// Sets `bounds` from `local` and the frame.
void shape_set_bounds(shape* s);

// Distances of common free forms: a box with rounded edges and faces that swell by `puff` towards the middle; and a
// torus around y (params: ring radius, tube radius); a capsule (params: half length along y, lower radius, upper
// radius).
double rounded_box(vec3 p, vec3 half, double radius);
double distance_rounded_box(const shape& s, vec3 p); // half: extents, params[0]: radius
double distance_torus(const shape& s, vec3 p);
double distance_capsule(const shape& s, vec3 p);
