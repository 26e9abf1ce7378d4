/// @file
/// Typed reading from a stream: numbers in either byte order, texts, arrays and records, out of data that nobody
/// vouches for.
///
/// Every length that comes from the data is held against a limit, which callers always name, and against what the
/// stream still has, before memory is taken for it. A stream that cannot tell its length is believed 64 KiB at a time.
#pragma once

#include <cstdint>
#include <type_traits>
#include <zelk_core/base/api.h>
#include <zelk_core/base/byteorder.h>
#include <zelk_core/base/guid.h>
#include <zelk_core/base/structureswap.h>
#include <zelk_core/generics/string.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/streams/stream.h>

namespace Z4 {

namespace Private {

/// What one element of an array is, as far as its bytes go.
template <class T>
concept StreamElement = Number<T> || std::is_same_v<T, GUID>;
template <class T>
concept StreamValue = StreamElement<T> || std::is_same_v<T, bool>;

/// Reverses what is to be reversed in `count` elements.
template <StreamElement T>
void SwapElements(T* elements, std::size_t count) {
    if constexpr (std::is_same_v<T, GUID>) {
        for (std::size_t i = 0; i < count; ++i) {
            StructureSwap::Fields<&GUID::data1, &GUID::data2, &GUID::data3>(elements[i]);
        }
    } else if constexpr (sizeof(T) == 2) {
        StructureSwap::Array16(elements, elements, count);
    } else if constexpr (sizeof(T) == 4) {
        StructureSwap::Array32(elements, elements, count);
    } else if constexpr (sizeof(T) == 8) {
        StructureSwap::Array64(elements, elements, count);
    }
}

} // namespace Private

/// Reads from a stream, which outlives it, in one byte order. It has no error of its own: data that are wrong make the
/// stream fail with ERR_CORRUPTED_DATA, and from a stream that has failed it reads zeros and empty texts. Operations
/// return false when the stream has failed. One thread at a time, together with its stream.
class StreamReader {
public:
    StreamReader(Stream& stream, ByteOrder order) : m_stream(&stream), m_isSwapped(order != NATIVE_ORDER) {}

    Stream& GetStream() const { return *m_stream; }

    /// Bounds what all lengths that are read from now on may add up to, in bytes of memory.
    void SetBudget(std::uint64_t bytes) { m_budget = bytes; }

    /// One value: a number, an enumeration, `bool`, which is a byte of 0 or 1, or a GUID, of which the first half is in
    /// the reader's byte order.
    template <Private::StreamValue T>
    bool Read(T& value) {
        if constexpr (std::is_same_v<T, bool>) {
            std::uint8_t byte = 0;
            m_stream->ReadExactly(&byte, 1);
            if (byte > 1) {
                m_stream->Fail(ERR_CORRUPTED_DATA);
            }
            value = byte == 1;
        } else if constexpr (std::is_same_v<T, GUID>) {
            Read(value.data1);
            Read(value.data2);
            Read(value.data3);
            m_stream->ReadExactly(value.data4, sizeof(value.data4));
        } else {
            Private::UnsignedOfSize<sizeof(T)> bits = 0;
            const bool isRead = m_stream->ReadExactly(&bits, sizeof(bits));
            bits = m_isSwapped ? ByteSwap(bits) : bits;
            std::memcpy(&value, &bits, sizeof(bits));
            return isRead;
        }
        return m_stream->GetError() == ERR_OK;
    }
    template <Private::StreamValue T>
    [[nodiscard]] T Read() {
        T value{};
        Read(value);
        return value;
    }

    /// A number of 7 bits a byte, the lowest first (LEB128), as protocols use it. Forms longer than needed are refused.
    [[nodiscard]] Z4_API std::uint64_t ReadVarint();
    /// The same with the sign in the lowest bit ("zigzag").
    [[nodiscard]] std::int64_t ReadSignedVarint() {
        const std::uint64_t bits = ReadVarint();
        return static_cast<std::int64_t>(bits >> 1 ^ (0 - (bits & 1)));
    }

