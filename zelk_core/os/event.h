/// @file
/// An event that threads wait for, and waits on groups of events.
///
/// An auto-reset event that is signalled releases one waiter and is not signalled any more then. A manual-reset event
/// releases everybody until Reset().
#pragma once

#include <initializer_list>
#include <zelk_core/base/api.h>

namespace Z4 {

/// One event of the system, auto-reset or manual-reset. Any thread may call anything at any time, but nobody may use an
/// event while it is being destroyed.
class Event {
public:
    /// @param initialState whether the event is signalled at first.
    /// @param autoReset whether it releases one waiter only for each signal.
    /// @param name null for an event of this process alone. Events of the same name in one session are one event, which
    /// keeps the mode and the state of the first. Where the name belongs to another kind of object, or the system
    /// fails, the event could not be created: signals then do nothing, and each wait returns at once as not signalled.
    Z4_API Event(bool initialState, bool autoReset, const char* name);
    Z4_API ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    /// Signals the event. It stays signalled until it releases its one waiter or Reset() is called; to signal it again
    /// meanwhile changes nothing.
    Z4_API void SetDone();
    /// Makes the event not signalled. One that is not stays so.
    Z4_API void Reset();
    /// Releases those who wait at this moment (an auto-reset event releases one of them) and leaves the event not
    /// signalled. Do not rely on it: a thread whose wait the system has interrupted for an instant is not released.
    Z4_API void Pulse();

    /// Waits without limit until the event is signalled. On an event that could not be created it returns at once.
    Z4_API void WaitUntilDone();
    /// WaitWithTimeout(0).
    [[nodiscard]] Z4_API bool TryWait();
    /// Waits until the event is signalled, but at most `ms` milliseconds: 0 tests without waiting, 0xFFFFFFFF waits
    /// without limit. An auto-reset event is reset by the one waiter that it releases.
    /// @return true when signalled; false when the time has passed, and for an event that could not be created.
    [[nodiscard]] Z4_API bool WaitWithTimeout(unsigned long ms);

    /// The system's handle of the event, for system calls that take one; null where it could not be created. The event
    /// closes it.
    [[nodiscard]] Z4_API void* GetNativeHandle() const;
    /// The same as GetNativeHandle().
    [[nodiscard]] Z4_API void* GetImpl() const;

    /// @name Group waits
    /// `events` lists 1 to 64 events, none of them null; the array must stay as it is until the call returns. Some
    /// lists cannot be waited for: an empty one, one of more than 64, one with an event that could not be created, and,
    /// when waiting for all, one that lists an event twice. The call then returns at once as if nothing had been
    /// signalled, and no event changes.
    ///
    /// To wait for all is to wait until all are signalled at the same time; auto-reset events are then reset together,
    /// and none before. To wait for any is to wait for the first that is signalled; where several are, the call takes
    /// the one that comes first in the array, and resets no other. `*signalled` becomes that event, or null where there
    /// is none; `signalled` may be null.
    ///
    /// Try means `ms` = 0, and a name without Try or WithTimeout means no limit; `ms` is that of WaitWithTimeout().
    /// @return true when all or any were signalled.
    /// @{
    Z4_API static void WaitAll(Event* const* events, unsigned long count);
    [[nodiscard]] Z4_API static bool TryWaitAll(Event* const* events, unsigned long count);
    [[nodiscard]] Z4_API static bool WaitAllWithTimeout(Event* const* events, unsigned long count, unsigned long ms);
    Z4_API static void WaitAny(Event* const* events, unsigned long count, Event** signalled);
    [[nodiscard]] Z4_API static bool TryWaitAny(Event* const* events, unsigned long count, Event** signalled);
    [[nodiscard]] Z4_API static bool WaitAnyWithTimeout(Event* const* events, unsigned long count, unsigned long ms,
                                                        Event** signalled);

    static void WaitAll(std::initializer_list<Event*> events) { WaitAll(events.begin(), Count(events)); }
    [[nodiscard]] static bool TryWaitAll(std::initializer_list<Event*> events) {
        return TryWaitAll(events.begin(), Count(events));
    }
    [[nodiscard]] static bool WaitAllWithTimeout(std::initializer_list<Event*> events, unsigned long ms) {
        return WaitAllWithTimeout(events.begin(), Count(events), ms);
    }
    static void WaitAny(std::initializer_list<Event*> events, Event** signalled) {
        WaitAny(events.begin(), Count(events), signalled);
    }
    [[nodiscard]] static bool TryWaitAny(std::initializer_list<Event*> events, Event** signalled) {
        return TryWaitAny(events.begin(), Count(events), signalled);
    }
    [[nodiscard]] static bool WaitAnyWithTimeout(std::initializer_list<Event*> events, unsigned long ms,
                                                 Event** signalled) {
        return WaitAnyWithTimeout(events.begin(), Count(events), ms, signalled);
    }
    /// @}

private:
    static unsigned long Count(std::initializer_list<Event*> events) {
        return static_cast<unsigned long>(events.size());
    }

    void* m_handle;
};

} // namespace Z4
