// Putting scenes together: pens, materials, shapes with sensible u,v, lights.
#include "scene.h"

#include <algorithm>
#include <cstring>

const scene_entry SCENES[] = {
    {"still", "a laid table: bread, fruit, wine, glass, candle and cloth by a window", build_still},
    {"room", "a living room corner: sofa, rug, glass table, shelf, curtain and window", build_room},
    {"chair", "a lounge chair with ottoman, glass side table and lamp in a studio", build_chair},
    {nullptr, nullptr, nullptr},
};

const scene_entry* scene_find(const char* name) {
    for (const scene_entry* e = SCENES; e->name != nullptr; e++) {
        if (std::strcmp(e->name, name) == 0) return e;
    }
    return nullptr;
}

int add_material(scene* s, const material& m) {
    s->materials.push_back(m);
    return static_cast<int>(s->materials.size()) - 1;
}

int add_surface(scene* s, const char* name, bool has_uv, const material& m) {
    int number = add_material(s, m);
    s->materials.back().pen = static_cast<int>(s->pens.size());
    s->pens.push_back({name, has_uv});
    return number;
}

// ---- shapes --------------------------------------------------------------------------------------------------------

namespace {

shape* add_shape(scene* s, shape_kind kind, int material, vec3 origin, const frame& axes, vec3 half, uv_kind uv,
                 double uv_size) {
    shape added{};
    added.kind = kind;
    added.uv = uv;
    added.uv_size = uv_size;
    added.uv_u = added.uv_v = 0.5;
    added.origin = origin;
    added.axes = axes;
    added.half = half;
    added.step = 1;
    added.material = material;
    added.id = static_cast<int>(s->shapes.size());
    added.local = {-half, half};
    shape_set_bounds(&added);
    s->shapes.push_back(added);
    return &s->shapes.back();
}

// A point of the curve through four points, between the second and the third.
double curve(double p0, double p1, double p2, double p3, double t) {
    double a = 2 * p1, b = p2 - p0, c = 2 * p0 - 5 * p1 + 4 * p2 - p3, d = -p0 + 3 * p1 - 3 * p2 + p3;
    return 0.5 * (a + b * t + c * t * t + d * t * t * t);
}

std::vector<profile_point> profile_of(std::initializer_list<double> pairs) {
    std::vector<profile_point> out;
    for (size_t i = 0; i < pairs.size(); i += 2)
        out.push_back({pairs.begin()[i], pairs.begin()[i + 1], 0, 0, 0});
    return out;
}

std::vector<profile_point> curve_through(const std::vector<profile_point>& p) {
    constexpr int PIECES = 4;
    std::vector<profile_point> out;
    for (size_t i = 0; i + 1 < p.size(); i++) {
        const profile_point &a = p[i > 0 ? i - 1 : 0], &d = p[std::min(i + 2, p.size() - 1)];
        for (int k = 0; k < PIECES; k++) {
            double t = static_cast<double>(k) / PIECES;
            out.push_back({std::max(curve(a.radius, p[i].radius, p[i + 1].radius, d.radius, t), 0.0),
                           curve(a.height, p[i].height, p[i + 1].height, d.height, t), 0, 0, 0});
        }
    }
    out.push_back(p.back());
    return out;
}

// Each inner point twice, for the normals of either side.
std::vector<profile_point> with_corners(const std::vector<profile_point>& p) {
    std::vector<profile_point> out;
    for (size_t i = 0; i < p.size(); i++)
        out.insert(out.end(), i > 0 && i + 1 < p.size() ? 2 : 1, p[i]);
    return out;
}

// A lathe of a profile in stretches of `stretch` points that are each smooth.
shape* add_profile(scene* s, int material, vec3 foot, const frame& f, std::vector<profile_point> p, size_t stretch) {
    double widest = 0, low = p[0].height, high = low;
    for (size_t i = 0; i < p.size(); i++) {
        if (i > 0)
            p[i].along = p[i - 1].along + std::hypot(p[i].radius - p[i - 1].radius, p[i].height - p[i - 1].height);
        widest = std::max(widest, p[i].radius);
        low = std::min(low, p[i].height);
        high = std::max(high, p[i].height);
        // the outward normal is the direction turned by a quarter: the outside is walked upwards
        const profile_point& a = p[i % stretch == 0 ? i : i - 1];
        const profile_point& b = p[i % stretch == stretch - 1 ? i : i + 1];
        double l = std::max(std::hypot(b.radius - a.radius, b.height - a.height), 1e-12);
        p[i].normal_radius = (b.height - a.height) / l;
        p[i].normal_height = (a.radius - b.radius) / l;
    }
    double round = std::max(2 * PI * widest, p.back().along);
    shape* l = add_shape(s, shape_kind::lathe, material, foot, f, {}, uv_kind::round, round);
    l->profile = std::move(p);
    l->local = {{-widest, low, -widest}, {widest, high, widest}};
    l->uv_radius = widest;
    l->uv_v = 1;
    shape_set_bounds(l);
    return l;
}

} // namespace

