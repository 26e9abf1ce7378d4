// Faults hunted: elements lost, doubled or used dead by growth, insertion and removal; arguments that refer to elements
// of the very vector; memory that is leaked, freed twice or taken where a move could take it over; growth by another
// factor; a refusal that leaves elements or takes some.
#include <gtest/gtest.h>
#include <list>
#include <tests/support/model.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/log.h>
#include <zelk_core/generics/fixedvector.h>

namespace {

using Z4::FixedVector;
using Z4::Vector;
using ZelkTest::Counted;
using ZelkTest::Input;
using Model = std::vector<int>;

/// Copied byte by byte, too large for a register, aligned beyond what memory has by itself, and without constructors.
struct alignas(16) Wide {
    int value;
    int more[4] = {};
};

int ValueOf(int value) {
    return value;
}
int ValueOf(const Counted& counted) {
    return counted.Value();
}
int ValueOf(const Wide& wide) {
    return wide.value;
}

template <class T>
Model Values(const Vector<T>& vector) {
    Model values;
    for (const T& element : vector) {
        values.push_back(ValueOf(element));
    }
    return values;
}

// Comes first, as the warning comes once.
TEST(Vector, WarnsOnceOfMovingElementsIntoAFixedBuffer) {
    const ZelkTest::LogCapture log;
    FixedVector<int, 8> fixed;
    FixedVector<int, 8> empty;
    fixed = std::move(empty);
    log.ExpectOnly({});
    for (int round = 0; round < 2; ++round) {
        fixed = Vector<int>{1, 2, 3};
    }
    log.ExpectOnly({{Z4::EAL_LOG_WARNING, "generics/vector", 1385,
                     "[Z4::Vector] EAL_LOG_WARNING: Expensive move assignment.  Allocators don't match or destination "
                     "is non-dynamic."}});
}

// The digest of containers has the capacities after all other changes.
TEST(Vector, GrowsByHalf) {
    constexpr unsigned ROWS[][4] = {{0, 5, 5, 5}, {4, 5, 6, 5}, {1, 2, 2, 2}, {4, 7, 7, 7}, {10, 9, 10, 10}};
    for (const auto& [before, wanted, grown, exact] : ROWS) {
        Vector<int> growing;
        Vector<int> reserving;
        EXPECT_EQ(static_cast<void*>(growing.Data()), &growing);
        EXPECT_TRUE(growing.Reserve(before) && growing.ReserveGrowing(wanted) && growing.Capacity() == grown) << wanted;
        EXPECT_TRUE(reserving.Reserve(before) && reserving.Reserve(wanted) && reserving.Capacity() == exact) << wanted;
    }
}

TEST(Vector, MoveTakesOverMemoryWhereItCan) {
    enum Kind {
        EMPTY,
        DYNAMIC, ///< with room for 5 elements
        FIXED    ///< with room for 4
    };
    const struct {
        Kind to;
        Kind from;
        unsigned size;
        bool taken;
        unsigned capacity; ///< of the destination afterwards
        unsigned left;     ///< of the source
    } moves[] = {
        {EMPTY, DYNAMIC, 3, true, 5, 0},  {DYNAMIC, DYNAMIC, 3, true, 5, 0}, {FIXED, DYNAMIC, 3, false, 4, 0},
        {FIXED, DYNAMIC, 4, false, 4, 0}, {FIXED, DYNAMIC, 5, true, 5, 0},   {DYNAMIC, FIXED, 3, false, 3, 4},
        {EMPTY, FIXED, 3, false, 3, 4},   {FIXED, FIXED, 3, false, 4, 4},    {DYNAMIC, DYNAMIC, 0, true, 5, 0},
        {EMPTY, DYNAMIC, 0, false, 0, 5}, {DYNAMIC, FIXED, 0, false, 0, 4},
    };
    const ZelkTest::LogCapture quiet(0);
    for (const auto& move : moves) {
        SCOPED_TRACE(testing::Message() << move.to << " = " << move.from << " of " << move.size);
        alignas(Counted) unsigned char memory[2][4 * sizeof(Counted)];
        Vector<Counted> to({memory[0], move.to == FIXED ? 4U : 0U});
        Vector<Counted> from({memory[1], move.from == FIXED ? 4U : 0U});
        EXPECT_TRUE((move.to != DYNAMIC || to.Reserve(5)) && (move.from != DYNAMIC || from.Reserve(5)));
        from.Resize(move.size, 9);
        const void* const data = from.Data();
        to = std::move(from);
        EXPECT_TRUE((to.Data() == data) == move.taken && to.Capacity() == move.capacity);
        EXPECT_EQ(Values(to), Model(move.size, 9));
        // NOLINTNEXTLINE(bugprone-use-after-move): says what is left
        EXPECT_TRUE(from.IsEmpty() && !from.WasRefused() && from.Capacity() == move.left);
        EXPECT_EQ(Counted::alive, static_cast<int>(move.size));
    }
}

int Below(Input& input, unsigned end) {
    return static_cast<int>(input.Below(end));
}
struct Arguments {
    const Model& model;
    Input& input;
    unsigned size = static_cast<unsigned>(model.size());
    int number = Below(input, 10000);
    unsigned index = input.Below(size != 0 ? size : 1); ///< that of an element, if there is one
    unsigned few = input.Below(6);
    unsigned many = input.Below(30);
    unsigned count = input.Below(size + 1); ///< of the elements from `first` to before `last`, perhaps none
    int at = Below(input, size + 1);        ///< an index or that of the end
    int first = Below(input, size - count + 1);
    int last = first + static_cast<int>(count);
    Model part{model.data() + first, model.data() + last}; ///< those elements
};
using A = const Arguments&;

template <class T, class V = Vector<T>, class M = Model>
const ZelkTest::Operation<V, M, Arguments> OPERATIONS[] = {
    {"push back", [](V& v, M& m, A a) { return m.push_back(a.number), v.PushBack(T{a.number}); }},
    {"push back an own element",
     [](V& v, M& m, A a) { return m.empty() || (m.push_back(m[a.index]), v.PushBack(v[a.index])); }},
    {"append a list",
     [](V& v, M& m, A a) {
         const std::list<T> list(a.few, T{3});
         return m.insert(m.end(), a.few, 3), v.Append(list.begin(), list.end());
     }},
    {"insert an own element",
     [](V& v, M& m, A a) {
         return m.empty() || (m.insert(m.begin() + a.at, int(m[a.index])),
                              v.Insert(v.begin() + a.at, v[a.index]) == v.begin() + a.at && !v.WasRefused());
     }},
    {"insert an own element several times",
     [](V& v, M& m, A a) {
         return m.empty() || (m.insert(m.begin() + a.at, a.few, int(m[a.index])),
                              v.Insert(v.begin() + a.at, a.few, v[a.index]), !v.WasRefused());
     }},
    {"insert own elements",
     [](V& v, M& m, A a) {
         m.insert(m.begin() + a.at, a.part.begin(), a.part.end());
         const T* const inserted = v.Insert(v.begin() + a.at, v.begin() + a.first, a.count);
         return !v.WasRefused() && inserted == v.begin() + a.at;
     }},
    {"pop back", [](V& v, M& m, A) { return m.empty() || (m.pop_back(), v.PopBack(), true); }},
    {"erase",
     [](V& v, M& m, A a) {
         m.erase(m.begin() + a.first, m.begin() + a.last);
         T* const first = v.begin() + a.first;
         return v.Erase(first, first + a.count) == first;
     }},
    {"erase unordered",
     [](V& v, M& m, A a) {
         T* const place = v.begin() + a.index;
         return m.empty() || (m[a.index] = m.back(), m.pop_back(), v.EraseUnordered(place) == place);
     }},
    {"erase odd ones",
     [](V& v, M& m, A) {
         return v.EraseIf([](const T& element) { return ValueOf(element) % 2 != 0; }) ==
                std::erase_if(m, [](int value) { return value % 2 != 0; });
     }},
    {"resize", [](V& v, M& m, A a) { return m.resize(a.many), v.Resize(a.many); }},
    {"resize with an own element",
     [](V& v, M& m, A a) { return m.empty() || (m.resize(a.many, int(m[0])), v.Resize(a.many, v[0])); }},
    {"truncate", [](V& v, M& m, A a) { return m.resize(std::min(a.many, a.size)), v.Truncate(a.many), true; }},
    {"clear", [](V& v, M& m, A) { return m.clear(), v.Clear(), true; }},
    {"reserve", [](V& v, M&, A a) { return v.Reserve(a.many) && v.Capacity() >= a.many; }},
    {"shrink",
     [](V& v, M&, A) {
         const bool shrunk = v.ShrinkToFit();
         EXPECT_FALSE(v.WasRefused() || (shrunk && v.IsDynamic() && v.Size() != v.Capacity()));
         return shrunk;
     }},
    {"assign own elements", [](V& v, M& m, A a) { return m = a.part, v.Assign(v.begin() + a.first, a.count); }},
    {"assign itself", [](V& v, M&, A) { return v = *&v, v = std::move(*&v), true; }},
    {"insert a copy's elements",
     [](V& v, M& m, A a) {
         const V copy(v);
         m.insert(m.begin() + a.at, a.part.begin(), a.part.end());
         return !copy.WasRefused() && (v.Insert(v.begin() + a.at, copy.begin() + a.first, a.count), !v.WasRefused());
     }},
    {"assign a copy and more",
     [](V& v, M& m, A a) {
         V copy(v);
         m.push_back(a.number);
         return copy.PushBack(T{a.number}) && (v = copy, !v.WasRefused());
     }},
    {"move away and back",
     [](V& v, M& m, A) {
         const bool wasDynamic = v.IsDynamic();
         V other(std::move(v));
         EXPECT_FALSE(!v.IsEmpty() || (wasDynamic && other.WasRefused())); // NOLINT(bugprone-use-after-move)
         m = other.WasRefused() ? M() : m;
         v = std::move(other);
         return true;
     }},
    {"swap with a fixed one",
     [](V& v, M& m, A a) {
         FixedVector<T, 4> fixed{T{a.number}, T{5}};
         v.Swap(fixed);
         EXPECT_TRUE(v.WasRefused() || fixed.WasRefused() || Values(fixed) == m);
         m = v.IsEmpty() ? M() : M{a.number, 5};
         return !v.WasRefused();
     }},
};

template <class T>
void Compare(Vector<T>& vector, Model& model, Input& input) {
    if (vector.WasRefused()) {
        EXPECT_TRUE(vector.IsEmpty() && vector.Capacity() != 0 && !vector.ShrinkToFit());
        vector.PushBack(T{1});
        vector.Insert(vector.begin(), {T{1}, T{2}});
        vector.Resize(100);
        EXPECT_TRUE(vector.IsEmpty()) << "what comes after a refusal is dropped";
        if (input.OnceIn(2)) {
            vector.Clear();
        } else {
            EXPECT_TRUE(vector.Reserve(vector.Capacity() + 1));
        }
        model.clear();
    }
    EXPECT_EQ(Values(vector), model);
    EXPECT_LE(vector.Size(), vector.Capacity());
}

template <class T>
class VectorOf : public testing::Test {};
using Elements = testing::Types<int, Wide, Counted>;
TYPED_TEST_SUITE(VectorOf, Elements);

TYPED_TEST(VectorOf, BehavesAsTheModelInEachKindOfMemory) {
    const ZelkTest::LogCapture quiet(0);
    for (unsigned seed = 1; seed <= 300 && !this->HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        alignas(16) unsigned char memory[3 * sizeof(TypeParam)];
        Vector<TypeParam> dynamic;
        Vector<TypeParam> fixed(typename Vector<TypeParam>::FixedStorage{memory, 3});
        FixedVector<TypeParam, 8> own;
        Vector<TypeParam>* const kinds[] = {&dynamic, &fixed, &own};
        Input input(seed);
        Model model;
        ZelkTest::RunModel<Vector<TypeParam>, Model, Arguments>(*kinds[seed % 3], model, OPERATIONS<TypeParam>, input,
                                                                100, [&] { Compare(*kinds[seed % 3], model, input); });
    }
    EXPECT_EQ(Counted::alive, 0);
}

TEST(Vector, InsertsOwnElementsInMemoryThatLiesBelow) {
    alignas(16) static unsigned char memory[256];
    static unsigned char* top = memory + sizeof memory;
    Z4::eal_mem_dll_interface table{};
    table.alloc = [](std::size_t, std::size_t, unsigned, int) -> void* { return top -= 64; };
    table.free = [](void*) {};
    Z4::SetEalInterface(table);
    Vector<int> vector{1, 2, 3, 4};
    vector.Insert(vector.begin() + 1, vector.begin() + 1, 3);
    EXPECT_EQ(Values(vector), (Model{1, 2, 3, 4, 2, 3, 4}));
    vector.Clear();
    ZelkTest::ReinstallHost();
}

TEST(Vector, IsConstructedAndComparedAsExpected) {
    const Vector<int> ordered[] = {{}, {0}, {0, 0}, {1, 2}, {1, 2, 3}, {1, 2, 4}, {1, 3}};
    ZelkTest::ExpectAscending(ordered);
    const int array[] = {1, 2, 3};
    FixedVector<int, 2> fixed{1, 2};
    fixed.PushBack(3);
    EXPECT_TRUE(Vector<int>(array, 3) == ordered[4] && Vector<int>(array, array + 3) == ordered[4]);
    EXPECT_TRUE(fixed == ordered[4] && Vector<int>(fixed) == ordered[4]);
    EXPECT_TRUE(Vector<int>(2) == ordered[2] && Vector<int>(2, 0) == ordered[2]);
    fixed.Reset();
    EXPECT_TRUE(fixed.IsEmpty() && !fixed.IsDynamic() && fixed.Capacity() == 2);

    // What is too large for any memory is refused by the vector itself.
    Vector<Vector<int>> nested{ordered[1], ordered[1]};
    EXPECT_FALSE(nested.Reserve(0xFFFFFFFF));
    EXPECT_EQ(nested.Capacity(), nested.MAX_CAPACITY);
    nested = {ordered[3]};
    nested.Insert(nested.begin(), 0xFFFFFFFF, ordered[1]);
    EXPECT_TRUE(nested.WasRefused());
    nested = {ordered[3]};
    EXPECT_EQ(nested.Back(), ordered[3]);
}

} // namespace
