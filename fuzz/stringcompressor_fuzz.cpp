// StringCompressor against a model that has bits as characters: any text with any content and flags into any room, by
// the raw form and by the one in front of it, and back; and any bytes into all decoders. The first bytes of the input
// choose which, and how.
#include "body.h"
#include "hostmemory.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <zelk_core/services/compression/stringcompressor.h>

namespace {

using Z4::Error;
using Z4::StringCompressor;

constexpr std::size_t LONGEST_INPUT = 64;
constexpr char UNTOUCHED = '\x5A';

const std::string CLASSES[] = {" !\"#$%&'()*+,-./=@_\\", " abcdefghijklmnopqrstuvwxyz\r\n",
                               " ABCDEFGHIJKLMNOPQRSTUVWXYZ\r\n", " 0123456789\r\n"};

struct Choices {
    std::uint8_t kind; ///< 1: a text, not packed bytes; 2: room about as large as needed; 4: a given content
    std::uint8_t content;
    std::uint16_t room;
};

unsigned long RoundUp(unsigned long size) {
    return (size + 3) / 4 * 4;
}

/// Of exactly that size, so that the sanitizer sees every access beyond it.
std::unique_ptr<char[]> ExactCopy(const std::string& bytes, unsigned long size) {
    auto block = std::make_unique<char[]>(size);
    std::copy_n(bytes.begin(), size, block.get());
    return block;
}

struct Packed {
    Error error = Z4::ERR_OK;
    unsigned long size = 0;
    unsigned long count = 0;
    std::string memory; ///< 8 bytes more than the capacity
    std::string kept;   ///< what the model says will come back
};

Packed Compress(const std::string& text, unsigned long content, unsigned long flags, unsigned long capacity) {
    static const StringCompressor compressor;
    Packed packed;
    packed.memory.assign(capacity + 8, UNTOUCHED);
    const auto length = static_cast<unsigned long>(text.size());
    packed.error = compressor.Compress(ExactCopy(text, length).get(), length, packed.memory.data(), capacity,
                                       packed.size, &packed.count, content, flags);
    return packed;
}

/// A character's code as text, got out of the library: eight times a character makes as many bytes as its code has
/// bits.
const std::string& Code(unsigned long content, char character) {
    static const auto codes = [] {
        std::vector<std::string> table(16 * 256);
        for (unsigned entry = 256; entry < table.size(); ++entry) {
            const Packed packed = Compress(std::string(8, static_cast<char>(entry % 256)), entry / 256, 0, 20);
            for (unsigned bit = 0; bit < packed.size - 4; ++bit) {
                const char byte = packed.memory[4 + (bit / 8 ^ 3)];
                table[entry] += (byte >> (7 - bit % 8) & 1) != 0 ? '1' : '0';
            }
        }
        return table;
    }();
    return codes[content * 256 + static_cast<unsigned char>(character)];
}

/// What the compressor does, from the rules.
class Model {
public:
    static Packed Compress(const std::string& text, unsigned long content, unsigned long flags,
                           unsigned long capacity) {
        Packed packed;
        packed.memory.assign(capacity + 8, UNTOUCHED);
        unsigned long from = 0;
        do {
            const std::string run = text.substr(from, StringCompressor::MAX_BLOCK_LENGTH);
            from += StringCompressor::MAX_BLOCK_LENGTH;
            if (packed.size > capacity) {
                packed.error = Z4::ERR_OVERFLOW;
                return packed;
            }
            packed.error = Block(run, content == 255 ? Detect(run) : content, flags, capacity - packed.size,
                                 from < text.size(), packed);
        } while (packed.error == Z4::ERR_OK && from < text.size());
        return packed;
    }

private:
    static bool IsIn(unsigned long content, char character) {
        static const auto classes = [] {
            std::vector<unsigned char> table(256);
            for (unsigned bit = 0; bit < 4; ++bit) {
                for (const char each : CLASSES[bit]) {
                    table[static_cast<unsigned char>(each)] |= static_cast<unsigned char>(1U << bit);
                }
            }
            return table;
        }();
        return (classes[static_cast<unsigned char>(character)] & content) != 0;
    }

    static unsigned long Detect(const std::string& text) {
        unsigned long content = 0;
        for (const char character : text) {
            for (unsigned bit = 0; bit < 4; ++bit) {
                const bool counts = character != ' ' && character != '\r' && character != '\n';
                content |= counts && IsIn(1UL << bit, character) ? 1UL << bit : 0;
            }
        }
        return content != 0 ? content : 5;
    }

