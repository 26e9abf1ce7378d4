#include <zelk_core/os/private/debuggername.h>

namespace Z4::Private {

void AnnounceDebuggerName(const char* name, DWORD threadId) {
    __try {
        RaiseDebuggerName(name, threadId);
    } __except (_exception_code() == DEBUGGER_NAME_EXCEPTION ? EXCEPTION_CONTINUE_EXECUTION
                                                             : EXCEPTION_CONTINUE_SEARCH) {
    }
}

} // namespace Z4::Private
