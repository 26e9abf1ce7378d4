#include <cstddef>
#include <emmintrin.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/private/criticalsection.h>

namespace Z4 {

template <>
struct Private::Layout<AdaptiveLock> {
    static_assert(offsetof(AdaptiveLock, m_criticalSection) == 0);
    static_assert(offsetof(AdaptiveLock, m_spinCount) == sizeof(CRITICAL_SECTION));
    static_assert(sizeof(AdaptiveLock) == sizeof(CRITICAL_SECTION) + sizeof(ULONG));
    static_assert(alignof(AdaptiveLock) == alignof(CRITICAL_SECTION));
};
static_assert(sizeof(AdaptiveLockNonRecursive) == sizeof(AdaptiveLock));

namespace {

constexpr unsigned long DEFAULT_SPIN_COUNT = 100;

using Private::Section;

#define PAUSE_10                                                                                            \
    _mm_pause(), _mm_pause(), _mm_pause(), _mm_pause(), _mm_pause(), _mm_pause(), _mm_pause(), _mm_pause(), \
        _mm_pause(), _mm_pause()
#define PAUSE_100 PAUSE_10, PAUSE_10, PAUSE_10, PAUSE_10, PAUSE_10, PAUSE_10, PAUSE_10, PAUSE_10, PAUSE_10, PAUSE_10
#define PAUSE_1000 \
    PAUSE_100, PAUSE_100, PAUSE_100, PAUSE_100, PAUSE_100, PAUSE_100, PAUSE_100, PAUSE_100, PAUSE_100, PAUSE_100

// What follows a first failed attempt. Out of line, so that a free lock never has the pauses in its way.
Z4_NOINLINE void SpinThenBlock(CRITICAL_SECTION* section, unsigned long spinCount) {
    // With the greatest spin count the counter wraps before it could pass it: such a lock never blocks.
    for (unsigned long attempt = 1; attempt <= spinCount; ++attempt) {
        // Written out, not looped: the wait costs no branch per pause.
        PAUSE_1000;
        if (TryEnterCriticalSection(section) != 0) {
            return;
        }
    }
    EnterCriticalSection(section);
}

#undef PAUSE_1000
#undef PAUSE_100
#undef PAUSE_10

} // namespace

AdaptiveLock::AdaptiveLock() : AdaptiveLock(DEFAULT_SPIN_COUNT, nullptr) {}

AdaptiveLock::AdaptiveLock(unsigned long spinCount, const char*) : m_spinCount(spinCount) {
    InitializeCriticalSection(Section(m_criticalSection));
}

AdaptiveLock::~AdaptiveLock() {
    Z4_ASSERT(Section(m_criticalSection)->OwningThread == nullptr, "No thread holds a lock that is destroyed.");
    DeleteCriticalSection(Section(m_criticalSection));
}

void AdaptiveLock::Lock() {
    InternalLock();
}

bool AdaptiveLock::TryLock() {
    return TryEnterCriticalSection(Section(m_criticalSection)) != 0;
}

void AdaptiveLock::Unlock() {
    Z4_ASSERT(Private::LevelsHeldHere(m_criticalSection) > 0, "The calling thread holds the lock that it unlocks.");
    LeaveCriticalSection(Section(m_criticalSection));
}

void* AdaptiveLock::GetInternalLockImpl() {
    return m_criticalSection;
}

void AdaptiveLock::InternalLock() {
    CRITICAL_SECTION* const section = Section(m_criticalSection);
    if (TryEnterCriticalSection(section) == 0) {
        SpinThenBlock(section, m_spinCount);
    }
}

} // namespace Z4
