/// @file
/// What WinDbgHelp keeps its observers in. It is public only because that class has one as a member.
#pragma once

#include <zelk_core/base/error.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/monitor.h>

namespace Z4::Private {

/// Up to `CAPACITY` observers, each a pair of a function and its context, which Notify() calls in the order in which
/// they were added. Any thread may call any function at any time. No lock is held while an observer runs, so it may add
/// and remove observers, itself included.
///
/// Where a function takes `callingThread`, the caller hands in the system's id of its own thread.
///
/// When two observers run at the same time on two threads, they must not remove each other, as each would wait for the
/// other's end. Where notifications come one after another, as from the system's loader, this cannot happen.
template <class Callback, unsigned long CAPACITY>
class ObserverTable {
public:
    ObserverTable() = default;
    ObserverTable(const ObserverTable&) = delete;
    ObserverTable& operator=(const ObserverTable&) = delete;

    /// Adds an observer behind the others. A notification that is under way calls it, too.
    /// @return ERR_ALREADY_EXISTS when the pair is in the table, ERR_OUT_OF_RESOURCES when the table is full.
    Error Add(Callback callback, void* context) {
        const Guard guard(m_monitor);
        if (Find(callback, context) != m_count) {
            return ERR_ALREADY_EXISTS;
        }
        if (m_count == CAPACITY) {
            return ERR_OUT_OF_RESOURCES;
        }
        m_observers[m_count++] = {callback, context, ++m_lastNumber};
        return ERR_OK;
    }

    /// Takes an observer out, so that nobody calls it any more, and then waits until no other thread is inside it. The
    /// caller must hold no lock that the observer takes, and the observer must not wait for the caller. The caller may
    /// itself be inside the observer; that call goes on after the return.
    /// @return ERR_NOT_FOUND, without any wait, when the pair is not in the table.
    Error Remove(Callback callback, void* context, unsigned long callingThread) {
        const Guard guard(m_monitor);
        const unsigned long index = Find(callback, context);
        if (index == m_count) {
            return ERR_NOT_FOUND;
        }
        const unsigned long number = m_observers[index].number;
        --m_count;
        for (unsigned long i = index; i < m_count; ++i) {
            m_observers[i] = m_observers[i + 1];
        }
        for (Cursor* cursor = m_cursors; cursor != nullptr; cursor = cursor->outer) {
            cursor->next -= index < cursor->next ? 1 : 0;
        }
        while (IsOtherInside(number, callingThread)) {
            m_monitor.Wait(NO_LIMIT);
        }
        return ERR_OK;
    }

    /// Calls each observer as `callback(data, context)`, on this thread. Those that are removed before their turn are
    /// not called. Several threads may notify at the same time.
    template <class Data>
    void Notify(const Data& data, unsigned long callingThread) {
        const Guard guard(m_monitor);
        Cursor cursor{0, NOBODY, callingThread, m_cursors};
        m_cursors = &cursor;
        while (cursor.next < m_count) {
            const Observer observer = m_observers[cursor.next++];
            cursor.inside = observer.number;
            m_monitor.Unlock();
            observer.callback(data, observer.context);
            m_monitor.Lock();
            cursor.inside = NOBODY;
            m_monitor.WakeAll();
        }
        // Not always the innermost: another thread may have begun meanwhile.
        Cursor** link = &m_cursors;
        while (*link != &cursor) {
            link = &(*link)->outer;
        }
        *link = cursor.outer;
    }

    bool IsEmpty() {
        const Guard guard(m_monitor);
        return m_count == 0;
    }

    /// Whether the calling thread is inside a notification: in an observer, or between two.
    bool IsInside(unsigned long callingThread) {
        const Guard guard(m_monitor);
        const Cursor* cursor = m_cursors;
        while (cursor != nullptr && cursor->thread != callingThread) {
            cursor = cursor->outer;
        }
        return cursor != nullptr;
    }

private:
    using Guard = AutoLock<Monitor>;

    struct Observer {
        Callback callback;
        void* context;
        unsigned long number; ///< tells it from the same pair, added once more later
    };
    /// Where a running notification is; observers may come and go meanwhile.
    struct Cursor {
        unsigned long next;
        unsigned long inside; ///< the number of the observer that runs
        unsigned long thread;
        Cursor* outer;
    };

    static constexpr unsigned long NOBODY = 0;
    static constexpr unsigned long NO_LIMIT = 0xFFFFFFFF;

    /// The number of observers when there is none such.
    unsigned long Find(Callback callback, void* context) const {
        unsigned long index = 0;
        while (index < m_count && (m_observers[index].callback != callback || m_observers[index].context != context)) {
            ++index;
        }
        return index;
    }

    bool IsOtherInside(unsigned long number, unsigned long callingThread) const {
        const Cursor* cursor = m_cursors;
        while (cursor != nullptr && (cursor->inside != number || cursor->thread == callingThread)) {
            cursor = cursor->outer;
        }
        return cursor != nullptr;
    }

    Monitor m_monitor;
    unsigned long m_count = 0;
    unsigned long m_lastNumber = NOBODY;
    Observer m_observers[CAPACITY];
    Cursor* m_cursors = nullptr;
};

} // namespace Z4::Private
