// Faults hunted: a text changed or freed that another string still shares; characters lost or taken from the wrong
// place when the string is given a part of itself; positions beyond the end; a terminator that is not there; a refusal
// that changes anything.
#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <tests/support/model.h>
#include <thread>
#include <zelk_core/generics/string.h>

namespace {

using Z4::ZelkString;
using Z4::ZelkWString;
using ZelkTest::Input;

TEST(String, SharesOneTextUntilItChanges) {
    const std::size_t before = ZelkTest::OutstandingMemory().blocks;
    ZelkString first = "Default";
    const ZelkString second = first;
    EXPECT_EQ(second.Substring(0, 99).CStr(), first.CStr());
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before + 1);
    first += "!";
    EXPECT_EQ(second, "Default");
    first = second;
    first = *&first;
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before + 1);
    ZelkString third = std::move(first);
    EXPECT_TRUE(first.IsEmpty()); // NOLINT(bugprone-use-after-move): says what is left
    third = std::move(*&third);
    EXPECT_STREQ(third.CStr(), "Default");
}

TEST(String, CountsReferencesFromManyThreads) {
    const ZelkString shared = "shared";
    std::vector<std::jthread> threads;
    while (threads.size() < 4) {
        threads.emplace_back([&shared] {
            for (int i = 0; i < 50000; ++i) {
                const ZelkString copy = shared;
                EXPECT_EQ(ZelkString(copy).Size(), 6u);
            }
        });
    }
}

/// A string, and another that shares its text or did so before one of them was changed.
template <class Char>
struct Strings {
    using View = typename Z4::ZelkBasicString<Char>::View;
    /// Some of the string itself.
    View Part(unsigned position, unsigned count) const {
        const unsigned start = std::min(position, string.Size());
        return View(string.CStr() + start, std::min(count, string.Size() - start));
    }
    Z4::ZelkBasicString<Char> string;
    Z4::ZelkBasicString<Char> other;
};
template <class Char>
struct Texts {
    /// The native C library's wide functions have another size of wchar_t in mind.
    using Unit = std::conditional_t<sizeof(Char) == 1, char, char16_t>;
    using Text = std::basic_string<Unit>;
    std::size_t At(unsigned position) const { return std::min<std::size_t>(position, text.size()); }
    Text Part(unsigned position, unsigned count) const { return text.substr(At(position), count); }
    Text text;
    Text other;
};

/// They may lie beyond the end.
struct Arguments {
    template <class Model>
    Arguments(const Model&, Input& input) : p(input.Below(60)), n(input.Below(60)), few(input.Below(20)) {}
    unsigned p;
    unsigned n;
    unsigned few;
};
using A = const Arguments&;

// What is inserted is mostly a part of the string itself.
template <class Char, class S = Strings<Char>, class T = Texts<Char>>
const ZelkTest::Operation<S, T, Arguments> OPERATIONS[] = {
    {"share", [](S& s, T& t, A) { return s.other = s.string, t.other = t.text, true; }},
    {"swap", [](S& s, T& t, A) { return s.string.Swap(s.other), t.text.swap(t.other), true; }},
    {"take a part",
     [](S& s, T& t, A a) {
         t.other = t.Part(a.p, a.n);
         s.other = s.string.Substring(a.p, a.n);
         return s.other.Size() == t.other.size() || (t.other.clear(), s.other.IsEmpty());
     }},
    {"assign a part", [](S& s, T& t, A a) { return t.text = t.Part(a.p, a.n), s.string.Assign(s.Part(a.p, a.n)); }},
    {"insert a part",
     [](S& s, T& t, A a) {
         return t.text.insert(t.At(a.p), t.Part(a.n, a.few)), s.string.Insert(a.p, s.Part(a.n, a.few));
     }},
    {"replace by a part",
     [](S& s, T& t, A a) {
         return t.text.replace(t.At(a.p), a.n, t.Part(a.few, 5)), s.string.Replace(a.p, a.n, s.Part(a.few, 5));
     }},
    {"append a part", [](S& s, T& t, A) { return t.text += t.Part(0, 20), s.string.Append(s.Part(0, 20)); }},
    {"append of the other",
     [](S& s, T& t, A a) {
         t.text.append(t.other, 0, a.few);
         return s.string.Append(typename S::View(s.other.CStr(), s.other.Size()).Substring(0, a.few));
     }},
    {"append characters", [](S& s, T& t, A a) { return t.text.append(a.few, 'a'), s.string.Append(a.few, 'a'); }},
    {"erase", [](S& s, T& t, A a) { return t.text.erase(t.At(a.p), a.n), s.string.Erase(a.p, a.n); }},
    {"resize", [](S& s, T& t, A a) { return t.text.resize(a.n, 'r'), s.string.Resize(a.n, 'r'); }},
    {"reserve", [](S& s, T&, A a) { return s.string.Reserve(a.n) && s.string.Capacity() >= a.n; }},
    {"shrink", [](S& s, T&, A) { return s.string.ShrinkToFit(); }},
    {"clear", [](S& s, T& t, A) { return t.text.clear(), s.string.Clear(), true; }},
    {"edit",
     [](S& s, T& t, A) {
         Char* const text = s.string.Edit();
         return t.text.empty() ? text == nullptr : text != nullptr && (t.text[0] = 'e', *text = 'e', true);
     }},
    {"format with itself",
     [](S& s, T& t, A) {
         const Char format[] = {'<', '%', 's', '>', 0};
         t.text = typename T::Text(1, '<') + t.text.c_str() + typename T::Unit('>');
         return s.string.Format(format, s.string.CStr());
     }},
};

