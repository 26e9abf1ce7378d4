// Faults hunted: a duty of the callers that checked builds do not report any more.
#include <tests/support/contract.h>
#include <tests/support/testhost.h>

#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <zelk_core/generics/dlist.h>
#include <zelk_core/generics/fixedvector.h>
#include <zelk_core/generics/map.h>
#include <zelk_core/generics/notifier.h>
#include <zelk_core/generics/string.h>
#include <zelk_core/math/matrix.h>
#include <zelk_core/math/vectorsimd.h>

namespace {

using namespace Z4;

TEST(Contracts, OfContainersAndIndicesAreChecked) {
    Vector<int> vector{1, 2};
    Vector<int> none;
    alignas(VectorSIMD4f) unsigned char memory[2 * sizeof(VectorSIMD4f)];
    Map<int, int> map{{1, 10}, {2, 20}};
    const ZelkString text("text");
    const ZelkString empty;
    DList links;
    DList stray;
    DList::Iterator nowhere;
    const volatile unsigned long four = 4; // Compilers see through a constant, and warn.
    Vector3f plain(1, 2, 3);
    VectorSIMD4f lanes(1, 2, 3, 4);
    const Matrix34f matrix = Matrix34f::IDENTITY;
    const struct {
        const char* duty;
        std::function<void()> misuse;
    } misuses[] = {
        {"index of a vector", [&] { static_cast<void>(vector[2]); }},
        {"front of an empty vector", [&] { static_cast<void>(none.Front()); }},
        {"back of an empty vector", [&] { static_cast<void>(none.Back()); }},
        {"last of an empty vector", [&] { none.PopBack(); }},
        {"erasing the end", [&] { vector.Erase(vector.end()); }},
        {"erasing backwards", [&] { vector.Erase(vector.end(), vector.begin()); }},
        {"erasing elsewhere", [&] { vector.EraseUnordered(none.begin()); }},
        {"inserting beyond the end", [&] { vector.Insert(vector.end() + 1, 3); }},
        {"inserting from null", [&] { vector.Insert(vector.end(), nullptr, 1); }},
        {"a buffer of null",
         [] {
             Vector<int>(Vector<int>::FixedStorage{nullptr, 1}).Clear();
         }},
        {"a buffer between alignments",
         [&] {
             Vector<VectorSIMD4f>(Vector<VectorSIMD4f>::FixedStorage{memory + 8, 1}).Clear();
         }},
        {"following an end", [&] { static_cast<void>(*map.end()); }},
        {"following an iterator of no map", [] { static_cast<void>(*Map<int, int>::Iterator()); }},
        {"going beyond the end", [&] { ++map.end(); }},
        {"going before the begin", [&] { --map.begin(); }},
        {"erasing an end", [&] { map.Erase(map.end()); }},
        {"position in a text", [&] { static_cast<void>(text[5]); }},
        {"front of an empty text", [&] { static_cast<void>(empty.Front()); }},
        {"back of an empty text", [&] { static_cast<void>(empty.Back()); }},
        {"a text of null", [] { static_cast<void>(ZelkString::View(nullptr, 1)); }},
        {"beside what is in no list", [&] { links.LinkAfter(stray); }},
        {"following an iterator of no list", [&] { static_cast<void>(*nowhere); }},
        {"going on from what is in no list", [&] { ++DList::Iterator(links); }},
        {"component", [&] { plain[four - 1] = 0; }},
        {"lane", [&] { static_cast<void>(lanes[four]); }},
        {"row", [&] { static_cast<void>(matrix.Row(four)); }},
    };
    for (const auto& [duty, misuse] : misuses) {
        EXPECT_TRUE(ZelkTest::IsReported(misuse)) << duty;
    }
    EXPECT_EQ(vector, Vector<int>({1, 2}));
}

TEST(Contracts, OfANotifierThatASinkDestroysAreChecked) {
    struct Destroyer : BaseNotifier::Sink {
        void OnNotification(unsigned, const void* payload) override {
            static_cast<BaseNotifier*>(const_cast<void*>(payload))->~BaseNotifier();
        }
    };
    alignas(BaseNotifier) static unsigned char place[sizeof(BaseNotifier)];
    auto* const notifier = new (place) BaseNotifier;
    Destroyer sink;
    ASSERT_TRUE(notifier->AddSink(sink));
    const ZelkTest::ExpectContract contract(ZelkTest::LIBRARY_CHECKS ? 1 : 0);
    notifier->Notify(0, notifier);
}

} // namespace
