// The variants of Hash::CRC, each the whole of it.
#pragma once

#include <cstdint>

namespace Z4::Private {

std::uint32_t CrcPortable(const unsigned char* buffer, unsigned size, std::uint32_t crc);

/// Shorter input is not worth folding: the others leave it to CrcPortable.
inline constexpr unsigned CRC_FOLD_MIN = 16;

/// Each of the following only where the question of its name says so (processorfeatures.h).
std::uint32_t CrcPclmul(const unsigned char* buffer, unsigned size, std::uint32_t crc);
std::uint32_t CrcVpclmul(const unsigned char* buffer, unsigned size, std::uint32_t crc);
std::uint32_t CrcAvx512(const unsigned char* buffer, unsigned size, std::uint32_t crc);

using CrcFunction = decltype(&CrcPortable);

/// The variant for a processor with these features.
CrcFunction ChooseCrc(bool hasPclmul, bool hasVpclmul, bool hasFastAvx512);

} // namespace Z4::Private
