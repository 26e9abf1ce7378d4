/// @file
/// An ordered map: each key is there once, with a value, and the entries lie in the ascending order of their keys.
///
/// It is a red-black tree (its source stands in redblacktree.h): to find, insert or erase one of n entries takes O(log
/// n) comparisons, about 2 log2(n) at most. An entry never moves in memory, so pointers and iterators to it stay good
/// until it is erased. A map is used by one thread at a time; several threads may read one that nobody changes.
///
/// When the host refuses memory, an insertion changes nothing and answers end(), and a copy, constructed or assigned,
/// is empty. Nothing else needs memory.
#pragma once

#include <compare>
#include <initializer_list>
#include <iterator>
#include <utility>
#include <zelk_core/base/assert.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/generics/mapiterator.h>
#include <zelk_core/generics/mapnode.h>
#include <zelk_core/generics/redblacktree.h>

namespace Z4 {

/// An entry of a map. The key stays as it is as long as the entry lives.
template <class Key, class T>
struct MapEntry {
    const Key key;
    T value;

    friend bool operator==(const MapEntry& left, const MapEntry& right) {
        return left.key == right.key && left.value == right.value;
    }
};

/// Orders keys by their operator<.
template <class Key>
struct MapOrder {
    constexpr bool operator()(const Key& left, const Key& right) const { return left < right; }
};

/// An ordered map, used by one thread at a time; several threads may read one that nobody changes. map.h tells what it
/// costs and what happens when memory is refused.
///
/// @tparam Key is never changed while it is in a map.
/// @tparam Order a function object without state that is given two keys and says whether the first comes before the
/// second. Keys of which neither comes before the other are the same key.
/// @tparam Allocator an EalAllocator.
template <class Key, class T, class Order = MapOrder<Key>, class Allocator = ZelkAllocator>
class Map {
    using Nodes = Private::MapNodes<MapEntry<Key, T>, Allocator>;
    using Node = typename Nodes::Node;
    using TreeNode = Private::TreeNode;

public:
    using Entry = MapEntry<Key, T>;
    /// Stands at an entry, behind the last one, or, default-constructed, nowhere. Goes both ways in the order of the
    /// keys, not beyond the end and not before the begin. An Iterator is also a ConstIterator.
    using Iterator = Private::MapIterator<Entry, Entry>;
    using ConstIterator = Private::MapIterator<Entry, const Entry>;

    /// What an insertion came to.
    struct InsertResult {
        Iterator position; ///< the entry with that key, new or not; end() when memory was refused
        bool inserted;
    };

    constexpr Map() = default;
    constexpr explicit Map(const typename Allocator::Context&) {}
    /// Inserts the entries one after another; of equal keys the first counts. When memory is refused, the map has the
    /// entries before that one, and nothing tells so but Size().
    Map(std::initializer_list<Entry> entries) { Insert(entries.begin(), entries.end()); }
    Map(const Map& other) { CopyFrom(other); }
    /// Takes over the entries of `other`, in their places, and leaves it empty; so does the assignment below.
    Map(Map&& other) noexcept { Swap(other); }
    ~Map() { Clear(); }

    Map& operator=(const Map& other) {
        if (this != &other) {
            Clear();
            CopyFrom(other);
        }
        return *this;
    }
    Map& operator=(Map&& other) noexcept {
        if (this != &other) {
            Clear();
            Swap(other);
        }
        return *this;
    }

    [[nodiscard]] bool IsEmpty() const { return Size() == 0; }
    unsigned Size() const { return m_tree.Size(); }

    /// From the least key to the greatest. An end() belongs to its map object: it stays good while entries come and go,
    /// and does not follow them into another map.
    Iterator begin() { return Iterator(m_tree.First()); }
    Iterator end() { return Iterator(m_tree.Head()); }
    ConstIterator begin() const { return ConstIterator(m_tree.First()); }
    ConstIterator end() const { return ConstIterator(Head()); }
    std::reverse_iterator<Iterator> rbegin() { return std::reverse_iterator(end()); }
    std::reverse_iterator<Iterator> rend() { return std::reverse_iterator(begin()); }
    std::reverse_iterator<ConstIterator> rbegin() const { return std::reverse_iterator(end()); }
    std::reverse_iterator<ConstIterator> rend() const { return std::reverse_iterator(begin()); }

