/// @file
/// What machine the process runs on: processors, caches, memory, drives.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

namespace Private {
template <class T>
class Singleton;
}

/// Processor makers, by the vendor string that CPUID reports.
enum class ProcessorVendor : std::uint32_t {
    AMD = 0,
    INTEL = 1,
    NSC = 2,
    UMC = 3,
    CYRIX = 4,
    NEXGEN = 5,
    CENTAUR = 6,
    RISE = 7,
    TRANSMETA = 8,
    UNKNOWN = 9,
};

/// A snapshot of memory use, all sizes in bytes. The system's figures stay 0 when the system does not tell, the
/// process's figures likewise.
struct MemoryInfo {
    std::uint64_t usedVirtualMemory; ///< of this process's address space
    std::uint64_t totalVirtualMemory;
    std::uint64_t peakPageFileUsage; ///< of this process
    std::uint64_t workingSetSize;    ///< of this process
    std::uint32_t memoryLoad;        ///< of the system's physical memory, in percent
    std::uint64_t usedPhysicalMemory;
    std::uint64_t totalPhysicalMemory;
    std::uint64_t usedPageFile;
    std::uint64_t totalPageFile;
};

/// The machine, looked at once. Any thread; needs no service to be started.
class Platform {
public:
    /// A cache size that could not be found out.
    static constexpr std::uint32_t UNKNOWN_SIZE = 0xFFFFFFFF;

    /// The one object, made at the first call.
    Z4_API static Platform& GetRef();
    Z4_API static MemoryInfo GetMemoryInfo();

    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    /// Logical processors in the process's processor group.
    std::uint32_t GetNbProcessors() const { return m_processorCount; }
    /// The same number.
    std::uint32_t GetNbCore() const { return m_coreCount; }
    /// In bytes; 0 when the processor does not tell.
    std::uint32_t GetCacheLineSize() const { return m_cacheLineSize; }
    /// Data caches as one core sees them, in bytes; UNKNOWN_SIZE when the processor does not tell or has none.
    std::uint32_t GetL1CacheSize() const { return m_l1CacheSize; }
    std::uint32_t GetL2CacheSize() const { return m_l2CacheSize; }
    std::uint32_t GetL3CacheSize() const { return m_l3CacheSize; }
    /// Granularity of address-space reservations, in bytes.
    std::uint32_t GetRegionSize() const { return m_regionSize; }
    /// Total physical memory in bytes, 0xFFFFFFFF when it does not fit 32 bits.
    std::uint32_t GetMemorySize() const {
        return m_physicalMemory <= 0xFFFFFFFF ? static_cast<std::uint32_t>(m_physicalMemory) : 0xFFFFFFFF;
    }
    /// The lowest and the highest address that programs and DLLs can use.
    std::uint32_t GetMinAddress() const { return m_minAddress; }
    std::uint32_t GetMaxAddress() const { return m_maxAddress; }
    /// As in the processor's signature: the base family and model, without the extended fields.
    std::uint32_t GetFamily() const { return m_family; }
    std::uint32_t GetModel() const { return m_model; }
    ProcessorVendor GetVendor() const { return m_vendor; }
    bool IsHypervisorPresent() const { return m_hypervisorPresent; }
    /// Terminated strings, the last followed by an empty one: first the network root "\\\\" (two backslashes), then
    /// the root of each drive, such as "C:\".
    const char* GetDrivesNames() const { return m_driveNames; }

private:
    friend class Private::Singleton<Platform>;
    friend struct Private::Layout<Platform>;

    Platform();

    std::uint32_t m_processorCount;
    std::uint32_t m_coreCount;
    std::uint32_t m_cacheLineSize;
    std::uint32_t m_l1CacheSize;
    std::uint32_t m_l2CacheSize;
    std::uint32_t m_l3CacheSize;
    std::uint32_t m_regionSize;
    std::uint64_t m_physicalMemory;
    std::uint32_t m_minAddress;
    std::uint32_t m_maxAddress;
    std::uint32_t m_family;
    std::uint32_t m_model;
    ProcessorVendor m_vendor;
    bool m_hypervisorPresent;
    char m_driveNames[260];
};

/// Writes the library's version and build settings to the log as one message of level information. The text is fixed:
/// it names the settings that the library's interface is bound to, whatever compiler and word size built this copy.
Z4_API void LogPlatformInfo();

} // namespace Z4
