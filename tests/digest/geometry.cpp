// Mathematics: every operation and every query, over points in general position, on a coarse grid with its ties and
// degenerate figures, and with the numbers that arithmetic treats in their own way. The build whose lanes run one after
// another holds the registers to plain arithmetic; the others hold all compilers to the same bits.
#include "digest.h"

#include <algorithm>
#include <tests/math/figures.h>
#include <tests/math/pairqueries.h>
#include <tests/math/queries.h>
#include <tests/math/rayqueries.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/clip.h>
#include <zelk_core/math/geometry/cull.h>
#include <zelk_core/math/geometry/group4.h>
#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/geometry/plane.h>
#include <zelk_core/math/geometry/sweep.h>
#include <zelk_core/math/matrix.h>
#include <zelk_core/math/matrixsimd.h>
#include <zelk_core/math/vector.h>

namespace {

using Z4::MatrixSIMD44f;
using Z4::SumOrder;
using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;

constexpr int ROUNDS = 4000;

// Where input is drawn for several parameters, it is in braces, which fix the order. Results are added by reference, so
// what a call writes may stand behind it.

/// How numbers are drawn: in general position, on a coarse grid, or with edge numbers among them.
using Kind = float (*)(Input& input);
constexpr Kind KINDS[] = {[](Input& input) { return input.Number(10); }, [](Input& input) { return input.Coarse(); },
                          [](Input& input) { return input.Number(); }};

Kind DrawKind(Input& input) {
    return KINDS[input.Below(3)];
}

VectorSIMD4f Point(Input& input, Kind kind) {
    return VectorSIMD4f{kind(input), kind(input), kind(input), kind(input)};
}
VectorSIMD4f Point(Input& input) {
    return Point(input, DrawKind(input));
}

/// Some of them equal, and some figures parallel.
struct Points {
    explicit Points(Input& input) {
        const Kind kind = DrawKind(input);
        for (VectorSIMD4f& point : p) {
            point = Point(input, kind);
        }
        const unsigned figure = input.Below(8);
        if (figure == 0) {
            p[1] = p[input.Below(2) * 2];
        } else if (figure == 1) {
            p[3] = p[2] + (p[1] - p[0]);
        } else if (figure == 2) {
            p[4] = p[3] = p[2] + input.Number(1) * (p[1] - p[0]);
        }
    }

