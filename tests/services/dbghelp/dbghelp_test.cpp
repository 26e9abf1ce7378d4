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
    } noted;
    const auto note = [](const WinDbgHelp::DllNotificationData& data, void* context) {
        Noted& own = *static_cast<Noted*>(context);
        if (_wcsicmp(data.baseName, L"avifil32.dll") == 0) {
            own.events.push_back(data);
            own.fullName = data.fullName;
            WinDbgHelp::Instance().SymGetOptions(); // which no observer may do
        }
    };
    const ZelkTest::ExpectContract asked(ZelkTest::LIBRARY_CHECKS ? 2 : 0);
    EXPECT_EQ(debugHelp.RegisterDllNotificationCallback(note, &noted), ERR_OK);
    const HMODULE module = LoadLibraryA(STRANGER);
    ProgramModuleDB::Module found;
    EXPECT_TRUE(ProgramModuleDB::Instance().FindModule(module, found));
    FreeLibrary(module);
    EXPECT_FALSE(ProgramModuleDB::Instance().FindModule(module, found));
    EXPECT_EQ(debugHelp.UnregisterDllNotificationCallback(note, &noted), ERR_OK);
    FreeLibrary(LoadLibraryA(STRANGER));
    ASSERT_EQ(noted.events.size(), 2u);
    EXPECT_TRUE(noted.events[1].unloaded && !noted.events[0].unloaded);
    for (const auto& event : noted.events) {
        EXPECT_NE(event.timeStamp, 0);
        EXPECT_EQ(event.baseAddress, static_cast<void*>(module));
        EXPECT_EQ(event.size, found.size);
    }
    EXPECT_NE(noted.fullName.find(L"\\"), std::wstring::npos);
}

TEST_F(DbgHelpTest, NamesFunctionFileAndLine) {
    SymbolHandler& symbols = SymbolHandler::Instance();
    const char* const address = reinterpret_cast<const char*>(&ZelkTestLandmark);
    ProgramModuleDB::Module module;
    ASSERT_TRUE(ProgramModuleDB::Instance().FindModule(address, module));
    SymbolInfo info;
    EXPECT_TRUE(symbols.Resolve(address + 1, info));
    EXPECT_STREQ(info.module, module.name);
    EXPECT_EQ(info.source, SYMBOL_EXPORT) << "no symbols are read yet";
    // Those of this module only; all together take seconds.
    ASSERT_NE(WinDbgHelp::Instance().SymLoadModule64(GetCurrentProcess(), nullptr, module.name, nullptr,
                                                     reinterpret_cast<ULONG_PTR>(module.baseAddress), module.size),
              0u);
    ASSERT_TRUE(symbols.Resolve(address + 1, info));
    EXPECT_THAT(info.module, testing::HasSubstr("dbghelp_landmark"));
    EXPECT_THAT(info.function, testing::HasSubstr("ZelkTestLandmark"));
    EXPECT_EQ(info.displacement, 1u);
    EXPECT_THAT(info.file, testing::HasSubstr("landmark.cpp"));
    EXPECT_NE(info.line, 0u);
    EXPECT_EQ(info.source, SYMBOL_DEBUG_INFO);
    const int local = ZelkTestLandmark(0);
    EXPECT_FALSE(symbols.Resolve(&local, info)) << "no module";
    EXPECT_STREQ(info.function, "");
    ShutdownDbgHelpService();
    EXPECT_FALSE(symbols.Resolve(address, info));
    InitializeDbgHelpService(false);
    EXPECT_TRUE(symbols.Resolve(address, info));
}

/// @return what it measured `kib` KiB deeper, or 0 when it does not measure there.
Z4_NOINLINE unsigned long GoDeep(unsigned kib, bool measures) {
    volatile unsigned char frame[1024];
    frame[kib] = 0;
    if (kib == 0) {
        return measures ? StackSizeMonitorDb::Instance().Sample() : 0;
    }
    return GoDeep(kib - 1, measures) + frame[kib];
}

