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
    ZelkTest::Guard guard = ZelkTest::Guard::END;
    const char* guarded = "guarded at their end";
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--guard=start") == 0) {
            guard = ZelkTest::Guard::START;
            guarded = "guarded at their start";
        } else if (std::strcmp(argv[i], "--guard=none") == 0) {
            guard = ZelkTest::Guard::NONE;
            guarded = "unguarded";
        }
    }
    std::printf("Compiled by %s, %u-bit, blocks %s\n", __VERSION__, static_cast<unsigned>(8 * sizeof(void*)), guarded);
    ZelkTest::InstallHost(guard);
    // Appended listeners see a test's end before the printer does, so a failure here still counts for that test.
    testing::UnitTest::GetInstance()->listeners().Append(new BalanceCheck);
    return RUN_ALL_TESTS();
}
