/// @file
/// A thread as an object: derive a class, supply Run(), create the thread, join it.
///
///     class Worker : public Z4::Thread {
///         void Run() override { Work(); }
///     };
///     Worker worker;
///     if (worker.CreateThread() == Z4::ERR_OK) {
///         // ...
///         const Z4::Error error = worker.JoinThread();
///     }
///
/// The object must outlive Run(): join the thread before you destroy the object. A detached thread is not joined; see
/// the destructor for when its object may go.
///
/// Mind what a new thread is set to. When the system refuses a setting, the creation fails, and a suspended thread
/// stays behind until the process ends, with its stack and one small block of the host's memory. A priority must be one
/// of -15, -2, -1, 0, 1, 2 and 15, and a set of cores must not hold one that the process may not use.
/// SetThreadPriority() and SetThreadAffinity() store even what they report as ERR_INVALID, so look at their results
/// before you create; and keep to those priorities, because a value such as 5 is only refused by the system, when the
/// thread is created:
///
///     Z4::Error error = worker.SetThreadPriority(2);
///     if (error == Z4::ERR_OK) {
///         error = worker.SetThreadAffinity(0b11);
///     }
///     if (error == Z4::ERR_OK) {
///         error = worker.CreateThread();
///     }
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

/// An object that has one native thread at a time. A thread can be created again once the last one was joined, or once
/// the Run() of a detached one has returned. Many operations have a second, shorter name that does the same.
///
/// Any thread may call any operation at any time, also from within Run(), but nobody may while the object is being
/// destroyed. Run() must return. A thread that ends itself in another way never counts as ended; where it is detached,
/// the library goes on to use a record on its stack, which is gone.
///
/// A setting is kept until it is set again and serves every later creation. The thread is live from its creation until
/// Run() has returned (THREAD_STARTING to THREAD_RUNNING); a setting then reaches the thread itself, and is stored only
/// where that succeeds (a name always). While the thread is not live, setters of priority and cores store even a value
/// that they report as ERR_INVALID; the next creation then fails. A detached thread has no handle: while it is live,
/// its settings cannot be changed (ERR_NOT_FOUND).
///
/// Time-outs are in milliseconds; 0 does not wait, 0xFFFFFFFF waits without limit. Every change of the thread's state
/// restarts the time-out of those who wait, so a wait can last longer than was asked.
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

    /// Does what the owner has left out, with a warning in the log for each step: it resumes a thread that is held at
    /// its start, which then skips Run(), and it joins a thread that is not detached. Do not rely on that: the derived
    /// part of the object is destroyed before, while Run() may still use it. Run() itself must not destroy the object
    /// of a thread that is not detached. What runs on the thread after Run() (such as the destructors of its
    /// thread-local objects) may, and the destructor waits for nothing there.
    ///
    /// The object of a detached thread may be destroyed by Run() itself. Others may destroy it once Run() has told
    /// them, by something outside of the object, that it does not need the object any more; that the thread has started
    /// tells them nothing. Where a detached thread has not come to Run() yet, the destructor waits until it has, and
    /// Run() is skipped.
    virtual ~Thread() { Finish(); }

    /// The work. It runs on the new thread, whose stack is aligned to 16 bytes. Every derived class must supply its
    /// own. This one does nothing; a thread comes to it only when the derived part of its object is destroyed already.
    virtual void Run() {
        Z4_ASSERT(IsBeingDestroyed(), "A class derived from Thread has a Run() of its own, and its threads are joined "
                                      "before its objects are destroyed.");
    }

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts a thread with the stored settings. What is given here is stored, too, and what is not given is as the
    /// last creation left it.
    /// @param stackSize in bytes, at least MIN_THREAD_STACK_SIZE, or 0 for the program's default. At first, and after
    /// each join, it is 0.
    /// @param startSuspended whether the thread is held before Run() until ResumeThread(), which also ends the setting.
    /// @param detached whether nobody joins the thread.
    /// @return ERR_IN_PROGRESS, with nothing changed, while the thread is live or waits to be joined. Otherwise the
    /// result of Z4::ThreadCreate(); on failure the object is idle, and these three settings are 0 and false.
    [[nodiscard]] Z4_API Error CreateThread();
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize);
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize, bool startSuspended);
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize, bool startSuspended, bool detached);

    /// Sets what is given by SetThreadPriority() and SetAffinity(), calls CreateThread(stackSize) whatever their
    /// results are, and returns the result of that. What is not given stays as it is set. Mind the order: the only
    /// argument of the first form is the stack's size, and the first of the others is the priority.
    Z4_API ThreadErrorCodeWrapper StartThread(unsigned long stackSize);
    Z4_API ThreadErrorCodeWrapper StartThread(ThreadPriority priority, unsigned long stackSize);
    Z4_API ThreadErrorCodeWrapper StartThread(ThreadPriority priority, unsigned long stackSize, long affinity);

    /// Lets a thread go on that was created suspended. There is no way to suspend one later.
    /// @return ERR_CANNOT_ASSIGN when it was not created suspended, or was resumed already.
    [[nodiscard]] Z4_API Error ResumeThread();

    /// Waits without limit for the end of Run() and of the thread, and releases the thread. Others may use the object
    /// meanwhile. Of several who join at once, one does, and the others get ERR_NOT_READY.
    /// @return ERR_NOT_READY when there is no thread to join. ERR_UNREACHABLE, with nothing changed, for a detached
    /// thread and for the thread itself, in Run() and after it.
    [[nodiscard]] Z4_API Error JoinThread();

    /// Waits until Run() is about to be called. On an idle object it waits for a thread to be created; after Run() it
    /// returns at once. A thread that has started still needs its object, also where it is detached.
    /// @return ERR_TIMEOUT when the time has passed.
    Z4_API ThreadErrorCodeWrapper BlockUntilStarted(unsigned long timeoutMs);
    /// Waits until Run() has returned, on an idle object too.
    /// @return ERR_TIMEOUT when the time has passed, ERR_UNREACHABLE for a detached thread.
    Z4_API ThreadErrorCodeWrapper BlockUntilStopped(unsigned long timeoutMs);

    /// @return ERR_INVALID outside of -15 to 15. On a live thread, the result of ThreadChangePriority().
    [[nodiscard]] Z4_API Error SetThreadPriority(ThreadPriority priority);
    Z4_API ThreadErrorCodeWrapper SetPriority(ThreadPriority priority);

    /// Sets the priority to MiddlePriority(p, p + `delta`), where p is the other thread's priority as set.
    /// @return ERR_INVALID, with nothing changed, when p or `delta` is outside of -15 to 15. Otherwise the result of
    /// SetThreadPriority().
    [[nodiscard]] Z4_API Error SetThreadRelativePriority(const Thread& other, ThreadPriority delta);
    [[nodiscard]] Z4_API Error SetRelativePriority(const Thread& other, ThreadPriority delta);
    /// Sets the priority to MiddlePriority(p, q) of the two threads' priorities as set.
    /// @return ERR_INVALID, with nothing changed, when either is outside of -15 to 15. Otherwise the result of
    /// SetThreadPriority().
    [[nodiscard]] Z4_API Error SetThreadRelativePriority(const Thread& a, const Thread& b);
    [[nodiscard]] Z4_API Error SetRelativePriority(const Thread& a, const Thread& b);

    /// Sets the cores to run on. The sets 0 and 0xFFFFFFFF stand for all cores that the process may use.
    /// @return ERR_INVALID for a set with a core that the process may not use; of the set 0xFFFFFFFF that is said only
    /// while the thread is not live, and the next creation takes it all the same. ERR_UNHANDLED, with nothing changed,
    /// when the system does not tell which cores there are.
    [[nodiscard]] Z4_API Error SetThreadAffinity(ThreadAffinity affinity);
    /// SetThreadAffinity() with the lower 32 cores, bit by bit; -1 is the set 0xFFFFFFFF.
    [[nodiscard]] Z4_API Error SetAffinity(long mask);
    /// SetThreadAffinity() with one core; 64 and above stand for all.
    [[nodiscard]] Z4_API Error SetThreadCoreNumber(unsigned long core);
    [[nodiscard]] Z4_API Error SetCoreNumber(unsigned long core);

    /// Sets whether the system may raise the thread's priority for a while. Every value but 0 is stored as 1.
    /// @return on a live thread, the result of ThreadChangeSchedulingPolicy().
    [[nodiscard]] Z4_API Error SetThreadSchedulingPolicy(ThreadSchedulingPolicy policy);
    /// SetThreadSchedulingPolicy(): true stands for THREAD_SCHEDULING_DYNAMIC_BOOST.
    Z4_API ThreadErrorCodeWrapper SetPriorityBoost(bool enable);

    /// Copies the name, which debuggers and the library's warnings show; null is the empty name. Of a longer name the
    /// first 63 characters are stored.
    /// @return ERR_INVALID for a name that was cut. On a live thread a failure of ThreadChangeName() comes first.
    Z4_API Error SetThreadName(const char* name);
    /// The name as stored, never null. The pointer is valid as long as the object; SetThreadName() changes the text
    /// behind it, so that no other thread may call that while you read.
    Z4_API const char* GetThreadName() const;

    /// The system's number of the thread. INVALID_THREAD_ID before the first creation, after a join and after a failed
    /// creation; a detached thread's number stays after its end.
    Z4_API unsigned long GetThreadId() const;
    /// The system's handle of the thread, null where there is none. The object closes it.
    Z4_API void* GetThreadNativeHandle() const;
    /// The place within the object where the handle stands. Only read it, and while no other thread creates or joins.
    Z4_API void** GetNativeThread();
    /// The state at this moment; the thread and those who create and join it can change it at any time.
    Z4_API ThreadState GetThreadState() const;
    /// The priority as set; the system may have raised it for a while.
    Z4_API ThreadPriority GetThreadPriority() const;
    Z4_API ThreadPriority GetCurrentPriority() const;
    /// The cores as set.
    Z4_API ThreadAffinity GetThreadAffinity() const;
    /// The lower 32 cores as set, bit by bit; -1 where the set is 0, which stands for all.
    Z4_API long GetCurrentAffinity() const;
    /// 0 or 1, as set.
    Z4_API ThreadSchedulingPolicy GetThreadSchedulingPolicy() const;
    /// The stack's size in bytes, as given to the creation; 0 after a join and after a failed creation.
    Z4_API unsigned int GetThreadStackSize() const;
    Z4_API unsigned int GetStackSize() const;
    /// The address just above the stack. It is 0 until the first thread has come to its entry, and after a join. Where
    /// a detached thread has ended and another is created, it is that of the ended one until the new one has come to
    /// its entry.
    Z4_API unsigned int GetThreadStackAddress() const;
    Z4_API unsigned int GetStackAddress() const;
    /// As the last creation set it; false after one that failed.
    Z4_API bool IsDetached() const;
    /// Whether the state is THREAD_STARTING.
    Z4_API bool IsStarting() const;
    /// Whether the state is THREAD_RUNNING.
    Z4_API bool IsRunning() const;
    /// Whether the state is THREAD_ENDED or THREAD_JOINED.
    Z4_API bool IsEnded() const;
    /// Whether there is no live thread: the state is THREAD_IDLE, THREAD_ENDED or THREAD_JOINED.
    Z4_API bool IsStopped() const;

    /// Stores in `size` how many bytes of the stack are committed so far. Only the thread itself can ask.
    /// @return ERR_CANNOT_ASSIGN on any other thread; `size` is 0 then.
    [[nodiscard]] Z4_API Error GetThreadCommittedStackSize(unsigned int& size) const;

    /// How many logical processors the machine has, by Platform.
    Z4_API static unsigned int GetNumberOfCore();
    /// The lower 32 cores that the process may use, bit by bit. Where the system does not tell, all that the machine
    /// has.
    Z4_API static long GetAffinityMask();

protected:
    Thread() = default;

    /// BlockUntilStopped(), and where that is ERR_OK, JoinThread().
    Z4_API ThreadErrorCodeWrapper Join(unsigned long timeoutMs);

    /// The mean of the two priorities. One that lies outside of -15 to 15 first becomes the nearer end of that range; a
    /// half is rounded away from 0.
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
