/// @file
/// A thread as an object: derive, supply Run(), create it, join it.
///
/// The object must outlive Run(), unless the thread is detached; join it before the object goes.
///
/// Mind what a new thread is set to. When the system refuses a setting, the creation fails, and a suspended thread
/// stays behind until the process ends, with its stack and one small block of the host's memory. A priority must be one
/// of -15, -2, -1, 0, 1, 2 and 15, and a set of cores must not hold one that the process may not use.
/// SetThreadPriority() and SetThreadAffinity() keep what they refuse, so look at their answers before you create, and
/// keep to those priorities, because a value such as 5 is refused by the system only:
///
///     Z4::Error error = worker.SetThreadPriority(2);
///     if (error == Z4::ERR_OK) {
///         error = worker.SetThreadAffinity(0b11);
///     }
///     if (error == Z4::ERR_OK) {
///         error = worker.CreateThread();
///     }
///
/// Operations may be called from any thread at any time, from Run() too, but not while the object is being destroyed.
/// Run() must return: a thread that ends itself in another way never counts as ended, and a detached one leaves the
/// library with a record on a stack that is gone.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/monitor.h>
#include <zelk_core/os/nativethread.h>

namespace Z4 {

namespace Private {
template <class Object>
struct ThreadKind;
template <class Object>
class ThreadLife;
} // namespace Private

/// One native thread at a time. An object can be created again once it was joined, or once a detached thread's Run()
/// has returned. Many operations have a second, shorter name.
///
/// Settings hold from one creation to the next. "Live" means created and not yet ended (states 1 to 3). On an object
/// that is not live, setters of priority and cores store their value even when they refuse it, and the next creation
/// then fails with it. A live detached thread has no handle any more: its settings cannot be changed (ERR_NOT_FOUND).
/// Time-outs are in milliseconds, 0xFFFFFFFF for no limit. Where waiting is called off by a change of state that was
/// not waited for, the full time starts anew.
class Thread {
public:
    enum ThreadState : std::int32_t {
        THREAD_IDLE = 0,      ///< never created, or the last creation failed
        THREAD_STARTING = 1,  ///< the new thread has not yet come to its entry
        THREAD_SUSPENDED = 2, ///< it waits there for ResumeThread()
        THREAD_RUNNING = 3,   ///< about to call Run(), or in it
        THREAD_ENDED = 4,     ///< Run() has returned
        THREAD_JOINED = 5,    ///< handle and id are released
    };

    /// Ends the thread's use of the object, with a warning in the log for each step that the owner left out: resumes a
    /// thread held at its start, which then skips Run(), and waits for the end of Run() unless detached. Must not be
    /// called from Run(), unless detached. Later on the thread's way out it may be called there too, and then waits for
    /// nothing. The derived part is gone by then: a Run() that uses it is joined before.
    ///
    /// The object of a detached thread is destroyed by Run() itself, or by others once Run() has told them, through
    /// something outside of the object, that it needs the object no more. That the thread has started tells nobody so.
    /// A detached thread that has not come to Run() at all is no danger: the destructor waits until it is there, and
    /// Run() is skipped.
    virtual ~Thread() { Finish(); }

