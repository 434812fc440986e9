// Building and searching the tree of shapes.
#include "tree.h"

#include <algorithm>

namespace {

constexpr int LEAF_SHAPES = 2;
constexpr int STACK = 64;

box3 around(const box3& a, const box3& b) {
    return {{std::min(a.low.x, b.low.x), std::min(a.low.y, b.low.y), std::min(a.low.z, b.low.z)},
            {std::max(a.high.x, b.high.x), std::max(a.high.y, b.high.y), std::max(a.high.z, b.high.z)}};
}

double axis_of(vec3 v, int axis) {
    return axis == 0 ? v.x : (axis == 1 ? v.y : v.z);
}

double middle(const shape& s, int axis) {
    return axis_of(s.bounds.low + s.bounds.high, axis);
}

double surface(const box3& b) {
    vec3 d = b.high - b.low;
    return d.x * d.y + d.y * d.z + d.z * d.x;
}

// Where to cut shapes ordered along an axis: the place at which boxes around both sides are smallest.
int best_cut(const ray_tree& tree, int first, int count, double* cost) {
    const std::vector<shape>& shapes = tree.of->shapes;
    std::vector<double> right(static_cast<size_t>(count));
    box3 box =
        shapes[static_cast<size_t>(tree.order[static_cast<size_t>(first) + static_cast<size_t>(count) - 1])].bounds;
    for (int i = count - 1; i > 0; i--) {
        box = around(
            box, shapes[static_cast<size_t>(tree.order[static_cast<size_t>(first) + static_cast<size_t>(i)])].bounds);
        right[static_cast<size_t>(i)] = surface(box) * (count - i);
    }
    int best = 1;
    *cost = 1e300;
    box = shapes[static_cast<size_t>(tree.order[static_cast<size_t>(first)])].bounds;
    for (int i = 1; i < count; i++) {
        box = around(box, shapes[static_cast<size_t>(tree.order[static_cast<size_t>(first + i - 1)])].bounds);
        double here = surface(box) * i + right[static_cast<size_t>(i)];
        if (here < *cost) {
            *cost = here;
            best = i;
        }
    }
    return best;
}

void order_along(ray_tree* tree, int first, int count, int axis) {
    const std::vector<shape>& shapes = tree->of->shapes;
    std::stable_sort(tree->order.begin() + first, tree->order.begin() + first + count, [&](int a, int b) {
        return middle(shapes[static_cast<size_t>(a)], axis) < middle(shapes[static_cast<size_t>(b)], axis);
    });
}

int build_node(ray_tree* tree, int first, int count) {
    const std::vector<shape>& shapes = tree->of->shapes;
    tree_node node = {{{1e30, 1e30, 1e30}, {-1e30, -1e30, -1e30}}, first, count, -1, -1};
    for (int i = 0; i < count; i++) {
        node.bounds = around(
            node.bounds,
            shapes[static_cast<size_t>(tree->order[static_cast<size_t>(first) + static_cast<size_t>(i)])].bounds);
    }
    int number = static_cast<int>(tree->nodes.size());
    tree->nodes.push_back(node);
    if (count <= LEAF_SHAPES) return number;
    int axis = 0, cut = 1;
    double lowest = 1e300;
    for (int a = 0; a < 3; a++) {
        order_along(tree, first, count, a);
        double cost;
        int at = best_cut(*tree, first, count, &cost);
        if (cost < lowest) {
            lowest = cost;
            axis = a;
            cut = at;
        }
    }
    order_along(tree, first, count, axis);
    int left = build_node(tree, first, cut), right = build_node(tree, first + cut, count - cut);
    tree_node& inner = tree->nodes[static_cast<size_t>(number)];
    inner.count = 0;
    inner.left = left;
    inner.right = right;
    return number;
}

// A ray with what the box tests need.
struct box_ray {
    vec3 origin, inverse;
};

box_ray prepare(const ray& r) {
    auto inverse = [](double d) { return 1 / (std::fabs(d) < 1e-12 ? std::copysign(1e-12, d) : d); };
    return {r.origin, {inverse(r.direction.x), inverse(r.direction.y), inverse(r.direction.z)}};
}

// Distance at which the ray enters the box, or a huge one.
double box_entry(const box3& b, const box_ray& r, double farthest) {
    vec3 a = (b.low - r.origin) * r.inverse, c = (b.high - r.origin) * r.inverse;
    double enter = std::max({std::min(a.x, c.x), std::min(a.y, c.y), std::min(a.z, c.z), 0.0});
    double leave = std::min({std::max(a.x, c.x), std::max(a.y, c.y), std::max(a.z, c.z), farthest});
    return enter <= leave ? enter : 1e300;
}

} // namespace

