// What tests ask of the system itself.
#pragma once

#include <functional>
#include <utility>
#include <windows.h>

namespace ZelkTest {

/// Wine answers some questions otherwise than Windows; tests that ask them state Windows's answer and are skipped here.
inline bool RunsUnderWine() {
    return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}

/// Handles that this process holds.
unsigned CountHandles();

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
