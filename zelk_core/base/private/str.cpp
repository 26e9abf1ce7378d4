#include <algorithm>
#include <cstring>
#include <zelk_core/base/private/textcharacters.h>
#include <zelk_core/base/private/utfcharacters.h>
#include <zelk_core/base/str.h>

namespace Z4 {

using namespace Private;

namespace {

template <class Char>
std::size_t CopyText(Char* to, std::size_t size, BasicStrView<Char> text) {
    if (size != 0) {
        const std::size_t kept = text.Size() < size ? text.Size() : size - 1;
        if (kept != 0) {
            std::memmove(to, text.Data(), kept * sizeof(Char));
        }
        to[kept] = Char{};
    }
    return text.Size();
}

template <class Char>
std::size_t AppendText(Char* to, std::size_t size, BasicStrView<Char> text) {
    const std::size_t length = TextLength(to, size);
    if (length < size) {
        CopyText(to + length, size - length, text);
    }
    return length + text.Size();
}

template <class Char>
int CompareLowered(BasicStrView<Char> left, BasicStrView<Char> right) {
    const std::size_t common = left.Size() < right.Size() ? left.Size() : right.Size();
    for (std::size_t i = 0; i < common; ++i) {
        const auto a = Lower(left[i]);
        const auto b = Lower(right[i]);
        if (a != b) {
            return a < b ? -1 : 1;
        }
    }
    return left.Size() < right.Size() ? -1 : left.Size() > right.Size() ? 1 : 0;
}

template <class Char>
bool EqualLowered(BasicStrView<Char> left, BasicStrView<Char> right) {
    const std::size_t size = left.Size();
    if (size != right.Size()) {
        return false;
    }
    const Char* a = left.Data();
    const Char* b = right.Data();
    const auto differ = [&](std::size_t at) {
        const __m128i equal =
            EqualLanes<Char>(FlipCase<Char>(LoadLanes(a + at), 'A'), FlipCase<Char>(LoadLanes(b + at), 'A'));
        return MaskOf(equal) != 0xFFFF;
    };
    std::size_t i = 0;
    for (; i + LANES<Char> <= size; i += LANES<Char>) {
        if (differ(i)) {
            return false;
        }
    }
    if (i != size && size >= LANES<Char>) {
        return !differ(size - LANES<Char>);
    }
    for (; i < size; ++i) {
        if (Lower(a[i]) != Lower(b[i])) {
            return false;
        }
    }
    return true;
}

void FlipAll(char* text, std::size_t size, char first) {
    std::size_t i = 0;
    for (; i + LANES<char> <= size; i += LANES<char>) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(text + i), FlipCase<char>(LoadLanes(text + i), first));
    }
    for (; i < size; ++i) {
        const auto letter = static_cast<unsigned char>(text[i] - first);
        text[i] = static_cast<char>(letter < 26 ? text[i] ^ 0x20 : text[i]);
    }
}

/// How many bytes the character takes that begins at `at`; 1 where it is ill-formed.
std::size_t CharacterSize(const char* at, const char* end) {
    const Sequence sequence = ReadSequence(at, end);
    return sequence.isValid ? sequence.size : 1;
}

/// Where a star was met last, all that is needed to go back: an earlier one could match nothing that this one cannot.
template <class Equal>
bool MatchesBy(StrView text, StrView pattern, Equal equal) {
    const char* at = text.begin();
    const char* wanted = pattern.begin();
    const char* afterStar = nullptr;
    const char* starEnd = nullptr;
    for (;;) {
        if (wanted != pattern.end() && *wanted == '*') {
            afterStar = ++wanted;
            starEnd = at;
            continue;
        }
        if (at == text.end() && wanted == pattern.end()) {
            return true;
        }
        if (at != text.end() && wanted != pattern.end()) {
            if (*wanted == '?') {
                at += CharacterSize(at, text.end());
                ++wanted;
                continue;
            }
            // Whole ones: a stray byte of the pattern is no part of the text's characters.
            const std::size_t size = CharacterSize(at, text.end());
            if (size == CharacterSize(wanted, pattern.end()) && std::equal(at, at + size, wanted, equal)) {
                at += size;
                wanted += size;
                continue;
            }
        }
        if (afterStar == nullptr || starEnd == text.end()) {
            return false;
        }
        starEnd += CharacterSize(starEnd, text.end());
        at = starEnd;
        wanted = afterStar;
    }
}

} // namespace

std::size_t Str::Copy(char* to, std::size_t size, StrView text) {
    return CopyText(to, size, text);
}

std::size_t Str::Copy(wchar_t* to, std::size_t size, WStrView text) {
    return CopyText(to, size, text);
}

std::size_t Str::Append(char* to, std::size_t size, StrView text) {
    return AppendText(to, size, text);
}

std::size_t Str::Append(wchar_t* to, std::size_t size, WStrView text) {
    return AppendText(to, size, text);
}

int Str::Compare(StrView left, StrView right) {
    const auto order = left <=> right;
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

int Str::Compare(WStrView left, WStrView right) {
    const auto order = left <=> right;
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

int Str::CompareNoCase(StrView left, StrView right) {
    return CompareLowered(left, right);
}

int Str::CompareNoCase(WStrView left, WStrView right) {
    return CompareLowered(left, right);
}

bool Str::EqualsNoCase(StrView left, StrView right) {
    return EqualLowered(left, right);
}

bool Str::EqualsNoCase(WStrView left, WStrView right) {
    return EqualLowered(left, right);
}

void Str::ToLower(char* text, std::size_t size) {
    FlipAll(text, size, 'A');
}

void Str::ToUpper(char* text, std::size_t size) {
    FlipAll(text, size, 'a');
}

bool Str::Matches(StrView text, StrView pattern) {
    return MatchesBy(text, pattern, [](char a, char b) { return a == b; });
}

bool Str::MatchesNoCase(StrView text, StrView pattern) {
    return MatchesBy(text, pattern, [](char a, char b) { return Lower(a) == Lower(b); });
}

} // namespace Z4
