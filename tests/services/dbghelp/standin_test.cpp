// The gateway over a stand-in of the debug-help library that does as it is told; it lies beside this program.
#include "standin.h"

#include <tests/os/crowd.h>
#include <tests/support/testhost.h>

#include <gmock/gmock.h>
#include <host/zelkhost.h>
#include <optional>
#include <zelk_core/os/lifecycle.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace {

using namespace Z4;
using namespace ZelkTest;
using StandIn::Script;

constexpr DWORD LENGTH_MISMATCH = 0xC0000004;
constexpr char LOG_FILE[] = "services/dbghelp/private/windbghelp_ms_pc";

class StandInTest : public testing::Test {
protected:
    StandInTest() : m_library(LoadLibraryA("dbghelp.dll")) {
        const auto getScript =
            reinterpret_cast<StandIn::GetScript>(reinterpret_cast<void (*)()>(GetProcAddress(m_library, "Script")));
        if (getScript == nullptr) {
            std::fputs("The stand-in is not the library that the system finds.\n", stderr);
            std::abort();
        }
        m_script = getScript();
        *m_script = Script();
        InitializeOS();
    }
    ~StandInTest() override {
        WinDbgHelp::SingletonShutdown();
        ShutdownOS();
        FreeLibrary(m_library);
    }

    Script& GetScript() const { return *m_script; }

    /// Makes the object and waits for its loader thread.
    WinDbgHelp& Start() {
        WinDbgHelp& debugHelp = WinDbgHelp::Instance();
        debugHelp.IsLoaded();
        return debugHelp;
    }

private:
    HMODULE m_library;
    Script* m_script;
};

std::vector<unsigned long> LinesAt(const LogCapture& log, unsigned long line, unsigned level) {
    std::vector<unsigned long> found;
    for (const LogLine& entry : log.Lines()) {
        if (entry.line == line && entry.level == level && entry.file == LOG_FILE) {
            found.push_back(entry.line);
        }
    }
    return found;
}

TEST_F(StandInTest, StartsTheHandlerOnItsOwnThread) {
    for (const DWORD before : {0ul, 0xFFFFFFFFul, 2ul | 4ul | 0x100ul}) {
        Script& script = GetScript();
        script.calls.clear();
        script.options = before;
        WinDbgHelp::SetLoadSymbols(before != 0);
        WinDbgHelp& debugHelp = Start();
        EXPECT_TRUE(debugHelp.IsLoaded());
        EXPECT_EQ(script.options, (before & ~6ul) | 16ul);
        ASSERT_EQ(script.calls.size(), 3u);
        EXPECT_EQ(script.calls[2].name, "SymInitialize");
        EXPECT_EQ(script.calls[2].arguments,
                  (std::vector<unsigned long long>{reinterpret_cast<ULONG_PTR>(GetCurrentProcess()), before != 0}));
        EXPECT_NE(script.calls[2].thread, GetCurrentThreadId());
        EXPECT_EQ(script.searchPath, debugHelp.GetSymbolPath());
        WinDbgHelp::SingletonShutdown();
        EXPECT_EQ(script.calls.back().name, "SymCleanup");
    }
    WinDbgHelp::SetLoadSymbols(true);
}

TEST_F(StandInTest, StrictSearchPassesOverALibraryBesideTheProgram) {
    WinDbgHelp::SetSystemLibraryOnly(true);
    Start();
    WinDbgHelp::SetSystemLibraryOnly(false);
    EXPECT_TRUE(GetScript().calls.empty());
}

TEST_F(StandInTest, SearchPath) {
    char current[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, current);
    const std::string here = current;
    const std::string longPart(4000, 'p');
    const struct {
        const char* path;
        const char* alternate;
        std::string expected;
    } rows[] = {
        {nullptr, nullptr, here},
        {"x:\\one", nullptr, here + ";x:\\one"},
        {"x:\\one", "y:\\two;z:", here + ";x:\\one;y:\\two;z:"},
        {longPart.c_str(), longPart.c_str(), here + ";" + longPart},
    };
    for (const auto& row : rows) {
        SetEnvironmentVariableA("_NT_SYMBOL_PATH", row.path);
        SetEnvironmentVariableA("_NT_ALTERNATE_SYMBOL_PATH", row.alternate);
        EXPECT_EQ(WinDbgHelp::Instance().GetSymbolPath(), row.expected);
        WinDbgHelp::SingletonShutdown();
    }
    SetEnvironmentVariableA("_NT_SYMBOL_PATH", nullptr);
    SetEnvironmentVariableA("_NT_ALTERNATE_SYMBOL_PATH", nullptr);
}

