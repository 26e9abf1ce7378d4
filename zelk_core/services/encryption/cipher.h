/// @file
/// Ciphers that obscure buffers such as saved games and packets: Tea and XTea, with 128-bit keys, and their base
/// Cipher, which copies. They keep the curious out, not an attacker: each block of 8 bytes is enciphered by itself, so
/// equal blocks stay equal and can be moved about, nothing authenticates the data, and the key has at most 128 bits
/// that come straight from a text.
///
/// Buffers are the caller's. They need no alignment, and `in` and `out` may be the same or overlap in any way: what
/// stands in `in` at the call is what is worked on. Neither may be null unless the size is 0. Only a whole block's
/// bytes depend on each other, so a buffer may be worked on in pieces of a multiple of 8 bytes. Any number of threads
/// may use one object at once as long as none sets its key or assigns to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/string.h>

namespace Z4 {

/// Copies unchanged, and is what code that takes any cipher holds. Objects made by `new` live in the host's memory;
/// `new` yields null when the host refuses. Copies share the name.
class Z4_API Cipher : public HostNew<Cipher> {
public:
    enum CipherType : std::uint32_t {
        BLOCK_CIPHER = 0, ///< Tea and XTea alike
        PLAIN_COPY = 1,
    };

    /// The constructors of all ciphers take a name from the host: its memory table must be installed, or the process
    /// faults. That holds for objects on the stack and for globals, too. Where the host refuses, the name is empty and
    /// all else works.
    Cipher();
    virtual ~Cipher();
    Cipher(const Cipher& other);
    Cipher& operator=(const Cipher& other);

    /// Copies `len` bytes.
    /// @return `len`.
    virtual unsigned long Encode(const char* in, char* out, unsigned long len);
    /// As Encode().
    virtual unsigned long Decode(const char* in, char* out, unsigned long len);
    /// @return true for anything, null included; nothing is kept.
    [[nodiscard]] virtual bool SetKey(const char* key);

    CipherType GetCipherType() const { return m_type; }

protected:
    /// For derived ciphers. `name` is copied.
    Cipher(const char* name, CipherType type);

private:
    friend struct CipherLayout;

    ZelkBasicString<char, ZelkAllocator> m_name;
    CipherType m_type;
};

/// TEA with 32 cycles (Wheeler and Needham, "TEA, a Tiny Encryption Algorithm", Fast Software Encryption 1994), words
/// little-endian. Known to be weak: each key has three equivalent ones, and related keys break it.
class Z4_API Tea : public Cipher {
public:
    /// Works with a key of 16 zero bytes, which no text can set, until a key is set.
    Tea();
    ~Tea() override;
    Tea(const Tea& other);
    Tea& operator=(const Tea& other);

    /// Enciphers `len` bytes, filled up with zeros to a multiple of 8, for which `out` must have room. The original
    /// size is not recorded.
    /// @return the filled-up size; 0 when `len` is 0, and nothing is touched then.
    unsigned long Encode(const char* in, char* out, unsigned long len) override;
    /// Deciphers the whole blocks among `len` bytes and copies what follows them. The filling of Encode() stays.
    /// @return `len`.
    unsigned long Decode(const char* in, char* out, unsigned long len) override;
    /// Takes a text of exactly 16 characters; the key in use stays when it is refused. Each group of four characters
    /// makes a little-endian word. The characters are signed: one of 0x80 or more sets all higher bits of its word, so
    /// the later ones of its group no longer count. Use ASCII keys; other implementations read only those alike.
    /// @return whether the key was taken; false for null.
    [[nodiscard]] bool SetKey(const char* key) override;

private:
    friend struct CipherLayout;

    void InternalEncode(long* block);
    void InternalDecode(long* block);

    std::uint32_t m_key[4];
    /// A block's room, kept for the layout: copied along, never read. As bytes, which may be copied uninitialised.
    [[maybe_unused]] alignas(long) unsigned char m_scratch[2 * sizeof(long)];
};

/// XTEA with 32 cycles (Needham and Wheeler, "Tea extensions", 1997), words little-endian. Everything else is as with
/// Tea, the cipher type too.
class Z4_API XTea : public Cipher {
public:
    XTea();
    ~XTea() override;
    XTea(const XTea& other);
    XTea& operator=(const XTea& other);

    unsigned long Encode(const char* in, char* out, unsigned long len) override;
    unsigned long Decode(const char* in, char* out, unsigned long len) override;
    [[nodiscard]] bool SetKey(const char* key) override;

private:
    friend struct CipherLayout;

    void InternalEncode(long* block);
    void InternalDecode(long* block);

    std::uint32_t m_key[4];
    [[maybe_unused]] alignas(long) unsigned char m_scratch[2 * sizeof(long)];
};

} // namespace Z4
