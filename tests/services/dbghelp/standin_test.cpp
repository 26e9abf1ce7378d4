// The gateway and the list of modules over functions that do as they are told. Hunted are: arguments and results that
// are lost on the way, a wrong order of start-up or shut-down, retries too many or too few, calls that overlap, crashes
// and waits without end where the library is missing, a library from elsewhere, and modules that are lost or kept.
#include "standin.h"

#include <tests/os/crowd.h>
#include <tests/support/testhost.h>
#include <tests/support/winsystem.h>

#include <gmock/gmock.h>
#include <zelk_core/os/lifecycle.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace {

using namespace Z4;
using namespace ZelkTest;
using testing::ElementsAre;

constexpr DWORD LENGTH_MISMATCH = 0xC0000004;

class StandInTest : public testing::Test {
protected:
    StandInTest() { InitializeOS(); }
    ~StandInTest() override {
        WinDbgHelp::SingletonShutdown();
        WinDbgHelp::SetLoadSymbols(true);
        ShutdownOS();
    }

    /// Makes the object and waits for its loader thread.
    static WinDbgHelp& Start() {
        WinDbgHelp& debugHelp = WinDbgHelp::Instance();
        debugHelp.IsLoaded();
        return debugHelp;
    }

    StandIn m_library;
};

TEST_F(StandInTest, StartsTheHandlerOnItsOwnThread) {
    for (const DWORD before : {0ul, ~0ul}) {
        m_library.calls.clear();
        m_library.answers["SymGetOptions"] = [=](const auto&) { return before; };
        WinDbgHelp::SetLoadSymbols(before != 0);
        EXPECT_TRUE(Start().IsLoaded());
        const unsigned long long path = ToNumber(WinDbgHelp::Instance().GetSymbolPath());
        const auto& calls = m_library.calls;
        ASSERT_EQ(m_library.Names(), "GetOptions SetOptions Initialize ");
        EXPECT_THAT(calls[1].arguments, ElementsAre((before & ~6ul) | 16ul));
        EXPECT_THAT(calls[2].arguments, ElementsAre(ToNumber(GetCurrentProcess()), path, before != 0 ? 1u : 0u));
        EXPECT_NE(calls[2].thread, GetCurrentThreadId());
        WinDbgHelp::SingletonShutdown();
    }
}

TEST_F(StandInTest, PathOfSymbols) {
    char here[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, here);
    const std::string fills(4095 - std::strlen(here) - 1, 'p');
    const std::pair<std::string, std::string> rows[] = {
        {fills, ";" + fills},
        {fills + "p", ";y:\\two;z:"},
        {"x:\\one", ";x:\\one;y:\\two;z:"},
        {"", ";y:\\two;z:"},
    };
    SetEnvironmentVariableA("_NT_ALTERNATE_SYMBOL_PATH", "y:\\two;z:");
    for (const auto& [path, expected] : rows) {
        SetEnvironmentVariableA("_NT_SYMBOL_PATH", path.c_str());
        EXPECT_EQ(WinDbgHelp::Instance().GetSymbolPath(), here + expected);
        WinDbgHelp::SingletonShutdown();
    }
    SetEnvironmentVariableA("_NT_ALTERNATE_SYMBOL_PATH", nullptr);
}

