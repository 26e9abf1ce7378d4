// Hunted here: a query between two figures that misses the nearest points, in any position of the figures. The search
// knows nothing of their cases: the distance from a point of the first figure to the second is convex along the first,
// so dividing intervals finds its least, in double precision.
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <tests/support/random.h>
#include <zelk_core/math/geometry/distance.h>

namespace {

using Z4::Vector3d;
using Z4::VectorSIMD4f;
namespace Geometry = Z4::Geometry;

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

template <class Function>
double Least(double low, double high, int steps, const Function& function) {
    for (int i = 0; i < steps; ++i) {
        const double third = (high - low) / 3;
        if (function(low + third) < function(high - third)) {
            high -= third;
        } else {
            low += third;
        }
    }
    return std::min({function(low), function((low + high) / 2), function(high)});
}

/// Squared distance of `p` from a figure.
double Search(const Vector3d& p, const Figure& f) {
    if (f.shape == Shape::TRIANGLE || f.shape == Shape::RECTANGLE) {
        return Least(0, 1, 45, [&](double u) {
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
    return Least(low, high, 60, [&](double t) { return Search(first.At(t, 0), second); });
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

/// What a query says: the squared distance, the parameters of the nearest points, or the point itself.
struct Answer {
    float distanceSqr;
    float t = 0, u = 0, v = 0;
};

/// Neither the distance nor that of the points with these parameters may differ from the least by more than `bound`.
void ExpectNoneNearer(const Figure& first, const Figure& second, const Answer& answer, double bound) {
    const double least = std::sqrt(Search(first, second));
    EXPECT_NEAR(std::sqrt(answer.distanceSqr), least, bound);
    EXPECT_NEAR(Length(first.At(answer.t, 0) - second.At(answer.u, answer.v)), least, bound);
    for (const float parameter : {first.shape == Shape::LINE ? 0 : answer.t, second.shape == Shape::LINE ? 0 : answer.u,
                                  answer.v, second.shape == Shape::TRIANGLE ? answer.u + answer.v : 0}) {
        EXPECT_GE(parameter, 0.0F);
        EXPECT_LE(parameter, 1 + 1e-6F);
    }
}

/// The parameter that a point of a segment or line stands for.
float ParameterOf(const VectorSIMD4f& p, const Scene& s) {
    const Vector3d edge(ToVector3f(s.c0 - s.c));
    return LengthSqr(edge) > 0 ? static_cast<float>(Dot(Vector3d(ToVector3f(p - s.c)), edge) / LengthSqr(edge)) : 0;
}

TEST(DistanceSearch, FindsNoneNearer) {
    using namespace Geometry;
    const struct {
        const char* name;
        Shape first;
        Shape second;
        bool isFlat;
        Answer (*query)(const Scene& s);
    } rows[] = {
        {"ClosestPointToSegment", Shape::POINT, Shape::SEGMENT, false,
         [](const Scene& s) {
             VectorSIMD4f closest;
             Answer answer{};
             answer.distanceSqr = ClosestPointToSegment(closest, s.a, s.c, s.c0, answer.u);
             return answer;
         }},
        {"Consistent::ClosestPointToSegment", Shape::POINT, Shape::SEGMENT, false,
         [](const Scene& s) {
             VectorSIMD4f closest;
             Answer answer{};
             answer.distanceSqr = Consistent::ClosestPointToSegment(closest, s.a, s.c, s.c0, answer.u);
             return answer;
         }},
        {"ClosestPointToSegment2D", Shape::POINT, Shape::SEGMENT, true,
         [](const Scene& s) {
             VectorSIMD4f closest;
             Answer answer{};
             answer.distanceSqr = ClosestPointToSegment2D(closest, s.a, s.c, s.c0, answer.u);
             return answer;
         }},
        {"ClosestPointToLine", Shape::POINT, Shape::LINE, false,
         [](const Scene& s) {
             VectorSIMD4f closest;
             const float distanceSqr = ClosestPointToLine(closest, s.a, s.c, s.c0);
             return Answer{distanceSqr, 0, ParameterOf(closest, s), 0};
         }},
        {"DistanceSegmentToSegmentSqr", Shape::SEGMENT, Shape::SEGMENT, false,
         [](const Scene& s) {
             Answer answer{};
             answer.distanceSqr = DistanceSegmentToSegmentSqr(s.a, s.b, s.c, s.c0, answer.t, answer.u);
             return answer;
         }},
        {"Consistent::DistanceSegmentToSegmentSqr", Shape::SEGMENT, Shape::SEGMENT, false,
         [](const Scene& s) {
             Answer answer{};
             answer.distanceSqr = Consistent::DistanceSegmentToSegmentSqr(s.a, s.b, s.c, s.c0, answer.t, answer.u);
             return answer;
         }},
        {"Consistent::DistanceSegmentToSegment2DSqr", Shape::SEGMENT, Shape::SEGMENT, true,
         [](const Scene& s) {
             Answer answer{};
             answer.distanceSqr = Consistent::DistanceSegmentToSegment2DSqr(s.a, s.b, s.c, s.c0, answer.t, answer.u);
             return answer;
         }},
        {"DistanceSegmentToRectangleSqr", Shape::SEGMENT, Shape::RECTANGLE, false,
         [](const Scene& s) {
             Answer answer{};
             answer.distanceSqr =
                 DistanceSegmentToRectangleSqr(s.a, s.b, s.c, s.c0 - s.c, s.c1 - s.c, answer.t, answer.u, answer.v);
             return answer;
         }},
        {"DistancePointToRectangleSqr", Shape::POINT, Shape::RECTANGLE, false,
         [](const Scene& s) {
             Answer answer{};
             answer.distanceSqr = DistancePointToRectangleSqr(s.a, s.c, s.c0 - s.c, s.c1 - s.c, answer.u, answer.v);
             return answer;
         }},
        {"DistanceLineToTriangleSqr", Shape::LINE, Shape::TRIANGLE, false,
         [](const Scene& s) {
             float params[3];
             const float distanceSqr = DistanceLineToTriangleSqr(s.a, s.b, s.c, s.c0, s.c1, params);
             EXPECT_EQ(DistanceLineToTriangleSqr(s.a, s.b, s.c, s.c0, s.c1, nullptr), distanceSqr);
             return Answer{distanceSqr, params[0], params[1], params[2]};
         }},
    };
    for (const auto& row : rows) {
        ZelkTest::Input input(7);
        for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
            SCOPED_TRACE(std::string(row.name) + ", round " + std::to_string(round));
            const Scene scene(input, row.second);
            const auto wide = [&row](const VectorSIMD4f& v) { return Vector3d(v.X(), v.Y(), row.isFlat ? 0 : v.Z()); };
            const bool isFace = row.second == Shape::RECTANGLE;
            const Vector3d c = wide(scene.c);
            // A rectangle is given by its edges, as they are after rounding.
            const Figure first{row.first, wide(scene.a),
                               row.first == Shape::POINT ? Vector3d::ZERO : wide(scene.b) - wide(scene.a),
                               Vector3d::ZERO};
            const Figure second{row.second, c, isFace ? wide(scene.c0 - scene.c) : wide(scene.c0) - c,
                                row.second < Shape::TRIANGLE ? Vector3d::ZERO
                                : isFace                     ? wide(scene.c1 - scene.c)
                                                             : wide(scene.c1) - c};
            ExpectNoneNearer(first, second, row.query(scene), 1e-6 * scene.scale);
        }
    }
}

/// It tells the point alone, whose weights may lose more.
TEST(DistanceSearch, FindsNoneNearerOnATriangle) {
    ZelkTest::Input input(8);
    for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
        const Scene s(input, Shape::TRIANGLE);
        const Vector3d a(ToVector3f(s.a));
        const Vector3d c(ToVector3f(s.c));
        const Figure triangle{Shape::TRIANGLE, c, Vector3d(ToVector3f(s.c0)) - c, Vector3d(ToVector3f(s.c1)) - c};
        const Vector3d nearest(ToVector3f(Geometry::ClosestTrianglePointToPoint(s.a, s.c, s.c0, s.c1)));
        const double bound = 1e-5 * s.scale;
        EXPECT_NEAR(Length(a - nearest), std::sqrt(Search(a, triangle)), bound) << round;
        EXPECT_LE(std::sqrt(Search(nearest, triangle)), bound) << round;
    }
}

} // namespace
