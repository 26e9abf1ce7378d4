// Keys for maps and factories: all different, and in no order that a processor could foretell.
#pragma once

#include <benchmark/benchmark.h>
#include <cstdint>

namespace Bench {

/// The finisher of MurmurHash3 (A. Appleby), which is one to one.
constexpr std::uint32_t Key(std::uint32_t i) {
    i = (i ^ i >> 16) * 0x85EBCA6BU;
    i = (i ^ i >> 13) * 0xC2B2AE35U;
    return i ^ i >> 16;
}

/// Calls `function` with one of the first `count` keys after the other, as good as in random order.
template <class Function>
void ForRandomKeys(benchmark::State& state, unsigned count, Function function) {
    std::uint32_t i = 0;
    for (auto _ : state) {
        function(Key(static_cast<std::uint32_t>(std::uint64_t{Key(~++i)} * count >> 32)));
    }
}

/// Calls `function` with 16 keys in turn, which the branch predictor learns.
template <class Function>
void ForHotKeys(benchmark::State& state, Function function) {
    std::uint32_t i = 0;
    for (auto _ : state) {
        function(Key(++i % 16));
    }
}

} // namespace Bench
