#include <zelk_core/base/hash.h>
#include <zelk_core/base/private/hashbytes.h>
#include <zelk_core/base/private/hashcrc.h>

namespace Z4::Private {

namespace {

/// What a byte does to a register of zero when 0, 1, 2 or 3 zero bytes follow it.
struct SlicingTables {
    constexpr SlicingTables() : after() {
        for (unsigned i = 0; i < 256; ++i) {
            after[0][i] = CRC_TABLE.entries[i];
            for (unsigned zeros = 1; zeros < 4; ++zeros) {
                after[zeros][i] = CrcStepByte(after[zeros - 1][i], 0, CRC_TABLE.entries);
            }
        }
    }

    std::uint32_t after[4][256];
};

constexpr SlicingTables SLICING;

} // namespace

std::uint32_t CrcPortable(const unsigned char* buffer, unsigned size, std::uint32_t crc) {
    std::uint32_t value = ~crc;
    const unsigned char* p = buffer;
    unsigned left = size;
    for (; left != 0 && reinterpret_cast<std::uintptr_t>(p) % 4 != 0; --left) {
        value = CrcStepByte(value, *p++, SLICING.after[0]);
    }
    for (; left >= 4; left -= 4, p += 4) {
        const std::uint32_t x = value ^ Load32(p);
        value = SLICING.after[3][x & 0xFF] ^ SLICING.after[2][(x >> 8) & 0xFF] ^ SLICING.after[1][(x >> 16) & 0xFF] ^
                SLICING.after[0][x >> 24];
    }
    for (; left != 0; --left) {
        value = CrcStepByte(value, *p++, SLICING.after[0]);
    }
    return ~value;
}

CrcFunction ChooseCrc(bool hasPclmul, bool hasVpclmul, bool hasFastAvx512) {
    if (hasFastAvx512) {
        return CrcAvx512;
    }
    if (hasVpclmul) {
        return CrcVpclmul;
    }
    return hasPclmul ? CrcPclmul : CrcPortable;
}

} // namespace Z4::Private
