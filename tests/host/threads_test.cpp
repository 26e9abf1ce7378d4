#include <winsock2.h> // before windows.h

#include "capture.h"

#include <atomic>
#include <emmintrin.h>
#include <gtest/gtest.h>
#include <host/zelkhost.h>
#include <vector>

namespace {

const Z4::eal_thread_dll_interface& g_threads = ZelkHost::ThreadTable();
const Z4::eal_net_dll_interface& g_network = ZelkHost::NetworkTable();

TEST(HostThreads, RunAtTheirPriorityAndJoin) {
    const struct {
        Z4::eal_thread_priority asked;
        int expected;
    } cases[] = {
        {Z4::EAL_THREAD_PRIORITY_IDLE, THREAD_PRIORITY_IDLE},
        {Z4::EAL_THREAD_PRIORITY_LOWEST, THREAD_PRIORITY_LOWEST},
        {Z4::EAL_THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_BELOW_NORMAL},
        {Z4::EAL_THREAD_PRIORITY_NORMAL, THREAD_PRIORITY_NORMAL},
        {Z4::EAL_THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_ABOVE_NORMAL},
        {Z4::EAL_THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_HIGHEST},
        {Z4::EAL_THREAD_PRIORITY_TIME_CRITICAL, THREAD_PRIORITY_TIME_CRITICAL},
        {static_cast<Z4::eal_thread_priority>(-1), THREAD_PRIORITY_NORMAL},
        {static_cast<Z4::eal_thread_priority>(7), THREAD_PRIORITY_NORMAL},
    };
    const Z4::eal_thread_entry entry = [](void* argument) {
        Sleep(10); // so that a join which does not wait finds nothing
        *static_cast<int*>(argument) = GetThreadPriority(GetCurrentThread());
    };
    for (const auto& test : cases) {
        int priority = 12345;
        const Z4::eal_thread_handle thread = g_threads.create(1, 0, test.asked, entry, &priority);
        ASSERT_NE(thread, nullptr);
        g_threads.join(thread);
        EXPECT_EQ(priority, test.expected) << test.asked;
    }
}

TEST(HostThreads, HaveTheStackAskedForAndAlignedForVectors) {
    struct Result {
        std::size_t depth = 0;
        bool aligned = false;
    } result;
    const Z4::eal_thread_entry entry = [](void* argument) {
        volatile char deep[6 * 1024 * 1024];
        for (std::size_t i = sizeof(deep); i >= 4096; i -= 4096) {
            deep[i - 1] = 1;
            static_cast<Result*>(argument)->depth += 4096;
        }
        __m128 vector{};
        const std::atomic<void*> address = &vector;
        static_cast<Result*>(argument)->aligned = reinterpret_cast<std::uintptr_t>(address.load()) % 16 == 0;
    };
    const Z4::eal_thread_handle thread =
        g_threads.create(1, 8 * 1024 * 1024, Z4::EAL_THREAD_PRIORITY_NORMAL, entry, &result);
    ASSERT_NE(thread, nullptr);
    g_threads.join(thread);
    EXPECT_EQ(result.depth, 6u * 1024 * 1024);
    EXPECT_TRUE(result.aligned);
}

TEST(HostThreads, WhatCannotStartIsNull) {
    const Z4::eal_thread_entry entry = [](void*) {};
    EXPECT_EQ(g_threads.create(1, 0, Z4::EAL_THREAD_PRIORITY_NORMAL, nullptr, nullptr), nullptr);
    EXPECT_EQ(g_threads.create(1, 0xF0000000u, Z4::EAL_THREAD_PRIORITY_NORMAL, entry, nullptr), nullptr);
    g_threads.join(nullptr);
}

TEST(HostThreads, MayJoinThemselves) {
    struct Shared {
        std::atomic<Z4::eal_thread_handle> thread = nullptr;
        std::atomic<bool> joined = false;
    } shared;
    const Z4::eal_thread_entry entry = [](void* argument) {
        auto& parts = *static_cast<Shared*>(argument);
        parts.thread.wait(nullptr);
        g_threads.join(parts.thread);
        parts.joined = true;
        parts.joined.notify_all();
    };
    shared.thread = g_threads.create(1, 0, Z4::EAL_THREAD_PRIORITY_NORMAL, entry, &shared);
    shared.thread.notify_all();
    shared.joined.wait(false);
}

bool NetworkIsUp() {
    const SOCKET probe = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    const bool up = probe != INVALID_SOCKET;
    if (up) {
        closesocket(probe);
    } else {
        EXPECT_EQ(WSAGetLastError(), WSANOTINITIALISED);
    }
    return up;
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
void RefusesAnotherVersion(const Table& table, unsigned version) {
    const ZelkTest::CapturedError error;
    EXPECT_EQ(table.init(version), 0);
    EXPECT_EQ(error.Text(), "");
    EXPECT_EQ(table.init(version + 1), -1);
    EXPECT_NE(error.Text().find("has version " + std::to_string(version)), std::string::npos) << error.Text();
    table.shutdown();
    table.shutdown();
}

TEST(HostTables, RefuseAnotherVersionAloud) {
    RefusesAnotherVersion(ZelkHost::MemoryTable(), Z4::EAL_MEM_VERSION);
    RefusesAnotherVersion(ZelkHost::LogTable(), Z4::EAL_LOG_VERSION);
    RefusesAnotherVersion(ZelkHost::FileTable(), Z4::EAL_FILE_VERSION);
    RefusesAnotherVersion(ZelkHost::ThreadTable(), Z4::EAL_THREAD_VERSION);
    RefusesAnotherVersion(ZelkHost::NetworkTable(), Z4::EAL_NET_VERSION);
}

TEST(HostTables, PerformanceSlotsTakeAnyCall) {
    for (const Z4::eal_reserved_slot slot : ZelkHost::PerformanceTable().slots) {
        ASSERT_NE(slot, nullptr);
        slot();
    }
}

} // namespace
