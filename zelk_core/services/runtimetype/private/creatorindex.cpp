#include <zelk_core/services/runtimetype/private/creatorindex.h>

#include <zelk_core/generics/ealallocator.h>

namespace Z4::Private {

bool CreatorIndex::Reserve() {
    const unsigned oldSlots = m_slots == nullptr ? 0 : Mask() + 1;
    if (2 * (m_size + 1) <= oldSlots) {
        return true;
    }
    const unsigned newShift = m_slots == nullptr ? FIRST_SHIFT : m_shift - 1;
    const unsigned newSlots = (0xFFFFFFFFU >> newShift) + 1;
    Slot* const slots = ZelkAllocator::Allocate<Slot>(newSlots);
    if (slots == nullptr) {
        return false;
    }
    for (unsigned i = 0; i < newSlots; ++i) {
        slots[i] = {0, nullptr};
    }
    Slot* const old = m_slots;
    m_slots = slots;
    m_shift = newShift;
    m_size = 0;
    for (unsigned i = 0; i < oldSlots; ++i) {
        if (old[i].creator != nullptr) {
            Insert(old[i].identifier, old[i].creator);
        }
    }
    ZelkAllocator::Free(old);
    return true;
}

void CreatorIndex::Insert(std::uint32_t identifier, CreatorFunction creator) {
    m_slots[Probe(identifier)] = {identifier, creator};
    ++m_size;
}

void CreatorIndex::Erase(std::uint32_t identifier) {
    unsigned gap = Probe(identifier);
    // What stands behind the gap moves into it, unless that were ahead of its home.
    for (unsigned i = (gap + 1) & Mask(); m_slots[i].creator != nullptr; i = (i + 1) & Mask()) {
        const unsigned home = Home(m_slots[i].identifier);
        if (((i - home) & Mask()) >= ((i - gap) & Mask())) {
            m_slots[gap] = m_slots[i];
            gap = i;
        }
    }
    m_slots[gap] = {0, nullptr};
    --m_size;
}

void CreatorIndex::Clear() {
    ZelkAllocator::Free(m_slots);
    m_slots = nullptr;
    m_size = 0;
}

} // namespace Z4::Private
