#include "testhost.h"

#include <gtest/gtest.h>
#include <zelk_core/base/ealid.h>

namespace ZelkTest {

namespace {

void Z4_CDECL Free(void* block) {
    EXPECT_NE(block, nullptr) << "The host's free() never gets null.";
    ZelkHost::MemoryTable().free(block);
}

} // namespace

void InstallMemory(ZelkHost::MemoryMode mode) {
    ZelkHost::Install({.memoryMode = mode});
    Z4::eal_mem_dll_interface memory = ZelkHost::MemoryTable();
    memory.free = Free;
    Z4::SetEalInterface(memory);
}

Balance OutstandingMemory() {
    return {ZelkHost::GetMemoryStatistics(Z4::EAL_ID_ZELK_CORE).blocks};
}

void FailAllocations(std::size_t first, std::size_t count) {
    ZelkHost::FailAllocations(first, count);
}

} // namespace ZelkTest
