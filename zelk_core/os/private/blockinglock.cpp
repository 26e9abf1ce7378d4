#include <windows.h>

#include <cstddef>
#include <zelk_core/os/blockinglock.h>

namespace Z4 {

static_assert(sizeof(BlockingLock) == sizeof(CRITICAL_SECTION) && alignof(BlockingLock) == alignof(CRITICAL_SECTION));
static_assert(sizeof(BlockingLockNonRecursive) == sizeof(BlockingLock));

namespace {

CRITICAL_SECTION* Section(void* lock) {
    return static_cast<CRITICAL_SECTION*>(lock);
}

} // namespace

BlockingLock::BlockingLock(const char*) {
    InitializeCriticalSection(Section(m_criticalSection));
}

BlockingLock::~BlockingLock() {
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
    LeaveCriticalSection(Section(m_criticalSection));
}

void* BlockingLock::GetInternalLockImpl() {
    return m_criticalSection;
}

void BlockingLock::InternalLock() {
    EnterCriticalSection(Section(m_criticalSection));
}

} // namespace Z4
