#include <tests/support/testhost.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#include <windows.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/platform.h>

using namespace Z4;

TEST(Platform, AgreesWithTheSystem) {
    const Platform& platform = Platform::GetRef();
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    EXPECT_EQ(platform.GetNbProcessors(), system.dwNumberOfProcessors);
    EXPECT_EQ(platform.GetNbCore(), platform.GetNbProcessors());
    EXPECT_EQ(platform.GetRegionSize(), 65536u);
    EXPECT_EQ(platform.GetMinAddress(), 0x10000u);
    EXPECT_GT(platform.GetMaxAddress(), platform.GetMinAddress());
    EXPECT_GT(platform.GetMemorySize(), 64u << 20);

    const char* drives = platform.GetDrivesNames();
    EXPECT_STREQ(drives, "\\\\");
    char expected[300];
    const unsigned length = GetLogicalDriveStringsA(sizeof(expected), expected);
    ASSERT_GT(length, 0u);
    EXPECT_EQ(std::memcmp(drives + 3, expected, length + 1), 0);
}

// Under Wine the machine's own files are drive Z, and Linux says there what it knows of each cache.
TEST(Platform, CacheSizesAreThoseThatLinuxReports) {
    const Platform& platform = Platform::GetRef();
    bool seen = false;
    for (int index = 0; index < 8; ++index) {
        const std::string folder = "Z:\\sys\\devices\\system\\cpu\\cpu0\\cache\\index" + std::to_string(index) + "\\";
        const auto read = [&](const char* name) {
            std::ifstream file(folder + name);
            std::string text;
            std::getline(file, text);
            return text;
        };
        const std::string type = read("type");
        if (type != "Data" && type != "Unified") {
            continue;
        }
        seen = true;
        const std::string size = read("size");
        ASSERT_EQ(size.back(), 'K');
        const auto bytes = static_cast<std::uint32_t>(std::strtoul(size.c_str(), nullptr, 10) * 1024);
        const int level = std::atoi(read("level").c_str());
        EXPECT_EQ(level == 1   ? platform.GetL1CacheSize()
                  : level == 2 ? platform.GetL2CacheSize()
                               : platform.GetL3CacheSize(),
                  bytes)
            << "level " << level;
        EXPECT_EQ(platform.GetCacheLineSize(), std::strtoul(read("coherency_line_size").c_str(), nullptr, 10));
    }
    if (!seen) {
        GTEST_SKIP() << "no Linux beneath, or one that tells nothing of its caches";
    }
}

TEST(Platform, IsBuiltOnce) {
    std::vector<Platform*> seen(8);
    std::vector<std::thread> threads;
    for (Platform*& slot : seen) {
        threads.emplace_back([&slot] { slot = &Platform::GetRef(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Platform* platform : seen) {
        EXPECT_EQ(platform, &Platform::GetRef());
    }
}

TEST(Platform, MemoryInfoIsASnapshotOfThisProcess) {
    const MemoryInfo before = Platform::GetMemoryInfo();
    EXPECT_GT(before.totalVirtualMemory, 1u << 30);
    EXPECT_LT(before.usedVirtualMemory, before.totalVirtualMemory);
    EXPECT_LE(before.memoryLoad, 100u);
    EXPECT_LE(before.usedPhysicalMemory, before.totalPhysicalMemory);
    EXPECT_LE(before.usedPageFile, before.totalPageFile);
    EXPECT_GT(before.workingSetSize, 1u << 20);

    constexpr SIZE_T RESERVED = 64 << 20;
    void* const region = VirtualAlloc(nullptr, RESERVED, MEM_RESERVE, PAGE_NOACCESS);
    ASSERT_NE(region, nullptr);
    const MemoryInfo after = Platform::GetMemoryInfo();
    VirtualFree(region, 0, MEM_RELEASE);
    EXPECT_GE(after.usedVirtualMemory, before.usedVirtualMemory);
}

TEST(LogPlatformInfo, WritesTheBannerAsOneInformation) {
    ZelkTest::LogCapture capture;
    LogPlatformInfo();
    ASSERT_EQ(capture.Lines().size(), 1u);
    const ZelkTest::LogLine line = capture.Lines()[0];
    EXPECT_EQ(line.level, EAL_LOG_INFO);
    EXPECT_EQ(line.file, "base/private/platform_win32");
    EXPECT_EQ(line.line, 677u);
    EXPECT_EQ(line.text, line.format);
    std::istringstream text(line.text);
    std::vector<std::string> rows;
    for (std::string row; std::getline(text, row);) {
        rows.push_back(row);
    }
    ASSERT_EQ(rows.size(), 12u);
    EXPECT_EQ(rows[0], "");
    EXPECT_EQ(rows[1], "==== Win64 platform info =============================================");
    EXPECT_EQ(rows[2], "Z4_CORE_VERSION                   40302");
    EXPECT_EQ(rows[9], "_MSVC_LANG                        201402L");
    EXPECT_EQ(rows[11], "======================================================================");
}
