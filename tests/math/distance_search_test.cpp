// Hunted here: a query between two figures that misses the nearest points, in any position of the figures. The proof
// knows nothing of their cases: points of two convex figures are the nearest ones exactly where the planes through
// them, across the way from one to the other, leave each figure on its own side (D. Luenberger, "Optimization by Vector
// Space Methods", 1969, section 3.12).
#include "figures.h"
#include "queries.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace {

using Z4::Vector3d;
using Z4::VectorSIMD4f;

enum class Shape {
    POINT,
    SEGMENT,
    LINE,
    TRIANGLE,
    RECTANGLE
};

/// `corner` + u `edge0` + v `edge1`, as many of them as the shape has.
struct Figure {
    Shape shape;
    Vector3d corner, edge0, edge1;

    Vector3d At(double u, double v) const { return corner + edge0 * u + edge1 * v; }
};

/// How far the figure reaches past the plane across `way` through its point `p`, times the length of `way`.
double Beyond(const Figure& f, const Vector3d& p, const Vector3d& way) {
    if (f.shape == Shape::LINE) {
        return std::fabs(Dot(f.edge0, way));
    }
    const Vector3d last = f.At(1, f.shape == Shape::TRIANGLE ? 0 : 1);
    return std::max({Dot(f.corner - p, way), Dot(f.At(1, 0) - p, way), Dot(f.At(0, 1) - p, way), Dot(last - p, way)});
}

/// Two figures in a random position, often a special one. The first starts at `a`, the second at `c`.
struct Scene {
    Scene(ZelkTest::Input& input, Shape first, Shape second) {
        const auto unit = [&input] { return input.Number(-1, 1); };
        const auto whole = [&input] { return static_cast<double>(input.Below(5)) - 2; };
        const unsigned kind = input.Below(10);
        const auto point = [&] {
            return kind == 1 ? Vector3d{whole(), whole(), whole()} : Vector3d{unit(), unit(), unit()};
        };
        Vector3d corner = point();
        Vector3d start = point();
        Vector3d edge0 = point();
        Vector3d edge1 = point();
        Vector3d direction = point();
        if (kind == 2) { // the first meets the second
            start = corner + edge0 * std::fabs(unit()) + edge1 * (0.2 * unit()) - direction * std::fabs(unit());
        } else if (kind == 3) { // parallel
            direction = edge0 * whole() + edge1 * whole();
        } else if (kind == 4) { // nearly parallel
            direction = edge0 * unit() + direction * std::pow(10, -7 * std::fabs(unit()));
        } else if (kind == 5) { // points and segments instead
            direction *= whole();
            edge0 *= whole();
            edge1 *= whole();
        } else if (kind == 6) { // without area, corners in any order
            edge1 = edge0 * (input.OnceIn(2) ? unit() : whole());
        } else if (kind == 7) { // slender
            edge1 = edge0 * unit() + edge1 * std::pow(10, -7 * std::fabs(unit()));
        } else if (kind == 8) { // on one line
            direction = edge0 * unit();
            start = corner + edge0 * (3 * unit());
        }
        if (second == Shape::RECTANGLE) {
            edge1 = kind == 6 ? Vector3d::ZERO : Cross(edge0, edge1);
        }
        const double size = std::pow(10, 3 * unit());
        // A w that must not count.
        const auto narrow = [size](const Vector3d& v) { return VectorSIMD4f(Z4::Vector3f(v * size), 1e30F); };
        a = narrow(start);
        b = narrow(start + direction);
        const Vector3d other = input.OnceIn(3) ? edge0 : point();
        d = narrow(start + (first == Shape::RECTANGLE ? Cross(direction, other) : other));
        c = narrow(corner);
        c0 = narrow(corner + edge0);
        c1 = narrow(corner + edge1);
        scale = size * std::sqrt(LengthSqr(start - corner) + LengthSqr(direction) + LengthSqr(edge0) +
                                 LengthSqr(edge1) + LengthSqr(corner) + LengthSqr(other));
    }

    VectorSIMD4f a, b, c, c0, c1, d;
    double scale;
};

