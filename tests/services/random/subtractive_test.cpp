// Faults hunted: any slip in the uniform arithmetic, which is here without its lock, and in ranges at the ends of 32
// bits. reference.py computes the expected rows.
#include "checksum.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <vector>
#include <zelk_core/services/random/private/range.h>
#include <zelk_core/services/random/subtractiverandomgenerator.h>

using namespace Z4;
using Private::SubtractiveSequence;

namespace {

TEST(SubtractiveSequence, EqualsTheReference) {
    const struct {
        std::int32_t seed;
        std::int32_t first[3];
        std::uint32_t crc;
    } rows[] = {
        {1, {8227348, 5119168, 3021107}, 0xEFE1725A},         {-1, {8227348, 5119168, 3021107}, 0xEFE1725A},
        {42, {4670766, 1644133, 1623396}, 0xDC5AA8EE},        {0, {3923850, 3008803, 1103978}, 0xE980B960},
        {161803398, {3610054, 1029073, 7708320}, 0xE2C4CBFC}, {INT_MAX, {3399052, 2348188, 7623199}, 0xCAEC0EDA},
        {INT_MIN, {9095554, 237823, 5706070}, 0x4B9502DB},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.seed);
        SubtractiveSequence sequence;
        sequence.Seed(row.seed);
        std::vector<std::int32_t> draws(10'000);
        std::generate(draws.begin(), draws.end(), [&] { return sequence.Draw(); });
        EXPECT_TRUE(std::equal(row.first, row.first + 3, draws.begin()));
        EXPECT_EQ(Checksum(draws), row.crc);
    }
}

TEST(RangeOfDraws, WrapsAtTheEndsAndNeverTraps) {
    const struct {
        std::int32_t base;
        std::int32_t divisor;
        std::int32_t draw;
        std::int32_t expected;
    } rows[] = {
        {5, 10, 27, 12},
        {10, -6, 5, 15},
        {10, -6, 6, 10},
        {INT_MAX, 2, 1, INT_MIN},
        {0, INT_MIN, 9'999'999, 9'999'999},
        {3, -1, 9'999'999, 3},
        {0, INT_MIN, INT_MAX, INT_MAX},
        {INT_MIN, INT_MAX, 9'999'999, INT_MIN + 9'999'999},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Private::OffsetByRemainder(row.base, row.divisor, [&row] { return row.draw; }), row.expected)
            << row.base << ' ' << row.divisor << ' ' << row.draw;
    }
    bool drawn = false;
    EXPECT_EQ(Private::OffsetByRemainder(INT_MIN, 0, [&drawn] { return drawn = true; }), INT_MIN);
    EXPECT_FALSE(drawn);
    EXPECT_EQ(Private::WrappedDifference(INT_MAX, INT_MIN), -1);
    EXPECT_EQ(Private::WrappedSum(INT_MAX, 1), INT_MIN);
}

} // namespace
