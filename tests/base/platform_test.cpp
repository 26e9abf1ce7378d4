// Figures of the machine that stand in the wrong field, in the wrong unit or left over from a failed question.
#include <tests/support/importhook.h>
#include <tests/support/testhost.h>

#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>
#include <windows.h>
// Behind the system's own.
#include <psapi.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/platform.h>

using namespace Z4;

TEST(Platform, AgreesWithTheSystem) {
    const Platform& platform = Platform::GetRef();
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    EXPECT_EQ(platform.GetNbProcessors(), system.dwNumberOfProcessors);
    EXPECT_EQ(platform.GetNbCore(), platform.GetNbProcessors());
    EXPECT_TRUE(platform.GetRegionSize() == 0x10000 && platform.GetMinAddress() == 0x10000);
    EXPECT_TRUE(platform.GetMaxAddress() > 0x10000 && platform.GetMemorySize() > 64 << 20);

    const char* drives = platform.GetDrivesNames();
    EXPECT_STREQ(drives, "\\\\");
    char expected[300];
    const unsigned length = GetLogicalDriveStringsA(sizeof(expected), expected);
    ASSERT_GT(length, 0u);
    EXPECT_EQ(std::memcmp(drives + 3, expected, length + 1), 0);
}

TEST(Platform, CacheSizesAreThoseThatTheSystemReports) {
    const Platform& platform = Platform::GetRef();
    const std::uint32_t sizes[] = {0, platform.GetL1CacheSize(), platform.GetL2CacheSize(), platform.GetL3CacheSize()};
    std::vector<SYSTEM_LOGICAL_PROCESSOR_INFORMATION> parts(10'000);
    auto size = static_cast<DWORD>(parts.size() * sizeof(parts[0]));
    ASSERT_TRUE(GetLogicalProcessorInformation(parts.data(), &size));
    parts.resize(size / sizeof(parts[0]));
    for (const auto& part : parts) {
        const CACHE_DESCRIPTOR& cache = part.Cache;
        if (part.Relationship == RelationCache && cache.Type != CacheInstruction) {
            ASSERT_LT(cache.Level, std::size(sizes));
            EXPECT_EQ(sizes[cache.Level], cache.Size) << "level " << int{cache.Level};
            EXPECT_EQ(platform.GetCacheLineSize(), cache.LineSize);
        }
    }
}

namespace {

// Every figure differs from every other and from every difference of two.
constexpr MEMORYSTATUSEX SYSTEM = {
    sizeof(MEMORYSTATUSEX),
    37,
    0x9'0000'0000,
    0x1'0000'0001,
    0x70'0000'0000,
    0x20'0000'0003,
    0x7FFE'0000,
    0x1111'0000,
    0,
};
constexpr SIZE_T PEAK = 0x0123'4560;
constexpr SIZE_T WORKING_SET = 0x0098'7650;
BOOL g_succeed;

BOOL WINAPI GiveSystem(MEMORYSTATUSEX* status) {
    EXPECT_EQ(status->dwLength, sizeof *status);
    *status = SYSTEM;
    return g_succeed;
}

BOOL WINAPI GiveProcess(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size) {
    EXPECT_EQ(process, GetCurrentProcess());
    EXPECT_EQ(size, sizeof(PROCESS_MEMORY_COUNTERS_EX));
    EXPECT_EQ(counters->cb, size);
    std::memset(counters, 0x77, size);
    counters->PeakPagefileUsage = PEAK;
    counters->WorkingSetSize = WORKING_SET;
    return g_succeed;
}

} // namespace

TEST(Platform, MemoryInfoHoldsTheFiguresOfTheSystemOrNone) {
    const ZelkTest::ImportHook system("GlobalMemoryStatusEx", reinterpret_cast<void*>(GiveSystem));
    const ZelkTest::ImportHook process("K32GetProcessMemoryInfo", reinterpret_cast<void*>(GiveProcess));
    g_succeed = TRUE;
    const MemoryInfo info = Platform::GetMemoryInfo();
    EXPECT_EQ(info.usedVirtualMemory, 0x7FFE'0000u - 0x1111'0000u);
    EXPECT_EQ(info.totalVirtualMemory, 0x7FFE'0000u);
    EXPECT_EQ(info.peakPageFileUsage, PEAK);
    EXPECT_EQ(info.workingSetSize, WORKING_SET);
    EXPECT_EQ(info.memoryLoad, 37u);
    EXPECT_EQ(info.usedPhysicalMemory, 0x9'0000'0000u - 0x1'0000'0001u);
    EXPECT_EQ(info.totalPhysicalMemory, 0x9'0000'0000u);
    EXPECT_EQ(info.usedPageFile, 0x70'0000'0000u - 0x20'0000'0003u);
    EXPECT_EQ(info.totalPageFile, 0x70'0000'0000u);

    g_succeed = FALSE;
    const MemoryInfo none = Platform::GetMemoryInfo();
    const MemoryInfo zeros{};
    EXPECT_EQ(std::memcmp(&none, &zeros, sizeof none), 0);
}

TEST(LogPlatformInfo, WritesTheBannerAsOneInformation) {
    const ZelkTest::LogCapture capture;
    LogPlatformInfo();
    capture.ExpectOnly({{EAL_LOG_INFO, "base/private/platform_win32", 677,
                         "\n==== Win64 platform info =============================================\n"
                         "Z4_CORE_VERSION                   40302\n"
                         "Z4_CORE_VERSION_STRING            4.03.02\n"
                         "NTDDI_VERSION                     0x06010000\n"
                         "_WIN32_WINNT                      0x0601\n"
                         "WINVER                            0x0601\n"
                         "_MSC_VER                          1900\n"
                         "_MSC_FULL_VER                     190024210\n"
                         "_MSVC_LANG                        201402L\n"
                         "__cplusplus                       199711L\n"
                         "======================================================================\n"}});
}
