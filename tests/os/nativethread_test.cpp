// Faults hunted: a setting that does not reach the system or reaches it unchecked, a failure told as another, results
// that are not cleared, a handle closed or left open at the wrong time, an announcement that others notice.
#include "crowd.h"
#include "namerecorder.h"
#include <tests/support/importhook.h>
#include <tests/support/testhost.h>
#include <tests/support/winsystem.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <windows.h>
#include <zelk_core/os/nativethread.h>

using namespace Z4;
using ZelkTest::ExpectAnnouncement;
using ZelkTest::Gate;
using ZelkTest::ImportHook;
using ZelkTest::LogCapture;
using ZelkTest::NameRecorder;

namespace {

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

/// A thread that waits until it is joined.
struct WaitingThread {
    explicit WaitingThread(const ThreadAttributes& attributes = Attributes()) {
        EXPECT_EQ(ThreadCreate(attributes, WaitAtGate, &gate, handle, id), ERR_OK);
    }
    ~WaitingThread() {
        gate.Open();
        EXPECT_EQ(ThreadJoin(handle), ERR_OK);
    }

    Gate gate;
    void* handle = nullptr;
    unsigned long id = 0;
};

void ExpectOnly(const LogCapture& log, const char* message) {
    ASSERT_EQ(log.Lines().size(), 1u);
    const ZelkTest::LogLine line = log.Lines()[0];
    EXPECT_EQ(std::to_string(line.level) + ' ' + line.file + ' ' + std::to_string(line.line) + ' ' + line.text,
              message);
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

const auto DEAD_HANDLE = reinterpret_cast<void*>(0x123450);

TEST(ThreadCreate, RefusesBadArgumentsAndClearsItsResults) {
    const unsigned handles = ZelkTest::CountHandles();
    const std::string longName(64, 'n');
    std::array<ThreadAttributes, 4> bad;
    bad.fill(Attributes());
    bad[0].name = longName.c_str();
    bad[1].affinity = 0;
    bad[2].affinity = AllCores() | std::uint64_t{1} << 32;
    bad[3].priority = 16;
    for (const ThreadAttributes& attributes : bad) {
        void* handle = DEAD_HANDLE;
        unsigned long id = 0;
        EXPECT_EQ(ThreadCreate(attributes, WaitAtGate, nullptr, handle, id), ERR_INVALID) << &attributes - bad.data();
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(id, INVALID_THREAD_ID);
    }
    void* handle = DEAD_HANDLE;
    EXPECT_EQ(ThreadCreate(Attributes(), nullptr, nullptr, handle), ERR_INVALID);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(ZelkTest::CountHandles(), handles);
    ZelkTest::LeaveBehind(3); // with the suspended threads whose settings were refused
}

int g_refusal;

std::uintptr_t __cdecl RefuseThread(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) {
    errno = g_refusal;
    return g_refusal == EINVAL ? UINTPTR_MAX : 0;
}

TEST(ThreadCreate, TellsWhyThereIsNoThread) {
    const LogCapture log;
    const ZelkTest::Balance balance = ZelkTest::OutstandingMemory();
    void* handle = DEAD_HANDLE;
    {
        const ImportHook refuse("_beginthreadex", reinterpret_cast<void*>(RefuseThread));
        const struct {
            int number;
            Error error;
        } rows[] = {{EAGAIN, ERR_OUT_OF_RESOURCES},
                    {ENOMEM, ERR_OUT_OF_RESOURCES},
                    {EACCES, ERR_OUT_OF_RESOURCES},
                    {EINVAL, ERR_INVALID},
                    {EIO, ERR_UNHANDLED}};
        for (const auto& row : rows) {
            g_refusal = row.number;
            EXPECT_EQ(ThreadCreate(Attributes(), WaitAtGate, nullptr, handle), row.error) << row.number;
            EXPECT_EQ(handle, nullptr);
        }
    }
    ExpectOnly(log, "2 os/private/nativethread_ms 217 _beginthreadex failed. Unknown error: 5\n");
    ZelkTest::FailAllocations(1);
    EXPECT_EQ(ThreadCreate(Attributes(), WaitAtGate, nullptr, handle), ERR_OUT_OF_RESOURCES);
    ZelkTest::FailAllocations(0);
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, balance.blocks);
}

TEST(ThreadCreate, AppliesTheSettingsAndRunsTheEntryOnItsThread) {
    ThreadAttributes attributes = Attributes();
    attributes.priority = -2;
    attributes.affinity = 1;
    attributes.stackSize = 0x300000;
    void* handle = nullptr;
    {
        const WaitingThread thread(attributes);
        handle = thread.handle;
        EXPECT_EQ(thread.id, GetThreadId(handle));
        EXPECT_EQ(::GetThreadPriority(handle), -2);
        EXPECT_EQ(SetThreadAffinityMask(handle, 1), 1u) << "the answer is the former set";
        unsigned size = 0;
        // Wine knows a thread's own block only once the thread has begun.
        Error result = ERR_DEVICE_NOT_READY;
        for (int i = 0; i < 10'000 && result == ERR_DEVICE_NOT_READY; ++i) {
            Sleep(1);
            result = BSP::ThreadGetStackSize({handle, thread.id}, size);
        }
        EXPECT_EQ(result, ERR_OK);
        EXPECT_GE(size, 0x300000u);
        EXPECT_LT(size, 0x400000u);
    }
    DWORD flags = 0;
    EXPECT_FALSE(GetHandleInformation(handle, &flags)) << "joining closes the handle";

    unsigned long ran = 0;
    const ThreadEntry note = [](void* id) { *static_cast<unsigned long*>(id) = GetCurrentThreadId(); };
    ASSERT_EQ(ThreadCreate(Attributes(), note, &ran, handle), ERR_OK);
    const unsigned long id = GetThreadId(handle);
    EXPECT_EQ(ThreadJoin(handle), ERR_OK);
    EXPECT_EQ(ran, id);
}

TEST(NativeThread, SettingsReachTheSystemAndComeBack) {
    const WaitingThread thread;
    for (const long priority : {-15, -2, -1, 0, 1, 2, 15}) {
        EXPECT_EQ(ThreadChangePriority(thread.handle, priority), ERR_OK) << priority;
        EXPECT_EQ(::GetThreadPriority(thread.handle), priority);
        ThreadPriority read = 99;
        EXPECT_EQ(ThreadGetPriority(thread.handle, read), ERR_OK);
        EXPECT_EQ(read, priority);
        EXPECT_EQ(BSP::ThreadGetPriority({thread.handle, 0}, read), ERR_OK);
        EXPECT_EQ(read, priority);
    }
    for (const long refused : {-16, -14, -3, 3, 14, 16}) {
        EXPECT_EQ(ThreadChangePriority(thread.handle, refused), ERR_INVALID) << refused;
        EXPECT_EQ(::GetThreadPriority(thread.handle), 15);
        const bool isInRange = refused > -16 && refused < 16;
        EXPECT_EQ(ThreadIsValidPriority(refused, THREAD_SCHEDULING_FIXED_PRIORITY), isInRange) << refused;
    }

    const std::uint64_t all = AllCores();
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    ASSERT_TRUE(GetProcessAffinityMask(GetCurrentProcess(), &process, &system));
    EXPECT_EQ(all, process);
    EXPECT_EQ(ThreadChangeAffinity(thread.handle, 1), ERR_OK);
    for (const std::uint64_t refused : {std::uint64_t{0}, all | std::uint64_t{1} << 63, ~all, all << 32}) {
        EXPECT_EQ(ThreadChangeAffinity(thread.handle, refused), ERR_INVALID) << std::hex << refused;
    }
    EXPECT_EQ(SetThreadAffinityMask(thread.handle, process), 1u) << "the answer is the former set";
    EXPECT_EQ(ThreadChangeAffinity(thread.handle, all), ERR_OK);
}

BOOL g_boostDisabled;

BOOL Knows(HANDLE thread) {
    SetLastError(ERROR_INVALID_HANDLE);
    return thread != DEAD_HANDLE;
}

BOOL WINAPI SetBoost(HANDLE thread, BOOL disable) {
    g_boostDisabled = disable;
    return Knows(thread);
}

BOOL WINAPI GetBoost(HANDLE thread, BOOL* disabled) {
    *disabled = g_boostDisabled;
    return Knows(thread);
}

TEST(NativeThread, BoostReachesTheSystemAndComesBack) {
    // Wine does not keep it.
    const ImportHook set("SetThreadPriorityBoost", reinterpret_cast<void*>(SetBoost));
    const ImportHook get("GetThreadPriorityBoost", reinterpret_cast<void*>(GetBoost));
    ThreadSchedulingPolicy policy = THREAD_SCHEDULING_DYNAMIC_BOOST;
    for (const unsigned value : {1u, 0u, 7u}) {
        EXPECT_EQ(ThreadChangeSchedulingPolicy(nullptr, static_cast<ThreadSchedulingPolicy>(value)), ERR_OK);
        EXPECT_EQ(g_boostDisabled != FALSE, value != 0);
        EXPECT_EQ(ThreadGetSchedulingPolicy(nullptr, policy), ERR_OK);
        EXPECT_EQ(policy, value != 0 ? 1 : 0);
        bool enabled = value != 0;
        EXPECT_EQ(BSP::ThreadGetPriorityBoostState({}, enabled), ERR_OK);
        EXPECT_EQ(enabled, value == 0);
    }
    EXPECT_EQ(ThreadChangeSchedulingPolicy(DEAD_HANDLE, policy), ERR_NOT_FOUND);
    EXPECT_EQ(ThreadGetSchedulingPolicy(DEAD_HANDLE, policy), ERR_NOT_FOUND);
    EXPECT_EQ(policy, THREAD_SCHEDULING_DYNAMIC_BOOST);
    bool enabled = true;
    EXPECT_EQ(BSP::ThreadGetPriorityBoostState({DEAD_HANDLE, 0}, enabled), ERR_DEVICE_NOT_READY);
    EXPECT_TRUE(enabled);
}

TEST(NativeThread, HandlesWithoutAThreadAreNotFound) {
    const LogCapture log;
    for (void* const handle : {static_cast<void*>(nullptr), DEAD_HANDLE}) {
        unsigned long id = 0;
        ThreadPriority priority = 99;
        EXPECT_EQ(ThreadGetId(handle, id), ERR_NOT_FOUND);
        EXPECT_EQ(id, INVALID_THREAD_ID);
        EXPECT_EQ(ThreadJoin(handle), ERR_NOT_FOUND);
        EXPECT_EQ(ThreadGetPriority(handle, priority), ERR_NOT_FOUND);
        EXPECT_EQ(priority, 99);
        EXPECT_EQ(ThreadChangePriority(handle, 0), ERR_NOT_FOUND);
        EXPECT_EQ(ThreadChangeAffinity(handle, AllCores()), ERR_NOT_FOUND);
        EXPECT_EQ(ThreadChangeName(handle, "name"), ERR_NOT_FOUND);
    }
    // Null is looked for first, bad values before dead handles.
    EXPECT_EQ(ThreadChangePriority(nullptr, 16), ERR_NOT_FOUND);
    EXPECT_EQ(ThreadChangePriority(DEAD_HANDLE, 16), ERR_INVALID);
    EXPECT_EQ(ThreadChangeAffinity(nullptr, ~std::uint64_t{0}), ERR_NOT_FOUND);
    EXPECT_EQ(ThreadChangeAffinity(DEAD_HANDLE, ~std::uint64_t{0}), ERR_INVALID);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(NativeThread, UnknownFailuresLeaveTheirNumberInTheLog) {
    WaitingThread thread;
    // A handle good for waiting only: every question about the thread is denied.
    HANDLE poor = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), thread.handle, GetCurrentProcess(), &poor, SYNCHRONIZE, FALSE, 0));
    const LogCapture log;
    EXPECT_EQ(ThreadJoin(poor), ERR_UNHANDLED);
    ExpectOnly(log, "2 os/private/nativethread_ms 41 Unknown error. GetLastError returns 5\n");
    EXPECT_TRUE(CloseHandle(poor)) << "a join that fails leaves the handle open";
}

