// What remains of polygons in front of planes: a table for what touches, areas and shared corners for the rest. That
// the convex form clips by each plane in turn is what fuzz/intersect_fuzz.cpp holds.
#include "figures.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>
#include <zelk_core/math/geometry/clip.h>

namespace {

using namespace ZelkTest;
using Polygon = std::vector<V>;

const struct Form {
    decltype(&Z4::Geometry::SplitPolygon) split;
    decltype(&Z4::Geometry::ClipSegment) clipSegment;

    void Split(const Polygon& polygon, const V& plane, Polygon& front, Polygon& back) const {
        front.resize(polygon.size() + 1);
        back.resize(polygon.size() + 1);
        unsigned long counts[2];
        split(polygon.data(), static_cast<unsigned long>(polygon.size()), plane, front.data(), counts[0], back.data(),
              counts[1]);
        front.resize(counts[0]);
        back.resize(counts[1]);
    }
} FORMS[] = {{Z4::Geometry::SplitPolygon, Z4::Geometry::ClipSegment},
             {Z4::Geometry::Consistent::SplitPolygon, Z4::Geometry::Consistent::ClipSegment}};

TEST(Clip, DegenerateFigures) {
    const Polygon square{{0, 0, 0, 0}, {2, 0, 0, 4}, {2, 2, 0, 8}, {0, 2, 0, 4}};
    const Polygon comb{{0, 0, 0, 0}, {6, 0, 0, 0}, {6, 3, 0, 0}, {4, 1, 0, 0},
                       {3, 2, 0, 0}, {2, 1, 0, 0}, {0, 4, 0, 0}};
    const struct {
        int line;
        Polygon polygon;
        V plane;
        Polygon front;
        std::size_t backCount;
    } rows[] = {
        {__LINE__, square, {1, 0, 0, -1}, {{1, 0, 0, 2}, {2, 0, 0, 4}, {2, 2, 0, 8}, {1, 2, 0, 6}}, 4},
        {__LINE__, square, {1, 1, 0, -1}, {{0, 1, 0, 2}, {1, 0, 0, 2}, square[1], square[2], square[3]}, 3},
        {__LINE__, square, {1, -1, 0, 0}, {square[0], square[1], square[2]}, 3}, // through corners
        {__LINE__, square, {1, 0, 0, 0}, square, 0},                             // an edge on the plane
        {__LINE__, square, {1, 0, 0, -2}, {}, 4},
        {__LINE__, square, {1, 1, 0, -4}, {}, 4}, // a corner on the plane
        {__LINE__, square, {0, 0, 1, 0}, square, 0},
        {__LINE__, square, {0, 0, 0, -1}, {}, 4},
        {__LINE__, square, {NOT, 0, 0, 1}, {}, 0},
        {__LINE__, {square[0], square[1], {NOT, 1, 0, 0}}, {0, 0, 1, 1}, {}, 0},
        {__LINE__, {square[0], square[1]}, {1, 0, 0, -1}, {}, 0},
        {__LINE__, {}, {1, 0, 0, -1}, {}, 0},
        // Of what is not convex, the corners in a row about the farthest.
        {__LINE__, comb, {0, 1, 0, -1.5F}, {{0, 1.5F, 0, 0}, comb[6], {1.6666666F, 1.5F, 0, 0}}, 4},
    };
    for (const Form& form : FORMS) {
        for (const auto& row : rows) {
            Polygon front;
            Polygon back;
            form.Split(row.polygon, row.plane, front, back);
            ASSERT_EQ(front.size(), row.front.size()) << row.line;
            for (const V& corner : row.front) {
                EXPECT_EQ(std::count(front.begin(), front.end(), corner), 1) << row.line;
            }
            EXPECT_EQ(back.size(), row.backCount) << row.line;
        }
        V a(0, 0, 0, 0);
        V b(4, 0, 0, 8);
        const V planes[] = {{1, 0, 0, -1}, {-1, 0, 0, 1}, {1, 0, 0, -2}, {NOT, 0, 0, 9}};
        EXPECT_FALSE(form.clipSegment(a, b, planes, 3) || form.clipSegment(a, b, planes + 3, 1));
        EXPECT_TRUE(form.clipSegment(a, b, planes, 0) && Same(a, {0, 0, 0, 0}) && Same(b, {4, 0, 0, 8}));
        EXPECT_TRUE(form.clipSegment(a, b, planes, 2) && Same(a, {1, 0, 0, 2}) && Same(b, a)); // one point
    }
}

double Area(const Polygon& polygon) {
    Z4::Vector3d sum(0, 0, 0);
    for (std::size_t i = 2; i < polygon.size(); ++i) {
        sum += Cross(Wide(polygon[i - 1]) - Wide(polygon[0]), Wide(polygon[i]) - Wide(polygon[0]));
    }
    return Length(sum) / 2;
}
double HeightOf(const V& p, const V& plane) {
    return Dot(Wide(p), Wide(plane)) + static_cast<double>(plane.W());
}

TEST(Clip, PartsMakeTheWholeAndShareTheirNewCorners) {
    Input input(1);
    unsigned cuts = 0;
    for (unsigned round = 0; round < 3000; ++round) {
        const Z4::MatrixSIMD44f turn = input.OnceIn(2) ? RandomRotation(input) : Z4::MatrixSIMD44f::IDENTITY;
        Polygon polygon(3 + input.Below(6));
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const double angle = 6.2831853 * static_cast<double>(i) / static_cast<double>(polygon.size());
            polygon[i] =
                V(5 * static_cast<float>(std::cos(angle)), 3 * static_cast<float>(std::sin(angle)), 1, 0) * turn;
        }
        const V plane = input.OnceIn(3) ? V(input.Coarse(), input.Coarse(), input.Coarse(), input.Coarse())
                                        : RandomPoint(input, 2, input.Number(4));
        const double near = 1e-5 * (1 + Length(Wide(plane)));
        for (const Form& form : FORMS) {
            Polygon front;
            Polygon back;
            form.Split(polygon, plane, front, back);
            ASSERT_NEAR(Area(front) + Area(back), Area(polygon), 1e-4) << round;
            const auto isIn = [](const Polygon& corners, const V& p) {
                return std::any_of(corners.begin(), corners.end(), [&p](const V& corner) { return Same(corner, p); });
            };
            for (const V& p : front) {
                ASSERT_GE(HeightOf(p, plane), -near) << round;
                ASSERT_TRUE(isIn(polygon, p) || isIn(back, p)) << round;
                cuts += isIn(polygon, p) ? 0U : 1U;
            }
            for (const V& p : back) {
                ASSERT_LE(HeightOf(p, plane), near) << round;
            }
            // A neighbour at each edge, which it has the other way round.
            for (std::size_t i = 0; i < polygon.size() && !front.empty() && !back.empty(); ++i) {
                V a = polygon[(i + 1) % polygon.size()];
                V b = polygon[i];
                if (std::min(HeightOf(a, plane), HeightOf(b, plane)) < -near &&
                    std::max(HeightOf(a, plane), HeightOf(b, plane)) > near) {
                    ASSERT_TRUE(form.clipSegment(a, b, &plane, 1) && isIn(front, a) && isIn(front, b)) << round;
                }
            }
        }
    }
    EXPECT_GT(cuts, 3000U);
}

} // namespace
