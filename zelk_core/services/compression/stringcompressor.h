/// @file
/// Packs short 8-bit texts (names, chat lines, labels) with fixed prefix codes: no dictionary, no state between texts,
/// no memory from the host.
///
/// It is for plain English texts, and it drops every character that it has no code for, without an error. Those are
/// always `: ; < > ? [ ] ^ { | } ~`, the back quote, bytes from 0x80 on and all control characters but line ends. Where
/// the content is given, they are also the characters that this content lacks. So look at `droppedCount`:
///
///     char packed[StringCompressor::GetMaxCompressedSize(100)]; // for texts of up to 100 characters
///     const StringCompressor::Compressed result = compressor.Compress(text, packed);
///     if (result.error != ERR_OK || result.droppedCount != 0) {
///         Send(text); // as it is
///     } else {
///         Send(packed, result.size);
///     }
///
///     char back[100];
///     const StringCompressor::Expanded expanded = compressor.Decompress({packed, result.size}, back);
///
/// Long texts and binary data are for the streams of zlib.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

namespace Private {

class BitReader;
struct StringBlockHeader;
struct StringCodeEntry;
struct StringLookup;
struct StringTreeNode;

} // namespace Private

/// Compresses and expands texts; each object can do both, and all objects are alike. An object must not expand in two
/// threads at once; otherwise any thread may use any object.
///
/// A text is coded with one of 15 tables, chosen by its content: the sum of the classes of characters in it.
///
/// | class | characters, besides the space |
/// |---|---|
/// | PUNCTUATION (1) | `! " # $ % & ( ) * + , - . / = @ _`, apostrophe, backslash |
/// | LOWER_CASE (2) | a to z, carriage return, line feed |
/// | UPPER_CASE (4) | A to Z, carriage return, line feed |
/// | DIGITS (8) | 0 to 9, carriage return, line feed |
///
/// The fewer classes, the shorter the codes; 3 to 13 bits for a character are usual, 1 the least.
class StringCompressor {
public:
    /// The classes of characters in a text, to be added up.
    enum Content : std::uint32_t {
        PUNCTUATION = 1,
        LOWER_CASE = 2,
        UPPER_CASE = 4,
        DIGITS = 8,
        DETECT = 255, ///< the classes that the text has characters of, block by block
    };

    /// What is done to a byte, in this order. Without a flag a byte that has no code is dropped.
    enum Flags : std::uint32_t {
        /// Letters of Latin-1 (0xC0 to 0xFD) become the plain ones that look most like them, the signs of
        /// multiplication and division become * and /. The thorn and the small y with a diaeresis stay, and are
        /// dropped.
        FOLD_ACCENTS = 1,
        /// Where the content has capitals or small letters, but not both, the letters are changed to what it has.
        FOLD_CASE = 2,
        /// A byte that the table has no code for becomes a space. A byte of no class at all is dropped all the same.
        REPLACE_BY_SPACE = 4,
    };

    static constexpr unsigned long MAX_BLOCK_LENGTH = 8184; ///< characters
    static constexpr unsigned long MAX_BLOCK_SIZE = 8191;   ///< bytes
    static constexpr unsigned long MAX_CODE_LENGTH = 13;    ///< bits

    /// The room in bytes that `length` characters never exceed, whatever they are: a multiple of 4. Where 32 bits do
    /// not hold it, 0xFFFFFFFC.
    static constexpr unsigned long GetMaxCompressedSize(unsigned long length);

    Z4_API StringCompressor();

    /// A text to compress, which must live until the call returns.
    struct Text {
        /// A terminated text; null counts as empty.
        Text(const char* text)
            : data(text), size(text != nullptr ? static_cast<unsigned long>(std::strlen(text)) : 0) {}
        constexpr Text(const char* text, unsigned long length) : data(text), size(length) {}
        /// A container of characters, such as a standard string.
        template <class Container>
        requires requires(const Container& container) { Text(container.data(), container.size()); }
        Text(const Container& container) : data(container.data()), size(static_cast<unsigned long>(container.size())) {}

        const char* data;
        unsigned long size;
    };

    /// What Compress() wrote. It contains zeros, so its size must be given.
    struct Packed {
        constexpr Packed(const char* begin, unsigned long bytes) : data(begin), size(bytes) {}
        template <class Container>
        requires requires(const Container& container) { Packed(container.data(), container.size()); }
        Packed(const Container& container)
            : data(container.data()), size(static_cast<unsigned long>(container.size())) {}

        const char* data;
        unsigned long size;
    };

    /// Where output goes: all of an array or of a container, or `capacity` bytes.
    struct Room {
        template <std::size_t SIZE>
        constexpr Room(char (&array)[SIZE]) : data(array), size(SIZE) {}
        constexpr Room(char* begin, unsigned long capacity) : data(begin), size(capacity) {}
        template <class Container>
        requires requires(Container& container) { Room(container.data(), container.size()); }
        Room(Container& container) : data(container.data()), size(static_cast<unsigned long>(container.size())) {}

        char* data;
        unsigned long size;
    };

