#include <zelk_core/math/geometry/distance.h>

namespace Z4 {

namespace {

const float PARALLEL_LIMIT = 0.0001F;
const float POINT_LIMIT = 1e-6F;

VectorSIMD4f Zero() {
    return VectorSIMD4f::Broadcast(0.0F);
}

struct NearestOnLine {
    VectorSIMD4f point;
    VectorSIMD4f distanceSqr;
};

template <SumOrder ORDER, int DIMENSIONS>
NearestOnLine FindNearestOnLine(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b) {
    const VectorSIMD4f e = b - a;
    const VectorSIMD4f lengthSqr = Private::Dot<ORDER, DIMENSIONS>(e, e);
    // The length is 0 without the components being small where these differ in lanes that do not count.
    const bool isPoint =
        AllTrue(LessEqual(Abs(e), VectorSIMD4f::Broadcast(POINT_LIMIT))) || AllTrue(Equal(lengthSqr, Zero()));
    const VectorSIMD4f u = isPoint ? Zero() : e * ReciprocalSqrt(lengthSqr);
    const VectorSIMD4f s = Private::Dot<ORDER, DIMENSIONS>(u, p - a);
    const VectorSIMD4f point = a + s * u;
    const VectorSIMD4f residual = point - p;
    return {point, Private::Dot<ORDER, DIMENSIONS>(residual, residual)};
}

template <SumOrder ORDER>
float LinePoint(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b) {
    const NearestOnLine nearest = FindNearestOnLine<ORDER, 3>(p, a, b);
    closest = nearest.point;
    return nearest.distanceSqr.X();
}

struct LineParameters {
    bool exist;
    VectorSIMD4f mua;
    VectorSIMD4f mub;
};

template <SumOrder ORDER>
LineParameters FindShortestBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2, const VectorSIMD4f& p3,
                                        const VectorSIMD4f& p4) {
    const VectorSIMD4f p13 = p1 - p3;
    const VectorSIMD4f p43 = p4 - p3;
    const VectorSIMD4f p21 = p2 - p1;
    const VectorSIMD4f d1343 = Dot3<ORDER>(p13, p43);
    const VectorSIMD4f d4321 = Dot3<ORDER>(p43, p21);
    const VectorSIMD4f d1321 = Dot3<ORDER>(p13, p21);
    const VectorSIMD4f d4343 = Dot3<ORDER>(p43, p43);
    const VectorSIMD4f d2121 = Dot3<ORDER>(p21, p21);
    const VectorSIMD4f denom = d2121 * d4343 - d4321 * d4321;
    if (AllTrue(Less(Abs(denom), VectorSIMD4f::Broadcast(PARALLEL_LIMIT)))) {
        return {false, Zero(), Zero()};
    }
    const VectorSIMD4f mua = (d1343 * d4321 - d1321 * d4343) / denom;
    return {true, mua, (d1343 + mua * d4321) / d4343};
}

template <SumOrder ORDER>
bool ShortestBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2, const VectorSIMD4f& p3,
                          const VectorSIMD4f& p4, float& mua, float& mub) {
    const LineParameters parameters = FindShortestBetweenLines<ORDER>(p1, p2, p3, p4);
    if (parameters.exist) {
        mua = parameters.mua.X();
        mub = parameters.mub.X();
    }
    return parameters.exist;
}

template <SumOrder ORDER>
bool ShortestBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2, const VectorSIMD4f& p3,
                          const VectorSIMD4f& p4, VectorSIMD4f& pa, VectorSIMD4f& pb, float& mua, float& mub) {
    const LineParameters parameters = FindShortestBetweenLines<ORDER>(p1, p2, p3, p4);
    if (parameters.exist) {
        // Both before either is written: they may be the arguments.
        const VectorSIMD4f onFirst = And(p1 + parameters.mua * (p2 - p1), VectorSIMD4f::MASK_3D);
        const VectorSIMD4f onSecond = And(p3 + parameters.mub * (p4 - p3), VectorSIMD4f::MASK_3D);
        pa = onFirst;
        pb = onSecond;
        mua = parameters.mua.X();
        mub = parameters.mub.X();
    }
    return parameters.exist;
}

} // namespace

