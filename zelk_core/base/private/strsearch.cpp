#include <bit>
#include <cstdint>
#include <cstring>
#include <zelk_core/base/private/textcharacters.h>
#include <zelk_core/base/str.h>

namespace Z4 {

using namespace Private;

namespace {

template <class Char>
bool IsAt(const Char* at, BasicStrView<Char> what) {
    return CompareText(at, what.Data(), what.Size()) == 0;
}

/// Of the 16 bytes of positions from `at` on, those where the first and the last character of `what` stand, then the
/// one where all do. (Mula, "SIMD-friendly algorithms for substring searching", 2016.)
template <class Char>
const Char* FindInBlock(const Char* at, BasicStrView<Char> what, __m128i first, __m128i last) {
    const __m128i firsts = EqualLanes<Char>(LoadLanes(at), first);
    const __m128i lasts = EqualLanes<Char>(LoadLanes(at + what.Size() - 1), last);
    for (unsigned mask = MaskOf(_mm_and_si128(firsts, lasts)); mask != 0;) {
        const auto lane = static_cast<unsigned>(std::countr_zero(mask)) / static_cast<unsigned>(sizeof(Char));
        if (what.Size() <= 2 || IsAt(at + lane, what)) {
            return at + lane;
        }
        mask &= ~(((1U << sizeof(Char)) - 1) << lane * sizeof(Char));
    }
    return nullptr;
}

template <class Char>
std::size_t FindText(BasicStrView<Char> text, BasicStrView<Char> what, std::size_t from) {
    if (what.Size() > text.Size() || from > text.Size() - what.Size()) {
        return Str::NPOS;
    }
    if (what.IsEmpty()) {
        return from;
    }
    const Char* const begin = text.Data();
    const Char* const end = text.end() - what.Size() + 1; // behind the last position there is
    const Char* at = begin + from;
    if (static_cast<std::size_t>(end - at) < LANES<Char>) {
        for (; at != end; ++at) {
            if (*at == what[0] && IsAt(at, what)) {
                return static_cast<std::size_t>(at - begin);
            }
        }
        return Str::NPOS;
    }
    const __m128i first = FillLanes(what[0]);
    const __m128i last = FillLanes(what[what.Size() - 1]);
    for (;;) {
        // Four blocks without a candidate, as is usual, pass by a single test.
        while (static_cast<std::size_t>(end - at) >= 5 * LANES<Char>) {
            const auto candidates = [&](std::size_t block) {
                const Char* const place = at + block * LANES<Char>;
                return _mm_and_si128(EqualLanes<Char>(LoadLanes(place), first),
                                     EqualLanes<Char>(LoadLanes(place + what.Size() - 1), last));
            };
            if (MaskOf(_mm_or_si128(_mm_or_si128(candidates(0), candidates(1)),
                                    _mm_or_si128(candidates(2), candidates(3)))) != 0) {
                break;
            }
            at += 4 * LANES<Char>;
        }
        if (const Char* const found = FindInBlock(at, what, first, last)) {
            return static_cast<std::size_t>(found - begin);
        }
        const auto left = static_cast<std::size_t>(end - at) - LANES<Char>;
        if (left == 0) {
            return Str::NPOS;
        }
        // The last block overlaps the one before.
        at += left < LANES<Char> ? left : LANES<Char>;
    }
}

template <class Char>
std::size_t FindLastText(BasicStrView<Char> text, BasicStrView<Char> what, std::size_t from) {
    if (what.Size() > text.Size()) {
        return Str::NPOS;
    }
    const std::size_t last = text.Size() - what.Size();
    for (std::size_t i = (from < last ? from : last) + 1; i-- > 0;) {
        if (IsAt(text.Data() + i, what)) {
            return i;
        }
    }
    return Str::NPOS;
}

/// The characters of a set, one bit each.
class CharacterSet {
public:
    explicit CharacterSet(StrView set) {
        for (const char character : set) {
            const auto value = static_cast<unsigned char>(character);
            m_bits[value / 32] |= 1U << value % 32;
        }
    }
    bool Has(char character) const {
        const auto value = static_cast<unsigned char>(character);
        return (m_bits[value / 32] >> value % 32 & 1) != 0;
    }

private:
    std::uint32_t m_bits[8] = {};
};

} // namespace

std::size_t Str::Find(StrView text, StrView what, std::size_t from) {
    return FindText(text, what, from);
}

std::size_t Str::Find(WStrView text, WStrView what, std::size_t from) {
    return FindText(text, what, from);
}

std::size_t Str::FindNoCase(StrView text, StrView what, std::size_t from) {
    if (what.Size() > text.Size()) {
        return NPOS;
    }
    for (std::size_t i = from; i <= text.Size() - what.Size(); ++i) {
        if (what.IsEmpty() ||
            (Lower(text[i]) == Lower(what[0]) && EqualsNoCase(text.Substring(i, what.Size()), what))) {
            return i;
        }
    }
    return NPOS;
}

std::size_t Str::FindLast(StrView text, StrView what, std::size_t from) {
    return FindLastText(text, what, from);
}

std::size_t Str::FindLast(WStrView text, WStrView what, std::size_t from) {
    return FindLastText(text, what, from);
}

std::size_t Str::FindAny(StrView text, StrView set, std::size_t from) {
    const CharacterSet characters(set);
    for (std::size_t i = from; i < text.Size(); ++i) {
        if (characters.Has(text[i])) {
            return i;
        }
    }
    return NPOS;
}

std::size_t Str::FindAny(WStrView text, WStrView set, std::size_t from) {
    for (std::size_t i = from; i < text.Size(); ++i) {
        if (Find(set, {&text[i], 1}) != NPOS) {
            return i;
        }
    }
    return NPOS;
}

StrView Str::TrimLeft(StrView text, StrView set) {
    const CharacterSet characters(set);
    std::size_t begin = 0;
    while (begin < text.Size() && characters.Has(text[begin])) {
        ++begin;
    }
    return text.Substring(begin);
}

StrView Str::TrimRight(StrView text, StrView set) {
    const CharacterSet characters(set);
    std::size_t end = text.Size();
    while (end != 0 && characters.Has(text[end - 1])) {
        --end;
    }
    return text.Substring(0, end);
}

bool Str::Split(StrView& rest, char separator, StrView& part) {
    if (rest.Data() == nullptr) {
        return false;
    }
    const std::size_t at = Find(rest, {&separator, 1});
    part = rest.Substring(0, at);
    rest = at != NPOS ? rest.Substring(at + 1) : StrView();
    return true;
}

} // namespace Z4
