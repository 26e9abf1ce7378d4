// The host that every test runs on, and a way to see what the library logs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <host/zelkhost.h>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>
#include <zelk_core/base/ealinterface.h>

namespace ZelkTest {

struct LogLine {
    int id;
    unsigned level;
    std::string file;
    unsigned long line;
    std::string format; ///< as the library passed it
    std::string text;   ///< formatted by the C library
};

/// What a message should be.
struct ExpectedLine {
    unsigned level;
    const char* file;
    unsigned long line;
    std::string text;
};

/// While it lives, the library's messages are kept here instead of being printed. One at a time.
class LogCapture {
public:
    explicit LogCapture(unsigned levels = 7);
    ~LogCapture();

    std::vector<LogLine> Lines() const;
    /// Expects that there were these messages of the library's and no others, in this order.
    void ExpectOnly(std::initializer_list<ExpectedLine> expected) const;

private:
    friend struct CaptureSlots;
    mutable std::mutex m_mutex;
    unsigned m_levels;
    std::vector<LogLine> m_lines;
};

/// Installs the test program's own tables. Natively the memory has one mode only.
void InstallHost(ZelkHost::MemoryMode mode);

/// The log table among them.
Z4::eal_log_dll_interface LogTable();

/// Puts the program's own tables back after a test that installed others.
void ReinstallHost();

/// What the library holds at this moment.
struct Balance {
    std::size_t blocks;
};
Balance OutstandingMemory();

/// Expects that `blocks` more than at its last call are held, and holds them against no test any more. None may be at a
/// test's end.
void LeaveBehind(std::size_t blocks);

/// Lets the memory table refuse `count` allocations, beginning with the `first`-th from now, or none from now on when
/// that is 0. Without a count they have no end.
void FailAllocations(std::size_t first, std::size_t count = SIZE_MAX);

/// Forms the memory table of the platform at hand; testmemory_*.cpp.
void InstallMemory(ZelkHost::MemoryMode mode);

} // namespace ZelkTest
