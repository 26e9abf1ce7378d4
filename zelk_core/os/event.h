/// @file
/// An event that threads wait for, and waits on groups of events.
///
/// An auto-reset event releases one waiter each time it is signalled and is reset by that; a manual-reset event
/// releases everybody until it is reset. Any thread may call anything here but the destructor, which wants the event to
/// itself.
#pragma once

#include <initializer_list>
#include <zelk_core/base/api.h>

namespace Z4 {

class Event {
public:
    /// @param name null for an event of this process alone; else events of one name in one session are one event,
    /// which keeps the mode and state of the first. A name that is taken by another kind of object, or a failure of the
    /// system, gives an event on which signals do nothing and each wait returns at once as not signalled.
    Z4_API Event(bool initialState, bool autoReset, const char* name);
    Z4_API ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    /// Signals the event. It stays signalled until it is reset; signalling it again changes nothing.
    Z4_API void SetDone();
    Z4_API void Reset();
    /// Releases those who wait at this moment, or one of them when the event resets itself, and leaves the event not
    /// signalled. A waiter that the system has taken off its wait for an instant is missed, so that no hand-over may
    /// rest on this.
    Z4_API void Pulse();

    /// Waits without limit. It does not say why it returned; an event that could not be created returns at once.
    Z4_API void WaitUntilDone();
    /// Never waits.
    /// @return true when signalled, and an auto-reset event is then reset.
    [[nodiscard]] Z4_API bool TryWait();
    /// @param ms milliseconds; 0 tests without waiting, 0xFFFFFFFF waits without limit.
    /// @return true when signalled; false on time-out and on an event that could not be created.
    [[nodiscard]] Z4_API bool WaitWithTimeout(unsigned long ms);

    /// The system's event handle, null when there is none. The event keeps it.
    [[nodiscard]] Z4_API void* GetNativeHandle() const;
    [[nodiscard]] Z4_API void* GetImpl() const;

    /// @name Group waits
    /// `events` lists 1 to 64 events, none of them null; the array must stay as it is until the call returns. Some
    /// lists cannot be waited for: one of more or fewer, one with an event that could not be created, and, when waiting
    /// for all, one that lists an event twice. The call then returns at once as if nothing had been signalled, and no
    /// event changes.
    ///
    /// A wait for all takes the events together, or none of them. A wait for any takes the first signalled one in the
    /// array's order and resets no other. `signalled` receives that event, or null when there is none, and may itself
    /// be null.
    /// @return true when signalled, where there is a result; `ms` as for WaitWithTimeout().
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
