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
    EXPECT_TRUE(log.Lines().empty());
    for (int round = 0; round < 2; ++round) {
        Vector<int> dynamic{1, 2, 3};
        fixed = std::move(dynamic);
    }
    ASSERT_EQ(log.Lines().size(), 1u);
    const ZelkTest::LogLine line = log.Lines()[0];
    EXPECT_EQ(line.id, Z4::EAL_ID_ZELK_CORE);
    EXPECT_EQ(line.level, Z4::EAL_LOG_WARNING);
    EXPECT_EQ(line.file, "generics/vector");
    EXPECT_EQ(line.line, 1385u);
    EXPECT_EQ(line.text, "[Z4::Vector] EAL_LOG_WARNING: Expensive move assignment.  Allocators don't match or "
                         "destination is non-dynamic.");
}

TEST(Vector, GrowsByHalf) {
    Vector<int> vector;
    EXPECT_EQ(static_cast<void*>(vector.Data()), &vector);
    for (const unsigned capacity : {1u, 2u, 3u, 4u, 6u, 9u, 13u, 19u, 28u}) {
        vector.PushBack(7);
        EXPECT_EQ(vector.Capacity(), capacity);
        vector.Resize(capacity);
    }
    const struct {
        unsigned from;
        unsigned wanted;
        bool exact;
        unsigned capacity;
    } reservations[] = {{0, 5, false, 5},   {4, 5, false, 6},  {1, 2, false, 2},  {4, 7, false, 7},
                        {10, 11, true, 11}, {10, 9, true, 10}, {10, 3, false, 10}};
    for (const auto& r : reservations) {
        Vector<int> reserved;
        EXPECT_TRUE(reserved.Reserve(r.from));
        EXPECT_TRUE(r.exact ? reserved.Reserve(r.wanted) : reserved.ReserveGrowing(r.wanted));
        EXPECT_EQ(reserved.Capacity(), r.capacity) << r.from << " to " << r.wanted;
    }
}

TEST(Vector, MoveTakesOverMemoryWhereItCan) {
    enum Kind {
        EMPTY,
        DYNAMIC,
        CLEARED,
        FIXED
    };
    const struct {
        Kind to;
        Kind from;
        unsigned size;
        bool taken;
        unsigned capacity; ///< of the destination afterwards
    } moves[] = {
        {EMPTY, DYNAMIC, 3, true, 5},   {DYNAMIC, DYNAMIC, 3, true, 5}, {CLEARED, DYNAMIC, 3, true, 5},
        {FIXED, DYNAMIC, 3, false, 4},  {FIXED, DYNAMIC, 4, false, 4},  {FIXED, DYNAMIC, 5, true, 5},
        {DYNAMIC, FIXED, 3, false, 3},  {EMPTY, FIXED, 3, false, 3},    {FIXED, FIXED, 3, false, 4},
        {DYNAMIC, DYNAMIC, 0, true, 5}, {EMPTY, DYNAMIC, 0, false, 0},  {DYNAMIC, FIXED, 0, false, 0},
    };
    const ZelkTest::LogCapture quiet(0);
    const std::size_t blocks = ZelkTest::OutstandingMemory().blocks;
    for (const auto& move : moves) {
        SCOPED_TRACE(testing::Message() << move.to << " = " << move.from << " of " << move.size);
        alignas(Counted) unsigned char memory[2][4 * sizeof(Counted)];
        const auto make = [&memory](Kind kind, int place) {
            return kind == FIXED ? Vector<Counted>(Vector<Counted>::FixedStorage{memory[place], 4}) : Vector<Counted>();
        };
        Vector<Counted> to = make(move.to, 0);
        Vector<Counted> from = make(move.from, 1);
        to.Resize(move.to == DYNAMIC || move.to == CLEARED ? 2 : 0);
        if (move.to == CLEARED) {
            to.Clear();
        }
        EXPECT_TRUE(move.from != DYNAMIC || from.Reserve(5));
        from.Resize(move.size, 9);
        const void* const data = from.Data();
        to = std::move(from);
        EXPECT_EQ(to.Data() == data, move.taken);
        EXPECT_EQ(Values(to), Model(move.size, 9));
        EXPECT_EQ(to.Capacity(), move.capacity);
        EXPECT_FALSE(!from.IsEmpty() || from.WasRefused());
        EXPECT_EQ(from.Capacity(), move.from == FIXED ? 4u : move.taken || move.size != 0 ? 0u : 5u);
        EXPECT_EQ(Counted::alive, static_cast<int>(move.size));
    }
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks);
}

