// Scenarios under a host that refuses memory: one run for each allocation that they make.
#pragma once

#include <gtest/gtest.h>
#include <tests/support/testhost.h>

namespace ZelkTest {

/// Calls `body(refused)` once with a host that grants everything, and then, for each allocation that this took, twice
/// with `refused` true: the host then refuses that one allocation, and that one and all after it. The body says what it
/// expects of a refusal, and must leave no block behind.
/// @return how many allocations the body makes.
template <class Body>
std::size_t ForEachRefusal(Body body) {
    const std::size_t blocks = OutstandingMemory().blocks;
    const std::size_t granted = GrantedAllocations();
    body(false);
    const std::size_t allocations = GrantedAllocations() - granted;
    EXPECT_EQ(OutstandingMemory().blocks, blocks) << "left behind when nothing is refused";
    for (std::size_t first = 1; first <= allocations; ++first) {
        for (const std::size_t count : {std::size_t{1}, SIZE_MAX}) {
            SCOPED_TRACE(testing::Message() << "allocation " << first << " of " << allocations << " refused"
                                            << (count == 1 ? "" : ", and all after it"));
            FailAllocations(first, count);
            body(true);
            FailAllocations(0);
            EXPECT_EQ(OutstandingMemory().blocks, blocks) << "left behind";
        }
    }
    return allocations;
}

} // namespace ZelkTest