TEST_F(StandInTest, FailuresOfTheSymbolHandler) {
    const std::string retry = "1 419 [Z4::W32DebugSymbolDataBase] EAL_LOG_INFO: SymInitialize failed with error "
                              "STATUS_INFO_LENGTH_MISMATCH(0xC0000004). Retrying...\n";
    const std::string enumerating = "1 614 [Z4::WinDbgHelp] EAL_LOG_INFO: EnumerateLoadedModules64 failed with error "
                                    "STATUS_INFO_LENGTH_MISMATCH(0xC0000004). Retrying...\n";
    const std::string noTable = "4 412 [Z4::WinDbgHelp] EAL_LOG_ERROR: Could not load the symbols table. "
                                "SymRefreshModuleList returns:0xc0000004.\n";
    const auto logged = [](const LogCapture& log) {
        std::string lines;
        for (const LogLine& line : log.Lines()) {
            EXPECT_EQ(line.file, "services/dbghelp/private/windbghelp_ms_pc");
            lines += std::to_string(line.level) + " " + std::to_string(line.line) + " " + line.text;
        }
        return lines;
    };
    const struct {
        int failures;
        DWORD error;
        int refreshFailures;
        std::string calls; ///< behind those that set options
        std::string logged;
    } rows[] = {
        {3, LENGTH_MISMATCH, 0, "Initialize Initialize Initialize Initialize Cleanup ", retry + retry + retry},
        {9, LENGTH_MISMATCH, 0, "Initialize Initialize Initialize Initialize ", retry + retry + retry + retry},
        {9, ERROR_INVALID_PARAMETER, 0, "Initialize RefreshModuleList ", ""},
        {9, ERROR_INVALID_PARAMETER, 9, "Initialize RefreshModuleList ", noTable},
        {9, ERROR_ACCESS_DENIED, 0, "Initialize ", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.failures << " times " << row.error);
        const LogCapture log;
        m_library.calls.clear();
        m_library.answers["SymInitialize"] = StandIn::Fails(row.failures, row.error);
        // With the one error that is worth another attempt elsewhere.
        m_library.answers["SymRefreshModuleList"] = StandIn::Fails(row.refreshFailures, LENGTH_MISMATCH);
        Start();
        EXPECT_EQ(m_library.lookedUp.back(), "LdrRegisterDllNotification");
        WinDbgHelp::SingletonShutdown();
        EXPECT_EQ(m_library.Names(), "GetOptions SetOptions " + row.calls);
        EXPECT_EQ(logged(log), row.logged);
    }
    const LogCapture log;
    m_library.answers["EnumerateLoadedModules64"] = StandIn::Fails(3, LENGTH_MISMATCH);
    EXPECT_TRUE(WinDbgHelp::Instance().EnumerateLoadedModules64(GetCurrentProcess(), nullptr, nullptr));
    EXPECT_EQ(logged(log), enumerating + enumerating + enumerating);
}

/// Calls `forward` with the numbers 1, 2, ... as its arguments, in both halves of those of 64 bits, and with true.
template <class Result, class... Arguments>
void ExpectForwarded(StandIn& library, const char* name, Result (WinDbgHelp::*forward)(Arguments...)) {
    [[maybe_unused]] auto next = [number = 0ull]() mutable { return number += 0x100000001; };
    const std::tuple arguments{FromNumber<Arguments>(next())...};
    for (const unsigned long long answer : {0ull, StandIn::USUAL_ANSWER}) {
        library.answers[name] = [=](const auto&) { return answer; };
        library.calls.clear();
        const auto forwardAll = [&](auto... each) {
            EXPECT_EQ((WinDbgHelp::Instance().*forward)(each...), FromNumber<Result>(answer)) << name;
            ASSERT_EQ(library.calls.size(), 1u) << name;
            EXPECT_EQ(library.calls[0].name, name);
            EXPECT_EQ(library.calls[0].arguments, (std::vector<unsigned long long>{ToNumber(each)...})) << name;
        };
        std::apply(forwardAll, arguments);
    }
}

TEST_F(StandInTest, ForwardsEveryArgumentToWhatItLookedUpInOrder) {
    Start();
#define NAME(function) #function,
    EXPECT_THAT(m_library.lookedUp, ElementsAre(ZELK_FOR_EACH_STAND_IN(NAME) "LdrRegisterDllNotification"));
#define EXPECT_FORWARDED(name) ExpectForwarded(m_library, #name, &WinDbgHelp::name);
    ZELK_FOR_EACH_STAND_IN(EXPECT_FORWARDED)
    m_library.calls.clear();
    const auto direct = reinterpret_cast<WinDbgHelp::FunctionTableAccessCallback>(
        WinDbgHelp::Instance().GetAddressOfSymFunctionTableAccess64());
    direct(nullptr, 5);
    EXPECT_EQ(m_library.Names(), "FunctionTableAccess64 ");
}

TEST_F(StandInTest, NoTwoCallsAtOnce) {
    WinDbgHelp& debugHelp = Start();
    Gate gate;
    m_library.answers["SymUnloadModule64"] = [&](const auto&) {
        gate.Wait();
        return TRUE;
    };
    Actor actors[2];
    actors[0].Waits([&] { debugHelp.SymUnloadModule64(nullptr, 0); });
    actors[1].Waits([&] { debugHelp.SymGetOptions(); });
    gate.Open();
    for (Actor& actor : actors) {
        actor.Proceeds();
    }
}

DWORD g_suspensions;

DWORD WINAPI CountSuspensions(HANDLE) {
    return g_suspensions--;
}