    static char WithoutAccent(char character) {
        static constexpr struct {
            int first, last;
            char letter;
        } LETTERS[] = {{0xC0, 0xC6, 'A'}, {0xC7, 0xC7, 'C'}, {0xC8, 0xCB, 'E'}, {0xCC, 0xCF, 'I'}, {0xD0, 0xD0, 'D'},
                       {0xD1, 0xD1, 'N'}, {0xD2, 0xD6, 'O'}, {0xD7, 0xD7, '*'}, {0xD8, 0xD8, 'O'}, {0xD9, 0xDC, 'U'},
                       {0xDD, 0xDD, 'Y'}, {0xDF, 0xDF, 'b'}, {0xE0, 0xE6, 'a'}, {0xE7, 0xE7, 'c'}, {0xE8, 0xEB, 'e'},
                       {0xEC, 0xEF, 'i'}, {0xF0, 0xF0, 'o'}, {0xF1, 0xF1, 'n'}, {0xF2, 0xF6, 'o'}, {0xF7, 0xF7, '/'},
                       {0xF8, 0xF8, 'o'}, {0xF9, 0xFC, 'u'}, {0xFD, 0xFD, 'y'}};
        static const auto table = [] {
            std::string letters(256, '\0');
            for (unsigned byte = 0; byte < 256; ++byte) {
                letters[byte] = static_cast<char>(byte);
            }
            for (const auto& range : LETTERS) {
                std::fill(letters.begin() + range.first, letters.begin() + range.last + 1, range.letter);
            }
            return letters;
        }();
        return table[static_cast<unsigned char>(character)];
    }

    static std::string Kept(const std::string& text, unsigned long content, unsigned long flags) {
        std::string kept;
        for (char character : text) {
            character = (flags & 1) != 0 ? WithoutAccent(character) : character;
            if (!IsIn(15, character)) {
                continue;
            }
            if ((flags & 2) != 0 && (content & 6) == 4 && IsIn(2, character)) {
                character = static_cast<char>(std::toupper(character));
            }
            if ((flags & 2) != 0 && (content & 6) == 2 && IsIn(4, character)) {
                character = static_cast<char>(std::tolower(character));
            }
            if (IsIn(content, character)) {
                kept += character;
            } else if ((flags & 4) != 0) {
                kept += ' ';
            }
        }
        return kept;
    }

