/// @file
/// Typed reading from a stream: numbers in either byte order, texts, arrays and records, out of data that nobody
/// vouches for.
///
/// Every length that stands in the data is compared with a limit, which the caller names, and with the number of bytes
/// that the stream has left, before memory is taken. From a stream that does not know its length, memory is taken as
/// the data arrive: 64 KiB first, then twice as much each time.
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

/// Reads typed values, in one byte order, from a stream, which must outlive it. One thread at a time uses the reader
/// and its stream.
///
/// The reader has no error of its own: the stream has it. Data that end early, or are wrong, make the stream fail with
/// ERR_CORRUPTED_DATA, and memory that is refused with ERR_OUT_OF_MEMORY. From a stream that has failed, and where the
/// data end within one, numbers are read as 0 and texts as empty. Operations that return `bool` return false when the
/// stream has failed.
class StreamReader {
public:
    StreamReader(Stream& stream, ByteOrder order) : m_stream(&stream), m_isSwapped(order != NATIVE_ORDER) {}

    /// The stream that is read, which has the error.
    Stream& GetStream() const { return *m_stream; }

    /// Sets the most bytes of memory that texts and vectors, all together, may take from now on; reading more is
    /// ERR_CORRUPTED_DATA. Without this there is no such bound.
    void SetBudget(std::uint64_t bytes) { m_budget = bytes; }

    /// Reads one value: a number, an enumeration, a `bool` or a GUID. A `bool` is a byte of 0 or 1; any other makes the
    /// stream fail. Of a GUID the numbers `data1` to `data3` are in the reader's byte order: big-endian gives the order
    /// of GUID::ToBytes().
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
            if (!m_stream->ReadExactly(value.data4, sizeof(value.data4))) {
                value = GUID{};
            }
        } else {
            Private::UnsignedOfSize<sizeof(T)> bits = 0;
            const bool isRead = m_stream->ReadExactly(&bits, sizeof(bits));
            bits = !isRead ? 0 : m_isSwapped ? ByteSwap(bits) : bits;
            std::memcpy(&value, &bits, sizeof(bits));
            return isRead;
        }
        return m_stream->GetError() == ERR_OK;
    }
    /// The same, as the result: `reader.Read<std::uint32_t>()`.
    template <Private::StreamValue T>
    [[nodiscard]] T Read() {
        T value{};
        Read(value);
        return value;
    }

    /// Reads a number of up to 64 bits that has 7 of them in each byte, the lowest first (LEB128). A form that is
    /// longer than the number needs, and a number above 64 bits, are ERR_CORRUPTED_DATA.
    /// @return 0 after an error.
    [[nodiscard]] Z4_API std::uint64_t ReadVarint();
    /// The same for a number whose sign stands in the lowest bit ("zigzag").
    [[nodiscard]] std::int64_t ReadSignedVarint() {
        const std::uint64_t bits = ReadVarint();
        return static_cast<std::int64_t>(bits >> 1 ^ (0 - (bits & 1)));
    }

    /// Reads a length, which is a number of 32 bits, and a text of so many bytes. After a failure the text is empty.
    /// @param maxSize the largest length that is accepted, in bytes.
    Z4_API bool ReadString(ZelkString& text, std::uint32_t maxSize);
    /// The same; a text that is not well-formed UTF-8 is ERR_CORRUPTED_DATA.
    Z4_API bool ReadUtf8String(ZelkString& text, std::uint32_t maxSize);
    /// Reads a field of `fieldSize` bytes, in which zeros stand behind a shorter text, and terminates it. After a
    /// failure the text is empty.
    /// @param text has room for `fieldSize` + 1 characters.
    Z4_API bool ReadFixedString(char* text, std::uint32_t fieldSize);
    /// Reads a text and the zero behind it. After a failure, which a missing zero is, too, the text is empty.
    /// @param maxSize the largest size that is accepted, in bytes, without the zero.
    Z4_API bool ReadTerminated(ZelkString& text, std::uint32_t maxSize);
    /// Reads a line. It ends with a line feed, or with a carriage return and a line feed, neither of which becomes part
    /// of `text`; the last line may end with the data. After a failure the text is empty.
    /// @param maxSize the largest size that is accepted, in bytes, with the carriage return.
    /// @return false also when there is no further line.
    Z4_API bool ReadLine(ZelkString& text, std::uint32_t maxSize);

    /// Reads `count` elements that stand one behind the other. `count` must be the caller's, not the data's: it has no
    /// limit. When the data end early, the rest is zeros, and the elements may be in the wrong byte order.
    /// @return false also when the elements have more than 0xFFFFFFFF bytes, which is ERR_INVALID.
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
    /// Reads a number of 32 bits, and as many elements. After a failure the vector is empty.
    /// @param maxCount the largest number that is accepted.
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

    /// Reads the members that are named, which stand one behind the other in the data, without padding:
    /// `ReadRecord<&Header::kind, &Header::size>(header)`. They are what Read() reads, and arrays of that.
    template <auto... MEMBERS, class R>
    requires(sizeof...(MEMBERS) != 0) bool ReadRecord(R& record) {
        (ReadMember(record.*MEMBERS), ...);
        return m_stream->GetError() == ERR_OK;
    }
    /// Reads a record of `layout.recordSize` bytes as it lies in memory, with its padding, and swaps its fields when
    /// the reader's order is not the processor's. `layout` is trusted: it must have passed StructureSwap::Check().
    Z4_API bool ReadRecord(void* record, const SwapLayout& layout);

    /// Passes over the bytes up to the next position that is a multiple of `alignment`, which is at least 1.
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
