#include <cstddef>
#include <cstring>
#include <zelk_core/base/assert.h>
#include <zelk_core/services/encryption/cipher.h>
#include <zelk_core/services/encryption/private/blocks.h>

namespace Z4 {

template <>
struct Private::Layout<Cipher> {
    static_assert(offsetof(Cipher, m_name) == 4);
    static_assert(sizeof(Cipher::m_name) == 4);
    static_assert(offsetof(Cipher, m_type) == 8);
    static_assert(sizeof(Cipher) == 12);
};

template <>
struct Private::Layout<Tea> {
    static_assert(offsetof(Tea, m_key) == 12);
    static_assert(offsetof(Tea, m_scratch) == 28);
    static_assert(sizeof(Tea) == 36);
};

template <>
struct Private::Layout<XTea> {
    static_assert(offsetof(XTea, m_key) == 12);
    static_assert(offsetof(XTea, m_scratch) == 28);
    static_assert(sizeof(XTea) == 36);
};

namespace {

using Private::CipherBlock;

constexpr unsigned long BLOCK_SIZE = sizeof(CipherBlock);
constexpr unsigned KEY_LENGTH = 16;

void CopyBytes(const char* in, char* out, unsigned long len) {
    Z4_ASSERT(len == 0 || (in != nullptr && out != nullptr), "Neither buffer is null unless the size is 0.");
    if (in != out) {
        std::memmove(out, in, len);
    }
}

bool SetKeyWords(std::uint32_t* words, const char* key) {
    if (key == nullptr || std::strlen(key) != KEY_LENGTH) {
        return false;
    }
    for (unsigned i = 0; i < KEY_LENGTH / 4; ++i) {
        words[i] = 0;
        for (unsigned byte = 0; byte < 4; ++byte) {
            // Widened as a signed character, which smears the sign upwards: all data so far was written under such
            // keys.
            const std::uint32_t character = static_cast<unsigned char>(key[4 * i + byte]);
            const std::uint32_t widened = (character ^ 0x80) - 0x80;
            words[i] |= widened << (8 * byte);
        }
    }
    return true;
}

unsigned long EncodeBuffer(const char* in, char* out, unsigned long len, Private::BlockCipher cipher,
                           const std::uint32_t* key) {
    if (len == 0) {
        return 0;
    }
    CopyBytes(in, out, len);
    const unsigned long count = (len - 1) / BLOCK_SIZE + 1;
    const unsigned long padded = count * BLOCK_SIZE;
    std::memset(out + len, 0, padded - len);
    Private::WorkOnBlocks(cipher, out, count, key);
    return padded;
}

unsigned long DecodeBuffer(const char* in, char* out, unsigned long len, Private::BlockCipher cipher,
                           const std::uint32_t* key) {
    if (len == 0) {
        return 0;
    }
    CopyBytes(in, out, len);
    Private::WorkOnBlocks(cipher, out, len / BLOCK_SIZE, key);
    return len;
}

template <class Step>
void WorkInPlace(long* block, Step step, const std::uint32_t* key) {
    const CipherBlock result = step({static_cast<std::uint32_t>(block[0]), static_cast<std::uint32_t>(block[1])}, key);
    block[0] = static_cast<long>(result.y);
    block[1] = static_cast<long>(result.z);
}

} // namespace

Cipher::Cipher() : Cipher("Default", PLAIN_COPY) {}

Cipher::Cipher(const char* name, CipherType type) : m_name(name), m_type(type) {}

Cipher::~Cipher() = default;
Cipher::Cipher(const Cipher& other) = default;
Cipher& Cipher::operator=(const Cipher& other) = default;

unsigned long Cipher::Encode(const char* in, char* out, unsigned long len) {
    if (len != 0) {
        CopyBytes(in, out, len);
    }
    return len;
}

unsigned long Cipher::Decode(const char* in, char* out, unsigned long len) {
    return Cipher::Encode(in, out, len);
}

bool Cipher::SetKey(const char*) {
    return true;
}

Tea::Tea() : Cipher("Tea", BLOCK_CIPHER), m_key{} {}

Tea::~Tea() = default;
Tea::Tea(const Tea& other) = default;
Tea& Tea::operator=(const Tea& other) = default;

unsigned long Tea::Encode(const char* in, char* out, unsigned long len) {
    return EncodeBuffer(in, out, len, Private::TEA_ENCODE, m_key);
}

unsigned long Tea::Decode(const char* in, char* out, unsigned long len) {
    return DecodeBuffer(in, out, len, Private::TEA_DECODE, m_key);
}

bool Tea::SetKey(const char* key) {
    return SetKeyWords(m_key, key);
}

void Tea::InternalEncode(long* block) {
    WorkInPlace(block, Private::TeaEncodeBlock, m_key);
}

void Tea::InternalDecode(long* block) {
    WorkInPlace(block, Private::TeaDecodeBlock, m_key);
}

XTea::XTea() : Cipher("Xtea", BLOCK_CIPHER), m_key{} {}

XTea::~XTea() = default;
XTea::XTea(const XTea& other) = default;
XTea& XTea::operator=(const XTea& other) = default;

unsigned long XTea::Encode(const char* in, char* out, unsigned long len) {
    return EncodeBuffer(in, out, len, Private::XTEA_ENCODE, m_key);
}

unsigned long XTea::Decode(const char* in, char* out, unsigned long len) {
    return DecodeBuffer(in, out, len, Private::XTEA_DECODE, m_key);
}

bool XTea::SetKey(const char* key) {
    return SetKeyWords(m_key, key);
}

void XTea::InternalEncode(long* block) {
    WorkInPlace(block, Private::XTeaEncodeBlock, m_key);
}

void XTea::InternalDecode(long* block) {
    WorkInPlace(block, Private::XTeaDecodeBlock, m_key);
}

} // namespace Z4