    /// A text behind its length, a number of 32 bits. Texts are bytes; the second form wants UTF-8 in them.
    /// @param maxSize in bytes.
    Z4_API bool ReadString(ZelkString& text, std::uint32_t maxSize);
    Z4_API bool ReadUtf8String(ZelkString& text, std::uint32_t maxSize);
    /// A field of `fieldSize` bytes, with zeros behind a shorter text.
    /// @param text has room for `fieldSize` + 1 characters.
    Z4_API bool ReadFixedString(char* text, std::uint32_t fieldSize);
    /// A text up to a zero, which is read, too.
    Z4_API bool ReadTerminated(ZelkString& text, std::uint32_t maxSize);
    /// A line up to a line feed, which is read, too, and left out, as a carriage return before it is. The last line
    /// need have none. @return false at the end, too.
    Z4_API bool ReadLine(ZelkString& text, std::uint32_t maxSize);

    /// `count` elements one behind the other.
    template <Private::StreamElement T>
    bool ReadArray(T* elements, std::uint32_t count) {
        constexpr std::uint32_t MOST = 0xFFFFFFFFU / sizeof(T);
        if (count > MOST) {
            m_stream->Fail(ERR_INVALID);
            return false;
        }
        const bool isRead = m_stream->ReadExactly(elements, count * static_cast<std::uint32_t>(sizeof(T)));
        if (m_isSwapped && isRead) {
            Private::SwapElements(elements, count);
        }
        return isRead;
    }
    /// Elements behind their number, which has 32 bits. After a failure the vector is empty.
    template <Private::StreamElement T, class Allocator>
    bool ReadVector(Vector<T, Allocator>& elements, std::uint32_t maxCount) {
        elements.Clear();
        std::uint32_t count = Read<std::uint32_t>();
        if (count > maxCount || !IsPlausible(count, sizeof(T))) {
            m_stream->Fail(ERR_CORRUPTED_DATA);
            return false;
        }
        while (count != 0 && m_stream->GetError() == ERR_OK) {
            const std::uint32_t before = elements.Size();
            const std::uint32_t part = NextPart(before, count, sizeof(T));
            if (!elements.Resize(before + part)) {
                m_stream->Fail(ERR_OUT_OF_MEMORY);
            } else if (ReadArray(elements.Data() + before, part)) {
                count -= part;
            }
        }
        if (m_stream->GetError() != ERR_OK) {
            elements.Clear();
        }
        return m_stream->GetError() == ERR_OK;
    }

    /// The members of a record that are named, one behind the other: `ReadRecord<&Header::kind,
    /// &Header::size>(header)`.
    template <auto... MEMBERS, class R>
    requires(sizeof...(MEMBERS) != 0) bool ReadRecord(R& record) {
        (ReadMember(record.*MEMBERS), ...);
        return m_stream->GetError() == ERR_OK;
    }
    /// A record as it lies in memory, with its padding.
    /// @param layout passed StructureSwap::Check().
    Z4_API bool ReadRecord(void* record, const SwapLayout& layout);

    /// Skips bytes up to the next multiple of `alignment`, counted from the stream's beginning.
    /// @param alignment 1 at least.
    bool Align(std::uint32_t alignment) {
        const auto over = static_cast<std::uint32_t>(m_stream->Tell() % alignment);
        return m_stream->Skip(over != 0 ? alignment - over : 0);
    }

private:
    template <class M>
    void ReadMember(M& member) {
        if constexpr (std::is_array_v<M>) {
            for (auto& element : member) {
                ReadMember(element);
            }
        } else {
            Read(member);
        }
    }

    /// Whether `count` elements can follow, by what the stream has left and by the budget, from which they are taken.
    Z4_API bool IsPlausible(std::uint64_t count, std::size_t size);
    /// How many of `count` elements may be asked for next, when there are `before`.
    Z4_API std::uint32_t NextPart(std::uint32_t before, std::uint32_t count, std::size_t size) const;
    bool ReadBytes(ZelkString& text, std::uint32_t size);
    bool ReadUpTo(ZelkString& text, std::uint32_t maxSize, char end, bool& isEnded);

    Stream* m_stream;
    bool m_isSwapped;
    std::uint64_t m_budget = UINT64_MAX;
};

} // namespace Z4
