#include "testhost.h"

#include <cstdio>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

/// Fails a test that leaves library memory behind.
class BalanceCheck : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        const ZelkTest::Balance balance = ZelkTest::OutstandingMemory();
        EXPECT_EQ(balance.blocks, ZelkTest::LeftBehind().blocks) << "blocks left behind";
        EXPECT_EQ(balance.bytes, ZelkTest::LeftBehind().bytes) << "bytes left behind";
    }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    bool guardStart = false;
    for (int i = 1; i < argc; ++i) {
        guardStart = guardStart || std::strcmp(argv[i], "--guard=start") == 0;
    }
    std::printf("Compiled by %s, %u-bit, blocks guarded at their %s\n", __VERSION__,
                static_cast<unsigned>(8 * sizeof(void*)), guardStart ? "start" : "end");
    ZelkTest::InstallHost(guardStart);
    // Appended listeners see a test's end before the printer does, so a failure here still counts for that test.
    testing::UnitTest::GetInstance()->listeners().Append(new BalanceCheck);
    return RUN_ALL_TESTS();
}
