// Runs twice: without any debug-help library, and with one beside the program that has none of the functions. Hunted
// are calls that crash or wait for ever then, and a strict search that takes the library beside the program.
#include <tests/support/testhost.h>

#include <windows.h>

#include <gtest/gtest.h>
#include <zelk_core/os/lifecycle.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace {

using namespace Z4;

class MissingLibraryTest : public testing::Test {
protected:
    MissingLibraryTest() { InitializeOS(); }
    ~MissingLibraryTest() override {
        WinDbgHelp::SetSystemLibraryOnly(false);
        WinDbgHelp::SingletonShutdown();
        ShutdownOS();
    }

    const ZelkTest::LogCapture m_log;
};

TEST_F(MissingLibraryTest, EveryCallFailsAndNoneBlocks) {
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    const HANDLE process = GetCurrentProcess();
    EXPECT_FALSE(debugHelp.IsLoaded());
    SetLastError(0);
    EXPECT_EQ(debugHelp.SymGetOptions(), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
    EXPECT_FALSE(debugHelp.EnumerateLoadedModules64(process, nullptr, nullptr));
    EXPECT_EQ(debugHelp.GetAddressOfSymFunctionTableAccess64(), nullptr);
    EXPECT_EQ(debugHelp.ImageNtHeader(nullptr), nullptr);
    WinDbgHelp::SingletonShutdown();
    const bool loads = LoadLibraryA("dbghelp.dll") != nullptr;
    EXPECT_EQ(m_log.Lines().size(), loads ? 0u : 1u) << "the module wrapper's";
}

TEST_F(MissingLibraryTest, StrictSearchPassesOverALibraryBesideTheProgram) {
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string folder = std::string(path).substr(0, std::string(path).rfind('\\') + 1);
    const bool isBeside = GetFileAttributesA((folder + "dbghelp.dll").c_str()) != INVALID_FILE_ATTRIBUTES;
    WinDbgHelp::SetSystemLibraryOnly(true);
    EXPECT_EQ(WinDbgHelp::Instance().IsLoaded(), isBeside) << "else the test lets the system find none at all";
}

} // namespace
