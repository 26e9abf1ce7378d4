/// @file
/// Typed writing to a stream: what StreamReader reads.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/byteorder.h>
#include <zelk_core/base/guid.h>
#include <zelk_core/base/structureswap.h>
#include <zelk_core/base/strview.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/streams/stream.h>
#include <zelk_core/streams/streamreader.h>

namespace Z4 {

/// Writes typed values, in one byte order, to a stream, which must outlive it. One thread at a time uses the writer and
/// its stream. The writer has no error of its own: the stream has it, and operations return false when it has failed.
class StreamWriter {
public:
    StreamWriter(Stream& stream, ByteOrder order) : m_stream(&stream), m_isSwapped(order != NATIVE_ORDER) {}

    /// The stream that is written, which has the error.
    Stream& GetStream() const { return *m_stream; }

    /// Writes one value, in the form that StreamReader::Read() reads.
    template <Private::StreamValue T>
    bool Write(const T& value) {
        if constexpr (std::is_same_v<T, bool>) {
            const std::uint8_t byte = value ? 1 : 0;
            return m_stream->Write(&byte, 1);
        } else if constexpr (std::is_same_v<T, GUID>) {
            return Write(value.data1) && Write(value.data2) && Write(value.data3) &&
                   m_stream->Write(value.data4, sizeof(value.data4));
        } else {
            Private::UnsignedOfSize<sizeof(T)> bits;
            std::memcpy(&bits, &value, sizeof(bits));
            bits = m_isSwapped ? ByteSwap(bits) : bits;
            return m_stream->Write(&bits, sizeof(bits));
        }
    }

    /// Writes a number with 7 bits in each byte, the lowest first (LEB128): 1 byte up to 127, at most 10.
    Z4_API bool WriteVarint(std::uint64_t value);
    /// The same with the sign in the lowest bit ("zigzag"), so that small negative numbers are short, too.
    bool WriteSignedVarint(std::int64_t value) {
        const auto bits = static_cast<std::uint64_t>(value);
        return WriteVarint(bits << 1 ^ (0 - (bits >> 63)));
    }

    /// Writes the length of a text as a number of 32 bits, and the text. A text for which that is too small is
    /// ERR_OVERFLOW.
    Z4_API bool WriteString(StrView text);
    /// Writes a text into a field of `fieldSize` bytes, with zeros behind it. A text that is longer is ERR_OVERFLOW,
    /// and nothing is written.
    Z4_API bool WriteFixedString(StrView text, std::uint32_t fieldSize);
    /// Writes a text and a zero. A text that contains a zero is ERR_INVALID, and nothing is written.
    Z4_API bool WriteTerminated(StrView text);

    /// Writes `count` elements one behind the other.
    template <Private::StreamElement T>
    bool WriteArray(const T* elements, std::uint32_t count) {
        if (!m_isSwapped && count <= 0xFFFFFFFFU / sizeof(T)) {
            return m_stream->Write(elements, count * static_cast<std::uint32_t>(sizeof(T)));
        }
        // Swapped in parts, as what is written stays as it is.
        constexpr std::uint32_t PART = 1024 / sizeof(T);
        T swapped[PART];
        while (count != 0 && m_stream->GetError() == ERR_OK) {
            const std::uint32_t part = count < PART ? count : PART;
            std::memcpy(swapped, elements, part * sizeof(T));
            if (m_isSwapped) {
                Private::SwapElements(swapped, part);
            }
            m_stream->Write(swapped, part * static_cast<std::uint32_t>(sizeof(T)));
            elements += part;
            count -= part;
        }
        return count == 0 && m_stream->GetError() == ERR_OK;
    }
    /// Writes the number of elements as a number of 32 bits, and the elements.
    template <Private::StreamElement T, class Allocator>
    bool WriteVector(const Vector<T, Allocator>& elements) {
        return Write(static_cast<std::uint32_t>(elements.Size())) && WriteArray(elements.Data(), elements.Size());
    }

    /// Writes the members that are named one behind the other, without padding, as StreamReader::ReadRecord() reads
    /// them.
    template <auto... MEMBERS, class R>
    requires(sizeof...(MEMBERS) != 0) bool WriteRecord(const R& record) {
        return (WriteMember(record.*MEMBERS) && ...);
    }
    /// Writes a record of `layout.recordSize` bytes as it lies in memory, with its padding, and with its fields swapped
    /// when the writer's order is not the processor's. `layout` is trusted: it must have passed StructureSwap::Check().
    /// Records of more than 1024 bytes cannot be swapped here: they are ERR_OVERFLOW, and nothing is written.
    Z4_API bool WriteRecord(const void* record, const SwapLayout& layout);

    /// Writes zeros up to the next position that is a multiple of `alignment`, which is at least 1.
    Z4_API bool Align(std::uint32_t alignment);

    /// Writes a 0 in the place of a number that is known later, such as the length of what follows.
    /// @return the position of the number, for Patch().
    template <Private::Number T>
    [[nodiscard]] std::uint64_t Reserve() {
        const std::uint64_t place = m_stream->Tell();
        Write(T{});
        return place;
    }
    /// Writes a number at the position `place`, and moves the position back to where it was:
    /// `Patch<std::uint32_t>(place, size)`. The stream must be able to seek. When the number would not end at or before
    /// the position where the stream stands, the result is ERR_INVALID, and nothing is written.
    template <Private::Number T>
    bool Patch(std::uint64_t place, const std::type_identity_t<T>& value) {
        const std::uint64_t end = m_stream->Tell();
        if (place > end || end - place < sizeof(T)) {
            m_stream->Fail(ERR_INVALID);
        }
        return m_stream->Seek(static_cast<std::int64_t>(place), SEEK_FROM_BEGIN) && Write(value) &&
               m_stream->Seek(static_cast<std::int64_t>(end), SEEK_FROM_BEGIN);
    }

private:
    template <class M>
    bool WriteMember(const M& member) {
        if constexpr (std::is_array_v<M>) {
            for (const auto& element : member) {
                if (!WriteMember(element)) {
                    return false;
                }
            }
            return true;
        } else {
            return Write(member);
        }
    }
    bool WriteZeros(std::uint32_t count);

    Stream* m_stream;
    bool m_isSwapped;
};

} // namespace Z4
