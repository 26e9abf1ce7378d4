#include <tests/support/testhost.h>

#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>
#include <zelk_core/generics/map.h>

namespace Z4 {

/// Looks into a map.
struct MapProbe {
    using TreeNode = Private::TreeNode;

    /// The number of black nodes on each way down from `node`, or -1 when the subtree breaks a rule.
    static int BlackHeight(const TreeNode* node) {
        if (node == nullptr) {
            return 0;
        }
        int heights[2] = {};
        for (const unsigned side : {0U, 1U}) {
            const TreeNode* const child = node->child[side];
            heights[side] = BlackHeight(child);
            if (child != nullptr && (child->parent != node || (node->isRed != 0 && child->isRed != 0))) {
                return -1;
            }
        }
        return heights[0] != heights[1] || heights[0] < 0 ? -1 : heights[0] + (node->isRed != 0 ? 0 : 1);
    }

    template <class AnyMap>
    static bool IsBalanced(const AnyMap& map) {
        const TreeNode* const root = map.m_tree.Root();
        return root == nullptr || (root->isRed == 0 && root->parent == map.m_tree.Head() && BlackHeight(root) > 0);
    }
};

} // namespace Z4

namespace {

using Z4::Map;

int g_alive = 0;

/// Counts its lives; cannot be constructed without a number.
class Counted {
public:
    explicit Counted(int number) : m_number(number) { ++g_alive; }
    Counted(const Counted& other) : m_number(other.m_number) { ++g_alive; }
    Counted(Counted&& other) noexcept : m_number(std::exchange(other.m_number, -1)) { ++g_alive; }
    ~Counted() { --g_alive; }
    Counted& operator=(const Counted&) = default;
    Counted& operator=(Counted&&) = default;

    int Number() const { return m_number; }
    friend auto operator<=>(const Counted&, const Counted&) = default;

private:
    int m_number;
};

struct Descending {
    bool operator()(const Counted& left, const Counted& right) const { return left > right; }
};

using Tested = Map<Counted, Counted, Descending>;
using Model = std::map<int, int, std::greater<>>;

/// A map and what it should hold, driven by random numbers.
class MapModel : public testing::TestWithParam<unsigned> {
protected:
    static constexpr int KEYS = 300;

    ~MapModel() override { ZelkTest::FailAllocations(0); }

    unsigned UpTo(unsigned last) { return std::uniform_int_distribution<unsigned>(0, last)(m_random); }
    int Key() { return static_cast<int>(UpTo(KEYS - 1)); }

    void Insert(Tested& map, Model& model) {
        const int key = Key();
        const int value = static_cast<int>(UpTo(99));
        const bool assign = UpTo(3) == 0;
        const Tested::InsertResult result =
            assign ? map.InsertOrAssign(Counted(key), Counted(value)) : map.Emplace(Counted(key), value);
        if (result.position == map.end()) {
            EXPECT_FALSE(model.contains(key));
            EXPECT_TRUE(m_refusing);
            return;
        }
        EXPECT_EQ(result.inserted, model.emplace(key, value).second);
        if (assign) {
            model[key] = value;
        }
        EXPECT_EQ(result.position->value.Number(), model[key]);
    }

    void Erase(Tested& map, Model& model) {
        const int key = Key();
        const auto found = model.lower_bound(key);
        switch (UpTo(3)) {
        case 0:
            EXPECT_EQ(map.Erase(Counted(key)), model.erase(key) != 0);
            break;
        case 1:
            if (found != model.end()) {
                const auto modelNext = model.erase(found);
                const auto next = map.Erase(map.LowerBound(Counted(key)));
                EXPECT_EQ(next == map.end(), modelNext == model.end());
                EXPECT_TRUE(next == map.end() || next->key.Number() == modelNext->first);
            }
            break;
        case 2: {
            const int last = key - static_cast<int>(UpTo(4));
            map.Erase(map.LowerBound(Counted(key)), map.LowerBound(Counted(last)));
            model.erase(found, model.lower_bound(last));
            break;
        }
        default: {
            const int divisor = static_cast<int>(UpTo(20)) + 20;
            EXPECT_EQ(map.EraseIf([=](const Tested::Entry& e) { return e.key.Number() % divisor == 0; }),
                      std::erase_if(model, [=](const auto& e) { return e.first % divisor == 0; }));
        }
        }
    }

    void Search(const Tested& map, const Model& model) {
        const int key = Key();
        const Counted counted(key);
        const Counted* const value = map.FindValue(counted);
        EXPECT_EQ(value != nullptr, model.contains(key));
        EXPECT_EQ(map.Contains(counted), model.contains(key));
        EXPECT_TRUE(value == nullptr || value->Number() == model.at(key));
        EXPECT_EQ(std::distance(map.begin(), map.LowerBound(counted)),
                  std::distance(model.begin(), model.lower_bound(key)));
        EXPECT_EQ(std::distance(map.UpperBound(counted), map.end()),
                  std::distance(model.upper_bound(key), model.end()));
    }

