#include <bit>
#include <emmintrin.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/private/hashbytes.h>
#include <zelk_core/base/private/hashxx.h>
#include <zelk_core/base/private/processorfeatures.h>

// Both hashes run four accumulators side by side. SSE2 multiplies two 32-bit numbers at a time into 64 bits; what that
// is good for differs between the two, and so do their loops.

namespace Z4 {

using Private::Bytes;
using Private::BytesOf;
using Private::Load32;
using Private::Load64;
using Private::PRIME32_1;
using Private::PRIME32_2;

namespace {

constexpr std::uint32_t PRIME32_3 = 0xC2B2AE3D;
constexpr std::uint32_t PRIME32_4 = 0x27D4EB2F;
constexpr std::uint32_t PRIME32_5 = 0x165667B1;

constexpr std::uint64_t PRIME64_1 = 0x9E3779B185EBCA87;
constexpr std::uint64_t PRIME64_2 = 0xC2B2AE3D27D4EB4F;
constexpr std::uint64_t PRIME64_3 = 0x165667B19E3779F9;
constexpr std::uint64_t PRIME64_4 = 0x85EBCA77C2B2AE63;
constexpr std::uint64_t PRIME64_5 = 0x27D4EB2F165667C5;

__m128i Load128(const unsigned char* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

__m128i Spread(std::uint64_t value) {
    return _mm_set1_epi32(static_cast<int>(static_cast<std::uint32_t>(value)));
}

__m128i Pair(std::uint64_t low, std::uint64_t high) {
    return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

std::uint32_t Round32(std::uint32_t accumulator, std::uint32_t input) {
    return std::rotl(accumulator + input * PRIME32_2, 13) * PRIME32_1;
}

std::uint32_t Gather32(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return std::rotl(a, 1) + std::rotl(b, 7) + std::rotl(c, 12) + std::rotl(d, 18);
}

/// A few stripes are bound by the integer unit's one multiplier: the accumulators 0 and 2 go to the vector unit. Over
/// many, the vectors' latency would count, which is twice that of an integer on some processors. An accumulator in a
/// vector is the low half of 64 bits; what gathers in the high half is never looked at.
std::uint32_t Stripes32Short(const unsigned char* buffer, unsigned stripes, std::uint32_t seed) {
    const __m128i prime1 = _mm_set1_epi32(static_cast<int>(PRIME32_1));
    const __m128i prime2 = _mm_set1_epi32(static_cast<int>(PRIME32_2));
    __m128i even = _mm_set_epi32(0, static_cast<int>(seed), 0, static_cast<int>(seed + PRIME32_1 + PRIME32_2));
    std::uint32_t b = seed + PRIME32_2;
    std::uint32_t d = seed - PRIME32_1;
    const unsigned char* const end = buffer + stripes * 16;
    for (const unsigned char* p = buffer; p != end; p += 16) {
        const __m128i input = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        even = _mm_add_epi32(even, _mm_mul_epu32(input, prime2));
        even = _mm_or_si128(_mm_slli_epi32(even, 13), _mm_srli_epi32(even, 19));
        even = _mm_mul_epu32(even, prime1);
        b = Round32(b, Load32(p + 4));
        d = Round32(d, Load32(p + 12));
    }
    const auto a = static_cast<std::uint32_t>(_mm_cvtsi128_si32(even));
    const auto c = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(even, 8)));
    return Gather32(a, b, c, d);
}

std::uint64_t Round64(std::uint64_t accumulator, std::uint64_t input) {
    return std::rotl(accumulator + input * PRIME64_2, 31) * PRIME64_1;
}

std::uint64_t Gather64(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d) {
    return std::rotl(a, 1) + std::rotl(b, 7) + std::rotl(c, 12) + std::rotl(d, 18);
}

std::uint64_t Merge64(std::uint64_t hash, std::uint64_t round) {
    return (hash ^ round) * PRIME64_1 + PRIME64_4;
}

/// All whole stripes of 32 bytes, for input too short to be worth setting up vectors.
std::uint64_t Stripes64Short(const unsigned char* buffer, unsigned stripes, std::uint64_t seed) {
    std::uint64_t a = seed + PRIME64_1 + PRIME64_2;
    std::uint64_t b = seed + PRIME64_2;
    std::uint64_t c = seed;
    std::uint64_t d = seed - PRIME64_1;
    const unsigned char* const end = buffer + stripes * 32;
    for (const unsigned char* p = buffer; p != end; p += 32) {
        a = Round64(a, Load64(p));
        b = Round64(b, Load64(p + 8));
        c = Round64(c, Load64(p + 16));
        d = Round64(d, Load64(p + 24));
    }
    std::uint64_t hash = Gather64(a, b, c, d);
    hash = Merge64(hash, Round64(0, a));
    hash = Merge64(hash, Round64(0, b));
    hash = Merge64(hash, Round64(0, c));
    return Merge64(hash, Round64(0, d));
}

/// A prime's halves, each where the vector multiplication looks for it.
struct SplitPrime {
    explicit SplitPrime(std::uint64_t prime) : low(Spread(prime)), high(Spread(prime >> 32)) {}

