/// @file
/// Bits in words of 32: each word is stored low byte first and filled from its highest bit downward.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Z4::Private {

class BitWriter {
public:
    /// Writes nothing outside `capacity` bytes, and no bits beyond `limit` bytes.
    BitWriter(char* out, unsigned long capacity, unsigned long limit)
        : m_out(out), m_bytesLeft(capacity), m_bitsLeft(std::min(capacity, limit) * 8) {}

    /// Writes the lowest `length` bits, 1 to 31, the highest of them first; the others must be 0.
    /// @return false, and nothing is written, if there is no room for all of them
    bool Write(std::uint32_t bits, unsigned long length) {
        if (length > m_bitsLeft) {
            return false;
        }
        m_bitsLeft -= length;
        if (length < m_free) {
            m_free -= length;
            m_word |= bits << m_free;
            return true;
        }
        const unsigned long spilled = length - m_free;
        Store(m_word | bits >> spilled, 4);
        m_free = 32 - spilled;
        m_word = spilled != 0 ? bits << m_free : 0;
        return true;
    }

    /// Stores the last word: whole where it fits, for a reader takes whole words; else no more than its used bytes.
    /// @return the bytes used, without the unused ones of the last word
    unsigned long Flush() {
        const unsigned long used = (32 - m_free + 7) / 8;
        const unsigned long size = m_size + used;
        if (used != 0) {
            if (m_bytesLeft >= 4) {
                Store(m_word, 4);
            } else {
                Store(m_word >> (32 - 8 * used), used);
            }
        }
        return size;
    }

private:
    void Store(std::uint32_t word, unsigned long size) {
        std::memcpy(m_out + m_size, &word, size);
        m_size += size;
        m_bytesLeft -= size;
    }

    char* m_out;
    unsigned long m_size = 0;
    unsigned long m_bytesLeft;
    unsigned long m_bitsLeft;
    unsigned long m_free = 32; ///< bits of m_word, never 0
    std::uint32_t m_word = 0;
};

/// Behind the last word follow zeros without end.
class BitReader {
public:
    BitReader(const char* words, unsigned long count) : m_words(words), m_bits(count * 32) {}

    /// The next 32 bits.
    std::uint32_t Peek() const {
        const std::uint64_t pair = std::uint64_t{Word(m_position)} << 32 | Word(m_position + 32);
        return static_cast<std::uint32_t>(pair << m_position % 32 >> 32);
    }

    void Skip(unsigned long bits) { m_position += bits; }

    /// The number of bits that were skipped.
    unsigned long Position() const { return m_position; }

private:
    std::uint32_t Word(unsigned long position) const {
        std::uint32_t word = 0;
        if (position < m_bits) {
            std::memcpy(&word, m_words + position / 32 * 4, sizeof(word));
        }
        return word;
    }

    const char* m_words;
    unsigned long m_bits;
    unsigned long m_position = 0;
};

} // namespace Z4::Private
