// A thread's block, of which only the stack's bounds are read.
#pragma once

struct NT_TIB {
    void* StackBase = nullptr;
    void* StackLimit = nullptr;
};

inline const NT_TIB* NtCurrentTeb() {
    static constexpr NT_TIB block;
    return &block;
}
