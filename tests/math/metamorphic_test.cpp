// What a query answers of a figure it also answers of the figure moved: a term that takes part in one axis only, or
// that has the wrong power of a length, shows here without any oracle.
#include "figures.h"
#include "pairqueries.h"
#include "rayqueries.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>

namespace {

using V = Z4::VectorSIMD4f;
using Z4::Geometry::GeometryRay;
using ZelkTest::Input;
using ZelkTest::RandomPoint;
using ZelkTest::RayAnswer;

/// First a cyclic exchange of the axes, then signs, then size, then place.
struct Move {
    const char* name;
    bool exchanges;
    V signs;
    float scale;
    V way;

    bool KeepsAxes() const { return !exchanges && signs == V(1, 1, 1, 1); }
    V Axis(const V& v) const { return signs * (exchanges ? V(v.Y(), v.Z(), v.X(), v.W()) : v); }
    /// `kind`: a (p)oint with a radius, a (v)ector, an (e)xtent of an oriented box, its (a)xis, or a p(l)ane.
    V operator()(const V& v, char kind) const {
        const V turned = Axis(v);
        switch (kind) {
        case 'p':
            return turned * V(scale, scale, scale, scale) + way;
        case 'v':
            return turned * scale;
        case 'e':
            return v * scale;
        case 'l':
            return {turned.X(), turned.Y(), turned.Z(), scale * v.W() - Z4::Dot3(turned, way).X()};
        default:
            return turned;
        }
    }
};

const Move MOVES[] = {
    {"larger", false, {1, 1, 1, 1}, 8, V::ZERO},
    {"mirrored", false, {-1, 1, 1, 1}, 1, V::ZERO},
    {"exchanged", true, {1, 1, 1, 1}, 1, V::ZERO},
    {"elsewhere", false, {1, 1, 1, 1}, 1, {16, -8, 4, 0}},
};

/// Of the queries by RayShape, and of PAIR_QUERIES.
constexpr const char* RAY_KINDS[] = {"lllll", "p", "pp", "pp", "l", "pp", "peaaa", "ppp", "ppp", "pvv"};
constexpr const char* PAIR_KINDS[] = {"pp",   "ppp",  "ppe",   "pppp",  "ppp",   "pppp",
                                      "pppp", "pppe", "ppppp", "ppppp", "ppppe", "pppppp"};

struct Figure {
    Figure(Input& input, const char* kinds) {
        const Z4::MatrixSIMD44f axes = ZelkTest::RandomRotation(input);
        for (unsigned i = 0, axis = 0; kinds[i] != '\0'; ++i) {
            p[i] = RandomPoint(input, 2, 1 + input.Number(1.0F));
            p[i] = kinds[i] == 'a' ? axes.Row(axis++) : kinds[i] == 'e' ? Abs(p[i]) : p[i];
        }
    }
    Figure(const Figure& other, const Move& move, const char* kinds) {
        for (unsigned i = 0; kinds[i] != '\0'; ++i) {
            p[i] = move(other.p[i], kinds[i]);
        }
    }
    V p[6];
};

void SortCorners(V* p) {
    const V low = Min(p[0], p[1]);
    p[1] = Max(p[0], p[1]);
    p[0] = low;
}

template <class Queries>
void MoveRays(const Queries& queries, unsigned firstShape, unsigned count) {
    Input input(5);
    for (unsigned round = 0; round < 800 * count; ++round) {
        const unsigned shape = firstShape + round % count;
        const char* const kinds = RAY_KINDS[shape];
        Figure figure(input, kinds);
        const V start = RandomPoint(input, 4);
        const V direction = RandomPoint(input, 2) - start;
        for (const Move& move : MOVES) {
            if (shape == ZelkTest::FRONT && move.signs.X() < 0) {
                continue; // another side is in front then
            }
            Figure moved(figure, move, kinds);
            if (shape == ZelkTest::AABB) {
                SortCorners(figure.p);
                SortCorners(moved.p);
            }
            const GeometryRay ray(start, direction, 2);
            const GeometryRay movedRay(move(start, 'p'), move(direction, 'v'), 2);
            for (const ZelkTest::RayQuery& query : queries[round % count]) {
                const RayAnswer before = query(ray, figure.p);
                const RayAnswer after = query(movedRay, moved.p);
                ASSERT_EQ(before.isHit, after.isHit) << query.name << ' ' << move.name << ", round " << round;
                for (unsigned i = 0; i < 3; ++i) {
                    const float far = std::fabs(before.written[i] - after.written[i]);
                    ASSERT_LE(far, move.scale != 1 ? 0.0F : 2e-4F)
                        << query.name << ' ' << move.name << ", round " << round;
                }
            }
        }
    }
}

TEST(Metamorphic, RaysSegmentsAndPoints) {
    MoveRays(ZelkTest::RAY_QUERIES, 0, std::size(ZelkTest::RAY_QUERIES));
    MoveRays(ZelkTest::SEGMENT_QUERIES, ZelkTest::SPHERE, std::size(ZelkTest::SEGMENT_QUERIES));
    MoveRays(ZelkTest::POINT_QUERIES, 0, ZelkTest::CYLINDER + 1);
}

TEST(Metamorphic, Pairs) {
    Input input(6);
    for (unsigned round = 0; round < 800 * ZelkTest::PAIR_COUNT; ++round) {
        const unsigned shapes = round % ZelkTest::PAIR_COUNT;
        const char* const kinds = PAIR_KINDS[shapes];
        Figure figure(input, kinds);
        const bool isTurned = std::strchr(kinds, 'e') != nullptr;
        const bool hasBox = std::strstr(ZelkTest::PAIR_QUERIES[shapes].name, "aabb") != nullptr;
        const std::size_t corners = std::strlen(kinds) - 2;
        for (const Move& move : MOVES) {
            Figure moved(figure, move, kinds);
            if (hasBox) {
                SortCorners(figure.p + corners);
                SortCorners(moved.p + corners);
            }
            for (unsigned form = 0; form < 2 && (move.KeepsAxes() || !isTurned); ++form) {
                const auto query = ZelkTest::PAIR_QUERIES[shapes].calls[form];
                ASSERT_EQ(query(figure.p), query(moved.p))
                    << ZelkTest::PAIR_QUERIES[shapes].name << ' ' << move.name << ", round " << round;
            }
        }
    }
}

} // namespace
