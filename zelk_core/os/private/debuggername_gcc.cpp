// This compiler has no structured exception handling here, so the handler is linked into the thread's chain by hand.
// A frame of our own, unlike a vectored handler, comes after everybody else's vectored handlers, sees no other thread's
// exceptions, and costs two stores.
#include <zelk_core/os/private/debuggername.h>

namespace Z4::Private {

namespace {

using FrameHandler = EXCEPTION_DISPOSITION(__cdecl*)(EXCEPTION_RECORD*, void*, CONTEXT*, void*);

/// The system's layout of a link of the chain, which must lie on the thread's stack.
struct Frame {
    void* next;
    FrameHandler handler;
};

EXCEPTION_DISPOSITION __cdecl ContinueAfterName(EXCEPTION_RECORD* exception, void*, CONTEXT*, void*) {
    return exception->ExceptionCode == DEBUGGER_NAME_EXCEPTION ? ExceptionContinueExecution : ExceptionContinueSearch;
}

} // namespace

void AnnounceDebuggerName(const char* name, DWORD threadId) {
    Frame frame{nullptr, ContinueAfterName};
    asm volatile("movl %%fs:0, %0" : "=r"(frame.next));
    asm volatile("movl %0, %%fs:0" : : "r"(&frame) : "memory");
    RaiseDebuggerName(name, threadId);
    asm volatile("movl %0, %%fs:0" : : "r"(frame.next) : "memory");
}

} // namespace Z4::Private