    static Error Block(const std::string& text, unsigned long content, unsigned long flags, unsigned long capacity,
                       bool more, Packed& packed) {
        if (content == 0 || content > 15) {
            return Z4::ERR_UNSUPPORTED;
        }
        if (capacity < 4) {
            return Z4::ERR_INVALID;
        }
        const std::string kept = Kept(text, content, flags);
        std::string bits;
        for (const char character : kept) {
            bits += Code(content, character);
        }
        const auto payload = static_cast<unsigned long>((bits.size() + 7) / 8);
        if (payload > capacity - 4 || payload > StringCompressor::MAX_BLOCK_SIZE - 4) {
            return Z4::ERR_OVERFLOW;
        }
        char* const out = packed.memory.data() + RoundUp(packed.size);
        for (unsigned long word = 0; word < payload; word += 4) {
            const unsigned long present = std::min(payload - word, 4UL);
            const unsigned long stored = capacity - 4 - word >= 4 ? 4 : present;
            for (unsigned long i = 0; i < stored; ++i) {
                unsigned byte = 0;
                for (unsigned long bit = 8 * (word + stored - 1 - i); bit < 8 * (word + stored - i); ++bit) {
                    byte = byte * 2 + (bit < bits.size() && bits[bit] == '1' ? 1 : 0);
                }
                out[4 + word + i] = static_cast<char>(byte);
            }
        }
        packed.size = RoundUp(packed.size) + 4 + payload;
        packed.count += static_cast<unsigned long>(kept.size());
        packed.kept += kept;
        const auto header =
            static_cast<std::uint32_t>(kept.size() << 19 | (4 + payload) << 6 | content << 2 | 2 | (more ? 1 : 0));
        for (unsigned i = 0; i < 4; ++i) {
            out[i] = static_cast<char>(header >> (24 - 8 * i));
        }
        return Z4::ERR_OK;
    }
};

void RequireEqual(const Packed& actual, const Packed& expected) {
    Require(actual.error == expected.error);
    Require(actual.error != Z4::ERR_OK ||
            (actual.size == expected.size && actual.count == expected.count && actual.memory == expected.memory));
}

/// All decoders on what was packed into room enough; `raw` is it with what the model says of it.
void RequireBack(const Packed& raw) {
    static StringCompressor compressor;
    const auto kept = static_cast<unsigned long>(raw.kept.size());
    const unsigned long inSize = RoundUp(raw.size);
    const auto in = ExactCopy(raw.memory, inSize);
    unsigned long characters = 0;
    unsigned long bytes = 0;
    Require(!StringCompressor::GetSize(in.get(), characters, bytes) && characters == kept && bytes <= raw.size);
    for (const unsigned long room : {kept, kept / 2}) {
        const auto out = std::make_unique<char[]>(room);
        unsigned long size = 0;
        Require(!compressor.DecompressChecked(in.get(), inSize, out.get(), room, size) && size == room);
        Require(std::memcmp(out.get(), raw.kept.data(), room) == 0);
        const auto trusted = std::make_unique<char[]>(room);
        Require(!compressor.Decompress(in.get(), trusted.get(), room, size) && size == room);
        Require(std::memcmp(trusted.get(), raw.kept.data(), size) == 0);
        const StringCompressor::Expanded expanded = compressor.Decompress({in.get(), inSize}, {out.get(), room});
        Require(expanded.error == (room == kept ? Z4::ERR_OK : Z4::ERR_OVERFLOW) && expanded.size == room);
    }
    Require(compressor.Decompress({in.get(), inSize - 1}, {nullptr, 0}).error == Z4::ERR_CORRUPTED_DATA);
}

/// The front gives what the raw form gives in room enough, rounded up to words, or an error; it stays in its room.
void RequireFront(const std::string& text, const Packed& raw, StringCompressor::Options options, unsigned long room) {
    static const StringCompressor compressor;
    const auto out = std::make_unique<char[]>(room);
    const StringCompressor::Compressed packed = compressor.Compress(text, {out.get(), room}, options);
    const bool fits = RoundUp(raw.size) <= room;
    Require(packed.error == (raw.error != Z4::ERR_OK || fits ? raw.error : Z4::ERR_OVERFLOW));
    if (packed.error != Z4::ERR_OK) {
        Require(packed.size + packed.encodedCount + packed.droppedCount == 0);
        return;
    }
    Require(packed.size == RoundUp(raw.size) && packed.encodedCount == raw.count);
    Require(packed.droppedCount == text.size() - raw.count);
    unsigned long compared = 0;
    while (compared < packed.size && (out[compared] == raw.memory[compared] || raw.memory[compared] == UNTOUCHED)) {
        ++compared;
    }
    Require(compared == packed.size);
}

void PackText(const Choices& choices, std::string text) {
    const unsigned long content = (choices.kind & 4) != 0 ? choices.content % 21U : 255U;
    const unsigned long flags = choices.kind >> 3 & 7;
    // Many blocks take a thousand times as long as one: seldom, and not so that the fuzzer can prefer them.
    const std::string once = text;
    const bool isLong = std::hash<std::string>()(once) % 4096 == 0;
    while (isLong && !once.empty() && text.size() < 20000) {
        text += once;
    }
    const unsigned long bound = StringCompressor::GetMaxCompressedSize(static_cast<unsigned long>(text.size()));
    const Packed expected = Model::Compress(text, content, flags, bound);
    RequireEqual(Compress(text, content, flags, bound), expected);
    const StringCompressor::Options options{static_cast<std::uint32_t>(content), static_cast<std::uint32_t>(flags)};
    RequireFront(text, expected, options, bound);
    if (expected.error == Z4::ERR_OK) {
        RequireBack(expected);
    }
    if (choices.content % 4 == 3) {
        return;
    }
    // A block can end up to 3 bytes behind the capacity, and the next then has less than none.
    unsigned long end = expected.size;
    if (isLong && choices.content % 2 == 0) {
        const std::string first = text.substr(0, StringCompressor::MAX_BLOCK_LENGTH);
        end = Model::Compress(first, content, flags, bound).size;
    }
    const bool isNear = (choices.kind & 2) != 0;
    const unsigned long room =
        isNear ? std::min(bound, (end > 10 ? end - 10 : 0) + choices.room % 20) : choices.room % bound;
    const Packed little = Compress(text, content, flags, room);
    RequireEqual(little, Model::Compress(text, content, flags, room));
    const unsigned long beyond = text.size() > StringCompressor::MAX_BLOCK_LENGTH ? 3 : 0;
    Require(little.memory.substr(room + beyond) == std::string(8 - beyond, UNTOUCHED));
    RequireFront(text, expected, options, room);
}

void ExpandBytes(const Choices& choices, const std::string& bytes) {
    StringCompressor compressor;
    const bool hasRoom = choices.content == 77; // Seldom: much room takes long.
    const unsigned long capacity = choices.room % (hasRoom ? 20000U : 500U);
    const auto inSize = static_cast<unsigned long>(bytes.size());
    const auto in = ExactCopy(bytes, inSize);
    const auto out = std::make_unique<char[]>(capacity);
    unsigned long size = 1;
    const Error error = compressor.DecompressChecked(in.get(), inSize, out.get(), capacity, size);
    Require(error == Z4::ERR_OK || (error == Z4::ERR_CORRUPTED_DATA && size == 0));
    Require(size <= capacity);

    // Zeros behind it, which end every block and any chain of them.
    static char trustedIn[LONGEST_INPUT + 2 * 8192];
    std::copy(bytes.begin(), bytes.end(), trustedIn);
    const auto trusted = std::make_unique<char[]>(capacity);
    unsigned long trustedSize = 1;
    const Error trustedError = compressor.Decompress(trustedIn, trusted.get(), capacity, trustedSize);
    std::fill_n(trustedIn, inSize, '\0');
    Require(trustedSize <= capacity);
    if (error == Z4::ERR_OK) {
        Require(trustedError == Z4::ERR_OK && trustedSize <= size);
        Require(std::memcmp(trusted.get(), out.get(), trustedSize) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices;
    if (size < sizeof(choices)) {
        return 0;
    }
    std::memcpy(&choices, data, sizeof(choices));
    const std::string bytes(data + sizeof(choices), data + std::min(size, sizeof(choices) + LONGEST_INPUT));
    if ((choices.kind & 1) != 0) {
        PackText(choices, bytes);
    } else {
        ExpandBytes(choices, bytes);
    }
    return 0;
}