    /// The work, on the new thread. Its stack is aligned to 16 bytes. Every derived class supplies its own. This one
    /// does nothing: it is what a thread finds that comes to Run() when the derived part of its object is gone already.
    virtual void Run() {
        Z4_ASSERT(IsBeingDestroyed(), "A class derived from Thread has a Run() of its own, and its threads are joined "
                                      "before its objects are destroyed.");
    }

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts a thread with the stored settings and those given: `stackSize` in bytes, 0 for the program's default;
    /// a thread that starts suspended is held before Run() until ResumeThread(); a detached one is not joined. The last
    /// two stay as the last creation set them; suspending wears off with ResumeThread().
    /// @return ERR_IN_PROGRESS, with nothing changed, while a thread lives or waits to be joined; else as
    /// Z4::ThreadCreate(), and a failure leaves the object idle, without these settings.
    [[nodiscard]] Z4_API Error CreateThread();
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize);
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize, bool startSuspended);
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize, bool startSuspended, bool detached);

    /// Sets priority and cores as SetThreadPriority() and SetAffinity() do, whatever they answer, and creates.
    Z4_API ThreadErrorCodeWrapper StartThread(unsigned long stackSize);
    Z4_API ThreadErrorCodeWrapper StartThread(ThreadPriority priority, unsigned long stackSize);
    Z4_API ThreadErrorCodeWrapper StartThread(ThreadPriority priority, unsigned long stackSize, long affinity);

    /// Lets a thread that was created suspended go on; not to be mistaken for a pause. ERR_CANNOT_ASSIGN otherwise.
    [[nodiscard]] Z4_API Error ResumeThread();

    /// Waits for the end of Run(), then for the thread's own end, and releases the thread. Others may use the object
    /// meanwhile, and of several who join at once one does it. ERR_NOT_READY when there is no thread, or when another
    /// has joined it; ERR_UNREACHABLE, with nothing changed, for a detached thread, from Run(), and later on the
    /// thread's own way out.
    [[nodiscard]] Z4_API Error JoinThread();

    /// Waits until Run() is about to be called; on an idle object too, so that one can wait before creating.
    /// ERR_TIMEOUT when the time has passed. A thread that has started still needs its object, a detached one too: see
    /// the destructor.
    Z4_API ThreadErrorCodeWrapper BlockUntilStarted(unsigned long timeoutMs);
    /// Waits until Run() has returned. ERR_TIMEOUT when the time has passed, ERR_UNREACHABLE for a detached thread.
    Z4_API ThreadErrorCodeWrapper BlockUntilStopped(unsigned long timeoutMs);

    /// ERR_INVALID outside -15 to 15. What else a live thread can meet: see ThreadChangePriority().
    [[nodiscard]] Z4_API Error SetThreadPriority(ThreadPriority priority);
    Z4_API ThreadErrorCodeWrapper SetPriority(ThreadPriority priority);

    /// Halfway between the other thread's priority and that plus `delta`, see MiddlePriority(). ERR_INVALID, with
    /// nothing changed, when either lies outside -15 to 15.
    [[nodiscard]] Z4_API Error SetThreadRelativePriority(const Thread& other, ThreadPriority delta);
    [[nodiscard]] Z4_API Error SetRelativePriority(const Thread& other, ThreadPriority delta);
    /// Halfway between two threads.
    [[nodiscard]] Z4_API Error SetThreadRelativePriority(const Thread& a, const Thread& b);
    [[nodiscard]] Z4_API Error SetRelativePriority(const Thread& a, const Thread& b);

    /// The cores to run on; the sets 0 and 0xFFFFFFFF stand for all that the process may use. ERR_INVALID for cores
    /// outside those; an object that is not live says so of the set 0xFFFFFFFF too, but can be created with it.
    [[nodiscard]] Z4_API Error SetThreadAffinity(ThreadAffinity affinity);
    /// The lower 32 cores, bit by bit.
    [[nodiscard]] Z4_API Error SetAffinity(long mask);
    /// One core; 64 and above stand for all.
    [[nodiscard]] Z4_API Error SetThreadCoreNumber(unsigned long core);
    [[nodiscard]] Z4_API Error SetCoreNumber(unsigned long core);

    [[nodiscard]] Z4_API Error SetThreadSchedulingPolicy(ThreadSchedulingPolicy policy);
    /// Whether the system may raise the priority for a while.
    Z4_API ThreadErrorCodeWrapper SetPriorityBoost(bool enable);

    /// Copies the name, which debuggers and warnings show. A name of more than 63 characters is cut there, with
    /// ERR_INVALID; null is the empty name.
    Z4_API Error SetThreadName(const char* name);
    /// Stays valid with the object; its content changes with SetThreadName(). Never null.
    Z4_API const char* GetThreadName() const;

    /// INVALID_THREAD_ID when there is no thread.
    Z4_API unsigned long GetThreadId() const;
    /// Null when there is none. Closing it is not the caller's part.
    Z4_API void* GetThreadNativeHandle() const;
    /// The place of the handle within the object.
    Z4_API void** GetNativeThread();
    Z4_API ThreadState GetThreadState() const;
    /// As set, not as the system has it.
    Z4_API ThreadPriority GetThreadPriority() const;
    Z4_API ThreadPriority GetCurrentPriority() const;
    Z4_API ThreadAffinity GetThreadAffinity() const;
    /// The lower 32 cores as set; -1 for no restriction.
    Z4_API long GetCurrentAffinity() const;
    Z4_API ThreadSchedulingPolicy GetThreadSchedulingPolicy() const;
    /// In bytes, as requested; 0 once the thread was joined.
    Z4_API unsigned int GetThreadStackSize() const;
    Z4_API unsigned int GetStackSize() const;
    /// The address just above the stack, 0 until the thread has come to its entry.
    Z4_API unsigned int GetThreadStackAddress() const;
    Z4_API unsigned int GetStackAddress() const;
    Z4_API bool IsDetached() const;
    Z4_API bool IsStarting() const;
    Z4_API bool IsRunning() const;
    /// Ended or joined.
    Z4_API bool IsEnded() const;
    /// Idle, ended or joined.
    Z4_API bool IsStopped() const;

    /// Bytes of the stack committed so far. Only the thread itself can ask: 0 and ERR_CANNOT_ASSIGN elsewhere.
    [[nodiscard]] Z4_API Error GetThreadCommittedStackSize(unsigned int& size) const;

    /// Logical processors of the machine, see Platform.
    Z4_API static unsigned int GetNumberOfCore();
    /// The lower 32 cores that the process may use; as many as the machine has when the system does not tell.
    Z4_API static long GetAffinityMask();