TEST(ThreadJoin, AThreadCannotJoinItself) {
    EXPECT_EQ(ThreadJoin(GetCurrentThread()), ERR_UNREACHABLE);
    BSP::ThreadInfo self{GetCurrentThread(), GetCurrentThreadId()};
    EXPECT_EQ(BSP::ThreadJoin(self, INFINITE), ERR_UNREACHABLE);
}

TEST(ThreadNames, ReachADebuggerAndNobodyElse) {
    NameRecorder recorder;
    ThreadAttributes attributes = Attributes();
    const std::string longest(63, 'n');
    attributes.name = longest.c_str();
    const WaitingThread named(attributes);
    ExpectAnnouncement(recorder, longest.c_str(), named.id);
    const WaitingThread unnamed;
    ExpectAnnouncement(recorder, "(null)", unnamed.id);

    EXPECT_EQ(ThreadChangeName(named.handle, "renamed"), ERR_OK);
    ExpectAnnouncement(recorder, "renamed", named.id);
    EXPECT_EQ(ThreadChangeName(GetCurrentThread(), nullptr), ERR_OK);
    ExpectAnnouncement(recorder, "(null)", GetCurrentThreadId());

    EXPECT_EQ(ThreadChangeName(named.handle, std::string(64, 'n').c_str()), ERR_INVALID);
    EXPECT_EQ(ThreadChangeName(DEAD_HANDLE, "name"), ERR_NOT_FOUND);
    EXPECT_TRUE(recorder.Take().empty());
}

