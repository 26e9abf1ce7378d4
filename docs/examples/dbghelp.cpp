#include "examples.h"

#include <cstring>

//! [example]
void ShowDbgHelp() {
    Z4::InitializeDbgHelpService(); // returns at once; symbols are read on a thread of their own
    Z4::SymbolHandler& symbols = Z4::SymbolHandler::Instance();
    const void* const here = reinterpret_cast<const void*>(&ShowDbgHelp);
    Z4::SymbolInfo info;
    const bool isKnown = symbols.Resolve(here, info);
    std::printf("%d, %s\n", isKnown,
                std::strstr(info.module, "guide_examples") != nullptr ? "this program" : info.module);

    Z4::ProgramModuleDB::Module module;
    char name[64] = "";
    if (Z4::ProgramModuleDB::Instance().FindModule(here, module) &&
        symbols.LoadSymbolFile(module.baseAddress, nullptr) == Z4::ERR_OK && symbols.ResolveQuick(here, info)) {
        Z4::SymbolHandler::DemangleQuick(info.function, name, sizeof name);
    }
    std::printf("%s\n", name); // ShowDbgHelp, by the symbols in the program's own file

    const unsigned long depth = Z4::StackSizeMonitorDb::Instance().Sample(); // bytes of stack used here
    std::printf("%d\n", depth > 0);                                          // 1
    Z4::ShutdownDbgHelpService();
}
//! [example]
