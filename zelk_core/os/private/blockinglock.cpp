#include <zelk_core/base/assert.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/private/criticalsection.h>

namespace Z4 {

static_assert(sizeof(BlockingLock) == sizeof(CRITICAL_SECTION));
static_assert(alignof(BlockingLock) == alignof(CRITICAL_SECTION));
static_assert(sizeof(BlockingLockNonRecursive) == sizeof(BlockingLock));

using Private::Section;

BlockingLock::BlockingLock(const char*) {
    InitializeCriticalSection(Section(m_criticalSection));
}

BlockingLock::~BlockingLock() {
    Z4_ASSERT(Section(m_criticalSection)->OwningThread == nullptr, "No thread holds a lock that is destroyed.");
    DeleteCriticalSection(Section(m_criticalSection));
}

BlockingLock& BlockingLock::operator=(const BlockingLock& other) = default;

void BlockingLock::Lock() {
    InternalLock();
}

bool BlockingLock::TryLock() {
    return TryEnterCriticalSection(Section(m_criticalSection)) != 0;
}

void BlockingLock::Unlock() {
    Z4_ASSERT(Private::LevelsHeldHere(m_criticalSection) > 0, "The calling thread holds the lock that it unlocks.");
    LeaveCriticalSection(Section(m_criticalSection));
}

void* BlockingLock::GetInternalLockImpl() {
    return m_criticalSection;
}

void BlockingLock::InternalLock() {
    EnterCriticalSection(Section(m_criticalSection));
}

} // namespace Z4