void tree_build(ray_tree* tree, const scene* s) {
    tree->of = s;
    tree->nodes.clear();
    tree->order.resize(s->shapes.size());
    for (size_t i = 0; i < tree->order.size(); i++)
        tree->order[i] = static_cast<int>(i);
    if (!s->shapes.empty()) build_node(tree, 0, static_cast<int>(s->shapes.size()));
}

bool tree_first_hit(const ray_tree& tree, const ray& r, double nearest, bool direct, hit* h) {
    h->object = nullptr;
    h->distance = 1e30;
    if (tree.nodes.empty()) return false;
    box_ray prepared = prepare(r);
    int stack[STACK];
    int depth = 0;
    stack[depth++] = 0;
    while (depth > 0) {
        const tree_node& node = tree.nodes[static_cast<size_t>(stack[--depth])];
        if (box_entry(node.bounds, prepared, h->distance) > h->distance) continue;
        if (node.count > 0) {
            for (int i = node.first; i < node.first + node.count; i++) {
                const shape& s = tree.of->shapes[static_cast<size_t>(tree.order[static_cast<size_t>(i)])];
                if (direct && !tree.of->materials[static_cast<size_t>(s.material)].seen_direct) continue;
                shape_meets(s, r, nearest, &h->distance, h);
            }
            continue;
        }
        double left = box_entry(tree.nodes[static_cast<size_t>(node.left)].bounds, prepared, h->distance);
        double right = box_entry(tree.nodes[static_cast<size_t>(node.right)].bounds, prepared, h->distance);
        // the nearer child is searched first, so that the farther one can often be passed over
        if (right < 1e299 && left < 1e299) {
            stack[depth++] = left < right ? node.right : node.left;
            stack[depth++] = left < right ? node.left : node.right;
        } else if (left < 1e299) {
            stack[depth++] = node.left;
        } else if (right < 1e299) {
            stack[depth++] = node.right;
        }
    }
    if (h->object == nullptr) return false;
    shape_finish_hit(r, h);
    return true;
}

double tree_light_through(const ray_tree& tree, const ray& r, double nearest, double farthest) {
    if (tree.nodes.empty()) return 1;
    box_ray prepared = prepare(r);
    int stack[STACK];
    int depth = 0;
    double light = 1;
    stack[depth++] = 0;
    while (depth > 0) {
        const tree_node& node = tree.nodes[static_cast<size_t>(stack[--depth])];
        if (box_entry(node.bounds, prepared, farthest) > farthest) continue;
        if (node.count == 0) {
            stack[depth++] = node.left;
            stack[depth++] = node.right;
            continue;
        }
        for (int i = node.first; i < node.first + node.count; i++) {
            const shape& s = tree.of->shapes[static_cast<size_t>(tree.order[static_cast<size_t>(i)])];
            const material& m = tree.of->materials[static_cast<size_t>(s.material)];
            double distance = farthest;
            hit ignored;
            if (!m.casts_shadow || !shape_meets(s, r, nearest, &distance, &ignored)) continue;
            if (m.opacity >= 1) return 0;
            light *= (1 - m.opacity) * 0.95;
        }
    }
    return light;
}
