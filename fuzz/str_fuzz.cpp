// Texts that nobody vouches for: searches, comparisons and numbers against the standard library, wildcards against
// their definition, UTF and identifiers against their own way back, into any room. The first two bytes choose, the
// others are the text.
#include "body.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
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

int Sign(int order) {
    return (order > 0) - (order < 0);
}

/// With the letters from `first` on in the other case.
template <class Text>
Text FlipCase(Text text, char first) {
    for (auto& character : text) {
        const bool isChanged = character >= first && character <= first + 25;
        character = static_cast<typename Text::value_type>(isChanged ? character ^ 0x20 : character);
    }
    return text;
}

template <class Text>
Text Lower(const Text& text) {
    return FlipCase(text, 'A');
}

/// Of a text and one that often is a part of it, by what the standard library says of them; then with other cases.
template <class Char>
void RequireSearches(StrView bytes, unsigned choice) {
    // What the standard library knows in every build, whatever the size of its own wide characters.
    using Unit = std::conditional_t<sizeof(Char) == 1, char, char16_t>;
    std::basic_string<Unit> content;
    for (const char byte : bytes) {
        const auto unit = static_cast<unsigned char>(byte);
        content += static_cast<Unit>(sizeof(Char) == 1 || unit < 0x80 ? unit : unit * 0x101);
    }
    const std::size_t at = choice % (content.size() + 1);
    std::basic_string<Unit> wanted = content.substr(choice % 2 != 0 ? at : 0, choice % 2 != 0 ? choice / 8 : at);
    if (choice % 2 == 0) {
        content.erase(0, at);
    }
    const std::size_t from = choice / 4 % (content.size() + 2);
    // Of exactly their sizes, so that the sanitizer sees every access beyond them.
    const std::vector<Char> exact(content.begin(), content.end());
    const Z4::BasicStrView<Char> text(exact.data(), exact.size());
    std::vector<Char> exactWanted(wanted.begin(), wanted.end());
    const Z4::BasicStrView<Char> what(exactWanted.data(), exactWanted.size());
    Require(Str::Find(text, what, from) == content.find(wanted, from));
    Require(Str::FindLast(text, what, from) == content.rfind(wanted, from));
    Require(Str::FindAny(text, what, from) == content.find_first_of(wanted, from));
    Require(Str::StartsWith(text, what) == content.starts_with(wanted));
    Require(Str::EndsWith(text, what) == content.ends_with(wanted));
    Require(Sign(Str::Compare(text, what)) == Sign(content.compare(wanted)));

    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const auto lower = static_cast<unsigned>(wanted[i]) | 0x20;
        const bool isLetter = lower >= 'a' && lower <= 'z';
        const bool isChanged = isLetter ? (i + choice) % 3 == 0 : choice % 16 == 15 && i == at;
        wanted[i] = static_cast<Unit>(isChanged ? wanted[i] ^ 0x20 : wanted[i]);
    }
    std::copy(wanted.begin(), wanted.end(), exactWanted.begin());
    const int order = Lower(content).compare(Lower(wanted));
    Require(Str::EqualsNoCase(text, what) == (order == 0));
    Require(Sign(Str::CompareNoCase(text, what)) == Sign(order));
    if constexpr (sizeof(Char) == 1) {
        Require(Str::FindNoCase(text, what, from) == Lower(content).find(Lower(wanted), from));
        std::vector<char> cased = exact;
        Str::ToLower(cased.data(), cased.size());
        Require(std::equal(cased.begin(), cased.end(), Lower(content).begin()));
        cased = exact;
        Str::ToUpper(cased.data(), cased.size());
        Require(std::equal(cased.begin(), cased.end(), FlipCase(content, 'a').begin()));
    }
}

/// Digits in a radix that `choice` says, and as many other characters as the bytes have.
template <class T>
void RequireInteger(StrView bytes, unsigned choice) {
    const unsigned radix = choice % 2 != 0 ? 10 : 2 + choice % 35;
    std::string text = std::is_signed_v<T> && choice % 4 < 2 ? "-" : "0";
    for (const char byte : bytes.Substring(0, 22)) {
        const auto digit = static_cast<unsigned char>(byte);
        text += "0123456789abcdefghijklmnopqrstuvwxyzAZ-"[digit < 0xF8 ? digit % radix : digit % 39];
    }
    // Unlike the standard library's, a number out of range has the nearest value.
    T expected = 42;
    const auto [end, problem] =
        std::from_chars(text.data(), text.data() + text.size(), expected, static_cast<int>(radix));
    Z4::Error error = problem == std::errc() ? Z4::ERR_OK : Z4::ERR_INVALID;
    if (problem == std::errc::result_out_of_range) {
        expected = text[0] == '-' ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
        error = Z4::ERR_OVERFLOW;
    }
    T value = 42;
    StrView rest(text.data(), text.size());
    Require(Str::ParseInt(rest, value, radix) == error && value == expected && rest.begin() == end);
    value = 42;
    Require(Str::ToInt({text.data(), text.size()}, value, radix) == (rest.IsEmpty() ? error : Z4::ERR_INVALID));
    Require(value == (rest.IsEmpty() ? expected : 42));
    char written[70];
    char ours[70];
    *std::to_chars(written, written + sizeof(written), expected, static_cast<int>(radix)).ptr = 0;
    Require(Str::FromInt(ours, sizeof(ours), expected, radix) == StrView(written).Size() && StrView(ours) == written);
}

