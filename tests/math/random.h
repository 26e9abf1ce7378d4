// Seeded random numbers, vectors and matrices; a failing test prints the seed.
#pragma once

#include <cmath>
#include <gmock/gmock.h>
#include <random>
#include <zelk_core/math/matrixgeneric.h>

namespace ZelkTest {

class Random {
public:
    explicit Random(unsigned seed) : m_trace(__FILE__, __LINE__, "seed " + std::to_string(seed)), m_engine(seed) {}

    double Number(double low, double high) {
        return low + (high - low) * (static_cast<double>(m_engine()) / 4294967296.0);
    }
    unsigned Index(unsigned count) { return m_engine() % count; }

    /// Floats of every size and sign: infinities, NaN, zeros, denormals, extremes and ordinary ones.
    float Edge() {
        constexpr float EDGES[] = {0.0F,
                                   -0.0F,
                                   1.0F,
                                   -1.0F,
                                   1e-45F,
                                   -1e-40F,
                                   3.4e38F,
                                   -3.4e38F,
                                   1.18e-38F,
                                   std::numeric_limits<float>::infinity(),
                                   -std::numeric_limits<float>::infinity(),
                                   std::numeric_limits<float>::quiet_NaN()};
        constexpr unsigned COUNT = sizeof(EDGES) / sizeof(EDGES[0]);
        const unsigned choice = Index(2 * COUNT);
        if (choice < COUNT) {
            return EDGES[choice];
        }
        const double mantissa = Number(-1, 1); // before the exponent, in every compiler
        return static_cast<float>(std::ldexp(mantissa, static_cast<int>(Index(80)) - 40));
    }

    template <Z4::PlainFloatVector V>
    V Vector() {
        V result;
        for (unsigned i = 0; i < V::SIZE; ++i) {
            result[i] = static_cast<typename V::Element>(Number(-10, 10));
        }
        return result;
    }

private:
    testing::ScopedTrace m_trace;
    std::mt19937 m_engine;
};

} // namespace ZelkTest
