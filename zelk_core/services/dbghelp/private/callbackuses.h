// Callbacks that come from anywhere, an exception among them, and can be taken away at any time, without any lock that
// a callback or its thread could meet.
#pragma once

#include <atomic>
#include <zelk_core/base/private/singleton.h>

namespace Z4::Private {

/// Which threads are inside which callbacks. Each registration of a callback has a number, its use, which is never 0
/// and never comes again. The use stands in a word beside the callback; 0 there says that the callback is taken away. A
/// constant-initialised global is ready before any code runs.
///
/// Whoever calls: Enter(), Hold(), the callback, Leave(). Whoever takes away: 0 into the word, then WaitFor(). Each
/// stores what the other loads, before it loads what the other stores, and all in one order: so one of them sees the
/// other. Where nobody waited, a place for a callback can be filled anew as soon as IsHeld() is false.
template <unsigned long CAPACITY>
class CallbackPlaces {
public:
    struct Place {
        std::atomic<unsigned long> threadId{0};
        std::atomic<unsigned long> use{0};
    };

    /// @return null when the thread is inside already, or so many others are that there is no place.
    Place* Enter(unsigned long threadId) {
        if (IsInside(threadId)) {
            return nullptr;
        }
        for (Place& place : m_places) {
            unsigned long nobody = 0;
            if (place.threadId.load(std::memory_order_relaxed) == 0 &&
                place.threadId.compare_exchange_strong(nobody, threadId)) {
                return &place;
            }
        }
        return nullptr;
    }

    static void Leave(Place& place) {
        place.use.store(0);
        place.threadId.store(0);
    }

    /// Whether the thread has a place.
    bool IsInside(unsigned long threadId) const {
        for (const Place& place : m_places) {
            if (place.threadId.load(std::memory_order_relaxed) == threadId) {
                return true;
            }
        }
        return false;
    }

    /// @return whether there is a callback, which stays until Leave() or the next Hold().
    static bool Hold(Place& place, const std::atomic<unsigned long>& word) {
        const unsigned long use = word.load();
        place.use.store(use);
        return use != 0 && word.load() == use;
    }

    /// Whether a thread, the calling one included, may be inside the callback of `use`.
    bool IsHeld(unsigned long use) const {
        for (const Place& place : m_places) {
            if (use != 0 && place.use.load() == use) {
                return true;
            }
        }
        return false;
    }

    /// Waits until no thread holds `use`. A thread that is inside a callback itself does not wait: two that took
    /// away each other's would wait for ever.
    void WaitFor(unsigned long use, unsigned long threadId) const {
        while (!IsInside(threadId) && IsHeld(use)) {
            YieldThread();
        }
    }

private:
    Place m_places[CAPACITY];
};

using CallbackUses = CallbackPlaces<64>;

} // namespace Z4::Private
