/// @file
/// A thread of the host's as an object: derive, supply Run(), create it, join it. Like Thread, where the host decides
/// how threads are made; it needs the host's thread table, see InitializeEalUtils().
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

/// One thread at a time; the object can be created again once it was joined. There is no detaching: the object must
/// outlive Run(). What Thread says of its users, of time-outs and of ending Run() holds here too.
class EalThread {
public:
    using ThreadState = Thread::ThreadState;
    using enum Thread::ThreadState;

    /// Ends the thread's use of the object, with a warning in the log for each step that the owner left out: resumes a
    /// thread held at its start, which then skips Run(), and joins. Must not be called on the thread itself, neither
    /// from Run() nor later: the host would wait for its own caller. The derived part is gone by then: a Run() that
    /// uses it is joined before.
    virtual ~EalThread() { Finish(); }

    /// The work, on the new thread. Its stack is aligned to 16 bytes. Every derived class supplies its own. This one
    /// does nothing: it is what a thread finds that comes to Run() when the derived part of its object is gone already.
    virtual void Run() {
        Z4_ASSERT(IsBeingDestroyed(), "A class derived from EalThread has a Run() of its own, and its threads are "
                                      "joined before its objects are destroyed.");
    }

    EalThread(const EalThread&) = delete;
    EalThread& operator=(const EalThread&) = delete;

    /// Asks the host for a thread: `stackSize` in bytes, at least MIN_THREAD_STACK_SIZE, or 0 (also where none is
    /// given) for the host's default; a thread
    /// that starts suspended is held before Run() until ResumeThread(). Priority and suspending are stored even when
    /// the call is refused.
    /// @return ERR_IN_PROGRESS while there is a thread, else ERR_OK, even when the host made none: the object then
    /// stays at its start, and JoinThread() is ERR_NOT_READY and makes it idle again.
    [[nodiscard]] Z4_API Error CreateThread();
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize);
    [[nodiscard]] Z4_API Error CreateThread(unsigned int stackSize, bool startSuspended);
    [[nodiscard]] Z4_API Error StartThread(unsigned long stackSize, eal_thread_priority priority);

    /// For the next creation; ERR_IN_PROGRESS, with nothing changed, until the thread has ended.
    [[nodiscard]] Z4_API Error SetThreadPriority(eal_thread_priority priority);

    /// Lets a thread that was created suspended go on. ERR_CANNOT_ASSIGN otherwise.
    [[nodiscard]] Z4_API Error ResumeThread();

    /// Waits for the end of Run(), then for the thread's own end, and releases the thread. Others may use the object
    /// meanwhile, and of several who join at once one does it. ERR_NOT_READY when there is no thread, or when another
    /// has joined it; ERR_UNREACHABLE, with nothing changed, from Run() and later on the thread's own way out.
    [[nodiscard]] Z4_API Error JoinThread();

    /// Waits until Run() is about to be called; on an idle object too. ERR_TIMEOUT when the time has passed.
    Z4_API ThreadErrorCodeWrapper BlockUntilStarted(unsigned long timeoutMs);
    /// Waits until Run() has returned. ERR_TIMEOUT when the time has passed.
    Z4_API ThreadErrorCodeWrapper BlockUntilStopped(unsigned long timeoutMs);

    /// The host's handle; null when there is none.
    Z4_API eal_thread_handle GetHandle() const;
    Z4_API eal_thread_handle GetEalHandle() const;
    /// The system's number of the thread; INVALID_THREAD_ID until it has come to its entry and once it was joined.
    Z4_API unsigned long GetThreadId() const;
    Z4_API unsigned long GetId() const;
    /// The context given at construction.
    Z4_API EALId GetEalId() const;
    Z4_API ThreadState GetThreadState() const;
    Z4_API eal_thread_priority GetThreadPriority() const;

protected:
    /// @param id on whose behalf the host makes the thread.
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