namespace Geometry {

float ClosestDistToSegment(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return Sqrt(Private::FindNearestOnSegment<SumOrder::FAST, 3>(p, a, b, Zero()).distanceSqr).X();
}

float DistancePointToLineSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return FindNearestOnLine<SumOrder::FAST, 3>(p, a, b).distanceSqr.X();
}

float DistancePointToLine2DSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return FindNearestOnLine<SumOrder::FAST, 2>(p, a, b).distanceSqr.X();
}

float ClosestPointToLine(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return LinePoint<SumOrder::FAST>(closest, p, a, b);
}

bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2, const VectorSIMD4f& p3,
                                    const VectorSIMD4f& p4, float& mua, float& mub) {
    return ShortestBetweenLines<SumOrder::FAST>(p1, p2, p3, p4, mua, mub);
}

bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2, const VectorSIMD4f& p3,
                                    const VectorSIMD4f& p4, VectorSIMD4f& pa, VectorSIMD4f& pb, float& mua,
                                    float& mub) {
    return ShortestBetweenLines<SumOrder::FAST>(p1, p2, p3, p4, pa, pb, mua, mub);
}

float DistancePointToAABB2DSqr(Vector2f p, Vector2f min, Vector2f max) {
    const Vector2f d = p - (min + max) * 0.5F;
    const Vector2f extent = (max - min) * 0.5F;
    float sum = 0.0F;
    for (unsigned long k = 0; k < 2; ++k) {
        const Vector2f& axis = k == 0 ? Vector2f::BASE_I : Vector2f::BASE_J;
        const float s = axis.Y() * d.Y() + axis.X() * d.X();
        const float h = extent[k];
        const float excess = s < -h ? s + h : (s > h ? s - h : 0.0F);
        sum += excess * excess;
    }
    return sum;
}

namespace Consistent {

float ClosestPointToSegment(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                            float& t) {
    const Private::NearestOnSegment nearest = Private::FindNearestOnSegment<SumOrder::CONSISTENT, 3>(p, a, b, Zero());
    closest = nearest.point;
    t = nearest.t.X();
    return nearest.distanceSqr.X();
}

VectorSIMD4f ClosestPointToSegment2D(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                     const VectorSIMD4f& b, VectorSIMD4f& t, float eps) {
    const Private::NearestOnSegment nearest =
        Private::FindNearestOnSegment<SumOrder::CONSISTENT, 2>(p, a, b, VectorSIMD4f::Broadcast(eps));
    closest = nearest.point;
    t = nearest.t;
    return nearest.distanceSqr;
}

float DistancePointToSegment2DSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float& t) {
    const Private::NearestOnSegment nearest = Private::FindNearestOnSegment<SumOrder::CONSISTENT, 2>(p, a, b, Zero());
    t = nearest.t.X();
    return nearest.distanceSqr.X();
}

float DistancePointToLineSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return FindNearestOnLine<SumOrder::CONSISTENT, 3>(p, a, b).distanceSqr.X();
}

float ClosestPointToLine(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return LinePoint<SumOrder::CONSISTENT>(closest, p, a, b);
}

bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2, const VectorSIMD4f& p3,
                                    const VectorSIMD4f& p4, float& mua, float& mub) {
    return ShortestBetweenLines<SumOrder::CONSISTENT>(p1, p2, p3, p4, mua, mub);
}

bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2, const VectorSIMD4f& p3,
                                    const VectorSIMD4f& p4, VectorSIMD4f& pa, VectorSIMD4f& pb, float& mua,
                                    float& mub) {
    return ShortestBetweenLines<SumOrder::CONSISTENT>(p1, p2, p3, p4, pa, pb, mua, mub);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
