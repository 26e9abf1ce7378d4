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

/// Writes to a stream, which outlives it, in one byte order. It has no error of its own: operations return false when
/// the stream has failed. One thread at a time, together with its stream.
class StreamWriter {
public:
    StreamWriter(Stream& stream, ByteOrder order) : m_stream(&stream), m_isSwapped(order != NATIVE_ORDER) {}

    Stream& GetStream() const { return *m_stream; }

    /// One value, as StreamReader::Read() has it.
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

    Z4_API bool WriteVarint(std::uint64_t value);
    bool WriteSignedVarint(std::int64_t value) {
        const auto bits = static_cast<std::uint64_t>(value);
        return WriteVarint(bits << 1 ^ (0 - (bits >> 63)));
    }

    /// A text behind its length, a number of 32 bits. A longer text is ERR_OVERFLOW.
    Z4_API bool WriteString(StrView text);
    /// A field of `fieldSize` bytes, with zeros behind the text. A text that is longer is ERR_OVERFLOW.
    Z4_API bool WriteFixedString(StrView text, std::uint32_t fieldSize);
    /// A text and a zero. A text that contains one is ERR_INVALID.
    Z4_API bool WriteTerminated(StrView text);

    /// Elements one behind the other.
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
    /// Elements behind their number, which has 32 bits.
    template <Private::StreamElement T, class Allocator>
    bool WriteVector(const Vector<T, Allocator>& elements) {
        return Write(static_cast<std::uint32_t>(elements.Size())) && WriteArray(elements.Data(), elements.Size());
    }

    /// The members of a record that are named, one behind the other.
    template <auto... MEMBERS, class R>
    requires(sizeof...(MEMBERS) != 0) bool WriteRecord(const R& record) {
        return (WriteMember(record.*MEMBERS) && ...);
    }
    /// A record as it lies in memory, with its padding.
    /// @param layout passed StructureSwap::Check(); its records have 1024 bytes at most, larger ones are ERR_OVERFLOW.
    Z4_API bool WriteRecord(const void* record, const SwapLayout& layout);

    /// Writes zeros up to the next multiple of `alignment`, counted from the stream's beginning.
    /// @param alignment 1 at least.
    Z4_API bool Align(std::uint32_t alignment);

    /// Keeps room for a number that is known later, such as the length of what follows.
    /// @return its place, for Patch().
    template <Private::Number T>
    [[nodiscard]] std::uint64_t Reserve() {
        const std::uint64_t place = m_stream->Tell();
        Write(T{});
        return place;
    }
    /// Writes a number to its place, and returns to where the stream stood; it must be able to seek. A place that does
    /// not end before that is ERR_INVALID.
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
