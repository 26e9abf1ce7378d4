#include "orientation.h"

#include <zelk_core/math/geometry/columns.h>
#include <zelk_core/math/geometry/nearestpoint.h>
#include <zelk_core/math/geometry/pointin.h>

namespace Z4 {

namespace {

using Private::IsFinite;
using Private::Orientation;

VectorSIMD4f Zero() {
    return VectorSIMD4f::Broadcast(0.0F);
}

template <SumOrder ORDER>
bool InCapsule(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius) {
    const Private::NearestOnSegment nearest = Private::FindNearestOnSegment<ORDER, 3>(p, a, b, Zero());
    // With a NaN in `b`, the segment above is the point `a`.
    return Private::IsWithin(nearest.distanceSqr.X(), radius) && AllTrue3(Equal(b, b));
}

template <SumOrder ORDER>
bool InCylinder(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius) {
    const VectorSIMD4f axis = b - a;
    const VectorSIMD4f way = p - a;
    const VectorSIMD4f axisSqr = LengthSqr3<ORDER>(axis);
    const VectorSIMD4f height = Dot3<ORDER>(way, axis);
    if (!AllTrue(And(LessEqual(Zero(), height), LessEqual(height, axisSqr)))) {
        return false;
    }
    if (AllTrue(Equal(axisSqr, Zero()))) {
        return radius >= 0 && AllTrue3(Equal(p, a));
    }
    return Private::IsWithin(LengthSqr3<ORDER>(way - height / axisSqr * axis).X(), radius);
}

/// Lane by lane, n (u x v): on which side of u, as seen along n, v leads.
template <SumOrder ORDER>
VectorSIMD4f Sides(const VectorSIMD4f& n, const Private::Columns& u, const Private::Columns& v) {
    return Private::Sum<ORDER>(n.BroadcastX() * (u.y * v.z - u.z * v.y), n.BroadcastY() * (u.z * v.x - u.x * v.z),
                               n.BroadcastZ() * (u.x * v.y - u.y * v.x));
}

template <SumOrder ORDER>
bool InTriangle(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
    const VectorSIMD4f ab = b - a;
    const VectorSIMD4f ca = a - c;
    const VectorSIMD4f normal = Cross3(ca, ab);
    const VectorSIMD4f sides =
        Sides<ORDER>(normal, Private::Columns(ab, c - b, ca), Private::Columns(p - a, p - b, p - c));
    return AllTrue3(LessEqual(Zero(), sides)) && AllTrue(Less(Zero(), LengthSqr3<ORDER>(normal)));
}

/// In each lane, one corner and the face opposite it.
template <SumOrder ORDER>
bool InTetrahedron(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                   const VectorSIMD4f& d) {
    __m128 rows[4] = {a.Native(), b.Native(), c.Native(), d.Native()};
    Lanes::Transpose(rows[0], rows[1], rows[2], rows[3]);
    // Along x, y and z: from the face's first corner to its others, to the opposite corner, and to the point.
    VectorSIMD4f u[3];
    VectorSIMD4f v[3];
    VectorSIMD4f opposite[3];
    VectorSIMD4f way[3];
    const VectorSIMD4f point[] = {p.BroadcastX(), p.BroadcastY(), p.BroadcastZ()};
    for (int i = 0; i < 3; ++i) {
        const VectorSIMD4f first(Lanes::Shuffle<1, 2, 3, 0>(rows[i]));
        u[i] = VectorSIMD4f(Lanes::Shuffle<2, 3, 0, 1>(rows[i])) - first;
        v[i] = VectorSIMD4f(Lanes::Shuffle<3, 0, 1, 2>(rows[i])) - first;
        opposite[i] = VectorSIMD4f(rows[i]) - first;
        way[i] = point[i] - first;
    }
    const VectorSIMD4f normal[] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    const auto along = [&normal](const VectorSIMD4f(&q)[3]) {
        return Private::Sum<ORDER>(normal[0] * q[0], normal[1] * q[1], normal[2] * q[2]);
    };
    const VectorSIMD4f inner = along(opposite);
    const VectorSIMD4f side = along(way);
    return AllTrue(
        Or(And(Less(Zero(), inner), LessEqual(Zero(), side)), And(Less(inner, Zero()), LessEqual(side, Zero()))));
}

template <SumOrder ORDER>
bool InConvex(const VectorSIMD4f& p, const VectorSIMD4f* planes, unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) {
        if (!AllTrue(LessEqual(Zero(), Dot3<ORDER>(p, planes[i]) + planes[i].BroadcastW()))) {
            return false;
        }
    }
    return AllTrue3(Equal(p, p));
}

} // namespace

