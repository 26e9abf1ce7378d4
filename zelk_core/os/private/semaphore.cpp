#include <windows.h>
#include <zelk_core/os/semaphore.h>

namespace Z4 {

static_assert(sizeof(Semaphore) == sizeof(HANDLE));
static_assert(alignof(Semaphore) == alignof(HANDLE));

// Counts above the system's signed range turn negative, which the system refuses.
Semaphore::Semaphore(unsigned long initialCount, unsigned long maximumCount, const char* name)
    : m_handle(CreateSemaphoreA(nullptr, static_cast<LONG>(initialCount), static_cast<LONG>(maximumCount), name)) {}

Semaphore::~Semaphore() {
    CloseHandle(m_handle);
}

Semaphore& Semaphore::operator=(const Semaphore& other) = default;

void Semaphore::Lock() {
    WaitForSingleObject(m_handle, INFINITE);
}

bool Semaphore::TryLock() {
    return WaitForSingleObject(m_handle, 0) == WAIT_OBJECT_0;
}

void Semaphore::Unlock() {
    ReleaseSemaphore(m_handle, 1, nullptr);
}

} // namespace Z4
