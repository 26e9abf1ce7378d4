/// @file
/// A thread as an object, like Thread (os/thread.h), where the host makes the thread: derive a class, supply Run(),
/// create the thread, join it. The host's thread table must be installed, see InitializeEalUtils().
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/monitor.h>
#include <zelk_core/os/thread.h>

namespace Z4 {

/// An object that has one thread of the host's at a time. A thread can be created again once the last one was joined,
/// and must be joined before the object is destroyed: there is no detaching. Any thread may call any operation at any
/// time, also from within Run(), but nobody may while the object is being destroyed. Run() must return: a thread that
/// ends itself in another way never counts as ended.
///
/// Time-outs are in milliseconds; 0 does not wait, 0xFFFFFFFF waits without limit. Every change of the thread's state
/// restarts the time-out of those who wait, so a wait can last longer than was asked.
class EalThread {
public:
    using ThreadState = Thread::ThreadState;
    using enum Thread::ThreadState;

    /// Does what the owner has left out, with a warning in the log for each step: it resumes a thread that is held at
    /// its start, which then skips Run(), and it joins. Do not rely on that: the derived part of the object is
    /// destroyed before, while Run() may still use it. The thread itself must not destroy the object, in Run() or after
    /// it, because the host would wait for its own caller.
    virtual ~EalThread() { Finish(); }

    /// The work. It runs on the new thread, whose stack is aligned to 16 bytes. Every derived class must supply its
    /// own. This one does nothing; a thread comes to it only when the derived part of its object is destroyed already.
    virtual void Run() {
        Z4_ASSERT(IsBeingDestroyed(), "A class derived from EalThread has a Run() of its own, and its threads are "
                                      "joined before its objects are destroyed.");
    }

    EalThread(const EalThread&) = delete;
    EalThread& operator=(const EalThread&) = delete;

    /// Asks the host for a thread. `priority` and `startSuspended` are stored even when the call is refused.
    /// @param stackSize in bytes, at least MIN_THREAD_STACK_SIZE; 0, also where none is given, for the host's default.
    /// @param startSuspended whether the thread is held before Run() until ResumeThread(), which also ends the setting.
    /// @param priority for this and later creations.
    /// @return ERR_IN_PROGRESS from a creation until the thread is joined; otherwise ERR_OK, even when the host makes
    /// no thread. GetHandle() is null in that case and the state stays THREAD_STARTING until somebody calls
    /// JoinThread(), which returns ERR_NOT_READY and makes the object idle again.
    [[nodiscard]] Z4_API Error CreateThread();
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize);
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize, bool startSuspended);
    [[nodiscard]] Z4_API Error StartThread(unsigned long stackSize, eal_thread_priority priority);

    /// Stores the priority for later creations.
    /// @return ERR_IN_PROGRESS, with nothing changed, from a creation until Run() has returned.
    [[nodiscard]] Z4_API Error SetThreadPriority(eal_thread_priority priority);

    /// Lets a thread go on that was created suspended. There is no way to suspend one later.
    /// @return ERR_CANNOT_ASSIGN when it was not created suspended, or was resumed already.
    [[nodiscard]] Z4_API Error ResumeThread();

    /// Waits without limit for the end of Run(), and has the host join the thread. Others may use the object meanwhile.
    /// Of several who join at once, one does, and the others get ERR_NOT_READY.
    /// @return ERR_NOT_READY when there is no thread to join. ERR_UNREACHABLE, with nothing changed, for the thread
    /// itself, in Run() and after it.
    [[nodiscard]] Z4_API Error JoinThread();

    /// Waits until Run() is about to be called. On an idle object it waits for a thread to be created; after Run() it
    /// returns at once.
    /// @return ERR_TIMEOUT when the time has passed.
    Z4_API ThreadErrorCodeWrapper BlockUntilStarted(unsigned long timeoutMs);
    /// Waits until Run() has returned, on an idle object too.
    /// @return ERR_TIMEOUT when the time has passed.
    Z4_API ThreadErrorCodeWrapper BlockUntilStopped(unsigned long timeoutMs);

    /// The host's handle of the thread, null where there is none. The host releases it when the thread is joined.
    Z4_API eal_thread_handle GetHandle() const;
    Z4_API eal_thread_handle GetEalHandle() const;
    /// The system's number of the thread; INVALID_THREAD_ID until the thread has come to its entry, and after a join.
    Z4_API unsigned long GetThreadId() const;
    Z4_API unsigned long GetId() const;
    /// The context given at construction.
    Z4_API EALId GetEalId() const;
    /// The state at this moment; the thread and those who create and join it can change it at any time.
    Z4_API ThreadState GetThreadState() const;
    /// The priority as set.
    Z4_API eal_thread_priority GetThreadPriority() const;

protected:
    /// @param id the context on whose behalf the host makes the thread.
    explicit EalThread(const EALId& id) : m_id(id) {}

private:
    friend Private::Layout<EalThread>;
    friend Private::ThreadKind<EalThread>;
    friend Private::ThreadLife<EalThread>;

    Error CreateHeld(unsigned int stackSize);
    static void Z4_CDECL Enter(void* thread);
    Z4_API void Finish();
    bool IsBeingDestroyed() const {
        const AutoLock<Private::Monitor> guard(m_monitor);
        return m_beingDestroyed;
    }

    mutable Private::Monitor m_monitor; ///< guards all that follows; every change of state wakes all who wait
    eal_thread_handle m_handle = nullptr;
    std::uint32_t m_threadId = INVALID_THREAD_ID;
    EALId m_id;
    ThreadState m_state = THREAD_IDLE;
    eal_thread_priority m_priority = EAL_THREAD_PRIORITY_NORMAL;
    bool m_startSuspended = false;
    bool m_beingDestroyed = false;
    bool m_joining = false; ///< one waits for the thread's end, without the monitor; the state is THREAD_ENDED
    [[maybe_unused]] unsigned char m_reserved[1] = {}; // Derived classes begin behind it, whoever compiles them.
};

} // namespace Z4
