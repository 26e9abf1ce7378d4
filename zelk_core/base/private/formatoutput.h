// Text as StrFormat reads and stores it: bounded, of either character type, at any address.
#pragma once

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Z4::Private {

// Characters at any address: wide text in a packed record is not aligned.
template <class Char>
class Text {
public:
    explicit Text(const Char* text) : m_bytes(reinterpret_cast<const char*>(text)) {}

    Char operator[](std::size_t index) const {
        Char character;
        std::memcpy(&character, m_bytes + index * sizeof(Char), sizeof(Char));
        return character;
    }

    void Skip(std::size_t count) { m_bytes += count * sizeof(Char); }

    const char* Bytes() const { return m_bytes; }

private:
    const char* m_bytes;
};

// Copies the first and the last Word; they overlap, or meet.
template <class Word>
void CopyEnds(char* to, const char* from, std::size_t count) {
    Word first;
    Word last;
    std::memcpy(&first, from, sizeof(Word));
    std::memcpy(&last, from + count - sizeof(Word), sizeof(Word));
    std::memcpy(to, &first, sizeof(Word));
    std::memcpy(to + count - sizeof(Word), &last, sizeof(Word));
}

// Most pieces of a text are so short that a call of memcpy would cost more than the copy.
inline void CopyBytes(char* to, const char* from, std::size_t count) {
    if (count > 16) {
        std::memcpy(to, from, count);
    } else if (count >= 8) {
        CopyEnds<std::uint64_t>(to, from, count);
    } else if (count >= 4) {
        CopyEnds<std::uint32_t>(to, from, count);
    } else if (count >= 2) {
        CopyEnds<std::uint16_t>(to, from, count);
    } else if (count == 1) {
        *to = *from;
    }
}

// Stores what fits and counts the rest. The buffer, too, may lie at any address.
template <class Char>
class Output {
public:
    Output(Char* buffer, unsigned size)
        : m_cursor(reinterpret_cast<char*>(buffer)),
          m_size(buffer != nullptr ? size : 0),
          m_room(m_size != 0 ? m_size - 1 : 0),
          m_free(m_room) {}

    void Append(Text<Char> text, std::size_t length) {
        const std::size_t stored = Take(length) * sizeof(Char);
        CopyBytes(m_cursor, text.Bytes(), stored);
        m_cursor += stored;
    }

    void AppendAscii(std::string_view text) {
        if constexpr (sizeof(Char) == 1) {
            Append(Text<Char>(text.data()), text.size());
        } else {
            const std::size_t stored = Take(text.size());
            for (std::size_t i = 0; i < stored; ++i) {
                Store(static_cast<Char>(text[i]));
            }
        }
    }

    void Fill(char character, std::size_t count) {
        for (std::size_t stored = Take(count); stored != 0; --stored) {
            Store(static_cast<Char>(character));
        }
    }

    // Terminates the text; returns the length of everything that was appended.
    int Finish() {
        if (m_size != 0) {
            Store(Char{});
        }
        const std::uint64_t length = m_lost + (m_room - m_free);
        return static_cast<int>(std::min<std::uint64_t>(length, INT_MAX));
    }

private:
    std::size_t Take(std::size_t count) {
        if (count <= m_free) {
            m_free -= count;
            return count;
        }
        const std::size_t stored = m_free;
        m_lost += count - stored;
        m_free = 0;
        return stored;
    }

    void Store(Char character) {
        std::memcpy(m_cursor, &character, sizeof(Char));
        m_cursor += sizeof(Char);
    }

    char* m_cursor;
    unsigned m_size;
    std::size_t m_room;
    std::size_t m_free;
    std::uint64_t m_lost = 0;
};

} // namespace Z4::Private
