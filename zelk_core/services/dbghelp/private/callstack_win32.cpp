#include <windows.h>

#include <winternl.h>

#include <dbghelp.h>

#include <cstddef>
#include <zelk_core/base/layout.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/spinlock.h>
#include <zelk_core/services/dbghelp/callstack.h>
#include <zelk_core/services/dbghelp/private/registers.h>
#include <zelk_core/services/dbghelp/private/stackwalk.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

template <>
struct Private::Layout<CallStack> {
    static_assert(offsetof(CallStack, m_origins) == 256);
    static_assert(offsetof(CallStack, m_count) == 320);
    static_assert(sizeof(CallStack) == 328);
};

namespace {

using Private::CodeModules;
using Private::g_codeModules;
using Private::MemoryView;
using Private::StackRegisters;
using Private::StackWalk;

/// Two threads that suspend each other would stay so for ever.
constinit NonRecursiveSpinLock g_suspending;

std::uint32_t ToNumber(const void* address) {
    return reinterpret_cast<std::uintptr_t>(address);
}

const void* ToAddress(std::uint32_t number) {
    return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(number));
}

MemoryView ViewOf(std::uint32_t begin, std::uint32_t end) {
    return {static_cast<const unsigned char*>(ToAddress(begin)), begin, end - begin};
}

/// The stack from `top` on, of the thread that `block` is of. When `top` lies elsewhere, as on a stack of the program's
/// own making, it goes as far as the memory is of one kind.
MemoryView FindStack(std::uint32_t top, const NT_TIB& block) {
    const std::uint32_t base = ToNumber(block.StackBase);
    if (top >= ToNumber(block.StackLimit) && top < base) {
        return ViewOf(top, base);
    }
    constexpr DWORD READABLE = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                               PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    MEMORY_BASIC_INFORMATION region;
    if (VirtualQuery(ToAddress(top), &region, sizeof region) == 0 || region.State != MEM_COMMIT ||
        (region.Protect & READABLE) == 0 || (region.Protect & (PAGE_GUARD | PAGE_NOACCESS)) != 0) {
        return ViewOf(top, top);
    }
    return ViewOf(top, ToNumber(region.BaseAddress) + region.RegionSize);
}

const NT_TIB& OwnBlock() {
    return *reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
}

StackRegisters ToRegisters(const CONTEXT& context) {
    return {{context.Eax, context.Ecx, context.Edx, context.Ebx, context.Esp, context.Ebp, context.Esi, context.Edi,
             context.Eip}};
}

unsigned long long Z4_STDCALL FindModuleBase(void*, unsigned long long address) {
    Private::CodeModule module;
    return g_codeModules.Find(static_cast<std::uint32_t>(address), module) ? module.key : 0;
}

/// A thread of this process, or none.
class OtherThread {
public:
    explicit OtherThread(DWORD id)
        : m_handle(OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_QUERY_INFORMATION, FALSE, id)) {}
    ~OtherThread() {
        if (m_handle != nullptr) {
            CloseHandle(m_handle);
        }
    }
    OtherThread(const OtherThread&) = delete;
    OtherThread& operator=(const OtherThread&) = delete;

    /// @return null with `error` set when there is no such thread.
    const NT_TIB* FindBlock(Error& error) const {
        struct {
            LONG exitStatus;
            const NT_TIB* block;
            CLIENT_ID id;
            ULONG_PTR rest[3];
        } information{};
        if (m_handle == nullptr) {
            error = GetLastError() == ERROR_ACCESS_DENIED ? ERR_ACCESS_DENIED : ERR_NOT_FOUND;
            return nullptr;
        }
        constexpr auto BASIC_INFORMATION = static_cast<THREADINFOCLASS>(0);
        DWORD exitCode = 0;
        error = ERR_NOT_FOUND;
        if (GetProcessIdOfThread(m_handle) != GetCurrentProcessId() || !GetExitCodeThread(m_handle, &exitCode) ||
            exitCode != STILL_ACTIVE ||
            NtQueryInformationThread(m_handle, BASIC_INFORMATION, &information, sizeof information, nullptr) < 0) {
            return nullptr;
        }
        error = ERR_OK;
        return information.block;
    }

    HANDLE Handle() const { return m_handle; }

private:
    HANDLE m_handle;
};

} // namespace

unsigned long CallStack::CaptureQuick(const void** addresses, unsigned long capacity, unsigned long skip) {
    const std::uint32_t* frame = Private::ZelkReadFramePointer();
    const NT_TIB& block = OwnBlock();
    std::uint32_t lowest = ToNumber(block.StackLimit);
    const std::uint32_t highest = ToNumber(block.StackBase) - 2 * sizeof *frame;
    unsigned long count = 0;
    while (count != capacity) {
        const std::uint32_t at = ToNumber(frame);
        if (at < lowest || at > highest || at % sizeof *frame != 0) {
            break;
        }
        if (skip != 0) {
            --skip;
        } else {
            addresses[count++] = ToAddress(frame[1]);
        }
        lowest = at + 2 * sizeof *frame;
        frame = static_cast<const std::uint32_t*>(ToAddress(*frame));
    }
    return count;
}

