// Whether two shapes meet: each query touching and just not, and with what is no shape; triangles against distances and
// against a box that cuts them, on a grid, where touching is exact, and in general position; solids by cutting the
// faces of one along the planes of the other.
#include "figures.h"
#include "pairqueries.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>
#include <zelk_core/math/geometry/clip.h>
#include <zelk_core/math/geometry/cull.h>

namespace {

using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;
using namespace ZelkTest;

bool Meets(PairShapes shapes, const V* p, bool isConsistent = false) {
    return PAIR_QUERIES[shapes].calls[isConsistent ? 1 : 0](p);
}

TEST(IntersectPair, DegenerateFigures) {
    const V zero(0, 0, 0, 0);
    const V low(3, -1, -1, 0);
    const V high(5, 1, 1, 0);
    const V x(1, 0, 0, 0);
    const V y(0, 1, 0, 0);
    // Triangles are held to whole numbers below.
    const struct {
        int line;
        PairShapes shapes;
        bool isHit;
        V p[6];
    } rows[] = {
        {__LINE__, SPHERE_SPHERE, true, {{-1, 0, 0, 2}, {4, 0, 0, 3}}},
        {__LINE__, SPHERE_SPHERE, false, {{-1, 0, 0, 2}, {4.01F, 0, 0, 3}}},
        {__LINE__, SPHERE_SPHERE, true, {zero, zero}},
        {__LINE__, SPHERE_SPHERE, false, {{0, 0, 0, -1}, {0, 0, 0, 3}}},
        {__LINE__, SPHERE_SPHERE, true, {{0, 0, 0, INF}, {1e18F, 0, 0, 0}}},
        {__LINE__, SPHERE_AABB, true, {{1, 0, 0, 2}, low, high}},
        {__LINE__, SPHERE_AABB, false, {{0.99F, 0, 0, 2}, low, high}},
        {__LINE__, SPHERE_AABB, false, {{4, 0, 0, INF}, high, low}},
        {__LINE__, SPHERE_AABB, true, {{-9, 0, 0, 2}, {-INF, -INF, -INF, 0}, {-11, INF, INF, 0}}},
        {__LINE__, SPHERE_OBB, true, {{0, 0, 4, 2}, zero, {1, 1, 2, 0}}},
        {__LINE__, SPHERE_OBB, false, {{0, 0, 4, 1.99F}, zero, {1, 1, 2, 0}}},
        {__LINE__, SPHERE_TRIANGLE, true, {{0.25F, 0.25F, 2, 2}, zero, x, y}},
        {__LINE__, SPHERE_TRIANGLE, true, {{-2, 0, 0, 2}, zero, x, y}},
        {__LINE__, SPHERE_TRIANGLE, false, {{-2.01F, 0, 0, 2}, zero, x, y}},
        {__LINE__, SPHERE_CAPSULE, true, {{0, 3, 0, 2}, {-4, 0, 0, 1}, {4, 0, 0, 0}}},
        {__LINE__, SPHERE_CAPSULE, true, {{-4, 0, 0, 2}, {-4, 0, 0, 1}, {4, 0, 0, 0}}},
        {__LINE__, SPHERE_CAPSULE, false, {{0, 3.01F, 0, 2}, {-4, 0, 0, 1}, {4, 0, 0, 0}}},
        {__LINE__, SPHERE_CAPSULE, false, {{0, 0, 0, 2}, {-4, 0, 0, -1}, {4, 0, 0, 0}}},
        {__LINE__, CAPSULE_CAPSULE, true, {{-4, 0, 0, 1}, {4, 0, 0, 0}, {0, -2, 3, 2}, {0, 2, 3, 0}}},
        {__LINE__, CAPSULE_CAPSULE, false, {{-4, 0, 0, 1}, {4, 0, 0, 0}, {0, -2, 3.01F, 2}, {0, 2, 3.01F, 0}}},
        {__LINE__, CAPSULE_CAPSULE, false, {{-4, 0, 0, -1}, {4, 0, 0, 0}, {0, -2, 0, 2}, {0, 2, 0, 0}}},
        {__LINE__, CAPSULE_AABB, true, {{0, -9, 0, 3}, {0, 9, 0, 0}, low, high}},
        {__LINE__, CAPSULE_AABB, false, {{-0.01F, -9, 0, 3}, {-0.01F, 9, 0, 0}, low, high}},
        {__LINE__, CAPSULE_AABB, false, {{4, -9, 0, INF}, {4, 9, 0, 0}, high, low}},
        {__LINE__, CAPSULE_OBB, true, {{-9, 0, 4, 2}, {9, 0, 4, 0}, zero, {1, 1, 2, 0}}},
        {__LINE__, CAPSULE_OBB, false, {{-9, 0, 4, 1.99F}, {9, 0, 4, 0}, zero, {1, 1, 2, 0}}},
        {__LINE__, CAPSULE_TRIANGLE, true, {{0, 0, 2, 2}, {0, 0, 9, 0}, zero, x, y}},
        {__LINE__, CAPSULE_TRIANGLE, false, {{0, 0, 2.01F, 2}, {0, 0, 9, 0}, zero, x, y}},
        {__LINE__, TRIANGLE_AABB, true, {zero, {3, 0, 0, 0}, y, low, high}},
        {__LINE__, TRIANGLE_AABB, false, {zero, {2.99F, 0, 0, 0}, y, low, high}},
        {__LINE__, TRIANGLE_AABB, false, {zero, {9, 0, 0, 0}, y, high, low}},
        {__LINE__, TRIANGLE_AABB, true, {{-9, 0, 0, 0}, {9, 9, 0, 0}, y, {-INF, -INF, -INF, 0}, {INF, INF, INF, 0}}},
        // A rounding thick, as is the part of the box within its bounds.
        {__LINE__, TRIANGLE_AABB, true, {{3.9999998F, -4, 0, 0}, {4, 0, 4, 0}, {3.9999998F, 0, 0, 0}, low, high}},
        {__LINE__, TRIANGLE_OBB, true, {{0, 0, 2, 0}, {1, 0, 9, 0}, {0, 1, 9, 0}, zero, {1, 1, 2, 0}}},
        {__LINE__, TRIANGLE_OBB, false, {{0, 0, 2.01F, 0}, {1, 0, 9, 0}, {0, 1, 9, 0}, zero, {1, 1, 2, 0}}},
        {__LINE__, TRIANGLE_TRIANGLE, true, {zero, x, y, zero, x, y}},
    };
    for (const auto& row : rows) {
        const PairQuery& query = PAIR_QUERIES[row.shapes];
        for (const auto call : query.calls) {
            EXPECT_EQ(call(row.p), row.isHit) << query.name << ", line " << row.line;
            // Nothing meets what holds a NaN.
            for (unsigned i = 0; i < 3 * query.points; ++i) {
                V p[6];
                std::copy(row.p, row.p + 6, p);
                p[i / 3].Set(i % 3, NOT);
                EXPECT_FALSE(call(p)) << query.name << ", line " << row.line << ", number " << i;
            }
        }
    }
}

/// Corners on a grid of whole numbers, of all kinds; or in general position.
struct Corners {
    Corners(Input& input, bool isWhole) {
        for (V& corner : p) {
            const auto whole = [&input] { return static_cast<float>(static_cast<int>(input.Below(7)) - 3); };
            corner = isWhole ? V{whole(), whole(), whole(), 1e9F} : RandomPoint(input, 3, 1e9F);
        }
        const float level = p[0].Z();
        const bool isFlat = input.OnceIn(4);
        for (V& corner : p) { // in one plane
            corner.SetZ(isFlat && isWhole ? level : corner.Z());
        }
    }

