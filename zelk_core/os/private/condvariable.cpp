#include <zelk_core/base/assert.h>
#include <zelk_core/os/condvariable.h>
#include <zelk_core/os/private/criticalsection.h>

namespace Z4 {

static_assert(sizeof(CondVariable) == sizeof(CONDITION_VARIABLE));
static_assert(alignof(CondVariable) == alignof(CONDITION_VARIABLE));
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
    Z4_ASSERT(Private::LevelsHeldHere(lockImpl) == 1, "The calling thread holds the lock exactly once when it waits.");
    // Another failure counts as a wake-up: callers look at their condition again after one.
    return SleepConditionVariableCS(Condition(m_condition), Private::Section(lockImpl), ms) != 0 ||
           GetLastError() != ERROR_TIMEOUT;
}

} // namespace Z4
