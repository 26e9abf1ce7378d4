// How the archive's headers stand in it: their fields one behind the other, little-endian, whatever lies between them
// in memory, and at their end a CRC-32.
#pragma once

#include <array>
#include <zelk_core/base/hash.h>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/streamreader.h>
#include <zelk_core/streams/streamwriter.h>

namespace Packer {

template <auto... MEMBERS>
struct FieldList {};

/// Specialised for each header: `List`, its fields in their order with the checksum last, and `SIZE`, their bytes.
template <class Header>
struct Fields;

template <class Header>
using HeaderBytes = std::array<unsigned char, Fields<Header>::SIZE>;

template <class Header, auto... MEMBERS>
HeaderBytes<Header> ToBytes(const Header& header, FieldList<MEMBERS...>) {
    HeaderBytes<Header> bytes{};
    Z4::MemoryStream stream(bytes.data(), bytes.size(), 0);
    Z4::StreamWriter(stream, Z4::LITTLE_ENDIAN_ORDER).WriteRecord<MEMBERS...>(header);
    return bytes;
}
template <class Header>
HeaderBytes<Header> ToBytes(const Header& header) {
    return ToBytes(header, typename Fields<Header>::List());
}

template <class Header, auto... MEMBERS>
Header FromBytes(const HeaderBytes<Header>& bytes, FieldList<MEMBERS...>) {
    Header header{};
    Z4::MemoryStream stream(bytes.data(), bytes.size());
    Z4::StreamReader(stream, Z4::LITTLE_ENDIAN_ORDER).ReadRecord<MEMBERS...>(header);
    return header;
}
template <class Header>
Header FromBytes(const HeaderBytes<Header>& bytes) {
    return FromBytes<Header>(bytes, typename Fields<Header>::List());
}

/// The checksum over all fields before it, continuing `crc`.
template <class Header>
std::uint32_t HeaderCrc(const Header& header, std::uint32_t crc = 0) {
    const HeaderBytes<Header> bytes = ToBytes(header);
    return Z4::Hash::CRC(bytes.data(), bytes.size() - sizeof(crc), crc);
}

} // namespace Packer
