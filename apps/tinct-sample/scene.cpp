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

int add_pen(scene* s, const char* name, bool has_uv) {
    s->pens.push_back({name, has_uv});
    return static_cast<int>(s->pens.size()) - 1;
}

// ---- materials -------------------------------------------------------------------------------------------------

material matte(int pen) {
    material m{};
    m.pen = pen;
    m.opacity = 1;
    m.refraction = 1;
    m.gloss = 40;
    m.bump_size = 1;
    m.casts_shadow = true;
    m.seen_direct = true;
    return m;
}

material satin(int pen) {
    material m = matte(pen);
    m.highlight = 0.10;
    m.gloss = 25;
    return m;
}

material polished(int pen) {
    material m = matte(pen);
    m.mirror = 0.045;
    m.highlight = 0.35;
    m.gloss = 250;
    return m;
}

material metal(int pen, double mirror) {
    material m = matte(pen);
    m.mirror = mirror;
    m.highlight = 0.5;
    m.gloss = 300;
    return m;
}

material glass(int pen, double opacity) {
    material m = matte(pen);
    m.mirror = 0.05;
    m.opacity = opacity;
    m.highlight = 0.6;
    m.gloss = 700;
    return m;
}

material glowing(vec3 look) {
    material m = matte(-1);
    m.glow = look;
    m.casts_shadow = false;
    return m;
}

material cloth(int pen, double bump, double bump_size) {
    material m = matte(pen);
    m.bump = bump;
    m.bump_size = bump_size;
    m.backlight = 0.15;
    return m;
}

int add_material(scene* s, const material& m) {
    s->materials.push_back(m);
    return static_cast<int>(s->materials.size()) - 1;
}

int add_surface(scene* s, const char* name, bool has_uv, material (*kind)(int pen)) {
    return add_material(s, kind(add_pen(s, name, has_uv)));
}

// ---- shapes ----------------------------------------------------------------------------------------------------

namespace {

shape* add_shape(scene* s, shape_kind kind, int material, vec3 origin, const frame& axes, vec3 half) {
    shape added{};
    added.kind = kind;
    added.origin = origin;
    added.axes = axes;
    added.half = half;
    added.material = material;
    added.id = s->next_id++;
    added.step = 1;
    added.local = {-half, half};
    added.uv_u = 0.5;
    added.uv_v = 0.5;
    shape_set_bounds(&added);
    s->shapes.push_back(added);
    return &s->shapes.back();
}

double largest(vec3 v) {
    return std::max({v.x, v.y, v.z});
}

// The outward normal of a profile is its direction turned by a quarter: the outside is walked upwards.
void set_profile_normals(std::vector<profile_point>* profile, size_t first, size_t last, bool smooth) {
    std::vector<profile_point>& p = *profile;
    for (size_t i = first; i <= last; i++) {
        size_t a = i > first && (smooth || i == last) ? i - 1 : i;
        size_t b = i < last ? i + 1 : i;
        double dr = p[b].radius - p[a].radius, dh = p[b].height - p[a].height;
        double l = std::max(std::sqrt(dr * dr + dh * dh), 1e-12);
        p[i].normal_radius = dh / l;
        p[i].normal_height = -dr / l;
    }
}

// A point of the curve through four points, between the second and the third.
double curve(double p0, double p1, double p2, double p3, double t) {
    double a = 2 * p1, b = p2 - p0, c = 2 * p0 - 5 * p1 + 4 * p2 - p3, d = -p0 + 3 * p1 - 3 * p2 + p3;
    return 0.5 * (a + b * t + c * t * t + d * t * t * t);
}

std::vector<lathe_point> curve_through(const std::vector<lathe_point>& p) {
    constexpr int PIECES = 4;
    std::vector<lathe_point> out;
    for (size_t i = 0; i + 1 < p.size(); i++) {
        const lathe_point& a = p[i > 0 ? i - 1 : 0];
        const lathe_point& d = p[std::min(i + 2, p.size() - 1)];
        for (int k = 0; k < PIECES; k++) {
            double t = static_cast<double>(k) / PIECES;
            out.push_back({std::max(curve(a.radius, p[i].radius, p[i + 1].radius, d.radius, t), 0.0),
                           curve(a.height, p[i].height, p[i + 1].height, d.height, t)});
        }
    }
    out.push_back(p.back());
    return out;
}

} // namespace

void set_uv(shape* s, uv_kind kind, double size) {
    s->uv = kind;
    s->uv_size = size;
}

shape* add_quad(scene* s, int material, vec3 centre, double half_x, double half_y, const frame& f) {
    shape* q = add_shape(s, shape_kind::quad, material, centre, f, {half_x, half_y, 0});
    set_uv(q, uv_kind::flat_z, 2 * std::max(half_x, half_y));
    return q;
}

shape* add_floor(scene* s, int material, vec3 centre, double half_x, double half_z) {
    return add_quad(s, material, centre, half_x, half_z, {{1, 0, 0}, {0, 0, -1}, {0, 1, 0}});
}

