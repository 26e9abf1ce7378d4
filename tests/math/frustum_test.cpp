// What a frustum sees: its planes against the corners of clip space, its answers against corners of bodies. That it
// sees many as it sees one is what fuzz/intersect_fuzz.cpp holds.
#include "figures.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <zelk_core/math/geometry/cull.h>

namespace {

using namespace Z4::Geometry;
using namespace ZelkTest;
using Z4::MatrixSIMD44f;

constexpr DepthRange DEPTHS[] = {DepthRange::ZERO_TO_ONE, DepthRange::MINUS_ONE_TO_ONE, DepthRange::ONE_TO_ZERO};

/// The depth that the near end, at `end` 0, and the far one get.
float DepthAt(DepthRange depths, unsigned end) {
    static constexpr float AT[][2] = {{0, 1}, {-1, 1}, {1, 0}};
    return AT[static_cast<unsigned>(depths)][end];
}

/// Looks along z from 0 with a slope of 1 / `zoom` to each side; with `far` infinite, without an end.
MatrixSIMD44f Perspective(float zoom, float near, float far, DepthRange depths) {
    const float atNear = DepthAt(depths, 0);
    const float atFar = DepthAt(depths, 1);
    // The depth is a + b / z.
    const float b = far == INF ? (atNear - atFar) * near : (atNear - atFar) / (1 / near - 1 / far);
    const float a = atNear - b / near;
    return MatrixSIMD44f{V(zoom, 0, 0, 0), V(0, zoom, 0, 0), V(0, 0, a, 1), V(0, 0, b, 0)};
}

TEST(Frustum, EndsWhereClipSpaceDoes) {
    Input input(1);
    for (const DepthRange depths : DEPTHS) {
        for (unsigned round = 0; round < 300; ++round) {
            MatrixSIMD44f camera = RandomRotation(input);
            camera.Row(3) = RandomPoint(input, 3, 1);
            if (input.OnceIn(2)) { // mirrored
                camera.Row(0) = -camera.Row(0);
            }
            MatrixSIMD44f projection = Perspective(static_cast<float>(input.Number(0.5, 2)), 0.5F, 20, depths);
            if (input.OnceIn(3)) { // orthographic
                const float atNear = DepthAt(depths, 0);
                const float depth = (DepthAt(depths, 1) - atNear) / 8;
                projection =
                    MatrixSIMD44f{V(0.5F, 0, 0, 0), V(0, 0.25F, 0, 0), V(0, 0, depth, 0), V(0, 0, atNear - depth, 1)};
            }
            const MatrixSIMD44f matrix = camera * projection;
            const GeometryFrustum frustum(matrix, depths);
            V corners[8];
            ASSERT_TRUE(frustum.GetCorners(corners));
            static constexpr float SIGNS[8][3] = {{-1, -1, 0}, {1, -1, 0},  {1, 1, 0},  {-1, 1, 0},
                                                  {-1, 1, 1},  {-1, -1, 1}, {1, -1, 1}, {1, 1, 1}};
            for (unsigned i = 0; i < 8; ++i) {
                const V clip = corners[i] * matrix;
                const V expected(SIGNS[i][0], SIGNS[i][1], DepthAt(depths, SIGNS[i][2] != 0 ? 1 : 0), 1);
                const V error = Abs(clip / clip.BroadcastW() - expected);
                ASSERT_TRUE(AllTrue3(Less(error, V::Broadcast(1e-3F)))) << round << ", corner " << i;
            }
            for (unsigned i = 0; i < 40; ++i) {
                const V p = RandomPoint(input, 12, 1);
                const V clip = p * matrix;
                const float near = DepthAt(depths, 0) * clip.W();
                const float far = DepthAt(depths, 1) * clip.W();
                const float inside = std::min({clip.W() - std::fabs(clip.X()), clip.W() - std::fabs(clip.Y()),
                                               clip.Z() - std::min(near, far), std::max(near, far) - clip.Z()});
                if (std::fabs(inside) > 1e-4F) {
                    ASSERT_EQ(frustum.Contains(p), inside > 0) << round;
                }
            }
            const V planes[] = {2 * frustum.GetPlane(0), frustum.GetPlane(1), frustum.GetPlane(2),
                                frustum.GetPlane(3),     frustum.GetPlane(4), frustum.GetPlane(5)};
            ASSERT_TRUE(GeometryFrustum(planes).Contains(corners[0] + 0.01F * (corners[7] - corners[0])));
        }
        const GeometryFrustum endless(Perspective(1, 1, INF, depths), depths);
        V corners[8] = {V::ONE};
        EXPECT_FALSE(endless.GetCorners(corners));
        EXPECT_EQ(corners[0], V::ONE);
        EXPECT_TRUE(endless.Contains({0, 0, 1e9F, 1}));
        EXPECT_FALSE(endless.Contains({0, 0, 0.9F, 1}));
        EXPECT_EQ(ClassifySphereByFrustum(endless, {0, 0, 100, 1}, 5), Containment::INSIDE);
    }
}

/// 4 wide, 8 high and 16 deep, with sides at whole numbers, so that touching is exact.
GeometryFrustum Room() {
    const V planes[] = {{1, 0, 0, 2}, {-1, 0, 0, 2}, {0, 1, 0, 4}, {0, -1, 0, 4}, {0, 0, 1, 8}, {0, 0, -1, 8}};
    return GeometryFrustum(planes);
}

TEST(Frustum, DegenerateFigures) {
    const V zero(0, 0, 0, 0);
    const GeometryFrustum room = Room();
    const struct {
        int line;
        V low, high;
        Containment expected;
    } rows[] = {
        {__LINE__, {-2, -4, -8, 0}, {2, 4, 8, 0}, Containment::INSIDE},
        {__LINE__, {-2, -4, -8, 0}, {2, 4, 8.0001F, 0}, Containment::INTERSECTING},
        {__LINE__, {2, 4, 8, 0}, {3, 5, 9, 0}, Containment::INTERSECTING}, // touches
        {__LINE__, {2.0001F, 0, 0, 0}, {3, 5, 9, 0}, Containment::OUTSIDE},
        {__LINE__, zero, zero, Containment::INSIDE},
        {__LINE__, {-3, -5, -9, 0}, {3, 5, 9, 0}, Containment::INTERSECTING},
        {__LINE__, {1, 1, 1, 0}, {-1, 1, 1, 0}, Containment::OUTSIDE},
        {__LINE__, {0, NOT, 0, 0}, {1, 1, 1, 0}, Containment::OUTSIDE},
        {__LINE__, {0, 0, 0, NOT}, {1, 1, 1, NOT}, Containment::INSIDE},
        {__LINE__, {0, 0, -20, 0}, {1, 1, -9, 0}, Containment::OUTSIDE},
    };
    for (const auto& row : rows) {
        const GeometryAABB box(row.low, row.high);
        EXPECT_EQ(ClassifyAABBByFrustum(room, box), row.expected) << row.line;
        EXPECT_EQ(ClassifyAABBByFrustum(GeometryFrustum(), box), Containment::OUTSIDE) << row.line;
        if (box.IsValid() && row.low.W() == 0) {
            EXPECT_EQ(ClassifyOBBByFrustum(room, box.ToOOBox()), row.expected) << row.line;
        }
    }
    EXPECT_EQ(ClassifySphereByFrustum(room, {2.5F, 0, 0, 0}, 0.5F), Containment::INTERSECTING);
    EXPECT_EQ(ClassifySphereByFrustum(room, {1.5F, 0, 0, 0}, 0.5F), Containment::INSIDE);
    EXPECT_EQ(ClassifySphereByFrustum(room, zero, -0.5F), Containment::OUTSIDE);
    EXPECT_EQ(ClassifySphereByFrustum(room, {0, NOT, 0, 0}, 0.5F), Containment::OUTSIDE);
    EXPECT_EQ(ClassifySphereByFrustum(room, zero, NOT), Containment::OUTSIDE);
    EXPECT_EQ(ClassifyOBBByFrustum(room, GeometryOBB(zero, -V::ONE)), Containment::OUTSIDE);
    EXPECT_EQ(room.GetPlane(5), V(0, 0, -1, 8));
    EXPECT_EQ(room.GetPlane(6), zero);
    EXPECT_EQ(GeometryFrustum().GetPlane(0).W(), -INF);
    EXPECT_EQ(GeometryFrustum(MatrixSIMD44f::ZERO * NOT, DepthRange::ZERO_TO_ONE).GetPlane(3).W(), -INF);
    V planes[6] = {{0, 0, 0, 1}, {0, 0, 0, 0}, {0, 0, 0, 1}, {0, 0, 0, 1}, {0, 0, 0, 1}, {1, 0, 0, 0}};
    EXPECT_TRUE(GeometryFrustum(planes).Contains({1, -1e9F, 1e9F, 0}));
    planes[3].SetW(-1);
    EXPECT_FALSE(GeometryFrustum(planes).Contains({1, 0, 0, 0}));
}

TEST(Frustum, TellsWhatItsPlanesAndCornersTell) {
    Input input(2);
    int seen[3] = {};
    for (unsigned round = 0; round < 10000; ++round) {
        const DepthRange depths = DEPTHS[round % 3];
        MatrixSIMD44f camera = RandomRotation(input);
        camera.Row(3) = RandomPoint(input, 3, 1);
        const GeometryFrustum frustum(camera * Perspective(1, 0.5F, 20, depths), depths);
        const V center = RandomPoint(input, 10, input.Number(2));
        const V extent = Abs(RandomPoint(input, 3));
        const auto check = [&](const auto& body, Containment where) {
            for (unsigned long corner = 0; corner < 9; ++corner) {
                ASSERT_TRUE(where != Containment::INSIDE ||
                            frustum.Contains(0.9999F * body[corner] + 0.0001F * body[8]));
                ASSERT_TRUE(where != Containment::OUTSIDE || !frustum.Contains(body[corner]));
            }
            ++seen[static_cast<int>(where)];
        };
        const GeometryAABB box(center - extent, center + extent);
        check(box, ClassifyAABBByFrustum(frustum, box));
        const GeometryOBB oriented(center, extent, RandomPoint(input, 3));
        check(oriented, ClassifyOBBByFrustum(frustum, oriented));
        const Containment ball = ClassifySphereByFrustum(frustum, center, center.W());
        for (unsigned k = 0; k < 6; ++k) {
            const float height = DistancePointToPlane(center, frustum.GetPlane(k));
            ASSERT_TRUE(ball != Containment::INSIDE || height >= center.W() - 1e-4F);
            ASSERT_TRUE(ball == Containment::OUTSIDE || height >= -center.W() - 1e-4F);
        }
    }
    EXPECT_TRUE(seen[0] > 100 && seen[1] > 100 && seen[2] > 100);
}

} // namespace
