/// @file
/// Steps that the queries between two shapes with more than one feature share. Shapes come as differences: `r` from a
/// point of the second shape to one of the first, and the directions of edges. A vector is a VectorSIMD4f with scalars
/// repeated in all four lanes, or FourVectors with four of everything.
#pragma once

#include <cfloat>
#include <zelk_core/math/geometry/private/fourvectors.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Private {

/// x / y for a sum of squares y. Where y is 0 or next to it, x is so too, and the quotient is one of 0: no division by
/// 0.
inline VectorSIMD4f DivideBySquare(const VectorSIMD4f& x, const VectorSIMD4f& y) {
    return x / Max(y, VectorSIMD4f::Broadcast(FLT_MIN));
}

/// Into [0, 1]; NaN becomes 0.
inline VectorSIMD4f Saturate(const VectorSIMD4f& v) {
    return Clamp(v, VectorSIMD4f::Broadcast(0.0F), VectorSIMD4f::Broadcast(1.0F));
}

enum class Straight : unsigned char {
    LINE,
    SEGMENT,
};

/// The parameter `t` of a line; of a segment, the nearest one that it has.
template <Straight SHAPE>
inline VectorSIMD4f OnShape(const VectorSIMD4f& t) {
    return SHAPE == Straight::SEGMENT ? Saturate(t) : t;
}

/// Nearest points a + s d1 and b + t d2, where a - b = r.
struct NearestOnPair {
    VectorSIMD4f s;
    VectorSIMD4f t;
    VectorSIMD4f distanceSqr;
};

/// Nearest points of two lines or segments; a segment is not the first with a line as the second. n = d1 x d2 keeps its
/// relative accuracy down to angles of 1e-7, where d1^2 d2^2 - (d1 d2)^2 has lost it at 3e-4; and below, the error of t
/// moves the second point along the first line.
template <SumOrder ORDER, Straight FIRST, Straight SECOND = Straight::SEGMENT, class Vector>
inline NearestOnPair FindNearestOnPair(const Vector& r, const Vector& d1, const Vector& d2) {
    static_assert(FIRST == Straight::LINE || SECOND == Straight::SEGMENT);
    const Vector n = Cross3(d1, d2);
    const VectorSIMD4f lineT = OnShape<SECOND>(DivideBySquare(Dot3<ORDER>(Cross3(d1, r), n), LengthSqr3<ORDER>(n)));
    const VectorSIMD4f s = OnShape<FIRST>(DivideBySquare(Dot3<ORDER>(d1, lineT * d2 - r), LengthSqr3<ORDER>(d1)));
    const Vector toFirst = r + s * d1;
    // Clamping s may have moved the nearest point of the second.
    const VectorSIMD4f t = OnShape<SECOND>(DivideBySquare(Dot3<ORDER>(d2, toFirst), LengthSqr3<ORDER>(d2)));
    return {s, t, LengthSqr3<ORDER>(toFirst - t * d2)};
}

/// Parameter of the point where the line r + t d meets the plane through 0 with the normal n; of some point where they
/// are parallel.
template <SumOrder ORDER, class Vector>
inline VectorSIMD4f FindPlaneCrossing(const Vector& r, const Vector& d, const Vector& n) {
    const VectorSIMD4f slope = Dot3<ORDER>(d, n);
    const VectorSIMD4f isParallel = Equal(slope, VectorSIMD4f::Broadcast(0.0F));
    return -Dot3<ORDER>(r, n) / Select(isParallel, VectorSIMD4f::Broadcast(1.0F), slope);
}

/// Coordinates of the point u e0 + v e1 of a triangle or a rectangle.
struct FacePoint {
    VectorSIMD4f u;
    VectorSIMD4f v;
};

/// The foot of the perpendicular from r on the plane of the triangle 0, e0, e1 with the normal n = e0 x e1. Where that
/// is not in the triangle, the point 0.
template <SumOrder ORDER, class Vector>
inline FacePoint FindFootInTriangle(const Vector& r, const Vector& e0, const Vector& e1, const Vector& n) {
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0.0F);
    const Vector moment = Cross3(n, r);
    const VectorSIMD4f normalSqr = LengthSqr3<ORDER>(n);
    const VectorSIMD4f u = DivideBySquare(Dot3<ORDER>(e1, moment), normalSqr);
    const VectorSIMD4f v = DivideBySquare(-Dot3<ORDER>(e0, moment), normalSqr);
    const VectorSIMD4f inside =
        And(And(LessEqual(zero, u), LessEqual(zero, v)), LessEqual(u + v, VectorSIMD4f::Broadcast(1.0F)));
    return {And(inside, u), And(inside, v)};
}

/// The point of the rectangle 0, e0, e1 nearest r.
template <SumOrder ORDER, class Vector>
inline FacePoint FindNearestInRectangle(const Vector& r, const Vector& e0, const Vector& e1) {
    return {Saturate(DivideBySquare(Dot3<ORDER>(r, e0), LengthSqr3<ORDER>(e0))),
            Saturate(DivideBySquare(Dot3<ORDER>(r, e1), LengthSqr3<ORDER>(e1)))};
}

} // namespace Z4::Private
