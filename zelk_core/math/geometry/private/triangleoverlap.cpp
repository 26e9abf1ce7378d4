#include <zelk_core/math/geometry/intersectpair.h>

namespace Z4 {

namespace {

using Private::Columns;
using Private::Yzx;
using Private::Zxy;

using V = VectorSIMD4f;

V Zero() {
    return V::Broadcast(0.0F);
}

/// The least and the greatest of each lane.
struct Range {
    Range(const V& a, const V& b) : low(Min(a, b)), high(Max(a, b)) {}
    Range(const V& a, const V& b, const V& c) : low(Min(a, Min(b, c))), high(Max(a, Max(b, c))) {}

    /// A mask of the lanes where the ranges have a number in common.
    VectorSIMD4f Meets(const Range& other) const { return And(LessEqual(low, other.high), LessEqual(other.low, high)); }

    V low;
    V high;
};

/// Of v, the dot products with the three columns' vectors, in the lanes x, y and z.
template <SumOrder ORDER>
V Along(const V& v, const Columns& columns) {
    return Private::Sum<ORDER>(v.BroadcastX() * columns.x, v.BroadcastY() * columns.y, v.BroadcastZ() * columns.z);
}

/// Whether a triangle and the box about 0 with the half-size `h` have shadows in common on the three axes across an
/// edge of the triangle and one of the box. The shadow of p on the axis e_k x edge is the lane k of edge x p, which is
/// the same for both ends of the edge. Its errors are in proportion to the axis: none is too short.
V MeetsAcross(const V& edge, const V& end, const V& corner, const V& h) {
    const Range shadow(Cross3(edge, end), Cross3(edge, corner));
    const V size = Abs(edge);
    const V reach = Yzx(h) * Zxy(size) + Zxy(h) * Yzx(size);
    return And(LessEqual(shadow.low, reach), LessEqual(-reach, shadow.high));
}

/// `low` to `high` are the sides of the box.
template <SumOrder ORDER>
bool TriangleMeetsBox(const V& a, const V& b, const V& c, const V& low, const V& high) {
    // The part of the box within the triangle's bounds decides as well and has no sides far away.
    const Range bounds(a, b, c);
    const V from = Max(low, bounds.low);
    const V to = Min(high, bounds.high);
    if (!AllTrue3(And(LessEqual(from, to), LessEqual(low, high)))) {
        return false;
    }
    // The centre is rounded, so one side is farther from it than the other. Half the way between them would leave out
    // half of a part that is only a rounding thick.
    const V center = from + (to - from) * 0.5F;
    const V h = Max(center - from, to - center);
    const V p = a - center;
    const V q = b - center;
    const V r = c - center;
    const V pq = q - p;
    const V qr = r - q;
    const V normal = Cross3(pq, qr);
    const V heights = Along<ORDER>(normal, Columns(p, q, r));
    const V reach = Dot3<ORDER>(Abs(normal), h);
    if (AllTrue3(Less(reach, heights)) || AllTrue3(Less(heights, -reach))) {
        return false;
    }
    return AllTrue3(And(And(MeetsAcross(pq, p, r, h), MeetsAcross(qr, q, p, h)), MeetsAcross(p - r, r, q, h)));
}

/// The greatest of x, y and z, in all lanes.
V Greatest3(const V& v) {
    return Max(v.BroadcastX(), Max(v.BroadcastY(), v.BroadcastZ()));
}

/// Whether the shadows of two triangles meet across an edge of the first and each axis of space: where both lie in a
/// plane, across the edge within that plane.
bool MeetsAcrossEdge(const V& from, const V& to, const V& corner, const V& b0, const V& b1, const V& b2) {
    const V edge = to - from;
    const Range own(Zero(), Cross3(edge, corner - from));
    return AllTrue3(own.Meets({Cross3(edge, b0 - from), Cross3(edge, b1 - from), Cross3(edge, b2 - from)}));
}

/// The same across all edges.
bool MeetsInPlane(const V (&a)[3], const V (&b)[3]) {
    for (unsigned i = 0; i < 3; ++i) {
        const unsigned next = (i + 1) % 3;
        const unsigned last = (i + 2) % 3;
        if (!MeetsAcrossEdge(a[i], a[next], a[last], b[0], b[1], b[2]) ||
            !MeetsAcrossEdge(b[i], b[next], b[last], a[0], a[1], a[2])) {
            return false;
        }
    }
    return true;
}

// Everything is relative to the corner a0. The shadow of the first triangle on the axis e x f, across an edge of each,
// goes from that of e to that of the opposite corner, by -n f, where n is the normal of the first; that of the second
// from s to s + m e, where m is its normal. s is (b - a) (e x f) = e (f x b) - f (a x e). The lanes are the edges f.
template <SumOrder ORDER>
bool TriangleMeetsTriangle(const V (&a)[3], const V (&b)[3]) {
    if (!AllTrue3(Range(a[0], a[1], a[2]).Meets({b[0], b[1], b[2]}))) {
        return false;
    }
    // What rounding may take from a product of an edge of one, an edge of the other, and a way between them, which is
    // no longer than both together.
    const V e0 = a[1] - a[0];
    const V e2 = a[2] - a[0];
    const V f0 = b[1] - b[0];
    const V f1 = b[2] - b[1];
    const V sizeA = Greatest3(Max(Abs(e0), Abs(e2)));
    const V sizeB = Greatest3(Max(Abs(f0), Abs(f1)));
    const V guard = (sizeA + sizeB) * 1e-6F;

    const Columns corners(b[0] - a[0], b[1] - a[0], b[2] - a[0]);
    const V n = Cross3(e0, e2);
    const V heightsB = Along<ORDER>(n, corners);
    const V guardN = guard * (sizeA * sizeA);
    if (AllTrue3(Less(guardN, heightsB)) || AllTrue3(Less(heightsB, -guardN))) {
        return false;
    }
    const V m = Cross3(f0, f1);
    const V heightsA = Along<ORDER>(m, Columns(a[0] - b[0], a[1] - b[0], a[2] - b[0]));
    const V guardM = guard * (sizeB * sizeB);
    if (AllTrue3(Less(guardM, heightsA)) || AllTrue3(Less(heightsA, -guardM))) {
        return false;
    }

    const V fx = Yzx(corners.x) - corners.x;
    const V fy = Yzx(corners.y) - corners.y;
    const V fz = Yzx(corners.z) - corners.z;
    const V momentX = fy * corners.z - fz * corners.y;
    const V momentY = fz * corners.x - fx * corners.z;
    const V momentZ = fx * corners.y - fy * corners.x;
    const auto moments = [&](const V& e) {
        return Private::Sum<ORDER>(e.BroadcastX() * momentX, e.BroadcastY() * momentY, e.BroadcastZ() * momentZ);
    };
    const V toCorner = heightsB - Yzx(heightsB); // -n f
    const V across = guard * (sizeA * sizeB);
    const V low = Min(toCorner, Zero()) - across;
    const V high = Max(toCorner, Zero()) + across;
    const V stepsA = Yzx(heightsA) - heightsA; // m e
    const V stepLow = Min(stepsA, Zero());
    const V stepHigh = Max(stepsA, Zero());
    const V s0 = moments(e0);
    const V s1 = moments(e2 - e0) + toCorner;
    const V s2 = -moments(e2);
    const V meets0 = And(LessEqual(s0 + stepLow.BroadcastX(), high), LessEqual(low, s0 + stepHigh.BroadcastX()));
    const V meets1 = And(LessEqual(s1 + stepLow.BroadcastY(), high), LessEqual(low, s1 + stepHigh.BroadcastY()));
    const V meets2 = And(LessEqual(s2 + stepLow.BroadcastZ(), high), LessEqual(low, s2 + stepHigh.BroadcastZ()));
    if (!AllTrue3(And(And(meets0, meets1), meets2))) {
        return false;
    }
    const bool isInPlane = AllTrue3(LessEqual(Abs(heightsA), guardM)) || AllTrue3(LessEqual(Abs(heightsB), guardN));
    return !isInPlane || MeetsInPlane(a, b);
}

/// The part of a triangle that lies in a plane, from the end that comes first along a way to the last.
struct Chord {
    /// `heights` are those of the corners over the plane. If none is on the other side, the nearest is the chord: it
    /// touches the plane, but for rounding.
    template <SumOrder ORDER>
    static Chord Find(const V (&corners)[3], const V& heights, const V& origin, const V& way) {
        float h[4];
        heights.Store(h);
        Chord chord;
        const auto add = [&](const V& point) {
            const float at = Dot3<ORDER>(point - origin, way).X();
            chord.first = at < chord.from ? point : chord.first;
            chord.from = at < chord.from ? at : chord.from;
            chord.last = at > chord.to ? point : chord.last;
            chord.to = at > chord.to ? at : chord.to;
        };
        unsigned nearest = 0;
        for (unsigned i = 0; i < 3; ++i) {
            const unsigned next = (i + 1) % 3;
            if ((h[i] <= 0 && h[next] >= 0) || (h[i] >= 0 && h[next] <= 0)) {
                const float t = h[i] != h[next] ? h[i] / (h[i] - h[next]) : 0;
                add(corners[i] + t * (corners[next] - corners[i]));
            }
            nearest = h[i] * h[i] < h[nearest] * h[nearest] ? i : nearest;
        }
        if (chord.from > chord.to) {
            add(corners[nearest]);
        }
        return chord;
    }

