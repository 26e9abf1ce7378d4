#include <bit>
#include <emmintrin.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/private/hashbytes.h>

// Both hashes run four accumulators side by side. SSE2 multiplies two 32-bit numbers at a time into 64 bits; what that
// is good for differs between the two, and so do their loops.

namespace Z4 {

using Private::Bytes;
using Private::BytesOf;
using Private::Load32;
using Private::Load64;

namespace {

constexpr std::uint32_t PRIME32_1 = 0x9E3779B1;
constexpr std::uint32_t PRIME32_2 = 0x85EBCA77;
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

/// All whole stripes of 16 bytes. The integer unit alone is bound by its one multiplier, the vector unit alone by its
/// latency: the accumulators 0 and 2 go to the one and 1 and 3 to the other, which beats both. An accumulator in a
/// vector is the low half of 64 bits; what gathers in the high half is never looked at.
std::uint32_t Stripes32(const unsigned char* buffer, unsigned stripes, std::uint32_t seed) {
    const __m128i prime1 = Spread(PRIME32_1);
    const __m128i prime2 = Spread(PRIME32_2);
    __m128i even = Pair(seed + PRIME32_1 + PRIME32_2, seed);
    std::uint32_t accumulator1 = seed + PRIME32_2;
    std::uint32_t accumulator3 = seed - PRIME32_1;
    const unsigned char* const end = buffer + stripes * 16;
    for (const unsigned char* p = buffer; p != end; p += 16) {
        even = _mm_add_epi32(even, _mm_mul_epu32(Load128(p), prime2));
        even = _mm_or_si128(_mm_slli_epi32(even, 13), _mm_srli_epi32(even, 19));
        even = _mm_mul_epu32(even, prime1);
        accumulator1 = Round32(accumulator1, Load32(p + 4));
        accumulator3 = Round32(accumulator3, Load32(p + 12));
    }
    const auto accumulator0 = static_cast<std::uint32_t>(_mm_cvtsi128_si32(even));
    const auto accumulator2 = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(even, 8)));
    return std::rotl(accumulator0, 1) + std::rotl(accumulator1, 7) + std::rotl(accumulator2, 12) +
           std::rotl(accumulator3, 18);
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

/// One stripe of 32 bytes; for input too short to be worth setting up vectors.
std::uint64_t Stripe64(const unsigned char* p, std::uint64_t seed) {
    const std::uint64_t a = Round64(seed + PRIME64_1 + PRIME64_2, Load64(p));
    const std::uint64_t b = Round64(seed + PRIME64_2, Load64(p + 8));
    const std::uint64_t c = Round64(seed, Load64(p + 16));
    const std::uint64_t d = Round64(seed - PRIME64_1, Load64(p + 24));
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

} // namespace

std::uint32_t Hash::XXH32(const unsigned char* buffer, unsigned size, std::uint32_t seed) {
    std::uint32_t hash = size + (size >= 16 ? Stripes32(buffer, size / 16, seed) : seed + PRIME32_5);
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

std::uint32_t Hash::XXH32(const char* string, std::uint32_t seed) {
    const Bytes bytes = BytesOf(string);
    return XXH32(bytes.data, bytes.size, seed);
}

std::uint32_t Hash::XXH32(const wchar_t* string, std::uint32_t seed) {
    const Bytes bytes = BytesOf(string);
    return XXH32(bytes.data, bytes.size, seed);
}

std::uint64_t Hash::XXH64(const unsigned char* buffer, unsigned size, std::uint64_t seed) {
    std::uint64_t hash = seed + PRIME64_5;
    if (size >= 64) {
        hash = Stripes64(buffer, size / 32, seed);
    } else if (size >= 32) {
        hash = Stripe64(buffer, seed);
    }
    hash += size;
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

std::uint64_t Hash::XXH64(const char* string, std::uint64_t seed) {
    const Bytes bytes = BytesOf(string);
    return XXH64(bytes.data, bytes.size, seed);
}

std::uint64_t Hash::XXH64(const wchar_t* string, std::uint64_t seed) {
    const Bytes bytes = BytesOf(string);
    return XXH64(bytes.data, bytes.size, seed);
}

} // namespace Z4
