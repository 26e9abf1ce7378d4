#include "digest.h"

#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/distance.h>
#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/matrix.h>
#include <zelk_core/math/matrixsimd.h>
#include <zelk_core/math/vector.h>

namespace {

using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;

constexpr int ROUNDS = 2000;

// Where input is drawn for several parameters, it is in braces, which fix the order.

/// Points in general position, and as often such that lie on a coarse grid, with ties and degenerate figures.
VectorSIMD4f Point(Input& input) {
    if (input.Below(2) != 0) {
        return VectorSIMD4f{input.Coarse(), input.Coarse(), input.Coarse(), 0};
    }
    return VectorSIMD4f{input.Number(10), input.Number(10), input.Number(10), 0};
}

/// A box whose axes are a quaternion's, made without trigonometric functions.
GeometryOBB Box(Input& input) {
    const double q[4] = {input.Number(1), input.Number(1), input.Number(1), 1.0};
    const double scale = 2.0 / (q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    VectorSIMD4f axes[3];
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3;
        const int k = (i + 2) % 3;
        float axis[3];
        axis[i] = static_cast<float>(1 - scale * (q[j] * q[j] + q[k] * q[k]));
        axis[j] = static_cast<float>(scale * (q[i] * q[j] + q[3] * q[k]));
        axis[k] = static_cast<float>(scale * (q[i] * q[k] - q[3] * q[j]));
        axes[i] = VectorSIMD4f(axis[0], axis[1], axis[2], 0);
    }
    return GeometryOBB{Point(input), axes, Z4::Abs(Point(input))};
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
    digest.Add(box.GetCenter());
    for (int i = 0; i < 3; ++i) {
        digest.Add(box.GetAxisDir()[i]);
    }
    digest.Add(box.GetExtent());
}

template <class V>
V PlainVector(Input& input) {
    V result;
    for (unsigned i = 0; i < V::SIZE; ++i) {
        result[i] = static_cast<typename V::Element>(input.Number(100));
    }
    return result;
}

template <class V>
void AddPlainVectors(Digest& digest, Input& input) {
    const V a = PlainVector<V>(input);
    const V b = PlainVector<V>(input);
    const V results[] = {a + b, a - b, a * b, a / b, Z4::Min(a, b), Z4::Normalize(a), Z4::Lerp(a, b, b[0])};
    for (const V& result : results) {
        for (unsigned i = 0; i < V::SIZE; ++i) {
            digest.Add(result[i]);
        }
    }
    digest.Add(Z4::Dot(a, b));
    digest.Add(Z4::Length(a));
}

template <class M>
void AddMatrices(Digest& digest, Input& input) {
    M a;
    M b;
    for (unsigned i = 0; i < M::ROWS; ++i) {
        const float x[] = {input.Coarse(), input.Number(5), input.Number(5), input.Coarse()};
        const float y[] = {input.Coarse(), input.Coarse(), input.Coarse(), input.Coarse()};
        a.Row(i) = Z4::Private::MatrixRowOf<M>::FromElements(x[0], x[1], x[2], x[3]);
        b.Row(i) = Z4::Private::MatrixRowOf<M>::FromElements(y[0], y[1], y[2], y[3]);
    }
    AddMatrix(digest, a + b);
    AddMatrix(digest, a * b);
    AddMatrix(digest, Z4::Inverse(a));
    AddMatrix(digest, Z4::Inverse(b));
}

void AddSimdVectors(Digest& digest, Input& input) {
    const VectorSIMD4f a = Point(input);
    const VectorSIMD4f b = Point(input);
    digest.Add(Z4::Cross3(a, b));
    digest.Add(Z4::Normalize3(a));
    digest.Add(Z4::Normalize3<Z4::SumOrder::CONSISTENT>(b));
    digest.Add(Z4::Dot3(a, b));
    digest.Add(Z4::Lerp(a, b, input.Number(1)));
    digest.Add(Z4::AllTrue3(Z4::Less(a, b)));
}

void AddDistances(Digest& digest, Input& input) {
    using namespace Z4::Geometry;
    const VectorSIMD4f p[6] = {Point(input), Point(input), Point(input), Point(input), Point(input), Point(input)};
    VectorSIMD4f points[2] = {};
    float parameters[5] = {};
    digest.Add(ClosestPointToSegment(points[0], p[0], p[1], p[2], parameters[0]));
    digest.Add(ClosestPointToSegment2D(points[1], p[0], p[1], p[2], parameters[1]));
    digest.Add(points[0]);
    digest.Add(ClosestDistToSegment(p[0], p[1], p[2]));
    digest.Add(DistancePointToLineSqr(p[0], p[1], p[2]));
    digest.Add(DistancePointToLine2DSqr(p[0], p[1], p[2]));
    digest.Add(ClosestPointToLine(points[0], p[0], p[1], p[2]));
    digest.Add(points[0]);
    if (GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], points[0], points[1], parameters[2], parameters[3])) {
        digest.Add(points[0]);
        digest.Add(points[1]);
    }
    digest.Add(DistanceSegmentToSegmentSqr(p[0], p[1], p[2], p[3], parameters[2], parameters[3]));
    digest.Add(
        DistanceSegmentToRectangleSqr(p[0], p[1], p[2], p[3], p[4], parameters[2], parameters[3], parameters[4]));
    digest.Add(DistancePointToRectangleSqr(p[0], p[1], p[2], p[3], parameters[2], parameters[3]));
    digest.Add(DistanceLineToTriangleSqr(p[0], p[1], p[2], p[3], p[4], parameters));
    digest.Add(ClosestTrianglePointToPoint(p[0], p[1], p[2], p[3]));
    digest.Add(ClosestAABBPointToPoint(p[0], GeometryAABB(Z4::Min(p[1], p[2]), Z4::Max(p[1], p[2]))));
    for (const float parameter : parameters) {
        digest.Add(parameter);
    }
}