/// The front of whole characters that a room has, for any room.
void RequireCuts(StrView text, std::size_t choice) {
    std::size_t length = 0;
    if (Utf::ToUtf16(nullptr, 0, text, length) == Z4::ERR_CORRUPTED_DATA || Str::Find(text, {"", 1}) != Str::NPOS) {
        return;
    }
    const std::size_t room = choice % (length + 2);
    const auto wide = std::make_unique<wchar_t[]>(room);
    const bool isWhole = room > length;
    std::size_t same = 0;
    Require(Utf::ToUtf16(wide.get(), room, text, same) == (isWhole ? Z4::ERR_OK : Z4::ERR_OVERFLOW) && same == length);
    std::size_t units = 0;
    StrView rest = text;
    for (StrView next = text; !next.IsEmpty(); rest = next) {
        const std::size_t size = Utf::Decode(next) >= 0x10000 ? 2 : 1;
        if (units + size >= room) {
            break;
        }
        units += size;
    }
    const StrView front = text.Substring(0, text.Size() - rest.Size());
    Require(room == 0 || Z4::WStrView(wide.get()).Size() == units);
    const Z4::WStrView whole(wide.get(), room == 0 ? 0 : units);
    const auto narrow = std::make_unique<char[]>(front.Size() + 1);
    Require(Utf::ToUtf8(narrow.get(), front.Size() + 1, whole, same) == Z4::ERR_OK);
    Require(StrView(narrow.get(), same) == front);
    if (front.Size() > 0) {
        const std::size_t less = choice % front.Size() + 1;
        Require(Utf::ToUtf8(narrow.get(), less, whole, same) == Z4::ERR_OVERFLOW && same == front.Size());
        Require(StrView(narrow.get()) == Utf::Cut(front, less - 1));
    }
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

/// What is read as an identifier is one, whole.
void RequireIdentifier(StrView text) {
    Z4::GUID guid{};
    if (Z4::GUID::Parse(text, guid) == Z4::ERR_OK) {
        char written[Z4::GUID::FORMAT_SIZE];
        const auto form = text.Size() == 36 ? Z4::GUID::DASHED : text.Size() == 38 ? Z4::GUID::BRACED : Z4::GUID::BARE;
        Require(Str::EqualsNoCase(text, {written, guid.Format(written, sizeof(written), form)}));
    }
}

/// Identifiers in every form, whole, cut and with one bit changed.
void RequireIdentifiers(StrView text, unsigned choice) {
    std::uint8_t bytes[16] = {};
    std::copy_n(text.begin(), std::min<std::size_t>(text.Size(), 16), bytes);
    const Z4::GUID guid = Z4::GUID::FromBytes(bytes);
    char written[Z4::GUID::FORMAT_SIZE];
    const std::size_t size = guid.Format(written, sizeof(written), static_cast<Z4::GUID::Form>(choice % 3));
    Z4::GUID read{};
    const std::size_t at = choice / 3 % size;
    Require(Z4::GUID::Parse({written, at}, read) == Z4::ERR_INVALID && read.IsNil());
    Require(Z4::GUID::Parse({written, size}, read) == Z4::ERR_OK && read == guid);
    written[at] = static_cast<char>(written[at] ^ 1 << choice % 8);
    RequireIdentifier({written, size});
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
    const unsigned choice = data[0] + 256U * data[1];
    choice % 5 < 3 ? RequireSearches<char>(text, choice) : RequireSearches<wchar_t>(text, choice);
    static constexpr void (*INTEGERS[])(StrView, unsigned) = {
        RequireInteger<std::int8_t>,   RequireInteger<std::uint16_t>, RequireInteger<std::int32_t>,
        RequireInteger<std::uint32_t>, RequireInteger<std::int64_t>,  RequireInteger<std::uint64_t>};
    INTEGERS[choice / 16 % 6](text, choice);
    choice / 8 % 4 == 0 ? RequireCuts(text, choice) : void();
    RequireUtf(text);
    RequireNumber(text);
    RequireIdentifier(text);
    RequireIdentifiers(text, choice);
    const std::size_t patternSize = data[1] % (text.Size() + 1);
    RequireWildcards(text.Substring(patternSize), text.Substring(0, patternSize));
    Z4::Path::IsSafeRelative(text) ? Require(Str::FindAny(text, ":*?") == Str::NPOS) : void();
    return 0;
}
