// Three-component vectors and rotations of the ray tracer. y points up; x to the right and z towards the viewer, seen
// from the usual camera.
#pragma once

#include <cmath>

constexpr double PI = 3.14159265358979323846;

struct vec3 {
    double x, y, z;
};

constexpr vec3 operator+(vec3 a, vec3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr vec3 operator-(vec3 a, vec3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr vec3 operator-(vec3 a) {
    return {-a.x, -a.y, -a.z};
}
constexpr vec3 operator*(vec3 a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
constexpr vec3 operator*(vec3 a, vec3 b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}
constexpr double dot(vec3 a, vec3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
constexpr vec3 cross(vec3 a, vec3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(vec3 a) {
    return std::sqrt(dot(a, a));
}
inline vec3 normalised(vec3 a) {
    return a * (1.0 / length(a));
}
constexpr vec3 reflected(vec3 direction, vec3 normal) {
    return direction - normal * (2.0 * dot(direction, normal));
}
constexpr double mix(double a, double b, double t) {
    return a + (b - a) * t;
}
constexpr vec3 mix(vec3 a, vec3 b, double t) {
    return a + (b - a) * t;
}

constexpr vec3 lesser(vec3 a, vec3 b) {
    return {a.x < b.x ? a.x : b.x, a.y < b.y ? a.y : b.y, a.z < b.z ? a.z : b.z};
}
constexpr vec3 greater(vec3 a, vec3 b) {
    return {a.x > b.x ? a.x : b.x, a.y > b.y ? a.y : b.y, a.z > b.z ? a.z : b.z};
}
constexpr vec3 absolute(vec3 a) {
    return {a.x < 0 ? -a.x : a.x, a.y < 0 ? -a.y : a.y, a.z < 0 ? -a.z : a.z};
}
constexpr double largest(vec3 a) {
    return a.x >= a.y && a.x >= a.z ? a.x : (a.y >= a.z ? a.y : a.z);
}

// 0 below `low`, 1 above `high`, smooth between.
constexpr double smooth_step(double low, double high, double x) {
    double t = (x - low) / (high - low);
    t = t < 0 ? 0 : (t > 1 ? 1 : t);
    return t * t * (3 - 2 * t);
}

// Two unit vectors that stand upright on `n` and on each other.
inline void tangents(vec3 n, vec3* a, vec3* b) {
    vec3 helper = std::fabs(n.x) < 0.7 ? vec3{1, 0, 0} : vec3{0, 1, 0};
    *a = normalised(cross(n, helper));
    *b = cross(n, *a);
}

// The axes of a turned frame, in world coordinates.
struct frame {
    vec3 x, y, z;
};

constexpr frame UPRIGHT = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

constexpr vec3 to_world(const frame& f, vec3 p) {
    return f.x * p.x + f.y * p.y + f.z * p.z;
}
constexpr vec3 to_local(const frame& f, vec3 p) {
    return {dot(f.x, p), dot(f.y, p), dot(f.z, p)};
}

// `a` turned within `outer`.
constexpr frame turned(const frame& outer, const frame& a) {
    return {to_world(outer, a.x), to_world(outer, a.y), to_world(outer, a.z)};
}

// Turns about one axis, in degrees, counter-clockwise when the axis points at the viewer.
inline frame about_x(double degrees) {
    double c = std::cos(degrees * PI / 180), s = std::sin(degrees * PI / 180);
    return {{1, 0, 0}, {0, c, s}, {0, -s, c}};
}
inline frame about_y(double degrees) {
    double c = std::cos(degrees * PI / 180), s = std::sin(degrees * PI / 180);
    return {{c, 0, -s}, {0, 1, 0}, {s, 0, c}};
}
inline frame about_z(double degrees) {
    double c = std::cos(degrees * PI / 180), s = std::sin(degrees * PI / 180);
    return {{c, s, 0}, {-s, c, 0}, {0, 0, 1}};
}

// A frame whose y axis points along `up`.
inline frame along(vec3 up) {
    frame f{};
    f.y = normalised(up);
    tangents(f.y, &f.z, &f.x);
    return f;
}
