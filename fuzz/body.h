// What each fuzzer defines, for libFuzzer or replay.cpp to call.
#pragma once

#include <cstddef>
#include <cstdint>

/// Once, before any input; returns 0.
extern "C" int LLVMFuzzerInitialize(int* argumentCount, char*** arguments);

/// Holds the laws against one input; a broken one aborts. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
