/// @file
/// Steps that the queries between two shapes with more than one feature share. Shapes come as differences: `r` from a
/// point of the second shape to one of the first, and the directions of edges. Scalars are repeated in all four lanes.
#pragma once

#include <cfloat>
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

/// Nearest points a + s d1 and b + t d2, where a - b = r.
struct NearestOnPair {
    VectorSIMD4f s;
    VectorSIMD4f t;
    VectorSIMD4f distanceSqr;
};

enum class FirstShape : unsigned char {
    LINE,
    SEGMENT,
};

/// Nearest points of a line or a segment and a segment. n = d1 x d2 keeps its relative accuracy down to angles of 1e-7,
/// where d1^2 d2^2 - (d1 d2)^2 has lost it at 3e-4; and below, the error of t moves the second point along the first
/// line.
template <SumOrder ORDER, FirstShape FIRST>
inline NearestOnPair FindNearestOnPair(const VectorSIMD4f& r, const VectorSIMD4f& d1, const VectorSIMD4f& d2) {
    const VectorSIMD4f n = Cross3(d1, d2);
    const VectorSIMD4f lineT = Saturate(DivideBySquare(Dot3<ORDER>(Cross3(d1, r), n), LengthSqr3<ORDER>(n)));
    const VectorSIMD4f lineS = DivideBySquare(Dot3<ORDER>(d1, lineT * d2 - r), LengthSqr3<ORDER>(d1));
    const VectorSIMD4f s = FIRST == FirstShape::SEGMENT ? Saturate(lineS) : lineS;
    const VectorSIMD4f toFirst = r + s * d1;
    // Clamping s may have moved the nearest point of the second.
    const VectorSIMD4f t = Saturate(DivideBySquare(Dot3<ORDER>(d2, toFirst), LengthSqr3<ORDER>(d2)));
    return {s, t, LengthSqr3<ORDER>(toFirst - t * d2)};
}

/// Parameter of the point where the line r + t d meets the plane through 0 with the normal n; of some point where they
/// are parallel.
inline VectorSIMD4f FindPlaneCrossing(const VectorSIMD4f& r, const VectorSIMD4f& d, const VectorSIMD4f& n) {
    const VectorSIMD4f slope = Dot3(d, n);
    const VectorSIMD4f isParallel = Equal(slope, VectorSIMD4f::Broadcast(0.0F));
    return -Dot3(r, n) / Select(isParallel, VectorSIMD4f::Broadcast(1.0F), slope);
}

/// Coordinates of the point u e0 + v e1 of a triangle.
struct TrianglePoint {
    VectorSIMD4f u;
    VectorSIMD4f v;
};

/// The foot of the perpendicular from r on the plane of the triangle 0, e0, e1 with the normal n = e0 x e1. Where that
/// is not in the triangle, the point 0.
inline TrianglePoint FindFootInTriangle(const VectorSIMD4f& r, const VectorSIMD4f& e0, const VectorSIMD4f& e1,
                                        const VectorSIMD4f& n) {
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0.0F);
    const VectorSIMD4f moment = Cross3(n, r);
    const VectorSIMD4f normalSqr = LengthSqr3(n);
    const VectorSIMD4f u = DivideBySquare(Dot3(e1, moment), normalSqr);
    const VectorSIMD4f v = DivideBySquare(-Dot3(e0, moment), normalSqr);
    const VectorSIMD4f inside =
        And(And(LessEqual(zero, u), LessEqual(zero, v)), LessEqual(u + v, VectorSIMD4f::Broadcast(1.0F)));
    return {And(inside, u), And(inside, v)};
}

} // namespace Z4::Private