TEST_F(StandInTest, StartUpDoesNotWaitButTheFirstCallDoes) {
    const ImportHook resume("ResumeThread", CountSuspensions);
    for (const DWORD suspensions : {2ul, 0xFFFFFFFFul}) { // the latter is the system's failure
        g_suspensions = suspensions;
        Gate reached;
        Gate gate;
        // Where the loader holds no lock that would stop the caller.
        m_library.atLookUp = [&] {
            reached.Open();
            gate.Wait();
        };
        Actor caller;
        InitializeDbgHelpService(false);
        reached.Wait();
        EXPECT_FALSE(WinDbgHelp::Instance().IsReady());
        caller.Waits([] { EXPECT_EQ(WinDbgHelp::Instance().SymSetOptions(5), 2u); });
        gate.Open();
        caller.Proceeds();
        EXPECT_EQ(g_suspensions, suspensions == 2 ? 0xFFFFFFFF : suspensions - 1) << "resumed until it runs";
        ShutdownDbgHelpService();
    }
}

TEST_F(StandInTest, LivesWithoutNotifications) {
    for (const char* const missing : {"LdrRegisterDllNotification", "LdrUnregisterDllNotification"}) {
        m_library.isMissing = [=](const std::string& name) { return name == missing; };
        EXPECT_TRUE(Start().IsLoaded());
        const bool isRegistered = m_library.notify != nullptr;
        WinDbgHelp::SingletonShutdown();
        EXPECT_EQ(m_library.notify != nullptr, isRegistered) << "nothing that could take it back";
    }
}

std::string g_loaded;

HMODULE WINAPI LoadNothing(LPCSTR name) {
    g_loaded = name;
    return nullptr;
}

TEST_F(StandInTest, EveryCallFailsWithoutFunctionsAndWithoutTheLibrary) {
    const auto expectFailures = [] {
        WinDbgHelp& debugHelp = WinDbgHelp::Instance();
        EXPECT_FALSE(debugHelp.IsLoaded());
        SetLastError(0);
        EXPECT_EQ(debugHelp.SymGetOptions(), 0u);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
        EXPECT_EQ(debugHelp.UnDecorateSymbolName("", nullptr, 0, 0), 0u);
        EXPECT_FALSE(debugHelp.EnumerateLoadedModules64(GetCurrentProcess(), nullptr, nullptr));
        EXPECT_EQ(debugHelp.GetAddressOfSymFunctionTableAccess64(), nullptr);
        WinDbgHelp::SingletonShutdown();
    };
    const LogCapture log;
    m_library.isMissing = [](const std::string&) { return true; };
    expectFailures();
    const ImportHook load("LoadLibraryA", LoadNothing);
    expectFailures();
    EXPECT_EQ(g_loaded, "dbghelp.dll");
    WinDbgHelp::SetSystemLibraryOnly(true);
    expectFailures();
    char folder[MAX_PATH];
    GetSystemDirectoryA(folder, MAX_PATH);
    EXPECT_EQ(g_loaded, std::string(folder) + "\\dbghelp.dll");
    g_loaded = "none";
    const ImportHook hook(ZELK_FAILING(GetSystemDirectoryA));
    for (const long length : {0, MAX_PATH}) {
        Failure::s_result = length;
        expectFailures();
    }
    EXPECT_EQ(g_loaded, "none");
    WinDbgHelp::SetSystemLibraryOnly(false);
    EXPECT_EQ(log.Lines().size(), 2u) << "the module wrapper's";
}

TEST_F(StandInTest, LoadsOnTheCallersThreadWhereNoOtherCanBeStarted) {
    static unsigned stackSize;
    const ImportHook hook(
        "_beginthreadex",
        +[](void*, unsigned size, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) -> std::uintptr_t {
            stackSize = size;
            return 0;
        });
    EXPECT_TRUE(WinDbgHelp::Instance().IsReady());
    EXPECT_EQ(stackSize, 4u << 20);
    ASSERT_EQ(m_library.Names(), "GetOptions SetOptions Initialize ");
    EXPECT_EQ(m_library.calls.back().thread, GetCurrentThreadId());
}

TEST_F(StandInTest, AHostThatAsksForSymbolsWhileTheLoaderLogsIsAnswered) {
    m_library.answers["SymInitialize"] = StandIn::Fails(1, LENGTH_MISMATCH);
    eal_log_dll_interface log = LogTable();
    log.vprint = [](int, unsigned, const char*, unsigned long, const char*, va_list) {
        WinDbgHelp::Instance().SymGetOptions();
    };
    SetEalInterface(log);
    Actor().Does([] { WinDbgHelp::Instance().IsLoaded(); }); // else the loader waits for itself
    ReinstallHost();
    EXPECT_EQ(m_library.Names(), "GetOptions SetOptions Initialize GetOptions Initialize ");
}

