#include "featuredistance.h"

#include <bit>
#include <zelk_core/math/geometry/distance.h>
#include <zelk_core/math/geometry/shapedistance.h>

namespace Z4 {

namespace {

using Private::NearestOnSegment;

/// How much of the weights' sum may be lost to rounding.
const float WEIGHT_TOLERANCE = 1.0F / 1024.0F;

/// A point of the triangle, and how much of it `b` and `c` are.
struct TrianglePoint {
    VectorSIMD4f point, u, v;
};

/// The nearest point by way of all features, for what the regions cannot tell.
template <SumOrder ORDER>
TrianglePoint NearestFeature(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                             const VectorSIMD4f& c) {
    const VectorSIMD4f ab = b - a;
    const VectorSIMD4f ac = c - a;
    const auto [u, v] = Private::FindFootInTriangle<ORDER>(p - a, ab, ac, Cross3(ab, ac));
    TrianglePoint found = {a + u * ab + v * ac, u, v};
    VectorSIMD4f distanceSqr = LengthSqr3<ORDER>(p - found.point);
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0.0F);
    const auto tryEdge = [&](const VectorSIMD4f& from, const VectorSIMD4f& to, const auto& weights) {
        const NearestOnSegment nearest = Private::FindNearestOnSegment<ORDER, 3>(p, from, to, zero);
        const VectorSIMD4f nearer = Less(nearest.distanceSqr, distanceSqr);
        const Private::FacePoint at = weights(nearest.t);
        found = {Select(nearer, nearest.point, found.point), Select(nearer, at.u, found.u),
                 Select(nearer, at.v, found.v)};
        distanceSqr = Min(nearest.distanceSqr, distanceSqr);
    };
    using T = const VectorSIMD4f&;
    tryEdge(a, b, [&](T t) { return Private::FacePoint{t, zero}; });
    tryEdge(b, c, [](T t) { return Private::FacePoint{1.0F - t, t}; });
    tryEdge(c, a, [&](T t) { return Private::FacePoint{zero, 1.0F - t}; });
    return found;
}

/// The nearest point where it is none of the edges'. The weights sum up to the squared length of the normal.
template <SumOrder ORDER>
TrianglePoint NearestOnFace(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                            const VectorSIMD4f& weights) {
    const VectorSIMD4f sum = weights.BroadcastX() + weights.BroadcastY() + weights.BroadcastZ();
    const VectorSIMD4f normalSqr = LengthSqr3<ORDER>(Cross3(b - a, c - a));
    if (AllTrue(GreaterEqual(Abs(sum - normalSqr), WEIGHT_TOLERANCE * normalSqr))) {
        return NearestFeature<ORDER>(p, a, b, c);
    }
    const VectorSIMD4f shares = weights / sum;
    const VectorSIMD4f u = shares.BroadcastY();
    const VectorSIMD4f v = shares.BroadcastZ();
    return {a * shares.BroadcastX() + b * u + c * v, u, v};
}

/// Three vectors, with which three dot products cost little more than one.
class FromVertices {
public:
    FromVertices(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c)
        : m_x(a.Native()), m_y(b.Native()), m_z(c.Native()) {
        __m128 w = Lanes::Repeat(0.0F);
        Lanes::Transpose(m_x, m_y, m_z, w);
    }

