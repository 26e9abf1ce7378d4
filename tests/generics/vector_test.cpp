#include <algorithm>
#include <gtest/gtest.h>
#include <list>
#include <random>
#include <string>
#include <tests/support/testhost.h>
#include <vector>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/log.h>
#include <zelk_core/generics/fixedvector.h>

namespace {

using Z4::FixedVector;
using Z4::Vector;
using Model = std::vector<int>;

/// Knows where it lives, so that it notices when its bytes are moved without it or when it is used dead.
class Counted {
public:
    Counted() : Counted(0) {}
    Counted(int value) : m_self(this), m_value(value) { ++alive; }
    Counted(const Counted& other) : Counted(other.Value()) {}
    Counted(Counted&& other) noexcept : Counted(std::exchange(other.m_value, -1)) { other.Check(); }
    ~Counted() {
        Check();
        m_self = nullptr;
        --alive;
    }
    Counted& operator=(const Counted&) = delete;
    static void* operator new(std::size_t) = delete; // must not hide the placement

    int Value() const {
        Check();
        return m_value;
    }
    friend bool operator==(const Counted& left, const Counted& right) { return left.Value() == right.Value(); }

    static inline int alive = 0;

private:
    void Check() const {
        if (m_self != this) {
            ADD_FAILURE() << "an element was used that is not alive";
        }
    }

    const Counted* m_self;
    int m_value;
};

int ValueOf(int value) {
    return value;
}
int ValueOf(const Counted& counted) {
    return counted.Value();
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
        EXPECT_EQ(Values(fixed), Model({1, 2, 3}));
        EXPECT_EQ(fixed.Capacity(), 8u);
        EXPECT_FALSE(fixed.IsDynamic());
        EXPECT_EQ(dynamic.Capacity(), 0u);
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
    unsigned last = 0;
    for (const unsigned capacity : {1u, 2u, 3u, 4u, 6u, 9u, 13u, 19u, 28u}) {
        vector.Resize(last + 1, 7);
        EXPECT_EQ(vector.Capacity(), capacity);
        last = capacity;
        vector.Resize(last);
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
        if (move.to == FIXED || move.from == FIXED) {
            EXPECT_EQ((move.to == FIXED ? to : from).Capacity(), 4u);
        }
        if (move.to == DYNAMIC || move.to == CLEARED) {
            to.Resize(2);
        }
        if (move.to == CLEARED) {
            to.Clear();
        }
        if (move.from == DYNAMIC) {
            EXPECT_TRUE(from.Reserve(5));
        }
        from.Resize(move.size, 9);
        const void* const data = from.Data();
        to = std::move(from);
        EXPECT_EQ(to.Data() == data, move.taken);
        EXPECT_EQ(Values(to), Model(move.size, 9));
        EXPECT_EQ(to.Capacity(), move.capacity);
        EXPECT_TRUE(from.IsEmpty());
        EXPECT_FALSE(from.WasRefused());
        EXPECT_EQ(from.Capacity(), move.from == FIXED ? 4u : move.taken || move.size != 0 ? 0u : 5u);
        EXPECT_EQ(Counted::alive, static_cast<int>(move.size));
    }
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks);
}

/// Random numbers from 0 to `limit`.
class Random {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}
    unsigned UpTo(unsigned limit) { return static_cast<unsigned>(m_engine() % (limit + 1)); }
    int Value() { return static_cast<int>(UpTo(9999)); }

private:
    std::mt19937 m_engine;
};

Model::iterator At(Model& model, unsigned index) {
    return model.begin() + static_cast<std::ptrdiff_t>(index);
}

template <class T>
struct Operation {
    const char* name;
    void (*apply)(Vector<T>& vector, Model& model, Random& random);
};

