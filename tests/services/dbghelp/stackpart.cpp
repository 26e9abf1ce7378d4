#include <tests/services/dbghelp/stackpart.h>

#include <emmintrin.h>

#define APART __attribute__((noinline, noclone))

namespace {

StackCall* g_call;

/// One function's entry among the truths, as long as it runs.
class Noted {
public:
    explicit Noted(const void* address) { g_call->addresses[--g_call->begin] = address; }
    ~Noted() { ++g_call->begin; }
    Noted(const Noted&) = delete;
    Noted& operator=(const Noted&) = delete;
};

#define NOTE const Noted noted(__builtin_return_address(0))

APART int CallInnermost(int depth) {
    NOTE;
    int (*volatile innermost)(StackCall&) = g_call->innermost;
    return innermost(*g_call) + depth;
}

/// Aligned more strictly than stacks are.
APART int CallAligned(int depth) {
    NOTE;
    alignas(16) volatile float values[8];
    _mm_store_ps(const_cast<float*>(values), _mm_set1_ps(static_cast<float>(depth)));
    return CallInnermost(depth) + static_cast<int>(values[depth & 7]);
}

/// With a frame of a size that is known at run time only.
APART int CallVariable(int depth) {
    NOTE;
    auto* const room = static_cast<volatile char*>(__builtin_alloca(static_cast<unsigned>(depth) * 24 + 16));
    room[depth] = static_cast<char>(depth);
    return CallAligned(depth) + room[depth];
}

/// That takes its arguments off the stack itself.
APART int __stdcall CallStandard(int depth, int b, int c) {
    NOTE;
    return CallVariable(depth) * b + c;
}

/// With all registers in use.
APART int CallBusy(int a, int b, int c, int d, int depth) {
    NOTE;
    const int result = CallStandard(depth, a + b, c);
    return result + a * b + b * c + c * d + a * d;
}

APART int CallDeep(int depth, int left) {
    NOTE;
    volatile char room[100];
    room[left] = 1;
    return (left == 0 ? CallBusy(1, 2, 3, 4, depth) : CallDeep(depth, left - 1)) + room[left];
}

} // namespace

extern "C" __declspec(dllexport) int StackPart(int depth, StackCall& call);

int StackPart(int depth, StackCall& call) {
    g_call = &call;
    NOTE;
    return CallDeep(depth, depth) + 1;
}
