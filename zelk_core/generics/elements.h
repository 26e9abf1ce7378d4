/// @file
/// How Vector makes, copies, moves and destroys its elements in raw memory.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace Z4::Private {

/// What goes over a sequence of values that elements of type `T` can be made from.
template <class Iterator, class T>
concept IteratorOver = requires(Iterator i, Iterator end) {
    ++i;
    i != end;
    requires std::is_constructible_v<T, decltype(*i)>;
};

/// Operations on elements of type `T`, none of which may throw. A *place* is memory for an element, aligned for it,
/// that holds none. Where a count is 0, pointers are not followed and may be null.
template <class T>
struct Elements {
    /// Whether elements are best kept in registers: a reference to one that is handed to a function out of line would
    /// force it into memory, even where that function is hardly ever called.
    static constexpr bool PASS_BY_VALUE = std::is_trivially_copyable_v<T> && std::is_move_constructible_v<T> &&
                                          sizeof(T) <= 8 && (std::is_scalar_v<T> || alignof(T) <= 4);

    /// An element made from `arguments` by a constructor, or, where none takes them, as an aggregate.
    template <class... Arguments>
    static T Make(Arguments&&... arguments) {
        if constexpr (std::is_constructible_v<T, Arguments...>) {
            return T(std::forward<Arguments>(arguments)...);
        } else {
            return T{std::forward<Arguments>(arguments)...};
        }
    }
    /// The same in a place.
    template <class... Arguments>
    static void Construct(T* place, Arguments&&... arguments) {
        if constexpr (std::is_constructible_v<T, Arguments...>) {
            ::new (static_cast<void*>(place)) T(std::forward<Arguments>(arguments)...);
        } else {
            ::new (static_cast<void*>(place)) T{std::forward<Arguments>(arguments)...};
        }
    }

    static void Destroy(T* elements, unsigned count) {
        if constexpr (!std::is_trivially_destructible_v<T>) {
            for (unsigned i = 0; i < count; ++i) {
                elements[i].~T();
            }
        }
    }

    /// Puts a copy of `value` into each of `count` places.
    static void Fill(T* places, unsigned count, const T& value) {
        for (unsigned i = 0; i < count; ++i) {
            Construct(places + i, value);
        }
    }

    /// Puts copies of `count` elements into places that do not overlap with them.
    static void Copy(T* places, const T* elements, unsigned count) {
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (count != 0) {
                std::memcpy(static_cast<void*>(places), elements, count * sizeof(T));
            }
        } else {
            for (unsigned i = 0; i < count; ++i) {
                Construct(places + i, elements[i]);
            }
        }
    }

    /// Moves `count` elements into places; where they were, there are places afterwards. Both may overlap: a place is
    /// also what an element that moves leaves.
    static void Relocate(T* places, T* elements, unsigned count) {
        if constexpr (std::is_trivially_copyable_v<T>) {
            if (count != 0) {
                std::memmove(static_cast<void*>(places), elements, count * sizeof(T));
            }
        } else if (places != elements) {
            const bool isDownwards = places < elements;
            for (unsigned i = 0; i < count; ++i) {
                const unsigned index = isDownwards ? i : count - 1 - i;
                Construct(places + index, std::move(elements[index]));
                elements[index].~T();
            }
        }
    }
};

} // namespace Z4::Private