TEST_F(DbgHelpTest, KeepsTheDeepestStackOfEachThread) {
    StackSizeMonitorDb& monitor = StackSizeMonitorDb::Instance();
    unsigned long deep = 0;
    DWORD id = 0;
    std::thread([&] {
        id = GetCurrentThreadId();
        const unsigned long flat = monitor.Sample();
        deep = GoDeep(50, true);
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
    monitor.Forget(id);
    monitor.Forget(id);
    EXPECT_EQ(monitor.GetCount(), 1u);
    EXPECT_FALSE(monitor.FindThread(id, entry) || monitor.GetEntry(1, entry));
}

TEST_F(DbgHelpTest, PaintShowsHowDeepTheStackWasInBetween) {
    StackSizeMonitorDb& monitor = StackSizeMonitorDb::Instance();
    const struct {
        unsigned kib;
        unsigned long least;
        unsigned long most;
    } rows[] = {{0, 0, 1024}, {50, 50 * 1024, 56 * 1024}, {150, 99000, 101000}}; // no more than was painted
    std::thread([&] {
        EXPECT_EQ(monitor.Paint(100001), 100000u);
        const unsigned long flat = monitor.Sample();
        StackSizeMonitorDb::Entry entry{};
        for (const auto& row : rows) {
            GoDeep(row.kib, false);
            monitor.Sample();
            ASSERT_TRUE(monitor.FindThread(GetCurrentThreadId(), entry));
            EXPECT_GE(entry.largestUse, flat + row.least);
            EXPECT_LE(entry.largestUse, flat + row.most);
        }
        EXPECT_EQ(entry.painted, 100000u);
        EXPECT_GE(entry.committed, flat + 100000);
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
        GoDeep(entry.size / 25 / 1024, true);
        GoDeep(entry.size / 20 / 1024, true);
    }).join();
    monitor.LogEntries(EAL_LOG_INFO);
    ASSERT_EQ(log.Lines().size(), 2u);
    EXPECT_EQ(log.Lines()[0].level, EAL_LOG_WARNING);
    EXPECT_THAT(log.Lines()[0].text, testing::HasSubstr("Thread " + std::to_string(entry.threadId) + " has used"));
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

void* WINAPI LockUnsigned(HGLOBAL) {
    static char record[200];
    return record;
}

TEST(FileVersion, IsReadUpTo64KiB) {
    constexpr long RECORD = 40 + sizeof(VS_FIXEDFILEINFO);
    unsigned short version[4] = {};
    ASSERT_TRUE(WinDbgHelp::GetVersionInfo(ZELK_DLL_FILE, version));
    const ZelkTest::ImportHook hook(ZELK_FAILING(SizeofResource));
    const auto expectRefused = [&](const std::string& file, long size, unsigned long line, const std::string& text) {
        const ZelkTest::LogCapture log;
        ZelkTest::Failure::s_result = size;
        EXPECT_FALSE(WinDbgHelp::GetVersionInfo(file.c_str(), version));
        log.ExpectOnly({{EAL_LOG_WARNING, "services/dbghelp/private/windbghelp_ms_pc", line,
                         "[Z4::WinDbgHelp] EAL_LOG_WARNING: " + text + "\n"}});
    };
    for (const std::string file : {ZELK_DLL_FILE, "no such file.dll", "dbghelp_landmark.dll"}) {
        expectRefused(file, RECORD - 1, 655, "Cannot read the version info of " + file);
    }
    expectRefused(ZELK_DLL_FILE, 65537, 662,
                  "Reading the version info of " ZELK_DLL_FILE " would require a size of 65537 bytes");
    for (const long size : {65536L, RECORD}) {
        ZelkTest::Failure::s_result = size;
        EXPECT_TRUE(WinDbgHelp::GetVersionInfo(ZELK_DLL_FILE, version));
    }
    const ZelkTest::LogCapture log;
    const ZelkTest::ImportHook lock("LockResource", LockUnsigned);
    EXPECT_FALSE(WinDbgHelp::GetVersionInfo(ZELK_DLL_FILE, version)) << "no version's signature";
    EXPECT_THAT(version, testing::ElementsAre(4, 3, 2, 0)) << "a failure leaves it alone";
}

} // namespace
