// The host of fuzzers whose subject takes memory, and how they complain.
#pragma once

#include <cstdlib>
#include <zelk_core/base/ealinterface.h>

inline void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

inline long g_outstandingBlocks = 0;

inline void InstallMemory() {
    Z4::eal_mem_dll_interface table{};
    table.alloc = [](std::size_t size, std::size_t, unsigned, int) {
        ++g_outstandingBlocks;
        return std::malloc(size);
    };
    table.free = [](void* block) {
        --g_outstandingBlocks;
        std::free(block);
    };
    Z4::SetEalInterface(table);
}

inline void RequireNothingLeft() {
    Require(g_outstandingBlocks == 0);
}
