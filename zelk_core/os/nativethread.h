/// @file
/// The system's threads by their native handles: creation, join, priority, cores, boost and names, with the system's
/// failures as Error values. Thread (os/thread.h) is the safer front to the same.
///
/// Mind what a new thread is set to. ThreadCreate() makes the thread suspended, sets it up, and lets it run. When the
/// system refuses a setting, the call fails, and the suspended thread stays behind until the process ends, with its
/// stack and one small block of the host's memory. It refuses two kinds of settings. A priority must be one of -15, -2,
/// -1, 0, 1, 2 and 15: ordinary processes have no others. A set of cores must not be empty, as it is in new attributes,
/// and must not hold a core that the process may not use. So ask for the cores first, and only take some out of the
/// answer:
///
///     Z4::ThreadAttributes attributes;
///     attributes.priority = 2;
///     Z4::Error error = Z4::System::GetAvailableCoreMask(attributes.affinity);
///     if (error == Z4::ERR_OK) {
///         error = Z4::ThreadCreate(attributes, Entry, argument, handle);
///     }
///
/// Any thread may call any function. A handle is the system's own thread handle. Where nothing else is said, the result
/// is ERR_NOT_FOUND for a null handle and for one that is no handle, ERR_INVALID for a value that the system refuses,
/// and ERR_UNHANDLED for any other failure, which leaves the system's error number in a warning in the log.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>

