/// @file
/// What WinDbgHelp keeps its observers in; no use to anybody else.
#pragma once

#include <zelk_core/base/error.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/monitor.h>

namespace Z4::Private {

/// Up to `CAPACITY` pairs of a function and its context, which Notify() calls in the order in which they were added.
/// Any thread may call anything. Nothing is locked while an observer runs: it may add and remove others and itself.
///
/// Threads are told apart by the system's id of the calling thread, which whoever calls hands in.
///
/// Two observers that run at once, on two threads, must not remove each other, as each would wait for the other's end.
/// Where notifications come one after another this cannot happen.
template <class Callback, unsigned long CAPACITY>
class ObserverTable {
public:
    ObserverTable() = default;
    ObserverTable(const ObserverTable&) = delete;
    ObserverTable& operator=(const ObserverTable&) = delete;

    /// Puts an observer behind the others. A notification that is under way calls it, too.
    /// @return ERR_ALREADY_EXISTS for a pair that is there, ERR_OUT_OF_RESOURCES when the table is full.
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

    /// Takes an observer out, so that no later call reaches it, and waits until no thread but the caller's is inside
    /// it. The caller may be inside it: that call goes on after the return. So the caller must hold no lock that the
    /// observer takes, and the observer must not wait for the caller.
    /// @return ERR_NOT_FOUND when the pair is not there. Then nothing is waited for.
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

    /// Calls each observer with `data` and its context.
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

    /// Whether the calling thread is inside an observer.
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
