#include <zelk_core/math/geometry/group4.h>

#include <cstddef>

namespace Z4 {

template <>
struct Private::Layout<Geometry::GeometryAABB4> {
    static_assert(offsetof(Geometry::GeometryAABB4, m_bounds) == 0);
    static_assert(sizeof(Geometry::GeometryAABB4) == 96);
    static_assert(alignof(Geometry::GeometryAABB4) == 16);
};
template <>
struct Private::Layout<Geometry::GeometryTriangle4> {
    static_assert(offsetof(Geometry::GeometryTriangle4, m_corners) == 0);
    static_assert(sizeof(Geometry::GeometryTriangle4) == 144);
    static_assert(alignof(Geometry::GeometryTriangle4) == 16);
};

namespace {

using Geometry::GeometryRay;
using Geometry::GeometryTriangle4;
using Geometry::Sides;

constexpr float INFINITE_T = std::numeric_limits<float>::infinity();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

/// The sides that the ray passes of the edge opposite each corner, of four triangles.
struct FourSides {
    /// Masks of the triangles with a side below, above and at 0.
    VectorSIMD4f Negative() const {
        return AnyOf([](const VectorSIMD4f& side) { return Less(side, ZERO()); });
    }
    VectorSIMD4f Positive() const {
        return AnyOf([](const VectorSIMD4f& side) { return Less(ZERO(), side); });
    }
    VectorSIMD4f Undecided() const {
        return AnyOf([](const VectorSIMD4f& side) { return Equal(side, ZERO()); });
    }

