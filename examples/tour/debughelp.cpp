// The modules of this process, the names behind addresses of code, a call stack, how deep the stack was, and who wrote
// a variable.
#include "tour.h"

#include <cstdlib>
#include <zelk_core/zelk_core.h>

namespace {

void PrintSymbol(const char* what, const void* address) {
    Z4::SymbolInfo info;
    Z4::SymbolHandler::Instance().Resolve(address, info);
    Print("   %-24s %s+%u in %s\n", what, info.function[0] != '\0' ? info.function : "?",
          static_cast<unsigned>(info.displacement), Z4::Path::FileName(info.module).Data());
}

/// What qsort() calls: how it came to that is on the stack.
int CompareAndLook(const void* left, const void* right) {
    static bool hasLooked = false;
    if (!hasLooked) {
        hasLooked = true;
        Z4::CallStack stack;
        stack.Capture(0);
        Print("   %-24s of %u frames, in a comparison that the C library calls\n", "call stack",
              static_cast<unsigned>(stack.GetCount()));
        for (unsigned long i = 0; i < stack.GetCount() && i < 6; ++i) {
            char line[256];
            stack.FrameToText(i, line, sizeof line, Z4::CallStack::ORIGINS);
            Print("      %s\n", line);
        }
    }
    return *static_cast<const int*>(left) - *static_cast<const int*>(right);
}

volatile long g_watched = 0;

Z4_NOINLINE void WriteWatched(long value) {
    g_watched = value;
}

struct Written {
    const void* instruction;
    long value;
};

void Z4_CDECL NoteWrite(const Z4::HardwareBreakpoint::Hit& hit, void* context) {
    *static_cast<Written*>(context) = {hit.instruction, g_watched};
}

void PrintWriter() {
    Written written{};
    unsigned long slot = 0;
    const Z4::Error result =
        Z4::HardwareBreakpoint::Set(const_cast<const long*>(&g_watched), sizeof g_watched, Z4::BREAK_ON_WRITE,
                                    Z4::HardwareBreakpoint::ALL_THREADS, NoteWrite, &written, slot);
    if (result != Z4::ERR_OK) {
        Print("   %-24s %s\n", "hardware breakpoint", Z4::GetErrorString(result));
        return;
    }
    WriteWatched(1804);
    Z4::HardwareBreakpoint::Clear(slot);
    const auto* const function = reinterpret_cast<const char*>(&WriteWatched);
    Print("   %-24s hit %u time, value %d, %d bytes into WriteWatched\n", "hardware breakpoint",
          static_cast<unsigned>(Z4::HardwareBreakpoint::GetHits(slot)), static_cast<int>(written.value),
          static_cast<int>(static_cast<const char*>(written.instruction) - function));
    PrintSymbol("the instruction behind", written.instruction);
}

} // namespace

void TourDebugHelp() {
    Chapter("services/dbghelp", "modules, symbols, stacks and breakpoints of this process");
    Z4::StopWatch watch(true);
    Z4::InitializeDbgHelpService();
    const unsigned long long startUp = watch.GetElapsedUSec();
    const bool loaded = Z4::WinDbgHelp::Instance().IsLoaded();
    watch.Stop();
    Print("   %-24s start-up %llu us, symbols %s after %llu us on a thread of their own\n", "dbghelp.dll", startUp,
          loaded ? "there" : "missing", watch.GetElapsedUSec());

    Z4::ProgramModuleDB& modules = Z4::ProgramModuleDB::Instance();
    Print("   %-24s %u are loaded\n", "modules", static_cast<unsigned>(modules.GetCount()));
    PrintSymbol("GetErrorString", reinterpret_cast<const void*>(&Z4::GetErrorString));
    PrintSymbol("TourDebugHelp", reinterpret_cast<const void*>(&TourDebugHelp));
    int numbers[] = {3, 1, 2};
    modules.Prepare();
    std::qsort(numbers, 3, sizeof numbers[0], CompareAndLook);
    Print("   %-24s %u bytes of stack at this line\n", "main thread",
          static_cast<unsigned>(Z4::StackSizeMonitorDb::Instance().Sample()));
    PrintWriter();
    Z4::ShutdownDbgHelpService();
}
