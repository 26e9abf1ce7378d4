// A crash that tells where it happened: an unhandled-exception filter that prints the named call stack. The program
// loads a level that is not there, on purpose.
#include <windows.h>

#include <cstdio>
#include <host/zelkhost.h>
#include <zelk_core/zelk_core.h>

namespace {

/// On the crashed thread, whatever is broken: what it needs is there beforehand, and the stack may be nearly full.
LONG WINAPI PrintCrash(EXCEPTION_POINTERS* exception) {
    static Z4::CallStack stack;
    static char text[16384];
    stack.CaptureFrom(exception->ContextRecord);
    // First by what is in memory, which nothing can keep from being printed, and then by all that is known.
    stack.ToText(text, sizeof text, Z4::CallStack::QUICK);
    std::printf("crash %08lx\n%s\n", exception->ExceptionRecord->ExceptionCode, text);
    std::fflush(stdout);
    stack.ToText(text, sizeof text, Z4::CallStack::LINES | Z4::CallStack::ORIGINS);
    std::printf("%s", text);
    std::fflush(stdout);
    return EXCEPTION_EXECUTE_HANDLER; // ends the process, with the exception's code
}

struct Level {
    int rooms;
};

/// None; and the compiler must not know.
Level* volatile g_moon = nullptr;

Z4_NOINLINE int LoadLevel(Level* level) {
    level->rooms = 12;
    return level->rooms;
}

Z4_NOINLINE int StartGame() {
    const int rooms = LoadLevel(g_moon);
    std::printf("%d rooms\n", rooms);
    return rooms;
}

} // namespace

int main() {
    ZelkHost::Install();
    Z4::InitializeDbgHelpService();
    Z4::ProgramModuleDB::Instance().Prepare();
    // The program's own symbols, for names without the debug-help library. Where there are none, there are offsets.
    static_cast<void>(Z4::SymbolHandler::Instance().LoadSymbolFile(GetModuleHandleA(nullptr), nullptr));
    Z4::WinDbgHelp::Instance().IsLoaded(); // so that the crash need not wait for the symbols
    SetUnhandledExceptionFilter(PrintCrash);
    const int rooms = StartGame();
    Z4::ShutdownDbgHelpService();
    return rooms;
}
