// Meeting points of rays and shapes.
#include "shape.h"

#include <algorithm>

namespace {

constexpr int WALK_STEPS = 160;

// The stretch of the ray within a box of its own frame.
bool box_span(const box3& b, vec3 o, vec3 d, double* enter, double* leave) {
    auto inverted = [](double x) { return 1 / (std::fabs(x) < 1e-12 ? std::copysign(1e-12, x) : x); };
    vec3 inverse = {inverted(d.x), inverted(d.y), inverted(d.z)};
    vec3 low = (b.low - o) * inverse, high = (b.high - o) * inverse;
    *enter = std::max(*enter, largest(lesser(low, high)));
    *leave = std::min(*leave, -largest(-greater(low, high)));
    return *enter <= *leave;
}

bool nearer(double t, double nearest, double* distance) {
    if (t <= nearest || t >= *distance) return false;
    *distance = t;
    return true;
}

bool meets_sphere(const shape& s, vec3 o, vec3 d, double nearest, double* distance, hit* h) {
    vec3 inverse = {1 / s.half.x, 1 / s.half.y, 1 / s.half.z};
    vec3 p = o * inverse, q = d * inverse;
    double a = dot(q, q), b = dot(p, q), c = dot(p, p) - 1;
    double root = b * b - a * c;
    if (root < 0) return false;
    root = std::sqrt(root);
    if (!nearer((-b - root) / a, nearest, distance) && !nearer((-b + root) / a, nearest, distance)) return false;
    h->local_normal = normalised((p + q * *distance) * inverse);
    return true;
}

vec3 box_normal(vec3 half, vec3 p) {
    vec3 out = absolute(p) - half;
    if (out.x >= out.y && out.x >= out.z) return {std::copysign(1.0, p.x), 0, 0};
    return out.y >= out.z ? vec3{0, std::copysign(1.0, p.y), 0} : vec3{0, 0, std::copysign(1.0, p.z)};
}

bool meets_box(const shape& s, vec3 o, vec3 d, double nearest, double* distance, hit* h) {
    double enter = -1e30, leave = 1e30;
    if (!box_span(s.local, o, d, &enter, &leave)) return false;
    if (!nearer(enter, nearest, distance) && !nearer(leave, nearest, distance)) return false;
    h->local_normal = box_normal(s.half, o + d * *distance);
    return true;
}

// One conical piece of a lathe between two profile points.
bool meets_piece(const profile_point& p0, const profile_point& p1, vec3 o, vec3 d, double nearest, double* distance,
                 hit* h) {
    double rise = p1.height - p0.height;
    double share[2], at[2];
    int count = 0;
    if (std::fabs(rise) < 1e-9) { // a flat ring
        if (std::fabs(d.y) < 1e-12) return false;
        double t = (p0.height - o.y) / d.y;
        double x = o.x + d.x * t, z = o.z + d.z * t;
        double radius = std::sqrt(x * x + z * z);
        if (std::fabs(p1.radius - p0.radius) < 1e-12) return false;
        at[count] = t;
        share[count++] = (radius - p0.radius) / (p1.radius - p0.radius);
    } else {
        double slope = (p1.radius - p0.radius) / rise;
        double base = p0.radius + slope * (o.y - p0.height), grow = slope * d.y;
        double a = d.x * d.x + d.z * d.z - grow * grow;
        double b = o.x * d.x + o.z * d.z - base * grow;
        double c = o.x * o.x + o.z * o.z - base * base;
        double root = b * b - a * c;
        if (root < 0 || std::fabs(a) < 1e-12) return false;
        root = std::sqrt(root);
        for (double t : {(-b - root) / a, (-b + root) / a}) {
            at[count] = t;
            share[count++] = base + grow * t < 0 ? -1 : (o.y + d.y * t - p0.height) / rise;
        }
    }
    bool met = false;
    for (int i = 0; i < count; i++) {
        if (share[i] < 0 || share[i] > 1 || !nearer(at[i], nearest, distance)) continue;
        vec3 p = o + d * at[i];
        double radius = std::max(std::sqrt(p.x * p.x + p.z * p.z), 1e-9);
        double outward = mix(p0.normal_radius, p1.normal_radius, share[i]);
        h->local_normal = normalised(
            {outward * p.x / radius, mix(p0.normal_height, p1.normal_height, share[i]), outward * p.z / radius});
        h->local.x = mix(p0.along, p1.along, share[i]); // kept for v, see shape_finish_hit()
        met = true;
    }
    return met;
}

bool meets_lathe(const shape& s, vec3 o, vec3 d, double nearest, double* distance, hit* h) {
    double enter = nearest, leave = *distance;
    if (!box_span(s.local, o, d, &enter, &leave)) return false;
    // only pieces at heights that the ray passes within the box can be met
    double y0 = o.y + d.y * enter, y1 = o.y + d.y * leave;
    double low = std::min(y0, y1) - 1e-9, high = std::max(y0, y1) + 1e-9;
    bool met = false;
    for (size_t i = 0; i + 1 < s.profile.size(); i++) {
        const profile_point &p0 = s.profile[i], &p1 = s.profile[i + 1];
        if ((p0.height < low && p1.height < low) || (p0.height > high && p1.height > high)) continue;
        met |= meets_piece(p0, p1, o, d, nearest, distance, h);
    }
    return met;
}

vec3 field_normal(const shape& s, vec3 p, double e) {
    vec3 n = {s.dist(s, p + vec3{e, 0, 0}) - s.dist(s, p - vec3{e, 0, 0}),
              s.dist(s, p + vec3{0, e, 0}) - s.dist(s, p - vec3{0, e, 0}),
              s.dist(s, p + vec3{0, 0, e}) - s.dist(s, p - vec3{0, 0, e})};
    double l = length(n);
    return l > 0 ? n * (1 / l) : vec3{0, 1, 0};
}

bool meets_field(const shape& s, vec3 o, vec3 d, double nearest, double* distance, hit* h) {
    double enter = nearest, leave = *distance;
    if (!box_span(s.local, o, d, &enter, &leave)) return false;
    double size = length(s.local.high - s.local.low);
    double close = size * 2e-5;
    double t = enter;
    for (int i = 0; i < WALK_STEPS && t <= leave; i++) {
        double distance_left = s.dist(s, o + d * t);
        if (distance_left < close) {
            if (!nearer(t, nearest, distance)) return false;
            h->local_normal = field_normal(s, o + d * t, size * 1e-4);
            return true;
        }
        t += distance_left * s.step;
    }
    return false;
}

} // namespace

