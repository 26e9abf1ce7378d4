#include <windows.h>

#include <zelk_core/os/monitor.h>

namespace Z4::Private {

static_assert(sizeof(CONDITION_VARIABLE) == 4 && alignof(CONDITION_VARIABLE) == 4);
static_assert(sizeof(Monitor) == sizeof(CONDITION_VARIABLE) + sizeof(CRITICAL_SECTION));

namespace {

CONDITION_VARIABLE* Condition(void* condition) {
    return static_cast<CONDITION_VARIABLE*>(condition);
}

} // namespace

bool Monitor::Wait(unsigned long ms) {
    auto* const section = static_cast<CRITICAL_SECTION*>(m_lock.GetInternalLockImpl());
    return SleepConditionVariableCS(Condition(m_condition), section, ms) != 0 || GetLastError() != ERROR_TIMEOUT;
}

void Monitor::WakeAll() {
    WakeAllConditionVariable(Condition(m_condition));
}

} // namespace Z4::Private