/// What both hold afterwards must be the same, unless memory was refused.
template <class T>
const Operation<T> OPERATIONS[] = {
    {"push back", [](Vector<T>& v, Model& m, Random& r) { m.push_back(r.Value()), v.PushBack(m.back()); }},
    {"push back an own element",
     [](Vector<T>& v, Model& m, Random& r) {
         if (!m.empty()) {
             const unsigned i = r.UpTo(v.Size() - 1);
             m.push_back(m[i]), v.PushBack(v[i]);
         }
     }},
    {"emplace back", [](Vector<T>& v, Model& m, Random& r) { m.push_back(r.Value()), v.EmplaceBack(m.back()); }},
    {"append a list",
     [](Vector<T>& v, Model& m, Random& r) {
         const std::list<int> list(r.UpTo(5), r.Value());
         m.insert(m.end(), list.begin(), list.end());
         v.Append(list.begin(), list.end());
     }},
    {"insert an own element",
     [](Vector<T>& v, Model& m, Random& r) {
         if (!m.empty()) {
             const unsigned at = r.UpTo(v.Size());
             const unsigned i = r.UpTo(v.Size() - 1);
             const int value = m[i];
             m.insert(At(m, at), value), v.Insert(v.begin() + at, v[i]);
         }
     }},
    {"insert an own element several times",
     [](Vector<T>& v, Model& m, Random& r) {
         if (!m.empty()) {
             const unsigned at = r.UpTo(v.Size());
             const unsigned i = r.UpTo(v.Size() - 1);
             const unsigned count = r.UpTo(5);
             const int value = m[i];
             m.insert(At(m, at), count, value), v.Insert(v.begin() + at, count, v[i]);
         }
     }},
    {"insert own elements",
     [](Vector<T>& v, Model& m, Random& r) {
         const unsigned at = r.UpTo(v.Size());
         const unsigned first = r.UpTo(v.Size());
         const unsigned count = r.UpTo(v.Size() - first);
         const Model copy(At(m, first), At(m, first + count));
         m.insert(At(m, at), copy.begin(), copy.end());
         const T* const inserted = v.Insert(v.begin() + at, v.begin() + first, count);
         EXPECT_TRUE(v.WasRefused() || inserted == v.begin() + at);
     }},
    {"insert others",
     [](Vector<T>& v, Model& m, Random& r) {
         const unsigned at = r.UpTo(v.Size());
         const int a = r.Value();
         m.insert(At(m, at), {a, 2, 3}), v.Insert(v.begin() + at, {T(a), T(2), T(3)});
     }},
    {"pop back",
     [](Vector<T>& v, Model& m, Random&) {
         if (!m.empty()) {
             m.pop_back(), v.PopBack();
         }
     }},
    {"erase",
     [](Vector<T>& v, Model& m, Random& r) {
         const unsigned first = r.UpTo(v.Size());
         const unsigned count = r.UpTo(v.Size() - first);
         m.erase(At(m, first), At(m, first + count));
         EXPECT_EQ(v.Erase(v.begin() + first, v.begin() + first + count), v.begin() + first);
     }},
    {"erase unordered",
     [](Vector<T>& v, Model& m, Random& r) {
         if (!m.empty()) {
             const unsigned i = r.UpTo(v.Size() - 1);
             m[i] = m.back(), m.pop_back(), v.EraseUnordered(v.begin() + i);
         }
     }},
    {"erase odd ones",
     [](Vector<T>& v, Model& m, Random&) {
         EXPECT_EQ(v.EraseIf([](const T& element) { return ValueOf(element) % 2 != 0; }),
                   std::erase_if(m, [](int value) { return value % 2 != 0; }));
     }},
    {"resize",
     [](Vector<T>& v, Model& m, Random& r) {
         const unsigned size = r.UpTo(12);
         m.resize(size), v.Resize(size);
     }},
    {"resize with an own element",
     [](Vector<T>& v, Model& m, Random& r) {
         if (!m.empty()) {
             const unsigned size = r.UpTo(24);
             const int value = m[0];
             m.resize(size, value), v.Resize(size, v[0]);
         }
     }},
    {"truncate",
     [](Vector<T>& v, Model& m, Random& r) {
         const unsigned size = r.UpTo(30);
         m.resize(std::min<std::size_t>(size, m.size())), v.Truncate(size);
     }},
    {"clear", [](Vector<T>& v, Model& m, Random&) { m.clear(), v.Clear(); }},
    {"reserve",
     [](Vector<T>& v, Model&, Random& r) {
         const bool granted = v.Reserve(r.UpTo(20));
         EXPECT_NE(granted, v.WasRefused());
     }},
    {"shrink",
     [](Vector<T>& v, Model&, Random&) {
         v.ShrinkToFit();
         EXPECT_FALSE(v.WasRefused());
     }},
    {"assign own elements",
     [](Vector<T>& v, Model& m, Random& r) {
         const unsigned first = r.UpTo(v.Size());
         const unsigned count = r.UpTo(v.Size() - first);
         m = Model(At(m, first), At(m, first + count));
         v.Assign(v.begin() + first, count);
     }},
    {"assign a copy and more",
     [](Vector<T>& v, Model& m, Random& r) {
         Vector<T> copy(v);
         m.push_back(r.Value()), copy.PushBack(m.back());
         v = copy;
         EXPECT_TRUE(v.WasRefused() || copy.WasRefused() || v == copy);
         if (copy.WasRefused()) {
             m.clear();
         }
     }},
    {"move away and back",
     [](Vector<T>& v, Model& m, Random&) {
         Vector<T> other(std::move(v));
         EXPECT_TRUE(v.IsEmpty());
         if (other.WasRefused()) {
             m.clear();
         }
         v = std::move(other);
     }},
    {"swap with a fixed one",
     [](Vector<T>& v, Model& m, Random& r) {
         FixedVector<T, 4> fixed{T(r.Value()), T(5)};
         const Model values = Values(fixed);
         v.Swap(fixed);
         EXPECT_TRUE(v.WasRefused() || fixed.WasRefused() || Values(fixed) == m);
         m = v.IsEmpty() ? Model() : values;
     }},
};

