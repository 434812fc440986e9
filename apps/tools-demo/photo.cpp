// The picture that the pipelines show: balloons over a lake in the evening, worked out point by point in linear light.
// It has what dithering finds hard: a long smooth sky, dark hills, and small bright colours.
#include <algorithm>
#include <cmath>
#include <vector>

#include "demo.h"

namespace {

constexpr int WIDTH = 304;
constexpr int HEIGHT = 228;
constexpr int SAMPLES = 3; // in each direction of a pixel
constexpr double HORIZON = 0.62;

struct light {
    double r, g, b;
};

light operator+(light a, light b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b};
}
light operator*(light a, double k) {
    return {a.r * k, a.g * k, a.b * k};
}
light mixed(light a, light b, double t) {
    return a * (1 - t) + b * t;
}
double smooth(double from, double to, double v) {
    const double t = std::clamp((v - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

// Places are given as shares of the picture's height: x from 0 to 4/3.
light sky_at(double x, double y) {
    const light zenith = {0.03, 0.09, 0.32};
    const light middle = {0.20, 0.30, 0.55};
    const light low = {0.95, 0.50, 0.22};
    const double t = y / HORIZON;
    const light base = t < 0.6 ? mixed(zenith, middle, smooth(0, 0.6, t)) : mixed(middle, low, smooth(0.6, 1, t));
    const double d = std::hypot(x - 0.98, y - 0.50);
    const light glow = light{1.2, 0.75, 0.35} * (0.55 * std::exp(-d * 7));
    const light sun = light{1.6, 1.35, 0.9} * (1 - smooth(0.036, 0.042, d));
    return base + glow + sun;
}

double ridge(double x, double seed, double height) {
    double sum = 0;
    double size = 1;
    for (int i = 0; i < 5; ++i) {
        sum += std::sin(x * 3.1 * size + seed * (i + 1.3)) / size;
        size *= 2.1;
    }
    return height * (0.55 + 0.3 * sum);
}

// The colour over a range of hills; false above its ridge.
bool hill_at(double x, double y, double seed, double height, light lit, light dark, light* color) {
    const double top = HORIZON - ridge(x, seed, height);
    if (y < top) return false;
    const double slope = (ridge(x + 0.004, seed, height) - ridge(x - 0.004, seed, height)) / 0.008;
    const double haze = smooth(top, HORIZON, y);
    *color = mixed(mixed(dark, lit, std::clamp(0.45 - slope * 0.5, 0.0, 1.0)), light{0.42, 0.27, 0.22}, haze * 0.45);
    return true;
}

struct balloon {
    double x, y, radius;
    light stripes[3];
};
constexpr balloon balloons[] = {
    {0.34, 0.27, 0.150, {{0.80, 0.03, 0.03}, {0.95, 0.75, 0.05}, {0.90, 0.88, 0.80}}},
    {0.73, 0.17, 0.082, {{0.03, 0.10, 0.65}, {0.85, 0.87, 0.90}, {0.05, 0.45, 0.70}}},
    {1.13, 0.26, 0.060, {{0.05, 0.50, 0.08}, {0.90, 0.80, 0.10}, {0.02, 0.25, 0.05}}},
};

bool basket_at(const balloon& b, double dx, double dy, light* color) {
    const double u = dx / b.radius;
    const double v = dy / b.radius;
    if (v > 1.55 && v < 1.85 && std::abs(u) < 0.16) {
        *color = mixed(light{0.22, 0.11, 0.04}, light{0.40, 0.22, 0.08}, smooth(-0.16, 0.16, u));
        return true;
    }
    const double rope = 0.42 - (v - 1.1) * 0.62;
    if (v > 1.1 && v <= 1.55 && std::abs(std::abs(u) - rope) < 0.02) {
        *color = {0.05, 0.04, 0.04};
        return true;
    }
    return false;
}

bool balloon_at(const balloon& b, double x, double y, light* color) {
    const double dx = x - b.x;
    const double dy = y - b.y;
    if (basket_at(b, dx, dy, color)) return true;
    const double v = dy / b.radius;
    if (v < -1 || v > 1.15) return false;
    const double round = v < 0.45 ? std::sqrt(1 - v * v) : std::sqrt(1 - 0.45 * 0.45) - (v - 0.45) * 0.66;
    const double u = dx / (b.radius * round);
    if (std::abs(u) >= 1) return false;
    const int stripe = static_cast<int>(std::floor((std::asin(u) / 3.14159265 + 0.5) * 9));
    const double shade = 0.16 + 0.84 * std::max(0.0, 0.35 + 0.62 * u - 0.35 * v) / 1.1;
    *color = b.stripes[static_cast<size_t>(stripe % 3)] * shade +
             light{1, 0.9, 0.7} * (0.5 * std::exp(-22 * ((u - 0.45) * (u - 0.45) + (v + 0.4) * (v + 0.4))));
    return true;
}

light land_at(double x, double y) {
    light color = sky_at(x, y);
    hill_at(x, y, 1.7, 0.20, {0.30, 0.20, 0.26}, {0.12, 0.11, 0.22}, &color);
    hill_at(x, y, 4.2, 0.11, {0.14, 0.15, 0.07}, {0.02, 0.04, 0.04}, &color);
    for (const balloon& b : balloons)
        balloon_at(b, x, y, &color);
    return color;
}

light lake_at(double x, double y) {
    const double depth = (y - HORIZON) / (1 - HORIZON);
    const double ripple = std::sin(y * 900 / (0.4 + 3 * depth) + 3 * std::sin(x * 9)) * depth;
    const double seen = HORIZON - (y - HORIZON) * 1.25 + ripple * 0.012;
    const light mirror = land_at(x + ripple * 0.012, std::max(seen, 0.0));
    return mixed(mirror * 0.8, light{0.01, 0.05, 0.07}, 0.2 + 0.45 * depth);
}

light point_at(double x, double y) {
    return y < HORIZON ? land_at(x, y) : lake_at(x, y);
}

light pixel_at(int x, int y) {
    light sum = {0, 0, 0};
    for (int i = 0; i < SAMPLES; ++i)
        for (int j = 0; j < SAMPLES; ++j)
            sum = sum + point_at((x + (i + 0.5) / SAMPLES) / HEIGHT, (y + (j + 0.5) / SAMPLES) / HEIGHT);
    return sum * (1.0 / (SAMPLES * SAMPLES));
}

uint8_t byte_of(double v) {
    return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0, 1.0) * 255));
}

} // namespace

const demo_photo* demo_take_photo() {
    static std::vector<uint8_t> planes[3];
    static demo_photo photo = {WIDTH, HEIGHT, nullptr, nullptr, nullptr};
    if (photo.red != nullptr) return &photo;
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x) {
            const light p = pixel_at(x, y);
            planes[0].push_back(byte_of(p.r));
            planes[1].push_back(byte_of(p.g));
            planes[2].push_back(byte_of(p.b));
        }
    photo.red = planes[0].data();
    photo.green = planes[1].data();
    photo.blue = planes[2].data();
    return &photo;
}