TEST(DistanceSearch, FindsNoneNearer) {
    using namespace std::string_view_literals;
    using ZelkTest::Queries::Named;
    const struct {
        const char* query;
        Shape first;
        Shape second;
        bool isFlat = false;
        const char* distance = nullptr; // where `query` tells a point and no parameters, of that point
    } rows[] = {
        {"SEGMENT", Shape::POINT, Shape::SEGMENT},
        {"SEGMENT_CONSISTENT", Shape::POINT, Shape::SEGMENT},
        {"SEGMENT_2D", Shape::POINT, Shape::SEGMENT, true},
        {"SEGMENT_T_2D", Shape::POINT, Shape::SEGMENT, true},
        {"LINE_POINT", Shape::POINT, Shape::LINE, false, "LINE_LINE"},
        {"TRIANGLE", Shape::POINT, Shape::TRIANGLE, false, "SEGMENT_TRIANGLE"},
        {"POINT_RECTANGLE", Shape::POINT, Shape::RECTANGLE},
        {"SEGMENTS", Shape::SEGMENT, Shape::SEGMENT},
        {"SEGMENTS_CONSISTENT", Shape::SEGMENT, Shape::SEGMENT},
        {"SEGMENTS_2D", Shape::SEGMENT, Shape::SEGMENT, true},
        {"SEGMENT_RECTANGLE", Shape::SEGMENT, Shape::RECTANGLE},
        {"LINE_TRIANGLE", Shape::LINE, Shape::TRIANGLE},
        {"POINT_TRIANGLE", Shape::POINT, Shape::TRIANGLE},
        {"POINT_TRIANGLE_CONSISTENT", Shape::POINT, Shape::TRIANGLE},
        {"LINE_SEGMENT", Shape::LINE, Shape::SEGMENT},
        {"LINE_RECTANGLE", Shape::LINE, Shape::RECTANGLE},
        {"SEGMENT_TRIANGLE", Shape::SEGMENT, Shape::TRIANGLE},
        {"SEGMENT_TRIANGLE_CONSISTENT", Shape::SEGMENT, Shape::TRIANGLE},
        {"TRIANGLES", Shape::TRIANGLE, Shape::TRIANGLE},
        {"TRIANGLE_RECTANGLE", Shape::TRIANGLE, Shape::RECTANGLE},
        {"RECTANGLES", Shape::RECTANGLE, Shape::RECTANGLE},
    };
    for (const auto& row : rows) {
        ZelkTest::Input input(7);
        const bool isFace = row.first >= Shape::TRIANGLE;
        for (int round = 0; round < 1000 && !HasFailure(); ++round) {
            SCOPED_TRACE(testing::Message() << row.query << ", round " << round);
            const Scene s(input, row.first, row.second);
            const bool isPoint = row.first == Shape::POINT;
            // A rectangle is given by its edges, as they are after rounding.
            const auto corner = [](Shape shape, const VectorSIMD4f& from, const VectorSIMD4f& to) {
                return shape == Shape::RECTANGLE ? to - from : to;
            };
            const VectorSIMD4f arguments[] = {s.a,
                                              corner(row.first, s.a, s.b),
                                              s.c,
                                              corner(row.second, s.c, s.c0),
                                              corner(row.second, s.c, s.c1),
                                              corner(row.first, s.a, s.d)};
            const VectorSIMD4f fromPoint[] = {s.a, arguments[2], arguments[3], arguments[4]};
            const ZelkTest::Answer answer = Named(row.query)(isPoint ? fromPoint : arguments);

            const auto wide = [&row](const VectorSIMD4f& v) { return Vector3d(v.X(), v.Y(), row.isFlat ? 0 : v.Z()); };
            const auto edge = [&](Shape shape, const VectorSIMD4f& from, const VectorSIMD4f& to) {
                return shape == Shape::RECTANGLE ? wide(to) : wide(to) - wide(from);
            };
            const bool isFaceToo = row.second >= Shape::TRIANGLE;
            const Figure first{row.first, wide(s.a), isPoint ? Vector3d::ZERO : edge(row.first, s.a, arguments[1]),
                               isFace ? edge(row.first, s.a, arguments[5]) : Vector3d::ZERO};
            const Figure second{row.second, wide(s.c), edge(row.second, s.c, arguments[3]),
                                isFaceToo ? edge(row.second, s.c, arguments[4]) : Vector3d::ZERO};
            // Those of each figure: u and v.
            const unsigned count = isPoint ? 0 : (isFace ? 2 : 1);
            const float at[2][2] = {{count > 0 ? answer.t[0] : 0, count > 1 ? answer.t[1] : 0},
                                    {answer.t[count], isFaceToo ? answer.t[count + 1] : 0}};
            const Vector3d p = first.At(at[0][0], at[0][1]);
            const Vector3d q = row.distance != nullptr ? wide(answer.points[0]) : second.At(at[1][0], at[1][1]);
            const double near = 1e-6 * s.scale;
            // Between slender figures, what is lost in the parameters shows ten times as large.
            EXPECT_LE(std::max(Beyond(first, p, q - p), Beyond(second, q, p - q)), 10 * near * s.scale);
            if (row.query != "TRIANGLE"sv) {
                EXPECT_NEAR(std::sqrt(answer.returned), Length(q - p), near);
            }
            if (row.distance != nullptr) {
                const VectorSIMD4f fromThere[] = {answer.points[0], answer.points[0], s.c, arguments[3], arguments[4]};
                EXPECT_LE(std::sqrt(Named(row.distance)(fromThere).returned), near);
            }
            for (unsigned i = 0; i < 2; ++i) {
                const Shape shape = i == 0 ? row.first : row.second;
                const float sum = shape == Shape::TRIANGLE ? at[i][0] + at[i][1] : 0;
                for (const float parameter : {at[i][0], at[i][1], sum}) {
                    EXPECT_TRUE(shape == Shape::LINE || (parameter >= 0 && parameter <= 1 + 1e-6F)) << parameter;
                }
            }
        }
    }
}

