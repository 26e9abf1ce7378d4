// Hunted here: a query between two figures that misses the nearest points, in any position of the figures. The search
// knows nothing of their cases: the distance from a point of the first figure to the second is convex along the first,
// so dividing intervals finds its least, in double precision.
#include "queries.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <tests/support/random.h>
#include <tuple>

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

/// Least value of a convex function, by golden sections (J. Kiefer, 1953).
template <class Function>
double Least(double low, double high, const Function& function) {
    constexpr double RATIO = 0.6180339887498949;
    const double ends = std::min(function(low), function(high));
    double left = function(high - RATIO * (high - low));
    double right = function(low + RATIO * (high - low));
    for (int step = 0; step < 42; ++step) {
        if (left < right) {
            high = low + RATIO * (high - low);
            right = left;
            left = function(high - RATIO * (high - low));
        } else {
            low = high - RATIO * (high - low);
            left = right;
            right = function(low + RATIO * (high - low));
        }
    }
    return std::min({ends, left, right});
}

/// Squared distance of `p` from a figure.
double Search(const Vector3d& p, const Figure& f) {
    if (f.shape == Shape::TRIANGLE || f.shape == Shape::RECTANGLE) {
        return Least(0, 1, [&](double u) {
            const double height = f.shape == Shape::TRIANGLE ? 1 - u : 1;
            return Search(p, Figure{Shape::SEGMENT, f.At(u, 0), f.edge1 * height, f.edge1});
        });
    }
    const double lengthSqr = f.shape == Shape::POINT ? 0 : LengthSqr(f.edge0);
    const double foot = lengthSqr > 0 ? Dot(p - f.corner, f.edge0) / lengthSqr : 0;
    return LengthSqr(f.At(f.shape == Shape::SEGMENT ? std::clamp(foot, 0.0, 1.0) : foot, 0) - p);
}

/// Squared distance of the two figures, the first of which is a point, a segment or a line.
double Search(const Figure& first, const Figure& second) {
    double low = 0;
    double high = first.shape == Shape::POINT ? 0 : 1;
    if (first.shape == Shape::LINE && LengthSqr(first.edge0) > 0) {
        // The nearest point of the line is the foot of one of the second figure's points.
        const auto foot = [&](const Vector3d& p) {
            return Dot(p - first.corner, first.edge0) / LengthSqr(first.edge0);
        };
        std::tie(low, high) = std::minmax({foot(second.At(0, 0)), foot(second.At(1, 0)), foot(second.At(0, 1))});
    }
    return Least(low, high, [&](double t) { return Search(first.At(t, 0), second); });
}

/// Two figures in a random position, often a special one. The first starts at `a`, the second at `c`.
struct Scene {
    Scene(ZelkTest::Input& input, Shape second) {
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
        c = narrow(corner);
        c0 = narrow(corner + edge0);
        c1 = narrow(corner + edge1);
        scale = size * std::sqrt(LengthSqr(start - corner) + LengthSqr(direction) + LengthSqr(edge0) +
                                 LengthSqr(edge1) + LengthSqr(corner));
    }

    VectorSIMD4f a, b, c, c0, c1;
    double scale;
};

TEST(DistanceSearch, FindsNoneNearer) {
    using namespace ZelkTest::Queries;
    // With POINT_ONLY the query tells no parameters, but the point; ANY_POINT's weights may lose more.
    enum Tells {
        PARAMETERS,
        POINT_ONLY,
        ANY_POINT
    };
    const struct {
        ZelkTest::Query query;
        Shape first;
        Shape second;
        bool isFlat = false;
        Tells tells = PARAMETERS;
    } rows[] = {
        {SEGMENT, Shape::POINT, Shape::SEGMENT},
        {SEGMENT_CONSISTENT, Shape::POINT, Shape::SEGMENT},
        {SEGMENT_2D, Shape::POINT, Shape::SEGMENT, true},
        {SEGMENT_T_2D, Shape::POINT, Shape::SEGMENT, true},
        {LINE_POINT, Shape::POINT, Shape::LINE, false, POINT_ONLY},
        {TRIANGLE, Shape::POINT, Shape::TRIANGLE, false, ANY_POINT},
        {POINT_RECTANGLE, Shape::POINT, Shape::RECTANGLE},
        {SEGMENTS, Shape::SEGMENT, Shape::SEGMENT},
        {SEGMENTS_CONSISTENT, Shape::SEGMENT, Shape::SEGMENT},
        {SEGMENTS_2D, Shape::SEGMENT, Shape::SEGMENT, true},
        {SEGMENT_RECTANGLE, Shape::SEGMENT, Shape::RECTANGLE},
        {LINE_TRIANGLE, Shape::LINE, Shape::TRIANGLE},
    };
    for (const auto& row : rows) {
        ZelkTest::Input input(7);
        for (int round = 0; round < 1000 && !HasFailure(); ++round) {
            SCOPED_TRACE(testing::Message() << row.query.name << ", round " << round);
            const Scene s(input, row.second);
            const bool isPoint = row.first == Shape::POINT;
            // A rectangle is given by its edges, as they are after rounding.
            const VectorSIMD4f edges[] = {s.c0 - s.c, s.c1 - s.c};
            const bool isRectangle = row.second == Shape::RECTANGLE;
            const VectorSIMD4f arguments[] = {s.a, s.b, s.c, isRectangle ? edges[0] : s.c0,
                                              isRectangle ? edges[1] : s.c1};
            const VectorSIMD4f fromPoint[] = {s.a, arguments[2], arguments[3], arguments[4]};
            const ZelkTest::Answer answer = row.query(isPoint ? fromPoint : arguments);

            const auto wide = [&row](const VectorSIMD4f& v) { return Vector3d(v.X(), v.Y(), row.isFlat ? 0 : v.Z()); };
            const auto edge = [&](unsigned i) {
                return isRectangle ? wide(edges[i]) : wide(arguments[3 + i]) - wide(s.c);
            };
            const Figure first{row.first, wide(s.a), isPoint ? Vector3d::ZERO : wide(s.b) - wide(s.a), Vector3d::ZERO};
            const Figure second{row.second, wide(s.c), edge(0),
                                row.second < Shape::TRIANGLE ? Vector3d::ZERO : edge(1)};
            const double least = std::sqrt(Search(first, second));
            const double bound = (row.tells == ANY_POINT ? 1e-5 : 1e-6) * s.scale;
            if (row.tells != ANY_POINT) {
                EXPECT_NEAR(std::sqrt(answer.returned), least, bound);
            }
            if (row.tells != PARAMETERS) {
                const Vector3d nearest = wide(answer.points[0]);
                EXPECT_NEAR(Length(first.corner - nearest), least, bound);
                EXPECT_LE(std::sqrt(Search(nearest, second)), bound) << "a point of the figure";
                continue;
            }
            const float t = isPoint ? 0 : answer.t[0];
            const float* const uv = answer.t + (isPoint ? 0 : 1);
            const float v = row.second < Shape::TRIANGLE ? 0 : uv[1];
            EXPECT_NEAR(Length(first.At(t, 0) - second.At(uv[0], v)), least, bound);
            for (const float parameter :
                 {row.first == Shape::LINE ? 0 : t, uv[0], v, row.second == Shape::TRIANGLE ? uv[0] + v : 0}) {
                EXPECT_TRUE(parameter >= 0 && parameter <= 1 + 1e-6F) << parameter;
            }
        }
    }
}

} // namespace
