// The debug services over the system's own debug-help library. Hunted are: loads and unloads that nobody is told of,
// observers that are called when they are gone, names and versions that are wrong, and a service that does not start
// again.
#include <tests/os/crowd.h>
#include <tests/support/contract.h>
#include <tests/support/importhook.h>
#include <tests/support/testhost.h>

#include <gmock/gmock.h>
#include <host/zelkhost.h>
#include <string>
#include <thread>
#include <vector>
#include <zelk_core/base/version.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>
#include <zelk_core/services/dbghelp/stacksizemonitordb.h>
#include <zelk_core/services/dbghelp/symbolhandler.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

/// In a library of its own, landmark.cpp.
extern "C" __declspec(dllimport) int ZelkTestLandmark(int value);

namespace {

using namespace Z4;

// A library that nothing here loads by itself.
constexpr char STRANGER[] = "avifil32.dll";

class DbgHelpTest : public testing::Test {
protected:
    // Without symbols, which take seconds to read.
    DbgHelpTest() { InitializeDbgHelpService(false); }
    ~DbgHelpTest() override { ShutdownDbgHelpService(); }
};

struct Event {
    std::string observer;
    std::wstring baseName;
    std::wstring fullName;
    void* base;
    unsigned long size;
    bool unloaded;
};

/// Notes what it is told of the stranger.
struct Observer {
    const char* name;
    std::vector<Event>* events;
    void (*action)(Observer& self) = nullptr;
    Observer* other = nullptr;

    static void Z4_CDECL Call(const WinDbgHelp::DllNotificationData& data, void* context) {
        Observer& self = *static_cast<Observer*>(context);
        if (_wcsicmp(data.baseName, L"avifil32.dll") != 0) {
            return;
        }
        EXPECT_NE(data.timeStamp, 0);
        self.events->push_back({self.name, data.baseName, data.fullName, data.baseAddress, data.size, data.unloaded});
        if (self.action != nullptr) {
            self.action(self);
        }
    }
};

TEST_F(DbgHelpTest, TellsOfLoadsAndUnloads) {
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    ASSERT_TRUE(debugHelp.IsLoaded());
    std::vector<Event> events;
    Observer observer{"first", &events};
    ASSERT_EQ(debugHelp.RegisterDllNotificationCallback(Observer::Call, &observer), ERR_OK);
    const HMODULE module = LoadLibraryA(STRANGER);
    ASSERT_NE(module, nullptr);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].base, static_cast<void*>(module));
    EXPECT_GE(events[0].size, 4096u);
    EXPECT_NE(events[0].fullName.find(L"\\"), std::wstring::npos);
    EXPECT_FALSE(events[0].unloaded);

    ProgramModuleDB::Module found;
    EXPECT_TRUE(ProgramModuleDB::Instance().FindModule(module, found));
    EXPECT_EQ(found.baseAddress, static_cast<void*>(module));
    EXPECT_EQ(found.size, events[0].size);
    FreeLibrary(module);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_TRUE(events[1].unloaded);
    EXPECT_EQ(events[1].base, static_cast<void*>(module));
    EXPECT_FALSE(ProgramModuleDB::Instance().FindModule(module, found));

    EXPECT_EQ(debugHelp.UnregisterDllNotificationCallback(Observer::Call, &observer), ERR_OK);
    FreeLibrary(LoadLibraryA(STRANGER));
    EXPECT_EQ(events.size(), 2u);
}

TEST_F(DbgHelpTest, ObserversComeAndGoDuringANotification) {
    static WinDbgHelp* debugHelp;
    debugHelp = &WinDbgHelp::Instance();
    debugHelp->IsLoaded();
    std::vector<Event> events;
    Observer fourth{"4", &events};
    Observer third{"3", &events};
    Observer second{"2", &events};
    Observer first{"1", &events};
    // The first removes itself and the third, and adds the fourth.
    first.other = &third;
    third.other = &fourth;
    first.action = [](Observer& self) {
        debugHelp->UnregisterDllNotificationCallback(Observer::Call, &self);
        debugHelp->UnregisterDllNotificationCallback(Observer::Call, self.other);
        EXPECT_EQ(debugHelp->RegisterDllNotificationCallback(Observer::Call, self.other->other), ERR_OK);
    };
    for (Observer* observer : {&first, &second, &third}) {
        ASSERT_EQ(debugHelp->RegisterDllNotificationCallback(Observer::Call, observer), ERR_OK);
    }
    FreeLibrary(LoadLibraryA(STRANGER));
    std::string order;
    for (const Event& event : events) {
        order += event.observer;
    }
    EXPECT_EQ(order, "12424");
    EXPECT_EQ(debugHelp->UnregisterDllNotificationCallback(Observer::Call, &first), ERR_NOT_FOUND);
    EXPECT_EQ(debugHelp->UnregisterDllNotificationCallback(Observer::Call, &second), ERR_OK);
    EXPECT_EQ(debugHelp->UnregisterDllNotificationCallback(Observer::Call, &fourth), ERR_OK);
}

