#include <bit>
#include <emmintrin.h>
#include <type_traits>
#include <zelk_core/base/private/utfcharacters.h>
#include <zelk_core/base/utf.h>

namespace Z4 {

using namespace Private;

namespace {

constexpr std::ptrdiff_t BLOCK = 16;

/// Where units go: as many as there is room for, and how many there were.
template <class To>
struct Output {
    To* at;
    To* end; ///< keeps room for the terminator
    std::size_t length = 0;

    Output(To* to, std::size_t size) : at(to), end(size != 0 ? to + (size - 1) : to) {}

    std::size_t Room() const { return static_cast<std::size_t>(end - at); }
    void Put(char32_t character) {
        const std::size_t size = SizeIn(character, To{});
        length += size;
        if (size <= Room()) {
            WriteCharacter(at, character);
            at += size;
        } else {
            end = at;
        }
    }
};

/// Stores a block of 16 units as if all were ASCII. @return which are not, one bit each; those are stored wrong.
unsigned CopyAscii(wchar_t* to, const char* from) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 8), _mm_unpackhi_epi8(bytes, zero));
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}
unsigned CopyAscii(char* to, const wchar_t* from) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(low, high));
    const __m128i above = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    const __m128i ascii = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low, above), zero),
                                          _mm_cmpeq_epi16(_mm_and_si128(high, above), zero));
    return static_cast<unsigned>(_mm_movemask_epi8(ascii)) ^ 0xFFFF;
}

/// Moves both on over characters of two and three bytes of UTF-8, which are one unit of UTF-16.
void CopyOthers(wchar_t*& to, const wchar_t* toEnd, const char*& from, const char* fromEnd) {
    while (fromEnd - from >= 3 && to != toEnd) {
        const auto byte = [=](unsigned i) { return unsigned{static_cast<unsigned char>(from[i])}; };
        const bool isSecond = (byte(1) & 0xC0) == 0x80;
        if (byte(0) - 0xC2 <= 0xDF - 0xC2 && isSecond) {
            *to++ = static_cast<wchar_t>((byte(0) & 0x1F) << 6 | (byte(1) & 0x3F));
            from += 2;
            continue;
        }
        const unsigned unit = (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
        const bool isTriple = (byte(0) & 0xF0) == 0xE0 && isSecond && (byte(2) & 0xC0) == 0x80;
        if (!isTriple || unit < 0x800 || unit - 0xD800 < 0x800) {
            return;
        }
        *to++ = static_cast<wchar_t>(unit);
        from += 3;
    }
}
void CopyOthers(char*& to, const char* toEnd, const wchar_t*& from, const wchar_t* fromEnd) {
    for (; from != fromEnd && toEnd - to >= 3; ++from) {
        const unsigned unit = static_cast<std::uint16_t>(*from);
        if (unit < 0x80 || unit - 0xD800 < 0x800) {
            return;
        }
        if (unit < 0x800) {
            to[0] = static_cast<char>(0xC0 | unit >> 6);
            to[1] = static_cast<char>(0x80 | (unit & 0x3F));
            to += 2;
            continue;
        }
        to[0] = static_cast<char>(0xE0 | unit >> 12);
        to[1] = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
        to[2] = static_cast<char>(0x80 | (unit & 0x3F));
        to += 3;
    }
}

/// Converts blocks, as long as there are such and room for them, up to a character that is rare or ill-formed.
template <class To, class From>
const From* ConvertBlocks(Output<To>& output, const From* at, const From* end) {
    To* to = output.at;
    while (end - at >= BLOCK && output.end - to >= BLOCK) {
        const unsigned others = CopyAscii(to, at);
        if (others == 0) {
            // By a number that does not depend on what was read, so that the next block need not wait for this one.
            to += BLOCK;
            at += BLOCK;
            continue;
        }
        const int count = std::countr_zero(others);
        to += count;
        at += count;
        const From* const before = at;
        CopyOthers(to, output.end, at, end);
        if (at == before) {
            break;
        }
    }
    output.length += static_cast<std::size_t>(to - output.at);
    output.at = to;
    return at;
}

/// Moves on over blocks of ASCII for which there is no room, so that they are only counted.
template <class To, class From>
const From* CountBlocks(Output<To>& output, const From* at, const From* end) {
    To unused[BLOCK];
    while (end - at >= BLOCK && CopyAscii(unused, at) == 0) {
        at += BLOCK;
        output.length += BLOCK;
    }
    return at;
}

/// Converts up to the end or to what is ill-formed, where it returns.
template <class To, class From>
const From* Convert(Output<To>& output, const From* at, const From* end) {
    while (at != end) {
        at = output.at != output.end ? ConvertBlocks(output, at, end) : CountBlocks(output, at, end);
        // What blocks cannot: rare characters, the last few, and those beyond the room.
        while (at != end) {
            const Sequence sequence = ReadSequence(at, end);
            if (!sequence.isValid) {
                return at;
            }
            output.Put(sequence.character);
            at += sequence.size;
            if (sequence.character < 0x80 && end - at >= BLOCK) {
                break;
            }
        }
    }
    return end;
}

template <class To>
Error Finish(const Output<To>& output, std::size_t size, std::size_t& length) {
    if (size != 0) {
        *output.at = To{};
    }
    length = output.length;
    return length < size ? ERR_OK : ERR_OVERFLOW;
}

template <class To, class From>
Error ConvertStrictly(To* to, std::size_t size, BasicStrView<From> text, std::size_t& length, std::size_t* badAt) {
    Output<To> output(to, size);
    const From* const stop = Convert(output, text.begin(), text.end());
    if (badAt != nullptr) {
        *badAt = static_cast<std::size_t>(stop - text.begin());
    }
    const Error error = Finish(output, size, length);
    return stop != text.end() ? ERR_CORRUPTED_DATA : error;
}

template <class To, class From>
Error ConvertLossily(To* to, std::size_t size, BasicStrView<From> text, std::size_t& length) {
    Output<To> output(to, size);
    const From* at = text.begin();
    for (;;) {
        at = Convert(output, at, text.end());
        if (at == text.end()) {
            return Finish(output, size, length);
        }
        output.Put(Utf::REPLACEMENT);
        at += ReadSequence(at, text.end()).size;
    }
}

} // namespace