template <class Char>
void CheckAgainstModel(unsigned seed) {
    using Text = typename Texts<Char>::Text;
    Strings<Char> strings;
    Texts<Char> texts;
    Input input(seed);
    ZelkTest::RunModel<Strings<Char>, Texts<Char>, Arguments>(strings, texts, OPERATIONS<Char>, input, 200, [&] {
        EXPECT_EQ(Text(strings.string.begin(), strings.string.end()), texts.text);
        EXPECT_EQ(Text(strings.other.begin(), strings.other.end()), texts.other);
        EXPECT_EQ(strings.string[strings.string.Size()], 0);
        const unsigned from = input.Below(60);
        const auto part = strings.Part(input.Below(60), input.Below(4));
        const Text modelPart(part.Data(), part.Data() + part.Size());
        EXPECT_EQ(strings.string.Find(part, from), static_cast<unsigned>(texts.text.find(modelPart, from)));
        EXPECT_EQ(strings.string.FindLast(part, from), static_cast<unsigned>(texts.text.rfind(modelPart, from)));
    });
}

TEST(String, BehavesAsTheModel) {
    for (unsigned seed = 1; seed <= 100 && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        CheckAgainstModel<char>(seed);
        CheckAgainstModel<wchar_t>(seed);
    }
}

TEST(String, ComparesByUnsignedCharacters) {
    const ZelkString sorted[] = {nullptr, ZelkString("", 1), "a", "ab", "b", "\x80", "\xFF"};
    ZelkTest::ExpectAscending(sorted);
    EXPECT_LT(ZelkWString(L"a"), L"\xFFFF");
    EXPECT_TRUE(sorted[2].Compare("ab") < 0 && sorted[2].Compare("") > 0 && sorted[2].Compare("a") == 0);
    EXPECT_TRUE("ab" == sorted[2] + "b" && ZelkWString(L"a") + L"b" == L"ab");
    EXPECT_TRUE(sorted[3].StartsWith("a") && sorted[3].EndsWith("b") && !sorted[3].EndsWith("aab"));
    EXPECT_EQ(sorted[3].GetHash(), Z4::Hash::XXH32("ab"));
    EXPECT_TRUE(ZelkString("a-b-a").Find('-') == 1 && ZelkString("a").Find("", 2) == ZelkString::NPOS);
    EXPECT_FALSE(ZelkString().Contains("a"));
}

TEST(String, RefusesWhatIsTooLong) {
    ZelkString string = "text";
    EXPECT_FALSE(string.Append(ZelkString::MAX_SIZE, 'x'));
    EXPECT_FALSE(string.Reserve(UINT_MAX));
    const ZelkString::View endless("", ZelkString::MAX_SIZE + 1);
    EXPECT_TRUE((string + endless).IsEmpty() && (endless + string).IsEmpty());
    EXPECT_FALSE(string.Format("%*d", INT_MAX, 1));
    EXPECT_EQ(string, "text");
    ZelkTest::FailAllocations(1);
    const ZelkString refused = "other";
    const ZelkString sum = string + "other";
    string = "a longer text than before";
    ZelkTest::FailAllocations(0);
    EXPECT_TRUE(refused.IsEmpty() && sum.IsEmpty());
    EXPECT_EQ(string, "text");
}

} // namespace
