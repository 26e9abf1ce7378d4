// The CRC by carry-less multiplication, over vectors of 16, 32 or 64 bytes (Gopal and others, "Fast CRC Computation for
// Generic Polynomials Using PCLMULQDQ Instruction", Intel, 2009). Each including source is compiled for a processor of
// its own, so each gets functions of its own: the linker must not keep one for all.
#pragma once

#include <immintrin.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/private/hashcrc.h>

namespace Z4::Private {

// NOLINTBEGIN(misc-definitions-in-headers): see above
namespace {

/// x^power modulo the polynomial, reflected. The product of two reflected numbers lies one bit too low, which the shift
/// makes good.
constexpr std::uint64_t PowerOfX(unsigned power) {
    std::uint32_t remainder = 0x80000000;
    for (unsigned i = 0; i < power; ++i) {
        remainder = CrcStepBit(remainder, CRC_POLYNOMIAL);
    }
    return std::uint64_t{remainder} << 1;
}

/// The quotient of x^96 and the polynomial, reflected, without its lowest coefficient: what that one adds to a product
/// is never looked at.
constexpr std::uint64_t BarrettQuotient() {
    std::uint64_t quotient = 0;
    std::uint32_t remainder = 1;
    for (unsigned i = 0; i < 64; ++i) {
        quotient |= std::uint64_t{remainder & 1} << i;
        remainder = CrcStepBit(remainder, CRC_POLYNOMIAL);
    }
    return quotient;
}

constexpr std::uint64_t POLYNOMIAL = std::uint64_t{CRC_POLYNOMIAL} << 1 | 1;
constexpr std::uint64_t QUOTIENT = BarrettQuotient();

static_assert(PowerOfX(64) == 0x163CD6124 && POLYNOMIAL == 0x1DB710641 && (QUOTIENT & 0x1FFFFFFFF) == 0x1F7011641,
              "as the paper lists them");

__m128i Pair(std::uint64_t low, std::uint64_t high) {
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

/// The factors that carry the low and the high half of 128 bits over a distance, in bits.
template <unsigned DISTANCE>
__m128i Factors() {
    constexpr std::uint64_t LOW = PowerOfX(DISTANCE + 32);
    constexpr std::uint64_t HIGH = PowerOfX(DISTANCE - 32);
    return Pair(LOW, HIGH);
}

/// 16 bytes as a vector; wider ones have the same members.
struct Bytes16 {
    using Vector = __m128i;
    static Vector Load(const unsigned char* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
    static Vector First(std::uint32_t word) { return _mm_cvtsi32_si128(static_cast<int>(word)); }
    static Vector Xor(Vector a, Vector b) { return _mm_xor_si128(a, b); }
    static Vector Spread(__m128i factors) { return factors; }
    /// Carries `sum` over the distance of `factors` and adds the bytes there.
    static Vector Fold(Vector sum, Vector factors, Vector bytes) {
        return _mm_xor_si128(_mm_xor_si128(_mm_clmulepi64_si128(sum, factors, 0x00), bytes),
                             _mm_clmulepi64_si128(sum, factors, 0x11));
    }
    /// 16 bytes with the same remainder as the whole vector.
    static __m128i Narrow(Vector sum) { return sum; }
};

/// The sum of `size` bytes, which are four vectors or more, up to the 0 to SIZE - 1 bytes that it leaves at `p`.
template <class Wide>
__m128i FoldVectors(const unsigned char*& p, unsigned& size, std::uint32_t crc) {
    using Vector = typename Wide::Vector;
    constexpr unsigned STEP = sizeof(Vector);
    // Four sums in flight hide the latency of the multiplications.
    Vector sum0 = Wide::Xor(Wide::Load(p), Wide::First(~crc));
    Vector sum1 = Wide::Load(p + STEP);
    Vector sum2 = Wide::Load(p + 2 * STEP);
    Vector sum3 = Wide::Load(p + 3 * STEP);
    p += 4 * STEP;
    size -= 4 * STEP;
    const Vector four = Wide::Spread(Factors<4 * STEP * 8>());
    for (; size >= 4 * STEP; size -= 4 * STEP, p += 4 * STEP) {
        sum0 = Wide::Fold(sum0, four, Wide::Load(p));
        sum1 = Wide::Fold(sum1, four, Wide::Load(p + STEP));
        sum2 = Wide::Fold(sum2, four, Wide::Load(p + 2 * STEP));
        sum3 = Wide::Fold(sum3, four, Wide::Load(p + 3 * STEP));
    }
    const Vector one = Wide::Spread(Factors<STEP * 8>());
    sum1 = Wide::Fold(sum0, one, sum1);
    sum3 = Wide::Fold(sum2, one, sum3);
    sum3 = Wide::Fold(sum1, Wide::Spread(Factors<2 * STEP * 8>()), sum3);
    for (; size >= STEP; size -= STEP, p += STEP) {
        sum3 = Wide::Fold(sum3, one, Wide::Load(p));
    }
    return Wide::Narrow(sum3);
}

/// The sum of what is left behind at least 16 bytes. Inline, as a call would make short input align the stack.
Z4_ALWAYS_INLINE __m128i FoldRest(__m128i sum, const unsigned char* p, unsigned left) {
    const __m128i factors = Factors<128>();
    for (; left >= 16; left -= 16, p += 16) {
        sum = Bytes16::Fold(sum, factors, Bytes16::Load(p));
    }
    if (left == 0) {
        return sum;
    }
    // The sum and the last bytes are 16 + left bytes: the first `left` are folded onto the others. A shuffle moves
    // bytes by the place in this table where its pattern begins, and leaves zero, or the sign for a blend, where the
    // index is negative.
    alignas(16) static constexpr signed char MOVES[48] = {
        -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0,  1,  2,  3,  4,  5,  6,  7,
        8,  9,  10, 11, 12, 13, 14, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
    const auto* const moves = reinterpret_cast<const unsigned char*>(MOVES);
    const __m128i down = Bytes16::Load(moves + 16 + left);
    const __m128i first = _mm_shuffle_epi8(sum, Bytes16::Load(moves + left));
    const __m128i others = _mm_blendv_epi8(_mm_shuffle_epi8(sum, down), Bytes16::Load(p + left - 16), down);
    return Bytes16::Fold(first, factors, others);
}

/// The remainder of 128 bits: of 96 first, and of those by Barrett's method.
std::uint32_t Reduce(__m128i sum) {
    const __m128i barrett = Pair(QUOTIENT, POLYNOMIAL);
    const __m128i sum96 = _mm_xor_si128(_mm_srli_si128(sum, 8), _mm_clmulepi64_si128(sum, Factors<128>(), 0x10));
    const __m128i multiple = _mm_clmulepi64_si128(sum96, barrett, 0x00);
    const __m128i product = _mm_clmulepi64_si128(multiple, barrett, 0x10);
    return static_cast<std::uint32_t>(_mm_extract_epi32(_mm_xor_si128(sum96, product), 2));
}

std::uint32_t FoldShort(const unsigned char* p, unsigned size, std::uint32_t crc) {
    if (size < CRC_FOLD_MIN) {
        return CrcPortable(p, size, crc);
    }
    __m128i sum;
    if (size >= 64) {
        sum = FoldVectors<Bytes16>(p, size, crc);
    } else {
        sum = Bytes16::Xor(Bytes16::Load(p), Bytes16::First(~crc));
        p += 16;
        size -= 16;
    }
    return ~Reduce(FoldRest(sum, p, size));
}

/// Apart from the short ones, whose stack then need not be aligned for registers that are kept there.
template <class Wide>
Z4_NOINLINE std::uint32_t FoldLong(const unsigned char* p, unsigned size, std::uint32_t crc) {
    const __m128i sum = FoldVectors<Wide>(p, size, crc);
    return ~Reduce(FoldRest(sum, p, size));
}

} // namespace
// NOLINTEND(misc-definitions-in-headers)

} // namespace Z4::Private
