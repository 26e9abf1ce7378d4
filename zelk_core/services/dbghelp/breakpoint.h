/// @file
/// Breakpoints that a program sets itself: on an address, to learn who writes a variable or calls a function, and on a
/// text, to learn who makes it. They need no debugger, and they stop nobody: a callback sees the hit, and the program
/// goes on. With a debugger, they can stop there.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>

namespace Z4 {

/// The debugger that this process runs under, if there is one. Any thread, at any time.
class Debugger {
public:
    /// Whether there is a debugger. It can come and go at any time.
    Z4_API static bool IsPresent();
    /// Shows `text` in the debugger's output, as it is, without a line end of its own. Without a debugger the system
    /// gives it to whoever collects such texts. Null shows nothing.
    Z4_API static void Write(const char* text);
    /// Stops the debugger at the caller's own line. Without a debugger nothing happens.
    /// @return whether there is a debugger.
    Z4_ALWAYS_INLINE static bool Break() {
        if (!IsPresent()) {
            return false;
        }
        Z4_BREAK();
        return true;
    }
};

/// What a hardware breakpoint waits for.
enum HardwareBreakOn : int {
    BREAK_ON_EXECUTE = 0, ///< the instruction at the address is about to run
    BREAK_ON_WRITE = 1,   ///< something was written to the bytes, the same value perhaps
    BREAK_ON_ACCESS = 3,  ///< something was read from the bytes or written to them
};

/// Breakpoints in the processor's debug registers: the program runs at full speed until it meets one. There are four
/// for the whole process, and debuggers use the same four. They work from the first InitializeDbgHelpService() to the
/// last ShutdownDbgHelpService(), which clears them.
///
/// Only what the process's own code does at the addresses is noticed, not what the system does on its behalf, such as
/// reading a file into watched bytes. A debugger notices each hit first. If it takes the hit for its own, as most do,
/// it stops there, and the callback is not called.
///
/// Every function may be called by any thread at any time, but not inside the system's loader. Set() and Clear()
/// suspend each thread for a moment.
class HardwareBreakpoint {
public:
    static constexpr unsigned long SLOTS = 4;
    /// For Set(): the threads that there are, and those that come. New threads of Thread, EalThread and ThreadCreate()
    /// have the breakpoints from their beginning, others when they call AdoptThisThread().
    static constexpr unsigned long ALL_THREADS = 0;

    /// What a thread ran into.
    struct Hit {
        unsigned long slot;
        unsigned long threadId;
        const void* address; ///< the one that was set
        /// With BREAK_ON_EXECUTE the instruction that is about to run, else the one behind the instruction that made
        /// the access.
        const void* instruction;
        const void* context; ///< the system's CONTEXT with all registers, valid during the callback
    };

    /// Called on the thread that made the hit, within the instruction that made it, which may stand anywhere: inside
    /// the heap or the host's log, with their locks held. What it accesses itself makes no hit; neither does what Set()
    /// and Clear() access. It must return. It may call any function of this class, but Set() takes memory of the
    /// system's heap. While 64 threads are inside callbacks, the hits of further threads are only counted.
    using Callback = void(Z4_CDECL*)(const Hit& hit, void* context);

