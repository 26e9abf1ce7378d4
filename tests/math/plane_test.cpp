// Planes against their own points, and what lies in front of them against all corners of it.
#include "figures.h"

#include <gtest/gtest.h>
#include <limits>
#include <zelk_core/math/geometry/intersectsegment.h>
#include <zelk_core/math/geometry/plane.h>

namespace {

using namespace Z4::Geometry;
using namespace ZelkTest;

TEST(Plane, GoesThroughItsPoints) {
    Input input(9);
    for (unsigned round = 0; round < 2000; ++round) {
        const V p[] = {RandomPoint(input, 5, 1), RandomPoint(input, 5, 1), RandomPoint(input, 5, 1)};
        const V q = RandomPoint(input, 5, 1);
        V planes[3];
        ASSERT_TRUE(MakePlane(planes[0], p[0], p[1], p[2]));
        ASSERT_TRUE(MakePlane(planes[1], p, 3));
        planes[2] = MakePlane(RandomPoint(input, 2), p[0]);
        // A slender triangle's own planes differ; at its corners they do not.
        for (unsigned i = 0; i < 3; ++i) {
            ASSERT_NEAR(DistancePointToPlane(p[i], planes[0]), 0, 2e-5);
            ASSERT_NEAR(Consistent::DistancePointToPlane(p[i], planes[1]), 0, 2e-4);
        }
        ASSERT_NEAR(DistancePointToPlane(p[0], planes[2]), 0, 2e-5);
        const V foot = ClosestPointToPlane(q, planes[2]);
        ASSERT_NEAR(DistancePointToPlane(foot, planes[2]), 0, 1e-4);
        ASSERT_LT(Length3(Cross3(foot - q, planes[2])).X(), 1e-3);
        // No chain of segments slips through it there.
        const V beside = And(planes[2], V::MASK_3D);
        float t = -1;
        ASSERT_TRUE(IntersectSegmentPlane(foot + beside, foot, planes[2], t) ||
                    IntersectSegmentPlane(foot, foot - beside, planes[2], t));
        ASSERT_TRUE(t >= 0 && t <= 1);
        V point;
        V direction;
        if (IntersectPlanePlane(planes[0], planes[2], point, direction) && LengthSqr3(direction).X() > 0.1F) {
            ASSERT_NEAR(DistancePointToPlane(point, planes[0]), 0, 1e-3);
            ASSERT_NEAR(DistancePointToPlane(point + direction, planes[2]), 0, 1e-3);
            V meeting;
            const V third = MakePlane(direction, q);
            ASSERT_TRUE(IntersectPlanes(planes[0], planes[2], third, meeting));
            ASSERT_NEAR(DistancePointToPlane(meeting, third), 0, 1e-3);
            ASSERT_NEAR(DistancePointToPlane(meeting, planes[0]), 0, 1e-3);
            ASSERT_EQ(meeting.W(), 1);
        }
        Z4::MatrixSIMD44f m = RandomRotation(input);
        m.Row(3) = q;
        const V moved = TransformPlane(planes[2], InverseAffine(m));
        ASSERT_NEAR(DistancePointToPlane(TransformPoint(p[1], m), moved), DistancePointToPlane(p[1], planes[2]), 1e-4);
        ASSERT_FALSE(MakePlane(point, p[0], p[0], p[1]));
        ASSERT_FALSE(MakePlane(point, p, 2));
    }
}

TEST(Plane, ClassifiesByAllCorners) {
    Input input(10);
    int seen[3] = {};
    for (unsigned round = 0; round < 4000; ++round) {
        const auto coarse = [&] { return V{input.Coarse(), input.Coarse(), input.Coarse(), 0.0F}; };
        const V p[] = {coarse(), coarse(), coarse()};
        const V plane{input.Coarse(), input.Coarse(), input.Coarse(), input.Coarse()};
        const GeometryAABB box(p, 2);
        // All of these numbers are small multiples of 1/64, so that touching is exact.
        const auto of = [&](const auto& corners, unsigned long count) {
            unsigned long inFront = 0;
            for (unsigned long i = 0; i < count; ++i) {
                const double height = Dot(Wide(corners[i]), Wide(plane)) + plane.W();
                inFront += height >= 0 ? 1 : 0;
            }
            return inFront == count ? Containment::INSIDE
                                    : (inFront != 0 ? Containment::INTERSECTING : Containment::OUTSIDE);
        };
        const Containment expected = of(box, 8);
        ++seen[static_cast<int>(expected)];
        ASSERT_EQ(ClassifyAABBByPlane(box, plane), expected) << round;
        ASSERT_EQ(ClassifyOBBByPlane(box.ToOOBox(), plane), expected) << round;
        ASSERT_EQ(ClassifyTriangleByPlane(p[0], p[1], p[2], plane), of(p, 3)) << round;
        // Beside a plane along the axes, a ball is its box.
        const V level(0, 2, 0, plane.W());
        const GeometryAABB cube(p[0] - 0.5F, p[0] + 0.5F);
        ASSERT_EQ(ClassifySphereByPlane(p[0], 0.5F, level), ClassifyAABBByPlane(cube, level)) << round;
    }
    EXPECT_TRUE(seen[0] > 100 && seen[1] > 100 && seen[2] > 100);
    const V up(0, 1, 0, 9);
    EXPECT_EQ(ClassifyAABBByPlane(GeometryAABB(), up), Containment::OUTSIDE);
    EXPECT_EQ(ClassifySphereByPlane(V::ZERO, -1, up), Containment::OUTSIDE);
    EXPECT_EQ(ClassifySphereByPlane({0, NOT, 0, 0}, 1, up), Containment::OUTSIDE);
    EXPECT_EQ(ClassifyOBBByPlane(GeometryOBB(V::ZERO, -V::ONE), up), Containment::OUTSIDE);
    EXPECT_EQ(ClassifyTriangleByPlane(V::ZERO, V::ZERO, {0, NOT, 0, 0}, up), Containment::OUTSIDE);
}

} // namespace
