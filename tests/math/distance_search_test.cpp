// The queries between two shapes against searches in double precision that know nothing of their cases: the distance
// from a point of the first shape to the second is convex along the first, so halving intervals finds its least.
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <tuple>
#include <zelk_core/math/geometry/distance.h>

namespace {

using Z4::VectorSIMD4f;
namespace Geometry = Z4::Geometry;

struct Point {
    double x, y, z;
};

Point operator+(const Point& a, const Point& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Point operator-(const Point& a, const Point& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Point operator*(double s, const Point& a) {
    return {s * a.x, s * a.y, s * a.z};
}
double Dot(const Point& a, const Point& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
double LengthSqr(const Point& a) {
    return Dot(a, a);
}

/// Least value of a convex function on [low, high].
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

double ToSegmentSqr(const Point& p, const Point& a, const Point& d) {
    const double lengthSqr = LengthSqr(d);
    const double t = lengthSqr > 0 ? std::clamp(Dot(p - a, d) / lengthSqr, 0.0, 1.0) : 0;
    return LengthSqr(a + t * d - p);
}

enum class Face {
    RECTANGLE,
    TRIANGLE,
};

double ToFaceSqr(const Point& p, const Point& corner, const Point& e0, const Point& e1, Face face) {
    return Least(0, 1, 45,
                 [&](double u) { return ToSegmentSqr(p, corner + u * e0, (face == Face::TRIANGLE ? 1 - u : 1) * e1); });
}

VectorSIMD4f Vector(const Point& p) {
    // A w that must not count.
    return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z), 1e30F};
}

Point Exact(const VectorSIMD4f& v) {
    return {v.X(), v.Y(), v.Z()};
}

Point Cross(const Point& a, const Point& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// A segment or line from a to b, and a face or segment at c with the edges c0 - c and c1 - c.
struct Scene {
    Scene(unsigned seed, Face face) : m_random(seed) {
        const unsigned kind = m_random() % 10;
        const auto point = [&] {
            return kind == 1 ? Point{Integer(), Integer(), Integer()} : Point{Unit(), Unit(), Unit()};
        };
        const Point corner = point();
        Point start = point();
        Point edge0 = point();
        Point edge1 = point();
        Point direction = point();
        switch (kind) {
        case 2: // the segment meets the face
            start = corner + std::fabs(Unit()) * edge0 + 0.2 * Unit() * edge1 - std::fabs(Unit()) * direction;
            break;
        case 3: // parallel
            direction = Integer() * edge0 + Integer() * edge1;
            break;
        case 4: // nearly parallel
            direction = Unit() * edge0 + std::pow(10, -7 * std::fabs(Unit())) * direction;
            break;
        case 5: // points and segments instead
            direction = Integer() * direction;
            edge0 = Integer() * edge0;
            edge1 = Integer() * edge1;
            break;
        case 6: // without area, corners in any order
            edge1 = (m_random() % 2 == 0 ? Unit() : Integer()) * edge0;
            break;
        case 7: // slender
            edge1 = Unit() * edge0 + std::pow(10, -7 * std::fabs(Unit())) * edge1;
            break;
        case 8: // on one line
            direction = Unit() * edge0;
            start = corner + 3 * Unit() * edge0;
            break;
        default:
            break;
        }
        if (face == Face::RECTANGLE) {
            edge1 = kind == 6 ? 0.0 * edge1 : Cross(edge0, edge1);
        }
        const double size = std::pow(10, 3 * Unit());
        a = Vector(size * start);
        b = Vector(size * (start + direction));
        c = Vector(size * corner);
        c0 = Vector(size * (corner + edge0));
        c1 = Vector(size * (corner + edge1));
        e0 = c0 - c;
        e1 = c1 - c;
        scale = size * std::sqrt(LengthSqr(start - corner) + LengthSqr(direction) + LengthSqr(edge0) +
                                 LengthSqr(edge1) + LengthSqr(corner));
    }

    double Unit() { return m_random() / 2147483648.0 - 1; }
    double Integer() { return static_cast<double>(m_random() % 5) - 2; }

    VectorSIMD4f a, b, c, c0, c1, e0, e1;
    double scale;

private:
    std::mt19937 m_random;
};

constexpr unsigned SCENES = 2000;
/// Greatest error of a distance, relative to the size of the scene: a few roundings of a float.
constexpr double BOUND = 1e-6;

/// The distance must be the least, and that of the nearest points, whose parameters must be in range.
void ExpectNearest(const Scene& scene, float distanceSqr, double leastSqr, const Point& first, const Point& second,
                   std::initializer_list<float> parameters) {
    const double bound = BOUND * scene.scale;
    const double least = std::sqrt(leastSqr);
    EXPECT_NEAR(std::sqrt(distanceSqr), least, bound);
    EXPECT_NEAR(std::sqrt(LengthSqr(first - second)), least, bound);
    for (const float parameter : parameters) {
        EXPECT_GE(parameter, 0.0F);
        EXPECT_LE(parameter, 1.0F);
    }
}

TEST(DistanceSearch, SegmentToSegment) {
    for (const auto query : {Geometry::DistanceSegmentToSegmentSqr, Geometry::Consistent::DistanceSegmentToSegmentSqr,
                             Geometry::Consistent::DistanceSegmentToSegment2DSqr}) {
        const bool isFlat = query == Geometry::Consistent::DistanceSegmentToSegment2DSqr;
        for (unsigned seed = 0; seed < SCENES; ++seed) {
            SCOPED_TRACE(seed);
            const Scene scene(seed, Face::TRIANGLE);
            const auto exact = [&](const VectorSIMD4f& v) { return Point{v.X(), v.Y(), isFlat ? 0 : v.Z()}; };
            const Point a = exact(scene.a);
            const Point d = exact(scene.b) - a;
            const Point c = exact(scene.c);
            const Point e = exact(scene.c0) - c;
            float s;
            float t;
            const float distanceSqr = query(scene.a, scene.b, scene.c, scene.c0, s, t);
            const double least = Least(0, 1, 60, [&](double x) { return ToSegmentSqr(a + x * d, c, e); });
            ExpectNearest(scene, distanceSqr, least, a + s * d, c + t * e, {s, t});
        }
    }
}

TEST(DistanceSearch, RectangleToSegmentAndPoint) {
    for (unsigned seed = 0; seed < SCENES; ++seed) {
        SCOPED_TRACE(seed);
        const Scene scene(seed, Face::RECTANGLE);
        const Point a = Exact(scene.a);
        const Point d = Exact(scene.b) - a;
        const Point c = Exact(scene.c);
        const Point e0 = Exact(scene.e0);
        const Point e1 = Exact(scene.e1);
        const auto toFace = [&](double x) { return ToFaceSqr(a + x * d, c, e0, e1, Face::RECTANGLE); };
        float t;
        float u;
        float v;
        const float fromSegment =
            Geometry::DistanceSegmentToRectangleSqr(scene.a, scene.b, scene.c, scene.e0, scene.e1, t, u, v);
        ExpectNearest(scene, fromSegment, Least(0, 1, 60, toFace), a + t * d, c + u * e0 + v * e1, {t, u, v});
        const float fromPoint = Geometry::DistancePointToRectangleSqr(scene.a, scene.c, scene.e0, scene.e1, u, v);
        ExpectNearest(scene, fromPoint, toFace(0), a, c + u * e0 + v * e1, {u, v});
    }
}

TEST(DistanceSearch, TriangleToLineAndPoint) {
    for (unsigned seed = 0; seed < SCENES; ++seed) {
        SCOPED_TRACE(seed);
        const Scene scene(seed, Face::TRIANGLE);
        const Point a = Exact(scene.a);
        const Point d = Exact(scene.b) - a;
        const Point c = Exact(scene.c);
        const Point e0 = Exact(scene.c0) - c;
        const Point e1 = Exact(scene.c1) - c;
        const auto toFace = [&](double x) { return ToFaceSqr(a + x * d, c, e0, e1, Face::TRIANGLE); };
        // The nearest point of the line is the foot of one of the triangle's points.
        double low = 0;
        double high = 0;
        if (LengthSqr(d) > 0) {
            const auto foot = [&](const Point& corner) { return Dot(corner - a, d) / LengthSqr(d); };
            std::tie(low, high) = std::minmax({foot(c), foot(c + e0), foot(c + e1)});
        }
        float params[3];
        const float fromLine =
            Geometry::DistanceLineToTriangleSqr(scene.a, scene.b, scene.c, scene.c0, scene.c1, params);
        ExpectNearest(scene, fromLine, Least(low, high, 60, toFace), a + params[0] * d,
                      c + params[1] * e0 + params[2] * e1, {params[1], params[2]});
        EXPECT_LE(params[1] + params[2], 1 + BOUND);
        EXPECT_EQ(Geometry::DistanceLineToTriangleSqr(scene.a, scene.b, scene.c, scene.c0, scene.c1, nullptr),
                  fromLine);

        const Point nearest = Exact(Geometry::ClosestTrianglePointToPoint(scene.a, scene.c, scene.c0, scene.c1));
        // Its weights may lose more.
        const double bound = 10 * BOUND * scene.scale;
        EXPECT_NEAR(std::sqrt(LengthSqr(a - nearest)), std::sqrt(toFace(0)), bound);
        EXPECT_LE(std::sqrt(ToFaceSqr(nearest, c, e0, e1, Face::TRIANGLE)), bound);
    }
}

} // namespace
