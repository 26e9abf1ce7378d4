// Functions that stand in for those of the debug-help library: they note what they are asked and answer as told.
#pragma once

#include <windows.h>

#include <winternl.h>

#include <functional>
#include <map>
#include <string>
#include <tests/support/importhook.h>
#include <vector>

namespace ZelkTest {

// clang-format off
/// The functions that the gateway looks up, in its order.
#define ZELK_FOR_EACH_STAND_IN(DO)                                                                  \
    DO(SymInitialize) DO(SymRefreshModuleList) DO(SymGetOptions) DO(SymSetOptions) DO(SymCleanup)   \
    DO(SymGetModuleInfo64) DO(StackWalk64) DO(SymFunctionTableAccess64) DO(EnumerateLoadedModules64) \
    DO(SymSetSearchPath) DO(SymGetSymFromAddr64) DO(SymGetLineFromAddr64) DO(SymLoadModule64)       \
    DO(SymUnloadModule64) DO(SymFindFileInPath) DO(MiniDumpWriteDump) DO(ImageNtHeader)
// clang-format on

/// An argument or result of the library's functions as a number; FromNumber() makes it back.
template <class T>
unsigned long long ToNumber(T value) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<ULONG_PTR>(value);
    } else {
        return static_cast<unsigned long long>(value);
    }
}

/// While it lives, the gateway finds these functions when it looks up the library's. One at a time.
class StandIn {
public:
    struct Call {
        std::string name;
        std::vector<unsigned long long> arguments;
        DWORD thread;
    };
    using Answer = std::function<unsigned long long(const Call&)>;

    /// What the loader tells of a module.
    struct Notification {
        ULONG flags;
        const UNICODE_STRING* fullName;
        const UNICODE_STRING* baseName;
        void* address;
        ULONG size;
    };

    static constexpr unsigned long long USUAL_ANSWER =
        0x200000002; ///< of functions that were told none; true as a BOOL

    StandIn();
    ~StandIn();

    std::map<std::string, Answer> answers; ///< by the function's name
    std::vector<std::string> lookedUp;     ///< all names that the gateway looked up, those of other libraries, too
    std::function<void()> atLookUp = [] {};
    std::function<bool(const std::string& name)> isMissing; ///< functions that are not found; none if null
    std::vector<Call> calls;

    /// What the gateway registered for the loader's notifications and did not take back, called by no one else; and its
    /// context.
    void(NTAPI* notify)(ULONG reason, const void* data, void* context) = nullptr;
    void* context = nullptr;

    unsigned Count(const std::string& name) const;
    /// Of the calls' functions, each without "Sym" and with a space behind it.
    std::string Names() const;

    /// The first `failures` calls give false and the last error `error`, all others true.
    static Answer Fails(int failures, DWORD error);

private:
    ImportHook m_lookUp;
};

} // namespace ZelkTest
