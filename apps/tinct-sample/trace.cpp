// Light on surfaces, reflections, and things seen through others.
#include "trace.h"

#include <algorithm>

#include "noise.h"

namespace {

constexpr int SAMPLES = 16;    // of a pixel where surfaces meet
constexpr int FEW_SAMPLES = 4; // of a pixel within one surface
constexpr int SKY_RAYS = 3;    // from each point that a sample sees
constexpr int DEEPEST = 7;
constexpr double FAINT = 0.008;      // a share of a pixel that can't be seen
constexpr double WEAK_MIRROR = 0.05; // what is seen in it needs no soft edges
constexpr double BRIGHTEST = 6;      // times the light at a lamp's reach
constexpr double START = 1e-3;       // rays start this far off a surface, times its distance from the camera

// The places of the samples in the pixel: one in each cell of a 4x4 grid, ordered so that the first few are spread out.
constexpr int CELLS[SAMPLES] = {5, 3, 12, 15, 0, 10, 6, 9, 1, 14, 7, 8, 2, 13, 4, 11};

// The state of one camera ray and all rays that follow from it.
struct path {
    const tracer* t;
    pixel_result* out;
    int x, y;       // the pixel
    uint32_t index; // of the sample in it
    double lit;     // brightness of the lamps' light on the first surface
    double centre_gap;
    uint32_t dice; // counts the pairs of numbers taken
};

struct seen {
    vec3 normal;
    double lit; // brightness of the lamps' light on it
    int object; // -1: nothing
    bool plain; // solid and dull: what it shows needs no more rays
};

point2 next_point(path* p) {
    p->dice++;
    return even_point(p->x, p->y, p->index, p->t->seed * 7919u + p->dice);
}

vec3 toward_sky(const scene& s, vec3 direction) {
    return mix(s.ground, s.sky, smooth_step(-0.6, 0.6, direction.y));
}

// Light of one lamp on a point: how much of it, the direction to it, and whether it arrives.
vec3 lamp_light(const path& p, const area_light& l, vec3 at, vec3 n, double off, point2 aim, const material& m,
                vec3* direction, double* through) {
    vec3 to = l.centre + l.half_a * (2 * aim.a - 1) + l.half_b * (2 * aim.b - 1) - at;
    double distance = length(to);
    *direction = to * (1 / distance);
    *through = 0;
    double facing = dot(n, *direction);
    double lit = facing > 0 ? facing : -facing * m.backlight;
    double shines = -dot(normalised(cross(l.half_a, l.half_b)), *direction);
    if (shines <= 0 || lit <= 0) return {0, 0, 0};
    // what almost touches a lamp is not lit without end
    double near = std::min((l.reach * l.reach) / (distance * distance), BRIGHTEST);
    double strength = lit * shines * near;
    if (strength * largest(l.color) < 0.003) return {0, 0, 0};
    // light from the other side starts there
    ray r = {at + n * (facing > 0 ? off : -off), *direction};
    *through = tree_light_through(*p.t->tree, r, 1e-6, distance - 2 * off);
    return l.color * (strength * *through);
}

vec3 sky_light(path* p, vec3 at, vec3 n, double off) {
    const scene& s = *p->t->of;
    vec3 a, b, sum = {};
    tangents(n, &a, &b);
    for (int i = 0; i < SKY_RAYS; i++) {
        point2 aim = next_point(p);
        double radius = std::sqrt(aim.a), turn = 2 * PI * aim.b;
        vec3 d = a * (radius * std::cos(turn)) + b * (radius * std::sin(turn)) + n * std::sqrt(1 - aim.a);
        double open = tree_light_through(*p->t->tree, {at + n * off, d}, 1e-6, s.sky_reach);
        sum = sum + toward_sky(s, d) * mix(s.bounce, 1, open);
    }
    return sum * (1.0 / SKY_RAYS);
}

// The surface's unevenness tilts the normal.
vec3 uneven(const material& m, const hit& h, vec3 n) {
    constexpr double E = 0.02;
    vec3 p = h.local * (1 / m.bump_size);
    auto height = [&](vec3 step) { return layered_noise3(p + step, 2); };
    double here = height({0, 0, 0});
    vec3 slope = {height({E, 0, 0}) - here, height({0, E, 0}) - here, height({0, 0, E}) - here};
    slope = to_world(h.object->axes, slope) * (m.bump / E);
    return normalised(n - (slope - n * dot(slope, n)));
}

fragment* fragment_of(pixel_result* out, int pen, int layer) {
    for (fragment& f : out->fragments) {
        if (f.pen == pen && f.layer == layer) return &f;
    }
    out->fragments.push_back({pen, layer, 0, {}, {}, {}, {}, 0, 0, 0, 1e30});
    return &out->fragments.back();
}

// The light that a surface takes, and what it throws back by itself as highlights.
struct surface_light {
    vec3 light, shine;
};

void add_to_fragment(path* p, const hit& h, int pen, bool indirect, double own, const surface_light& light, vec3 n,
                     double way) {
    fragment* f = fragment_of(p->out, pen, indirect ? 1 : 0);
    f->weight += own;
    f->light = f->light + light.light * own;
    f->shine = f->shine + light.shine;
    if (p->centre_gap >= f->centre_gap) return;
    f->centre_gap = p->centre_gap;
    f->normal = n;
    f->depth = way;
    if (h.object->uv == uv_kind::none) return;
    double u, v;
    shape_uv(*h.object, h.local, h.local_normal, &u, &v);
    f->u = fraction(u);
    f->v = fraction(v);
}

// Light of a share of the pixel that carries no pen.
void add_plain(path* p, vec3 light, double share) {
    p->out->plain = p->out->plain + lesser(light * share, {1, 1, 1});
}

// The light of what is given as it looks on a screen.
vec3 as_light(vec3 look) {
    constexpr double SCREEN_GAMMA = 2.2;
    return {std::pow(look.x, SCREEN_GAMMA), std::pow(look.y, SCREEN_GAMMA), std::pow(look.z, SCREEN_GAMMA)};
}

surface_light light_on(path* p, const hit& h, const material& m, vec3 n, vec3 view, double off, double share) {
    surface_light sum = {m.glow, {}};
    for (const area_light& l : p->t->of->lights) {
        vec3 direction;
        double through;
        sum.light = sum.light + lamp_light(*p, l, h.point, n, off, next_point(p), m, &direction, &through);
        if (m.highlight <= 0 || through <= 0 || dot(n, direction) <= 0) continue;
        // seen from the lamp's centre, so that the highlight is round however few points are aimed at
        double close = std::max(dot(n, normalised(normalised(l.centre - h.point) - view)), 0.0);
        sum.shine = sum.shine + l.color * (share * m.highlight * through * std::pow(close, m.gloss));
    }
    if (p->dice <= p->t->of->lights.size()) p->lit = sum.light.x + sum.light.y + sum.light.z;
    sum.light = sum.light + sky_light(p, h.point, n, off);
    return sum;
}

// The nearest lamp that a reflected ray looks into; null for none before `distance`.
const area_light* lamp_ahead(const scene& s, const ray& r, double distance) {
    const area_light* found = nullptr;
    for (const area_light& l : s.lights) {
        vec3 n = cross(l.half_a, l.half_b);
        double slant = dot(n, r.direction);
        if (dot(l.look, l.look) <= 0 || slant >= 0) continue;
        double t = dot(n, l.centre - r.origin) / slant;
        vec3 p = r.origin + r.direction * t - l.centre;
        bool within = std::fabs(dot(p, l.half_a)) <= dot(l.half_a, l.half_a) &&
                      std::fabs(dot(p, l.half_b)) <= dot(l.half_b, l.half_b);
        if (t <= 0 || t >= distance || !within) continue;
        distance = t;
        found = &l;
    }
    return found;
}

// Follows a ray that shows `share` of the pixel, `way` long so far; `indirect` after a reflection.
seen follow(path* p, const ray& r, double share, int depth, bool indirect, double way) {
    const scene& s = *p->t->of;
    hit h;
    bool met = tree_first_hit(*p->t->tree, r, 1e-6, &h);
    const area_light* lamp = indirect ? lamp_ahead(s, r, h.distance) : nullptr;
    if (lamp != nullptr || !met) {
        add_plain(p, lamp != nullptr ? lamp->look : as_light(s.surroundings(r.direction, indirect)), share);
        return {.normal = {}, .lit = 0, .object = -1, .plain = true};
    }
    const material& m = s.materials[static_cast<size_t>(h.object->material)];
    way += h.distance;
    if (m.pen < 0) {
        add_plain(p, as_light(m.glow), share);
        return {.normal = h.normal, .lit = 0, .object = h.object->id, .plain = true};
    }
    vec3 flat = dot(h.normal, r.direction) < 0 ? h.normal : -h.normal;
    vec3 n = m.bump > 0 ? uneven(m, h, flat) : flat;
    double grazing = std::pow(1 - std::clamp(-dot(n, r.direction), 0.0, 1.0), 5);
    double thrown_back = m.mirror > 0 && depth < DEEPEST ? m.mirror + (1 - m.mirror) * grazing * 0.9 : 0;
    double off = START * 0.3 * way;
    double own = share * (1 - thrown_back) * m.opacity;
    if (own > FAINT / 8) {
        surface_light light = light_on(p, h, m, n, r.direction, off, share);
        add_to_fragment(p, h, m.pen, indirect, own, light, n, way);
    }
    if (share * thrown_back > FAINT) {
        vec3 mirrored = reflected(r.direction, n);
        if (dot(mirrored, flat) < 0) mirrored = reflected(mirrored, flat);
        follow(p, {h.point + flat * off, mirrored}, share * thrown_back, depth + 1, true, way);
    }
    double passed = share * (1 - thrown_back) * (1 - m.opacity);
    seen result = {.normal = flat, .lit = 0, .object = h.object->id, .plain = m.mirror <= WEAK_MIRROR};
    if (passed > FAINT && depth < DEEPEST) {
        seen behind = follow(p, {h.point - flat * off, r.direction}, passed, depth + 1, indirect, way);
        result.object = static_cast<int>(hash32(static_cast<uint32_t>(result.object * 977 + behind.object)) >> 1);
        result.plain = result.plain && behind.plain;
    }
    return result;
}

// Whether the first few samples saw the same smooth stretch of one dull surface.
bool all_alike(const seen* s, int count) {
    for (int i = 0; i < count; i++) {
        if (!s[i].plain || s[i].object != s[0].object) return false;
        if (s[0].object >= 0 && dot(s[i].normal, s[0].normal) < 0.95) return false;
    }
    return true;
}

// Whether the first few samples lie across the edge of a shadow.
bool half_lit(const seen* s, int count) {
    for (int i = 1; i < count; i++) {
        if (std::fabs(s[i].lit - s[0].lit) > 0.6 + 0.25 * s[0].lit) return true;
    }
    return false;
}

} // namespace

