#include "featuredistance.h"

#include <zelk_core/math/geometry/distance.h>
#include <zelk_core/math/geometry/shapedistance.h>

namespace Z4 {

namespace {

using Private::FacePoint;
using Private::FindNearestOnPair;
using Private::FourVectors;
using Private::NearestOnPair;
using Private::Saturate;
using Private::Straight;

using V = VectorSIMD4f;

/// The edges around a face, one to a lane, as ways through its coordinates: from (u, v) on by (uStep, vStep).
struct Outline {
    Outline Turned() const { return {Next(u), Next(v), Next(uStep), Next(vStep)}; }

    V u, v, uStep, vStep;

private:
    static V Next(const V& lanes) { return V(Lanes::Shuffle<1, 2, 3, 0>(lanes.Native())); }
};

/// A triangle, of which the first edge stands twice in the outline.
struct Triangle {
    static Outline Edges() { return {V(0, 1, 0, 0), V(0, 0, 1, 0), V(1, -1, 0, 1), V(0, 1, -1, 0)}; }

    template <SumOrder ORDER>
    static FacePoint Nearest(const FourVectors& p, const FourVectors& edge0, const FourVectors& edge1,
                             const FourVectors& normal) {
        return Private::FindFootInTriangle<ORDER>(p, edge0, edge1, normal);
    }
};

struct Rectangle {
    static Outline Edges() { return {V(0, 1, 1, 0), V(0, 0, 1, 1), V(1, 0, -1, 0), V(0, 1, 0, -1)}; }

    template <SumOrder ORDER>
    static FacePoint Nearest(const FourVectors& p, const FourVectors& edge0, const FourVectors& edge1,
                             const FourVectors&) {
        return Private::FindNearestInRectangle<ORDER>(p, edge0, edge1);
    }
};

/// A face relative to its corner, repeated in all lanes.
template <class Shape>
struct Face {
    Face(const V& e0, const V& e1) : edge0(e0), edge1(e1), normal(Cross3(e0, e1)) {}

    FourVectors At(const V& u, const V& v) const { return u * edge0 + v * edge1; }
    /// A point of the face near `p`. It is the nearest one where that is neither at an edge nor at a corner.
    template <SumOrder ORDER>
    FacePoint Nearest(const FourVectors& p) const {
        return Shape::template Nearest<ORDER>(p, edge0, edge1, normal);
    }

    FourVectors edge0, edge1, normal;
};

/// Four pairs of points, one of each shape, in the shapes' coordinates.
struct Pairs {
    /// Each becomes the nearer of the two. A distance that is NaN stays so: the first pairs take all arguments into
    /// account, in every lane.
    void Improve(const Pairs& other) {
        const V nearer = Less(other.distanceSqr, distanceSqr);
        for (unsigned i = 0; i < 2; ++i) {
            first[i] = Select(nearer, other.first[i], first[i]);
            second[i] = Select(nearer, other.second[i], second[i]);
        }
        distanceSqr = Select(nearer, other.distanceSqr, distanceSqr);
    }
    Pairs Swapped() const { return {{second[0], second[1]}, {first[0], first[1]}, distanceSqr}; }
    /// The nearest of the four.
    unsigned FindLeast() const {
        float lanes[4];
        distanceSqr.Store(lanes);
        unsigned least = 0;
        for (unsigned i = 1; i < 4; ++i) {
            least = lanes[i] < lanes[least] ? i : least;
        }
        return least % 4; // which GCC 12 does not see
    }