void WINAPI WaitAtThreadExit(void* gate) {
    static_cast<Gate*>(gate)->Wait();
}

TEST_F(StandInTest, ShutDownWaitsForTheEndOfTheThread) {
    Gate gate;
    const DWORD slot = FlsAlloc(WaitAtThreadExit);
    m_library.answers["SymInitialize"] = [&](const auto&) { return FlsSetValue(slot, &gate); };
    Actor owner; // made before the loader ends: that happens under the lock that starting a thread takes
    while (!WinDbgHelp::Instance().IsReady()) {
        Sleep(1);
    }
    owner.Waits([] { WinDbgHelp::SingletonShutdown(); });
    gate.Open();
    owner.Proceeds();
    FlsFree(slot);
}

void Leave(const WinDbgHelp::DllNotificationData&, void*) {
    EXPECT_EQ(WinDbgHelp::Instance().UnregisterDllNotificationCallback(Leave, nullptr), ERR_OK);
}

TEST_F(StandInTest, NotificationsAreCutToTheirRoomAndEndWithTheObject) {
    static std::vector<std::size_t> lengths;
    const auto observe = [](const WinDbgHelp::DllNotificationData& data, void*) {
        lengths = {std::wcslen(data.baseName), std::wcslen(data.fullName)};
    };
    Start();
    std::wstring characters(1024, L'n');
    const UNICODE_STRING base{2 * 260, 2 * 260, characters.data()};
    const UNICODE_STRING full{2 * 1024, 2 * 1024, characters.data()};
    const StandIn::Notification data{0, &full, &base, nullptr, 0};
    m_library.notify(1, &data, m_library.context); // nobody is told
    EXPECT_EQ(WinDbgHelp::Instance().RegisterDllNotificationCallback(Leave, nullptr), ERR_OK);
    EXPECT_EQ(WinDbgHelp::Instance().RegisterDllNotificationCallback(observe, nullptr), ERR_OK);
    m_library.notify(1, &data, m_library.context); // skips nobody though one leaves
    EXPECT_THAT(lengths, ElementsAre(259, 1023));
    WinDbgHelp::SingletonShutdown();
    EXPECT_EQ(m_library.notify, nullptr);
}

/// The list of modules, which stands in for the loader's: 16 bytes at each base.
class ModulesTest : public StandInTest {
protected:
    ModulesTest() {
        s_test = this;
        Start();
        EXPECT_EQ(ProgramModuleDB::Instance().Subscribe(), ERR_OK);
    }
    ~ModulesTest() override { ProgramModuleDB::SingletonShutdown(); }

    /// As the loader has its entries.
    struct Entry {
        void* links[6];
        void* base;
        void* entryPoint;
        ULONG size;
        UNICODE_STRING fullName;
        UNICODE_STRING baseName;
    };

    static LONG NTAPI Enumerate(ULONG, void(NTAPI* callback)(const Entry*, void*, BOOLEAN*), void* context) {
        wchar_t name[] = L"module";
        const UNICODE_STRING text{12, 14, name};
        for (const unsigned base : s_test->m_bases) {
            const Entry entry{{}, FromNumber<void*>(base), nullptr, 16, text, text};
            callback(&entry, context, nullptr);
        }
        return s_test->m_status;
    }
    static void Tell(unsigned base, bool unloaded) {
        ProgramModuleDB::UpdateModulesList({1, FromNumber<void*>(base), 16, L"module", L"module", unloaded},
                                           &ProgramModuleDB::Instance());
    }
    /// The bases that are known, by their first digits.
    static std::string Known() {
        std::string bases;
        ProgramModuleDB::Module module;
        for (unsigned long i = 0; ProgramModuleDB::Instance().GetModule(i, module); ++i) {
            bases += std::to_string(ToNumber(module.baseAddress) / 16);
        }
        return bases;
    }

    static inline ModulesTest* s_test;
    std::vector<unsigned> m_bases{0x10, 0x20, 0x30};
    LONG m_status = 0;
    const ImportHook m_hook{"LdrEnumerateLoadedModules", Enumerate};
};

