#include <windows.h>
#include <zelk_core/os/condvariable.h>

namespace Z4 {

static_assert(sizeof(CondVariable) == sizeof(CONDITION_VARIABLE) &&
              alignof(CondVariable) == alignof(CONDITION_VARIABLE));
static_assert(CONDITION_VARIABLE(CONDITION_VARIABLE_INIT).Ptr == nullptr, "the constructor leaves a null pointer");

namespace {

CONDITION_VARIABLE* Condition(void*& condition) {
    return reinterpret_cast<CONDITION_VARIABLE*>(&condition);
}

} // namespace

void CondVariable::Signal() {
    WakeConditionVariable(Condition(m_condition));
}

void CondVariable::Broadcast() {
    WakeAllConditionVariable(Condition(m_condition));
}

bool CondVariable::WaitInternal(void* lockImpl, unsigned long ms) {
    static_assert(NO_LIMIT == INFINITE);
    // Another failure counts as a wake-up: callers look at their condition again after one.
    return SleepConditionVariableCS(Condition(m_condition), static_cast<CRITICAL_SECTION*>(lockImpl), ms) != 0 ||
           GetLastError() != ERROR_TIMEOUT;
}

} // namespace Z4
