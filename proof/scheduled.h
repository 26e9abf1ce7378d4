// Included in front of every source that is explored (by the compiler's -include). It brings the standard headers
// first, untouched, and then lets three of their words mean something else in the library's code: every operation of
// an atomic is a scheduling point, the spin-wait hint tells the explorer that the thread spins, and assertions about
// the layout of 32-bit records hold nothing up in a 64-bit program.
#pragma once

#include <atomic>
#include <bit>
#include <cerrno>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <emmintrin.h>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include <proof/explorer.h>

namespace Proof {

/// The part of an atomic that the library uses; `Atomic` is the standard's own, so that sanitizers see the real
/// operation with its memory order.
template <class Atomic>
class Scheduled {
public:
    using Value = typename Atomic::value_type;
    using Order = std::memory_order;

    constexpr Scheduled() = default;
    constexpr explicit Scheduled(Value value) requires std::is_constructible_v<Atomic, Value> : m_atomic(value) {}
    constexpr explicit Scheduled(Value& place) requires(!std::is_constructible_v<Atomic, Value>) : m_atomic(place) {}
    Scheduled(const Scheduled&) = delete;
    Scheduled& operator=(const Scheduled&) = delete;

    Value load(Order order = Order::seq_cst) const {
        Step("atomic load");
        return m_atomic.load(order);
    }
    void store(Value value, Order order = Order::seq_cst) const {
        Step("atomic store");
        m_atomic.store(value, order);
    }
    Value exchange(Value value, Order order = Order::seq_cst) const {
        Step("atomic exchange");
        return m_atomic.exchange(value, order);
    }
    Value fetch_add(Value value, Order order = Order::seq_cst) const {
        Step("atomic add");
        return m_atomic.fetch_add(value, order);
    }
    Value fetch_sub(Value value, Order order = Order::seq_cst) const {
        Step("atomic subtract");
        return m_atomic.fetch_sub(value, order);
    }
    bool compare_exchange_strong(Value& expected, Value value, Order order = Order::seq_cst) const {
        Step("atomic compare and exchange");
        return m_atomic.compare_exchange_strong(expected, value, order);
    }
    bool compare_exchange_strong(Value& expected, Value value, Order success, Order failure) const {
        Step("atomic compare and exchange");
        return m_atomic.compare_exchange_strong(expected, value, success, failure);
    }
    bool compare_exchange_weak(Value& expected, Value value, Order order = Order::seq_cst) const {
        return compare_exchange_strong(expected, value, order);
    }
    bool compare_exchange_weak(Value& expected, Value value, Order success, Order failure) const {
        return compare_exchange_strong(expected, value, success, failure);
    }

private:
    mutable Atomic m_atomic;
};

} // namespace Proof

namespace std {
template <class T>
using ScheduledAtomic = ::Proof::Scheduled<atomic<T>>;
template <class T>
using ScheduledAtomicRef = ::Proof::Scheduled<atomic_ref<T>>;
} // namespace std

#define atomic ScheduledAtomic
#define atomic_ref ScheduledAtomicRef
#define _mm_pause() ::Proof::Pause()
#pragma clang diagnostic ignored "-Wkeyword-macro"
#define static_assert(...) static_assert(true, "")
