/// @file
/// Atomic operations on plain 32-bit and 64-bit integers that the caller holds: a field of a record, a global.
///
///     long g_users = 0;
///     if (Z4::Atomic::Increment(g_users) == 1) { // the first one
///
/// All are sequentially consistent and inline: on 32 bits one locked instruction where the processor has one, on 64
/// bits a loop of compare-and-exchange. While several threads use an integer, they must touch it by these operations
/// only.
///
/// Integers must be aligned to 4 bytes. That is enough for 64 bits, too, as on a 32-bit stack; but align those that are
/// used often to 8, because one that lies across the end of a cache line holds up all processors at every operation.
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <zelk_core/base/api.h>

namespace Z4 {

/// What Atomic works on: integers and enumerations of 32 or 64 bits.
template <class T>
concept AtomicOperand = std::disjunction_v<std::is_integral<T>, std::is_enum<T>> && sizeof(T) % 4 == 0 &&
                        sizeof(T) <= 8;

/// The operations, all static, which any thread may call at any time. Sums wrap around. Add(), Sub(), Increment() and
/// Decrement() return the value after the operation, all others the value before it.
class Atomic {
public:
    Atomic() = default;
    Atomic(const Atomic&) = default;
    /// An Atomic has no state; these do nothing.
    Z4_API Atomic& operator=(const Atomic&);
    Z4_API Atomic& operator=(Atomic&&) noexcept;

    /// The value. 64 bits are read by a compare-and-exchange, so they must lie in memory that can be written.
    template <AtomicOperand T>
    static T Get(const volatile T& value) {
        return static_cast<T>(InternalGet(AsWord(value)));
    }

    /// Stores `replacement`.
    /// @return the value before.
    template <AtomicOperand T>
    static T Exchange(volatile T& value, std::type_identity_t<T> replacement) {
        return static_cast<T>(InternalExchange(AsWord(value), static_cast<Word<T>>(replacement)));
    }

    /// Stores `replacement` if the value is `comparand`. Mind the order: what is compared comes first.
    /// @return the value before; it is equal to `comparand` exactly when it was replaced.
    template <AtomicOperand T>
    static T ExchangeIfEqual(volatile T& value, std::type_identity_t<T> comparand,
                             std::type_identity_t<T> replacement) {
        return static_cast<T>(
            InternalExchangeIfEqual(AsWord(value), static_cast<Word<T>>(comparand), static_cast<Word<T>>(replacement)));
    }

    /// @return the value after the addition.
    template <AtomicOperand T>
    static T Add(volatile T& value, std::type_identity_t<T> summand) {
        return static_cast<T>(InternalAdd(AsWord(value), static_cast<Word<T>>(summand)));
    }

    /// @return the value after the subtraction.
    template <AtomicOperand T>
    static T Sub(volatile T& value, std::type_identity_t<T> subtrahend) {
        return static_cast<T>(InternalSub(AsWord(value), static_cast<Word<T>>(subtrahend)));
    }

    /// @return the value after.
    template <AtomicOperand T>
    static T Increment(volatile T& value) {
        return static_cast<T>(InternalIncrement(AsWord(value)));
    }

    /// @return the value after.
    template <AtomicOperand T>
    static T Decrement(volatile T& value) {
        return static_cast<T>(InternalDecrement(AsWord(value)));
    }

    /// @return the value before.
    template <AtomicOperand T>
    static T PostIncrement(volatile T& value) {
        return static_cast<T>(InternalPostIncrement(AsWord(value)));
    }

    /// @return the value before.
    template <AtomicOperand T>
    static T PostDecrement(volatile T& value) {
        return static_cast<T>(InternalPostDecrement(AsWord(value)));
    }

    /// @return the value before.
    template <AtomicOperand T>
    static T And(volatile T& value, std::type_identity_t<T> mask) {
        return static_cast<T>(InternalAnd(AsWord(value), static_cast<Word<T>>(mask)));
    }

    /// @return the value before.
    template <AtomicOperand T>
    static T Or(volatile T& value, std::type_identity_t<T> mask) {
        return static_cast<T>(InternalOr(AsWord(value), static_cast<Word<T>>(mask)));
    }

    /// @return the value before.
    template <AtomicOperand T>
    static T Xor(volatile T& value, std::type_identity_t<T> mask) {
        return static_cast<T>(InternalXor(AsWord(value), static_cast<Word<T>>(mask)));
    }

private:
    template <class T>
    using Word = std::conditional_t<sizeof(T) == 4, long, long long>;

