/// @file
/// A file table whose calls fail on demand, over any other: to test what programs make of full disks, short transfers
/// and files that vanish. It knows no platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <zelk_core/base/ealinterface.h>

namespace ZelkHost {

/// Calls of the table, one bit each, to be combined by or.
enum FileCall : unsigned {
    CALL_OPEN = 1U << 2,  ///< no file is opened, or made
    CALL_CLOSE = 1U << 3, ///< the file is closed all the same
    CALL_READ = 1U << 5,
    CALL_READ_ASYNC = 1U << 6, ///< fails at its start
    CALL_WRITE = 1U << 7,
    CALL_FLUSH = 1U << 9,
    CALL_WRITE_ASYNC = 1U << 14, ///< fails at its start
    CALL_SIZE = 1U << 15,
    CALL_COMPLETION = 1U << 16, ///< asynchronous transfers fail in their completion, after all was transferred
    EVERY_CALL = 0x1FFFF,
};

/// What goes wrong. The defaults let everything pass; each member makes calls fail by itself.
struct FileFaults {
    unsigned calls = 0;    ///< which calls may fail: values of FileCall, combined by or
    std::size_t first = 0; ///< of these calls, counted from now on, the first that fails; 1 is the next, 0 is none
    std::size_t count = 1; ///< how many fail in a row
    Z4::eal_file_status status = Z4::EAL_FILE_HOST_SPECIFIC; ///< with which they fail
    std::uint32_t largestTransfer = 0xFFFFFFFF;              ///< in bytes; transfers of more are short, at least 1 byte
    std::uint64_t room = UINT64_MAX; ///< in bytes; writes of more in all are short, then fail with EAL_FILE_DISK_FULL
};

/// A table that hands its calls on to `table`, which is copied, and lets them fail as InjectFileFaults() says. Install
/// it in the place of `table`, from one thread, before the first service starts. There is one such table at a time.
Z4::eal_file_dll_interface WithFileFaults(const Z4::eal_file_dll_interface& table);

/// Sets what goes wrong from now on, in the place of what was set before. No other thread may use files meanwhile.
/// @return how many calls failed by `calls` of the setting before; those that failed for lack of room are not counted.
/// A test that runs an operation with its 1st, 2nd, 3rd call failing has tried all of them when this is 0.
std::size_t InjectFileFaults(const FileFaults& faults);

} // namespace ZelkHost
