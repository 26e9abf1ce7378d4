// The variants of Hash::CRC, each the whole of it.
#pragma once

#include <cstdint>

namespace Z4::Private {

std::uint32_t CrcPortable(const unsigned char* buffer, unsigned size, std::uint32_t crc);

/// Shorter input is not worth folding: CrcPclmul leaves it to CrcPortable.
inline constexpr unsigned CRC_PCLMUL_MIN = 16;

/// Only where HasPclmul().
std::uint32_t CrcPclmul(const unsigned char* buffer, unsigned size, std::uint32_t crc);

using CrcFunction = decltype(&CrcPortable);

/// The variant for a processor that has, or has not, what HasPclmul() asks for.
CrcFunction ChooseCrc(bool hasPclmul);

} // namespace Z4::Private
