#include <bit>
#include <cstdlib>
#include <host/bins.h>
#include <iterator>
#include <utility>

namespace ZelkHost {

namespace {

constexpr std::size_t CHUNK = 64 * 1024;

} // namespace

// The first four sizes are multiples of the unit; after them the two bits behind the leading one tell the size.
constexpr unsigned Bins::IndexOf(std::size_t bytes) {
    const std::size_t units = (bytes - 1) / ALIGNMENT;
    const auto width = static_cast<unsigned>(std::bit_width(units));
    const unsigned doublings = width > 3 ? width - 3 : 0;
    return 4 * doublings + static_cast<unsigned>(units >> doublings);
}

constexpr std::size_t Bins::SlotSize(unsigned index) {
    const unsigned doublings = index < 8 ? 0 : index / 4 - 1;
    return (std::size_t{index} - 4 * doublings + 1) * ALIGNMENT << doublings;
}

void* Bins::Take(std::size_t bytes) {
    static_assert(IndexOf(LARGEST) + 1 == std::size(decltype(m_bins){}) && SlotSize(IndexOf(LARGEST)) == LARGEST);
    const unsigned index = IndexOf(bytes);
    Bin& bin = m_bins[index];
    const std::lock_guard guard(bin.lock);
    if (bin.free != nullptr) {
        Free* const slot = bin.free;
        bin.free = slot->next;
        return slot;
    }
    const std::size_t size = SlotSize(index);
    if (static_cast<std::size_t>(bin.end - bin.fresh) < size) {
        auto* const chunk = static_cast<std::byte*>(std::malloc(CHUNK + ALIGNMENT));
        if (chunk == nullptr) {
            return nullptr;
        }
        const std::size_t offset = -reinterpret_cast<std::uintptr_t>(chunk) % ALIGNMENT;
        bin.fresh = chunk + offset;
        bin.end = bin.fresh + CHUNK;
    }
    return std::exchange(bin.fresh, bin.fresh + size);
}

void Bins::Give(void* slot, std::size_t bytes) {
    Bin& bin = m_bins[IndexOf(bytes)];
    auto* const freed = static_cast<Free*>(slot);
    const std::lock_guard guard(bin.lock);
    freed->next = bin.free;
    bin.free = freed;
}

} // namespace ZelkHost
