/// @file
/// The call stack of a thread: through which calls it came to where it is.
///
/// A stack is captured at once and named later, or never: a capture takes some addresses and little time, so it can
/// stand in an allocator or in an assertion, while names take long and need the debug services.
///
///     Z4::CallStack stack;
///     stack.Capture(0);                     // two microseconds
///     char text[8192];
///     stack.ToText(text, sizeof text, Z4::CallStack::LINES);
///
/// Captures know the modules of ProgramModuleDB, so InitializeDbgHelpService() comes first; ProgramModuleDB::Prepare()
/// makes them fast. A module that is loaded before WinDbgHelp is ready becomes known by the next question to
/// ProgramModuleDB, which Prepare() is, too.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/base/log.h>

namespace Z4 {

namespace Private {
class StackWalk;
} // namespace Private

/// How a frame was found, from the surest to the least sure.
enum FrameOrigin : unsigned char {
    FRAME_GIVEN,   ///< the first: it was known before
    FRAME_TABLE,   ///< by the compiler's table for unwinding, which is always right
    FRAME_POINTER, ///< by the frame pointer, with a call in front of the address. Callers in between can be missing.
    FRAME_PROVEN,  ///< on the stack lies an address behind a call of the very function that the frame before is in
    FRAME_GUESSED, ///< on the stack lies an address behind some call by a pointer; it can be an old one
};

/// The addresses of one call stack, a plain value of 328 bytes. Each capture replaces what was in it. Different threads
/// may use different objects at the same time; the static function is for any thread.
///
/// A capture allocates nothing, takes no lock, and needs less than 2 KiB of stack besides the object. It reads
/// the stack between the stack pointer and the stack's end, and the code and tables of known modules, and nothing else.
/// Each frame lies higher than the one before, so it ends on whatever the stack holds. So a handler of exceptions may
/// capture, whatever has happened to the thread.
///
/// A capture that meets a change of the list of modules which lasts longer than some microseconds has the first frame
/// only.
///
/// The address of a frame is the one at which its function goes on: the one behind the call. Where the first frame is
/// from a context, it is the instruction itself. The first address in no known module is the last of the
/// stack.
class CallStack {
public:
    static constexpr unsigned long MAX_FRAMES = 64; ///< further ones are cut off

    /// What ToText() and Log() print, joined by `|`.
    enum Print : unsigned {
        QUICK = 1,        ///< names by SymbolHandler::ResolveQuick(), without any wait, for when the program crashes
        LINES = 2,        ///< source file and line, as far as they are known; not with QUICK
        ORIGINS = 4,      ///< how the frame was found
        OFFSETS_ONLY = 8, ///< no functions, but the offset in the module, for who has its symbols elsewhere
    };

    CallStack() = default;

    /// Writes the addresses of the calling thread's stack, from the caller's on, by the chain of frame pointers alone:
    /// some nanoseconds for all of them, where the code keeps frame pointers (`-fno-omit-frame-pointer`). The chain
    /// ends with the first function that keeps none. For tags of allocations and owners of locks.
    /// @param addresses room for `capacity` of them.
    /// @param skip how many to leave out, 0 to begin with the address in the caller.
    /// @return how many were written.
    Z4_API static unsigned long CaptureQuick(const void** addresses, unsigned long capacity, unsigned long skip);

    /// Captures the calling thread's stack.
    /// @param skip how many frames to leave out, 0 to begin with the caller.
    /// @return GetCount().
    Z4_API unsigned long Capture(unsigned long skip);
    /// Captures from the registers of an exception, or of a thread that stands still as long as this takes. Where the
    /// stack pointer lies in no readable memory, there is the first frame only. With an instruction pointer that is in
    /// no known module, as after a call of null, the caller is what lies on top of the stack, if that can be.
    /// @param context the system's record of a thread's registers, a `CONTEXT`, with its integer and control registers.
    /// It is named differently by different compilers' headers, so it has no type here.
    /// @return GetCount().
    Z4_API unsigned long CaptureFrom(const void* context);
    /// Suspends another thread of this process, captures its stack and resumes it. A thread that has been suspended
    /// before stays so.
    /// @return ERR_INVALID for the calling thread, ERR_NOT_FOUND when this process has no such thread, or has it no
    /// more, ERR_ACCESS_DENIED when the system does not let it be suspended. The object is empty then.
    Z4_API Error CaptureThread(unsigned long threadId);
    /// CaptureFrom() by the debug-help library, which knows the frames of modules with a debug database, at the cost of
    /// milliseconds and its lock. Waits until WinDbgHelp is ready. Each frame counts as FRAME_TABLE.
    /// @return ERR_UNSUPPORTED when there is no such library; then there is the first frame only.
    Z4_API Error CaptureThroughDebugHelp(const void* context);

    unsigned long GetCount() const { return m_count; }
    /// @param index from 0, the innermost; below GetCount().
    const void* GetAddress(unsigned long index) const { return m_addresses[index]; }
    FrameOrigin GetOrigin(unsigned long index) const { return m_origins[index]; }
    /// Whether there was no room for all frames.
    bool IsCut() const { return (m_flags & CUT) != 0; }

    /// A hash of where in their modules the addresses are. It is the same in every run of the same modules, wherever
    /// they lie: for counting how often something comes this way. Addresses in no known module count as equal.
    [[nodiscard]] Z4_API unsigned long GetHash() const;

    /// Writes what is known of the frame `index`, below GetCount(): number, address, module, function and offset, and
    /// what `print` asks for. What is unknown is left out.
    ///
    ///     2 623014ea engine.dll!Engine::Load(char const*)+0xa load.cpp:8 table
    ///
    /// Without QUICK and OFFSETS_ONLY it asks SymbolHandler::Resolve() and Demangle(), and all that is said there
    /// holds.
    /// @param size of `text` in characters. The first `size` - 1 are stored and terminated; nothing is with a size of
    /// 0.
    /// @param print of Print, joined by `|`; 0 for none.
    /// @return the length of the whole text, whether it was stored or not.
    Z4_API unsigned long FrameToText(unsigned long index, char* text, unsigned long size, unsigned print) const;
    /// FrameToText() of all frames, each on a line of its own; the line ends count, too.
    Z4_API unsigned long ToText(char* text, unsigned long size, unsigned print) const;
    /// The same as messages to the host's log, one for each frame.
    Z4_API void Log(EalLogLevel level, unsigned print) const;

private:
    friend Private::Layout<CallStack>;

    enum Flag : unsigned long {
        CUT = 1,
        EXACT = 2, ///< the first address is the instruction itself, not one behind a call
    };

    void Walk(Private::StackWalk& walk, unsigned long skip);

    const void* m_addresses[MAX_FRAMES];
    FrameOrigin m_origins[MAX_FRAMES];
    unsigned long m_count = 0;
    unsigned long m_flags = 0;
};

} // namespace Z4
