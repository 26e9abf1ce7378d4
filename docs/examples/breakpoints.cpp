#include "examples.h"

//! [example]
namespace {

volatile long g_score = 0;

void Z4_CDECL Remember(const Z4::HardwareBreakpoint::Hit& hit, void* context) {
    *static_cast<const void**>(context) = hit.instruction; // behind the one that wrote; SymbolHandler can name it
}

bool Z4_CDECL Tell(const char* text, const char* watched, void*) {
    std::printf("%s, which has %s\n", text, watched);
    return false; // true: stop in the debugger, if there is one
}

} // namespace

void ShowBreakpoints() {
    Z4::InitializeDbgHelpService(false);
    unsigned long slot = 0;
    const void* writer = nullptr;
    const Z4::Error result =
        Z4::HardwareBreakpoint::Set(const_cast<const long*>(&g_score), sizeof g_score, Z4::BREAK_ON_WRITE,
                                    Z4::HardwareBreakpoint::ALL_THREADS, Remember, &writer, slot);
    if (result == Z4::ERR_OK) {
        g_score = 100; // who writes this?
        Z4::HardwareBreakpoint::Clear(slot);
    }
    std::printf("%d\n", result == Z4::ERR_UNSUPPORTED || writer != nullptr); // 1

    if (Z4::StringBreakpoint::Set("lamp", Z4::StringBreakpoint::FORMATTER, 0, Tell, nullptr, slot) == Z4::ERR_OK) {
        char text[40];
        Z4::StrFormat::Print(text, sizeof text, "the %s room", "lamp"); // the lamp room, which has lamp
        Z4::StringBreakpoint::Clear(slot);
    }
    Z4::ShutdownDbgHelpService();
}
//! [example]
