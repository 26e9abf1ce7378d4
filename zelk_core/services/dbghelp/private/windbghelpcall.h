// How WinDbgHelp calls the debug-help library.
#pragma once

#include <windows.h>

#include <type_traits>
#include <zelk_core/base/assert.h>
#include <zelk_core/os/atomic.h>
#include <zelk_core/services/dbghelp/private/debughelpentries.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

namespace Private {

/// The platform's lock inside a BlockingLock, directly: the calls that it guards are as short as one layer more.
class SectionGuard {
public:
    explicit SectionGuard(BlockingLock& lock) : m_section(reinterpret_cast<CRITICAL_SECTION*>(&lock)) {
        EnterCriticalSection(m_section);
    }
    ~SectionGuard() { LeaveCriticalSection(m_section); }
    SectionGuard(const SectionGuard&) = delete;
    SectionGuard& operator=(const SectionGuard&) = delete;

private:
    CRITICAL_SECTION* m_section;
};

} // namespace Private

inline void WinDbgHelp::PrepareCall() {
    Z4_ASSERT(!m_observers.IsInside(GetCurrentThreadId()), "An observer calls no function of the debug-help library.");
    if (Atomic::Get(m_ready) == 0) {
        WaitUntilReady();
    }
}

/// Under the lock. The null result of an entry point that is missing comes with a reason.
template <class Function, class... Arguments>
auto WinDbgHelp::Call(const Private::EntryPoint<Function>& entry, Arguments... arguments) {
    using Result = std::invoke_result_t<Function*, Arguments...>;
    Function* const function = reinterpret_cast<Function*>(m_entryPoints[entry.slot]);
    if (function == nullptr) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return Result{};
    }
    return function(arguments...);
}

template <class Function, class... Arguments>
auto WinDbgHelp::Forward(const Private::EntryPoint<Function>& entry, Arguments... arguments) {
    PrepareCall();
    const Private::SectionGuard guard(m_lock);
    return Call(entry, arguments...);
}

} // namespace Z4
