// Hunted here: messages that are cut, mixed with another thread's, printed at a level that is off or lost with a file
// that is not there; assertions that speak twice.
#include "capture.h"

#include <gtest/gtest.h>
#include <host/zelkhost.h>
#include <set>
#include <sstream>
#include <tests/os/crowd.h>
#include <zelk_core/base/log.h>

namespace {

using ZelkTest::CapturedError;
using ZelkTest::TemporaryFile;

const Z4::eal_log_dll_interface& g_table = ZelkHost::LogTable();

void Print(unsigned level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    g_table.vprint(1, level, "os/private/thread", 123, format, arguments);
    va_end(arguments);
}

TEST(HostLog, OnlyEnabledLevelsArePrinted) {
    for (unsigned levels = 0; levels < 8; ++levels) {
        const CapturedError error;
        ZelkHost::Install({.logLevels = levels});
        std::string expected;
        for (const unsigned level : {Z4::EAL_LOG_INFO, Z4::EAL_LOG_WARNING, Z4::EAL_LOG_ERROR}) {
            EXPECT_EQ(g_table.is_enabled(1, level) != 0, (levels & level) != 0);
            Print(level, "%u %05d %.2f %ls\n", level, -42, 0.125, L"wide");
            expected += (levels & level) != 0 ? std::to_string(level) + " -0042 0.12 wide\n" : "";
        }
        EXPECT_EQ(error.Text(), expected);
    }
    ZelkHost::Install();
}

TEST(HostLog, AFileIsAppendedToWhateverTheStateOfTheTable) {
    const TemporaryFile file;
    std::ofstream(file.Path(), std::ios::binary) << "kept\n";
    ZelkHost::Install({.logFile = file.Utf8().c_str()});
    Print(Z4::EAL_LOG_ERROR, "before\n");
    g_table.init(Z4::EAL_LOG_VERSION);
    g_table.init(Z4::EAL_LOG_VERSION);
    g_table.shutdown();
    Print(Z4::EAL_LOG_ERROR, "between\n");
    g_table.shutdown();
    g_table.shutdown();
    Print(Z4::EAL_LOG_ERROR, "after\n");
    ZelkHost::Install();
    EXPECT_EQ(file.Content(), "kept\nbefore\nbetween\nafter\n");
}

TEST(HostLog, AFileThatCannotBeOpenedLeavesStandardError) {
    const CapturedError error;
    for (const char* const path : {"", "no such folder\\log.txt", "\xFF"}) {
        ZelkHost::Install({.logFile = path});
        Print(Z4::EAL_LOG_INFO, "here\n");
    }
    ZelkHost::Install();
    EXPECT_EQ(error.Text(), "here\nhere\nhere\n");
}

TEST(HostLog, MessagesOfAnyLengthAndManyThreadsStayWhole) {
    constexpr unsigned THREADS = 8;
    constexpr std::size_t LENGTHS[] = {0, 300, 1021, 1022, 1023, 1024, 5000, 200'000};
    const TemporaryFile file;
    ZelkHost::Install({.logFile = file.Utf8().c_str()});
    std::multiset<std::string> missing;
    for (unsigned i = 0; i < THREADS * 4 * std::size(LENGTHS); ++i) {
        missing.insert(std::string(LENGTHS[i / THREADS % std::size(LENGTHS)], static_cast<char>('a' + i % THREADS)));
    }
    const ZelkTest::LoneWrites lone;
    ZelkTest::RunCrowd(THREADS, [&](unsigned thread) {
        for (std::size_t i = 0; i < 4 * std::size(LENGTHS); ++i) {
            const std::string text(LENGTHS[i % std::size(LENGTHS)], static_cast<char>('a' + thread));
            Print(Z4::EAL_LOG_INFO, "%s\n", text.c_str());
        }
    });
    ZelkHost::Install();
    std::istringstream content(file.Content());
    for (std::string text; std::getline(content, text);) {
        ASSERT_TRUE(missing.extract(text)) << text.size() << " characters";
    }
    EXPECT_TRUE(missing.empty());
}

TEST(HostLog, AnAssertionSpeaksOnceUnlessItHasNoFlag) {
    const std::string line = "os/private/event(77): assertion failed in context 0x40100001: count > 0: nothing left\n";
    const auto fail = [](unsigned long* flag) {
        return g_table.assert_message(0x40100001, "count > 0", "nothing left", "os/private/event", 77, 0, flag);
    };
    const CapturedError error;
    ZelkHost::Install({.logLevels = 0});
    unsigned long flag = 0;
    EXPECT_EQ(fail(&flag), IsDebuggerPresent() != 0);
    EXPECT_NE(flag, 0u);
    EXPECT_EQ(fail(&flag), 0);
    EXPECT_EQ(error.Text(), line);
    fail(nullptr);
    fail(nullptr);
    EXPECT_EQ(error.Text(), line + line + line);
    ZelkHost::Install();
}

} // namespace