int Number(Input& input) {
    return static_cast<int>(input.Below(10000));
}
/// An index of an element; of none when there is none.
unsigned Index(const Model& model, Input& input) {
    return input.Below(static_cast<unsigned>(model.size()) + (model.empty() ? 1 : 0));
}
/// Some of the elements, perhaps none.
struct Part {
    Part(const Model& model, Input& input)
        : first(input.Below(static_cast<unsigned>(model.size()) + 1)),
          count(input.Below(static_cast<unsigned>(model.size()) - first + 1)) {}
    Model Of(const Model& model) const { return Model(&model[0] + first, &model[0] + first + count); }
    unsigned first;
    unsigned count;
};
Model::iterator At(Model& model, unsigned index) {
    return model.begin() + static_cast<std::ptrdiff_t>(index);
}

template <class T>
const ZelkTest::Operation<Vector<T>, Model> OPERATIONS[] = {
    {"push back", [](Vector<T>& v, Model& m, Input& in) { return m.push_back(Number(in)), v.PushBack(T{m.back()}); }},
    {"emplace back",
     [](Vector<T>& v, Model& m, Input& in) { return m.push_back(Number(in)), v.EmplaceBack(m.back()) != nullptr; }},
    {"push back an own element",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned i = Index(m, in);
         return m.empty() || (m.push_back(m[i]), v.PushBack(v[i]));
     }},
    {"append a list",
     [](Vector<T>& v, Model& m, Input& in) {
         const std::list<T> list(in.Below(6), T{3});
         m.insert(m.end(), list.size(), 3);
         return v.Append(list.begin(), list.end());
     }},
    {"insert an own element",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned at = in.Below(v.Size() + 1);
         const unsigned i = Index(m, in);
         return m.empty() || (m.insert(At(m, at), int(m[i])), v.Insert(v.begin() + at, v[i]), !v.WasRefused());
     }},
    {"insert an own element several times",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned at = in.Below(v.Size() + 1);
         const unsigned i = Index(m, in);
         const unsigned n = in.Below(6);
         return m.empty() || (m.insert(At(m, at), n, int(m[i])), v.Insert(v.begin() + at, n, v[i]), !v.WasRefused());
     }},
    {"insert own elements",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned at = in.Below(v.Size() + 1);
         const Part part(m, in);
         const Model copy = part.Of(m);
         m.insert(At(m, at), copy.begin(), copy.end());
         const T* const inserted = v.Insert(v.begin() + at, v.begin() + part.first, part.count);
         return !v.WasRefused() && (inserted == v.begin() + at || (ADD_FAILURE() << "another element", true));
     }},
    {"insert others",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned at = in.Below(v.Size() + 1);
         m.insert(At(m, at), {1, 2, 3}), v.Insert(v.begin() + at, {T{1}, T{2}, T{3}});
         return !v.WasRefused();
     }},
    {"pop back", [](Vector<T>& v, Model& m, Input&) { return m.empty() || (m.pop_back(), v.PopBack(), true); }},
    {"erase",
     [](Vector<T>& v, Model& m, Input& in) {
         const Part part(m, in);
         m.erase(At(m, part.first), At(m, part.first + part.count));
         T* const first = v.begin() + part.first;
         return v.Erase(first, first + part.count) == first;
     }},
    {"erase unordered",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned i = Index(m, in);
         return m.empty() || (m[i] = m.back(), m.pop_back(), v.EraseUnordered(v.begin() + i) == v.begin() + i);
     }},
    {"erase odd ones",
     [](Vector<T>& v, Model& m, Input&) {
         return v.EraseIf([](const T& element) { return ValueOf(element) % 2 != 0; }) ==
                std::erase_if(m, [](int value) { return value % 2 != 0; });
     }},
    {"resize",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned size = in.Below(12);
         return m.resize(size), v.Resize(size);
     }},
    {"resize with an own element",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned size = in.Below(24);
         return m.empty() || (m.resize(size, int(m[0])), v.Resize(size, v[0]));
     }},
    {"truncate",
     [](Vector<T>& v, Model& m, Input& in) {
         const unsigned size = in.Below(30);
         return m.resize(std::min<std::size_t>(size, m.size())), v.Truncate(size), true;
     }},
    {"clear", [](Vector<T>& v, Model& m, Input&) { return m.clear(), v.Clear(), true; }},
    {"reserve", [](Vector<T>& v, Model&, Input& in) { return v.Reserve(in.Below(20)); }},
    {"shrink",
     [](Vector<T>& v, Model&, Input&) {
         const bool shrunk = v.ShrinkToFit();
         EXPECT_FALSE(v.WasRefused() || (shrunk && v.IsDynamic() && v.Size() != v.Capacity()));
         return shrunk;
     }},
    {"assign own elements",
     [](Vector<T>& v, Model& m, Input& in) {
         const Part part(m, in);
         m = part.Of(m);
         return v.Assign(v.begin() + part.first, part.count);
     }},
    {"assign a copy and more",
     [](Vector<T>& v, Model& m, Input& in) {
         Vector<T> copy(v);
         if (!copy.PushBack(T{Number(in)})) {
             return false;
         }
         m.push_back(ValueOf(copy.Back()));
         v = copy;
         return !v.WasRefused();
     }},
    {"move away and back",
     [](Vector<T>& v, Model& m, Input&) {
         const bool wasDynamic = v.IsDynamic();
         Vector<T> other(std::move(v));
         EXPECT_FALSE(!v.IsEmpty() || (wasDynamic && other.WasRefused()));
         m = Values(other).empty() ? Model() : m;
         v = std::move(other);
         return true;
     }},
    {"swap with a fixed one",
     [](Vector<T>& v, Model& m, Input& in) {
         FixedVector<T, 4> fixed{T{Number(in)}, T{5}};
         const Model values = Values(fixed);
         v.Swap(fixed);
         EXPECT_TRUE(v.WasRefused() || fixed.WasRefused() || Values(fixed) == m);
         m = v.IsEmpty() ? Model() : values;
         return !v.WasRefused();
     }},
};