TEST_F(StandInTest, FailuresOfTheSymbolHandler) {
    const struct {
        int failures;
        DWORD error;
        bool refreshFails;
        unsigned calls;
        unsigned refreshes;
        std::size_t retryLines;
        std::size_t refreshLines;
        bool loaded;
    } rows[] = {
        {3, LENGTH_MISMATCH, false, 4, 0, 3, 0, true},          {9, LENGTH_MISMATCH, false, 4, 0, 4, 0, false},
        {9, ERROR_INVALID_PARAMETER, false, 1, 1, 0, 0, false}, {9, ERROR_INVALID_PARAMETER, true, 1, 1, 0, 1, false},
        {9, ERROR_ACCESS_DENIED, false, 1, 0, 0, 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.failures << " times " << row.error);
        const LogCapture log;
        Script& script = GetScript();
        script = Script();
        script.initializeFailures = row.failures;
        script.error = row.error;
        script.refreshFails = row.refreshFails;
        WinDbgHelp& debugHelp = Start();
        EXPECT_EQ(script.Count("SymInitialize"), row.calls);
        EXPECT_EQ(script.Count("SymRefreshModuleList"), row.refreshes);
        EXPECT_EQ(LinesAt(log, 419, EAL_LOG_INFO).size(), row.retryLines);
        EXPECT_EQ(LinesAt(log, 412, EAL_LOG_ERROR).size(), row.refreshLines);
        EXPECT_EQ(debugHelp.IsLoaded(), row.loaded);
        for (const LogLine& line : log.Lines()) {
            EXPECT_STREQ(line.text.c_str(),
                         line.line == 412
                             ? "[Z4::WinDbgHelp] EAL_LOG_ERROR: Could not load the symbols table. "
                               "SymRefreshModuleList returns:0x1234.\n"
                             : "[Z4::W32DebugSymbolDataBase] EAL_LOG_INFO: SymInitialize failed with error "
                               "STATUS_INFO_LENGTH_MISMATCH(0xC0000004). Retrying...\n");
        }
        WinDbgHelp::SingletonShutdown();
        EXPECT_EQ(script.Count("SymCleanup"), row.loaded ? 1u : 0u);
    }
}

TEST_F(StandInTest, EnumerationIsRepeatedWhenTheListChanges) {
    WinDbgHelp& debugHelp = Start();
    Script& script = GetScript();
    const struct {
        int failures;
        DWORD error;
        unsigned calls;
        std::size_t lines;
        bool result;
    } rows[] = {
        {0, 0, 1, 0, true},
        {3, LENGTH_MISMATCH, 4, 3, true},
        {9, LENGTH_MISMATCH, 4, 4, false},
        {9, ERROR_INVALID_PARAMETER, 1, 0, false},
    };
    for (const auto& row : rows) {
        const LogCapture log;
        script.calls.clear();
        script.enumerateFailures = row.failures;
        script.error = row.error;
        EXPECT_EQ(debugHelp.EnumerateLoadedModules64(GetCurrentProcess(), nullptr, nullptr), row.result);
        EXPECT_EQ(script.Count("EnumerateLoadedModules64"), row.calls);
        EXPECT_EQ(LinesAt(log, 614, EAL_LOG_INFO).size(), row.lines);
    }
}

