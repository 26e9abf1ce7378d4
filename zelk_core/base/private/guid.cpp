#include <cstring>
#include <zelk_core/base/byteorder.h>
#include <zelk_core/base/guid.h>
#include <zelk_core/base/hash.h>
#include <zelk_core/base/private/sha1.h>

namespace Z4 {

static_assert(sizeof(GUID) == 16 && alignof(GUID) == 4);
static_assert(offsetof(GUID, data2) == 4 && offsetof(GUID, data3) == 6 && offsetof(GUID, data4) == 8);

Error GUID::Parse(StrView text, GUID& guid) {
    return Private::ParseGuid(text, guid) ? ERR_OK : ERR_INVALID;
}

GUID GUID::FromBytes(const std::uint8_t (&bytes)[16]) {
    GUID guid;
    guid.data1 = LoadBig<std::uint32_t>(bytes);
    guid.data2 = LoadBig<std::uint16_t>(bytes + 4);
    guid.data3 = LoadBig<std::uint16_t>(bytes + 6);
    std::memcpy(guid.data4, bytes + 8, sizeof(guid.data4));
    return guid;
}

void GUID::ToBytes(std::uint8_t (&bytes)[16]) const {
    StoreBig(bytes, data1);
    StoreBig(bytes + 4, data2);
    StoreBig(bytes + 6, data3);
    std::memcpy(bytes + 8, data4, sizeof(data4));
}

GUID GUID::FromName(const GUID& space, StrView name) {
    std::uint8_t bytes[16];
    space.ToBytes(bytes);
    Private::Sha1 sha1;
    sha1.Add(bytes, sizeof(bytes));
    sha1.Add(name.Data(), name.Size());
    std::uint8_t digest[20];
    sha1.Finish(digest);
    std::memcpy(bytes, digest, sizeof(bytes));
    GUID guid = FromBytes(bytes);
    guid.data3 = static_cast<std::uint16_t>(0x5000 | (guid.data3 & 0x0FFF));
    guid.data4[0] = static_cast<std::uint8_t>(0x80 | (guid.data4[0] & 0x3F));
    return guid;
}

std::size_t GUID::Format(char* to, std::size_t size, Form form) const {
    static constexpr char HEXADECIMAL[] = "0123456789abcdef";
    std::uint8_t bytes[16];
    ToBytes(bytes);
    char text[FORMAT_SIZE];
    char* at = text;
    if (form == BRACED) {
        *at++ = '{';
    }
    for (unsigned i = 0; i < sizeof(bytes); ++i) {
        if (form != BARE && (i == 4 || i == 6 || i == 8 || i == 10)) {
            *at++ = '-';
        }
        *at++ = HEXADECIMAL[bytes[i] >> 4];
        *at++ = HEXADECIMAL[bytes[i] & 15];
    }
    if (form == BRACED) {
        *at++ = '}';
    }
    const auto length = static_cast<std::size_t>(at - text);
    if (size != 0) {
        const std::size_t kept = length < size ? length : size - 1;
        std::memcpy(to, text, kept);
        to[kept] = '\0';
    }
    return length;
}

std::uint32_t GUID::GetHash(std::uint32_t seed) const {
    return Hash::XXH32(reinterpret_cast<const unsigned char*>(this), sizeof(*this), seed);
}

} // namespace Z4