namespace Geometry {

bool IsPointInCapsule(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius) {
    return InCapsule<SumOrder::FAST>(p, a, b, radius);
}

bool IsPointInCylinder(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius) {
    return InCylinder<SumOrder::FAST>(p, a, b, radius);
}

bool IsPointInTriangle(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
    return InTriangle<SumOrder::FAST>(p, a, b, c);
}

bool IsPointInTetrahedron(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                          const VectorSIMD4f& d) {
    return InTetrahedron<SumOrder::FAST>(p, a, b, c, d);
}

bool IsPointInConvex(const VectorSIMD4f& p, const VectorSIMD4f* planes, unsigned long count) {
    return InConvex<SumOrder::FAST>(p, planes, count);
}

int Orientation2D(Vector2f a, Vector2f b, Vector2f c) {
    if (!IsFinite(a) || !IsFinite(b) || !IsFinite(c)) {
        return 0;
    }
    const double area = Orientation(a, b, c);
    return (area > 0 ? 1 : 0) - (area < 0 ? 1 : 0);
}

bool IsPointInTriangle2D(Vector2f p, Vector2f a, Vector2f b, Vector2f c) {
    if (!IsFinite(p) || !IsFinite(a) || !IsFinite(b) || !IsFinite(c)) {
        return false;
    }
    const double ab = Orientation(a, b, p);
    const double bc = Orientation(b, c, p);
    const double ca = Orientation(c, a, p);
    if (ab == 0 && bc == 0 && ca == 0) { // without area
        const VectorSIMD4f corners[] = {
            {a.X(), a.Y(), 0.0F, 0.0F}, {b.X(), b.Y(), 0.0F, 0.0F}, {c.X(), c.Y(), 0.0F, 0.0F}};
        return IsPointInPolygon2D(p, corners, 3);
    }
    return (ab >= 0 && bc >= 0 && ca >= 0) || (ab <= 0 && bc <= 0 && ca <= 0);
}

bool IsPointInPolygon2D(Vector2f p, const VectorSIMD4f* polygon, unsigned long count) {
    if (count == 0) {
        return false;
    }
    bool isFinite = IsFinite(p);
    bool isInside = false;
    bool isOnBorder = false;
    Vector2f a = ToVector2f(polygon[count - 1]);
    for (unsigned long i = 0; i < count; ++i) {
        const Vector2f b = ToVector2f(polygon[i]);
        isFinite = isFinite && IsFinite(b);
        const bool endsAbove = b.Y() > p.Y();
        if ((a.Y() > p.Y()) != endsAbove) {
            const double side = Orientation(a, b, p);
            isOnBorder = isOnBorder || side == 0;
            // It passes on the right.
            isInside = isInside != ((side > 0) == endsAbove);
        } else if (b.Y() == p.Y()) { // it touches the point's height from below, or lies on it
            isOnBorder = isOnBorder || b.X() == p.X() || (a.Y() == p.Y() && (a.X() < p.X()) != (b.X() < p.X()));
        }
        a = b;
    }
    return isFinite && (isInside || isOnBorder);
}

bool IsPointInConvexPolygon2D(Vector2f p, const VectorSIMD4f* polygon, unsigned long count) {
    if (count < 3) {
        return IsPointInPolygon2D(p, polygon, count);
    }
    const auto side = [&](unsigned long from, unsigned long to) {
        return Orientation(ToVector2f(polygon[from]), ToVector2f(polygon[to]), p);
    };
    if (!IsFinite(p) || side(0, 1) < 0 || side(0, count - 1) > 0) {
        return false;
    }
    // In which triangle of the fan around the first corner?
    unsigned long low = 1;
    unsigned long high = count - 1;
    while (high - low > 1) {
        const unsigned long middle = low + (high - low) / 2;
        (side(0, middle) >= 0 ? low : high) = middle;
    }
    const double outer = side(low, high);
    // On the line of an edge; that triangle may have no area.
    return outer == 0 ? IsPointInPolygon2D(p, polygon, count) : outer > 0;
}

namespace Consistent {

bool IsPointInSphere(const VectorSIMD4f& p, const VectorSIMD4f& center, float radius) {
    return Private::IsWithin(LengthSqr3<SumOrder::CONSISTENT>(p - center).X(), radius);
}

bool IsPointInCapsule(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius) {
    return InCapsule<SumOrder::CONSISTENT>(p, a, b, radius);
}

bool IsPointInCylinder(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius) {
    return InCylinder<SumOrder::CONSISTENT>(p, a, b, radius);
}

bool IsPointInTriangle(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
    return InTriangle<SumOrder::CONSISTENT>(p, a, b, c);
}

bool IsPointInTetrahedron(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                          const VectorSIMD4f& d) {
    return InTetrahedron<SumOrder::CONSISTENT>(p, a, b, c, d);
}

bool IsPointInConvex(const VectorSIMD4f& p, const VectorSIMD4f* planes, unsigned long count) {
    return InConvex<SumOrder::CONSISTENT>(p, planes, count);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