TEST_F(StandInTest, ForwardsEveryArgument) {
    WinDbgHelp& debugHelp = Start();
    Script& script = GetScript();
    script.calls.clear();
    const auto pointer = [](unsigned number) { return reinterpret_cast<void*>(static_cast<ULONG_PTR>(number)); };
    const auto as = [&]<class T>(T*, unsigned number) { return static_cast<T*>(pointer(number)); };
    const unsigned long long address = 0x1122334455667788ull;
    EXPECT_TRUE(debugHelp.SymInitialize(pointer(1), "path", true));
    EXPECT_TRUE(debugHelp.SymCleanup(pointer(1)));
    EXPECT_TRUE(debugHelp.SymRefreshModuleList(pointer(1)));
    EXPECT_EQ(debugHelp.SymSetOptions(77), 77u);
    EXPECT_EQ(debugHelp.SymGetOptions(), 77u);
    EXPECT_TRUE(debugHelp.SymGetModuleInfo64(pointer(1), address, as(static_cast<_IMAGEHLP_MODULE64*>(nullptr), 2)));
    EXPECT_TRUE(debugHelp.StackWalk64(1, pointer(2), pointer(3), as(static_cast<_tagSTACKFRAME64*>(nullptr), 4),
                                      pointer(5), reinterpret_cast<WinDbgHelp::ReadMemoryCallback>(6),
                                      reinterpret_cast<WinDbgHelp::FunctionTableAccessCallback>(7),
                                      reinterpret_cast<WinDbgHelp::GetModuleBaseCallback>(8),
                                      reinterpret_cast<WinDbgHelp::TranslateAddressCallback>(9)));
    EXPECT_EQ(debugHelp.SymFunctionTableAccess64(pointer(1), address), &script);
    EXPECT_TRUE(debugHelp.EnumerateLoadedModules64(
        pointer(1), reinterpret_cast<WinDbgHelp::EnumerateModulesCallback>(2), pointer(3)));
    EXPECT_TRUE(debugHelp.SymSetSearchPath(pointer(1), static_cast<const char*>(pointer(2))));
    EXPECT_TRUE(debugHelp.SymGetSymFromAddr64(pointer(1), address, static_cast<unsigned long long*>(pointer(2)),
                                              as(static_cast<_IMAGEHLP_SYMBOL64*>(nullptr), 3)));
    EXPECT_TRUE(debugHelp.SymGetLineFromAddr64(pointer(1), address, static_cast<unsigned long*>(pointer(2)),
                                               as(static_cast<_IMAGEHLP_LINE64*>(nullptr), 3)));
    EXPECT_EQ(debugHelp.SymLoadModule64(pointer(1), pointer(2), static_cast<const char*>(pointer(3)),
                                        static_cast<const char*>(pointer(4)), address, 5),
              0x123456789ull);
    EXPECT_TRUE(debugHelp.SymUnloadModule64(pointer(1), address));
    EXPECT_TRUE(debugHelp.SymFindFileInPath(
        pointer(1), static_cast<const char*>(pointer(2)), static_cast<const char*>(pointer(3)), pointer(4), 5, 6, 7,
        static_cast<char*>(pointer(8)), reinterpret_cast<WinDbgHelp::FindFileCallback>(9), pointer(10)));
    EXPECT_TRUE(debugHelp.MiniDumpWriteDump(pointer(1), 2, pointer(3), 4,
                                            as(static_cast<_MINIDUMP_EXCEPTION_INFORMATION*>(nullptr), 5),
                                            as(static_cast<_MINIDUMP_USER_STREAM_INFORMATION*>(nullptr), 6),
                                            as(static_cast<_MINIDUMP_CALLBACK_INFORMATION*>(nullptr), 7)));
    EXPECT_EQ(static_cast<void*>(debugHelp.ImageNtHeader(pointer(1))), pointer(1));

    const std::vector<std::vector<unsigned long long>> expected = {{1, 1},
                                                                   {1},
                                                                   {1},
                                                                   {77},
                                                                   {},
                                                                   {1, address, 2},
                                                                   {1, 2, 3, 4, 5, 6, 7, 8, 9},
                                                                   {1, address},
                                                                   {1, 2, 3},
                                                                   {1, 2},
                                                                   {1, address, 2, 3},
                                                                   {1, address, 2, 3},
                                                                   {1, 2, 3, 4, address, 5},
                                                                   {1, address},
                                                                   {1, 2, 3, 4, 5, 6, 7, 8, 9, 10},
                                                                   {1, 2, 3, 4, 5, 6, 7},
                                                                   {1}};
    ASSERT_EQ(script.calls.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(script.calls[i].arguments, expected[i]) << script.calls[i].name;
    }
}

