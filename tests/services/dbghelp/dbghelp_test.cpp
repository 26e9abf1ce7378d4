// The debug services over the system's own debug-help library. Hunted are: loads and unloads that nobody is told of,
// observers that are called when they are gone, names and versions that are wrong, and a service that does not start
// again.
#include <tests/support/contract.h>
#include <tests/support/importhook.h>
#include <tests/support/testhost.h>

#include <windows.h>

#include <gmock/gmock.h>
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

TEST_F(DbgHelpTest, TellsOfLoadsAndUnloads) {
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    ASSERT_TRUE(debugHelp.IsLoaded());
    EXPECT_EQ(debugHelp.RegisterDllNotificationCallback(nullptr, nullptr), ERR_INVALID);
    struct Noted {
        std::vector<WinDbgHelp::DllNotificationData> events;
        std::wstring fullName; ///< of the last
        bool asks = false;
    } noted;
    const auto note = [](const WinDbgHelp::DllNotificationData& data, void* context) {
        Noted& own = *static_cast<Noted*>(context);
        if (_wcsicmp(data.baseName, L"avifil32.dll") == 0) {
            own.events.push_back(data);
            own.fullName = data.fullName;
            if (own.asks) {
                WinDbgHelp::Instance().SymGetOptions();
            }
        }
    };
    EXPECT_EQ(debugHelp.RegisterDllNotificationCallback(note, &noted), ERR_OK);
    const HMODULE module = LoadLibraryA(STRANGER);
    ProgramModuleDB::Module found;
    EXPECT_TRUE(ProgramModuleDB::Instance().FindModule(module, found));
    EXPECT_EQ(found.baseAddress, static_cast<void*>(module));
    FreeLibrary(module);
    EXPECT_FALSE(ProgramModuleDB::Instance().FindModule(module, found));
    EXPECT_NE(noted.fullName.find(L"\\"), std::wstring::npos);
    ASSERT_EQ(noted.events.size(), 2u);
    EXPECT_TRUE(noted.events[1].unloaded && !noted.events[0].unloaded);
    for (const auto& event : noted.events) {
        EXPECT_NE(event.timeStamp, 0);
        EXPECT_EQ(event.baseAddress, static_cast<void*>(module));
        EXPECT_EQ(event.size, found.size);
    }
    noted.asks = true;
    const ZelkTest::ExpectContract asks(ZelkTest::LIBRARY_CHECKS ? 2 : 0);
    FreeLibrary(LoadLibraryA(STRANGER));
    EXPECT_EQ(debugHelp.UnregisterDllNotificationCallback(note, &noted), ERR_OK);
    FreeLibrary(LoadLibraryA(STRANGER));
    EXPECT_EQ(noted.events.size(), 4u) << "told no more";
}

TEST_F(DbgHelpTest, NamesFunctionFileAndLine) {
    const char* const address = reinterpret_cast<const char*>(&ZelkTestLandmark);
    ProgramModuleDB::Module module;
    ASSERT_TRUE(ProgramModuleDB::Instance().FindModule(address, module));
    SymbolInfo info;
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(address + 1, info));
    EXPECT_STREQ(info.module, module.name);
    EXPECT_EQ(info.source, SYMBOL_EXPORT) << "no symbols are read yet";
    ASSERT_TRUE(SymbolHandler::Instance().ResolveQuick(address + 1, info));
    EXPECT_STREQ(info.module, "dbghelp_landmark.dll") << "as the module names itself";
    EXPECT_STREQ(info.function, "ZelkTestLandmark");
    EXPECT_EQ(info.displacement, 1u);
    EXPECT_EQ(info.source, SYMBOL_EXPORT);
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
    EXPECT_EQ(info.source, SYMBOL_DEBUG_INFO);
    const int local = ZelkTestLandmark(0);
    SymbolInfo quick;
    EXPECT_FALSE(SymbolHandler::Instance().ResolveQuick(&local, quick)) << "no module";
    EXPECT_FALSE(SymbolHandler::Instance().Resolve(&local, info)) << "no module";
    EXPECT_STREQ(info.module, "");
    EXPECT_STREQ(info.function, "");
    ShutdownDbgHelpService();
    EXPECT_FALSE(SymbolHandler::Instance().Resolve(address, info));
    InitializeDbgHelpService(false);
    EXPECT_TRUE(SymbolHandler::Instance().Resolve(address, info));
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
    ASSERT_TRUE(monitor.GetEntry(0, entry) && monitor.FindThread(id, entry));
    EXPECT_EQ(entry.largestUse, deep);
    EXPECT_GT(entry.size, deep);
    EXPECT_FALSE(monitor.FindThread(GetCurrentThreadId(), entry));
    ZelkTest::Failure::s_result = 0;
    const ZelkTest::ImportHook hook(ZELK_FAILING(VirtualQuery));
    monitor.Sample();
    EXPECT_TRUE(monitor.GetEntry(1, entry) && entry.size == 0) << "the system does not tell";
    EXPECT_EQ(monitor.GetCount(), 2u);
    monitor.Forget(id);
    monitor.Forget(id);
    EXPECT_FALSE(monitor.FindThread(id, entry) || monitor.GetEntry(1, entry));
}

Z4_NOINLINE unsigned GoDeep(unsigned kib) {
    volatile unsigned char frame[1024];
    frame[kib] = 1;
    return kib == 0 ? 0 : GoDeep(kib - 1) + frame[kib];
}

