#include <zelk_core/services/dbghelp/private/debugregisters_win32.h>

#include <cstdint>
#include <tlhelp32.h>

namespace Z4 {

namespace {

using Private::AddressRegister;
using Private::BreakpointSlot;
using Private::ControlShift;
using Private::EnablingBit;
using Private::g_breakpointChanges;
using Private::g_breakpointSlots;

bool IsOurs(const BreakpointSlot& slot, DWORD address, DWORD control) {
    return address == slot.address.load() && control == slot.control.load();
}

/// Writes the slots that are for the thread over its registers, and leaves those of others alone.
/// @return the bits of slots that are in others' hands.
DWORD PutSlots(CONTEXT& registers, unsigned long threadId) {
    DWORD foreign = 0;
    for (unsigned long i = 0; i < HardwareBreakpoint::SLOTS; ++i) {
        const BreakpointSlot& slot = g_breakpointSlots[i];
        DWORD& address = AddressRegister(registers, i);
        const DWORD control = (registers.Dr7 >> ControlShift(i)) & 0xF;
        if ((registers.Dr7 & EnablingBit(i)) != 0 && !IsOurs(slot, address, control)) {
            foreign |= 1u << i;
            continue;
        }
        registers.Dr7 &= ~(EnablingBit(i) | (0xFu << ControlShift(i)));
        if (slot.IsFor(threadId)) {
            address = slot.address.load();
            registers.Dr7 |= EnablingBit(i) | (slot.control.load() << ControlShift(i));
        }
    }
    return foreign;
}

Error TranslateRefusal() {
    return GetLastError() == ERROR_ACCESS_DENIED ? ERR_ACCESS_DENIED : ERR_UNSUPPORTED;
}

/// Whether the registers that the system shows hold what was written. Some systems take values without effect.
bool Holds(HANDLE thread, const CONTEXT& written) {
    CONTEXT found{};
    found.ContextFlags = CONTEXT_DEBUG_REGISTERS;
    constexpr DWORD COMPARED = 0xFFFF00FF; // what is not reserved
    return GetThreadContext(thread, &found) != 0 && found.Dr0 == written.Dr0 && found.Dr1 == written.Dr1 &&
           found.Dr2 == written.Dr2 && found.Dr3 == written.Dr3 && ((found.Dr7 ^ written.Dr7) & COMPARED) == 0;
}

/// Brings the calling thread's registers up to date. Others may change the slots meanwhile, and the registers too.
/// @param foreign receives what PutSlots() returns.
Error UpdateThisThread(bool verified, DWORD& foreign) {
    for (;;) {
        const unsigned long changes = g_breakpointChanges.load();
        CONTEXT registers{};
        registers.ContextFlags = CONTEXT_DEBUG_REGISTERS;
        if (GetThreadContext(GetCurrentThread(), &registers) == 0) {
            return TranslateRefusal();
        }
        foreign = PutSlots(registers, GetCurrentThreadId());
        registers.Dr6 = 0;
        if (SetThreadContext(GetCurrentThread(), &registers) == 0) {
            return TranslateRefusal();
        }
        if (g_breakpointChanges.load() == changes) {
            return verified && !Holds(GetCurrentThread(), registers) ? ERR_UNSUPPORTED : ERR_OK;
        }
    }
}

/// ClearHit() of a thread whose registers at the hit are what the slots still ask for. Writing alone saves reading
/// first, which can cost as much as the hit.
/// @return false when they are not.
bool ClearUnchanged(const CONTEXT& atHit) {
    const unsigned long changes = g_breakpointChanges.load();
    CONTEXT registers = atHit;
    registers.ContextFlags = CONTEXT_DEBUG_REGISTERS;
    registers.Dr6 = 0;
    const bool isSame = PutSlots(registers, GetCurrentThreadId()) == 0 && registers.Dr7 == atHit.Dr7 &&
                        registers.Dr0 == atHit.Dr0 && registers.Dr1 == atHit.Dr1 && registers.Dr2 == atHit.Dr2 &&
                        registers.Dr3 == atHit.Dr3;
    return isSame && SetThreadContext(GetCurrentThread(), &registers) != 0 && g_breakpointChanges.load() == changes;
}

/// Nothing here takes a lock, as the suspended thread may hold any.
Error UpdateSuspended(HANDLE thread, unsigned long threadId, bool verified, DWORD& foreign) {
    CONTEXT registers{};
    registers.ContextFlags = CONTEXT_DEBUG_REGISTERS;
    // Asked where the thread is, the system waits until it stands.
    registers.ContextFlags |= CONTEXT_CONTROL;
    if (GetThreadContext(thread, &registers) == 0) {
        return TranslateRefusal();
    }
    foreign = PutSlots(registers, threadId);
    registers.ContextFlags = CONTEXT_DEBUG_REGISTERS;
    if (SetThreadContext(thread, &registers) == 0) {
        return TranslateRefusal();
    }
    return verified && !Holds(thread, registers) ? ERR_UNSUPPORTED : ERR_OK;
}

/// @return ERR_NOT_FOUND when the thread has ended or is none of this process.
Error UpdateOtherThread(unsigned long threadId, bool verified, DWORD& foreign) {
    foreign = 0;
    const HANDLE thread = OpenThread(THREAD_GET_CONTEXT | THREAD_SET_CONTEXT | THREAD_SUSPEND_RESUME |
                                         THREAD_QUERY_INFORMATION | SYNCHRONIZE,
                                     FALSE, threadId);
    if (thread == nullptr) {
        return GetLastError() == ERROR_ACCESS_DENIED ? ERR_ACCESS_DENIED : ERR_NOT_FOUND;
    }
    Error result = ERR_NOT_FOUND;
    if (GetProcessIdOfThread(thread) == GetCurrentProcessId()) {
        constexpr DWORD REFUSED = 0xFFFFFFFF;
        if (SuspendThread(thread) != REFUSED) {
            result = UpdateSuspended(thread, threadId, verified, foreign);
            ResumeThread(thread);
        } else {
            result = ERR_ACCESS_DENIED;
        }
        // A thread that is ending refuses, too, and is gone a moment later.
        constexpr DWORD MOMENT_MS = 100;
        if (result != ERR_OK && WaitForSingleObject(thread, MOMENT_MS) == WAIT_OBJECT_0) {
            result = ERR_NOT_FOUND;
        }
    }
    CloseHandle(thread);
    return result;
}

/// Brings the registers of all threads up to date; of a thread that ends meanwhile none are asked for. Goes on after an
/// error and tells the first.
Error UpdateAllThreads(bool verified, DWORD& foreign) {
    const DWORD self = GetCurrentThreadId();
    Error result = UpdateThisThread(verified, foreign);
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        return result != ERR_OK ? result : ERR_OUT_OF_RESOURCES;
    }
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more != 0; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID != GetCurrentProcessId() || entry.th32ThreadID == self) {
            continue;
        }
        DWORD itsForeign = 0;
        const Error error = UpdateOtherThread(entry.th32ThreadID, false, itsForeign);
        foreign |= itsForeign;
        if (result == ERR_OK && error != ERR_NOT_FOUND) {
            result = error;
        }
    }
    CloseHandle(snapshot);
    return result;
}

} // namespace

Error Private::UpdateRegisters(unsigned long threadId, bool verified, DWORD& foreign) {
    if (threadId == HardwareBreakpoint::ALL_THREADS) {
        return UpdateAllThreads(verified, foreign);
    }
    return threadId == GetCurrentThreadId() ? UpdateThisThread(verified, foreign)
                                            : UpdateOtherThread(threadId, verified, foreign);
}

void Private::AdoptBreakpoints() {
    DWORD foreign = 0;
    UpdateThisThread(false, foreign);
}

void Private::ClearHit(const CONTEXT& atHit) {
    if (!ClearUnchanged(atHit)) {
        AdoptBreakpoints();
    }
}

} // namespace Z4