bool shape_meets(const shape& s, const ray& r, double nearest, double* distance, hit* h) {
    vec3 o = to_local(s.axes, r.origin - s.origin), d = to_local(s.axes, r.direction);
    bool met = false;
    switch (s.kind) {
    case shape_kind::sphere: met = meets_sphere(s, o, d, nearest, distance, h); break;
    case shape_kind::box: met = meets_box(s, o, d, nearest, distance, h); break;
    case shape_kind::lathe: met = meets_lathe(s, o, d, nearest, distance, h); break;
    case shape_kind::field: met = meets_field(s, o, d, nearest, distance, h); break;
    }
    if (met) h->object = &s;
    return met;
}

void shape_finish_hit(const ray& r, hit* h) {
    const shape& s = *h->object;
    h->point = r.origin + r.direction * h->distance;
    h->normal = to_world(s.axes, h->local_normal);
    vec3 local = to_local(s.axes, h->point - s.origin);
    // on a lathe, v runs along the profile, so that a pattern is not drawn out where the profile is steep
    if (s.kind == shape_kind::lathe) local.y = h->local.x;
    h->local = local;
}

void shape_uv(const shape& s, vec3 local, vec3 n, double* u, double* v) {
    uv_kind kind = s.uv;
    if (kind == uv_kind::box) {
        n = absolute(n);
        kind = n.y >= n.x && n.y >= n.z ? uv_kind::flat_y : (n.x >= n.z ? uv_kind::flat_x : uv_kind::flat_z);
    }
    double a = local.x, b = -local.y; // v runs downwards, so that a pattern stands upright
    if (kind == uv_kind::flat_x) a = -local.z;
    if (kind == uv_kind::flat_y) b = local.z;
    if (kind == uv_kind::round) a = std::atan2(local.x, local.z) * s.uv_radius;
    *u = s.uv_u + a / s.uv_size;
    *v = s.uv_v + b / s.uv_size;
}

void shape_set_bounds(shape* s) {
    vec3 middle = s->origin + to_world(s->axes, (s->local.low + s->local.high) * 0.5);
    vec3 half = (s->local.high - s->local.low) * 0.5;
    vec3 reach = absolute(s->axes.x) * half.x + absolute(s->axes.y) * half.y + absolute(s->axes.z) * half.z;
    s->bounds = {middle - reach, middle + reach};
}

double rounded_box(vec3 p, vec3 half, double radius) {
    vec3 q = absolute(p) - half + vec3{radius, radius, radius};
    return length(greater(q, {0, 0, 0})) + std::min(largest(q), 0.0) - radius;
}

double distance_rounded_box(const shape& s, vec3 p) {
    return rounded_box(p, s.half, s.params[0]);
}

double distance_torus(const shape& s, vec3 p) {
    double ring = std::sqrt(p.x * p.x + p.z * p.z) - s.params[0];
    return std::sqrt(ring * ring + p.y * p.y) - s.params[1];
}

double distance_capsule(const shape& s, vec3 p) {
    // two balls and the cone that touches both
    double h = 2 * s.params[0], lower = s.params[1], upper = s.params[2];
    double x = std::sqrt(p.x * p.x + p.z * p.z), y = p.y + s.params[0];
    double b = (lower - upper) / h, a = std::sqrt(1 - b * b);
    double k = -b * x + a * y;
    if (k < 0) return std::sqrt(x * x + y * y) - lower;
    if (k > a * h) return std::sqrt(x * x + (y - h) * (y - h)) - upper;
    return x * a + y * b - lower;
}
