/// @file
/// A complete host for the library: memory, log, files, threads, network and performance tables, ready to install.
/// Programs that have no engine around them (tests, tools, examples) call Install() first; a newcomer copies this
/// folder as the start of a host of his own.
///
/// Everything here and in the tables may be called from any thread, Install() excepted. A table's `init` and
/// `shutdown` may be nested; the last `shutdown` counts, and one too many does nothing. `init` answers -1 and writes
/// a line to standard error when the library was built for another version of the table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>
#include <zelk_core/base/ealinterface.h>

namespace ZelkHost {

/// In the guarded modes a block that is given back stays inaccessible, until the newest 256 MiB of freed addresses
/// have come after it. The bytes that alignment leaves between a block and its pages' ends are checked when it is
/// freed. A block of size 0 has no accessible byte. Each block takes at least two pages of 4 KiB of address space.
enum class MemoryMode {
    PLAIN,       ///< the process heap
    GUARD_END,   ///< each block ends at an inaccessible page (as its alignment allows): an overrun faults
    GUARD_START, ///< each block starts behind an inaccessible page: an underrun faults
};

struct Options {
    MemoryMode memoryMode = MemoryMode::PLAIN;
    /// Levels that are printed, or-ed from Z4::EalLogLevel. Failed assertions are printed always.
    unsigned logLevels = 7;
    /// UTF-8 path of a file that messages are appended to; null for standard error, which also serves while the file
    /// cannot be opened. The file is opened by the first message and closed by the log's last `shutdown`.
    const char* logFile = nullptr;
};

/// Installs all six tables. Call it before the first service starts, from one thread. It may be called again, with
/// other options, while no service runs and no block is outstanding.
void Install(const Options& options = {});

/// @name The tables
/// As Install() hands them to the library, for hosts that replace or wrap single slots.
/// @{
const Z4::eal_mem_dll_interface& MemoryTable();
const Z4::eal_log_dll_interface& LogTable();
const Z4::eal_file_dll_interface& FileTable();
const Z4::eal_thread_dll_interface& ThreadTable();
const Z4::eal_perf_dll_interface& PerformanceTable();
const Z4::eal_net_dll_interface& NetworkTable();
/// @}

/// What one context has taken from the memory table. Sizes are as requested, without any overhead.
struct MemoryStatistics {
    std::size_t blocks;        ///< outstanding
    std::size_t bytes;         ///< outstanding
    std::size_t peakBytes;     ///< the most that was ever outstanding
    std::uint64_t allocations; ///< ever granted, reallocations included
};

struct MemoryContext {
    int id;
    std::string name; ///< as given to `name_id`; empty when none was, or no memory for it
    MemoryStatistics statistics;
};

/// All zero for a context that never allocated.
MemoryStatistics GetMemoryStatistics(int id);

/// Every context that was named or has allocated, by ascending identifier.
std::vector<MemoryContext> GetMemoryContexts();

/// Writes a line to standard error for each context that holds blocks. The memory table's last `shutdown` does this.
/// @return the blocks outstanding in all contexts.
std::size_t ReportLeaks();

/// Lets the memory table refuse `count` allocations, beginning with the `first`-th from now (1 is the next), in place
/// of what was set before; `first` 0 refuses none. A reallocation counts as an allocation, one whose alignment is
/// invalid does not count. A `count` of SIZE_MAX has no end.
/// @return how many allocations the setting before this one refused: a test that fails the 1st, 2nd, 3rd allocation
/// of an operation in turn is through when it gets 0.
std::size_t FailAllocations(std::size_t first, std::size_t count = 1);

} // namespace ZelkHost