    /// Sets a breakpoint.
    /// @param address the first byte, a multiple of `size`.
    /// @param size the bytes that are watched: 1, 2 or 4; 1 with BREAK_ON_EXECUTE, where `address` must be the
    /// beginning of an instruction.
    /// @param threadId the thread that it is for, or ALL_THREADS.
    /// @param callback null where counting is enough; see GetHits().
    /// @param slot receives the breakpoint's number; it stays as it was when the result is an error.
    /// @return ERR_INVALID when `address` is null, `size` or `on` is none of the above or `address` is not a multiple
    /// of `size`. ERR_OUT_OF_RESOURCES when all slots are taken, by this class or by somebody else in one of the
    /// threads. ERR_NOT_FOUND when this process has no such thread. ERR_ACCESS_DENIED when the system refuses a
    /// thread's registers, ERR_UNSUPPORTED when it takes values without effect. ERR_NOT_READY before the service is
    /// started. After an error no thread has the breakpoint.
    [[nodiscard]] Z4_API static Error Set(const void* address, unsigned long size, HardwareBreakOn on,
                                          unsigned long threadId, Callback callback, void* context,
                                          unsigned long& slot);
    /// Takes a breakpoint away, and waits until no other thread is inside its callback: the caller must hold nothing
    /// that the callback waits for. Called inside a callback of this class it does not wait, and the slot stays taken
    /// until its callbacks have returned.
    /// @return ERR_NOT_FOUND when none is set in the slot.
    Z4_API static Error Clear(unsigned long slot);
    /// Clear() for each slot.
    Z4_API static void ClearAll();
    /// How often the breakpoint that is or was last set in the slot was hit; 0 for a slot that does not exist.
    Z4_API static unsigned long GetHits(unsigned long slot);
    /// Gives the calling thread the breakpoints that are set for it or for all threads, for a thread that began after
    /// Set() and is not of this library's classes. Costs nothing while none is set.
    Z4_API static void AdoptThisThread();
};

/// Breakpoints on texts: a callback, and the debugger if there is one, for each text that contains a watched one. Texts
/// are compared byte by byte. As long as none is set, they cost one load for each text.
///
/// Every function may be called by any thread at any time, also before a service is started. ShutdownDbgHelpService()
/// calls ClearAll().
class StringBreakpoint {
public:
    static constexpr unsigned long SLOTS = 16;
    static constexpr unsigned long LONGEST = 127; ///< characters of a watched text

    /// Where texts come from; Set() takes several, combined by `|`.
    enum Source : unsigned {
        LOG = 1,       ///< the library's own messages as far as the host prints them; 1023 characters of each are seen
        ASSERT = 2,    ///< the messages of EalAssertWithMessage(), and so of broken contracts
        FORMATTER = 4, ///< what StrFormat stores in narrow characters, assertions included
        CHECK = 8,     ///< what is given to Check()
    };

    /// Called on the thread that made `text`, with no lock of this class held. What texts it makes itself are not
    /// looked at, nor are those of further threads while 64 threads are looking at theirs.
    /// @param text all of it, or as much as is seen.
    /// @return whether the debugger, if there is one, should stop.
    using Callback = bool(Z4_CDECL*)(const char* text, const char* watched, void* context);

    /// Sets a breakpoint.
    /// @param watched 1 to LONGEST characters; they are copied.
    /// @param sources values of Source.
    /// @param skipHits how many matches are only counted before the callback is called and the debugger stops.
    /// @param callback null to stop in the debugger, if there is one, at each match.
    /// @param slot receives the breakpoint's number; it stays as it was when the result is an error.
    /// @return ERR_INVALID when `watched` is null or empty or `sources` has no source or an unknown one; ERR_OVERFLOW
    /// when `watched` is too long; ERR_OUT_OF_RESOURCES when all slots are taken.
    [[nodiscard]] Z4_API static Error Set(const char* watched, unsigned sources, unsigned long skipHits,
                                          Callback callback, void* context, unsigned long& slot);
    /// Takes a breakpoint away, and waits until no other thread is inside its callback: the caller must hold nothing
    /// that the callback waits for. Called inside a callback of this class it does not wait, and the slot stays taken
    /// until its callbacks have returned.
    /// @return ERR_NOT_FOUND when none is set in the slot.
    Z4_API static Error Clear(unsigned long slot);
    /// Clear() for each slot.
    Z4_API static void ClearAll();
    /// How many texts matched the breakpoint that is or was last set in the slot; 0 for a slot that does not exist.
    Z4_API static unsigned long GetHits(unsigned long slot);
    /// Looks at a text of the host's own, a line of its log for one, with the breakpoints that have the source CHECK.
    /// @param text null matches nothing.
    /// @return whether a breakpoint matched.
    Z4_API static bool Check(const char* text);
};

} // namespace Z4