    V first, last;
    float from = std::numeric_limits<float>::infinity();
    float to = -std::numeric_limits<float>::infinity();
};

template <SumOrder ORDER>
bool FindCommonSegment(const V (&a)[3], const V (&b)[3], V& p, V& q) {
    if (!TriangleMeetsTriangle<ORDER>(a, b)) {
        return false;
    }
    const V n = Cross3(a[1] - a[0], a[2] - a[0]);
    const V m = Cross3(b[1] - b[0], b[2] - b[0]);
    const V way = Cross3(n, m);
    // At an angle below 1e-5, the line that the planes share is nowhere in particular.
    if (!AllTrue(Less(1e-10F * (LengthSqr3<ORDER>(n) * LengthSqr3<ORDER>(m)), LengthSqr3<ORDER>(way)))) {
        float at[4];
        static_cast<void>(Geometry::Consistent::DistanceTriangleToTriangleSqr(a[0], a[1], a[2], b[0], b[1], b[2], at));
        p = a[0] + at[0] * (a[1] - a[0]) + at[1] * (a[2] - a[0]);
        q = p;
        return true;
    }
    const auto chord = [&](const V(&corners)[3], const V& normal, const V& base) {
        const V heights = Along<ORDER>(normal, Columns(corners[0] - base, corners[1] - base, corners[2] - base));
        return Chord::Find<ORDER>(corners, heights, a[0], way);
    };
    const Chord ofA = chord(a, m, b[0]);
    const Chord ofB = chord(b, n, a[0]);
    p = ofA.from > ofB.from ? ofA.first : ofB.first;
    q = ofA.to < ofB.to ? ofA.last : ofB.last;
    return true;
}

template <SumOrder ORDER>
bool TriangleMeetsOBB(const V& a, const V& b, const V& c, const Geometry::GeometryOBB& box) {
    const auto inFrame = [&box](const V& p) {
        return Private::AlongAxes<ORDER>(box.GetAxisDir(), p - box.GetCenter());
    };
    return TriangleMeetsBox<ORDER>(inFrame(a), inFrame(b), inFrame(c), -box.GetExtent(), box.GetExtent());
}

} // namespace

namespace Geometry {

bool IntersectTriangleAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                           const GeometryAABB& box) {
    return TriangleMeetsBox<SumOrder::FAST>(a, b, c, box.GetMin(), box.GetMax());
}

bool IntersectTriangleOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c, const GeometryOBB& box) {
    return TriangleMeetsOBB<SumOrder::FAST>(a, b, c, box);
}

