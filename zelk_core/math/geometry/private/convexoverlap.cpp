#include <zelk_core/math/geometry/cull.h>
#include <zelk_core/math/geometry/intersectpair.h>
#include <zelk_core/math/geometry/private/corners.h>
#include <zelk_core/math/geometry/private/fourvectors.h>

namespace Z4 {

namespace {

using Geometry::Containment;
using Geometry::GeometryAABB;
using Geometry::GeometryFrustum;
using Geometry::GeometryOBB;
using Private::FourVectors;

using V = VectorSIMD4f;

/// Four of `count` vectors, from number `first` on. Where there are fewer, the last one stands for them.
FourVectors Four(const V* vectors, unsigned count, unsigned first) {
    const auto at = [&](unsigned i) { return vectors[first + i < count ? first + i : count - 1].Native(); };
    __m128 x = at(0);
    __m128 y = at(1);
    __m128 z = at(2);
    __m128 w = at(3);
    Lanes::Transpose(x, y, z, w);
    return {V(x), V(y), V(z)};
}

/// A convex body: its corners, the directions of its edges, and those of its normals, each once.
struct Body {
    V corners[Private::CORNER_COUNT];
    V edges[12];
    V normals[6];
    unsigned cornerCount = 0;
    unsigned edgeCount = 0;
    unsigned normalCount = 0;
};

void SetCorners(Body& body, const V* corners, const V& origin, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        body.corners[i] = corners[i] - origin;
    }
    body.cornerCount = count;
}

Body BodyOf(const V (&triangle)[3], const V& origin) {
    Body body;
    SetCorners(body, triangle, origin, 3);
    for (unsigned i = 0; i < 3; ++i) {
        body.edges[i] = triangle[(i + 1) % 3] - triangle[i];
    }
    body.edgeCount = 3;
    body.normals[0] = Cross3(body.edges[0], body.edges[1]);
    body.normalCount = 1;
    return body;
}

Body BodyOf(const GeometryOBB& box, const V& origin) {
    Body body;
    V corners[Private::CORNER_COUNT];
    for (unsigned i = 0; i < Private::CORNER_COUNT; ++i) {
        corners[i] = box.GetBoxVertexConsistent(i);
    }
    SetCorners(body, corners, origin, Private::CORNER_COUNT);
    for (unsigned i = 0; i < 3; ++i) {
        body.edges[i] = box.GetAxisDir()[i];
        body.normals[i] = box.GetAxisDir()[i];
    }
    body.edgeCount = 3;
    body.normalCount = 3;
    return body;
}

/// `corners` are its eight corners.
Body BodyOf(const GeometryFrustum& frustum, const V* corners, const V& origin) {
    Body body;
    SetCorners(body, corners, origin, Private::CORNER_COUNT);
    static constexpr unsigned char EDGES[][2] = {{0, 1}, {3, 2}, {5, 6}, {4, 7}, {0, 3}, {1, 2},
                                                 {5, 4}, {6, 7}, {0, 5}, {1, 6}, {2, 7}, {3, 4}};
    for (const auto& edge : EDGES) {
        body.edges[body.edgeCount++] = corners[edge[1]] - corners[edge[0]];
    }
    for (V& normal : body.normals) {
        normal = frustum.GetPlane(body.normalCount++);
    }
    return body;
}

/// In each lane, the least and the greatest of a body along an axis.
struct Shadow {
    Shadow(const Body& body, const FourVectors& axes) {
        low = high = Private::Dot3<SumOrder::CONSISTENT>(axes, FourVectors(body.corners[0]));
        for (unsigned i = 1; i < body.cornerCount; ++i) {
            const V at = Private::Dot3<SumOrder::CONSISTENT>(axes, FourVectors(body.corners[i]));
            low = Min(low, at);
            high = Max(high, at);
        }
    }