namespace Z4 {

/// A thread's priority within its process: -15 (idle) to 15 (time-critical), 0 normal. The system knows -15, -2 to 2
/// and 15 in ordinary processes and refuses the rest of the range. Values outside of it can be stored, but not be given
/// to a thread.
class ThreadPriority {
public:
    constexpr ThreadPriority(long value = 0) : m_value(value) {}
    constexpr operator long() const { return m_value; }

private:
    long m_value;
};

/// A set of cores: bit n stands for core n. The system knows the lower 32 only. A plain value.
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

/// The number that no thread has.
inline constexpr unsigned long INVALID_THREAD_ID = 0xFFFFFFFF;

/// The least that is taken for a stack's size in bytes. The system rounds a smaller one up, but whoever asks for it has
/// most likely put another number into its place, a priority for example.
inline constexpr std::uint32_t MIN_THREAD_STACK_SIZE = 4096;

/// What ThreadCreate() makes.
struct ThreadAttributes {
    std::uint32_t stackSize = 0; ///< in bytes, at least MIN_THREAD_STACK_SIZE; 0 for the program's default
    ThreadPriority priority;
    /// The cores to run on, at least one and all of them among System::GetAvailableCoreMask(). The default, no core at
    /// all, is refused: set it.
    ThreadAffinity affinity;
    ThreadSchedulingPolicy schedulingPolicy = THREAD_SCHEDULING_DYNAMIC_BOOST;
    const char* name = nullptr; ///< at most 63 characters, shown by debuggers; may be null, and is not kept
    bool detached = false;      ///< whether nobody joins the thread: there is no handle then
};

using ThreadEntry = void(Z4_CDECL*)(void* argument);

namespace System {

/// Stores the cores that the process may use in `mask`. ERR_UNHANDLED, with `mask` left alone, when the system does not
/// tell.
[[nodiscard]] Z4_API Error GetAvailableCoreMask(ThreadAffinity& mask);

} // namespace System

/// Starts a thread that calls `entry(argument)`, on a stack aligned to 16 bytes, and ends when that returns. `handle`
/// is the caller's then, to be given to ThreadJoin() or closed; it is null for a detached thread. Both results are
/// stored before the thread runs. On failure `handle` is null and `threadId` is INVALID_THREAD_ID.
///
/// A null entry and a name of more than 63 characters are ERR_INVALID and start nothing. Where no memory or no thread
/// is to be had, the result is ERR_OUT_OF_RESOURCES. The settings are made before the thread runs, in the order boost,
/// cores, priority; the first that is refused ends the call with its error, and a suspended thread stays behind as told
/// above.
///
/// The host's memory table must be installed: entry and argument travel in a block of it, which the new thread gives
/// back when it begins.
[[nodiscard]] Z4_API Error ThreadCreate(const ThreadAttributes& attributes, ThreadEntry entry, void* argument,
                                        void*& handle, unsigned long& threadId);
[[nodiscard]] Z4_API Error ThreadCreate(const ThreadAttributes& attributes, ThreadEntry entry, void* argument,
                                        void*& handle);

/// Waits without limit for the thread's end and closes the handle. On failure the handle stays open. ERR_UNREACHABLE
/// when it is that of the calling thread.
[[nodiscard]] Z4_API Error ThreadJoin(void* handle);

/// Stores the system's number of the thread in `id`; INVALID_THREAD_ID on failure.
[[nodiscard]] Z4_API Error ThreadGetId(void* handle, unsigned long& id);

/// Asks the system for the thread's priority. On failure `priority` is left alone.
[[nodiscard]] Z4_API Error ThreadGetPriority(void* handle, ThreadPriority& priority);
/// Sets the thread's priority. ERR_INVALID outside of -15 to 15 and for values within that the system refuses.
[[nodiscard]] Z4_API Error ThreadChangePriority(void* handle, ThreadPriority priority);

/// Sets the cores that the thread may run on. ERR_INVALID for a set that is empty or that holds a core which is not in
/// System::GetAvailableCoreMask().
[[nodiscard]] Z4_API Error ThreadChangeAffinity(void* handle, ThreadAffinity affinity);

/// Asks the system whether it may raise the thread's priority, and stores the answer in `policy`. On failure that is
/// THREAD_SCHEDULING_DYNAMIC_BOOST.
[[nodiscard]] Z4_API Error ThreadGetSchedulingPolicy(void* handle, ThreadSchedulingPolicy& policy);
/// Sets whether the system may raise the thread's priority.
[[nodiscard]] Z4_API Error ThreadChangeSchedulingPolicy(void* handle, ThreadSchedulingPolicy policy);

/// Tells an attached debugger the thread's name, by raising the exception 0x406D1388 on the calling thread, which goes
/// on whether anybody listens or not. `name` is not kept; it may be null. ERR_INVALID for more than 63 characters.
Z4_API Error ThreadChangeName(void* handle, const char* name);

/// 15, under every policy.
Z4_API ThreadPriority ThreadGetPriorityMax(ThreadSchedulingPolicy policy);
/// -15, under every policy.
Z4_API ThreadPriority ThreadGetPriorityMin(ThreadSchedulingPolicy policy);
/// Whether `priority` is from -15 to 15, under every policy. The system refuses some of these, see ThreadPriority.
Z4_API bool ThreadIsValidPriority(ThreadPriority priority, ThreadSchedulingPolicy policy);

/// The calling thread's stack.
/// @param base becomes the address just above the stack.
/// @param size becomes how many bytes below that are committed so far.
/// @return ERR_OK, always.
Z4_API Error ThreadGetCurrentStackAttributes(unsigned int& base, unsigned int& size);

/// The same threads through a record, with a join that has a time-out. A query that fails, for whatever reason, returns
/// ERR_DEVICE_NOT_READY and leaves its result alone.
namespace BSP {

/// A thread, as ThreadCreate() returned it. The functions use the handle only.
struct ThreadInfo {
    void* handle = nullptr;
    unsigned long threadId = INVALID_THREAD_ID;
};

/// Stores the system's number of the thread in `id`.
[[nodiscard]] Z4_API Error ThreadGetId(const ThreadInfo& thread, unsigned long& id);
/// Stores the thread's priority in `priority`.
[[nodiscard]] Z4_API Error ThreadGetPriority(const ThreadInfo& thread, ThreadPriority& priority);
/// Stores in `enabled` whether the system may raise the thread's priority for a while.
[[nodiscard]] Z4_API Error ThreadGetPriorityBoostState(const ThreadInfo& thread, bool& enabled);
/// Stores in `size` how many bytes of address space are set aside for the thread's stack. Fails for a thread that has
/// ended and for one of another process.
[[nodiscard]] Z4_API Error ThreadGetStackSize(const ThreadInfo& thread, unsigned int& size);

/// Waits for the thread's end, but at most `timeoutMs` milliseconds (0xFFFFFFFF: without limit), then closes the handle
/// and empties the record. The record stays as it was on failure: ERR_TIMEOUT when the thread still runs,
/// ERR_UNREACHABLE for the calling thread itself, ERR_INVALID when the handle cannot be waited for.
[[nodiscard]] Z4_API Error ThreadJoin(ThreadInfo& thread, unsigned long timeoutMs);

} // namespace BSP

} // namespace Z4