    /// How Compress() works; the default is right for plain English texts.
    struct Options {
        std::uint32_t content = DETECT; ///< a sum of classes, or DETECT
        std::uint32_t flags = 0;        ///< a sum of Flags
    };

    /// What became of a text.
    struct Compressed {
        Error error;
        unsigned long size;         ///< bytes to store or send, a multiple of 4; 0 on an error
        unsigned long encodedCount; ///< characters that have a code, or were replaced
        unsigned long droppedCount; ///< characters that are lost
    };

    /// What became of packed data.
    struct Expanded {
        Error error;
        unsigned long size; ///< characters written; there is no terminator behind them
    };

    /// Compresses a text into `out`, which must not overlap it and is never overrun; GetMaxCompressedSize() of the
    /// text's size is always enough room. Neither needs alignment.
    /// @return an error of ERR_UNSUPPORTED when `options.content` is neither DETECT nor 1 to 15; ERR_OVERFLOW when
    /// there is too little room, and when a block would have more than MAX_BLOCK_SIZE bytes, which takes at least 5000
    /// characters that are rare for their table. After an error, what `out` holds means nothing.
    [[nodiscard]] Compressed Compress(Text in, Room out) const { return Compress(in, out, Options()); }
    [[nodiscard]] Compressed Compress(Text in, Room out, Options options) const;

    /// Expands what Compress() wrote. Any input is safe, as with DecompressChecked().
    /// @return an error of ERR_OVERFLOW when the text does not fit; its beginning is written then. ERR_CORRUPTED_DATA
    /// as DecompressChecked(), with a size of 0.
    [[nodiscard]] Expanded Decompress(Packed in, Room out);

    /// @name The raw form
    /// For callers that are written for this form, and for what they stored. It reports a size that can be up to 3
    /// bytes short: round it up to a multiple of 4, or the last bits are lost and the text cannot be read again.
    ///
    /// The output is a sequence of blocks of up to 8184 characters, each at a multiple of 4 bytes from the beginning,
    /// in this form:
    /// - a header of 32 bits, high byte first: bit 0 (the lowest) is 1 where another block follows, bit 1 is always 1,
    ///   bits 2 to 5 are the content, 6 to 18 the size of the block in bytes with its header, 19 to 31 the number of
    ///   characters;
    /// - the codes in words of 32 bits, low byte first, filled from bit 31 downward; the bits left over are 0.
    /// @{

    /// Compresses `length` bytes. `in` and `out` must not overlap and need no alignment.
    ///
    /// Give GetMaxCompressedSize() bytes of room. Less is accepted, with two dangers: a block whose last 4-byte word
    /// does not fit is cut short, and no decoder can read it; and a text of more than MAX_BLOCK_LENGTH characters may
    /// be written up to 3 bytes beyond `outCapacity`, so that many must belong to the caller.
    /// @param outSize receives the size, behind which up to 3 bytes can hold the last bits: round it up to a multiple
    /// of 4 before you store, copy or send the output. Unchanged on an error.
    /// @param encodedCount receives the number of characters that were not dropped, if it is not null. Texts of more
    /// than MAX_BLOCK_LENGTH *add* it to the value, so set it to 0 before.
    /// @param content a sum of classes, or DETECT, which takes PUNCTUATION + UPPER_CASE for a text of no class. The
    /// detection sees the text as it is, before `flags` change it.
    /// @return ERR_UNSUPPORTED for any other content; ERR_INVALID if there is no room for a block's header;
    /// ERR_OVERFLOW if there is too little, and for a block of more than MAX_BLOCK_SIZE bytes. What `out` holds then
    /// means nothing.
    [[nodiscard]] Z4_API Private::ErrorCodeWrapper Compress(const char* in, unsigned long length, char* out,
                                                            unsigned long outCapacity, unsigned long& outSize,
                                                            unsigned long* encodedCount, unsigned long content,
                                                            unsigned long flags) const;

    /// Expands what Compress wrote, for trusted input only. Nothing is ever written beyond `outCapacity`, but headers
    /// that were tampered with can make it read whatever follows `in`. DecompressChecked is for input from elsewhere.
    ///
    /// A text that does not fit is cut off silently. The text also ends before a block without characters, which is
    /// what Compress makes of 8184 characters in a row that are all dropped. No zero is put behind the text.
    /// @param outSize receives the number of characters written.
    /// @return ERR_UNSUPPORTED for a block of content 0, ERR_CORRUPTED_DATA for one that is smaller than its header.
    [[nodiscard]] Z4_API Private::ErrorCodeWrapper Decompress(const char* in, char* out, unsigned long outCapacity,
                                                              unsigned long& outSize);

    /// Decompress for input that is not to be trusted. For all that Compress wrote into enough room the result is the
    /// same, except that blocks without characters are passed over. What follows the last block is ignored.
    /// @param inSize how many bytes at `in` may be read: the size that Compress reported, rounded up to a multiple of
    /// 4.
    /// @param outSize receives the number of characters written, 0 on an error.
    /// @return ERR_CORRUPTED_DATA where a block is not whole, its header is impossible, or its codes are not as long as
    /// it says; what `out` holds then means nothing.
    [[nodiscard]] Z4_API Private::ErrorCodeWrapper DecompressChecked(const char* in, unsigned long inSize, char* out,
                                                                     unsigned long outCapacity, unsigned long& outSize);