TEST_F(DbgHelpTest, WhoRemovesAnObserverWaitsUntilItIsLeft) {
    static std::atomic<bool> entered;
    static std::atomic<bool> left;
    entered = left = false;
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    debugHelp.IsLoaded();
    std::vector<Event> events;
    Observer observer{"slow", &events};
    observer.action = [](Observer&) {
        entered = true;
        Sleep(50);
        left = true;
    };
    ASSERT_EQ(debugHelp.RegisterDllNotificationCallback(Observer::Call, &observer), ERR_OK);
    ZelkTest::RunPair(
        [&] {
            while (!entered) {
                SwitchToThread();
            }
            EXPECT_EQ(debugHelp.UnregisterDllNotificationCallback(Observer::Call, &observer), ERR_OK);
            EXPECT_TRUE(left);
        },
        [] { FreeLibrary(LoadLibraryA(STRANGER)); });
    EXPECT_EQ(events.size(), 1u);
}

TEST_F(DbgHelpTest, ObserversMustNotCallTheDebugHelpLibrary) {
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    debugHelp.IsLoaded();
    std::vector<Event> events;
    Observer observer{"asks", &events};
    observer.action = [](Observer&) { WinDbgHelp::Instance().SymGetOptions(); };
    ASSERT_EQ(debugHelp.RegisterDllNotificationCallback(Observer::Call, &observer), ERR_OK);
    const ZelkTest::ExpectContract asks(ZelkTest::LIBRARY_CHECKS ? 2 : 0);
    FreeLibrary(LoadLibraryA(STRANGER));
    debugHelp.UnregisterDllNotificationCallback(Observer::Call, &observer);
}

TEST_F(DbgHelpTest, ObserversAreLimited) {
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    std::vector<Event> events;
    std::vector<Observer> observers(WinDbgHelp::MAX_OBSERVERS, Observer{"", &events});
    // One place is the module list's.
    for (unsigned long i = 0; i + 1 < WinDbgHelp::MAX_OBSERVERS; ++i) {
        ASSERT_EQ(debugHelp.RegisterDllNotificationCallback(Observer::Call, &observers[i]), ERR_OK);
    }
    EXPECT_EQ(debugHelp.RegisterDllNotificationCallback(Observer::Call, &observers[0]), ERR_ALREADY_EXISTS);
    EXPECT_EQ(debugHelp.RegisterDllNotificationCallback(Observer::Call, &observers.back()), ERR_OUT_OF_RESOURCES);
    EXPECT_EQ(debugHelp.RegisterDllNotificationCallback(nullptr, nullptr), ERR_INVALID);
}

TEST_F(DbgHelpTest, NamesFunctionFileAndLine) {
    const char* const address = reinterpret_cast<const char*>(&ZelkTestLandmark);
    ProgramModuleDB::Module module;
    ASSERT_TRUE(ProgramModuleDB::Instance().FindModule(address, module));
    SymbolInfo info;
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(address + 1, info));
    EXPECT_STREQ(info.module, module.name);
    EXPECT_STREQ(info.function, "") << "no symbols are read yet";
    // Those of this module only; all together take seconds.
    char path[MAX_PATH];
    GetModuleFileNameA(static_cast<HMODULE>(module.baseAddress), path, MAX_PATH);
    ASSERT_NE(WinDbgHelp::Instance().SymLoadModule64(GetCurrentProcess(), nullptr, path, nullptr,
                                                     reinterpret_cast<ULONG_PTR>(module.baseAddress), module.size),
              0u);
    ASSERT_TRUE(SymbolHandler::Instance().Resolve(address + 1, info));
    EXPECT_THAT(info.module, testing::HasSubstr("dbghelp_landmark"));
    EXPECT_THAT(info.function, testing::HasSubstr("ZelkTestLandmark"));
    EXPECT_EQ(info.displacement, 1u);
    EXPECT_THAT(info.file, testing::HasSubstr("landmark.cpp"));
    EXPECT_NE(info.line, 0u);
    const int local = ZelkTestLandmark(0);
    EXPECT_FALSE(SymbolHandler::Instance().Resolve(&local, info)) << "no module";
    EXPECT_STREQ(info.module, "");
    EXPECT_STREQ(info.function, "");
}