    VectorSIMD4f of[3];

private:
    static VectorSIMD4f ZERO() { return VectorSIMD4f::Broadcast(0.0F); }
    template <class Test>
    VectorSIMD4f AnyOf(Test test) const {
        return Or(Or(test(of[0]), test(of[1])), test(of[2]));
    }
};

// Step by step what FindTriangleHit() does with one, so that both give the same bits.
template <SumOrder ORDER>
unsigned RayTriangle4(const GeometryRay& ray, const GeometryTriangle4& triangles, VectorSIMD4f& t, Sides sides) {
    const VectorSIMD4f& origin = ray.GetOrigin();
    Private::ShearedPoints p[3];
    for (unsigned i = 0; i < 3; ++i) {
        p[i] = Private::ShearPoints(ray.GetShear(), triangles.Corner(i, 0) - origin.BroadcastX(),
                                    triangles.Corner(i, 1) - origin.BroadcastY(),
                                    triangles.Corner(i, 2) - origin.BroadcastZ());
    }
    FourSides side;
    const auto next = [&p](unsigned i) -> const Private::ShearedPoints& { return p[(i + 1) % 3]; };
    const auto last = [&p](unsigned i) -> const Private::ShearedPoints& { return p[(i + 2) % 3]; };
    for (unsigned i = 0; i < 3; ++i) {
        side.of[i] = Private::Side(next(i).x, next(i).y, last(i).x, last(i).y);
    }
    VectorSIMD4f negative = side.Negative();
    VectorSIMD4f positive = side.Positive();
    if (AnyTrue(AndNot(And(negative, positive), side.Undecided()))) {
        for (unsigned i = 0; i < 3; ++i) {
            side.of[i] = Private::DecideZeros(side.of[i], next(i).x, next(i).y, last(i).x, last(i).y);
        }
        negative = side.Negative();
        positive = side.Positive();
    }
    const bool isDescending = (ray.GetShear().axis & Private::Shear::NEGATIVE) != 0;
    const VectorSIMD4f seen = sides == Sides::BOTH ? Or(negative, positive) : (isDescending ? positive : negative);
    const VectorSIMD4f candidates = AndNot(And(negative, positive), seen);
    const VectorSIMD4f sum = Private::Sum<ORDER>(side.of[0], side.of[1], side.of[2]);
    const VectorSIMD4f depth =
        Private::Sum<ORDER>(side.of[0] * p[0].depth, side.of[1] * p[1].depth, side.of[2] * p[2].depth);
    const VectorSIMD4f crossing = depth / sum;
    const Private::Interval range = ray.GetRange();
    const VectorSIMD4f hits = And(candidates, And(LessEqual(range.in, crossing), LessEqual(crossing, range.out)));
    t = Select(hits, crossing, VectorSIMD4f::Broadcast(INFINITE_T));
    return static_cast<unsigned>(Lanes::SignBits(hits.Native()));
}

} // namespace

namespace Geometry {

GeometryAABB4::GeometryAABB4() {
    const GeometryAABB empty;
    for (unsigned long i = 0; i < 4; ++i) {
        Set(i, empty);
    }
}

GeometryAABB4::GeometryAABB4(const GeometryAABB* boxes) {
    for (unsigned long i = 0; i < 4; ++i) {
        Set(i, boxes[i]);
    }
}

void GeometryAABB4::Set(unsigned long index, const GeometryAABB& box) {
    for (unsigned long axis = 0; axis < 3; ++axis) {
        m_bounds[0][axis].Set(index, box.GetMin()[axis]);
        m_bounds[1][axis].Set(index, box.GetMax()[axis]);
    }
}

GeometryAABB GeometryAABB4::Get(unsigned long index) const {
    if (index > 3) {
        return {};
    }
    const auto corner = [index](const VectorSIMD4f(&bounds)[3]) {
        return VectorSIMD4f(bounds[0][index], bounds[1][index], bounds[2][index], 0.0F);
    };
    return {corner(m_bounds[0]), corner(m_bounds[1])};
}

GeometryTriangle4::GeometryTriangle4() {
    for (auto& corner : m_corners) {
        for (VectorSIMD4f& coordinates : corner) {
            coordinates = VectorSIMD4f::Broadcast(NOT_A_NUMBER);
        }
    }
}

void GeometryTriangle4::Set(unsigned long index, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
    for (unsigned long axis = 0; axis < 3; ++axis) {
        m_corners[0][axis].Set(index, a[axis]);
        m_corners[1][axis].Set(index, b[axis]);
        m_corners[2][axis].Set(index, c[axis]);
    }
}

void GeometryTriangle4::Get(unsigned long index, VectorSIMD4f& a, VectorSIMD4f& b, VectorSIMD4f& c) const {
    const auto corner = [index](const VectorSIMD4f(&coordinates)[3]) {
        if (index > 3) {
            return VectorSIMD4f(NOT_A_NUMBER, NOT_A_NUMBER, NOT_A_NUMBER, 0.0F);
        }
        return VectorSIMD4f(coordinates[0][index], coordinates[1][index], coordinates[2][index], 0.0F);
    };
    a = corner(m_corners[0]);
    b = corner(m_corners[1]);
    c = corner(m_corners[2]);
}

unsigned IntersectRayTriangle4(const GeometryRay& ray, const GeometryTriangle4& triangles, VectorSIMD4f& t,
                               Sides sides) {
    return RayTriangle4<SumOrder::FAST>(ray, triangles, t, sides);
}

unsigned long IntersectRayTriangles(const GeometryRay& ray, const GeometryTriangle4* groups, unsigned long count,
                                    float& t, float& u, float& v, Sides sides) {
    const unsigned long none = 4 * count;
    unsigned long nearest = none;
    GeometryRay rest(ray);
    for (unsigned long i = 0; i < count; ++i) {
        VectorSIMD4f crossings;
        if (RayTriangle4<SumOrder::FAST>(rest, groups[i], crossings, sides) == 0) {
            continue;
        }
        for (unsigned long lane = 0; lane < 4; ++lane) {
            // What is missed is infinitely far. At the same t as before, the earlier triangle stays.
            const float crossing = crossings[lane];
            if (crossing < rest.GetLast() || (nearest == none && crossing <= rest.GetLast())) {
                rest.SetLast(crossing);
                nearest = 4 * i + lane;
            }
        }
    }
    if (nearest != none) {
        VectorSIMD4f a;
        VectorSIMD4f b;
        VectorSIMD4f c;
        groups[nearest / 4].Get(nearest % 4, a, b, c);
        static_cast<void>(IntersectRayTriangle(ray, a, b, c, t, u, v, sides));
    }
    return nearest;
}

bool IntersectRayAnyTriangle(const GeometryRay& ray, const GeometryTriangle4* groups, unsigned long count,
                             Sides sides) {
    for (unsigned long i = 0; i < count; ++i) {
        VectorSIMD4f crossings;
        if (RayTriangle4<SumOrder::FAST>(ray, groups[i], crossings, sides) != 0) {
            return true;
        }
    }
    return false;
}

namespace Consistent {

unsigned IntersectRayTriangle4(const GeometryRay& ray, const GeometryTriangle4& triangles, VectorSIMD4f& t,
                               Sides sides) {
    return RayTriangle4<SumOrder::CONSISTENT>(ray, triangles, t, sides);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
