// Texts that nobody vouches for: wildcards against their definition, UTF and identifiers against their own way back,
// decimal numbers against the standard library. The first byte chooses, the others are the text.
#include "body.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <vector>
#include <zelk_core/base/guid.h>
#include <zelk_core/base/path.h>
#include <zelk_core/base/str.h>
#include <zelk_core/base/utf.h>

namespace {

using Z4::Str;
using Z4::StrView;
using Z4::Utf;

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// The characters as wildcards count them: those of UTF-8, else bytes.
std::vector<StrView> CharactersOf(StrView text) {
    std::vector<StrView> characters;
    while (!text.IsEmpty()) {
        StrView rest = text;
        Utf::Decode(rest);
        const StrView decoded = text.Substring(0, text.Size() - rest.Size());
        characters.push_back(Utf::IsValidUtf8(decoded) ? decoded : text.Substring(0, 1));
        text = text.Substring(characters.back().Size());
    }
    return characters;
}

void RequireWildcards(StrView text, StrView pattern) {
    const std::vector<StrView> characters = CharactersOf(text);
    const std::size_t count = characters.size();
    // After which characters of the text the pattern so far can stand.
    std::vector<unsigned char> reached(count + 1, 0);
    reached[0] = 1;
    for (const StrView want : CharactersOf(pattern)) {
        if (want == "*") {
            std::fill(std::find(reached.begin(), reached.end(), 1), reached.end(), static_cast<unsigned char>(1));
            continue;
        }
        for (std::size_t i = count; i != 0; --i) {
            reached[i] = reached[i - 1] != 0 && (want == "?" || want == characters[i - 1]) ? 1 : 0;
        }
        reached[0] = 0;
    }
    Require(Str::Matches(text, pattern) == (reached[count] != 0));
}

void RequireUtf(StrView text) {
    std::vector<wchar_t> wide(text.Size() + 1);
    std::vector<char> narrow(3 * text.Size() + 1);
    std::size_t wideLength = 0;
    std::size_t length = 0;
    std::size_t badAt = 0;
    const bool isValid = Utf::ToUtf16(wide.data(), wide.size(), text, wideLength, &badAt) == Z4::ERR_OK;
    Require(isValid == Utf::IsValidUtf8(text) && isValid == (badAt == text.Size()));
    Require(Utf::ToUtf8(narrow.data(), narrow.size(), {wide.data(), wideLength}, length) == Z4::ERR_OK);
    Require(StrView(narrow.data(), length) == text.Substring(0, badAt));
    Require(Utf::ToUtf16Lossy(wide.data(), wide.size(), text, wideLength) == Z4::ERR_OK);
    std::size_t characters = 0;
    for (StrView rest = text; !rest.IsEmpty();) {
        characters += Utf::Decode(rest) >= 0x10000 ? 2U : 1U;
    }
    Require(characters == wideLength);
    Require(Utf::Cut(text, text.Size() / 2).Size() <= text.Size() / 2);
}

void RequireNumber(StrView text) {
    double value = 7;
    const Z4::Error error = Str::ToDouble(text, value);
    const bool hasPlus = !text.IsEmpty() && text[0] == '+';
    const StrView plain = hasPlus ? text.Substring(1) : text;
    double expected = 7;
    const auto [end, problem] = std::from_chars(plain.begin(), plain.end(), expected);
    const bool isNumber = !plain.IsEmpty() && end == plain.end() && problem != std::errc::invalid_argument &&
                          !(hasPlus && plain[0] == '-') && Str::Find(plain, "(") == Str::NPOS;
    if (Str::Find(plain, "(") == Str::NPOS) {
        Require(isNumber == (error != Z4::ERR_INVALID));
    }
    Require(error == Z4::ERR_OVERFLOW || error == Z4::ERR_OK || value == 7);
    if (isNumber && problem == std::errc()) {
        Require(error == Z4::ERR_OK && (value == expected || (std::isnan(value) && std::isnan(expected))));
    }
}

void RequireIdentifier(StrView text) {
    Z4::GUID guid{};
    if (Z4::GUID::Parse(text, guid) == Z4::ERR_OK) {
        char written[Z4::GUID::FORMAT_SIZE];
        const auto form = text.Size() == 36 ? Z4::GUID::DASHED : text.Size() == 38 ? Z4::GUID::BRACED : Z4::GUID::BARE;
        Require(Str::EqualsNoCase(text, {written, guid.Format(written, sizeof(written), form)}));
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const StrView text(reinterpret_cast<const char*>(data) + 2, size - 2);
    RequireUtf(text);
    RequireNumber(text);
    RequireIdentifier(text);
    const std::size_t patternSize = data[1] % (text.Size() + 1);
    RequireWildcards(text.Substring(patternSize), text.Substring(0, patternSize));
    Z4::Path::IsSafeRelative(text) ? Require(Str::FindAny(text, ":*?") == Str::NPOS) : void();
    return 0;
}