shape* add_sphere(scene* s, int material, vec3 centre, double radius) {
    return add_ellipsoid(s, material, centre, {radius, radius, radius}, UPRIGHT);
}

shape* add_ellipsoid(scene* s, int material, vec3 centre, vec3 radii, const frame& f) {
    shape* e = add_shape(s, shape_kind::sphere, material, centre, f, radii);
    set_uv(e, uv_kind::round, 2 * PI * radii.x);
    e->uv_radius = radii.x;
    return e;
}

shape* add_box(scene* s, int material, vec3 centre, vec3 half, const frame& f) {
    shape* b = add_shape(s, shape_kind::box, material, centre, f, half);
    set_uv(b, uv_kind::box, 2 * largest(half));
    return b;
}

shape* add_rounded_box(scene* s, int material, vec3 centre, vec3 half, double radius, const frame& f) {
    shape* b = add_field(s, material, centre, half, distance_rounded_box, f, 1);
    b->params[0] = radius;
    return b;
}

shape* add_cylinder(scene* s, int material, vec3 from, vec3 to, double radius) {
    double height = length(to - from) / 2;
    shape* c =
        add_shape(s, shape_kind::cylinder, material, (from + to) * 0.5, along(to - from), {radius, height, radius});
    set_uv(c, uv_kind::round, std::max(2 * PI * radius, 2 * height));
    c->uv_radius = radius;
    return c;
}

shape* add_capsule(scene* s, int material, vec3 from, vec3 to, double from_radius, double to_radius) {
    double height = length(to - from) / 2, radius = std::max(from_radius, to_radius);
    shape* c = add_field(s, material, (from + to) * 0.5, {radius, height + radius, radius}, distance_capsule,
                         along(to - from), 1);
    c->params[0] = height;
    c->params[1] = from_radius;
    c->params[2] = to_radius;
    set_uv(c, uv_kind::round, std::max(2 * PI * radius, 2 * (height + radius)));
    c->uv_radius = radius;
    return c;
}

shape* add_torus(scene* s, int material, vec3 centre, double radius, double tube, const frame& f) {
    shape* t = add_field(s, material, centre, {radius + tube, tube, radius + tube}, distance_torus, f, 1);
    t->params[0] = radius;
    t->params[1] = tube;
    return t;
}

shape* add_field(scene* s, int material, vec3 centre, vec3 bounds, distance_function f, const frame& axes,
                 double step) {
    shape* b = add_shape(s, shape_kind::field, material, centre, axes, bounds);
    b->dist = f;
    b->step = step;
    set_uv(b, uv_kind::box, 2 * largest(bounds));
    // a little room around the form, so that a walk that ends close above the surface still ends inside
    vec3 room = bounds * 1.002 + vec3{1e-4, 1e-4, 1e-4};
    b->local = {-room, room};
    shape_set_bounds(b);
    return b;
}

shape* add_lathe(scene* s, int material, vec3 foot, const std::vector<lathe_point>& points, bool smooth) {
    std::vector<lathe_point> outline = smooth ? curve_through(points) : points;
    shape* l = add_shape(s, shape_kind::lathe, material, foot, UPRIGHT, {});
    double widest = 0, low = outline[0].height, high = low, along = 0;
    for (size_t i = 0; i < outline.size(); i++) {
        const lathe_point& p = outline[i];
        if (i > 0) along += std::hypot(p.radius - outline[i - 1].radius, p.height - outline[i - 1].height);
        widest = std::max(widest, p.radius);
        low = std::min(low, p.height);
        high = std::max(high, p.height);
        profile_point added = {p.radius, p.height, 0, 0, along};
        // with corners, each inner point stands twice, with the normal of either side
        if (!smooth && i > 0 && i + 1 < outline.size()) l->profile.push_back(added);
        l->profile.push_back(added);
    }
    if (smooth) {
        set_profile_normals(&l->profile, 0, l->profile.size() - 1, true);
    } else {
        for (size_t i = 0; i + 1 < l->profile.size(); i += 2)
            set_profile_normals(&l->profile, i, i + 1, false);
    }
    l->local = {{-widest, low, -widest}, {widest, high, widest}};
    set_uv(l, uv_kind::round, std::max(2 * PI * widest, along));
    l->uv_radius = widest;
    l->uv_v = 1;
    shape_set_bounds(l);
    return l;
}

void add_light(scene* s, vec3 from, vec3 to, double half_width, double half_height, vec3 color, vec3 look) {
    vec3 facing = normalised(to - from);
    vec3 side = normalised(cross(facing, std::fabs(facing.y) > 0.99 ? vec3{0, 0, 1} : vec3{0, 1, 0}));
    vec3 up = cross(side, facing);
    s->lights.push_back({from, up * half_height, side * half_width, color, length(to - from), look, false});
}
