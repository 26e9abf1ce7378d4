// Faults hunted: counts taken for one another, a count lost, doubled or given beyond the maximum, a semaphore where
// there is none. How it excludes as a lock, locks_test.cpp tests.
#include <algorithm>
#include <gtest/gtest.h>
#include <zelk_core/os/event.h>
#include <zelk_core/os/semaphore.h>

namespace {

using namespace Z4;

/// Takes every free count and gives them back.
unsigned FreeCounts(Semaphore& semaphore) {
    unsigned counts = 0;
    for (; semaphore.TryLock(); ++counts) {
    }
    for (unsigned i = 0; i < counts; ++i) {
        semaphore.Unlock();
    }
    return counts;
}

TEST(SemaphoreCounts, StayBetweenZeroAndTheMaximum) {
    const struct {
        unsigned long initial, maximum, free; // free at first
        bool isThere = true;
    } rows[] = {{2, 3, 2}, {0, 1, 0}, {3, 3, 3}, {0, 0, 0, false}, {2, 1, 0, false}, {0, 0x80000000, 0, false}};
    for (const auto& [initial, maximum, free, isThere] : rows) {
        SCOPED_TRACE(testing::Message() << initial << " of " << maximum);
        Semaphore semaphore(initial, maximum, nullptr);
        EXPECT_EQ(FreeCounts(semaphore), free);
        for (unsigned given = 1; given <= 4; ++given) {
            semaphore.Unlock();
            EXPECT_EQ(FreeCounts(semaphore), isThere ? std::min(free + given, maximum) : 0);
        }
        semaphore.Lock(); // also where there is none
        EXPECT_EQ(FreeCounts(semaphore), isThere ? maximum - 1 : 0);
    }
    Semaphore greatest(0x7FFFFFFF, 0x7FFFFFFF, nullptr);
    EXPECT_TRUE(greatest.TryLock());
}

TEST(SemaphoreName, IsSharedByItsSemaphoresAlone) {
    Semaphore first(1, 2, "zelk semaphore test");
    Semaphore second(2, 9, "zelk semaphore test");
    EXPECT_EQ(FreeCounts(second), 1u) << "the first one's counts stay";
    second.Lock();
    EXPECT_FALSE(first.TryLock());

    Event event(true, true, "zelk taken name");
    Semaphore none(1, 1, "zelk taken name");
    EXPECT_FALSE(none.TryLock());
    EXPECT_TRUE(event.TryWait());
}

} // namespace
