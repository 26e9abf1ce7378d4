#include <cstddef>
#include <cstring>
#include <windows.h>
// Binds the process figures to kernel32's own entry point instead of the separate library of older systems.
#define PSAPI_VERSION 2
#include <psapi.h>
#include <zelk_core/base/log.h>
#include <zelk_core/base/platform.h>
#include <zelk_core/base/private/processor.h>
#include <zelk_core/base/private/singleton.h>
#include <zelk_core/base/version.h>

namespace Z4 {

template <>
struct Private::Layout<MemoryInfo> {
    static_assert(offsetof(MemoryInfo, usedVirtualMemory) == 0);
    static_assert(offsetof(MemoryInfo, totalVirtualMemory) == 8);
    static_assert(offsetof(MemoryInfo, peakPageFileUsage) == 16);
    static_assert(offsetof(MemoryInfo, workingSetSize) == 24);
    static_assert(offsetof(MemoryInfo, memoryLoad) == 32);
    static_assert(offsetof(MemoryInfo, usedPhysicalMemory) == 40);
    static_assert(offsetof(MemoryInfo, totalPhysicalMemory) == 48);
    static_assert(offsetof(MemoryInfo, usedPageFile) == 56);
    static_assert(offsetof(MemoryInfo, totalPageFile) == 64);
    static_assert(sizeof(MemoryInfo) == 72);
};

template <>
struct Private::Layout<Platform> {
    static_assert(offsetof(Platform, m_processorCount) == 0);
    static_assert(offsetof(Platform, m_coreCount) == 4);
    static_assert(offsetof(Platform, m_cacheLineSize) == 8);
    static_assert(offsetof(Platform, m_l1CacheSize) == 12);
    static_assert(offsetof(Platform, m_l2CacheSize) == 16);
    static_assert(offsetof(Platform, m_l3CacheSize) == 20);
    static_assert(offsetof(Platform, m_regionSize) == 24);
    static_assert(offsetof(Platform, m_physicalMemory) == 32);
    static_assert(offsetof(Platform, m_minAddress) == 40);
    static_assert(offsetof(Platform, m_maxAddress) == 44);
    static_assert(offsetof(Platform, m_family) == 48);
    static_assert(offsetof(Platform, m_model) == 52);
    static_assert(offsetof(Platform, m_vendor) == 56);
    static_assert(offsetof(Platform, m_hypervisorPresent) == 60);
    static_assert(offsetof(Platform, m_driveNames) == 61);
};

// The records by which the system is asked hold their own size.
static_assert(sizeof(MEMORYSTATUSEX) == 64);
static_assert(sizeof(PROCESS_MEMORY_COUNTERS_EX) == 44);

namespace {

constexpr char NETWORK_ROOT[] = "\\\\";
constexpr unsigned DRIVE_STRINGS_CAPACITY = 257;

static_assert(Z4_CORE_VERSION == 40302, "The text below says so.");
constexpr Private::Message<> PLATFORM_INFO{EAL_LOG_INFO, "base/private/platform_win32", 677,
                                           "\n==== Win64 platform info =============================================\n"
                                           "Z4_CORE_VERSION                   40302\n"
                                           "Z4_CORE_VERSION_STRING            " Z4_CORE_VERSION_STRING "\n"
                                           "NTDDI_VERSION                     0x06010000\n"
                                           "_WIN32_WINNT                      0x0601\n"
                                           "WINVER                            0x0601\n"
                                           "_MSC_VER                          1900\n"
                                           "_MSC_FULL_VER                     190024210\n"
                                           "_MSVC_LANG                        201402L\n"
                                           "__cplusplus                       199711L\n"
                                           "======================================================================\n"};

constinit Private::Singleton<Platform> g_platform;

bool ReadMemoryStatus(MEMORYSTATUSEX& status) {
    status = {};
    status.dwLength = sizeof(status);
    return GlobalMemoryStatusEx(&status) != 0;
}

std::uint32_t Address(const void* pointer) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer));
}

} // namespace

Platform& Platform::GetRef() {
    return g_platform.Get();
}

Platform::Platform()
    : m_cacheLineSize(0),
      m_l1CacheSize(UNKNOWN_SIZE),
      m_l2CacheSize(UNKNOWN_SIZE),
      m_l3CacheSize(UNKNOWN_SIZE),
      m_hypervisorPresent(false),
      m_driveNames{} {
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    m_processorCount = system.dwNumberOfProcessors;
    m_coreCount = system.dwNumberOfProcessors;
    m_regionSize = system.dwAllocationGranularity;
    m_minAddress = Address(system.lpMinimumApplicationAddress);
    m_maxAddress = Address(system.lpMaximumApplicationAddress);

    m_physicalMemory = GetMemoryInfo().totalPhysicalMemory;

    const Private::ProcessorSignature processor = Private::IdentifyProcessor(Private::Cpuid);
    m_vendor = processor.vendor;
    m_family = processor.family;
    m_model = processor.model;
    m_hypervisorPresent = processor.hypervisorPresent;

    Private::CacheSizes caches;
    if (!Private::ReadCachesDeterministic(Private::Cpuid, caches)) {
        Private::ReadCachesClassical(Private::Cpuid, caches);
    }
    m_l1CacheSize = caches.l1;
    m_l2CacheSize = caches.l2;
    m_l3CacheSize = caches.l3;
    Private::ReadCacheLineSize(Private::Cpuid, m_cacheLineSize);

    static_assert(sizeof(m_driveNames) >= sizeof(NETWORK_ROOT) + DRIVE_STRINGS_CAPACITY);
    std::memcpy(m_driveNames, NETWORK_ROOT, sizeof(NETWORK_ROOT));
    GetLogicalDriveStringsA(DRIVE_STRINGS_CAPACITY, m_driveNames + sizeof(NETWORK_ROOT));
}

MemoryInfo Platform::GetMemoryInfo() {
    MemoryInfo info{};
    MEMORYSTATUSEX memory;
    if (ReadMemoryStatus(memory)) {
        info.usedVirtualMemory = memory.ullTotalVirtual - memory.ullAvailVirtual;
        info.totalVirtualMemory = memory.ullTotalVirtual;
        info.memoryLoad = memory.dwMemoryLoad;
        info.usedPhysicalMemory = memory.ullTotalPhys - memory.ullAvailPhys;
        info.totalPhysicalMemory = memory.ullTotalPhys;
        info.usedPageFile = memory.ullTotalPageFile - memory.ullAvailPageFile;
        info.totalPageFile = memory.ullTotalPageFile;
    }
    PROCESS_MEMORY_COUNTERS_EX process{};
    process.cb = sizeof(process);
    if (GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&process),
                             sizeof(process)) != 0) {
        info.peakPageFileUsage = process.PeakPagefileUsage;
        info.workingSetSize = process.WorkingSetSize;
    }
    return info;
}

void LogPlatformInfo() {
    Private::Log(PLATFORM_INFO);
}

} // namespace Z4
