/// @file
/// A complete host for the library: memory, log, files, threads, network and performance tables, ready to install.
/// Programs that have no engine around them (tests, tools, examples) call Install() first; a newcomer copies this
/// folder as the start of a host of his own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <zelk_core/base/ealinterface.h>

namespace ZelkHost {

enum class MemoryMode {
    PLAIN,       ///< the process heap
    GUARD_END,   ///< each block ends at an inaccessible page (as its alignment allows): an overrun faults
    GUARD_START, ///< each block starts behind an inaccessible page: an underrun faults
};

struct Options {
    MemoryMode memoryMode = MemoryMode::PLAIN;
    /// Levels that are printed, or-ed from Z4::EalLogLevel.
    unsigned logLevels = 7;
    /// UTF-8 path of a file that messages are appended to; null for standard error.
    const char* logFile = nullptr;
};

/// Installs all six tables. Call it before the first service starts, from one thread.
void Install(const Options& options = {});

} // namespace ZelkHost
