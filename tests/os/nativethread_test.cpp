// Faults hunted: a setting that does not reach the system or reaches it unchecked, a failure told as another, results
// that are not cleared, a handle closed or left open at the wrong time, an announcement that others notice.
#include "crowd.h"
#include <tests/support/importhook.h>
#include <tests/support/results.h>
#include <tests/support/testhost.h>
#include <tests/support/winsystem.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <zelk_core/os/nativethread.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

const auto DEAD_HANDLE = reinterpret_cast<void*>(0x123450);

ThreadAffinity AllCores() {
    ThreadAffinity mask;
    EXPECT_EQ(System::GetAvailableCoreMask(mask), ERR_OK);
    return mask;
}

ThreadAttributes Attributes() {
    ThreadAttributes attributes;
    attributes.affinity = AllCores();
    return attributes;
}

void WaitAtGate(void* gate) {
    static_cast<Gate*>(gate)->Wait();
}

TEST(ThreadCreate, RefusesBadArgumentsAndClearsItsResults) {
    const unsigned handles = CountHandles();
    const std::string longName(64, 'n');
    std::array<ThreadAttributes, 5> bad;
    bad.fill(Attributes());
    bad[0].name = longName.c_str();
    bad[1].affinity = 0;
    bad[2].affinity = AllCores() | std::uint64_t{1} << 32;
    bad[3].priority = 16;
    for (const ThreadAttributes& attributes : bad) { // in the end it is the entry that is bad
        void* handle = DEAD_HANDLE;
        unsigned long id = 0;
        const ThreadEntry entry = &attributes != &bad[4] ? WaitAtGate : nullptr;
        EXPECT_EQ(ThreadCreate(attributes, entry, nullptr, handle, id), ERR_INVALID) << &attributes - bad.data();
        EXPECT_TRUE(handle == nullptr && id == INVALID_THREAD_ID);
    }
    EXPECT_EQ(CountHandles(), handles);
    LeaveBehind(3); // with the suspended threads whose settings were refused
}

int g_refusal;

std::uintptr_t __cdecl RefuseThread(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) {
    errno = g_refusal;
    return g_refusal == EINVAL ? UINTPTR_MAX : 0;
}

TEST(ThreadCreate, TellsWhyThereIsNoThread) {
    const LogCapture log;
    const ImportHook refuse("_beginthreadex", RefuseThread);
    const std::pair<int, Error> rows[] = {{EAGAIN, ERR_OUT_OF_RESOURCES},
                                          {ENOMEM, ERR_OUT_OF_RESOURCES},
                                          {EACCES, ERR_OUT_OF_RESOURCES},
                                          {EINVAL, ERR_INVALID},
                                          {EIO, ERR_UNHANDLED}};
    for (const auto& [number, error] : rows) {
        g_refusal = number;
        void* handle = DEAD_HANDLE;
        EXPECT_EQ(ThreadCreate(Attributes(), WaitAtGate, nullptr, handle), error) << number;
        EXPECT_EQ(handle, nullptr);
    }
    log.ExpectOnly({{2, "os/private/nativethread_ms", 217, "_beginthreadex failed. Unknown error: 5\n"}});
}

TEST(NativeThread, HandlesWithoutAThreadAreNotFound) {
    const LogCapture log;
    const std::string longName(64, 'n');
    for (void* const handle : {static_cast<void*>(nullptr), DEAD_HANDLE}) {
        unsigned long ids[] = {0, 0};
        ThreadPriority priority = 99;
        ExpectEach(ERR_DEVICE_NOT_READY, BSP::ThreadGetId({handle, 0}, ids[0]),
                   BSP::ThreadGetPriority({handle, 0}, priority));
        ExpectEach(ERR_NOT_FOUND, ThreadGetId(handle, ids[1]), ThreadJoin(handle), ThreadGetPriority(handle, priority),
                   ThreadChangePriority(handle, 0), ThreadChangeAffinity(handle, AllCores()),
                   ThreadChangeName(handle, "name"));
        // Null is looked for first, bad values before dead handles.
        ExpectEach(handle == nullptr ? ERR_NOT_FOUND : ERR_INVALID, ThreadChangePriority(handle, 16),
                   ThreadChangeAffinity(handle, ~std::uint64_t{0}), ThreadChangeName(handle, longName.c_str()));
        EXPECT_TRUE(ids[0] == 0 && ids[1] == INVALID_THREAD_ID && priority == 99);
    }
    log.ExpectOnly({});
}

TEST(ThreadJoin, FailsWithoutTakingTheHandle) {
    Gate gate;
    BSP::ThreadInfo thread;
    ASSERT_EQ(ThreadCreate(Attributes(), WaitAtGate, &gate, thread.handle, thread.threadId), ERR_OK);
    // A handle good for waiting only: every question about the thread is denied.
    HANDLE poor = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), thread.handle, GetCurrentProcess(), &poor, SYNCHRONIZE, FALSE, 0));
    const LogCapture log;
    EXPECT_EQ(ThreadJoin(poor), ERR_UNHANDLED);
    log.ExpectOnly({{2, "os/private/nativethread_ms", 41, "Unknown error. GetLastError returns 5\n"}});
    EXPECT_TRUE(CloseHandle(poor));

    BSP::ThreadInfo self{GetCurrentThread(), GetCurrentThreadId()};
    ExpectEach(ERR_UNREACHABLE, ThreadJoin(self.handle), BSP::ThreadJoin(self, INFINITE));

    const WaitClock clock;
    EXPECT_EQ(BSP::ThreadJoin(thread, 40), ERR_TIMEOUT);
    EXPECT_TRUE(clock.HasPassed(40));
    unsigned long id = 0;
    EXPECT_EQ(BSP::ThreadGetId(thread, id), ERR_OK);
    EXPECT_EQ(id, thread.threadId);
    gate.Open();
    EXPECT_EQ(BSP::ThreadJoin(thread, INFINITE), ERR_OK);
    EXPECT_TRUE(thread.handle == nullptr && thread.threadId == INVALID_THREAD_ID);
    EXPECT_EQ(BSP::ThreadJoin(thread, INFINITE), ERR_INVALID);
}

DWORD g_foreignException;

/// Raises while it sees the announcement, so that the announcement's own handler is asked about it.
LONG CALLBACK RaiseAnother(EXCEPTION_POINTERS* pointers) {
    if (pointers->ExceptionRecord->ExceptionCode == 0x406D1388) {
        RaiseException(0xE1234567, 0, 0, nullptr);
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

LONG CALLBACK KeepCode(EXCEPTION_POINTERS* pointers) {
    g_foreignException = pointers->ExceptionRecord->ExceptionCode;
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(ThreadNames, OtherExceptionsPassTheAnnouncementByUnseen) {
    void* const handler = AddVectoredExceptionHandler(1, RaiseAnother);
    const auto previous = SetUnhandledExceptionFilter(KeepCode);
    EXPECT_EQ(ThreadChangeName(GetCurrentThread(), "name"), ERR_OK);
    SetUnhandledExceptionFilter(previous);
    RemoveVectoredExceptionHandler(handler);
    EXPECT_EQ(g_foreignException, 0xE1234567u);
}

} // namespace
