// What tests ask of the system itself.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
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

/// Calls `work` on a thread that armed it, on that thread's way out of the system. Must outlive the thread.
class AtThreadExit {
public:
    explicit AtThreadExit(std::function<void()> work) : m_work(std::move(work)) {}
    ~AtThreadExit() { FlsFree(m_slot); }
    AtThreadExit(const AtThreadExit&) = delete;
    AtThreadExit& operator=(const AtThreadExit&) = delete;

    void Arm() { FlsSetValue(m_slot, this); }

private:
    static void WINAPI Call(void* self) { static_cast<AtThreadExit*>(self)->m_work(); }

    std::function<void()> m_work;
    DWORD m_slot = FlsAlloc(Call);
};

} // namespace ZelkTest
