#include "featuredistance.h"

#include <zelk_core/math/geometry/distance.h>

namespace Z4 {

namespace {

using Private::NearestOnSegment;

/// Weights of the face sum up to the squared length of its normal. How much of that they may have lost to rounding.
const float WEIGHT_TOLERANCE = 1.0F / 1024.0F;

/// The nearest point by way of all features, for what the regions cannot tell.
VectorSIMD4f NearestFeature(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                            const VectorSIMD4f& c) {
    const VectorSIMD4f ab = b - a;
    const VectorSIMD4f ac = c - a;
    const auto [u, v] = Private::FindFootInTriangle(p - a, ab, ac, Cross3(ab, ac));
    VectorSIMD4f point = a + u * ab + v * ac;
    VectorSIMD4f distanceSqr = LengthSqr3(p - point);
    const VectorSIMD4f* const edges[][2] = {{&a, &b}, {&b, &c}, {&c, &a}};
    for (const auto& edge : edges) {
        const NearestOnSegment nearest =
            Private::FindNearestOnSegment<SumOrder::FAST, 3>(p, *edge[0], *edge[1], VectorSIMD4f::Broadcast(0.0F));
        point = Select(Less(nearest.distanceSqr, distanceSqr), nearest.point, point);
        distanceSqr = Min(nearest.distanceSqr, distanceSqr);
    }
    return point;
}

} // namespace

namespace Geometry {

VectorSIMD4f ClosestTrianglePointToPoint(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                         const VectorSIMD4f& c) {
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0.0F);
    const VectorSIMD4f ab = b - a;
    const VectorSIMD4f ac = c - a;
    const VectorSIMD4f ap = p - a;
    const VectorSIMD4f d1 = Dot3(ab, ap);
    const VectorSIMD4f d2 = Dot3(ac, ap);
    if (AllTrue(And(LessEqual(d1, zero), LessEqual(d2, zero)))) {
        return a;
    }
    const VectorSIMD4f bp = p - b;
    const VectorSIMD4f d3 = Dot3(ab, bp);
    const VectorSIMD4f d4 = Dot3(ac, bp);
    const VectorSIMD4f d43 = d4 - d3;
    if (AllTrue(And(GreaterEqual(d3, zero), LessEqual(d43, zero)))) {
        return b;
    }
    const VectorSIMD4f cp = p - c;
    const VectorSIMD4f d5 = Dot3(ab, cp);
    const VectorSIMD4f d6 = Dot3(ac, cp);
    const VectorSIMD4f d56 = d5 - d6;
    if (AllTrue(And(GreaterEqual(d6, zero), LessEqual(d56, zero)))) {
        return c;
    }
    const VectorSIMD4f vc = d1 * d4 - d3 * d2;
    const VectorSIMD4f vb = d5 * d2 - d1 * d6;
    const VectorSIMD4f va = d3 * d6 - d5 * d4;
    // An edge without length is no region.
    const VectorSIMD4f lengthAb = d1 - d3;
    if (AllTrue(
            And(And(LessEqual(vc, zero), GreaterEqual(d1, zero)), And(LessEqual(d3, zero), Greater(lengthAb, zero))))) {
        return a + (d1 / lengthAb) * ab;
    }
    const VectorSIMD4f lengthBc = d43 + d56;
    if (AllTrue(And(And(LessEqual(va, zero), GreaterEqual(d43, zero)),
                    And(GreaterEqual(d56, zero), Greater(lengthBc, zero))))) {
        return b + (d43 / lengthBc) * (c - b);
    }
    const VectorSIMD4f lengthAc = d2 - d6;
    if (AllTrue(
            And(And(LessEqual(vb, zero), GreaterEqual(d2, zero)), And(LessEqual(d6, zero), Greater(lengthAc, zero))))) {
        return a + (d2 / lengthAc) * ac;
    }
    const VectorSIMD4f sum = va + vb + vc;
    const VectorSIMD4f normalSqr = LengthSqr3(Cross3(ab, ac));
    if (AllTrue(GreaterEqual(Abs(sum - normalSqr), WEIGHT_TOLERANCE * normalSqr))) {
        return NearestFeature(p, a, b, c);
    }
    return a * (va / sum) + b * (vb / sum) + c * (vc / sum);
}

} // namespace Geometry
} // namespace Z4
