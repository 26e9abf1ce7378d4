#include <windows.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/os/event.h>

namespace Z4 {

static_assert(sizeof(Event) == sizeof(HANDLE));
static_assert(alignof(Event) == alignof(HANDLE));

namespace {

bool WaitFor(HANDLE handle, DWORD ms) {
    return WaitForSingleObject(handle, ms) == WAIT_OBJECT_0;
}

DWORD WaitForGroup(Event* const* events, unsigned long count, bool all, DWORD ms) {
    HANDLE handles[MAXIMUM_WAIT_OBJECTS];
    Z4_ASSERT(count >= 1 && count <= MAXIMUM_WAIT_OBJECTS, "A group wait is for 1 to 64 events.");
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS) {
        return WAIT_FAILED;
    }
    for (unsigned long i = 0; i < count; ++i) {
        Z4_ASSERT(events[i] != nullptr, "No event of a group is null.");
        handles[i] = events[i]->GetNativeHandle();
    }
    return WaitForMultipleObjects(count, handles, all, ms);
}

bool WaitForAll(Event* const* events, unsigned long count, DWORD ms) {
    return WaitForGroup(events, count, true, ms) == WAIT_OBJECT_0;
}

bool WaitForAny(Event* const* events, unsigned long count, DWORD ms, Event** signalled) {
    const DWORD index = WaitForGroup(events, count, false, ms) - WAIT_OBJECT_0;
    Event* const found = index < count ? events[index] : nullptr;
    if (signalled != nullptr) {
        *signalled = found;
    }
    return found != nullptr;
}

} // namespace

Event::Event(bool initialState, bool autoReset, const char* name)
    : m_handle(CreateEventA(nullptr, !autoReset, initialState, name)) {}

Event::~Event() {
    CloseHandle(m_handle);
}

void Event::SetDone() {
    SetEvent(m_handle);
}

void Event::Reset() {
    ResetEvent(m_handle);
}

void Event::Pulse() {
    PulseEvent(m_handle);
}

void Event::WaitUntilDone() {
    WaitFor(m_handle, INFINITE);
}

bool Event::TryWait() {
    return WaitFor(m_handle, 0);
}

bool Event::WaitWithTimeout(unsigned long ms) {
    return WaitFor(m_handle, ms);
}

void* Event::GetNativeHandle() const {
    return m_handle;
}

void* Event::GetImpl() const {
    return m_handle;
}

void Event::WaitAll(Event* const* events, unsigned long count) {
    WaitForAll(events, count, INFINITE);
}

bool Event::TryWaitAll(Event* const* events, unsigned long count) {
    return WaitForAll(events, count, 0);
}

bool Event::WaitAllWithTimeout(Event* const* events, unsigned long count, unsigned long ms) {
    return WaitForAll(events, count, ms);
}

void Event::WaitAny(Event* const* events, unsigned long count, Event** signalled) {
    WaitForAny(events, count, INFINITE, signalled);
}

bool Event::TryWaitAny(Event* const* events, unsigned long count, Event** signalled) {
    return WaitForAny(events, count, 0, signalled);
}

bool Event::WaitAnyWithTimeout(Event* const* events, unsigned long count, unsigned long ms, Event** signalled) {
    return WaitForAny(events, count, ms, signalled);
}

} // namespace Z4