    /// The entry with `key`; end() when there is none.
    [[nodiscard]] Iterator Find(const Key& key) { return Iterator(FindNode(key)); }
    [[nodiscard]] ConstIterator Find(const Key& key) const { return ConstIterator(FindNode(key)); }
    [[nodiscard]] bool Contains(const Key& key) const { return Find(key) != end(); }
    /// The value of the entry with `key`; null when there is none.
    [[nodiscard]] T* FindValue(const Key& key) { return ValueOf(FindNode(key)); }
    [[nodiscard]] const T* FindValue(const Key& key) const { return ValueOf(FindNode(key)); }

    /// The first entry whose key does not come before `key`; end() when there is none.
    [[nodiscard]] Iterator LowerBound(const Key& key) { return Iterator(LowerBoundNode(key)); }
    [[nodiscard]] ConstIterator LowerBound(const Key& key) const { return ConstIterator(LowerBoundNode(key)); }
    /// The first entry whose key comes after `key`; end() when there is none.
    [[nodiscard]] Iterator UpperBound(const Key& key) { return Iterator(UpperBoundNode(key)); }
    [[nodiscard]] ConstIterator UpperBound(const Key& key) const { return ConstIterator(UpperBoundNode(key)); }

    /// Adds an entry. When its key is there already, the map and the arguments stay as they are.
    InsertResult Insert(const Key& key, const T& value) { return Emplace(key, value); }
    InsertResult Insert(Key&& key, T&& value) { return Emplace(std::move(key), std::move(value)); }
    /// The same for each of a sequence of entries: iterators over what has the members `key` and `value`.
    /// @return false when memory was refused; then the entries up to there are in.
    template <class InputIterator>
    bool Insert(InputIterator first, InputIterator last) requires requires {
        first->key, first->value;
    }
    {
        for (; first != last; ++first) {
            if (Emplace(first->key, first->value).position == end()) {
                return false;
            }
        }
        return true;
    }
    /// Adds an entry as Insert() does, with a value that is made in its place from `arguments`.
    template <class... Arguments>
    InsertResult Emplace(const Key& key, Arguments&&... arguments) {
        return EmplaceKey(key, std::forward<Arguments>(arguments)...);
    }
    template <class... Arguments>
    InsertResult Emplace(Key&& key, Arguments&&... arguments) {
        return EmplaceKey(std::move(key), std::forward<Arguments>(arguments)...);
    }
    /// Adds an entry or, when its key is there already, gives that entry the new value.
    template <class Value>
    InsertResult InsertOrAssign(const Key& key, Value&& value) {
        const InsertResult result = Emplace(key, std::forward<Value>(value));
        if (!result.inserted && result.position != end()) {
            result.position->value = std::forward<Value>(value); // Emplace() did not touch it.
        }
        return result;
    }

    /// Erases the entry with `key`, which may be the key in that very entry.
    /// @return whether there was one.
    bool Erase(const Key& key) {
        const ConstIterator found = Find(key);
        if (found == end()) {
            return false;
        }
        Erase(found);
        return true;
    }
    /// Erases the entry at `position`, which is not end().
    /// @return the one behind it, or end().
    Iterator Erase(ConstIterator position) {
        Z4_ASSERT(position.IsAtEntry(), "An entry that is erased is not end().");
        TreeNode* const node = position.Node();
        const Iterator next(Private::RedBlackTree::Step(node, 1));
        m_tree.Erase(*node);
        Nodes::Destroy(node);
        return next;
    }
    /// Erases the entries from `first` up to the one before `last`.
    /// @return `last`.
    Iterator Erase(ConstIterator first, ConstIterator last) {
        while (first != last) {
            first = Erase(first);
        }
        return Iterator(last.Node());
    }
    /// Erases the entries for which `predicate(const Entry&)` is true.
    /// @return how many they were.
    template <class Predicate>
    unsigned EraseIf(Predicate predicate) {
        const unsigned before = Size();
        for (Iterator it = begin(); it != end();) {
            it = predicate(std::as_const(*it)) ? Erase(it) : std::next(it);
        }
        return before - Size();
    }
    void Clear() {
        TreeNode* const root = m_tree.Root();
        m_tree.Adopt(nullptr, 0); // First, so that a destructor that looks finds an empty map.
        Nodes::DestroySubtree(root);
    }