template <class T>
void CheckAgainstModel(Vector<T>& vector, unsigned seed) {
    Random random(seed);
    Model model;
    std::string history;
    for (int step = 0; step < 100; ++step) {
        const Operation<T>& operation = OPERATIONS<T>[random.UpTo(std::size(OPERATIONS<T>) - 1)];
        history = history.substr(history.size() > 400 ? history.size() - 400 : 0) + operation.name + "; ";
        const bool refuse = random.UpTo(9) == 0;
        ZelkTest::FailAllocations(refuse ? 1 + random.UpTo(1) : 0);
        operation.apply(vector, model, random);
        ZelkTest::FailAllocations(0);
        ASSERT_TRUE(refuse || !vector.WasRefused()) << "seed " << seed << ": " << history;
        if (vector.WasRefused()) {
            ASSERT_TRUE(vector.IsEmpty() && vector.Capacity() != 0) << "seed " << seed << ": " << history;
            vector.PushBack(1);
            vector.Insert(vector.begin(), {T(1), T(2)});
            vector.Resize(100);
            ASSERT_TRUE(vector.IsEmpty()) << "seed " << seed << ": " << history;
            if (random.UpTo(1) == 0) {
                vector.Clear();
            } else {
                ASSERT_TRUE(vector.Reserve(vector.Capacity() + 1));
            }
            model.clear();
        }
        ASSERT_EQ(Values(vector), model) << "seed " << seed << ": " << history;
        ASSERT_LE(vector.Size(), vector.Capacity());
    }
}

template <class T>
void CheckManySequences() {
    const ZelkTest::LogCapture quiet(0);
    const std::size_t blocks = ZelkTest::OutstandingMemory().blocks;
    for (unsigned seed = 1; seed <= 200; ++seed) {
        Vector<T> dynamic;
        CheckAgainstModel(dynamic, seed);
        FixedVector<T, 8> fixed;
        CheckAgainstModel<T>(fixed, seed);
    }
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_EQ(ZelkTest::OutstandingMemory().blocks, blocks);
}

TEST(Vector, BehavesAsTheModelWithTrivialElements) {
    CheckManySequences<int>();
}

TEST(Vector, BehavesAsTheModelWithElementsThatMustBeMoved) {
    CheckManySequences<Counted>();
}

struct Aggregate {
    int a;
    char b;
};

TEST(Vector, IsConstructedAndComparedAsExpected) {
    const Vector<int> three{1, 2, 3};
    const int array[] = {1, 2, 3};
    const std::list<int> list(array, array + 3);
    EXPECT_EQ(three, Vector<int>(array, 3));
    EXPECT_EQ(three, Vector<int>(array, array + 3));
    EXPECT_EQ(three, Vector<int>(list.begin(), list.end()));
    EXPECT_EQ(Vector<int>(3), (Vector<int>{0, 0, 0}));
    EXPECT_EQ(Vector<int>(2, 7), (Vector<int>{7, 7}));
    EXPECT_EQ(three, Vector<int>(three));
    EXPECT_LT(three, (Vector<int>{1, 3}));
    EXPECT_LT(three, (Vector<int>{1, 2, 3, 0}));
    EXPECT_GT(three, Vector<int>());
    EXPECT_NE(three, (Vector<int>{1, 2, 4}));

    Vector<Aggregate> aggregates;
    EXPECT_EQ(aggregates.EmplaceBack(1, 'x')->b, 'x');
    EXPECT_EQ(aggregates.Emplace(aggregates.begin(), 2, 'y')->a, 2);

    // What is too large for any memory is refused by the vector itself.
    Vector<Vector<int>> nested{three, three};
    EXPECT_FALSE(nested.Reserve(0xFFFFFFFF));
    EXPECT_TRUE(nested.WasRefused());
    EXPECT_EQ(nested.Capacity(), nested.MAX_CAPACITY);
    nested = {three};
    EXPECT_EQ(nested.Back(), three);

    FixedVector<int, 2> fixed{1, 2};
    fixed.PushBack(3);
    EXPECT_TRUE(fixed.IsDynamic());
    EXPECT_EQ(fixed, three);
    fixed.Reset();
    EXPECT_EQ(fixed.Capacity(), 2u);
    EXPECT_TRUE(fixed.IsEmpty() && !fixed.IsDynamic());
}

} // namespace
