// Calls nested in several ways, in DLLs of one source: compiled with tables for unwinding, with frame pointers and with
// neither.
#pragma once

/// The addresses that the functions on the stack return to, innermost first, as each function sees its own.
struct StackTruth {
    static constexpr unsigned CAPACITY = 48;

    const void* addresses[CAPACITY];
    unsigned count;
};

/// The type of each DLL's function StackPart(): calls `innermost(context)` through several functions of its own and
/// notes them in `truth`, which `innermost` can read.
using StackPartFunction = int(int depth, int (*innermost)(void* context), void* context, StackTruth* truth);
