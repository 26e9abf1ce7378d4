// Runs the examples of the guide, one for each room.
#include "examples.h"

int main() {
    struct Example {
        const char* room;
        void (*show)();
    };
    constexpr Example EXAMPLES[] = {
        {"base", ShowBase},
        {"os", ShowOs},
        {"eal_utils", ShowEalUtils},
        {"generics", ShowGenerics},
        {"math", ShowMath},
        {"geometry", ShowGeometry},
        {"random", ShowRandom},
        {"encryption", ShowEncryption},
        {"compression", ShowCompression},
        {"streams", ShowStreams},
        {"runtimetype", ShowRuntimeType},
        {"dbghelp", ShowDbgHelp},
        {"breakpoints", ShowBreakpoints},
        {"net", ShowNet},
        {"host", ShowHost},
    };
    //! [frame]
    ZelkHost::Install();
    Z4::InitializeBase(); // any service starts the host's log and memory
    for (const Example& example : EXAMPLES) {
        std::printf("%s\n", example.room);
        example.show();
    }
    Z4::ShutdownBase(); // whatever holds memory is gone by now
    //! [frame]
    ShowReplacedSlot();
}