/// Takes over the frame that `walk` stands at, after `skip` more, and all of its callers.
void CallStack::Walk(StackWalk& walk, unsigned long skip) {
    FrameOrigin origin = FRAME_GIVEN;
    bool isFound = true;
    for (; isFound && skip != 0; --skip) {
        isFound = walk.Next(origin);
    }
    while (isFound && m_count != MAX_FRAMES) {
        m_addresses[m_count] = ToAddress(walk.Pc());
        m_origins[m_count++] = origin;
        isFound = walk.Next(origin);
    }
    if (isFound && m_count == MAX_FRAMES) {
        m_flags |= CUT;
    }
}

unsigned long CallStack::Capture(unsigned long skip) {
    StackRegisters registers{};
    Private::ZelkReadRegisters(&registers);
    m_count = 0;
    m_flags = 0;
    const CodeModules::Reader reader(g_codeModules);
    StackWalk walk(registers, false, FindStack(registers.values[StackRegisters::ESP], OwnBlock()),
                   {ToNumber(this), sizeof *this});
    if (walk.LeaveLibrary()) {
        Walk(walk, skip);
    }
    return m_count;
}

unsigned long CallStack::CaptureFrom(const void* given) {
    const CONTEXT& context = *static_cast<const CONTEXT*>(given);
    m_count = 0;
    m_flags = EXACT;
    const CodeModules::Reader reader(g_codeModules);
    StackWalk walk(ToRegisters(context), true, FindStack(context.Esp, OwnBlock()), {ToNumber(this), sizeof *this});
    Walk(walk, 0);
    return m_count;
}

Error CallStack::CaptureThread(unsigned long threadId) {
    m_count = 0;
    m_flags = EXACT;
    if (threadId == GetCurrentThreadId()) {
        return ERR_INVALID;
    }
    const OtherThread thread(threadId);
    Error error = ERR_OK;
    const NT_TIB* const block = thread.FindBlock(error);
    if (block == nullptr) {
        return error;
    }
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    context.ContextFlags |= CONTEXT_INTEGER;
    const CodeModules::Reader reader(g_codeModules);
    // From here to the end nothing may take a lock that the other thread can hold.
    const AutoLock guard(g_suspending);
    if (SuspendThread(thread.Handle()) == static_cast<DWORD>(-1)) {
        return ERR_ACCESS_DENIED;
    }
    if (GetThreadContext(thread.Handle(), &context)) {
        StackWalk walk(ToRegisters(context), true, FindStack(context.Esp, *block), {ToNumber(this), sizeof *this});
        Walk(walk, 0);
    } else {
        error = ERR_ACCESS_DENIED;
    }
    ResumeThread(thread.Handle());
    return error;
}

Error CallStack::CaptureThroughDebugHelp(const void* given) {
    const CONTEXT& context = *static_cast<const CONTEXT*>(given);
    m_count = 1;
    m_flags = EXACT;
    m_addresses[0] = ToAddress(context.Eip);
    m_origins[0] = FRAME_GIVEN;
    WinDbgHelp& debugHelp = WinDbgHelp::Instance();
    CONTEXT registers = context;
    STACKFRAME64 frame{};
    frame.AddrPC = {context.Eip, 0, AddrModeFlat};
    frame.AddrStack = {context.Esp, 0, AddrModeFlat};
    frame.AddrFrame = {context.Ebp, 0, AddrModeFlat};
    const auto tableAccess =
        reinterpret_cast<WinDbgHelp::FunctionTableAccessCallback>(debugHelp.GetAddressOfSymFunctionTableAccess64());
    if (tableAccess == nullptr) {
        return ERR_UNSUPPORTED;
    }
    const auto next = [&] {
        return debugHelp.StackWalk64(IMAGE_FILE_MACHINE_I386, GetCurrentProcess(), GetCurrentThread(), &frame,
                                     &registers, nullptr, tableAccess, FindModuleBase, nullptr) &&
               frame.AddrPC.Offset != 0;
    };
    // The first is the frame that is known.
    bool isFound = next();
    for (isFound = isFound && next(); isFound; isFound = next()) {
        if (m_count == MAX_FRAMES) {
            m_flags |= CUT;
            break;
        }
        m_addresses[m_count] = ToAddress(static_cast<std::uint32_t>(frame.AddrPC.Offset));
        m_origins[m_count++] = FRAME_TABLE;
    }
    return ERR_OK;
}

} // namespace Z4