    void Transfer(Tested& map, Model& model, Tested& other, Model& otherModel) {
        switch (UpTo(4)) {
        case 0:
            map.Swap(other);
            model.swap(otherModel);
            break;
        case 1:
            map = other;
            model = map.IsEmpty() && m_refusing ? Model() : otherModel;
            break;
        case 2:
            map = std::move(other);
            model = std::move(otherModel);
            otherModel.clear();
            break;
        case 3: {
            Tested copy(map);
            EXPECT_TRUE(m_refusing ? copy.IsEmpty() || copy == map : copy == map);
            Tested moved(std::move(copy));
            EXPECT_TRUE(copy.IsEmpty()); // NOLINT(bugprone-use-after-move): says what is left
            ExpectSame(copy, Model());
            ExpectSame(moved, moved.IsEmpty() ? Model() : model);
            break;
        }
        default:
            map.Clear();
            model.clear();
        }
    }

    static void ExpectSame(const Tested& map, const Model& model) {
        EXPECT_TRUE(Z4::MapProbe::IsBalanced(map));
        EXPECT_EQ(map.Size(), model.size());
        EXPECT_TRUE(std::equal(map.begin(), map.end(), model.begin(), model.end(), [](const auto& e, const auto& m) {
            return e.key.Number() == m.first && e.value.Number() == m.second;
        }));
        EXPECT_TRUE(std::equal(map.rbegin(), map.rend(), model.rbegin(), model.rend(),
                               [](const auto& e, const auto& m) { return e.key.Number() == m.first; }));
    }

    void Refuse(bool refuse) {
        m_refusing = refuse;
        ZelkTest::FailAllocations(refuse ? 1 + UpTo(100) * UpTo(1) : 0);
    }

    std::mt19937 m_random{GetParam()};
    bool m_refusing = false;
};

} // namespace

TEST_P(MapModel, HoldsWhatTheModelHolds) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()));
    {
        Tested map;
        Tested other;
        Model model;
        Model otherModel;
        for (int step = 0; step < 6000 && !HasFailure(); ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            Refuse(UpTo(5) == 0);
            // Sizes swing: a while mostly growing, then mostly shrinking.
            const unsigned growing = step / 1000 % 2 == 0 ? 60 : 35;
            const unsigned choice = UpTo(99);
            if (choice < growing) {
                Insert(map, model);
            } else if (choice < 80) {
                Erase(map, model);
            } else if (choice < 99) {
                Search(map, model);
            } else {
                Transfer(map, model, other, otherModel);
            }
            ExpectSame(map, model);
            EXPECT_EQ(map == other, model == otherModel);
            EXPECT_EQ(g_alive, 2 * static_cast<int>(map.Size() + other.Size()));
        }
    }
    EXPECT_EQ(g_alive, 0);
}

INSTANTIATE_TEST_SUITE_P(Seeds, MapModel, testing::Range(1U, 9U));

TEST(Map, StaysBalancedInEveryOrderOfInsertionAndRemoval) {
    // Ascending, descending and scattered keys, each removed in each of these orders.
    constexpr unsigned COUNT = 500;
    const auto key = [](unsigned order, unsigned i) {
        return order == 0 ? i : order == 1 ? COUNT - 1 - i : i * 7 % COUNT;
    };
    for (unsigned order = 0; order < 9; ++order) {
        Map<unsigned, unsigned> map;
        for (unsigned i = 0; i < COUNT; ++i) {
            ASSERT_TRUE(map.Insert(key(order / 3, i), i).inserted);
            ASSERT_TRUE(Z4::MapProbe::IsBalanced(map));
        }
        for (unsigned i = 0; i < COUNT; ++i) {
            ASSERT_TRUE(map.Erase(key(order % 3, i)));
            ASSERT_TRUE(Z4::MapProbe::IsBalanced(map));
        }
        EXPECT_EQ(map.begin(), map.end());
    }
}

TEST(Map, EntriesStayInTheirPlace) {
    Map<int, std::string> map{{2, "two"}, {1, "one"}, {3, "three"}};
    const auto one = map.Find(1);
    const std::string* const three = map.FindValue(3);
    Map<int, std::string> other(std::move(map));
    other.Erase(2);
    other.Swap(map);
    EXPECT_EQ(one, map.begin());
    EXPECT_EQ(one->value, "one");
    EXPECT_EQ(&std::next(one)->value, three);
    // The key passed may be the erased entry's own, and the value one of the map's.
    EXPECT_TRUE(map.Erase(one->key));
    map.Insert(5, *three);
    EXPECT_EQ(map, (Map<int, std::string>{{3, "three"}, {5, "three"}}));
}

TEST(Map, AnInsertionThatFindsItsKeyLeavesTheArgumentsAlone) {
    Map<std::string, std::string> map;
    std::string key = "key with a text of its own";
    std::string value = "value with a text of its own";
    map.Insert(key, "first");
    map.Emplace(std::move(key), std::move(value));
    EXPECT_EQ(key, "key with a text of its own");     // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(value, "value with a text of its own"); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(*map.FindValue(key), "first");
}

TEST(Map, OrdersByTheFirstDifference) {
    using Numbers = Map<int, int>;
    const Numbers ordered[] = {{}, {{1, 1}}, {{1, 1}, {2, 0}}, {{1, 2}}, {{1, 2}, {3, 0}}, {{2, 0}}};
    for (const Numbers& left : ordered) {
        for (const Numbers& right : ordered) {
            EXPECT_EQ(left <=> right, &left <=> &right);
            EXPECT_EQ(left == right, &left == &right);
        }
    }
}
