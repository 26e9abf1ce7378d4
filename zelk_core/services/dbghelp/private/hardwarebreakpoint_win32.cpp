#include <windows.h>

#include <atomic>
#include <cstdint>
#include <zelk_core/base/private/threadobserver.h>
#include <zelk_core/os/autorwlock.h>
#include <zelk_core/os/rwlock.h>
#include <zelk_core/services/dbghelp/breakpoint.h>
#include <zelk_core/services/dbghelp/private/breakpoints.h>
#include <zelk_core/services/dbghelp/private/callbackuses.h>
#include <zelk_core/services/dbghelp/private/debugregisters_win32.h>

namespace Z4 {

namespace {

using Private::AddressRegister;
using Private::BreakpointSlot;
using Private::ControlShift;
using Private::g_breakpointSlots;

constexpr DWORD NAMED_SLOTS = 0xF; // in Dr6
constexpr DWORD RESUME_FLAG = 0x10000;
constexpr DWORD SYSTEM_DEBUG_REGISTERS = CONTEXT_DEBUG_REGISTERS & ~DWORD{CONTEXT_i386};

/// Over who sets and clears; a hit never meets it. Only written under, but it is the lock that is ready before any code
/// runs and waits without spinning.
constinit RWLockNonRecursive g_lock{0};
constinit unsigned long g_lastUse = 0;
constinit bool g_started = false;
constinit void* g_handler = nullptr;
constinit std::atomic<DWORD> g_everSet{0}; ///< bits of slots, as Dr6 has them
constinit Private::CallbackUses g_uses;

bool IsAnySet() {
    for (const BreakpointSlot& slot : g_breakpointSlots) {
        if (slot.use.load() != 0) {
            return true;
        }
    }
    return false;
}

/// Puts a change of the slots into the registers of its threads, and of those that are about to begin.
Error Publish(unsigned long threadId, bool verified, DWORD& foreign) {
    Private::g_breakpointChanges.fetch_add(1);
    Private::g_threadObserver.store(IsAnySet() ? Private::AdoptBreakpoints : nullptr, std::memory_order_release);
    return Private::UpdateRegisters(threadId, verified, foreign);
}

/// Tells of one hit. Without a place it is only counted.
void Tell(unsigned long index, CONTEXT& context, Private::CallbackUses::Place* place) {
    BreakpointSlot& slot = g_breakpointSlots[index];
    const unsigned long threadId = GetCurrentThreadId();
    if ((place != nullptr && !Private::CallbackUses::Hold(*place, slot.use)) || !slot.IsFor(threadId) ||
        AddressRegister(context, index) != slot.address.load()) {
        return; // cleared while the hit was on its way
    }
    slot.hits.fetch_add(1);
    if (place != nullptr && slot.callback != nullptr) {
        const auto address = static_cast<std::uintptr_t>(AddressRegister(context, index));
        const auto instruction = static_cast<std::uintptr_t>(context.Eip);
        slot.callback({index, threadId, reinterpret_cast<const void*>(address),
                       reinterpret_cast<const void*>(instruction), &context},
                      slot.context);
    }
}

LONG CALLBACK HandleHit(EXCEPTION_POINTERS* exception) {
    CONTEXT& context = *exception->ContextRecord;
    if (exception->ExceptionRecord->ExceptionCode != EXCEPTION_SINGLE_STEP) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    // Of a slot that is cleared, a hit can still be on its way, and nobody else would know what to do with it.
    const DWORD named = context.Dr6 & NAMED_SLOTS & g_everSet.load();
    if (named == 0) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    const unsigned long threadId = GetCurrentThreadId();
    if (!g_uses.IsInside(threadId)) {
        Private::CallbackUses::Place* const place = g_uses.Enter(threadId);
        for (unsigned long i = 0; i < HardwareBreakpoint::SLOTS; ++i) {
            if ((named & (1u << i)) != 0) {
                Tell(i, context, place);
            }
        }
        if (place != nullptr) {
            Private::CallbackUses::Leave(*place);
        }
    }
    for (unsigned long i = 0; i < HardwareBreakpoint::SLOTS; ++i) {
        const bool beforeInstruction = ((context.Dr7 >> ControlShift(i)) & 0xF) == BREAK_ON_EXECUTE;
        if ((named & (1u << i)) != 0 && beforeInstruction) {
            context.EFlags |= RESUME_FLAG; // or it would never get beyond it
        }
    }
    Private::ClearHit(context);
    // The thread must not get its registers from the record, which knows nothing of slots that are set or cleared now.
    context.ContextFlags &= ~SYSTEM_DEBUG_REGISTERS;
    return EXCEPTION_CONTINUE_EXECUTION;
}

/// The calling thread's own hits, while it changes the registers of threads that may hold any lock.
class Silence {
public:
    Silence() : m_place(g_uses.Enter(GetCurrentThreadId())) {}
    ~Silence() {
        if (m_place != nullptr) {
            Private::CallbackUses::Leave(*m_place);
        }
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    Private::CallbackUses::Place* m_place;
};

/// Sets a free slot for its threads. On an error no thread has it.
/// @param isForeign receives whether somebody else has the slot in one of the threads.
Error Occupy(BreakpointSlot& slot, unsigned long threadId, bool& isForeign) {
    const DWORD bit = 1u << (&slot - g_breakpointSlots);
    slot.hits.store(0);
    slot.lastUse = ++g_lastUse;
    g_everSet.fetch_or(bit);
    slot.use.store(slot.lastUse);
    DWORD foreign = 0;
    const Error result = Publish(threadId, true, foreign);
    isForeign = (foreign & bit) != 0;
    if (result == ERR_OK && !isForeign) {
        return ERR_OK;
    }
    slot.use.store(0);
    Publish(threadId, false, foreign);
    return isForeign ? ERR_OUT_OF_RESOURCES : result;
}

bool IsValid(const void* address, unsigned long size, HardwareBreakOn on) {
    const bool isSize = size == 1 || ((size == 2 || size == 4) && on != BREAK_ON_EXECUTE);
    return address != nullptr && isSize && reinterpret_cast<std::uintptr_t>(address) % size == 0 &&
           (on == BREAK_ON_EXECUTE || on == BREAK_ON_WRITE || on == BREAK_ON_ACCESS);
}

} // namespace

void Private::StartHardwareBreakpoints() {
    const AutoWriterLock guard(g_lock);
    g_started = true;
}

void Private::StopHardwareBreakpoints() {
    HardwareBreakpoint::ClearAll();
    const AutoWriterLock guard(g_lock);
    g_started = false;
    if (g_handler != nullptr) {
        RemoveVectoredExceptionHandler(g_handler);
        g_handler = nullptr;
    }
}

Error HardwareBreakpoint::Set(const void* address, unsigned long size, HardwareBreakOn on, unsigned long threadId,
                              Callback callback, void* context, unsigned long& slot) {
    if (!IsValid(address, size, on)) {
        return ERR_INVALID;
    }
    const AutoWriterLock guard(g_lock);
    if (!g_started) {
        return ERR_NOT_READY;
    }
    if (g_handler == nullptr) {
        constexpr ULONG AHEAD_OF_OTHERS = 1;
        g_handler = AddVectoredExceptionHandler(AHEAD_OF_OTHERS, HandleHit);
        if (g_handler == nullptr) {
            return ERR_OUT_OF_RESOURCES;
        }
    }
    const Silence silence;
    for (BreakpointSlot& candidate : g_breakpointSlots) {
        if (candidate.use.load() != 0 || g_uses.IsHeld(candidate.lastUse)) {
            continue;
        }
        candidate.address.store(static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(address)));
        candidate.control.store(static_cast<DWORD>(on) | ((size - 1) << 2));
        candidate.threadId.store(threadId);
        candidate.callback = callback;
        candidate.context = context;
        bool isForeign = false;
        const Error result = Occupy(candidate, threadId, isForeign);
        if (result == ERR_OK) {
            slot = static_cast<unsigned long>(&candidate - g_breakpointSlots);
        }
        if (!isForeign) {
            return result;
        }
    }
    return ERR_OUT_OF_RESOURCES;
}

Error HardwareBreakpoint::Clear(unsigned long slot) {
    if (slot >= SLOTS) {
        return ERR_NOT_FOUND;
    }
    unsigned long use = 0;
    {
        const AutoWriterLock guard(g_lock);
        use = g_breakpointSlots[slot].use.exchange(0);
        if (use == 0) {
            return ERR_NOT_FOUND;
        }
        const Silence silence;
        DWORD foreign = 0;
        Publish(g_breakpointSlots[slot].threadId.load(), false, foreign);
    }
    g_uses.WaitFor(use, GetCurrentThreadId());
    return ERR_OK;
}

void HardwareBreakpoint::ClearAll() {
    for (unsigned long slot = 0; slot < SLOTS; ++slot) {
        Clear(slot);
    }
}

unsigned long HardwareBreakpoint::GetHits(unsigned long slot) {
    return slot < SLOTS ? g_breakpointSlots[slot].hits.load() : 0;
}

void HardwareBreakpoint::AdoptThisThread() {
    if (IsAnySet()) {
        Private::AdoptBreakpoints();
    }
}

bool Debugger::IsPresent() {
    return IsDebuggerPresent() != 0;
}

void Debugger::Write(const char* text) {
    if (text != nullptr) {
        OutputDebugStringA(text);
    }
}

} // namespace Z4
