#include "testhost.h"

#include <host/zelkhost.h>

namespace ZelkTest {

void InstallMemory(bool guardStart) {
    ZelkHost::Options options;
    options.memoryMode = guardStart ? ZelkHost::MemoryMode::GUARD_START : ZelkHost::MemoryMode::GUARD_END;
    ZelkHost::Install(options);
}

Balance OutstandingMemory() {
    return {};
}

} // namespace ZelkTest
