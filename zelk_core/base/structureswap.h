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
    std::uint16_t count;      ///< of elements; at least 1
    std::uint8_t size;        ///< of an element in bytes: 1, 2, 4 or 8; 16 for a GUID; 0 for a nested record
    const SwapLayout* nested; ///< the record's layout where `size` is 0; null otherwise
};

/// A record: which of its bytes are swapped together. Bytes that no field names stay as they are.
struct SwapLayout {
    const SwapField* fields; ///< in any order; they must live as long as the layout is used
    unsigned fieldCount;     ///< how many `fields` lists
    unsigned recordSize;     ///< in bytes, padding included; an array's records lie this many bytes apart
};

namespace Private {

template <class T>
concept NestedRecord = std::is_class_v<T> && !std::is_same_v<T, GUID>;

} // namespace Private

/// The operations, all static. Any thread may call them, on data that no other thread uses meanwhile.
class StructureSwap {
public:
    StructureSwap() = delete;

    /// Swaps each of `count` elements of 2, 4 or 8 bytes from `from` to `to`. Neither needs alignment; they are the
    /// same place or do not overlap. 16 or 32 bytes at a time, by byte shuffles where the processor has them.
    Z4_API static void Array16(void* to, const void* from, std::size_t count);
    Z4_API static void Array32(void* to, const void* from, std::size_t count);
    Z4_API static void Array64(void* to, const void* from, std::size_t count);

    /// Tests a layout. Call it once for each layout, before its first use.
    /// @return ERR_OK for a layout that Record() can work by; ERR_INVALID for all others. Those are: a record of size
    /// 0; a null `fields` with a `fieldCount`; a field of no elements, or of an element size that SwapField does not
    /// list; a `nested` layout beside a size, or none where the size is 0; a field that reaches beyond the record or
    /// overlaps another one; and records nested more than 8 deep, as those of a layout are that contains itself.
    [[nodiscard]] Z4_API static Error Check(const SwapLayout& layout);

    /// Swaps the fields of `count` records in place. They lie `layout.recordSize` bytes apart and need no alignment.
    /// `layout` is trusted: with one that Check() refuses, bytes outside the records may be changed. With a `count` of
    /// 0 nothing is done.
    Z4_API static void Record(void* record, const SwapLayout& layout, std::size_t count = 1);
    /// Copies `count` records from `from` to `to`, which do not overlap, and swaps the copies in the same way. Bytes
    /// that no field names, padding included, are copied as they are.
    Z4_API static void Record(void* to, const void* from, const SwapLayout& layout, std::size_t count = 1);

    /// Swaps the members of `record` that are named: `StructureSwap::Fields<&Header::kind, &Header::size>(header)`.
    /// They are numbers, enumerations, GUIDs, nested records, and arrays of those; others do not compile. For a nested
    /// record of type `R`, a function `void SwapFields(R&)` in the namespace of `R` swaps its members.
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