protected:
    Thread() = default;

    /// BlockUntilStopped() and JoinThread() in one.
    Z4_API ThreadErrorCodeWrapper Join(unsigned long timeoutMs);

    /// The mean, halves away from 0, after each was brought into the range -15 to 15.
    Z4_API static ThreadPriority MiddlePriority(ThreadPriority a, ThreadPriority b);

private:
    friend Private::Layout<Thread>;
    friend Private::ThreadKind<Thread>;
    friend Private::ThreadLife<Thread>;

    /// Stores settings by `store()` and creates, if this is allowed now.
    template <class Store>
    Error CreateWith(Store store);
    Error CreateHeld();
    static void Z4_CDECL Enter(void* thread);
    Z4_API void Finish();
    bool IsBeingDestroyed() const {
        const AutoLock<Private::Monitor> guard(m_monitor);
        return m_beingDestroyed;
    }

    mutable Private::Monitor m_monitor; ///< guards all that follows; every change of state wakes all who wait
    void* m_handle = nullptr;
    ThreadAffinity m_affinity;
    std::uint32_t m_stackBase = 0;
    std::uint32_t m_stackSize = 0;
    std::uint32_t m_threadId = INVALID_THREAD_ID;
    ThreadState m_state = THREAD_IDLE;
    Thread* m_owner = this; ///< whose Run() is called
    ThreadPriority m_priority;
    std::uint8_t m_schedulingPolicy = 0; ///< 0 or 1
    std::uint8_t m_detached : 1 = 0;
    std::uint8_t m_startSuspended : 1 = 0;
    std::uint8_t m_beingDestroyed : 1 = 0;
    std::uint8_t m_joining : 1 = 0; ///< one waits for the thread's end, without the monitor; the state is THREAD_ENDED
    char m_name[64] = {};
    unsigned char m_reserved[2] = {}; // Derived classes begin behind it, whoever compiles them.
};

} // namespace Z4
