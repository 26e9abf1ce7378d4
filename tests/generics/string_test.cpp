#include <gtest/gtest.h>
#include <tests/support/testhost.h>
#include <zelk_core/generics/string.h>

namespace {

TEST(String, SharesOneTextUntilItChanges) {
    const std::size_t before = ZelkTest::OutstandingMemory().blocks;
    {
        Z4::ZelkString first = "Default";
        Z4::ZelkString second = first;
        EXPECT_EQ(first.CStr(), second.CStr());
        EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before + 1);
        second += "!";
        EXPECT_EQ(first, "Default");
        EXPECT_EQ(second, "Default!");
        first = second;
        first = *&first;
        EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before + 1);
        second = std::move(first);
        EXPECT_TRUE(first.IsEmpty());
        EXPECT_STREQ(second.CStr(), "Default!");
    }
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before);
}

} // namespace
