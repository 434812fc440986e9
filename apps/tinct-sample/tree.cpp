// Building and searching the tree of shapes.
#include "tree.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr size_t LEAF_SHAPES = 2;
constexpr int STACK = 64; // the tree is halved at each step down, so that it is never as deep

double along_axis(vec3 v, int axis) {
    return axis == 0 ? v.x : (axis == 1 ? v.y : v.z);
}

const shape& shape_at(const ray_tree& tree, size_t place) {
    return tree.of->shapes[tree.order[place]];
}

void build_node(ray_tree* tree, size_t first, size_t count) {
    box3 bounds = shape_at(*tree, first).bounds;
    box3 middles = {{1e30, 1e30, 1e30}, {-1e30, -1e30, -1e30}};
    for (size_t i = first; i < first + count; i++) {
        const box3& b = shape_at(*tree, i).bounds;
        vec3 middle = b.low + b.high;
        bounds = {lesser(bounds.low, b.low), greater(bounds.high, b.high)};
        middles = {lesser(middles.low, middle), greater(middles.high, middle)};
    }
    size_t number = tree->nodes.size();
    tree->nodes.push_back({bounds, first, count, 0, 0});
    if (count <= LEAF_SHAPES) return;
    vec3 wide = middles.high - middles.low;
    int axis = wide.x >= wide.y && wide.x >= wide.z ? 0 : (wide.y >= wide.z ? 1 : 2);
    auto begin = tree->order.begin() + static_cast<std::ptrdiff_t>(first);
    std::stable_sort(begin, begin + static_cast<std::ptrdiff_t>(count), [&](size_t a, size_t b) {
        auto middle = [&](size_t i) {
            return along_axis(tree->of->shapes[i].bounds.low + tree->of->shapes[i].bounds.high, axis);
        };
        return middle(a) < middle(b);
    });
    build_node(tree, first, count / 2);
    tree->nodes[number].right = tree->nodes.size();
    tree->nodes[number].count = 0;
    tree->nodes[number].axis = axis;
    build_node(tree, first + count / 2, count - count / 2);
}

// Whether the ray enters the box before `farthest`.
bool enters(const box3& b, vec3 origin, vec3 inverse, double farthest) {
    vec3 a = (b.low - origin) * inverse, c = (b.high - origin) * inverse;
    vec3 in = lesser(a, c), out = greater(a, c);
    return std::max({in.x, in.y, in.z, 0.0}) <= std::min({out.x, out.y, out.z, farthest});
}

// Calls take(shape) for the shapes whose boxes the ray enters before *farthest, which it may lower, the nearer ones
// first as far as the cuts tell, until it gives false.
template <typename F> void walk(const ray_tree& tree, const ray& r, const double* farthest, F take) {
    auto inverted = [](double d) { return 1 / (std::fabs(d) < 1e-12 ? std::copysign(1e-12, d) : d); };
    vec3 inverse = {inverted(r.direction.x), inverted(r.direction.y), inverted(r.direction.z)};
    size_t stack[STACK];
    int depth = 0;
    stack[depth++] = 0;
    while (depth > 0) {
        size_t number = stack[--depth];
        const tree_node& node = tree.nodes[number];
        if (!enters(node.bounds, r.origin, inverse, *farthest)) continue;
        for (size_t i = node.first; i < node.first + node.count; i++) {
            if (!take(shape_at(tree, i))) return;
        }
        if (node.count > 0) continue;
        bool forward = along_axis(r.direction, node.axis) >= 0;
        stack[depth++] = forward ? node.right : number + 1;
        stack[depth++] = forward ? number + 1 : node.right;
    }
}

} // namespace

void tree_build(ray_tree* tree, const scene* s) {
    *tree = {s, {}, std::vector<size_t>(s->shapes.size())};
    for (size_t i = 0; i < tree->order.size(); i++)
        tree->order[i] = i;
    build_node(tree, 0, tree->order.size());
}

bool tree_first_hit(const ray_tree& tree, const ray& r, double nearest, hit* h) {
    h->object = nullptr;
    h->distance = 1e30;
    walk(tree, r, &h->distance, [&](const shape& s) {
        shape_meets(s, r, nearest, &h->distance, h);
        return true;
    });
    if (h->object != nullptr) shape_finish_hit(r, h);
    return h->object != nullptr;
}

double tree_light_through(const ray_tree& tree, const ray& r, double nearest, double farthest) {
    double light = 1;
    walk(tree, r, &farthest, [&](const shape& s) {
        const material& m = tree.of->materials[static_cast<size_t>(s.material)];
        double distance = farthest;
        hit ignored;
        if (m.casts_shadow && shape_meets(s, r, nearest, &distance, &ignored))
            light *= m.opacity >= 1 ? 0 : (1 - m.opacity) * 0.95;
        return light > 0;
    });
    return light;
}
