// Calls nested in several ways, in DLLs of one source: compiled with tables for unwinding, with frame pointers and with
// neither.
#pragma once

#include <span>

/// The addresses that the functions on the stack return to, innermost first, as each function sees its own.
using StackTruth = std::span<const void* const>;

/// A call through the functions of a DLL, which ends in one of the test's.
struct StackCall {
    int (*innermost)(StackCall& call);
    const void* addresses[100]{};
    unsigned begin = 100; ///< of those that are noted

    StackTruth Truth() const { return StackTruth(addresses).subspan(begin); }
};

/// The type of each DLL's function StackPart(): calls `call.innermost(call)` through several functions of its own, one
/// of them `depth` times more than once, and notes them in `call`.
using StackPartFunction = int(int depth, StackCall& call);