bool IntersectTriangleTriangle(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& a2,
                               const VectorSIMD4f& b0, const VectorSIMD4f& b1, const VectorSIMD4f& b2) {
    return TriangleMeetsTriangle<SumOrder::FAST>({a0, a1, a2}, {b0, b1, b2});
}

bool IntersectTriangleTriangle(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& a2,
                               const VectorSIMD4f& b0, const VectorSIMD4f& b1, const VectorSIMD4f& b2, VectorSIMD4f& p,
                               VectorSIMD4f& q) {
    return FindCommonSegment<SumOrder::FAST>({a0, a1, a2}, {b0, b1, b2}, p, q);
}

namespace Consistent {

bool IntersectTriangleAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                           const GeometryAABB& box) {
    return TriangleMeetsBox<SumOrder::CONSISTENT>(a, b, c, box.GetMin(), box.GetMax());
}

bool IntersectTriangleOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c, const GeometryOBB& box) {
    return TriangleMeetsOBB<SumOrder::CONSISTENT>(a, b, c, box);
}

bool IntersectTriangleTriangle(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& a2,
                               const VectorSIMD4f& b0, const VectorSIMD4f& b1, const VectorSIMD4f& b2) {
    return TriangleMeetsTriangle<SumOrder::CONSISTENT>({a0, a1, a2}, {b0, b1, b2});
}

bool IntersectTriangleTriangle(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& a2,
                               const VectorSIMD4f& b0, const VectorSIMD4f& b1, const VectorSIMD4f& b2, VectorSIMD4f& p,
                               VectorSIMD4f& q) {
    return FindCommonSegment<SumOrder::CONSISTENT>({a0, a1, a2}, {b0, b1, b2}, p, q);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
