// What reaches the host changed, cut in the wrong place, or not at all: messages, assertions, broken contracts.
#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/base/log.h>

using namespace Z4;
using ZelkTest::LogCapture;

constexpr EALId LIBRARY(EAL_ID_ZELK_CORE);
static_assert(LIBRARY == EALId(0x40100001) && LIBRARY == 0x40100001 && -1 == EALId(EAL_ID_VOID));
static_assert(LIBRARY != EALId(EAL_ID_VOID) && LIBRARY != 3);

TEST(Log, PassesEnabledMessagesUnformattedAndDropsTheRest) {
    LogCapture capture(EAL_LOG_ERROR);
    Private::Log(EAL_LOG_WARNING, "room/private/file", 12, "dropped\n");
    Private::Log(EAL_LOG_ERROR, "room/private/file", 34, "%d %s\n\n", 7, "seven");
    constexpr Private::Message<int, const char*> MESSAGE{EAL_LOG_ERROR, "room/private/file", 56, "%d %s\n"};
    Private::Log(MESSAGE, 8, "eight");
    capture.ExpectOnly({{4, "room/private/file", 34, "7 seven\n\n"}, {4, "room/private/file", 56, "8 eight\n"}});
    EXPECT_EQ(capture.Lines()[0].format, "%d %s\n\n");
}

namespace {

/// What the host was told of an assertion that failed, in one line.
std::string g_told;
unsigned char g_answer;

/// A log table with nothing but the assertion slot; the program's own comes back at the end.
struct AssertHost {
    AssertHost() {
        g_told.clear();
        eal_log_dll_interface log{};
        log.assert_message = [](int id, const char* expression, const char* message, const char* file,
                                unsigned long line, unsigned long line2, unsigned long* ignoreFlag) -> unsigned char {
            const std::string path = file;
            g_told = std::to_string(id) + ' ' + path.substr(path.find_last_of("/\\") + 1) + ' ' +
                     std::to_string(line + 1000 * line2) + ' ' + expression + ": " + message;
            if (ignoreFlag != nullptr) {
                *ignoreFlag = 1;
            }
            return g_answer;
        };
        SetEalInterface(log);
    }
    ~AssertHost() { ZelkTest::ReinstallHost(); }
};

} // namespace

TEST(EalAssertWithMessage, FormatsTruncatesAndReturnsTheHostsAnswer) {
    const AssertHost host;
    unsigned long ignore = 0;
    g_answer = 0;
    EXPECT_FALSE(EalAssertWithMessage(5, "a < b", "file.cpp", 99, &ignore, "%d and %s", 3, "four"));
    EXPECT_EQ(g_told, "5 file.cpp 99 a < b: 3 and four");
    EXPECT_EQ(ignore, 1u);
    g_answer = 0x40; // any byte but zero is a yes
    const std::string longText(5000, 'x');
    EXPECT_TRUE(EalAssertWithMessage(5, "e", "f", 1, nullptr, "%s", longText.c_str()));
    EXPECT_EQ(g_told, "5 f 1 e: " + std::string(1023, 'x'));
}

TEST(Assert, ReportsABrokenDutyUntilTheHostSilencesItsPlace) {
    const AssertHost host;
    g_answer = 0;
    const std::string told = std::to_string(EAL_ID_ZELK_CORE) + " log_test.cpp " + std::to_string(__LINE__ + 3) +
                             " value < 2: The value is below 2.";
    for (int value = 0; value < 4; ++value) {
        Z4_ASSERT(value < 2, "The value is below 2.");
        EXPECT_EQ(std::exchange(g_told, {}), value == 2 ? told : "");
    }
    unsigned long ignore = 0;
    g_answer = 1;
    EXPECT_TRUE(Private::ContractBroken("e", "f", 1, "s", &ignore));
    EXPECT_FALSE(Private::ContractBroken("e", "f", 1, "s", &ignore)) << "silenced by the first";
    SetEalInterface(eal_log_dll_interface{});
    EXPECT_TRUE(Private::ContractBroken("e", "f", 1, "s", &ignore)) << "nobody there to hear it";
}
