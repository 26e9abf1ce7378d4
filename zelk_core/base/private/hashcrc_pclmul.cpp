// Compiled for newer processors than the rest: nothing here but CrcPclmul may be called, or shared with, from outside.
#include <immintrin.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/private/hashcrc.h>

namespace Z4::Private {

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

/// The quotient of x^64 and the polynomial, reflected.
constexpr std::uint64_t BarrettQuotient() {
    std::uint64_t quotient = 0;
    std::uint32_t remainder = 1;
    for (unsigned i = 0; i <= 32; ++i) {
        quotient |= std::uint64_t{remainder & 1} << i;
        remainder = CrcStepBit(remainder, CRC_POLYNOMIAL);
    }
    return quotient;
}

constexpr std::uint64_t LAST = PowerOfX(64);
constexpr std::uint64_t POLYNOMIAL = std::uint64_t{CRC_POLYNOMIAL} << 1 | 1;
constexpr std::uint64_t QUOTIENT = BarrettQuotient();

static_assert(LAST == 0x163CD6124 && POLYNOMIAL == 0x1DB710641 && QUOTIENT == 0x1F7011641, "as the paper lists them");

__m128i Load(const unsigned char* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

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

/// Carries `sum` over the distance of `factors` and adds the bytes there.
__m128i Fold(__m128i sum, __m128i factors, __m128i bytes) {
    return _mm_xor_si128(_mm_xor_si128(_mm_clmulepi64_si128(sum, factors, 0x00), bytes),
                         _mm_clmulepi64_si128(sum, factors, 0x11));
}

/// The remainder of 128 bits, by Barrett's method.
std::uint32_t Reduce(__m128i sum) {
    const __m128i low32 = _mm_set_epi32(0, 0, 0, -1);
    const __m128i barrett = Pair(POLYNOMIAL, QUOTIENT);
    const __m128i sum96 = _mm_xor_si128(_mm_srli_si128(sum, 8), _mm_clmulepi64_si128(sum, Factors<128>(), 0x10));
    const __m128i sum64 =
        _mm_xor_si128(_mm_srli_si128(sum96, 4), _mm_clmulepi64_si128(_mm_and_si128(sum96, low32), Pair(LAST, 0), 0x00));
    const __m128i multiple = _mm_clmulepi64_si128(_mm_and_si128(sum64, low32), barrett, 0x10);
    const __m128i product = _mm_clmulepi64_si128(_mm_and_si128(multiple, low32), barrett, 0x00);
    return static_cast<std::uint32_t>(_mm_extract_epi32(_mm_xor_si128(sum64, product), 1));
}

} // namespace

std::uint32_t CrcPclmul(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
    if (size < CRC_PCLMUL_MIN) {
        return CrcPortable(buffer, size, crc);
    }
    const unsigned char* p = buffer + 16;
    unsigned left = size - 16;
    __m128i sum = _mm_xor_si128(Load(buffer), _mm_cvtsi32_si128(static_cast<int>(~crc)));
    if (left >= 48) {
        // Four sums in flight hide the latency of the multiplications.
        __m128i sum1 = Load(p);
        __m128i sum2 = Load(p + 16);
        __m128i sum3 = Load(p + 32);
        p += 48;
        left -= 48;
        for (; left >= 64; left -= 64, p += 64) {
            sum = Fold(sum, Factors<512>(), Load(p));
            sum1 = Fold(sum1, Factors<512>(), Load(p + 16));
            sum2 = Fold(sum2, Factors<512>(), Load(p + 32));
            sum3 = Fold(sum3, Factors<512>(), Load(p + 48));
        }
        sum = Fold(sum, Factors<128>(), sum1);
        sum = Fold(sum, Factors<128>(), sum2);
        sum = Fold(sum, Factors<128>(), sum3);
    }
    for (; left >= 16; left -= 16, p += 16) {
        sum = Fold(sum, Factors<128>(), Load(p));
    }
    const std::uint32_t result = ~Reduce(sum);
    return left != 0 ? CrcPortable(p, left, result) : result;
}

} // namespace Z4::Private
