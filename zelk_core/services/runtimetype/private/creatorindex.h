// The factory's creators by identifier, for quick look-up: a hash table beside the ordered map.
#pragma once

#include <cstdint>
#include <zelk_core/services/runtimetype/classfactory.h>

namespace Z4::Private {

/// Open addressing with linear probing, at most half full (Knuth, "The Art of Computer Programming", volume 3, section
/// 6.4, algorithms L and R). Kept as a constant-initialised global, it is never destroyed but cleared.
class CreatorIndex {
public:
    constexpr CreatorIndex() = default;
    CreatorIndex(const CreatorIndex&) = delete;
    CreatorIndex& operator=(const CreatorIndex&) = delete;

    /// Null when there is none.
    CreatorFunction Find(std::uint32_t identifier) const {
        return m_slots == nullptr ? nullptr : m_slots[Probe(identifier)].creator;
    }

    /// Makes room for one more. @return false, with nothing changed, when memory is refused.
    bool Reserve();
    /// Of an identifier that is not there, after Reserve(). `creator` is not null.
    void Insert(std::uint32_t identifier, CreatorFunction creator);
    /// Of an identifier that is there.
    void Erase(std::uint32_t identifier);
    void Clear();

private:
    struct Slot {
        std::uint32_t identifier;
        CreatorFunction creator; ///< null in a free slot
    };

    static constexpr unsigned FIRST_SHIFT = 32 - 6;

    unsigned Mask() const { return 0xFFFFFFFFU >> m_shift; }
    /// Fibonacci hashing, as identifiers need not be hashes (Knuth, same section).
    unsigned Home(std::uint32_t identifier) const { return identifier * 0x9E3779B1U >> m_shift; }
    /// The identifier's slot, or the free one that it would get.
    unsigned Probe(std::uint32_t identifier) const {
        unsigned i = Home(identifier);
        while (m_slots[i].identifier != identifier && m_slots[i].creator != nullptr) {
            i = (i + 1) & Mask();
        }
        return i;
    }

    Slot* m_slots = nullptr;
    unsigned m_shift = FIRST_SHIFT + 1; ///< 32 less the binary logarithm of the number of slots
    unsigned m_size = 0;
};

} // namespace Z4::Private