    VectorSIMD4f p[5];
};

/// The axes are a quaternion's, made without trigonometric functions; or those of no box at all.
GeometryOBB Box(Input& input) {
    const Kind kind = DrawKind(input);
    if (kind == KINDS[2]) {
        const VectorSIMD4f axes[3] = {Point(input, kind), Point(input, kind), Point(input, kind)};
        return GeometryOBB{Point(input, kind), axes, Point(input, kind)};
    }
    const double q[4] = {input.Number(1), input.Number(1), input.Number(1), 1.0};
    const MatrixSIMD44f axes = ZelkTest::Rotation(q);
    return GeometryOBB{Point(input, kind), &axes.Row(0), Abs(Point(input, kind))};
}

template <class M>
void AddMatrix(Digest& digest, const M& m) {
    for (unsigned i = 0; i < M::ROWS; ++i) {
        for (unsigned j = 0; j < M::COLUMNS; ++j) {
            digest.Add(m.Row(i)[j]);
        }
    }
}

void AddBox(Digest& digest, const GeometryOBB& box) {
    AddMatrix(digest, box.GetMatrix());
    digest.Add(box.GetCenter(), box.GetExtent());
}

template <class V>
V PlainVector(Input& input, Kind kind) {
    V result;
    for (unsigned i = 0; i < V::SIZE; ++i) {
        result[i] = static_cast<typename V::Element>(kind(input));
    }
    return result;
}

template <class V>
void AddPlainVectors(Digest& digest, Input& input) {
    const Kind kind = DrawKind(input);
    const V a = PlainVector<V>(input, kind);
    const V b = PlainVector<V>(input, kind);
    for (const V& result :
         {a + b, a - b, a * b, a / b, -a, Min(a, b), Max(a, b), Abs(a), Normalize(a), Lerp(a, b, b[0])}) {
        for (unsigned i = 0; i < V::SIZE; ++i) {
            digest.Add(result[i]);
        }
    }
    digest.Add(Dot(a, b), Length(a), AllLess(a, b));
    const Z4::VectorGeneric<std::int64_t, V::SIZE> whole(a);
    digest.Add(whole.Data(), sizeof whole);
}

template <class M>
void AddMatrices(Digest& digest, Input& input) {
    const Kind kind = DrawKind(input);
    Z4::Matrix44f full[2];
    for (Z4::Matrix44f& m : full) {
        for (unsigned i = 0; i < 4; ++i) {
            m.Row(i) = PlainVector<Z4::Vector4f>(input, kind);
        }
    }
    const M a = Z4::ConvertMatrix<M>(full[0]);
    const M b = Z4::ConvertMatrix<M>(full[1]);
    for (const M& result : {a + b, a - b, a * 3, a * b, Inverse(a), InverseAffine(b)}) {
        AddMatrix(digest, result);
    }
}

void AddTransformed(Digest& digest, Input& input) {
    const Kind kind = DrawKind(input);
    const VectorSIMD4f p = Point(input, kind);
    const MatrixSIMD44f m{Point(input, kind), Point(input, kind), Point(input, kind), Point(input, kind)};
    digest.Add(TransformPoint(p, m), TransformDirection(p, m), p * m, Determinant(m));
    AddMatrix(digest, Transpose(m));
}

void AddLanes(Digest& digest, Input& input) {
    const VectorSIMD4f a = Point(input);
    const VectorSIMD4f b = Point(input);
    const VectorSIMD4f c = Point(input);
    VectorSIMD4f set(a);
    set.Set(input.Below(6), 1.5F);
    VectorSIMD4f compound(a);
    compound += b;
    compound *= c;
    compound -= 2;
    compound /= b;
    digest.Add(a + b, a - b, a * b, a / b, 2.0F - a * 3.0F, -a, compound, set, Min(a, b), Max(a, b), Clamp(a, b, c),
               Abs(a), Sqrt(a), ReciprocalSqrt(a), Lerp(a, b, c));
    digest.Add(And(a, b), Or(a, b), AndNot(a, b), Less(a, b), LessEqual(a, b), Greater(a, b), GreaterEqual(a, b),
               Equal(a, b), Select(Less(a, b), a, c));
    digest.Add(Dot2(a, b), Dot3(a, b), Dot3<SumOrder::CONSISTENT>(a, b), Length3(a), Length3<SumOrder::CONSISTENT>(a),
               Normalize3(a), Normalize3<SumOrder::CONSISTENT>(b), Cross3(a, b));
    const VectorSIMD4f mask = LessEqual(a, b);
    digest.Add(AllTrue(mask), AllTrue2(mask), AllTrue3(mask), AnyTrue(mask), a == b, a == set);
}

void AddBounds(Digest& digest, Input& input) {
    const Points points(input);
    const VectorSIMD4f* const p = points.p;
    const GeometryAABB bounds(p, 5);
    const GeometryAABB box(p[0], p[1]);
    const GeometryAABB other(p[2], p[3]);
    GeometryAABB changed(box);
    changed.ExpandBy(p[4]);
    changed.SetSize(p[4].X(), static_cast<unsigned char>(input.Below(4)));
    for (const GeometryAABB& result : {bounds, box + other, changed, box.ToOOBox().ToAABox()}) {
        digest.Add(result.GetMin(), result.GetMax(), result.GetRadius());
    }
    digest.Add(box[input.Below(9)]);
    digest.Add(box.IsValid(), box.Contains(p[4]), box.ContainsPoint2D(p[4]), box.Contains(other), box.Contains2D(other),
               box.Intersect(other), box.IntersectAABB2D(other), box.Intersect(other, p[4]), box == changed);
}

void AddOriented(Digest& digest, Input& input) {
    GeometryOBB box = Box(input);
    const GeometryOBB other = Box(input);
    const VectorSIMD4f point = Point(input);
    const GeometryAABB bounds = other.ToAABox();
    digest.Add(bounds.GetMin(), bounds.GetMax(), box.Intersect(other), box.Intersect(bounds), box.Contains(point),
               box.Contains(box[input.Below(9)]), box == other);
    digest.Add(box.GetBoxVertex(input.Below(9)));
    box.Transform(other.GetMatrix());
    AddBox(digest, box);
}

template <std::size_t COUNT>
void AddQueries(Digest& digest, Input& input, const ZelkTest::Query (&queries)[COUNT]) {
    const Points five(input);
    const VectorSIMD4f p[] = {five.p[0], five.p[1], five.p[2], five.p[3], five.p[4], Point(input)};
    for (const ZelkTest::Query& query : queries) {
        const ZelkTest::Answer a = query(p);
        digest.Add(a.returned, a.t[0], a.t[1], a.t[2], a.t[3], a.points[0], a.points[1]);
    }
}

/// Whose matrix is any.
void AddCulled(Digest& digest, Input& input) {
    using Z4::Geometry::DepthRange;
    const Kind kind = DrawKind(input);
    const MatrixSIMD44f matrix{Point(input, kind), Point(input, kind), Point(input, kind), Point(input, kind)};
    const Z4::Geometry::GeometryFrustum frustum(matrix, static_cast<DepthRange>(input.Below(3)));
    VectorSIMD4f corners[8] = {};
    digest.Add(frustum.GetCorners(corners), corners[input.Below(8)]);
    digest.Add(frustum.GetPlane(input.Below(6)));
    GeometryAABB boxes[8];
    GeometryOBB oriented[4];
    Z4::Geometry::GeometryAABB4 groups[2];
    for (unsigned long i = 0; i < 8; ++i) {
        const Points points(input);
        boxes[i] = GeometryAABB(points.p, 2);
        groups[i / 4].Set(i % 4, boxes[i]);
        oriented[i / 2] = Box(input);
        corners[i] = points.p[2];
    }
    std::uint32_t visible[4] = {};
    Z4::Geometry::Containment where[8] = {};
    ClassifyAABBsByFrustum(frustum, boxes, 8, where);
    digest.Add(IntersectFrustumAABB(frustum, boxes[0]), IntersectFrustumOBB(frustum, oriented[0]),
               IntersectFrustumTriangle(frustum, corners[0], corners[1], corners[2]),
               IntersectFrustumFrustum(frustum, Z4::Geometry::GeometryFrustum(corners)));
    digest.Add(where, sizeof where);
    digest.Add(CullAABBsByFrustum(frustum, boxes, 8, visible), CullAABBsByFrustum(frustum, groups, 2, visible + 1),
               CullOBBsByFrustum(frustum, oriented, 4, visible + 2),
               CullSpheresByFrustum(frustum, corners, 8, visible + 3));
    digest.Add(visible, sizeof visible);
}

/// Of either namespace.
#define ZELK_ADD_PLANES(form)                                                                                   \
    [](Digest& into, const VectorSIMD4f* p, const GeometryAABB& box, const GeometryOBB& oriented,               \
       const VectorSIMD4f& t) {                                                                                 \
        VectorSIMD4f point = VectorSIMD4f::ZERO;                                                                \
        VectorSIMD4f direction = VectorSIMD4f::ZERO;                                                            \
        into.Add(form::IntersectPlanePlane(p[0], p[1], point, direction), t, point, direction);                 \
        into.Add(form::IntersectPlanes(p[2], p[3], p[4], point), point, form::DistancePointToPlane(p[0], p[1]), \
                 form::ClosestPointToPlane(p[0], p[1]));                                                        \
        for (const Z4::Geometry::Containment where :                                                            \
             {form::ClassifyAABBByPlane(box, p[3]), form::ClassifyOBBByPlane(oriented, p[3]),                   \
              form::ClassifySphereByPlane(p[0], p[1].X(), p[3]),                                                \
              form::ClassifyTriangleByPlane(p[0], p[1], p[2], p[3])}) {                                         \
            into.Add(static_cast<int>(where));                                                                  \
        }                                                                                                       \
    }

constexpr void (*ADD_PLANES[])(Digest& into, const VectorSIMD4f* p, const GeometryAABB& box,
                               const GeometryOBB& oriented, const VectorSIMD4f& t) = {
    ZELK_ADD_PLANES(Z4::Geometry), ZELK_ADD_PLANES(Z4::Geometry::Consistent)};

/// `FORM` is 0 for the fast one and 1 for the consistent one.
template <int FORM>
void AddIntersections(Digest& digest, Input& input) {
    namespace Fast = Z4::Geometry;
    namespace Consistent = Z4::Geometry::Consistent;
    const Points points(input);
    const VectorSIMD4f* const p = points.p;
    const VectorSIMD4f start = Point(input);
    // Often towards a corner of the figure.
    const VectorSIMD4f target = input.OnceIn(2) ? p[input.Below(3)] : Point(input);
    const Fast::GeometryRay ray(start, target - start, 10, input.Coarse());
    const auto addAll = [&](const auto& queries) {
        for (const auto& query : queries) {
            const ZelkTest::RayAnswer a = query[FORM](ray, p);
            digest.Add(a.isHit, a.written[0], a.written[1], a.written[2]);
        }
    };
    addAll(ZelkTest::RAY_QUERIES);
    addAll(ZelkTest::SEGMENT_QUERIES);
    addAll(ZelkTest::POINT_QUERIES);
    const VectorSIMD4f six[] = {p[0], p[1], p[2], p[3], p[4], start};
    for (const ZelkTest::PairQuery& query : ZelkTest::PAIR_QUERIES) {
        digest.Add(query.calls[FORM](six));
    }
    const GeometryAABB box(Min(p[0], p[1]), Max(p[0], p[1]));
    const GeometryOBB oriented = Box(input);
    VectorSIMD4f t;
    Fast::GeometryTriangle4 triangles;
    for (unsigned i = 0; i < 4; ++i) {
        triangles.Set(i, p[i], p[(i + 1) % 5], p[(i + 2) % 5]);
    }
    if constexpr (FORM == 0) {
        const GeometryAABB boxes[] = {box, GeometryAABB(p[2], p[3]), box, GeometryAABB(p, 5)};
        digest.Add(IntersectRayAABB4(ray, Fast::GeometryAABB4(boxes), t), t);
        digest.Add(Fast::IntersectRayTriangle4(ray, triangles, t));
        ADD_PLANES[0](digest, p, box, oriented, t);
        VectorSIMD4f plane = p[4];
        digest.Add(Fast::MakePlane(plane, p[0], p[1], p[2]), plane);
        digest.Add(Fast::MakePlane(plane, p, 5), plane, Fast::MakePlane(p[0], p[1]));
        digest.Add(Fast::TransformPlane(plane, oriented.GetMatrix()));
        const Z4::Vector2f q[] = {ToVector2f(start), ToVector2f(target), ToVector2f(p[0]), ToVector2f(p[1])};
        float parameters[2] = {};
        digest.Add(Fast::IntersectSegmentSegment2D(q[0], q[1], q[2], q[3], parameters[0], parameters[1]), parameters[0],
                   parameters[1], Fast::Orientation2D(q[0], q[2], q[3]),
                   Fast::IsPointInTriangle2D(q[0], q[1], q[2], q[3]), Fast::IsPointInPolygon2D(q[0], p, 5),
                   Fast::IsPointInConvexPolygon2D(q[0], p, 5));
        AddCulled(digest, input);
    } else {
        digest.Add(Consistent::IntersectRayTriangle4(ray, triangles, t));
        ADD_PLANES[1](digest, p, box, oriented, t);
    }
}

/// Of either namespace.
#define ZELK_ADD_CLIPPED(form)                                                                                  \
    [](Digest& into, Input& input) {                                                                            \
        const Points polygon(input);                                                                            \
        const Points planes(input);                                                                             \
        VectorSIMD4f clipped[8];                                                                                \
        VectorSIMD4f scratch[8];                                                                                \
        const auto add = [&](unsigned long count) {                                                             \
            into.Add(count);                                                                                    \
            std::for_each(clipped, clipped + count, [&into](const VectorSIMD4f& corner) { into.Add(corner); }); \
        };                                                                                                      \
        add(form::ClipPolygon(polygon.p, 3, planes.p[0], clipped));                                             \
        add(form::ClipPolygon(polygon.p, 5, planes.p[0], clipped));                                             \
        add(form::ClipPolygonByConvex(polygon.p, 3, planes.p, 5, clipped, scratch));                            \
        VectorSIMD4f a = polygon.p[0];                                                                          \
        VectorSIMD4f b = polygon.p[1];                                                                          \
        into.Add(form::ClipSegment(a, b, planes.p, 3), a, b);                                                   \
    }

/// Of either namespace.
#define ZELK_ADD_SWEPT(form)                                                                                        \
    [](Digest& into, Input& input) {                                                                                \
        const Points points(input);                                                                                 \
        const VectorSIMD4f* const p = points.p;                                                                     \
        const float radius = Abs(p[4]).W();                                                                         \
        const GeometryAABB box(Min(p[1], p[2]), Max(p[1], p[2]));                                                   \
        const GeometryAABB other(Min(p[3], p[4]), Max(p[3], p[4]));                                                 \
        const VectorSIMD4f move = p[3] - p[0];                                                                      \
        float t = 7;                                                                                                \
        VectorSIMD4f written(7, 7, 7, 7);                                                                           \
        into.Add(form::IntersectSweptSpherePlane(p[0], radius, move, p[1], t), t);                                  \
        into.Add(form::IntersectSweptSphereSphere(p[0], radius, move, p[1], p[2].W(), t), t);                       \
        into.Add(form::IntersectSweptSphereTriangle(p[0], radius, move, p[1], p[2], p[4], t, written), t, written); \
        into.Add(form::IntersectSweptSphereAABB(p[0], radius, move, box, t, written), t, written);                  \
        into.Add(form::IntersectSweptSphereOBB(p[0], radius, move, Box(input), t, written), t, written);            \
        into.Add(form::IntersectSweptAABBAABB(box, move, other, t, written), t, written);                           \
    }

void AddMath(Digest& digest, Input& input) {
    AddPlainVectors<Z4::Vector3f>(digest, input);
    AddPlainVectors<Z4::Vector4d>(digest, input);
    AddMatrices<Z4::Matrix33f>(digest, input);
    AddMatrices<Z4::Matrix44d>(digest, input);
    AddMatrices<Z4::MatrixSIMD34f>(digest, input);
    AddMatrices<MatrixSIMD44f>(digest, input);
    AddTransformed(digest, input);
    AddLanes(digest, input);
}

/// Without the numbers whose sine is the platform's own matter.
void AddRotations(Digest& digest, Input& input) {
    const VectorSIMD4f axis = Point(input, KINDS[input.Below(2)]);
    AddMatrix(digest, Z4::MakeRotation<Z4::MatrixSIMD34f>(axis, static_cast<double>(input.Number(4))));
    GeometryOBB box = Box(input);
    box.Rotate(axis, input.Number(4));
    AddBox(digest, box);
    AddBox(digest, GeometryOBB{axis, axis, axis});
}

void AddGeometry(Digest& digest, Input& input) {
    AddBounds(digest, input);
    AddOriented(digest, input);
    AddQueries(digest, input, ZelkTest::Queries::FAST);
}

void AddConsistentGeometry(Digest& digest, Input& input) {
    GeometryOBB box = Box(input);
    const GeometryOBB other = Box(input);
    digest.Add(box.ContainsWithEpsilonConsistent(Point(input), 0.125F));
    digest.Add(box.GetBoxVertexConsistent(input.Below(9)));
    digest.Add(box.GetXYAxesCosAngle());
    box.TransformConsistent(other.GetMatrix());
    AddBox(digest, box);
    AddQueries(digest, input, ZelkTest::Queries::CONSISTENT);
}

constexpr Room MATH[] = {{"math", AddMath, ROUNDS},
                         {"rotations", AddRotations, ROUNDS},
                         {"geometry", AddGeometry, ROUNDS},
                         {"consistent-geometry", AddConsistentGeometry, ROUNDS},
                         {"intersections", AddIntersections<0>, ROUNDS},
                         {"consistent-intersections", AddIntersections<1>, ROUNDS},
                         {"clipping", ZELK_ADD_CLIPPED(Z4::Geometry), ROUNDS},
                         {"consistent-clipping", ZELK_ADD_CLIPPED(Z4::Geometry::Consistent), ROUNDS},
                         {"sweeps", ZELK_ADD_SWEPT(Z4::Geometry), ROUNDS},
                         {"consistent-sweeps", ZELK_ADD_SWEPT(Z4::Geometry::Consistent), ROUNDS}};

} // namespace

std::span<const Room> MathRooms() {
    return MATH;
}
