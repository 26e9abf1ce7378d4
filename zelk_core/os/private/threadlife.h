// The life of a thread object, of the system's threads and of the host's alike.
#pragma once

#include <windows.h>

#include <zelk_core/base/assert.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/thread.h>

namespace Z4::Private {

/// What the two kinds of thread do differently; each has its own beside its source. All are static and, but for
/// WaitForEnd(), called with the object's monitor held:
///
///     bool IsDetached(const Object&)       whether nobody joins the thread
///     void NoteArrival(Object&)            keeps what only the new thread itself knows
///     Object* RunnerOf(Object&)            whose Run() is called
///     Error WaitForEnd(const Object&)      waits until the thread is gone, and releases its handle
///     void Forget(Object&)                 clears what was known of the thread that is gone
///     void WarnStillSuspended(Object&)     the destructor had to resume the thread
///     void WarnNotJoined(Object&)          the destructor had to join it
template <class Object>
struct ThreadKind;

/// The states of a thread object and every way from one to the next:
///
///     IDLE --create--> STARTING --arrive-----------------------> RUNNING --Run() returns--> ENDED --join--> JOINED
///      ^                |  |  ^                                     ^                         |               |
///      +----failed------+  |  +-------create, where detached--------|-------------------------+               |
///                          |  +-------create------------------------|-----------------------------------------+
///                          +--arrive, held--> SUSPENDED --resume----+
///
/// A creation has failed where the system refuses the thread; where the host has made none, the next join finds out. A
/// detached thread is not joined, and reaches ENDED only where its object is still there.
///
/// Functions that end in `Held` expect the object's monitor to be held; the others take it.
template <class Object>
class ThreadLife {
public:
    /// Created and not yet ended.
    static bool IsLiveHeld(const Object& thread) {
        return thread.m_state >= Thread::THREAD_STARTING && thread.m_state <= Thread::THREAD_RUNNING;
    }

    static bool MayCreateHeld(const Object& thread) {
        return thread.m_state == Thread::THREAD_IDLE || thread.m_state == Thread::THREAD_JOINED ||
               (thread.m_state == Thread::THREAD_ENDED && Kind::IsDetached(thread));
    }

    static void SetStateHeld(Object& thread, Thread::ThreadState state) {
        thread.m_state = state;
        thread.m_monitor.WakeAll();
    }

    static Error Resume(Object& thread) {
        const Guard guard(thread.m_monitor);
        return ResumeHeld(thread);
    }

    static Error Join(Object& thread) {
        const Guard guard(thread.m_monitor);
        return thread.m_threadId == GetCurrentThreadId() ? ERR_UNREACHABLE : JoinHeld(thread);
    }

    static ThreadErrorCodeWrapper WaitUntilStarted(Object& thread, unsigned long timeoutMs) {
        const Guard guard(thread.m_monitor);
        while (thread.m_state < Thread::THREAD_RUNNING) {
            if (!thread.m_monitor.Wait(timeoutMs)) {
                return ERR_TIMEOUT;
            }
        }
        return ERR_OK;
    }

    static ThreadErrorCodeWrapper WaitUntilEnded(Object& thread, unsigned long timeoutMs) {
        const Guard guard(thread.m_monitor);
        while (!Kind::IsDetached(thread) && thread.m_state < Thread::THREAD_ENDED) {
            if (!thread.m_monitor.Wait(timeoutMs)) {
                return ERR_TIMEOUT;
            }
        }
        return Kind::IsDetached(thread) ? ERR_UNREACHABLE : ERR_OK;
    }

    /// The destructor's part: does what the owner left out, with a warning for each step.
    static void FinishHeld(Object& thread) {
        Z4_ASSERT(Kind::IsDetached(thread) || thread.m_state != Thread::THREAD_RUNNING,
                  "A thread is joined before its object is destroyed: the derived part, which Run() uses, goes first.");
        thread.m_beingDestroyed = true;
        ResumeHeld(thread);
        JoinHeld(thread);
    }

    // On the new thread, in this order:

    /// Waits while the thread is held at its start.
    /// @return whether it is detached.
    static bool Arrive(Object& thread) {
        const Guard guard(thread.m_monitor);
        Kind::NoteArrival(thread);
        while (thread.m_startSuspended) {
            SetStateHeld(thread, Thread::THREAD_SUSPENDED);
            thread.m_monitor.Wait(INFINITE);
        }
        return Kind::IsDetached(thread);
    }

    /// Calls Run(), unless the object is being destroyed.
    static void CallRun(Object& thread) {
        thread.m_monitor.Lock();
        SetStateHeld(thread, Thread::THREAD_RUNNING);
        Object* const runner = thread.m_beingDestroyed ? nullptr : Kind::RunnerOf(thread);
        thread.m_monitor.Unlock();
        if (runner != nullptr) {
            runner->Run();
        }
    }

    static void End(Object& thread) {
        const Guard guard(thread.m_monitor);
        SetStateHeld(thread, Thread::THREAD_ENDED);
    }

private:
    using Kind = ThreadKind<Object>;
    using Guard = AutoLock<Monitor>;

    static Error ResumeHeld(Object& thread) {
        if (!thread.m_startSuspended) {
            return ERR_CANNOT_ASSIGN;
        }
        thread.m_startSuspended = false;
        thread.m_monitor.WakeAll();
        if (thread.m_beingDestroyed) {
            Kind::WarnStillSuspended(thread);
        }
        return ERR_OK;
    }

    static Error JoinHeld(Object& thread) {
        while (!Kind::IsDetached(thread) && (thread.m_state != Thread::THREAD_ENDED || thread.m_joining)) {
            // Only by its null handle does a host tell that it made no thread.
            if (thread.m_state == Thread::THREAD_STARTING && thread.m_handle == nullptr) {
                SetStateHeld(thread, Thread::THREAD_IDLE);
            }
            if (thread.m_state == Thread::THREAD_IDLE || thread.m_state == Thread::THREAD_JOINED) {
                return ERR_NOT_READY;
            }
            thread.m_monitor.Wait(INFINITE);
        }
        if (Kind::IsDetached(thread)) {
            return ERR_UNREACHABLE;
        }
        // Without the monitor, which the thread may need on its way out; the flag keeps other joiners off meanwhile.
        thread.m_joining = true;
        thread.m_monitor.Unlock();
        const Error result = Kind::WaitForEnd(thread);
        thread.m_monitor.Lock();
        thread.m_joining = false;
        Kind::Forget(thread);
        SetStateHeld(thread, Thread::THREAD_JOINED);
        if (thread.m_beingDestroyed) {
            Kind::WarnNotJoined(thread);
        }
        return result;
    }
};

} // namespace Z4::Private