/// The same between boxes and what is straight.
TEST(DistanceSearch, FindsNoPointOfABoxNearer) {
    using namespace Z4::Geometry;
    using ZelkTest::Wide;
    ZelkTest::Input input(8);
    for (int round = 0; round < 3000 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const bool isCoarse = input.OnceIn(2);
        const auto point = [&] {
            return isCoarse ? VectorSIMD4f{input.Coarse(), input.Coarse(), input.Coarse(), 1e9F}
                            : ZelkTest::RandomPoint(input, 4, 1e9F);
        };
        const VectorSIMD4f a = point();
        VectorSIMD4f b = point();
        const VectorSIMD4f center = point();
        VectorSIMD4f extent = Abs(point() * 0.5F);
        for (unsigned long k = 0; k < 3; ++k) { // flat, parallel to its sides
            extent.Set(k, input.OnceIn(4) ? 0 : extent[k]);
            b.Set(k, input.OnceIn(4) ? a[k] : b[k]);
        }
        const Z4::MatrixSIMD44f axes = ZelkTest::RandomRotation(input);
        const GeometryAABB box(center - extent, center + extent);
        const GeometryOBB boxes[] = {box.ToOOBox(), GeometryOBB(center, &axes.Row(0), extent)};
        for (const GeometryOBB& oriented : boxes) {
            const auto outside = [&](const Vector3d& p) {
                const Vector3d d = p - Wide(oriented.GetCenter());
                const VectorSIMD4f* const axis = oriented.GetAxisDir();
                const Vector3d along(Dot(d, Wide(axis[0])), Dot(d, Wide(axis[1])), Dot(d, Wide(axis[2])));
                return LengthSqr(Max(Abs(along) - Wide(oriented.GetExtent()), Vector3d::ZERO));
            };
            const auto check = [&](float distanceSqr, const VectorSIMD4f& p, const VectorSIMD4f& q,
                                   const VectorSIMD4f& end) {
                constexpr double NEAR = 1e-5;
                const Vector3d way = Wide(q) - Wide(p);
                EXPECT_NEAR(std::sqrt(distanceSqr), Length(way), NEAR);
                EXPECT_LE(std::sqrt(outside(Wide(q))), NEAR);
                EXPECT_LE(std::max(Dot(Wide(a) - Wide(p), way), Dot(Wide(end) - Wide(p), way)), 10 * NEAR);
                for (unsigned long i = 0; i < 8; ++i) {
                    EXPECT_LE(Dot(Wide(q) - Wide(oriented[i]), way), 10 * NEAR);
                }
            };
            float t = 0;
            VectorSIMD4f closest;
            float distanceSqr = DistancePointToOBBSqr(a, oriented, closest);
            check(distanceSqr, a, closest, a);
            distanceSqr = Consistent::DistanceSegmentToOBBSqr(a, b, oriented, t, closest);
            check(distanceSqr, Lerp(a, b, t), closest, b);
            distanceSqr = DistanceSegmentToOBBSqr(a, b, oriented, t, closest);
            check(distanceSqr, Lerp(a, b, t), closest, b);
            EXPECT_TRUE(t >= 0 && t <= 1) << t;
            const float before = t * 0.99F - 1e-5F;
            EXPECT_TRUE(distanceSqr > 1e-12F || before < 0 || outside(Wide(Lerp(a, b, before))) > 0)
                << "first at " << t;
            if (&oriented == boxes) {
                distanceSqr = DistanceSegmentToAABBSqr(a, b, box, t, closest);
                check(distanceSqr, Lerp(a, b, t), closest, b);
                check(DistancePointToAABBSqr(a, box), a, ClosestAABBPointToPoint(a, box), a);
                const GeometryAABB other(Min(a, b), Max(a, b));
                const Vector3d gap = Max(Wide(box.GetMin() - other.GetMax()), Wide(other.GetMin() - box.GetMax()));
                EXPECT_NEAR(DistanceAABBToAABBSqr(box, other), LengthSqr(Max(gap, Vector3d::ZERO)), 1e-5);
            }
        }
    }
}

} // namespace