TEST_F(StandInTest, NoTwoCallsAtOnce) {
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    RunCrowd(4, [&](unsigned) {
        for (int i = 0; i < 2000; ++i) {
            debugHelp.SymGetOptions();
        }
    });
    EXPECT_EQ(GetScript().overlaps, 0u);
    EXPECT_EQ(GetScript().Count("SymGetOptions"), 8001u);
}

TEST_F(StandInTest, StartUpDoesNotWaitButTheFirstCallDoes) {
    Script& script = GetScript();
    script.hold = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    InitializeDbgHelpService(false);
    EXPECT_FALSE(WinDbgHelp::Instance().IsReady());
    EXPECT_STRNE(WinDbgHelp::Instance().GetSymbolPath(), "");
    RunPair([&] { EXPECT_EQ(WinDbgHelp::Instance().SymSetOptions(5), 5u); },
            [&] {
                Sleep(50);
                EXPECT_EQ(script.Count("SymSetOptions"), 1u) << "the loader's own; ours waits";
                SetEvent(script.hold);
            });
    EXPECT_TRUE(WinDbgHelp::Instance().IsReady());
    EXPECT_FALSE(WinDbgHelp::GetLoadSymbols());
    ShutdownDbgHelpService();
    CloseHandle(script.hold);
    WinDbgHelp::SetLoadSymbols(true);
}

TEST_F(StandInTest, ShutDownWaitsForTheEndOfTheThread) {
    Script& script = GetScript();
    script.holdEnd = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    enum Stage {
        NOTHING,
        PARTNER_RUNS,
        READY,
        DOWN
    };
    std::atomic<Stage> stage = NOTHING;
    const auto waitFor = [&](Stage awaited) {
        while (stage < awaited) {
            Sleep(1);
        }
    };
    RunPair(
        [&] {
            // A thread that ends does so under the lock that starting another takes.
            waitFor(PARTNER_RUNS);
            while (!WinDbgHelp::Instance().IsReady()) {
                Sleep(1);
            }
            stage = READY;
            WinDbgHelp::SingletonShutdown();
            stage = DOWN;
        },
        [&] {
            stage = PARTNER_RUNS;
            waitFor(READY);
            Sleep(50);
            EXPECT_EQ(stage, READY);
            SetEvent(script.holdEnd);
        });
    CloseHandle(script.holdEnd);
}

/// The list of modules, which the stand-in tells it.
class ModulesTest : public StandInTest {
protected:
    ModulesTest() {
        Start();
        GetScript().modules = {0x10, 0x20, 0x30};
        EXPECT_EQ(ProgramModuleDB::Instance().Subscribe(), ERR_OK);
    }
    ~ModulesTest() override { ProgramModuleDB::SingletonShutdown(); }

    static void Tell(unsigned base, bool unloaded) {
        ProgramModuleDB::UpdateModulesList({1, Address(base), 16, L"module", L"module", unloaded},
                                           &ProgramModuleDB::Instance());
    }
    /// The bases that are known, in hexadecimal digits.
    static std::string Known() {
        std::string bases;
        for (unsigned base = 0x10; base < 0x60; base += 0x10) {
            ProgramModuleDB::Module module;
            bases += ProgramModuleDB::Instance().FindModule(Address(base), module) ? std::to_string(base / 16) : "";
        }
        return bases;
    }

private:
    static void* Address(unsigned base) { return reinterpret_cast<void*>(static_cast<ULONG_PTR>(base)); }
};

TEST_F(ModulesTest, OneReadingSeesWhatComesAndGoes) {
    GetScript().meanwhile = [&] {
        if (GetScript().Count("EnumerateLoadedModules64") < 5) {
            Tell(0x10, true);
            Tell(0x20, true);
            Tell(0x40, false);
            Tell(0x50, false);
            Tell(0x50, true);
            Tell(0x20, false);
        }
    };
    EXPECT_EQ(Known(), "234");
    EXPECT_EQ(GetScript().Count("EnumerateLoadedModules64"), 1u);
}