    V low;
    V high;
};

/// Whether no axis leaves a gap.
bool Meet(const Body& a, const Body& b, const FourVectors& axes) {
    const Shadow ofA(a, axes);
    const Shadow ofB(b, axes);
    return AllTrue(And(LessEqual(ofA.low, ofB.high), LessEqual(ofB.low, ofA.high)));
}

bool Meet(const Body& a, const Body& b) {
    for (const Body* const body : {&a, &b}) {
        for (unsigned i = 0; i < body->normalCount; i += 4) {
            if (!Meet(a, b, Four(body->normals, body->normalCount, i))) {
                return false;
            }
        }
    }
    for (unsigned i = 0; i < a.edgeCount; ++i) {
        const FourVectors edge(a.edges[i]);
        for (unsigned j = 0; j < b.edgeCount; j += 4) {
            if (!Meet(a, b, Private::Cross3(edge, Four(b.edges, b.edgeCount, j)))) {
                return false;
            }
        }
    }
    return true;
}

/// Whether one of the planes has all these points behind it, or a point is NaN.
bool IsOutside(const GeometryFrustum& frustum, const V* points, unsigned count) {
    const V zero = V::Broadcast(0.0F);
    V sides = zero;
    V ends = zero;
    V isNumber = Equal(zero, zero);
    for (unsigned i = 0; i < count; ++i) {
        const Private::FourPlanes& four = frustum.GetSides();
        const Private::FourPlanes& two = frustum.GetEnds();
        sides = Or(sides, LessEqual(zero, four.Along(points[i]) + four.d));
        ends = Or(ends, LessEqual(zero, two.Along(points[i]) + two.d));
        isNumber = And(isNumber, Equal(points[i], points[i]));
    }
    return !AllTrue(And(sides, ends)) || !AllTrue3(isNumber);
}

bool IsEmpty(const GeometryFrustum& frustum) {
    return frustum.GetPlane(0).W() == -std::numeric_limits<float>::infinity();
}

} // namespace

namespace Geometry {

bool IntersectFrustumOBB(const GeometryFrustum& frustum, const GeometryOBB& box) {
    const Containment where = ClassifyOBBByFrustum(frustum, box);
    V corners[Private::CORNER_COUNT];
    if (where != Containment::INTERSECTING || !frustum.GetCorners(corners)) {
        return where != Containment::OUTSIDE;
    }
    return Meet(BodyOf(box, box.GetCenter()), BodyOf(frustum, corners, box.GetCenter()));
}

bool IntersectFrustumAABB(const GeometryFrustum& frustum, const GeometryAABB& box) {
    const Containment where = ClassifyAABBByFrustum(frustum, box);
    return where == Containment::INTERSECTING ? IntersectFrustumOBB(frustum, box.ToOOBox())
                                              : where == Containment::INSIDE;
}

bool IntersectFrustumTriangle(const GeometryFrustum& frustum, const VectorSIMD4f& a, const VectorSIMD4f& b,
                              const VectorSIMD4f& c) {
    const V triangle[] = {a, b, c};
    if (IsOutside(frustum, triangle, 3)) {
        return false;
    }
    V corners[Private::CORNER_COUNT];
    return !frustum.GetCorners(corners) || Meet(BodyOf(triangle, a), BodyOf(frustum, corners, a));
}

bool IntersectFrustumFrustum(const GeometryFrustum& f, const GeometryFrustum& g) {
    if (IsEmpty(f) || IsEmpty(g)) {
        return false;
    }
    V corners[2][Private::CORNER_COUNT];
    const bool isClosedF = f.GetCorners(corners[0]);
    const bool isClosedG = g.GetCorners(corners[1]);
    if ((isClosedF && IsOutside(g, corners[0], Private::CORNER_COUNT)) ||
        (isClosedG && IsOutside(f, corners[1], Private::CORNER_COUNT))) {
        return false;
    }
    const V& origin = corners[0][0];
    return !isClosedF || !isClosedG || Meet(BodyOf(f, corners[0], origin), BodyOf(g, corners[1], origin));
}

} // namespace Geometry
} // namespace Z4