    V first[2];
    V second[2];
    V distanceSqr;
};

/// The crossing, the ends and the edges; the line's or segment's parameter is `first`.
template <SumOrder ORDER, Straight STRAIGHT, class Shape>
Pairs PairStraightWithFace(const V& a, const V& b, const V& corner, const V& edge0, const V& edge1) {
    const Face<Shape> face(edge0, edge1);
    const FourVectors r(a - corner);
    const FourVectors d(b - a);
    const V crossing = Private::OnShape<STRAIGHT>(Private::FindPlaneCrossing<ORDER>(r, d, face.normal));
    const V start = STRAIGHT == Straight::SEGMENT ? Select(V(Lanes::MaskOfLane(0)), crossing, V(0, 0, 1, 0)) : crossing;
    const FacePoint q = face.template Nearest<ORDER>(r + start * d);
    // Not from the crossing itself: where the line grazes the face, the errors of its coordinates lead away from the
    // line, those of its parameter do not.
    const FourVectors toFace = face.At(q.u, q.v) - r;
    const V t = Private::OnShape<STRAIGHT>(
        Private::DivideBySquare(Private::Dot3<ORDER>(d, toFace), Private::LengthSqr3<ORDER>(d)));
    Pairs nearest = {{t, t}, {q.u, q.v}, Private::LengthSqr3<ORDER>(toFace - t * d)};

    const Outline edges = Shape::Edges();
    const NearestOnPair along =
        FindNearestOnPair<ORDER, STRAIGHT>(r - face.At(edges.u, edges.v), d, face.At(edges.uStep, edges.vStep));
    nearest.Improve(
        {{along.s, along.s}, {edges.u + along.t * edges.uStep, edges.v + along.t * edges.vStep}, along.distanceSqr});
    return nearest;
}

template <SumOrder ORDER, Straight STRAIGHT, class Shape>
float StraightToFaceSqr(const V& a, const V& b, const V& corner, const V& edge0, const V& edge1, float& t, float& u,
                        float& v) {
    const Pairs pairs = PairStraightWithFace<ORDER, STRAIGHT, Shape>(a, b, corner, edge0, edge1);
    const unsigned nearest = pairs.FindLeast();
    t = pairs.first[0][nearest];
    u = pairs.second[0][nearest];
    v = pairs.second[1][nearest];
    return pairs.distanceSqr[nearest];
}

template <SumOrder ORDER>
float LineToTriangleSqr(const V& a, const V& b, const V& t0, const V& t1, const V& t2, float* params) {
    float unwanted[3];
    float* const p = params != nullptr ? params : unwanted;
    return StraightToFaceSqr<ORDER, Straight::LINE, Triangle>(a, b, t0, t1 - t0, t2 - t0, p[0], p[1], p[2]);
}

/// Of each edge of the first face, where it crosses the plane of the second, and the corner where it starts; with the
/// points of the second near these. `r` leads from the second's corner to the first's.
template <SumOrder ORDER, class First, class Second>
Pairs PairEdgesWithFace(const Face<First>& first, const Face<Second>& second, const FourVectors& r) {
    const Outline edges = First::Edges();
    const FourVectors start = r + first.At(edges.u, edges.v);
    const FourVectors edge = first.At(edges.uStep, edges.vStep);
    const auto pairsAt = [&](const V& t) {
        const FourVectors p = start + t * edge;
        const FacePoint q = second.template Nearest<ORDER>(p);
        return Pairs{{edges.u + t * edges.uStep, edges.v + t * edges.vStep},
                     {q.u, q.v},
                     Private::LengthSqr3<ORDER>(p - second.At(q.u, q.v))};
    };
    Pairs nearest = pairsAt(Saturate(Private::FindPlaneCrossing<ORDER>(start, edge, second.normal)));
    nearest.Improve(pairsAt(V::Broadcast(0.0F)));
    return nearest;
}

template <SumOrder ORDER, class First, class Second>
float FaceToFaceSqr(const V& corner0, const V& e00, const V& e01, const V& corner1, const V& e10, const V& e11,
                    float* params) {
    const Face<First> first(e00, e01);
    const Face<Second> second(e10, e11);
    const FourVectors r(corner0 - corner1);
    Pairs nearest = PairEdgesWithFace<ORDER>(first, second, r);
    nearest.Improve(PairEdgesWithFace<ORDER>(second, first, FourVectors(corner1 - corner0)).Swapped());

    // In four turns, each lane of one outline meets each of the other.
    const Outline edges0 = First::Edges();
    const FourVectors start = r + first.At(edges0.u, edges0.v);
    const FourVectors along = first.At(edges0.uStep, edges0.vStep);
    Outline edges1 = Second::Edges();
    for (unsigned turn = 0; turn < 4; ++turn) {
        const NearestOnPair pair = FindNearestOnPair<ORDER, Straight::SEGMENT>(
            start - second.At(edges1.u, edges1.v), along, second.At(edges1.uStep, edges1.vStep));
        nearest.Improve({{edges0.u + pair.s * edges0.uStep, edges0.v + pair.s * edges0.vStep},
                         {edges1.u + pair.t * edges1.uStep, edges1.v + pair.t * edges1.vStep},
                         pair.distanceSqr});
        edges1 = edges1.Turned();
    }

    const unsigned least = nearest.FindLeast();
    if (params != nullptr) {
        for (unsigned i = 0; i < 2; ++i) {
            params[i] = nearest.first[i][least];
            params[2 + i] = nearest.second[i][least];
        }
    }
    return nearest.distanceSqr[least];
}

template <SumOrder ORDER>
float PointToRectangleSqr(const V& p, const V& corner, const V& edge0, const V& edge1, float& u, float& v) {
    const V r = p - corner;
    const FacePoint nearest = Private::FindNearestInRectangle<ORDER>(r, edge0, edge1);
    u = nearest.u.X();
    v = nearest.v.X();
    return LengthSqr3<ORDER>((r - nearest.u * edge0) - nearest.v * edge1).X();
}

} // namespace

namespace Geometry {

float DistanceSegmentToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& corner,
                                    const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t, float& u,
                                    float& v) {
    return StraightToFaceSqr<SumOrder::FAST, Straight::SEGMENT, Rectangle>(a, b, corner, edge0, edge1, t, u, v);
}

float DistancePointToRectangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                  const VectorSIMD4f& edge1, float& u, float& v) {
    return PointToRectangleSqr<SumOrder::FAST>(p, corner, edge0, edge1, u, v);
}

