// What a ray of the camera sees: for each surface its share of the pixel and the light that falls on it, kept apart by
// pen, and what carries no pen.
#pragma once

#include <vector>

#include "tree.h"

// What one surface contributes to one pixel. A surface that is seen both straight (also through glass) and in a
// reflection has one of each: layers 0 and 1.
struct fragment {
    int pen;
    int layer;
    double weight;     // share of the pixel, 0 to 1
    vec3 light;        // light on the surface, mean
    vec3 guide;        // the same, roughly smoothed: tells edges of shadows from grain
    vec3 shine;        // highlights on it, mean; they carry no pen
    vec3 normal;       // of the nearest sample to the pixel's centre
    double depth;      // length of the way to it
    double u, v;       // of the same sample
    double centre_gap; // its distance from the pixel's centre, squared
};

struct pixel_result {
    std::vector<fragment> fragments;
    vec3 plain; // light that carries no pen, 0 to 1
};

struct tracer {
    const scene* of;
    const ray_tree* tree;
    uint32_t seed;
    int width, height;
    vec3 right, up, forward; // camera axes, scaled so that picture coordinates -1 to 1 are the 4:3 frame
};

void tracer_init(tracer* t, const scene* s, const ray_tree* tree, int width, int height, uint32_t seed);

// Sees the pixel through several samples; more of them where surfaces meet.
void trace_pixel(const tracer& t, int x, int y, pixel_result* out);
