#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <tests/support/testhost.h>
#include <thread>
#include <zelk_core/generics/string.h>

namespace {

using Z4::ZelkString;
using Z4::ZelkWString;

constexpr unsigned NPOS = ZelkString::NPOS;

TEST(String, SharesOneTextUntilItChanges) {
    const std::size_t before = ZelkTest::OutstandingMemory().blocks;
    {
        ZelkString first = "Default";
        ZelkString second = first;
        EXPECT_EQ(first.CStr(), second.CStr());
        EXPECT_EQ(second.Substring(0, 99).CStr(), first.CStr());
        EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before + 1);
        second += "!";
        EXPECT_EQ(first, "Default");
        EXPECT_EQ(second, "Default!");
        first = second;
        first = *&first;
        EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before + 1);
        first.Edit()[0] = 'd';
        EXPECT_EQ(first, "default!");
        EXPECT_EQ(second[0], 'D');
        first = std::move(second);
        EXPECT_TRUE(second.IsEmpty());
        EXPECT_STREQ(first.CStr(), "Default!");
        EXPECT_EQ(second.Edit(), nullptr);
    }
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before);
}

TEST(String, CountsReferencesFromManyThreads) {
    const std::size_t before = ZelkTest::OutstandingMemory().blocks;
    {
        const ZelkString shared = "shared";
        std::thread threads[4];
        for (std::thread& thread : threads) {
            thread = std::thread([&shared] {
                for (int i = 0; i < 200000; ++i) {
                    const ZelkString copy = shared;
                    const ZelkString another(copy);
                    ASSERT_EQ(another.Size(), 6u);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, before);
}

template <class Char>
struct Operation {
    using String = Z4::ZelkBasicString<Char>;
    /// The native C library's wide functions have another size of wchar_t in mind.
    using Unit = std::conditional_t<sizeof(Char) == 1, char, char16_t>;
    using Model = std::basic_string<Unit>;
    /// One random operation on both; false when memory was refused, and then the string must be as before.
    bool (*apply)(String& string, Model& model, unsigned position, unsigned count, char character);
};

template <class Char>
using Unit = typename Operation<Char>::Unit;

// Positions and counts may lie beyond the end. What is inserted is mostly a part of the string itself.
template <class Char, class S = typename Operation<Char>::String, class M = typename Operation<Char>::Model>
const Operation<Char> OPERATIONS[] = {
    {[](S& s, M& m, unsigned p, unsigned n, char) {
        const S part = s.Substring(p, n);
        const M own = m.substr(std::min<std::size_t>(p, m.size()), n);
        EXPECT_TRUE(part.IsEmpty() || M(part.begin(), part.end()) == own);
        m = own;
        return s.Assign(typename S::View(s.CStr() + std::min(p, s.Size()), static_cast<unsigned>(own.size())));
    }},
    {[](S& s, M& m, unsigned p, unsigned n, char) {
        const M own = m.substr(m.size() / 2, n);
        m.insert(std::min<std::size_t>(p, m.size()), own);
        return s.Insert(p, typename S::View(s.CStr() + s.Size() / 2, static_cast<unsigned>(own.size())));
    }},
    {[](S& s, M& m, unsigned p, unsigned n, char) {
        const M own = m.substr(m.size() / 3, 5);
        m.replace(std::min<std::size_t>(p, m.size()), n, own);
        return s.Replace(p, n, typename S::View(s.CStr() + s.Size() / 3, static_cast<unsigned>(own.size())));
    }},
    {[](S& s, M& m, unsigned, unsigned, char) {
        m += m.substr(0, 20);
        return s.Append(typename S::View(s.CStr(), std::min(s.Size(), 20u)));
    }},
    {[](S& s, M& m, unsigned, unsigned n, char c) { return m.append(n, Unit<Char>(c)), s.Append(n, Char(c)); }},
    {[](S& s, M& m, unsigned p, unsigned n, char) {
        m.erase(std::min<std::size_t>(p, m.size()), n);
        return s.Erase(p, n);
    }},
    {[](S& s, M& m, unsigned p, unsigned, char c) { return m.resize(p, Unit<Char>(c)), s.Resize(p, Char(c)); }},
    {[](S& s, M&, unsigned p, unsigned, char) {
        return s.Reserve(p) && (s.Capacity() >= p || (ADD_FAILURE() << "too little was reserved", true));
    }},
    {[](S& s, M&, unsigned, unsigned, char) { return s.ShrinkToFit(); }},
    {[](S& s, M& m, unsigned, unsigned, char) { return m.clear(), s.Clear(), true; }},
    {[](S& s, M& m, unsigned, unsigned, char c) {
        const Char format[] = {'<', '%', 's', '%', 'c', '>', 0};
        m = M(1, '<') + m.substr(0, m.find(Unit<Char>(0))) + Unit<Char>(c) + Unit<Char>('>');
        return s.Format(format, s.CStr(), static_cast<int>(c));
    }},
};

template <class Char>
void CheckAgainstModel(unsigned seed) {
    std::mt19937 random(seed);
    typename Operation<Char>::String string;
    typename Operation<Char>::Model model;
    for (int step = 0; step < 200; ++step) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
        const typename Operation<Char>::String held = step % 3 != 0 ? string : typename Operation<Char>::String();
        const typename Operation<Char>::Model before = model;
        const bool refuse = random() % 5 == 0;
        const unsigned operation = random() % std::size(OPERATIONS<Char>);
        const unsigned position = random() % 60;
        const unsigned count = random() % 40;
        ZelkTest::FailAllocations(refuse ? 1 : 0);
        const bool done = OPERATIONS<Char>[operation].apply(string, model, position, count, "abAB"[random() % 4]);
        ZelkTest::FailAllocations(0);
        ASSERT_TRUE(done || refuse) << "operation " << operation;
        if (!done) {
            model = before;
        }
        ASSERT_EQ(typename Operation<Char>::Model(string.begin(), string.end()), model) << "operation " << operation;
        ASSERT_EQ(string[string.Size()], 0);
        if (step % 3 != 0) {
            ASSERT_EQ(typename Operation<Char>::Model(held.begin(), held.end()), before) << "operation " << operation;
        }
        const unsigned length = std::min(count % 4, string.Size());
        const typename Operation<Char>::String::View part(string.CStr() + (string.Size() - length) / 2, length);
        const typename Operation<Char>::Model modelPart(part.Data(), part.Data() + part.Size());
        ASSERT_EQ(string.Find(part, position), static_cast<unsigned>(model.find(modelPart, position)));
        ASSERT_EQ(string.FindLast(part, position), static_cast<unsigned>(model.rfind(modelPart, position)));
    }
}

TEST(String, BehavesAsTheModel) {
    const std::size_t blocks = ZelkTest::OutstandingMemory().blocks;
    for (unsigned seed = 1; seed <= 100; ++seed) {
        CheckAgainstModel<char>(seed);
        CheckAgainstModel<wchar_t>(seed);
    }
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks);
}

TEST(String, ComparesByUnsignedCharacters) {
    const ZelkString sorted[] = {nullptr, ZelkString("", 1), "a", "ab", "b", "\x80", "\xFF"};
    for (unsigned i = 0; i < std::size(sorted); ++i) {
        for (unsigned k = 0; k < std::size(sorted); ++k) {
            EXPECT_EQ(sorted[i] < sorted[k], i < k) << i << ", " << k;
            EXPECT_EQ(sorted[i] == sorted[k], i == k) << i << ", " << k;
            EXPECT_EQ(sorted[i].Compare(sorted[k]) > 0, i > k) << i << ", " << k;
        }
    }
    EXPECT_LT(ZelkWString(L"a"), L"\xFFFF");
    EXPECT_EQ("ab", sorted[2] + "b");
    EXPECT_EQ(ZelkWString(L"a") + L"b", L"ab");
    EXPECT_TRUE(sorted[3].StartsWith("a") && sorted[3].EndsWith("b") && !sorted[3].EndsWith("aab"));
    EXPECT_EQ(sorted[3].GetHash(), Z4::Hash::XXH32("ab"));
    EXPECT_EQ(ZelkString("a-b-a").Find('-'), 1u);
    EXPECT_EQ(ZelkString("a-b-a").FindLast("a"), 4u);
    EXPECT_EQ(ZelkString("a").Find("", 2), NPOS);
    EXPECT_FALSE(ZelkString().Contains("a"));
}

TEST(String, RefusesWhatIsTooLong) {
    ZelkString string = "text";
    EXPECT_FALSE(string.Append(ZelkString::MAX_SIZE, 'x'));
    EXPECT_FALSE(string.Reserve(UINT_MAX));
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
