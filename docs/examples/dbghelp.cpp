#include "examples.h"

#include <cstring>

//! [example]
void ShowDbgHelp() {
    Z4::InitializeDbgHelpService(); // returns at once; symbols are read on a thread of their own
    Z4::SymbolInfo info;
    const bool isKnown = Z4::SymbolHandler::Instance().Resolve(reinterpret_cast<const void*>(&ShowDbgHelp), info);
    std::printf("%d, %s\n", isKnown,
                std::strstr(info.module, "guide_examples") != nullptr ? "this program" : info.module);

    const unsigned long depth = Z4::StackSizeMonitorDb::Instance().Sample(); // bytes of stack used here
    std::printf("%d\n", depth > 0);                                          // 1
    Z4::ShutdownDbgHelpService();
}
//! [example]
