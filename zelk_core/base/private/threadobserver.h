// How a service above meets each new thread of the library's classes.
#pragma once

#include <atomic>

namespace Z4::Private {

/// Called on each new thread before the thread does anything else; null as long as nobody cares.
using ThreadObserver = void (*)();

inline constinit std::atomic<ThreadObserver> g_threadObserver{nullptr};

inline void ObserveThread() {
    if (const ThreadObserver observer = g_threadObserver.load(std::memory_order_acquire); observer != nullptr) {
        observer();
    }
}

} // namespace Z4::Private
