// SHA-1 (FIPS 180-4), for names of identifiers only: it withstands no attacker.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Z4::Private {

class Sha1 {
public:
    void Add(const void* data, std::size_t size);
    /// The digest of all that was added; nothing can be added afterwards.
    void Finish(std::uint8_t (&digest)[20]);

private:
    void TakeBlock();

    std::uint32_t m_state[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    std::uint8_t m_block[64];
    std::uint64_t m_size = 0;
};

} // namespace Z4::Private