TEST_F(ModulesTest, WhoAsksDuringAReadingGetsTheWholeList) {
    std::atomic<int> told = -1;
    GetScript().meanwhile = [&] {
        ++told;
        Sleep(20);
    };
    RunCrowd(2, [&](unsigned index) {
        // The second asks when the first has heard of one module.
        while (index != 0 && told < 1) {
            SwitchToThread();
        }
        EXPECT_EQ(ProgramModuleDB::Instance().GetCount(), 3u);
    });
}

TEST_F(ModulesTest, WhatWasRefusedIsReadAgain) {
    GetScript().meanwhile = [] {
        Tell(0x30, true);
        Tell(0x40, false);
    };
    std::size_t allocation = 1;
    do {
        ProgramModuleDB::SingletonShutdown();
        EXPECT_EQ(ProgramModuleDB::Instance().Subscribe(), ERR_OK);
        ZelkHost::FailAllocations(allocation);
        ProgramModuleDB::Instance().GetCount();
        EXPECT_EQ(Known(), "124") << "allocation " << allocation;
        ++allocation;
    } while (ZelkHost::FailAllocations(0) != 0);
    EXPECT_GE(allocation, 6u) << "two lists and the one that went";

    GetScript().calls.clear();
    GetScript().error = ERROR_ACCESS_DENIED;
    GetScript().enumerateFailures = 1;
    ProgramModuleDB::SingletonShutdown();
    EXPECT_EQ(Known(), "124");
    EXPECT_EQ(GetScript().Count("EnumerateLoadedModules64"), 2u);
    GetScript().modules = {0x20};
    EXPECT_EQ(ProgramModuleDB::Instance().Subscribe(), ERR_OK);
    EXPECT_EQ(Known(), "24") << "nobody told of what had gone before";
}

std::vector<std::string>* g_resolved;

FARPROC WINAPI RecordGetProcAddress(HMODULE module, LPCSTR name) {
    g_resolved->push_back(name);
    return GetProcAddress(module, name);
}

/// Puts `replacement` where the library's DLL has imported `name`.
/// @return what was there; null when it imports no such function.
void* ReplaceImport(const char* name, void* replacement) {
    char* const base = reinterpret_cast<char*>(GetModuleHandleA(ZELK_DLL_FILE));
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
         import->Name != 0; ++import) {
        auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + import->OriginalFirstThunk);
        auto* addresses = reinterpret_cast<IMAGE_THUNK_DATA*>(base + import->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
            const char* const imported = base + names->u1.AddressOfData + 2;
            if ((names->u1.Ordinal & IMAGE_ORDINAL_FLAG) == 0 && std::string(imported) == name) {
                DWORD protection = 0;
                VirtualProtect(addresses, sizeof *addresses, PAGE_READWRITE, &protection);
                void* const before = reinterpret_cast<void*>(static_cast<ULONG_PTR>(addresses->u1.Function));
                addresses->u1.Function = static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(replacement));
                VirtualProtect(addresses, sizeof *addresses, protection, &protection);
                return before;
            }
        }
    }
    return nullptr;
}

TEST_F(StandInTest, OrderOfResolution) {
    std::vector<std::string> resolved;
    g_resolved = &resolved;
    void* const before = ReplaceImport("GetProcAddress", reinterpret_cast<void*>(RecordGetProcAddress));
    ASSERT_NE(before, nullptr);
    Start();
    ReplaceImport("GetProcAddress", before);
    EXPECT_THAT(resolved, testing::ElementsAre("SymInitialize", "SymRefreshModuleList", "SymGetOptions",
                                               "SymSetOptions", "SymCleanup", "SymGetModuleInfo64", "StackWalk64",
                                               "SymFunctionTableAccess64", "EnumerateLoadedModules64",
                                               "SymSetSearchPath", "SymGetSymFromAddr64", "SymGetLineFromAddr64",
                                               "SymLoadModule64", "SymUnloadModule64", "SymFindFileInPath",
                                               "MiniDumpWriteDump", "ImageNtHeader", "LdrRegisterDllNotification"));
}

} // namespace
