/// @file
/// The system's threads by their native handles: creation, join, priority, cores, boost and names, with the system's
/// failures as Error values. Thread (os/thread.h) is the safer front to the same.
///
/// Mind what a new thread is set to. ThreadCreate() makes the thread, suspended, and sets it up then. When a setting is
/// refused, the call fails, and the suspended thread stays behind until the process ends, with its stack and one small
/// block of the host's memory. Two kinds of settings are refused. A priority must be one of -15, -2, -1, 0, 1, 2 and
/// 15: ordinary processes have no others. A set of cores must not be empty, as it is in new attributes, nor hold a core
/// that the process may not use. So ask for the cores first, and take others out of the answer only:
///
///     Z4::ThreadAttributes attributes;
///     attributes.priority = 2;
///     Z4::Error error = Z4::System::GetAvailableCoreMask(attributes.affinity);
///     if (error == Z4::ERR_OK) {
///         error = Z4::ThreadCreate(attributes, Entry, argument, handle);
///     }
///
/// Every function may be called from any thread. A handle is the system's own thread handle; null and dead handles are
/// ERR_NOT_FOUND where nothing else is said, values that the system refuses ERR_INVALID. Any other failure is
/// ERR_UNHANDLED and leaves the system's error number in a warning in the log.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>

namespace Z4 {

/// A thread's priority within its process: -15 (idle) to 15 (time-critical), 0 normal. The system knows -15, -2 to 2
/// and 15 in ordinary processes and refuses the rest of the range; values outside it can be held, but never applied.
class ThreadPriority {
public:
    constexpr ThreadPriority(long value = 0) : m_value(value) {}
    constexpr operator long() const { return m_value; }

private:
    long m_value;
};

/// A set of cores: bit n stands for core n. Only the lower 32 reach the system.
class ThreadAffinity {
public:
    constexpr ThreadAffinity(std::uint64_t mask = 0)
        : m_low(static_cast<std::uint32_t>(mask)), m_high(static_cast<std::uint32_t>(mask >> 32)) {}
    constexpr operator std::uint64_t() const { return std::uint64_t{m_high} << 32 | m_low; }

private:
    // Two words instead of one, so that classes with virtual functions lay it out alike whoever compiles them.
    std::uint32_t m_low;
    std::uint32_t m_high;
};

/// Whether the system may raise a thread's priority for a while, after a wait for example. Every value but 0 forbids
/// it.
enum ThreadSchedulingPolicy : std::int32_t {
    THREAD_SCHEDULING_DYNAMIC_BOOST = 0,
    THREAD_SCHEDULING_FIXED_PRIORITY = 1,
};

inline constexpr unsigned long INVALID_THREAD_ID = 0xFFFFFFFF;

/// The least that is taken for a stack's size in bytes. The system rounds a smaller one up, but whoever asks for it has
/// most likely put another number into its place, a priority for example.
inline constexpr std::uint32_t MIN_THREAD_STACK_SIZE = 4096;

struct ThreadAttributes {
    std::uint32_t stackSize = 0; ///< in bytes, at least MIN_THREAD_STACK_SIZE; 0 is the program's default
    ThreadPriority priority;
    /// A set that the system takes as it is, see ThreadChangeAffinity(): the default, no core at all, is refused.
    ThreadAffinity affinity;
    ThreadSchedulingPolicy schedulingPolicy = THREAD_SCHEDULING_DYNAMIC_BOOST;
    const char* name = nullptr; ///< at most 63 characters, only for the debugger; may be null
    bool detached = false;      ///< closes the handle as soon as the thread runs
};

using ThreadEntry = void(Z4_CDECL*)(void* argument);

namespace System {

/// The cores that the process may use. ERR_UNHANDLED when the system does not tell.
[[nodiscard]] Z4_API Error GetAvailableCoreMask(ThreadAffinity& mask);

} // namespace System

/// Starts a thread that calls `entry(argument)` and ends when that returns; its stack is aligned to 16 bytes there.
/// `handle` is then the caller's, to be given to ThreadJoin() or closed; null for a detached thread. On failure
/// `handle` is null and `threadId` INVALID_THREAD_ID.
///
/// A name that is too long and a null entry are ERR_INVALID and start nothing; no memory or no thread to be had is
/// ERR_OUT_OF_RESOURCES. Settings are applied to the thread before it runs, in the order boost, cores, priority; the
/// first that is refused ends the call with its error and leaves a suspended thread behind, as told above.
///
/// The host's memory table must be installed: what the thread is to call travels in a block of it, which the new thread
/// gives back when it begins.
[[nodiscard]] Z4_API Error ThreadCreate(const ThreadAttributes& attributes, ThreadEntry entry, void* argument,
                                        void*& handle, unsigned long& threadId);
[[nodiscard]] Z4_API Error ThreadCreate(const ThreadAttributes& attributes, ThreadEntry entry, void* argument,
                                        void*& handle);

/// Waits without limit for the thread's end and closes the handle, which stays open on failure. A thread that joins
/// itself gets ERR_UNREACHABLE.
[[nodiscard]] Z4_API Error ThreadJoin(void* handle);

/// INVALID_THREAD_ID on failure.
[[nodiscard]] Z4_API Error ThreadGetId(void* handle, unsigned long& id);

/// `priority` is left alone on failure.
[[nodiscard]] Z4_API Error ThreadGetPriority(void* handle, ThreadPriority& priority);
/// ERR_INVALID outside -15 to 15 and for what the system refuses.
[[nodiscard]] Z4_API Error ThreadChangePriority(void* handle, ThreadPriority priority);

/// ERR_INVALID for a set that is empty or holds a core outside System::GetAvailableCoreMask().
[[nodiscard]] Z4_API Error ThreadChangeAffinity(void* handle, ThreadAffinity affinity);

/// 0 or 1; 0 on failure.
[[nodiscard]] Z4_API Error ThreadGetSchedulingPolicy(void* handle, ThreadSchedulingPolicy& policy);
[[nodiscard]] Z4_API Error ThreadChangeSchedulingPolicy(void* handle, ThreadSchedulingPolicy policy);

/// Tells an attached debugger the thread's name, by the exception 0x406D1388 on the calling thread, which nobody else
/// notices. ERR_INVALID for 64 characters and more. `name` is not kept; it may be null.
Z4_API Error ThreadChangeName(void* handle, const char* name);

/// The range of priorities, the same under every policy.
Z4_API ThreadPriority ThreadGetPriorityMax(ThreadSchedulingPolicy policy);
Z4_API ThreadPriority ThreadGetPriorityMin(ThreadSchedulingPolicy policy);
Z4_API bool ThreadIsValidPriority(ThreadPriority priority, ThreadSchedulingPolicy policy);

/// The calling thread's stack: the address just above it, and how many bytes below that are committed so far.
/// @return ERR_OK, always.
Z4_API Error ThreadGetCurrentStackAttributes(unsigned int& base, unsigned int& size);

/// The same threads through a record, with a join that gives up after a while. Queries that fail, for whatever reason,
/// are ERR_DEVICE_NOT_READY and leave their result alone.
namespace BSP {

/// A thread as ThreadCreate() returned it.
struct ThreadInfo {
    void* handle = nullptr;
    unsigned long threadId = INVALID_THREAD_ID;
};

/// Asks the system, not the record.
[[nodiscard]] Z4_API Error ThreadGetId(const ThreadInfo& thread, unsigned long& id);
[[nodiscard]] Z4_API Error ThreadGetPriority(const ThreadInfo& thread, ThreadPriority& priority);
[[nodiscard]] Z4_API Error ThreadGetPriorityBoostState(const ThreadInfo& thread, bool& enabled);
/// The address space set aside for the stack, in bytes. The thread must belong to this process; one that has ended
/// has no stack and is a failure.
[[nodiscard]] Z4_API Error ThreadGetStackSize(const ThreadInfo& thread, unsigned int& size);

/// Waits for the thread's end at most `timeoutMs` milliseconds (0xFFFFFFFF: without limit), then closes the handle and
/// empties the record. ERR_TIMEOUT when the thread still runs, ERR_UNREACHABLE for the calling thread itself,
/// ERR_INVALID when there is nothing to wait for; the record then stays as it was.
[[nodiscard]] Z4_API Error ThreadJoin(ThreadInfo& thread, unsigned long timeoutMs);

} // namespace BSP

} // namespace Z4
