#include "capture.h"

#include <gmock/gmock.h>
#include <host/zelkhost.h>
#include <sstream>
#include <thread>
#include <vector>
#include <zelk_core/base/log.h>

namespace {

using testing::HasSubstr;
using ZelkTest::CapturedError;
using ZelkTest::TemporaryFile;

const Z4::eal_log_dll_interface& g_table = ZelkHost::LogTable();

void Print(unsigned level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    g_table.vprint(1, level, "os/private/thread", 123, format, arguments);
    va_end(arguments);
}

unsigned char FailAssertion(unsigned long* ignoreFlag) {
    return g_table.assert_message(0x40100001, "count > 0", "nothing left", "os/private/event", 77, 0, ignoreFlag);
}

TEST(HostLog, OnlyEnabledLevelsArePrinted) {
    const CapturedError error;
    ZelkHost::Install({.logLevels = Z4::EAL_LOG_WARNING | Z4::EAL_LOG_ERROR});
    EXPECT_EQ(g_table.is_enabled(1, Z4::EAL_LOG_INFO), 0);
    EXPECT_NE(g_table.is_enabled(1, Z4::EAL_LOG_WARNING), 0);
    EXPECT_NE(g_table.is_enabled(1, Z4::EAL_LOG_ERROR), 0);
    Print(Z4::EAL_LOG_INFO, "not this\n");
    Print(Z4::EAL_LOG_WARNING, "%s %05d %.2f %ls\n", "this", -42, 0.125, L"wide");
    EXPECT_EQ(error.Text(), "this -0042 0.12 wide\n");
}

TEST(HostLog, AFileIsAppendedToWhateverTheStateOfTheTable) {
    const TemporaryFile file;
    const std::string path = file.Utf8();
    std::ofstream(file.Path(), std::ios::binary) << "kept\n";
    ZelkHost::Install({.logFile = path.c_str()});
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

TEST(HostLog, MessagesMayHaveAnyLength) {
    const CapturedError error;
    ZelkHost::Install();
    std::string expected;
    for (const std::size_t length : {0u, 1020u, 1021u, 1022u, 200000u}) {
        const std::string text(length, static_cast<char>('a' + length % 26));
        Print(Z4::EAL_LOG_INFO, "%s|%d\n", text.c_str(), 7);
        expected += text + "|7\n";
    }
    EXPECT_EQ(error.Text(), expected);
}

TEST(HostLog, MessagesOfManyThreadsStayWhole) {
    constexpr int THREADS = 8;
    constexpr int MESSAGES = 300;
    const TemporaryFile file;
    const std::string path = file.Utf8();
    ZelkHost::Install({.logFile = path.c_str()});
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < MESSAGES; ++i) {
                const std::string filling(static_cast<std::size_t>(i * 10), static_cast<char>('a' + thread));
                Print(Z4::EAL_LOG_INFO, "%d %d %s.\n", thread, i, filling.c_str());
            }
        });
    }
    threads.clear();
    ZelkHost::Install();

    int next[THREADS] = {};
    std::istringstream lines(file.Content());
    for (std::string line; std::getline(lines, line);) {
        const int thread = line[0] - '0';
        ASSERT_TRUE(thread >= 0 && thread < THREADS) << line;
        const int i = next[thread]++;
        const std::string filling(static_cast<std::size_t>(i * 10), static_cast<char>('a' + thread));
        ASSERT_EQ(line, std::to_string(thread) + " " + std::to_string(i) + " " + filling + ".");
    }
    EXPECT_THAT(next, testing::Each(MESSAGES));
}

TEST(HostLog, AnAssertionSpeaksOnceUnlessItHasNoFlag) {
    constexpr const char* LINE =
        "os/private/event(77): assertion failed in context 0x40100001: count > 0: nothing left\n";
    const CapturedError error;
    ZelkHost::Install({.logLevels = 0});
    unsigned long flag = 0;
    EXPECT_EQ(FailAssertion(&flag), IsDebuggerPresent() != 0);
    EXPECT_NE(flag, 0u);
    EXPECT_EQ(FailAssertion(&flag), 0);
    EXPECT_EQ(error.Text(), LINE);
    FailAssertion(nullptr);
    FailAssertion(nullptr);
    EXPECT_EQ(error.Text(), std::string(LINE) + LINE + LINE);
    ZelkHost::Install();
}

TEST(HostLog, TheLibrarysMessagesArrive) {
    const CapturedError error;
    ZelkHost::Install();
    unsigned long flag = 0;
    EXPECT_EQ(Z4::EalAssertWithMessage(5, "a == b", "some/file", 9, &flag, "differ"), IsDebuggerPresent() != 0);
    EXPECT_THAT(error.Text(), HasSubstr("some/file(9): assertion failed in context 0x00000005: a == b: "));
}

} // namespace
