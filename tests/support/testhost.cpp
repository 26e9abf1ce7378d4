#include "testhost.h"

#include "contract.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <gtest/gtest.h>
#include <iterator>
#include <zelk_core/base/ealid.h>

namespace ZelkTest {

namespace {

LogCapture* g_capture = nullptr;
Balance g_leftBehind{};
ZelkHost::MemoryMode g_mode{};
std::atomic<bool> g_contractsExpected;
std::atomic<unsigned> g_contractReports;

} // namespace

struct CaptureSlots {
    static unsigned char Z4_CDECL IsEnabled(int, unsigned level) {
        return g_capture == nullptr || (g_capture->m_levels & level) != 0;
    }

    static unsigned char Z4_CDECL Assert(int, const char* expression, const char* message, const char* file,
                                         unsigned long line, unsigned long, unsigned long*) {
        ++g_contractReports;
        if (!g_contractsExpected) {
            ADD_FAILURE_AT(file, static_cast<int>(line)) << expression << ": " << message;
        }
        return 0;
    }

    static void Z4_CDECL Print(int id, unsigned level, const char* file, unsigned long line, const char* format,
                               va_list arguments) {
        char text[4096];
        std::vsnprintf(text, sizeof text, format, arguments);
        if (g_capture == nullptr) {
            std::fputs(text, stderr);
            return;
        }
        const std::lock_guard guard(g_capture->m_mutex);
        g_capture->m_lines.push_back({id, level, file, line, format, text});
    }
};

LogCapture::LogCapture(unsigned levels) : m_levels(levels) {
    g_capture = this;
}

LogCapture::~LogCapture() {
    g_capture = nullptr;
}

std::vector<LogLine> LogCapture::Lines() const {
    const std::lock_guard guard(m_mutex);
    return m_lines;
}

void LogCapture::ExpectOnly(std::initializer_list<ExpectedLine> expected) const {
    const auto shown = [](const auto& line) {
        return std::to_string(line.level) + ' ' + line.file + ':' + std::to_string(line.line) + ' ' + line.text;
    };
    std::vector<std::string> wanted;
    std::transform(expected.begin(), expected.end(), std::back_inserter(wanted), shown);
    std::vector<std::string> seen;
    for (const LogLine& line : Lines()) {
        EXPECT_EQ(line.id, Z4::EAL_ID_ZELK_CORE);
        seen.push_back(shown(line));
    }
    EXPECT_EQ(seen, wanted);
}

ExpectContract::ExpectContract(unsigned reports) : m_expected(reports) {
    g_contractReports = 0;
    g_contractsExpected = true;
}

ExpectContract::~ExpectContract() {
    g_contractsExpected = false;
    EXPECT_EQ(g_contractReports, m_expected) << "broken contracts reported";
}

void LeaveBehind(std::size_t blocks) {
    const Balance balance = OutstandingMemory();
    EXPECT_EQ(balance.blocks, g_leftBehind.blocks + blocks) << "blocks left behind";
    g_leftBehind = balance;
}

void InstallHost(ZelkHost::MemoryMode mode) {
    g_mode = mode;
    InstallMemory(mode);
    Z4::SetEalInterface(LogTable());
}

Z4::eal_log_dll_interface LogTable() {
    Z4::eal_log_dll_interface log{};
    log.init = [](unsigned) { return 0; };
    log.shutdown = [] { return 0; };
    log.is_enabled = CaptureSlots::IsEnabled;
    log.assert_message = CaptureSlots::Assert;
    log.vprint = CaptureSlots::Print;
    return log;
}

void ReinstallHost() {
    InstallHost(g_mode);
}

} // namespace ZelkTest
