// A search tree over the shapes of a scene, by boxes around them: which shape a ray meets first, and how much light
// comes along a ray.
#pragma once

#include "scene.h"

// A node; the children of an inner one are the node behind it and `right`.
struct tree_node {
    box3 bounds;
    size_t first, count; // shapes of a leaf, in `order`; count 0: an inner node
    size_t right;
    int axis; // along which an inner node is cut
};

struct ray_tree {
    const scene* of;
    std::vector<tree_node> nodes; // 0 is the root
    std::vector<size_t> order;
};

// The scene must have shapes, outlive the tree and keep them.
void tree_build(ray_tree* tree, const scene* s);

// The first shape beyond `nearest`; false when there is none. `h` is finished.
bool tree_first_hit(const ray_tree& tree, const ray& r, double nearest, hit* h);

// The share of light that comes along the ray from `nearest` to `farthest`: 0 when something solid is in the way, less
// than 1 through glass.
double tree_light_through(const ray_tree& tree, const ray& r, double nearest, double farthest);
