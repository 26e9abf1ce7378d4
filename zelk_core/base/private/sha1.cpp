#include <bit>
#include <cstring>
#include <zelk_core/base/byteorder.h>
#include <zelk_core/base/private/sha1.h>

namespace Z4::Private {

void Sha1::TakeBlock() {
    std::uint32_t words[80];
    for (unsigned i = 0; i < 16; ++i) {
        words[i] = LoadBig<std::uint32_t>(m_block + 4 * i);
    }
    for (unsigned i = 16; i < 80; ++i) {
        words[i] = std::rotl(words[i - 3] ^ words[i - 8] ^ words[i - 14] ^ words[i - 16], 1);
    }
    std::uint32_t a = m_state[0];
    std::uint32_t b = m_state[1];
    std::uint32_t c = m_state[2];
    std::uint32_t d = m_state[3];
    std::uint32_t e = m_state[4];
    for (unsigned i = 0; i < 80; ++i) {
        const std::uint32_t mixed = i < 20   ? ((b & c) | (~b & d)) + 0x5A827999
                                    : i < 40 ? (b ^ c ^ d) + 0x6ED9EBA1
                                    : i < 60 ? ((b & c) | (b & d) | (c & d)) + 0x8F1BBCDC
                                             : (b ^ c ^ d) + 0xCA62C1D6;
        const std::uint32_t next = std::rotl(a, 5) + mixed + e + words[i];
        e = d;
        d = c;
        c = std::rotl(b, 30);
        b = a;
        a = next;
    }
    m_state[0] += a;
    m_state[1] += b;
    m_state[2] += c;
    m_state[3] += d;
    m_state[4] += e;
}

void Sha1::Add(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    while (size != 0) {
        const auto filled = static_cast<std::size_t>(m_size % sizeof(m_block));
        const std::size_t taken = size < sizeof(m_block) - filled ? size : sizeof(m_block) - filled;
        std::memcpy(m_block + filled, bytes, taken);
        m_size += taken;
        bytes += taken;
        size -= taken;
        if (m_size % sizeof(m_block) == 0) {
            TakeBlock();
        }
    }
}

void Sha1::Finish(std::uint8_t (&digest)[20]) {
    std::uint8_t bits[8];
    StoreBig(bits, m_size * 8);
    constexpr std::uint8_t PADDING[sizeof(m_block)] = {0x80};
    const auto filled = static_cast<std::size_t>(m_size % sizeof(m_block));
    Add(PADDING, filled < 56 ? 56 - filled : 120 - filled);
    Add(bits, sizeof(bits));
    for (unsigned i = 0; i < 5; ++i) {
        StoreBig(digest + 4 * i, m_state[i]);
    }
}

} // namespace Z4::Private
