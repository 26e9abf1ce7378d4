// Triangles under a tree of boxes, four to a node, which a ray meets at once.
#pragma once

#include <vector>
#include <zelk_core/zelk_core.h>

struct Triangle {
    Z4::VectorSIMD4f corners[3];
};

class Mesh {
public:
    explicit Mesh(std::vector<Triangle> triangles);

    /// The first triangle that the ray meets, and with it what IntersectRayTriangle() writes; null where there is none.
    const Triangle* FindFirst(const Z4::Geometry::GeometryRay& ray, float& t, float& u, float& v) const;
    bool IsMetBy(const Z4::Geometry::GeometryRay& ray) const;

private:
    /// A child is a node, or, where `count` is not 0, so many groups of triangles.
    struct Child {
        unsigned first;
        unsigned long count;
    };
    struct Node {
        Z4::Geometry::GeometryAABB4 boxes;
        Child children[4];
    };
    struct Hit {
        unsigned long triangle;
        float t, u, v;
    };

    Child Build(Triangle* begin, Triangle* end);
    /// Moves the ray's end to what it finds.
    void Visit(const Child& child, Z4::Geometry::GeometryRay& ray, Hit& hit) const;
    bool IsMetBy(const Child& child, const Z4::Geometry::GeometryRay& ray) const;

    std::vector<Triangle> m_triangles; // in the order of the groups, with gaps
    std::vector<Z4::Geometry::GeometryTriangle4> m_groups;
    std::vector<Node> m_nodes;
    Child m_root;
};