    /// Sums over the headers of all blocks: the room that the text needs, and the sizes of the blocks without the gaps
    /// between them. It trusts its input as Decompress does. Any thread.
    /// @return ERR_CORRUPTED_DATA for a block that is smaller than its header; the sums then end before it.
    [[nodiscard]] Z4_API static Private::ErrorCodeWrapper GetSize(const char* in, unsigned long& characters,
                                                                  unsigned long& bytes);
    /// @}

protected:
    /// The content of a text of `length` characters, as Compress detects it. A negative `length` counts as 0.
    Z4_API unsigned long DetectContent(const unsigned char* text, int length) const;

    /// Compress for texts of up to MAX_BLOCK_LENGTH; longer ones are ERR_INVALID. `more` tells whether blocks follow.
    [[nodiscard]] Z4_API Private::ErrorCodeWrapper
    CompressSingleBlock(const char* in, unsigned long length, char* out, unsigned long capacity, unsigned long& size,
                        unsigned long* encodedCount, unsigned long content, unsigned long flags, bool more) const;
    /// Compress for texts of any length.
    [[nodiscard]] Z4_API Private::ErrorCodeWrapper CompressManyBlock(const char* in, unsigned long length, char* out,
                                                                     unsigned long outCapacity, unsigned long& outSize,
                                                                     unsigned long* encodedCount, unsigned long content,
                                                                     unsigned long flags) const;
    /// Decompress for the block at `in` alone.
    [[nodiscard]] Z4_API Private::ErrorCodeWrapper
    DecompressSingleBlock(const char* in, char* out, unsigned long capacity, unsigned long& written);
    /// Decompress for any number of blocks.
    [[nodiscard]] Z4_API Private::ErrorCodeWrapper
    DecompressManyBlock(const char* in, char* out, unsigned long outCapacity, unsigned long& outSize);

private:
    friend struct Private::Layout<StringCompressor>;

    struct TableSlot {
        const Private::StringCodeEntry* encode;
        const Private::StringTreeNode* tree;
        std::uint16_t root;
        std::uint16_t current; ///< where the decoder stands in the tree
    };

    static char DecodeCharacter(TableSlot& slot, const Private::StringLookup* lookups, Private::BitReader& reader);
    unsigned long DecodeBlock(const Private::StringBlockHeader& header, const char* payload, char* out,
                              unsigned long count);
    bool IsExcluded(unsigned char byte) const { return (m_excluded[byte / 32] >> byte % 32 & 1) != 0; }

    TableSlot m_slots[16];       ///< indexed by content; the first is empty
    std::uint32_t m_excluded[8]; ///< a bit for each byte of no class
};

constexpr unsigned long StringCompressor::GetMaxCompressedSize(unsigned long length) {
    constexpr unsigned long FULL_BLOCK = (MAX_BLOCK_SIZE + 3) / 4 * 4;
    const unsigned long blocks = length == 0 ? 0 : (length - 1) / MAX_BLOCK_LENGTH;
    const unsigned long words = ((length - blocks * MAX_BLOCK_LENGTH) * MAX_CODE_LENGTH + 31) / 32;
    const unsigned long last = 4 + 4 * words < FULL_BLOCK ? 4 + 4 * words : FULL_BLOCK;
    return blocks <= (0xFFFFFFFC - last) / FULL_BLOCK ? blocks * FULL_BLOCK + last : 0xFFFFFFFC;
}

inline StringCompressor::Compressed StringCompressor::Compress(Text in, Room out, Options options) const {
    Compressed result{ERR_OK, 0, 0, 0};
    const unsigned long room = out.size / 4 * 4; // so that no word is cut short
    unsigned long done = 0;
    do {
        const unsigned long rest = in.size - done;
        const unsigned long run = rest < MAX_BLOCK_LENGTH ? rest : MAX_BLOCK_LENGTH;
        unsigned long size = 0;
        unsigned long encoded = 0;
        const Error error = CompressSingleBlock(in.data + done, run, out.data + result.size, room - result.size, size,
                                                &encoded, options.content, options.flags, run < rest);
        if (error != ERR_OK) {
            // It is invalid to ask for a block without room for its header.
            return {error == ERR_INVALID ? ERR_OVERFLOW : error, 0, 0, 0};
        }
        result.size += (size + 3) / 4 * 4;
        result.encodedCount += encoded;
        result.droppedCount += run - encoded;
        done += run;
    } while (done < in.size);
    return result;
}

inline StringCompressor::Expanded StringCompressor::Decompress(Packed in, Room out) {
    Expanded result{ERR_OK, 0};
    result.error = DecompressChecked(in.data, in.size, out.data, out.size, result.size);
    if (result.error == ERR_OK && result.size == out.size) {
        unsigned long characters = 0;
        unsigned long bytes = 0;
        // The check before has found all headers within the input.
        static_cast<void>(GetSize(in.data, characters, bytes));
        result.error = characters > out.size ? ERR_OVERFLOW : ERR_OK;
    }
    return result;
}

} // namespace Z4
