#include "mesh.h"

#include <algorithm>

using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryRay;

namespace {

constexpr std::ptrdiff_t MOST_IN_LEAF = 8;

VectorSIMD4f MiddleOf(const Triangle& triangle) {
    return (triangle.corners[0] + triangle.corners[1] + triangle.corners[2]) / 3;
}
GeometryAABB BoundsOf(const Triangle* begin, const Triangle* end) {
    GeometryAABB bounds;
    for (const Triangle* triangle = begin; triangle != end; ++triangle) {
        bounds += triangle->corners[0];
        bounds += triangle->corners[1];
        bounds += triangle->corners[2];
    }
    return bounds;
}
/// Half to each side of the returned place, along the axis on which they are spread most.
Triangle* Halve(Triangle* begin, Triangle* end) {
    GeometryAABB middles;
    for (const Triangle* triangle = begin; triangle != end; ++triangle) {
        middles += MiddleOf(*triangle);
    }
    const VectorSIMD4f size = middles.GetFullExtent();
    const unsigned axis = size.X() >= size.Y() ? (size.X() >= size.Z() ? 0 : 2) : (size.Y() >= size.Z() ? 1 : 2);
    Triangle* const half = begin + (end - begin) / 2;
    std::nth_element(begin, half, end,
                     [axis](const Triangle& a, const Triangle& b) { return MiddleOf(a)[axis] < MiddleOf(b)[axis]; });
    return half;
}

} // namespace

Mesh::Mesh(std::vector<Triangle> triangles) : m_root(Build(triangles.data(), triangles.data() + triangles.size())) {}

Mesh::Child Mesh::Build(Triangle* begin, Triangle* end) {
    if (end - begin <= MOST_IN_LEAF) {
        const Child leaf{static_cast<unsigned>(m_groups.size()), static_cast<unsigned long>(end - begin + 3) / 4};
        m_groups.resize(leaf.first + leaf.count);
        m_triangles.resize(4 * m_groups.size());
        for (std::ptrdiff_t i = 0; i < end - begin; ++i) {
            const Triangle& triangle = begin[i];
            const auto place = 4 * static_cast<std::size_t>(leaf.first) + static_cast<std::size_t>(i);
            m_triangles[place] = triangle;
            m_groups[place / 4].Set(place % 4, triangle.corners[0], triangle.corners[1], triangle.corners[2]);
        }
        return leaf;
    }
    Triangle* const half = Halve(begin, end);
    Triangle* const parts[] = {begin, Halve(begin, half), half, Halve(half, end), end};
    const auto index = static_cast<unsigned>(m_nodes.size());
    m_nodes.emplace_back();
    for (unsigned i = 0; i < 4; ++i) {
        const Child child = Build(parts[i], parts[i + 1]); // which may move the nodes
        m_nodes[index].boxes.Set(i, BoundsOf(parts[i], parts[i + 1]));
        m_nodes[index].children[i] = child;
    }
    return {index, 0};
}

void Mesh::Visit(const Child& child, GeometryRay& ray, Hit& hit) const {
    if (child.count != 0) {
        const unsigned long found =
            IntersectRayTriangles(ray, &m_groups[child.first], child.count, hit.t, hit.u, hit.v);
        if (found != 4 * child.count) {
            hit.triangle = 4 * static_cast<unsigned long>(child.first) + found;
            ray.SetLast(hit.t);
        }
        return;
    }
    const Node& node = m_nodes[child.first];
    VectorSIMD4f t;
    unsigned met = IntersectRayAABB4(ray, node.boxes, t);
    float entries[4];
    t.Store(entries);
    while (met != 0) {
        // The nearest first: what it holds may hide the others.
        const auto nearest = static_cast<unsigned>(std::min_element(entries, entries + 4) - entries);
        if (!(entries[nearest] <= ray.GetLast())) {
            return;
        }
        Visit(node.children[nearest], ray, hit);
        entries[nearest] = std::numeric_limits<float>::infinity();
        met &= ~(1U << nearest);
    }
}

const Triangle* Mesh::FindFirst(const GeometryRay& ray, float& t, float& u, float& v) const {
    GeometryRay rest = ray;
    Hit hit{m_triangles.size(), t, u, v};
    Visit(m_root, rest, hit);
    if (hit.triangle == m_triangles.size()) {
        return nullptr;
    }
    t = hit.t;
    u = hit.u;
    v = hit.v;
    return &m_triangles[hit.triangle];
}

bool Mesh::IsMetBy(const Child& child, const GeometryRay& ray) const {
    if (child.count != 0) {
        return IntersectRayAnyTriangle(ray, &m_groups[child.first], child.count);
    }
    const Node& node = m_nodes[child.first];
    VectorSIMD4f t;
    const unsigned met = IntersectRayAABB4(ray, node.boxes, t);
    for (unsigned i = 0; i < 4; ++i) {
        if ((met >> i & 1) != 0 && IsMetBy(node.children[i], ray)) {
            return true;
        }
    }
    return false;
}

bool Mesh::IsMetBy(const GeometryRay& ray) const {
    return IsMetBy(m_root, ray);
}