TEST(ThreadNames, OtherExceptionsPassTheAnnouncementByUnseen) {
    g_foreignException = 0;
    void* const handler = AddVectoredExceptionHandler(1, RaiseAnother);
    const auto previous = SetUnhandledExceptionFilter(KeepCode);
    EXPECT_EQ(ThreadChangeName(GetCurrentThread(), "name"), ERR_OK);
    SetUnhandledExceptionFilter(previous);
    RemoveVectoredExceptionHandler(handler);
    EXPECT_EQ(g_foreignException, 0xE1234567u);
}

TEST(ThreadGetCurrentStackAttributes, SpansTheLocals) {
    unsigned base = 0;
    unsigned size = 0;
    EXPECT_EQ(ThreadGetCurrentStackAttributes(base, size), ERR_OK);
    const auto here = reinterpret_cast<std::uintptr_t>(&base);
    EXPECT_LT(here, base);
    EXPECT_GE(here, base - size);
    MEMORY_BASIC_INFORMATION region{};
    ASSERT_NE(VirtualQuery(&base, &region, sizeof(region)), 0u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize, base);
}

TEST(BSP, JoinsWithATimeLimit) {
    Gate gate;
    BSP::ThreadInfo thread;
    ASSERT_EQ(ThreadCreate(Attributes(), WaitAtGate, &gate, thread.handle, thread.threadId), ERR_OK);
    void* const handle = thread.handle;
    const ZelkTest::WaitClock clock;
    EXPECT_EQ(BSP::ThreadJoin(thread, 40), ERR_TIMEOUT);
    EXPECT_TRUE(clock.HasPassed(40));
    EXPECT_EQ(thread.handle, handle);
    gate.Open();
    EXPECT_EQ(BSP::ThreadJoin(thread, INFINITE), ERR_OK);
    EXPECT_EQ(thread.handle, nullptr);
    EXPECT_EQ(thread.threadId, INVALID_THREAD_ID);
    EXPECT_EQ(BSP::ThreadJoin(thread, INFINITE), ERR_INVALID);
}

