// Faults hunted: entries lost, doubled, out of order or moved in memory; a tree out of balance, or no tree, after any
// insertion or removal; nodes leaked; a refusal that leaves half a copy; arguments used up though nothing was inserted.
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <tests/support/model.h>
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
using ZelkTest::Counted;
using ZelkTest::Input;

struct Descending {
    bool operator()(const Counted& left, const Counted& right) const { return left > right; }
};

using Tested = Map<Counted, Counted, Descending>;
using Model = std::map<int, int, std::greater<>>;

constexpr unsigned KEYS = 300;

struct Arguments {
    const Model& model;
    Input& input;
    int key = static_cast<int>(input.Below(KEYS));
    int number = static_cast<int>(input.Below(20));
    bool isThere = model.contains(key);
};
using A = const Arguments&;

bool IsSame(Tested& map, const Model& model) {
    return Z4::MapProbe::IsBalanced(map) && map.Size() == model.size() &&
           std::equal(map.begin(), map.end(), model.begin(), model.end(),
                      [](const auto& e, const auto& m) { return e.key == m.first && e.value == m.second; }) &&
           std::equal(map.rbegin(), map.rend(), model.rbegin(), model.rend(),
                      [](const auto& e, const auto& m) { return e.key == m.first; });
}

/// A refused copy is empty.
bool IsCopy(const Tested& copy, const Tested& map) {
    EXPECT_TRUE(Z4::MapProbe::IsBalanced(copy) && (copy == map || copy.IsEmpty()));
    return copy == map;
}

// Without the two at the end a map grows, without the two at the begin it shrinks.
const ZelkTest::Operation<Tested, Model, Arguments> OPERATIONS[] = {
    {"insert",
     [](Tested& map, Model& model, A a) {
         model.emplace(a.key, a.number);
         const Tested::InsertResult result = map.Emplace(Counted(a.key), a.number);
         EXPECT_TRUE(result.inserted ? !a.isThere : a.isThere == (result.position != map.end()));
         return result.position != map.end() && result.position->key == a.key;
     }},
    {"insert or assign",
     [](Tested& map, Model& model, A a) {
         model[a.key] = a.number;
         const Tested::InsertResult result = map.InsertOrAssign(Counted(a.key), Counted(a.number));
         return result.position != map.end() && result.position->value == a.number;
     }},
    {"search",
     [](Tested& map, Model& model, A a) {
         const Counted* const value = std::as_const(map).FindValue(a.key);
         return map.Contains(a.key) == a.isThere && (a.isThere ? *value == model[a.key] : value == nullptr) &&
                std::distance(map.begin(), map.LowerBound(a.key)) ==
                    std::distance(model.begin(), model.lower_bound(a.key)) &&
                std::distance(map.UpperBound(a.key), map.end()) == std::distance(model.upper_bound(a.key), model.end());
     }},
    {"copy",
     [](Tested& map, Model&, A a) {
         Tested assigned;
         assigned.Insert(a.key, 1);
         assigned = map;
         const Tested copy(map);
         return IsCopy(assigned, map) && IsCopy(copy, map);
     }},
    {"insert a list",
     [](Tested& map, Model& model, A a) {
         const Tested::Entry entries[] = {{Counted(a.key), Counted(a.number)}};
         return model.emplace(a.key, a.number), map.Insert(entries, entries + 1);
     }},
    {"assign itself",
     [](Tested& map, Model&, A) {
         const Tested& same = map;
         map = same;
         map = std::move(const_cast<Tested&>(same));
         return true;
     }},
    {"move there and back",
     [](Tested& map, Model&, A) {
         Tested moved(std::move(map));
         Tested swapped;
         swapped.Swap(moved);
         EXPECT_TRUE(IsSame(map, {}) && IsSame(moved, {})); // NOLINT(bugprone-use-after-move): says what is left
         map = std::move(swapped);
         return IsSame(swapped, {}); // NOLINT(bugprone-use-after-move)
     }},
    {"erase several",
     [](Tested& map, Model& model, A a) {
         const int last = a.key - a.number / 4;
         map.Erase(map.LowerBound(a.key), map.LowerBound(last));
         return model.erase(model.lower_bound(a.key), model.lower_bound(last)), true;
     }},
    {"erase by a rule",
     [](Tested& map, Model& model, A a) {
         const int divisor = a.number + 10;
         return map.EraseIf([=](const Tested::Entry& e) { return e.key.Value() % divisor == 0; }) ==
                std::erase_if(model, [=](const auto& e) { return e.first % divisor == 0; });
     }},
    {"erase a key", [](Tested& map, Model& model, A a) { return map.Erase(a.key) == (model.erase(a.key) != 0); }},
    {"erase where one stands",
     [](Tested& map, Model& model, A a) {
         const auto found = model.lower_bound(a.key);
         if (found == model.end()) {
             return true;
         }
         const auto modelNext = model.erase(found);
         const auto next = map.Erase(map.LowerBound(a.key));
         return modelNext == model.end() ? next == map.end() : next->key == modelNext->first;
     }},
};

TEST(Map, BehavesAsTheModel) {
    for (unsigned seed = 1; seed <= 4 && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Tested map;
        Model model;
        Input input(seed);
        std::size_t most = 0;
        const auto compare = [&] {
            EXPECT_TRUE(IsSame(map, model));
            most = std::max(most, model.size());
        };
        const std::span operations(OPERATIONS);
        for (int round = 0; round < 2; ++round) {
            ZelkTest::RunModel<Tested, Model, Arguments>(map, model, operations.first(operations.size() - 2), input,
                                                         500, compare);
            ZelkTest::RunModel<Tested, Model, Arguments>(map, model, operations.subspan(2), input, 500, compare);
        }
        EXPECT_GT(most, 50U);
        map.Clear();
        EXPECT_TRUE(IsSame(map, {}));
    }
    EXPECT_EQ(Counted::alive, 0);
}

TEST(Map, EntriesStayInTheirPlaceAndArgumentsUnused) {
    Map<int, std::string> map{{2, "two"}, {1, "one"}, {3, "three"}};
    const auto one = map.Find(1);
    const std::string* const three = map.FindValue(3);
    Map<int, std::string> other(std::move(map));
    other.Erase(2);
    other.Swap(map);
    EXPECT_TRUE(one == map.begin() && one->value == "one" && &std::next(one)->value == three);
    // The key passed may be the erased entry's own, and the value one of the map's.
    EXPECT_TRUE(map.Erase(one->key));
    map.Insert(5, *three);
    EXPECT_EQ(map, (Map<int, std::string>{{3, "three"}, {5, "three"}}));
    std::string value = "a text of its own";
    map.Emplace(5, std::move(value));
    EXPECT_EQ(value, "a text of its own"); // NOLINT(bugprone-use-after-move): its key was there
}

TEST(Map, OrdersByTheFirstDifference) {
    const Map<int, int> ordered[] = {{}, {{1, 1}}, {{1, 1}, {2, 0}}, {{1, 2}}, {{1, 2}, {3, 0}}, {{2, 0}}};
    ZelkTest::ExpectAscending(ordered);
}

} // namespace
