// What reaches the host changed, cut in the wrong place, or not at all: messages, assertions, broken contracts.
#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <string>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/base/log.h>

using namespace Z4;
using ZelkTest::LogCapture;

TEST(Log, PassesEnabledMessagesUnformattedAndDropsTheRest) {
    LogCapture capture(EAL_LOG_ERROR);
    Private::Log(EAL_LOG_WARNING, "room/private/file", 12, "dropped\n");
    EXPECT_TRUE(capture.Lines().empty());
    EXPECT_EQ(capture.Questions(), 1u);

    Private::Log(EAL_LOG_ERROR, "room/private/file", 34, "%d %s\n\n", 7, "seven");
    constexpr Private::Message<int, const char*> MESSAGE{EAL_LOG_ERROR, "room/private/file", 56, "%d %s\n"};
    Private::Log(MESSAGE, 8, "eight");
    capture.ExpectOnly({{4, "room/private/file", 34, "7 seven\n\n"}, {4, "room/private/file", 56, "8 eight\n"}});
    EXPECT_EQ(capture.Lines()[0].format, "%d %s\n\n");
}

namespace {

struct AssertCall {
    int id;
    std::string expression, message, file;
    unsigned long line, line2;
    unsigned long* ignoreFlag;
};
AssertCall g_assert;
unsigned char g_assertAnswer;

unsigned char Z4_CDECL RecordAssert(int id, const char* expression, const char* message, const char* file,
                                    unsigned long line, unsigned long line2, unsigned long* ignoreFlag) {
    g_assert = {id, expression, message, file, line, line2, ignoreFlag};
    if (ignoreFlag != nullptr) {
        *ignoreFlag = 1;
    }
    return g_assertAnswer;
}

/// A log table with nothing but the assertion slot; the program's own comes back at the end.
struct AssertHost {
    AssertHost() {
        eal_log_dll_interface log{};
        log.assert_message = RecordAssert;
        SetEalInterface(log);
    }
    ~AssertHost() { ZelkTest::ReinstallHost(); }
};

} // namespace

TEST(EalAssertWithMessage, FormatsTruncatesAndReturnsTheHostsAnswer) {
    const AssertHost host;
    unsigned long ignore = 0;
    g_assertAnswer = 0;
    EXPECT_FALSE(EalAssertWithMessage(5, "a < b", "file.cpp", 99, &ignore, "%d and %s", 3, "four"));
    EXPECT_EQ(g_assert.id, 5);
    EXPECT_EQ(g_assert.expression, "a < b");
    EXPECT_EQ(g_assert.message, "3 and four");
    EXPECT_EQ(g_assert.file, "file.cpp");
    EXPECT_EQ(g_assert.line, 99u);
    EXPECT_EQ(g_assert.line2, 0u);
    EXPECT_EQ(g_assert.ignoreFlag, &ignore);
    EXPECT_EQ(ignore, 1u);

    // Any non-zero byte is a yes.
    g_assertAnswer = 0x40;
    const std::string longText(5000, 'x');
    EXPECT_TRUE(EalAssertWithMessage(5, "e", "f", 1, nullptr, "%s", longText.c_str()));
    EXPECT_EQ(g_assert.message, std::string(1023, 'x'));
}

TEST(Assert, ReportsABrokenDutyUntilTheHostSilencesItsPlace) {
    const AssertHost host;
    g_assertAnswer = 0;
    unsigned reports = 0;
    for (int value = 0; value < 4; ++value) {
        g_assert = {};
        Z4_ASSERT(value < 2, "The value is below 2.");
        if (!g_assert.message.empty()) {
            ++reports;
            EXPECT_EQ(g_assert.id, EAL_ID_ZELK_CORE);
            EXPECT_EQ(g_assert.expression, "value < 2");
            EXPECT_EQ(g_assert.message, "The value is below 2.");
            EXPECT_NE(g_assert.file.find("log_test.cpp"), std::string::npos);
        }
    }
    EXPECT_EQ(reports, 1u);

    unsigned long ignore = 0;
    g_assertAnswer = 1;
    EXPECT_TRUE(Private::ContractBroken("e", "f", 1, "s", &ignore));
    EXPECT_FALSE(Private::ContractBroken("e", "f", 1, "s", &ignore)) << "silenced by the first";
    SetEalInterface(eal_log_dll_interface{});
    EXPECT_TRUE(Private::ContractBroken("e", "f", 1, "s", &ignore)) << "nobody there to hear it";
}

TEST(SetEalInterface, TheSecondTableReplacesTheFirst) {
    const AssertHost host;
    eal_log_dll_interface second{};
    second.assert_message = [](int, const char*, const char*, const char*, unsigned long, unsigned long,
                               unsigned long*) -> unsigned char { return 1; };
    SetEalInterface(second);
    second = {}; // The library keeps a copy.
    g_assert.message = "untouched";
    EXPECT_TRUE(EalAssertWithMessage(5, "e", "f", 1, nullptr, "m"));
    EXPECT_EQ(g_assert.message, "untouched");
}

TEST(EALId, ComparesWithItselfAndWithNumbers) {
    static_assert(sizeof(EALId) == 4);
    const EALId library(EAL_ID_ZELK_CORE);
    EXPECT_EQ(library, EALId(0x40100001));
    EXPECT_NE(library, EALId(EAL_ID_VOID));
    EXPECT_TRUE(library == 0x40100001);
    EXPECT_TRUE(-1 == EALId(EAL_ID_VOID));
    EXPECT_TRUE(library != 3);
}