TEST_F(DbgHelpTest, PaintShowsHowDeepTheStackWasInBetween) {
    StackSizeMonitorDb& monitor = StackSizeMonitorDb::Instance();
    std::thread([&] {
        const unsigned long id = GetCurrentThreadId();
        StackSizeMonitorDb::Entry entry;
        EXPECT_EQ(monitor.Paint(100001), 100000u);
        const unsigned long flat = monitor.Sample();
        ASSERT_TRUE(monitor.FindThread(id, entry));
        EXPECT_LT(entry.largestUse, flat + 1024) << "nobody has been deeper";
        EXPECT_EQ(entry.painted, 100000u);
        EXPECT_GE(entry.committed, flat + 100000);
        EXPECT_EQ(GoDeep(50), 50u);
        monitor.Sample();
        ASSERT_TRUE(monitor.FindThread(id, entry));
        EXPECT_GE(entry.largestUse, flat + 50 * 1024);
        EXPECT_LT(entry.largestUse, flat + 56 * 1024);
        EXPECT_EQ(GoDeep(150), 150u);
        monitor.Sample();
        ASSERT_TRUE(monitor.FindThread(id, entry));
        EXPECT_LE(entry.largestUse, flat + 101000) << "no more than was painted";
        EXPECT_GT(entry.largestUse, flat + 99000);
        const unsigned long all = monitor.Paint(0xFFFFFFFF);
        EXPECT_GT(all, entry.size - flat - 32 * 1024);
        EXPECT_LT(all, entry.size - flat);
    }).join();
}

TEST_F(DbgHelpTest, WarnsOnceOfADeepStack) {
    StackSizeMonitorDb& monitor = StackSizeMonitorDb::Instance();
    EXPECT_EQ(monitor.SetWarning(101), ERR_INVALID);
    EXPECT_EQ(monitor.SetWarning(4), ERR_OK);
    const ZelkTest::LogCapture log;
    StackSizeMonitorDb::Entry entry{};
    std::thread([&] {
        monitor.Sample();
        EXPECT_TRUE(log.Lines().empty());
        ASSERT_TRUE(monitor.FindThread(GetCurrentThreadId(), entry));
        SampleDeep(entry.size / 25 / 1024);
        SampleDeep(entry.size / 20 / 1024);
    }).join();
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0].level, EAL_LOG_WARNING);
    EXPECT_THAT(log.Lines()[0].text, testing::HasSubstr("Thread " + std::to_string(entry.threadId) + " has used"));
    monitor.LogEntries(EAL_LOG_INFO);
    ASSERT_EQ(log.Lines().size(), 2u);
    EXPECT_THAT(log.Lines()[1].text, testing::HasSubstr("reserved " + std::to_string(entry.size) + ", committed"));
}

TEST_F(DbgHelpTest, ANewThreadGetsTheEntryOfAnEndedOne) {
    StackSizeMonitorDb& monitor = StackSizeMonitorDb::Instance();
    monitor.Sample();
    for (unsigned i = 0; i < StackSizeMonitorDb::MAX_THREADS + 10; ++i) {
        std::thread([&] { monitor.Sample(); }).join();
    }
    EXPECT_LE(monitor.GetCount(), 256u);
    StackSizeMonitorDb::Entry entry;
    EXPECT_TRUE(monitor.GetEntry(0, entry));
    EXPECT_EQ(entry.threadId, GetCurrentThreadId()) << "the oldest, which runs";
}

DWORD g_versionSize;

DWORD WINAPI AnswerVersionSize(HMODULE, HRSRC) {
    return g_versionSize;
}

void* WINAPI LockUnsigned(HGLOBAL) {
    static char record[200];
    return record;
}

TEST(FileVersion, IsReadUpTo64KiB) {
    unsigned short version[4] = {};
    ASSERT_TRUE(WinDbgHelp::GetVersionInfo(ZELK_DLL_FILE, version));
    EXPECT_THAT(version, testing::ElementsAre(4, 3, 2, 0));
    const ZelkTest::ImportHook hook("SizeofResource", AnswerVersionSize);
    const std::string cannot = "Cannot read the version info of ";
    const struct {
        const char* file;
        DWORD size;
        unsigned long line; ///< of what is logged
        std::string text;
    } rows[] = {
        {ZELK_DLL_FILE, 65536, 0, ""},
        {ZELK_DLL_FILE, 65537, 662,
         "Reading the version info of " ZELK_DLL_FILE " would require a size of 65537 bytes"},
        {ZELK_DLL_FILE, 40 + sizeof(VS_FIXEDFILEINFO), 0, ""},
        {ZELK_DLL_FILE, 40 + sizeof(VS_FIXEDFILEINFO) - 1, 655, cannot + ZELK_DLL_FILE},
        {"no such file.dll", 0, 655, cannot + "no such file.dll"},
        {"dbghelp_landmark.dll", 0, 655, cannot + "dbghelp_landmark.dll"},
    };
    for (const auto& row : rows) {
        const ZelkTest::LogCapture log;
        g_versionSize = row.size;
        EXPECT_EQ(WinDbgHelp::GetVersionInfo(row.file, version), row.line == 0);
        if (row.line == 0) {
            log.ExpectOnly({});
        } else {
            log.ExpectOnly({{EAL_LOG_WARNING, "services/dbghelp/private/windbghelp_ms_pc", row.line,
                             "[Z4::WinDbgHelp] EAL_LOG_WARNING: " + row.text + "\n"}});
        }
    }
    g_versionSize = 200;
    const ZelkTest::LogCapture log;
    const ZelkTest::ImportHook lock("LockResource", LockUnsigned);
    EXPECT_FALSE(WinDbgHelp::GetVersionInfo(ZELK_DLL_FILE, version)) << "no version's signature";
    EXPECT_THAT(version, testing::ElementsAre(4, 3, 2, 0)) << "a failure leaves it alone";
}

} // namespace