float DistancePointToRectangle2DSqr(Vector2f p, Vector2f corner, Vector2f edge0, Vector2f edge1) {
    const auto inPlane = [](const Vector2f& v) { return VectorSIMD4f(v.X(), v.Y(), 0, 0); };
    float u = 0;
    float v = 0;
    return PointToRectangleSqr<SumOrder::CONSISTENT>(inPlane(p), inPlane(corner), inPlane(edge0), inPlane(edge1), u, v);
}

float DistanceLineToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& t0,
                                const VectorSIMD4f& t1, const VectorSIMD4f& t2, float* params) {
    return LineToTriangleSqr<SumOrder::FAST>(a, b, t0, t1, t2, params);
}

float DistanceLineToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& corner,
                                 const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t, float& u, float& v) {
    return StraightToFaceSqr<SumOrder::FAST, Straight::LINE, Rectangle>(a, b, corner, edge0, edge1, t, u, v);
}

float DistanceSegmentToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& t0,
                                   const VectorSIMD4f& t1, const VectorSIMD4f& t2, float& t, float& u, float& v) {
    return StraightToFaceSqr<SumOrder::FAST, Straight::SEGMENT, Triangle>(a, b, t0, t1 - t0, t2 - t0, t, u, v);
}

float DistanceTriangleToTriangleSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& a2,
                                    const VectorSIMD4f& b0, const VectorSIMD4f& b1, const VectorSIMD4f& b2,
                                    float* params) {
    return FaceToFaceSqr<SumOrder::FAST, Triangle, Triangle>(a0, a1 - a0, a2 - a0, b0, b1 - b0, b2 - b0, params);
}

float DistanceTriangleToRectangleSqr(const VectorSIMD4f& t0, const VectorSIMD4f& t1, const VectorSIMD4f& t2,
                                     const VectorSIMD4f& corner, const VectorSIMD4f& edge0, const VectorSIMD4f& edge1,
                                     float* params) {
    return FaceToFaceSqr<SumOrder::FAST, Triangle, Rectangle>(t0, t1 - t0, t2 - t0, corner, edge0, edge1, params);
}

float DistanceRectangleToRectangleSqr(const VectorSIMD4f& corner0, const VectorSIMD4f& edge00,
                                      const VectorSIMD4f& edge01, const VectorSIMD4f& corner1,
                                      const VectorSIMD4f& edge10, const VectorSIMD4f& edge11, float* params) {
    return FaceToFaceSqr<SumOrder::FAST, Rectangle, Rectangle>(corner0, edge00, edge01, corner1, edge10, edge11,
                                                               params);
}

namespace Consistent {

float DistanceSegmentToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& corner,
                                    const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t, float& u,
                                    float& v) {
    return StraightToFaceSqr<SumOrder::CONSISTENT, Straight::SEGMENT, Rectangle>(a, b, corner, edge0, edge1, t, u, v);
}

float DistancePointToRectangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                  const VectorSIMD4f& edge1, float& u, float& v) {
    return PointToRectangleSqr<SumOrder::CONSISTENT>(p, corner, edge0, edge1, u, v);
}

float DistanceLineToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& t0,
                                const VectorSIMD4f& t1, const VectorSIMD4f& t2, float* params) {
    return LineToTriangleSqr<SumOrder::CONSISTENT>(a, b, t0, t1, t2, params);
}

float DistanceLineToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& corner,
                                 const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t, float& u, float& v) {
    return StraightToFaceSqr<SumOrder::CONSISTENT, Straight::LINE, Rectangle>(a, b, corner, edge0, edge1, t, u, v);
}

float DistanceSegmentToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& t0,
                                   const VectorSIMD4f& t1, const VectorSIMD4f& t2, float& t, float& u, float& v) {
    return StraightToFaceSqr<SumOrder::CONSISTENT, Straight::SEGMENT, Triangle>(a, b, t0, t1 - t0, t2 - t0, t, u, v);
}

float DistanceTriangleToTriangleSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& a2,
                                    const VectorSIMD4f& b0, const VectorSIMD4f& b1, const VectorSIMD4f& b2,
                                    float* params) {
    return FaceToFaceSqr<SumOrder::CONSISTENT, Triangle, Triangle>(a0, a1 - a0, a2 - a0, b0, b1 - b0, b2 - b0, params);
}

float DistanceTriangleToRectangleSqr(const VectorSIMD4f& t0, const VectorSIMD4f& t1, const VectorSIMD4f& t2,
                                     const VectorSIMD4f& corner, const VectorSIMD4f& edge0, const VectorSIMD4f& edge1,
                                     float* params) {
    return FaceToFaceSqr<SumOrder::CONSISTENT, Triangle, Rectangle>(t0, t1 - t0, t2 - t0, corner, edge0, edge1, params);
}

float DistanceRectangleToRectangleSqr(const VectorSIMD4f& corner0, const VectorSIMD4f& edge00,
                                      const VectorSIMD4f& edge01, const VectorSIMD4f& corner1,
                                      const VectorSIMD4f& edge10, const VectorSIMD4f& edge11, float* params) {
    return FaceToFaceSqr<SumOrder::CONSISTENT, Rectangle, Rectangle>(corner0, edge00, edge01, corner1, edge10, edge11,
                                                                     params);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
