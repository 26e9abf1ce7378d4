/// @file
/// The machine that the process runs on: its processors, caches, memory and drives.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

namespace Private {
template <class T>
class Singleton;
}

/// Makers of processors, told apart by the text that the processor's CPUID instruction gives.
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

/// How much memory is in use at one moment. Sizes are in bytes. Figures that the system does not give are 0.
struct MemoryInfo {
    std::uint64_t usedVirtualMemory;   ///< what of this process's address space is reserved or in use
    std::uint64_t totalVirtualMemory;  ///< size of this process's address space
    std::uint64_t peakPageFileUsage;   ///< most private memory that this process has had so far
    std::uint64_t workingSetSize;      ///< physical memory of this process
    std::uint32_t memoryLoad;          ///< physical memory of the system in use, in percent
    std::uint64_t usedPhysicalMemory;  ///< of the system
    std::uint64_t totalPhysicalMemory; ///< of the system
    std::uint64_t usedPageFile;        ///< of the system's physical memory and page files together
    std::uint64_t totalPageFile;       ///< of the system's physical memory and page files together
};

/// What does not change while the process runs. It is found out once, by the first call of GetRef(). Any thread may
/// call anything at any time, without a started service.
class Platform {
public:
    /// Stands for the size of a cache that could not be found out.
    static constexpr std::uint32_t UNKNOWN_SIZE = 0xFFFFFFFF;

    /// The one object. The first call makes it; a call on another thread waits for that.
    Z4_API static Platform& GetRef();
    /// The figures of this moment.
    Z4_API static MemoryInfo GetMemoryInfo();

    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    /// Logical processors of the processor group that the process runs in.
    std::uint32_t GetNbProcessors() const { return m_processorCount; }
    /// The same number as GetNbProcessors(): logical processors, not physical cores.
    std::uint32_t GetNbCore() const { return m_coreCount; }
    /// Size of a cache line in bytes; 0 when the processor does not tell.
    std::uint32_t GetCacheLineSize() const { return m_cacheLineSize; }
    /// Size in bytes of the data cache of each level that a core uses, shared with other cores or not. UNKNOWN_SIZE
    /// when the processor has none or does not tell.
    std::uint32_t GetL1CacheSize() const { return m_l1CacheSize; }
    std::uint32_t GetL2CacheSize() const { return m_l2CacheSize; }
    std::uint32_t GetL3CacheSize() const { return m_l3CacheSize; }
    /// Of how many bytes the beginning of each reservation of address space is a multiple.
    std::uint32_t GetRegionSize() const { return m_regionSize; }
    /// Physical memory of the system in bytes; 0xFFFFFFFF when it has more, 0 when the system does not tell.
    std::uint32_t GetMemorySize() const {
        return m_physicalMemory <= 0xFFFFFFFF ? static_cast<std::uint32_t>(m_physicalMemory) : 0xFFFFFFFF;
    }
    /// The lowest and the highest address that programs and DLLs can use.
    std::uint32_t GetMinAddress() const { return m_minAddress; }
    std::uint32_t GetMaxAddress() const { return m_maxAddress; }
    /// Family and model in the processor's signature (CPUID leaf 1), 0 to 15 each: the base fields alone, to which the
    /// extended fields are not added.
    std::uint32_t GetFamily() const { return m_family; }
    std::uint32_t GetModel() const { return m_model; }
    ProcessorVendor GetVendor() const { return m_vendor; }
    /// Whether the system runs in a virtual machine, as far as that admits it.
    bool IsHypervisorPresent() const { return m_hypervisorPresent; }
    /// Terminated texts one behind the other, ended by an empty one: first the root of the network, two backslashes,
    /// then the root of each drive, such as "C:\".
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

/// Writes the library's version and build settings to the host's log, as one message of level information. The text is
/// fixed. It names the settings that the library's interface is bound to, not the compiler that built this copy. Needs
/// a started service.
Z4_API void LogPlatformInfo();

} // namespace Z4
