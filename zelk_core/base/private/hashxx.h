// The loops of Hash::XXH32 over many stripes of 16 bytes. Both give the same.
#pragma once

#include <cstdint>

namespace Z4::Private {

inline constexpr std::uint32_t PRIME32_1 = 0x9E3779B1;
inline constexpr std::uint32_t PRIME32_2 = 0x85EBCA77;

std::uint32_t Stripes32Portable(const unsigned char* buffer, unsigned stripes, std::uint32_t seed);

/// Only where HasAvx2().
std::uint32_t Stripes32Avx2(const unsigned char* buffer, unsigned stripes, std::uint32_t seed);

} // namespace Z4::Private
