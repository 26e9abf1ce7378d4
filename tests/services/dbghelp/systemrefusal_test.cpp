// Breakpoints and call stacks where the system refuses. Hunted are errors that nobody is told of, slots that are lost,
// threads that stay suspended, and exceptions that are taken from others.
#include <tests/support/importhook.h>
#include <tests/support/testhost.h>

#include <tlhelp32.h>
#include <winternl.h>

#include <gtest/gtest.h>
#include <zelk_core/services/dbghelp/breakpoint.h>
#include <zelk_core/services/dbghelp/callstack.h>
#include <zelk_core/services/dbghelp/lifecycle.h>

namespace {

using namespace Z4;
using ZelkTest::Failure;

int g_watched;
DWORD g_other;

Error SetOn(unsigned long threadId) {
    unsigned long slot = 0;
    const Error error = HardwareBreakpoint::Set(&g_watched, 4, BREAK_ON_WRITE, threadId, nullptr, nullptr, slot);
    HardwareBreakpoint::ClearAll();
    return error;
}
Error SetOnThis() {
    return SetOn(GetCurrentThreadId());
}
Error SetOnOther() {
    return SetOn(g_other);
}
Error SetOnAll() {
    return SetOn(HardwareBreakpoint::ALL_THREADS);
}
Error Capture() {
    return CallStack().CaptureThread(g_other);
}

DWORD WINAPI WaitFor(void* event) {
    return WaitForSingleObject(event, INFINITE);
}
/// Shows registers that nothing was written to.
BOOL WINAPI ShowNone(HANDLE, CONTEXT* context) {
    *context = CONTEXT{};
    return TRUE;
}

/// With a second thread, which waits.
class SystemRefusal : public testing::Test {
protected:
    SystemRefusal() { InitializeDbgHelpService(false); }
    ~SystemRefusal() override {
        ResumeThread(m_thread); // which a fault has left suspended
        SetEvent(m_event);
        WaitForSingleObject(m_thread, INFINITE);
        CloseHandle(m_thread);
        CloseHandle(m_event);
        ShutdownDbgHelpService();
    }
    void SetUp() override {
        if (SetOnThis() == ERR_UNSUPPORTED) {
            GTEST_SKIP() << "this system refuses debug registers";
        }
        ShutdownDbgHelpService(); // and the handler of exceptions goes
        InitializeDbgHelpService(false);
    }

    HANDLE m_event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    HANDLE m_thread = CreateThread(nullptr, 0, WaitFor, m_event, 0, &g_other);
};

TEST_F(SystemRefusal, IsToldAndLeavesNothingBehind) {
    const struct {
        const char* name;
        void* replacement;
        DWORD lastError;
        long result;
        Error (*ask)();
        Error error;
    } rows[] = {
        {ZELK_FAILING(AddVectoredExceptionHandler), 0, 0, SetOnThis, ERR_OUT_OF_RESOURCES},
        {ZELK_FAILING(GetThreadContext), ERROR_ACCESS_DENIED, 0, SetOnThis, ERR_ACCESS_DENIED},
        {ZELK_FAILING(GetThreadContext), ERROR_NOT_SUPPORTED, 0, SetOnThis, ERR_UNSUPPORTED},
        {ZELK_FAILING(GetThreadContext), ERROR_ACCESS_DENIED, 0, SetOnOther, ERR_ACCESS_DENIED},
        {ZELK_FAILING(GetThreadContext), 0, 0, Capture, ERR_ACCESS_DENIED},
        {"GetThreadContext", reinterpret_cast<void*>(ShowNone), 0, 0, SetOnThis, ERR_UNSUPPORTED},
        {"GetThreadContext", reinterpret_cast<void*>(ShowNone), 0, 0, SetOnOther, ERR_UNSUPPORTED},
        {"GetThreadContext", reinterpret_cast<void*>(ShowNone), 0, 0, SetOnAll, ERR_UNSUPPORTED},
        {ZELK_FAILING(SetThreadContext), ERROR_ACCESS_DENIED, 0, SetOnThis, ERR_ACCESS_DENIED},
        {ZELK_FAILING(SetThreadContext), ERROR_ACCESS_DENIED, 0, SetOnAll, ERR_ACCESS_DENIED},
        {ZELK_FAILING(SetThreadContext), 0, TRUE, SetOnThis, ERR_UNSUPPORTED}, // says that it has written
        {ZELK_FAILING(SuspendThread), 0, -1, SetOnOther, ERR_ACCESS_DENIED},
        {ZELK_FAILING(SuspendThread), 0, -1, Capture, ERR_ACCESS_DENIED},
        {ZELK_FAILING(OpenThread), ERROR_ACCESS_DENIED, 0, SetOnOther, ERR_ACCESS_DENIED},
        {ZELK_FAILING(OpenThread), ERROR_ACCESS_DENIED, 0, Capture, ERR_ACCESS_DENIED},
        {ZELK_FAILING(OpenThread), ERROR_INVALID_PARAMETER, 0, Capture, ERR_NOT_FOUND},
        {ZELK_FAILING(GetProcessIdOfThread), 0, 0, SetOnOther, ERR_NOT_FOUND},
        {ZELK_FAILING(GetProcessIdOfThread), 0, 0, Capture, ERR_NOT_FOUND},
        {ZELK_FAILING(GetExitCodeThread), 0, 0, Capture, ERR_NOT_FOUND},
        {ZELK_FAILING(NtQueryInformationThread), 0, -1, Capture, ERR_NOT_FOUND},
        {ZELK_FAILING(CreateToolhelp32Snapshot), 0, -1, SetOnAll, ERR_OUT_OF_RESOURCES},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.name << " " << row.lastError);
        {
            Failure::s_error = row.lastError;
            Failure::s_result = row.result;
            const ZelkTest::ImportHook hook(row.name, row.replacement);
            EXPECT_EQ(row.ask(), row.error);
        }
        EXPECT_EQ(ResumeThread(m_thread), 0u) << "it is not suspended";
        EXPECT_EQ(SetOnAll(), ERR_OK) << "no slot is lost";
    }
    EXPECT_EQ(Capture(), ERR_OK);
    EXPECT_EQ(ResumeThread(m_thread), 0u);
    SetEvent(m_event);
    WaitForSingleObject(m_thread, INFINITE);
    EXPECT_EQ(Capture(), ERR_NOT_FOUND) << "it has ended, and is still known";
    EXPECT_EQ(HardwareBreakpoint::Clear(HardwareBreakpoint::SLOTS), ERR_NOT_FOUND);
    EXPECT_EQ(HardwareBreakpoint::GetHits(HardwareBreakpoint::SLOTS), 0u);
    EXPECT_EQ(StringBreakpoint::GetHits(StringBreakpoint::SLOTS), 0u);
}

unsigned g_steps;

LONG CALLBACK CountSteps(EXCEPTION_POINTERS* exception) {
    g_steps += exception->ExceptionRecord->ExceptionCode == EXCEPTION_SINGLE_STEP ? 1 : 0;
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST_F(SystemRefusal, PassesOnTheStepsOfOthers) {
    EXPECT_EQ(SetOnThis(), ERR_OK); // from now on the library sees all exceptions first
    void* const handler = AddVectoredExceptionHandler(0, CountSteps);
    RaiseException(static_cast<DWORD>(EXCEPTION_SINGLE_STEP), 0, 0, nullptr);
    EXPECT_EQ(g_steps, 1u);
    RemoveVectoredExceptionHandler(handler);
}

} // namespace