    // The compilers let no other access pass a sequentially consistent one, whatever its type.
    template <class T>
    static volatile Word<T>& AsWord(volatile T& value) {
        return reinterpret_cast<volatile Word<T>&>(value);
    }
    template <class T>
    static const volatile Word<T>& AsWord(const volatile T& value) {
        return reinterpret_cast<const volatile Word<T>&>(value);
    }

    static std::atomic_ref<long> Ref(volatile long& value) { return std::atomic_ref<long>(const_cast<long&>(value)); }

    // The standard's references want 64 bits aligned to 8 bytes; the processor's instruction takes any address.
    template <class Function>
    static long long Replace(volatile long long& value, Function replacement) {
        // Two loads may see two values; then the first exchange fails and tells the whole one.
        const auto* const halves = reinterpret_cast<const volatile std::uint32_t*>(&value);
        const std::uint32_t low = halves[0];
        long long before = static_cast<long long>(static_cast<std::uint64_t>(halves[1]) << 32 | low);
        while (!Private::CompareExchange(value, before, replacement(before))) {
        }
        return before;
    }

    template <class T>
    static T Sum(T left, T right) {
        using Unsigned = std::make_unsigned_t<T>;
        return static_cast<T>(static_cast<Unsigned>(left) + static_cast<Unsigned>(right));
    }
    template <class T>
    static T Negative(T value) {
        return static_cast<T>(std::make_unsigned_t<T>{0} - static_cast<std::make_unsigned_t<T>>(value));
    }

    static long InternalGet(const volatile long& value) { return Ref(const_cast<volatile long&>(value)).load(); }
    static long long InternalGet(const volatile long long& value) {
        // Exchanges 0 for 0 or nothing at all, and tells the value either way.
        return InternalExchangeIfEqual(const_cast<volatile long long&>(value), 0ll, 0ll);
    }

    static long InternalExchange(volatile long& value, long replacement) { return Ref(value).exchange(replacement); }
    static long long InternalExchange(volatile long long& value, long long replacement) {
        return Replace(value, [replacement](long long) { return replacement; });
    }

    static long InternalExchangeIfEqual(volatile long& value, long comparand, long replacement) {
        Ref(value).compare_exchange_strong(comparand, replacement);
        return comparand;
    }
    static long long InternalExchangeIfEqual(volatile long long& value, long long comparand, long long replacement) {
        Private::CompareExchange(value, comparand, replacement);
        return comparand;
    }

    /// @return the value before.
    static long FetchAdd(volatile long& value, long summand) { return Ref(value).fetch_add(summand); }
    static long long FetchAdd(volatile long long& value, long long summand) {
        return Replace(value, [summand](long long before) { return Sum(before, summand); });
    }

    template <class T>
    static T InternalAdd(volatile T& value, T summand) {
        return Sum(FetchAdd(value, summand), summand);
    }
    template <class T>
    static T InternalSub(volatile T& value, T subtrahend) {
        return InternalAdd(value, Negative(subtrahend));
    }
    template <class T>
    static T InternalIncrement(volatile T& value) {
        return InternalAdd(value, T{1});
    }
    template <class T>
    static T InternalPreIncrement(volatile T& value) {
        return InternalIncrement(value);
    }
    template <class T>
    static T InternalPostIncrement(volatile T& value) {
        return FetchAdd(value, T{1});
    }
    template <class T>
    static T InternalDecrement(volatile T& value) {
        return InternalAdd(value, T{-1});
    }
    template <class T>
    static T InternalPreDecrement(volatile T& value) {
        return InternalDecrement(value);
    }
    template <class T>
    static T InternalPostDecrement(volatile T& value) {
        return FetchAdd(value, T{-1});
    }

    static long InternalAnd(volatile long& value, long mask) { return Ref(value).fetch_and(mask); }
    static long long InternalAnd(volatile long long& value, long long mask) {
        return Replace(value, [mask](long long before) { return before & mask; });
    }
    static long InternalOr(volatile long& value, long mask) { return Ref(value).fetch_or(mask); }
    static long long InternalOr(volatile long long& value, long long mask) {
        return Replace(value, [mask](long long before) { return before | mask; });
    }
    static long InternalXor(volatile long& value, long mask) { return Ref(value).fetch_xor(mask); }
    static long long InternalXor(volatile long long& value, long long mask) {
        return Replace(value, [mask](long long before) { return before ^ mask; });
    }
};

/// Reserved for a list without locks. It has no state and no operations, so any thread
/// may do anything with it; its assignments do nothing.
class SList {
public:
    SList() = default;
    SList(const SList&) = default;
    Z4_API SList& operator=(const SList&);
    Z4_API SList& operator=(SList&&) noexcept;
};

} // namespace Z4
