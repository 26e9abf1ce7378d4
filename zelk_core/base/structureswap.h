/// @file
/// Reverses the byte order of arrays and of whole records: data from a machine or a format of the other order.
///
/// A record's fields are named at compile time, which is fastest and checked best, or listed in a table, for formats
/// that are known at run time only. Nothing in a record tells its order: that is the caller's knowledge. Swapping twice
/// restores. Any thread may call everything here, on data that no other one uses at that time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <zelk_core/base/api.h>
#include <zelk_core/base/byteorder.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/guid.h>

namespace Z4 {

struct SwapLayout;

/// One field of a record: `count` elements, one behind the other.
struct SwapField {
    std::uint16_t offset;     ///< from the record's beginning, in bytes
    std::uint16_t count;      ///< of elements; 1 at least
    std::uint8_t size;        ///< of an element in bytes: 1, 2, 4 or 8; 16 for a GUID; 0 for a nested record
    const SwapLayout* nested; ///< the record's layout where `size` is 0; null otherwise
};

/// A record. Bytes that no field names stay as they are.
struct SwapLayout {
    const SwapField* fields;
    unsigned fieldCount;
    unsigned recordSize; ///< in bytes, padding included; an array's records lie so far apart
};

namespace Private {

template <class T>
concept NestedRecord = std::is_class_v<T> && !std::is_same_v<T, GUID>;

} // namespace Private

/// The operations, all static.
class StructureSwap {
public:
    StructureSwap() = delete;

    /// Swaps each of `count` elements of 2, 4 or 8 bytes from `from` to `to`. Neither needs alignment; they are the
    /// same place or do not overlap. 16 or 32 bytes at a time, by byte shuffles where the processor has them.
    Z4_API static void Array16(void* to, const void* from, std::size_t count);
    Z4_API static void Array32(void* to, const void* from, std::size_t count);
    Z4_API static void Array64(void* to, const void* from, std::size_t count);

    /// Tests a layout, once before its first use.
    /// @return ERR_INVALID for an element size that is not listed, a field of no elements, a field that reaches beyond
    /// its record or overlaps another, an empty record, and nesting deeper than 8, which a layout that holds itself is.
    [[nodiscard]] Z4_API static Error Check(const SwapLayout& layout);

    /// Swaps the fields of `count` records in place, or of a copy of them. `layout` is trusted: one that Check()
    /// refuses may swap bytes outside the record. Records may have any alignment; those copied from and to do not
    /// overlap.
    Z4_API static void Record(void* record, const SwapLayout& layout, std::size_t count = 1);
    Z4_API static void Record(void* to, const void* from, const SwapLayout& layout, std::size_t count = 1);

    /// Swaps the members of `record` that are named: `StructureSwap::Fields<&Header::kind, &Header::size>(header)`.
    /// They are numbers, enumerations, GUIDs, nested records, and arrays of those; others do not compile. A nested
    /// record has a function `void SwapFields(R&)` in its own namespace.
    template <auto... MEMBERS, class R>
    static void Fields(R& record) {
        (Value(record.*MEMBERS), ...);
    }

private:
    template <class T>
    static void Value(T& value) {
        if constexpr (std::is_array_v<T>) {
            Elements(value, std::extent_v<T>);
        } else if constexpr (std::is_same_v<T, GUID>) {
            Fields<&GUID::data1, &GUID::data2, &GUID::data3>(value);
        } else if constexpr (Private::NestedRecord<T>) {
            SwapFields(value);
        } else {
            static_assert(Private::Number<T>,
                          "Only numbers, enumerations, GUIDs, records and arrays of them are swapped.");
            Private::UnsignedOfSize<sizeof(T)> bits;
            std::memcpy(&bits, &value, sizeof(bits));
            bits = ByteSwap(bits);
            std::memcpy(&value, &bits, sizeof(bits));
        }
    }

    template <class T>
    static void Elements(T* elements, std::size_t count) {
        constexpr std::size_t WORTH_A_CALL = 64;
        if constexpr (Private::Number<T>) {
            if (count * sizeof(T) >= WORTH_A_CALL) {
                switch (sizeof(T)) {
                case 2:
                    return Array16(elements, elements, count);
                case 4:
                    return Array32(elements, elements, count);
                case 8:
                    return Array64(elements, elements, count);
                default:
                    return;
                }
            }
        }
        for (std::size_t i = 0; i < count; ++i) {
            Value(elements[i]);
        }
    }
};

} // namespace Z4
