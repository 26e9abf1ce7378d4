// The CRC-32 of an array, as reference.py takes it.
#pragma once

#include <cstdint>
#include <vector>
#include <zelk_core/base/hash.h>

template <class Value>
std::uint32_t Checksum(const std::vector<Value>& values) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(values.data());
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < values.size() * sizeof(Value); ++i) {
        crc = Z4::Private::CrcStepByte(crc, bytes[i], Z4::Private::CRC_TABLE.entries);
    }
    return ~crc;
}
