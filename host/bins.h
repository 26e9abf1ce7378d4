// Slots of memory of a few sizes, which are kept when they are given back: faster than the system's heap.
#pragma once

#include <cstddef>
#include <host/internal.h>
#include <mutex>

namespace ZelkHost {

/// Four sizes to each doubling, so that above 64 bytes less than a fifth of a slot is in excess. Slots are carved from
/// chunks of the C library's heap and never go back to it; of those that were given back, the last is the next to go
/// out. Any thread.
class Bins {
public:
    static constexpr std::size_t ALIGNMENT = 16;
    static constexpr std::size_t LARGEST = 32 * 1024;

    /// `bytes` is 1 to LARGEST. Null when there is no memory.
    void* Take(std::size_t bytes);
    /// `bytes` is what the slot was taken with. Of its content only the first pointer is lost.
    void Give(void* slot, std::size_t bytes);

private:
    struct Free {
        Free* next;
    };
    struct Bin {
        SpinLock lock;
        Free* free = nullptr;
        std::byte* fresh = nullptr; ///< never taken so far: up to `end`
        std::byte* end = nullptr;
    };

    static constexpr unsigned IndexOf(std::size_t bytes);
    static constexpr std::size_t SlotSize(unsigned index);

    Bin m_bins[40];
};

} // namespace ZelkHost