    V p[6];
};

// Distances are proven nearest elsewhere. Whole numbers leave triangles apart by more than their error, or not at all.
TEST(IntersectPair, TrianglesMeetWhereTheirDistanceIsNothing) {
    Input input(21);
    int meeting = 0;
    for (unsigned round = 0; round < 20000; ++round) {
        const bool isWhole = !input.OnceIn(3);
        const Corners c(input, isWhole);
        const V* const p = c.p;
        const float distanceSqr =
            Z4::Geometry::DistanceTriangleToTriangleSqr(p[0], p[1], p[2], p[3], p[4], p[5], nullptr);
        const bool isNear = distanceSqr < 1e-6F;
        meeting += isNear ? 1 : 0;
        for (const bool isConsistent : {false, true}) {
            if (isWhole || isNear == (distanceSqr < 1e-10F)) {
                ASSERT_EQ(Meets(TRIANGLE_TRIANGLE, p, isConsistent), isNear) << round;
            }
            const V exchanged[] = {p[4], p[5], p[3], p[0], p[2], p[1]};
            ASSERT_TRUE(!isWhole || Meets(TRIANGLE_TRIANGLE, exchanged, isConsistent) == isNear) << round;
        }
    }
    EXPECT_GT(meeting, 3000);
}

TEST(IntersectPair, TrianglesShareTheSegmentThatIsInBoth) {
    using namespace Z4::Geometry;
    Input input(24);
    int segments = 0;
    for (unsigned round = 0; round < 10000; ++round) {
        const Corners c(input, input.OnceIn(3));
        const V* const t = c.p;
        const V ends[] = {V::ONE, V::ONE};
        V p = ends[0];
        V q = ends[1];
        const bool isHit = IntersectTriangleTriangle(t[0], t[1], t[2], t[3], t[4], t[5], p, q);
        ASSERT_EQ(isHit, Meets(TRIANGLE_TRIANGLE, t)) << round;
        if (!isHit) {
            ASSERT_TRUE(p == ends[0] && q == ends[1]) << round;
            continue;
        }
        const auto outside = [&](const V& point) {
            float at[3];
            return std::max(DistanceSegmentToTriangleSqr(point, point, t[0], t[1], t[2], at[0], at[1], at[2]),
                            DistanceSegmentToTriangleSqr(point, point, t[3], t[4], t[5], at[0], at[1], at[2]));
        };
        // A plane is known as well as its triangle is wide, their line as well as their angle is wide.
        const V n = Cross3(t[1] - t[0], t[2] - t[0]);
        const V m = Cross3(t[4] - t[3], t[5] - t[3]);
        const float sine = Length3(Cross3(Normalize3(n), Normalize3(m))).X();
        const float width = std::min({Length3(n).X(), Length3(m).X(), 1.0F});
        const float bound = sine > 1e-5F ? 1e-4F / (sine * width) : 1e-3F;
        ASSERT_LT(outside(p), bound * bound) << round;
        ASSERT_LT(outside(q), bound * bound) << round;
        ASSERT_LT(outside((p + q) * 0.5F), bound * bound) << round;
        if (sine > 0.1F && Length3(q - p).X() > 0.1F) { // and no more of it is
            ++segments;
            ASSERT_GT(outside(p + (p - q) * 0.05F), 0) << round;
            ASSERT_GT(outside(q + (q - p) * 0.05F), 0) << round;
        }
    }
    EXPECT_GT(segments, 500);
}

/// Whether something of a triangle is left when it is cut along planes that are moved out by so much.
bool IsLeft(const V* corners, std::vector<V> planes, float growth) {
    for (V& plane : planes) {
        plane.SetW(plane.W() + growth);
    }
    V clipped[9];
    V scratch[9];
    return Z4::Geometry::ClipPolygonByConvex(corners, 3, planes.data(), planes.size(), clipped, scratch) != 0;
}
std::vector<V> Sides(const GeometryOBB& box) {
    std::vector<V> sides;
    for (unsigned k = 0; k < 3; ++k) {
        const V& axis = box.GetAxisDir()[k];
        for (const float sign : {1.0F, -1.0F}) {
            const float height = box.GetExtent()[k] - sign * Dot3(axis, box.GetCenter()).X();
            sides.emplace_back(sign * Z4::ToVector3f(axis), height);
        }
    }
    return sides;
}

TEST(IntersectPair, TrianglesMeetBoxesThatCutSomethingOut) {
    Input input(22);
    int meeting = 0;
    for (unsigned round = 0; round < 20000; ++round) {
        const bool isWhole = input.OnceIn(2);
        const Corners c(input, isWhole);
        const GeometryAABB box(Min(c.p[3], c.p[4]), Max(c.p[3], c.p[4]));
        const V p[] = {c.p[0], c.p[1], c.p[2], box.GetMin(), box.GetMax()};
        const std::vector<V> sides = Sides(box.ToOOBox());
        const bool isLeft = IsLeft(p, sides, 1e-5F);
        meeting += isLeft ? 1 : 0;
        if (isLeft != IsLeft(p, sides, isWhole ? 1e-5F : -1e-5F)) {
            continue; // too near to tell
        }
        for (const bool isConsistent : {false, true}) {
            ASSERT_EQ(Meets(TRIANGLE_AABB, p, isConsistent), isLeft) << round;
        }
    }
    EXPECT_GT(meeting, 3000);
}

/// Six sides, numbered as those of a box.
struct Solid {
    /// Whether a face of the other is cut, or the other holds this one.
    bool Meets(const Solid& other, float growth) const {
        bool isMet = IsLeft(std::vector<V>(3, corners[0]).data(), other.planes, growth);
        for (unsigned long i = 0; i < 12 && !isMet; ++i) {
            unsigned short k[3];
            GeometryOBB::GetFaceTriIndices(i, k[0], k[1], k[2], false);
            const V face[] = {other.corners[k[0]], other.corners[k[1]], other.corners[k[2]]};
            isMet = IsLeft(face, planes, growth);
        }
        return isMet;
    }

