/// @file
/// Ciphers that obscure buffers such as saved games and packets: Tea and XTea, with 128-bit keys, and their base
/// Cipher, which copies.
///
///     XTea cipher;
///     bool isSet = cipher.SetKey("sixteen letters!");          // false unless it has exactly 16 characters
///     std::vector<char> coded((size + 7) / 8 * 8);             // whole blocks of 8 bytes
///     cipher.Encode(data, coded.data(), size);                 // keep `size`: it is not recorded
///     cipher.Decode(coded.data(), coded.data(), coded.size()); // `size` bytes of data, then zeros
///
/// They keep the curious out, not an attacker: each block of 8 bytes is enciphered by itself, so equal blocks stay
/// equal and can be moved about, nothing authenticates the data, and the key has at most 128 bits that come straight
/// from a text.
///
/// Buffers are the caller's and need no alignment. `in` and `out` may be the same buffer or overlap in any way: what
/// stands in `in` at the call is what is worked on. Neither may be null unless the size is 0. Each block is enciphered
/// by itself, so a buffer may be worked on in pieces whose sizes are multiples of 8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/string.h>

namespace Z4 {

/// The base of the ciphers, which copies its input unchanged. Code that takes any cipher takes a `Cipher&`. Any number
/// of threads may use one object at once, as long as none sets its key or assigns to it. Objects made by `new` live in
/// the host's memory; `new` gives null where the host refuses. Copies of an object share the memory of its name.
class Z4_API Cipher : public HostNew<Cipher> {
public:
    enum CipherType : std::uint32_t {
        BLOCK_CIPHER = 0, ///< Tea and XTea alike
        PLAIN_COPY = 1,
    };

    /// The constructors of all ciphers, also of those on the stack and of globals, take memory for a name from the
    /// host. Its memory table must therefore be installed before, or the process faults. Where the host refuses, the
    /// name is empty, and everything else works.
    Cipher();
    virtual ~Cipher();
    Cipher(const Cipher& other);
    Cipher& operator=(const Cipher& other);

    /// Copies `len` bytes; `out` has room for as many.
    /// @return `len`.
    virtual unsigned long Encode(const char* in, char* out, unsigned long len);
    /// As Encode().
    virtual unsigned long Decode(const char* in, char* out, unsigned long len);
    /// Takes any key, also null, and keeps nothing of it.
    /// @return true.
    [[nodiscard]] virtual bool SetKey(const char* key);

    CipherType GetCipherType() const { return m_type; }

protected:
    /// For derived ciphers. `name` is copied.
    Cipher(const char* name, CipherType type);

private:
    friend struct Private::Layout<Cipher>;

    ZelkBasicString<char, ZelkAllocator> m_name;
    CipherType m_type;
};

/// TEA with 32 cycles (Wheeler and Needham, "TEA, a Tiny Encryption Algorithm", Fast Software Encryption 1994), words
/// little-endian. Known to be weak: each key has three equivalent ones, and related keys break it. The thread rule is
/// that of Cipher.
class Z4_API Tea : public Cipher {
public:
    /// Until a key is set, the key is 16 zero bytes, which no text can set.
    Tea();
    ~Tea() override;
    Tea(const Tea& other);
    Tea& operator=(const Tea& other);

    /// Enciphers `len` bytes, filled up with zeros to the next multiple of 8. `out` has room for that many bytes. The
    /// original size is not recorded. With a `len` of 0 nothing is read or written.
    /// @return the number of bytes written: the multiple of 8, or 0 when `len` is 0.
    unsigned long Encode(const char* in, char* out, unsigned long len) override;
    /// Deciphers the whole blocks among `len` bytes and copies the up to 7 bytes behind them as they are. `out` has
    /// room for `len` bytes. The zeros that Encode() filled up with stay.
    /// @return `len`.
    unsigned long Decode(const char* in, char* out, unsigned long len) override;
    /// Takes a text of exactly 16 characters; any other text, and null, is refused, and the key in use stays. Each
    /// group of four characters makes a little-endian word. The characters are signed: one of 0x80 or more sets all
    /// higher bits of its word, so the later ones of its group no longer count. Use ASCII keys; other implementations
    /// read only those alike.
    /// @return whether the key was taken.
    [[nodiscard]] bool SetKey(const char* key) override;

private:
    friend struct Private::Layout<Tea>;

    void InternalEncode(long* block);
    void InternalDecode(long* block);

    std::uint32_t m_key[4];
    /// A block's room, kept for the layout: copied along, never read. As bytes, which may be copied uninitialised.
    [[maybe_unused]] alignas(long) unsigned char m_scratch[2 * sizeof(long)];
};

/// XTEA with 32 cycles (Needham and Wheeler, "Tea extensions", 1997), words little-endian. Everything else is as with
/// Tea, the thread rule and the cipher type too. Neither is derived from the other, nor have they a base of their own:
/// their layouts and their tables of virtual functions are fixed, each beside Cipher's.
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
    friend struct Private::Layout<XTea>;

    void InternalEncode(long* block);
    void InternalDecode(long* block);

    std::uint32_t m_key[4];
    [[maybe_unused]] alignas(long) unsigned char m_scratch[2 * sizeof(long)];
};

} // namespace Z4