    __m128i low;
    __m128i high;
};

/// Products of two 64-bit lanes, modulo 2^64, given the lanes and, in the low halves, the lanes' high halves.
__m128i Multiply(__m128i lanes, __m128i highHalves, const SplitPrime& prime) {
    const __m128i cross = _mm_add_epi64(_mm_mul_epu32(highHalves, prime.low), _mm_mul_epu32(lanes, prime.high));
    return _mm_add_epi64(_mm_mul_epu32(lanes, prime.low), _mm_slli_epi64(cross, 32));
}

__m128i Round64(__m128i accumulators, __m128i input, const SplitPrime& prime1, const SplitPrime& prime2) {
    const __m128i sum = _mm_add_epi64(accumulators, Multiply(input, _mm_srli_epi64(input, 32), prime2));
    const __m128i rotated = _mm_or_si128(_mm_slli_epi64(sum, 31), _mm_srli_epi64(sum, 33));
    // The high half of the rotated sum starts at bit 1 of the sum: no need to wait for the rotation.
    return Multiply(rotated, _mm_srli_epi64(sum, 1), prime1);
}

/// All whole stripes of 32 bytes, two accumulators to a vector.
std::uint64_t Stripes64(const unsigned char* buffer, unsigned stripes, std::uint64_t seed) {
    const SplitPrime prime1(PRIME64_1);
    const SplitPrime prime2(PRIME64_2);
    __m128i first = Pair(seed + PRIME64_1 + PRIME64_2, seed + PRIME64_2);
    __m128i second = Pair(seed, seed - PRIME64_1);
    const unsigned char* const end = buffer + stripes * 32;
    for (const unsigned char* p = buffer; p != end; p += 32) {
        first = Round64(first, Load128(p), prime1, prime2);
        second = Round64(second, Load128(p + 16), prime1, prime2);
    }
    std::uint64_t lanes[4];
    std::memcpy(lanes, &first, sizeof(first));
    std::memcpy(lanes + 2, &second, sizeof(second));
    std::uint64_t hash = Gather64(lanes[0], lanes[1], lanes[2], lanes[3]);
    first = Round64(_mm_setzero_si128(), first, prime1, prime2);
    second = Round64(_mm_setzero_si128(), second, prime1, prime2);
    std::memcpy(lanes, &first, sizeof(first));
    std::memcpy(lanes + 2, &second, sizeof(second));
    for (const std::uint64_t lane : lanes) {
        hash = Merge64(hash, lane);
    }
    return hash;
}

/// The hash of stripes and what is left behind them.
Z4_ALWAYS_INLINE std::uint32_t Finish32(std::uint32_t sum, const unsigned char* buffer, unsigned size) {
    std::uint32_t hash = sum + size;
    const unsigned char* p = buffer + (size & ~15u);
    unsigned left = size % 16;
    for (; left >= 4; left -= 4, p += 4) {
        hash = std::rotl(hash + Load32(p) * PRIME32_3, 17) * PRIME32_4;
    }
    for (; left != 0; --left, ++p) {
        hash = std::rotl(hash + *p * PRIME32_5, 11) * PRIME32_1;
    }
    hash = (hash ^ (hash >> 15)) * PRIME32_2;
    hash = (hash ^ (hash >> 13)) * PRIME32_3;
    return hash ^ (hash >> 16);
}

Z4_ALWAYS_INLINE std::uint64_t Finish64(std::uint64_t sum, const unsigned char* buffer, unsigned size) {
    std::uint64_t hash = sum + size;
    const unsigned char* p = buffer + (size & ~31u);
    unsigned left = size % 32;
    for (; left >= 8; left -= 8, p += 8) {
        hash = std::rotl(hash ^ Round64(0, Load64(p)), 27) * PRIME64_1 + PRIME64_4;
    }
    if (left >= 4) {
        hash = std::rotl(hash ^ Load32(p) * PRIME64_1, 23) * PRIME64_2 + PRIME64_3;
        left -= 4;
        p += 4;
    }
    for (; left != 0; --left, ++p) {
        hash = std::rotl(hash ^ *p * PRIME64_5, 11) * PRIME64_1;
    }
    hash = (hash ^ (hash >> 33)) * PRIME64_2;
    hash = (hash ^ (hash >> 29)) * PRIME64_3;
    return hash ^ (hash >> 32);
}

// Functions of their own, whose calls and spilled vectors then cost short input nothing.

Z4_NOINLINE std::uint32_t Long32(const unsigned char* buffer, unsigned size, std::uint32_t seed) {
    const auto stripes = Private::HasAvx2() ? Private::Stripes32Avx2 : Private::Stripes32Portable;
    return Finish32(stripes(buffer, size / 16, seed), buffer, size);
}

Z4_NOINLINE std::uint64_t Long64(const unsigned char* buffer, unsigned size, std::uint64_t seed) {
    return Finish64(Stripes64(buffer, size / 32, seed), buffer, size);
}

} // namespace

std::uint32_t Private::Stripes32Portable(const unsigned char* buffer, unsigned stripes, std::uint32_t seed) {
    std::uint32_t a = seed + PRIME32_1 + PRIME32_2;
    std::uint32_t b = seed + PRIME32_2;
    std::uint32_t c = seed;
    std::uint32_t d = seed - PRIME32_1;
    const unsigned char* const end = buffer + stripes * 16;
    for (const unsigned char* p = buffer; p != end; p += 16) {
        a = Round32(a, Load32(p));
        b = Round32(b, Load32(p + 4));
        c = Round32(c, Load32(p + 8));
        d = Round32(d, Load32(p + 12));
    }
    return Gather32(a, b, c, d);
}

std::uint32_t Hash::XXH32(const unsigned char* buffer, unsigned size, std::uint32_t seed) {
    if (size >= 256) {
        return Long32(buffer, size, seed);
    }
    return Finish32(size >= 16 ? Stripes32Short(buffer, size / 16, seed) : seed + PRIME32_5, buffer, size);
}

std::uint32_t Hash::XXH32(const char* string, std::uint32_t seed) {
    const Bytes bytes = BytesOf(string);
    return XXH32(bytes.data, bytes.size, seed);
}

std::uint32_t Hash::XXH32(const wchar_t* string, std::uint32_t seed) {
    const Bytes bytes = BytesOf(string);
    return XXH32(bytes.data, bytes.size, seed);
}

std::uint64_t Hash::XXH64(const unsigned char* buffer, unsigned size, std::uint64_t seed) {
    if (size >= 128) {
        return Long64(buffer, size, seed);
    }
    return Finish64(size >= 32 ? Stripes64Short(buffer, size / 32, seed) : seed + PRIME64_5, buffer, size);
}

std::uint64_t Hash::XXH64(const char* string, std::uint64_t seed) {
    const Bytes bytes = BytesOf(string);
    return XXH64(bytes.data, bytes.size, seed);
}

std::uint64_t Hash::XXH64(const wchar_t* string, std::uint64_t seed) {
    const Bytes bytes = BytesOf(string);
    return XXH64(bytes.data, bytes.size, seed);
}

} // namespace Z4
