// Faults hunted: any slip in tables and draws, which are here without their locks; ranges that overflow at the ends of
// 32 bits; distributions other than the header promises.
#include <algorithm>
#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <tests/support/counts.h>
#include <tests/support/rows.h>
#include <vector>
#include <zelk_core/base/hash.h>
#include <zelk_core/services/random/private/range.h>
#include <zelk_core/services/random/subtractiverandomgenerator.h>
#include <zelk_core/services/random/zigrandomgenerator.h>

using namespace Z4;
using Private::Ziggurat;

namespace {

constexpr unsigned DRAWS = ZelkTest::Repeats(200'000, 10'000'000);

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

// The exponential distribution as the saturated thresholds make it: above the base layer the curve less the layer's
// height; in the base layer, half of the draws evenly up to half its width, the other half the tail.
double ExponentialExceeds(double x) {
    constexpr double EDGE = 7.697117470131487;
    constexpr double TAIL = 7.69711;
    constexpr double LAYER = 3.949659822581572e-3;
    const double height = std::exp(-EDGE);
    const double halfWidth = LAYER / height / 2;
    if (x >= TAIL) {
        return LAYER / 2 * std::exp(TAIL - x);
    }
    const double base = x < halfWidth ? LAYER / 2 * (1 - x / halfWidth) : 0;
    return std::exp(-x) - height - (EDGE - x) * height + base + LAYER / 2;
}

double NormalExceeds(double x) {
    return 0.5 * std::erfc(x / std::sqrt(2.0));
}

TEST(Ziggurat, DeviatesHaveTheirMomentsAndTails) {
    const struct {
        float (Ziggurat::*draw)();
        double (*exceeds)(double limit);
        double moments[3]; ///< mean, variance, and variance of the square
        std::vector<double> limits;
    } rows[] = {
        {&Ziggurat::Normal, NormalExceeds, {0, 1, 2}, {-4.5, -4, -3.44262, -3, -2, -1, -0.5, 0, 1, 2, 3, 3.44262, 4}},
        // By integrating x and x^2.
        {&Ziggurat::Exponential,
         ExponentialExceeds,
         {1.004067, 1.051812, 9},
         {0.01, 0.1, 1, 2, 4, 4.3486, 5, 6, 7, 7.5, 7.697, 8, 9, 11, 14}},
    };
    for (const auto& row : rows) {
        Ziggurat generator;
        generator.Seed(2'024);
        std::vector<unsigned> beyond(row.limits.size());
        double sum = 0;
        double sumOfSquares = 0;
        for (unsigned i = 0; i < DRAWS; ++i) {
            const double x = static_cast<double>((generator.*row.draw)());
            sum += x;
            sumOfSquares += x * x;
            for (std::size_t k = 0; k < row.limits.size() && x > row.limits[k]; ++k) {
                ++beyond[k];
            }
        }
        // Each within five standard deviations.
        const double mean = sum / DRAWS;
        EXPECT_NEAR(mean, row.moments[0], 5 * std::sqrt(row.moments[1] / DRAWS));
        EXPECT_NEAR(sumOfSquares / DRAWS - mean * mean, row.moments[1], 5 * std::sqrt(row.moments[2] / DRAWS));
        for (std::size_t k = 0; k < row.limits.size(); ++k) {
            const double probability = row.exceeds(row.limits[k]);
            const double deviation = std::sqrt(DRAWS * probability * (1 - probability));
            EXPECT_NEAR(beyond[k], DRAWS * probability, 5 * deviation + 1) << "beyond " << row.limits[k];
        }
    }
}

TEST(Ziggurat, SeedsAreMixedInAndZeroIsAFixedPoint) {
    Ziggurat generator;
    generator.Seed(99);
    generator.Seed(99);
    for (unsigned i = 0; i < 100; ++i) {
        ASSERT_EQ(generator.Normal(), 0.0F);
        ASSERT_EQ(generator.Exponential(), 0.0F);
        ASSERT_EQ(generator.Uni(), 0.5F);
    }
    generator.Seed(5);
    Ziggurat other;
    other.Seed(5);
    generator.Seed(0);
    EXPECT_EQ(generator.Normal(), other.Normal());
    generator.Seed(5);
    EXPECT_NE(generator.Shr3(), other.Shr3());
}

} // namespace
