#include "testhost.h"

#include <cstdint>
#include <host/zelkhost.h>
#include <zelk_core/base/ealid.h>

namespace ZelkTest {

void InstallMemory(Guard guard) {
    using ZelkHost::MemoryMode;
    ZelkHost::Options options;
    options.memoryMode = guard == Guard::NONE    ? MemoryMode::PLAIN
                         : guard == Guard::START ? MemoryMode::GUARD_START
                                                 : MemoryMode::GUARD_END;
    ZelkHost::Install(options);
}

Balance OutstandingMemory() {
    const ZelkHost::MemoryStatistics statistics = ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE);
    return {statistics.blocks, statistics.bytes};
}

void FailAllocations(std::size_t first) {
    ZelkHost::FailAllocations(first, SIZE_MAX);
}

} // namespace ZelkTest