TEST_F(DbgHelpTest, ServicesStartAgain) {
    InitializeDbgHelpService(false);
    ShutdownDbgHelpService();
    SymbolInfo info;
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(reinterpret_cast<const char*>(&ZelkTestLandmark), info)) << "nested";
    ShutdownDbgHelpService();
    EXPECT_FALSE(SymbolHandler::Instance().Resolve(reinterpret_cast<const char*>(&ZelkTestLandmark), info));
    InitializeDbgHelpService(false);
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(reinterpret_cast<const char*>(&ZelkTestLandmark), info));
}

Z4_NOINLINE unsigned long SampleDeep(unsigned depth) {
    volatile unsigned char frame[1024];
    frame[depth] = 0;
    return (depth == 0 ? StackSizeMonitorDb::Instance().Sample() : SampleDeep(depth - 1)) + frame[depth];
}

TEST_F(DbgHelpTest, KeepsTheDeepestStackOfEachThread) {
    StackSizeMonitorDb& monitor = StackSizeMonitorDb::Instance();
    unsigned long deep = 0;
    DWORD id = 0;
    std::thread([&] {
        id = GetCurrentThreadId();
        const unsigned long flat = monitor.Sample();
        deep = SampleDeep(50);
        EXPECT_GE(deep, flat + 50 * 1024);
        monitor.Sample();
    }).join();
    StackSizeMonitorDb::Entry entry;
    ASSERT_TRUE(monitor.FindThread(id, entry));
    EXPECT_EQ(entry.largestUse, deep);
    EXPECT_GT(entry.size, deep);
    EXPECT_FALSE(monitor.FindThread(GetCurrentThreadId(), entry));
    EXPECT_EQ(monitor.GetCount(), 1u);
    EXPECT_TRUE(monitor.GetEntry(0, entry));
    ZelkHost::FailAllocations(1);
    monitor.Sample();
    EXPECT_EQ(ZelkHost::FailAllocations(0), 1u);
    EXPECT_EQ(monitor.GetCount(), 1u) << "nothing is lost";
    monitor.Sample();
    EXPECT_EQ(monitor.GetCount(), 2u);
    monitor.Forget(id);
    EXPECT_FALSE(monitor.FindThread(id, entry));
}

DWORD g_versionSize;

DWORD WINAPI AnswerVersionSize(HMODULE, HRSRC) {
    return g_versionSize;
}

TEST(FileVersion, IsReadUpTo64KiB) {
    unsigned short version[4] = {};
    ASSERT_TRUE(WinDbgHelp::GetVersionInfo(ZELK_DLL_FILE, version));
    EXPECT_THAT(version, testing::ElementsAre(4, 3, 2, 0));
    const ZelkTest::ImportHook hook("SizeofResource", AnswerVersionSize);
    const std::string cannot = "655 [Z4::WinDbgHelp] EAL_LOG_WARNING: Cannot read the version info of ";
    const struct {
        const char* file;
        DWORD size;
        std::string logged;
    } rows[] = {
        {ZELK_DLL_FILE, 65536, ""},
        {ZELK_DLL_FILE, 65537,
         "662 [Z4::WinDbgHelp] EAL_LOG_WARNING: Reading the version info of " ZELK_DLL_FILE
         " would require a size of 65537 bytes\n"},
        {ZELK_DLL_FILE, 40 + sizeof(VS_FIXEDFILEINFO), ""},
        {ZELK_DLL_FILE, 40 + sizeof(VS_FIXEDFILEINFO) - 1, cannot + ZELK_DLL_FILE "\n"},
        {"no such file.dll", 0, cannot + "no such file.dll\n"},
    };
    for (const auto& row : rows) {
        const ZelkTest::LogCapture log;
        g_versionSize = row.size;
        EXPECT_EQ(WinDbgHelp::GetVersionInfo(row.file, version), row.logged.empty());
        std::string logged;
        for (const ZelkTest::LogLine& line : log.Lines()) {
            EXPECT_EQ(line.level, static_cast<unsigned>(EAL_LOG_WARNING));
            logged += std::to_string(line.line) + " " + line.text;
        }
        EXPECT_EQ(logged, row.logged);
    }
}

} // namespace
