// The debug registers of the process's threads: how they follow the breakpoints that are set.
#pragma once

#include <windows.h>

#include <atomic>
#include <zelk_core/services/dbghelp/breakpoint.h>

namespace Z4::Private {

// Intel's Software Developer's Manual, volume 3, chapter "Debug, Branch Profile". Dr7 has for each of the four
// addresses an enabling bit and four bits of control: what for, and how many bytes less one.

constexpr DWORD EnablingBit(unsigned long slot) {
    return 1u << (slot * 2);
}

constexpr unsigned long ControlShift(unsigned long slot) {
    return 16 + slot * 4;
}

inline DWORD& AddressRegister(CONTEXT& context, unsigned long slot) {
    return slot == 0 ? context.Dr0 : slot == 1 ? context.Dr1 : slot == 2 ? context.Dr2 : context.Dr3;
}

/// `use` is 0 while the slot is free. Address and control stay, so that they are recognised in registers. The rest
/// changes only while nobody holds the slot's last use (callbackuses.h).
struct BreakpointSlot {
    std::atomic<unsigned long> use{0};
    std::atomic<DWORD> address{0};
    std::atomic<DWORD> control{0};
    std::atomic<unsigned long> threadId{0};
    std::atomic<unsigned long> hits{0};
    unsigned long lastUse = 0;
    HardwareBreakpoint::Callback callback = nullptr;
    void* context = nullptr;

    bool IsFor(unsigned long thread) const {
        const unsigned long only = threadId.load();
        return use.load() != 0 && (only == HardwareBreakpoint::ALL_THREADS || only == thread);
    }
};

inline constinit BreakpointSlot g_breakpointSlots[HardwareBreakpoint::SLOTS];
/// Counts the changes of the slots. Each is counted before the first thread has it in its registers: so a thread that
/// updates itself meanwhile notices, and begins anew.
inline constinit std::atomic<unsigned long> g_breakpointChanges{0};

/// Brings the registers of a thread, or of all, up to date. One caller at a time.
/// @param verified whether to see that the system keeps what is written; of all threads, in the calling one.
/// @param foreign receives the bits of slots that are in others' hands, in one of the threads.
/// @return the first error, though the other threads have theirs all the same. ERR_NOT_FOUND for a thread that has
/// ended or is none of this process; of all threads, those are left out.
Error UpdateRegisters(unsigned long threadId, bool verified, DWORD& foreign);

/// UpdateRegisters() of the calling thread, at any time and with whatever result.
void AdoptBreakpoints();

/// Clears Dr6, which keeps its bits otherwise, of the calling thread, and brings it up to date.
/// @param atHit what it was stopped with.
void ClearHit(const CONTEXT& atHit);

} // namespace Z4::Private