void set_uv(shape* s, uv_kind kind, double size) {
    s->uv = kind;
    s->uv_size = size;
}

shape* add_box(scene* s, int material, vec3 centre, vec3 half, const frame& f) {
    return add_shape(s, shape_kind::box, material, centre, f, half, uv_kind::box, 2 * largest(half));
}

shape* add_ellipsoid(scene* s, int material, vec3 centre, vec3 radii, const frame& f) {
    shape* e = add_shape(s, shape_kind::sphere, material, centre, f, radii, uv_kind::round, 2 * PI * radii.x);
    e->uv_radius = radii.x;
    return e;
}

shape* add_sphere(scene* s, int material, vec3 centre, double radius) {
    return add_ellipsoid(s, material, centre, {radius, radius, radius});
}

shape* add_field(scene* s, int material, vec3 centre, vec3 bounds, distance_function dist,
                 const std::vector<double>& params, double step, const frame& f) {
    shape* b = add_shape(s, shape_kind::field, material, centre, f, bounds, uv_kind::box, 2 * largest(bounds));
    b->dist = dist;
    b->step = step;
    std::copy(params.begin(), params.end(), b->params);
    // a little room around the form, so that a walk that ends close above the surface still ends inside
    vec3 room = bounds * 1.002 + vec3{1e-4, 1e-4, 1e-4};
    b->local = {-room, room};
    shape_set_bounds(b);
    return b;
}

shape* add_rounded_box(scene* s, int material, vec3 centre, vec3 half, double radius, const frame& f) {
    return add_field(s, material, centre, half, distance_rounded_box, {radius}, 1, f);
}

shape* add_capsule(scene* s, int material, vec3 from, vec3 to, double from_radius, double to_radius) {
    double height = length(to - from) / 2, radius = std::max(from_radius, to_radius);
    shape* c = add_field(s, material, (from + to) * 0.5, {radius, height + radius, radius}, distance_capsule,
                         {height, from_radius, to_radius}, 1, along(to - from));
    set_uv(c, uv_kind::round, std::max(2 * PI * radius, 2 * (height + radius)));
    c->uv_radius = radius;
    return c;
}

shape* add_torus(scene* s, int material, vec3 centre, double radius, double tube, const frame& f) {
    return add_field(s, material, centre, {radius + tube, tube, radius + tube}, distance_torus, {radius, tube}, 1, f);
}

shape* add_lathe(scene* s, int material, vec3 foot, std::initializer_list<double> outline, const frame& f) {
    return add_profile(s, material, foot, f, with_corners(profile_of(outline)), 2);
}

shape* add_curved(scene* s, int material, vec3 foot, std::initializer_list<double> points, const frame& f) {
    std::vector<profile_point> p = curve_through(profile_of(points));
    size_t count = p.size();
    return add_profile(s, material, foot, f, std::move(p), count);
}

shape* add_cylinder(scene* s, int material, vec3 from, vec3 to, double radius) {
    double height = length(to - from);
    return add_lathe(s, material, from, {0, 0, radius, 0, radius, height, 0, height}, along(to - from));
}

void add_light(scene* s, vec3 from, vec3 to, double half_width, double half_height, vec3 color, vec3 look) {
    vec3 facing = normalised(to - from);
    vec3 side = normalised(cross(facing, std::fabs(facing.y) > 0.99 ? vec3{0, 0, 1} : vec3{0, 1, 0}));
    vec3 up = cross(side, facing);
    s->lights.push_back({from, up * half_height, side * half_width, color, length(to - from), look});
}
