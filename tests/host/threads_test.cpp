// Hunted here: threads that start with another priority or stack than was asked for, a join that does not wait or never
// returns, a network that is stopped while somebody counts on it, tables that let a wrong version pass.
#include <winsock2.h> // before windows.h

#include "capture.h"

#include <algorithm>
#include <atomic>
#include <emmintrin.h>
#include <gtest/gtest.h>
#include <host/zelkhost.h>

namespace {

const Z4::eal_thread_dll_interface& g_threads = ZelkHost::ThreadTable();
const Z4::eal_net_dll_interface& g_network = ZelkHost::NetworkTable();

Z4::eal_thread_handle Start(Z4::eal_thread_entry entry, void* argument, std::size_t stackSize = 0,
                            Z4::eal_thread_priority priority = Z4::EAL_THREAD_PRIORITY_NORMAL) {
    return g_threads.create(1, stackSize, priority, entry, argument);
}

TEST(HostThreads, RunAtTheirPriorityAndJoin) {
    // From one below the lowest priority to one above the highest.
    constexpr int EXPECTED[] = {
        THREAD_PRIORITY_NORMAL,       THREAD_PRIORITY_IDLE,          THREAD_PRIORITY_LOWEST,
        THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_NORMAL,        THREAD_PRIORITY_ABOVE_NORMAL,
        THREAD_PRIORITY_HIGHEST,      THREAD_PRIORITY_TIME_CRITICAL, THREAD_PRIORITY_NORMAL};
    const Z4::eal_thread_entry entry = [](void* argument) {
        Sleep(10); // so that a join which does not wait finds nothing
        *static_cast<int*>(argument) = GetThreadPriority(GetCurrentThread());
    };
    for (int asked = Z4::EAL_THREAD_PRIORITY_IDLE - 1; const int expected : EXPECTED) {
        int priority = 12345;
        g_threads.join(Start(entry, &priority, 0, static_cast<Z4::eal_thread_priority>(asked)));
        EXPECT_EQ(priority, expected) << asked;
        ++asked;
    }
}

TEST(HostThreads, HaveTheStackAskedForAndAlignedForVectors) {
    bool aligned = false;
    const Z4::eal_thread_entry entry = [](void* argument) {
        volatile char deep[6 * 1024 * 1024]; // more than threads have by default
        for (std::size_t i = sizeof(deep); i >= 4096; i -= 4096) {
            deep[i - 1] = 1;
        }
        __m128 vector{};
        const std::atomic<void*> address = &vector;
        *static_cast<bool*>(argument) = reinterpret_cast<std::uintptr_t>(address.load()) % 16 == 0;
    };
    g_threads.join(Start(entry, &aligned, 8 * 1024 * 1024));
    EXPECT_TRUE(aligned);
}

TEST(HostThreads, WhatCannotStartIsNull) {
    EXPECT_EQ(Start(nullptr, nullptr), nullptr);
    EXPECT_EQ(Start([](void*) {}, nullptr, 0xF0000000u), nullptr);
    g_threads.join(nullptr);
}

TEST(HostThreads, MayJoinThemselves) {
    static std::atomic<Z4::eal_thread_handle> thread;
    const Z4::eal_thread_entry joinItself = [](void*) {
        while (thread == nullptr) {
            Sleep(1);
        }
        g_threads.join(thread);
        thread = nullptr;
    };
    thread = Start(joinItself, nullptr);
    while (thread != nullptr) {
        Sleep(1);
    }
}

bool NetworkIsUp() {
    const SOCKET probe = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    return probe != INVALID_SOCKET && closesocket(probe) == 0;
}

TEST(HostNetwork, IsUpFromTheFirstInitToTheLastShutdown) {
    EXPECT_FALSE(NetworkIsUp());
    for (int round = 0; round < 2; ++round) {
        g_network.shutdown();
        EXPECT_EQ(g_network.init(Z4::EAL_NET_VERSION), 0);
        EXPECT_EQ(g_network.init(Z4::EAL_NET_VERSION), 0);
        g_network.shutdown();
        EXPECT_TRUE(NetworkIsUp());
        g_network.shutdown();
        EXPECT_FALSE(NetworkIsUp());
        g_network.shutdown();
    }
}

template <class Table>
void RefusesAnotherVersion(const Table& table, const char* name, unsigned version) {
    const ZelkTest::CapturedError error;
    EXPECT_EQ(table.init(version), 0);
    EXPECT_EQ(table.init(version + 1), -1);
    EXPECT_EQ(error.Text(), std::string("zelk_host: the ") + name + " table has version " + std::to_string(version) +
                                ", the library wants " + std::to_string(version + 1) + "\n");
    table.shutdown();
    table.shutdown();
}

TEST(HostTables, RefuseAnotherVersionAloud) {
    RefusesAnotherVersion(ZelkHost::MemoryTable(), "memory", Z4::EAL_MEM_VERSION);
    RefusesAnotherVersion(ZelkHost::LogTable(), "log", Z4::EAL_LOG_VERSION);
    RefusesAnotherVersion(ZelkHost::FileTable(), "file", Z4::EAL_FILE_VERSION);
    RefusesAnotherVersion(ZelkHost::ThreadTable(), "thread", Z4::EAL_THREAD_VERSION);
    RefusesAnotherVersion(ZelkHost::NetworkTable(), "network", Z4::EAL_NET_VERSION);
    std::ranges::for_each(ZelkHost::PerformanceTable().slots, [](Z4::eal_reserved_slot slot) { slot(); });
}

} // namespace