void tracer_init(tracer* t, const scene* s, const ray_tree* tree, int width, int height, uint32_t seed) {
    t->of = s;
    t->tree = tree;
    t->seed = seed;
    t->width = width;
    t->height = height;
    double half = std::tan(s->view.view_angle * PI / 360);
    double aspect = static_cast<double>(width) / height;
    // the 4:3 frame is always in view; other shapes show more
    double half_height = aspect >= 4.0 / 3 ? half * 3 / 4 : half / aspect;
    t->forward = normalised(s->view.target - s->view.position);
    t->right = normalised(cross(t->forward, {0, 1, 0}));
    t->up = cross(t->right, t->forward) * half_height;
    t->right = t->right * (half_height * aspect);
}

void trace_pixel(const tracer& t, int x, int y, pixel_result* out) {
    out->fragments.clear();
    out->plain = {};
    seen first[FEW_SAMPLES];
    int taken = 0;
    int enough = SAMPLES;
    while (taken < enough) {
        uint32_t key = static_cast<uint32_t>(x) * 0x1F123BB5u ^ static_cast<uint32_t>(y) * 0x5F356495u ^
                       t.seed * 0x9E3779B9u ^ static_cast<uint32_t>(taken) * 0x68BC21EBu;
        double dx = (CELLS[taken] % 4 + hash01(key)) / 4 - 0.5;
        double dy = (CELLS[taken] / 4 + hash01(key + 1)) / 4 - 0.5; // NOLINT(bugprone-integer-division): the row
        double px = (x + 0.5 + dx) / t.width * 2 - 1, py = 1 - (y + 0.5 + dy) / t.height * 2;
        path p = {&t, out, x, y, static_cast<uint32_t>(taken), 0, dx * dx + dy * dy, 0};
        ray r = {t.of->view.position, normalised(t.forward + t.right * px + t.up * py)};
        seen s = follow(&p, r, 1, 0, false, 0);
        s.lit = p.lit;
        if (taken < FEW_SAMPLES) first[taken] = s;
        taken++;
        if (taken == FEW_SAMPLES && all_alike(first, FEW_SAMPLES))
            enough = half_lit(first, FEW_SAMPLES) ? 2 * FEW_SAMPLES : taken;
    }
    for (fragment& f : out->fragments) {
        double whole = 1 / std::max(f.weight, 1e-9);
        f.light = f.light * whole;
        f.shine = f.shine * whole;
        f.weight /= taken;
    }
    out->plain = out->plain * (1.0 / taken);
}
