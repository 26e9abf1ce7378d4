/// @file
/// The operations of lanes.h, which tells what they do, one lane after another: the measure for the SSE2 form.
/// Empty unless a program chooses it; with GCC 12 such a program is compiled with -fno-tree-sra -fno-ipa-ra, or lanes
/// get lost.
#pragma once

#if defined(ZELK_PLAIN_LANES)

#    include <bit>
#    include <cmath>
#    include <cstdint>
#    include <emmintrin.h>

namespace Z4::Lanes {

struct Plain {
    float at[4];
};

/// Bits rather than numbers, as a float that passes through a register of the floating-point unit may lose some.
struct PlainBits {
    std::uint32_t at[4];
};

inline __m128 Repeat(float value) {
    return std::bit_cast<__m128>(Plain{{value, value, value, value}});
}
inline __m128 Load(const float* source) {
    return std::bit_cast<__m128>(Plain{{source[0], source[1], source[2], source[3]}});
}
inline void Store(float* destination, __m128 a) {
    const auto lanes = std::bit_cast<Plain>(a);
    for (int i = 0; i < 4; ++i) {
        destination[i] = lanes.at[i];
    }
}
inline float First(__m128 a) {
    return std::bit_cast<Plain>(a).at[0];
}

template <int X, int Y, int Z, int W>
__m128 Shuffle(__m128 a, __m128 b) {
    const auto p = std::bit_cast<PlainBits>(a);
    const auto q = std::bit_cast<PlainBits>(b);
    return std::bit_cast<__m128>(PlainBits{{p.at[X], p.at[Y], q.at[Z], q.at[W]}});
}
template <int X, int Y, int Z, int W>
__m128 Shuffle(__m128 a) {
    return Shuffle<X, Y, Z, W>(a, a);
}
inline __m128 InterleaveLow(__m128 a, __m128 b) {
    const auto p = std::bit_cast<PlainBits>(a);
    const auto q = std::bit_cast<PlainBits>(b);
    return std::bit_cast<__m128>(PlainBits{{p.at[0], q.at[0], p.at[1], q.at[1]}});
}
inline __m128 InterleaveHigh(__m128 a, __m128 b) {
    const auto p = std::bit_cast<PlainBits>(a);
    const auto q = std::bit_cast<PlainBits>(b);
    return std::bit_cast<__m128>(PlainBits{{p.at[2], q.at[2], p.at[3], q.at[3]}});
}
inline void Transpose(__m128& a, __m128& b, __m128& c, __m128& d) {
    const PlainBits rows[] = {std::bit_cast<PlainBits>(a), std::bit_cast<PlainBits>(b), std::bit_cast<PlainBits>(c),
                              std::bit_cast<PlainBits>(d)};
    const auto column = [&rows](int i) {
        return std::bit_cast<__m128>(PlainBits{{rows[0].at[i], rows[1].at[i], rows[2].at[i], rows[3].at[i]}});
    };
    a = column(0);
    b = column(1);
    c = column(2);
    d = column(3);
}

template <class Function>
__m128 Map(__m128 a, __m128 b, Function function) {
    const auto p = std::bit_cast<Plain>(a);
    const auto q = std::bit_cast<Plain>(b);
    Plain result;
    for (int i = 0; i < 4; ++i) {
        result.at[i] = function(p.at[i], q.at[i]);
    }
    return std::bit_cast<__m128>(result);
}
inline __m128 Add(__m128 a, __m128 b) {
    return Map(a, b, [](float p, float q) { return p + q; });
}
inline __m128 Subtract(__m128 a, __m128 b) {
    return Map(a, b, [](float p, float q) { return p - q; });
}
inline __m128 Multiply(__m128 a, __m128 b) {
    return Map(a, b, [](float p, float q) { return p * q; });
}
inline __m128 Divide(__m128 a, __m128 b) {
    return Map(a, b, [](float p, float q) { return p / q; });
}
inline __m128 Min(__m128 a, __m128 b) {
    return Map(a, b, [](float p, float q) { return p < q ? p : q; });
}
inline __m128 Max(__m128 a, __m128 b) {
    return Map(a, b, [](float p, float q) { return p > q ? p : q; });
}
inline double SquareRoot(double value) {
    return std::sqrt(value);
}
/// The root of a float in double precision, rounded to float, is the correctly rounded one: 53 >= 2 * 24 + 2.
inline float SquareRoot(float value) {
    return static_cast<float>(std::sqrt(static_cast<double>(value)));
}
inline __m128 SquareRoot(__m128 a) {
    return Map(a, a, [](float p, float) { return SquareRoot(p); });
}

template <class Function>
__m128 MapBits(__m128 a, __m128 b, Function function) {
    const auto p = std::bit_cast<PlainBits>(a);
    const auto q = std::bit_cast<PlainBits>(b);
    PlainBits result;
    for (int i = 0; i < 4; ++i) {
        result.at[i] = function(p.at[i], q.at[i]);
    }
    return std::bit_cast<__m128>(result);
}
inline __m128 And(__m128 a, __m128 b) {
    return MapBits(a, b, [](std::uint32_t p, std::uint32_t q) { return p & q; });
}
inline __m128 AndNot(__m128 a, __m128 b) {
    return MapBits(a, b, [](std::uint32_t p, std::uint32_t q) { return ~p & q; });
}
inline __m128 Or(__m128 a, __m128 b) {
    return MapBits(a, b, [](std::uint32_t p, std::uint32_t q) { return p | q; });
}
inline __m128 Xor(__m128 a, __m128 b) {
    return MapBits(a, b, [](std::uint32_t p, std::uint32_t q) { return p ^ q; });
}

template <class Test>
__m128 Compare(__m128 a, __m128 b, Test test) {
    const auto p = std::bit_cast<Plain>(a);
    const auto q = std::bit_cast<Plain>(b);
    PlainBits result;
    for (int i = 0; i < 4; ++i) {
        result.at[i] = test(p.at[i], q.at[i]) ? 0xFFFFFFFF : 0;
    }
    return std::bit_cast<__m128>(result);
}
inline __m128 Less(__m128 a, __m128 b) {
    return Compare(a, b, [](float p, float q) { return p < q; });
}
inline __m128 LessEqual(__m128 a, __m128 b) {
    return Compare(a, b, [](float p, float q) { return p <= q; });
}
inline __m128 Equal(__m128 a, __m128 b) {
    return Compare(a, b, [](float p, float q) { return p == q; });
}
inline int SignBits(__m128 a) {
    const auto lanes = std::bit_cast<PlainBits>(a);
    int bits = 0;
    for (int i = 0; i < 4; ++i) {
        bits |= static_cast<int>(lanes.at[i] >> 31) << i;
    }
    return bits;
}
inline __m128 MaskOfBits(int bits) {
    PlainBits result;
    for (int i = 0; i < 4; ++i) {
        result.at[i] = (bits >> i & 1) != 0 ? 0xFFFFFFFF : 0;
    }
    return std::bit_cast<__m128>(result);
}
inline __m128 MaskOfLane(unsigned long index) {
    return MaskOfBits(index < 4 ? 1 << index : 0);
}

} // namespace Z4::Lanes

#endif
