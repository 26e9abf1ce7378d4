// What a detached thread knows of its object once Run() has returned.
#pragma once

#include <zelk_core/os/autorwlock.h>
#include <zelk_core/os/private/threadlife.h>
#include <zelk_core/os/rwlock.h>
#include <zelk_core/os/thread.h>

namespace Z4::Private {

/// A detached thread in Run(), from construction to destruction. Its object may be destroyed meanwhile, by Run() itself
/// even, or may live on and be created again; this record on the thread's stack tells the thread which it was, and ends
/// the object's life where there is one. A thread that takes both locks takes this one before the object's.
class DetachedRun {
public:
    explicit DetachedRun(Thread& thread) : m_thread(&thread) {
        const AutoWriterLock guard(s_lock);
        m_next = s_runs;
        if (m_next != nullptr) {
            m_next->m_link = &m_next;
        }
        s_runs = this;
    }

    ~DetachedRun() {
        const AutoWriterLock guard(s_lock);
        *m_link = m_next;
        if (m_next != nullptr) {
            m_next->m_link = m_link;
        }
        if (m_thread != nullptr) {
            ThreadLife<Thread>::End(*m_thread);
        }
    }

    DetachedRun(const DetachedRun&) = delete;
    DetachedRun& operator=(const DetachedRun&) = delete;

    /// For the destructor of an object: its runs must not come back to it.
    static void Forget(const Thread& thread) {
        const AutoWriterLock guard(s_lock);
        for (DetachedRun* run = s_runs; run != nullptr; run = run->m_next) {
            if (run->m_thread == &thread) {
                run->m_thread = nullptr;
            }
        }
    }

private:
    inline static constinit RWLockNonRecursive s_lock{0};
    inline static constinit DetachedRun* s_runs = nullptr;

    Thread* m_thread;
    DetachedRun* m_next = nullptr;
    DetachedRun** m_link = &s_runs; ///< what points to this record
};

} // namespace Z4::Private