TEST(BSP, QueriesAnswerForLiveThreadsOnly) {
    const WaitingThread thread;
    const BSP::ThreadInfo info{thread.handle, 0};
    unsigned long id = 0;
    ThreadPriority priority = 99;
    EXPECT_EQ(BSP::ThreadGetId(info, id), ERR_OK);
    EXPECT_EQ(id, thread.id);

    const BSP::ThreadInfo none;
    unsigned size = 99;
    EXPECT_EQ(BSP::ThreadGetId(none, id), ERR_DEVICE_NOT_READY);
    EXPECT_EQ(id, thread.id);
    EXPECT_EQ(BSP::ThreadGetPriority(none, priority), ERR_DEVICE_NOT_READY);
    EXPECT_EQ(BSP::ThreadGetStackSize(none, size), ERR_DEVICE_NOT_READY);
    EXPECT_EQ(size, 99u);

    void* ended = nullptr;
    ASSERT_EQ(ThreadCreate(
                  Attributes(), [](void*) {}, nullptr, ended),
              ERR_OK);
    WaitForSingleObject(ended, INFINITE);
    EXPECT_EQ(BSP::ThreadGetStackSize({ended, 0}, size), ERR_DEVICE_NOT_READY);
    EXPECT_EQ(ThreadJoin(ended), ERR_OK);
}

} // namespace