    /// Exchanges the entries of both maps; iterators to an entry go with it.
    void Swap(Map& other) noexcept { m_tree.Swap(other.m_tree); }

    /// Whether both have equally many entries, all equal by `==` of keys and of values.
    friend bool operator==(const Map& left, const Map& right) {
        if (left.Size() != right.Size()) {
            return false;
        }
        for (ConstIterator l = left.begin(), r = right.begin(); l != left.end(); ++l, ++r) {
            if (!(*l == *r)) {
                return false;
            }
        }
        return true;
    }
    /// The first entries that differ decide, their keys by `Order` or else their values by `<`; of two maps that begin
    /// alike the shorter is the lesser.
    friend std::weak_ordering operator<=>(const Map& left, const Map& right) {
        ConstIterator l = left.begin();
        ConstIterator r = right.begin();
        for (; l != left.end() && r != right.end(); ++l, ++r) {
            if (IsBefore(l->key, r->key) || IsBefore(r->key, l->key)) {
                return IsBefore(l->key, r->key) ? std::weak_ordering::less : std::weak_ordering::greater;
            }
            if (l->value < r->value || r->value < l->value) {
                return l->value < r->value ? std::weak_ordering::less : std::weak_ordering::greater;
            }
        }
        return left.Size() <=> right.Size();
    }

private:
    friend struct MapProbe;

    static bool IsBefore(const Key& left, const Key& right) { return Order()(left, right); }
    static const Key& KeyOf(const TreeNode* node) { return static_cast<const Node*>(node)->entry.key; }

    TreeNode* Head() const { return const_cast<Map*>(this)->m_tree.Head(); }

    // No branch depends on a comparison, as none could be foretold.
    TreeNode* LowerBoundNode(const Key& key) const {
        TreeNode* bound = Head();
        for (TreeNode* node = m_tree.Root(); node != nullptr;) {
            const bool isBefore = IsBefore(KeyOf(node), key);
            bound = isBefore ? bound : node;
            node = node->child[isBefore ? 1 : 0];
        }
        return bound;
    }
    TreeNode* UpperBoundNode(const Key& key) const {
        TreeNode* const bound = LowerBoundNode(key);
        return bound != Head() && !IsBefore(key, KeyOf(bound)) ? Private::RedBlackTree::Step(bound, 1) : bound;
    }
    TreeNode* FindNode(const Key& key) const {
        TreeNode* const bound = LowerBoundNode(key);
        return bound != Head() && IsBefore(key, KeyOf(bound)) ? Head() : bound;
    }
    T* ValueOf(TreeNode* node) const { return node == Head() ? nullptr : &static_cast<Node*>(node)->entry.value; }

    template <class AnyKey, class... Arguments>
    InsertResult EmplaceKey(AnyKey&& key, Arguments&&... arguments) {
        TreeNode* parent = m_tree.Head();
        unsigned side = 0;
        TreeNode* bound = parent;
        for (TreeNode* node = m_tree.Root(); node != nullptr; node = node->child[side]) {
            parent = node;
            side = IsBefore(KeyOf(node), key) ? 1 : 0;
            bound = side != 0 ? bound : node;
        }
        if (bound != Head() && !IsBefore(key, KeyOf(bound))) {
            return {Iterator(bound), false};
        }
        Node* const node = Nodes::Create(std::forward<AnyKey>(key), std::forward<Arguments>(arguments)...);
        if (node == nullptr) {
            return {end(), false};
        }
        m_tree.Insert(*node, *parent, side);
        return {Iterator(node), true};
    }

    void CopyFrom(const Map& other) {
        if (TreeNode* const root = Nodes::Clone(other.m_tree.Root()); root != nullptr) {
            m_tree.Adopt(root, other.Size());
        }
    }

    Private::RedBlackTree m_tree;
};

} // namespace Z4
