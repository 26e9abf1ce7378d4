// Several calls that have one result.
#pragma once

#include <gmock/gmock.h>
#include <vector>
#include <zelk_core/base/error.h>

namespace ZelkTest {

/// Expects that each of several calls, made in any order, has this result.
void ExpectEach(Z4::Error expected, auto... results) {
    EXPECT_THAT((std::vector{static_cast<Z4::Error>(results)...}), testing::Each(expected));
}

} // namespace ZelkTest