TEST_F(ModulesTest, AreReadOnceAndThenToldOf) {
    m_bases = {0x20, 0x30};
    EXPECT_EQ(Known(), "123") << "read at the subscription";
    Tell(0x20, true);
    Tell(0x50, false);
    Tell(0x50, true);
    Tell(0x40, false);
    Tell(0x40, false);
    EXPECT_EQ(Known(), "134");
    EXPECT_EQ(ProgramModuleDB::Instance().Subscribe(), ERR_ALREADY_EXISTS);
    EXPECT_EQ(Known(), "134");
    ProgramModuleDB::SingletonShutdown();
    m_status = static_cast<LONG>(0xC0000022);
    EXPECT_EQ(Known(), "23") << "what was known goes with the object";
    m_bases = {0x40};
    EXPECT_EQ(Known(), "234") << "a reading that failed is repeated, and takes nothing away";
    m_status = 0;
    EXPECT_EQ(Known(), "4");
    m_bases = {0x30, 0x40};
    EXPECT_EQ(Known(), "4") << "nobody observes";
    EXPECT_EQ(ProgramModuleDB::Instance().Subscribe(), ERR_OK);
    EXPECT_EQ(Known(), "34");
}

TEST_F(ModulesTest, AreReadAgainUntilNotificationsBegin) {
    ProgramModuleDB::SingletonShutdown();
    WinDbgHelp::SingletonShutdown();
    Gate gate;
    m_library.atLookUp = [&] { gate.Wait(); };
    EXPECT_EQ(ProgramModuleDB::Instance().Subscribe(), ERR_OK);
    m_bases = {0x10, 0x50};
    EXPECT_EQ(Known(), "15") << "nobody has told of what came and went";
    gate.Open();
    Start();
    m_bases = {0x20};
    EXPECT_EQ(Known(), "2");
    m_bases = {0x30};
    EXPECT_EQ(Known(), "2");
}

TEST_F(ModulesTest, EdgesOfAModuleAndOfTheList) {
    ProgramModuleDB& modules = ProgramModuleDB::Instance();
    ProgramModuleDB::Module module;
    EXPECT_TRUE(modules.FindModule(FromNumber<void*>(0x3F), module));
    EXPECT_EQ(module.baseAddress, FromNumber<void*>(0x30));
    EXPECT_FALSE(modules.FindModule(FromNumber<void*>(0x40), module));
    EXPECT_FALSE(modules.FindModule(FromNumber<void*>(0x0F), module));
    Tell(0x20, true);
    char text[100];
    EXPECT_EQ(modules.ToText(text, sizeof text), 68u);
    EXPECT_STREQ(text, "00000010-00000020 00000000 module\n00000030-00000040 00000000 module\n");
    for (unsigned i = 0; i < ProgramModuleDB::MAX_MODULES; ++i) {
        Tell(0x100000 - i * 0x10, false);
    }
    EXPECT_EQ(modules.GetCount(), ProgramModuleDB::MAX_MODULES);
    EXPECT_EQ(modules.GetLost(), 2u);
    EXPECT_FALSE(modules.FindModule(FromNumber<void*>(0x100000 - 511 * 0x10), module));
    EXPECT_TRUE(modules.FindModule(FromNumber<void*>(0x100000 - 509 * 0x10), module));
    const std::wstring longName(300, L'n');
    ProgramModuleDB::UpdateModulesList({1, FromNumber<void*>(0x100000), 1, L"short", longName.c_str(), false},
                                       &modules);
    EXPECT_TRUE(modules.FindModule(FromNumber<void*>(0x100000), module));
    EXPECT_STREQ(module.name, "short") << "where the full name has no room";
}

TEST_F(ModulesTest, ObserversHavePlacesAndNames) {
    ProgramModuleDB::SingletonShutdown();
    // What threads may meet among observers is explored in proof/.
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    const WinDbgHelp::DllNotificationCallback observe = [](const auto&, void*) {};
    for (unsigned context = 0; context < WinDbgHelp::MAX_OBSERVERS; ++context) {
        EXPECT_EQ(debugHelp.UnregisterDllNotificationCallback(observe, FromNumber<void*>(context)), ERR_NOT_FOUND);
        EXPECT_EQ(debugHelp.RegisterDllNotificationCallback(observe, FromNumber<void*>(context)), ERR_OK);
        EXPECT_EQ(debugHelp.RegisterDllNotificationCallback(observe, FromNumber<void*>(context)), ERR_ALREADY_EXISTS);
    }
    EXPECT_EQ(ProgramModuleDB::Instance().Subscribe(), ERR_OUT_OF_RESOURCES);
}

} // namespace
