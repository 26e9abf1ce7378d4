/// @file
/// A complete host for the library: memory, log, files, threads, network and performance tables, ready to install.
/// Programs that have no engine around them (tests, tools, examples) call Install() first; a newcomer copies this
/// folder as the start of a host of his own.
///
/// Any thread may call everything here and in the tables, but for Install(). A table's `init` and `shutdown` may be
/// called again and again: what `init` starts lasts until `shutdown` was called as often as `init`, and one `shutdown`
/// too many does nothing. Where the library was built for another version of a table, its `init` answers -1 and writes
/// a line to standard error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>
#include <zelk_core/base/ealinterface.h>

namespace ZelkHost {

/// Where blocks of memory lie. In the two guarded modes whoever strays over one end of a block, or touches a block that
/// was freed, faults at once: a freed block stays inaccessible until 256 MiB of addresses have been freed after it.
/// Between a block and the ends of its pages alignment can leave some bytes; they are checked when the block is freed,
/// and one that was written to ends the program with a message. A block of size 0 has no accessible byte. Each block
/// takes at least two pages of 4 KiB of address space.
enum class MemoryMode {
    PLAIN,       ///< the process heap; small blocks that were freed are kept for the next ones of their size
    GUARD_END,   ///< each block ends at an inaccessible page, as nearly as its alignment allows: an overrun faults
    GUARD_START, ///< each block starts behind an inaccessible page: an underrun faults
};

/// What Install() sets up. The defaults suit a tool: the process heap, and all messages on standard error.
struct Options {
    MemoryMode memoryMode = MemoryMode::PLAIN;
    /// Which messages are printed: levels of Z4::EalLogLevel, combined by or. Failed assertions are always printed.
    unsigned logLevels = 7;
    /// Path, in UTF-8, of a file to which messages are appended. Null prints them to standard error, and so does a file
    /// that cannot be opened, for as long as it cannot. The first message opens the file, and the log's last `shutdown`
    /// closes it.
    const char* logFile = nullptr;
};

/// Installs all six tables and copies the options. Call it from one thread, before the first service starts. While no
/// service runs and no block is outstanding, it may be called again with other options.
void Install(const Options& options = {});

/// @name The tables
/// What Install() hands to the library: for hosts that copy a table, replace some of its slots, and install it.
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

/// A context and what it has taken.
struct MemoryContext {
    int id;
    std::string name; ///< as given to `name_id`; empty when none was given, or when there was no memory for it
    MemoryStatistics statistics;
};

/// What the context `id` holds and held; all zero for one that never allocated.
MemoryStatistics GetMemoryStatistics(int id);

/// Every context that was named or has allocated, by ascending identifier.
std::vector<MemoryContext> GetMemoryContexts();

/// Writes a line to standard error for each context that holds blocks. The memory table's last `shutdown` calls it.
/// @return how many blocks all contexts hold.
std::size_t ReportLeaks();

/// Makes the memory table refuse allocations, to test what callers make of it: `count` of them, SIZE_MAX for all that
/// come, beginning with the `first`-th from now; 1 is the next, and 0 refuses none. It replaces what was set before.
/// Reallocations count as allocations; calls with an invalid alignment do not count.
/// @return how many allocations the setting before this one refused. A test that runs an operation with its 1st, 2nd,
/// 3rd allocation refused has tried all of them when this is 0.
std::size_t FailAllocations(std::size_t first, std::size_t count = 1);

} // namespace ZelkHost
