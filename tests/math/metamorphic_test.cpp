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

using Z4::Geometry::GeometryRay;
using namespace ZelkTest;

/// First a cyclic exchange of the axes, then signs, then size, then place.
struct Move {
    const char* name;
    bool exchanges;
    V signs;
    float scale;
    V way;

    bool KeepsAxes() const { return !exchanges && signs == V(1, 1, 1, 1); }
    V Axis(const V& v) const { return signs * (exchanges ? V(v.Y(), v.Z(), v.X(), v.W()) : v); }
    V operator()(const V& v, char kind) const {
        const V turned = Axis(v);
        switch (kind) {
        case 'p':
        case 'b':
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

Figure Moved(Figure figure, const Move& move, const char* kinds) {
    for (unsigned i = 0; kinds[i] != '\0'; ++i) {
        figure.p[i] = move(figure.p[i], kinds[i]);
    }
    figure.SortCorners(kinds);
    return figure;
}

template <class Queries>
void MoveRays(const Queries& queries, unsigned firstShape, unsigned count) {
    Input input(5);
    for (unsigned round = 0; round < 800 * count; ++round) {
        const unsigned shape = firstShape + round % count;
        const char* const kinds = RAY_KINDS[shape];
        const Figure figure(input, kinds);
        const V start = RandomPoint(input, 4);
        const V direction = RandomPoint(input, 2) - start;
        for (const Move& move : MOVES) {
            if (shape == FRONT && move.signs.X() < 0) {
                continue; // another side is in front then
            }
            const Figure moved = Moved(figure, move, kinds);
            const GeometryRay ray(start, direction, 2);
            const GeometryRay movedRay(move(start, 'p'), move(direction, 'v'), 2);
            for (const RayQuery& query : queries[round % count]) {
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
    MoveRays(RAY_QUERIES, 0, std::size(RAY_QUERIES));
    MoveRays(SEGMENT_QUERIES, SPHERE, std::size(SEGMENT_QUERIES));
    MoveRays(POINT_QUERIES, 0, CYLINDER + 1);
}

TEST(Metamorphic, Pairs) {
    Input input(6);
    for (unsigned round = 0; round < 800 * PAIR_COUNT; ++round) {
        const unsigned shapes = round % PAIR_COUNT;
        const char* const kinds = PAIR_QUERIES[shapes].kinds;
        const Figure figure(input, kinds);
        const bool isTurned = std::strchr(kinds, 'e') != nullptr;
        for (const Move& move : MOVES) {
            const Figure moved = Moved(figure, move, kinds);
            for (unsigned form = 0; form < 2 && (move.KeepsAxes() || !isTurned); ++form) {
                const auto query = PAIR_QUERIES[shapes].calls[form];
                ASSERT_EQ(query(figure.p), query(moved.p))
                    << PAIR_QUERIES[shapes].name << ' ' << move.name << ", round " << round;
            }
        }
    }
}

} // namespace