    V corners[8];
    std::vector<V> planes;
};

TEST(IntersectPair, FrustaWithoutAnEndMeetByTheirPlanes) {
    using namespace Z4::Geometry;
    const V planes[] = {{1, 0, 1, 0}, {-1, 0, 1, 0}, {0, 1, 1, 0}, {0, -1, 1, 0}, {0, 0, 1, -1}, {0, 0, 0, 1}};
    const GeometryFrustum open(planes);
    const V inside(0, 0, 5, 0);
    EXPECT_TRUE(IntersectFrustumFrustum(open, open));
    EXPECT_FALSE(IntersectFrustumFrustum(open, GeometryFrustum()) || IntersectFrustumFrustum(GeometryFrustum(), open));
    EXPECT_TRUE(IntersectFrustumTriangle(open, inside, inside, {0, 0, -9, 0}));
    EXPECT_FALSE(IntersectFrustumTriangle(open, inside, inside, {0, NOT, 5, 0}));
    EXPECT_TRUE(IntersectFrustumAABB(open, GeometryAABB(inside, inside)));
    EXPECT_FALSE(IntersectFrustumAABB(open, GeometryAABB(-inside, -inside)));
}

TEST(IntersectPair, SolidsMeetWhatTheyCut) {
    using namespace Z4::Geometry;
    Input input(23);
    int meeting[6] = {};
    int planesErr = 0;
    for (unsigned round = 0; round < 8000; ++round) {
        // Two cameras that look around, and two boxes.
        GeometryFrustum frusta[2];
        GeometryOBB boxes[2];
        Solid solids[4];
        const bool isStraight = round % 3 == 0;
        Z4::MatrixSIMD44f axes = isStraight ? Z4::MatrixSIMD44f::IDENTITY : RandomRotation(input);
        for (unsigned i = 0; i < 2; ++i) {
            const Z4::MatrixSIMD44f projection{V(1, 0, 0, 0), V(0, 1, 0, 0), V(0, 0, 1.25F, 1), V(0, 0, -1.25F, 0)};
            Z4::MatrixSIMD44f view = RandomRotation(input);
            view.Row(3) = RandomPoint(input, 4, 1);
            frusta[i] = GeometryFrustum(view * projection, DepthRange::ZERO_TO_ONE);
            ASSERT_TRUE(frusta[i].GetCorners(solids[i].corners));
            for (unsigned long k = 0; k < 6; ++k) {
                solids[i].planes.push_back(frusta[i].GetPlane(k));
            }
            const V center = RandomPoint(input, i == 0 ? 6.0F : 3.0F);
            const V extent = Abs(RandomPoint(input, 2)) * V(input.OnceIn(4) ? 0.0F : 1.0F, 1, 1, 0);
            boxes[i] = GeometryOBB(i == 0 ? center : boxes[0].GetCenter() + center, &axes.Row(0), extent);
            for (unsigned long k = 0; k < 8; ++k) {
                solids[2 + i].corners[k] = boxes[i][k];
            }
            solids[2 + i].planes = Sides(boxes[i]);
            // The second box at any angle to the first, or at hardly one.
            axes = axes * Z4::MakeRotation<Z4::MatrixSIMD44f>(RandomPoint(input, 1), input.OnceIn(2) ? 2.0 : 1e-6);
        }
        const V triangle[] = {boxes[0][0], boxes[0][2], boxes[0][4]};
        // Axes of edges that are nearly parallel are none to the library, which may then take boxes for meeting.
        const float excess = 0.02F;
        const struct {
            bool answer;
            const Solid& solid;
            const Solid* other; // else the triangle
            float excess = 1e-4F;
        } rows[] = {
            {IntersectFrustumFrustum(frusta[0], frusta[1]), solids[0], &solids[1]},
            {isStraight ? IntersectFrustumAABB(frusta[0], boxes[0].ToAABox())
                        : IntersectFrustumOBB(frusta[0], boxes[0]),
             solids[0], &solids[2]},
            {boxes[0].Intersect(boxes[1]), solids[2], &solids[3], excess},
            {boxes[1].Intersect(boxes[0]), solids[2], &solids[3], excess},
            {IntersectFrustumTriangle(frusta[0], triangle[0], triangle[1], triangle[2]), solids[0], nullptr},
            {IntersectTriangleOBB(triangle[0], triangle[1], triangle[2], boxes[1]), solids[3], nullptr},
        };
        for (const auto& row : rows) {
            const auto meets = [&](float growth) {
                return row.other != nullptr ? row.solid.Meets(*row.other, growth)
                                            : IsLeft(triangle, row.solid.planes, growth);
            };
            meeting[&row - rows] += row.answer ? 1 : 0;
            ASSERT_TRUE(row.answer ? meets(row.excess) : !meets(-1e-4F)) << round << ", " << &row - rows;
        }
        planesErr += !rows[1].answer && ClassifyOBBByFrustum(frusta[0], boxes[0]) != Containment::OUTSIDE ? 1 : 0;
        const V nothing(NOT, 0, 0, 0);
        ASSERT_FALSE(IntersectFrustumTriangle(frusta[0], nothing, triangle[0], solids[0].corners[0])) << round;
        ASSERT_FALSE(IntersectFrustumFrustum(frusta[0], GeometryFrustum())) << round;
    }
    EXPECT_GT(planesErr, 20);
    EXPECT_GT(*std::min_element(meeting, meeting + 6), 300);
}

} // namespace