template <class T>
void Compare(Vector<T>& vector, Model& model, Input& input) {
    if (vector.WasRefused()) {
        EXPECT_TRUE(vector.IsEmpty() && vector.Capacity() != 0);
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
    const std::size_t blocks = ZelkTest::OutstandingMemory().blocks;
    for (unsigned seed = 1; seed <= 300 && !this->HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        alignas(16) unsigned char memory[3 * sizeof(TypeParam)];
        Vector<TypeParam> dynamic;
        Vector<TypeParam> fixed(typename Vector<TypeParam>::FixedStorage{memory, 3});
        FixedVector<TypeParam, 8> own;
        Vector<TypeParam>* const kinds[] = {&dynamic, &fixed, &own};
        Input input(seed);
        Model model;
        ZelkTest::RunModel<Vector<TypeParam>, Model>(*kinds[seed % 3], model, OPERATIONS<TypeParam>, input, 100,
                                                     [&] { Compare(*kinds[seed % 3], model, input); });
    }
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks);
}

TEST(Vector, IsConstructedAndComparedAsExpected) {
    const Vector<int> three{1, 2, 3};
    const int array[] = {1, 2, 3};
    const std::list<int> list(array, array + 3);
    EXPECT_EQ(three, Vector<int>(array, 3));
    EXPECT_EQ(three, Vector<int>(array, array + 3));
    EXPECT_EQ(three, Vector<int>(list.begin(), list.end()));
    EXPECT_EQ(Vector<int>(3), (Vector<int>{0, 0, 0}));
    EXPECT_EQ(Vector<int>(2, 7), (Vector<int>{7, 7}));
    EXPECT_LT(three, (Vector<int>{1, 3}));
    EXPECT_LT(three, (Vector<int>{1, 2, 3, 0}));
    EXPECT_GT(three, Vector<int>());
    EXPECT_NE(three, (Vector<int>{1, 2, 4}));

    // What is too large for any memory is refused by the vector itself.
    Vector<Vector<int>> nested{three, three};
    EXPECT_FALSE(nested.Reserve(0xFFFFFFFF));
    EXPECT_EQ(nested.Capacity(), nested.MAX_CAPACITY);
    nested = {three};
    EXPECT_EQ(nested.Back(), three);

    FixedVector<int, 2> fixed{1, 2};
    fixed.PushBack(3);
    EXPECT_EQ(fixed, three);
    fixed.Reset();
    EXPECT_EQ(fixed.Capacity(), 2u);
    EXPECT_TRUE(fixed.IsEmpty() && !fixed.IsDynamic());
}

} // namespace
