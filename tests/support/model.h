// Random operations on an object and, beside it, on a simple model of it.
#pragma once

#include <algorithm>
#include <compare>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <tests/support/random.h>
#include <tests/support/testhost.h>
#include <utility>
#include <vector>

namespace ZelkTest {

/// An element that knows where it lives: it notices when its bytes are moved without it and when it is used dead. One
/// that was moved from has the value -1.
class Counted {
public:
    Counted() : Counted(0) {}
    Counted(int value) : m_self(this), m_value(value) { ++alive; }
    Counted(const Counted& other) : Counted(other.Value()) {}
    Counted(Counted&& other) noexcept : Counted(other.Take()) {}
    ~Counted() {
        Check();
        m_self = nullptr;
        --alive;
    }
    Counted& operator=(const Counted& other) {
        Check();
        m_value = other.Value();
        return *this;
    }
    Counted& operator=(Counted&& other) noexcept {
        Check();
        m_value = other.Take();
        return *this;
    }
    static void* operator new(std::size_t) = delete; // must not hide the placement

    int Value() const {
        Check();
        return m_value;
    }
    friend bool operator==(const Counted& left, const Counted& right) { return left.Value() == right.Value(); }
    friend auto operator<=>(const Counted& left, const Counted& right) { return left.Value() <=> right.Value(); }

    static inline int alive = 0;

private:
    void Check() const {
        if (m_self != this) {
            ADD_FAILURE() << "an element was used that is not alive";
        }
    }
    int Take() {
        Check();
        return std::exchange(m_value, -1);
    }

    const Counted* m_self;
    int m_value;
};

/// Expects that the comparisons order the values as they stand, all different.
template <class T, std::size_t COUNT>
void ExpectAscending(const T (&values)[COUNT]) {
    for (const T& left : values) {
        for (const T& right : values) {
            EXPECT_EQ(left <=> right, &left <=> &right) << &left - values << ", " << &right - values;
            EXPECT_EQ(left == right, &left == &right) << &left - values << ", " << &right - values;
        }
    }
}

/// @tparam Arguments what an operation is applied with, made from `{const Model&, Input&}`.
template <class Real, class Model, class Arguments>
struct Operation {
    const char* name;
    /// Does the same to both. False when the real one did not do it, as it may when the host refuses memory; the model
    /// is then put back to what it was.
    bool (*apply)(Real& real, Model& model, const Arguments& arguments);
};

/// Applies `steps` operations, chosen at random. During every fourth the host refuses memory, from one of the first 20
/// allocations on and mostly from an early one. After each, `compare()` says what does not agree. The first failure
/// ends the run and is told with the last ten operations.
template <class Real, class Model, class Arguments, class Compare>
void RunModel(Real& real, Model& model, std::span<const Operation<Real, Model, Arguments>> operations, Input& input,
              unsigned steps, Compare compare) {
    std::vector<std::string> history;
    for (unsigned step = 0; step < steps; ++step) {
        const auto& operation = operations[input.Below(static_cast<unsigned>(operations.size()))];
        const Model before = model;
        const Arguments arguments{before, input};
        const unsigned refused = input.OnceIn(4) ? 1 + input.Below(input.OnceIn(2) ? 2 : 20) : 0;
        history.push_back(operation.name + (refused != 0 ? " without memory from " + std::to_string(refused) : ""));
        FailAllocations(refused);
        const bool granted = operation.apply(real, model, arguments);
        FailAllocations(0);
        if (!granted) {
            EXPECT_NE(refused, 0U) << "it failed, and nothing was refused";
            model = before;
        }
        compare();
        if (testing::Test::HasFailure()) {
            const auto ten = std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(history.size()), 10);
            history.erase(history.begin(), history.end() - ten);
            FAIL() << "step " << step << ", after " << testing::PrintToString(history);
        }
    }
}

} // namespace ZelkTest
