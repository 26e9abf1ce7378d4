// Faults hunted: any slip in tables and draws, which are here without their locks, against a reference that is
// written apart (reference.py); ranges that overflow at the ends of 32 bits.
#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <tests/support/rows.h>
#include <vector>
#include <zelk_core/base/hash.h>
#include <zelk_core/services/random/private/range.h>
#include <zelk_core/services/random/subtractiverandomgenerator.h>
#include <zelk_core/services/random/zigrandomgenerator.h>

using namespace Z4;
using Private::Ziggurat;

namespace {

template <class Draw>
std::uint32_t CrcOf(std::uint64_t count, Draw draw) {
    std::vector<decltype(draw())> draws(static_cast<std::size_t>(count));
    std::generate(draws.begin(), draws.end(), draw);
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < 4 * draws.size(); ++i) {
        crc = Private::CrcStepByte(crc, reinterpret_cast<const unsigned char*>(draws.data())[i],
                                   Private::CRC_TABLE.entries);
    }
    return ~crc;
}

TEST(Generators, EqualTheReference) {
    for (const ZelkTest::Row& row : ZelkTest::Rows("random.txt")) {
        const std::string name = row.Text(0);
        const auto seed = static_cast<std::uint32_t>(row.Number(1));
        Private::SubtractiveSequence sequence;
        sequence.Seed(static_cast<std::int32_t>(seed));
        Ziggurat ziggurat;
        ziggurat.Seed(seed);
        const std::uint32_t crc = name == "uniform"  ? CrcOf(row.Number(2), [&] { return sequence.Draw(); })
                                  : name == "normal" ? CrcOf(row.Number(2), [&] { return ziggurat.Normal(); })
                                                     : CrcOf(row.Number(2), [&] { return ziggurat.Exponential(); });
        EXPECT_EQ(crc, row.Number(3)) << row.Where();
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