Error Utf::ToUtf16(wchar_t* to, std::size_t size, StrView text, std::size_t& length, std::size_t* badAt) {
    return ConvertStrictly(to, size, text, length, badAt);
}

Error Utf::ToUtf8(char* to, std::size_t size, WStrView text, std::size_t& length, std::size_t* badAt) {
    return ConvertStrictly(to, size, text, length, badAt);
}

Error Utf::ToUtf16Lossy(wchar_t* to, std::size_t size, StrView text, std::size_t& length) {
    return ConvertLossily(to, size, text, length);
}

Error Utf::ToUtf8Lossy(char* to, std::size_t size, WStrView text, std::size_t& length) {
    return ConvertLossily(to, size, text, length);
}

bool Utf::IsValidUtf8(StrView text) {
    const char* at = text.begin();
    const char* const end = text.end();
    while (at != end) {
        if (end - at >= BLOCK) {
            const auto others =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at))));
            if (others == 0) {
                at += BLOCK;
                continue;
            }
            at += std::countr_zero(others);
        }
        do {
            const Sequence sequence = ReadSequence(at, end);
            if (!sequence.isValid) {
                return false;
            }
            at += sequence.size;
        } while (at != end && static_cast<unsigned char>(*at) >= 0x80);
    }
    return true;
}

char32_t Utf::Decode(StrView& rest) {
    Z4_ASSERT(!rest.IsEmpty(), "A text of which a character is taken is not empty.");
    const Sequence sequence = ReadSequence(rest.begin(), rest.end());
    rest = rest.Substring(sequence.size);
    return sequence.isValid ? sequence.character : REPLACEMENT;
}

std::size_t Utf::Encode(char (&bytes)[4], char32_t character) {
    const bool isNone = character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF);
    const char32_t written = isNone ? REPLACEMENT : character;
    WriteCharacter(bytes, written);
    return SizeIn(written, char{});
}

StrView Utf::Cut(StrView text, std::size_t maxBytes) {
    if (maxBytes >= text.Size()) {
        return text;
    }
    // A character that the cut would split begins at most three bytes before it.
    for (std::size_t back = 1; back <= 3 && back <= maxBytes; ++back) {
        const char* const at = text.begin() + (maxBytes - back);
        const Sequence sequence = ReadSequence(at, text.end());
        if (sequence.isValid) {
            return text.Substring(0, sequence.size > back ? maxBytes - back : maxBytes);
        }
    }
    return text.Substring(0, maxBytes);
}

} // namespace Z4