    /// Of each of them with `v`, in the lanes x, y and z: what Dot3() gives.
    template <SumOrder ORDER>
    VectorSIMD4f Dot(const VectorSIMD4f& v) const {
        return Private::Sum<ORDER>(v.BroadcastX() * VectorSIMD4f(m_x), v.BroadcastY() * VectorSIMD4f(m_y),
                                   v.BroadcastZ() * VectorSIMD4f(m_z));
    }

private:
    __m128 m_x, m_y, m_z;
};

/// Lane A of `a`, B of `b` and C of `c`; the w lane is some other.
template <int A, int B, int C>
VectorSIMD4f Gather(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
    const __m128 ab = Lanes::Shuffle<A, A, B, B>(a.Native(), b.Native());
    return VectorSIMD4f(Lanes::Shuffle<0, 2, C, C>(ab, c.Native()));
}

unsigned SignBits(const VectorSIMD4f& v) {
    return static_cast<unsigned>(Lanes::SignBits(v.Native()));
}

// Which region holds is as good as random to a branch predictor, so all are calculated and only the face is asked for
// by a branch. Lanes stand for the vertices a, b and c, or for the edges ab, bc and ac.
template <SumOrder ORDER>
TrianglePoint FindNearest(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0.0F);
    const VectorSIMD4f ab = b - a;
    const VectorSIMD4f ac = c - a;
    const FromVertices from(p - a, p - b, p - c);
    const VectorSIMD4f alongAb = from.Dot<ORDER>(ab);
    const VectorSIMD4f alongAc = from.Dot<ORDER>(ac);
    const VectorSIMD4f difference = alongAc - alongAb;
    const VectorSIMD4f weights = Cross3(alongAb, alongAc);
    // How far p is along each edge, from where the edge starts and from where it ends, by the edge's length.
    const VectorSIMD4f fromStart = Gather<0, 1, 0>(alongAb, difference, alongAc);
    const VectorSIMD4f fromEnd = Gather<1, 2, 2>(alongAb, difference, alongAc);
    const VectorSIMD4f lengthSqr = fromStart - fromEnd;

    const unsigned notAfterStart = SignBits(LessEqual(fromStart, zero));
    const unsigned notBeforeEnd = SignBits(GreaterEqual(fromEnd, zero));
    const unsigned atA = notAfterStart & notAfterStart >> 2;
    const unsigned atB = notBeforeEnd & notAfterStart >> 1;
    const unsigned atC = notBeforeEnd >> 2 & notBeforeEnd >> 1;
    const VectorSIMD4f beside = And(LessEqual(Gather<2, 0, 1>(weights, weights, weights), zero),
                                    And(GreaterEqual(fromStart, zero), LessEqual(fromEnd, zero)));
    // An edge without length is no region.
    const unsigned atEdges = SignBits(And(beside, Greater(lengthSqr, zero))) & 7;
    const unsigned regions = (atA & 1) | (atB & 1) << 1 | (atC & 1) << 2 | atEdges << 3;

    if (regions == 0) {
        return NearestOnFace<ORDER>(p, a, b, c, weights);
    }
    const VectorSIMD4f t = fromStart / lengthSqr;
    // What is added to a vertex must not change the sign of its zeros.
    const VectorSIMD4f none = VectorSIMD4f::Broadcast(-0.0F);
    const VectorSIMD4f* const starts[] = {&a, &b, &c, &a, &b, &a};
    const VectorSIMD4f one = VectorSIMD4f::Broadcast(1.0F);
    const VectorSIMD4f onBc = t.BroadcastY();
    const VectorSIMD4f steps[] = {none, none, none, t.BroadcastX() * ab, onBc * (c - b), t.BroadcastZ() * ac};
    const VectorSIMD4f u[] = {zero, one, zero, t.BroadcastX(), one - onBc, zero};
    const VectorSIMD4f v[] = {zero, zero, one, zero, onBc, t.BroadcastZ()};
    const int first = std::countr_zero(regions);
    return {*starts[first] + steps[first], u[first], v[first]};
}

template <SumOrder ORDER>
float PointToTriangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                         float& u, float& v) {
    const TrianglePoint nearest = FindNearest<ORDER>(p, a, b, c);
    u = nearest.u.X();
    v = nearest.v.X();
    return LengthSqr3<ORDER>((p - a) - (nearest.u * (b - a) + nearest.v * (c - a))).X();
}

} // namespace

namespace Geometry {

VectorSIMD4f ClosestTrianglePointToPoint(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                         const VectorSIMD4f& c) {
    return FindNearest<SumOrder::FAST>(p, a, b, c).point;
}

float DistancePointToTriangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                 const VectorSIMD4f& c, float& u, float& v) {
    return PointToTriangleSqr<SumOrder::FAST>(p, a, b, c, u, v);
}

namespace Consistent {

VectorSIMD4f ClosestTrianglePointToPoint(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                         const VectorSIMD4f& c) {
    return FindNearest<SumOrder::CONSISTENT>(p, a, b, c).point;
}

float DistancePointToTriangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                 const VectorSIMD4f& c, float& u, float& v) {
    return PointToTriangleSqr<SumOrder::CONSISTENT>(p, a, b, c, u, v);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