void AddConsistentDistances(Digest& digest, Input& input) {
    using namespace Z4::Geometry::Consistent;
    const VectorSIMD4f p[4] = {Point(input), Point(input), Point(input), Point(input)};
    VectorSIMD4f points[3] = {};
    float parameters[2] = {};
    digest.Add(ClosestPointToSegment(points[0], p[0], p[1], p[2], parameters[0]));
    digest.Add(ClosestPointToSegment2D(points[1], p[0], p[1], p[2], points[2], 0.001F));
    digest.Add(DistancePointToSegment2DSqr(p[0], p[1], p[2], parameters[1]));
    digest.Add(DistancePointToLineSqr(p[0], p[1], p[2]));
    digest.Add(points[0]);
    digest.Add(points[2]);
    digest.Add(parameters[1]);
    if (GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], points[0], points[1], parameters[0], parameters[1])) {
        digest.Add(points[0]);
        digest.Add(points[1]);
    }
    digest.Add(DistanceSegmentToSegmentSqr(p[0], p[1], p[2], p[3], parameters[0], parameters[1]));
    digest.Add(parameters[0]);
    digest.Add(DistanceSegmentToSegment2DSqr(p[0], p[1], p[2], p[3], parameters[0], parameters[1]));
    digest.Add(parameters[1]);
}

} // namespace

void DigestMath(Digest& digest) {
    Input input;
    for (int round = 0; round < ROUNDS; ++round) {
        AddPlainVectors<Z4::Vector3f>(digest, input);
        AddPlainVectors<Z4::Vector4d>(digest, input);
        AddMatrices<Z4::Matrix33f>(digest, input);
        AddMatrices<Z4::Matrix44d>(digest, input);
        AddMatrices<Z4::MatrixSIMD34f>(digest, input);
        AddMatrices<Z4::MatrixSIMD44f>(digest, input);
        AddSimdVectors(digest, input);
        digest.Add(Z4::Vector4s16(PlainVector<Z4::Vector4f>(input) * 1e3F)[0]);
    }
}

void DigestRotations(Digest& digest) {
    Input input;
    for (int round = 0; round < ROUNDS; ++round) {
        const VectorSIMD4f axis = Point(input);
        AddMatrix(digest, Z4::MakeRotation<Z4::MatrixSIMD34f>(axis, static_cast<double>(input.Number(4))));
        GeometryOBB box = Box(input);
        box.Rotate(axis, input.Number(4));
        AddBox(digest, box);
        AddBox(digest, GeometryOBB{Point(input), Point(input), Point(input)});
    }
}

void DigestGeometry(Digest& digest) {
    Input input;
    for (int round = 0; round < ROUNDS; ++round) {
        const VectorSIMD4f points[5] = {Point(input), Point(input), Point(input), Point(input), Point(input)};
        const GeometryAABB bounds(points, 5);
        digest.Add(bounds.GetMin());
        digest.Add(bounds.GetMax());
        GeometryOBB box = Box(input);
        const GeometryOBB other = Box(input);
        digest.Add(box.Intersect(other));
        digest.Add(box.Intersect(bounds));
        digest.Add(box.Contains(points[0]));
        digest.Add(box.ToAABox().GetMin());
        digest.Add(box.GetBoxVertex(input.Below(8)));
        box.Transform(other.GetMatrix());
        AddBox(digest, box);
        AddDistances(digest, input);
    }
}

void DigestConsistentGeometry(Digest& digest) {
    Input input;
    for (int round = 0; round < ROUNDS; ++round) {
        GeometryOBB box = Box(input);
        const GeometryOBB other = Box(input);
        digest.Add(box.ContainsWithEpsilonConsistent(Point(input), 0.125F));
        digest.Add(box.GetBoxVertexConsistent(input.Below(8)));
        digest.Add(box.GetXYAxesCosAngle());
        box.TransformConsistent(other.GetMatrix());
        AddBox(digest, box);
        AddConsistentDistances(digest, input);
    }
}
