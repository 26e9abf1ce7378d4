// What tests ask of the system itself.
#pragma once

#include <cstdint>
#include <windows.h>

namespace ZelkTest {

/// Handles that this process holds. The system's own count of them knows nothing under Wine, so each number is tried.
inline unsigned CountHandles() {
    unsigned count = 0;
    for (std::uintptr_t number = 4; number < 0x8000; number += 4) {
        DWORD flags = 0;
        count += GetHandleInformation(reinterpret_cast<HANDLE>(number), &flags) != 0 ? 1u : 0u;
    }
    return count;
}

/// Closed at first; open for all while it is open.
class Gate {
public:
    Gate() : m_event(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}
    ~Gate() { CloseHandle(m_event); }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void Close() { ResetEvent(m_event); }
    void Open() { SetEvent(m_event); }
    void Wait() { WaitForSingleObject(m_event, INFINITE); }

private:
    HANDLE m_event;
};

} // namespace ZelkTest
