// A forwarded debug-help call beside the direct one inside a critical section; names of addresses of our own DLL by its
// map and by its exports, beside the library's own hits; and the reading of the map, beside a search for its line feeds
// and a copy of it.
#include <windows.h>

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <dbghelp.h>
#include <fstream>
#include <host/zelkhost.h>
#include <iterator>
#include <optional>
#include <string>
#include <vector>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/symbolhandler.h>
#include <zelk_core/services/dbghelp/symbolmap.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace {

void ForwardedOptions(benchmark::State& state) {
    Z4::WinDbgHelp& debugHelp = Z4::WinDbgHelp::Instance();
    for (auto _ : state) {
        benchmark::DoNotOptimize(debugHelp.SymGetOptions());
    }
}

void DirectOptions(benchmark::State& state) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    const auto getOptions = reinterpret_cast<decltype(&SymGetOptions)>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("dbghelp.dll"), "SymGetOptions")));
    for (auto _ : state) {
        EnterCriticalSection(&section);
        benchmark::DoNotOptimize(getOptions());
        LeaveCriticalSection(&section);
    }
    DeleteCriticalSection(&section);
}

void ForwardedHeader(benchmark::State& state) {
    Z4::WinDbgHelp& debugHelp = Z4::WinDbgHelp::Instance();
    void* const base = GetModuleHandleA(nullptr);
    for (auto _ : state) {
        benchmark::DoNotOptimize(debugHelp.ImageNtHeader(base));
    }
}

void DirectHeader(benchmark::State& state) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    const auto imageNtHeader = reinterpret_cast<decltype(&ImageNtHeader)>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("dbghelp.dll"), "ImageNtHeader")));
    void* const base = GetModuleHandleA(nullptr);
    for (auto _ : state) {
        EnterCriticalSection(&section);
        benchmark::DoNotOptimize(imageNtHeader(base));
        LeaveCriticalSection(&section);
    }
    DeleteCriticalSection(&section);
}

/// Our DLL, its map, and addresses of functions in it.
struct Subject {
    HMODULE base = GetModuleHandleA(ZELK_DLL_FILE);
    std::string map;
    Z4::SymbolMap symbols;
    std::vector<unsigned long> places;

    Subject() {
        char path[MAX_PATH];
        GetModuleFileNameA(base, path, MAX_PATH);
        std::ifstream file(path + std::string(".map"), std::ios::binary);
        map.assign(std::istreambuf_iterator<char>(file), {});
        if (symbols.Read(map.data(), static_cast<unsigned long>(map.size()), {}) != Z4::ERR_OK ||
            Z4::SymbolHandler::Instance().LoadSymbolFile(base, nullptr) != Z4::ERR_OK) {
            std::abort();
        }
        if (Z4::WinDbgHelp::Instance().SymLoadModule64(GetCurrentProcess(), nullptr, path, nullptr,
                                                       reinterpret_cast<ULONG_PTR>(base), 0) == 0) {
            std::abort();
        }
        // Both know these, so that hits are compared with hits.
        for (unsigned long rva = 0x1000; places.size() < 256 && rva < 0x60000; rva += 0x123) {
            Z4::SymbolMap::Symbol symbol;
            if (symbols.Find(rva, symbol) && *symbol.function != '\0' && AskLibrary(rva)) {
                places.push_back(rva);
            }
        }
    }

    bool AskLibrary(unsigned long rva) const {
        struct {
            IMAGEHLP_SYMBOL64 symbol;
            char name[256];
        } record;
        record.symbol.SizeOfStruct = sizeof record.symbol;
        record.symbol.MaxNameLength = sizeof record.name;
        DWORD64 displacement = 0;
        const bool isKnown = Z4::WinDbgHelp::Instance().SymGetSymFromAddr64(
            GetCurrentProcess(), reinterpret_cast<ULONG_PTR>(base) + rva, &displacement, &record.symbol);
        benchmark::DoNotOptimize(record.symbol.Name[0]);
        return isKnown;
    }
};

std::optional<Subject> g_subject; // gone before the host's end

template <class Ask>
void LookUp(benchmark::State& state, Ask ask) {
    const Subject& subject = *g_subject;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ask(subject, subject.places[i++ % subject.places.size()]));
    }
}

void NameByMap(benchmark::State& state) {
    LookUp(state, [](const Subject& subject, unsigned long rva) {
        Z4::SymbolMap::Symbol symbol;
        return subject.symbols.Find(rva, symbol);
    });
}

void NameQuickly(benchmark::State& state) {
    LookUp(state, [](const Subject& subject, unsigned long rva) {
        Z4::SymbolInfo info;
        return Z4::SymbolHandler::Instance().ResolveQuick(reinterpret_cast<const char*>(subject.base) + rva, info);
    });
}

void NameByLibrary(benchmark::State& state) {
    LookUp(state, [](const Subject& subject, unsigned long rva) { return subject.AskLibrary(rva); });
}

void NameByExports(benchmark::State& state) {
    const auto* const address = reinterpret_cast<const char*>(
        reinterpret_cast<void (*)()>(GetProcAddress(GetModuleHandleA("ntdll.dll"), "NtClose")));
    for (auto _ : state) {
        Z4::SymbolInfo info;
        benchmark::DoNotOptimize(Z4::SymbolHandler::Instance().ResolveQuick(address + 3, info));
    }
}

void ReadMap(benchmark::State& state) {
    const std::string& map = g_subject->map;
    for (auto _ : state) {
        Z4::SymbolMap symbols;
        benchmark::DoNotOptimize(symbols.Read(map.data(), static_cast<unsigned long>(map.size()), {}) == Z4::ERR_OK);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * map.size()));
}

void ScanMap(benchmark::State& state) {
    const std::string& map = g_subject->map;
    for (auto _ : state) {
        std::size_t lines = 0;
        const char* place = map.data();
        const char* const end = place + map.size();
        while (const void* const found = std::memchr(place, '\n', static_cast<std::size_t>(end - place))) {
            place = static_cast<const char*>(found) + 1;
            ++lines;
        }
        benchmark::DoNotOptimize(lines);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * map.size()));
}

void CopyMap(benchmark::State& state) {
    const std::string& map = g_subject->map;
    std::string copy(map.size(), ' ');
    for (auto _ : state) {
        std::memcpy(copy.data(), map.data(), map.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * map.size()));
}

} // namespace

BENCHMARK(NameByMap)->Name("symbol_of_address/zelk_map");
BENCHMARK(NameQuickly)->Name("symbol_of_address/zelk_quick");
BENCHMARK(NameByLibrary)->Name("symbol_of_address/debug_help");
BENCHMARK(NameByExports)->Name("export_of_address/zelk");
BENCHMARK(ReadMap)->Name("symbol_file_read/zelk");
BENCHMARK(ScanMap)->Name("symbol_file_read/line_feeds");
BENCHMARK(CopyMap)->Name("symbol_file_read/copy");
BENCHMARK(ForwardedOptions)->Name("debug_help_get_options/zelk");
BENCHMARK(DirectOptions)->Name("debug_help_get_options/locked_call");
BENCHMARK(ForwardedHeader)->Name("debug_help_nt_header/zelk");
BENCHMARK(DirectHeader)->Name("debug_help_nt_header/locked_call");

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    ZelkHost::Install();
    Z4::InitializeDbgHelpService(false);
    Z4::WinDbgHelp::Instance().IsLoaded();
    g_subject.emplace();
    benchmark::RunSpecifiedBenchmarks();
    g_subject.reset();
    Z4::ShutdownDbgHelpService();
}
