// A search tree over the shapes of a scene, by boxes around them: which shape a ray meets first, and how much light
// comes along a ray.
#pragma once

#include "scene.h"

struct tree_node {
    box3 bounds;
    int first, count; // shapes of a leaf, in `order`; count 0: an inner node
    int left, right;  // children of an inner node
};

struct ray_tree {
    const scene* of;
    std::vector<tree_node> nodes; // 0 is the root
    std::vector<int> order;
};

// The scene must outlive the tree and keep its shapes.
void tree_build(ray_tree* tree, const scene* s);

// The first shape beyond `nearest`; false when there is none. `h` is finished. Shapes that the camera does not see are
// passed over when `direct`.
bool tree_first_hit(const ray_tree& tree, const ray& r, double nearest, bool direct, hit* h);

// The share of light that comes along the ray from `nearest` to `farthest`: 0 when something solid is in the way, less
// than 1 through glass.
double tree_light_through(const ray_tree& tree, const ray& r, double nearest, double farthest);
